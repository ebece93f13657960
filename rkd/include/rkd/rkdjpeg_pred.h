/// @file rkdjpeg_pred.h
/// Predictors of the lossless process of ITU-T T.81: rows of samples to rows of differences and
/// back.
///
/// Samples are those after the point transform, sample >> Pt.
/// They may have up to 16 bits and are taken as unsigned, so a 16-bit sample stands in its 16s
/// storage as its bit pattern. Differences are modulo 2^16, shown as -32768..32767. Every input is
/// defined, and reconstructing the differences of a row gives back the row exactly.
#pragma once

#include "rkd/rkdbase.h"

#ifdef __cplusplus
extern "C" {
#endif

/// @name Point transform
/// Fwd: dst = src >> pointTransform. Inv: dst = src << pointTransform, of which the low 8 or 16
/// bits.
/// @param src,dst          first rows; must not overlap
/// @param srcStep,dstStep  BYTES between row starts, at least one row
/// @param size             region in SAMPLES, both > 0
/// @param pointTransform   0..15
/// @return rkdStsNoErr; rkdStsNullPtrErr, rkdStsSizeErr, rkdStsStepErr, rkdStsBadArgErr with dst
///         untouched
/// @see ITU-T T.81, H.1.2
/// @{
RKD_API RkdStatus rkdiPointTransformFwd_JPEG_8u16s_C1R(const uint8_t* src, int srcStep,
                                                       int16_t* dst, int dstStep, RkdiSize size,
                                                       int pointTransform);
RKD_API RkdStatus rkdiPointTransformFwd_JPEG_16u16s_C1R(const uint16_t* src, int srcStep,
                                                        int16_t* dst, int dstStep, RkdiSize size,
                                                        int pointTransform);
RKD_API RkdStatus rkdiPointTransformInv_JPEG_16s8u_C1R(const int16_t* src, int srcStep,
                                                       uint8_t* dst, int dstStep, RkdiSize size,
                                                       int pointTransform);
RKD_API RkdStatus rkdiPointTransformInv_JPEG_16s16u_C1R(const int16_t* src, int srcStep,
                                                        uint16_t* dst, int dstStep, RkdiSize size,
                                                        int pointTransform);
/// @}

/// @name First row
/// The first row of a scan or restart interval: each sample is predicted by its left neighbour, the
/// first by 2^(precision - pointTransform - 1).
/// @param src,dst         rows of `width` elements; they must not overlap
/// @param width           ELEMENTS, > 0
/// @param precision       bits of a sample before the point transform, 2..16
/// @param pointTransform  0..precision - 1
/// @return rkdStsNoErr; rkdStsNullPtrErr, rkdStsSizeErr, rkdStsBadArgErr with dst untouched
/// @see ITU-T T.81, H.1.2.1
/// @{
RKD_API RkdStatus rkdiDiffPredFirstRow_JPEG_16s_C1(const int16_t* src, int16_t* dst, int width,
                                                   int precision, int pointTransform);
RKD_API RkdStatus rkdiReconstructPredFirstRow_JPEG_16s_C1(const int16_t* src, int16_t* dst,
                                                          int width, int precision,
                                                          int pointTransform);
/// @}

/// @name Further rows
/// With a left, b above and c above left: 1 a; 2 b; 3 c; 4 a + b - c; 5 a + ((b - c) >> 1);
/// 6 b + ((a - c) >> 1); 7 (a + b) >> 1. The first sample of the row is predicted by b.
/// @param src,dst      rows of `width` elements; they must not overlap
/// @param previousRow  the row of SAMPLES above
/// @param width        ELEMENTS, > 0
/// @param predictor    1..7
/// @return rkdStsNoErr; rkdStsNullPtrErr, rkdStsSizeErr, rkdStsBadArgErr with dst untouched
/// @see ITU-T T.81, table H.1
/// @{
RKD_API RkdStatus rkdiDiffPredRow_JPEG_16s_C1(const int16_t* src, const int16_t* previousRow,
                                              int16_t* dst, int width, int predictor);
RKD_API RkdStatus rkdiReconstructPredRow_JPEG_16s_C1(const int16_t* src, const int16_t* previousRow,
                                                     int16_t* dst, int width, int predictor);
/// @}

#ifdef __cplusplus
}
#endif
