// From coefficients to pixels: rows of MCUs by transform, up-sampling and conversion.
#include <algorithm>
#include <cstring>

#include "coder.h"
#include "rkd/rkdcolor.h"
#include "rkd/rkdjpeg_sample.h"

namespace jpeg {
namespace {

/// The mean of a block alone: a reduction by eight.
RkdStatus inverseTo1x1(const int16_t* src, uint8_t* dst, int, const uint16_t* table) {
  *dst = uint8_t(std::clamp(((src[0] * table[0] + 4) >> 3) + 128, 0, 255));
  return rkdStsNoErr;
}

void repeatAcross(const uint8_t* from, int width, int h, int hMax, uint8_t* to) {
  for (int x = 0; x < width; ++x) to[x] = from[x * h / hMax];
}

template <int N>
void together(const std::array<const uint8_t*, kMaxComponents>& lines, int width, uint8_t* dst) {
  for (int x = 0; x < width; ++x) {
    for (int c = 0; c < N; ++c) dst[N * x + c] = lines[size_t(c)][x];
  }
}

}  // namespace

void InversePixels::setUpPlane(int index, const InverseSetup& setup) {
  const Component& c = frame_.component[size_t(index)];
  const ScaledComponent scaled = scaledComponent(frame_, index, setup.scale);
  Plane& p = plane_[size_t(index)];
  const bool isFirstOnly = setup.pixelColor == Color::gray;
  p.isUsed = index == 0 || !isFirstOnly;
  p.table = tables_[c.quantTable].entries.data();
  p.samples = scaled.samples;
  p.inverse = scaled.samples == 8   ? rkdiDCTQuantInv8x8LS_JPEG_16s8u_C1R
              : scaled.samples == 4 ? rkdiDCTQuantInv8x8To4x4LS_JPEG_16s8u_C1R
              : scaled.samples == 2 ? rkdiDCTQuantInv8x8To2x2LS_JPEG_16s8u_C1R
                                    : inverseTo1x1;
  p.rowsInMcu = c.v * p.samples;
  p.h = scaled.h;
  p.v = scaled.v;
  p.width = scaled.width;
  p.height = scaled.height;
  p.step = p.samples * c.paddedAcross;
  const bool isSmooth = setup.upsampling == Upsampling::triangle && setup.scale < 8 && p.width > 2;
  const bool isHalfDown = p.v * 2 == frame_.vMax;
  p.isTriangleAcross = isSmooth && p.h * 2 == frame_.hMax && (p.v == frame_.vMax || isHalfDown);
  p.isTriangleDown = isSmooth && isHalfDown && (p.isTriangleAcross || p.h == frame_.hMax);
  p.memory.assign(size_t(p.step) * size_t(p.rowsInMcu + 1) + 2 * kMargin, 128);
  p.line.resize(size_t(std::max(width_, 2 * p.width)) + kMargin);
}

Status InversePixels::init(const Frame& frame, const std::array<Quantisers, 4>& quantisers,
                           const InverseSetup& setup) {
  frame_ = frame;
  setup_ = setup;
  width_ = ceilDiv(frame.width, setup.scale);
  height_ = ceilDiv(frame.height, setup.scale);
  linesInMcu_ = frame.mcuHeight() / setup.scale;
  lag_ = 0;
  for (int i = 0; i < frame.componentCount; ++i) {
    const size_t number = frame.component[size_t(i)].quantTable;
    JPEG_RETURN_IF_ERROR(tables_[number].initInverse(quantisers[number]));
    setUpPlane(i, setup);
    if (plane_[size_t(i)].isUsed && plane_[size_t(i)].isTriangleDown) lag_ = 1;
  }
  return Status::ok;
}

bool InversePixels::needsRow(int mcuRow) const {
  const int first = mcuRow * linesInMcu_ - 2, last = (mcuRow + 1) * linesInMcu_ + 1;
  return first < setup_.region.y + setup_.region.height && last >= setup_.region.y;
}

void InversePixels::blocks(int component, int row, int firstBlock, const int16_t* blocks,
                           int count) {
  for (int i = 0; i < count; ++i) block(component, row, firstBlock + i, blocks + 64 * i);
}

const uint8_t* InversePixels::lineOf(Plane& plane, int line, int mcuRow) {
  const int firstRow = mcuRow * plane.rowsInMcu;
  const auto rowAt = [&](int row) {
    return plane.rows() + ptrdiff_t(std::clamp(row, 0, plane.height - 1) - firstRow) * plane.step;
  };
  const int near = line * plane.v / frame_.vMax;
  uint8_t* const to = plane.line.data();
  if (plane.isTriangleDown) {
    const uint8_t* const nearRow = rowAt(near);
    const uint8_t* const farRow = rowAt((line & 1) != 0 ? near + 1 : near - 1);
    if (plane.isTriangleAcross) {
      (void)rkdiSampleUpRowH2V2_Triangle_JPEG_8u_C1(nearRow, farRow, plane.width, to);
    } else {
      const int bias = (line & 1) != 0 ? 2 : 1;
      for (int x = 0; x < plane.width; ++x) {
        to[x] = uint8_t((3 * nearRow[x] + farRow[x] + bias) >> 2);
      }
    }
    return to;
  }
  const uint8_t* const row = rowAt(near);
  if (plane.h == frame_.hMax) return row;
  if (plane.isTriangleAcross) {
    (void)rkdiSampleUpRowH2V1_Triangle_JPEG_8u_C1(row, plane.width, to);
  } else {
    repeatAcross(row, width_, plane.h, frame_.hMax, to);
  }
  return to;
}

void InversePixels::convert(const std::array<const uint8_t*, kMaxComponents>& lines,
                            uint8_t* dst) const {
  const Color from = setup_.fileColor, to = setup_.pixelColor;
  const int width = setup_.region.width;
  const RkdiSize size{width, 1};
  if (to == Color::gray) {
    std::memcpy(dst, lines[0], size_t(width));
  } else if (from == Color::gray) {
    together<3>({lines[0], lines[0], lines[0]}, width, dst);
  } else if (from == Color::ycbcr && to == Color::rgb) {
    (void)rkdiYCbCrToRGB_JPEG_8u_P3C3R(lines.data(), width, dst, 3 * width, size);
  } else if (from == Color::ycbcr && to == Color::bgr) {
    (void)rkdiYCbCrToBGR_JPEG_8u_P3C3R(lines.data(), width, dst, 3 * width, size);
  } else if (from == Color::ycck && to == Color::cmyk) {
    (void)rkdiYCCKToCMYK_JPEG_8u_P4C4R(lines.data(), width, dst, 4 * width, size);
  } else if (to == Color::bgr) {
    together<3>({lines[2], lines[1], lines[0]}, width, dst);
  } else {
    constexpr void (*kTogether[])(const std::array<const uint8_t*, kMaxComponents>&, int,
                                  uint8_t*) = {together<1>, together<2>, together<3>, together<4>};
    kTogether[frame_.componentCount - 1](lines, width, dst);
  }
}

InversePixels::Lines InversePixels::linesOf(int firstRow, int endRow) const {
  const Rect& region = setup_.region;
  const bool isLast = endRow == frame_.mcusDown;
  const int first = std::max(firstRow * linesInMcu_ - lag_, region.y);
  const int end =
      std::min(isLast ? height_ : endRow * linesInMcu_ - lag_, region.y + region.height);
  return {first - region.y, std::max(end - first, 0)};
}

void InversePixels::keepLastRow() {
  if (lag_ == 0) return;
  for (int i = 0; i < frame_.componentCount; ++i) {
    Plane& p = plane_[size_t(i)];
    if (p.isUsed) {
      std::memcpy(p.rows() - p.step, p.rows() + ptrdiff_t(p.rowsInMcu - 1) * p.step,
                  size_t(p.step));
    }
  }
}

void InversePixels::rowOf(const Coefficients& coefficients, int mcuRow) {
  for (int i = 0; i < frame_.componentCount; ++i) {
    if (!uses(i)) continue;
    const Component& c = frame_.component[size_t(i)];
    for (int row = 0; row < c.v; ++row) {
      blocks(i, row, 0, coefficients.block(i, mcuRow * c.v + row, 0), c.paddedAcross);
    }
  }
}

void InversePixels::units(const UnitBlocks& unit, const Scan& scan, const ReadUnits& read) {
  for (int b = 0; b < unit.count; ++b) {
    const UnitBlocks::Place& place = unit.place[size_t(b)];
    const int component = scan.component[size_t(place.slot)].index;
    if (!uses(component)) continue;
    const int across = scan.isInterleaved() ? frame_.component[size_t(component)].h : 1;
    const int column = read.first * across + place.column;
    if (plane_[size_t(component)].samples < 8) {
      for (int i = 0; i < read.count; ++i) {
        block(component, place.row, column + i * across, read.blocks[i * unit.count + b].values);
      }
      continue;
    }
    Plane& p = plane_[size_t(component)];
    (void)rkdiDCTQuantInvBlocks8x8LS_JPEG_16s8u_C1R(
        read.blocks[b].values, unit.count * int(sizeof *read.blocks), read.last + b, unit.count,
        p.rows() + (ptrdiff_t(place.row) * p.step + column) * 8, p.step, 8 * across, read.count,
        p.table);
  }
}

Status InversePixels::finishRow(int mcuRow, RowSink& sink) {
  const Rect& region = setup_.region;
  const Lines lines = linesOf(mcuRow, mcuRow + 1);
  if (lines.count > 0) {
    uint8_t* dst = nullptr;
    ptrdiff_t step = 0;
    JPEG_RETURN_IF_ERROR(sink.room(lines.first, lines.count, &dst, &step));
    for (int i = 0; i < lines.count; ++i, dst += step) {
      const int line = region.y + lines.first + i;
      std::array<const uint8_t*, kMaxComponents> rows{};
      for (int c = 0; c < frame_.componentCount; ++c) {
        Plane& p = plane_[size_t(c)];
        if (p.isUsed) rows[size_t(c)] = lineOf(p, line, mcuRow) + region.x;
      }
      convert(rows, dst);
    }
    JPEG_RETURN_IF_ERROR(sink.done(lines.first, lines.count));
  }
  keepLastRow();
  return Status::ok;
}

}  // namespace jpeg
