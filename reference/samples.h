/// @file
/// Samples at any address. Where a T* need not be aligned it must not be used as one; these classes
/// look like T* and T&, and copy bytes.
#pragma once

#include <cstddef>
#include <cstring>
#include <type_traits>

namespace ref {

/// One sample: reads and assigns like a T&.
template <class T>
class Sample {
 public:
  using Value = std::remove_const_t<T>;
  using Byte = std::conditional_t<std::is_const_v<T>, const std::byte, std::byte>;

  explicit Sample(Byte* at) : m_at(at) {}
  Sample(const Sample&) = default;

  // NOLINTNEXTLINE(google-explicit-constructor): as a reference converts
  operator Value() const {
    Value value;
    std::memcpy(&value, m_at, sizeof(Value));
    return value;
  }
  const Sample& operator=(Value value) const {
    std::memcpy(m_at, &value, sizeof(Value));
    return *this;
  }
  const Sample& operator=(const Sample& other) const { return *this = Value(other); }

 private:
  Byte* m_at;
};

/// Samples side by side: made from a T*, indexed like one.
template <class T>
class Samples {
 public:
  // NOLINTNEXTLINE(google-explicit-constructor): stands for the pointer
  Samples(T* first) : m_first(reinterpret_cast<Byte*>(first)) {}

  /// Row y where rows are `step` bytes apart.
  Samples row(int step, int y) const { return Samples(m_first + std::ptrdiff_t{step} * y); }
  Sample<T> operator[](std::ptrdiff_t i) const {
    return Sample<T>(m_first + i * std::ptrdiff_t{sizeof(T)});
  }
  explicit operator bool() const { return m_first != nullptr; }

 private:
  using Byte = typename Sample<T>::Byte;
  explicit Samples(Byte* first) : m_first(first) {}

  Byte* m_first;
};

template <class T>
Samples<T> samples(T* first) {
  return first;
}

/// Row y of an image whose rows are `step` bytes apart; bytes lie anywhere as they are.
template <class T>
auto row(T* base, int step, int y) {
  if constexpr (sizeof(T) == 1) {
    return base + std::ptrdiff_t{step} * y;
  } else {
    return Samples<T>(base).row(step, y);
  }
}

}  // namespace ref
