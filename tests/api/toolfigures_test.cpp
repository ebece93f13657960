// The timing tool's settings, figures and their texts.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <vector>

#include "capture.h"
#include "toolkit.h"
#include "tztool.h"

namespace {

using testing::ElementsAre;

TEST(ToolSettings, ClampAndShift) {
  tzTool tool;
  tool.setMethodBest(3, 10, 77);
  int from = 0, to = 0;
  long long clocks = 0;
  tool.getMethodBest(from, to, clocks);
  EXPECT_THAT((std::vector<long long>{from, to, clocks}), ElementsAre(3, 24, 77));
  tool.setMethodBest(-5, 3, 1);
  tool.getMethodBest(from, to, clocks);
  EXPECT_THAT((std::vector<long long>{from, to}), ElementsAre(1, 3));
  tool.setMethodBest(-1, -5, 1);
  tool.getMethodBest(from, to, clocks);
  EXPECT_THAT((std::vector<long long>{from, to}), ElementsAre(1, -5)) << "-8 is less";
  tool.setMethodLoop(0);
  EXPECT_EQ(loopCountOf(tool), 1);

  struct Shift {
    int factor, min, max;
  };
  for (const Shift& s :
       {Shift{1, 0, 1024}, Shift{-2, 4, 8192}, Shift{11, 0, 1}, Shift{12, 0, 0},
        Shift{-19, 1 << 19, 1 << 30}, Shift{-20, 1 << 20, INT_MAX}, Shift{-31, INT_MAX, INT_MAX},
        Shift{40, 0, 0}, Shift{INT_MAX, 0, 0}, Shift{INT_MIN, INT_MAX, INT_MAX}, Shift{0, 0, 0}}) {
    tool.setLoopFactor(s.factor);
    EXPECT_EQ(tool.autoMinLoops(), s.min) << s.factor;
    EXPECT_EQ(tool.autoMaxLoops(), s.max) << s.factor;
  }
}

TEST(ToolTexts, AccuraciesAndClocks) {
  EXPECT_EQ(tzTool::getAccuracyStr(0.05), "5.0%");
  EXPECT_EQ(tzTool::getAccuracyStr(0.00123), "0.12%");
  EXPECT_EQ(tzTool::getAccuracyStr(0.0099), "0.99%");
  EXPECT_EQ(tzTool::getAccuracyStr(0.01), "1.0%");
  EXPECT_EQ(tzTool::getAccuracyStr(0.00012), "0.01%");
  EXPECT_EQ(tzTool::clockStr(2147483647), "2147483647");
  EXPECT_EQ(tzTool::clockStr(2147483648), "2147483640");
  EXPECT_EQ(tzTool::clockStr(123456789012), "123456789000");
  EXPECT_EQ(tzTool::clockStr(-5), "-5");
  EXPECT_EQ(tzTool::clockStr(LLONG_MAX), "9223372030000000000");
}

TEST(ToolFigures, SpreadAndBest) {
  EXPECT_DOUBLE_EQ(tzTool::computeAccuracy(95, 105), 0.1);
  EXPECT_EQ(tzTool::computeAccuracy(0.0, 0.0), 1.0);
  const double samples[] = {90, 100, 140};
  double mean = 0;
  EXPECT_DOUBLE_EQ(tzTool::computeAccuracy(samples, 3, &mean), 30.0 / 110);
  EXPECT_DOUBLE_EQ(mean, 110);
  EXPECT_EQ(tzTool::computeAccuracy(samples, 0, &mean), 0);
  EXPECT_EQ(tzTool::computeBest(samples, 3), 90);
  EXPECT_EQ(tzTool::computeBest(samples + 1, 2), 100);
  EXPECT_EQ(tzTool::computeBest(samples + 2, 1), 140);
}

}  // namespace
