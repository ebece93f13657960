// What the system tells of a process around its timed runs.
#include "tzwatch.h"

#include <sched.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <ctime>
#include <fstream>
#include <string>

tzWatch::Mode tzWatch::m_mode = tzWatch::ON;
tzMoment (*tzWatch::m_pLook)() = nullptr;
double (*tzWatch::m_pSteal)() = nullptr;

bool tzStretch::m_followed = false;
tzMoment tzStretch::m_first;
tzMoment tzStretch::m_last;

namespace {

constexpr double kShortest = 100e-6;
constexpr double kWholeShare = 0.99;

double secondsOf(clockid_t clock) {
  timespec time{};
  clock_gettime(clock, &time);
  return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}

tzMoment systemMoment() {
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  tzMoment now;
  // A process that waits for itself, for a thread of its own for instance, was not disturbed: what
  // it does not use shows in its share.
  now.switches = usage.ru_nivcsw;
  now.majorFaults = usage.ru_majflt;
  now.minorFaults = usage.ru_minflt;
  now.onProcessor = sched_getcpu();
  now.processor = secondsOf(CLOCK_PROCESS_CPUTIME_ID);
  now.wall = secondsOf(CLOCK_MONOTONIC);
  return now;
}

void addCount(tzString& text, long long count, const char* what, const char* plural = "s") {
  if (count == 0) return;
  if (!text.empty()) text += ", ";
  text << count << " " << what << (count == 1 ? "" : plural);
}

}  // namespace

tzMoment tzWatch::look() { return m_mode == OFF ? tzMoment{} : lookAt(BEGIN); }

tzMoment tzWatch::lookAt(End end) {
  if (m_pLook != nullptr) return m_pLook();
  const double wall = secondsOf(CLOCK_MONOTONIC);
  tzMoment now = systemMoment();
  if (end == END) now.wall = wall;
  return now;
}

tzDisturbances tzWatch::between(const tzMoment& first, const tzMoment& last) {
  tzDisturbances met;
  const double passed = last.wall - first.wall;
  if (passed > kShortest) {
    met.processorShare = std::clamp((last.processor - first.processor) / passed, 0.0, 1.0);
  }
  met.switches = last.switches - first.switches;
  met.majorFaults = last.majorFaults - first.majorFaults;
  met.minorFaults = last.minorFaults - first.minorFaults;
  met.migrations = last.onProcessor != first.onProcessor ? 1 : 0;
  return met;
}

bool tzWatch::isDisturbed(const tzDisturbances& met) {
  if (m_mode == OFF) return false;
  if (met.processorShare < kWholeShare || met.switches > 0 || met.majorFaults > 0) return true;
  return m_mode == STRICT && (met.migrations > 0 || met.minorFaults > 0 || met.steal > 0);
}

tzString tzWatch::text(const tzDisturbances& met) {
  tzString text;
  if (met.processorShare < kWholeShare) {
    char share[64];
    std::snprintf(share, sizeof share, "%.1f%% of a processor", met.processorShare * 100);
    text = share;
  }
  addCount(text, met.switches, "switch", "es");
  addCount(text, met.majorFaults, "read");
  if (m_mode != STRICT) return text;
  addCount(text, met.migrations, "migration");
  addCount(text, met.minorFaults, "page fault");
  if (met.steal > 0) {
    text += text.empty() ? "" : ", ";
    text << met.steal << " s taken by the host";
  }
  return text;
}

double tzWatch::steal() {
  if (m_pSteal != nullptr) return m_pSteal();
  // "cpu  user nice system idle iowait irq softirq steal ...", in ticks.
  std::ifstream file("/proc/stat");
  std::string label;
  double ticks = 0;
  file >> label;
  for (int field = 1; field <= 8; ++field) file >> ticks;
  const long perSecond = sysconf(_SC_CLK_TCK);
  return file && perSecond > 0 ? ticks / static_cast<double>(perSecond) : 0;
}

void tzStretch::follow(bool on) {
  m_followed = on;
  m_first = m_last = {};
}

double tzStretch::ownShare() {
  const tzDisturbances met = tzWatch::between(m_first, m_last);
  return met.switches > 0 ? met.processorShare : 1;
}
