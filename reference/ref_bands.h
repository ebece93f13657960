/// @file
/// Plain versions of what lies between bands and code blocks, as rkdjpeg_bands.h declares and
/// defines it.
#pragma once

#include "rkd/rkdbase.h"

namespace ref {
RkdStatus rkdiQuantFwd_JPEG2K_32f32s_C1R(const float* src, int srcStep, int32_t* dst, int dstStep,
                                         RkdiSize size, float stepSize);
RkdStatus rkdiQuantFwd_JPEG2K_32s_C1R(const int32_t* src, int srcStep, int32_t* dst, int dstStep,
                                      RkdiSize size, float stepSize);
RkdStatus rkdiQuantFwd_JPEG2K_16s32s_C1R(const int16_t* src, int srcStep, int32_t* dst, int dstStep,
                                         RkdiSize size, float stepSize);

RkdStatus rkdiQuantInv_JPEG2K_32s32f_C1R(const int32_t* src, int srcStep, float* dst, int dstStep,
                                         RkdiSize size, float stepSize, float bias);
RkdStatus rkdiQuantInv_JPEG2K_32s_C1R(const int32_t* src, int srcStep, int32_t* dst, int dstStep,
                                      RkdiSize size, float stepSize, float bias);
RkdStatus rkdiQuantInv_JPEG2K_32s16s_C1R(const int32_t* src, int srcStep, int16_t* dst, int dstStep,
                                         RkdiSize size, float stepSize, float bias);

RkdStatus rkdiBandFwd_JPEG2K_16s32s_C1R(const int16_t* src, int srcStep, int32_t* dst, int dstStep,
                                        RkdiSize size);
RkdStatus rkdiBandInv_JPEG2K_32s16s_C1R(const int32_t* src, int srcStep, int16_t* dst, int dstStep,
                                        RkdiSize size, int fraction);
RkdStatus rkdiBandInv_JPEG2K_32s_C1R(const int32_t* src, int srcStep, int32_t* dst, int dstStep,
                                     RkdiSize size, int fraction);

RkdStatus rkdiRegionFwd_JPEG2K_32s_C1IR(int32_t* srcDst, int srcDstStep, const uint8_t* mask,
                                        int maskStep, RkdiSize size, int shift);
RkdStatus rkdiRegionInv_JPEG2K_32s_C1IR(int32_t* srcDst, int srcDstStep, RkdiSize size, int shift,
                                        int fraction);

}  // namespace ref
