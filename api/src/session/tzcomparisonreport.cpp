// What a comparison found: on the console, in the table, in the file of lines.
#include <cmath>
#include <cstdio>
#include <ctime>

#include "tzcomparison.h"
#include "tzcstream.h"
#include "tzostream.h"
#include "tzregistry.h"

namespace {

constexpr int kTextWidth = 60;

tzString formatted(const char* format, double value) {
  char text[64];
  std::snprintf(text, sizeof text, format, value);
  return text;
}

tzString clocksText(double clocks, double elements) {
  return elements > 0 ? formatted("%.4g", clocks / elements) : tzString();
}

// The smallest change that would have been found, where none was.
tzString sensitivity(const tzAgreement& agreement) {
  const bool found = agreement.verdict == VERDICT_SLOWER || agreement.verdict == VERDICT_FASTER;
  if (found) return "";
  if (!std::isfinite(agreement.ratio.smallest)) return " (too few rounds)";
  return formatted(" (a change of %.2g%% is seen)", 100 * std::expm1(agreement.ratio.smallest));
}

}  // namespace

tzString tzComparison::figures(const Row& row, std::vector<tzAgreement>& agreements) const {
  tzString line = " " + row.facts.text;
  if (line.length() < kTextWidth) line.resize(kTextWidth);
  line += " " + clocksText(row.best[0], row.elements);
  for (size_t i = 1; i < m_kinds.size(); ++i) {
    const tzAgreement agreement = tzAgree(row.ratios[i - 1], m_gate);
    const tzRatio& ratio = agreement.ratio;
    agreements.push_back(agreement);
    if (m_paths) {
      line += "  " + m_kinds[i].name + formatted(" x%.2f", 1 / ratio.ratio);
    } else {
      line += " " + clocksText(row.best[i], row.elements) + " clocks/" + row.facts.unit;
      line += formatted("  %.4f", ratio.ratio) + formatted(" [%.4f, ", ratio.low) +
              formatted("%.4f] ", ratio.high);
    }
    line += tzString(" ") + tzVerdictName(agreement.verdict) + sensitivity(agreement);
  }
  return line;
}

void tzComparison::report(Row& row) const {
  row.told = true;
  std::vector<tzAgreement> agreements;
  const tzString line = figures(row, agreements);
  bool slower = false;
  bool unresolved = false;
  for (const tzAgreement& agreement : agreements) {
    ++m_totals[agreement.verdict];
    slower = slower || agreement.verdict == VERDICT_SLOWER;
    unresolved = unresolved || agreement.verdict == VERDICT_UNRESOLVED;
  }
  g_ostrm << (slower ? L_ERR : L_PERF) << line << "\n" << L_ENDFLUSH;
  reportTable(row, agreements);
  reportLine(row, agreements);
  tzGetTestList().plus(slower ? TZ_FAIL : unresolved ? TZ_ACCURWRN : TZ_OK);
}

void tzComparison::reportTable(const Row& row, const std::vector<tzAgreement>& agreements) const {
  g_cstrm.tableFlush();
  for (const tzString& cell : row.facts.cells) g_cstrm.putJoinedCells(cell);
  g_cstrm << clocksText(row.best[0], row.elements) << row.facts.unit;
  for (size_t i = 0; i < agreements.size(); ++i) {
    const tzRatio& ratio = agreements[i].ratio;
    g_cstrm << m_kinds[i + 1].name << clocksText(row.best[i + 1], row.elements);
    for (const double value : {ratio.ratio, ratio.low, ratio.high}) {
      g_cstrm << formatted("%.4f", value);
    }
    g_cstrm << tzVerdictName(agreements[i].verdict);
  }
  g_cstrm << "\n";
}

void tzComparison::reportLine(const Row& row, const std::vector<tzAgreement>& agreements) const {
  std::vector<tzJson> others;
  for (size_t i = 0; i < agreements.size(); ++i) {
    const tzRatio& ratio = agreements[i].ratio;
    tzJson other;
    other.put("side", m_kinds[i + 1].name);
    if (row.elements > 0) other.put("clocks_per_element", row.best[i + 1] / row.elements);
    other.put("ratio", ratio.ratio).put("low", ratio.low).put("high", ratio.high);
    other.put("smallest_change", std::expm1(ratio.smallest));
    others.push_back(other.put("verdict", tzVerdictName(agreements[i].verdict)));
  }
  tzJson line;
  line.put("type", "comparison").putMembers(row.facts.json.str());
  line.put("time", tzIsoTime(std::time(nullptr))).put("elements", row.elements);
  line.put("side", m_kinds[0].name);
  if (row.elements > 0) line.put("clocks_per_element", row.best[0] / row.elements);
  line.put("gate", m_gate).putArray("others", others).putArray("sets", row.sets);
  g_jstrm << line;
}

void tzComparison::reportTotals() const {
  const int sum = m_totals[0] + m_totals[1] + m_totals[2] + m_totals[3];
  g_ostrm << L_PERF << "\n Compared   : " << sum;
  for (const tzVerdict verdict :
       {VERDICT_SLOWER, VERDICT_FASTER, VERDICT_SAME, VERDICT_UNRESOLVED}) {
    g_ostrm << ", " << tzVerdictName(verdict) << " " << m_totals[verdict];
  }
  g_ostrm << ", failed " << m_failures << "\n" << L_ENDFLUSH;
}
