// How deep blocks are worth coding when the size is limited.
#include "depth.h"

#include <algorithm>
#include <cmath>

namespace j2k {

double thresholdPlace(double threshold, double weight) {
  return 1.5 * std::log2(threshold / weight);
}

int passesAbove(int planes, double place) {
  return int(std::clamp(std::floor(3.0 * planes - place) + 1, 0.0, 255.0));
}

int cutAt(const CodedBlock& block, double threshold) {
  int cut = 0;
  for (int i = 0; i < block.count; ++i) {
    const double slope = double(block.passes[i].slope);
    if (slope > 0 && slope < threshold) break;
    if (slope > 0) cut = i + 1;
  }
  return cut;
}

namespace {

/// Bits that the plane p takes: where new ones are, their signs, and one more bit of the old ones.
double planeBits(const std::array<uint32_t, 32>& counts, int p) {
  double old = 0, rest = 0;
  for (int i = 0; i < 32; ++i) (i > p + 1 ? old : rest) += counts[size_t(i)];
  const double fresh = counts[size_t(p) + 1];
  if (rest <= 0) return old;
  const double share = fresh / rest;
  const double entropy =
      share <= 0 || share >= 1 ? 0 : -share * std::log2(share) - (1 - share) * std::log2(1 - share);
  return entropy * rest * 0.85 + fresh + old * 0.95;
}

template <typename Bytes>
double bisected(double wanted, const Bytes& bytes) {
  double low = -40, high = 80;  // powers of two
  for (int i = 0; i < 30; ++i) {
    const double middle = (low + high) / 2;
    (bytes(std::exp2(middle)) > wanted ? low : high) = middle;
  }
  return std::exp2(high);
}

}  // namespace

double guessThreshold(const std::vector<BlockStatistics>& blocks, double bytes) {
  struct Step {
    double slope, bytes;
  };
  std::vector<Step> steps;
  for (const BlockStatistics& block : blocks) {
    double scale = 1;
    for (int p = 0; p < 31; ++p, scale *= 4) {
      const double bits = planeBits(block.counts, p);
      // Refining a plane takes away some two squares of its unit a byte.
      if (bits > 0) steps.push_back({2 * block.weight * scale, bits / 8});
    }
  }
  return bisected(bytes, [&](double threshold) {
    double sum = 0;
    for (const Step& step : steps) sum += step.slope >= threshold ? step.bytes : 0;
    return sum;
  });
}

double measuredThreshold(const std::vector<const CodedBlock*>& blocks, double bytes) {
  return bisected(bytes, [&](double threshold) {
    double sum = 0;
    for (const CodedBlock* block : blocks) {
      const int cut = cutAt(*block, threshold);
      if (cut > 0) sum += block->passes[cut - 1].length;
    }
    return sum;
  });
}

}  // namespace j2k
