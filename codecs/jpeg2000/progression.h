#pragma once
/// @file
/// The order in which the packets of a tile stand. Every step yields a packet that has not been
/// yielded, so that whatever a header announces, work is in proportion to packets.
/// @see ITU-T T.800, B.12

#include <array>
#include <cstdint>
#include <map>
#include <optional>
#include <vector>

#include "codestream.h"
#include "geometry.h"

namespace j2k {

struct PacketIndex {
  int component = 0;
  int resolution = 0;
  int64_t precinct = 0;
  int layer = 0;
};

class PacketOrder {
 public:
  /// All three must outlive this object.
  PacketOrder(const Rect& tile, const ImageShape& shape,
              const std::vector<TileComponent>& components, const Coding& coding);

  /// The next packet, or none when all are through.
  std::optional<PacketIndex> next();

 private:
  /// One resolution of one component that has precincts at all. Stretches take whole lanes.
  struct Lane {
    int component, resolution;
    int64_t precincts, precinctsWide;
    PrecinctPositions positions;
    int layersDone = 0;  ///< by earlier stretches
  };
  using Key = std::array<int64_t, 4>;
  struct Turn {
    size_t lane;
    int64_t precinct;
  };

  void begin(const Progression& stretch);
  void end();
  Key key(const Turn& turn) const;
  std::optional<PacketIndex> nextByLayer();
  std::optional<PacketIndex> nextByPosition();
  PacketIndex packet(const Lane& lane, int64_t precinct, int layer) const {
    return {lane.component, lane.resolution, precinct, layer};
  }
  size_t groupEnd() const;

  std::vector<Progression> m_stretches;
  int m_layers;
  size_t m_stretch = 0;
  bool m_begun = false;
  std::vector<Lane> m_lanes;

  // The present stretch
  Order m_order = Order::lrcp;
  int m_endLayer = 0;
  std::vector<size_t> m_taking;    ///< lanes in it, in the order of their turns
  size_t m_group = 0, m_turn = 0;  ///< by layer: lanes that go together; the present one
  int64_t m_precinct = 0;
  int m_layer = 0;
  std::multimap<Key, Turn> m_waiting;  ///< by position: the next precinct of every lane
};

}  // namespace j2k
