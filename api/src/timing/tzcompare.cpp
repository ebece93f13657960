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

// What an interval says of identical code: memory lies elsewhere in each process, which no number
// of rounds of one pair tells. Of 371 pairs in the second-level cache 50 had a slower second side,
// 48 a faster one.
constexpr double kErringPair = 1 / 7.0;
constexpr double kErringVerdict = 1e-4;

// So many of n pairs must say the same for chance to be out of the question; n + 1: all are too
// few.
size_t pairsNeeded(size_t n) {
  double tail = 0;
  double term = std::pow(kErringPair, n);  // of just k of n
  for (size_t k = n; k > 0; --k) {
    tail += term;
    if (tail > kErringVerdict) return k + 1;
    term *=
        static_cast<double>(k) / static_cast<double>(n - k + 1) * (1 - kErringPair) / kErringPair;
  }
  return 1;
}

struct Votes {
  size_t of[4] = {};  // by verdict
  size_t all = 0;
  Votes(const std::vector<tzRatio>& pairs, double gate) : all(pairs.size()) {
    for (const tzRatio& pair : pairs) ++of[tzJudgeRatio(pair, gate)];
  }
  tzVerdict verdict() const {
    constexpr size_t fewestAlike = 3;
    const size_t slower = of[VERDICT_SLOWER];
    const size_t faster = of[VERDICT_FASTER];
    const size_t needed = pairsNeeded(all);
    if (slower >= needed) return VERDICT_SLOWER;
    if (faster >= needed) return VERDICT_FASTER;
    const bool alike = of[VERDICT_SAME] >= fewestAlike && 3 * of[VERDICT_SAME] >= 2 * all;
    return alike && slower + faster == 0 ? VERDICT_SAME : VERDICT_UNRESOLVED;
  }
};

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
  agreement.verdict = Votes(pairs, gate).verdict();
  std::vector<double> ratios;
  agreement.ratio.low = kInfinity;
  for (const tzRatio& pair : pairs) {
    ratios.push_back(pair.ratio);
    agreement.ratio.smallest = std::max(agreement.ratio.smallest, pair.smallest);
    const bool dissents = tzJudgeRatio(pair, gate) != agreement.verdict;
    if (dissents && agreement.verdict != VERDICT_UNRESOLVED) continue;
    agreement.ratio.low = std::min(agreement.ratio.low, pair.low);
    agreement.ratio.high = std::max(agreement.ratio.high, pair.high);
  }
  agreement.ratio.ratio = tzMedian(ratios);
  return agreement;
}

bool tzIsOpen(const std::vector<tzRatio>& pairs, double gate) {
  const tzAgreement agreement = tzAgree(pairs, gate);
  if (agreement.verdict != VERDICT_UNRESOLVED) return false;
  const Votes votes(pairs, gate);
  const bool tooFew = pairsNeeded(votes.all) > votes.all;
  if (tooFew && votes.of[VERDICT_SLOWER] != votes.of[VERDICT_FASTER]) return true;
  const double most = 1 + gate;
  const double ratio = agreement.ratio.ratio;
  return ratio >= most || ratio * most <= 1;
}
