// What both directions of code-block coding share: the passes over a bit plane, the limits of
// blocks, and maps of their coefficients.
#pragma once

#include <cstdint>

#include "rkd/rkdjpeg_codeblock.h"

namespace rkd::j2k {

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

// ---- blocks ----

inline constexpr int maxStripes = 256, maxColumns = 1792;  ///< the last stripe may have fewer rows
inline constexpr int maxSamples = 4 * maxColumns;

struct Block {
  int width = 0, height = 0, band = 0;
  bool causal = false;

  int stripes() const { return (height + 3) / 4; }
  int columns() const { return stripes() * width; }
  /// Of arrays of columns with a margin of one around the block.
  int pitch() const { return width + 2; }
  int marginColumns() const { return (stripes() + 2) * pitch(); }
  /// Of maps with an empty stripe above and below, and an empty word at both ends of stripes.
  int words() const { return (width + 15) / 16; }
  int mapPitch() const { return words() + 1; }
  int mapWords() const { return (stripes() + 2) * mapPitch() + 1; }
};
inline constexpr int maxMarginColumns = 3284;
inline constexpr int maxWords = maxStripes, maxMapWords = 2 * (maxStripes + 2) + 1;

inline bool isStyle(int style) { return style >= 0 && style < 2 * rkdCodeBlockSegSym; }

inline RkdStatus checkCodeBlock(RkdiSize size, int band, int style) {
  if (size.width < 1 || size.height < 1 || size.width > 1024 || size.height > 1024 ||
      size.width * size.height > 4096) {
    return rkdStsSizeErr;
  }
  return band >= rkdBandLL && band <= rkdBandHH && isStyle(style) ? rkdStsNoErr : rkdStsBadArgErr;
}

inline Block blockOf(RkdiSize size, int band, int style) {
  return {size.width, size.height, band, (style & rkdCodeBlockCausal) != 0};
}

// ---- maps ----
//
// A map has a bit for every coefficient: a word for sixteen columns of a stripe, column by column,
// so that the bits of a word are in the order of coding.
using Map = uint64_t;
inline constexpr Map topRows = 0x1111111111111111, bottomRows = topRows << 3;

/// Goes from word to word of a block's maps: for (Words at(block); at.more(); at.next()) ...
class Words {
 public:
  int index = 0;   ///< of the word, counted from the first of the block
  int map;         ///< its place in maps
  int column;      ///< place of its first column in arrays of columns
  int sample = 0;  ///< its first coefficient, four to a column
  Map inside;      ///< bits that stand for a coefficient

  explicit Words(const Block& block) : left_(block.width), rows_(block.height), block_(block) {
    map = block.mapPitch() + 1;
    column = block.pitch() + 1;
    setInside();
  }
  bool more() const { return rows_ > 0; }
  void next() {
    ++index;
    ++map;
    left_ -= 16;
    if (left_ > 0) {
      column += 16;
      sample += 64;
    } else {  // to the next stripe
      ++map;
      column += left_ + 16 + 2;
      sample += 4 * (left_ + 16);
      left_ = block_.width;
      rows_ -= 4;
    }
    setInside();
  }

 private:
  void setInside() {
    const Map inRows = rows_ >= 4 ? ~Map{0} : topRows * ((Map{1} << (rows_ & 3)) - 1);
    const Map inColumns = left_ >= 16 ? ~Map{0} : (Map{1} << 4 * left_) - 1;
    inside = inRows & inColumns;
  }

  int left_, rows_;  ///< columns and rows that remain from here on
  const Block& block_;
};

/// A map as seen from the coefficients below, above, to the right and to the left: what is known of
/// the one above and so on.
inline Map fromAbove(Map map, Map above) { return (map << 1 & ~topRows) | (above >> 3 & topRows); }
inline Map fromBelow(Map map, Map below) {
  return (map >> 1 & ~bottomRows) | (below << 3 & bottomRows);
}
inline Map fromLeft(Map map, Map left) { return map << 4 | left >> 60; }
inline Map fromRight(Map map, Map right) { return map >> 4 | right << 60; }

/// Coefficients with one of the map's above or below.
inline Map verticalNeighbours(const Map* at, int pitch, bool causal) {
  return fromAbove(at[0], at[-pitch]) | fromBelow(at[0], causal ? 0 : at[pitch]);
}

/// Coefficients with one of the map's among their eight neighbours.
inline Map neighbours8(const Block& block, const Map* at) {
  const int pitch = block.mapPitch();
  const Map vertical = verticalNeighbours(at, pitch, block.causal);
  const Map columns = vertical | at[0];
  const Map left = at[-1] | verticalNeighbours(at - 1, pitch, block.causal);
  const Map right = at[1] | verticalNeighbours(at + 1, pitch, block.causal);
  return vertical | fromLeft(columns, left) | fromRight(columns, right);
}

}  // namespace rkd::j2k
