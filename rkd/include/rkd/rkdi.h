/// @file rkdi.h
/// Image part: two-dimensional copying and filling.
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

#ifdef __cplusplus
}
#endif
