// Another build of the colour library, for the tests of the program with it: the plain versions,
// each several times over, of a few functions only, one of them with a fault. Another function gets
// the fault that the environment names.
#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "ref_color.h"
#include "rkd/rkdcolor.h"
#include "rkd/rkdcore.h"

namespace {

// Plain code is many times slower as it is; repeated, no disturbance of a run can hide it.
#if defined(TAZMET_MORE_WORK)
constexpr int kRepeats = 38;
#else
constexpr int kRepeats = 25;
#endif

template <class Function>
RkdStatus repeated(Function function) {
  for (int i = 1; i < kRepeats; ++i) function();
  return function();
}

bool faultIs(const char* name) {
  static const char* const wanted = std::getenv("TAZMET_OTHER_FAULT");
  return wanted != nullptr && std::strcmp(wanted, name) == 0;
}

// As code for aligned operands accesses them. A sanitizer would see what a processor has to.
__attribute__((no_sanitize("alignment"))) void touchAligned(const uint8_t* src, int width) {
  typedef uint8_t Vector __attribute__((vector_size(16)));
  for (int x = 0; x + 16 <= width; x += 16) {
    const Vector vector = *reinterpret_cast<const volatile Vector*>(src + x);
    asm volatile("" : : "x"(vector));
  }
}

// What a measured function must not do.
int* volatile s_nowhere = nullptr;
volatile int s_seven = 7;
volatile int s_zero = 0;
volatile bool s_forever = true;

// NOLINTNEXTLINE(misc-no-recursion): that is the fault.
int recurse(volatile int* above) {
  volatile int here[1024];
  here[0] = *above + 1;
  return s_forever ? recurse(here) + here[0] : 0;
}

__attribute__((no_sanitize("undefined"))) void commitFault(uint8_t* dst, int bytes) {
  volatile int start = 0;
  if (faultIs("divides by zero")) s_seven = s_seven / s_zero;
  if (faultIs("illegal")) asm volatile("ud2");
  if (faultIs("writes to nowhere")) *s_nowhere = 1;
  if (faultIs("aborts")) std::abort();
  if (faultIs("overruns the heap")) std::memset(dst + bytes, 0x55, 4096);
  if (faultIs("recurses")) start = recurse(&start);
  while (faultIs("never returns") && s_forever) {
  }
}

// Row by row: what one writes too much is covered by the next.
RkdStatus greyWithFault(const uint8_t* src, int srcStep, uint8_t* dst, int dstStep, RkdiSize size) {
  commitFault(dst, dstStep * size.height);
  const int done = faultIs("no tail") ? size.width & ~15 : size.width;
  RkdStatus status = size.width < 1 || size.height < 1 ? rkdStsSizeErr : rkdStsNoErr;
  for (int y = 0; y < size.height && status == rkdStsNoErr; ++y) {
    const uint8_t* const row = src + y * srcStep;
    uint8_t* const grey = dst + y * dstStep;
    if (done > 0) status = ref::rkdiRGBToY_JPEG_8u_C3C1R(row, srcStep, grey, dstStep, {done, 1});
    if (faultIs("writes 64")) std::memset(grey + size.width, 0, 64);
    if (faultIs("writes between rows") && y + 1 < size.height) grey[size.width] ^= 1;
    if (faultIs("reads past")) *const_cast<const volatile uint8_t*>(row + 3 * size.width);
    if (faultIs("reads before")) *const_cast<const volatile uint8_t*>(row - 1);
    if (faultIs("aligned")) touchAligned(row, 3 * size.width);
  }
  return status;
}

}  // namespace

const RkdLibraryVersion* rkdcolorGetLibVersion(void) {
  static const RkdLibraryVersion version = {
      0, 1, 0, "librkdcolor.so.1", "0.1.0 (another)", "2020-02-02", "plain"};
  return &version;
}

RkdStatus rkdiRGBToY_JPEG_8u_C3C1R(const uint8_t* src, int srcStep, uint8_t* dst, int dstStep,
                                   RkdiSize size) {
  return repeated([&] { return greyWithFault(src, srcStep, dst, dstStep, size); });
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
