/// @file
/// The page: one file that opens without a network, with every figure in tables and the drawings
/// beside.
#pragma once

#include <iosfwd>
#include <string>
#include <string_view>
#include <vector>

#include "report/compare.h"
#include "report/model.h"
#include "report/overtime.h"

namespace report {

/// @name Files that every page holds, put into the program when it is built
/// @{
extern const std::string_view kPageStyle;
extern const std::string_view kPageScript;
extern const std::string_view kChartLibrary;  ///< empty: there was none
/// @}

struct PageContent {
  std::string title;
  const std::vector<Run>& runs;
  const Compared* compared = nullptr;       ///< null: nothing is compared
  const std::vector<Run>* older = nullptr;  ///< what it is compared with
  const OverTime* past = nullptr;           ///< null: no history
};

void writePage(std::ostream& out, const PageContent& content);

/// @name What the page is put together from
/// @{

/// Rows of a function that differ in their size alone, of one run.
struct Series {
  std::size_t run = 0;
  std::string label;
  std::vector<std::string> sizes;
  std::vector<const Row*> rows;  ///< one a size
};

/// A function in all runs.
struct FunctionView {
  std::string function;
  std::string unit;
  std::string parameter;           ///< by which sizes are named
  std::vector<std::string> sizes;  ///< of any series, from small to large
  std::vector<Series> series;
  bool byBytes = false;  ///< every row tells its working set, over which curves are drawn
  bool hasSamples = false;
};

/// @throws Error where the tables would have more than two million cells
std::vector<FunctionView> functionViews(const std::vector<Run>& runs);
/// A short name for each run: its code path where they differ in it, else its file.
std::vector<std::string> runLabels(const std::vector<Run>& runs);

void writeOverview(std::ostream& out, const PageContent& content);
/// What the harness compared itself (keys -D and -c).
void writeSideBySide(std::ostream& out, const PageContent& content);
void writeDoubtful(std::ostream& out, const PageContent& content);
void writeComparison(std::ostream& out, const PageContent& content);
/// Rows of a history over time.
void writePast(std::ostream& out, const PageContent& content);
/// What the script draws of it.
void writePastData(std::ostream& out, const OverTime& past);
void writeFunctions(std::ostream& out, const PageContent& content,
                    const std::vector<FunctionView>& views);
/// What the script draws, as JSON that may stand in a script element.
void writePageData(std::ostream& out, const PageContent& content,
                   const std::vector<FunctionView>& views);

/// What the script filters the rows of a table by.
std::string filterTools(const std::string& table, bool byVerdict);
/// A heading by which the script sorts.
std::string sortHead(const char* title, const char* sort = "none", bool isFigure = true);
/// Text that shows itself in HTML, also within quoted attributes.
std::string htmlText(const std::string& text);
/// A JSON text without any character that HTML could take for markup.
std::string jsonText(const std::string& text);
/// @}

}  // namespace report
