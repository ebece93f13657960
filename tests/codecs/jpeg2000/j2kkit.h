#pragma once
/// @file
/// Pictures for tests of the JPEG 2000 codec, coded and decoded in memory.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <random>
#include <string>
#include <vector>

#include "jpeg2000.h"
#include "photo.h"

namespace j2kkit {

using Bytes = std::vector<uint8_t>;

/// Keeps what the codec tells.
class Messages : public j2k::Diagnostics {
 public:
  void message(const j2k::DiagnosticText& d, std::string_view detail) override {
    numbers.push_back(d.number);
    text += std::to_string(d.number) + " " + d.summary + ": " + std::string(detail) + "\n";
  }
  void line(std::string_view t) override { text += std::string(t) + "\n"; }
  bool has(int number) const {
    return std::find(numbers.begin(), numbers.end(), number) != numbers.end();
  }

  std::vector<int> numbers;
  std::string text;
};

/// Components of any shape, as planes of int32_t.
struct Picture {
  j2k::PictureInfo info;
  std::vector<std::vector<int32_t>> planes;

  std::vector<j2k::SampleView> views() {
    std::vector<j2k::SampleView> list;
    for (size_t c = 0; c < planes.size(); ++c) {
      list.push_back(
          {planes[c].data(), j2k::SampleType::s32, 1, ptrdiff_t(info.components[c].width) * 4});
    }
    return list;
  }
};

/// Smooth waves with a little noise, in all bits that the components have.
inline Picture waves(int width, int height, int components, int precision = 8,
                     bool isSigned = false) {
  Picture picture;
  picture.info.width = width;
  picture.info.height = height;
  std::mt19937 random(unsigned(width * 131 + height));
  const double half = std::ldexp(0.5, precision);
  for (int c = 0; c < components; ++c) {
    picture.info.components.push_back({width, height, precision, isSigned, 1, 1});
    std::vector<int32_t> plane;
    for (int y = 0; y < height; ++y) {
      for (int x = 0; x < width; ++x) {
        const double wave = std::sin(0.11 * x + c) * std::cos(0.07 * y - c) * 0.8;
        const double noise = std::uniform_real_distribution<>(-0.19, 0.19)(random);
        plane.push_back(int32_t(std::floor((wave + noise) * half + (isSigned ? 0 : half))));
      }
    }
    picture.planes.push_back(std::move(plane));
  }
  return picture;
}

inline Picture photograph(int width, int height) {
  Picture picture = waves(width, height, 3);
  const std::vector<uint8_t> rgb = testpicture::photo(width, height);
  for (size_t i = 0; i < rgb.size(); ++i) picture.planes[i % 3][i / 3] = rgb[i];
  return picture;
}

/// The picture's part, which is what the decoder must give of a region.
inline std::vector<std::vector<int32_t>> part(const Picture& whole, const j2k::Window& w) {
  std::vector<std::vector<int32_t>> planes(whole.planes.size());
  for (size_t c = 0; c < planes.size(); ++c) {
    for (int y = w.y; y < w.y + w.height; ++y) {
      const auto row = whole.planes[c].begin() + y * whole.info.width + w.x;
      planes[c].insert(planes[c].end(), row, row + w.width);
    }
  }
  return planes;
}

inline Bytes encoded(Picture& picture, const j2k::Options& options) {
  Bytes file;
  Messages messages;
  EXPECT_EQ(j2k::Status::ok,
            j2k::encodePicture(options, messages, picture.info, picture.views(), file))
      << messages.text;
  return file;
}

/// Empty when it fails.
inline Picture decoded(const Bytes& file, const j2k::Options& options, Messages& messages) {
  Picture picture;
  j2k::Decoder decoder(options, messages);
  if (decoder.open(file) != j2k::Status::ok) return picture;
  picture.info = decoder.info();
  for (const j2k::ComponentInfo& c : picture.info.components) {
    picture.planes.emplace_back(size_t(c.width) * size_t(c.height));
  }
  if (decoder.decode(picture.views()) != j2k::Status::ok) picture.planes.clear();
  return picture;
}

/// Expects no message at all.
inline Picture decodedWell(const Bytes& file, const j2k::Options& options = {}) {
  Messages messages;
  Picture picture = decoded(file, options, messages);
  EXPECT_EQ("", messages.text);
  return picture;
}

inline double psnr(const Picture& a, const Picture& b) {
  double sum = 0, count = 0;
  for (size_t c = 0; c < a.planes.size(); ++c) {
    for (size_t i = 0; i < a.planes[c].size(); ++i) {
      const double e = a.planes[c][i] - b.planes[c][i];
      sum += e * e;
      ++count;
    }
  }
  const double peak = std::ldexp(1.0, a.info.components[0].precision) - 1;
  return sum == 0 ? 1000 : 10 * std::log10(peak * peak * count / sum);
}

}  // namespace j2kkit
