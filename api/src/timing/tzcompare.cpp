// Order statistics of paired samples.
#include "tzcompare.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "tzmeasure.h"

namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();
// Standard errors between no change and one that is found in 95 of 100 cases, for the median.
constexpr double kDetectable = 4.5;

std::vector<double> logRatios(const std::vector<double>& a, const std::vector<double>& b) {
  std::vector<double> ratios;
  for (size_t i = 0; i < std::min(a.size(), b.size()); ++i) {
    if (a[i] > 0 && b[i] > 0) ratios.push_back(std::log(b[i] / a[i]));
  }
  return ratios;
}

}  // namespace

const char* tzVerdictName(tzVerdict verdict) {
  static const char* const names[] = {"same", "faster", "slower", "unresolved"};
  return names[verdict];
}

// By logarithms: 2^-n leaves the range of a double long before n leaves that of use.
int tzSignRank(int n, double alpha) {
  constexpr double roundingError = 1e-12;
  double logTerm = -n * std::log(2.0);  // of C(n, k) 2^-n
  double sum = 0;
  int rank = 0;
  for (int k = 0; 2 * k < n; ++k) {
    sum += std::exp(logTerm);
    if (sum > alpha / 2 * (1 + roundingError)) break;
    rank = k + 1;
    logTerm += std::log(static_cast<double>(n - k) / (k + 1));
  }
  return rank;
}

tzRatio tzPairedRatio(const std::vector<double>& a, const std::vector<double>& b, double alpha) {
  std::vector<double> d = logRatios(a, b);
  tzRatio result;
  result.high = result.smallest = kInfinity;
  if (d.empty()) return result;
  std::sort(d.begin(), d.end());
  const double median = tzMedian(d);
  result.ratio = std::exp(median);
  const int rank = tzSignRank(static_cast<int>(d.size()), alpha);
  if (rank == 0) return result;
  result.low = std::exp(d[static_cast<size_t>(rank - 1)]);
  result.high = std::exp(d[d.size() - static_cast<size_t>(rank)]);
  const double sigma = tzRobustDeviation(d, median);
  result.smallest = kDetectable * sigma / std::sqrt(static_cast<double>(d.size()));
  return result;
}

tzVerdict tzJudgeRatio(const tzRatio& ratio, double gate) {
  const double most = 1 + gate;
  if (ratio.low > 1 && ratio.ratio >= most) return VERDICT_SLOWER;
  if (ratio.high < 1 && ratio.ratio * most <= 1) return VERDICT_FASTER;
  if (ratio.low * most >= 1 && ratio.high <= most) return VERDICT_SAME;
  return VERDICT_UNRESOLVED;
}

double tzLookAlpha(double alpha, int comparisons) {
  return alpha / kTzNumLooks / std::max(comparisons, 1);
}

tzAgreement tzAgree(const std::vector<tzRatio>& pairs, double gate) {
  tzAgreement agreement;
  if (pairs.empty()) return agreement;
  std::vector<double> ratios;
  std::vector<double> smallest;
  agreement.ratio = pairs.front();
  agreement.verdict = tzJudgeRatio(pairs.front(), gate);
  for (const tzRatio& pair : pairs) {
    ratios.push_back(pair.ratio);
    smallest.push_back(pair.smallest);
    agreement.ratio.low = std::min(agreement.ratio.low, pair.low);
    agreement.ratio.high = std::max(agreement.ratio.high, pair.high);
    if (tzJudgeRatio(pair, gate) != agreement.verdict) agreement.verdict = VERDICT_UNRESOLVED;
  }
  agreement.ratio.ratio = tzMedian(ratios);
  agreement.ratio.smallest = *std::max_element(smallest.begin(), smallest.end());
  return agreement;
}
