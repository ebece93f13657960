// Level shift alone: signed samples around 0 to and from unsigned ones.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "jpeg/levelshift.cpp"
#include "hwy/foreach_target.h"

#include "common/bytes-inl.h"
#include "common/levels.h"
#include "hwy/highway.h"
#include "rkd/rkdjpeg_dct.h"

HWY_BEFORE_NAMESPACE();
namespace rkd::HWY_NAMESPACE {

// A whole vector of bytes a step; its words come from two vectors.
void add128(const Rows<int16_t, uint8_t>& region) {
  const D8 d8;
  const D16 d16;
  const V16 shift = hn::Set(d16, 128);
  constexpr size_t kHalf = kTile / 2;
  const auto shifted = [&](V16 a, V16 b) HWY_ATTR {
    return packInOrder(hn::SaturatedAdd(a, shift), hn::SaturatedAdd(b, shift));
  };
  overRows<1, 1>(region, [&](const int16_t* src, uint8_t* dst, size_t width) HWY_ATTR {
    size_t x = 0;
    for (; x + kTile <= width; x += kTile) {
      const V16 second = hn::LoadU(d16, src + x + kHalf);
      hn::StoreU(shifted(hn::LoadU(d16, src + x), second), d8, dst + x);
    }
    if (const size_t rest = width - x; rest > kHalf) {
      const V16 second = load(d16, src + x + kHalf, Part{rest - kHalf});
      store(shifted(hn::LoadU(d16, src + x), second), d8, dst + x, Part{rest});
    } else if (rest > 0) {
      const V16 first = load(d16, src + x, Part{rest});
      store(shifted(first, hn::Zero(d16)), d8, dst + x, Part{rest});
    }
  });
}

void sub128(const Rows<uint8_t, int16_t>& region) {
  const D16 d16;
  const hn::Rebind<uint8_t, D16> d8;
  const V16 shift = hn::Set(d16, 128);
  overRows<1, 1>(region, [&](const uint8_t* src, int16_t* dst, size_t width) HWY_ATTR {
    overRow(width, hn::Lanes(d16), [&](size_t x, auto part) RKD_BODY {
      const V16 sample = hn::PromoteTo(d16, load(d8, src + x, part));
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
