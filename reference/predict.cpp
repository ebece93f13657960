// Lossless predictors by table H.1 of ITU-T T.81.
#include "ref_huffman.h"
#include "samples.h"

namespace ref {
namespace {

/// A row's samples as the unsigned numbers that they stand for.
struct Row {
  Samples<const int16_t> stored;
  int operator[](int x) const { return uint16_t(stored[x]); }
};

int prediction(int predictor, int a, int b, int c) {
  switch (predictor) {
    case 1:
      return a;
    case 2:
      return b;
    case 3:
      return c;
    case 4:
      return a + b - c;
    case 5:
      return a + ((b - c) >> 1);
    case 6:
      return b + ((a - c) >> 1);
    default:
      return (a + b) >> 1;
  }
}

}  // namespace

RkdStatus rkdiDiffPredFirstRow_JPEG_16s_C1(const int16_t* src, int16_t* dst, int width,
                                           int precision, int pointTransform) {
  const Row row{src};
  int left = 1 << (precision - pointTransform - 1);
  for (int x = 0; x < width; ++x) {
    const int sample = row[x];
    samples(dst)[x] = int16_t(sample - left);
    left = sample;
  }
  return rkdStsNoErr;
}

RkdStatus rkdiReconstructPredFirstRow_JPEG_16s_C1(const int16_t* src, int16_t* dst, int width,
                                                  int precision, int pointTransform) {
  const Row differences{src}, restored{dst};
  int left = 1 << (precision - pointTransform - 1);
  for (int x = 0; x < width; ++x) {
    samples(dst)[x] = int16_t(left + differences[x]);
    left = restored[x];
  }
  return rkdStsNoErr;
}

RkdStatus rkdiDiffPredRow_JPEG_16s_C1(const int16_t* src, const int16_t* previousRow, int16_t* dst,
                                      int width, int predictor) {
  const Row row{src}, above{previousRow};
  const Samples differences(dst);
  differences[0] = int16_t(row[0] - above[0]);
  for (int x = 1; x < width; ++x) {
    const int predicted = prediction(predictor, row[x - 1], above[x], above[x - 1]);
    differences[x] = int16_t(row[x] - predicted);
  }
  return rkdStsNoErr;
}

RkdStatus rkdiReconstructPredRow_JPEG_16s_C1(const int16_t* src, const int16_t* previousRow,
                                             int16_t* dst, int width, int predictor) {
  const Row differences{src}, above{previousRow}, restored{dst};
  samples(dst)[0] = int16_t(above[0] + differences[0]);
  for (int x = 1; x < width; ++x) {
    const int predicted = prediction(predictor, restored[x - 1], above[x], above[x - 1]);
    samples(dst)[x] = int16_t(differences[x] + predicted);
  }
  return rkdStsNoErr;
}

#define REF_POINT_TRANSFORM(Name, S, D, shifted)                                            \
  RkdStatus Name(const S* src, int srcStep, D* dst, int dstStep, RkdiSize size, int bits) { \
    for (int y = 0; y < size.height; ++y) {                                                 \
      for (int x = 0; x < size.width; ++x) {                                                \
        const auto v = static_cast<uint16_t>(S(row(src, srcStep, y)[x]));                   \
        row(dst, dstStep, y)[x] = static_cast<D>(shifted);                                  \
      }                                                                                     \
    }                                                                                       \
    return rkdStsNoErr;                                                                     \
  }
REF_POINT_TRANSFORM(rkdiPointTransformFwd_JPEG_8u16s_C1R, uint8_t, int16_t, v >> bits)
REF_POINT_TRANSFORM(rkdiPointTransformFwd_JPEG_16u16s_C1R, uint16_t, int16_t, v >> bits)
REF_POINT_TRANSFORM(rkdiPointTransformInv_JPEG_16s8u_C1R, int16_t, uint8_t, unsigned{v} << bits)
REF_POINT_TRANSFORM(rkdiPointTransformInv_JPEG_16s16u_C1R, int16_t, uint16_t, unsigned{v} << bits)

}  // namespace ref
