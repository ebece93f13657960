// Runs in several passes: what is measured, what shows, what a signal or a failure leaves.
#include <gtest/gtest.h>
#include <signal.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <utility>

#include "harnesskit.h"
#include "tzpace.h"
#include "tzplan.h"
#include "tzregistry.h"
#include "tztest.h"

namespace {

using harnesskit::Outcome;
using harnesskit::Session;
using harnesskit::StubTest;
using harnesskit::TempFolder;

const char* const kKeys = "-B -dMethod=Spread -X3 -b0.006 -f-__tz -r -u";

int runsOf[4] = {};    // of the loop functions, by pass
int signalInPass = 0;  // raised by a run in it
int signalAtRun = 1;   // by this one
int failsInPass = 0;
int diesInPass = 0;
bool signalsParent = false;

tzResult counted(int n, long long* clocks) {
  ++runsOf[g_plan.pass];
  if (g_plan.pass == diesInPass) std::abort();
  *clocks = 1000LL * n;
  if (g_plan.pass == signalInPass && runsOf[g_plan.pass] == signalAtRun) {
    signalInPass = 0;
    kill(signalsParent ? getppid() : getpid(), SIGINT);
  }
  return g_plan.pass == failsInPass ? TZ_FUNCFAIL : TZ_OK;
}

void registerCounted() {
  tzRegTest(new StubTest("stubCounted", counted));
  tzRegTest(new StubTest("stubSecond", counted));
}

// Tells in the second pass whether a row gets all of its budget or what the run has left for it.
tzResult tellingShare(int n, long long* clocks) {
  static bool told = false;
  if (g_plan.pass == 2 && !std::exchange(told, true)) {
    const bool whole = g_plan.share(tzTool::seconds()) > 1;
    std::puts(whole ? "share: whole" : "share: part");
    std::fflush(stdout);
  }
  return counted(n, clocks);
}

// "stubCounted:3 3;" for samples of all passes in each of two rows.
std::string passesOfRows() {
  std::string text;
  for (const tzTest* test : tzGetTestList()) {
    if (test->kind() == tzString("Information")) continue;
    text += test->funcName().str() + ":";
    for (const tzRow& row : test->rows()) {
      text += std::to_string(row.measurement.passMinima.size()) + " ";
    }
    text += ";";
  }
  return text;
}

// The list is gone when the session is over: asked while its tests still are.
std::string rowsSeen;
class WatchedSession : public tzSession {
  void outputSignal() override { rowsSeen = passesOfRows(); }
};
WatchedSession* session() {
  static WatchedSession own;
  return &own;
}

// The core is ours alone, whatever else the machine does.
class Passes : public testing::Test {
 protected:
  void SetUp() override {
    tzPace::m_pLook = [] { return tzPace{1, 5}; };
  }
  void TearDown() override {
    tzPace::m_pLook = nullptr;
    tzTool::m_pSeconds = nullptr;
  }
};

TEST_F(Passes, MeasureEveryRowInEachAndWriteItOnce) {
  const TempFolder folder;
  const Outcome outcome =
      Session(folder)
          .setup([] {
            registerCounted();
            tzRegSession(session());
          })
          .after([] { return rowsSeen + (runsOf[1] > 11 && runsOf[2] > 11 ? "measured" : "idle"); })
          .run(kKeys);
  EXPECT_EQ(0, outcome.exitCode) << outcome.console;
  EXPECT_EQ("stubCounted:3 3 ;stubSecond:3 3 ;measured", outcome.notes);
  EXPECT_EQ(4u, outcome.lines("clocks/px").size()) << outcome.console;
  EXPECT_EQ(2u, outcome.lines(" Function   : ").size());
  EXPECT_EQ(1u, outcome.lines("Pass 1 of 3").size());
  EXPECT_EQ(1u, outcome.lines("Pass 2 of 3").size());
  EXPECT_TRUE(outcome.shows("Number of tests: 2 "));
  int rows = 0;
  for (const std::string& line : harnesskit::splitLines(folder.read("stub.csv"))) {
    rows += line.find(",px,nSmp=") != std::string::npos ? 1 : 0;
  }
  EXPECT_EQ(4, rows);
}

TEST_F(Passes, ASignalWritesWhatThereIs) {
  for (const int pass : {2, 3}) {
    const TempFolder folder;
    const Outcome outcome = Session(folder)
                                .setup([pass] {
                                  registerCounted();
                                  signalInPass = pass;
                                })
                                .run(kKeys);
    EXPECT_EQ(-SIGINT, outcome.exitCode) << "the signal is obeyed at the end";
    EXPECT_TRUE(outcome.shows("-- SIGINT: rows are written with what was measured so far"));
    EXPECT_EQ(4u, outcome.lines("clocks/px").size()) << pass << outcome.console;
    EXPECT_EQ(pass == 2 ? 4u : 3u, outcome.lines("ACCURWRN: samples of ").size())
        << outcome.console;
    EXPECT_NE(std::string::npos, folder.read("stub.csv").find("END_DATA"));
    EXPECT_TRUE(outcome.shows("Number of tests: 2 "));
  }
}

TEST_F(Passes, ASignalInTheFirstLeavesTheRowsThatWereReached) {
  for (const int run : {1, 20}) {
    const TempFolder folder;
    const Outcome outcome = Session(folder)
                                .setup([run] {
                                  // No row ends for want of time before the signal comes.
                                  tzTool::m_pSeconds = [] {
                                    static double seconds = 0;
                                    return seconds += 1e-6;
                                  };
                                  registerCounted();
                                  signalInPass = 1;
                                  signalAtRun = run;
                                })
                                .run(kKeys);
    EXPECT_EQ(-SIGINT, outcome.exitCode);
    // The first runs only settle how many calls a sample has.
    const size_t rows = run == 1 ? 0 : 1;
    EXPECT_EQ(rows, outcome.lines(" passes=1/3  ACCURWRN").size()) << outcome.console;
    EXPECT_EQ(rows, outcome.lines("clocks/px").size()) << outcome.console;
    EXPECT_FALSE(outcome.shows(" Function   : stubSecond"));
  }
}

// As when the frequency is estimated, which takes seconds.
TEST_F(Passes, ASignalBeforeTheFirstEndsTheRun) {
  class EndingSession : public tzSession {
    bool startSession() override { return std::raise(SIGINT) == 0; }
  };
  static EndingSession own;
  const TempFolder folder;
  const Outcome outcome = Session(folder)
                              .setup([] {
                                registerCounted();
                                tzRegSession(&own);
                              })
                              .run(kKeys);
  EXPECT_EQ(-SIGINT, outcome.exitCode) << outcome.console;
  EXPECT_FALSE(outcome.shows("Empty call"));
  EXPECT_NE(std::string::npos, folder.read("stub.csv").find("END_DATA"));
}

TEST_F(Passes, AFailureInOnePassIsAFailure) {
  for (const int pass : {1, 2, 3}) {
    const TempFolder folder;
    const Outcome outcome = Session(folder)
                                .setup([pass] {
                                  tzRegTest(new StubTest("stubCounted", counted));
                                  failsInPass = pass;
                                })
                                .run(kKeys);
    EXPECT_EQ(1, outcome.exitCode) << pass << outcome.console;
    EXPECT_EQ(1u, outcome.lines("-- FUNCFAIL: stubCounted").size()) << outcome.console;
    EXPECT_EQ(pass < 3, outcome.shows("- in another pass: lib function error"));
    EXPECT_EQ(0u, outcome.lines("clocks/px").size());
  }
}

TEST_F(Passes, SamplesComeBackFromChildren) {
  const TempFolder folder;
  const Outcome outcome = Session(folder)
                              .setup([] {
                                registerCounted();
                                tzRegSession(session());
                              })
                              .after([] { return rowsSeen; })
                              .run(std::string(kKeys) + " -k");
  EXPECT_EQ(0, outcome.exitCode) << outcome.console;
  EXPECT_EQ("stubCounted:3 3 ;stubSecond:3 3 ;", outcome.notes);
  EXPECT_EQ(4u, outcome.lines("clocks/px").size()) << outcome.console;
  EXPECT_EQ(0u, outcome.lines("ACCURWRN").size()) << outcome.console;
}

// A row that a child tells is one row: the last of a pass has no more time than the first.
TEST_F(Passes, ChildrenShareTheTimeOfTheRun) {
  const TempFolder folder;
  const Outcome outcome = Session(folder)
                              .setup([] {
                                for (const char* name : {"stubFirst", "stubSecond", "stubThird"}) {
                                  tzRegTest(new StubTest(name, tellingShare, "StubSuite", "8"));
                                }
                              })
                              .run("-B -dMethod=Spread -X2 -b100,0.02 -f-__tz -k");
  EXPECT_EQ(3u, outcome.lines("share: part").size()) << outcome.console;
}

// Its first runs take longer than all rows together should.
int costlyRuns[6] = {};
tzResult costly(int n, long long* clocks) {
  if (g_plan.pass == 1) usleep(20000);
  ++costlyRuns[g_plan.pass];
  *clocks = 100000LL * n;
  return TZ_OK;
}

TEST_F(Passes, ARowThatCostsTooMuchTakesPartInThree) {
  const TempFolder folder;
  const Outcome outcome =
      Session(folder)
          .setup([] { tzRegTest(new StubTest("stubCostly", costly, "StubSuite", "8")); })
          .after([] {
            std::string text;
            for (int pass = 1; pass <= 5; ++pass) text += costlyRuns[pass] > 0 ? "x" : "-";
            return text;
          })
          .run("-B -dMethod=Spread -X5 -b0.01,0.02 -f-__tz");
  EXPECT_EQ("x-x-x", outcome.notes);
  EXPECT_EQ(1u, outcome.lines("nSmp=").size()) << outcome.console;
  EXPECT_EQ(0u, outcome.lines("passes=").size()) << outcome.console;
}

TEST_F(Passes, AProcessThatDiesInOneIsAFailureOfItsRow) {
  for (const int pass : {1, 3}) {
    const TempFolder folder;
    const Outcome outcome =
        Session(folder)
            .setup([pass] {
              registerCounted();
              tzRegTest(new StubTest("stubThird", harnesskit::steadyLoop<TZ_OK, 800>));
              diesInPass = pass;
            })
            .run(std::string(kKeys) + " -k");
    EXPECT_EQ(1, outcome.exitCode) << pass << outcome.console;
    EXPECT_EQ(1u, outcome.lines("-- EXCPTFAIL: stubCounted").size()) << outcome.console;
    EXPECT_EQ(1u, outcome.lines("-- EXCPTFAIL: stubSecond").size()) << outcome.console;
    EXPECT_EQ(pass < 3, outcome.shows("- in another pass: exception: SIGABRT"));
    EXPECT_EQ(2u, outcome.lines("clocks/px  nSmp=").size()) << outcome.console;
    EXPECT_TRUE(outcome.shows("Number of tests: 3 "));
  }
}

TEST_F(Passes, ASignalWritesWhatChildrenMeasured) {
  const TempFolder folder;
  const Outcome outcome = Session(folder)
                              .setup([] {
                                registerCounted();
                                signalsParent = true;
                                signalInPass = 2;
                              })
                              .run(std::string(kKeys) + " -k");
  EXPECT_EQ(-SIGINT, outcome.exitCode);
  EXPECT_EQ(1u, outcome.lines("-- SIGINT: rows are written with").size()) << outcome.console;
  EXPECT_EQ(4u, outcome.lines("clocks/px").size()) << outcome.console;
}

TEST_F(Passes, OneIsMadeWhereTestsAsk) {
  const TempFolder folder;
  const Outcome outcome = Session(folder).run("-AAll -dMethod=Spread -X2 -b0.001 -fAlpha");
  EXPECT_TRUE(outcome.shows("-- One pass is made: each test asks for its parameters (-AAll)"));
  EXPECT_FALSE(outcome.shows("Pass 1"));
}

}  // namespace
