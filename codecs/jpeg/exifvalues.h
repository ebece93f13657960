#pragma once
/// @file
/// Numbers of Exif values, in either byte order.

#include "exif.h"

namespace jpeg::exif {

/// The bytes of a number of `size` bytes, most significant last where little-endian.
inline uint64_t getNumber(const uint8_t* bytes, int size, bool isBigEndian) {
  uint64_t value = 0;
  for (int i = 0; i < size; ++i) {
    value = value << 8 | bytes[isBigEndian ? i : size - 1 - i];
  }
  return value;
}
inline void putNumber(uint8_t* bytes, int size, bool isBigEndian, uint64_t value) {
  for (int i = 0; i < size; ++i) {
    bytes[isBigEndian ? size - 1 - i : i] = uint8_t(value >> 8 * i);
  }
}

/// A fraction as it stands; whole numbers have the denominator 1.
struct Fraction {
  int64_t numerator = 0, denominator = 1;
  double value() const { return denominator == 0 ? 0 : double(numerator) / double(denominator); }
};

/// Value `index` of an entry as a fraction or whole number; of floating types see realAt.
Fraction fractionAt(const Entry& entry, uint32_t index, bool isBigEndian);
double realAt(const Entry& entry, uint32_t index, bool isBigEndian);
inline bool isFloating(Type type) { return type == Type::f32 || type == Type::f64; }
inline bool isFraction(Type type) { return type == Type::rational || type == Type::srational; }

/// An entry of these values: whole numbers where its type has no fractions.
Entry makeEntry(uint16_t tag, Type type, std::span<const Fraction> values, bool isBigEndian);
/// An entry of bytes, as text and undefined values have them.
Entry makeEntry(uint16_t tag, Type type, std::string_view bytes);

}  // namespace jpeg::exif
