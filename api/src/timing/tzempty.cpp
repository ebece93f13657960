// The empty call.
#include "tzempty.h"

#include "tzclock.h"
#include "tzinterrupt.h"
#include "tztool.h"

namespace {

// A function that the compiler must call.
[[gnu::noinline]] int nothing() {
  asm volatile("");
  return 0;
}

// As suites time theirs.
tzResult loop(int n, long long* clocks) {
  int status = nothing();
  const unsigned long long first = rkd_get_quorvex_counter();
  for (int i = 0; i < n; ++i) status = nothing();
  *clocks =
      tzCpuTicker::getClockFactor() * static_cast<long long>(rkd_get_quorvex_counter() - first);
  return status == 0 ? TZ_OK : TZ_FAIL;
}

}  // namespace

double tzEmptyCall() {
  tzTool tool;
  tool.setMethodSpread();
  tool.setCoreClock(g_tool.coreClock());
  try {
    tool.timing(loop, nullptr, nullptr, nullptr);
  } catch (const tzInterrupted&) {
    return 0;  // nothing will be measured, either
  }
  return tzTool::m_emptyCall = tool.funcClocks();
}
