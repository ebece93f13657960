// Tiles of pixels in memory to and from words of 16 bits a channel, compiled once per level.
// Include after "hwy/highway.h", inside no namespace.
//
// A tile has kTile pixels in kBlocks groups of 16. A channel of it stands in two vectors of words:
// pixels 0..7 of group b in 128-bit block b of half 0, pixels 8..15 in block b of half 1. So the
// halves pack to bytes without crossing blocks, and a group may be a row of an MCU.
#if defined(RKD_COLOR_PIXELS_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef RKD_COLOR_PIXELS_INL_H_
#undef RKD_COLOR_PIXELS_INL_H_
#else
#define RKD_COLOR_PIXELS_INL_H_
#endif

#include <array>

#include "color/tileindex.h"
#include "common/bytes-inl.h"
#include "hwy/highway.h"

HWY_BEFORE_NAMESPACE();
namespace rkd::HWY_NAMESPACE {

struct Words {
  V16 half[2];
};

HWY_INLINE Words wordsOf(V8 v) { return {{lower16(v), upper16(v)}}; }
HWY_INLINE V8 bytesOf(const Words& w) { return pack8(w.half[0], w.half[1]); }

// RGB as conversions take it: G, and the differences to it in pairs (G - R, G - B). `pairs` holds
// those of half 0 in its first two vectors, in the order that joinPairs gives and highWords takes.
struct RgbTile {
  V16 pairs[4];
  Words green;
  Words key;  // K of CMYK
};

// YCbCr: pairs of signed bytes (Cb - 128, Cr - 128), in the order of Words.
struct YccTile {
  Words y;
  V16 chroma[2];
  Words key;
};

// ---- pairs of words ----

// Pairs (a, b) of one half's words.
RKD_BLOCK void joinPairs(V16 a, V16 b, V16* pairs) {
#if HWY_TARGET <= HWY_AVX3_DL
  for (int k = 0; k < 2; ++k) pairs[k] = fromTwo(a, b, kTileIndex.pairs[k]);
#else
  pairs[0] = hn::InterleaveLower(D16(), a, b);
  pairs[1] = hn::InterleaveUpper(D16(), a, b);
#endif
}

// One half's words from the upper 16 bits of its two vectors.
RKD_BLOCK V16 highWords(V32 a, V32 b) {
#if HWY_TARGET <= HWY_AVX3_DL
  const D16 d16;
  return fromTwo(hn::BitCast(d16, a), hn::BitCast(d16, b), kTileIndex.high);
#else
  return pack16(hn::ShiftRight<16>(a), hn::ShiftRight<16>(b));
#endif
}

RKD_BLOCK void toDifferences(const Words& r, const Words& g, const Words& b, RgbTile* tile) {
  tile->green = g;
  for (int h = 0; h < 2; ++h) {
    joinPairs(hn::Sub(g.half[h], r.half[h]), hn::Sub(g.half[h], b.half[h]), tile->pairs + 2 * h);
  }
}

// Pairs of signed bytes from Cb and Cr.
HWY_INLINE void toChroma(V8 cb, V8 cr, V16* chroma) {
  const D8 d8;
  const V8 centre = hn::Set(d8, 128);
  cb = hn::Xor(cb, centre);
  cr = hn::Xor(cr, centre);
  chroma[0] = hn::BitCast(D16(), hn::InterleaveLower(d8, cb, cr));
  chroma[1] = hn::BitCast(D16(), hn::InterleaveUpper(d8, cb, cr));
}

// ---- places: at(b, h) is the first byte of half h of group b. kIsRow: all pixels follow one
// another; kIsJoined: those of a group do ----

template <int kBytes, class Byte>
struct RowPlace {
  static constexpr bool kIsRow = true, kIsJoined = true;
  Byte* first;
  HWY_INLINE Byte* at(int group, int half) const {
    return first + (16 * group + 8 * half) * kBytes;
  }
};

template <int kBytes, class Sample>
HWY_INLINE auto rowPlace(Sample* row, size_t x) {
  using Byte = std::conditional_t<std::is_const_v<Sample>, const uint8_t, uint8_t>;
  return RowPlace<kBytes, Byte>{reinterpret_cast<Byte*>(row) + kBytes * x};
}

// Pixels of two bytes: a half is one block.
template <class Place>
RKD_BLOCK void loadWords(const Place& place, V16* half) {
  const D8 d8;
  if constexpr (Place::kIsRow) {
    const V16 a = hn::BitCast(D16(), hn::LoadU(d8, place.first));
    const V16 b = hn::BitCast(D16(), hn::LoadU(d8, place.first + kTile));
    half[0] = evenBlocks(a, b);
    half[1] = oddBlocks(a, b);
  } else {
    for (int h = 0; h < 2; ++h) {
      half[h] = hn::BitCast(D16(), joinBlocks([&](int group) HWY_ATTR {
                              return hn::LoadU(hn::Full128<uint8_t>(), place.at(group, h));
                            }));
    }
  }
}

template <class Place>
RKD_BLOCK void storeWords(const V16* half, const Place& place) {
  const D8 d8;
  if constexpr (Place::kIsRow) {
    V16 a, b;
    zipBlocks(half[0], half[1], &a, &b);
    hn::StoreU(hn::BitCast(d8, a), d8, place.first);
    hn::StoreU(hn::BitCast(d8, b), d8, place.first + kTile);
  } else {
    for (int h = 0; h < 2; ++h) {
      eachBlock(hn::BitCast(d8, half[h]), [&](int group, Block128 v) HWY_ATTR {
        hn::StoreU(v, hn::Full128<uint8_t>(), place.at(group, h));
      });
    }
  }
}

// ---- interleaved pixels of C = 3 or 4 bytes. Reversed: the first channel is B, the third R. Four
// channels are C, M, Y and K, the first three the complements of R, G, B ----

// The channel that is byte i of a quad. A quad has four bytes a pixel: R, G, B, G.
constexpr int quadChannel(int i, bool isReversed) {
  return i % 2 == 1 ? 1 : (i == 0) == isReversed ? 2 : 0;
}

// For blocks of four pixels that start at byte 0, or at byte 4 in the second 16 of a half's 24.
template <int C, bool kIsReversed>
inline constexpr auto kQuadIndex = [] {
  struct {
    alignas(16) uint8_t quad[2][16];
    alignas(16) uint8_t channel[4][2][16];  // as words, the first or the last four of a half
  } index{};
  for (int k = 0; k < 2; ++k) {
    const int start = C == 3 ? 4 * k : 0;
    for (int i = 0; i < 16; ++i) {
      index.quad[k][i] = static_cast<uint8_t>(start + i / 4 * C + quadChannel(i % 4, kIsReversed));
      for (int n = 0; n < C; ++n) {
        const bool isByte = i % 2 == 0 && i / 8 == k;
        index.channel[n][k][i] = static_cast<uint8_t>(isByte ? start + i / 2 % 4 * C + n : 0x80);
      }
    }
  }
  return index;
}();

// (G - R, G - B) from quads.
template <int C>
HWY_INLINE V16 quadDifferences(V8 quads) {
  const D8 d8;
  const V16 weights = hn::Set(D16(), C == 4 ? -255 : 511);  // bytes 1, -1 and -1, 1
  return byteProducts(quads, hn::BitCast(d8, weights));
}

#if HWY_TARGET > HWY_SSSE3
// Without byte shuffles pixels are taken one by one.
template <int C, bool kIsReversed>
struct PixelVectors {
  const uint8_t* half[2];
  template <class Place>
  explicit PixelVectors(const Place& place) : half{place.at(0, 0), place.at(0, 1)} {}
  V16 channel(int n, int h) const {
    LaneArray<V16> words;
    for (int i = 0; i < 8; ++i) words[i] = half[h][C * i + n];
    return vectorOf<V16>(words);
  }
  void differences(V16* pairs) const {
    for (int k = 0; k < 4; ++k) {
      LaneArray<V16> lanes;
      for (int i = 0; i < 4; ++i) {
        const uint8_t* pixel = half[k / 2] + C * (k % 2 * 4 + i);
        for (int n = 0; n < 2; ++n) {
          const int difference = pixel[1] - pixel[quadChannel(2 * n, kIsReversed)];
          lanes[2 * i + n] = static_cast<int16_t>(C == 4 ? -difference : difference);
        }
      }
      pairs[k] = vectorOf<V16>(lanes);
    }
  }
};
#elif HWY_TARGET <= HWY_AVX3_DL
// Quads v[2 * h + j], of half h of groups 2 * j and 2 * j + 1: from two groups' bytes in a vector
// each, or, in a row, from vectors j and j + 1 of three.
template <bool kIsReversed>
inline constexpr auto kQuadIndex3 = [] {
  struct {
    alignas(64) uint8_t half[2][64];
    alignas(64) uint8_t row[4][64];
  } index{};
  for (int i = 0; i < 64; ++i) {
    const int group = i / 32;
    for (int h = 0; h < 2; ++h) {
      const int byte = 3 * (i / 4 % 8 + 8 * h) + quadChannel(i % 4, kIsReversed);
      index.half[h][i] = static_cast<uint8_t>(64 * group + byte);
      for (int j = 0; j < 2; ++j) {
        index.row[2 * h + j][i] = static_cast<uint8_t>(48 * (2 * j + group) + byte - 64 * j);
      }
    }
  }
  return index;
}();

// v: quads of three-channel pixels; pixels of four channels as they are.
template <int C, bool kIsReversed>
struct PixelVectors {
  V8 v[4];

  template <class Place>
  HWY_INLINE explicit PixelVectors(const Place& place) {
    if constexpr (C == 4) {
      for (int k = 0; k < 4; ++k) {
        const hn::Full256<uint8_t> d256;
        v[k] = hn::Combine(D8(), hn::LoadU(d256, place.at(k % 2 * 2 + 1, k / 2)),
                           hn::LoadU(d256, place.at(k % 2 * 2, k / 2)));
      }
    } else if constexpr (Place::kIsRow) {
      V8 bytes[3];
      for (int i = 0; i < 3; ++i) bytes[i] = hn::LoadU(D8(), place.first + 64 * i);
      for (int k = 0; k < 4; ++k) {
        v[k] = fromTwo(bytes[k % 2], bytes[k % 2 + 1], kQuadIndex3<kIsReversed>.row[k]);
      }
    } else {
      for (int k = 0; k < 4; ++k) {
        const int group = k % 2 * 2, h = k / 2;
        v[k] = fromTwo(loadGroup(place, group, h), loadGroup(place, group + 1, h),
                       kQuadIndex3<kIsReversed>.half[Place::kIsJoined ? h : 0]);
      }
    }
  }
  // A group's 48 bytes, or 24 of one half.
  template <class Place>
  static HWY_INLINE V8 loadGroup(const Place& place, int group, int h) {
    if constexpr (Place::kIsJoined) return load48<V8>(place.at(group, 0));
    return load24<V8>(place.at(group, h));
  }

  HWY_INLINE V16 channel(int n, int h) const {
    constexpr uint64_t kLowBytes = 0x5555555555555555;
    const int position = C == 4 || !kIsReversed || n == 1 ? n : 2 - n;
    return hn::BitCast(
        D16(), fromTwoOrZero<kLowBytes>(v[2 * h], v[2 * h + 1], kTileIndex.channel[position]));
  }
  HWY_INLINE void differences(V16* pairs) const {
    for (int k = 0; k < 4; ++k) pairs[k] = quadDifferences<C>(quad(k));
  }

 private:
  HWY_INLINE V8 quad(int k) const {
    if constexpr (C == 3) return v[k];
    return hn::TableLookupBytes(v[k], hn::LoadDup128(D8(), kQuadIndex<4, kIsReversed>.quad[0]));
  }
};
#else
template <int C, bool kIsReversed>
struct PixelVectors {
  // v[2 * h + k]: 16 bytes of every group that hold pixels 4 * k .. 4 * k + 3 of its half h.
  V8 v[4];

  template <class Place>
  HWY_INLINE explicit PixelVectors(const Place& place) {
    for (int k = 0; k < 4; ++k) {
      v[k] = joinBlocks([&](int group) HWY_ATTR {
        return hn::LoadU(hn::Full128<uint8_t>(),
                         place.at(group, k / 2) + k % 2 * (C == 3 ? 8 : 16));
      });
    }
  }
  HWY_INLINE V16 channel(int n, int h) const {
    const D8 d8;
    const auto& index = kQuadIndex<C, kIsReversed>.channel[n];
    return hn::BitCast(D16(),
                       hn::Or(hn::TableLookupBytesOr0(v[2 * h], hn::LoadDup128(d8, index[0])),
                              hn::TableLookupBytesOr0(v[2 * h + 1], hn::LoadDup128(d8, index[1]))));
  }
  HWY_INLINE void differences(V16* pairs) const {
    for (int k = 0; k < 4; ++k) {
      const auto index = hn::LoadDup128(D8(), kQuadIndex<C, kIsReversed>.quad[k % 2]);
      pairs[k] = quadDifferences<C>(hn::TableLookupBytes(v[k], index));
    }
  }
};
#endif

// Words of channels to three interleaved bytes.
#if HWY_TARGET <= HWY_AVX3_DL
// From [8 first, 8 second] of one half of all groups, and [8 third of half 0, 8 of half 1]: 24
// bytes of groups 2 * j and 2 * j + 1, 32 apart.
inline constexpr auto kMergeIndex3 = [] {
  struct {
    alignas(64) uint8_t half[2][2][64];
  } index{};
  for (int i = 0; i < 64; ++i) {
    const int pixel = i % 32 / 3 % 8, n = i % 32 % 3;
    for (int h = 0; h < 2; ++h) {
      for (int j = 0; j < 2; ++j) {
        const int block = 16 * (2 * j + i / 32);
        index.half[h][j][i] = static_cast<uint8_t>(block + pixel + (n < 2 ? 8 * n : 64 + 8 * h));
      }
    }
  }
  return index;
}();

template <class Place>
HWY_INLINE void storeThree(const Words& first, const Words& second, const Words& third,
                           const Place& place) {
  const V8 last = bytesOf(third);
  for (int h = 0; h < 2; ++h) {
    const V8 both = pack8(first.half[h], second.half[h]);
    for (int j = 0; j < 2; ++j) {
      const V8 bytes = fromTwo(both, last, kMergeIndex3.half[h][j]);
      store24(bytes, place.at(2 * j, h), place.at(2 * j + 1, h));
    }
  }
}
#elif HWY_TARGET > HWY_SSSE3
template <class Place>
inline void storeThree(const Words& first, const Words& second, const Words& third,
                       const Place& place) {
  const LaneArray<V8> channel[3] = {lanesOf(bytesOf(first)), lanesOf(bytesOf(second)),
                                    lanesOf(bytesOf(third))};
  for (int i = 0; i < 16; ++i) {
    uint8_t* to = place.at(0, i / 8) + 3 * (i % 8);
    for (int n = 0; n < 3; ++n) to[n] = channel[n][i];
  }
}
#else
// Chunk k is bytes 16 * k .. 16 * k + 15 of a group's 48, from [8 first, 8 second] of either half
// and [16 third].
struct MergeIndex3 {
  alignas(16) uint8_t half[2][3][16];
  alignas(16) uint8_t third[3][16];
};
inline constexpr MergeIndex3 kMergeIndex3 = [] {
  MergeIndex3 index{};
  for (int k = 0; k < 3; ++k) {
    for (int i = 0; i < 16; ++i) {
      const int pixel = (16 * k + i) / 3, n = (16 * k + i) % 3;
      for (int h = 0; h < 2; ++h) {
        const bool isHere = n < 2 && pixel / 8 == h;
        index.half[h][k][i] = static_cast<uint8_t>(isHere ? 8 * n + pixel % 8 : 0x80);
      }
      index.third[k][i] = static_cast<uint8_t>(n == 2 ? pixel : 0x80);
    }
  }
  return index;
}();

template <class Place>
RKD_BLOCK void storeThree(const Words& first, const Words& second, const Words& third,
                          const Place& place) {
  const D8 d8;
  const hn::Full128<uint8_t> d128;
  const V8 last = bytesOf(third);
  const V8 both[2] = {pack8(first.half[0], second.half[0]), pack8(first.half[1], second.half[1])};
  for (int k = 0; k < 3; ++k) {
    V8 chunk = hn::TableLookupBytesOr0(last, hn::LoadDup128(d8, kMergeIndex3.third[k]));
    for (int h = k / 2; h < (k + 3) / 2; ++h) {
      const auto index = hn::LoadDup128(d8, kMergeIndex3.half[h][k]);
      chunk = hn::Or(chunk, hn::TableLookupBytesOr0(both[h], index));
    }
    eachBlock(chunk, [&](int group, Block128 v) HWY_ATTR {
      if (k == 0) {
        hn::StoreU(v, d128, place.at(group, 0));
      } else if (k == 2) {
        hn::StoreU(v, d128, place.at(group, 1) + 8);
      } else if (Place::kIsJoined) {
        hn::StoreU(v, d128, place.at(group, 0) + 16);
      } else {
        storeHalves(v, place.at(group, 0) + 16, place.at(group, 1));
      }
    });
  }
}
#endif

// ---- pixel formats: kPlanes pointers to Sample, kSamples a pixel. load and store take rows and
// the tile's first pixel; those with a Place take pixels that lie anywhere ----

template <int C, bool kIsReversed>
struct Interleaved {
  using Sample = uint8_t;
  static constexpr int kPlanes = 1, kSamples = C;

  template <class Place>
  static RKD_BLOCK void load(const Place& place, RgbTile* tile) {
    const PixelVectors<C, kIsReversed> pixels(place);
    pixels.differences(tile->pairs);
    const V16 all = hn::Set(D16(), 255);
    for (int h = 0; h < 2; ++h) {
      const V16 green = pixels.channel(1, h);
      tile->green.half[h] = C == 4 ? hn::Sub(all, green) : green;
      if constexpr (C == 4) tile->key.half[h] = pixels.channel(3, h);
    }
  }
  static HWY_INLINE void load(const uint8_t* const* from, size_t x, RgbTile* tile) {
    load(rowPlace<C>(from[0], x), tile);
  }
  template <class Place>
  static RKD_BLOCK void loadChannels(const Place& place, Words* c) {
    const PixelVectors<C, kIsReversed> pixels(place);
    for (int n = 0; n < C; ++n) c[n] = {{pixels.channel(n, 0), pixels.channel(n, 1)}};
  }

  template <class Place>
  static RKD_BLOCK void store(const Words* c, const Place& place) {
    constexpr int kFirst = kIsReversed ? 2 : 0;
    if constexpr (C == 3 && !Place::kIsRow) {
      storeThree(c[kFirst], c[1], c[2 - kFirst], place);
    } else {
      V8 plane[C];
      for (int n = 0; n < C; ++n) plane[n] = bytesOf(c[kIsReversed ? 2 - n : n]);
      if constexpr (C == 4) {
        for (int n = 0; n < 3; ++n) plane[n] = hn::Not(plane[n]);
      }
      if constexpr (Place::kIsRow) {
        storePixels<C>(plane, place.first);
      } else {
        storeFour(plane, place);
      }
    }
  }
  static HWY_INLINE void store(const Words* c, uint8_t* const* to, size_t x) {
    store(c, rowPlace<C>(to[0], x));
  }

 private:
  template <class Place>
  static HWY_INLINE void storeFour(const V8* plane, const Place& place) {
    V8 chunk[4];
    planesToChunks4(plane, chunk);
    for (int k = 0; k < 4; ++k) {
      eachBlock(chunk[k], [&](int group, Block128 v) HWY_ATTR {
        hn::StoreU(v, hn::Full128<uint8_t>(), place.at(group, k / 2) + k % 2 * 16);
      });
    }
  }
};
using Rgb = Interleaved<3, false>;
using Bgr = Interleaved<3, true>;
using Cmyk = Interleaved<4, false>;

// Planes of R, G, B, or of C, M, Y, K.
template <int P>
struct RgbPlanes {
  using Sample = uint8_t;
  static constexpr int kPlanes = P, kSamples = 1;
  static RKD_BLOCK void load(const uint8_t* const* from, size_t x, RgbTile* tile) {
    V8 c[3];
    for (int p = 0; p < 3; ++p) {
      c[p] = hn::LoadU(D8(), from[p] + x);
      if constexpr (P == 4) c[p] = hn::Not(c[p]);
    }
    toDifferences(wordsOf(c[0]), wordsOf(c[1]), wordsOf(c[2]), tile);
    if constexpr (P == 4) tile->key = wordsOf(hn::LoadU(D8(), from[3] + x));
  }
  static HWY_INLINE void store(const Words* c, uint8_t* const* to, size_t x) {
    for (int p = 0; p < P; ++p) {
      const V8 bytes = bytesOf(c[p]);
      hn::StoreU(P == 4 && p < 3 ? hn::Not(bytes) : bytes, D8(), to[p] + x);
    }
  }
};

// Planes of Y, of Y, Cb, Cr, or of Y, Cb, Cr, K.
template <int P>
struct YccPlanes {
  using Sample = uint8_t;
  static constexpr int kPlanes = P, kSamples = 1;
  static HWY_INLINE void load(const uint8_t* const* from, size_t x, YccTile* tile) {
    const D8 d8;
    tile->y = wordsOf(hn::LoadU(d8, from[0] + x));
    toChroma(hn::LoadU(d8, from[1] + x), hn::LoadU(d8, from[2] + x), tile->chroma);
    if constexpr (P == 4) tile->key = wordsOf(hn::LoadU(d8, from[3] + x));
  }
  static HWY_INLINE void store(const Words* c, uint8_t* const* to, size_t x) {
    for (int p = 0; p < P; ++p) hn::StoreU(bytesOf(c[p]), D8(), to[p] + x);
  }
};

// Y Cb Y Cr: both pixels of a pair get its Cb and Cr.
struct Yuyv {
  using Sample = uint8_t;
  static constexpr int kPlanes = 1, kSamples = 2;
  static HWY_INLINE void load(const uint8_t* const* from, size_t x, YccTile* tile) {
    alignas(16) static constexpr uint8_t kTwice[16] = {1, 3,  1, 3,  5,  7,  5,  7,
                                                       9, 11, 9, 11, 13, 15, 13, 15};
    const D8 d8;
    V16 half[2];
    loadWords(rowPlace<2>(from[0], x), half);
    for (int h = 0; h < 2; ++h) {
      tile->y.half[h] = hn::And(half[h], hn::Set(D16(), 255));
      const V8 pairs = hn::TableLookupBytes(hn::BitCast(d8, half[h]), hn::LoadDup128(d8, kTwice));
      tile->chroma[h] = hn::BitCast(D16(), hn::Xor(pairs, hn::Set(d8, 128)));
    }
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
  template <class Place>
  static RKD_BLOCK void load(const Place& place, RgbTile* tile) {
    V16 half[2];
    loadWords(place, half);
    Words top, green, low;
    for (int h = 0; h < 2; ++h) {
      const VU16 pixels = hn::BitCast(DU16(), half[h]);
      top.half[h] = field<kTop, 5>(pixels);
      green.half[h] = field<5, GreenBits>(pixels);
      low.half[h] = field<0, 5>(pixels);
    }
    toDifferences(BlueFirst ? low : top, green, BlueFirst ? top : low, tile);
  }
  static HWY_INLINE void load(const uint16_t* const* from, size_t x, RgbTile* tile) {
    load(rowPlace<2>(from[0], x), tile);
  }
  template <class Place>
  static RKD_BLOCK void store(const Words* c, const Place& place) {
    const Words& top = c[BlueFirst ? 2 : 0];
    const Words& low = c[BlueFirst ? 0 : 2];
    V16 half[2];
    for (int h = 0; h < 2; ++h) {
      const VU16 t = hn::ShiftLeft<kTop>(hn::ShiftRight<3>(clamped(top.half[h])));
      const VU16 g = hn::ShiftLeft<5>(hn::ShiftRight<8 - GreenBits>(clamped(c[1].half[h])));
      const VU16 l = hn::ShiftRight<3>(clamped(low.half[h]));
      half[h] = hn::BitCast(D16(), hn::Or(hn::Or(t, g), l));
    }
    storeWords(half, place);
  }
  static HWY_INLINE void store(const Words* c, uint16_t* const* to, size_t x) {
    store(c, rowPlace<2>(to[0], x));
  }

 private:
  static HWY_INLINE VU16 clamped(V16 v) {
    const D16 d16;
    return hn::BitCast(DU16(), hn::Min(hn::Max(v, hn::Zero(d16)), hn::Set(d16, 255)));
  }
};
using Rgb555 = Packed<5, false>;
using Bgr555 = Packed<5, true>;
using Rgb565 = Packed<6, false>;
using Bgr565 = Packed<6, true>;

}  // namespace rkd::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif  // per-target guard
