// Sequential blocks decoded one by one (with a state, and direct), and single values.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "jpeg/huffdecode.cpp"
#include "hwy/foreach_target.h"
#include "hwy/highway.h"

#include "common/levels.h"
#include "jpeg/huffstep-inl.h"

HWY_BEFORE_NAMESPACE();
RKD_PUSH_LZCNT
namespace rkd::HWY_NAMESPACE {
namespace {

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
}  // namespace
}  // namespace rkd

using namespace rkd;
using namespace rkd::huff;

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
