/// @file
/// Owners of the library's opaque objects, whichever implementation they belong to: the functions
/// that make and free them are handed over, so nothing of any library is known here.
#pragma once

#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

namespace base {

/// An object that an InitAlloc function makes and a Free function frees:
/// `Made<State, &libraryStateFree> state; state.make(libraryStateInitAlloc, bits, values);`
template <class T, auto Free>
class Made {
 public:
  Made() = default;
  Made(Made&& other) noexcept : m_object(std::exchange(other.m_object, nullptr)) {}
  Made& operator=(Made&& other) noexcept {
    std::swap(m_object, other.m_object);
    return *this;
  }
  Made(const Made&) = delete;
  Made& operator=(const Made&) = delete;
  ~Made() { reset(); }

  /// Makes the object anew; the one before is freed.
  /// @return what `initAlloc(arguments..., &object)` returns; there is no object after an error
  template <class InitAlloc, class... Arguments>
  auto make(InitAlloc initAlloc, Arguments... arguments) {
    reset();
    return initAlloc(arguments..., &m_object);
  }
  void reset() {
    if (m_object != nullptr) static_cast<void>(Free(std::exchange(m_object, nullptr)));
  }
  T* get() const { return m_object; }
  /// For calls that take the object.
  operator T*() const { return m_object; }

 private:
  T* m_object = nullptr;
};

/// An object in memory of the size that a GetBufSize function tells, where an Init function makes
/// it: a copy of the memory is a copy of the object. It lies `Offset` bytes behind an aligned
/// address.
template <class T, size_t Offset = 0>
class Placed {
 public:
  /// @return the first status that is an error, of `getBufSize(&bytes)` and of
  ///         `init(arguments..., object)`
  template <class GetBufSize, class Init, class... Arguments>
  auto make(GetBufSize getBufSize, Init init, Arguments... arguments) {
    int bytes = 0;
    const auto status = getBufSize(&bytes);
    if (status < 0) return status;
    m_bytes = static_cast<size_t>(bytes);
    m_memory.assign((m_bytes + Offset + sizeof(uint64_t) - 1) / sizeof(uint64_t), 0);
    return init(arguments..., get());
  }
  T* get() { return reinterpret_cast<T*>(data()); }
  const T* get() const { return const_cast<Placed*>(this)->get(); }
  uint8_t* data() { return reinterpret_cast<uint8_t*>(m_memory.data()) + Offset; }
  size_t size() const { return m_bytes; }
  bool operator==(const Placed&) const = default;

 private:
  std::vector<uint64_t> m_memory;
  size_t m_bytes = 0;
};

}  // namespace base
