// Intervals from order statistics.
#include "report/statistics.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <tuple>

namespace report {

namespace {

constexpr std::size_t kExact = 60;

double logChoose(std::size_t n, std::size_t k) {
  const auto gamma = [](std::size_t x) { return std::lgamma(static_cast<double>(x) + 1); };
  return gamma(n) - gamma(k) - gamma(n - k);
}

// How many orders of n and m values have u pairs in the wrong order, for every u: the coefficients
// of the Gaussian binomial, made factor by factor.
std::vector<double> rankCounts(std::size_t n, std::size_t m) {
  std::vector<double> counts(n * m + 1, 0.0);
  counts[0] = 1;
  for (std::size_t i = 1; i <= n; ++i) {
    for (std::size_t u = counts.size(); u-- > m + i;) counts[u] -= counts[u - m - i];
    for (std::size_t u = i; u < counts.size(); ++u) counts[u] += counts[u - i];
  }
  return counts;
}

std::size_t exactShiftRank(std::size_t n, std::size_t m, double alpha) {
  const double limit = alpha / 2 * std::exp(logChoose(n + m, n)) * (1 + 1e-9);
  double sum = 0;
  std::size_t rank = 0;
  for (const double count : rankCounts(n, m)) {
    sum += count;
    if (sum > limit) break;
    ++rank;
  }
  return rank;
}

// The point that a standard normal exceeds with this probability, by halving.
double normalPoint(double probability) {
  double low = 0;
  double high = 40;
  for (int i = 0; i < 100; ++i) {
    const double middle = (low + high) / 2;
    (std::erfc(middle / std::sqrt(2.0)) / 2 > probability ? low : high) = middle;
  }
  return high;
}

Interval fromOrdered(const std::vector<double>& values, std::size_t rank) {
  const std::size_t count = values.size();
  const std::size_t at = std::max<std::size_t>(rank, 1) - 1;
  return {(values[(count - 1) / 2] + values[count / 2]) / 2, values[at], values[count - 1 - at],
          rank > 0};
}

}  // namespace

double medianOf(std::vector<double> values) {
  std::sort(values.begin(), values.end());
  return fromOrdered(values, 0).middle;
}

std::size_t signRank(std::size_t count, double alpha) {
  double sum = 0;
  std::size_t rank = 0;
  const double half = std::log(2.0) * static_cast<double>(count);
  while (2 * rank < count) {
    sum += std::exp(logChoose(count, rank) - half);
    if (sum > alpha / 2 * (1 + 1e-9)) break;
    ++rank;
  }
  return rank;
}

std::size_t shiftRank(std::size_t first, std::size_t second, double alpha) {
  static std::map<std::tuple<std::size_t, std::size_t, double>, std::size_t> known;
  if (first == 0 || second == 0) return 0;
  const auto [place, isNew] = known.try_emplace({first, second, alpha}, 0);
  if (!isNew) return place->second;
  if (std::max(first, second) <= kExact)
    return place->second = exactShiftRank(first, second, alpha);
  const double n = static_cast<double>(first);
  const double m = static_cast<double>(second);
  const double edge = n * m / 2 - normalPoint(alpha / 2) * std::sqrt(n * m * (n + m + 1) / 12);
  return place->second = static_cast<std::size_t>(std::max(0.0, std::floor(edge)));
}

std::size_t valuesNeeded(double alpha) {
  std::size_t count = 1;
  while (count < kExact && shiftRank(count, count, alpha) == 0) ++count;
  return count;
}

Interval medianInterval(std::vector<double> values, double alpha) {
  std::sort(values.begin(), values.end());
  return fromOrdered(values, signRank(values.size(), alpha));
}

Interval shiftInterval(const std::vector<double>& first, const std::vector<double>& second,
                       double alpha) {
  std::vector<double> differences;
  differences.reserve(first.size() * second.size());
  for (const double a : first) {
    for (const double b : second) differences.push_back(b - a);
  }
  std::sort(differences.begin(), differences.end());
  return fromOrdered(differences, shiftRank(first.size(), second.size(), alpha));
}

}  // namespace report
