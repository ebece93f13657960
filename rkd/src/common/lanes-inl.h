// Helpers compiled once per level: rows that do not fill whole vectors, saturating narrowing, and
// 8x8 transposition. Include after "hwy/highway.h", inside no namespace.
//
// Samples may lie at any address, so kernels never dereference a typed sample pointer; they load
// and store through the functions below (or hn::LoadU and hn::StoreU), whole or in part.
#if defined(RKD_COMMON_LANES_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef RKD_COMMON_LANES_INL_H_
#undef RKD_COMMON_LANES_INL_H_
#else
#define RKD_COMMON_LANES_INL_H_
#endif

#include "common/args.h"
#include "common/native-inl.h"
#include "hwy/highway.h"

// Stands behind the parameters of a lambda that is a loop's body, so that the loop has it inside
// for whole vectors and for the rest. If the compiler leaves the rest a function, which it takes
// for large, what the lambda captures goes there by its address, and the loop reads it from memory
// again at every vector.
#undef RKD_BODY
#if HWY_TARGET == HWY_EMU128
#define RKD_BODY HWY_ATTR
#else
#define RKD_BODY HWY_ATTR __attribute__((always_inline))
#endif

HWY_BEFORE_NAMESPACE();
namespace rkd::HWY_NAMESPACE {

// How much of a vector counts: all of it, or the first `lanes`.
struct Whole {};
struct Part {
  size_t lanes;
};

template <class D, class T = hn::TFromD<D>>
HWY_INLINE hn::Vec<D> load(D d, const T* from, Whole) {
  return hn::LoadU(d, from);
}

// Lanes beyond the part are zero.
template <class D, class T = hn::TFromD<D>>
HWY_INLINE hn::Vec<D> load(D d, const T* from, Part part) {
  return loadFirst(d, from, part.lanes);
}

template <class D, class T = hn::TFromD<D>>
HWY_INLINE void store(hn::Vec<D> v, D d, T* to, Whole) {
  hn::StoreU(v, d, to);
}

template <class D, class T = hn::TFromD<D>>
HWY_INLINE void store(hn::Vec<D> v, D d, T* to, Part part) {
  storeFirst(v, d, to, part.lanes);
}

// Calls body(x, Whole{}) for every whole vector of `lanes` samples in a row of `width`, and
// body(x, Part{n}) for the rest; the body carries RKD_BODY.
template <class Body>
HWY_INLINE void overRow(size_t width, size_t lanes, Body&& body) {
  size_t x = 0;
  for (; x + lanes <= width; x += lanes) body(x, Whole{});
  if (x < width) body(x, Part{width - x});
}

// Calls row(src, dst, width) for every row of a region with one plane on each side, its pixels
// having SC and DC samples. Rows without gaps are joined, so that narrow images run as fast as wide
// ones; the width handed on counts pixels.
template <int SC, int DC, class S, class D, class Row>
HWY_INLINE void overRows(const Rows<S, D>& r, Row&& row) {
  const size_t width = static_cast<size_t>(r.size.width);
  const size_t height = static_cast<size_t>(r.size.height);
  if (static_cast<size_t>(r.srcStep) == width * SC * sizeof(S) &&
      static_cast<size_t>(r.dstStep) == width * DC * sizeof(D)) {
    row(r.src[0], r.dst[0], width * height);
    return;
  }
  for (int y = 0; y < r.size.height; ++y) row(r.srcRow(y), r.dstRow(y), width);
}

// ---- 16-bit lanes ----

// The high 16 bits of the product of unsigned lanes.
template <class V>
RKD_BLOCK V mulHighUnsigned(V a, V b) {
  const hn::RebindToUnsigned<hn::DFromV<V>> du;
  return hn::BitCast(hn::DFromV<V>(), hn::MulHigh(hn::BitCast(du, a), hn::BitCast(du, b)));
}

// The 8x8 transpose of 16-bit lanes in every 128-bit block of eight vectors.
template <class V>
HWY_INLINE void transpose8x8(V& r0, V& r1, V& r2, V& r3, V& r4, V& r5, V& r6, V& r7) {
  const hn::DFromV<V> d16;
  const hn::Repartition<int32_t, decltype(d16)> d32;
  const hn::Repartition<int64_t, decltype(d16)> d64;
  const auto to32 = [&](V v) HWY_ATTR { return hn::BitCast(d32, v); };
  const V a0 = hn::InterleaveLower(d16, r0, r1);
  const V a1 = hn::InterleaveUpper(d16, r0, r1);
  const V a2 = hn::InterleaveLower(d16, r2, r3);
  const V a3 = hn::InterleaveUpper(d16, r2, r3);
  const V a4 = hn::InterleaveLower(d16, r4, r5);
  const V a5 = hn::InterleaveUpper(d16, r4, r5);
  const V a6 = hn::InterleaveLower(d16, r6, r7);
  const V a7 = hn::InterleaveUpper(d16, r6, r7);
  const auto lower = [&](V a, V b) HWY_ATTR {
    return hn::BitCast(d64, hn::InterleaveLower(d32, to32(a), to32(b)));
  };
  const auto upper = [&](V a, V b) HWY_ATTR {
    return hn::BitCast(d64, hn::InterleaveUpper(d32, to32(a), to32(b)));
  };
  const auto b0 = lower(a0, a2), b1 = upper(a0, a2), b2 = lower(a1, a3), b3 = upper(a1, a3);
  const auto b4 = lower(a4, a6), b5 = upper(a4, a6), b6 = lower(a5, a7), b7 = upper(a5, a7);
  r0 = hn::BitCast(d16, hn::InterleaveLower(d64, b0, b4));
  r1 = hn::BitCast(d16, hn::InterleaveUpper(d64, b0, b4));
  r2 = hn::BitCast(d16, hn::InterleaveLower(d64, b1, b5));
  r3 = hn::BitCast(d16, hn::InterleaveUpper(d64, b1, b5));
  r4 = hn::BitCast(d16, hn::InterleaveLower(d64, b2, b6));
  r5 = hn::BitCast(d16, hn::InterleaveUpper(d64, b2, b6));
  r6 = hn::BitCast(d16, hn::InterleaveLower(d64, b3, b7));
  r7 = hn::BitCast(d16, hn::InterleaveUpper(d64, b3, b7));
}

}  // namespace rkd::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif  // per-target guard
