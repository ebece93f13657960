// Texture blocks. A 32-bit lane holds one block, so that all steps of the rule in the public header
// run for a vector of blocks side by side without branches.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "texture/dxt.cpp"
#include "hwy/foreach_target.h"

#include <algorithm>

#include "common/lanes-inl.h"
#include "common/levels.h"
#include "hwy/highway.h"
#include "rkd/rkdjpeg_texture.h"

#ifndef RKD_TEXTURE_SOLID_
#define RKD_TEXTURE_SOLID_
namespace rkd {
// For every value the two ends, upper << 8 | lower, whose level next to the upper one is nearest.
struct SolidTable {
  int32_t ends[256];
};
constexpr SolidTable solidTable(int bits, bool three) {
  SolidTable table{};
  int cost[256] = {};
  for (int v = 0; v < 256; ++v) cost[v] = 1 << 30;
  for (int upper = 0; upper < 1 << bits; ++upper) {
    for (int lower = 0; lower < 1 << bits; ++lower) {
      const int a = upper << (8 - bits) | upper >> (2 * bits - 8);
      const int b = lower << (8 - bits) | lower >> (2 * bits - 8);
      const int mixed = three ? (a + b) / 2 : (2 * a + b) / 3;
      const int apart = upper < lower ? lower - upper : upper - lower;
      const int first = mixed < 4 ? 0 : mixed - 4, past = mixed > 251 ? 256 : mixed + 5;
      for (int v = first; v < past; ++v) {
        const int error = mixed < v ? v - mixed : mixed - v;
        const int c = ((error * 64 + apart) * 64 + upper) * 64 + lower;
        if (c >= cost[v]) continue;
        cost[v] = c;
        table.ends[v] = upper << 8 | lower;
      }
    }
  }
  return table;
}
// Four colours, then three.
inline constexpr SolidTable kSolid5[2] = {solidTable(5, false), solidTable(5, true)};
inline constexpr SolidTable kSolid6[2] = {solidTable(6, false), solidTable(6, true)};
}  // namespace rkd
#endif

HWY_BEFORE_NAMESPACE();
namespace rkd::HWY_NAMESPACE {

using D32 = hn::ScalableTag<int32_t>;
using V32 = hn::Vec<D32>;
using DU32 = hn::RebindToUnsigned<D32>;
using VU32 = hn::Vec<DU32>;
using M32 = hn::Mask<D32>;
inline constexpr int kLanes = static_cast<int>(hn::MaxLanes(D32()));

HWY_INLINE V32 all(int v) { return hn::Set(D32(), v); }
HWY_INLINE VU32 bits(V32 v) { return hn::BitCast(DU32(), v); }
HWY_INLINE V32 ints(VU32 v) { return hn::BitCast(D32(), v); }
HWY_INLINE V32 choose(M32 m, V32 yes, V32 no) { return hn::IfThenElse(m, yes, no); }
HWY_INLINE V32 counted(M32 m, V32 v) { return hn::IfThenElseZero(m, v); }
template <int C>
HWY_INLINE V32 channel(VU32 pixel) {
  return ints(hn::And(hn::ShiftRight<8 * C>(pixel), hn::Set(DU32(), 255)));
}
HWY_INLINE V32 channelOf(VU32 pixel, int c) {
  return c == 0 ? channel<0>(pixel) : c == 1 ? channel<1>(pixel) : channel<2>(pixel);
}

struct Colours {
  V32 c[3];
};
struct Ends {
  Colours upper, lower;
  V32 shared;  // all ones: every colour is on the level next to the upper end
};

// Pixels, whether they count, and what follows from that.
struct Blocks {
  VU32 pixel[16];
  V32 counts[16];  // all ones or zero
  V32 count;
  V32 three;  // all ones or zero
};

HWY_INLINE M32 isSet(V32 flag) { return hn::MaskFromVec(flag); }

RKD_BLOCK Ends boxDiagonal(const Blocks& b) {
  Ends e;
  V32 sum[3], product[3];  // products: RG, RB, GB
  for (int c = 0; c < 3; ++c) {
    e.lower.c[c] = counted(hn::Gt(b.count, all(0)), all(255));
    e.upper.c[c] = sum[c] = product[c] = all(0);
  }
  for (int i = 0; i < 16; ++i) {
    V32 v[3];
    for (int c = 0; c < 3; ++c) {
      v[c] = hn::And(channelOf(b.pixel[i], c), b.counts[i]);
      e.upper.c[c] = hn::Max(e.upper.c[c], v[c]);
      e.lower.c[c] = hn::Min(e.lower.c[c], choose(isSet(b.counts[i]), v[c], all(255)));
      sum[c] = hn::Add(sum[c], v[c]);
    }
    product[0] = hn::Add(product[0], hn::Mul(v[0], v[1]));
    product[1] = hn::Add(product[1], hn::Mul(v[0], v[2]));
    product[2] = hn::Add(product[2], hn::Mul(v[1], v[2]));
  }
  // Whether the covariances RG, RB, GB are negative.
  const auto negative = [&](int p, int x, int y) HWY_ATTR {
    return hn::VecFromMask(D32(), hn::Lt(hn::Mul(b.count, product[p]), hn::Mul(sum[x], sum[y])));
  };
  const V32 rg = negative(0, 0, 1), rb = negative(1, 0, 2), gb = negative(2, 1, 2);
  V32 extent[3];
  for (int c = 0; c < 3; ++c) extent[c] = hn::Sub(e.upper.c[c], e.lower.c[c]);
  const M32 redWider = hn::Gt(extent[0], extent[1]);
  const M32 blueWidest = hn::Gt(extent[2], hn::Max(extent[0], extent[1]));
  const V32 flip[3] = {choose(blueWidest, rb, choose(redWider, all(0), rg)),
                       choose(blueWidest, gb, choose(redWider, rg, all(0))),
                       choose(blueWidest, all(0), choose(redWider, rb, gb))};
  for (int c = 0; c < 3; ++c) {
    const V32 upper = e.upper.c[c];
    e.upper.c[c] = choose(isSet(flip[c]), e.lower.c[c], upper);
    e.lower.c[c] = choose(isSet(flip[c]), upper, e.lower.c[c]);
  }
  return e;
}

// Levels of colours on a line, 0 at its lower end: twelfths of its length are compared, which suits
// both three and four levels.
struct Line {
  Colours from, axis;
  V32 threshold[3];
  HWY_INLINE Line(const Ends& e, V32 three) : from(e.lower) {
    V32 length = all(0);
    for (int c = 0; c < 3; ++c) {
      axis.c[c] = hn::Sub(e.upper.c[c], e.lower.c[c]);
      length = hn::Add(length, hn::Mul(axis.c[c], axis.c[c]));
    }
    const M32 m = isSet(three);
    threshold[0] = hn::Mul(length, choose(m, all(3), all(2)));
    threshold[1] = hn::Mul(length, choose(m, all(9), all(6)));
    threshold[2] = choose(m, all(INT32_MAX), hn::Mul(length, all(10)));
  }
  HWY_INLINE V32 level(VU32 pixel) const {
    V32 along = all(0);
    for (int c = 0; c < 3; ++c) {
      along = hn::Add(along, hn::Mul(hn::Sub(channelOf(pixel, c), from.c[c]), axis.c[c]));
    }
    along = hn::Mul(along, all(12));
    V32 level = all(0);
    for (const V32& t : threshold) {
      level = hn::Sub(level, hn::VecFromMask(D32(), hn::Gt(along, t)));
    }
    return level;
  }
};

// n / d for 0 <= n < 2^31 with a quotient below 64: the estimate is off by one at most.
HWY_INLINE V32 divide(V32 n, V32 d) {
  const hn::Repartition<float, D32> df;
  V32 q = hn::ConvertTo(D32(), hn::Div(hn::ConvertTo(df, n), hn::ConvertTo(df, d)));
  const V32 rest = hn::Sub(n, hn::Mul(q, d));
  q = hn::Add(q, hn::VecFromMask(D32(), hn::Lt(rest, all(0))));
  return hn::Sub(q, hn::VecFromMask(D32(), hn::Gt(rest, hn::Sub(d, all(1)))));
}

// The ends in 5, 6, 5 bits.
RKD_BLOCK Ends fitEnds(const Blocks& b, const Ends& box) {
  const Line line(box, b.three);
  V32 s = all(0), q = all(0);
  V32 p[3] = {s, s, s}, x[3] = {s, s, s};
  for (int i = 0; i < 16; ++i) {
    const V32 level = hn::And(line.level(b.pixel[i]), b.counts[i]);
    s = hn::Add(s, level);
    q = hn::Add(q, hn::Mul(level, level));
    for (int c = 0; c < 3; ++c) {
      const V32 v = hn::And(channelOf(b.pixel[i], c), b.counts[i]);
      p[c] = hn::Add(p[c], v);
      x[c] = hn::Add(x[c], hn::Mul(level, v));
    }
  }
  const V32 d = hn::Sub(hn::Mul(b.count, q), hn::Mul(s, s));
  const M32 shared = hn::Eq(d, all(0));
  const V32 safe = hn::Max(d, all(1));
  const V32 scale = hn::Mul(safe, all(255));
  const V32 last = hn::Add(all(3), b.three);
  Ends e;
  e.shared = hn::VecFromMask(D32(), shared);
  for (int c = 0; c < 3; ++c) {
    const V32 low = hn::Sub(hn::Mul(q, p[c]), hn::Mul(s, x[c]));
    const V32 slope = hn::Sub(hn::Mul(b.count, x[c]), hn::Mul(s, p[c]));
    const V32 high = hn::Add(low, hn::Mul(last, slope));
    const V32 twiceTop = all(c == 1 ? 126 : 62);
    const auto quantised = [&](V32 v) HWY_ATTR {
      const V32 inside = hn::Min(hn::Max(v, all(0)), scale);
      return divide(hn::Add(hn::Mul(twiceTop, inside), scale), hn::Add(scale, scale));
    };
    const V32 middle = hn::ShiftRight<1>(hn::Add(hn::Add(box.upper.c[c], box.lower.c[c]), all(1)));
    const V32 index = hn::Add(middle, hn::And(b.three, all(256)));
    const int32_t* table = c == 1 ? kSolid6[0].ends : kSolid5[0].ends;
    const V32 solid = hn::GatherIndex(D32(), table, index);
    e.upper.c[c] = choose(shared, hn::ShiftRight<8>(solid), quantised(high));
    e.lower.c[c] = choose(shared, hn::And(solid, all(255)), quantised(low));
  }
  return e;
}

HWY_INLINE V32 pack565(const Colours& e) {
  return hn::Or(hn::Or(hn::ShiftLeft<11>(e.c[0]), hn::ShiftLeft<5>(e.c[1])), e.c[2]);
}
HWY_INLINE void widen(Colours& e) {
  for (int c = 0; c < 3; c += 2) {
    e.c[c] = hn::Or(hn::ShiftLeft<3>(e.c[c]), hn::ShiftRight<2>(e.c[c]));
  }
  e.c[1] = hn::Or(hn::ShiftLeft<2>(e.c[1]), hn::ShiftRight<4>(e.c[1]));
}

RKD_BLOCK void encodeColours(const Blocks& b, VU32* word) {
  Ends e = fitEnds(b, boxDiagonal(b));
  const V32 packed[2] = {pack565(e.upper), pack565(e.lower)};
  const M32 equal = hn::Eq(packed[0], packed[1]);
  const V32 less = hn::VecFromMask(D32(), hn::Lt(packed[0], packed[1]));
  const V32 more = hn::VecFromMask(D32(), hn::Gt(packed[0], packed[1]));
  const M32 swap = isSet(choose(isSet(b.three), more, less));
  for (int c = 0; c < 3; ++c) {
    const V32 upper = e.upper.c[c];
    e.upper.c[c] = choose(swap, e.lower.c[c], upper);
    e.lower.c[c] = choose(swap, upper, e.lower.c[c]);
  }
  word[0] = bits(hn::Or(pack565(e.upper), hn::ShiftLeft<16>(pack565(e.lower))));
  widen(e.upper);
  widen(e.lower);
  const Line line(e, b.three);
  const V32 last = hn::Add(all(3), b.three);
  const V32 sharedIndex = choose(hn::AndNot(isSet(b.three), swap), all(3), all(2));
  VU32 indices = hn::Zero(DU32());
  for (int i = 15; i >= 0; --i) {
    // From the upper end 0, 2, 3, 1 (0, 2, 1 of three levels).
    const V32 level = line.level(b.pixel[i]);
    V32 index = hn::Add(hn::Sub(last, level), all(1));
    index = choose(hn::Eq(level, last), all(0), index);
    index = choose(hn::Eq(level, all(0)), all(1), index);
    index = choose(isSet(e.shared), sharedIndex, index);
    index = choose(equal, all(0), index);
    index = choose(isSet(b.counts[i]), index, all(3));
    indices = hn::Or(hn::ShiftLeft<2>(indices), bits(index));
  }
  word[1] = indices;
}

RKD_BLOCK void encodeAlpha3(const Blocks& b, VU32* word) {
  for (int half = 0; half < 2; ++half) {
    word[half] = hn::Zero(DU32());
    for (int i = 7; i >= 0; --i) {
      const V32 a = channel<3>(b.pixel[8 * half + i]);
      // 241 / 4096 is 1 / 17 for all that can come up.
      const V32 nibble = hn::ShiftRight<12>(hn::Mul(hn::Add(a, all(8)), all(241)));
      word[half] = hn::Or(hn::ShiftLeft<4>(word[half]), bits(nibble));
    }
  }
}

RKD_BLOCK void encodeAlpha5(const Blocks& b, VU32* word) {
  V32 low = all(255), high = all(0);
  for (const VU32& pixel : b.pixel) {
    low = hn::Min(low, channel<3>(pixel));
    high = hn::Max(high, channel<3>(pixel));
  }
  const V32 range = hn::Sub(high, low);
  VU32 codes[2];
  for (int half = 0; half < 2; ++half) {
    codes[half] = hn::Zero(DU32());
    for (int i = 7; i >= 0; --i) {
      const V32 along = hn::Mul(hn::Sub(channel<3>(b.pixel[8 * half + i]), low), all(14));
      V32 code = all(8), threshold = range;
      for (int l = 0; l < 7; ++l) {
        code = hn::Add(code, hn::VecFromMask(D32(), hn::Gt(along, threshold)));
        threshold = hn::Add(threshold, hn::Add(range, range));
      }
      // 8 minus the level, but 1 and 0 at the ends.
      const M32 bottom = hn::Eq(code, all(8)), top = hn::Eq(code, all(1));
      code = choose(bottom, all(1), choose(top, all(0), code));
      code = choose(hn::Eq(range, all(0)), all(0), code);
      codes[half] = hn::Or(hn::ShiftLeft<3>(codes[half]), bits(code));
    }
  }
  word[0] = hn::Or(bits(hn::Or(high, hn::ShiftLeft<8>(low))), hn::ShiftLeft<16>(codes[0]));
  word[1] = hn::Or(hn::ShiftRight<16>(codes[0]), hn::ShiftLeft<8>(codes[1]));
}

using Regions = Rows<uint8_t, uint8_t>;
constexpr int blockBytes(int format) { return format == 1 ? 8 : 16; }

// `from` and `to` hold a row of pixels of kLanes blocks every `step` bytes, and kLanes blocks.
template <int Format>
HWY_INLINE void encodeGroup(const uint8_t* from, int step, uint32_t* to) {
  const DU32 du;
  Blocks b;
  b.count = all(0);
  for (int i = 0; i < 16; i += 4) {
    HWY_ALIGN uint32_t row[4 * kLanes];
    std::memcpy(row, from + static_cast<ptrdiff_t>(step) * (i / 4), sizeof(row));
    hn::LoadInterleaved4(du, row, b.pixel[i], b.pixel[i + 1], b.pixel[i + 2], b.pixel[i + 3]);
  }
  for (int i = 0; i < 16; ++i) {
    b.counts[i] = Format == 1 ? hn::BroadcastSignBit(ints(b.pixel[i])) : all(-1);
    b.count = hn::Sub(b.count, b.counts[i]);
  }
  b.three = hn::VecFromMask(D32(), hn::Lt(b.count, all(16)));
  VU32 word[4];
  if constexpr (Format == 1) {
    encodeColours(b, word);
    hn::StoreInterleaved2(word[0], word[1], du, to);
  } else {
    Format == 3 ? encodeAlpha3(b, word) : encodeAlpha5(b, word);
    encodeColours(b, word + 2);
    hn::StoreInterleaved4(word[0], word[1], word[2], word[3], du, to);
  }
}

template <int Format>
HWY_INLINE void encode(const Regions& r) {
  constexpr int kBytes = blockBytes(Format);
  const int blocks = r.size.width / 4;
  HWY_ALIGN uint8_t pixels[4 * 16 * kLanes] = {};
  HWY_ALIGN uint32_t coded[kBytes / 4 * kLanes];
  for (int y = 0; y < r.size.height; y += 4) {
    for (int x = 0; x < blocks; x += kLanes) {
      const int n = std::min(kLanes, blocks - x);
      const uint8_t* from = r.srcRow(y) + 16 * x;
      if (n == kLanes) {
        encodeGroup<Format>(from, r.srcStep, coded);
      } else {
        for (int i = 0; i < 4; ++i) {
          std::memcpy(pixels + 16 * kLanes * i, r.srcRow(y + i) + 16 * x, 16 * n);
        }
        encodeGroup<Format>(pixels, 16 * kLanes, coded);
      }
      std::memcpy(r.dstRow(y / 4) + kBytes * x, coded, kBytes * n);
    }
  }
}

// ---- decoding ----

// The pixels of the four indices; DXT3 and DXT5 add their alpha.
template <bool kThree>
HWY_INLINE void paletteOf(VU32 ends, V32* palette) {
  const V32 a = ints(hn::And(ends, hn::Set(DU32(), 0xFFFF))), b = ints(hn::ShiftRight<16>(ends));
  const M32 four = hn::Gt(a, b);
  const auto unpacked = [](V32 v) HWY_ATTR {
    Colours e = {
        {hn::ShiftRight<11>(v), hn::And(hn::ShiftRight<5>(v), all(63)), hn::And(v, all(31))}};
    widen(e);
    return e;
  };
  const Colours e0 = unpacked(a), e1 = unpacked(b);
  for (int k = 0; k < 4; ++k) palette[k] = kThree ? all(static_cast<int>(0xFF000000)) : all(0);
  if (kThree) palette[3] = counted(four, palette[3]);
  for (int c = 2; c >= 0; --c) {
    const V32 x = e0.c[c], y = e1.c[c], sum = hn::Add(x, y);
    // 21846 / 65536 is a third for all that can come up.
    const auto third = [&](V32 v) HWY_ATTR {
      return hn::ShiftRight<16>(hn::Mul(hn::Add(sum, v), all(21846)));
    };
    V32 mixed[4] = {x, y, third(x), third(y)};
    if (kThree) {
      mixed[2] = choose(four, mixed[2], hn::ShiftRight<1>(sum));
      mixed[3] = counted(four, mixed[3]);
    }
    for (int k = 0; k < 4; ++k) {
      palette[k] = hn::Or(palette[k], c == 0   ? mixed[k]
                                      : c == 1 ? hn::ShiftLeft<8>(mixed[k])
                                               : hn::ShiftLeft<16>(mixed[k]));
    }
  }
}

// The alpha of a code.
HWY_INLINE V32 alpha5(V32 code, V32 a0, V32 a1, M32 eight) {
  const V32 last = choose(eight, all(7), all(5));
  V32 weight = hn::Sub(code, all(1));
  weight = choose(hn::Eq(code, all(0)), all(0), weight);
  weight = choose(hn::Eq(code, all(1)), last, weight);
  const V32 sum = hn::Add(hn::Mul(hn::Sub(last, weight), a0), hn::Mul(weight, a1));
  // A seventh or a fifth for all that can come up.
  const V32 mixed = hn::ShiftRight<16>(hn::Mul(sum, choose(eight, all(9363), all(13108))));
  const V32 fixed = counted(hn::Eq(code, all(7)), all(255));
  const M32 isFixed = hn::AndNot(eight, hn::Gt(code, all(5)));
  return choose(isFixed, fixed, mixed);
}

template <int Format>
HWY_INLINE void decodeGroup(const uint32_t* from, uint8_t* to, ptrdiff_t step) {
  const DU32 du;
  VU32 word[4];
  if constexpr (Format == 1) {
    hn::LoadInterleaved2(du, from, word[2], word[3]);
  } else {
    hn::LoadInterleaved4(du, from, word[0], word[1], word[2], word[3]);
  }
  V32 palette[4];
  paletteOf<Format == 1>(word[2], palette);
  VU32 indices = word[3];
  V32 a0{}, a1{};
  M32 eight{};
  VU32 alphas[2] = {word[0], word[1]};
  if constexpr (Format == 5) {
    a0 = channel<0>(word[0]);
    a1 = channel<1>(word[0]);
    eight = hn::Gt(a0, a1);
    alphas[0] = hn::Or(hn::ShiftRight<16>(word[0]), hn::ShiftLeft<16>(word[1]));
    alphas[1] = hn::ShiftRight<8>(word[1]);
  }
  for (int y = 0; y < 4; ++y) {
    VU32 out[4];
    for (int x = 0; x < 4; ++x) {
      const V32 index = ints(indices);
      const M32 odd = hn::TestBit(index, all(1)), upper = hn::TestBit(index, all(2));
      V32 pixel =
          choose(upper, choose(odd, palette[3], palette[2]), choose(odd, palette[1], palette[0]));
      indices = hn::ShiftRight<2>(indices);
      VU32& alpha = alphas[y / 2];
      if constexpr (Format == 3) {
        const V32 nibble = hn::And(ints(alpha), all(15));
        alpha = hn::ShiftRight<4>(alpha);
        pixel = hn::Or(pixel, hn::Or(hn::ShiftLeft<24>(nibble), hn::ShiftLeft<28>(nibble)));
      } else if constexpr (Format == 5) {
        const V32 code = hn::And(ints(alpha), all(7));
        alpha = hn::ShiftRight<3>(alpha);
        pixel = hn::Or(pixel, hn::ShiftLeft<24>(alpha5(code, a0, a1, eight)));
      }
      out[x] = bits(pixel);
    }
    HWY_ALIGN uint32_t row[4 * kLanes];
    hn::StoreInterleaved4(out[0], out[1], out[2], out[3], du, row);
    std::memcpy(to + step * y, row, sizeof(row));
  }
}

template <int Format>
HWY_INLINE void decode(const Regions& r) {
  constexpr int kBytes = blockBytes(Format);
  const int blocks = r.size.width / 4;
  HWY_ALIGN uint8_t pixels[4 * 16 * kLanes];
  HWY_ALIGN uint32_t coded[kBytes / 4 * kLanes] = {};
  for (int y = 0; y < r.size.height; y += 4) {
    for (int x = 0; x < blocks; x += kLanes) {
      const int n = std::min(kLanes, blocks - x);
      std::memcpy(coded, r.srcRow(y / 4) + kBytes * x, kBytes * n);
      if (n == kLanes) {
        decodeGroup<Format>(coded, r.dstRow(y) + 16 * x, r.dstStep);
        continue;
      }
      decodeGroup<Format>(coded, pixels, 16 * kLanes);
      for (int i = 0; i < 4; ++i) {
        std::memcpy(r.dstRow(y + i) + 16 * x, pixels + 16 * kLanes * i, 16 * n);
      }
    }
  }
}

void encodeDxt1(const Regions& r) { encode<1>(r); }
void encodeDxt3(const Regions& r) { encode<3>(r); }
void encodeDxt5(const Regions& r) { encode<5>(r); }
void decodeDxt1(const Regions& r) { decode<1>(r); }
void decodeDxt3(const Regions& r) { decode<3>(r); }
void decodeDxt5(const Regions& r) { decode<5>(r); }

}  // namespace rkd::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace rkd {
HWY_EXPORT(encodeDxt1);
HWY_EXPORT(encodeDxt3);
HWY_EXPORT(encodeDxt5);
HWY_EXPORT(decodeDxt1);
HWY_EXPORT(decodeDxt3);
HWY_EXPORT(decodeDxt5);

namespace {
// Steps are those of pixels on one side and of rows of blocks on the other.
RkdStatus checkAndRun(void (*kernel)(const Rows<uint8_t, uint8_t>&), const uint8_t* src,
                      int srcStep, int64_t srcBytes, uint8_t* dst, int dstStep, int64_t dstBytes,
                      RkdiSize size) {
  const bool whole = size.width % 4 == 0 && size.height % 4 == 0;
  if (const RkdStatus status =
          firstOf(checkPointers(src, dst), checkSize(size), whole ? rkdStsNoErr : rkdStsSizeErr,
                  checkStep<uint8_t>(srcStep, srcBytes * size.width),
                  checkStep<uint8_t>(dstStep, dstBytes * size.width))) {
    return status;
  }
  kernel({{src}, srcStep, {dst}, dstStep, size});
  return rkdStsNoErr;
}
}  // namespace
}  // namespace rkd

using namespace rkd;

#define RKD_TEXTURE(Format, bytes)                                                            \
  RkdStatus rkdiTextureEncodeBlockFromRGBA_DXT##Format##_8u_C4C1R(                            \
      const uint8_t* src, int srcStep, uint8_t* dst, int dstStep, RkdiSize size) {            \
    return checkAndRun(RKD_AT_LEVEL(encodeDxt##Format), src, srcStep, 4, dst, dstStep, bytes, \
                       size);                                                                 \
  }                                                                                           \
  RkdStatus rkdiTextureDecodeBlockToRGBA_DXT##Format##_8u_C1C4R(                              \
      const uint8_t* src, int srcStep, uint8_t* dst, int dstStep, RkdiSize size) {            \
    return checkAndRun(RKD_AT_LEVEL(decodeDxt##Format), src, srcStep, bytes, dst, dstStep, 4, \
                       size);                                                                 \
  }
RKD_TEXTURE(1, 2)
RKD_TEXTURE(3, 4)
RKD_TEXTURE(5, 4)
#endif  // HWY_ONCE
