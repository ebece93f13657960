/// The suite pattern, tried on throw-away suites in whole sessions.
#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <string>

#include "fakes.h"
#include "harnesskit.h"
#include "rktest.h"

namespace {

using harnesskit::Outcome;

class SuitePattern : public testing::Test {
 protected:
  /// Runs a session on the suites of this program with stand-ins set up by `prepare`; the notes of
  /// the outcome are what `g_fake` counted.
  Outcome run(const std::string& keys, FakeControl prepare = {}) {
    return harnesskit::Session(m_folder)
        .setup([prepare] { g_fake = prepare; })
        .after([] {
          return std::to_string(g_fake.staleCalls) + " " + std::to_string(g_fake.inPlaceFirst);
        })
        .run("-B " + keys);
  }

  harnesskit::TempFolder m_folder;
};

TEST_F(SuitePattern, StateIsRestoredBeforeEveryTimedPerformance) {
  for (const char* method : {"Auto", "Statistic", "Manual"}) {
    const Outcome outcome = run(std::string("-fFakeCode -dMethod=") + method);
    EXPECT_EQ(0, outcome.exitCode);
    EXPECT_EQ("0 0", outcome.notes) << method << ": calls with a stale state, first";
    EXPECT_EQ(2u, outcome.lines("Length=").size()) << outcome.console;
  }
}

TEST_F(SuitePattern, InPlaceOperandsStartEveryRunAsTheyWereMade) {
  // One warm-up and one timed call: the last call meets the first value plus 1, whether or not a
  // comparison ran before.
  const Outcome plain = run("-fFakeInPlace -dMethod=Manual -dNumLoops=1");
  const Outcome verified = run("-fFakeInPlace -dMethod=Manual -dNumLoops=1 -V");
  EXPECT_EQ(0, plain.exitCode);
  EXPECT_EQ(0, verified.exitCode) << verified.console;
  EXPECT_EQ("0 6", plain.notes);
  EXPECT_EQ(plain.notes, verified.notes);
}

TEST_F(SuitePattern, TimedCallsMeetTheSameDataAndCountersWhateverRanBefore) {
  const auto seen = [this](const std::string& keys) {
    return harnesskit::Session(m_folder)
        .setup([] {
          g_fake = {};
          rkVector::m_seed = 12345;
        })
        .after(
            [] { return std::to_string(g_fake.copied) + " " + std::to_string(g_fake.countBefore); })
        .run("-B -dMethod=Manual -dNumLoops=1 " + keys)
        .notes;
  };
  const std::string copied = seen("-fFakeCopy");
  EXPECT_NE("0 0", copied);
  EXPECT_EQ(copied, seen("-fFakeCopy -V")) << "data after a comparison";
  EXPECT_EQ(copied, seen("-fFakeCopy -fFakeCode")) << "data after another test";
  // The second of the two calls, after the warm-up.
  EXPECT_EQ("0 1", seen("-fFakeCount"));
  EXPECT_EQ("0 1", seen("-fFakeCount -V")) << "counters after a comparison";
}

TEST_F(SuitePattern, WhatIsTimedAfterAComparisonHasTheSizesOfTheRun) {
  const Outcome outcome = harnesskit::Session(m_folder)
                              .setup([] { g_fake = {}; })
                              .after([] { return std::to_string(g_fake.codedLength); })
                              .run("-B -dMethod=Manual -dNumLoops=1 -fFakeCode -V");
  EXPECT_EQ(0, outcome.exitCode) << outcome.console;
  EXPECT_EQ(1u, outcome.lines("Length=16").size()) << outcome.console;
  EXPECT_EQ(1u, outcome.lines("Length=48").size()) << outcome.console;
  EXPECT_EQ("48", outcome.notes);
}

TEST_F(SuitePattern, ToleranceIsForElementsAndNumbersOnly) {
  // A size that comparisons add, between guard pages: what lies behind its rows is known.
  const auto compare = [this](int at, float by) {
    FakeControl control;
    control.rowsAt = at;
    control.rowsBy = by;
    return run("-fFakeRows -dImageSize=15x4 -VONLY", control);
  };
  EXPECT_EQ(0, compare(6, 0.5f).exitCode);
  EXPECT_EQ(1, compare(6, 1.5f).exitCode);
  const Outcome gap = compare(7, 0.5f);
  EXPECT_EQ(1, gap.exitCode);
  EXPECT_TRUE(gap.shows("(row 0 column 7, behind the row) is ")) << gap.console;
  const Outcome noNumber = compare(6, std::numeric_limits<float>::quiet_NaN());
  EXPECT_EQ(1, noNumber.exitCode);
  EXPECT_TRUE(noNumber.shows("(row 0 column 6) is nan instead of ")) << noNumber.console;
}

TEST_F(SuitePattern, ComparisonSeesACounterThatAloneDiffers) {
  FakeControl control;
  control.countBy = 2;
  const Outcome outcome = run("-fFakeCount -VONLY", control);
  EXPECT_EQ(1, outcome.exitCode);
  EXPECT_TRUE(outcome.shows("value 1 of count is 2 instead of 1")) << outcome.console;
}

TEST_F(SuitePattern, RegistrationTextsSelectTests) {
  EXPECT_EQ(1u, run("-t=TimjFakeLoops/").lines("rkdiFakeCopy_JPEG_16s_C1 ").size());
  EXPECT_FALSE(run("-t=TimjFakeLoops/").shows("rkdiFakeCode"));
  EXPECT_TRUE(run("-t=TimjFakeCoder//RK_REG_I_X").shows("rkdiFakeCode"));
  EXPECT_TRUE(run("-t=TimjFakeLoops//RK_REG_Ibs").shows("rkdiFakeInPlace"));
}

TEST_F(SuitePattern, MissingFunctionIsUndefinedAndNoFailure) {
  const Outcome outcome = run("-fFakeMissing -r");
  EXPECT_EQ(0, outcome.exitCode) << outcome.console;
  EXPECT_TRUE(outcome.shows("UNDEFINED")) << outcome.console;
  EXPECT_TRUE(outcome.shows("lacks the function")) << outcome.console;
}

TEST_F(SuitePattern, CrashEndsItsOwnTestOnly) {
  FakeControl control;
  control.crash = true;
  const Outcome outcome = run("-fFakeCrash -fFakeWrong", control);
  EXPECT_EQ(1, outcome.exitCode);
  EXPECT_TRUE(outcome.shows("EXCPTFAIL")) << outcome.console;
  EXPECT_EQ(1u, outcome.lines("rkdiFakeWrong_JPEG_16s_C1 ").size()) << outcome.console;
}

TEST_F(SuitePattern, ComparisonAcceptsWhatAgreesAndWhatIsWithinTolerance) {
  const Outcome all = run("-f-Crash -f-Missing -dImageSize=15x4 -VONLY");
  EXPECT_EQ(0, all.exitCode) << all.console;
  const auto lines = all.lines("rkdiFake");
  const auto verified = std::count_if(lines.begin(), lines.end(), [](const std::string& line) {
    return line.find(" verified ") != std::string::npos;
  });
  EXPECT_EQ(7, verified) << all.console;  // one function has two lengths

  FakeControl near;
  near.wrongAt = 7;
  near.wrongBy = -1;
  EXPECT_EQ(0, run("-fFakeWrong -VONLY", near).exitCode);
}

TEST_F(SuitePattern, ComparisonNamesTheFirstDifference) {
  FakeControl far;
  far.wrongAt = 7;
  far.wrongBy = 2;
  const Outcome outcome = run("-fFakeWrong -V", far);
  EXPECT_EQ(1, outcome.exitCode);
  EXPECT_TRUE(outcome.shows("FUNCFAIL")) << outcome.console;
  EXPECT_TRUE(outcome.shows("buffer 2 element 7 is ")) << outcome.console;

  FakeControl refused;
  refused.status = -6;
  const Outcome status = run("-fFakeWrong -VONLY", refused);
  EXPECT_EQ(1, status.exitCode);
  EXPECT_TRUE(status.shows("status is -6 instead of 0")) << status.console;
}

TEST_F(SuitePattern, NegativeStatusFailsAndPositiveWarns) {
  FakeControl control;
  control.status = -6;
  const Outcome failed = run("-fFakeWrong", control);
  EXPECT_EQ(1, failed.exitCode);
  EXPECT_TRUE(failed.shows("--RKD ERROR. status = -6 in rkdiFakeWrong_JPEG_16s_C1: "))
      << failed.console;
  control.status = 2;
  const Outcome warned = run("-fFakeWrong", control);
  EXPECT_EQ(0, warned.exitCode);
  EXPECT_TRUE(warned.shows("--RKD WARNING. status = 2 in ")) << warned.console;
  EXPECT_TRUE(warned.shows("FUNCWRN")) << warned.console;
}

TEST_F(SuitePattern, CallsTimedWithTheirDataMeetThemAsTheyWereMade) {
  for (const char* method : {"Auto", "Manual"}) {
    const Outcome outcome = run(std::string("-fFakeCode -fFakeInPlace -SU -dMethod=") + method);
    EXPECT_EQ(0, outcome.exitCode) << outcome.console;
    EXPECT_EQ("0 5", outcome.notes) << method << ": calls with a stale state, first element";
    EXPECT_EQ(2u, outcome.lines("Length=").size()) << outcome.console;
    EXPECT_EQ(3u, outcome.lines(" clocks/e ").size()) << outcome.console;
  }
  const Outcome without = run("-fFakeCopy -SU");
  EXPECT_EQ(0, without.exitCode);
  EXPECT_TRUE(without.shows("no call function to measure with its data set-up (-SU)"));
  EXPECT_TRUE(without.shows("UNDEFINED")) << without.console;
}

TEST_F(SuitePattern, ACallThatFailsWithItsDataEndsItsOwnTestOnly) {
  FakeControl control;
  control.status = -6;
  control.crash = true;
  // In alphabetical order: one that crashes, one that is fine, one that fails.
  const Outcome failed = run("-fFakeCrash -fFakeInPlace -fFakeWrong -SU -dMethod=Manual", control);
  EXPECT_EQ(1, failed.exitCode);
  EXPECT_TRUE(failed.shows("-- EXCPTFAIL: rkdiFakeCrash_JPEG_8u_C1 - exception: SIGSEGV"))
      << failed.console;
  EXPECT_EQ(1u, failed.lines("--RKD ERROR. status = -6 in rkdiFakeWrong_JPEG_16s_C1: ").size());
  EXPECT_TRUE(failed.shows("-- FUNCFAIL: rkdiFakeWrong_JPEG_16s_C1 - ")) << failed.console;
  const auto figures = failed.lines(" clocks/e ");
  ASSERT_EQ(1u, figures.size()) << failed.console;
  EXPECT_NE(std::string::npos, figures[0].find("rkdiFakeInPlace_JPEG_16s_C1I "));
  EXPECT_TRUE(failed.shows(".Successes      : 1")) << failed.console;
  EXPECT_TRUE(failed.shows("...Fails        : 2")) << failed.console;
  EXPECT_TRUE(failed.shows(".....-EXCPTFAIL : 1")) << failed.console;

  control.status = 2;
  const Outcome warned = run("-fFakeWrong -SU", control);
  EXPECT_EQ(0, warned.exitCode);
  EXPECT_TRUE(warned.shows("--RKD WARNING. status = 2 in ")) << warned.console;
  EXPECT_EQ(1u, warned.lines(" clocks/e ").size()) << warned.console;
  EXPECT_TRUE(warned.shows("FUNCWRN")) << warned.console;
}

}  // namespace
