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

/// Collects bits in scratch memory without looking at them: a store a symbol, no branch. Scratch
/// needs 8 bytes more than the bits fill.
class BitWriter {
 public:
  BitWriter(uint8_t* scratch, uint32_t waiting, unsigned waitingCount)
      : bits_((uint64_t{waiting} << 1 << (63 - waitingCount))),
        count_(waitingCount),
        out_(scratch) {}

  /// Appends the low `length` bits, 1..57, of a number that has no more.
  HWY_INLINE void put(uint64_t bits, unsigned length) {
    count_ += length;
    bits_ |= bits << (64 - count_);
    storeBits(out_, bits_);
    out_ += count_ >> 3;
    bits_ <<= count_ & 56;
    count_ &= 7;
  }
  /// The same for 0..63 bits.
  HWY_INLINE void putMany(uint64_t bits, unsigned length) {
    if (length > 32) {
      length -= 32;
      put(bits >> 32, length);
      bits = uint32_t(bits);
      length = 32;
    }
    if (length > 0) put(bits, length);
  }

  /// Bytes complete, and the bits of the next one.
  uint8_t* end() const { return out_; }
  unsigned waitingCount() const { return count_; }
  uint32_t waiting() const { return uint32_t(bits_ >> 1 >> (63 - count_)); }

 private:
  uint64_t bits_;  // at the high end
  unsigned count_;
  uint8_t* out_;
};

struct Stuffed {
  bool fits;
  int end;
};

/// Copies `count` bytes to stream[position...], a 0 behind each 0xFF. Reads up to 8 bytes of
/// scratch behind them; writes nothing at or behind `length` or behind the copied bytes.
HWY_INLINE Stuffed copyStuffed(const uint8_t* from, int count, uint8_t* stream, int length,
                               int position) {
  while (count > 0) {
    const int part = std::min(count, 8);
    const uint64_t mask = ~uint64_t{0} << (64 - 8 * part);
    const uint64_t bytes = loadBits(from) & mask;
    if (HWY_LIKELY(!hasFF(bytes) && length - position >= 8)) {
      storeBits(stream + position, bytes | (loadBits(stream + position) & ~mask));
      position += part;
    } else {
      for (int i = 0; i < part; ++i) {
        const bool stuff = from[i] == 0xFF;
        if (length - position < 1 + int(stuff)) return {false, position};
        stream[position++] = from[i];
        if (stuff) stream[position++] = 0;
      }
    }
    from += part;
    count -= part;
  }
  return {true, position};
}

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
HWY_INLINE uint64_t putDifference(int value, const EncodeTable& table, BitWriter* writer) {
  const Magnitude magnitude(value);
  const bool lone = magnitude.size == 16;
  const EncodeEntry entry =
      table[lone ? unsigned(EncodeSpecLayout::category16) : entryIndex(0, magnitude.size)];
  writer->put(entry.code() | (lone ? 0 : magnitude.bits), entry.length());
  return entry.word;
}

/// Hands a writer's bytes to the stream, then position and waiting bits to their owners.
HWY_INLINE RkdStatus commit(const BitWriter& writer, const uint8_t* scratch, uint8_t* stream,
                            int length, int* position, EncodeState* head,
                            RkdiEncodeHuffmanState* state) {
  const Stuffed stuffed =
      copyStuffed(scratch, int(writer.end() - scratch), stream, length, *position);
  if (HWY_UNLIKELY(!stuffed.fits)) return rkdStsDstFullErr;
  *position = stuffed.end;
  head->bits = writer.waiting();
  head->bitCount = writer.waitingCount();
  store(state, *head);
  return rkdStsNoErr;
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
  bool isOverrun() const { return count_ < 0; }

  /// Enough for one symbol with its value: 16 + 15 bits.
  HWY_INLINE void need32() {
    if (unsigned(count_) < 32) fill();
  }

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
    *this = filledBytewise(*this);
  }

  HWY_INLINE void skip(unsigned count) {
    bits_ <<= count;
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
  /// Out of line and by value, so that the reader of a coder's loop can stay in registers.
  HWY_NOINLINE static BitReader filledBytewise(BitReader reader) {
    while (reader.count_ < 56 && reader.next_ != reader.end_) {
      const uint64_t byte = *reader.next_;
      if (isStuffed && byte == 0xFF) {
        const uint8_t* code = reader.next_ + 1;
        while (code != reader.end_ && *code == 0xFF) ++code;  // fill bytes
        if (code == reader.end_) break;
        reader.next_ = code - 1;
        if (*code != 0) break;
        ++reader.next_;
      }
      ++reader.next_;
      reader.bits_ |= byte << (56 - reader.count_);
      reader.count_ += 8;
    }
    return reader;
  }

  uint64_t bits_;
  int count_;
  const uint8_t* next_;
  const uint8_t* end_;
};

/// An entry with run and value final and all its bits taken; word 0 if the bits are no code. A
/// failed look takes nothing. Needs 32 bits or all that there are.
template <class Reader>
HWY_INLINE DecodeEntry nextSymbol(Reader& reader, const DecodeTable& table) {
  const DecodeEntry entry = table.look(reader.bits());
  if (HWY_LIKELY(entry.length() != 0)) {
    reader.skip(entry.length());
    return entry;
  }
  const DecodeEntry whole = wholeEntry(reader.bits(), entry, table);
  reader.skip(whole.length());
  return whole;
}

/// Why the bits are no code: they may just have ended.
template <class Reader>
HWY_INLINE RkdStatus codeStatus(const Reader& reader) {
  return reader.count() < 16 ? rkdStsSrcEndErr : rkdStsHuffCodeErr;
}

/// An entry read as a DC difference of a DCT process: categories 0 to 15.
HWY_INLINE bool isDctDifference(DecodeEntry entry) {
  return (entry.run() & ~unsigned{DecodeEntry::ends}) == 0;
}
/// Entries read as a lossless difference: categories 0 to 15, or the category 16 without bits.
HWY_INLINE bool isDifference(DecodeEntry entry) {
  return isDctDifference(entry) || entry.run() == DecodeEntry::ends + 1;
}
HWY_INLINE int differenceOf(DecodeEntry entry) {
  return entry.run() == DecodeEntry::ends + 1 ? INT16_MIN : entry.value();
}

/// A decoder's reader with what its state keeps, and the way back on success.
class StateReader : public BitReader<true> {
 public:
  StateReader(const uint8_t* stream, int length, int position, const DecodeState& state)
      : BitReader<true>(state.bits, int(state.bitCount), stream + position, stream + length) {}

  /// Reads ahead, then hands over position, marker and state; refuses if the stream ended early.
  HWY_INLINE RkdStatus commit(const uint8_t* stream, int* position, int* marker, uint32_t endOfBand,
                              RkdiDecodeHuffmanState* state) {
    if (HWY_UNLIKELY(isOverrun())) return rkdStsSrcEndErr;
    fill();
    if (marker != nullptr) *marker = this->marker();
    *position = int(next() - stream);
    store(state, DecodeState{Kind::decodeState, uint32_t(count()), bits(), endOfBand, 0});
    return rkdStsNoErr;
  }
};

}  // namespace rkd::HWY_NAMESPACE
RKD_POP_LZCNT
HWY_AFTER_NAMESPACE();

#endif  // per-target include guard
