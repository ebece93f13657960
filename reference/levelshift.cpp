/// Level shift by ITU-T T.800, G.1, with the clamp to the depth of a sample.
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <type_traits>

#include "ref_levelshift.h"
#include "samples.h"

namespace ref {
namespace {

/// Samples of a picture to those of a transform.
template <class S, class D>
D toTransform(S sample, int depth, bool isSigned) {
  int64_t v = sample;
  if (isSigned) {
    if (v > std::numeric_limits<std::make_signed_t<S>>::max()) v -= int64_t{1} << (8 * sizeof(S));
  } else {
    v -= int64_t{1} << (depth - 1);
  }
  const auto wrapped = static_cast<int32_t>(static_cast<uint32_t>(v));
  if constexpr (sizeof(S) == 2) return static_cast<D>(static_cast<int16_t>(wrapped));
  if constexpr (sizeof(D) == 4) return static_cast<D>(wrapped);
  return static_cast<D>(std::clamp<int32_t>(wrapped, INT16_MIN, INT16_MAX));
}

/// The way back; narrow types keep the low bits of negative samples.
template <class S, class D>
D toPicture(S coefficient, int depth, bool isSigned) {
  const double half = std::ldexp(1, depth - 1);
  const double clamped =
      std::clamp<double>(std::nearbyint(static_cast<double>(coefficient)), -half, half - 1);
  return static_cast<D>(static_cast<int64_t>(clamped + (isSigned ? 0 : half)));
}

}  // namespace

#define REF_SHIFT_PIXELS(Name, sample, S, D)                                                   \
  RkdStatus Name(const S* src, int srcStep, D* dst, int dstStep, RkdiSize size, int depth,     \
                 int isSigned) {                                                               \
    for (int y = 0; y < size.height; ++y) {                                                    \
      for (int x = 0; x < size.width; ++x) {                                                   \
        row(dst, dstStep, y)[x] = sample<S, D>(row(src, srcStep, y)[x], depth, isSigned != 0); \
      }                                                                                        \
    }                                                                                          \
    return 0;                                                                                  \
  }
#define REF_SHIFT_TO_PLANES(Name, sample, S, D)                                          \
  RkdStatus Name(const S* src, int srcStep, D* const dst[3], int dstStep, RkdiSize size, \
                 int depth, int isSigned) {                                              \
    for (int y = 0; y < size.height; ++y) {                                              \
      for (int x = 0; x < 3 * size.width; ++x) {                                         \
        row(dst[x % 3], dstStep, y)[x / 3] =                                             \
            sample<S, D>(row(src, srcStep, y)[x], depth, isSigned != 0);                 \
      }                                                                                  \
    }                                                                                    \
    return 0;                                                                            \
  }
#define REF_SHIFT_TO_PIXELS(Name, sample, S, D)                                          \
  RkdStatus Name(const S* const src[3], int srcStep, D* dst, int dstStep, RkdiSize size, \
                 int depth, int isSigned) {                                              \
    for (int y = 0; y < size.height; ++y) {                                              \
      for (int x = 0; x < 3 * size.width; ++x) {                                         \
        row(dst, dstStep, y)[x] =                                                        \
            sample<S, D>(row(src[x % 3], srcStep, y)[x / 3], depth, isSigned != 0);      \
      }                                                                                  \
    }                                                                                    \
    return 0;                                                                            \
  }

REF_SHIFT_PIXELS(rkdiLevelShiftFwd_JPEG2K_8u16s_C1R, toTransform, uint8_t, int16_t)
REF_SHIFT_PIXELS(rkdiLevelShiftFwd_JPEG2K_8u32s_C1R, toTransform, uint8_t, int32_t)
REF_SHIFT_PIXELS(rkdiLevelShiftFwd_JPEG2K_8u32f_C1R, toTransform, uint8_t, float)
REF_SHIFT_PIXELS(rkdiLevelShiftFwd_JPEG2K_16u16s_C1R, toTransform, uint16_t, int16_t)
REF_SHIFT_PIXELS(rkdiLevelShiftFwd_JPEG2K_16u32s_C1R, toTransform, uint16_t, int32_t)
REF_SHIFT_PIXELS(rkdiLevelShiftFwd_JPEG2K_16u32f_C1R, toTransform, uint16_t, float)
REF_SHIFT_PIXELS(rkdiLevelShiftFwd_JPEG2K_32s16s_C1R, toTransform, int32_t, int16_t)
REF_SHIFT_PIXELS(rkdiLevelShiftFwd_JPEG2K_32s_C1R, toTransform, int32_t, int32_t)
REF_SHIFT_PIXELS(rkdiLevelShiftFwd_JPEG2K_32s32f_C1R, toTransform, int32_t, float)
REF_SHIFT_TO_PLANES(rkdiLevelShiftFwd_JPEG2K_8u16s_C3P3R, toTransform, uint8_t, int16_t)
REF_SHIFT_TO_PLANES(rkdiLevelShiftFwd_JPEG2K_8u32s_C3P3R, toTransform, uint8_t, int32_t)
REF_SHIFT_TO_PLANES(rkdiLevelShiftFwd_JPEG2K_8u32f_C3P3R, toTransform, uint8_t, float)
REF_SHIFT_TO_PLANES(rkdiLevelShiftFwd_JPEG2K_16u16s_C3P3R, toTransform, uint16_t, int16_t)
REF_SHIFT_TO_PLANES(rkdiLevelShiftFwd_JPEG2K_16u32s_C3P3R, toTransform, uint16_t, int32_t)
REF_SHIFT_TO_PLANES(rkdiLevelShiftFwd_JPEG2K_16u32f_C3P3R, toTransform, uint16_t, float)
REF_SHIFT_PIXELS(rkdiLevelShiftInv_JPEG2K_16s8u_C1R, toPicture, int16_t, uint8_t)
REF_SHIFT_PIXELS(rkdiLevelShiftInv_JPEG2K_32s8u_C1R, toPicture, int32_t, uint8_t)
REF_SHIFT_PIXELS(rkdiLevelShiftInv_JPEG2K_32f8u_C1R, toPicture, float, uint8_t)
REF_SHIFT_PIXELS(rkdiLevelShiftInv_JPEG2K_16s16u_C1R, toPicture, int16_t, uint16_t)
REF_SHIFT_PIXELS(rkdiLevelShiftInv_JPEG2K_32s16u_C1R, toPicture, int32_t, uint16_t)
REF_SHIFT_PIXELS(rkdiLevelShiftInv_JPEG2K_32f16u_C1R, toPicture, float, uint16_t)
REF_SHIFT_PIXELS(rkdiLevelShiftInv_JPEG2K_16s32s_C1R, toPicture, int16_t, int32_t)
REF_SHIFT_PIXELS(rkdiLevelShiftInv_JPEG2K_32s_C1R, toPicture, int32_t, int32_t)
REF_SHIFT_PIXELS(rkdiLevelShiftInv_JPEG2K_32f32s_C1R, toPicture, float, int32_t)
REF_SHIFT_TO_PIXELS(rkdiLevelShiftInv_JPEG2K_16s8u_P3C3R, toPicture, int16_t, uint8_t)
REF_SHIFT_TO_PIXELS(rkdiLevelShiftInv_JPEG2K_32s8u_P3C3R, toPicture, int32_t, uint8_t)
REF_SHIFT_TO_PIXELS(rkdiLevelShiftInv_JPEG2K_32f8u_P3C3R, toPicture, float, uint8_t)
REF_SHIFT_TO_PIXELS(rkdiLevelShiftInv_JPEG2K_16s16u_P3C3R, toPicture, int16_t, uint16_t)
REF_SHIFT_TO_PIXELS(rkdiLevelShiftInv_JPEG2K_32s16u_P3C3R, toPicture, int32_t, uint16_t)
REF_SHIFT_TO_PIXELS(rkdiLevelShiftInv_JPEG2K_32f16u_P3C3R, toPicture, float, uint16_t)

}  // namespace ref
