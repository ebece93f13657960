// Databases of histories, and the URLs of servers: read, looked at and drawn, or refused in one
// line that names the place.
#include <unistd.h>

#include <cmath>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "fuzz.h"
#include "report/error.h"
#include "report/history.h"
#include "report/page.h"

namespace {

/// Databases lie in files with room for a journal beside them.
class Folder {
 public:
  Folder() { std::filesystem::create_directories(m_path); }
  ~Folder() { std::filesystem::remove_all(m_path); }
  std::string file() const { return m_path / "h"; }

 private:
  std::filesystem::path m_path =
      std::filesystem::temp_directory_path() / ("fuzz_history" + std::to_string(getpid()));
};

void checkText(const std::string& text) {
  require(text.find_first_of("\n\r\x1b") == std::string::npos, "texts move no cursor");
}

void lookAt(report::History& history) {
  report::OverTime past;
  past.runs = history.runs();
  past.series = history.series(past.runs);
  for (const report::HistoryRun& run : past.runs) checkText(report::runText(run) + run.computer);
  for (const report::HistorySeries& series : past.series) {
    checkText(report::rowText(series) + series.unit);
    for (const report::HistoryPoint& point : series.points) {
      checkText(point.result);
      require(point.run < past.runs.size(), "points are of runs");
      require(std::isfinite(point.clocks) && point.clocks > 0, "figures are sizes");
    }
  }
  if (past.series.empty()) return;
  std::ostringstream page;
  report::PageContent content{"T", {}};
  content.past = &past;
  report::writePast(page, content);
  report::writePastData(page, past);
  require(page.str().find("<script") == std::string::npos, "no text becomes markup");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const Folder folder;
  const std::string bytes = asText(data, size);
  const bool isUrl = bytes.starts_with("postgresql://");
  try {
    if (isUrl) {
      checkText(report::postgresOptions(bytes));
      return 0;
    }
    std::filesystem::remove(folder.file() + "-journal");
    std::filesystem::remove(folder.file() + "-wal");
    std::ofstream(folder.file(), std::ios::binary) << bytes;
    report::History history(folder.file(), false);
    lookAt(history);
  } catch (const report::Error& error) {
    const std::string reason = error.what();
    require(reason.starts_with(isUrl ? "postgresql://" : folder.file() + ": "),
            "it names the place");
    require(isUrl || reason.find('\n') == std::string::npos, "in a line");
  }
  return 0;
}
