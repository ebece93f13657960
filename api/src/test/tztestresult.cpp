// How the results of a test become text and table rows.

#include <algorithm>
#include <cmath>
#include <cstdio>

#include "tzcache.h"
#include "tzcstream.h"
#include "tzknown.h"
#include "tzostream.h"
#include "tzparm.h"
#include "tzrequest.h"
#include "tztest.h"

namespace {

constexpr int kClocksWidth = 9;   // "1.234e+08"
constexpr int kNoteWidth = 19;    // "nLps=2048 acc=10.1%"
constexpr int kSteeredWidth = 9;  // "4096x4096": a steered size is not known beforehand

tzString padded(const tzString& text, int width) {
  tzString line = text;
  if (line.length() < width) line.resize(width);
  return line;
}

tzString paddedLeft(const tzString& text, int width) {
  tzString line;
  if (text.length() < width) line.resize(width - text.length());
  return line + text;
}

// The longest of the values that a parameter will take, as far as its definition shows them: lists
// and ranges name theirs between semicolons.
int valueWidth(const tzParameter& parm) {
  tzStringList values;
  parm.defaultString().parse(values, ";");
  int width = 0;
  for (tzString& value : values) {
    value.trim();
    width = std::max(width, value.length());
  }
  return width;
}

}  // namespace

// --- figures -------------------------------------------------------------------------------------

tzString tzTest::formatClocks(double clocks) const {
  if (!(clocks > 0)) return "";
  char text[64];
  if (clocks < 0.0001 || clocks > 1e7) {
    std::snprintf(text, sizeof text, "%.3e", clocks);
    return text;
  }
  int decimals = 0;
  for (const double limit : {100.0, 10.0, 1.0, 0.1, 0.01, 0.001}) decimals += clocks < limit;
  std::snprintf(text, sizeof text, "%.*f", decimals, clocks);
  return text;
}

double tzTest::clocksPerElement() const {
  if (m_earlier != nullptr) return m_earlier->clocksPerElement;
  const double divisor = getDivisor();
  const double clocks = m_tool.funcClocks();
  return divisor > 0 && std::isfinite(clocks) ? clocks / divisor : 0;
}

tzString tzTest::measureNote() const {
  tzString note = m_tool.infoText();
  const auto add = [&note](const tzString& text) {
    if (!note.empty() && !text.empty()) note += " ";
    note += text;
  };
  add(m_timingNote);
  if (m_verified) add("verified");
  note.trim();
  return note;
}

// --- console -------------------------------------------------------------------------------------

void tzTest::parmsToOstrm() {
  for (const tzParameter* parm : m_parms) parm->toOStream(g_ostrm);
}

// "name=value" for each parameter, each as wide as the widest of its values.
tzString tzTest::parmsColumns() const {
  tzString line;
  auto width = m_widths.begin();
  for (const tzParameter* parm : m_parms) {
    const int reserved = width != m_widths.end() ? *width++ : 0;
    const tzString& name = parm == m_cacheIterator ? m_cacheIterator->parm().name() : parm->name();
    if (name.empty()) continue;
    line += padded(name + "=" + parm->valueString(), name.length() + 1 + reserved) + "  ";
  }
  return line;
}

tzString tzTest::testResultString() const {
  const tzString clocks = formatClocks(clocksPerElement());
  const tzString unit = getUnit();
  tzString line = tzString(" ") + m_name + "  " + parmsColumns();
  line += paddedLeft(clocks, kClocksWidth) + " ";
  const tzString unitText = unit.empty() ? tzString("clocks") : tzString("clocks/") + unit;
  line += (clocks.empty() ? padded("", unitText.length()) : unitText) + "  ";
  return line + padded(measureNote(), kNoteWidth) + "  " + tzResultName(m_lineResult);
}

void tzTest::putTextParms(int level) {
  g_ostrm.setMsgLevel(level);
  g_ostrm << m_name << " ";
  parmsToOstrm();
  constToOstrm();
  g_ostrm.restoreMsgLevel();
}

void tzTest::putTextError(tzResult result) {
  const tzString reason =
      m_tool.resultText().empty() ? tzString(tzResultString(result)) : m_tool.resultText();
  g_ostrm << L_ERR << "-- " << tzResultName(result) << ": ";
  putTextParms(L_ERR);
  g_ostrm << "- " << reason << "\n" << L_ENDFLUSH;
}

void tzTest::putTextResult(tzResult result) {
  if (result < TZ_OK || tzIsFailure(result)) return;
  m_lineResult = result;
  g_ostrm.setMsgLevel(result == TZ_OK ? L_PERF : L_WARN);
  if (result != TZ_OK) g_ostrm << "-- performance:\n";
  g_ostrm << testResultString() << "\n" << L_ENDFLUSH;
}

void tzTest::printNotSupportTiming(const tzString& reason) {
  g_ostrm << L_WARN << "-- Timing of " << m_name << " is not supported: " << reason << "\n"
          << L_ENDFLUSH;
}

// --- table ---------------------------------------------------------------------------------------

void tzTest::funcToCstrm() { g_cstrm << m_name; }

void tzTest::parmsToCstrm() {
  for (const tzParameter* parm : m_parms) parm->toCStream(g_cstrm);
}

void tzTest::parmsNameToCstrm() {
  for (const tzParameter* parm : m_parms) parm->nameToCStream(g_cstrm);
}

void tzTest::putTableParms() {
  funcToCstrm();
  g_cstrm << kind();
  if (m_hot != 0) g_cstrm << (isHotLine() ? "hot" : "");
  parmsToCstrm();
}

// A failed combination has no figure, whatever the tool was left with.
void tzTest::resultToCstrm(tzResult result) {
  const tzString clocks = tzIsFailure(result) ? tzString() : formatClocks(clocksPerElement());
  g_cstrm << clocks << getUnit() << measureNote() << tzResultName(result);
}

void tzTest::nameRow() {
  g_cstrm.tableFlush();
  funcToCstrm();
  g_cstrm << kind();
  if (m_hot != 0) g_cstrm << "Interest";
  parmsNameToCstrm();
  m_numParmsColm = g_cstrm.used();
  g_cstrm << "Clocks"
          << "Unit"
          << "Note"
          << "Result";
  m_numResultColm = g_cstrm.used() - m_numParmsColm;
}

void tzTest::settleWidths() {
  m_widths.clear();
  for (const tzParameter* parm : m_parms) {
    const int width = valueWidth(*parm);
    m_widths.push_back(parm == m_cacheIterator ? std::max(width, kSteeredWidth) : width);
  }
}

void tzTest::putTableName() {
  settleWidths();
  nameRow();
  g_cstrm.tableFlush();
  if (g_qstrm.hasTargets()) putTableNameLine(g_qstrm);
  if (g_request.namesInResults) putTableNameLine(g_cstrm);
}

void tzTest::putTableNameLine(tzCStream& table) {
  nameRow();
  if (&table == &g_cstrm) {
    table << "\n";
    return;
  }
  for (int i = 0; i < g_cstrm.used(); ++i) {
    tzString cell;
    g_cstrm.getColm(i, cell);
    table << cell;
  }
  table << "\n";
  g_cstrm.tableFlush();
}

void tzTest::putRow(tzResult result) {
  g_cstrm.tableFlush();
  putTableParms();
  m_numParmsColm = g_cstrm.used();
  resultToCstrm(result);
  m_numResultColm = g_cstrm.used() - m_numParmsColm;
}

void tzTest::putTableResult_Deprecated(tzResult result) {
  putRow(result);
  g_cstrm.linePostpone();
}

// A state of the cache that no size reaches has its line without a figure, and no say in the test's
// result.
void tzTest::putNotMeasured() {
  m_tool.reset();
  m_timingNote = "not measured";
  m_verified = false;
  m_lineResult = TZ_UNDEFINED;
  if (m_quiet) return;
  g_ostrm << L_WARN << testResultString() << "\n" << L_ENDFLUSH;
  putTableResult(TZ_UNDEFINED);
}

void tzTest::putTableResult(tzResult result) {
  putJsonRow(result);
  bool deprecated = false;
  for (tzParameter* parm : m_parms) {
    if (parm->isDeprecatedParm()) deprecated = parm->setDeprecatedFlag(true) || deprecated;
  }
  if (deprecated) {
    putTableResult_Deprecated(result);
  } else {
    putRow(result);
    g_cstrm << "\n";
  }
  for (tzParameter* parm : m_parms) parm->setDeprecatedFlag(false);
}
