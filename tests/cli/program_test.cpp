// The built program itself: what a session in a forked child cannot show.

#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <string>
#include <vector>

#include "harnesskit.h"
#include "testpaths.h"

using harnesskit::holds;
using harnesskit::Outcome;
using harnesskit::runProgram;
using harnesskit::splitLines;
using harnesskit::TempFolder;

namespace {

using Words = std::vector<std::string>;

const std::string kProgram = std::string(TAZMET_BIN_DIR) + "/tazmet";

// One small measured size: two functions, some milliseconds.
const Words kSmall = {"-B",
                      "-f=rkdiAdd128_JPEG_16s8u_C1R",
                      "-f=rkdiSub128_JPEG_8u16s_C1R",
                      "-dImageSize=32x16",
                      "-r",
                      "-u",
                      "-o",
                      "-g"};

Words with(Words keys, const Words& more) {
  keys.insert(keys.end(), more.begin(), more.end());
  return keys;
}

Words cells(const std::string& line) {
  Words found;
  size_t at = 0;
  for (size_t comma; (comma = line.find(',', at)) != std::string::npos; at = comma + 1) {
    found.push_back(line.substr(at, comma - at));
  }
  found.push_back(line.substr(at));
  return found;
}

// A result row without what may differ from run to run: clocks, note, OK against ACCURWRN.
std::string steadyPart(const std::string& line) {
  Words row = cells(line);
  if (row.size() < 5) return line.find("Start") == 0 || line.find("Total time") != 5 ? "" : line;
  if (row.back() == "ACCURWRN") row.back() = "OK";
  row[row.size() - 4] = row[row.size() - 2] = "";
  std::string steady;
  for (const std::string& cell : row) steady += cell + ",";
  return steady;
}

// Instructions that callgrind counts.
long long instructions(const std::string& key, const TempFolder& folder) {
  const Outcome outcome = runProgram(
      "/usr/bin/valgrind", {"--tool=callgrind", "--callgrind-out-file=/dev/null", kProgram, key},
      folder.path());
  const std::string label = "Collected : ";
  const size_t at = outcome.console.find(label);
  EXPECT_NE(std::string::npos, at) << outcome.console;
  return at == std::string::npos ? 0 : std::stoll(outcome.console.substr(at + label.size()));
}

}  // namespace

TEST(Program, MeasuresAndWritesAllItsFiles) {
  const TempFolder folder;
  const Outcome outcome = runProgram(kProgram, with(kSmall, {"-l", folder.path()}), folder.path());
  EXPECT_EQ(0, outcome.exitCode) << outcome.console;
  EXPECT_EQ((Words{"tazmet.csv", "tazmet.end", "tazmet.txt", "tazmet_sum.csv"}), folder.list());
  const Words measured = outcome.lines(" rkdiAdd128_JPEG_16s8u_C1R  ImageSize=32x16");
  ASSERT_EQ(1u, measured.size()) << outcome.console;
  EXPECT_TRUE(holds(measured[0], "%NUM% clocks/px  nLps=%NUM%")) << measured[0];
  EXPECT_TRUE(outcome.shows("Number of tests: 2 "));

  Words rows;
  for (const std::string& line : splitLines(folder.read("tazmet.csv"))) {
    if (line.find(",Timing,") != std::string::npos) rows.push_back(line);
  }
  ASSERT_EQ(2u, rows.size()) << folder.read("tazmet.csv");
  // Three name cells, the kind, the size, then clocks, unit, note and result.
  const Words row = cells(rows.front());
  ASSERT_EQ(9u, row.size()) << rows.front();
  EXPECT_EQ("Timing", row[3]);
  EXPECT_EQ("32x16", row[4]);
  EXPECT_GT(std::stod(row[5]), 0.0);
  EXPECT_LT(std::stod(row[5]), 1000.0);
  EXPECT_EQ("px", row[6]);

  const std::string summary = folder.read("tazmet_sum.csv");
  EXPECT_NE(std::string::npos, summary.find("TimjAdd//RK_REG,")) << summary;
  EXPECT_NE(std::string::npos, folder.read("tazmet.end").find("Exit code: 0\n"));
}

TEST(Program, GivesTheSameTableAgainAlsoFromTheIniFileItWrote) {
  const TempFolder folder;
  const Words there = {"-l", folder.path(), "-p", folder.path()};
  EXPECT_EQ(0, runProgram(kProgram, with({"-I", "-fAdd128"}, there), folder.path()).exitCode);
  const std::string ini = folder.read("tazmet.ini");
  EXPECT_NE(std::string::npos, ini.find("[rkdiAdd128_JPEG_16s8u_C1R]")) << ini;

  runProgram(kProgram, with({"-B", "-fAdd128", "-rplain.csv"}, there), folder.path());
  runProgram(kProgram, with({"-B", "-i", "-P", "-ragain.csv"}, there), folder.path());
  const Words plain = splitLines(folder.read("plain.csv"));
  const Words again = splitLines(folder.read("again.csv"));
  ASSERT_GT(plain.size(), 8u);
  ASSERT_EQ(plain.size(), again.size());
  for (size_t i = 0; i < plain.size(); ++i) EXPECT_EQ(steadyPart(plain[i]), steadyPart(again[i]));
}

TEST(Program, KnowsItselfByTheNameItWasCalledBy) {
  const TempFolder folder;
  std::filesystem::create_symlink(kProgram, folder.file("other"));
  folder.write("other.cfg", "-e -o\n");
  const Outcome outcome = runProgram(folder.file("other"), {"-fAdd128"}, folder.path());
  EXPECT_TRUE(outcome.shows("read from " + folder.file("other.cfg") + " file\n"))
      << outcome.console;
  EXPECT_TRUE(outcome.shows("rkdiAdd128_JPEG_16s8u_C1R"));
  EXPECT_TRUE(folder.exists("other.txt"));
}

TEST(Program, ReportsAFullDiskOnceAndExitsWithOne) {
  const TempFolder folder;
  const Outcome outcome = runProgram(
      kProgram, {"-B", "-f=rkdiAdd128_JPEG_16s8u_C1R", "-dImageSize=16x16", "-r/dev/full"},
      folder.path());
  EXPECT_EQ(1, outcome.exitCode);
  EXPECT_EQ(1u, outcome.lines("/dev/full: ").size()) << outcome.console;
}

TEST(Program, ComparesFunctionsWithTheirReferences) {
  const TempFolder folder;
  const Outcome outcome = runProgram(
      kProgram,
      {"-B", "-VONLY", "-fAdd128", "-fSub128", "-dImageSize=32x16", "-l", folder.path(), "-r"},
      folder.path());
  EXPECT_EQ(0, outcome.exitCode) << outcome.console;
  EXPECT_NE(std::string::npos, folder.read("tazmet.csv").find(",verified,OK")) << outcome.console;
  EXPECT_FALSE(outcome.shows("clocks/px"));
}

TEST(Program, TellsTheCodePathThatAProcessorTypeSelected) {
  const TempFolder folder;
  const auto run = [&](const std::string& key) {
    return runProgram(kProgram, with(kSmall, {"-l", folder.path(), key}), folder.path());
  };
  for (const auto& [key, path] : {std::pair{"-TSSSE3", "SSSE3"}, {"-TSSE41", "SSE4"}}) {
    const Outcome outcome = run(key);
    EXPECT_EQ(0, outcome.exitCode) << outcome.console;
    EXPECT_TRUE(outcome.shows("--status = rkdStsNoErr\n")) << outcome.console;
    EXPECT_TRUE(outcome.shows(std::string("\n| Code path: ") + path + " ")) << outcome.console;
    for (const char* table : {"tazmet.csv", "tazmet_sum.csv"}) {
      EXPECT_NE(std::string::npos,
                folder.read(table).find(std::string("\nCode path,") + path + "\n"))
          << folder.read(table);
    }
  }
  // Emulated vectors are said to be emulated.
  const Outcome lowest = run("-TSSE2");
  EXPECT_NE(lowest.shows("\n| Code path: SSE2 "), lowest.shows("\n| Code path: EMU128 (emulated) "))
      << lowest.console;
}

TEST(Program, ListsTheFunctionsOfTheLoadedLibrary) {
  const TempFolder folder;
  const Outcome all = runProgram(kProgram, {"-e+"}, folder.path());
  EXPECT_TRUE(all.shows("\trkdiAdd128_JPEG_16s8u_C1R\tyes\n")) << all.console;
  EXPECT_TRUE(all.shows("\trkdsZero_8u\tno\n"));
  EXPECT_FALSE(all.shows("\trkdGetCpuType\t"));  // a helper
  EXPECT_FALSE(all.shows("__tz"));               // of the harness, not of the library

  const Outcome untested = runProgram(kProgram, {"-e-"}, folder.path());
  EXPECT_FALSE(untested.shows("\tyes\n"));
  EXPECT_TRUE(untested.shows("\trkdsZero_8u\tno\n"));

  // Conditions select functions without a test by their names.
  EXPECT_EQ(1u, runProgram(kProgram, {"-e-", "-fZero_8u"}, folder.path()).lines("\tno").size());
}

TEST(Program, MeasuresInCacheAndOutOfIt) {
  const TempFolder folder;
  const Outcome outcome =
      runProgram(kProgram, {"-B", "-C", "-f=rkdiAdd128_JPEG_16s8u_C1R", "-l", folder.path(), "-r"},
                 folder.path());
  EXPECT_EQ(0, outcome.exitCode) << outcome.console;
  const std::string table = folder.read("tazmet.csv");
  EXPECT_EQ(1u, outcome.lines("In-Outof-Cache=inCache ").size()) << outcome.console;
  EXPECT_NE(std::string::npos, table.find(",inCache,")) << table;
  // Very large caches need more memory than the harness takes.
  if (outcome.shows("given up")) return;
  EXPECT_EQ(1u, outcome.lines("In-Outof-Cache=outofCache ").size()) << outcome.console;
  EXPECT_NE(std::string::npos, table.find(",outofCache,")) << table;
}

TEST(Program, HelpVersionAndListingAreCheap) {
  if (access("/usr/bin/valgrind", X_OK) != 0) GTEST_SKIP() << "valgrind is not installed";
  const TempFolder folder;
  for (const char* key : {"-h", "-v", "-e"}) {
    EXPECT_LT(instructions(key, folder), 100'000'000) << key;
  }
}
