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
#include "texture/solid.h"
#include "texture/texture.h"

HWY_BEFORE_NAMESPACE();
namespace rkd::HWY_NAMESPACE {

using DF = hn::RebindToFloat<D32>;

// The sum of both halves.
HWY_INLINE V32 sumOfHalves(V16 v) { return pairProducts(v, all16(1)); }
// The product of two values of 16 bits, one of them not negative.
HWY_INLINE V32 product(V32 a, V32 b) { return pairProducts(halves(a), halves(b)); }

// Unsigned bytes times signed ones, summed in pairs; no sum leaves 16 bits.
HWY_INLINE V16 pairsOfBytes(V16 pixels, V16 weights) {
  const hn::Repartition<uint8_t, D16> d8;
  return byteProducts(hn::BitCast(d8, pixels), hn::BitCast(d8, weights));
}

// Calls body with 0, 1 and 2 as compile-time constants: the channels of a colour.
template <class Body>
HWY_INLINE void eachChannel(Body&& body) {
  body(std::integral_constant<int, 0>());
  body(std::integral_constant<int, 1>());
  body(std::integral_constant<int, 2>());
}

struct Colours {
  V32 c[3];
};
struct Ends {
  Colours upper, lower;
};

// Pixels i and i + 8 of a group's blocks, and which of them count. kOpaque: all do.
struct Group {
  V16 rg[8], ba[8];
  V16 counts[8];  // all ones or zero
  V32 count;
  V32 three;  // all ones or zero: has three colours
};

template <int C>
HWY_INLINE V16 channel(const Group& g, int i) {
  return C == 0   ? hn::And(g.rg[i], all16(255))
         : C == 1 ? shiftRight<8>(g.rg[i])
                  : hn::And(g.ba[i], all16(255));
}

template <bool kOpaque>
HWY_INLINE V32 countOf(const Group& g) {
  return kOpaque ? all(16) : g.count;
}
// Times the number of the upper end's level, 3 or 2.
template <bool kOpaque>
HWY_INLINE V32 timesLast(const Group& g, V32 v) {
  const V32 twice = hn::Add(v, v);
  return hn::Add(twice, kOpaque ? v : hn::AndNot(g.three, v));
}

// A direction, its components scaled to a sum of 127, so that what lies along it fits 16 bits.
struct Axis {
  V16 rg, b;
  HWY_INLINE explicit Axis(const Colours& direction) {
    const DF df;
    V32 sum = hn::Abs(direction.c[0]);
    for (int c = 1; c < 3; ++c) sum = hn::Add(sum, hn::Abs(direction.c[c]));
    const auto scale = hn::Div(hn::Set(df, 127.0f), hn::ConvertTo(df, hn::Max(sum, all(1))));
    V32 weight[3];
    for (int c = 0; c < 3; ++c) {
      const auto scaled = hn::Mul(hn::ConvertTo(df, direction.c[c]), scale);
      weight[c] = hn::And(hn::ConvertTo(D32(), scaled), all(255));
    }
    rg = both(hn::Or(weight[0], hn::ShiftLeft<8>(weight[1])));
    b = both(weight[2]);
  }
  HWY_INLINE V16 along(V16 pixelsRg, V16 pixelsBa) const {
    return hn::Add(pairsOfBytes(pixelsRg, rg), pairsOfBytes(pixelsBa, b));
  }
};

// n * sum of c * d - sum of c * sum of d.
struct Moments {
  V32 sum[3];         // of R, G, B
  V32 covariance[6];  // RR, RG, RB, GG, GB, BB
};

template <bool kOpaque>
RKD_BLOCK void measure(const Group& g, Moments& m) {
  V16 sum[3];
  for (V16& s : sum) s = all16(0);
  V32 products[6];
  for (V32& p : products) p = all(0);
  for (int i = 0; i < 8; ++i) {
    const V16 c[3] = {channel<0>(g, i), channel<1>(g, i), channel<2>(g, i)};
    for (int k = 0; k < 3; ++k) sum[k] = hn::Add(sum[k], c[k]);
    products[0] = addPairProducts(products[0], c[0], c[0]);
    products[1] = addPairProducts(products[1], c[0], c[1]);
    products[2] = addPairProducts(products[2], c[0], c[2]);
    products[3] = addPairProducts(products[3], c[1], c[1]);
    products[4] = addPairProducts(products[4], c[1], c[2]);
    products[5] = addPairProducts(products[5], c[2], c[2]);
  }
  for (int k = 0; k < 3; ++k) m.sum[k] = sumOfHalves(sum[k]);
  for (int k = 0, next = 0; k < 3; ++k) {
    for (int l = k; l < 3; ++l, ++next) {
      const V32 times =
          kOpaque ? hn::ShiftLeft<4>(products[next]) : hn::Mul(products[next], g.count);
      m.covariance[next] = hn::Sub(times, product(m.sum[k], m.sum[l]));
    }
  }
}

// The direction in which colours differ most: the covariances of the channel that varies most.
HWY_INLINE Colours mainDirection(const Moments& m) {
  const auto& v = m.covariance;
  const M32 green = hn::Gt(v[3], v[0]);
  const M32 blue = hn::Gt(v[5], hn::Max(v[0], v[3]));
  return {{choose(blue, v[2], choose(green, v[1], v[0])),
           choose(blue, v[4], choose(green, v[3], v[1])),
           choose(blue, v[5], choose(green, v[4], v[2]))}};
}

// What least squares need beside the sums of colours.
struct Levels {
  V32 s, q;  // sums of levels and of their squares
  V32 x[3];  // and of level times channel
};

// Where one level ends along an axis and the next begins, in both halves of a lane.
struct Thresholds {
  V16 t[3];
  HWY_INLINE V16 countBelow(V16 n, V16 along) const {
    for (const V16& threshold : t) n = countAbove(n, along, threshold);
    return n;
  }
};

// So many 65536ths of a range above `low`.
HWY_INLINE V16 part(V16 low, V16 range, V16 of) { return hn::Add(low, mulHighUnsigned(range, of)); }

// 5/24, 1/2 and 19/24 of four levels, 9/32 and 23/32 of three: the levels' ends are drawn in by a
// sixteenth of the range.
template <bool kOpaque>
HWY_INLINE Thresholds firstThresholds(const Group& g, V16 low, V16 high) {
  const V16 range = hn::Sub(high, low);
  Thresholds t = {{part(low, range, all16(13653)), part(low, range, all16(-32768)),
                   part(low, range, all16(51883 - 65536))}};
  if constexpr (!kOpaque) {
    const hn::Mask<D16> three = hn::MaskFromVec(halves(g.three));
    t.t[0] = hn::IfThenElse(three, part(low, range, all16(18432)), t.t[0]);
    t.t[1] = hn::IfThenElse(three, part(low, range, all16(47104 - 65536)), t.t[1]);
    t.t[2] = hn::IfThenElse(three, all16(32767), t.t[2]);
  }
  return t;
}

template <bool kOpaque>
RKD_BLOCK void firstLevels(const Group& g, const Axis& axis, Levels& levels) {
  V16 along[8], low = all16(32767), high = all16(-32768);
  for (int i = 0; i < 8; ++i) {
    along[i] = axis.along(g.rg[i], g.ba[i]);
    // Along the axis pixels that do not count are at 0.
    const auto unless = [&](int limit) HWY_ATTR {
      return kOpaque ? along[i] : hn::Or(along[i], hn::AndNot(g.counts[i], all16(limit)));
    };
    low = hn::Min(low, unless(32767));
    high = hn::Max(high, unless(-32768));
  }
  low = hn::Min(low, hn::Reverse2(D16(), low));
  high = hn::Max(high, hn::Reverse2(D16(), high));
  const Thresholds thresholds = firstThresholds<kOpaque>(g, low, high);
  V16 sum = all16(0);
  V32 q = all(0), x[3] = {q, q, q};
  for (int i = 0; i < 8; ++i) {
    V16 level = thresholds.countBelow(all16(0), along[i]);
    if constexpr (!kOpaque) level = hn::And(level, g.counts[i]);
    sum = hn::Add(sum, level);
    q = addPairProducts(q, level, level);
    x[0] = addPairProducts(x[0], level, channel<0>(g, i));
    x[1] = addPairProducts(x[1], level, channel<1>(g, i));
    x[2] = addPairProducts(x[2], level, channel<2>(g, i));
  }
  levels = {sumOfHalves(sum), q, {x[0], x[1], x[2]}};
}

// Of the steps of 5 or 6 bits around the best fitting ends the two that fit best together.
template <bool kOpaque>
class EndSearch {
 public:
  HWY_INLINE EndSearch(const Group& g, const Moments& m, const Levels& l)
      : m_g(g), m_m(m), m_l(l), m_count(countOf<kOpaque>(g)) {
    m_d = hn::Sub(product(m_count, l.q), product(l.s, l.s));
    const V32 d = hn::Max(m_d, all(1));
    m_top = hn::Sub(hn::ShiftLeft<8>(d), d);
    m_countLast2 = timesLast<kOpaque>(g, timesLast<kOpaque>(g, m_count));
    const V32 last = timesLast<kOpaque>(g, l.s);
    m_sLast = hn::Add(last, last);
  }
  // All colours are on one level.
  HWY_INLINE M32 shared() const { return hn::Eq(m_d, all(0)); }

  template <int C>
  HWY_INLINE void run(V32& upper, V32& lower) const {
    const V32 p = m_m.sum[C], x = m_l.x[C];
    const V32 low = hn::Sub(product(m_l.q, p), product(m_l.s, x));
    const V32 slope = hn::Sub(product(m_count, x), product(m_l.s, p));
    const V32 high = hn::Add(low, timesLast<kOpaque>(m_g, slope));
    const DF df;
    constexpr int kTop = C == 1 ? 63 : 31;
    const auto scale = hn::Div(hn::Set(df, float{kTop}), hn::ConvertTo(df, m_top));
    const auto stepBelow = [&](V32 v) HWY_ATTR {
      const V32 inside = hn::Min(hn::Max(v, all(0)), m_top);
      return hn::ConvertTo(D32(), hn::Mul(hn::ConvertTo(df, inside), scale));
    };
    V32 u[2] = {stepBelow(high)}, l[2] = {stepBelow(low)};
    u[1] = hn::Min(hn::Add(u[0], all(1)), all(kTop));
    l[1] = hn::Min(hn::Add(l[0], all(1)), all(kTop));
    const V32 p2 = timesLast<kOpaque>(m_g, timesLast<kOpaque>(m_g, hn::Add(p, p)));
    const V32 x2 = timesLast<kOpaque>(m_g, hn::Add(x, x));
    V32 least{};
    for (int i = 0; i < 2; ++i) {
      for (int j = 0; j < 2; ++j) {
        const V32 z = widen<C>(l[j]), step = hn::Sub(widen<C>(u[i]), z);
        const V32 byLower = hn::Sub(hn::Add(product(m_countLast2, z), product(m_sLast, step)), p2);
        const V32 byStep = hn::Sub(product(m_l.q, step), x2);
        const V32 error = hn::Add(hn::Mul(z, byLower), hn::Mul(step, byStep));
        if (i + j == 0) {
          least = error;
          upper = u[0];
          lower = l[0];
          continue;
        }
        const M32 better = hn::Lt(error, least);
        least = hn::Min(least, error);
        upper = choose(better, u[i], upper);
        lower = choose(better, l[j], lower);
      }
    }
  }

  // The ends whose level between them is nearest to the mean.
  template <int C>
  HWY_INLINE void runShared(V32& upper, V32& lower) const {
    const DF df;
    const V32 twice = hn::Add(m_count, m_count);
    const V32 sum = hn::Add(hn::Add(m_m.sum[C], m_m.sum[C]), m_count);
    // Exact: quotients are at least a 32nd off the next integer.
    const V32 mean = hn::ConvertTo(
        D32(), hn::Div(hn::ConvertTo(df, sum), hn::ConvertTo(df, hn::Max(twice, all(1)))));
    const V32 index = kOpaque ? mean : hn::Add(mean, hn::And(m_g.three, all(256)));
    const int32_t* table = C == 1 ? kSolid6.ends : kSolid5.ends;
    const V32 solid = hn::GatherIndex(D32(), table, index);
    upper = choose(shared(), hn::ShiftRight<8>(solid), upper);
    lower = choose(shared(), hn::And(solid, all(255)), lower);
  }

 private:
  const Group& m_g;
  const Moments& m_m;
  const Levels& m_l;
  V32 m_count, m_d, m_top;
  V32 m_countLast2, m_sLast;
};

// The ends in 5, 6, 5 bits.
template <bool kOpaque>
RKD_BLOCK void fitEnds(const Group& g, Ends& e) {
  Moments moments;
  measure<kOpaque>(g, moments);
  Levels levels;
  firstLevels<kOpaque>(g, Axis(mainDirection(moments)), levels);
  const EndSearch<kOpaque> search(g, moments, levels);
  eachChannel([&](auto c) HWY_ATTR { search.template run<c>(e.upper.c[c], e.lower.c[c]); });
  if (!hn::AllFalse(D32(), search.shared())) {
    eachChannel([&](auto c) HWY_ATTR { search.template runShared<c>(e.upper.c[c], e.lower.c[c]); });
  }
}

HWY_INLINE V32 pack565(const Colours& e) {
  return hn::Or(hn::Or(hn::ShiftLeft<11>(e.c[0]), hn::ShiftLeft<5>(e.c[1])), e.c[2]);
}

// Half-way between the neighbours of the palette from the lower end to the upper one.
template <bool kOpaque>
RKD_BLOCK Thresholds lastThresholds(const Group& g, const Axis& axis, const Ends& e) {
  // The palette's first and second colour in the halves of a lane, then its third and fourth.
  V32 first[3], second[3];
  for (int c = 0; c < 3; ++c) {
    const V32 sum = hn::Add(e.upper.c[c], e.lower.c[c]);
    V32 nearLower = whole(third(halves(hn::Add(sum, e.lower.c[c]))));
    V32 nearUpper = whole(third(halves(hn::Add(sum, e.upper.c[c]))));
    if constexpr (!kOpaque) {
      const M32 three = hn::MaskFromVec(g.three);
      nearLower = choose(three, hn::ShiftRight<1>(sum), nearLower);
      nearUpper = choose(three, hn::ShiftRight<1>(sum), nearUpper);
    }
    first[c] = hn::Or(e.lower.c[c], hn::ShiftLeft<16>(nearLower));
    second[c] = hn::Or(nearUpper, hn::ShiftLeft<16>(e.upper.c[c]));
  }
  const auto along = [&](const V32* v) HWY_ATTR {
    return whole(axis.along(halves(hn::Or(v[0], hn::ShiftLeft<8>(v[1]))), halves(v[2])));
  };
  const auto lower = [](V32 v) HWY_ATTR { return hn::ShiftRight<16>(hn::ShiftLeft<16>(v)); };
  const V32 p01 = along(first), p23 = along(second);
  const V32 p1 = hn::ShiftRight<16>(p01), p2 = lower(p23);
  const auto middle = [](V32 a, V32 b) HWY_ATTR { return both(hn::ShiftRight<1>(hn::Add(a, b))); };
  Thresholds t = {{middle(lower(p01), p1), middle(p1, p2), middle(p2, hn::ShiftRight<16>(p23))}};
  // Three colours: from the lower end to level 2 at once.
  if constexpr (!kOpaque) {
    t.t[1] = hn::IfThenElse(hn::MaskFromVec(halves(g.three)), t.t[0], t.t[1]);
  }
  return t;
}

// Two bits a pixel: the nearest level on the way from the lower to the upper end.
template <bool kOpaque>
RKD_BLOCK V32 lastLevels(const Group& g, const Ends& e) {
  Colours direction;
  for (int c = 0; c < 3; ++c) direction.c[c] = hn::Sub(e.upper.c[c], e.lower.c[c]);
  const Axis axis(direction);
  const Thresholds thresholds = lastThresholds<kOpaque>(g, axis, e);
  V16 levels = all16(0);
  for (int i = 7; i >= 0; --i) {
    levels = thresholds.countBelow(hn::ShiftLeft<2>(levels), axis.along(g.rg[i], g.ba[i]));
  }
  return whole(levels);
}

template <bool kOpaque>
RKD_BLOCK void encodeColours(const Group& g, V32* word) {
  Ends e;
  fitEnds<kOpaque>(g, e);
  const V32 upper = pack565(e.upper), lower = pack565(e.lower);
  M32 swap = hn::Lt(upper, lower);
  if constexpr (!kOpaque) {
    swap = hn::MaskFromVec(hn::IfVecThenElse(g.three, hn::VecFromMask(D32(), hn::Gt(upper, lower)),
                                             hn::VecFromMask(D32(), swap)));
  }
  word[0] = choose(swap, hn::Or(lower, hn::ShiftLeft<16>(upper)),
                   hn::Or(upper, hn::ShiftLeft<16>(lower)));
  eachChannel([&](auto c) HWY_ATTR {
    const V32 u = widen<c>(e.upper.c[c]), l = widen<c>(e.lower.c[c]);
    e.upper.c[c] = choose(swap, l, u);
    e.lower.c[c] = choose(swap, u, l);
  });
  const V32 levels = lastLevels<kOpaque>(g, e);
  // Levels 0, 1, 2, 3 have the indices 1, 3, 2, 0.
  const V32 even = all(0x55555555);
  V32 indices = hn::Or(hn::AndNot(even, hn::Xor(levels, hn::Add(levels, levels))),
                       hn::AndNot(shiftRight<1>(levels), even));
  indices = hn::IfThenZeroElse(hn::Eq(upper, lower), indices);
  if constexpr (!kOpaque) {
    V16 transparent = all16(0);
    for (int i = 7; i >= 0; --i) {
      transparent = hn::Or(hn::ShiftLeft<2>(transparent), hn::AndNot(g.counts[i], all16(3)));
    }
    indices = hn::Or(indices, whole(transparent));
  }
  word[1] = indices;
}

// Takes what is transparent out of the group.
RKD_BLOCK void encodeTransparent(Group& g, V32* word) {
  V16 counts = all16(0);
  for (int i = 0; i < 8; ++i) {
    g.counts[i] = hn::ShiftRight<15>(g.ba[i]);
    g.rg[i] = hn::And(g.rg[i], g.counts[i]);
    g.ba[i] = hn::And(g.ba[i], g.counts[i]);
    counts = hn::Sub(counts, g.counts[i]);
  }
  g.count = sumOfHalves(counts);
  g.three = hn::VecFromMask(D32(), hn::Lt(g.count, all(16)));
  encodeColours<false>(g, word);
}

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

RKD_BLOCK void encodeAlpha5(const Group& g, V32* word) {
  V16 low = all16(255), high = all16(0);
  for (const V16& ba : g.ba) {
    low = hn::Min(low, shiftRight<8>(ba));
    high = hn::Max(high, shiftRight<8>(ba));
  }
  low = hn::Min(low, hn::Reverse2(D16(), low));
  high = hn::Max(high, hn::Reverse2(D16(), high));
  const V16 range = hn::Max(hn::Sub(high, low), all16(1));
  // The level is (7 * distance + bias) / range.
  const V16 bias = hn::IfThenElse(hn::Lt(range, all16(8)), hn::Sub(range, all16(1)),
                                  hn::Add(shiftRight<1>(range), all16(2)));
  const V16 offset = hn::Sub(bias, hn::Mul(low, all16(7)));
  const DF df;
  const V32 wide = hn::And(whole(range), all(0xFFFF));
  const V16 inverse =
      both(hn::ConvertTo(D32(), hn::Div(hn::Set(df, 65535.0f), hn::ConvertTo(df, wide))));
  // 15 bits, then 9 of each half.
  V16 levels[2] = {all16(0), all16(0)};
  for (int i = 7; i >= 0; --i) {
    const V16 n = hn::Add(hn::Mul(shiftRight<8>(g.ba[i]), all16(7)), offset);
    // Too small by one at most.
    const V16 level = mulHighUnsigned(n, inverse);
    const V16 rest = hn::Sub(n, hn::Mul(level, range));
    V16& to = levels[i / 5];
    to = hn::Or(hn::ShiftLeft<3>(to), countAbove(level, rest, hn::Sub(range, all16(1))));
  }
  const V32 first = whole(levels[0]), second = whole(levels[1]);
  V32 codes[2] = {
      hn::Or(hn::And(first, all(0xFFFF)), hn::ShiftLeft<15>(hn::And(second, all(0xFFFF)))),
      hn::Or(shiftRight<16>(first), hn::ShiftLeft<15>(shiftRight<16>(second)))};
  const M32 flat = hn::Eq(whole(low), whole(high));
  for (V32& c : codes) c = hn::IfThenZeroElse(flat, codesOfLevels(c));
  const V32 ends = hn::And(whole(hn::Or(high, hn::ShiftLeft<8>(low))), all(0xFFFF));
  word[0] = hn::Or(ends, hn::ShiftLeft<16>(codes[0]));
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
      encodeColours<true>(g, word);
    } else {
      encodeTransparent(g, word);
    }
  } else {
    Format == 3 ? encodeAlpha3(g, word) : encodeAlpha5(g, word);
    encodeColours<true>(g, word + 2);
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
