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

// The codes of eight levels of 3 bits, level by level: 1, 7, 6, ... 2, 0.
HWY_INLINE V32 codesOfLevels(V32 levels) {
  const V32 ones = all(011111111);
  const V32 bit0 = hn::And(levels, ones);
  const V32 bit1 = hn::And(shiftRight<1>(levels), ones);
  const V32 bit2 = hn::And(shiftRight<2>(levels), ones);
  // 8 minus the level, where that is 0 or 1 the other of the two.
  const V32 code1 = hn::Xor(bit1, bit0);
  const V32 code2 = hn::Xor(bit2, hn::Or(bit1, bit0));
  const V32 code0 = hn::Xor(bit0, hn::AndNot(hn::Or(code1, code2), ones));
  return hn::Or(code0, hn::Or(hn::ShiftLeft<1>(code1), hn::ShiftLeft<2>(code2)));
}

// Alphas of two pixels to levels 0 to kLast between ends, and back.
template <int kLast>
class AlphaScale {
 public:
  HWY_INLINE AlphaScale(V16 low, V16 high)
      : m_low(low), m_range(hn::Max(hn::Sub(high, low), all16(1))) {
    // The level is (kLast * distance + bias) / range: values between the ends are cut.
    constexpr int kSmall = kLast == 7 ? 8 : 3, kMore = kLast == 7 ? 2 : 1;
    const V16 bias = hn::IfThenElse(hn::Lt(m_range, all16(kSmall)), hn::Sub(m_range, all16(1)),
                                    hn::Add(shiftRight<1>(m_range), all16(kMore)));
    m_offset = hn::Sub(bias, hn::Mul(low, all16(kLast)));
    const DF df;
    const V32 wide = hn::And(whole(m_range), all(0xFFFF));
    m_inverse = both(hn::ConvertTo(D32(), hn::Div(hn::Set(df, 65535.0f), hn::ConvertTo(df, wide))));
  }
  HWY_INLINE V16 add(V16 to, V16 alpha) const {
    const V16 n = hn::Add(hn::Mul(alpha, all16(kLast)), m_offset);
    // Too small by one at most.
    const V16 level = mulHighUnsigned(n, m_inverse);
    const V16 rest = hn::Sub(n, hn::Mul(level, m_range));
    return hn::Or(to, countAbove(level, rest, hn::Sub(m_range, all16(1))));
  }
  HWY_INLINE V16 levelOf(V16 alpha) const { return add(all16(0), alpha); }
  HWY_INLINE V16 valueOf(V16 level) const {
    // A seventh or a fifth for all that can come up.
    const V16 part = mulHighUnsigned(hn::Mul(level, m_range), all16(kLast == 7 ? 9363 : 13108));
    return hn::Add(m_low, part);
  }

 private:
  V16 m_low, m_range, m_offset, m_inverse;
};

// The 48 bits of 16 fields of 3 bits, of which field(to, i) adds those of pixels i and i + 8.
template <class Field>
HWY_INLINE void packAlphas(Field&& field, V32* codes) {
  // 15 bits, then 9 of each half.
  V16 packed[2] = {all16(0), all16(0)};
  for (int i = 7; i >= 0; --i) packed[i / 5] = field(hn::ShiftLeft<3>(packed[i / 5]), i);
  const V32 first = whole(packed[0]), second = whole(packed[1]);
  codes[0] = hn::Or(hn::And(first, all(0xFFFF)), hn::ShiftLeft<15>(hn::And(second, all(0xFFFF))));
  codes[1] = hn::Or(shiftRight<16>(first), hn::ShiftLeft<15>(shiftRight<16>(second)));
}

HWY_INLINE V16 alphaOf(const Group& g, int i) { return shiftRight<8>(g.ba[i]); }

// The same in both halves: the smallest and the largest of a block.
HWY_INLINE void joinHalves(V16& low, V16& high) {
  low = hn::Min(low, hn::Reverse2(D16(), low));
  high = hn::Max(high, hn::Reverse2(D16(), high));
}

// Takes six levels between other ends, beside 0 and 255, for blocks that these fit better than
// eight.
RKD_BLOCK void sixLevels(const Group& g, const AlphaScale<7>& eight, V32& ends, V32* codes) {
  const V16 none = all16(0), full = all16(255);
  V16 low = full, high = none;
  for (int i = 0; i < 8; ++i) {
    const V16 a = alphaOf(g, i);
    low = hn::Min(low, hn::IfThenElse(hn::Eq(a, none), full, a));
    high = hn::Max(high, hn::IfThenElse(hn::Eq(a, full), none, a));
  }
  joinHalves(low, high);
  const AlphaScale<5> six(low, high);
  V32 error = all(0), errorOfEight = all(0), sixCodes[2];
  const auto addSquare = [](V32& sum, V16 difference)
                             HWY_ATTR { sum = addPairProducts(sum, difference, difference); };
  packAlphas(
      [&](V16 to, int i) HWY_ATTR {
        const V16 a = alphaOf(g, i), level = six.levelOf(a);
        const auto isNone = hn::Eq(a, none), isFull = hn::Eq(a, full);
        const V16 missed = hn::Sub(six.valueOf(level), a);
        addSquare(error, hn::IfThenZeroElse(isNone, hn::IfThenZeroElse(isFull, missed)));
        addSquare(errorOfEight, hn::Sub(eight.valueOf(eight.levelOf(a)), a));
        V16 code = hn::Add(level, all16(1));
        code = hn::IfThenZeroElse(hn::Eq(level, none), code);
        code = hn::IfThenElse(hn::Eq(level, all16(5)), all16(1), code);
        code = hn::IfThenElse(isFull, all16(7), hn::IfThenElse(isNone, all16(6), code));
        return hn::Or(to, code);
      },
      sixCodes);
  const M32 better = hn::Lt(error, errorOfEight);
  ends = choose(better, whole(hn::Or(low, hn::ShiftLeft<8>(high))), ends);
  for (int i = 0; i < 2; ++i) codes[i] = choose(better, sixCodes[i], codes[i]);
}

RKD_BLOCK void encodeAlpha5(const Group& g, V32* word) {
  V16 low = all16(255), high = all16(0);
  for (int i = 0; i < 8; ++i) {
    low = hn::Min(low, alphaOf(g, i));
    high = hn::Max(high, alphaOf(g, i));
  }
  joinHalves(low, high);
  const AlphaScale<7> eight(low, high);
  V32 codes[2];
  packAlphas([&](V16 to, int i) HWY_ATTR { return eight.add(to, alphaOf(g, i)); }, codes);
  const auto flat = hn::Eq(low, high);
  for (V32& c : codes) {
    c = hn::IfThenZeroElse(hn::MaskFromVec(whole(hn::VecFromMask(D16(), flat))), codesOfLevels(c));
  }
  V32 ends = whole(hn::Or(high, hn::ShiftLeft<8>(low)));
  if (!hn::AllTrue(D16(), flat)) sixLevels(g, eight, ends, codes);
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
