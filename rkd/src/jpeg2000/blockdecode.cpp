// Decoding of code blocks, whole or pass by pass: the same passes one after the other.
#include <algorithm>
#include <cstring>

#include "common/args.h"
#include "jpeg2000/passes.h"
#include "jpeg2000/state.h"

namespace rkd::j2k {
namespace {

/// Everything but the bytes that decoding goes on from.
struct DecodeState {
  static constexpr uint32_t mark = 0x4A324B44;
  uint32_t kind;
  bool loaded;
  RkdStatus damage;  ///< what a pass met that no encoder sends
  Block block;       ///< without flags, whose place the state's address tells
  int style, bitPlanes, passes, done;
  int length;                             ///< bytes of all segments
  int segmentEnd[rkdCodeBlockMaxPasses];  ///< of the segment that each pass lies in
  MqDecoder mq;
  RawReader raw;
  int position;  ///< of the segment being read
  MqContexts contexts;
  alignas(lineSize) Flags flags[maxFlags];
  uint32_t sample[maxSamples];  ///< magnitude, with the sign in the high bit, four to a column
};

/// What both kinds of coder do with a decision. Samples hold the middle of what is still possible.
class Samples {
 public:
  Samples(uint32_t* samples, int plane) : samples_(samples), plane_(plane) {}
  void becomes(int sample, uint32_t negative) {
    samples_[sample] = (uint32_t{3} << plane_ >> 1) | negative << 31;
  }
  void refine(int sample, uint32_t bit) {
    const uint32_t step = uint32_t{1} << plane_;  // set so far: it was the middle
    samples_[sample] = (samples_[sample] ^ (bit ^ 1) << plane_) | step >> 1;
  }

 private:
  uint32_t* samples_;
  int plane_;
};

class MqCoder {
 public:
  MqCoder(const DecodeState& state, uint32_t* samples, int plane)
      : mq_(state.mq), contexts_(state.contexts), samples_(samples, plane) {}

  [[gnu::always_inline]] bool significant(unsigned context, int) { return decode(context) != 0; }
  [[gnu::always_inline]] Flags sign(unsigned context, int sample) {
    const unsigned negative = decode(context) ^ (context & 1);
    samples_.becomes(sample, negative);
    return negative;
  }
  [[gnu::always_inline]] void refine(unsigned context, int sample) {
    samples_.refine(sample, decode(context));
  }
  [[gnu::always_inline]] int run(int) {
    if (decode(2 * contextRun) == 0) return 4;
    const unsigned high = decode(2 * contextUniform);
    return int(2 * high + decode(2 * contextUniform));
  }
  bool segmentationSymbol() {
    unsigned symbol = 0;
    for (int i = 0; i < 4; ++i) symbol = 2 * symbol + decode(2 * contextUniform);
    return symbol == 10;
  }

  void keep(DecodeState* state) const {
    state->mq = mq_;
    state->contexts = contexts_;
  }

 private:
  [[gnu::always_inline]] unsigned decode(unsigned context) {
    return mq_.decode(&contexts_.entry[context >> 1]);
  }

  MqDecoder mq_;
  MqContexts contexts_;
  Samples samples_;
};

class RawCoder {
 public:
  RawCoder(const DecodeState& state, uint32_t* samples, int plane)
      : raw_(state.raw), samples_(samples, plane) {}

  bool significant(unsigned, int) { return raw_.take() != 0; }
  Flags sign(unsigned, int sample) {
    const unsigned negative = raw_.take();
    samples_.becomes(sample, negative);
    return negative;
  }
  void refine(unsigned, int sample) { samples_.refine(sample, raw_.take()); }

  void keep(DecodeState* state) const { state->raw = raw_; }

 private:
  RawReader raw_;
  Samples samples_;
};

template <class Coder>
void codeBits(DecodeState* state, const Block& block, PassKind kind, int plane) {
  Coder coder(*state, state->sample, plane);
  if (kind == PassKind::significance) {
    significancePass(block, coder);
  } else {
    refinementPass(block, coder);
  }
  coder.keep(state);
}

RkdStatus cleanUp(DecodeState* state, const Block& block, int plane) {
  MqCoder coder(*state, state->sample, plane);
  cleanupPass(block, coder);
  const bool marked = (state->style & rkdCodeBlockSegSym) == 0 || coder.segmentationSymbol();
  coder.keep(state);
  return marked ? rkdStsNoErr : rkdStsDataErr;
}

RkdStatus decodePass(DecodeState* state, const Block& block, const uint8_t* src) {
  const int k = state->done;
  const bool raw = isRaw(k, state->style);
  if (k == 0 || endsSegment(k - 1, state->style)) {
    const uint8_t* const end = src + state->segmentEnd[k];
    if (raw) {
      state->raw.start(src + state->position, end);
    } else {
      state->mq.start(src + state->position, end);
    }
    state->position = state->segmentEnd[k];
  }
  const PassKind kind = passKind(k);
  const int plane = state->bitPlanes - 1 - passPlane(k);
  RkdStatus status = rkdStsNoErr;
  if (kind == PassKind::cleanup) {
    status = cleanUp(state, block, plane);
  } else if (raw) {
    codeBits<RawCoder>(state, block, kind, plane);
  } else {
    codeBits<MqCoder>(state, block, kind, plane);
  }
  if ((state->style & rkdCodeBlockReset) != 0) state->contexts.reset();
  ++state->done;
  return status;
}

/// No bytes need no pointer.
RkdStatus checkBytes(const uint8_t* src, int length) {
  return length == 0 ? rkdStsNoErr : checkPointers(src);
}

RkdStatus decodePasses(DecodeState* state, const uint8_t* src, int passes) {
  const uint8_t none = 0;
  if (src == nullptr) src = &none;
  Block block = state->block;
  block.flags = state->flags;
  const int last = std::min(state->passes, state->done + passes);
  while (state->done < last && state->damage == rkdStsNoErr) {
    state->damage = decodePass(state, block, src);
  }
  return state->damage;
}

/// Gives each pass the end of its segment; false when passes, segments and bytes do not match.
bool placeSegments(const int* lengths, int segments, int length, DecodeState* state) {
  int pass = 0;
  int end = 0;
  for (int i = 0; i < segments; ++i) {
    if (pass == state->passes || lengths[i] < 0 || lengths[i] > length - end) return false;
    end += lengths[i];
    bool ended = false;
    for (; pass < state->passes && !ended; ++pass) {
      state->segmentEnd[pass] = end;
      ended = endsSegment(pass, state->style);
    }
  }
  return pass == state->passes;
}

RkdStatus start(int length, const int* lengths, int segments, RkdiSize size, int band, int style,
                int bitPlanes, int passes, RkdiDecodeCodeBlockState* state) {
  if (const RkdStatus status = firstOf(checkPointers(state), checkCodeBlock(size, band, style))) {
    return status;
  }
  if (length < 0) return rkdStsSizeErr;
  if (bitPlanes < 0 || bitPlanes > rkdCodeBlockMaxPlanes || passes < 0 ||
      passes > std::max(0, 3 * bitPlanes - 2) || segments < 0) {
    return rkdStsBadArgErr;
  }
  if (segments > 0 && lengths == nullptr) return rkdStsNullPtrErr;
  if (const RkdStatus status = checkObject<DecodeState>(state)) return status;
  DecodeState* const inside = insideOf<DecodeState>(state);
  inside->loaded = false;
  inside->damage = rkdStsNoErr;
  inside->block = blockOf(size, band, style, nullptr);
  inside->style = style;
  inside->bitPlanes = bitPlanes;
  inside->passes = passes;
  inside->done = inside->position = 0;
  inside->length = length;
  if (!placeSegments(lengths, segments, length, inside)) return rkdStsBadArgErr;
  inside->contexts.reset();
  std::memset(inside->flags, 0, size_t(inside->block.flagCount()) * sizeof(Flags));
  std::memset(inside->sample, 0, size_t(inside->block.columns()) * 4 * sizeof(uint32_t));
  inside->loaded = true;
  return rkdStsNoErr;
}

void store(const DecodeState& state, int32_t* dst, int dstStep) {
  const uint32_t* samples = state.sample;
  const int width = state.block.width;
  for (int top = 0; top < state.block.height; top += 4, samples += 4 * width) {
    const int rows = std::min(4, state.block.height - top);
    for (int r = 0; r < rows; ++r) {
      char* const row = reinterpret_cast<char*>(rowAt(dst, dstStep, top + r));
      for (int x = 0; x < width; ++x) {
        const uint32_t value = samples[4 * x + r];
        const uint32_t sign = uint32_t(int32_t(value) >> 31);
        const uint32_t signedValue = ((value & 0x7FFFFFFF) ^ sign) - sign;
        std::memcpy(row + size_t(x) * sizeof value, &signedValue, sizeof value);
      }
    }
  }
}

RkdStatus checkStarted(const RkdiDecodeCodeBlockState* state) {
  if (const RkdStatus status = checkObject<DecodeState>(state)) return status;
  return insideOf<DecodeState>(state)->loaded ? rkdStsNoErr : rkdStsContextErr;
}

}  // namespace
}  // namespace rkd::j2k

using namespace rkd;
using namespace rkd::j2k;

RkdStatus rkdiDecodeCodeBlockStateGetBufSize_JPEG2K(int* size) {
  return tellSize<DecodeState>(size);
}
RkdStatus rkdiDecodeCodeBlockStateInit_JPEG2K(RkdiDecodeCodeBlockState* state) {
  return initObject<DecodeState>(state);
}
RkdStatus rkdiDecodeCodeBlockStateInitAlloc_JPEG2K(RkdiDecodeCodeBlockState** state) {
  return initAllocObject<DecodeState>(state);
}
RkdStatus rkdiDecodeCodeBlockStateFree_JPEG2K(RkdiDecodeCodeBlockState* state) {
  return freeObject(state);
}

RkdStatus rkdiDecodeCBProgrStart_JPEG2K(int length, const int* lengths, int segments, RkdiSize size,
                                        int band, int style, int bitPlanes, int passes,
                                        RkdiDecodeCodeBlockState* state) {
  return start(length, lengths, segments, size, band, style, bitPlanes, passes, state);
}

RkdStatus rkdiDecodeCBProgrStep_JPEG2K(const uint8_t* src, int length, int passes,
                                       RkdiDecodeCodeBlockState* state) {
  if (const RkdStatus status = firstOf(checkBytes(src, length), checkStarted(state))) return status;
  DecodeState* const inside = insideOf<DecodeState>(state);
  if (length != inside->length) return rkdStsSizeErr;
  if (passes <= 0) return rkdStsBadArgErr;
  return decodePasses(inside, src, std::min<int>(passes, rkdCodeBlockMaxPasses));
}

RkdStatus rkdiDecodeCBProgrGet_JPEG2K_32s_C1R(int32_t* dst, int dstStep,
                                              const RkdiDecodeCodeBlockState* state) {
  if (const RkdStatus status = firstOf(checkPointers(dst), checkStarted(state))) return status;
  const DecodeState* const inside = insideOf<DecodeState>(state);
  if (const RkdStatus status = checkStep<int32_t>(dstStep, inside->block.width)) return status;
  store(*inside, dst, dstStep);
  return rkdStsNoErr;
}

RkdStatus rkdiDecodeCodeBlock_JPEG2K_1u32s_C1R(const uint8_t* src, int length, const int* lengths,
                                               int segments, int32_t* dst, int dstStep,
                                               RkdiSize size, int band, int style, int bitPlanes,
                                               int passes, RkdiDecodeCodeBlockState* state) {
  if (const RkdStatus status =
          firstOf(checkBytes(src, length), checkPointers(dst), checkCodeBlock(size, band, style),
                  checkStep<int32_t>(dstStep, size.width))) {
    return status;
  }
  if (const RkdStatus status =
          start(length, lengths, segments, size, band, style, bitPlanes, passes, state)) {
    return status;
  }
  DecodeState* const inside = insideOf<DecodeState>(state);
  const RkdStatus status = decodePasses(inside, src, rkdCodeBlockMaxPasses);
  store(*inside, dst, dstStep);
  return status;
}
