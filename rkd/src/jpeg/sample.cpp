// Down-sampling by box and up-sampling by triangle, of rows and of whole images.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "jpeg/sample.cpp"
#include "hwy/foreach_target.h"

#include "common/bytes-inl.h"
#include "common/levels.h"
#include "hwy/highway.h"
#include "jpeg/sample-inl.h"
#include "jpeg/sample.h"
#include "rkd/rkdjpeg_sample.h"

HWY_BEFORE_NAMESPACE();
namespace rkd::HWY_NAMESPACE {

// ---- rows shorter than a vector ----

// The first n samples of a row, 0 < n; the lanes behind them repeat the last one.
HWY_INLINE V8 loadPadded(const uint8_t* from, size_t n) {
  const D8 d8;
  if (n >= kTile) return hn::LoadU(d8, from);
  const V8 last = hn::Set(d8, from[n - 1]);
#if HWY_TARGET <= HWY_AVX3
  return loadOver(last, from, n);
#else
  HWY_ALIGN uint8_t buffer[kTile];
  hn::Store(last, d8, buffer);
  std::memcpy(buffer, from, n);
  return hn::Load(d8, buffer);
#endif
}

HWY_INLINE void storeFirst(V8 v, uint8_t* to, size_t n) {
  if (n >= kTile) {
    hn::StoreU(v, D8(), to);
  } else {
    store(v, D8(), to, Part{n});
  }
}

// ---- box ----

// One output of a row of boxes; `second` is the row below, or the row itself for H2V1.
template <int kRows>
HWY_INLINE uint8_t boxAt(const uint8_t* first, const uint8_t* second, size_t width, size_t i) {
  const size_t right = 2 * i + 1 < width ? 2 * i + 1 : 2 * i;
  const unsigned odd = i % 2;
  if constexpr (kRows == 1) {
    return static_cast<uint8_t>((first[2 * i] + first[right] + odd) >> 1);
  } else {
    return static_cast<uint8_t>(
        (first[2 * i] + first[right] + second[2 * i] + second[right] + 1 + odd) >> 2);
  }
}

template <int kRows>
HWY_INLINE V16 boxMeans(V8 first, V8 second) {
  V16 sum = hn::Add(pairSums(first), pairOf(kRows == 1 ? 0 : 1, kRows == 1 ? 1 : 2));
  if constexpr (kRows == 2) sum = hn::Add(sum, pairSums(second));
  return hn::ShiftRight<kRows>(sum);
}

template <int kRows>
HWY_INLINE void boxTile(const uint8_t* first, const uint8_t* second, uint8_t* dst) {
  const D8 d8;
  const V16 low = boxMeans<kRows>(hn::LoadU(d8, first), hn::LoadU(d8, second));
  const V16 high = boxMeans<kRows>(hn::LoadU(d8, first + kTile), hn::LoadU(d8, second + kTile));
  hn::StoreU(packInOrder(low, high), d8, dst);
}

// Up to kTile outputs. A last sample that stands alone counts twice, as it is repeated.
template <int kRows>
HWY_INLINE void boxShortRow(const uint8_t* first, const uint8_t* second, size_t width,
                            uint8_t* dst) {
  const V16 low = boxMeans<kRows>(loadPadded(first, width), loadPadded(second, width));
  V16 high = low;
  if (width > kTile) {
    high = boxMeans<kRows>(loadPadded(first + kTile, width - kTile),
                           loadPadded(second + kTile, width - kTile));
  }
  storeFirst(packInOrder(low, high), dst, (width + 1) / 2);
}

// Averages kRows rows of `width` samples into (width + 1) / 2.
template <int kRows>
void boxRow(const uint8_t* first, const uint8_t* second, size_t width, uint8_t* dst) {
  const size_t pairs = width / 2;
  if (pairs < kTile) return boxShortRow<kRows>(first, second, width, dst);
  const auto put = [&](size_t at)
                       HWY_ATTR { boxTile<kRows>(first + 2 * at, second + 2 * at, dst + at); };
  size_t i = 0;
  for (; i + kTile <= pairs; i += kTile) put(i);
  // Some samples once more; the bias alternates from even outputs.
  const size_t last = (pairs - kTile) & ~size_t{1};
  if (i < pairs) put(last);
  for (i = last + kTile; i < (width + 1) / 2; ++i) {
    dst[i] = boxAt<kRows>(first, second, width, i);
  }
}

// ---- triangle along the row: every sample and the next on either side, 3 to 1 ----

// For lambdas too large for the compiler to put where they are called, and called too often for
// less.
#undef RKD_INLINE_BODY
#define RKD_INLINE_BODY HWY_ATTR __attribute__((always_inline))

// The kTile samples of a row from i on, fewer of a shorter row, with their neighbours: at the edge
// the sample itself.
struct Samples {
  V8 here, before, after;

  HWY_INLINE Samples(const uint8_t* row, size_t i, size_t width) {
    const D8 d8;
    const bool isFirst = i == 0, isLast = i + kTile >= width;
    here = width < kTile ? loadPadded(row, width) : hn::LoadU(d8, row + i);
    before = isFirst ? hn::CombineShiftRightBytes<15>(d8, here, blocksUp(here, hn::Set(d8, row[0])))
                     : hn::LoadU(d8, row + i - 1);
    after = isLast ? hn::CombineShiftRightBytes<1>(
                         d8, blocksDown(here, hn::Set(d8, row[width - 1])), here)
                   : hn::LoadU(d8, row + i + 1);
  }
};

// Calls body(i) for tiles that cover a row; the last one takes some samples once more.
template <class Body>
HWY_INLINE void overTiles(size_t width, Body&& body) {
  if (width < kTile) return body(0);
  for (size_t i = 0; i + kTile < width; i += kTile) body(i);
  body(width - kTile);
}

// The outputs of the tile at i, of which the row has `outputs` in all.
HWY_INLINE void storeOutputs(const V8* v, size_t i, uint8_t* dst, size_t outputs) {
  const D8 d8;
  uint8_t* to = dst + 2 * i;
  const size_t n = outputs - 2 * i;
  if (n >= 2 * kTile) {
    hn::StoreU(v[0], d8, to);
    hn::StoreU(v[1], d8, to + kTile);
  } else {
    storeFirst(v[0], to, n);
    if (n > kTile) storeFirst(v[1], to + kTile, n - kTile);
  }
}

HWY_INLINE void triangleRowH2V1(const uint8_t* row, size_t width, uint8_t* dst, size_t outputs) {
  overTiles(width, [&](size_t i) RKD_INLINE_BODY {
    const Samples s(row, i, width);
    V8 out[2];
    interleave(mean3to1Down(s.here, s.before), mean3to1Up(s.here, s.after), out);
    storeOutputs(out, i, dst, outputs);
  });
}

// ---- triangle in both directions ----

// A tile of a row, weighted along the row: sums 3 * sample + neighbour for the outputs on the left
// and on the right of every sample.
struct RowSums {
  V16 left[2], right[2];

  HWY_INLINE RowSums(const uint8_t* row, size_t i, size_t width) {
    const Samples s(row, i, width);
    const V8 weights = bytePair(3, 1);
    V8 pairs[2];
    joinBytes(s.here, s.before, pairs);
    for (int h = 0; h < 2; ++h) left[h] = byteProducts(pairs[h], weights);
    joinBytes(s.here, s.after, pairs);
    for (int h = 0; h < 2; ++h) right[h] = byteProducts(pairs[h], weights);
  }
};

// Outputs from their weights of 16: (.. + 8) >> 4 on the left, in the lower byte of a pair, and
// .. >> 4 on the right.
HWY_INLINE V8 outputPairs(V16 left, V16 right) {
  const D8 d8;
  const V16 lower = roundedProduct(left, hn::Set(D16(), 2048));
  return hn::OddEven(hn::BitCast(d8, hn::ShiftLeft<4>(right)), hn::BitCast(d8, lower));
}

// Three times the sums of the near row, the right ones with their rounding.
struct NearSums {
  V16 left[2], right[2];

  HWY_INLINE explicit NearSums(const RowSums& s) {
    const V16 rounding = hn::Set(D16(), 7);
    for (int h = 0; h < 2; ++h) {
      left[h] = hn::Add(hn::Add(s.left[h], s.left[h]), s.left[h]);
      right[h] = hn::Add(hn::Add(s.right[h], s.right[h]), hn::Add(s.right[h], rounding));
    }
  }
  HWY_INLINE void outputs(const RowSums& far, V8* out) const {
    for (int h = 0; h < 2; ++h) {
      out[h] = outputPairs(hn::Add(left[h], far.left[h]), hn::Add(right[h], far.right[h]));
    }
    orderPairs(out);
  }
};

// The same from two rows alone, which takes less when no row has a part in others: weighted between
// the rows first.
HWY_INLINE void outputsOfTwo(const Samples& near, const Samples& far, V8* out) {
  const V16 rounding = hn::Set(D16(), 7);
  V8 here[2], before[2], after[2];
  joinBytes(near.here, far.here, here);
  joinBytes(near.before, far.before, before);
  joinBytes(near.after, far.after, after);
  for (int h = 0; h < 2; ++h) {
    const V16 three = byteProducts(here[h], bytePair(9, 3));
    const V16 left = byteProducts(before[h], bytePair(3, 1));
    const V16 right = hn::Add(byteProducts(after[h], bytePair(3, 1)), rounding);
    out[h] = outputPairs(hn::Add(three, left), hn::Add(three, right));
  }
  orderPairs(out);
}

// Rows that a strip of one tile's width goes down before the next strip follows: few enough for
// their pages, enough to make little of the two rows that are weighted again.
constexpr int kBand = 32;

// Output rows from 2 * y on.
HWY_INLINE void triangleBand(const SampleImages& io, int y, size_t i) {
  const size_t width = io.srcWidth(), outputs = io.dstWidth();
  RowSums above(io.srcRow(y - 1), i, width), here(io.srcRow(y), i, width);
  for (const int end = HWY_MIN(y + kBand, io.srcSize.height); y < end; ++y) {
    const RowSums below(io.srcRow(y + 1), i, width);
    const NearSums near(here);
    V8 out[2];
    near.outputs(above, out);
    storeOutputs(out, i, io.dstRow(2 * y), outputs);
    if (2 * y + 1 < io.dstSize.height) {
      near.outputs(below, out);
      storeOutputs(out, i, io.dstRow(2 * y + 1), outputs);
    }
    above = here;
    here = below;
  }
}

// ---- kernels ----

void downRowH2V1(const uint8_t* src, size_t width, uint8_t* dst) {
  boxRow<1>(src, src, width, dst);
}
void downRowH2V2(const uint8_t* src1, const uint8_t* src2, size_t width, uint8_t* dst) {
  boxRow<2>(src1, src2, width, dst);
}
void upRowH2V1(const uint8_t* src, size_t width, uint8_t* dst) {
  triangleRowH2V1(src, width, dst, 2 * width);
}
void upRowH2V2(const uint8_t* near, const uint8_t* far, size_t width, uint8_t* dst) {
  overTiles(width, [&](size_t i) RKD_INLINE_BODY {
    V8 out[2];
    outputsOfTwo(Samples(near, i, width), Samples(far, i, width), out);
    storeOutputs(out, i, dst, 2 * width);
  });
}

void downH2V1(const SampleImages& io) {
  for (int y = 0; y < io.dstSize.height; ++y) {
    boxRow<1>(io.srcRow(y), io.srcRow(y), io.srcWidth(), io.dstRow(y));
  }
}
void downH2V2(const SampleImages& io) {
  for (int y = 0; y < io.dstSize.height; ++y) {
    boxRow<2>(io.srcRow(2 * y), io.srcRow(2 * y + 1), io.srcWidth(), io.dstRow(y));
  }
}
void upH2V1(const SampleImages& io) {
  for (int y = 0; y < io.dstSize.height; ++y) {
    triangleRowH2V1(io.srcRow(y), io.srcWidth(), io.dstRow(y), io.dstWidth());
  }
}
void upH2V2(const SampleImages& io) {
  for (int y = 0; y < io.srcSize.height; y += kBand) {
    overTiles(io.srcWidth(), [&](size_t i) HWY_ATTR { triangleBand(io, y, i); });
  }
}

}  // namespace rkd::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace rkd {
HWY_EXPORT(downRowH2V1);
HWY_EXPORT(downRowH2V2);
HWY_EXPORT(upRowH2V1);
HWY_EXPORT(upRowH2V2);
HWY_EXPORT(downH2V1);
HWY_EXPORT(downH2V2);
HWY_EXPORT(upH2V1);
HWY_EXPORT(upH2V2);

namespace {

template <class Kernel>
RkdStatus runImages(Kernel kernel, const SampleImages& io, bool sizesMatch) {
  if (const RkdStatus status = io.check(sizesMatch)) return status;
  kernel(io);
  return rkdStsNoErr;
}

}  // namespace
}  // namespace rkd

using namespace rkd;

RkdStatus rkdiSampleDownRowH2V1_Box_JPEG_8u_C1(const uint8_t* src, int srcWidth, uint8_t* dst) {
  if (const RkdStatus status = firstOf(checkPointers(src, dst), checkLength(srcWidth)))
    return status;
  RKD_AT_LEVEL(downRowH2V1)(src, static_cast<size_t>(srcWidth), dst);
  return rkdStsNoErr;
}

RkdStatus rkdiSampleDownRowH2V2_Box_JPEG_8u_C1(const uint8_t* src1, const uint8_t* src2,
                                               int srcWidth, uint8_t* dst) {
  if (const RkdStatus status = firstOf(checkPointers(src1, src2, dst), checkLength(srcWidth))) {
    return status;
  }
  RKD_AT_LEVEL(downRowH2V2)(src1, src2, static_cast<size_t>(srcWidth), dst);
  return rkdStsNoErr;
}

RkdStatus rkdiSampleUpRowH2V1_Triangle_JPEG_8u_C1(const uint8_t* src, int srcWidth, uint8_t* dst) {
  if (const RkdStatus status = firstOf(checkPointers(src, dst), checkLength(srcWidth)))
    return status;
  RKD_AT_LEVEL(upRowH2V1)(src, static_cast<size_t>(srcWidth), dst);
  return rkdStsNoErr;
}

RkdStatus rkdiSampleUpRowH2V2_Triangle_JPEG_8u_C1(const uint8_t* src1, const uint8_t* src2,
                                                  int srcWidth, uint8_t* dst) {
  if (const RkdStatus status = firstOf(checkPointers(src1, src2, dst), checkLength(srcWidth))) {
    return status;
  }
  RKD_AT_LEVEL(upRowH2V2)(src1, src2, static_cast<size_t>(srcWidth), dst);
  return rkdStsNoErr;
}

RkdStatus rkdiSampleDownH2V1_JPEG_8u_C1R(const uint8_t* src, int srcStep, RkdiSize srcSize,
                                         uint8_t* dst, int dstStep, RkdiSize dstSize) {
  return runImages(RKD_AT_LEVEL(downH2V1), {src, srcStep, srcSize, dst, dstStep, dstSize},
                   isPartOf(2, srcSize.width, dstSize.width) && srcSize.height == dstSize.height);
}

RkdStatus rkdiSampleDownH2V2_JPEG_8u_C1R(const uint8_t* src, int srcStep, RkdiSize srcSize,
                                         uint8_t* dst, int dstStep, RkdiSize dstSize) {
  return runImages(
      RKD_AT_LEVEL(downH2V2), {src, srcStep, srcSize, dst, dstStep, dstSize},
      isPartOf(2, srcSize.width, dstSize.width) && isPartOf(2, srcSize.height, dstSize.height));
}

RkdStatus rkdiSampleUpH2V1_JPEG_8u_C1R(const uint8_t* src, int srcStep, RkdiSize srcSize,
                                       uint8_t* dst, int dstStep, RkdiSize dstSize) {
  return runImages(RKD_AT_LEVEL(upH2V1), {src, srcStep, srcSize, dst, dstStep, dstSize},
                   isPartOf(2, dstSize.width, srcSize.width) && srcSize.height == dstSize.height);
}

RkdStatus rkdiSampleUpH2V2_JPEG_8u_C1R(const uint8_t* src, int srcStep, RkdiSize srcSize,
                                       uint8_t* dst, int dstStep, RkdiSize dstSize) {
  return runImages(
      RKD_AT_LEVEL(upH2V2), {src, srcStep, srcSize, dst, dstStep, dstSize},
      isPartOf(2, dstSize.width, srcSize.width) && isPartOf(2, dstSize.height, srcSize.height));
}
#endif  // HWY_ONCE
