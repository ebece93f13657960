#pragma once
/// @file
/// The library's colour conversions, sampling and transforms as MCU rows use them: from a band of
/// pixels to quantised blocks, and from blocks to pixels.

#include <array>
#include <cstdint>
#include <vector>

#include "jpeg.h"
#include "rkd/rkdjpeg_dct.h"

namespace jpeg {

/// Largest quantiser of a file being written.
inline constexpr int kMaxQuantiser = 65535;

/// A table as the library's transforms take it.
struct QuantTable {
  alignas(64) std::array<uint16_t, RKD_QUANT_TABLE_LENGTH> entries;
  Status initForward(const Quantisers& quantisers);
  Status initInverse(const Quantisers& quantisers);
};

/// One MCU's blocks, components one after the other in raster order.
struct alignas(64) McuBlocks {
  int16_t block[kMaxBlocksInMcu][64];
  std::array<int16_t*, kMaxBlocksInMcu> pointers() {
    std::array<int16_t*, kMaxBlocksInMcu> p{};
    for (int b = 0; b < kMaxBlocksInMcu; ++b) p[size_t(b)] = block[b];
    return p;
  }
};

/// Pixels to quantised blocks, one MCU row after the other.
class ForwardPixels {
 public:
  /// @param shape       of the pixels, 8 bits
  /// @param frame       of the file, with sampling factors
  /// @param color       of the file
  /// @param quantisers  for the frame's table numbers
  Status init(const ImageShape& shape, const Frame& frame, Color color,
              std::span<const Quantisers> quantisers);

  /// Takes the pixels of an MCU row.
  Status begin(int mcuRow, RowSource& source);
  /// Blocks of its MCU at column x.
  /// @param scratch  for samples
  /// @param blocks   one pointer a block; may be those of the scratch blocks
  void mcu(int x, McuBlocks* scratch, int16_t* const* blocks) const;

 private:
  using McuFunction = RkdStatus (*)(const uint8_t*, int, int16_t* const*);
  /// Rows of pixels to full-size planes.
  using PlaneFunction = void (*)(const uint8_t* pixels, uint8_t* const* planes, int width);

  /// A component's place in the MCU, and its samples where pixels do not go straight to blocks.
  struct Plane {
    int firstBlock = 0, blocksAcross = 1, blocksDown = 1;
    const uint16_t* table = nullptr;
    int step = 0;
    std::vector<uint8_t> samples;
  };

  Status chooseFunctions(Color color);
  Status takeBand(int mcuRow, RowSource& source);
  void fillPlanes();
  void halve(Plane& plane, const std::vector<uint8_t>& full) const;
  void prefetch(int x) const;
  void transform(const McuBlocks& scratch, int16_t* const* blocks) const;
  void dropDummies(int x, int16_t* const* blocks) const;

  ImageShape shape_;
  Frame frame_;
  std::array<QuantTable, 4> tables_;
  std::array<Plane, kMaxComponents> plane_;
  int blocksInMcu_ = 0;
  McuFunction mcuFunction_ = nullptr;
  PlaneFunction planeFunction_ = nullptr;

  const uint8_t* pixels_ = nullptr;  // the band's first row
  int step_ = 0;
  int wholeMcus_ = 0;  // columns whose pixels all exist
  int mcuRow_ = 0;
  std::vector<uint8_t> lastBand_;  // the last rows, repeated to a whole MCU row
  std::vector<uint8_t> edge_;      // the last MCU of the row, its last column repeated
  std::array<std::vector<uint8_t>, kMaxComponents> full_;  // planes of a row before down-sampling
  int fullStep_ = 0;
};

struct UnitBlocks;

/// 64 coefficients, as transforms take them.
struct alignas(64) CoefficientBlock {
  int16_t values[64];
};

/// Units of an MCU row that have been read.
struct ReadUnits {
  int first = 0, count = 0;                  ///< place of the first one in the row
  const CoefficientBlock* blocks = nullptr;  ///< unit by unit
  const uint8_t* last = nullptr;             ///< where the coefficients of each block end
};

/// What to make of blocks: how large, which part, in which colours.
struct InverseSetup {
  Color fileColor = Color::unknown;
  Color pixelColor = Color::unknown;
  int scale = 1;
  Upsampling upsampling = Upsampling::triangle;
  Rect region;  ///< of the scaled picture, not empty
};

/// Blocks to pixels, one MCU row after the other.
class InversePixels {
 public:
  Status init(const Frame& frame, const std::array<Quantisers, 4>& quantisers,
              const InverseSetup& setup);

  /// Whether a component is looked at at all.
  bool uses(int component) const { return plane_[size_t(component)].isUsed; }
  /// Whether the region needs an MCU row.
  bool needsRow(int mcuRow) const;

  /// Quantised blocks in a row, `blocks` apart by 64 values, to samples.
  /// @param row  of blocks within the MCU row
  void blocks(int component, int row, int firstBlock, const int16_t* blocks, int count);
  /// One block.
  void block(int component, int row, int column, const int16_t* block) {
    Plane& p = plane_[size_t(component)];
    p.inverse(block, p.rows() + (size_t(row) * size_t(p.step) + size_t(column)) * size_t(p.samples),
              p.step, p.table);
  }
  /// All blocks of an MCU row.
  void rowOf(const Coefficients& coefficients, int mcuRow);
  /// Units of a scan.
  void units(const UnitBlocks& unit, const Scan& scan, const ReadUnits& read);

  /// Whether a row's first line takes samples of the row before.
  bool needsRowBefore() const { return lag_ > 0; }
  /// Keeps the samples of an MCU row that the next one takes, as finishRow does at its end.
  void keepLastRow();
  /// Lines of the region.
  struct Lines {
    int first = 0, count = 0;
  };
  /// Those that become whole with these MCU rows.
  Lines linesOf(int firstRow, int endRow) const;
  /// Rows of pixels that have become whole with an MCU row.
  Status finishRow(int mcuRow, RowSink& sink);

 private:
  using Inverse = RkdStatus (*)(const int16_t*, uint8_t*, int, const uint16_t*);
  struct Plane {
    bool isUsed = false;
    Inverse inverse = nullptr;
    const uint16_t* table = nullptr;
    int samples = 8;  // along a side of a block
    int rowsInMcu = 8;
    int across = 1, down = 1;  // how many pixels a sample covers, times hMax, vMax
    int h = 1, v = 1;
    int width = 0, height = 0;
    int step = 0;
    bool isTriangleAcross = false, isTriangleDown = false;
    std::vector<uint8_t> memory;  // the last row of the MCU row before, then those of this one
    std::vector<uint8_t> line;    // a row of pixels' width
    uint8_t* rows() { return memory.data() + kMargin + step; }
  };
  static constexpr int kMargin = 64;

  void setUpPlane(int index, const InverseSetup& setup);
  /// The samples of a component for a line of pixels, as wide as these.
  const uint8_t* lineOf(Plane& plane, int line, int mcuRow);
  void convert(const std::array<const uint8_t*, kMaxComponents>& lines, uint8_t* dst) const;

  Frame frame_;
  InverseSetup setup_;
  std::array<QuantTable, 4> tables_;
  std::array<Plane, kMaxComponents> plane_;
  int linesInMcu_ = 8;
  int lag_ = 0;  // lines that wait for the next MCU row
  int height_ = 0, width_ = 0;
};

}  // namespace jpeg
