// Argument checks and entry points shared by all families. An exported function is one line in its
// family's table: the macros at the end spell out the C signature of an operand shape and forward
// to one template, which checks everything and then calls the kernel of the level in use.
#pragma once

#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "rkd/rkdbase.h"

namespace rkd {

// Row y of an image. Steps are bytes, and any alignment is allowed, hence the detour.
template <class T>
inline T* rowAt(T* base, int step, int y) {
  using Byte = std::conditional_t<std::is_const_v<T>, const char, char>;
  return reinterpret_cast<T*>(reinterpret_cast<Byte*>(base) + static_cast<ptrdiff_t>(step) * y);
}

// The operands of a function from SP source planes to DP destination planes. An interleaved image
// is one plane whose pixels have several samples. In place: source and destination are the same.
template <class S, int SP, class D, int DP>
struct Region {
  const S* src[SP];
  int srcStep;
  D* dst[DP];
  int dstStep;
  RkdiSize size;

  const S* srcRow(int y, int plane = 0) const { return rowAt(src[plane], srcStep, y); }
  D* dstRow(int y, int plane = 0) const { return rowAt(dst[plane], dstStep, y); }
};

// The most frequent shape: one plane to one plane.
template <class S, class D>
using Rows = Region<S, 1, D, 1>;

// ---- checks; each returns rkdStsNoErr or the status of what is wrong ----

inline RkdStatus checkSize(RkdiSize size) {
  return size.width > 0 && size.height > 0 ? rkdStsNoErr : rkdStsSizeErr;
}

inline RkdStatus checkLength(int length) { return length > 0 ? rkdStsNoErr : rkdStsSizeErr; }

// `samples` is what one row holds.
template <class T>
inline RkdStatus checkStep(int step, int64_t samples) {
  return step >= samples * static_cast<int64_t>(sizeof(T)) ? rkdStsNoErr : rkdStsStepErr;
}

template <class... T>
inline RkdStatus checkPointers(const T*... pointers) {
  return ((pointers != nullptr) && ...) ? rkdStsNoErr : rkdStsNullPtrErr;
}

template <class T>
inline RkdStatus checkPlanes(T* const* planes, int count) {
  if (planes == nullptr) return rkdStsNullPtrErr;
  for (int p = 0; p < count; ++p) {
    if (planes[p] == nullptr) return rkdStsNullPtrErr;
  }
  return rkdStsNoErr;
}

// The first status that is not rkdStsNoErr. All are computed: none touches memory.
template <class... Status>
inline RkdStatus firstOf(Status... status) {
  RkdStatus first = rkdStsNoErr;
  static_cast<void>(((first = status, first != rkdStsNoErr) || ...));
  return first;
}

// ---- one operand of an entry point ----

// Interleaved: one pointer, C samples a pixel.
template <class T, int C>
struct Pixels {
  static constexpr int kPlanes = 1;
  static constexpr int kSamples = C;
  using Sample = std::remove_const_t<T>;
  T* data;
  int step;

  RkdStatus checkPointer() const { return checkPointers(data); }
  T* plane(int) const { return data; }
};

// Planar: an array of P pointers that share a step.
template <class T, int P>
struct Planes {
  static constexpr int kPlanes = P;
  static constexpr int kSamples = 1;
  using Sample = std::remove_const_t<T>;
  T* const* data;
  int step;

  RkdStatus checkPointer() const { return checkPlanes(data, P); }
  T* plane(int p) const { return data[p]; }
};

// Checks the operands of a region function and runs its kernel. Parameters that follow the size in
// the function's signature are handed on.
template <class Src, class Dst, class Kernel, class... Parameters>
inline RkdStatus runRegion(Kernel kernel, Src src, Dst dst, RkdiSize size, Parameters... more) {
  using S = typename Src::Sample;
  using D = typename Dst::Sample;
  if (const RkdStatus status =
          firstOf(src.checkPointer(), dst.checkPointer(), checkSize(size),
                  checkStep<S>(src.step, int64_t{size.width} * Src::kSamples),
                  checkStep<D>(dst.step, int64_t{size.width} * Dst::kSamples))) {
    return status;
  }
  Region<S, Src::kPlanes, D, Dst::kPlanes> region;
  for (int p = 0; p < Src::kPlanes; ++p) region.src[p] = src.plane(p);
  for (int p = 0; p < Dst::kPlanes; ++p) region.dst[p] = dst.plane(p);
  region.srcStep = src.step;
  region.dstStep = dst.step;
  region.size = size;
  kernel(region, more...);
  return rkdStsNoErr;
}

}  // namespace rkd

// Exported functions by operand shape. S, D: sample types; SC, DC: samples a pixel of interleaved
// operands; SP, DP: planes. `kernel` is resolved by RKD_AT_LEVEL or is a plain function.

// ..._C1R, _C3R, _C3C1R: interleaved to interleaved.
#define RKD_PIXELS_TO_PIXELS(Name, kernel, S, SC, D, DC)                          \
  RkdStatus Name(const S* src, int srcStep, D* dst, int dstStep, RkdiSize size) { \
    return ::rkd::runRegion(kernel, ::rkd::Pixels<const S, SC>{src, srcStep},     \
                            ::rkd::Pixels<D, DC>{dst, dstStep}, size);            \
  }

// ..._C3P3R: interleaved to planar.
#define RKD_PIXELS_TO_PLANES(Name, kernel, S, SC, D, DP)                                    \
  RkdStatus Name(const S* src, int srcStep, D* const dst[DP], int dstStep, RkdiSize size) { \
    return ::rkd::runRegion(kernel, ::rkd::Pixels<const S, SC>{src, srcStep},               \
                            ::rkd::Planes<D, DP>{dst, dstStep}, size);                      \
  }

// ..._P3C3R, _P3C1R: planar to interleaved.
#define RKD_PLANES_TO_PIXELS(Name, kernel, S, SP, D, DC)                                    \
  RkdStatus Name(const S* const src[SP], int srcStep, D* dst, int dstStep, RkdiSize size) { \
    return ::rkd::runRegion(kernel, ::rkd::Planes<const S, SP>{src, srcStep},               \
                            ::rkd::Pixels<D, DC>{dst, dstStep}, size);                      \
  }

// ..._P3R: planar to planar.
#define RKD_PLANES_TO_PLANES(Name, kernel, S, SP, D, DP)                             \
  RkdStatus Name(const S* const src[SP], int srcStep, D* const dst[DP], int dstStep, \
                 RkdiSize size) {                                                    \
    return ::rkd::runRegion(kernel, ::rkd::Planes<const S, SP>{src, srcStep},        \
                            ::rkd::Planes<D, DP>{dst, dstStep}, size);               \
  }

// ..._C1IR: interleaved in place.
#define RKD_PIXELS_IN_PLACE(Name, kernel, T, C)                        \
  RkdStatus Name(T* srcDst, int step, RkdiSize size) {                 \
    return ::rkd::runRegion(kernel, ::rkd::Pixels<T, C>{srcDst, step}, \
                            ::rkd::Pixels<T, C>{srcDst, step}, size);  \
  }

// ..._P3IR: planar in place.
#define RKD_PLANES_IN_PLACE(Name, kernel, T, P)                        \
  RkdStatus Name(T* const srcDst[P], int step, RkdiSize size) {        \
    return ::rkd::runRegion(kernel, ::rkd::Planes<T, P>{srcDst, step}, \
                            ::rkd::Planes<T, P>{srcDst, step}, size);  \
  }
