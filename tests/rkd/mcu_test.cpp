// MCU and sampling functions: every level against the plain versions, bit for bit.
#include "rkd/rkdjpeg_mcu.h"
#include "rkd/rkdjpeg_sample.h"
#include "reference.h"
#include "rkdkit.h"

using namespace rkdkit;

namespace {

/// Blocks of up to four planes; every plane is long enough for the largest MCU and stands in
/// canaries, so that a write beyond a smaller MCU's blocks shows.
struct Blocks {
  Blocks(int count, Place place) {
    planes.reserve(4);
    for (int p = 0; p < 4; ++p) {
      planes.emplace_back(sz(64 * (p == 1 || p == 2 ? 1 : count), 1), 1, place);
      pointers[p] = planes[p].data();
    }
  }
  void fill(Random& random) {
    for (auto& plane : planes) {
      plane.fill([&] {
        return random.bits() % 8 == 0 ? random.between(-32768, 32767) : random.between(-150, 150);
      });
    }
  }
  void expectSameAs(const Blocks& want) const {
    for (int p = 0; p < 4; ++p) {
      ASSERT_TRUE(planes[p].sameAs(want.planes[p])) << "plane " << p;
      ASSERT_TRUE(planes[p].marginIntact()) << "plane " << p;
    }
  }
  std::vector<Canvas<int16_t>> planes;
  std::array<int16_t*, 4> pointers{};
};

/// Pixels of an MCU with `blocks` blocks at full resolution.
RkdiSize mcuSize(int blocks) { return {blocks == 1 ? 8 : 16, blocks == 4 ? 16 : 8}; }

const Place kPlaces[] = {{0, 0}, {1, 7}, {8, 0}, {31, 16}, {63, 45}};

template <int C, class T>
void expectForward(const char* name, int blocks,
                   RkdStatus (*function)(const T*, int, int16_t* const*),
                   RkdStatus (*reference)(const T*, int, int16_t* const*)) {
  SCOPED_TRACE(name);
  Random random;
  for (const Place place : kPlaces) {
    Canvas<T> src(mcuSize(blocks), C, place);
    src.fillLimitsAndRandom(random);
    Blocks got(blocks, place), want(blocks, {});
    ASSERT_EQ(rkdStsNoErr, reference(src.data(), src.step(), want.pointers.data()));
    ASSERT_EQ(rkdStsNoErr, function(src.data(), src.step(), got.pointers.data()));
    ASSERT_NO_FATAL_FAILURE(got.expectSameAs(want));
  }
}

template <int C, class T>
void expectInverse(const char* name, int blocks,
                   RkdStatus (*function)(const int16_t* const*, T*, int),
                   RkdStatus (*reference)(const int16_t* const*, T*, int)) {
  SCOPED_TRACE(name);
  Random random;
  for (const Place place : kPlaces) {
    Blocks src(blocks, place);
    src.fill(random);
    Canvas<T> got(mcuSize(blocks), C, place), want(mcuSize(blocks), C);
    ASSERT_EQ(rkdStsNoErr, reference(src.pointers.data(), want.data(), want.step()));
    ASSERT_EQ(rkdStsNoErr, function(src.pointers.data(), got.data(), got.step()));
    ASSERT_TRUE(got.sameAs(want));
    ASSERT_TRUE(got.marginIntact());
  }
}

#define FORWARD(C, blocks, name) expectForward<C>(#name, blocks, name, ref::name)
#define INVERSE(C, blocks, name) expectInverse<C>(#name, blocks, name, ref::name)

TEST(Mcu, EveryLevelConvertsPixelsToBlocksAsTheReferenceDoes) {
  forEachLevel([] {
    FORWARD(3, 1, rkdiRGBToYCbCr444LS_MCU_8u16s_C3P3R);
    FORWARD(3, 2, rkdiRGBToYCbCr422LS_MCU_8u16s_C3P3R);
    FORWARD(3, 4, rkdiRGBToYCbCr411LS_MCU_8u16s_C3P3R);
    FORWARD(3, 1, rkdiBGRToYCbCr444LS_MCU_8u16s_C3P3R);
    FORWARD(3, 2, rkdiBGRToYCbCr422LS_MCU_8u16s_C3P3R);
    FORWARD(3, 4, rkdiBGRToYCbCr411LS_MCU_8u16s_C3P3R);
    FORWARD(4, 1, rkdiCMYKToYCCK444LS_MCU_8u16s_C4P4R);
    FORWARD(4, 2, rkdiCMYKToYCCK422LS_MCU_8u16s_C4P4R);
    FORWARD(4, 4, rkdiCMYKToYCCK411LS_MCU_8u16s_C4P4R);
    FORWARD(1, 1, rkdiBGR555ToYCbCr444LS_MCU_16u16s_C3P3R);
    FORWARD(1, 2, rkdiBGR555ToYCbCr422LS_MCU_16u16s_C3P3R);
    FORWARD(1, 4, rkdiBGR555ToYCbCr411LS_MCU_16u16s_C3P3R);
    FORWARD(1, 1, rkdiBGR565ToYCbCr444LS_MCU_16u16s_C3P3R);
    FORWARD(1, 2, rkdiBGR565ToYCbCr422LS_MCU_16u16s_C3P3R);
    FORWARD(1, 4, rkdiBGR565ToYCbCr411LS_MCU_16u16s_C3P3R);
    FORWARD(3, 1, rkdiSampleDown444LS_MCU_8u16s_C3P3R);
    FORWARD(3, 2, rkdiSampleDown422LS_MCU_8u16s_C3P3R);
    FORWARD(3, 4, rkdiSampleDown411LS_MCU_8u16s_C3P3R);
    FORWARD(2, 2, rkdiSplit422LS_MCU_8u16s_C2P3R);
  });
}

TEST(Mcu, EveryLevelConvertsBlocksToPixelsAsTheReferenceDoes) {
  forEachLevel([] {
    INVERSE(3, 1, rkdiYCbCr444ToRGBLS_MCU_16s8u_P3C3R);
    INVERSE(3, 2, rkdiYCbCr422ToRGBLS_MCU_16s8u_P3C3R);
    INVERSE(3, 4, rkdiYCbCr411ToRGBLS_MCU_16s8u_P3C3R);
    INVERSE(3, 1, rkdiYCbCr444ToBGRLS_MCU_16s8u_P3C3R);
    INVERSE(3, 2, rkdiYCbCr422ToBGRLS_MCU_16s8u_P3C3R);
    INVERSE(3, 4, rkdiYCbCr411ToBGRLS_MCU_16s8u_P3C3R);
    INVERSE(4, 1, rkdiYCCK444ToCMYKLS_MCU_16s8u_P4C4R);
    INVERSE(4, 2, rkdiYCCK422ToCMYKLS_MCU_16s8u_P4C4R);
    INVERSE(4, 4, rkdiYCCK411ToCMYKLS_MCU_16s8u_P4C4R);
    INVERSE(1, 1, rkdiYCbCr444ToBGR555LS_MCU_16s16u_P3C3R);
    INVERSE(1, 2, rkdiYCbCr422ToBGR555LS_MCU_16s16u_P3C3R);
    INVERSE(1, 4, rkdiYCbCr411ToBGR555LS_MCU_16s16u_P3C3R);
    INVERSE(1, 1, rkdiYCbCr444ToBGR565LS_MCU_16s16u_P3C3R);
    INVERSE(1, 2, rkdiYCbCr422ToBGR565LS_MCU_16s16u_P3C3R);
    INVERSE(1, 4, rkdiYCbCr411ToBGR565LS_MCU_16s16u_P3C3R);
    INVERSE(3, 1, rkdiSampleUp444LS_MCU_16s8u_P3C3R);
    INVERSE(3, 2, rkdiSampleUp422LS_MCU_16s8u_P3C3R);
    INVERSE(3, 4, rkdiSampleUp411LS_MCU_16s8u_P3C3R);
    INVERSE(2, 2, rkdiJoin422LS_MCU_16s8u_P3C2R);
  });
}

// ---- sampling of rows and images ----

constexpr int kWidths[] = {1, 2, 3, 15, 16, 17, 31, 33, 64, 65, 66, 67, 127, 129, 130, 200, 257};

TEST(Sampling, EveryLevelEqualsTheReferenceOnRowsOfEveryLength) {
  forEachLevel([] {
    Random random;
    for (const int width : kWidths) {
      for (const int offset : {0, 1, 33}) {
        SCOPED_TRACE(width);
        Canvas<uint8_t> rows(sz(width, 2), 1, {offset, 3});
        rows.fillLimitsAndRandom(random);
        const uint8_t* first = rows.data();
        const uint8_t* second = first + rows.step();
        Canvas<uint8_t> half(sz((width + 1) / 2, 2), 1, {offset, 5}), wantHalf(half);
        Canvas<uint8_t> twice(sz(2 * width, 2), 1, {offset, 5}), wantTwice(twice);
        uint8_t* halfBelow = half.data() + half.step();
        uint8_t* twiceBelow = twice.data() + twice.step();
        EXPECT_EQ(0, rkdiSampleDownRowH2V1_Box_JPEG_8u_C1(first, width, half.data()));
        EXPECT_EQ(0, rkdiSampleDownRowH2V2_Box_JPEG_8u_C1(first, second, width, halfBelow));
        EXPECT_EQ(0, rkdiSampleUpRowH2V1_Triangle_JPEG_8u_C1(first, width, twice.data()));
        EXPECT_EQ(0, rkdiSampleUpRowH2V2_Triangle_JPEG_8u_C1(first, second, width, twiceBelow));
        ref::rkdiSampleDownRowH2V1_Box_JPEG_8u_C1(first, width, wantHalf.data());
        ref::rkdiSampleDownRowH2V2_Box_JPEG_8u_C1(first, second, width,
                                                  wantHalf.data() + wantHalf.step());
        ref::rkdiSampleUpRowH2V1_Triangle_JPEG_8u_C1(first, width, wantTwice.data());
        ref::rkdiSampleUpRowH2V2_Triangle_JPEG_8u_C1(first, second, width,
                                                     wantTwice.data() + wantTwice.step());
        ASSERT_TRUE(half.sameAs(wantHalf));
        ASSERT_TRUE(twice.sameAs(wantTwice));
        ASSERT_TRUE(half.marginIntact() && twice.marginIntact());
      }
    }
  });
}

using SampleImage = RkdStatus (*)(const uint8_t*, int, RkdiSize, uint8_t*, int, RkdiSize);

void expectImage(const char* name, SampleImage function, SampleImage reference, RkdiSize srcSize,
                 RkdiSize dstSize) {
  SCOPED_TRACE(testing::Message() << name << " " << srcSize << " to " << dstSize);
  Random random;
  Canvas<uint8_t> src(srcSize, 1, {5, 3});
  src.fillLimitsAndRandom(random);
  Canvas<uint8_t> got(dstSize, 1, {1, 7}), want(dstSize);
  ASSERT_EQ(0, reference(src.data(), src.step(), srcSize, want.data(), want.step(), dstSize));
  ASSERT_EQ(0, function(src.data(), src.step(), srcSize, got.data(), got.step(), dstSize));
  ASSERT_TRUE(got.sameAs(want));
  ASSERT_TRUE(got.marginIntact());
}

#define EXPECT_IMAGE(name, srcSize, dstSize) expectImage(#name, name, ref::name, srcSize, dstSize)

// Heights on both sides of one band of 32 rows, of two and of four, on either side of the sampling.
TEST(Sampling, EveryLevelEqualsTheReferenceOnImages) {
  forEachLevel([] {
    for (const int width : {1, 2, 33, 130, 201}) {
      for (const int height : {1, 2, 5, 31, 32, 33, 64, 65, 66, 67, 127, 128, 129, 131}) {
        const RkdiSize whole = {width, height};
        const RkdiSize narrow = {(width + 1) / 2, height};
        const RkdiSize small = {(width + 1) / 2, (height + 1) / 2};
        EXPECT_IMAGE(rkdiSampleDownH2V1_JPEG_8u_C1R, whole, narrow);
        EXPECT_IMAGE(rkdiSampleDownH2V2_JPEG_8u_C1R, whole, small);
        EXPECT_IMAGE(rkdiSampleUpH2V1_JPEG_8u_C1R, narrow, whole);
        EXPECT_IMAGE(rkdiSampleUpH2V2_JPEG_8u_C1R, small, whole);
      }
    }
  });
}

TEST(Sampling, SizesThatDoNotBelongTogetherAreRefused) {
  uint8_t src[64] = {}, dst[64] = {};
  EXPECT_EQ(rkdStsSizeErr, rkdiSampleDownH2V1_JPEG_8u_C1R(src, 8, {8, 2}, dst, 8, {5, 2}));
  EXPECT_EQ(rkdStsSizeErr, rkdiSampleDownH2V2_JPEG_8u_C1R(src, 8, {8, 2}, dst, 8, {4, 2}));
  EXPECT_EQ(rkdStsSizeErr, rkdiSampleUpH2V1_JPEG_8u_C1R(src, 4, {4, 2}, dst, 8, {6, 2}));
  EXPECT_EQ(rkdStsSizeErr, rkdiSampleUpH2V2_JPEG_8u_C1R(src, 4, {4, 2}, dst, 8, {8, 5}));
  EXPECT_EQ(rkdStsSizeErr, rkdiSampleUpH2V2_JPEG_8u_C1R(src, 4, {4, 0}, dst, 8, {8, 0}));
}

}  // namespace
