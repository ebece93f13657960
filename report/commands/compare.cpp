// tazreport compare: what changed between two sides.
#include <algorithm>
#include <cmath>
#include <ostream>

#include "report/command.h"
#include "report/compare.h"
#include "report/error.h"
#include "report/read.h"
#include "report/table.h"
#include "report/text.h"

namespace report {

namespace {

Tone toneOf(Verdict verdict) {
  return verdict == Verdict::slower   ? Tone::bad
         : verdict == Verdict::faster ? Tone::good
                                      : Tone::plain;
}

std::string ratioText(double ratio) { return formatted("%.4f", ratio); }

std::string boundText(const ComparedRow& row, double bound) {
  return row.bounded ? ratioText(bound) : "-";
}

class Compare : public Command {
 public:
  void declare(Options& options) override;
  int run(const Console& console) override;

 private:
  void takeSides(std::vector<Run>& before, std::vector<Run>& after) const;
  void printSummary(const Compared& result, const std::vector<Run>& before,
                    const std::vector<Run>& after, const Console& console) const;
  void printShift(const Compared& result, const Console& console) const;
  void printUnresolved(const Compared& result, const Console& console) const;
  void printRows(const Compared& result, const Console& console) const;
  void printLone(const std::vector<LoneRow>& rows, const std::string& heading,
                 const Console& console) const;
  std::vector<ComparedRow> chosen(const Compared& result) const;

  std::vector<std::string> m_files;
  std::vector<std::string> m_old;
  std::vector<std::string> m_new;
  CompareOptions m_options;
  double m_gate = 1;
  double m_confidence = 95;
  bool m_all = false;
  bool m_ignoreShift = false;
  std::string m_sort = "verdict";
  std::string m_formatWord = "text";
  Format m_format = Format::text;
};

void Compare::declare(Options& options) {
  options.list("FILE", m_files, 0,
               "The old file and the new one, where --old and --new are not given");
  options.list("--old", m_old, 0, "Files of the old side: runs made at different times");
  options.list("--new", m_new, 0, "Files of the new side");
  options.number("--gate", m_gate, 0.01, 1000, "Percent below which a change is none (1)");
  options.number("--confidence", m_confidence, 50, 99.999,
                 "Percent of what is told as changed, or as the same, that is (95)");
  options.flag("--each-row", m_options.eachRow, "Let --confidence hold for each row by itself");
  options.flag("--keep-shift", m_options.keepShift, "Do not take off what all rows have in common");
  options.flag(
      "--ignore-shift", m_ignoreShift,
      "Exit with 0 when all rows together became slower and none of them more than the others");
  options.flag("--anyway", m_options.anyway, "Compare other machines, code paths or settings");
  options.flag("--all", m_all, "List every row, not only those that changed");
  options.text("--filter", m_options.filter,
               "Only rows with all these words in function, parameters, unit or result");
  options.choice("--sort", m_sort, {"verdict", "ratio", "name", "file"}, "Order of the rows");
  options.choice("--format", m_formatWord, formatWords(), "What the tables are for");
}

void Compare::takeSides(std::vector<Run>& before, std::vector<Run>& after) const {
  const ReadOptions options{.samples = false};
  if (m_old.empty() != m_new.empty()) throw Error("--old and --new belong together");
  if (m_old.empty() ? m_files.size() != 2 : !m_files.empty()) {
    throw Error("give two files, OLD and NEW, or --old FILES --new FILES");
  }
  before = m_old.empty() ? readRuns(m_files[0], options) : readAll(m_old, options);
  after = m_old.empty() ? readRuns(m_files[1], options) : readAll(m_new, options);
}

int Compare::run(const Console& console) {
  std::vector<Run> before;
  std::vector<Run> after;
  takeSides(before, after);
  m_format = formatOf(m_formatWord);
  m_options.gate = m_gate / 100;
  m_options.confidence = m_confidence / 100;
  const Compared result = compareRuns(before, after, m_options);
  printSummary(result, before, after, console);
  printRows(result, console);
  if (m_format != Format::csv) {
    printLone(result.gone, "Gone", console);
    printLone(result.added, "New", console);
  }
  if (result.isSlower(!m_ignoreShift)) return kSlower;
  // A gate that compares nothing must not pass.
  if (result.rows.empty()) {
    throw Error(after.at(0).file, "has no row to compare with " + before.at(0).file);
  }
  return kDone;
}

std::string sideText(const std::vector<Run>& runs) {
  std::string text;
  for (const Run& run : runs) {
    text += (text.empty() ? "" : ", ") + run.file;
    if (!run.context.started.empty()) text += " (" + run.context.started + ")";
  }
  return text;
}

void Compare::printSummary(const Compared& result, const std::vector<Run>& before,
                           const std::vector<Run>& after, const Console& console) const {
  if (m_format == Format::csv) return;
  std::string heading = "Compared " + counted(result.rows.size(), "row");
  for (const Verdict verdict :
       {Verdict::slower, Verdict::faster, Verdict::same, Verdict::unresolved}) {
    heading += (verdict == Verdict::slower ? ": " : ", ") + std::to_string(result.count(verdict)) +
               ' ' + verdictName(verdict);
  }
  printHeading(console, m_format, heading);
  printParagraph(console, m_format, "Old: " + sideText(before), Tone::quiet);
  printParagraph(console, m_format, "New: " + sideText(after), Tone::quiet);
  printParagraph(
      console, m_format,
      "Gate " + formatted("%g", m_gate) + " %, " +
          (m_options.eachRow
               ? "intervals of " + formatted("%g", m_confidence) + " % for each row by itself."
               : "at most " + formatted("%g", 100 - m_confidence) +
                     " % of what is told as changed, or as the same, is so by chance."),
      Tone::quiet);
  for (const auto* runs : {&before, &after}) {
    for (const Run& run : *runs) {
      for (const std::string& note : run.notes) {
        printParagraph(console, m_format, "Note: " + run.file + ": " + note, Tone::doubtful);
      }
    }
  }
  printShift(result, console);
  for (const std::string& note : result.notes) {
    printParagraph(console, m_format, "Note: " + note + ".", Tone::doubtful);
  }
  printUnresolved(result, console);
}

void Compare::printShift(const Compared& result, const Console& console) const {
  if (!result.shift) {
    printParagraph(
        console, m_format,
        "Fewer than " + std::to_string(kShiftRows) +
            " rows: what they have in common, as when the machine was faster one day, cannot be "
            "told apart from changes.",
        Tone::quiet);
    return;
  }
  const Shift& shift = *result.shift;
  std::string text = "All rows have a ratio of " + ratioText(shift.ratio) + " [" +
                     ratioText(shift.low) + ", " + ratioText(shift.high) + "] in common (" +
                     verdictName(shift.verdict) + ")";
  text += m_options.keepShift ? "." : ", which the ratios of rows do not contain.";
  if (shift.verdict == Verdict::slower || shift.verdict == Verdict::faster) {
    text +=
        " Either the machine ran otherwise or everything changed: tazmet -D, which measures in "
        "turns, "
        "tells which.";
  }
  printParagraph(console, m_format, text, toneOf(shift.verdict));
}

// "unresolved" is never written as "no difference", and what would settle it is told.
void Compare::printUnresolved(const Compared& result, const Console& console) const {
  const std::size_t unresolved = result.count(Verdict::unresolved);
  if (unresolved == 0) return;
  const bool tooFew = std::any_of(result.rows.begin(), result.rows.end(),
                                  [](const ComparedRow& row) { return !row.bounded; });
  std::string text = "Unresolved is not \"no difference\".";
  if (tooFew) {
    std::size_t least = static_cast<std::size_t>(-1);
    for (const ComparedRow& row : result.rows)
      least = std::min({least, row.beforeCount, row.afterCount});
    text +=
        " A change of one row alone among " + std::to_string(result.rows.size()) + " takes " +
        std::to_string(result.valuesNeeded) +
        " passes a side to be told, and there are as few as " + std::to_string(least) +
        ": give more runs by --old and --new, or fewer rows by --filter, or measure in turns with "
        "tazmet -D.";
  } else {
    text +=
        " More passes or a quieter machine settle these rows, or tazmet -D, which measures in "
        "turns.";
  }
  printParagraph(console, m_format, text, Tone::quiet);
}

// Those that changed, and those that look as if: without a sign of it a row is listed on demand
// alone.
std::vector<ComparedRow> Compare::chosen(const Compared& result) const {
  const double gate = std::log1p(m_options.gate);
  const auto size = [](const ComparedRow& row) { return std::abs(std::log(row.ratio)); };
  std::vector<ComparedRow> rows;
  for (const ComparedRow& row : result.rows) {
    const bool changed = row.verdict == Verdict::slower || row.verdict == Verdict::faster;
    const bool looksSo = row.verdict == Verdict::unresolved && row.apart && size(row) >= gate;
    if (changed || looksSo || m_all || m_format == Format::csv) rows.push_back(row);
  }
  std::stable_sort(rows.begin(), rows.end(), [&](const ComparedRow& a, const ComparedRow& b) {
    if (m_sort == "file") return false;
    if (m_sort == "name") return a.before->function < b.before->function;
    if (m_sort == "verdict" && a.verdict != b.verdict) return a.verdict < b.verdict;
    return m_sort == "ratio" ? a.ratio > b.ratio : size(a) > size(b);
  });
  return rows;
}

void Compare::printRows(const Compared& result, const Console& console) const {
  const std::vector<ComparedRow> rows = chosen(result);
  const bool exact = m_format == Format::csv;
  const auto figure = [&](const Row& row) {
    return exact ? exactText(*row.clocksPerElement) : figureText(*row.clocksPerElement);
  };
  if (rows.empty() && !exact) {
    printParagraph(console, m_format, "No row stands out; --all lists every one.");
    return;
  }
  Table table({{"Row"},
               {"Old", Column::figure},
               {"New", Column::figure},
               {"Unit"},
               {"Ratio", Column::figure},
               {"Low", Column::figure},
               {"High", Column::figure},
               {"Verdict"}});
  for (const ComparedRow& row : rows) {
    const bool apart = row.verdict == Verdict::unresolved && row.apart;
    table.add({rowText(*row.before), figure(*row.before), figure(*row.after),
               "clocks/" + row.before->unit, Cell(ratioText(row.ratio), toneOf(row.verdict)),
               boundText(row, row.low), boundText(row, row.high),
               Cell(verdictName(row.verdict) + std::string(apart && !exact ? ", apart" : ""),
                    toneOf(row.verdict))});
  }
  if (m_format == Format::text) console.out << '\n';
  table.print(console, m_format);
  const bool anyApart = std::any_of(rows.begin(), rows.end(), [](const ComparedRow& row) {
    return row.verdict == Verdict::unresolved && row.apart;
  });
  if (!anyApart || exact) return;
  console.out << '\n';
  printParagraph(
      console, m_format,
      "apart: every pass of one side was beyond every pass of the other. Measure these again.",
      Tone::quiet);
}

void Compare::printLone(const std::vector<LoneRow>& rows, const std::string& heading,
                        const Console& console) const {
  if (rows.empty()) return;
  printHeading(console, m_format,
               heading + ": " + counted(rows.size(), "row") + " without a figure on the " +
                   (heading == "New" ? "old" : "new") + " side");
  Table table({{"Row"}, {"Figure", Column::figure}, {"Unit"}, {"On the other side"}});
  for (const LoneRow& row : rows) {
    table.add({rowText(*row.row), figureText(*row.row->clocksPerElement), "clocks/" + row.row->unit,
               Cell(row.reason.empty() ? "not there" : row.reason,
                    row.failed && heading == "Gone" ? Tone::bad : Tone::plain)});
  }
  table.print(console, m_format);
}

}  // namespace

std::unique_ptr<Command> makeCompare() { return std::make_unique<Compare>(); }

}  // namespace report
