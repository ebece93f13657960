// Byte helpers compiled once per level: narrowing and widening between bytes and 16 or 32 bits that
// keep the order within 128-bit blocks, pairwise products, and interleaved pixels to planes and
// back. Include after "hwy/highway.h", inside no namespace.
#if defined(RKD_COMMON_BYTES_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef RKD_COMMON_BYTES_INL_H_
#undef RKD_COMMON_BYTES_INL_H_
#else
#define RKD_COMMON_BYTES_INL_H_
#endif

#include <array>

#include "common/lanes-inl.h"
#include "hwy/highway.h"

HWY_BEFORE_NAMESPACE();
namespace rkd::HWY_NAMESPACE {

// A tile is what one vector of bytes holds: so many pixels, a byte a channel.
using D8 = hn::ScalableTag<uint8_t>;
using D16 = hn::Repartition<int16_t, D8>;
using D32 = hn::Repartition<int32_t, D8>;
using V8 = hn::Vec<D8>;
using V16 = hn::Vec<D16>;
using V32 = hn::Vec<D32>;
inline constexpr size_t kTile = hn::MaxLanes(D8());

// ---- widening and narrowing, 128-bit block by block: lower and upper halves of every block ----

HWY_INLINE V16 lower16(V8 v) {
  const D8 d8;
  return hn::BitCast(D16(), hn::InterleaveLower(d8, v, hn::Zero(d8)));
}
HWY_INLINE V16 upper16(V8 v) {
  const D8 d8;
  return hn::BitCast(D16(), hn::InterleaveUpper(d8, v, hn::Zero(d8)));
}

// The inverse of lower16 and upper16: clamped to 0..255.
HWY_INLINE V8 pack8(V16 lower, V16 upper) { return narrowToBytes(lower, upper); }

// Bytes in the order of memory from two vectors in the order of memory.
HWY_INLINE V8 packInOrder(V16 first, V16 second) { return halvesInOrder(pack8(first, second)); }

// Both halves of a vector of bytes, in the order of memory.
HWY_INLINE V16 first16(V8 v) { return hn::PromoteTo(D16(), hn::LowerHalf(v)); }
HWY_INLINE V16 second16(V8 v) { return hn::PromoteTo(D16(), hn::UpperHalf(hn::Half<D8>(), v)); }

// 32 bits to 16, clamped; the inverse of interleaving with zeros.
HWY_INLINE V16 pack16(V32 lower, V32 upper) { return hn::ReorderDemote2To(D16(), lower, upper); }

// ---- constants for products ----

// Two bytes in every word, the first in the lower one.
HWY_INLINE V8 bytePair(int first, int second) {
  const int word = (first & 0xFF) | (second & 0xFF) << 8;
  return hn::BitCast(D8(), hn::Set(D16(), static_cast<int16_t>(word)));
}

// A 16-bit pair constant for pairProducts: `first` times the lower, `second` times the upper value
// of each 32-bit lane.
HWY_INLINE int32_t pairBits(int first, int second) {
  const auto bits = static_cast<uint32_t>(first & 0xFFFF) | static_cast<uint32_t>(second) << 16;
  return static_cast<int32_t>(bits);
}
HWY_INLINE V16 pairOf(int first, int second) {
  return hn::BitCast(D16(), hn::Set(D32(), pairBits(first, second)));
}

// ---- planes of one tile to C interleaved bytes a pixel ----

// The bytes of a and b in turns. Permutes of whole vectors give them in the order of memory at
// once, elsewhere it takes orderPairs.
RKD_BLOCK void joinBytes(V8 a, V8 b, V8* both) {
#if HWY_TARGET <= HWY_AVX3_DL
  alignas(64) static constexpr auto kInTurns = [] {
    std::array<uint8_t, 128> index{};
    for (int i = 0; i < 128; ++i) index[i] = static_cast<uint8_t>(i / 2 + i % 2 * 64);
    return index;
  }();
  for (int k = 0; k < 2; ++k) both[k] = fromTwo(a, b, kInTurns.data() + 64 * k);
#else
  both[0] = hn::InterleaveLower(D8(), a, b);
  both[1] = hn::InterleaveUpper(D8(), a, b);
#endif
}
HWY_INLINE void orderPairs(V8* both) {
#if HWY_TARGET <= HWY_AVX3_DL
  static_cast<void>(both);
#else
  const D8 d8;
  V16 first, second;
  zipBlocks(hn::BitCast(D16(), both[0]), hn::BitCast(D16(), both[1]), &first, &second);
  both[0] = hn::BitCast(d8, first);
  both[1] = hn::BitCast(d8, second);
#endif
}
HWY_INLINE void interleave(V8 a, V8 b, V8* both) {
  joinBytes(a, b, both);
  orderPairs(both);
}

// ---- pixels ----

#if HWY_TARGET <= HWY_AVX3_DL
// Since 64 is no multiple of 3, the samples of a channel stand in lanes of their own whichever of
// the three vectors of pixels they are in. So each plane is brought in the order of its lanes, and
// the planes are blended: that takes three permutes where moving samples to their vector takes
// nine.
struct Thirds {
  alignas(64) uint8_t order[3][64]{};  // the pixel whose sample of a channel stands in a lane
  uint64_t lanes[3][3]{};              // of each vector, those of a channel

  constexpr Thirds() {
    for (int i = 0; i < 3 * 64; ++i) {
      const int vector = i / 64, lane = i % 64, channel = i % 3;
      order[channel][lane] = static_cast<uint8_t>(i / 3);
      lanes[vector][channel] |= uint64_t{1} << lane;
    }
  }
};
inline constexpr Thirds kThirds;

HWY_INLINE void storeThree(const V8* plane, uint8_t* to) {
  V8 in[3];
  for (int p = 0; p < 3; ++p) in[p] = inOrder(plane[p], kThirds.order[p]);
  for (int v = 0; v < 3; ++v) {
    const uint64_t* const lanes = kThirds.lanes[v];
    hn::StoreU(blended(blended(in[0], lanes[1], in[1]), lanes[2], in[2]), D8(), to + 64 * v);
  }
}
#else
HWY_INLINE void storeThree(const V8* plane, uint8_t* to) {
  hn::StoreInterleaved3(plane[0], plane[1], plane[2], D8(), to);
}
#endif

template <int C>
RKD_BLOCK void storePixels(const V8* plane, uint8_t* to) {
  const D8 d8;
  if constexpr (C == 1) {
    hn::StoreU(plane[0], d8, to);
  } else if constexpr (C == 2) {
    V8 pixels[2];
    interleave(plane[0], plane[1], pixels);
    hn::StoreU(pixels[0], d8, to);
    hn::StoreU(pixels[1], d8, to + kTile);
  } else if constexpr (C == 3) {
    storeThree(plane, to);
  } else {
    hn::StoreInterleaved4(plane[0], plane[1], plane[2], plane[3], d8, to);
  }
}

// Chunk k holds bytes 16 * k .. 16 * k + 15 of every block's 16 pixels.
RKD_BLOCK void planesToChunks4(const V8* plane, V8* chunk) {
  const D8 d8;
  const auto to16 = [&](V8 v) HWY_ATTR { return hn::BitCast(D16(), v); };
  const V16 abLow = to16(hn::InterleaveLower(d8, plane[0], plane[1]));
  const V16 abHigh = to16(hn::InterleaveUpper(d8, plane[0], plane[1]));
  const V16 cdLow = to16(hn::InterleaveLower(d8, plane[2], plane[3]));
  const V16 cdHigh = to16(hn::InterleaveUpper(d8, plane[2], plane[3]));
  chunk[0] = hn::BitCast(d8, hn::InterleaveLower(D16(), abLow, cdLow));
  chunk[1] = hn::BitCast(d8, hn::InterleaveUpper(D16(), abLow, cdLow));
  chunk[2] = hn::BitCast(d8, hn::InterleaveLower(D16(), abHigh, cdHigh));
  chunk[3] = hn::BitCast(d8, hn::InterleaveUpper(D16(), abHigh, cdHigh));
}

// ---- vectors by 128-bit blocks ----

// One vector from the 128-bit blocks that block(i) gives.
using Block128 = hn::Vec<hn::Full128<uint8_t>>;
inline constexpr int kBlocks = static_cast<int>(kTile / 16);

template <class Block>
HWY_INLINE V8 joinBlocks(Block&& block) {
#if HWY_TARGET <= HWY_AVX3
  const hn::Full256<uint8_t> half;
  return hn::Combine(D8(), hn::Combine(half, block(3), block(2)),
                     hn::Combine(half, block(1), block(0)));
#elif HWY_TARGET == HWY_AVX2
  return hn::Combine(D8(), block(1), block(0));
#else
  return block(0);
#endif
}

}  // namespace rkd::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif  // per-target guard
