// Texture blocks, a block to a 32-bit lane: what encoders and decoders share. Include after
// "hwy/highway.h", inside no namespace.
#if defined(RKD_TEXTURE_BLOCKS_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef RKD_TEXTURE_BLOCKS_INL_H_
#undef RKD_TEXTURE_BLOCKS_INL_H_
#else
#define RKD_TEXTURE_BLOCKS_INL_H_
#endif

#include <algorithm>
#include <array>

#include "common/lanes-inl.h"
#include "hwy/highway.h"

HWY_BEFORE_NAMESPACE();
namespace rkd::HWY_NAMESPACE {

using D32 = hn::ScalableTag<int32_t>;
using DU32 = hn::RebindToUnsigned<D32>;
using D16 = hn::Repartition<int16_t, D32>;
using DU16 = hn::RebindToUnsigned<D16>;
using V32 = hn::Vec<D32>;
using V16 = hn::Vec<D16>;
using M32 = hn::Mask<D32>;
// Blocks side by side: a group.
inline constexpr int kGroup = static_cast<int>(hn::MaxLanes(D32()));

HWY_INLINE V32 all(int v) { return hn::Set(D32(), v); }
HWY_INLINE V32 choose(M32 m, V32 yes, V32 no) { return hn::IfThenElse(m, yes, no); }
template <int kBits>
HWY_INLINE V32 shiftRight(V32 v) {
  return hn::BitCast(D32(), hn::ShiftRight<kBits>(hn::BitCast(DU32(), v)));
}

// ---- two values of 16 bits in a lane ----

HWY_INLINE V16 all16(int v) { return hn::Set(D16(), static_cast<int16_t>(v)); }
HWY_INLINE V16 halves(V32 v) { return hn::BitCast(D16(), v); }
HWY_INLINE V32 whole(V16 v) { return hn::BitCast(D32(), v); }
// A value of 16 bits in both halves of its lane.
HWY_INLINE V16 both(V32 v) { return halves(hn::Or(hn::And(v, all(0xFFFF)), hn::ShiftLeft<16>(v))); }
template <int kBits>
HWY_INLINE V16 shiftRight(V16 v) {
  return hn::BitCast(D16(), hn::ShiftRight<kBits>(hn::BitCast(DU16(), v)));
}

// A third of each, cut; at most 765.
HWY_INLINE V16 third(V16 v) { return mulHighUnsigned(v, all16(21846)); }

// Values of a channel from their 5 or 6 bits.
template <int C, class V>
HWY_INLINE V widen(V v) {
  return C == 1 ? hn::Or(hn::ShiftLeft<2>(v), hn::ShiftRight<4>(v))
                : hn::Or(hn::ShiftLeft<3>(v), hn::ShiftRight<2>(v));
}

// ---- the order of blocks ----

// Vectors within whose 128-bit blocks 32-bit lanes are transposed have the blocks of a group in
// another order: lane 4 * b + i holds number i * kGroup / 4 + b.
inline constexpr std::array<int32_t, kGroup> kInOrder = [] {
  std::array<int32_t, kGroup> lanes{};
  for (int n = 0; n < kGroup; ++n) lanes[n] = 4 * (n % (kGroup / 4)) + n / (kGroup / 4);
  return lanes;
}();
inline constexpr std::array<int32_t, kGroup> kTransposed = [] {
  std::array<int32_t, kGroup> lanes{};
  for (int n = 0; n < kGroup; ++n) lanes[kInOrder[n]] = n;
  return lanes;
}();
HWY_INLINE V32 reorder(V32 v, const std::array<int32_t, kGroup>& lanes) {
  if constexpr (kGroup == 4) {
    static_cast<void>(lanes);
    return v;
  } else {
    return hn::TableLookupLanes(v, hn::SetTableIndices(D32(), lanes.data()));
  }
}

// The 4x4 transpose of 32-bit lanes in every 128-bit block.
HWY_INLINE void transpose4x4(V32& v0, V32& v1, V32& v2, V32& v3) {
  const D32 d;
  const hn::Repartition<int64_t, D32> d64;
  const auto a0 = hn::BitCast(d64, hn::InterleaveLower(d, v0, v1));
  const auto a1 = hn::BitCast(d64, hn::InterleaveUpper(d, v0, v1));
  const auto b0 = hn::BitCast(d64, hn::InterleaveLower(d, v2, v3));
  const auto b1 = hn::BitCast(d64, hn::InterleaveUpper(d, v2, v3));
  v0 = hn::BitCast(d, hn::InterleaveLower(d64, a0, b0));
  v1 = hn::BitCast(d, hn::InterleaveUpper(d64, a0, b0));
  v2 = hn::BitCast(d, hn::InterleaveLower(d64, a1, b1));
  v3 = hn::BitCast(d, hn::InterleaveUpper(d64, a1, b1));
}

}  // namespace rkd::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif  // per-target guard
