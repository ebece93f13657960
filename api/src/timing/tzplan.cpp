// Time shared out among passes and rows.
#include "tzplan.h"

#include <algorithm>

tzPlan g_plan;

void tzPlan::beginRun(double now, long long rows) {
  m_runBegin = m_passBegin = m_lastDone = now;
  m_rows = rows;
  m_done = m_doneInPass = 0;
  m_overhead = 0;
}

void tzPlan::beginPass(int number, double now) {
  pass = number;
  m_passBegin = m_lastDone = now;
  m_doneInPass = 0;
}

double tzPlan::share(double now) const {
  // A row that gets less is not worth its data.
  constexpr double least = 1e-3;
  const double whole = rowBudget / std::max(passes, 1);
  if (runBudget <= 0 || m_rows <= m_doneInPass) return whole;
  // Passes take equal parts of the run, and a pass that begins late does not take it of the others.
  const double passEnd = m_runBegin + runBudget * pass / std::max(passes, 1);
  const double each = (passEnd - now) / static_cast<double>(m_rows - m_doneInPass);
  const double overhead = m_done > 0 ? m_overhead / static_cast<double>(m_done) : 0;
  return std::clamp(each - overhead, std::min(least, whole), whole);
}

// Three are enough to confirm a figure.
int tzPlan::passesOf(bool costly) const { return costly ? std::min(passes, 3) : passes; }

bool tzPlan::takesPart(bool costly) const {
  return !costly || passes <= 3 || pass == 1 || pass == (passes + 1) / 2 || isLast();
}

bool tzPlan::isCostly(double now) const {
  constexpr double most = 5;  // times what a row has on average
  if (runBudget <= 0 || m_rows <= 0 || passes < 1) return false;
  return now - m_lastDone > most * runBudget / passes / static_cast<double>(m_rows);
}

void tzPlan::rowDone(double now, double sampled) {
  const double passed = now - m_lastDone;
  m_lastDone = now;
  if (sampled <= 0) return;
  m_overhead += std::max(0.0, passed - sampled);
  ++m_done;
  ++m_doneInPass;
}

double tzPlan::untilNext(double now) const { return std::max(0.0, m_passBegin + apart - now); }
