// Marker segments read: the main header and the tile-parts' headers.
#include <algorithm>
#include <set>

#include "codestream.h"
#include "headerreader.h"

namespace j2k {
namespace {

std::string text(int64_t value) { return std::to_string(value); }

/// Reads marker segments into a Coding. What a component is told by itself goes before what all
/// are told, and what a tile is told before what the main header says.
class CodingReader {
 public:
  CodingReader(const ImageShape& shape, Coding& coding, Reporter& report, bool inTile)
      : m_shape(shape), m_coding(coding), m_report(report), m_inTile(inTile) {}

  /// @return false for a marker that tells nothing of coding
  bool read(const Segment& segment);

  bool sawCod = false, sawQcd = false;

 private:
  int component(HeaderReader& in) const {
    const int c = int(m_shape.components.size() > 256 ? in.u16() : in.u8());
    if (c >= int(m_shape.components.size())) fail(Diag::badComponent, in.name() + " " + text(c));
    return c;
  }
  void readCod(HeaderReader& in);
  void readCoc(HeaderReader& in);
  void readQuantization(HeaderReader& in, bool all);
  void readRgn(HeaderReader& in);
  void readPoc(HeaderReader& in);
  static ComponentCoding componentCoding(HeaderReader& in, bool precincts);
  static Quantization quantization(HeaderReader& in);

  const ImageShape& m_shape;
  Coding& m_coding;
  Reporter& m_report;
  bool m_inTile;
  bool m_sawPoc = false;
  std::set<int> m_ownCoding, m_ownQuantization;
};

ComponentCoding CodingReader::componentCoding(HeaderReader& in, bool precincts) {
  ComponentCoding coding;
  Partition& p = coding.partition;
  p.levels = int(in.u8());
  if (p.levels > maxLevels) fail(Diag::badCod, "levels " + text(p.levels));
  p.blockWidth = int(in.u8()) + 2;
  p.blockHeight = int(in.u8()) + 2;
  if (p.blockWidth > 10 || p.blockHeight > 10 || p.blockWidth + p.blockHeight > 12) {
    fail(Diag::badCod, "code blocks of 2^" + text(p.blockWidth) + " x 2^" + text(p.blockHeight));
  }
  coding.style = int(in.u8());
  if (coding.style & 0x40) fail(Diag::highThroughput);
  if (coding.style & 0x80) fail(Diag::badCod, "code-block style " + text(coding.style));
  const uint32_t wavelet = in.u8();
  if (wavelet > 1) fail(Diag::partTwo, "wavelet " + text(wavelet));
  coding.reversible = wavelet == 1;
  if (!precincts) return coding;
  for (int r = 0; r <= p.levels; ++r) {
    const uint8_t size = uint8_t(in.u8());
    p.precincts[size_t(r)] = size;
    if (r > 0 && ((size & 15) == 0 || size >> 4 == 0)) {
      fail(Diag::badCod, "precincts of one sample in resolution " + text(r));
    }
  }
  return coding;
}

void CodingReader::readCod(HeaderReader& in) {
  if (sawCod) m_report.warn(Diag::segmentRepeated, in.name());
  sawCod = true;
  const uint32_t style = in.u8();
  const uint32_t order = in.u8();
  if (order > 4) fail(Diag::badCod, "progression order " + text(order));
  m_coding.order = Order(order);
  m_coding.layers = int(in.u16());
  if (m_coding.layers == 0) fail(Diag::badCod, "no layers");
  const uint32_t transform = in.u8();
  if (transform > 1) fail(Diag::partTwo, "component transform " + text(transform));
  m_coding.transform = transform == 1;
  m_coding.sop = (style & 2) != 0;
  m_coding.eph = (style & 4) != 0;
  const ComponentCoding coding = componentCoding(in, (style & 1) != 0);
  for (size_t c = 0; c < m_coding.components.size(); ++c) {
    if (!m_ownCoding.contains(int(c))) m_coding.components[c] = coding;
  }
}

void CodingReader::readCoc(HeaderReader& in) {
  const int c = component(in);
  const uint32_t style = in.u8();
  m_ownCoding.insert(c);
  m_coding.components[size_t(c)] = componentCoding(in, (style & 1) != 0);
}

Quantization CodingReader::quantization(HeaderReader& in) {
  Quantization q;
  const uint32_t style = in.u8();
  if ((style & 31) > 2) fail(Diag::badQcd, "style " + text(style & 31));
  q.style = Quantization::Style(style & 31);
  q.guardBits = int(style >> 5);
  q.count = 0;
  const size_t size = q.style == Quantization::none ? 1 : 2;
  const size_t limit = q.style == Quantization::derived ? 1 : q.steps.size();
  while (in.left() >= size && size_t(q.count) < limit) {
    q.steps[size_t(q.count++)] = uint16_t(size == 1 ? in.u8() >> 3 << 11 : in.u16());
  }
  if (q.count == 0) fail(Diag::segmentShort, in.name());
  return q;
}

void CodingReader::readQuantization(HeaderReader& in, bool all) {
  if (all) {
    if (sawQcd) m_report.warn(Diag::segmentRepeated, in.name());
    sawQcd = true;
    const Quantization q = quantization(in);
    for (size_t c = 0; c < m_coding.quantization.size(); ++c) {
      if (!m_ownQuantization.contains(int(c))) m_coding.quantization[c] = q;
    }
    return;
  }
  const int c = component(in);
  m_ownQuantization.insert(c);
  m_coding.quantization[size_t(c)] = quantization(in);
}

void CodingReader::readRgn(HeaderReader& in) {
  const int c = component(in);
  const uint32_t style = in.u8(), shift = in.u8();
  if (style != 0) fail(Diag::partTwo, "region of interest of style " + text(style));
  m_coding.roiShift[size_t(c)] = uint8_t(shift);
}

void CodingReader::readPoc(HeaderReader& in) {
  const bool wide = m_shape.components.size() > 256;
  // What the tile says replaces what the main header says; its own lists are joined.
  if (m_inTile && !m_sawPoc) m_coding.changes.clear();
  m_sawPoc = true;
  while (in.left() >= (wide ? 9U : 7U)) {
    Progression p;
    p.firstResolution = int(in.u8());
    p.firstComponent = int(wide ? in.u16() : in.u8());
    p.endLayer = int(in.u16());
    p.endResolution = int(in.u8());
    p.endComponent = int(wide ? in.u16() : in.u8());
    if (p.endComponent == 0) p.endComponent = wide ? 16384 : 256;
    const uint32_t order = in.u8();
    if (order > 4) fail(Diag::badPoc, "progression order " + text(order));
    p.order = Order(order);
    if (p.endResolution <= p.firstResolution || p.endComponent <= p.firstComponent) {
      m_report.warn(Diag::emptyProgression);
      continue;
    }
    m_coding.changes.push_back(p);
  }
  if (in.left() != 0) m_report.warn(Diag::segmentLong, in.name());
}

bool CodingReader::read(const Segment& segment) {
  HeaderReader in(segment.bytes, markerName(segment.marker));
  switch (segment.marker) {
    case markerCod:
      readCod(in);
      break;
    case markerCoc:
      readCoc(in);
      break;
    case markerQcd:
      readQuantization(in, true);
      break;
    case markerQcc:
      readQuantization(in, false);
      break;
    case markerRgn:
      readRgn(in);
      break;
    case markerPoc:
      readPoc(in);
      return true;
    default:
      return false;
  }
  if (in.left() != 0) m_report.warn(Diag::segmentLong, in.name());
  return true;
}

void checkShape(const ImageShape& shape) {
  const Rect& image = shape.image;
  const Rect& tile = shape.firstTile;
  if (image.empty()) fail(Diag::badSiz, "the picture has no area");
  if (tile.width() == 0 || tile.height() == 0) fail(Diag::badSiz, "tiles have no area");
  if (tile.x0 > image.x0 || tile.y0 > image.y0 || tile.x1 <= image.x0 || tile.y1 <= image.y0) {
    fail(Diag::badSiz, "the first tile lies outside of the picture");
  }
  if (shape.tiles() > 65535) fail(Diag::badSiz, text(shape.tiles()) + " tiles");
}

ImageShape readSiz(HeaderReader in, Reporter& report) {
  ImageShape shape;
  shape.profile = int(in.u16());
  const int64_t x1 = in.u32(), y1 = in.u32(), x0 = in.u32(), y0 = in.u32();
  const int64_t width = in.u32(), height = in.u32(), tileX = in.u32(), tileY = in.u32();
  shape.image = {x0, y0, x1, y1};
  shape.firstTile = {tileX, tileY, tileX + width, tileY + height};
  const int components = int(in.u16());
  if (components == 0) fail(Diag::noComponents);
  if (components > 16384) fail(Diag::badSiz, text(components) + " components");
  if (in.left() < size_t(components) * 3) {
    fail(Diag::segmentShort, "SIZ, which announces " + text(components) + " components");
  }
  for (int i = 0; i < components; ++i) {
    ComponentShape c;
    const uint32_t precision = in.u8();
    c.precision = int(precision & 127) + 1;
    c.isSigned = (precision & 128) != 0;
    c.dx = int(in.u8());
    c.dy = int(in.u8());
    if (c.precision > 38) fail(Diag::badSiz, "component of " + text(c.precision) + " bits");
    if (c.dx == 0 || c.dy == 0) fail(Diag::badSiz, "component with a sampling of 0");
    shape.components.push_back(c);
  }
  if (in.left() != 0) report.warn(Diag::segmentLong, in.name());
  checkShape(shape);
  return shape;
}

void checkCapabilities(const ImageShape& shape) {
  if (shape.profile & 0x4000) fail(Diag::highThroughput);
  if (shape.profile & 0x8000) fail(Diag::partTwo, "capabilities " + text(shape.profile));
}

/// Segments of lists that are numbered and may come in any order.
using Numbered = std::vector<std::pair<uint32_t, ByteSpan>>;

void addNumbered(Numbered& list, const Segment& segment, Reporter& report) {
  HeaderReader in(segment.bytes, markerName(segment.marker));
  const uint32_t index = in.u8();
  if (!list.empty() && index <= list.back().first) report.warn(Diag::outOfOrder, in.name());
  list.emplace_back(index, in.rest());
}

std::vector<uint8_t> joined(Numbered& list) {
  std::stable_sort(list.begin(), list.end(),
                   [](const auto& a, const auto& b) { return a.first < b.first; });
  std::vector<uint8_t> all;
  for (const auto& [index, bytes] : list) all.insert(all.end(), bytes.begin(), bytes.end());
  return all;
}

/// Packet headers of one tile-part after the other, each behind its length.
void splitPackedHeaders(Codestream& stream, Reporter& report) {
  ByteSpan all(stream.packedHeaders);
  while (all.size() >= 4) {
    const uint32_t length = HeaderReader(all, "PPM").u32();
    all = all.subspan(4);
    if (length > all.size()) {
      report.warn(Diag::packedHeadersShort, "PPM");
    }
    const size_t here = std::min<size_t>(length, all.size());
    stream.packedOfTilePart.push_back(all.first(here));
    all = all.subspan(here);
  }
}

/// Packet lengths of one tile-part after the other, each behind the number of its bytes.
void splitPacketLengths(Codestream& stream) {
  ByteSpan all(stream.packetLengths);
  while (!all.empty()) {
    const size_t here = std::min<size_t>(all[0], all.size() - 1);
    stream.lengthsOfPart.push_back(all.subspan(1, here));
    all = all.subspan(1 + here);
  }
}

/// The entries of TLM, which have sizes of their own in every segment.
void readTileLengths(Numbered& segments, std::vector<TileLength>& lengths, Reporter& report) {
  std::stable_sort(segments.begin(), segments.end(),
                   [](const auto& a, const auto& b) { return a.first < b.first; });
  for (const auto& [index, bytes] : segments) {
    HeaderReader in(bytes, "TLM");
    const uint32_t sizes = in.u8(), ofTile = sizes >> 4 & 3, ofLength = sizes & 0x40 ? 4 : 2;
    if (ofTile == 3 || in.left() % (ofTile + ofLength) != 0) {
      report.warn(Diag::segmentIgnored, "TLM");
      lengths.clear();
      return;
    }
    while (in.left() > 0) {
      TileLength entry;
      // Without numbers every tile has one part, in order.
      entry.tile = ofTile == 0 ? int64_t(lengths.size()) : ofTile == 1 ? in.u8() : in.u16();
      entry.length = ofLength == 2 ? in.u16() : in.u32();
      lengths.push_back(entry);
    }
  }
}

class MainHeaderReader {
 public:
  MainHeaderReader(Codestream& stream, Reporter& report) : m_stream(stream), m_report(report) {}

  /// @return where the first tile-part stands
  size_t read(ByteSpan bytes) {
    size_t position = 2;
    const std::vector<Segment> segments = listSegments(bytes, position);
    if (segments.empty() || segments[0].marker != markerSiz) fail(Diag::noSiz);
    m_stream.shape = readSiz(HeaderReader(segments[0].bytes, "SIZ"), m_report);
    checkCapabilities(m_stream.shape);
    prepare();
    CodingReader coding(m_stream.shape, m_stream.coding, m_report, false);
    for (size_t i = 1; i < segments.size(); ++i) {
      if (!coding.read(segments[i])) other(segments[i]);
    }
    position = segments.back().offset + 4 + segments.back().bytes.size();
    finish(coding, bytes, position);
    return position;
  }

 private:
  void prepare() {
    const size_t count = m_stream.shape.components.size();
    m_stream.coding.components.resize(count);
    m_stream.coding.quantization.resize(count);
    m_stream.coding.roiShift.resize(count);
  }

  void other(const Segment& segment) {
    switch (segment.marker) {
      case markerPpm:
        addNumbered(m_packed, segment, m_report);
        break;
      case markerTlm:
        addNumbered(m_tileLengths, segment, m_report);
        break;
      case markerCom:
        if (segment.bytes.size() < 2) {
          m_report.warn(Diag::commentShort);
        } else {
          m_stream.comments.push_back({segment.bytes[1] == 1, segment.bytes.subspan(2)});
        }
        break;
      case markerCap:
        fail(Diag::highThroughput);
      case markerSiz:
        m_report.warn(Diag::segmentRepeated, "SIZ");
        break;
      case markerCrg:
        if (segment.bytes.size() != m_stream.shape.components.size() * 4) {
          m_report.warn(segment.bytes.size() < m_stream.shape.components.size() * 4
                            ? Diag::segmentIgnored
                            : Diag::segmentLong,
                        "CRG");
        }
        break;
      case markerPlm:
        addNumbered(m_packetLengths, segment, m_report);
        break;
      default:
        m_report.warn(Diag::unknownMarker, markerName(segment.marker));
    }
  }

  void finish(const CodingReader& coding, ByteSpan bytes, size_t position) {
    const bool complete = position + 2 <= bytes.size() && bytes[position] == 0xFF &&
                          (bytes[position + 1] == 0x90 || bytes[position + 1] == 0xD9);
    if (!complete && position + 2 <= bytes.size()) {
      fail(Diag::badSegment, "at byte " + text(int64_t(position)));
    }
    if (!coding.sawCod) fail(Diag::noCod);
    if (!coding.sawQcd) fail(Diag::noQcd);
    m_stream.packedHeaders = joined(m_packed);
    splitPackedHeaders(m_stream, m_report);
    readTileLengths(m_tileLengths, m_stream.tileLengths, m_report);
    m_stream.packetLengths = joined(m_packetLengths);
    splitPacketLengths(m_stream);
  }

  Codestream& m_stream;
  Reporter& m_report;
  Numbered m_packed, m_tileLengths, m_packetLengths;
};

/// Lengths of seven bits a byte, the last byte of each below 128.
void readPacketLengths(ByteSpan bytes, std::vector<uint32_t>& lengths) {
  uint32_t value = 0;
  for (const uint8_t byte : bytes) {
    value = value << 7 | (byte & 127);
    if (byte & 128) continue;
    lengths.push_back(value);
    value = 0;
  }
}

}  // namespace

Codestream readMainHeader(ByteSpan bytes, Reporter& report) {
  if (bytes.size() < 2 || bytes[0] != 0xFF || bytes[1] != 0x4F) fail(Diag::noSoc);
  Codestream stream;
  stream.firstTilePart = MainHeaderReader(stream, report).read(bytes);
  return stream;
}

namespace {

/// What the headers of the parts of one tile tell besides coding, part after part.
class TileHeaderReader {
 public:
  TileHeaderReader(const Codestream& stream, TileHeader& header, Reporter& report)
      : m_stream(stream),
        m_header(header),
        m_report(report),
        m_coding(stream.shape, header.coding, report, true) {}

  void read(size_t index);
  void finish() {
    m_header.packed = m_anyPacked || !m_stream.packedHeaders.empty();
    if (!m_allLengths) m_header.packetLengths.clear();
  }

 private:
  void addLengths(const TilePart& part, ByteSpan own);

  const Codestream& m_stream;
  TileHeader& m_header;
  Reporter& m_report;
  CodingReader m_coding;
  bool m_anyPacked = false, m_allLengths = true;
};

/// Lengths that do not add up to what is there are of no use.
void TileHeaderReader::addLengths(const TilePart& part, ByteSpan own) {
  if (own.empty() && part.number < m_stream.lengthsOfPart.size()) {
    own = m_stream.lengthsOfPart[part.number];
  }
  const size_t before = m_header.packetLengths.size();
  readPacketLengths(own, m_header.packetLengths);
  uint64_t sum = 0;
  for (size_t i = before; i < m_header.packetLengths.size(); ++i) sum += m_header.packetLengths[i];
  const size_t there = part.body.size();
  if (!own.empty() && sum < there) m_report.warn(Diag::segmentIgnored, "PLT or PLM");
  m_allLengths = m_allLengths && sum == there;
}

void TileHeaderReader::read(size_t index) {
  Numbered lengths, packed;
  const TilePart& part = m_stream.tileParts[index];
  for (const Segment& segment : listSegments(part.header, 0)) {
    if (m_coding.read(segment)) continue;
    switch (segment.marker) {
      case markerPpt:
        addNumbered(packed, segment, m_report);
        break;
      case markerPlt:
        addNumbered(lengths, segment, m_report);
        break;
      case markerCom:
        break;
      default:
        m_report.warn(Diag::unknownMarker, markerName(segment.marker));
    }
  }
  addLengths(part, joined(lengths));
  m_anyPacked = m_anyPacked || !packed.empty();
  const std::vector<uint8_t> headers = joined(packed);
  std::vector<uint8_t>& all = m_header.packedHeaders;
  all.insert(all.end(), headers.begin(), headers.end());
  if (part.number >= m_stream.packedOfTilePart.size()) return;
  const ByteSpan own = m_stream.packedOfTilePart[part.number];
  all.insert(all.end(), own.begin(), own.end());
}

}  // namespace

TileHeader readTileHeader(const Codestream& stream, int64_t tile, Reporter& report) {
  TileHeader header;
  header.coding = stream.coding;
  TileHeaderReader reader(stream, header, report);
  for (const size_t index : stream.ofTile.at(tile)) reader.read(index);
  reader.finish();
  return header;
}

}  // namespace j2k
