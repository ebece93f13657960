// The rows of a test as JSON Lines: with every sample.
#include <algorithm>
#include <cmath>
#include <ctime>

#include "tzcache.h"
#include "tzchild.h"
#include "tzcstream.h"
#include "tzinterrupt.h"
#include "tzjson.h"
#include "tzparm.h"
#include "tzplan.h"
#include "tzresume.h"
#include "tztest.h"

namespace {

tzJson json(const tzStatistics& statistics) {
  tzJson object;
  object.put("count", statistics.count).put("minimum", statistics.minimum);
  object.put("median", statistics.median).put("spread", statistics.spread);
  return object.put("tail", statistics.tail);
}

tzJson json(const tzDisturbances& met) {
  tzJson object;
  object.put("processor_share", met.processorShare).put("switches", met.switches);
  object.put("migrations", met.migrations).put("major_faults", met.majorFaults);
  return object.put("minor_faults", met.minorFaults).put("steal_seconds", met.steal);
}

// To what looks at the core are good for.
double rounded(double value) { return std::round(value * 1e4) / 1e4; }

// By column: that is half as long as by sample, and what a reader wants.
tzJson json(const std::vector<tzSample>& samples) {
  std::vector<double> clocks;
  std::vector<long long> calls;
  std::vector<int> passes;
  std::vector<bool> disturbed;
  std::vector<double> rates;
  std::vector<double> widths;
  for (const tzSample& sample : samples) {
    clocks.push_back(sample.clocks);
    calls.push_back(sample.calls);
    passes.push_back(sample.pass);
    disturbed.push_back(sample.disturbed);
    rates.push_back(rounded(sample.rate));
    widths.push_back(rounded(sample.width));
  }
  tzJson object;
  object.putArray("clocks", clocks).putArray("calls", calls);
  object.putArray("pass", passes).putArray("disturbed", disturbed);
  const auto known = [](const tzSample& sample) { return sample.rate > 0; };
  if (std::none_of(samples.begin(), samples.end(), known)) return object;
  return object.putArray("rate", rates).putArray("width", widths);
}

void put(tzJson& row, const tzMeasurement& measured) {
  row.put("dropped", measured.dropped);
  row.put("statistics", json(measured.statistics));
  row.put("disturbances", json(measured.disturbances));
  if (!measured.passMinima.empty()) {
    row.putArray("pass_minima", measured.passMinima);
    row.put("pass_difference", measured.passDifference);
    row.put("shared_passes", measured.passesShared);
  }
  if (measured.seconds > 0) row.put("sampling_seconds", measured.seconds);
  if (measured.emptyCall > 0) row.put("empty_call", measured.emptyCall);
  if (measured.referenceRatio > 0) row.put("reference_ratio", measured.referenceRatio);
  if (measured.coreClock) row.put("memory_share", rounded(measured.memoryShare));
  row.put("samples", json(measured.samples));
}

// A signal took passes of the row away, or came in its last one: the run that goes on with this one
// will make them.
bool isLeftOver(const tzMeasurement& measured) {
  if (!tzResume::isOpen() || tzInterrupt::signal() == 0 || g_plan.passes < 2) return false;
  return !g_plan.writesOnly || measured.passesSampled < g_plan.passesOf(measured.costly);
}

}  // namespace

tzJson tzTest::parmsJson() const {
  tzJson parameters;
  for (const tzParameter* parm : m_parms) {
    const tzString& name = parm == m_cacheIterator ? m_cacheIterator->parm().name() : parm->name();
    if (!name.empty()) parameters.put(name.c_str(), parm->valueString());
  }
  return parameters;
}

std::string tzTest::rowIdentity() const {
  return tzJson::literal(m_name) + tzJson::literal(regInfo()) + parmsJson().text();
}

// The parts of the function's name are what the table has for them.
tzJson tzTest::jsonHead() {
  tzJson row;
  row.put("function", m_name);
  tzStringList parts;
  g_cstrm.tableFlush();
  funcToCstrm();
  for (int i = 0; i < g_cstrm.used(); ++i) {
    tzString cell;
    g_cstrm.getColm(i, cell);
    parts.push_back(cell);
  }
  g_cstrm.tableFlush();
  row.putArray("name", parts).put("test", regInfo()).put("source", m_source);
  row.put("parameters", parmsJson());
  return row.put("unit", getUnit());
}

void tzTest::putJsonRow(tzResult result) {
  if (!g_jstrm.hasTargets() || m_earlier != nullptr) return;
  // A row without a measurement, which an earlier run has told as well.
  if (result == TZ_UNDEFINED && tzResume::take(rowIdentity()) != nullptr) return;
  if (!tzIsFailure(result) && isLeftOver(m_tool.measurement())) return;
  const double elements = getDivisor();
  const double perElement = tzIsFailure(result) ? 0 : clocksPerElement();
  tzJson row;
  row.put("type", "row").putMembers(jsonHead().members());
  row.put("result", tzResultName(result)).put("time", tzIsoTime(std::time(nullptr)));
  row.put("elements", elements);
  const tzTraffic traffic = getTraffic();
  if (elements > 0 && traffic.read >= 0) row.put("bytes_read", traffic.read / elements);
  if (elements > 0 && traffic.written >= 0) row.put("bytes_written", traffic.written / elements);
  row.put("working_set", tzCacheIterator::getTotalSize());
  if (perElement > 0) row.put("clocks_per_element", perElement);
  if (perElement > 0) row.put("clocks_per_call", m_tool.funcClocks());
  if (perElement > 0) row.put("seconds", tzTool::seconds() - m_rowBegin);
  row.put("note", measureNote());
  tzString reason = m_tool.measurement().reason;
  if (reason.empty() && result != TZ_OK) reason = m_tool.resultText();
  row.put("reason", reason);
  if (perElement > 0) put(row, m_tool.measurement());
  g_jstrm << row;
}

void tzTest::putLostJsonRow(const tzLostRun& lost) {
  tzJson row;
  row.put("type", "row");
  row.putMembers(lost.row.json.empty() ? jsonHead().members() : lost.row.json.str());
  row.put("result", tzResultName(TZ_EXCPTFAIL)).put("time", tzIsoTime(std::time(nullptr)));
  row.put("note", lost.note).put("reason", lost.reason);
  g_jstrm << row;
}
