// Down-sampling by box and up-sampling by triangle, of rows and of whole images.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "jpeg/sample.cpp"
#include "hwy/foreach_target.h"

#include "common/bytes-inl.h"
#include "common/levels.h"
#include "hwy/highway.h"
#include "rkd/rkdjpeg_sample.h"

HWY_BEFORE_NAMESPACE();
namespace rkd::HWY_NAMESPACE {

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

// Averages kRows rows of `width` samples into (width + 1) / 2.
template <int kRows>
void boxRow(const uint8_t* first, const uint8_t* second, size_t width, uint8_t* dst) {
  const D8 d8;
  const V16 bias = pairOf(kRows == 1 ? 0 : 1, kRows == 1 ? 1 : 2);
  const auto mean = [&](size_t x) HWY_ATTR {
    V16 sum = hn::Add(pairSums(hn::LoadU(d8, first + x)), bias);
    if constexpr (kRows == 2) sum = hn::Add(sum, pairSums(hn::LoadU(d8, second + x)));
    return hn::ShiftRight<kRows>(sum);
  };
  size_t i = 0;
  const auto put = [&](size_t at) HWY_ATTR {
    hn::StoreU(packInOrder(mean(2 * at), mean(2 * at + kTile)), d8, dst + at);
  };
  const size_t pairs = width / 2;
  if (pairs >= kTile) {
    for (; i + kTile <= pairs; i += kTile) put(i);
    // Some samples once more; the bias alternates from even outputs.
    const size_t last = (pairs - kTile) & ~size_t{1};
    if (i < pairs) put(last);
    i = last + kTile;
  }
  for (; i < (width + 1) / 2; ++i) dst[i] = boxAt<kRows>(first, second, width, i);
}

// ---- triangle ----

// Up-sampling of one row, or (kRows 2) of the vertical sums 3 near + far of two rows. The weighted
// sum of a sample and its neighbour is rounded by kLeft or kRight, and shifted.
template <int kR, int kShift, int kLeft, int kRight>
struct Triangle {
  static constexpr int kRows = kR;
  const uint8_t* near;
  const uint8_t* far;

  HWY_INLINE int at(size_t i) const { return kRows == 1 ? near[i] : 3 * near[i] + far[i]; }

  // Output 2 * i, or 2 * i + 1.
  HWY_INLINE uint8_t output(size_t i, size_t width, bool right) const {
    const bool edge = right ? i + 1 == width : i == 0;
    const int side = edge ? at(i) : at(right ? i + 1 : i - 1);
    return static_cast<uint8_t>((3 * at(i) + side + (right ? kRight : kLeft)) >> kShift);
  }

  static HWY_INLINE V8 round(V16 low, V16 high, int bias) {
    const V16 v = hn::Set(D16(), static_cast<int16_t>(bias));
    return pack8(hn::ShiftRight<kShift>(hn::Add(low, v)), hn::ShiftRight<kShift>(hn::Add(high, v)));
  }
  // The outputs on one side of the tile at i, whose neighbours on that side stand at `side`.
  HWY_INLINE V8 outputs(size_t i, size_t side, int bias) const {
    const D8 d8;
    V16 low, high, sideLow, sideHigh;
    if constexpr (kRows == 1) {
      weightBytes(hn::LoadU(d8, near + i), hn::LoadU(d8, near + side), 3, 1, &low, &high);
      return round(low, high, bias);
    } else {
      weightBytes(hn::LoadU(d8, near + i), hn::LoadU(d8, far + i), 9, 3, &low, &high);
      weightBytes(hn::LoadU(d8, near + side), hn::LoadU(d8, far + side), 3, 1, &sideLow, &sideHigh);
      return round(hn::Add(low, sideLow), hn::Add(high, sideHigh), bias);
    }
  }
  // Both outputs of a tile of samples that have both neighbours.
  HWY_INLINE void tile(size_t i, uint8_t* dst) const {
    const V8 sides[2] = {outputs(i, i - 1, kLeft), outputs(i, i + 1, kRight)};
    storePixels<2>(sides, dst + 2 * i);
  }
};
using Triangle1 = Triangle<1, 2, 1, 2>;
using Triangle2 = Triangle<2, 4, 8, 7>;

// `width` samples into the first `outputs` of 2 * width, one less at the most.
template <class T>
void triangleRow(const T& row, size_t width, uint8_t* dst, size_t outputs) {
  size_t i = 1;
  if (width >= kTile + 2) {
    for (; i + kTile < width; i += kTile) row.tile(i, dst);
    row.tile(width - 1 - kTile, dst);  // some samples once more
    i = width - 1;
  }
  const auto put = [&](size_t at) {
    dst[2 * at] = row.output(at, width, false);
    if (2 * at + 1 < outputs) dst[2 * at + 1] = row.output(at, width, true);
  };
  put(0);
  for (; i < width; ++i) put(i);
}

// ---- kernels ----

void downRowH2V1(const uint8_t* src, size_t width, uint8_t* dst) {
  boxRow<1>(src, src, width, dst);
}
void downRowH2V2(const uint8_t* src1, const uint8_t* src2, size_t width, uint8_t* dst) {
  boxRow<2>(src1, src2, width, dst);
}
void upRowH2V1(const uint8_t* src, size_t width, uint8_t* dst, size_t outputs) {
  triangleRow(Triangle1{src, src}, width, dst, outputs);
}
void upRowH2V2(const uint8_t* near, const uint8_t* far, size_t width, uint8_t* dst,
               size_t outputs) {
  triangleRow(Triangle2{near, far}, width, dst, outputs);
}

}  // namespace rkd::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace rkd {
HWY_EXPORT(downRowH2V1);
HWY_EXPORT(downRowH2V2);
HWY_EXPORT(upRowH2V1);
HWY_EXPORT(upRowH2V2);

namespace {

// Both images' operands of an image function.
struct Images {
  const uint8_t* src;
  int srcStep;
  RkdiSize srcSize;
  uint8_t* dst;
  int dstStep;
  RkdiSize dstSize;

  RkdStatus check(bool sizesMatch) const {
    return firstOf(checkPointers(src, dst), checkSize(srcSize), checkSize(dstSize),
                   sizesMatch ? rkdStsNoErr : rkdStsSizeErr,
                   checkStep<uint8_t>(srcStep, srcSize.width),
                   checkStep<uint8_t>(dstStep, dstSize.width));
  }
  const uint8_t* srcRow(int y) const {
    return rowAt(src, srcStep, y < 0 ? 0 : y < srcSize.height ? y : srcSize.height - 1);
  }
  uint8_t* dstRow(int y) const { return rowAt(dst, dstStep, y); }
};

// Whether `whole` samples and `half` as many belong together.
bool isHalf(int whole, int half) { return half == whole / 2 + whole % 2; }

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
  const auto width = static_cast<size_t>(srcWidth);
  RKD_AT_LEVEL(upRowH2V1)(src, width, dst, 2 * width);
  return rkdStsNoErr;
}

RkdStatus rkdiSampleUpRowH2V2_Triangle_JPEG_8u_C1(const uint8_t* src1, const uint8_t* src2,
                                                  int srcWidth, uint8_t* dst) {
  if (const RkdStatus status = firstOf(checkPointers(src1, src2, dst), checkLength(srcWidth))) {
    return status;
  }
  const auto width = static_cast<size_t>(srcWidth);
  RKD_AT_LEVEL(upRowH2V2)(src1, src2, width, dst, 2 * width);
  return rkdStsNoErr;
}

RkdStatus rkdiSampleDownH2V1_JPEG_8u_C1R(const uint8_t* src, int srcStep, RkdiSize srcSize,
                                         uint8_t* dst, int dstStep, RkdiSize dstSize) {
  const Images io{src, srcStep, srcSize, dst, dstStep, dstSize};
  if (const RkdStatus status =
          io.check(isHalf(srcSize.width, dstSize.width) && srcSize.height == dstSize.height)) {
    return status;
  }
  const auto kernel = RKD_AT_LEVEL(downRowH2V1);
  for (int y = 0; y < dstSize.height; ++y) {
    kernel(io.srcRow(y), static_cast<size_t>(srcSize.width), io.dstRow(y));
  }
  return rkdStsNoErr;
}

RkdStatus rkdiSampleDownH2V2_JPEG_8u_C1R(const uint8_t* src, int srcStep, RkdiSize srcSize,
                                         uint8_t* dst, int dstStep, RkdiSize dstSize) {
  const Images io{src, srcStep, srcSize, dst, dstStep, dstSize};
  if (const RkdStatus status = io.check(isHalf(srcSize.width, dstSize.width) &&
                                        isHalf(srcSize.height, dstSize.height))) {
    return status;
  }
  const auto kernel = RKD_AT_LEVEL(downRowH2V2);
  for (int y = 0; y < dstSize.height; ++y) {
    kernel(io.srcRow(2 * y), io.srcRow(2 * y + 1), static_cast<size_t>(srcSize.width),
           io.dstRow(y));
  }
  return rkdStsNoErr;
}

RkdStatus rkdiSampleUpH2V1_JPEG_8u_C1R(const uint8_t* src, int srcStep, RkdiSize srcSize,
                                       uint8_t* dst, int dstStep, RkdiSize dstSize) {
  const Images io{src, srcStep, srcSize, dst, dstStep, dstSize};
  if (const RkdStatus status =
          io.check(isHalf(dstSize.width, srcSize.width) && srcSize.height == dstSize.height)) {
    return status;
  }
  const auto kernel = RKD_AT_LEVEL(upRowH2V1);
  for (int y = 0; y < dstSize.height; ++y) {
    kernel(io.srcRow(y), static_cast<size_t>(srcSize.width), io.dstRow(y),
           static_cast<size_t>(dstSize.width));
  }
  return rkdStsNoErr;
}

RkdStatus rkdiSampleUpH2V2_JPEG_8u_C1R(const uint8_t* src, int srcStep, RkdiSize srcSize,
                                       uint8_t* dst, int dstStep, RkdiSize dstSize) {
  const Images io{src, srcStep, srcSize, dst, dstStep, dstSize};
  if (const RkdStatus status = io.check(isHalf(dstSize.width, srcSize.width) &&
                                        isHalf(dstSize.height, srcSize.height))) {
    return status;
  }
  const auto kernel = RKD_AT_LEVEL(upRowH2V2);
  for (int y = 0; y < dstSize.height; ++y) {
    const int near = y / 2;
    kernel(io.srcRow(near), io.srcRow(y % 2 == 0 ? near - 1 : near + 1),
           static_cast<size_t>(srcSize.width), io.dstRow(y), static_cast<size_t>(dstSize.width));
  }
  return rkdStsNoErr;
}
#endif  // HWY_ONCE
