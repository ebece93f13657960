// Decoding of code blocks, whole or pass by pass: the same passes one after the other.
#include <algorithm>
#include <array>
#include <bit>
#include <cstring>

#include "common/args.h"
#include "jpeg2000/mq.h"
#include "jpeg2000/passes.h"
#include "jpeg2000/state.h"

namespace rkd::j2k {
namespace {

// ---- contexts ----

/// Label of a zero-coding context, times two, by band and neighbourhood.
constexpr std::array<std::array<uint8_t, 512>, 4> zeroContexts = [] {
  std::array<std::array<uint8_t, 512>, 4> contexts{};
  const auto label = [](int band, int h, int v, int d) {
    if (band == rkdBandHH) {
      const int cross = h + v > 2 ? 2 : h + v;
      if (d >= 3) return 8;
      if (d == 2) return cross > 0 ? 7 : 6;
      return 3 * d + cross;
    }
    if (band == rkdBandHL) {
      const int t = h;
      h = v;
      v = t;
    }
    if (h == 2) return 8;
    if (h == 1) return v > 0 ? 7 : d > 0 ? 6 : 5;
    if (v > 0) return 2 + v;
    return d > 2 ? 2 : d;
  };
  for (int band = 0; band < 4; ++band) {
    for (int w = 0; w < 512; ++w) {
      const auto is = [w](int bit) { return w >> bit & 1; };
      contexts[size_t(band)][size_t(w)] =
          uint8_t(2 * label(band, is(3) + is(5), is(1) + is(7), is(0) + is(2) + is(6) + is(8)));
    }
  }
  return contexts;
}();

/// Label of a sign context, times two, plus the expected sign: by upper, left, right and lower
/// neighbour, two bits each, significant and negative.
constexpr std::array<uint8_t, 256> signContexts = [] {
  std::array<uint8_t, 256> contexts{};
  const auto limited = [](int sum) { return sum > 1 ? 1 : sum < -1 ? -1 : sum; };
  for (int i = 0; i < 256; ++i) {
    const auto sign = [i](int neighbour) {
      const int bits = i >> 2 * neighbour & 3;
      return (bits & 1) == 0 ? 0 : bits == 1 ? 1 : -1;
    };
    int h = limited(sign(1) + sign(2));
    int v = limited(sign(0) + sign(3));
    const bool flip = h < 0 || (h == 0 && v < 0);
    if (flip) {
      h = -h;
      v = -v;
    }
    const int label = int(contextSign) + (h == 0 ? v : 3 + v);
    contexts[size_t(i)] = uint8_t(2 * label + int(flip));
  }
  return contexts;
}();

// ---- the state ----

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
  MqContexts contexts;
  Map significant[maxMapWords];
  Map visited[maxMapWords];  ///< in this plane's significance pass
  Map refined[maxMapWords];  ///< in a plane before
  alignas(lineSize) Column column[maxMarginColumns];
  uint32_t sample[maxSamples];  ///< magnitude, with the sign in the high bit, four to a column
};

// ---- decisions: a coder decodes one a call, zero coding or whatever the context says ----

class MqCoder {
 public:
  explicit MqCoder(const DecodeState& state) : mq_(state.mq), contexts_(state.contexts) {}

  [[gnu::always_inline]] unsigned decide(unsigned context) {
    return mq_.decode(&contexts_.word[context >> 1]);
  }
  [[gnu::always_inline]] unsigned sign(unsigned context) { return decide(context) ^ (context & 1); }
  [[gnu::always_inline]] unsigned uniform(int bits) {
    unsigned value = 0;
    while (bits-- > 0) value = 2 * value + decide(2 * contextUniform);
    return value;
  }
  void keep(DecodeState* state) const {
    state->mq = mq_;
    state->contexts = contexts_;
  }

 private:
  MqDecoder mq_;
  MqContexts contexts_;
};

class RawCoder {
 public:
  explicit RawCoder(const DecodeState& state) : raw_(state.rawReader) {}

  unsigned decide(unsigned) { return raw_.take(); }
  unsigned sign(unsigned) { return raw_.take(); }
  void keep(DecodeState* state) const { state->rawReader = raw_; }

 private:
  RawReader raw_;
};

// ---- the passes: each visits the bits of its words in order ----

/// What a coefficient tells the column of four at a distance of so many stripes.
struct Reach {
  int stripes;
  unsigned shift;
  uint32_t mask, causalMask;
};
constexpr std::array<Reach, 4> reaches = {
    {{-1, 15, 1, 0}, {-1, 0, 0, 0}, {-1, 0, 0, 0}, {1, 0, 1, 1}}};

/// Neighbours behind a coefficient in the order of coding, by its row; as seen from its bit.
constexpr std::array<Map, 4> laterNeighbours = {0x32, 0x3A, 0x3A, 0x18};

/// One coefficient and its surroundings. There are no branches on its row: nobody could foresee
/// them.
class Place {
 public:
  Place(Column* at, unsigned row, const Block& block) : at_(at), row_(row), block_(block) {}

  unsigned zeroContext(const uint8_t* contexts) const {
    return contexts[at_->significant >> 3 * row_ & 0x1FF];
  }
  unsigned signContext() const {
    return signContexts[(at_->significant >> (3 * row_ + 1) & 0x55) |
                        (at_->negative >> 3 * row_ & 0xAA)];
  }
  [[gnu::always_inline]] void setSignificant() const {
    const uint32_t mark = uint32_t{1} << 3 * row_;
    at_[-1].significant |= mark << 5;
    at_[0].significant |= mark << 4;
    at_[1].significant |= mark << 3;
    const uint32_t far = mask() << reaches[row_].shift;
    reached()[-1].significant |= far << 2;
    reached()[0].significant |= far << 1;
    reached()[1].significant |= far;
  }
  /// Signs are looked at by the next in a row and in a column only.
  [[gnu::always_inline]] void setNegative(uint32_t negative) const {
    const uint32_t mark = negative << 3 * row_;
    at_[-1].negative |= mark << 5;
    at_[0].negative |= mark << 4;
    at_[1].negative |= mark << 3;
    reached()->negative |= (mask() & negative) << reaches[row_].shift << 1;
  }

 private:
  Column* reached() const { return at_ + reaches[row_].stripes * block_.pitch(); }
  uint32_t mask() const { return block_.causal ? reaches[row_].causalMask : reaches[row_].mask; }
  Column* at_;
  unsigned row_;
  const Block& block_;
};

template <class Coder>
[[gnu::always_inline]] inline void becomeSignificant(const Place& place, unsigned context,
                                                     int plane, Coder& coder, uint32_t* sample) {
  place.setSignificant();
  const uint32_t negative = coder.sign(context);
  place.setNegative(negative);
  *sample = (uint32_t{3} << plane >> 1) | negative << 31;
}

/// Coefficients that are not significant but have a neighbour that is.
template <class Coder>
[[gnu::noinline]] void significancePass(DecodeState* state, int plane) {
  const Block block = state->block;
  const uint8_t* const contexts = zeroContexts[size_t(block.band)].data();
  Coder coder(*state);
  for (Words at(block); at.more(); at.next()) {
    Map significant = state->significant[at.map];
    const Map open = at.inside & ~significant;
    Map todo = neighbours8(block, &state->significant[at.map]) & open;
    Map visited = todo;
    while (todo != 0) {
      const unsigned bit = unsigned(std::countr_zero(todo));
      todo &= todo - 1;
      const Place place(&state->column[at.column + int(bit / 4)], bit % 4, block);
      const unsigned signContext = place.signContext();  // early, or it would be waited for
      if (coder.decide(place.zeroContext(contexts)) == 0) continue;
      significant |= Map{1} << bit;
      const Map more = laterNeighbours[bit % 4] << bit & open;
      todo |= more;
      visited |= more;
      becomeSignificant(place, signContext, plane, coder, &state->sample[at.sample + int(bit)]);
    }
    state->significant[at.map] = significant;
    state->visited[at.map] = visited;
  }
  coder.keep(state);
}

/// Coefficients that were significant before this plane. Samples hold the middle of what is still
/// possible.
template <class Coder>
[[gnu::noinline]] void refinementPass(DecodeState* state, int plane) {
  const Block block = state->block;
  const uint32_t step = uint32_t{1} << plane;
  Coder coder(*state);
  for (Words at(block); at.more(); at.next()) {
    const Map all = state->significant[at.map] & ~state->visited[at.map];
    const Map refined = state->refined[at.map];
    const Map near = neighbours8(block, &state->significant[at.map]) & ~refined;
    state->refined[at.map] = refined | all;
    for (Map todo = all; todo != 0; todo &= todo - 1) {
      const unsigned bit = unsigned(std::countr_zero(todo));
      const unsigned context =
          contextRefine + unsigned(near >> bit & 1) + 2 * unsigned(refined >> bit & 1);
      uint32_t* const sample = &state->sample[at.sample + int(bit)];
      *sample = (*sample ^ (coder.decide(2 * context) ^ 1) << plane) | step >> 1;
    }
  }
  coder.keep(state);
}

/// All others, whole columns at once where nothing is significant around them. False when the mark
/// behind them is missing.
[[gnu::noinline]] bool cleanupPass(DecodeState* state, int plane) {
  const Block block = state->block;
  const uint8_t* const contexts = zeroContexts[size_t(block.band)].data();
  MqCoder coder(*state);
  for (Words at(block); at.more(); at.next()) {
    Map significant = state->significant[at.map];
    Map todo = at.inside & ~significant & ~state->visited[at.map];
    state->visited[at.map] = 0;
    const Map busy = significant | neighbours8(block, &state->significant[at.map]) | ~at.inside;
    Map quiet = ~(busy | busy >> 1 | busy >> 2 | busy >> 3) & topRows;  // whole columns
    while (todo != 0) {
      unsigned bit = unsigned(std::countr_zero(todo));
      Column* const column = &state->column[at.column + int(bit / 4)];
      if ((quiet >> bit & 1) != 0) {
        if (coder.decide(2 * contextRun) == 0) {
          todo &= ~(Map{15} << bit);
          continue;
        }
        const unsigned row = coder.uniform(2);
        todo &= ~(((Map{2} << row) - 1) << bit);
        bit += row;
      } else {
        todo &= todo - 1;
        const Place place(column, bit % 4, block);
        if (coder.decide(place.zeroContext(contexts)) == 0) continue;
      }
      significant |= Map{1} << bit;
      quiet &= ~(Map{16} << (bit & ~3u));
      const Place place(column, bit % 4, block);
      becomeSignificant(place, place.signContext(), plane, coder,
                        &state->sample[at.sample + int(bit)]);
    }
    state->significant[at.map] = significant;
  }
  const bool marked = (state->style & rkdCodeBlockSegSym) == 0 || coder.uniform(4) == 10;
  coder.keep(state);
  return marked;
}

template <class Coder>
void codeBits(DecodeState* state, PassKind kind, int plane) {
  if (kind == PassKind::significance) {
    significancePass<Coder>(state, plane);
  } else {
    refinementPass<Coder>(state, plane);
  }
}

/// Whether the style promises that the segment ends behind a pass, and how.
bool endsPredictably(const DecodeState& state, int pass) {
  return (state.style & rkdCodeBlockPredTerm) != 0 &&
         (endsSegment(pass, state.style) || pass == 3 * state.bitPlanes - 3);
}

RkdStatus decodePass(DecodeState* state, const uint8_t* src) {
  const int k = state->done;
  const bool raw = isRaw(k, state->style);
  if (k == 0 || endsSegment(k - 1, state->style)) {
    const uint8_t* const end = src + state->segmentEnd[k];
    if (raw) {
      state->rawReader.start(src + state->position, end);
    } else {
      state->mq.start(src + state->position, end);
    }
    state->begin = state->position;
    state->position = state->segmentEnd[k];
  }
  const PassKind kind = passKind(k);
  const int plane = state->bitPlanes - 1 - passPlane(k);
  RkdStatus status = rkdStsNoErr;
  if (kind == PassKind::cleanup) {
    if (!cleanupPass(state, plane)) status = rkdStsDataErr;
  } else if (raw) {
    codeBits<RawCoder>(state, kind, plane);
  } else {
    codeBits<MqCoder>(state, kind, plane);
  }
  if ((state->style & rkdCodeBlockReset) != 0) state->contexts.reset();
  if (endsPredictably(*state, k)) {
    const bool asSent =
        raw ? state->rawReader.isEndPredictable() : state->mq.isEndPredictable(src + state->begin);
    if (!asSent) status = rkdStsDataErr;
  }
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
  const int last = std::min(state->passes, state->done + passes);
  while (state->done < last && state->damage == rkdStsNoErr) {
    state->damage = decodePass(state, src);
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
  const bool halves = (style & rkdCodeBlockHalves) != 0;
  style &= ~rkdCodeBlockHalves;
  if (const RkdStatus status = firstOf(checkPointers(state), checkCodeBlock(size, band, style))) {
    return status;
  }
  if (length < 0) return rkdStsSizeErr;
  if (bitPlanes < 0 || bitPlanes > rkdCodeBlockMaxPlanes - int(halves) || passes < 0 ||
      passes > std::max(0, 3 * bitPlanes - 2) || segments < 0) {
    return rkdStsBadArgErr;
  }
  if (segments > 0 && lengths == nullptr) return rkdStsNullPtrErr;
  if (const RkdStatus status = checkObject<DecodeState>(state)) return status;
  DecodeState* const inside = insideOf<DecodeState>(state);
  inside->loaded = false;
  inside->damage = rkdStsNoErr;
  inside->block = blockOf(size, band, style);
  inside->style = style;
  inside->halves = halves;
  inside->bitPlanes = bitPlanes;
  inside->passes = passes;
  inside->done = inside->position = 0;
  inside->length = length;
  if (!placeSegments(lengths, segments, length, inside)) return rkdStsBadArgErr;
  inside->contexts.reset();
  for (Map* const map : {inside->significant, inside->visited, inside->refined}) {
    std::memset(map, 0, size_t(inside->block.mapWords()) * sizeof(Map));
  }
  std::memset(inside->column, 0, size_t(inside->block.marginColumns()) * sizeof(Column));
  std::memset(inside->sample, 0, size_t(inside->block.columns()) * 4 * sizeof(uint32_t));
  inside->loaded = true;
  return rkdStsNoErr;
}

// ---- what a caller gets ----

int32_t withSign(uint32_t magnitude, uint32_t sample) {
  const uint32_t sign = uint32_t(int32_t(sample) >> 31);
  return int32_t((magnitude ^ sign) - sign);
}

/// The plane of the last pass, and who of a word was decoded down to it: the others have the plane
/// above.
int lastPlane(const DecodeState& state) {
  return state.done == 0 ? state.bitPlanes : state.bitPlanes - 1 - passPlane(state.done - 1);
}
Map atLastPlane(const DecodeState& state, int map) {
  const PassKind kind = state.done == 0 ? PassKind::cleanup : passKind(state.done - 1);
  if (kind == PassKind::cleanup) return ~Map{0};
  const Map visited = state.visited[map];
  return kind == PassKind::significance ? visited : visited | state.significant[map];
}

/// Stores what `make` makes of each sample, four to a column, and of the column's bits of a map.
template <class T, class Make>
void store(const DecodeState& state, T* dst, int dstStep, Make make) {
  for (Words at(state.block); at.more(); at.next()) {
    const Map last = atLastPlane(state, at.map);
    const int left = at.index % state.block.words() * 16;
    const int top = at.index / state.block.words() * 4;
    const int columns = std::min(16, state.block.width - left);
    const int rows = std::min(4, state.block.height - top);
    for (int r = 0; r < rows; ++r) {
      char* const row = reinterpret_cast<char*>(rowAt(dst, dstStep, top + r) + left);
      for (int x = 0; x < columns; ++x) {
        const int bit = 4 * x + r;
        const T value = make(state.sample[at.sample + bit], unsigned(last >> bit & 1));
        std::memcpy(row + size_t(x) * sizeof value, &value, sizeof value);
      }
    }
  }
}

/// Magnitudes in halves: a bit more where the sample is exact.
struct Halves {
  unsigned isPlane0;  ///< whether the last pass was in plane 0
  explicit Halves(const DecodeState& state) : isPlane0(lastPlane(state) == 0 ? 1 : 0) {}
  uint32_t of(uint32_t sample, unsigned last) const {
    return sample << 1 | (last & isPlane0 & unsigned(sample != 0));
  }
};

void storeIntegers(const DecodeState& state, int32_t* dst, int dstStep) {
  if (!state.halves) {
    store(state, dst, dstStep,
          [](uint32_t sample, unsigned) { return withSign(sample & 0x7FFFFFFF, sample); });
    return;
  }
  store(state, dst, dstStep, [halves = Halves(state)](uint32_t sample, unsigned last) {
    return withSign(halves.of(sample, last), sample);
  });
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
  storeIntegers(*inside, dst, dstStep);
  return rkdStsNoErr;
}

RkdStatus rkdiDecodeCBProgrGet_JPEG2K_32f_C1R(float* dst, int dstStep, float scale,
                                              const RkdiDecodeCodeBlockState* state) {
  if (const RkdStatus status = firstOf(checkPointers(dst), checkStarted(state))) return status;
  const DecodeState* const inside = insideOf<DecodeState>(state);
  if (const RkdStatus status = checkStep<float>(dstStep, inside->block.width)) return status;
  store(*inside, dst, dstStep,
        [halves = Halves(*inside), half = 0.5 * double{scale}](uint32_t sample, unsigned last) {
          const double magnitude = half * double(halves.of(sample, last));
          return float(int32_t(sample) < 0 ? -magnitude : magnitude);
        });
  return rkdStsNoErr;
}

RkdStatus rkdiDecodeCBProgrGetPlanes_JPEG2K_8u_C1R(uint8_t* dst, int dstStep,
                                                   const RkdiDecodeCodeBlockState* state) {
  if (const RkdStatus status = firstOf(checkPointers(dst), checkStarted(state))) return status;
  const DecodeState* const inside = insideOf<DecodeState>(state);
  if (const RkdStatus status = checkStep<uint8_t>(dstStep, inside->block.width)) return status;
  store(*inside, dst, dstStep, [plane = unsigned(lastPlane(*inside))](uint32_t, unsigned last) {
    return uint8_t(plane + 1 - last);
  });
  return rkdStsNoErr;
}

RkdStatus rkdiDecodeCodeBlock_JPEG2K_1u32s_C1R(const uint8_t* src, int length, const int* lengths,
                                               int segments, int32_t* dst, int dstStep,
                                               RkdiSize size, int band, int style, int bitPlanes,
                                               int passes, RkdiDecodeCodeBlockState* state) {
  if (const RkdStatus status = firstOf(checkBytes(src, length), checkPointers(dst),
                                       checkCodeBlock(size, band, style & ~rkdCodeBlockHalves),
                                       checkStep<int32_t>(dstStep, size.width))) {
    return status;
  }
  if (const RkdStatus status =
          start(length, lengths, segments, size, band, style, bitPlanes, passes, state)) {
    return status;
  }
  DecodeState* const inside = insideOf<DecodeState>(state);
  const RkdStatus status = decodePasses(inside, src, rkdCodeBlockMaxPasses);
  storeIntegers(*inside, dst, dstStep);
  return status;
}
