// Lines of earlier runs, as far as later ones want to know them.
#include "tzknown.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>
#include <string_view>

#include "tzjsonreader.h"

namespace {

// Keys that decide how a row is measured, beside the settings.
constexpr std::string_view kMeasuringKeys = "SNTYwXbaCVk";

struct FileCloser {
  void operator()(std::FILE* file) const { std::fclose(file); }
};
using File = std::unique_ptr<std::FILE, FileCloser>;

tzResult resultNamed(const std::string& name) {
  for (int code = TZ_UNDEFINED; code <= TZ_FAIL; ++code) {
    if (name == tzResultName(static_cast<tzResult>(code))) return static_cast<tzResult>(code);
  }
  return -1;
}

std::string measuringKeys(const tzJsonReader& context) {
  std::vector<std::string> words = context.texts("keys");
  std::erase_if(words, [](const std::string& word) {
    return word.size() < 2 || kMeasuringKeys.find(word[1]) == std::string_view::npos;
  });
  std::sort(words.begin(), words.end());
  std::string text;
  for (const std::string& word : words) text += word + " ";
  return text;
}

tzRunFacts runFacts(const tzJsonReader& context) {
  tzJsonReader machine;
  const bool whole = context.text("program") == "tazmet" && context.raw("schema") == "1" &&
                     machine.read(context.raw("machine")) && !context.raw("settings").empty();
  if (!whole) return {};
  tzRunFacts facts;
  for (const char* name : {"computer", "processor", "system"}) {
    facts.emplace_back(name, machine.raw(name));
  }
  for (const char* name : {"version", "build", "libraries", "code_path", "settings", "seed"}) {
    facts.emplace_back(name, context.raw(name));
  }
  facts.emplace_back("keys", measuringKeys(context));
  return facts;
}

bool readRow(const tzJsonReader& line, tzKnownRuns& known) {
  tzKnownRow row;
  if (known.runs.empty()) return false;
  row.run = known.runs.size() - 1;
  for (const char* part : {"function", "test", "parameters"}) {
    if (line.raw(part).empty()) return false;
    row.identity += line.raw(part);
  }
  row.result = resultNamed(line.text("result"));
  row.clocksPerElement = line.number("clocks_per_element");
  row.seconds = line.number("seconds");
  row.time = line.text("time");
  row.note = line.text("note");
  row.reason = line.text("reason");
  known.rows.push_back(std::move(row));
  return known.rows.back().result >= TZ_UNDEFINED;
}

bool readLine(std::string_view text, tzKnownRuns& known) {
  tzJsonReader line;
  if (!line.read(text)) return false;
  const std::string type = line.text("type");
  if (type == "row") return readRow(line, known);
  if (type == "context") {
    known.runs.push_back(runFacts(line));
    return !known.runs.back().empty();
  }
  return (type == "end" || type == "comparison") && !known.runs.empty();
}

}  // namespace

tzRunFacts tzReadRunFacts(const std::string& contextLine) {
  tzJsonReader line;
  return line.read(contextLine) ? runFacts(line) : tzRunFacts();
}

tzString tzReadKnownRuns(const tzString& path, tzKnownRuns& known) {
  known = {};
  const File file(std::fopen(path.c_str(), "rb"));
  if (file == nullptr) return errno == ENOENT ? "" : std::strerror(errno);
  std::string line;
  int number = 1;
  std::vector<char> buffer(std::size_t{1} << 16);
  while (const std::size_t count = std::fread(buffer.data(), 1, buffer.size(), file.get())) {
    std::string_view rest(buffer.data(), count);
    for (std::size_t end = 0; (end = rest.find('\n')) != std::string_view::npos;) {
      line += rest.substr(0, end);
      rest.remove_prefix(end + 1);
      if (!readLine(line, known)) return tzString("line ") << number << " is no line of a run";
      known.whole += static_cast<long long>(line.size()) + 1;
      line.clear();
      ++number;
    }
    line += rest;
    if (line.size() > kTzLongestLine) return tzString("line ") << number << " is too long";
  }
  if (std::ferror(file.get()) != 0) return std::strerror(errno);
  known.cut = static_cast<long long>(line.size());
  return "";
}
