// Colours of texture blocks: the ends and the levels of a group of blocks. Include after
// "hwy/highway.h", inside no namespace.
#if defined(RKD_TEXTURE_COLOURS_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef RKD_TEXTURE_COLOURS_INL_H_
#undef RKD_TEXTURE_COLOURS_INL_H_
#else
#define RKD_TEXTURE_COLOURS_INL_H_
#endif

#include "common/lanes-inl.h"
#include "hwy/highway.h"
#include "texture/blocks-inl.h"
#include "texture/solid.h"

HWY_BEFORE_NAMESPACE();
namespace rkd::HWY_NAMESPACE {

using DF = hn::RebindToFloat<D32>;
using VF = hn::Vec<DF>;

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

// Pixels i and i + 8 of a group's blocks, and which of them count. kOpaque: all do, and no block
// has three colours.
struct Group {
  V16 rg[8], ba[8];
  V16 counts[8];  // all ones or zero
  V32 count;
  V32 three;  // all ones or zero: has three colours
};

// All ones or zero.
HWY_INLINE V32 allCount(const Group& g) { return hn::VecFromMask(D32(), hn::Eq(g.count, all(16))); }
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
  V32 weight[3];
  HWY_INLINE explicit Axis(const Colours& direction) {
    const DF df;
    V32 sum = hn::Abs(direction.c[0]);
    for (int c = 1; c < 3; ++c) sum = hn::Add(sum, hn::Abs(direction.c[c]));
    const auto scale = hn::Div(hn::Set(df, 127.0f), hn::ConvertTo(df, hn::Max(sum, all(1))));
    for (int c = 0; c < 3; ++c) {
      weight[c] = hn::ConvertTo(D32(), hn::Mul(hn::ConvertTo(df, direction.c[c]), scale));
    }
    const V32 first = hn::And(weight[0], all(255));
    rg = both(hn::Or(first, hn::ShiftLeft<8>(weight[1])));
    b = both(hn::And(weight[2], all(255)));
  }
  HWY_INLINE V16 along(V16 pixelsRg, V16 pixelsBa) const {
    return hn::Add(pairsOfBytes(pixelsRg, rg), pairsOfBytes(pixelsBa, b));
  }
};

// The pixels by channels, and of these n * sum of c * d - sum of c * sum of d.
struct Moments {
  V16 channel[3][8];
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
    const V16 c[3] = {hn::And(g.rg[i], all16(255)), shiftRight<8>(g.rg[i]),
                      hn::And(g.ba[i], all16(255))};
    for (int k = 0; k < 3; ++k) {
      m.channel[k][i] = c[k];
      sum[k] = hn::Add(sum[k], c[k]);
    }
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

// Levels along an axis: from `base` on one begins every 65536 / scale; none behind `limit`.
struct Ruler {
  V16 base, limit, scale;
  HWY_INLINE V16 levelOf(V16 along) const {
    const DU16 du16;
    const V16 above = hn::Sub(hn::Max(along, base), base);
    const auto inside = hn::Min(hn::BitCast(du16, above), hn::BitCast(du16, limit));
    return mulHighUnsigned(hn::BitCast(D16(), inside), scale);
  }
};

// The ruler between two ends, each nearest level half a step around its place.
template <bool kOpaque>
HWY_INLINE Ruler rulerOf(const Group& g, VF lower, VF upper) {
  const DF df;
  const V32 low = hn::ConvertTo(D32(), lower);
  const VF range = hn::ConvertTo(df, hn::Sub(hn::ConvertTo(D32(), upper), low));
  const auto byLevels = [&](float four, float three) HWY_ATTR {
    const VF factor = hn::Set(df, four);
    if constexpr (kOpaque) return factor;
    return hn::IfThenElse(hn::MaskFromVec(hn::BitCast(df, g.three)), hn::Set(df, three), factor);
  };
  const auto part = [&](VF factor)
                        HWY_ATTR { return hn::ConvertTo(D32(), hn::Mul(range, factor)); };
  const V32 base = hn::Sub(low, part(byLevels(1 / 6.0f, 1 / 4.0f)));
  const V32 past = part(byLevels(4 / 3.0f, 3 / 2.0f));
  // Ends in different places are at least 4 apart.
  const VF apart = hn::Max(range, hn::Set(df, 4.0f));
  const VF scale = hn::Div(byLevels(196608.0f, 131072.0f), apart);
  return {both(base), both(hn::Max(hn::Sub(past, all(1)), all(0))),
          both(hn::ConvertTo(D32(), scale))};
}

// Of the steps of 5, 6, 5 bits nearest to the ends of the range on the axis.
template <bool kOpaque>
RKD_BLOCK Ruler firstRuler(const Group& g, const Moments& m, const Axis& axis, V16 low, V16 high) {
  const DF df;
  const auto real = [](V32 v) HWY_ATTR { return hn::ConvertTo(DF(), v); };
  VF weight[3], sum[3];
  for (int c = 0; c < 3; ++c) {
    weight[c] = real(axis.weight[c]);
    sum[c] = real(m.sum[c]);
  }
  const auto dot = [](const VF* a, const VF* b) HWY_ATTR {
    return hn::Add(hn::Add(hn::Mul(a[0], b[0]), hn::Mul(a[1], b[1])), hn::Mul(a[2], b[2]));
  };
  // These are integers that floats hold.
  const VF one = hn::Set(df, 1.0f), middle = dot(weight, sum);
  const VF inverse = hn::Div(one, hn::Max(dot(weight, weight), one));
  // How far from the mean, times how many pixels there are.
  const auto away = [&](V16 end) HWY_ATTR {
    const V32 wide = hn::ShiftRight<16>(whole(end));
    const V32 times = kOpaque ? hn::ShiftLeft<4>(wide) : hn::Mul(wide, g.count);
    return hn::Mul(hn::Sub(real(times), middle), inverse);
  };
  const VF distance[2] = {away(low), away(high)};
  const VF perPixel =
      kOpaque ? hn::Set(df, 1 / 16.0f) : hn::Div(one, real(hn::Max(g.count, all(1))));
  VF step[2][3], width[3];
  for (int c = 0; c < 3; ++c) {
    const float top = c == 1 ? 63.0f : 31.0f;
    const VF scale = hn::Mul(perPixel, hn::Set(df, top / 255.0f));
    const VF mean = hn::Add(hn::Mul(sum[c], scale), hn::Set(df, 0.5f));
    const VF slope = hn::Mul(weight[c], scale);
    for (int i = 0; i < 2; ++i) {
      const VF v = hn::Add(mean, hn::Mul(slope, distance[i]));
      step[i][c] = hn::Floor(hn::Min(hn::Max(v, hn::Zero(df)), hn::Set(df, top + 0.5f)));
    }
    width[c] = hn::Mul(weight[c], hn::Set(df, 255.0f / top));
  }
  return rulerOf<kOpaque>(g, dot(width, step[0]), dot(width, step[1]));
}

// Whether colours along the axis lie near three levels, not four: none between a twelfth and a
// quarter of the range from its middle, some nearer, and the range is wide enough for it to show
// in 5 bits. All ones or zero.
RKD_BLOCK V32 asksForThree(const V16* along, V16 low, V16 high) {
  const DU16 du16;
  const V16 range = hn::Sub(high, low);
  const V16 middle = hn::Add(low, shiftRight<1>(range));
  const V16 twelfth = mulHighUnsigned(range, all16(5461));
  // What is nearer wraps around.
  auto least = hn::Set(du16, 65535), largest = hn::Zero(du16);
  for (int i = 0; i < 8; ++i) {
    const V16 away = hn::Abs(hn::Sub(along[i], middle));
    const auto beyond = hn::BitCast(du16, hn::Sub(away, twelfth));
    least = hn::Min(least, beyond);
    largest = hn::Max(largest, beyond);
  }
  least = hn::Min(least, hn::Reverse2(du16, least));
  largest = hn::Max(largest, hn::Reverse2(du16, largest));
  const auto wide = [](auto v) HWY_ATTR { return shiftRight<16>(hn::BitCast(D32(), v)); };
  const V32 twelfths = wide(twelfth);
  const M32 some = hn::Gt(hn::Add(wide(largest), twelfths), all(65535));
  const M32 none = hn::Gt(wide(least), hn::Add(twelfths, twelfths));
  const M32 wideEnough = hn::Gt(wide(range), all(10 * 127));
  return hn::VecFromMask(D32(), hn::And(hn::And(some, none), wideEnough));
}

// kMayAsk: blocks all of whose pixels count may become blocks of three colours.
template <bool kOpaque, bool kMayAsk>
RKD_BLOCK void firstLevels(Group& g, const Moments& m, Levels& levels) {
  const Axis axis(mainDirection(m));
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
  if constexpr (kMayAsk) {
    V32 asks = asksForThree(along, low, high);
    if constexpr (!kOpaque) asks = hn::And(asks, allCount(g));
    g.three = hn::Or(g.three, asks);
  }
  // A sixteenth of the range inside it.
  const V16 inset = shiftRight<4>(hn::Sub(high, low));
  const Ruler ruler = firstRuler<kOpaque>(g, m, axis, hn::Add(low, inset), hn::Sub(high, inset));
  V16 sum = all16(0);
  V32 q = all(0), x[3] = {q, q, q};
  for (int i = 0; i < 8; ++i) {
    V16 level = ruler.levelOf(along[i]);
    if constexpr (!kOpaque) level = hn::And(level, g.counts[i]);
    sum = hn::Add(sum, level);
    q = addPairProducts(q, level, level);
    for (int c = 0; c < 3; ++c) x[c] = addPairProducts(x[c], level, m.channel[c][i]);
  }
  levels = {sumOfHalves(sum), q, {x[0], x[1], x[2]}};
}

// The step of 5 or 6 bits that best fits the upper end, and the one of the lower end that best fits
// it then.
template <bool kOpaque>
class EndSearch {
 public:
  HWY_INLINE EndSearch(Group& g, const Moments& m, const Levels& l)
      : m_g(g), m_m(m), m_l(l), m_count(countOf<kOpaque>(g)) {
    m_d = hn::Sub(product(m_count, l.q), product(l.s, l.s));
    const V32 mixed = hn::Sub(timesLast<kOpaque>(g, l.s), l.q);
    const V32 lower = hn::Sub(timesLast<kOpaque>(g, timesLast<kOpaque>(g, m_count)),
                              hn::Add(hn::Add(mixed, mixed), l.q));
    m_both = mixed;
    m_upperScale = Scale(m_d);
    m_lowerScale = Scale(lower);
  }
  // All colours are on one level.
  HWY_INLINE M32 shared() const { return hn::Eq(m_d, all(0)); }

  template <int C>
  HWY_INLINE void run(V32& upper, V32& lower) const {
    const V32 p = m_m.sum[C], x = m_l.x[C];
    const V32 low = hn::Sub(product(m_l.q, p), product(m_l.s, x));
    const V32 slope = hn::Sub(product(m_count, x), product(m_l.s, p));
    upper = m_upperScale.template nearest<C>(hn::Add(low, timesLast<kOpaque>(m_g, slope)));
    const V32 rest = timesLast<kOpaque>(m_g, hn::Sub(timesLast<kOpaque>(m_g, p), x));
    lower = m_lowerScale.template nearest<C>(hn::Sub(rest, product(m_both, upper)));
  }

  // The ends whose level between them is nearest to the mean. kMayAsk: of three or four levels.
  template <bool kMayAsk>
  HWY_INLINE void runShared(Ends& e) const {
    V32 mean[3];
    for (int c = 0; c < 3; ++c) mean[c] = meanOf(c);
    if constexpr (kMayAsk) {
      V32 gained = all(0);  // by three levels
      for (int c = 0; c < 3; ++c) {
        const int32_t* table = c == 1 ? kSolid6.gained : kSolid5.gained;
        gained = hn::Add(gained, hn::GatherIndex(D32(), table, mean[c]));
      }
      V32 asks = hn::VecFromMask(D32(), hn::And(shared(), hn::Gt(gained, all(0))));
      if constexpr (!kOpaque) asks = hn::And(asks, allCount(m_g));
      m_g.three = hn::Or(m_g.three, asks);
    }
    for (int c = 0; c < 3; ++c) {
      const V32 index = kOpaque ? mean[c] : hn::Add(mean[c], hn::And(m_g.three, all(256)));
      const int32_t* table = c == 1 ? kSolid6.ends : kSolid5.ends;
      const V32 solid = hn::GatherIndex(D32(), table, index);
      e.upper.c[c] = choose(shared(), hn::ShiftRight<8>(solid), e.upper.c[c]);
      e.lower.c[c] = choose(shared(), hn::And(solid, all(255)), e.lower.c[c]);
    }
  }

 private:
  HWY_INLINE V32 meanOf(int c) const {
    const DF df;
    const V32 twice = hn::Add(m_count, m_count);
    const V32 sum = hn::Add(hn::Add(m_m.sum[c], m_m.sum[c]), m_count);
    // Exact: quotients are at least a 32nd off the next integer.
    return hn::ConvertTo(
        D32(), hn::Div(hn::ConvertTo(df, sum), hn::ConvertTo(df, hn::Max(twice, all(1)))));
  }

  // The nearest step to a value that counts `unit` times, widened.
  struct Scale {
    V32 top;  // 255 units
    VF inverse;
    Scale() = default;
    HWY_INLINE explicit Scale(V32 unit) {
      const V32 some = hn::Max(unit, all(1));
      top = hn::Sub(hn::ShiftLeft<8>(some), some);
      inverse = hn::Div(hn::Set(DF(), 1.0f), hn::ConvertTo(DF(), top));
    }
    template <int C>
    HWY_INLINE V32 nearest(V32 v) const {
      const DF df;
      const V32 inside = hn::Min(hn::Max(v, all(0)), top);
      const VF steps = hn::Mul(inverse, hn::Set(df, C == 1 ? 63.0f : 31.0f));
      const VF step = hn::Add(hn::Mul(hn::ConvertTo(df, inside), steps), hn::Set(df, 0.5f));
      return widen<C>(hn::ConvertTo(D32(), step));
    }
  };

  Group& m_g;
  const Moments& m_m;
  const Levels& m_l;
  V32 m_count, m_d;
  V32 m_both;  // what the product of both ends counts
  Scale m_upperScale, m_lowerScale;
};

// The ends, widened from 5, 6, 5 bits.
template <bool kOpaque, bool kMayAsk>
RKD_BLOCK void fitEnds(Group& g, Ends& e) {
  Moments moments;
  measure<kOpaque>(g, moments);
  Levels levels;
  firstLevels<kOpaque, kMayAsk>(g, moments, levels);
  const EndSearch<kOpaque> search(g, moments, levels);
  eachChannel([&](auto c) HWY_ATTR { search.template run<c>(e.upper.c[c], e.lower.c[c]); });
  if (!hn::AllFalse(D32(), search.shared())) search.template runShared<kMayAsk>(e);
}

HWY_INLINE V32 pack565(const Colours& e) {
  const V32 red = hn::ShiftLeft<8>(hn::And(e.c[0], all(0xF8)));
  const V32 green = hn::ShiftLeft<3>(hn::And(e.c[1], all(0xFC)));
  return hn::Or(hn::Or(red, green), hn::ShiftRight<3>(e.c[2]));
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

// kMayAsk: if every pixel counts, blocks of three colours are only asked for, in the group.
template <bool kOpaque, bool kMayAsk>
RKD_BLOCK void encodeColours(Group& g, V32* word) {
  Ends e;
  fitEnds<kOpaque, kMayAsk>(g, e);
  const V32 upper = pack565(e.upper), lower = pack565(e.lower);
  M32 swap = hn::Lt(upper, lower);
  if constexpr (!kOpaque) {
    swap = hn::MaskFromVec(hn::IfVecThenElse(g.three, hn::VecFromMask(D32(), hn::Gt(upper, lower)),
                                             hn::VecFromMask(D32(), swap)));
  }
  word[0] = choose(swap, hn::Or(lower, hn::ShiftLeft<16>(upper)),
                   hn::Or(upper, hn::ShiftLeft<16>(lower)));
  for (int c = 0; c < 3; ++c) {
    const V32 u = e.upper.c[c], l = e.lower.c[c];
    e.upper.c[c] = choose(swap, l, u);
    e.lower.c[c] = choose(swap, u, l);
  }
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
  encodeColours<false, true>(g, word);
}

RKD_BLOCK void encodeOpaque(Group& g, V32* word) {
  g.three = all(0);
  encodeColours<true, true>(g, word);
  if (hn::AllFalse(D32(), hn::MaskFromVec(g.three))) return;
  g.three = all(0);
  g.count = all(16);
  for (V16& c : g.counts) c = all16(-1);
  encodeColours<false, true>(g, word);
}

}  // namespace rkd::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif  // per-target guard
