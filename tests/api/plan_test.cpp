// Budgets of passes and rows, and the facts about the machine.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <map>

#include "apikit.h"
#include "tzcounter.h"
#include "tzmachine.h"
#include "tzpace.h"
#include "tzplan.h"

namespace {

TEST(Plan, PassesShareTheTimeOfARow) {
  tzPlan plan;
  plan.passes = 3;
  plan.rowBudget = 0.3;
  EXPECT_DOUBLE_EQ(plan.share(0), 0.1);
}

TEST(Plan, ARunThatHasNotSoMuchTimeGivesLess) {
  tzPlan plan;
  plan.passes = 2;
  plan.rowBudget = 10;
  plan.runBudget = 20;
  plan.beginRun(100, 5);
  plan.beginPass(1, 100);
  EXPECT_DOUBLE_EQ(plan.share(100), 2) << "ten seconds for five rows";
  // A row of two seconds, one of them for its data: the next will need as much for its own.
  plan.rowDone(102, 1);
  EXPECT_DOUBLE_EQ(plan.share(102), 1) << "eight seconds for four rows, less one";
  plan.rowDone(111, 8);
  EXPECT_DOUBLE_EQ(plan.share(111), 1e-3) << "late, but not nothing";
  plan.beginPass(2, 112);
  EXPECT_NEAR(plan.share(112), 8.0 / 5 - 1, 1e-9);
  EXPECT_TRUE(plan.isLast());
}

TEST(Plan, ARowThatTakesNoSamplesIsNoneOfThoseToMeasure) {
  tzPlan plan;
  plan.rowBudget = 100;
  plan.runBudget = 10;
  plan.beginRun(0, 2);
  plan.beginPass(1, 0);
  for (int row = 0; row < 5; ++row) plan.rowDone(1, 0);
  EXPECT_DOUBLE_EQ(plan.share(2), 4) << "eight seconds for two rows";
  EXPECT_FALSE(plan.isCostly(2)) << "its time is not the next row's";
}

TEST(Plan, ARowThatCostsTooMuchTakesPartInThreePasses) {
  tzPlan plan;
  plan.passes = 8;
  plan.runBudget = 80;
  plan.beginRun(100, 10);
  EXPECT_FALSE(plan.isCostly(105)) << "five times the second that a row has";
  EXPECT_TRUE(plan.isCostly(105.1));
  std::vector<int> with;
  for (int pass = 1; pass <= 8; ++pass) {
    plan.beginPass(pass, 200);
    EXPECT_TRUE(plan.takesPart(false));
    if (plan.takesPart(true)) with.push_back(pass);
  }
  EXPECT_THAT(with, testing::ElementsAre(1, 4, 8));
  EXPECT_EQ(plan.passesOf(true), 3);
  EXPECT_EQ(plan.passesOf(false), 8);
  plan.pass = 6;
  plan.writesOnly = true;
  EXPECT_TRUE(plan.takesPart(true)) << "to be written";
  plan.runBudget = 0;
  EXPECT_FALSE(plan.isCostly(1e9));
}

TEST(Plan, PassesBeginApart) {
  tzPlan plan;
  plan.apart = 30;
  plan.beginPass(1, 100);
  EXPECT_DOUBLE_EQ(plan.untilNext(110), 20);
  EXPECT_EQ(plan.untilNext(131), 0);
}

TEST(Counter, StepIsWhatAllDifferencesAreMultiplesOf) {
  EXPECT_EQ(tzCounterStep({26, 52, 26, 78}), 26);
  EXPECT_EQ(tzCounterStep({24, 22, 50}), 2);
  EXPECT_EQ(tzCounterStep({26, 53, 25, 1, 104, 77}), 26) << "scaled";
  EXPECT_EQ(tzCounterStep({30, 31, 33, 34, 38, 41}), 1);
  EXPECT_EQ(tzCounterStep({}), 1);
  EXPECT_EQ((tzCounterFacts{2, 48, 2000, 1}.resolution()), 48);
  EXPECT_EQ((tzCounterFacts{26, 20, 2000, 1}.resolution()), 26);
}

TEST(Counter, IsMeasuredOnThisMachine) {
  tzSetCounter(nullptr);
  const tzCounterFacts& counter = tzCounter();
  EXPECT_GE(counter.step, 1);
  EXPECT_GT(counter.mhz, 1);
  EXPECT_GT(counter.coreClocks, 0);
  EXPECT_EQ(&counter, &tzCounter());
}

TEST(Pace, OneInterruptedLookIsNoSlowCore) {
  tzPace::m_pLook = nullptr;
  const tzPace now = tzPace::look();
  EXPECT_GT(now.rate, 0);
  EXPECT_GT(now.width, 0);
  const tzPace both = tzPace::between({1.2, 5}, {0.3, 2.5});
  EXPECT_EQ(both.rate, 1.2);
  EXPECT_NEAR(tzPace::between({1.2, 5}, {1.21, 5}).rate, 1.205, 1e-9) << "a step of the counter";
  EXPECT_EQ(both.width, 2.5);
}

TEST(Pace, ACoreThatOneHasAloneIsTheWidest) {
  tzPace::m_best = 0;
  EXPECT_EQ(tzPace::sharedBelow(), 0);
  EXPECT_EQ(tzPace::typicalWidth({}), 0);
  // A look that something came between may find any width.
  EXPECT_EQ(tzPace::typicalWidth({2.5, 5, 2.5, 5.1, 5, 2.5, 2.5, 19}), 5.1);
  tzPace::note(5);
  tzPace::note(2.5);
  EXPECT_DOUBLE_EQ(tzPace::sharedBelow(), 4.25);
  tzPace::m_best = 0;
}

TEST(Counter, AFrequencyThatIsNotTheCountersIsTold) {
  EXPECT_EQ(tzFrequencyWarning(2600, 2500), "");
  EXPECT_EQ(tzFrequencyWarning(0, 2500), "");
  EXPECT_EQ(tzFrequencyWarning(2600, 0), "");
  EXPECT_THAT(tzFrequencyWarning(10999, 2596).str(),
              testing::HasSubstr("10999 MHz, is not that of the counter, 2596 MHz"));
}

std::map<std::string, std::string> byName(const tzFacts& facts) {
  std::map<std::string, std::string> values;
  for (const tzFact& fact : facts) values[fact.name.str()] = fact.value.str();
  return values;
}

TEST(MachineFacts, AreReadFromTheSystemsFiles) {
  const TemporaryFolder folder;
  const std::filesystem::path root(folder.path(".").str());
  for (const char* dir :
       {"sys/devices/system/cpu/cpu0/cpufreq", "sys/devices/system/cpu/smt",
        "sys/devices/system/cpu/intel_pstate", "proc", "sys/kernel/mm/transparent_hugepage"}) {
    std::filesystem::create_directories(root / dir);
  }
  auto values = byName(tzSystemFacts(root.c_str()));
  for (const auto& [name, value] : values) EXPECT_EQ(value, "unknown") << name;

  folder.make("sys/devices/system/cpu/cpu0/cpufreq/scaling_governor", "powersave\n");
  folder.make("sys/devices/system/cpu/smt/active", "1\n");
  folder.make("sys/devices/system/cpu/intel_pstate/no_turbo", "1\n");
  folder.make("sys/kernel/mm/transparent_hugepage/enabled", "always [madvise] never\n");
  folder.make("proc/loadavg", "1.25 0.5 0.1 1/100 4242\n");
  values = byName(tzSystemFacts(root.c_str()));
  EXPECT_EQ(values["governor"], "powersave");
  EXPECT_EQ(values["smt"], "on");
  EXPECT_EQ(values["turbo"], "off");
  EXPECT_EQ(values["huge_pages"], "madvise");
  EXPECT_EQ(values["load"], "1.25");
}

TEST(MachineFacts, HaveNamesOfTheirOwnAndNumbersThatAreNumbers) {
  const tzFacts facts = tzMachineFacts();
  EXPECT_GE(byName(facts).size(), 15u);
  for (const tzFact& fact : facts) {
    EXPECT_FALSE(fact.value.empty()) << fact.name.str();
    if (!fact.isNumber) continue;
    char* end = nullptr;
    std::strtod(fact.value.c_str(), &end);
    EXPECT_EQ(*end, 0) << fact.name.str() << "=" << fact.value.str();
  }
  EXPECT_THAT(tzFactsText(facts).str(), testing::HasSubstr(" counter_step "));
}

TEST(Processors, AProcessCanBeKeptOnOne) {
  const std::vector<int> allowed = tzAllowedProcessors();
  ASSERT_FALSE(allowed.empty());
  EXPECT_FALSE(tzPinTo(-1));
  const auto pinned = [&] {
    const bool is =
        tzPinTo(allowed.back()) && tzAllowedProcessors() == std::vector<int>{allowed.back()};
    std::_Exit(is ? 0 : 1);
  };
  EXPECT_EXIT(pinned(), testing::ExitedWithCode(0), "");
}

}  // namespace
