// Box down-sampling, replicating and triangle up-sampling.
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

// ---- by other factors ----

namespace {

/// The mean of a box, whose missing samples are the last ones of the row or column.
template <class T>
RkdStatus boxes(const T* src, int srcStep, RkdiSize srcSize, T* dst, int dstStep, RkdiSize dstSize,
                int factorX, int factorY) {
  const int count = factorX * factorY;
  for (int y = 0; y < dstSize.height; ++y) {
    for (int x = 0; x < dstSize.width; ++x) {
      int sum = count / 2;
      for (int i = 0; i < count; ++i) {
        const int fromY = std::min(factorY * y + i / factorX, srcSize.height - 1);
        const int fromX = std::min(factorX * x + i % factorX, srcSize.width - 1);
        sum += row(src, srcStep, fromY)[fromX];
      }
      row(dst, dstStep, y)[x] = static_cast<T>(sum / count);
    }
  }
  return rkdStsNoErr;
}

template <class T>
RkdStatus repeats(const T* src, int srcStep, T* dst, int dstStep, RkdiSize dstSize, int factorX,
                  int factorY) {
  for (int y = 0; y < dstSize.height; ++y) {
    for (int x = 0; x < dstSize.width; ++x) {
      row(dst, dstStep, y)[x] = T(row(src, srcStep, y / factorY)[x / factorX]);
    }
  }
  return rkdStsNoErr;
}

}  // namespace

RkdStatus rkdiSampleDown_Box_JPEG_8u_C1R(const uint8_t* src, int srcStep, RkdiSize srcSize,
                                         uint8_t* dst, int dstStep, RkdiSize dstSize, int factorX,
                                         int factorY) {
  return boxes(src, srcStep, srcSize, dst, dstStep, dstSize, factorX, factorY);
}
RkdStatus rkdiSampleDown_Box_JPEG_16u_C1R(const uint16_t* src, int srcStep, RkdiSize srcSize,
                                          uint16_t* dst, int dstStep, RkdiSize dstSize, int factorX,
                                          int factorY) {
  return boxes(src, srcStep, srcSize, dst, dstStep, dstSize, factorX, factorY);
}
RkdStatus rkdiSampleUp_Replicate_JPEG_8u_C1R(const uint8_t* src, int srcStep, RkdiSize,
                                             uint8_t* dst, int dstStep, RkdiSize dstSize,
                                             int factorX, int factorY) {
  return repeats(src, srcStep, dst, dstStep, dstSize, factorX, factorY);
}
RkdStatus rkdiSampleUp_Replicate_JPEG_16u_C1R(const uint16_t* src, int srcStep, RkdiSize,
                                              uint16_t* dst, int dstStep, RkdiSize dstSize,
                                              int factorX, int factorY) {
  return repeats(src, srcStep, dst, dstStep, dstSize, factorX, factorY);
}

RkdStatus rkdiSampleDownH1V2_JPEG_8u_C1R(const uint8_t* src, int srcStep, RkdiSize srcSize,
                                         uint8_t* dst, int dstStep, RkdiSize dstSize) {
  return boxes(src, srcStep, srcSize, dst, dstStep, dstSize, 1, 2);
}
RkdStatus rkdiSampleDownH4V1_JPEG_8u_C1R(const uint8_t* src, int srcStep, RkdiSize srcSize,
                                         uint8_t* dst, int dstStep, RkdiSize dstSize) {
  return boxes(src, srcStep, srcSize, dst, dstStep, dstSize, 4, 1);
}
RkdStatus rkdiSampleUpH1V2_JPEG_8u_C1R(const uint8_t* src, int srcStep, RkdiSize srcSize,
                                       uint8_t* dst, int dstStep, RkdiSize dstSize) {
  for (int y = 0; y < dstSize.height; ++y) {
    const int near = y / 2, isLower = y % 2;
    const int far = std::clamp(near + 2 * isLower - 1, 0, srcSize.height - 1);
    for (int x = 0; x < dstSize.width; ++x) {
      const int sum = 3 * row(src, srcStep, near)[x] + row(src, srcStep, far)[x];
      row(dst, dstStep, y)[x] = static_cast<uint8_t>((sum + 1 + isLower) >> 2);
    }
  }
  return rkdStsNoErr;
}
RkdStatus rkdiSampleUpH4V1_JPEG_8u_C1R(const uint8_t* src, int srcStep, RkdiSize srcSize,
                                       uint8_t* dst, int dstStep, RkdiSize dstSize) {
  constexpr int kFar[4] = {3, 1, 1, 3};  // of 8
  for (int y = 0; y < dstSize.height; ++y) {
    const uint8_t* const s = row(src, srcStep, y);
    for (int x = 0; x < dstSize.width; ++x) {
      const int near = x / 4, k = x % 4;
      const int far = std::clamp(k < 2 ? near - 1 : near + 1, 0, srcSize.width - 1);
      const int sum = (8 - kFar[k]) * s[near] + kFar[k] * s[far];
      row(dst, dstStep, y)[x] = static_cast<uint8_t>((sum + (k < 2 ? 3 : 4)) >> 3);
    }
  }
  return rkdStsNoErr;
}

RkdStatus rkdiSampleDownRowH1V2_Box_JPEG_8u_C1(const uint8_t* src1, const uint8_t* src2,
                                               int srcWidth, uint8_t* dst) {
  for (int x = 0; x < srcWidth; ++x) dst[x] = static_cast<uint8_t>((src1[x] + src2[x] + 1) / 2);
  return rkdStsNoErr;
}
RkdStatus rkdiSampleDownRowH4V1_Box_JPEG_8u_C1(const uint8_t* src, int srcWidth, uint8_t* dst) {
  return boxes(src, srcWidth, {srcWidth, 1}, dst, srcWidth, {(srcWidth + 3) / 4, 1}, 4, 1);
}
RkdStatus rkdiSampleUpRowH1V2_Triangle_JPEG_8u_C1(const uint8_t* above, const uint8_t* src,
                                                  const uint8_t* below, int srcWidth, uint8_t* dst1,
                                                  uint8_t* dst2) {
  for (int x = 0; x < srcWidth; ++x) {
    dst1[x] = static_cast<uint8_t>((3 * src[x] + above[x] + 1) >> 2);
    dst2[x] = static_cast<uint8_t>((3 * src[x] + below[x] + 2) >> 2);
  }
  return rkdStsNoErr;
}
RkdStatus rkdiSampleUpRowH4V1_Triangle_JPEG_8u_C1(const uint8_t* src, int srcWidth, uint8_t* dst) {
  return rkdiSampleUpH4V1_JPEG_8u_C1R(src, srcWidth, {srcWidth, 1}, dst, 4 * srcWidth,
                                      {4 * srcWidth, 1});
}
RkdStatus rkdiSampleUpRow_Replicate_JPEG_8u_C1(const uint8_t* src, int srcWidth, uint8_t* dst,
                                               int factor) {
  return repeats(src, srcWidth, dst, factor * srcWidth, {factor * srcWidth, 1}, factor, 1);
}

}  // namespace ref
