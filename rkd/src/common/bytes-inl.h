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
HWY_INLINE V8 packInOrder(V16 first, V16 second) {
  const V8 packed = pack8(first, second);
#if HWY_TARGET <= HWY_AVX3
  const auto order = _mm512_setr_epi64(0, 2, 4, 6, 1, 3, 5, 7);
  return V8{_mm512_permutexvar_epi64(order, packed.raw)};
#elif HWY_TARGET == HWY_AVX2
  return V8{_mm256_permute4x64_epi64(packed.raw, _MM_SHUFFLE(3, 1, 2, 0))};
#else
  return packed;
#endif
}

// Both halves of a vector of bytes, in the order of memory.
HWY_INLINE V16 first16(V8 v) { return hn::PromoteTo(D16(), hn::LowerHalf(v)); }
HWY_INLINE V16 second16(V8 v) { return hn::PromoteTo(D16(), hn::UpperHalf(hn::Half<D8>(), v)); }

// 32 bits to 16, clamped; the inverse of interleaving with zeros.
HWY_INLINE V16 pack16(V32 lower, V32 upper) { return hn::ReorderDemote2To(D16(), lower, upper); }

// ---- sums and products ----

// The sums of horizontal pairs of bytes.
HWY_INLINE V16 pairSums(V8 v) {
#if HWY_TARGET <= HWY_AVX3
  return V16{_mm512_maddubs_epi16(v.raw, _mm512_set1_epi8(1))};
#elif HWY_TARGET == HWY_AVX2
  return V16{_mm256_maddubs_epi16(v.raw, _mm256_set1_epi8(1))};
#elif HWY_TARGET == HWY_SSSE3 || HWY_TARGET == HWY_SSE4
  return V16{_mm_maddubs_epi16(v.raw, _mm_set1_epi8(1))};
#else
  const hn::Repartition<uint16_t, D8> du16;
  const auto pairs = hn::BitCast(du16, v);
  return hn::BitCast(D16(), hn::Add(hn::And(pairs, hn::Set(du16, 255)), hn::ShiftRight<8>(pairs)));
#endif
}

// first * a + second * b of bytes, for the lower and upper halves of every block; the weights are
// small enough that no sum leaves 16 bits.
HWY_INLINE void weightBytes(V8 a, V8 b, int first, int second, V16* lower, V16* upper) {
#if HWY_TARGET > HWY_SSSE3
  const V16 wa = hn::Set(D16(), static_cast<int16_t>(first));
  const V16 wb = hn::Set(D16(), static_cast<int16_t>(second));
  *lower = hn::Add(hn::Mul(lower16(a), wa), hn::Mul(lower16(b), wb));
  *upper = hn::Add(hn::Mul(upper16(a), wa), hn::Mul(upper16(b), wb));
#else
  const D8 d8;
  const auto weights = hn::Set(D16(), static_cast<int16_t>(first | second << 8));
  const V8 low = hn::InterleaveLower(d8, a, b), high = hn::InterleaveUpper(d8, a, b);
#if HWY_TARGET <= HWY_AVX3
  *lower = V16{_mm512_maddubs_epi16(low.raw, weights.raw)};
  *upper = V16{_mm512_maddubs_epi16(high.raw, weights.raw)};
#elif HWY_TARGET == HWY_AVX2
  *lower = V16{_mm256_maddubs_epi16(low.raw, weights.raw)};
  *upper = V16{_mm256_maddubs_epi16(high.raw, weights.raw)};
#else
  *lower = V16{_mm_maddubs_epi16(low.raw, weights.raw)};
  *upper = V16{_mm_maddubs_epi16(high.raw, weights.raw)};
#endif
#endif
}

// A 16-bit pair constant for pairProducts: `first` times the lower, `second` times the upper value
// of each 32-bit lane.
HWY_INLINE V16 pairOf(int first, int second) {
  const auto bits = static_cast<uint32_t>(first & 0xFFFF) | static_cast<uint32_t>(second) << 16;
  return hn::BitCast(D16(), hn::Set(D32(), static_cast<int32_t>(bits)));
}

// The bytes 16..23 of the 32-bit lanes of four vectors that came from one vector of bytes by
// lower and upper halves twice, in its order.
RKD_BLOCK V8 packByte2(V32 v0, V32 v1, V32 v2, V32 v3) {
#if HWY_TARGET == HWY_AVX3_DL
  // Lane 4 * block + i of v0..v3 is byte 16 * block + 0, 4, 8, 12 + i.
  alignas(64) static constexpr auto kPair = [] {
    std::array<uint8_t, 64> index{};
    for (int i = 0; i < 64; ++i) {
      const int lane = 4 * (i / 16) + i % 4;
      index[i] = static_cast<uint8_t>(4 * lane + 2 + (i % 8 < 4 ? 0 : 64));
    }
    return index;
  }();
  const auto index = _mm512_load_si512(kPair.data());
  const auto low = _mm512_permutex2var_epi8(v0.raw, index, v1.raw);
  const auto high = _mm512_permutex2var_epi8(v2.raw, index, v3.raw);
  return V8{_mm512_mask_blend_epi64(0xAA, low, high)};
#else
  const V16 low = pack16(hn::ShiftRight<16>(v0), hn::ShiftRight<16>(v1));
  const V16 high = pack16(hn::ShiftRight<16>(v2), hn::ShiftRight<16>(v3));
  const V16 byte = hn::Set(D16(), 255);
  return pack8(hn::And(low, byte), hn::And(high, byte));
#endif
}

// ---- 128-bit blocks ----

// The even (odd) blocks of a, then those of b. One block a vector: a (b).
HWY_INLINE V16 evenBlocks(V16 a, V16 b) {
#if HWY_TARGET <= HWY_AVX3
  return V16{_mm512_shuffle_i64x2(a.raw, b.raw, _MM_SHUFFLE(2, 0, 2, 0))};
#elif HWY_TARGET == HWY_AVX2
  return hn::ConcatLowerLower(D16(), b, a);
#else
  static_cast<void>(b);
  return a;
#endif
}
HWY_INLINE V16 oddBlocks(V16 a, V16 b) {
#if HWY_TARGET <= HWY_AVX3
  return V16{_mm512_shuffle_i64x2(a.raw, b.raw, _MM_SHUFFLE(3, 1, 3, 1))};
#elif HWY_TARGET == HWY_AVX2
  return hn::ConcatUpperUpper(D16(), b, a);
#else
  static_cast<void>(a);
  return b;
#endif
}

// Every block of the first (second) half twice: 0 0 1 1 of 0 1 2 3. One block a vector: itself.
HWY_INLINE V8 firstBlocksTwice(V8 v) {
#if HWY_TARGET <= HWY_AVX3
  return V8{_mm512_shuffle_i64x2(v.raw, v.raw, _MM_SHUFFLE(1, 1, 0, 0))};
#elif HWY_TARGET == HWY_AVX2
  return hn::ConcatLowerLower(D8(), v, v);
#else
  return v;
#endif
}
HWY_INLINE V8 secondBlocksTwice(V8 v) {
#if HWY_TARGET <= HWY_AVX3
  return V8{_mm512_shuffle_i64x2(v.raw, v.raw, _MM_SHUFFLE(3, 3, 2, 2))};
#elif HWY_TARGET == HWY_AVX2
  return hn::ConcatUpperUpper(D8(), v, v);
#else
  return v;
#endif
}

// ---- interleaved pixels: one tile of C bytes a pixel to C planes and back ----

#if HWY_TARGET == HWY_AVX3_DL
// Index tables of three-channel permutes: plane c takes byte 3 * i + c.
struct Index3 {
  alignas(64) uint8_t split[3][64];  // of the first two vectors
  alignas(64) uint8_t rest[3][64];   // of the third
  uint64_t restMask[3];
  alignas(64) uint8_t merge[3][64];  // of planes 0 and 1
  alignas(64) uint8_t last[3][64];   // of plane 2
  uint64_t lastMask[3];
};
inline constexpr Index3 kIndex3 = [] {
  Index3 index{};
  for (int c = 0; c < 3; ++c) {
    for (int i = 0; i < 64; ++i) {
      const int from = 3 * i + c;
      index.split[c][i] = static_cast<uint8_t>(from % 128);
      index.rest[c][i] = static_cast<uint8_t>(from % 64);
      if (from >= 128) index.restMask[c] |= uint64_t{1} << i;
      const int to = 64 * c + i;
      index.merge[c][i] = static_cast<uint8_t>(to / 3 + (to % 3 == 1 ? 64 : 0));
      index.last[c][i] = static_cast<uint8_t>(to / 3);
      if (to % 3 == 2) index.lastMask[c] |= uint64_t{1} << i;
    }
  }
  return index;
}();
#endif

template <int C>
RKD_BLOCK void loadPixels(const uint8_t* from, V8* plane) {
  const D8 d8;
  if constexpr (C == 1) {
    plane[0] = hn::LoadU(d8, from);
  } else if constexpr (C == 2) {
    hn::LoadInterleaved2(d8, from, plane[0], plane[1]);
  } else if constexpr (C == 3) {
#if HWY_TARGET == HWY_AVX3_DL
    const auto a = _mm512_loadu_si512(from);
    const auto b = _mm512_loadu_si512(from + 64);
    const auto c = _mm512_loadu_si512(from + 128);
    for (int p = 0; p < 3; ++p) {
      const auto ab = _mm512_permutex2var_epi8(a, _mm512_load_si512(kIndex3.split[p]), b);
      plane[p] = V8{_mm512_mask_permutexvar_epi8(ab, kIndex3.restMask[p],
                                                 _mm512_load_si512(kIndex3.rest[p]), c)};
    }
#else
    hn::LoadInterleaved3(d8, from, plane[0], plane[1], plane[2]);
#endif
  } else {
    hn::LoadInterleaved4(d8, from, plane[0], plane[1], plane[2], plane[3]);
  }
}

template <int C>
RKD_BLOCK void storePixels(const V8* plane, uint8_t* to) {
  const D8 d8;
  if constexpr (C == 1) {
    hn::StoreU(plane[0], d8, to);
  } else if constexpr (C == 2) {
    const V8 low = hn::InterleaveLower(d8, plane[0], plane[1]);
    const V8 high = hn::InterleaveUpper(d8, plane[0], plane[1]);
#if HWY_TARGET <= HWY_AVX3
    const auto first = _mm512_setr_epi64(0, 1, 8, 9, 2, 3, 10, 11);
    const auto second = _mm512_setr_epi64(4, 5, 12, 13, 6, 7, 14, 15);
    _mm512_storeu_si512(to, _mm512_permutex2var_epi64(low.raw, first, high.raw));
    _mm512_storeu_si512(to + 64, _mm512_permutex2var_epi64(low.raw, second, high.raw));
#elif HWY_TARGET == HWY_AVX2
    hn::StoreU(hn::ConcatLowerLower(d8, high, low), d8, to);
    hn::StoreU(hn::ConcatUpperUpper(d8, high, low), d8, to + kTile);
#else
    hn::StoreU(low, d8, to);
    hn::StoreU(high, d8, to + kTile);
#endif
  } else if constexpr (C == 3) {
#if HWY_TARGET == HWY_AVX3_DL
    for (int p = 0; p < 3; ++p) {
      const auto ab =
          _mm512_permutex2var_epi8(plane[0].raw, _mm512_load_si512(kIndex3.merge[p]), plane[1].raw);
      _mm512_storeu_si512(to + 64 * p, _mm512_mask_permutexvar_epi8(
                                           ab, kIndex3.lastMask[p],
                                           _mm512_load_si512(kIndex3.last[p]), plane[2].raw));
    }
#else
    hn::StoreInterleaved3(plane[0], plane[1], plane[2], d8, to);
#endif
  } else {
    hn::StoreInterleaved4(plane[0], plane[1], plane[2], plane[3], d8, to);
  }
}

// ---- 16 pixels a block: chunk k holds bytes 16 * k .. 16 * k + 15 of every block's pixels ----

// For plane p of three, the bytes of chunk k that belong to it; the way back has plane and chunk
// exchanged.
struct ChunkIndex3 {
  alignas(16) uint8_t toPlane[3][3][16];
  alignas(16) uint8_t toChunk[3][3][16];
};
inline constexpr ChunkIndex3 kChunkIndex3 = [] {
  ChunkIndex3 index{};
  for (int a = 0; a < 3; ++a) {
    for (int b = 0; b < 3; ++b) {
      for (int i = 0; i < 16; ++i) {
        const int from = 3 * i + a;
        index.toPlane[a][b][i] = static_cast<uint8_t>(from / 16 == b ? from % 16 : 0x80);
        const int to = 16 * a + i;
        index.toChunk[a][b][i] = static_cast<uint8_t>(to % 3 == b ? to / 3 : 0x80);
      }
    }
  }
  return index;
}();
// Four channels of four pixels, channel by channel.
alignas(16) inline constexpr uint8_t kChunkIndex4[16] = {0, 4, 8,  12, 1, 5, 9,  13,
                                                         2, 6, 10, 14, 3, 7, 11, 15};

HWY_INLINE V8 pick3(const uint8_t (*index)[16], const V8* from) {
  const D8 d8;
  V8 all = hn::TableLookupBytesOr0(from[0], hn::LoadDup128(d8, index[0]));
  for (int i = 1; i < 3; ++i) {
    all = hn::Or(all, hn::TableLookupBytesOr0(from[i], hn::LoadDup128(d8, index[i])));
  }
  return all;
}

template <int C>
RKD_BLOCK void chunksToPlanes(const V8* chunk, V8* plane) {
  const D8 d8;
  if constexpr (C == 2) {
    const V16 byte = hn::Set(D16(), 255);
    const V16 a = hn::BitCast(D16(), chunk[0]), b = hn::BitCast(D16(), chunk[1]);
    const hn::Repartition<uint16_t, D8> du16;
    const auto upper = [&](V8 v) HWY_ATTR {
      return hn::BitCast(D16(), hn::ShiftRight<8>(hn::BitCast(du16, v)));
    };
    plane[0] = pack8(hn::And(a, byte), hn::And(b, byte));
    plane[1] = pack8(upper(chunk[0]), upper(chunk[1]));
  } else if constexpr (C == 3) {
    for (int p = 0; p < 3; ++p) plane[p] = pick3(kChunkIndex3.toPlane[p], chunk);
  } else {
    const hn::Repartition<uint64_t, D8> d64;
    const auto index = hn::LoadDup128(d8, kChunkIndex4);
    V32 t[4];
    for (int i = 0; i < 4; ++i) {
      t[i] = hn::BitCast(D32(), hn::TableLookupBytes(chunk[i], index));
    }
    const auto to64 = [&](V32 v) HWY_ATTR { return hn::BitCast(d64, v); };
    const auto u0 = to64(hn::InterleaveLower(D32(), t[0], t[1]));
    const auto u1 = to64(hn::InterleaveUpper(D32(), t[0], t[1]));
    const auto v0 = to64(hn::InterleaveLower(D32(), t[2], t[3]));
    const auto v1 = to64(hn::InterleaveUpper(D32(), t[2], t[3]));
    plane[0] = hn::BitCast(d8, hn::InterleaveLower(d64, u0, v0));
    plane[1] = hn::BitCast(d8, hn::InterleaveUpper(d64, u0, v0));
    plane[2] = hn::BitCast(d8, hn::InterleaveLower(d64, u1, v1));
    plane[3] = hn::BitCast(d8, hn::InterleaveUpper(d64, u1, v1));
  }
}

template <int C>
RKD_BLOCK void planesToChunks(const V8* plane, V8* chunk) {
  const D8 d8;
  if constexpr (C == 2) {
    chunk[0] = hn::InterleaveLower(d8, plane[0], plane[1]);
    chunk[1] = hn::InterleaveUpper(d8, plane[0], plane[1]);
  } else if constexpr (C == 3) {
    for (int k = 0; k < 3; ++k) chunk[k] = pick3(kChunkIndex3.toChunk[k], plane);
  } else {
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
}

// One vector from the 128-bit blocks that block(i) gives, and back.
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

template <class Block>
HWY_INLINE void eachBlock(V8 v, Block&& block) {
#if HWY_TARGET <= HWY_AVX3
  block(0, Block128{_mm512_castsi512_si128(v.raw)});
  block(1, Block128{_mm512_extracti32x4_epi32(v.raw, 1)});
  block(2, Block128{_mm512_extracti32x4_epi32(v.raw, 2)});
  block(3, Block128{_mm512_extracti32x4_epi32(v.raw, 3)});
#elif HWY_TARGET == HWY_AVX2
  block(0, hn::LowerHalf(v));
  block(1, hn::UpperHalf(hn::Full128<uint8_t>(), v));
#else
  block(0, v);
#endif
}

}  // namespace rkd::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif  // per-target guard
