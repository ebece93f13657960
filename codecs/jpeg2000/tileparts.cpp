// Where the tile-parts of a codestream stand.
#include <set>

#include "codestream.h"
#include "headerreader.h"

namespace j2k {
namespace {

std::string text(int64_t value) { return std::to_string(value); }

constexpr size_t sotBytes = 12;

class TilePartFinder {
 public:
  TilePartFinder(Codestream& stream, ByteSpan bytes, const Rect& tiles, Reporter& report)
      : m_stream(stream), m_bytes(bytes), m_tiles(tiles), m_report(report) {}

  /// Goes to the tile-parts that TLM tells of. @return false when it cannot be true
  bool follow();

  /// Follows SOT to SOT; lengths that cannot be true end the list with what is left.
  void find() {
    size_t position = m_stream.firstTilePart;
    m_number = 0;
    while (position + sotBytes <= m_bytes.size() && marker(position) == markerSot) {
      position = tilePart(position);
    }
    if (position + 2 <= m_bytes.size() && marker(position) == markerEoc) return;
    m_report.warn(position + 2 <= m_bytes.size() && marker(position) != markerSot
                      ? Diag::garbageBetweenTileParts
                      : Diag::noEoc,
                  "at byte " + text(int64_t(position)));
  }

 private:
  int marker(size_t at) const { return get16(m_bytes, at); }

  size_t tilePart(size_t sot) {
    HeaderReader in(m_bytes.subspan(sot + 2, 10), "SOT");
    if (in.u16() != 10) fail(Diag::badSot, "length of SOT at byte " + text(int64_t(sot)));
    TilePart part;
    part.offset = sot;
    part.tile = in.u16();
    const uint32_t length = in.u32();
    part.index = int(in.u8());
    part.count = int(in.u8());
    part.number = m_number++;
    const size_t end = endOf(sot, length);
    if (wanted(part.tile)) readHeader(part, end);
    return end;
  }

  /// Whether a tile is asked for, or is none at all, which is to be told.
  bool wanted(int64_t tile) const {
    const int64_t wide = m_stream.shape.tilesWide(), column = tile % wide, row = tile / wide;
    return tile >= m_stream.shape.tiles() ||
           (column >= m_tiles.x0 && column < m_tiles.x1 && row >= m_tiles.y0 && row < m_tiles.y1);
  }

  void readHeader(TilePart& part, size_t end) {
    const size_t sot = part.offset;
    const std::vector<Segment> segments = listSegments(m_bytes.first(end), sot + sotBytes);
    const size_t sod = segments.empty() ? sot + sotBytes
                                        : segments.back().offset + 4 + segments.back().bytes.size();
    if (sod + 2 > end || marker(sod) != markerSod) {
      m_report.warn(Diag::badTilePartHeader, "tile " + text(part.tile));
      return;
    }
    part.header = m_bytes.subspan(sot + sotBytes, sod - sot - sotBytes);
    part.body = m_bytes.subspan(sod + 2, end - sod - 2);
    add(part);
  }

  size_t endOf(size_t sot, uint32_t length) {
    size_t end = m_bytes.size();
    if (length == 0) {
      // The last tile-part reaches to EOC, which is the last thing unless somebody padded it.
      while (end > sot + 14 && m_bytes[end - 1] == 0) --end;
      if (end > sot + 14 && marker(end - 2) == markerEoc) return end - 2;
      return m_bytes.size();
    }
    if (length < 14) {
      m_report.warn(Diag::badTilePartLength, text(length));
      return end;
    }
    if (length > end - sot) {
      m_report.warn(Diag::truncated, text(int64_t(sot + length - end)) + " bytes are missing");
      return end;
    }
    return sot + length;
  }

  void add(const TilePart& part) {
    if (part.tile >= m_stream.shape.tiles()) {
      m_report.warn(Diag::badTileIndex, text(part.tile));
      return;
    }
    std::vector<size_t>& parts = m_stream.ofTile[part.tile];
    if (size_t(part.index) != parts.size()) {
      m_report.warn(Diag::badTilePartIndex,
                    "tile " + text(part.tile) + ", part " + text(part.index));
    }
    if (part.count != 0 && part.index >= part.count) {
      m_report.warn(Diag::badTilePartCount, "tile " + text(part.tile));
    }
    parts.push_back(m_stream.tileParts.size());
    m_stream.tileParts.push_back(part);
  }

  Codestream& m_stream;
  ByteSpan m_bytes;
  Rect m_tiles;
  Reporter& m_report;
  size_t m_number = 0;
};

bool TilePartFinder::follow() {
  size_t position = m_stream.firstTilePart;
  std::vector<std::pair<TilePart, size_t>> parts;
  std::set<int64_t> seen;
  for (const TileLength& told : m_stream.tileLengths) {
    if (told.length < sotBytes + 2 || told.length > m_bytes.size() - position) return false;
    if (wanted(told.tile)) {
      seen.insert(told.tile);
      TilePart part;
      part.tile = told.tile;
      part.number = m_number;
      part.offset = position;
      HeaderReader in(m_bytes.subspan(position, sotBytes), "SOT");
      const bool sot = in.u16() == markerSot && in.u16() == 10;
      if (!sot || in.u16() != told.tile || in.u32() != told.length) return false;
      part.index = int(in.u8());
      part.count = int(in.u8());
      parts.emplace_back(part, position + told.length);
    }
    ++m_number;
    position += told.length;
  }
  // Tile-parts that it does not tell of may be of any tile.
  if (position + sotBytes <= m_bytes.size() && marker(position) == markerSot) return false;
  if (int64_t(seen.size()) < m_tiles.width() * m_tiles.height()) return false;
  for (auto& [part, end] : parts) readHeader(part, end);
  return true;
}

}  // namespace

void findTileParts(Codestream& stream, ByteSpan bytes, const Rect& tiles, Reporter& report) {
  TilePartFinder finder(stream, bytes, tiles, report);
  const bool all = tiles.width() * tiles.height() == stream.shape.tiles();
  if (!all && !stream.tileLengths.empty()) {
    if (finder.follow()) return;
    report.warn(Diag::segmentIgnored, "TLM");
  }
  finder.find();
}

}  // namespace j2k
