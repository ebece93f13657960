// The built program with another build of one of its libraries, as docs/another-library.md tells.

#include <gtest/gtest.h>

#include <cstdlib>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "harnesskit.h"
#include "testpaths.h"

using harnesskit::Outcome;
using harnesskit::runProgram;
using harnesskit::TempFolder;

namespace {

using Words = std::vector<std::string>;

const std::string kProgram = std::string(TAZMET_BIN_DIR) + "/tazmet";

// The functions that the other library has, the last with a fault, and one that it lacks, that
// comes before them and has the same work as the first.
const std::string kGrey = "rkdiRGBToY_JPEG_8u_C3C1R";
const std::string kPlanes = "rkdiRGBToYCbCr_JPEG_8u_C3P3R";
const std::string kFaulty = "rkdiYCbCrToRGB_JPEG_8u_P3C3R";
const std::string kLacked = "rkdiBGRToY_JPEG_8u_C3C1R";

// Empty folder: the bundled libraries.
Outcome run(const TempFolder& folder, const std::string& libraries, const Words& keys,
            const std::string& fault = "") {
  Words words = {"LD_LIBRARY_PATH=" + libraries, "TAZMET_OTHER_FAULT=" + fault, kProgram};
  words.insert(words.end(), keys.begin(), keys.end());
  return runProgram("/usr/bin/env", words, folder.path());
}

Words measuring(const TempFolder& folder, const Words& functions, const Words& more = {}) {
  Words keys = {"-B", "-dImageSize=64x48", "-r", "-l", folder.path()};
  for (const std::string& function : functions) keys.push_back("-f=" + function);
  keys.insert(keys.end(), more.begin(), more.end());
  return keys;
}

struct Row {
  double clocks;
  std::string result;
};

// The result table's rows by function name.
std::map<std::string, Row> table(const TempFolder& folder) {
  std::map<std::string, Row> rows;
  std::istringstream text(folder.read("tazmet.csv"));
  for (std::string line; std::getline(text, line);) {
    std::istringstream in(line);
    Words cells;
    for (std::string cell; std::getline(in, cell, ',');) cells.push_back(cell);
    if (cells.size() != 9 || cells[3] != "Timing") continue;
    rows[cells[0] + "_" + cells[1] + "_" + cells[2]] = {std::strtod(cells[5].c_str(), nullptr),
                                                        cells[8]};
  }
  return rows;
}

}  // namespace

TEST(OtherLibrary, IsLoadedFromTheSearchPathAndTold) {
  const TempFolder folder;
  const std::string told = "Library  : librkdcolor.so.1, 0.1.0 (another), 2020-02-02 ";
  EXPECT_FALSE(run(folder, "", measuring(folder, {kGrey})).shows(told));
  const Outcome other = run(folder, TAZMET_OTHER_LIBRARY_DIR, measuring(folder, {kGrey}));
  EXPECT_EQ(1u, other.lines(told).size()) << other.console;

  // The lists of functions are those of the libraries that are loaded.
  EXPECT_TRUE(run(folder, "", {"-e+", "-f" + kLacked}).shows("\t" + kLacked + "\tyes\n"));
  const Outcome listed = run(folder, TAZMET_OTHER_LIBRARY_DIR, {"-e+"});
  EXPECT_TRUE(listed.shows("\t" + kGrey + "\tyes\n")) << listed.console;
  EXPECT_FALSE(listed.shows("\t" + kLacked + "\tyes\n"));
}

TEST(OtherLibrary, SlowerFunctionsTakeMoreClocks) {
  const TempFolder folder;
  ASSERT_EQ(0, run(folder, "", measuring(folder, {kGrey, kPlanes})).exitCode);
  const auto bundled = table(folder);
  ASSERT_EQ(0, run(folder, TAZMET_OTHER_LIBRARY_DIR, measuring(folder, {kGrey, kPlanes})).exitCode);
  const auto other = table(folder);
  ASSERT_EQ(2u, bundled.size());
  ASSERT_EQ(2u, other.size());
  for (const auto& [name, row] : bundled) {
    EXPECT_GT(row.clocks, 0) << name;
    EXPECT_GT(other.at(name).clocks, 10 * row.clocks) << name;
  }
}

TEST(OtherLibrary, FunctionsItLacksAreSkippedAndTheRunGoesOn) {
  const TempFolder folder;
  const Outcome outcome = run(folder, TAZMET_OTHER_LIBRARY_DIR,
                              measuring(folder, {kLacked, kGrey, "rkdiICTFwd_JPEG2K_32s_P3IR"}));
  EXPECT_EQ(0, outcome.exitCode) << outcome.console;
  EXPECT_EQ(2u, outcome.lines("the library lacks the function").size()) << outcome.console;
  EXPECT_EQ(1u, outcome.lines(" " + kGrey + "  ImageSize=64x48").size()) << outcome.console;
  EXPECT_TRUE(outcome.shows("Number of tests: 3 ")) << outcome.console;
  EXPECT_EQ(1u, table(folder).size()) << folder.read("tazmet.csv");
}

TEST(OtherLibrary, PreloadedFunctionsReplaceOnlyThemselves) {
#if defined(__SANITIZE_ADDRESS__)
  GTEST_SKIP() << "the sanitizer's own library wants to be the first";
#endif
  const TempFolder folder;
  Words words = measuring(folder, {kLacked, kGrey});
  words.insert(words.begin(), {std::string("LD_PRELOAD=") + TAZMET_OTHER_FUNCTIONS, kProgram});
  EXPECT_EQ(0, runProgram("/usr/bin/env", words, folder.path()).exitCode);
  auto rows = table(folder);
  EXPECT_GT(rows[kLacked].clocks, 0) << folder.read("tazmet.csv");
  EXPECT_GT(rows[kGrey].clocks, 10 * rows[kLacked].clocks);
}

TEST(OtherLibrary, ComparisonCatchesItsFault) {
  const TempFolder folder;
  for (const char* key : {"-V", "-VONLY"}) {
    const Outcome outcome =
        run(folder, TAZMET_OTHER_LIBRARY_DIR, measuring(folder, {kGrey, kPlanes, kFaulty}, {key}));
    EXPECT_EQ(1, outcome.exitCode) << outcome.console;
    EXPECT_EQ(1u, outcome.lines("-- FUNCFAIL: " + kFaulty).size()) << outcome.console;
    auto rows = table(folder);
    EXPECT_EQ("FUNCFAIL", rows[kFaulty].result) << folder.read("tazmet.csv");
    EXPECT_EQ(0, rows[kFaulty].clocks);
    for (const std::string& right : {kGrey, kPlanes}) {
      EXPECT_TRUE(rows[right].result == "OK" || rows[right].result == "ACCURWRN")
          << folder.read("tazmet.csv");
    }
  }
  // Without it the wrong function is timed like any other.
  EXPECT_EQ(0, run(folder, TAZMET_OTHER_LIBRARY_DIR, measuring(folder, {kFaulty})).exitCode);
}

// At the sizes of the run, whose rows fill whole vectors and whose operands end anywhere, none of
// these differs from a right function.
TEST(OtherLibrary, ComparisonCatchesWhatTheSizesOfTheRunHide) {
  struct Fault {
    const char* name;
    const char* result;
    const char* reason;
  };
  const TempFolder folder;
  for (const Fault& fault :
       {Fault{"no tail", "FUNCFAIL", " - at ImageSize=67x37: buffer 2 element "},
        Fault{"writes 64", "EXCPTFAIL",
              "SIGSEGV, Illegal storage access. byte 1 past the end of buffer 2"},
        Fault{"writes between rows", "FUNCFAIL", " column 48, behind the row) is "},
        Fault{"reads past", "EXCPTFAIL",
              "SIGSEGV, Illegal storage access. byte 1 past the end of buffer 1"},
        Fault{"reads before", "EXCPTFAIL",
              "SIGSEGV, Illegal storage access. byte 1 before the start of buffer 1"},
        Fault{"aligned", "EXCPTFAIL", " - at ImageSize="}}) {
    const Outcome outcome = run(folder, TAZMET_OTHER_LIBRARY_DIR,
                                measuring(folder, {kGrey, kPlanes}, {"-VONLY"}), fault.name);
    EXPECT_EQ(1, outcome.exitCode) << fault.name;
    const auto told = outcome.lines(std::string("-- ") + fault.result + ": " + kGrey);
    ASSERT_EQ(1u, told.size()) << fault.name << "\n" << outcome.console;
    EXPECT_NE(std::string::npos, told[0].find(fault.reason)) << told[0];
    EXPECT_EQ(1u, outcome.lines(" " + kPlanes + "  ImageSize=64x48").size()) << outcome.console;
    EXPECT_EQ(fault.result, table(folder)[kGrey].result) << folder.read("tazmet.csv");
  }
}

TEST(OtherLibrary, SizesThatAFunctionRefusesAreSkippedWithTheReason) {
  const TempFolder folder;
  const std::string pairs = "rkdiYCbCr422ToRGB_JPEG_8u_C2C3R";
  const std::string reason = "4:2:2 rows are whole pairs of pixels";
  for (const Words& more : {Words{}, Words{"-V"}, Words{"-VONLY"}}) {
    Words keys = measuring(folder, {pairs}, more);
    keys.push_back("-dImageSize=7x5;64x48");
    const Outcome outcome = run(folder, "", keys);
    EXPECT_EQ(0, outcome.exitCode) << outcome.console;
    EXPECT_EQ(1u, outcome.lines("-- skipped: " + pairs + " ImageSize=7x5 - " + reason).size())
        << outcome.console;
    EXPECT_EQ(1u, outcome.lines(" " + pairs + "  ImageSize=64x48").size()) << outcome.console;
    const std::string csv = folder.read("tazmet.csv");
    EXPECT_NE(std::string::npos, csv.find(",7x5,-,pxch,skipped: " + reason + ",UNDEFINED")) << csv;
  }
  const Outcome alone = run(folder, "", {"-B", "-dImageSize=7x5", "-f=" + pairs});
  EXPECT_EQ(0, alone.exitCode) << alone.console;
  EXPECT_TRUE(alone.shows("UNDEFINED")) << alone.console;
}
