#pragma once
/// @file
/// What all suites share: the sizes, the hot lines, the named value lists, the library's core
/// services.

#include "tziterator.h"
#include "rkd/rkdbase.h"

/// The session's list of image sizes: one that fits the first-level cache, one the second, one
/// beyond. Common parameter "ImageSize" of the ini file.
extern tzIterator<RkdiSize> g_imageSize;
/// The sizes of generated pictures for the codec-level suites.
extern tzIterator<RkdiSize> g_codecSize;

/// @name Hot lines
/// Set by nothing: the hot list itself is filled by registration in rkcommon.cpp.
/// @{
extern bool hot_rkdiDCTQuantInv8x8LS_JPEG_16s8u_C1R;
extern bool hot_rkdiDecodeHuffman8x8_JPEG_1u16s_C1;
extern bool hot_rkdiEncodeLoadCodeBlock_JPEG2K_32s_C1R;
extern bool hot_rkdiRGBToYCbCr_JPEG_8u_C3P3R;
extern bool hot_rkdiWTInvRow_B53_JPEG2K_16s_C1R;
extern bool hot_rkdiWTInvRow_B53_JPEG2K_32s_C1R;
extern bool hot_rkdiWTInvRow_D97_JPEG2K_16s_C1R;
extern bool hot_rkdiWTInvRow_D97_JPEG2K_32f_C1R;
/// @}

/// Appends every value of `from` to `to`.
void copySizeList(tzIterator<RkdiSize>& to, const tzIterator<RkdiSize>& from);
