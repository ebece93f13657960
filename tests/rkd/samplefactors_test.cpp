// Sampling by two down, four across and any factors: every level against the plain versions, and
// sizes that do not belong together.
#include "rkd/rkdjpeg_sample.h"
#include "reference.h"
#include "rkdkit.h"

using namespace rkdkit;

namespace {

constexpr int kWidths[] = {1, 2, 3, 4, 5, 15, 16, 17, 31, 63, 64, 65, 66, 128, 129, 193, 257};

int parts(int whole, int factor) { return (whole + factor - 1) / factor; }

/// One image of a sampling and the other that is made of it; `isDown` makes the smaller one.
template <class T, class... F>
void expectImage(RkdiSize whole,
                 RkdStatus (*function)(const T*, int, RkdiSize, T*, int, RkdiSize, F...),
                 RkdStatus (*reference)(const T*, int, RkdiSize, T*, int, RkdiSize, F...),
                 bool isDown, int factorX, int factorY, F... factors) {
  Random random;
  const RkdiSize part = sz(parts(whole.width, factorX), parts(whole.height, factorY));
  SCOPED_TRACE(testing::Message() << whole << " by " << factorX << 'x' << factorY);
  const RkdiSize from = isDown ? whole : part, to = isDown ? part : whole;
  Canvas<T> src(from, 1, {whole.width % 64, 3 * (whole.height % 2)});
  src.fillLimitsAndRandom(random);
  Canvas<T> got(to, 1, {63 - whole.width % 64, whole.height % 3}), want(to);
  ASSERT_EQ(0, reference(src.data(), src.step(), from, want.data(), want.step(), to, factors...));
  ASSERT_EQ(0, function(src.data(), src.step(), from, got.data(), got.step(), to, factors...));
  ASSERT_TRUE(got.sameAs(want));
  ASSERT_TRUE(got.marginIntact());
}

#define IMAGE(kind, isDown, ...) \
  expectImage(whole, rkdiSample##kind##_C1R, ref::rkdiSample##kind##_C1R, isDown, __VA_ARGS__)

void expectEveryFactor(RkdiSize whole) {
  for (int x = 1; x <= 4; ++x) {
    for (int y = 1; y <= 4; ++y) {
      IMAGE(Down_Box_JPEG_8u, true, x, y, x, y);
      IMAGE(Down_Box_JPEG_16u, true, x, y, x, y);
      IMAGE(Up_Replicate_JPEG_8u, false, x, y, x, y);
      IMAGE(Up_Replicate_JPEG_16u, false, x, y, x, y);
      if (testing::Test::HasFatalFailure()) return;
    }
  }
}

void expectFixedFactors(RkdiSize whole) {
  IMAGE(DownH1V2_JPEG_8u, true, 1, 2);
  IMAGE(DownH4V1_JPEG_8u, true, 4, 1);
  IMAGE(UpH1V2_JPEG_8u, false, 1, 2);
  IMAGE(UpH4V1_JPEG_8u, false, 4, 1);
}

TEST(SampleFactors, EveryLevelEqualsTheReferenceOnImages) {
  forEachLevel([] {
    for (const int width : kWidths) {
      for (const int height : {1, 2, 3, 6, 7}) {
        expectFixedFactors(sz(width, height));
        expectEveryFactor(sz(width, height));
        if (HasFatalFailure()) return;
      }
    }
  });
}

TEST(SampleFactors, EveryLevelEqualsTheReferenceOnHighImages) {
  forEachLevel([] {
    for (const int height : {64, 65, 66, 67, 128, 131}) {
      for (const int width : {1, 33, 129}) expectFixedFactors(sz(width, height));
      expectEveryFactor(sz(17, height));
      if (HasFatalFailure()) return;
    }
  });
}

/// call(side, rows of samples, result) runs the library's or the reference's function.
template <class Call>
void expectRow(const char* name, int width, int outputs, Call call) {
  Random random;
  for (const int offset : {0, 1, 33}) {
    Canvas<uint8_t> rows(sz(width, 3), 1, {offset, 0});
    rows.fillLimitsAndRandom(random);
    Canvas<uint8_t> got(sz(outputs, 2), 1, {offset ^ 5, 2}), want(sz(outputs, 2));
    got.fill([] { return 0; });
    want.fill([] { return 0; });
    call(false, rows, want);
    call(true, rows, got);
    EXPECT_TRUE(got.sameAs(want)) << name << ", " << width << " samples";
    EXPECT_TRUE(got.marginIntact()) << name << ", " << width << " samples";
  }
}

// One row function, with the operands that it takes out of these: three rows, their width, two
// results.
#define ROW(name, outputs, ...)                                                       \
  expectRow(#name, width, outputs, [&](bool ours, auto& rows, auto& results) {        \
    const uint8_t *const a = rows.data(), *const b = a + width, *const c = b + width; \
    uint8_t *const out = results.data(), *const out2 = out + results.step();          \
    static_cast<void>(b), static_cast<void>(c), static_cast<void>(out2);              \
    EXPECT_EQ(0, ours ? name(__VA_ARGS__) : ref::name(__VA_ARGS__));                  \
  })

TEST(SampleFactors, EveryLevelEqualsTheReferenceOnRowsOfEveryLength) {
  forEachLevel([] {
    for (const int width : kWidths) {
      ROW(rkdiSampleDownRowH1V2_Box_JPEG_8u_C1, width, a, b, width, out);
      ROW(rkdiSampleDownRowH4V1_Box_JPEG_8u_C1, parts(width, 4), a, width, out);
      ROW(rkdiSampleUpRowH1V2_Triangle_JPEG_8u_C1, width, a, b, c, width, out, out2);
      ROW(rkdiSampleUpRowH4V1_Triangle_JPEG_8u_C1, 4 * width, a, width, out);
      for (int f = 1; f <= 4; ++f) {
        ROW(rkdiSampleUpRow_Replicate_JPEG_8u_C1, f * width, a, width, out, f);
      }
    }
  });
}

TEST(SampleFactors, SizesAndFactorsThatDoNotBelongTogetherAreRefused) {
  std::vector<uint8_t> src(64, 1), dst(64, 2);
  const auto down = [&](RkdiSize from, RkdiSize to, int x, int y) {
    return rkdiSampleDown_Box_JPEG_8u_C1R(src.data(), 8, from, dst.data(), 8, to, x, y);
  };
  const auto up = [&](RkdiSize from, RkdiSize to, int x, int y) {
    return rkdiSampleUp_Replicate_JPEG_8u_C1R(src.data(), 8, from, dst.data(), 8, to, x, y);
  };
  for (const RkdiSize wrong : {sz(2, 4), sz(4, 4), sz(3, 3), sz(3, 5)}) {
    EXPECT_EQ(rkdStsSizeErr, down(sz(7, 7), wrong, 3, 2)) << wrong;
    EXPECT_EQ(rkdStsSizeErr, up(wrong, sz(7, 7), 3, 2)) << wrong;
  }
  for (const auto& [x, y] : {std::pair{0, 1}, {1, 0}, {5, 1}, {1, 5}, {-1, 1}}) {
    EXPECT_EQ(rkdStsBadArgErr, down(sz(4, 4), sz(4, 4), x, y));
    EXPECT_EQ(rkdStsBadArgErr, up(sz(4, 4), sz(4, 4), x, y));
  }
  for (const int factor : {0, 5, -1}) {
    EXPECT_EQ(rkdStsBadArgErr,
              rkdiSampleUpRow_Replicate_JPEG_8u_C1(src.data(), 4, dst.data(), factor));
  }
  EXPECT_EQ(std::vector<uint8_t>(64, 2), dst);
}

}  // namespace
