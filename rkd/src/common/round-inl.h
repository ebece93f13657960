// Floating point to integers, rounded to nearest, halves to even, and saturated: the same bits at
// every level, as the lowest one's conversion rounds some numbers just below a half upward.
// Compiled once per level. Include after "hwy/highway.h", inside no namespace.
#if defined(RKD_COMMON_ROUND_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef RKD_COMMON_ROUND_INL_H_
#undef RKD_COMMON_ROUND_INL_H_
#else
#define RKD_COMMON_ROUND_INL_H_
#endif

#include "common/lanes-inl.h"
#include "hwy/highway.h"

HWY_BEFORE_NAMESPACE();
namespace rkd::HWY_NAMESPACE {

// To 32 bits of which more than 16 count: numbers beyond -65536..65536 become these. What is added
// leaves no room for a fraction.
template <class VF, class VI = hn::Vec<hn::Rebind<int32_t, hn::DFromV<VF>>>>
HWY_INLINE VI nearest17(VF v) {
  const hn::DFromV<VF> df;
  const hn::DFromV<VI> di;
  const VF room = hn::Set(df, 12582912);  // 2^23 + 2^22
  const VF clamped = hn::Max(hn::Min(v, hn::Set(df, 65536)), hn::Set(df, -65536));
  return hn::Sub(hn::BitCast(di, hn::Add(clamped, room)), hn::BitCast(di, room));
}

// To 32 bits.
template <class VF, class VI = hn::Vec<hn::Rebind<int32_t, hn::DFromV<VF>>>>
HWY_INLINE VI nearest32(VF v) {
  const hn::DFromV<VF> df;
  const VF room = hn::Set(df, 8388608);  // 2^23
  const VF away = hn::CopySignToAbs(room, v);
  const VF rounded = hn::Sub(hn::Add(v, away), away);
  return hn::ConvertTo(hn::DFromV<VI>(), hn::IfThenElse(hn::Lt(hn::Abs(v), room), rounded, v));
}

}  // namespace rkd::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif  // per-target guard
