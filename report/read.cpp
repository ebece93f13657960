// Which reader a file is for.
#include "report/read.h"

#include <iterator>

#include "report/error.h"

namespace report {

namespace {

std::vector<Run> readAny(LineReader& reader, const ReadOptions& options) {
  const char first = reader.peek();
  if (first == '\0') throw Error(reader.path(), "is empty");
  return first == '{' ? readJsonLines(reader, options) : readTable(reader);
}

}  // namespace

std::vector<Run> readRuns(const std::string& path, const ReadOptions& options) {
  LineReader reader(path);
  return readAny(reader, options);
}

std::vector<Run> readRuns(const std::string& name, std::string_view bytes,
                          const ReadOptions& options) {
  LineReader reader(name, bytes);
  return readAny(reader, options);
}

std::vector<Run> readAll(const std::vector<std::string>& paths, const ReadOptions& options) {
  std::vector<Run> runs;
  for (const std::string& path : paths) {
    std::vector<Run> more = readRuns(path, options);
    std::move(more.begin(), more.end(), std::back_inserter(runs));
  }
  return runs;
}

}  // namespace report
