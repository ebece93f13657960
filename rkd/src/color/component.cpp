// The component transforms of JPEG 2000: reversible (RCT) and irreversible (ICT).
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "color/component.cpp"
#include "hwy/foreach_target.h"

#include "common/bytes-inl.h"
#include "common/levels.h"
#include "hwy/highway.h"
#include "rkd/rkdcolor.h"

HWY_BEFORE_NAMESPACE();
namespace rkd::HWY_NAMESPACE {

// ---- three samples of a pixel from and to planes or interleaved rows ----

template <class D, class T, class Amount>
HWY_INLINE void loadTriple(D d, const T* const (&row)[3], size_t x, Amount amount, hn::Vec<D>* c) {
  for (int p = 0; p < 3; ++p) c[p] = load(d, row[p] + x, amount);
}
template <class D, class T>
RKD_BLOCK void loadTriple(D d, const T* const (&row)[1], size_t x, Whole, hn::Vec<D>* c) {
  hn::LoadInterleaved3(d, row[0] + 3 * x, c[0], c[1], c[2]);
}
template <class D, class T>
RKD_BLOCK void loadTriple(D d, const T* const (&row)[1], size_t x, Part part, hn::Vec<D>* c) {
  HWY_ALIGN T buffer[3 * hn::MaxLanes(d)] = {};
  std::memcpy(buffer, static_cast<const void*>(row[0] + 3 * x), 3 * part.lanes * sizeof(T));
  hn::LoadInterleaved3(d, buffer, c[0], c[1], c[2]);
}

template <class D, class T, class Amount>
HWY_INLINE void storeTriple(D d, const hn::Vec<D>* c, T* const (&row)[3], size_t x, Amount amount) {
  for (int p = 0; p < 3; ++p) store(c[p], d, row[p] + x, amount);
}
template <class D, class T>
RKD_BLOCK void storeTriple(D d, const hn::Vec<D>* c, T* const (&row)[1], size_t x, Whole) {
  hn::StoreInterleaved3(c[0], c[1], c[2], d, row[0] + 3 * x);
}
template <class D, class T>
RKD_BLOCK void storeTriple(D d, const hn::Vec<D>* c, T* const (&row)[1], size_t x, Part part) {
  HWY_ALIGN T buffer[3 * hn::MaxLanes(d)];
  hn::StoreInterleaved3(c[0], c[1], c[2], d, buffer);
  std::memcpy(static_cast<void*>(row[0] + 3 * x), buffer, 3 * part.lanes * sizeof(T));
}

// ---- reversible ----

// (a + b) >> 1 of the true sum.
template <class V>
HWY_INLINE V halfSum(V a, V b) {
  return hn::Add(hn::And(a, b), hn::ShiftRight<1>(hn::Xor(a, b)));
}

// (R + 2 G + B) >> 2 is the half sum of G and the half sum of R and B: rounding down twice by two
// is rounding down by four.
struct RctForward {
  template <class V>
  HWY_INLINE void operator()(V* c) const {
    const V y = halfSum(halfSum(c[0], c[2]), c[1]);
    const V cb = hn::Sub(c[2], c[1]), cr = hn::Sub(c[0], c[1]);
    c[0] = y;
    c[1] = cb;
    c[2] = cr;
  }
};

struct RctInverse {
  template <class V>
  HWY_INLINE void operator()(V* c) const {
    const V g = hn::Sub(c[0], hn::ShiftRight<1>(halfSum(c[1], c[2])));
    const V b = hn::Add(c[1], g);
    c[0] = hn::Add(c[2], g);
    c[1] = g;
    c[2] = b;
  }
};

// ---- irreversible; rows of weights make one result each ----

constexpr double kForward[3][3] = {
    {.299, .587, .114}, {-.16875, -.33126, .5}, {.5, -.41869, -.08131}};
constexpr double kInverse[3][3] = {{1, 0, 1.402}, {1, -.34413, -.71414}, {1, 1.772, 0}};

constexpr int fixedPoint(double weight, int bits) {
  return static_cast<int>(weight * (1 << bits) + (weight < 0 ? -.5 : .5));
}

// In floating point. Weights of 0 and 1 fall away.
template <class V>
HWY_INLINE void weighted(const double (&weights)[3][3], V* c) {
  const hn::DFromV<V> d;
  const V in[3] = {c[0], c[1], c[2]};
  for (int i = 0; i < 3; ++i) {
    const auto& w = weights[i];
    auto sum = w[0] == 1 ? in[0] : hn::Mul(in[0], hn::Set(d, static_cast<float>(w[0])));
    for (int k = 1; k < 3; ++k) {
      if (w[k] != 0) sum = hn::MulAdd(in[k], hn::Set(d, static_cast<float>(w[k])), sum);
    }
    c[i] = sum;
  }
}

// 16 bits: pairwise products with the weights times 2^15, whose sums stay below 2^31 for all
// samples; narrowing saturates. Samples a and b make a pair, the third one goes with the rounding.
template <class V>
struct Pairs16 {
  V low, high, low2, high2;
  HWY_INLINE Pairs16(V a, V b, V third) {
    const hn::DFromV<V> d;
    const V one = hn::Set(d, 1);
    low = hn::InterleaveLower(d, a, b);
    high = hn::InterleaveUpper(d, a, b);
    low2 = hn::InterleaveLower(d, third, one);
    high2 = hn::InterleaveUpper(d, third, one);
  }
};
template <class V>
RKD_BLOCK V weighted16(const int (&weights)[3], const Pairs16<V>& in) {
  const hn::DFromV<V> d;
  const hn::RepartitionToWide<decltype(d)> d32;
  const V w = hn::BitCast(d, hn::Set(d32, pairBits(weights[0], weights[1])));
  const V w2 = hn::BitCast(d, hn::Set(d32, pairBits(weights[2], 1 << 14)));
  const auto zero = hn::Zero(d32);
  const auto sum = addPairProducts(addPairProducts(zero, in.low, w), in.low2, w2);
  const auto sum2 = addPairProducts(addPairProducts(zero, in.high, w), in.high2, w2);
  return hn::ReorderDemote2To(d, hn::ShiftRight<15>(sum), hn::ShiftRight<15>(sum2));
}

// The same with a weight of one for the third sample. Times 2^15 that is no 16-bit number, and the
// sum no 32-bit number for all samples; halving the products of the pair, rounded down, before the
// rest is added times 2^14 gives the same result.
template <class V>
RKD_BLOCK V plusWeighted16(int weightA, int weightB, const Pairs16<V>& in) {
  const hn::DFromV<V> d;
  const hn::RepartitionToWide<decltype(d)> d32;
  const V w = hn::BitCast(d, hn::Set(d32, pairBits(weightA, weightB)));
  const V w2 = hn::BitCast(d, hn::Set(d32, pairBits(1 << 14, 1 << 13)));
  const auto zero = hn::Zero(d32);
  const auto half = hn::ShiftRight<1>(addPairProducts(zero, in.low, w));
  const auto half2 = hn::ShiftRight<1>(addPairProducts(zero, in.high, w));
  return hn::ReorderDemote2To(d, hn::ShiftRight<14>(addPairProducts(half, in.low2, w2)),
                              hn::ShiftRight<14>(addPairProducts(half2, in.high2, w2)));
}

// a + b + (b * weight + 2^14) >> 15, saturated, for weights from 0 to 1: both terms of b have its
// sign, so that saturating one after the other is saturating their sum.
template <class V>
HWY_INLINE V addMore(V a, V b, int weight) {
  const hn::DFromV<V> d;
  const V part = hn::MulFixedPoint15(b, hn::Set(d, static_cast<int16_t>(weight)));
  return hn::SaturatedAdd(hn::SaturatedAdd(a, part), b);
}

// 32 bits: 64-bit sums of products with the weights times 2^28, even and odd lanes apart. Only the
// low 32 bits of a result are kept, so that its shift need not know the sign.
template <class V>
RKD_BLOCK void weighted32(const int (&weights)[3][3], V* c) {
  const hn::DFromV<V> d;
  const hn::Repartition<int64_t, decltype(d)> d64;
  const hn::Repartition<uint64_t, decltype(d)> du64;
  const V in[3] = {c[0], c[1], c[2]};
  V odd[3];
  for (int k = 0; k < 3; ++k) {
    odd[k] = hn::BitCast(d, hn::ShiftRight<32>(hn::BitCast(du64, in[k])));
  }
  const auto half = hn::Set(d64, int64_t{1} << 27);
  for (int i = 0; i < 3; ++i) {
    auto even64 = half, odd64 = half;
    for (int k = 0; k < 3; ++k) {
      if (weights[i][k] == 0) continue;
      const V w = hn::Set(d, weights[i][k]);
      even64 = hn::Add(even64, hn::MulEven(in[k], w));
      odd64 = hn::Add(odd64, hn::MulEven(odd[k], w));
    }
    const auto evens = hn::ShiftRight<28>(hn::BitCast(du64, even64));
    const auto odds = hn::ShiftLeft<4>(hn::BitCast(du64, odd64));
    c[i] = hn::OddEven(hn::BitCast(d, odds), hn::BitCast(d, evens));
  }
}

constexpr int kForward16[3][3] = {
    {fixedPoint(.299, 15), fixedPoint(.587, 15), fixedPoint(.114, 15)},
    {fixedPoint(-.16875, 15), fixedPoint(-.33126, 15), fixedPoint(.5, 15)},
    {fixedPoint(.5, 15), fixedPoint(-.41869, 15), fixedPoint(-.08131, 15)}};

struct Weights28 {
  int forward[3][3], inverse[3][3];
};
constexpr Weights28 kWeights28 = [] {
  Weights28 fixed{};
  for (int i = 0; i < 3; ++i) {
    for (int k = 0; k < 3; ++k) {
      fixed.forward[i][k] = fixedPoint(kForward[i][k], 28);
      fixed.inverse[i][k] = fixedPoint(kInverse[i][k], 28);
    }
  }
  return fixed;
}();

struct IctForward {
  template <class V>
  HWY_INLINE void operator()(V* c) const {
    if constexpr (std::is_floating_point_v<hn::TFromD<hn::DFromV<V>>>) {
      weighted(kForward, c);
    } else if constexpr (std::is_same_v<hn::TFromD<hn::DFromV<V>>, int16_t>) {
      const Pairs16<V> in(c[0], c[1], c[2]);
      for (int i = 0; i < 3; ++i) c[i] = weighted16(kForward16[i], in);
    } else {
      weighted32(kWeights28.forward, c);
    }
  }
};
struct IctInverse {
  template <class V>
  HWY_INLINE void operator()(V* c) const {
    if constexpr (std::is_floating_point_v<hn::TFromD<hn::DFromV<V>>>) {
      weighted(kInverse, c);
    } else if constexpr (std::is_same_v<hn::TFromD<hn::DFromV<V>>, int16_t>) {
      const Pairs16<V> in(c[1], c[2], c[0]);
      const V green = plusWeighted16(fixedPoint(-.34413, 15), fixedPoint(-.71414, 15), in);
      const V blue = addMore(c[0], c[1], fixedPoint(.772, 15));
      c[0] = addMore(c[0], c[2], fixedPoint(.402, 15));
      c[1] = green;
      c[2] = blue;
    } else {
      weighted32(kWeights28.inverse, c);
    }
  }
};

// ---- the walk ----

// Vectors of 32 bytes at most, two at a time: longer stores make loads wait whose addresses differ
// from theirs by about a multiple of 4096, as those of planes often do.
template <class Transform, class T, int SP, int DP>
HWY_INLINE void transformRow(const T* const (&src)[SP], T* const (&dst)[DP], size_t width) {
  const hn::CappedTag<T, 32 / sizeof(T)> d;
  constexpr size_t lanes = hn::MaxLanes(d);
  size_t x = 0;
  for (; x + 2 * lanes <= width; x += 2 * lanes) {
    hn::Vec<decltype(d)> a[3], b[3];
    loadTriple(d, src, x, Whole{}, a);
    loadTriple(d, src, x + lanes, Whole{}, b);
    Transform()(a);
    Transform()(b);
    storeTriple(d, a, dst, x, Whole{});
    storeTriple(d, b, dst, x + lanes, Whole{});
  }
  overRow(width - x, lanes, [&](size_t more, auto amount) RKD_BODY {
    hn::Vec<decltype(d)> c[3];
    loadTriple(d, src, x + more, amount, c);
    Transform()(c);
    storeTriple(d, c, dst, x + more, amount);
  });
}

template <class Transform, class T, int SP, int DP>
void transformRegion(const Region<T, SP, T, DP>& r) {
  const auto width = static_cast<size_t>(r.size.width), height = static_cast<size_t>(r.size.height);
  // Rows without gaps are one long row.
  const bool joined = static_cast<size_t>(r.srcStep) == width * (3 / SP) * sizeof(T) &&
                      static_cast<size_t>(r.dstStep) == width * (3 / DP) * sizeof(T);
  for (int y = 0; y < (joined ? 1 : r.size.height); ++y) {
    const T* src[SP];
    T* dst[DP];
    for (int p = 0; p < SP; ++p) src[p] = r.srcRow(y, p);
    for (int p = 0; p < DP; ++p) dst[p] = r.dstRow(y, p);
    transformRow<Transform>(src, dst, joined ? width * height : width);
  }
}

template <class T>
using InPlace = Region<T, 3, T, 3>;
template <class T>
using Split = Region<T, 1, T, 3>;
template <class T>
using Join = Region<T, 3, T, 1>;

void ictFwdSplit32f(const Split<float>& r) { transformRegion<IctForward>(r); }
void ictInvJoin32f(const Join<float>& r) { transformRegion<IctInverse>(r); }
void ictFwd32f(const InPlace<float>& r) { transformRegion<IctForward>(r); }
void ictInv32f(const InPlace<float>& r) { transformRegion<IctInverse>(r); }
void ictFwd16s(const InPlace<int16_t>& r) { transformRegion<IctForward>(r); }
void ictInv16s(const InPlace<int16_t>& r) { transformRegion<IctInverse>(r); }
void ictFwd32s(const InPlace<int32_t>& r) { transformRegion<IctForward>(r); }
void ictInv32s(const InPlace<int32_t>& r) { transformRegion<IctInverse>(r); }
void rctFwd16s(const InPlace<int16_t>& r) { transformRegion<RctForward>(r); }
void rctInv16s(const InPlace<int16_t>& r) { transformRegion<RctInverse>(r); }
void rctFwd32s(const InPlace<int32_t>& r) { transformRegion<RctForward>(r); }
void rctInv32s(const InPlace<int32_t>& r) { transformRegion<RctInverse>(r); }
void rctFwdSplit16s(const Split<int16_t>& r) { transformRegion<RctForward>(r); }
void rctInvJoin16s(const Join<int16_t>& r) { transformRegion<RctInverse>(r); }
void rctFwdSplit32s(const Split<int32_t>& r) { transformRegion<RctForward>(r); }
void rctInvJoin32s(const Join<int32_t>& r) { transformRegion<RctInverse>(r); }

}  // namespace rkd::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace rkd {
HWY_EXPORT(ictFwdSplit32f);
HWY_EXPORT(ictInvJoin32f);
HWY_EXPORT(ictFwd32f);
HWY_EXPORT(ictInv32f);
HWY_EXPORT(ictFwd16s);
HWY_EXPORT(ictInv16s);
HWY_EXPORT(ictFwd32s);
HWY_EXPORT(ictInv32s);
HWY_EXPORT(rctFwd16s);
HWY_EXPORT(rctInv16s);
HWY_EXPORT(rctFwd32s);
HWY_EXPORT(rctInv32s);
HWY_EXPORT(rctFwdSplit16s);
HWY_EXPORT(rctInvJoin16s);
HWY_EXPORT(rctFwdSplit32s);
HWY_EXPORT(rctInvJoin32s);
}  // namespace rkd

using namespace rkd;

RKD_PIXELS_TO_PLANES(rkdiICTFwd_JPEG2K_32f_C3P3R, RKD_AT_LEVEL(ictFwdSplit32f), float, 3, float, 3)
RKD_PLANES_TO_PIXELS(rkdiICTInv_JPEG2K_32f_P3C3R, RKD_AT_LEVEL(ictInvJoin32f), float, 3, float, 3)
RKD_PLANES_IN_PLACE(rkdiICTFwd_JPEG2K_32f_P3IR, RKD_AT_LEVEL(ictFwd32f), float, 3)
RKD_PLANES_IN_PLACE(rkdiICTInv_JPEG2K_32f_P3IR, RKD_AT_LEVEL(ictInv32f), float, 3)
RKD_PLANES_IN_PLACE(rkdiICTFwd_JPEG2K_16s_P3IR, RKD_AT_LEVEL(ictFwd16s), int16_t, 3)
RKD_PLANES_IN_PLACE(rkdiICTInv_JPEG2K_16s_P3IR, RKD_AT_LEVEL(ictInv16s), int16_t, 3)
RKD_PLANES_IN_PLACE(rkdiICTFwd_JPEG2K_32s_P3IR, RKD_AT_LEVEL(ictFwd32s), int32_t, 3)
RKD_PLANES_IN_PLACE(rkdiICTInv_JPEG2K_32s_P3IR, RKD_AT_LEVEL(ictInv32s), int32_t, 3)
RKD_PLANES_IN_PLACE(rkdiRCTFwd_JPEG2K_16s_P3IR, RKD_AT_LEVEL(rctFwd16s), int16_t, 3)
RKD_PLANES_IN_PLACE(rkdiRCTInv_JPEG2K_16s_P3IR, RKD_AT_LEVEL(rctInv16s), int16_t, 3)
RKD_PLANES_IN_PLACE(rkdiRCTFwd_JPEG2K_32s_P3IR, RKD_AT_LEVEL(rctFwd32s), int32_t, 3)
RKD_PLANES_IN_PLACE(rkdiRCTInv_JPEG2K_32s_P3IR, RKD_AT_LEVEL(rctInv32s), int32_t, 3)
RKD_PIXELS_TO_PLANES(rkdiRCTFwd_JPEG2K_16s_C3P3R, RKD_AT_LEVEL(rctFwdSplit16s), int16_t, 3, int16_t,
                     3)
RKD_PLANES_TO_PIXELS(rkdiRCTInv_JPEG2K_16s_P3C3R, RKD_AT_LEVEL(rctInvJoin16s), int16_t, 3, int16_t,
                     3)
RKD_PIXELS_TO_PLANES(rkdiRCTFwd_JPEG2K_32s_C3P3R, RKD_AT_LEVEL(rctFwdSplit32s), int32_t, 3, int32_t,
                     3)
RKD_PLANES_TO_PIXELS(rkdiRCTInv_JPEG2K_32s_P3C3R, RKD_AT_LEVEL(rctInvJoin32s), int32_t, 3, int32_t,
                     3)
#endif  // HWY_ONCE
