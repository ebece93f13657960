// JSON Lines, one line parsed at a time, every member checked before it is used.
#include "report/read.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <nlohmann/json.hpp>

#include "report/error.h"
#include "report/identity.h"
#include "report/text.h"

namespace report {

namespace {

// Members stay in the order of the file.
using json = nlohmann::ordered_json;

constexpr std::size_t kMaxText = 65536;
constexpr int kMaxDepth = 8;
constexpr std::size_t kMaxMembers = 1000;  // views look for each among the others

// Brackets outside of texts: a line of nothing else must not become a tree of millions of nodes.
bool isTooDeep(const std::string& line) {
  int depth = 0;
  bool inText = false;
  for (std::size_t i = 0; i < line.size(); ++i) {
    const char c = line[i];
    if (c == '"') inText = !inText;
    if (inText) {
      if (c == '\\') ++i;
    } else if (c == '{' || c == '[') {
      if (++depth > kMaxDepth) return true;
    } else if (c == '}' || c == ']') {
      --depth;
    }
  }
  return false;
}

[[noreturn]] void refuse(const std::string& reason) { throw std::invalid_argument(reason); }

std::string textOf(const json& value, const char* name) {
  if (!value.is_string()) refuse(std::string(name) + " is no text");
  const std::string& text = value.get_ref<const std::string&>();
  if (text.size() > kMaxText) refuse(std::string(name) + " is too long");
  return cleanText(text);
}

double numberOf(const json& value, const char* name) {
  if (!value.is_number()) refuse(std::string(name) + " is no number");
  const double number = value.get<double>();
  if (!std::isfinite(number) || number < 0) refuse(std::string(name) + " is no size");
  return number;
}

template <class Int>
Int wholeOf(const json& value, const char* name) {
  const double number = numberOf(value, name);
  if (number > static_cast<double>(std::numeric_limits<Int>::max()) ||
      number != std::floor(number)) {
    refuse(std::string(name) + " is no whole number in range");
  }
  return static_cast<Int>(number);
}

// A member of an object; null where it is missing or told to be unknown.
const json* member(const json& object, const char* name) {
  const auto found = object.find(name);
  return found == object.end() || found->is_null() ? nullptr : &*found;
}

const json& needed(const json& object, const char* name) {
  const json* found = member(object, name);
  if (found == nullptr) refuse(std::string("lacks ") + name);
  return *found;
}

const json* objectAt(const json& object, const char* name) {
  const json* found = member(object, name);
  if (found != nullptr && !found->is_object()) refuse(std::string(name) + " is no object");
  if (found != nullptr && found->size() > kMaxMembers) {
    refuse(std::string(name) + " has more than " + std::to_string(kMaxMembers) + " members");
  }
  return found;
}

std::string textAt(const json& object, const char* name) {
  const json* found = member(object, name);
  return found == nullptr ? std::string() : textOf(*found, name);
}

std::optional<double> numberAt(const json& object, const char* name) {
  const json* found = member(object, name);
  return found == nullptr ? std::nullopt : std::optional(numberOf(*found, name));
}

// A list whose items `convert` makes; empty where it is missing.
template <class Convert>
auto listAt(const json& object, const char* name, Convert convert) {
  std::vector<decltype(convert(object, name))> items;
  const json* found = member(object, name);
  if (found == nullptr) return items;
  if (!found->is_array()) refuse(std::string(name) + " is no list");
  items.reserve(found->size());
  for (const json& item : *found) items.push_back(convert(item, name));
  return items;
}

std::vector<Named> textsAt(const json& object, const char* name) {
  std::vector<Named> texts;
  if (const json* found = objectAt(object, name)) {
    for (const auto& [key, value] : found->items()) {
      texts.push_back({cleanText(key), textOf(value, name)});
    }
  }
  return texts;
}

std::vector<Fact> machineOf(const json& object) {
  std::vector<Fact> facts;
  const json* found = objectAt(object, "machine");
  if (found == nullptr) return facts;
  for (const auto& [name, value] : found->items()) {
    if (value.is_number()) {
      const double number = value.get<double>();
      facts.push_back({cleanText(name), exactText(number), number});
    } else {
      facts.push_back({cleanText(name), textOf(value, "machine"), std::nullopt});
    }
  }
  return facts;
}

Part partOf(const json& object) {
  constexpr int kMostParts = 10000;
  Part part;
  part.index = wholeOf<uint16_t>(needed(object, "index"), "index");
  part.count = wholeOf<uint16_t>(needed(object, "count"), "count");
  part.selected = wholeOf<uint16_t>(needed(object, "selected"), "selected");
  if (part.index < 1 || part.index > part.count || part.count > kMostParts) {
    refuse("there is no part " + std::to_string(part.index) + " of " + std::to_string(part.count));
  }
  return part;
}

Context contextOf(const json& line) {
  const int schema = wholeOf<uint16_t>(needed(line, "schema"), "schema");
  if (schema != 1) {
    refuse("schema " + std::to_string(schema) + "; this program reads schema 1");
  }
  Context context;
  context.program = textAt(line, "program");
  if (context.program != "tazmet") refuse("was not written by tazmet");
  context.version = textAt(line, "version");
  context.started = textAt(line, "started");
  context.machine = machineOf(line);
  context.keys = listAt(line, "keys", textOf);
  if (const json* settings = objectAt(line, "settings")) {
    context.timing = textAt(*settings, "timing");
    context.clock = textAt(*settings, "clock");
    if (context.clock == "counter") context.clock.clear();
    context.accuracy = numberAt(*settings, "accuracy");
    context.timeLimit = numberAt(*settings, "time_limit");
    for (const auto& [name, value] : settings->items()) {
      if (value.is_number() && name != "accuracy" && name != "time_limit") {
        context.settings.push_back({cleanText(name), exactText(value.get<double>())});
      }
    }
    for (Named& preset : textsAt(*settings, "presets")) context.settings.push_back(preset);
  }
  if (const auto seed = numberAt(line, "seed")) {
    context.settings.push_back({"seed", exactText(*seed)});
  }
  context.libraries = listAt(line, "libraries", textOf);
  context.codePath = textAt(line, "code_path");
  if (const json* build = objectAt(line, "build")) {
    context.compiler = textAt(*build, "compiler");
    context.buildType = textAt(*build, "type");
  }
  if (const json* part = objectAt(line, "part")) context.part = partOf(*part);
  context.resumed = objectAt(line, "resumed") != nullptr;
  return context;
}

void readSamples(const json& object, Samples& samples) {
  samples.clocks = listAt(object, "clocks", numberOf);
  samples.calls = listAt(object, "calls", wholeOf<uint32_t>);
  samples.pass = listAt(object, "pass", wholeOf<uint16_t>);
  const json* disturbed = member(object, "disturbed");
  if (disturbed == nullptr || !disturbed->is_array()) refuse("disturbed is no list");
  samples.disturbed.reserve(disturbed->size());
  for (const json& item : *disturbed) {
    if (!item.is_boolean()) refuse("disturbed is neither true nor false");
    samples.disturbed.push_back(item.get<bool>());
  }
  const std::size_t count = samples.size();
  if (samples.calls.size() != count || samples.pass.size() != count ||
      samples.disturbed.size() != count) {
    refuse("samples have lists of different lengths");
  }
}

Statistics statisticsOf(const json& object) {
  Statistics statistics;
  statistics.count = numberOf(needed(object, "count"), "count");
  statistics.minimum = numberOf(needed(object, "minimum"), "minimum");
  statistics.median = numberOf(needed(object, "median"), "median");
  statistics.spread = numberOf(needed(object, "spread"), "spread");
  statistics.tail = numberOf(needed(object, "tail"), "tail");
  return statistics;
}

// What rows and comparisons begin with.
template <class Head>
void readHead(const json& line, Head& head) {
  head.function = textOf(needed(line, "function"), "function");
  head.name = listAt(line, "name", textOf);
  head.parameters = textsAt(line, "parameters");
  head.unit = textAt(line, "unit");
  head.clocksPerElement = numberAt(line, "clocks_per_element");
}

Row rowOf(const json& line, const ReadOptions& options) {
  Row row;
  readHead(line, row);
  const std::string result = textOf(needed(line, "result"), "result");
  const std::optional<Result> known = resultOf(result);
  if (!known) refuse("result is " + shortened(result, 40));
  row.result = *known;
  row.test = textAt(line, "test");
  row.source = textAt(line, "source");
  row.time = textAt(line, "time");
  row.note = textAt(line, "note");
  row.reason = textAt(line, "reason");
  row.elements = numberAt(line, "elements");
  row.bytesRead = numberAt(line, "bytes_read");
  row.bytesWritten = numberAt(line, "bytes_written");
  row.workingSet = numberAt(line, "working_set");
  row.clocksPerCall = numberAt(line, "clocks_per_call");
  row.dropped = numberAt(line, "dropped");
  row.passMinima = listAt(line, "pass_minima", numberOf);
  row.passDifference = numberAt(line, "pass_difference");
  row.emptyCall = numberAt(line, "empty_call");
  row.memoryShare = numberAt(line, "memory_share");
  if (const json* found = objectAt(line, "statistics")) row.statistics = statisticsOf(*found);
  const json* samples = options.samples ? objectAt(line, "samples") : nullptr;
  if (samples != nullptr) readSamples(*samples, row.samples);
  return row;
}

ComparedSide sideOf(const json& object, const char* name) {
  if (!object.is_object()) refuse(std::string(name) + " holds no object");
  ComparedSide side;
  side.side = textAt(object, "side");
  side.clocksPerElement = numberAt(object, "clocks_per_element");
  side.ratio = numberOf(needed(object, "ratio"), "ratio");
  side.low = numberAt(object, "low");
  side.high = numberAt(object, "high");
  side.smallestChange = numberAt(object, "smallest_change");
  side.verdict = textAt(object, "verdict");
  return side;
}

Comparison comparisonOf(const json& line) {
  Comparison comparison;
  readHead(line, comparison);
  comparison.side = textAt(line, "side");
  comparison.gate = numberAt(line, "gate").value_or(0);
  comparison.others = listAt(line, "others", sideOf);
  return comparison;
}

End endOf(const json& line) {
  End end;
  end.ended = textAt(line, "ended");
  end.tests = numberAt(line, "tests").value_or(0);
  end.failures = numberAt(line, "failures").value_or(0);
  end.warnings = numberAt(line, "warnings").value_or(0);
  end.signal = textAt(line, "signal");
  return end;
}

Record recordOf(const json& line, const ReadOptions& options) {
  if (!line.is_object()) refuse("is no object");
  const std::string type = textAt(line, "type");
  if (type == "context") return contextOf(line);
  if (type == "row") return rowOf(line, options);
  if (type == "comparison") return comparisonOf(line);
  if (type == "end") return endOf(line);
  return {};
}

// What a file holds so far, for its bounds.
struct RecordCounter {
  std::size_t rows = 0;
  std::size_t runs = 0;

  void count(const Record& record) {
    const bool isRun = std::holds_alternative<Context>(record);
    const bool isRow =
        std::holds_alternative<Row>(record) || std::holds_alternative<Comparison>(record);
    if (isRow && ++rows > kMaxRows) refuse("more than " + std::to_string(kMaxRows) + " rows");
    if (isRun && ++runs > kMaxRuns) refuse("more than " + std::to_string(kMaxRuns) + " runs");
  }
};

// Puts the records of a file together.
struct Collector {
  const LineReader& reader;
  std::vector<Run> runs;
  std::size_t samples = 0;
  std::size_t unknown = 0;

  Run& run() {
    if (runs.empty()) refuse("no context comes before it: not a file of tazmet's key -j");
    return runs.back();
  }
  void operator()(std::monostate) { ++unknown; }
  void operator()(Context&& context) {
    const bool goesOn = context.resumed && !runs.empty() &&
                        runIdentity(runs.back().context) == runIdentity(context);
    if (goesOn) {
      runs.back().end.reset();
      runs.back().notes.push_back("gone on with at " + context.started);
      return;
    }
    runs.emplace_back().file = reader.path();
    runs.back().context = std::move(context);
  }
  void operator()(Row&& row) {
    row.line = reader.number();
    samples += row.samples.size();
    if (samples > kMaxSamples) refuse("more than " + std::to_string(kMaxSamples) + " samples");
    run().rows.push_back(std::move(row));
  }
  void operator()(Comparison&& comparison) {
    comparison.line = reader.number();
    run().comparisons.push_back(std::move(comparison));
  }
  void operator()(End&& end) { run().end = std::move(end); }
};

}  // namespace

std::string withoutMember(const std::string& line, const std::vector<std::string>& names) {
  json object = json::parse(line);
  for (const std::string& name : names) object.erase(name);
  return object.dump();
}

std::string endLine(const End& end) {
  json object = {{"type", "end"}, {"ended", end.ended}};
  for (const auto& [name, count] :
       {std::pair{"tests", end.tests}, {"failures", end.failures}, {"warnings", end.warnings}}) {
    object[name] = static_cast<uint64_t>(std::min(count, 1e15));
  }
  if (!end.signal.empty()) object["signal"] = end.signal;
  return object.dump();
}

bool forEachRecord(LineReader& reader, const ReadOptions& options,
                   const std::function<void(Record&& record, const std::string& line)>& use) {
  std::string line;
  RecordCounter counter;
  while (reader.next(line)) {
    if (line.find_first_not_of(" \t") == std::string::npos) continue;
    try {
      if (isTooDeep(line)) refuse("nested too deeply");
      Record record = recordOf(json::parse(line), options);
      counter.count(record);
      use(std::move(record), line);
    } catch (const json::parse_error& error) {
      // Only the last line of a file can lack its end, and it was being written.
      if (!reader.closed()) return true;
      throw Error(reader.path(), reader.number(),
                  "no JSON from byte " + std::to_string(error.byte));
    } catch (const json::exception&) {
      throw Error(reader.path(), reader.number(), "a number beyond all range");
    } catch (const std::invalid_argument& error) {
      throw Error(reader.path(), reader.number(), error.what());
    }
  }
  return false;
}

std::vector<Run> readJsonLines(LineReader& reader, const ReadOptions& options) {
  Collector collector{reader, {}};
  const bool cut = forEachRecord(reader, options, [&](Record&& record, const std::string&) {
    // A file's first line decides whether it is one of ours.
    if (collector.runs.empty() && !std::holds_alternative<Context>(record)) collector.run();
    std::visit([&](auto&& value) { collector(std::forward<decltype(value)>(value)); },
               std::move(record));
  });
  if (collector.runs.empty()) {
    throw Error(reader.path(), cut ? "cut off in its first line" : "is empty");
  }
  Run& last = collector.runs.back();
  if (cut) {
    last.notes.push_back("line " + std::to_string(reader.number()) +
                         " was cut off and is left out");
  }
  if (!last.end) last.notes.emplace_back("the run did not come to its end");
  if (collector.unknown > 0) {
    last.notes.push_back(counted(collector.unknown, "line") + " of kinds not known here skipped");
  }
  return std::move(collector.runs);
}

}  // namespace report
