// The passes over a code block's bit planes, as a decoder makes them. Compiled per level for shifts
// and counts in one step, of which every decision has several.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "jpeg2000/passdecode.cpp"
#include "hwy/foreach_target.h"
#include "hwy/highway.h"

#include <algorithm>
#include <array>
#include <bit>

#include "common/levels.h"
#include "jpeg2000/decodecontexts.h"
#include "jpeg2000/decodestate.h"

// Without a level's vectors, which HWY_BEFORE_NAMESPACE would allow: g++ would put numbers that it
// has no register for into vector registers, amid the chain from one decision to the next.
#if HWY_TARGET <= HWY_AVX2
HWY_PUSH_ATTRIBUTES("lzcnt,bmi,bmi2")
#else
HWY_PUSH_ATTRIBUTES("sse2")
#endif
namespace rkd::HWY_NAMESPACE {
namespace {

using namespace j2k;

// ---- decisions: a coder decodes one a call, zero coding or whatever the context says ----

class MqCoder {
 public:
  explicit MqCoder(const DecodeState& state) : mq_(state.mq), contexts_(state.contexts) {}

  [[gnu::always_inline]] unsigned decide(unsigned context) {
    return mq_.decode(&contexts_.entry[context]);
  }
  [[gnu::always_inline]] unsigned sign(unsigned context) {
    return decide(context & 0x7F) ^ context >> 7;
  }
  [[gnu::always_inline]] unsigned uniform(int bits) {
    unsigned value = 0;
    while (bits-- > 0) value = 2 * value + decide(contextUniform);
    return value;
  }
  void keep(DecodeState* state) const {
    state->mq = mq_;
    state->contexts = contexts_;
  }

 private:
  MqDecoder mq_;
  MqDecoderContexts contexts_;
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
    Column* const columns = &state->column[at.column];
    while (todo != 0) {
      const unsigned bit = unsigned(std::countr_zero(todo));
      todo &= todo - 1;
      const Place place(columns + bit / 4, bit % 4, block);
      if (coder.decide(place.zeroContext(contexts)) == 0) continue;
      significant |= Map{1} << bit;
      const Map more = laterNeighbours[bit % 4] << bit & open;
      todo |= more;
      visited |= more;
      becomeSignificant(place, place.signContext(), plane, coder,
                        &state->sample[at.sample + int(bit)]);
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
      *sample = (*sample ^ (coder.decide(context) ^ 1) << plane) | step >> 1;
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
    Column* const columns = &state->column[at.column];
    while (todo != 0) {
      unsigned bit = unsigned(std::countr_zero(todo));
      Column* const column = columns + bit / 4;
      if ((quiet >> bit & 1) != 0) {
        if (coder.decide(contextRun) == 0) {
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

RkdStatus decode(DecodeState* state, const uint8_t* src, int passes) {
  const uint8_t none = 0;
  if (src == nullptr) src = &none;
  const int last = std::min(state->passes, state->done + passes);
  while (state->done < last && state->damage == rkdStsNoErr) {
    state->damage = decodePass(state, src);
  }
  return state->damage;
}

}  // namespace
}  // namespace rkd::HWY_NAMESPACE
HWY_POP_ATTRIBUTES

#if HWY_ONCE
namespace rkd {
HWY_EXPORT(decode);
namespace j2k {

RkdStatus decodePasses(DecodeState* state, const uint8_t* src, int passes) {
  return RKD_AT_LEVEL(decode)(state, src, passes);
}

}  // namespace j2k
}  // namespace rkd
#endif
