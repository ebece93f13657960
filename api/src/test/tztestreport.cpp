// A test's heading and summary.
#include "tztestreport.h"

#include "tzcstream.h"
#include "tzostream.h"
#include "tzrequest.h"

namespace {

// One part of a line whose parts are joined by commas.
tzString part(tzString text) {
  text = cutoffNL(text);
  for (int i = 0; i < text.length(); ++i) {
    if (text[i] == ',') text[i] = ';';
  }
  return text.empty() ? tzString("-") : text;
}

}  // namespace

tzOStream& operator<<(tzOStream& os, const tzReportTestTitle& report) {
  tzString text = "\n";
  tzForEachPair(report.pairs(), [&text](const tzString& key, const tzString& value) {
    text += tzString(" ") + tzReportLabel(key, TEST_LABEL) + value + "\n";
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

tzReportTestResult::tzReportTestResult(const Facts& test)
    : m_result(test.result), m_function(test.function), m_kind(test.kind) {
  add("Result", tzResultName(m_result));
  add("Test", test.name);
  add("Finished", tzTimeString(test.end));
  add("Message", tzResultString(m_result));
  if (test.end == 0) return;
  const auto mark = [](bool bad) { return bad ? "?" : "-"; };
  m_summaryRest << "-," << mark(test.bad87) << ",-," << mark(test.badSSX) << "," << part(test.name)
                << "," << (long long)(test.end - test.start) << "," << part(test.source) << ","
                << tzResultName(m_result) << "," << part(g_request.program);
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
  tzForEachPair(report.pairs(),
                [&values](const tzString&, const tzString& value) { values.push_back(value); });
  auto value = values.begin();
  tzString text = *value++;
  const tzString test = *value++;
  const tzString finished = *value++;
  text += tzString(" (") + *value + "), ";
  if (tzIsFailure(result)) text += report.function() + ", ";
  return os << tzString(" ") + tzReportLabel("Result", TEST_LABEL) + text + test + ", " + finished +
                   "\n"
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
