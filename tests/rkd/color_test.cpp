// Colour conversions: every level against the plain versions, bit for bit, on widths around the
// tile of every level, with rows apart and touching.
#include "rkd/rkdcolor.h"
#include "reference.h"
#include "rkdkit.h"

using namespace rkdkit;

namespace {

/// An interleaved operand of C samples a pixel as functions take it.
template <class T, int C>
struct Pixels {
  Canvas<T> canvas;
  explicit Pixels(RkdiSize size, Place place) : canvas(size, C, place) {}
  T* out() { return canvas.data(); }
  const T* in() const { return canvas.data(); }
  int step() const { return canvas.step(); }
  void fill(Random& random) { canvas.fillLimitsAndRandom(random); }
  testing::AssertionResult sameAs(const Pixels& want) const { return canvas.sameAs(want.canvas); }
  testing::AssertionResult marginIntact() const { return canvas.marginIntact(); }
};

/// A planar one of P planes.
template <class T, int P>
struct Planes {
  CanvasPlanes<T, P> canvas;
  explicit Planes(RkdiSize size, Place place) : canvas(size, place) {}
  T* const* out() { return canvas.data(); }
  const T* const* in() const { return canvas.constData(); }
  int step() const { return canvas.step(); }
  void fill(Random& random) { canvas.fillLimitsAndRandom(random); }
  testing::AssertionResult sameAs(const Planes& want) const { return canvas.sameAs(want.canvas); }
  testing::AssertionResult marginIntact() const { return canvas.marginIntact(); }
};

using Grey = Pixels<uint8_t, 1>;
using Yuyv = Pixels<uint8_t, 2>;
using Three = Pixels<uint8_t, 3>;
using Four = Pixels<uint8_t, 4>;
using Packed = Pixels<uint16_t, 1>;
using Planes3 = Planes<uint8_t, 3>;
using Planes4 = Planes<uint8_t, 4>;

/// Rows apart on both sides, on either or on none: there they are converted as one.
constexpr std::pair<Place, int> kPlacesAndPaddings[] = {
    {{0, 0}, 0}, {{1, 5}, 0}, {{32, 0}, 3}, {{63, 16}, 7}};

template <class Src, class Dst, class Function>
void expectEqualsReference(const char* name, Function function, Function reference) {
  SCOPED_TRACE(name);
  Random random;
  for (RkdiSize size : {sz(1, 3), sz(3, 2), sz(15, 2), sz(16, 3), sz(33, 2), sz(34, 2), sz(63, 2),
                        sz(64, 2), sz(65, 3), sz(127, 2), sz(201, 2)}) {
    if (std::is_same_v<Src, Yuyv>) size.width += size.width % 2;
    for (const auto& [place, dstPadding] : kPlacesAndPaddings) {
      Src src(size, place);
      src.fill(random);
      Dst got(size, {63 - place.offset, dstPadding}), want(size, {});
      ASSERT_EQ(rkdStsNoErr, reference(src.in(), src.step(), want.out(), want.step(), size));
      ASSERT_EQ(rkdStsNoErr, function(src.in(), src.step(), got.out(), got.step(), size));
      ASSERT_TRUE(got.sameAs(want)) << size << " alignment " << place.offset;
      ASSERT_TRUE(got.marginIntact()) << size << " alignment " << place.offset;
    }
  }
}

#define EQUALS_REFERENCE(Src, Dst, name) expectEqualsReference<Src, Dst>(#name, name, ref::name)

TEST(Colour, EveryLevelEqualsTheReference) {
  forEachLevel([] {
    EQUALS_REFERENCE(Planes3, Grey, rkdiRGBToY_JPEG_8u_P3C1R);
    EQUALS_REFERENCE(Three, Grey, rkdiRGBToY_JPEG_8u_C3C1R);
    EQUALS_REFERENCE(Three, Grey, rkdiBGRToY_JPEG_8u_C3C1R);
    EQUALS_REFERENCE(Planes3, Planes3, rkdiRGBToYCbCr_JPEG_8u_P3R);
    EQUALS_REFERENCE(Three, Planes3, rkdiRGBToYCbCr_JPEG_8u_C3P3R);
    EQUALS_REFERENCE(Three, Planes3, rkdiBGRToYCbCr_JPEG_8u_C3P3R);
    EQUALS_REFERENCE(Planes3, Planes3, rkdiYCbCrToRGB_JPEG_8u_P3R);
    EQUALS_REFERENCE(Planes3, Three, rkdiYCbCrToRGB_JPEG_8u_P3C3R);
    EQUALS_REFERENCE(Planes3, Three, rkdiYCbCrToBGR_JPEG_8u_P3C3R);
    EQUALS_REFERENCE(Yuyv, Three, rkdiYCbCr422ToRGB_JPEG_8u_C2C3R);
    EQUALS_REFERENCE(Planes4, Planes4, rkdiCMYKToYCCK_JPEG_8u_P4R);
    EQUALS_REFERENCE(Four, Planes4, rkdiCMYKToYCCK_JPEG_8u_C4P4R);
    EQUALS_REFERENCE(Planes4, Planes4, rkdiYCCKToCMYK_JPEG_8u_P4R);
    EQUALS_REFERENCE(Planes4, Four, rkdiYCCKToCMYK_JPEG_8u_P4C4R);
  });
}

TEST(Colour, EveryLevelEqualsTheReferenceOnPackedPixels) {
  forEachLevel([] {
    EQUALS_REFERENCE(Packed, Planes3, rkdiRGB555ToYCbCr_JPEG_16u8u_C3P3R);
    EQUALS_REFERENCE(Packed, Planes3, rkdiBGR555ToYCbCr_JPEG_16u8u_C3P3R);
    EQUALS_REFERENCE(Packed, Planes3, rkdiRGB565ToYCbCr_JPEG_16u8u_C3P3R);
    EQUALS_REFERENCE(Packed, Planes3, rkdiBGR565ToYCbCr_JPEG_16u8u_C3P3R);
    EQUALS_REFERENCE(Planes3, Packed, rkdiYCbCrToRGB555_JPEG_8u16u_P3C3R);
    EQUALS_REFERENCE(Planes3, Packed, rkdiYCbCrToBGR555_JPEG_8u16u_P3C3R);
    EQUALS_REFERENCE(Planes3, Packed, rkdiYCbCrToRGB565_JPEG_8u16u_P3C3R);
    EQUALS_REFERENCE(Planes3, Packed, rkdiYCbCrToBGR565_JPEG_8u16u_P3C3R);
  });
}

/// Every pair of values in two channels, with some of the channel `third`. Conversions are sums of
/// parts that depend on two channels, so that no rounding stays unseen.
template <class Function>
void expectEveryPair(const char* name, Function function, Function reference, int third) {
  const RkdiSize size = sz(256, 256);
  Planes3 src(size, {}), got(size, {}), want(size, {});
  for (const int value : {0, 1, 100, 128, 255}) {
    for (int p = 0, axis = 0; p < 3; ++p) {
      int i = 0;
      const bool isAcross = p != third && axis++ == 0;
      src.canvas[p].fill([&] {
        const int x = i % 256, y = i / 256;
        ++i;
        return p == third ? value : isAcross ? x : y;
      });
    }
    ASSERT_EQ(rkdStsNoErr, reference(src.in(), src.step(), want.out(), want.step(), size));
    ASSERT_EQ(rkdStsNoErr, function(src.in(), src.step(), got.out(), got.step(), size));
    ASSERT_TRUE(got.sameAs(want)) << name << ", the other channel " << value;
  }
}

TEST(Colour, EveryLevelEqualsTheReferenceForEveryPairOfValues) {
  forEachLevel([] {
    expectEveryPair("to RGB", rkdiYCbCrToRGB_JPEG_8u_P3R, ref::rkdiYCbCrToRGB_JPEG_8u_P3R, 0);
    for (int third = 0; third < 3; ++third) {
      expectEveryPair("to YCbCr", rkdiRGBToYCbCr_JPEG_8u_P3R, ref::rkdiRGBToYCbCr_JPEG_8u_P3R,
                      third);
    }
  });
}

/// All colours with every second value of each channel, or with every value.
TEST(Colour, StaysWithinOneOfTheExactConversion) {
  const int stride = exhaustive() ? 1 : 3;
  std::vector<uint8_t> rgb;
  for (int r = 0; r < 256; r += stride) {
    for (int g = 0; g < 256; g += stride) {
      for (int b = 0; b < 256; b += stride) {
        for (const int v : {r, g, b}) rgb.push_back(static_cast<uint8_t>(v));
      }
    }
  }
  const RkdiSize size = {static_cast<int>(rgb.size() / 3), 1};
  std::vector<uint8_t> planes[3];
  uint8_t* pointers[3];
  for (int p = 0; p < 3; ++p) {
    planes[p].resize(size.width);
    pointers[p] = planes[p].data();
  }
  ASSERT_EQ(rkdStsNoErr,
            rkdiRGBToYCbCr_JPEG_8u_C3P3R(rgb.data(), 3 * size.width, pointers, size.width, size));
  std::vector<uint8_t> back(rgb.size());
  ASSERT_EQ(rkdStsNoErr,
            rkdiYCbCrToRGB_JPEG_8u_P3C3R(pointers, size.width, back.data(), 3 * size.width, size));
  double worst = 0, worstBack = 0;
  for (int i = 0; i < size.width; ++i) {
    const double r = rgb[3 * i], g = rgb[3 * i + 1], b = rgb[3 * i + 2];
    const double exact[3] = {.299 * r + .587 * g + .114 * b,
                             128 - .168735892 * r - .331264108 * g + .5 * b,
                             128 + .5 * r - .418687589 * g - .081312411 * b};
    const double y = planes[0][i], cb = planes[1][i] - 128, cr = planes[2][i] - 128;
    const double exactBack[3] = {y + 1.402 * cr, y - .34414 * cb - .71414 * cr, y + 1.772 * cb};
    for (int c = 0; c < 3; ++c) {
      worst = std::max(worst, std::abs(planes[c][i] - std::min(exact[c], 255.)));
      worstBack =
          std::max(worstBack, std::abs(back[3 * i + c] - std::clamp(exactBack[c], 0., 255.)));
    }
  }
  EXPECT_LT(worst, 0.52);
  EXPECT_LT(worstBack, 0.52);
}

TEST(Colour, OddRowsOfPairedPixelsAreRefused) {
  uint8_t src[64] = {}, dst[96] = {};
  EXPECT_EQ(rkdStsSizeErr, rkdiYCbCr422ToRGB_JPEG_8u_C2C3R(src, 32, dst, 48, {15, 1}));
  EXPECT_EQ(rkdStsNoErr, rkdiYCbCr422ToRGB_JPEG_8u_C2C3R(src, 32, dst, 48, {16, 1}));
}

}  // namespace
