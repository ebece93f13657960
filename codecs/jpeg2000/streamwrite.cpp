// A codestream put together: headers, tile-parts, packets.
#include "streamwrite.h"

#include <algorithm>

#include "progression.h"

namespace j2k {
namespace {

constexpr const char* commentText = "Created by jpeg2kcodec 1.0.0";

/// A stretch of packets that stand in one tile-part.
struct Part {
  int64_t tile = 0;
  int index = 0;
  std::vector<uint8_t> bytes;    ///< packets, or their bodies where headers are packed
  std::vector<uint8_t> headers;  ///< packed
  std::vector<uint32_t> packetLengths;
};

constexpr size_t mostParts = 255;

bool beginsPart(char tileParts, const PacketIndex& previous, const PacketIndex& next) {
  switch (tileParts) {
    case 'R':
      return previous.resolution != next.resolution;
    case 'L':
      return previous.layer != next.layer;
    case 'C':
      return previous.component != next.component;
    default:
      return false;
  }
}

/// Tile-parts that a tile is going to have.
size_t countParts(char tileParts, const EncodePlan& plan, const TileEncoder& encoder) {
  if (tileParts == 0) return 1;
  PacketOrder order(encoder.rect(), plan.shape, encoder.geometry(), plan.coding);
  size_t parts = 1;
  std::optional<PacketIndex> previous;
  while (const auto index = order.next()) {
    if (previous && beginsPart(tileParts, *previous, *index) && parts < mostParts) ++parts;
    previous = index;
  }
  return parts;
}

class TileWriter {
 public:
  TileWriter(const Options& options, const EncodePlan& plan, int64_t tile, TilePackets& packets,
             const TileEncoder& encoder)
      : m_options(options), m_plan(plan), m_tile(tile), m_packets(packets), m_encoder(encoder) {}

  std::vector<Part> parts();

 private:
  void packet(const PacketIndex& index, Part& part);
  static void appendBodies(const PrecinctOutput& precinct, const TilePackets& packets, int layer,
                           std::vector<uint8_t>& out);

  const Options& m_options;
  const EncodePlan& m_plan;
  int64_t m_tile;
  TilePackets& m_packets;
  const TileEncoder& m_encoder;
  int m_number = 0;
  std::vector<uint8_t> m_header;
};

void TileWriter::appendBodies(const PrecinctOutput& precinct, const TilePackets& packets, int layer,
                              std::vector<uint8_t>& out) {
  const std::vector<uint8_t>& cuts = packets.cuts[size_t(layer)];
  for (int b = 0; b < precinct.bandCount; ++b) {
    const PrecinctOutput::PerBand& band = precinct.bands[size_t(b)];
    for (size_t i = band.firstBlock; i < band.firstBlock + band.blocks.size(); ++i) {
      const int before = layer > 0 ? packets.cuts[size_t(layer) - 1][i] : 0;
      const CodedBlock& block = packets.blocks[i];
      if (cuts[i] <= before) continue;
      const uint32_t from = before > 0 ? block.passes[before - 1].length : 0;
      out.insert(out.end(), block.bytes + from, block.bytes + block.passes[cuts[i] - 1].length);
    }
  }
}

void TileWriter::packet(const PacketIndex& index, Part& part) {
  TilePackets::Lane& lane = m_packets.lanes[size_t(index.component)][size_t(index.resolution)];
  PrecinctOutput& precinct = lane.precincts[size_t(index.precinct)];
  const size_t before = part.bytes.size();
  if (m_options.sop) {
    put16(part.bytes, markerSop);
    put16(part.bytes, 4);
    put16(part.bytes, uint32_t(m_number & 0xFFFF));
  }
  ++m_number;
  m_header.clear();
  writePacketHeader(m_header, precinct, index.layer, lane.style, m_packets.blocks.data(),
                    m_packets.cuts[size_t(index.layer)].data());
  if (m_options.eph) put16(m_header, markerEph);
  std::vector<uint8_t>& headers = m_options.packedHeaders ? part.headers : part.bytes;
  headers.insert(headers.end(), m_header.begin(), m_header.end());
  appendBodies(precinct, m_packets, index.layer, part.bytes);
  // Headers that stand elsewhere do not count.
  part.packetLengths.push_back(uint32_t(part.bytes.size() - before));
}

std::vector<Part> TileWriter::parts() {
  std::vector<Part> list(1);
  list[0].tile = m_tile;
  PacketOrder order(m_encoder.rect(), m_plan.shape, m_encoder.geometry(), m_plan.coding);
  std::optional<PacketIndex> previous;
  while (const auto index = order.next()) {
    if (previous && beginsPart(m_options.tileParts, *previous, *index) && list.size() < mostParts) {
      const int number = int(list.size());
      list.emplace_back();
      list.back().tile = m_tile;
      list.back().index = number;
    }
    packet(*index, list.back());
    previous = index;
  }
  return list;
}

constexpr size_t segmentRoomBytes = 65000;

/// Bytes that may be too many for one segment, in numbered ones.
/// @param number  of the first one; moved on
void writeNumbered(std::vector<uint8_t>& out, int marker, const std::vector<uint8_t>& bytes,
                   int& number) {
  for (size_t at = 0; at < bytes.size(); at += segmentRoomBytes, ++number) {
    if (number > 255) fail(Diag::badOptions, "more than 256 segments of " + markerName(marker));
    const size_t count = std::min(segmentRoomBytes, bytes.size() - at);
    put16(out, uint32_t(marker));
    put16(out, uint32_t(count + 3));
    out.push_back(uint8_t(number));
    out.insert(out.end(), bytes.begin() + int64_t(at), bytes.begin() + int64_t(at + count));
  }
}

std::vector<uint8_t> packedLengths(const std::vector<uint32_t>& lengths) {
  std::vector<uint8_t> bytes;
  for (const uint32_t length : lengths) {
    for (int shift = 28; shift > 0; shift -= 7) {
      if (length >> shift) bytes.push_back(uint8_t(0x80 | (length >> shift & 127)));
    }
    bytes.push_back(uint8_t(length & 127));
  }
  return bytes;
}

/// @param packed  number of the tile's next segment of packed headers
void writePart(const Options& options, const Part& part, int count, int& packed,
               std::vector<uint8_t>& out) {
  const size_t sot = writeTilePart(out, part.tile, part.index, count);
  int lengths = 0;
  if (options.plt) writeNumbered(out, markerPlt, packedLengths(part.packetLengths), lengths);
  if (options.packedHeaders == 'T') writeNumbered(out, markerPpt, part.headers, packed);
  put16(out, markerSod);
  out.insert(out.end(), part.bytes.begin(), part.bytes.end());
  finishTilePart(out, sot);
}

constexpr size_t tlmEntry = 6;  // tile of two bytes, length of four
constexpr size_t tlmEntries = 10000;

/// Room for the lengths of all tile-parts; they are known when these are written.
size_t writeTlm(std::vector<uint8_t>& out, size_t parts) {
  const size_t start = out.size();
  int number = 0;
  while (parts > 0) {
    const size_t here = std::min(parts, tlmEntries);
    put16(out, markerTlm);
    put16(out, uint32_t(4 + here * tlmEntry));
    out.push_back(uint8_t(number++));
    out.push_back(0x60);
    out.resize(out.size() + here * tlmEntry);
    parts -= here;
  }
  return start;
}

void fillTlm(std::vector<uint8_t>& out, size_t start, size_t index, int64_t tile, size_t length) {
  uint8_t* const entry = &out[start + (index / tlmEntries + 1) * 6 + index * tlmEntry];
  base::storeBytes(entry, uint16_t(tile), base::ByteOrder::big);
  base::storeBytes(entry + 2, uint32_t(length), base::ByteOrder::big);
}

}  // namespace

LayerCosts fixedCosts(const Options& options, const EncodePlan& plan,
                      const std::vector<std::unique_ptr<TileEncoder>>& encoders) {
  LayerCosts costs;
  std::vector<uint8_t> header;
  writeMainHeader(header, plan.shape, plan.coding, commentText);
  costs.perPacket = (options.sop ? 6 : 0) + (options.eph ? 2 : 0);
  costs.lengths = options.plt;
  costs.fixed = int64_t(header.size()) + 2;
  for (const auto& encoder : encoders) {
    costs.parts += int64_t(countParts(options.tileParts, plan, *encoder));
  }
  // PLT, PPT and PPM have a head each, once more for every 65000 bytes.
  const int heads = (options.plt ? 5 : 0) + (options.packedHeaders ? 9 : 0);
  costs.fixed += costs.parts * (14 + heads);
  if (options.tlm) {
    costs.fixed += costs.parts * int64_t(tlmEntry) + (costs.parts / int64_t(tlmEntries) + 1) * 6;
  }
  return costs;
}

namespace {

/// The tile-parts of one tile, or of all, one after the other.
class StreamWriter {
 public:
  StreamWriter(const Options& options, size_t tlm, std::vector<uint8_t>& out)
      : m_options(options), m_tlm(tlm), m_out(out) {}

  void write(const std::vector<Part>& parts) {
    int packed = 0;
    for (const Part& part : parts) {
      const size_t start = m_out.size();
      writePart(m_options, part, int(parts.size()), packed, m_out);
      if (m_options.tlm) fillTlm(m_out, m_tlm, m_index, part.tile, m_out.size() - start);
      ++m_index;
    }
  }

 private:
  const Options& m_options;
  size_t m_tlm;
  std::vector<uint8_t>& m_out;
  size_t m_index = 0;
};

void writePackedInMain(const std::vector<std::vector<Part>>& tiles, std::vector<uint8_t>& out) {
  std::vector<uint8_t> packed;
  for (const auto& parts : tiles) {
    for (const Part& part : parts) {
      put32(packed, uint32_t(part.headers.size()));
      packed.insert(packed.end(), part.headers.begin(), part.headers.end());
    }
  }
  int number = 0;
  writeNumbered(out, markerPpm, packed, number);
}

}  // namespace

void writeCodestream(const Options& options, const EncodePlan& plan,
                     std::vector<TilePackets>& tiles,
                     const std::vector<std::unique_ptr<TileEncoder>>& encoders,
                     std::vector<uint8_t>& out) {
  writeMainHeader(out, plan.shape, plan.coding, commentText);
  size_t tlm = 0;
  if (options.tlm) {
    size_t count = 0;
    for (const auto& encoder : encoders) count += countParts(options.tileParts, plan, *encoder);
    tlm = writeTlm(out, count);
  }
  const auto partsOf = [&](size_t t) {
    return TileWriter(options, plan, int64_t(t), tiles[t], *encoders[t]).parts();
  };
  StreamWriter writer(options, tlm, out);
  if (options.packedHeaders == 'M') {
    // All headers come before the first tile.
    std::vector<std::vector<Part>> parts;
    for (size_t t = 0; t < tiles.size(); ++t) parts.push_back(partsOf(t));
    writePackedInMain(parts, out);
    for (const auto& ofTile : parts) writer.write(ofTile);
  } else {
    for (size_t t = 0; t < tiles.size(); ++t) writer.write(partsOf(t));
  }
  put16(out, markerEoc);
}

}  // namespace j2k
