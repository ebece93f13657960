// RGB to and from YCbCr on tiles, compiled once per level, and the row walk of conversions between
// pixel formats. Include after "hwy/highway.h", inside no namespace.
#if defined(RKD_COLOR_YCC_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef RKD_COLOR_YCC_INL_H_
#undef RKD_COLOR_YCC_INL_H_
#else
#define RKD_COLOR_YCC_INL_H_
#endif

#include <cstring>

#include "color/pixels-inl.h"
#include "hwy/highway.h"

HWY_BEFORE_NAMESPACE();
namespace rkd::HWY_NAMESPACE {

// Weights times 65536. Those of each output add up to 1 or 0, so that only differences to G need
// multiplying, by two weights, which is what a pair product takes.
struct YccWeights {
  static constexpr int kRY = 19595, kBY = 7471, kRCb = 11058, kBCr = 5329, kHalf = 32768;
  static constexpr int kRoundY = 32768, kRoundC = 128 * 65536 + 32767;
  // Inverse times 16384, of doubled Cb and Cr; the products, rounded, are those of 1.402 and 1.772
  // in 16 bits for all 256 values.
  static constexpr int kCrR = 22970, kCbB = 29033;
  // .34414 and .71414 times 32768, the upper and the lower bytes.
  static constexpr int kCbG[2] = {44, 13}, kCrG[2] = {91, 105};
};

// One output's words from the weighted differences.
HWY_INLINE Words weighted(const RgbTile& tile, int start, int weightR, int weightB) {
  const V32 from = hn::Set(D32(), start);
  const V16 weights = pairOf(weightR, weightB);
  V32 sum[4];
  for (int k = 0; k < 4; ++k) sum[k] = addPairProducts(from, tile.pairs[k], weights);
  return {{highWords(sum[0], sum[1]), highWords(sum[2], sum[3])}};
}

#if HWY_TARGET == HWY_EMU128
// The lowest level's vectors are arrays: plain arithmetic, lane by lane, is what compiles best.
template <int kShift>
inline HWY_NOINLINE void toYcc(const RgbTile& tile, Words* c) {
  using W = YccWeights;
  const D16 d16;
  int16_t pairs[2 * kTile], green[kTile], out[3][kTile];
  for (size_t k = 0; k < 4; ++k) hn::StoreU(tile.pairs[k], d16, pairs + 8 * k);
  for (size_t h = 0; h < 2; ++h) hn::StoreU(tile.green.half[h], d16, green + 8 * h);
  for (size_t i = 0; i < kTile; ++i) {
    const int r = pairs[2 * i], b = pairs[2 * i + 1];
    const int sum[3] = {-W::kRY * r - W::kBY * b + W::kRoundY,
                        W::kRCb * r - W::kHalf * b + W::kRoundC,
                        -W::kHalf * r + W::kBCr * b + W::kRoundC};
    for (int n = 0; n < 3; ++n) {
      const int base = kShift + (n == 0 ? green[i] : 0);
      out[n][i] = static_cast<int16_t>(base + (sum[n] >> 16));
    }
  }
  for (int n = 0; n < 3; ++n) {
    for (size_t h = 0; h < 2; ++h) c[n].half[h] = hn::LoadU(d16, out[n] + 8 * h);
  }
}
template <int kShift>
inline void toLuma(const RgbTile& tile, Words* c) {
  Words ycc[3];
  toYcc<kShift>(tile, ycc);
  c[0] = ycc[0];
}

struct Rgb3 {
  V16 r, g, b;
};
inline HWY_NOINLINE Rgb3 chromaPart(V16 chroma) {
  using W = YccWeights;
  const LaneArray<V16> pairs = lanesOf(chroma);
  LaneArray<V16> red, green, blue;
  for (size_t i = 0; i < kTile / 2; ++i) {
    const auto cr = static_cast<int16_t>(pairs[i] >> 8);
    const auto cb = static_cast<int16_t>((pairs[i] ^ 128) & 255);
    const int centred = cb - 128;
    const int g = (256 * W::kCbG[0] + W::kCbG[1]) * centred + (256 * W::kCrG[0] + W::kCrG[1]) * cr;
    red[i] = static_cast<int16_t>((W::kCrR * 2 * cr + 16384) >> 15);
    green[i] = static_cast<int16_t>((g + 16383) >> 15);
    blue[i] = static_cast<int16_t>((W::kCbB * 2 * centred + 16384) >> 15);
  }
  return {vectorOf<V16>(red), vectorOf<V16>(green), vectorOf<V16>(blue)};
}
#else
// c: Y, Cb, Cr, plus kShift, from a tile.
template <int kShift>
HWY_INLINE void toLuma(const RgbTile& tile, Words* c) {
  using W = YccWeights;
  c[0] = weighted(tile, W::kRoundY + kShift * 65536, -W::kRY, -W::kBY);
  for (int h = 0; h < 2; ++h) c[0].half[h] = hn::Add(c[0].half[h], tile.green.half[h]);
}
template <int kShift>
HWY_INLINE void toYcc(const RgbTile& tile, Words* c) {
  using W = YccWeights;
  constexpr int kStart = W::kRoundC + kShift * 65536;
  toLuma<kShift>(tile, c);
  c[1] = weighted(tile, kStart, W::kRCb, -W::kHalf);
  c[2] = weighted(tile, kStart, -W::kHalf, W::kBCr);
}

// What pairs of Cb and Cr add to Y for R and B, and take from it for G.
struct Rgb3 {
  V16 r, g, b;
};
HWY_INLINE Rgb3 chromaPart(V16 chroma) {
  using W = YccWeights;
  const D16 d16;
  const V8 pairs = hn::BitCast(D8(), chroma);
  const V16 cr2 = byteProducts(bytePair(0, 2), pairs);
  const V16 cb2 = byteProducts(bytePair(2, 0), pairs);
  // Rounding up at a half or down is the same here: no sum of Cb and Cr meets one.
  const V16 high = byteProducts(bytePair(W::kCbG[0], W::kCrG[0]), pairs);
  const V16 low = byteProducts(bytePair(W::kCbG[1], W::kCrG[1]), pairs);
  const V16 g = hn::Add(high, hn::ShiftRight<8>(low));
  return {roundedProduct(cr2, hn::Set(d16, W::kCrR)), roundedProduct(g, hn::Set(d16, 256)),
          roundedProduct(cb2, hn::Set(d16, W::kCbB))};
}
#endif  // HWY_TARGET == HWY_EMU128

// ---- what a conversion does with a tile; R, G, B are not clamped yet ----

struct ToYcc {
  using Tile = RgbTile;
  static HWY_INLINE void apply(const RgbTile& tile, Words* c) { toYcc<0>(tile, c); }
};
struct ToLuma {
  using Tile = RgbTile;
  static HWY_INLINE void apply(const RgbTile& tile, Words* c) { toLuma<0>(tile, c); }
};
struct ToRgb {
  using Tile = YccTile;
  static HWY_INLINE void apply(const YccTile& tile, Words* c) {
    for (int h = 0; h < 2; ++h) {
      const Rgb3 part = chromaPart(tile.chroma[h]);
      const V16 y = tile.y.half[h];
      c[0].half[h] = hn::Add(y, part.r);
      c[1].half[h] = hn::Sub(y, part.g);
      c[2].half[h] = hn::Add(y, part.b);
    }
  }
};

// ---- rows ----

template <class In, class Operation, class Out>
HWY_INLINE void convertTile(const typename In::Sample* const* src, typename Out::Sample* const* dst,
                            size_t x) {
  typename Operation::Tile tile;
  Words c[4];
  In::load(src, x, &tile);
  Operation::apply(tile, c);
  if constexpr (In::kPlanes * In::kSamples == 4) c[3] = tile.key;
  Out::store(c, dst, x);
}

// `bytes` bytes between a row and a buffer of whole vectors, of which the rest becomes 0 (copyIn).
template <size_t kSize>
HWY_INLINE void copyIn(const void* from, size_t bytes, uint8_t* buffer) {
#if HWY_TARGET <= HWY_AVX3
  const D8 d8;
  const auto* row = static_cast<const uint8_t*>(from);
  for (size_t i = 0; i < kSize; i += kTile) {
    hn::Store(load(d8, row + i, Part{bytes > i ? HWY_MIN(bytes - i, kTile) : 0}), d8, buffer + i);
  }
#else
  std::memcpy(buffer, from, bytes);
  std::memset(buffer + bytes, 0, kSize - bytes);
#endif
}
template <size_t kSize>
HWY_INLINE void copyOut(const uint8_t* buffer, size_t bytes, void* to) {
#if HWY_TARGET <= HWY_AVX3
  const D8 d8;
  auto* row = static_cast<uint8_t*>(to);
  for (size_t i = 0; i < kSize && i < bytes; i += kTile) {
    store(hn::Load(d8, buffer + i), d8, row + i, Part{HWY_MIN(bytes - i, kTile)});
  }
#else
  std::memcpy(to, buffer, bytes);
#endif
}

// A row shorter than a tile goes through buffers of one tile.
template <class In, class Operation, class Out>
HWY_NOINLINE void convertShortRow(const typename In::Sample* const* src,
                                  typename Out::Sample* const* dst, size_t width) {
  constexpr size_t kIn = In::kSamples * sizeof(typename In::Sample);
  constexpr size_t kOut = Out::kSamples * sizeof(typename Out::Sample);
  HWY_ALIGN uint8_t in[In::kPlanes][kTile * kIn];
  HWY_ALIGN uint8_t out[Out::kPlanes][kTile * kOut];
  const typename In::Sample* inPlanes[In::kPlanes];
  typename Out::Sample* outPlanes[Out::kPlanes];
  for (int p = 0; p < In::kPlanes; ++p) {
    copyIn<kTile * kIn>(src[p], width * kIn, in[p]);
    inPlanes[p] = reinterpret_cast<const typename In::Sample*>(in[p]);
  }
  for (int p = 0; p < Out::kPlanes; ++p) {
    outPlanes[p] = reinterpret_cast<typename Out::Sample*>(out[p]);
  }
  convertTile<In, Operation, Out>(inPlanes, outPlanes, 0);
  for (int p = 0; p < Out::kPlanes; ++p) copyOut<kTile * kOut>(out[p], width * kOut, dst[p]);
}

// Operands do not overlap, so the last tile of a row may convert some pixels once more. (Formats
// whose pixels come in pairs have even widths and even tiles.)
template <class In, class Operation, class Out>
HWY_INLINE void convertRow(const typename In::Sample* const* src, typename Out::Sample* const* dst,
                           size_t width) {
  if (width < kTile) return convertShortRow<In, Operation, Out>(src, dst, width);
  size_t x = 0;
  for (; x + kTile <= width; x += kTile) convertTile<In, Operation, Out>(src, dst, x);
  if (x < width) convertTile<In, Operation, Out>(src, dst, width - kTile);
}

// The whole region; rows without gaps are joined.
template <class In, class Operation, class Out>
void convert(
    const Region<typename In::Sample, In::kPlanes, typename Out::Sample, Out::kPlanes>& r) {
  size_t width = static_cast<size_t>(r.size.width);
  int height = r.size.height;
  if (static_cast<size_t>(r.srcStep) == width * In::kSamples * sizeof(typename In::Sample) &&
      static_cast<size_t>(r.dstStep) == width * Out::kSamples * sizeof(typename Out::Sample)) {
    width *= static_cast<size_t>(height);
    height = 1;
  }
  for (int y = 0; y < height; ++y) {
    const typename In::Sample* src[In::kPlanes];
    typename Out::Sample* dst[Out::kPlanes];
    for (int p = 0; p < In::kPlanes; ++p) src[p] = r.srcRow(y, p);
    for (int p = 0; p < Out::kPlanes; ++p) dst[p] = r.dstRow(y, p);
    convertRow<In, Operation, Out>(src, dst, width);
  }
}

}  // namespace rkd::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif  // per-target guard
