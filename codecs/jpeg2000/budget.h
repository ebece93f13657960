#pragma once
/// @file
/// Memory that may still be taken, asked before it is.

#include <cstdint>
#include <string>

#include "diag.h"

namespace j2k {

class Budget {
 public:
  explicit Budget(int64_t bytes) : m_left(bytes) {}
  void take(int64_t bytes) {
    if (bytes > m_left) {
      fail(Diag::memoryLimit, std::to_string((bytes - m_left + 1048575) >> 20) + " MiB more");
    }
    m_left -= bytes;
  }
  void giveBack(int64_t bytes) { m_left += bytes; }
  int64_t left() const { return m_left; }

 private:
  int64_t m_left;
};

}  // namespace j2k
