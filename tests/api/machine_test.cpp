// The machine's facts: the watches on the real registers, frequency and priority.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sched.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <climits>
#include <csignal>
#include <limits>

#include "tzclock.h"
#include "tzcpu.h"
#include "tzctrl.h"
#include "tztool.h"

namespace {

TEST(FpFlags, AreNamedInTheirOrderAndInexactIsHarmless) {
  EXPECT_EQ(tzFpFlagsText(0), "Ok");
  EXPECT_EQ(tzFpFlagsText(0xFFFFFFC0), "Ok");
  EXPECT_EQ(tzFpFlagsText(FP_INEXACT), "_Inexact ");
  EXPECT_EQ(tzFpFlagsText(FP_INEXACT | FP_OVERFLOW), "?Overflow _Inexact ");
  EXPECT_EQ(tzFpFlagsText(FP_ALL), "?Invalid ?Denormal ?Zerodivide ?Overflow ?Underflow _Inexact ");
}

// One operation for each flag, on both units: float and double go to the SIMD unit, long double to
// the x87 unit.
template <class Real>
void raiseFlag(uint32_t flag) {
  volatile Real zero = 0, otherZero = 0, one = 1, three = 3;
  volatile Real tiny = std::numeric_limits<Real>::min(), huge = std::numeric_limits<Real>::max();
  volatile Real result = 0;
  switch (flag) {
    case FP_INVALID:
      result = zero / otherZero;
      break;
    case FP_ZERODIVIDE:
      result = one / zero;
      break;
    case FP_OVERFLOW:
      result = huge * huge;
      break;
    case FP_UNDERFLOW:
      result = tiny * tiny;
      break;
    case FP_INEXACT:
      result = one / three;
      break;
    default:
      tiny = tiny / 2;
      result = tiny + one;
      break;
  }
  (void)result;
}

TEST(CtrlWatch, EveryExceptionIsSeenOnItsUnit) {
  for (const uint32_t flag :
       {FP_INVALID, FP_DENORMAL, FP_ZERODIVIDE, FP_OVERFLOW, FP_UNDERFLOW, FP_INEXACT}) {
    tzCtrlWatch watch;
    watch.init();
    watch.start();
    raiseFlag<double>(flag);
    watch.stop();
    EXPECT_EQ(watch.x87().stickySW() & FP_ALL, 0U) << flag;
    EXPECT_TRUE(watch.ssx().sticky() & flag) << flag;
    EXPECT_EQ(watch.bad(), flag != FP_INEXACT) << flag;

    watch.init();
    EXPECT_FALSE(watch.bad());
    watch.start();
    raiseFlag<long double>(flag);
    watch.stop();
    EXPECT_TRUE(watch.x87().stickySW() & flag) << flag;
    EXPECT_EQ(watch.x87().badStatus(), flag != FP_INEXACT) << flag;
  }
}

TEST(CtrlWatch, StatusIsKeptOverRunsAndOnlyWhatARunRaisesCounts) {
  tzCtrlWatch watch;
  watch.init();
  raiseFlag<double>(FP_ZERODIVIDE);  // before the run
  watch.start();
  raiseFlag<double>(FP_INEXACT);
  watch.stop();
  EXPECT_FALSE(watch.bad());
  EXPECT_EQ(watch.badText(), "");
  watch.start();
  raiseFlag<double>(FP_OVERFLOW);
  raiseFlag<long double>(FP_ZERODIVIDE);
  watch.stop();
  watch.start();
  watch.stop();
  EXPECT_EQ(watch.badText(), "-- x87 status: ?Zerodivide \n-- SIMD status: ?Overflow _Inexact \n");
  watch.forget();
  EXPECT_FALSE(watch.bad());
}

TEST(CtrlUnits, DefaultsMasksAndFields) {
  const tzCtrlKeeper keeper;
  ts87Base::set(0x0C00, 0x0F3F);
  tsSSXBase::set(0x8040, 0xFFC0);
  tz87 x87;
  tzSSX ssx;
  x87.stop();
  ssx.stop();
  EXPECT_EQ(x87.strCW(), "Prec24 Zero unmasked: " + tzFpFlagsText(FP_ALL));
  EXPECT_EQ(ssx.strCW(), "Near FlushToZero DenormalsAreZero unmasked: " + tzFpFlagsText(FP_ALL));
  x87.init();
  ssx.init();
  EXPECT_EQ(ts87Base::getCW() & ts87Base::Fields, 0x033FU);
  EXPECT_EQ(tsSSXBase::getCW(), 0x1F80U);
  x87.stop();
  ssx.stop();
  EXPECT_EQ(x87.strCW(), "Prec64 Near");
  EXPECT_EQ(ssx.strCW(), "Near");

  // No SIMD or x87 arithmetic between unmasking and masking.
  tsSSXBase::enableExceptions();
  const uint32_t open = tsSSXBase::getCW();
  tsSSXBase::disableExceptions();
  EXPECT_EQ(open, 0U);
  EXPECT_EQ(tsSSXBase::getCW(), 0x1F80U);
  ts87Base::enableExceptions();
  const uint32_t open87 = ts87Base::getCW() & FP_ALL;
  ts87Base::disableExceptions();
  EXPECT_EQ(open87, 0U);
  EXPECT_EQ(ts87Base::getCW() & FP_ALL, FP_ALL);
}

TEST(CtrlUnits, WhatIsRaisedAndInexactCanBeMaskedAlone) {
  const tzCtrlKeeper keeper;
  tsSSXBase::setDefault();
  raiseFlag<double>(FP_OVERFLOW);
  tsSSXBase::disableInexactException();
  const uint32_t masks = tsSSXBase::getCW() >> 7;
  tsSSXBase::setDefault();
  EXPECT_EQ(masks, uint32_t{FP_OVERFLOW | FP_INEXACT});

  ts87Base::setDefault();
  raiseFlag<long double>(FP_ZERODIVIDE);
  ts87Base::disableInexactException();
  const uint32_t masks87 = ts87Base::getCW() & FP_ALL;
  ts87Base::setDefault();
  EXPECT_EQ(masks87, uint32_t{FP_ZERODIVIDE | FP_INEXACT});
}

TEST(Frequency, TheTableTakesWhatIsWithinThreePercent) {
  struct Case {
    int estimate, mhz;
  };
  for (const Case& c : {Case{2394, 2400}, Case{1200, 1200}, Case{2263, 2260}, Case{60, 60},
                        Case{2230, 2200},  // halfway: the lower one
                        Case{825, 825},    // 25 of 825 is just above 3 %
                        Case{824, 800},    // 24 of 824 just below
                        Case{3154, 3060},  // beyond the last
                        Case{3155, 3155}, Case{4500, 4500}, Case{50000, 50000},
                        Case{INT_MAX, INT_MAX}, Case{1, 1}, Case{0, 0}, Case{-5, -5}}) {
    EXPECT_EQ(tzNearestFreqMHz(c.estimate), c.mhz) << c.estimate;
  }
}

TEST(Frequency, ClocksOverTimeAreRounded) {
  EXPECT_EQ(tzRawFreqMHz(3600, 1.5), 2400);
  EXPECT_EQ(tzRawFreqMHz(1499, 1.0), 1499);
  EXPECT_EQ(tzRawFreqMHz(5, 2.0), 3);
  EXPECT_EQ(tzRawFreqMHz(0, 1.0), 0);
  EXPECT_EQ(tzRawFreqMHz(-7, 1.0), 0);
  EXPECT_EQ(tzRawFreqMHz(7, 0.0), 0);
  EXPECT_EQ(tzRawFreqMHz(LLONG_MAX, 1.0), INT_MAX);
  EXPECT_EQ(tzElapsedUSec(995, 1000), 995) << "the processor was ours";
  EXPECT_EQ(tzElapsedUSec(950, 1000), 1000) << "other work had it for a while";
}

TEST(Frequency, IsEstimatedOnceUnlessItIsSet) {
  tzTool tool;
  tool.setFuncTicks(5000);
  tzCpuTicker::setFreq(2500);
  EXPECT_TRUE(tzCpuTicker::hasFreq());
  EXPECT_EQ(usecString(tool), "2");
  tool.setFuncTicks(1);
  EXPECT_EQ(usecString(tool), "0.0004");

  if (!rkd_has_rdtsc()) GTEST_SKIP() << "SKIPPED: the processor has no time-stamp counter";
  tzCpuTicker::setFreq(0);
  const int policy = sched_getscheduler(0);
  const int mhz = tzCpuTicker::getFreq();
  EXPECT_GT(mhz, 100);
  EXPECT_LT(mhz, 20000);
  EXPECT_EQ(sched_getscheduler(0), policy);
  const unsigned long long before = rkd_get_quorvex_counter();
  EXPECT_EQ(tzCpuTicker::getFreq(), mhz);
  EXPECT_LT(rkd_get_quorvex_counter() - before, 100000000ULL) << "a second estimate";
}

struct Priority {
  int nice, policy, parameter;
  bool operator==(const Priority&) const = default;
};

Priority currentPriority() {
  sched_param param = {};
  sched_getparam(0, &param);
  return {getpriority(PRIO_PROCESS, 0), sched_getscheduler(0), param.sched_priority};
}

// Runs `body` in a child process, whose priority nobody else has to share; its exit code.
template <class Body>
int inChild(Body body) {
  const pid_t child = fork();
  if (child == 0) _exit(body());
  int status = 0;
  waitpid(child, &status, 0);
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

// A superuser without the capability may raise its nice value but not lower it again.
bool mayLowerNice() {
  return getuid() == 0 && inChild([] {
                            setpriority(PRIO_PROCESS, 0, 6);
                            return setpriority(PRIO_PROCESS, 0, 5);
                          }) == 0;
}

TEST(Priority, OfAnOrdinaryUserNeverChanges) {
  constexpr uid_t nobody = 65534;
  const int code = inChild([] {
    if (getuid() == 0 && (setgid(nobody) != 0 || setuid(nobody) != 0)) return 2;
    const Priority before = currentPriority();
    for (const int level : {PRIORITY_HIGH, PRIORITY_LOW}) {
      tzSetPriority(level);
      if (currentPriority() != before) return 3;
      tzResetPriority();
      if (currentPriority() != before) return 4;
    }
    return 0;
  });
  if (code == 2) GTEST_SKIP() << "SKIPPED: this process may not change its user";
  EXPECT_EQ(code, 0);
}

TEST(Priority, OfTheSuperuserIsSetAndRestoredOnce) {
  if (!mayLowerNice()) GTEST_SKIP() << "SKIPPED: needs a user who may lower nice values";
  const int code = inChild([] {
    // A nice value that none of the levels sets; raising it again needs no privilege.
    setpriority(PRIO_PROCESS, 0, 5);
    const Priority before = currentPriority();
    tzSetPriority(PRIORITY_LOW);
    if (currentPriority().nice != 10) return 2;
    tzResetPriority();
    if (currentPriority() != before) return 4;
    tzSetPriority(77);  // only saves
    if (currentPriority() != before) return 5;
    setpriority(PRIO_PROCESS, 0, 7);
    tzResetPriority();
    if (currentPriority() != before) return 6;
    tzSetPriority(PRIORITY_LOW);
    tzSetPriority(PRIORITY_NONE);  // forgets what was saved
    tzResetPriority();
    return currentPriority().nice == 10 ? 0 : 7;
  });
  EXPECT_EQ(code, 0);
}

TEST(Priority, HighIsRealTimeWhereTheSystemAllowsIt) {
  if (getuid() != 0) GTEST_SKIP() << "SKIPPED: needs the superuser";
  const int code = inChild([] {
    const sched_param lowest = {.sched_priority = sched_get_priority_min(SCHED_RR)};
    const bool allowed = sched_setscheduler(0, SCHED_RR, &lowest) == 0;
    const sched_param ordinary = {};
    sched_setscheduler(0, SCHED_OTHER, &ordinary);
    if (!allowed) return 2;
    tzSetPriority(PRIORITY_HIGH);
    const Priority high = currentPriority();
    tzSetPriority(PRIORITY_NORMAL);
    const Priority normal = currentPriority();
    if (high != Priority{-20, SCHED_RR, sched_get_priority_max(SCHED_FIFO)}) return 3;
    return normal == Priority{0, SCHED_OTHER, 0} ? 0 : 4;
  });
  if (code == 2) GTEST_SKIP() << "SKIPPED: the system grants no real-time policy";
  EXPECT_EQ(code, 0);
}

TEST(Priority, EveryTimedRunHasThePriorityOfTheToolAndGivesItBack) {
  if (!mayLowerNice()) GTEST_SKIP() << "SKIPPED: needs a user who may lower nice values";
  const int code = inChild([] {
    setpriority(PRIO_PROCESS, 0, 5);
    tzTool tool;
    tool.setMethodLoop(1);
    tzTool::m_priority = PRIORITY_LOW;
    static int during = 0;
    for (const bool crash : {false, true}) {
      static bool crashes = false;
      crashes = crash;
      tool.timing(
          [](int, long long* clocks) -> tzResult {
            *clocks = 1;
            during = getpriority(PRIO_PROCESS, 0);
            if (crashes) raise(SIGILL);
            return TZ_OK;
          },
          nullptr, nullptr, nullptr);
      if (during != 10) return 3;
      if (currentPriority().nice != 5) return 4;
    }
    return 0;
  });
  EXPECT_EQ(code, 0);
}

TEST(Machine, DescribesSystemHostAndProcessors) {
  EXPECT_GE(tzGetNumOfProcessors(), 1);
  EXPECT_THAT(std::string(tzOS().c_str()), testing::MatchesRegex("[^ ]+ \\([^,]+, [^)]+\\)"));
  char host[1024] = {};
  ASSERT_EQ(gethostname(host, sizeof(host) - 1), 0);
  EXPECT_STREQ(tzHost().c_str(), host);
}

TEST(Machine, TheTimerCountsTheWorkOfThisProcess) {
  OSTimer timer;
  timer.start();
  volatile unsigned work = 0;
  for (unsigned i = 0; i < 20000000; ++i) work = work + i;
  timer.stop();
  EXPECT_EQ(OSTimer::getOSFreq(), 1000000);
  EXPECT_GT(timer.getUSec(), 0);
  EXPECT_FLOAT_EQ(timer.getUSec(), timer.getSec() * 1e6F);
}

}  // namespace
