// One level of the wavelets in one direction.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "jpeg2000/waveletrow.cpp"
#include "hwy/foreach_target.h"

#include "common/levels.h"
#include "hwy/highway.h"
#include "jpeg2000/waveletline-inl.h"

HWY_BEFORE_NAMESPACE();
namespace rkd::HWY_NAMESPACE {

template <class Kernel, class T>
HWY_INLINE void forwardRows(const ForwardBands<T>& b) {
  for (int y = 0; y < b.size.height; ++y) {
    forwardLine<Kernel>(rowAt(b.samples, b.samplesStep, y), rowAt(b.low, b.lowStep, y),
                        rowAt(b.high, b.highStep, y), b.size.width, b.phase);
  }
}

template <class Kernel, class T>
HWY_INLINE void inverseRows(const InverseBands<T>& b) {
  for (int y = 0; y < b.size.height; ++y) {
    inverseLine<Kernel>(rowAt(b.low, b.lowStep, y), rowAt(b.high, b.highStep, y),
                        rowAt(b.samples, b.samplesStep, y), b.size.width, b.phase);
  }
}

// Columns go in strips whose rows in work fit a small buffer.
constexpr int kStrip = 1024;

template <class B>
HWY_INLINE auto bandRow(const B& b, Band band, int k) {
  return band == kLow ? rowAt(b.low, b.lowStep, k) : rowAt(b.high, b.highStep, k);
}

template <class T>
struct ForwardStrip {
  const ForwardBands<T>& b;
  int x;

  const T* load(Band band, int k, T*) const {
    return rowAt(b.samples, b.samplesStep, sampleRow(band, k, b.phase)) + x;
  }
  T* place(Band band, int k, T*) const { return bandRow(b, band, k) + x; }
  void finish(Band, int, const T*) const {}
};

template <class T>
struct InverseStrip {
  const InverseBands<T>& b;
  int x;

  const T* load(Band band, int k, T*) const { return bandRow(b, band, k) + x; }
  T* place(Band band, int k, T*) const {
    return rowAt(b.samples, b.samplesStep, sampleRow(band, k, b.phase)) + x;
  }
  void finish(Band, int, const T*) const {}
};

// The one row of an image of height one.
template <class Kernel, bool inverse, class T>
HWY_INLINE void singleRow(const T* from, T* to, int width, int phase) {
  const auto n = static_cast<size_t>(width);
  if (phase == rkdWTFirstLow) {
    std::memcpy(static_cast<void*>(to), static_cast<const void*>(from), n * sizeof(T));
  } else {
    scaleSingle<Kernel, inverse>(from, to, n);
  }
}

template <class Kernel, bool inverse, class T, class Strip, class B>
HWY_INLINE void sweepStrips(const B& b) {
  HWY_ALIGN T ring[2 * kRing * ringStep(kStrip, sizeof(T))];
  for (int x = 0; x < b.size.width; x += kStrip) {
    const auto width = static_cast<size_t>(std::min(kStrip, b.size.width - x));
    Strip strip{b, x};
    Sweep<Kernel, inverse, T, Strip>(strip, ring, width, b.size.height, b.phase).run();
  }
}

template <class Kernel, class T>
HWY_INLINE void forwardColumns(const ForwardBands<T>& b) {
  if (b.size.height == 1) {
    T* const only = b.phase == rkdWTFirstLow ? b.low : b.high;
    singleRow<Kernel, false>(b.samples, only, b.size.width, b.phase);
  } else {
    sweepStrips<Kernel, false, T, ForwardStrip<T>>(b);
  }
}

template <class Kernel, class T>
HWY_INLINE void inverseColumns(const InverseBands<T>& b) {
  if (b.size.height == 1) {
    const T* const only = b.phase == rkdWTFirstLow ? b.low : b.high;
    singleRow<Kernel, true>(only, b.samples, b.size.width, b.phase);
  } else {
    sweepStrips<Kernel, true, T, InverseStrip<T>>(b);
  }
}

void fwdRowB5316s(const ForwardBands<int16_t>& b) { forwardRows<B53>(b); }
void invRowB5316s(const InverseBands<int16_t>& b) { inverseRows<B53>(b); }
void fwdColB5316s(const ForwardBands<int16_t>& b) { forwardColumns<B53>(b); }
void invColB5316s(const InverseBands<int16_t>& b) { inverseColumns<B53>(b); }
void fwdRowB5332s(const ForwardBands<int32_t>& b) { forwardRows<B53>(b); }
void invRowB5332s(const InverseBands<int32_t>& b) { inverseRows<B53>(b); }
void fwdColB5332s(const ForwardBands<int32_t>& b) { forwardColumns<B53>(b); }
void invColB5332s(const InverseBands<int32_t>& b) { inverseColumns<B53>(b); }
void fwdRowD9732f(const ForwardBands<float>& b) { forwardRows<D97>(b); }
void invRowD9732f(const InverseBands<float>& b) { inverseRows<D97>(b); }
void fwdColD9732f(const ForwardBands<float>& b) { forwardColumns<D97>(b); }
void invColD9732f(const InverseBands<float>& b) { inverseColumns<D97>(b); }
void fwdColD9716s(const ForwardBands<int16_t>& b) { forwardColumns<D97>(b); }
void invColD9716s(const InverseBands<int16_t>& b) { inverseColumns<D97>(b); }
void fwdColD9732s(const ForwardBands<int32_t>& b) { forwardColumns<D97>(b); }
void invColD9732s(const InverseBands<int32_t>& b) { inverseColumns<D97>(b); }
void fwdRowD9716s(const ForwardBands<int16_t>& b) { forwardRows<D97>(b); }
void invRowD9716s(const InverseBands<int16_t>& b) { inverseRows<D97>(b); }
void fwdRowD9732s(const ForwardBands<int32_t>& b) { forwardRows<D97>(b); }
void invRowD9732s(const InverseBands<int32_t>& b) { inverseRows<D97>(b); }

}  // namespace rkd::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace rkd {
HWY_EXPORT(fwdRowB5316s);
HWY_EXPORT(invRowB5316s);
HWY_EXPORT(fwdColB5316s);
HWY_EXPORT(invColB5316s);
HWY_EXPORT(fwdRowB5332s);
HWY_EXPORT(invRowB5332s);
HWY_EXPORT(fwdColB5332s);
HWY_EXPORT(invColB5332s);
HWY_EXPORT(fwdRowD9732f);
HWY_EXPORT(invRowD9732f);
HWY_EXPORT(fwdColD9732f);
HWY_EXPORT(invColD9732f);
HWY_EXPORT(fwdColD9716s);
HWY_EXPORT(invColD9716s);
HWY_EXPORT(fwdColD9732s);
HWY_EXPORT(invColD9732s);
HWY_EXPORT(fwdRowD9716s);
HWY_EXPORT(invRowD9716s);
HWY_EXPORT(fwdRowD9732s);
HWY_EXPORT(invRowD9732s);
}  // namespace rkd

using namespace rkd;

// Exported functions: samples to bands, and bands to samples.
#define FORWARD_BANDS(Name, kernel, T, byRows)                                            \
  RkdStatus Name(const T* src, int srcStep, T* low, int lowStep, T* high, int highStep,   \
                 RkdiSize size, int phase) {                                              \
    return runBands<byRows, const T, T>(                                                  \
        RKD_AT_LEVEL(kernel), {src, srcStep, low, lowStep, high, highStep, size, phase}); \
  }
#define INVERSE_BANDS(Name, kernel, T, byRows)                                                \
  RkdStatus Name(const T* low, int lowStep, const T* high, int highStep, T* dst, int dstStep, \
                 RkdiSize size, int phase) {                                                  \
    return runBands<byRows, T, const T>(                                                      \
        RKD_AT_LEVEL(kernel), {dst, dstStep, low, lowStep, high, highStep, size, phase});     \
  }

FORWARD_BANDS(rkdiWTFwdRow_B53_JPEG2K_16s_C1R, fwdRowB5316s, int16_t, true)
INVERSE_BANDS(rkdiWTInvRow_B53_JPEG2K_16s_C1R, invRowB5316s, int16_t, true)
FORWARD_BANDS(rkdiWTFwdCol_B53_JPEG2K_16s_C1R, fwdColB5316s, int16_t, false)
INVERSE_BANDS(rkdiWTInvCol_B53_JPEG2K_16s_C1R, invColB5316s, int16_t, false)
FORWARD_BANDS(rkdiWTFwdRow_B53_JPEG2K_32s_C1R, fwdRowB5332s, int32_t, true)
INVERSE_BANDS(rkdiWTInvRow_B53_JPEG2K_32s_C1R, invRowB5332s, int32_t, true)
FORWARD_BANDS(rkdiWTFwdCol_B53_JPEG2K_32s_C1R, fwdColB5332s, int32_t, false)
INVERSE_BANDS(rkdiWTInvCol_B53_JPEG2K_32s_C1R, invColB5332s, int32_t, false)
FORWARD_BANDS(rkdiWTFwdRow_D97_JPEG2K_32f_C1R, fwdRowD9732f, float, true)
INVERSE_BANDS(rkdiWTInvRow_D97_JPEG2K_32f_C1R, invRowD9732f, float, true)
FORWARD_BANDS(rkdiWTFwdCol_D97_JPEG2K_32f_C1R, fwdColD9732f, float, false)
INVERSE_BANDS(rkdiWTInvCol_D97_JPEG2K_32f_C1R, invColD9732f, float, false)
FORWARD_BANDS(rkdiWTFwdCol_D97_JPEG2K_16s_C1R, fwdColD9716s, int16_t, false)
INVERSE_BANDS(rkdiWTInvCol_D97_JPEG2K_16s_C1R, invColD9716s, int16_t, false)
FORWARD_BANDS(rkdiWTFwdCol_D97_JPEG2K_32s_C1R, fwdColD9732s, int32_t, false)
INVERSE_BANDS(rkdiWTInvCol_D97_JPEG2K_32s_C1R, invColD9732s, int32_t, false)
FORWARD_BANDS(rkdiWTFwdRow_D97_JPEG2K_16s_C1R, fwdRowD9716s, int16_t, true)
INVERSE_BANDS(rkdiWTInvRow_D97_JPEG2K_16s_C1R, invRowD9716s, int16_t, true)
FORWARD_BANDS(rkdiWTFwdRow_D97_JPEG2K_32s_C1R, fwdRowD9732s, int32_t, true)
INVERSE_BANDS(rkdiWTInvRow_D97_JPEG2K_32s_C1R, invRowD9732s, int32_t, true)
#endif  // HWY_ONCE
