// Sampling and level shift between pixels and the blocks of one MCU, without conversion.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "jpeg/mcusample.cpp"
#include "hwy/foreach_target.h"

#include "common/levels.h"
#include "hwy/highway.h"
#include "jpeg/mcu-inl.h"
#include "jpeg/mcu.h"
#include "rkd/rkdjpeg_mcu.h"

HWY_BEFORE_NAMESPACE();
namespace rkd::HWY_NAMESPACE {

RKD_TO_BLOCKS(sampleDown444, Shape444, Rgb, NoConversion, 3)
RKD_TO_BLOCKS(sampleDown422, Shape422, Rgb, NoConversion, 3)
RKD_TO_BLOCKS(sampleDown411, Shape411, Rgb, NoConversion, 3)
RKD_FROM_BLOCKS(sampleUp444, Shape444, Rgb, NoConversion, 3)
RKD_FROM_BLOCKS(sampleUp422, Shape422, Rgb, NoConversion, 3)
RKD_FROM_BLOCKS(sampleUp411, Shape411, Rgb, NoConversion, 3)

// Y Cb Y Cr pixels: Cb and Cr have their half width already.
RkdStatus split422(const uint8_t* src, int step, int16_t* const* dst) {
  const D16 d16;
  for (int row = 0; row < 8; row += Shape422::kRowsAtOnce) {
    V16 half[2];
    loadWords(mcuPlace<Shape422, Yuyv>(src, step, row), half);
    Words y;
    V32 chroma[2];  // bytes Y Cb Y Cr
    for (int h = 0; h < 2; ++h) {
      y.half[h] = shiftDown(hn::And(half[h], hn::Set(d16, 255)));
      chroma[h] = hn::BitCast(D32(), half[h]);
    }
    storeFull<Shape422>(y, dst[0], row);
    const V32 byte = hn::Set(D32(), 255);
    const V16 cb = pack16(hn::And(hn::ShiftRight<8>(chroma[0]), byte),
                          hn::And(hn::ShiftRight<8>(chroma[1]), byte));
    const V16 cr = pack16(hn::And(hn::ShiftRight<24>(chroma[0]), byte),
                          hn::And(hn::ShiftRight<24>(chroma[1]), byte));
    hn::StoreU(shiftDown(cb), d16, dst[1] + row * 8);
    hn::StoreU(shiftDown(cr), d16, dst[2] + row * 8);
  }
  return rkdStsNoErr;
}

RkdStatus join422(const int16_t* const* src, uint8_t* dst, int step) {
  const D8 d8;
  const D16 d16;
  const V8 centre = hn::Set(d8, 128);
  for (int row = 0; row < 8; row += Shape422::kRowsAtOnce) {
    const V8 y = bytesOf(shiftUp(loadFull<Shape422>(src[0], row)));
    const V16 pairs =
        signedBytePairs(hn::LoadU(d16, src[1] + row * 8), hn::LoadU(d16, src[2] + row * 8));
    const V8 chroma = hn::Xor(hn::BitCast(d8, pairs), centre);
    const V16 half[2] = {hn::BitCast(d16, hn::InterleaveLower(d8, y, chroma)),
                         hn::BitCast(d16, hn::InterleaveUpper(d8, y, chroma))};
    storeWords(half, mcuPlace<Shape422, Yuyv>(dst, step, row));
  }
  return rkdStsNoErr;
}

}  // namespace rkd::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace rkd {
HWY_EXPORT(sampleDown444);
HWY_EXPORT(sampleDown422);
HWY_EXPORT(sampleDown411);
HWY_EXPORT(sampleUp444);
HWY_EXPORT(sampleUp422);
HWY_EXPORT(sampleUp411);
HWY_EXPORT(split422);
HWY_EXPORT(join422);
}  // namespace rkd

using namespace rkd;

RKD_MCU_FORWARD(rkdiSampleDown444LS_MCU_8u16s_C3P3R, sampleDown444, uint8_t, 8 * 3, 3)
RKD_MCU_FORWARD(rkdiSampleDown422LS_MCU_8u16s_C3P3R, sampleDown422, uint8_t, 16 * 3, 3)
RKD_MCU_FORWARD(rkdiSampleDown411LS_MCU_8u16s_C3P3R, sampleDown411, uint8_t, 16 * 3, 3)
RKD_MCU_INVERSE(rkdiSampleUp444LS_MCU_16s8u_P3C3R, sampleUp444, uint8_t, 8 * 3, 3)
RKD_MCU_INVERSE(rkdiSampleUp422LS_MCU_16s8u_P3C3R, sampleUp422, uint8_t, 16 * 3, 3)
RKD_MCU_INVERSE(rkdiSampleUp411LS_MCU_16s8u_P3C3R, sampleUp411, uint8_t, 16 * 3, 3)
RKD_MCU_FORWARD(rkdiSplit422LS_MCU_8u16s_C2P3R, split422, uint8_t, 16 * 2, 3)
RKD_MCU_INVERSE(rkdiJoin422LS_MCU_16s8u_P3C2R, join422, uint8_t, 16 * 2, 3)
#endif  // HWY_ONCE
