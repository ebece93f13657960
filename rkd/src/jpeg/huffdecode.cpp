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

/// What a block of a unit is coded with, and where the next one's is.
struct UnitBlock {
  DecodeTable dc{nullptr}, ac{nullptr};
  const uint8_t* acSteps = nullptr;
  const uint8_t* nextDCSteps = nullptr;
  const UnitBlock* next = nullptr;
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

/// What the bits in front tell by one of a specification's tables.
struct Step : StepEntry {
  HWY_INLINE Step(const uint8_t* table, uint64_t bits, unsigned shift)
      : StepEntry{0}, entry(table + 8 * (bits >> shift)) {
    word = load<uint64_t>(entry);
  }
  /// Stores its coefficients, which begin at zigzag position `k`.
  HWY_INLINE void store(uint64_t bits, size_t k, int16_t* dst) const {
    const uint8_t* const place = zigzag.data() + k;
    const size_t second = place[entry[6]], first = place[entry[2]];
    const auto secondValue = static_cast<int8_t>(entry[7]);
    const int16_t value = firstValue(bits, load<uint16_t>(entry + 4));
    dst[second] = secondValue;
    dst[first] = value;
  }
  const uint8_t* entry;
};
constexpr unsigned kACShift = 64 - DecodeSpecLayout::acBits;
constexpr unsigned kDCShift = 64 - DecodeSpecLayout::dcBits;

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

  for (unsigned k = 1;;) {
    reader.need(kBitsOfSteps);
    HWY_UNROLL(kSteps)
    for (int i = 0; i < kSteps; ++i) {
      const Step step(ac.acSteps(), reader.bits(), kACShift);
      const unsigned next = k + step.advance();
      // No step, or beyond position 63: damaged data, or a block that is full before the second
      // symbol, which then is not its own.
      if (HWY_UNLIKELY((next & 64) != 0)) {
        if (const RkdStatus status = takeSymbols(reader, dst, ac, k, 1)) return status;
        if (k == 64) return rkdStsNoErr;
        break;
      }
      step.store(reader.bits(), k, dst);
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
// a block moves everything on by conditional moves. DCs stay differences until all blocks are read.

/// A place in the blocks of units.
struct UnitWalk {
  StateReader reader;
  const UnitBlock* at;
  int16_t* block;  ///< zeros from here on
  uint8_t* last;
  size_t k = 0;  ///< place of the next coefficient; 0: the DC

  /// Takes coefficients up to `next`, or all of a block where it ends there. As a branch this would
  /// be mispredicted at nearly every block; the compiler is not to make one of it.
  HWY_INLINE void moveTo(size_t next, const uint8_t*& steps, size_t& shift) {
    const uint8_t* const nextDC = at->nextDCSteps;
    const UnitBlock* const nextAt = at->next;
    int16_t* const nextBlock = block + 64;
    steps = at->acSteps;
    shift = kACShift;
    k = next;
    size_t zero = 0;
    asm("" : "+r"(zero));  // else it takes something that happens to be zero, from memory
    asm("bt $7, %k[next]\n\t"
        "cmovc %[nextDC], %[steps]\n\t"
        "cmovc %[dcShift], %[shift]\n\t"
        "cmovc %[nextBlock], %[block]\n\t"
        "cmovc %[nextAt], %[at]\n\t"
        "cmovc %[zero], %[k]\n\t"
        "adc $0, %[last]"
        : [steps] "+&r"(steps), [shift] "+&r"(shift), [block] "+&r"(block), [at] "+&r"(at),
          [k] "+&r"(k), [last] "+&r"(last)
        : [next] "r"(next), [nextDC] "rm"(nextDC), [dcShift] "rm"(size_t{kDCShift}),
          [nextBlock] "r"(nextBlock), [nextAt] "rm"(nextAt), [zero] "r"(zero)
        : "cc");
  }
  HWY_INLINE void nextBlock(size_t lastPlace) {
    *last++ = uint8_t(lastPlace);
    block += 64;
    at = at->next;
    k = 0;
  }
};

/// One symbol with every check.
RkdStatus takeSymbol(UnitWalk& walk) {
  StateReader& reader = walk.reader;
  reader.need32();
  const auto [entry, value] = nextSymbol(reader, walk.k == 0 ? walk.at->dc : walk.at->ac);
  if (entry.word == 0) return codeStatus(reader);
  if (walk.k > 0 && entry.run() == DecodeEntry::ends) {
    walk.nextBlock(walk.k - 1);
  } else {
    const size_t place = walk.k == 0 ? entry.run() & ~DecodeEntry::ends : walk.k + entry.run();
    if (place > (walk.k == 0 ? 0u : 63u)) return symbolStatus(reader);
    walk.block[zigzag[place]] = int16_t(value);
    walk.k = place + 1;
    if (walk.k == 64) walk.nextBlock(63);
  }
  return reader.isOverrun() ? rkdStsSrcEndErr : rkdStsNoErr;
}

/// The same out of line on a copy, so that the members of the walk can stay in registers.
HWY_NOINLINE RkdStatus takeSymbolOf(UnitWalk walk, UnitWalk* behind) {
  const RkdStatus status = takeSymbol(walk);
  *behind = walk;
  return status;
}

/// Takes a coefficient whose code no step knows; false, and nothing taken, if it is none that
/// stands inside the block, or if there may not be bits enough.
HWY_INLINE bool takeLongCode(UnitWalk& walk) {
  if (HWY_UNLIKELY(walk.k == 0 || walk.reader.count() < 32)) return false;
  const uint64_t bits = walk.reader.bits();
  DecodeEntry entry = walk.at->ac.look(bits);
  if (entry.word == 0) entry = walk.at->ac.search(bits);
  const size_t place = walk.k + entry.run();
  if (HWY_UNLIKELY(entry.word == 0 || place > 62)) return false;
  walk.block[zigzag[place]] = int16_t(entry.value(bits));
  walk.reader.skip(entry.word, entry.codeLength() + entry.size());
  walk.k = place + 1;
  return true;
}

/// Takes steps up to `end`, or to where one symbol at a time must be looked at.
HWY_INLINE void takeSteps(UnitWalk& walk, const int16_t* end) {
  const uint8_t* steps = walk.k == 0 ? walk.at->dc.dcSteps() : walk.at->acSteps;
  size_t shift = walk.k == 0 ? kDCShift : kACShift;
  for (;;) {
    walk.reader.fill();
    if (HWY_UNLIKELY(walk.reader.count() < kBitsOfSteps)) return;
    int i = 0;
    for (; i < kSteps; ++i) {
      const uint64_t bits = walk.reader.bits();
      const Step step(steps, bits, unsigned(shift));
      const size_t next = walk.k + step.advance();
      if (HWY_UNLIKELY((next & 64) != 0)) break;
      step.store(bits, walk.k, walk.block);
      *walk.last = uint8_t(next - 1);
      walk.reader.skip(unsigned(step.word), step.length());
      walk.moveTo(next, steps, shift);
      if (HWY_UNLIKELY(walk.block == end)) return;
    }
    if (HWY_UNLIKELY(i < kSteps) && !takeLongCode(walk)) return;
  }
}

/// Reads blocks up to `end`. Of what `last` receives the low six bits count.
HWY_INLINE RkdStatus walkUnits(UnitWalk& from, const int16_t* end) {
  UnitWalk walk = from;
  for (;;) {
    takeSteps(walk, end);
    if (walk.block == end) break;
    const RkdStatus status = takeSymbolOf(walk, &from);
    if (status != rkdStsNoErr) return status;
    walk = from;
    if (walk.block == end) break;
  }
  from = walk;
  return rkdStsNoErr;
}

void linkUnit(const UnitsCall& call, UnitBlock* unit) {
  for (int b = 0; b < call.blocksInUnit; ++b) {
    const int after = b + 1 < call.blocksInUnit ? b + 1 : 0;
    const DecodeTable nextDC(call.dcSpec[call.component[after]]);
    UnitBlock& u = unit[b];
    u.dc = DecodeTable(call.dcSpec[call.component[b]]);
    u.ac = DecodeTable(call.acSpec[call.component[b]]);
    u.acSteps = u.ac.acSteps();
    u.nextDCSteps = nextDC.dcSteps();
    u.next = unit + after;
  }
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

/// Each block by itself, up to the one that cannot be decoded.
RkdStatus decodeOneByOne(const UnitsCall& call, const UnitBlock* unit) {
  for (int i = 0; i < call.blocks(); ++i) {
    int16_t* const block = call.dst + ptrdiff_t{64} * i;
    std::memset(block, 0, 64 * sizeof *block);
    const StateReader reader(call.stream, call.length, *call.position, call.state);
    UnitWalk walk{reader, unit + i % call.blocksInUnit, block, call.last + i};
    int* const previousDC = call.previousDC + call.componentOf(i);
    *call.decoded = i;
    RkdStatus status = walkUnits(walk, block + 64);
    if (status == rkdStsNoErr) {
      status = walk.reader.commit(call.stream, call.position, call.marker, call.state);
    }
    if (status != rkdStsNoErr) {
      return decodeBlock(call.stream, call.length, call.position, block, previousDC, call.marker,
                         call.dcSpec[call.componentOf(i)], call.acSpec[call.componentOf(i)],
                         call.state);
    }
    *previousDC = block[0] = int16_t(*previousDC + block[0]);
    call.last[i] &= 63;
  }
  *call.decoded = call.blocks();
  return rkdStsNoErr;
}

RkdStatus decodeUnits(const UnitsCall& call) {
  UnitBlock unit[RKD_HUFFMAN_UNIT_BLOCKS];
  linkUnit(call, unit);
  std::memset(call.dst, 0, size_t(call.blocks()) * 64 * sizeof *call.dst);
  const StateReader reader(call.stream, call.length, *call.position, call.state);
  UnitWalk walk{reader, unit, call.dst, call.last};
  RkdStatus status = walkUnits(walk, call.dst + ptrdiff_t{64} * call.blocks());
  if (HWY_LIKELY(status == rkdStsNoErr)) {
    status = walk.reader.commit(call.stream, call.position, call.marker, call.state);
  }
  if (HWY_UNLIKELY(status != rkdStsNoErr)) return decodeOneByOne(call, unit);
  addPredictions(call);
  for (int i = 0; i < call.blocks(); ++i) call.last[i] &= 63;
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
