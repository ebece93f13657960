/// @file rkdjpeg_bands.h
/// Between the bands of a wavelet transform and the code blocks of JPEG 2000: quantisation with a
/// dead zone and its reconstruction, plain conversion for reversible coding, and the shift of a
/// region of interest. Regions are code blocks or whole bands; one pass does all of the work.
///
/// What holds for all functions here:
/// - **Coefficients of bands** are samples of any of the wavelets: 16s, 32s or 32f.
/// - **Integers of code blocks** are what rkdiEncodeLoadCodeBlock_JPEG2K takes and
///   rkdiDecodeCodeBlock_JPEG2K gives: two's complement, -2147483647..2147483647.
/// - **Fraction.** A decoder may give integers with bits below the binary point, to tell the middle
///   of an interval: `fraction` is their number.
/// - Results are the same bits at every processor level.
///
/// @param src,dst          first rows; must not overlap, but may be the same in 32s functions
/// @param srcStep,dstStep  BYTES between row starts, at least one row
/// @param size             region in COEFFICIENTS, both > 0
/// @return rkdStsNoErr; rkdStsNullPtrErr, rkdStsSizeErr, rkdStsStepErr, rkdStsBadArgErr (a
///         parameter out of its range) with dst untouched
/// @see ITU-T T.800, annexes E and H
#pragma once

#include "rkd/rkdbase.h"

#ifdef __cplusplus
extern "C" {
#endif

/// @name Quantisation
/// q = sign(c) * floor(|c| / stepSize), saturated: the interval about zero is twice as wide as the
/// others. Computed as c * (1 / stepSize), rounded toward zero: in single precision (32f, 16s) or
/// double precision (32s).
/// @param src       coefficients; 32f: finite
/// @param dst       integers of a code block
/// @param stepSize  2^-40..2^40: of the band, in units of its coefficients
/// @{
RKD_API RkdStatus rkdiQuantFwd_JPEG2K_32f32s_C1R(const float* src, int srcStep, int32_t* dst,
                                                 int dstStep, RkdiSize size, float stepSize);
RKD_API RkdStatus rkdiQuantFwd_JPEG2K_32s_C1R(const int32_t* src, int srcStep, int32_t* dst,
                                              int dstStep, RkdiSize size, float stepSize);
RKD_API RkdStatus rkdiQuantFwd_JPEG2K_16s32s_C1R(const int16_t* src, int srcStep, int32_t* dst,
                                                 int dstStep, RkdiSize size, float stepSize);
/// @}

/// @name Reconstruction
/// c = sign(q) * (|q| + bias) * stepSize, and 0 where q is 0. Computed as q plus bias with its
/// sign, then times stepSize: in single precision, for 32s in double precision; rounded to nearest,
/// halves to even, and saturated where the result is an integer.
///
/// Integers with `fraction` bits below the binary point: divide stepSize by 2^fraction.
/// @param src       integers of a code block
/// @param stepSize  2^-40..2^40
/// @param bias      0..1: where in its interval a value lies, .5 being the middle; 0 for integers
///                  that are the middle already
/// @{
RKD_API RkdStatus rkdiQuantInv_JPEG2K_32s32f_C1R(const int32_t* src, int srcStep, float* dst,
                                                 int dstStep, RkdiSize size, float stepSize,
                                                 float bias);
RKD_API RkdStatus rkdiQuantInv_JPEG2K_32s_C1R(const int32_t* src, int srcStep, int32_t* dst,
                                              int dstStep, RkdiSize size, float stepSize,
                                              float bias);
RKD_API RkdStatus rkdiQuantInv_JPEG2K_32s16s_C1R(const int32_t* src, int srcStep, int16_t* dst,
                                                 int dstStep, RkdiSize size, float stepSize,
                                                 float bias);
/// @}

/// @name Reversible coding
/// Coefficients that are their own integers. Inv drops the bits below the binary point, toward
/// zero, and saturates 16s.
///
/// Bands in 32s need no function of their own on the way to a code block, nor without a fraction on
/// the way back: the coder takes and gives regions with steps.
/// @param fraction  0..8
/// @{
RKD_API RkdStatus rkdiBandFwd_JPEG2K_16s32s_C1R(const int16_t* src, int srcStep, int32_t* dst,
                                                int dstStep, RkdiSize size);
RKD_API RkdStatus rkdiBandInv_JPEG2K_32s16s_C1R(const int32_t* src, int srcStep, int16_t* dst,
                                                int dstStep, RkdiSize size, int fraction);
RKD_API RkdStatus rkdiBandInv_JPEG2K_32s_C1R(const int32_t* src, int srcStep, int32_t* dst,
                                             int dstStep, RkdiSize size, int fraction);
/// @}

/// @name Region of interest
/// The integers of the region come first in the code: Fwd multiplies them by 2^shift where the mask
/// is not zero, modulo 2^32. Inv knows them by their magnitude: those of 2^(shift + fraction) and
/// above are divided by 2^shift, toward zero.
/// @param srcDst    integers of a code block; Fwd: magnitudes below 2^shift, so that shift and
///                  planes of the background together make no more than 31
/// @param mask      of the same size
/// @param maskStep  BYTES between its rows
/// @param shift     0..30; Inv: shift + fraction 0..30
/// @param fraction  0..8
/// @see ITU-T T.800, H.1
/// @{
RKD_API RkdStatus rkdiRegionFwd_JPEG2K_32s_C1IR(int32_t* srcDst, int srcDstStep,
                                                const uint8_t* mask, int maskStep, RkdiSize size,
                                                int shift);
RKD_API RkdStatus rkdiRegionInv_JPEG2K_32s_C1IR(int32_t* srcDst, int srcDstStep, RkdiSize size,
                                                int shift, int fraction);
/// @}

#ifdef __cplusplus
}
#endif
