// The timing engine over scripted clocks: what it runs, how often, and what it says about it.
#include <climits>
#include <csignal>
#include <string>

#include "toolkit.h"
#include "toolscript.h"
#include "tztrace.h"

namespace {

using namespace toolscript;
using testing::ElementsAre;
using testing::HasSubstr;

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

}  // namespace
