// How deep blocks are worth coding when the size is limited.
#include "depth.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdlib>

namespace j2k {
namespace {

/// Slopes of three passes that no others follow which reach the threshold, in thresholds.
constexpr double last = 1.7;
/// Slopes that are guessed of planes which are worth coding for sure.
constexpr double surely = 1.3;

int bitsOf(float magnitude) {
  // Its exponent, counted from one half.
  return std::max(0, int(std::bit_cast<uint32_t>(magnitude) >> 23) - 126);
}
int bitsOf(int32_t value) { return std::bit_width(uint32_t(std::abs(value))); }

template <typename T, typename Bits>
void countRows(const PlaneView& block, std::array<uint32_t, 32>& counts, const Bits& bits) {
  constexpr int every = 4;
  for (int y = std::min(every / 2, block.height - 1); y < block.height; y += every) {
    const T* const row = block.row<T>(y);
    const auto rows = uint32_t(std::min(every, block.height));
    for (int x = 0; x < block.width; ++x) counts[size_t(bits(row[x]))] += rows;
  }
}

/// Bits that the plane p takes: where new ones are, their signs, and one more bit of the old ones.
double planeBits(const std::array<uint32_t, 32>& counts, int p, double old) {
  double rest = 0;
  for (int i = 0; i <= p + 1; ++i) rest += counts[size_t(i)];
  const double fresh = counts[size_t(p) + 1];
  if (rest <= 0) return old;
  const double share = fresh / rest;
  const double entropy =
      share <= 0 || share >= 1 ? 0 : -share * std::log2(share) - (1 - share) * std::log2(1 - share);
  return entropy * rest * 0.85 + fresh + old * 0.95;
}

/// What is taken at thresholds up to a slope.
struct Taken {
  double slope;
  double expected;  ///< BYTES, of all blocks
  double sampled;   ///< the same of blocks that are coded
  double measured;  ///< what these take
};

/// The lowest threshold at which no more than so many bytes are taken, as bytes(sum) tells them of
/// all that is taken there. What a try leaves on the wrong side is not looked at again.
template <typename Bytes>
double bisected(std::vector<Taken> list, double wanted, const Bytes& bytes) {
  double low = -40, high = 80;  // powers of two
  Taken above{};                // at every threshold that is still possible
  auto begin = list.begin(), end = list.end();
  for (int i = 0; i < 24; ++i) {
    const double middle = (low + high) / 2;
    const auto below = std::partition(
        begin, end, [t = std::exp2(middle)](const Taken& taken) { return taken.slope >= t; });
    Taken sum = above;
    for (auto t = begin; t != below; ++t) {
      sum.expected += t->expected;
      sum.sampled += t->sampled;
      sum.measured += t->measured;
    }
    if (bytes(sum) > wanted) {
      low = middle;
      end = below;
    } else {
      high = middle;
      above = sum;
      begin = below;
    }
  }
  return std::exp2(high);
}

/// What coded blocks take, in steps that rate control can take.
void addMeasured(std::span<const CodedBlock* const> blocks, std::vector<Taken>& list) {
  for (const CodedBlock* block : blocks) {
    double before = -headerBytes;
    for (int i = 0; i < block->count; ++i) {
      const PassRecord& pass = block->passes[i];
      if (pass.slope <= 0) continue;
      list.push_back({double(pass.slope), 0, 0, pass.length - before});
      before = pass.length;
    }
  }
}

}  // namespace

BlockStatistics statisticsOf(const PlaneView& block, const BandCoding& coding, double weight) {
  BlockStatistics s{{}, weight};
  switch (block.arithmetic) {
    case Arithmetic::narrow:
      countRows<int16_t>(block, s.counts, [](int16_t v) { return bitsOf(int32_t(v)); });
      break;
    case Arithmetic::wide:
      countRows<int32_t>(block, s.counts, [](int32_t v) { return bitsOf(v); });
      break;
    case Arithmetic::real: {
      const float scale = 1 / coding.step;
      countRows<float>(block, s.counts,
                       [scale](float v) { return std::min(31, bitsOf(std::abs(v) * scale)); });
      break;
    }
  }
  return s;
}

ThresholdModel::ThresholdModel(std::span<const BlockStatistics> blocks) {
  for (size_t b = 0; b < blocks.size(); ++b) {
    const auto& counts = blocks[b].counts;
    m_first.push_back(m_steps.size());
    m_weights.push_back(blocks[b].weight);
    double old = 0;
    for (int p = 30; p >= 0; --p) {
      const double fresh = counts[size_t(p) + 1];
      if (old + fresh > 0) {
        // What becomes significant is anywhere between one and two units of the plane, and was
        // taken for nothing; of the others the interval is halved.
        const double gain = std::ldexp(2.25 * fresh + 0.25 * old, 2 * p) * blocks[b].weight;
        const double bytes = planeBits(counts, p, old) / 8;
        m_steps.push_back({gain / bytes, bytes + (old > 0 ? 0 : headerBytes), b, p});
      }
      old += fresh;
    }
  }
  m_first.push_back(m_steps.size());
}

namespace {

bool isWorthCoding(int planes, double weight, double threshold) {
  // Even of blocks full of ones the first plane takes no more than this away with a byte.
  constexpr double most = 6;
  return planes > 0 && most * std::ldexp(weight, 2 * (planes - 1)) >= threshold;
}

}  // namespace

Depth ThresholdModel::depth(size_t block, int planes, double threshold) const {
  const double weight = m_weights[block];
  if (!isWorthCoding(planes, weight, threshold)) return {0, 0, 0};
  int lowest = planes;
  for (size_t i = m_first[block]; i < m_first[block + 1]; ++i) {
    if (m_steps[i].slope >= surely * threshold) lowest = std::min(lowest, m_steps[i].plane);
  }
  return {rkdCodeBlockMaxPasses, std::max(0, 3 * (planes - lowest) - 2), last * threshold / weight};
}

double ThresholdModel::guess(double bytes) const {
  std::vector<Taken> list;
  for (const Step& step : m_steps) list.push_back({step.slope, step.bytes, 0, 0});
  return bisected(std::move(list), bytes, [](const Taken& sum) { return sum.expected; });
}

double ThresholdModel::corrected(double bytes, std::span<const size_t> indices,
                                 std::span<const CodedBlock* const> blocks) const {
  std::vector<Taken> list;
  auto next = indices.begin();
  for (const Step& step : m_steps) {
    while (next != indices.end() && *next < step.block) ++next;
    const bool sampled = next != indices.end() && *next == step.block;
    list.push_back({step.slope, step.bytes, sampled ? step.bytes : 0, 0});
  }
  addMeasured(blocks, list);
  return bisected(std::move(list), bytes, [](const Taken& sum) {
    return sum.sampled > 0 ? sum.expected / sum.sampled * sum.measured : sum.expected;
  });
}

double measuredThreshold(std::span<const CodedBlock* const> blocks, double bytes) {
  std::vector<Taken> list;
  addMeasured(blocks, list);
  return bisected(std::move(list), bytes, [](const Taken& sum) { return sum.measured; });
}

bool endsTooEarly(const CodedBlock& block, double weight, double threshold) {
  if (block.complete) return false;
  if (block.count < 3) return isWorthCoding(block.planes, weight, threshold);
  const PassRecord before = block.count > 3 ? block.passes[block.count - 4] : PassRecord{};
  const PassRecord& end = block.passes[block.count - 1];
  const double bytes = double(end.length) - before.length;
  return end.distortion - before.distortion > last * threshold * bytes;
}

}  // namespace j2k
