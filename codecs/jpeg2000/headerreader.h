#pragma once
/// @file
/// Big-endian fields of one marker segment or box; running past its end is told by name.

#include <cstdint>
#include <string>
#include <utility>

#include "base/bytes.h"
#include "bits.h"
#include "diag.h"

namespace j2k {

class HeaderReader {
 public:
  HeaderReader(ByteSpan bytes, std::string name) : m_bytes(bytes), m_name(std::move(name)) {}

  uint32_t u8() { return number<uint8_t>(); }
  uint32_t u16() { return number<uint16_t>(); }
  uint32_t u32() { return number<uint32_t>(); }
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
  template <typename T>
  uint32_t number() {
    return base::loadBytes<T>(take(sizeof(T)).data(), base::ByteOrder::big);
  }

  ByteSpan m_bytes;
  size_t m_position = 0;
  std::string m_name;
};

}  // namespace j2k
