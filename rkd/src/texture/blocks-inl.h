// Texture blocks, a block to a 32-bit lane: what encoders and decoders share. Include after
// "hwy/highway.h", inside no namespace.
#if defined(RKD_TEXTURE_BLOCKS_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef RKD_TEXTURE_BLOCKS_INL_H_
#undef RKD_TEXTURE_BLOCKS_INL_H_
#else
#define RKD_TEXTURE_BLOCKS_INL_H_
#endif

#include <array>

#include "common/lanes-inl.h"
#include "common/transpose-inl.h"
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
HWY_INLINE V16 both(V32 v) {
#if HWY_TARGET <= HWY_SSSE3
  const hn::Repartition<uint8_t, D32> d8;
  alignas(16) static constexpr uint8_t kLower[16] = {0, 1, 0, 1, 4,  5,  4,  5,
                                                     8, 9, 8, 9, 12, 13, 12, 13};
  return halves(
      hn::BitCast(D32(), hn::TableLookupBytes(hn::BitCast(d8, v), hn::LoadDup128(d8, kLower))));
#else
  return halves(hn::Or(hn::And(v, all(0xFFFF)), hn::ShiftLeft<16>(v)));
#endif
}
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
using Order = std::array<int32_t, kGroup>;
inline constexpr Order kTransposed = [] {
  Order from{};
  for (int n = 0; n < kGroup; ++n) from[n] = n % 4 * (kGroup / 4) + n / 4;
  return from;
}();
// From there to where interleaving within 128-bit blocks gives the first half of the group in its
// order, and the second.
inline constexpr Order kInterleavable = [] {
  Order from{};
  for (int n = 0; n < kGroup; ++n) {
    const int number = n / 4 * 2 + n % 2 + (n % 4 < 2 ? 0 : kGroup / 2);
    from[n] = 4 * (number % (kGroup / 4)) + number / (kGroup / 4);
  }
  return from;
}();
HWY_INLINE V32 reorder(V32 v, const Order& from) {
  if constexpr (kGroup == 4) {
    static_cast<void>(from);
    return v;
  } else {
    return hn::TableLookupLanes(v, hn::SetTableIndices(D32(), from.data()));
  }
}

// The words of a group's blocks in the transposed order; in memory a block's words lie together.
template <int kWords>
HWY_INLINE void loadWords(const uint8_t* from, V32* word) {
  const hn::Repartition<uint8_t, D32> d8;
  for (int i = 0; i < kWords; ++i) {
    word[i] = hn::BitCast(D32(), hn::LoadU(d8, from + 4 * kGroup * i));
  }
  if constexpr (kWords == 4) {
    transpose4x4(word[0], word[1], word[2], word[3]);
  } else {
    const V32 first = hn::ConcatEven(D32(), word[1], word[0]);
    const V32 second = hn::ConcatOdd(D32(), word[1], word[0]);
    word[0] = reorder(first, kTransposed);
    word[1] = reorder(second, kTransposed);
  }
}
template <int kWords>
HWY_INLINE void storeWords(V32* word, uint8_t* to) {
  const hn::Repartition<uint8_t, D32> d8;
  if constexpr (kWords == 4) {
    transpose4x4(word[0], word[1], word[2], word[3]);
  } else {
    const V32 first = reorder(word[0], kInterleavable), second = reorder(word[1], kInterleavable);
    word[0] = hn::InterleaveLower(D32(), first, second);
    word[1] = hn::InterleaveUpper(D32(), first, second);
  }
  for (int i = 0; i < kWords; ++i) {
    hn::StoreU(hn::BitCast(d8, word[i]), d8, to + 4 * kGroup * i);
  }
}

}  // namespace rkd::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif  // per-target guard
