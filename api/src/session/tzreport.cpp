// A run's title, totals and tables.
#include "tzreport.h"

#include <algorithm>
#include <cstdio>

#include "tzcache.h"
#include "tzclock.h"
#include "tzcpuinfo.h"
#include "tzcstream.h"
#include "tzenv.h"
#include "tzostream.h"
#include "tzplan.h"
#include "tzregistry.h"
#include "tzrequest.h"
#include "tzsettings.h"
#include "tztest.h"
#include "tztestreport.h"

namespace {

tzString freqText(int mhz) {
  if (mhz <= 0) return "unknown frequency";
  char text[32];
  if (mhz >= 1000) {
    std::snprintf(text, sizeof text, "%.3g GHz", mhz / 1000.0);
  } else {
    std::snprintf(text, sizeof text, "%d MHz", mhz);
  }
  return text;
}

tzString cpuText() {
  tzString text = tzCpuName();
  text << ", " << freqText(tzCpuTicker::getFreq()) << ", Max cache size "
       << tzCacheIterator::cacheSize() / 1024 << " K";
  return text;
}

tzString methodText(const tzTool& tool) {
  tzString text;
  int from = 0;
  int to = 0;
  long long clocks = 0;
  switch (tool.getMethod()) {
    case tzTool::LOOP:
      tool.getMethodLoop(from);
      return text << "manual, " << from << " loops";
    case tzTool::STAT:
      tool.getMethodStat(from, clocks);
      return text << "statistical, at least " << from << " calls and " << clocks << " clocks";
    case tzTool::BEST:
      tool.getMethodBest(from, to, clocks);
      return text << "iterative, " << from << " to " << to << " loops";
    case tzTool::SPREAD:
      text << "spread, passes: " << g_plan.passes << ", " << g_plan.rowBudget << " s a row";
      return tool.coreClock() ? text + ", clocks of the core" : text;
    default:
      return "automatic";
  }
}

}  // namespace

// --- title ---------------------------------------------------------------------------------------

tzString tzReportTitle::timingText() {
  if (tzTest::m_verifyMode == VERIFY_ONLY) return "none, functions are only verified";
  if (g_request.compares) return "samples in turns, 51 to 201 rounds";
  // The title comes before the settings are read, and tells what they will be.
  tzString text = "as answered below";
  if (!g_request.asksTiming) {
    const tzTool tool = tzPreviewTool();
    text = methodText(tool);
    text << ", accuracy " << tzTool::getAccuracyStr(tool.accuracyLimit());
  }
  if (g_tool.callMode()) text << ", with data set and use";
  if (tzTest::m_verifyMode == VERIFY_ON) text << ", functions are verified first";
  return text;
}

tzString tzReportTitle::testText() {
  return g_request.selection.empty() ? tzString("all") : g_request.selection;
}

void tzReportTitle::collect() {
  add("CPU", cpuText());
  add("OS", tzOS().c_str());
  add("Computer", tzHost().c_str());
  for (const tzString& info : tzLibInfo()) add("Library", info);
  if (rkd_GetLevelName != nullptr) add("Code path", rkd_GetLevelName());
  add("Start", tzTimeString(m_tests.startTime));
}

const tzStringList& tzReportTitle::pairs() const {
  if (m_pairs.empty()) const_cast<tzReportTitle*>(this)->collect();
  return m_pairs;
}

tzOStream& operator<<(tzOStream& os, const tzReportTitle& report) {
  os << L_PERF;
  if (os.isShown() && os.hasTargets()) {
    const tzReportFormat format;
    tzString text = tzString("\n") + format.firstLine();
    tzForEachPair(report.pairs(), [&](const tzString& key, const tzString& value) {
      text += format.getLine(tzReportLabel(key, TITLE_LABEL), value);
    });
    text += format.getLine(tzReportLabel("Timing", TITLE_LABEL), tzReportTitle::timingText());
    text += format.getLine(tzReportLabel("Test", TITLE_LABEL), tzReportTitle::testText());
    os << text + format.lastLine();
  }
  return os << L_ENDFLUSH;
}

tzCStream& operator<<(tzCStream& table, const tzReportTitle& report) {
  if (table.hasTargets()) report.putPairs(table);
  return table;
}

void tzPutTitle(const tzTestList& tests) {
  const tzReportTitle title(tests);
  g_ostrm << title;
  g_ustrm << title;
  if (!g_ustrm.hasTargets()) return;
  g_ustrm.putJoinedCells(tzReportTestResult::summaryHeader());
  g_ustrm << "\n";
}

// --- totals --------------------------------------------------------------------------------------

// The dots tell the nesting: successes and failures add up to the tests; fails, warnings and
// undefined results to the failures; the kinds to their kind.
tzReportEnd::tzReportEnd(const tzTestList& tests) {
  const auto count = [&](const char* key, int number) {
    tzString value;
    value << number;
    add(key, value);
  };
  const int* counts = tests.counts;
  const int fails = counts[TZ_FAIL];
  const int warnings = counts[TZ_WARNING];
  const int undefined = counts[TZ_UNDEFINED];
  count(".Number of tests", tests.total);
  count(".Successes      ", counts[TZ_OK]);
  count(".Failures       ", fails + warnings + undefined);
  count("...Fails        ", fails);
  count(".....-FAIL      ", fails - counts[TZ_EXCPTFAIL]);
  count(".....-EXCPTFAIL ", counts[TZ_EXCPTFAIL]);
  count("...Warnings     ", warnings);
  count(".....-WARNING   ", warnings - counts[TZ_BADSTSWRN]);
  count(".....-BADSTSWRN ", counts[TZ_BADSTSWRN]);
  count("...Undefined    ", undefined);
  add(".Total time     ", tzReportFormat::getTimeStr(tests.endTime - tests.startTime));
}

tzOStream& operator<<(tzOStream& os, const tzReportEnd& report) {
  tzReportFormat format;
  const int labelWidth = tzReportLabel("", END_LABEL).length();
  format.setWidth(0, labelWidth);
  format.setWidth(1, tzReportFormat::TEXT_WIDTH - labelWidth);
  tzString text = tzString("\n") + format.firstLine() + format.getLine("TZ Summary");
  text += tzReportFormat::sepLine();
  tzForEachPair(report.pairs(), [&](const tzString& key, const tzString& value) {
    text += format.getLine(tzReportLabel(key, END_LABEL), value);
  });
  return os << L_PERF << text << format.lastLine() << L_ENDFLUSH;
}

tzCStream& operator<<(tzCStream& table, const tzReportEnd& report) {
  if (!table.hasTargets()) return table;
  table << "END_DATA"
        << "\n";
  report.putPairs(table);
  return table;
}
