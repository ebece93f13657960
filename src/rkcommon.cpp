// Parameters and hot functions that suites share.
#include "rkcommon.h"

#include "rkd/rkdcore.h"
#include "rkverify.h"
#include "tzenv.h"
#include "tzregistry.h"

// Sizes that keep the largest operands (three 32-bit planes) in the first-level cache, in the
// second, and beyond it; whole blocks and MCUs, and no performance of several milliseconds.
tzIterator<RkdiSize> g_imageSize("ImageSize", "Sizes of test images",
                                 {{64, 64}, {256, 256}, {1024, 768}});
tzIterator<RkdiSize> g_codecSize("CodecSize", "Sizes of generated pictures",
                                 {{256, 256}, {1024, 768}});

bool hot_rkdiDCTQuantInv8x8LS_JPEG_16s8u_C1R = false;
bool hot_rkdiDecodeHuffman8x8_JPEG_1u16s_C1 = false;
bool hot_rkdiEncodeLoadCodeBlock_JPEG2K_32s_C1R = false;
bool hot_rkdiRGBToYCbCr_JPEG_8u_C3P3R = false;
bool hot_rkdiWTInvRow_B53_JPEG2K_16s_C1R = false;
bool hot_rkdiWTInvRow_B53_JPEG2K_32s_C1R = false;
bool hot_rkdiWTInvRow_D97_JPEG2K_16s_C1R = false;
bool hot_rkdiWTInvRow_D97_JPEG2K_32f_C1R = false;

void copySizeList(tzIterator<RkdiSize>& to, const tzIterator<RkdiSize>& from) {
  for (const RkdiSize& size : from) to.add(size);
}

namespace {

/// Hands the library's core services to the harness. The references are weak: what the loaded
/// library lacks stays null here, and the harness uses its own fallback.
void rkSetRkdEnvironment() {
  rkd_GetCpuType = rkdGetCpuType;
  rkd_GetNumCoresOnDie = rkdGetNumCoresOnDie;
  rkd_GetMaxCacheSizeB = rkdGetMaxCacheSizeB;
  rkd_GetStatusString = rkdGetStatusString;
  rkd_Init = rkdInit;
  rkd_InitCpu = rkdInitCpu;
  rkd_SetNumThreads = rkdSetNumThreads;
  rkd_GetLevelName = rkdGetLevelName;
}

bool registerCommon() {
  tzRegRkdEnvironment(rkSetRkdEnvironment);
  for (const auto version : {rkdGetLibVersion, rkdsGetLibVersion, rkdiGetLibVersion,
                             rkdcolorGetLibVersion, rkdjpegGetLibVersion}) {
    if (version != nullptr) tzRegRkdVersion(version);
  }
  tzRegParm(g_imageSize);
  tzRegParm(g_codecSize);
  tzRegHotFunction("rkdiDCTQuantInv8x8LS_JPEG_16s8u_C1R");
  tzRegHotFunction("rkdiDecodeHuffman8x8_JPEG_1u16s_C1");
  tzRegHotFunction("rkdiEncodeLoadCodeBlock_JPEG2K_32s_C1R");
  tzRegHotFunction("rkdiRGBToYCbCr_JPEG_8u_C3P3R");
  tzRegHotFunction("rkdiWTInvRow_B53_JPEG2K_16s_C1R");
  tzRegHotFunction("rkdiWTInvRow_B53_JPEG2K_32s_C1R");
  tzRegHotFunction("rkdiWTInvRow_D97_JPEG2K_16s_C1R");
  tzRegHotFunction("rkdiWTInvRow_D97_JPEG2K_32f_C1R");
  return true;
}

[[maybe_unused]] const bool registered = registerCommon();

}  // namespace
