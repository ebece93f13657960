// The time-stamp counter, measured.
#include "tzcounter.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <optional>
#include <utility>

#include "tzclock.h"
#include "tzpace.h"

namespace {

std::optional<tzCounterFacts> s_counter;

// Looks in a row, without those that something came between.
/// @param kinds  of distances between looks; 1: one look right behind the other
std::vector<long long> lookDifferences(size_t kinds) {
  constexpr size_t looks = 4096;
  constexpr long long interrupted = 10'000;
  std::vector<unsigned long long> counts(looks);
  for (size_t i = 0; i < looks; ++i) {
    for (size_t wait = i % kinds; wait > 0; --wait) asm volatile("");
    counts[i] = rkd_get_quorvex_counter();
  }
  std::vector<long long> differences;
  for (size_t i = 1; i < looks; ++i) {
    const auto difference = static_cast<long long>(counts[i] - counts[i - 1]);
    if (difference > 0 && difference < interrupted) differences.push_back(difference);
  }
  return differences;
}

struct Moment {
  double microseconds;
  double clocks;
};

double now() {
  const auto time = std::chrono::steady_clock::now().time_since_epoch();
  return std::chrono::duration<double, std::micro>(time).count();
}

// Both clocks at once: of several pairs of looks, the one with the least time between them.
Moment moment() {
  constexpr int pairs = 16;
  Moment best{0, 0};
  double least = INFINITY;
  for (int i = 0; i < pairs; ++i) {
    const auto before = static_cast<double>(rkd_get_quorvex_counter());
    const double time = now();
    const auto after = static_cast<double>(rkd_get_quorvex_counter());
    if (after - before >= least) continue;
    least = after - before;
    best = {time, before + (after - before) / 2};
  }
  return best;
}

double additionsAClock() {
  constexpr long additions = 64 * 256;
  constexpr int tries = 200;
  unsigned long long least = ~0ULL;
  for (int i = 0; i < tries; ++i) {
    const unsigned long long first = rkd_get_quorvex_counter();
    tzAddInTurn(additions);
    least = std::min(least, rkd_get_quorvex_counter() - first);
  }
  return least > 0 ? static_cast<double>(additions) / static_cast<double>(least) : 0;
}

tzCounterFacts measured() {
  tzCounterFacts facts;
  const unsigned long long first = rkd_get_quorvex_counter();
  if (first == rkd_get_quorvex_counter()) return facts;  // it does not run
  const Moment begin = moment();
  // Looks at the same distance are alike in a counter of single steps, too.
  constexpr size_t allKinds = 61;
  facts.step = tzCounterStep(lookDifferences(allKinds));
  std::vector<long long> differences = lookDifferences(1);
  if (!differences.empty()) {
    const auto middle = differences.begin() + static_cast<std::ptrdiff_t>(differences.size() / 2);
    std::nth_element(differences.begin(), middle, differences.end());
    facts.cost = *middle;
  }
  facts.coreClocks = additionsAClock();
  constexpr double enough = 10'000;
  while (now() - begin.microseconds < enough) tzAddInTurn(1);
  const Moment end = moment();
  facts.mhz = (end.clocks - begin.clocks) / (end.microseconds - begin.microseconds);
  return facts;
}

}  // namespace

const tzCounterFacts& tzCounter() {
  if (!s_counter) s_counter = measured();
  return *s_counter;
}

void tzSetCounter(const tzCounterFacts* facts) {
  s_counter = facts != nullptr ? std::optional(*facts) : std::nullopt;
}

// A hypervisor that scales the counter leaves steps of 26 as 25, 26 or 27.
long long tzCounterStep(const std::vector<long long>& differences) {
  constexpr long long largest = 64;
  constexpr long long leastScaled = 8;
  constexpr double nearlyAll = 0.98;
  long long best = 1;
  double least = INFINITY;
  for (long long step = differences.empty() ? 1 : largest; step > 1; --step) {
    long long sum = 0;
    size_t fitting = 0;
    for (const long long difference : differences) {
      const long long over = difference % step;
      const long long off = std::min(over, step - over);
      sum += off;
      if (off <= (step >= leastScaled ? 1 : 0)) ++fitting;
    }
    const auto count = static_cast<double>(differences.size());
    if (static_cast<double>(fitting) < nearlyAll * count) continue;
    if (static_cast<double>(sum) >= least) continue;
    least = static_cast<double>(sum);
    best = step;
  }
  return best;
}

tzString tzFrequencyWarning(int estimatedMHz, double counterMHz) {
  constexpr double tolerated = 0.05;
  if (estimatedMHz <= 0 || !(counterMHz > 0)) return "";
  if (std::fabs(estimatedMHz - counterMHz) <= tolerated * counterMHz) return "";
  char text[160];
  std::snprintf(text, sizeof text,
                "-- The frequency in the title, %d MHz, is not that of the counter, %.0f MHz: "
                "the machine was busy\n",
                estimatedMHz, counterMHz);
  return text;
}
