/// @file rkdjpeg_dct.h
/// Discrete cosine transform, quantisation and level shift of ITU-T T.81.
///
/// A block of coefficients is 64 contiguous int16_t in natural order (row by row, not zigzag). A
/// block of samples is 64 contiguous int16_t, or, in functions whose names end in R, eight rows of
/// eight samples with a step.
///
/// The transforms are integer arithmetic with one definition for all processor levels: the same
/// input gives the same bits at every level, inside and outside the ranges stated below. Outside
/// them sums and products wrap around and narrowing saturates; nothing else can happen.
///
/// Accuracy inside the ranges, against the transform in exact arithmetic:
/// - forward: within 1 before quantisation (mean error below 0.0015), hence a quantised coefficient
///   is within 1 of the nearest integer to F / q;
/// - inverse: within 1 of the nearest integer; the full 8x8 transforms to 16s and 8u keep the
///   limits of IEEE 1180-1990.
#pragma once

#include "rkd/rkdbase.h"

#ifdef __cplusplus
extern "C" {
#endif

/// Number of uint16_t in a quantisation table as the builders make it.
#define RKD_QUANT_TABLE_LENGTH 256

/// @name Quantisation tables
/// A table operand is an array of uint16_t whose entries 0 to 63 are the quantisers in natural
/// order. Forward functions also take derived values from entries 64 to 255 when a forward builder
/// left its mark there; then the array has RKD_QUANT_TABLE_LENGTH entries. An array without the
/// mark works too: all ones as fast as with it, other values more slowly. Forward functions always
/// look for the mark, so their table must have all RKD_QUANT_TABLE_LENGTH entries; inverse
/// functions read entries 0 to 63 only, and take forward tables as well. After changing entries 0
/// to 63 of a built table, build it again.
/// @param quantisers  64 quantisers in natural order: forward 1..32767, inverse 1..65535
/// @param table       receives RKD_QUANT_TABLE_LENGTH entries; may be the same array as quantisers
///                    when the types agree
/// @return rkdStsNoErr; rkdStsNullPtrErr; rkdStsQuantTableErr for a quantiser out of range, with
///         table untouched
/// @{
RKD_API RkdStatus rkdiQuantFwdTableInit_JPEG_8u16u(const uint8_t* quantisers, uint16_t* table);
RKD_API RkdStatus rkdiQuantFwdTableInit_JPEG_16u(const uint16_t* quantisers, uint16_t* table);
RKD_API RkdStatus rkdiQuantInvTableInit_JPEG_8u16u(const uint8_t* quantisers, uint16_t* table);
RKD_API RkdStatus rkdiQuantInvTableInit_JPEG_16u(const uint16_t* quantisers, uint16_t* table);
/// @}

/// @name Level shift
/// `16s8u`: dst = clamp(src + 128, 0, 255), saturating for every input; `8u16s`: dst = src - 128.
/// @param src,dst          first rows, size.height rows of size.width samples; must not overlap
/// @param srcStep,dstStep  BYTES between row starts, at least one row of samples
/// @param size             region in SAMPLES, both > 0
/// @return rkdStsNoErr; rkdStsNullPtrErr, rkdStsSizeErr, rkdStsStepErr with dst untouched
/// @see ITU-T T.81, A.3.1
/// @{
RKD_API RkdStatus rkdiAdd128_JPEG_16s8u_C1R(const int16_t* src, int srcStep, uint8_t* dst,
                                            int dstStep, RkdiSize size);
RKD_API RkdStatus rkdiSub128_JPEG_8u16s_C1R(const uint8_t* src, int srcStep, int16_t* dst,
                                            int dstStep, RkdiSize size);
/// @}

/// @name Quantisation of one block
/// Fwd: each coefficient divided by its quantiser, rounded to nearest, halves away from zero; exact
/// for coefficients -16384..16384. Inv: each coefficient times its quantiser, modulo 2^16.
/// @param srcDst  64 coefficients
/// @param table   see quantisation tables
/// @return rkdStsNoErr; rkdStsNullPtrErr
/// @see ITU-T T.81, A.3.4
/// @{
RKD_API RkdStatus rkdiQuantFwd8x8_JPEG_16s_C1I(int16_t* srcDst, const uint16_t* table);
RKD_API RkdStatus rkdiQuantInv8x8_JPEG_16s_C1I(int16_t* srcDst, const uint16_t* table);
/// @}

/// @name Transform of one block
/// F(u,v) = C(u) C(v) / 4 * sum f(x,y) cos cos and its inverse, without level shift.
/// Range: forward, samples -512..511; inverse, coefficients of blocks whose samples lie in that
/// range, each -4096..4096.
/// @param src     64 samples (forward) or coefficients (inverse)
/// @param dst     64 coefficients or samples; may be src, must not overlap it otherwise
/// @param srcDst  the same in place
/// @return rkdStsNoErr; rkdStsNullPtrErr
/// @see ITU-T T.81, A.3.3
/// @{
RKD_API RkdStatus rkdiDCT8x8Fwd_JPEG_16s_C1(const int16_t* src, int16_t* dst);
RKD_API RkdStatus rkdiDCT8x8Fwd_JPEG_16s_C1I(int16_t* srcDst);
RKD_API RkdStatus rkdiDCT8x8Inv_JPEG_16s_C1(const int16_t* src, int16_t* dst);
RKD_API RkdStatus rkdiDCT8x8Inv_JPEG_16s_C1I(int16_t* srcDst);
/// @}

/// @name Transform with quantisation of one block
/// Fwd equals rkdiDCT8x8Fwd followed by rkdiQuantFwd8x8, Inv equals rkdiQuantInv8x8 followed by
/// rkdiDCT8x8Inv, bit for bit; ranges as there, for the inverse after dequantisation.
/// @param src     64 samples (forward) or quantised coefficients (inverse)
/// @param dst     64 quantised coefficients or samples; may be src, must not overlap it otherwise
/// @param srcDst  the same in place
/// @param table   see quantisation tables
/// @return rkdStsNoErr; rkdStsNullPtrErr
/// @see ITU-T T.81, A.3.3 and A.3.4
/// @{
RKD_API RkdStatus rkdiDCTQuantFwd8x8_JPEG_16s_C1(const int16_t* src, int16_t* dst,
                                                 const uint16_t* table);
RKD_API RkdStatus rkdiDCTQuantFwd8x8_JPEG_16s_C1I(int16_t* srcDst, const uint16_t* table);
RKD_API RkdStatus rkdiDCTQuantInv8x8_JPEG_16s_C1(const int16_t* src, int16_t* dst,
                                                 const uint16_t* table);
RKD_API RkdStatus rkdiDCTQuantInv8x8_JPEG_16s_C1I(int16_t* srcDst, const uint16_t* table);
/// @}

/// @name Transform with quantisation of coefficients in eighths
/// As rkdiDCTQuantFwd8x8 with coefficients that keep three bits of fraction: each is rounded to an
/// eighth, and its eighths are divided by the quantiser, so that a table has eight times what a
/// file tells. What is rounded to whole numbers first leaves more coefficients that are not zero,
/// and a file that is a per cent longer.
/// Range: samples -128..127.
/// @param src    `count` blocks of 64 samples, one after the other
/// @param dst    as many blocks of 64 quantised coefficients; may be src, must not overlap it
///               otherwise
/// @param count  BLOCKS, > 0
/// @param table  see quantisation tables; quantisers in eighths
/// @return rkdStsNoErr; rkdStsNullPtrErr, rkdStsSizeErr with dst untouched
/// @see ITU-T T.81, A.3.3 and A.3.4
/// @{
RKD_API RkdStatus rkdiDCTQuantFwd8x8_Eighths_JPEG_16s_C1(const int16_t* src, int16_t* dst,
                                                         int count, const uint16_t* table);
/// @}

/// @name Transform with level shift
/// Fwd: 8x8 samples less 128 (8u; every value in range) or 2048 (16u; range 0..4095), transformed.
/// Inv: transformed, plus 128 or 2048, clamped to 0..255 or 0..4095. With a table also quantised or
/// dequantised. Dequantised range of the inverse: 8u -2048..2047, 16u -32768..32767, of blocks
/// whose samples before the clamp lie in -512..511 (8u) and -4096..4095 (16u).
/// @param src               samples: first of eight rows; coefficients: 64
/// @param dst               coefficients: 64; samples: first of eight rows; must not overlap src
/// @param srcStep,dstStep   BYTES between rows of samples, at least one row of eight
/// @param table             see quantisation tables
/// @return rkdStsNoErr; rkdStsNullPtrErr, rkdStsStepErr with dst untouched
/// @see ITU-T T.81, A.3.1, A.3.3 and A.3.4
/// @{
RKD_API RkdStatus rkdiDCT8x8FwdLS_JPEG_8u16s_C1R(const uint8_t* src, int srcStep, int16_t* dst);
RKD_API RkdStatus rkdiDCT8x8InvLS_JPEG_16s8u_C1R(const int16_t* src, uint8_t* dst, int dstStep);
RKD_API RkdStatus rkdiDCTQuantFwd8x8LS_JPEG_8u16s_C1R(const uint8_t* src, int srcStep, int16_t* dst,
                                                      const uint16_t* table);
RKD_API RkdStatus rkdiDCTQuantInv8x8LS_JPEG_16s8u_C1R(const int16_t* src, uint8_t* dst, int dstStep,
                                                      const uint16_t* table);
RKD_API RkdStatus rkdiDCTQuantFwd8x8LS_JPEG_16u16s_C1R(const uint16_t* src, int srcStep,
                                                       int16_t* dst, const uint16_t* table);
RKD_API RkdStatus rkdiDCTQuantInv8x8LS_JPEG_16s16u_C1R(const int16_t* src, uint16_t* dst,
                                                       int dstStep, const uint16_t* table);
/// @}

/// @name Inverse of blocks with few coefficients
/// As rkdiDCTQuantInv8x8LS_JPEG_16s8u_C1R for blocks of which only the upper-left 4x4, 2x2 or 1x1
/// coefficients may differ from zero. The others are not looked at.
/// @see rkdiDCTQuantInv8x8LS_JPEG_16s8u_C1R for parameters and statuses
/// @{
RKD_API RkdStatus rkdiDCTQuantInv8x8LS_4x4_JPEG_16s8u_C1R(const int16_t* src, uint8_t* dst,
                                                          int dstStep, const uint16_t* table);
RKD_API RkdStatus rkdiDCTQuantInv8x8LS_2x2_JPEG_16s8u_C1R(const int16_t* src, uint8_t* dst,
                                                          int dstStep, const uint16_t* table);
RKD_API RkdStatus rkdiDCTQuantInv8x8LS_1x1_JPEG_16s8u_C1R(const int16_t* src, uint8_t* dst,
                                                          int dstStep, const uint16_t* table);
/// @}

/// @name Inverse of many blocks
/// As rkdiDCTQuantInv8x8LS_JPEG_16s8u_C1R for `count` blocks, of which it is known where their
/// coefficients end: those behind it are taken for zeros, and the fewer are left, the less it
/// takes.
/// @param src         first block; 64 contiguous quantised coefficients each
/// @param srcStep     BYTES between blocks, at least one block
/// @param last        of the first block: zigzag index of the last coefficient that may differ from
///                    zero, 0..63
/// @param lastStep    BYTES between those of blocks
/// @param dst         first of 8 rows of the first block's samples; must not overlap src
/// @param dstStep     BYTES between rows of samples, at least all that is written of one
/// @param dstAdvance  BYTES between blocks in a row of samples, at least 8
/// @param count       blocks, > 0
/// @param table       see quantisation tables
/// @return rkdStsNoErr; rkdStsNullPtrErr, rkdStsSizeErr, rkdStsStepErr with dst untouched
/// @{
RKD_API RkdStatus rkdiDCTQuantInvBlocks8x8LS_JPEG_16s8u_C1R(const int16_t* src, int srcStep,
                                                            const uint8_t* last, int lastStep,
                                                            uint8_t* dst, int dstStep,
                                                            int dstAdvance, int count,
                                                            const uint16_t* table);
/// @}

/// @name Inverse to fewer samples
/// The N-point inverse transform of the low NxN coefficients of a block, scaled so that a constant
/// block keeps its value, plus 128, clamped to 0..255: the block at a half (4x4) or a quarter (2x2)
/// of its size.
/// @param src      64 quantised coefficients
/// @param dst      first of N rows of N samples; must not overlap src
/// @param dstStep  BYTES between rows of samples, at least one row of N
/// @param table    see quantisation tables
/// @return rkdStsNoErr; rkdStsNullPtrErr, rkdStsStepErr with dst untouched
/// @{
RKD_API RkdStatus rkdiDCTQuantInv8x8To4x4LS_JPEG_16s8u_C1R(const int16_t* src, uint8_t* dst,
                                                           int dstStep, const uint16_t* table);
RKD_API RkdStatus rkdiDCTQuantInv8x8To2x2LS_JPEG_16s8u_C1R(const int16_t* src, uint8_t* dst,
                                                           int dstStep, const uint16_t* table);
/// @}

#ifdef __cplusplus
}
#endif
