// A library in the place of one of ours that does what it does, or 3 % more of the same work: what
// tools/trust plants to see whether a comparison finds it. Both sides of a comparison go through
// one, so that the way itself makes no difference.
#include <dlfcn.h>

#include <cstdio>
#include <cstdlib>

#include "rkd/rkdcolor.h"
#include "rkd/rkdjpeg.h"

namespace {

// The library of the same name whose functions do the work.
void* theLibrary() {
  static void* const library = dlopen(PLANTED_LIBRARY, RTLD_NOW | RTLD_LOCAL);
  if (library != nullptr) return library;
  std::fprintf(stderr, "planted: %s\n", dlerror());
  std::abort();
}

template <class Function>
Function* theFunction(const char* name) {
  void* const found = dlsym(theLibrary(), name);
  if (found == nullptr) std::abort();
  return reinterpret_cast<Function*>(found);
}

// Of every hundred blocks, those that are done once more.
[[maybe_unused]] bool isDoneAgain() {
  static int block = 0;
  block = block == 99 ? 0 : block + 1;
  return block < PLANTED_PERCENT;
}

}  // namespace

#if defined(PLANTED_JPEG)
// What the suite cannot do without.
RkdStatus rkdiQuantFwdTableInit_JPEG_16u(const uint16_t* quantisers, uint16_t* table) {
  return theFunction<decltype(rkdiQuantFwdTableInit_JPEG_16u)>("rkdiQuantFwdTableInit_JPEG_16u")(
      quantisers, table);
}
RkdStatus rkdiQuantInvTableInit_JPEG_16u(const uint16_t* quantisers, uint16_t* table) {
  return theFunction<decltype(rkdiQuantInvTableInit_JPEG_16u)>("rkdiQuantInvTableInit_JPEG_16u")(
      quantisers, table);
}

RkdStatus rkdiDCTQuantFwd8x8LS_JPEG_8u16s_C1R(const uint8_t* src, int srcStep, int16_t* dst,
                                              const uint16_t* table) {
  static auto* const function = theFunction<decltype(rkdiDCTQuantFwd8x8LS_JPEG_8u16s_C1R)>(
      "rkdiDCTQuantFwd8x8LS_JPEG_8u16s_C1R");
  if (isDoneAgain()) function(src, srcStep, dst, table);
  return function(src, srcStep, dst, table);
}
#else
RkdStatus rkdiRGBToYCbCr_JPEG_8u_C3P3R(const uint8_t* src, int srcStep, uint8_t* const dst[3],
                                       int dstStep, RkdiSize size) {
  static auto* const function =
      theFunction<decltype(rkdiRGBToYCbCr_JPEG_8u_C3P3R)>("rkdiRGBToYCbCr_JPEG_8u_C3P3R");
  // Two calls on both sides: all rows but the first few, or all; then the first few.
  const int again = size.height * 3 / 100;
  const int from = PLANTED_PERCENT > 0 ? 0 : again;
  uint8_t* const rest[3] = {dst[0] + from * dstStep, dst[1] + from * dstStep,
                            dst[2] + from * dstStep};
  const RkdStatus status =
      function(src + from * srcStep, srcStep, rest, dstStep, {size.width, size.height - from});
  return status < 0 || again < 1 ? status
                                 : function(src, srcStep, dst, dstStep, {size.width, again});
}
#endif
