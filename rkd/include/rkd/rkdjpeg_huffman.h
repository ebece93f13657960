/// @file rkdjpeg_huffman.h
/// Huffman entropy coding of ITU-T T.81: sequential blocks, progressive scans, lossless rows, and
/// the objects they work with.
///
/// What holds for all functions here:
/// - **Blocks** are 64 coefficients in natural (row by row) order; zigzag stays inside.
/// - **Position.** With a state object, `*position` counts BYTES of the stream, stuffed bytes and
///   all. For an encoder it is the place of the next byte: bytes are sent in eights (and what is
///   stuffed into them), up to 64 bits wait in the state until a flush. For a decoder it is the
///   next byte to be taken: the state holds as many whole bytes as 63 bits allow, read ahead, never
///   past a marker. Only the direct coders, which have no state, count BITS.
/// - **Flush.** An encoder called with `flush != 0` codes nothing: it sends a pending end-of-band
///   run, fills the last byte with 1 bits and leaves the state as after Init, ready for a marker
///   and the next interval. Source, previous DC and specifications are not looked at and may be
///   null, but for the specification that a progressive AC scan needs for its run.
/// - **Previous DC.** The DC prediction of the component, 0 at the start of a scan and after every
///   restart marker, belongs to the caller and is updated by every call.
/// - **Marker.** A decoder sets `*marker` on every successful call: 0, or the code (0xD0 for RST0)
///   of the marker that its read-ahead has met; `*position` then is the place of that marker's
///   0xFF and does not move any more. After the last block of an interval the marker behind it has
///   been met. To go on behind a restart marker, move the position past it (2 bytes) and Init the
///   state. `marker` may be null.
/// - **Room.** Encoders leave the bytes behind the position and decoders everything but their
///   destination as they are.
/// - **Errors.** A call that fails leaves position, previous DC, marker and what the state goes on
///   from as they were: an encoder whose stream is full can be repeated with a larger one, a
///   decoder that ran out of data with more data and the same block. What a failed encoder wrote
///   behind its position is undefined. A failed decoder leaves what it has decoded whole in front
///   of the fault, and zeros in the rest of the block, band or row:
///   rkdiDecodeHuffmanStateGetReached tells where they begin. A single value becomes 0; progressive
///   DC scans and refinements leave the block as it was. Whatever the data, a decoder touches
///   nothing outside the stream's length and the block.
/// - **Objects** may lie at any address, own no memory and hold no pointers: a state is saved and
///   restored by copying its bytes. Specifications are read-only while coding and can be shared.
///
/// Statuses beside rkdStsNoErr: rkdStsNullPtrErr; rkdStsSizeErr (a length or width that is not
/// positive, a position outside the stream); rkdStsBadArgErr (scan parameters); rkdStsContextErr
/// (an object that Init has not made, or one of another kind). Encoders: rkdStsDstFullErr;
/// rkdStsCoefRangeErr (the table has no code for what was met). Decoders: rkdStsHuffCodeErr (bits
/// that are no code of the table); rkdStsDataErr (a symbol that cannot stand there, a run out of
/// the band); rkdStsSrcEndErr (a marker or the end of the stream inside a block).
#pragma once

#include "rkd/rkdbase.h"

#ifdef __cplusplus
extern "C" {
#endif

/// Codes and their values as the encoder wants them.
typedef struct RkdiEncodeHuffmanSpec RkdiEncodeHuffmanSpec;
/// Look-up tables from stream bits to run, length and value.
typedef struct RkdiDecodeHuffmanSpec RkdiDecodeHuffmanSpec;
/// Waiting bits, end-of-band run and correction bits of one scan being encoded.
typedef struct RkdiEncodeHuffmanState RkdiEncodeHuffmanState;
/// Bits read ahead and end-of-band run of one scan being decoded.
typedef struct RkdiDecodeHuffmanState RkdiDecodeHuffmanState;

/// @name Specifications
/// Built from the two lists of a DHT segment. One specification serves any process.
/// @param bits    16 counts: bits[i] codes have i + 1 bits
/// @param values  the symbols in order of their codes, as many as the counts add up to (1..256)
/// @param size    receives the size of the object in BYTES
/// @param spec    Init: memory of that size; InitAlloc: receives an object for Free; Free: may be
///                null
/// @return rkdStsNoErr; rkdStsNullPtrErr; rkdStsHuffTableErr (counts that no prefix code has,
///         no or more than 256 values, a value that occurs twice) with *spec untouched;
///         rkdStsNoMemErr
/// @see ITU-T T.81, annex C
/// @{
RKD_API RkdStatus rkdiEncodeHuffmanSpecGetBufSize_JPEG_8u(int* size);
RKD_API RkdStatus rkdiEncodeHuffmanSpecInit_JPEG_8u(const uint8_t* bits, const uint8_t* values,
                                                    RkdiEncodeHuffmanSpec* spec);
RKD_API RkdStatus rkdiEncodeHuffmanSpecInitAlloc_JPEG_8u(const uint8_t* bits, const uint8_t* values,
                                                         RkdiEncodeHuffmanSpec** spec);
RKD_API RkdStatus rkdiEncodeHuffmanSpecFree_JPEG_8u(RkdiEncodeHuffmanSpec* spec);

RKD_API RkdStatus rkdiDecodeHuffmanSpecGetBufSize_JPEG_8u(int* size);
RKD_API RkdStatus rkdiDecodeHuffmanSpecInit_JPEG_8u(const uint8_t* bits, const uint8_t* values,
                                                    RkdiDecodeHuffmanSpec* spec);
RKD_API RkdStatus rkdiDecodeHuffmanSpecInitAlloc_JPEG_8u(const uint8_t* bits, const uint8_t* values,
                                                         RkdiDecodeHuffmanSpec** spec);
RKD_API RkdStatus rkdiDecodeHuffmanSpecFree_JPEG_8u(RkdiDecodeHuffmanSpec* spec);
/// @}

/// @name States
/// One state serves one scan at a time; Init makes it ready for the start of a scan or of a restart
/// interval. Statistics functions use an encoder state as the coders do.
/// @param size   receives the size of the object in BYTES
/// @param state  Init: memory of that size; InitAlloc: receives an object for Free; Free: may be
///               null
/// @return rkdStsNoErr; rkdStsNullPtrErr; rkdStsNoMemErr
/// @{
RKD_API RkdStatus rkdiEncodeHuffmanStateGetBufSize_JPEG_8u(int* size);
RKD_API RkdStatus rkdiEncodeHuffmanStateInit_JPEG_8u(RkdiEncodeHuffmanState* state);
RKD_API RkdStatus rkdiEncodeHuffmanStateInitAlloc_JPEG_8u(RkdiEncodeHuffmanState** state);
RKD_API RkdStatus rkdiEncodeHuffmanStateFree_JPEG_8u(RkdiEncodeHuffmanState* state);

RKD_API RkdStatus rkdiDecodeHuffmanStateGetBufSize_JPEG_8u(int* size);
RKD_API RkdStatus rkdiDecodeHuffmanStateInit_JPEG_8u(RkdiDecodeHuffmanState* state);
RKD_API RkdStatus rkdiDecodeHuffmanStateInitAlloc_JPEG_8u(RkdiDecodeHuffmanState** state);
RKD_API RkdStatus rkdiDecodeHuffmanStateFree_JPEG_8u(RkdiDecodeHuffmanState* state);
/// @}

/// @name How far a decoder came
/// To be asked behind a call that failed.
/// @param reached  receives, of a block, the zigzag index of the first coefficient
///                 that is not known:
///                 0 when the DC is not, never less than `ss` in AC scans; of a row, how many
///                 differences are known, in the order of the stream; 0 for a single value
/// @return rkdStsNoErr; rkdStsNullPtrErr; rkdStsContextErr
/// @{
RKD_API RkdStatus rkdiDecodeHuffmanStateGetReached_JPEG_8u(int* reached,
                                                           const RkdiDecodeHuffmanState* state);
/// @}

/// @name Optimal tables
/// The lists of the shortest table without an all-ones code for symbols that occurred as often as
/// the statistics say; codes longer than 16 bits are shortened as the standard proposes.
/// @param statistics  256 counts, one a symbol; counts below zero are taken as zero, and if none is
///                    above zero, symbol 0 gets a code
/// @param bits        receives 16 counts
/// @param values      receives up to 256 symbols in order of their codes; the rest is set to 0
/// @return rkdStsNoErr; rkdStsNullPtrErr
/// @see ITU-T T.81, K.2
/// @{
RKD_API RkdStatus rkdiEncodeHuffmanRawTableInit_JPEG_8u(const int* statistics, uint8_t* bits,
                                                        uint8_t* values);
/// @}

/// @name Sequential blocks
/// One block of a baseline or extended sequential scan: DC difference, then AC runs and values.
/// Coefficients: AC -32767..32767, DC differences -32767..32767; a table made for 8-bit samples
/// holds smaller ones, and what it does not hold is refused.
/// @param src,dst       the block; the decoder sets all 64 coefficients
/// @param stream        entropy-coded bytes with 0x00 stuffed after every 0xFF
/// @param length        BYTES of the stream that may be read or written
/// @param position      see above, 0..length
/// @param previousDC    DC of the component's previous block
/// @param marker        see above
/// @param dcSpec,acSpec the component's tables
/// @param flush         0 codes the block, anything else ends the interval
/// @see ITU-T T.81, F.1.2, F.2.2
/// @{
RKD_API RkdStatus rkdiEncodeHuffman8x8_JPEG_16s1u_C1(const int16_t* src, uint8_t* stream,
                                                     int length, int* position, int* previousDC,
                                                     const RkdiEncodeHuffmanSpec* dcSpec,
                                                     const RkdiEncodeHuffmanSpec* acSpec,
                                                     RkdiEncodeHuffmanState* state, int flush);
RKD_API RkdStatus rkdiDecodeHuffman8x8_JPEG_1u16s_C1(const uint8_t* stream, int length,
                                                     int* position, int16_t* dst, int* previousDC,
                                                     int* marker,
                                                     const RkdiDecodeHuffmanSpec* dcSpec,
                                                     const RkdiDecodeHuffmanSpec* acSpec,
                                                     RkdiDecodeHuffmanState* state);
/// @}

/// Blocks of a unit at most.
#define RKD_HUFFMAN_UNIT_BLOCKS 10

/// @name Units of sequential blocks
/// The blocks of several units (MCUs) in one call: of each unit `blocksInUnit`, in the order of the
/// stream, as rkdiDecodeHuffman8x8 would read them one after the other. Where a block ends is not
/// waited for, so this takes about half of the time.
/// @param dst            units * blocksInUnit blocks
/// @param last           receives for each block the zigzag index of the last coefficient that the
///                       stream told: all behind it are zero
/// @param units          > 0; a call does not reach beyond a restart interval
/// @param component      of each block of a unit, 0..3: whose tables and prediction it takes
/// @param blocksInUnit   1..RKD_HUFFMAN_UNIT_BLOCKS
/// @param previousDC     of four components
/// @param dcSpec,acSpec  tables of four components; those that no block has may be null
/// @param decoded        receives how many blocks were decoded whole; when not all
///                       of them, position,
///                       previous DCs, marker and state are as behind the last of them, the block
///                       behind it is as rkdiDecodeHuffman8x8 leaves it, and the rest is undefined
/// @param stream, length, position, marker, state  see sequential blocks
/// @return as rkdiDecodeHuffman8x8 for the block that could not be decoded; rkdStsBadArgErr (a
///         component above 3)
/// @{
RKD_API RkdStatus rkdiDecodeHuffmanUnits8x8_JPEG_1u16s_C1(
    const uint8_t* stream, int length, int* position, int16_t* dst, uint8_t* last, int units,
    const uint8_t* component, int blocksInUnit, int* previousDC, int* marker,
    const RkdiDecodeHuffmanSpec* const dcSpec[4], const RkdiDecodeHuffmanSpec* const acSpec[4],
    RkdiDecodeHuffmanState* state, int* decoded);
/// @}

/// @name Direct blocks
/// The same codes as a raw bit stream: nothing is stuffed, there are no markers, and no state is
/// kept. `*position` counts BITS, 0..8 * length, from the high bit of the first byte, and may be
/// put on the start of any block whose previous DC is known. The encoder leaves earlier bits alone
/// and fills the rest of its last byte with 1 bits, so that the stream is complete after every
/// call. Streams longer than 2^28 - 1 bytes are refused: their bits have no int.
/// @{
RKD_API RkdStatus rkdiEncodeHuffman8x8_Direct_JPEG_16s1u_C1(const int16_t* src, uint8_t* stream,
                                                            int length, int* position,
                                                            int* previousDC,
                                                            const RkdiEncodeHuffmanSpec* dcSpec,
                                                            const RkdiEncodeHuffmanSpec* acSpec);
RKD_API RkdStatus rkdiDecodeHuffman8x8_Direct_JPEG_1u16s_C1(const uint8_t* stream, int length,
                                                            int* position, int16_t* dst,
                                                            int* previousDC,
                                                            const RkdiDecodeHuffmanSpec* dcSpec,
                                                            const RkdiDecodeHuffmanSpec* acSpec);
/// @}

/// @name Single values
/// One difference of the lossless process: a category 0..16, then the value's low bits; category 16
/// stands for -32768 (32768 modulo 2^16) and has none. The table is used as a DC table is.
/// @param src,dst  the difference
/// @see ITU-T T.81, H.1.2.2
/// @{
RKD_API RkdStatus rkdiEncodeHuffmanOne_JPEG_16s1u_C1(const int16_t* src, uint8_t* stream,
                                                     int length, int* position,
                                                     const RkdiEncodeHuffmanSpec* spec,
                                                     RkdiEncodeHuffmanState* state, int flush);
RKD_API RkdStatus rkdiDecodeHuffmanOne_JPEG_1u16s_C1(const uint8_t* stream, int length,
                                                     int* position, int16_t* dst, int* marker,
                                                     const RkdiDecodeHuffmanSpec* spec,
                                                     RkdiDecodeHuffmanState* state);
/// @}

/// @name Rows
/// Rows of lossless differences of one to four components, coded as single values are. `src` and
/// `dst` are arrays of four plane pointers, each to `width` contiguous differences; the planes end
/// at the first null pointer (the first must not be null), and the stream takes one difference of
/// each plane in turn, from left to right (components of equal sampling). `spec` holds one table
/// for each plane.
/// @param width  differences in a row, > 0
/// @{
RKD_API RkdStatus rkdiEncodeHuffmanRow_JPEG_16s1u_P4C1(const int16_t* const src[4], uint8_t* stream,
                                                       int length, int* position, int width,
                                                       const RkdiEncodeHuffmanSpec* const spec[4],
                                                       RkdiEncodeHuffmanState* state, int flush);
RKD_API RkdStatus rkdiDecodeHuffmanRow_JPEG_1u16s_C1P4(const uint8_t* stream, int length,
                                                       int* position, int16_t* const dst[4],
                                                       int* marker, int width,
                                                       const RkdiDecodeHuffmanSpec* const spec[4],
                                                       RkdiDecodeHuffmanState* state);
/// @}

/// @name Statistics
/// Add to `statistics` (256 counts, one a symbol, never cleared here) how often the encoder of the
/// same arguments sends each symbol; bits that follow a symbol and raw bits do not count. Scans
/// with end-of-band runs need a state of their own, as their encoders do, and a last call with
/// `flush != 0` for the run that is still pending.
/// @param statistics      counts of the scan's only table
/// @param dcStatistics,acStatistics  counts of the component's two tables
/// @param src             the block; Row: planes as above
/// @return rkdStsNoErr; rkdStsNullPtrErr; rkdStsSizeErr; rkdStsBadArgErr;
///         rkdStsCoefRangeErr (a value that no table can hold), after which the counts mean
///         nothing
/// @{
RKD_API RkdStatus rkdiGetHuffmanStatistics8x8_JPEG_16s_C1(const int16_t* src, int* dcStatistics,
                                                          int* acStatistics, int* previousDC);
RKD_API RkdStatus rkdiGetHuffmanStatistics8x8_DCFirst_JPEG_16s_C1(const int16_t* src,
                                                                  int* statistics, int* previousDC,
                                                                  int al);
RKD_API RkdStatus rkdiGetHuffmanStatistics8x8_ACFirst_JPEG_16s_C1(const int16_t* src,
                                                                  int* statistics, int ss, int se,
                                                                  int al,
                                                                  RkdiEncodeHuffmanState* state,
                                                                  int flush);
RKD_API RkdStatus rkdiGetHuffmanStatistics8x8_ACRefine_JPEG_16s_C1(const int16_t* src,
                                                                   int* statistics, int ss, int se,
                                                                   int al,
                                                                   RkdiEncodeHuffmanState* state,
                                                                   int flush);
RKD_API RkdStatus rkdiGetHuffmanStatisticsRow_JPEG_16s_P4(const int16_t* const src[4], int width,
                                                          int* const statistics[4]);
/// @}

/// Values of a record at most.
#define RKD_HUFFMAN_RECORD_LENGTH 72

/// @name Records of sequential blocks
/// For tables that are made from the picture itself: Record counts the symbols of a block as
/// rkdiGetHuffmanStatistics8x8 does and appends a record of what the block sends; Encode sends a
/// record as rkdiEncodeHuffman8x8 would send the block. Records of photographs take a fifth to a
/// third of their blocks. What they hold is the library's own, the same at every level, but for the
/// first value, the DC difference as a signed number: who learns a block's prediction later may
/// change it, and the statistics with it.
/// @param src              the block
/// @param records          Encode takes nothing but what Record made
/// @param recordsLength    values that may be written or read
/// @param recordsPosition  index of the next record, 0..recordsLength; moves past it. Record needs
///                         RKD_HUFFMAN_RECORD_LENGTH values there, whose rest it may change
/// @param previousDC, dcStatistics, acStatistics  see statistics
/// @param stream, length, position, dcSpec, acSpec  see sequential blocks
/// @return rkdStsNoErr; rkdStsNullPtrErr; rkdStsSizeErr; rkdStsContextErr; rkdStsDstFullErr (the
///         records' room or the stream's); rkdStsCoefRangeErr
/// @{
RKD_API RkdStatus rkdiRecordHuffman8x8_JPEG_16s16u_C1(const int16_t* src, uint16_t* records,
                                                      int recordsLength, int* recordsPosition,
                                                      int* previousDC, int* dcStatistics,
                                                      int* acStatistics);
RKD_API RkdStatus rkdiEncodeHuffmanRecord_JPEG_16u1u_C1(const uint16_t* records, int recordsLength,
                                                        int* recordsPosition, uint8_t* stream,
                                                        int length, int* position,
                                                        const RkdiEncodeHuffmanSpec* dcSpec,
                                                        const RkdiEncodeHuffmanSpec* acSpec,
                                                        RkdiEncodeHuffmanState* state);
/// @}

/// @name Progressive blocks
/// One block of a progressive scan. DC scans code the bits of the DC from `al` upwards (First, with
/// a floor) or bit `al` alone (Refine, raw); AC scans the magnitudes >> al of coefficients ss..se
/// in zigzag order, First what is not zero there, Refine one more bit of what earlier scans sent
/// plus the coefficients that this bit makes non-zero. AC scans carry one component.
///
/// Encoders end an end-of-band run at 32767 blocks, before the next coded coefficient, at a flush,
/// and when more than 937 correction bits wait.
///
/// Decoders build the block up over the scans: it has to be zero before the first one, and each
/// sets only what its scan codes.
/// @param src,dst  the block at full precision; of DC scans, its DC alone
/// Previous DCs are those of the scan: after the shift by `al`.
/// @param ss,se    first and last index of the band in zigzag order, 1 <= ss <= se <= 63
/// @param al       lowest bit coded, 0..13; Refine's scan before had al + 1
/// @see ITU-T T.81, annex G
/// @{
RKD_API RkdStatus rkdiEncodeHuffman8x8_DCFirst_JPEG_16s1u_C1(
    const int16_t* src, uint8_t* stream, int length, int* position, int* previousDC, int al,
    const RkdiEncodeHuffmanSpec* dcSpec, RkdiEncodeHuffmanState* state, int flush);
RKD_API RkdStatus rkdiEncodeHuffman8x8_DCRefine_JPEG_16s1u_C1(const int16_t* src, uint8_t* stream,
                                                              int length, int* position, int al,
                                                              RkdiEncodeHuffmanState* state,
                                                              int flush);
RKD_API RkdStatus rkdiEncodeHuffman8x8_ACFirst_JPEG_16s1u_C1(
    const int16_t* src, uint8_t* stream, int length, int* position, int ss, int se, int al,
    const RkdiEncodeHuffmanSpec* acSpec, RkdiEncodeHuffmanState* state, int flush);
RKD_API RkdStatus rkdiEncodeHuffman8x8_ACRefine_JPEG_16s1u_C1(
    const int16_t* src, uint8_t* stream, int length, int* position, int ss, int se, int al,
    const RkdiEncodeHuffmanSpec* acSpec, RkdiEncodeHuffmanState* state, int flush);

RKD_API RkdStatus rkdiDecodeHuffman8x8_DCFirst_JPEG_1u16s_C1(const uint8_t* stream, int length,
                                                             int* position, int16_t* dst,
                                                             int* previousDC, int* marker, int al,
                                                             const RkdiDecodeHuffmanSpec* dcSpec,
                                                             RkdiDecodeHuffmanState* state);
RKD_API RkdStatus rkdiDecodeHuffman8x8_DCRefine_JPEG_1u16s_C1(const uint8_t* stream, int length,
                                                              int* position, int16_t* dst,
                                                              int* marker, int al,
                                                              RkdiDecodeHuffmanState* state);
RKD_API RkdStatus rkdiDecodeHuffman8x8_ACFirst_JPEG_1u16s_C1(const uint8_t* stream, int length,
                                                             int* position, int16_t* dst,
                                                             int* marker, int ss, int se, int al,
                                                             const RkdiDecodeHuffmanSpec* acSpec,
                                                             RkdiDecodeHuffmanState* state);
RKD_API RkdStatus rkdiDecodeHuffman8x8_ACRefine_JPEG_1u16s_C1(const uint8_t* stream, int length,
                                                              int* position, int16_t* dst,
                                                              int* marker, int ss, int se, int al,
                                                              const RkdiDecodeHuffmanSpec* acSpec,
                                                              RkdiDecodeHuffmanState* state);
/// @}

#ifdef __cplusplus
}
#endif
