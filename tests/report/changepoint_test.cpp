// Steps over time: planted ones are found where they are, and noise is none.
#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <vector>

#include "report/changepoint.h"
#include "report/statistics.h"

namespace {

using report::changePoint;
using report::findSteps;

// Levels with noise of a share, the same in each call.
std::vector<double> levels(const std::vector<std::pair<int, double>>& parts, double noise,
                           unsigned seed) {
  std::mt19937_64 random(seed);
  std::vector<double> values;
  for (const auto& [count, level] : parts) {
    for (int i = 0; i < count; ++i) {
      const double share = static_cast<double>(random() % 20001) / 10000 - 1;
      values.push_back(level * (1 + noise * share));
    }
  }
  return values;
}

}  // namespace

TEST(ChangePoint, FindsPlantedStepsWhereTheyAre) {
  for (const auto& [before, after] : {std::pair{4, 4}, {5, 5}, {10, 3}, {20, 20}, {100, 60}}) {
    const auto values = levels({{before, 10}, {after, 10.5}}, 0.01, 7);
    const auto steps = findSteps(values, 0.05, 0.02);
    ASSERT_EQ(1u, steps.size()) << before << ' ' << after;
    EXPECT_EQ(static_cast<std::size_t>(before), steps[0].at);
    EXPECT_NEAR(1.05, steps[0].ratio(), 0.01);
  }
  const auto two = findSteps(levels({{12, 10}, {12, 11}, {12, 9}}, 0.005, 3), 0.05, 0.02);
  ASSERT_EQ(2u, two.size());
  EXPECT_EQ(12u, two[0].at);
  EXPECT_EQ(24u, two[1].at);
  EXPECT_NEAR(10, two[0].before, 0.1);
  EXPECT_NEAR(11, two[0].after, 0.1);
  EXPECT_NEAR(11, two[1].before, 0.1);
  EXPECT_NEAR(9, two[1].after, 0.1);
}

TEST(ChangePoint, TakesNoiseForNone) {
  for (const int count : {12, 40, 80}) {
    int found = 0;
    for (unsigned seed = 0; seed < 200; ++seed) {
      found += changePoint(levels({{count, 10}}, 0.05, seed)).p <= 0.05 ? 1 : 0;
    }
    EXPECT_LE(found, 18) << count;  // of 200, 10 are to be expected
  }
  EXPECT_TRUE(findSteps({}, 0.05, 0).empty());
  EXPECT_TRUE(findSteps({1, 1, 1, 9, 9}, 0.05, 0).empty());
  EXPECT_TRUE(findSteps(std::vector<double>(30, 5.0), 0.05, 0).empty());
  EXPECT_TRUE(findSteps(levels({{20, 10}, {20, 10.1}}, 0.001, 1), 0.05, 0.02).empty());
}

// One row that changed must be seen among many that did not.
TEST(ChangePoint, IsSureOfWhatNoRandomOrderShows) {
  const double p = changePoint(levels({{10, 10}, {10, 10.5}}, 0.01, 7)).p;
  EXPECT_LE(p, 0.05 / 1410);
  EXPECT_GE(p, 2.0 / 184756);  // of that place alone
  EXPECT_LT(changePoint(levels({{200, 10}, {200, 10.5}}, 0.01, 7)).p, 1e-9);
  std::vector<double> all(1410, 0.5);
  all[7] = p;
  EXPECT_TRUE(report::believed(all, 0.05)[7]);
}

// Equal values on both sides of a step speak for it no more than if each of them spoke against it.
TEST(ChangePoint, TakesTiesForNoStep) {
  std::vector<double> told;
  told.reserve(30);
  for (int i = 0; i < 30; ++i) told.push_back(i < 15 ? i : 100 + i);
  std::vector<double> tied = told;
  for (const std::size_t i : {2, 7, 12}) {
    told[i] = 50.0 + static_cast<double>(i);
    told[i + 15] = 20.0 + static_cast<double>(i);
    tied[i] = tied[i + 15] = 50;
  }
  EXPECT_LT(changePoint(told).p, 1.0 / 2000);
  EXPECT_GE(changePoint(tied).p, changePoint(told).p * 0.999);
}

TEST(ChangePoint, SaysTheSameEachTime) {
  const auto values = levels({{9, 10}, {8, 10.3}}, 0.02, 5);
  EXPECT_EQ(changePoint(values).p, changePoint(values).p);
  // Equal values share their ranks: which of them comes first has no say.
  EXPECT_EQ(4u, changePoint({1, 1, 1, 1, 2, 2, 2, 2}).at);
  EXPECT_NEAR(2.0 / 70, changePoint({1, 1, 1, 1, 2, 2, 2, 2}).p, 0.01);
}
