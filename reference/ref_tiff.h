/// @file
/// Plain versions of the functions on rows of TIFF images. Formats, packet choice and statuses are
/// those of rkdjpeg_tiff.h; pointers, lengths and positions are trusted.
#pragma once

#include "rkd/rkdbase.h"

namespace ref {

/// @name PackBits, byte by byte
/// @{
RkdStatus rkdiPackBitsRow_TIFF_8u_C1(const uint8_t* src, int srcLen, uint8_t* dst, int dstLen,
                                     int* dstPos);
RkdStatus rkdiUnpackBitsRow_TIFF_8u_C1(const uint8_t* src, int srcLen, int* srcPos, uint8_t* dst,
                                       int dstLen, int* written);
/// @}

/// @name Bytes of 16-bit samples
/// @{
RkdStatus rkdiSplitRow_TIFF_16u8u_C1(const uint16_t* src, uint8_t* dst, int length);
RkdStatus rkdiJoinRow_TIFF_8u16u_C1(const uint8_t* src, uint16_t* dst, int length);
/// @}

}  // namespace ref
