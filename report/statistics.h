/// @file
/// Intervals from order statistics: they need no model of the noise and no random numbers.
#pragma once

#include <cstddef>
#include <vector>

namespace report {

/// The middle of the values, or the mean of the two in the middle. There must be one.
double medianOf(std::vector<double> values);

/// How far from the ends an interval for the median of `count` values begins: from the k-th
/// smallest to the k-th largest it misses with a probability of at most alpha (sign test). 0: too
/// few values for any.
std::size_t signRank(std::size_t count, double alpha);

/// The same for the shift between two samples, among all differences of a value of one and a value
/// of the other (Mann-Whitney): exact up to 60 values a side, beyond by the normal approximation.
std::size_t shiftRank(std::size_t first, std::size_t second, double alpha);

/// The least number of values a side for which `shiftRank` gives an interval.
std::size_t valuesNeeded(double alpha);

struct Interval {
  double middle = 0;
  double low = 0;
  double high = 0;
  bool bounded = false;  ///< false: too few values, low and high are the least and the greatest
};

/// Of the median of the values; there must be one.
Interval medianInterval(std::vector<double> values, double alpha);
/// Of the shift from the first to the second; neither may be empty.
Interval shiftInterval(const std::vector<double>& first, const std::vector<double>& second,
                       double alpha);

}  // namespace report
