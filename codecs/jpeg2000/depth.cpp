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

/// The lowest threshold at which no more than so many bytes are taken.
template <typename Bytes>
double bisected(double wanted, const Bytes& bytes) {
  double low = -40, high = 80;  // powers of two
  for (int i = 0; i < 24; ++i) {
    const double middle = (low + high) / 2;
    (bytes(std::exp2(middle)) > wanted ? low : high) = middle;
  }
  return std::exp2(high);
}

/// Bytes that a block takes at a threshold.
double bytesAt(const CodedBlock& block, double threshold) {
  double bytes = 0;
  for (int i = 0; i < block.count; ++i) {
    const PassRecord& pass = block.passes[i];
    if (pass.slope <= 0) continue;
    if (double(pass.slope) < threshold) break;
    bytes = headerBytes + pass.length;
  }
  return bytes;
}

double bytesAt(std::span<const CodedBlock* const> blocks, double threshold) {
  double sum = 0;
  for (const CodedBlock* block : blocks) sum += bytesAt(*block, threshold);
  return sum;
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
  return bisected(bytes, [&](double threshold) {
    double sum = 0;
    for (const Step& step : m_steps) sum += step.slope >= threshold ? step.bytes : 0;
    return sum;
  });
}

double ThresholdModel::corrected(double bytes, std::span<const size_t> indices,
                                 std::span<const CodedBlock* const> blocks) const {
  return bisected(bytes, [&](double threshold) {
    double all = 0, own = 0;
    auto next = indices.begin();
    for (const Step& step : m_steps) {
      const double here = step.slope >= threshold ? step.bytes : 0;
      all += here;
      while (next != indices.end() && *next < step.block) ++next;
      if (next != indices.end() && *next == step.block) own += here;
    }
    return own > 0 ? all / own * bytesAt(blocks, threshold) : all;
  });
}

double measuredThreshold(std::span<const CodedBlock* const> blocks, double bytes) {
  return bisected(bytes, [&](double threshold) { return bytesAt(blocks, threshold); });
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
