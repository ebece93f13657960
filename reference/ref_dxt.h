/// @file
/// Plain versions of the texture functions, as rkdjpeg_texture.h declares and defines them.
#pragma once

#include "rkd/rkdbase.h"

namespace ref {

RkdStatus rkdiTextureEncodeBlockFromRGBA_DXT1_8u_C4C1R(const uint8_t* src, int srcStep,
                                                       uint8_t* dst, int dstStep, RkdiSize size);
RkdStatus rkdiTextureEncodeBlockFromRGBA_DXT3_8u_C4C1R(const uint8_t* src, int srcStep,
                                                       uint8_t* dst, int dstStep, RkdiSize size);
RkdStatus rkdiTextureEncodeBlockFromRGBA_DXT5_8u_C4C1R(const uint8_t* src, int srcStep,
                                                       uint8_t* dst, int dstStep, RkdiSize size);
RkdStatus rkdiTextureDecodeBlockToRGBA_DXT1_8u_C1C4R(const uint8_t* src, int srcStep, uint8_t* dst,
                                                     int dstStep, RkdiSize size);
RkdStatus rkdiTextureDecodeBlockToRGBA_DXT3_8u_C1C4R(const uint8_t* src, int srcStep, uint8_t* dst,
                                                     int dstStep, RkdiSize size);
RkdStatus rkdiTextureDecodeBlockToRGBA_DXT5_8u_C1C4R(const uint8_t* src, int srcStep, uint8_t* dst,
                                                     int dstStep, RkdiSize size);

}  // namespace ref
