#pragma once
/// @file
/// A picture like a photograph, for what depends on a picture's statistics: tests of quality, and
/// benchmarks.

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "testdata/rkphotograph.h"

namespace testpicture {

/// Interleaved samples, row by row.
inline std::vector<uint8_t> photo(int width, int height) {
  rkPhotograph photograph;
  std::vector<uint8_t> rgb(size_t(width) * height * 3);
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) {
      const float v = photograph.brightness(x, y);
      const auto [red, blue] = photograph.colour(x, y);
      uint8_t* const pixel = &rgb[(size_t(y) * width + x) * 3];
      pixel[0] = uint8_t(std::clamp(v + red, 0.f, 255.f));
      pixel[1] = uint8_t(std::clamp(v - 0.5f * red - 0.3f * blue, 0.f, 255.f));
      pixel[2] = uint8_t(std::clamp(v + blue, 0.f, 255.f));
    }
  }
  return rgb;
}

/// The same with alpha: opaque, or fading in and out smoothly between all and nothing.
inline std::vector<uint8_t> photoWithAlpha(int width, int height, bool opaque) {
  const std::vector<uint8_t> rgb = photo(width, height);
  std::vector<uint8_t> rgba;
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) {
      const auto pixel = rgb.begin() + (std::ptrdiff_t(y) * width + x) * 3;
      rgba.insert(rgba.end(), pixel, pixel + 3);
      const double fade = 190 + 200 * std::sin(0.043 * x) * std::cos(0.031 * y);
      rgba.push_back(opaque ? 255 : uint8_t(std::clamp(fade, 0.0, 255.0)));
    }
  }
  return rgba;
}

}  // namespace testpicture
