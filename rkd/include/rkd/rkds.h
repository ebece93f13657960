/// @file rkds.h
/// Signal part: one-dimensional copying and filling.
#pragma once

#include "rkd/rkdbase.h"

#ifdef __cplusplus
extern "C" {
#endif

/// @name Copy, set and zero
/// @param src,dst  `len` elements each; Copy: must not overlap
/// @param value    what every element becomes
/// @param len      number of ELEMENTS, > 0
/// @return rkdStsNoErr; rkdStsNullPtrErr, rkdStsSizeErr
/// @{
RKD_API RkdStatus rkdsCopy_8u(const uint8_t* src, uint8_t* dst, int len);
RKD_API RkdStatus rkdsCopy_16s(const int16_t* src, int16_t* dst, int len);
RKD_API RkdStatus rkdsCopy_32s(const int32_t* src, int32_t* dst, int len);
RKD_API RkdStatus rkdsSet_8u(uint8_t value, uint8_t* dst, int len);
RKD_API RkdStatus rkdsSet_16s(int16_t value, int16_t* dst, int len);
RKD_API RkdStatus rkdsSet_32s(int32_t value, int32_t* dst, int len);
RKD_API RkdStatus rkdsZero_8u(uint8_t* dst, int len);
RKD_API RkdStatus rkdsZero_16s(int16_t* dst, int len);
RKD_API RkdStatus rkdsZero_32s(int32_t* dst, int len);
/// @}

#ifdef __cplusplus
}
#endif
