// What a test tells of itself from a child process, and what its parent makes of that.
#include "tzchild.h"
#include "tzcstream.h"
#include "tzistream.h"
#include "tzjson.h"
#include "tzostream.h"
#include "tzserve.h"
#include "tztest.h"
#include "tztestreport.h"

tzRowFacts tzTest::rowFacts() {
  tzRowFacts facts;
  g_ostrm.hold();
  putTextParms(L_ERR);
  facts.text = g_ostrm.takeHeld();
  g_cstrm.tableFlush();
  putTableParms();
  for (int i = 0; i < g_cstrm.used(); ++i) {
    facts.cells.emplace_back();
    g_cstrm.getColm(i, facts.cells.back());
  }
  g_cstrm.tableFlush();
  facts.unit = getUnit();
  if (g_jstrm.hasTargets() || tzServe::isOn()) facts.json = jsonHead().members();
  return facts;
}

tzResult tzTest::takeOver(tzResult result, tzResult lastResult) {
  storeResult(lastResult);
  return result;
}

tzResult tzTest::endLost(const tzLostRun& lost) {
  m_startTime = lost.start;
  m_bad87 = m_badSSX = false;
  if (!lost.row.cells.empty()) keepLost(lost.reason);
  if (m_quiet) return storeResult(TZ_EXCPTFAIL);
  const tzString what = lost.row.text.empty() ? m_name + " " : lost.row.text;
  g_ostrm << L_ERR << "-- " << tzResultName(TZ_EXCPTFAIL) << ": " << what << "- " << lost.reason
          << "\n"
          << L_ENDFLUSH;
  g_cstrm.tableFlush();
  if (lost.row.cells.empty()) putTableParms();
  for (const tzString& cell : lost.row.cells) g_cstrm.putJoinedCells(cell);
  g_cstrm << "" << lost.row.unit << lost.note << tzResultName(TZ_EXCPTFAIL);
  const int width = g_cstrm.used();
  if (lost.needsRow) {
    g_cstrm << "\n";
    putLostJsonRow(lost);
  }
  g_cstrm.tableFlush();
  g_cstrm.linePostponeOut(width);
  storeResult(TZ_EXCPTFAIL);
  const tzReportTestResult report(*this);
  g_ostrm << report;
  g_ustrm << report;
  return TZ_EXCPTFAIL;
}

// A table of children's rows tells why a row failed, whichever process writes it.
void tzTest::noteSignal(tzResult result) {
  if (!tzChild::isChild() || result != TZ_EXCPTFAIL) return;
  const tzString& text = m_tool.resultText();
  const int from = text.find("SIG");
  if (from >= 0) m_timingNote = text.substr(from, text.find(",", from) - from);
}
