#pragma once
/// @file
/// Rate control: what every layer takes of every block, chosen by the slope of distortion against
/// bytes after coding.

#include <cstdint>
#include <span>
#include <vector>

#include "common/workers.h"
#include "packet.h"

namespace j2k {

/// Length of the vectors that a wavelet builds a picture of: the weight of an error in a band of
/// this level and orientation, as the square root of its share of squared errors.
double bandNorm(bool reversible, int level, int orientation);
/// The same of a component that was transformed with two others.
double colourNorm(bool reversible, int component);

/// A tile whose blocks are coded and whose packets are being laid out.
struct TilePackets {
  struct Lane {
    int style = 0;
    std::vector<PrecinctOutput> precincts;
  };
  using Lanes = std::vector<std::vector<Lane>>;  ///< component, resolution
  Lanes lanes;
  std::vector<CodedBlock> blocks;
  std::vector<std::vector<uint8_t>> cuts;  ///< layer, block: passes up to and with this layer

  /// Bytes that a layer takes.
  struct Size {
    int64_t headers = 0, bodies = 0, packets = 0;
    int64_t lengthBytes = 0;  ///< of the packets' lengths as PLT tells them
  };
  /// @param state  precincts of a lane as earlier layers left them; moved on
  Size layOut(int layer, Lane& state, std::vector<uint8_t>& scratch) const;
};

/// What a layer must keep to.
struct LayerGoal {
  enum Kind { everything, bytes, distortion };
  Kind kind = everything;
  double value = 0;  ///< bytes of the whole file to here, or the sum of squared errors left
};

struct LayerCosts {
  int64_t fixed = 0;      ///< bytes of the file that are no packets
  int64_t perPacket = 0;  ///< SOP and EPH
  bool lengths = false;   ///< PLT
  int64_t parts = 0;      ///< tile-parts in all
};

/// Chooses cuts[layer] of all tiles for one layer after the other.
class RateControl {
 public:
  RateControl(std::span<TilePackets> tiles, const LayerCosts& costs, codecs::Workers& workers);

  /// @return false when not even nothing fits
  bool choose(int layer, const LayerGoal& goal);
  /// Bytes of the packets of all layers that are chosen.
  int64_t bytes() const { return m_before; }
  /// Slope below which the layer that was chosen last takes nothing.
  double threshold() const { return m_threshold; }

 private:
  /// What passes of at least this slope take and gain.
  struct Step {
    float slope = 0;
    double bytes = 0, gain = 0;
  };
  Step stepsTo(double threshold) const;
  double thresholdForBytes(double limit) const;
  double thresholdForGain(double wanted) const;
  /// One component of a tile at one resolution: what threads share.
  struct LaneIndex {
    uint32_t tile, component, resolution;
  };
  /// What a thread tries lanes with.
  struct Trial {
    TilePackets::Lane lane;
    std::vector<uint8_t> header;
    int64_t bytes = 0;
  };
  void listLanes();
  void makeSteps();
  void beginCuts(int layer);
  void cutBlocks(int layer, TilePackets& tile, const PrecinctOutput::PerBand& band,
                 double threshold) const;
  void cutLane(int layer, const LaneIndex& lane, double threshold);
  void cut(int layer, double threshold);
  int64_t sizeWith(int layer, double threshold);
  int64_t sizeOf(int layer, const LaneIndex& lane, TilePackets::Lane& state,
                 std::vector<uint8_t>& header) const;
  int64_t size(int layer);
  template <typename Task>
  void forEachLane(const Task& task);
  /// A place to cut a block at.
  struct Candidate {
    float slope;
    size_t tile, block;
    uint8_t cut;
  };
  std::vector<Candidate> candidates(int layer, bool all) const;
  void fill(int layer, int64_t limit);
  void fillByTrial(int layer, int64_t limit);
  void keep(int layer);

  std::span<TilePackets> m_tiles;
  codecs::Workers& m_workers;
  std::vector<LaneIndex> m_lanes;            ///< large ones first
  std::vector<TilePackets::Lanes> m_states;  ///< of tiles, behind the layers that are chosen
  std::vector<Trial> m_trials;               ///< of workers
  size_t m_blocks = 0;
  LayerCosts m_costs;
  std::vector<Step> m_steps;  ///< from the steepest on, each with all before it
  int64_t m_before = 0;       ///< bytes of earlier layers
  double m_threshold = 0;
  double m_total = 0;  ///< distortion that all passes take away
};

}  // namespace j2k
