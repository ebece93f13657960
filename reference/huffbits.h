// Bits in and out of a stream for the plain Huffman coders.
#pragma once

#include <algorithm>
#include <cstdlib>
#include <vector>

#include "ref_huffman.h"
#include "samples.h"

namespace ref::huff {

constexpr int zigzag[64] = {0,  1,  8,  16, 9,  2,  3,  10, 17, 24, 32, 25, 18, 11, 4,  5,
                            12, 19, 26, 33, 40, 48, 41, 34, 27, 20, 13, 6,  7,  14, 21, 28,
                            35, 42, 49, 56, 57, 50, 43, 36, 29, 22, 15, 23, 30, 37, 44, 51,
                            58, 59, 52, 45, 38, 31, 39, 46, 53, 60, 61, 54, 47, 55, 62, 63};

/// Leaves a function with a status; the objects that belong to the caller are as before.
struct Fault {
  RkdStatus status;
};

template <class Work>
RkdStatus guarded(const Work& work) {
  try {
    work();
    return rkdStsNoErr;
  } catch (const Fault& fault) {
    return fault.status;
  }
}

/// Category of a difference or coefficient (F.1.2.1.1).
inline int category(int value) {
  int size = 0;
  for (int magnitude = std::abs(value); magnitude != 0; magnitude >>= 1) ++size;
  return size;
}

using Bits = std::vector<uint8_t>;

inline void append(Bits* out, uint32_t value, int count) {
  for (int i = count - 1; i >= 0; --i) out->push_back(uint8_t(value >> i & 1));
}

inline void count(Samples<int> statistics, int symbol) {
  const Sample<int> of = statistics[symbol];
  of = of + 1;
}

/// Where symbols go: into bits by a table, or into counts.
class Output {
 public:
  explicit Output(const RkdiEncodeHuffmanSpec* spec) : spec_(spec) {}
  explicit Output(Samples<int> statistics) : statistics_(statistics) {}

  void symbol(int s) {
    if (spec_ == nullptr) return count(statistics_, s);
    if (spec_->length[s] == 0) throw Fault{rkdStsCoefRangeErr};
    append(&bits, spec_->code[s], spec_->length[s]);
  }
  /// A symbol and the value bits of its category, which is its low half.
  void valueSymbol(int run, int value) {
    const int size = category(value);
    if (size > 15) throw Fault{rkdStsCoefRangeErr};
    symbol(run << 4 | size);
    append(&bits, uint32_t(value < 0 ? value - 1 : value), size);
  }
  /// A difference of the lossless process: category 16 has no bits (H.1.2.2).
  void lossless(int value) {
    if (category(value) == 16) {
      symbol(16);
    } else {
      valueSymbol(0, value);
    }
  }
  void rawBit(int bit) { bits.push_back(uint8_t(bit)); }

  Bits bits;

 private:
  const RkdiEncodeHuffmanSpec* spec_ = nullptr;
  Samples<int> statistics_ = nullptr;
};

/// Writes the first `count` bits, whole bytes with stuffing.
inline void write(const Bits& bits, size_t count, uint8_t* stream, int length, int* position) {
  int end = *position;
  for (size_t at = 0; at < count; at += 8) {
    int byte = 0;
    for (size_t i = 0; i < 8; ++i) byte = byte << 1 | bits[at + i];
    if (length - end < (byte == 0xFF ? 2 : 1)) throw Fault{rkdStsDstFullErr};
    stream[end++] = uint8_t(byte);
    if (byte == 0xFF) stream[end++] = 0;
  }
  *position = end;
}

/// Hands bits to the stream, eight bytes at a time; up to 64 bits wait in the state.
inline void send(const Bits& bits, uint8_t* stream, int length, int* position,
                 RkdiEncodeHuffmanState* state) {
  Bits all(state->waiting, state->waiting + state->waitingCount);
  all.insert(all.end(), bits.begin(), bits.end());
  const size_t sent = all.empty() ? 0 : (all.size() - 1) / 64 * 64;
  write(all, sent, stream, length, position);
  state->waitingCount = int(all.size() - sent);
  std::copy(all.begin() + long(sent), all.end(), state->waiting);
}

/// Ends an interval after `bits`.
inline void finish(const Bits& bits, uint8_t* stream, int length, int* position,
                   RkdiEncodeHuffmanState* state) {
  Bits all(state->waiting, state->waiting + state->waitingCount);
  all.insert(all.end(), bits.begin(), bits.end());
  while (all.size() % 8 != 0) all.push_back(1);
  write(all, all.size(), stream, length, position);
  *state = {};
}

/// Bits of a stream, read ahead into the state. Works on a copy; commit() hands it back.
class Input {
 public:
  Input(const uint8_t* stream, int length, int position, const RkdiDecodeHuffmanState& state,
        bool isStuffed = true)
      : stream_(stream),
        length_(length),
        position_(position),
        isStuffed_(isStuffed),
        state_(state) {}

  int bit() {
    if (state_.aheadCount == 0 && !takeByte()) throw Fault{rkdStsSrcEndErr};
    const int next = state_.ahead[0];
    std::copy(state_.ahead + 1, state_.ahead + state_.aheadCount, state_.ahead);
    --state_.aheadCount;
    ++taken_;
    return next;
  }
  int bits(int count) {
    int value = 0;
    for (int i = 0; i < count; ++i) value = value << 1 | bit();
    return value;
  }
  /// DECODE of F.2.2.3.
  int symbol(const RkdiDecodeHuffmanSpec* spec) {
    int code = 0;
    for (int length = 1; length <= 16; ++length) {
      code = code << 1 | bit();
      if (code <= spec->maxCode[length]) {
        return spec->symbol[spec->first[length] + code - spec->minCode[length]];
      }
    }
    throw Fault{rkdStsHuffCodeErr};
  }
  /// RECEIVE and EXTEND of F.2.2.1.
  int value(int size) {
    if (size == 0) return 0;
    const int received = bits(size);
    return received >> (size - 1) != 0 ? received : received - (1 << size) + 1;
  }
  int dcDifference(const RkdiDecodeHuffmanSpec* spec) {
    const int s = symbol(spec);
    const int difference = value(s & 15);
    if (s > 15) throw Fault{rkdStsDataErr};
    return difference;
  }
  int lossless(const RkdiDecodeHuffmanSpec* spec) {
    const int s = symbol(spec);
    const int difference = value(s & 15);
    if (s > 16) throw Fault{rkdStsDataErr};
    return s == 16 ? -32768 : difference;
  }

  int taken() const { return taken_; }
  int& endOfBand() { return state_.endOfBand; }

  void commit(int* position, int* marker, RkdiDecodeHuffmanState* state) {
    while (state_.aheadCount + 8 <= 63 && takeByte()) {
    }
    const bool stopped = state_.aheadCount + 8 <= 63 && position_ + 1 < length_;
    if (marker != nullptr) *marker = stopped ? stream_[position_ + 1] : 0;
    *position = position_;
    *state = state_;
  }

 private:
  /// One byte of data; false in front of a marker and at the end.
  bool takeByte() {
    if (position_ == length_) return false;
    const int byte = stream_[position_];
    if (isStuffed_ && byte == 0xFF) {
      int code = position_ + 1;
      while (code < length_ && stream_[code] == 0xFF) ++code;
      if (code == length_) return false;
      position_ = code - 1;
      if (stream_[code] != 0) return false;
      ++position_;
    }
    ++position_;
    for (int i = 7; i >= 0; --i) state_.ahead[state_.aheadCount++] = uint8_t(byte >> i & 1);
    return true;
  }

  const uint8_t* stream_;
  int length_;
  int position_;
  bool isStuffed_;
  int taken_ = 0;
  RkdiDecodeHuffmanState state_;
};

}  // namespace ref::huff
