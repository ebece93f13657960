// Wavelets: every level against the plain versions on all small lengths and some that go through in
// several stretches, worked examples, the exact way back of 5/3, and the bounds of fixed-point 9/7.
#include "rkd/rkdjpeg_wavelet.h"
#include "reference.h"
#include "rkdkit.h"
#include "wavelet_vectors.h"

using namespace rkdkit;

namespace {

constexpr int kPhases[] = {rkdWTFirstLow, rkdWTFirstHigh};
int lows(int n, int phase) { return (n + 1 - phase) / 2; }

/// Values to draw from, and how far results may be from the plain version's.
struct Range {
  int low, high;
  double tolerance;
};
template <class T>
constexpr Range kRange = {std::numeric_limits<T>::min(), std::numeric_limits<T>::max(), 0};
template <>
constexpr Range kRange<float> = {-255, 255, 255.0 / (1 << 20)};

template <class T>
using Forward = RkdStatus (*)(const T*, int, T*, int, T*, int, RkdiSize, int);
template <class T>
using Inverse = RkdStatus (*)(const T*, int, const T*, int, T*, int, RkdiSize, int);

/// The two bands of an image, with a step of its own each; of a band without samples one that must
/// not be touched.
template <class T>
struct BandPair {
  RkdiSize lowSize, highSize;
  Canvas<T> low, high;
  BandPair(RkdiSize size, int phase, bool byRows, Place place = {})
      : lowSize(half(size, byRows, lows(byRows ? size.width : size.height, phase))),
        highSize(half(
            size, byRows,
            (byRows ? size.width : size.height) - lows(byRows ? size.width : size.height, phase))),
        low(atLeastOne(lowSize), 1, place),
        high(atLeastOne(highSize), 1, {place.offset ^ 9, place.padding + 2}) {}
  static RkdiSize half(RkdiSize size, bool byRows, int count) {
    return byRows ? sz(count, size.height) : sz(size.width, count);
  }
  static RkdiSize atLeastOne(RkdiSize size) {
    return {std::max(size.width, 1), std::max(size.height, 1)};
  }
  testing::AssertionResult sameAs(const BandPair& want, double tolerance) const {
    if (auto result = low.sameAs(want.low, tolerance); !result) return result << " (low)";
    if (auto result = high.sameAs(want.high, tolerance); !result) return result << " (high)";
    if (auto result = low.marginIntact(); !result) return result << " (low)";
    return high.marginIntact();
  }
};

template <class T>
void expectForward(const char* name, Forward<T> function, Forward<T> reference, RkdiSize size,
                   int phase, bool byRows, Random& random) {
  const Place place = {static_cast<int>(random.bits() % 64), static_cast<int>(random.bits() % 9)};
  Canvas<T> src(size, 1, place);
  src.fillLimitsAndRandom(random, kRange<T>.low, kRange<T>.high);
  BandPair<T> got(size, phase, byRows, {place.offset ^ 5, place.padding + 1});
  BandPair<T> want(size, phase, byRows);
  ASSERT_EQ(0, reference(src.data(), src.step(), want.low.data(), want.low.step(), want.high.data(),
                         want.high.step(), size, phase));
  ASSERT_EQ(0, function(src.data(), src.step(), got.low.data(), got.low.step(), got.high.data(),
                        got.high.step(), size, phase));
  ASSERT_TRUE(got.sameAs(want, kRange<T>.tolerance)) << name << ' ' << size << " phase " << phase;
}

template <class T>
void expectInverse(const char* name, Inverse<T> function, Inverse<T> reference, RkdiSize size,
                   int phase, bool byRows, Random& random) {
  const Place place = {static_cast<int>(random.bits() % 64), static_cast<int>(random.bits() % 9)};
  BandPair<T> src(size, phase, byRows, place);
  src.low.fillLimitsAndRandom(random, kRange<T>.low, kRange<T>.high);
  src.high.fillLimitsAndRandom(random, kRange<T>.low, kRange<T>.high);
  Canvas<T> got(size, 1, {place.offset ^ 5, place.padding + 5}), want(size);
  ASSERT_EQ(0, reference(src.low.data(), src.low.step(), src.high.data(), src.high.step(),
                         want.data(), want.step(), size, phase));
  ASSERT_EQ(0, function(src.low.data(), src.low.step(), src.high.data(), src.high.step(),
                        got.data(), got.step(), size, phase));
  ASSERT_TRUE(got.sameAs(want, kRange<T>.tolerance)) << name << ' ' << size << " phase " << phase;
  ASSERT_TRUE(got.marginIntact()) << name << ' ' << size << " phase " << phase;
}

/// Lengths 1 to 70, a few around four vectors of 64 bytes, and around the length of a stretch.
std::vector<int> lengths() {
  std::vector<int> all;
  for (int n = 1; n <= 70; ++n) all.push_back(n);
  for (const int n : {95, 96, 97, 126, 127, 128, 129, 130, 131, 193}) all.push_back(n);
  for (const int n : {2047, 2048, 2049, 2051, 4101}) all.push_back(n);
  return all;
}

template <class T>
void expectRows(const char* name, Forward<T> forward, Forward<T> plainForward, Inverse<T> inverse,
                Inverse<T> plainInverse) {
  Random random;
  for (const int n : lengths()) {
    for (const int phase : kPhases) {
      expectForward(name, forward, plainForward, sz(n, 2), phase, true, random);
      expectInverse(name, inverse, plainInverse, sz(n, 2), phase, true, random);
      if (testing::Test::HasFatalFailure()) return;
    }
  }
}

template <class T>
void expectColumns(const char* name, Forward<T> forward, Forward<T> plainForward,
                   Inverse<T> inverse, Inverse<T> plainInverse) {
  Random random;
  for (int n = 1; n <= 70; ++n) {
    for (const int phase : kPhases) {
      const RkdiSize size = sz(n % 10 == 5 ? 1030 : 1 + n % 37, n);
      expectForward(name, forward, plainForward, size, phase, false, random);
      expectInverse(name, inverse, plainInverse, size, phase, false, random);
      if (testing::Test::HasFatalFailure()) return;
    }
  }
}

#define BOTH(check, kind)                                                                \
  check(#kind, rkdiWTFwd##kind##_C1R, ref::rkdiWTFwd##kind##_C1R, rkdiWTInv##kind##_C1R, \
        ref::rkdiWTInv##kind##_C1R)

TEST(Wavelet, RowsEqualTheReferenceAtEveryLevel) {
  forEachLevel([] {
    BOTH(expectRows, Row_B53_JPEG2K_16s);
    BOTH(expectRows, Row_B53_JPEG2K_32s);
    BOTH(expectRows, Row_D97_JPEG2K_16s);
    BOTH(expectRows, Row_D97_JPEG2K_32s);
    BOTH(expectRows, Row_D97_JPEG2K_32f);
  });
}

TEST(Wavelet, ColumnsEqualTheReferenceAtEveryLevel) {
  forEachLevel([] {
    BOTH(expectColumns, Col_B53_JPEG2K_16s);
    BOTH(expectColumns, Col_B53_JPEG2K_32s);
    BOTH(expectColumns, Col_D97_JPEG2K_16s);
    BOTH(expectColumns, Col_D97_JPEG2K_32s);
    BOTH(expectColumns, Col_D97_JPEG2K_32f);
  });
}

template <class T>
using TileFunction = RkdStatus (*)(const T*, int, T*, int, RkdiSize, int, int, void*);
template <class T>
using InPlaceFunction = RkdStatus (*)(T*, int, RkdiSize, int, int, void*);

template <class T>
constexpr RkdDataType kTypeOf = rkd32s;
template <>
constexpr RkdDataType kTypeOf<int16_t> = rkd16s;
template <>
constexpr RkdDataType kTypeOf<float> = rkd32f;

template <class T>
std::vector<uint8_t> bufferFor(RkdiSize size) {
  int bytes = 0;
  EXPECT_EQ(0, rkdiWTGetBufSize_JPEG2K(size, kTypeOf<T>, &bytes));
  return std::vector<uint8_t>(static_cast<size_t>(bytes));
}

template <class T>
void expectTile(const char* name, TileFunction<T> function, InPlaceFunction<T> inPlace,
                TileFunction<T> reference) {
  constexpr double kTolerance =
      4 * kRange<T>.tolerance;  // the second direction amplifies the first
  Random random;
  for (const RkdiSize size :
       {sz(1, 1), sz(1, 2), sz(2, 1), sz(5, 1), sz(1, 9), sz(2, 2), sz(3, 5), sz(8, 4), sz(17, 6),
        sz(33, 7), sz(64, 16), sz(70, 33), sz(1031, 9), sz(40, 3)}) {
    for (int phases = 0; phases < 4; ++phases) {
      const int phaseX = phases % 2, phaseY = phases / 2;
      const Place place = {static_cast<int>(random.bits() % 64), 6};
      Canvas<T> src(size, 1, place), got(size, 1, {place.offset ^ 5, 10}), want(size);
      src.fillLimitsAndRandom(random, kRange<T>.low, kRange<T>.high);
      auto buffer = bufferFor<T>(size);
      ASSERT_EQ(0, reference(src.data(), src.step(), want.data(), want.step(), size, phaseX, phaseY,
                             nullptr));
      ASSERT_EQ(0, function(src.data(), src.step(), got.data(), got.step(), size, phaseX, phaseY,
                            buffer.data()));
      ASSERT_TRUE(got.sameAs(want, kTolerance)) << name << ' ' << size << " phases " << phases;
      ASSERT_TRUE(got.marginIntact()) << name << ' ' << size << " phases " << phases;
      ASSERT_EQ(0, inPlace(src.data(), src.step(), size, phaseX, phaseY, buffer.data()));
      ASSERT_TRUE(src.sameAs(want, kTolerance))
          << name << " in place " << size << " phases " << phases;
      ASSERT_TRUE(src.marginIntact()) << name << " in place " << size << " phases " << phases;
    }
  }
}

#define TILE(kind) \
  expectTile(#kind, rkdiWT##kind##_C1R, rkdiWT##kind##_C1IR, ref::rkdiWT##kind##_C1R)

TEST(Wavelet, TilesEqualTheReferenceAtEveryLevel) {
  forEachLevel([] {
    TILE(Fwd_B53_JPEG2K_16s);
    TILE(Inv_B53_JPEG2K_16s);
    TILE(Fwd_B53_JPEG2K_32s);
    TILE(Inv_B53_JPEG2K_32s);
    TILE(Fwd_D97_JPEG2K_16s);
    TILE(Inv_D97_JPEG2K_16s);
    TILE(Fwd_D97_JPEG2K_32s);
    TILE(Inv_D97_JPEG2K_32s);
    TILE(Fwd_D97_JPEG2K_32f);
    TILE(Inv_D97_JPEG2K_32f);
  });
}

/// Down the columns step by step, the first calls with mirrored rows, against the plain transform
/// of whole columns.
template <class T, class ForwardStep, class InverseStep>
void expectSteps53(ForwardStep forward, InverseStep inverse, Forward<T> columns) {
  const RkdiSize size = sz(37, 12);
  Random random;
  Canvas<T> src(size), got(size);
  src.fillLimitsAndRandom(random);
  BandPair<T> want(size, rkdWTFirstLow, false);
  ASSERT_EQ(0, columns(src.data(), src.step(), want.low.data(), want.low.step(), want.high.data(),
                       want.high.step(), size, rkdWTFirstLow));
  const int w = size.width;
  const auto rowOf = [](auto& canvas, int y) { return canvas.data() + y * canvas.perRow(); };
  const auto mirrored = [&](int y) { return y < 0 ? -y : y > 11 ? 22 - y : y; };
  Canvas<T> low(want.lowSize), high(want.highSize), before(sz(w, 1)), dropped(sz(w, 1));
  ASSERT_EQ(0, forward(rowOf(src, 2), rowOf(src, 1), rowOf(src, 0), rowOf(src, 0), dropped.data(),
                       before.data(), w));
  for (int n = 0; n < 6; ++n) {
    ASSERT_EQ(
        0, forward(rowOf(src, 2 * n), rowOf(src, 2 * n + 1), rowOf(src, mirrored(2 * n + 2)),
                   n == 0 ? before.data() : rowOf(high, n - 1), rowOf(low, n), rowOf(high, n), w));
  }
  EXPECT_TRUE(low.sameAs(want.low));
  EXPECT_TRUE(high.sameAs(want.high));
  for (int n = 0; n <= 6; ++n) {  // the last one for row 11, with the mirrored low row
    ASSERT_EQ(0, inverse(rowOf(low, std::min(n, 5)), rowOf(high, std::max(n - 1, 0)),
                         rowOf(high, n < 6 ? n : 4), n == 0 ? before.data() : rowOf(got, 2 * n - 2),
                         n == 0 ? dropped.data() : rowOf(got, 2 * n - 1),
                         n < 6 ? rowOf(got, 2 * n) : before.data(), w));
  }
  // Row 12 is the mirrored row 10, which the last call above did not have: once more by hand.
  for (int x = 0; x < w; ++x) {
    const int64_t even = got.at(x, 10);
    got.set(x, 11, static_cast<T>(high.at(x, 5) + ((even + even) >> 1)));
  }
  EXPECT_TRUE(got.sameAs(src));
}

TEST(Wavelet, ColumnStepsOf53MakeTheTransformOfColumns) {
  forEachLevel([] {
    expectSteps53<int16_t>(rkdiWTFwdColLift_B53_JPEG2K_16s_C1, rkdiWTInvColLift_B53_JPEG2K_16s_C1,
                           ref::rkdiWTFwdCol_B53_JPEG2K_16s_C1R);
    expectSteps53<int32_t>(rkdiWTFwdColLift_B53_JPEG2K_32s_C1, rkdiWTInvColLift_B53_JPEG2K_32s_C1,
                           ref::rkdiWTFwdCol_B53_JPEG2K_32s_C1R);
  });
}

TEST(Wavelet, ColumnStepsOf97MakeTheTransformOfColumns) {
  const RkdiSize size = sz(37, 12);
  forEachLevel([&] {
    Random random;
    Canvas<float> src(size), got(size), low(sz(37, 6)), high(sz(37, 6)), dropped(sz(37, 1));
    src.fillLimitsAndRandom(random, -255, 255);
    BandPair<float> want(size, rkdWTFirstLow, false);
    ASSERT_EQ(0, ref::rkdiWTFwdCol_D97_JPEG2K_32f_C1R(src.data(), src.step(), want.low.data(),
                                                      want.low.step(), want.high.data(),
                                                      want.high.step(), size, rkdWTFirstLow));
    const auto rowOf = [](auto& canvas, int y) { return canvas.data() + y * 37; };
    const auto mirrored = [](int y, int last) { return y < 0 ? -y : y > last ? 2 * last - y : y; };
    CanvasPlanes<float, 4> state(sz(37, 1));
    state.fillLimitsAndRandom(random, 0, 0);
    state[0].copyFrom([&] {
      Canvas<float> row(sz(37, 1));
      for (int x = 0; x < 37; ++x) row.set(x, 0, src.at(x, 4));
      return row;
    }());
    for (int n = -2; n <= 6; ++n) {  // rows 2n + 1 and 2n + 2 in, bands n - 1 out
      const bool wanted = n >= 1;
      ASSERT_EQ(0, rkdiWTFwdColLift_D97_JPEG2K_32f_C1(
                       rowOf(src, mirrored(2 * n + 1, 11)), rowOf(src, mirrored(2 * n + 2, 11)),
                       state.data(), wanted ? rowOf(low, n - 1) : dropped.data(),
                       wanted ? rowOf(high, n - 1) : dropped.data(), 37));
    }
    EXPECT_TRUE(low.sameAs(want.low, 0.001));
    EXPECT_TRUE(high.sameAs(want.high, 0.001));
    // Back: band rows mirrored by coordinate; rows 2n - 3 and 2n - 2 out.
    state.fillLimitsAndRandom(random, 0, 0);
    Canvas<float> odd(sz(37, 1)), even(sz(37, 1));
    for (int n = -2; n <= 7; ++n) {
      ASSERT_EQ(0, rkdiWTInvColLift_D97_JPEG2K_32f_C1(rowOf(low, mirrored(2 * n, 11) / 2),
                                                      rowOf(high, mirrored(2 * n + 1, 11) / 2),
                                                      state.data(), odd.data(), even.data(), 37));
      for (int x = 0; x < 37; ++x) {
        if (2 * n - 3 >= 0 && 2 * n - 3 < 12) got.set(x, 2 * n - 3, odd.at(x, 0));
        if (2 * n - 2 >= 0 && 2 * n - 2 < 12) got.set(x, 2 * n - 2, even.at(x, 0));
      }
    }
    EXPECT_TRUE(got.sameAs(src, 0.002));
  });
}

/// Single steps on arbitrary rows; the state is compared, too.
template <class T, class Step>
void expectStep97(const char* name, Step function, Step reference) {
  Random random;
  for (const int width : {1, 7, 16, 33, 70}) {
    const RkdiSize size = sz(width, 1);
    CanvasPlanes<T, 4> state(size, {1, 0}), plainState(size);
    state.fillLimitsAndRandom(random, kRange<T>.low, kRange<T>.high);
    Canvas<T> a(size), b(size), c(size), d(size), wantC(size), wantD(size);
    a.fillLimitsAndRandom(random, kRange<T>.low, kRange<T>.high);
    b.fillLimitsAndRandom(random, kRange<T>.low, kRange<T>.high);
    for (int p = 0; p < 4; ++p) plainState[p].copyFrom(state[p]);
    ASSERT_EQ(0,
              reference(a.data(), b.data(), plainState.data(), wantC.data(), wantD.data(), width));
    ASSERT_EQ(0, function(a.data(), b.data(), state.data(), c.data(), d.data(), width));
    const double tolerance = 4 * kRange<T>.tolerance;
    EXPECT_TRUE(c.sameAs(wantC, tolerance)) << name << ' ' << width;
    EXPECT_TRUE(d.sameAs(wantD, tolerance)) << name << ' ' << width;
    EXPECT_TRUE(state.sameAs(plainState, tolerance)) << name << ' ' << width;
    EXPECT_TRUE(c.marginIntact() && d.marginIntact() && state.marginIntact()) << name;
  }
}

#define STEP97(T, kind) expectStep97<T>(#kind, rkdiWT##kind##_C1, ref::rkdiWT##kind##_C1)

TEST(Wavelet, StepsOf97EqualTheReferenceAtEveryLevel) {
  forEachLevel([] {
    STEP97(int16_t, FwdColLift_D97_JPEG2K_16s);
    STEP97(int16_t, InvColLift_D97_JPEG2K_16s);
    STEP97(int32_t, FwdColLift_D97_JPEG2K_32s);
    STEP97(int32_t, InvColLift_D97_JPEG2K_32s);
    STEP97(float, FwdColLift_D97_JPEG2K_32f);
    STEP97(float, InvColLift_D97_JPEG2K_32f);
  });
}

std::vector<int32_t> rowOf53(std::vector<int32_t> x, int phase) {
  const int n = static_cast<int>(x.size());
  std::vector<int32_t> out(n);
  EXPECT_EQ(0, rkdiWTFwdRow_B53_JPEG2K_32s_C1R(x.data(), 4 * n, out.data(), 4 * n,
                                               out.data() + lows(n, phase), 4 * n, {n, 1}, phase));
  return out;
}
using Ints = std::vector<int32_t>;

TEST(Wavelet, WorkedExamples) {
  forEachLevel([] {
    EXPECT_EQ(Ints{-51}, rowOf53({-51}, rkdWTFirstLow));
    EXPECT_EQ(Ints{-238}, rowOf53({-119}, rkdWTFirstHigh));
    EXPECT_EQ((Ints{110, -32}), rowOf53({126, 94}, rkdWTFirstLow));
    EXPECT_EQ((Ints{52, 92}), rowOf53({98, 6}, rkdWTFirstHigh));
    EXPECT_EQ((Ints{-82, 49, 37, -196}), rowOf53({-101, 31, 89, -107}, rkdWTFirstLow));
    EXPECT_EQ((Ints{68, 4, 22, -165, 49}), rowOf53({126, 104, -97, 33, 82}, rkdWTFirstHigh));
    EXPECT_EQ((Ints{53, 84, -122, 37, -56, 57, -78, 33, 24}),
              rowOf53({24, 113, 89, -89, -111, -11, 23, 1, -68}, rkdWTFirstLow));
    float x[8], low[4], high[4];
    for (int i = 0; i < 8; ++i) x[i] = i % 2 == 0 ? 100 : -100;
    ASSERT_EQ(0, rkdiWTFwdRow_D97_JPEG2K_32f_C1R(x, 32, low, 16, high, 16, {8, 1}, rkdWTFirstLow));
    for (int i = 0; i < 4; ++i) {
      EXPECT_NEAR(0, low[i], 1e-3);
      EXPECT_NEAR(-200, high[i], 1e-3);
    }
  });
}

/// Of a fixed-point or reversible tile, forward and back; `tolerances` are those of either way.
template <class T, class Vectors>
void expectKnown(const char* name, TileFunction<T> forward, TileFunction<T> inverse,
                 const Vectors& vectors, double tolerance, double inverseTolerance) {
  for (const auto& v : vectors) {
    const RkdiSize size = sz(v.width, v.height);
    const int step = v.width * static_cast<int>(sizeof(T));
    auto buffer = bufferFor<T>(size);
    std::vector<T> samples(v.samples.begin(), v.samples.end()), out(samples.size()), rounded;
    ASSERT_EQ(0, forward(samples.data(), step, out.data(), step, size, v.x0, v.y0, buffer.data()));
    for (const auto c : v.coefficients) rounded.push_back(static_cast<T>(std::lround(c)));
    const auto where = [&](size_t i) {
      return testing::Message() << name << ' ' << size << " from " << v.x0 << ", " << v.y0
                                << " sample " << i;
    };
    for (size_t i = 0; i < out.size(); ++i) {
      EXPECT_NEAR(v.coefficients[i], out[i], tolerance) << where(i);
    }
    ASSERT_EQ(0, inverse(rounded.data(), step, out.data(), step, size, v.x0, v.y0, buffer.data()));
    for (size_t i = 0; i < out.size(); ++i) {
      EXPECT_NEAR(v.samples[i], out[i], inverseTolerance) << where(i);
    }
  }
}

TEST(Wavelet, KnownTilesAtEveryLevel) {
  forEachLevel([] {
    expectKnown("5/3 16s", rkdiWTFwd_B53_JPEG2K_16s_C1R, rkdiWTInv_B53_JPEG2K_16s_C1R, kWavelets53,
                0, 0);
    expectKnown("5/3 32s", rkdiWTFwd_B53_JPEG2K_32s_C1R, rkdiWTInv_B53_JPEG2K_32s_C1R, kWavelets53,
                0, 0);
    expectKnown("9/7 16s", rkdiWTFwd_D97_JPEG2K_16s_C1R, rkdiWTInv_D97_JPEG2K_16s_C1R, kWavelets97,
                5.2, 6.3);
    expectKnown("9/7 32s", rkdiWTFwd_D97_JPEG2K_32s_C1R, rkdiWTInv_D97_JPEG2K_32s_C1R, kWavelets97,
                5.2, 6.3);
  });
}

/// Both directions of floating-point 9/7 by columns and rows.
TEST(Wavelet, KnownTilesInFloatingPoint) {
  forEachLevel([] {
    for (const auto& v : kWavelets97) {
      const RkdiSize size = sz(v.width, v.height);
      const int step = v.width * 4;
      const int lowWidth = lows(v.width, v.x0), lowHeight = lows(v.height, v.y0);
      std::vector<float> samples(v.samples.begin(), v.samples.end());
      std::vector<float> columns(samples.size() + v.width), out(columns), back(samples);
      ASSERT_EQ(0, rkdiWTFwdCol_D97_JPEG2K_32f_C1R(samples.data(), step, columns.data(), step,
                                                   columns.data() + lowHeight * v.width, step, size,
                                                   v.y0));
      ASSERT_EQ(0, rkdiWTFwdRow_D97_JPEG2K_32f_C1R(columns.data(), step, out.data(), step,
                                                   out.data() + lowWidth, step, size, v.x0));
      for (size_t i = 0; i < v.samples.size(); ++i) {
        EXPECT_NEAR(v.coefficients[i], out[i], 1e-3) << size << " sample " << i;
      }
      ASSERT_EQ(0, rkdiWTInvRow_D97_JPEG2K_32f_C1R(out.data(), step, out.data() + lowWidth, step,
                                                   columns.data(), step, size, v.x0));
      ASSERT_EQ(0, rkdiWTInvCol_D97_JPEG2K_32f_C1R(columns.data(), step,
                                                   columns.data() + lowHeight * v.width, step,
                                                   back.data(), step, size, v.y0));
      for (size_t i = 0; i < v.samples.size(); ++i) {
        EXPECT_NEAR(v.samples[i], back[i], 1e-3) << size << " sample " << i;
      }
    }
  });
}

template <class T>
void expectComesBack(TileFunction<T> forward, InPlaceFunction<T> inverse) {
  Random random;
  const RkdiSize size = sz(67, 35);
  auto buffer = bufferFor<T>(size);
  for (int phases = 0; phases < 4; ++phases) {
    Canvas<T> src(size), coefficients(size);
    src.fillLimitsAndRandom(random);
    ASSERT_EQ(0, forward(src.data(), src.step(), coefficients.data(), coefficients.step(), size,
                         phases % 2, phases / 2, buffer.data()));
    ASSERT_EQ(0, inverse(coefficients.data(), coefficients.step(), size, phases % 2, phases / 2,
                         buffer.data()));
    EXPECT_TRUE(coefficients.sameAs(src));
  }
}

TEST(Wavelet, The53TransformComesBackFromEveryInput) {
  forEachLevel([] {
    expectComesBack<int16_t>(rkdiWTFwd_B53_JPEG2K_16s_C1R, rkdiWTInv_B53_JPEG2K_16s_C1IR);
    expectComesBack<int32_t>(rkdiWTFwd_B53_JPEG2K_32s_C1R, rkdiWTInv_B53_JPEG2K_32s_C1IR);
  });
}

/// The worst difference from the transform in double precision, on rows of random samples and of
/// limits with random signs.
template <class T>
void expectWithin(Forward<T> forward, Inverse<T> inverse, int limit, double forwardBound,
                  double inverseBound) {
  const RkdiSize size = sz(64, 400);
  Random random;
  for (const int phase : kPhases) {
    Canvas<T> x(size), back(size);
    x.fillLimitsAndRandom(random, -limit, limit);
    Canvas<float> exact(size), exactBack(size);
    BandPair<T> got(size, phase, true);
    BandPair<float> want(size, phase, true);
    const auto worst = [](const auto& a, const auto& b) {
      double most = 0;
      for (int y = 0; y < a.size().height; ++y) {
        for (int i = 0; i < a.perRow(); ++i) {
          most = std::max(most, std::abs(double(a.at(i, y)) - double(b.at(i, y))));
        }
      }
      return most;
    };
    const auto copy = [](const auto& from, auto& to) {
      for (int y = 0; y < from.size().height; ++y) {
        for (int i = 0; i < from.perRow(); ++i) to.set(i, y, static_cast<float>(from.at(i, y)));
      }
    };
    copy(x, exact);
    ASSERT_EQ(0, forward(x.data(), x.step(), got.low.data(), got.low.step(), got.high.data(),
                         got.high.step(), size, phase));
    ASSERT_EQ(0, ref::rkdiWTFwdRow_D97_JPEG2K_32f_C1R(exact.data(), exact.step(), want.low.data(),
                                                      want.low.step(), want.high.data(),
                                                      want.high.step(), size, phase));
    EXPECT_LE(worst(got.low, want.low), forwardBound);
    EXPECT_LE(worst(got.high, want.high), forwardBound);
    copy(got.low, want.low);
    copy(got.high, want.high);
    ASSERT_EQ(0, inverse(got.low.data(), got.low.step(), got.high.data(), got.high.step(),
                         back.data(), back.step(), size, phase));
    ASSERT_EQ(0, ref::rkdiWTInvRow_D97_JPEG2K_32f_C1R(
                     want.low.data(), want.low.step(), want.high.data(), want.high.step(),
                     exactBack.data(), exactBack.step(), size, phase));
    EXPECT_LE(worst(back, exactBack), inverseBound);
    EXPECT_LE(worst(back, x), 5) << "there and back";
  }
}

TEST(Wavelet, FixedPoint97StaysWithinItsBounds) {
  expectWithin<int16_t>(rkdiWTFwdRow_D97_JPEG2K_16s_C1R, rkdiWTInvRow_D97_JPEG2K_16s_C1R, 7000, 3.5,
                        4.2);
  expectWithin<int32_t>(rkdiWTFwdRow_D97_JPEG2K_32s_C1R, rkdiWTInvRow_D97_JPEG2K_32s_C1R, 1 << 20,
                        2.8, 3.5);
}

TEST(Wavelet, WrongPhasesAndBuffersAreRefused) {
  int32_t x[64] = {}, low[64] = {}, high[64] = {};
  const RkdiSize size = {8, 8};
  for (const int phase : {-1, 2}) {
    EXPECT_EQ(rkdStsBadArgErr,
              rkdiWTFwdRow_B53_JPEG2K_32s_C1R(x, 32, low, 16, high, 16, size, phase));
    EXPECT_EQ(rkdStsBadArgErr, rkdiWTFwd_B53_JPEG2K_32s_C1R(x, 32, low, 32, size, phase, 0, high));
    EXPECT_EQ(rkdStsBadArgErr, rkdiWTFwd_B53_JPEG2K_32s_C1IR(x, 32, size, 0, phase, high));
  }
  EXPECT_EQ(rkdStsStepErr, rkdiWTFwdRow_B53_JPEG2K_32s_C1R(x, 32, low, 15, high, 16, size, 0));
  EXPECT_EQ(rkdStsStepErr, rkdiWTInvRow_B53_JPEG2K_32s_C1R(low, 16, high, 15, x, 32, size, 0));
  int bytes = 0;
  EXPECT_EQ(rkdStsBadArgErr, rkdiWTGetBufSize_JPEG2K(size, rkd8u, &bytes));
  EXPECT_EQ(rkdStsNullPtrErr, rkdiWTGetBufSize_JPEG2K(size, rkd16s, nullptr));
  EXPECT_EQ(rkdStsSizeErr, rkdiWTGetBufSize_JPEG2K({0, 8}, rkd16s, &bytes));
  EXPECT_EQ(rkdStsSizeErr, rkdiWTGetBufSize_JPEG2K({1 << 20, 1 << 20}, rkd16s, &bytes));
}

}  // namespace
