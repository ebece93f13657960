// Bit maps of 8x8 blocks in zigzag order, and the bit gathering that goes with them, per level.
//
// All maps have the first coefficient of the zigzag order in the HIGH bit: that is the order in
// which an entropy coder sends what belongs to them, and the next set bit is a count of leading
// zeros away.
//
// Needs shuffles across a whole block and bit deposits, which Highway's portable operations do not
// offer at the levels in question: the one place of the entropy coders with intrinsics.
#if defined(RKD_ZIGZAG_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef RKD_ZIGZAG_INL_H_
#undef RKD_ZIGZAG_INL_H_
#else
#define RKD_ZIGZAG_INL_H_
#endif

#include <bit>
#include <cstdint>
#include <cstdlib>

#include "common/native-inl.h"
#include "common/zigzag.h"

#undef RKD_HAS_COEFFICIENT_LIST
#undef RKD_HAS_SMALL_VALUES

HWY_BEFORE_NAMESPACE();
RKD_PUSH_LZCNT
namespace rkd::HWY_NAMESPACE {

/// Positions 0..63 as a map.
HWY_INLINE uint64_t mapBit(int position) { return uint64_t{1} << 63 >> position; }
HWY_INLINE uint64_t mapFrom(int position) { return ~uint64_t{0} >> position; }
/// Positions behind `position`, which may be 63.
HWY_INLINE uint64_t mapBehind(int position) { return ~uint64_t{0} >> 1 >> position; }
HWY_INLINE uint64_t mapBand(int first, int last) { return mapFrom(first) & ~mapBehind(last); }
/// The first position of a map that is not empty.
HWY_INLINE int mapFirst(uint64_t map) { return __builtin_clzll(map); }

HWY_INLINE int countBits(uint64_t map) { return std::popcount(map); }

/// The bit of the (n + 1)th position of a map that has more than n.
HWY_INLINE uint64_t mapNth(uint64_t map, int n) {
#if HWY_TARGET <= HWY_AVX2
  return spreadBits(uint64_t{1} << (countBits(map) - 1 - n), map);
#else
  for (; n > 0; --n) map &= ~mapBit(mapFirst(map));
  return mapBit(mapFirst(map));
#endif
}

/// What a block has to say about its magnitudes >> al.
struct MagnitudeMaps {
  uint64_t any;       ///< not zero
  uint64_t one;       ///< exactly one
  uint64_t odd;       ///< lowest bit set
  uint64_t negative;  ///< the coefficient is below zero
};

/// A list of a block's AC coefficients: its room, for those, the end of the block and one more, how
/// many they may be, and their largest magnitude.
inline constexpr int kListRoom = 32, kMostListed = kListRoom - 2, kMostSmall = 126;

/// How many coefficients are listed.
struct ListedCount {
  int count;
  bool isFull;  ///< whether the last position is taken
};

#if HWY_TARGET <= HWY_AVX3

/// Lane n of the two vectors holds the coefficient of map bit n; lane of each natural coefficient.
struct ZigzagLanes {
  alignas(64) uint16_t coefficient[64];
  alignas(64) uint16_t lane[64];
};
inline constexpr ZigzagLanes zigzagLanes = [] {
  ZigzagLanes lanes{};
  for (int n = 0; n < 64; ++n) {
    lanes.coefficient[n] = huff::zigzag[63 - n];
    lanes.lane[huff::zigzag[63 - n]] = uint16_t(n);
  }
  return lanes;
}();

struct ZigzagBlock {
  __m512i low, high;  ///< the last and the first 32 coefficients, backwards
};

HWY_INLINE ZigzagBlock permuted(__m512i a, __m512i b, const uint16_t* order) {
  return {_mm512_permutex2var_epi16(a, _mm512_load_si512(order), b),
          _mm512_permutex2var_epi16(a, _mm512_load_si512(order + 32), b)};
}

HWY_INLINE ZigzagBlock loadZigzag(const int16_t* block) {
  return permuted(_mm512_loadu_si512(block), _mm512_loadu_si512(block + 32),
                  zigzagLanes.coefficient);
}

HWY_INLINE uint64_t joined(__mmask32 low, __mmask32 high) { return uint64_t{high} << 32 | low; }

HWY_INLINE uint64_t nonZeroMap(const int16_t* block) {
  const ZigzagBlock z = loadZigzag(block);
  return joined(_mm512_test_epi16_mask(z.low, z.low), _mm512_test_epi16_mask(z.high, z.high));
}

HWY_INLINE MagnitudeMaps magnitudeMaps(const int16_t* block, int al) {
  const ZigzagBlock z = loadZigzag(block);
  const __m128i shift = _mm_cvtsi32_si128(al);
  const __m512i low = _mm512_srl_epi16(_mm512_abs_epi16(z.low), shift);
  const __m512i high = _mm512_srl_epi16(_mm512_abs_epi16(z.high), shift);
  const __m512i one = _mm512_set1_epi16(1);
  return {joined(_mm512_test_epi16_mask(low, low), _mm512_test_epi16_mask(high, high)),
          joined(_mm512_cmpeq_epi16_mask(low, one), _mm512_cmpeq_epi16_mask(high, one)),
          joined(_mm512_test_epi16_mask(low, one), _mm512_test_epi16_mask(high, one)),
          joined(_mm512_movepi16_mask(z.low), _mm512_movepi16_mask(z.high))};
}

/// Moves the coefficients of a map away from zero by 1 << al.
HWY_INLINE void growMagnitudes(int16_t* block, uint64_t map, int al) {
  const ZigzagBlock where = permuted(_mm512_movm_epi16(__mmask32(map)),
                                     _mm512_movm_epi16(__mmask32(map >> 32)), zigzagLanes.lane);
  const __m512i step = _mm512_sll_epi16(_mm512_set1_epi16(1), _mm_cvtsi32_si128(al));
  for (int half = 0; half < 2; ++half) {
    const __m512i v = _mm512_loadu_si512(block + 32 * half);
    const __m512i sign = _mm512_srai_epi16(v, 15);
    const __m512i moved = _mm512_sub_epi16(_mm512_xor_si512(step, sign), sign);
    const __m512i change = _mm512_and_si512(half == 0 ? where.low : where.high, moved);
    _mm512_storeu_si512(block + 32 * half, _mm512_add_epi16(v, change));
  }
}

#if HWY_TARGET <= HWY_AVX3_DL
#define RKD_HAS_COEFFICIENT_LIST 1

struct ListLanes {
  alignas(64) uint8_t coefficient[64];  ///< zigzag order of two vectors packed to bytes
  alignas(64) uint8_t position[64];
  alignas(32) uint8_t before[32];  ///< the lane of the coefficient before
};
inline constexpr ListLanes listLanes = [] {
  ListLanes lanes{};
  for (int n = 0; n < 64; ++n) {
    // Packing takes eight coefficients of either vector in turns.
    const int natural = huff::zigzag[size_t(n)];
    lanes.coefficient[n] = uint8_t(natural % 32 / 8 * 16 + natural / 32 * 8 + natural % 8);
    lanes.position[n] = uint8_t(n);
  }
  for (int n = 1; n < 32; ++n) lanes.before[n] = uint8_t(n - 1);
  return lanes;
}();

// (The intrinsics for halves, and for permutations without a mask, make g++ 12 warn of a variable
// of its own.)
HWY_INLINE __m256i lowerHalf(__m512i v) {
  return (__m256i)__builtin_shufflevector(v, v, 0, 1, 2, 3);
}

/// Lists the AC coefficients of a block as places in a table of small ones, in order: in the high
/// byte by how many positions behind the one before, in the low byte the value + 128.
/// @param place  of kListRoom values; behind the last one like a value of 0 in its position
/// @return false if there are more than kMostListed, more than 15 zeros in front of one, or a value
///         beyond kMostSmall
HWY_INLINE bool listCoefficients(const int16_t* block, uint16_t* place, ListedCount* listed) {
  const auto isAC = ~__mmask64{1};
  const __m512i packed =
      _mm512_packs_epi16(_mm512_loadu_si512(block), _mm512_loadu_si512(block + 32));
  const __m512i z = _mm512_maskz_permutexvar_epi8(~__mmask64{0},
                                                  _mm512_load_si512(listLanes.coefficient), packed);
  const __mmask64 map = _mm512_mask_test_epi8_mask(isAC, z, z);
  const __mmask64 wide =
      _mm512_mask_cmpge_epu8_mask(isAC, _mm512_abs_epi8(z), _mm512_set1_epi8(kMostSmall + 1));
  const __m256i position =
      lowerHalf(_mm512_maskz_compress_epi8(map, _mm512_load_si512(listLanes.position)));
  const __m256i value = _mm256_xor_si256(lowerHalf(_mm512_maskz_compress_epi8(map, z)),
                                         _mm256_set1_epi8(int8_t(0x80)));
  // In front of the first one there is the DC; zeros behind the last one stay zeros.
  const __m256i before = _mm256_maskz_permutexvar_epi8(
      ~__mmask32{1}, _mm256_load_si256(reinterpret_cast<const __m256i*>(listLanes.before)),
      position);
  const __m256i distance = _mm256_subs_epu8(position, before);
  const __mmask32 far = _mm256_cmpgt_epu8_mask(distance, _mm256_set1_epi8(16));
  const __m256i low = _mm256_unpacklo_epi8(value, distance);
  const __m256i high = _mm256_unpackhi_epi8(value, distance);
  auto* const to = reinterpret_cast<__m128i*>(place);
  _mm_storeu_si128(to, _mm256_castsi256_si128(low));
  _mm_storeu_si128(to + 1, _mm256_castsi256_si128(high));
  _mm_storeu_si128(to + 2, _mm256_extracti128_si256(low, 1));
  _mm_storeu_si128(to + 3, _mm256_extracti128_si256(high, 1));
  listed->count = countBits(map);
  listed->isFull = (map >> 63) != 0;
  return listed->count <= kMostListed && (wide | far) == 0;
}

#endif
#else

HWY_INLINE void growMagnitudes(int16_t* block, uint64_t map, int al) {
  for (; map != 0; map &= ~mapBit(mapFirst(map))) {
    int16_t& v = block[huff::zigzag[mapFirst(map)]];
    v = int16_t(v + (v < 0 ? -(1 << al) : 1 << al));
  }
}

#if HWY_TARGET <= HWY_SSSE3

/// Byte shuffles that bring flags of 16 natural coefficients each to their map bits.
struct ZigzagShuffles {
  alignas(16) uint8_t from[4][4][16];  ///< [map bits / 16][natural coefficients / 16]
  bool used[4][4];
};
inline constexpr ZigzagShuffles zigzagShuffles = [] {
  ZigzagShuffles shuffles{};
  for (int n = 0; n < 64; ++n) {
    const int natural = huff::zigzag[63 - n];
    for (int input = 0; input < 4; ++input) {
      const bool here = natural / 16 == input;
      shuffles.from[n / 16][input][n % 16] = here ? uint8_t(natural % 16) : 0x80;
      if (here) shuffles.used[n / 16][input] = true;
    }
  }
  return shuffles;
}();

struct FlagBytes {
  __m128i part[4];
};

template <int Output, int Input>
HWY_INLINE __m128i shuffledPart(const FlagBytes& natural) {
  if constexpr (zigzagShuffles.used[Output][Input]) {
    return _mm_shuffle_epi8(
        natural.part[Input],
        _mm_load_si128(reinterpret_cast<const __m128i*>(zigzagShuffles.from[Output][Input])));
  } else {
    return _mm_setzero_si128();
  }
}

template <int Output>
HWY_INLINE __m128i shuffledOutput(const FlagBytes& natural) {
  return _mm_or_si128(
      _mm_or_si128(shuffledPart<Output, 0>(natural), shuffledPart<Output, 1>(natural)),
      _mm_or_si128(shuffledPart<Output, 2>(natural), shuffledPart<Output, 3>(natural)));
}

HWY_INLINE FlagBytes toZigzag(const FlagBytes& natural) {
  return {{shuffledOutput<0>(natural), shuffledOutput<1>(natural), shuffledOutput<2>(natural),
           shuffledOutput<3>(natural)}};
}

/// Map of the flag bytes' bit 7 - Bit.
template <int Bit>
HWY_INLINE uint64_t mapOf(const FlagBytes& flags) {
  uint64_t map = 0;
  for (int i = 3; i >= 0; --i) {
    const int bits = _mm_movemask_epi8(_mm_slli_epi16(flags.part[i], Bit));
    map = map << 16 | unsigned(bits);
  }
  return map;
}

HWY_INLINE __m128i loadEight(const int16_t* from) {
  return _mm_loadu_si128(reinterpret_cast<const __m128i*>(from));
}

HWY_INLINE uint64_t nonZeroMap(const int16_t* block) {
  const __m128i zero = _mm_setzero_si128();
  FlagBytes isZero;
  for (int i = 0; i < 4; ++i) {
    isZero.part[i] = _mm_packs_epi16(_mm_cmpeq_epi16(loadEight(block + 16 * i), zero),
                                     _mm_cmpeq_epi16(loadEight(block + 16 * i + 8), zero));
  }
  return ~mapOf<0>(toZigzag(isZero));
}

/// Flags of eight coefficients in the low bytes: bit 7 zero, 6 one, 5 odd, 4 negative.
HWY_INLINE __m128i magnitudeFlags(const int16_t* from, __m128i shift) {
  const __m128i v = loadEight(from);
  const __m128i magnitude = _mm_srl_epi16(_mm_abs_epi16(v), shift);
  const __m128i one = _mm_set1_epi16(1);
  const __m128i isZero = _mm_cmpeq_epi16(magnitude, _mm_setzero_si128());
  return _mm_or_si128(
      _mm_or_si128(_mm_and_si128(isZero, _mm_set1_epi16(0x80)),
                   _mm_and_si128(_mm_cmpeq_epi16(magnitude, one), _mm_set1_epi16(0x40))),
      _mm_or_si128(_mm_slli_epi16(_mm_and_si128(magnitude, one), 5),
                   _mm_and_si128(_mm_srai_epi16(v, 15), _mm_set1_epi16(0x10))));
}

HWY_INLINE MagnitudeMaps magnitudeMaps(const int16_t* block, int al) {
  const __m128i shift = _mm_cvtsi32_si128(al);
  FlagBytes flags;
  for (int i = 0; i < 4; ++i) {
    flags.part[i] = _mm_packus_epi16(magnitudeFlags(block + 16 * i, shift),
                                     magnitudeFlags(block + 16 * i + 8, shift));
  }
  flags = toZigzag(flags);
  return {~mapOf<0>(flags), mapOf<1>(flags), mapOf<2>(flags), mapOf<3>(flags)};
}

#else

HWY_INLINE uint64_t nonZeroMap(const int16_t* block) {
  uint64_t map = 0;
  for (int i = 0; i < 64; ++i) map |= uint64_t(block[huff::zigzag[i]] != 0) << (63 - i);
  return map;
}

HWY_INLINE MagnitudeMaps magnitudeMaps(const int16_t* block, int al) {
  MagnitudeMaps maps{};
  for (int i = 0; i < 64; ++i) {
    const int v = block[huff::zigzag[i]];
    const int magnitude = std::abs(v) >> al;
    maps.any = maps.any << 1 | uint64_t(magnitude != 0);
    maps.one = maps.one << 1 | uint64_t(magnitude == 1);
    maps.odd = maps.odd << 1 | uint64_t(magnitude & 1);
    maps.negative = maps.negative << 1 | uint64_t(v < 0);
  }
  return maps;
}

#endif
#endif

#if HWY_TARGET == HWY_AVX2 || HWY_TARGET == HWY_AVX3
#define RKD_HAS_SMALL_VALUES 1

/// The AC values of a block in zigzag order, and which of them are not zero. Unlike other maps this
/// one has the first position in the LOW bit: there a step to the next bit is one operation, not a
/// chain of three.
struct SmallValues {
  int8_t value[64];
  uint64_t map;
};

/// Byte shuffles of 16 natural coefficients each, in both halves, to half of the zigzag order; the
/// DC is left out.
struct SmallValueShuffles {
  alignas(32) uint8_t from[2][4][32];
};
inline constexpr SmallValueShuffles smallValueShuffles = [] {
  SmallValueShuffles shuffles{};
  for (int n = 0; n < 64; ++n) {
    const int natural = huff::zigzag[size_t(n)];
    for (int input = 0; input < 4; ++input) {
      const bool here = natural / 16 == input && n > 0;
      shuffles.from[n / 32][input][n % 32] = here ? uint8_t(natural % 16) : 0x80;
    }
  }
  return shuffles;
}();

/// False if a value takes more than 7 bits.
HWY_INLINE bool listSmallValues(const int16_t* block, SmallValues* list) {
  __m256i natural[4], half[2];
  const auto inBothHalves = [](const int16_t* from) HWY_ATTR {
    return _mm256_broadcastsi128_si256(_mm_loadu_si128(reinterpret_cast<const __m128i*>(from)));
  };
  for (int i = 0; i < 4; ++i) {
    natural[i] = _mm256_packs_epi16(inBothHalves(block + 16 * i), inBothHalves(block + 16 * i + 8));
  }
  uint32_t isZero[2];
  for (int i = 0; i < 2; ++i) {
    const auto part = [&](int k) HWY_ATTR {
      const auto* from = reinterpret_cast<const __m256i*>(smallValueShuffles.from[i][k]);
      return _mm256_shuffle_epi8(natural[k], _mm256_load_si256(from));
    };
    half[i] = _mm256_or_si256(_mm256_or_si256(part(0), part(1)), _mm256_or_si256(part(2), part(3)));
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(list->value) + i, half[i]);
    const __m256i zeros = _mm256_cmpeq_epi8(half[i], _mm256_setzero_si256());
    isZero[i] = uint32_t(_mm256_movemask_epi8(zeros));
  }
  list->map = ~(uint64_t{isZero[1]} << 32 | isZero[0]);
  const __m256i largest = _mm256_max_epu8(_mm256_abs_epi8(half[0]), _mm256_abs_epi8(half[1]));
  const __m256i beyond = _mm256_subs_epu8(largest, _mm256_set1_epi8(126));
  return _mm256_testz_si256(beyond, beyond) != 0;
}
#endif

}  // namespace rkd::HWY_NAMESPACE
RKD_POP_LZCNT
HWY_AFTER_NAMESPACE();

#endif  // per-target include guard
