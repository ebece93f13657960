#pragma once
/// @file
/// Entropy-coded data put together from pieces that were coded apart.

#include <cstdint>
#include <span>

#include "entropy.h"

namespace jpeg {

/// What a piece ends with, so that its last bit can be found: a coder only ever gives whole bytes,
/// filled up with ones. A block of zeros behind the piece is codes that are known and hold a zero.
/// @see ITU-T T.81, F.1.2
class EndMark {
 public:
  /// @param dc,ac  tables with a code for no difference and for the end of a block
  EndMark(const HuffmanTable& dc, const HuffmanTable& ac);
  int length() const { return length_; }
  int onesAtEnd() const { return onesAtEnd_; }

 private:
  int length_, onesAtEnd_;
};

/// Writes pieces of a restart interval one behind the other, bit by bit.
class BitJoiner {
 public:
  explicit BitJoiner(Output* output) : output_(output) {}

  /// @param piece  entropy-coded bytes, stuffed, with an end mark and filled up with ones
  Status append(std::span<const uint8_t> piece, const EndMark& mark);
  /// Fills the last byte with ones.
  Status finish();
  /// Behind finish.
  Status restartMarker(int number) { return output_->restartMarker(number); }
  /// What is stuffed and begins and ends with a byte, behind finish.
  Status write(std::span<const uint8_t> bytes) { return output_->write(bytes); }

 private:
  Status appendBytes(std::span<const uint8_t> stuffed);
  void putByte(uint8_t value);
  /// The low `count` bits, 64 at most.
  void put(uint64_t bits, int count);

  Output* output_;
  uint64_t pending_ = 0;  // less than a byte, in its low bits
  int count_ = 0;
};

}  // namespace jpeg
