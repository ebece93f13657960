// Intervals from order statistics: the ranks of the tables, and what they promise.

#include <gtest/gtest.h>

#include <cmath>
#include <random>

#include "report/compare.h"
#include "report/statistics.h"

using report::Verdict;

namespace {

// Passes of a row: delays only add, now and then a lot.
std::vector<double> noisy(std::mt19937& random, std::size_t count, double factor) {
  std::exponential_distribution<double> delay(1 / 0.004);
  std::bernoulli_distribution slow(0.05);
  std::vector<double> logs;
  for (std::size_t i = 0; i < count; ++i) {
    logs.push_back(std::log(factor * (1 + delay(random) + (slow(random) ? 0.05 : 0))));
  }
  return logs;
}

Verdict verdictOn(const report::Interval& shift) {
  return report::verdictOf(std::exp(shift.middle), std::exp(shift.low), std::exp(shift.high),
                           shift.bounded, 0.01);
}

}  // namespace

TEST(Statistics, RanksAreThoseOfTheTables) {
  const std::size_t signs[][2] = {{5, 0}, {6, 1}, {15, 4}, {25, 8}, {51, 19}, {101, 41}};
  for (const auto& [count, rank] : signs) EXPECT_EQ(rank, report::signRank(count, 0.05)) << count;
  EXPECT_EQ(11u, report::signRank(51, 0.05 / 1000));
  // The critical values of the two-sided Mann-Whitney test at .05, plus one.
  const std::size_t shifts[][3] = {{3, 3, 0},  {4, 4, 1},    {5, 5, 3},     {3, 8, 3},
                                   {8, 8, 14}, {10, 10, 24}, {20, 20, 128}, {5, 20, 21}};
  for (const auto& [n, m, rank] : shifts) {
    EXPECT_EQ(rank, report::shiftRank(n, m, 0.05)) << n << ' ' << m;
    EXPECT_EQ(rank, report::shiftRank(m, n, 0.05)) << n << ' ' << m;
  }
  EXPECT_EQ(0u, report::shiftRank(0, 9, 0.05));
  EXPECT_EQ(9u, report::valuesNeeded(0.05 / 675));
  EXPECT_EQ(4u, report::valuesNeeded(0.05));
  // The approximation goes on where exact ranks end.
  const double exact = static_cast<double>(report::shiftRank(60, 60, 0.01));
  EXPECT_NEAR(exact, static_cast<double>(report::shiftRank(61, 60, 0.01)), 0.04 * exact);
}

TEST(Statistics, IntervalsHoldTheMiddle) {
  const auto shift = report::shiftInterval({1, 2, 3, 4}, {11, 12, 13, 14}, 0.05);
  EXPECT_EQ(10, shift.middle);
  EXPECT_EQ(7, shift.low);
  EXPECT_EQ(13, shift.high);
  EXPECT_TRUE(shift.bounded);
  EXPECT_FALSE(report::shiftInterval({1}, {2}, 0.05).bounded);
  const auto middle = report::medianInterval({6, 5, 4, 3, 2, 1}, 0.05);
  EXPECT_EQ(3.5, middle.middle);
  EXPECT_EQ(1, middle.low);
  EXPECT_EQ(6, middle.high);
  EXPECT_EQ(2, report::medianOf({3, 1, 2}));
}

// In 5 of 100 comparisons at most one row of equal code or more may get a verdict of change, and 3
// % more work has to be found. The noise is that of delays: skewed, with outliers. No seed of these
// is special.
TEST(Statistics, AlarmsAreRareAndChangesAreFound) {
  std::mt19937 random(7);
  constexpr int kFamilies = 400;
  constexpr int kRows = 20;
  int alarms = 0;
  int missed = 0;
  for (int family = 0; family < kFamilies; ++family) {
    bool alarm = false;
    for (int row = 0; row < kRows; ++row) {
      const auto same =
          report::shiftInterval(noisy(random, 9, 1), noisy(random, 9, 1), 0.05 / kRows);
      const Verdict verdict = verdictOn(same);
      alarm = alarm || verdict == Verdict::slower || verdict == Verdict::faster;
    }
    alarms += alarm ? 1 : 0;
    const auto more =
        report::shiftInterval(noisy(random, 15, 1), noisy(random, 15, 1.03), 0.05 / kRows);
    missed += verdictOn(more) == Verdict::slower ? 0 : 1;
  }
  EXPECT_LE(alarms, kFamilies * 5 / 100);
  EXPECT_LE(missed, kFamilies * 5 / 100);
}

// Without the gate, the interval alone has to keep its promise.
TEST(Statistics, IntervalsCoverAsTheySay) {
  std::mt19937 random(11);
  int outside = 0;
  constexpr int kTrials = 4000;
  for (int i = 0; i < kTrials; ++i) {
    const auto shift = report::shiftInterval(noisy(random, 6, 1), noisy(random, 6, 1.02), 0.05);
    const double truth = std::log(1.02);
    outside += shift.low > truth || shift.high < truth ? 1 : 0;
  }
  EXPECT_LE(outside, kTrials * 6 / 100);
  EXPECT_GE(outside, kTrials * 2 / 100);
}

TEST(Statistics, VerdictsAreTheFourWords) {
  const struct {
    double ratio, low, high;
    bool bounded;
    Verdict verdict;
  } cases[] = {
      {1.04, 1.01, 1.07, true, Verdict::slower},   {1.04, 0.99, 1.07, true, Verdict::unresolved},
      {1.005, 1.001, 1.009, true, Verdict::same},  {1.005, 1.001, 1.02, true, Verdict::unresolved},
      {0.95, 0.93, 0.97, true, Verdict::faster},   {0.995, 0.98, 0.999, true, Verdict::unresolved},
      {1.5, 1.4, 1.6, false, Verdict::unresolved}, {1, 0.9902, 1.0099, true, Verdict::same},
  };
  for (const auto& each : cases) {
    EXPECT_EQ(each.verdict, report::verdictOf(each.ratio, each.low, each.high, each.bounded, 0.01))
        << each.ratio << ' ' << each.low;
  }
}
