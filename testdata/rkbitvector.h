/// @file
/// A stream of bits in a byte vector.
#pragma once

#include "rkvector.h"

/// Bytes with a position in bits, as the entropy coders need them.
class rkBitVector : public rkVector {
 public:
  rkBitVector() { init(rk8u); }

  /// Allocates `bytes` bytes, all 0, and goes to bit `bitPosition`.
  /// @return false as createVector, and for a position outside the stream
  bool createBitVector(int bytes, int bitPosition = 0);

  /// Bits from the start of the data.
  long long bitPosition() const { return m_bitPosition; }
  /// @return false outside the stream (its end belongs to it), and the position stays
  bool setBitPosition(long long position);
  long long numBits() const { return 8LL * length(); }

  /// The byte that holds the current bit, and that bit's place in it: 0 the most significant.
  /// @{
  uint8_t* bytePointer() const;
  int bitInByte() const { return int(m_bitPosition & 7); }
  /// @}

  tzString objectInfo() const override;

 private:
  long long m_bitPosition = 0;
};
