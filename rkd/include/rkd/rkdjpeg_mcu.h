/// @file rkdjpeg_mcu.h
/// Colour conversion and sampling fused with the level shift, one MCU a call: between interleaved
/// pixels and the level-shifted blocks that the DCT takes and gives.
///
/// What holds for all functions here:
/// - An **MCU** is 8x8 pixels for `444`, 16x8 (width x height) for `422`, 16x16 for `411`. Its
///   first component, and K, have 1, 2, 4 blocks, Cb and Cr one each.
/// - A **plane** is a pointer to consecutive 64-element blocks, in raster order within the MCU.
/// - **Down-sampling** averages: 422 (a + b + bias) >> 1 with bias 0, 1, 0, 1 ... along the row;
///   411 (a + b + c + d + bias) >> 2 with bias 1, 2, 1, 2 ...; on the 8-bit converted samples,
///   before the level shift. **Up-sampling** repeats a sample over its 2 or 4 pixels.
/// - **Level shift**: minus 128 on the way to blocks; on the way back plus 128, clamped to 0..255,
///   whatever the 16-bit input.
/// - The colour conversions and pixel formats are those of rkdcolor.h; `C2` pixels are Y Cb Y Cr.
///
/// @param src,dst          pixels: the MCU's first row; blocks: an array of plane pointers
/// @param srcStep,dstStep  BYTES between pixel rows, at least one row of the MCU, a multiple of the
///                         element size
/// @return rkdStsNoErr; rkdStsNullPtrErr (a plane included), rkdStsStepErr with the destination
///         untouched
/// Results are the same bits at every processor level.
/// @see ITU-T T.81, A.2
#pragma once

#include "rkd/rkdbase.h"

#ifdef __cplusplus
extern "C" {
#endif

/// @name RGB and BGR to YCbCr blocks
/// @{
RKD_API RkdStatus rkdiRGBToYCbCr444LS_MCU_8u16s_C3P3R(const uint8_t* src, int srcStep,
                                                      int16_t* const dst[3]);
RKD_API RkdStatus rkdiRGBToYCbCr422LS_MCU_8u16s_C3P3R(const uint8_t* src, int srcStep,
                                                      int16_t* const dst[3]);
RKD_API RkdStatus rkdiRGBToYCbCr411LS_MCU_8u16s_C3P3R(const uint8_t* src, int srcStep,
                                                      int16_t* const dst[3]);
RKD_API RkdStatus rkdiBGRToYCbCr444LS_MCU_8u16s_C3P3R(const uint8_t* src, int srcStep,
                                                      int16_t* const dst[3]);
RKD_API RkdStatus rkdiBGRToYCbCr422LS_MCU_8u16s_C3P3R(const uint8_t* src, int srcStep,
                                                      int16_t* const dst[3]);
RKD_API RkdStatus rkdiBGRToYCbCr411LS_MCU_8u16s_C3P3R(const uint8_t* src, int srcStep,
                                                      int16_t* const dst[3]);
/// @}

/// @name CMYK to YCCK blocks
/// K has as many blocks as Y.
/// @{
RKD_API RkdStatus rkdiCMYKToYCCK444LS_MCU_8u16s_C4P4R(const uint8_t* src, int srcStep,
                                                      int16_t* const dst[4]);
RKD_API RkdStatus rkdiCMYKToYCCK422LS_MCU_8u16s_C4P4R(const uint8_t* src, int srcStep,
                                                      int16_t* const dst[4]);
RKD_API RkdStatus rkdiCMYKToYCCK411LS_MCU_8u16s_C4P4R(const uint8_t* src, int srcStep,
                                                      int16_t* const dst[4]);
/// @}

/// @name YCbCr blocks to RGB and BGR
/// @{
RKD_API RkdStatus rkdiYCbCr444ToRGBLS_MCU_16s8u_P3C3R(const int16_t* const src[3], uint8_t* dst,
                                                      int dstStep);
RKD_API RkdStatus rkdiYCbCr422ToRGBLS_MCU_16s8u_P3C3R(const int16_t* const src[3], uint8_t* dst,
                                                      int dstStep);
RKD_API RkdStatus rkdiYCbCr411ToRGBLS_MCU_16s8u_P3C3R(const int16_t* const src[3], uint8_t* dst,
                                                      int dstStep);
RKD_API RkdStatus rkdiYCbCr444ToBGRLS_MCU_16s8u_P3C3R(const int16_t* const src[3], uint8_t* dst,
                                                      int dstStep);
RKD_API RkdStatus rkdiYCbCr422ToBGRLS_MCU_16s8u_P3C3R(const int16_t* const src[3], uint8_t* dst,
                                                      int dstStep);
RKD_API RkdStatus rkdiYCbCr411ToBGRLS_MCU_16s8u_P3C3R(const int16_t* const src[3], uint8_t* dst,
                                                      int dstStep);
/// @}

/// @name YCCK blocks to CMYK
/// @{
RKD_API RkdStatus rkdiYCCK444ToCMYKLS_MCU_16s8u_P4C4R(const int16_t* const src[4], uint8_t* dst,
                                                      int dstStep);
RKD_API RkdStatus rkdiYCCK422ToCMYKLS_MCU_16s8u_P4C4R(const int16_t* const src[4], uint8_t* dst,
                                                      int dstStep);
RKD_API RkdStatus rkdiYCCK411ToCMYKLS_MCU_16s8u_P4C4R(const int16_t* const src[4], uint8_t* dst,
                                                      int dstStep);
/// @}

/// @name Packed 16-bit pixels to and from YCbCr blocks
/// @{
RKD_API RkdStatus rkdiBGR555ToYCbCr444LS_MCU_16u16s_C3P3R(const uint16_t* src, int srcStep,
                                                          int16_t* const dst[3]);
RKD_API RkdStatus rkdiBGR555ToYCbCr422LS_MCU_16u16s_C3P3R(const uint16_t* src, int srcStep,
                                                          int16_t* const dst[3]);
RKD_API RkdStatus rkdiBGR555ToYCbCr411LS_MCU_16u16s_C3P3R(const uint16_t* src, int srcStep,
                                                          int16_t* const dst[3]);
RKD_API RkdStatus rkdiBGR565ToYCbCr444LS_MCU_16u16s_C3P3R(const uint16_t* src, int srcStep,
                                                          int16_t* const dst[3]);
RKD_API RkdStatus rkdiBGR565ToYCbCr422LS_MCU_16u16s_C3P3R(const uint16_t* src, int srcStep,
                                                          int16_t* const dst[3]);
RKD_API RkdStatus rkdiBGR565ToYCbCr411LS_MCU_16u16s_C3P3R(const uint16_t* src, int srcStep,
                                                          int16_t* const dst[3]);
RKD_API RkdStatus rkdiYCbCr444ToBGR555LS_MCU_16s16u_P3C3R(const int16_t* const src[3],
                                                          uint16_t* dst, int dstStep);
RKD_API RkdStatus rkdiYCbCr422ToBGR555LS_MCU_16s16u_P3C3R(const int16_t* const src[3],
                                                          uint16_t* dst, int dstStep);
RKD_API RkdStatus rkdiYCbCr411ToBGR555LS_MCU_16s16u_P3C3R(const int16_t* const src[3],
                                                          uint16_t* dst, int dstStep);
RKD_API RkdStatus rkdiYCbCr444ToBGR565LS_MCU_16s16u_P3C3R(const int16_t* const src[3],
                                                          uint16_t* dst, int dstStep);
RKD_API RkdStatus rkdiYCbCr422ToBGR565LS_MCU_16s16u_P3C3R(const int16_t* const src[3],
                                                          uint16_t* dst, int dstStep);
RKD_API RkdStatus rkdiYCbCr411ToBGR565LS_MCU_16s16u_P3C3R(const int16_t* const src[3],
                                                          uint16_t* dst, int dstStep);
/// @}

/// @name Sampling without conversion
/// Three interleaved channels, whatever their colours, to blocks and back.
/// @{
RKD_API RkdStatus rkdiSampleDown444LS_MCU_8u16s_C3P3R(const uint8_t* src, int srcStep,
                                                      int16_t* const dst[3]);
RKD_API RkdStatus rkdiSampleDown422LS_MCU_8u16s_C3P3R(const uint8_t* src, int srcStep,
                                                      int16_t* const dst[3]);
RKD_API RkdStatus rkdiSampleDown411LS_MCU_8u16s_C3P3R(const uint8_t* src, int srcStep,
                                                      int16_t* const dst[3]);
RKD_API RkdStatus rkdiSampleUp444LS_MCU_16s8u_P3C3R(const int16_t* const src[3], uint8_t* dst,
                                                    int dstStep);
RKD_API RkdStatus rkdiSampleUp422LS_MCU_16s8u_P3C3R(const int16_t* const src[3], uint8_t* dst,
                                                    int dstStep);
RKD_API RkdStatus rkdiSampleUp411LS_MCU_16s8u_P3C3R(const int16_t* const src[3], uint8_t* dst,
                                                    int dstStep);
/// @}

/// @name Interleaved 4:2:2 pixels to and from blocks
/// @{
RKD_API RkdStatus rkdiSplit422LS_MCU_8u16s_C2P3R(const uint8_t* src, int srcStep,
                                                 int16_t* const dst[3]);
RKD_API RkdStatus rkdiJoin422LS_MCU_16s8u_P3C2R(const int16_t* const src[3], uint8_t* dst,
                                                int dstStep);
/// @}

#ifdef __cplusplus
}
#endif
