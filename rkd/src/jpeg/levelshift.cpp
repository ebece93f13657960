// Level shift alone: signed samples around 0 to and from unsigned ones.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "jpeg/levelshift.cpp"
#include "hwy/foreach_target.h"

#include "common/lanes-inl.h"
#include "common/levels.h"
#include "hwy/highway.h"
#include "rkd/rkdjpeg_dct.h"

HWY_BEFORE_NAMESPACE();
namespace rkd::HWY_NAMESPACE {

void add128(const Rows<int16_t, uint8_t>& region) {
  const hn::ScalableTag<int16_t> d16;
  const hn::Rebind<uint8_t, decltype(d16)> d8;
  const auto shift = hn::Set(d16, 128);
  overRows<1, 1>(region, [&](const int16_t* src, uint8_t* dst, size_t width) HWY_ATTR {
    overRow(width, hn::Lanes(d16), [&](size_t x, auto part) HWY_ATTR {
      const auto sample = hn::SaturatedAdd(load(d16, src + x, part), shift);
      store(hn::DemoteTo(d8, sample), d8, dst + x, part);
    });
  });
}

void sub128(const Rows<uint8_t, int16_t>& region) {
  const hn::ScalableTag<int16_t> d16;
  const hn::Rebind<uint8_t, decltype(d16)> d8;
  const auto shift = hn::Set(d16, 128);
  overRows<1, 1>(region, [&](const uint8_t* src, int16_t* dst, size_t width) HWY_ATTR {
    overRow(width, hn::Lanes(d16), [&](size_t x, auto part) HWY_ATTR {
      const auto sample = hn::PromoteTo(d16, load(d8, src + x, part));
      store(hn::Sub(sample, shift), d16, dst + x, part);
    });
  });
}

}  // namespace rkd::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace rkd {
HWY_EXPORT(add128);
HWY_EXPORT(sub128);
}  // namespace rkd

using namespace rkd;

RKD_PIXELS_TO_PIXELS(rkdiAdd128_JPEG_16s8u_C1R, RKD_AT_LEVEL(add128), int16_t, 1, uint8_t, 1)
RKD_PIXELS_TO_PIXELS(rkdiSub128_JPEG_8u16s_C1R, RKD_AT_LEVEL(sub128), uint8_t, 1, int16_t, 1)
#endif  // HWY_ONCE
