/// @file
/// The timing tool over scripted clocks: what its tests share.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <utility>
#include <vector>

#include "apikit.h"
#include "tzctrl.h"
#include "tzplan.h"
#include "tztool.h"
#include "tzwatch.h"

namespace toolscript {

// One entry a run; the last one repeats.
struct Shot {
  Shot(double clocks, tzResult result = TZ_OK, std::function<void()> action = {})
      : perLoop(clocks), code(result), act(std::move(action)) {}
  double perLoop;
  tzResult code;
  std::function<void()> act;
};

struct Script {
  std::vector<Shot> runs;
  std::vector<int> loops;  // what each run was asked to do
  int statCalls = -1;      // what the statistical function says it made; -1: what it was asked
  long long budget = 0;    // what it was given
};
inline Script script;

inline const Shot& nextRun(int n) {
  const size_t i = std::min(script.loops.size(), script.runs.size() - 1);
  script.loops.push_back(n);
  const Shot& run = script.runs[i];
  if (run.act) run.act();
  return run;
}

inline tzResult scriptedLoop(int n, long long* clocks) {
  const Shot& run = nextRun(n);
  *clocks = std::llround(run.perLoop * n);
  return run.code;
}

inline tzResult scriptedStat(int* n, long long* clocks) {
  script.budget = *clocks;
  const Shot& run = nextRun(*n);
  if (script.statCalls >= 0) *n = script.statCalls;
  *clocks = std::llround(run.perLoop * *n);
  return run.code;
}

struct Calls {
  int call = 0, init = 0, reset = 0;
  std::vector<int> statuses;  // of the calls; 0 afterwards
};
inline Calls calls;

inline int countedCall() {
  const size_t i = static_cast<size_t>(calls.call++);
  return i < calls.statuses.size() ? calls.statuses[i] : 0;
}
inline int countedInit() { return ++calls.init; }
inline void countedReset() { ++calls.reset; }
inline tzResult judge(int status) {
  return status < 0 ? TZ_FUNCFAIL : status > 0 ? TZ_FUNCWRN : TZ_OK;
}

class Tool : public testing::Test {
 protected:
  void SetUp() override {
    script = {};
    calls = {};
    tzTool::m_pCheckStatus = nullptr;
    tzTool::m_pResetVectors = nullptr;
    tzTool::m_pSeconds = nullptr;
    // What else this machine does is no part of these tests.
    tzWatch::m_mode = tzWatch::ON;
    tzWatch::m_pLook = [] { return tzMoment(); };
    tzWatch::m_pSteal = [] { return 0.0; };
    g_plan = {};
    g_ctrlWatch.init();
  }
  tzResult loop(std::vector<Shot> runs) {
    script.loops.clear();
    script.runs = std::move(runs);
    return tool.timing(scriptedLoop, nullptr, nullptr, nullptr);
  }
  tzResult stat(std::vector<Shot> runs) {
    script.loops.clear();
    script.runs = std::move(runs);
    return tool.timing(nullptr, scriptedStat, nullptr, nullptr);
  }
  tzTool tool;
  Console console{L_ERR | L_WARN | L_PERF};
};

inline volatile double one = 1.0, zero = 0.0, sink = 0.0;
inline void divideByZero() { sink = one / zero; }

}  // namespace toolscript
