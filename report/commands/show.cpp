// tazreport show: the tables of a run, what is not OK first.
#include <algorithm>
#include <array>
#include <functional>
#include <ostream>

#include "report/command.h"
#include "report/error.h"
#include "report/grouping.h"
#include "report/read.h"
#include "report/table.h"
#include "report/text.h"
#include "report/units.h"

namespace report {

namespace {

bool isDoubtful(const Row& row) { return row.result != Result::ok; }

Tone toneOf(Result result) {
  if (result == Result::ok) return Tone::plain;
  return result > Result::warning ? Tone::bad : Tone::doubtful;
}

class Show : public Command {
 public:
  void declare(Options& options) override {
    options.list("FILE", m_files, 1, "JSON Lines (key -j) or csv tables (key -r) of tazmet");
    options.choice(
        "--sort", m_sort, {"file", "name", "figure", "spread"},
        "Order of the lines: as in the file, by name, slowest first, widest spread first");
    options.text("--filter", m_filter,
                 "Only rows with all these words in function, parameters, unit or result");
    options.choice("--unit", m_unitWord, unitWords(), "What figures are told in");
    options.choice("--format", m_formatWord, formatWords(), "What the tables are for");
  }
  int run(const Console& console) override;

 private:
  void showRun(const Run& run, const Console& console) const;
  void showTitle(const Run& run, const Console& console) const;
  void showDoubtful(const std::vector<const Row*>& rows, const Console& console) const;
  void showSection(const SizeSection& section, const Console& console) const;
  bool showComparisons(const Run& run, const Console& console) const;
  void showCsv(const std::vector<Run>& runs, const Console& console) const;
  void sort(std::vector<SizeLine>& lines) const;
  std::string figure(const Row& row) const;

  std::vector<std::string> m_files;
  std::string m_sort = "file";
  std::string m_filter;
  std::string m_unitWord = "clocks";
  std::string m_formatWord = "text";
  Unit m_unit = Unit::clocks;
  Format m_format = Format::text;
  mutable const Context* m_context = nullptr;  // of the run that is being shown
};

int Show::run(const Console& console) {
  m_unit = unitOf(m_unitWord);
  m_format = formatOf(m_formatWord);
  const std::vector<Run> runs = readAll(m_files, {.samples = false});
  for (const Run& run : runs) {
    if (m_unit != Unit::clocks && clockMhz(run.context, {}) <= 0) {
      throw Error(run.file, "does not tell the rate of its clock: only clocks can be shown");
    }
  }
  if (m_format == Format::csv) {
    showCsv(runs, console);
  } else {
    for (const Run& run : runs) showRun(run, console);
  }
  return kDone;
}

void Show::showRun(const Run& run, const Console& console) const {
  m_context = &run.context;
  showTitle(run, console);
  const std::vector<const Row*> rows = filtered(run.rows, m_filter);
  showDoubtful(rows, console);
  for (SizeSection& section : groupBySize(rows)) {
    sort(section.lines);
    showSection(section, console);
  }
  if (std::any_of(rows.begin(), rows.end(), [](const Row* row) { return isDoubtful(*row); })) {
    if (m_format == Format::text) console.out << '\n';
    printParagraph(console, m_format, "* not OK: see above", Tone::quiet);
  }
  if (!showComparisons(run, console) && rows.empty()) {
    printParagraph(console, m_format,
                   m_filter.empty() ? "There are no rows." : "No row has all words of the filter.");
  }
}

void Show::showTitle(const Run& run, const Console& console) const {
  const Context& context = run.context;
  printHeading(console, m_format, run.file);
  std::string text;
  for (const char* name : {"processor", "computer"}) {
    const std::string fact = context.text(name);
    if (!fact.empty()) text += fact + ", ";
  }
  if (!context.codePath.empty()) text += "code path " + context.codePath + ", ";
  if (!context.started.empty()) text += "started " + context.started + ", ";
  text += counted(run.rows.size(), "row");
  printParagraph(console, m_format, text, Tone::quiet);
  for (const std::string& note : run.notes) {
    printParagraph(console, m_format, "Note: " + note, Tone::doubtful);
  }
}

// The worst first, each code with what can be done about it.
void Show::showDoubtful(const std::vector<const Row*>& rows, const Console& console) const {
  const auto count =
      std::count_if(rows.begin(), rows.end(), [](const Row* row) { return isDoubtful(*row); });
  if (count == 0) return;
  printHeading(console, m_format,
               "Not OK: " + std::to_string(count) + " of " + counted(rows.size(), "row"));
  bool isFirst = true;
  for (int code = static_cast<int>(Result::failure); code >= 0; --code) {
    const auto result = static_cast<Result>(code);
    if (result == Result::ok) continue;
    Table table({{"Row"}, {"Figure", Column::figure}, {"Reason"}});
    for (const Row* row : rows) {
      if (row->result != result) continue;
      table.add({rowText(*row), figure(*row), row->reason});
    }
    if (table.empty()) continue;
    if (!isFirst && m_format == Format::text) console.out << '\n';
    isFirst = false;
    printParagraph(console, m_format, std::string(resultName(result)) + ". " + resultCure(result),
                   toneOf(result));
    table.print(console, m_format);
  }
}

std::string Show::figure(const Row& row) const {
  const std::optional<double> value = figureIn(m_unit, row, clockMhz(*m_context, row));
  return value ? figureText(*value) : "-";
}

void Show::sort(std::vector<SizeLine>& lines) const {
  const auto largest = [](const SizeLine& line, const std::function<double(const Row&)>& of) {
    double value = -1;
    for (const Row* row : line.rows) value = std::max(value, of(*row));
    return value;
  };
  const auto figureOf = [](const Row& row) { return row.clocksPerElement.value_or(-1); };
  const auto spreadOf = [](const Row& row) { return row.statistics ? row.statistics->spread : -1; };
  std::stable_sort(lines.begin(), lines.end(), [&](const SizeLine& a, const SizeLine& b) {
    if (m_sort == "name") return a.function < b.function;
    if (m_sort == "figure") return largest(a, figureOf) > largest(b, figureOf);
    if (m_sort == "spread") return largest(a, spreadOf) > largest(b, spreadOf);
    return false;
  });
}

void Show::showSection(const SizeSection& section, const Console& console) const {
  printHeading(console, m_format,
               section.parameter.empty() ? "Without a size" : "By " + section.parameter);
  std::vector<Column> columns{{"Function"}};
  const bool hasOthers = std::any_of(section.lines.begin(), section.lines.end(),
                                     [](const SizeLine& line) { return !line.others.empty(); });
  if (hasOthers) columns.push_back({"Parameters"});
  for (const std::string& size : section.sizes) {
    columns.push_back({size.empty() ? "Figure" : size, Column::figure});
  }
  columns.push_back({"Unit"});
  Table table(columns);
  for (const SizeLine& line : section.lines) {
    std::vector<Cell> cells{line.function};
    if (hasOthers) cells.emplace_back(parametersText(line.others));
    for (const Row* row : line.rows) {
      cells.emplace_back(figure(*row) + (isDoubtful(*row) ? "*" : ""), toneOf(row->result));
    }
    cells.emplace_back(unitText(m_unit, line.unit));
    table.add(std::move(cells));
  }
  table.print(console, m_format);
}

bool Show::showComparisons(const Run& run, const Console& console) const {
  Table table({{"Row"},
               {"Sides"},
               {"Ratio", Column::figure},
               {"Low", Column::figure},
               {"High", Column::figure},
               {"Verdict"}});
  const auto text = [](const std::optional<double>& value) {
    return value ? formatted("%.4f", *value) : std::string("-");
  };
  for (const Comparison& comparison : run.comparisons) {
    const std::string name = rowText(comparison);
    for (const ComparedSide& other : comparison.others) {
      if (!containsWords(name + ' ' + comparison.unit + ' ' + other.verdict, m_filter)) continue;
      const Tone tone = other.verdict == "slower"   ? Tone::bad
                        : other.verdict == "faster" ? Tone::good
                                                    : Tone::plain;
      table.add({name, comparison.side + " : " + other.side, text(other.ratio), text(other.low),
                 text(other.high), Cell(other.verdict, tone)});
    }
  }
  if (table.empty()) return false;
  printHeading(console, m_format, "Measured side by side");
  table.print(console, m_format);
  return true;
}

// A line a row and figures in full: for other programs.
void Show::showCsv(const std::vector<Run>& runs, const Console& console) const {
  Table table(
      {{"file"}, {"function"}, {"parameters"}, {"figure"}, {"unit"}, {"result"}, {"reason"}});
  for (const Run& run : runs) {
    for (const Row* row : filtered(run.rows, m_filter)) {
      const std::optional<double> value = figureIn(m_unit, *row, clockMhz(run.context, *row));
      table.add({run.file, row->function, parametersText(row->parameters),
                 value ? exactText(*value) : "", unitText(m_unit, row->unit),
                 resultName(row->result), row->reason});
    }
  }
  table.print(console, m_format);
}

}  // namespace

std::unique_ptr<Command> makeShow() { return std::make_unique<Show>(); }

}  // namespace report
