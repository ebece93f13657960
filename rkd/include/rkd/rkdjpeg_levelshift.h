/// @file rkdjpeg_levelshift.h
/// Samples of a picture to and from those of a wavelet transform: DC level shift, and on the way
/// back the clamp to the depth, in one pass.
///
/// - **Depth** is the number of bits of a sample, 1..31, and no more than the picture's type has;
///   with 16s on the transform's side of Fwd no more than 16.
/// - **Unsigned** samples, 0..2^depth - 1, are shifted by 2^(depth - 1).
/// - **Signed** ones, -2^(depth - 1)..2^(depth - 1) - 1, are not shifted. In 8u and 16u they stand
///   in two's complement of the whole element, 200 in 8u being -56.
/// - Fwd takes samples beyond the depth, too: 8u as they are, of 16u the shifted sample modulo
///   2^16, shown as -32768..32767; shifted 32s wrap around, then saturate where the result is 16s.
///   32f is exact up to 24 bits, beyond them rounded to nearest.
/// - Inv takes every coefficient (32f: every number), rounds 32f to nearest, halves to even, and
///   clamps to the depth.
///
/// Results are the same bits at every processor level.
///
/// @param src,dst          interleaved operands: the first row; planar ones (`P3`): an array of
///                         plane pointers, first rows. Operands must not overlap
/// @param srcStep,dstStep  BYTES between row starts, at least one row; the planes of an operand
///                         share one step
/// @param size             region in PIXELS, both > 0
/// @param depth            bits of a sample
/// @param isSigned         0 unsigned, 1 signed
/// @return rkdStsNoErr; rkdStsNullPtrErr (a plane included), rkdStsSizeErr, rkdStsStepErr,
///         rkdStsBadArgErr (depth) with the destination untouched
/// @see ITU-T T.800, G.1
#pragma once

#include "rkd/rkdbase.h"

#ifdef __cplusplus
extern "C" {
#endif

/// @name Samples of a picture to those of a transform
/// @{
RKD_API RkdStatus rkdiLevelShiftFwd_JPEG2K_8u16s_C1R(const uint8_t* src, int srcStep, int16_t* dst,
                                                     int dstStep, RkdiSize size, int depth,
                                                     int isSigned);
RKD_API RkdStatus rkdiLevelShiftFwd_JPEG2K_8u32s_C1R(const uint8_t* src, int srcStep, int32_t* dst,
                                                     int dstStep, RkdiSize size, int depth,
                                                     int isSigned);
RKD_API RkdStatus rkdiLevelShiftFwd_JPEG2K_8u32f_C1R(const uint8_t* src, int srcStep, float* dst,
                                                     int dstStep, RkdiSize size, int depth,
                                                     int isSigned);
RKD_API RkdStatus rkdiLevelShiftFwd_JPEG2K_16u16s_C1R(const uint16_t* src, int srcStep,
                                                      int16_t* dst, int dstStep, RkdiSize size,
                                                      int depth, int isSigned);
RKD_API RkdStatus rkdiLevelShiftFwd_JPEG2K_16u32s_C1R(const uint16_t* src, int srcStep,
                                                      int32_t* dst, int dstStep, RkdiSize size,
                                                      int depth, int isSigned);
RKD_API RkdStatus rkdiLevelShiftFwd_JPEG2K_16u32f_C1R(const uint16_t* src, int srcStep, float* dst,
                                                      int dstStep, RkdiSize size, int depth,
                                                      int isSigned);
RKD_API RkdStatus rkdiLevelShiftFwd_JPEG2K_32s16s_C1R(const int32_t* src, int srcStep, int16_t* dst,
                                                      int dstStep, RkdiSize size, int depth,
                                                      int isSigned);
RKD_API RkdStatus rkdiLevelShiftFwd_JPEG2K_32s_C1R(const int32_t* src, int srcStep, int32_t* dst,
                                                   int dstStep, RkdiSize size, int depth,
                                                   int isSigned);
RKD_API RkdStatus rkdiLevelShiftFwd_JPEG2K_32s32f_C1R(const int32_t* src, int srcStep, float* dst,
                                                      int dstStep, RkdiSize size, int depth,
                                                      int isSigned);
RKD_API RkdStatus rkdiLevelShiftFwd_JPEG2K_8u16s_C3P3R(const uint8_t* src, int srcStep,
                                                       int16_t* const dst[3], int dstStep,
                                                       RkdiSize size, int depth, int isSigned);
RKD_API RkdStatus rkdiLevelShiftFwd_JPEG2K_8u32s_C3P3R(const uint8_t* src, int srcStep,
                                                       int32_t* const dst[3], int dstStep,
                                                       RkdiSize size, int depth, int isSigned);
RKD_API RkdStatus rkdiLevelShiftFwd_JPEG2K_8u32f_C3P3R(const uint8_t* src, int srcStep,
                                                       float* const dst[3], int dstStep,
                                                       RkdiSize size, int depth, int isSigned);
RKD_API RkdStatus rkdiLevelShiftFwd_JPEG2K_16u16s_C3P3R(const uint16_t* src, int srcStep,
                                                        int16_t* const dst[3], int dstStep,
                                                        RkdiSize size, int depth, int isSigned);
RKD_API RkdStatus rkdiLevelShiftFwd_JPEG2K_16u32s_C3P3R(const uint16_t* src, int srcStep,
                                                        int32_t* const dst[3], int dstStep,
                                                        RkdiSize size, int depth, int isSigned);
RKD_API RkdStatus rkdiLevelShiftFwd_JPEG2K_16u32f_C3P3R(const uint16_t* src, int srcStep,
                                                        float* const dst[3], int dstStep,
                                                        RkdiSize size, int depth, int isSigned);
/// @}

/// @name Samples of a transform to those of a picture
/// @{
RKD_API RkdStatus rkdiLevelShiftInv_JPEG2K_16s8u_C1R(const int16_t* src, int srcStep, uint8_t* dst,
                                                     int dstStep, RkdiSize size, int depth,
                                                     int isSigned);
RKD_API RkdStatus rkdiLevelShiftInv_JPEG2K_32s8u_C1R(const int32_t* src, int srcStep, uint8_t* dst,
                                                     int dstStep, RkdiSize size, int depth,
                                                     int isSigned);
RKD_API RkdStatus rkdiLevelShiftInv_JPEG2K_32f8u_C1R(const float* src, int srcStep, uint8_t* dst,
                                                     int dstStep, RkdiSize size, int depth,
                                                     int isSigned);
RKD_API RkdStatus rkdiLevelShiftInv_JPEG2K_16s16u_C1R(const int16_t* src, int srcStep,
                                                      uint16_t* dst, int dstStep, RkdiSize size,
                                                      int depth, int isSigned);
RKD_API RkdStatus rkdiLevelShiftInv_JPEG2K_32s16u_C1R(const int32_t* src, int srcStep,
                                                      uint16_t* dst, int dstStep, RkdiSize size,
                                                      int depth, int isSigned);
RKD_API RkdStatus rkdiLevelShiftInv_JPEG2K_32f16u_C1R(const float* src, int srcStep, uint16_t* dst,
                                                      int dstStep, RkdiSize size, int depth,
                                                      int isSigned);
RKD_API RkdStatus rkdiLevelShiftInv_JPEG2K_16s32s_C1R(const int16_t* src, int srcStep, int32_t* dst,
                                                      int dstStep, RkdiSize size, int depth,
                                                      int isSigned);
RKD_API RkdStatus rkdiLevelShiftInv_JPEG2K_32s_C1R(const int32_t* src, int srcStep, int32_t* dst,
                                                   int dstStep, RkdiSize size, int depth,
                                                   int isSigned);
RKD_API RkdStatus rkdiLevelShiftInv_JPEG2K_32f32s_C1R(const float* src, int srcStep, int32_t* dst,
                                                      int dstStep, RkdiSize size, int depth,
                                                      int isSigned);
RKD_API RkdStatus rkdiLevelShiftInv_JPEG2K_16s8u_P3C3R(const int16_t* const src[3], int srcStep,
                                                       uint8_t* dst, int dstStep, RkdiSize size,
                                                       int depth, int isSigned);
RKD_API RkdStatus rkdiLevelShiftInv_JPEG2K_32s8u_P3C3R(const int32_t* const src[3], int srcStep,
                                                       uint8_t* dst, int dstStep, RkdiSize size,
                                                       int depth, int isSigned);
RKD_API RkdStatus rkdiLevelShiftInv_JPEG2K_32f8u_P3C3R(const float* const src[3], int srcStep,
                                                       uint8_t* dst, int dstStep, RkdiSize size,
                                                       int depth, int isSigned);
RKD_API RkdStatus rkdiLevelShiftInv_JPEG2K_16s16u_P3C3R(const int16_t* const src[3], int srcStep,
                                                        uint16_t* dst, int dstStep, RkdiSize size,
                                                        int depth, int isSigned);
RKD_API RkdStatus rkdiLevelShiftInv_JPEG2K_32s16u_P3C3R(const int32_t* const src[3], int srcStep,
                                                        uint16_t* dst, int dstStep, RkdiSize size,
                                                        int depth, int isSigned);
RKD_API RkdStatus rkdiLevelShiftInv_JPEG2K_32f16u_P3C3R(const float* const src[3], int srcStep,
                                                        uint16_t* dst, int dstStep, RkdiSize size,
                                                        int depth, int isSigned);
/// @}

#ifdef __cplusplus
}
#endif
