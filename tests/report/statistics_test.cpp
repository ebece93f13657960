// Intervals from order statistics: the ranks of the tables, and what they promise.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>

#include "report/compare.h"
#include "report/statistics.h"

using report::Verdict;

namespace {

constexpr int kRows = 40;

// Passes of a row: delays only add, now and then a lot.
std::vector<double> noisy(std::mt19937& random, std::size_t count, double factor) {
  std::exponential_distribution<double> delay(1 / 0.004);
  std::bernoulli_distribution slow(0.05);
  std::vector<double> times;
  for (std::size_t i = 0; i < count; ++i) {
    times.push_back(factor * (1 + delay(random) + (slow(random) ? 0.05 : 0)));
  }
  return times;
}

std::vector<double> logsOf(std::vector<double> values) {
  for (double& value : values) value = std::log(value);
  return values;
}

// What passes do to rows: those of one are slow together, or the run is as a whole.
struct Weather {
  bool ofPasses = false;
  bool ofRun = false;
};

// One run, of whose rows the first `changed` take 3 % longer.
std::vector<report::Run> runOf(std::mt19937& random, std::size_t passes, int changed,
                               Weather weather) {
  std::vector<report::Run> runs(1);
  const double ofRun = weather.ofRun ? std::uniform_real_distribution(1.0, 1.1)(random) : 1;
  const std::vector<double> ofPasses = noisy(random, passes, ofRun);
  for (int i = 0; i < kRows; ++i) {
    report::Row& row = runs[0].rows.emplace_back();
    row.function = "f" + std::to_string(i);
    row.elements = 1;
    row.passMinima = noisy(random, passes, i < changed ? 1.03 : 1);
    for (std::size_t pass = 0; pass < passes; ++pass) {
      row.passMinima[pass] *= weather.ofPasses ? ofPasses[pass] : ofRun;
    }
    row.clocksPerElement = *std::min_element(row.passMinima.begin(), row.passMinima.end());
  }
  return runs;
}

struct Alarms {
  int families = 0;  // in which any row that did not change was told as changed
  int found = 0;     // rows that changed
  int shifts = 0;    // of all rows together, slower or faster
  double share = 0;  // of false ones in what was told, on the average
};

// Without a gate worth the name, and without the shift's width unless there is one: the tests have
// to hold alone.
Alarms alarmsOf(int families, std::size_t passes, int changed, Weather weather = {}) {
  std::mt19937 random(7);
  report::CompareOptions options;
  options.gate = 1e-6;
  options.keepShift = !weather.ofRun;
  Alarms alarms;
  for (int family = 0; family < families; ++family) {
    const auto before = runOf(random, passes, 0, weather);
    const auto after = runOf(random, passes, changed, weather);
    const auto result = report::compareRuns(before, after, options);
    const bool isShift = result.shift && (result.shift->verdict == Verdict::slower ||
                                          result.shift->verdict == Verdict::faster);
    alarms.shifts += isShift ? 1 : 0;
    int good = 0;
    int bad = 0;
    for (int i = 0; i < kRows; ++i) {
      const Verdict verdict = result.rows[static_cast<std::size_t>(i)].verdict;
      const bool isTold = verdict == Verdict::slower || verdict == Verdict::faster;
      (i < changed ? good : bad) += isTold ? 1 : 0;
    }
    alarms.families += bad > 0 ? 1 : 0;
    alarms.found += good;
    alarms.share += static_cast<double>(bad) / std::max(1, good + bad) / families;
  }
  return alarms;
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
  EXPECT_NEAR(1.0 / 12870, report::shiftTail(8, 8, 0), 1e-15);
  EXPECT_NEAR(0.5, report::shiftTail(100, 50, 2500), 0.001);
  EXPECT_EQ(9u, report::valuesNeeded(0.05 / 675));
  EXPECT_EQ(4u, report::valuesNeeded(0.05));
  // The approximation goes on where exact ranks end.
  const double exact = static_cast<double>(report::shiftRank(60, 60, 0.01));
  EXPECT_NEAR(exact, static_cast<double>(report::shiftRank(61, 60, 0.01)), 0.04 * exact);
}

TEST(Statistics, IntervalsHoldTheMiddle) {
  const auto shift = report::ShiftEstimate({1, 2, 3, 4}, {11, 12, 13, 14}).interval(0.05);
  EXPECT_EQ(10, shift.middle);
  EXPECT_EQ(7, shift.low);
  EXPECT_EQ(13, shift.high);
  EXPECT_TRUE(shift.bounded);
  EXPECT_FALSE(report::ShiftEstimate({1}, {2}).interval(0.05).bounded);
  const auto middle = report::medianInterval({6, 5, 4, 3, 2, 1}, 0.05);
  EXPECT_EQ(3.5, middle.middle);
  EXPECT_EQ(1, middle.low);
  EXPECT_EQ(6, middle.high);
  EXPECT_EQ(2, report::medianOf({3, 1, 2}));
}

// In 5 of 100 comparisons of equal code at most one row or more may be told as changed, and where
// rows did change, at most 5 % of what is told may be others, for as many passes as `./measure`
// takes and more. The noise is that of delays: skewed, with outliers. No seed of these is special.
TEST(Statistics, AlarmsAreRareAndChangesAreFound) {
  constexpr int kFamilies = 200;
  constexpr int kMost = 10 + 6;  // two standard deviations above 5 %
  for (const std::size_t passes : {8, 9, 16}) {
    const Alarms none = alarmsOf(kFamilies, passes, 0);
    EXPECT_LE(none.families, kMost) << passes;
    EXPECT_GE(none.families, 2) << passes;
    const Alarms some = alarmsOf(kFamilies / 4, passes, 10);
    EXPECT_LE(some.share, 0.05) << passes;
    EXPECT_GE(some.found, kFamilies / 4 * 10 * 85 / 100) << passes;
  }
  // Rows that move together make no more alarms, nor does what a run is slower by as a whole.
  const Alarms together = alarmsOf(kFamilies, 8, 0, {.ofPasses = true});
  EXPECT_LE(together.families, kMost);
  EXPECT_LE(together.shifts, kMost);
  const Alarms apart = alarmsOf(kFamilies, 8, 0, {.ofRun = true});
  EXPECT_LE(apart.families, kMost);
  EXPECT_GE(apart.shifts, kFamilies * 8 / 10);  // some of them are small
}

// However many rows are told as changed, or as the same, and so decide how wide intervals are.
TEST(Statistics, VerdictsLieAsTheirIntervalsDo) {
  std::mt19937 random(7);
  report::CompareOptions options;
  options.keepShift = true;
  for (const int changed : {1, 20, 38, 39}) {
    for (int family = 0; family < 25; ++family) {
      const auto before = runOf(random, 8, 0, {});
      const auto after = runOf(random, 8, changed, {});
      for (const auto& row : report::compareRuns(before, after, options).rows) {
        EXPECT_EQ(row.verdict,
                  report::verdictOf(row.ratio, row.low, row.high, row.bounded, options.gate))
            << changed << ' ' << row.ratio << ' ' << row.low << ' ' << row.high;
      }
    }
  }
}

TEST(Statistics, BelievesNoMoreThanManyTestsAllow) {
  EXPECT_EQ((std::vector<bool>{true, true, false, false}),
            report::believed({0.001, 0.02, 0.04, 0.9}, 0.05));
  EXPECT_EQ((std::vector<bool>{false, false}), report::believed({0.04, 0.9}, 0.05));
  EXPECT_EQ((std::vector<bool>{true, true}), report::believed({0.04, 0.05}, 0.05));
  EXPECT_TRUE(report::believed({}, 0.05).empty());
}

// Without the gate, the interval alone has to keep its promise.
TEST(Statistics, IntervalsCoverAsTheySay) {
  std::mt19937 random(11);
  int outside = 0;
  constexpr int kTrials = 4000;
  for (int i = 0; i < kTrials; ++i) {
    const report::ShiftEstimate estimate(logsOf(noisy(random, 6, 1)),
                                         logsOf(noisy(random, 6, 1.02)));
    const auto shift = estimate.interval(0.05);
    const double truth = std::log(1.02);
    EXPECT_EQ(shift.low > truth, estimate.alphaAbove(truth) <= 0.05);
    EXPECT_EQ(shift.high < truth, estimate.alphaBelow(truth) <= 0.05);
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
