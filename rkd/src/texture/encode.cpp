// Encoders of texture blocks. All steps of the rule in the public header run for a group of blocks
// side by side without branches. Pixels lie in 16-bit lanes, two of a block in the block's 32 bits,
// as pairs of bytes: red with green, blue with alpha.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "texture/encode.cpp"
#include "hwy/foreach_target.h"

#include <algorithm>

#include "common/lanes-inl.h"
#include "common/levels.h"
#include "hwy/highway.h"
#include "rkd/rkdjpeg_texture.h"
#include "texture/blocks-inl.h"
#include "texture/colours-inl.h"
#include "texture/texture.h"

HWY_BEFORE_NAMESPACE();
namespace rkd::HWY_NAMESPACE {

RKD_BLOCK void encodeAlpha3(const Group& g, V32* word) {
  V16 half[2] = {all16(0), all16(0)};
  for (int i = 3; i >= 0; --i) {
    for (int k = 0; k < 2; ++k) {
      // 241 / 4096 is 1 / 17 for all that can come up.
      const V16 a = hn::Add(shiftRight<8>(g.ba[4 * k + i]), all16(8));
      half[k] = hn::Or(hn::ShiftLeft<4>(half[k]), shiftRight<12>(hn::Mul(a, all16(241))));
    }
  }
  word[0] = hn::Or(hn::And(whole(half[0]), all(0xFFFF)), hn::ShiftLeft<16>(whole(half[1])));
  word[1] = hn::Or(shiftRight<16>(whole(half[0])), hn::AndNot(all(0xFFFF), whole(half[1])));
}

// Fields of 3 bits, of which bits 0, 1 and 2 are apart, and the other way round.
struct Fields {
  V32 bit[3];
  HWY_INLINE explicit Fields(V32 fields) {
    const V32 ones = all(011111111);
    bit[0] = hn::And(fields, ones);
    bit[1] = hn::And(shiftRight<1>(fields), ones);
    bit[2] = hn::And(shiftRight<2>(fields), ones);
  }
  static HWY_INLINE V32 joined(V32 bit0, V32 bit1, V32 bit2) {
    return hn::Or(bit0, hn::Or(hn::ShiftLeft<1>(bit1), hn::ShiftLeft<2>(bit2)));
  }
};

// The codes of eight levels, level by level: 1, 7, 6, ... 2, 0.
HWY_INLINE V32 codesOfEight(V32 levels) {
  const auto [bit0, bit1, bit2] = Fields(levels).bit;
  // 8 minus the level, where that is 0 or 1 the other of the two.
  const V32 code1 = hn::Xor(bit1, bit0);
  const V32 code2 = hn::Xor(bit2, hn::Or(bit1, bit0));
  const V32 code0 = hn::Xor(bit0, hn::AndNot(hn::Or(code1, code2), all(011111111)));
  return Fields::joined(code0, code1, code2);
}

// The codes of six levels, and of what is 0 or 255 beside them: 0, 2, 3, 4, 5, 1, 6, 7.
HWY_INLINE V32 codesOfSix(V32 levels) {
  const auto [bit0, bit1, bit2] = Fields(levels).bit;
  return Fields::joined(hn::Xor(bit2, hn::AndNot(bit0, bit1)),
                        hn::Xor(bit1, hn::AndNot(bit2, bit0)),
                        hn::Xor(bit2, hn::And(bit0, hn::Xor(bit1, bit2))));
}

// Levels are in the bits from kLevelAt on: what a multiplication leaves below them needs no shift,
// and another multiplication takes them from there to alphas.
constexpr int kLevelAt = 6;

// Levels 0 to kLast between two ends for what alphas of two pixels are above the lower end.
template <int kLast>
class AlphaScale {
 public:
  // The range must be at least 1.
  HWY_INLINE explicit AlphaScale(V16 range) {
    const DF df;
    // The level is (kLast * distance + bias) / range: values between the ends are cut.
    constexpr int kSmall = kLast == 7 ? 8 : 3, kMore = kLast == 7 ? 2 : 1;
    const V16 bias = hn::IfThenElse(hn::Lt(range, all16(kSmall)), hn::Sub(range, all16(1)),
                                    hn::Add(shiftRight<1>(range), all16(kMore)));
    // Both sides times a power of two that takes the range to 128 or above: then its reciprocal has
    // bits enough for every level to be exact.
    const VF wide = hn::ConvertTo(df, hn::And(whole(range), all(0xFFFF)));
    const V32 power = hn::And(hn::BitCast(D32(), wide), all(0x7F800000));
    const VF unit = hn::BitCast(df, hn::Sub(all((2 * 127 + 7) << 23), power));
    const VF inverse = hn::Div(hn::Set(df, 65536.0f * (1 << kLevelAt)), hn::Mul(wide, unit));
    const V16 units = both(hn::ConvertTo(D32(), unit));
    m_factor = hn::Mul(units, all16(kLast));
    m_bias = hn::Mul(units, bias);
    m_inverse = both(hn::Add(hn::ConvertTo(D32(), inverse), all(1)));
    // range / kLast, in 65536 parts of what a level counts; up, for levels cut to be exact.
    constexpr int kStep = ((1 << (24 - kLevelAt)) + kLast - 1) / kLast;
    m_step = hn::Add(mulHighUnsigned(hn::ShiftLeft<8>(range), all16(kStep)), all16(1));
  }

  HWY_INLINE V16 levelOf(V16 distance) const {
    const V16 n = hn::Add(hn::Mul(distance, m_factor), m_bias);
    return hn::And(mulHighUnsigned(n, m_inverse), all16(7 << kLevelAt));
  }
  HWY_INLINE V16 missedBy(V16 level, V16 distance) const {
    return hn::Sub(mulHighUnsigned(level, m_step), distance);
  }

 private:
  V16 m_factor, m_bias, m_inverse, m_step;
};

// The 48 bits of 16 fields of 3 bits, of which field(i) tells those of pixels i and i + 8.
template <class Field>
HWY_INLINE void packAlphas(Field&& field, V32* packed) {
  V16 part[3] = {all16(0), all16(0), all16(0)};  // three fields, three and two
  for (int i = 7; i >= 0; --i) part[i / 3] = hn::Or(hn::ShiftLeft<3>(part[i / 3]), field(i));
  const auto joined = [](V32 first, V32 second, V32 third) HWY_ATTR {
    return hn::Or(shiftRight<kLevelAt>(first),
                  hn::Or(hn::ShiftLeft<9 - kLevelAt>(second), hn::ShiftLeft<18 - kLevelAt>(third)));
  };
  const auto lower = [&](int i) HWY_ATTR { return hn::And(whole(part[i]), all(0xFFFF)); };
  const auto upper = [&](int i) HWY_ATTR { return shiftRight<16>(whole(part[i])); };
  packed[0] = joined(lower(0), lower(1), lower(2));
  packed[1] = joined(upper(0), upper(1), upper(2));
}

HWY_INLINE V32 addSquares(V32 sum, V16 v) { return addPairProducts(sum, v, v); }

// The smallest and the largest alpha of a block in both halves of its lane. kInner: but 0 and 255.
template <bool kInner>
RKD_BLOCK void alphaEnds(const Group& g, V16& low, V16& high) {
  const hn::Repartition<uint8_t, D16> d8;
  const D16 d16;
  // Bytes wrap around, so that what is left out comes last; those of blue do not matter.
  constexpr uint8_t kApart = kInner ? 1 : 0;
  auto least = hn::Set(d8, 255), largest = hn::Zero(d8);
  for (const V16& pixels : g.ba) {
    const auto bytes = hn::BitCast(d8, pixels);
    least = hn::Min(least, hn::Sub(bytes, hn::Set(d8, kApart)));
    largest = hn::Max(largest, hn::Add(bytes, hn::Set(d8, kApart)));
  }
  low = shiftRight<8>(hn::BitCast(d16, least));
  high = shiftRight<8>(hn::BitCast(d16, largest));
  low = hn::And(hn::Add(hn::Min(low, hn::Reverse2(d16, low)), all16(kApart)), all16(255));
  high = hn::And(hn::Sub(hn::Max(high, hn::Reverse2(d16, high)), all16(kApart)), all16(255));
}

// The alphas of a group above the smallest of their block.
struct Alphas {
  V16 low, high;
  V16 above[8];
};

// The codes of eight levels; returns their squared error if that is asked for.
template <bool kWithError>
RKD_BLOCK V32 eightLevels(const Alphas& a, V32* codes) {
  const AlphaScale<7> eight(hn::Max(hn::Sub(a.high, a.low), all16(1)));
  V32 error = all(0);
  packAlphas(
      [&](int i) HWY_ATTR {
        const V16 level = eight.levelOf(a.above[i]);
        if constexpr (kWithError) error = addSquares(error, eight.missedBy(level, a.above[i]));
        return level;
      },
      codes);
  for (int i = 0; i < 2; ++i) codes[i] = codesOfEight(codes[i]);
  return error;
}

// Takes six levels between other ends, beside 0 and 255, for blocks whose squared error gets below
// `error`.
RKD_BLOCK void sixLevels(const Group& g, const Alphas& a, V32 error, V32& ends, V32* codes) {
  V16 low, high;
  alphaEnds<true>(g, low, high);
  const DU16 du16;
  const auto unsignedOf = [](V16 v) HWY_ATTR { return hn::BitCast(DU16(), v); };
  const V16 none = all16(0), apart = hn::Sub(high, low), range = hn::Max(apart, all16(1));
  const V16 further = hn::Sub(low, a.low);
  const auto limit = unsignedOf(hn::Max(apart, none));
  const AlphaScale<5> six(range);
  V32 errorOfSix = all(0), other[2];
  packAlphas(
      [&](int i) HWY_ATTR {
        // 0 and 255 become ends, which are exact, and their levels 0 and 5 then 6 and 7.
        const V16 away = hn::Sub(a.above[i], further);
        const V16 inside = hn::Min(hn::Max(away, none), range), level = six.levelOf(inside);
        errorOfSix = addSquares(errorOfSix, six.missedBy(level, inside));
        const auto isInside = hn::Eq(hn::SaturatedSub(unsignedOf(away), limit), hn::Zero(du16));
        const auto beside = hn::IfThenZeroElse(isInside, unsignedOf(all16(6 << kLevelAt)));
        return hn::Or(level, hn::BitCast(D16(), beside));
      },
      other);
  const M32 better = hn::Lt(errorOfSix, error);
  ends = choose(better, whole(hn::Or(low, hn::ShiftLeft<8>(high))), ends);
  for (int i = 0; i < 2; ++i) codes[i] = choose(better, codesOfSix(other[i]), codes[i]);
}

RKD_BLOCK void encodeAlpha5(const Group& g, V32* word) {
  const D16 d16;
  Alphas a;
  alphaEnds<false>(g, a.low, a.high);
  V32 ends = whole(hn::Or(a.high, hn::ShiftLeft<8>(a.low))), codes[2] = {all(0), all(0)};
  const V16 range = hn::Sub(a.high, a.low);
  const auto isFlat = hn::Eq(range, all16(0));
  if (!hn::AllTrue(d16, isFlat)) {
    for (int i = 0; i < 8; ++i) a.above[i] = hn::Sub(shiftRight<8>(g.ba[i]), a.low);
    // Levels at most 8 apart are fine enough: only beyond that are six tried.
    const auto isWide = hn::Gt(range, all16(7 * 8));
    if (hn::AllFalse(d16, isWide)) {
      eightLevels<false>(a, codes);
    } else {
      const V32 error = eightLevels<true>(a, codes);
      sixLevels(g, a, hn::And(error, whole(hn::VecFromMask(d16, isWide))), ends, codes);
    }
    const V32 flat = whole(hn::VecFromMask(d16, isFlat));
    for (V32& c : codes) c = hn::AndNot(flat, c);
  }
  word[0] = hn::Or(hn::And(ends, all(0xFFFF)), hn::ShiftLeft<16>(codes[0]));
  word[1] = hn::Or(shiftRight<16>(codes[0]), hn::ShiftLeft<8>(codes[1]));
}

// Pixels of rows y and y + 2, y below 2: from four vectors of every row.
RKD_BLOCK void loadRows(const uint8_t* row, const uint8_t* rowBelow, int y, Group& g) {
  const D16 d16;
  const hn::Repartition<uint8_t, D16> d8;
  constexpr int kBytes = 4 * kGroup;
  V32 left[4], right[4];  // RG and BA of the left two pixels, and of the right two
  for (int i = 0; i < 4; ++i) {
    const V16 a = hn::BitCast(d16, hn::LoadU(d8, row + kBytes * i));
    const V16 b = hn::BitCast(d16, hn::LoadU(d8, rowBelow + kBytes * i));
    left[i] = whole(hn::InterleaveLower(d16, a, b));
    right[i] = whole(hn::InterleaveUpper(d16, a, b));
  }
  transpose4x4(left[0], left[1], left[2], left[3]);
  transpose4x4(right[0], right[1], right[2], right[3]);
  for (int i = 0; i < 2; ++i) {
    g.rg[4 * y + i] = halves(left[2 * i]);
    g.ba[4 * y + i] = halves(left[2 * i + 1]);
    g.rg[4 * y + 2 + i] = halves(right[2 * i]);
    g.ba[4 * y + 2 + i] = halves(right[2 * i + 1]);
  }
}

// `from` and `to` hold a row of pixels of a group every `step` bytes, and the group's blocks.
template <int Format>
HWY_INLINE void encodeGroup(const uint8_t* from, ptrdiff_t step, uint8_t* to) {
  Group g;
  for (int y = 0; y < 2; ++y) loadRows(from + step * y, from + step * (y + 2), y, g);
  V32 word[4];
  if constexpr (Format == 1) {
    V16 opaque = g.ba[0];
    for (int i = 1; i < 8; ++i) opaque = hn::And(opaque, g.ba[i]);
    if (hn::AllTrue(D16(), hn::Lt(opaque, all16(0)))) {
      encodeOpaque(g, word);
    } else {
      encodeTransparent(g, word);
    }
  } else {
    Format == 3 ? encodeAlpha3(g, word) : encodeAlpha5(g, word);
    encodeColours<true, false>(g, word + 2);
  }
  storeWords<blockBytes(Format) / 4>(word, to);
}

template <int Format>
HWY_INLINE void encode(const Rows<uint8_t, uint8_t>& r) {
  constexpr int kBytes = blockBytes(Format);
  const int blocks = r.size.width / 4;
  // The last group of a row may be a part of one.
  HWY_ALIGN uint8_t pixels[4 * 16 * kGroup] = {}, coded[kBytes * kGroup];
  for (int y = 0; y < r.size.height; y += 4) {
    for (int x = 0; x < blocks; x += kGroup) {
      const int n = std::min(kGroup, blocks - x);
      const bool part = n < kGroup;
      const uint8_t* from = r.srcRow(y) + 16 * x;
      uint8_t* to = r.dstRow(y / 4) + kBytes * x;
      for (int i = 0; i < 4 && part; ++i) {
        std::memcpy(pixels + 16 * kGroup * i, r.srcRow(y + i) + 16 * x, 16 * n);
      }
      encodeGroup<Format>(part ? pixels : from, part ? 16 * kGroup : r.srcStep, part ? coded : to);
      if (part) std::memcpy(to, coded, kBytes * n);
    }
  }
}

void encodeDxt1(const Rows<uint8_t, uint8_t>& r) { encode<1>(r); }
void encodeDxt3(const Rows<uint8_t, uint8_t>& r) { encode<3>(r); }
void encodeDxt5(const Rows<uint8_t, uint8_t>& r) { encode<5>(r); }

}  // namespace rkd::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace rkd {
HWY_EXPORT(encodeDxt1);
HWY_EXPORT(encodeDxt3);
HWY_EXPORT(encodeDxt5);
}  // namespace rkd

using namespace rkd;

#define RKD_ENCODE(Format)                                                            \
  RkdStatus rkdiTextureEncodeBlockFromRGBA_DXT##Format##_8u_C4C1R(                    \
      const uint8_t* src, int srcStep, uint8_t* dst, int dstStep, RkdiSize size) {    \
    return runTexture(RKD_AT_LEVEL(encodeDxt##Format), src, srcStep, 4, dst, dstStep, \
                      blockBytes(Format) / 4, size);                                  \
  }
RKD_ENCODE(1)
RKD_ENCODE(3)
RKD_ENCODE(5)
#endif  // HWY_ONCE
