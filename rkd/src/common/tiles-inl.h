// Regions of several planes, a tile of pixels at a time, compiled once per level. Include after
// "hwy/highway.h", inside no namespace.
#if defined(RKD_COMMON_TILES_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef RKD_COMMON_TILES_INL_H_
#undef RKD_COMMON_TILES_INL_H_
#else
#define RKD_COMMON_TILES_INL_H_
#endif

#include "common/args.h"
#include "common/lanes-inl.h"
#include "hwy/highway.h"

HWY_BEFORE_NAMESPACE();
namespace rkd::HWY_NAMESPACE {

// What one tile of `kPixels` needs, for rows that are narrower.
template <class S, int SP, int SC, class D, int DP, int DC, size_t kPixels>
struct TileCopy {
  HWY_ALIGN S in[SP][SC * kPixels] = {};
  HWY_ALIGN D out[DP][DC * kPixels] = {};

  template <class Tile>
  HWY_INLINE void run(const S* const* from, D* const* to, size_t pixels, Tile&& tile) {
    const S* source[SP];
    D* destination[DP];
    for (int p = 0; p < SP; ++p) {
      std::memcpy(in[p], static_cast<const void*>(from[p]), SC * pixels * sizeof(S));
      source[p] = in[p];
    }
    for (int p = 0; p < DP; ++p) destination[p] = out[p];
    tile(source, destination);
    for (int p = 0; p < DP; ++p) {
      std::memcpy(static_cast<void*>(to[p]), out[p], DC * pixels * sizeof(D));
    }
  }
};

// Calls tile(from, to) for tiles of kPixels that cover a region, whose pixels have SC samples in
// each of SP planes and DC in each of DP. The last tile of a row takes some pixels once more, so
// source and destination must not be the same. Rows without gaps are joined.
template <size_t kPixels, int SC, int DC, class S, int SP, class D, int DP, class Tile>
HWY_INLINE void overTilesOf(const Region<S, SP, D, DP>& r, Tile&& tile) {
  size_t width = static_cast<size_t>(r.size.width);
  int height = r.size.height;
  if (static_cast<size_t>(r.srcStep) == width * SC * sizeof(S) &&
      static_cast<size_t>(r.dstStep) == width * DC * sizeof(D)) {
    width *= static_cast<size_t>(height);
    height = 1;
  }
  for (int y = 0; y < height; ++y) {
    const S* src[SP];
    D* dst[DP];
    for (int p = 0; p < SP; ++p) src[p] = r.srcRow(y, p);
    for (int p = 0; p < DP; ++p) dst[p] = r.dstRow(y, p);
    if (width < kPixels) {
      TileCopy<S, SP, SC, D, DP, DC, kPixels>().run(src, dst, width, tile);
      continue;
    }
    const auto tileAt = [&](size_t x) HWY_ATTR {
      const S* from[SP];
      D* to[DP];
      for (int p = 0; p < SP; ++p) from[p] = src[p] + SC * x;
      for (int p = 0; p < DP; ++p) to[p] = dst[p] + DC * x;
      tile(from, to);
    };
    for (size_t x = 0; x + kPixels < width; x += kPixels) tileAt(x);
    tileAt(width - kPixels);
  }
}

}  // namespace rkd::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif  // per-target guard
