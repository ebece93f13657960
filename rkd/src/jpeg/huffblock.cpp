// Sequential blocks (with a state, and direct), single values and their statistics.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "jpeg/huffblock.cpp"
#include "hwy/foreach_target.h"
#include "hwy/highway.h"

#include "common/levels.h"
#include "jpeg/huffput-inl.h"

HWY_BEFORE_NAMESPACE();
RKD_PUSH_LZCNT
namespace rkd::HWY_NAMESPACE {
namespace {

#if RKD_HAS_SMALL_VALUES
/// Writes a block whose values are all small, one at a time; false if something has no code.
template <class Writer>
HWY_INLINE bool putSmallValues(int difference, const SmallValues& list, EncodeTable dc,
                               EncodeTable ac, Writer& writer) {
  uint32_t used = 0;
  const auto put = [&](uint32_t entry) HWY_ATTR {
    used |= entry;
    writer.putExactly(entry >> 8, entry & 255);
  };
  put(dc.smallEntry(smallPlace(0, difference)));
  unsigned last = 0;
  for (uint64_t map = list.map; map != 0; map &= map - 1) {
    const auto k = unsigned(std::countr_zero(map));
    unsigned step = k - last;
    last = k;
    for (; HWY_UNLIKELY(step > 16); step -= 16) {
      const EncodeEntry zeros = ac[entryIndex(15, 0)];
      if (HWY_UNLIKELY((zeros.word & EncodeEntry::missing) != 0)) return false;
      writer.put(zeros.code(), zeros.length());
    }
    put(ac.smallEntry(smallPlaceAt(step, list.value[k])));
  }
  if (last != 63) put(ac.smallEntry(EncodeSpecLayout::endPlace));
  return (used & EncodeSpecLayout::missingSmall) == 0;
}
#endif

/// Writes one block; false if something has no code.
template <class Writer>
HWY_INLINE bool putBlock(const int16_t* src, int previousDC, EncodeTable dc, EncodeTable ac,
                         Writer& writer) {
  const int difference = src[0] - int16_t(previousDC);
#if RKD_HAS_COEFFICIENT_LIST
  alignas(16) uint16_t place[kListRoom];
  ListedCount listed;
  if (HWY_LIKELY(listCoefficients(src, place, &listed) && isSmall(difference))) {
    const int places = endList(place, listed);
    return putListed(smallPlace(0, difference), place, places, dc, ac, writer);
  }
#elif RKD_HAS_SMALL_VALUES
  SmallValues list;
  if (HWY_LIKELY(listSmallValues(src, &list) && isSmall(difference))) {
    return putSmallValues(difference, list, dc, ac, writer);
  }
#endif
  const auto valueAt = [src](unsigned k) HWY_ATTR { return src[zigzag[k]]; };
  return putMapped(difference, valueAt, nonZeroMap(src) & mapBehind(0), dc, ac, writer);
}

RkdStatus encodeBlock(const int16_t* src, uint8_t* stream, int length, int* position,
                      int* previousDC, const RkdiEncodeHuffmanSpec* dcSpec,
                      const RkdiEncodeHuffmanSpec* acSpec, RkdiEncodeHuffmanState* state,
                      int flush) {
  if (anyNull(stream, position, state)) return rkdStsNullPtrErr;
  if (const RkdStatus status = checkStream(length, *position)) return status;
  if (!isKind(state, Kind::encodeState)) return rkdStsContextErr;
  if (HWY_UNLIKELY(flush != 0)) return flushBits(stream, length, position, state);
  if (anyNull(src, previousDC, dcSpec, acSpec)) return rkdStsNullPtrErr;
  if (!isKind(dcSpec, Kind::encodeSpec) || !isKind(acSpec, Kind::encodeSpec)) {
    return rkdStsContextErr;
  }
  StateWriter writer(stream, length, *position, state);
  if (HWY_UNLIKELY(!putBlock(src, *previousDC, EncodeTable(dcSpec), EncodeTable(acSpec), writer))) {
    return rkdStsCoefRangeErr;
  }
  const RkdStatus status = writer.commit(stream, position, state);
  if (HWY_LIKELY(status == rkdStsNoErr)) *previousDC = src[0];
  return status;
}

RkdStatus encodeBlockDirect(const int16_t* src, uint8_t* stream, int length, int* position,
                            int* previousDC, const RkdiEncodeHuffmanSpec* dcSpec,
                            const RkdiEncodeHuffmanSpec* acSpec) {
  uint8_t* const start = stream + (*position >> 3);
  const unsigned begun = unsigned(*position & 7);
  BitWriter<false> writer(begun == 0 ? 0u : unsigned(*start) >> (8 - begun), begun, start,
                          stream + length);
  if (HWY_UNLIKELY(!putBlock(src, *previousDC, EncodeTable(dcSpec), EncodeTable(acSpec), writer))) {
    return rkdStsCoefRangeErr;
  }
  // A block has two bits and more: something waits.
  const unsigned count = writer.waitingCount();
  const uint64_t word = writer.waiting() << (64 - count) | ((uint64_t{1} << (64 - count)) - 1);
  const int bytes = int(count + 7) >> 3;
  if (HWY_UNLIKELY(writer.isFull() || stream + length - writer.out() < bytes)) {
    return rkdStsDstFullErr;
  }
  for (int i = 0; i < bytes; ++i) writer.out()[i] = uint8_t(word >> (56 - 8 * i));
  *position = int(8 * (writer.out() - stream)) + int(count);
  *previousDC = src[0];
  return rkdStsNoErr;
}

/// Statistics of the same walk.
RkdStatus countBlock(const int16_t* src, int* dcStatistics, int* acStatistics, int* previousDC) {
  const Magnitude difference(src[0] - int16_t(*previousDC));
  if (difference.size > 15) return rkdStsCoefRangeErr;
  ++dcStatistics[difference.size];
  int last = 0;
  unsigned sizes = 0;
  for (uint64_t map = nonZeroMap(src) & mapBehind(0); map != 0;) {
    const int k = mapFirst(map);
    map &= mapBehind(k);
    const unsigned run = unsigned(k - last - 1);
    last = k;
    const unsigned size = NonZeroMagnitude(src[zigzag[size_t(k)]]).size;
    sizes |= size;
    acStatistics[zeroRun16] += int(run >> 4);
    ++acStatistics[((run & 15) << 4 | size) & 255];
  }
  if (last != 63) ++acStatistics[endOfBlock];
  if ((sizes & 16) != 0) return rkdStsCoefRangeErr;
  *previousDC = src[0];
  return rkdStsNoErr;
}

/// One value of the lossless process.
RkdStatus encodeOne(int value, uint8_t* stream, int length, int* position,
                    const RkdiEncodeHuffmanSpec* spec, RkdiEncodeHuffmanState* state) {
  StateWriter writer(stream, length, *position, state);
  const uint64_t used = putDifference(value, EncodeTable(spec), &writer);
  if (HWY_UNLIKELY((used & EncodeEntry::missing) != 0)) return rkdStsCoefRangeErr;
  return writer.commit(stream, position, state);
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
      if (entry.run() != DecodeEntry::ends) {
        return reader.isOverrun() ? rkdStsSrcEndErr : rkdStsDataErr;
      }
      k = 63;
    } else {
      dst[zigzag[k]] = int16_t(value);
    }
    ++k;
  }
  return rkdStsNoErr;
}

/// Reads the coefficients of one block. A caller's DC changes with the call's success only.
template <class Reader>
HWY_INLINE RkdStatus takeBlock(Reader& reader, int16_t* dst, int previousDC, DecodeTable dc,
                               DecodeTable ac) {
  std::memset(dst, 0, 64 * sizeof *dst);
  reader.need32();
  const Symbol difference = nextSymbol(reader, dc);
  if (HWY_UNLIKELY(difference.entry.word == 0)) return codeStatus(reader);
  if (HWY_UNLIKELY(!isDctDifference(difference))) {
    return reader.isOverrun() ? rkdStsSrcEndErr : rkdStsDataErr;
  }
  dst[0] = int16_t(previousDC + difference.value);

  // Bits taken in once are enough for several looks: no check each time whether they are. What was
  // read ahead is nearly always enough for the first round.
  constexpr int looks = 4;
  for (unsigned k = 1;;) {
    reader.need(looks * DecodeSpecLayout::lookBits);
    HWY_UNROLL(looks)
    for (int i = 0; i < looks; ++i) {
      const PairEntry pair = ac.lookForPair(reader.bits());
      if (HWY_UNLIKELY(pair.word == 0)) {
        if (const RkdStatus status = takeSymbols(reader, dst, ac, k, 1)) return status;
        if (k == 64) return rkdStsNoErr;
        break;
      }
      const unsigned next = k + pair.advance();
      // Beyond position 63, with or without the mark of an end: damaged data, or a block that is
      // full before the second symbol, which then is not its own.
      if (HWY_UNLIKELY((next & 64) != 0)) return takeSymbols(reader, dst, ac, k, 64);
      dst[zigzagBounded[k + pair.firstPlace()]] = pair.firstValue();
      dst[zigzagBounded[k + pair.secondPlace()]] = pair.secondValue();
      reader.skip(unsigned(pair.word));
      if (next > 63) return rkdStsNoErr;
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
  if (HWY_UNLIKELY(!isDifference(symbol))) {
    return reader.isOverrun() ? rkdStsSrcEndErr : rkdStsDataErr;
  }
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
HWY_EXPORT(encodeBlock);
HWY_EXPORT(encodeBlockDirect);
HWY_EXPORT(countBlock);
HWY_EXPORT(encodeOne);
HWY_EXPORT(decodeBlock);
HWY_EXPORT(decodeBlockDirect);
HWY_EXPORT(decodeOne);

/// Streams whose bits an int can count.
RkdStatus checkBits(int length, int position) {
  const bool fits = length > 0 && length < 1 << 28;
  return fits && position >= 0 && position <= 8 * length ? rkdStsNoErr : rkdStsSizeErr;
}
}  // namespace
}  // namespace rkd

using namespace rkd;
using namespace rkd::huff;

RkdStatus rkdiEncodeHuffman8x8_JPEG_16s1u_C1(const int16_t* src, uint8_t* stream, int length,
                                             int* position, int* previousDC,
                                             const RkdiEncodeHuffmanSpec* dcSpec,
                                             const RkdiEncodeHuffmanSpec* acSpec,
                                             RkdiEncodeHuffmanState* state, int flush) {
  return RKD_AT_LEVEL(encodeBlock)(src, stream, length, position, previousDC, dcSpec, acSpec, state,
                                   flush);
}

RkdStatus rkdiDecodeHuffman8x8_JPEG_1u16s_C1(const uint8_t* stream, int length, int* position,
                                             int16_t* dst, int* previousDC, int* marker,
                                             const RkdiDecodeHuffmanSpec* dcSpec,
                                             const RkdiDecodeHuffmanSpec* acSpec,
                                             RkdiDecodeHuffmanState* state) {
  return RKD_AT_LEVEL(decodeBlock)(stream, length, position, dst, previousDC, marker, dcSpec,
                                   acSpec, state);
}

RkdStatus rkdiEncodeHuffman8x8_Direct_JPEG_16s1u_C1(const int16_t* src, uint8_t* stream, int length,
                                                    int* position, int* previousDC,
                                                    const RkdiEncodeHuffmanSpec* dcSpec,
                                                    const RkdiEncodeHuffmanSpec* acSpec) {
  if (anyNull(src, stream, position, previousDC, dcSpec, acSpec)) return rkdStsNullPtrErr;
  if (const RkdStatus status = checkBits(length, *position)) return status;
  if (!isKind(dcSpec, Kind::encodeSpec) || !isKind(acSpec, Kind::encodeSpec)) {
    return rkdStsContextErr;
  }
  return RKD_AT_LEVEL(encodeBlockDirect)(src, stream, length, position, previousDC, dcSpec, acSpec);
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

RkdStatus rkdiEncodeHuffmanOne_JPEG_16s1u_C1(const int16_t* src, uint8_t* stream, int length,
                                             int* position, const RkdiEncodeHuffmanSpec* spec,
                                             RkdiEncodeHuffmanState* state, int flush) {
  if (anyNull(stream, position, state)) return rkdStsNullPtrErr;
  if (const RkdStatus status = checkStream(length, *position)) return status;
  if (!isKind(state, Kind::encodeState)) return rkdStsContextErr;
  if (flush != 0) return flushBits(stream, length, position, state);
  if (anyNull(src, spec)) return rkdStsNullPtrErr;
  if (!isKind(spec, Kind::encodeSpec)) return rkdStsContextErr;
  return RKD_AT_LEVEL(encodeOne)(*src, stream, length, position, spec, state);
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

RkdStatus rkdiGetHuffmanStatistics8x8_JPEG_16s_C1(const int16_t* src, int* dcStatistics,
                                                  int* acStatistics, int* previousDC) {
  if (anyNull(src, dcStatistics, acStatistics, previousDC)) return rkdStsNullPtrErr;
  return RKD_AT_LEVEL(countBlock)(src, dcStatistics, acStatistics, previousDC);
}
#endif
