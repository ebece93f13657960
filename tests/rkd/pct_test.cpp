// Photo core transform.
#include "pct_vectors.h"
#include "ref_pct.h"
#include "rkd/rkdjpeg_hdp.h"
#include "rkdkit.h"

using rkdkit::Canvas;
using rkdkit::forEachLevel;
using rkdkit::Random;
using rkdkit::sz;

namespace {

using Region = RkdStatus (*)(int32_t*, int, RkdiSize);
using Macroblock = RkdStatus (*)(int32_t*, int);

struct MacroblockFunctions {
  RkdiSize size;
  Macroblock forward, inverse, plainForward, plainInverse;
};

const MacroblockFunctions kMacroblocks[] = {
    {{16, 16},
     rkdiPCTFwd16x16_HDP_32s_C1IR,
     rkdiPCTInv16x16_HDP_32s_C1IR,
     ref::rkdiPCTFwd16x16_HDP_32s_C1IR,
     ref::rkdiPCTInv16x16_HDP_32s_C1IR},
    {{8, 16},
     rkdiPCTFwd8x16_HDP_32s_C1IR,
     rkdiPCTInv8x16_HDP_32s_C1IR,
     ref::rkdiPCTFwd8x16_HDP_32s_C1IR,
     ref::rkdiPCTInv8x16_HDP_32s_C1IR},
    {{8, 8},
     rkdiPCTFwd8x8_HDP_32s_C1IR,
     rkdiPCTInv8x8_HDP_32s_C1IR,
     ref::rkdiPCTFwd8x8_HDP_32s_C1IR,
     ref::rkdiPCTInv8x8_HDP_32s_C1IR},
};

constexpr int kLargest = 1 << 24;

/// One call for a vector's size, in place and with rows apart.
std::vector<int32_t> transformed(const PctVector& vector, bool inverse) {
  const RkdiSize size = sz(vector.width, vector.height);
  Canvas<int32_t> canvas(size, 1, {4, 12});
  const auto& input = inverse ? vector.coefficients : vector.samples;
  size_t next = 0;
  canvas.fill([&] { return input[next++]; });
  RkdStatus status = rkdStsErr;
  if (size.width == 4) {
    const Region region = inverse ? rkdiPCTInv_HDP_32s_C1IR : rkdiPCTFwd_HDP_32s_C1IR;
    status = region(canvas.data(), canvas.step(), size);
  }
  for (const MacroblockFunctions& m : kMacroblocks) {
    if (m.size.width != size.width || m.size.height != size.height) continue;
    status = (inverse ? m.inverse : m.forward)(canvas.data(), canvas.step());
  }
  EXPECT_EQ(rkdStsNoErr, status);
  EXPECT_TRUE(canvas.marginIntact());
  std::vector<int32_t> out;
  for (int y = 0; y < size.height; ++y) {
    for (int x = 0; x < size.width; ++x) out.push_back(canvas.at(x, y));
  }
  return out;
}

TEST(CoreTransform, GivesKnownCoefficientsAndSamples) {
  forEachLevel([] {
    for (const PctVector& vector : kPctVectors) {
      EXPECT_EQ(vector.coefficients, transformed(vector, false));
      EXPECT_EQ(vector.samples, transformed(vector, true));
    }
  });
}

TEST(CoreTransform, RegionsEqualThePlainVersionAtEveryLevelAndComeBack) {
  // Around the widths of one to four vectors of blocks, with and without remainders.
  const std::vector<RkdiSize> sizes = {{1, 1},   {3, 9},   {4, 4},   {5, 3},   {7, 7},   {8, 4},
                                       {12, 8},  {16, 4},  {17, 9},  {20, 12}, {31, 5},  {32, 8},
                                       {36, 4},  {64, 4},  {67, 21}, {68, 4},  {92, 8},  {124, 12},
                                       {132, 4}, {255, 6}, {256, 4}, {4, 40},  {301, 17}};
  forEachLevel([&] {
    Random random;
    const auto places = rkdkit::places();
    size_t next = 0;
    for (const RkdiSize size : sizes) {
      SCOPED_TRACE(size);
      const rkdkit::Place place = places[next++ % places.size()];
      Canvas<int32_t> src(size), want(size), got(size, 1, place);
      for (const int limit : {kLargest, std::numeric_limits<int>::max()}) {
        src.fillLimitsAndRandom(random, -limit, limit);
        want.copyFrom(src);
        got.copyFrom(src);
        ref::rkdiPCTFwd_HDP_32s_C1IR(want.data(), want.step(), size);
        ASSERT_EQ(rkdStsNoErr, rkdiPCTFwd_HDP_32s_C1IR(got.data(), got.step(), size));
        ASSERT_TRUE(got.sameAs(want) && got.marginIntact());
        ASSERT_EQ(rkdStsNoErr, rkdiPCTInv_HDP_32s_C1IR(got.data(), got.step(), size));
        if (limit == kLargest) {
          ASSERT_TRUE(got.sameAs(src) && got.marginIntact());
        }
        ref::rkdiPCTInv_HDP_32s_C1IR(want.data(), want.step(), size);
        ASSERT_TRUE(got.sameAs(want));
      }
      // Columns and rows that make no block are as before.
      got.copyFrom(src);
      rkdiPCTInv_HDP_32s_C1IR(got.data(), got.step(), size);
      for (int y = 0; y < size.height; ++y) {
        for (int x = y < (size.height & ~3) ? size.width & ~3 : 0; x < size.width; ++x) {
          ASSERT_EQ(src.at(x, y), got.at(x, y)) << x << ", " << y;
        }
      }
    }
  });
}

TEST(CoreTransform, MacroblocksEqualThePlainVersionAtEveryLevelAndComeBack) {
  forEachLevel([] {
    Random random;
    for (const MacroblockFunctions& m : kMacroblocks) {
      SCOPED_TRACE(m.size);
      for (const rkdkit::Place place : rkdkit::places()) {
        Canvas<int32_t> src(m.size), want(m.size), got(m.size, 1, place);
        src.fillLimitsAndRandom(random, -kLargest, kLargest);
        want.copyFrom(src);
        got.copyFrom(src);
        m.plainForward(want.data(), want.step());
        ASSERT_EQ(rkdStsNoErr, m.forward(got.data(), got.step()));
        ASSERT_TRUE(got.sameAs(want) && got.marginIntact());
        ASSERT_EQ(rkdStsNoErr, m.inverse(got.data(), got.step()));
        ASSERT_TRUE(got.sameAs(src) && got.marginIntact());
        m.plainInverse(want.data(), want.step());
        ASSERT_TRUE(want.sameAs(src));
      }
    }
  });
}

TEST(CoreTransform, SecondStageOf16x16IsTheFirstOnDCs) {
  Random random;
  Canvas<int32_t> macroblock(sz(16, 16)), blocks(sz(16, 16)), dcs(sz(4, 4));
  macroblock.fillLimitsAndRandom(random, -kLargest, kLargest);
  blocks.copyFrom(macroblock);
  rkdiPCTFwd16x16_HDP_32s_C1IR(macroblock.data(), macroblock.step());
  rkdiPCTFwd_HDP_32s_C1IR(blocks.data(), blocks.step(), sz(16, 16));
  for (int i = 0; i < 16; ++i) dcs.set(i % 4, i / 4, blocks.at(i % 4 * 4, i / 4 * 4));
  rkdiPCTFwd_HDP_32s_C1IR(dcs.data(), dcs.step(), sz(4, 4));
  for (int i = 0; i < 16; ++i) blocks.set(i % 4 * 4, i / 4 * 4, dcs.at(i % 4, i / 4));
  EXPECT_TRUE(macroblock.sameAs(blocks));
}

}  // namespace
