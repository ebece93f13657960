/// @file
/// Texture blocks, pixel by pixel.
#include <algorithm>
#include <array>
#include <cstdlib>

#include "ref_dxt.h"

namespace ref {
namespace {

using Pixel = uint8_t[4];
struct Colour {
  int c[3];
};

int top(int c) { return c == 1 ? 63 : 31; }  // of the channel's bits
int widen(int c, int v) { return c == 1 ? v << 2 | v >> 4 : v << 3 | v >> 2; }
Colour widen(Colour e) {
  for (int c = 0; c < 3; ++c) e.c[c] = widen(c, e.c[c]);
  return e;
}
int pack(Colour e) { return e.c[0] << 11 | e.c[1] << 5 | e.c[2]; }
int get16(const uint8_t* p) { return p[0] | p[1] << 8; }

// ---- decoding ----

void decodeColour(const uint8_t* block, bool threeAllowed, Pixel* out) {
  const int packed[2] = {get16(block), get16(block + 2)};
  const bool three = threeAllowed && packed[0] <= packed[1];
  for (int i = 0; i < 16; ++i) {
    const int index = block[4 + i / 4] >> (2 * (i % 4)) & 3;
    for (int c = 0; c < 3; ++c) {
      int e[2];
      for (int k = 0; k < 2; ++k)
        e[k] = widen(c, packed[k] >> (c == 0 ? 11 : c == 1 ? 5 : 0) & top(c));
      const int mixed[4] = {e[0], e[1], three ? (e[0] + e[1]) / 2 : (2 * e[0] + e[1]) / 3,
                            three ? 0 : (e[0] + 2 * e[1]) / 3};
      out[i][c] = static_cast<uint8_t>(mixed[index]);
    }
    out[i][3] = three && index == 3 ? 0 : 255;
  }
}

void decodeAlpha3(const uint8_t* block, Pixel* out) {
  for (int i = 0; i < 16; ++i)
    out[i][3] = static_cast<uint8_t>((block[i / 2] >> (4 * (i % 2)) & 15) * 17);
}

void decodeAlpha5(const uint8_t* block, Pixel* out) {
  const int a0 = block[0], a1 = block[1];
  const int last = a0 > a1 ? 7 : 5;
  uint64_t bits = 0;
  for (int i = 0; i < 6; ++i) bits |= uint64_t{block[2 + i]} << (8 * i);
  for (int i = 0; i < 16; ++i) {
    const int code = static_cast<int>(bits >> (3 * i) & 7);
    int alpha = code == 0 ? a0 : a1;
    if (code > last) {
      alpha = code == 6 ? 0 : 255;
    } else if (code > 1) {
      alpha = ((last + 1 - code) * a0 + (code - 1) * a1) / last;
    }
    out[i][3] = static_cast<uint8_t>(alpha);
  }
}

// ---- encoding ----

// Ends, in either order, whose level next to the upper one is nearest to v.
void nearestPair(int c, int v, bool three, int& upper, int& lower) {
  std::array<int, 4> best{256};  // error, distance and the ends themselves
  for (int u = 0; u <= top(c); ++u) {
    for (int l = 0; l <= top(c); ++l) {
      const int a = widen(c, u), b = widen(c, l);
      const int error = std::abs((three ? (a + b) / 2 : (2 * a + b) / 3) - v);
      best = std::min(best, {error, std::abs(u - l), u, l});
    }
  }
  upper = best[2];
  lower = best[3];
}

// Nearest of `last` + 1 levels, 0 at `from`; halves downwards.
int level(const Pixel& p, const Colour& from, const Colour& to, int last) {
  int along = 0, length = 0;
  for (int c = 0; c < 3; ++c) {
    const int axis = to.c[c] - from.c[c];
    along += (p[c] - from.c[c]) * axis;
    length += axis * axis;
  }
  int l = 0;
  while (l < last && 2 * last * along > (2 * l + 1) * length) ++l;
  return l;
}

struct Block {
  Pixel pixel[16];
  bool counts[16];
  int count;
  bool three;
};

void boxDiagonal(const Block& b, Colour& upper, Colour& lower) {
  for (int c = 0; c < 3; ++c) {
    lower.c[c] = b.count ? 255 : 0;
    upper.c[c] = 0;
    for (int i = 0; i < 16; ++i) {
      if (!b.counts[i]) continue;
      lower.c[c] = std::min<int>(lower.c[c], b.pixel[i][c]);
      upper.c[c] = std::max<int>(upper.c[c], b.pixel[i][c]);
    }
  }
  int widest = 1;
  for (const int c : {0, 2}) {
    if (upper.c[c] - lower.c[c] > upper.c[widest] - lower.c[widest]) widest = c;
  }
  for (int c = 0; c < 3; ++c) {
    int sum = 0, sumWidest = 0, products = 0;
    for (int i = 0; i < 16; ++i) {
      if (!b.counts[i]) continue;
      sum += b.pixel[i][c];
      sumWidest += b.pixel[i][widest];
      products += b.pixel[i][c] * b.pixel[i][widest];
    }
    if (b.count * products < sum * sumWidest) std::swap(upper.c[c], lower.c[c]);
  }
}

// The ends in 5, 6, 5 bits, and whether all colours are on the level next to the upper one.
bool fitEnds(const Block& b, Colour& upper, Colour& lower) {
  const int last = b.three ? 2 : 3;
  int s = 0, q = 0, p[3] = {}, x[3] = {};
  for (int i = 0; i < 16; ++i) {
    if (!b.counts[i]) continue;
    const int l = level(b.pixel[i], lower, upper, last);
    s += l;
    q += l * l;
    for (int c = 0; c < 3; ++c) {
      p[c] += b.pixel[i][c];
      x[c] += l * b.pixel[i][c];
    }
  }
  const int d = b.count * q - s * s;
  for (int c = 0; c < 3; ++c) {
    if (d == 0) {
      nearestPair(c, (upper.c[c] + lower.c[c] + 1) / 2, b.three, upper.c[c], lower.c[c]);
      continue;
    }
    const int low = q * p[c] - s * x[c];
    const int high = low + last * (b.count * x[c] - s * p[c]);
    const auto quantised = [&](int v) {
      return (2 * top(c) * std::clamp(v, 0, 255 * d) + 255 * d) / (510 * d);
    };
    lower.c[c] = quantised(low);
    upper.c[c] = quantised(high);
  }
  return d == 0;
}

void encodeColour(Block& b, uint8_t* out) {
  Colour e0, e1;
  boxDiagonal(b, e0, e1);
  const bool shared = fitEnds(b, e0, e1);
  const bool swapped = b.three ? pack(e0) > pack(e1) : pack(e0) < pack(e1);
  if (swapped) std::swap(e0, e1);
  const int last = b.three ? 2 : 3;
  const Colour w0 = widen(e0), w1 = widen(e1);
  uint32_t bits = 0;
  for (int i = 0; i < 16; ++i) {
    const int l = level(b.pixel[i], w1, w0, last);
    unsigned index = l == last ? 0u : l == 0 ? 1u : l == last - 1 ? 2u : 3u;
    if (shared) index = swapped && !b.three ? 3u : 2u;
    if (pack(e0) == pack(e1)) index = 0;
    if (!b.counts[i]) index = 3;
    bits |= index << (2 * i);
  }
  const uint32_t ends = static_cast<uint32_t>(pack(e0) | pack(e1) << 16);
  for (int i = 0; i < 4; ++i) {
    out[i] = static_cast<uint8_t>(ends >> (8 * i));
    out[4 + i] = static_cast<uint8_t>(bits >> (8 * i));
  }
}

void encodeAlpha3(const Block& b, uint8_t* out) {
  for (int i = 0; i < 16; i += 2) {
    const int low = (b.pixel[i][3] + 8) / 17, high = (b.pixel[i + 1][3] + 8) / 17;
    out[i / 2] = static_cast<uint8_t>(low | high << 4);
  }
}

void encodeAlpha5(const Block& b, uint8_t* out) {
  int low = 255, high = 0;
  for (const Pixel& p : b.pixel) {
    low = std::min<int>(low, p[3]);
    high = std::max<int>(high, p[3]);
  }
  uint64_t bits = 0;
  for (int i = 0; i < 16; ++i) {
    int l = 0;
    while (l < 7 && 14 * (b.pixel[i][3] - low) > (2 * l + 1) * (high - low)) ++l;
    const int code = high == low || l == 7 ? 0 : l == 0 ? 1 : 8 - l;
    bits |= static_cast<uint64_t>(code) << (3 * i);
  }
  out[0] = static_cast<uint8_t>(high);
  out[1] = static_cast<uint8_t>(low);
  for (int i = 0; i < 6; ++i) out[2 + i] = static_cast<uint8_t>(bits >> (8 * i));
}

template <int Format>
RkdStatus encode(const uint8_t* src, int srcStep, uint8_t* dst, int dstStep, RkdiSize size) {
  for (int y = 0; y < size.height; y += 4) {
    uint8_t* out = dst + static_cast<ptrdiff_t>(dstStep) * (y / 4);
    for (int x = 0; x < size.width; x += 4) {
      Block b{};
      for (int i = 0; i < 16; ++i) {
        const uint8_t* p = src + static_cast<ptrdiff_t>(srcStep) * (y + i / 4) + 4 * (x + i % 4);
        std::copy(p, p + 4, b.pixel[i]);
        b.counts[i] = Format != 1 || p[3] >= 128;
        b.count += b.counts[i];
      }
      b.three = b.count < 16;
      if (Format == 3) encodeAlpha3(b, out);
      if (Format == 5) encodeAlpha5(b, out);
      if (Format != 1) out += 8;
      encodeColour(b, out);
      out += 8;
    }
  }
  return rkdStsNoErr;
}

template <int Format>
RkdStatus decode(const uint8_t* src, int srcStep, uint8_t* dst, int dstStep, RkdiSize size) {
  for (int y = 0; y < size.height; y += 4) {
    const uint8_t* in = src + static_cast<ptrdiff_t>(srcStep) * (y / 4);
    for (int x = 0; x < size.width; x += 4) {
      Pixel out[16];
      decodeColour(Format == 1 ? in : in + 8, Format == 1, out);
      if (Format == 3) decodeAlpha3(in, out);
      if (Format == 5) decodeAlpha5(in, out);
      in += Format == 1 ? 8 : 16;
      for (int i = 0; i < 16; ++i) {
        std::copy(out[i], out[i] + 4,
                  dst + static_cast<ptrdiff_t>(dstStep) * (y + i / 4) + 4 * (x + i % 4));
      }
    }
  }
  return rkdStsNoErr;
}

}  // namespace

#define REF_DXT(Format)                                                            \
  RkdStatus rkdiTextureEncodeBlockFromRGBA_DXT##Format##_8u_C4C1R(                 \
      const uint8_t* src, int srcStep, uint8_t* dst, int dstStep, RkdiSize size) { \
    return encode<Format>(src, srcStep, dst, dstStep, size);                       \
  }                                                                                \
  RkdStatus rkdiTextureDecodeBlockToRGBA_DXT##Format##_8u_C1C4R(                   \
      const uint8_t* src, int srcStep, uint8_t* dst, int dstStep, RkdiSize size) { \
    return decode<Format>(src, srcStep, dst, dstStep, size);                       \
  }
REF_DXT(1)
REF_DXT(3)
REF_DXT(5)

}  // namespace ref
