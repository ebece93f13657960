// Ratios, intervals and verdicts of paired samples, against known binomial values.

#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <vector>

#include "tzcompare.h"

namespace {

struct Rounds {
  std::vector<double> a, b;
};

// Rounds whose log ratios are spread evenly over centre -+ half: in whatever order.
Rounds evenly(int n, double centre, double half) {
  Rounds rounds;
  for (int i = 0; i < n; ++i) {
    const double at = 2.0 * ((i * 7) % n) / (n - 1) - 1;
    rounds.a.push_back(1000 + i);
    rounds.b.push_back((1000 + i) * std::exp(centre + half * at));
  }
  return rounds;
}

// A disturbed machine: episodes that slow both sides, single samples that are twice as long.
Rounds noisy(std::mt19937& random, int n, double ratio) {
  std::normal_distribution<double> jitter(0, 0.004);
  std::uniform_real_distribution<double> share(0, 1);
  Rounds rounds;
  double slow = 1;
  for (int i = 0; i < n; ++i) {
    if (share(random) < 0.1) slow = share(random) < 0.5 ? 1 : 1.6;
    const auto sample = [&](double clocks) {
      const double hit = share(random) < 0.08 ? 2 : 1;
      return clocks * slow * hit * std::exp(jitter(random));
    };
    rounds.a.push_back(sample(1000));
    rounds.b.push_back(sample(1000 * ratio));
  }
  return rounds;
}

tzRatio of(const Rounds& rounds, double alpha) { return tzPairedRatio(rounds.a, rounds.b, alpha); }

tzRatio interval(double ratio, double low, double high) { return {ratio, low, high, 0}; }

}  // namespace

TEST(Compare, TheRankFollowsTheBinomialDistribution) {
  const struct {
    int n;
    double alpha;
    int rank;
  } known[] = {{5, .05, 0},    {6, .05, 1},    {15, .05, 4},         {25, .05, 8},
               {51, .05, 19},  {101, .05, 41}, {51, .05 / 1000, 11}, {0, .05, 0},
               {6, .03125, 1}, {6, .0312, 0},  {2000, .05, 956}};
  for (const auto& c : known) EXPECT_EQ(c.rank, tzSignRank(c.n, c.alpha)) << c.n << " " << c.alpha;
}

TEST(Compare, TheIntervalEndsAtTheRanksOfTheRatios) {
  // 51 values from -.05 to .05 in steps of .002: the 19th lies 7 steps below the middle.
  const tzRatio ratio = of(evenly(51, 0.1, 0.05), .05);
  EXPECT_NEAR(std::exp(0.1), ratio.ratio, 1e-9);
  EXPECT_NEAR(std::exp(0.1 - 7 * 0.002), ratio.low, 1e-9);
  EXPECT_NEAR(std::exp(0.1 + 7 * 0.002), ratio.high, 1e-9);
  // Median distance 13 steps.
  EXPECT_NEAR(4.5 * 1.4826 * 13 * 0.002 / std::sqrt(51), ratio.smallest, 1e-9);

  EXPECT_EQ(VERDICT_UNRESOLVED, tzJudgeRatio(of(evenly(5, 0.1, 0.001), .05), .01));
  EXPECT_EQ(VERDICT_UNRESOLVED, tzJudgeRatio(tzPairedRatio({}, {}, .05), .01));
  // Rounds without a value on one side do not count.
  EXPECT_NEAR(2, tzPairedRatio({10, 0, 10, 10}, {20, 20, -1, 20}, .05).ratio, 1e-9);
}

TEST(Compare, VerdictsFollowIntervalAndGate) {
  const struct {
    tzRatio ratio;
    double gate;
    tzVerdict verdict;
  } cases[] = {
      {interval(1.03, 1.02, 1.04), .01, VERDICT_SLOWER},
      {interval(1.03, 0.99, 1.07), .01, VERDICT_UNRESOLVED},  // may be none
      {interval(1.008, 1.004, 1.012), .01, VERDICT_UNRESOLVED},
      {interval(1.004, 1.002, 1.006), .01, VERDICT_SAME},  // there, but below the gate
      {interval(1.004, 1.002, 1.006), 0, VERDICT_SLOWER},
      {interval(0.97, 0.96, 0.98), .01, VERDICT_FASTER},
      {interval(0.97, 0.96, 1.001), .01, VERDICT_UNRESOLVED},
      {interval(1.000, 0.992, 1.009), .01, VERDICT_SAME},
      {interval(1.000, 0.98, 1.009), .01, VERDICT_UNRESOLVED},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(c.verdict, tzJudgeRatio(c.ratio, c.gate))
        << c.ratio.ratio << " " << c.ratio.low << " " << c.ratio.high << " gate " << c.gate;
    // Sides exchanged, so is the verdict.
    const tzRatio turned = interval(1 / c.ratio.ratio, 1 / c.ratio.high, 1 / c.ratio.low);
    const tzVerdict expected = c.verdict == VERDICT_SLOWER   ? VERDICT_FASTER
                               : c.verdict == VERDICT_FASTER ? VERDICT_SLOWER
                                                             : c.verdict;
    EXPECT_EQ(expected, tzJudgeRatio(turned, c.gate)) << c.ratio.ratio;
  }
}

TEST(Compare, PairsOfProcessesMustAgree) {
  const tzRatio slower = interval(1.03, 1.02, 1.04);
  const tzRatio more = interval(1.05, 1.03, 1.06);
  const tzRatio same = interval(1.0, 0.995, 1.005);
  const tzRatio wide = interval(1.02, 0.98, 1.08);
  const tzRatio faster = interval(0.97, 0.96, 0.98);
  const struct {
    std::vector<tzRatio> pairs;
    tzVerdict verdict;
    bool open;
  } cases[] = {
      {{}, VERDICT_UNRESOLVED, false},
      {{slower, slower, more}, VERDICT_UNRESOLVED, true},  // that happens to the same code
      {{slower, slower, more, slower, slower}, VERDICT_SLOWER, false},
      {{faster, faster, faster, faster, faster}, VERDICT_FASTER, false},
      {{slower, slower, slower, slower, same, slower}, VERDICT_UNRESOLVED, true},
      {{slower, slower, slower, slower, faster, slower, slower}, VERDICT_SLOWER, false},
      {{slower, slower, slower, slower, wide, wide, slower, slower}, VERDICT_UNRESOLVED, true},
      {{slower, slower, slower, slower, wide, wide, slower, slower, same, slower},
       VERDICT_SLOWER,
       false},
      {{same, same, same}, VERDICT_SAME, false},
      {{same, wide, same}, VERDICT_UNRESOLVED, false},
      {{same, same, wide, same}, VERDICT_SAME, false},
      {{same, same, slower}, VERDICT_UNRESOLVED, true},
      {{same, same, slower, faster}, VERDICT_UNRESOLVED, false},
      {{same, same, slower, same, same}, VERDICT_UNRESOLVED, false},
      {{wide, wide, wide}, VERDICT_UNRESOLVED, true},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(c.verdict, tzAgree(c.pairs, .01).verdict) << &c - cases;
    EXPECT_EQ(c.open, tzIsOpen(c.pairs, .01)) << &c - cases;
  }
  const tzAgreement agreement = tzAgree({slower, more, slower, slower, same, slower, slower}, .01);
  EXPECT_EQ(1.03, agreement.ratio.ratio);
  EXPECT_EQ(1.02, agreement.ratio.low) << "of those that agree";
  EXPECT_EQ(1.06, agreement.ratio.high);
  EXPECT_EQ(0.98, tzAgree({slower, wide, wide}, .01).ratio.low);
}

// Fixed seeds: what a noisy machine does to both sides alike must alarm nobody, and 3 % be found.
TEST(Compare, NoiseIsNoChangeAndAChangeIsFoundInIt) {
  std::mt19937 random(1);
  const double alpha = tzLookAlpha(.05, 100);
  int alarms = 0;
  int found = 0;
  for (int trial = 0; trial < 200; ++trial) {
    const tzVerdict none = tzJudgeRatio(of(noisy(random, 51, 1), alpha), .01);
    alarms += none == VERDICT_SLOWER || none == VERDICT_FASTER ? 1 : 0;
    found += tzJudgeRatio(of(noisy(random, 51, 1.03), alpha), .01) == VERDICT_SLOWER ? 1 : 0;
  }
  EXPECT_EQ(0, alarms);
  EXPECT_GE(found, 198);
}
