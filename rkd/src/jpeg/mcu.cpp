// Colour conversion, sampling and level shift between 8-bit pixels and the blocks of one MCU.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "jpeg/mcu.cpp"
#include "hwy/foreach_target.h"

#include "common/levels.h"
#include "hwy/highway.h"
#include "jpeg/mcu-inl.h"
#include "jpeg/mcu.h"
#include "rkd/rkdjpeg_mcu.h"

HWY_BEFORE_NAMESPACE();
namespace rkd::HWY_NAMESPACE {

RKD_TO_BLOCKS(rgbToYcc444, Shape444, Rgb, ToYcc, 3)
RKD_TO_BLOCKS(rgbToYcc422, Shape422, Rgb, ToYcc, 3)
RKD_TO_BLOCKS(rgbToYcc411, Shape411, Rgb, ToYcc, 3)
RKD_TO_BLOCKS(bgrToYcc444, Shape444, Bgr, ToYcc, 3)
RKD_TO_BLOCKS(bgrToYcc422, Shape422, Bgr, ToYcc, 3)
RKD_TO_BLOCKS(bgrToYcc411, Shape411, Bgr, ToYcc, 3)
RKD_TO_BLOCKS(cmykToYcck444, Shape444, Cmyk, ToYcc, 4)
RKD_TO_BLOCKS(cmykToYcck422, Shape422, Cmyk, ToYcc, 4)
RKD_TO_BLOCKS(cmykToYcck411, Shape411, Cmyk, ToYcc, 4)
RKD_FROM_BLOCKS(ycc444ToRgb, Shape444, Rgb, ToRgb, 3)
RKD_FROM_BLOCKS(ycc422ToRgb, Shape422, Rgb, ToRgb, 3)
RKD_FROM_BLOCKS(ycc411ToRgb, Shape411, Rgb, ToRgb, 3)
RKD_FROM_BLOCKS(ycc444ToBgr, Shape444, Bgr, ToRgb, 3)
RKD_FROM_BLOCKS(ycc422ToBgr, Shape422, Bgr, ToRgb, 3)
RKD_FROM_BLOCKS(ycc411ToBgr, Shape411, Bgr, ToRgb, 3)
RKD_FROM_BLOCKS(ycck444ToCmyk, Shape444, Cmyk, ToRgb, 4)
RKD_FROM_BLOCKS(ycck422ToCmyk, Shape422, Cmyk, ToRgb, 4)
RKD_FROM_BLOCKS(ycck411ToCmyk, Shape411, Cmyk, ToRgb, 4)

}  // namespace rkd::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace rkd {
HWY_EXPORT(rgbToYcc444);
HWY_EXPORT(rgbToYcc422);
HWY_EXPORT(rgbToYcc411);
HWY_EXPORT(bgrToYcc444);
HWY_EXPORT(bgrToYcc422);
HWY_EXPORT(bgrToYcc411);
HWY_EXPORT(cmykToYcck444);
HWY_EXPORT(cmykToYcck422);
HWY_EXPORT(cmykToYcck411);
HWY_EXPORT(ycc444ToRgb);
HWY_EXPORT(ycc422ToRgb);
HWY_EXPORT(ycc411ToRgb);
HWY_EXPORT(ycc444ToBgr);
HWY_EXPORT(ycc422ToBgr);
HWY_EXPORT(ycc411ToBgr);
HWY_EXPORT(ycck444ToCmyk);
HWY_EXPORT(ycck422ToCmyk);
HWY_EXPORT(ycck411ToCmyk);
}  // namespace rkd

using namespace rkd;

RKD_MCU_FORWARD(rkdiRGBToYCbCr444LS_MCU_8u16s_C3P3R, rgbToYcc444, uint8_t, 8 * 3, 3)
RKD_MCU_FORWARD(rkdiRGBToYCbCr422LS_MCU_8u16s_C3P3R, rgbToYcc422, uint8_t, 16 * 3, 3)
RKD_MCU_FORWARD(rkdiRGBToYCbCr411LS_MCU_8u16s_C3P3R, rgbToYcc411, uint8_t, 16 * 3, 3)
RKD_MCU_FORWARD(rkdiBGRToYCbCr444LS_MCU_8u16s_C3P3R, bgrToYcc444, uint8_t, 8 * 3, 3)
RKD_MCU_FORWARD(rkdiBGRToYCbCr422LS_MCU_8u16s_C3P3R, bgrToYcc422, uint8_t, 16 * 3, 3)
RKD_MCU_FORWARD(rkdiBGRToYCbCr411LS_MCU_8u16s_C3P3R, bgrToYcc411, uint8_t, 16 * 3, 3)
RKD_MCU_FORWARD(rkdiCMYKToYCCK444LS_MCU_8u16s_C4P4R, cmykToYcck444, uint8_t, 8 * 4, 4)
RKD_MCU_FORWARD(rkdiCMYKToYCCK422LS_MCU_8u16s_C4P4R, cmykToYcck422, uint8_t, 16 * 4, 4)
RKD_MCU_FORWARD(rkdiCMYKToYCCK411LS_MCU_8u16s_C4P4R, cmykToYcck411, uint8_t, 16 * 4, 4)
RKD_MCU_INVERSE(rkdiYCbCr444ToRGBLS_MCU_16s8u_P3C3R, ycc444ToRgb, uint8_t, 8 * 3, 3)
RKD_MCU_INVERSE(rkdiYCbCr422ToRGBLS_MCU_16s8u_P3C3R, ycc422ToRgb, uint8_t, 16 * 3, 3)
RKD_MCU_INVERSE(rkdiYCbCr411ToRGBLS_MCU_16s8u_P3C3R, ycc411ToRgb, uint8_t, 16 * 3, 3)
RKD_MCU_INVERSE(rkdiYCbCr444ToBGRLS_MCU_16s8u_P3C3R, ycc444ToBgr, uint8_t, 8 * 3, 3)
RKD_MCU_INVERSE(rkdiYCbCr422ToBGRLS_MCU_16s8u_P3C3R, ycc422ToBgr, uint8_t, 16 * 3, 3)
RKD_MCU_INVERSE(rkdiYCbCr411ToBGRLS_MCU_16s8u_P3C3R, ycc411ToBgr, uint8_t, 16 * 3, 3)
RKD_MCU_INVERSE(rkdiYCCK444ToCMYKLS_MCU_16s8u_P4C4R, ycck444ToCmyk, uint8_t, 8 * 4, 4)
RKD_MCU_INVERSE(rkdiYCCK422ToCMYKLS_MCU_16s8u_P4C4R, ycck422ToCmyk, uint8_t, 16 * 4, 4)
RKD_MCU_INVERSE(rkdiYCCK411ToCMYKLS_MCU_16s8u_P4C4R, ycck411ToCmyk, uint8_t, 16 * 4, 4)
#endif  // HWY_ONCE
