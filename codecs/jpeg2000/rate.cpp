// Rate control by slopes of distortion against bytes.
#include "rate.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "geometry.h"

namespace j2k {
namespace {

/// One level of synthesis of a line: highs from `high`, lows from `low`, either may be empty.
std::vector<double> synthesised(const std::vector<double>& line, bool isHigh, bool reversible) {
  // Zero-stuffed and convolved with the synthesis filter of the branch.
  static const std::vector<double> low53 = {0.5, 1, 0.5};
  static const std::vector<double> high53 = {-0.125, -0.25, 0.75, -0.25, -0.125};
  // With a gain of 1 at zero frequency and of 1/2 times 2 at the highest, as the lifting has it.
  static const std::vector<double> low97 = {
      -0.091271763114250, -0.057543526228500, 0.591271763114250, 1.115087052457000,
      0.591271763114250,  -0.057543526228500, -0.091271763114250};
  static const std::vector<double> high97 = {
      0.026748757410810,  0.016864118442875, -0.078223266528990,
      -0.266864118442875, 0.602949018236360, -0.266864118442875,
      -0.078223266528990, 0.016864118442875, 0.026748757410810};
  const std::vector<double>& filter =
      reversible ? (isHigh ? high53 : low53) : (isHigh ? high97 : low97);
  std::vector<double> out(line.size() * 2 + filter.size());
  for (size_t i = 0; i < line.size(); ++i) {
    for (size_t k = 0; k < filter.size(); ++k) out[2 * i + k] += line[i] * filter[k];
  }
  return out;
}

/// Length of the vector that a unit in the low or high part of a level becomes.
double lineNorm(bool reversible, int level, bool isHigh) {
  if (level == 0) return 1;
  std::vector<double> line = synthesised({1.0}, isHigh, reversible);
  for (int i = 1; i < level; ++i) line = synthesised(line, false, reversible);
  double sum = 0;
  for (const double v : line) sum += v * v;
  return std::sqrt(sum);
}

}  // namespace

double bandNorm(bool reversible, int level, int orientation) {
  constexpr int known = 10;
  static const auto table = [] {
    std::array<std::array<std::array<double, 2>, known + 1>, 2> norms{};
    for (int r = 0; r < 2; ++r) {
      for (int l = 0; l <= known; ++l) {
        for (int h = 0; h < 2; ++h)
          norms[size_t(r)][size_t(l)][size_t(h)] = lineNorm(r == 1, l, h == 1);
      }
    }
    return norms;
  }();
  const auto& own = table[reversible ? 1 : 0][size_t(std::min(level, known))];
  // From there on every level doubles both directions' energy.
  const double beyond = level > known ? std::ldexp(1.0, level - known) : 1;
  return own[size_t(orientation & 1)] * own[size_t(orientation >> 1)] * beyond;
}

double colourNorm(bool reversible, int component) {
  static constexpr double norms[2][3] = {{1.7321, 1.8051, 1.5734}, {1.7321, 0.8292, 0.8292}};
  return component < 3 ? norms[reversible ? 1 : 0][component] : 1;
}

TilePackets::Size TilePackets::layOut(int layer, Lane& state, std::vector<uint8_t>& scratch) const {
  Size size;
  for (PrecinctOutput& precinct : state.precincts) {
    scratch.clear();
    const size_t body = writePacketHeader(scratch, precinct, layer, state.style, blocks.data(),
                                          cuts[size_t(layer)].data());
    size.headers += int64_t(scratch.size());
    size.bodies += int64_t(body);
    ++size.packets;
    for (size_t n = scratch.size() + body + 8; n > 0; n >>= 7) ++size.lengthBytes;
  }
  return size;
}

RateControl::RateControl(std::span<TilePackets> tiles, const LayerCosts& costs,
                         codecs::Workers& workers)
    : m_tiles(tiles), m_workers(workers), m_trials(size_t(workers.count())), m_costs(costs) {
  listLanes();
  for (const TilePackets& tile : tiles) {
    m_states.push_back(tile.lanes);
    m_blocks += tile.blocks.size();
  }
}

/// All passes that blocks may be cut at, for layers that do not take everything.
void RateControl::makeSteps() {
  if (!m_steps.empty()) return;
  m_total = 0;
  for (const TilePackets& tile : m_tiles) {
    for (const CodedBlock& block : tile.blocks) {
      PassRecord last;
      for (int i = 0; i < block.count; ++i) {
        const PassRecord& pass = block.passes[i];
        if (pass.slope <= 0) continue;
        m_steps.push_back(
            {pass.slope, double(pass.length - last.length), pass.distortion - last.distortion});
        last = pass;
      }
      if (block.count > 0) m_total += block.passes[block.count - 1].distortion;
    }
  }
  std::sort(m_steps.begin(), m_steps.end(),
            [](const Step& a, const Step& b) { return a.slope > b.slope; });
  Step all{};
  for (Step& step : m_steps) {
    all.bytes += step.bytes;
    all.gain += step.gain;
    step = {step.slope, all.bytes, all.gain};
  }
}

/// All steps down to a threshold.
RateControl::Step RateControl::stepsTo(double threshold) const {
  const auto end = std::partition_point(
      m_steps.begin(), m_steps.end(),
      [limit = float(threshold)](const Step& step) { return step.slope >= limit; });
  return end == m_steps.begin() ? Step{} : *std::prev(end);
}

namespace {

/// Bisects thresholds by their logarithm; @return the lowest for which `holds`, which must be so
/// for all above it.
template <typename Holds>
double lowestThreshold(const Holds& holds) {
  double low = -40, high = 101;  // powers of two
  for (int i = 0; i < 32; ++i) {
    const double middle = (low + high) / 2;
    (holds(std::exp2(middle)) ? high : low) = middle;
  }
  return std::exp2(high);
}

}  // namespace

double RateControl::thresholdForBytes(double limit) const {
  return lowestThreshold([&](double t) { return stepsTo(t).bytes <= limit; });
}

double RateControl::thresholdForGain(double wanted) const {
  // The highest that reaches it is the lowest that does not, a step down.
  return lowestThreshold([&](double t) { return stepsTo(t).gain < wanted; }) * (1 - 1e-6);
}

/// Resolution after resolution from the top one down, each with a quarter of the one before.
void RateControl::listLanes() {
  for (size_t t = 0; t < m_tiles.size(); ++t) {
    const TilePackets::Lanes& lanes = m_tiles[t].lanes;
    for (size_t c = 0; c < lanes.size(); ++c) {
      for (size_t r = 0; r < lanes[c].size(); ++r) {
        m_lanes.push_back({uint32_t(t), uint32_t(c), uint32_t(r)});
      }
    }
  }
  std::stable_sort(m_lanes.begin(), m_lanes.end(), [](const LaneIndex& a, const LaneIndex& b) {
    return a.resolution > b.resolution;
  });
}

/// Calls task(lane, trial), whose bytes it may add to.
template <typename Task>
void RateControl::forEachLane(const Task& task) {
  // Headers of few blocks are written before another thread has woken.
  constexpr size_t few = 500;
  if (m_blocks <= few) {
    for (const LaneIndex& lane : m_lanes) task(lane, m_trials[0]);
    return;
  }
  m_workers.run(m_lanes.size(),
                [&](size_t i, int worker) { task(m_lanes[i], m_trials[size_t(worker)]); });
}

/// Every layer has what those before it have.
void RateControl::beginCuts(int layer) {
  for (TilePackets& tile : m_tiles) {
    tile.cuts.resize(size_t(layer) + 1);
    std::vector<uint8_t>& cuts = tile.cuts[size_t(layer)];
    if (layer > 0) {
      cuts = tile.cuts[size_t(layer) - 1];
    } else {
      cuts.assign(tile.blocks.size(), 0);
    }
  }
}

void RateControl::cutBlocks(int layer, TilePackets& tile, const PrecinctOutput::PerBand& band,
                            double threshold) const {
  const float limit = float(threshold);
  std::vector<uint8_t>& cuts = tile.cuts[size_t(layer)];
  for (size_t b = band.firstBlock; b < band.firstBlock + band.blocks.size(); ++b) {
    const CodedBlock& block = tile.blocks[b];
    if (threshold <= 0) {
      cuts[b] = block.count;
      continue;
    }
    cuts[b] = layer > 0 ? tile.cuts[size_t(layer) - 1][b] : uint8_t(0);
    for (int i = cuts[b]; i < block.count; ++i) {
      const float slope = block.passes[i].slope;
      if (slope <= 0) continue;
      if (slope < limit) break;
      cuts[b] = uint8_t(i + 1);
    }
  }
}

void RateControl::cutLane(int layer, const LaneIndex& at, double threshold) {
  TilePackets& tile = m_tiles[at.tile];
  for (const PrecinctOutput& precinct : tile.lanes[at.component][at.resolution].precincts) {
    for (int b = 0; b < precinct.bandCount; ++b) {
      cutBlocks(layer, tile, precinct.bands[size_t(b)], threshold);
    }
  }
}

void RateControl::cut(int layer, double threshold) {
  forEachLane([&](const LaneIndex& at, Trial&) { cutLane(layer, at, threshold); });
}

int64_t RateControl::sizeOf(int layer, const LaneIndex& at, TilePackets::Lane& state,
                            std::vector<uint8_t>& header) const {
  const TilePackets::Size size = m_tiles[at.tile].layOut(layer, state, header);
  return size.headers + size.bodies + size.packets * m_costs.perPacket +
         (m_costs.lengths ? size.lengthBytes : 0);
}

/// Bytes of the file up to this layer, with the cuts as they are.
int64_t RateControl::size(int layer) {
  for (Trial& trial : m_trials) trial.bytes = 0;
  forEachLane([&](const LaneIndex& at, Trial& trial) {
    trial.lane = m_states[at.tile][at.component][at.resolution];
    trial.bytes += sizeOf(layer, at, trial.lane, trial.header);
  });
  int64_t sum = m_costs.fixed + m_before;
  for (const Trial& trial : m_trials) sum += trial.bytes;
  return sum;
}

int64_t RateControl::sizeWith(int layer, double threshold) {
  cut(layer, threshold);
  return size(layer);
}

void RateControl::keep(int layer) {
  for (Trial& trial : m_trials) trial.bytes = 0;
  forEachLane([&](const LaneIndex& at, Trial& trial) {
    trial.bytes += sizeOf(layer, at, m_states[at.tile][at.component][at.resolution], trial.header);
  });
  for (const Trial& trial : m_trials) m_before += trial.bytes;
}

bool RateControl::choose(int layer, const LayerGoal& goal) {
  beginCuts(layer);
  if (goal.kind == LayerGoal::everything) {
    m_threshold = 0;
    cut(layer, 0);
    keep(layer);
    return true;
  }
  makeSteps();
  if (goal.kind == LayerGoal::distortion) {
    m_threshold = goal.value >= m_total ? 1e30 : thresholdForGain(m_total - goal.value);
    cut(layer, m_threshold);
    keep(layer);
    return true;
  }
  const double limit = std::floor(goal.value);
  constexpr double none = 1e38;
  double headers = double(sizeWith(layer, none));
  if (headers > limit) {
    cut(layer, none);
    keep(layer);
    m_threshold = none;
    return false;
  }
  // Headers depend on what is cut: bodies are chosen for the room that the last try left to them.
  double fits = none, tooLow = 0;
  const double before = layer > 0 ? stepsTo(m_threshold).bytes : 0;
  constexpr int turns = 20;
  constexpr double full = 0.9998;
  for (int turn = 0; turn < turns; ++turn) {
    double threshold = thresholdForBytes(limit - headers + before);
    if (threshold >= fits || threshold <= tooLow) {
      if (tooLow <= 0 || fits >= none) break;
      threshold = std::sqrt(fits * tooLow);
    }
    const double size = double(sizeWith(layer, threshold));
    headers = size - stepsTo(threshold).bytes + before;
    (size <= limit ? fits : tooLow) = threshold;
    if (size <= limit && size > limit * full) break;
  }
  cut(layer, fits);
  fill(layer, int64_t(limit));
  m_threshold = fits;
  keep(layer);
  return true;
}

/// Of blocks that may be cut further down, the steepest first.
std::vector<RateControl::Candidate> RateControl::candidates(int layer, bool all) const {
  std::vector<Candidate> list;
  for (size_t t = 0; t < m_tiles.size(); ++t) {
    const TilePackets& tile = m_tiles[t];
    for (size_t b = 0; b < tile.blocks.size(); ++b) {
      const CodedBlock& block = tile.blocks[b];
      for (int i = tile.cuts[size_t(layer)][b]; i < block.count; ++i) {
        const float slope = block.passes[i].slope;
        if (!all && slope <= 0) continue;
        list.push_back({slope, t, b, uint8_t(i + 1)});
        if (!all) break;
      }
    }
  }
  std::stable_sort(list.begin(), list.end(),
                   [](const Candidate& a, const Candidate& b) { return a.slope > b.slope; });
  return list;
}

/// A threshold leaves room where the next pass is a large one: takes single blocks further, as far
/// as they fit.
void RateControl::fill(int layer, int64_t limit) {
  // Steps of small pictures are a part of them that is seen: each is tried.
  constexpr size_t small = 400;
  if (m_blocks <= small) return fillByTrial(layer, limit);
  constexpr int64_t header = 4;
  constexpr size_t most = 300;
  std::vector<Candidate> list = candidates(layer, false), taken;
  list.resize(std::min(list.size(), most));
  int64_t room = limit - size(layer);
  for (const Candidate& c : list) {
    const CodedBlock& block = m_tiles[c.tile].blocks[c.block];
    uint8_t& now = m_tiles[c.tile].cuts[size_t(layer)][c.block];
    const int64_t bytes = int64_t(block.passes[c.cut - 1].length) -
                          (now > 0 ? block.passes[now - 1].length : 0) + header;
    if (bytes > room) continue;
    room -= bytes;
    taken.push_back({c.slope, c.tile, c.block, now});
    now = c.cut;
  }
  for (; !taken.empty() && size(layer) > limit; taken.pop_back()) {
    const Candidate& last = taken.back();
    m_tiles[last.tile].cuts[size_t(layer)][last.block] = last.cut;
  }
}

void RateControl::fillByTrial(int layer, int64_t limit) {
  int tries = 0;
  for (const Candidate& c : candidates(layer, true)) {
    uint8_t& now = m_tiles[c.tile].cuts[size_t(layer)][c.block];
    if (c.cut <= now) continue;
    const uint8_t before = now;
    now = c.cut;
    if (size(layer) > limit) now = before;
    constexpr int mostTries = 200;
    if (++tries > mostTries) break;
  }
}

}  // namespace j2k
