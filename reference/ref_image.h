/// @file
/// Plain versions of pixels to planes and back, and of inversion, as rkdi.h declares and defines
/// them.
#pragma once

#include "rkd/rkdbase.h"

namespace ref {

RkdStatus rkdiCopy_8u_C3P3R(const uint8_t* src, int srcStep, uint8_t* const dst[3], int dstStep,
                            RkdiSize size);
RkdStatus rkdiCopy_8u_C4P4R(const uint8_t* src, int srcStep, uint8_t* const dst[4], int dstStep,
                            RkdiSize size);
RkdStatus rkdiCopy_16u_C3P3R(const uint16_t* src, int srcStep, uint16_t* const dst[3], int dstStep,
                             RkdiSize size);
RkdStatus rkdiCopy_16u_C4P4R(const uint16_t* src, int srcStep, uint16_t* const dst[4], int dstStep,
                             RkdiSize size);
RkdStatus rkdiCopy_8u_P3C3R(const uint8_t* const src[3], int srcStep, uint8_t* dst, int dstStep,
                            RkdiSize size);
RkdStatus rkdiCopy_8u_P4C4R(const uint8_t* const src[4], int srcStep, uint8_t* dst, int dstStep,
                            RkdiSize size);
RkdStatus rkdiCopy_16u_P3C3R(const uint16_t* const src[3], int srcStep, uint16_t* dst, int dstStep,
                             RkdiSize size);
RkdStatus rkdiCopy_16u_P4C4R(const uint16_t* const src[4], int srcStep, uint16_t* dst, int dstStep,
                             RkdiSize size);

RkdStatus rkdiInvert_8u_C1R(const uint8_t* src, int srcStep, uint8_t* dst, int dstStep,
                            RkdiSize size);
RkdStatus rkdiInvert_8u_C4R(const uint8_t* src, int srcStep, uint8_t* dst, int dstStep,
                            RkdiSize size);
RkdStatus rkdiInvert_8u_C1IR(uint8_t* srcDst, int srcDstStep, RkdiSize size);
RkdStatus rkdiInvert_8u_C4IR(uint8_t* srcDst, int srcDstStep, RkdiSize size);

}  // namespace ref
