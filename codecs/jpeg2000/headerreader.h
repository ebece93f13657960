#pragma once
/// @file
/// Big-endian fields of one marker segment or box; running past its end is told by name.

#include <cstdint>
#include <string>
#include <utility>

#include "bits.h"
#include "diag.h"

namespace j2k {

class HeaderReader {
 public:
  HeaderReader(ByteSpan bytes, std::string name) : m_bytes(bytes), m_name(std::move(name)) {}

  uint32_t u8() { return number(1); }
  uint32_t u16() { return number(2); }
  uint32_t u32() { return number(4); }
  size_t left() const { return m_bytes.size() - m_position; }
  ByteSpan rest() { return take(left()); }
  ByteSpan take(size_t count) {
    if (count > left()) fail(Diag::segmentShort, m_name);
    const ByteSpan taken = m_bytes.subspan(m_position, count);
    m_position += count;
    return taken;
  }
  const std::string& name() const { return m_name; }

 private:
  uint32_t number(size_t count) {
    uint32_t value = 0;
    for (const uint8_t byte : take(count)) value = value << 8 | byte;
    return value;
  }

  ByteSpan m_bytes;
  size_t m_position = 0;
  std::string m_name;
};

}  // namespace j2k
