/// @file rkdcolor.h
/// Colour conversion for JPEG and the component transforms of JPEG 2000, region by region.
///
/// What holds for all functions here:
/// @param src,dst  interleaved operands: the first row; planar ones (`P3`, `P4`): an array of plane
///                 pointers, first rows. Operands must not overlap; `I`: one operand, read and
///                 written
/// @param srcStep,dstStep,srcDstStep  BYTES between row starts, at least one row, a multiple of the
///                 element size; the planes of an operand share one step
/// @param size     region in PIXELS, both > 0
/// @return rkdStsNoErr; rkdStsNullPtrErr (a plane included), rkdStsSizeErr, rkdStsStepErr with the
///         destination untouched
///
/// Integer results are the same bits at every processor level.
#pragma once

#include "rkd/rkdbase.h"

#ifdef __cplusplus
extern "C" {
#endif

/// @name RGB and BGR to and from YCbCr, 8 bits
/// Full range, as JPEG files hold it: Y = .299 R + .587 G + .114 B,
/// Cb = 128 - .168735892 R - .331264108 G + .5 B, Cr = 128 + .5 R - .418687589 G - .081312411 B;
/// R = Y + 1.402 (Cr - 128), G = Y - .34414 (Cb - 128) - .71414 (Cr - 128),
/// B = Y + 1.772 (Cb - 128), clamped to 0..255.
/// Computed with c' = round(c * 65536): Y = (sum + 32768) >> 16, Cb and Cr = (sum + 128 * 65536 +
/// 32767) >> 16; R = Y + ((1.402' * cr + 32768) >> 16), B likewise, G = Y + ((-.34414' * cb -
/// .71414' * cr + 32768) >> 16). Never more than 1 from the rounded exact value.
/// @see ITU-T T.871, clause 7
/// @{
RKD_API RkdStatus rkdiRGBToY_JPEG_8u_P3C1R(const uint8_t* const src[3], int srcStep, uint8_t* dst,
                                           int dstStep, RkdiSize size);
RKD_API RkdStatus rkdiRGBToY_JPEG_8u_C3C1R(const uint8_t* src, int srcStep, uint8_t* dst,
                                           int dstStep, RkdiSize size);
RKD_API RkdStatus rkdiBGRToY_JPEG_8u_C3C1R(const uint8_t* src, int srcStep, uint8_t* dst,
                                           int dstStep, RkdiSize size);
RKD_API RkdStatus rkdiRGBToYCbCr_JPEG_8u_P3R(const uint8_t* const src[3], int srcStep,
                                             uint8_t* const dst[3], int dstStep, RkdiSize size);
RKD_API RkdStatus rkdiRGBToYCbCr_JPEG_8u_C3P3R(const uint8_t* src, int srcStep,
                                               uint8_t* const dst[3], int dstStep, RkdiSize size);
RKD_API RkdStatus rkdiBGRToYCbCr_JPEG_8u_C3P3R(const uint8_t* src, int srcStep,
                                               uint8_t* const dst[3], int dstStep, RkdiSize size);
RKD_API RkdStatus rkdiYCbCrToRGB_JPEG_8u_P3R(const uint8_t* const src[3], int srcStep,
                                             uint8_t* const dst[3], int dstStep, RkdiSize size);
RKD_API RkdStatus rkdiYCbCrToRGB_JPEG_8u_P3C3R(const uint8_t* const src[3], int srcStep,
                                               uint8_t* dst, int dstStep, RkdiSize size);
RKD_API RkdStatus rkdiYCbCrToBGR_JPEG_8u_P3C3R(const uint8_t* const src[3], int srcStep,
                                               uint8_t* dst, int dstStep, RkdiSize size);
/// @}

/// @name Interleaved 4:2:2 to RGB
/// `C2`: Y0 Cb Y1 Cr for every two pixels, which share Cb and Cr; a row is whole pairs, so
/// size.width must be even (else rkdStsSizeErr).
/// @{
RKD_API RkdStatus rkdiYCbCr422ToRGB_JPEG_8u_C2C3R(const uint8_t* src, int srcStep, uint8_t* dst,
                                                  int dstStep, RkdiSize size);
/// @}

/// @name CMYK to and from YCCK, 8 bits
/// The conversion above of (255 - C, 255 - M, 255 - Y); K passes unchanged. Files that store
/// inverted inks leave the inversion to the caller.
/// @{
RKD_API RkdStatus rkdiCMYKToYCCK_JPEG_8u_P4R(const uint8_t* const src[4], int srcStep,
                                             uint8_t* const dst[4], int dstStep, RkdiSize size);
RKD_API RkdStatus rkdiCMYKToYCCK_JPEG_8u_C4P4R(const uint8_t* src, int srcStep,
                                               uint8_t* const dst[4], int dstStep, RkdiSize size);
RKD_API RkdStatus rkdiYCCKToCMYK_JPEG_8u_P4R(const uint8_t* const src[4], int srcStep,
                                             uint8_t* const dst[4], int dstStep, RkdiSize size);
RKD_API RkdStatus rkdiYCCKToCMYK_JPEG_8u_P4C4R(const uint8_t* const src[4], int srcStep,
                                               uint8_t* dst, int dstStep, RkdiSize size);
/// @}

/// @name Packed 16-bit pixels to and from YCbCr
/// One 16u a pixel; the first-named colour in the high bits: RGB565 is R in bits 15..11, G in
/// 10..5, B in 4..0; RGB555 is R in 14..10, G in 9..5, B in 4..0, bit 15 ignored when read and
/// written as 0. Read: widened to 8 bits by replication (5 bits: v << 3 | v >> 2, 6 bits:
/// v << 2 | v >> 4). Written: the high 5 or 6 bits of the 8-bit result. The conversion between is
/// the one above.
/// @{
RKD_API RkdStatus rkdiRGB555ToYCbCr_JPEG_16u8u_C3P3R(const uint16_t* src, int srcStep,
                                                     uint8_t* const dst[3], int dstStep,
                                                     RkdiSize size);
RKD_API RkdStatus rkdiBGR555ToYCbCr_JPEG_16u8u_C3P3R(const uint16_t* src, int srcStep,
                                                     uint8_t* const dst[3], int dstStep,
                                                     RkdiSize size);
RKD_API RkdStatus rkdiRGB565ToYCbCr_JPEG_16u8u_C3P3R(const uint16_t* src, int srcStep,
                                                     uint8_t* const dst[3], int dstStep,
                                                     RkdiSize size);
RKD_API RkdStatus rkdiBGR565ToYCbCr_JPEG_16u8u_C3P3R(const uint16_t* src, int srcStep,
                                                     uint8_t* const dst[3], int dstStep,
                                                     RkdiSize size);
RKD_API RkdStatus rkdiYCbCrToRGB555_JPEG_8u16u_P3C3R(const uint8_t* const src[3], int srcStep,
                                                     uint16_t* dst, int dstStep, RkdiSize size);
RKD_API RkdStatus rkdiYCbCrToBGR555_JPEG_8u16u_P3C3R(const uint8_t* const src[3], int srcStep,
                                                     uint16_t* dst, int dstStep, RkdiSize size);
RKD_API RkdStatus rkdiYCbCrToRGB565_JPEG_8u16u_P3C3R(const uint8_t* const src[3], int srcStep,
                                                     uint16_t* dst, int dstStep, RkdiSize size);
RKD_API RkdStatus rkdiYCbCrToBGR565_JPEG_8u16u_P3C3R(const uint8_t* const src[3], int srcStep,
                                                     uint16_t* dst, int dstStep, RkdiSize size);
/// @}

/// @name Irreversible component transform
/// Y = .299 R + .587 G + .114 B, Cb = -.16875 R - .33126 G + .5 B, Cr = .5 R - .41869 G - .08131 B;
/// R = Y + 1.402 Cr, G = Y - .34413 Cb - .71414 Cr, B = Y + 1.772 Cb. Planes in the order Y, Cb, Cr
/// and R, G, B.
/// `32f`: any finite input; levels agree within 4 units in the last place of the largest input.
/// `16s` and `32s`: every weight is rounded to 15 and 28 bits after the point, the sum is exact and
/// rounded once, halves up; results that do not fit saturate in 16s and wrap around in 32s. Within
/// 1 of the exact result for input -16384..16383 (16s) and -2^24..2^24 (32s); equal R, G and B from
/// that range give the same Y.
/// @see ITU-T T.800, G.3
/// @{
RKD_API RkdStatus rkdiICTFwd_JPEG2K_32f_C3P3R(const float* src, int srcStep, float* const dst[3],
                                              int dstStep, RkdiSize size);
RKD_API RkdStatus rkdiICTInv_JPEG2K_32f_P3C3R(const float* const src[3], int srcStep, float* dst,
                                              int dstStep, RkdiSize size);
RKD_API RkdStatus rkdiICTFwd_JPEG2K_32f_P3IR(float* const srcDst[3], int srcDstStep, RkdiSize size);
RKD_API RkdStatus rkdiICTInv_JPEG2K_32f_P3IR(float* const srcDst[3], int srcDstStep, RkdiSize size);
RKD_API RkdStatus rkdiICTFwd_JPEG2K_16s_P3IR(int16_t* const srcDst[3], int srcDstStep,
                                             RkdiSize size);
RKD_API RkdStatus rkdiICTInv_JPEG2K_16s_P3IR(int16_t* const srcDst[3], int srcDstStep,
                                             RkdiSize size);
RKD_API RkdStatus rkdiICTFwd_JPEG2K_32s_P3IR(int32_t* const srcDst[3], int srcDstStep,
                                             RkdiSize size);
RKD_API RkdStatus rkdiICTInv_JPEG2K_32s_P3IR(int32_t* const srcDst[3], int srcDstStep,
                                             RkdiSize size);
/// @}

/// @name Reversible component transform
/// Y = (R + 2 G + B) >> 2, Cb = B - G, Cr = R - G; G = Y - ((Cb + Cr) >> 2), R = Cr + G, B = Cb +
/// G. Exact inverse of each other for input that leaves Cb and Cr in range: 15 bits in `16s`, 31
/// bits in `32s`. Beyond, differences and sums wrap around in the element type; Y is computed from
/// the true sum.
/// @see ITU-T T.800, G.2
/// @{
RKD_API RkdStatus rkdiRCTFwd_JPEG2K_16s_P3IR(int16_t* const srcDst[3], int srcDstStep,
                                             RkdiSize size);
RKD_API RkdStatus rkdiRCTInv_JPEG2K_16s_P3IR(int16_t* const srcDst[3], int srcDstStep,
                                             RkdiSize size);
RKD_API RkdStatus rkdiRCTFwd_JPEG2K_32s_P3IR(int32_t* const srcDst[3], int srcDstStep,
                                             RkdiSize size);
RKD_API RkdStatus rkdiRCTInv_JPEG2K_32s_P3IR(int32_t* const srcDst[3], int srcDstStep,
                                             RkdiSize size);
RKD_API RkdStatus rkdiRCTFwd_JPEG2K_16s_C3P3R(const int16_t* src, int srcStep,
                                              int16_t* const dst[3], int dstStep, RkdiSize size);
RKD_API RkdStatus rkdiRCTInv_JPEG2K_16s_P3C3R(const int16_t* const src[3], int srcStep,
                                              int16_t* dst, int dstStep, RkdiSize size);
RKD_API RkdStatus rkdiRCTFwd_JPEG2K_32s_C3P3R(const int32_t* src, int srcStep,
                                              int32_t* const dst[3], int dstStep, RkdiSize size);
RKD_API RkdStatus rkdiRCTInv_JPEG2K_32s_P3C3R(const int32_t* const src[3], int srcStep,
                                              int32_t* dst, int dstStep, RkdiSize size);
/// @}

#ifdef __cplusplus
}
#endif
