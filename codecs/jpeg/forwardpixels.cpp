// From pixels to coefficients: rows of MCUs by conversion, sampling and transform.
#include <algorithm>
#include <cstring>

#include "pixels.h"
#include "rkd/rkdcolor.h"
#include "rkd/rkdjpeg_mcu.h"
#include "rkd/rkdjpeg_sample.h"

namespace jpeg {
namespace {

// ---- rows of pixels to planes, where no MCU function does the whole way ----

void grayOfRgb(const uint8_t* pixels, uint8_t* const* planes, int width) {
  (void)rkdiRGBToY_JPEG_8u_C3C1R(pixels, 3 * width, planes[0], width, {width, 1});
}
void grayOfBgr(const uint8_t* pixels, uint8_t* const* planes, int width) {
  (void)rkdiBGRToY_JPEG_8u_C3C1R(pixels, 3 * width, planes[0], width, {width, 1});
}
void yccOfRgb(const uint8_t* pixels, uint8_t* const* planes, int width) {
  (void)rkdiRGBToYCbCr_JPEG_8u_C3P3R(pixels, 3 * width, planes, width, {width, 1});
}
void yccOfBgr(const uint8_t* pixels, uint8_t* const* planes, int width) {
  (void)rkdiBGRToYCbCr_JPEG_8u_C3P3R(pixels, 3 * width, planes, width, {width, 1});
}
void ycckOfCmyk(const uint8_t* pixels, uint8_t* const* planes, int width) {
  (void)rkdiCMYKToYCCK_JPEG_8u_C4P4R(pixels, 4 * width, planes, width, {width, 1});
}

template <int N>
void apart(const uint8_t* pixels, uint8_t* const* planes, int width) {
  for (int x = 0; x < width; ++x) {
    for (int c = 0; c < N; ++c) planes[c][x] = pixels[N * x + c];
  }
}
void rgbOfBgr(const uint8_t* pixels, uint8_t* const* planes, int width) {
  uint8_t* const turned[] = {planes[2], planes[1], planes[0]};
  apart<3>(pixels, turned, width);
}

/// Level shift of one block. The library's takes images, and rows of 8 are its dearest.
void levelShift(const uint8_t* from, int step, int16_t* block) {
  for (int y = 0; y < 8; ++y, from += step, block += 8) {
    for (int x = 0; x < 8; ++x) block[x] = int16_t(from[x] - 128);
  }
}
RkdStatus grayBlock(const uint8_t* pixels, int step, int16_t* const* planes) {
  levelShift(pixels, step, planes[0]);
  return rkdStsNoErr;
}

struct Conversion {
  Color pixels, file;
  void (*planes)(const uint8_t*, uint8_t* const*, int);
  // Whole MCUs of 4:4:4, 4:2:2 and 4:2:0; null where there is none.
  RkdStatus (*mcu[3])(const uint8_t*, int, int16_t* const*);
};

constexpr Conversion kConversions[] = {
    {Color::gray, Color::gray, apart<1>, {grayBlock, nullptr, nullptr}},
    {Color::rgb, Color::gray, grayOfRgb, {}},
    {Color::bgr, Color::gray, grayOfBgr, {}},
    {Color::rgb,
     Color::ycbcr,
     yccOfRgb,
     {rkdiRGBToYCbCr444LS_MCU_8u16s_C3P3R, rkdiRGBToYCbCr422LS_MCU_8u16s_C3P3R,
      rkdiRGBToYCbCr411LS_MCU_8u16s_C3P3R}},
    {Color::bgr,
     Color::ycbcr,
     yccOfBgr,
     {rkdiBGRToYCbCr444LS_MCU_8u16s_C3P3R, rkdiBGRToYCbCr422LS_MCU_8u16s_C3P3R,
      rkdiBGRToYCbCr411LS_MCU_8u16s_C3P3R}},
    {Color::rgb, Color::rgb, apart<3>, {rkdiSampleDown444LS_MCU_8u16s_C3P3R, nullptr, nullptr}},
    {Color::bgr, Color::rgb, rgbOfBgr, {}},
    {Color::ycbcr,
     Color::ycbcr,
     apart<3>,
     {rkdiSampleDown444LS_MCU_8u16s_C3P3R, rkdiSampleDown422LS_MCU_8u16s_C3P3R,
      rkdiSampleDown411LS_MCU_8u16s_C3P3R}},
    {Color::cmyk,
     Color::ycck,
     ycckOfCmyk,
     {rkdiCMYKToYCCK444LS_MCU_8u16s_C4P4R, rkdiCMYKToYCCK422LS_MCU_8u16s_C4P4R,
      rkdiCMYKToYCCK411LS_MCU_8u16s_C4P4R}},
    {Color::cmyk, Color::cmyk, apart<4>, {}},
    {Color::ycck, Color::ycck, apart<4>, {}},
    {Color::unknown, Color::unknown, nullptr, {}},
};

/// Which MCU function of three goes with the frame's factors, or -1.
int mcuShape(const Frame& frame) {
  const auto& c = frame.component;
  const bool chromaIsSingle = c[1].h * c[1].v == 1 && c[2].h * c[2].v == 1;
  if (frame.componentCount == 1) return c[0].h * c[0].v == 1 ? 0 : -1;
  if (frame.componentCount < 3 || !chromaIsSingle) return -1;
  if (frame.hMax == 1 && frame.vMax == 1) return 0;
  if (frame.hMax == 2 && frame.vMax == 1) return 1;
  if (frame.hMax == 2 && frame.vMax == 2) return 2;
  return -1;
}

}  // namespace

Status QuantTable::initForward(const Quantisers& quantisers) {
  constexpr int kMostInEighths = 32767 >> 3;
  Quantisers larger;
  for (size_t i = 0; i < 64; ++i) {
    // No coefficient is half as large as what does not fit.
    larger[i] = uint16_t(std::min<int>(quantisers[i], kMostInEighths) << 3);
  }
  return rkdiQuantFwdTableInit_JPEG_16u(larger.data(), entries.data()) == rkdStsNoErr
             ? Status::ok
             : Status::badQuantTable;
}

Status QuantTable::initInverse(const Quantisers& quantisers) {
  return rkdiQuantInvTableInit_JPEG_16u(quantisers.data(), entries.data()) == rkdStsNoErr
             ? Status::ok
             : Status::badQuantTable;
}

Status ForwardPixels::chooseFunctions(Color color) {
  for (const Conversion& c : kConversions) {
    if (c.pixels != shape_.color || c.file != color) continue;
    const int shape = mcuShape(frame_);
    mcuFunction_ = shape < 0 ? nullptr : c.mcu[shape];
    planeFunction_ = c.planes;
    if (color == Color::unknown) {
      constexpr PlaneFunction kApart[] = {apart<1>, apart<2>, apart<3>, apart<4>};
      planeFunction_ = kApart[frame_.componentCount - 1];
    }
    return Status::ok;
  }
  return Status::badConversion;
}

Status ForwardPixels::init(const ImageShape& shape, const Frame& frame, Color color,
                           std::span<const Quantisers> quantisers) {
  shape_ = shape;
  frame_ = frame;
  JPEG_RETURN_IF_ERROR(chooseFunctions(color));
  for (size_t i = 0; i < quantisers.size(); ++i) {
    JPEG_RETURN_IF_ERROR(tables_[i].initForward(quantisers[i]));
  }
  blocksInMcu_ = 0;
  fullStep_ = frame.mcusAcross * frame.mcuWidth();
  for (int i = 0; i < frame.componentCount; ++i) {
    const Component& c = frame.component[size_t(i)];
    Plane& p = plane_[size_t(i)];
    p.firstBlock = blocksInMcu_;
    p.blocksAcross = c.h;
    p.blocksDown = c.v;
    p.table = tables_[c.quantTable].entries.data();
    blocksInMcu_ += c.h * c.v;
    if (mcuFunction_ != nullptr) continue;
    p.step = 8 * c.paddedAcross;
    p.samples.resize(size_t(p.step) * 8 * c.v);
    full_[size_t(i)].resize(size_t(fullStep_) * size_t(frame.mcuHeight()));
  }
  wholeMcus_ = shape.width / frame.mcuWidth();
  edge_.resize(size_t(frame.mcuWidth()) * size_t(frame.mcuHeight()) * size_t(shape.channels));
  return Status::ok;
}

Status ForwardPixels::takeBand(int mcuRow, RowSource& source) {
  const int first = mcuRow * frame_.mcuHeight();
  const int count = std::min(frame_.mcuHeight(), frame_.height - first);
  ptrdiff_t step = 0;
  JPEG_RETURN_IF_ERROR(source.rows(first, count, &pixels_, &step));
  const bool isPlain = step > 0 && step < (1 << 30);
  if (count == frame_.mcuHeight() && isPlain) {
    step_ = int(step);
    return Status::ok;
  }
  // The last rows are too few, or rows run backwards: a copy.
  const size_t bytes = shape_.rowBytes();
  lastBand_.resize(bytes * size_t(frame_.mcuHeight()));
  for (int y = 0; y < frame_.mcuHeight(); ++y) {
    std::memcpy(lastBand_.data() + bytes * size_t(y), pixels_ + step * std::min(y, count - 1),
                bytes);
  }
  pixels_ = lastBand_.data();
  step_ = int(bytes);
  return Status::ok;
}

Status ForwardPixels::begin(int mcuRow, RowSource& source) {
  mcuRow_ = mcuRow;
  JPEG_RETURN_IF_ERROR(takeBand(mcuRow, source));
  if (mcuFunction_ == nullptr) {
    fillPlanes();
    return Status::ok;
  }
  if (wholeMcus_ == frame_.mcusAcross) return Status::ok;
  const int firstColumn = wholeMcus_ * frame_.mcuWidth(), channels = shape_.channels;
  const int there = shape_.width - firstColumn;
  for (int y = 0; y < frame_.mcuHeight(); ++y) {
    const uint8_t* const row = pixels_ + ptrdiff_t(step_) * y + size_t(firstColumn) * channels;
    uint8_t* to = edge_.data() + size_t(y) * size_t(frame_.mcuWidth() * channels);
    std::memcpy(to, row, size_t(there) * channels);
    for (int x = there; x < frame_.mcuWidth(); ++x) {
      std::memcpy(to + size_t(x) * channels, row + size_t(there - 1) * channels, size_t(channels));
    }
  }
  return Status::ok;
}

/// Averages h x v samples of the full plane for each of a component's.
void ForwardPixels::halve(Plane& plane, const std::vector<uint8_t>& full) const {
  const int across = frame_.hMax / plane.blocksAcross, down = frame_.vMax / plane.blocksDown;
  const int rows = 8 * plane.blocksDown;
  for (int y = 0; y < rows; ++y) {
    const uint8_t* const from = full.data() + size_t(fullStep_) * size_t(y * down);
    uint8_t* const to = plane.samples.data() + size_t(plane.step) * size_t(y);
    if (across == 1 && down == 1) {
      std::memcpy(to, from, size_t(plane.step));
    } else if (across == 2 && down == 1) {
      (void)rkdiSampleDownRowH2V1_Box_JPEG_8u_C1(from, fullStep_, to);
    } else if (across == 2 && down == 2) {
      (void)rkdiSampleDownRowH2V2_Box_JPEG_8u_C1(from, from + fullStep_, fullStep_, to);
    } else {
      const int half = across * down / 2;
      for (int x = 0; x < plane.step; ++x) {
        int sum = across == 1 ? (x & 1) : half;  // halves rounded up and down in turn, no drift
        for (int j = 0; j < down; ++j) {
          for (int i = 0; i < across; ++i)
            sum += from[size_t(fullStep_) * size_t(j) + size_t(x * across + i)];
        }
        to[x] = uint8_t(sum / (across * down));
      }
    }
  }
}

void ForwardPixels::fillPlanes() {
  for (int y = 0; y < frame_.mcuHeight(); ++y) {
    std::array<uint8_t*, kMaxComponents> rows{};
    for (int i = 0; i < frame_.componentCount; ++i) {
      rows[size_t(i)] = full_[size_t(i)].data() + size_t(fullStep_) * size_t(y);
    }
    planeFunction_(pixels_ + ptrdiff_t(step_) * y, rows.data(), shape_.width);
    for (int i = 0; i < frame_.componentCount; ++i) {
      uint8_t* const row = rows[size_t(i)];
      std::memset(row + shape_.width, row[shape_.width - 1], size_t(fullStep_ - shape_.width));
    }
  }
  for (int i = 0; i < frame_.componentCount; ++i) halve(plane_[size_t(i)], full_[size_t(i)]);
}

/// Blocks wholly outside of a component code as a flat continuation: they cost a few bits only.
void ForwardPixels::dropDummies(int x, int16_t* const* blocks) const {
  for (int i = 0; i < frame_.componentCount; ++i) {
    const Component& c = frame_.component[size_t(i)];
    const Plane& p = plane_[size_t(i)];
    int16_t dc = 0;
    for (int row = 0; row < p.blocksDown; ++row) {
      for (int column = 0; column < p.blocksAcross; ++column) {
        int16_t* const block = blocks[p.firstBlock + row * p.blocksAcross + column];
        const bool isOutside =
            x * c.h + column >= c.blocksAcross || mcuRow_ * c.v + row >= c.blocksDown;
        if (isOutside) {
          std::memset(block, 0, 64 * sizeof *block);
          block[0] = dc;
        }
        dc = block[0];
      }
    }
  }
}

/// Level-shifted samples to quantised coefficients, as many blocks at a time as lie together.
void ForwardPixels::transform(const McuBlocks& scratch, int16_t* const* blocks) const {
  for (int i = 0; i < frame_.componentCount; ++i) {
    const Plane& p = plane_[size_t(i)];
    const int end = p.firstBlock + p.blocksAcross * p.blocksDown;
    for (int b = p.firstBlock, count; b < end; b += count) {
      for (count = 1; b + count < end && blocks[b + count] == blocks[b] + 64 * count;) ++count;
      (void)rkdiDCTQuantFwd8x8_Eighths_JPEG_16s_C1(scratch.block[b], blocks[b], count, p.table);
    }
  }
}

/// Asks for pixels of some MCUs further on: rows of so many pixels side by side are more than the
/// processor follows by itself.
void ForwardPixels::prefetch(int x) const {
  constexpr int kAhead = 4;
  const uint8_t* row = pixels_ + size_t(x + kAhead) * size_t(frame_.mcuWidth() * shape_.channels);
  for (int y = 0; y < frame_.mcuHeight(); ++y, row += step_) __builtin_prefetch(row);
}

void ForwardPixels::mcu(int x, McuBlocks* scratch, int16_t* const* blocks) const {
  if (mcuFunction_ != nullptr) {
    int16_t* planes[kMaxComponents];
    for (int i = 0; i < frame_.componentCount; ++i) {
      planes[i] = scratch->block[plane_[size_t(i)].firstBlock];
    }
    if (x < wholeMcus_) {
      prefetch(x);
      (void)mcuFunction_(pixels_ + size_t(x) * size_t(frame_.mcuWidth() * shape_.channels), step_,
                         planes);
    } else {
      (void)mcuFunction_(edge_.data(), frame_.mcuWidth() * shape_.channels, planes);
    }
  } else {
    for (int i = 0; i < frame_.componentCount; ++i) {
      const Plane& p = plane_[size_t(i)];
      int b = p.firstBlock;
      for (int row = 0; row < p.blocksDown; ++row) {
        for (int column = 0; column < p.blocksAcross; ++column) {
          const uint8_t* const from = p.samples.data() + size_t(p.step) * size_t(8 * row) +
                                      size_t(8 * (x * p.blocksAcross + column));
          levelShift(from, p.step, scratch->block[b++]);
        }
      }
    }
  }
  transform(*scratch, blocks);
  if (x == frame_.mcusAcross - 1 || mcuRow_ == frame_.mcusDown - 1) dropDummies(x, blocks);
}

}  // namespace jpeg
