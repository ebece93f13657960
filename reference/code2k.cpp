// Plain code-block coder; see ref_code2k.h.
#include "ref_code2k.h"

#include <algorithm>
#include <cstdlib>

#include "mqcoder.h"
#include "samples.h"

namespace ref {
namespace {

using namespace mq;

// ---- which passes there are (annex D) ----

enum Kind { significance, refinement, cleanup };
Kind kindOf(int pass) { return pass == 0 ? cleanup : Kind((pass - 1) % 3); }
int planeOf(int pass, int bitPlanes) { return bitPlanes - 1 - (pass + 2) / 3; }

bool isRaw(int pass, int style) {
  return (style & rkdCodeBlockBypass) != 0 && pass > 9 && kindOf(pass) != cleanup;
}
bool endsSegment(int pass, int style) {
  if ((style & rkdCodeBlockTermAll) != 0) return true;
  if ((style & rkdCodeBlockBypass) == 0) return false;
  return pass == 9 || (pass > 9 && kindOf(pass) != significance);
}

// ---- bit modelling ----

/// One pass over a block. `Coder` has `int code(int context, int bit)`, which returns the decision:
/// an encoder's is the bit it is given.
template <class Coder>
class Pass {
 public:
  Pass(CodeBlockModel* model, Coder* coder, int pass, int plane, bool decoding)
      : m_(*model),
        coder_(*coder),
        plane_(plane),
        raw_(isRaw(pass, model->style)),
        decoding_(decoding) {}

  void run(Kind kind) {
    for (int top = 0; top < m_.height; top += 4) {
      for (int x = 0; x < m_.width; ++x) column(kind, x, top);
    }
    if (kind == cleanup) std::fill(m_.visited.begin(), m_.visited.end(), false);
  }

  /// False when the mark is not there.
  bool segmentationSymbol() {
    bool asSent = true;
    for (const int bit : {1, 0, 1, 0}) asSent = (coder_.code(uniformContext, bit) == bit) && asSent;
    return asSent;
  }

 private:
  size_t at(int x, int y) const { return size_t(y) * m_.width + x; }
  int bitAt(int x, int y) const { return int(m_.magnitude[at(x, y)] >> plane_ & 1); }

  /// 1 and -1: significant, by sign; 0: not, or not to be seen from row `from`.
  int signAt(int x, int y, int from) const {
    if (x < 0 || y < 0 || x >= m_.width || y >= m_.height) return 0;
    if ((m_.style & rkdCodeBlockCausal) != 0 && y / 4 > from / 4) return 0;
    if (!m_.significant[at(x, y)]) return 0;
    return m_.negative[at(x, y)] ? -1 : 1;
  }
  int count(int x, int y, std::initializer_list<std::array<int, 2>> steps) const {
    int n = 0;
    for (const auto& [dx, dy] : steps) n += std::abs(signAt(x + dx, y + dy, y));
    return n;
  }
  int horizontal(int x, int y) const { return count(x, y, {{-1, 0}, {1, 0}}); }
  int vertical(int x, int y) const { return count(x, y, {{0, -1}, {0, 1}}); }
  int diagonal(int x, int y) const { return count(x, y, {{-1, -1}, {1, -1}, {-1, 1}, {1, 1}}); }
  bool hasNeighbour(int x, int y) const {
    return horizontal(x, y) + vertical(x, y) + diagonal(x, y) > 0;
  }

  int zeroContext(int x, int y) const {
    int h = horizontal(x, y);
    int v = vertical(x, y);
    const int d = diagonal(x, y);
    if (m_.band == rkdBandHH) {
      if (d >= 3) return 8;
      if (d == 2) return h + v >= 1 ? 7 : 6;
      if (d == 1) return h + v >= 2 ? 5 : h + v == 1 ? 4 : 3;
      return std::min(h + v, 2);
    }
    if (m_.band == rkdBandHL) std::swap(h, v);
    if (h == 2) return 8;
    if (h == 1) return v >= 1 ? 7 : d >= 1 ? 6 : 5;
    if (v == 2) return 4;
    if (v == 1) return 3;
    return std::min(d, 2);
  }

  void codeSign(int x, int y) {
    const int h = std::clamp(signAt(x - 1, y, y) + signAt(x + 1, y, y), -1, 1);
    const int v = std::clamp(signAt(x, y - 1, y) + signAt(x, y + 1, y), -1, 1);
    constexpr int contexts[9] = {13, 12, 11, 10, 9, 10, 11, 12, 13};
    const int which = (1 - h) * 3 + (1 - v);
    const int flip = !raw_ && which > 4 ? 1 : 0;
    const int context = raw_ ? rawBit : contexts[which];
    const int negative = coder_.code(context, int(m_.negative[at(x, y)]) ^ flip) ^ flip;
    m_.significant[at(x, y)] = true;
    m_.negative[at(x, y)] = negative != 0;
    if (decoding_) m_.magnitude[at(x, y)] = (1u << plane_) + (1u << plane_) / 2;
  }

  void codeZero(int x, int y) {
    m_.plane[at(x, y)] = uint8_t(plane_);
    if (coder_.code(raw_ ? rawBit : zeroContext(x, y), bitAt(x, y)) != 0) codeSign(x, y);
  }

  void refine(int x, int y) {
    const int first = hasNeighbour(x, y) ? refineContext + 1 : refineContext;
    const int context = m_.refined[at(x, y)] ? refineContext + 2 : first;
    const int bit = coder_.code(raw_ ? rawBit : context, bitAt(x, y));
    m_.refined[at(x, y)] = true;
    m_.plane[at(x, y)] = uint8_t(plane_);
    if (!decoding_) return;
    uint32_t& value = m_.magnitude[at(x, y)];
    value = (value >> (plane_ + 1) << 1 | uint32_t(bit)) << plane_;
    value += (1u << plane_) / 2;
  }

  /// Returns the row behind those that run mode has dealt with.
  int runMode(int x, int top) {
    if (top + 4 > m_.height) return top;
    for (int y = top; y < top + 4; ++y) {
      if (m_.significant[at(x, y)] || m_.visited[at(x, y)] || hasNeighbour(x, y)) return top;
    }
    int first = 0;
    while (first < 4 && bitAt(x, top + first) == 0) ++first;
    for (int y = top; y < top + 4; ++y) m_.plane[at(x, y)] = uint8_t(plane_);
    if (coder_.code(runContext, first < 4 ? 1 : 0) == 0) return top + 4;
    const int high = coder_.code(uniformContext, first >> 1 & 1);
    first = 2 * high + coder_.code(uniformContext, first & 1);
    codeSign(x, top + first);
    return top + first + 1;
  }

  void column(Kind kind, int x, int top) {
    int y = kind == cleanup ? runMode(x, top) : top;
    for (; y < std::min(top + 4, m_.height); ++y) {
      const bool isSignificant = m_.significant[at(x, y)];
      const bool isVisited = m_.visited[at(x, y)];
      if (kind == significance && !isSignificant && hasNeighbour(x, y)) {
        codeZero(x, y);
        m_.visited[at(x, y)] = true;
      } else if (kind == refinement && isSignificant && !isVisited) {
        refine(x, y);
      } else if (kind == cleanup && !isSignificant && !isVisited) {
        codeZero(x, y);
      }
    }
  }

  CodeBlockModel& m_;
  Coder& coder_;
  int plane_;
  bool raw_, decoding_;
};

// ---- encoding ----

struct Decision {
  int context, bit;
};
struct Recorder {
  std::vector<Decision> decisions;
  int code(int context, int bit) {
    decisions.push_back({context, bit});
    return bit;
  }
};

/// The passes of one segment, their decisions one after the other.
struct Segment {
  std::vector<Decision> decisions;
  std::vector<size_t> passEnd;
  MqContextSet contexts{};  ///< at its start
  bool raw = false;
};

/// An encoder that has coded the decisions and is not ended yet.
Encoder encoderBehind(const Segment& segment, int style, MqContextSet* contexts) {
  Encoder encoder;
  size_t at = 0;
  for (const size_t end : segment.passEnd) {
    for (; at < end; ++at) {
      const Decision& d = segment.decisions[at];
      encoder.code(d.bit, &(*contexts)[size_t(d.context)]);
    }
    if ((style & rkdCodeBlockReset) != 0) *contexts = freshContexts();
  }
  return encoder;
}

/// Bytes that are out before the segment is ended.
int bytesOut(const Segment& segment, int style) {
  if (!segment.raw) {
    MqContextSet contexts = segment.contexts;
    return int(encoderBehind(segment, style, &contexts).bytes().size());
  }
  int bytes = 0, left = 8;
  unsigned byte = 0;
  for (const Decision& d : segment.decisions) {
    byte = 2 * byte + unsigned(d.bit);
    if (--left > 0) continue;
    ++bytes;
    left = byte == 0xFF ? 7 : 8;
    byte = 0;
  }
  return bytes;
}

std::vector<uint8_t> encode(const Segment& segment, int style, MqContextSet* contexts) {
  const bool predictably = (style & rkdCodeBlockPredTerm) != 0;
  if (segment.raw) {
    std::vector<int> bits;
    for (const Decision& d : segment.decisions) bits.push_back(d.bit);
    return rawBytes(bits, predictably);
  }
  Encoder encoder = encoderBehind(segment, style, contexts);
  if (predictably) {
    encoder.flushPredictably();
  } else {
    encoder.flush();
  }
  return encoder.bytes();
}

/// Whether the first `length` bytes give the decisions of the segment's first passes.
bool decodes(const Segment& segment, size_t passes, int style, const std::vector<uint8_t>& bytes,
             int length) {
  RkdiDecodeCodeBlockState state;
  state.contexts = segment.contexts;
  state.limit = length;
  Decoder decoder(bytes.data(), &state);
  if (!segment.raw) decoder.start();
  size_t at = 0;
  for (size_t pass = 0; pass < passes; ++pass) {
    for (; at < segment.passEnd[pass]; ++at) {
      const Decision& d = segment.decisions[at];
      if (decoder.code(d.context) != d.bit) return false;
    }
    if ((style & rkdCodeBlockReset) != 0) state.contexts = freshContexts();
  }
  return true;
}

/// Codes the segment and tells how many bytes each of its passes needs, by trying.
void finish(const Segment& segment, int style, MqContextSet* contexts,
            RkdiEncodeCodeBlockState* state) {
  const std::vector<uint8_t> bytes = encode(segment, style, contexts);
  const int before = int(state->bytes.size());
  const size_t first = state->passes.size() - segment.passEnd.size();
  int enough = 0;
  for (size_t i = 0; i + 1 < segment.passEnd.size(); ++i) {
    int most = int(bytes.size());
    while (enough < most) {
      const int middle = (enough + most) / 2;
      if (decodes(segment, i + 1, style, bytes, middle)) {
        most = middle;
      } else {
        enough = middle + 1;
      }
    }
    state->passes[first + i].length = before + enough;
  }
  state->passes.back().length = before + int(bytes.size());
  state->passes.back().terminated = 1;
  state->bytes.insert(state->bytes.end(), bytes.begin(), bytes.end());
}

/// What a decoder that stops behind the pass would make of a coefficient.
double reconstruction(const CodeBlockModel& m, size_t i, Kind kind, int plane) {
  if (!m.significant[i]) return 0;
  // Before a plane's refinement pass only what it has made significant is known to this plane.
  const bool thisPlane = kind == cleanup || m.visited[i] || (kind == refinement);
  const int known = thisPlane ? plane : plane + 1;
  const double step = double(uint64_t{1} << known);
  const double base = double(m.magnitude[i] >> known) * step;
  return known == 0 ? base : base + step / 2;
}

double squaredError(const CodeBlockModel& m, Kind kind, int plane) {
  double sum = 0;
  for (size_t i = 0; i < m.magnitude.size(); ++i) {
    const double error = double(m.magnitude[i]) - reconstruction(m, i, kind, plane);
    sum += error * error;
  }
  return sum;
}

void encodePasses(RkdiEncodeCodeBlockState* state, int passes) {
  CodeBlockModel& model = state->model;
  MqContextSet contexts = freshContexts();
  Segment segment;
  std::vector<int> out;
  double error = 0;
  for (const uint32_t m : model.magnitude) error += double(m) * double(m);
  for (int k = 0; k < passes; ++k) {
    const Kind kind = kindOf(k);
    const int plane = planeOf(k, state->bitPlanes);
    if (segment.passEnd.empty()) {
      segment.contexts = contexts;
      segment.raw = isRaw(k, model.style);
    }
    Recorder recorder;
    Pass<Recorder> pass(&model, &recorder, k, plane, false);
    pass.run(kind);
    if (kind == cleanup && (model.style & rkdCodeBlockSegSym) != 0) pass.segmentationSymbol();
    segment.decisions.insert(segment.decisions.end(), recorder.decisions.begin(),
                             recorder.decisions.end());
    segment.passEnd.push_back(segment.decisions.size());
    state->decisions += int(recorder.decisions.size());
    const double left = squaredError(model, kind, plane);
    state->passes.push_back({0, 0, error - left});
    error = left;
    if (state->leastGain > 0) {
      out.push_back(int(state->bytes.size()) + bytesOut(segment, model.style));
      double gain = 0;
      for (int i = std::max(0, k - 2); i <= k; ++i) gain += state->passes[size_t(i)].distortion;
      const int bytes = out.back() - (k > 2 ? out[size_t(k) - 3] : 0);
      if (k >= 2 && k + 1 >= state->fewestPasses && gain <= state->leastGain * bytes) {
        passes = k + 1;
      }
    }
    if (k == passes - 1 || endsSegment(k, model.style)) {
      finish(segment, model.style, &contexts, state);
      segment = {};
    }
  }
}

}  // namespace

void CodeBlockModel::clear(RkdiSize size, int blockBand, int blockStyle) {
  width = size.width;
  height = size.height;
  band = blockBand;
  style = blockStyle;
  const size_t samples = size_t(width) * height;
  magnitude.assign(samples, 0);
  for (auto* flags : {&negative, &significant, &visited, &refined}) flags->assign(samples, false);
  plane.assign(samples, 0);
}

RkdStatus rkdiGetCodeBlockSegment_JPEG2K(int pass, int style, int* passes) {
  for (*passes = 1; pass < rkdCodeBlockMaxPasses - 1 && !endsSegment(pass, style); ++pass) {
    ++*passes;
  }
  return rkdStsNoErr;
}

RkdStatus rkdiEncodeSetLeastGain_JPEG2K(double gain, int fewest, RkdiEncodeCodeBlockState* state) {
  state->leastGain = gain;
  state->fewestPasses = fewest;
  return rkdStsNoErr;
}

RkdStatus rkdiEncodeLoadCodeBlock_JPEG2K_32s_C1R(const int32_t* src, int srcStep, RkdiSize size,
                                                 int band, int style, int maxPasses,
                                                 RkdiEncodeCodeBlockState* state) {
  state->model.clear(size, band, style);
  state->passes.clear();
  state->bytes.clear();
  state->decisions = 0;
  state->bitPlanes = 0;
  for (int y = 0; y < size.height; ++y) {
    for (int x = 0; x < size.width; ++x) {
      const int32_t value = row(src, srcStep, y)[x];
      if (value == INT32_MIN) return rkdStsCoefRangeErr;
      const size_t i = size_t(y) * size.width + x;
      state->model.magnitude[i] = uint32_t(std::abs(value));
      state->model.negative[i] = value < 0;
      while (state->model.magnitude[i] >> state->bitPlanes != 0) ++state->bitPlanes;
    }
  }
  if (state->bitPlanes > 0) encodePasses(state, std::min(maxPasses, 3 * state->bitPlanes - 2));
  return rkdStsNoErr;
}

RkdStatus rkdiEncodeGetCodeBlockInfo_JPEG2K(int* bitPlanes, int* passes,
                                            const RkdiEncodeCodeBlockState* state) {
  *bitPlanes = state->bitPlanes;
  *passes = int(state->passes.size());
  return rkdStsNoErr;
}

RkdStatus rkdiEncodeGetPassInfo_JPEG2K(int pass, RkdiCodeBlockPass* info,
                                       const RkdiEncodeCodeBlockState* state) {
  *info = state->passes[size_t(pass)];
  return rkdStsNoErr;
}

RkdStatus rkdiEncodeStoreBits_JPEG2K_1u(uint8_t* stream, int length, int* position, int passes,
                                        const RkdiEncodeCodeBlockState* state) {
  const int bytes = passes == 0 ? 0 : state->passes[size_t(passes) - 1].length;
  if (bytes > length - *position) return rkdStsDstFullErr;
  std::copy_n(state->bytes.begin(), bytes, stream + *position);
  *position += bytes;
  return rkdStsNoErr;
}

// ---- decoding ----

RkdStatus rkdiDecodeCBProgrStart_JPEG2K(int length, const int* lengths, int segments, RkdiSize size,
                                        int band, int style, int bitPlanes, int passes,
                                        RkdiDecodeCodeBlockState* state) {
  *state = {};
  state->halves = (style & rkdCodeBlockHalves) != 0;
  style &= ~rkdCodeBlockHalves;
  state->model.clear(size, band, style);
  std::fill(state->model.plane.begin(), state->model.plane.end(), uint8_t(bitPlanes));
  state->bitPlanes = bitPlanes;
  state->passes = passes;
  state->contexts = freshContexts();
  int begin = 0;
  for (int i = 0; i < segments; ++i) {
    const int pass = int(state->end.size());
    if (pass == passes || lengths[i] < 0 || lengths[i] > length - begin) return rkdStsBadArgErr;
    int holds = 0;
    rkdiGetCodeBlockSegment_JPEG2K(pass, style, &holds);
    const size_t next = size_t(std::min(pass + holds, passes));
    state->begin.resize(next, begin);
    begin += lengths[i];
    state->end.resize(next, begin);
  }
  return int(state->end.size()) == passes ? rkdStsNoErr : rkdStsBadArgErr;
}

RkdStatus rkdiDecodeCBProgrStep_JPEG2K(const uint8_t* src, int, int passes,
                                       RkdiDecodeCodeBlockState* state) {
  struct Coder {
    Decoder decoder;
    int code(int context, int) { return decoder.code(context); }
  };
  for (; passes > 0 && state->done < state->passes && state->damage == rkdStsNoErr; --passes) {
    const int k = state->done++;
    const int style = state->model.style;
    Coder coder{Decoder(src, state)};
    if (k == 0 || endsSegment(k - 1, style)) {
      state->position = state->begin[size_t(k)];
      state->limit = state->end[size_t(k)];
      state->rawByte = 0;
      state->rawLeft = 0;
      state->shifted = 0;
      if (!isRaw(k, style)) coder.decoder.start();
    }
    Pass<Coder> pass(&state->model, &coder, k, planeOf(k, state->bitPlanes), true);
    pass.run(kindOf(k));
    const bool marked = kindOf(k) == cleanup && (style & rkdCodeBlockSegSym) != 0;
    if (marked && !pass.segmentationSymbol()) state->damage = rkdStsDataErr;
    const bool ends = endsSegment(k, style) || k == 3 * state->bitPlanes - 3;
    if ((style & rkdCodeBlockPredTerm) != 0 && ends &&
        !coder.decoder.endsPredictably(state->begin[size_t(k)], isRaw(k, style))) {
      state->damage = rkdStsDataErr;
    }
    if ((style & rkdCodeBlockReset) != 0) state->contexts = freshContexts();
  }
  return state->damage;
}

/// Calls for every coefficient with its place, sign, magnitude and lowest plane.
template <class Each>
RkdStatus forEach(const CodeBlockModel& m, Each each) {
  for (int y = 0; y < m.height; ++y) {
    for (int x = 0; x < m.width; ++x) {
      const size_t i = size_t(y) * m.width + x;
      each(x, y, m.negative[i] ? -1 : 1, int64_t{m.magnitude[i]}, m.plane[i]);
    }
  }
  return rkdStsNoErr;
}

RkdStatus rkdiDecodeCBProgrGet_JPEG2K_32s_C1R(int32_t* dst, int dstStep,
                                              const RkdiDecodeCodeBlockState* state) {
  return forEach(state->model, [&](int x, int y, int sign, int64_t magnitude, int plane) {
    const int64_t half = magnitude != 0 && plane == 0 ? 1 : 0;
    row(dst, dstStep, y)[x] = int32_t(sign * (state->halves ? 2 * magnitude + half : magnitude));
  });
}

RkdStatus rkdiDecodeCBProgrGet_JPEG2K_32f_C1R(float* dst, int dstStep, float scale,
                                              const RkdiDecodeCodeBlockState* state) {
  return forEach(state->model, [&](int x, int y, int sign, int64_t magnitude, int plane) {
    const double half = magnitude != 0 && plane == 0 ? 0.5 : 0;
    row(dst, dstStep, y)[x] = float(sign * (double(magnitude) + half) * scale);
  });
}

RkdStatus rkdiDecodeCBProgrGetPlanes_JPEG2K_8u_C1R(uint8_t* dst, int dstStep,
                                                   const RkdiDecodeCodeBlockState* state) {
  return forEach(state->model, [&](int x, int y, int, int64_t, int plane) {
    row(dst, dstStep, y)[x] = uint8_t(plane);
  });
}

RkdStatus rkdiDecodeCodeBlock_JPEG2K_1u32s_C1R(const uint8_t* src, int length, const int* lengths,
                                               int segments, int32_t* dst, int dstStep,
                                               RkdiSize size, int band, int style, int bitPlanes,
                                               int passes, RkdiDecodeCodeBlockState* state) {
  if (const RkdStatus status = rkdiDecodeCBProgrStart_JPEG2K(length, lengths, segments, size, band,
                                                             style, bitPlanes, passes, state)) {
    return status;
  }
  const RkdStatus status = rkdiDecodeCBProgrStep_JPEG2K(src, length, rkdCodeBlockMaxPasses, state);
  rkdiDecodeCBProgrGet_JPEG2K_32s_C1R(dst, dstStep, state);
  return status;
}

}  // namespace ref
