// What the entry points of texture blocks share.
#pragma once

#include "common/args.h"

namespace rkd {

constexpr int blockBytes(int format) { return format == 1 ? 8 : 16; }

// Checks an image on one side and rows of blocks on the other, which have so many bytes a column of
// pixels, and runs a kernel.
inline RkdStatus runTexture(void (*kernel)(const Rows<uint8_t, uint8_t>&), const uint8_t* src,
                            int srcStep, int srcBytes, uint8_t* dst, int dstStep, int dstBytes,
                            RkdiSize size) {
  const bool whole = size.width % 4 == 0 && size.height % 4 == 0;
  if (const RkdStatus status =
          firstOf(checkPointers(src, dst), checkSize(size), whole ? rkdStsNoErr : rkdStsSizeErr,
                  checkStep<uint8_t>(srcStep, int64_t{srcBytes} * size.width),
                  checkStep<uint8_t>(dstStep, int64_t{dstBytes} * size.width))) {
    return status;
  }
  kernel({{src}, srcStep, {dst}, dstStep, size});
  return rkdStsNoErr;
}

}  // namespace rkd
