// Files that are empty, cut, foreign or hostile: one line that names file, line and reason.

#include <gtest/gtest.h>

#include "report/page.h"
#include "reportkit.h"

using namespace reportkit;

namespace {

struct Case {
  std::string bytes;
  const char* error;
};

std::string with(const std::string& more) { return kContext + row("f", "8x8", 1, "OK", more); }

}  // namespace

TEST(ReadHostile, NamesTheLineAndTheReason) {
  const std::string context = kContext;
  const Case cases[] = {
      {"", "F: is empty"},
      {" \n\n", "F: is empty"},
      {"hello\n", "F: line 1: neither JSON Lines nor a line of a result table of tazmet"},
      {"half a line", "F: neither JSON Lines nor a result table of tazmet"},
      {std::string("\x7f"
                   "ELF\0\0\n",
                   7),
       "F: line 1: neither JSON Lines nor a line of a result table of tazmet"},
      {"{\"type\":\"con", "F: cut off in its first line"},
      {"{\"a\":1}\n", "F: line 1: no context comes before it: not a file of tazmet's key -j"},
      {row("f", "8x8", 1), "F: line 1: no context comes before it: not a file of tazmet's key -j"},
      {"{\"type\":\"context\",\"schema\":2}\n", "F: line 1: schema 2; this program reads schema 1"},
      {"{\"type\":\"context\",\"schema\":1,\"program\":\"other\"}\n",
       "F: line 1: was not written by tazmet"},
      {context + "{\"type\":\n" + context, "F: line 2: no JSON from byte 9"},
      {context + "[1]\n", "F: line 2: is no object"},
      {context + "{\"type\":\"row\"}\n", "F: line 2: lacks function"},
      {context + row("f", "8x8", 1, "PERFECT"), "F: line 2: result is PERFECT"},
      {with(",\"elements\":\"many\""), "F: line 2: elements is no number"},
      {with(",\"elements\":-1"), "F: line 2: elements is no size"},
      {with(",\"elements\":1e999"), "F: line 2: a number beyond all range"},
      {with(",\"samples\":{\"clocks\":[1,2],\"calls\":[1],\"pass\":[1,1],\"disturbed\":[false,"
            "false]}"),
       "F: line 2: samples have lists of different lengths"},
      {with(",\"samples\":{\"clocks\":[1],\"calls\":[1],\"pass\":[1,1],\"disturbed\":[false]}"),
       "F: line 2: samples have lists of different lengths"},
      {with(",\"samples\":{\"clocks\":[1],\"calls\":[1.5],\"pass\":[1],\"disturbed\":[false]}"),
       "F: line 2: calls is no whole number in range"},
      {with(",\"samples\":{\"clocks\":[1],\"calls\":[1],\"pass\":[1],\"disturbed\":[0]}"),
       "F: line 2: disturbed is neither true nor false"},
      {with(",\"reason\":\"" + std::string(70000, 'x') + "\""), "F: line 2: reason is too long"},
      {context + "{\"type\":" + std::string(1 << 20, '[') + "\n", "F: line 2: nested too deeply"},
      {context + "{\"type\":\"a\xFF\"}\n", "F: line 2: no JSON from byte 11"},
      {"f,Timing,8x8,1,px,n,slower\n",
       "F: line 1: the last cell is no result code; comparisons are read from JSON Lines (key -j)"},
      {"f,Timing,OK\n", "F: line 1: too few cells for a row"},
      {"-,Timing,1,px,n,OK\n", "F: line 1: a row without a function"},
      {"CPU,x\nOK,OK\n", "F: line 2: neither JSON Lines nor a line of a result table of tazmet"},
  };
  for (const Case& each : cases) EXPECT_EQ(each.error, readingError(each.bytes));
}

TEST(ReadHostile, LinesAreOfBoundedLength) {
  const std::string text =
      "{\"type\":\"" + std::string(report::LineReader::kMaxLine, 'x') + "\"}\n";
  EXPECT_EQ("F: line 1: longer than 16 MiB", readingError(text));
}

TEST(ReadHostile, RunsOfAFileAreBounded) {
  std::string text;
  for (std::size_t i = 0; i < report::kMaxRuns; ++i) {
    text += R"({"type":"context","schema":1,"program":"tazmet"})";
    text += '\n';
  }
  EXPECT_EQ("", readingError(text));
  EXPECT_EQ("F: line 10001: more than 10000 runs",
            readingError(text + text.substr(0, text.find('\n') + 1)));
}

TEST(ReadHostile, FilesThatCannotBeReadAreTold) {
  const TempFolder folder;
  for (const std::string& name : {folder.file("none"), folder.file("")}) {
    const auto done = reportkit::run({"info", name});
    EXPECT_EQ(2, done.code);
    EXPECT_EQ("", done.out);
    EXPECT_EQ(0u, done.err.find("tazreport: " + name + ": ")) << done.err;
    EXPECT_EQ(done.err.size() - 1, done.err.find('\n'));
  }
}

// What views look for among others must not be many: no file makes them take forever.
TEST(ReadHostile, MembersAndTablesAreBounded) {
  std::string parameters;
  for (int i = 0; i < 1001; ++i) parameters += ",\"p" + std::to_string(i) + "\":\"1\"";
  EXPECT_EQ(
      "F: line 2: parameters has more than 1000 members",
      readingError(kContext + replaced(row("f", "8x8", 1), "\"8x8\"", "\"8x8\"" + parameters)));
  // Rows that share neither size nor other parameters make a table of their product.
  std::string text = kContext;
  for (int i = 1; i <= 1500; ++i) {
    const std::string one = std::to_string(i);
    text += replaced(row("f", one + "x8", 1), "x8\"", "x8\",\"Mode\":\"" + one + '"');
  }
  const TempFolder folder;
  const std::string file = folder.write("sparse", text);
  EXPECT_EQ(0, reportkit::run({"show", file}).code);
  if (report::kChartLibrary.empty()) GTEST_SKIP() << "built without libjs-chart.js";
  const auto done = reportkit::run({"html", file, "-o", folder.file("page")});
  EXPECT_EQ(2, done.code);
  EXPECT_EQ("tazreport: " + file + ": more than 2000000 cells in the tables of a page, with f\n",
            done.err);
  EXPECT_EQ("", folder.read("page"));
}

// Texts in files reach terminals and pages: no view may be made to do something else by them.
TEST(ReadHostile, TextsLoseWhatMovesACursor) {
  const auto runs = report::readRuns("F", kContext + row("f\\u001b[2J", "8x8\\u202e", 1), {});
  EXPECT_EQ("f\uFFFD[2J", runs[0].rows[0].function);
  EXPECT_EQ("8x8\uFFFD", runs[0].rows[0].parameters[0].value);
}
