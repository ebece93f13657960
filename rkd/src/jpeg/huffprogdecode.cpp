// Progressive scans, the decoder's side.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "jpeg/huffprogdecode.cpp"
#include "hwy/foreach_target.h"
#include "hwy/highway.h"

#include "common/levels.h"
#include "jpeg/huffbits-inl.h"

HWY_BEFORE_NAMESPACE();
RKD_PUSH_LZCNT
namespace rkd::HWY_NAMESPACE {
namespace {

/// Length of the end-of-band run that an end symbol starts, its extra bits taken.
HWY_INLINE uint32_t takeRun(StateReader& reader, DecodeEntry end) {
  const unsigned size = end.run() - DecodeEntry::ends;
  if (size == 0) return 1;
  reader.need32();
  return (1u << size) + reader.take(size);
}

/// An end symbol for a run of up to 2^14 and more blocks; size 15 is the zero run's.
HWY_INLINE bool isEnd(DecodeEntry entry) { return entry.run() >= DecodeEntry::ends; }

RkdStatus decodeDCFirst(const uint8_t* stream, int length, int* position, int16_t* dst,
                        int* previousDC, int* marker, int al, const RkdiDecodeHuffmanSpec* spec,
                        RkdiDecodeHuffmanState* state) {
  RKD_STATE_STORE(DecodeState, state, reached, 0);
  StateReader reader(stream, length, *position, state);
  reader.need32();
  const Symbol difference = nextSymbol(reader, DecodeTable(spec));
  if (HWY_UNLIKELY(difference.entry.word == 0)) return codeStatus(reader);
  if (HWY_UNLIKELY(!isDctDifference(difference))) {
    return reader.isOverrun() ? rkdStsSrcEndErr : rkdStsDataErr;
  }
  if (const RkdStatus status = reader.commit(stream, position, marker, state)) {
    return status;
  }
  *previousDC = int16_t(*previousDC + difference.value);
  dst[0] = int16_t(unsigned(*previousDC) << al);
  return rkdStsNoErr;
}

RkdStatus decodeDCRefine(const uint8_t* stream, int length, int* position, int16_t* dst,
                         int* marker, int al, RkdiDecodeHuffmanState* state) {
  RKD_STATE_STORE(DecodeState, state, reached, 0);
  StateReader reader(stream, length, *position, state);
  reader.need32();
  const unsigned bit = reader.take(1);
  if (const RkdStatus status = reader.commit(stream, position, marker, state)) {
    return status;
  }
  dst[0] = int16_t(dst[0] | int(bit << al));
  return rkdStsNoErr;
}

/// Reads the coefficients of a block up to the end of its band, or to the start of a run of ends.
HWY_INLINE RkdStatus takeBand(StateReader& reader, int16_t* dst, Band band, DecodeTable table,
                              uint32_t* endOfBand) {
  const unsigned last = unsigned(band.se);
  for (unsigned k = unsigned(band.ss); k <= last; ++k) {
    reader.need32();
    const auto [entry, value] = nextSymbol(reader, table);
    k += entry.run();
    if (HWY_UNLIKELY(k > last)) {
      if (!isEnd(entry)) return reader.isOverrun() ? rkdStsSrcEndErr : rkdStsDataErr;
      *endOfBand = takeRun(reader, entry) - 1;
      break;
    }
    if (HWY_UNLIKELY(entry.word == 0)) return codeStatus(reader);
    dst[zigzag[k]] = int16_t(unsigned(value) << band.al);
  }
  return rkdStsNoErr;
}

/// A band that could not be read to its end, once more: what it has in front of the fault.
HWY_NOINLINE unsigned takeBeforeFault(StateReader reader, int16_t* dst, Band band,
                                      DecodeTable table) {
  return takeWholeOnes(reader, dst, table, unsigned(band.ss), unsigned(band.se), band.al);
}

RkdStatus decodeACFirst(const uint8_t* stream, int length, int* position, int16_t* dst, int* marker,
                        Band band, const RkdiDecodeHuffmanSpec* spec,
                        RkdiDecodeHuffmanState* state) {
  StateReader reader(stream, length, *position, state);
  uint32_t endOfBand = RKD_STATE_LOAD(DecodeState, state, endOfBand);
  if (endOfBand > 0) {
    // Nothing is taken: position, bits and so the marker stay as they are.
    RKD_STATE_STORE(DecodeState, state, endOfBand, endOfBand - 1);
    return reader.commit(stream, position, marker, state);
  }
  const DecodeTable table(spec);
  RkdStatus status = takeBand(reader, dst, band, table, &endOfBand);
  if (HWY_LIKELY(status == rkdStsNoErr)) status = reader.commit(stream, position, marker, state);
  if (HWY_LIKELY(status == rkdStsNoErr)) {
    RKD_STATE_STORE(DecodeState, state, endOfBand, endOfBand);
  } else {
    const StateReader again(stream, length, *position, state);
    RKD_STATE_STORE(DecodeState, state, reached, takeBeforeFault(again, dst, band, table));
  }
  return status;
}

/// What a refinement makes of a block: coefficients that were zero and are set at once, and a map
/// of those that grow when everything has been read.
struct Refinement {
  uint64_t old, zero;  ///< coefficients of the band, before
  uint64_t grow;
  uint32_t endOfBand;
};

HWY_INLINE RkdStatus takeRefinement(StateReader& reader, int16_t* dst, Band band, DecodeTable table,
                                    Refinement* refinement) {
  uint64_t rest = refinement->old | refinement->zero;
  const uint64_t old = refinement->old;
  uint32_t endOfBand = refinement->endOfBand;
  uint64_t grow = 0;
  while (endOfBand == 0 && rest != 0) {
    reader.need32();
    const auto [entry, sign] = nextSymbol(reader, table);
    if (HWY_UNLIKELY(entry.word == 0)) return codeStatus(reader);
    if (isEnd(entry)) {
      endOfBand = takeRun(reader, entry);
      break;
    }
    const bool isZeroRun = sign == 0;
    const uint64_t places = refinement->zero & rest;
    const int run = int(entry.run());
    if (HWY_UNLIKELY(countBits(places) <= run || unsigned(sign + 1) > 2)) {
      return reader.isOverrun() ? rkdStsSrcEndErr : rkdStsDataErr;
    }
    const uint64_t place = mapNth(places, run);
    const uint64_t before = old & rest & ~(place | (place - 1));
    if (before != 0) {
      const unsigned count = unsigned(countBits(before));
      grow |= spreadBits(reader.takeMany(count), before);
    }
    if (!isZeroRun) dst[zigzag[size_t(mapFirst(place))]] = int16_t(sign * (1 << band.al));
    rest &= place - 1;
  }
  if (endOfBand > 0) {
    --endOfBand;
    const uint64_t behind = old & rest;
    if (behind != 0) {
      grow |= spreadBits(reader.takeMany(unsigned(countBits(behind))), behind);
    }
  }
  refinement->grow = grow;
  refinement->endOfBand = endOfBand;
  return rkdStsNoErr;
}

/// Sets the coefficients of a map to zero.
HWY_NOINLINE void clear(int16_t* dst, uint64_t map) {
  for (; map != 0; map &= mapBehind(mapFirst(map))) dst[zigzag[size_t(mapFirst(map))]] = 0;
}

RkdStatus decodeACRefine(const uint8_t* stream, int length, int* position, int16_t* dst,
                         int* marker, Band band, const RkdiDecodeHuffmanSpec* spec,
                         RkdiDecodeHuffmanState* state) {
  StateReader reader(stream, length, *position, state);
  const uint64_t all = mapBand(band.ss, band.se);
  const uint64_t old = nonZeroMap(dst) & all;
  Refinement refinement = {old, all & ~old, 0, RKD_STATE_LOAD(DecodeState, state, endOfBand)};
  RkdStatus status = takeRefinement(reader, dst, band, DecodeTable(spec), &refinement);
  if (HWY_LIKELY(status == rkdStsNoErr)) status = reader.commit(stream, position, marker, state);
  if (HWY_UNLIKELY(status != rkdStsNoErr)) {
    // As before: which coefficients a repeated call refines depends on it.
    clear(dst, refinement.zero);
    RKD_STATE_STORE(DecodeState, state, reached, uint32_t(band.ss));
    return status;
  }
  RKD_STATE_STORE(DecodeState, state, endOfBand, refinement.endOfBand);
  if (refinement.grow != 0) growMagnitudes(dst, refinement.grow, band.al);
  return rkdStsNoErr;
}

}  // namespace
}  // namespace rkd::HWY_NAMESPACE
RKD_POP_LZCNT
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace rkd {
namespace {
HWY_EXPORT(decodeDCFirst);
HWY_EXPORT(decodeDCRefine);
HWY_EXPORT(decodeACFirst);
HWY_EXPORT(decodeACRefine);
}  // namespace
}  // namespace rkd

using namespace rkd;
using namespace rkd::huff;

namespace {
RkdStatus checkDecoder(const uint8_t* stream, int length, const int* position, const int16_t* dst,
                       const RkdiDecodeHuffmanState* state) {
  if (anyNull(stream, position, dst, state)) return rkdStsNullPtrErr;
  if (const RkdStatus status = checkStream(length, *position)) return status;
  return isKind(state, Kind::decodeState) ? rkdStsNoErr : rkdStsContextErr;
}

using DecodeBandKernel = RkdStatus (*)(const uint8_t*, int, int*, int16_t*, int*, Band,
                                       const RkdiDecodeHuffmanSpec*, RkdiDecodeHuffmanState*);

RkdStatus decodeBand(DecodeBandKernel kernel, const uint8_t* stream, int length, int* position,
                     int16_t* dst, int* marker, Band band, const RkdiDecodeHuffmanSpec* spec,
                     RkdiDecodeHuffmanState* state) {
  if (spec == nullptr) return rkdStsNullPtrErr;
  if (const RkdStatus status = checkDecoder(stream, length, position, dst, state)) return status;
  if (!band.isValid()) return rkdStsBadArgErr;
  if (!isKind(spec, Kind::decodeSpec)) return rkdStsContextErr;
  return kernel(stream, length, position, dst, marker, band, spec, state);
}
}  // namespace

RkdStatus rkdiDecodeHuffman8x8_DCFirst_JPEG_1u16s_C1(const uint8_t* stream, int length,
                                                     int* position, int16_t* dst, int* previousDC,
                                                     int* marker, int al,
                                                     const RkdiDecodeHuffmanSpec* dcSpec,
                                                     RkdiDecodeHuffmanState* state) {
  if (anyNull(previousDC, dcSpec)) return rkdStsNullPtrErr;
  if (const RkdStatus status = checkDecoder(stream, length, position, dst, state)) return status;
  if (!isPointTransform(al)) return rkdStsBadArgErr;
  if (!isKind(dcSpec, Kind::decodeSpec)) return rkdStsContextErr;
  return RKD_AT_LEVEL(decodeDCFirst)(stream, length, position, dst, previousDC, marker, al, dcSpec,
                                     state);
}
RkdStatus rkdiDecodeHuffman8x8_DCRefine_JPEG_1u16s_C1(const uint8_t* stream, int length,
                                                      int* position, int16_t* dst, int* marker,
                                                      int al, RkdiDecodeHuffmanState* state) {
  if (const RkdStatus status = checkDecoder(stream, length, position, dst, state)) return status;
  if (!isPointTransform(al)) return rkdStsBadArgErr;
  return RKD_AT_LEVEL(decodeDCRefine)(stream, length, position, dst, marker, al, state);
}
RkdStatus rkdiDecodeHuffman8x8_ACFirst_JPEG_1u16s_C1(const uint8_t* stream, int length,
                                                     int* position, int16_t* dst, int* marker,
                                                     int ss, int se, int al,
                                                     const RkdiDecodeHuffmanSpec* acSpec,
                                                     RkdiDecodeHuffmanState* state) {
  return decodeBand(RKD_AT_LEVEL(decodeACFirst), stream, length, position, dst, marker,
                    {ss, se, al}, acSpec, state);
}
RkdStatus rkdiDecodeHuffman8x8_ACRefine_JPEG_1u16s_C1(const uint8_t* stream, int length,
                                                      int* position, int16_t* dst, int* marker,
                                                      int ss, int se, int al,
                                                      const RkdiDecodeHuffmanSpec* acSpec,
                                                      RkdiDecodeHuffmanState* state) {
  return decodeBand(RKD_AT_LEVEL(decodeACRefine), stream, length, position, dst, marker,
                    {ss, se, al}, acSpec, state);
}
#endif
