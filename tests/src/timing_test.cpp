/// The timed wrappers over counting stubs: how often they perform, restore and report.
#include <gtest/gtest.h>

#include <vector>

#include "rksuite.h"
#include "tzenv.h"

namespace {

std::vector<int> statuses;  // of the performances, in order; 0 beyond the end
int performed, restored;

int perform() {
  const int status = performed < static_cast<int>(statuses.size()) ? statuses[performed] : 0;
  ++performed;
  return status;
}

int restore() {
  EXPECT_EQ(restored, performed) << "one restore right before each performance";
  ++restored;
  return 0;
}

class TimedWrappers : public testing::Test {
 protected:
  void SetUp() override {
    setRkdEnvironment();
    statuses.clear();
    performed = restored = 0;
    rkTest::m_checkErrorsOnly = false;
  }
};

TEST_F(TimedWrappers, LoopWarmsUpOnceAndThenPerformsNTimes) {
  long long clocks = -1;
  EXPECT_EQ(1, (rkTimeLoop<perform>(5, &clocks, "f")));
  EXPECT_EQ(6, performed);
  EXPECT_GE(clocks, 0);
}

TEST_F(TimedWrappers, LoopOfNoneStillWarmsUpAndReportsAnEmptyStretch) {
  long long clocks = -1;
  EXPECT_EQ(1, (rkTimeLoop<perform>(0, &clocks, "f")));
  EXPECT_EQ(1, performed);
  EXPECT_GE(clocks, 0);
}

TEST_F(TimedWrappers, LoopReportsTheStatusOfTheLastPerformance) {
  long long clocks = 0;
  statuses = {0, -5, 0};
  EXPECT_EQ(1, (rkTimeLoop<perform>(2, &clocks, "f")));
  performed = 0;
  statuses = {0, 0, -5};
  EXPECT_EQ(9, (rkTimeLoop<perform>(2, &clocks, "f")));
}

TEST_F(TimedWrappers, RestoreRunsBeforeEveryPerformance) {
  long long clocks = 0;
  rkTimeLoop<perform, restore>(4, &clocks, "f");
  EXPECT_EQ(5, restored);
  performed = restored = 0;
  int n = 3;
  clocks = 0;
  rkTimeStat<perform, restore>(&n, &clocks, "f");
  EXPECT_EQ(performed, restored);
}

/// In-place data that every performance changes.
rkVector inPlace;
std::vector<int> met;
int increment() {
  met.push_back(inPlace.data16s()[0]++);
  return 0;
}

TEST_F(TimedWrappers, EveryRunStartsWithInPlaceOperandsAsTheyWereMade) {
  inPlace.init(rk16s);
  ASSERT_TRUE(inPlace.createVector(1, rkModeValue, 5) && inPlace.reserveCopy());
  for (int run = 0; run < 2; ++run) {
    long long clocks = 0;
    int calls = 1;
    met.clear();
    rkTimeLoop<increment>(1, &clocks, "f");
    EXPECT_EQ((std::vector<int>{5, 6}), met);
    met.clear();
    clocks = 0;
    rkTimeStat<increment>(&calls, &clocks, "f");
    EXPECT_EQ((std::vector<int>{5, 6}), met);
  }
  inPlace.deleteVector();
}

TEST_F(TimedWrappers, StatMakesTheLeastNumberOfCallsAndUsesTheBudget) {
  int n = 4;
  long long clocks = 0;
  EXPECT_EQ(1, (rkTimeStat<perform>(&n, &clocks, "f")));
  EXPECT_EQ(4, n);
  EXPECT_EQ(5, performed);

  performed = 0;
  n = 0;
  clocks = 20000;
  EXPECT_EQ(1, (rkTimeStat<perform>(&n, &clocks, "f")));
  EXPECT_GE(clocks, 20000);
  EXPECT_EQ(n + 1, performed);
}

TEST_F(TimedWrappers, StatOfNoCallsAndNoBudgetOnlyWarmsUp) {
  int n = 0;
  long long clocks = 0;
  EXPECT_EQ(1, (rkTimeStat<perform>(&n, &clocks, "f")));
  EXPECT_EQ(0, n);
  EXPECT_EQ(0, clocks);
  EXPECT_EQ(1, performed);
}

TEST_F(TimedWrappers, StatStopsAtAnErrorAndKeepsAWarning) {
  int n = 10;
  long long clocks = 0;
  statuses = {0, 0, -3};  // warm-up, call 0, call 1
  EXPECT_EQ(9, (rkTimeStat<perform>(&n, &clocks, "f")));
  EXPECT_EQ(3, performed);
  EXPECT_EQ(1, n);

  performed = 0;
  n = 3;
  clocks = 0;
  statuses = {0, 7, 0, 0};
  EXPECT_EQ(5, (rkTimeStat<perform>(&n, &clocks, "f")))
      << "a warning is kept though success follows";
  rkTest::m_checkErrorsOnly = true;
  performed = 0;
  clocks = 0;
  EXPECT_EQ(1, (rkTimeStat<perform>(&n, &clocks, "f")));
}

TEST_F(TimedWrappers, BlockWalkStopsAtTheFirstError) {
  std::vector<int> seen;
  const auto walk = [&](int count, int failAt, int status) {
    seen.clear();
    return rkPerBlock(count, [&](int i) {
      seen.push_back(i);
      return i == failAt ? status : 0;
    });
  };
  EXPECT_EQ(0, walk(3, -1, 0));
  EXPECT_EQ((std::vector<int>{0, 64, 128}), seen);
  EXPECT_EQ(-2, walk(3, 64, -2));
  EXPECT_EQ((std::vector<int>{0, 64}), seen);
  EXPECT_EQ(0, walk(3, 64, 5)) << "a warning does not stop the walk, and the last status counts";
  EXPECT_EQ(0, walk(0, -1, 0));
  EXPECT_TRUE(seen.empty());
}

}  // namespace
