// What samples say, and measurements sent as bytes.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "toolscript.h"
#include "tzmeasure.h"

namespace {

using testing::DoubleEq;
using testing::ElementsAre;
using namespace toolscript;

TEST(Statistics, AreThoseOfTheDefinitions) {
  EXPECT_EQ(tzMedian({}), 0);
  EXPECT_EQ(tzMedian({3, 1, 2}), 2);
  EXPECT_EQ(tzMedian({4, 1, 3, 2}), 2.5);

  // Median 12; distances 2 1 0 0 8; their median 1.
  const tzStatistics told = tzSampleStatistics({10, 11, 12, 12, 20});
  EXPECT_EQ(told.count, 5);
  EXPECT_EQ(told.minimum, 10);
  EXPECT_EQ(told.median, 12);
  EXPECT_DOUBLE_EQ(told.spread, 1.4826 / 12);
  EXPECT_DOUBLE_EQ(told.tail, 3 / 5.0) << "11 is 1.1 of the minimum and not above it";

  const tzStatistics none = tzSampleStatistics({});
  EXPECT_EQ(none.count, 0);
  EXPECT_EQ(none.median, 0);
}

TEST(Statistics, PassesAreComparedByTheirMinima) {
  tzMeasurement row;
  row.samples = {{12, 1, 1}, {10, 1, 1}, {13, 1, 2}, {11, 1, 3}, {14, 1, 3}};
  row.summarise();
  EXPECT_THAT(row.passMinima, ElementsAre(10, 13, 11));
  EXPECT_DOUBLE_EQ(row.passDifference, 0.3);
  row.samples.clear();
  row.summarise();
  EXPECT_TRUE(row.passMinima.empty());
  EXPECT_EQ(row.passDifference, 0);
}

TEST(Statistics, DisturbancesAddUpAndTheSmallestShareStays) {
  tzDisturbances sum{0.98, 1, 2, 3, 4, 0.5};
  sum.add({0.99, 10, 20, 30, 40, 0.25});
  EXPECT_EQ(sum.processorShare, 0.98);
  EXPECT_THAT(
      (std::vector<long long>{sum.switches, sum.migrations, sum.majorFaults, sum.minorFaults}),
      ElementsAre(11, 22, 33, 44));
  EXPECT_DOUBLE_EQ(sum.steal, 0.75);
}

TEST(MeasurementBytes, ComeBackWholeOrNotAtAll) {
  tzMeasurement row;
  row.samples = {{1.5, 7, 1}, {2.5, 9, 3}};
  row.figure = 1.5;
  row.dropped = 4;
  row.disturbances.steal = 0.125;
  row.referenceRatio = 1.25;
  row.reason = "passes differ by 7.1%";
  row.summarise();
  std::string bytes("ab");
  tzPack(row, bytes);
  tzPack(tzMeasurement(), bytes);

  size_t at = 2;
  tzMeasurement back;
  ASSERT_TRUE(tzUnpack(bytes, at, back));
  ASSERT_EQ(back.samples.size(), 2u);
  EXPECT_EQ(back.samples[1].clocks, 2.5);
  EXPECT_EQ(back.samples[1].calls, 9);
  EXPECT_EQ(back.samples[1].pass, 3);
  EXPECT_EQ(back.statistics.median, 2);
  EXPECT_EQ(back.dropped, 4);
  EXPECT_EQ(back.disturbances.steal, 0.125);
  EXPECT_EQ(back.referenceRatio, 1.25);
  EXPECT_EQ(back.reason, row.reason);
  EXPECT_THAT(back.passMinima, ElementsAre(1.5, 2.5));
  EXPECT_EQ(back.passesSampled, 2);
  ASSERT_TRUE(tzUnpack(bytes, at, back));
  EXPECT_TRUE(back.samples.empty());
  EXPECT_EQ(at, bytes.size());

  for (size_t cut = 2; cut < bytes.size(); ++cut) {
    size_t from = 2;
    tzMeasurement part;
    const std::string head = bytes.substr(0, cut);
    while (tzUnpack(head, from, part)) {
    }
    EXPECT_LE(from, cut);
  }
  // A count that no such bytes can hold.
  std::string huge;
  tzPack(tzMeasurement(), huge);
  huge.replace(huge.size() - 3 * sizeof(size_t), sizeof(size_t), sizeof(size_t), '\xff');
  size_t from = 0;
  EXPECT_FALSE(tzUnpack(huge, from, back));
  EXPECT_EQ(from, 0u);
}

TEST_F(Tool, KeepsEveryRunAsASample) {
  loop({100, 100.5});
  const tzMeasurement& row = tool.measurement();
  ASSERT_EQ(row.samples.size(), 2u);
  EXPECT_EQ(row.samples[0].calls, 1);
  EXPECT_EQ(row.samples[1].calls, 4);
  EXPECT_THAT(row.samples[1].clocks, DoubleEq(100.5));
  EXPECT_EQ(row.figure, tool.funcClocks());
  EXPECT_EQ(row.statistics.count, 2);
  tool.reset();
  EXPECT_TRUE(tool.measurement().samples.empty());
}

}  // namespace
