#pragma once
/// @file
/// A picture like a photograph, for what depends on a picture's statistics: tests of quality, and
/// benchmarks.

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <random>
#include <vector>

namespace testpicture {

/// Smooth noise of a cell size, by cubic blending of random corner values.
class Noise {
 public:
  Noise(unsigned seed, int cell) : m_cell(cell), m_random(seed) {
    for (auto& v : m_value) v = std::uniform_real_distribution<float>(-1, 1)(m_random);
  }
  float at(int x, int y) const {
    const int cx = x / m_cell, cy = y / m_cell;
    const auto blend = [](float t) { return t * t * (3 - 2 * t); };
    const float fx = blend(float(x % m_cell) / float(m_cell));
    const float fy = blend(float(y % m_cell) / float(m_cell));
    const float top = corner(cx, cy) * (1 - fx) + corner(cx + 1, cy) * fx;
    const float bottom = corner(cx, cy + 1) * (1 - fx) + corner(cx + 1, cy + 1) * fx;
    return top * (1 - fy) + bottom * fy;
  }

 private:
  float corner(int x, int y) const {
    return m_value[(unsigned(x) * 73856093u ^ unsigned(y) * 19349663u) % m_value.size()];
  }
  int m_cell;
  std::mt19937 m_random;
  std::array<float, 4093> m_value;
};

/// What photographs are like: every octave of detail has about the same energy, local contrast
/// comes and goes, colours change slowly, and there is a little grain.
inline std::vector<uint8_t> photo(int width, int height) {
  std::vector<Noise> detail, reddish, bluish;
  for (int i = 0; i < 8; ++i) detail.emplace_back(100 + i, 256 >> i);
  for (int i = 0; i < 6; ++i) reddish.emplace_back(200 + i, 256 >> i);
  for (int i = 0; i < 6; ++i) bluish.emplace_back(300 + i, 256 >> i);
  const Noise broad(8, 150), narrow(9, 40);
  std::mt19937 random(10);
  std::normal_distribution<float> grain(0, 1.3f);
  const auto sum = [](const std::vector<Noise>& octaves, int x, int y) {
    float value = 0;
    for (const Noise& octave : octaves) value += octave.at(x, y);
    return value;
  };
  std::vector<uint8_t> rgb(size_t(width) * height * 3);
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) {
      const float contrast = std::exp(1.1f * broad.at(x, y) + 0.8f * narrow.at(x, y));
      const float v = 128 + 8 * contrast * sum(detail, x, y) + grain(random);
      const float red = 4 * contrast * sum(reddish, x, y);
      const float blue = 4 * contrast * sum(bluish, x, y);
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
