/// @file
/// Values as bytes, for another process of this program.
#pragma once

#include <cstring>
#include <string>
#include <type_traits>

#include "tzstring.h"

/// A queue of values: whoever takes them out names the same types in the same order.
class tzPacket {
 public:
  tzPacket() = default;
  explicit tzPacket(std::string bytes) : m_bytes(std::move(bytes)) {}

  const std::string& bytes() const { return m_bytes; }
  /// Whether everything taken so far was there. What was not is left as it stood.
  bool good() const { return m_good; }

  template <class T>
  requires std::is_arithmetic_v<T> || std::is_enum_v<T> tzPacket& operator<<(T value) {
    m_bytes.append(reinterpret_cast<const char*>(&value), sizeof value);
    return *this;
  }
  tzPacket& operator<<(const std::string& text);
  tzPacket& operator<<(const tzString& text) { return *this << text.str(); }

  template <class T>
  requires std::is_arithmetic_v<T> || std::is_enum_v<T> tzPacket& operator>>(T& value) {
    if (const char* const bytes = take(sizeof value)) std::memcpy(&value, bytes, sizeof value);
    return *this;
  }
  tzPacket& operator>>(std::string& text);
  tzPacket& operator>>(tzString& text);

 private:
  const char* take(std::size_t length);

  std::string m_bytes;
  std::size_t m_at = 0;
  bool m_good = true;
};
