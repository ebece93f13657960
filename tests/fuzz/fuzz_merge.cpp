// Parts of a run, put into one: what comes out is a file that can be read, has every row once, and
// merged again stays as it is. Files lie one behind the other with a byte between that no text has.
#include <algorithm>
#include <sstream>

#include "fuzz.h"
#include "report/error.h"
#include "report/linereader.h"
#include "report/merge.h"
#include "report/read.h"
#include "report/text.h"

namespace {

std::string merged(report::Merger& merger) {
  std::ostringstream out;
  merger.write(out);
  return out.str();
}

void checkMerged(const report::Merger& merger, const std::string& whole) {
  const std::vector<report::Run> runs = report::readRuns("F", whole, {.samples = false});
  require(runs.size() == merger.machines(), "a run a machine and setting");
  std::size_t rows = 0;
  for (const report::Run& run : runs) {
    rows += run.rows.size();
    require(run.end.has_value() == merger.complete(), "what is complete has an end, all else none");
    require(!run.context.part && !run.context.resumed, "it is no part any more");
  }
  require(rows == merger.rows(), "no row is lost");
  for (const std::string& note : merger.notes()) {
    require(note.find_first_of("\n\r\x1b") == std::string::npos, "notes are lines");
  }
  report::LineReader reader("F", whole);
  report::Merger again;
  again.add(reader);
  require(merged(again) == whole, "merged again it stays as it is");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  report::Merger merger;
  try {
    for (const std::string& file : report::split(asText(data, size), '\xFF')) {
      report::LineReader reader("F", file);
      merger.add(reader);
    }
  } catch (const report::Error& error) {
    const std::string reason = error.what();
    require(reason.starts_with("F: ") && reason.find('\n') == std::string::npos,
            "a line that names the file");
    return 0;
  }
  const std::string whole = merged(merger);
  if (!whole.empty()) checkMerged(merger, whole);
  return 0;
}
