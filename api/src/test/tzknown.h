/// @file
/// What an earlier run of the program left in a file of JSON Lines (key -j).
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "tzresult.h"
#include "tzstring.h"

/// What a run's figures depend on, member by member as the context writes them: machine, settings,
/// libraries, build, keys.
using tzRunFacts = std::vector<std::pair<std::string, std::string>>;

/// @param contextLine  a whole line, as tzContextLine makes it
/// @return empty when it is none
tzRunFacts tzReadRunFacts(const std::string& contextLine);

/// A row that was measured.
struct tzKnownRow {
  std::size_t run = 0;   ///< place of its context in tzKnownRuns::runs
  std::string identity;  ///< function, test and parameters: tzTest::rowIdentity
  tzResult result = TZ_UNDEFINED;
  double clocksPerElement = 0;  ///< 0: it has no figure
  double seconds = 0;           ///< that it took in one pass; 0: not told
  std::string time;             ///< when it was known
  std::string note;
  std::string reason;
};

/// The runs of a file.
struct tzKnownRuns {
  std::vector<tzRunFacts> runs;
  std::vector<tzKnownRow> rows;
  long long whole = 0;  ///< bytes of the file's whole lines
  long long cut = 0;    ///< bytes behind them, of a line that has no end
};

/// No line is longer; one with so many samples does not exist.
constexpr std::size_t kTzLongestLine = std::size_t{1} << 26;

/// Reads a file. One that is not there, or empty, has no runs.
/// @return empty, or why the file is none of this program: "line 3 is no line of a run"
tzString tzReadKnownRuns(const tzString& path, tzKnownRuns& known);
