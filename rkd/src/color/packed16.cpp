// Packed 16-bit pixels, 555 and 565, to and from YCbCr planes.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "color/packed16.cpp"
#include "hwy/foreach_target.h"

#include "color/ycc-inl.h"
#include "common/levels.h"
#include "hwy/highway.h"
#include "rkd/rkdcolor.h"

HWY_BEFORE_NAMESPACE();
namespace rkd::HWY_NAMESPACE {

using ToPlanes = Region<uint16_t, 1, uint8_t, 3>;
using FromPlanes = Region<uint8_t, 3, uint16_t, 1>;

void rgb555ToYcc(const ToPlanes& r) { convert<Rgb555, ToYcc, YccPlanes<3>>(r); }
void bgr555ToYcc(const ToPlanes& r) { convert<Bgr555, ToYcc, YccPlanes<3>>(r); }
void rgb565ToYcc(const ToPlanes& r) { convert<Rgb565, ToYcc, YccPlanes<3>>(r); }
void bgr565ToYcc(const ToPlanes& r) { convert<Bgr565, ToYcc, YccPlanes<3>>(r); }
void yccToRgb555(const FromPlanes& r) { convert<YccPlanes<3>, ToRgb, Rgb555>(r); }
void yccToBgr555(const FromPlanes& r) { convert<YccPlanes<3>, ToRgb, Bgr555>(r); }
void yccToRgb565(const FromPlanes& r) { convert<YccPlanes<3>, ToRgb, Rgb565>(r); }
void yccToBgr565(const FromPlanes& r) { convert<YccPlanes<3>, ToRgb, Bgr565>(r); }

}  // namespace rkd::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace rkd {
HWY_EXPORT(rgb555ToYcc);
HWY_EXPORT(bgr555ToYcc);
HWY_EXPORT(rgb565ToYcc);
HWY_EXPORT(bgr565ToYcc);
HWY_EXPORT(yccToRgb555);
HWY_EXPORT(yccToBgr555);
HWY_EXPORT(yccToRgb565);
HWY_EXPORT(yccToBgr565);
}  // namespace rkd

using namespace rkd;

RKD_PIXELS_TO_PLANES(rkdiRGB555ToYCbCr_JPEG_16u8u_C3P3R, RKD_AT_LEVEL(rgb555ToYcc), uint16_t, 1,
                     uint8_t, 3)
RKD_PIXELS_TO_PLANES(rkdiBGR555ToYCbCr_JPEG_16u8u_C3P3R, RKD_AT_LEVEL(bgr555ToYcc), uint16_t, 1,
                     uint8_t, 3)
RKD_PIXELS_TO_PLANES(rkdiRGB565ToYCbCr_JPEG_16u8u_C3P3R, RKD_AT_LEVEL(rgb565ToYcc), uint16_t, 1,
                     uint8_t, 3)
RKD_PIXELS_TO_PLANES(rkdiBGR565ToYCbCr_JPEG_16u8u_C3P3R, RKD_AT_LEVEL(bgr565ToYcc), uint16_t, 1,
                     uint8_t, 3)
RKD_PLANES_TO_PIXELS(rkdiYCbCrToRGB555_JPEG_8u16u_P3C3R, RKD_AT_LEVEL(yccToRgb555), uint8_t, 3,
                     uint16_t, 1)
RKD_PLANES_TO_PIXELS(rkdiYCbCrToBGR555_JPEG_8u16u_P3C3R, RKD_AT_LEVEL(yccToBgr555), uint8_t, 3,
                     uint16_t, 1)
RKD_PLANES_TO_PIXELS(rkdiYCbCrToRGB565_JPEG_8u16u_P3C3R, RKD_AT_LEVEL(yccToRgb565), uint8_t, 3,
                     uint16_t, 1)
RKD_PLANES_TO_PIXELS(rkdiYCbCrToBGR565_JPEG_8u16u_P3C3R, RKD_AT_LEVEL(yccToBgr565), uint8_t, 3,
                     uint16_t, 1)
#endif  // HWY_ONCE
