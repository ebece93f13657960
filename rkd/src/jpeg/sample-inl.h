// What sampling kernels of all factors share, compiled once per level. Include after
// "hwy/highway.h", inside no namespace.
#if defined(RKD_JPEG_SAMPLE_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef RKD_JPEG_SAMPLE_INL_H_
#undef RKD_JPEG_SAMPLE_INL_H_
#else
#define RKD_JPEG_SAMPLE_INL_H_
#endif

#include "common/bytes-inl.h"
#include "hwy/highway.h"

HWY_BEFORE_NAMESPACE();
namespace rkd::HWY_NAMESPACE {

// (3 * a + b + 1) >> 2 and (3 * a + b + 2) >> 2 in bytes: the mean of a and the mean of both, one
// rounded up and one down.
HWY_INLINE V8 mean3to1Down(V8 a, V8 b) {
  return hn::Not(hn::AverageRound(hn::Not(a), hn::Not(hn::AverageRound(a, b))));
}
HWY_INLINE V8 mean3to1Up(V8 a, V8 b) {
  return hn::AverageRound(a, hn::Not(hn::AverageRound(hn::Not(a), hn::Not(b))));
}

}  // namespace rkd::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif  // per-target guard
