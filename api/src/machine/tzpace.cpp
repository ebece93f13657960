// Chains of additions tell the core's clock, additions side by side its width.
#include "tzpace.h"

#include <algorithm>

#include "tzclock.h"

tzPace (*tzPace::m_pLook)() = nullptr;
double tzPace::m_best = 0;

namespace {

// A counter may go on in steps of 26 or more: of a chain of 4096 additions one step is 1 %.
constexpr long kInTurn = 8192;
constexpr long kAbreast = 4800;
// What agrees within this is the same, but for the counter's steps.
constexpr double kAlike = 0.015;
// Of the whole width. With another thread it is about half.
constexpr double kAlone = 0.85;

unsigned long long clocksOfChain() {
  const unsigned long long first = rkd_get_quorvex_counter();
  tzAddInTurn(kInTurn);
  return rkd_get_quorvex_counter() - first;
}

unsigned long long clocksAbreast() {
  constexpr long atOnce = 96;
  unsigned long a = 1, b = 2, c = 3, d = 4, e = 5, f = 6;
  const unsigned long term = 3;
  const unsigned long long first = rkd_get_quorvex_counter();
  for (long i = 0; i < kAbreast; i += atOnce) {
    asm volatile(
        ".rept 16\n\tadd %6, %0\n\tadd %6, %1\n\tadd %6, %2\n\tadd %6, %3\n\tadd %6, %4\n\t"
        "add %6, %5\n\t.endr"
        : "+r"(a), "+r"(b), "+r"(c), "+r"(d), "+r"(e), "+r"(f)
        : "r"(term));
  }
  return rkd_get_quorvex_counter() - first;
}

// Of rates that are the same, what their steps leave between them; else the faster, since whatever
// comes between makes a rate slower.
double fasterOrMean(double a, double b) {
  const double faster = std::max(a, b);
  return faster - std::min(a, b) > kAlike * faster ? faster : (a + b) / 2;
}

}  // namespace

// The operand is a register, because some cores add constants for nothing.
void tzAddInTurn(long count) {
  constexpr int atOnce = 64;
  unsigned long sum = 1;
  const unsigned long term = 3;
  for (long i = 0; i < count; i += atOnce) {
    asm volatile(".rept 64\n\tadd %1, %0\n\t.endr" : "+r"(sum) : "r"(term));
  }
}

// Two chains: an interrupt in one of them must not pass for a slow clock.
tzPace tzPace::look() {
  if (m_pLook != nullptr) return m_pLook();
  const auto first = static_cast<double>(clocksOfChain());
  const auto abreast = static_cast<double>(clocksAbreast());
  const auto last = static_cast<double>(clocksOfChain());
  if (first <= 0 || last <= 0 || abreast <= 0) return {};
  tzPace pace;
  pace.rate = fasterOrMean(kInTurn / first, kInTurn / last);
  pace.width = kAbreast / (abreast * pace.rate);
  return pace;
}

tzPace tzPace::between(const tzPace& first, const tzPace& last) {
  return {fasterOrMean(first.rate, last.rate), std::min(first.width, last.width)};
}

double tzPace::typicalWidth(std::vector<double> widths) {
  if (widths.empty()) return 0;
  const auto quartile = widths.begin() + static_cast<std::ptrdiff_t>(widths.size() * 3 / 4);
  std::nth_element(widths.begin(), quartile, widths.end());
  return *quartile;
}

void tzPace::note(double width) { m_best = std::max(m_best, width); }

double tzPace::sharedBelow() { return kAlone * m_best; }
