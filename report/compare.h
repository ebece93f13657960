/// @file
/// Runs of one side against runs of another, row by row.
///
/// What counts as one observation of a row is the smallest figure of a pass, since a pass builds
/// its data anew and meets other moments of the machine; samples within a pass have too much in
/// common. A run without passes is one observation.
#pragma once

#include <optional>
#include <set>
#include <string>
#include <vector>

#include "report/model.h"
#include "report/statistics.h"

namespace report {

enum class Verdict { slower, faster, unresolved, same };
const char* verdictName(Verdict verdict);

struct CompareOptions {
  double gate = 0.01;        ///< share below which a change is none
  double confidence = 0.95;  ///< of the verdicts "slower" and "faster", and of "same", this share
  bool eachRow = false;      ///< for each row by itself instead: of many, some change by chance
  bool keepShift = false;    ///< do not take off what all rows have in common
  bool anyway = false;       ///< compare what is not alike
  std::string filter;        ///< words of rows
};

/// With fewer rows nothing can be told to be common to them.
inline constexpr std::size_t kShiftRows = 20;

struct ComparedRow {
  const Row* before = nullptr;  ///< the row of the smallest figure, of each side
  const Row* after = nullptr;
  std::size_t beforeCount = 0;  ///< observations
  std::size_t afterCount = 0;
  double ratio = 1;  ///< median of all ratios, without the shift
  double low = 1;
  double high = 1;
  bool bounded = false;  ///< there are enough observations for low and high
  bool apart = false;    ///< all observations of one side are beyond all of the other
  Verdict verdict = Verdict::unresolved;
};

/// A row that has a figure on one side only.
struct LoneRow {
  const Row* row = nullptr;
  bool failed = false;  ///< the other side has it, and it failed there
  std::string reason;
};

/// What all rows have in common.
struct Shift {
  double ratio = 1;
  double low = 1;
  double high = 1;
  Verdict verdict = Verdict::unresolved;
};

struct Compared {
  std::vector<ComparedRow> rows;  ///< in the order of the old side
  std::vector<LoneRow> gone;      ///< figures of the old side alone
  std::vector<LoneRow> added;     ///< of the new side alone
  std::optional<Shift> shift;
  std::size_t valuesNeeded = 0;  ///< observations a side that show a change of one row alone
  std::vector<std::string> notes;

  std::size_t count(Verdict verdict) const;
  /// Something became slower, or fails now.
  bool isSlower(bool countShift) const;
};

/// In what two runs differ so that their figures must not be compared; empty: in nothing.
/// @param parameters  names of parameters of rows: presets of these choose rows and are no
/// difference
std::string unlike(const Run& first, const Run& second, const std::set<std::string>& parameters);

/// The runs must outlive what is returned.
/// @throws Error when the runs are not alike
Compared compareRuns(const std::vector<Run>& before, const std::vector<Run>& after,
                     const CompareOptions& options);

/// The verdict on one interval of ratios, with the gate.
Verdict verdictOf(double ratio, double low, double high, bool bounded, double gate);

}  // namespace report
