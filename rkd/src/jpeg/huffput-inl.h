// Writing the symbols of sequential blocks, compiled per level with the coders.
#if defined(RKD_HUFFPUT_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef RKD_HUFFPUT_INL_H_
#undef RKD_HUFFPUT_INL_H_
#else
#define RKD_HUFFPUT_INL_H_
#endif

#include "jpeg/huffbits-inl.h"

HWY_BEFORE_NAMESPACE();
RKD_PUSH_LZCNT
namespace rkd::HWY_NAMESPACE {

/// Writes the coefficients of a map, which lacks the DC; false if something has no code.
/// @param valueAt  gives them in order, each once, by its zigzag position
template <class ValueAt, class Writer>
HWY_INLINE bool putCoefficients(ValueAt valueAt, uint64_t map, EncodeTable ac, Writer& writer) {
  // Without what has been coded: the next run of zeros is in front.
  map <<= 1;
  uint64_t used = 0;
  uint32_t usedSmall = 0;
  for (unsigned k = 0; map != 0;) {
    unsigned run = unsigned(mapFirst(map));
    map = map << run << 1;
    k += run + 1;
    for (; HWY_UNLIKELY(run > 15); run -= 16) {
      const EncodeEntry zeros = ac[entryIndex(15, 0)];
      used |= zeros.word;
      writer.put(zeros.code(), zeros.length());
    }
    const int value = valueAt(k);
    if (HWY_LIKELY(isSmall(value))) {
      const uint32_t entry = ac.smallEntry(smallPlace(run, value));
      usedSmall |= entry;
      writer.putExactly(entry >> 8, entry & 255);
    } else {
      const NonZeroMagnitude magnitude(value);
      const EncodeEntry entry = ac[entryIndex(run, magnitude.size)];
      used |= entry.word;
      writer.put(entry.code() | magnitude.bits, entry.length());
    }
  }
  return (used & EncodeEntry::missing) == 0 && (usedSmall & EncodeSpecLayout::missingSmall) == 0;
}

/// Writes a DC difference; false if it has no code.
template <class Writer>
HWY_INLINE bool putDCDifference(int difference, EncodeTable dc, Writer& writer) {
  if (HWY_LIKELY(isSmall(difference))) {
    const uint32_t entry = dc.smallEntry(smallPlace(0, difference));
    writer.putExactly(entry >> 8, entry & 255);
    return (entry & EncodeSpecLayout::missingSmall) == 0;
  }
  const NonZeroMagnitude magnitude(difference);
  const EncodeEntry entry = dc[entryIndex(0, magnitude.size)];
  writer.put(entry.code() | magnitude.bits, entry.length());
  return (entry.word & EncodeEntry::missing) == 0;
}

/// Writes a block of any values; false if something has no code.
/// @param map, valueAt  see putCoefficients
template <class ValueAt, class Writer>
HWY_INLINE bool putMapped(int difference, ValueAt valueAt, uint64_t map, EncodeTable dc,
                          EncodeTable ac, Writer& writer) {
  if (HWY_UNLIKELY(!putDCDifference(difference, dc, writer))) return false;
  if (map != 0 && HWY_UNLIKELY(!putCoefficients(valueAt, map, ac, writer))) return false;
  if ((map & mapBit(63)) != 0) return true;
  const uint32_t end = ac.smallEntry(EncodeSpecLayout::endPlace);
  writer.putExactly(end >> 8, end & 255);
  return (end & EncodeSpecLayout::missingSmall) == 0;
}

/// The places of a list with the end of the block, and behind them nothing.
/// @return how many there are
HWY_INLINE int endList(uint16_t* place, ListedCount listed) {
  const int places = listed.count + 1 - int(listed.isFull);
  place[places] = EncodeSpecLayout::nonePlace;
  return places;
}

/// Writes a block whose values are all small, two at a time: the sum of two lengths stays within
/// the six bits that are looked at.
/// @param places  more than none
template <class Writer>
HWY_INLINE bool putListed(size_t dcPlace, const uint16_t* place, int places, EncodeTable dc,
                          EncodeTable ac, Writer& writer) {
  uint32_t used = 0;
  const auto putTwo = [&](uint32_t first, uint32_t second) HWY_ATTR {
    used |= first | second;
    writer.put(uint64_t{first >> 8} << (second & 63) | second >> 8, first + second);
  };
  putTwo(dc.smallEntry(dcPlace), ac.smallEntry(place[0]));
  for (int at = 1; at < places; at += 2) {
    putTwo(ac.smallEntry(place[at]), ac.smallEntry(place[at + 1]));
  }
  return (used & EncodeSpecLayout::missingSmall) == 0;
}

}  // namespace rkd::HWY_NAMESPACE
RKD_POP_LZCNT
HWY_AFTER_NAMESPACE();

#endif  // per-target include guard
