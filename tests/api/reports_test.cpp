// The reports as whole texts, on the console and in tables.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <sstream>

#include "scripttest.h"
#include "tzcache.h"
#include "tzclock.h"
#include "tzconditions.h"
#include "tzcpuinfo.h"
#include "tzenv.h"
#include "tzistream.h"
#include "tzregistry.h"
#include "tzreport.h"
#include "tzreportlist.h"
#include "tztestreport.h"

using testing::HasSubstr;

namespace {

template <class Report>
std::string onConsole(const Report& report, int mask = 7) {
  const int before = g_ostrm.outLevel();
  g_ostrm.setOutLevel(mask);
  Capture<tzOStream> console(g_ostrm);
  g_ostrm << report;
  g_ostrm.setOutLevel(before);
  return console.text();
}

template <class Report>
std::string inTable(const Report& report) {
  tzCStream table;
  Capture<tzCStream> capture(table);
  table << report;
  return capture.text();
}

std::string framed(std::string text) {
  text.resize(75, ' ');
  return "| " + text + " |\n";
}

const std::string kFrame = "+" + std::string(77, '-') + "+\n";

// The calendar time of a number, whatever the time zone of this machine is.
std::string timeText(time_t time) { return tzTimeString(time).str(); }

}  // namespace

TEST(ReportResults, HaveTheirNamesAndPhrases) {
  const std::pair<const char*, const char*> texts[] = {
      {"UNDEFINED", "was not run"},
      {"OK", "successfully"},
      {"ACCURWRN", "wrong measure accuracy"},
      {"BADSTSWRN", "modified control status"},
      {"DATAWRN", "test data warning"},
      {"FUNCWRN", "lib function warning"},
      {"WARNING", "warning"},
      {"ACCURFAIL", "accuracy error"},
      {"DATAFAIL", "test data error"},
      {"FUNCFAIL", "lib function error"},
      {"EXCPTFAIL", "exception"},
      {"FAIL", "error"},
  };
  for (int code = 0; code < 12; ++code) {
    EXPECT_STREQ(tzResultName(code), texts[code].first);
    EXPECT_STREQ(tzResultString(code), texts[code].second);
  }
  for (int code : {-1, 12, 1000}) {
    EXPECT_STREQ(tzResultName(code), "UNKNOWN");
    EXPECT_STREQ(tzResultString(code), "unknown result");
  }
  EXPECT_TRUE(tzIsWarning(TZ_WARNING) && !tzIsWarning(TZ_OK) && !tzIsWarning(TZ_ACCURFAIL));
  EXPECT_TRUE(tzIsFailure(TZ_FAIL) && !tzIsFailure(TZ_WARNING));
}

// --- layout --------------------------------------------------------------------------------------

TEST(ReportFormat, TimesHaveUnlimitedHours) {
  EXPECT_EQ(tzReportFormat::getTimeStr(3725), "01:02:05");
  EXPECT_EQ(tzReportFormat::getTimeStr(90000), "25:00:00");
  EXPECT_EQ(tzReportFormat::getTimeStr(0), "00:00:00");
  EXPECT_EQ(tzReportFormat::getTimeStr(-5), "00:00:00");
}

TEST(ReportFormat, SixColumnsEachInItsWidthNegativeOnesAtTheRight) {
  tzReportFormat format(false);
  const int widths[] = {4, -5, 3, -3, 2, 1};
  for (int i = 0; i < 6; ++i) format.setWidth(i, widths[i]);
  EXPECT_EQ(format.getLine("a", "12", "bc", "7", "x", "y"), "a      12bc   7x y\n");
  EXPECT_EQ(format.getLine("a"), "a\n");
  tzReportFormat frame;
  frame.setWidth(0, 10);
  frame.setWidth(1, -5);
  EXPECT_EQ(frame.getLine("key", "12").str(), framed("key          12"));
  EXPECT_EQ(frame.getLine("key", "12").length(), 80);
}

TEST(ReportFormat, WhatDoesNotFitGoesOnInItsColumn) {
  tzReportFormat format(false);
  format.setWidth(0, 5);
  format.setWidth(1, 8);
  EXPECT_EQ(format.getLine("key :", "one two three unbreakable"),
            "key :one two\n     three\n     unbreaka\n     ble\n");
  // A word that ends at the column's end fits.
  EXPECT_EQ(format.getLine("", "12345678 9"), "     12345678\n     9\n");
}

TEST(ReportFormat, PiecesAreCutFromTheFront) {
  tzString rest = "ab cd";
  tzString piece;
  EXPECT_TRUE(tzReportFormat::getPieceItem(rest, piece, 3));
  EXPECT_EQ(piece, "ab");
  EXPECT_TRUE(tzReportFormat::getPieceItem(rest, piece, 3));
  EXPECT_EQ(piece, "cd");
  EXPECT_FALSE(tzReportFormat::getPieceItem(rest, piece, 3));
  // A width that nothing fits into still makes progress.
  rest = "xy";
  EXPECT_TRUE(tzReportFormat::getPieceItem(rest, piece, 0));
  EXPECT_EQ(rest, "y");
}

TEST(ReportFormat, LinesAreCountedFromTheLastLineEnd) {
  tzString text = "first\nab";
  EXPECT_EQ(tzReportFormat::getLastLen(text), 2);
  tzReportFormat::setOffsetLine(text, 5);
  tzReportFormat::setItem(text, "7", -3);
  tzReportFormat::setItem(text, "long", 2);
  EXPECT_EQ(text, "first\nab     7long");
  EXPECT_EQ(cutoffNL("a\r\nb\n"), "ab");
}

// --- run title -----------------------------------------------------------------------------------

class ReportTitle : public testing::Test {
 protected:
  ReportTitle() {
    tzCpuTicker::setFreq(2660);
    tzCacheIterator::setCacheSizeSource([] { return 1536 * 1024; });
    m_tests.startTime = 1000000;
  }
  ~ReportTitle() override {
    tzCacheIterator::setCacheSizeSource(nullptr);
    tzCpuTicker::setFreq(0);
  }
  tzTestList m_tests;
};

TEST_F(ReportTitle, TellsMachineLibraryAndWhatIsMeasured) {
  tzRegLibInfo("rkdcore, 1.0, Mar 16 2010");
  tzRegLibInfo("rkdjpeg, 1.0, Mar 16 2010");
  const tzString cpu = tzCpuName() + ", 2.66 GHz, Max cache size 1536 K";
  const tzTool before = g_tool;
  g_tool.setMethodStat(12, 10000);
  const std::string console = onConsole(tzReportTitle(m_tests));
  g_tool = before;

  EXPECT_THAT(console, testing::StartsWith("\n" + kFrame + "| CPU      : " + tzCpuName().str()));
  EXPECT_THAT(console, HasSubstr(framed("Library  : rkdcore, 1.0, Mar 16 2010") +
                                 framed("Library  : rkdjpeg, 1.0, Mar 16 2010") +
                                 framed("Start    : " + timeText(1000000)) +
                                 framed("Timing   : statistical, at least 12 calls and 10000 "
                                        "clocks, accuracy 5.0%") +
                                 framed("Test     : all") + kFrame));
  std::istringstream lines(console.substr(1));
  for (std::string line; std::getline(lines, line);) EXPECT_EQ(line.size(), 79u) << line;

  tzString csv;
  csv << "CPU," << tzCpuName() << "; 2.66 GHz; Max cache size 1536 K\nOS," << tzOS().c_str();
  for (int i = csv.find("OS,") + 3; i < csv.length(); ++i) csv[i] = csv[i] == ',' ? ';' : csv[i];
  csv << "\nComputer," << tzHost().c_str() << "\nLibrary,rkdcore; 1.0; Mar 16 2010\n"
      << "Library,rkdjpeg; 1.0; Mar 16 2010\nStart," << timeText(1000000).c_str() << "\n";
  EXPECT_EQ(inTable(tzReportTitle(m_tests)), csv.str());
}

TEST_F(ReportTitle, TellsTheMethodThatTheUserChose) {
  g_istrm.setPreset("Method", "Manual");
  g_istrm.setPreset("Accuracy", "2.5");
  EXPECT_EQ(tzReportTitle::timingText(), "manual, 10 loops, accuracy 2.5%");
  g_istrm.clearPresets();
  EXPECT_EQ(tzReportTitle::timingText(), "automatic, accuracy 5.0%");
  tzTest::m_verifyMode = VERIFY_ONLY;
  EXPECT_EQ(tzReportTitle::timingText(), "none, functions are only verified");
  tzTest::m_verifyMode = VERIFY_OFF;
}

TEST_F(ReportTitle, SlowProcessorsAreToldInMHz) {
  tzCpuTicker::setFreq(800);
  EXPECT_THAT(onConsole(tzReportTitle(m_tests)), HasSubstr("800 MHz, Max cache size 1536 K"));
}

TEST_F(ReportTitle, NobodyReadingItCostsNoFrequencyEstimate) {
  tzCpuTicker::setFreq(0);
  EXPECT_EQ(onConsole(tzReportTitle(m_tests), L_ERR), "");
  tzCStream noTargets;
  noTargets << tzReportTitle(m_tests);
  EXPECT_FALSE(tzCpuTicker::hasFreq());
}

// --- one test ------------------------------------------------------------------------------------

TEST(ReportTest, TitleAndResultOnTheConsole) {
  class Described : public ScriptTest {
   public:
    tzString getComment() const override { return "a stub, no function"; }
  };
  ScriptedRunState state;
  Described test;
  test.run();
  const std::string console = state.console.text();
  EXPECT_EQ(console,
            "\n"
            " Function   : stubFunction\n"
            " Test       : TimjStub//RK_REG\n"
            " Source     : src/p_stub\n"
            " Description: a stub, no function\n"
            " stubFunction        100 clocks/px  nLps=1               OK\n"
            " Result     : OK (successfully), TimjStub//RK_REG, " +
                timeText(test.endTime()) + "\n");
}

TEST(ReportTest, AFailureIsSeenOnAConsoleOfErrorsWithItsFunction) {
  ScriptedRunState state({{100, TZ_FUNCFAIL}}, L_ERR);
  ScriptTest test;
  test.run();
  EXPECT_EQ(state.console.text(),
            "-- FUNCFAIL: stubFunction - lib function error\n"
            " Result     : FUNCFAIL (lib function error), stubFunction, TimjStub//RK_REG, " +
                timeText(test.endTime()) + "\n");
}

TEST(ReportTest, SummaryRowsAgreeWithTheirHeading) {
  ScriptedRunState state;
  Capture<tzCStream> summary(g_ustrm);
  ScriptTest test;
  EXPECT_EQ(tzReportTestResult(test).summary(), "");
  EXPECT_EQ(inTable(tzReportTestResult(test)), "");  // it did not run

  test.run();
  const std::string line = "stubFunction,Timing,-,-,-,-,TimjStub//RK_REG," +
                           std::to_string(test.endTime() - test.startTime()) + ",src/p_stub,OK,-";
  EXPECT_EQ(summary.take(), line + "\n");
  EXPECT_EQ(tzReportTestResult(test).summary().str(), line);
  EXPECT_EQ(inTable(tzReportTestResult(test)), line + "\n");
  g_ustrm << "a row that was never ended";
  g_ustrm << tzReportTestResult(test);
  EXPECT_EQ(summary.take(), line + "\n");
  const std::string header = tzReportTestResult::summaryHeader().str();
  EXPECT_EQ(std::count(header.begin(), header.end(), ','),
            std::count(line.begin(), line.end(), ','));
  EXPECT_EQ(header,
            "Function,Class,Control87,Status87,ControlSSX,StatusSSX,Test,Time (sec.),SrcName,"
            "Result,ExeName");
}

TEST(ReportTest, TheHarnesssOwnTestsAreInformation) {
  ScriptedRunState state;
  ScriptTest test("__tzStub");
  g_cstrm << tzReportTestTitle(test) << "a fact\n"
          << "\n";
  EXPECT_EQ(state.table.text(), "__tzStub,Information,a fact\n");
  EXPECT_EQ(ScriptTest("x__tz").kind(), "Timing");
}

TEST(ReportTest, NameLinesNameTheCellsOfTheRows) {
  ScriptedRunState state;
  Capture<tzCStream> names(g_qstrm);
  tzIterator<int> len("len"), silent("");
  len.add(1);
  silent.add(1);
  ScriptTest test;
  test.declared = {&len, &silent};
  tzTest::m_hot = 1;
  ASSERT_TRUE(test.prepareParms());
  test.putTableName();
  EXPECT_EQ(names.text(), "stubFunction,Timing,Interest,len,-,Clocks,Unit,Note,Result\n");
  EXPECT_EQ(state.table.text(), "");
  EXPECT_EQ(tzTest::m_numParmsColm, 5);
  // Declaring again forgets what was declared before.
  ASSERT_TRUE(test.prepareParms());
  EXPECT_EQ(test.parms().count(), 2);
}

// --- totals --------------------------------------------------------------------------------------

TEST(ReportEnd, CountsAddUp) {
  tzTestList tests;
  for (tzResult result : {TZ_OK, TZ_OK, TZ_ACCURWRN, TZ_BADSTSWRN, TZ_FUNCFAIL, TZ_EXCPTFAIL,
                          TZ_FAIL, TZ_UNDEFINED}) {
    tests.plus(result);
  }
  tests.startTime = 1000;
  tests.endTime = 1000 + 3725;
  const tzReportEnd report(tests);
  EXPECT_EQ(onConsole(report), "\n" + kFrame + framed("TZ Summary") + kFrame +
                                   framed(".Number of tests: 8") + framed(".Successes      : 2") +
                                   framed(".Failures       : 6") + framed("...Fails        : 3") +
                                   framed(".....-FAIL      : 2") + framed(".....-EXCPTFAIL : 1") +
                                   framed("...Warnings     : 2") + framed(".....-WARNING   : 1") +
                                   framed(".....-BADSTSWRN : 1") + framed("...Undefined    : 1") +
                                   framed(".Total time     : 01:02:05") + kFrame);
  EXPECT_EQ(inTable(report),
            "END_DATA\n.Number of tests,8\n.Successes      ,2\n.Failures       ,6\n"
            "...Fails        ,3\n.....-FAIL      ,2\n.....-EXCPTFAIL ,1\n...Warnings     ,2\n"
            ".....-WARNING   ,1\n.....-BADSTSWRN ,1\n...Undefined    ,1\n"
            ".Total time     ,01:02:05\n");
}

// --- list ----------------------------------------------------------------------------------------

TEST(ReportList, TestsAreNumberedAndSelectedByTheConditions) {
  tzTestList tests;
  ScriptTest a("rkdiAlpha_8u"), b("rkdiBeta_8u"), c("rkdiBeta_16s");
  for (ScriptTest* test : {&a, &b, &c}) tests.push_back(test);
  tzConditions conditions;
  conditions.add(new RunCondition_f("Beta"));
  EXPECT_EQ(onConsole(tzReportList(tests, conditions, LIST_TESTS)),
            "\n   #\tFunction\tTest\tSource\n"
            "   1\trkdiBeta_8u\tTimjStub//RK_REG\tsrc/p_stub\n"
            "   2\trkdiBeta_16s\tTimjStub//RK_REG\tsrc/p_stub\n");
  EXPECT_EQ(inTable(tzReportList(tests, conditions, LIST_TESTS)),
            "#,Function,Test,Source\n"
            "1,rkdiBeta_8u,TimjStub//RK_REG,src/p_stub\n"
            "2,rkdiBeta_16s,TimjStub//RK_REG,src/p_stub\n");
}

TEST(ReportList, HelperFunctionsAreKnownByWholeWords) {
  for (const char* name : {"rkdiEncodeHuffmanSpecInitAlloc_JPEG_8u", "rkdMalloc", "rkdFree",
                           "rkdGetStatusString", "rkdiSet_8u_C1R", "rkdiQuantFwdTableInit_JPEG_16u",
                           "rkdiDecodeHuffmanSpecGetBufSize_JPEG_8u", "rkdiDrawText"}) {
    EXPECT_TRUE(tzReportList::isHelperFunction(name)) << name;
  }
  for (const char* name : {"rkdiAdd128_JPEG_16s8u_C1R", "rkdiInitial_8u", "rkdiOffset_8u",
                           "rkdiGettysburg", "rkdsZero_8u", "rkdiCloseness"}) {
    EXPECT_FALSE(tzReportList::isHelperFunction(name)) << name;
  }
}
