// What kernels need of the processor and Highway does not offer, or not in all of its versions,
// compiled once per level. The one file that knows what a vector is made of: a register of the
// processor, or an array where vectors are emulated. Include after "hwy/highway.h", inside no
// namespace.
//
// Every operation has a form for every target there is, however a version of Highway cuts them:
//   EMU128                         emulated: arrays of 16 bytes
//   SSE2 (later versions)          registers of 16 bytes, no byte shuffles
//   SSSE3, SSE4                    with byte shuffles
//   AVX2                           registers of 32 bytes
//   AVX3                           registers of 64 bytes, masks
//   AVX3_DL and what is above it   with permutes of bytes and sums of products
#if defined(RKD_COMMON_NATIVE_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef RKD_COMMON_NATIVE_INL_H_
#undef RKD_COMMON_NATIVE_INL_H_
#else
#define RKD_COMMON_NATIVE_INL_H_
#endif

#include <array>
#include <cstdint>
#include <cstring>

#include "common/part-inl.h"
#include "hwy/highway.h"

#if HWY_TARGET == HWY_SCALAR || !HWY_ARCH_X86
#error "The library is written for x86-64, and for vectors of 16 bytes or more."
#endif

// Building blocks of some size. At the lowest level, whose vectors are loops, inlining them into
// every kernel would take half a minute a file.
#undef RKD_BLOCK
#if HWY_TARGET == HWY_EMU128
#define RKD_BLOCK inline HWY_NOINLINE
#else
#define RKD_BLOCK HWY_INLINE
#endif

// All of the AVX2 level count leading zeros in one step; Highway does not ask g++ for it. (clang,
// which has no pragma that adds to a target, gets by without.)
#undef RKD_PUSH_LZCNT
#undef RKD_POP_LZCNT
#if HWY_TARGET <= HWY_AVX2 && HWY_COMPILER_GCC_ACTUAL
#define RKD_PUSH_LZCNT HWY_PRAGMA(GCC push_options) HWY_PRAGMA(GCC target("lzcnt"))
#define RKD_POP_LZCNT HWY_PRAGMA(GCC pop_options)
#else
#define RKD_PUSH_LZCNT
#define RKD_POP_LZCNT
#endif
HWY_BEFORE_NAMESPACE();
namespace rkd::HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

// The lanes of a vector as an array, and back: for plain loops where there is nothing better.
template <class V>
using LaneArray = std::array<hn::TFromD<hn::DFromV<V>>, hn::MaxLanes(hn::DFromV<V>())>;

template <class V>
HWY_INLINE LaneArray<V> lanesOf(V v) {
  LaneArray<V> lanes;
  hn::StoreU(v, hn::DFromV<V>(), lanes.data());
  return lanes;
}
template <class V>
HWY_INLINE V vectorOf(const LaneArray<V>& lanes) {
  return hn::LoadU(hn::DFromV<V>(), lanes.data());
}

// The same vector, as something that the compiler has to compute first. It folds the extraction of
// a part and a masked store into one instruction, which faults on bytes that the mask leaves out.
#if HWY_TARGET <= HWY_AVX3
template <class V>
HWY_INLINE V inRegister(V v) {
  asm("" : "+v"(v.raw));
  return v;
}
#endif

// What an operation with intrinsics for all widths does with a and b.
#undef RKD_NATIVE
#if HWY_TARGET <= HWY_AVX3
#define RKD_NATIVE(R, intrinsic)                \
  if constexpr (sizeof(a) == 64) {              \
    return R{_mm512_##intrinsic(a.raw, b.raw)}; \
  } else if constexpr (sizeof(a) == 32) {       \
    return R{_mm256_##intrinsic(a.raw, b.raw)}; \
  } else {                                      \
    return R{_mm_##intrinsic(a.raw, b.raw)};    \
  }
#elif HWY_TARGET == HWY_AVX2
#define RKD_NATIVE(R, intrinsic)                \
  if constexpr (sizeof(a) == 32) {              \
    return R{_mm256_##intrinsic(a.raw, b.raw)}; \
  } else {                                      \
    return R{_mm_##intrinsic(a.raw, b.raw)};    \
  }
#else
#define RKD_NATIVE(R, intrinsic) return R{_mm_##intrinsic(a.raw, b.raw)};
#endif

// ---- the first lanes of a vector ----

// The first lanes from any address, zeros behind them; the lanes left out are not touched. AVX2 has
// masks for lanes of 32 bits; a word more is the last lane.
template <class D, class T = hn::TFromD<D>>
HWY_INLINE hn::Vec<D> loadFirst(D d, const T* from, size_t lanes) {
#if HWY_TARGET <= HWY_AVX3
  return hn::MaskedLoad(hn::FirstN(d, lanes), d, from);
#elif HWY_TARGET == HWY_EMU128
  HWY_ALIGN T buffer[hn::MaxLanes(d)] = {};
  std::memcpy(buffer, static_cast<const void*>(from), lanes * sizeof(T));
  return hn::Load(d, buffer);
#else
#if HWY_TARGET == HWY_AVX2
  if constexpr (sizeof(T) >= 4) {
    return hn::MaskedLoad(hn::FirstN(d, lanes), d, from);
  } else if constexpr (sizeof(T) == 2 && hn::MaxLanes(D()) >= 8) {
    const hn::Repartition<int32_t, D> d32;
    const auto pairs =
        hn::MaskedLoad(hn::FirstN(d32, lanes / 2), d32, reinterpret_cast<const int32_t*>(from));
    if (lanes % 2 == 0) return hn::BitCast(d, pairs);
    T last;
    std::memcpy(&last, static_cast<const void*>(from + lanes - 1), sizeof last);
    const auto isLast = hn::Eq(hn::Iota(d, 0), hn::Set(d, static_cast<T>(lanes - 1)));
    return hn::IfThenElse(isLast, hn::Set(d, last), hn::BitCast(d, pairs));
  } else if constexpr (sizeof(hn::Vec<D>) == 32) {
    const hn::Repartition<uint8_t, D> d8;
    return hn::BitCast(d, hn::Vec<decltype(d8)>{firstOf32(reinterpret_cast<const uint8_t*>(from),
                                                          lanes * sizeof(T))});
  } else
#endif
  {
    const hn::Repartition<uint8_t, D> d8;
    return hn::BitCast(d, hn::Vec<decltype(d8)>{firstOf16(reinterpret_cast<const uint8_t*>(from),
                                                          lanes * sizeof(T))});
  }
#endif
}

template <class D, class T = hn::TFromD<D>>
HWY_INLINE void storeFirst(hn::Vec<D> v, [[maybe_unused]] D d, T* to, size_t lanes) {
#if HWY_TARGET <= HWY_AVX3
  hn::BlendedStore(inRegister(v), hn::FirstN(d, lanes), d, to);
#elif HWY_TARGET == HWY_EMU128
  HWY_ALIGN T buffer[hn::MaxLanes(d)];
  hn::Store(v, d, buffer);
  std::memcpy(static_cast<void*>(to), buffer, lanes * sizeof(T));
#else
#if HWY_TARGET == HWY_AVX2
  if constexpr (sizeof(T) >= 4) {
    hn::BlendedStore(v, hn::FirstN(d, lanes), d, to);
  } else if constexpr (sizeof(T) == 2 && hn::MaxLanes(D()) >= 8) {
    const hn::Repartition<int32_t, D> d32;
    hn::BlendedStore(hn::BitCast(d32, v), hn::FirstN(d32, lanes / 2), d32,
                     reinterpret_cast<int32_t*>(to));
    if (lanes % 2 == 0) return;
    HWY_ALIGN T buffer[hn::MaxLanes(D())];
    hn::Store(v, d, buffer);
    std::memcpy(static_cast<void*>(to + lanes - 1), buffer + lanes - 1, sizeof(T));
  } else if constexpr (sizeof(hn::Vec<D>) == 32) {
    putFirstOf32(hn::BitCast(hn::Repartition<uint8_t, D>(), v).raw, reinterpret_cast<uint8_t*>(to),
                 lanes * sizeof(T));
  } else
#endif
  {
    putFirstOf16(hn::BitCast(hn::Repartition<uint8_t, D>(), v).raw, reinterpret_cast<uint8_t*>(to),
                 lanes * sizeof(T));
  }
#endif
}

// ---- products ----

// a[2i] * b[2i] + a[2i+1] * b[2i+1] in 32 bits, wrapping.
template <class V16, class V32 = hn::Vec<hn::RepartitionToWide<hn::DFromV<V16>>>>
RKD_BLOCK V32 pairProducts(V16 a, V16 b) {
#if HWY_TARGET == HWY_EMU128
  V32 sum;
  for (size_t i = 0; i < 4; ++i) {
    const auto low = static_cast<uint32_t>(a.raw[2 * i] * b.raw[2 * i]);
    const auto high = static_cast<uint32_t>(a.raw[2 * i + 1] * b.raw[2 * i + 1]);
    sum.raw[i] = static_cast<int32_t>(low + high);
  }
  return sum;
#else
  RKD_NATIVE(V32, madd_epi16)
#endif
}

// sum + pairProducts(a, b).
template <class V16, class V32>
RKD_BLOCK V32 addPairProducts(V32 sum, V16 a, V16 b) {
#if HWY_TARGET <= HWY_AVX3_DL
  // In assembly because the compiler is not told by every version of Highway that this level has
  // the instruction; what some tell it of instead is a later form with the same name that not all
  // of these processors have.
  asm("vpdpwssd %2, %1, %0" : "+v"(sum.raw) : "v"(a.raw), "vm"(b.raw));
  return sum;
#elif HWY_TARGET == HWY_EMU128
  for (size_t i = 0; i < 4; ++i) {
    const auto low = static_cast<uint32_t>(a.raw[2 * i] * b.raw[2 * i]);
    const auto high = static_cast<uint32_t>(a.raw[2 * i + 1] * b.raw[2 * i + 1]);
    sum.raw[i] = static_cast<int32_t>(static_cast<uint32_t>(sum.raw[i]) + low + high);
  }
  return sum;
#else
  return hn::Add(sum, pairProducts(a, b));
#endif
}

// a[2i] * b[2i] + a[2i+1] * b[2i+1] of unsigned bytes a and signed bytes b in 16 bits, which no sum
// leaves.
template <class V8, class V16 = hn::Vec<hn::Repartition<int16_t, hn::DFromV<V8>>>>
RKD_BLOCK V16 byteProducts(V8 a, V8 b) {
#if HWY_TARGET == HWY_EMU128
  V16 sum;
  for (size_t i = 0; i < 8; ++i) {
    sum.raw[i] = static_cast<int16_t>(a.raw[2 * i] * static_cast<int8_t>(b.raw[2 * i]) +
                                      a.raw[2 * i + 1] * static_cast<int8_t>(b.raw[2 * i + 1]));
  }
  return sum;
#elif HWY_TARGET <= HWY_SSSE3
  RKD_NATIVE(V16, maddubs_epi16)
#else
  const hn::DFromV<V16> d16;
  const hn::RebindToUnsigned<decltype(d16)> du16;
  const auto words = hn::BitCast(du16, a);
  const V16 signs = hn::BitCast(d16, b);
  const V16 even = hn::BitCast(d16, hn::And(words, hn::Set(du16, 255)));
  const V16 odd = hn::BitCast(d16, hn::ShiftRight<8>(words));
  return hn::Add(hn::Mul(even, hn::ShiftRight<8>(hn::ShiftLeft<8>(signs))),
                 hn::Mul(odd, hn::ShiftRight<8>(signs)));
#endif
}

// The sums of horizontal pairs of bytes.
template <class V8, class V16 = hn::Vec<hn::Repartition<int16_t, hn::DFromV<V8>>>>
HWY_INLINE V16 pairSums(V8 v) {
#if HWY_TARGET <= HWY_SSSE3
  return byteProducts(v, hn::Set(hn::DFromV<V8>(), 1));
#else
  const hn::DFromV<V16> d16;
  const hn::RebindToUnsigned<decltype(d16)> du16;
  const auto pairs = hn::BitCast(du16, v);
  return hn::BitCast(d16, hn::Add(hn::And(pairs, hn::Set(du16, 255)), hn::ShiftRight<8>(pairs)));
#endif
}

// (a * b + 0x4000) >> 15.
template <class V16>
RKD_BLOCK V16 roundedProduct(V16 a, V16 b) {
  return hn::MulFixedPoint15(a, b);
}

// magnitude with the sign of `signs`, where magnitude is 0 when that is.
template <class V>
RKD_BLOCK V withSignOf(V magnitude, V signs) {
#if HWY_TARGET <= HWY_AVX3
  if constexpr (sizeof(V) == 64) {
    const __mmask32 negative = _mm512_movepi16_mask(signs.raw);
    return V{_mm512_mask_sub_epi16(magnitude.raw, negative, _mm512_setzero_si512(), magnitude.raw)};
  }
#endif
#if HWY_TARGET <= HWY_AVX2
  if constexpr (sizeof(V) == 32) return V{_mm256_sign_epi16(magnitude.raw, signs.raw)};
#endif
#if HWY_TARGET <= HWY_SSSE3
  if constexpr (sizeof(V) == 16) return V{_mm_sign_epi16(magnitude.raw, signs.raw)};
#endif
  const V negative = hn::ShiftRight<15>(signs);
  return hn::Sub(hn::Xor(magnitude, negative), negative);
}

// n plus 1 where a > b, in 16 bits.
template <class V>
HWY_INLINE V countAbove(V n, V a, V b) {
#if HWY_TARGET <= HWY_AVX3
  if constexpr (sizeof(V) == 64) {
    const __mmask32 above = _mm512_cmpgt_epi16_mask(a.raw, b.raw);
    return V{_mm512_mask_add_epi16(n.raw, above, n.raw, _mm512_set1_epi16(1))};
  }
#endif
  return hn::Sub(n, hn::VecFromMask(hn::DFromV<V>(), hn::Gt(a, b)));
}

// ---- narrowing, within 128-bit blocks: [a b | a b] ----

// Signed words to unsigned bytes with saturation.
template <class V16, class V8 = hn::Vec<hn::Repartition<uint8_t, hn::DFromV<V16>>>>
RKD_BLOCK V8 narrowToBytes(V16 a, V16 b) {
#if HWY_TARGET == HWY_EMU128
  const hn::DFromV<V8> d8;
  const hn::Half<decltype(d8)> half;
  return hn::Combine(d8, hn::DemoteTo(half, b), hn::DemoteTo(half, a));
#else
  RKD_NATIVE(V8, packus_epi16)
#endif
}

// Signed words to pairs (a, b) of signed bytes with saturation, in the order of the words.
template <class V16>
RKD_BLOCK V16 signedBytePairs(V16 a, V16 b) {
#if HWY_TARGET == HWY_EMU128
  V16 pairs;
  const auto clamp = [](int v) { return v < -128 ? -128 : v > 127 ? 127 : v; };
  for (size_t i = 0; i < 8; ++i) {
    pairs.raw[i] = static_cast<int16_t>(clamp(b.raw[i]) * 256 + (clamp(a.raw[i]) & 255));
  }
  return pairs;
#else
  const hn::DFromV<V16> d16;
  const hn::Repartition<uint8_t, decltype(d16)> d8;
  using V8 = hn::Vec<decltype(d8)>;
  const V8 bytes = [&]() HWY_ATTR { RKD_NATIVE(V8, packs_epi16) }();
#if HWY_TARGET <= HWY_SSSE3
  alignas(16) static constexpr uint8_t kInTurns[16] = {0, 8,  1, 9,  2, 10, 3, 11,
                                                       4, 12, 5, 13, 6, 14, 7, 15};
  return hn::BitCast(d16, hn::TableLookupBytes(bytes, hn::LoadDup128(d8, kInTurns)));
#else
  return hn::BitCast(d16, hn::InterleaveLower(d8, bytes, hn::ShiftRightBytes<8>(d8, bytes)));
#endif
#endif
}

// ---- 128-bit blocks ----

// Eight words from any address, in every 128-bit block.
template <class D, class T = hn::TFromD<D>>
HWY_INLINE hn::Vec<D> loadEveryBlock(D d, const T* from) {
  const auto* block = reinterpret_cast<const void*>(from);
#if HWY_TARGET <= HWY_AVX3
  if constexpr (sizeof(hn::Vec<D>) == 64) {
    return hn::Vec<D>{_mm512_broadcast_i32x4(_mm_loadu_si128(static_cast<const __m128i*>(block)))};
  }
#endif
#if HWY_TARGET <= HWY_AVX2
  if constexpr (sizeof(hn::Vec<D>) == 32) {
    return hn::Vec<D>{
        _mm256_broadcastsi128_si256(_mm_loadu_si128(static_cast<const __m128i*>(block)))};
  }
#endif
  static_cast<void>(block);
  return hn::LoadU(d, from);
}

// The two halves of 16 bytes to two addresses.
HWY_INLINE void storeHalves(hn::Vec128<uint8_t> v, uint8_t* low, uint8_t* high) {
#if HWY_TARGET == HWY_EMU128
  std::memcpy(low, v.raw, 8);
  std::memcpy(high, v.raw + 8, 8);
#else
  _mm_storel_epi64(reinterpret_cast<__m128i*>(low), v.raw);
  _mm_storeh_pd(reinterpret_cast<double*>(high), _mm_castsi128_pd(v.raw));
#endif
}

// The even (odd) blocks of a, then those of b. One block a vector: a (b).
template <class V>
HWY_INLINE V evenBlocks(V a, V b) {
#if HWY_TARGET <= HWY_AVX3
  return V{_mm512_shuffle_i64x2(a.raw, b.raw, _MM_SHUFFLE(2, 0, 2, 0))};
#elif HWY_TARGET == HWY_AVX2
  return hn::ConcatLowerLower(hn::DFromV<V>(), b, a);
#else
  static_cast<void>(b);
  return a;
#endif
}
template <class V>
HWY_INLINE V oddBlocks(V a, V b) {
#if HWY_TARGET <= HWY_AVX3
  return V{_mm512_shuffle_i64x2(a.raw, b.raw, _MM_SHUFFLE(3, 1, 3, 1))};
#elif HWY_TARGET == HWY_AVX2
  return hn::ConcatUpperUpper(hn::DFromV<V>(), b, a);
#else
  static_cast<void>(a);
  return b;
#endif
}

// The blocks of a and b in turns.
template <class V>
HWY_INLINE void zipBlocks(V a, V b, V* first, V* second) {
#if HWY_TARGET <= HWY_AVX3
  const auto low = _mm512_setr_epi64(0, 1, 8, 9, 2, 3, 10, 11);
  const auto high = _mm512_setr_epi64(4, 5, 12, 13, 6, 7, 14, 15);
  *first = V{_mm512_permutex2var_epi64(a.raw, low, b.raw)};
  *second = V{_mm512_permutex2var_epi64(a.raw, high, b.raw)};
#elif HWY_TARGET == HWY_AVX2
  *first = hn::ConcatLowerLower(hn::DFromV<V>(), b, a);
  *second = hn::ConcatUpperUpper(hn::DFromV<V>(), b, a);
#else
  *first = a;
  *second = b;
#endif
}

// Narrowed vectors hold halves of a and b in turns; this is the order of memory.
template <class V>
HWY_INLINE V halvesInOrder(V v) {
#if HWY_TARGET <= HWY_AVX3
  const auto order = _mm512_setr_epi64(0, 2, 4, 6, 1, 3, 5, 7);
  return V{_mm512_permutexvar_epi64(order, v.raw)};
#elif HWY_TARGET == HWY_AVX2
  return V{_mm256_permute4x64_epi64(v.raw, _MM_SHUFFLE(3, 1, 2, 0))};
#else
  return v;
#endif
}

// v one block (16 bytes) up, or down, with the nearest block of `edge` moving in.
template <class V>
HWY_INLINE V blocksUp(V v, V edge) {
#if HWY_TARGET <= HWY_AVX3
  return V{_mm512_alignr_epi64(v.raw, edge.raw, 6)};
#elif HWY_TARGET == HWY_AVX2
  return hn::ConcatLowerUpper(hn::DFromV<V>(), v, edge);
#else
  static_cast<void>(v);
  return edge;
#endif
}
template <class V>
HWY_INLINE V blocksDown(V v, V edge) {
#if HWY_TARGET <= HWY_AVX3
  return V{_mm512_alignr_epi64(edge.raw, v.raw, 2)};
#elif HWY_TARGET == HWY_AVX2
  return hn::ConcatLowerUpper(hn::DFromV<V>(), edge, v);
#else
  static_cast<void>(v);
  return edge;
#endif
}

// Calls body(i, block) for the 128-bit blocks of a vector of bytes.
template <class V, class Body>
HWY_INLINE void eachBlock(V v, Body&& body) {
  using Block = hn::Vec<hn::Full128<uint8_t>>;
#if HWY_TARGET <= HWY_AVX3
  body(0, Block{_mm512_castsi512_si128(v.raw)});
  body(1, Block{_mm512_extracti32x4_epi32(v.raw, 1)});
  body(2, Block{_mm512_extracti32x4_epi32(v.raw, 2)});
  body(3, Block{_mm512_extracti32x4_epi32(v.raw, 3)});
#elif HWY_TARGET == HWY_AVX2
  body(0, hn::LowerHalf(v));
  body(1, hn::UpperHalf(hn::Full128<uint8_t>(), v));
#else
  body(0, Block(v));
#endif
}

// ---- across whole vectors ----

// As many bytes as a vector has of two, from an offset in the first or last 16 bytes of `low`.
template <size_t kOffset, class V>
HWY_INLINE V fromPair(V low, V high) {
  const hn::DFromV<V> d;
#if HWY_TARGET <= HWY_AVX3
  const hn::Repartition<int32_t, decltype(d)> d32;
  using V32 = hn::Vec<decltype(d32)>;
  const auto a = hn::BitCast(d32, low).raw, b = hn::BitCast(d32, high).raw;
  if constexpr (kOffset % 4 == 0) {
    return hn::BitCast(d, V32{_mm512_alignr_epi32(b, a, kOffset / 4)});
  } else if constexpr (kOffset < 16) {
    return hn::BitCast(d, V32{_mm512_alignr_epi8(_mm512_alignr_epi32(b, a, 4), a, kOffset)});
  } else {
    return hn::BitCast(d, V32{_mm512_alignr_epi8(b, _mm512_alignr_epi32(b, a, 12), kOffset - 48)});
  }
#elif HWY_TARGET == HWY_AVX2
  const V middle = hn::ConcatLowerUpper(d, high, low);
  if constexpr (kOffset < 16) {
    return hn::CombineShiftRightBytes<kOffset>(d, middle, low);
  } else {
    return hn::CombineShiftRightBytes<kOffset - 16>(d, high, middle);
  }
#else
  return hn::CombineShiftRightBytes<kOffset>(d, high, low);
#endif
}

// The lanes of v one on, after the last lane of `previous`.
template <class V>
HWY_INLINE V oneOn(V previous, V v) {
  return fromPair<sizeof(V) - sizeof(hn::TFromD<hn::DFromV<V>>)>(previous, v);
}

// The lanes of v one back, before the first lane of `next`.
template <class V>
HWY_INLINE V oneBack(V v, V next) {
  return fromPair<sizeof(hn::TFromD<hn::DFromV<V>>)>(v, next);
}

// For every lane of 32 bits, the one of its block that the lower two bits of v >> shift tell.
#if HWY_TARGET <= HWY_AVX2
template <class V>
HWY_INLINE V pickInBlocks(V lanes, V v, V shift) {
#if HWY_TARGET <= HWY_AVX3
  const auto control = _mm512_srlv_epi32(v.raw, shift.raw);
  return V{_mm512_castps_si512(_mm512_permutevar_ps(_mm512_castsi512_ps(lanes.raw), control))};
#else
  const auto control = _mm256_srlv_epi32(v.raw, shift.raw);
  return V{_mm256_castps_si256(_mm256_permutevar_ps(_mm256_castsi256_ps(lanes.raw), control))};
#endif
}
#endif

#if HWY_TARGET <= HWY_AVX3
// The lanes that `index` (64 aligned bytes) tells, of a and, above the number of its lanes, of b.
template <class V, class Index>
HWY_INLINE V fromTwo(V a, V b, const Index* index) {
  const hn::Repartition<Index, hn::DFromV<V>> di;
  using VI = hn::Vec<decltype(di)>;
  const auto x = hn::BitCast(di, a).raw, y = hn::BitCast(di, b).raw;
  const auto i = _mm512_load_si512(index);
  const hn::DFromV<V> d;
  if constexpr (sizeof(Index) == 4) {
    return hn::BitCast(d, VI{_mm512_permutex2var_epi32(x, i, y)});
  } else if constexpr (sizeof(Index) == 2) {
    return hn::BitCast(d, VI{_mm512_permutex2var_epi16(x, i, y)});
#if HWY_TARGET <= HWY_AVX3_DL
  } else {
    return hn::BitCast(d, VI{_mm512_permutex2var_epi8(x, i, y)});
#endif
  }
}

// The first n bytes from any address, 0 < n < 64; those of `rest` behind them.
template <class V>
HWY_INLINE V loadOver(V rest, const uint8_t* from, size_t n) {
  return V{_mm512_mask_loadu_epi8(rest.raw, (uint64_t{1} << n) - 1, from)};
}
#endif

#if HWY_TARGET <= HWY_AVX3_DL
// The same from bytes, 0 where a bit of `kept` is not set.
template <uint64_t kept, class V>
HWY_INLINE V fromTwoOrZero(V a, V b, const uint8_t* index) {
  return V{_mm512_maskz_permutex2var_epi8(kept, a.raw, _mm512_load_si512(index), b.raw)};
}
// The bytes of v in the order of `index`, and a, but b where a bit of `taken` is set.
template <class V>
HWY_INLINE V inOrder(V v, const uint8_t* index) {
  return V{_mm512_permutexvar_epi8(_mm512_load_si512(index), v.raw)};
}
template <class V>
HWY_INLINE V blended(V a, uint64_t taken, V b) {
  return V{_mm512_mask_blend_epi8(taken, a.raw, b.raw)};
}

// The first 48 or 24 bytes from any address; nothing behind them is touched.
template <class V>
HWY_INLINE V load48(const uint8_t* from) {
  return V{_mm512_maskz_loadu_epi64(0x3F, from)};
}
template <class V>
HWY_INLINE V load24(const uint8_t* from) {
  return V{_mm512_castsi256_si512(_mm256_maskz_loadu_epi64(0x07, from))};
}
// The first 24 bytes of either half.
template <class V>
HWY_INLINE void store24(V v, uint8_t* ofLower, uint8_t* ofUpper) {
  const hn::Half<hn::DFromV<V>> half;
  _mm256_mask_storeu_epi64(ofLower, 0x07, hn::LowerHalf(v).raw);
  _mm256_mask_storeu_epi64(ofUpper, 0x07, inRegister(hn::UpperHalf(half, v)).raw);
}
#endif

// ---- bits of a word ----

// The bits of `from` where `map` has ones, moved together at the low end in the same order.
HWY_INLINE uint64_t gatherBits(uint64_t from, uint64_t map) {
#if HWY_TARGET <= HWY_AVX2
  return _pext_u64(from, map);
#else
  uint64_t gathered = 0;
  for (uint64_t bit = 1; map != 0; bit <<= 1, map &= map - 1) {
    if ((from & map & -map) != 0) gathered |= bit;
  }
  return gathered;
#endif
}

// The opposite: the low bits of `from` spread to where `map` has ones.
HWY_INLINE uint64_t spreadBits(uint64_t from, uint64_t map) {
#if HWY_TARGET <= HWY_AVX2
  return _pdep_u64(from, map);
#else
  uint64_t spread = 0;
  for (; map != 0; from >>= 1, map &= map - 1) {
    if ((from & 1) != 0) spread |= map & -map;
  }
  return spread;
#endif
}

}  // namespace rkd::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif  // per-target include guard
