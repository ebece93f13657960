/// @file rkdjpeg_texture.h
/// Texture blocks: 4x4 RGBA pixels to and from 8 bytes (DXT1) or 16 bytes (DXT3, DXT5).
///
/// A colour block is c0, c1 (16 bits, 5-6-5 bits of R, G, B from the top), then 2 bits a pixel, all
/// little-endian; channels widen by repeating their upper bits. The colours in between truncate:
/// (2 c0 + c1) / 3 and (c0 + 2 c1) / 3, or, in DXT1 with c0 <= c1, (c0 + c1) / 2 and transparent
/// black. DXT3 puts 4 bits of alpha a pixel in front, DXT5 two alphas and 3 bits a pixel. DXT3 and
/// DXT5 never have three colours, whatever the order of c0 and c1.
///
/// The encoders follow one rule, so that results are the same bits at every level:
/// 1. In DXT1 pixels with alpha below 128 are transparent and count in no step; a block with
///    such pixels uses three colours and index 3 for exactly these.
/// 2. The colours' axis are the covariances of the channel that varies most (the first of R, G, B)
///    with each channel, scaled so that the magnitudes sum up to 127 and cut to integers.
/// 3. In DXT1 an opaque block whose colours lie on the axis near three levels uses three colours,
///    too: where the range is more than 1270, and pixels are within 5461 / 65536 of the range from
///    its middle, but none from there to three times as far.
/// 4. On the axis colours get levels, 0 to 3 (to 2), the nearest between first ends: a sixteenth of
///    the range inside the smallest and the largest, there the nearest steps of 5, 6, 5 bits to the
///    point of the axis through the mean.
/// 5. Least squares tell which upper end fits these levels, rounded to the nearest step, and then
///    which lower end, rounded. Colours that share one level get their mean (halves up): each
///    channel takes two ends, in either order, whose level next to the upper end is nearest; of
///    these the closest together, then the one with the smallest upper and then lower end; in DXT1
///    of an opaque block those of three colours if their squared error is smaller.
/// 6. The ends are ordered c0 >= c1 (three colours: c0 <= c1), and every colour takes the
///    level that is nearest along the line between the widened ends, scaled like the axis, halves
///    towards c1. Equal ends take index 0.
/// 7. DXT3 rounds alpha to multiples of 17. DXT5 takes the largest and the smallest alpha as ends,
///    and the nearest of the 8 levels; or, if these are more than 8 apart (ends more than 56) and
///    the squared error is smaller, 0, 255 and the nearest of 6 levels between the smallest alpha
///    but 0 and the largest but 255.
#pragma once

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
