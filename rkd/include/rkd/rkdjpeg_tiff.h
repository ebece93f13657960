/// @file rkdjpeg_tiff.h
/// Rows of TIFF images: PackBits compression, and 16-bit samples split into bytes.
#pragma once

#include "rkd/rkdbase.h"

#ifdef __cplusplus
extern "C" {
#endif

/// @name PackBits
/// A packet is a header byte n, taken as signed, and its data: 0..127 is followed by n + 1 bytes
/// that stand for themselves, -127..-1 by one byte that is repeated 1 - n times; -128 stands alone
/// and means nothing. Every row is packed by itself.
///
/// Packing writes three or more equal bytes as repeated ones, and two where no literal bytes are
/// directly before them in the same packet; packets are as long as they can be, 128 bytes at most.
/// A row of n bytes needs never more than n + ceil(n / 128).
///
/// Unpacking stops as soon as the row is full. Of a packet that goes beyond the row, the bytes that
/// have room are written.
/// @param src,srcLen  bytes to read, srcLen > 0
/// @param dst,dstLen  bytes that may be written, dstLen > 0; must not overlap src. Unpacking: the
///                    length of the row
/// @param dstPos      where to write in dst, 0..*dstPos..dstLen; moved behind what was written, so
///                    that the next row follows
/// @param srcPos      where to read in src, 0..*srcPos..srcLen; moved behind what was read
/// @param written     out: the bytes of the row
/// @return rkdStsNoErr; rkdStsNullPtrErr, rkdStsSizeErr, rkdStsBadArgErr (a position outside its
///         buffer) with nothing changed; rkdStsDstFullErr: packing has written the packets that
///         have room, unpacking met a packet that goes beyond the row; rkdStsSrcEndErr: the source
///         ended inside a packet or before the row was full, and what its bytes from *written on
///         hold is unspecified
/// @see TIFF 6.0, section 9
/// @{
RKD_API RkdStatus rkdiPackBitsRow_TIFF_8u_C1(const uint8_t* src, int srcLen, uint8_t* dst,
                                             int dstLen, int* dstPos);
RKD_API RkdStatus rkdiUnpackBitsRow_TIFF_8u_C1(const uint8_t* src, int srcLen, int* srcPos,
                                               uint8_t* dst, int dstLen, int* written);
/// @}

/// @name Bytes of 16-bit samples
/// All upper bytes of a row, then all lower ones, whatever the byte order of the machine: it is the
/// order that packs well. Joining undoes splitting.
/// @param src,dst  `length` 16-bit samples on one side, 2 * length bytes on the other; they must
///                 not overlap
/// @param length   16-BIT SAMPLES, 1..2^30 - 1
/// @return rkdStsNoErr; rkdStsNullPtrErr, rkdStsSizeErr with dst untouched
/// @{
RKD_API RkdStatus rkdiSplitRow_TIFF_16u8u_C1(const uint16_t* src, uint8_t* dst, int length);
RKD_API RkdStatus rkdiJoinRow_TIFF_8u16u_C1(const uint8_t* src, uint16_t* dst, int length);
/// @}

#ifdef __cplusplus
}
#endif
