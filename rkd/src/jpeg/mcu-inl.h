// The pixels of one MCU to and from level-shifted blocks, compiled once per level: any pixel format
// and operation of color/ycc-inl.h with any sampling. Include after "hwy/highway.h", inside no
// namespace.
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

// An MCU of H by V blocks at full resolution; Cb and Cr have one block.
template <int H, int V>
struct Shape {
  static constexpr int kWidth = 8 * H, kHeight = 8 * V;
  static constexpr int kTileRows = static_cast<int>(kTile) / kWidth;  // pixel rows of a tile
  static constexpr bool kHalvesRows = V == 2;                         // tiles go in pairs
};
using Shape444 = Shape<1, 1>;
using Shape422 = Shape<2, 1>;
using Shape411 = Shape<2, 2>;

struct NoConversion {
  static HWY_INLINE void apply(V8*) {}
};

HWY_INLINE V16 shiftDown(V16 v) { return hn::Sub(v, hn::Set(D16(), 128)); }
HWY_INLINE V16 shiftUp(V16 v) { return hn::SaturatedAdd(v, hn::Set(D16(), 128)); }

// ---- a tile of an MCU's pixels: 16 a block, from one row of 16 or two rows of 8 ----

// Where chunk k of the block that starts in pixel row `row` lies: 16 bytes from one row, or, where
// a row of 8 pixels ends within the chunk, 8 bytes from each of two.
template <class S, int kBytes>
struct ChunkPlace {
  static constexpr int kRowBytes = S::kWidth * kBytes;
  int row, offset;  // of the first byte
  bool isSplit;
  HWY_INLINE ChunkPlace(int firstRow, int block, int k) {
    const int at = 16 * k;
    row = firstRow + block * (16 / S::kWidth) + at / kRowBytes;
    offset = at % kRowBytes;
    isSplit = offset + 16 > kRowBytes;
  }
};

template <class S, class Format>
HWY_INLINE void loadRows(const typename Format::Sample* src, int step, int row, V8* c) {
  using Sample = typename Format::Sample;
  constexpr int kBytes = Format::kSamples * static_cast<int>(sizeof(Sample));
  const hn::Full128<uint8_t> d128;
  const auto* bytes = reinterpret_cast<const uint8_t*>(src);
  V8 chunk[kBytes];
  for (int k = 0; k < kBytes; ++k) {
    chunk[k] = joinBlocks([&](int block) HWY_ATTR {
      const ChunkPlace<S, kBytes> place(row, block, k);
      const uint8_t* from = rowAt(bytes, step, place.row) + place.offset;
      if (!place.isSplit) return hn::LoadU(d128, from);
      const hn::Half<hn::Full128<uint8_t>> d64;
      return hn::Combine(d128, hn::LoadU(d64, rowAt(bytes, step, place.row + 1)),
                         hn::LoadU(d64, from));
    });
  }
  Format::fromChunks(chunk, c);
}

template <class S, class Format>
HWY_INLINE void storeRows(const V8* c, typename Format::Sample* dst, int step, int row) {
  using Sample = typename Format::Sample;
  constexpr int kBytes = Format::kSamples * static_cast<int>(sizeof(Sample));
  const hn::Full128<uint8_t> d128;
  auto* bytes = reinterpret_cast<uint8_t*>(dst);
  V8 chunk[kBytes];
  Format::toChunks(c, chunk);
  for (int k = 0; k < kBytes; ++k) {
    eachBlock(chunk[k], [&](int block, Block128 v) HWY_ATTR {
      const ChunkPlace<S, kBytes> place(row, block, k);
      uint8_t* to = rowAt(bytes, step, place.row) + place.offset;
      if (!place.isSplit) return hn::StoreU(v, d128, to);
      const hn::Half<hn::Full128<uint8_t>> d64;
      hn::StoreU(hn::LowerHalf(v), d64, to);
      hn::StoreU(hn::UpperHalf(d64, v), d64, rowAt(bytes, step, place.row + 1));
    });
  }
}

// ---- a plane at full resolution: two blocks across, or one ----

template <class S>
HWY_INLINE void storeFull(V8 v, int16_t* plane, int row) {
  const D16 d16;
  if constexpr (S::kWidth == 16) {
    int16_t* to = plane + row / 8 * 128 + row % 8 * 8;
    hn::StoreU(shiftDown(lower16(v)), d16, to);
    hn::StoreU(shiftDown(upper16(v)), d16, to + 64);
  } else {
    int16_t* to = plane + row * 8;
    hn::StoreU(shiftDown(first16(v)), d16, to);
    hn::StoreU(shiftDown(second16(v)), d16, to + kTile / 2);
  }
}

template <class S>
HWY_INLINE V8 loadFull(const int16_t* plane, int row) {
  const D16 d16;
  if constexpr (S::kWidth == 16) {
    const int16_t* from = plane + row / 8 * 128 + row % 8 * 8;
    return pack8(shiftUp(hn::LoadU(d16, from)), shiftUp(hn::LoadU(d16, from + 64)));
  } else {
    const int16_t* from = plane + row * 8;
    return packInOrder(shiftUp(hn::LoadU(d16, from)), shiftUp(hn::LoadU(d16, from + kTile / 2)));
  }
}

// ---- a plane of half the width ----

// first, second, first, second ...
HWY_INLINE V16 alternating(int first, int second) { return pairOf(first, second); }

HWY_INLINE void storeHalf(V8 v, int16_t* plane, int row) {
  const V16 mean = hn::ShiftRight<1>(hn::Add(pairSums(v), alternating(0, 1)));
  hn::StoreU(shiftDown(mean), D16(), plane + row * 8);
}

// Two tiles, row by row below one another, to rows of half their number.
HWY_INLINE void storeQuarter(V8 above, V8 below, int16_t* plane, int row) {
  const V16 a = pairSums(above), b = pairSums(below);
  const V16 sum = hn::Add(evenBlocks(a, b), oddBlocks(a, b));
  const V16 mean = hn::ShiftRight<2>(hn::Add(sum, alternating(1, 2)));
  hn::StoreU(shiftDown(mean), D16(), plane + row / 2 * 8);
}

// Rows of eight samples, every sample twice.
HWY_INLINE V8 loadHalf(const int16_t* plane, int row) {
  const V16 v = shiftUp(hn::LoadU(D16(), plane + row * 8));
  const V8 bytes = pack8(v, v);
  return hn::InterleaveLower(D8(), bytes, bytes);
}

// ---- whole MCUs ----

template <class S, class Format, class Operation, int P>
HWY_INLINE void toBlocks(const typename Format::Sample* src, int step, int16_t* const* dst) {
  constexpr int kRows = S::kHalvesRows ? 2 * S::kTileRows : S::kTileRows;
  for (int row = 0; row < S::kHeight; row += kRows) {
    V8 c[4];
    loadRows<S, Format>(src, step, row, c);
    Operation::apply(c);
    storeFull<S>(c[0], dst[0], row);
    if constexpr (P == 4) storeFull<S>(c[3], dst[3], row);
    if constexpr (S::kWidth == 8) {
      storeFull<S>(c[1], dst[1], row);
      storeFull<S>(c[2], dst[2], row);
    } else if constexpr (!S::kHalvesRows) {
      storeHalf(c[1], dst[1], row);
      storeHalf(c[2], dst[2], row);
    } else {
      V8 below[4];
      loadRows<S, Format>(src, step, row + S::kTileRows, below);
      Operation::apply(below);
      storeFull<S>(below[0], dst[0], row + S::kTileRows);
      if constexpr (P == 4) storeFull<S>(below[3], dst[3], row + S::kTileRows);
      storeQuarter(c[1], below[1], dst[1], row);
      storeQuarter(c[2], below[2], dst[2], row);
    }
  }
}

template <class S, class Format, class Operation, int P>
HWY_INLINE void putTile(const int16_t* const* src, V8 cb, V8 cr, typename Format::Sample* dst,
                        int step, int row) {
  V8 c[4];
  c[0] = loadFull<S>(src[0], row);
  c[1] = cb;
  c[2] = cr;
  if constexpr (P == 4) c[3] = loadFull<S>(src[3], row);
  Operation::apply(c);
  storeRows<S, Format>(c, dst, step, row);
}

template <class S, class Format, class Operation, int P>
HWY_INLINE void fromBlocks(const int16_t* const* src, typename Format::Sample* dst, int step) {
  constexpr int kRows = S::kHalvesRows ? 2 * S::kTileRows : S::kTileRows;
  const auto put = [&](V8 cb, V8 cr, int row)
                       HWY_ATTR { putTile<S, Format, Operation, P>(src, cb, cr, dst, step, row); };
  for (int row = 0; row < S::kHeight; row += kRows) {
    if constexpr (S::kWidth == 8) {
      put(loadFull<S>(src[1], row), loadFull<S>(src[2], row), row);
    } else if constexpr (!S::kHalvesRows) {
      put(loadHalf(src[1], row), loadHalf(src[2], row), row);
    } else {
      const V8 cb = loadHalf(src[1], row / 2), cr = loadHalf(src[2], row / 2);
      put(firstBlocksTwice(cb), firstBlocksTwice(cr), row);
      put(secondBlocksTwice(cb), secondBlocksTwice(cr), row + S::kTileRows);
    }
  }
}

}  // namespace rkd::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif  // per-target guard
