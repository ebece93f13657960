// Files of results, JSON Lines and tables: read whole, or refused in one line that names the file.
// What was read is shown in every format.
#include <cstdlib>
#include <sstream>

#include "fuzz.h"
#include "report/error.h"
#include "report/page.h"
#include "report/read.h"
#include "report/text.h"

namespace {

void checkText(const std::string& text) {
  require(text.find_first_of("\n\r\x1b") == std::string::npos, "texts move no cursor");
  require(report::cleanText(text) == text, "a clean text stays as it is");
}

void checkRun(const report::Run& run) {
  for (const report::Row& row : run.rows) {
    checkText(row.function);
    checkText(row.reason);
    for (const report::Named& parameter : row.parameters)
      checkText(parameter.name + parameter.value);
    require(row.samples.calls.size() == row.samples.size(), "lists of samples have one length");
    require(row.clocksPerElement.value_or(0) >= 0, "figures are sizes");
    require(!report::rowKey(row).empty(), "rows have keys");
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string bytes = asText(data, size);
  try {
    const std::vector<report::Run> runs = report::readRuns("F", bytes, {});
    require(!runs.empty(), "what is read has a run");
    for (const report::Run& run : runs) checkRun(run);
    std::ostringstream page;
    report::writePage(page, {"T", runs});
  } catch (const report::Error& error) {
    const std::string reason = error.what();
    require(reason.starts_with("F: ") && reason.find('\n') == std::string::npos,
            "a line that names the file");
  }
  return 0;
}
