// Bad arguments of every entry point; refusals.h tells how the lines are read.
#include <gtest/gtest.h>

#include "huffkit.h"
#include "refusals.h"
#include "tzsymbols.h"

using namespace refusals;

namespace {

std::vector<void (*)()>& families() {
  static std::vector<void (*)()> all;
  return all;
}

// The lines of a family: a test of its own, and part of the list of all.
#define FAMILY(name)                                                                    \
  void refuse##name();                                                                  \
  [[maybe_unused]] const bool g_has##name = (families().push_back(refuse##name), true); \
  TEST(Arguments, name) { refuse##name(); }                                             \
  void refuse##name()

FAMILY(SignalAndImage) {
  REFUSES(rkdsCopy_8u, "p p n");
  REFUSES(rkdsCopy_16s, "p p n");
  REFUSES(rkdsCopy_32s, "p p n");
  REFUSES(rkdsSet_8u, "=3 p n");
  REFUSES(rkdsSet_16s, "=3 p n");
  REFUSES(rkdsSet_32s, "=3 p n");
  REFUSES(rkdsZero_8u, "p n");
  REFUSES(rkdsZero_16s, "p n");
  REFUSES(rkdsZero_32s, "p n");
  REFUSES(rkdiCopy_8u_C1R, "p s1 p s1 z");
  REFUSES(rkdiCopy_8u_C3R, "p s3 p s3 z");
  REFUSES(rkdiCopy_16s_C1R, "p s1 p s1 z");
  REFUSES(rkdiCopy_32s_C1R, "p s1 p s1 z");
  REFUSES(rkdiSet_8u_C1R, "=3 p s1 z");
  REFUSES(rkdiSet_16s_C1R, "=3 p s1 z");
  REFUSES(rkdiSet_32s_C1R, "=3 p s1 z");
  REFUSES(rkdiCopy_8u_C3P3R, "p s3 P3 s1 z");
  REFUSES(rkdiCopy_8u_P3C3R, "P3 s1 p s3 z");
  REFUSES(rkdiCopy_8u_C4P4R, "p s4 P4 s1 z");
  REFUSES(rkdiCopy_8u_P4C4R, "P4 s1 p s4 z");
  REFUSES(rkdiCopy_16u_C3P3R, "p s3 P3 s1 z");
  REFUSES(rkdiCopy_16u_P3C3R, "P3 s1 p s3 z");
  REFUSES(rkdiCopy_16u_C4P4R, "p s4 P4 s1 z");
  REFUSES(rkdiCopy_16u_P4C4R, "P4 s1 p s4 z");
  REFUSES(rkdiInvert_8u_C1R, "p s1 p s1 z");
  REFUSES(rkdiInvert_8u_C4R, "p s4 p s4 z");
  REFUSES(rkdiInvert_8u_C1IR, "p s1 z");
  REFUSES(rkdiInvert_8u_C4IR, "p s4 z");
}

FAMILY(LevelShift) {
  REFUSES(rkdiAdd128_JPEG_16s8u_C1R, "p s1 p s1 z");
  REFUSES(rkdiSub128_JPEG_8u16s_C1R, "p s1 p s1 z");
}

FAMILY(LevelShiftOfWavelets) {
  REFUSES(rkdiLevelShiftFwd_JPEG2K_8u16s_C1R, "p s1 p s1 z =8 =0");
  REFUSES(rkdiLevelShiftInv_JPEG2K_16s8u_C1R, "p s1 p s1 z =8 =0");
  REFUSES(rkdiLevelShiftFwd_JPEG2K_8u16s_C3P3R, "p s3 P3 s1 z =8 =0");
  REFUSES(rkdiLevelShiftInv_JPEG2K_16s8u_P3C3R, "P3 s1 p s3 z =8 =0");
  REFUSES(rkdiLevelShiftFwd_JPEG2K_8u32s_C1R, "p s1 p s1 z =8 =0");
  REFUSES(rkdiLevelShiftInv_JPEG2K_32s8u_C1R, "p s1 p s1 z =8 =0");
  REFUSES(rkdiLevelShiftFwd_JPEG2K_8u32s_C3P3R, "p s3 P3 s1 z =8 =0");
  REFUSES(rkdiLevelShiftInv_JPEG2K_32s8u_P3C3R, "P3 s1 p s3 z =8 =0");
  REFUSES(rkdiLevelShiftFwd_JPEG2K_8u32f_C1R, "p s1 p s1 z =8 =0");
  REFUSES(rkdiLevelShiftInv_JPEG2K_32f8u_C1R, "p s1 p s1 z =8 =0");
  REFUSES(rkdiLevelShiftFwd_JPEG2K_8u32f_C3P3R, "p s3 P3 s1 z =8 =0");
  REFUSES(rkdiLevelShiftInv_JPEG2K_32f8u_P3C3R, "P3 s1 p s3 z =8 =0");
  REFUSES(rkdiLevelShiftFwd_JPEG2K_16u16s_C1R, "p s1 p s1 z =8 =0");
  REFUSES(rkdiLevelShiftInv_JPEG2K_16s16u_C1R, "p s1 p s1 z =8 =0");
  REFUSES(rkdiLevelShiftFwd_JPEG2K_16u16s_C3P3R, "p s3 P3 s1 z =8 =0");
  REFUSES(rkdiLevelShiftInv_JPEG2K_16s16u_P3C3R, "P3 s1 p s3 z =8 =0");
  REFUSES(rkdiLevelShiftFwd_JPEG2K_16u32s_C1R, "p s1 p s1 z =8 =0");
  REFUSES(rkdiLevelShiftInv_JPEG2K_32s16u_C1R, "p s1 p s1 z =8 =0");
  REFUSES(rkdiLevelShiftFwd_JPEG2K_16u32s_C3P3R, "p s3 P3 s1 z =8 =0");
  REFUSES(rkdiLevelShiftInv_JPEG2K_32s16u_P3C3R, "P3 s1 p s3 z =8 =0");
  REFUSES(rkdiLevelShiftFwd_JPEG2K_16u32f_C1R, "p s1 p s1 z =8 =0");
  REFUSES(rkdiLevelShiftInv_JPEG2K_32f16u_C1R, "p s1 p s1 z =8 =0");
  REFUSES(rkdiLevelShiftFwd_JPEG2K_16u32f_C3P3R, "p s3 P3 s1 z =8 =0");
  REFUSES(rkdiLevelShiftInv_JPEG2K_32f16u_P3C3R, "P3 s1 p s3 z =8 =0");
  REFUSES(rkdiLevelShiftFwd_JPEG2K_32s16s_C1R, "p s1 p s1 z =8 =0");
  REFUSES(rkdiLevelShiftInv_JPEG2K_16s32s_C1R, "p s1 p s1 z =8 =0");
  REFUSES(rkdiLevelShiftFwd_JPEG2K_32s_C1R, "p s1 p s1 z =8 =0");
  REFUSES(rkdiLevelShiftInv_JPEG2K_32s_C1R, "p s1 p s1 z =8 =0");
  REFUSES(rkdiLevelShiftFwd_JPEG2K_32s32f_C1R, "p s1 p s1 z =8 =0");
  REFUSES(rkdiLevelShiftInv_JPEG2K_32f32s_C1R, "p s1 p s1 z =8 =0");
}

FAMILY(Bands) {
  REFUSES(rkdiQuantFwd_JPEG2K_32f32s_C1R, "p s1 p s1 z =1");
  REFUSES(rkdiQuantFwd_JPEG2K_32s_C1R, "p s1 p s1 z =1");
  REFUSES(rkdiQuantFwd_JPEG2K_16s32s_C1R, "p s1 p s1 z =1");
  REFUSES(rkdiQuantInv_JPEG2K_32s32f_C1R, "p s1 p s1 z =1 =0");
  REFUSES(rkdiQuantInv_JPEG2K_32s_C1R, "p s1 p s1 z =1 =0");
  REFUSES(rkdiQuantInv_JPEG2K_32s16s_C1R, "p s1 p s1 z =1 =0");
  REFUSES(rkdiBandFwd_JPEG2K_16s32s_C1R, "p s1 p s1 z");
  REFUSES(rkdiBandInv_JPEG2K_32s16s_C1R, "p s1 p s1 z =1");
  REFUSES(rkdiBandInv_JPEG2K_32s_C1R, "p s1 p s1 z =1");
  REFUSES(rkdiRegionFwd_JPEG2K_32s_C1IR, "p s1 p s1 z =5");
  REFUSES(rkdiRegionInv_JPEG2K_32s_C1IR, "p s1 z =5 =1");
}

FAMILY(Colour) {
  REFUSES(rkdiRGBToY_JPEG_8u_P3C1R, "P3 s1 p s1 z");
  REFUSES(rkdiRGBToY_JPEG_8u_C3C1R, "p s3 p s1 z");
  REFUSES(rkdiBGRToY_JPEG_8u_C3C1R, "p s3 p s1 z");
  REFUSES(rkdiRGBToYCbCr_JPEG_8u_P3R, "P3 s1 P3 s1 z");
  REFUSES(rkdiRGBToYCbCr_JPEG_8u_C3P3R, "p s3 P3 s1 z");
  REFUSES(rkdiBGRToYCbCr_JPEG_8u_C3P3R, "p s3 P3 s1 z");
  REFUSES(rkdiYCbCrToRGB_JPEG_8u_P3R, "P3 s1 P3 s1 z");
  REFUSES(rkdiYCbCrToRGB_JPEG_8u_P3C3R, "P3 s1 p s3 z");
  REFUSES(rkdiYCbCrToBGR_JPEG_8u_P3C3R, "P3 s1 p s3 z");
  REFUSES(rkdiCMYKToYCCK_JPEG_8u_P4R, "P4 s1 P4 s1 z");
  REFUSES(rkdiCMYKToYCCK_JPEG_8u_C4P4R, "p s4 P4 s1 z");
  REFUSES(rkdiYCCKToCMYK_JPEG_8u_P4R, "P4 s1 P4 s1 z");
  REFUSES(rkdiYCCKToCMYK_JPEG_8u_P4C4R, "P4 s1 p s4 z");
  REFUSES(rkdiRGB555ToYCbCr_JPEG_16u8u_C3P3R, "p s1 P3 s1 z");
  REFUSES(rkdiBGR555ToYCbCr_JPEG_16u8u_C3P3R, "p s1 P3 s1 z");
  REFUSES(rkdiRGB565ToYCbCr_JPEG_16u8u_C3P3R, "p s1 P3 s1 z");
  REFUSES(rkdiBGR565ToYCbCr_JPEG_16u8u_C3P3R, "p s1 P3 s1 z");
  REFUSES(rkdiYCbCrToRGB555_JPEG_8u16u_P3C3R, "P3 s1 p s1 z");
  REFUSES(rkdiYCbCrToBGR555_JPEG_8u16u_P3C3R, "P3 s1 p s1 z");
  REFUSES(rkdiYCbCrToRGB565_JPEG_8u16u_P3C3R, "P3 s1 p s1 z");
  REFUSES(rkdiYCbCrToBGR565_JPEG_8u16u_P3C3R, "P3 s1 p s1 z");
  REFUSES(rkdiYCbCr422ToRGB_JPEG_8u_C2C3R, "p r40 p r60 z20x3");
}

FAMILY(Component) {
  REFUSES(rkdiICTFwd_JPEG2K_32f_C3P3R, "p s3 P3 s1 z");
  REFUSES(rkdiICTInv_JPEG2K_32f_P3C3R, "P3 s1 p s3 z");
  REFUSES(rkdiICTFwd_JPEG2K_32f_P3IR, "P3 s1 z");
  REFUSES(rkdiICTInv_JPEG2K_32f_P3IR, "P3 s1 z");
  REFUSES(rkdiICTFwd_JPEG2K_16s_P3IR, "P3 s1 z");
  REFUSES(rkdiICTInv_JPEG2K_16s_P3IR, "P3 s1 z");
  REFUSES(rkdiICTFwd_JPEG2K_32s_P3IR, "P3 s1 z");
  REFUSES(rkdiICTInv_JPEG2K_32s_P3IR, "P3 s1 z");
  REFUSES(rkdiRCTFwd_JPEG2K_16s_P3IR, "P3 s1 z");
  REFUSES(rkdiRCTInv_JPEG2K_16s_P3IR, "P3 s1 z");
  REFUSES(rkdiRCTFwd_JPEG2K_32s_P3IR, "P3 s1 z");
  REFUSES(rkdiRCTInv_JPEG2K_32s_P3IR, "P3 s1 z");
  REFUSES(rkdiRCTFwd_JPEG2K_16s_C3P3R, "p s3 P3 s1 z");
  REFUSES(rkdiRCTInv_JPEG2K_16s_P3C3R, "P3 s1 p s3 z");
  REFUSES(rkdiRCTFwd_JPEG2K_32s_C3P3R, "p s3 P3 s1 z");
  REFUSES(rkdiRCTInv_JPEG2K_32s_P3C3R, "P3 s1 p s3 z");
}

FAMILY(Wavelet) {
  REFUSES(rkdiWTGetBufSize_JPEG2K, "z =4 p");
  REFUSES(rkdiWTFwdRow_B53_JPEG2K_16s_C1R, "p s1 p r10 p r9 z =0");
  REFUSES(rkdiWTInvRow_B53_JPEG2K_16s_C1R, "p r10 p r9 p s1 z =0");
  REFUSES(rkdiWTFwdRow_B53_JPEG2K_32s_C1R, "p s1 p r10 p r9 z =0");
  REFUSES(rkdiWTInvRow_B53_JPEG2K_32s_C1R, "p r10 p r9 p s1 z =0");
  REFUSES(rkdiWTFwdRow_D97_JPEG2K_16s_C1R, "p s1 p r10 p r9 z =0");
  REFUSES(rkdiWTInvRow_D97_JPEG2K_16s_C1R, "p r10 p r9 p s1 z =0");
  REFUSES(rkdiWTFwdRow_D97_JPEG2K_32s_C1R, "p s1 p r10 p r9 z =0");
  REFUSES(rkdiWTInvRow_D97_JPEG2K_32s_C1R, "p r10 p r9 p s1 z =0");
  REFUSES(rkdiWTFwdRow_D97_JPEG2K_32f_C1R, "p s1 p r10 p r9 z =0");
  REFUSES(rkdiWTInvRow_D97_JPEG2K_32f_C1R, "p r10 p r9 p s1 z =0");
  REFUSES(rkdiWTFwdCol_B53_JPEG2K_16s_C1R, "p s1 p s1 p s1 z =0");
  REFUSES(rkdiWTInvCol_B53_JPEG2K_16s_C1R, "p s1 p s1 p s1 z =0");
  REFUSES(rkdiWTFwdCol_B53_JPEG2K_32s_C1R, "p s1 p s1 p s1 z =0");
  REFUSES(rkdiWTInvCol_B53_JPEG2K_32s_C1R, "p s1 p s1 p s1 z =0");
  REFUSES(rkdiWTFwdCol_D97_JPEG2K_32f_C1R, "p s1 p s1 p s1 z =0");
  REFUSES(rkdiWTInvCol_D97_JPEG2K_32f_C1R, "p s1 p s1 p s1 z =0");
  REFUSES(rkdiWTFwdCol_D97_JPEG2K_16s_C1R, "p s1 p s1 p s1 z =0");
  REFUSES(rkdiWTInvCol_D97_JPEG2K_16s_C1R, "p s1 p s1 p s1 z =0");
  REFUSES(rkdiWTFwdCol_D97_JPEG2K_32s_C1R, "p s1 p s1 p s1 z =0");
  REFUSES(rkdiWTInvCol_D97_JPEG2K_32s_C1R, "p s1 p s1 p s1 z =0");
  REFUSES(rkdiWTFwd_B53_JPEG2K_16s_C1R, "p s1 p s1 z =0 =1 p");
  REFUSES(rkdiWTFwd_B53_JPEG2K_16s_C1IR, "p s1 z =0 =1 p");
  REFUSES(rkdiWTInv_B53_JPEG2K_16s_C1R, "p s1 p s1 z =0 =1 p");
  REFUSES(rkdiWTInv_B53_JPEG2K_16s_C1IR, "p s1 z =0 =1 p");
  REFUSES(rkdiWTFwd_B53_JPEG2K_32s_C1R, "p s1 p s1 z =0 =1 p");
  REFUSES(rkdiWTFwd_B53_JPEG2K_32s_C1IR, "p s1 z =0 =1 p");
  REFUSES(rkdiWTInv_B53_JPEG2K_32s_C1R, "p s1 p s1 z =0 =1 p");
  REFUSES(rkdiWTInv_B53_JPEG2K_32s_C1IR, "p s1 z =0 =1 p");
  REFUSES(rkdiWTFwd_D97_JPEG2K_16s_C1R, "p s1 p s1 z =0 =1 p");
  REFUSES(rkdiWTFwd_D97_JPEG2K_16s_C1IR, "p s1 z =0 =1 p");
  REFUSES(rkdiWTInv_D97_JPEG2K_16s_C1R, "p s1 p s1 z =0 =1 p");
  REFUSES(rkdiWTInv_D97_JPEG2K_16s_C1IR, "p s1 z =0 =1 p");
  REFUSES(rkdiWTFwd_D97_JPEG2K_32s_C1R, "p s1 p s1 z =0 =1 p");
  REFUSES(rkdiWTFwd_D97_JPEG2K_32s_C1IR, "p s1 z =0 =1 p");
  REFUSES(rkdiWTInv_D97_JPEG2K_32s_C1R, "p s1 p s1 z =0 =1 p");
  REFUSES(rkdiWTInv_D97_JPEG2K_32s_C1IR, "p s1 z =0 =1 p");
  REFUSES(rkdiWTFwd_D97_JPEG2K_32f_C1R, "p s1 p s1 z =0 =1 p");
  REFUSES(rkdiWTFwd_D97_JPEG2K_32f_C1IR, "p s1 z =0 =1 p");
  REFUSES(rkdiWTInv_D97_JPEG2K_32f_C1R, "p s1 p s1 z =0 =1 p");
  REFUSES(rkdiWTInv_D97_JPEG2K_32f_C1IR, "p s1 z =0 =1 p");
  REFUSES(rkdiWTFwdColLift_B53_JPEG2K_16s_C1, "p p p p p p n");
  REFUSES(rkdiWTFwdColLift_B53_JPEG2K_32s_C1, "p p p p p p n");
  REFUSES(rkdiWTFwdColLift_D97_JPEG2K_16s_C1, "p p P4 p p n");
  REFUSES(rkdiWTFwdColLift_D97_JPEG2K_32s_C1, "p p P4 p p n");
  REFUSES(rkdiWTFwdColLift_D97_JPEG2K_32f_C1, "p p P4 p p n");
  REFUSES(rkdiWTInvColLift_B53_JPEG2K_16s_C1, "p p p p p p n");
  REFUSES(rkdiWTInvColLift_B53_JPEG2K_32s_C1, "p p p p p p n");
  REFUSES(rkdiWTInvColLift_D97_JPEG2K_16s_C1, "p p P4 p p n");
  REFUSES(rkdiWTInvColLift_D97_JPEG2K_32s_C1, "p p P4 p p n");
  REFUSES(rkdiWTInvColLift_D97_JPEG2K_32f_C1, "p p P4 p p n");
}

FAMILY(Mcu) {
  REFUSES(rkdiRGBToYCbCr444LS_MCU_8u16s_C3P3R, "p r24 P3");
  REFUSES(rkdiRGBToYCbCr422LS_MCU_8u16s_C3P3R, "p r48 P3");
  REFUSES(rkdiRGBToYCbCr411LS_MCU_8u16s_C3P3R, "p r48 P3");
  REFUSES(rkdiBGRToYCbCr444LS_MCU_8u16s_C3P3R, "p r24 P3");
  REFUSES(rkdiBGRToYCbCr422LS_MCU_8u16s_C3P3R, "p r48 P3");
  REFUSES(rkdiBGRToYCbCr411LS_MCU_8u16s_C3P3R, "p r48 P3");
  REFUSES(rkdiCMYKToYCCK444LS_MCU_8u16s_C4P4R, "p r32 P4");
  REFUSES(rkdiCMYKToYCCK422LS_MCU_8u16s_C4P4R, "p r64 P4");
  REFUSES(rkdiCMYKToYCCK411LS_MCU_8u16s_C4P4R, "p r64 P4");
  REFUSES(rkdiYCbCr444ToRGBLS_MCU_16s8u_P3C3R, "P3 p r24");
  REFUSES(rkdiYCbCr422ToRGBLS_MCU_16s8u_P3C3R, "P3 p r48");
  REFUSES(rkdiYCbCr411ToRGBLS_MCU_16s8u_P3C3R, "P3 p r48");
  REFUSES(rkdiYCbCr444ToBGRLS_MCU_16s8u_P3C3R, "P3 p r24");
  REFUSES(rkdiYCbCr422ToBGRLS_MCU_16s8u_P3C3R, "P3 p r48");
  REFUSES(rkdiYCbCr411ToBGRLS_MCU_16s8u_P3C3R, "P3 p r48");
  REFUSES(rkdiYCCK444ToCMYKLS_MCU_16s8u_P4C4R, "P4 p r32");
  REFUSES(rkdiYCCK422ToCMYKLS_MCU_16s8u_P4C4R, "P4 p r64");
  REFUSES(rkdiYCCK411ToCMYKLS_MCU_16s8u_P4C4R, "P4 p r64");
  REFUSES(rkdiBGR555ToYCbCr444LS_MCU_16u16s_C3P3R, "p r8 P3");
  REFUSES(rkdiBGR555ToYCbCr422LS_MCU_16u16s_C3P3R, "p r16 P3");
  REFUSES(rkdiBGR555ToYCbCr411LS_MCU_16u16s_C3P3R, "p r16 P3");
  REFUSES(rkdiBGR565ToYCbCr444LS_MCU_16u16s_C3P3R, "p r8 P3");
  REFUSES(rkdiBGR565ToYCbCr422LS_MCU_16u16s_C3P3R, "p r16 P3");
  REFUSES(rkdiBGR565ToYCbCr411LS_MCU_16u16s_C3P3R, "p r16 P3");
  REFUSES(rkdiYCbCr444ToBGR555LS_MCU_16s16u_P3C3R, "P3 p r8");
  REFUSES(rkdiYCbCr422ToBGR555LS_MCU_16s16u_P3C3R, "P3 p r16");
  REFUSES(rkdiYCbCr411ToBGR555LS_MCU_16s16u_P3C3R, "P3 p r16");
  REFUSES(rkdiYCbCr444ToBGR565LS_MCU_16s16u_P3C3R, "P3 p r8");
  REFUSES(rkdiYCbCr422ToBGR565LS_MCU_16s16u_P3C3R, "P3 p r16");
  REFUSES(rkdiYCbCr411ToBGR565LS_MCU_16s16u_P3C3R, "P3 p r16");
  REFUSES(rkdiSampleDown444LS_MCU_8u16s_C3P3R, "p r24 P3");
  REFUSES(rkdiSampleDown422LS_MCU_8u16s_C3P3R, "p r48 P3");
  REFUSES(rkdiSampleDown411LS_MCU_8u16s_C3P3R, "p r48 P3");
  REFUSES(rkdiSampleUp444LS_MCU_16s8u_P3C3R, "P3 p r24");
  REFUSES(rkdiSampleUp422LS_MCU_16s8u_P3C3R, "P3 p r48");
  REFUSES(rkdiSampleUp411LS_MCU_16s8u_P3C3R, "P3 p r48");
  REFUSES(rkdiSplit422LS_MCU_8u16s_C2P3R, "p r32 P3");
  REFUSES(rkdiJoin422LS_MCU_16s8u_P3C2R, "P3 p r32");
}

FAMILY(Sample) {
  REFUSES(rkdiSampleDownRowH2V1_Box_JPEG_8u_C1, "p n p");
  REFUSES(rkdiSampleDownRowH2V2_Box_JPEG_8u_C1, "p p n p");
  REFUSES(rkdiSampleUpRowH2V1_Triangle_JPEG_8u_C1, "p n p");
  REFUSES(rkdiSampleUpRowH2V2_Triangle_JPEG_8u_C1, "p p n p");
  REFUSES(rkdiSampleDownH2V1_JPEG_8u_C1R, "p s1 z p r10 z10x3");
  REFUSES(rkdiSampleDownH2V2_JPEG_8u_C1R, "p s1 z p r10 z10x2");
  REFUSES(rkdiSampleUpH2V1_JPEG_8u_C1R, "p r10 z10x3 p s1 z");
  REFUSES(rkdiSampleUpH2V2_JPEG_8u_C1R, "p r10 z10x2 p s1 z");
  REFUSES(rkdiSampleDownRowH1V2_Box_JPEG_8u_C1, "p p n p");
  REFUSES(rkdiSampleDownRowH4V1_Box_JPEG_8u_C1, "p n p");
  REFUSES(rkdiSampleUpRowH1V2_Triangle_JPEG_8u_C1, "p p p n p p");
  REFUSES(rkdiSampleUpRowH4V1_Triangle_JPEG_8u_C1, "p n p");
  REFUSES(rkdiSampleUpRow_Replicate_JPEG_8u_C1, "p n p =3");
  REFUSES(rkdiSampleDownH1V2_JPEG_8u_C1R, "p s1 z p s1 z19x2");
  REFUSES(rkdiSampleDownH4V1_JPEG_8u_C1R, "p s1 z p r5 z5x3");
  REFUSES(rkdiSampleUpH1V2_JPEG_8u_C1R, "p s1 z19x2 p s1 z");
  REFUSES(rkdiSampleUpH4V1_JPEG_8u_C1R, "p r5 z5x3 p s1 z");
  REFUSES(rkdiSampleDown_Box_JPEG_8u_C1R, "p s1 z p r7 z7x2 =3 =2");
  REFUSES(rkdiSampleDown_Box_JPEG_16u_C1R, "p s1 z p r7 z7x2 =3 =2");
  REFUSES(rkdiSampleUp_Replicate_JPEG_8u_C1R, "p r7 z7x2 p s1 z =3 =2");
  REFUSES(rkdiSampleUp_Replicate_JPEG_16u_C1R, "p r7 z7x2 p s1 z =3 =2");
}

FAMILY(Tiff) {
  REFUSES(rkdiPackBitsRow_TIFF_8u_C1, "p n p n @");
  REFUSES(rkdiUnpackBitsRow_TIFF_8u_C1, "p n99 @ p n18 p");
  REFUSES(rkdiSplitRow_TIFF_16u8u_C1, "p p n");
  REFUSES(rkdiJoinRow_TIFF_8u16u_C1, "p p n");
}

FAMILY(CoreTransform) {
  REFUSES(rkdiPCTFwd_HDP_32s_C1IR, "p s1 z");
  REFUSES(rkdiPCTInv_HDP_32s_C1IR, "p s1 z");
  REFUSES(rkdiPCTFwd16x16_HDP_32s_C1IR, "p r16");
  REFUSES(rkdiPCTInv16x16_HDP_32s_C1IR, "p r16");
  REFUSES(rkdiPCTFwd8x16_HDP_32s_C1IR, "p r8");
  REFUSES(rkdiPCTInv8x16_HDP_32s_C1IR, "p r8");
  REFUSES(rkdiPCTFwd8x8_HDP_32s_C1IR, "p r8");
  REFUSES(rkdiPCTInv8x8_HDP_32s_C1IR, "p r8");
}

FAMILY(Transforms) {
  REFUSES(rkdiQuantFwdTableInit_JPEG_8u16u, "p p");
  REFUSES(rkdiQuantFwdTableInit_JPEG_16u, "p p");
  REFUSES(rkdiQuantInvTableInit_JPEG_8u16u, "p p");
  REFUSES(rkdiQuantInvTableInit_JPEG_16u, "p p");
  REFUSES(rkdiQuantFwd8x8_JPEG_16s_C1I, "p p");
  REFUSES(rkdiQuantInv8x8_JPEG_16s_C1I, "p p");
  REFUSES(rkdiDCT8x8Fwd_JPEG_16s_C1, "p p");
  REFUSES(rkdiDCT8x8Fwd_JPEG_16s_C1I, "p");
  REFUSES(rkdiDCT8x8Inv_JPEG_16s_C1, "p p");
  REFUSES(rkdiDCT8x8Inv_JPEG_16s_C1I, "p");
  REFUSES(rkdiDCTQuantFwd8x8_JPEG_16s_C1, "p p p");
  REFUSES(rkdiDCTQuantFwd8x8_JPEG_16s_C1I, "p p");
  REFUSES(rkdiDCTQuantFwd8x8_Eighths_JPEG_16s_C1, "p p n2 p");
  REFUSES(rkdiDCTQuantInv8x8_JPEG_16s_C1, "p p p");
  REFUSES(rkdiDCTQuantInv8x8_JPEG_16s_C1I, "p p");
  REFUSES(rkdiDCT8x8FwdLS_JPEG_8u16s_C1R, "p r8 p");
  REFUSES(rkdiDCT8x8InvLS_JPEG_16s8u_C1R, "p p r8");
  REFUSES(rkdiDCTQuantFwd8x8LS_JPEG_8u16s_C1R, "p r8 p p");
  REFUSES(rkdiDCTQuantFwd8x8LS_JPEG_16u16s_C1R, "p r8 p p");
  REFUSES(rkdiDCTQuantInv8x8LS_JPEG_16s8u_C1R, "p p r8 p");
  REFUSES(rkdiDCTQuantInv8x8LS_JPEG_16s16u_C1R, "p p r8 p");
  REFUSES(rkdiDCTQuantInvBlocks8x8LS_JPEG_16s8u_C1R, "p r64 p r1 p r24 r8 n3 p");
  REFUSES(rkdiDCTQuantInv8x8LS_4x4_JPEG_16s8u_C1R, "p p r8 p");
  REFUSES(rkdiDCTQuantInv8x8LS_2x2_JPEG_16s8u_C1R, "p p r8 p");
  REFUSES(rkdiDCTQuantInv8x8LS_1x1_JPEG_16s8u_C1R, "p p r8 p");
  REFUSES(rkdiDCTQuantInv8x8To4x4LS_JPEG_16s8u_C1R, "p p r4 p");
  REFUSES(rkdiDCTQuantInv8x8To2x2LS_JPEG_16s8u_C1R, "p p r2 p");
}

FAMILY(Texture) {
  REFUSES(rkdiTextureEncodeBlockFromRGBA_DXT1_8u_C4C1R, "p r80 p r40 z20x8");
  REFUSES(rkdiTextureEncodeBlockFromRGBA_DXT3_8u_C4C1R, "p r80 p r80 z20x8");
  REFUSES(rkdiTextureEncodeBlockFromRGBA_DXT5_8u_C4C1R, "p r80 p r80 z20x8");
  REFUSES(rkdiTextureDecodeBlockToRGBA_DXT1_8u_C1C4R, "p r40 p r80 z20x8");
  REFUSES(rkdiTextureDecodeBlockToRGBA_DXT3_8u_C1C4R, "p r80 p r80 z20x8");
  REFUSES(rkdiTextureDecodeBlockToRGBA_DXT5_8u_C1C4R, "p r80 p r80 z20x8");
}

FAMILY(Tables) {
  REFUSES(rkdiGetZigzag_JPEG_8u, "p");
  REFUSES(rkdiGetQuantisers_JPEG_8u, "=0 p");
  REFUSES(rkdiScaleQuantisers_JPEG_8u, "p =75 p");
  REFUSES(rkdiScaleQuantisers_JPEG_8u16u, "p =75 p");
  REFUSES(rkdiGetHuffmanTable_JPEG_8u, "=1 =0 p p");
}

FAMILY(Predictors) {
  REFUSES(rkdiPointTransformFwd_JPEG_8u16s_C1R, "p s1 p s1 z =2");
  REFUSES(rkdiPointTransformFwd_JPEG_16u16s_C1R, "p s1 p s1 z =2");
  REFUSES(rkdiPointTransformInv_JPEG_16s8u_C1R, "p s1 p s1 z =2");
  REFUSES(rkdiPointTransformInv_JPEG_16s16u_C1R, "p s1 p s1 z =2");
  REFUSES(rkdiDiffPredFirstRow_JPEG_16s_C1, "p p n =8 =0");
  REFUSES(rkdiReconstructPredFirstRow_JPEG_16s_C1, "p p n =8 =0");
  REFUSES(rkdiDiffPredRow_JPEG_16s_C1, "p p p n =1");
  REFUSES(rkdiReconstructPredRow_JPEG_16s_C1, "p p p n =1");
}

FAMILY(HuffmanObjects) {
  REFUSES(rkdiEncodeHuffmanSpecGetBufSize_JPEG_8u, "p");
  REFUSES(rkdiDecodeHuffmanSpecGetBufSize_JPEG_8u, "p");
  REFUSES(rkdiEncodeHuffmanStateGetBufSize_JPEG_8u, "p");
  REFUSES(rkdiDecodeHuffmanStateGetBufSize_JPEG_8u, "p");
  REFUSES(rkdiEncodeHuffmanSpecInit_JPEG_8u, "ob ov oE");
  REFUSES(rkdiDecodeHuffmanSpecInit_JPEG_8u, "ob ov oD");
  REFUSES(rkdiEncodeHuffmanStateInit_JPEG_8u, "oW");
  REFUSES(rkdiDecodeHuffmanStateInit_JPEG_8u, "oR");
  REFUSES(rkdiDecodeHuffmanStateGetReached_JPEG_8u, "p oR");
  REFUSES(rkdiEncodeHuffmanRawTableInit_JPEG_8u, "p p p");
}

FAMILY(HuffmanSequential) {
  REFUSES(rkdiEncodeHuffman8x8_JPEG_16s1u_C1, "p p n999 @ @ oE oE oW =0");
  REFUSES(rkdiDecodeHuffman8x8_JPEG_1u16s_C1, "@ n99 @ p @ q oD oD oR");
  REFUSES(rkdiEncodeHuffman8x8_Direct_JPEG_16s1u_C1, "p p n999 @ @ oE oE");
  REFUSES(rkdiDecodeHuffman8x8_Direct_JPEG_1u16s_C1, "@ n99 @ p @ oD oD");
  REFUSES(rkdiEncodeHuffmanOne_JPEG_16s1u_C1, "p p n99 @ oE oW =0");
  REFUSES(rkdiDecodeHuffmanOne_JPEG_1u16s_C1, "@ n99 @ p q oD oR");
  REFUSES(rkdiEncodeHuffmanRow_JPEG_16s1u_P4C1, "P1 p n999 @ n P1oE oW =0");
  REFUSES(rkdiDecodeHuffmanRow_JPEG_1u16s_C1P4, "@ n99 @ P1 q n P1oD oR");
  REFUSES(rkdiGetHuffmanStatistics8x8_JPEG_16s_C1, "p p p @");
  REFUSES(rkdiGetHuffmanStatisticsRow_JPEG_16s_P4, "P1 n P1");
  REFUSES(rkdiDecodeHuffmanUnits8x8_JPEG_1u16s_C1, "@ n99 @ p p n1 @ =1 @ q P1oD P1oD oR @");
  REFUSES(rkdiRecordHuffman8x8_JPEG_16s16u_C1, "p p n999 @ @ p p");
  REFUSES(rkdiEncodeHuffmanRecord_JPEG_16u1u_C1, "p n999 @ p n2000 @ oE oE oW");
}

FAMILY(HuffmanProgressive) {
  REFUSES(rkdiGetHuffmanStatistics8x8_DCFirst_JPEG_16s_C1, "p p @ =0");
  REFUSES(rkdiGetHuffmanStatistics8x8_ACFirst_JPEG_16s_C1, "p p =1 =63 =0 oW =0");
  REFUSES(rkdiGetHuffmanStatistics8x8_ACRefine_JPEG_16s_C1, "p p =1 =63 =0 oW =0");
  REFUSES(rkdiEncodeHuffman8x8_DCFirst_JPEG_16s1u_C1, "p p n99 @ @ =0 oE oW =0");
  REFUSES(rkdiEncodeHuffman8x8_DCRefine_JPEG_16s1u_C1, "p p n99 @ =0 oW =0");
  REFUSES(rkdiEncodeHuffman8x8_ACFirst_JPEG_16s1u_C1, "p p n999 @ =1 =63 =0 oE oW =0");
  REFUSES(rkdiEncodeHuffman8x8_ACRefine_JPEG_16s1u_C1, "p p n999 @ =1 =63 =0 oE oW =0");
  REFUSES(rkdiDecodeHuffman8x8_DCFirst_JPEG_1u16s_C1, "@ n99 @ p @ q =0 oD oR");
  REFUSES(rkdiDecodeHuffman8x8_DCRefine_JPEG_1u16s_C1, "@ n99 @ p q =0 oR");
  REFUSES(rkdiDecodeHuffman8x8_ACFirst_JPEG_1u16s_C1, "@ n99 @ p q =1 =63 =0 oD oR");
  REFUSES(rkdiDecodeHuffman8x8_ACRefine_JPEG_1u16s_C1, "@ n99 @ @ q =1 =63 =0 oD oR");
}

FAMILY(CodeBlocks) {
  REFUSES(rkdiEncodeCodeBlockStateGetBufSize_JPEG2K, "p");
  REFUSES(rkdiDecodeCodeBlockStateGetBufSize_JPEG2K, "p");
  REFUSES(rkdiEncodeCodeBlockStateInit_JPEG2K, "oN");
  REFUSES(rkdiDecodeCodeBlockStateInit_JPEG2K, "oM");
  REFUSES(rkdiGetCodeBlockSegment_JPEG2K, "=0 =0 p");
  REFUSES(rkdiEncodeSetLeastGain_JPEG2K, "=1 =0 oN");
  REFUSES(rkdiEncodeLoadCodeBlock_JPEG2K_32s_C1R, "p s1 z =0 =0 =91 oN");
  REFUSES(rkdiEncodeGetCodeBlockInfo_JPEG2K, "p p oB");
  REFUSES(rkdiEncodeGetPassInfo_JPEG2K, "=0 p oB");
  REFUSES(rkdiEncodeStoreBits_JPEG2K_1u, "p m999 @ =1 oB");
  REFUSES(rkdiDecodeCodeBlock_JPEG2K_1u32s_C1R, "p m19 @ =1 p s1 z =0 =0 =3 =7 oM");
  REFUSES(rkdiDecodeCBProgrStart_JPEG2K, "m19 @ =1 z =0 =0 =3 =7 oM");
  REFUSES(rkdiDecodeCBProgrStep_JPEG2K, "p m19 =1 oG");
  REFUSES(rkdiDecodeCBProgrGet_JPEG2K_32s_C1R, "p s1 oG");
  REFUSES(rkdiDecodeCBProgrGet_JPEG2K_32f_C1R, "p s1 =1 oG");
  REFUSES(rkdiDecodeCBProgrGetPlanes_JPEG2K_8u_C1R, "p s1 oG");
}

// Objects on the heap: none without a place for its address, and nothing to free in null.
template <class T, class Alloc>
void expectAllocates(const char* allocName, const char* releaseName, Alloc alloc,
                     RkdStatus (*release)(T*)) {
  g_listed.insert({allocName, releaseName});
  if (g_listOnly) return;
  EXPECT_EQ(alloc(static_cast<T**>(nullptr)), rkdStsNullPtrErr) << allocName;
  T* object = nullptr;
  EXPECT_EQ(alloc(&object), rkdStsNoErr) << allocName;
  EXPECT_NE(object, nullptr) << allocName;
  EXPECT_EQ(release(object), rkdStsNoErr) << releaseName;
  EXPECT_EQ(release(nullptr), rkdStsNoErr) << releaseName;
}

#define ALLOCATES(alloc, release, ...) \
  expectAllocates(                     \
      #alloc, #release, [&](auto object) { return alloc(__VA_ARGS__); }, release)

FAMILY(Allocation) {
  constexpr auto& bits = huffkit::acLuma.bits;
  constexpr auto& values = huffkit::acLuma.values;
  ALLOCATES(rkdiEncodeHuffmanSpecInitAlloc_JPEG_8u, rkdiEncodeHuffmanSpecFree_JPEG_8u, bits.data(),
            values.data(), object);
  ALLOCATES(rkdiDecodeHuffmanSpecInitAlloc_JPEG_8u, rkdiDecodeHuffmanSpecFree_JPEG_8u, bits.data(),
            values.data(), object);
  ALLOCATES(rkdiEncodeHuffmanStateInitAlloc_JPEG_8u, rkdiEncodeHuffmanStateFree_JPEG_8u, object);
  ALLOCATES(rkdiDecodeHuffmanStateInitAlloc_JPEG_8u, rkdiDecodeHuffmanStateFree_JPEG_8u, object);
  ALLOCATES(rkdiEncodeCodeBlockStateInitAlloc_JPEG2K, rkdiEncodeCodeBlockStateFree_JPEG2K, object);
  ALLOCATES(rkdiDecodeCodeBlockStateInitAlloc_JPEG2K, rkdiDecodeCodeBlockStateFree_JPEG2K, object);
}

// The core's functions have tests of their own; these are without an argument that can be bad, or
// take any.
const std::set<std::string> kOfTheCore = {"rkdFree",
                                          "rkdGetCpuClocks",
                                          "rkdGetCpuType",
                                          "rkdGetLevel",
                                          "rkdGetLevelName",
                                          "rkdGetLibVersion",
                                          "rkdGetMaxCacheSizeB",
                                          "rkdGetNumCoresOnDie",
                                          "rkdGetNumThreads",
                                          "rkdGetStatusString",
                                          "rkdInit",
                                          "rkdInitCpu",
                                          "rkdMalloc",
                                          "rkdSetNumThreads",
                                          "rkdcolorGetLevel",
                                          "rkdcolorGetLibVersion",
                                          "rkdiGetLevel",
                                          "rkdiGetLibVersion",
                                          "rkdjpegGetLevel",
                                          "rkdjpegGetLibVersion",
                                          "rkdsGetLevel",
                                          "rkdsGetLibVersion"};

TEST(Arguments, EveryFunctionOfTheLibrariesHasALine) {
  g_listOnly = true;
  for (const auto list : families()) list();
  tzStringList exported;
  ASSERT_GT(tzListExportedFunctions(exported, "rkd"), 200);
  std::set<std::string> names;
  for (const tzString& name : exported) names.insert(name.c_str());
  for (const std::string& name : names) {
    EXPECT_TRUE(g_listed.count(name) + kOfTheCore.count(name) == 1) << name;
  }
  for (const std::string& name : kOfTheCore) EXPECT_EQ(names.count(name), 1) << name;
}

}  // namespace
