// The method Spread over scripted clocks, and the watch of runs.
#include <gmock/gmock.h>

#include <algorithm>
#include <gtest/gtest.h>

#include "toolscript.h"
#include "tzcounter.h"
#include "tzmemory.h"
#include "tzpace.h"
#include "tzreference.h"

namespace {

using testing::Each;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;
using namespace toolscript;

double now = 0;           // seconds, as the tool sees them
tzMoment watched;         // what the watch sees
double streamClocks = 0;  // of the reference
tzPace pace;              // of the core

// Each run takes a millisecond.
void passTime() { now += 1e-3; }
void beSwitched() {
  passTime();
  ++watched.switches;
}

class SpreadTool : public Tool {
 protected:
  void SetUp() override {
    Tool::SetUp();
    now = 0;
    watched = {};
    tzTool::m_pSeconds = [] { return now; };
    tzWatch::m_pLook = [] { return watched; };
    const tzCounterFacts counter{26, 26, 2600, 1.4};
    tzSetCounter(&counter);
    tzReferenceStream::m_pMeasure = [](int) { return streamClocks; };
    pace = {1, 5};
    tzPace::m_pLook = [] { return pace; };
    tzPace::m_best = 0;
    tool.setMethodSpread();
    g_plan.rowBudget = 0.1;
  }
  void TearDown() override {
    tzSetCounter(nullptr);
    tzTool::m_pSeconds = nullptr;
    tzWatch::m_pLook = nullptr;
    tzReferenceStream::m_pMeasure = nullptr;
    tzPace::m_pLook = nullptr;
    tzPace::m_best = 0;
    tzReferenceStream::m_secondLevel = 0;
    g_plan = {};
  }
  static Shot run(double clocks) { return Shot(clocks, TZ_OK, passTime); }
  static Shot disturbedRun(double clocks) { return Shot(clocks, TZ_OK, beSwitched); }

  // One pass of several, on top of what the passes before left.
  void pass(int number, int passes, std::vector<Shot> shots) {
    g_plan.pass = number;
    g_plan.passes = passes;
    tool.setEarlier(tool.measurement());
    loop(std::move(shots));
  }
};

TEST_F(SpreadTool, CallsFillASampleAndNoMore) {
  loop({run(100)});
  ASSERT_GE(script.loops.size(), 5u);
  script.loops.resize(5);
  EXPECT_THAT(script.loops, ElementsAre(1, 30, 900, 1300, 1300)) << "50 us of 2600 MHz";

  loop({run(1e6)});
  EXPECT_THAT(script.loops, Each(1)) << "a long call is a sample";

  tool.setLoopFactor(5);
  loop({run(100)});
  EXPECT_EQ(*std::max_element(script.loops.begin(), script.loops.end()), 64);
  tool.setLoopFactor(0);

  const tzCounterFacts coarse{1000, 26, 2600, 1.4};
  tzSetCounter(&coarse);
  loop({run(100)});
  EXPECT_EQ(script.loops.back(), 10000) << "1000 steps";

  // Nothing that could be measured.
  EXPECT_EQ(loop({run(0)}), TZ_ACCURFAIL);
}

TEST_F(SpreadTool, TheSmallestOfTheSamplesCounts) {
  EXPECT_EQ(loop({run(2e5), run(1.02e5), run(1e5), run(1.04e5), run(1.5e5), run(1e5)}), TZ_OK);
  const tzMeasurement& row = tool.measurement();
  EXPECT_EQ(tool.funcClocks(), 1e5);
  EXPECT_EQ(row.figure, 1e5);
  EXPECT_EQ(row.statistics.count, static_cast<int>(row.samples.size()));
  EXPECT_THAT(tool.infoText().str(), HasSubstr("nSmp="));
  // A tenth of a second at a millisecond each, the first of which only settled the count.
  EXPECT_NEAR(row.statistics.count, 99, 2);

  g_plan.rowBudget = 10;
  loop({run(1e5)});
  EXPECT_EQ(tool.measurement().statistics.count, 256) << "no more than the file should hold";
  g_plan.rowBudget = 1e-6;
  loop({run(1e5)});
  EXPECT_EQ(tool.measurement().statistics.count, 3);
}

TEST_F(SpreadTool, HalvesOfTheOnlyPassMustAgree) {
  std::vector<Shot> shots(40, run(1e5));
  shots.resize(120, run(1.2e5));
  EXPECT_EQ(loop(shots), TZ_ACCURWRN);
  EXPECT_EQ(tool.funcClocks(), 1e5);
  EXPECT_THAT(tool.measurement().reason, HasSubstr("halves differ by 20.0%"));
}

TEST_F(SpreadTool, PassesAddUpAndMustAgree) {
  pass(1, 3, {run(1.00e5)});
  EXPECT_EQ(tool.result(), TZ_OK) << "nothing is judged before the last pass";
  pass(2, 3, {run(1.01e5)});
  pass(3, 3, {run(1.02e5)});
  EXPECT_EQ(tool.result(), TZ_OK);
  EXPECT_EQ(tool.funcClocks(), 1e5);
  EXPECT_THAT(tool.measurement().passMinima, ElementsAre(1.00e5, 1.01e5, 1.02e5));
  EXPECT_THAT(tool.infoText().str(), Not(HasSubstr("acc=")));
  EXPECT_GT(tool.measurement().statistics.count, 90);
  // The first pass settled the count; the others took it over.
  EXPECT_NEAR(tool.measurement().seconds, 0.1, 0.01);

  pass(1, 2, {run(1e5)});
  tool.setEarlier({});
  tool.reset();
  pass(1, 2, {run(1e5)});
  pass(2, 2, {run(1.1e5)});
  EXPECT_EQ(tool.result(), TZ_ACCURWRN);
  EXPECT_EQ(tool.funcClocks(), 1e5);
  EXPECT_EQ(tool.resultText(), "passes differ by 10.0%") << "why, samples cannot tell";
  EXPECT_THAT(tool.infoText().str(), EndsWith("acc=10.0%"));
}

TEST_F(SpreadTool, HalfOfThePassesConfirmTheSmallest) {
  const auto passes = [&](std::vector<double> minima) {
    tool.reset();
    const int count = static_cast<int>(minima.size());
    for (int i = 0; i < count; ++i) pass(i + 1, count, {run(minima[static_cast<size_t>(i)])});
    return tool.result();
  };
  EXPECT_EQ(passes({1.00e5, 1.30e5, 1.01e5}), TZ_OK) << "a slow spell is no doubt";
  EXPECT_EQ(tool.funcClocks(), 1e5);
  EXPECT_NEAR(tool.accuracy(), 0.01, 1e-9);
  EXPECT_NEAR(tool.measurement().passDifference, 0.3, 1e-9);
  EXPECT_EQ(passes({1.2e5, 1.0e5, 1.3e5}), TZ_ACCURWRN) << "nothing confirms a single pass";
  EXPECT_EQ(tool.measurement().reason, "passes differ by 20.0%");
  EXPECT_EQ(passes({1.0e5, 1.0e5, 1.2e5, 1.2e5, 1.2e5}), TZ_ACCURWRN) << "nor two of five";
  EXPECT_EQ(passes({1.0e5, 1.0e5, 1.2e5, 1.2e5}), TZ_OK);
}

TEST_F(SpreadTool, APassThatHadToShareTheCoreHasNoSay) {
  const auto sharedPass = [&](int number, int passes) {
    pace.width = 2.5;
    pass(number, passes, {run(1.5e5)});
    pace.width = 5;
  };
  pass(1, 3, {run(1.00e5)});
  sharedPass(2, 3);
  EXPECT_EQ(tool.measurement().passesShared, 1);
  pass(3, 3, {run(1.01e5)});
  EXPECT_EQ(tool.result(), TZ_OK);
  EXPECT_THAT(tool.infoText().str(), EndsWith("shared=1/3"));
  EXPECT_THAT(tool.measurement().passMinima, ElementsAre(1.00e5, 1.01e5));

  tool.reset();
  pass(1, 3, {run(1e5)});
  sharedPass(2, 3);
  EXPECT_NEAR(static_cast<double>(script.loops.size()), 133, 5) << "waits for the end of the spell";
  sharedPass(3, 3);
  EXPECT_EQ(tool.result(), TZ_ACCURWRN);
  EXPECT_EQ(tool.measurement().reason, "the core was shared in 2 of 3 passes");

  tool.reset();
  for (int i = 1; i <= 4; ++i) sharedPass(i, 8);
  for (int i = 5; i <= 8; ++i) pass(i, 8, {run(i < 7 ? 1.2e5 : 1.5e5)});
  EXPECT_EQ(tool.result(), TZ_ACCURWRN) << "two of four agree, but of eight nobody else does";
  EXPECT_EQ(tool.measurement().reason, "passes differ by 25.0%");

  // A spell inside a pass: what was sampled in it cannot be the figure, fast as it looks.
  g_plan.pass = g_plan.passes = 1;
  const auto shares = [] {
    passTime();
    pace.width = script.loops.size() < 20 ? 2.5 : 5;
  };
  std::vector<Shot> shots(20, Shot(0.5e5, TZ_OK, shares));
  shots.resize(60, Shot(1e5, TZ_OK, shares));
  EXPECT_EQ(loop(shots), TZ_OK);
  EXPECT_EQ(tool.funcClocks(), 1e5);
  EXPECT_EQ(tool.measurement().statistics.minimum, 1e5);
  EXPECT_EQ(tool.measurement().statistics.median, 1e5) << "no less than the smallest";
  EXPECT_LT(tool.measurement().statistics.count, tool.measurement().samples.size());

  // A single sample outside of it.
  const auto oneAlone = [] {
    passTime();
    pace.width = script.loops.size() == 20 || script.loops.size() == 21 ? 5 : 2.5;
  };
  EXPECT_EQ(loop(std::vector<Shot>(60, Shot(1e5, TZ_OK, oneAlone))), TZ_ACCURWRN);
  EXPECT_EQ(tool.measurement().reason, "one sample only had the core for itself");
}

TEST_F(SpreadTool, ClocksOfTheCoreAreTheSameAtEachOfItsRates) {
  const auto atRates = [&] {
    tool.reset();
    pace.rate = 1.25;
    pass(1, 2, {run(1.00e5)});
    pace.rate = 1;
    pass(2, 2, {run(1.25e5)});
  };
  atRates();
  EXPECT_EQ(tool.result(), TZ_ACCURWRN) << "of the counter";
  tool.setCoreClock(true);
  atRates();
  EXPECT_EQ(tool.result(), TZ_OK);
  EXPECT_EQ(tool.funcClocks(), 1.25e5);
  EXPECT_EQ(tool.measurement().samples[0].counted, 1e5);

  // Memory does not follow the core: of 100,000 clocks half is the stream, of whose 8 MiB smaller
  // data take their part.
  tzReferenceStream::m_secondLevel = 1 << 20;
  streamClocks = 0.5e5;
  g_plan = {};
  pace.rate = 1.25;
  const auto ofData = [&](int mebibytes) {
    void* const data = tzMalloc(mebibytes << 20, 0, 0, MEM_OBJECT_IS_BUFFER);
    tool.reset();
    EXPECT_EQ(loop({run(1e5)}), TZ_OK);
    tzFree(data);
    return tool.measurement().memoryShare;
  };
  EXPECT_DOUBLE_EQ(ofData(8), 0.5);
  EXPECT_DOUBLE_EQ(tool.funcClocks(), 1.125e5);
  EXPECT_DOUBLE_EQ(ofData(6), 0.375);
}

TEST_F(SpreadTool, APassOutOfLineGetsMoreTime) {
  pass(1, 2, {run(1e5)});
  // Its share is 50 runs; the spell ends after 100.
  std::vector<Shot> spell(100, run(1.2e5));
  spell.push_back(run(1e5));
  pass(2, 2, spell);
  EXPECT_EQ(tool.result(), TZ_OK);
  EXPECT_THAT(tool.measurement().passMinima, ElementsAre(1e5, 1e5));

  tool.reset();
  pass(1, 2, {run(1e5)});
  pass(2, 2, {run(1.2e5)});
  EXPECT_NEAR(static_cast<double>(script.loops.size()), 200, 5) << "four times its share";
}

TEST_F(SpreadTool, DisturbedSamplesAreDroppedAndCounted) {
  EXPECT_EQ(loop({run(1e5), run(1e5), disturbedRun(0.5e5), disturbedRun(0.5e5), run(1e5)}), TZ_OK);
  EXPECT_EQ(tool.funcClocks(), 1e5) << "a disturbed run is never the figure";
  EXPECT_EQ(tool.measurement().dropped, 2);
  EXPECT_EQ(tool.measurement().disturbances.switches, 2);
  EXPECT_THAT(tool.infoText().str(), HasSubstr("dropped=2"));

  EXPECT_EQ(loop({disturbedRun(1e5)}), TZ_ACCURWRN);
  EXPECT_EQ(tool.funcClocks(), 1e5);
  EXPECT_EQ(tool.measurement().reason, "every sample was disturbed") << "one sample has no halves";
  EXPECT_TRUE(tool.measurement().samples[0].disturbed);
}

TEST_F(SpreadTool, WhatDisturbsTheSearchForACountDisturbsNoSample) {
  EXPECT_EQ(loop({disturbedRun(100), disturbedRun(100), disturbedRun(100), run(100)}), TZ_OK);
  EXPECT_EQ(tool.measurement().disturbances.switches, 0);
  EXPECT_EQ(tool.measurement().dropped, 0);

  tool.setMethodAuto();
  tool.setStartSteps(1000);
  EXPECT_EQ(loop({disturbedRun(200), run(200)}), TZ_OK);
  EXPECT_EQ(tool.measurement().disturbances.switches, 0);
  EXPECT_EQ(tool.measurement().dropped, 0);
}

TEST_F(SpreadTool, ARowThatIsNeverLeftAloneEnds) {
  tool.setTimeLimit(10);
  g_plan.rowBudget = 1e-3;
  loop({disturbedRun(1e6)});
  EXPECT_LE(script.loops.size(), 8u) << "a few tries, and not ten seconds";
}

TEST_F(SpreadTool, RowsOutOfTheSecondLevelCacheHaveAStreamBesideThem) {
  tzReferenceStream::m_secondLevel = 1 << 20;
  EXPECT_EQ(tzReferenceStream::sizeFor(1 << 20), 0);
  EXPECT_EQ(tzReferenceStream::sizeFor((1 << 20) + 1), 2 << 20);
  EXPECT_EQ(tzReferenceStream::sizeFor(1LL << 40), 64 << 20);

  streamClocks = 500;
  loop({run(1e5)});
  EXPECT_EQ(tool.measurement().referenceBytes, 0);

  void* const data = tzMalloc(3 << 20, 0, 0, MEM_OBJECT_IS_BUFFER);
  streamClocks = 1000;
  EXPECT_EQ(loop({run(1e5)}), TZ_OK);
  EXPECT_EQ(tool.measurement().referenceBytes, 4 << 20);
  EXPECT_EQ(tool.measurement().referenceRatio, 1);
  streamClocks = 1100;
  EXPECT_EQ(loop({run(1e5)}), TZ_ACCURWRN);
  EXPECT_THAT(tool.measurement().reason, HasSubstr("slower than at best by 10.0%"));
  tzFree(data);
}

TEST_F(SpreadTool, RowsAreWrittenWithWhatThereIs) {
  pass(1, 3, {run(1e5)});
  g_plan.writesOnly = true;
  pass(3, 3, {run(0.5e5)});
  EXPECT_TRUE(script.loops.empty());
  EXPECT_EQ(tool.funcClocks(), 1e5);
  EXPECT_EQ(tool.result(), TZ_ACCURWRN);
  EXPECT_THAT(tool.measurement().reason, HasSubstr("samples of 1 of 3 passes"));
}

TEST_F(SpreadTool, AFailureEndsTheRow) {
  EXPECT_EQ(loop({run(1e5), run(1e5), Shot(1e5, TZ_FUNCFAIL)}), TZ_FUNCFAIL);
  EXPECT_EQ(script.loops.size(), 3u);
}

// --- the watch of the other methods --------------------------------------------------------------

class WatchedTool : public SpreadTool {
 protected:
  void SetUp() override {
    SpreadTool::SetUp();
    tool.setMethodAuto();
  }
};

TEST_F(WatchedTool, ADisturbedRunIsMadeAgain) {
  EXPECT_EQ(loop({run(100), disturbedRun(300), run(100)}), TZ_OK);
  EXPECT_THAT(script.loops, ElementsAre(1, 4, 4));
  EXPECT_EQ(tool.funcClocks(), 100);
  EXPECT_EQ(tool.measurement().dropped, 1);
}

TEST_F(WatchedTool, AFigureThatRestsOnADisturbedRunIsNotOk) {
  for (const bool manual : {false, true}) {
    if (manual) tool.setMethodLoop(10);
    EXPECT_EQ(loop({disturbedRun(100)}), TZ_ACCURWRN);
    EXPECT_THAT(tool.resultText().str(), HasSubstr("disturbed: "));
    EXPECT_THAT(tool.infoText().str(), HasSubstr(" disturbed"));
    EXPECT_THAT(tool.measurement().reason, HasSubstr("1 switch"));
    EXPECT_THAT(console.text(), HasSubstr("-- The run that counts was disturbed: 1 switch"));
    tzWatch::m_mode = tzWatch::OFF;
    EXPECT_EQ(loop({disturbedRun(100)}), TZ_OK);
    tzWatch::m_mode = tzWatch::ON;
  }
}

double stolen = 0;

TEST_F(WatchedTool, TimeThatTheHostTookCountsWhereItIsAskedFor) {
  tzWatch::m_pSteal = [] { return stolen += 0.5; };
  for (const bool spread : {false, true}) {
    if (spread) tool.setMethodSpread();
    EXPECT_EQ(loop({run(100)}), TZ_OK);
    EXPECT_EQ(tool.measurement().disturbances.steal, 0.5);
    tzWatch::m_mode = tzWatch::STRICT;
    EXPECT_EQ(loop({run(100)}), TZ_ACCURWRN);
    EXPECT_EQ(tool.measurement().reason, "disturbed: 0.5 s taken by the host");
    tzWatch::m_mode = tzWatch::ON;
  }
}

TEST_F(WatchedTool, RepeatsEndWithTheTimeOfTheRow) {
  const auto slow = [] {
    watched.wall += 3;
    watched.processor += 2;
  };
  tool.setMethodLoop(10);
  tool.setTimeLimit(10);
  EXPECT_EQ(loop({Shot(100, TZ_OK, slow)}), TZ_ACCURWRN);
  EXPECT_EQ(script.loops.size(), 3u) << "a fourth would end after 12 s";
  EXPECT_THAT(tool.measurement().reason, HasSubstr("66.7% of a processor"));
}

TEST(Watch, SaysWhatLiesBetweenTwoLooks) {
  tzWatch::m_mode = tzWatch::ON;
  const tzMoment first{1.0, 5.0, 10, 20, 30, 0};
  const tzMoment last{1.001, 5.0009, 12, 20, 34, 1};
  const tzDisturbances met = tzWatch::between(first, last);
  EXPECT_NEAR(met.processorShare, 0.9, 1e-9);
  EXPECT_EQ(met.switches, 2);
  EXPECT_EQ(met.minorFaults, 4);
  EXPECT_EQ(met.migrations, 1);
  EXPECT_EQ(tzWatch::text(met), "90.0% of a processor, 2 switches");
  tzMoment soon = first;
  soon.wall += 50e-6;
  EXPECT_EQ(tzWatch::between(first, soon).processorShare, 1) << "too short to tell";

  tzDisturbances calm;
  calm.processorShare = 0.99;
  EXPECT_FALSE(tzWatch::isDisturbed(calm));
  calm.minorFaults = 1;
  calm.steal = 0.25;
  EXPECT_FALSE(tzWatch::isDisturbed(calm));
  tzWatch::m_mode = tzWatch::STRICT;
  EXPECT_TRUE(tzWatch::isDisturbed(calm));
  EXPECT_EQ(tzWatch::text(calm), "1 page fault, 0.25 s taken by the host");
  tzWatch::m_mode = tzWatch::ON;
}

// The system's own looks: time on the processor passes while the process works.
// A call takes four seconds in place of one: the warm-up, the one that counts, or neither.
TEST_F(WatchedTool, OfAStretchThatIsFollowedOnlyTheTimedPartCounts) {
  static tzMoment at;
  static int call;
  static int longCall;
  static int switches;
  tzWatch::m_mode = tzWatch::OFF;
  tzWatch::m_pLook = [] { return at; };
  const auto share = [&](int whichCall, int withSwitches) {
    call = 0;
    longCall = whichCall;
    switches = withSwitches;
    tzStretch::follow(true);
    tool.setMethodLoop(1);
    const auto work = [] {
      const bool isLong = call++ == longCall;
      at.wall += isLong ? 4 : 1;
      at.processor += 1;
      at.switches += isLong ? switches : 0;
      return 0;
    };
    tool.timing(nullptr, nullptr, work, nullptr);
    return tzStretch::ownShare();
  };
  EXPECT_EQ(1, share(0, 1)) << "in the warm-up";
  EXPECT_EQ(0.25, share(1, 1));
  EXPECT_EQ(1, share(1, 0)) << "it waited by itself";
  tzStretch::follow(false);
  EXPECT_EQ(1, tzStretch::ownShare());
  tzWatch::m_mode = tzWatch::ON;
}

TEST(Watch, SeesWhatTheProcessDoes) {
  tzWatch::m_pLook = nullptr;
  const tzMoment first = tzWatch::look();
  volatile double work = 1;
  while (tzWatch::look().processor - first.processor < 0.002) work = work * 1.0000001;
  const tzMoment last = tzWatch::look();
  EXPECT_GE(last.wall - first.wall, 0.0015);
  EXPECT_GE(tzWatch::steal(), 0);
}

TEST_F(WatchedTool, StartStepsGiveTheSmallestCountOfLongRuns) {
  tool.setStartSteps(1000);
  loop({run(200)});
  EXPECT_THAT(script.loops, ElementsAre(1, 10, 100, 130, 130, 520)) << "26,000 clocks";
  EXPECT_EQ(tool.measurement().samples.front().calls, 130) << "the search is no sample";
  loop({run(10)});
  EXPECT_EQ(script.loops[3], 256) << "three doublings are left below 2048";
  tool.setMethodBest(4, 4096, 100);
  loop({run(200)});
  EXPECT_THAT(script.loops, ElementsAre(4, 40, 130, 130, 520));
}

}  // namespace
