/// @file rkdi.h
/// Image part: two-dimensional copying, filling and inverting, and pixels to planes and back.
#pragma once

#include "rkd/rkdbase.h"

#ifdef __cplusplus
extern "C" {
#endif

/// @name Copy and set
/// @param src,dst          first rows, size.height rows of size.width pixels; must not overlap
/// @param srcStep,dstStep  BYTES between row starts, at least one row
/// @param value            what every sample becomes
/// @param size             region in PIXELS, both > 0
/// @return rkdStsNoErr; rkdStsNullPtrErr, rkdStsSizeErr, rkdStsStepErr with dst untouched
/// @{
RKD_API RkdStatus rkdiCopy_8u_C1R(const uint8_t* src, int srcStep, uint8_t* dst, int dstStep,
                                  RkdiSize size);
RKD_API RkdStatus rkdiCopy_8u_C3R(const uint8_t* src, int srcStep, uint8_t* dst, int dstStep,
                                  RkdiSize size);
RKD_API RkdStatus rkdiCopy_16s_C1R(const int16_t* src, int srcStep, int16_t* dst, int dstStep,
                                   RkdiSize size);
RKD_API RkdStatus rkdiCopy_32s_C1R(const int32_t* src, int srcStep, int32_t* dst, int dstStep,
                                   RkdiSize size);
RKD_API RkdStatus rkdiSet_8u_C1R(uint8_t value, uint8_t* dst, int dstStep, RkdiSize size);
RKD_API RkdStatus rkdiSet_16s_C1R(int16_t value, int16_t* dst, int dstStep, RkdiSize size);
RKD_API RkdStatus rkdiSet_32s_C1R(int32_t value, int32_t* dst, int dstStep, RkdiSize size);
/// @}

/// @name Pixels to planes and back
/// Channel n of a pixel is plane n, unchanged; for another order hand in the planes in that order.
/// @param src,dst          interleaved: the first row; planar: an array of plane pointers, first
///                         rows; operands must not overlap
/// @param srcStep,dstStep  BYTES between row starts, at least one row; planes share one step
/// @param size             region in PIXELS, both > 0
/// @return rkdStsNoErr; rkdStsNullPtrErr (a plane included), rkdStsSizeErr, rkdStsStepErr with the
///         destination untouched
/// @{
RKD_API RkdStatus rkdiCopy_8u_C3P3R(const uint8_t* src, int srcStep, uint8_t* const dst[3],
                                    int dstStep, RkdiSize size);
RKD_API RkdStatus rkdiCopy_8u_C4P4R(const uint8_t* src, int srcStep, uint8_t* const dst[4],
                                    int dstStep, RkdiSize size);
RKD_API RkdStatus rkdiCopy_16u_C3P3R(const uint16_t* src, int srcStep, uint16_t* const dst[3],
                                     int dstStep, RkdiSize size);
RKD_API RkdStatus rkdiCopy_16u_C4P4R(const uint16_t* src, int srcStep, uint16_t* const dst[4],
                                     int dstStep, RkdiSize size);
RKD_API RkdStatus rkdiCopy_8u_P3C3R(const uint8_t* const src[3], int srcStep, uint8_t* dst,
                                    int dstStep, RkdiSize size);
RKD_API RkdStatus rkdiCopy_8u_P4C4R(const uint8_t* const src[4], int srcStep, uint8_t* dst,
                                    int dstStep, RkdiSize size);
RKD_API RkdStatus rkdiCopy_16u_P3C3R(const uint16_t* const src[3], int srcStep, uint16_t* dst,
                                     int dstStep, RkdiSize size);
RKD_API RkdStatus rkdiCopy_16u_P4C4R(const uint16_t* const src[4], int srcStep, uint16_t* dst,
                                     int dstStep, RkdiSize size);
/// @}

/// @name Inversion
/// 255 - sample, of every channel: files that store CMYK inverted to and from inks.
/// @param src,dst          first rows; must not overlap
/// @param srcDst           the same in place
/// @param srcStep,dstStep,srcDstStep  BYTES between row starts, at least one row
/// @param size             region in PIXELS, both > 0
/// @return rkdStsNoErr; rkdStsNullPtrErr, rkdStsSizeErr, rkdStsStepErr with dst untouched
/// @{
RKD_API RkdStatus rkdiInvert_8u_C1R(const uint8_t* src, int srcStep, uint8_t* dst, int dstStep,
                                    RkdiSize size);
RKD_API RkdStatus rkdiInvert_8u_C4R(const uint8_t* src, int srcStep, uint8_t* dst, int dstStep,
                                    RkdiSize size);
RKD_API RkdStatus rkdiInvert_8u_C1IR(uint8_t* srcDst, int srcDstStep, RkdiSize size);
RKD_API RkdStatus rkdiInvert_8u_C4IR(uint8_t* srcDst, int srcDstStep, RkdiSize size);
/// @}

#ifdef __cplusplus
}
#endif
