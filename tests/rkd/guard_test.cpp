// Every function on operands beside pages that nobody may access: no access outside an operand at
// any level. guardshapes.h tells how the lines are read; the coders are in guardcoders_test.cpp.
#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>

#include "guardshapes.h"
#include "tzsymbols.h"

namespace {

GUARDED_FAMILY(SignalAndImage) {
  GUARDED(rkdsCopy_8u, "pw pw n");
  GUARDED(rkdsCopy_16s, "pw pw n");
  GUARDED(rkdsCopy_32s, "pw pw n");
  GUARDED(rkdsSet_8u, "=3 pw n");
  GUARDED(rkdsSet_16s, "=3 pw n");
  GUARDED(rkdsSet_32s, "=3 pw n");
  GUARDED(rkdsZero_8u, "pw n");
  GUARDED(rkdsZero_16s, "pw n");
  GUARDED(rkdsZero_32s, "pw n");
  GUARDED(rkdiCopy_8u_C1R, "pwxh s pwxh s z");
  GUARDED(rkdiCopy_8u_C3R, "p3wxh s p3wxh s z");
  GUARDED(rkdiCopy_16s_C1R, "pwxh s pwxh s z");
  GUARDED(rkdiCopy_32s_C1R, "pwxh s pwxh s z");
  GUARDED(rkdiSet_8u_C1R, "=3 pwxh s z");
  GUARDED(rkdiSet_16s_C1R, "=3 pwxh s z");
  GUARDED(rkdiSet_32s_C1R, "=3 pwxh s z");
  GUARDED(rkdiCopy_8u_C3P3R, "p3wxh s P3*wxh s z");
  GUARDED(rkdiCopy_8u_P3C3R, "P3*wxh s p3wxh s z");
  GUARDED(rkdiCopy_8u_C4P4R, "p4wxh s P4*wxh s z");
  GUARDED(rkdiCopy_8u_P4C4R, "P4*wxh s p4wxh s z");
  GUARDED(rkdiCopy_16u_C3P3R, "p3wxh s P3*wxh s z");
  GUARDED(rkdiCopy_16u_P3C3R, "P3*wxh s p3wxh s z");
  GUARDED(rkdiCopy_16u_C4P4R, "p4wxh s P4*wxh s z");
  GUARDED(rkdiCopy_16u_P4C4R, "P4*wxh s p4wxh s z");
  GUARDED(rkdiInvert_8u_C1R, "pwxh s pwxh s z");
  GUARDED(rkdiInvert_8u_C4R, "p4wxh s p4wxh s z");
  GUARDED(rkdiInvert_8u_C1IR, "pwxh s z");
  GUARDED(rkdiInvert_8u_C4IR, "p4wxh s z");
}

GUARDED_FAMILY(LevelShift) {
  GUARDED(rkdiAdd128_JPEG_16s8u_C1R, "pwxh s pwxh s z");
  GUARDED(rkdiSub128_JPEG_8u16s_C1R, "pwxh s pwxh s z");
}

GUARDED_FAMILY(LevelShiftOfWavelets) {
  GUARDED(rkdiLevelShiftFwd_JPEG2K_8u16s_C1R, "pwxh s pwxh s z =1-8 =0-1");
  GUARDED(rkdiLevelShiftInv_JPEG2K_16s8u_C1R, "pwxh s pwxh s z =1-8 =0-1");
  GUARDED(rkdiLevelShiftFwd_JPEG2K_8u16s_C3P3R, "p3wxh s P3*wxh s z =1-8 =0-1");
  GUARDED(rkdiLevelShiftInv_JPEG2K_16s8u_P3C3R, "P3*wxh s p3wxh s z =1-8 =0-1");
  GUARDED(rkdiLevelShiftFwd_JPEG2K_8u32s_C1R, "pwxh s pwxh s z =1-8 =0-1");
  GUARDED(rkdiLevelShiftInv_JPEG2K_32s8u_C1R, "pwxh s pwxh s z =1-8 =0-1");
  GUARDED(rkdiLevelShiftFwd_JPEG2K_8u32s_C3P3R, "p3wxh s P3*wxh s z =1-8 =0-1");
  GUARDED(rkdiLevelShiftInv_JPEG2K_32s8u_P3C3R, "P3*wxh s p3wxh s z =1-8 =0-1");
  GUARDED(rkdiLevelShiftFwd_JPEG2K_8u32f_C1R, "pwxh s pwxh s z =1-8 =0-1");
  GUARDED(rkdiLevelShiftInv_JPEG2K_32f8u_C1R, "pwxh s pwxh s z =1-8 =0-1");
  GUARDED(rkdiLevelShiftFwd_JPEG2K_8u32f_C3P3R, "p3wxh s P3*wxh s z =1-8 =0-1");
  GUARDED(rkdiLevelShiftInv_JPEG2K_32f8u_P3C3R, "P3*wxh s p3wxh s z =1-8 =0-1");
  GUARDED(rkdiLevelShiftFwd_JPEG2K_16u16s_C1R, "pwxh s pwxh s z =1-8 =0-1");
  GUARDED(rkdiLevelShiftInv_JPEG2K_16s16u_C1R, "pwxh s pwxh s z =1-8 =0-1");
  GUARDED(rkdiLevelShiftFwd_JPEG2K_16u16s_C3P3R, "p3wxh s P3*wxh s z =1-8 =0-1");
  GUARDED(rkdiLevelShiftInv_JPEG2K_16s16u_P3C3R, "P3*wxh s p3wxh s z =1-8 =0-1");
  GUARDED(rkdiLevelShiftFwd_JPEG2K_16u32s_C1R, "pwxh s pwxh s z =1-8 =0-1");
  GUARDED(rkdiLevelShiftInv_JPEG2K_32s16u_C1R, "pwxh s pwxh s z =1-8 =0-1");
  GUARDED(rkdiLevelShiftFwd_JPEG2K_16u32s_C3P3R, "p3wxh s P3*wxh s z =1-8 =0-1");
  GUARDED(rkdiLevelShiftInv_JPEG2K_32s16u_P3C3R, "P3*wxh s p3wxh s z =1-8 =0-1");
  GUARDED(rkdiLevelShiftFwd_JPEG2K_16u32f_C1R, "pwxh s pwxh s z =1-8 =0-1");
  GUARDED(rkdiLevelShiftInv_JPEG2K_32f16u_C1R, "pwxh s pwxh s z =1-8 =0-1");
  GUARDED(rkdiLevelShiftFwd_JPEG2K_16u32f_C3P3R, "p3wxh s P3*wxh s z =1-8 =0-1");
  GUARDED(rkdiLevelShiftInv_JPEG2K_32f16u_P3C3R, "P3*wxh s p3wxh s z =1-8 =0-1");
  GUARDED(rkdiLevelShiftFwd_JPEG2K_32s16s_C1R, "pwxh s pwxh s z =1-8 =0-1");
  GUARDED(rkdiLevelShiftInv_JPEG2K_16s32s_C1R, "pwxh s pwxh s z =1-8 =0-1");
  GUARDED(rkdiLevelShiftFwd_JPEG2K_32s_C1R, "pwxh s pwxh s z =1-8 =0-1");
  GUARDED(rkdiLevelShiftInv_JPEG2K_32s_C1R, "pwxh s pwxh s z =1-8 =0-1");
  GUARDED(rkdiLevelShiftFwd_JPEG2K_32s32f_C1R, "pwxh s pwxh s z =1-8 =0-1");
  GUARDED(rkdiLevelShiftInv_JPEG2K_32f32s_C1R, "pwxh s pwxh s z =1-8 =0-1");
}

GUARDED_FAMILY(Bands) {
  GUARDED(rkdiQuantFwd_JPEG2K_32f32s_C1R, "pwxh s pwxh s z =1-3");
  GUARDED(rkdiQuantFwd_JPEG2K_32s_C1R, "pwxh s pwxh s z =1-3");
  GUARDED(rkdiQuantFwd_JPEG2K_16s32s_C1R, "pwxh s pwxh s z =1-3");
  GUARDED(rkdiQuantInv_JPEG2K_32s32f_C1R, "pwxh s pwxh s z =1-3 =0-1");
  GUARDED(rkdiQuantInv_JPEG2K_32s_C1R, "pwxh s pwxh s z =1-3 =0-1");
  GUARDED(rkdiQuantInv_JPEG2K_32s16s_C1R, "pwxh s pwxh s z =1-3 =0-1");
  GUARDED(rkdiBandFwd_JPEG2K_16s32s_C1R, "pwxh s pwxh s z");
  GUARDED(rkdiBandInv_JPEG2K_32s16s_C1R, "pwxh s pwxh s z =0-1");
  GUARDED(rkdiBandInv_JPEG2K_32s_C1R, "pwxh s pwxh s z =0-1");
  GUARDED(rkdiRegionFwd_JPEG2K_32s_C1IR, "pwxh s pwxh s z =0-20");
  GUARDED(rkdiRegionInv_JPEG2K_32s_C1IR, "pwxh s z =0-20 =0-1");
}

GUARDED_FAMILY(Colour) {
  GUARDED(rkdiRGBToY_JPEG_8u_P3C1R, "P3*wxh s pwxh s z");
  GUARDED(rkdiRGBToY_JPEG_8u_C3C1R, "p3wxh s pwxh s z");
  GUARDED(rkdiBGRToY_JPEG_8u_C3C1R, "p3wxh s pwxh s z");
  GUARDED(rkdiRGBToYCbCr_JPEG_8u_P3R, "P3*wxh s P3*wxh s z");
  GUARDED(rkdiRGBToYCbCr_JPEG_8u_C3P3R, "p3wxh s P3*wxh s z");
  GUARDED(rkdiBGRToYCbCr_JPEG_8u_C3P3R, "p3wxh s P3*wxh s z");
  GUARDED(rkdiYCbCrToRGB_JPEG_8u_P3R, "P3*wxh s P3*wxh s z");
  GUARDED(rkdiYCbCrToRGB_JPEG_8u_P3C3R, "P3*wxh s p3wxh s z");
  GUARDED(rkdiYCbCrToBGR_JPEG_8u_P3C3R, "P3*wxh s p3wxh s z");
  GUARDED(rkdiCMYKToYCCK_JPEG_8u_P4R, "P4*wxh s P4*wxh s z");
  GUARDED(rkdiCMYKToYCCK_JPEG_8u_C4P4R, "p4wxh s P4*wxh s z");
  GUARDED(rkdiYCCKToCMYK_JPEG_8u_P4R, "P4*wxh s P4*wxh s z");
  GUARDED(rkdiYCCKToCMYK_JPEG_8u_P4C4R, "P4*wxh s p4wxh s z");
  GUARDED(rkdiRGB555ToYCbCr_JPEG_16u8u_C3P3R, "pwxh s P3*wxh s z");
  GUARDED(rkdiBGR555ToYCbCr_JPEG_16u8u_C3P3R, "pwxh s P3*wxh s z");
  GUARDED(rkdiRGB565ToYCbCr_JPEG_16u8u_C3P3R, "pwxh s P3*wxh s z");
  GUARDED(rkdiBGR565ToYCbCr_JPEG_16u8u_C3P3R, "pwxh s P3*wxh s z");
  GUARDED(rkdiYCbCrToRGB555_JPEG_8u16u_P3C3R, "P3*wxh s pwxh s z");
  GUARDED(rkdiYCbCrToBGR555_JPEG_8u16u_P3C3R, "P3*wxh s pwxh s z");
  GUARDED(rkdiYCbCrToRGB565_JPEG_8u16u_P3C3R, "P3*wxh s pwxh s z");
  GUARDED(rkdiYCbCrToBGR565_JPEG_8u16u_P3C3R, "P3*wxh s pwxh s z");
  GUARDED(rkdiYCbCr422ToRGB_JPEG_8u_C2C3R, "p2wxh s p3wxh s z/2x1");
}

GUARDED_FAMILY(Component) {
  GUARDED(rkdiICTFwd_JPEG2K_32f_C3P3R, "p3wxh s P3*wxh s z");
  GUARDED(rkdiICTInv_JPEG2K_32f_P3C3R, "P3*wxh s p3wxh s z");
  GUARDED(rkdiICTFwd_JPEG2K_32f_P3IR, "P3*wxh s z");
  GUARDED(rkdiICTInv_JPEG2K_32f_P3IR, "P3*wxh s z");
  GUARDED(rkdiICTFwd_JPEG2K_16s_P3IR, "P3*wxh s z");
  GUARDED(rkdiICTInv_JPEG2K_16s_P3IR, "P3*wxh s z");
  GUARDED(rkdiICTFwd_JPEG2K_32s_P3IR, "P3*wxh s z");
  GUARDED(rkdiICTInv_JPEG2K_32s_P3IR, "P3*wxh s z");
  GUARDED(rkdiRCTFwd_JPEG2K_16s_P3IR, "P3*wxh s z");
  GUARDED(rkdiRCTInv_JPEG2K_16s_P3IR, "P3*wxh s z");
  GUARDED(rkdiRCTFwd_JPEG2K_32s_P3IR, "P3*wxh s z");
  GUARDED(rkdiRCTInv_JPEG2K_32s_P3IR, "P3*wxh s z");
  GUARDED(rkdiRCTFwd_JPEG2K_16s_C3P3R, "p3wxh s P3*wxh s z");
  GUARDED(rkdiRCTInv_JPEG2K_16s_P3C3R, "P3*wxh s p3wxh s z");
  GUARDED(rkdiRCTFwd_JPEG2K_32s_C3P3R, "p3wxh s P3*wxh s z");
  GUARDED(rkdiRCTInv_JPEG2K_32s_P3C3R, "P3*wxh s p3wxh s z");
}

GUARDED_FAMILY(Wavelet) {
  GUARDED(rkdiWTFwdRow_B53_JPEG2K_16s_C1R, "pwxh s plxh s pgxh s z f");
  GUARDED(rkdiWTInvRow_B53_JPEG2K_16s_C1R, "plxh s pgxh s pwxh s z f");
  GUARDED(rkdiWTFwdRow_B53_JPEG2K_32s_C1R, "pwxh s plxh s pgxh s z f");
  GUARDED(rkdiWTInvRow_B53_JPEG2K_32s_C1R, "plxh s pgxh s pwxh s z f");
  GUARDED(rkdiWTFwdRow_D97_JPEG2K_16s_C1R, "pwxh s plxh s pgxh s z f");
  GUARDED(rkdiWTInvRow_D97_JPEG2K_16s_C1R, "plxh s pgxh s pwxh s z f");
  GUARDED(rkdiWTFwdRow_D97_JPEG2K_32s_C1R, "pwxh s plxh s pgxh s z f");
  GUARDED(rkdiWTInvRow_D97_JPEG2K_32s_C1R, "plxh s pgxh s pwxh s z f");
  GUARDED(rkdiWTFwdRow_D97_JPEG2K_32f_C1R, "pwxh s plxh s pgxh s z f");
  GUARDED(rkdiWTInvRow_D97_JPEG2K_32f_C1R, "plxh s pgxh s pwxh s z f");
  GUARDED(rkdiWTFwdCol_B53_JPEG2K_16s_C1R, "pwxh s pwxL s pwxG s z F");
  GUARDED(rkdiWTInvCol_B53_JPEG2K_16s_C1R, "pwxL s pwxG s pwxh s z F");
  GUARDED(rkdiWTFwdCol_B53_JPEG2K_32s_C1R, "pwxh s pwxL s pwxG s z F");
  GUARDED(rkdiWTInvCol_B53_JPEG2K_32s_C1R, "pwxL s pwxG s pwxh s z F");
  GUARDED(rkdiWTFwdCol_D97_JPEG2K_32f_C1R, "pwxh s pwxL s pwxG s z F");
  GUARDED(rkdiWTInvCol_D97_JPEG2K_32f_C1R, "pwxL s pwxG s pwxh s z F");
  GUARDED(rkdiWTFwdCol_D97_JPEG2K_16s_C1R, "pwxh s pwxL s pwxG s z F");
  GUARDED(rkdiWTInvCol_D97_JPEG2K_16s_C1R, "pwxL s pwxG s pwxh s z F");
  GUARDED(rkdiWTFwdCol_D97_JPEG2K_32s_C1R, "pwxh s pwxL s pwxG s z F");
  GUARDED(rkdiWTInvCol_D97_JPEG2K_32s_C1R, "pwxL s pwxG s pwxh s z F");
  GUARDED(rkdiWTFwd_B53_JPEG2K_16s_C1R, "pwxh s pwxh s z f F b");
  GUARDED(rkdiWTFwd_B53_JPEG2K_16s_C1IR, "pwxh s z f F b");
  GUARDED(rkdiWTInv_B53_JPEG2K_16s_C1R, "pwxh s pwxh s z f F b");
  GUARDED(rkdiWTInv_B53_JPEG2K_16s_C1IR, "pwxh s z f F b");
  GUARDED(rkdiWTFwd_B53_JPEG2K_32s_C1R, "pwxh s pwxh s z f F b");
  GUARDED(rkdiWTFwd_B53_JPEG2K_32s_C1IR, "pwxh s z f F b");
  GUARDED(rkdiWTInv_B53_JPEG2K_32s_C1R, "pwxh s pwxh s z f F b");
  GUARDED(rkdiWTInv_B53_JPEG2K_32s_C1IR, "pwxh s z f F b");
  GUARDED(rkdiWTFwd_D97_JPEG2K_16s_C1R, "pwxh s pwxh s z f F b");
  GUARDED(rkdiWTFwd_D97_JPEG2K_16s_C1IR, "pwxh s z f F b");
  GUARDED(rkdiWTInv_D97_JPEG2K_16s_C1R, "pwxh s pwxh s z f F b");
  GUARDED(rkdiWTInv_D97_JPEG2K_16s_C1IR, "pwxh s z f F b");
  GUARDED(rkdiWTFwd_D97_JPEG2K_32s_C1R, "pwxh s pwxh s z f F b");
  GUARDED(rkdiWTFwd_D97_JPEG2K_32s_C1IR, "pwxh s z f F b");
  GUARDED(rkdiWTInv_D97_JPEG2K_32s_C1R, "pwxh s pwxh s z f F b");
  GUARDED(rkdiWTInv_D97_JPEG2K_32s_C1IR, "pwxh s z f F b");
  GUARDED(rkdiWTFwd_D97_JPEG2K_32f_C1R, "pwxh s pwxh s z f F b");
  GUARDED(rkdiWTFwd_D97_JPEG2K_32f_C1IR, "pwxh s z f F b");
  GUARDED(rkdiWTInv_D97_JPEG2K_32f_C1R, "pwxh s pwxh s z f F b");
  GUARDED(rkdiWTInv_D97_JPEG2K_32f_C1IR, "pwxh s z f F b");
  GUARDED(rkdiWTFwdColLift_B53_JPEG2K_16s_C1, "pw pw pw pw pw pw n");
  GUARDED(rkdiWTFwdColLift_B53_JPEG2K_32s_C1, "pw pw pw pw pw pw n");
  GUARDED(rkdiWTFwdColLift_D97_JPEG2K_16s_C1, "pw pw P4*w pw pw n");
  GUARDED(rkdiWTFwdColLift_D97_JPEG2K_32s_C1, "pw pw P4*w pw pw n");
  GUARDED(rkdiWTFwdColLift_D97_JPEG2K_32f_C1, "pw pw P4*w pw pw n");
  GUARDED(rkdiWTInvColLift_B53_JPEG2K_16s_C1, "pw pw pw pw pw pw n");
  GUARDED(rkdiWTInvColLift_B53_JPEG2K_32s_C1, "pw pw pw pw pw pw n");
  GUARDED(rkdiWTInvColLift_D97_JPEG2K_16s_C1, "pw pw P4*w pw pw n");
  GUARDED(rkdiWTInvColLift_D97_JPEG2K_32s_C1, "pw pw P4*w pw pw n");
  GUARDED(rkdiWTInvColLift_D97_JPEG2K_32f_C1, "pw pw P4*w pw pw n");
}

GUARDED_FAMILY(Mcu) {
  GUARDED(rkdiRGBToYCbCr444LS_MCU_8u16s_C3P3R, "p24x8 s P64,64,64");
  GUARDED(rkdiRGBToYCbCr422LS_MCU_8u16s_C3P3R, "p48x8 s P128,64,64");
  GUARDED(rkdiRGBToYCbCr411LS_MCU_8u16s_C3P3R, "p48x16 s P256,64,64");
  GUARDED(rkdiBGRToYCbCr444LS_MCU_8u16s_C3P3R, "p24x8 s P64,64,64");
  GUARDED(rkdiBGRToYCbCr422LS_MCU_8u16s_C3P3R, "p48x8 s P128,64,64");
  GUARDED(rkdiBGRToYCbCr411LS_MCU_8u16s_C3P3R, "p48x16 s P256,64,64");
  GUARDED(rkdiCMYKToYCCK444LS_MCU_8u16s_C4P4R, "p32x8 s P64,64,64,64");
  GUARDED(rkdiCMYKToYCCK422LS_MCU_8u16s_C4P4R, "p64x8 s P128,64,64,128");
  GUARDED(rkdiCMYKToYCCK411LS_MCU_8u16s_C4P4R, "p64x16 s P256,64,64,256");
  GUARDED(rkdiYCbCr444ToRGBLS_MCU_16s8u_P3C3R, "P64,64,64 p24x8 s");
  GUARDED(rkdiYCbCr422ToRGBLS_MCU_16s8u_P3C3R, "P128,64,64 p48x8 s");
  GUARDED(rkdiYCbCr411ToRGBLS_MCU_16s8u_P3C3R, "P256,64,64 p48x16 s");
  GUARDED(rkdiYCbCr444ToBGRLS_MCU_16s8u_P3C3R, "P64,64,64 p24x8 s");
  GUARDED(rkdiYCbCr422ToBGRLS_MCU_16s8u_P3C3R, "P128,64,64 p48x8 s");
  GUARDED(rkdiYCbCr411ToBGRLS_MCU_16s8u_P3C3R, "P256,64,64 p48x16 s");
  GUARDED(rkdiYCCK444ToCMYKLS_MCU_16s8u_P4C4R, "P64,64,64,64 p32x8 s");
  GUARDED(rkdiYCCK422ToCMYKLS_MCU_16s8u_P4C4R, "P128,64,64,128 p64x8 s");
  GUARDED(rkdiYCCK411ToCMYKLS_MCU_16s8u_P4C4R, "P256,64,64,256 p64x16 s");
  GUARDED(rkdiBGR555ToYCbCr444LS_MCU_16u16s_C3P3R, "p8x8 s P64,64,64");
  GUARDED(rkdiBGR555ToYCbCr422LS_MCU_16u16s_C3P3R, "p16x8 s P128,64,64");
  GUARDED(rkdiBGR555ToYCbCr411LS_MCU_16u16s_C3P3R, "p16x16 s P256,64,64");
  GUARDED(rkdiBGR565ToYCbCr444LS_MCU_16u16s_C3P3R, "p8x8 s P64,64,64");
  GUARDED(rkdiBGR565ToYCbCr422LS_MCU_16u16s_C3P3R, "p16x8 s P128,64,64");
  GUARDED(rkdiBGR565ToYCbCr411LS_MCU_16u16s_C3P3R, "p16x16 s P256,64,64");
  GUARDED(rkdiYCbCr444ToBGR555LS_MCU_16s16u_P3C3R, "P64,64,64 p8x8 s");
  GUARDED(rkdiYCbCr422ToBGR555LS_MCU_16s16u_P3C3R, "P128,64,64 p16x8 s");
  GUARDED(rkdiYCbCr411ToBGR555LS_MCU_16s16u_P3C3R, "P256,64,64 p16x16 s");
  GUARDED(rkdiYCbCr444ToBGR565LS_MCU_16s16u_P3C3R, "P64,64,64 p8x8 s");
  GUARDED(rkdiYCbCr422ToBGR565LS_MCU_16s16u_P3C3R, "P128,64,64 p16x8 s");
  GUARDED(rkdiYCbCr411ToBGR565LS_MCU_16s16u_P3C3R, "P256,64,64 p16x16 s");
  GUARDED(rkdiSampleDown444LS_MCU_8u16s_C3P3R, "p24x8 s P64,64,64");
  GUARDED(rkdiSampleDown422LS_MCU_8u16s_C3P3R, "p48x8 s P128,64,64");
  GUARDED(rkdiSampleDown411LS_MCU_8u16s_C3P3R, "p48x16 s P256,64,64");
  GUARDED(rkdiSampleUp444LS_MCU_16s8u_P3C3R, "P64,64,64 p24x8 s");
  GUARDED(rkdiSampleUp422LS_MCU_16s8u_P3C3R, "P128,64,64 p48x8 s");
  GUARDED(rkdiSampleUp411LS_MCU_16s8u_P3C3R, "P256,64,64 p48x16 s");
  GUARDED(rkdiSplit422LS_MCU_8u16s_C2P3R, "p32x8 s P128,64,64");
  GUARDED(rkdiJoin422LS_MCU_16s8u_P3C2R, "P128,64,64 p32x8 s");
}

GUARDED_FAMILY(Sample) {
  GUARDED(rkdiSampleDownRowH2V1_Box_JPEG_8u_C1, "pw n pc");
  GUARDED(rkdiSampleDownRowH2V2_Box_JPEG_8u_C1, "pw pw n pc");
  GUARDED(rkdiSampleUpRowH2V1_Triangle_JPEG_8u_C1, "pw n p2w");
  GUARDED(rkdiSampleUpRowH2V2_Triangle_JPEG_8u_C1, "pw pw n p2w");
  GUARDED(rkdiSampleDownH2V1_JPEG_8u_C1R, "pwxh s z pcxh s z:cxh");
  GUARDED(rkdiSampleDownH2V2_JPEG_8u_C1R, "pwxh s z pcxr s z:cxr");
  GUARDED(rkdiSampleUpH2V1_JPEG_8u_C1R, "pcxh s z:cxh pwxh s z");
  GUARDED(rkdiSampleUpH2V2_JPEG_8u_C1R, "pcxr s z:cxr pwxh s z");
  GUARDED(rkdiSampleDownRowH1V2_Box_JPEG_8u_C1, "pw pw n pw");
  GUARDED(rkdiSampleDownRowH4V1_Box_JPEG_8u_C1, "pw n pe");
  GUARDED(rkdiSampleUpRowH1V2_Triangle_JPEG_8u_C1, "pw pw pw n pw pw");
  GUARDED(rkdiSampleUpRowH4V1_Triangle_JPEG_8u_C1, "pw n p4w");
  GUARDED(rkdiSampleUpRow_Replicate_JPEG_8u_C1, "pw n p3w =3");
  GUARDED(rkdiSampleUpRow_Replicate_JPEG_8u_C1, "pw n p4w =4");
  GUARDED(rkdiSampleDownH1V2_JPEG_8u_C1R, "pwxh s z pwxr s z:wxr");
  GUARDED(rkdiSampleDownH4V1_JPEG_8u_C1R, "pwxh s z pexh s z:exh");
  GUARDED(rkdiSampleUpH1V2_JPEG_8u_C1R, "pwxr s z:wxr pwxh s z");
  GUARDED(rkdiSampleUpH4V1_JPEG_8u_C1R, "pexh s z:exh pwxh s z");
  GUARDED(rkdiSampleDown_Box_JPEG_8u_C1R, "pwxh s z pcxr s z:cxr =2 =2");
  GUARDED(rkdiSampleDown_Box_JPEG_16u_C1R, "pwxh s z pexr s z:exr =4 =2");
  GUARDED(rkdiSampleUp_Replicate_JPEG_8u_C1R, "pcxr s z:cxr pwxh s z =2 =2");
  GUARDED(rkdiSampleUp_Replicate_JPEG_16u_C1R, "pexr s z:exr pwxh s z =4 =2");
}

GUARDED_FAMILY(Tiff) {
  GUARDED(rkdiSplitRow_TIFF_16u8u_C1, "pw p2w n");
  GUARDED(rkdiJoinRow_TIFF_8u16u_C1, "p2w pw n");
}

GUARDED_FAMILY(CoreTransform) {
  GUARDED(rkdiPCTFwd_HDP_32s_C1IR, "pwxh s z");
  GUARDED(rkdiPCTInv_HDP_32s_C1IR, "pwxh s z");
  GUARDED(rkdiPCTFwd16x16_HDP_32s_C1IR, "p16x16 s");
  GUARDED(rkdiPCTInv16x16_HDP_32s_C1IR, "p16x16 s");
  GUARDED(rkdiPCTFwd8x16_HDP_32s_C1IR, "p8x16 s");
  GUARDED(rkdiPCTInv8x16_HDP_32s_C1IR, "p8x16 s");
  GUARDED(rkdiPCTFwd8x8_HDP_32s_C1IR, "p8x8 s");
  GUARDED(rkdiPCTInv8x8_HDP_32s_C1IR, "p8x8 s");
}

GUARDED_FAMILY(Transforms) {
  GUARDED(rkdiQuantFwdTableInit_JPEG_8u16u, "v64 p256");
  GUARDED(rkdiQuantFwdTableInit_JPEG_16u, "v64 p256");
  GUARDED(rkdiQuantInvTableInit_JPEG_8u16u, "v64 p256");
  GUARDED(rkdiQuantInvTableInit_JPEG_16u, "v64 p256");
  GUARDED(rkdiQuantFwd8x8_JPEG_16s_C1I, "p64 q");
  GUARDED(rkdiQuantInv8x8_JPEG_16s_C1I, "p64 p64");
  GUARDED(rkdiDCT8x8Fwd_JPEG_16s_C1, "p64 p64");
  GUARDED(rkdiDCT8x8Fwd_JPEG_16s_C1I, "p64");
  GUARDED(rkdiDCT8x8Inv_JPEG_16s_C1, "p64 p64");
  GUARDED(rkdiDCT8x8Inv_JPEG_16s_C1I, "p64");
  GUARDED(rkdiDCTQuantFwd8x8_JPEG_16s_C1, "p64 p64 q");
  GUARDED(rkdiDCTQuantFwd8x8_JPEG_16s_C1I, "p64 q");
  GUARDED(rkdiDCTQuantFwd8x8_Eighths_JPEG_16s_C1, "p64w p64w n q");
  GUARDED(rkdiDCTQuantInv8x8_JPEG_16s_C1, "p64 p64 p64");
  GUARDED(rkdiDCTQuantInv8x8_JPEG_16s_C1I, "p64 p64");
  GUARDED(rkdiDCT8x8FwdLS_JPEG_8u16s_C1R, "p8x8 s p64");
  GUARDED(rkdiDCT8x8InvLS_JPEG_16s8u_C1R, "p64 p8x8 s");
  GUARDED(rkdiDCTQuantFwd8x8LS_JPEG_8u16s_C1R, "p8x8 s p64 q");
  GUARDED(rkdiDCTQuantFwd8x8LS_JPEG_16u16s_C1R, "p8x8 s p64 q");
  GUARDED(rkdiDCTQuantInv8x8LS_JPEG_16s8u_C1R, "p64 p8x8 s p64");
  GUARDED(rkdiDCTQuantInv8x8LS_JPEG_16s16u_C1R, "p64 p8x8 s p64");
  GUARDED(rkdiDCTQuantInvBlocks8x8LS_JPEG_16s8u_C1R, "p192 =128 p3 =1 p24x8 s =8 =3 p64");
  GUARDED(rkdiDCTQuantInv8x8LS_4x4_JPEG_16s8u_C1R, "p64 p8x8 s p64");
  GUARDED(rkdiDCTQuantInv8x8LS_2x2_JPEG_16s8u_C1R, "p64 p8x8 s p64");
  GUARDED(rkdiDCTQuantInv8x8LS_1x1_JPEG_16s8u_C1R, "p64 p8x8 s p64");
  GUARDED(rkdiDCTQuantInv8x8To4x4LS_JPEG_16s8u_C1R, "p64 p4x4 s p64");
  GUARDED(rkdiDCTQuantInv8x8To2x2LS_JPEG_16s8u_C1R, "p64 p2x2 s p64");
}

GUARDED_FAMILY(Texture) {
  GUARDED(rkdiTextureEncodeBlockFromRGBA_DXT1_8u_C4C1R, "p4wxh s p2wxk s z/4x4");
  GUARDED(rkdiTextureEncodeBlockFromRGBA_DXT3_8u_C4C1R, "p4wxh s p4wxk s z/4x4");
  GUARDED(rkdiTextureEncodeBlockFromRGBA_DXT5_8u_C4C1R, "p4wxh s p4wxk s z/4x4");
  GUARDED(rkdiTextureDecodeBlockToRGBA_DXT1_8u_C1C4R, "p2wxk s p4wxh s z/4x4");
  GUARDED(rkdiTextureDecodeBlockToRGBA_DXT3_8u_C1C4R, "p4wxk s p4wxh s z/4x4");
  GUARDED(rkdiTextureDecodeBlockToRGBA_DXT5_8u_C1C4R, "p4wxk s p4wxh s z/4x4");
}

GUARDED_FAMILY(HuffmanLists) { GUARDED(rkdiEncodeHuffmanRawTableInit_JPEG_8u, "v256 p16 p256"); }

GUARDED_FAMILY(Tables) {
  GUARDED(rkdiGetZigzag_JPEG_8u, "p64");
  GUARDED(rkdiGetQuantisers_JPEG_8u, "=0-1 p64");
  GUARDED(rkdiScaleQuantisers_JPEG_8u, "v64 =1-100 p64");
  GUARDED(rkdiScaleQuantisers_JPEG_8u16u, "v64 =1-100 p64");
  GUARDED(rkdiGetHuffmanTable_JPEG_8u, "=0 =0-1 p16 p12");
  GUARDED(rkdiGetHuffmanTable_JPEG_8u, "=1 =0-1 p16 p162");
}

GUARDED_FAMILY(Predictors) {
  GUARDED(rkdiPointTransformFwd_JPEG_8u16s_C1R, "pwxh s pwxh s z =0-15");
  GUARDED(rkdiPointTransformFwd_JPEG_16u16s_C1R, "pwxh s pwxh s z =0-15");
  GUARDED(rkdiPointTransformInv_JPEG_16s8u_C1R, "pwxh s pwxh s z =0-15");
  GUARDED(rkdiPointTransformInv_JPEG_16s16u_C1R, "pwxh s pwxh s z =0-15");
  GUARDED(rkdiDiffPredFirstRow_JPEG_16s_C1, "pw pw n =8 =0-7");
  GUARDED(rkdiReconstructPredFirstRow_JPEG_16s_C1, "pw pw n =8 =0-7");
  GUARDED(rkdiDiffPredRow_JPEG_16s_C1, "pw pw pw n =1-7");
  GUARDED(rkdiReconstructPredRow_JPEG_16s_C1, "pw pw pw n =1-7");
}

// Functions that take no samples, or have tests of their own in the core.
bool takesNoSamples(const std::string& name) {
  if (std::isupper(name[3]) != 0 || name.ends_with("GetLevel") || name.ends_with("GetLibVersion")) {
    return true;
  }
  constexpr const char* kOfObjects[] = {"GetBufSize_", "InitAlloc_", "Free_"};
  return std::any_of(std::begin(kOfObjects), std::end(kOfObjects),
                     [&](const char* part) { return name.find(part) != std::string::npos; });
}

TEST(Guard, EveryFunctionOfTheLibrariesHasALine) {
  guarded::g_briefly = true;
  for (const auto family : guarded::families()) family();
  guarded::g_briefly = false;
  tzStringList exported;
  ASSERT_GT(tzListExportedFunctions(exported, "rkd"), 200);
  for (const tzString& name : exported) {
    if (takesNoSamples(name.c_str())) continue;
    EXPECT_EQ(guarded::g_called.count(name.c_str()), 1)
        << "never called beside guard pages; add to guard_test.cpp:\n  GUARDED(" << name.c_str()
        << ", \"...\");  // the words are in guardshapes.h";
  }
}

}  // namespace
