// Entry points of the MCU functions: the checks, once, for all of them; and what all kernels look
// like.
#pragma once

#include "common/args.h"

namespace rkd {

// `rowSamples`: what one pixel row of the MCU holds; P: planes of blocks.
template <int P, class S, class Kernel>
inline RkdStatus runMcuForward(Kernel kernel, const S* src, int srcStep, int16_t* const* dst,
                               int rowSamples) {
  if (const RkdStatus status =
          firstOf(checkPointers(src), checkPlanes(dst, P), checkStep<S>(srcStep, rowSamples))) {
    return status;
  }
  return kernel(src, srcStep, dst);
}

template <int P, class D, class Kernel>
inline RkdStatus runMcuInverse(Kernel kernel, const int16_t* const* src, D* dst, int dstStep,
                               int rowSamples) {
  if (const RkdStatus status =
          firstOf(checkPlanes(src, P), checkPointers(dst), checkStep<D>(dstStep, rowSamples))) {
    return status;
  }
  return kernel(src, dst, dstStep);
}

}  // namespace rkd

// One exported function: T is the pixels' sample type.
#define RKD_MCU_FORWARD(Name, kernel, T, rowSamples, P)                                  \
  RkdStatus Name(const T* src, int srcStep, int16_t* const dst[P]) {                     \
    return ::rkd::runMcuForward<P>(RKD_AT_LEVEL(kernel), src, srcStep, dst, rowSamples); \
  }
#define RKD_MCU_INVERSE(Name, kernel, T, rowSamples, P)                                  \
  RkdStatus Name(const int16_t* const src[P], T* dst, int dstStep) {                     \
    return ::rkd::runMcuInverse<P>(RKD_AT_LEVEL(kernel), src, dst, dstStep, rowSamples); \
  }

// One kernel: S is the shape of the MCU, Format the pixels, P the number of planes.
#define RKD_TO_BLOCKS(name, S, Format, Operation, P)                         \
  RkdStatus name(const Format::Sample* src, int step, int16_t* const* dst) { \
    return toBlocks<S, Format, Operation, P>(src, step, dst);                \
  }
#define RKD_FROM_BLOCKS(name, S, Format, Operation, P)                       \
  RkdStatus name(const int16_t* const* src, Format::Sample* dst, int step) { \
    return fromBlocks<S, Format, Operation, P>(src, dst, step);              \
  }
