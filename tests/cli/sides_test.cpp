// Two builds, or code paths of one, side by side (-D, -c): the whole program with substitute
// libraries, one of which does 38 times what the other does 25 times.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <sstream>
#include <string>
#include <vector>

#include "harnesskit.h"
#include "testpaths.h"

using harnesskit::Outcome;
using harnesskit::runProgram;
using harnesskit::TempFolder;
using testing::Each;
using testing::ElementsAre;
using testing::Ge;

namespace {

using Words = std::vector<std::string>;

const std::string kGrey = "rkdiRGBToY_JPEG_8u_C3C1R";
const std::string kPlanes = "rkdiRGBToYCbCr_JPEG_8u_C3P3R";
const std::string kLacked = "rkdiBGRToY_JPEG_8u_C3C1R";
const std::string kOther = TAZMET_OTHER_LIBRARY_DIR;
const std::string kSlower = TAZMET_SLOWER_LIBRARY_DIR;

// @param first  folder of the first side's libraries; empty: the bundled ones
Outcome compare(const TempFolder& folder, const std::string& first, const Words& keys,
                const std::string& fault = "") {
  Words words = {"LD_LIBRARY_PATH=" + first,
                 "TAZMET_OTHER_FAULT=" + fault,
                 std::string(TAZMET_BIN_DIR) + "/tazmet",
                 "-dImageSize=32x16",
                 "-r",
                 "-j",
                 "-l" + folder.path()};
  words.insert(words.end(), keys.begin(), keys.end());
  return runProgram("/usr/bin/env", words, folder.path());
}

// The cells of the table's row of a function; the first is its name part.
Words rowOf(const TempFolder& folder, const std::string& name) {
  for (const std::string& line : harnesskit::splitLines(folder.read("tazmet.csv"))) {
    if (line.find(name + ",") != 0) continue;
    Words cells(1);
    for (const char c : line) {
      if (c == ',') {
        cells.emplace_back();
      } else {
        cells.back() += c;
      }
    }
    return cells;
  }
  return {};
}

// Where the cells are: name (3), kind, size, clocks, unit, side, its clocks, ratio, low, high.
constexpr size_t kRatio = 9;
constexpr size_t kVerdict = 12;

double number(const std::string& text) { return std::strtod(text.c_str(), nullptr); }

std::string validated(const TempFolder& folder) {
  const std::string here = TAZMET_TEST_DATA;
  return runProgram("/usr/bin/python3",
                    {here + "/validate_lines.py", here + "/../../docs/results.schema.json",
                     folder.file("tazmet.jsonl")},
                    folder.path())
      .console;
}

// The sets of processes of every row that was compared, in the order of the rows.
std::vector<size_t> setsOf(const TempFolder& folder) {
  std::vector<size_t> counts;
  std::istringstream lines(folder.read("tazmet.jsonl"));
  for (std::string line; std::getline(lines, line);) {
    size_t count = 0;
    const std::string set = "\"sides\":";
    for (size_t at = line.find(set); at != std::string::npos; at = line.find(set, at + 1)) ++count;
    if (line.find("\"type\":\"comparison\"") != std::string::npos) counts.push_back(count);
  }
  return counts;
}

}  // namespace

TEST(Sides, APlantedSlowdownIsFoundAndEndsWithOne) {
  const TempFolder folder;
  const Outcome outcome =
      compare(folder, kOther, {"-D" + kSlower, "-f=" + kGrey, "-f=" + kPlanes, "-f=" + kLacked});
  EXPECT_EQ(1, outcome.exitCode) << outcome.console;
  for (const char* name : {"rkdiRGBToY_JPEG", "rkdiRGBToYCbCr_JPEG"}) {
    const Words row = rowOf(folder, name);
    ASSERT_EQ(13u, row.size()) << folder.read("tazmet.csv");
    EXPECT_EQ("slower", row[kVerdict]) << outcome.console;
    // How exactly is a matter of the trust tools: a test has neighbours.
    EXPECT_NEAR(38.0 / 25, number(row[kRatio]), 0.15) << outcome.console;
    EXPECT_EQ(kSlower, row[7]);
  }
  EXPECT_EQ(1u, outcome.lines(" Compared   : 2, slower 2, faster 0, same 0, unresolved 0").size())
      << outcome.console;
  EXPECT_EQ("1 2 1 0\n", validated(folder));
  EXPECT_THAT(setsOf(folder), Each(Ge(5u))) << "three that agree are no proof";

  // The other way round, and above the gate.
  EXPECT_EQ(0, compare(folder, kSlower, {"-D" + kOther, "-f=" + kGrey}).exitCode);
  EXPECT_EQ("faster", rowOf(folder, "rkdiRGBToY_JPEG")[kVerdict]);
  const Outcome gated = compare(folder, kOther, {"-D" + kSlower, "-f=" + kGrey, "-dGate=90"});
  EXPECT_EQ(0, gated.exitCode) << gated.console;
  EXPECT_EQ("same", rowOf(folder, "rkdiRGBToY_JPEG")[kVerdict]) << gated.console;
  EXPECT_THAT(setsOf(folder), ElementsAre(3u)) << "nothing seems to differ";
}

TEST(Sides, ABuildIsNeitherFasterNorSlowerThanItself) {
  const TempFolder folder;
  const Outcome outcome = compare(folder, kOther, {"-D" + kOther, "-f=" + kGrey, "-f=" + kPlanes});
  EXPECT_EQ(0, outcome.exitCode) << outcome.console;
  EXPECT_TRUE(outcome.shows(" load the same libraries\n")) << outcome.console;
  EXPECT_FALSE(outcome.shows("executed anew")) << outcome.console;
  for (const char* name : {"rkdiRGBToY_JPEG", "rkdiRGBToYCbCr_JPEG"}) {
    const Words row = rowOf(folder, name);
    ASSERT_EQ(13u, row.size()) << folder.read("tazmet.csv");
    EXPECT_TRUE(row[kVerdict] == "same" || row[kVerdict] == "unresolved") << outcome.console;
    EXPECT_NEAR(1, number(row[kRatio]), 0.02) << outcome.console;
  }
}

TEST(Sides, AFaultOnOneSideIsARowAndTheOthersAreCompared) {
  for (const char* fault : {"aborts", "writes to nowhere"}) {
    const TempFolder folder;
    const Outcome outcome = compare(
        folder, "", {"-D" + kOther, "-f=" + kGrey, "-f=" + kPlanes, "-f=" + kLacked}, fault);
    EXPECT_EQ(1, outcome.exitCode) << outcome.console;
    EXPECT_EQ(1u, outcome.lines("-- EXCPTFAIL: " + kGrey + " ImageSize=32x16 - " + kOther).size())
        << outcome.console;
    EXPECT_EQ(1u, outcome.lines("-- not compared: " + kLacked).size()) << outcome.console;
    const Words row = rowOf(folder, "rkdiRGBToYCbCr_JPEG");
    ASSERT_EQ(13u, row.size()) << folder.read("tazmet.csv");
    EXPECT_EQ("slower", row[kVerdict]);
    EXPECT_GT(number(row[kRatio]), 10);
  }
}

TEST(Sides, CodePathsAreColumnsOfOneTable) {
  const TempFolder folder;
  const Outcome outcome =
      compare(folder, "", {"-cSSSE3,SSE41,SSSE3", "-f=rkdiDCTQuantFwd8x8LS_JPEG_8u16s_C1R"});
  EXPECT_TRUE(outcome.shows("  SSE41: code path SSE4\n")) << outcome.console;
  EXPECT_TRUE(outcome.shows("-- SSSE3 and SSSE3 have the same code path\n")) << outcome.console;
  const Words row = rowOf(folder, "rkdiDCTQuantFwd8x8LS_JPEG");
  ASSERT_EQ(20u, row.size()) << folder.read("tazmet.csv");
  EXPECT_EQ("SSE41", row[8]);
  EXPECT_EQ("SSSE3", row[14]);
  EXPECT_TRUE(row[19] == "same" || row[19] == "unresolved") << outcome.console;
  EXPECT_EQ("1 1 1 0\n", validated(folder));
}
