#pragma once
/// @file
/// How deep blocks are worth coding when the size is limited: passes that rate control is going to
/// throw away need not be coded.
///
/// Rate control keeps the passes whose slope of distortion against bytes reaches a threshold, and
/// slopes fall from plane to plane. The coder can stop by them once the threshold is known; it is
/// guessed from the magnitudes of all blocks, corrected by what some of them turn out to take.

#include <array>
#include <cstdint>
#include <span>
#include <vector>

#include "codeblock.h"

namespace j2k {

/// What a block's coefficients tell before it is coded.
struct BlockStatistics {
  std::array<uint32_t, 32> counts;  ///< magnitudes of so many bits
  double weight;                    ///< of a squared error of one step
};

/// Counts every fourth row.
BlockStatistics statisticsOf(const PlaneView& block, const BandCoding& coding, double weight);

/// Bytes of a block's body and of its place in a packet header.
constexpr double headerBytes = 3;

/// Thresholds as blocks' statistics and blocks that were coded let them expect.
class ThresholdModel {
 public:
  explicit ThresholdModel(std::span<const BlockStatistics> blocks);

  /// How to code a block to a threshold: its passes cannot be judged before some of the planes in
  /// which most of its coefficients become significant.
  Depth depth(size_t block, int planes, double threshold) const;

  /// The threshold at which all take so many bytes.
  double guess(double bytes) const;
  /// The same, once some are coded.
  double corrected(double bytes, std::span<const size_t> indices,
                   std::span<const CodedBlock* const> blocks) const;

 private:
  /// A plane of a block.
  struct Step {
    double slope, bytes;
    size_t block;
    int plane;
  };
  std::vector<Step> m_steps;    ///< block after block
  std::vector<size_t> m_first;  ///< of a block; one more for the end
  std::vector<double> m_weights;
};

/// The threshold at which coded blocks take so many bytes.
double measuredThreshold(std::span<const CodedBlock* const> blocks, double bytes);

/// Whether passes that a block was left without may reach a threshold.
bool endsTooEarly(const CodedBlock& block, double weight, double threshold);

}  // namespace j2k
