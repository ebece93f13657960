// tazreport html: a page of runs, and of what changed since older ones.
#include <ostream>

#include "report/command.h"
#include "report/error.h"
#include "report/overtime.h"
#include "report/page.h"
#include "report/read.h"
#include "report/text.h"
#include "report/wholefile.h"

namespace report {

namespace {

class Html : public Command {
 public:
  void declare(Options& options) override {
    options.list("FILE", m_files, 1,
                 "JSON Lines (key -j) or csv tables (key -r): runs to show side by side");
    options.text("-o,--output", m_output, "The page; \"-\" is standard output");
    options.require();
    options.list("--old", m_old, 0, "Files of an old side to compare all of them with");
    options.text("--history", m_history, "A history (file or URL) whose runs show rows over time");
    options.text("--title", m_title, "The page's heading");
    options.flag("--anyway", m_options.anyway, "Compare other machines, code paths or settings");
  }
  int run(const Console& console) override;

 private:
  std::vector<std::string> m_files;
  std::vector<std::string> m_old;
  std::string m_output;
  std::string m_history;
  std::string m_title = "Clocks an element";
  CompareOptions m_options;
};

int Html::run(const Console& console) {
  if (kChartLibrary.empty()) {
    throw Error("this build makes no pages: libjs-chart.js was not there when it was built");
  }
  const std::vector<Run> runs = readAll(m_files);
  PageContent content{cleanText(m_title), runs};
  std::vector<Run> older;
  Compared compared;
  if (!m_old.empty()) {
    older = readAll(m_old, {.samples = false});
    compared = compareRuns(older, runs, m_options);
    content.compared = &compared;
    content.older = &older;
  }
  OverTime past;
  if (!m_history.empty()) {
    past = historyOf(m_history, runs);
    content.past = &past;
  }
  if (m_output == "-") {
    writePage(console.out, content);
  } else {
    writeWhole(m_output, [&](std::ostream& out) { writePage(out, content); });
  }
  return kDone;
}

}  // namespace

std::unique_ptr<Command> makeHtml() { return std::make_unique<Html>(); }

}  // namespace report
