// Between bands and code blocks: every level against the plain versions, the dead zone and its
// reconstruction by worked examples, and the way of a region of interest there and back.
#include "rkd/rkdjpeg_bands.h"
#include "reference.h"
#include "regionkit.h"

using namespace rkdkit;

namespace {

constexpr AnyValue kAny;
constexpr float kSteps[] = {1, .5F, 3.7F, 1.F / 2048, 0x1p-40F, 40000, 0x1p40F};

TEST(Bands, EveryLevelQuantisesAsTheReferenceDoes) {
  forEachLevel([] {
    for (const float step : kSteps) {
      SCOPED_TRACE(step);
      SAME_REGION(1, rkdiQuantFwd_JPEG2K_32f32s_C1R, kAny, step);
      SAME_REGION(1, rkdiQuantFwd_JPEG2K_32s_C1R, kAny, step);
      SAME_REGION(1, rkdiQuantFwd_JPEG2K_16s32s_C1R, kAny, step);
    }
  });
}

TEST(Bands, EveryLevelReconstructsAsTheReferenceDoes) {
  forEachLevel([] {
    for (const float step : kSteps) {
      for (const float bias : {0.F, .375F, .5F, 1.F}) {
        SCOPED_TRACE(testing::Message() << step << " bias " << bias);
        SAME_REGION(1, rkdiQuantInv_JPEG2K_32s32f_C1R, kAny, step, bias);
        SAME_REGION(1, rkdiQuantInv_JPEG2K_32s_C1R, kAny, step, bias);
        SAME_REGION(1, rkdiQuantInv_JPEG2K_32s16s_C1R, kAny, step, bias);
      }
    }
  });
}

TEST(Bands, EveryLevelConvertsAndShiftsAsTheReferenceDoes) {
  forEachLevel([] {
    SAME_REGION(1, rkdiBandFwd_JPEG2K_16s32s_C1R, kAny);
    for (const int fraction : {0, 1, 8}) {
      SAME_REGION(1, rkdiBandInv_JPEG2K_32s16s_C1R, kAny, fraction);
      SAME_REGION(1, rkdiBandInv_JPEG2K_32s_C1R, kAny, fraction);
    }
    for (const auto& [shift, fraction] : {std::pair{0, 0}, {1, 0}, {12, 1}, {29, 1}, {30, 0}}) {
      SAME_REGION(1, rkdiRegionInv_JPEG2K_32s_C1IR, kAny, shift, fraction);
    }
  });
}

template <class S, class D, class... P>
D one(RkdStatus (*function)(const S*, int, D*, int, RkdiSize, P...), S value,
      std::type_identity_t<P>... parameters) {
  D result{};
  EXPECT_EQ(0, function(&value, sizeof(S), &result, sizeof(D), {1, 1}, parameters...));
  return result;
}

TEST(Bands, TheIntervalAboutZeroIsTwiceAsWide) {
  const auto quantised = [](float c, float step) {
    return one(rkdiQuantFwd_JPEG2K_32f32s_C1R, c, step);
  };
  EXPECT_EQ(0, quantised(1.99F, 2));
  EXPECT_EQ(0, quantised(-1.99F, 2));
  EXPECT_EQ(1, quantised(2, 2));
  EXPECT_EQ(-1, quantised(-3.9F, 2));
  EXPECT_EQ(-2, quantised(-4, 2));
  EXPECT_EQ(INT32_MAX, quantised(3e9F, 1));
  EXPECT_EQ(-INT32_MAX, quantised(-3e9F, 1)) << "-2147483648 is no integer of a code block";
  EXPECT_EQ(-INT32_MAX, one(rkdiQuantFwd_JPEG2K_32s_C1R, INT32_MIN, 1.F));
  EXPECT_EQ(715827882, one(rkdiQuantFwd_JPEG2K_32s_C1R, INT32_MAX, 3.F)) << "exact to the last bit";
}

TEST(Bands, ReconstructionLiesWhereTheBiasSays) {
  const auto back = [](int32_t q, float step, float bias) {
    return one(rkdiQuantInv_JPEG2K_32s32f_C1R, q, step, bias);
  };
  EXPECT_EQ(0, back(0, 8, .5F));
  EXPECT_EQ(12, back(1, 8, .5F));
  EXPECT_EQ(-28, back(-3, 8, .5F));
  EXPECT_EQ(-27, back(-3, 8, .375F));
  EXPECT_EQ(24, back(3, 8, 0));
  EXPECT_EQ(2, one(rkdiQuantInv_JPEG2K_32s16s_C1R, 5, .5F, 0.F)) << "halves to even";
  EXPECT_EQ(32767, one(rkdiQuantInv_JPEG2K_32s16s_C1R, 40000, 1.F, 0.F));
  EXPECT_EQ(INT32_MIN, one(rkdiQuantInv_JPEG2K_32s_C1R, -INT32_MAX, 2.F, 0.F));
  EXPECT_EQ(-3, one(rkdiBandInv_JPEG2K_32s16s_C1R, -7, 1)) << "toward zero";
}

/// The shift of a mask, at every level; back again exactly, whatever the background.
TEST(Bands, ARegionOfInterestComesBack) {
  forEachLevel([] {
    Random random;
    forEachRegion([&](RkdiSize size, Place from, Place to) {
      const int shift = 11;
      Canvas<int32_t> before(size), got(size, 1, to), want(size);
      before.fillLimitsAndRandom(random, -2047, 2047);
      got.copyFrom(before);
      want.copyFrom(before);
      Canvas<uint8_t> mask(size, 1, from);
      mask.fill([&] { return random.bits() % 2 * random.bits(); });
      ASSERT_EQ(0, ref::rkdiRegionFwd_JPEG2K_32s_C1IR(want.data(), want.step(), mask.data(),
                                                      mask.step(), size, shift));
      ASSERT_EQ(0, rkdiRegionFwd_JPEG2K_32s_C1IR(got.data(), got.step(), mask.data(), mask.step(),
                                                 size, shift));
      ASSERT_TRUE(got.sameAs(want));
      ASSERT_EQ(0, rkdiRegionInv_JPEG2K_32s_C1IR(got.data(), got.step(), size, shift, 0));
      ASSERT_TRUE(got.sameAs(before));
      ASSERT_TRUE(got.marginIntact());
    });
  });
}

/// What was raised is at least 2^shift, what was not is less: no coefficient lies between.
TEST(Bands, TheSmallestOfARegionIsToldFromTheLargestBesideIt) {
  constexpr int kShift = 4, kFraction = 1;
  constexpr std::pair<int32_t, int32_t> kCases[] = {{31, 31},   {32, 2},   {33, 2},
                                                    {-31, -31}, {-32, -2}, {-33, -2}};
  forEachLevel([&] {
    for (const auto function :
         {rkdiRegionInv_JPEG2K_32s_C1IR, ref::rkdiRegionInv_JPEG2K_32s_C1IR}) {
      std::vector<int32_t> row, want;
      for (int i = 0; i < 67; ++i) {
        row.push_back(kCases[i % 6].first);
        want.push_back(kCases[i % 6].second);
      }
      ASSERT_EQ(0, function(row.data(), 4 * 67, {67, 1}, kShift, kFraction));
      EXPECT_EQ(want, row);
    }
  });
}

TEST(Bands, ParametersOutOfRangeAreRefused) {
  const float c = 1, nan = std::numeric_limits<float>::quiet_NaN();
  int32_t q = 7;
  const RkdiSize size = {1, 1};
  for (const float step : {0.F, -1.F, nan, INFINITY, 0x1p-41F, 0x1p41F}) {
    EXPECT_EQ(rkdStsBadArgErr, rkdiQuantFwd_JPEG2K_32f32s_C1R(&c, 4, &q, 4, size, step)) << step;
    EXPECT_EQ(rkdStsBadArgErr, rkdiQuantInv_JPEG2K_32s_C1R(&q, 4, &q, 4, size, step, 0)) << step;
  }
  for (const float bias : {-.1F, 1.1F, nan}) {
    EXPECT_EQ(rkdStsBadArgErr, rkdiQuantInv_JPEG2K_32s_C1R(&q, 4, &q, 4, size, 1, bias)) << bias;
  }
  for (const int fraction : {-1, 9}) {
    EXPECT_EQ(rkdStsBadArgErr, rkdiBandInv_JPEG2K_32s_C1R(&q, 4, &q, 4, size, fraction));
    EXPECT_EQ(rkdStsBadArgErr, rkdiRegionInv_JPEG2K_32s_C1IR(&q, 4, size, 3, fraction));
  }
  const uint8_t mask = 1;
  for (const int shift : {-1, 31, INT32_MAX}) {
    EXPECT_EQ(rkdStsBadArgErr, rkdiRegionFwd_JPEG2K_32s_C1IR(&q, 4, &mask, 1, size, shift));
    EXPECT_EQ(rkdStsBadArgErr, rkdiRegionInv_JPEG2K_32s_C1IR(&q, 4, size, shift, 0));
  }
  EXPECT_EQ(rkdStsBadArgErr, rkdiRegionInv_JPEG2K_32s_C1IR(&q, 4, size, 30, 1));
  EXPECT_EQ(7, q);
}

}  // namespace
