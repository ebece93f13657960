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

#include <cstring>

#include "common/args.h"
#include "hwy/highway.h"

// Building blocks of some size. At the lowest level, whose vectors are loops, inlining them into
// every kernel would take half a minute a file.
#undef RKD_BLOCK
#if HWY_TARGET == HWY_EMU128
#define RKD_BLOCK inline HWY_NOINLINE
#else
#define RKD_BLOCK HWY_INLINE
#endif

HWY_BEFORE_NAMESPACE();
namespace rkd::HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

// How much of a vector counts: all of it, or the first `lanes`.
struct Whole {};
struct Part {
  size_t lanes;
};

// AVX-512 loads and stores parts by mask at any sample width, without touching the lanes left out.
// The same vector, as something that the compiler has to compute first. It folds the extraction of
// a part and a masked store into one instruction, which faults on bytes that the mask leaves out.
#if HWY_TARGET <= HWY_AVX3
template <class V>
HWY_INLINE V inRegister(V v) {
  asm("" : "+v"(v.raw));
  return v;
}
#endif

template <class D, class T = hn::TFromD<D>>
HWY_INLINE hn::Vec<D> load(D d, const T* from, Whole) {
  return hn::LoadU(d, from);
}

// Lanes beyond the part are zero.
template <class D, class T = hn::TFromD<D>>
HWY_INLINE hn::Vec<D> load(D d, const T* from, Part part) {
#if HWY_TARGET <= HWY_AVX3
  return hn::MaskedLoad(hn::FirstN(d, part.lanes), d, from);
#else
  HWY_ALIGN T buffer[hn::MaxLanes(d)] = {};
  std::memcpy(buffer, static_cast<const void*>(from), part.lanes * sizeof(T));
  return hn::Load(d, buffer);
#endif
}

template <class D, class T = hn::TFromD<D>>
HWY_INLINE void store(hn::Vec<D> v, D d, T* to, Whole) {
  hn::StoreU(v, d, to);
}

template <class D, class T = hn::TFromD<D>>
HWY_INLINE void store(hn::Vec<D> v, D d, T* to, Part part) {
#if HWY_TARGET <= HWY_AVX3
  hn::BlendedStore(inRegister(v), hn::FirstN(d, part.lanes), d, to);
#else
  HWY_ALIGN T buffer[hn::MaxLanes(d)];
  hn::Store(v, d, buffer);
  std::memcpy(static_cast<void*>(to), buffer, part.lanes * sizeof(T));
#endif
}

// Calls body(x, Whole{}) for every whole vector of `lanes` samples in a row of `width`, and
// body(x, Part{n}) for the rest.
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

// ---- 16-bit lanes: pairs, signs, order of 128-bit blocks ----

// sum + a[2i] * b[2i] + a[2i+1] * b[2i+1] in 32 bits, wrapping.
template <class V16, class V32>
RKD_BLOCK V32 addPairProducts(V32 sum, V16 a, V16 b) {
#if HWY_TARGET <= HWY_AVX3_DL
  // In assembly because the compiler is not told that this level has the instruction; what it is
  // told of instead is a later form with the same name that not all of these processors have.
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
  V32 unused = sum;
  return hn::ReorderWidenMulAccumulate(hn::DFromV<V32>(), a, b, sum, unused);
#endif
}

// a[2i] * b[2i] + a[2i+1] * b[2i+1] in 32 bits, wrapping.
template <class V16, class V32 = hn::Vec<hn::RepartitionToWide<hn::DFromV<V16>>>>
RKD_BLOCK V32 pairProducts(V16 a, V16 b) {
  const hn::RepartitionToWide<hn::DFromV<V16>> d32;
#if HWY_TARGET == HWY_EMU128
  return addPairProducts(hn::Zero(d32), a, b);
#else
  V32 unused = hn::Zero(d32);
  return hn::ReorderWidenMulAccumulate(d32, a, b, hn::Zero(d32), unused);
#endif
}

// magnitude with the sign of `signs`, where magnitude is 0 when that is.
template <class V>
RKD_BLOCK V withSignOf(V magnitude, V signs) {
#if HWY_TARGET <= HWY_SSSE3
  if constexpr (sizeof(V) == 16) return V{_mm_sign_epi16(magnitude.raw, signs.raw)};
#endif
#if HWY_TARGET <= HWY_AVX2
  if constexpr (sizeof(V) == 32) return V{_mm256_sign_epi16(magnitude.raw, signs.raw)};
#endif
#if HWY_TARGET <= HWY_AVX3
  if constexpr (sizeof(V) == 64) {
    const __mmask32 negative = _mm512_movepi16_mask(signs.raw);
    return V{_mm512_mask_sub_epi16(magnitude.raw, negative, _mm512_setzero_si512(), magnitude.raw)};
  }
#endif
  const V negative = hn::ShiftRight<15>(signs);
  return hn::Sub(hn::Xor(magnitude, negative), negative);
}

// The high 16 bits of the product of unsigned lanes.
template <class V>
RKD_BLOCK V mulHighUnsigned(V a, V b) {
  const hn::RebindToUnsigned<hn::DFromV<V>> du;
  return hn::BitCast(hn::DFromV<V>(), hn::MulHigh(hn::BitCast(du, a), hn::BitCast(du, b)));
}

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

// Signed words to unsigned bytes with saturation, within 128-bit blocks: [a b | a b].
template <class V16, class V8 = hn::Vec<hn::Repartition<uint8_t, hn::DFromV<V16>>>>
RKD_BLOCK V8 narrowToBytes(V16 a, V16 b) {
#if HWY_TARGET != HWY_EMU128
  if constexpr (sizeof(V16) == 16) return V8{_mm_packus_epi16(a.raw, b.raw)};
#endif
#if HWY_TARGET <= HWY_AVX2
  if constexpr (sizeof(V16) == 32) return V8{_mm256_packus_epi16(a.raw, b.raw)};
#endif
#if HWY_TARGET <= HWY_AVX3
  if constexpr (sizeof(V16) == 64) return V8{_mm512_packus_epi16(a.raw, b.raw)};
#endif
#if HWY_TARGET == HWY_EMU128
  const hn::Repartition<uint8_t, hn::DFromV<V16>> d8;
  const hn::Half<decltype(d8)> half;
  return hn::Combine(d8, hn::DemoteTo(half, b), hn::DemoteTo(half, a));
#endif
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
