// Transposes of small matrices within blocks of 128 bits, per level. Include after "hwy/highway.h",
// inside no namespace.
#if defined(RKD_COMMON_TRANSPOSE_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef RKD_COMMON_TRANSPOSE_INL_H_
#undef RKD_COMMON_TRANSPOSE_INL_H_
#else
#define RKD_COMMON_TRANSPOSE_INL_H_
#endif

#include "hwy/highway.h"

HWY_BEFORE_NAMESPACE();
namespace rkd::HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

/// The 4x4 transpose of 32-bit lanes in every 128-bit block.
template <class V>
HWY_INLINE void transpose4x4(V& r0, V& r1, V& r2, V& r3) {
  const hn::DFromV<V> d;
  const hn::Repartition<int64_t, decltype(d)> d64;
  const auto low01 = hn::BitCast(d64, hn::InterleaveLower(d, r0, r1));
  const auto high01 = hn::BitCast(d64, hn::InterleaveUpper(d, r0, r1));
  const auto low23 = hn::BitCast(d64, hn::InterleaveLower(d, r2, r3));
  const auto high23 = hn::BitCast(d64, hn::InterleaveUpper(d, r2, r3));
  r0 = hn::BitCast(d, hn::InterleaveLower(d64, low01, low23));
  r1 = hn::BitCast(d, hn::InterleaveUpper(d64, low01, low23));
  r2 = hn::BitCast(d, hn::InterleaveLower(d64, high01, high23));
  r3 = hn::BitCast(d, hn::InterleaveUpper(d64, high01, high23));
}

}  // namespace rkd::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif  // per-target include guard
