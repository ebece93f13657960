// tazreport history: runs over time.
#include <algorithm>
#include <map>
#include <ostream>

#include "report/command.h"
#include "report/error.h"
#include "report/grouping.h"
#include "report/history.h"
#include "report/overtime.h"
#include "report/read.h"
#include "report/table.h"
#include "report/text.h"

namespace report {

namespace {

class HistoryCommand : public Command {
 public:
  void declare(Options& options) override {
    options.list("ACTION", m_words, 1,
                 "add FILE... | list | show WORDS... | steps [WORDS...]: words of rows");
    options.offer({"add", "list", "show", "steps"});
    options.text("-d,--database", m_place,
                 "A SQLite file, or PostgreSQL by its URL (history.sqlite)");
    options.text("--label", m_label, "What runs are called that are added: a revision");
    options.number("--gate", m_gate, 0, 100, "Percent below which a step is none (2)");
    options.choice("--format", m_format, formatWords(), "What to write (text)");
  }

  int run(const Console& console) override {
    const std::string action = m_words.front();
    m_words.erase(m_words.begin());
    if (action == "add") return add(console);
    if (action != "list" && action != "show" && action != "steps") {
      throw Error("history: there is no " + action + "; there are add, list, show and steps");
    }
    if (action == "list" && !m_words.empty()) throw Error("history list: takes no words");
    if (action == "show" && m_words.empty())
      throw Error("history show: words of a row are missing");
    History history(m_place, false);
    m_runs = history.runs();
    if (action == "list") return list(console);
    m_series = history.series(m_runs);
    std::erase_if(m_series, [this](const HistorySeries& series) { return !isAsked(series); });
    if (m_series.empty()) throw Error(m_place, "no row with these words");
    return action == "show" ? show(console) : steps(console);
  }

 private:
  int add(const Console& console);
  int list(const Console& console) const;
  int show(const Console& console) const;
  int steps(const Console& console) const;
  void showOne(const Console& console, const HistorySeries& series) const;
  void tellLastGood(const Console& console, const std::vector<SteppedRow>& rows) const;
  std::string placeText(const HistorySeries& series) const;

  bool isAsked(const HistorySeries& series) const {
    const std::string text = rowText(series);
    return std::all_of(m_words.begin(), m_words.end(),
                       [&](const std::string& words) { return containsWords(text, words); });
  }

  std::vector<std::string> m_words;
  std::string m_place = "history.sqlite";
  std::string m_label;
  double m_gate = 2;
  std::string m_format = "text";
  std::vector<HistoryRun> m_runs;
  std::vector<HistorySeries> m_series;
};

// Everything is read before anything is written.
int HistoryCommand::add(const Console& console) {
  if (m_words.empty()) throw Error("history add: files are missing");
  const std::vector<Run> runs = readAll(m_words, {.samples = false});
  for (const Run& run : runs) {
    if (run.context.started.empty() || run.context.isTable()) {
      throw Error(run.file,
                  "tells neither machine nor settings: history takes JSON Lines (key -j)");
    }
  }
  History history(m_place);
  for (const Run& run : runs) {
    const char* what = "added";
    switch (history.add(run, m_label)) {
      case History::Added::alreadyThere:
        what = "there already";
        break;
      case History::Added::replaced:
        what = "takes the place of what was there of it";
        break;
      default:
        break;
    }
    console.out << run.file << ": run of " << run.context.started << ", "
                << counted(run.rows.size(), "row") << ": " << what << '\n';
  }
  return kDone;
}

int HistoryCommand::list(const Console& console) const {
  // Runs that may be compared share a number.
  std::map<std::string, std::size_t> kinds;
  Table table({{"Run", Column::figure},
               {"Started"},
               {"Label"},
               {"Computer"},
               {"Processor"},
               {"Code path"},
               {"Kind", Column::figure},
               {"Rows", Column::figure}});
  for (const HistoryRun& run : m_runs) {
    const std::size_t kind = kinds.emplace(run.alike, kinds.size() + 1).first->second;
    table.add({std::to_string(run.id), run.started, run.label, run.computer, run.processor,
               run.codePath, std::to_string(kind), std::to_string(run.rows)});
  }
  table.print(console, formatOf(m_format));
  return kDone;
}

std::string HistoryCommand::placeText(const HistorySeries& series) const {
  const HistoryRun& run = m_runs[series.points.front().run];
  return run.computer + (run.codePath.empty() ? "" : ", " + run.codePath);
}

int HistoryCommand::show(const Console& console) const {
  for (const HistorySeries& series : m_series) showOne(console, series);
  return kDone;
}

void HistoryCommand::showOne(const Console& console, const HistorySeries& series) const {
  const Format format = formatOf(m_format);
  const std::vector<Step> steps = stepsOfRow(series, m_gate / 100).steps;
  printHeading(console, format, rowText(series) + ", " + placeText(series));
  Table table(
      {{"Run"},
       {"clocks/" + (series.unit.empty() ? std::string("call") : series.unit), Column::figure},
       {"Result"},
       {"Step"}});
  for (std::size_t i = 0; i < series.points.size(); ++i) {
    const HistoryPoint& point = series.points[i];
    const auto step =
        std::find_if(steps.begin(), steps.end(), [i](const Step& known) { return known.at == i; });
    Cell mark("");
    if (step != steps.end()) {
      mark = Cell(changeText(step->ratio()), step->ratio() > 1 ? Tone::bad : Tone::good);
    }
    const std::string figure =
        format == Format::csv ? exactText(point.clocks) : figureText(point.clocks);
    table.add({runText(m_runs[point.run]), figure, point.result, mark});
  }
  table.print(console, format);
}

int HistoryCommand::steps(const Console& console) const {
  const Format format = formatOf(m_format);
  const std::vector<SteppedRow> rows = stepsOfRows(m_series, m_gate / 100);
  Table table({{"Row"},
               {"Machine"},
               {"First run of the new level"},
               {"Before", Column::figure},
               {"After", Column::figure},
               {"Step", Column::figure},
               {"p", Column::figure}});
  std::size_t tooFew = 0;
  for (const SteppedRow& row : rows) {
    tooFew += row.values.size() < 8 ? 1 : 0;
    for (const Step& step : row.steps) {
      const HistoryRun& run = m_runs[row.series->points[step.at].run];
      table.add({rowText(*row.series), placeText(*row.series), runText(run),
                 figureText(step.before), figureText(step.after),
                 Cell(changeText(step.ratio()), step.ratio() > 1 ? Tone::bad : Tone::good),
                 figureText(step.p)});
    }
  }
  if (!table.empty()) table.print(console, format);
  if (format != Format::csv) {
    const auto stepped = std::count_if(rows.begin(), rows.end(),
                                       [](const SteppedRow& row) { return !row.steps.empty(); });
    std::string text = counted(rows.size(), "row") + ", " + std::to_string(stepped) +
                       " with a step of at least " + formatted("%g", m_gate) + " %.";
    if (tooFew > 0)
      text += ' ' + counted(tooFew, "row") + " of fewer than 8 runs, where none shows.";
    printParagraph(console, format, text);
    tellLastGood(console, rows);
  }
  return std::any_of(rows.begin(), rows.end(), [](const SteppedRow& row) { return row.isSlower(); })
             ? kSlower
             : kDone;
}

// Of each machine with its settings: the run before the first of the steps that still stand.
void HistoryCommand::tellLastGood(const Console& console,
                                  const std::vector<SteppedRow>& rows) const {
  std::map<std::string, std::size_t> last;
  for (const SteppedRow& row : rows) {
    if (!row.isSlower()) continue;
    const std::size_t run = row.lastGood();
    const auto known = last.emplace(row.series->alike, run).first;
    known->second = std::min(known->second, run);
  }
  for (const auto& [alike, run] : last) {
    printParagraph(console, formatOf(m_format),
                   "Last good run on " + m_runs[run].computer + ": " + runText(m_runs[run]));
  }
}

}  // namespace

std::unique_ptr<Command> makeHistory() { return std::make_unique<HistoryCommand>(); }

}  // namespace report
