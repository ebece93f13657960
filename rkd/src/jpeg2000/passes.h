// The three coding passes over a bit plane of a code block, for both directions: which coefficients
// a pass visits, and in what context, depends only on what both sides know.
#pragma once

#include <array>
#include <bit>
#include <cstdint>
#include <cstring>

#include "jpeg2000/mq.h"
#include "rkd/rkdjpeg_codeblock.h"

namespace rkd::j2k {

// Four rows of a column, a stripe's share of it, have one word of flags. Its low 18 bits tell who
// is significant in six rows of three columns, row by row: the four own coefficients are bits 4, 7,
// 10 and 13, and shifted right by 3 * r the word begins with the neighbourhood of coefficient r. So
// do the signs of the significant ones, 18 bits higher, and two flags that every coefficient has.
using Flags = uint64_t;
inline constexpr unsigned flagSign = 18, flagVisited = 36, flagRefined = 37;
inline constexpr Flags window = 0x1FF, neighbours = 0x1EF, allWindows = 0x3FFFF;
inline constexpr Flags fourRows = 0x249;  ///< bit 3 * r for each coefficient of the column
inline constexpr unsigned ownBit = 4;

inline constexpr int maxColumns = 1792;  ///< of four rows; the last stripe may have fewer
inline constexpr int maxFlags = 3284;    ///< with a margin of one around the block
inline constexpr int maxSamples = 4 * maxColumns;

/// Which kind of pass, and at which plane below the highest, pass k is.
enum class PassKind { significance, refinement, cleanup };
inline PassKind passKind(int pass) { return PassKind((pass + 2) % 3); }
inline int passPlane(int pass) { return (pass + 2) / 3; }

inline bool isRaw(int pass, int style) {
  return (style & rkdCodeBlockBypass) != 0 && pass >= 10 && passKind(pass) != PassKind::cleanup;
}
/// Whether the style ends a segment behind the pass.
inline bool endsSegment(int pass, int style) {
  if ((style & rkdCodeBlockTermAll) != 0) return true;
  return (style & rkdCodeBlockBypass) != 0 && pass >= 9 && passKind(pass) != PassKind::significance;
}

// ---- contexts ----

/// Label of a zero-coding context, times two, by band and neighbourhood.
inline constexpr std::array<std::array<uint8_t, 512>, 4> zeroContexts = [] {
  std::array<std::array<uint8_t, 512>, 4> contexts{};
  const auto label = [](int band, int h, int v, int d) {
    if (band == rkdBandHH) {
      const int cross = h + v > 2 ? 2 : h + v;
      if (d >= 3) return 8;
      if (d == 2) return cross > 0 ? 7 : 6;
      return 3 * d + cross;
    }
    if (band == rkdBandHL) {
      const int t = h;
      h = v;
      v = t;
    }
    if (h == 2) return 8;
    if (h == 1) return v > 0 ? 7 : d > 0 ? 6 : 5;
    if (v > 0) return 2 + v;
    return d > 2 ? 2 : d;
  };
  for (int band = 0; band < 4; ++band) {
    for (int w = 0; w < 512; ++w) {
      const auto is = [w](int bit) { return w >> bit & 1; };
      contexts[size_t(band)][size_t(w)] =
          uint8_t(2 * label(band, is(3) + is(5), is(1) + is(7), is(0) + is(2) + is(6) + is(8)));
    }
  }
  return contexts;
}();

/// Label of a sign context, times two, plus the expected sign: by upper, left, right and lower
/// neighbour, two bits each, significant and negative.
inline constexpr std::array<uint8_t, 256> signContexts = [] {
  std::array<uint8_t, 256> contexts{};
  const auto limited = [](int sum) { return sum > 1 ? 1 : sum < -1 ? -1 : sum; };
  for (int i = 0; i < 256; ++i) {
    const auto sign = [i](int neighbour) {
      const int bits = i >> 2 * neighbour & 3;
      return (bits & 1) == 0 ? 0 : bits == 1 ? 1 : -1;
    };
    int h = limited(sign(1) + sign(2));
    int v = limited(sign(0) + sign(3));
    const bool flip = h < 0 || (h == 0 && v < 0);
    if (flip) {
      h = -h;
      v = -v;
    }
    const int label = int(contextSign) + (h == 0 ? v : 3 + v);
    contexts[size_t(i)] = uint8_t(2 * label + int(flip));
  }
  return contexts;
}();

/// @param at  flags whose lowest bits are the coefficient's window
inline unsigned signContext(Flags at) {
  const unsigned significant = unsigned(at >> 1) & 0x55;
  const unsigned negative = unsigned(at >> (flagSign + 1)) & 0x55;
  return signContexts[significant | negative << 1];
}

inline unsigned refineContext(Flags at) {
  const unsigned first = contextRefine + unsigned((at & neighbours) != 0);
  return 2 * ((at >> flagRefined & 1) != 0 ? contextRefine + 2 : first);
}

// ---- maps of a block ----
//
// A map has a bit for every coefficient: a word for sixteen columns of a stripe, column by column,
// so that the bits of a word are in the order of coding.
using Map = uint64_t;
inline constexpr Map topRows = 0x1111111111111111;
inline constexpr int wordColumns = 16;
/// Words of a map with an empty stripe above and below, and an empty word at both ends of stripes.
inline constexpr int maxWords = 2 * 258 + 1;

// ---- a block and its flags ----

struct Block {
  int width = 0, height = 0;
  bool causal = false;
  const uint8_t* zeroContext = nullptr;  ///< table of the band
  Flags* flags = nullptr;

  int stripes() const { return (height + 3) / 4; }
  int columns() const { return stripes() * width; }
  int pitch() const { return width + 2; }
  int words() const { return (width + wordColumns - 1) / wordColumns; }
  int mapPitch() const { return words() + 1; }
  int mapWords() const { return (stripes() + 2) * mapPitch() + 1; }
  int flagCount() const { return (stripes() + 2) * pitch(); }
  /// First column's word of a stripe.
  Flags* stripe(int index) const { return flags + (index + 1) * pitch() + 1; }
  /// Bit 3 * r for each row that the stripe has.
  Flags rows(int index) const {
    const int count = height - 4 * index;
    return count >= 4 ? fourRows : fourRows & ((Flags{1} << 3 * count) - 1);
  }
};

inline bool isStyle(int style) { return style >= 0 && style < 2 * rkdCodeBlockSegSym; }

inline RkdStatus checkCodeBlock(RkdiSize size, int band, int style) {
  if (size.width < 1 || size.height < 1 || size.width > 1024 || size.height > 1024 ||
      size.width * size.height > 4096) {
    return rkdStsSizeErr;
  }
  return band >= rkdBandLL && band <= rkdBandHH && isStyle(style) ? rkdStsNoErr : rkdStsBadArgErr;
}

inline Block blockOf(RkdiSize size, int band, int style, Flags* flags) {
  return {size.width, size.height, (style & rkdCodeBlockCausal) != 0,
          zeroContexts[size_t(band)].data(), flags};
}

/// A word of the block's maps.
struct Word {
  int map;     ///< its place in the maps
  int column;  ///< place of its first column among those of all stripes, a margin of one around
  int sample;  ///< its first coefficient, four to a column
  Map inside;  ///< bits that stand for a coefficient
};

template <class Work>
[[gnu::always_inline]] inline void forEachWord(const Block& block, Work work) {
  const int words = block.words();
  for (int s = 0; s < block.stripes(); ++s) {
    const int rows = block.height - 4 * s;
    const Map inRows = rows >= 4 ? ~Map{0} : topRows * ((Map{1} << rows) - 1);
    for (int w = 0; w < words; ++w) {
      const int left = wordColumns * w;
      const int columns = block.width - left;
      const Map inColumns = columns >= wordColumns ? ~Map{0} : (Map{1} << 4 * columns) - 1;
      work(Word{(s + 1) * block.mapPitch() + 1 + w, (s + 1) * block.pitch() + 1 + left,
                4 * (s * block.width + left), inRows & inColumns});
    }
  }
}

/// Coefficients with one of the map's above or below.
inline Map verticalNeighbours(const Map* at, int pitch, bool causal) {
  const Map below = causal ? 0 : at[pitch] & topRows;
  return (at[0] << 1 & ~topRows) | (at[-pitch] >> 3 & topRows) | (at[0] >> 1 & ~(topRows << 3)) |
         below << 3;
}

/// Coefficients with one of the map's among their eight neighbours.
inline Map neighbours8(const Block& block, const Map* at) {
  const int pitch = block.mapPitch();
  const Map vertical = verticalNeighbours(at, pitch, block.causal);
  const Map columns = vertical | at[0];
  const Map left = at[-1] | verticalNeighbours(at - 1, pitch, block.causal);
  const Map right = at[1] | verticalNeighbours(at + 1, pitch, block.causal);
  return vertical | columns << 4 | columns >> 4 | left >> 60 | right << 60;
}

/// Tells a coefficient's neighbours that it has become significant.
/// @param row3  three times its row in the stripe
[[gnu::always_inline]] inline void setSignificant(Flags* at, unsigned row3, Flags negative,
                                                  int pitch, bool causal) {
  const Flags mark = Flags{1} | negative << flagSign;
  at[-1] |= mark << (row3 + 5);
  at[0] |= mark << (row3 + 4);
  at[1] |= mark << (row3 + 3);
  if (row3 == 0 && !causal) {
    Flags* const above = at - pitch;
    above[-1] |= mark << 17;
    above[0] |= mark << 16;
    above[1] |= mark << 15;
  } else if (row3 == 9) {
    Flags* const below = at + pitch;
    below[-1] |= mark << 2;
    below[0] |= mark << 1;
    below[1] |= mark;
  }
}

// ---- the passes ----
//
// A coder codes one decision a call and knows the coefficients, four to a column:
//   bool significant(unsigned context, int sample)      zero coding; true: it becomes significant
//   Flags sign(unsigned context, int sample)            1: it is negative
//   void refine(unsigned context, int sample)           the next magnitude bit
//   int run(int firstSample)                            first of four that becomes significant, or
//   4

/// Calls column(flags, rows, first sample) for each column of each stripe.
template <class Column>
[[gnu::always_inline]] inline void forEachColumn(const Block& block, Column column) {
  int sample = 0;
  for (int s = 0; s < block.stripes(); ++s) {
    const Flags rows = block.rows(s);
    Flags* at = block.stripe(s);
    for (Flags* const end = at + block.width; at != end; ++at, sample += 4)
      column(at, rows, sample);
  }
}

/// Row of a coefficient from its bit in a mask over the column.
inline int rowOf(unsigned row3) { return int(row3 * 11 >> 5); }

template <class Coder>
[[gnu::always_inline]] inline void codeSign(const Block& block, Coder& coder, Flags* at,
                                            unsigned row3, int sample) {
  const Flags negative = coder.sign(signContext(*at >> row3), sample);
  setSignificant(at, row3, negative, block.pitch(), block.causal);
}

/// Coefficients that are not significant but have a neighbour that is.
template <class Coder>
[[gnu::always_inline]] inline void significancePass(const Block& block, Coder& coder) {
  forEachColumn(
      block, [&](Flags * at, Flags rows, int sample) __attribute__((always_inline)) {
        Flags f = *at;
        const Flags inRow = f & allWindows;
        if (inRow == 0) return;
        const Flags acrossRow = inRow | inRow >> 1 | inRow >> 2;
        Flags open = rows & ~(f >> ownBit);
        Flags todo = (acrossRow | acrossRow >> 3 | acrossRow >> 6) & open;
        Flags visited = 0;
        while (todo != 0) {
          const unsigned row3 = unsigned(std::countr_zero(todo));
          const Flags bit = todo & -todo;
          visited |= bit;
          todo ^= bit;
          const int here = sample + rowOf(row3);
          if (coder.significant(block.zeroContext[f >> row3 & window], here)) {
            codeSign(block, coder, at, row3, here);
            f = *at;
            todo |= bit << 3 & open;  // the one below has a neighbour now
          }
        }
        *at = f | visited << flagVisited;
      });
}

/// Coefficients that were significant before this plane.
template <class Coder>
[[gnu::always_inline]] inline void refinementPass(const Block& block, Coder& coder) {
  forEachColumn(
      block, [&](Flags * at, Flags, int sample) __attribute__((always_inline)) {
        const Flags f = *at;
        const Flags all = f >> ownBit & ~(f >> flagVisited) & fourRows;
        for (Flags todo = all; todo != 0; todo &= todo - 1) {
          const unsigned row3 = unsigned(std::countr_zero(todo));
          coder.refine(refineContext(f >> row3), sample + rowOf(row3));
        }
        *at = f | all << flagRefined;
      });
}

/// All others, whole columns at once where nothing is significant around them.
template <class Coder>
[[gnu::always_inline]] inline void cleanupPass(const Block& block, Coder& coder) {
  forEachColumn(
      block, [&](Flags * at, Flags rows, int sample) __attribute__((always_inline)) {
        Flags f = *at;
        Flags todo = rows & ~(f >> ownBit) & ~(f >> flagVisited);
        if ((f & allWindows) == 0 && rows == fourRows) {
          const int row = coder.run(sample);
          if (row == 4) return;
          const unsigned row3 = unsigned(3 * row);
          codeSign(block, coder, at, row3, sample + row);
          f = *at;
          todo &= ~Flags{1} << row3;
        }
        for (; todo != 0; todo &= todo - 1) {
          const unsigned row3 = unsigned(std::countr_zero(todo));
          const int here = sample + rowOf(row3);
          if (coder.significant(block.zeroContext[f >> row3 & window], here)) {
            codeSign(block, coder, at, row3, here);
            f = *at;
          }
        }
        *at = f & ~(fourRows << flagVisited);
      });
}

}  // namespace rkd::j2k
