/// @file rkdjpeg_sample.h
/// Down- and up-sampling of one channel, whole images and single rows. H and V tell how many times
/// as many samples the full side has across and down.
///
/// - **Box** down-sampling: H2V1 (a + b + bias) >> 1 with bias 0, 1, 0, 1 ... along the row; H2V2
///   (a + b + c + d + bias) >> 2 with bias 1, 2, 1, 2 ...; H1V2, H4V1 and any other factors (sum +
///   count / 2) / count.
/// - **Triangle** up-sampling: H2V1 (3 near + far + 1) >> 2 for the left and + 2 for the right of
///   the two outputs of a sample, the first and the last output of the row equal to the edge
///   sample; H2V2 vertical weights 3:1 first, then horizontal 3:1 on these sums with (.. + 8) >> 4
///   left and (.. + 7) >> 4 right, edge outputs (4 sum + 8) >> 4 and (4 sum + 7) >> 4. H1V2 as H2V1
///   with the rows above and below, the upper output being the left one; H4V1 weights of 8: 5:3 and
///   7:1 with the sample before, (.. + 3) >> 3, 7:1 and 5:3 with the one behind, (.. + 4) >> 3.
/// - The image functions down-sample by box and up-sample by triangle; above the first and below
///   the last row the edge row stands in for its missing neighbour.
/// - **Replicating** up-sampling repeats a sample.
///
/// Sizes: the smaller side has n / factor samples of n, rounded up. Where that was rounded, the
/// last sample of the full side counts for the missing ones when down-sampling, and the last
/// outputs are left out when up-sampling.
///
/// Results are the same bits at every processor level.
#pragma once

#include "rkd/rkdbase.h"

#ifdef __cplusplus
extern "C" {
#endif

/// @name Images
/// @param src,dst          first rows; must not overlap
/// @param srcStep,dstStep  BYTES between row starts, at least one row
/// @param srcSize          source in PIXELS, both > 0
/// @param dstSize          destination in PIXELS: a size that belongs to srcSize, see above
/// @param factorX,factorY  1..4
/// @return rkdStsNoErr; rkdStsNullPtrErr, rkdStsSizeErr (sizes that do not belong together
///         included), rkdStsStepErr, rkdStsBadArgErr (a factor) with dst untouched
/// @{
RKD_API RkdStatus rkdiSampleDownH2V1_JPEG_8u_C1R(const uint8_t* src, int srcStep, RkdiSize srcSize,
                                                 uint8_t* dst, int dstStep, RkdiSize dstSize);
RKD_API RkdStatus rkdiSampleDownH2V2_JPEG_8u_C1R(const uint8_t* src, int srcStep, RkdiSize srcSize,
                                                 uint8_t* dst, int dstStep, RkdiSize dstSize);
RKD_API RkdStatus rkdiSampleUpH2V1_JPEG_8u_C1R(const uint8_t* src, int srcStep, RkdiSize srcSize,
                                               uint8_t* dst, int dstStep, RkdiSize dstSize);
RKD_API RkdStatus rkdiSampleUpH2V2_JPEG_8u_C1R(const uint8_t* src, int srcStep, RkdiSize srcSize,
                                               uint8_t* dst, int dstStep, RkdiSize dstSize);
RKD_API RkdStatus rkdiSampleDownH1V2_JPEG_8u_C1R(const uint8_t* src, int srcStep, RkdiSize srcSize,
                                                 uint8_t* dst, int dstStep, RkdiSize dstSize);
RKD_API RkdStatus rkdiSampleDownH4V1_JPEG_8u_C1R(const uint8_t* src, int srcStep, RkdiSize srcSize,
                                                 uint8_t* dst, int dstStep, RkdiSize dstSize);
RKD_API RkdStatus rkdiSampleUpH1V2_JPEG_8u_C1R(const uint8_t* src, int srcStep, RkdiSize srcSize,
                                               uint8_t* dst, int dstStep, RkdiSize dstSize);
RKD_API RkdStatus rkdiSampleUpH4V1_JPEG_8u_C1R(const uint8_t* src, int srcStep, RkdiSize srcSize,
                                               uint8_t* dst, int dstStep, RkdiSize dstSize);
RKD_API RkdStatus rkdiSampleDown_Box_JPEG_8u_C1R(const uint8_t* src, int srcStep, RkdiSize srcSize,
                                                 uint8_t* dst, int dstStep, RkdiSize dstSize,
                                                 int factorX, int factorY);
RKD_API RkdStatus rkdiSampleDown_Box_JPEG_16u_C1R(const uint16_t* src, int srcStep,
                                                  RkdiSize srcSize, uint16_t* dst, int dstStep,
                                                  RkdiSize dstSize, int factorX, int factorY);
RKD_API RkdStatus rkdiSampleUp_Replicate_JPEG_8u_C1R(const uint8_t* src, int srcStep,
                                                     RkdiSize srcSize, uint8_t* dst, int dstStep,
                                                     RkdiSize dstSize, int factorX, int factorY);
RKD_API RkdStatus rkdiSampleUp_Replicate_JPEG_16u_C1R(const uint16_t* src, int srcStep,
                                                      RkdiSize srcSize, uint16_t* dst, int dstStep,
                                                      RkdiSize dstSize, int factorX, int factorY);
/// @}

/// @name Rows
/// @param src,src1,src2  samples; H2V2 and H1V2 down: the two rows to average; H2V2 up: src1 the
///                       near row (weight 3), src2 the far one (weight 1)
/// @param above,below    H1V2 up: the rows about src, at the edge src itself
/// @param srcWidth       source samples, > 0
/// @param dst            srcWidth / H samples down, rounded up; H * srcWidth samples up
/// @param dst1,dst2      H1V2 up: the upper and the lower of the two rows that src becomes
/// @param factor         H, 1..4
/// @return rkdStsNoErr; rkdStsNullPtrErr, rkdStsSizeErr, rkdStsBadArgErr with dst untouched
/// @{
RKD_API RkdStatus rkdiSampleDownRowH2V1_Box_JPEG_8u_C1(const uint8_t* src, int srcWidth,
                                                       uint8_t* dst);
RKD_API RkdStatus rkdiSampleDownRowH2V2_Box_JPEG_8u_C1(const uint8_t* src1, const uint8_t* src2,
                                                       int srcWidth, uint8_t* dst);
RKD_API RkdStatus rkdiSampleUpRowH2V1_Triangle_JPEG_8u_C1(const uint8_t* src, int srcWidth,
                                                          uint8_t* dst);
RKD_API RkdStatus rkdiSampleUpRowH2V2_Triangle_JPEG_8u_C1(const uint8_t* src1, const uint8_t* src2,
                                                          int srcWidth, uint8_t* dst);
RKD_API RkdStatus rkdiSampleDownRowH1V2_Box_JPEG_8u_C1(const uint8_t* src1, const uint8_t* src2,
                                                       int srcWidth, uint8_t* dst);
RKD_API RkdStatus rkdiSampleDownRowH4V1_Box_JPEG_8u_C1(const uint8_t* src, int srcWidth,
                                                       uint8_t* dst);
RKD_API RkdStatus rkdiSampleUpRowH1V2_Triangle_JPEG_8u_C1(const uint8_t* above, const uint8_t* src,
                                                          const uint8_t* below, int srcWidth,
                                                          uint8_t* dst1, uint8_t* dst2);
RKD_API RkdStatus rkdiSampleUpRowH4V1_Triangle_JPEG_8u_C1(const uint8_t* src, int srcWidth,
                                                          uint8_t* dst);
RKD_API RkdStatus rkdiSampleUpRow_Replicate_JPEG_8u_C1(const uint8_t* src, int srcWidth,
                                                       uint8_t* dst, int factor);
/// @}

#ifdef __cplusplus
}
#endif
