// Intervals from order statistics.
#include "report/statistics.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <utility>

namespace report {

namespace {

constexpr std::size_t kExactPairs = 3600;
constexpr std::size_t kMostNeeded = 60;
constexpr double kRounding = 1 + 1e-9;  // a sum that equals its limit is within it

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

// The exact probabilities of `shiftTail`, for each number of pairs.
const std::vector<double>& exactTails(std::size_t n, std::size_t m) {
  static std::map<std::pair<std::size_t, std::size_t>, std::vector<double>> known;
  std::vector<double>& tails = known[std::minmax(n, m)];
  if (!tails.empty()) return tails;
  const double orders = std::exp(logChoose(n + m, n));
  double sum = 0;
  tails = rankCounts(std::min(n, m), std::max(n, m));
  for (double& tail : tails) {
    sum += tail;
    tail = sum / orders;
  }
  return tails;
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
    if (sum > alpha / 2 * kRounding) break;
    ++rank;
  }
  return rank;
}

double shiftTail(std::size_t first, std::size_t second, std::size_t wrong) {
  const std::size_t pairs = first * second;
  if (pairs <= kExactPairs) return exactTails(first, second)[std::min(wrong, pairs)];
  const double all = static_cast<double>(pairs);
  const double deviation = std::sqrt(all * static_cast<double>(first + second + 1) / 12);
  return std::erfc((all / 2 - static_cast<double>(wrong) - 0.5) / deviation / std::sqrt(2.0)) / 2;
}

std::size_t shiftRank(std::size_t first, std::size_t second, double alpha) {
  std::size_t rank = 0;
  std::size_t beyond = first * second;
  while (rank < beyond) {
    const std::size_t middle = (rank + beyond) / 2;
    const bool isRare = shiftTail(first, second, middle) <= alpha / 2 * kRounding;
    (isRare ? rank : beyond) = isRare ? middle + 1 : middle;
  }
  return rank;
}

std::size_t valuesNeeded(double alpha) {
  std::size_t count = 1;
  while (count < kMostNeeded && shiftRank(count, count, alpha) == 0) ++count;
  return count;
}

Interval medianInterval(std::vector<double> values, double alpha) {
  std::sort(values.begin(), values.end());
  return fromOrdered(values, signRank(values.size(), alpha));
}

ShiftEstimate::ShiftEstimate(const std::vector<double>& first, const std::vector<double>& second)
    : m_first(first.size()), m_second(second.size()) {
  m_differences.reserve(m_first * m_second);
  for (const double a : first) {
    for (const double b : second) m_differences.push_back(b - a);
  }
  std::sort(m_differences.begin(), m_differences.end());
}

double ShiftEstimate::middle() const { return fromOrdered(m_differences, 0).middle; }

Interval ShiftEstimate::interval(double alpha) const {
  return fromOrdered(m_differences, shiftRank(m_first, m_second, alpha));
}

double ShiftEstimate::alphaAbove(double bound) const {
  const auto above = std::upper_bound(m_differences.begin(), m_differences.end(), bound);
  const auto wrong = static_cast<std::size_t>(above - m_differences.begin());
  return 2 * shiftTail(m_first, m_second, wrong);
}

double ShiftEstimate::alphaBelow(double bound) const {
  const auto from = std::lower_bound(m_differences.begin(), m_differences.end(), bound);
  const auto wrong = static_cast<std::size_t>(m_differences.end() - from);
  return 2 * shiftTail(m_first, m_second, wrong);
}

double ShiftEstimate::leastAlpha() const { return 2 * shiftTail(m_first, m_second, 0); }

std::vector<bool> believed(const std::vector<double>& p, double alpha) {
  std::vector<double> sorted = p;
  std::sort(sorted.begin(), sorted.end());
  const double share = alpha / static_cast<double>(std::max<std::size_t>(1, p.size()));
  double limit = -1;
  for (std::size_t i = 0; i < sorted.size(); ++i) {
    if (sorted[i] <= share * static_cast<double>(i + 1) * kRounding) limit = sorted[i];
  }
  std::vector<bool> result;
  result.reserve(p.size());
  for (const double value : p) result.push_back(value <= limit);
  return result;
}

}  // namespace report
