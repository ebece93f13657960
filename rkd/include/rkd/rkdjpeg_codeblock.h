/// @file rkdjpeg_codeblock.h
/// Code-block coding of ITU-T T.800: the bit planes of one block of wavelet coefficients, sent by
/// an adaptive arithmetic coder in up to three passes a plane.
///
/// What holds for all functions here:
/// - **Blocks** have 1..1024 columns and 1..1024 rows, at most 4096 coefficients.
/// - **Coefficients** are two's complement; what is coded is a sign and a magnitude of up to 31 bit
///   planes. Quantisation is the caller's.
/// - **Passes** are counted from 0 at the highest plane that is not zero. Pass 0 is a cleanup pass;
///   then every plane has a significance, a refinement and a cleanup pass: n planes, 3n - 2 passes.
/// - **Segments.** The coder is ended after the passes that the style tells
///   (rkdiGetCodeBlockSegment_JPEG2K) and after the last; the bytes between two ends are a segment.
///   Segments follow one another without gaps, and none ends in 0xFF.
/// - **Reconstruction.** A coefficient whose lowest decoded plane is p > 0 becomes the middle of
///   what it can be: its decoded bits, then a 1, then zeros. With p = 0 it is exact; one that is
///   not yet significant is 0. Where decoding stops inside a plane, some coefficients have that
///   plane and the others the one above; see Reconstruction below for who has to tell them apart.
/// - **Objects** may lie at any address, but are not to be moved; they own no memory. A state
///   serves one block after the other. Nothing is allocated while coding.
///
/// Statuses beside rkdStsNoErr: rkdStsNullPtrErr; rkdStsSizeErr (size of the block, a length, a
/// position); rkdStsStepErr; rkdStsBadArgErr (band, style, planes, passes, lengths of segments that
/// do not fit the passes or the bytes); rkdStsContextErr (a state that Init has not made, one of
/// the other kind, or one that no block has been given to).
/// @see ITU-T T.800, annexes C and D
#pragma once

#include "rkd/rkdbase.h"

#ifdef __cplusplus
extern "C" {
#endif

/// Working memory, coded bytes and pass list of one block being encoded.
typedef struct RkdiEncodeCodeBlockState RkdiEncodeCodeBlockState;
/// Working memory and coefficients of one block being decoded.
typedef struct RkdiDecodeCodeBlockState RkdiDecodeCodeBlockState;

/// Sub-bands; the first letter is the horizontal filter.
enum { rkdBandLL = 0, rkdBandHL = 1, rkdBandLH = 2, rkdBandHH = 3 };

/// Styles: a sum of these, as in the codestream.
enum {
  rkdCodeBlockBypass = 1,     ///< significance and refinement below the fourth plane as raw bits
  rkdCodeBlockReset = 2,      ///< contexts start anew with every pass
  rkdCodeBlockTermAll = 4,    ///< a segment for every pass
  rkdCodeBlockCausal = 8,     ///< contexts do not look into the stripe below
  rkdCodeBlockPredTerm = 16,  ///< segments end in a way that a decoder can check
  rkdCodeBlockSegSym = 32     ///< a mark after every cleanup pass
};

/// May be added to a decoder's style: its integers are in halves, see Reconstruction.
enum { rkdCodeBlockHalves = 256 };

/// Limits of a block.
enum { rkdCodeBlockMaxPlanes = 31, rkdCodeBlockMaxPasses = 91 };

/// What rate control wants to know of a pass.
typedef struct {
  int length;         ///< BYTES of the block to here: its segment's end, or the fewest that decode
  int terminated;     ///< 1 when a segment ends with this pass
  double distortion;  ///< by how much it lowers the sum of squared errors of the reconstruction
} RkdiCodeBlockPass;

/// @name States
/// @param size   receives the size of the object in BYTES, enough for every block
/// @param state  Init: memory of that size; InitAlloc: receives an object for Free; Free: may be
///               null
/// @return rkdStsNoErr; rkdStsNullPtrErr; rkdStsNoMemErr
/// @{
RKD_API RkdStatus rkdiEncodeCodeBlockStateGetBufSize_JPEG2K(int* size);
RKD_API RkdStatus rkdiEncodeCodeBlockStateInit_JPEG2K(RkdiEncodeCodeBlockState* state);
RKD_API RkdStatus rkdiEncodeCodeBlockStateInitAlloc_JPEG2K(RkdiEncodeCodeBlockState** state);
RKD_API RkdStatus rkdiEncodeCodeBlockStateFree_JPEG2K(RkdiEncodeCodeBlockState* state);

RKD_API RkdStatus rkdiDecodeCodeBlockStateGetBufSize_JPEG2K(int* size);
RKD_API RkdStatus rkdiDecodeCodeBlockStateInit_JPEG2K(RkdiDecodeCodeBlockState* state);
RKD_API RkdStatus rkdiDecodeCodeBlockStateInitAlloc_JPEG2K(RkdiDecodeCodeBlockState** state);
RKD_API RkdStatus rkdiDecodeCodeBlockStateFree_JPEG2K(RkdiDecodeCodeBlockState* state);
/// @}

/// @name Segments
/// How many passes the segment that begins with a pass can hold; all that can follow, when the
/// style does not end it. What packet headers are read and written by.
/// @param pass    first pass of the segment, 0..rkdCodeBlockMaxPasses - 1
/// @param passes  receives their number, at least 1
/// @{
RKD_API RkdStatus rkdiGetCodeBlockSegment_JPEG2K(int pass, int style, int* passes);
/// @}

/// @name Encoding
/// Load codes a block once: its passes from the first one on stay in the state. Info and StoreBits
/// may then be called as often as wanted, for any number of passes.
///
/// SetLeastGain tells what passes are worth, until it is called again: from the third pass on, Load
/// stops behind one when it and the two before it together lower the squared error by no more than
/// that a byte. Bytes are those that the coder has put out between the ends of passes; what it
/// still holds is not counted.
/// @param src        first row of coefficients, -2147483647..2147483647
/// @param srcStep    BYTES between row starts
/// @param maxPasses  passes after which to stop, > 0: those that rate control will not send need no
///                   coding; rkdCodeBlockMaxPasses for all
/// @param gain       0 or more; 0, as after Init, never stops
/// @param fewest     passes to code whatever they gain, 0 or more
/// @param bitPlanes  receives how many planes the block has, 0 when it is all zero
/// @param passes     CodeBlockInfo: receives how many passes were coded; StoreBits: how many to
///                   store, 0..coded
/// @param pass       0..coded - 1
/// @param stream     receives what RkdiCodeBlockPass.length of the last stored pass tells
/// @param length     BYTES of the stream that may be written
/// @param position   place in the stream, 0..length; moved behind the stored bytes
/// @return rkdStsCoefRangeErr (-2147483648); rkdStsDstFullErr (StoreBits: with nothing written)
/// @{
RKD_API RkdStatus rkdiEncodeSetLeastGain_JPEG2K(double gain, int fewest,
                                                RkdiEncodeCodeBlockState* state);
RKD_API RkdStatus rkdiEncodeLoadCodeBlock_JPEG2K_32s_C1R(const int32_t* src, int srcStep,
                                                         RkdiSize size, int band, int style,
                                                         int maxPasses,
                                                         RkdiEncodeCodeBlockState* state);
RKD_API RkdStatus rkdiEncodeGetCodeBlockInfo_JPEG2K(int* bitPlanes, int* passes,
                                                    const RkdiEncodeCodeBlockState* state);
RKD_API RkdStatus rkdiEncodeGetPassInfo_JPEG2K(int pass, RkdiCodeBlockPass* info,
                                               const RkdiEncodeCodeBlockState* state);
RKD_API RkdStatus rkdiEncodeStoreBits_JPEG2K_1u(uint8_t* stream, int length, int* position,
                                                int passes, const RkdiEncodeCodeBlockState* state);
/// @}

/// @name Decoding
/// DecodeCodeBlock decodes a whole block. The others go pass by pass: ProgrStart describes the
/// block, ProgrStep decodes some more passes (none when all are done), ProgrGet tells the
/// coefficients as they stand. A segment may be cut off anywhere: what is missing reads as ones.
///
/// Whatever the bytes, nothing outside of them and the destination is touched. Damage that the
/// style lets a decoder see ends decoding behind that pass with rkdStsDataErr; DecodeCodeBlock then
/// has stored the coefficients so far, and further steps return the same status. Seen are
/// - with rkdCodeBlockSegSym, a missing mark behind a cleanup pass;
/// - with rkdCodeBlockPredTerm, a segment that does not end where and as its decisions ask for: not
///   the bytes that they need, no more and no fewer, or others at its end than the procedure for
///   predictable termination leaves. Looked at is the end of every segment that the style ends, and
///   of the last pass of plane 0. What a segment that goes on has been cut to is never damage.
/// @param src        bytes of all segments, may be null when there are none; ProgrStep: the same at
///                   every step
/// @param length     how many there are, 0 or more
/// @param lengths    BYTES of each segment; together at most `length`
/// @param segments   how many there are: as many as the passes have
/// @param style      rkdCodeBlockHalves may be added
/// @param bitPlanes  0..31; with rkdCodeBlockHalves 0..30
/// @param passes     0..3 * bitPlanes - 2; ProgrStep: how many to decode, > 0
/// @param dst        first row of coefficients
/// @param dstStep    BYTES between row starts
/// @return rkdStsDataErr
/// @{
RKD_API RkdStatus rkdiDecodeCodeBlock_JPEG2K_1u32s_C1R(const uint8_t* src, int length,
                                                       const int* lengths, int segments,
                                                       int32_t* dst, int dstStep, RkdiSize size,
                                                       int band, int style, int bitPlanes,
                                                       int passes, RkdiDecodeCodeBlockState* state);
RKD_API RkdStatus rkdiDecodeCBProgrStart_JPEG2K(int length, const int* lengths, int segments,
                                                RkdiSize size, int band, int style, int bitPlanes,
                                                int passes, RkdiDecodeCodeBlockState* state);
RKD_API RkdStatus rkdiDecodeCBProgrStep_JPEG2K(const uint8_t* src, int length, int passes,
                                               RkdiDecodeCodeBlockState* state);
RKD_API RkdStatus rkdiDecodeCBProgrGet_JPEG2K_32s_C1R(int32_t* dst, int dstStep,
                                                      const RkdiDecodeCodeBlockState* state);
/// @}

/// @name Reconstruction
/// More about the block that a state holds, after DecodeCodeBlock or any number of steps. A
/// coefficient with the sign s that was decoded down to plane p, as the magnitude m there, is
/// - as 32s, s (m + 2^p / 2), but s m for p = 0: a whole number, exact if all planes are decoded;
/// - as 32s with rkdCodeBlockHalves, s (2 m + 2^p): the lowest bit that is set is p, so that exact
///   values and middles can be told apart; halved towards zero it is the 32s without;
/// - as 32f, s (m + 2^p / 2) scale: what a quantised coefficient stands for, the middle of its
///   interval, for p = 0 too;
/// - in Planes, p itself, for any other rule.
///
/// What is not significant is 0, and its p the lowest plane in which this is known. Halves of 31
/// planes do not fit 32 bits; 32f and Planes take any number.
/// @param dst      first row: values, or planes 0..bitPlanes
/// @param dstStep  BYTES between row starts
/// @param scale    the quantiser's step; products are rounded once
/// @see ITU-T T.800, E.1.1.2
/// @{
RKD_API RkdStatus rkdiDecodeCBProgrGet_JPEG2K_32f_C1R(float* dst, int dstStep, float scale,
                                                      const RkdiDecodeCodeBlockState* state);
RKD_API RkdStatus rkdiDecodeCBProgrGetPlanes_JPEG2K_8u_C1R(uint8_t* dst, int dstStep,
                                                           const RkdiDecodeCodeBlockState* state);
/// @}

#ifdef __cplusplus
}
#endif
