/// @file
/// Integers in bytes of either order, read and written within bounds.
#pragma once

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>
#include <type_traits>
#include <vector>

namespace base {

enum class ByteOrder { little, big };

/// The integer in the sizeof(T) bytes at `bytes`, at any address.
template <std::integral T>
T loadBytes(const uint8_t* bytes, ByteOrder order) {
  using Unsigned = std::make_unsigned_t<T>;
  Unsigned value = 0;
  // Compilers make one load of this, and one exchange of bytes where the order asks for it.
  for (size_t i = 0; i < sizeof(T); ++i) {
    const size_t shift = 8 * (order == ByteOrder::little ? i : sizeof(T) - 1 - i);
    value = static_cast<Unsigned>(value | static_cast<Unsigned>(Unsigned{bytes[i]} << shift));
  }
  return static_cast<T>(value);
}

/// Puts `value` into the sizeof(T) bytes at `bytes`, at any address.
template <std::integral T>
void storeBytes(uint8_t* bytes, T value, ByteOrder order) {
  const auto all = static_cast<std::make_unsigned_t<T>>(value);
  for (size_t i = 0; i < sizeof(T); ++i) {
    const size_t shift = 8 * (order == ByteOrder::little ? i : sizeof(T) - 1 - i);
    bytes[i] = static_cast<uint8_t>(all >> shift);
  }
}

/// Adds the bytes of `value` at the end.
template <std::integral T>
void appendBytes(std::vector<uint8_t>& bytes, T value, ByteOrder order) {
  bytes.resize(bytes.size() + sizeof(T));
  storeBytes(bytes.data() + bytes.size() - sizeof(T), value, order);
}

/// Takes integers off bytes, one after the other. What lies beyond the end reads as 0 and leaves
/// the reader not good for ever; so a header is read whole first and asked for once.
class ByteReader {
 public:
  explicit ByteReader(std::span<const uint8_t> bytes, ByteOrder order = ByteOrder::big)
      : m_bytes(bytes), m_order(order) {}

  bool good() const { return m_good; }
  size_t position() const { return m_position; }
  /// Bytes from the position to the end.
  size_t left() const { return m_bytes.size() - m_position; }
  ByteOrder order() const { return m_order; }

  template <std::integral T>
  T get() {
    return has(sizeof(T)) ? loadBytes<T>(advance(sizeof(T)), m_order) : T{0};
  }
  uint8_t u8() { return get<uint8_t>(); }
  uint16_t u16() { return get<uint16_t>(); }
  uint32_t u32() { return get<uint32_t>(); }
  uint64_t u64() { return get<uint64_t>(); }

  /// The byte at the position, which stays; -1 at the end.
  int peek() const { return left() > 0 ? m_bytes[m_position] : -1; }
  /// The next `count` bytes; none when fewer are left.
  std::span<const uint8_t> take(uint64_t count) {
    if (!has(count)) return {};
    return {advance(static_cast<size_t>(count)), static_cast<size_t>(count)};
  }
  bool skip(uint64_t count) {
    if (has(count)) advance(static_cast<size_t>(count));
    return m_good;
  }
  bool seek(uint64_t position) {
    if (position > m_bytes.size()) return m_good = false;
    m_position = static_cast<size_t>(position);
    return m_good;
  }

 private:
  bool has(uint64_t count) { return m_good = m_good && count <= left(); }
  const uint8_t* advance(size_t count) {
    m_position += count;
    return m_bytes.data() + m_position - count;
  }

  std::span<const uint8_t> m_bytes;
  size_t m_position = 0;
  ByteOrder m_order;
  bool m_good = true;
};

/// Puts integers into a buffer, one after the other. What does not fit is left out whole, with all
/// that follows.
class ByteWriter {
 public:
  explicit ByteWriter(std::span<uint8_t> bytes, ByteOrder order = ByteOrder::big)
      : m_bytes(bytes), m_order(order) {}

  bool good() const { return m_good; }
  size_t position() const { return m_position; }
  size_t left() const { return m_bytes.size() - m_position; }

  template <std::integral T>
  void put(T value) {
    if (has(sizeof(T))) storeBytes(advance(sizeof(T)), value, m_order);
  }
  void u8(uint8_t value) { put(value); }
  void u16(uint16_t value) { put(value); }
  void u32(uint32_t value) { put(value); }
  void u64(uint64_t value) { put(value); }

  void put(std::span<const uint8_t> bytes) {
    if (has(bytes.size()) && !bytes.empty()) {
      std::memcpy(advance(bytes.size()), bytes.data(), bytes.size());
    }
  }

 private:
  bool has(uint64_t count) { return m_good = m_good && count <= left(); }
  uint8_t* advance(size_t count) {
    m_position += count;
    return m_bytes.data() + m_position - count;
  }

  std::span<uint8_t> m_bytes;
  size_t m_position = 0;
  ByteOrder m_order;
  bool m_good = true;
};

}  // namespace base
