/// @file
/// Texture blocks, pixel by pixel.
#include <algorithm>
#include <array>
#include <climits>
#include <cmath>
#include <cstdlib>
#include <vector>

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

struct Block {
  Pixel pixel[16];
  bool counts[16];
  int count;
  bool three;
  int last() const { return three ? 2 : 3; }  // the level of the upper end
};

// A direction in colour space, its components scaled to a sum of 127.
struct Axis {
  int weight[3];
  explicit Axis(const int (&direction)[3]) {
    int sum = 0;
    for (const int d : direction) sum += std::abs(d);
    const float scale = 127.0f / static_cast<float>(std::max(sum, 1));
    for (int c = 0; c < 3; ++c) {
      weight[c] = static_cast<int>(static_cast<float>(direction[c]) * scale);
    }
  }
  template <class T>
  int along(const T& colour) const {
    return weight[0] * colour[0] + weight[1] * colour[1] + weight[2] * colour[2];
  }
};

// What least squares need: sums over the colours that count, their levels 0.. and products.
struct Sums {
  int p[3] = {}, x[3] = {};  // of a channel, and of level times channel
  int s = 0, q = 0;          // of levels and their squares
};

// The direction in which the block's colours differ most.
Axis mainAxis(const Block& b) {
  int sum[3] = {}, product[3][3] = {}, covariance[3][3];
  for (int i = 0; i < 16; ++i) {
    for (int c = 0; c < 3 && b.counts[i]; ++c) {
      sum[c] += b.pixel[i][c];
      for (int k = 0; k < 3; ++k) product[c][k] += b.pixel[i][c] * b.pixel[i][k];
    }
  }
  int widest = 0;
  for (int c = 0; c < 3; ++c) {
    for (int k = 0; k < 3; ++k) covariance[c][k] = b.count * product[c][k] - sum[c] * sum[k];
    if (covariance[c][c] > covariance[widest][widest]) widest = c;
  }
  return Axis(covariance[widest]);
}

// Of what lies on the main axis.
struct Range {
  int low = INT_MAX, high = INT_MIN;
  Range(const Block& b, const Axis& axis) {
    for (int i = 0; i < 16; ++i) {
      if (!b.counts[i]) continue;
      low = std::min(low, axis.along(b.pixel[i]));
      high = std::max(high, axis.along(b.pixel[i]));
    }
  }
};

// Whether the colours lie near the range's ends and middle.
bool onThreeLevels(const Block& b, const Axis& axis) {
  const Range r(b, axis);
  const int range = r.high - r.low, twelfth = range * 5461 >> 16;
  bool middle = false;
  for (const Pixel& p : b.pixel) {
    const int away = std::abs(axis.along(p) - (r.low + range / 2));
    if (away >= twelfth && away <= 3 * twelfth) return false;
    middle = middle || away < twelfth;
  }
  return middle && range > 1270;
}

// The place on the axis of the steps of 5, 6, 5 bits nearest to the point of the axis through the
// mean that is at `along`.
float nearestStep(const Block& b, const Axis& axis, const Sums& sums, int along) {
  const auto dot = [](const float* x, const float* y) {
    return x[0] * y[0] + x[1] * y[1] + x[2] * y[2];
  };
  float weight[3], sum[3], step[3];
  for (int c = 0; c < 3; ++c) {
    weight[c] = static_cast<float>(axis.weight[c]);
    sum[c] = static_cast<float>(sums.p[c]);
  }
  const float inverse = 1.0f / std::max(dot(weight, weight), 1.0f);
  const float distance = (static_cast<float>(along * b.count) - dot(weight, sum)) * inverse;
  for (int c = 0; c < 3; ++c) {
    const auto last = static_cast<float>(top(c));
    const float scale = 1.0f / static_cast<float>(b.count) * (last / 255.0f);
    const float v = sum[c] * scale + 0.5f + weight[c] * scale * distance;
    step[c] = std::floor(std::clamp(v, 0.0f, last + 0.5f));
  }
  for (int c = 0; c < 3; ++c) weight[c] *= 255.0f / static_cast<float>(top(c));
  return dot(weight, step);
}

// The nearest levels between first ends.
Sums firstLevels(const Block& b, const Axis& axis) {
  Sums sums;
  for (int i = 0; i < 16; ++i) {
    for (int c = 0; c < 3 && b.counts[i]; ++c) sums.p[c] += b.pixel[i][c];
  }
  if (b.count == 0) return sums;
  const Range r(b, axis);
  const int inset = (r.high - r.low) >> 4;
  const int low = static_cast<int>(nearestStep(b, axis, sums, r.low + inset));
  const int high = static_cast<int>(nearestStep(b, axis, sums, r.high - inset));
  const auto range = static_cast<float>(high - low);
  const int base = low - static_cast<int>(range * (b.three ? 1 / 4.0f : 1 / 6.0f));
  const int past = static_cast<int>(range * (b.three ? 3 / 2.0f : 4 / 3.0f));
  const int scale = static_cast<int>((b.three ? 131072.0f : 196608.0f) / std::max(range, 4.0f));
  for (int i = 0; i < 16; ++i) {
    if (!b.counts[i]) continue;
    const int above = std::max(axis.along(b.pixel[i]) - base, 0);
    const int level = std::min(above, std::max(past - 1, 0)) * scale >> 16;
    sums.s += level;
    sums.q += level * level;
    for (int c = 0; c < 3; ++c) sums.x[c] += level * b.pixel[i][c];
  }
  return sums;
}

// Ends, in either order, whose level next to the upper one is nearest to v, and how near that is.
int nearestPair(int c, int v, bool three, int& upper, int& lower) {
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
  return best[0];
}

// The ends for colours that share a level; opaque blocks may take three levels.
void solidEnds(Block& b, const Sums& sums, bool mayAsk, Colour& upper, Colour& lower) {
  int mean[3], gained = 0;
  for (int c = 0; c < 3; ++c) {
    mean[c] = b.count ? (2 * sums.p[c] + b.count) / (2 * b.count) : 0;
    const int four = nearestPair(c, mean[c], false, upper.c[c], lower.c[c]);
    const int three = nearestPair(c, mean[c], true, upper.c[c], lower.c[c]);
    gained += four * four - three * three;
  }
  if (mayAsk && b.count == 16 && gained > 0) b.three = true;
  for (int c = 0; c < 3; ++c) nearestPair(c, mean[c], b.three, upper.c[c], lower.c[c]);
}

// The step nearest to v, which counts `unit` times.
int nearestStep(int c, int v, int unit) {
  const int last = 255 * std::max(unit, 1);
  const float scale = 1.0f / static_cast<float>(last) * static_cast<float>(top(c));
  const float step = static_cast<float>(std::clamp(v, 0, last)) * scale;
  return static_cast<int>(std::floor(step + 0.5f));
}

// The ends in 5, 6, 5 bits. mayAsk: opaque blocks may become blocks of three colours.
void fitEnds(Block& b, bool mayAsk, Colour& upper, Colour& lower) {
  const Axis axis = mainAxis(b);
  if (mayAsk && b.count == 16 && onThreeLevels(b, axis)) b.three = true;
  const Sums sums = firstLevels(b, axis);
  const int d = b.count * sums.q - sums.s * sums.s, last = b.last();
  if (d == 0) return solidEnds(b, sums, mayAsk, upper, lower);
  // What the product of both ends and the square of the lower one count.
  const int both = last * sums.s - sums.q;
  const int square = b.count * last * last - 2 * both - sums.q;
  for (int c = 0; c < 3; ++c) {
    const int low = sums.q * sums.p[c] - sums.s * sums.x[c];
    const int slope = b.count * sums.x[c] - sums.s * sums.p[c];
    upper.c[c] = nearestStep(c, low + last * slope, d);
    const int rest = last * (last * sums.p[c] - sums.x[c]);
    lower.c[c] = nearestStep(c, rest - both * widen(c, upper.c[c]), square);
  }
}

void encodeColour(Block& b, bool mayAsk, uint8_t* out) {
  Colour e0, e1;
  fitEnds(b, mayAsk, e0, e1);
  if (b.three ? pack(e0) > pack(e1) : pack(e0) < pack(e1)) std::swap(e0, e1);
  const int ends = pack(e0) | pack(e1) << 16;
  // From one end to the other.
  const Colour w0 = widen(e0), w1 = widen(e1);
  std::array<Colour, 4> palette = {w1, w1, w0, w0};
  int direction[3];
  for (int c = 0; c < 3; ++c) {
    direction[c] = w0.c[c] - w1.c[c];
    const int sum = w0.c[c] + w1.c[c];
    palette[1].c[c] = b.three ? sum / 2 : (sum + w1.c[c]) / 3;
    palette[2].c[c] = b.three ? sum / 2 : (sum + w0.c[c]) / 3;
  }
  const Axis axis(direction);
  const auto beyond = [&](const Pixel& p, int l) {  // nearer to level l + 1 than to l
    return axis.along(p) > (axis.along(palette[l].c) + axis.along(palette[l + 1].c)) >> 1;
  };
  uint32_t bits = 0;
  for (int i = 0; i < 16; ++i) {
    const Pixel& p = b.pixel[i];
    int index = beyond(p, 2) ? 0 : beyond(p, b.three ? 0 : 1) ? 2 : beyond(p, 0) ? 3 : 1;
    if (pack(e0) == pack(e1)) index = 0;
    if (!b.counts[i]) index = 3;
    bits |= static_cast<uint32_t>(index) << (2 * i);
  }
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

// Codes of alphas between two ends, with `last` levels above the lower one, and their squared
// error. Six levels come with codes for 0 and 255.
struct Alphas {
  int error = 0;
  uint64_t bits = 0;
  Alphas(const Block& b, int low, int high, int last) {
    const int range = std::max(high - low, 1), small = last == 7 ? 8 : 3;
    // With it division finds the nearest level, those between the ends being truncated.
    const int bias = range < small ? range - 1 : range / 2 + (last == 7 ? 2 : 1);
    for (int i = 15; i >= 0; --i) {
      const int a = b.pixel[i][3], level = (last * (a - low) + bias) / range;
      bits <<= 3;
      if (last == 5 && (a == 0 || a == 255)) {
        bits |= a == 0 ? 6 : 7;
        continue;
      }
      const int between = last == 7 ? 8 - level : level + 1;
      const int upperCode = last == 7 ? 0 : 1;  // of the largest alpha
      bits |= static_cast<uint64_t>(level == last ? upperCode
                                    : level == 0  ? 1 - upperCode
                                                  : between);
      const int missed = low + level * range / last - a;
      error += missed * missed;
    }
  }
};

void encodeAlpha5(const Block& b, uint8_t* out) {
  int low = 255, high = 0, innerLow = 255, innerHigh = 0;
  for (const Pixel& p : b.pixel) {
    low = std::min<int>(low, p[3]);
    high = std::max<int>(high, p[3]);
    if (p[3] != 0) innerLow = std::min<int>(innerLow, p[3]);
    if (p[3] != 255) innerHigh = std::max<int>(innerHigh, p[3]);
  }
  Alphas best(b, low, high, 7);
  if (low == high) best.bits = 0;
  out[0] = static_cast<uint8_t>(high);
  out[1] = static_cast<uint8_t>(low);
  if (const Alphas six(b, innerLow, innerHigh, 5); high - low > 56 && six.error < best.error) {
    best = six;
    out[0] = static_cast<uint8_t>(innerLow);
    out[1] = static_cast<uint8_t>(innerHigh);
  }
  for (int i = 0; i < 6; ++i) out[2 + i] = static_cast<uint8_t>(best.bits >> (8 * i));
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
      encodeColour(b, Format == 1, out);
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
