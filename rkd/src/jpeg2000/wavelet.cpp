// One level of the wavelets in both directions, in one sweep down the tile.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "jpeg2000/wavelet.cpp"
#include "hwy/foreach_target.h"

#include "common/levels.h"
#include "hwy/highway.h"
#include "jpeg2000/waveletline-inl.h"

HWY_BEFORE_NAMESPACE();
namespace rkd::HWY_NAMESPACE {

// Columns first: every finished row of the sweep is a line to transform. In place, rows of
// vertical highs are set aside until the rows below have been read; the lows go where rows have
// been read already.
template <class Kernel, class T>
struct ForwardTile {
  const Tile<T>& t;
  T* high;
  int highStep;
  T* scaledRow;  // of vertical highs, whose neighbours need them as they were

  const T* load(Band band, int k, T*) const {
    return rowAt(t.src, t.srcStep, sampleRow(band, k, t.phaseY));
  }
  T* place(Band band, int, T* spare) const {
    return Kernel::kScales && band == kHigh ? scaledRow : spare;
  }
  void finish(Band band, int k, const T* row) const { transform(row, bandRow(band, k)); }

  T* bandRow(Band band, int k) const {
    return band == kLow ? rowAt(t.dst, t.dstStep, k) : rowAt(high, highStep, k);
  }
  void transform(const T* row, T* to) const {
    const int width = t.size.width;
    forwardLine<Kernel>(row, to, to + lowCount(width, t.phaseX), width, t.phaseX);
  }
};

// Rows first: a row of coefficients is transformed when the sweep needs it. In place, rows of
// vertical lows have been set aside, because samples overtake them.
template <class Kernel, class T>
struct InverseTile {
  const Tile<T>& t;
  const T* low;
  int lowStep;

  const T* load(Band band, int k, T* spare) const {
    transform(bandRow(band, k), spare);
    return spare;
  }
  T* place(Band band, int k, T*) const {
    return rowAt(t.dst, t.dstStep, sampleRow(band, k, t.phaseY));
  }
  void finish(Band, int, const T*) const {}

  const T* bandRow(Band band, int k) const {
    return band == kLow ? rowAt(low, lowStep, k)
                        : rowAt(t.src, t.srcStep, lowCount(t.size.height, t.phaseY) + k);
  }
  void transform(const T* row, T* to) const {
    const int width = t.size.width;
    inverseLine<Kernel>(row, row + lowCount(width, t.phaseX), to, width, t.phaseX);
  }
};

template <class T>
HWY_INLINE void copyRows(const T* from, int fromStep, T* to, int toStep, int width, int height) {
  for (int y = 0; y < height; ++y) {
    std::memcpy(static_cast<void*>(rowAt(to, toStep, y)),
                static_cast<const void*>(rowAt(from, fromStep, y)), width * sizeof(T));
  }
}

template <class T>
HWY_INLINE T* ringOf(const Tile<T>& t) {
  return reinterpret_cast<T*>((reinterpret_cast<uintptr_t>(t.buffer) + 63) / 64 * 64);
}

template <class Kernel, class T>
HWY_INLINE void forwardTile(const Tile<T>& t) {
  const int width = t.size.width, lows = lowCount(t.size.height, t.phaseY);
  T* const ring = ringOf(t);
  T* const aside = ring + (2 * kRing + 1) * ringStep(width, sizeof(T));
  const int asideStep = width * static_cast<int>(sizeof(T));
  const bool inPlace = t.src == t.dst;
  T* const high = rowAt(t.dst, t.dstStep, lows);
  ForwardTile<Kernel, T> rows{t, inPlace ? aside : high, inPlace ? asideStep : t.dstStep,
                              ring + 2 * kRing * ringStep(width, sizeof(T))};
  if (t.size.height == 1) {
    copyRows(t.src, t.srcStep, ring, asideStep, width, 1);
    if (t.phaseY != rkdWTFirstLow) scaleSingle<Kernel, false>(ring, ring, width);
    rows.transform(ring, t.dst);
    return;
  }
  Sweep<Kernel, false, T, ForwardTile<Kernel, T>>(rows, ring, width, t.size.height, t.phaseY).run();
  if (inPlace) copyRows(aside, asideStep, high, t.dstStep, width, t.size.height - lows);
}

template <class Kernel, class T>
HWY_INLINE void inverseTile(const Tile<T>& t) {
  const int width = t.size.width, lows = lowCount(t.size.height, t.phaseY);
  T* const ring = ringOf(t);
  T* const aside = ring + (2 * kRing + 1) * ringStep(width, sizeof(T));
  const int asideStep = width * static_cast<int>(sizeof(T));
  const bool inPlace = t.src == t.dst;
  InverseTile<Kernel, T> rows{t, inPlace ? aside : t.src, inPlace ? asideStep : t.srcStep};
  if (t.size.height == 1) {
    rows.transform(t.src, ring);
    if (t.phaseY != rkdWTFirstLow) scaleSingle<Kernel, true>(ring, ring, width);
    copyRows<T>(ring, asideStep, t.dst, t.dstStep, width, 1);
    return;
  }
  if (inPlace) copyRows(t.src, t.srcStep, aside, asideStep, width, lows);
  Sweep<Kernel, true, T, InverseTile<Kernel, T>>(rows, ring, width, t.size.height, t.phaseY).run();
}

void fwdB5316s(const Tile<int16_t>& t) { forwardTile<B53>(t); }
void invB5316s(const Tile<int16_t>& t) { inverseTile<B53>(t); }
void fwdB5332s(const Tile<int32_t>& t) { forwardTile<B53>(t); }
void invB5332s(const Tile<int32_t>& t) { inverseTile<B53>(t); }
void fwdD9716s(const Tile<int16_t>& t) { forwardTile<D97>(t); }
void invD9716s(const Tile<int16_t>& t) { inverseTile<D97>(t); }
void fwdD9732s(const Tile<int32_t>& t) { forwardTile<D97>(t); }
void invD9732s(const Tile<int32_t>& t) { inverseTile<D97>(t); }
void fwdD9732f(const Tile<float>& t) { forwardTile<D97>(t); }
void invD9732f(const Tile<float>& t) { inverseTile<D97>(t); }

}  // namespace rkd::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace rkd {
HWY_EXPORT(fwdB5316s);
HWY_EXPORT(invB5316s);
HWY_EXPORT(fwdB5332s);
HWY_EXPORT(invB5332s);
HWY_EXPORT(fwdD9716s);
HWY_EXPORT(invD9716s);
HWY_EXPORT(fwdD9732s);
HWY_EXPORT(invD9732s);
HWY_EXPORT(fwdD9732f);
HWY_EXPORT(invD9732f);
}  // namespace rkd

using namespace rkd;

// Exported functions: out of place and in place.
#define TILES(name, kernel, T)                                                                    \
  RkdStatus name##_C1R(const T* src, int srcStep, T* dst, int dstStep, RkdiSize size, int phaseX, \
                       int phaseY, void* buffer) {                                                \
    return runTile<T>(RKD_AT_LEVEL(kernel),                                                       \
                      {src, srcStep, dst, dstStep, size, phaseX, phaseY, buffer});                \
  }                                                                                               \
  RkdStatus name##_C1IR(T* srcDst, int srcDstStep, RkdiSize size, int phaseX, int phaseY,         \
                        void* buffer) {                                                           \
    return runTile<T>(RKD_AT_LEVEL(kernel),                                                       \
                      {srcDst, srcDstStep, srcDst, srcDstStep, size, phaseX, phaseY, buffer});    \
  }

TILES(rkdiWTFwd_B53_JPEG2K_16s, fwdB5316s, int16_t)
TILES(rkdiWTInv_B53_JPEG2K_16s, invB5316s, int16_t)
TILES(rkdiWTFwd_B53_JPEG2K_32s, fwdB5332s, int32_t)
TILES(rkdiWTInv_B53_JPEG2K_32s, invB5332s, int32_t)
TILES(rkdiWTFwd_D97_JPEG2K_16s, fwdD9716s, int16_t)
TILES(rkdiWTInv_D97_JPEG2K_16s, invD9716s, int16_t)
TILES(rkdiWTFwd_D97_JPEG2K_32s, fwdD9732s, int32_t)
TILES(rkdiWTInv_D97_JPEG2K_32s, invD9732s, int32_t)
TILES(rkdiWTFwd_D97_JPEG2K_32f, fwdD9732f, float)
TILES(rkdiWTInv_D97_JPEG2K_32f, invD9732f, float)

RkdStatus rkdiWTGetBufSize_JPEG2K(RkdiSize size, RkdDataType type, int* bytes) {
  if (const RkdStatus status = firstOf(checkSize(size), checkPointers(bytes))) return status;
  if (type != rkd16s && type != rkd32s && type != rkd32f) return rkdStsBadArgErr;
  const int64_t needed = tileBytes(size, type == rkd16s ? 2 : 4);
  if (needed > INT32_MAX) return rkdStsSizeErr;
  *bytes = static_cast<int>(needed);
  return rkdStsNoErr;
}
#endif  // HWY_ONCE
