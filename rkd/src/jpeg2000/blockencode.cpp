// Encoding of code blocks. A pass is made in two steps: a walk over the bit plane writes down the
// decisions with their contexts, and one loop sends them. So the walk's branches and the coder's
// long chain of dependent steps do not wait for one another.
#include <algorithm>
#include <cstring>

#include "common/args.h"
#include "jpeg2000/passes.h"
#include "jpeg2000/state.h"

namespace rkd::j2k {
namespace {

/// Ample: adaptive coding expands no block beyond 1.3 bits a decision, and a coefficient has one
/// decision a plane and one for its sign. The coder stops at the end all the same.
constexpr int maxBytes = 40 * 1024;
/// Most in a pass: a column of four has up to ten, a coefficient alone up to two.
constexpr int maxSymbols = 10 * 1024 + 64;

struct Pass {
  double distortion;
  int length;
  bool terminated;
};

struct EncodeState {
  static constexpr uint32_t mark = 0x4A324B45;
  uint32_t kind;
  bool loaded;
  int bitPlanes, passes;
  Pass pass[rkdCodeBlockMaxPasses];
  alignas(lineSize) Flags flags[maxFlags];
  uint32_t sample[maxSamples];  ///< magnitude, with the sign in the high bit, four to a column
  uint8_t symbol[maxSymbols];
  uint8_t before;  ///< what the first byte's carry would go to
  uint8_t bytes[maxBytes];
};

constexpr uint32_t signBit = 0x80000000u;

/// By how much the squared error falls, summed without rounding: it is linear in the magnitudes.
class Distortion {
 public:
  void significant(uint32_t magnitude) {
    becoming_ += magnitude;
    ++becomingCount_;
  }
  /// @param low  the magnitude's bits from the plane down
  void refined(uint32_t low, int plane) {
    const int64_t fromMiddle = int64_t{low} - (int64_t{1} << plane);
    refined_ += fromMiddle < 0 ? -fromMiddle : fromMiddle;
    ++refinedCount_;
  }
  /// With s = 2^plane, x the magnitude, d its distance from the middle of what was known:
  /// x^2 - (x - 1.5 s)^2, and d^2 - (d - s / 2)^2. At plane 0 nothing is left of x^2 and d^2.
  double sum(int plane) const {
    if (plane == 0) return double(becoming_ + refined_);
    const double step = double(int64_t{1} << plane);
    return step * (3 * double(becoming_) + double(refined_)) -
           step * step * (2.25 * becomingCount_ + 0.25 * refinedCount_);
  }

 private:
  int64_t becoming_ = 0, refined_ = 0;
  int becomingCount_ = 0, refinedCount_ = 0;
};

/// Writes down the decisions of one pass.
class Recorder {
 public:
  Recorder(const uint32_t* samples, uint8_t* out, int plane, bool raw)
      : samples_(samples), out_(out), plane_(plane), flip_(raw ? 0 : 1) {}

  bool significant(unsigned context, int sample) {
    const unsigned bit = samples_[sample] >> plane_ & 1;
    put(context | bit);
    return bit != 0;
  }
  Flags sign(unsigned context, int sample) {
    const uint32_t value = samples_[sample];
    const unsigned negative = value >> 31;
    put((context & ~1u) | (negative ^ (context & flip_)));
    distortion_.significant(value & ~signBit);
    return negative;
  }
  void refine(unsigned context, int sample) {
    const uint32_t low = samples_[sample] & ((uint32_t{2} << plane_) - 1);
    put(context | low >> plane_);
    distortion_.refined(low, plane_);
  }
  int run(int sample) {
    unsigned bits = 0;
    for (int r = 0; r < 4; ++r) bits |= (samples_[sample + r] >> plane_ & 1) << r;
    put(2 * contextRun | unsigned(bits != 0));
    if (bits == 0) return 4;
    const int row = std::countr_zero(bits);
    put(2 * contextUniform | unsigned(row >> 1));
    put(2 * contextUniform | unsigned(row & 1));
    return row;
  }
  void segmentationSymbol() {
    for (const unsigned bit : {1u, 0u, 1u, 0u}) put(2 * contextUniform | bit);
  }

  const uint8_t* end() const { return out_; }
  double distortion() const { return distortion_.sum(plane_); }

 private:
  void put(unsigned symbol) { *out_++ = uint8_t(symbol); }

  const uint32_t* samples_;
  uint8_t* out_;
  int plane_;
  unsigned flip_;
  Distortion distortion_;
};

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

class BlockEncoder {
 public:
  BlockEncoder(EncodeState* state, const Block& block, int style)
      : state_(state), block_(block), style_(style) {}

  RkdStatus run(int maxPasses) {
    const int planes = state_->bitPlanes;
    state_->before = 0;
    state_->passes = planes == 0 ? 0 : std::min(maxPasses, 3 * planes - 2);
    std::memset(state_->flags, 0, size_t(block_.flagCount()) * sizeof(Flags));
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
      mq_.encode(state_->symbol, symbolEnd_, &contexts_);
      marks_[k - firstPass_] = mq_.mark();
    }
    if ((style_ & rkdCodeBlockReset) != 0) contexts_.reset();
    state_->pass[k].terminated = k == state_->passes - 1 || endsSegment(k, style_);
    if (state_->pass[k].terminated) endSegment(k, raw);
  }

  void record(PassKind kind, int plane, bool raw, Pass* pass) {
    Recorder recorder(state_->sample, state_->symbol, plane, raw);
    switch (kind) {
      case PassKind::significance:
        significancePass(block_, recorder);
        break;
      case PassKind::refinement:
        refinementPass(block_, recorder);
        break;
      case PassKind::cleanup:
        cleanupPass(block_, recorder);
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
  MqContexts contexts_;
  MqEncoder mq_;
  RawWriter raw_;
  const uint8_t* symbolEnd_ = nullptr;
  uint8_t* first_ = nullptr;
  int firstPass_ = 0;
  MqMark marks_[rkdCodeBlockMaxPasses];
  const uint8_t* rawNeeded_[rkdCodeBlockMaxPasses];
};

RkdStatus checkLoaded(const RkdiEncodeCodeBlockState* state) {
  if (const RkdStatus status = checkObject<EncodeState>(state)) return status;
  return insideOf<EncodeState>(state)->loaded ? rkdStsNoErr : rkdStsContextErr;
}

}  // namespace
}  // namespace rkd::j2k

using namespace rkd;
using namespace rkd::j2k;

RkdStatus rkdiEncodeCodeBlockStateGetBufSize_JPEG2K(int* size) {
  return tellSize<EncodeState>(size);
}
RkdStatus rkdiEncodeCodeBlockStateInit_JPEG2K(RkdiEncodeCodeBlockState* state) {
  return initObject<EncodeState>(state);
}
RkdStatus rkdiEncodeCodeBlockStateInitAlloc_JPEG2K(RkdiEncodeCodeBlockState** state) {
  return initAllocObject<EncodeState>(state);
}
RkdStatus rkdiEncodeCodeBlockStateFree_JPEG2K(RkdiEncodeCodeBlockState* state) {
  return freeObject(state);
}

RkdStatus rkdiGetCodeBlockSegment_JPEG2K(int pass, int style, int* passes) {
  if (passes == nullptr) return rkdStsNullPtrErr;
  if (pass < 0 || pass >= rkdCodeBlockMaxPasses || !isStyle(style)) return rkdStsBadArgErr;
  int last = pass;
  while (last < rkdCodeBlockMaxPasses - 1 && !endsSegment(last, style)) ++last;
  *passes = last - pass + 1;
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
  const uint32_t magnitudes = loadSamples(src, srcStep, size, inside->sample);
  if ((magnitudes & signBit) != 0) return rkdStsCoefRangeErr;
  inside->bitPlanes = 32 - std::countl_zero(magnitudes);
  const Block block = blockOf(size, band, style, inside->flags);
  const RkdStatus status = BlockEncoder(inside, block, style).run(maxPasses);
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
