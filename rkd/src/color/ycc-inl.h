// RGB to and from YCbCr on tiles, compiled once per level, and the row walk of conversions between
// pixel formats. Include after "hwy/highway.h", inside no namespace.
#if defined(RKD_COLOR_YCC_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef RKD_COLOR_YCC_INL_H_
#undef RKD_COLOR_YCC_INL_H_
#else
#define RKD_COLOR_YCC_INL_H_
#endif

#include <cstring>

#include "common/bytes-inl.h"
#include "hwy/highway.h"

HWY_BEFORE_NAMESPACE();
namespace rkd::HWY_NAMESPACE {

// Weights times 65536. A product takes 16-bit factors, so the weight of G in Y stands in two parts,
// and the weights of exactly one half as -32768 in the negated sum.
struct YccWeights {
  static constexpr int kRY = 19595, kGY1 = 22086, kGY2 = 16384, kBY = 7471;
  static constexpr int kRCb = 11058, kGCb = 21710, kHalf = -32768;
  static constexpr int kGCr = 27439, kBCr = 5329;
  static constexpr int kRoundY = 32768, kRoundC = 128 * 65536 + 32767;
  // Inverse: 1.402 = 1 + 26345 / 65536; 1.772 = 2 - 14942 / 65536; .71414 = 1 - 18734 / 65536.
  static constexpr int kCrR = 26345, kCbB = -14942, kCbG = -22554, kCrG = 18734;
};

#if HWY_TARGET == HWY_EMU128
// The lowest level's vectors are arrays: plain arithmetic, lane by lane, is what compiles best.
inline HWY_NOINLINE void toYcc(V8* c) {
  using W = YccWeights;
  for (size_t i = 0; i < kTile; ++i) {
    const int r = c[0].raw[i], g = c[1].raw[i], b = c[2].raw[i];
    const int y = W::kRY * r + (W::kGY1 + W::kGY2) * g + W::kBY * b + W::kRoundY;
    const int cb = -W::kRCb * r - W::kGCb * g - W::kHalf * b + W::kRoundC;
    const int cr = -W::kHalf * r - W::kGCr * g - W::kBCr * b + W::kRoundC;
    c[0].raw[i] = static_cast<uint8_t>(y >> 16);
    c[1].raw[i] = static_cast<uint8_t>(cb >> 16);
    c[2].raw[i] = static_cast<uint8_t>(cr >> 16);
  }
}
inline V8 toLuma(V8 r, V8 g, V8 b) {
  V8 c[3] = {r, g, b};
  toYcc(c);
  return c[0];
}
inline HWY_NOINLINE void toRgb(V8* c) {
  using W = YccWeights;
  const auto clamp = [](int v) { return static_cast<uint8_t>(v < 0 ? 0 : v > 255 ? 255 : v); };
  for (size_t i = 0; i < kTile; ++i) {
    const int y = c[0].raw[i], cb = c[1].raw[i] - 128, cr = c[2].raw[i] - 128;
    c[0].raw[i] = clamp(y + cr + ((W::kCrR * cr + 32768) >> 16));
    c[1].raw[i] = clamp(y - cr + ((W::kCbG * cb + W::kCrG * cr + 32768) >> 16));
    c[2].raw[i] = clamp(y + 2 * cb + ((W::kCbB * cb + 32768) >> 16));
  }
}
#else
// The pairs (a, b) of two vectors of bytes as 16-bit values.
struct Pairs {
  V16 v[4];
  HWY_INLINE Pairs(V8 a, V8 b) {
    const D8 d8;
    const V8 low = hn::InterleaveLower(d8, a, b), high = hn::InterleaveUpper(d8, a, b);
    v[0] = lower16(low);
    v[1] = upper16(low);
    v[2] = lower16(high);
    v[3] = upper16(high);
  }
};

// Byte 2 of start + rg . (rgFirst, rgSecond) + bg . (bgFirst, bgSecond).
HWY_INLINE V8 weighted(const Pairs& rg, const Pairs& bg, int start, V16 rgWeights, V16 bgWeights) {
  V32 sum[4];
  for (int i = 0; i < 4; ++i) {
    sum[i] = addPairProducts(hn::Set(D32(), start), rg.v[i], rgWeights);
    sum[i] = addPairProducts(sum[i], bg.v[i], bgWeights);
  }
  return packByte2(sum[0], sum[1], sum[2], sum[3]);
}

HWY_INLINE V8 lumaOf(const Pairs& rg, const Pairs& bg) {
  using W = YccWeights;
  return weighted(rg, bg, W::kRoundY, pairOf(W::kRY, W::kGY1), pairOf(W::kBY, W::kGY2));
}

HWY_INLINE V8 toLuma(V8 r, V8 g, V8 b) { return lumaOf(Pairs(r, g), Pairs(b, g)); }

// c[0..2] from R, G, B to Y, Cb, Cr. Cb and Cr come from the negated sum less one, whose quotient
// is the complement of the one wanted.
HWY_INLINE void toYcc(V8* c) {
  using W = YccWeights;
  const Pairs rg(c[0], c[1]), bg(c[2], c[1]);
  c[0] = lumaOf(rg, bg);
  c[1] = hn::Not(weighted(rg, bg, -W::kRoundC - 1, pairOf(W::kRCb, W::kGCb), pairOf(W::kHalf, 0)));
  c[2] = hn::Not(weighted(rg, bg, -W::kRoundC - 1, pairOf(W::kHalf, 0), pairOf(W::kBCr, W::kGCr)));
}

// (v * weight + 32768) >> 16 for |v| <= 128: the doubled value's high product, rounded.
HWY_INLINE V16 scaled(V16 v, int weight) {
  const V16 high = hn::MulHigh(hn::Add(v, v), hn::Set(D16(), static_cast<int16_t>(weight)));
  return hn::ShiftRight<1>(hn::Add(high, hn::Set(D16(), 1)));
}

// One half of a tile: R, G, B unclamped from 16-bit values.
HWY_INLINE void toRgbHalf(V16 y, V16 cb, V16 cr, V16* r, V16* g, V16* b) {
  using W = YccWeights;
  const D16 d16;
  const V16 centre = hn::Set(d16, 128);
  cb = hn::Sub(cb, centre);
  cr = hn::Sub(cr, centre);
  *r = hn::Add(hn::Add(y, cr), scaled(cr, W::kCrR));
  *b = hn::Add(hn::Add(y, hn::Add(cb, cb)), scaled(cb, W::kCbB));
  const V16 weights = pairOf(W::kCbG, W::kCrG);
  const V32 half = hn::Set(D32(), 32768);
  const V32 low = addPairProducts(half, hn::InterleaveLower(d16, cb, cr), weights);
  const V32 high = addPairProducts(half, hn::InterleaveUpper(d16, cb, cr), weights);
  const V16 part = pack16(hn::ShiftRight<16>(low), hn::ShiftRight<16>(high));
  *g = hn::Add(hn::Sub(y, cr), part);
}

// c[0..2] from Y, Cb, Cr to R, G, B.
HWY_INLINE void toRgb(V8* c) {
  V16 low[3], high[3];
  toRgbHalf(lower16(c[0]), lower16(c[1]), lower16(c[2]), &low[0], &low[1], &low[2]);
  toRgbHalf(upper16(c[0]), upper16(c[1]), upper16(c[2]), &high[0], &high[1], &high[2]);
  for (int i = 0; i < 3; ++i) c[i] = pack8(low[i], high[i]);
}

#endif  // HWY_TARGET == HWY_EMU128

// ---- what a conversion does with the channels of a tile ----

struct ToYcc {
  static HWY_INLINE void apply(V8* c) { toYcc(c); }
};
struct ToRgb {
  static HWY_INLINE void apply(V8* c) { toRgb(c); }
};
struct ToLuma {
  static HWY_INLINE void apply(V8* c) { c[0] = toLuma(c[0], c[1], c[2]); }
};
struct CmykToYcck {
  static HWY_INLINE void apply(V8* c) {
    for (int i = 0; i < 3; ++i) c[i] = hn::Not(c[i]);
    toYcc(c);
  }
};
struct YcckToCmyk {
  static HWY_INLINE void apply(V8* c) {
    toRgb(c);
    for (int i = 0; i < 3; ++i) c[i] = hn::Not(c[i]);
  }
};

// ---- pixel formats: kPlanes pointers to Sample, kSamples a pixel; a tile from or to pixel x of
// rows, or from and to chunks of 16 pixels a block ----

template <int C>
struct Interleaved {
  using Sample = uint8_t;
  static constexpr int kPlanes = 1, kSamples = C;
  static HWY_INLINE void load(const uint8_t* const* from, size_t x, V8* c) {
    loadPixels<C>(from[0] + C * x, c);
  }
  static HWY_INLINE void store(const V8* c, uint8_t* const* to, size_t x) {
    storePixels<C>(c, to[0] + C * x);
  }
  static HWY_INLINE void fromChunks(const V8* chunk, V8* c) { chunksToPlanes<C>(chunk, c); }
  static HWY_INLINE void toChunks(const V8* c, V8* chunk) { planesToChunks<C>(c, chunk); }
};

struct Bgr {
  using Sample = uint8_t;
  static constexpr int kPlanes = 1, kSamples = 3;
  static HWY_INLINE void load(const uint8_t* const* from, size_t x, V8* c) {
    V8 bgr[3];
    loadPixels<3>(from[0] + 3 * x, bgr);
    for (int i = 0; i < 3; ++i) c[i] = bgr[2 - i];
  }
  static HWY_INLINE void store(const V8* c, uint8_t* const* to, size_t x) {
    const V8 bgr[3] = {c[2], c[1], c[0]};
    storePixels<3>(bgr, to[0] + 3 * x);
  }
  static HWY_INLINE void fromChunks(const V8* chunk, V8* c) {
    V8 bgr[3];
    chunksToPlanes<3>(chunk, bgr);
    for (int i = 0; i < 3; ++i) c[i] = bgr[2 - i];
  }
  static HWY_INLINE void toChunks(const V8* c, V8* chunk) {
    const V8 bgr[3] = {c[2], c[1], c[0]};
    planesToChunks<3>(bgr, chunk);
  }
};

template <int P>
struct Planar {
  using Sample = uint8_t;
  static constexpr int kPlanes = P, kSamples = 1;
  static HWY_INLINE void load(const uint8_t* const* from, size_t x, V8* c) {
    for (int p = 0; p < P; ++p) c[p] = hn::LoadU(D8(), from[p] + x);
  }
  static HWY_INLINE void store(const V8* c, uint8_t* const* to, size_t x) {
    for (int p = 0; p < P; ++p) hn::StoreU(c[p], D8(), to[p] + x);
  }
};

// Y Cb Y Cr: both pixels of a pair get its Cb and Cr.
struct Yuyv {
  using Sample = uint8_t;
  static constexpr int kPlanes = 1, kSamples = 2;
  static HWY_INLINE void load(const uint8_t* const* from, size_t x, V8* c) {
    V8 pixel[2];
    loadPixels<2>(from[0] + 2 * x, pixel);
    const hn::Repartition<uint16_t, D8> du16;
    const auto pair = hn::BitCast(du16, pixel[1]);
    const auto cb = hn::And(pair, hn::Set(du16, 0x00FF));
    const auto cr = hn::ShiftRight<8>(pair);
    c[0] = pixel[0];
    c[1] = hn::BitCast(D8(), hn::Or(cb, hn::ShiftLeft<8>(cb)));
    c[2] = hn::BitCast(D8(), hn::Or(cr, hn::ShiftLeft<8>(cr)));
  }
};

// One 16u a pixel: five bits, GreenBits, five bits from the top.
template <int GreenBits, bool BlueFirst>
struct Packed {
  using Sample = uint16_t;
  static constexpr int kPlanes = 1, kSamples = 1;
  static constexpr int kTop = 5 + GreenBits;
  using DU16 = hn::Repartition<uint16_t, D8>;
  using VU16 = hn::Vec<DU16>;

  // Bits kShift.. of each pixel, kBits of them, widened to 8 by repeating the high ones.
  template <int kShift, int kBits>
  static HWY_INLINE V16 field(VU16 pixel) {
    const VU16 v = hn::And(hn::ShiftRight<kShift>(pixel), hn::Set(DU16(), (1 << kBits) - 1));
    return hn::BitCast(D16(),
                       hn::Or(hn::ShiftLeft<8 - kBits>(v), hn::ShiftRight<2 * kBits - 8>(v)));
  }
  static RKD_BLOCK void load(const uint16_t* const* from, size_t x, V8* c) {
    const DU16 du16;
    const VU16 first = hn::LoadU(du16, from[0] + x);
    const VU16 second = hn::LoadU(du16, from[0] + x + kTile / 2);
    c[BlueFirst ? 2 : 0] = packInOrder(field<kTop, 5>(first), field<kTop, 5>(second));
    c[1] = packInOrder(field<5, GreenBits>(first), field<5, GreenBits>(second));
    c[BlueFirst ? 0 : 2] = packInOrder(field<0, 5>(first), field<0, 5>(second));
  }
  static HWY_INLINE VU16 join(V16 top, V16 green, V16 low) {
    const DU16 du16;
    const VU16 t = hn::ShiftLeft<kTop>(hn::ShiftRight<3>(hn::BitCast(du16, top)));
    const VU16 g = hn::ShiftLeft<5>(hn::ShiftRight<8 - GreenBits>(hn::BitCast(du16, green)));
    const VU16 l = hn::ShiftRight<3>(hn::BitCast(du16, low));
    return hn::Or(hn::Or(t, g), l);
  }
  static RKD_BLOCK void store(const V8* c, uint16_t* const* to, size_t x) {
    const DU16 du16;
    const V8 top = c[BlueFirst ? 2 : 0], low = c[BlueFirst ? 0 : 2];
    hn::StoreU(join(first16(top), first16(c[1]), first16(low)), du16, to[0] + x);
    hn::StoreU(join(second16(top), second16(c[1]), second16(low)), du16, to[0] + x + kTile / 2);
  }
  static RKD_BLOCK void fromChunks(const V8* chunk, V8* c) {
    const VU16 first = hn::BitCast(DU16(), chunk[0]), second = hn::BitCast(DU16(), chunk[1]);
    c[BlueFirst ? 2 : 0] = pack8(field<kTop, 5>(first), field<kTop, 5>(second));
    c[1] = pack8(field<5, GreenBits>(first), field<5, GreenBits>(second));
    c[BlueFirst ? 0 : 2] = pack8(field<0, 5>(first), field<0, 5>(second));
  }
  static RKD_BLOCK void toChunks(const V8* c, V8* chunk) {
    const V8 top = c[BlueFirst ? 2 : 0], low = c[BlueFirst ? 0 : 2];
    chunk[0] = hn::BitCast(D8(), join(lower16(top), lower16(c[1]), lower16(low)));
    chunk[1] = hn::BitCast(D8(), join(upper16(top), upper16(c[1]), upper16(low)));
  }
};
using Rgb555 = Packed<5, false>;
using Bgr555 = Packed<5, true>;
using Rgb565 = Packed<6, false>;
using Bgr565 = Packed<6, true>;

// ---- rows ----

template <class In, class Operation, class Out>
HWY_INLINE void convertTile(const typename In::Sample* const* src, typename Out::Sample* const* dst,
                            size_t x) {
  V8 channels[4];
  In::load(src, x, channels);
  Operation::apply(channels);
  Out::store(channels, dst, x);
}

// A row shorter than a tile goes through buffers of one tile.
template <class In, class Operation, class Out>
HWY_NOINLINE void convertShortRow(const typename In::Sample* const* src,
                                  typename Out::Sample* const* dst, size_t width) {
  HWY_ALIGN typename In::Sample in[In::kPlanes][kTile * In::kSamples] = {};
  HWY_ALIGN typename Out::Sample out[Out::kPlanes][kTile * Out::kSamples];
  const typename In::Sample* inPlanes[In::kPlanes];
  typename Out::Sample* outPlanes[Out::kPlanes];
  for (int p = 0; p < In::kPlanes; ++p) {
    std::memcpy(in[p], static_cast<const void*>(src[p]), width * In::kSamples * sizeof(in[0][0]));
    inPlanes[p] = in[p];
  }
  for (int p = 0; p < Out::kPlanes; ++p) outPlanes[p] = out[p];
  convertTile<In, Operation, Out>(inPlanes, outPlanes, 0);
  for (int p = 0; p < Out::kPlanes; ++p) {
    std::memcpy(static_cast<void*>(dst[p]), out[p], width * Out::kSamples * sizeof(out[0][0]));
  }
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
