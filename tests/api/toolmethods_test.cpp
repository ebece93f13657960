// The methods of the timing tool and the ways into it, over scripted clocks.
#include <climits>
#include <csignal>

#include "toolkit.h"
#include "toolscript.h"
#include "tztrace.h"

namespace {

using namespace toolscript;
using testing::ElementsAre;
using testing::HasSubstr;

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
  tool.setMethod(5);
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
