// Bytes with a position in bits.
#include "rkbitvector.h"

bool rkBitVector::createBitVector(int bytes, int bitPosition) {
  m_bitPosition = 0;
  return createVector(bytes, rkModeZero) && setBitPosition(bitPosition);
}

bool rkBitVector::setBitPosition(long long position) {
  if (position < 0 || position > numBits()) return false;
  m_bitPosition = position;
  return true;
}

uint8_t* rkBitVector::bytePointer() const {
  return isCreated() ? data8u() + m_bitPosition / 8 : nullptr;
}

tzString rkBitVector::objectInfo() const {
  tzString text = rkVector::objectInfo();
  return text << ", at bit " << m_bitPosition;
}
