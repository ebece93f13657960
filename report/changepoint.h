/// @file
/// Steps in a row of values over time.
#pragma once

#include <cstddef>
#include <vector>

namespace report {

/// Where values change their level: the place between two levels of at least three values at which
/// Mann and Whitney's test tells the values before it from those behind it best (Pettitt's test,
/// with places near the ends weighted as those in the middle).
struct ChangePoint {
  std::size_t at = 0;  ///< the first value behind it
  /// How often values in random order show as much, counted over 1,999 orders that are the same in
  /// each call; where none of them does, at most the sum of the exact chances of all places. Above
  /// a quarter it is at least that. 1 for fewer than six values.
  double p = 1;
};
ChangePoint changePoint(const std::vector<double>& values);

struct Step {
  std::size_t at = 0;
  double before = 0;  ///< median of the level
  double after = 0;
  double p = 1;
  double ratio() const { return after / before; }
};

/// All steps of at least the gate (a share, 0.02 is 2 %), each found between its neighbours by the
/// same test: the strongest first splits the values, then its parts are looked at. In their order.
std::vector<Step> findSteps(const std::vector<double>& values, double alpha, double gate);

}  // namespace report
