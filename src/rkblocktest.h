#pragma once
/// @file
/// Base of the suites whose functions take single 8x8 blocks of coefficients. A performance walks
/// the blocks of an image, one call each.

#include "rktest.h"
#include "tziterator.h"

/// The file-scope operands of such a suite. In-place functions use dst alone.
struct rkBlockData {
  int count = 0;      ///< blocks in the current image size
  rkVector src, dst;  ///< 64 coefficients or samples a block
  rkVector table;     ///< 256 entries, the quantisation table
  tzIterator<RkdiSize> size{"Size"};
};

/// Parameter: the session's image sizes, and a single block.
class rkBlockTest : public rkTest {
 protected:
  rkBlockTest(const rkLine& line, rkBlockData& data) : rkTest(line), m_data(data) {}

  bool canStart() override;
  bool initData() override;
  void flushData() override;
  double getDivisor() const override { return 64.0 * m_data.count; }
  tzString getUnit() const override { return "px"; }

  /// Values for which the function's results are defined, with quantisers up to 24.
  virtual rkRange statedRange() const = 0;

 private:
  int numberOfBlocks() const;

  rkBlockData& m_data;
};

/// Fills a quantisation table: all ones for timing; for a comparison quantisers of all sizes up to
/// 24, since a constant table would hide a wrong one.
bool rkFillQuantTable(rkVector& table, bool verifying);
