/// @file
/// What tests of the Huffman coders share: the standard tables, blocks like those of pictures, and
/// the two implementations under one name each.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <vector>

#include "base/owner.h"
#include "hex.h"
#include "ref_huffman.h"
#include "rkd/rkdjpeg_huffman.h"
#include "rkdkit.h"

namespace huffkit {

using Block = std::array<int16_t, 64>;
using Bytes = std::vector<uint8_t>;

inline constexpr std::array<uint8_t, 64> zigzag = {
    0,  1,  8,  16, 9,  2,  3,  10, 17, 24, 32, 25, 18, 11, 4,  5,  12, 19, 26, 33, 40, 48,
    41, 34, 27, 20, 13, 6,  7,  14, 21, 28, 35, 42, 49, 56, 57, 50, 43, 36, 29, 22, 15, 23,
    30, 37, 44, 51, 58, 59, 52, 45, 38, 31, 39, 46, 53, 60, 61, 54, 47, 55, 62, 63};

/// The two lists of a DHT segment.
struct Table {
  std::array<uint8_t, 16> bits;
  std::array<uint8_t, 256> values;
};

inline const Table dcLuma = {{0, 1, 5, 1, 1, 1, 1, 1, 1}, {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11}};

inline const Table acLuma = {
    {0, 2, 1, 3, 3, 2, 4, 3, 5, 5, 4, 4, 0, 0, 1, 125},
    {0x01, 0x02, 0x03, 0x00, 0x04, 0x11, 0x05, 0x12, 0x21, 0x31, 0x41, 0x06, 0x13, 0x51, 0x61,
     0x07, 0x22, 0x71, 0x14, 0x32, 0x81, 0x91, 0xA1, 0x08, 0x23, 0x42, 0xB1, 0xC1, 0x15, 0x52,
     0xD1, 0xF0, 0x24, 0x33, 0x62, 0x72, 0x82, 0x09, 0x0A, 0x16, 0x17, 0x18, 0x19, 0x1A, 0x25,
     0x26, 0x27, 0x28, 0x29, 0x2A, 0x34, 0x35, 0x36, 0x37, 0x38, 0x39, 0x3A, 0x43, 0x44, 0x45,
     0x46, 0x47, 0x48, 0x49, 0x4A, 0x53, 0x54, 0x55, 0x56, 0x57, 0x58, 0x59, 0x5A, 0x63, 0x64,
     0x65, 0x66, 0x67, 0x68, 0x69, 0x6A, 0x73, 0x74, 0x75, 0x76, 0x77, 0x78, 0x79, 0x7A, 0x83,
     0x84, 0x85, 0x86, 0x87, 0x88, 0x89, 0x8A, 0x92, 0x93, 0x94, 0x95, 0x96, 0x97, 0x98, 0x99,
     0x9A, 0xA2, 0xA3, 0xA4, 0xA5, 0xA6, 0xA7, 0xA8, 0xA9, 0xAA, 0xB2, 0xB3, 0xB4, 0xB5, 0xB6,
     0xB7, 0xB8, 0xB9, 0xBA, 0xC2, 0xC3, 0xC4, 0xC5, 0xC6, 0xC7, 0xC8, 0xC9, 0xCA, 0xD2, 0xD3,
     0xD4, 0xD5, 0xD6, 0xD7, 0xD8, 0xD9, 0xDA, 0xE1, 0xE2, 0xE3, 0xE4, 0xE5, 0xE6, 0xE7, 0xE8,
     0xE9, 0xEA, 0xF1, 0xF2, 0xF3, 0xF4, 0xF5, 0xF6, 0xF7, 0xF8, 0xF9, 0xFA}};

/// Every symbol: 254 codes of 8 bits and two of 9, as nothing shorter leaves room for all.
inline Table everySymbol() {
  Table table{};
  table.bits[7] = 254;
  table.bits[8] = 2;
  for (int i = 0; i < 256; ++i) table.values[i] = uint8_t(i);
  return table;
}

/// A code for every symbol with lengths from 1 to 16 bits, longest for those that `order` puts
/// last.
inline Table longCodes(rkdkit::Random& random) {
  std::array<int, 256> statistics{};
  for (int i = 0; i < 256; ++i) statistics[i] = 1 << random.between(0, 24);
  Table table{};
  ref::rkdiEncodeHuffmanRawTableInit_JPEG_8u(statistics.data(), table.bits.data(),
                                             table.values.data());
  return table;
}

/// A block with about `density` of its AC coefficients non-zero, most of them small.
inline Block randomBlock(rkdkit::Random& random, double density, int largest) {
  Block block{};
  const auto value = [&] {
    const int size = random.between(0, 3) == 0 ? largest : std::min(largest, 3);
    int v = 0;
    while (v == 0) v = random.between(-size, size);
    return int16_t(v);
  };
  block[0] = int16_t(random.between(-largest, largest));
  for (int k = 1; k < 64; ++k) {
    if (random.between(0, 9999) < density * 10000) block[zigzag[k]] = value();
  }
  return block;
}

/// Blocks of all kinds: empty, sparse, full, and some whose last coefficient is set.
inline std::vector<Block> randomBlocks(rkdkit::Random& random, int count, int largest = 1000) {
  const std::array<double, 6> densities = {0, 0.02, 0.13, 0.25, 0.6, 1};
  std::vector<Block> blocks;
  for (int i = 0; i < count; ++i) {
    blocks.push_back(randomBlock(random, densities[size_t(random.between(0, 5))], largest));
    if (random.between(0, 7) == 0) blocks.back()[63] = 1;
  }
  return blocks;
}

/// One name for each function of an implementation, so that a case is written once for both.
#define HUFFKIT_FUNCTIONS(Scope)                                                                 \
  using EncodeSpec = Scope::RkdiEncodeHuffmanSpec;                                               \
  using DecodeSpec = Scope::RkdiDecodeHuffmanSpec;                                               \
  using EncodeState = Scope::RkdiEncodeHuffmanState;                                             \
  using DecodeState = Scope::RkdiDecodeHuffmanState;                                             \
  static constexpr auto encodeSpecSize = Scope::rkdiEncodeHuffmanSpecGetBufSize_JPEG_8u;         \
  static constexpr auto encodeSpecInit = Scope::rkdiEncodeHuffmanSpecInit_JPEG_8u;               \
  static constexpr auto decodeSpecSize = Scope::rkdiDecodeHuffmanSpecGetBufSize_JPEG_8u;         \
  static constexpr auto decodeSpecInit = Scope::rkdiDecodeHuffmanSpecInit_JPEG_8u;               \
  static constexpr auto encodeStateSize = Scope::rkdiEncodeHuffmanStateGetBufSize_JPEG_8u;       \
  static constexpr auto encodeStateInit = Scope::rkdiEncodeHuffmanStateInit_JPEG_8u;             \
  static constexpr auto decodeStateSize = Scope::rkdiDecodeHuffmanStateGetBufSize_JPEG_8u;       \
  static constexpr auto decodeStateInit = Scope::rkdiDecodeHuffmanStateInit_JPEG_8u;             \
  static constexpr auto reached = Scope::rkdiDecodeHuffmanStateGetReached_JPEG_8u;               \
  static constexpr auto rawTable = Scope::rkdiEncodeHuffmanRawTableInit_JPEG_8u;                 \
  static constexpr auto encode = Scope::rkdiEncodeHuffman8x8_JPEG_16s1u_C1;                      \
  static constexpr auto decode = Scope::rkdiDecodeHuffman8x8_JPEG_1u16s_C1;                      \
  static constexpr auto encodeDirect = Scope::rkdiEncodeHuffman8x8_Direct_JPEG_16s1u_C1;         \
  static constexpr auto decodeDirect = Scope::rkdiDecodeHuffman8x8_Direct_JPEG_1u16s_C1;         \
  static constexpr auto encodeOne = Scope::rkdiEncodeHuffmanOne_JPEG_16s1u_C1;                   \
  static constexpr auto decodeOne = Scope::rkdiDecodeHuffmanOne_JPEG_1u16s_C1;                   \
  static constexpr auto encodeRow = Scope::rkdiEncodeHuffmanRow_JPEG_16s1u_P4C1;                 \
  static constexpr auto decodeRow = Scope::rkdiDecodeHuffmanRow_JPEG_1u16s_C1P4;                 \
  static constexpr auto count = Scope::rkdiGetHuffmanStatistics8x8_JPEG_16s_C1;                  \
  static constexpr auto countRow = Scope::rkdiGetHuffmanStatisticsRow_JPEG_16s_P4;               \
  static constexpr auto countDCFirst = Scope::rkdiGetHuffmanStatistics8x8_DCFirst_JPEG_16s_C1;   \
  static constexpr auto countACFirst = Scope::rkdiGetHuffmanStatistics8x8_ACFirst_JPEG_16s_C1;   \
  static constexpr auto countACRefine = Scope::rkdiGetHuffmanStatistics8x8_ACRefine_JPEG_16s_C1; \
  static constexpr auto encodeDCFirst = Scope::rkdiEncodeHuffman8x8_DCFirst_JPEG_16s1u_C1;       \
  static constexpr auto encodeDCRefine = Scope::rkdiEncodeHuffman8x8_DCRefine_JPEG_16s1u_C1;     \
  static constexpr auto encodeACFirst = Scope::rkdiEncodeHuffman8x8_ACFirst_JPEG_16s1u_C1;       \
  static constexpr auto encodeACRefine = Scope::rkdiEncodeHuffman8x8_ACRefine_JPEG_16s1u_C1;     \
  static constexpr auto decodeDCFirst = Scope::rkdiDecodeHuffman8x8_DCFirst_JPEG_1u16s_C1;       \
  static constexpr auto decodeDCRefine = Scope::rkdiDecodeHuffman8x8_DCRefine_JPEG_1u16s_C1;     \
  static constexpr auto decodeACFirst = Scope::rkdiDecodeHuffman8x8_ACFirst_JPEG_1u16s_C1;       \
  static constexpr auto decodeACRefine = Scope::rkdiDecodeHuffman8x8_ACRefine_JPEG_1u16s_C1;
struct Library {
  HUFFKIT_FUNCTIONS()
  static constexpr size_t misalignment = 3;
};
struct Reference {
  HUFFKIT_FUNCTIONS(ref)
  static constexpr size_t misalignment = 0;
};
#undef HUFFKIT_FUNCTIONS

/// An object of either implementation; the library's begins at an odd address, as any will do.
template <class Coder, class T>
struct Object : base::Placed<T, Coder::misalignment> {
  template <class... Arguments>
  explicit Object(Arguments... arguments) {
    EXPECT_EQ(rkdStsNoErr, this->make(arguments...));
  }
};

template <class Coder>
struct EncodeSpec : Object<Coder, typename Coder::EncodeSpec> {
  explicit EncodeSpec(const Table& table)
      : Object<Coder, typename Coder::EncodeSpec>(Coder::encodeSpecSize, Coder::encodeSpecInit,
                                                  table.bits.data(), table.values.data()) {}
};
template <class Coder>
struct DecodeSpec : Object<Coder, typename Coder::DecodeSpec> {
  explicit DecodeSpec(const Table& table)
      : Object<Coder, typename Coder::DecodeSpec>(Coder::decodeSpecSize, Coder::decodeSpecInit,
                                                  table.bits.data(), table.values.data()) {}
};
template <class Coder>
struct EncodeState : Object<Coder, typename Coder::EncodeState> {
  EncodeState()
      : Object<Coder, typename Coder::EncodeState>(Coder::encodeStateSize, Coder::encodeStateInit) {
  }
};
template <class Coder>
struct DecodeState : Object<Coder, typename Coder::DecodeState> {
  DecodeState()
      : Object<Coder, typename Coder::DecodeState>(Coder::decodeStateSize, Coder::decodeStateInit) {
  }
};

/// How far the last call that failed came.
template <class Coder>
int reached(const DecodeState<Coder>& state) {
  int reached = -1;
  EXPECT_EQ(rkdStsNoErr, Coder::reached(&reached, state.get()));
  return reached;
}

/// A stream being written: longer than needed, every byte a canary until it is coded.
struct Out {
  explicit Out(size_t length = 1 << 16) : bytes(length, 0xA5) {}
  uint8_t* data() { return bytes.data(); }
  int length() const { return int(bytes.size()); }
  Bytes coded() const { return {bytes.begin(), bytes.begin() + position}; }
  bool operator==(const Out&) const = default;
  Bytes bytes;
  int position = 0;
};

/// A stream being read, in memory of exactly its size, so that a sanitizer sees any step outside.
struct In {
  explicit In(const Bytes& coded) : bytes(coded) { bytes.shrink_to_fit(); }
  const uint8_t* data() const { return bytes.data(); }
  int length() const { return int(bytes.size()); }
  Bytes bytes;
  int position = 0;
  int marker = -1;
};

/// Blocks given by their non-zero coefficients: zigzag index, value.
inline Block sparse(std::initializer_list<std::pair<int, int>> coefficients) {
  Block block{};
  for (const auto& [k, value] : coefficients) block[zigzag[size_t(k)]] = int16_t(value);
  return block;
}

/// Blocks on both sides of what an encoder may handle together: numbers of coefficients, values,
/// runs of zeros, differences of the DC.
inline std::vector<Block> blocksAtLimits() {
  std::vector<Block> blocks;
  const auto add = [&](Block block) {
    block[0] = int16_t(std::array{0, 127, -1, 127, 0, -128, 1}[blocks.size() % 7]);
    blocks.push_back(block);
  };
  for (const int value : {1, -1, 126, -126, 127, -127, 128, -128, 255, -255}) {
    for (const int count : {1, 2, 15, 16, 29, 30, 31, 32, 33, 62, 63}) {
      Block first{}, last{};
      for (int k = 1; k <= count; ++k) {
        first[zigzag[size_t(k)]] = int16_t(value);
        last[zigzag[size_t(64 - k)]] = int16_t(k == count ? value : 1);
      }
      add(first);
      add(last);
    }
    for (const int run : {14, 15, 16, 17, 31, 32, 47, 48, 61}) {
      add(sparse({{run + 1, value}}));
      add(sparse({{1, 1}, {run + 2, value}}));
    }
  }
  return blocks;
}

}  // namespace huffkit
