#include <algorithm>
#include <cstddef>
#include <vector>

#include "pixels.h"
#include "ref_color.h"

namespace ref {

RkdStatus rkdiSampleDownRowH2V1_Box_JPEG_8u_C1(const uint8_t* src, int srcWidth, uint8_t* dst) {
  for (int i = 0; i < (srcWidth + 1) / 2; ++i) {
    const int right = std::min(2 * i + 1, srcWidth - 1);
    dst[i] = static_cast<uint8_t>((src[2 * i] + src[right] + i % 2) >> 1);
  }
  return rkdStsNoErr;
}

RkdStatus rkdiSampleDownRowH2V2_Box_JPEG_8u_C1(const uint8_t* src1, const uint8_t* src2,
                                               int srcWidth, uint8_t* dst) {
  for (int i = 0; i < (srcWidth + 1) / 2; ++i) {
    const int right = std::min(2 * i + 1, srcWidth - 1);
    const int sum = src1[2 * i] + src1[right] + src2[2 * i] + src2[right];
    dst[i] = static_cast<uint8_t>((sum + 1 + i % 2) >> 2);
  }
  return rkdStsNoErr;
}

RkdStatus rkdiSampleUpRowH2V1_Triangle_JPEG_8u_C1(const uint8_t* src, int srcWidth, uint8_t* dst) {
  for (int i = 0; i < srcWidth; ++i) {
    const int left = i == 0 ? src[i] : (3 * src[i] + src[i - 1] + 1) >> 2;
    const int right = i == srcWidth - 1 ? src[i] : (3 * src[i] + src[i + 1] + 2) >> 2;
    dst[2 * i] = static_cast<uint8_t>(left);
    dst[2 * i + 1] = static_cast<uint8_t>(right);
  }
  return rkdStsNoErr;
}

RkdStatus rkdiSampleUpRowH2V2_Triangle_JPEG_8u_C1(const uint8_t* src1, const uint8_t* src2,
                                                  int srcWidth, uint8_t* dst) {
  const auto sum = [&](int i) { return 3 * src1[i] + src2[i]; };
  for (int i = 0; i < srcWidth; ++i) {
    const int left = i == 0 ? 4 * sum(i) : 3 * sum(i) + sum(i - 1);
    const int right = i == srcWidth - 1 ? 4 * sum(i) : 3 * sum(i) + sum(i + 1);
    dst[2 * i] = static_cast<uint8_t>((left + 8) >> 4);
    dst[2 * i + 1] = static_cast<uint8_t>((right + 7) >> 4);
  }
  return rkdStsNoErr;
}

namespace {

/// One up-sampled row into dst, its last sample left out where the destination is odd.
template <class Up>
void upRow(uint8_t* dst, int dstWidth, int srcWidth, Up up) {
  std::vector<uint8_t> whole(2 * static_cast<std::size_t>(srcWidth));
  up(whole.data());
  std::copy_n(whole.data(), dstWidth, dst);
}

}  // namespace

RkdStatus rkdiSampleDownH2V1_JPEG_8u_C1R(const uint8_t* src, int srcStep, RkdiSize srcSize,
                                         uint8_t* dst, int dstStep, RkdiSize dstSize) {
  for (int y = 0; y < dstSize.height; ++y) {
    rkdiSampleDownRowH2V1_Box_JPEG_8u_C1(row(src, srcStep, y), srcSize.width, row(dst, dstStep, y));
  }
  return rkdStsNoErr;
}

RkdStatus rkdiSampleDownH2V2_JPEG_8u_C1R(const uint8_t* src, int srcStep, RkdiSize srcSize,
                                         uint8_t* dst, int dstStep, RkdiSize dstSize) {
  for (int y = 0; y < dstSize.height; ++y) {
    const int below = std::min(2 * y + 1, srcSize.height - 1);
    rkdiSampleDownRowH2V2_Box_JPEG_8u_C1(row(src, srcStep, 2 * y), row(src, srcStep, below),
                                         srcSize.width, row(dst, dstStep, y));
  }
  return rkdStsNoErr;
}

RkdStatus rkdiSampleUpH2V1_JPEG_8u_C1R(const uint8_t* src, int srcStep, RkdiSize srcSize,
                                       uint8_t* dst, int dstStep, RkdiSize dstSize) {
  for (int y = 0; y < dstSize.height; ++y) {
    upRow(row(dst, dstStep, y), dstSize.width, srcSize.width, [&](uint8_t* whole) {
      rkdiSampleUpRowH2V1_Triangle_JPEG_8u_C1(row(src, srcStep, y), srcSize.width, whole);
    });
  }
  return rkdStsNoErr;
}

RkdStatus rkdiSampleUpH2V2_JPEG_8u_C1R(const uint8_t* src, int srcStep, RkdiSize srcSize,
                                       uint8_t* dst, int dstStep, RkdiSize dstSize) {
  for (int y = 0; y < dstSize.height; ++y) {
    const int near = y / 2;
    const int far = std::clamp(y % 2 == 0 ? near - 1 : near + 1, 0, srcSize.height - 1);
    upRow(row(dst, dstStep, y), dstSize.width, srcSize.width, [&](uint8_t* whole) {
      rkdiSampleUpRowH2V2_Triangle_JPEG_8u_C1(row(src, srcStep, near), row(src, srcStep, far),
                                              srcSize.width, whole);
    });
  }
  return rkdStsNoErr;
}

}  // namespace ref
