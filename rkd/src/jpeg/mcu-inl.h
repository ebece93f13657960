// The pixels of one MCU to and from level-shifted blocks, compiled once per level: any pixel format
// of color/pixels-inl.h, converted or not, with any sampling. Include after "hwy/highway.h", inside
// no namespace.
#if defined(RKD_JPEG_MCU_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef RKD_JPEG_MCU_INL_H_
#undef RKD_JPEG_MCU_INL_H_
#else
#define RKD_JPEG_MCU_INL_H_
#endif

#include "color/ycc-inl.h"
#include "hwy/highway.h"

HWY_BEFORE_NAMESPACE();
namespace rkd::HWY_NAMESPACE {

// An MCU of H by V blocks at full resolution; Cb and Cr have one block. A tile takes kBlocks rows
// of 16 pixels, or twice as many rows of 8, whose lower half of rows stands in half 1. Where rows
// are halved, too, a pair of tiles takes the even and the odd rows of twice as many.
template <int H, int V>
struct Shape {
  static constexpr int kWidth = 8 * H, kHeight = 8 * V;
  static constexpr bool kHalvesRows = V == 2;
  static constexpr int kRowsAtOnce = kBlocks * (16 / kWidth) * V;
};
using Shape444 = Shape<1, 1>;
using Shape422 = Shape<2, 1>;
using Shape411 = Shape<2, 2>;

// The tile whose first row is at `first`.
template <class S, class Byte>
struct McuPlace {
  static constexpr bool kIsRow = false, kIsJoined = S::kWidth == 16;
  static constexpr int kRowStride = S::kHalvesRows ? 2 : 1;
  Byte* first;
  int step, halfBytes;
  HWY_INLINE Byte* at(int group, int half) const {
    if (kIsJoined) return rowAt(first, step, group * kRowStride) + half * halfBytes;
    return rowAt(first, step, group + half * kBlocks);
  }
};

template <class S, class Format, class Sample>
HWY_INLINE auto mcuPlace(Sample* pixels, int step, int row) {
  using Byte = std::conditional_t<std::is_const_v<Sample>, const uint8_t, uint8_t>;
  constexpr int kHalfBytes = 8 * Format::kSamples * static_cast<int>(sizeof(Sample));
  return McuPlace<S, Byte>{reinterpret_cast<Byte*>(rowAt(pixels, step, row)), step, kHalfBytes};
}

HWY_INLINE V16 shiftDown(V16 v) { return hn::Sub(v, hn::Set(D16(), 128)); }
HWY_INLINE V16 shiftUp(V16 v) { return hn::SaturatedAdd(v, hn::Set(D16(), 128)); }
HWY_INLINE Words shiftDown(const Words& w) {
  return {{shiftDown(w.half[0]), shiftDown(w.half[1])}};
}
HWY_INLINE Words shiftUp(const Words& w) { return {{shiftUp(w.half[0]), shiftUp(w.half[1])}}; }

// ---- a tile to level-shifted words, with conversion or without ----

struct NoConversion {};

template <class Operation, class Format, int P, class Place>
HWY_INLINE void loadShifted(const Place& place, Words* c) {
  if constexpr (std::is_same_v<Operation, NoConversion>) {
    Format::loadChannels(place, c);
    for (int p = 0; p < P; ++p) c[p] = shiftDown(c[p]);
  } else {
    RgbTile tile;
    Format::load(place, &tile);
    toYcc<-128>(tile, c);
    if constexpr (P == 4) c[3] = shiftDown(tile.key);
  }
}

// ---- planes at full resolution ----

// Where the rows of half h of the tile from `row` on start.
template <class S, class T>
HWY_INLINE T* fullRows(T* plane, int row, int h) {
  if (S::kWidth == 16) return plane + row / 8 * 128 + row % 8 * 8 + 64 * h;
  return plane + (row + h * kBlocks) * 8;
}

template <class S>
HWY_INLINE void storeFull(const Words& w, int16_t* plane, int row) {
  for (int h = 0; h < 2; ++h) hn::StoreU(w.half[h], D16(), fullRows<S>(plane, row, h));
}

template <class S>
HWY_INLINE Words loadFull(const int16_t* plane, int row) {
  const D16 d16;
  return {{hn::LoadU(d16, fullRows<S>(plane, row, 0)), hn::LoadU(d16, fullRows<S>(plane, row, 1))}};
}

// Pairs of tiles with even and odd rows.
template <class S>
HWY_INLINE void storeFull(const Words& even, const Words& odd, int16_t* plane, int row) {
  const D16 d16;
  for (int h = 0; h < 2; ++h) {
    V16 first, second;
    zipBlocks(even.half[h], odd.half[h], &first, &second);
    hn::StoreU(first, d16, fullRows<S>(plane, row, h));
    hn::StoreU(second, d16, fullRows<S>(plane, row, h) + kTile / 2);
  }
}

template <class S>
HWY_INLINE void loadFull(const int16_t* plane, int row, Words* even, Words* odd) {
  const D16 d16;
  for (int h = 0; h < 2; ++h) {
    const V16 first = hn::LoadU(d16, fullRows<S>(plane, row, h));
    const V16 second = hn::LoadU(d16, fullRows<S>(plane, row, h) + kTile / 2);
    even->half[h] = evenBlocks(first, second);
    odd->half[h] = oddBlocks(first, second);
  }
}

// ---- planes of half the width: kBlocks rows of eight ----

// Sums of horizontal pairs, plus a bias that alternates, in kBits bits more than wanted.
template <int kBits>
HWY_INLINE void storeMeans(V16 first, V16 second, int16_t* rows) {
  const V16 ones = pairOf(1, 1);
  const hn::Repartition<int64_t, D8> d64;
  const auto biasBits = static_cast<int64_t>(kBits) << 32 | (kBits - 1);
  const V32 bias = hn::BitCast(D32(), hn::Set(d64, biasBits));
  const V32 a = hn::ShiftRight<kBits>(addPairProducts(bias, first, ones));
  const V32 b = hn::ShiftRight<kBits>(addPairProducts(bias, second, ones));
  hn::StoreU(pack16(a, b), D16(), rows);
}

HWY_INLINE void storeHalf(const Words& w, int16_t* plane, int row) {
  storeMeans<1>(w.half[0], w.half[1], plane + row * 8);
}

HWY_INLINE void storeQuarter(const Words& even, const Words& odd, int16_t* plane, int row) {
  storeMeans<2>(hn::Add(even.half[0], odd.half[0]), hn::Add(even.half[1], odd.half[1]),
                plane + row / 2 * 8);
}

// ---- whole MCUs. Kernels return the status, so that entry points end in a jump ----

template <class S, class Format, class Operation, int P>
HWY_INLINE RkdStatus toBlocks(const typename Format::Sample* src, int step, int16_t* const* dst) {
  for (int row = 0; row < S::kHeight; row += S::kRowsAtOnce) {
    Words c[4];
    loadShifted<Operation, Format, P>(mcuPlace<S, Format>(src, step, row), c);
    if constexpr (S::kHalvesRows) {
      Words odd[4];
      loadShifted<Operation, Format, P>(mcuPlace<S, Format>(src, step, row + 1), odd);
      storeFull<S>(c[0], odd[0], dst[0], row);
      storeQuarter(c[1], odd[1], dst[1], row);
      storeQuarter(c[2], odd[2], dst[2], row);
      if constexpr (P == 4) storeFull<S>(c[3], odd[3], dst[3], row);
    } else {
      storeFull<S>(c[0], dst[0], row);
      if constexpr (P == 4) storeFull<S>(c[3], dst[3], row);
      for (int p = 1; p < 3; ++p) {
        if constexpr (S::kWidth == 16) {
          storeHalf(c[p], dst[p], row);
        } else {
          storeFull<S>(c[p], dst[p], row);
        }
      }
    }
  }
  return rkdStsNoErr;
}

// What Cb and Cr of some pixels make of their channels, once for all pixels that share them.
template <class Operation>
HWY_INLINE Rgb3 partOf(V16 cb, V16 cr) {
  if constexpr (std::is_same_v<Operation, NoConversion>) {
    return {hn::Zero(D16()), shiftUp(cb), shiftUp(cr)};
  } else {
    return chromaPart(signedBytePairs(cb, cr));
  }
}

// The part of the pixels of half h where each value holds for two.
HWY_INLINE Rgb3 partOfHalf(const Rgb3& part, int h) {
  const D16 d16;
  if (h == 0) {
    return {hn::InterleaveLower(d16, part.r, part.r), hn::InterleaveLower(d16, part.g, part.g),
            hn::InterleaveLower(d16, part.b, part.b)};
  }
  return {hn::InterleaveUpper(d16, part.r, part.r), hn::InterleaveUpper(d16, part.g, part.g),
          hn::InterleaveUpper(d16, part.b, part.b)};
}

// A tile from its first component and K, unshifted, and the parts of its halves.
template <class S, class Format, class Operation, int P>
HWY_INLINE void putTile(const Words& y, const Words& key, const Rgb3* part,
                        typename Format::Sample* dst, int step, int row) {
  Words c[4];
  const Words luma =
      std::is_same_v<Operation, NoConversion> ? shiftUp(y) : wordsOf(bytesOf(shiftUp(y)));
  for (int h = 0; h < 2; ++h) {
    if constexpr (std::is_same_v<Operation, NoConversion>) {
      c[0].half[h] = luma.half[h];
      c[1].half[h] = part[h].g;
      c[2].half[h] = part[h].b;
    } else {
      c[0].half[h] = hn::Add(luma.half[h], part[h].r);
      c[1].half[h] = hn::Sub(luma.half[h], part[h].g);
      c[2].half[h] = hn::Add(luma.half[h], part[h].b);
    }
  }
  if constexpr (P == 4) c[3] = shiftUp(key);
  Format::store(c, mcuPlace<S, Format>(dst, step, row));
}

template <class S, class Format, class Operation, int P>
HWY_INLINE RkdStatus fromBlocks(const int16_t* const* src, typename Format::Sample* dst, int step) {
  const D16 d16;
  for (int row = 0; row < S::kHeight; row += S::kRowsAtOnce) {
    Rgb3 part[2];
    if constexpr (S::kWidth == 8) {
      const Words cb = loadFull<S>(src[1], row), cr = loadFull<S>(src[2], row);
      for (int h = 0; h < 2; ++h) part[h] = partOf<Operation>(cb.half[h], cr.half[h]);
    } else {
      const int at = S::kHalvesRows ? row / 2 * 8 : row * 8;
      const Rgb3 both = partOf<Operation>(hn::LoadU(d16, src[1] + at), hn::LoadU(d16, src[2] + at));
      for (int h = 0; h < 2; ++h) part[h] = partOfHalf(both, h);
    }
    const auto put = putTile<S, Format, Operation, P>;
    if constexpr (S::kHalvesRows) {
      Words even[2], odd[2];
      loadFull<S>(src[0], row, even, odd);
      if constexpr (P == 4) loadFull<S>(src[3], row, even + 1, odd + 1);
      put(even[0], even[1], part, dst, step, row);
      put(odd[0], odd[1], part, dst, step, row + 1);
    } else {
      const Words y = loadFull<S>(src[0], row);
      put(y, P == 4 ? loadFull<S>(src[P - 1], row) : y, part, dst, step, row);
    }
  }
  return rkdStsNoErr;
}

}  // namespace rkd::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif  // per-target guard
