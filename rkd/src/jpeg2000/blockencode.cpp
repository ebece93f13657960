// Encoding of code blocks. A pass is made in two steps: its decisions are written down with their
// contexts, and one loop sends them.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "jpeg2000/blockencode.cpp"
#include "hwy/foreach_target.h"
#include "hwy/highway.h"

#include <algorithm>
#include <cstring>

#include "common/args.h"
#include "common/levels.h"
#include "jpeg2000/encodestate.h"
#include "jpeg2000/mq.h"
#include "jpeg2000/recorder-inl.h"
#include "jpeg2000/state.h"

HWY_BEFORE_NAMESPACE();
RKD_PUSH_LZCNT
namespace rkd::HWY_NAMESPACE {
namespace {

/// Puts the coefficients into columns of four, the last stripe filled up with zeros. Returns all
/// magnitudes or-ed, or signBit when one has no magnitude of 31 bits.
uint32_t loadSamples(const int32_t* src, int srcStep, RkdiSize size, uint32_t* samples) {
  uint32_t all = 0;
  for (int top = 0; top < size.height; top += 4, samples += 4 * size.width) {
    const int rows = std::min(4, size.height - top);
    if (rows < 4) std::memset(samples, 0, size_t(size.width) * 4 * sizeof *samples);
    for (int r = 0; r < rows; ++r) {
      const char* row = reinterpret_cast<const char*>(rowAt(src, srcStep, top + r));
      for (int x = 0; x < size.width; ++x) {
        int32_t value;
        std::memcpy(&value, row + size_t(x) * sizeof value, sizeof value);
        const uint32_t sign = uint32_t(value >> 31);
        const uint32_t magnitude = (uint32_t(value) ^ sign) - sign;
        all |= magnitude;
        samples[4 * x + r] = magnitude | (sign & signBit);
      }
    }
  }
  return all;
}

/// The topmost bits of sixty-four samples << shift.
HWY_INLINE Map topBits(const uint32_t* samples, int shift) {
#if HWY_TARGET == HWY_EMU128
  Map bits = 0;
  for (int i = 0; i < 64; ++i) bits |= Map{samples[i] << shift >> 31} << i;
  return bits;
#else
  const hn::CappedTag<int32_t, 16> d;
  const hn::RebindToUnsigned<decltype(d)> du;
  Map bits = 0;
  for (size_t i = 0; i < 64; i += hn::Lanes(d)) {
    const auto shifted = hn::BitCast(d, hn::ShiftLeftSame(hn::LoadU(du, samples + i), shift));
    uint8_t mask[2] = {0, 0};
    hn::StoreMaskBits(d, hn::Lt(shifted, hn::Zero(d)), mask);
    bits |= Map(mask[0] | mask[1] << 8) << i;
  }
  return bits;
#endif
}

/// Makes maps of the samples.
void splitPlanes(const Block& block, const uint32_t* samples, int planes, Coefficients* c) {
  for (Words at(block); at.more(); at.next()) {
    c->negative[at.map] = topBits(samples + at.sample, 0) & at.inside;
    Map* const magnitude = &c->magnitude[at.index * planes];
    for (int p = 0; p < planes; ++p) {
      magnitude[p] = topBits(samples + at.sample, 31 - p) & at.inside;
    }
  }
}

/// A function of its own, so that nothing else takes its registers.
HWY_NOINLINE void send(const uint8_t* symbol, const uint8_t* end, MqEncoderContexts* contexts,
                       MqEncoder* mq) {
  mq->encode(symbol, end, contexts);
}

class BlockEncoder {
 public:
  BlockEncoder(EncodeState* state, const Block& block, int style)
      : state_(state), block_(block), style_(style) {}

  RkdStatus run(int maxPasses) {
    const int planes = state_->bitPlanes;
    state_->before = 0;
    state_->passes = planes == 0 ? 0 : std::min(maxPasses, 3 * planes - 2);
    Coefficients& c = state_->coefficients;
    for (Map* const map : {c.negative, c.significant, c.visited, c.refined}) {
      std::memset(map, 0, size_t(block_.mapWords()) * sizeof(Map));
    }
    if (planes > 0) splitPlanes(block_, state_->sample, planes, &c);
    contexts_.reset();
    for (int k = 0; k < state_->passes; ++k) {
      codePass(k, planes - 1 - passPlane(k));
      if (mq_.overflowed()) return rkdStsDstFullErr;
    }
    return rkdStsNoErr;
  }

 private:
  void codePass(int k, int plane) {
    const bool raw = isRaw(k, style_);
    if (k == 0 || state_->pass[k - 1].terminated) startSegment(k, raw);
    record(passKind(k), plane, raw, &state_->pass[k]);
    if (raw) {
      for (const uint8_t* s = state_->symbol; s != symbolEnd_; ++s) raw_.put(*s & 1);
      rawNeeded_[k - firstPass_] = raw_.needed();
    } else {
      send(state_->symbol, symbolEnd_, &contexts_, &mq_);
      marks_[k - firstPass_] = mq_.mark();
    }
    if ((style_ & rkdCodeBlockReset) != 0) contexts_.reset();
    out_[k] = raw ? raw_.end() : mq_.end();
    if (areWorthless(k)) state_->passes = k + 1;
    state_->pass[k].terminated = k == state_->passes - 1 || endsSegment(k, style_);
    if (state_->pass[k].terminated) endSegment(k, raw);
  }

  /// Whether pass k and the two before it, one of each kind, gain less than asked for.
  bool areWorthless(int k) const {
    if (state_->leastGain <= 0 || k < 2 || k + 1 < state_->fewestPasses) return false;
    double gain = 0;
    for (int i = k - 2; i <= k; ++i) gain += state_->pass[i].distortion;
    const uint8_t* const start = k == 2 ? state_->bytes : out_[k - 3];
    return gain <= state_->leastGain * double(out_[k] - start);
  }

  void record(PassKind kind, int plane, bool raw, Pass* pass) {
    Recorder recorder(block_, &state_->coefficients, state_->bitPlanes, plane, raw, state_->symbol);
    switch (kind) {
      case PassKind::significance:
        recorder.significance();
        break;
      case PassKind::refinement:
        recorder.refinement();
        break;
      case PassKind::cleanup:
        recorder.cleanup();
        if ((style_ & rkdCodeBlockSegSym) != 0) recorder.segmentationSymbol();
        break;
    }
    symbolEnd_ = recorder.end();
    pass->distortion = recorder.distortion();
  }

  void startSegment(int k, bool raw) {
    firstPass_ = k;
    first_ = state_->bytes + (k == 0 ? 0 : state_->pass[k - 1].length);
    uint8_t* const limit = state_->bytes + maxBytes;
    if (raw) {
      raw_.start(first_, limit);
    } else {
      mq_.start(first_ - 1, limit);
    }
  }

  /// Ends the segment with pass k and tells the lengths of its passes.
  void endSegment(int k, bool raw) {
    const bool predictably = (style_ & rkdCodeBlockPredTerm) != 0;
    const uint8_t* const end = raw           ? raw_.flush(predictably)
                               : predictably ? mq_.flushPredictably()
                                             : mq_.flush();
    for (int i = firstPass_; i <= k; ++i) {
      const uint8_t* needed = end;
      if (i < k) {
        needed = raw ? rawNeeded_[i - firstPass_] : mqNeeded(marks_[i - firstPass_], first_, end);
      }
      state_->pass[i].length = int(std::min(needed, end) - state_->bytes);
      if (i < k) state_->pass[i].terminated = false;
    }
  }

  EncodeState* state_;
  Block block_;
  int style_;
  MqEncoderContexts contexts_;
  MqEncoder mq_;
  RawWriter raw_;
  const uint8_t* symbolEnd_ = nullptr;
  uint8_t* first_ = nullptr;
  int firstPass_ = 0;
  const uint8_t* out_[rkdCodeBlockMaxPasses];  ///< behind what was out at the end of a pass
  MqMark marks_[rkdCodeBlockMaxPasses];
  const uint8_t* rawNeeded_[rkdCodeBlockMaxPasses];
};

RkdStatus encode(const int32_t* src, int srcStep, RkdiSize size, int band, int style, int maxPasses,
                 EncodeState* state) {
  const uint32_t magnitudes = loadSamples(src, srcStep, size, state->sample);
  if ((magnitudes & signBit) != 0) return rkdStsCoefRangeErr;
  state->bitPlanes = 32 - std::countl_zero(magnitudes);
  return BlockEncoder(state, blockOf(size, band, style), style).run(maxPasses);
}

}  // namespace
}  // namespace rkd::HWY_NAMESPACE
RKD_POP_LZCNT
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace rkd {
HWY_EXPORT(encode);
namespace j2k {
namespace {

RkdStatus checkLoaded(const RkdiEncodeCodeBlockState* state) {
  if (const RkdStatus status = checkObject<EncodeState>(state)) return status;
  return insideOf<EncodeState>(state)->loaded ? rkdStsNoErr : rkdStsContextErr;
}

}  // namespace
}  // namespace j2k
}  // namespace rkd

using namespace rkd;
using namespace rkd::j2k;

RkdStatus rkdiEncodeCodeBlockStateGetBufSize_JPEG2K(int* size) {
  return tellSize<EncodeState>(size);
}
RkdStatus rkdiEncodeCodeBlockStateInit_JPEG2K(RkdiEncodeCodeBlockState* state) {
  if (const RkdStatus status = initObject<EncodeState>(state)) return status;
  return rkdiEncodeSetLeastGain_JPEG2K(0, 0, state);
}
RkdStatus rkdiEncodeCodeBlockStateInitAlloc_JPEG2K(RkdiEncodeCodeBlockState** state) {
  if (const RkdStatus status = initAllocObject<EncodeState>(state)) return status;
  return rkdiEncodeSetLeastGain_JPEG2K(0, 0, *state);
}
RkdStatus rkdiEncodeCodeBlockStateFree_JPEG2K(RkdiEncodeCodeBlockState* state) {
  return freeObject(state);
}

RkdStatus rkdiGetCodeBlockSegment_JPEG2K(int pass, int style, int* passes) {
  if (passes == nullptr) return rkdStsNullPtrErr;
  if (pass < 0 || pass >= rkdCodeBlockMaxPasses || !isStyle(style & ~rkdCodeBlockHalves)) {
    return rkdStsBadArgErr;
  }
  int last = pass;
  while (last < rkdCodeBlockMaxPasses - 1 && !endsSegment(last, style)) ++last;
  *passes = last - pass + 1;
  return rkdStsNoErr;
}

RkdStatus rkdiEncodeSetLeastGain_JPEG2K(double gain, int fewest, RkdiEncodeCodeBlockState* state) {
  if (const RkdStatus status = checkObject<EncodeState>(state)) return status;
  if (!(gain >= 0) || fewest < 0) return rkdStsBadArgErr;
  EncodeState* const inside = insideOf<EncodeState>(state);
  inside->leastGain = gain;
  inside->fewestPasses = fewest;
  return rkdStsNoErr;
}

RkdStatus rkdiEncodeLoadCodeBlock_JPEG2K_32s_C1R(const int32_t* src, int srcStep, RkdiSize size,
                                                 int band, int style, int maxPasses,
                                                 RkdiEncodeCodeBlockState* state) {
  if (const RkdStatus status = firstOf(checkPointers(src, state), checkCodeBlock(size, band, style),
                                       checkStep<int32_t>(srcStep, size.width))) {
    return status;
  }
  if (maxPasses <= 0) return rkdStsBadArgErr;
  if (const RkdStatus status = checkObject<EncodeState>(state)) return status;
  EncodeState* const inside = insideOf<EncodeState>(state);
  inside->loaded = false;
  const RkdStatus status = RKD_AT_LEVEL(encode)(src, srcStep, size, band, style, maxPasses, inside);
  inside->loaded = status == rkdStsNoErr;
  return status;
}

RkdStatus rkdiEncodeGetCodeBlockInfo_JPEG2K(int* bitPlanes, int* passes,
                                            const RkdiEncodeCodeBlockState* state) {
  if (const RkdStatus status = firstOf(checkPointers(bitPlanes, passes), checkLoaded(state))) {
    return status;
  }
  const EncodeState* const inside = insideOf<EncodeState>(state);
  *bitPlanes = inside->bitPlanes;
  *passes = inside->passes;
  return rkdStsNoErr;
}

RkdStatus rkdiEncodeGetPassInfo_JPEG2K(int pass, RkdiCodeBlockPass* info,
                                       const RkdiEncodeCodeBlockState* state) {
  if (const RkdStatus status = firstOf(checkPointers(info), checkLoaded(state))) return status;
  const EncodeState* const inside = insideOf<EncodeState>(state);
  if (pass < 0 || pass >= inside->passes) return rkdStsBadArgErr;
  const Pass& p = inside->pass[pass];
  const RkdiCodeBlockPass told = {p.length, int(p.terminated), p.distortion};
  std::memcpy(info, &told, sizeof told);
  return rkdStsNoErr;
}

RkdStatus rkdiEncodeStoreBits_JPEG2K_1u(uint8_t* stream, int length, int* position, int passes,
                                        const RkdiEncodeCodeBlockState* state) {
  if (const RkdStatus status = firstOf(checkPointers(stream, position), checkLoaded(state))) {
    return status;
  }
  const EncodeState* const inside = insideOf<EncodeState>(state);
  if (length < 0 || *position < 0 || *position > length) return rkdStsSizeErr;
  if (passes < 0 || passes > inside->passes) return rkdStsBadArgErr;
  const int bytes = passes == 0 ? 0 : inside->pass[passes - 1].length;
  if (bytes > length - *position) return rkdStsDstFullErr;
  std::memcpy(stream + *position, inside->bytes, size_t(bytes));
  *position += bytes;
  return rkdStsNoErr;
}
#endif
