#pragma once
/// @file
/// A verified run: one performance on the loaded library against the same performance on the plain
/// version, over the same data, and every byte that either could have written compared.

#include <cstddef>
#include <vector>

#include "rktest.h"

class rkVerify {
 public:
  /// The judge that tzTest asks per combination. Data are made anew in the function's stated input
  /// range, and once more as the suite prescribes them before it returns, so that the timing that
  /// follows sees what it would see without a comparison.
  /// @param note  the first difference, in one line: buffer, element, both values
  /// @return TZ_OK, TZ_FUNCFAIL, or TZ_DATAFAIL when data could not be made
  static tzResult verify(tzTest& test, tzString& note);

 private:
  explicit rkVerify(rkTest& test);

  /// Content of one tracked buffer or plain object.
  struct Block {
    unsigned char* data;
    std::size_t size;
    const rkVector* vector;  ///< owner, where it is one
  };
  using Content = std::vector<std::vector<unsigned char>>;

  tzResult compare(tzString& note);
  Content content() const;
  void putBack(const Content& saved) const;
  tzString firstDifference(const Content& expected) const;
  tzString describe(std::size_t block, std::size_t element, double actual, double expected) const;

  rkTest& m_test;
  rkCounters m_counters;
  std::vector<Block> m_blocks;
  std::size_t m_numBuffers = 0;  ///< the blocks before the plain objects
};
