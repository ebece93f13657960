// One MCU: colour conversion, sampling and level shift, sample by sample.
#include <array>

#include "pixels.h"
#include "ref_color.h"

namespace ref {
namespace {

/// Shape of an MCU: how many full-resolution samples one sub-sampled sample stands for.
template <int H, int V>
struct Shape {
  static constexpr int kAcross = H, kDown = V, kWidth = 8 * H, kHeight = 8 * V;
  /// Where sample (x, y) of the full-resolution plane stands among its blocks.
  static int full(int x, int y) { return ((y / 8) * H + x / 8) * 64 + y % 8 * 8 + x % 8; }
  static int reduced(int x, int y) { return y / V * 8 + x / H; }
};
using S444 = Shape<1, 1>;
using S422 = Shape<2, 1>;
using S411 = Shape<2, 2>;

/// Up to four 8-bit channels of one pixel, in the order of the planes.
using Channels = std::array<int, 4>;

/// @name A channel among the level-shifted samples of a plane
/// @{
int get(Samples<const int16_t> plane, int at) { return clamp8(plane[at] + 128); }
void put(Samples<int16_t> plane, int at, int channel) {
  plane[at] = static_cast<int16_t>(channel - 128);
}
/// @}

/// The box average of a reduced plane at (cx, cy), from the pixels that `channel` tells.
template <class S, class Channel>
int average(int cx, int cy, Channel channel) {
  int sum = 0;
  for (int dy = 0; dy < S::kDown; ++dy) {
    for (int dx = 0; dx < S::kAcross; ++dx) {
      sum += channel(cx * S::kAcross + dx, cy * S::kDown + dy);
    }
  }
  if (S::kAcross * S::kDown == 4) return (sum + 1 + cx % 2) >> 2;
  if (S::kAcross == 2) return (sum + cx % 2) >> 1;
  return sum;
}

/// pixel(x, y) gives the converted channels; planes 0 and 3 are full, 1 and 2 reduced.
template <class S, class Pixel>
RkdStatus toBlocks(int16_t* const dst[], int planes, Pixel pixel) {
  for (int y = 0; y < S::kHeight; ++y) {
    for (int x = 0; x < S::kWidth; ++x) {
      const Channels c = pixel(x, y);
      put(dst[0], S::full(x, y), c[0]);
      if (planes == 4) put(dst[3], S::full(x, y), c[3]);
    }
  }
  for (int p = 1; p <= 2; ++p) {
    for (int cy = 0; cy < 8; ++cy) {
      for (int cx = 0; cx < 8; ++cx) {
        const int mean = average<S>(cx, cy, [&](int x, int y) { return pixel(x, y)[p]; });
        put(dst[p], cy * 8 + cx, mean);
      }
    }
  }
  return rkdStsNoErr;
}

/// putPixel(x, y, channels) takes the level-shifted, clamped channels of every pixel.
template <class S, class Put>
RkdStatus fromBlocks(const int16_t* const src[], int planes, Put putPixel) {
  for (int y = 0; y < S::kHeight; ++y) {
    for (int x = 0; x < S::kWidth; ++x) {
      putPixel(
          x, y,
          Channels{get(src[0], S::full(x, y)), get(src[1], S::reduced(x, y)),
                   get(src[2], S::reduced(x, y)), planes == 4 ? get(src[3], S::full(x, y)) : 0});
    }
  }
  return rkdStsNoErr;
}

Channels channels(Ycc p, int k = 0) { return {p.y, p.cb, p.cr, k}; }

template <class S, class Format>
RkdStatus pixelsToBlocks(const typename Format::Sample* src, int step, int16_t* const dst[3]) {
  return toBlocks<S>(
      dst, 3, [&](int x, int y) { return channels(toYcc(Format::get(row(src, step, y), x))); });
}

template <class S, class Format>
RkdStatus blocksToPixels(const int16_t* const src[3], typename Format::Sample* dst, int step) {
  return fromBlocks<S>(src, 3, [&](int x, int y, const Channels& c) {
    Format::put(row(dst, step, y), x, toRgb({c[0], c[1], c[2]}));
  });
}

template <class S>
RkdStatus cmykToBlocks(const uint8_t* src, int step, int16_t* const dst[4]) {
  return toBlocks<S>(dst, 4, [&](int x, int y) {
    const uint8_t* p = row(src, step, y) + 4 * x;
    return channels(toYcc({255 - p[0], 255 - p[1], 255 - p[2]}), p[3]);
  });
}

template <class S>
RkdStatus blocksToCmyk(const int16_t* const src[4], uint8_t* dst, int step) {
  return fromBlocks<S>(src, 4, [&](int x, int y, const Channels& c) {
    const Rgb p = toRgb({c[0], c[1], c[2]});
    uint8_t* d = row(dst, step, y) + 4 * x;
    d[0] = static_cast<uint8_t>(255 - p.r);
    d[1] = static_cast<uint8_t>(255 - p.g);
    d[2] = static_cast<uint8_t>(255 - p.b);
    d[3] = static_cast<uint8_t>(c[3]);
  });
}

template <class S>
RkdStatus sampleDown(const uint8_t* src, int step, int16_t* const dst[3]) {
  return toBlocks<S>(dst, 3, [&](int x, int y) {
    const Rgb p = RgbPixel::get(row(src, step, y), x);
    return Channels{p.r, p.g, p.b, 0};
  });
}

template <class S>
RkdStatus sampleUp(const int16_t* const src[3], uint8_t* dst, int step) {
  return fromBlocks<S>(src, 3, [&](int x, int y, const Channels& c) {
    RgbPixel::put(row(dst, step, y), x, {c[0], c[1], c[2]});
  });
}

}  // namespace

#define REF_MCU_FWD(Name, function, T, P)                            \
  RkdStatus Name(const T* src, int srcStep, int16_t* const dst[P]) { \
    return function(src, srcStep, dst);                              \
  }
#define REF_MCU_INV(Name, function, T, P)                            \
  RkdStatus Name(const int16_t* const src[P], T* dst, int dstStep) { \
    return function(src, dst, dstStep);                              \
  }

REF_MCU_FWD(rkdiRGBToYCbCr444LS_MCU_8u16s_C3P3R, (pixelsToBlocks<S444, RgbPixel>), uint8_t, 3)
REF_MCU_FWD(rkdiRGBToYCbCr422LS_MCU_8u16s_C3P3R, (pixelsToBlocks<S422, RgbPixel>), uint8_t, 3)
REF_MCU_FWD(rkdiRGBToYCbCr411LS_MCU_8u16s_C3P3R, (pixelsToBlocks<S411, RgbPixel>), uint8_t, 3)
REF_MCU_FWD(rkdiBGRToYCbCr444LS_MCU_8u16s_C3P3R, (pixelsToBlocks<S444, BgrPixel>), uint8_t, 3)
REF_MCU_FWD(rkdiBGRToYCbCr422LS_MCU_8u16s_C3P3R, (pixelsToBlocks<S422, BgrPixel>), uint8_t, 3)
REF_MCU_FWD(rkdiBGRToYCbCr411LS_MCU_8u16s_C3P3R, (pixelsToBlocks<S411, BgrPixel>), uint8_t, 3)
REF_MCU_FWD(rkdiCMYKToYCCK444LS_MCU_8u16s_C4P4R, cmykToBlocks<S444>, uint8_t, 4)
REF_MCU_FWD(rkdiCMYKToYCCK422LS_MCU_8u16s_C4P4R, cmykToBlocks<S422>, uint8_t, 4)
REF_MCU_FWD(rkdiCMYKToYCCK411LS_MCU_8u16s_C4P4R, cmykToBlocks<S411>, uint8_t, 4)
REF_MCU_INV(rkdiYCbCr444ToRGBLS_MCU_16s8u_P3C3R, (blocksToPixels<S444, RgbPixel>), uint8_t, 3)
REF_MCU_INV(rkdiYCbCr422ToRGBLS_MCU_16s8u_P3C3R, (blocksToPixels<S422, RgbPixel>), uint8_t, 3)
REF_MCU_INV(rkdiYCbCr411ToRGBLS_MCU_16s8u_P3C3R, (blocksToPixels<S411, RgbPixel>), uint8_t, 3)
REF_MCU_INV(rkdiYCbCr444ToBGRLS_MCU_16s8u_P3C3R, (blocksToPixels<S444, BgrPixel>), uint8_t, 3)
REF_MCU_INV(rkdiYCbCr422ToBGRLS_MCU_16s8u_P3C3R, (blocksToPixels<S422, BgrPixel>), uint8_t, 3)
REF_MCU_INV(rkdiYCbCr411ToBGRLS_MCU_16s8u_P3C3R, (blocksToPixels<S411, BgrPixel>), uint8_t, 3)
REF_MCU_INV(rkdiYCCK444ToCMYKLS_MCU_16s8u_P4C4R, blocksToCmyk<S444>, uint8_t, 4)
REF_MCU_INV(rkdiYCCK422ToCMYKLS_MCU_16s8u_P4C4R, blocksToCmyk<S422>, uint8_t, 4)
REF_MCU_INV(rkdiYCCK411ToCMYKLS_MCU_16s8u_P4C4R, blocksToCmyk<S411>, uint8_t, 4)

REF_MCU_FWD(rkdiBGR555ToYCbCr444LS_MCU_16u16s_C3P3R, (pixelsToBlocks<S444, Bgr555>), uint16_t, 3)
REF_MCU_FWD(rkdiBGR555ToYCbCr422LS_MCU_16u16s_C3P3R, (pixelsToBlocks<S422, Bgr555>), uint16_t, 3)
REF_MCU_FWD(rkdiBGR555ToYCbCr411LS_MCU_16u16s_C3P3R, (pixelsToBlocks<S411, Bgr555>), uint16_t, 3)
REF_MCU_FWD(rkdiBGR565ToYCbCr444LS_MCU_16u16s_C3P3R, (pixelsToBlocks<S444, Bgr565>), uint16_t, 3)
REF_MCU_FWD(rkdiBGR565ToYCbCr422LS_MCU_16u16s_C3P3R, (pixelsToBlocks<S422, Bgr565>), uint16_t, 3)
REF_MCU_FWD(rkdiBGR565ToYCbCr411LS_MCU_16u16s_C3P3R, (pixelsToBlocks<S411, Bgr565>), uint16_t, 3)
REF_MCU_INV(rkdiYCbCr444ToBGR555LS_MCU_16s16u_P3C3R, (blocksToPixels<S444, Bgr555>), uint16_t, 3)
REF_MCU_INV(rkdiYCbCr422ToBGR555LS_MCU_16s16u_P3C3R, (blocksToPixels<S422, Bgr555>), uint16_t, 3)
REF_MCU_INV(rkdiYCbCr411ToBGR555LS_MCU_16s16u_P3C3R, (blocksToPixels<S411, Bgr555>), uint16_t, 3)
REF_MCU_INV(rkdiYCbCr444ToBGR565LS_MCU_16s16u_P3C3R, (blocksToPixels<S444, Bgr565>), uint16_t, 3)
REF_MCU_INV(rkdiYCbCr422ToBGR565LS_MCU_16s16u_P3C3R, (blocksToPixels<S422, Bgr565>), uint16_t, 3)
REF_MCU_INV(rkdiYCbCr411ToBGR565LS_MCU_16s16u_P3C3R, (blocksToPixels<S411, Bgr565>), uint16_t, 3)

REF_MCU_FWD(rkdiSampleDown444LS_MCU_8u16s_C3P3R, sampleDown<S444>, uint8_t, 3)
REF_MCU_FWD(rkdiSampleDown422LS_MCU_8u16s_C3P3R, sampleDown<S422>, uint8_t, 3)
REF_MCU_FWD(rkdiSampleDown411LS_MCU_8u16s_C3P3R, sampleDown<S411>, uint8_t, 3)
REF_MCU_INV(rkdiSampleUp444LS_MCU_16s8u_P3C3R, sampleUp<S444>, uint8_t, 3)
REF_MCU_INV(rkdiSampleUp422LS_MCU_16s8u_P3C3R, sampleUp<S422>, uint8_t, 3)
REF_MCU_INV(rkdiSampleUp411LS_MCU_16s8u_P3C3R, sampleUp<S411>, uint8_t, 3)

RkdStatus rkdiSplit422LS_MCU_8u16s_C2P3R(const uint8_t* src, int srcStep, int16_t* const dst[3]) {
  for (int y = 0; y < 8; ++y) {
    const uint8_t* s = row(src, srcStep, y);
    for (int x = 0; x < 16; ++x) {
      put(dst[0], S422::full(x, y), s[2 * x]);
      put(dst[1 + x % 2], S422::reduced(x, y), s[2 * x + 1]);
    }
  }
  return rkdStsNoErr;
}

RkdStatus rkdiJoin422LS_MCU_16s8u_P3C2R(const int16_t* const src[3], uint8_t* dst, int dstStep) {
  for (int y = 0; y < 8; ++y) {
    uint8_t* d = row(dst, dstStep, y);
    for (int x = 0; x < 16; ++x) {
      d[2 * x] = static_cast<uint8_t>(get(src[0], S422::full(x, y)));
      d[2 * x + 1] = static_cast<uint8_t>(get(src[1 + x % 2], S422::reduced(x, y)));
    }
  }
  return rkdStsNoErr;
}

}  // namespace ref
