#pragma once
/// @file
/// What the files of the encoder and of the decoder share: walks over the units of a scan, and the
/// functions that code a picture one way or another.

#include "entropy.h"
#include "markers.h"
#include "pixels.h"

namespace jpeg {

/// The blocks of a scan's unit: which component of the scan, and where in the unit.
struct UnitBlocks {
  struct Place {
    int slot = 0;  // into Scan::component
    int row = 0, column = 0;
  };
  int count = 0;
  std::array<Place, kMaxBlocksInMcu> place;

  static UnitBlocks of(const Frame& frame, const Scan& scan);
};

/// One scan that holds all components of a frame.
Scan wholeScan(const Frame& frame);

/// Restart intervals of a scan: says before which units one ends.
class Intervals {
 public:
  explicit Intervals(int length) : length_(length), left_(length) {}
  /// Call before each unit.
  bool endsHere() {
    if (length_ == 0 || left_-- > 0) return false;
    left_ = length_ - 1;
    return true;
  }

 private:
  int length_, left_;
};

/// Huffman tables of a file being written: first those of luminance, second those of the others.
struct EncodeTables {
  std::array<HuffmanTable, 2> dc, ac;
  std::array<EncodeSpec, 2> dcSpec, acSpec;

  void setStandard();
  Status initSpecs();
  void write(MarkerWriter& markers, bool hasSecond) const;
};
/// Whether a component uses the first or second tables.
inline int tableSetOf(int component, Color color) {
  const bool isChroma =
      (color == Color::ycbcr || color == Color::ycck) && (component == 1 || component == 2);
  return isChroma ? 1 : 0;
}

/// Writes one sequential scan of pixels as they come.
Status writeBaseline(const EncodeTables& tables, Color color, int restartInterval,
                     const Frame& frame, ForwardPixels& pixels, RowSource& source, Output& output);

/// Transforms a whole picture.
Status transformAll(ForwardPixels& pixels, RowSource& source, Coefficients* coefficients);

/// Writes a sequential scan, or the scans of a script, of coefficients, with tables in front.
Status writeSequential(const Coefficients& coefficients, const EncodeOptions& options,
                       Output& output);
Status writeProgressive(const Coefficients& coefficients, const EncodeOptions& options,
                        Output& output);

/// Rows between restart markers of a lossless scan: whole rows, in numbers that DRI can hold.
int losslessRowsInInterval(int restartInterval, int width);
/// Writes the only scan of a lossless file, tables in front.
Status writeLossless(const ImageShape& shape, const Frame& frame, const EncodeOptions& options,
                     RowSource& source, Output& output);

}  // namespace jpeg
