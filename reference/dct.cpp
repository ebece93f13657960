// The 8x8 transform by its defining sums, quantisation and level shift.
#include <algorithm>
#include <array>
#include <cmath>
#include <numbers>

#include "ref_dct.h"
#include "samples.h"

namespace ref {
namespace {

using Table = Samples<const uint16_t>;

// Row-major matrix of an N-point transform: C(u) * sqrt(2 / N) * cos((2x + 1) u pi / 2N).
template <int N>
std::array<double, N * N> cosines() {
  std::array<double, N * N> m{};
  for (int u = 0; u < N; ++u) {
    for (int x = 0; x < N; ++x) {
      const double scale = u == 0 ? std::sqrt(1.0 / N) : std::sqrt(2.0 / N);
      m[u * N + x] = scale * std::cos((2 * x + 1) * u * std::numbers::pi / (2 * N));
    }
  }
  return m;
}

// dst = M src M^T (forward) or M^T src M (inverse) for NxN values.
template <int N>
void transform(const double* src, double* dst, bool forward) {
  static const std::array<double, N* N> m = cosines<N>();
  const auto factor = [&](int out, int in) { return forward ? m[out * N + in] : m[in * N + out]; };
  double half[N * N];
  for (int y = 0; y < N; ++y) {
    for (int out = 0; out < N; ++out) {
      double sum = 0;
      for (int in = 0; in < N; ++in) sum += factor(out, in) * src[y * N + in];
      half[y * N + out] = sum;
    }
  }
  for (int x = 0; x < N; ++x) {
    for (int out = 0; out < N; ++out) {
      double sum = 0;
      for (int in = 0; in < N; ++in) sum += factor(out, in) * half[in * N + x];
      dst[out * N + x] = sum;
    }
  }
}

// To the nearest integer, halves away from zero, clamped.
int nearest(double value, int low, int high) {
  return static_cast<int>(std::clamp(std::round(value), double(low), double(high)));
}

// Samples with a step, less `shift`, to 64 coefficients divided by their quantisers (1 without).
template <class T>
RkdStatus forward(const T* src, int srcStep, int shift, Samples<int16_t> dst, Table table) {
  double block[64];
  for (int i = 0; i < 64; ++i) {
    const int y = i / 8;
    block[i] = row(src, srcStep, y)[i % 8] - shift;
  }
  dctForward(block, block);
  for (int i = 0; i < 64; ++i) {
    const int quantiser = table ? table[i] : uint16_t{1};
    dst[i] = static_cast<int16_t>(nearest(block[i] / quantiser, INT16_MIN, INT16_MAX));
  }
  return rkdStsNoErr;
}

// The low KxK coefficients, dequantised modulo 2^16, to NxN samples plus `shift`, clamped.
template <int N, class T>
RkdStatus inverse(Samples<const int16_t> src, int K, T* dst, int dstStep, int shift, int low,
                  int high, Table table) {
  double block[N * N] = {};
  for (int v = 0; v < K; ++v) {
    for (int u = 0; u < K; ++u) {
      const int i = v * 8 + u;
      const int quantiser = table ? table[i] : uint16_t{1};
      // A constant block keeps its value: the DC of N points is N times the mean.
      block[v * N + u] = static_cast<int16_t>(src[i] * quantiser) * (N / 8.0);
    }
  }
  transform<N>(block, block, false);
  for (int i = 0; i < N * N; ++i) {
    row(dst, dstStep, i / N)[i % N] = static_cast<T>(nearest(block[i] + shift, low, high));
  }
  return rkdStsNoErr;
}

template <int N = 8>
RkdStatus inverse8u(Samples<const int16_t> src, int K, uint8_t* dst, int dstStep, Table table) {
  return inverse<N>(src, K, dst, dstStep, 128, 0, 255, table);
}

template <class T>
RkdStatus copyTable(Samples<const T> quantisers, Samples<uint16_t> table) {
  uint16_t made[256] = {};
  for (int i = 0; i < 64; ++i) made[i] = quantisers[i];
  for (int i = 0; i < 256; ++i) table[i] = made[i];
  return rkdStsNoErr;
}

constexpr int kRow16 = 16;  // bytes between the rows of a contiguous block

}  // namespace

void dctForward(const double* src, double* dst) { transform<8>(src, dst, true); }
void dctInverse(const double* src, double* dst) { transform<8>(src, dst, false); }

RkdStatus rkdiQuantFwdTableInit_JPEG_8u16u(const uint8_t* quantisers, uint16_t* table) {
  return copyTable<uint8_t>(quantisers, table);
}
RkdStatus rkdiQuantFwdTableInit_JPEG_16u(const uint16_t* quantisers, uint16_t* table) {
  return copyTable<uint16_t>(quantisers, table);
}
RkdStatus rkdiQuantInvTableInit_JPEG_8u16u(const uint8_t* quantisers, uint16_t* table) {
  return copyTable<uint8_t>(quantisers, table);
}
RkdStatus rkdiQuantInvTableInit_JPEG_16u(const uint16_t* quantisers, uint16_t* table) {
  return copyTable<uint16_t>(quantisers, table);
}

RkdStatus rkdiAdd128_JPEG_16s8u_C1R(const int16_t* src, int srcStep, uint8_t* dst, int dstStep,
                                    RkdiSize size) {
  for (int y = 0; y < size.height; ++y) {
    for (int x = 0; x < size.width; ++x) {
      const int sample = row(src, srcStep, y)[x] + 128;
      row(dst, dstStep, y)[x] = static_cast<uint8_t>(std::clamp(sample, 0, 255));
    }
  }
  return rkdStsNoErr;
}

RkdStatus rkdiSub128_JPEG_8u16s_C1R(const uint8_t* src, int srcStep, int16_t* dst, int dstStep,
                                    RkdiSize size) {
  for (int y = 0; y < size.height; ++y) {
    for (int x = 0; x < size.width; ++x) {
      row(dst, dstStep, y)[x] = static_cast<int16_t>(row(src, srcStep, y)[x] - 128);
    }
  }
  return rkdStsNoErr;
}

RkdStatus rkdiQuantFwd8x8_JPEG_16s_C1I(int16_t* srcDst, const uint16_t* table) {
  const Samples block(srcDst);
  const Table quantisers(table);
  for (int i = 0; i < 64; ++i) {
    const double quotient = double(block[i]) / quantisers[i];
    block[i] = static_cast<int16_t>(nearest(quotient, INT16_MIN, INT16_MAX));
  }
  return rkdStsNoErr;
}

RkdStatus rkdiQuantInv8x8_JPEG_16s_C1I(int16_t* srcDst, const uint16_t* table) {
  const Samples block(srcDst);
  const Table quantisers(table);
  for (int i = 0; i < 64; ++i) block[i] = static_cast<int16_t>(block[i] * quantisers[i]);
  return rkdStsNoErr;
}

RkdStatus rkdiDCT8x8Fwd_JPEG_16s_C1(const int16_t* src, int16_t* dst) {
  return forward(src, kRow16, 0, dst, nullptr);
}
RkdStatus rkdiDCT8x8Fwd_JPEG_16s_C1I(int16_t* srcDst) {
  return forward(srcDst, kRow16, 0, srcDst, nullptr);
}
RkdStatus rkdiDCT8x8Inv_JPEG_16s_C1(const int16_t* src, int16_t* dst) {
  return inverse<8>(src, 8, dst, kRow16, 0, INT16_MIN, INT16_MAX, nullptr);
}
RkdStatus rkdiDCT8x8Inv_JPEG_16s_C1I(int16_t* srcDst) {
  return rkdiDCT8x8Inv_JPEG_16s_C1(srcDst, srcDst);
}

RkdStatus rkdiDCTQuantFwd8x8_JPEG_16s_C1(const int16_t* src, int16_t* dst, const uint16_t* table) {
  return forward(src, kRow16, 0, dst, table);
}
RkdStatus rkdiDCTQuantFwd8x8_JPEG_16s_C1I(int16_t* srcDst, const uint16_t* table) {
  return forward(srcDst, kRow16, 0, srcDst, table);
}
RkdStatus rkdiDCTQuantFwd8x8_Eighths_JPEG_16s_C1(const int16_t* src, int16_t* dst, int count,
                                                 const uint16_t* table) {
  const Samples from(src);
  const Samples to(dst);
  const Table quantisers(table);
  for (int b = 0; b < count; ++b) {
    double block[64];
    for (int i = 0; i < 64; ++i) block[i] = from[64 * b + i];
    dctForward(block, block);
    for (int i = 0; i < 64; ++i) {
      const double quotient = nearest(8 * block[i], INT16_MIN, INT16_MAX) / double(quantisers[i]);
      to[64 * b + i] = static_cast<int16_t>(nearest(quotient, INT16_MIN, INT16_MAX));
    }
  }
  return rkdStsNoErr;
}
RkdStatus rkdiDCTQuantInv8x8_JPEG_16s_C1(const int16_t* src, int16_t* dst, const uint16_t* table) {
  return inverse<8>(src, 8, dst, kRow16, 0, INT16_MIN, INT16_MAX, table);
}
RkdStatus rkdiDCTQuantInv8x8_JPEG_16s_C1I(int16_t* srcDst, const uint16_t* table) {
  return rkdiDCTQuantInv8x8_JPEG_16s_C1(srcDst, srcDst, table);
}

RkdStatus rkdiDCT8x8FwdLS_JPEG_8u16s_C1R(const uint8_t* src, int srcStep, int16_t* dst) {
  return forward(src, srcStep, 128, dst, nullptr);
}
RkdStatus rkdiDCT8x8InvLS_JPEG_16s8u_C1R(const int16_t* src, uint8_t* dst, int dstStep) {
  return inverse8u(src, 8, dst, dstStep, nullptr);
}
RkdStatus rkdiDCTQuantFwd8x8LS_JPEG_8u16s_C1R(const uint8_t* src, int srcStep, int16_t* dst,
                                              const uint16_t* table) {
  return forward(src, srcStep, 128, dst, table);
}
RkdStatus rkdiDCTQuantInv8x8LS_JPEG_16s8u_C1R(const int16_t* src, uint8_t* dst, int dstStep,
                                              const uint16_t* table) {
  return inverse8u(src, 8, dst, dstStep, table);
}
RkdStatus rkdiDCTQuantFwd8x8LS_JPEG_16u16s_C1R(const uint16_t* src, int srcStep, int16_t* dst,
                                               const uint16_t* table) {
  return forward(src, srcStep, 2048, dst, table);
}
RkdStatus rkdiDCTQuantInv8x8LS_JPEG_16s16u_C1R(const int16_t* src, uint16_t* dst, int dstStep,
                                               const uint16_t* table) {
  return inverse<8>(src, 8, dst, dstStep, 2048, 0, 4095, table);
}
RkdStatus rkdiDCTQuantInv8x8LS_4x4_JPEG_16s8u_C1R(const int16_t* src, uint8_t* dst, int dstStep,
                                                  const uint16_t* table) {
  return inverse8u(src, 4, dst, dstStep, table);
}
RkdStatus rkdiDCTQuantInv8x8LS_2x2_JPEG_16s8u_C1R(const int16_t* src, uint8_t* dst, int dstStep,
                                                  const uint16_t* table) {
  return inverse8u(src, 2, dst, dstStep, table);
}
RkdStatus rkdiDCTQuantInv8x8LS_1x1_JPEG_16s8u_C1R(const int16_t* src, uint8_t* dst, int dstStep,
                                                  const uint16_t* table) {
  return inverse8u(src, 1, dst, dstStep, table);
}
RkdStatus rkdiDCTQuantInv8x8To4x4LS_JPEG_16s8u_C1R(const int16_t* src, uint8_t* dst, int dstStep,
                                                   const uint16_t* table) {
  return inverse8u<4>(src, 4, dst, dstStep, table);
}
RkdStatus rkdiDCTQuantInv8x8To2x2LS_JPEG_16s8u_C1R(const int16_t* src, uint8_t* dst, int dstStep,
                                                   const uint16_t* table) {
  return inverse8u<2>(src, 2, dst, dstStep, table);
}

}  // namespace ref
