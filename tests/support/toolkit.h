/// @file
/// Single settings of the timing tool's methods.
#pragma once

#include "tztool.h"

inline int loopCountOf(const tzTool& tool) {
  int loops = 0;
  tool.getMethodLoop(loops);
  return loops;
}

inline long long maxClocksOf(const tzTool& tool) {
  int calls = 0;
  long long clocks = 0;
  tool.getMethodStat(calls, clocks);
  return clocks;
}

struct BestOfSettings {
  int from = 0;
  int to = 0;
  long long clocks = 0;
};

inline BestOfSettings bestOf(const tzTool& tool) {
  BestOfSettings settings;
  tool.getMethodBest(settings.from, settings.to, settings.clocks);
  return settings;
}

inline int minLoopsOf(const tzTool& tool) { return bestOf(tool).from; }
inline int maxLoopsOf(const tzTool& tool) { return bestOf(tool).to; }
inline long long minClocksOf(const tzTool& tool) { return bestOf(tool).clocks; }
