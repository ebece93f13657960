// Wavelet coefficients to and from the integers of code blocks.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "jpeg2000/bands.cpp"
#include "hwy/foreach_target.h"

#include "common/lanes-inl.h"
#include "common/levels.h"
#include "common/round-inl.h"
#include "hwy/highway.h"
#include "rkd/rkdjpeg_bands.h"

HWY_BEFORE_NAMESPACE();
namespace rkd::HWY_NAMESPACE {

using DI = hn::ScalableTag<int32_t>;
using DF = hn::ScalableTag<float>;
using VI = hn::Vec<DI>;
using VF = hn::Vec<DF>;

// Calls row(src, dst, x, amount) for every vector of a region.
template <class S, class D, class Body>
HWY_INLINE void overRegion(const Rows<S, D>& region, Body&& body) {
  overRows<1, 1>(region, [&](const S* src, D* dst, size_t width) HWY_ATTR {
    overRow(width, hn::Lanes(DI()),
            [&](size_t x, auto amount) RKD_BODY { body(src + x, dst + x, amount); });
  });
}

// ---- samples of the bands' types to and from vectors of 32 bits ----

template <class Amount>
HWY_INLINE VI loadInts(const int16_t* from, Amount amount) {
  return hn::PromoteTo(DI(), load(hn::Rebind<int16_t, DI>(), from, amount));
}
template <class Amount>
HWY_INLINE VI loadInts(const int32_t* from, Amount amount) {
  return load(DI(), from, amount);
}
template <class Amount>
HWY_INLINE VF loadFloats(const float* from, Amount amount) {
  return load(DF(), from, amount);
}
template <class Amount>
HWY_INLINE VF loadFloats(const int16_t* from, Amount amount) {
  return hn::ConvertTo(DF(), loadInts(from, amount));
}
template <class Amount>
HWY_INLINE void storeInts(VI v, int16_t* to, Amount amount) {
  const hn::Rebind<int16_t, DI> d16;
  store(hn::DemoteTo(d16, v), d16, to, amount);
}
template <class Amount>
HWY_INLINE void storeInts(VI v, int32_t* to, Amount amount) {
  store(v, DI(), to, amount);
}
template <class Amount>
HWY_INLINE void storeFloats(VF v, float* to, Amount amount) {
  store(v, DF(), to, amount);
}
template <class Amount>
HWY_INLINE void storeFloats(VF v, int16_t* to, Amount amount) {
  storeInts(nearest17(v), to, amount);
}

// ---- both halves of a vector of 32s in double precision ----

template <class Work>
HWY_INLINE VI inDoubles(VI v, Work&& work) {
  const DI d;
  const hn::Half<DI> half;
  const hn::Rebind<double, decltype(half)> d64;
  const auto low = work(d64, hn::PromoteTo(d64, hn::LowerHalf(half, v)));
  const auto high = work(d64, hn::PromoteTo(d64, hn::UpperHalf(half, v)));
  return hn::Combine(d, hn::DemoteTo(half, high), hn::DemoteTo(half, low));
}

// The most negative number has no magnitude.
HWY_INLINE VI withMagnitude(VI v) { return hn::Max(v, hn::Set(DI(), -INT32_MAX)); }

// ---- quantisation ----

template <class S>
HWY_INLINE void quantise(const Rows<S, int32_t>& region, float stepSize) {
  const auto inverse = hn::Set(DF(), 1 / stepSize);
  overRegion(region, [&](const S* src, int32_t* dst, auto amount) RKD_BODY {
    const VF quotient = hn::Mul(loadFloats(src, amount), inverse);
    storeInts(withMagnitude(hn::ConvertTo(DI(), quotient)), dst, amount);
  });
}

void quantise32f(const Rows<float, int32_t>& region, float stepSize) { quantise(region, stepSize); }
void quantise16s(const Rows<int16_t, int32_t>& region, float stepSize) {
  quantise(region, stepSize);
}
void quantise32s(const Rows<int32_t, int32_t>& region, float stepSize) {
  const double inverse = 1 / double{stepSize};
  overRegion(region, [&](const int32_t* src, int32_t* dst, auto amount) RKD_BODY {
    const VI quotient = inDoubles(loadInts(src, amount), [&](auto d64, auto v) HWY_ATTR {
      return hn::Mul(v, hn::Set(d64, inverse));
    });
    storeInts(withMagnitude(quotient), dst, amount);
  });
}

// ---- reconstruction ----

template <class D>
HWY_INLINE void reconstruct(const Rows<int32_t, D>& region, float stepSize, float bias) {
  const DF df;
  const auto step = hn::Set(df, stepSize), away = hn::Set(df, bias);
  overRegion(region, [&](const int32_t* src, D* dst, auto amount) RKD_BODY {
    const VF q = hn::ConvertTo(df, loadInts(src, amount));
    const VF moved =
        hn::Add(q, hn::IfThenZeroElse(hn::Eq(q, hn::Zero(df)), hn::CopySignToAbs(away, q)));
    storeFloats(hn::Mul(moved, step), dst, amount);
  });
}

void reconstruct32f(const Rows<int32_t, float>& region, float stepSize, float bias) {
  reconstruct(region, stepSize, bias);
}
void reconstruct16s(const Rows<int32_t, int16_t>& region, float stepSize, float bias) {
  reconstruct(region, stepSize, bias);
}
void reconstruct32s(const Rows<int32_t, int32_t>& region, float stepSize, float bias) {
  overRegion(region, [&](const int32_t* src, int32_t* dst, auto amount) RKD_BODY {
    const VI rounded = inDoubles(loadInts(src, amount), [&](auto d64, auto q) HWY_ATTR {
      const auto away = hn::CopySignToAbs(hn::Set(d64, double{bias}), q);
      const auto moved = hn::Add(q, hn::IfThenZeroElse(hn::Eq(q, hn::Zero(d64)), away));
      return hn::Round(hn::Mul(moved, hn::Set(d64, double{stepSize})));
    });
    storeInts(rounded, dst, amount);
  });
}

// ---- reversible ----

void widen(const Rows<int16_t, int32_t>& region) {
  overRegion(region, [&](const int16_t* src, int32_t* dst, auto amount)
                         RKD_BODY { storeInts(loadInts(src, amount), dst, amount); });
}

// v / 2^bits, toward zero.
HWY_INLINE VI dropBits(VI v, int bits) {
  const VI rest = hn::And(hn::ShiftRight<31>(v), hn::Set(DI(), (1 << bits) - 1));
  return hn::ShiftRightSame(hn::Add(v, rest), bits);
}

template <class D>
HWY_INLINE void drop(const Rows<int32_t, D>& region, int fraction) {
  overRegion(region, [&](const int32_t* src, D* dst, auto amount) RKD_BODY {
    storeInts(dropBits(loadInts(src, amount), fraction), dst, amount);
  });
}
void drop16s(const Rows<int32_t, int16_t>& region, int fraction) { drop(region, fraction); }
void drop32s(const Rows<int32_t, int32_t>& region, int fraction) { drop(region, fraction); }

// ---- region of interest ----

void raise(const Rows<uint8_t, int32_t>& region, int shift) {
  const DI d;
  const hn::Rebind<uint8_t, DI> d8;
  overRegion(region, [&](const uint8_t* mask, int32_t* srcDst, auto amount) RKD_BODY {
    const VI v = load(d, srcDst, amount);
    const VI inside = hn::PromoteTo(d, load(d8, mask, amount));
    store(hn::IfThenElse(hn::Eq(inside, hn::Zero(d)), v, hn::ShiftLeftSame(v, shift)), d, srcDst,
          amount);
  });
}

void lower(const Rows<int32_t, int32_t>& region, int shift, int fraction) {
  const DI d;
  const VI most = hn::Set(d, (1 << (shift + fraction)) - 1), least = hn::Neg(most);
  overRegion(region, [&](const int32_t* src, int32_t* dst, auto amount) RKD_BODY {
    const VI v = load(d, src, amount);
    const auto isInside = hn::Or(hn::Gt(v, most), hn::Lt(v, least));
    store(hn::IfThenElse(isInside, dropBits(v, shift), v), d, dst, amount);
  });
}

}  // namespace rkd::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace rkd {
HWY_EXPORT(quantise32f);
HWY_EXPORT(quantise32s);
HWY_EXPORT(quantise16s);
HWY_EXPORT(reconstruct32f);
HWY_EXPORT(reconstruct32s);
HWY_EXPORT(reconstruct16s);
HWY_EXPORT(widen);
HWY_EXPORT(drop16s);
HWY_EXPORT(drop32s);
HWY_EXPORT(raise);
HWY_EXPORT(lower);

namespace {

// One operand to another with parameters, which have been judged.
template <class S, class D, class... Parameters>
RkdStatus runBand(void (*kernel)(const Rows<S, D>&, Parameters...), const S* src, int srcStep,
                  D* dst, int dstStep, RkdiSize size, bool isInRange, Parameters... parameters) {
  if (!isInRange) return rkdStsBadArgErr;
  return runRegion(kernel, Pixels<const S, 1>{src, srcStep}, Pixels<D, 1>{dst, dstStep}, size,
                   parameters...);
}

// So that neither the step nor its inverse leaves the floating-point numbers; false for NaN.
bool isStepSize(float step) { return step >= 0x1p-40F && step <= 0x1p40F; }
bool isBias(float bias) { return bias >= 0 && bias <= 1; }
bool isFraction(int fraction) { return fraction >= 0 && fraction <= 8; }
bool isShift(int shift) { return shift >= 0 && shift <= 30; }

}  // namespace
}  // namespace rkd

using namespace rkd;

#define QUANTISE(Name, kernel, S)                                                                \
  RkdStatus Name(const S* src, int srcStep, int32_t* dst, int dstStep, RkdiSize size,            \
                 float stepSize) {                                                               \
    return runBand(RKD_AT_LEVEL(kernel), src, srcStep, dst, dstStep, size, isStepSize(stepSize), \
                   stepSize);                                                                    \
  }
#define RECONSTRUCT(Name, kernel, D)                                                  \
  RkdStatus Name(const int32_t* src, int srcStep, D* dst, int dstStep, RkdiSize size, \
                 float stepSize, float bias) {                                        \
    return runBand(RKD_AT_LEVEL(kernel), src, srcStep, dst, dstStep, size,            \
                   isStepSize(stepSize) && isBias(bias), stepSize, bias);             \
  }
#define DROP(Name, kernel, D)                                                                    \
  RkdStatus Name(const int32_t* src, int srcStep, D* dst, int dstStep, RkdiSize size,            \
                 int fraction) {                                                                 \
    return runBand(RKD_AT_LEVEL(kernel), src, srcStep, dst, dstStep, size, isFraction(fraction), \
                   fraction);                                                                    \
  }

QUANTISE(rkdiQuantFwd_JPEG2K_32f32s_C1R, quantise32f, float)
QUANTISE(rkdiQuantFwd_JPEG2K_32s_C1R, quantise32s, int32_t)
QUANTISE(rkdiQuantFwd_JPEG2K_16s32s_C1R, quantise16s, int16_t)
RECONSTRUCT(rkdiQuantInv_JPEG2K_32s32f_C1R, reconstruct32f, float)
RECONSTRUCT(rkdiQuantInv_JPEG2K_32s_C1R, reconstruct32s, int32_t)
RECONSTRUCT(rkdiQuantInv_JPEG2K_32s16s_C1R, reconstruct16s, int16_t)
RKD_PIXELS_TO_PIXELS(rkdiBandFwd_JPEG2K_16s32s_C1R, RKD_AT_LEVEL(widen), int16_t, 1, int32_t, 1)
DROP(rkdiBandInv_JPEG2K_32s16s_C1R, drop16s, int16_t)
DROP(rkdiBandInv_JPEG2K_32s_C1R, drop32s, int32_t)

RkdStatus rkdiRegionFwd_JPEG2K_32s_C1IR(int32_t* srcDst, int srcDstStep, const uint8_t* mask,
                                        int maskStep, RkdiSize size, int shift) {
  return runBand(RKD_AT_LEVEL(raise), mask, maskStep, srcDst, srcDstStep, size, isShift(shift),
                 shift);
}
RkdStatus rkdiRegionInv_JPEG2K_32s_C1IR(int32_t* srcDst, int srcDstStep, RkdiSize size, int shift,
                                        int fraction) {
  const bool isInRange = isFraction(fraction) && isShift(shift) && isShift(shift + fraction);
  return runBand<int32_t>(RKD_AT_LEVEL(lower), srcDst, srcDstStep, srcDst, srcDstStep, size,
                          isInRange, shift, fraction);
}
#endif  // HWY_ONCE
