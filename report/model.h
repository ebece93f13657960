/// @file
/// What a run of the harness left behind, whatever kind of file it was read from.
///
/// Figures are those of the file; nothing here is rounded or converted. What a file does not tell
/// is an empty text, an empty list or no value. All texts are UTF-8 without control characters.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace report {

/// A text by name: a parameter and its value, a setting.
struct Named {
  std::string name;
  std::string value;
  bool operator==(const Named&) const = default;
};

/// A fact about the machine. A number has both forms.
struct Fact {
  std::string name;
  std::string text;
  std::optional<double> number;
};

/// Which part of the selected tests a run is (key -K).
struct Part {
  int index = 1;  ///< from 1
  int count = 1;
  int selected = 0;  ///< tests of all parts
};

/// What a run says of itself before its first row.
struct Context {
  std::string program;
  std::string version;
  std::string started;  ///< as the file has it; ISO 8601 in JSON Lines
  std::vector<Fact> machine;
  std::vector<std::string> keys;
  std::string timing;  ///< the method in words
  std::string clock;   ///< whose clocks are counted: "core", or empty for the counter's
  std::optional<double> accuracy;
  std::optional<double> timeLimit;  ///< seconds a row
  std::vector<Named> settings;      ///< the others: alignment, presets of key -d, seed of the data
  std::vector<std::string> libraries;
  std::string codePath;
  std::string compiler;
  std::string buildType;
  std::optional<Part> part;
  bool resumed = false;  ///< it goes on with the run before it (key -J)

  /// A csv table, which tells neither keys nor settings.
  bool isTable() const { return timing.empty(); }
  const Fact* fact(const std::string& name) const;
  /// A fact as a text; empty where it is not told.
  std::string text(const std::string& name) const;
  /// A fact as a number; `otherwise` where it is not told.
  double number(const std::string& name, double otherwise) const;
};

/// Result codes in their order: larger is worse.
enum class Result : uint8_t {
  undefined,
  ok,
  accuracyWarning,
  statusWarning,
  dataWarning,
  functionWarning,
  warning,
  accuracyFailure,
  dataFailure,
  functionFailure,
  exceptionFailure,
  failure
};
/// As the harness writes it ("ACCURWRN").
const char* resultName(Result result);
std::optional<Result> resultOf(const std::string& name);
/// What a user can do about it, in one sentence; empty for ok.
const char* resultCure(Result result);

/// Of the samples, in clocks of a call.
struct Statistics {
  double count = 0;
  double minimum = 0;
  double median = 0;
  double spread = 0;  ///< 1.4826 times the median distance from the median, over the median
  double tail = 0;    ///< share of samples above 1.1 of the minimum
};

/// One entry a sample in each list.
struct Samples {
  std::vector<double> clocks;   ///< of a call
  std::vector<uint32_t> calls;  ///< in the timed stretch
  std::vector<uint16_t> pass;   ///< from 1
  std::vector<bool> disturbed;
  std::size_t size() const { return clocks.size(); }
};

/// One function at one combination of parameter values.
struct Row {
  std::string function;
  std::vector<std::string> name;  ///< its parts: name, types, description of the operands
  std::string test;
  std::string source;
  std::vector<Named> parameters;
  std::string unit;  ///< of an element: px, pxch, e
  Result result = Result::undefined;
  std::string time;
  std::string note;
  std::string reason;                  ///< why it is not OK
  std::optional<double> elements;      ///< of a call
  std::optional<double> bytesRead;     ///< an element
  std::optional<double> bytesWritten;  ///< an element
  std::optional<double> workingSet;    ///< bytes of all test data
  std::optional<double> clocksPerElement;
  std::optional<double> clocksPerCall;
  std::optional<double> dropped;  ///< samples left out
  std::optional<Statistics> statistics;
  std::vector<double> passMinima;
  std::optional<double> passDifference;
  std::optional<double> emptyCall;    ///< clocks
  std::optional<double> memoryShare;  ///< of the time of a call, what streaming its data takes
  Samples samples;                    ///< empty when the reader was not asked for them
  std::size_t line = 0;               ///< of the file, from 1
};

/// What rows of two runs are joined by: function and parameter values. No two rows of a run share
/// it.
std::string rowKey(const Row& row);
/// "ImageSize=64x64 Table=q75".
std::string parametersText(const std::vector<Named>& parameters);
/// "fn ImageSize=64x64 Table=q75", of a row or a comparison.
template <class Measured>
std::string rowText(const Measured& row) {
  return row.function + (row.parameters.empty() ? "" : " ") + parametersText(row.parameters);
}

/// One other side of a comparison that the harness made itself (-D, -c).
struct ComparedSide {
  std::string side;
  std::optional<double> clocksPerElement;
  double ratio = 0;  ///< clocks of this side over those of the first
  std::optional<double> low;
  std::optional<double> high;
  std::optional<double> smallestChange;
  std::string verdict;
};

struct Comparison {
  std::string function;
  std::vector<std::string> name;
  std::vector<Named> parameters;
  std::string unit;
  std::string side;  ///< the first
  std::optional<double> clocksPerElement;
  double gate = 0;
  std::vector<ComparedSide> others;
  std::size_t line = 0;
};

/// How a run ended.
struct End {
  std::string ended;
  double tests = 0;
  double failures = 0;
  double warnings = 0;
  std::string signal;
  /// When, and by what if by a signal.
  std::string text() const { return ended + (signal.empty() ? "" : " by " + signal); }
};

struct Run {
  std::string file;
  Context context;
  std::vector<Row> rows;
  std::vector<Comparison> comparisons;
  std::optional<End> end;          ///< none: the run did not come to its end
  std::vector<std::string> notes;  ///< what a user should know: a line cut off, lines skipped
};

/// The working set and what a row is a row of, in one word each: "ImageSize", the parameter by
/// which the rows of a function differ in size. Empty when there is none.
std::string sizeParameter(const Row& row);
/// Its value as a number of elements, 640x480 being 307200; none when it is no size.
std::optional<double> sizeOf(const std::string& value);

}  // namespace report
