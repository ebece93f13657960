// Colour conversion of pixels, in fixed point as the public header states it.
#include <cmath>
#include <type_traits>

#include "pixels.h"
#include "ref_color.h"

namespace ref {
namespace {

/// Calls pixel(x, y) for every pixel of the region.
template <class Pixel>
RkdStatus forEachPixel(RkdiSize size, Pixel pixel) {
  for (int y = 0; y < size.height; ++y) {
    for (int x = 0; x < size.width; ++x) pixel(x, y);
  }
  return rkdStsNoErr;
}

/// Planar operands as pixels.
template <class T>
Rgb planes(const T* const p[3], int step, int x, int y) {
  return {row(p[0], step, y)[x], row(p[1], step, y)[x], row(p[2], step, y)[x]};
}

void putYcc(uint8_t* const dst[], int step, int x, int y, Ycc p) {
  row(dst[0], step, y)[x] = static_cast<uint8_t>(p.y);
  row(dst[1], step, y)[x] = static_cast<uint8_t>(p.cb);
  row(dst[2], step, y)[x] = static_cast<uint8_t>(p.cr);
}

Ycc getYcc(const uint8_t* const src[], int step, int x, int y) {
  const Rgb p = planes(src, step, x, y);
  return {p.r, p.g, p.b};
}

template <class Format>
RkdStatus toPlanes(const typename Format::Sample* src, int srcStep, uint8_t* const dst[3],
                   int dstStep, RkdiSize size) {
  return forEachPixel(size, [&](int x, int y) {
    putYcc(dst, dstStep, x, y, toYcc(Format::get(row(src, srcStep, y), x)));
  });
}

template <class Format>
RkdStatus fromPlanes(const uint8_t* const src[3], int srcStep, typename Format::Sample* dst,
                     int dstStep, RkdiSize size) {
  return forEachPixel(size, [&](int x, int y) {
    Format::put(row(dst, dstStep, y), x, toRgb(getYcc(src, srcStep, x, y)));
  });
}

template <class Format>
RkdStatus toGrey(const uint8_t* src, int srcStep, uint8_t* dst, int dstStep, RkdiSize size) {
  return forEachPixel(size, [&](int x, int y) {
    row(dst, dstStep, y)[x] = static_cast<uint8_t>(toYcc(Format::get(row(src, srcStep, y), x)).y);
  });
}

Rgb complement(Rgb p) { return {255 - p.r, 255 - p.g, 255 - p.b}; }

}  // namespace

// ---- RGB, BGR ----

RkdStatus rkdiRGBToY_JPEG_8u_P3C1R(const uint8_t* const src[3], int srcStep, uint8_t* dst,
                                   int dstStep, RkdiSize size) {
  return forEachPixel(size, [&](int x, int y) {
    row(dst, dstStep, y)[x] = static_cast<uint8_t>(toYcc(planes(src, srcStep, x, y)).y);
  });
}

RkdStatus rkdiRGBToY_JPEG_8u_C3C1R(const uint8_t* src, int srcStep, uint8_t* dst, int dstStep,
                                   RkdiSize size) {
  return toGrey<RgbPixel>(src, srcStep, dst, dstStep, size);
}

RkdStatus rkdiBGRToY_JPEG_8u_C3C1R(const uint8_t* src, int srcStep, uint8_t* dst, int dstStep,
                                   RkdiSize size) {
  return toGrey<BgrPixel>(src, srcStep, dst, dstStep, size);
}

RkdStatus rkdiRGBToYCbCr_JPEG_8u_P3R(const uint8_t* const src[3], int srcStep,
                                     uint8_t* const dst[3], int dstStep, RkdiSize size) {
  return forEachPixel(
      size, [&](int x, int y) { putYcc(dst, dstStep, x, y, toYcc(planes(src, srcStep, x, y))); });
}

RkdStatus rkdiYCbCrToRGB_JPEG_8u_P3R(const uint8_t* const src[3], int srcStep,
                                     uint8_t* const dst[3], int dstStep, RkdiSize size) {
  return forEachPixel(size, [&](int x, int y) {
    const Rgb p = toRgb(getYcc(src, srcStep, x, y));
    putYcc(dst, dstStep, x, y, {p.r, p.g, p.b});
  });
}

#define REF_TO_PLANES(Name, Format)                                                          \
  RkdStatus Name(const Format::Sample* src, int srcStep, uint8_t* const dst[3], int dstStep, \
                 RkdiSize size) {                                                            \
    return toPlanes<Format>(src, srcStep, dst, dstStep, size);                               \
  }
#define REF_FROM_PLANES(Name, Format)                                                        \
  RkdStatus Name(const uint8_t* const src[3], int srcStep, Format::Sample* dst, int dstStep, \
                 RkdiSize size) {                                                            \
    return fromPlanes<Format>(src, srcStep, dst, dstStep, size);                             \
  }

REF_TO_PLANES(rkdiRGBToYCbCr_JPEG_8u_C3P3R, RgbPixel)
REF_TO_PLANES(rkdiBGRToYCbCr_JPEG_8u_C3P3R, BgrPixel)
REF_TO_PLANES(rkdiRGB555ToYCbCr_JPEG_16u8u_C3P3R, Rgb555)
REF_TO_PLANES(rkdiBGR555ToYCbCr_JPEG_16u8u_C3P3R, Bgr555)
REF_TO_PLANES(rkdiRGB565ToYCbCr_JPEG_16u8u_C3P3R, Rgb565)
REF_TO_PLANES(rkdiBGR565ToYCbCr_JPEG_16u8u_C3P3R, Bgr565)
REF_FROM_PLANES(rkdiYCbCrToRGB_JPEG_8u_P3C3R, RgbPixel)
REF_FROM_PLANES(rkdiYCbCrToBGR_JPEG_8u_P3C3R, BgrPixel)
REF_FROM_PLANES(rkdiYCbCrToRGB555_JPEG_8u16u_P3C3R, Rgb555)
REF_FROM_PLANES(rkdiYCbCrToBGR555_JPEG_8u16u_P3C3R, Bgr555)
REF_FROM_PLANES(rkdiYCbCrToRGB565_JPEG_8u16u_P3C3R, Rgb565)
REF_FROM_PLANES(rkdiYCbCrToBGR565_JPEG_8u16u_P3C3R, Bgr565)

RkdStatus rkdiYCbCr422ToRGB_JPEG_8u_C2C3R(const uint8_t* src, int srcStep, uint8_t* dst,
                                          int dstStep, RkdiSize size) {
  return forEachPixel(size, [&](int x, int y) {
    const uint8_t* s = row(src, srcStep, y);
    const int pair = 4 * (x / 2);
    RgbPixel::put(row(dst, dstStep, y), x, toRgb({s[2 * x], s[pair + 1], s[pair + 3]}));
  });
}

// ---- CMYK ----

RkdStatus rkdiCMYKToYCCK_JPEG_8u_P4R(const uint8_t* const src[4], int srcStep,
                                     uint8_t* const dst[4], int dstStep, RkdiSize size) {
  return forEachPixel(size, [&](int x, int y) {
    putYcc(dst, dstStep, x, y, toYcc(complement(planes(src, srcStep, x, y))));
    row(dst[3], dstStep, y)[x] = row(src[3], srcStep, y)[x];
  });
}

RkdStatus rkdiCMYKToYCCK_JPEG_8u_C4P4R(const uint8_t* src, int srcStep, uint8_t* const dst[4],
                                       int dstStep, RkdiSize size) {
  return forEachPixel(size, [&](int x, int y) {
    const uint8_t* s = row(src, srcStep, y) + 4 * x;
    putYcc(dst, dstStep, x, y, toYcc(complement({s[0], s[1], s[2]})));
    row(dst[3], dstStep, y)[x] = s[3];
  });
}

RkdStatus rkdiYCCKToCMYK_JPEG_8u_P4R(const uint8_t* const src[4], int srcStep,
                                     uint8_t* const dst[4], int dstStep, RkdiSize size) {
  return forEachPixel(size, [&](int x, int y) {
    const Rgb p = complement(toRgb(getYcc(src, srcStep, x, y)));
    putYcc(dst, dstStep, x, y, {p.r, p.g, p.b});
    row(dst[3], dstStep, y)[x] = row(src[3], srcStep, y)[x];
  });
}

RkdStatus rkdiYCCKToCMYK_JPEG_8u_P4C4R(const uint8_t* const src[4], int srcStep, uint8_t* dst,
                                       int dstStep, RkdiSize size) {
  return forEachPixel(size, [&](int x, int y) {
    const Rgb p = complement(toRgb(getYcc(src, srcStep, x, y)));
    uint8_t* d = row(dst, dstStep, y) + 4 * x;
    d[0] = static_cast<uint8_t>(p.r);
    d[1] = static_cast<uint8_t>(p.g);
    d[2] = static_cast<uint8_t>(p.b);
    d[3] = row(src[3], srcStep, y)[x];
  });
}
}  // namespace ref
