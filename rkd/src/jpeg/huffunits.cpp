// Sequential blocks decoded, many in a call.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "jpeg/huffunits.cpp"
#include "hwy/foreach_target.h"
#include "hwy/highway.h"

#include "common/levels.h"
#include "jpeg/huffplain-inl.h"
#include "jpeg/huffstep-inl.h"

// What all levels share, once.
#ifndef RKD_JPEG_HUFFUNITS_CPP_
#define RKD_JPEG_HUFFUNITS_CPP_
#include <limits>

namespace rkd::huff {

/// The zigzag order at an address whose low six bits are the position.
alignas(128) constexpr std::array<uint8_t, 64> zigzagAligned = zigzag;

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
  const uint8_t* acSteps = nullptr;
  const uint8_t* nextDCSteps = nullptr;  ///< of the block that follows
};

/// The blocks of a unit.
struct Unit {
  UnitBlock block[RKD_HUFFMAN_UNIT_BLOCKS];
  size_t count;

  explicit Unit(const UnitsCall& call) : count(size_t(call.blocksInUnit)) {
    for (size_t b = 0; b < count; ++b) {
      block[b].dc = DecodeTable(call.dcSpec[call.component[b]]);
      block[b].ac = DecodeTable(call.acSpec[call.component[b]]);
      block[b].acSteps = block[b].ac.acSteps();
    }
    for (size_t b = 0; b < count; ++b) {
      block[b].nextDCSteps = block[b + 1 < count ? b + 1 : 0].dc.dcSteps();
    }
  }
};

/// A number of blocks in a row: by block the steps of its ACs, and those that follow its end.
struct UnitPart {
  static constexpr int kBlocks = 128;
  const uint8_t* acSteps[kBlocks];
  const uint8_t* nextDCSteps[kBlocks];
  /// Where a block's places begin; here for the walk to have a register more.
  const uint8_t* const start = zigzagAligned.data();
  uint8_t behind[kBlocks];  ///< receives in the low six bits where its coefficients end, and one
  const Unit* unit;
  size_t first;  ///< the first one's number in the call
  size_t count;

  const UnitBlock& tables(size_t at) const { return unit->block[(first + at) % unit->count]; }
};

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

// Where a block ends cannot be predicted, so the walk over blocks does not branch on it: the end of
// a block moves everything on by conditional moves. Behind the last block there are no steps. DCs
// stay differences until all blocks are read.

/// A place in the blocks of a part, and in the stream.
struct UnitWalk {
  PlainBytes bytes;
  BitReader<false> reader;
  int16_t* dst;  ///< the block; zeros from here on
  size_t block = 0;
  unsigned k = 0;  ///< place of the next coefficient; 0: the DC

  UnitWalk(const UnitsCall& call, int blocks, int16_t* to)
      : UnitWalk(StateReader(call.stream, call.length, *call.position, call.state), blocks, to) {}

  HWY_INLINE void nextBlock(UnitPart& part) {
    part.behind[block++] = uint8_t(k);
    dst += 64;
    k = 0;
  }
  /// Enough for one symbol with its value, or all that there is.
  void need32() {
    if (unsigned(reader.count()) >= 32u) return;
    takeInMore();
    reader.fill();
  }
  /// Has eight bytes in front of the reader, or all that there are.
  void takeInMore() {
    if (reader.end() - reader.next() >= 8 || !bytes.moveTo(reader.next())) return;
    reader = {reader.bits(), reader.count(), bytes.begin(), bytes.end()};
  }
  /// Hands over where in the stream it is.
  RkdStatus commit(const UnitsCall& call) const {
    StateReader inStream(reader.bits(), reader.count(), bytes.sourceOf(reader.next()),
                         call.stream + call.length);
    return inStream.commit(call.stream, call.position, call.marker, call.state);
  }

 private:
  // Some more bytes than blocks of photographs take.
  static constexpr size_t kBytesOfBlock = 10, kFirstBytes = 64;
  UnitWalk(const StateReader& first, int blocks, int16_t* to)
      : bytes(first.next(), first.end(), kBytesOfBlock * size_t(blocks) + kFirstBytes),
        reader(first.bits(), first.count(), bytes.begin(), bytes.end()),
        dst(to) {}
};

/// One symbol with every check.
RkdStatus takeSymbol(UnitWalk& walk, UnitPart& part) {
  walk.need32();
  const UnitBlock& tables = part.tables(walk.block);
  const auto [entry, value] = nextSymbol(walk.reader, walk.k == 0 ? tables.dc : tables.ac);
  if (entry.word == 0) return codeStatus(walk.reader);
  if (walk.k > 0 && entry.run() == DecodeEntry::ends) {
    walk.nextBlock(part);
  } else {
    const unsigned place = walk.k == 0 ? entry.run() & ~DecodeEntry::ends : walk.k + entry.run();
    if (place > (walk.k == 0 ? 0u : 63u)) return symbolStatus(walk.reader);
    walk.dst[zigzag[place]] = int16_t(value);
    walk.k = place + 1;
    if (walk.k == 64) walk.nextBlock(part);
  }
  return walk.reader.isOverrun() ? rkdStsSrcEndErr : rkdStsNoErr;
}

/// The bits that steps are looked up by. What stands below them are those that follow, or zeros:
/// whole words are taken in.
class StepBits {
 public:
  HWY_INLINE explicit StepBits(UnitWalk& walk) : walk_(walk) { takeOver(); }
  HWY_INLINE void giveBack() const { walk_.reader = reader(); }
  uint64_t bits() const { return bits_; }
  bool hasBitsOfSteps() const { return uint8_t(count_) >= kBitsOfSteps; }
  /// At most 64 bits in all between two calls of fill.
  HWY_INLINE void skip(uint64_t shift, unsigned count) {
    bits_ <<= shift & 63;
    count_ -= count;
  }
  /// Takes in whole bytes as 63 bits allow.
  HWY_INLINE void fill() {
    if (HWY_UNLIKELY(uintptr_t(next_) > lastWord_)) {
      fillAtEnd();
      return;
    }
    const unsigned count = uint8_t(count_);
    bits_ |= loadBits(next_) >> (count & 63);
    next_ += (63 - count) >> 3;
    count_ = count | 56;
  }

 private:
  void takeOver() {
    const auto& reader = walk_.reader;
    bits_ = reader.bits();
    count_ = unsigned(reader.count());
    next_ = reader.next();
    lastWord_ = uintptr_t(reader.end()) - sizeof(uint64_t);
  }
  BitReader<false> reader() const {
    const int count = int(uint8_t(count_));
    return {bits_ & ~(~uint64_t{0} >> count), count, next_, walk_.reader.end()};
  }
  /// Out of line on the walk, so that the members can stay in registers.
  void fillAtEnd() {
    giveBack();
    fillWalk(&walk_);
    takeOver();
  }
  HWY_NOINLINE static void fillWalk(UnitWalk* walk) {
    walk->takeInMore();
    walk->reader.fill();
  }

  uint64_t bits_;
  unsigned count_;  ///< in its low byte
  const uint8_t* next_;
  uintptr_t lastWord_;  ///< up to here eight bytes can be read
  UnitWalk& walk_;
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
          [start] "m"(part.start)
        : "cc");
  }
  unsigned k() const { return unsigned(uintptr_t(zigzagPlace)) & 63; }
  /// Takes a coefficient whose code no step knows; false, and nothing taken, if it is none that
  /// stands inside the block, or if there may not be bits enough.
  HWY_INLINE bool takeLongCode(StepBits& reader, const UnitBlock& tables) {
    reader.fill();
    if (HWY_UNLIKELY(k() == 0 || !reader.hasBitsOfSteps())) return false;
    const uint64_t bits = reader.bits();
    const DecodeEntry entry = tables.ac.lookFurther(bits);
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
  StepBits reader(walk);
  StepPlace at{walk.k == 0 ? part.tables(walk.block).dc.dcSteps() : part.acSteps[walk.block],
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
    if (at.block == part.count || !at.takeLongCode(reader, part.tables(at.block))) break;
  }
  reader.giveBack();
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
void linkUnits(const Unit& unit, int first, int count, UnitPart* part) {
  part->unit = &unit;
  part->first = size_t(first);
  part->count = size_t(count);
  const int unitBlocks = HWY_MIN(count, int(unit.count));
  size_t b = part->first % unit.count;
  for (int i = 0; i < unitBlocks; ++i) {
    part->acSteps[i] = unit.block[b].acSteps;
    part->nextDCSteps[i] = unit.block[b].nextDCSteps;
    b = b + 1 < unit.count ? b + 1 : 0;
  }
  for (int linked = unitBlocks; linked < count; linked *= 2) {
    const size_t bytes = size_t(HWY_MIN(linked, count - linked)) * sizeof *part->acSteps;
    std::memcpy(part->acSteps + linked, part->acSteps, bytes);
    std::memcpy(part->nextDCSteps + linked, part->nextDCSteps, bytes);
  }
  part->nextDCSteps[count - 1] = reinterpret_cast<const uint8_t*>(kNoSteps.data());
}

/// From differences to DCs.
void addPredictions(const UnitsCall& call) {
  for (uint8_t component = 0; component < 4; ++component) {
    int of[RKD_HUFFMAN_UNIT_BLOCKS], count = 0;  // where its blocks are in a unit
    for (int b = 0; b < call.blocksInUnit; ++b) {
      if (call.component[b] == component) of[count++] = 64 * b;
    }
    if (count == 0) continue;
    int dc = call.previousDC[component];
    int16_t* unit = call.dst;
    for (int u = 0; u < call.units; ++u, unit += ptrdiff_t{64} * call.blocksInUnit) {
      for (int i = 0; i < count; ++i) {
        dc = int16_t(dc + unit[of[i]]);
        unit[of[i]] = int16_t(dc);
      }
    }
    call.previousDC[component] = dc;
  }
}

/// The last position of coefficients that end in front of one.
constexpr uint8_t lastOf(unsigned behind) { return uint8_t((behind - 1) & 63); }

void tellLast(const UnitPart& part, uint8_t* last) {
  // Bytes may alias anything, and so would be read and written one by one.
  constexpr uint64_t each = 0x0101010101010101;
  size_t i = 0;
  for (; i + 8 <= part.count; i += 8) {
    const uint64_t behind = load<uint64_t>(part.behind + i);
    store(last + i, ((behind | 64 * each) - each) & 63 * each);
  }
  for (; i < part.count; ++i) last[i] = lastOf(part.behind[i]);
}

/// Each block by itself, up to the one that cannot be decoded.
RkdStatus decodeOneByOne(const UnitsCall& call, const Unit& unit) {
  UnitPart part;
  for (int i = 0; i < call.blocks(); ++i) {
    int16_t* const block = call.dst + ptrdiff_t{64} * i;
    std::memset(block, 0, 64 * sizeof *block);
    linkUnits(unit, i, 1, &part);
    UnitWalk walk(call, 1, block);
    int* const previousDC = call.previousDC + call.componentOf(i);
    *call.decoded = i;
    RkdStatus status = walkUnits(walk, part);
    if (status == rkdStsNoErr) status = walk.commit(call);
    if (status != rkdStsNoErr) {
      return rkdiDecodeHuffman8x8_JPEG_1u16s_C1(
          call.stream, call.length, call.position, block, previousDC, call.marker,
          call.dcSpec[call.componentOf(i)], call.acSpec[call.componentOf(i)], call.state);
    }
    *previousDC = block[0] = int16_t(*previousDC + block[0]);
    call.last[i] = lastOf(part.behind[0]);
  }
  *call.decoded = call.blocks();
  return rkdStsNoErr;
}

RkdStatus decodeUnits(const UnitsCall& call) {
  const Unit unit(call);
  std::memset(call.dst, 0, size_t(call.blocks()) * 64 * sizeof *call.dst);
  UnitWalk walk(call, call.blocks(), call.dst);
  RkdStatus status = rkdStsNoErr;
  UnitPart part;
  for (int first = 0, count = 0; first < call.blocks(); first += count) {
    count = HWY_MIN(call.blocks() - first, UnitPart::kBlocks);
    linkUnits(unit, first, count, &part);
    walk.block = 0;
    status = walkUnits(walk, part);
    if (HWY_UNLIKELY(status != rkdStsNoErr)) break;
    tellLast(part, call.last + first);
  }
  if (HWY_LIKELY(status == rkdStsNoErr)) status = walk.commit(call);
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
#endif
