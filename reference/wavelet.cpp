/// Wavelets of JPEG 2000 by their recurrences: ITU-T T.800, annex F. 5/3 in integers, 9/7 in double
/// precision for 32f and in the fixed-point steps of rkdjpeg_wavelet.h for integers.
#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <type_traits>
#include <vector>

#include "pixels.h"
#include "ref_wavelet.h"

namespace ref {
namespace {

/// What lines are computed in.
template <class T>
using Work = std::conditional_t<std::is_floating_point_v<T>, double, T>;

int16_t saturated(int64_t v) {
  return static_cast<int16_t>(std::clamp<int64_t>(v, INT16_MIN, INT16_MAX));
}
int32_t wrapped(int64_t v) { return static_cast<int32_t>(static_cast<uint32_t>(v)); }

struct B53 {
  static constexpr int kSteps = 2;

  template <class T>
  static T lift(int step, bool inverse, T own, T a, T b) {
    const int64_t sum = int64_t{a} + b;
    const int64_t term = step == 0 ? -(sum >> 1) : (sum + 2) >> 2;
    return static_cast<T>(inverse ? own - term : own + term);
  }
  template <class T>
  static T scale(bool, T v) {
    return v;
  }
  template <class T>
  static T doubled(T v) {
    return static_cast<T>(2 * int64_t{v});
  }
};

struct D97 {
  static constexpr int kSteps = 4;
  static constexpr double kWeight[4] = {-1.586134342059924, -0.052980118572961, 0.882911075530934,
                                        0.443506852043971};
  static constexpr double kK = 1.230174104914001;

  static int64_t fixedPoint(double weight, int bits) {
    return static_cast<int64_t>(weight * (1 << bits) + (weight < 0 ? -.5 : .5));
  }
  static int64_t product(double weight, int64_t v, int bits) {
    return (fixedPoint(weight, bits) * v + (int64_t{1} << (bits - 1))) >> bits;
  }

  static double lift(int step, bool inverse, double own, double a, double b) {
    return own + (inverse ? -kWeight[step] : kWeight[step]) * (a + b);
  }
  static int16_t lift(int step, bool inverse, int16_t own, int16_t a, int16_t b) {
    const int64_t term = saturated(product(kWeight[step], int64_t{a} + b, 14));
    return saturated(inverse ? own - term : own + term);
  }
  static int32_t lift(int step, bool inverse, int32_t own, int32_t a, int32_t b) {
    const int64_t term = product(kWeight[step], wrapped(int64_t{a} + b), 28);
    return wrapped(inverse ? own - term : own + term);
  }

  static double factor(bool byK) { return byK ? kK : 1 / kK; }
  static double scale(bool byK, double v) { return v * factor(byK); }
  static int16_t scale(bool byK, int16_t v) { return saturated(product(factor(byK), v, 14)); }
  static int32_t scale(bool byK, int32_t v) { return wrapped(product(factor(byK), v, 28)); }

  static double doubled(double v) { return 2 * v; }
  static int16_t doubled(int16_t v) { return saturated(2 * v); }
  static int32_t doubled(int32_t v) { return wrapped(2 * int64_t{v}); }
};

template <class W>
W halved(W v) {
  if constexpr (std::is_floating_point_v<W>) {
    return v / 2;
  } else {
    return static_cast<W>(v >> 1);
  }
}

int mirrored(int i, int n) {
  while (i < 0 || i >= n) i = i < 0 ? -i : 2 * (n - 1) - i;
  return i;
}

template <class Kernel, class W>
void liftLine(std::vector<W>& x, int phase, int step, bool inverse) {
  const int n = static_cast<int>(x.size());
  for (int i = (step + phase + 1) % 2; i < n; i += 2) {
    x[i] = Kernel::lift(step, inverse, x[i], x[mirrored(i - 1, n)], x[mirrored(i + 1, n)]);
  }
}

/// Samples to coefficients, still interleaved.
template <class Kernel, class W>
void forward(std::vector<W>& x, int phase) {
  if (x.size() == 1) {
    if (phase != 0) x[0] = Kernel::doubled(x[0]);
    return;
  }
  for (int step = 0; step < Kernel::kSteps; ++step) liftLine<Kernel>(x, phase, step, false);
  for (size_t i = 0; i < x.size(); ++i) x[i] = Kernel::scale((i + phase) % 2 == 1, x[i]);
}

template <class Kernel, class W>
void inverse(std::vector<W>& x, int phase) {
  if (x.size() == 1) {
    if (phase != 0) x[0] = halved(x[0]);
    return;
  }
  for (size_t i = 0; i < x.size(); ++i) x[i] = Kernel::scale((i + phase) % 2 == 0, x[i]);
  for (int step = Kernel::kSteps - 1; step >= 0; --step) liftLine<Kernel>(x, phase, step, true);
}

int lows(int n, int phase) { return (n + 1 - phase) / 2; }

/// Where sample i of a line of n stands once low and high samples are parted.
int parted(int i, int n, int phase) {
  return (i + phase) % 2 == 0 ? i / 2 : lows(n, phase) + i / 2;
}

template <class Kernel, class T>
RkdStatus rowsForward(const T* src, int srcStep, T* low, int lowStep, T* high, int highStep,
                      RkdiSize size, int phase) {
  const int n = size.width, split = lows(n, phase);
  for (int y = 0; y < size.height; ++y) {
    std::vector<Work<T>> x(n);
    for (int i = 0; i < n; ++i) x[i] = row(src, srcStep, y)[i];
    forward<Kernel>(x, phase);
    for (int i = 0; i < n; ++i) {
      const int to = parted(i, n, phase);
      Sample<T> out = to < split ? row(low, lowStep, y)[to] : row(high, highStep, y)[to - split];
      out = static_cast<T>(x[i]);
    }
  }
  return 0;
}

template <class Kernel, class T>
RkdStatus rowsInverse(const T* low, int lowStep, const T* high, int highStep, T* dst, int dstStep,
                      RkdiSize size, int phase) {
  const int n = size.width, split = lows(n, phase);
  for (int y = 0; y < size.height; ++y) {
    std::vector<Work<T>> x(n);
    for (int i = 0; i < n; ++i) {
      const int at = parted(i, n, phase);
      x[i] = at < split ? row(low, lowStep, y)[at] : row(high, highStep, y)[at - split];
    }
    inverse<Kernel>(x, phase);
    for (int i = 0; i < n; ++i) row(dst, dstStep, y)[i] = static_cast<T>(x[i]);
  }
  return 0;
}

template <class Kernel, class T>
RkdStatus colsForward(const T* src, int srcStep, T* low, int lowStep, T* high, int highStep,
                      RkdiSize size, int phase) {
  const int n = size.height, split = lows(n, phase);
  for (int c = 0; c < size.width; ++c) {
    std::vector<Work<T>> x(n);
    for (int i = 0; i < n; ++i) x[i] = row(src, srcStep, i)[c];
    forward<Kernel>(x, phase);
    for (int i = 0; i < n; ++i) {
      const int to = parted(i, n, phase);
      Sample<T> out = to < split ? row(low, lowStep, to)[c] : row(high, highStep, to - split)[c];
      out = static_cast<T>(x[i]);
    }
  }
  return 0;
}

template <class Kernel, class T>
RkdStatus colsInverse(const T* low, int lowStep, const T* high, int highStep, T* dst, int dstStep,
                      RkdiSize size, int phase) {
  const int n = size.height, split = lows(n, phase);
  for (int c = 0; c < size.width; ++c) {
    std::vector<Work<T>> x(n);
    for (int i = 0; i < n; ++i) {
      const int at = parted(i, n, phase);
      x[i] = at < split ? row(low, lowStep, at)[c] : row(high, highStep, at - split)[c];
    }
    inverse<Kernel>(x, phase);
    for (int i = 0; i < n; ++i) row(dst, dstStep, i)[c] = static_cast<T>(x[i]);
  }
  return 0;
}

/// Both directions of a tile, through a plane between.
template <class Kernel, class T>
RkdStatus tileForward(const T* src, int srcStep, T* dst, int dstStep, RkdiSize size, int phaseX,
                      int phaseY) {
  std::vector<T> between(static_cast<size_t>(size.width) * size.height);
  const int step = size.width * static_cast<int>(sizeof(T));
  T* const high = between.data() + static_cast<ptrdiff_t>(size.width) * lows(size.height, phaseY);
  colsForward<Kernel>(src, srcStep, between.data(), step, high, step, size, phaseY);
  return rowsForward<Kernel, T>(between.data(), step, dst, dstStep, dst + lows(size.width, phaseX),
                                dstStep, size, phaseX);
}

template <class Kernel, class T>
RkdStatus tileInverse(const T* src, int srcStep, T* dst, int dstStep, RkdiSize size, int phaseX,
                      int phaseY) {
  std::vector<T> between(static_cast<size_t>(size.width) * size.height);
  const int step = size.width * static_cast<int>(sizeof(T));
  rowsInverse<Kernel>(src, srcStep, src + lows(size.width, phaseX), srcStep, between.data(), step,
                      size, phaseX);
  const T* const high =
      between.data() + static_cast<ptrdiff_t>(size.width) * lows(size.height, phaseY);
  return colsInverse<Kernel, T>(between.data(), step, high, step, dst, dstStep, size, phaseY);
}

template <class T>
using In = Samples<const T>;

template <class T>
RkdStatus step53Forward(In<T> even0, In<T> odd, In<T> even1, In<T> high0, Samples<T> low,
                        Samples<T> high, int width) {
  for (int x = 0; x < width; ++x) {
    high[x] = B53::lift<T>(0, false, odd[x], even0[x], even1[x]);
    low[x] = B53::lift<T>(1, false, even0[x], high0[x], high[x]);
  }
  return 0;
}

template <class T>
RkdStatus step53Inverse(In<T> low, In<T> high0, In<T> high1, In<T> even0, Samples<T> odd,
                        Samples<T> even1, int width) {
  for (int x = 0; x < width; ++x) {
    even1[x] = B53::lift<T>(1, true, low[x], high0[x], high1[x]);
    odd[x] = B53::lift<T>(0, true, high0[x], even0[x], even1[x]);
  }
  return 0;
}

/// Four steps, each on what the step before gives now and gave in the call before.
template <bool inverse, class T>
RkdStatus step97(In<T> first, In<T> second, T* const* state, Samples<T> out0, Samples<T> out1,
                 int width) {
  for (int x = 0; x < width; ++x) {
    Work<T> now = first[x], next = second[x];
    if (inverse) {
      now = D97::scale(true, now);
      next = D97::scale(false, next);
    }
    Work<T> made[4] = {next};
    for (int i = 0; i < 4; ++i) {
      const Work<T> own = i == 0 ? now : Work<T>(samples(state[i - 1])[x]);
      const Work<T> lifted =
          D97::lift(inverse ? 3 - i : i, inverse, own, Work<T>(samples(state[i])[x]), made[i]);
      if (i < 3)
        made[i + 1] = lifted;
      else
        now = lifted;
    }
    for (int i = 0; i < 4; ++i) samples(state[i])[x] = static_cast<T>(made[i]);
    out0[x] = static_cast<T>(inverse ? now : D97::scale(false, now));
    out1[x] = static_cast<T>(inverse ? made[3] : D97::scale(true, made[3]));
  }
  return 0;
}

}  // namespace

#define REF_FORWARD(Name, function, T)                                                  \
  RkdStatus Name(const T* src, int srcStep, T* low, int lowStep, T* high, int highStep, \
                 RkdiSize size, int phase) {                                            \
    return function(src, srcStep, low, lowStep, high, highStep, size, phase);           \
  }
#define REF_INVERSE(Name, function, T)                                                        \
  RkdStatus Name(const T* low, int lowStep, const T* high, int highStep, T* dst, int dstStep, \
                 RkdiSize size, int phase) {                                                  \
    return function(low, lowStep, high, highStep, dst, dstStep, size, phase);                 \
  }
#define REF_TILE(Name, function, T)                                                               \
  RkdStatus Name##_C1R(const T* src, int srcStep, T* dst, int dstStep, RkdiSize size, int phaseX, \
                       int phaseY, void*) {                                                       \
    return function(src, srcStep, dst, dstStep, size, phaseX, phaseY);                            \
  }                                                                                               \
  RkdStatus Name##_C1IR(T* srcDst, int step, RkdiSize size, int phaseX, int phaseY, void*) {      \
    return function(static_cast<const T*>(srcDst), step, srcDst, step, size, phaseX, phaseY);     \
  }
#define REF_STEP_53(Name, function, T)                                                          \
  RkdStatus Name(const T* a, const T* b, const T* c, const T* d, T* out0, T* out1, int width) { \
    return function<T>(a, b, c, d, out0, out1, width);                                          \
  }
#define REF_STEP_97(Name, inverse, T)                                                      \
  RkdStatus Name(const T* a, const T* b, T* const state[4], T* out0, T* out1, int width) { \
    return step97<inverse, T>(a, b, state, out0, out1, width);                             \
  }

REF_FORWARD(rkdiWTFwdRow_B53_JPEG2K_16s_C1R, rowsForward<B53>, int16_t)
REF_INVERSE(rkdiWTInvRow_B53_JPEG2K_16s_C1R, rowsInverse<B53>, int16_t)
REF_FORWARD(rkdiWTFwdCol_B53_JPEG2K_16s_C1R, colsForward<B53>, int16_t)
REF_INVERSE(rkdiWTInvCol_B53_JPEG2K_16s_C1R, colsInverse<B53>, int16_t)
REF_FORWARD(rkdiWTFwdRow_B53_JPEG2K_32s_C1R, rowsForward<B53>, int32_t)
REF_INVERSE(rkdiWTInvRow_B53_JPEG2K_32s_C1R, rowsInverse<B53>, int32_t)
REF_FORWARD(rkdiWTFwdCol_B53_JPEG2K_32s_C1R, colsForward<B53>, int32_t)
REF_INVERSE(rkdiWTInvCol_B53_JPEG2K_32s_C1R, colsInverse<B53>, int32_t)
REF_FORWARD(rkdiWTFwdRow_D97_JPEG2K_32f_C1R, rowsForward<D97>, float)
REF_INVERSE(rkdiWTInvRow_D97_JPEG2K_32f_C1R, rowsInverse<D97>, float)
REF_FORWARD(rkdiWTFwdCol_D97_JPEG2K_32f_C1R, colsForward<D97>, float)
REF_INVERSE(rkdiWTInvCol_D97_JPEG2K_32f_C1R, colsInverse<D97>, float)
REF_FORWARD(rkdiWTFwdCol_D97_JPEG2K_16s_C1R, colsForward<D97>, int16_t)
REF_INVERSE(rkdiWTInvCol_D97_JPEG2K_16s_C1R, colsInverse<D97>, int16_t)
REF_FORWARD(rkdiWTFwdCol_D97_JPEG2K_32s_C1R, colsForward<D97>, int32_t)
REF_INVERSE(rkdiWTInvCol_D97_JPEG2K_32s_C1R, colsInverse<D97>, int32_t)
REF_FORWARD(rkdiWTFwdRow_D97_JPEG2K_16s_C1R, rowsForward<D97>, int16_t)
REF_INVERSE(rkdiWTInvRow_D97_JPEG2K_16s_C1R, rowsInverse<D97>, int16_t)
REF_FORWARD(rkdiWTFwdRow_D97_JPEG2K_32s_C1R, rowsForward<D97>, int32_t)
REF_INVERSE(rkdiWTInvRow_D97_JPEG2K_32s_C1R, rowsInverse<D97>, int32_t)

REF_TILE(rkdiWTFwd_B53_JPEG2K_16s, tileForward<B53>, int16_t)
REF_TILE(rkdiWTInv_B53_JPEG2K_16s, tileInverse<B53>, int16_t)
REF_TILE(rkdiWTFwd_B53_JPEG2K_32s, tileForward<B53>, int32_t)
REF_TILE(rkdiWTInv_B53_JPEG2K_32s, tileInverse<B53>, int32_t)
REF_TILE(rkdiWTFwd_D97_JPEG2K_16s, tileForward<D97>, int16_t)
REF_TILE(rkdiWTInv_D97_JPEG2K_16s, tileInverse<D97>, int16_t)
REF_TILE(rkdiWTFwd_D97_JPEG2K_32s, tileForward<D97>, int32_t)
REF_TILE(rkdiWTInv_D97_JPEG2K_32s, tileInverse<D97>, int32_t)
REF_TILE(rkdiWTFwd_D97_JPEG2K_32f, tileForward<D97>, float)
REF_TILE(rkdiWTInv_D97_JPEG2K_32f, tileInverse<D97>, float)

REF_STEP_53(rkdiWTFwdColLift_B53_JPEG2K_16s_C1, step53Forward, int16_t)
REF_STEP_53(rkdiWTFwdColLift_B53_JPEG2K_32s_C1, step53Forward, int32_t)
REF_STEP_97(rkdiWTFwdColLift_D97_JPEG2K_16s_C1, false, int16_t)
REF_STEP_97(rkdiWTFwdColLift_D97_JPEG2K_32s_C1, false, int32_t)
REF_STEP_97(rkdiWTFwdColLift_D97_JPEG2K_32f_C1, false, float)
REF_STEP_53(rkdiWTInvColLift_B53_JPEG2K_16s_C1, step53Inverse, int16_t)
REF_STEP_53(rkdiWTInvColLift_B53_JPEG2K_32s_C1, step53Inverse, int32_t)
REF_STEP_97(rkdiWTInvColLift_D97_JPEG2K_16s_C1, true, int16_t)
REF_STEP_97(rkdiWTInvColLift_D97_JPEG2K_32s_C1, true, int32_t)
REF_STEP_97(rkdiWTInvColLift_D97_JPEG2K_32f_C1, true, float)

/// The plain versions need no buffer, but callers go by what the library needs.
RkdStatus rkdiWTGetBufSize_JPEG2K(RkdiSize size, RkdDataType type, int* bytes) {
  *bytes = size.width * (size.height + 16) * (type == rkd16s ? 2 : 4);
  return 0;
}

}  // namespace ref
