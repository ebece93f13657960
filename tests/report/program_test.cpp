// The command line: help, refusals, exit codes.

#include <gtest/gtest.h>

#include "reportkit.h"

using reportkit::kContext;
using reportkit::kEnd;
using reportkit::row;
using reportkit::run;
using reportkit::TempFolder;

TEST(ReportProgram, HelpsAndRefusesInOneLine) {
  const auto help = run({"--help"});
  EXPECT_EQ(0, help.code);
  for (const report::CommandEntry& entry : report::commands()) {
    EXPECT_NE(std::string::npos, help.out.find(entry.name)) << entry.name;
    EXPECT_EQ(0, run({entry.name, "--help"}).code) << entry.name;
  }
  EXPECT_EQ(0u, run({"--version"}).out.find("tazreport 1."));
  const std::vector<std::vector<std::string>> wrong{
      {}, {"nothing"}, {"info"}, {"info", "--what", "F"}, {"--what"}, {"info", "a\x1b[2J\nb"}};
  for (const auto& words : wrong) {
    const auto refused = run(words);
    EXPECT_EQ(2, refused.code);
    EXPECT_EQ("", refused.out);
    EXPECT_EQ(0u, refused.err.find("tazreport: ")) << refused.err;
    EXPECT_EQ(refused.err.size() - 1, refused.err.find_first_of("\n\x1b")) << refused.err;
  }
}

TEST(ReportProgram, TellsWhatAFileHolds) {
  const TempFolder folder;
  const std::string path = folder.write(
      "a.jsonl", kContext + row("f", "8x8", 1) + row("f", "16x8", 1, "ACCURWRN") + kEnd);
  const auto told = run({"info", "--facts", path});
  EXPECT_EQ(0, told.code) << told.err;
  for (const char* part :
       {"Processor    Test CPU\n", "Code path    AVX2\n", "Functions    1\n",
        "Results      2 rows, OK 1, ACCURWRN 1\n", "Ended        2026-11-22T08:10:00Z\n",
        "Setting      Method = Spread\n", "Fact         cache_l2 = 1048576\n"}) {
    EXPECT_NE(std::string::npos, told.out.find(part)) << part << told.out;
  }
}

TEST(ReportProgram, TellsWhenItsOutputIsLost) {
  const TempFolder folder;
  const std::string path = folder.write("a.jsonl", kContext + row("f", "8x8", 1));
  std::ofstream full("/dev/full");
  std::ostringstream err;
  EXPECT_EQ(2, report::runProgram({"info", path}, {full, err}));
  EXPECT_EQ("tazreport: standard output: No space left on device\n", err.str());
}
