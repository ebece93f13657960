// Operands of the wavelet kernels and their argument checks.
#pragma once

#include "common/args.h"
#include "rkd/rkdjpeg_wavelet.h"

namespace rkd {

// How many samples of a line are low and high ones.
constexpr int lowCount(int length, int phase) {
  return length / 2 + (phase == rkdWTFirstLow ? length % 2 : 0);
}
constexpr int highCount(int length, int phase) { return length - lowCount(length, phase); }

inline RkdStatus checkPhase(int phase) {
  return phase == rkdWTFirstLow || phase == rkdWTFirstHigh ? rkdStsNoErr : rkdStsBadArgErr;
}

// Samples on one side, low and high ones on the other. `Sample` and `Coefficient` are T, the side
// that is read with const.
template <class Sample, class Coefficient>
struct Bands {
  Sample* samples;
  int samplesStep;
  Coefficient* low;
  int lowStep;
  Coefficient* high;
  int highStep;
  RkdiSize size;
  int phase;
};
template <class T>
using ForwardBands = Bands<const T, T>;
template <class T>
using InverseBands = Bands<T, const T>;

// `byRows`: the bands are narrower than the samples, not lower.
template <bool byRows, class Sample, class Coefficient>
RkdStatus runBands(void (*kernel)(const Bands<Sample, Coefficient>&),
                   const Bands<Sample, Coefficient>& b) {
  const int64_t low = byRows ? lowCount(b.size.width, b.phase) : b.size.width;
  const int64_t high = byRows ? highCount(b.size.width, b.phase) : b.size.width;
  if (const RkdStatus status =
          firstOf(checkPointers(b.samples, b.low, b.high), checkSize(b.size),
                  checkStep<Sample>(b.samplesStep, b.size.width), checkStep<Sample>(b.lowStep, low),
                  checkStep<Sample>(b.highStep, high), checkPhase(b.phase))) {
    return status;
  }
  kernel(b);
  return rkdStsNoErr;
}

// A tile, in place when src and dst are the same.
template <class T>
struct Tile {
  const T* src;
  int srcStep;
  T* dst;
  int dstStep;
  RkdiSize size;
  int phaseX, phaseY;
  void* buffer;
};

// The rows of both parities that columns are lifted in, of each the last kRing.
inline constexpr int kRing = 4;

// Samples from one row in work to the next: whole cache lines, and some more, so that rows of 4096
// bytes do not meet in the same few lines of the cache.
constexpr size_t ringStep(size_t width, size_t sampleBytes) {
  return ((width * sampleBytes + 63) / 64 + 5) * 64 / sampleBytes;
}

// Bytes of a tile's buffer: the rows in work, a scaled one, and half of the tile, which transforms
// in place set aside; it begins at a whole cache line.
inline int64_t tileBytes(RkdiSize size, int sampleBytes) {
  const auto row = static_cast<int64_t>(ringStep(size.width, sampleBytes)) * sampleBytes;
  return 63 + (2 * kRing + 1) * row +
         (int64_t{size.height} + 1) / 2 * int64_t{size.width} * sampleBytes;
}

template <class T>
RkdStatus runTile(void (*kernel)(const Tile<T>&), const Tile<T>& t) {
  if (const RkdStatus status =
          firstOf(checkPointers(t.src, t.dst, static_cast<const T*>(t.buffer)), checkSize(t.size),
                  checkStep<T>(t.srcStep, t.size.width), checkStep<T>(t.dstStep, t.size.width),
                  checkPhase(t.phaseX), checkPhase(t.phaseY))) {
    return status;
  }
  kernel(t);
  return rkdStsNoErr;
}

// The operands of a lifting step: in the order in which the exported functions take them; those of
// the 9/7 have two rows in and a state.
template <class T>
struct StepRows {
  const T* in[4];
  T* state[4];
  T* out[2];
  size_t width;
};

}  // namespace rkd
