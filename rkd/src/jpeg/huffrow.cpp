// Rows of lossless differences over one to four planes, and their statistics.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "jpeg/huffrow.cpp"
#include "hwy/foreach_target.h"
#include "hwy/highway.h"

#include "common/levels.h"
#include "jpeg/huffbits-inl.h"

HWY_BEFORE_NAMESPACE();
RKD_PUSH_LZCNT
namespace rkd::HWY_NAMESPACE {
namespace {

/// The differences of one column, one by one.
template <int Planes, class Writer>
HWY_INLINE uint64_t putColumn(const int16_t* const* src, int x,
                              const RkdiEncodeHuffmanSpec* const spec[4], Writer* writer) {
  uint64_t used = 0;
  for (int p = 0; p < Planes; ++p) used |= putDifference(src[p][x], EncodeTable(spec[p]), writer);
  return used;
}

template <int Planes>
RkdStatus encodePlanes(const int16_t* const src[4], uint8_t* stream, int length, int* position,
                       int width, const RkdiEncodeHuffmanSpec* const spec[4],
                       RkdiEncodeHuffmanState* state) {
  StateWriter writer(stream, length, *position, state);
  const int16_t* from[Planes];
  std::copy_n(src, Planes, from);
  uint64_t used = 0;
  for (int x = 0; x < width; ++x) {
    // Most columns have small differences only, which together fit into one word. Those without a
    // code have an entry too long for it.
    uint64_t word = 0;
    unsigned bits = 0;
    bool areSmall = true;
    for (int p = 0; p < Planes; ++p) {
      const int value = from[p][x];
      areSmall &= isSmall(value);
      const uint32_t entry = EncodeTable(spec[p]).smallEntry(smallPlace(0, int8_t(value)));
      word = word << (entry & 63) | entry >> 8;
      bits += entry & 0xFF;
    }
    if (HWY_LIKELY(areSmall && bits < 64)) {
      writer.put(word, bits);
    } else {
      used |= putColumn<Planes>(from, x, spec, &writer);
    }
  }
  if (HWY_UNLIKELY((used & EncodeEntry::missing) != 0)) return rkdStsCoefRangeErr;
  return writer.commit(stream, position, state);
}

/// A row that could not be read to its end, once more: what it has in front of the fault, and then
/// zeros. Returns how many differences the former are.
HWY_NOINLINE unsigned takeBeforeFault(StateReader reader, int planes, int16_t* const dst[4],
                                      int width, const RkdiDecodeHuffmanSpec* const spec[4]) {
  unsigned reached = 0;
  bool isWhole = true;
  for (int x = 0; x < width; ++x) {
    for (int p = 0; p < planes; ++p) {
      dst[p][x] = 0;
      if (!isWhole) continue;
      reader.need32();
      const Symbol symbol = nextSymbol(reader, DecodeTable(spec[p]));
      isWhole = symbol.entry.word != 0 && isDifference(symbol) && !reader.isOverrun();
      if (!isWhole) continue;
      dst[p][x] = int16_t(differenceOf(symbol));
      ++reached;
    }
  }
  return reached;
}

template <int Planes>
RkdStatus decodePlanes(const uint8_t* stream, int length, int* position, int16_t* const dst[4],
                       int* marker, int width, const RkdiDecodeHuffmanSpec* const spec[4],
                       RkdiDecodeHuffmanState* state) {
  StateReader reader(stream, length, *position, state);
  for (int x = 0; x < width; ++x) {
    for (int p = 0; p < Planes; ++p) {
      reader.need32();
      const Symbol symbol = nextSymbol(reader, DecodeTable(spec[p]));
      if (HWY_UNLIKELY(symbol.entry.word == 0)) return codeStatus(reader);
      if (HWY_UNLIKELY(!isDifference(symbol))) {
        return reader.isOverrun() ? rkdStsSrcEndErr : rkdStsDataErr;
      }
      dst[p][x] = int16_t(differenceOf(symbol));
    }
    // A row may be long: what follows the end of the data need not be walked.
    if (HWY_UNLIKELY(reader.isOverrun())) return rkdStsSrcEndErr;
  }
  return reader.commit(stream, position, marker, state);
}

RkdStatus encodeRow(int planes, const int16_t* const src[4], uint8_t* stream, int length,
                    int* position, int width, const RkdiEncodeHuffmanSpec* const spec[4],
                    RkdiEncodeHuffmanState* state) {
  switch (planes) {
    case 1:
      return encodePlanes<1>(src, stream, length, position, width, spec, state);
    case 2:
      return encodePlanes<2>(src, stream, length, position, width, spec, state);
    case 3:
      return encodePlanes<3>(src, stream, length, position, width, spec, state);
    default:
      return encodePlanes<4>(src, stream, length, position, width, spec, state);
  }
}

RkdStatus decodeRow(int planes, const uint8_t* stream, int length, int* position,
                    int16_t* const dst[4], int* marker, int width,
                    const RkdiDecodeHuffmanSpec* const spec[4], RkdiDecodeHuffmanState* state) {
  constexpr decltype(&decodePlanes<1>) decode[] = {decodePlanes<1>, decodePlanes<2>,
                                                   decodePlanes<3>, decodePlanes<4>};
  const RkdStatus status =
      decode[planes - 1](stream, length, position, dst, marker, width, spec, state);
  if (HWY_UNLIKELY(status != rkdStsNoErr)) {
    const StateReader again(stream, length, *position, state);
    RKD_STATE_STORE(DecodeState, state, reached, takeBeforeFault(again, planes, dst, width, spec));
  }
  return status;
}

namespace hn = hwy::HWY_NAMESPACE;
using D = hn::ScalableTag<int16_t>;

/// Adds to the first eight counts how many magnitudes have more than `kFirst` bits, kFirst + 1 and
/// so on; whole vectors of at most 65535. That of the lowest number counts as the largest one.
/// Returns the greatest.
template <int kFirst>
int countMoreBits(const int16_t* src, size_t count, int* moreBits) {
  const D d;
  const size_t lanes = hn::Lanes(d);
  constexpr int kCounts = 8;
  hn::Vec<D> greatest = hn::Zero(d), sum[kCounts];
  for (auto& s : sum) s = hn::Zero(d);
  for (size_t x = 0; x < count; x += lanes) {
    const auto v = hn::LoadU(d, src + x);
    const auto magnitude = hn::Max(v, hn::SaturatedSub(hn::Zero(d), v));
    greatest = hn::Max(greatest, magnitude);
    HWY_UNROLL(kCounts)
    for (int i = 0; i < kCounts; ++i) {
      const auto most = hn::Set(d, static_cast<int16_t>((1 << (kFirst + i)) - 1));
      sum[i] = hn::Sub(sum[i], hn::VecFromMask(d, hn::Gt(magnitude, most)));
    }
  }
  HWY_ALIGN int16_t lane[HWY_MAX_BYTES / sizeof(int16_t)];
  for (int i = 0; i < kCounts; ++i) {
    hn::Store(sum[i], d, lane);
    for (size_t l = 0; l < lanes; ++l) moreBits[i] += uint16_t(lane[l]);
  }
  hn::Store(greatest, d, lane);
  return *std::max_element(lane, lane + lanes);
}

void countRow(const int16_t* src, int width, int* statistics) {
  constexpr int kPiece = 8192;  // stays in the cache, and counts stay in 16 bits
  const int whole = width & ~(int(hn::Lanes(D())) - 1);
  int moreBits[16] = {}, lowest = 0;
  for (int x = 0; x < whole; x += kPiece) {
    const int count = HWY_MIN(whole - x, kPiece);
    if (countMoreBits<0>(src + x, size_t(count), moreBits) < 256) continue;
    if (countMoreBits<8>(src + x, size_t(count), moreBits + 8) == INT16_MAX) {
      lowest += int(std::count(src + x, src + x + count, INT16_MIN));
    }
  }
  statistics[0] += whole - moreBits[0];
  for (int size = 1; size < 16; ++size) statistics[size] += moreBits[size - 1] - moreBits[size];
  statistics[15] -= lowest;
  statistics[16] += lowest;
  for (int x = whole; x < width; ++x) ++statistics[Magnitude(src[x]).size];
}

}  // namespace
}  // namespace rkd::HWY_NAMESPACE
RKD_POP_LZCNT
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace rkd {
namespace {
HWY_EXPORT(encodeRow);
HWY_EXPORT(decodeRow);
HWY_EXPORT(countRow);

/// Planes in front of the first null pointer.
template <class Plane>
int planeCount(Plane* const planes[4]) {
  int count = 0;
  while (count < 4 && planes[count] != nullptr) ++count;
  return count;
}

template <class Spec>
RkdStatus checkSpecs(const Spec* const spec[4], int planes, huff::Kind kind) {
  for (int p = 0; p < planes; ++p) {
    if (spec[p] == nullptr) return rkdStsNullPtrErr;
    if (!huff::isKind(spec[p], kind)) return rkdStsContextErr;
  }
  return rkdStsNoErr;
}
}  // namespace
}  // namespace rkd

using namespace rkd;
using namespace rkd::huff;

RkdStatus rkdiEncodeHuffmanRow_JPEG_16s1u_P4C1(const int16_t* const src[4], uint8_t* stream,
                                               int length, int* position, int width,
                                               const RkdiEncodeHuffmanSpec* const spec[4],
                                               RkdiEncodeHuffmanState* state, int flush) {
  if (anyNull(stream, position, state)) return rkdStsNullPtrErr;
  if (const RkdStatus status = checkStream(length, *position)) return status;
  if (!isKind(state, Kind::encodeState)) return rkdStsContextErr;
  if (flush != 0) return flushBits(stream, length, position, state);
  if (anyNull(src, spec) || src[0] == nullptr) return rkdStsNullPtrErr;
  if (width <= 0) return rkdStsSizeErr;
  const int planes = planeCount(src);
  if (const RkdStatus status = checkSpecs(spec, planes, Kind::encodeSpec)) return status;
  return RKD_AT_LEVEL(encodeRow)(planes, src, stream, length, position, width, spec, state);
}

RkdStatus rkdiDecodeHuffmanRow_JPEG_1u16s_C1P4(const uint8_t* stream, int length, int* position,
                                               int16_t* const dst[4], int* marker, int width,
                                               const RkdiDecodeHuffmanSpec* const spec[4],
                                               RkdiDecodeHuffmanState* state) {
  if (anyNull(stream, position, dst, spec, state) || dst[0] == nullptr) return rkdStsNullPtrErr;
  if (const RkdStatus status = checkStream(length, *position)) return status;
  if (width <= 0) return rkdStsSizeErr;
  if (!isKind(state, Kind::decodeState)) return rkdStsContextErr;
  const int planes = planeCount(dst);
  if (const RkdStatus status = checkSpecs(spec, planes, Kind::decodeSpec)) return status;
  return RKD_AT_LEVEL(decodeRow)(planes, stream, length, position, dst, marker, width, spec, state);
}

RkdStatus rkdiGetHuffmanStatisticsRow_JPEG_16s_P4(const int16_t* const src[4], int width,
                                                  int* const statistics[4]) {
  if (anyNull(src, statistics) || src[0] == nullptr) return rkdStsNullPtrErr;
  if (width <= 0) return rkdStsSizeErr;
  const int planes = planeCount(src);
  for (int p = 0; p < planes; ++p) {
    if (statistics[p] == nullptr) return rkdStsNullPtrErr;
  }
  for (int p = 0; p < planes; ++p) RKD_AT_LEVEL(countRow)(src[p], width, statistics[p]);
  return rkdStsNoErr;
}
#endif
