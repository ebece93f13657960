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

/// How likely at most `wrong` of all pairs of a value of one sample and a value of the other are in
/// one of the two orders, when both samples are of one kind (Mann-Whitney): exact up to 3,600
/// pairs, beyond by the normal approximation.
double shiftTail(std::size_t first, std::size_t second, std::size_t wrong);

/// As `signRank` for the shift between two samples, among the differences of all such pairs.
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

/// The shift from one sample to another; neither may be empty.
class ShiftEstimate {
 public:
  ShiftEstimate(const std::vector<double>& first, const std::vector<double>& second);

  double middle() const;
  Interval interval(double alpha) const;
  /// The least alpha whose interval lies above the bound: how much speaks against a shift of at
  /// most that. It may exceed 1.
  double alphaAbove(double bound) const;
  double alphaBelow(double bound) const;
  /// The least that both can be, whatever the values: there may be too few for any shift to tell.
  double leastAlpha() const;

 private:
  std::vector<double> m_differences;  // from small to large
  std::size_t m_first;
  std::size_t m_second;
};

/// Which of many tests may be believed so that of those at most a share of alpha is false
/// (Benjamini and Hochberg). When all of them are false, one or more are believed with a
/// probability of at most alpha.
std::vector<bool> believed(const std::vector<double>& p, double alpha);

}  // namespace report
