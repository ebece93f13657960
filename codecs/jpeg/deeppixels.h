#pragma once
/// @file
/// Samples of 12 bits: transforms by the library, up-sampling and colour in plain arithmetic. Such
/// files are rare, and what counts is that they open.

#include <vector>

#include "coder.h"

namespace jpeg {

/// A whole picture of 12-bit samples.
class DeepPixels {
 public:
  /// Transforms everything. @return ok, overMemoryLimit, badArgument for a reduced picture
  Status init(const Coefficients& coefficients, const InverseSetup& setup, size_t memoryLimit);
  /// 16-bit samples of the region.
  Status put(RowSink& sink) const;

 private:
  struct Plane {
    int width = 0, height = 0, step = 0;
    int h = 1, v = 1;  // factors
    std::vector<uint16_t> samples;
  };
  int sampleAt(const Plane& plane, int x, int y) const;
  void convert(int* samples) const;

  Frame frame_;
  InverseSetup setup_;
  std::array<Plane, kMaxComponents> plane_;
};

}  // namespace jpeg
