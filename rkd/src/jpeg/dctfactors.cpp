// Factors of the transforms, paired for multiply-adds.
#include "jpeg/dctfactors.h"

namespace rkd {
namespace {

constexpr int32_t pairOf(int low, int high) {
  return static_cast<int32_t>((static_cast<uint32_t>(high) << 16) |
                              (static_cast<uint32_t>(low) & 0xFFFF));
}

constexpr int kFirst[4] = {0, 4, 1, 5};  // first frequencies of the pairs u and u + 2

constexpr void setWords(uint8_t (&bytes)[32], int a, int b, int c, int d, int e, int f, int g,
                        int h) {
  const int words[8] = {a, b, c, d, e, f, g, h};
  for (int i = 0; i < 32; ++i) {
    bytes[i] = static_cast<uint8_t>(2 * words[i % 16 / 2] + i % 2);
  }
}

constexpr void setColumns(DctFactors& f, int lane) {
  const int row = lane / 4;
  for (int u = 0; u < 8; ++u) {
    const int frequency = (u + row) % 8;
    for (int p = 0; p < 2; ++p) {
      f.forwardColumn[u][p][lane] = pairOf(cosine(frequency, 2 * p), cosine(frequency, 2 * p + 1));
    }
  }
  for (int x = 0; x < 4; ++x) {
    const int sample = (x + row) % 4;
    for (int p = 0; p < 4; ++p) {
      f.inverseColumn[x][p][lane] =
          pairOf(cosine(kFirst[p], sample), cosine(kFirst[p] + 2, sample));
    }
  }
}

constexpr void setRows(DctFactors& f, int lane) {
  const int j = lane % 4;
  for (int p = 0; p < 4; ++p) {
    f.inverseRow[p][lane] = pairOf(cosine(kFirst[p], j), cosine(kFirst[p] + 2, j));
    for (int half = 0; half < 2; ++half) {
      const int u = 4 * half + j;
      f.forwardDirect[half][p][lane] = pairOf(cosine(u, 2 * p), cosine(u, 2 * p + 1));
      if (p < 2) f.forwardRow[half][p][lane] = f.forwardDirect[half][p][lane];
    }
  }
}

// Four points: every other frequency of eight.
constexpr void setFour(DctFactors& f, int lane) {
  for (int p = 0; p < 2; ++p) {
    const int u = 2 * p;  // of eight; its partner in the pair is u + 4
    for (int x = 0; x < 2; ++x) {
      f.inverseFourColumn[x][p][lane] = pairOf(cosine(u, x), cosine(u + 4, x));
    }
    f.inverseFourRow[p][lane] = pairOf(cosine(u, lane % 2), cosine(u + 4, lane % 2));
  }
}

// Two points: signs only.
constexpr void setTwo(DctFactors& f, int lane) {
  const int across = lane % 2 == 0 ? 1 : -1, down = lane % 4 < 2 ? 1 : -1;
  f.twoPoints[0][lane] = pairOf(1, across);
  f.twoPoints[1][lane] = pairOf(down, down * across);
}

constexpr void setBytes(uint8_t (&bytes)[32], int a, int b, int c, int d, int e, int f, int g,
                        int h) {
  const int order[8] = {a, b, c, d, e, f, g, h};
  for (int i = 0; i < 32; ++i) bytes[i] = static_cast<uint8_t>(order[i % 8] + (i % 16 < 8 ? 0 : 8));
}

constexpr DctFactors make() {
  DctFactors f{};
  for (int lane = 0; lane < 8; ++lane) {
    setColumns(f, lane);
    setRows(f, lane);
    setFour(f, lane);
    setTwo(f, lane);
    f.firstPair[lane] = lane % 4 == 0 ? -1 : 0;
    f.firstRow[lane] = lane < 4 ? -1 : 0;
    f.sums[lane] = lane % 2 == 0 ? -1 : 0;
  }
  for (int i = 1; i < 16; ++i) f.butFirst[i] = -1;
  setWords(f.mirror, 7, 6, 7, 6, 5, 4, 5, 4);
  setWords(f.toParity, 0, 2, 4, 6, 1, 3, 5, 7);
  setWords(f.fromInverse, 0, 1, 2, 3, 7, 6, 5, 4);
  setWords(f.evenOfFour, 0, 2, 0, 2, 4, 6, 4, 6);
  setWords(f.oddOfFour, 1, 3, 1, 3, 5, 7, 5, 7);
  setBytes(f.bytesFromInverse, 0, 1, 2, 3, 7, 6, 5, 4);
  setBytes(f.bytesFromFour, 0, 1, 5, 4, 2, 3, 7, 6);
  return f;
}

}  // namespace

constinit const DctFactors kDct = make();

}  // namespace rkd
