#pragma once
/// @file
/// Quantisation tables and coefficients of the suites that transform and quantise, and the
/// parameters that choose them.

#include "rktest.h"
#include "tziterator.h"

/// Parameter "Table".
enum rkTableKind : int {
  rkTableOnes = 0,   ///< all ones, which functions may take a shorter way for
  rkTableQ75,        ///< quality 75, as the library's table builder leaves it
  rkTableUnmarked75  ///< the same quantisers alone, without what the builder adds
};
/// Parameter "Coefs": what an inverse transform is given.
enum rkCoefsKind : int {
  rkCoefsDense = 0,  ///< random: no zeros
  rkCoefsPhoto,      ///< a photograph's at quality 75: most are zero
  rkCoefsDC,         ///< the photograph's first coefficient of each block, zeros behind it
  rkCoefsRose,       ///< a sample picture's at quality 75, its middle
  rkCoefsBikers
};

/// The values of both parameters of a suite.
struct rkCoefsChoice {
  tzMapIterator<int> table{"Table"};
  tzMapIterator<int> coefs{"Coefs"};

  /// Names the values and takes `first` for the one that runs by default. A table without the
  /// builder's mark is offered to functions that look for it.
  /// @{
  void initTable(rkTableKind first, bool isForward);
  void initCoefs(rkCoefsKind first);
  /// @}
};

/// Makes and fills a table of 256 quantisers. In a comparison, ones give way to quantisers of all
/// sizes up to 24, since a constant table would hide a wrong one.
bool rkFillQuantTable(rkVector& table, int kind, bool isForward, bool verifying);

/// Makes and fills a vector of blocks. Dense ones are uniform in `range` ((0, 0): the type's whole
/// range). In a comparison, every other block is dense whatever the kind, so that both ways of a
/// function are seen.
bool rkCreateCoefs(rkVector& blocks, int count, int kind, rkRange range, bool verifying);
