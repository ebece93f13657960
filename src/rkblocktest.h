#pragma once
/// @file
/// Base of the suites whose functions take single 8x8 blocks of coefficients. A performance walks
/// the blocks of an image, one call each.

#include "rkcoefs.h"
#include "rktest.h"
#include "tziterator.h"

/// The file-scope operands of such a suite. In-place functions use dst alone.
struct rkBlockData {
  int count = 0;      ///< blocks in the current image size
  rkVector src, dst;  ///< 64 coefficients or samples a block
  rkVector table;     ///< 256 entries, the quantisation table
  tzIterator<RkdiSize> size{"Size"};
  rkCoefsChoice choice;
};

/// Parameters: the session's image sizes, and a single block; the table; of inverse transforms that
/// are not in place, the coefficients. In place, repetitions would only see what the ones before
/// left of them.
class rkBlockTest : public rkTest {
 protected:
  /// @param table,coefs  the values that run by default
  rkBlockTest(const rkLine& line, rkBlockData& data, rkTableKind table, rkCoefsKind coefs)
      : rkTest(line), m_data(data), m_table(table), m_coefs(coefs) {}

  bool canStart() override;
  bool initData() override;
  void flushData() override;
  double getDivisor() const override { return 64.0 * m_data.count; }
  tzString getUnit() const override { return "px"; }

  /// Values for which the function's results are defined, with quantisers up to 24.
  virtual rkRange statedRange() const = 0;
  bool isForward() const { return func().baseName().find("Fwd", 0) >= 0; }
  rkTableKind tableKind() const { return rkTableKind(m_data.choice.table.value()); }

 private:
  int numberOfBlocks() const;
  bool takesCoefs() const { return !isForward() && !func().inplace(); }

  rkBlockData& m_data;
  rkTableKind m_table;
  rkCoefsKind m_coefs;
};
