// What codecs need between pixels, wavelets and code blocks, beside plain loops that do the same.
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "benchkit.h"
#include "rkd/rkdi.h"
#include "rkd/rkdjpeg_bands.h"
#include "rkd/rkdjpeg_levelshift.h"
#include "rkd/rkdjpeg_sample.h"

namespace bench {
namespace {

// A code block of the usual size, and pixels that stay in the second-level cache.
constexpr RkdiSize kBlock = {64, 64};
constexpr RkdiSize kPicture = {256, 128};
constexpr int kTimes = 8;  // a performance

constexpr size_t pixelsOf(RkdiSize size) { return size_t(size.width) * size_t(size.height); }

// ---- plain loops ----

RKD_BENCH_WIDE void quantise(const float* src, int32_t* dst, size_t n, float inverse) {
  for (size_t i = 0; i < n; ++i) dst[i] = int32_t(src[i] * inverse);
}
RKD_BENCH_WIDE void reconstruct(const int32_t* src, float* dst, size_t n, float step, float bias) {
  for (size_t i = 0; i < n; ++i) {
    const float q = float(src[i]);
    dst[i] = (q > 0 ? q + bias : q < 0 ? q - bias : 0) * step;
  }
}
RKD_BENCH_WIDE void widen(const int16_t* src, int32_t* dst, size_t n) {
  for (size_t i = 0; i < n; ++i) dst[i] = src[i];
}
RKD_BENCH_WIDE void halve(const int32_t* src, int16_t* dst, size_t n) {
  for (size_t i = 0; i < n; ++i) dst[i] = int16_t(std::clamp(src[i] / 2, -32768, 32767));
}
RKD_BENCH_WIDE void toBytes(const int16_t* src, uint8_t* dst, size_t n) {
  for (size_t i = 0; i < n; ++i) dst[i] = uint8_t(std::clamp(src[i] + 128, 0, 255));
}
RKD_BENCH_WIDE void toPixels(const int16_t* const* src, uint8_t* dst, size_t n) {
  const int16_t *a = src[0], *b = src[1], *c = src[2];
  for (size_t i = 0; i < n; ++i) {
    dst[3 * i] = uint8_t(std::clamp(a[i] + 128, 0, 255));
    dst[3 * i + 1] = uint8_t(std::clamp(b[i] + 128, 0, 255));
    dst[3 * i + 2] = uint8_t(std::clamp(c[i] + 128, 0, 255));
  }
}
RKD_BENCH_WIDE void toPlanes(const uint8_t* src, int16_t* const* dst, size_t n) {
  int16_t *a = dst[0], *b = dst[1], *c = dst[2];
  for (size_t i = 0; i < n; ++i) {
    a[i] = int16_t(src[3 * i] - 128);
    b[i] = int16_t(src[3 * i + 1] - 128);
    c[i] = int16_t(src[3 * i + 2] - 128);
  }
}
RKD_BENCH_WIDE void split(const uint8_t* src, uint8_t* const* dst, size_t n) {
  uint8_t *a = dst[0], *b = dst[1], *c = dst[2];
  for (size_t i = 0; i < n; ++i) {
    a[i] = src[3 * i];
    b[i] = src[3 * i + 1];
    c[i] = src[3 * i + 2];
  }
}
RKD_BENCH_WIDE void join(const uint8_t* const* src, uint8_t* dst, size_t n) {
  const uint8_t *a = src[0], *b = src[1], *c = src[2];
  for (size_t i = 0; i < n; ++i) {
    dst[3 * i] = a[i];
    dst[3 * i + 1] = b[i];
    dst[3 * i + 2] = c[i];
  }
}
RKD_BENCH_WIDE void triangleH4(const uint8_t* src, uint8_t* dst, size_t n) {
  for (size_t i = 1; i + 1 < n; ++i) {
    dst[4 * i] = uint8_t((5 * src[i] + 3 * src[i - 1] + 3) >> 3);
    dst[4 * i + 1] = uint8_t((7 * src[i] + src[i - 1] + 3) >> 3);
    dst[4 * i + 2] = uint8_t((7 * src[i] + src[i + 1] + 4) >> 3);
    dst[4 * i + 3] = uint8_t((5 * src[i] + 3 * src[i + 1] + 4) >> 3);
  }
}

// ---- cases ----

class Lines {
 public:
  Lines(Table& table, RkdiSize size) : m_table(table), m_pixels(pixelsOf(size)) {}

  // Plain loops are what a codec would have otherwise.
  template <class Ours, class Plain>
  void line(const std::string& name, Ours ours, Plain plain) {
    m_table.run({name, "px", double(m_pixels) * kTimes, 1.5, 1.1, repeated(ours), "plain loop",
                 repeated(plain)});
  }

 private:
  template <class Body>
  static std::function<void()> repeated(Body body) {
    return [body] {
      for (int i = 0; i < kTimes; ++i) body();
    };
  }
  Table& m_table;
  size_t m_pixels;
};

void benchBlocks(Table& table) {
  constexpr size_t n = pixelsOf(kBlock);
  constexpr int kStep16 = kBlock.width * 2, kStep32 = kBlock.width * 4;
  std::vector<float> f(n);
  std::vector<int32_t> q(n);
  std::vector<int16_t> s(n);
  for (size_t i = 0; i < n; ++i) {
    f[i] = float(int(i * 37 % 1001) - 500) * .7F;
    q[i] = int(i * 37 % 101) - 50;
  }
  Lines lines(table, kBlock);
  lines.line(
      "QuantFwd_JPEG2K_32f32s",
      [&] { rkdiQuantFwd_JPEG2K_32f32s_C1R(f.data(), kStep32, q.data(), kStep32, kBlock, 3.7F); },
      [&] { quantise(f.data(), q.data(), n, 1 / 3.7F); });
  lines.line(
      "QuantInv_JPEG2K_32s32f",
      [&] {
        rkdiQuantInv_JPEG2K_32s32f_C1R(q.data(), kStep32, f.data(), kStep32, kBlock, 3.7F, .5F);
      },
      [&] { reconstruct(q.data(), f.data(), n, 3.7F, .5F); });
  lines.line(
      "BandFwd_JPEG2K_16s32s",
      [&] { rkdiBandFwd_JPEG2K_16s32s_C1R(s.data(), kStep16, q.data(), kStep32, kBlock); },
      [&] { widen(s.data(), q.data(), n); });
  lines.line(
      "BandInv_JPEG2K_32s16s",
      [&] { rkdiBandInv_JPEG2K_32s16s_C1R(q.data(), kStep32, s.data(), kStep16, kBlock, 1); },
      [&] { halve(q.data(), s.data(), n); });
}

void benchPictures(Table& table) {
  constexpr size_t n = pixelsOf(kPicture);
  constexpr int kStep = kPicture.width;
  std::vector<int16_t> planes(3 * n);
  std::vector<uint8_t> bytes(3 * n), pixels(3 * n);
  for (size_t i = 0; i < 3 * n; ++i) {
    planes[i] = int16_t(int(i * 37 % 301) - 150);
    bytes[i] = pixels[i] = uint8_t(i * 91);
  }
  int16_t* const three[3] = {planes.data(), planes.data() + n, planes.data() + 2 * n};
  uint8_t* const bytePlanes[3] = {bytes.data(), bytes.data() + n, bytes.data() + 2 * n};
  Lines lines(table, kPicture);
  lines.line(
      "LevelShiftInv_JPEG2K_16s8u_C1R",
      [&] {
        rkdiLevelShiftInv_JPEG2K_16s8u_C1R(three[0], 2 * kStep, pixels.data(), kStep, kPicture, 8,
                                           0);
      },
      [&] { toBytes(three[0], pixels.data(), n); });
  lines.line(
      "LevelShiftInv_JPEG2K_16s8u_P3C3R",
      [&] {
        rkdiLevelShiftInv_JPEG2K_16s8u_P3C3R(three, 2 * kStep, pixels.data(), 3 * kStep, kPicture,
                                             8, 0);
      },
      [&] { toPixels(three, pixels.data(), n); });
  lines.line(
      "LevelShiftFwd_JPEG2K_8u16s_C3P3R",
      [&] {
        rkdiLevelShiftFwd_JPEG2K_8u16s_C3P3R(pixels.data(), 3 * kStep, three, 2 * kStep, kPicture,
                                             8, 0);
      },
      [&] { toPlanes(pixels.data(), three, n); });
  lines.line(
      "Copy_8u_C3P3R",
      [&] { rkdiCopy_8u_C3P3R(pixels.data(), 3 * kStep, bytePlanes, kStep, kPicture); },
      [&] { split(pixels.data(), bytePlanes, n); });
  lines.line(
      "Copy_8u_P3C3R",
      [&] { rkdiCopy_8u_P3C3R(bytePlanes, kStep, pixels.data(), 3 * kStep, kPicture); },
      [&] { join(bytePlanes, pixels.data(), n); });
  lines.line(
      "SampleUpH4V1_JPEG_8u",
      [&] {
        rkdiSampleUpH4V1_JPEG_8u_C1R(bytes.data(), kStep / 4, {kStep / 4, kPicture.height},
                                     pixels.data(), kStep, kPicture);
      },
      [&] {
        for (int y = 0; y < kPicture.height; ++y) {
          triangleH4(bytes.data() + y * kStep / 4, pixels.data() + y * kStep, kStep / 4);
        }
      });
}

}  // namespace

void benchBands(Table& table) {
  benchBlocks(table);
  benchPictures(table);
}

}  // namespace bench
