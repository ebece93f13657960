// Sequential blocks (with a state, and direct), single values and their statistics.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "jpeg/huffblock.cpp"
#include "hwy/foreach_target.h"
#include "hwy/highway.h"

#include "common/levels.h"
#include "jpeg/huffbits-inl.h"

HWY_BEFORE_NAMESPACE();
RKD_PUSH_LZCNT
namespace rkd::HWY_NAMESPACE {
namespace {

/// A block has at most 64 symbols of 32 bits; 7 bits wait before it.
constexpr int blockScratch = 64 * 4 + 16;

/// Writes one block; returns the or of all entries used, with `missing` if one has no code.
HWY_INLINE uint64_t putBlock(const int16_t* src, int previousDC, const EncodeTable& dc,
                             const EncodeTable& ac, BitWriter* writer) {
  BitWriter w = *writer;
  const Magnitude difference(src[0] - int16_t(previousDC));
  const EncodeEntry dcEntry = dc[entryIndex(0, difference.size)];
  uint64_t used = dcEntry.word;
  w.put(dcEntry.code() | difference.bits, dcEntry.length());

  int last = 0;
  for (uint64_t map = nonZeroMap(src) & mapBehind(0); map != 0;) {
    const int k = mapFirst(map);
    map &= mapBehind(k);
    unsigned run = unsigned(k - last - 1);
    last = k;
    while (HWY_UNLIKELY(run > 15)) {
      const EncodeEntry zeros = ac[entryIndex(15, 0)];
      used |= zeros.word;
      w.put(zeros.code(), zeros.length());
      run -= 16;
    }
    const NonZeroMagnitude value(src[zigzag[size_t(k)]]);
    const EncodeEntry entry = ac[entryIndex(run, value.size)];
    used |= entry.word;
    w.put(entry.code() | value.bits, entry.length());
  }
  if (last != 63) {
    const EncodeEntry end = ac[entryIndex(0, 0)];
    used |= end.word;
    w.put(end.code(), end.length());
  }
  *writer = w;
  return used;
}

RkdStatus encodeBlock(const int16_t* src, uint8_t* stream, int length, int* position,
                      int* previousDC, const RkdiEncodeHuffmanSpec* dcSpec,
                      const RkdiEncodeHuffmanSpec* acSpec, RkdiEncodeHuffmanState* state) {
  EncodeState head = load<EncodeState>(state);
  uint8_t scratch[blockScratch];
  BitWriter writer(scratch, head.bits, head.bitCount);
  const uint64_t used =
      putBlock(src, *previousDC, EncodeTable(dcSpec), EncodeTable(acSpec), &writer);
  if (HWY_UNLIKELY((used & EncodeEntry::missing) != 0)) return rkdStsCoefRangeErr;
  const RkdStatus status = commit(writer, scratch, stream, length, position, &head, state);
  if (status == rkdStsNoErr) *previousDC = src[0];
  return status;
}

RkdStatus encodeBlockDirect(const int16_t* src, uint8_t* stream, int length, int* position,
                            int* previousDC, const RkdiEncodeHuffmanSpec* dcSpec,
                            const RkdiEncodeHuffmanSpec* acSpec) {
  const int at = *position >> 3;
  const unsigned waiting = unsigned(*position & 7);
  uint8_t scratch[blockScratch];
  BitWriter writer(scratch, waiting == 0 ? 0u : unsigned(stream[at]) >> (8 - waiting), waiting);
  const uint64_t used =
      putBlock(src, *previousDC, EncodeTable(dcSpec), EncodeTable(acSpec), &writer);
  if (HWY_UNLIKELY((used & EncodeEntry::missing) != 0)) return rkdStsCoefRangeErr;
  int bytes = int(writer.end() - scratch);
  const int bits = 8 * bytes + int(writer.waitingCount());
  if (writer.waitingCount() > 0) {
    scratch[bytes] =
        uint8_t(writer.waiting() << (8 - writer.waitingCount()) | (0xFFu >> writer.waitingCount()));
    ++bytes;
  }
  if (HWY_UNLIKELY(bytes > length - at)) return rkdStsDstFullErr;
  std::memcpy(stream + at, scratch, size_t(bytes));
  *position = 8 * at + bits;
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
  EncodeState head = load<EncodeState>(state);
  uint8_t scratch[16];
  BitWriter writer(scratch, head.bits, head.bitCount);
  const uint64_t used = putDifference(value, EncodeTable(spec), &writer);
  if (HWY_UNLIKELY((used & EncodeEntry::missing) != 0)) return rkdStsCoefRangeErr;
  return commit(writer, scratch, stream, length, position, &head, state);
}

/// Reads the coefficients of one block into zeros. On success the whole block has been taken.
template <class Reader>
HWY_INLINE RkdStatus takeBlock(Reader* reader, int16_t* dst, int* dcValue, const DecodeTable& dc,
                               const DecodeTable& ac) {
  Reader r = *reader;
  r.need32();
  const DecodeEntry difference = nextSymbol(r, dc);
  if (HWY_UNLIKELY(difference.word == 0)) return codeStatus(r);
  if (HWY_UNLIKELY(!isDctDifference(difference))) {
    return r.isOverrun() ? rkdStsSrcEndErr : rkdStsDataErr;
  }
  *dcValue = int16_t(*dcValue + difference.value());
  std::memset(dst, 0, 64 * sizeof *dst);
  dst[0] = int16_t(*dcValue);

  for (unsigned k = 1; k < 64; ++k) {
    r.need32();
    const DecodeEntry entry = nextSymbol(r, ac);
    k += entry.run();
    if (HWY_UNLIKELY(k > 63)) {
      if (entry.run() == DecodeEntry::ends) break;
      return r.isOverrun() ? rkdStsSrcEndErr : rkdStsDataErr;
    }
    if (HWY_UNLIKELY(entry.word == 0)) return codeStatus(r);
    dst[zigzag[k]] = int16_t(entry.value());
  }
  *reader = r;
  return rkdStsNoErr;
}

RkdStatus decodeBlock(const uint8_t* stream, int length, int* position, int16_t* dst,
                      int* previousDC, int* marker, const RkdiDecodeHuffmanSpec* dcSpec,
                      const RkdiDecodeHuffmanSpec* acSpec, RkdiDecodeHuffmanState* state) {
  const DecodeState head = load<DecodeState>(state);
  StateReader reader(stream, length, *position, head);
  int dc = int16_t(*previousDC);
  if (const RkdStatus status =
          takeBlock(&reader, dst, &dc, DecodeTable(dcSpec), DecodeTable(acSpec))) {
    return status;
  }
  if (const RkdStatus status = reader.commit(stream, position, marker, head.endOfBand, state)) {
    return status;
  }
  *previousDC = dc;
  return rkdStsNoErr;
}

RkdStatus decodeBlockDirect(const uint8_t* stream, int length, int* position, int16_t* dst,
                            int* previousDC, const RkdiDecodeHuffmanSpec* dcSpec,
                            const RkdiDecodeHuffmanSpec* acSpec) {
  const uint8_t* const start = stream + (*position >> 3);
  BitReader<false> reader(0, 0, start, stream + length);
  reader.fill();
  // An overrun here is a position at the very end: the first symbol then finds nothing.
  reader.skip(unsigned(*position & 7));
  int dc = int16_t(*previousDC);
  if (const RkdStatus status =
          takeBlock(&reader, dst, &dc, DecodeTable(dcSpec), DecodeTable(acSpec))) {
    return status;
  }
  if (reader.isOverrun()) return rkdStsSrcEndErr;
  *position = int(8 * (reader.next() - stream)) - reader.count();
  *previousDC = dc;
  return rkdStsNoErr;
}

RkdStatus decodeOne(const uint8_t* stream, int length, int* position, int16_t* dst, int* marker,
                    const RkdiDecodeHuffmanSpec* spec, RkdiDecodeHuffmanState* state) {
  const DecodeState head = load<DecodeState>(state);
  StateReader reader(stream, length, *position, head);
  reader.need32();
  const DecodeEntry entry = nextSymbol(reader, DecodeTable(spec));
  if (HWY_UNLIKELY(entry.word == 0)) return codeStatus(reader);
  if (HWY_UNLIKELY(!isDifference(entry))) {
    return reader.isOverrun() ? rkdStsSrcEndErr : rkdStsDataErr;
  }
  if (const RkdStatus status = reader.commit(stream, position, marker, head.endOfBand, state)) {
    return status;
  }
  *dst = int16_t(differenceOf(entry));
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
  if (anyNull(stream, position, state)) return rkdStsNullPtrErr;
  if (const RkdStatus status = checkStream(length, *position)) return status;
  if (!isKind(state, Kind::encodeState)) return rkdStsContextErr;
  if (flush != 0) return flushBits(stream, length, position, state);
  if (anyNull(src, previousDC, dcSpec, acSpec)) return rkdStsNullPtrErr;
  if (!isKind(dcSpec, Kind::encodeSpec) || !isKind(acSpec, Kind::encodeSpec)) {
    return rkdStsContextErr;
  }
  return RKD_AT_LEVEL(encodeBlock)(src, stream, length, position, previousDC, dcSpec, acSpec,
                                   state);
}

RkdStatus rkdiDecodeHuffman8x8_JPEG_1u16s_C1(const uint8_t* stream, int length, int* position,
                                             int16_t* dst, int* previousDC, int* marker,
                                             const RkdiDecodeHuffmanSpec* dcSpec,
                                             const RkdiDecodeHuffmanSpec* acSpec,
                                             RkdiDecodeHuffmanState* state) {
  if (anyNull(stream, position, dst, previousDC, dcSpec, acSpec, state)) return rkdStsNullPtrErr;
  if (const RkdStatus status = checkStream(length, *position)) return status;
  if (!isKind(state, Kind::decodeState) || !isKind(dcSpec, Kind::decodeSpec) ||
      !isKind(acSpec, Kind::decodeSpec)) {
    return rkdStsContextErr;
  }
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
