#pragma once
/// @file
/// Bits of packet headers: after a byte of ones the next has seven.
/// @see ITU-T T.800, B.10.1

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace j2k {

using ByteSpan = std::span<const uint8_t>;

class BitReader {
 public:
  explicit BitReader(ByteSpan bytes) : m_bytes(bytes) {}

  /// Past the end ones are read, and `ended` holds.
  int bit() {
    if (m_left == 0) fill();
    return (m_current >> --m_left) & 1;
  }
  uint32_t bits(int count) {
    uint32_t value = 0;
    while (count-- > 0) value = value << 1 | uint32_t(bit());
    return value;
  }
  /// Ends the header; a byte that follows a last one of ones belongs to it.
  void align() {
    m_left = 0;
    if (m_current == 0xFF && m_position > 0) {
      ++m_position;
      m_ended |= m_position > m_bytes.size();
    }
  }
  bool ended() const { return m_ended; }
  size_t position() const { return m_position < m_bytes.size() ? m_position : m_bytes.size(); }

 private:
  void fill() {
    m_left = m_current == 0xFF ? 7 : 8;
    m_ended |= m_position >= m_bytes.size();
    m_current = m_ended ? 0xFF : m_bytes[m_position];
    ++m_position;
  }

  ByteSpan m_bytes;
  size_t m_position = 0;
  int m_current = 0;
  int m_left = 0;
  bool m_ended = false;
};

class BitWriter {
 public:
  explicit BitWriter(std::vector<uint8_t>& out) : m_out(out) {}

  void bit(int value) {
    m_current = m_current << 1 | value;
    if (++m_filled == m_room) flush();
  }
  void bits(uint32_t value, int count) {
    while (count-- > 0) bit(int(value >> count & 1));
  }
  void align() {
    while (m_filled > 0) bit(0);
    if (m_room == 7) m_out.push_back(0);
    m_room = 8;
  }

 private:
  void flush() {
    m_out.push_back(uint8_t(m_current));
    m_room = m_current == 0xFF ? 7 : 8;
    m_current = m_filled = 0;
  }

  std::vector<uint8_t>& m_out;
  int m_current = 0;
  int m_filled = 0;
  int m_room = 8;
};

}  // namespace j2k
