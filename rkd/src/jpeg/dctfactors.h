// Factors and word orders of the 8x8 transforms, laid out for vectors of up to 64 bytes; shorter
// ones read the beginning of an entry. They live in memory of another source on purpose: what the
// compiler can see it would load into registers apart, and what it cannot see becomes an operand of
// the multiplication.
#pragma once

#include <cstdint>

namespace rkd {

inline constexpr int kFactorBits = 15;

// cos(k pi / 16) / 2, and for frequency 0 sqrt(1/8): sample x of frequency u, times 2^15.
constexpr int cosine(int u, int x) {
  constexpr double kHalfCosine[9] = {0.35355339059327376, 0.49039264020161522, 0.46193976625564337,
                                     0.41573480615127262, 0.35355339059327376, 0.27778511650980111,
                                     0.19134171618254489, 0.09754516100806413, 0};
  int k = (2 * x + 1) * u % 32;
  if (k > 16) k = 32 - k;
  const double value = k <= 8 ? kHalfCosine[k] : -kHalfCosine[16 - k];
  const double scaled = value * (1 << kFactorBits);
  return static_cast<int>(scaled < 0 ? scaled - 0.5 : scaled + 0.5);
}

// Each 32-bit lane holds the two 16-bit factors of a pair.
struct alignas(64) DctFactors {
  using Lanes = int32_t[8];
  using Words = uint8_t[32];

  // Columns. Each 128-bit block belongs to one row of results: block g to frequency u + g (forward)
  // or sample x + g (inverse). Vectors with W blocks use every W-th entry.
  Lanes forwardColumn[8][2];  // [u][samples 0 1, 2 3]
  Lanes inverseColumn[4][4];  // [x][frequencies 0 2, 4 6, 1 3, 5 7]
  Lanes firstRow;             // all bits of block 0

  // Rows. Lane j of each 128-bit block is result j of a half row. Forward: 0 1 2 3 and 4 5 6 7,
  // whose even frequencies take sums of mirrored samples and odd ones differences.
  Lanes forwardRow[2][2];         // [half][samples 0 1, 2 3]
  Lanes forwardDirect[2][4];      // [half][samples 0 1, 2 3, 4 5, 6 7], without sums
  Lanes inverseRow[4];            // samples 0 1 2 3 of frequencies 0 2, 4 6, 1 3, 5 7
  Lanes inverseFourColumn[2][2];  // to four samples: [x][frequencies 0 2, 1 3] of four
  Lanes inverseFourRow[2];        // samples 0 1 0 1 of frequencies 0 2, 1 3 of four
  Lanes
      twoPoints[2];  // to two samples: signs of frequencies 0 1 of rows 0, 1 in samples 00 01 10 11
  Lanes sums;        // all bits of words 0 1 4 5 of each row: where sums stand

  // Orders of the words of a row, as bytes for table look-up in each 128-bit block.
  Words mirror;       // 7 6 7 6 5 4 5 4
  Words toParity;     // 0 2 4 6 1 3 5 7
  Words fromInverse;  // 0 1 2 3 7 6 5 4
  Words evenOfFour;   // 0 2 0 2 4 6 4 6
  Words oddOfFour;    // 1 3 1 3 5 7 5 7

  // Orders of bytes, for the same.
  Words bytesFromInverse;  // 0 1 2 3 7 6 5 4 twice
  Words bytesFromFour;     // 0 1 5 4, 2 3 7 6, and 8 more

  Lanes firstPair;       // all bits of the first two words of each row
  int16_t butFirst[16];  // all bits of all words but the first
};

extern const DctFactors kDct;

}  // namespace rkd
