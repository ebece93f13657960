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

// Two calls on both sides: all rows but the last 3 %, and these; or, to do as many again, all rows,
// and some from the middle. Those lie half an image away from what was done before and will be done
// next, so operands out of cache come from memory then, too.
template <class Rows>
RkdStatus inTwo(int height, int unit, Rows rows) {
  const int some = height * 3 / 100 / unit * unit;
  const bool again = PLANTED_PERCENT > 0;
  const RkdStatus status = rows(0, again ? height : height - some);
  const int from = again ? height / 2 / unit * unit : height - some;
  return status < 0 || some == 0 ? status : rows(from, some);
}

}  // namespace

#if defined(PLANTED_JPEG)
RkdStatus rkdiTextureEncodeBlockFromRGBA_DXT1_8u_C4C1R(const uint8_t* src, int srcStep,
                                                       uint8_t* dst, int dstStep, RkdiSize size) {
  static auto* const function = theFunction<decltype(rkdiTextureEncodeBlockFromRGBA_DXT1_8u_C4C1R)>(
      "rkdiTextureEncodeBlockFromRGBA_DXT1_8u_C4C1R");
  return inTwo(size.height, 4, [&](int from, int rows) {
    return function(src + ptrdiff_t{from} * srcStep, srcStep, dst + ptrdiff_t{from / 4} * dstStep,
                    dstStep, {size.width, rows});
  });
}
#else
RkdStatus rkdiRGBToYCbCr_JPEG_8u_C3P3R(const uint8_t* src, int srcStep, uint8_t* const dst[3],
                                       int dstStep, RkdiSize size) {
  static auto* const function =
      theFunction<decltype(rkdiRGBToYCbCr_JPEG_8u_C3P3R)>("rkdiRGBToYCbCr_JPEG_8u_C3P3R");
  return inTwo(size.height, 1, [&](int from, int rows) {
    const ptrdiff_t place = ptrdiff_t{from} * dstStep;
    uint8_t* const planes[3] = {dst[0] + place, dst[1] + place, dst[2] + place};
    return function(src + ptrdiff_t{from} * srcStep, srcStep, planes, dstStep, {size.width, rows});
  });
}
#endif
