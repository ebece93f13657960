// Rectangles of tiles, resolutions, bands, precincts and code blocks.
#include "geometry.h"

#include <algorithm>

namespace j2k {

Rect ImageShape::tile(int64_t index) const {
  const int64_t column = index % tilesWide(), row = index / tilesWide();
  const int64_t width = firstTile.width(), height = firstTile.height();
  const int64_t x = firstTile.x0 + column * width, y = firstTile.y0 + row * height;
  return intersection({x, y, x + width, y + height}, image);
}

namespace {

/// Cells of 2^shift that an interval touches; an empty interval touches none.
int64_t cells(int64_t from, int64_t to, int shift) {
  return to > from ? ceilShift(to, shift) - (from >> shift) : 0;
}

Band makeBand(const Rect& component, int levels, int resolution, int orientation) {
  Band band;
  band.orientation = orientation;
  band.level = resolution == 0 ? levels : levels - resolution + 1;
  band.index = resolution == 0 ? 0 : 3 * (resolution - 1) + orientation;
  band.rect = band.level == 0 ? component : bandOf(shifted(component, band.level - 1), orientation);
  return band;
}

Resolution makeResolution(const Rect& component, const Partition& partition, int index) {
  Resolution r;
  r.index = index;
  r.rect = shifted(component, partition.levels - index);
  r.precinctWidth = partition.precincts[size_t(index)] & 15;
  r.precinctHeight = partition.precincts[size_t(index)] >> 4;
  if (!r.rect.empty()) {
    r.precinctsWide = cells(r.rect.x0, r.rect.x1, r.precinctWidth);
    r.precinctsHigh = cells(r.rect.y0, r.rect.y1, r.precinctHeight);
  }
  const int halved = index > 0 ? 1 : 0;
  r.blockWidth = std::min(partition.blockWidth, r.precinctWidth - halved);
  r.blockHeight = std::min(partition.blockHeight, r.precinctHeight - halved);
  r.bandCount = index == 0 ? 1 : 3;
  for (int b = 0; b < r.bandCount; ++b) {
    r.bands[size_t(b)] = makeBand(component, partition.levels, index, b + halved);
  }
  return r;
}

}  // namespace

BlockGrid Resolution::blocks(int band, int64_t precinct) const {
  const int halved = index > 0 ? 1 : 0;
  const int width = precinctWidth - halved, height = precinctHeight - halved;
  const int64_t column = (rect.x0 >> precinctWidth) + precinct % precinctsWide;
  const int64_t row = (rect.y0 >> precinctHeight) + precinct / precinctsWide;
  BlockGrid grid;
  grid.rect =
      intersection({column << width, row << height, (column + 1) << width, (row + 1) << height},
                   bands[size_t(band)].rect);
  grid.blockWidth = blockWidth;
  grid.blockHeight = blockHeight;
  if (grid.rect.empty()) return grid;
  grid.firstX = grid.rect.x0 >> blockWidth;
  grid.firstY = grid.rect.y0 >> blockHeight;
  grid.wide = int(cells(grid.rect.x0, grid.rect.x1, blockWidth));
  grid.high = int(cells(grid.rect.y0, grid.rect.y1, blockHeight));
  return grid;
}

TileComponent::TileComponent(const Rect& tile, const ComponentShape& shape,
                             const Partition& partition)
    : rect(dividedBy(tile, shape.dx, shape.dy)) {
  resolutions.reserve(size_t(partition.levels) + 1);
  for (int r = 0; r <= partition.levels; ++r) {
    resolutions.push_back(makeResolution(rect, partition, r));
  }
}

PrecinctPositions::PrecinctPositions(const Rect& tile, const ComponentShape& shape,
                                     const TileComponent& component, int resolution) {
  const Resolution& r = component.resolutions[size_t(resolution)];
  const int levels = int(component.resolutions.size()) - 1 - resolution;
  m_stepX = int64_t(shape.dx) << (r.precinctWidth + levels);
  m_stepY = int64_t(shape.dy) << (r.precinctHeight + levels);
  m_column = r.rect.x0 >> r.precinctWidth;
  m_row = r.rect.y0 >> r.precinctHeight;
  // A first precinct that the tile cuts has its turn where the tile begins.
  const bool wholeX = r.rect.x0 == m_column << r.precinctWidth;
  const bool wholeY = r.rect.y0 == m_row << r.precinctHeight;
  m_firstX = wholeX ? m_column * m_stepX : tile.x0;
  m_firstY = wholeY ? m_row * m_stepY : tile.y0;
}

std::vector<Rect> computedWindows(const TileComponent& component, int top, const Rect& window,
                                  int margin) {
  std::vector<Rect> windows(size_t(top) + 1);
  Rect needed = window;
  for (int r = top; r >= 0; --r) {
    const Rect& whole = component.resolutions[size_t(r)].rect;
    if (r > 0 && needed != whole) {
      needed = intersection(
          {needed.x0 - margin, needed.y0 - margin, needed.x1 + margin, needed.y1 + margin}, whole);
    }
    windows[size_t(r)] = needed;
    needed = bandOf(needed, 0);
  }
  return windows;
}

}  // namespace j2k
