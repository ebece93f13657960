#pragma once
/// @file
/// Large pieces of memory that are about to be written to.

#include <cstddef>
#include <cstdlib>
#include <memory>
#include <new>
#include <utility>

namespace j2k {

/// BYTES of a page that is large.
constexpr size_t largePage = size_t(1) << 21;

/// A piece of memory of any contents, for std::free. It lies in large pages where the system has
/// some: taking thousands of small ones costs as much as transforming what is in them.
/// @throws std::bad_alloc
void* takeLargePages(size_t bytes);

/// An allocator of elements that are not set: what is about to be written need not be in memory
/// before. Large pieces lie in large pages. For containers, which never ask for more than memory
/// can hold.
template <typename T>
struct Uninitialised : std::allocator<T> {
  template <typename U>
  struct rebind {
    using other = Uninitialised<U>;
  };
  T* allocate(size_t count) {
    if (!isLarge(count)) return std::allocator<T>::allocate(count);
    return static_cast<T*>(takeLargePages(count * sizeof(T)));
  }
  void deallocate(T* memory, size_t count) {
    if (!isLarge(count)) return std::allocator<T>::deallocate(memory, count);
    std::free(memory);
  }
  template <typename U, typename... Arguments>
  void construct(U* at, Arguments&&... arguments) {
    if constexpr (sizeof...(Arguments) == 0) {
      ::new (static_cast<void*>(at)) U;
    } else {
      ::new (static_cast<void*>(at)) U(std::forward<Arguments>(arguments)...);
    }
  }

 private:
  static bool isLarge(size_t count) { return count >= 2 * largePage / sizeof(T); }
};

}  // namespace j2k
