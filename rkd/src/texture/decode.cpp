// Decoders of texture blocks: palettes are made for a group of blocks side by side; then every
// block has its palette in 128 bits, where the indices pick pixels by permutation.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "texture/decode.cpp"
#include "hwy/foreach_target.h"

#include <algorithm>

#include "common/lanes-inl.h"
#include "common/levels.h"
#include "hwy/highway.h"
#include "rkd/rkdjpeg_texture.h"
#include "texture/blocks-inl.h"
#include "texture/texture.h"

#ifndef RKD_TEXTURE_TABLES_
#define RKD_TEXTURE_TABLES_
namespace rkd {
// Bytes of the four pixels that a byte of indices picks from a palette of four.
struct PickTable {
  alignas(16) uint8_t bytes[256][16];
};
inline constexpr PickTable kPick = [] {
  PickTable table{};
  for (int indices = 0; indices < 256; ++indices) {
    for (int i = 0; i < 16; ++i) {
      table.bytes[indices][i] = static_cast<uint8_t>((indices >> (i / 4 * 2) & 3) * 4 + i % 4);
    }
  }
  return table;
}();

// The codes of 3 bits that begin two bytes behind byte 8: where the 16 bits lie that hold a code,
// and the factor that brings it to their top. Eight codes, then eight more.
struct CodeTable {
  alignas(16) uint8_t place[2][16];
  alignas(16) int16_t factor[2][8];
};
inline constexpr CodeTable kCodes = [] {
  CodeTable table{};
  for (int i = 0; i < 16; ++i) {
    const int byte = 10 + 3 * i / 8;
    table.place[i / 8][i % 8 * 2] = static_cast<uint8_t>(byte);
    table.place[i / 8][i % 8 * 2 + 1] = byte == 15 ? 0x80 : static_cast<uint8_t>(byte + 1);
    table.factor[i / 8][i % 8] = static_cast<int16_t>(1 << (13 - 3 * i % 8));
  }
  return table;
}();

// Of 16 bytes, those of a row of four pixels as the pixels' fourth bytes.
struct SpreadTable {
  alignas(16) uint8_t row[4][16];
};
inline constexpr SpreadTable kSpread = [] {
  SpreadTable table{};
  for (int i = 0; i < 64; ++i) {
    table.row[i / 16][i % 16] = i % 4 == 3 ? static_cast<uint8_t>(i / 4) : 0x80;
  }
  return table;
}();
}  // namespace rkd
#endif

HWY_BEFORE_NAMESPACE();
namespace rkd::HWY_NAMESPACE {

using D8 = hn::Repartition<uint8_t, D32>;
using V8 = hn::Vec<D8>;

// Four vectors, one for every quarter of a group: a block has its palette in 128 bits.
struct Palettes {
  V32 quarter[4];
};

// The lower (upper) halves of two vectors.
HWY_INLINE V32 lowerHalves(V16 a, V16 b) {
  return hn::Or(hn::And(whole(a), all(0xFFFF)), hn::ShiftLeft<16>(whole(b)));
}
HWY_INLINE V32 upperHalves(V16 a, V16 b) {
  return hn::Or(shiftRight<16>(whole(a)), hn::AndNot(all(0xFFFF), whole(b)));
}

// Red, green and blue of both ends, and of both colours between.
template <bool kThree>
RKD_BLOCK void paletteOf(V32 ends, Palettes& palettes) {
  const V16 packed = halves(ends);
  const V16 end[3] = {widen<0>(shiftRight<11>(packed)),
                      widen<1>(hn::And(shiftRight<5>(packed), all16(63))),
                      widen<2>(hn::And(packed, all16(31)))};
  const V32 first = hn::And(ends, all(0xFFFF)), second = shiftRight<16>(ends);
  const hn::Mask<D16> four = hn::MaskFromVec(halves(hn::VecFromMask(D32(), hn::Gt(first, second))));
  V16 between[3];
  for (int c = 0; c < 3; ++c) {
    const V16 sum = hn::Add(end[c], hn::Reverse2(D16(), end[c]));
    between[c] = third(hn::Add(sum, end[c]));
    if constexpr (kThree) {
      const V16 middle = halves(shiftRight<17>(hn::ShiftLeft<16>(whole(sum))));
      between[c] = hn::IfThenElse(four, between[c], middle);
    }
  }
  V16 alpha[2] = {all16(0), all16(0)};
  if constexpr (kThree) {
    const V16 opaque = halves(all(static_cast<int>(0xFF00FF00)));
    alpha[0] = opaque;
    alpha[1] = hn::IfThenElse(four, opaque, halves(all(0xFF00)));
  }
  const V16 rg[2] = {hn::Or(end[0], hn::ShiftLeft<8>(end[1])),
                     hn::Or(between[0], hn::ShiftLeft<8>(between[1]))};
  const V16 ba[2] = {hn::Or(end[2], alpha[0]), hn::Or(between[2], alpha[1])};
  palettes = {{lowerHalves(rg[0], ba[0]), upperHalves(rg[0], ba[0]), lowerHalves(rg[1], ba[1]),
               upperHalves(rg[1], ba[1])}};
  auto& q = palettes.quarter;
  transpose4x4(q[0], q[1], q[2], q[3]);
}

// The alphas of codes 0 to 7 in the first eight bytes of a block, the words of codes in the others.
RKD_BLOCK void alphaPaletteOf(const V32* word, Palettes& palettes) {
  const V16 packed = both(word[0]);
  const V16 a0 = hn::And(packed, all16(255)), a1 = shiftRight<8>(packed);
  const hn::Mask<D16> eight = hn::Gt(a0, a1);
  const V16 step = hn::Sub(a1, a0);
  // Codes 2 and 3, 4 and 5, 6 and 7: so many sevenths or fifths of the way.
  V16 value[3];
  const V16 whole7 = hn::Mul(a0, all16(7)), whole5 = hn::Mul(a0, all16(5));
  for (int i = 0; i < 3; ++i) {
    const V16 way = hn::Mul(step, halves(all((2 * i + 2) << 16 | (2 * i + 1))));
    // A seventh or a fifth for all that can come up.
    const V16 sevenths = mulHighUnsigned(hn::Add(whole7, way), all16(9363));
    const V16 fifths =
        i == 2 ? halves(all(255 << 16)) : mulHighUnsigned(hn::Add(whole5, way), all16(13108));
    value[i] = hn::IfThenElse(eight, sevenths, fifths);
  }
  const V16 ends = hn::IfThenElse(hn::MaskFromVec(halves(all(0xFFFF))), a0, a1);
  // A byte each, from the halves of two vectors.
  const auto bytes = [](V16 a, V16 b) HWY_ATTR {
    return hn::Or(lowerHalves(a, b), hn::ShiftLeft<8>(upperHalves(a, b)));
  };
  palettes = {{bytes(ends, value[0]), bytes(value[1], value[2]), word[0], word[1]}};
  auto& q = palettes.quarter;
  transpose4x4(q[0], q[1], q[2], q[3]);
}

// The 16 alphas of every block from its palette and codes.
HWY_INLINE V8 alphas5(V32 palette) {
  const D8 d8;
  const V8 table = hn::BitCast(d8, palette);
  V16 code[2];
  for (int i = 0; i < 2; ++i) {
    const V8 bits = hn::TableLookupBytesOr0(table, hn::LoadDup128(d8, kCodes.place[i]));
    const V16 top = hn::Mul(hn::BitCast(D16(), bits), hn::LoadDup128(D16(), kCodes.factor[i]));
    code[i] = shiftRight<13>(top);
  }
  return hn::TableLookupBytes(table, narrowToBytes(code[0], code[1]));
}

// The same from 16 nibbles, which lie in bytes 0 to 7.
HWY_INLINE V8 alphas3(V32 nibbles) {
  const D8 d8;
  const V32 mask = all(0x0F0F0F0F);
  const V8 even = hn::BitCast(d8, hn::And(nibbles, mask));
  const V8 odd = hn::BitCast(d8, hn::And(hn::ShiftRight<4>(nibbles), mask));
  const V32 alpha = hn::BitCast(D32(), hn::InterleaveLower(d8, even, odd));
  return hn::BitCast(d8, hn::Or(alpha, hn::ShiftLeft<4>(alpha)));
}

// Pixels of row y that the indices pick from the palettes, block by block in 128 bits.
#if HWY_TARGET <= HWY_AVX2
HWY_INLINE V32 pickRow(V32 palette, V32 indices, int y) {
  alignas(64) static constexpr int32_t kShift[16] = {0, 2, 4, 6, 0, 2, 4, 6,
                                                     0, 2, 4, 6, 0, 2, 4, 6};
  const V32 shift = hn::Add(hn::LoadU(D32(), kShift), all(8 * y));
  return pickInBlocks(palette, indices, shift);
}
#else
HWY_INLINE V32 pickRow(V32 palette, V32 indices, int y) {
  const D8 d8;
  const auto row = static_cast<uint32_t>(hn::GetLane(indices)) >> (8 * y) & 255;
  const V8 control = hn::Load(d8, kPick.bytes[row]);
  return hn::BitCast(D32(), hn::TableLookupBytes(hn::BitCast(d8, palette), control));
}
#endif

// The rows of a quarter of a group.
template <int Format>
HWY_INLINE void storeQuarter(V32 palette, V32 indices, V32 alphaPalette, uint8_t* to,
                             ptrdiff_t step) {
  const D8 d8;
  V8 alphas{};
  if constexpr (Format == 3) alphas = alphas3(alphaPalette);
  if constexpr (Format == 5) alphas = alphas5(alphaPalette);
  for (int y = 0; y < 4; ++y) {
    V8 row = hn::BitCast(d8, pickRow(palette, indices, y));
    if constexpr (Format != 1) {
      const V8 spread = hn::LoadDup128(d8, kSpread.row[y]);
      row = hn::Or(row, hn::TableLookupBytesOr0(alphas, spread));
    }
    hn::StoreU(row, d8, to + step * y);
  }
}

// `from` and `to` hold a group's blocks, and a row of its pixels every `step` bytes.
template <int Format>
HWY_INLINE void decodeGroup(const uint8_t* from, uint8_t* to, ptrdiff_t step) {
  constexpr int kWords = blockBytes(Format) / 4;
  V32 word[kWords];
  loadWords<kWords>(from, word);
  Palettes colours, alphas{};
  paletteOf<Format == 1>(word[kWords - 2], colours);
  if constexpr (Format == 3) {
    alphas = {{word[0], word[1], word[0], word[1]}};
    transpose4x4(alphas.quarter[0], alphas.quarter[1], alphas.quarter[2], alphas.quarter[3]);
  } else if constexpr (Format == 5) {
    alphaPaletteOf(word, alphas);
  }
  const V32 indices = word[kWords - 1];
  const V32 spread[4] = {hn::Broadcast<0>(indices), hn::Broadcast<1>(indices),
                         hn::Broadcast<2>(indices), hn::Broadcast<3>(indices)};
  for (int i = 0; i < 4; ++i) {
    storeQuarter<Format>(colours.quarter[i], spread[i], alphas.quarter[i], to + 4 * kGroup * i,
                         step);
  }
}

template <int Format>
HWY_INLINE void decode(const Rows<uint8_t, uint8_t>& r) {
  constexpr int kBytes = blockBytes(Format);
  const int blocks = r.size.width / 4;
  // The last group of a row may be a part of one.
  HWY_ALIGN uint8_t pixels[4 * 16 * kGroup], coded[kBytes * kGroup] = {};
  for (int y = 0; y < r.size.height; y += 4) {
    for (int x = 0; x < blocks; x += kGroup) {
      const int n = std::min(kGroup, blocks - x);
      const bool part = n < kGroup;
      const uint8_t* from = r.srcRow(y / 4) + kBytes * x;
      uint8_t* to = r.dstRow(y) + 16 * x;
      if (part) std::memcpy(coded, from, kBytes * n);
      decodeGroup<Format>(part ? coded : from, part ? pixels : to, part ? 16 * kGroup : r.dstStep);
      for (int i = 0; i < 4 && part; ++i) {
        std::memcpy(r.dstRow(y + i) + 16 * x, pixels + 16 * kGroup * i, 16 * n);
      }
    }
  }
}

void decodeDxt1(const Rows<uint8_t, uint8_t>& r) { decode<1>(r); }
void decodeDxt3(const Rows<uint8_t, uint8_t>& r) { decode<3>(r); }
void decodeDxt5(const Rows<uint8_t, uint8_t>& r) { decode<5>(r); }

}  // namespace rkd::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace rkd {
HWY_EXPORT(decodeDxt1);
HWY_EXPORT(decodeDxt3);
HWY_EXPORT(decodeDxt5);
}  // namespace rkd

using namespace rkd;

#define RKD_DECODE(Format)                                                                        \
  RkdStatus rkdiTextureDecodeBlockToRGBA_DXT##Format##_8u_C1C4R(                                  \
      const uint8_t* src, int srcStep, uint8_t* dst, int dstStep, RkdiSize size) {                \
    return runTexture(RKD_AT_LEVEL(decodeDxt##Format), src, srcStep, blockBytes(Format) / 4, dst, \
                      dstStep, 4, size);                                                          \
  }
RKD_DECODE(1)
RKD_DECODE(3)
RKD_DECODE(5)
#endif  // HWY_ONCE
