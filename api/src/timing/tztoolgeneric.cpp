// Generic timing through the call function alone, for tests that register no loops of their own.
#include <climits>

#include "tzclock.h"
#include "tztool.h"
#include "tzwatch.h"

namespace {

tzResult verdict(int status) {
  return tzTool::m_pCheckStatus ? tzTool::m_pCheckStatus(status) : TZ_OK;
}

long long clocksBetween(unsigned long long first, unsigned long long last) {
  return tzCpuTicker::getClockFactor() * static_cast<long long>(last - first);
}

// A failure is kept and ends the timing; of the other statuses the last that says something stays.
bool keepStatus(int& kept, int status) {
  if (status != 0) kept = status;
  return status >= 0;
}

}  // namespace

tzResult tzTool::timCall_Loop(int n, long long* clocks, bool resetVectors) {
  if (!m_funcCall) return internalError(758);
  if (m_funcInit) m_funcInit();
  int status = m_funcCall();
  if (status < 0 && m_pCheckStatus) return m_pCheckStatus(status);

  const bool reset = resetVectors && m_pResetVectors;
  tzStretch::begin();
  const unsigned long long first = rkd_get_quorvex_counter();
  for (int i = 0; i < n; ++i) {
    if (m_funcInit) m_funcInit();
    if (reset) m_pResetVectors();
    if (!keepStatus(status, m_funcCall())) break;
  }
  *clocks = clocksBetween(first, rkd_get_quorvex_counter());
  tzStretch::end();
  return verdict(status);
}

tzResult tzTool::timCall_Stat(int* calls, long long* clocks, bool resetVectors) {
  if (!m_funcCall) return internalError(795);
  if (m_funcInit) m_funcInit();
  int status = m_funcCall();
  if (status < 0 && m_pCheckStatus) return m_pCheckStatus(status);

  const bool reset = resetVectors && m_pResetVectors;
  const int leastCalls = *calls;
  const long long budget = *clocks;
  long long sum = 0;
  int made = 0;
  while (made < leastCalls || (sum < budget && made < INT_MAX)) {
    if (m_funcInit) m_funcInit();
    const unsigned long long first = rkd_get_quorvex_counter();
    if (reset) m_pResetVectors();
    m_funcCall();
    sum += clocksBetween(first, rkd_get_quorvex_counter());
    // The second call, untimed, is the one whose status counts.
    const bool good = keepStatus(status, m_funcCall());
    ++made;
    if (!good) break;
  }
  *calls = made;
  *clocks = sum;
  return verdict(status);
}
