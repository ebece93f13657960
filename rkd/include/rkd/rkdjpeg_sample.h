/// @file rkdjpeg_sample.h
/// Down- and up-sampling of one channel by two, whole images and single rows.
///
/// - **Box** down-sampling: H2V1 (a + b + bias) >> 1 with bias 0, 1, 0, 1 ... along the row; H2V2
///   (a + b + c + d + bias) >> 2 with bias 1, 2, 1, 2 ...
/// - **Triangle** up-sampling: H2V1 (3 near + far + 1) >> 2 for the left and + 2 for the right of
/// the
///   two outputs of a sample, the first and the last output of the row equal to the edge sample;
///   H2V2 vertical weights 3:1 first, then horizontal 3:1 on these sums with (.. + 8) >> 4 left and
///   (.. + 7) >> 4 right, edge outputs (4 sum + 8) >> 4 and (4 sum + 7) >> 4.
/// - The image functions down-sample by box and up-sample by triangle; above the first and below
///   the last row the edge row stands in for its missing neighbour.
///
/// Sizes: the halved side has (n + 1) / 2 samples of n; where the full side is odd, its last sample
/// counts twice when down-sampling, and the last output is left out when up-sampling.
///
/// Results are the same bits at every processor level.
#ifndef RKD_RKDJPEG_SAMPLE_H_
#define RKD_RKDJPEG_SAMPLE_H_

#include "rkd/rkdbase.h"

#ifdef __cplusplus
extern "C" {
#endif

/// @name Images
/// @param src,dst          first rows; must not overlap
/// @param srcStep,dstStep  BYTES between row starts, at least one row
/// @param srcSize          source in PIXELS, both > 0
/// @param dstSize          destination in PIXELS: for down-sampling (srcSize + 1) / 2 in each
/// halved
///                         direction; for up-sampling twice srcSize or one less
/// @return rkdStsNoErr; rkdStsNullPtrErr, rkdStsSizeErr (sizes that do not belong together
///         included), rkdStsStepErr with dst untouched
/// @{
RKD_API RkdStatus rkdiSampleDownH2V1_JPEG_8u_C1R(const uint8_t* src, int srcStep, RkdiSize srcSize,
                                                 uint8_t* dst, int dstStep, RkdiSize dstSize);
RKD_API RkdStatus rkdiSampleDownH2V2_JPEG_8u_C1R(const uint8_t* src, int srcStep, RkdiSize srcSize,
                                                 uint8_t* dst, int dstStep, RkdiSize dstSize);
RKD_API RkdStatus rkdiSampleUpH2V1_JPEG_8u_C1R(const uint8_t* src, int srcStep, RkdiSize srcSize,
                                               uint8_t* dst, int dstStep, RkdiSize dstSize);
RKD_API RkdStatus rkdiSampleUpH2V2_JPEG_8u_C1R(const uint8_t* src, int srcStep, RkdiSize srcSize,
                                               uint8_t* dst, int dstStep, RkdiSize dstSize);
/// @}

/// @name Rows
/// @param src,src1,src2  samples; H2V2 down: the two rows to average; H2V2 up: src1 the near row
///                       (weight 3), src2 the far one (weight 1)
/// @param srcWidth       source samples, > 0
/// @param dst            (srcWidth + 1) / 2 samples down, 2 * srcWidth samples up
/// @return rkdStsNoErr; rkdStsNullPtrErr, rkdStsSizeErr with dst untouched
/// @{
RKD_API RkdStatus rkdiSampleDownRowH2V1_Box_JPEG_8u_C1(const uint8_t* src, int srcWidth,
                                                       uint8_t* dst);
RKD_API RkdStatus rkdiSampleDownRowH2V2_Box_JPEG_8u_C1(const uint8_t* src1, const uint8_t* src2,
                                                       int srcWidth, uint8_t* dst);
RKD_API RkdStatus rkdiSampleUpRowH2V1_Triangle_JPEG_8u_C1(const uint8_t* src, int srcWidth,
                                                          uint8_t* dst);
RKD_API RkdStatus rkdiSampleUpRowH2V2_Triangle_JPEG_8u_C1(const uint8_t* src1, const uint8_t* src2,
                                                          int srcWidth, uint8_t* dst);
/// @}

#ifdef __cplusplus
}
#endif

#endif /* RKD_RKDJPEG_SAMPLE_H_ */
