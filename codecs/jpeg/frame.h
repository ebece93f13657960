#pragma once
/// @file
/// Frame, components, scans, and where their blocks lie: arithmetic of sizes alone.
///
/// A frame is cut into MCUs of hMax x vMax blocks at full resolution. A component has
/// `blocksAcross` x `blocksDown` blocks that hold samples; a scan of several components codes
/// `paddedAcross` x `paddedDown` of them, whole MCUs, and one of a single component just the
/// former.
/// @see ITU-T T.81, A.1 and A.2

#include <array>
#include <cstddef>
#include <cstdint>

#include "status.h"

namespace jpeg {

inline constexpr int kMaxComponents = 4;
inline constexpr int kMaxBlocksInMcu = 10;
inline constexpr int kMaxSide = 65535;

inline constexpr int ceilDiv(int a, int b) { return (a + b - 1) / b; }

/// The coding process that a frame header names.
enum class Process { baseline, extended, progressive, lossless };

/// One component of a frame.
struct Component {
  uint8_t id = 0;
  uint8_t h = 1, v = 1;       ///< sampling factors, 1..4
  uint8_t quantTable = 0;     ///< 0..3
  int width = 0, height = 0;  ///< in SAMPLES
  int blocksAcross = 0, blocksDown = 0;
  int paddedAcross = 0, paddedDown = 0;

  size_t blocks() const { return size_t(paddedAcross) * size_t(paddedDown); }
};

/// A frame and its geometry.
struct Frame {
  Process process = Process::baseline;
  int precision = 8;          ///< bits of a sample
  int width = 0, height = 0;  ///< in PIXELS
  int componentCount = 0;
  std::array<Component, kMaxComponents> component;

  int hMax = 1, vMax = 1;
  int mcusAcross = 0, mcusDown = 0;

  bool isLossless() const { return process == Process::lossless; }
  /// Samples along a side of a data unit: 8, or 1 in lossless frames.
  int unit() const { return isLossless() ? 1 : 8; }
  /// Pixels of a whole MCU.
  int mcuWidth() const { return unit() * hMax; }
  int mcuHeight() const { return unit() * vMax; }
  /// Blocks of all components together, whole MCUs.
  size_t blocks() const;

  /// Derives everything from process, size, and the components' factors; refuses what no frame may
  /// have. A height of 0, to be told later, counts as 1.
  Status derive();
};

/// What a scan header tells of one of its components.
struct ScanComponent {
  int index = 0;  ///< into Frame::component
  int dcTable = 0, acTable = 0;
};

/// A scan.
struct Scan {
  int componentCount = 0;
  std::array<ScanComponent, kMaxComponents> component;
  int ss = 0, se = 63, ah = 0, al = 0;  ///< lossless: ss is the predictor, al the point transform

  bool isInterleaved() const { return componentCount > 1; }
};

/// The units of a scan, as they follow one another: MCUs of several components, or blocks of one.
struct ScanGeometry {
  int across = 0, down = 0;  ///< units in a row, and rows
  int blocksInUnit = 0;

  static ScanGeometry of(const Frame& frame, const Scan& scan);
};

/// A rectangle in PIXELS.
struct Rect {
  int x = 0, y = 0, width = 0, height = 0;
  bool isEmpty() const { return width == 0 || height == 0; }
};

/// A component in a picture reduced by 1, 2, 4 or 8: its inverse transforms give `samples` x
/// `samples` a block, more than the reduction asks for where that saves up-sampling.
struct ScaledComponent {
  int samples = 8;   ///< along a side of a block: 8, 4, 2 or 1
  int h = 1, v = 1;  ///< its factors in the reduced picture, relative to Frame::hMax, vMax
  int width = 0, height = 0;
};

/// @param scale  1, 2, 4 or 8
ScaledComponent scaledComponent(const Frame& frame, int index, int scale);

}  // namespace jpeg
