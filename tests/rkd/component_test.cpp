// Component transforms: every level against the plain versions, worked examples, saturation and
// wrap-around, and the exact way back of the reversible one.
#include "rkd/rkdcolor.h"
#include "reference.h"
#include "rkdkit.h"

using namespace rkdkit;

namespace {

constexpr RkdiSize kSizes[] = {sz(1, 1),  sz(3, 2),  sz(8, 3),  sz(15, 2),
                               sz(17, 2), sz(33, 3), sz(64, 2), sz(131, 2)};
constexpr Place kPlaces[] = {{0, 0}, {1, 5}, {32, 0}, {62, 16}};

/// The input range in which results are within the tolerance, and that tolerance.
struct Range {
  int low, high;
  double tolerance;
};
constexpr Range kAll16 = {-32768, 32767, 0};
constexpr Range kAll32 = {INT32_MIN, INT32_MAX, 0};
constexpr Range kIct16 = {-16384, 16383, 1};
constexpr Range kIct32 = {-(1 << 24), 1 << 24, 1};
constexpr Range kFloat = {-70000, 70000, 0.04};

template <class T>
using InPlace = RkdStatus (*)(T* const*, int, RkdiSize);
template <class T>
using Split = RkdStatus (*)(const T*, int, T* const*, int, RkdiSize);
template <class T>
using Join = RkdStatus (*)(const T* const*, int, T*, int, RkdiSize);

template <class T>
void expectSame(const char* name, Range range, InPlace<T> function, InPlace<T> reference) {
  SCOPED_TRACE(name);
  Random random;
  for (const RkdiSize size : kSizes) {
    for (const Place place : kPlaces) {
      CanvasPlanes<T, 3> got(size, place), want(size);
      got.fillLimitsAndRandom(random, range.low, range.high);
      for (int p = 0; p < 3; ++p) want[p].copyFrom(got[p]);
      ASSERT_EQ(rkdStsNoErr, reference(want.data(), want.step(), size));
      ASSERT_EQ(rkdStsNoErr, function(got.data(), got.step(), size));
      ASSERT_TRUE(got.sameAs(want, range.tolerance)) << size << " alignment " << place.offset;
      ASSERT_TRUE(got.marginIntact()) << size << " alignment " << place.offset;
    }
  }
}

template <class T>
void expectSame(const char* name, Range range, Split<T> function, Split<T> reference) {
  SCOPED_TRACE(name);
  Random random;
  for (const RkdiSize size : kSizes) {
    for (const Place place : kPlaces) {
      Canvas<T> src(size, 3, place);
      src.fillLimitsAndRandom(random, range.low, range.high);
      CanvasPlanes<T, 3> got(size, {63 - place.offset, 3}), want(size);
      ASSERT_EQ(rkdStsNoErr, reference(src.data(), src.step(), want.data(), want.step(), size));
      ASSERT_EQ(rkdStsNoErr, function(src.data(), src.step(), got.data(), got.step(), size));
      ASSERT_TRUE(got.sameAs(want, range.tolerance)) << size << " alignment " << place.offset;
      ASSERT_TRUE(got.marginIntact()) << size << " alignment " << place.offset;
    }
  }
}

template <class T>
void expectSame(const char* name, Range range, Join<T> function, Join<T> reference) {
  SCOPED_TRACE(name);
  Random random;
  for (const RkdiSize size : kSizes) {
    for (const Place place : kPlaces) {
      CanvasPlanes<T, 3> src(size, place);
      src.fillLimitsAndRandom(random, range.low, range.high);
      Canvas<T> got(size, 3, {63 - place.offset, 3}), want(size, 3);
      ASSERT_EQ(rkdStsNoErr,
                reference(src.constData(), src.step(), want.data(), want.step(), size));
      ASSERT_EQ(rkdStsNoErr, function(src.constData(), src.step(), got.data(), got.step(), size));
      ASSERT_TRUE(got.sameAs(want, range.tolerance)) << size << " alignment " << place.offset;
      ASSERT_TRUE(got.marginIntact()) << size << " alignment " << place.offset;
    }
  }
}

#define EQUALS_REFERENCE(T, range, name) expectSame<T>(#name, range, name, ref::name)

TEST(Component, EveryLevelEqualsTheReference) {
  forEachLevel([] {
    EQUALS_REFERENCE(float, kFloat, rkdiICTFwd_JPEG2K_32f_C3P3R);
    EQUALS_REFERENCE(float, kFloat, rkdiICTInv_JPEG2K_32f_P3C3R);
    EQUALS_REFERENCE(float, kFloat, rkdiICTFwd_JPEG2K_32f_P3IR);
    EQUALS_REFERENCE(float, kFloat, rkdiICTInv_JPEG2K_32f_P3IR);
    EQUALS_REFERENCE(int16_t, kIct16, rkdiICTFwd_JPEG2K_16s_P3IR);
    EQUALS_REFERENCE(int16_t, kIct16, rkdiICTInv_JPEG2K_16s_P3IR);
    EQUALS_REFERENCE(int32_t, kIct32, rkdiICTFwd_JPEG2K_32s_P3IR);
    EQUALS_REFERENCE(int32_t, kIct32, rkdiICTInv_JPEG2K_32s_P3IR);
    EQUALS_REFERENCE(int16_t, kAll16, rkdiRCTFwd_JPEG2K_16s_P3IR);
    EQUALS_REFERENCE(int16_t, kAll16, rkdiRCTInv_JPEG2K_16s_P3IR);
    EQUALS_REFERENCE(int32_t, kAll32, rkdiRCTFwd_JPEG2K_32s_P3IR);
    EQUALS_REFERENCE(int32_t, kAll32, rkdiRCTInv_JPEG2K_32s_P3IR);
    EQUALS_REFERENCE(int16_t, kAll16, rkdiRCTFwd_JPEG2K_16s_C3P3R);
    EQUALS_REFERENCE(int16_t, kAll16, rkdiRCTInv_JPEG2K_16s_P3C3R);
    EQUALS_REFERENCE(int32_t, kAll32, rkdiRCTFwd_JPEG2K_32s_C3P3R);
    EQUALS_REFERENCE(int32_t, kAll32, rkdiRCTInv_JPEG2K_32s_P3C3R);
  });
}

/// Results may be one off, but not all to the same side.
template <class T>
void expectNoBias(Range range, InPlace<T> function, InPlace<T> reference) {
  const RkdiSize size = sz(128, 128);
  Random random;
  CanvasPlanes<T, 3> got(size), want(size);
  for (int p = 0; p < 3; ++p) {
    got[p].fill([&] { return random.between(range.low / 4, range.high / 4); });
    want[p].copyFrom(got[p]);
  }
  ASSERT_EQ(rkdStsNoErr, function(got.data(), got.step(), size));
  ASSERT_EQ(rkdStsNoErr, reference(want.data(), want.step(), size));
  for (int p = 0; p < 3; ++p) {
    double sum = 0;
    for (int y = 0; y < size.height; ++y) {
      for (int x = 0; x < size.width; ++x) sum += double(got[p].at(x, y)) - want[p].at(x, y);
    }
    EXPECT_LT(std::abs(sum) / (size.width * size.height), 0.02) << "plane " << p;
  }
}

TEST(Component, IrreversibleIntegersAreRoundedToNearest) {
  forEachLevel([] {
    expectNoBias<int16_t>(kIct16, rkdiICTFwd_JPEG2K_16s_P3IR, ref::rkdiICTFwd_JPEG2K_16s_P3IR);
    expectNoBias<int16_t>(kIct16, rkdiICTInv_JPEG2K_16s_P3IR, ref::rkdiICTInv_JPEG2K_16s_P3IR);
    expectNoBias<int32_t>(kIct32, rkdiICTFwd_JPEG2K_32s_P3IR, ref::rkdiICTFwd_JPEG2K_32s_P3IR);
    expectNoBias<int32_t>(kIct32, rkdiICTInv_JPEG2K_32s_P3IR, ref::rkdiICTInv_JPEG2K_32s_P3IR);
  });
}

/// Also where the result is not promised to be near the exact one.
template <class T>
void expectSameBitsAtAllLevels(InPlace<T> function) {
  const RkdiSize size = sz(203, 5);
  CanvasPlanes<T, 3> lowest(size);
  bool first = true;
  forEachLevel([&] {
    Random random;
    CanvasPlanes<T, 3> got(size);
    got.fillLimitsAndRandom(random);
    ASSERT_EQ(rkdStsNoErr, function(got.data(), got.step(), size));
    if (first) {
      for (int p = 0; p < 3; ++p) lowest[p].copyFrom(got[p]);
    }
    first = false;
    EXPECT_TRUE(got.sameAs(lowest));
  });
}

TEST(Component, IntegerResultsAreTheSameAtAllLevelsForAllInput) {
  expectSameBitsAtAllLevels<int16_t>(rkdiICTFwd_JPEG2K_16s_P3IR);
  expectSameBitsAtAllLevels<int16_t>(rkdiICTInv_JPEG2K_16s_P3IR);
  expectSameBitsAtAllLevels<int32_t>(rkdiICTFwd_JPEG2K_32s_P3IR);
  expectSameBitsAtAllLevels<int32_t>(rkdiICTInv_JPEG2K_32s_P3IR);
}

template <class T>
std::array<T, 3> one(InPlace<T> function, std::array<T, 3> in) {
  T* const planes[3] = {&in[0], &in[1], &in[2]};
  EXPECT_EQ(rkdStsNoErr, function(planes, sizeof(T), {1, 1}));
  return in;
}
using Int3 = std::array<int32_t, 3>;

TEST(Component, WorkedExamples) {
  const struct {
    Int3 rgb, ycc;
  } reversible[] = {{{255, 255, 255}, {255, 0, 0}},
                    {{255, 0, 0}, {63, 0, 255}},
                    {{0, 255, 0}, {127, -255, -255}},
                    {{1, 2, 4}, {2, 2, -1}},
                    {{-128, 127, -128}, {-1, -255, -255}},
                    {{127, -128, 127}, {-1, 255, 255}},
                    {{-68, -107, -29}, {-78, 78, 39}},
                    {{119, -41, 63}, {25, 104, 160}},
                    {{-32768, 32767, -32768}, {-1, -65535, -65535}}};
  const struct {
    std::array<float, 3> rgb, ycc;
  } irreversible[] = {{{255, 0, 0}, {76.245F, -43.02768F, 127.5F}},
                      {{0, 255, 0}, {149.685F, -84.47232F, -106.76544F}},
                      {{0, 0, 255}, {29.07F, 127.5F, -20.73456F}},
                      {{17, -14, 72}, {5.073F, 37.769184F, 8.507168F}}};
  forEachLevel([&] {
    for (const auto& c : reversible) {
      EXPECT_EQ(c.ycc, one<int32_t>(rkdiRCTFwd_JPEG2K_32s_P3IR, c.rgb));
      EXPECT_EQ(c.rgb, one<int32_t>(rkdiRCTInv_JPEG2K_32s_P3IR, c.ycc));
    }
    for (const auto& c : irreversible) {
      const auto ycc = one<float>(rkdiICTFwd_JPEG2K_32f_P3IR, c.rgb);
      const auto rgb = one<float>(rkdiICTInv_JPEG2K_32f_P3IR, c.ycc);
      for (int i = 0; i < 3; ++i) {
        EXPECT_NEAR(c.ycc[i], ycc[i], 0.01);
        EXPECT_NEAR(c.rgb[i], rgb[i], 0.01);
      }
    }
    for (const int16_t limit : {int16_t{32767}, int16_t{-32768}}) {
      const auto rgb = one<int16_t>(rkdiICTInv_JPEG2K_16s_P3IR, {limit, limit, limit});
      EXPECT_EQ(limit, rgb[0]) << "saturates";
      EXPECT_EQ(limit, rgb[2]) << "saturates";
    }
  });
}

TEST(Component, TheReversibleTransformComesBack) {
  const RkdiSize size = sz(77, 9);
  forEachLevel([&] {
    Random random;
    Canvas<int16_t> src(size, 3), back(size, 3);
    src.fillLimitsAndRandom(random, -16384, 16383);
    CanvasPlanes<int16_t, 3> ycc(size);
    ASSERT_EQ(rkdStsNoErr,
              rkdiRCTFwd_JPEG2K_16s_C3P3R(src.data(), src.step(), ycc.data(), ycc.step(), size));
    ASSERT_EQ(rkdStsNoErr, rkdiRCTInv_JPEG2K_16s_P3C3R(ycc.constData(), ycc.step(), back.data(),
                                                       back.step(), size));
    EXPECT_TRUE(back.sameAs(src));
  });
}

}  // namespace
