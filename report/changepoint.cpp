// The best of all splits by ranks, with permutations, and what is made of it.
#include "report/changepoint.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <numeric>
#include <random>

#include "report/statistics.h"

namespace report {

namespace {

constexpr int kPermutations = 1999;
constexpr double kLeastP = 1.0 / (kPermutations + 1);
constexpr double kNoStepP = 0.25;
constexpr std::size_t kShortestLevel = 3;

// Twice the rank of each value, less that of the middle; equal values share theirs.
std::vector<long long> centredRanks(const std::vector<double>& values) {
  std::vector<std::size_t> order(values.size());
  std::iota(order.begin(), order.end(), std::size_t{0});
  std::sort(order.begin(), order.end(),
            [&](std::size_t a, std::size_t b) { return values[a] < values[b]; });
  std::vector<long long> ranks(values.size());
  const auto count = static_cast<long long>(values.size());
  for (std::size_t from = 0; from < order.size();) {
    std::size_t to = from;
    while (to < order.size() && values[order[to]] == values[order[from]]) ++to;
    for (std::size_t i = from; i < to; ++i) {
      ranks[order[i]] = static_cast<long long>(from + to + 1) - (count + 1);
    }
    from = to;
  }
  return ranks;
}

/// The split that tells both sides apart best.
struct Peak {
  double height = 0;  // square of the standardised sum of ranks, but for a factor
  std::size_t at = 0;
};

Peak peakOf(const std::vector<long long>& ranks) {
  Peak peak;
  long long sum = 0;
  for (std::size_t at = 1; at + kShortestLevel <= ranks.size(); ++at) {
    sum += ranks[at - 1];
    if (at < kShortestLevel) continue;
    const auto places = static_cast<double>(at * (ranks.size() - at));
    const double height = static_cast<double>(sum) * static_cast<double>(sum) / places;
    if (height > peak.height) peak = {height, at};
  }
  return peak;
}

// The library's own shuffle may differ from one to the next.
void shuffle(std::vector<long long>& values, std::mt19937_64& random) {
  for (std::size_t i = values.size() - 1; i > 0; --i) {
    std::swap(values[i], values[random() % (i + 1)]);
  }
}

double permutedP(std::vector<long long> ranks, double height) {
  std::mt19937_64 random(20100316);
  int asHigh = 1;
  for (int i = 0; i < kPermutations; ++i) {
    shuffle(ranks, random);
    asHigh += peakOf(ranks).height >= height ? 1 : 0;
    if (asHigh * kLeastP > kNoStepP) break;
  }
  return asHigh * kLeastP;
}

// The height of a place when equal values count against the step: no way to tell them apart, one of
// which has the exact distribution, makes it less.
double heightWithoutTies(const std::vector<double>& values, std::size_t at) {
  std::size_t up = 0;
  std::size_t down = 0;
  for (std::size_t i = 0; i < at; ++i) {
    for (std::size_t k = at; k < values.size(); ++k) {
      up += values[i] < values[k] ? 1 : 0;
      down += values[i] > values[k] ? 1 : 0;
    }
  }
  const auto pairs = static_cast<double>(at * (values.size() - at));
  const double excess = std::max(0.0, 2 * static_cast<double>(std::max(up, down)) - pairs);
  return excess * excess / pairs;
}

// What no order of a sample shows is not told by their number: how likely any place is to show as
// much, from the exact distribution at each, added up.
double boundedP(std::size_t count, double height) {
  double sum = 0;
  for (std::size_t at = kShortestLevel; at + kShortestLevel <= count; ++at) {
    const auto pairs = static_cast<double>(at * (count - at));
    const double wrong = (pairs - std::sqrt(height * pairs)) / 2;
    if (wrong > -0.01) sum += 2 * shiftTail(at, count - at, static_cast<std::size_t>(wrong + 0.01));
  }
  return sum;
}

void split(const std::vector<double>& values, std::size_t from, std::size_t to, double alpha,
           double gate, std::vector<Step>& steps) {
  const auto at = [&](std::size_t place) {
    return values.begin() + static_cast<std::ptrdiff_t>(place);
  };
  const ChangePoint change = changePoint({at(from), at(to)});
  if (change.p > alpha) return;
  const std::size_t middle = from + change.at;
  split(values, from, middle, alpha, gate, steps);
  const Step step{middle, medianOf({at(from), at(middle)}), medianOf({at(middle), at(to)}),
                  change.p};
  if (std::abs(step.ratio() - 1) >= gate) steps.push_back(step);
  split(values, middle, to, alpha, gate, steps);
}

}  // namespace

ChangePoint changePoint(const std::vector<double>& values) {
  if (values.size() < 2 * kShortestLevel) return {};
  const std::vector<long long> ranks = centredRanks(values);
  const Peak peak = peakOf(ranks);
  if (peak.at == 0) return {};
  const double p = permutedP(ranks, peak.height);
  if (p > kLeastP) return {peak.at, p};
  return {peak.at, std::min(p, boundedP(values.size(), heightWithoutTies(values, peak.at)))};
}

std::vector<Step> findSteps(const std::vector<double>& values, double alpha, double gate) {
  std::vector<Step> steps;
  split(values, 0, values.size(), alpha, gate, steps);
  // Levels end at the neighbours that were found later, too.
  for (std::size_t i = 0; i < steps.size(); ++i) {
    const auto edge = [&](std::size_t place) {
      return values.begin() + static_cast<std::ptrdiff_t>(place);
    };
    const std::size_t begin = i == 0 ? 0 : steps[i - 1].at;
    const std::size_t end = i + 1 < steps.size() ? steps[i + 1].at : values.size();
    steps[i].before = medianOf({edge(begin), edge(steps[i].at)});
    steps[i].after = medianOf({edge(steps[i].at), edge(end)});
  }
  std::erase_if(steps, [gate](const Step& step) { return std::abs(step.ratio() - 1) < gate; });
  return steps;
}

}  // namespace report
