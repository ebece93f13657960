// Pixels to planes and back, and inversion.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "image/planes.cpp"
#include "hwy/foreach_target.h"

#include "common/levels.h"
#include "common/tiles-inl.h"
#include "hwy/highway.h"
#include "rkd/rkdi.h"

HWY_BEFORE_NAMESPACE();
namespace rkd::HWY_NAMESPACE {

template <class T, int C>
HWY_INLINE void split(const Region<T, 1, T, C>& region) {
  const hn::ScalableTag<T> d;
  constexpr size_t kPixels = hn::MaxLanes(d);
  overTilesOf<kPixels, C, 1>(region, [&](const T* const* from, T* const* to) HWY_ATTR {
    hn::Vec<decltype(d)> v[4];
    if constexpr (C == 3) {
      hn::LoadInterleaved3(d, from[0], v[0], v[1], v[2]);
    } else {
      hn::LoadInterleaved4(d, from[0], v[0], v[1], v[2], v[3]);
    }
    for (int p = 0; p < C; ++p) hn::StoreU(v[p], d, to[p]);
  });
}

template <class T, int C>
HWY_INLINE void join(const Region<T, C, T, 1>& region) {
  const hn::ScalableTag<T> d;
  constexpr size_t kPixels = hn::MaxLanes(d);
  overTilesOf<kPixels, 1, C>(region, [&](const T* const* from, T* const* to) HWY_ATTR {
    const auto plane = [&](int p) HWY_ATTR { return hn::LoadU(d, from[p]); };
    if constexpr (C == 3) {
      hn::StoreInterleaved3(plane(0), plane(1), plane(2), d, to[0]);
    } else {
      hn::StoreInterleaved4(plane(0), plane(1), plane(2), plane(3), d, to[0]);
    }
  });
}

void split3x8u(const Region<uint8_t, 1, uint8_t, 3>& r) { split(r); }
void join3x8u(const Region<uint8_t, 3, uint8_t, 1>& r) { join(r); }
void split4x8u(const Region<uint8_t, 1, uint8_t, 4>& r) { split(r); }
void join4x8u(const Region<uint8_t, 4, uint8_t, 1>& r) { join(r); }
void split3x16u(const Region<uint16_t, 1, uint16_t, 3>& r) { split(r); }
void join3x16u(const Region<uint16_t, 3, uint16_t, 1>& r) { join(r); }
void split4x16u(const Region<uint16_t, 1, uint16_t, 4>& r) { split(r); }
void join4x16u(const Region<uint16_t, 4, uint16_t, 1>& r) { join(r); }

// C samples a pixel.
template <int C>
HWY_INLINE void invert(const Rows<uint8_t, uint8_t>& region) {
  const hn::ScalableTag<uint8_t> d;
  overRows<C, C>(region, [&](const uint8_t* src, uint8_t* dst, size_t width) HWY_ATTR {
    overRow(C * width, hn::Lanes(d), [&](size_t x, auto amount) RKD_BODY {
      store(hn::Not(load(d, src + x, amount)), d, dst + x, amount);
    });
  });
}
void invert1(const Rows<uint8_t, uint8_t>& region) { invert<1>(region); }
void invert4(const Rows<uint8_t, uint8_t>& region) { invert<4>(region); }

}  // namespace rkd::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace rkd {
HWY_EXPORT(split3x8u);
HWY_EXPORT(join3x8u);
HWY_EXPORT(split4x8u);
HWY_EXPORT(join4x8u);
HWY_EXPORT(split3x16u);
HWY_EXPORT(join3x16u);
HWY_EXPORT(split4x16u);
HWY_EXPORT(join4x16u);
HWY_EXPORT(invert1);
HWY_EXPORT(invert4);
}  // namespace rkd

using namespace rkd;

RKD_PIXELS_TO_PLANES(rkdiCopy_8u_C3P3R, RKD_AT_LEVEL(split3x8u), uint8_t, 3, uint8_t, 3)
RKD_PLANES_TO_PIXELS(rkdiCopy_8u_P3C3R, RKD_AT_LEVEL(join3x8u), uint8_t, 3, uint8_t, 3)
RKD_PIXELS_TO_PLANES(rkdiCopy_8u_C4P4R, RKD_AT_LEVEL(split4x8u), uint8_t, 4, uint8_t, 4)
RKD_PLANES_TO_PIXELS(rkdiCopy_8u_P4C4R, RKD_AT_LEVEL(join4x8u), uint8_t, 4, uint8_t, 4)
RKD_PIXELS_TO_PLANES(rkdiCopy_16u_C3P3R, RKD_AT_LEVEL(split3x16u), uint16_t, 3, uint16_t, 3)
RKD_PLANES_TO_PIXELS(rkdiCopy_16u_P3C3R, RKD_AT_LEVEL(join3x16u), uint16_t, 3, uint16_t, 3)
RKD_PIXELS_TO_PLANES(rkdiCopy_16u_C4P4R, RKD_AT_LEVEL(split4x16u), uint16_t, 4, uint16_t, 4)
RKD_PLANES_TO_PIXELS(rkdiCopy_16u_P4C4R, RKD_AT_LEVEL(join4x16u), uint16_t, 4, uint16_t, 4)

RKD_PIXELS_TO_PIXELS(rkdiInvert_8u_C1R, RKD_AT_LEVEL(invert1), uint8_t, 1, uint8_t, 1)
RKD_PIXELS_TO_PIXELS(rkdiInvert_8u_C4R, RKD_AT_LEVEL(invert4), uint8_t, 4, uint8_t, 4)
RKD_PIXELS_IN_PLACE(rkdiInvert_8u_C1IR, RKD_AT_LEVEL(invert1), uint8_t, 1)
RKD_PIXELS_IN_PLACE(rkdiInvert_8u_C4IR, RKD_AT_LEVEL(invert4), uint8_t, 4)
#endif  // HWY_ONCE
