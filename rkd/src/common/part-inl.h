// The first bytes of a register where the processor has no masks, compiled once per level. Include
// after "hwy/highway.h", inside no namespace.
//
// They come and go by words in registers: a vector waits long for bytes that were just stored in
// pieces, longer than a short row takes.
#if defined(RKD_COMMON_PART_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef RKD_COMMON_PART_INL_H_
#undef RKD_COMMON_PART_INL_H_
#else
#define RKD_COMMON_PART_INL_H_
#endif

#include <cstdint>
#include <cstring>

#include "hwy/highway.h"

HWY_BEFORE_NAMESPACE();
namespace rkd::HWY_NAMESPACE {

#if HWY_TARGET > HWY_AVX3 && HWY_TARGET != HWY_EMU128
template <class Word>
HWY_INLINE uint64_t wordAt(const uint8_t* from) {
  Word word;
  std::memcpy(&word, from, sizeof word);
  return word;
}
template <class Word>
HWY_INLINE void putWord(uint64_t bits, uint8_t* to) {
  const auto word = static_cast<Word>(bits);
  std::memcpy(to, &word, sizeof word);
}

// n < 8. Words of two sizes overlap where n is neither.
HWY_INLINE uint64_t firstOf8(const uint8_t* from, size_t n) {
  if (n >= 4) return wordAt<uint32_t>(from) | wordAt<uint32_t>(from + n - 4) << (8 * (n - 4));
  if (n >= 2) return wordAt<uint16_t>(from) | wordAt<uint16_t>(from + n - 2) << (8 * (n - 2));
  return n == 0 ? 0 : *from;
}
HWY_INLINE void putFirstOf8(uint64_t bits, uint8_t* to, size_t n) {
  if (n >= 4) {
    putWord<uint32_t>(bits, to);
    putWord<uint32_t>(bits >> (8 * (n - 4)), to + n - 4);
  } else if (n >= 2) {
    putWord<uint16_t>(bits, to);
    putWord<uint16_t>(bits >> (8 * (n - 2)), to + n - 2);
  } else if (n == 1) {
    putWord<uint8_t>(bits, to);
  }
}

// All of them where n is that or more, zeros behind fewer.
inline HWY_NOINLINE __m128i firstOf16(const uint8_t* from, size_t n) {
  if (n >= 16) return _mm_loadu_si128(reinterpret_cast<const __m128i*>(from));
  if (n < 8) return _mm_cvtsi64_si128(static_cast<int64_t>(firstOf8(from, n)));
  return _mm_set_epi64x(static_cast<int64_t>(firstOf8(from + 8, n - 8)),
                        static_cast<int64_t>(wordAt<uint64_t>(from)));
}
inline HWY_NOINLINE void putFirstOf16(__m128i v, uint8_t* to, size_t n) {
  if (n >= 16) return _mm_storeu_si128(reinterpret_cast<__m128i*>(to), v);
  if (n >= 8) {
    _mm_storel_epi64(reinterpret_cast<__m128i*>(to), v);
    v = _mm_unpackhi_epi64(v, v);
    to += 8;
    n -= 8;
  }
  putFirstOf8(static_cast<uint64_t>(_mm_cvtsi128_si64(v)), to, n);
}

#if HWY_TARGET == HWY_AVX2
inline HWY_NOINLINE __m256i firstOf32(const uint8_t* from, size_t n) {
  if (n < 16) return _mm256_zextsi128_si256(firstOf16(from, n));
  return _mm256_set_m128i(firstOf16(from + 16, n - 16), firstOf16(from, 16));
}
inline HWY_NOINLINE void putFirstOf32(__m256i v, uint8_t* to, size_t n) {
  putFirstOf16(_mm256_castsi256_si128(v), to, n);
  if (n > 16) putFirstOf16(_mm256_extracti128_si256(v, 1), to + 16, n - 16);
}
#endif
#endif

}  // namespace rkd::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif  // per-target guard
