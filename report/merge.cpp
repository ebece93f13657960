// Parts of runs put together.
#include "report/merge.h"

#include <algorithm>
#include <ostream>

#include "report/error.h"
#include "report/identity.h"
#include "report/text.h"

namespace report {

namespace {

constexpr std::size_t kMostNamed = 5;
constexpr std::size_t kMostMissing = 100;

// Functions first, since that is the order of a whole run; rows of one function stay as they came.
bool before(const std::string& a, const std::string& b) {
  return a.substr(0, a.find('\n')) < b.substr(0, b.find('\n'));
}

}  // namespace

/// One run of a file, while it is read.
struct Merger::Source {
  const std::string& path;
  Group* group = nullptr;
  Whole* whole = nullptr;
  std::string identity;
  Context context;
  std::size_t number = 0;
  std::size_t rows = 0;
  std::size_t taken = 0;
  std::optional<End> end;
};

void Merger::begin(Source& source, Context&& context, const std::string& line) {
  const std::string settings = settingsIdentity(context);
  const std::string identity = runIdentity(context);
  const bool goesOn = context.resumed && source.group != nullptr && source.identity == identity;
  if (!goesOn) {
    finish(source);
    source.number = m_sources++;
    source.rows = source.taken = 0;
  }
  source.end.reset();
  source.identity = identity;
  source.context = std::move(context);
  if (!m_groups.contains(identity)) {
    if (m_order.size() >= kMaxRuns) {
      throw Error(source.path, "all files together are of more than " + std::to_string(kMaxRuns) +
                                   " machines or kinds of settings");
    }
    m_order.push_back(identity);
    m_groups[identity].context = withoutMember(line, {"part", "resumed"});
  }
  source.group = &m_groups[identity];
  source.whole = nullptr;
  if (!source.context.part) return;
  Whole& whole = m_wholes[settings];
  const Part& part = *source.context.part;
  if (whole.count == 0) whole = {part.count, part.selected, {}};
  if (whole.count != part.count || whole.selected != part.selected) {
    throw Error(source.path, "a part of " + std::to_string(part.count) + " with " +
                                 std::to_string(part.selected) + " tests, where others are of " +
                                 std::to_string(whole.count) + " with " +
                                 std::to_string(whole.selected) + ": not the same run");
  }
  source.whole = &whole;
}

// Rows of one source may well have one key, where a list of values has one twice.
void Merger::take(Source& source, Row&& row, const std::string& line) {
  const std::string key = rowKey(row) + '\n' + row.test;
  const auto owner = source.group->owners.emplace(key, source.number).first;
  ++source.rows;
  if (owner->second == source.number) {
    m_bytes += key.size() + line.size();
    if (++m_rows > kMaxRows || m_bytes > m_maxBytes) {
      throw Error(source.path, "all files together are more than " + std::to_string(kMaxRows) +
                                   " rows or " + std::to_string(m_maxBytes >> 20) + " MiB");
    }
    source.group->rows.push_back({key, line});
    ++source.taken;
    return;
  }
  if (++m_twice <= kMostNamed) {
    m_twiceFirst.push_back(rowText(row) + " of " + source.path);
  }
}

void Merger::finish(Source& source) {
  if (source.group == nullptr) return;
  Group& group = *source.group;
  // A run whose rows were all there already has been counted.
  if (source.end && (source.rows == 0 || source.taken > 0)) {
    group.end.ended = std::max(group.end.ended, source.end->ended);
    group.end.tests += source.end->tests;
    group.end.failures += source.end->failures;
    group.end.warnings += source.end->warnings;
  }
  const bool whole = source.end && source.end->signal.empty();
  if (source.whole != nullptr) {
    bool& ended = source.whole->parts[source.context.part->index];
    ended = ended || whole;
  } else if (!whole) {
    m_cut.push_back(source.path);
  }
}

void Merger::add(LineReader& reader) {
  if (reader.peek() != '{') throw Error(reader.path(), "holds no JSON Lines (key -j)");
  Source source{reader.path(), nullptr, nullptr, {}, {}, 0, 0, 0, {}};
  const auto use = [&](Record&& record, const std::string& line) {
    if (Context* context = std::get_if<Context>(&record)) {
      begin(source, std::move(*context), line);
      return;
    }
    if (source.group == nullptr) {
      throw Error(reader.path(), reader.number(), "no context comes before it");
    }
    if (Row* row = std::get_if<Row>(&record)) take(source, std::move(*row), line);
    if (End* end = std::get_if<End>(&record)) source.end = std::move(*end);
    m_comparisons += std::holds_alternative<Comparison>(record) ? 1 : 0;
  };
  const bool cut = forEachRecord(reader, {.samples = false}, use);
  if (cut && source.group == nullptr) throw Error(reader.path(), "cut off in its first line");
  finish(source);
}

void Merger::write(std::ostream& out) const {
  for (const std::string& identity : m_order) {
    const Group& group = m_groups.at(identity);
    std::vector<const Line*> lines;
    for (const Line& line : group.rows) lines.push_back(&line);
    std::stable_sort(lines.begin(), lines.end(),
                     [](const Line* a, const Line* b) { return before(a->key, b->key); });
    out << group.context << '\n';
    for (const Line* line : lines) out << line->text << '\n';
    if (complete()) out << endLine(group.end) << '\n';
  }
}

bool Merger::complete() const {
  const auto whole = [](const auto& entry) {
    const auto ended = [](const auto& part) { return part.second; };
    const auto& parts = entry.second.parts;
    return static_cast<int>(parts.size()) == entry.second.count &&
           std::all_of(parts.begin(), parts.end(), ended);
  };
  return m_cut.empty() && std::all_of(m_wholes.begin(), m_wholes.end(), whole);
}

std::vector<std::string> Merger::missingParts() const {
  std::vector<std::string> notes;
  std::size_t missing = 0;
  for (const auto& [settings, whole] : m_wholes) {
    const std::string of = " of " + std::to_string(whole.count);
    missing += static_cast<std::size_t>(whole.count);
    for (const auto& [index, ended] : whole.parts) missing -= ended ? 1 : 0;
    for (int index = 1; index <= whole.count && notes.size() < kMostMissing; ++index) {
      const auto part = whole.parts.find(index);
      const std::string name = "part " + std::to_string(index) + of;
      if (part == whole.parts.end()) {
        notes.push_back(name + " is missing");
      } else if (!part->second) {
        notes.push_back(name + " did not come to its end");
      }
    }
  }
  if (missing > notes.size()) {
    notes.push_back(counted(missing - notes.size(), "more part") + " likewise");
  }
  return notes;
}

std::vector<std::string> Merger::notes() const {
  std::vector<std::string> notes = missingParts();
  for (const std::string& path : m_cut) notes.push_back(path + ": a run did not come to its end");
  if (m_twice > 0) {
    std::string note = counted(m_twice, "row") + " there already, the first counts:";
    for (const std::string& first : m_twiceFirst) note += ' ' + first + ';';
    note.back() = '.';
    notes.push_back(m_twice > kMostNamed ? note + ".." : note);
  }
  if (m_comparisons > 0) notes.push_back(counted(m_comparisons, "comparison") + " left out");
  return notes;
}

}  // namespace report
