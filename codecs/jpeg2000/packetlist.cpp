// The packets of all tiles in readable lines.
#include <map>
#include <tuple>

#include "listing.h"
#include "packetwalk.h"
#include "tiledecode.h"

namespace j2k {
namespace {

std::string text(int64_t value) { return std::to_string(value); }

/// Through the packets of one tile, whose headers are read and whose bodies are stepped over.
class PacketLister {
 public:
  PacketLister(const Codestream& stream, int64_t tile, const uint8_t* file, Budget budget,
               Diagnostics& out)
      : m_stream(stream), m_tile(tile), m_file(file), m_budget(budget), m_out(out) {}

  void list() {
    try {
      walk(readTileHeader(m_stream, m_tile, m_quiet));
    } catch (const Failure& failure) {
      line("the rest is not listed: " + text(int(failure.number)) + " " + failure.detail);
    }
  }

 private:
  void line(const std::string& content) { m_out.line("    " + content); }
  void walk(const TileHeader& header);
  PrecinctState& precinctOf(const PacketIndex& packet);
  void tellLost(int64_t next);
  void tell(const PacketIndex& packet, int64_t number, const uint8_t* place,
            const PacketReader& reader);

  const Codestream& m_stream;
  int64_t m_tile;
  const uint8_t* m_file;
  Budget m_budget;
  Diagnostics& m_out;
  Diagnostics m_nobody;
  Reporter m_quiet{m_nobody, false};
  std::vector<TileComponent> m_geometry;
  std::map<std::tuple<int, int, int64_t>, PrecinctState> m_precincts;
  int64_t m_firstLost = -1;
};

PrecinctState& PacketLister::precinctOf(const PacketIndex& packet) {
  const auto key = std::tuple(packet.component, packet.resolution, packet.precinct);
  const auto found = m_precincts.find(key);
  if (found != m_precincts.end()) return found->second;
  const Resolution& resolution =
      m_geometry[size_t(packet.component)].resolutions[size_t(packet.resolution)];
  m_budget.take(PrecinctState::bytes(resolution, packet.precinct));
  return m_precincts.try_emplace(key, resolution, packet.precinct).first->second;
}

/// One line for all packets that were lost one after the other: damage may take millions.
void PacketLister::tellLost(int64_t next) {
  if (m_firstLost >= 0) {
    line("packets " + text(m_firstLost) + " to " + text(next - 1) + ": lost");
  }
  m_firstLost = -1;
}

void PacketLister::tell(const PacketIndex& packet, int64_t number, const uint8_t* place,
                        const PacketReader& reader) {
  line("packet " + text(number) + " at " + text(place - m_file) + ": component " +
       text(packet.component) + ", resolution " + text(packet.resolution) + ", precinct " +
       text(packet.precinct) + ", layer " + text(packet.layer) + ": header " +
       text(int64_t(reader.headerBytes)) + ", body " + text(int64_t(reader.bodyBytes)) +
       " bytes, " + text(reader.blocks) + (reader.blocks == 1 ? " block" : " blocks"));
}

void PacketLister::walk(const TileHeader& header) {
  const Rect rect = m_stream.shape.tile(m_tile);
  const Coding& coding = header.coding;
  for (size_t c = 0; c < coding.components.size(); ++c) {
    m_budget.take(int64_t(sizeof(Resolution)) * (coding.components[c].partition.levels + 1));
    m_geometry.emplace_back(rect, m_stream.shape.components[c], coding.components[c].partition);
  }
  PacketOrder order(rect, m_stream.shape, m_geometry, coding);
  std::vector<Chunk> none;
  PacketReader reader(none);
  PacketWalk walk(m_stream, m_tile, header, m_quiet);
  while (const auto packet = order.next()) {
    const int64_t number = walk.number();
    const PacketWalk::Next next = walk.find();
    if (next == PacketWalk::Next::ended) {
      tellLost(number);
      line("packet " + text(number) + " and those behind it are missing");
      return;
    }
    const uint8_t* const place = walk.place();
    PrecinctState& precinct = precinctOf(*packet);
    bool lost = next == PacketWalk::Next::lost;
    if (!lost && precinct.damaged) {
      walk.lose();
      lost = true;
    }
    precinct.damaged = precinct.damaged || lost;
    const int style = coding.components[size_t(packet->component)].style;
    if (lost || !walk.read(precinct, packet->layer, style, false, reader)) {
      if (m_firstLost < 0) m_firstLost = number;
      continue;
    }
    tellLost(number);
    tell(*packet, number, place, reader);
  }
  tellLost(walk.number());
}

}  // namespace

void listPackets(const BoxInfo& boxes, const Codestream& stream, int64_t memory, Diagnostics& out) {
  const uint8_t* const file = boxes.codestream.data() - boxes.codestreamOffset;
  for (const auto& [tile, parts] : stream.ofTile) {
    const Rect rect = stream.shape.tile(tile);
    out.line("packets of tile " + text(tile) + ", " + text(rect.width()) + "x" +
             text(rect.height()) + " at " + text(rect.x0) + "," + text(rect.y0));
    PacketLister(stream, tile, file, Budget(memory), out).list();
  }
}

}  // namespace j2k
