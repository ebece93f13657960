// The five orders of packets, and their changes.
#include "progression.h"

#include <algorithm>
#include <tuple>

namespace j2k {

PacketOrder::PacketOrder(const Rect& tile, const ImageShape& shape,
                         const std::vector<TileComponent>& components, const Coding& coding)
    : m_stretches(coding.progressions()), m_layers(coding.layers) {
  for (size_t c = 0; c < components.size(); ++c) {
    for (const Resolution& r : components[c].resolutions) {
      if (r.precincts() == 0) continue;
      m_lanes.push_back({int(c), r.index, r.precincts(), r.precinctsWide,
                         PrecinctPositions(tile, shape.components[c], components[c], r.index)});
    }
  }
  // Every stretch looks at every lane once.
  constexpr size_t limit = 100'000'000;
  if (m_stretches.size() > limit / (m_lanes.size() + 1)) {
    fail(Diag::tooMuchWork, std::to_string(m_stretches.size()) + " progression changes");
  }
}

void PacketOrder::begin(const Progression& stretch) {
  m_order = stretch.order;
  m_endLayer = std::min(stretch.endLayer, m_layers);
  m_taking.clear();
  m_waiting.clear();
  for (size_t i = 0; i < m_lanes.size(); ++i) {
    const Lane& lane = m_lanes[i];
    if (lane.component >= stretch.firstComponent && lane.component < stretch.endComponent &&
        lane.resolution >= stretch.firstResolution && lane.resolution < stretch.endResolution &&
        lane.layersDone < m_endLayer) {
      m_taking.push_back(i);
    }
  }
  std::sort(m_taking.begin(), m_taking.end(), [&](size_t a, size_t b) {
    const Lane &p = m_lanes[a], &q = m_lanes[b];
    return std::tie(p.resolution, p.component) < std::tie(q.resolution, q.component);
  });
  m_group = m_turn = 0;
  m_precinct = 0;
  m_layer = 0;
  if (m_order == Order::lrcp || m_order == Order::rlcp) return;
  for (const size_t i : m_taking) m_waiting.emplace(key({i, 0}), Turn{i, 0});
  m_layer = m_taking.empty() ? 0 : m_lanes[m_waiting.begin()->second.lane].layersDone;
}

void PacketOrder::end() {
  for (const size_t i : m_taking) m_lanes[i].layersDone = m_endLayer;
}

PacketOrder::Key PacketOrder::key(const Turn& turn) const {
  const Lane& lane = m_lanes[turn.lane];
  const int64_t c = lane.component, r = lane.resolution;
  const int64_t x = lane.positions.x(turn.precinct % lane.precinctsWide);
  const int64_t y = lane.positions.y(turn.precinct / lane.precinctsWide);
  switch (m_order) {
    case Order::rpcl:
      return {r, y, x, c};
    case Order::pcrl:
      return {y, x, c, r};
    default:
      return {c, y, x, r};
  }
}

std::optional<PacketIndex> PacketOrder::nextByPosition() {
  if (m_waiting.empty()) return std::nullopt;
  const auto first = m_waiting.begin();
  Turn turn = first->second;
  const Lane& lane = m_lanes[turn.lane];
  const PacketIndex now = packet(lane, turn.precinct, m_layer);
  if (++m_layer < m_endLayer) return now;
  m_waiting.erase(first);
  if (++turn.precinct < lane.precincts) m_waiting.emplace(key(turn), turn);
  if (!m_waiting.empty()) m_layer = m_lanes[m_waiting.begin()->second.lane].layersDone;
  return now;
}

/// Where the lanes end that share the loop over layers: those of one resolution, or all.
size_t PacketOrder::groupEnd() const {
  if (m_order == Order::lrcp) return m_taking.size();
  size_t end = m_group;
  while (end < m_taking.size() &&
         m_lanes[m_taking[end]].resolution == m_lanes[m_taking[m_group]].resolution) {
    ++end;
  }
  return end;
}

std::optional<PacketIndex> PacketOrder::nextByLayer() {
  while (m_group < m_taking.size()) {
    const size_t last = groupEnd();
    for (; m_layer < m_endLayer; ++m_layer, m_turn = m_group) {
      for (; m_turn < last; ++m_turn, m_precinct = 0) {
        const Lane& lane = m_lanes[m_taking[m_turn]];
        if (lane.layersDone <= m_layer && m_precinct < lane.precincts) {
          return packet(lane, m_precinct++, m_layer);
        }
      }
    }
    m_group = m_turn = last;
    m_layer = 0;
  }
  return std::nullopt;
}

std::optional<PacketIndex> PacketOrder::next() {
  for (; m_stretch < m_stretches.size(); ++m_stretch, m_begun = false) {
    if (!m_begun) begin(m_stretches[m_stretch]);
    m_begun = true;
    const bool byLayer = m_order == Order::lrcp || m_order == Order::rlcp;
    if (auto found = byLayer ? nextByLayer() : nextByPosition()) return found;
    end();
  }
  return std::nullopt;
}

}  // namespace j2k
