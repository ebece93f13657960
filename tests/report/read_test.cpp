// Readers: every figure of a file arrives as it was written, from JSON Lines and from tables.

#include <gtest/gtest.h>

#include "report/text.h"
#include "reportkit.h"

using report::readRuns;
using report::Result;
using report::Row;
using namespace reportkit;

namespace {

const char* const kFull =
    R"(,"elements":4096,"bytes_read":2,"bytes_written":1,"working_set":12288,"clocks_per_call":142.71844660194174,)"
    R"("dropped":2,"statistics":{"count":3,"minimum":142.5,"median":150,"spread":0.05,"tail":0.1},)"
    R"("disturbances":{"switches":1},"pass_minima":[142.5,143],"pass_difference":0.01,"empty_call":2.5,)"
    R"("reference_ratio":null,"new_member":{"a":[1]},)"
    R"("samples":{"clocks":[142.5,150,1e3],"calls":[412,412,1],"pass":[1,1,2],"disturbed":[false,true,false]})";

const char* const kTable =
    "CPU,Test CPU; v2; 2.6 GHz; Max cache size 1024 K\n"
    "OS,Linux (6; x)\nComputer,box\nLibrary,librkdi.so.1; 1.0\nCode path,AVX2\nStart,Sun Nov 22\n"
    "__tzOS,Information,Linux\n"
    "stubB,16s8u,C1R,Timing,Interest,Length,Clocks,Unit,Note,Result\n"
    "stubB,16s8u,C1R,Timing,hot,8,0.0348,px,nSmp=3,OK\n"
    "stubB,16s8u,C1R,Timing,-,16,-,px,-,FUNCFAIL\n"
    "END_DATA\n.Number of tests,2\n.Total time     ,00:07:03\n";

}  // namespace

TEST(ReadJson, KeepsEveryFigure) {
  const auto runs = readRuns("F", kContext + row("f", "64x64", 0.1, "ACCURWRN", kFull) + kEnd, {});
  ASSERT_EQ(1u, runs.size());
  const auto& run = runs[0];
  EXPECT_EQ(2500, run.context.number("counter_mhz", 0));
  EXPECT_EQ("Test CPU", run.context.fact("processor")->text);
  EXPECT_EQ("AVX2", run.context.codePath);
  EXPECT_EQ(0.05, run.context.accuracy);
  const std::vector<report::Named> settings{
      {"vector_align", "0"}, {"vector_shift", "0"}, {"Method", "Spread"}, {"seed", "7"}};
  EXPECT_EQ(settings, run.context.settings);
  ASSERT_TRUE(run.end);
  EXPECT_TRUE(run.notes.empty());
  ASSERT_EQ(1u, run.rows.size());
  const Row& read = run.rows[0];
  EXPECT_EQ(Result::accuracyWarning, read.result);
  EXPECT_EQ(0.1, read.clocksPerElement);
  EXPECT_EQ(142.71844660194174, read.clocksPerCall);
  EXPECT_EQ(12288, read.workingSet);
  EXPECT_EQ(150, read.statistics->median);
  EXPECT_EQ((std::vector<double>{142.5, 143}), read.passMinima);
  EXPECT_EQ((std::vector<double>{142.5, 150, 1000}), read.samples.clocks);
  EXPECT_EQ((std::vector<uint32_t>{412, 412, 1}), read.samples.calls);
  EXPECT_EQ((std::vector<bool>{false, true, false}), read.samples.disturbed);
  EXPECT_EQ(2u, read.line);
}

TEST(ReadJson, LeavesSamplesOutWhenTheyAreNotWanted) {
  const auto runs = readRuns("F", kContext + row("f", "8x8", 1, "OK", kFull), {.samples = false});
  EXPECT_EQ(0u, runs[0].rows[0].samples.size());
  EXPECT_EQ(3, runs[0].rows[0].statistics->count);
}

// A file is written line by line: wherever it ends, what stands before is good.
TEST(ReadJson, TellsALineThatWasCutAndKeepsTheOthers) {
  const std::string first = kContext + row("f", "8x8", 1);
  const std::string second = row("f", "16x16", 2, "OK", kFull);
  for (size_t cut = 1; cut + 2 < second.size(); cut += 7) {
    const auto runs = readRuns("F", first + second.substr(0, cut), {});
    ASSERT_EQ(1u, runs[0].rows.size()) << cut;
    EXPECT_EQ("line 3 was cut off and is left out", runs[0].notes.at(0)) << cut;
  }
  const std::string whole = first + second;
  const auto runs = readRuns("F", whole.substr(0, whole.size() - 1), {});
  EXPECT_EQ(2u, runs[0].rows.size());
  EXPECT_EQ(std::vector<std::string>{"the run did not come to its end"}, runs[0].notes);
}

TEST(ReadJson, BeginsARunWithEachContextAndSkipsWhatIsNotKnown) {
  const std::string one = kContext + row("f", "8x8", 1) + "{\"type\":\"later\"}\n\n" + kEnd;
  const auto runs = readRuns("F", one + one, {});
  ASSERT_EQ(2u, runs.size());
  EXPECT_EQ(1u, runs[0].rows.size());
  EXPECT_EQ("2 lines of kinds not known here skipped", runs[1].notes.at(0));
}

TEST(ReadJson, TakesComparisons) {
  const auto runs = readRuns("F", kContext + comparison("f"), {});
  const report::Comparison& read = runs[0].comparisons.at(0);
  EXPECT_EQ(1.04, read.others.at(0).ratio);
  EXPECT_FALSE(read.others[0].low);
  EXPECT_EQ(1.1, read.others[0].high);
  EXPECT_EQ("slower", read.others[0].verdict);
}

TEST(ReadTable, TakesTitlesNamesAndRows) {
  const auto runs = readRuns("F", std::string(kTable) + kTable, {});
  ASSERT_EQ(2u, runs.size());
  const auto& run = runs[1];
  EXPECT_EQ("Test CPU; v2", run.context.fact("processor")->text);
  EXPECT_EQ(2600, run.context.number("mhz", 0));
  EXPECT_EQ(1048576, run.context.number("largest_cache", 0));
  EXPECT_EQ("AVX2", run.context.codePath);
  EXPECT_TRUE(run.end);
  ASSERT_EQ(2u, run.rows.size());
  EXPECT_EQ("stubB_16s8u_C1R", run.rows[0].function);
  EXPECT_EQ(0.0348, run.rows[0].clocksPerElement);
  EXPECT_EQ((std::vector<report::Named>{{"Length", "8"}}), run.rows[0].parameters);
  EXPECT_FALSE(run.rows[1].clocksPerElement);
  EXPECT_EQ(Result::functionFailure, run.rows[1].result);
}

TEST(ReadTable, NumbersParametersWithoutNamesAndDropsACutLine) {
  const auto runs = readRuns(
      "F", "f,Timing,64x64,q75,1.5,px,nLps=4,OK\nf,Timing,128x64,q75,1.5,px,nLps=4,ACCUR", {});
  ASSERT_EQ(1u, runs[0].rows.size());
  EXPECT_EQ("parameter 1=64x64 parameter 2=q75",
            report::parametersText(runs[0].rows[0].parameters));
  EXPECT_EQ("line 2 was cut off and is left out", runs[0].notes.at(0));
  EXPECT_EQ("parameter 1", report::sizeParameter(runs[0].rows[0]));
}

TEST(Model, TellsSizesAndKeys) {
  EXPECT_EQ(307200, report::sizeOf("640x480"));
  EXPECT_EQ(8, report::sizeOf("8"));
  for (const char* none : {"", "x", "8x", "0x4", "q75", "8x8y", "-3", "99999999999"}) {
    EXPECT_FALSE(report::sizeOf(none)) << none;
  }
  Row first;
  first.function = "f";
  first.parameters = {{"Table", "q75"}, {"ImageSize", "8x8"}};
  Row second = first;
  std::swap(second.parameters[0], second.parameters[1]);
  EXPECT_EQ(report::rowKey(first), report::rowKey(second));
  EXPECT_EQ("ImageSize", report::sizeParameter(first));
  second.parameters[0].value = "9x8";
  EXPECT_NE(report::rowKey(first), report::rowKey(second));
}

TEST(Text, IsMadeFitForATerminal) {
  EXPECT_EQ("a\uFFFD[31mb\uFFFD\u00E9", report::cleanText("a\x1b[31mb\n\u00E9"));
  EXPECT_EQ("\u00E9\uFFFD\uFFFD", report::cleanText("\xE9\x9B\u202E"));
  EXPECT_EQ("\u00ED\u00A0\uFFFD\u00C0\u00AF", report::cleanText("\xED\xA0\x80\xC0\xAF"));
  EXPECT_EQ("ab\u2026", report::shortened("ab\u00E9\u00E9\u00E9", 3));
  EXPECT_EQ(4, report::textWidth("ab\u00E9\u2026"));
  const std::pair<double, const char*> kFigures[] = {{0.0348, "0.0348"}, {0.15, "0.150"},
                                                     {1.5, "1.50"},      {15, "15.0"},
                                                     {150, "150"},       {1e-5, "1.00e-05"}};
  for (const auto& [value, text] : kFigures) EXPECT_EQ(text, report::figureText(value));
}
