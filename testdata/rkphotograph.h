#pragma once
/// @file
/// A made-up photograph, pixel by pixel: what entropy coders, inverse transforms and texture
/// encoders meet in practice. Every octave of detail has about the same energy, local contrast
/// comes and goes, colours change slowly, and there is a little grain.

#include <array>
#include <cmath>
#include <cstddef>
#include <random>
#include <vector>

class rkPhotograph {
 public:
  rkPhotograph() : m_broad(8, 150), m_narrow(9, 40), m_random(10) {
    for (int i = 0; i < 8; ++i) m_detail.emplace_back(100 + i, 256 >> i);
    for (int i = 0; i < 6; ++i) m_reddish.emplace_back(200 + i, 256 >> i);
    for (int i = 0; i < 6; ++i) m_bluish.emplace_back(300 + i, 256 >> i);
  }

  /// What red and blue have more than the brightness.
  struct Colour {
    float red, blue;
  };
  Colour colour(int x, int y) const {
    const float scale = 4 * contrast(x, y);
    return {scale * sum(m_reddish, x, y), scale * sum(m_bluish, x, y)};
  }
  /// Around 128, and seldom beyond 0 and 255. Grain comes from a stream: pixels are asked for once
  /// each, row by row.
  float brightness(int x, int y) {
    return 128 + 8 * contrast(x, y) * sum(m_detail, x, y) + m_grain(m_random);
  }

 private:
  /// Smooth noise of a cell size, by cubic blending of random corner values.
  class Noise {
   public:
    Noise(unsigned seed, int cell) : m_cell(cell) {
      std::mt19937 random(seed);
      for (auto& v : m_value) v = std::uniform_real_distribution<float>(-1, 1)(random);
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
    std::array<float, 4093> m_value;
  };

  static float sum(const std::vector<Noise>& octaves, int x, int y) {
    float value = 0;
    for (const Noise& octave : octaves) value += octave.at(x, y);
    return value;
  }
  float contrast(int x, int y) const {
    return std::exp(1.1f * m_broad.at(x, y) + 0.8f * m_narrow.at(x, y));
  }

  std::vector<Noise> m_detail, m_reddish, m_bluish;
  Noise m_broad, m_narrow;
  std::mt19937 m_random;
  std::normal_distribution<float> m_grain{0, 1.3f};
};
