/// @file
/// Rows over many runs, and the steps in them.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "report/changepoint.h"
#include "report/model.h"

namespace report {

/// A run as the database has it.
struct HistoryRun {
  long long id = 0;  ///< in the order of adding, from 1
  std::string started;
  std::string label;  ///< of whoever added it: a revision, for instance
  std::string computer;
  std::string processor;
  std::string codePath;
  std::string alike;  ///< runs with the same text may be compared: machine and settings
  long long rows = 0;
};

struct HistoryPoint {
  std::size_t run = 0;  ///< place in the list of runs
  double clocks = 0;    ///< an element
  std::string result;
};

/// One row over time: the runs that have a figure of it, alike among each other.
struct HistorySeries {
  std::string function;
  std::string parameters;
  std::string unit;
  std::string alike;
  std::vector<HistoryPoint> points;  ///< in the order of the runs
};

/// What a history holds.
struct OverTime {
  std::vector<HistoryRun> runs;  ///< in the order of their starts
  std::vector<HistorySeries> series;
};

/// A row with the steps in it.
struct SteppedRow {
  const HistorySeries* series = nullptr;
  std::vector<double> values;
  std::vector<Step> steps;
  double p = 1;  ///< of the strongest place (changePoint)
  bool isSlower() const { return !steps.empty() && steps.back().ratio() > 1; }
  /// The last run before it became slower for good.
  std::size_t lastGood() const { return series->points[steps.back().at - 1].run; }
};

/// One row looked at by itself: steps of at least the gate (a share).
SteppedRow stepsOfRow(const HistorySeries& series, double gate);
/// Of many rows some show a step by chance: only those are told that may be believed of all of them
/// (Benjamini and Hochberg, 5 %).
std::vector<SteppedRow> stepsOfRows(const std::vector<HistorySeries>& series, double gate);

/// "#25 2026-01-13T08:00:00Z label".
std::string runText(const HistoryRun& run);
/// "fn ImageSize=64x64".
std::string rowText(const HistorySeries& series);
/// "+9.6 %", of a ratio.
std::string changeText(double ratio);

/// What the history in a database holds of one row or more for runs that may be compared with one
/// of these.
/// @throws Error when that is nothing, and in a build without a database library
OverTime historyOf(const std::string& place, const std::vector<Run>& runs);

}  // namespace report
