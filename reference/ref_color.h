/// @file
/// Plain versions of the colour, component-transform, MCU and sampling functions. Formulas and
/// formats are those of the public headers; arguments are trusted.
#pragma once

#include "rkd/rkdbase.h"

namespace ref {

/// @name rkdcolor.h
/// @{
RkdStatus rkdiRGBToY_JPEG_8u_P3C1R(const uint8_t* const src[3], int srcStep, uint8_t* dst,
                                   int dstStep, RkdiSize size);
RkdStatus rkdiRGBToY_JPEG_8u_C3C1R(const uint8_t* src, int srcStep, uint8_t* dst, int dstStep,
                                   RkdiSize size);
RkdStatus rkdiBGRToY_JPEG_8u_C3C1R(const uint8_t* src, int srcStep, uint8_t* dst, int dstStep,
                                   RkdiSize size);
RkdStatus rkdiRGBToYCbCr_JPEG_8u_P3R(const uint8_t* const src[3], int srcStep,
                                     uint8_t* const dst[3], int dstStep, RkdiSize size);
RkdStatus rkdiRGBToYCbCr_JPEG_8u_C3P3R(const uint8_t* src, int srcStep, uint8_t* const dst[3],
                                       int dstStep, RkdiSize size);
RkdStatus rkdiBGRToYCbCr_JPEG_8u_C3P3R(const uint8_t* src, int srcStep, uint8_t* const dst[3],
                                       int dstStep, RkdiSize size);
RkdStatus rkdiYCbCrToRGB_JPEG_8u_P3R(const uint8_t* const src[3], int srcStep,
                                     uint8_t* const dst[3], int dstStep, RkdiSize size);
RkdStatus rkdiYCbCrToRGB_JPEG_8u_P3C3R(const uint8_t* const src[3], int srcStep, uint8_t* dst,
                                       int dstStep, RkdiSize size);
RkdStatus rkdiYCbCrToBGR_JPEG_8u_P3C3R(const uint8_t* const src[3], int srcStep, uint8_t* dst,
                                       int dstStep, RkdiSize size);
RkdStatus rkdiYCbCr422ToRGB_JPEG_8u_C2C3R(const uint8_t* src, int srcStep, uint8_t* dst,
                                          int dstStep, RkdiSize size);
RkdStatus rkdiCMYKToYCCK_JPEG_8u_P4R(const uint8_t* const src[4], int srcStep,
                                     uint8_t* const dst[4], int dstStep, RkdiSize size);
RkdStatus rkdiCMYKToYCCK_JPEG_8u_C4P4R(const uint8_t* src, int srcStep, uint8_t* const dst[4],
                                       int dstStep, RkdiSize size);
RkdStatus rkdiYCCKToCMYK_JPEG_8u_P4R(const uint8_t* const src[4], int srcStep,
                                     uint8_t* const dst[4], int dstStep, RkdiSize size);
RkdStatus rkdiYCCKToCMYK_JPEG_8u_P4C4R(const uint8_t* const src[4], int srcStep, uint8_t* dst,
                                       int dstStep, RkdiSize size);
RkdStatus rkdiRGB555ToYCbCr_JPEG_16u8u_C3P3R(const uint16_t* src, int srcStep,
                                             uint8_t* const dst[3], int dstStep, RkdiSize size);
RkdStatus rkdiBGR555ToYCbCr_JPEG_16u8u_C3P3R(const uint16_t* src, int srcStep,
                                             uint8_t* const dst[3], int dstStep, RkdiSize size);
RkdStatus rkdiRGB565ToYCbCr_JPEG_16u8u_C3P3R(const uint16_t* src, int srcStep,
                                             uint8_t* const dst[3], int dstStep, RkdiSize size);
RkdStatus rkdiBGR565ToYCbCr_JPEG_16u8u_C3P3R(const uint16_t* src, int srcStep,
                                             uint8_t* const dst[3], int dstStep, RkdiSize size);
RkdStatus rkdiYCbCrToRGB555_JPEG_8u16u_P3C3R(const uint8_t* const src[3], int srcStep,
                                             uint16_t* dst, int dstStep, RkdiSize size);
RkdStatus rkdiYCbCrToBGR555_JPEG_8u16u_P3C3R(const uint8_t* const src[3], int srcStep,
                                             uint16_t* dst, int dstStep, RkdiSize size);
RkdStatus rkdiYCbCrToRGB565_JPEG_8u16u_P3C3R(const uint8_t* const src[3], int srcStep,
                                             uint16_t* dst, int dstStep, RkdiSize size);
RkdStatus rkdiYCbCrToBGR565_JPEG_8u16u_P3C3R(const uint8_t* const src[3], int srcStep,
                                             uint16_t* dst, int dstStep, RkdiSize size);
RkdStatus rkdiICTFwd_JPEG2K_32f_C3P3R(const float* src, int srcStep, float* const dst[3],
                                      int dstStep, RkdiSize size);
RkdStatus rkdiICTInv_JPEG2K_32f_P3C3R(const float* const src[3], int srcStep, float* dst,
                                      int dstStep, RkdiSize size);
RkdStatus rkdiICTFwd_JPEG2K_32f_P3IR(float* const srcDst[3], int srcDstStep, RkdiSize size);
RkdStatus rkdiICTInv_JPEG2K_32f_P3IR(float* const srcDst[3], int srcDstStep, RkdiSize size);
RkdStatus rkdiICTFwd_JPEG2K_16s_P3IR(int16_t* const srcDst[3], int srcDstStep, RkdiSize size);
RkdStatus rkdiICTInv_JPEG2K_16s_P3IR(int16_t* const srcDst[3], int srcDstStep, RkdiSize size);
RkdStatus rkdiICTFwd_JPEG2K_32s_P3IR(int32_t* const srcDst[3], int srcDstStep, RkdiSize size);
RkdStatus rkdiICTInv_JPEG2K_32s_P3IR(int32_t* const srcDst[3], int srcDstStep, RkdiSize size);
RkdStatus rkdiRCTFwd_JPEG2K_16s_P3IR(int16_t* const srcDst[3], int srcDstStep, RkdiSize size);
RkdStatus rkdiRCTInv_JPEG2K_16s_P3IR(int16_t* const srcDst[3], int srcDstStep, RkdiSize size);
RkdStatus rkdiRCTFwd_JPEG2K_32s_P3IR(int32_t* const srcDst[3], int srcDstStep, RkdiSize size);
RkdStatus rkdiRCTInv_JPEG2K_32s_P3IR(int32_t* const srcDst[3], int srcDstStep, RkdiSize size);
RkdStatus rkdiRCTFwd_JPEG2K_16s_C3P3R(const int16_t* src, int srcStep, int16_t* const dst[3],
                                      int dstStep, RkdiSize size);
RkdStatus rkdiRCTInv_JPEG2K_16s_P3C3R(const int16_t* const src[3], int srcStep, int16_t* dst,
                                      int dstStep, RkdiSize size);
RkdStatus rkdiRCTFwd_JPEG2K_32s_C3P3R(const int32_t* src, int srcStep, int32_t* const dst[3],
                                      int dstStep, RkdiSize size);
RkdStatus rkdiRCTInv_JPEG2K_32s_P3C3R(const int32_t* const src[3], int srcStep, int32_t* dst,
                                      int dstStep, RkdiSize size);
/// @}

/// @name rkdjpeg_mcu.h
/// @{
RkdStatus rkdiRGBToYCbCr444LS_MCU_8u16s_C3P3R(const uint8_t* src, int srcStep,
                                              int16_t* const dst[3]);
RkdStatus rkdiRGBToYCbCr422LS_MCU_8u16s_C3P3R(const uint8_t* src, int srcStep,
                                              int16_t* const dst[3]);
RkdStatus rkdiRGBToYCbCr411LS_MCU_8u16s_C3P3R(const uint8_t* src, int srcStep,
                                              int16_t* const dst[3]);
RkdStatus rkdiBGRToYCbCr444LS_MCU_8u16s_C3P3R(const uint8_t* src, int srcStep,
                                              int16_t* const dst[3]);
RkdStatus rkdiBGRToYCbCr422LS_MCU_8u16s_C3P3R(const uint8_t* src, int srcStep,
                                              int16_t* const dst[3]);
RkdStatus rkdiBGRToYCbCr411LS_MCU_8u16s_C3P3R(const uint8_t* src, int srcStep,
                                              int16_t* const dst[3]);
RkdStatus rkdiCMYKToYCCK444LS_MCU_8u16s_C4P4R(const uint8_t* src, int srcStep,
                                              int16_t* const dst[4]);
RkdStatus rkdiCMYKToYCCK422LS_MCU_8u16s_C4P4R(const uint8_t* src, int srcStep,
                                              int16_t* const dst[4]);
RkdStatus rkdiCMYKToYCCK411LS_MCU_8u16s_C4P4R(const uint8_t* src, int srcStep,
                                              int16_t* const dst[4]);
RkdStatus rkdiYCbCr444ToRGBLS_MCU_16s8u_P3C3R(const int16_t* const src[3], uint8_t* dst,
                                              int dstStep);
RkdStatus rkdiYCbCr422ToRGBLS_MCU_16s8u_P3C3R(const int16_t* const src[3], uint8_t* dst,
                                              int dstStep);
RkdStatus rkdiYCbCr411ToRGBLS_MCU_16s8u_P3C3R(const int16_t* const src[3], uint8_t* dst,
                                              int dstStep);
RkdStatus rkdiYCbCr444ToBGRLS_MCU_16s8u_P3C3R(const int16_t* const src[3], uint8_t* dst,
                                              int dstStep);
RkdStatus rkdiYCbCr422ToBGRLS_MCU_16s8u_P3C3R(const int16_t* const src[3], uint8_t* dst,
                                              int dstStep);
RkdStatus rkdiYCbCr411ToBGRLS_MCU_16s8u_P3C3R(const int16_t* const src[3], uint8_t* dst,
                                              int dstStep);
RkdStatus rkdiYCCK444ToCMYKLS_MCU_16s8u_P4C4R(const int16_t* const src[4], uint8_t* dst,
                                              int dstStep);
RkdStatus rkdiYCCK422ToCMYKLS_MCU_16s8u_P4C4R(const int16_t* const src[4], uint8_t* dst,
                                              int dstStep);
RkdStatus rkdiYCCK411ToCMYKLS_MCU_16s8u_P4C4R(const int16_t* const src[4], uint8_t* dst,
                                              int dstStep);
RkdStatus rkdiBGR555ToYCbCr444LS_MCU_16u16s_C3P3R(const uint16_t* src, int srcStep,
                                                  int16_t* const dst[3]);
RkdStatus rkdiBGR555ToYCbCr422LS_MCU_16u16s_C3P3R(const uint16_t* src, int srcStep,
                                                  int16_t* const dst[3]);
RkdStatus rkdiBGR555ToYCbCr411LS_MCU_16u16s_C3P3R(const uint16_t* src, int srcStep,
                                                  int16_t* const dst[3]);
RkdStatus rkdiBGR565ToYCbCr444LS_MCU_16u16s_C3P3R(const uint16_t* src, int srcStep,
                                                  int16_t* const dst[3]);
RkdStatus rkdiBGR565ToYCbCr422LS_MCU_16u16s_C3P3R(const uint16_t* src, int srcStep,
                                                  int16_t* const dst[3]);
RkdStatus rkdiBGR565ToYCbCr411LS_MCU_16u16s_C3P3R(const uint16_t* src, int srcStep,
                                                  int16_t* const dst[3]);
RkdStatus rkdiYCbCr444ToBGR555LS_MCU_16s16u_P3C3R(const int16_t* const src[3], uint16_t* dst,
                                                  int dstStep);
RkdStatus rkdiYCbCr422ToBGR555LS_MCU_16s16u_P3C3R(const int16_t* const src[3], uint16_t* dst,
                                                  int dstStep);
RkdStatus rkdiYCbCr411ToBGR555LS_MCU_16s16u_P3C3R(const int16_t* const src[3], uint16_t* dst,
                                                  int dstStep);
RkdStatus rkdiYCbCr444ToBGR565LS_MCU_16s16u_P3C3R(const int16_t* const src[3], uint16_t* dst,
                                                  int dstStep);
RkdStatus rkdiYCbCr422ToBGR565LS_MCU_16s16u_P3C3R(const int16_t* const src[3], uint16_t* dst,
                                                  int dstStep);
RkdStatus rkdiYCbCr411ToBGR565LS_MCU_16s16u_P3C3R(const int16_t* const src[3], uint16_t* dst,
                                                  int dstStep);
RkdStatus rkdiSampleDown444LS_MCU_8u16s_C3P3R(const uint8_t* src, int srcStep,
                                              int16_t* const dst[3]);
RkdStatus rkdiSampleDown422LS_MCU_8u16s_C3P3R(const uint8_t* src, int srcStep,
                                              int16_t* const dst[3]);
RkdStatus rkdiSampleDown411LS_MCU_8u16s_C3P3R(const uint8_t* src, int srcStep,
                                              int16_t* const dst[3]);
RkdStatus rkdiSampleUp444LS_MCU_16s8u_P3C3R(const int16_t* const src[3], uint8_t* dst, int dstStep);
RkdStatus rkdiSampleUp422LS_MCU_16s8u_P3C3R(const int16_t* const src[3], uint8_t* dst, int dstStep);
RkdStatus rkdiSampleUp411LS_MCU_16s8u_P3C3R(const int16_t* const src[3], uint8_t* dst, int dstStep);
RkdStatus rkdiSplit422LS_MCU_8u16s_C2P3R(const uint8_t* src, int srcStep, int16_t* const dst[3]);
RkdStatus rkdiJoin422LS_MCU_16s8u_P3C2R(const int16_t* const src[3], uint8_t* dst, int dstStep);
/// @}

/// @name rkdjpeg_sample.h
/// @{
RkdStatus rkdiSampleDownH2V1_JPEG_8u_C1R(const uint8_t* src, int srcStep, RkdiSize srcSize,
                                         uint8_t* dst, int dstStep, RkdiSize dstSize);
RkdStatus rkdiSampleDownH2V2_JPEG_8u_C1R(const uint8_t* src, int srcStep, RkdiSize srcSize,
                                         uint8_t* dst, int dstStep, RkdiSize dstSize);
RkdStatus rkdiSampleUpH2V1_JPEG_8u_C1R(const uint8_t* src, int srcStep, RkdiSize srcSize,
                                       uint8_t* dst, int dstStep, RkdiSize dstSize);
RkdStatus rkdiSampleUpH2V2_JPEG_8u_C1R(const uint8_t* src, int srcStep, RkdiSize srcSize,
                                       uint8_t* dst, int dstStep, RkdiSize dstSize);
RkdStatus rkdiSampleDownRowH2V1_Box_JPEG_8u_C1(const uint8_t* src, int srcWidth, uint8_t* dst);
RkdStatus rkdiSampleDownRowH2V2_Box_JPEG_8u_C1(const uint8_t* src1, const uint8_t* src2,
                                               int srcWidth, uint8_t* dst);
RkdStatus rkdiSampleUpRowH2V1_Triangle_JPEG_8u_C1(const uint8_t* src, int srcWidth, uint8_t* dst);
RkdStatus rkdiSampleUpRowH2V2_Triangle_JPEG_8u_C1(const uint8_t* src1, const uint8_t* src2,
                                                  int srcWidth, uint8_t* dst);
RkdStatus rkdiSampleDownH1V2_JPEG_8u_C1R(const uint8_t* src, int srcStep, RkdiSize srcSize,
                                         uint8_t* dst, int dstStep, RkdiSize dstSize);
RkdStatus rkdiSampleDownH4V1_JPEG_8u_C1R(const uint8_t* src, int srcStep, RkdiSize srcSize,
                                         uint8_t* dst, int dstStep, RkdiSize dstSize);
RkdStatus rkdiSampleUpH1V2_JPEG_8u_C1R(const uint8_t* src, int srcStep, RkdiSize srcSize,
                                       uint8_t* dst, int dstStep, RkdiSize dstSize);
RkdStatus rkdiSampleUpH4V1_JPEG_8u_C1R(const uint8_t* src, int srcStep, RkdiSize srcSize,
                                       uint8_t* dst, int dstStep, RkdiSize dstSize);
RkdStatus rkdiSampleDown_Box_JPEG_8u_C1R(const uint8_t* src, int srcStep, RkdiSize srcSize,
                                         uint8_t* dst, int dstStep, RkdiSize dstSize, int factorX,
                                         int factorY);
RkdStatus rkdiSampleDown_Box_JPEG_16u_C1R(const uint16_t* src, int srcStep, RkdiSize srcSize,
                                          uint16_t* dst, int dstStep, RkdiSize dstSize, int factorX,
                                          int factorY);
RkdStatus rkdiSampleUp_Replicate_JPEG_8u_C1R(const uint8_t* src, int srcStep, RkdiSize srcSize,
                                             uint8_t* dst, int dstStep, RkdiSize dstSize,
                                             int factorX, int factorY);
RkdStatus rkdiSampleUp_Replicate_JPEG_16u_C1R(const uint16_t* src, int srcStep, RkdiSize srcSize,
                                              uint16_t* dst, int dstStep, RkdiSize dstSize,
                                              int factorX, int factorY);
RkdStatus rkdiSampleDownRowH1V2_Box_JPEG_8u_C1(const uint8_t* src1, const uint8_t* src2,
                                               int srcWidth, uint8_t* dst);
RkdStatus rkdiSampleDownRowH4V1_Box_JPEG_8u_C1(const uint8_t* src, int srcWidth, uint8_t* dst);
RkdStatus rkdiSampleUpRowH1V2_Triangle_JPEG_8u_C1(const uint8_t* above, const uint8_t* src,
                                                  const uint8_t* below, int srcWidth, uint8_t* dst1,
                                                  uint8_t* dst2);
RkdStatus rkdiSampleUpRowH4V1_Triangle_JPEG_8u_C1(const uint8_t* src, int srcWidth, uint8_t* dst);
RkdStatus rkdiSampleUpRow_Replicate_JPEG_8u_C1(const uint8_t* src, int srcWidth, uint8_t* dst,
                                               int factor);
/// @}

}  // namespace ref
