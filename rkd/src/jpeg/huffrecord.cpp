// Records of sequential blocks: what a block sends, counted and kept until its tables are known.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "jpeg/huffrecord.cpp"
#include "hwy/foreach_target.h"
#include "hwy/highway.h"

#include "common/levels.h"
#include "jpeg/huffput-inl.h"

HWY_BEFORE_NAMESPACE();
RKD_PUSH_LZCNT
namespace rkd::HWY_NAMESPACE {
namespace {

// A record is the DC difference, then how many values follow, then those: places of small
// coefficients with the end of the block and a nonePlace, or, marked by kIsMapped, the map of the
// coefficients in four parts, the highest first, and the coefficients themselves.
constexpr int kHead = 2, kMapParts = 4;
constexpr unsigned kIsMapped = 0x8000;
static_assert(RKD_HUFFMAN_RECORD_LENGTH >= kHead + kMapParts + 63);

#if !RKD_HAS_COEFFICIENT_LIST
/// The same list as in vectors.
HWY_INLINE bool listCoefficients(const int16_t* src, uint16_t* place, ListedCount* listed) {
  uint64_t map = nonZeroMap(src) & mapBehind(0);
  listed->count = countBits(map);
  listed->isFull = (map & mapBit(63)) != 0;
  if (listed->count > kMostListed) return false;
  bool isListed = true;
  map <<= 1;
  for (unsigned k = 0; map != 0; ++place) {
    const unsigned run = unsigned(mapFirst(map));
    map = map << run << 1;
    k += run + 1;
    const int value = src[zigzag[k]];
    isListed &= run <= 15 && unsigned(value + kMostSmall) <= 2 * kMostSmall;
    *place = uint16_t(smallPlace(run, value));
  }
  *place = EncodeSpecLayout::endPlace;
  return isListed;
}
#endif

/// Sizes of small values, by the low byte of their places.
struct SmallSizes {
  uint8_t size[256];
};
constexpr SmallSizes kSmallSizes = [] {
  SmallSizes sizes{};
  for (int value = -128; value < 128; ++value) {
    sizes.size[value + 128] = uint8_t(std::bit_width(unsigned(value < 0 ? -value : value)));
  }
  return sizes;
}();

/// Appends to a record what a list cannot hold. False if no table can hold it either.
HWY_NOINLINE bool recordMapped(const int16_t* src, uint16_t* record, int* ac) {
  uint64_t map = nonZeroMap(src) & mapBehind(0);
  uint16_t* to = record + kHead;
  for (int part = kMapParts; part-- > 0;) *to++ = uint16_t(map >> (16 * part));
  if ((map & mapBit(63)) == 0) ++ac[endOfBlock];
  unsigned sizes = 0;
  for (int last = 0, k; map != 0; last = k) {
    k = mapFirst(map);
    map &= mapBehind(k);
    const unsigned run = unsigned(k - last - 1);
    const int16_t value = src[zigzag[size_t(k)]];
    const unsigned size = NonZeroMagnitude(value).size;
    *to++ = uint16_t(value);
    sizes |= size;
    ac[zeroRun16] += int(run >> 4);
    ++ac[((run & 15) << 4 | size) & 255];
  }
  record[1] = uint16_t(kIsMapped | unsigned(to - record - kHead));
  return (sizes & 16) == 0;
}

RkdStatus recordBlock(const int16_t* src, uint16_t* record, int* position, int* previousDC, int* dc,
                      int* ac) {
  const int difference = src[0] - int16_t(*previousDC);
  const unsigned size = Magnitude(difference).size;
  if (HWY_UNLIKELY(size > 15)) return rkdStsCoefRangeErr;
  ++dc[size];
  record[0] = uint16_t(difference);
  uint16_t* const place = record + kHead;
  ListedCount listed;
  if (HWY_LIKELY(listCoefficients(src, place, &listed))) {
    const int places = endList(place, listed);
    record[1] = uint16_t(places + 1);
    for (int i = 0; i < listed.count; ++i) {
      const unsigned at = place[i];
      ++ac[((at >> 4 & 0xFF0) - 16) | kSmallSizes.size[at & 255]];
    }
    ac[endOfBlock] += int(!listed.isFull);
  } else if (HWY_UNLIKELY(!recordMapped(src, record, ac))) {
    return rkdStsCoefRangeErr;
  }
  *previousDC = src[0];
  *position += kHead + int(record[1] & ~kIsMapped);
  return rkdStsNoErr;
}

template <class Writer>
HWY_INLINE bool putMappedRecord(int difference, const uint16_t* values, EncodeTable dc,
                                EncodeTable ac, Writer& writer) {
  uint64_t map = 0;
  for (int part = 0; part < kMapParts; ++part) map = map << 16 | *values++;
  const auto next = [&](unsigned) HWY_ATTR { return int(int16_t(*values++)); };
  return putMapped(difference, next, map, dc, ac, writer);
}

RkdStatus encodeRecord(const uint16_t* record, int values, int* recordPosition, uint8_t* stream,
                       int length, int* position, const RkdiEncodeHuffmanSpec* dcSpec,
                       const RkdiEncodeHuffmanSpec* acSpec, RkdiEncodeHuffmanState* state) {
  const EncodeTable dc(dcSpec), ac(acSpec);
  StateWriter writer(stream, length, *position, state);
  const int difference = int16_t(record[0]);
  const int count = int(record[1] & ~kIsMapped);
  if (HWY_UNLIKELY(count > values - kHead)) return rkdStsSizeErr;
  const uint16_t* const first = record + kHead;
  bool isCoded = false;
  if (HWY_UNLIKELY((record[1] & kIsMapped) != 0)) {
    isCoded = putMappedRecord(difference, first, dc, ac, writer);
  } else if (HWY_LIKELY(isSmall(difference))) {
    isCoded = putListed(smallPlace(0, difference), first, count - 1, dc, ac, writer);
  } else {
    isCoded = putDCDifference(difference, dc, writer) &&
              putListed(EncodeSpecLayout::nonePlace, first, count - 1, dc, ac, writer);
  }
  if (HWY_UNLIKELY(!isCoded)) return rkdStsCoefRangeErr;
  const RkdStatus status = writer.commit(stream, position, state);
  if (HWY_LIKELY(status == rkdStsNoErr)) *recordPosition += kHead + count;
  return status;
}

}  // namespace
}  // namespace rkd::HWY_NAMESPACE
RKD_POP_LZCNT
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace rkd {
namespace {
HWY_EXPORT(recordBlock);
HWY_EXPORT(encodeRecord);
}  // namespace
}  // namespace rkd

using namespace rkd;
using namespace rkd::huff;

RkdStatus rkdiRecordHuffman8x8_JPEG_16s16u_C1(const int16_t* src, uint16_t* records,
                                              int recordsLength, int* recordsPosition,
                                              int* previousDC, int* dcStatistics,
                                              int* acStatistics) {
  if (anyNull(src, records, recordsPosition, previousDC, dcStatistics, acStatistics)) {
    return rkdStsNullPtrErr;
  }
  if (const RkdStatus status = checkStream(recordsLength, *recordsPosition)) return status;
  if (recordsLength - *recordsPosition < RKD_HUFFMAN_RECORD_LENGTH) return rkdStsDstFullErr;
  return RKD_AT_LEVEL(recordBlock)(src, records + *recordsPosition, recordsPosition, previousDC,
                                   dcStatistics, acStatistics);
}

RkdStatus rkdiEncodeHuffmanRecord_JPEG_16u1u_C1(const uint16_t* records, int recordsLength,
                                                int* recordsPosition, uint8_t* stream, int length,
                                                int* position, const RkdiEncodeHuffmanSpec* dcSpec,
                                                const RkdiEncodeHuffmanSpec* acSpec,
                                                RkdiEncodeHuffmanState* state) {
  if (anyNull(records, recordsPosition, stream, position, dcSpec, acSpec, state)) {
    return rkdStsNullPtrErr;
  }
  if (const RkdStatus status = checkStream(recordsLength, *recordsPosition)) return status;
  if (const RkdStatus status = checkStream(length, *position)) return status;
  const int values = recordsLength - *recordsPosition;
  if (values < 3) return rkdStsSizeErr;
  if (!isKind(dcSpec, Kind::encodeSpec) || !isKind(acSpec, Kind::encodeSpec) ||
      !isKind(state, Kind::encodeState)) {
    return rkdStsContextErr;
  }
  return RKD_AT_LEVEL(encodeRecord)(records + *recordsPosition, values, recordsPosition, stream,
                                    length, position, dcSpec, acSpec, state);
}
#endif
