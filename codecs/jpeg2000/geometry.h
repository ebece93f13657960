#pragma once
/// @file
/// Where everything lies: tiles, components, resolutions, sub-bands, precincts and code blocks, as
/// pure arithmetic on the reference grid. Nothing here reads a bit or allocates for what a header
/// merely announces.
/// @see ITU-T T.800, annex B

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace j2k {

constexpr int maxLevels = 32;

/// Half-open: x0 <= x < x1. Wide enough for every product of 32-bit fields with 8-bit ones.
struct Rect {
  int64_t x0 = 0, y0 = 0, x1 = 0, y1 = 0;

  constexpr int64_t width() const { return x1 > x0 ? x1 - x0 : 0; }
  constexpr int64_t height() const { return y1 > y0 ? y1 - y0 : 0; }
  constexpr bool empty() const { return x1 <= x0 || y1 <= y0; }
  constexpr bool operator==(const Rect&) const = default;
};

constexpr Rect intersection(const Rect& a, const Rect& b) {
  return {a.x0 > b.x0 ? a.x0 : b.x0, a.y0 > b.y0 ? a.y0 : b.y0, a.x1 < b.x1 ? a.x1 : b.x1,
          a.y1 < b.y1 ? a.y1 : b.y1};
}

/// Rounded up; a may be negative, b is positive: steps and sizes of tiles are checked where they
/// are read.
// NOLINTNEXTLINE(clang-analyzer-core.DivideZero): told of sizes that no reader lets through
constexpr int64_t ceilDiv(int64_t a, int64_t b) { return a / b + (a % b > 0 ? 1 : 0); }
constexpr int64_t ceilShift(int64_t a, int shift) { return -(-a >> shift); }

/// A grid of step (dx, dy), or of 2^shift.
constexpr Rect dividedBy(const Rect& r, int64_t dx, int64_t dy) {
  return {ceilDiv(r.x0, dx), ceilDiv(r.y0, dy), ceilDiv(r.x1, dx), ceilDiv(r.y1, dy)};
}
constexpr Rect shifted(const Rect& r, int shift) {
  return {ceilShift(r.x0, shift), ceilShift(r.y0, shift), ceilShift(r.x1, shift),
          ceilShift(r.y1, shift)};
}

/// The part of a band (orientation as rkdBand...) that a rectangle of its resolution splits into.
constexpr Rect bandOf(const Rect& r, int orientation) {
  const int64_t x = orientation & 1, y = orientation >> 1;
  return {ceilShift(r.x0 - x, 1), ceilShift(r.y0 - y, 1), ceilShift(r.x1 - x, 1),
          ceilShift(r.y1 - y, 1)};
}

struct ComponentShape {
  int precision = 8;  ///< bits, 1..38
  bool isSigned = false;
  int dx = 1, dy = 1;  ///< reference grid points a sample
};

/// What the SIZ marker tells.
struct ImageShape {
  Rect image;       ///< on the reference grid
  Rect firstTile;   ///< tile 0, not clipped to the image
  int profile = 0;  ///< Rsiz
  std::vector<ComponentShape> components;

  int64_t tilesWide() const { return ceilDiv(image.x1 - firstTile.x0, firstTile.width()); }
  int64_t tilesHigh() const { return ceilDiv(image.y1 - firstTile.y0, firstTile.height()); }
  int64_t tiles() const { return tilesWide() * tilesHigh(); }
  /// Columns and rows of the tiles that a part of the image touches.
  Rect tilesOf(const Rect& part) const {
    // NOLINTBEGIN(clang-analyzer-core.DivideZero): a tile has pixels, as those who fill this see to
    return {(part.x0 - firstTile.x0) / firstTile.width(),
            (part.y0 - firstTile.y0) / firstTile.height(),
            ceilDiv(part.x1 - firstTile.x0, firstTile.width()),
            ceilDiv(part.y1 - firstTile.y0, firstTile.height())};
    // NOLINTEND(clang-analyzer-core.DivideZero)
  }
  /// Clipped to the image.
  Rect tile(int64_t index) const;
  Rect component(int index) const {
    const ComponentShape& c = components[size_t(index)];
    return dividedBy(image, c.dx, c.dy);
  }
};

/// How a component is cut up.
struct Partition {
  int levels = 5;
  int blockWidth = 6, blockHeight = 6;                      ///< exponents
  std::array<uint8_t, maxLevels + 1> precincts = filled();  ///< a resolution: width | height << 4

  bool operator==(const Partition&) const = default;

 private:
  static constexpr std::array<uint8_t, maxLevels + 1> filled() {
    std::array<uint8_t, maxLevels + 1> all{};
    all.fill(0xFF);
    return all;
  }
};

struct Band {
  int orientation = 0;  ///< rkdBandLL...
  int index = 0;        ///< in the lists of quantisation: 0 LL, then HL, LH, HH from the lowest
  int level = 0;        ///< decompositions that led to it
  Rect rect;
};

/// The blocks of one band in one precinct, a grid of cells of which the outer ones may be cut.
struct BlockGrid {
  Rect rect;  ///< in the band
  int64_t firstX = 0, firstY = 0;
  int wide = 0, high = 0;  ///< blocks
  int blockWidth = 0, blockHeight = 0;

  Rect block(int x, int y) const {
    const Rect cell = {(firstX + x) << blockWidth, (firstY + y) << blockHeight,
                       (firstX + x + 1) << blockWidth, (firstY + y + 1) << blockHeight};
    return intersection(cell, rect);
  }
};

struct Resolution {
  int index = 0;
  Rect rect;
  int precinctWidth = 15, precinctHeight = 15;  ///< exponents
  int64_t precinctsWide = 0, precinctsHigh = 0;
  int blockWidth = 0, blockHeight = 0;  ///< exponents, as precincts allow
  int bandCount = 0;
  std::array<Band, 3> bands;

  int64_t precincts() const { return precinctsWide * precinctsHigh; }
  BlockGrid blocks(int band, int64_t precinct) const;
};

struct TileComponent {
  Rect rect;
  std::vector<Resolution> resolutions;  ///< levels + 1, the lowest first

  TileComponent() = default;
  TileComponent(const Rect& tile, const ComponentShape& shape, const Partition& partition);
};

/// Where on the reference grid a precinct has its turn in orders by position.
struct PrecinctPositions {
  PrecinctPositions(const Rect& tile, const ComponentShape& shape, const TileComponent& component,
                    int resolution);
  int64_t x(int64_t column) const { return column == 0 ? m_firstX : (m_column + column) * m_stepX; }
  int64_t y(int64_t row) const { return row == 0 ? m_firstY : (m_row + row) * m_stepY; }

 private:
  int64_t m_stepX, m_stepY, m_column, m_row, m_firstX, m_firstY;
};

/// What must be computed of every resolution so that a window of the highest comes out right: each
/// level of the inverse wavelet needs a margin on the coefficients it is made of.
/// @param window  in the coordinates of resolution `top`, within its rectangle
/// @param margin  samples that a wavelet reaches
/// @return for every resolution 0..top the rectangle that is computed
std::vector<Rect> computedWindows(const TileComponent& component, int top, const Rect& window,
                                  int margin);

}  // namespace j2k
