// Packed 16-bit pixels to and from the blocks of one MCU.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "jpeg/mcu16.cpp"
#include "hwy/foreach_target.h"

#include "common/levels.h"
#include "hwy/highway.h"
#include "jpeg/mcu-inl.h"
#include "jpeg/mcu.h"
#include "rkd/rkdjpeg_mcu.h"

HWY_BEFORE_NAMESPACE();
namespace rkd::HWY_NAMESPACE {

RKD_TO_BLOCKS(bgr555ToYcc444, Shape444, Bgr555, ToYcc, 3)
RKD_TO_BLOCKS(bgr555ToYcc422, Shape422, Bgr555, ToYcc, 3)
RKD_TO_BLOCKS(bgr555ToYcc411, Shape411, Bgr555, ToYcc, 3)
RKD_TO_BLOCKS(bgr565ToYcc444, Shape444, Bgr565, ToYcc, 3)
RKD_TO_BLOCKS(bgr565ToYcc422, Shape422, Bgr565, ToYcc, 3)
RKD_TO_BLOCKS(bgr565ToYcc411, Shape411, Bgr565, ToYcc, 3)
RKD_FROM_BLOCKS(ycc444ToBgr555, Shape444, Bgr555, ToRgb, 3)
RKD_FROM_BLOCKS(ycc422ToBgr555, Shape422, Bgr555, ToRgb, 3)
RKD_FROM_BLOCKS(ycc411ToBgr555, Shape411, Bgr555, ToRgb, 3)
RKD_FROM_BLOCKS(ycc444ToBgr565, Shape444, Bgr565, ToRgb, 3)
RKD_FROM_BLOCKS(ycc422ToBgr565, Shape422, Bgr565, ToRgb, 3)
RKD_FROM_BLOCKS(ycc411ToBgr565, Shape411, Bgr565, ToRgb, 3)

}  // namespace rkd::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace rkd {
HWY_EXPORT(bgr555ToYcc444);
HWY_EXPORT(bgr555ToYcc422);
HWY_EXPORT(bgr555ToYcc411);
HWY_EXPORT(bgr565ToYcc444);
HWY_EXPORT(bgr565ToYcc422);
HWY_EXPORT(bgr565ToYcc411);
HWY_EXPORT(ycc444ToBgr555);
HWY_EXPORT(ycc422ToBgr555);
HWY_EXPORT(ycc411ToBgr555);
HWY_EXPORT(ycc444ToBgr565);
HWY_EXPORT(ycc422ToBgr565);
HWY_EXPORT(ycc411ToBgr565);
}  // namespace rkd

using namespace rkd;

RKD_MCU_FORWARD(rkdiBGR555ToYCbCr444LS_MCU_16u16s_C3P3R, bgr555ToYcc444, uint16_t, 8 * 1, 3)
RKD_MCU_FORWARD(rkdiBGR555ToYCbCr422LS_MCU_16u16s_C3P3R, bgr555ToYcc422, uint16_t, 16 * 1, 3)
RKD_MCU_FORWARD(rkdiBGR555ToYCbCr411LS_MCU_16u16s_C3P3R, bgr555ToYcc411, uint16_t, 16 * 1, 3)
RKD_MCU_FORWARD(rkdiBGR565ToYCbCr444LS_MCU_16u16s_C3P3R, bgr565ToYcc444, uint16_t, 8 * 1, 3)
RKD_MCU_FORWARD(rkdiBGR565ToYCbCr422LS_MCU_16u16s_C3P3R, bgr565ToYcc422, uint16_t, 16 * 1, 3)
RKD_MCU_FORWARD(rkdiBGR565ToYCbCr411LS_MCU_16u16s_C3P3R, bgr565ToYcc411, uint16_t, 16 * 1, 3)
RKD_MCU_INVERSE(rkdiYCbCr444ToBGR555LS_MCU_16s16u_P3C3R, ycc444ToBgr555, uint16_t, 8 * 1, 3)
RKD_MCU_INVERSE(rkdiYCbCr422ToBGR555LS_MCU_16s16u_P3C3R, ycc422ToBgr555, uint16_t, 16 * 1, 3)
RKD_MCU_INVERSE(rkdiYCbCr411ToBGR555LS_MCU_16s16u_P3C3R, ycc411ToBgr555, uint16_t, 16 * 1, 3)
RKD_MCU_INVERSE(rkdiYCbCr444ToBGR565LS_MCU_16s16u_P3C3R, ycc444ToBgr565, uint16_t, 8 * 1, 3)
RKD_MCU_INVERSE(rkdiYCbCr422ToBGR565LS_MCU_16s16u_P3C3R, ycc422ToBgr565, uint16_t, 16 * 1, 3)
RKD_MCU_INVERSE(rkdiYCbCr411ToBGR565LS_MCU_16s16u_P3C3R, ycc411ToBgr565, uint16_t, 16 * 1, 3)
#endif  // HWY_ONCE
