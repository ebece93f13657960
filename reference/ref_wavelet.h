/// @file
/// Plain versions of the wavelet functions, as rkdjpeg_wavelet.h declares and defines them.
#pragma once

#include "rkd/rkdbase.h"

namespace ref {

/// @name One direction
/// @{
RkdStatus rkdiWTFwdRow_B53_JPEG2K_16s_C1R(const int16_t* src, int srcStep, int16_t* low,
                                          int lowStep, int16_t* high, int highStep, RkdiSize size,
                                          int phase);
RkdStatus rkdiWTInvRow_B53_JPEG2K_16s_C1R(const int16_t* low, int lowStep, const int16_t* high,
                                          int highStep, int16_t* dst, int dstStep, RkdiSize size,
                                          int phase);
RkdStatus rkdiWTFwdCol_B53_JPEG2K_16s_C1R(const int16_t* src, int srcStep, int16_t* low,
                                          int lowStep, int16_t* high, int highStep, RkdiSize size,
                                          int phase);
RkdStatus rkdiWTInvCol_B53_JPEG2K_16s_C1R(const int16_t* low, int lowStep, const int16_t* high,
                                          int highStep, int16_t* dst, int dstStep, RkdiSize size,
                                          int phase);
RkdStatus rkdiWTFwdRow_B53_JPEG2K_32s_C1R(const int32_t* src, int srcStep, int32_t* low,
                                          int lowStep, int32_t* high, int highStep, RkdiSize size,
                                          int phase);
RkdStatus rkdiWTInvRow_B53_JPEG2K_32s_C1R(const int32_t* low, int lowStep, const int32_t* high,
                                          int highStep, int32_t* dst, int dstStep, RkdiSize size,
                                          int phase);
RkdStatus rkdiWTFwdCol_B53_JPEG2K_32s_C1R(const int32_t* src, int srcStep, int32_t* low,
                                          int lowStep, int32_t* high, int highStep, RkdiSize size,
                                          int phase);
RkdStatus rkdiWTInvCol_B53_JPEG2K_32s_C1R(const int32_t* low, int lowStep, const int32_t* high,
                                          int highStep, int32_t* dst, int dstStep, RkdiSize size,
                                          int phase);
RkdStatus rkdiWTFwdRow_D97_JPEG2K_32f_C1R(const float* src, int srcStep, float* low, int lowStep,
                                          float* high, int highStep, RkdiSize size, int phase);
RkdStatus rkdiWTInvRow_D97_JPEG2K_32f_C1R(const float* low, int lowStep, const float* high,
                                          int highStep, float* dst, int dstStep, RkdiSize size,
                                          int phase);
RkdStatus rkdiWTFwdCol_D97_JPEG2K_32f_C1R(const float* src, int srcStep, float* low, int lowStep,
                                          float* high, int highStep, RkdiSize size, int phase);
RkdStatus rkdiWTInvCol_D97_JPEG2K_32f_C1R(const float* low, int lowStep, const float* high,
                                          int highStep, float* dst, int dstStep, RkdiSize size,
                                          int phase);
RkdStatus rkdiWTFwdRow_D97_JPEG2K_16s_C1R(const int16_t* src, int srcStep, int16_t* low,
                                          int lowStep, int16_t* high, int highStep, RkdiSize size,
                                          int phase);
RkdStatus rkdiWTInvRow_D97_JPEG2K_16s_C1R(const int16_t* low, int lowStep, const int16_t* high,
                                          int highStep, int16_t* dst, int dstStep, RkdiSize size,
                                          int phase);
RkdStatus rkdiWTFwdRow_D97_JPEG2K_32s_C1R(const int32_t* src, int srcStep, int32_t* low,
                                          int lowStep, int32_t* high, int highStep, RkdiSize size,
                                          int phase);
RkdStatus rkdiWTInvRow_D97_JPEG2K_32s_C1R(const int32_t* low, int lowStep, const int32_t* high,
                                          int highStep, int32_t* dst, int dstStep, RkdiSize size,
                                          int phase);
RkdStatus rkdiWTFwdCol_D97_JPEG2K_16s_C1R(const int16_t* src, int srcStep, int16_t* low,
                                          int lowStep, int16_t* high, int highStep, RkdiSize size,
                                          int phase);
RkdStatus rkdiWTInvCol_D97_JPEG2K_16s_C1R(const int16_t* low, int lowStep, const int16_t* high,
                                          int highStep, int16_t* dst, int dstStep, RkdiSize size,
                                          int phase);
RkdStatus rkdiWTFwdCol_D97_JPEG2K_32s_C1R(const int32_t* src, int srcStep, int32_t* low,
                                          int lowStep, int32_t* high, int highStep, RkdiSize size,
                                          int phase);
RkdStatus rkdiWTInvCol_D97_JPEG2K_32s_C1R(const int32_t* low, int lowStep, const int32_t* high,
                                          int highStep, int32_t* dst, int dstStep, RkdiSize size,
                                          int phase);
/// @}

/// @name Both directions
/// @{
RkdStatus rkdiWTGetBufSize_JPEG2K(RkdiSize size, RkdDataType type, int* bytes);
RkdStatus rkdiWTFwd_B53_JPEG2K_16s_C1R(const int16_t* src, int srcStep, int16_t* dst, int dstStep,
                                       RkdiSize size, int phaseX, int phaseY, void* buffer);
RkdStatus rkdiWTFwd_B53_JPEG2K_16s_C1IR(int16_t* srcDst, int srcDstStep, RkdiSize size, int phaseX,
                                        int phaseY, void* buffer);
RkdStatus rkdiWTInv_B53_JPEG2K_16s_C1R(const int16_t* src, int srcStep, int16_t* dst, int dstStep,
                                       RkdiSize size, int phaseX, int phaseY, void* buffer);
RkdStatus rkdiWTInv_B53_JPEG2K_16s_C1IR(int16_t* srcDst, int srcDstStep, RkdiSize size, int phaseX,
                                        int phaseY, void* buffer);
RkdStatus rkdiWTFwd_B53_JPEG2K_32s_C1R(const int32_t* src, int srcStep, int32_t* dst, int dstStep,
                                       RkdiSize size, int phaseX, int phaseY, void* buffer);
RkdStatus rkdiWTFwd_B53_JPEG2K_32s_C1IR(int32_t* srcDst, int srcDstStep, RkdiSize size, int phaseX,
                                        int phaseY, void* buffer);
RkdStatus rkdiWTInv_B53_JPEG2K_32s_C1R(const int32_t* src, int srcStep, int32_t* dst, int dstStep,
                                       RkdiSize size, int phaseX, int phaseY, void* buffer);
RkdStatus rkdiWTInv_B53_JPEG2K_32s_C1IR(int32_t* srcDst, int srcDstStep, RkdiSize size, int phaseX,
                                        int phaseY, void* buffer);
RkdStatus rkdiWTFwd_D97_JPEG2K_16s_C1R(const int16_t* src, int srcStep, int16_t* dst, int dstStep,
                                       RkdiSize size, int phaseX, int phaseY, void* buffer);
RkdStatus rkdiWTFwd_D97_JPEG2K_16s_C1IR(int16_t* srcDst, int srcDstStep, RkdiSize size, int phaseX,
                                        int phaseY, void* buffer);
RkdStatus rkdiWTInv_D97_JPEG2K_16s_C1R(const int16_t* src, int srcStep, int16_t* dst, int dstStep,
                                       RkdiSize size, int phaseX, int phaseY, void* buffer);
RkdStatus rkdiWTInv_D97_JPEG2K_16s_C1IR(int16_t* srcDst, int srcDstStep, RkdiSize size, int phaseX,
                                        int phaseY, void* buffer);
RkdStatus rkdiWTFwd_D97_JPEG2K_32s_C1R(const int32_t* src, int srcStep, int32_t* dst, int dstStep,
                                       RkdiSize size, int phaseX, int phaseY, void* buffer);
RkdStatus rkdiWTFwd_D97_JPEG2K_32s_C1IR(int32_t* srcDst, int srcDstStep, RkdiSize size, int phaseX,
                                        int phaseY, void* buffer);
RkdStatus rkdiWTInv_D97_JPEG2K_32s_C1R(const int32_t* src, int srcStep, int32_t* dst, int dstStep,
                                       RkdiSize size, int phaseX, int phaseY, void* buffer);
RkdStatus rkdiWTInv_D97_JPEG2K_32s_C1IR(int32_t* srcDst, int srcDstStep, RkdiSize size, int phaseX,
                                        int phaseY, void* buffer);
RkdStatus rkdiWTFwd_D97_JPEG2K_32f_C1R(const float* src, int srcStep, float* dst, int dstStep,
                                       RkdiSize size, int phaseX, int phaseY, void* buffer);
RkdStatus rkdiWTFwd_D97_JPEG2K_32f_C1IR(float* srcDst, int srcDstStep, RkdiSize size, int phaseX,
                                        int phaseY, void* buffer);
RkdStatus rkdiWTInv_D97_JPEG2K_32f_C1R(const float* src, int srcStep, float* dst, int dstStep,
                                       RkdiSize size, int phaseX, int phaseY, void* buffer);
RkdStatus rkdiWTInv_D97_JPEG2K_32f_C1IR(float* srcDst, int srcDstStep, RkdiSize size, int phaseX,
                                        int phaseY, void* buffer);
/// @}

/// @name Column lifting
/// @{
RkdStatus rkdiWTFwdColLift_B53_JPEG2K_16s_C1(const int16_t* even0, const int16_t* odd,
                                             const int16_t* even1, const int16_t* high0,
                                             int16_t* low, int16_t* high, int width);
RkdStatus rkdiWTFwdColLift_B53_JPEG2K_32s_C1(const int32_t* even0, const int32_t* odd,
                                             const int32_t* even1, const int32_t* high0,
                                             int32_t* low, int32_t* high, int width);
RkdStatus rkdiWTFwdColLift_D97_JPEG2K_16s_C1(const int16_t* odd, const int16_t* even,
                                             int16_t* const state[4], int16_t* low, int16_t* high,
                                             int width);
RkdStatus rkdiWTFwdColLift_D97_JPEG2K_32s_C1(const int32_t* odd, const int32_t* even,
                                             int32_t* const state[4], int32_t* low, int32_t* high,
                                             int width);
RkdStatus rkdiWTFwdColLift_D97_JPEG2K_32f_C1(const float* odd, const float* even,
                                             float* const state[4], float* low, float* high,
                                             int width);
RkdStatus rkdiWTInvColLift_B53_JPEG2K_16s_C1(const int16_t* low, const int16_t* high0,
                                             const int16_t* high1, const int16_t* even0,
                                             int16_t* odd, int16_t* even1, int width);
RkdStatus rkdiWTInvColLift_B53_JPEG2K_32s_C1(const int32_t* low, const int32_t* high0,
                                             const int32_t* high1, const int32_t* even0,
                                             int32_t* odd, int32_t* even1, int width);
RkdStatus rkdiWTInvColLift_D97_JPEG2K_16s_C1(const int16_t* low, const int16_t* high,
                                             int16_t* const state[4], int16_t* odd, int16_t* even,
                                             int width);
RkdStatus rkdiWTInvColLift_D97_JPEG2K_32s_C1(const int32_t* low, const int32_t* high,
                                             int32_t* const state[4], int32_t* odd, int32_t* even,
                                             int width);
RkdStatus rkdiWTInvColLift_D97_JPEG2K_32f_C1(const float* low, const float* high,
                                             float* const state[4], float* odd, float* even,
                                             int width);
/// @}

}  // namespace ref
