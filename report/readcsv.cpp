// The harness's csv tables: less than its JSON Lines tell, for runs that wrote nothing else.
#include "report/read.h"

#include <algorithm>
#include <array>
#include <charconv>

#include "report/error.h"
#include "report/text.h"

namespace report {

namespace {

using Cells = std::vector<std::string>;

constexpr std::size_t kNameCells = 3;
constexpr std::size_t kClosingCells = 4;  // clocks, unit, note, result
constexpr std::array<const char*, 7> kTitle{"CPU",       "OS",    "Computer", "Library",
                                            "Code path", "Start", "Clock"};

std::optional<double> numberOf(const std::string& cell) {
  double value = 0;
  const auto [end, fault] = std::from_chars(cell.data(), cell.data() + cell.size(), value);
  const bool good = fault == std::errc{} && end == cell.data() + cell.size();
  return good && value >= 0 && value < 1e300 ? std::optional(value) : std::nullopt;
}

// A cell that stands for nothing is "-".
std::string textOf(const std::string& cell) { return cell == "-" ? std::string() : cell; }

// The cell behind the name of the function, "Timing" or "Information"; 0 where a line has none.
std::size_t kindAt(const Cells& cells) {
  for (std::size_t i = 1; i <= kNameCells && i < cells.size(); ++i) {
    if (cells[i] == "Timing" || cells[i] == "Information") return i;
  }
  return 0;
}

class TableReader {
 public:
  explicit TableReader(LineReader& reader) : m_reader(reader) {}
  std::vector<Run> read();

 private:
  void take(const std::string& line);
  bool takeTitle(const Cells& cells);
  void takeCpu(const std::string& text);
  void takeNames(const Cells& cells, std::size_t kind);
  void takeRow(const Cells& cells, std::size_t kind);
  std::size_t firstParameter(const Cells& cells, std::size_t kind) const;
  Run& run() {
    if (m_runs.empty()) m_runs.emplace_back().file = m_reader.path();
    return m_runs.back();
  }
  [[noreturn]] void refuse(const std::string& reason) const {
    throw Error(m_reader.path(), m_reader.number(), reason);
  }

  LineReader& m_reader;
  std::vector<Run> m_runs;
  Cells m_names;  // of the parameters, where the table tells them
  std::size_t m_rows = 0;
  bool m_inTitle = false;
  bool m_atEnd = false;  // between END_DATA and the next title
};

std::vector<Run> TableReader::read() {
  std::string line;
  bool cut = false;
  while (m_reader.next(line)) {
    if (line.find_first_not_of(" \t,") == std::string::npos) continue;
    cut = !m_reader.closed();
    if (!cut) take(cleanText(line));
  }
  if (m_runs.empty())
    throw Error(m_reader.path(), "neither JSON Lines nor a result table of tazmet");
  if (cut) {
    run().notes.push_back("line " + std::to_string(m_reader.number()) +
                          " was cut off and is left out");
  }
  if (!run().end) run().notes.emplace_back("the run did not come to its end");
  return std::move(m_runs);
}

void TableReader::take(const std::string& line) {
  const Cells cells = split(line, ',');
  if (takeTitle(cells)) return;
  m_inTitle = false;
  if (cells[0] == "END_DATA") {
    run().end.emplace();
    m_atEnd = true;
    return;
  }
  if (m_atEnd && cells[0].starts_with('.')) return;  // totals
  const std::size_t kind = kindAt(cells);
  if (kind == 0) refuse("neither JSON Lines nor a line of a result table of tazmet");
  if (cells[kind] == "Information") return;
  if (cells.back() == "Result") return takeNames(cells, kind);
  takeRow(cells, kind);
}

// Each title begins a run: tables may be continued by later ones.
bool TableReader::takeTitle(const Cells& cells) {
  const bool known =
      cells.size() == 2 && std::find(kTitle.begin(), kTitle.end(), cells[0]) != kTitle.end();
  if (!known) return false;
  if (!m_inTitle) {
    m_runs.emplace_back().file = m_reader.path();
    m_names.clear();
    m_atEnd = false;
  }
  m_inTitle = true;
  Context& context = run().context;
  context.program = "tazmet";
  if (cells[0] == "CPU") takeCpu(cells[1]);
  if (cells[0] == "OS") context.machine.push_back({"system", cells[1], std::nullopt});
  if (cells[0] == "Computer") context.machine.push_back({"computer", cells[1], std::nullopt});
  if (cells[0] == "Library") context.libraries.push_back(cells[1]);
  if (cells[0] == "Code path") context.codePath = cells[1];
  if (cells[0] == "Start") context.started = cells[1];
  if (cells[0] == "Clock") context.clock = cells[1];
  return true;
}

// "Name; 2.6 GHz; Max cache size 1024 K"
void TableReader::takeCpu(const std::string& text) {
  std::vector<Fact>& facts = run().context.machine;
  std::string name = text;
  const auto cutOff = [&name] {
    const std::size_t at = name.rfind("; ");
    if (at == std::string::npos) return std::string();
    std::string last = name.substr(at + 2);
    name.resize(at);
    return last;
  };
  const Cells cache = split(cutOff(), ' ');
  const Cells clock = split(cutOff(), ' ');
  facts.push_back({"processor", name, std::nullopt});
  if (clock.size() == 2) {
    const double factor = clock[1] == "GHz" ? 1000 : 1;
    if (const auto mhz = numberOf(clock[0])) {
      facts.push_back({"mhz", exactText(*mhz * factor), *mhz * factor});
    }
  }
  if (cache.size() == 5) {
    if (const auto kib = numberOf(cache[3])) {
      facts.push_back({"largest_cache", exactText(*kib * 1024), *kib * 1024});
    }
  }
}

void TableReader::takeNames(const Cells& cells, std::size_t kind) {
  m_names.clear();
  if (cells.size() < kind + 1 + kClosingCells) return;
  m_names.assign(cells.begin() + static_cast<std::ptrdiff_t>(kind) + 1,
                 cells.end() - static_cast<std::ptrdiff_t>(kClosingCells));
}

// With the key -H a cell comes first that tells whether a function is hot.
std::size_t TableReader::firstParameter(const Cells& cells, std::size_t kind) const {
  const std::string& first = cells[kind + 1];
  const bool interest = m_names.empty() ? first == "hot" || first == "-" : m_names[0] == "Interest";
  const bool isCell = kind + 1 + kClosingCells < cells.size();
  return kind + 1 + (interest && isCell ? 1 : 0);
}

void TableReader::takeRow(const Cells& cells, std::size_t kind) {
  if (cells.size() < kind + 1 + kClosingCells) refuse("too few cells for a row");
  const std::optional<Result> result = resultOf(cells.back());
  if (!result) {
    refuse("the last cell is no result code; comparisons are read from JSON Lines (key -j)");
  }
  if (++m_rows > kMaxRows) refuse("more than " + std::to_string(kMaxRows) + " rows");
  Row row;
  row.line = m_reader.number();
  row.result = *result;
  for (std::size_t i = 0; i < kind; ++i) {
    if (textOf(cells[i]).empty()) continue;
    row.name.push_back(cells[i]);
    row.function += (row.function.empty() ? "" : "_") + cells[i];
  }
  if (row.function.empty()) refuse("a row without a function");
  const std::size_t closing = cells.size() - kClosingCells;
  for (std::size_t i = firstParameter(cells, kind); i < closing; ++i) {
    const std::size_t column = i - kind - 1;
    const bool named = column < m_names.size() && m_names.size() == closing - kind - 1;
    row.parameters.push_back(
        {named ? m_names[column] : "parameter " + std::to_string(row.parameters.size() + 1),
         textOf(cells[i])});
  }
  row.clocksPerElement = numberOf(cells[closing]);
  row.unit = textOf(cells[closing + 1]);
  row.note = textOf(cells[closing + 2]);
  if (row.result != Result::ok) row.reason = row.note;
  run().rows.push_back(std::move(row));
}

}  // namespace

std::vector<Run> readTable(LineReader& reader) { return TableReader(reader).read(); }

}  // namespace report
