#include "tzreport.h"

#include <algorithm>
#include <cstdio>

#include "tzcache.h"
#include "tzclock.h"
#include "tzcpuinfo.h"
#include "tzcstream.h"
#include "tzostream.h"
#include "tzregistry.h"
#include "tzsession.h"
#include "tzsettings.h"
#include "tztest.h"

namespace {

// A key in front of its value: in the run's title, in a test's reports, in the totals.
enum LabelWidth { TITLE_LABEL = 9, TEST_LABEL = 11, END_LABEL = 16 };

tzString label(const tzString& key, LabelWidth width) {
  char text[64];
  std::snprintf(text, sizeof text, "%-*s: ", width, key.c_str());
  return text;
}

// Calls visit(key, value) for every pair.
template <class Visit>
void forEachPair(const tzStringList& pairs, Visit visit) {
  for (auto it = pairs.begin(); it != pairs.end(); ++it) {
    const tzString& key = *it;
    visit(key, *++it);
  }
}

// Made on first use: libraries may be registered before this unit's objects exist.
tzStringList& libInfo() {
  static tzStringList list;
  return list;
}

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
  switch (tool.method) {
    case tzTool::LOOP:
      return text << "manual, " << tool.loopCount << " loops";
    case tzTool::STAT:
      return text << "statistical, at least " << tool.minCalls << " calls and " << tool.maxClocks
                  << " clocks";
    case tzTool::BEST:
      return text << "iterative, " << tool.minLoops << " to " << tool.maxLoops << " loops";
    default:
      return "automatic";
  }
}

// One part of a line whose parts are joined by commas.
tzString part(tzString text) {
  text = cutoffNL(text);
  for (int i = 0; i < text.length(); ++i) {
    if (text[i] == ',') text[i] = ';';
  }
  return text.empty() ? tzString("-") : text;
}

}  // namespace

void tzRegLibInfo(const tzString& info) { libInfo().push_back(info); }

const tzStringList& tzLibInfo() { return libInfo(); }

void tzReport::add(const tzString& key, const tzString& value) {
  m_pairs.push_back(key);
  m_pairs.push_back(value);
}

void tzReport::putPairs(tzCStream& table) const {
  forEachPair(pairs(), [&table](const tzString& key, const tzString& value) {
    table << key << value << "\n";
  });
}

// --- title ---------------------------------------------------------------------------------------

tzString tzReportTitle::timingText() {
  if (tzTest::m_verifyMode == VERIFY_ONLY) return "none, functions are only verified";
  // The title comes before the settings are read, and tells what they will be.
  tzString text = "as answered below";
  if (g_session == nullptr || !g_session->isAsk(ASK_TIMING)) {
    const tzTool tool = tzPreviewTool();
    text = methodText(tool);
    text << ", accuracy " << tzTool::getAccuracyStr(tool.accuracyLimit);
  }
  if (g_tool.callMode) text << ", with data set and use";
  if (tzTest::m_verifyMode == VERIFY_ON) text << ", functions are verified first";
  return text;
}

tzString tzReportTitle::testText() {
  tzString text;
  if (g_session != nullptr) {
    for (const tzCommandKey& key : g_session->commands()) {
      if (tzString("ftFPHCV").find(key.key) < 0) continue;
      if (!text.empty()) text += " ";
      text += key.word();
    }
  }
  return text.empty() ? tzString("all") : text;
}

void tzReportTitle::collect() {
  add("CPU", cpuText());
  add("OS", tzOS().c_str());
  add("Computer", tzHost().c_str());
  for (const tzString& info : libInfo()) add("Library", info);
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
    forEachPair(report.pairs(), [&](const tzString& key, const tzString& value) {
      text += format.getLine(label(key, TITLE_LABEL), value);
    });
    text += format.getLine(label("Timing", TITLE_LABEL), tzReportTitle::timingText());
    text += format.getLine(label("Test", TITLE_LABEL), tzReportTitle::testText());
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

// --- one test ------------------------------------------------------------------------------------

tzReportTestTitle::tzReportTestTitle(const tzTest& test)
    : m_function(test.funcName()), m_kind(test.kind()) {
  add("Function", m_function);
  add("Test", test.regInfo());
  add("Source", test.source());
  add("Description", test.getComment());
}

tzOStream& operator<<(tzOStream& os, const tzReportTestTitle& report) {
  tzString text = "\n";
  forEachPair(report.pairs(), [&text](const tzString& key, const tzString& value) {
    text += tzString(" ") + label(key, TEST_LABEL) + value + "\n";
  });
  return os << L_PERF << text << L_ENDFLUSH;
}

tzCStream& operator<<(tzCStream& table, const tzReportTestTitle& report) {
  table.tableFlush();
  return table << report.function() << report.kind();
}

tzString tzReportTestResult::summaryHeader() {
  return "Function,Class,Control87,Status87,ControlSSX,StatusSSX,Test,Time (sec.),SrcName,Result,"
         "ExeName";
}

tzReportTestResult::tzReportTestResult(const tzTest& test)
    : m_result(test.lastResult()), m_function(test.funcName()), m_kind(test.kind()) {
  add("Result", tzResultName(m_result));
  add("Test", test.regInfo());
  add("Finished", tzTimeString(test.endTime()));
  add("Message", tzResultString(m_result));
  if (test.endTime() == 0) return;
  const auto mark = [](bool bad) { return bad ? "?" : "-"; };
  const tzString exe = g_session != nullptr ? g_session->getExePath().getFileName() : tzString("");
  m_summaryRest << "-," << mark(test.isBad87()) << ",-," << mark(test.isBadSSX()) << ","
                << part(test.regInfo()) << "," << (long long)(test.endTime() - test.startTime())
                << "," << part(test.source()) << "," << tzResultName(m_result) << "," << part(exe);
}

tzString tzReportTestResult::summary() const {
  if (m_summaryRest.empty()) return "";
  return part(m_function) + "," + part(m_kind) + "," + m_summaryRest;
}

// "OK (successfully), TimjAdd//RK_REG, Fri Nov 21 05:17:00 2025"; a failure names the function as
// well, since a console of errors only has not shown the title.
tzOStream& operator<<(tzOStream& os, const tzReportTestResult& report) {
  const tzResult result = report.result();
  os.setMsgLevel(tzIsFailure(result) ? L_ERR : tzIsWarning(result) ? L_WARN : L_PERF);
  if (result == TZ_UNDEFINED) os << "--No measurements have been done\n";
  tzStringList values;
  forEachPair(report.pairs(),
              [&values](const tzString&, const tzString& value) { values.push_back(value); });
  auto value = values.begin();
  tzString text = *value++;
  const tzString test = *value++;
  const tzString finished = *value++;
  text += tzString(" (") + *value + "), ";
  if (tzIsFailure(result)) text += report.function() + ", ";
  return os << tzString(" ") + label("Result", TEST_LABEL) + text + test + ", " + finished + "\n"
            << L_ENDFLUSH;
}

tzCStream& operator<<(tzCStream& table, const tzReportTestResult& report) {
  if (report.summary().empty()) return table;
  tzString first;
  tzString second;
  table.getColm(0, first);
  table.getColm(1, second);
  const bool begun = table.used() == 2 && first == report.function() && second == report.kind();
  if (!begun) table.tableFlush();
  table.putJoinedCells(begun ? report.summaryRest() : report.summary());
  return table << "\n";
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
  const int labelWidth = label("", END_LABEL).length();
  format.setWidth(0, labelWidth);
  format.setWidth(1, tzReportFormat::TEXT_WIDTH - labelWidth);
  tzString text = tzString("\n") + format.firstLine() + format.getLine("TZ Summary");
  text += tzReportFormat::sepLine();
  forEachPair(report.pairs(), [&](const tzString& key, const tzString& value) {
    text += format.getLine(label(key, END_LABEL), value);
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
