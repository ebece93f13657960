// Plain code-block coder of ITU-T T.800, annexes C and D: one decision at a time, by the flow
// charts.
//
// The same functions as in rkd/rkdjpeg_codeblock.h, with the same meaning of every argument, on
// objects of their own. Arguments are trusted; data are not.
#pragma once

#include <array>
#include <cstdint>
#include <vector>

#include "rkd/rkdbase.h"
#include "rkd/rkdjpeg_codeblock.h"

namespace ref {

/// Coefficients and what is known of them, with the rules of contexts and of the order of visits.
struct CodeBlockModel {
  int width = 0, height = 0, band = 0, style = 0;
  std::vector<uint32_t> magnitude;
  std::vector<bool> negative, significant, visited, refined;
  std::vector<uint8_t> plane;  ///< lowest one that was decoded

  void clear(RkdiSize size, int blockBand, int blockStyle);
};

/// Index of a state in the standard's table, and the more probable symbol.
struct MqContext {
  int index, mps;
};
using MqContextSet = std::array<MqContext, 19>;

struct RkdiEncodeCodeBlockState {
  CodeBlockModel model;
  int bitPlanes = 0;
  double leastGain = 0;
  int fewestPasses = 0;
  std::vector<RkdiCodeBlockPass> passes;
  int decisions = 0;  ///< coded in all passes: what the work is
  std::vector<uint8_t> bytes;
};

struct RkdiDecodeCodeBlockState {
  CodeBlockModel model;
  int bitPlanes = 0, passes = 0, done = 0;
  bool halves = false;
  RkdStatus damage = rkdStsNoErr;
  std::vector<int> begin, end;  ///< of the segment of each pass
  MqContextSet contexts{};
  uint32_t code = 0, interval = 0;  ///< arithmetic decoder
  int count = 0, position = 0, limit = 0;
  unsigned rawByte = 0;
  int rawLeft = 0;
  int shifted = 0;  ///< bits that the segment's decisions have used up
};

/// The support functions that need no knowledge of what is inside.
#define REF_CODE_BLOCK_STATE(Object, Name)                                      \
  inline RkdStatus rkdi##Name##CodeBlockStateInitAlloc_JPEG2K(Object** state) { \
    *state = new Object;                                                        \
    return rkdStsNoErr;                                                         \
  }                                                                             \
  inline RkdStatus rkdi##Name##CodeBlockStateFree_JPEG2K(Object* state) {       \
    delete state;                                                               \
    return rkdStsNoErr;                                                         \
  }
REF_CODE_BLOCK_STATE(RkdiEncodeCodeBlockState, Encode)
REF_CODE_BLOCK_STATE(RkdiDecodeCodeBlockState, Decode)
#undef REF_CODE_BLOCK_STATE

RkdStatus rkdiGetCodeBlockSegment_JPEG2K(int pass, int style, int* passes);

RkdStatus rkdiEncodeSetLeastGain_JPEG2K(double gain, int fewest, RkdiEncodeCodeBlockState* state);
RkdStatus rkdiEncodeLoadCodeBlock_JPEG2K_32s_C1R(const int32_t* src, int srcStep, RkdiSize size,
                                                 int band, int style, int maxPasses,
                                                 RkdiEncodeCodeBlockState* state);
RkdStatus rkdiEncodeGetCodeBlockInfo_JPEG2K(int* bitPlanes, int* passes,
                                            const RkdiEncodeCodeBlockState* state);
RkdStatus rkdiEncodeGetPassInfo_JPEG2K(int pass, RkdiCodeBlockPass* info,
                                       const RkdiEncodeCodeBlockState* state);
RkdStatus rkdiEncodeStoreBits_JPEG2K_1u(uint8_t* stream, int length, int* position, int passes,
                                        const RkdiEncodeCodeBlockState* state);

RkdStatus rkdiDecodeCBProgrStart_JPEG2K(int length, const int* lengths, int segments, RkdiSize size,
                                        int band, int style, int bitPlanes, int passes,
                                        RkdiDecodeCodeBlockState* state);
RkdStatus rkdiDecodeCBProgrStep_JPEG2K(const uint8_t* src, int length, int passes,
                                       RkdiDecodeCodeBlockState* state);
RkdStatus rkdiDecodeCBProgrGet_JPEG2K_32s_C1R(int32_t* dst, int dstStep,
                                              const RkdiDecodeCodeBlockState* state);
RkdStatus rkdiDecodeCBProgrGet_JPEG2K_32f_C1R(float* dst, int dstStep, float scale,
                                              const RkdiDecodeCodeBlockState* state);
RkdStatus rkdiDecodeCBProgrGetPlanes_JPEG2K_8u_C1R(uint8_t* dst, int dstStep,
                                                   const RkdiDecodeCodeBlockState* state);
RkdStatus rkdiDecodeCodeBlock_JPEG2K_1u32s_C1R(const uint8_t* src, int length, const int* lengths,
                                               int segments, int32_t* dst, int dstStep,
                                               RkdiSize size, int band, int style, int bitPlanes,
                                               int passes, RkdiDecodeCodeBlockState* state);

}  // namespace ref
