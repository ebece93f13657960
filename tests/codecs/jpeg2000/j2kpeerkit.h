#pragma once
/// @file
/// Pictures exchanged with other programs, and how what they make of a stream is judged.

#include <algorithm>
#include <climits>
#include <cmath>
#include <cstdlib>
#include <cstring>

#include "base/imagefile.h"
#include "j2kkit.h"
#include "peerkit.h"

namespace j2kkit {

/// Tests with OpenJPEG's programs.
class Compress : public peerkit::PeerTest {
 protected:
  Compress() : PeerTest("opj_compress") {}
};

class Decompress : public peerkit::PeerTest {
 protected:
  Decompress() : PeerTest("opj_decompress") {}
};

inline Bytes anymap(const Picture& picture) {
  base::ImageShape shape;
  shape.width = picture.info.width;
  shape.height = picture.info.height;
  shape.channels = int(picture.planes.size());
  shape.depth = picture.info.components[0].precision;
  const size_t size = shape.sampleBytes();
  Bytes samples(shape.rowBytes() * size_t(shape.height));
  for (size_t c = 0; c < picture.planes.size(); ++c) {
    for (size_t i = 0; i < picture.planes[c].size(); ++i) {
      std::memcpy(&samples[(i * picture.planes.size() + c) * size], &picture.planes[c][i], size);
    }
  }
  Bytes file;
  EXPECT_EQ(base::ImageStatus::ok, base::writeImage(shape, samples.data(), shape.rowBytes(),
                                                    base::ImageFormat::pnm, file));
  return file;
}

inline Picture fromAnymap(const Bytes& file) {
  base::Image image;
  Picture picture;
  if (base::readImage(file, image) != base::ImageStatus::ok) return picture;
  const size_t channels = size_t(image.shape.channels), size = image.shape.sampleBytes();
  picture.info.width = image.shape.width;
  picture.info.height = image.shape.height;
  picture.planes.resize(channels);
  for (size_t i = 0; i < image.samples.size() / size; ++i) {
    int32_t v = 0;
    std::memcpy(&v, &image.samples[i * size], size);
    picture.planes[i % channels].push_back(v);
  }
  picture.info.components.resize(
      channels, {image.shape.width, image.shape.height, image.shape.depth, false, 1, 1});
  return picture;
}

inline int largestDifference(const Picture& a, const Picture& b) {
  int most = 0;
  if (a.planes.size() != b.planes.size()) return INT_MAX;
  for (size_t c = 0; c < a.planes.size(); ++c) {
    if (a.planes[c].size() != b.planes[c].size()) return INT_MAX;
    for (size_t i = 0; i < a.planes[c].size(); ++i) {
      most = std::max(most, std::abs(a.planes[c][i] - b.planes[c][i]));
    }
  }
  return most;
}

/// The limits to which decoders are held at full resolution: reversible streams are exact, others
/// come within a level of full-precision arithmetic.
inline void expectConformance(const Picture& theirs, const Picture& ours, bool isReversible) {
  const int most = largestDifference(theirs, ours);
  EXPECT_GE(isReversible ? 0 : 1, most);
  if (isReversible || most == INT_MAX) return;
  // Floating point has no more than 24 bits.
  if (ours.info.components[0].precision > 12) return;
  // The mean squared error, of one component after the other; single levels are many of few
  // samples.
  for (size_t c = 0; c < ours.planes.size(); ++c) {
    double sum = 0;
    for (size_t i = 0; i < ours.planes[c].size(); ++i) {
      sum += std::pow(ours.planes[c][i] - theirs.planes[c][i], 2);
    }
    const auto count = double(ours.planes[c].size());
    EXPECT_GT(0.05 + 3 / count, sum / count) << "component " << c;
  }
}

}  // namespace j2kkit
