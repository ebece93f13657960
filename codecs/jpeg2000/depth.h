#pragma once
/// @file
/// How deep blocks are worth coding when the size is limited: passes that rate control is going to
/// throw away need not be coded.
///
/// A pass is placed by how many passes would follow it down to the unit of the coefficients. The
/// slope of a pass falls by four with every plane, so the place at which blocks are cut is, but for
/// a few passes, the same function of the threshold and the block's weight. A sample of blocks
/// tells both.

#include <array>
#include <cstdint>
#include <vector>

#include "packet.h"

namespace j2k {

/// Place of a threshold among the passes of a block of this weight.
double thresholdPlace(double threshold, double weight);

/// Passes of a block of so many planes that lie at or above a place.
int passesAbove(int planes, double place);

/// Passes that a block takes at a threshold.
int cutAt(const CodedBlock& block, double threshold);

/// What a block's coefficients tell before it is coded.
struct BlockStatistics {
  std::array<uint32_t, 32> counts;  ///< magnitudes of so many bits
  double weight;
};

/// The threshold at which these blocks would take so many bytes, guessed from their coefficients.
double guessThreshold(const std::vector<BlockStatistics>& blocks, double bytes);

/// The threshold at which coded blocks take so many bytes.
double measuredThreshold(const std::vector<const CodedBlock*>& blocks, double bytes);

}  // namespace j2k
