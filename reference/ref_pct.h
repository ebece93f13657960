/// @file
/// Plain versions of the photo core transform. Meaning and statuses are those of rkdjpeg_hdp.h;
/// arguments are trusted.
#pragma once

#include "rkd/rkdbase.h"

namespace ref {

RkdStatus rkdiPCTFwd_HDP_32s_C1IR(int32_t* srcDst, int step, RkdiSize size);
RkdStatus rkdiPCTInv_HDP_32s_C1IR(int32_t* srcDst, int step, RkdiSize size);
RkdStatus rkdiPCTFwd16x16_HDP_32s_C1IR(int32_t* srcDst, int step);
RkdStatus rkdiPCTInv16x16_HDP_32s_C1IR(int32_t* srcDst, int step);
RkdStatus rkdiPCTFwd8x16_HDP_32s_C1IR(int32_t* srcDst, int step);
RkdStatus rkdiPCTInv8x16_HDP_32s_C1IR(int32_t* srcDst, int step);
RkdStatus rkdiPCTFwd8x8_HDP_32s_C1IR(int32_t* srcDst, int step);
RkdStatus rkdiPCTInv8x8_HDP_32s_C1IR(int32_t* srcDst, int step);

}  // namespace ref
