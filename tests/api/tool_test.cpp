// The timing engine over scripted clocks: what it runs, how often, and what it says about it.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <csignal>
#include <functional>
#include <vector>

#include "apikit.h"
#include "tzctrl.h"
#include "toolkit.h"
#include "tztool.h"
#include "tztrace.h"

namespace {

using testing::ElementsAre;
using testing::HasSubstr;

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
} script;

const Shot& nextRun(int n) {
  const size_t i = std::min(script.loops.size(), script.runs.size() - 1);
  script.loops.push_back(n);
  const Shot& run = script.runs[i];
  if (run.act) run.act();
  return run;
}

tzResult scriptedLoop(int n, long long* clocks) {
  const Shot& run = nextRun(n);
  *clocks = std::llround(run.perLoop * n);
  return run.code;
}

tzResult scriptedStat(int* n, long long* clocks) {
  script.budget = *clocks;
  const Shot& run = nextRun(*n);
  if (script.statCalls >= 0) *n = script.statCalls;
  *clocks = std::llround(run.perLoop * *n);
  return run.code;
}

struct Calls {
  int call = 0, init = 0, reset = 0;
  std::vector<int> statuses;  // of the calls; 0 afterwards
} calls;

int countedCall() {
  const size_t i = static_cast<size_t>(calls.call++);
  return i < calls.statuses.size() ? calls.statuses[i] : 0;
}
int countedInit() { return ++calls.init; }
void countedReset() { ++calls.reset; }
tzResult judge(int status) { return status < 0 ? TZ_FUNCFAIL : status > 0 ? TZ_FUNCWRN : TZ_OK; }

class Tool : public testing::Test {
 protected:
  void SetUp() override {
    script = {};
    calls = {};
    tzTool::m_pCheckStatus = nullptr;
    tzTool::m_pResetVectors = nullptr;
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

volatile double one = 1.0, zero = 0.0, sink = 0.0;
void divideByZero() { sink = one / zero; }

TEST_F(Tool, ASteadyFunctionNeedsTwoRunsAndTellsThemAtDetailLevel) {
  g_ostrm.setOutLevel(15);
  EXPECT_EQ(loop({{100}}), TZ_OK);
  EXPECT_THAT(script.loops, ElementsAre(1, 4));
  EXPECT_EQ(tool.funcClocks(), 100);
  EXPECT_EQ(tool.accuracy(), 0);
  EXPECT_EQ(tool.infoText(), "nLps=4");
  EXPECT_EQ(tool.resultText(), "successfully");
  EXPECT_EQ(console.text(),
            "    Auto method: start\n"
            "        minClocks  = 10\n"
            "    Prior Measurement: \n"
            "        numLoops   = 1\n"
            "        numClocks  = 100\n"
            "        funcClocks = 100\n"
            "        result     = successfully\n"
            "    Iteration Measurement: \n"
            "        startLoops = 4\n"
            "        maxLoops   = 2048\n"
            "        stopLoops  = 4\n"
            "        stopClocks = 400\n"
            "        accuracy   = 0.00%\n"
            "        funcClocks = 100\n"
            "        result     = successfully\n"
            "    Auto method: stop\n");
}

TEST_F(Tool, ResultsAreSilentBelowDetailLevel) {
  loop({{100}});
  EXPECT_EQ(console.text(), "");
}

TEST_F(Tool, ASlightSpreadIsSettledByTheBestOfThreeSamples) {
  g_ostrm.setOutLevel(15);
  EXPECT_EQ(loop({{203}, {200}, {198}, {199}}), TZ_OK);
  EXPECT_THAT(script.loops, ElementsAre(1, 4, 4, 4));
  EXPECT_EQ(tool.funcClocks(), 198);
  EXPECT_NEAR(tool.accuracy(), 1.0 / 199, 1e-12);
  EXPECT_EQ(tool.infoText(), "nLps=4");
  EXPECT_THAT(console.text(), HasSubstr("    Simple Measurements: \n"
                                        "        numLoops   = 4\n"
                                        "        numClocks  = 792\n"
                                        "        funcClocks = 198\n"
                                        "        numLoops   = 4\n"
                                        "        numClocks  = 796\n"
                                        "        funcClocks = 199\n"
                                        "        accuracy   = 0.50%\n"
                                        "        bestClocks = 198\n"
                                        "        result     = successfully\n"
                                        "    Auto method: stop\n"));
}

TEST_F(Tool, AccuraciesOfExactlyTheLimitsAreGood) {
  tool.setAccuracyLimit(0.1);
  EXPECT_EQ(loop({{105}, {95}}), TZ_OK);  // a spread of 10 % of the mean
  EXPECT_THAT(script.loops, ElementsAre(1, 4, 4, 4)) << "10 % must end the doubling";
  EXPECT_EQ(loop({{201}, {199}}), TZ_OK);  // exactly 1 %
  EXPECT_THAT(script.loops, ElementsAre(1, 4)) << "1 % needs no samples";
}

TEST_F(Tool, AnUnsteadyFunctionIsRunUpToTheBoundAndSaysSo) {
  tool.setMethodBest(1, 30, 1);
  EXPECT_EQ(loop({{100}, {200}, {100}, {200}, {100}, {200}, {200}, {100}}), TZ_ACCURWRN);
  // Doubling to 16, three samples there, then the bound itself and its samples.
  EXPECT_THAT(script.loops, ElementsAre(1, 4, 8, 16, 16, 16, 30, 30, 30));
  EXPECT_EQ(tool.funcClocks(), 100);
  EXPECT_EQ(tool.infoText(), "nLps=30 acc=50.0%");
  EXPECT_EQ(tool.resultText(), "successfullyactual accuracy = 50.0%") << "added to what is there";
  EXPECT_EQ(console.text(), "");
}

TEST_F(Tool, UnsteadySamplesStartAgainFourTimesAsLong) {
  tool.setMethodBest(1, 50, 1);
  loop({{100}, {104}, {150}, {104}, {100}});  // two runs agree, the samples after them do not
  EXPECT_THAT(script.loops, ElementsAre(1, 4, 4, 4, 16, 16, 16));
}

TEST_F(Tool, TheInitialisationRunsBeforeLoopsOnlyWhereTheStatusIsChecked) {
  for (const bool check : {false, true}) {
    calls = {};
    script.loops.clear();
    script.runs = {{100}};
    tool.setCheckCtrl(check);
    tool.timing(scriptedLoop, nullptr, nullptr, countedInit);
    EXPECT_EQ(calls.init, check ? 2 : 0);
  }
}

TEST_F(Tool, ABoundBelowTheSecondRunEndsAfterTheFirst) {
  tool.setLoopFactor(11);
  EXPECT_EQ(tool.autoMinLoops(), 0);
  EXPECT_EQ(tool.autoMaxLoops(), 1);
  EXPECT_EQ(loop({{100}}), TZ_ACCURWRN);
  EXPECT_THAT(script.loops, ElementsAre(1));
  EXPECT_EQ(tool.infoText(), "nLps=1 acc=100.0%");
}

TEST_F(Tool, ATooShortFirstRunIsRetriedOnceTenTimesAsLong) {
  EXPECT_EQ(loop({{9}, {9}}), TZ_OK);
  EXPECT_THAT(script.loops, ElementsAre(1, 10, 40));
  EXPECT_EQ(loop({{10}}), TZ_OK) << "exactly the least clocks";
  EXPECT_THAT(script.loops, ElementsAre(1, 4));
  tool.setMethodBest(1, 9, 10);
  EXPECT_EQ(loop({{9}}), TZ_OK) << "the upper bound grows with the lower one";
  EXPECT_THAT(script.loops, ElementsAre(1, 10, 40));
}

TEST_F(Tool, TheLeastClocksAreMetInSpiteOfRoundingErrors) {
  tool.setMethodBest(49, 50, 100);  // 100 / 49 * 49 is below 100
  script.runs = {{100.0 / 49}};
  EXPECT_EQ(tool.timing(scriptedLoop, nullptr, nullptr, nullptr), TZ_OK);
}

TEST_F(Tool, AMeasurementThatStaysTooShortFailsAndPrintsItsTraceOnce) {
  EXPECT_EQ(loop({{0.5}}), TZ_ACCURFAIL);
  EXPECT_THAT(script.loops, ElementsAre(1, 10));
  EXPECT_EQ(tool.resultText(), "accuracy error");
  EXPECT_EQ(tool.infoText(), "");
  const std::string trace =
      "    Auto method: start\n"
      "        minClocks  = 10\n"
      "    Prior Measurement: \n"
      "        numLoops   = 1\n"
      "        numClocks  = 1\n"
      "        funcClocks = 1\n"
      "        result     = accuracy error\n"
      "    Prior Measurement: \n"
      "        numLoops   = 10\n"
      "        numClocks  = 5\n"
      "        funcClocks = 0.5\n"
      "        result     = accuracy error\n"
      "    Auto method: exit\n";
  EXPECT_EQ(console.take(), trace);
  for (const int detail : {15, 0}) {  // shown as it came; shown to nobody
    g_ostrm.setOutLevel(detail);
    loop({{0.5}});
    EXPECT_EQ(console.take(), detail ? trace : "");
  }
  g_ostrm.setOutLevel(23);  // tracing, which did not ask for this detail
  loop({{0.5}});
  EXPECT_THAT(console.take(), Not(HasSubstr(trace)));
}

TEST_F(Tool, ALargerStartingCountThatIsTooShortFailsAtOnce) {
  tool.setMethodBest(3, 100, 1000);
  EXPECT_EQ(loop({{10}}), TZ_ACCURFAIL);
  EXPECT_THAT(script.loops, ElementsAre(3));
}

TEST_F(Tool, ARunWithoutClocksIsRepeatedOnce) {
  EXPECT_EQ(loop({{0}, {50}, {0}, {50}}), TZ_OK);
  EXPECT_THAT(script.loops, ElementsAre(1, 1, 4, 4));
  EXPECT_EQ(tool.funcClocks(), 50);

  tool.setMethodLoop(7);
  EXPECT_EQ(loop({{0}}), TZ_OK);
  EXPECT_THAT(script.loops, ElementsAre(7, 7));
  EXPECT_EQ(tool.funcClocks(), 0);
}

TEST_F(Tool, ClocksThatVanishInALaterRunFailTheMeasurement) {
  EXPECT_EQ(loop({{50}, {0}}), TZ_ACCURFAIL);
  EXPECT_THAT(script.loops, ElementsAre(1, 4, 4));
  EXPECT_EQ(loop({{50}, {-3}}), TZ_ACCURFAIL) << "a counter that runs backwards";
}

TEST_F(Tool, AFailureIsKeptThroughTheIterations) {
  const Shot bad{100, TZ_FUNCFAIL};
  EXPECT_EQ(loop({bad}), TZ_FUNCFAIL);
  EXPECT_THAT(script.loops, ElementsAre(1));
  EXPECT_EQ(loop({{200}, bad, {100}}), TZ_FUNCFAIL);
  EXPECT_THAT(script.loops, ElementsAre(1, 4, 8)) << "the iterations go on";
  EXPECT_EQ(loop({{103}, {100}, bad}), TZ_FUNCFAIL);
  EXPECT_THAT(script.loops, ElementsAre(1, 4, 4)) << "samples of it are worth nothing";
  EXPECT_EQ(tool.resultText(), "lib function error");
  // After a crash nobody knows what the function left behind.
  EXPECT_EQ(loop({{200}, {100, TZ_OK, [] { std::raise(SIGSEGV); }}}), TZ_EXCPTFAIL);
  EXPECT_THAT(script.loops, ElementsAre(1, 4));
}

// Time that passes as the runs say: a thousandth of a second a repetition for each clock.
double s_seconds = 0;

TEST_F(Tool, TheTimeLimitEndsTheRepetitionsAndSaysSo) {
  struct Case {
    double perLoop;
    std::vector<double> spread;  // of the runs, in turn
    std::vector<int> loops;
    tzResult result;
    const char* note;
  };
  const Case cases[] = {
      {1, {1, 1}, {1, 4}, TZ_OK, "nLps=4"},
      {1, {1, 2, 1, 2, 1, 2}, {1, 4, 8, 8}, TZ_ACCURWRN, "nLps=8 acc=33.3% time limit"},
      // The second sample of one would be the first run after the limit.
      {15, {1}, {1}, TZ_ACCURWRN, "nLps=1 acc=100.0% time limit"},
      // No time for four, but for two more of one.
      {2, {1.02, 1, 1}, {1, 1, 1}, TZ_ACCURWRN, "nLps=1 time limit"},
  };
  tzTool::m_pSeconds = [] { return s_seconds; };
  tool.setTimeLimit(8);
  for (const Case& c : cases) {
    SCOPED_TRACE(c.note);
    std::vector<Shot> runs;
    for (const double factor : c.spread) {
      runs.emplace_back(1000 * factor, TZ_OK, [&c] {
        const int n = script.loops.back();
        s_seconds += (c.perLoop == 1 ? 0.3 : c.perLoop) * n;
      });
    }
    EXPECT_EQ(loop(runs), c.result);
    EXPECT_EQ(script.loops, c.loops);
    EXPECT_EQ(tool.infoText(), c.note);
    const bool limited = tool.infoText().find("time limit") >= 0;
    EXPECT_EQ(console.take(),
              limited ? "-- The time limit of a row, 8 s, ended the repetitions\n" : "");
  }
  tool.setTimeLimit(0);
  EXPECT_EQ(loop({{1000, TZ_OK, [] { s_seconds += 1e6; }}}), TZ_OK) << "0 is no limit";
  tzTool::m_pSeconds = nullptr;
}

TEST_F(Tool, AWarningIsKeptAndTheMeasurementGoesOn) {
  EXPECT_EQ(loop({{100, TZ_FUNCWRN}, {100}}), TZ_FUNCWRN);
  EXPECT_THAT(script.loops, ElementsAre(1, 4));
  EXPECT_EQ(tool.resultText(), "lib function warning");
  tool.setMethodBest(1, 8, 1);
  EXPECT_EQ(loop({{100}, {200, TZ_FUNCWRN}, {100}, {200}}), TZ_FUNCWRN) << "the spread is less";
  EXPECT_THAT(tool.infoText().str(), HasSubstr(" acc="));
  EXPECT_THAT(script.loops, ElementsAre(1, 4, 8, 8, 8)) << "a bound that doubling meets is run";
  EXPECT_EQ(tool.resultText(), "lib function warning");
}

// Control status: runs of 8 and more raise an exception, the first three differ too much to settle.
struct CtrlCase {
  const char* name;
  std::vector<Shot> runs;
  const char* outcome;
  tzResult result;
  double clocks;
};

void PrintTo(const CtrlCase& c, std::ostream* os) { *os << c.name; }

class ToolCtrl : public Tool, public testing::WithParamInterface<CtrlCase> {};

TEST_P(ToolCtrl, FewerLoopsAreTried) {
  const CtrlCase& c = GetParam();
  tool.setCheckCtrl(true);
  EXPECT_EQ(loop(c.runs), c.result);
  const std::string outcome = c.outcome;
  EXPECT_EQ(console.text(),
            "-- SIMD status: ?Zerodivide \n"
            "-- Attempting to avoid bad control status\n" +
                outcome);
  // Sample 0 is the run before the change; five more follow.
  EXPECT_THAT(script.loops, ElementsAre(1, 4, 8, 4, 4, 4, 4, 4));
  EXPECT_EQ(tool.numLoops(), 4);
  EXPECT_EQ(tool.funcClocks(), c.clocks);
}

// Faster than the runs without exceptions, so that its figure would show.
const Shot raising{90, TZ_OK, divideByZero};
INSTANTIATE_TEST_SUITE_P(
    Attempts, ToolCtrl,
    testing::Values(
        CtrlCase{"Steady", {{50}, {100}, raising, {100}}, "-- Attempt is successful\n", TZ_OK, 100},
        // 12 % off the mean of six: above the limit and below twice the limit of 8 %.
        CtrlCase{"WithinTwiceTheLimit",
                 {{50}, {100}, raising, {100}, {108}, {100}},
                 "-- Attempt is successful\n",
                 TZ_ACCURWRN,
                 100},
        CtrlCase{"Unsteady",
                 {{50}, {100}, raising, {100}, {150}},
                 "-- Attempt fails: Accuracy is unsatisfactory.\n",
                 TZ_ACCURWRN,
                 100},
        CtrlCase{"Repeating",
                 {{50}, {100}, raising, raising},
                 "-- SIMD status: ?Zerodivide \n-- Attempt fails: Bad control status repeats.\n",
                 TZ_ACCURWRN,
                 90}),
    [](const auto& test) { return std::string(test.param.name); });

TEST_F(Tool, AModifiedStatusIsLeftToTheTestUnlessAvoidingIsAskedFor) {
  EXPECT_EQ(loop({{100, TZ_OK, divideByZero}}), TZ_OK);
  EXPECT_THAT(script.loops, ElementsAre(1, 4));
  EXPECT_EQ(console.text(), "");
  EXPECT_TRUE(g_ctrlWatch.bad()) << "the test's own check must see what the tool saw";
  tool.clearCtrlStatus();
  EXPECT_FALSE(tool.badCtrlStatus());
}

TEST_F(Tool, TheStatisticalPathOfBestOfCountsCalls) {
  tool.setStatMode(true);
  EXPECT_EQ(stat({{100}}), TZ_OK);
  EXPECT_THAT(script.loops, ElementsAre(1, 4));
  EXPECT_EQ(script.budget, 0);
  EXPECT_EQ(tool.infoText(), "nCalls=4");
  script.statCalls = 0;
  EXPECT_EQ(stat({{100}}), TZ_ACCURFAIL) << "no call made: nothing to divide by";
  EXPECT_THAT(script.loops, ElementsAre(1, 1, 10, 10));
  EXPECT_EQ(loop({{100}}), TZ_OK);
  EXPECT_FALSE(tool.statMode()) << "a loop function alone can't be timed call by call";
}

TEST_F(Tool, TheManualMethodIsOneRun) {
  g_ostrm.setOutLevel(15);
  tool.setMethodLoop(25);
  EXPECT_EQ(loop({{4}}), TZ_OK);
  EXPECT_THAT(script.loops, ElementsAre(25));
  EXPECT_EQ(tool.infoText(), "nLps=25");
  EXPECT_EQ(tool.accuracy(), 0);
  EXPECT_EQ(console.text(),
            "    Manual method: \n"
            "        numLoops   = 25\n"
            "        funcClocks = 4\n"
            "        result     = successfully\n");
}

TEST_F(Tool, TheStatisticalMethodIsOneRunWithABudget) {
  g_ostrm.setOutLevel(15);
  tool.setMethodStat(12, 123456789012);
  script.statCalls = 20;
  EXPECT_EQ(stat({{4}}), TZ_OK);
  EXPECT_THAT(script.loops, ElementsAre(12));
  EXPECT_EQ(script.budget, 123456789012);
  EXPECT_EQ(tool.funcClocks(), 4);
  EXPECT_EQ(tool.infoText(), "nCalls=20");
  EXPECT_EQ(console.text(),
            "    Statistical method:\n"
            "        minCalls   = 12\n"
            "        maxClocks  = 123456789000\n"
            "        numCalls   = 20\n"
            "        funcClocks = 4\n"
            "        result     = successfully\n");
  script.statCalls = 0;
  stat({{4}});
  EXPECT_EQ(tool.funcClocks(), 0);
}

TEST_F(Tool, AMethodWithoutItsFunctionGivesWayToTheOther) {
  tool.setMethodLoop(9);
  EXPECT_EQ(stat({{4}}), TZ_OK);
  EXPECT_THAT(script.loops, ElementsAre(9));
  EXPECT_EQ(tool.getMethod(), tzTool::STAT);
  EXPECT_EQ(console.take(),
            " ATTENTION! The test cannot execute Manual loop timing.\n"
            " Statistic timing will be run instead.\n");
  tool.setMethodStat(13, 5);
  EXPECT_EQ(loop({{4}}), TZ_OK);
  EXPECT_THAT(script.loops, ElementsAre(13));
  EXPECT_EQ(tool.getMethod(), tzTool::LOOP);
  EXPECT_EQ(console.take(),
            " ATTENTION! The test cannot execute Statistic timing.\n"
            " Manual loop timing will be run instead.\n");
}

TEST_F(Tool, WhatCannotBeTimedIsAnInternalError) {
  EXPECT_EQ(tool.timing(nullptr, nullptr, nullptr, countedInit), TZ_FAIL);
  EXPECT_EQ(tool.resultText(), "error");
  EXPECT_EQ(console.take(),
            " Internal test problem: The test cannot execute standard timing.\n"
            " No one of funcLoop, funcStat or funcCall is registered in the test.\n");
  tool.setMethod(4);
  EXPECT_EQ(loop({{1}}), TZ_FAIL);
  EXPECT_EQ(console.take(), "TZ internal error: file api/src/tztool, line 746\n");
  tool.setMethodAuto();
  EXPECT_EQ(stat({{1}}), TZ_FAIL) << "best-of by loops, with a statistical function alone";
  EXPECT_EQ(console.take(), "TZ internal error: file api/src/tztool, line 248\n");
  int n = 1;
  long long clocks = 0;
  tool.reset();
  EXPECT_EQ(tool.timCall_Loop(1, &clocks, false), TZ_FAIL);
  EXPECT_EQ(tool.timCall_Stat(&n, &clocks, false), TZ_FAIL);
  EXPECT_EQ(console.take(),
            "TZ internal error: file api/src/tztool, line 758\n"
            "TZ internal error: file api/src/tztool, line 795\n");
}

TEST_F(Tool, TheOlderFormLeavesItsClocksInTheTool) {
  script.runs = {{30}};
  EXPECT_EQ(tool.timing([](tzTool& t, int n) -> tzResult {
    t.setNumClocks(std::llround(nextRun(n).perLoop * n));
    return TZ_OK;
  }),
            TZ_OK);
  EXPECT_THAT(script.loops, ElementsAre(1, 4));
  EXPECT_EQ(tool.funcClocks(), 30);
}

TEST_F(Tool, TheGenericLoopInitialisesBeforeEveryCallAndStopsAtAFailure) {
  tzTool::m_pResetVectors = countedReset;
  tool.setFunctions(nullptr, nullptr, countedCall, countedInit);
  long long clocks = 0;
  EXPECT_EQ(tool.timCall_Loop(5, &clocks, true), TZ_OK);
  EXPECT_GT(clocks, 0);
  EXPECT_EQ(calls.call, 6);  // a warm-up and five
  EXPECT_EQ(calls.init, 6);
  EXPECT_EQ(calls.reset, 5);

  tzTool::m_pCheckStatus = judge;
  calls = {.statuses = {0, 3, 0, -1, 0}};
  EXPECT_EQ(tool.timCall_Loop(5, &clocks, false), TZ_FUNCFAIL);
  EXPECT_EQ(calls.call, 4);
  EXPECT_EQ(calls.reset, 0);
  calls = {.statuses = {0, 3, 0}};
  EXPECT_EQ(tool.timCall_Loop(5, &clocks, false), TZ_FUNCWRN) << "a later 0 takes nothing back";
  calls = {.statuses = {-2}};
  EXPECT_EQ(tool.timCall_Loop(5, &clocks, false), TZ_FUNCFAIL);
  EXPECT_EQ(calls.call, 1) << "a warm-up that fails is judged at once";
}

TEST_F(Tool, TheGenericStatisticsTimeEveryOtherCall) {
  tzTool::m_pResetVectors = countedReset;
  tzTool::m_pCheckStatus = judge;
  tool.setFunctions(nullptr, nullptr, countedCall, countedInit);
  int made = 3;
  long long clocks = 0;
  EXPECT_EQ(tool.timCall_Stat(&made, &clocks, true), TZ_OK);
  EXPECT_EQ(made, 3);
  EXPECT_EQ(calls.call, 7);  // a warm-up and three rounds of two
  EXPECT_EQ(calls.init, 4);
  EXPECT_EQ(calls.reset, 3);

  made = 0;
  clocks = 100000;
  EXPECT_EQ(tool.timCall_Stat(&made, &clocks, false), TZ_OK);
  EXPECT_GT(made, 0) << "calls go on until the budget is used";
  EXPECT_GE(clocks, 100000);

  calls = {.statuses = {0, -1, 0, 0, -1}};  // the timed call's status does not count
  made = 9;
  clocks = 0;
  EXPECT_EQ(tool.timCall_Stat(&made, &clocks, false), TZ_FUNCFAIL);
  EXPECT_EQ(made, 2);

  calls = {.statuses = {-2}};
  EXPECT_EQ(tool.timCall_Stat(&made, &clocks, false), TZ_FUNCFAIL);
  EXPECT_EQ(calls.call, 1);
}

TEST_F(Tool, CallModeTimesTheCallWithItsDataAndWatchesNothing) {
  tzTool::m_pResetVectors = countedReset;
  tool.setCallMode(true);
  tool.setCheckCtrl(true);
  tool.setMethodLoop(5);
  const auto raisingCall = [] {
    divideByZero();
    return countedCall();
  };
  EXPECT_EQ(tool.timing(scriptedLoop, nullptr, raisingCall, nullptr), TZ_OK);
  EXPECT_TRUE(script.loops.empty()) << "the loop function is not for this mode";
  EXPECT_EQ(calls.reset, 5);
  EXPECT_FALSE(g_ctrlWatch.bad());
  EXPECT_EQ(tool.timing(scriptedLoop, nullptr, nullptr, nullptr), TZ_UNDEFINED);
  EXPECT_EQ(console.text(), "");
}

TEST_F(Tool, EveryRunIsBracketedInTheTrace) {
  tool.setCheckCtrl(true);
  tool.setMethodLoop(3);
  const int before = g_trace.text().length();
  script.runs = {{10}};
  tool.timing(scriptedLoop, nullptr, nullptr, countedInit);
  EXPECT_EQ(calls.init, 1) << "once a run";
  EXPECT_EQ(g_trace.text().substr(before),
            "****** trace into   customLoopTiming\n"
            "******* trace into   initFunc call\n"
            "******* trace out of initFunc call\n"
            "******* trace into   rkdFunctionCalls\n"
            "******* trace out of rkdFunctionCalls\n"
            "****** trace out of customLoopTiming\n");
}

TEST_F(Tool, ASignalEndsTheMeasurementAndLeavesTheUnitsAsTheyWere) {
  const uint32_t x87 = ts87Base::getCW();
  const uint32_t ssx = tsSSXBase::getCW();
  const auto spoil = [] {
    ts87Base::set(0x0C00, 0x0C00);  // rounding to zero
    tsSSXBase::set(0x8000, 0x8000);
    std::raise(SIGSEGV);
  };
  for (const bool callMode : {false, true}) {
    tool.setCallMode(callMode);
    script.loops.clear();
    script.runs = {{100}, {100, TZ_OK, spoil}};
    const auto spoiledCall = [] {
      nextRun(1);
      return 0;
    };
    EXPECT_EQ(tool.timing(scriptedLoop, nullptr, spoiledCall, nullptr), TZ_EXCPTFAIL);
    EXPECT_EQ(script.loops.size(), 2U);
    EXPECT_EQ(tool.resultText(), "exception: SIGSEGV, Illegal storage access.");
    EXPECT_EQ(ts87Base::getCW(), x87);
    EXPECT_EQ(tsSSXBase::getCW(), ssx);
  }
}

TEST_F(Tool, ControlWordsThatAFunctionLeavesBehindDoNotReachTheNext) {
  const uint32_t ssx = tsSSXBase::getCW();
  EXPECT_EQ(loop({{100, TZ_OK, [] { tsSSXBase::set(0x8040, 0x8040); }}}), TZ_OK);
  EXPECT_EQ(tsSSXBase::getCW(), ssx);
  EXPECT_THAT(g_ctrlWatch.ssx().strCW().str(), HasSubstr("FlushToZero DenormalsAreZero"));
}

TEST_F(Tool, CountsThatWouldOutgrowAnIntStopAtTheLargest) {
  tool.setMethodBest(INT_MAX / 4, 10, 1);
  EXPECT_EQ(maxLoopsOf(tool), INT_MAX);
  EXPECT_EQ(loop({{1}, {2}, {1}, {2}, {2}, {1}}), TZ_ACCURWRN);
  EXPECT_THAT(script.loops, ElementsAre(INT_MAX / 4, INT_MAX - 3, INT_MAX - 3, INT_MAX - 3, INT_MAX,
                                        INT_MAX, INT_MAX));
  tool.setMethodBest(1, INT_MAX, LLONG_MAX);
  EXPECT_EQ(loop({{1e9}}), TZ_ACCURFAIL);
}

TEST_F(Tool, ResetForgetsResultsAndKeepsSettings) {
  tool.setMethodBest(2, 40, 50);
  tool.setAccuracyLimit(0.2);
  tool.setCheckCtrl(true);
  loop({{100}, {900}});
  tool.reset();
  EXPECT_EQ(tool.result(), TZ_UNDEFINED);
  EXPECT_EQ(tool.funcClocks(), 0);
  EXPECT_EQ(tool.accuracy(), 1.0);
  EXPECT_EQ(tool.infoText(), "");
  EXPECT_EQ(tool.resultText(), "");
  EXPECT_EQ(tool.getMethod(), tzTool::BEST);
  EXPECT_EQ(maxLoopsOf(tool), 40);
  EXPECT_EQ(tool.accuracyLimit(), 0.2);
  EXPECT_TRUE(tool.checkCtrl());
}

}  // namespace
