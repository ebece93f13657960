/// @file
/// Pixel access and colour arithmetic shared by the plain colour and MCU functions.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "samples.h"

namespace ref {

inline int clamp8(int v) { return std::clamp(v, 0, 255); }

struct Rgb {
  int r, g, b;
};
struct Ycc {
  int y, cb, cr;
};

/// c * 65536, rounded.
constexpr int fixed16(double c) { return static_cast<int>(c * 65536 + (c < 0 ? -0.5 : 0.5)); }

/// ITU-T T.871, clause 7, in the fixed-point form that rkdcolor.h defines.
inline Ycc toYcc(Rgb p) {
  const int y = fixed16(.299) * p.r + fixed16(.587) * p.g + fixed16(.114) * p.b;
  const int cb = -fixed16(.168735892) * p.r - fixed16(.331264108) * p.g + fixed16(.5) * p.b;
  const int cr = fixed16(.5) * p.r - fixed16(.418687589) * p.g - fixed16(.081312411) * p.b;
  const int bias = 128 * 65536 + 32767;
  return {(y + 32768) >> 16, (cb + bias) >> 16, (cr + bias) >> 16};
}

inline Rgb toRgb(Ycc p) {
  const int cb = p.cb - 128, cr = p.cr - 128;
  return {clamp8(p.y + ((fixed16(1.402) * cr + 32768) >> 16)),
          clamp8(p.y + ((-fixed16(.34414) * cb - fixed16(.71414) * cr + 32768) >> 16)),
          clamp8(p.y + ((fixed16(1.772) * cb + 32768) >> 16))};
}

/// @name Pixel formats
/// get reads pixel x of a row as RGB, put writes it.
/// @{
struct RgbPixel {
  using Sample = uint8_t;
  static Rgb get(const uint8_t* row, int x) { return {row[3 * x], row[3 * x + 1], row[3 * x + 2]}; }
  static void put(uint8_t* row, int x, Rgb p) {
    row[3 * x] = static_cast<uint8_t>(p.r);
    row[3 * x + 1] = static_cast<uint8_t>(p.g);
    row[3 * x + 2] = static_cast<uint8_t>(p.b);
  }
};

struct BgrPixel {
  using Sample = uint8_t;
  static Rgb get(const uint8_t* row, int x) {
    const Rgb p = RgbPixel::get(row, x);
    return {p.b, p.g, p.r};
  }
  static void put(uint8_t* row, int x, Rgb p) { RgbPixel::put(row, x, {p.b, p.g, p.r}); }
};

/// Packed: `High` bits at the top, then green, then five bits; BlueFirst puts blue on top.
template <int GreenBits, bool BlueFirst>
struct PackedPixel {
  using Sample = uint16_t;
  static int widen(int v, int bits) { return v << (8 - bits) | v >> (2 * bits - 8); }
  static Rgb get(Samples<const uint16_t> row, int x) {
    const int v = row[x];
    const int top = widen(v >> (5 + GreenBits) & 31, 5);
    const int green = widen(v >> 5 & ((1 << GreenBits) - 1), GreenBits);
    const int low = widen(v & 31, 5);
    return BlueFirst ? Rgb{low, green, top} : Rgb{top, green, low};
  }
  static void put(Samples<uint16_t> row, int x, Rgb p) {
    const int top = BlueFirst ? p.b : p.r, low = BlueFirst ? p.r : p.b;
    row[x] = static_cast<uint16_t>((top >> 3) << (5 + GreenBits) | (p.g >> (8 - GreenBits)) << 5 |
                                   low >> 3);
  }
};
using Rgb555 = PackedPixel<5, false>;
using Bgr555 = PackedPixel<5, true>;
using Rgb565 = PackedPixel<6, false>;
using Bgr565 = PackedPixel<6, true>;
/// @}

}  // namespace ref
