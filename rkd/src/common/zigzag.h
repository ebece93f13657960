// The zigzag order of 8x8 blocks.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace rkd::huff {

/// Natural index of each zigzag position.
inline constexpr std::array<uint8_t, 64> zigzag = {
    0,  1,  8,  16, 9,  2,  3,  10, 17, 24, 32, 25, 18, 11, 4,  5,  12, 19, 26, 33, 40, 48,
    41, 34, 27, 20, 13, 6,  7,  14, 21, 28, 35, 42, 49, 56, 57, 50, 43, 36, 29, 22, 15, 23,
    30, 37, 44, 51, 58, 59, 52, 45, 38, 31, 39, 46, 53, 60, 61, 54, 47, 55, 62, 63};

/// The same for positions that damaged data lead out of the block: they stay inside it.
inline constexpr std::array<uint8_t, 96> zigzagBounded = [] {
  std::array<uint8_t, 96> bounded{};
  for (size_t k = 0; k < bounded.size(); ++k) bounded[k] = zigzag[k < 64 ? k : 63];
  return bounded;
}();

}  // namespace rkd::huff
