/// @file
/// Files of the harness into runs.
#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "report/linereader.h"
#include "report/model.h"

namespace report {

struct ReadOptions {
  bool samples = true;  ///< keep them; without, a long file takes little memory
};

/// What a file may hold at most: enough for years of runs, too little to fill a machine.
inline constexpr std::size_t kMaxRows = 500'000;
inline constexpr std::size_t kMaxSamples = 20'000'000;
inline constexpr std::size_t kMaxRuns = 10'000;

/// All runs of a file of JSON Lines or of a csv table; which of them it is is told by its content.
/// Each context begins a run, so a merged file has several; one that goes on with the run before it
/// does not.
/// @throws Error, which names file, line and reason
std::vector<Run> readRuns(const std::string& path, const ReadOptions& options = {});
/// The same from bytes in memory.
std::vector<Run> readRuns(const std::string& name, std::string_view bytes,
                          const ReadOptions& options);
/// The runs of several files, one after the other.
std::vector<Run> readAll(const std::vector<std::string>& paths, const ReadOptions& options = {});

/// A line of a file of JSON Lines. Lines of kinds that are not known yet have none of these.
using Record = std::variant<std::monostate, Context, Row, Comparison, End>;

/// Calls `use` for each whole line with what it says and its text, which keeps members that the
/// model does not know. A last line that was cut off is left out; more rows or runs than a file may
/// hold are an error.
/// @return whether there was one
/// @throws Error
bool forEachRecord(LineReader& reader, const ReadOptions& options,
                   const std::function<void(Record&& record, const std::string& line)>& use);

/// A line of JSON without some of its members; all others stay as they are.
std::string withoutMember(const std::string& line, const std::vector<std::string>& names);
/// The line that tells how a run ended.
std::string endLine(const End& end);

/// @name The readers of each kind
/// @{
std::vector<Run> readJsonLines(LineReader& reader, const ReadOptions& options);
std::vector<Run> readTable(LineReader& reader);
/// @}

}  // namespace report
