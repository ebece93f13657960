// Plain Huffman coders: one bit at a time, by the procedures of ITU-T T.81.
//
// The same functions as in rkd/rkdjpeg_huffman.h, with the same meaning of every argument, on
// objects of their own. Arguments are trusted; data are not.
#pragma once

#include <cstdint>
#include <cstring>

#include "rkd/rkdbase.h"

namespace ref {

struct RkdiEncodeHuffmanSpec {
  uint32_t code[256];
  int length[256];  ///< 0: the symbol has no code
};

/// Codes of a length run from minCode to maxCode; maxCode is -1 where there are none.
struct RkdiDecodeHuffmanSpec {
  int minCode[17];
  int maxCode[17];
  int first[17];  ///< place of the first symbol of a length
  uint8_t symbol[256];
};

struct RkdiEncodeHuffmanState {
  uint8_t waiting[64];  ///< bits that wait
  int waitingCount;
  int endOfBand;  ///< blocks in the pending end-of-band run
  uint8_t correction[1000];
  int correctionCount;
};

struct RkdiDecodeHuffmanState {
  uint8_t ahead[64];  ///< bits read ahead
  int aheadCount;
  int endOfBand;  ///< blocks left in the end-of-band run
  int reached;    ///< how far the last call that failed came
};

inline RkdStatus rkdiDecodeHuffmanStateGetReached_JPEG_8u(int* reached,
                                                          const RkdiDecodeHuffmanState* state) {
  *reached = state->reached;
  return rkdStsNoErr;
}

RkdStatus rkdiEncodeHuffmanSpecInit_JPEG_8u(const uint8_t* bits, const uint8_t* values,
                                            RkdiEncodeHuffmanSpec* spec);
RkdStatus rkdiDecodeHuffmanSpecInit_JPEG_8u(const uint8_t* bits, const uint8_t* values,
                                            RkdiDecodeHuffmanSpec* spec);

/// The support functions that need no knowledge of what is inside.
#define REF_HUFFMAN_OBJECT(Object, Coder)                       \
  inline RkdStatus rkdi##Coder##GetBufSize_JPEG_8u(int* size) { \
    *size = int(sizeof(Object));                                \
    return rkdStsNoErr;                                         \
  }                                                             \
  inline RkdStatus rkdi##Coder##Free_JPEG_8u(Object* object) {  \
    delete object;                                              \
    return rkdStsNoErr;                                         \
  }
#define REF_HUFFMAN_SPEC(Object, Coder)                                                       \
  REF_HUFFMAN_OBJECT(Object, Coder)                                                           \
  inline RkdStatus rkdi##Coder##InitAlloc_JPEG_8u(const uint8_t* bits, const uint8_t* values, \
                                                  Object** spec) {                            \
    *spec = new Object;                                                                       \
    return rkdi##Coder##Init_JPEG_8u(bits, values, *spec);                                    \
  }
#define REF_HUFFMAN_STATE(Object, Coder)                            \
  REF_HUFFMAN_OBJECT(Object, Coder)                                 \
  inline RkdStatus rkdi##Coder##Init_JPEG_8u(Object* state) {       \
    const Object fresh{};                                           \
    std::memcpy(static_cast<void*>(state), &fresh, sizeof fresh);   \
    return rkdStsNoErr;                                             \
  }                                                                 \
  inline RkdStatus rkdi##Coder##InitAlloc_JPEG_8u(Object** state) { \
    *state = new Object{};                                          \
    return rkdStsNoErr;                                             \
  }
REF_HUFFMAN_SPEC(RkdiEncodeHuffmanSpec, EncodeHuffmanSpec)
REF_HUFFMAN_SPEC(RkdiDecodeHuffmanSpec, DecodeHuffmanSpec)
REF_HUFFMAN_STATE(RkdiEncodeHuffmanState, EncodeHuffmanState)
REF_HUFFMAN_STATE(RkdiDecodeHuffmanState, DecodeHuffmanState)
#undef REF_HUFFMAN_OBJECT
#undef REF_HUFFMAN_SPEC
#undef REF_HUFFMAN_STATE

RkdStatus rkdiEncodeHuffmanRawTableInit_JPEG_8u(const int* statistics, uint8_t* bits,
                                                uint8_t* values);

RkdStatus rkdiEncodeHuffman8x8_JPEG_16s1u_C1(const int16_t* src, uint8_t* stream, int length,
                                             int* position, int* previousDC,
                                             const RkdiEncodeHuffmanSpec* dcSpec,
                                             const RkdiEncodeHuffmanSpec* acSpec,
                                             RkdiEncodeHuffmanState* state, int flush);
RkdStatus rkdiDecodeHuffman8x8_JPEG_1u16s_C1(const uint8_t* stream, int length, int* position,
                                             int16_t* dst, int* previousDC, int* marker,
                                             const RkdiDecodeHuffmanSpec* dcSpec,
                                             const RkdiDecodeHuffmanSpec* acSpec,
                                             RkdiDecodeHuffmanState* state);

RkdStatus rkdiEncodeHuffman8x8_Direct_JPEG_16s1u_C1(const int16_t* src, uint8_t* stream, int length,
                                                    int* position, int* previousDC,
                                                    const RkdiEncodeHuffmanSpec* dcSpec,
                                                    const RkdiEncodeHuffmanSpec* acSpec);
RkdStatus rkdiDecodeHuffman8x8_Direct_JPEG_1u16s_C1(const uint8_t* stream, int length,
                                                    int* position, int16_t* dst, int* previousDC,
                                                    const RkdiDecodeHuffmanSpec* dcSpec,
                                                    const RkdiDecodeHuffmanSpec* acSpec);

RkdStatus rkdiEncodeHuffmanOne_JPEG_16s1u_C1(const int16_t* src, uint8_t* stream, int length,
                                             int* position, const RkdiEncodeHuffmanSpec* spec,
                                             RkdiEncodeHuffmanState* state, int flush);
RkdStatus rkdiDecodeHuffmanOne_JPEG_1u16s_C1(const uint8_t* stream, int length, int* position,
                                             int16_t* dst, int* marker,
                                             const RkdiDecodeHuffmanSpec* spec,
                                             RkdiDecodeHuffmanState* state);

RkdStatus rkdiEncodeHuffmanRow_JPEG_16s1u_P4C1(const int16_t* const src[4], uint8_t* stream,
                                               int length, int* position, int width,
                                               const RkdiEncodeHuffmanSpec* const spec[4],
                                               RkdiEncodeHuffmanState* state, int flush);
RkdStatus rkdiDecodeHuffmanRow_JPEG_1u16s_C1P4(const uint8_t* stream, int length, int* position,
                                               int16_t* const dst[4], int* marker, int width,
                                               const RkdiDecodeHuffmanSpec* const spec[4],
                                               RkdiDecodeHuffmanState* state);

RkdStatus rkdiGetHuffmanStatistics8x8_JPEG_16s_C1(const int16_t* src, int* dcStatistics,
                                                  int* acStatistics, int* previousDC);
RkdStatus rkdiGetHuffmanStatistics8x8_DCFirst_JPEG_16s_C1(const int16_t* src, int* statistics,
                                                          int* previousDC, int al);
RkdStatus rkdiGetHuffmanStatistics8x8_ACFirst_JPEG_16s_C1(const int16_t* src, int* statistics,
                                                          int ss, int se, int al,
                                                          RkdiEncodeHuffmanState* state, int flush);
RkdStatus rkdiGetHuffmanStatistics8x8_ACRefine_JPEG_16s_C1(const int16_t* src, int* statistics,
                                                           int ss, int se, int al,
                                                           RkdiEncodeHuffmanState* state,
                                                           int flush);
RkdStatus rkdiGetHuffmanStatisticsRow_JPEG_16s_P4(const int16_t* const src[4], int width,
                                                  int* const statistics[4]);

RkdStatus rkdiEncodeHuffman8x8_DCFirst_JPEG_16s1u_C1(const int16_t* src, uint8_t* stream,
                                                     int length, int* position, int* previousDC,
                                                     int al, const RkdiEncodeHuffmanSpec* dcSpec,
                                                     RkdiEncodeHuffmanState* state, int flush);
RkdStatus rkdiEncodeHuffman8x8_DCRefine_JPEG_16s1u_C1(const int16_t* src, uint8_t* stream,
                                                      int length, int* position, int al,
                                                      RkdiEncodeHuffmanState* state, int flush);
RkdStatus rkdiEncodeHuffman8x8_ACFirst_JPEG_16s1u_C1(const int16_t* src, uint8_t* stream,
                                                     int length, int* position, int ss, int se,
                                                     int al, const RkdiEncodeHuffmanSpec* acSpec,
                                                     RkdiEncodeHuffmanState* state, int flush);
RkdStatus rkdiEncodeHuffman8x8_ACRefine_JPEG_16s1u_C1(const int16_t* src, uint8_t* stream,
                                                      int length, int* position, int ss, int se,
                                                      int al, const RkdiEncodeHuffmanSpec* acSpec,
                                                      RkdiEncodeHuffmanState* state, int flush);
RkdStatus rkdiDecodeHuffman8x8_DCFirst_JPEG_1u16s_C1(const uint8_t* stream, int length,
                                                     int* position, int16_t* dst, int* previousDC,
                                                     int* marker, int al,
                                                     const RkdiDecodeHuffmanSpec* dcSpec,
                                                     RkdiDecodeHuffmanState* state);
RkdStatus rkdiDecodeHuffman8x8_DCRefine_JPEG_1u16s_C1(const uint8_t* stream, int length,
                                                      int* position, int16_t* dst, int* marker,
                                                      int al, RkdiDecodeHuffmanState* state);
RkdStatus rkdiDecodeHuffman8x8_ACFirst_JPEG_1u16s_C1(const uint8_t* stream, int length,
                                                     int* position, int16_t* dst, int* marker,
                                                     int ss, int se, int al,
                                                     const RkdiDecodeHuffmanSpec* acSpec,
                                                     RkdiDecodeHuffmanState* state);
RkdStatus rkdiDecodeHuffman8x8_ACRefine_JPEG_1u16s_C1(const uint8_t* stream, int length,
                                                      int* position, int16_t* dst, int* marker,
                                                      int ss, int se, int al,
                                                      const RkdiDecodeHuffmanSpec* acSpec,
                                                      RkdiDecodeHuffmanState* state);

// Lossless predictors.
RkdStatus rkdiPointTransformFwd_JPEG_8u16s_C1R(const uint8_t* src, int srcStep, int16_t* dst,
                                               int dstStep, RkdiSize size, int pointTransform);
RkdStatus rkdiPointTransformFwd_JPEG_16u16s_C1R(const uint16_t* src, int srcStep, int16_t* dst,
                                                int dstStep, RkdiSize size, int pointTransform);
RkdStatus rkdiPointTransformInv_JPEG_16s8u_C1R(const int16_t* src, int srcStep, uint8_t* dst,
                                               int dstStep, RkdiSize size, int pointTransform);
RkdStatus rkdiPointTransformInv_JPEG_16s16u_C1R(const int16_t* src, int srcStep, uint16_t* dst,
                                                int dstStep, RkdiSize size, int pointTransform);
RkdStatus rkdiDiffPredFirstRow_JPEG_16s_C1(const int16_t* src, int16_t* dst, int width,
                                           int precision, int pointTransform);
RkdStatus rkdiReconstructPredFirstRow_JPEG_16s_C1(const int16_t* src, int16_t* dst, int width,
                                                  int precision, int pointTransform);
RkdStatus rkdiDiffPredRow_JPEG_16s_C1(const int16_t* src, const int16_t* previousRow, int16_t* dst,
                                      int width, int predictor);
RkdStatus rkdiReconstructPredRow_JPEG_16s_C1(const int16_t* src, const int16_t* previousRow,
                                             int16_t* dst, int width, int predictor);

}  // namespace ref
