// The page's frame, and how rows become views of functions.
#include "report/page.h"

#include <algorithm>
#include <map>
#include <ostream>
#include <set>

#include "report/error.h"
#include "report/grouping.h"
#include "report/text.h"

namespace report {

namespace {

std::string baseName(const std::string& path) { return path.substr(path.find_last_of('/') + 1); }

bool isSmaller(const std::string& a, const std::string& b) {
  return sizeOf(a).value_or(0) < sizeOf(b).value_or(0);
}

// Rows that share no sizes make a table that is mostly empty.
constexpr std::size_t kMostCells = 2'000'000;

void finish(FunctionView& view) {
  std::set<std::string> seen;
  view.byBytes = true;
  for (const Series& series : view.series) {
    for (std::size_t i = 0; i < series.rows.size(); ++i) {
      if (seen.insert(series.sizes[i]).second) view.sizes.push_back(series.sizes[i]);
      view.byBytes = view.byBytes && series.rows[i]->workingSet.value_or(0) > 0;
      view.hasSamples = view.hasSamples || series.rows[i]->samples.size() > 0;
    }
  }
  std::stable_sort(view.sizes.begin(), view.sizes.end(), isSmaller);
}

}  // namespace

std::vector<std::string> runLabels(const std::vector<Run>& runs) {
  std::set<std::string> paths;
  for (const Run& run : runs) paths.insert(run.context.codePath);
  const bool byPath = paths.size() == runs.size() && paths.count("") == 0;
  std::vector<std::string> labels;
  std::map<std::string, int> counts;
  for (const Run& run : runs) {
    std::string label = byPath ? run.context.codePath : baseName(run.file);
    const int count = ++counts[label];
    labels.push_back(count > 1 ? label + " (" + std::to_string(count) + ")" : label);
  }
  return labels;
}

std::vector<FunctionView> functionViews(const std::vector<Run>& runs) {
  const std::vector<std::string> labels = runLabels(runs);
  std::vector<FunctionView> views;
  std::map<std::string, std::size_t> places;
  for (std::size_t r = 0; r < runs.size(); ++r) {
    for (const SizedLine& line : sizedLines(filtered(runs[r].rows, ""))) {
      const SizeLine& rows = line.line;
      const auto [place, isNew] = places.try_emplace(
          rows.function + '\n' + rows.unit + '\n' + line.parameter, views.size());
      if (isNew) {
        FunctionView& view = views.emplace_back();
        view.function = rows.function;
        view.unit = rows.unit;
        view.parameter = line.parameter;
      }
      std::string label = runs.size() > 1 ? labels[r] : "";
      const std::string others = parametersText(rows.others);
      if (!others.empty()) label += (label.empty() ? "" : " ") + others;
      views[place->second].series.push_back({r, label, line.sizes, rows.rows});
    }
  }
  std::size_t cells = 0;
  for (FunctionView& view : views) {
    finish(view);
    cells += view.sizes.size() * view.series.size();
    if (cells > kMostCells) {
      throw Error(runs.at(0).file, "more than " + std::to_string(kMostCells) +
                                       " cells in the tables of a page, with " + view.function);
    }
  }
  return views;
}

std::string htmlText(const std::string& text) {
  std::string shown;
  shown.reserve(text.size());
  for (const char c : text) {
    switch (c) {
      case '&':
        shown += "&amp;";
        break;
      case '<':
        shown += "&lt;";
        break;
      case '>':
        shown += "&gt;";
        break;
      case '"':
        shown += "&quot;";
        break;
      case '\'':
        shown += "&#39;";
        break;
      default:
        shown += c;
    }
  }
  return shown;
}

void writePage(std::ostream& out, const PageContent& content) {
  const std::vector<FunctionView> views = functionViews(content.runs);
  // Nothing is fetched, whatever the texts of a file may hold.
  out << "<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n"
         "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">\n"
         "<meta http-equiv=\"Content-Security-Policy\" content=\"default-src 'none'; "
         "style-src 'unsafe-inline'; script-src 'unsafe-inline'; img-src data:; base-uri 'none'; "
         "form-action 'none'\">\n"
         "<link rel=\"icon\" href=\"data:,\">\n<title>"
      << htmlText(content.title) << "</title>\n<style>\n"
      << kPageStyle
      << "</style>\n</head>\n<body>\n<a class=\"skip\" href=\"#functions\">To the functions</a>\n";
  writeOverview(out, content);
  writeComparison(out, content);
  writeSideBySide(out, content);
  writePast(out, content);
  writeDoubtful(out, content);
  writeFunctions(out, content, views);
  out << "</main>\n<footer><p>Figures are those of the files; a figure is the smallest of its "
         "samples. "
         "Made by tazreport; drawn by Chart.js, which is part of this page.</p></footer>\n"
         "<script type=\"application/json\" id=\"data\">";
  writePageData(out, content, views);
  out << "</script>\n<script>\n"
      << kChartLibrary << "\n</script>\n<script>\n"
      << kPageScript << "</script>\n</body>\n</html>\n";
}

}  // namespace report
