// The page's view of rows over many runs: all of them in a table, one of them drawn.
#include <cmath>
#include <ostream>
#include <set>

#include "report/page.h"
#include "report/table.h"
#include "report/text.h"

namespace report {

namespace {

constexpr double kGate = 0.02;

// Rows of two machines or code paths have the same name.
std::string placeText(const OverTime& past, const HistorySeries& series) {
  std::set<std::string> kinds;
  for (const HistorySeries& one : past.series) kinds.insert(one.alike);
  if (kinds.size() < 2) return {};
  const HistoryRun& run = past.runs[series.points.front().run];
  return (series.parameters.empty() ? "" : ", ") + run.computer + ", " + run.codePath;
}

std::string figureCell(double clocks) {
  return "<td class=\"n\" data-v=\"" + exactText(clocks) + "\">" + figureText(clocks) + "</td>";
}

std::string changeCell(double ratio, bool isStep) {
  const char* look = !isStep ? "" : ratio > 1 ? " bad" : " good";
  return std::string("<td class=\"n") + look + "\" data-v=\"" + exactText(ratio) + "\">" +
         htmlText(changeText(ratio)) + "</td>";
}

void writeRow(std::ostream& out, const OverTime& past, const SteppedRow& row, std::size_t number) {
  const HistorySeries& series = *row.series;
  const double first = row.values.front();
  const double last = row.values.back();
  out << "<tr><th scope=\"row\" class=\"name\"><b>" << htmlText(series.function) << "</b><span>"
      << htmlText(series.parameters + placeText(past, series)) << "</span></th><td class=\"n\">"
      << row.values.size() << "</td>" << figureCell(first) << figureCell(last) << "<td>clocks/"
      << htmlText(series.unit) << "</td>" << changeCell(last / first, false);
  if (row.steps.empty()) {
    out << "<td class=\"n\">-</td><td></td>";
  } else {
    const Step& step = row.steps.back();
    out << changeCell(step.ratio(), true) << "<td>"
        << htmlText(runText(past.runs[series.points[step.at].run])) << "</td>";
  }
  out << "<td><button type=\"button\" data-past=\"" << number << "\" aria-label=\"Draw "
      << htmlText(rowText(series)) << "\">Draw</button></td></tr>\n";
}

}  // namespace

void writePast(std::ostream& out, const PageContent& content) {
  if (content.past == nullptr) return;
  const OverTime& past = *content.past;
  std::set<std::size_t> runs;
  for (const HistorySeries& series : past.series) {
    for (const HistoryPoint& point : series.points) runs.insert(point.run);
  }
  out << "<section aria-labelledby=\"past\">\n<h2 id=\"past\">Over time</h2>\n<p>"
      << counted(past.series.size(), "row") << " in " << counted(runs.size(), "run")
      << " of this machine with these settings, from "
      << htmlText(runText(past.runs[*runs.begin()])) << " to "
      << htmlText(runText(past.runs[*runs.rbegin()]))
      << ". Steps are those of at least 2 % that chance does not explain.</p>\n"
         "<div id=\"past-one\" hidden><h3 id=\"past-name\" role=\"status\"></h3>\n<figure><div "
         "class=\"plot\"><canvas data-kind=\"past\" data-view=\"0\" role=\"img\" "
         "aria-labelledby=\"past-name\"></canvas></div><figcaption>Smallest figure of each run, "
         "and the levels between steps; the axis does not begin at 0</figcaption></figure>\n"
         "<details><summary>Its runs</summary><div class=\"scroll tall\" tabindex=\"0\" "
         "role=\"region\" aria-label=\"Runs of the row\"><table id=\"past-runs\"><caption>The row "
         "above, run by run</caption><thead><tr><th scope=\"col\">Run</th><th scope=\"col\" "
         "class=\"n\">Figure</th><th scope=\"col\">Result</th></tr></thead><tbody></tbody></table>"
         "</div></details></div>\n"
      << filterTools("past-rows", false)
      << "<div class=\"scroll tall\" tabindex=\"0\" role=\"region\" aria-label=\"Rows over time\">"
         "<table class=\"sortable\" id=\"past-rows\"><caption>First and last figure of each row, "
         "and its last step</caption>\n<thead><tr>"
      << sortHead("Row", "none", false) << sortHead("Runs") << sortHead("First") << sortHead("Last")
      << "<th scope=\"col\">Unit</th>" << sortHead("Change") << sortHead("Step")
      << sortHead("First run behind it", "none", false)
      << "<th scope=\"col\">Drawing</th></tr></thead>\n<tbody>\n";
  const std::vector<SteppedRow> rows = stepsOfRows(past.series, kGate);
  for (std::size_t i = 0; i < rows.size(); ++i) writeRow(out, past, rows[i], i);
  out << "</tbody></table></div>\n</section>\n";
}

void writePastData(std::ostream& out, const OverTime& past) {
  out << ",\"past\":{\"runs\":[";
  for (std::size_t i = 0; i < past.runs.size(); ++i) {
    out << (i > 0 ? "," : "") << jsonText(runText(past.runs[i]));
  }
  out << "],\"rows\":[";
  bool isFirst = true;
  for (const SteppedRow& row : stepsOfRows(past.series, kGate)) {
    const HistorySeries& series = *row.series;
    out << (isFirst ? "" : ",") << "{\"n\":" << jsonText(rowText(series) + placeText(past, series))
        << ",\"u\":" << jsonText(series.unit) << ",\"p\":[";
    isFirst = false;
    for (std::size_t i = 0; i < series.points.size(); ++i) {
      const HistoryPoint& point = series.points[i];
      out << (i > 0 ? "," : "") << '[' << point.run << ',' << exactText(point.clocks);
      if (point.result != "OK") out << ',' << jsonText(point.result);
      out << ']';
    }
    out << "],\"s\":[";
    for (std::size_t i = 0; i < row.steps.size(); ++i) {
      const Step& step = row.steps[i];
      out << (i > 0 ? "," : "") << '[' << step.at << ',' << exactText(step.before) << ','
          << exactText(step.after) << ']';
    }
    out << "]}";
  }
  out << "]}";
}

}  // namespace report
