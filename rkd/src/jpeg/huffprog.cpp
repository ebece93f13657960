// Progressive scans, the encoder's side: one walk a scan kind, for the encoder and the statistics.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "jpeg/huffprog.cpp"
#include "hwy/foreach_target.h"
#include "hwy/highway.h"

#include "common/levels.h"
#include "jpeg/huffbits-inl.h"

HWY_BEFORE_NAMESPACE();
RKD_PUSH_LZCNT
namespace rkd::HWY_NAMESPACE {
namespace {

/// The pending end-of-band run: blocks, and correction bits that wait with it.
struct EndRun {
  explicit EndRun(const RkdiEncodeHuffmanState* state)
      : blocks(RKD_STATE_LOAD(EncodeState, state, endOfBand)),
        corrections(RKD_STATE_LOAD(EncodeState, state, corrections)) {}
  void commit(RkdiEncodeHuffmanState* state) const {
    RKD_STATE_STORE(EncodeState, state, endOfBand, uint16_t(blocks));
    RKD_STATE_STORE(EncodeState, state, corrections, uint16_t(corrections));
  }
  unsigned blocks;
  unsigned corrections;
};

/// What the walks talk to when symbols are sent: a sink takes a symbol, the bits behind it and,
/// with an end-of-band run, the correction bits that waited for it.
class EncodeSink {
 public:
  EncodeSink(const StateWriter& writer, EncodeTable table, uint8_t* correction)
      : writer_(writer), table_(table), correction_(correction) {}

  HWY_INLINE void valueSymbol(unsigned run, int value) {
    const NonZeroMagnitude magnitude(value);
    const EncodeEntry entry = entryOf(entryIndex(run, magnitude.size));
    writer_.put(entry.code() | magnitude.bits, entry.length());
  }
  /// The symbol of a coefficient that becomes non-zero, and its sign.
  HWY_INLINE void signSymbol(unsigned run, bool positive) {
    const EncodeEntry entry = entryOf(entryIndex(run, 1));
    writer_.put(entry.code() | unsigned(positive), entry.length());
  }
  HWY_INLINE void zeroRun() {
    const EncodeEntry entry = entryOf(entryIndex(15, 0));
    writer_.put(entry.code(), entry.length());
  }
  HWY_INLINE void endOfBand(unsigned sizeOfRun, unsigned low, unsigned corrections) {
    const EncodeEntry entry = entryOf(entryIndex(sizeOfRun, 0));
    writer_.put(uint64_t{entry.code()} << sizeOfRun | low, entry.length() + sizeOfRun);
    int kept = int(corrections - freshCount_);
    for (const uint8_t* word = correction_; kept > 0; word += 4, kept -= 32) {
      const unsigned here = unsigned(std::min(kept, 32));
      writer_.put(load<uint32_t>(word) >> (32 - here), here);
    }
    writer_.putMany(fresh_, freshCount_);
    freshCount_ = 0;
  }
  /// Raw bits: those of `from` where `map` has ones.
  HWY_INLINE void mapped(uint64_t from, uint64_t map) {
    writer_.putMany(gatherBits(from, map), unsigned(countBits(map)));
  }
  /// The same, for the end of the run. They stay here until the call cannot fail any more.
  HWY_INLINE void keepMapped(uint64_t from, uint64_t map) {
    fresh_ = gatherBits(from, map);
    freshCount_ = unsigned(countBits(map));
  }
  /// Puts the correction bits of this call behind those that make up `corrections` with them.
  HWY_INLINE void keep(unsigned corrections) {
    // Words of 32 bits: one begun and 63 bits more reach into a third one.
    const unsigned kept = corrections - freshCount_;
    uint8_t* word = correction_ + 4 * (kept / 32);
    unsigned used = kept % 32;
    uint64_t begun = used == 0 ? 0 : load<uint32_t>(word) >> (32 - used);
    for (unsigned left = freshCount_; left > 0; word += 4, used = 0, begun = 0) {
      const unsigned take = std::min(left, 32 - used);
      left -= take;
      begun = begun << take | (fresh_ >> left & ~(~uint64_t{0} << take));
      used += take;
      store(word, uint32_t(begun << (32 - used)));
    }
  }

  const StateWriter& writer() const { return writer_; }
  bool missing() const { return (used_ & EncodeEntry::missing) != 0; }

 private:
  HWY_INLINE EncodeEntry entryOf(unsigned index) {
    const EncodeEntry entry = table_[index];
    used_ |= entry.word;
    return entry;
  }

  StateWriter writer_;
  EncodeTable table_;
  uint64_t used_ = 0;
  uint64_t fresh_ = 0;
  unsigned freshCount_ = 0;
  uint8_t* correction_;
};

class CountSink {
 public:
  explicit CountSink(int* statistics) : statistics_(statistics) {}
  HWY_INLINE void valueSymbol(unsigned run, int value) {
    const unsigned size = NonZeroMagnitude(value).size;
    outOfRange_ |= size > 15;
    ++statistics_[(run << 4 | size) & 255];
  }
  HWY_INLINE void signSymbol(unsigned run, bool) { ++statistics_[run << 4 | 1]; }
  HWY_INLINE void zeroRun() { ++statistics_[zeroRun16]; }
  HWY_INLINE void endOfBand(unsigned sizeOfRun, unsigned, unsigned) {
    ++statistics_[sizeOfRun << 4];
  }
  HWY_INLINE void mapped(uint64_t, uint64_t) {}
  HWY_INLINE void keepMapped(uint64_t, uint64_t) {}
  bool outOfRange() const { return outOfRange_; }

 private:
  bool outOfRange_ = false;
  int* statistics_;
};

/// Sends the pending run, if there is one.
template <class Sink>
HWY_INLINE void sendRun(EndRun& pending, Sink& sink) {
  if (pending.blocks == 0) return;
  const unsigned size = 31 - unsigned(__builtin_clz(pending.blocks));
  sink.endOfBand(size, pending.blocks & ~(~0u << size), pending.corrections);
  pending.blocks = 0;
  pending.corrections = 0;
}

/// Adds a block to the run, which ends here if it or its correction bits get too long.
template <class Sink>
HWY_INLINE void growRun(EndRun& pending, Sink& sink) {
  ++pending.blocks;
  if (HWY_UNLIKELY(pending.blocks == 0x7FFF || pending.corrections > EncodeState::maxCorrections)) {
    sendRun(pending, sink);
  }
}

struct ACFirstWalk {
  template <class Sink>
  static HWY_INLINE void block(const int16_t* src, Band band, EndRun& pending, Sink& sink) {
    const uint64_t inBand = mapBand(band.ss, band.se);
    uint64_t map = (band.al == 0 ? nonZeroMap(src) : magnitudeMaps(src, band.al).any) & inBand;
    if (map != 0) sendRun(pending, sink);
    int next = band.ss;
    while (map != 0) {
      const int k = mapFirst(map);
      map &= mapBehind(k);
      unsigned run = unsigned(k - next);
      next = k + 1;
      for (; HWY_UNLIKELY(run > 15); run -= 16) sink.zeroRun();
      const int value = src[zigzag[size_t(k)]];
      const int sign = value >> 31;
      const int magnitude = ((value ^ sign) - sign) >> band.al;
      sink.valueSymbol(run, (magnitude ^ sign) - sign);
    }
    if (next <= band.se) growRun(pending, sink);
  }
};

struct ACRefineWalk {
  template <class Sink>
  static HWY_INLINE void block(const int16_t* src, Band band, EndRun& pending, Sink& sink) {
    const MagnitudeMaps maps = magnitudeMaps(src, band.al);
    uint64_t rest = mapBand(band.ss, band.se);
    const uint64_t zero = ~maps.any;
    const uint64_t old = maps.any & ~maps.one;
    uint64_t fresh = maps.one & rest;
    if (fresh != 0) sendRun(pending, sink);
    while (fresh != 0) {
      const int k = mapFirst(fresh);
      const uint64_t behind = mapBehind(k);
      uint64_t before = rest & ~mapFrom(k);
      int run = countBits(zero & before);
      for (; HWY_UNLIKELY(run > 15); run -= 16) {
        const uint64_t skip = mapNth(zero & before, 15);
        sink.zeroRun();
        sink.mapped(maps.odd, old & before & ~(skip | (skip - 1)));
        before &= skip - 1;
      }
      sink.signSymbol(unsigned(run), (maps.negative & mapBit(k)) == 0);
      sink.mapped(maps.odd, old & before);
      rest &= behind;
      fresh &= behind;
    }
    if (rest == 0) return;
    sink.keepMapped(maps.odd, old & rest);
    pending.corrections += unsigned(countBits(old & rest));
    growRun(pending, sink);
  }
};

/// One block of a scan, or with src null the end of an interval.
template <class Walk>
HWY_INLINE RkdStatus encodeBand(const int16_t* src, uint8_t* stream, int length, int* position,
                                Band band, const RkdiEncodeHuffmanSpec* spec,
                                RkdiEncodeHuffmanState* state) {
  EndRun pending(state);
  EncodeSink sink(StateWriter(stream, length, *position, state), EncodeTable(spec),
                  reinterpret_cast<uint8_t*>(state) + offsetof(EncodeState, correction));
  if (HWY_UNLIKELY(src == nullptr)) {
    sendRun(pending, sink);
    if (sink.missing()) return rkdStsCoefRangeErr;
    if (sink.writer().isFull()) return rkdStsDstFullErr;
    int end = int(sink.writer().out() - stream);
    const RkdStatus status = flushBits(sink.writer().waiting(), sink.writer().waitingCount(),
                                       stream, length, &end, state);
    if (status == rkdStsNoErr) *position = end;
    return status;
  }
  Walk::block(src, band, pending, sink);
  if (HWY_UNLIKELY(sink.missing())) return rkdStsCoefRangeErr;
  if (const RkdStatus status = sink.writer().commit(stream, position, state)) return status;
  pending.commit(state);
  sink.keep(pending.corrections);
  return rkdStsNoErr;
}

template <class Walk>
HWY_INLINE RkdStatus countBand(const int16_t* src, int* statistics, Band band,
                               RkdiEncodeHuffmanState* state) {
  EndRun pending(state);
  CountSink sink(statistics);
  if (src != nullptr) {
    Walk::block(src, band, pending, sink);
  } else {
    sendRun(pending, sink);
  }
  if (HWY_UNLIKELY(sink.outOfRange())) return rkdStsCoefRangeErr;
  pending.commit(state);
  return rkdStsNoErr;
}

RkdStatus encodeACFirst(const int16_t* src, uint8_t* stream, int length, int* position, Band band,
                        const RkdiEncodeHuffmanSpec* spec, RkdiEncodeHuffmanState* state) {
  return encodeBand<ACFirstWalk>(src, stream, length, position, band, spec, state);
}
RkdStatus encodeACRefine(const int16_t* src, uint8_t* stream, int length, int* position, Band band,
                         const RkdiEncodeHuffmanSpec* spec, RkdiEncodeHuffmanState* state) {
  return encodeBand<ACRefineWalk>(src, stream, length, position, band, spec, state);
}
RkdStatus countACFirst(const int16_t* src, int* statistics, Band band,
                       RkdiEncodeHuffmanState* state) {
  return countBand<ACFirstWalk>(src, statistics, band, state);
}
RkdStatus countACRefine(const int16_t* src, int* statistics, Band band,
                        RkdiEncodeHuffmanState* state) {
  return countBand<ACRefineWalk>(src, statistics, band, state);
}

/// The DC scans: one difference, or one bit.
RkdStatus encodeDCFirst(int dc, uint8_t* stream, int length, int* position, int* previousDC,
                        const RkdiEncodeHuffmanSpec* spec, RkdiEncodeHuffmanState* state) {
  StateWriter writer(stream, length, *position, state);
  const Magnitude difference(dc - int16_t(*previousDC));
  const EncodeEntry entry = EncodeTable(spec)[entryIndex(0, difference.size)];
  if (HWY_UNLIKELY((entry.word & EncodeEntry::missing) != 0)) return rkdStsCoefRangeErr;
  writer.put(entry.code() | difference.bits, entry.length());
  const RkdStatus status = writer.commit(stream, position, state);
  if (status == rkdStsNoErr) *previousDC = dc;
  return status;
}

RkdStatus encodeBit(unsigned bit, uint8_t* stream, int length, int* position,
                    RkdiEncodeHuffmanState* state) {
  StateWriter writer(stream, length, *position, state);
  writer.put(bit, 1);
  return writer.commit(stream, position, state);
}

}  // namespace
}  // namespace rkd::HWY_NAMESPACE
RKD_POP_LZCNT
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace rkd {
namespace {
HWY_EXPORT(encodeACFirst);
HWY_EXPORT(encodeACRefine);
HWY_EXPORT(countACFirst);
HWY_EXPORT(countACRefine);
HWY_EXPORT(encodeDCFirst);
HWY_EXPORT(encodeBit);
}  // namespace
}  // namespace rkd

using namespace rkd;
using namespace rkd::huff;

namespace {
RkdStatus checkEncoder(const uint8_t* stream, int length, const int* position,
                       const RkdiEncodeHuffmanState* state) {
  if (anyNull(stream, position, state)) return rkdStsNullPtrErr;
  if (const RkdStatus status = checkStream(length, *position)) return status;
  return isKind(state, Kind::encodeState) ? rkdStsNoErr : rkdStsContextErr;
}

using EncodeBandKernel = RkdStatus (*)(const int16_t*, uint8_t*, int, int*, Band,
                                       const RkdiEncodeHuffmanSpec*, RkdiEncodeHuffmanState*);
using CountBandKernel = RkdStatus (*)(const int16_t*, int*, Band, RkdiEncodeHuffmanState*);

RkdStatus encodeBand(EncodeBandKernel kernel, const int16_t* src, uint8_t* stream, int length,
                     int* position, Band band, const RkdiEncodeHuffmanSpec* spec,
                     RkdiEncodeHuffmanState* state, int flush) {
  if (const RkdStatus status = checkEncoder(stream, length, position, state)) return status;
  if (spec == nullptr || (flush == 0 && src == nullptr)) return rkdStsNullPtrErr;
  if (!band.isValid()) return rkdStsBadArgErr;
  if (!isKind(spec, Kind::encodeSpec)) return rkdStsContextErr;
  return kernel(flush == 0 ? src : nullptr, stream, length, position, band, spec, state);
}

RkdStatus countBand(CountBandKernel kernel, const int16_t* src, int* statistics, Band band,
                    RkdiEncodeHuffmanState* state, int flush) {
  if (anyNull(statistics, state) || (flush == 0 && src == nullptr)) return rkdStsNullPtrErr;
  if (!band.isValid()) return rkdStsBadArgErr;
  if (!isKind(state, Kind::encodeState)) return rkdStsContextErr;
  return kernel(flush == 0 ? src : nullptr, statistics, band, state);
}
}  // namespace

RkdStatus rkdiGetHuffmanStatistics8x8_DCFirst_JPEG_16s_C1(const int16_t* src, int* statistics,
                                                          int* previousDC, int al) {
  if (anyNull(src, statistics, previousDC)) return rkdStsNullPtrErr;
  if (!isPointTransform(al)) return rkdStsBadArgErr;
  const int dc = src[0] >> al;
  const int difference = std::abs(dc - int16_t(*previousDC));
  if (difference > INT16_MAX) return rkdStsCoefRangeErr;
  ++statistics[std::bit_width(unsigned(difference))];
  *previousDC = dc;
  return rkdStsNoErr;
}
RkdStatus rkdiGetHuffmanStatistics8x8_ACFirst_JPEG_16s_C1(const int16_t* src, int* statistics,
                                                          int ss, int se, int al,
                                                          RkdiEncodeHuffmanState* state,
                                                          int flush) {
  return countBand(RKD_AT_LEVEL(countACFirst), src, statistics, {ss, se, al}, state, flush);
}
RkdStatus rkdiGetHuffmanStatistics8x8_ACRefine_JPEG_16s_C1(const int16_t* src, int* statistics,
                                                           int ss, int se, int al,
                                                           RkdiEncodeHuffmanState* state,
                                                           int flush) {
  return countBand(RKD_AT_LEVEL(countACRefine), src, statistics, {ss, se, al}, state, flush);
}

RkdStatus rkdiEncodeHuffman8x8_DCFirst_JPEG_16s1u_C1(const int16_t* src, uint8_t* stream,
                                                     int length, int* position, int* previousDC,
                                                     int al, const RkdiEncodeHuffmanSpec* dcSpec,
                                                     RkdiEncodeHuffmanState* state, int flush) {
  if (const RkdStatus status = checkEncoder(stream, length, position, state)) return status;
  if (!isPointTransform(al)) return rkdStsBadArgErr;
  if (flush != 0) return flushBits(stream, length, position, state);
  if (anyNull(src, previousDC, dcSpec)) return rkdStsNullPtrErr;
  if (!isKind(dcSpec, Kind::encodeSpec)) return rkdStsContextErr;
  return RKD_AT_LEVEL(encodeDCFirst)(src[0] >> al, stream, length, position, previousDC, dcSpec,
                                     state);
}
RkdStatus rkdiEncodeHuffman8x8_DCRefine_JPEG_16s1u_C1(const int16_t* src, uint8_t* stream,
                                                      int length, int* position, int al,
                                                      RkdiEncodeHuffmanState* state, int flush) {
  if (const RkdStatus status = checkEncoder(stream, length, position, state)) return status;
  if (!isPointTransform(al)) return rkdStsBadArgErr;
  if (flush != 0) return flushBits(stream, length, position, state);
  if (src == nullptr) return rkdStsNullPtrErr;
  return RKD_AT_LEVEL(encodeBit)(unsigned(src[0] >> al & 1), stream, length, position, state);
}
RkdStatus rkdiEncodeHuffman8x8_ACFirst_JPEG_16s1u_C1(const int16_t* src, uint8_t* stream,
                                                     int length, int* position, int ss, int se,
                                                     int al, const RkdiEncodeHuffmanSpec* acSpec,
                                                     RkdiEncodeHuffmanState* state, int flush) {
  return encodeBand(RKD_AT_LEVEL(encodeACFirst), src, stream, length, position, {ss, se, al},
                    acSpec, state, flush);
}
RkdStatus rkdiEncodeHuffman8x8_ACRefine_JPEG_16s1u_C1(const int16_t* src, uint8_t* stream,
                                                      int length, int* position, int ss, int se,
                                                      int al, const RkdiEncodeHuffmanSpec* acSpec,
                                                      RkdiEncodeHuffmanState* state, int flush) {
  return encodeBand(RKD_AT_LEVEL(encodeACRefine), src, stream, length, position, {ss, se, al},
                    acSpec, state, flush);
}
#endif
