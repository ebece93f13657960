/// @file rkdjpeg_texture.h
/// Texture blocks: 4x4 RGBA pixels to and from 8 bytes (DXT1) or 16 bytes (DXT3, DXT5).
///
/// A colour block is c0, c1 (16 bits, 5-6-5 bits of R, G, B from the top), then 2 bits a pixel, all
/// little-endian; channels widen by repeating their upper bits. The colours in between truncate:
/// (2 c0 + c1) / 3 and (c0 + 2 c1) / 3, or, in DXT1 with c0 <= c1, (c0 + c1) / 2 and transparent
/// black. DXT3 puts 4 bits of alpha a pixel in front, DXT5 two alphas and 3 bits a pixel. DXT3 and
/// DXT5 never have three colours, whatever the order of c0 and c1.
///
/// The encoders follow one rule in integers, so that results are the same bits at every level:
/// 1. Box of the block's colours. In DXT1 pixels with alpha below 128 are transparent and count in
///    no step; a block that has any uses three colours and index 3 for exactly these pixels.
/// 2. Of the widest channel (the first of G, R, B) and each other one the sign of the covariance
///    picks the box diagonal.
/// 3. Every colour is put on the nearest of the diagonal's 4 (or 3) levels, halves downwards, and
///    the line that fits colours to levels by least squares gives new ends, clamped to 0..255 and
///    rounded to 5, 6, 5 bits, halves upwards. Colours that share one level keep the nearest mean:
///    each channel of the box's middle (halves up) takes two ends, in either order, whose level
///    next to the upper end is nearest; of these the closest together, then the one with the
///    smallest upper and then lower end.
/// 4. The ends are ordered c0 >= c1 (three colours: c0 <= c1), and every colour takes the nearest
///    level between the widened ends, halves towards c1; colours that shared a level stay on that
///    next to the upper end. Equal ends take index 0.
/// 5. DXT3 rounds alpha to multiples of 17. DXT5 takes the largest and the smallest alpha as ends,
///    and the nearest of the 8 levels, halves downwards.
#ifndef RKD_RKDJPEG_TEXTURE_H_
#define RKD_RKDJPEG_TEXTURE_H_

#include "rkd/rkdbase.h"

#ifdef __cplusplus
extern "C" {
#endif

/// @name Regions
/// @param src,dst          the image's first pixel, four bytes R, G, B, A each, or the first row of
///                         blocks, which lie one behind the other; must not overlap
/// @param srcStep,dstStep  BYTES between image rows, at least 4 * width, or between rows of blocks,
///                         at least 2 * width (DXT1) or 4 * width (DXT3, DXT5)
/// @param size             of the image in PIXELS, both positive multiples of 4
/// @return rkdStsNoErr; rkdStsNullPtrErr, rkdStsSizeErr, rkdStsStepErr with dst untouched
/// @{
RKD_API RkdStatus rkdiTextureEncodeBlockFromRGBA_DXT1_8u_C4C1R(const uint8_t* src, int srcStep,
                                                               uint8_t* dst, int dstStep,
                                                               RkdiSize size);
RKD_API RkdStatus rkdiTextureEncodeBlockFromRGBA_DXT3_8u_C4C1R(const uint8_t* src, int srcStep,
                                                               uint8_t* dst, int dstStep,
                                                               RkdiSize size);
RKD_API RkdStatus rkdiTextureEncodeBlockFromRGBA_DXT5_8u_C4C1R(const uint8_t* src, int srcStep,
                                                               uint8_t* dst, int dstStep,
                                                               RkdiSize size);
RKD_API RkdStatus rkdiTextureDecodeBlockToRGBA_DXT1_8u_C1C4R(const uint8_t* src, int srcStep,
                                                             uint8_t* dst, int dstStep,
                                                             RkdiSize size);
RKD_API RkdStatus rkdiTextureDecodeBlockToRGBA_DXT3_8u_C1C4R(const uint8_t* src, int srcStep,
                                                             uint8_t* dst, int dstStep,
                                                             RkdiSize size);
RKD_API RkdStatus rkdiTextureDecodeBlockToRGBA_DXT5_8u_C1C4R(const uint8_t* src, int srcStep,
                                                             uint8_t* dst, int dstStep,
                                                             RkdiSize size);
/// @}

#ifdef __cplusplus
}
#endif

#endif
