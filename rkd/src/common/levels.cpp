// Which level a library runs at, and what the processor types mean.
#include "common/levels.h"

namespace rkd {
namespace {

// Better targets have lower bits. A level is the worst target that it allows together with all
// better ones up to the next level, so that later versions of Highway may add variants between.
struct Level {
  RkdCpuType type;  // the lowest type that selects it by name
  int64_t best;     // best target of the level, 0 for the lowest: whatever is below SSSE3
};
constexpr Level kLevels[] = {
    {rkdCpuSSE2, 0},        {rkdCpuSSSE3, HWY_SSSE3}, {rkdCpuSSE42, HWY_SSE4},
    {rkdCpuAVX2, HWY_AVX2}, {rkdCpuAVX512, 1},
};

struct TypeLevel {
  RkdCpuType type;
  RkdCpuType level;
};
constexpr TypeLevel kTypes[] = {
    {rkdCpuUnknown, rkdCpuSSE2}, {rkdCpuModelA, rkdCpuSSSE3}, {rkdCpuModelB, rkdCpuSSSE3},
    {rkdCpuModelC, rkdCpuSSSE3}, {rkdCpuModelD, rkdCpuSSSE3}, {rkdCpuModelE, rkdCpuSSE42},
    {rkdCpuSSE, rkdCpuSSE2},     {rkdCpuSSE2, rkdCpuSSE2},    {rkdCpuSSE3, rkdCpuSSE2},
    {rkdCpuSSSE3, rkdCpuSSSE3},  {rkdCpuSSE41, rkdCpuSSE42},  {rkdCpuSSE42, rkdCpuSSE42},
    {rkdCpuAVX, rkdCpuSSE42},    {rkdCpuAVX2, rkdCpuAVX2},    {rkdCpuAVX512, rkdCpuAVX512},
    {rkdCpu64, rkdCpuSSE2},
};

// All targets better than the best one of a level.
constexpr int64_t targetsAbove(const Level& level) {
  return (level.best == 0 ? HWY_SSSE3 << 1 : level.best) - 1;
}

void disable(int64_t targets) {
  hwy::DisableTargets(targets);
  hwy::GetChosenTarget().Update(hwy::SupportedTargets());
}

}  // namespace

RkdCpuType typeOfTarget(int64_t target) {
  for (const Level& level : kLevels) {
    if (target > targetsAbove(level)) return level.type;
  }
  return rkdCpuAVX512;
}

void selectBestLevel() { disable(0); }

RkdStatus selectLevel(RkdCpuType cpu) {
  RkdCpuType wanted = -1;
  for (const TypeLevel& entry : kTypes) {
    if (entry.type == cpu) wanted = entry.level;
  }
  if (wanted < 0) return rkdStsBadArgErr;

  // What the machine has is known only with nothing disabled; nobody runs kernels meanwhile.
  const int64_t before = hwy::SupportedTargets();
  hwy::DisableTargets(0);
  const int64_t all = hwy::SupportedTargets();
  const int64_t best = all & -all;
  if (wanted > typeOfTarget(best)) {
    disable(~before);
    return rkdStsNotSupportedCpuErr;
  }
  for (const Level& level : kLevels) {
    if (level.type == wanted) disable(targetsAbove(level));
  }
  return rkdStsNoErr;
}

}  // namespace rkd
