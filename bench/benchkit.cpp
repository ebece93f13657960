// Clocks in turns, and the lines of the table.
#include "benchkit.h"

#include <algorithm>
#include <cstdio>
#include <limits>

#include "rkd/rkdcore.h"

namespace bench {
namespace {

// Long enough for the processor to have been undisturbed once, short enough for a table of many.
constexpr int kRounds = 60;
constexpr int kPerTurn = 6;
constexpr uint64_t kClockBudget = 1'500'000'000;  // for one group of functions

uint64_t clocksOf(const std::function<void()>& function) {
  const uint64_t start = rkdGetCpuClocks();
  function();
  return rkdGetCpuClocks() - start;
}

}  // namespace

std::vector<double> minimaInTurns(const std::vector<Turn>& turns) {
  std::vector<double> minima(turns.size(), std::numeric_limits<double>::max());
  const uint64_t start = rkdGetCpuClocks();
  for (int round = 0; round < kRounds; ++round) {
    for (size_t i = 0; i < turns.size(); ++i) {
      if (turns[i].level != kBestLevel) rkdInitCpu(turns[i].level);
      turns[i].function();  // the other's turn has taken the caches
      for (int n = 0; n < kPerTurn; ++n) {
        minima[i] = std::min(minima[i], static_cast<double>(clocksOf(turns[i].function)));
      }
    }
    if (rkdGetCpuClocks() - start > kClockBudget) break;
  }
  return minima;
}

void Table::run(const Case& c) {
  if (c.name.find(m_filter) == std::string::npos) return;
  rkdInit();
  std::printf("%-44s", c.name.c_str());
  std::vector<Turn> pair = {{c.ours}};
  if (c.peer) pair.push_back({c.peer});
  if (c.peerWithout) pair.push_back({c.peerWithout});
  std::vector<double> minima = minimaInTurns(pair);
  if (c.peerWithout) minima[1] -= minima[2];
  std::printf(" %9.3f /%s", minima[0] / c.units, c.unit.c_str());
  if (c.peer) {
    const double ratio = minima[0] / minima[1];
    std::printf("  %9.3f %-20s ratio %5.2f", minima[1] / c.units, c.peerName.c_str(), ratio);
    if (c.must > 0) {
      const bool reached = ratio <= c.must;
      const bool aimed = ratio <= c.aim;
      std::printf("  must %.2f aim %.2f %s", c.must, c.aim,
                  aimed     ? "AIM"
                  : reached ? "ok"
                            : "MISSED");
      ++(aimed ? m_aimed : reached ? m_reached : m_missed);
    }
  } else {
    std::printf("  no peer in this program%55s", "");
    ++m_unmeasured;
  }

  // The same function at three levels, again in turns.
  std::vector<Turn> levels;
  for (const RkdCpuType type : {rkdCpuSSE2, rkdCpuAVX2, rkdCpuAVX512}) {
    if (rkdInitCpu(type) == rkdStsNoErr) levels.push_back({c.ours, type});
  }
  std::printf("  levels");
  const char* separator = " ";
  for (const double clocks : minimaInTurns(levels)) {
    std::printf("%s%.3f", separator, clocks / c.units);
    separator = " : ";
  }
  rkdInit();
  std::printf("\n");
  std::fflush(stdout);
}

void Table::summary() const {
  std::printf("%d missed, %d reached, %d reached the aim, %d not measured\n", m_missed, m_reached,
              m_aimed, m_unmeasured);
}

}  // namespace bench
