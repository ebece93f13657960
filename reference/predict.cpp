// Lossless predictors by table H.1 of ITU-T T.81.
#include "ref_huffman.h"

namespace ref {
namespace {

/// Samples as the unsigned numbers that they stand for.
int sample(int16_t stored) { return uint16_t(stored); }

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
  int left = 1 << (precision - pointTransform - 1);
  for (int x = 0; x < width; ++x) {
    dst[x] = int16_t(sample(src[x]) - left);
    left = sample(src[x]);
  }
  return rkdStsNoErr;
}

RkdStatus rkdiReconstructPredFirstRow_JPEG_16s_C1(const int16_t* src, int16_t* dst, int width,
                                                  int precision, int pointTransform) {
  int left = 1 << (precision - pointTransform - 1);
  for (int x = 0; x < width; ++x) {
    dst[x] = int16_t(left + src[x]);
    left = sample(dst[x]);
  }
  return rkdStsNoErr;
}

RkdStatus rkdiDiffPredRow_JPEG_16s_C1(const int16_t* src, const int16_t* previousRow, int16_t* dst,
                                      int width, int predictor) {
  dst[0] = int16_t(sample(src[0]) - sample(previousRow[0]));
  for (int x = 1; x < width; ++x) {
    dst[x] =
        int16_t(sample(src[x]) - prediction(predictor, sample(src[x - 1]), sample(previousRow[x]),
                                            sample(previousRow[x - 1])));
  }
  return rkdStsNoErr;
}

RkdStatus rkdiReconstructPredRow_JPEG_16s_C1(const int16_t* src, const int16_t* previousRow,
                                             int16_t* dst, int width, int predictor) {
  dst[0] = int16_t(sample(previousRow[0]) + src[0]);
  for (int x = 1; x < width; ++x) {
    dst[x] = int16_t(src[x] + prediction(predictor, sample(dst[x - 1]), sample(previousRow[x]),
                                         sample(previousRow[x - 1])));
  }
  return rkdStsNoErr;
}

}  // namespace ref
