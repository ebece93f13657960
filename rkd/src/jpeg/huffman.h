// Specification and state objects of the Huffman coders, and what their kernels share at any level.
//
// The objects lie in memory of any alignment that belongs to the caller, so nothing here is ever
// dereferenced through a typed pointer: load() and store() compile to plain moves.
#pragma once

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "common/zigzag.h"
#include "rkd/rkdjpeg_huffman.h"

namespace rkd::huff {

template <class T>
inline T load(const void* from) {
  T value;
  std::memcpy(&value, from, sizeof value);
  return value;
}

template <class T>
inline void store(void* to, const T& value) {
  std::memcpy(to, &value, sizeof value);
}

/// Eight stream bytes as a number whose high bit is the first bit of the stream.
inline uint64_t loadBits(const uint8_t* from) {
  const uint64_t word = load<uint64_t>(from);
  return std::endian::native == std::endian::little ? __builtin_bswap64(word) : word;
}

inline void storeBits(uint8_t* to, uint64_t bits) {
  store(to, std::endian::native == std::endian::little ? __builtin_bswap64(bits) : bits);
}

/// Bits of a symbol's run (high) and size (low) halves.
enum Symbol : int { endOfBlock = 0x00, zeroRun16 = 0xF0 };

/// Kinds of objects: the first word of each, so that one is not taken for another.
enum class Kind : uint32_t {
  encodeSpec = 0x45485331,
  decodeSpec = 0x44485331,
  encodeState = 0x45485431,
  decodeState = 0x44485431
};

template <class Object>
inline bool isKind(const Object* object, Kind kind) {
  return load<Kind>(object) == kind;
}

// ---------------------------------------------------------------------------------------------
// Encoder

/// One code as the encoder sends it: low half the code, already shifted left by the number of value
/// bits that follow it; then its length with those bits. `missing` marks symbols without a code:
/// the entries of a block are or-ed together and looked at once.
struct EncodeEntry {
  static constexpr uint64_t missing = uint64_t{1} << 63;
  uint64_t word;
  uint32_t code() const { return uint32_t(word); }
  unsigned length() const { return unsigned(word >> 32) & 0xFF; }
};

struct EncodeSpecLayout {
  /// Rows of 16 by size, columns by run. Size 16 has no AC or DCT meaning and stays without codes,
  /// which refuses values out of range; the lossless category 16 has a row of its own.
  static constexpr int category16 = 17 * 16;
  static constexpr int entries = 18 * 16;
  /// Values of -128 to 127 behind up to 15 zeros have their symbol and value bits together: code in
  /// the high bits, length in the low byte, `missingSmall` where there is no code. Their place is
  /// (zeros + 1) * 256 + value + 128. A value of zero without zeros in front is the symbol 0: a DC
  /// that does not change. The end of a block is a zero in the row before, and what follows is
  /// nothing.
  static constexpr int endPlace = 128;
  static constexpr int nonePlace = 129;
  static constexpr uint32_t missingSmall = 128;
  Kind kind;
  uint32_t reserved;
  uint64_t entry[entries];
  uint32_t smallEntry[17 * 256];
};

inline bool isSmall(int value) { return unsigned(value + 128) < 256; }

/// Place of a small value behind a run of zeros.
inline size_t smallPlace(unsigned run, int value) {
  return size_t{run << 8 | unsigned(value + 128)} + 256;
}

/// The same `step` places behind the one before.
inline size_t smallPlaceAt(size_t step, ptrdiff_t value) {
  return (step << 8) + size_t(value + 128);
}

/// Index of the entry for a run of zeros and the size of the value behind it.
inline unsigned entryIndex(unsigned run, unsigned size) { return size * 16 + run; }

class EncodeTable {
 public:
  explicit EncodeTable(const RkdiEncodeHuffmanSpec* spec)
      : base_(reinterpret_cast<const uint8_t*>(spec)) {}
  EncodeEntry operator[](unsigned index) const {
    return {load<uint64_t>(base_ + offsetof(EncodeSpecLayout, entry) + 8 * size_t{index})};
  }
  uint32_t smallEntry(size_t place) const {
    return load<uint32_t>(base_ + offsetof(EncodeSpecLayout, smallEntry) + 4 * place);
  }

 private:
  const uint8_t* base_;
};

/// What a scan being encoded carries from call to call.
struct EncodeState {
  /// A run is ended when more than this many correction bits wait, so that a further block's 63
  /// always fit.
  static constexpr uint32_t maxCorrections = 937;
  static constexpr int correctionWords = (maxCorrections + 63 + 31) / 32;
  Kind kind;
  uint32_t bitCount;     ///< waiting bits, 0..64
  uint64_t bits;         ///< those bits at the low end, anything above
  uint16_t endOfBand;    ///< blocks in the pending end-of-band run
  uint16_t corrections;  ///< correction bits waiting with it
  /// Those bits in order, the first in the high bit of the first word.
  uint32_t correction[correctionWords];
};

// ---------------------------------------------------------------------------------------------
// Decoder

/// Answer to a look at the next `lookBits` bits: the symbol that begins there, as the lengths of
/// its code and of the value behind it. The next look waits for the sum alone, which the lowest
/// bits hold as shifts want it; the value is worked out beside. All zero: the code is longer, or
/// none. `run` is that of the symbol; one without a value has size 0, and `ends` + r for the symbol
/// r << 4, but for the run of 16 zeros, which is a zero behind 15.
struct DecodeEntry {
  static constexpr unsigned ends = 64;
  uint32_t word;
  unsigned length() const { return word & 63; }
  unsigned run() const { return (word >> 8) & 0xFF; }
  unsigned size() const { return (word >> 16) & 0xFF; }
  unsigned codeLength() const { return word >> 24; }

  /// The value in stream bits that begin with the symbol. The upper half of a size's range is
  /// positive: numbers that begin with a 0 have the size's largest number taken from them.
  int value(uint64_t bits) const {
    const uint64_t at = bits << codeLength();
    const unsigned size = this->size();
    const auto number = unsigned(at >> 1 >> (63 - size));
    const auto isNegative = unsigned(~(int64_t(at) >> 63));
    return int(number - (isNegative & ~(~0u << size)));
  }
};

/// Answer to a look at the coefficients of a sequential block: one symbol with its value, and a
/// second one where it is in the look whole. Eight bytes, which may be read one by one:
///
/// - 0: how many bits the symbols take, `mostBits` at most
/// - 1: by how much they move the zigzag position, and `blockEnd` more if the block ends;
///   `none` if the code is longer than may be here, or the symbol is none of such a block
/// - 2: zeros in front of the first coefficient
/// - 3: by how much stream bits are shifted right to end with the first value
/// - 4, 5: what to add to bits so shifted: the code goes,
///   numbers that begin with a 0 are negative
/// - 6, 7: the second coefficient: its place from the same position on,
///   and its value
///
/// Where there is no second coefficient, one is told in the place of the first, to be stored before
/// it; where there is none at all, the first is a zero in the next place, which is not filled yet.
struct StepEntry {
  static constexpr unsigned mostBits = 18;
  static constexpr unsigned blockEnd = 128, none = 64;
  static constexpr uint64_t noStep = none << 8;
  uint64_t word;
  unsigned length() const { return uint8_t(word); }
  unsigned advance() const { return uint8_t(word >> 8); }
  int16_t firstValue(uint64_t bits, unsigned base) const {
    return int16_t((bits >> ((word >> 24) & 63)) + base);
  }
};

struct DecodeSpecLayout {
  static constexpr int lookBits = 10;
  /// The window of a step. The sign of a value must be in it, so codes are a bit shorter at most. A
  /// larger window takes fewer steps and does not leave room in a first-level cache.
  static constexpr int stepBits = 10;
  Kind kind;
  uint32_t isForDC;  ///< what the steps are for
  uint32_t look[1 << lookBits];
  uint64_t step[1 << stepBits];
  /// Looks at the longest codes: by the last windows of 16 bits, whatever code is in front. That is
  /// where tables, which give no code of ones alone, have the long codes of rare symbols.
  static constexpr uint32_t lastWindows = 1024;
  uint32_t lastLook[lastWindows];
  /// For other long codes, by length: the first 16-bit window above all codes of up to that length,
  /// and what to add to the code to find its symbol.
  uint32_t limit[17];
  int32_t symbolOffset[17];
  uint8_t symbol[256];
};

/// A table of steps that knows none.
extern const std::array<uint64_t, 1 << DecodeSpecLayout::stepBits> kNoSteps;

class DecodeTable {
 public:
  explicit DecodeTable(const RkdiDecodeHuffmanSpec* spec)
      : base_(reinterpret_cast<const uint8_t*>(spec)) {}
  /// The entry for the high bits of `bits`.
  DecodeEntry look(uint64_t bits) const {
    const uint64_t index = bits >> (64 - DecodeSpecLayout::lookBits);
    return {load<uint32_t>(base_ + offsetof(DecodeSpecLayout, look) + 4 * index)};
  }
  /// The entries of steps, by the high bits of what is looked at.
  const uint8_t* acSteps() const { return steps(0); }
  const uint8_t* dcSteps() const { return steps(1); }
  /// The entry of any code, most quickly of one longer than a look; all zero if no code fits.
  DecodeEntry lookFurther(uint64_t bits) const {
    constexpr uint32_t first = (1 << 16) - DecodeSpecLayout::lastWindows;
    const uint64_t window = bits >> 48;
    if (window < first) [[unlikely]]
      return search(bits);
    return {load<uint32_t>(base_ + offsetof(DecodeSpecLayout, lastLook) + 4 * (window - first))};
  }

 private:
  DecodeEntry search(uint64_t bits) const;
  const uint8_t* steps(uint32_t isForDC) const {
    return load<uint32_t>(base_ + offsetof(DecodeSpecLayout, isForDC)) == isForDC
               ? base_ + offsetof(DecodeSpecLayout, step)
               : reinterpret_cast<const uint8_t*>(kNoSteps.data());
  }
  const uint8_t* base_;
};

struct DecodeState {
  Kind kind;
  uint32_t bitCount;   ///< bits read ahead, 0..63
  uint64_t bits;       ///< those bits at the high end, zeros below
  uint32_t endOfBand;  ///< blocks left in the end-of-band run
  uint32_t reached;    ///< how far the last call that failed came
};

/// Members of a state are read and written one by one: a member that was stored alone and is loaded
/// as part of a wider move makes the processor wait for the cache.
#define RKD_STATE_LOAD(State, state, member)               \
  ::rkd::huff::load<decltype(::rkd::huff::State::member)>( \
      reinterpret_cast<const uint8_t*>(state) + offsetof(::rkd::huff::State, member))
#define RKD_STATE_STORE(State, state, member, value)        \
  ::rkd::huff::store<decltype(::rkd::huff::State::member)>( \
      reinterpret_cast<uint8_t*>(state) + offsetof(::rkd::huff::State, member), value)

/// Ends an interval of a scan without a pending end-of-band run: fills the last byte with ones.
RkdStatus flushBits(uint8_t* stream, int length, int* position, RkdiEncodeHuffmanState* state);

/// The same for `count` bits at the low end of `bits`.
RkdStatus flushBits(uint64_t bits, unsigned count, uint8_t* stream, int length, int* position,
                    RkdiEncodeHuffmanState* state);

/// Writes the first `count` bytes of a word with a 0 behind each 0xFF; null if they do not fit.
uint8_t* putStuffed(uint64_t word, int count, uint8_t* to, const uint8_t* end);

// ---------------------------------------------------------------------------------------------
// Argument checks

template <class... Pointers>
inline bool anyNull(const Pointers*... pointers) {
  return ((pointers == nullptr) || ...);
}

inline RkdStatus checkStream(int length, int position) {
  return length > 0 && position >= 0 && position <= length ? rkdStsNoErr : rkdStsSizeErr;
}

/// Of streams whose positions count bits: an int can hold them.
inline RkdStatus checkBits(int length, int position) {
  const bool fits = length > 0 && length < 1 << 28;
  return fits && position >= 0 && position <= 8 * length ? rkdStsNoErr : rkdStsSizeErr;
}

inline bool isPointTransform(int al) { return al >= 0 && al <= 13; }

/// Spectral band and point transform of an AC scan.
struct Band {
  int ss, se, al;
  bool isValid() const { return ss >= 1 && ss <= se && se <= 63 && isPointTransform(al); }
};

}  // namespace rkd::huff
