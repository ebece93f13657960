#pragma once
/// @file
/// What the files of the encoder and of the decoder share: walks over the units of a scan, and the
/// functions that code a picture one way or another.

#include "common/workers.h"
#include "entropy.h"
#include "markers.h"
#include "pixels.h"

namespace jpeg {

using codecs::Workers;

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
  /// @param firstUnit  where the walk begins
  explicit Intervals(int length, int64_t firstUnit = 0)
      : length_(length),
        left_(firstUnit == 0 || length == 0 ? length : untilEnd(length, firstUnit)) {}
  /// Call before each unit.
  bool endsHere() {
    if (length_ == 0 || left_-- > 0) return false;
    left_ = length_ - 1;
    return true;
  }

 private:
  static int untilEnd(int length, int64_t firstUnit) {
    const int done = int(firstUnit % length);
    return done == 0 ? 0 : length - done;
  }
  int length_, left_;
};

/// Huffman tables of a file being written: first those of luminance, second those of the others.
struct EncodeTables {
  std::array<HuffmanTable, 2> dc, ac;
  std::array<EncodeSpec, 2> dcSpec, acSpec;

  void setStandard();
  /// Makes the specifications, and writes tables and header of the scan of a whole frame.
  Status begin(const Frame& frame, Color color, Output& output);
};
/// Whether a component uses the first or second tables.
inline int tableSetOf(int component, Color color) {
  const bool isChroma =
      (color == Color::ycbcr || color == Color::ycck) && (component == 1 || component == 2);
  return isChroma ? 1 : 0;
}

/// Rows of pixels that have been asked for, for threads to take parts of.
class RowBand : public RowSource {
 public:
  Status take(RowSource& source, const Frame& frame, int firstMcuRow, int mcuRows);
  Status rows(int first, int, const uint8_t** pixels, ptrdiff_t* step) override {
    *pixels = pixels_ + step_ * (first - first_);
    *step = step_;
    return Status::ok;
  }

 private:
  int first_ = 0;
  const uint8_t* pixels_ = nullptr;
  ptrdiff_t step_ = 0;
};

/// The first error among a step's outcomes.
Status firstError(std::span<const Status> outcomes);

/// Has the workers do every row of MCUs, a few rows of the source at a time.
using McuRowTask = std::function<Status(int row, int worker, RowSource& pixels)>;
Status forEachMcuRow(const Frame& frame, RowSource& source, Workers& workers,
                     const McuRowTask& task);

/// What it takes to turn the pixels of a source into blocks.
struct ForwardSetup {
  ImageShape shape;
  Frame frame;
  Color color = Color::unknown;
  std::vector<Quantisers> quantisers;

  Status make(ForwardPixels* pixels) const { return pixels->init(shape, frame, color, quantisers); }
};

/// Codes the units of a sequential scan, blocks by blocks.
class UnitCoder {
 public:
  UnitCoder(const EncodeTables& tables, Color color, const Frame& frame);
  UnitCoder(const UnitCoder&) = delete;
  UnitCoder& operator=(const UnitCoder&) = delete;
  void resetPredictions() { previousDC_.fill(0); }
  const std::array<int, kMaxComponents>& predictions() const { return previousDC_; }
  void setPredictions(const std::array<int, kMaxComponents>& dc) { previousDC_ = dc; }
  /// Has a unit taken for the one before, without coding it.
  void predictFrom(const int16_t* blocks) {
    for (int b = 0; b < count_; ++b) *coded_[size_t(b)].previousDC = blocks[64 * b];
  }
  /// Codes a unit of records from `*at` on, which moves.
  RkdStatus codeRecords(ScanWriter& writer, const uint16_t* records, int length, int* at) {
    RkdStatus status = rkdStsNoErr;
    for (int b = 0; b < count_; ++b) {
      const Coded& c = coded_[size_t(b)];
      status |= writer.record(records, length, at, *c.dc, *c.ac);
    }
    return status;
  }
  RkdStatus code(ScanWriter& writer, const int16_t* blocks) {
    RkdStatus status = rkdStsNoErr;
    for (int b = 0; b < count_; ++b) {
      const Coded& c = coded_[size_t(b)];
      status |= writer.block(blocks + 64 * b, c.previousDC, *c.dc, *c.ac);
    }
    return status;
  }

 private:
  struct Coded {
    const EncodeSpec *dc, *ac;
    int* previousDC;
  };
  int count_ = 0;
  std::array<Coded, kMaxBlocksInMcu> coded_{};
  std::array<int, kMaxComponents> previousDC_{};
};

/// Writes one sequential scan of pixels as they come, by one thread or by several: the bytes are
/// the same.
Status writeBaseline(const EncodeTables& tables, int restartInterval, const ForwardSetup& setup,
                     RowSource& source, Output& output);
Status writeBaselineInRows(const EncodeTables& tables, int restartInterval,
                           const ForwardSetup& setup, RowSource& source, Workers& workers,
                           size_t memoryLimit, Output& output);

/// How often a sequential scan's symbols occur, by table.
struct SymbolCounts {
  std::array<Statistics, 2> dc{}, ac{};
  SymbolCounts& operator+=(const SymbolCounts& more);
};

/// The same with tables made for the picture, whose blocks are kept as their symbols meanwhile.
Status writeOptimized(const ForwardSetup& setup, const EncodeOptions& options, RowSource& source,
                      Workers& workers, Output& output);

/// Transforms a whole picture.
Status transformAll(const ForwardSetup& setup, RowSource& source, Workers& workers,
                    Coefficients* coefficients);

/// Writes a sequential scan, or the scans of a script, of coefficients, with tables in front.
Status writeSequential(const Coefficients& coefficients, const EncodeOptions& options,
                       Output& output);
Status writeProgressive(const Coefficients& coefficients, const EncodeOptions& options,
                        Workers& workers, Output& output);

/// Rows between restart markers of a lossless scan: whole rows, in numbers that DRI can hold.
int losslessRowsInInterval(int restartInterval, int width);
/// Writes the only scan of a lossless file, tables in front.
Status writeLossless(const ImageShape& shape, const Frame& frame, const EncodeOptions& options,
                     RowSource& source, Output& output);

}  // namespace jpeg
