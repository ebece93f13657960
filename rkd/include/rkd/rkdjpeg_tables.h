/// @file rkdjpeg_tables.h
/// Tables of ITU-T T.81 as data: the zigzag order, the typical quantisers and Huffman tables that
/// nearly every encoder uses, and quantisers for a quality.
///
/// Whatever the call, results go to memory of the caller's; nothing has to be freed.
#pragma once

#include "rkd/rkdbase.h"

#ifdef __cplusplus
extern "C" {
#endif

/// Which of the typical tables.
enum { rkdTableLuma = 0, rkdTableChroma = 1 };
/// What a Huffman table codes.
enum { rkdTableDC = 0, rkdTableAC = 1 };

/// @name Zigzag order
/// @param order  receives 64 entries: where in natural order, which goes
///               row by row, coefficient k of a segment
///               or of a scan stands
/// @return rkdStsNoErr; rkdStsNullPtrErr
/// @see ITU-T T.81, figure A.6
/// @{
RKD_API RkdStatus rkdiGetZigzag_JPEG_8u(uint8_t* order);
/// @}

/// @name Quantisers
/// `Get`: the typical tables, which stand for quality 50. `Scale`: each quantiser times 50 /
/// quality below 50 and (100 - quality) / 50 from there on, as (q * percent + 50) / 100 with
/// percent = 5000 / quality or 200 - 2 * quality, all rounded down; then limited to 1..255 for
/// baseline files (8u) or 1..32767 (8u16u). Quality 100 is all ones.
///
/// All are in natural order, as rkdiQuantFwdTableInit_JPEG and rkdiQuantInvTableInit_JPEG take
/// them; DQT segments have them in zigzag order.
/// @param table       rkdTableLuma or rkdTableChroma
/// @param quantisers  64 of them
/// @param quality     1..100
/// @param scaled      receives 64; 8u: may be the same array as quantisers
/// @return rkdStsNoErr; rkdStsNullPtrErr; rkdStsBadArgErr (table, quality) with nothing written
/// @see ITU-T T.81, tables K.1 and K.2
/// @{
RKD_API RkdStatus rkdiGetQuantisers_JPEG_8u(int table, uint8_t* quantisers);
RKD_API RkdStatus rkdiScaleQuantisers_JPEG_8u(const uint8_t* quantisers, int quality,
                                              uint8_t* scaled);
RKD_API RkdStatus rkdiScaleQuantisers_JPEG_8u16u(const uint8_t* quantisers, int quality,
                                                 uint16_t* scaled);
/// @}

/// @name Huffman tables
/// The typical tables for 8-bit samples, as lists of a DHT segment: what
/// rkdiEncodeHuffmanSpecInit_JPEG_8u and rkdiDecodeHuffmanSpecInit_JPEG_8u take.
/// @param tableClass  rkdTableDC or rkdTableAC
/// @param table       rkdTableLuma or rkdTableChroma
/// @param bits        receives 16 counts: bits[i] codes have i + 1 bits
/// @param values      receives the symbols in order of their codes, 12 (DC) or 162 (AC)
/// @return rkdStsNoErr; rkdStsNullPtrErr; rkdStsBadArgErr with nothing written
/// @see ITU-T T.81, tables K.3 to K.6
/// @{
RKD_API RkdStatus rkdiGetHuffmanTable_JPEG_8u(int tableClass, int table, uint8_t* bits,
                                              uint8_t* values);
/// @}

#ifdef __cplusplus
}
#endif
