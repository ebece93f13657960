// Samples of 12 bits to pixels.
#include "deeppixels.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace jpeg {
namespace {

constexpr int kMiddle = 2048, kLargest = 4095;

int clamped(double value) { return std::clamp(int(std::lround(value)), 0, kLargest); }

/// Where a pixel's neighbours are in a component of half its resolution, and with what weights.
struct Neighbours {
  int near, far;  // samples
  int nearWeight, farWeight;
};

Neighbours neighbours(int at, int factor, int largestFactor, int count, bool isSmooth) {
  const int near = at * factor / largestFactor;
  if (!isSmooth || factor * 2 != largestFactor) return {near, near, 1, 0};
  const int far = std::clamp((at & 1) != 0 ? near + 1 : near - 1, 0, count - 1);
  return {near, far, 3, 1};
}

}  // namespace

Status DeepPixels::init(const Coefficients& coefficients, const InverseSetup& setup,
                        size_t memoryLimit) {
  frame_ = coefficients.frame;
  setup_ = setup;
  if (setup.scale != 1) return Status::badArgument;
  if (frame_.blocks() > memoryLimit / 128) return Status::overMemoryLimit;
  for (int i = 0; i < frame_.componentCount; ++i) {
    const Component& c = frame_.component[size_t(i)];
    Plane& p = plane_[size_t(i)];
    p.width = c.width;
    p.height = c.height;
    p.step = 8 * c.paddedAcross;
    p.h = c.h;
    p.v = c.v;
    p.samples.resize(size_t(p.step) * 8 * size_t(c.paddedDown));
    QuantTable table;
    JPEG_RETURN_IF_ERROR(table.initInverse(coefficients.quantisers[c.quantTable]));
    for (int row = 0; row < c.paddedDown; ++row) {
      for (int column = 0; column < c.paddedAcross; ++column) {
        uint16_t* const to =
            p.samples.data() + size_t(p.step) * 8 * size_t(row) + 8 * size_t(column);
        (void)rkdiDCTQuantInv8x8LS_JPEG_16s16u_C1R(coefficients.block(i, row, column), to,
                                                   2 * p.step, table.entries.data());
      }
    }
  }
  return Status::ok;
}

int DeepPixels::sampleAt(const Plane& plane, int x, int y) const {
  const bool isSmooth = setup_.upsampling == Upsampling::triangle;
  const Neighbours across = neighbours(x, plane.h, frame_.hMax, plane.width, isSmooth);
  const Neighbours down = neighbours(y, plane.v, frame_.vMax, plane.height, isSmooth);
  const auto row = [&](int r) {
    const uint16_t* const samples = plane.samples.data() + size_t(plane.step) * size_t(r);
    return across.nearWeight * samples[across.near] + across.farWeight * samples[across.far];
  };
  const int sum = down.nearWeight * row(down.near) + down.farWeight * row(down.far);
  const int weights = (across.nearWeight + across.farWeight) * (down.nearWeight + down.farWeight);
  return (sum + weights / 2) / weights;
}

/// One pixel's components to its channels.
void DeepPixels::convert(int* s) const {
  const Color from = setup_.fileColor, to = setup_.pixelColor;
  if (from == Color::gray && to != Color::gray) s[1] = s[2] = s[0];
  const bool isYcc = from == Color::ycbcr && to != Color::ycbcr && to != Color::gray;
  if (isYcc || (from == Color::ycck && to == Color::cmyk)) {
    const double y = s[0], cb = s[1] - kMiddle, cr = s[2] - kMiddle;
    s[0] = clamped(y + 1.402 * cr);
    s[1] = clamped(y - 0.34414 * cb - 0.71414 * cr);
    s[2] = clamped(y + 1.772 * cb);
    if (to == Color::cmyk) {
      for (int i = 0; i < 3; ++i) s[i] = kLargest - s[i];
    }
  }
  if (to == Color::bgr) std::swap(s[0], s[2]);
}

Status DeepPixels::put(RowSink& sink) const {
  const Rect& region = setup_.region;
  const int channels =
      setup_.pixelColor == Color::unknown ? frame_.componentCount : channelsOf(setup_.pixelColor);
  for (int y = 0; y < region.height; ++y) {
    uint8_t* dst = nullptr;
    ptrdiff_t step = 0;
    JPEG_RETURN_IF_ERROR(sink.room(y, 1, &dst, &step));
    for (int x = 0; x < region.width; ++x) {
      int samples[kMaxComponents] = {};
      for (int i = 0; i < frame_.componentCount; ++i) {
        samples[i] = sampleAt(plane_[size_t(i)], region.x + x, region.y + y);
      }
      convert(samples);
      for (int i = 0; i < channels; ++i) {
        const uint16_t sample = uint16_t(samples[i]);
        std::memcpy(dst + 2 * size_t(x * channels + i), &sample, sizeof sample);
      }
    }
    JPEG_RETURN_IF_ERROR(sink.done(y, 1));
  }
  return Status::ok;
}

}  // namespace jpeg
