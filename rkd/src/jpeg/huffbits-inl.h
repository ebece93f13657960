// Bit writer and bit reader of the entropy coders, compiled per level with the coders.
#if defined(RKD_HUFFBITS_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef RKD_HUFFBITS_INL_H_
#undef RKD_HUFFBITS_INL_H_
#else
#define RKD_HUFFBITS_INL_H_
#endif

#include <algorithm>

#include "common/zigzag-inl.h"
#include "jpeg/huffman.h"

HWY_BEFORE_NAMESPACE();
RKD_PUSH_LZCNT
namespace rkd::HWY_NAMESPACE {
using namespace huff;

/// True if one of the eight bytes is 0xFF.
HWY_INLINE bool hasFF(uint64_t bytes) {
  return ((~bytes - 0x0101010101010101u) & bytes & 0x8080808080808080u) != 0;
}

// ---------------------------------------------------------------------------------------------
// Writing

/// Collects bits and hands them to the stream eight bytes at a time. `isStuffed`: a 0 follows every
/// 0xFF. Never writes at or behind the end: what does not fit makes the writer full.
template <bool isStuffed>
class BitWriter {
 public:
  BitWriter(uint64_t waiting, unsigned count, uint8_t* out, const uint8_t* end)
      : bits_(waiting), free_(64 - int(count)), out_(out), end_(end) {}

  /// Appends a number of bits, 0..63, that has no more. Their count is in the low six bits of
  /// `length`: shifts look at no more.
  HWY_INLINE void put(uint64_t bits, unsigned length) { putExactly(bits, length & 63); }
  /// The same where `length` has nothing else. (Of what takes 64 bits and more something is sent.)
  HWY_INLINE void putExactly(uint64_t bits, unsigned length) {
    free_ -= int(length);
    if (HWY_LIKELY(free_ >= 0)) {
      bits_ = bits_ << (length & 63) | bits;
      return;
    }
    int free = free_;
    // Computed from the result, so that what was free before need not be kept for it.
    asm("" : "+r"(free));
    const unsigned over = unsigned(-free);
    send(bits_ << ((length - over) & 63) | bits >> (over & 63));
    bits_ = bits;  // what has been sent stays above the waiting bits
    free_ = free + 64;
  }
  /// The same for 0..63 bits.
  HWY_INLINE void putMany(uint64_t bits, unsigned length) {
    if (length > 32) {
      length -= 32;
      put(bits >> 32, length);
      bits = uint32_t(bits);
      length = 32;
    }
    put(bits, length);
  }

  bool isFull() const { return isFull_; }
  uint8_t* out() const { return out_; }
  unsigned waitingCount() const { return unsigned(64 - free_); }
  uint64_t waiting() const { return bits_; }

 private:
  HWY_INLINE void send(uint64_t word) {
    if (HWY_LIKELY(end_ - out_ >= 8 && !(isStuffed && hasFF(word)))) {
      storeBits(out_, word);
      out_ += 8;
      return;
    }
    // Nothing out of line takes the writer's address: its members can stay in registers.
    uint8_t* const behind = isStuffed ? putStuffed(word, 8, out_, end_) : nullptr;
    if (behind != nullptr) {
      out_ = behind;
    } else {
      isFull_ = true;
    }
  }

  uint64_t bits_;  // at the low end
  int free_;       // 64 less their number
  bool isFull_ = false;
  uint8_t* out_;
  const uint8_t* end_;
};

/// A writer that goes on where a state has stopped, and the way back on success.
class StateWriter : public BitWriter<true> {
 public:
  StateWriter(uint8_t* stream, int length, int position, const RkdiEncodeHuffmanState* state)
      : BitWriter<true>(RKD_STATE_LOAD(EncodeState, state, bits),
                        RKD_STATE_LOAD(EncodeState, state, bitCount), stream + position,
                        stream + length) {}

  HWY_INLINE RkdStatus commit(uint8_t* stream, int* position, RkdiEncodeHuffmanState* state) const {
    if (HWY_UNLIKELY(isFull())) return rkdStsDstFullErr;
    *position = int(out() - stream);
    RKD_STATE_STORE(EncodeState, state, bits, waiting());
    RKD_STATE_STORE(EncodeState, state, bitCount, waitingCount());
    return rkdStsNoErr;
  }
};

/// Size category of a value and the bits that follow its code.
struct Magnitude {
  explicit Magnitude(int value) {
    const int sign = value >> 31;
    size = 32 - unsigned(__builtin_clz(unsigned((value ^ sign) - sign) | 1)) - (value == 0);
    bits = unsigned(value + sign) & ~(~0u << size);
  }
  unsigned size;
  unsigned bits;
};

/// The same for a value that is not zero: a few operations less in the AC loop.
struct NonZeroMagnitude {
  explicit NonZeroMagnitude(int value) {
    const int sign = value >> 31;
    size = 32 - unsigned(__builtin_clz(unsigned((value ^ sign) - sign)));
    bits = unsigned(value + sign) & ~(~0u << size);
  }
  unsigned size;
  unsigned bits;
};

/// Writes a difference of the lossless process; returns the entry used.
template <class Writer>
HWY_INLINE uint64_t putDifference(int value, EncodeTable table, Writer* writer) {
  const Magnitude magnitude(value);
  const bool lone = magnitude.size == 16;
  const EncodeEntry entry =
      table[lone ? unsigned(EncodeSpecLayout::category16) : entryIndex(0, magnitude.size)];
  writer->put(entry.code() | (lone ? 0 : magnitude.bits), entry.length());
  return entry.word;
}

// ---------------------------------------------------------------------------------------------
// Reading

/// Up to 63 bits of a stream, the next one in the high bit. Bits that the stream does not have read
/// as zeros and make the count negative: one look at the end of a block replaces a check a symbol.
template <bool isStuffed>
class BitReader {
 public:
  BitReader(uint64_t bits, int count, const uint8_t* next, const uint8_t* end)
      : bits_(bits), count_(count), next_(next), end_(end) {}

  uint64_t bits() const { return bits_; }
  int count() const { return count_; }
  const uint8_t* next() const { return next_; }
  const uint8_t* end() const { return end_; }
  bool isOverrun() const { return count_ < 0; }

  /// Takes more in unless `count` bits are there.
  HWY_INLINE void need(int count) {
    if (unsigned(count_) < unsigned(count)) fill();
  }
  /// Enough for one symbol with its value: 16 + 15 bits.
  HWY_INLINE void need32() { need(32); }

  /// Takes in whole bytes as 63 bits allow: as many as there are in front of a marker or the end.
  /// Not for an overrun reader.
  HWY_INLINE void fill() {
    if (HWY_LIKELY(end_ - next_ >= 8)) {
      const int bytes = (63 - count_) >> 3;
      const uint64_t more = loadBits(next_) & ~(~uint64_t{0} >> (8 * bytes));
      if (HWY_LIKELY(!isStuffed || !hasFF(more))) {
        bits_ |= more >> count_;
        count_ += 8 * bytes;
        next_ += bytes;
        return;
      }
    }
    // Out of line on copies, so that the members of a coder's reader can stay in registers.
    uint64_t bits = bits_;
    int count = count_;
    next_ = fillBytewise(&bits, &count, next_, end_);
    bits_ = bits;
    count_ = count;
  }

  /// The number of bits in the low six bits of `count`: shifts look at no more.
  HWY_INLINE void skip(unsigned count) {
    bits_ <<= count & 63;
    count_ -= int(count & 63);
  }
  /// The same with the number told twice: the shift, which the next look waits for, then does not
  /// wait for its low bits to be singled out.
  HWY_INLINE void skip(unsigned shift, unsigned count) {
    bits_ <<= shift & 63;
    count_ -= int(count);
  }
  /// 1..32 bits.
  HWY_INLINE uint32_t take(unsigned count) {
    const uint32_t taken = uint32_t(bits_ >> (64 - count));
    skip(count);
    return taken;
  }
  /// 0..63 bits, filling up as needed.
  HWY_INLINE uint64_t takeMany(unsigned count) {
    uint64_t taken = 0;
    if (count > 32) {
      need32();
      taken = uint64_t{take(32)};
      count -= 32;
    }
    if (count == 0) return taken;
    need32();
    return taken << count | take(count);
  }

  /// After fill(): the code of the marker that kept it from taking more in, or 0.
  int marker() const {
    const bool stopped = isStuffed && count_ < 56 && end_ - next_ >= 2;
    return stopped && next_[0] == 0xFF ? next_[1] : 0;
  }

 private:
  HWY_NOINLINE static const uint8_t* fillBytewise(uint64_t* bits, int* count, const uint8_t* next,
                                                  const uint8_t* end) {
    for (; *count < 56 && next != end; ++next) {
      const uint64_t byte = *next;
      if (isStuffed && byte == 0xFF) {
        const uint8_t* code = next + 1;
        while (code != end && *code == 0xFF) ++code;  // fill bytes
        if (code == end) break;
        next = code - 1;
        if (*code != 0) break;
        ++next;
      }
      *bits |= byte << (56 - *count);
      *count += 8;
    }
    return next;
  }

  uint64_t bits_;
  int count_;
  const uint8_t* next_;
  const uint8_t* end_;
};

/// A symbol with its value, taken from the stream; `entry.word` is 0 if the bits are no code, and
/// nothing taken.
struct Symbol {
  DecodeEntry entry;
  int value;
};

/// Needs 32 bits or all that there are.
template <class Reader>
HWY_INLINE Symbol nextSymbol(Reader& reader, DecodeTable table) {
  const uint64_t bits = reader.bits();
  DecodeEntry entry = table.look(bits);
  if (HWY_UNLIKELY(entry.word == 0)) entry = table.lookFurther(bits);
  reader.skip(entry.word, entry.codeLength() + entry.size());
  return {entry, entry.value(bits)};
}

/// Why the bits are no code: they may just have ended.
template <class Reader>
HWY_INLINE RkdStatus codeStatus(const Reader& reader) {
  return reader.count() < 16 ? rkdStsSrcEndErr : rkdStsHuffCodeErr;
}

/// A symbol read as a DC difference of a DCT process: categories 0 to 15.
HWY_INLINE bool isDctDifference(Symbol symbol) {
  return (symbol.entry.run() & ~DecodeEntry::ends) == 0;
}
/// As a lossless difference: those, or category 16 without bits.
HWY_INLINE bool isDifference(Symbol symbol) {
  return isDctDifference(symbol) || symbol.entry.run() == DecodeEntry::ends + 1;
}
HWY_INLINE int differenceOf(Symbol symbol) {
  return symbol.entry.run() == DecodeEntry::ends + 1 ? INT16_MIN : symbol.value;
}

/// Reads the AC coefficients of a band one by one as long as there are whole ones, up to the fault
/// that has ended a faster reading; the rest of the band becomes zeros. Returns the place behind
/// the last one.
template <class Reader>
HWY_INLINE unsigned takeWholeOnes(Reader& reader, int16_t* dst, DecodeTable table, unsigned first,
                                  unsigned last, int al) {
  for (unsigned k = first; k <= last; ++k) dst[zigzag[k]] = 0;
  unsigned reached = first;
  while (reached <= last) {
    reader.need32();
    const Symbol symbol = nextSymbol(reader, table);
    const unsigned k = reached + symbol.entry.run();
    if (symbol.entry.word == 0 || reader.isOverrun() || k > last) break;
    dst[zigzag[k]] = int16_t(unsigned(symbol.value) << al);
    reached = k + 1;
  }
  return reached;
}

/// A reader that goes on where a state has stopped, and the way back on success.
class StateReader : public BitReader<true> {
 public:
  using BitReader<true>::BitReader;
  StateReader(const uint8_t* stream, int length, int position, const RkdiDecodeHuffmanState* state)
      : BitReader<true>(RKD_STATE_LOAD(DecodeState, state, bits),
                        int(RKD_STATE_LOAD(DecodeState, state, bitCount)), stream + position,
                        stream + length) {}

  /// Reads ahead, then hands over position, marker and state; refuses if the stream ended early.
  HWY_INLINE RkdStatus commit(const uint8_t* stream, int* position, int* marker,
                              RkdiDecodeHuffmanState* state) {
    if (HWY_UNLIKELY(isOverrun())) return rkdStsSrcEndErr;
    fill();
    if (marker != nullptr) *marker = this->marker();
    *position = int(next() - stream);
    RKD_STATE_STORE(DecodeState, state, bits, bits());
    RKD_STATE_STORE(DecodeState, state, bitCount, uint32_t(count()));
    return rkdStsNoErr;
  }
};

}  // namespace rkd::HWY_NAMESPACE
RKD_POP_LZCNT
HWY_AFTER_NAMESPACE();

#endif  // per-target include guard
