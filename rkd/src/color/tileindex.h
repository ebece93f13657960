// Permutes of tiles of pixels, as data: for levels that permute bytes of two whole vectors.
#pragma once

#include <cstdint>

namespace rkd {

// Byte and word permutes between Words and vectors of 16 pixels: those of one half of two groups.
struct TileIndex {
  alignas(64) uint16_t pairs[2][32];
  alignas(64) uint16_t high[32];
  alignas(64) uint8_t channel[4][64];
};
inline constexpr TileIndex kTileIndex = [] {
  TileIndex index{};
  for (int i = 0; i < 32; ++i) {
    const int part = i / 16 * 32;
    index.high[i] = static_cast<uint16_t>(2 * (i % 16) + 1 + part);
    for (int k = 0; k < 2; ++k) {
      index.pairs[k][i] = static_cast<uint16_t>(16 * k + i / 2 + i % 2 * 32);
    }
    for (int n = 0; n < 4; ++n) {
      index.channel[n][2 * i] = static_cast<uint8_t>(4 * (i % 16) + n + 2 * part);
    }
  }
  return index;
}();

}  // namespace rkd
