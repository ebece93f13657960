/// Component transforms of JPEG 2000: ITU-T T.800, annex G.
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <type_traits>

#include "pixels.h"
#include "ref_color.h"

namespace ref {
namespace {

/// @name Operands as three samples of a pixel
/// @{
template <class T>
struct Planar {
  T* const* planes;
  int step;
  Sample<T> at(int x, int y, int c) const { return row(planes[c], step, y)[x]; }
};
template <class T>
struct Interleaved {
  T* data;
  int step;
  Sample<T> at(int x, int y, int c) const { return row(data, step, y)[3 * x + c]; }
};
/// @}

/// Applies transform(in, out) to the three samples of every pixel; src and dst may be the same.
template <class Src, class Dst, class T>
RkdStatus forEachTriple(Src src, Dst dst, RkdiSize size, void (*transform)(const T*, T*)) {
  for (int y = 0; y < size.height; ++y) {
    for (int x = 0; x < size.width; ++x) {
      const T in[3] = {src.at(x, y, 0), src.at(x, y, 1), src.at(x, y, 2)};
      T out[3];
      transform(in, out);
      for (int c = 0; c < 3; ++c) dst.at(x, y, c) = out[c];
    }
  }
  return rkdStsNoErr;
}

/// One result. Integers have weights with 15 bits (16-bit samples) or 28 bits (32-bit samples)
/// after the point, each to nearest, and round the sum once; 16 bits saturate, 32 bits wrap around.
template <class T>
T weighted(const T* in, double w0, double w1, double w2) {
  if constexpr (std::is_floating_point_v<T>) {
    return static_cast<T>(w0 * in[0] + w1 * in[1] + w2 * in[2]);
  } else {
    constexpr int kBits = sizeof(T) == 2 ? 15 : 28;
    const auto fixed = [](double weight) { return std::llround(std::ldexp(weight, kBits)); };
    const int64_t sum = fixed(w0) * in[0] + fixed(w1) * in[1] + fixed(w2) * in[2];
    const int64_t result = (sum + (int64_t{1} << (kBits - 1))) >> kBits;
    if constexpr (sizeof(T) == 2) {
      return static_cast<T>(std::clamp<int64_t>(result, INT16_MIN, INT16_MAX));
    } else {
      return static_cast<T>(result);
    }
  }
}

template <class T>
void ictFwd(const T* in, T* out) {
  out[0] = weighted(in, .299, .587, .114);
  out[1] = weighted(in, -.16875, -.33126, .5);
  out[2] = weighted(in, .5, -.41869, -.08131);
}

template <class T>
void ictInv(const T* in, T* out) {
  out[0] = weighted(in, 1, 0, 1.402);
  out[1] = weighted(in, 1, -.34413, -.71414);
  out[2] = weighted(in, 1, 1.772, 0);
}

template <class T>
void rctFwd(const T* in, T* out) {
  const int64_t r = in[0], g = in[1], b = in[2];
  out[0] = static_cast<T>((r + 2 * g + b) >> 2);
  out[1] = static_cast<T>(b - g);
  out[2] = static_cast<T>(r - g);
}

template <class T>
void rctInv(const T* in, T* out) {
  const int64_t y = in[0], cb = in[1], cr = in[2];
  const int64_t g = y - ((cb + cr) >> 2);
  out[0] = static_cast<T>(cr + g);
  out[1] = static_cast<T>(g);
  out[2] = static_cast<T>(cb + g);
}

}  // namespace

#define REF_P3I(Name, transform, T)                                   \
  RkdStatus Name(T* const srcDst[3], int srcDstStep, RkdiSize size) { \
    const Planar<T> both{srcDst, srcDstStep};                         \
    return forEachTriple(both, both, size, transform<T>);             \
  }
#define REF_C3P3(Name, transform, T)                                                        \
  RkdStatus Name(const T* src, int srcStep, T* const dst[3], int dstStep, RkdiSize size) {  \
    return forEachTriple(Interleaved<const T>{src, srcStep}, Planar<T>{dst, dstStep}, size, \
                         transform<T>);                                                     \
  }
#define REF_P3C3(Name, transform, T)                                                        \
  RkdStatus Name(const T* const src[3], int srcStep, T* dst, int dstStep, RkdiSize size) {  \
    return forEachTriple(Planar<const T>{src, srcStep}, Interleaved<T>{dst, dstStep}, size, \
                         transform<T>);                                                     \
  }

REF_C3P3(rkdiICTFwd_JPEG2K_32f_C3P3R, ictFwd, float)
REF_P3C3(rkdiICTInv_JPEG2K_32f_P3C3R, ictInv, float)
REF_P3I(rkdiICTFwd_JPEG2K_32f_P3IR, ictFwd, float)
REF_P3I(rkdiICTInv_JPEG2K_32f_P3IR, ictInv, float)
REF_P3I(rkdiICTFwd_JPEG2K_16s_P3IR, ictFwd, int16_t)
REF_P3I(rkdiICTInv_JPEG2K_16s_P3IR, ictInv, int16_t)
REF_P3I(rkdiICTFwd_JPEG2K_32s_P3IR, ictFwd, int32_t)
REF_P3I(rkdiICTInv_JPEG2K_32s_P3IR, ictInv, int32_t)
REF_P3I(rkdiRCTFwd_JPEG2K_16s_P3IR, rctFwd, int16_t)
REF_P3I(rkdiRCTInv_JPEG2K_16s_P3IR, rctInv, int16_t)
REF_P3I(rkdiRCTFwd_JPEG2K_32s_P3IR, rctFwd, int32_t)
REF_P3I(rkdiRCTInv_JPEG2K_32s_P3IR, rctInv, int32_t)
REF_C3P3(rkdiRCTFwd_JPEG2K_16s_C3P3R, rctFwd, int16_t)
REF_P3C3(rkdiRCTInv_JPEG2K_16s_P3C3R, rctInv, int16_t)
REF_C3P3(rkdiRCTFwd_JPEG2K_32s_C3P3R, rctFwd, int32_t)
REF_P3C3(rkdiRCTInv_JPEG2K_32s_P3C3R, rctInv, int32_t)

}  // namespace ref
