// One test from its title to its result: order of the steps, combinations, escalation, and that
// nothing which goes wrong leaves anything behind.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <csignal>
#include <sstream>

#include "scripttest.h"
#include "toolkit.h"
#include "tzconditions.h"
#include "tzctrl.h"
#include "tzistream.h"
#include "tzregistry.h"

using scripted::countOf;
using scripted::filled;
using testing::HasSubstr;
using testing::Not;

TEST(Lifecycle, WalksAllCombinationsWithTheLastParameterFastest) {
  ScriptedRunState state({{150}, {1234}, {30}});
  tzIterator<int> len("len"), mode("mode");
  ScriptTest test;
  test.declared = {&filled(len, {8, 16, 1024}), &filled(mode, {1, 2})};
  test.divisor = 10;

  EXPECT_EQ(test.run(), TZ_OK);
  EXPECT_EQ(test.lastResult(), TZ_OK);
  EXPECT_EQ(state.table.text(),
            "stubFunction,Timing,8,1,15.0,px,nLps=1,OK\n"
            "stubFunction,Timing,8,2,123,px,nLps=1,OK\n"
            "stubFunction,Timing,16,1,3.00,px,nLps=1,OK\n"
            "stubFunction,Timing,16,2,3.00,px,nLps=1,OK\n"
            "stubFunction,Timing,1024,1,3.00,px,nLps=1,OK\n"
            "stubFunction,Timing,1024,2,3.00,px,nLps=1,OK\n");
  EXPECT_THAT(
      state.console.text(),
      HasSubstr(" stubFunction  len=8     mode=1       15.0 clocks/px  nLps=1               OK\n"
                " stubFunction  len=8     mode=2        123 clocks/px  nLps=1               OK\n"
                " stubFunction  len=16    mode=1       3.00 clocks/px  nLps=1               OK\n"));
  std::string combination = "initData flushData ";
  std::string six;
  for (int i = 0; i < 6; ++i) six += combination;
  EXPECT_EQ(test.calls, "beginTest canStart " + six + "flushStart endTest ");
  EXPECT_EQ(tzTest::m_numParmsColm, 4);
  EXPECT_EQ(tzTest::m_numResultColm, 4);
}

TEST(Lifecycle, NamesItsStepsInTheTraceInOrder) {
  ScriptedRunState state({{}}, L_TRACE);
  ScriptTest test;
  test.run();
  std::string steps;
  std::istringstream lines(state.console.text());
  for (std::string line; std::getline(lines, line);) {
    const size_t at = line.find(" trace into   ");
    if (at == 6) steps += line.substr(at + 14) + "|";  // outermost: one level of indent
  }
  EXPECT_EQ(steps,
            "setIniSection|beginTest|testTitle|g_ostrm<<testTitle|g_ustrm<<testTitle|canStart|"
            "parmsFromIstrm|loopData|flushStart|testResult|endTest|");
}

TEST(Lifecycle, WhatCannotBeMeasuredIsADataFailure) {
  struct Case {
    const char* name;
    std::function<void(ScriptTest&)> spoil;
    const char* message;
    const char* calls;
  };
  static tzIterator<int> full("full"), none("none");
  filled(full, {1, 2});
  const Case cases[] = {
      {"cannot start", [](ScriptTest& test) { test.startable = false; }, "-- Can't start timing\n",
       "beginTest canStart flushStart endTest "},
      {"empty list",
       [](ScriptTest& test) {
         test.declared = {&full, &none};
       },
       "-- One of argument list for timing is empty\n", "beginTest canStart flushStart endTest "},
      {"no data",
       [](ScriptTest& test) {
         test.declared = {&full};
         test.build = [] { return full.value() == 1; };
       },
       "-- Error while initialization of function data\n",
       "beginTest canStart initData flushData initData flushData flushStart endTest "},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    ScriptedRunState state;
    ScriptTest test;
    c.spoil(test);
    EXPECT_EQ(test.run(), TZ_DATAFAIL);
    EXPECT_EQ(countOf(state.console.text(), c.message), 1);
    EXPECT_EQ(test.calls, c.calls);
  }
}

TEST(Lifecycle, ResultsEscalateAndTheFirstFailureEndsTheLoop) {
  struct Case {
    std::vector<tzResult> results;
    int mask;
    tzResult whole;
    int rows;
    const char* lastRow;  // its result cell: the real result, whatever the console made of it
  };
  const Case cases[] = {
      {{TZ_OK, TZ_OK, TZ_OK}, 7, TZ_OK, 3, "OK"},
      {{TZ_ACCURWRN, TZ_OK, TZ_OK}, 7, TZ_ACCURWRN, 3, "OK"},
      {{TZ_FUNCWRN, TZ_ACCURWRN, TZ_OK}, 3, TZ_FUNCWRN, 3, "OK"},
      {{TZ_FUNCWRN, TZ_OK, TZ_ACCURWRN}, 1, TZ_OK, 3, "ACCURWRN"},
      {{TZ_WARNING, TZ_WARNING, TZ_WARNING}, 2, TZ_WARNING, 3, "WARNING"},
      {{TZ_OK, TZ_ACCURFAIL, TZ_OK}, 7, TZ_ACCURFAIL, 2, "ACCURFAIL"},
      {{TZ_FUNCFAIL, TZ_OK, TZ_OK}, 1, TZ_FUNCFAIL, 1, "FUNCFAIL"},
      {{TZ_ACCURWRN, TZ_FAIL, TZ_OK}, 7, TZ_FAIL, 2, "FAIL"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(testing::Message() << "whole " << c.whole << " mask " << c.mask);
    std::vector<ScriptedRun> script;
    for (tzResult result : c.results) script.push_back({100, result});
    ScriptedRunState state(script, c.mask);
    tzIterator<int> len("len");
    ScriptTest test;
    test.declared = {&filled(len, {1, 2, 3})};
    EXPECT_EQ(test.run(), c.whole);
    EXPECT_EQ(countOf(state.table.text(), "\n"), c.rows);
    EXPECT_THAT(state.table.text(), testing::EndsWith(std::string(",") + c.lastRow + "\n"));
    EXPECT_EQ(g_ostrm.outLevel(), c.mask);
  }
}

TEST(Lifecycle, EveryKindOfResultHasItsLine) {
  ScriptedRunState state({{100, TZ_ACCURWRN}, {100, TZ_FUNCFAIL}});
  tzIterator<int> len("len");
  ScriptTest test;
  test.declared = {&filled(len, {1, 2, 3})};
  test.run();
  EXPECT_THAT(state.console.text(),
              HasSubstr("-- performance:\n"
                        " stubFunction  len=1        100 clocks/px  nLps=1               ACCURWRN\n"
                        "-- FUNCFAIL: stubFunction len=2 - lib function error\n"));
  // A failure has no figure that somebody could take for one.
  EXPECT_THAT(state.table.text(), HasSubstr("stubFunction,Timing,2,-,px,nLps=1,FUNCFAIL\n"));
}

TEST(Lifecycle, ConsoleOfWarningsShowsPerformanceWhileTiming) {
  int during = 0;
  ScriptedRunState state({{100, TZ_OK, [&] { during = g_ostrm.outLevel(); }}}, 3);
  ScriptTest test;
  test.run();
  EXPECT_EQ(during, 7);
  EXPECT_EQ(g_ostrm.outLevel(), 3);
}

TEST(Lifecycle, AnExceptionInAnyStepIsAResultAndLeavesNothingBehind) {
  for (const char* where : {"beginTest", "canStart", "initData", "flushData", "flushStart"}) {
    SCOPED_TRACE(where);
    const bool inLoop = std::string(where).find("Data") != std::string::npos;
    ScriptedRunState state;
    Capture<tzCStream> summary(g_ustrm);
    tzIterator<int> len("len");
    ScriptTest test;
    test.declared = {&filled(len, {1, 2})};
    test.throwIn = where;
    g_istrm.setIniSection("before");
    const int depth = g_ostrm.levelDepth();

    EXPECT_EQ(test.run(), TZ_EXCPTFAIL);
    EXPECT_EQ(test.lastResult(), TZ_EXCPTFAIL);
    EXPECT_THAT(state.console.text(), HasSubstr(std::string("--RKD. Exception: no luck in ") +
                                                (inLoop ? "loopData" : where) + "\n"));
    EXPECT_EQ(g_ostrm.levelDepth(), depth);
    EXPECT_EQ(g_ostrm.outLevel(), 7);
    EXPECT_EQ(g_cstrm.used(), 0);
    EXPECT_EQ(g_istrm.iniSection(), "before");
    EXPECT_EQ(countOf(test.calls, "initData"), countOf(test.calls, "flushData"));
    EXPECT_THAT(test.calls, HasSubstr("endTest"));
    EXPECT_THAT(summary.text(), HasSubstr(",EXCPTFAIL,"));

    // The next test is measured as if nothing had been.
    state.table.take();
    ScriptTest next;
    next.declared = {&len};
    EXPECT_EQ(next.run(), TZ_OK);
    EXPECT_EQ(state.table.text(),
              "stubFunction,Timing,1,100,px,nLps=1,OK\nstubFunction,Timing,2,100,px,nLps=1,OK\n");
  }
}

TEST(Lifecycle, AnExceptionKeepsWhatWasMeasuredBeforeIt) {
  ScriptedRunState state({{}, {}, {100, TZ_OK, [] { throw std::runtime_error("lost"); }}});
  tzIterator<int> len("len");
  ScriptTest test;
  test.declared = {&filled(len, {1, 2, 3})};
  len.addDeprecated(1, "old");
  test.build = [&] {
    if (len.value() == 3) throw tzException(tzString("lost"));
    return true;
  };
  EXPECT_EQ(test.run(), TZ_EXCPTFAIL);
  EXPECT_EQ(state.table.text(),
            "stubFunction,Timing,2,100,px,nLps=1,OK\n"
            "stubFunction,Timing,old,100,px,nLps=1,OK\n");
}

TEST(Lifecycle, ACrashOfTheMeasuredFunctionEndsItsTestAlone) {
  struct Case {
    int signal;
    const char* text;
  };
  for (const Case c : {Case{SIGSEGV, "SIGSEGV"}, Case{SIGILL, "SIGILL"}, Case{SIGFPE, "SIGFPE"},
                       Case{SIGBUS, "SIGBUS"}}) {
    SCOPED_TRACE(c.text);
    ScriptedRunState state({{}, {100, TZ_OK, [&c] { raise(c.signal); }}});
    tzIterator<int> len("len");
    ScriptTest test;
    test.declared = {&filled(len, {1, 2, 3})};
    EXPECT_EQ(test.run(), TZ_EXCPTFAIL);
    const std::string console = state.console.text();
    const size_t at = console.find("-- EXCPTFAIL: stubFunction len=2 - ");
    ASSERT_NE(at, console.npos) << console;
    EXPECT_THAT(console.substr(at, console.find('\n', at) - at), HasSubstr(c.text));
    EXPECT_EQ(countOf(test.calls, "initData flushData"), 2);

    ScriptTest::script = {{}};
    EXPECT_EQ(test.run(), TZ_OK);
  }
}

TEST(Lifecycle, AnUndefinedTimingIsAnInternalProblem) {
  ScriptedRunState state;
  ScriptTest test;
  test.undefinedTiming = true;
  EXPECT_EQ(test.run(), TZ_FAIL);
  EXPECT_THAT(
      state.console.text(),
      HasSubstr("-- Internal test problem: runTiming() function returns undefined result\n"));
}

TEST(Lifecycle, DuplicateRowsAreAWarningUnlessTheConsoleIsQuiet) {
  for (const auto& [mask, result] : {std::pair(7, TZ_DATAWRN), std::pair(1, TZ_OK)}) {
    ScriptedRunState state({{}}, mask);
    tzIterator<int> len("len");
    ScriptTest test;
    test.declared = {&filled(len, {4, 8, 4})};
    EXPECT_EQ(test.run(), result);
    EXPECT_EQ(countOf(state.console.text(),
                      "-- Warning: duplicate lines in performance table (csv-file)\n"),
              mask == 7 ? 1 : 0);
  }
}

TEST(Lifecycle, RowsOfDeprecatedValuesComeLastWithTheirText) {
  ScriptedRunState state;
  tzIterator<int> len("len");
  len.addDeprecated(1, "obsolete");
  len.addDeprecated(3, "gone");
  ScriptTest test;
  test.declared = {&filled(len, {1, 2, 3, 4})};
  EXPECT_EQ(test.run(), TZ_OK);
  EXPECT_EQ(state.table.text(),
            "stubFunction,Timing,2,100,px,nLps=1,OK\n"
            "stubFunction,Timing,4,100,px,nLps=1,OK\n"
            "stubFunction,Timing,obsolete,100,px,nLps=1,OK\n"
            "stubFunction,Timing,gone,100,px,nLps=1,OK\n");
  // Whoever writes the parameter next sees its value.
  len.firstValue();
  len.toCStream(g_cstrm);
  g_cstrm << "\n";
  EXPECT_THAT(state.table.text(), testing::EndsWith("\n1\n"));
}

TEST(Lifecycle, HotLinesAreMarkedAndInHotOnlyModeNothingElseIsMeasured) {
  tzRegHotFunction("stubFunction");
  tzConditions all;
  ScriptedRunState state;
  tzIterator<int> len("len");
  ScriptTest test;
  test.declared = {&filled(len, {1, 2})};
  test.hotLine = [&] { return len.value() == 2; };

  tzTest::m_hot = 1;
  test.run();
  EXPECT_EQ(state.table.take(),
            "stubFunction,Timing,-,1,100,px,nLps=1,OK\n"
            "stubFunction,Timing,hot,2,100,px,nLps=1,OK\n");
  EXPECT_EQ(tzTest::m_numParmsColm, 4);

  tzTest::m_hot = 2;
  test.run();
  EXPECT_EQ(state.table.take(), "stubFunction,Timing,hot,2,100,px,nLps=1,OK\n");
  EXPECT_EQ(countOf(state.console.text(), "  measuring is omitted: not hot line\n"), 1);
  EXPECT_TRUE(test.tobeRun(all));
  // Exactly, not as a part of a name.
  EXPECT_FALSE(ScriptTest("stubFunction2").tobeRun(all));
  EXPECT_FALSE(ScriptTest("stubFunc").tobeRun(all));

  // All lines left out: nothing went well.
  test.hotLine = [] { return false; };
  EXPECT_EQ(test.run(), TZ_UNDEFINED);
  EXPECT_THAT(state.console.text(), HasSubstr("--No measurements have been done\n"));
}

TEST(Lifecycle, AChangedControlStatusIsSeenAndSaid) {
  volatile float tiny = 1e-30F;
  ScriptedRunState state({{100, TZ_OK, [&] { tiny = tiny * tiny; }}});  // underflow
  Capture<tzCStream> summary(g_ustrm);
  ScriptTest test;
  EXPECT_EQ(test.run(), TZ_BADSTSWRN);
  EXPECT_TRUE(test.isBadSSX());
  EXPECT_FALSE(test.isBad87());
  EXPECT_THAT(state.console.text(), HasSubstr("?Underflow"));
  EXPECT_THAT(summary.text(), HasSubstr("stubFunction,Timing,-,-,-,?,TimjStub//RK_REG,"));
  // The next run begins with a clean watch.
  ScriptTest::script = {{}};
  EXPECT_EQ(test.run(), TZ_OK);
  EXPECT_FALSE(test.isBadSSX());
}

TEST(Lifecycle, WhatThe87UnitWasLeftWithIsNoneOfTheNextTestsDoing) {
  volatile long double one = 1;
  volatile long double zero = 0;
  ScriptedRunState state;
  ScriptTest test;
  test.build = [&] {
    one = one / zero;  // before the measurement
    return true;
  };
  EXPECT_EQ(test.run(), TZ_OK) << state.console.text();
  EXPECT_FALSE(test.isBad87());
  one = 1;
  test.build = nullptr;
  ScriptTest::script = {{100, TZ_OK, [&] { one = one / zero; }}};
  ScriptTest::runs = 0;
  EXPECT_EQ(test.run(), TZ_BADSTSWRN);
  EXPECT_TRUE(test.isBad87());
  ScriptTest::script = {ScriptedRun()};
  EXPECT_EQ(test.run(), TZ_OK) << "a later test";
  EXPECT_FALSE(test.isBad87());
}

TEST(Lifecycle, EachRunTakesTheSessionsToolAfresh) {
  ScriptedRunState state;
  ScriptTest test;
  test.declare = [](ScriptTest& t) { t.tool().setMethodLoop(7); };
  test.run();
  EXPECT_THAT(state.table.take(), HasSubstr("nLps=7"));
  EXPECT_EQ(loopCountOf(g_tool), 1);
  test.declare = nullptr;
  test.run();
  EXPECT_THAT(state.table.take(), HasSubstr("nLps=1,"));
}

TEST(Lifecycle, ATestThatTimesItselfGivesClocksAndNote) {
  class SelfTimed : public ScriptTest {
   public:
    tzResult runTiming() override {
      setTimingResult(512, "passes=3");
      return TZ_OK;
    }
  };
  ScriptedRunState state;
  SelfTimed test;
  test.divisor = 64;
  EXPECT_EQ(test.run(), TZ_OK);
  EXPECT_EQ(state.table.text(), "stubFunction,Timing,8.00,px,passes=3,OK\n");
}

TEST(Lifecycle, WithoutADivisorThereIsNoFigure) {
  ScriptedRunState state;
  ScriptTest test;
  test.divisor = 0;
  EXPECT_EQ(test.run(), TZ_OK);
  EXPECT_EQ(state.table.text(), "stubFunction,Timing,-,px,nLps=1,OK\n");
  EXPECT_THAT(state.console.text(), Not(HasSubstr("clocks/px")));
}

TEST(Lifecycle, ClocksHaveTheDecimalsThatTheirSizeDeserves) {
  const ScriptTest test;
  const std::pair<double, const char*> cases[] = {
      {150.4, "150"},
      {100, "100"},
      {99.99, "100.0"},
      {10, "10.0"},
      {9.995, "9.99"},
      {9.996, "10.00"},
      {1, "1.00"},
      {0.9999, "1.000"},
      {0.25, "0.250"},
      {0.1, "0.100"},
      {0.0625, "0.0625"},
      {0.01, "0.0100"},
      {0.005, "0.00500"},
      {0.001, "0.00100"},
      {0.0005, "0.000500"},
      {0.0001, "0.000100"},
      {0.00009, "9.000e-05"},
      {1e7, "10000000"},
      {10000001, "1.000e+07"},
      {2e8, "2.000e+08"},
      {0, ""},
      {-1, ""},
      {std::nan(""), ""},
  };
  for (const auto& [clocks, text] : cases) EXPECT_EQ(test.formatClocks(clocks), text) << clocks;
}

// --- what cannot be timed ------------------------------------------------------------------------

TEST(Lifecycle, AModeThatTheTestDoesNotSupportIsToldAndNotCountedAsFailure) {
  ScriptedRunState state;
  g_tool.setCallMode(true);
  ScriptTest test;  // has a loop function alone
  tzTestList list;
  EXPECT_EQ(test.run(), TZ_UNDEFINED);
  EXPECT_EQ(test.lastResult(), TZ_UNDEFINED);
  EXPECT_EQ(test.calls, "beginTest endTest ");
  EXPECT_THAT(state.console.text(), HasSubstr("-- Timing of stubFunction is not supported: "));
  EXPECT_EQ(state.table.text(), "");
}

TEST(Lifecycle, AMissingFunctionGetsTitleReasonAndResultOnly) {
  ScriptedRunState state;
  ScriptTest test;
  EXPECT_EQ(test.runNotSupported("the library has no such function"), TZ_UNDEFINED);
  const std::string text = state.console.text();
  EXPECT_LT(text.find(" Function   : stubFunction\n"),
            text.find("-- Timing of stubFunction is not supported: the library has no such "
                      "function\n"));
  EXPECT_THAT(text, HasSubstr("--No measurements have been done\n Result     : UNDEFINED"));
  EXPECT_EQ(test.calls, "endTest ");
}

// --- verified runs -------------------------------------------------------------------------------

TEST(Verify, OnlyAFunctionThatEqualsItsJudgeIsTimed) {
  struct Case {
    tzVerifyMode mode;
    tzTest::VerifyFunc judge;
    tzResult whole;
    const char* table;
    size_t timed;
  };
  const auto equal = [](tzTest&, tzString&) -> tzResult { return TZ_OK; };
  const auto differs = [](tzTest&, tzString& note) -> tzResult {
    note = "dst[17]: 3 where the reference has 4";
    return TZ_FUNCFAIL;
  };
  const Case cases[] = {
      {VERIFY_OFF, differs, TZ_OK, "stubFunction,Timing,100,px,nLps=1,OK\n", 1},
      {VERIFY_ON, equal, TZ_OK, "stubFunction,Timing,100,px,nLps=1 verified,OK\n", 1},
      {VERIFY_ON, differs, TZ_FUNCFAIL, "stubFunction,Timing,-,px,-,FUNCFAIL\n", 0},
      {VERIFY_ON, nullptr, TZ_OK, "stubFunction,Timing,100,px,nLps=1,OK\n", 1},
      {VERIFY_ONLY, equal, TZ_OK, "stubFunction,Timing,-,px,verified,OK\n", 0},
      {VERIFY_ONLY, differs, TZ_FUNCFAIL, "stubFunction,Timing,-,px,-,FUNCFAIL\n", 0},
      {VERIFY_ONLY, nullptr, TZ_UNDEFINED, "", 0},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(testing::Message() << "mode " << c.mode << " " << c.table);
    ScriptedRunState state;
    tzTest::m_verifyMode = c.mode;
    ScriptTest test;
    test.setVerify(c.judge);
    EXPECT_EQ(test.run(), c.whole);
    EXPECT_EQ(state.table.text(), c.table);
    EXPECT_EQ(ScriptTest::runs, c.timed);
    if (c.whole == TZ_FUNCFAIL) {
      EXPECT_THAT(state.console.text(), HasSubstr("-- FUNCFAIL: stubFunction - dst[17]: 3 where "
                                                  "the reference has 4\n"));
    }
  }
}
