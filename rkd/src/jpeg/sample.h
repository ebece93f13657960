// Operands of the sampling functions on whole images.
#pragma once

#include "common/args.h"

namespace rkd {

struct SampleImages {
  const uint8_t* src;
  int srcStep;
  RkdiSize srcSize;
  uint8_t* dst;
  int dstStep;
  RkdiSize dstSize;

  RkdStatus check(bool sizesMatch) const {
    return firstOf(checkPointers(src, dst), checkSize(srcSize), checkSize(dstSize),
                   sizesMatch ? rkdStsNoErr : rkdStsSizeErr,
                   checkStep<uint8_t>(srcStep, srcSize.width),
                   checkStep<uint8_t>(dstStep, dstSize.width));
  }
  size_t srcWidth() const { return static_cast<size_t>(srcSize.width); }
  size_t dstWidth() const { return static_cast<size_t>(dstSize.width); }
  // Beyond the edge, the edge row.
  const uint8_t* srcRow(int y) const {
    return rowAt(src, srcStep, y < 0 ? 0 : y < srcSize.height ? y : srcSize.height - 1);
  }
  uint8_t* dstRow(int y) const { return rowAt(dst, dstStep, y); }
};

}  // namespace rkd
