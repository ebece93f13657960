// Another build of the colour library, for the tests of the program with it: the plain versions,
// each several times over, of a few functions only, one of them with a fault.
#include "ref_color.h"
#include "rkd/rkdcolor.h"
#include "rkd/rkdcore.h"

namespace {

// Plain code is many times slower as it is; repeated, no disturbance of a run can hide it.
constexpr int kRepeats = 25;

template <class Function>
RkdStatus repeated(Function function) {
  for (int i = 1; i < kRepeats; ++i) function();
  return function();
}

}  // namespace

const RkdLibraryVersion* rkdcolorGetLibVersion(void) {
  static const RkdLibraryVersion version = {
      0, 1, 0, "librkdcolor.so.1", "0.1.0 (another)", "2020-02-02", "plain"};
  return &version;
}

RkdStatus rkdiRGBToY_JPEG_8u_C3C1R(const uint8_t* src, int srcStep, uint8_t* dst, int dstStep,
                                   RkdiSize size) {
  return repeated([&] { return ref::rkdiRGBToY_JPEG_8u_C3C1R(src, srcStep, dst, dstStep, size); });
}

RkdStatus rkdiRGBToYCbCr_JPEG_8u_C3P3R(const uint8_t* src, int srcStep, uint8_t* const dst[3],
                                       int dstStep, RkdiSize size) {
  return repeated(
      [&] { return ref::rkdiRGBToYCbCr_JPEG_8u_C3P3R(src, srcStep, dst, dstStep, size); });
}

// The fault: the last sample is one too large.
RkdStatus rkdiYCbCrToRGB_JPEG_8u_P3C3R(const uint8_t* const src[3], int srcStep, uint8_t* dst,
                                       int dstStep, RkdiSize size) {
  return repeated([&] {
    const RkdStatus status = ref::rkdiYCbCrToRGB_JPEG_8u_P3C3R(src, srcStep, dst, dstStep, size);
    ++dst[(size.height - 1) * dstStep + 3 * size.width - 1];
    return status;
  });
}
