// Sequential blocks encoded (with a state, and direct), single values and their statistics.
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

RkdStatus rkdiGetHuffmanStatistics8x8_JPEG_16s_C1(const int16_t* src, int* dcStatistics,
                                                  int* acStatistics, int* previousDC) {
  if (anyNull(src, dcStatistics, acStatistics, previousDC)) return rkdStsNullPtrErr;
  return RKD_AT_LEVEL(countBlock)(src, dcStatistics, acStatistics, previousDC);
}
#endif
