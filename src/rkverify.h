#pragma once
/// @file
/// A verified run: one performance on the loaded library against the same performance on the plain
/// version, over the same data, and every byte that either could have written compared. First at
/// the sizes of the run, then at sizes that no vector divides, between pages that must not be
/// touched.

#include <cstddef>
#include <vector>

#include "rkguard.h"
#include "rktest.h"

class rkVerify {
 public:
  /// The judge that tzTest asks per combination. Data are made anew in the function's stated input
  /// range, and once more as the suite prescribes them before it returns, so that the timing that
  /// follows sees what it would see without a comparison.
  /// @param note  the first difference, in one line: size (where it is none of the run), buffer,
  ///              element, both values; or the forbidden access
  /// @return TZ_OK, TZ_FUNCFAIL, TZ_EXCPTFAIL, or TZ_DATAFAIL when data could not be made
  static tzResult verify(tzTest& test, tzString& note);

 private:
  explicit rkVerify(rkTest& test) : m_test(test) {}

  bool remake(bool verifying);
  tzResult compareOnce(tzString& note);
  tzResult compareAtOwnSizes(tzString& note);
  template <class T, std::size_t N>
  tzResult compareAt(tzDefault_NSC<T>& parm, const T (&values)[N], tzString& note);
  tzResult compareBetweenGuards(rkGuard::Side side, tzString& note);
  bool isFirstWithTheseParms() const;

  rkTest& m_test;
};

/// Both performances over the data that are made, and what they left.
class rkComparison {
 public:
  explicit rkComparison(rkTest& test);
  tzResult run(tzString& note);

 private:
  /// Content of one tracked buffer or plain object.
  struct Block {
    unsigned char* data;
    std::size_t size;
    const rkVector* vector;  ///< owner, where it is one
  };
  using Content = std::vector<std::vector<unsigned char>>;

  Content content() const;
  void putBack(const Content& saved) const;
  tzString firstDifference(const Content& expected) const;
  bool isInGap(const Block& block, std::size_t element) const;
  tzString describe(std::size_t block, std::size_t element, double actual, double expected) const;
  tzString describeFault(const void* address) const;

  rkTest& m_test;
  rkCounters m_counters;
  std::vector<Block> m_blocks;
  std::size_t m_numBuffers = 0;  ///< the blocks before the plain objects
};
