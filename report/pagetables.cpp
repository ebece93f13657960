// The page's tables: every figure stands here.
#include <algorithm>
#include <array>
#include <cmath>
#include <map>
#include <ostream>
#include <set>
#include <string_view>

#include "report/page.h"
#include "report/statistics.h"
#include "report/text.h"
#include "report/units.h"

namespace report {

namespace {

const char* classOf(Result result) {
  if (result == Result::ok) return "good";
  return result > Result::warning ? "bad" : "doubt";
}

std::string resultTag(Result result) {
  return std::string("<span class=\"tag ") + classOf(result) + "\">" + resultName(result) +
         "</span>";
}

// A cell of a figure that can be shown in other units; the script exchanges its first node.
std::string figureCell(const Row& row, const Context& context, bool isMarked) {
  if (!row.clocksPerElement) {
    return "<td class=\"n\">" +
           (row.result == Result::ok ? std::string("-") : resultTag(row.result)) + "</td>";
  }
  const std::string exact = exactText(*row.clocksPerElement);
  std::string cell = "<td class=\"n\" data-v=\"" + exact + "\" data-c=\"" + exact + "\" data-b=\"" +
                     exactText(bytesOf(row)) + "\" data-m=\"" + exactText(clockMhz(context, row)) +
                     "\"><span>" + figureText(*row.clocksPerElement) + "</span>";
  if (isMarked && row.result != Result::ok) {
    cell += std::string(" <abbr class=\"") + classOf(row.result) + "\" title=\"" +
            resultName(row.result) + ": " + htmlText(row.reason) + "\">*</abbr>";
  }
  return cell + "</td>";
}

std::string unitSpan(const std::string& unit) {
  return "<span class=\"unit\" data-e=\"" + htmlText(unit) + "\">" +
         htmlText(unitText(Unit::clocks, unit)) + "</span>";
}

template <class Measured>
std::string nameCell(const Measured& row, const std::string& run = "") {
  return "<th scope=\"row\" class=\"name\"><b>" + htmlText(row.function) + "</b><span>" +
         htmlText((run.empty() ? "" : run + ": ") + parametersText(row.parameters)) +
         "</span></th>";
}

std::string ratioCell(std::optional<double> ratio) {
  if (!ratio) return "<td class=\"n\">-</td>";
  return "<td class=\"n\" data-v=\"" + exactText(*ratio) + "\">" + formatted("%.4f", *ratio) +
         "</td>";
}

std::string verdictCell(const std::string& verdict) {
  const char* look = verdict == "slower" ? " bad" : verdict == "faster" ? " good" : "";
  return std::string("<td><span class=\"tag") + look + "\">" + htmlText(verdict) + "</span></td>";
}

void card(std::ostream& out, const std::string& label, const std::string& value,
          bool isWord = false) {
  if (value.empty()) return;
  out << "<li" << (isWord ? " class=\"word\"" : "") << "><b>" << htmlText(value) << "</b> " << label
      << "</li>\n";
}

std::string factText(const Context& context, const std::string& name) {
  const Fact* fact = context.fact(name);
  if (fact == nullptr) return "";
  const bool isSize = name.starts_with("cache_") || name == "largest_cache";
  return isSize && fact->number && *fact->number >= 0 ? bytesText(*fact->number) : fact->text;
}

using Line = std::pair<std::string, std::vector<std::string>>;

// One line a fact, one column a run.
std::vector<Line> factLines(const std::vector<Run>& runs) {
  std::vector<Line> lines;
  const auto add = [&](const std::string& name, const auto& textOf) {
    Line line{name, {}};
    for (const Run& run : runs) line.second.push_back(textOf(run));
    lines.push_back(line);
  };
  add("file", [](const Run& run) { return run.file; });
  add("code path", [](const Run& run) { return run.context.codePath; });
  add("started", [](const Run& run) { return run.context.started; });
  add("ended",
      [](const Run& run) { return run.end ? run.end->text() : "did not come to its end"; });
  add("method", [](const Run& run) { return run.context.timing; });
  std::vector<std::string> names;
  for (const Run& run : runs) {
    for (const Fact& fact : run.context.machine) {
      if (std::find(names.begin(), names.end(), fact.name) == names.end())
        names.push_back(fact.name);
    }
  }
  for (const std::string& name : names) {
    add(name, [&](const Run& run) { return factText(run.context, name); });
  }
  add("libraries", [](const Run& run) {
    std::string text;
    for (const std::string& library : run.context.libraries)
      text += (text.empty() ? "" : "; ") + library;
    return text;
  });
  return lines;
}

void writeFacts(std::ostream& out, const std::vector<Run>& runs) {
  out << "<details id=\"facts\"><summary>The machine and the settings</summary>\n"
         "<div class=\"scroll\" tabindex=\"0\" role=\"region\" aria-label=\"Facts\"><table>\n"
         "<caption>What the files say of the machine and of the runs</caption>\n<thead><tr><th "
         "scope=\"col\">Fact</th>";
  for (const std::string& label : runLabels(runs))
    out << "<th scope=\"col\">" << htmlText(label) << "</th>";
  out << "</tr></thead>\n<tbody>\n";
  for (const auto& [name, texts] : factLines(runs)) {
    out << "<tr><th scope=\"row\">" << htmlText(name) << "</th>";
    for (const std::string& text : texts) out << "<td>" << htmlText(text) << "</td>";
    out << "</tr>\n";
  }
  out << "</tbody></table></div></details>\n";
}

// How much faster each code path is than the first, over the rows that both have.
void writePaths(std::ostream& out, const std::vector<Run>& runs) {
  std::set<std::string> paths;
  for (const Run& run : runs) paths.insert(run.context.codePath);
  if (runs.size() < 2 || paths.size() != runs.size()) return;
  std::map<std::string, double> first;
  for (const Row& row : runs[0].rows) {
    if (row.clocksPerElement) first[rowKey(row)] = *row.clocksPerElement;
  }
  out << "<div class=\"scroll\" tabindex=\"0\" role=\"region\" aria-label=\"Code paths\"><table "
         "id=\"paths\"><caption>Code paths side by side: how many "
         "times as fast as "
      << htmlText(runs[0].context.codePath)
      << "</caption>\n<thead><tr><th scope=\"col\">Code path</th><th scope=\"col\" "
         "class=\"n\">Rows in both</th>"
         "<th scope=\"col\" class=\"n\">Least</th><th scope=\"col\" class=\"n\">Median</th>"
         "<th scope=\"col\" class=\"n\">Most</th></tr></thead>\n<tbody>\n";
  for (const Run& run : runs) {
    std::vector<double> ratios;
    for (const Row& row : run.rows) {
      const auto found = first.find(rowKey(row));
      const bool both = found != first.end() && row.clocksPerElement.value_or(0) > 0;
      if (both) ratios.push_back(found->second / *row.clocksPerElement);
    }
    out << "<tr><th scope=\"row\">" << htmlText(run.context.codePath) << "</th><td class=\"n\">"
        << ratios.size() << "</td>";
    if (ratios.empty()) ratios.push_back(std::nan(""));
    std::sort(ratios.begin(), ratios.end());
    for (const double ratio : {ratios.front(), medianOf(ratios), ratios.back()}) {
      out << "<td class=\"n\">" << (std::isnan(ratio) ? "-" : formatted("%.2f", ratio)) << "</td>";
    }
    out << "</tr>\n";
  }
  out << "</tbody></table></div>\n";
}

std::size_t countDoubtful(const std::vector<Run>& runs) {
  std::size_t count = 0;
  for (const Run& run : runs) {
    count += static_cast<std::size_t>(std::count_if(
        run.rows.begin(), run.rows.end(), [](const Row& row) { return row.result != Result::ok; }));
  }
  return count;
}

bool hasComparisons(const std::vector<Run>& runs) {
  return std::any_of(runs.begin(), runs.end(),
                     [](const Run& run) { return !run.comparisons.empty(); });
}

void writeLoneRows(std::ostream& out, const Compared& compared) {
  for (const auto& [rows, word] : {std::pair{&compared.gone, "new"}, {&compared.added, "old"}}) {
    if (rows->empty()) continue;
    out << "<details><summary>" << counted(rows->size(), "row") << " without a figure on the "
        << word << " side</summary><ul>\n";
    for (const LoneRow& row : *rows) {
      out << "<li" << (row.failed ? " class=\"bad\"" : "") << '>' << htmlText(rowText(*row.row))
          << ": " << htmlText(row.reason.empty() ? "not there" : row.reason) << "</li>\n";
    }
    out << "</ul></details>\n";
  }
}

// Sorted as a reader wants them first; the script sorts and filters them.
void writeComparedRows(std::ostream& out, const PageContent& content) {
  const Compared& compared = *content.compared;
  out << filterTools("compared", true)
      << "<div class=\"scroll tall\" tabindex=\"0\" role=\"region\" aria-label=\"Rows compared\">"
         "<table class=\"sortable\" id=\"compared\"><caption>Ratios of the new side to the old "
         "one, with their "
         "intervals</caption>\n<thead><tr>"
      << sortHead("Row", "none", false) << sortHead("Old") << sortHead("New")
      << "<th scope=\"col\">Unit</th>" << sortHead("Ratio") << sortHead("Low") << sortHead("High")
      << sortHead("Verdict", "none", false) << "</tr></thead>\n<tbody>\n";
  std::vector<const ComparedRow*> order;
  for (const ComparedRow& row : compared.rows) order.push_back(&row);
  std::stable_sort(order.begin(), order.end(), [](const ComparedRow* a, const ComparedRow* b) {
    if (a->verdict != b->verdict) return a->verdict < b->verdict;
    return std::abs(std::log(a->ratio)) > std::abs(std::log(b->ratio));
  });
  for (const ComparedRow* row : order) {
    const char* word = verdictName(row->verdict);
    const auto bound = [&](double ratio) {
      return row->bounded ? std::optional(ratio) : std::nullopt;
    };
    out << "<tr data-verdict=\"" << word << "\">" << nameCell(*row->before)
        << figureCell(*row->before, content.older->front().context, false)
        << figureCell(*row->after, content.runs.front().context, false) << "<td>"
        << unitSpan(row->before->unit) << "</td>" << ratioCell(row->ratio)
        << ratioCell(bound(row->low)) << ratioCell(bound(row->high)) << verdictCell(word)
        << "</tr>\n";
  }
  out << "</tbody></table></div>\n";
}

}  // namespace

std::string filterTools(const std::string& table, bool byVerdict) {
  std::string tools = "<div class=\"tools\"><label class=\"grow\" for=\"" + table +
                      "-filter\">Only rows with the words<input type=\"search\" id=\"" + table +
                      "-filter\" data-table=\"" + table + "\" autocomplete=\"off\"></label>";
  if (byVerdict) {
    tools +=
        "<label for=\"" + table + "-verdict\">Verdict<select id=\"" + table +
        "-verdict\"><option value=\"\">all</option><option>slower</option>"
        "<option>faster</option><option>unresolved</option><option>same</option></select></label>";
  }
  return tools + "</div>\n<p class=\"status\" id=\"" + table + "-status\" role=\"status\"></p>\n";
}

std::string sortHead(const char* title, const char* sort, bool isFigure) {
  return std::string("<th scope=\"col\"") + (isFigure ? " class=\"n\"" : "") + " aria-sort=\"" +
         sort + "\"><button type=\"button\">" + title + "</button></th>";
}

void writeOverview(std::ostream& out, const PageContent& content) {
  const std::vector<Run>& runs = content.runs;
  std::size_t rows = 0;
  std::set<std::string> functions;
  std::string paths;
  for (const Run& run : runs) {
    rows += run.rows.size();
    for (const Row& row : run.rows) functions.insert(row.function);
    const bool isNew = paths.find(run.context.codePath) == std::string::npos;
    if (isNew) paths += (paths.empty() ? "" : ", ") + run.context.codePath;
  }
  const std::size_t doubtful = countDoubtful(runs);
  const Context& context = runs[0].context;
  out << "<header class=\"page\">\n<h1>" << htmlText(content.title) << "</h1>\n<p class=\"soft\">"
      << htmlText(factText(context, "processor")) << ", " << htmlText(factText(context, "system"))
      << ", " << htmlText(context.started) << "</p>\n<nav aria-label=\"Sections\"><ul>"
      << (content.compared != nullptr ? "<li><a href=\"#comparison\">Comparison</a></li>" : "")
      << (hasComparisons(runs) ? "<li><a href=\"#beside\">Side by side</a></li>" : "")
      << (content.past != nullptr ? "<li><a href=\"#past\">Over time</a></li>" : "")
      << (doubtful > 0 ? "<li><a href=\"#doubtful\">Not OK</a></li>" : "")
      << "<li><a href=\"#functions\">Functions</a></li><li><a "
         "href=\"#facts\">Machine</a></li></ul></nav>\n"
         "</header>\n<main>\n<ul class=\"cards\">\n";
  card(out, functions.size() == 1 ? "function" : "functions", std::to_string(functions.size()));
  card(out, "rows", std::to_string(rows));
  card(out, "rows OK", std::to_string(rows - doubtful));
  card(out, "rows not OK", std::to_string(doubtful));
  card(out, "code path", paths, true);
  card(out, "method", context.timing.substr(0, context.timing.find(',')), true);
  out << "</ul>\n";
  for (const Run& run : runs) {
    for (const std::string& note : run.notes) {
      out << "<p class=\"doubt\">" << htmlText(run.file + ": " + note) << ".</p>\n";
    }
  }
  writePaths(out, runs);
  writeFacts(out, runs);
}

void writeComparison(std::ostream& out, const PageContent& content) {
  if (content.compared == nullptr) return;
  const Compared& compared = *content.compared;
  out << "<section aria-labelledby=\"comparison\">\n<h2 id=\"comparison\">Comparison</h2>\n<p>";
  for (const Run& run : *content.older) out << htmlText(run.file) << ' ';
  out << "(old) with ";
  for (const Run& run : content.runs) out << htmlText(run.file) << ' ';
  out << "(new): ";
  for (const Verdict verdict :
       {Verdict::slower, Verdict::faster, Verdict::same, Verdict::unresolved}) {
    out << (verdict == Verdict::slower ? "" : ", ") << compared.count(verdict) << ' '
        << verdictName(verdict);
  }
  out << ". Above 1 is slower. Unresolved is not \u201cno difference\u201d.</p>\n";
  if (compared.shift) {
    out << "<p>All rows have a ratio of " << formatted("%.4f", compared.shift->ratio) << " ["
        << formatted("%.4f", compared.shift->low) << ", " << formatted("%.4f", compared.shift->high)
        << "] in common (" << verdictName(compared.shift->verdict)
        << "), which the ratios below do not contain.</p>\n";
  }
  for (const std::string& note : compared.notes)
    out << "<p class=\"doubt\">" << htmlText(note) << ".</p>\n";
  writeLoneRows(out, compared);
  writeComparedRows(out, content);
  out << "</section>\n";
}

void writeSideBySide(std::ostream& out, const PageContent& content) {
  if (!hasComparisons(content.runs)) return;
  out << "<section aria-labelledby=\"beside\">\n<h2 id=\"beside\">Measured side by side</h2>\n"
      << filterTools("sides", true)
      << "<div class=\"scroll tall\" tabindex=\"0\" role=\"region\" aria-label=\"Measured side by "
         "side\">"
         "<table class=\"sortable\" id=\"sides\"><caption>Ratios of the second side to the first, "
         "as the "
         "harness measured them in turns; above 1 is slower</caption>\n<thead><tr>"
      << sortHead("Row", "none", false) << sortHead("Sides", "none", false) << sortHead("Ratio")
      << sortHead("Low") << sortHead("High") << sortHead("Verdict", "none", false)
      << "</tr></thead>\n<tbody>\n";
  const std::vector<std::string> labels = runLabels(content.runs);
  for (std::size_t r = 0; r < content.runs.size(); ++r) {
    for (const Comparison& row : content.runs[r].comparisons) {
      for (const ComparedSide& other : row.others) {
        out << "<tr data-verdict=\"" << htmlText(other.verdict) << "\">"
            << nameCell(row, labels.size() > 1 ? labels[r] : "") << "<td>"
            << htmlText(row.side + " : " + other.side) << "</td>" << ratioCell(other.ratio)
            << ratioCell(other.low) << ratioCell(other.high) << verdictCell(other.verdict)
            << "</tr>\n";
      }
    }
  }
  out << "</tbody></table></div>\n</section>\n";
}

void writeDoubtful(std::ostream& out, const PageContent& content) {
  const std::size_t count = countDoubtful(content.runs);
  if (count == 0) return;
  constexpr std::size_t kFew = 20;
  std::vector<std::pair<const Row*, std::size_t>> rows;
  const std::vector<std::string> labels = runLabels(content.runs);
  std::set<Result> codes;
  for (std::size_t r = 0; r < content.runs.size(); ++r) {
    for (const Row& row : content.runs[r].rows) {
      if (row.result == Result::ok) continue;
      rows.emplace_back(&row, r);
      codes.insert(row.result);
    }
  }
  std::stable_sort(rows.begin(), rows.end(),
                   [](const auto& a, const auto& b) { return a.first->result > b.first->result; });
  out << "<section aria-labelledby=\"doubtful\">\n<h2 id=\"doubtful\">Rows that are not "
         "OK</h2>\n<dl>\n";
  for (auto code = codes.rbegin(); code != codes.rend(); ++code) {
    out << "<dt>" << resultTag(*code) << "</dt><dd>" << htmlText(resultCure(*code)) << "</dd>\n";
  }
  out << "</dl>\n<details" << (count <= kFew ? " open" : "") << "><summary>"
      << counted(count, "row") << " with the reason</summary>\n"
      << filterTools("notok", false)
      << "<div class=\"scroll tall\" tabindex=\"0\" role=\"region\" aria-label=\"Rows that are not "
         "OK\">"
         "<table class=\"sortable\" id=\"notok\"><caption>The worst first</caption>\n<thead><tr>"
      << sortHead("Row", "none", false) << sortHead("Result", "none", false) << sortHead("Figure")
      << "<th scope=\"col\">Unit</th>" << sortHead("Reason", "none", false)
      << "</tr></thead>\n<tbody>\n";
  for (const auto& [row, r] : rows) {
    out << "<tr>" << nameCell(*row, labels.size() > 1 ? labels[r] : "") << "<td>"
        << resultTag(row->result) << "</td>";
    const bool none = !row->clocksPerElement;
    out << (none ? "<td class=\"n\">-</td>" : figureCell(*row, content.runs[r].context, false))
        << "<td>" << unitSpan(row->unit) << "</td><td>" << htmlText(row->reason) << "</td></tr>\n";
  }
  out << "</tbody></table></div></details>\n</section>\n";
}

namespace {

// What the drawing says, for those who do not see it; the figures stand in the table above it.
std::string curveText(const FunctionView& view) {
  std::string text =
      view.sizes.size() > 1 ? "Curves of the figures over " : "Bars of the figures at ";
  text += view.byBytes             ? "the bytes of all test data"
          : view.parameter.empty() ? "one size"
                                   : view.parameter;
  for (const Series& series : view.series) {
    text += "; " + (series.label.empty() ? std::string() : series.label + ": ");
    for (std::size_t i = 0; i < series.rows.size(); ++i) {
      if (!series.rows[i]->clocksPerElement) continue;
      text += (i > 0 ? ", " : "") + series.sizes[i] + ' ' +
              figureText(*series.rows[i]->clocksPerElement);
    }
  }
  return text;
}

std::string stripsText(const FunctionView& view) {
  std::string text = "Samples of each row above its smallest";
  for (const Series& series : view.series) {
    for (std::size_t i = 0; i < series.rows.size(); ++i) {
      const auto& statistics = series.rows[i]->statistics;
      if (!statistics) continue;
      text += "; " + (series.label.empty() ? "" : series.label + ' ') + series.sizes[i] + ": " +
              formatted("%g", statistics->count) + " samples, median " +
              formatted("%+.1f %%",
                        100 * (statistics->median / std::max(1e-300, statistics->minimum) - 1)) +
              ", spread " + formatted("%.1f %%", 100 * statistics->spread);
    }
  }
  return text;
}

void writeSeriesRow(std::ostream& out, const FunctionView& view, const Series& series,
                    const Run& run) {
  out << "<tr><th scope=\"row\">" << htmlText(series.label.empty() ? "Figure" : series.label)
      << "</th>";
  std::map<std::string_view, const Row*> rows;
  for (std::size_t i = 0; i < series.rows.size(); ++i) rows[series.sizes[i]] = series.rows[i];
  for (const std::string& size : view.sizes) {
    const auto found = rows.find(size);
    out << (found == rows.end() ? "<td class=\"n\">-</td>"
                                : figureCell(*found->second, run.context, true));
  }
  out << "</tr>\n";
}

void writeFigure(std::ostream& out, std::size_t index, const char* kind, const std::string& text,
                 const std::string& caption) {
  out << "<figure><div class=\"plot\"><canvas role=\"img\" data-kind=\"" << kind
      << "\" data-view=\"" << index << "\" aria-label=\"" << htmlText(text) << "\">"
      << htmlText(text) << "</canvas></div><figcaption>" << caption << "</figcaption></figure>\n";
}

bool hasFigures(const FunctionView& view) {
  return std::any_of(view.series.begin(), view.series.end(), [](const Series& series) {
    return std::any_of(series.rows.begin(), series.rows.end(),
                       [](const Row* row) { return row->clocksPerElement.has_value(); });
  });
}

}  // namespace

void writeFunctions(std::ostream& out, const PageContent& content,
                    const std::vector<FunctionView>& views) {
  out << "<section aria-labelledby=\"functions\">\n<h2 id=\"functions\" "
         "tabindex=\"-1\">Functions</h2>\n"
         "<div class=\"bar\"><div class=\"tools\"><label class=\"grow\" for=\"find\">Only "
         "functions with the words"
         "<input type=\"search\" id=\"find\" autocomplete=\"off\"></label><label for=\"unit\">Unit"
         "<select id=\"unit\">";
  for (const std::string& word : unitWords()) out << "<option>" << word << "</option>";
  out << "</select></label></div><p class=\"status\" id=\"find-status\" "
         "role=\"status\"></p></div>\n"
         "<noscript><p>Drawings, filters and other units need JavaScript; all figures stand in the "
         "tables.</p></noscript>\n";
  for (std::size_t i = 0; i < views.size(); ++i) {
    const FunctionView& view = views[i];
    out << "<article aria-labelledby=\"f" << i << "\"><h3 id=\"f" << i << "\">"
        << htmlText(view.function)
        << "</h3>\n<div class=\"scroll\" tabindex=\"0\" role=\"region\" aria-labelledby=\"f" << i
        << "\"><table><caption>" << unitSpan(view.unit)
        << (view.parameter.empty() ? "" : " by " + htmlText(view.parameter))
        << "</caption>\n<thead><tr><th scope=\"col\">Of</th>";
    for (const std::string& size : view.sizes) {
      out << "<th scope=\"col\" class=\"n\">" << htmlText(size.empty() ? "all" : size) << "</th>";
    }
    out << "</tr></thead>\n<tbody>\n";
    for (const Series& series : view.series)
      writeSeriesRow(out, view, series, content.runs[series.run]);
    out << "</tbody></table></div>\n";
    if (hasFigures(view)) {
      out << "<div class=\"charts\">\n";
      writeFigure(out, i, "curve", curveText(view),
                  view.byBytes && view.sizes.size() > 1 ? "Dashed: where the caches end." : "");
      if (view.hasSamples)
        writeFigure(out, i, "strips", stripsText(view),
                    "Samples in the order of their taking; the highest may lie beyond.");
      out << "</div>\n";
    }
    out << "</article>\n";
  }
  out << "</section>\n";
}

}  // namespace report
