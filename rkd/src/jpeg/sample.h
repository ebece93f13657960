// Operands of the sampling functions on whole images.
#pragma once

#include "common/args.h"

namespace rkd {

// Whether `whole` samples and `part`, a factor fewer, belong together.
inline bool isPartOf(int factor, int whole, int part) {
  return part == whole / factor + (whole % factor != 0);
}

template <class T>
struct SampleImagesOf {
  const T* src;
  int srcStep;
  RkdiSize srcSize;
  T* dst;
  int dstStep;
  RkdiSize dstSize;

  RkdStatus check(bool sizesMatch) const {
    return firstOf(checkPointers(src, dst), checkSize(srcSize), checkSize(dstSize),
                   sizesMatch ? rkdStsNoErr : rkdStsSizeErr, checkStep<T>(srcStep, srcSize.width),
                   checkStep<T>(dstStep, dstSize.width));
  }
  size_t srcWidth() const { return static_cast<size_t>(srcSize.width); }
  size_t dstWidth() const { return static_cast<size_t>(dstSize.width); }
  // Beyond the edge, the edge row.
  const T* srcRow(int y) const {
    return rowAt(src, srcStep, y < 0 ? 0 : y < srcSize.height ? y : srcSize.height - 1);
  }
  T* dstRow(int y) const { return rowAt(dst, dstStep, y); }
};
using SampleImages = SampleImagesOf<uint8_t>;

}  // namespace rkd
