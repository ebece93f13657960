// The wavelets of columns, one lifting step of a pair of rows at a time.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "jpeg2000/waveletlift.cpp"
#include "hwy/foreach_target.h"

#include "common/levels.h"
#include "hwy/highway.h"
#include "jpeg2000/wavelet-inl.h"

HWY_BEFORE_NAMESPACE();
namespace rkd::HWY_NAMESPACE {

template <class T>
HWY_INLINE void forwardStep53(const StepRows<T>& r) {
  const T* const* in = r.in;
  liftPass<B53, false, Keep::kNothing, T>(
      {in[1], in[2], {in[0], in[3]}, {nullptr, r.out[1]}, r.out[0], nullptr}, r.width);
}

template <class T>
HWY_INLINE void inverseStep53(const StepRows<T>& r) {
  const T* const* in = r.in;
  liftPass<B53, true, Keep::kNothing, T>(
      {in[0], in[2], {in[1], in[3]}, {nullptr, r.out[1]}, r.out[0], nullptr}, r.width);
}

template <bool inverse, class T>
HWY_INLINE void step97(const StepRows<T>& r) {
  T* const* s = r.state;
  liftPass<D97, inverse, Keep::kAll, T>(
      {r.in[0], r.in[1], {s[0], s[1], s[2], s[3]}, {s[0], s[1], s[2], s[3]}, r.out[0], r.out[1]},
      r.width);
}

void fwdB5316s(const StepRows<int16_t>& r) { forwardStep53(r); }
void fwdB5332s(const StepRows<int32_t>& r) { forwardStep53(r); }
void invB5316s(const StepRows<int16_t>& r) { inverseStep53(r); }
void invB5332s(const StepRows<int32_t>& r) { inverseStep53(r); }
void fwdD9716s(const StepRows<int16_t>& r) { step97<false>(r); }
void fwdD9732s(const StepRows<int32_t>& r) { step97<false>(r); }
void fwdD9732f(const StepRows<float>& r) { step97<false>(r); }
void invD9716s(const StepRows<int16_t>& r) { step97<true>(r); }
void invD9732s(const StepRows<int32_t>& r) { step97<true>(r); }
void invD9732f(const StepRows<float>& r) { step97<true>(r); }

}  // namespace rkd::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace rkd {
HWY_EXPORT(fwdB5316s);
HWY_EXPORT(fwdB5332s);
HWY_EXPORT(fwdD9716s);
HWY_EXPORT(fwdD9732s);
HWY_EXPORT(fwdD9732f);
HWY_EXPORT(invB5316s);
HWY_EXPORT(invB5332s);
HWY_EXPORT(invD9716s);
HWY_EXPORT(invD9732s);
HWY_EXPORT(invD9732f);
}  // namespace rkd

using namespace rkd;

namespace {

template <class T>
RkdStatus runStep53(void (*kernel)(const StepRows<T>&), const T* a, const T* b, const T* c,
                    const T* d, T* first, T* second, int width) {
  if (const RkdStatus status =
          firstOf(checkPointers(a, b, c, d, first, second), checkLength(width))) {
    return status;
  }
  kernel({{a, b, c, d}, {}, {first, second}, static_cast<size_t>(width)});
  return rkdStsNoErr;
}

template <class T>
RkdStatus runStep97(void (*kernel)(const StepRows<T>&), const T* a, const T* b, T* const* state,
                    T* first, T* second, int width) {
  if (const RkdStatus status =
          firstOf(checkPointers(a, b, first, second), checkPlanes(state, 4), checkLength(width))) {
    return status;
  }
  kernel({{a, b},
          {state[0], state[1], state[2], state[3]},
          {first, second},
          static_cast<size_t>(width)});
  return rkdStsNoErr;
}

}  // namespace

#define STEP_53(Name, kernel, T)                                                                   \
  RkdStatus Name(const T* a, const T* b, const T* c, const T* d, T* first, T* second, int width) { \
    return runStep53<T>(RKD_AT_LEVEL(kernel), a, b, c, d, first, second, width);                   \
  }
#define STEP_97(Name, kernel, T)                                                              \
  RkdStatus Name(const T* a, const T* b, T* const state[4], T* first, T* second, int width) { \
    return runStep97<T>(RKD_AT_LEVEL(kernel), a, b, state, first, second, width);             \
  }

STEP_53(rkdiWTFwdColLift_B53_JPEG2K_16s_C1, fwdB5316s, int16_t)
STEP_53(rkdiWTFwdColLift_B53_JPEG2K_32s_C1, fwdB5332s, int32_t)
STEP_97(rkdiWTFwdColLift_D97_JPEG2K_16s_C1, fwdD9716s, int16_t)
STEP_97(rkdiWTFwdColLift_D97_JPEG2K_32s_C1, fwdD9732s, int32_t)
STEP_97(rkdiWTFwdColLift_D97_JPEG2K_32f_C1, fwdD9732f, float)
STEP_53(rkdiWTInvColLift_B53_JPEG2K_16s_C1, invB5316s, int16_t)
STEP_53(rkdiWTInvColLift_B53_JPEG2K_32s_C1, invB5332s, int32_t)
STEP_97(rkdiWTInvColLift_D97_JPEG2K_16s_C1, invD9716s, int16_t)
STEP_97(rkdiWTInvColLift_D97_JPEG2K_32s_C1, invD9732s, int32_t)
STEP_97(rkdiWTInvColLift_D97_JPEG2K_32f_C1, invD9732f, float)
#endif  // HWY_ONCE
