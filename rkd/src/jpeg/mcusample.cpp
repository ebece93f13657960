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

// Kernels: FORWARD or INVERSE(name, shape, pixel format, operation, planes).
#define FORWARD(name, S, Format, Operation, P)                          \
  void name(const Format::Sample* src, int step, int16_t* const* dst) { \
    toBlocks<S, Format, Operation, P>(src, step, dst);                  \
  }
#define INVERSE(name, S, Format, Operation, P)                          \
  void name(const int16_t* const* src, Format::Sample* dst, int step) { \
    fromBlocks<S, Format, Operation, P>(src, dst, step);                \
  }

FORWARD(sampleDown444, Shape444, Interleaved<3>, NoConversion, 3)
FORWARD(sampleDown422, Shape422, Interleaved<3>, NoConversion, 3)
FORWARD(sampleDown411, Shape411, Interleaved<3>, NoConversion, 3)
INVERSE(sampleUp444, Shape444, Interleaved<3>, NoConversion, 3)
INVERSE(sampleUp422, Shape422, Interleaved<3>, NoConversion, 3)
INVERSE(sampleUp411, Shape411, Interleaved<3>, NoConversion, 3)

#undef FORWARD
#undef INVERSE

// Y Cb Y Cr pixels: Cb and Cr have their half width already.
void split422(const uint8_t* src, int step, int16_t* const* dst) {
  const hn::Repartition<uint16_t, D8> du16;
  for (int row = 0; row < 8; row += Shape422::kTileRows) {
    V8 c[2];
    loadRows<Shape422, Interleaved<2>>(src, step, row, c);
    storeFull<Shape422>(c[0], dst[0], row);
    const auto pairs = hn::BitCast(du16, c[1]);
    const auto cb = hn::BitCast(D16(), hn::And(pairs, hn::Set(du16, 255)));
    const auto cr = hn::BitCast(D16(), hn::ShiftRight<8>(pairs));
    hn::StoreU(shiftDown(cb), D16(), dst[1] + row * 8);
    hn::StoreU(shiftDown(cr), D16(), dst[2] + row * 8);
  }
}

void join422(const int16_t* const* src, uint8_t* dst, int step) {
  const D16 d16;
  for (int row = 0; row < 8; row += Shape422::kTileRows) {
    const V16 cb = shiftUp(hn::LoadU(d16, src[1] + row * 8));
    const V16 cr = shiftUp(hn::LoadU(d16, src[2] + row * 8));
    const V8 clamped = pack8(cb, cr);
    V8 c[2];
    c[0] = loadFull<Shape422>(src[0], row);
    c[1] = hn::InterleaveLower(
        D8(), clamped,
        hn::BitCast(D8(), hn::ShiftRightBytes<8>(hn::Repartition<uint8_t, D8>(), clamped)));
    storeRows<Shape422, Interleaved<2>>(c, dst, step, row);
  }
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
