/// @file rkdjpeg_hdp.h
/// The photo core transform of ITU-T T.832, in place: forward and inverse.
///
/// Coefficients are in natural order: position (x, y) of a 4x4 block holds horizontal frequency x
/// and vertical frequency y; its value at (0, 0), the DC, is a quarter of the sum. The inverse of a
/// forward transform gives back the samples exactly. Samples of at most 2^24 in magnitude cannot
/// overflow; beyond, arithmetic is modulo 2^32.
///
/// @param srcDst  samples or coefficients; what is not transformed stays untouched
/// @param step    BYTES from row to row, not less than a row
#pragma once

#include "rkd/rkdbase.h"

#ifdef __cplusplus
extern "C" {
#endif

/// @name 4x4 blocks of a region
/// Every complete 4x4 block, counted from srcDst. Columns and rows left over at the right and at
/// the bottom stay as they are; a region below 4x4 has no block, and that is no error.
/// @param size  PIXELS, positive
/// @return rkdStsNoErr; rkdStsNullPtrErr, rkdStsSizeErr, rkdStsStepErr with srcDst untouched
/// @see ITU-T T.832, D.4 and 9.9.7
/// @{
RKD_API RkdStatus rkdiPCTFwd_HDP_32s_C1IR(int32_t* srcDst, int step, RkdiSize size);
RKD_API RkdStatus rkdiPCTInv_HDP_32s_C1IR(int32_t* srcDst, int step, RkdiSize size);
/// @}

/// @name One macroblock, both stages
/// After the transform of its 4x4 blocks, their DCs, which stay where they are, are transformed in
/// turn: those of 16x16 samples as a 4x4 block; those of 8x8 by the 2x2 transform; those of 8
/// columns by 16 rows by two 2x2 transforms, whose means at rows 0 and 8 become their average and
/// their difference.
/// @return rkdStsNoErr; rkdStsNullPtrErr, rkdStsStepErr with srcDst untouched
/// @{
RKD_API RkdStatus rkdiPCTFwd16x16_HDP_32s_C1IR(int32_t* srcDst, int step);
RKD_API RkdStatus rkdiPCTInv16x16_HDP_32s_C1IR(int32_t* srcDst, int step);
RKD_API RkdStatus rkdiPCTFwd8x16_HDP_32s_C1IR(int32_t* srcDst, int step);
RKD_API RkdStatus rkdiPCTInv8x16_HDP_32s_C1IR(int32_t* srcDst, int step);
RKD_API RkdStatus rkdiPCTFwd8x8_HDP_32s_C1IR(int32_t* srcDst, int step);
RKD_API RkdStatus rkdiPCTInv8x8_HDP_32s_C1IR(int32_t* srcDst, int step);
/// @}

#ifdef __cplusplus
}
#endif
