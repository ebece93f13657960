// Component transforms: every level against the plain versions, the irreversible one against exact
// arithmetic, worked examples, saturation and wrap-around, and the exact way back of the reversible
// one.
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
    EQUALS_REFERENCE(int16_t, kAll16, rkdiICTFwd_JPEG2K_16s_P3IR);
    EQUALS_REFERENCE(int16_t, kAll16, rkdiICTInv_JPEG2K_16s_P3IR);
    EQUALS_REFERENCE(int32_t, kAll32, rkdiICTFwd_JPEG2K_32s_P3IR);
    EQUALS_REFERENCE(int32_t, kAll32, rkdiICTInv_JPEG2K_32s_P3IR);
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

using Weights = std::array<std::array<double, 3>, 3>;
constexpr Weights kForward = {{{.299, .587, .114}, {-.16875, -.33126, .5}, {.5, -.41869, -.08131}}};
constexpr Weights kInverse = {{{1, 0, 1.402}, {1, -.34413, -.71414}, {1, 1.772, 0}}};

/// Half of the pixels from the whole range, half within 1/64 of its corners, where rounded weights
/// weigh most; every 16th has three equal samples.
template <class T>
void fillWithCorners(CanvasPlanes<T, 3>& planes, RkdiSize size, T low, T high) {
  Random random;
  const int rim = (high - low) / 64;
  const auto sample = [&](bool corner) {
    if (!corner) return random.between(low, high);
    return random.bits() % 2 == 0 ? random.between(low, low + rim)
                                  : random.between(high - rim, high);
  };
  for (int y = 0; y < size.height; ++y) {
    for (int x = 0; x < size.width; ++x) {
      const bool corner = x % 2 == 0, equal = x % 16 == 15;
      for (int p = 0; p < 3; ++p) {
        const T value = equal && p > 0 ? planes[0].at(x, y) : static_cast<T>(sample(corner));
        planes[p].set(x, y, value);
      }
    }
  }
}

/// No result is more than 1 off, and they are not all off to the same side.
template <class T>
void expectNearExact(InPlace<T> function, const Weights& weights, T low, T high) {
  const RkdiSize size = sz(1024, 256);
  CanvasPlanes<T, 3> in(size), got(size);
  fillWithCorners(in, size, low, high);
  for (int p = 0; p < 3; ++p) got[p].copyFrom(in[p]);
  ASSERT_EQ(rkdStsNoErr, function(got.data(), got.step(), size));
  for (int p = 0; p < 3; ++p) {
    const auto& w = weights[size_t(p)];
    const auto exactAt = [&](int x, int y) {
      return w[0] * in[0].at(x, y) + w[1] * in[1].at(x, y) + w[2] * in[2].at(x, y);
    };
    double sum = 0, worst = 0;
    for (int y = 0; y < size.height; ++y) {
      for (int x = 0; x < size.width; ++x) {
        const double limit = sizeof(T) == 2 ? 32767 : 2147483647;
        const double off = got[p].at(x, y) - std::clamp(exactAt(x, y), -limit - 1, limit);
        sum += off;
        worst = std::max(worst, std::abs(off));
      }
    }
    EXPECT_LE(worst, 1) << "plane " << p;
    EXPECT_LT(std::abs(sum) / (size.width * size.height), 0.02) << "plane " << p;
  }
}

TEST(Component, IrreversibleIntegersAreWithinOneOfTheExactResult) {
  forEachLevel([] {
    expectNearExact<int16_t>(rkdiICTFwd_JPEG2K_16s_P3IR, kForward, -16384, 16383);
    expectNearExact<int16_t>(rkdiICTInv_JPEG2K_16s_P3IR, kInverse, -16384, 16383);
    expectNearExact<int32_t>(rkdiICTFwd_JPEG2K_32s_P3IR, kForward, -(1 << 24), 1 << 24);
    expectNearExact<int32_t>(rkdiICTInv_JPEG2K_32s_P3IR, kInverse, -(1 << 24), 1 << 24);
  });
}

TEST(Component, GreyKeepsItsValueInTheStatedRange) {
  const RkdiSize size = sz(32768, 1);
  forEachLevel([&] {
    CanvasPlanes<int16_t, 3> planes(size);
    for (int x = 0; x < size.width; ++x) {
      for (int p = 0; p < 3; ++p) planes[p].set(x, 0, static_cast<int16_t>(x - 16384));
    }
    ASSERT_EQ(rkdStsNoErr, rkdiICTFwd_JPEG2K_16s_P3IR(planes.data(), planes.step(), size));
    for (int x = 0; x < size.width; ++x) ASSERT_EQ(x - 16384, planes[0].at(x, 0));
  });
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
  });
}

using Short3 = std::array<int16_t, 3>;

// Exact results: -7074.19 in the first case; beside the ends of 16 bits, just within and just
// beyond, on both sides.
TEST(Component, IrreversibleResultsAtTheEndsOfSixteenBits) {
  const struct {
    Short3 ycc, rgb;
  } cases[] = {{{10245, 16346, 16375}, {32767, -7074, 32767}},
               {{32766, 0, 0}, {32766, 32766, 32766}},
               {{32766, 1, 1}, {32767, 32765, 32767}},
               {{32767, -1, -1}, {32766, 32767, 32765}},
               {{-32768, -1, -1}, {-32768, -32767, -32768}},
               {{-32767, 1, 1}, {-32766, -32768, -32765}},
               {{32767, 32767, 32767}, {32767, -1909, 32767}},
               {{-32768, -32768, -32768}, {-32768, 1909, -32768}},
               {{32767, -32768, -32768}, {-13174, 32767, -25298}},
               {{-32768, 32767, 32767}, {13172, -32768, 25295}}};
  forEachLevel([&] {
    for (const auto& c : cases) {
      EXPECT_EQ(c.rgb, one<int16_t>(rkdiICTInv_JPEG2K_16s_P3IR, c.ycc))
          << c.ycc[0] << ' ' << c.ycc[1] << ' ' << c.ycc[2];
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
