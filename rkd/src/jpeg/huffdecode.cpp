// Sequential blocks decoded (with a state, direct, and many in a call), and single values.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "jpeg/huffdecode.cpp"
#include "hwy/foreach_target.h"
#include "hwy/highway.h"

#include "common/levels.h"
#include "jpeg/huffbits-inl.h"

// What all levels share, once.
#ifndef RKD_JPEG_HUFFDECODE_CPP_
#define RKD_JPEG_HUFFDECODE_CPP_
#include <limits>

namespace rkd::huff {

/// The arguments of a call for many blocks.
struct UnitsCall {
  const uint8_t* stream;
  int length;
  int* position;
  int16_t* dst;
  uint8_t* last;
  int units;
  const uint8_t* component;
  int blocksInUnit;
  int* previousDC;
  int* marker;
  const RkdiDecodeHuffmanSpec* const* dcSpec;
  const RkdiDecodeHuffmanSpec* const* acSpec;
  RkdiDecodeHuffmanState* state;
  int* decoded;

  int blocks() const { return units * blocksInUnit; }
  int componentOf(int block) const { return component[block % blocksInUnit]; }
};

/// What a block of a unit is coded with.
struct UnitBlock {
  DecodeTable dc{nullptr}, ac{nullptr};
};

/// A number of blocks in a row: by block the steps of its ACs, and those that follow its end.
struct UnitPart {
  static constexpr int kBlocks = 128;
  const uint8_t* acSteps[kBlocks];
  const uint8_t* nextDCSteps[kBlocks];
  const UnitBlock* tables[kBlocks];
  uint8_t behind[kBlocks];  ///< receives in the low six bits where its coefficients end, and one
  size_t count;
};

/// The zigzag order at an address whose low six bits are the position.
alignas(128) constexpr std::array<uint8_t, 64> zigzagAligned = zigzag;

}  // namespace rkd::huff
#endif

HWY_BEFORE_NAMESPACE();
RKD_PUSH_LZCNT
namespace rkd::HWY_NAMESPACE {
namespace {

/// Steps that the bits taken in once are enough for: no check each time whether they are.
constexpr int kSteps = 3;
constexpr int kBitsOfSteps = kSteps * int(StepEntry::mostBits);
static_assert(kBitsOfSteps <= 56);

/// Why a symbol cannot stand there: what the stream does not have reads as zeros.
template <class Reader>
HWY_INLINE RkdStatus symbolStatus(const Reader& reader) {
  return reader.isOverrun() ? rkdStsSrcEndErr : rkdStsDataErr;
}

/// Reads AC coefficients from `k` on symbol by symbol: `count` of them or up to the end of the
/// block, which leaves k at 64.
template <class Reader>
HWY_INLINE RkdStatus takeSymbols(Reader& reader, int16_t* dst, DecodeTable ac, unsigned& k,
                                 int count) {
  for (; count > 0 && k < 64; --count) {
    reader.need32();
    const auto [entry, value] = nextSymbol(reader, ac);
    if (HWY_UNLIKELY(entry.word == 0)) return codeStatus(reader);
    k += entry.run();
    if (HWY_UNLIKELY(k > 63)) {
      if (entry.run() != DecodeEntry::ends) return symbolStatus(reader);
      k = 63;
    } else {
      dst[zigzag[k]] = int16_t(value);
    }
    ++k;
  }
  return rkdStsNoErr;
}

constexpr unsigned kStepShift = 64 - DecodeSpecLayout::stepBits;

/// What the bits in front tell by one of a specification's tables.
struct Step : StepEntry {
  HWY_INLINE Step(const uint8_t* table, uint64_t bits)
      : StepEntry{0}, entry(table + 8 * (bits >> kStepShift)) {
    word = load<uint64_t>(entry);
  }
  /// Stores its coefficients, which begin at a place of the zigzag order.
  HWY_INLINE void store(uint64_t bits, const uint8_t* place, int16_t* dst) const {
    const size_t second = place[entry[6]], first = place[entry[2]];
    const auto secondValue = static_cast<int8_t>(entry[7]);
    const int16_t value = firstValue(bits, load<uint16_t>(entry + 4));
    dst[second] = secondValue;
    dst[first] = value;
  }
  const uint8_t* entry;
};

/// Makes a block zero. Some compilers turn the memset of so many bytes into a string operation that
/// takes as long as a short block.
HWY_INLINE void clearBlock(int16_t* dst) {
  namespace hn = hwy::HWY_NAMESPACE;
  const hn::ScalableTag<int16_t> d;
  for (size_t i = 0; i < 64; i += hn::Lanes(d)) hn::StoreU(hn::Zero(d), d, dst + i);
}

/// Reads the coefficients of one block. A caller's DC changes with the call's success only.
template <class Reader>
HWY_INLINE RkdStatus takeBlock(Reader& reader, int16_t* dst, int previousDC, DecodeTable dc,
                               DecodeTable ac) {
  clearBlock(dst);
  reader.need32();
  const Symbol difference = nextSymbol(reader, dc);
  if (HWY_UNLIKELY(difference.entry.word == 0)) return codeStatus(reader);
  if (HWY_UNLIKELY(!isDctDifference(difference))) return symbolStatus(reader);
  dst[0] = int16_t(previousDC + difference.value);

  // Bits that short steps are enough for: what was read ahead often is, and a block is at its end
  // before more must be taken in. Later ones of a round are long in few blocks.
  constexpr int kRound = 4, kBitsOfRound = 40;
  constexpr int kUnchecked = kBitsOfRound / int(StepEntry::mostBits);
  const uint8_t* const acSteps = ac.acSteps();
  for (unsigned k = 1;;) {
    reader.need(kBitsOfRound);
    HWY_UNROLL(kRound)
    for (int i = 0; i < kRound; ++i) {
      const Step step(acSteps, reader.bits());
      const unsigned next = k + step.advance();
      // No step, or beyond position 63: damaged data, or a block that is full before the second
      // symbol, which then is not its own.
      if (HWY_UNLIKELY((next & 64) != 0)) {
        if (const RkdStatus status = takeSymbols(reader, dst, ac, k, 1)) return status;
        if (k == 64) return rkdStsNoErr;
        break;
      }
      if (i >= kUnchecked && HWY_UNLIKELY(reader.count() < int(step.length()))) break;
      step.store(reader.bits(), zigzag.data() + k, dst);
      reader.skip(unsigned(step.word), step.length());
      if ((next & StepEntry::blockEnd) != 0) return rkdStsNoErr;
      k = next;
    }
  }
}

/// A block that could not be read to its end, once more: what it has in front of the fault. Returns
/// how many coefficients these are.
template <class Reader>
HWY_NOINLINE unsigned takeBeforeFault(Reader reader, int16_t* dst, int previousDC, DecodeTable dc,
                                      DecodeTable ac) {
  std::memset(dst, 0, 64 * sizeof *dst);
  reader.need32();
  const Symbol difference = nextSymbol(reader, dc);
  if (difference.entry.word == 0 || !isDctDifference(difference) || reader.isOverrun()) return 0;
  dst[0] = int16_t(previousDC + difference.value);
  return takeWholeOnes(reader, dst, ac, 1, 63, 0);
}

RkdStatus decodeBlock(const uint8_t* stream, int length, int* position, int16_t* dst,
                      int* previousDC, int* marker, const RkdiDecodeHuffmanSpec* dcSpec,
                      const RkdiDecodeHuffmanSpec* acSpec, RkdiDecodeHuffmanState* state) {
  if (anyNull(stream, position, dst, previousDC, dcSpec, acSpec, state)) return rkdStsNullPtrErr;
  if (const RkdStatus status = checkStream(length, *position)) return status;
  if (!isKind(state, Kind::decodeState) || !isKind(dcSpec, Kind::decodeSpec) ||
      !isKind(acSpec, Kind::decodeSpec)) {
    return rkdStsContextErr;
  }
  const DecodeTable dc(dcSpec), ac(acSpec);
  StateReader reader(stream, length, *position, state);
  RkdStatus status = takeBlock(reader, dst, *previousDC, dc, ac);
  if (HWY_LIKELY(status == rkdStsNoErr)) status = reader.commit(stream, position, marker, state);
  if (HWY_UNLIKELY(status != rkdStsNoErr)) {
    const StateReader again(stream, length, *position, state);
    RKD_STATE_STORE(DecodeState, state, reached, takeBeforeFault(again, dst, *previousDC, dc, ac));
    return status;
  }
  *previousDC = dst[0];
  return rkdStsNoErr;
}

RkdStatus decodeBlockDirect(const uint8_t* stream, int length, int* position, int16_t* dst,
                            int* previousDC, const RkdiDecodeHuffmanSpec* dcSpec,
                            const RkdiDecodeHuffmanSpec* acSpec) {
  const DecodeTable dc(dcSpec), ac(acSpec);
  BitReader<false> reader(0, 0, stream + (*position >> 3), stream + length);
  reader.fill();
  reader.skip(unsigned(*position & 7));
  const BitReader<false> again = reader;
  RkdStatus status = takeBlock(reader, dst, *previousDC, dc, ac);
  if (HWY_UNLIKELY(status == rkdStsNoErr && reader.isOverrun())) status = rkdStsSrcEndErr;
  if (HWY_UNLIKELY(status != rkdStsNoErr)) {
    takeBeforeFault(again, dst, *previousDC, dc, ac);
    return status;
  }
  *position = int(8 * (reader.next() - stream)) - reader.count();
  *previousDC = dst[0];
  return rkdStsNoErr;
}

RkdStatus decodeOne(const uint8_t* stream, int length, int* position, int16_t* dst, int* marker,
                    const RkdiDecodeHuffmanSpec* spec, RkdiDecodeHuffmanState* state) {
  *dst = 0;
  RKD_STATE_STORE(DecodeState, state, reached, 0);
  StateReader reader(stream, length, *position, state);
  reader.need32();
  const Symbol symbol = nextSymbol(reader, DecodeTable(spec));
  if (HWY_UNLIKELY(symbol.entry.word == 0)) return codeStatus(reader);
  if (HWY_UNLIKELY(!isDifference(symbol))) return symbolStatus(reader);
  if (const RkdStatus status = reader.commit(stream, position, marker, state)) return status;
  *dst = int16_t(differenceOf(symbol));
  return rkdStsNoErr;
}

// ---------------------------------------------------------------------------------------------
// Many blocks
//
// Where a block ends cannot be predicted, so the walk over blocks does not branch on it: the end of
// a block moves everything on by conditional moves. Behind the last block there are no steps. DCs
// stay differences until all blocks are read.

/// A place in the blocks of a part.
struct UnitWalk {
  StateReader reader;
  int16_t* dst;  ///< the block; zeros from here on
  size_t block = 0;
  unsigned k = 0;       ///< place of the next coefficient; 0: the DC
  uintptr_t plain = 0;  ///< as StepBits left it

  HWY_INLINE void nextBlock(UnitPart& part) {
    part.behind[block++] = uint8_t(k);
    dst += 64;
    k = 0;
  }
};

/// One symbol with every check.
RkdStatus takeSymbol(UnitWalk& walk, UnitPart& part) {
  StateReader& reader = walk.reader;
  reader.need32();
  const UnitBlock& tables = *part.tables[walk.block];
  const auto [entry, value] = nextSymbol(reader, walk.k == 0 ? tables.dc : tables.ac);
  if (entry.word == 0) return codeStatus(reader);
  if (walk.k > 0 && entry.run() == DecodeEntry::ends) {
    walk.nextBlock(part);
  } else {
    const unsigned place = walk.k == 0 ? entry.run() & ~DecodeEntry::ends : walk.k + entry.run();
    if (place > (walk.k == 0 ? 0u : 63u)) return symbolStatus(reader);
    walk.dst[zigzag[place]] = int16_t(value);
    walk.k = place + 1;
    if (walk.k == 64) walk.nextBlock(part);
  }
  return reader.isOverrun() ? rkdStsSrcEndErr : rkdStsNoErr;
}

/// The bits that steps are looked up by. What stands below them are those that follow, or zeros:
/// up to the next 0xFF whole words are taken in without a look at their bytes.
class StepBits {
 public:
  HWY_INLINE explicit StepBits(const UnitWalk& walk) : end_(walk.reader.end()), plain_(walk.plain) {
    takeOver(walk.reader);
  }
  HWY_INLINE void giveBack(UnitWalk& walk) const {
    walk.reader = reader();
    walk.plain = plain_;
  }
  uint64_t bits() const { return bits_; }
  bool hasBitsOfSteps() const { return uint8_t(count_) >= kBitsOfSteps; }
  /// At most 64 bits in all between two calls of fill.
  HWY_INLINE void skip(uint64_t shift, unsigned count) {
    bits_ <<= shift & 63;
    count_ -= count;
  }
  /// Takes in whole bytes as 63 bits allow.
  HWY_INLINE void fill() {
    if (HWY_UNLIKELY(uintptr_t(next_) > plain_)) {
      fillBehindPlain();
      return;
    }
    const unsigned count = uint8_t(count_);
    bits_ |= loadBits(next_) >> (count & 63);
    next_ += (63 - count) >> 3;
    count_ = count | 56;
  }

 private:
  void takeOver(const StateReader& reader) {
    bits_ = reader.bits();
    count_ = unsigned(reader.count());
    next_ = reader.next();
  }
  StateReader reader() const {
    const int count = int(uint8_t(count_));
    return {bits_ & ~(~uint64_t{0} >> count), count, next_, end_};
  }
  /// Out of line on copies, so that the members can stay in registers.
  void fillBehindPlain() {
    StepBits behind = *this;
    fillSlowly(&behind);
    *this = behind;
  }
  HWY_NOINLINE static void fillSlowly(StepBits* bits) {
    StateReader reader = bits->reader();
    reader.fill();
    bits->takeOver(reader);
    if (uintptr_t(bits->next_) > bits->plain_ + kWord) bits->findPlain();
  }
  void findPlain() {
    constexpr ptrdiff_t kMost = 4096;
    const size_t length = size_t(std::min(end_ - next_, kMost));
    const void* const found = length > 0 ? std::memchr(next_, 0xFF, length) : nullptr;
    const uint8_t* const end =
        found != nullptr ? static_cast<const uint8_t*>(found) : next_ + length;
    plain_ = uintptr_t(end) - kWord;
  }

  static constexpr uintptr_t kWord = 8;
  uint64_t bits_;
  unsigned count_;  ///< in its low byte
  const uint8_t* next_;
  const uint8_t* end_;
  uintptr_t plain_;  ///< up to here eight bytes without 0xFF can be read
};

/// Where the next step goes. As a branch the end of a block would be mispredicted nearly every
/// time; the compiler is not to make one of it.
struct StepPlace {
  const uint8_t* steps;
  const uint8_t* zigzagPlace;
  int16_t* dst;
  size_t block;

  HWY_INLINE void moveTo(const uint8_t* nextPlace, unsigned word, const UnitPart& part) {
    int16_t* const nextBlock = dst + 64;
    steps = part.acSteps[block];
    zigzagPlace = nextPlace;
    asm("bt $15, %[word]\n\t"
        "cmovc %[nextDC], %[steps]\n\t"
        "cmovc %[nextBlock], %[dst]\n\t"
        "cmovc %[start], %[place]\n\t"
        "adc $0, %[block]"
        : [steps] "+&r"(steps), [dst] "+&r"(dst), [place] "+&r"(zigzagPlace), [block] "+&r"(block)
        : [word] "r"(word), [nextDC] "rm"(part.nextDCSteps[block]), [nextBlock] "r"(nextBlock),
          [start] "rm"(zigzagAligned.data())
        : "cc");
  }
  unsigned k() const { return unsigned(uintptr_t(zigzagPlace)) & 63; }
  /// Takes a coefficient whose code no step knows; false, and nothing taken, if it is none that
  /// stands inside the block, or if there may not be bits enough.
  HWY_INLINE bool takeLongCode(StepBits& reader, const UnitBlock& tables) {
    reader.fill();
    if (HWY_UNLIKELY(k() == 0 || !reader.hasBitsOfSteps())) return false;
    const uint64_t bits = reader.bits();
    DecodeEntry entry = tables.ac.look(bits);
    if (entry.word == 0) entry = tables.ac.search(bits);
    const unsigned place = k() + entry.run();
    if (HWY_UNLIKELY(entry.word == 0 || place > 62)) return false;
    dst[zigzag[place]] = int16_t(entry.value(bits));
    reader.skip(entry.length(), entry.length());
    zigzagPlace = zigzagAligned.data() + place + 1;
    return true;
  }
};
static_assert(StepEntry::blockEnd << 8 == 1 << 15);

/// Takes steps to the end of the part, or to where one symbol at a time must be looked at.
HWY_INLINE void takeSteps(UnitWalk& walk, UnitPart& part) {
  const UnitBlock& first = *part.tables[walk.block];
  StepBits reader(walk);
  StepPlace at{walk.k == 0 ? first.dc.dcSteps() : part.acSteps[walk.block],
               zigzagAligned.data() + walk.k, walk.dst, walk.block};
  for (;;) {
    reader.fill();
    if (HWY_UNLIKELY(!reader.hasBitsOfSteps())) break;
    bool knowsStep = true;
    HWY_UNROLL(kSteps)
    for (int i = 0; i < kSteps; ++i) {
      const uint64_t bits = reader.bits();
      const Step step(at.steps, bits);
      const uint8_t* const next = at.zigzagPlace + step.advance();
      knowsStep = (uintptr_t(next) & 64) == 0;
      if (HWY_UNLIKELY(!knowsStep)) break;
      step.store(bits, at.zigzagPlace, at.dst);
      part.behind[at.block] = uint8_t(uintptr_t(next));
      reader.skip(step.word, unsigned(step.word));
      at.moveTo(next, unsigned(step.word), part);
    }
    if (HWY_LIKELY(knowsStep)) continue;
    if (at.block == part.count || !at.takeLongCode(reader, *part.tables[at.block])) break;
  }
  reader.giveBack(walk);
  walk.dst = at.dst;
  walk.block = at.block;
  walk.k = at.k();
}

/// Reads the blocks of a part from the walk's place on.
RkdStatus walkUnits(UnitWalk& walk, UnitPart& part) {
  while (walk.block < part.count) {
    takeSteps(walk, part);
    if (walk.block == part.count) break;
    if (const RkdStatus status = takeSymbol(walk, part)) return status;
  }
  return rkdStsNoErr;
}

/// What blocks of a call from one on are coded with.
void linkUnits(const UnitsCall& call, const UnitBlock* unit, int first, int count, UnitPart* part) {
  int b = first % call.blocksInUnit;
  for (int i = 0; i < count; ++i) {
    const int after = b + 1 < call.blocksInUnit ? b + 1 : 0;
    part->acSteps[i] = unit[b].ac.acSteps();
    part->nextDCSteps[i] = unit[after].dc.dcSteps();
    part->tables[i] = unit + b;
    b = after;
  }
  part->nextDCSteps[count - 1] = reinterpret_cast<const uint8_t*>(kNoSteps.data());
  part->count = size_t(count);
}

/// From differences to DCs.
void addPredictions(const UnitsCall& call) {
  for (int b = 0; b < call.blocksInUnit; ++b) {
    const int component = call.component[b];
    bool isFirst = true;
    for (int i = 0; i < b; ++i) isFirst &= call.component[i] != component;
    if (!isFirst) continue;
    int dc = call.previousDC[component];
    int16_t* unit = call.dst;
    for (int u = 0; u < call.units; ++u, unit += ptrdiff_t{64} * call.blocksInUnit) {
      for (int i = b; i < call.blocksInUnit; ++i) {
        if (call.component[i] != component) continue;
        int16_t* const block = unit + 64 * i;
        dc = block[0] = int16_t(dc + block[0]);
      }
    }
    call.previousDC[component] = dc;
  }
}

/// The last position of coefficients that end in front of one.
constexpr uint8_t lastOf(unsigned behind) { return uint8_t((behind - 1) & 63); }

/// Each block by itself, up to the one that cannot be decoded.
RkdStatus decodeOneByOne(const UnitsCall& call, const UnitBlock* unit) {
  UnitPart part;
  for (int i = 0; i < call.blocks(); ++i) {
    int16_t* const block = call.dst + ptrdiff_t{64} * i;
    std::memset(block, 0, 64 * sizeof *block);
    linkUnits(call, unit, i, 1, &part);
    UnitWalk walk{StateReader(call.stream, call.length, *call.position, call.state), block};
    int* const previousDC = call.previousDC + call.componentOf(i);
    *call.decoded = i;
    RkdStatus status = walkUnits(walk, part);
    if (status == rkdStsNoErr) {
      status = walk.reader.commit(call.stream, call.position, call.marker, call.state);
    }
    if (status != rkdStsNoErr) {
      return decodeBlock(call.stream, call.length, call.position, block, previousDC, call.marker,
                         call.dcSpec[call.componentOf(i)], call.acSpec[call.componentOf(i)],
                         call.state);
    }
    *previousDC = block[0] = int16_t(*previousDC + block[0]);
    call.last[i] = lastOf(part.behind[0]);
  }
  *call.decoded = call.blocks();
  return rkdStsNoErr;
}

RkdStatus decodeUnits(const UnitsCall& call) {
  UnitBlock unit[RKD_HUFFMAN_UNIT_BLOCKS];
  for (int b = 0; b < call.blocksInUnit; ++b) {
    unit[b] = {DecodeTable(call.dcSpec[call.component[b]]),
               DecodeTable(call.acSpec[call.component[b]])};
  }
  std::memset(call.dst, 0, size_t(call.blocks()) * 64 * sizeof *call.dst);
  UnitWalk walk{StateReader(call.stream, call.length, *call.position, call.state), call.dst};
  RkdStatus status = rkdStsNoErr;
  UnitPart part;
  for (int first = 0, count = 0; first < call.blocks(); first += count) {
    count = HWY_MIN(call.blocks() - first, UnitPart::kBlocks);
    linkUnits(call, unit, first, count, &part);
    walk.block = 0;
    status = walkUnits(walk, part);
    if (HWY_UNLIKELY(status != rkdStsNoErr)) break;
    for (int i = 0; i < count; ++i) call.last[first + i] = lastOf(part.behind[i]);
  }
  if (HWY_LIKELY(status == rkdStsNoErr)) {
    status = walk.reader.commit(call.stream, call.position, call.marker, call.state);
  }
  if (HWY_UNLIKELY(status != rkdStsNoErr)) return decodeOneByOne(call, unit);
  addPredictions(call);
  *call.decoded = call.blocks();
  return rkdStsNoErr;
}

}  // namespace
}  // namespace rkd::HWY_NAMESPACE
RKD_POP_LZCNT
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace rkd {
namespace {
HWY_EXPORT(decodeBlock);
HWY_EXPORT(decodeBlockDirect);
HWY_EXPORT(decodeOne);
HWY_EXPORT(decodeUnits);

RkdStatus checkUnits(const huff::UnitsCall& call) {
  using namespace huff;
  if (anyNull(call.stream, call.position, call.dst, call.last, call.component, call.previousDC,
              call.dcSpec, call.acSpec, call.state, call.decoded)) {
    return rkdStsNullPtrErr;
  }
  if (const RkdStatus status = checkStream(call.length, *call.position)) return status;
  if (call.units <= 0 || call.blocksInUnit <= 0 || call.blocksInUnit > RKD_HUFFMAN_UNIT_BLOCKS ||
      call.units > std::numeric_limits<int>::max() / call.blocksInUnit) {
    return rkdStsSizeErr;
  }
  if (!isKind(call.state, Kind::decodeState)) return rkdStsContextErr;
  for (int b = 0; b < call.blocksInUnit; ++b) {
    if (call.component[b] > 3) return rkdStsBadArgErr;
    const RkdiDecodeHuffmanSpec* const dc = call.dcSpec[call.component[b]];
    const RkdiDecodeHuffmanSpec* const ac = call.acSpec[call.component[b]];
    if (anyNull(dc, ac)) return rkdStsNullPtrErr;
    if (!isKind(dc, Kind::decodeSpec) || !isKind(ac, Kind::decodeSpec)) return rkdStsContextErr;
  }
  return rkdStsNoErr;
}
}  // namespace
}  // namespace rkd

using namespace rkd;
using namespace rkd::huff;

RkdStatus rkdiDecodeHuffmanUnits8x8_JPEG_1u16s_C1(const uint8_t* stream, int length, int* position,
                                                  int16_t* dst, uint8_t* last, int units,
                                                  const uint8_t* component, int blocksInUnit,
                                                  int* previousDC, int* marker,
                                                  const RkdiDecodeHuffmanSpec* const dcSpec[4],
                                                  const RkdiDecodeHuffmanSpec* const acSpec[4],
                                                  RkdiDecodeHuffmanState* state, int* decoded) {
  const UnitsCall call{stream,       length,     position, dst,    last,   units, component,
                       blocksInUnit, previousDC, marker,   dcSpec, acSpec, state, decoded};
  if (const RkdStatus status = checkUnits(call)) return status;
  return RKD_AT_LEVEL(decodeUnits)(call);
}

RkdStatus rkdiDecodeHuffman8x8_JPEG_1u16s_C1(const uint8_t* stream, int length, int* position,
                                             int16_t* dst, int* previousDC, int* marker,
                                             const RkdiDecodeHuffmanSpec* dcSpec,
                                             const RkdiDecodeHuffmanSpec* acSpec,
                                             RkdiDecodeHuffmanState* state) {
  return RKD_AT_LEVEL(decodeBlock)(stream, length, position, dst, previousDC, marker, dcSpec,
                                   acSpec, state);
}

RkdStatus rkdiDecodeHuffman8x8_Direct_JPEG_1u16s_C1(const uint8_t* stream, int length,
                                                    int* position, int16_t* dst, int* previousDC,
                                                    const RkdiDecodeHuffmanSpec* dcSpec,
                                                    const RkdiDecodeHuffmanSpec* acSpec) {
  if (anyNull(stream, position, dst, previousDC, dcSpec, acSpec)) return rkdStsNullPtrErr;
  if (const RkdStatus status = checkBits(length, *position)) return status;
  if (!isKind(dcSpec, Kind::decodeSpec) || !isKind(acSpec, Kind::decodeSpec)) {
    return rkdStsContextErr;
  }
  return RKD_AT_LEVEL(decodeBlockDirect)(stream, length, position, dst, previousDC, dcSpec, acSpec);
}

RkdStatus rkdiDecodeHuffmanOne_JPEG_1u16s_C1(const uint8_t* stream, int length, int* position,
                                             int16_t* dst, int* marker,
                                             const RkdiDecodeHuffmanSpec* spec,
                                             RkdiDecodeHuffmanState* state) {
  if (anyNull(stream, position, dst, spec, state)) return rkdStsNullPtrErr;
  if (const RkdStatus status = checkStream(length, *position)) return status;
  if (!isKind(state, Kind::decodeState) || !isKind(spec, Kind::decodeSpec)) {
    return rkdStsContextErr;
  }
  return RKD_AT_LEVEL(decodeOne)(stream, length, position, dst, marker, spec, state);
}
#endif
