/// @file rkdjpeg_wavelet.h
/// The wavelets of JPEG 2000: one level of the reversible 5/3 (`B53`) and the irreversible 9/7
/// (`D97`) transform, by rows, by columns, in both directions, and one lifting step at a time.
///
/// What holds for all functions here:
/// - **Phase.** rkdWTFirstLow: the first sample of a line has an even coordinate and becomes a low
///   one; rkdWTFirstHigh: it is odd and becomes a high one. A line of n samples has (n + 1) / 2 low
///   and n / 2 high ones with FirstLow, n / 2 and (n + 1) / 2 with FirstHigh. Any length from 1.
/// - **Ends** are mirrored about the last sample. A line of one sample stays as it is with
///   FirstLow; with FirstHigh it is doubled (halved on the way back, rounding down).
/// - **5/3**: high[i] = x[i] - ((x[i-1] + x[i+1]) >> 1), low[i] = x[i] + ((high[i-1] + high[i+1] +
///   2) >> 2), neighbours by coordinate; the inner sums are exact, the outer ones wrap around. The
///   inverse gives back every input bit by bit; no coefficient has wrapped for input of 15 bits in
///   `16s`, 31 bits in `32s`.
/// - **9/7**: four lifting steps by -1.586134342059924, -0.052980118572961, 0.882911075530934,
///   0.443506852043971, then highs times 1.230174104914001 and lows divided by it: a constant stays
///   what it is in the lows, and an alternating line is doubled in the highs. `32f`: within 2^-20
///   of the largest input at every level. `16s`: every step rounded, weights times 2^14; input
///   -7000..7000, errors up to 3.5 forward and 4.2 inverse a line; beyond, every step saturates.
///   `32s`: weights times 2^28; input -2^27..2^27, errors up to 4.0 and 5.5; beyond, sums wrap
///   around. Integer results are the same bits at every processor level.
/// - Both directions: forward columns first, inverse rows first.
///
/// @param src,dst,low,high  first rows; operands must not overlap; `I`: read and written
/// @param srcStep,dstStep,lowStep,highStep  BYTES between row starts, at least one row of that
///                          operand
/// @param size              of the samples, in PIXELS, both > 0
/// @param phase             rkdWTFirstLow or rkdWTFirstHigh, else rkdStsBadArgErr
/// @return rkdStsNoErr; rkdStsNullPtrErr, rkdStsSizeErr, rkdStsStepErr, rkdStsBadArgErr with the
///         destination untouched
/// @see ITU-T T.800, annex F
#pragma once

#include "rkd/rkdbase.h"

#ifdef __cplusplus
extern "C" {
#endif

enum { rkdWTFirstLow = 0, rkdWTFirstHigh = 1 };

/// @name One direction, out of place
/// `Row`: every row by itself; low and high have size.height rows of as many samples as a line of
/// size.width has. `Col`: every column; they have rows of size.width samples, as many as a line of
/// size.height has. An operand without samples (lines of one) may not be null either.
/// @{
RKD_API RkdStatus rkdiWTFwdRow_B53_JPEG2K_16s_C1R(const int16_t* src, int srcStep, int16_t* low,
                                                  int lowStep, int16_t* high, int highStep,
                                                  RkdiSize size, int phase);
RKD_API RkdStatus rkdiWTInvRow_B53_JPEG2K_16s_C1R(const int16_t* low, int lowStep,
                                                  const int16_t* high, int highStep, int16_t* dst,
                                                  int dstStep, RkdiSize size, int phase);
RKD_API RkdStatus rkdiWTFwdCol_B53_JPEG2K_16s_C1R(const int16_t* src, int srcStep, int16_t* low,
                                                  int lowStep, int16_t* high, int highStep,
                                                  RkdiSize size, int phase);
RKD_API RkdStatus rkdiWTInvCol_B53_JPEG2K_16s_C1R(const int16_t* low, int lowStep,
                                                  const int16_t* high, int highStep, int16_t* dst,
                                                  int dstStep, RkdiSize size, int phase);
RKD_API RkdStatus rkdiWTFwdRow_B53_JPEG2K_32s_C1R(const int32_t* src, int srcStep, int32_t* low,
                                                  int lowStep, int32_t* high, int highStep,
                                                  RkdiSize size, int phase);
RKD_API RkdStatus rkdiWTInvRow_B53_JPEG2K_32s_C1R(const int32_t* low, int lowStep,
                                                  const int32_t* high, int highStep, int32_t* dst,
                                                  int dstStep, RkdiSize size, int phase);
RKD_API RkdStatus rkdiWTFwdCol_B53_JPEG2K_32s_C1R(const int32_t* src, int srcStep, int32_t* low,
                                                  int lowStep, int32_t* high, int highStep,
                                                  RkdiSize size, int phase);
RKD_API RkdStatus rkdiWTInvCol_B53_JPEG2K_32s_C1R(const int32_t* low, int lowStep,
                                                  const int32_t* high, int highStep, int32_t* dst,
                                                  int dstStep, RkdiSize size, int phase);
RKD_API RkdStatus rkdiWTFwdRow_D97_JPEG2K_32f_C1R(const float* src, int srcStep, float* low,
                                                  int lowStep, float* high, int highStep,
                                                  RkdiSize size, int phase);
RKD_API RkdStatus rkdiWTInvRow_D97_JPEG2K_32f_C1R(const float* low, int lowStep, const float* high,
                                                  int highStep, float* dst, int dstStep,
                                                  RkdiSize size, int phase);
RKD_API RkdStatus rkdiWTFwdCol_D97_JPEG2K_32f_C1R(const float* src, int srcStep, float* low,
                                                  int lowStep, float* high, int highStep,
                                                  RkdiSize size, int phase);
RKD_API RkdStatus rkdiWTInvCol_D97_JPEG2K_32f_C1R(const float* low, int lowStep, const float* high,
                                                  int highStep, float* dst, int dstStep,
                                                  RkdiSize size, int phase);
RKD_API RkdStatus rkdiWTFwdRow_D97_JPEG2K_16s_C1R(const int16_t* src, int srcStep, int16_t* low,
                                                  int lowStep, int16_t* high, int highStep,
                                                  RkdiSize size, int phase);
RKD_API RkdStatus rkdiWTInvRow_D97_JPEG2K_16s_C1R(const int16_t* low, int lowStep,
                                                  const int16_t* high, int highStep, int16_t* dst,
                                                  int dstStep, RkdiSize size, int phase);
RKD_API RkdStatus rkdiWTFwdRow_D97_JPEG2K_32s_C1R(const int32_t* src, int srcStep, int32_t* low,
                                                  int lowStep, int32_t* high, int highStep,
                                                  RkdiSize size, int phase);
RKD_API RkdStatus rkdiWTInvRow_D97_JPEG2K_32s_C1R(const int32_t* low, int lowStep,
                                                  const int32_t* high, int highStep, int32_t* dst,
                                                  int dstStep, RkdiSize size, int phase);
RKD_API RkdStatus rkdiWTFwdCol_D97_JPEG2K_16s_C1R(const int16_t* src, int srcStep, int16_t* low,
                                                  int lowStep, int16_t* high, int highStep,
                                                  RkdiSize size, int phase);
RKD_API RkdStatus rkdiWTInvCol_D97_JPEG2K_16s_C1R(const int16_t* low, int lowStep,
                                                  const int16_t* high, int highStep, int16_t* dst,
                                                  int dstStep, RkdiSize size, int phase);
RKD_API RkdStatus rkdiWTFwdCol_D97_JPEG2K_32s_C1R(const int32_t* src, int srcStep, int32_t* low,
                                                  int lowStep, int32_t* high, int highStep,
                                                  RkdiSize size, int phase);
RKD_API RkdStatus rkdiWTInvCol_D97_JPEG2K_32s_C1R(const int32_t* low, int lowStep,
                                                  const int32_t* high, int highStep, int32_t* dst,
                                                  int dstStep, RkdiSize size, int phase);
/// @}

/// @name Both directions
/// One level of a tile. The coefficients have the size of the samples: lows of both directions at
/// the top left, horizontal highs at the top right, vertical highs at the bottom left.
/// @param phaseX,phaseY  of rows and columns
/// @param buffer         work memory of the size that GetBufSize tells, at any address
/// @param type           rkd16s, rkd32s or rkd32f, else rkdStsBadArgErr
/// @param bytes          receives the size; a tile that would need 2^31 bytes: rkdStsSizeErr
/// @{
RKD_API RkdStatus rkdiWTGetBufSize_JPEG2K(RkdiSize size, RkdDataType type, int* bytes);
RKD_API RkdStatus rkdiWTFwd_B53_JPEG2K_16s_C1R(const int16_t* src, int srcStep, int16_t* dst,
                                               int dstStep, RkdiSize size, int phaseX, int phaseY,
                                               void* buffer);
RKD_API RkdStatus rkdiWTFwd_B53_JPEG2K_16s_C1IR(int16_t* srcDst, int srcDstStep, RkdiSize size,
                                                int phaseX, int phaseY, void* buffer);
RKD_API RkdStatus rkdiWTInv_B53_JPEG2K_16s_C1R(const int16_t* src, int srcStep, int16_t* dst,
                                               int dstStep, RkdiSize size, int phaseX, int phaseY,
                                               void* buffer);
RKD_API RkdStatus rkdiWTInv_B53_JPEG2K_16s_C1IR(int16_t* srcDst, int srcDstStep, RkdiSize size,
                                                int phaseX, int phaseY, void* buffer);
RKD_API RkdStatus rkdiWTFwd_B53_JPEG2K_32s_C1R(const int32_t* src, int srcStep, int32_t* dst,
                                               int dstStep, RkdiSize size, int phaseX, int phaseY,
                                               void* buffer);
RKD_API RkdStatus rkdiWTFwd_B53_JPEG2K_32s_C1IR(int32_t* srcDst, int srcDstStep, RkdiSize size,
                                                int phaseX, int phaseY, void* buffer);
RKD_API RkdStatus rkdiWTInv_B53_JPEG2K_32s_C1R(const int32_t* src, int srcStep, int32_t* dst,
                                               int dstStep, RkdiSize size, int phaseX, int phaseY,
                                               void* buffer);
RKD_API RkdStatus rkdiWTInv_B53_JPEG2K_32s_C1IR(int32_t* srcDst, int srcDstStep, RkdiSize size,
                                                int phaseX, int phaseY, void* buffer);
RKD_API RkdStatus rkdiWTFwd_D97_JPEG2K_16s_C1R(const int16_t* src, int srcStep, int16_t* dst,
                                               int dstStep, RkdiSize size, int phaseX, int phaseY,
                                               void* buffer);
RKD_API RkdStatus rkdiWTFwd_D97_JPEG2K_16s_C1IR(int16_t* srcDst, int srcDstStep, RkdiSize size,
                                                int phaseX, int phaseY, void* buffer);
RKD_API RkdStatus rkdiWTInv_D97_JPEG2K_16s_C1R(const int16_t* src, int srcStep, int16_t* dst,
                                               int dstStep, RkdiSize size, int phaseX, int phaseY,
                                               void* buffer);
RKD_API RkdStatus rkdiWTInv_D97_JPEG2K_16s_C1IR(int16_t* srcDst, int srcDstStep, RkdiSize size,
                                                int phaseX, int phaseY, void* buffer);
RKD_API RkdStatus rkdiWTFwd_D97_JPEG2K_32s_C1R(const int32_t* src, int srcStep, int32_t* dst,
                                               int dstStep, RkdiSize size, int phaseX, int phaseY,
                                               void* buffer);
RKD_API RkdStatus rkdiWTFwd_D97_JPEG2K_32s_C1IR(int32_t* srcDst, int srcDstStep, RkdiSize size,
                                                int phaseX, int phaseY, void* buffer);
RKD_API RkdStatus rkdiWTInv_D97_JPEG2K_32s_C1R(const int32_t* src, int srcStep, int32_t* dst,
                                               int dstStep, RkdiSize size, int phaseX, int phaseY,
                                               void* buffer);
RKD_API RkdStatus rkdiWTInv_D97_JPEG2K_32s_C1IR(int32_t* srcDst, int srcDstStep, RkdiSize size,
                                                int phaseX, int phaseY, void* buffer);
RKD_API RkdStatus rkdiWTFwd_D97_JPEG2K_32f_C1R(const float* src, int srcStep, float* dst,
                                               int dstStep, RkdiSize size, int phaseX, int phaseY,
                                               void* buffer);
RKD_API RkdStatus rkdiWTFwd_D97_JPEG2K_32f_C1IR(float* srcDst, int srcDstStep, RkdiSize size,
                                                int phaseX, int phaseY, void* buffer);
RKD_API RkdStatus rkdiWTInv_D97_JPEG2K_32f_C1R(const float* src, int srcStep, float* dst,
                                               int dstStep, RkdiSize size, int phaseX, int phaseY,
                                               void* buffer);
RKD_API RkdStatus rkdiWTInv_D97_JPEG2K_32f_C1IR(float* srcDst, int srcDstStep, RkdiSize size,
                                                int phaseX, int phaseY, void* buffer);
/// @}

/// @name Column lifting
/// One step of a transform of columns that goes down the rows; every call takes two rows of `width`
/// samples and gives two. Rows are counted by coordinate, even rows being low.
///
/// `B53` forward: from the rows 2n, 2n + 1, 2n + 2 and high row n - 1, high row n and low row n.
/// Inverse: from low row n, high rows n - 1 and n, and row 2n - 2, the rows 2n - 1 and 2n.
///
/// `D97` keeps four rows of state, read and updated. Forward: takes the rows 2n + 1 and 2n + 2,
/// gives low and high row n - 1. Inverse: takes low and high row n, gives the rows 2n - 3 and
/// 2n - 2. state[0] holds the even row of the call before (forward) or the high row (inverse); to
/// begin with, or to end, hand in mirrored rows: what the first two calls give is to be dropped.
///
/// Operands that are written must not overlap others.
/// @param width  samples of a row, > 0
/// @{
RKD_API RkdStatus rkdiWTFwdColLift_B53_JPEG2K_16s_C1(const int16_t* even0, const int16_t* odd,
                                                     const int16_t* even1, const int16_t* high0,
                                                     int16_t* low, int16_t* high, int width);
RKD_API RkdStatus rkdiWTFwdColLift_B53_JPEG2K_32s_C1(const int32_t* even0, const int32_t* odd,
                                                     const int32_t* even1, const int32_t* high0,
                                                     int32_t* low, int32_t* high, int width);
RKD_API RkdStatus rkdiWTFwdColLift_D97_JPEG2K_16s_C1(const int16_t* odd, const int16_t* even,
                                                     int16_t* const state[4], int16_t* low,
                                                     int16_t* high, int width);
RKD_API RkdStatus rkdiWTFwdColLift_D97_JPEG2K_32s_C1(const int32_t* odd, const int32_t* even,
                                                     int32_t* const state[4], int32_t* low,
                                                     int32_t* high, int width);
RKD_API RkdStatus rkdiWTFwdColLift_D97_JPEG2K_32f_C1(const float* odd, const float* even,
                                                     float* const state[4], float* low, float* high,
                                                     int width);
RKD_API RkdStatus rkdiWTInvColLift_B53_JPEG2K_16s_C1(const int16_t* low, const int16_t* high0,
                                                     const int16_t* high1, const int16_t* even0,
                                                     int16_t* odd, int16_t* even1, int width);
RKD_API RkdStatus rkdiWTInvColLift_B53_JPEG2K_32s_C1(const int32_t* low, const int32_t* high0,
                                                     const int32_t* high1, const int32_t* even0,
                                                     int32_t* odd, int32_t* even1, int width);
RKD_API RkdStatus rkdiWTInvColLift_D97_JPEG2K_16s_C1(const int16_t* low, const int16_t* high,
                                                     int16_t* const state[4], int16_t* odd,
                                                     int16_t* even, int width);
RKD_API RkdStatus rkdiWTInvColLift_D97_JPEG2K_32s_C1(const int32_t* low, const int32_t* high,
                                                     int32_t* const state[4], int32_t* odd,
                                                     int32_t* even, int width);
RKD_API RkdStatus rkdiWTInvColLift_D97_JPEG2K_32f_C1(const float* low, const float* high,
                                                     float* const state[4], float* odd, float* even,
                                                     int width);
/// @}

#ifdef __cplusplus
}
#endif
