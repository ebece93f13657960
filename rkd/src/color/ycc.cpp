// RGB, BGR and CMYK to and from YCbCr and YCCK, 8 bits, planar and interleaved.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "color/ycc.cpp"
#include "hwy/foreach_target.h"

#include "color/ycc-inl.h"
#include "common/levels.h"
#include "hwy/highway.h"
#include "rkd/rkdcolor.h"

HWY_BEFORE_NAMESPACE();
namespace rkd::HWY_NAMESPACE {

using Bytes3to1 = Rows<uint8_t, uint8_t>;
using Planes3to1 = Region<uint8_t, 3, uint8_t, 1>;
using Pixels3to3 = Region<uint8_t, 1, uint8_t, 3>;
using Planes3to3 = Region<uint8_t, 3, uint8_t, 3>;
using Pixels4to4 = Region<uint8_t, 1, uint8_t, 4>;
using Planes4to1 = Region<uint8_t, 4, uint8_t, 1>;
using Planes4to4 = Region<uint8_t, 4, uint8_t, 4>;

void rgbToYPlanes(const Planes3to1& r) { convert<RgbPlanes<3>, ToLuma, YccPlanes<1>>(r); }
void rgbToY(const Bytes3to1& r) { convert<Rgb, ToLuma, YccPlanes<1>>(r); }
void bgrToY(const Bytes3to1& r) { convert<Bgr, ToLuma, YccPlanes<1>>(r); }
void rgbToYccPlanes(const Planes3to3& r) { convert<RgbPlanes<3>, ToYcc, YccPlanes<3>>(r); }
void rgbToYcc(const Pixels3to3& r) { convert<Rgb, ToYcc, YccPlanes<3>>(r); }
void bgrToYcc(const Pixels3to3& r) { convert<Bgr, ToYcc, YccPlanes<3>>(r); }
void yccToRgbPlanes(const Planes3to3& r) { convert<YccPlanes<3>, ToRgb, RgbPlanes<3>>(r); }
void yccToRgb(const Planes3to1& r) { convert<YccPlanes<3>, ToRgb, Rgb>(r); }
void yccToBgr(const Planes3to1& r) { convert<YccPlanes<3>, ToRgb, Bgr>(r); }
void yuyvToRgb(const Bytes3to1& r) { convert<Yuyv, ToRgb, Rgb>(r); }
void cmykToYcckPlanes(const Planes4to4& r) { convert<RgbPlanes<4>, ToYcc, YccPlanes<4>>(r); }
void cmykToYcck(const Pixels4to4& r) { convert<Cmyk, ToYcc, YccPlanes<4>>(r); }
void ycckToCmykPlanes(const Planes4to4& r) { convert<YccPlanes<4>, ToRgb, RgbPlanes<4>>(r); }
void ycckToCmyk(const Planes4to1& r) { convert<YccPlanes<4>, ToRgb, Cmyk>(r); }

}  // namespace rkd::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace rkd {
HWY_EXPORT(rgbToYPlanes);
HWY_EXPORT(rgbToY);
HWY_EXPORT(bgrToY);
HWY_EXPORT(rgbToYccPlanes);
HWY_EXPORT(rgbToYcc);
HWY_EXPORT(bgrToYcc);
HWY_EXPORT(yccToRgbPlanes);
HWY_EXPORT(yccToRgb);
HWY_EXPORT(yccToBgr);
HWY_EXPORT(yuyvToRgb);
HWY_EXPORT(cmykToYcckPlanes);
HWY_EXPORT(cmykToYcck);
HWY_EXPORT(ycckToCmykPlanes);
HWY_EXPORT(ycckToCmyk);
}  // namespace rkd

using namespace rkd;

RKD_PLANES_TO_PIXELS(rkdiRGBToY_JPEG_8u_P3C1R, RKD_AT_LEVEL(rgbToYPlanes), uint8_t, 3, uint8_t, 1)
RKD_PIXELS_TO_PIXELS(rkdiRGBToY_JPEG_8u_C3C1R, RKD_AT_LEVEL(rgbToY), uint8_t, 3, uint8_t, 1)
RKD_PIXELS_TO_PIXELS(rkdiBGRToY_JPEG_8u_C3C1R, RKD_AT_LEVEL(bgrToY), uint8_t, 3, uint8_t, 1)
RKD_PLANES_TO_PLANES(rkdiRGBToYCbCr_JPEG_8u_P3R, RKD_AT_LEVEL(rgbToYccPlanes), uint8_t, 3, uint8_t,
                     3)
RKD_PIXELS_TO_PLANES(rkdiRGBToYCbCr_JPEG_8u_C3P3R, RKD_AT_LEVEL(rgbToYcc), uint8_t, 3, uint8_t, 3)
RKD_PIXELS_TO_PLANES(rkdiBGRToYCbCr_JPEG_8u_C3P3R, RKD_AT_LEVEL(bgrToYcc), uint8_t, 3, uint8_t, 3)
RKD_PLANES_TO_PLANES(rkdiYCbCrToRGB_JPEG_8u_P3R, RKD_AT_LEVEL(yccToRgbPlanes), uint8_t, 3, uint8_t,
                     3)
RKD_PLANES_TO_PIXELS(rkdiYCbCrToRGB_JPEG_8u_P3C3R, RKD_AT_LEVEL(yccToRgb), uint8_t, 3, uint8_t, 3)
RKD_PLANES_TO_PIXELS(rkdiYCbCrToBGR_JPEG_8u_P3C3R, RKD_AT_LEVEL(yccToBgr), uint8_t, 3, uint8_t, 3)
RKD_PLANES_TO_PLANES(rkdiCMYKToYCCK_JPEG_8u_P4R, RKD_AT_LEVEL(cmykToYcckPlanes), uint8_t, 4,
                     uint8_t, 4)
RKD_PIXELS_TO_PLANES(rkdiCMYKToYCCK_JPEG_8u_C4P4R, RKD_AT_LEVEL(cmykToYcck), uint8_t, 4, uint8_t, 4)
RKD_PLANES_TO_PLANES(rkdiYCCKToCMYK_JPEG_8u_P4R, RKD_AT_LEVEL(ycckToCmykPlanes), uint8_t, 4,
                     uint8_t, 4)
RKD_PLANES_TO_PIXELS(rkdiYCCKToCMYK_JPEG_8u_P4C4R, RKD_AT_LEVEL(ycckToCmyk), uint8_t, 4, uint8_t, 4)

// Whole pairs only.
RkdStatus rkdiYCbCr422ToRGB_JPEG_8u_C2C3R(const uint8_t* src, int srcStep, uint8_t* dst,
                                          int dstStep, RkdiSize size) {
  if (size.width % 2 != 0) size.width = 0;
  return runRegion(RKD_AT_LEVEL(yuyvToRgb), Pixels<const uint8_t, 2>{src, srcStep},
                   Pixels<uint8_t, 3>{dst, dstStep}, size);
}
#endif  // HWY_ONCE
