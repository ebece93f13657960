// The point transform of lossless coding: samples without their low bits, as predictors take them.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "jpeg/pointtransform.cpp"
#include "hwy/foreach_target.h"

#include "common/bytes-inl.h"
#include "common/levels.h"
#include "common/tiles-inl.h"
#include "hwy/highway.h"
#include "rkd/rkdjpeg_pred.h"

HWY_BEFORE_NAMESPACE();
namespace rkd::HWY_NAMESPACE {

using DU16 = hn::Repartition<uint16_t, D8>;

void shiftDown8(const Rows<uint8_t, int16_t>& region, int bits) {
  const D16 d;
  overTilesOf<kTile, 1, 1>(region, [&](const uint8_t* const* from, int16_t* const* to) HWY_ATTR {
    const V8 v = hn::LoadU(D8(), from[0]);
    hn::StoreU(hn::ShiftRightSame(first16(v), bits), d, to[0]);
    hn::StoreU(hn::ShiftRightSame(second16(v), bits), d, to[0] + kTile / 2);
  });
}

void shiftUp8(const Rows<int16_t, uint8_t>& region, int bits) {
  const D16 d;
  const V16 low = hn::Set(d, 255);
  overTilesOf<kTile, 1, 1>(region, [&](const int16_t* const* from, uint8_t* const* to) HWY_ATTR {
    const auto shifted = [&](const int16_t* at) HWY_ATTR {
      return hn::And(hn::ShiftLeftSame(hn::LoadU(d, at), bits), low);
    };
    hn::StoreU(packInOrder(shifted(from[0]), shifted(from[0] + kTile / 2)), D8(), to[0]);
  });
}

// Words to words: shifted(v), as unsigned lanes.
template <class S, class D, class Shifted>
HWY_INLINE void shiftWords(const Rows<S, D>& region, Shifted&& shifted) {
  const hn::Repartition<S, D8> ds;
  const hn::Repartition<D, D8> dd;
  overRows<1, 1>(region, [&](const S* src, D* dst, size_t width) HWY_ATTR {
    overRow(width, hn::Lanes(ds), [&](size_t x, auto amount) RKD_BODY {
      const auto v = hn::BitCast(DU16(), load(ds, src + x, amount));
      store(hn::BitCast(dd, shifted(v)), dd, dst + x, amount);
    });
  });
}
void shiftDown16(const Rows<uint16_t, int16_t>& region, int bits) {
  shiftWords(region, [bits](auto v) HWY_ATTR { return hn::ShiftRightSame(v, bits); });
}
void shiftUp16(const Rows<int16_t, uint16_t>& region, int bits) {
  shiftWords(region, [bits](auto v) HWY_ATTR { return hn::ShiftLeftSame(v, bits); });
}

}  // namespace rkd::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace rkd {
HWY_EXPORT(shiftDown8);
HWY_EXPORT(shiftDown16);
HWY_EXPORT(shiftUp8);
HWY_EXPORT(shiftUp16);
}  // namespace rkd

using namespace rkd;

#define POINT_TRANSFORM(Name, kernel, S, D)                                     \
  RkdStatus Name(const S* src, int srcStep, D* dst, int dstStep, RkdiSize size, \
                 int pointTransform) {                                          \
    if (pointTransform < 0 || pointTransform > 15) return rkdStsBadArgErr;      \
    return runRegion(RKD_AT_LEVEL(kernel), Pixels<const S, 1>{src, srcStep},    \
                     Pixels<D, 1>{dst, dstStep}, size, pointTransform);         \
  }

POINT_TRANSFORM(rkdiPointTransformFwd_JPEG_8u16s_C1R, shiftDown8, uint8_t, int16_t)
POINT_TRANSFORM(rkdiPointTransformFwd_JPEG_16u16s_C1R, shiftDown16, uint16_t, int16_t)
POINT_TRANSFORM(rkdiPointTransformInv_JPEG_16s8u_C1R, shiftUp8, int16_t, uint8_t)
POINT_TRANSFORM(rkdiPointTransformInv_JPEG_16s16u_C1R, shiftUp16, int16_t, uint16_t)
#endif  // HWY_ONCE
