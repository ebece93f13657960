/// @file
/// Plain versions of the level shift of JPEG 2000, as rkdjpeg_levelshift.h declares and defines it.
#pragma once

#include "rkd/rkdbase.h"

namespace ref {

RkdStatus rkdiLevelShiftFwd_JPEG2K_8u16s_C1R(const uint8_t* src, int srcStep, int16_t* dst,
                                             int dstStep, RkdiSize size, int depth, int isSigned);
RkdStatus rkdiLevelShiftFwd_JPEG2K_8u32s_C1R(const uint8_t* src, int srcStep, int32_t* dst,
                                             int dstStep, RkdiSize size, int depth, int isSigned);
RkdStatus rkdiLevelShiftFwd_JPEG2K_8u32f_C1R(const uint8_t* src, int srcStep, float* dst,
                                             int dstStep, RkdiSize size, int depth, int isSigned);
RkdStatus rkdiLevelShiftFwd_JPEG2K_16u16s_C1R(const uint16_t* src, int srcStep, int16_t* dst,
                                              int dstStep, RkdiSize size, int depth, int isSigned);
RkdStatus rkdiLevelShiftFwd_JPEG2K_16u32s_C1R(const uint16_t* src, int srcStep, int32_t* dst,
                                              int dstStep, RkdiSize size, int depth, int isSigned);
RkdStatus rkdiLevelShiftFwd_JPEG2K_16u32f_C1R(const uint16_t* src, int srcStep, float* dst,
                                              int dstStep, RkdiSize size, int depth, int isSigned);
RkdStatus rkdiLevelShiftFwd_JPEG2K_32s16s_C1R(const int32_t* src, int srcStep, int16_t* dst,
                                              int dstStep, RkdiSize size, int depth, int isSigned);
RkdStatus rkdiLevelShiftFwd_JPEG2K_32s_C1R(const int32_t* src, int srcStep, int32_t* dst,
                                           int dstStep, RkdiSize size, int depth, int isSigned);
RkdStatus rkdiLevelShiftFwd_JPEG2K_32s32f_C1R(const int32_t* src, int srcStep, float* dst,
                                              int dstStep, RkdiSize size, int depth, int isSigned);
RkdStatus rkdiLevelShiftFwd_JPEG2K_8u16s_C3P3R(const uint8_t* src, int srcStep,
                                               int16_t* const dst[3], int dstStep, RkdiSize size,
                                               int depth, int isSigned);
RkdStatus rkdiLevelShiftFwd_JPEG2K_8u32s_C3P3R(const uint8_t* src, int srcStep,
                                               int32_t* const dst[3], int dstStep, RkdiSize size,
                                               int depth, int isSigned);
RkdStatus rkdiLevelShiftFwd_JPEG2K_8u32f_C3P3R(const uint8_t* src, int srcStep, float* const dst[3],
                                               int dstStep, RkdiSize size, int depth, int isSigned);
RkdStatus rkdiLevelShiftFwd_JPEG2K_16u16s_C3P3R(const uint16_t* src, int srcStep,
                                                int16_t* const dst[3], int dstStep, RkdiSize size,
                                                int depth, int isSigned);
RkdStatus rkdiLevelShiftFwd_JPEG2K_16u32s_C3P3R(const uint16_t* src, int srcStep,
                                                int32_t* const dst[3], int dstStep, RkdiSize size,
                                                int depth, int isSigned);
RkdStatus rkdiLevelShiftFwd_JPEG2K_16u32f_C3P3R(const uint16_t* src, int srcStep,
                                                float* const dst[3], int dstStep, RkdiSize size,
                                                int depth, int isSigned);

RkdStatus rkdiLevelShiftInv_JPEG2K_16s8u_C1R(const int16_t* src, int srcStep, uint8_t* dst,
                                             int dstStep, RkdiSize size, int depth, int isSigned);
RkdStatus rkdiLevelShiftInv_JPEG2K_32s8u_C1R(const int32_t* src, int srcStep, uint8_t* dst,
                                             int dstStep, RkdiSize size, int depth, int isSigned);
RkdStatus rkdiLevelShiftInv_JPEG2K_32f8u_C1R(const float* src, int srcStep, uint8_t* dst,
                                             int dstStep, RkdiSize size, int depth, int isSigned);
RkdStatus rkdiLevelShiftInv_JPEG2K_16s16u_C1R(const int16_t* src, int srcStep, uint16_t* dst,
                                              int dstStep, RkdiSize size, int depth, int isSigned);
RkdStatus rkdiLevelShiftInv_JPEG2K_32s16u_C1R(const int32_t* src, int srcStep, uint16_t* dst,
                                              int dstStep, RkdiSize size, int depth, int isSigned);
RkdStatus rkdiLevelShiftInv_JPEG2K_32f16u_C1R(const float* src, int srcStep, uint16_t* dst,
                                              int dstStep, RkdiSize size, int depth, int isSigned);
RkdStatus rkdiLevelShiftInv_JPEG2K_16s32s_C1R(const int16_t* src, int srcStep, int32_t* dst,
                                              int dstStep, RkdiSize size, int depth, int isSigned);
RkdStatus rkdiLevelShiftInv_JPEG2K_32s_C1R(const int32_t* src, int srcStep, int32_t* dst,
                                           int dstStep, RkdiSize size, int depth, int isSigned);
RkdStatus rkdiLevelShiftInv_JPEG2K_32f32s_C1R(const float* src, int srcStep, int32_t* dst,
                                              int dstStep, RkdiSize size, int depth, int isSigned);
RkdStatus rkdiLevelShiftInv_JPEG2K_16s8u_P3C3R(const int16_t* const src[3], int srcStep,
                                               uint8_t* dst, int dstStep, RkdiSize size, int depth,
                                               int isSigned);
RkdStatus rkdiLevelShiftInv_JPEG2K_32s8u_P3C3R(const int32_t* const src[3], int srcStep,
                                               uint8_t* dst, int dstStep, RkdiSize size, int depth,
                                               int isSigned);
RkdStatus rkdiLevelShiftInv_JPEG2K_32f8u_P3C3R(const float* const src[3], int srcStep, uint8_t* dst,
                                               int dstStep, RkdiSize size, int depth, int isSigned);
RkdStatus rkdiLevelShiftInv_JPEG2K_16s16u_P3C3R(const int16_t* const src[3], int srcStep,
                                                uint16_t* dst, int dstStep, RkdiSize size,
                                                int depth, int isSigned);
RkdStatus rkdiLevelShiftInv_JPEG2K_32s16u_P3C3R(const int32_t* const src[3], int srcStep,
                                                uint16_t* dst, int dstStep, RkdiSize size,
                                                int depth, int isSigned);
RkdStatus rkdiLevelShiftInv_JPEG2K_32f16u_P3C3R(const float* const src[3], int srcStep,
                                                uint16_t* dst, int dstStep, RkdiSize size,
                                                int depth, int isSigned);

}  // namespace ref
