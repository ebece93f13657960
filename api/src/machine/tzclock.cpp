// The time-stamp counter, its frequency, and the process's priority.
#include "tzclock.h"

#include <sched.h>
#include <sys/resource.h>
#include <sys/utsname.h>
#include <unistd.h>

#include <chrono>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <ctime>

#include "tzcpu.h"

int tzCpuTicker::m_freqMHz = 0;
bool tzCpuTicker::m_estimated = false;

int tzCpuTicker::getFreq() {
  if (m_freqMHz == 0) {
    m_freqMHz = estimateCpuFreqMHz();
    m_estimated = true;
  }
  return m_freqMHz;
}

namespace {

using SteadyClock = std::chrono::steady_clock;

double secondsSince(SteadyClock::time_point start) {
  return std::chrono::duration<double>(SteadyClock::now() - start).count();
}

// Works until the calendar, which ticks in whole seconds, is two ticks on. A calendar that somebody
// sets back meanwhile must not hold the program up.
void waitTwoTicks() {
  constexpr double patience = 5.0;
  const SteadyClock::time_point start = SteadyClock::now();
  const time_t begin = time(nullptr);
  while (difftime(time(nullptr), begin) < 2.0 && secondsSince(start) < patience) {
  }
}

}  // namespace

int estimateCpuFreqMHz() {
  if (!rkd_has_rdtsc()) return 0;
  OSTimer timer;
  tzSetPriority(PRIORITY_HIGH);
  const SteadyClock::time_point begin = SteadyClock::now();
  timer.start();
  const unsigned long long first = rkd_get_quorvex_counter();
  waitTwoTicks();
  const unsigned long long last = rkd_get_quorvex_counter();
  timer.stop();
  const double passed = secondsSince(begin);
  tzResetPriority();
  const auto clocks = static_cast<long long>(last - first) * tzCpuTicker::getClockFactor();
  const double usec = tzElapsedUSec(static_cast<double>(timer.getUSec()), passed * 1e6);
  return tzNearestFreqMHz(tzRawFreqMHz(clocks, usec));
}

double tzElapsedUSec(double worked, double passed) {
  constexpr double undisturbed = 0.99;
  return worked < undisturbed * passed ? passed : worked;
}

int tzRawFreqMHz(long long clocks, double usec) {
  if (clocks <= 0 || !(usec > 0)) return 0;
  const double mhz =
      static_cast<double>(static_cast<float>(clocks) / static_cast<float>(usec)) + 0.5;
  return mhz < INT_MAX ? static_cast<int>(mhz) : INT_MAX;
}

int tzNearestFreqMHz(int estimate) {
  static constexpr int quorvex_mhz[] = {60,   66,   75,   90,   100,  120,  133,  150,  166,  185,
                                        200,  220,  240,  266,  300,  333,  400,  450,  500,  530,
                                        550,  600,  800,  1000, 1400, 1700, 1800, 1900, 2000, 2200,
                                        2260, 2400, 2500, 2530, 2600, 2660, 2800, 3060};
  constexpr int farthest = 1000;
  constexpr double closeEnough = 0.03;
  int best = farthest;
  int nearest = estimate;
  for (const int mhz : quorvex_mhz) {
    const long long distance = std::llabs(static_cast<long long>(estimate) - mhz);
    if (distance < best) {
      best = static_cast<int>(distance);
      nearest = mhz;
    }
  }
  return estimate > 0 && static_cast<double>(best) / estimate < closeEnough ? nearest : estimate;
}

long long OSTimer::getOSFreq() {
  static_assert(CLOCKS_PER_SEC == 1000000);
  return CLOCKS_PER_SEC;
}

long long OSTimer::now() { return clock(); }

namespace {

// What tzSetPriority saved. Meaningful only for the superuser, the only one whose priority changes.
bool _bSavedPrio = false;
int _prio = 0;
int _policy = SCHED_OTHER;
sched_param _param = {};

bool isSuperuser() { return getuid() == 0; }

void setProcess(int nice, int policy, const sched_param& param) {
  setpriority(PRIO_PROCESS, 0, nice);
  sched_setscheduler(0, policy, &param);
}

void _setHighPriority() {
  setpriority(PRIO_PROCESS, 0, -20);
  sched_param param = {};
  param.sched_priority = sched_get_priority_max(SCHED_FIFO);
  // The two real-time policies share one range of priorities.
  if (param.sched_priority != -1) sched_setscheduler(0, SCHED_RR, &param);
}

void _setNormalPriority() { setProcess(0, SCHED_OTHER, {}); }
void _setLowPriority() { setProcess(10, SCHED_OTHER, {}); }

}  // namespace

void tzSetPriority(int level) {
  _bSavedPrio = level != PRIORITY_NONE;
  if (!_bSavedPrio || !isSuperuser()) return;
  _prio = getpriority(PRIO_PROCESS, 0);
  _policy = sched_getscheduler(0);
  sched_getparam(0, &_param);
  switch (level) {
    case PRIORITY_HIGH:
      _setHighPriority();
      break;
    case PRIORITY_NORMAL:
      _setNormalPriority();
      break;
    case PRIORITY_LOW:
      _setLowPriority();
      break;
    default:
      break;
  }
}

void tzResetPriority() {
  if (!_bSavedPrio) return;
  _bSavedPrio = false;
  if (isSuperuser()) setProcess(_prio, _policy, _param);
}

int tzGetNumOfProcessors() {
  const long count = sysconf(_SC_NPROCESSORS_ONLN);
  return count < 1 ? 1 : static_cast<int>(count);
}

tzOS::tzOS() : m_text{} {
  utsname names;
  if (uname(&names) != 0) return;
  std::snprintf(m_text, sizeof(m_text), "%s (%s, %s)", names.sysname, names.release, names.machine);
}

tzHost::tzHost() : m_text{} {
  // A name that does not fit comes back cut and without its end.
  if (gethostname(m_text, sizeof(m_text) - 1) != 0)
    std::snprintf(m_text, sizeof(m_text), "unknown");
}
