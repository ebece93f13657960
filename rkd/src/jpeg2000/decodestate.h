// What a decoder of code blocks keeps between passes.
#pragma once

#include <cstdint>

#include "jpeg2000/mq.h"
#include "jpeg2000/passes.h"
#include "jpeg2000/state.h"

namespace rkd::j2k {

/// Four rows of a column, a stripe's share of it: who is significant, and negative, in six rows of
/// three columns, row by row. The four own coefficients are bits 4, 7, 10 and 13, and shifted right
/// by 3 * r a word begins with the neighbourhood of coefficient r. Two words, because zero coding
/// need not wait for signs.
struct Column {
  uint32_t significant, negative;
};

/// Everything but the bytes that decoding goes on from.
struct DecodeState {
  static constexpr uint32_t mark = 0x4A324B44;
  uint32_t kind;
  bool loaded;
  RkdStatus damage;  ///< what a pass met that no encoder sends
  Block block;
  int style, bitPlanes, passes, done;
  bool halves;                            ///< the unit of integers
  int length;                             ///< bytes of all segments
  int segmentEnd[rkdCodeBlockMaxPasses];  ///< of the segment that each pass lies in
  MqDecoder mq;
  RawReader rawReader;
  int position, begin;  ///< end and start of the segment being read
  MqDecoderContexts contexts;
  Map significant[maxMapWords];
  Map visited[maxMapWords];  ///< in this plane's significance pass
  Map refined[maxMapWords];  ///< in a plane before
  alignas(lineSize) Column column[maxMarginColumns];
  uint32_t sample[maxSamples];  ///< magnitude, with the sign in the high bit, four to a column
};

/// Decodes so many passes more, or all that are left; `src` holds all segments and may be null when
/// they are empty.
RkdStatus decodePasses(DecodeState* state, const uint8_t* src, int passes);

}  // namespace rkd::j2k
