// Images of several channels: copies, planes to pixels and back.
#include <cstdint>

#include "ref_image.h"
#include "samples.h"

namespace ref {

#define REF_SPLIT(Name, T, C)                                                              \
  RkdStatus Name(const T* src, int srcStep, T* const dst[C], int dstStep, RkdiSize size) { \
    for (int y = 0; y < size.height; ++y) {                                                \
      for (int i = 0; i < C * size.width; ++i) {                                           \
        row(dst[i % C], dstStep, y)[i / C] = row(src, srcStep, y)[i];                      \
      }                                                                                    \
    }                                                                                      \
    return 0;                                                                              \
  }
#define REF_JOIN(Name, T, C)                                                               \
  RkdStatus Name(const T* const src[C], int srcStep, T* dst, int dstStep, RkdiSize size) { \
    for (int y = 0; y < size.height; ++y) {                                                \
      for (int i = 0; i < C * size.width; ++i) {                                           \
        row(dst, dstStep, y)[i] = T(row(src[i % C], srcStep, y)[i / C]);                   \
      }                                                                                    \
    }                                                                                      \
    return 0;                                                                              \
  }

REF_SPLIT(rkdiCopy_8u_C3P3R, uint8_t, 3)
REF_SPLIT(rkdiCopy_8u_C4P4R, uint8_t, 4)
REF_SPLIT(rkdiCopy_16u_C3P3R, uint16_t, 3)
REF_SPLIT(rkdiCopy_16u_C4P4R, uint16_t, 4)
REF_JOIN(rkdiCopy_8u_P3C3R, uint8_t, 3)
REF_JOIN(rkdiCopy_8u_P4C4R, uint8_t, 4)
REF_JOIN(rkdiCopy_16u_P3C3R, uint16_t, 3)
REF_JOIN(rkdiCopy_16u_P4C4R, uint16_t, 4)

RkdStatus rkdiInvert_8u_C1R(const uint8_t* src, int srcStep, uint8_t* dst, int dstStep,
                            RkdiSize size) {
  for (int y = 0; y < size.height; ++y) {
    for (int x = 0; x < size.width; ++x) {
      row(dst, dstStep, y)[x] = static_cast<uint8_t>(255 - row(src, srcStep, y)[x]);
    }
  }
  return 0;
}
RkdStatus rkdiInvert_8u_C4R(const uint8_t* src, int srcStep, uint8_t* dst, int dstStep,
                            RkdiSize size) {
  return rkdiInvert_8u_C1R(src, srcStep, dst, dstStep, {4 * size.width, size.height});
}
RkdStatus rkdiInvert_8u_C1IR(uint8_t* srcDst, int srcDstStep, RkdiSize size) {
  return rkdiInvert_8u_C1R(srcDst, srcDstStep, srcDst, srcDstStep, size);
}
RkdStatus rkdiInvert_8u_C4IR(uint8_t* srcDst, int srcDstStep, RkdiSize size) {
  return rkdiInvert_8u_C4R(srcDst, srcDstStep, srcDst, srcDstStep, size);
}

}  // namespace ref
