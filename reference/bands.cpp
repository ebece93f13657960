/// Quantisation, reconstruction and region of interest by ITU-T T.800, annexes E and H.
#include <algorithm>
#include <cmath>
#include <cstdint>

#include "ref_bands.h"
#include "samples.h"

namespace ref {
namespace {

/// dst = f(src) for every sample.
template <class S, class D, class F>
RkdStatus map(const S* src, int srcStep, D* dst, int dstStep, RkdiSize size, F f) {
  for (int y = 0; y < size.height; ++y) {
    for (int x = 0; x < size.width; ++x) row(dst, dstStep, y)[x] = f(S(row(src, srcStep, y)[x]));
  }
  return 0;
}

int32_t saturated(double v) {
  return static_cast<int32_t>(std::clamp<double>(v, INT32_MIN, INT32_MAX));
}

/// `Work` is the precision that rkdjpeg_bands.h tells.
template <class Work>
auto quantised(float stepSize) {
  return [inverse = 1 / Work{stepSize}](auto c) {
    const Work magnitude = std::floor(std::abs(static_cast<Work>(c)) * inverse);
    return saturated(std::copysign(std::min<double>(magnitude, INT32_MAX), double(c)));
  };
}

template <class Work>
auto reconstructed(float stepSize, float bias) {
  return [=](int32_t q) {
    if (q == 0) return Work{};
    return (static_cast<Work>(q) + std::copysign(Work{bias}, static_cast<Work>(q))) *
           Work{stepSize};
  };
}

int32_t withoutBits(int32_t v, int bits) {
  return static_cast<int32_t>(int64_t{v} / (int64_t{1} << bits));
}

}  // namespace

RkdStatus rkdiQuantFwd_JPEG2K_32f32s_C1R(const float* src, int srcStep, int32_t* dst, int dstStep,
                                         RkdiSize size, float stepSize) {
  return map(src, srcStep, dst, dstStep, size, quantised<float>(stepSize));
}
RkdStatus rkdiQuantFwd_JPEG2K_32s_C1R(const int32_t* src, int srcStep, int32_t* dst, int dstStep,
                                      RkdiSize size, float stepSize) {
  return map(src, srcStep, dst, dstStep, size, quantised<double>(stepSize));
}
RkdStatus rkdiQuantFwd_JPEG2K_16s32s_C1R(const int16_t* src, int srcStep, int32_t* dst, int dstStep,
                                         RkdiSize size, float stepSize) {
  return map(src, srcStep, dst, dstStep, size, quantised<float>(stepSize));
}

RkdStatus rkdiQuantInv_JPEG2K_32s32f_C1R(const int32_t* src, int srcStep, float* dst, int dstStep,
                                         RkdiSize size, float stepSize, float bias) {
  return map(src, srcStep, dst, dstStep, size, reconstructed<float>(stepSize, bias));
}
RkdStatus rkdiQuantInv_JPEG2K_32s_C1R(const int32_t* src, int srcStep, int32_t* dst, int dstStep,
                                      RkdiSize size, float stepSize, float bias) {
  return map(src, srcStep, dst, dstStep, size, [&](int32_t q) {
    return saturated(std::nearbyint(reconstructed<double>(stepSize, bias)(q)));
  });
}
RkdStatus rkdiQuantInv_JPEG2K_32s16s_C1R(const int32_t* src, int srcStep, int16_t* dst, int dstStep,
                                         RkdiSize size, float stepSize, float bias) {
  return map(src, srcStep, dst, dstStep, size, [&](int32_t q) {
    const float nearest = std::nearbyint(reconstructed<float>(stepSize, bias)(q));
    return static_cast<int16_t>(std::clamp<float>(nearest, INT16_MIN, INT16_MAX));
  });
}

RkdStatus rkdiBandFwd_JPEG2K_16s32s_C1R(const int16_t* src, int srcStep, int32_t* dst, int dstStep,
                                        RkdiSize size) {
  return map(src, srcStep, dst, dstStep, size, [](int16_t c) { return int32_t{c}; });
}
RkdStatus rkdiBandInv_JPEG2K_32s16s_C1R(const int32_t* src, int srcStep, int16_t* dst, int dstStep,
                                        RkdiSize size, int fraction) {
  return map(src, srcStep, dst, dstStep, size, [=](int32_t q) {
    return static_cast<int16_t>(std::clamp(withoutBits(q, fraction), INT16_MIN, INT16_MAX));
  });
}
RkdStatus rkdiBandInv_JPEG2K_32s_C1R(const int32_t* src, int srcStep, int32_t* dst, int dstStep,
                                     RkdiSize size, int fraction) {
  return map(src, srcStep, dst, dstStep, size, [=](int32_t q) { return withoutBits(q, fraction); });
}

RkdStatus rkdiRegionFwd_JPEG2K_32s_C1IR(int32_t* srcDst, int srcDstStep, const uint8_t* mask,
                                        int maskStep, RkdiSize size, int shift) {
  for (int y = 0; y < size.height; ++y) {
    for (int x = 0; x < size.width; ++x) {
      if (row(mask, maskStep, y)[x] == 0) continue;
      const auto sample = row(srcDst, srcDstStep, y)[x];
      sample = static_cast<int32_t>(static_cast<uint32_t>(int32_t{sample}) << shift);
    }
  }
  return 0;
}
RkdStatus rkdiRegionInv_JPEG2K_32s_C1IR(int32_t* srcDst, int srcDstStep, RkdiSize size, int shift,
                                        int fraction) {
  const int32_t* const src = srcDst;
  return map(src, srcDstStep, srcDst, srcDstStep, size, [=](int32_t q) {
    const bool isInside = std::abs(int64_t{q}) >= int64_t{1} << (shift + fraction);
    return isInside ? withoutBits(q, shift) : q;
  });
}

}  // namespace ref
