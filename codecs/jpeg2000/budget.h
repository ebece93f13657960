#pragma once
/// @file
/// Memory that may still be taken, asked before it is.

#include <atomic>
#include <cstdint>
#include <string>

#include "diag.h"

namespace j2k {

/// Threads may take from one; a copy is another one with as much left.
class Budget {
 public:
  explicit Budget(int64_t bytes) : m_left(bytes) {}
  Budget(const Budget& other) : m_left(other.left()) {}
  Budget& operator=(const Budget& other) {
    m_left = other.left();
    return *this;
  }

  void take(int64_t bytes) {
    // What is refused is at no moment taken, or others would be refused for it.
    int64_t left = m_left;
    do {
      if (bytes > left) {
        fail(Diag::memoryLimit, std::to_string((bytes - left + 1048575) >> 20) + " MiB more");
      }
    } while (!m_left.compare_exchange_weak(left, left - bytes));
  }
  void giveBack(int64_t bytes) { m_left += bytes; }
  int64_t left() const { return m_left; }

 private:
  std::atomic<int64_t> m_left;
};

}  // namespace j2k
