// Tests in child processes (-k): nothing changes where nothing crashes, and nothing is lost where
// something does.

#include <gtest/gtest.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <regex>
#include <string>
#include <vector>

#include "harnesskit.h"
#include "testpaths.h"
#include "tzinterrupt.h"

using harnesskit::Outcome;
using harnesskit::runProgram;
using harnesskit::Session;
using harnesskit::steadyLoop;
using harnesskit::StubTest;
using harnesskit::TempFolder;

namespace {

using Words = std::vector<std::string>;

// What may differ between two runs of one session: times, and what tells of the key itself.
std::string comparable(const std::string& text, const TempFolder& folder) {
  std::string same;
  for (std::string line : harnesskit::splitLines(text)) {
    if (line.find(" -k") == 0 || line.find("Command line options:") == 0) continue;
    line =
        std::regex_replace(line, std::regex("\\w{3} \\w{3} .\\d \\d\\d:\\d\\d:\\d\\d \\d{4}"), "T");
    line = std::regex_replace(line, std::regex("00:00:0\\d"), "00:00:0T");
    const size_t at = line.find(folder.path());
    if (at != std::string::npos) line.replace(at, folder.path().size(), "DIR");
    same += line + "\n";
  }
  return same;
}

// A stub that goes wrong at its second combination.
template <void (*act)()>
tzResult fallingLoop(int n, long long* clocks) {
  static int calls = 0;
  if (++calls > 1) act();
  *clocks = 500LL * n;
  return TZ_OK;
}

template <void (*act)()>
void registerFalling() {
  tzRegTest(new StubTest("stubBeta", steadyLoop<TZ_OK, 1600>));
  tzRegTest(new StubTest("stubAlpha", steadyLoop<TZ_OK, 800>));
  tzRegTest(new StubTest("stubBad", fallingLoop<act>));
}

volatile bool s_forever = true;

void hang() {
  while (s_forever) {
  }
}
void leave() { _exit(3); }

// A child asks its parent to be ended, and waits until that is handed on to it.
void requestEnd() {
  kill(getppid(), SIGTERM);
  for (int i = 0; i < 500 && tzInterrupt::signal() == 0; ++i) usleep(10000);
}

// The rows of one function.
Words rowsOf(const std::string& csv, const std::string& name) {
  Words rows;
  for (const std::string& line : harnesskit::splitLines(csv)) {
    if (line.find(name + ",") == 0) rows.push_back(line);
  }
  return rows;
}

}  // namespace

TEST(Children, ChangeNothingWhereNothingCrashes) {
  struct Case {
    std::string keys;
    std::string input;
  };
  const Case cases[] = {
      {"-B -r -u -q+ -q -o -m -H -f-__tz -dMethod=Manual", ""},
      {"-AAll -r -u -f-__tz", "Manual\n3\n\n\n\n\n\n\n4;5\n\n9\n"},
      {"-B -r -L INFO -f-__tz -dLength=8;8 -dNothing=1 -dMethod=Statistic", ""},
  };
  for (const Case& c : cases) {
    const TempFolder plainFolder;
    const TempFolder childFolder;
    const Outcome plain = Session(plainFolder).input(c.input).run(c.keys);
    const Outcome child = Session(childFolder).input(c.input).run(c.keys + " -k");
    EXPECT_EQ(plain.exitCode, child.exitCode);
    EXPECT_EQ(comparable(plain.console, plainFolder), comparable(child.console, childFolder));
    ASSERT_EQ(plainFolder.list(), childFolder.list());
    for (const std::string& file : plainFolder.list()) {
      EXPECT_EQ(comparable(plainFolder.read(file), plainFolder),
                comparable(childFolder.read(file), childFolder))
          << file;
    }
  }
}

TEST(Children, WhoseEndIsARowOfTheirOwn) {
  struct Case {
    void (*setup)();
    std::string reason;
    std::string note;
  };
  const Case cases[] = {
      {registerFalling<std::abort>, "exception: SIGABRT, Aborted", "SIGABRT"},
      {registerFalling<leave>, "exception: the process ended with exit code 3", "exit code 3"},
      {registerFalling<hang>, "exception: did not end within 1 s", "did not end"},
  };
  for (const Case& c : cases) {
    const TempFolder folder;
    const Outcome outcome =
        Session(folder).setup(c.setup).run("-B -r -u -q -f-__tz -dMethod=Manual -k1");
    EXPECT_EQ(1, outcome.exitCode);
    EXPECT_EQ(1u, outcome.lines("-- EXCPTFAIL: stubBad Length=16 - " + c.reason).size())
        << outcome.console;
    const std::string csv = folder.read("stub.csv");
    EXPECT_EQ((Words{"stubBad,Timing,8,62.5,px,nLps=10,OK",
                     "stubBad,Timing,16,-,px," + c.note + ",EXCPTFAIL"}),
              rowsOf(csv, "stubBad"));
    EXPECT_EQ(2u, rowsOf(csv, "stubAlpha").size()) << csv;
    EXPECT_EQ(2u, rowsOf(csv, "stubBeta").size()) << csv;
    EXPECT_EQ(1u, rowsOf(folder.read("stub_sum.csv"), "stubBad").size());
    EXPECT_TRUE(outcome.shows("Number of tests: 3 "));
    EXPECT_TRUE(outcome.shows(".....-EXCPTFAIL : 1 "));
  }
}

TEST(Children, AreEndedWithTheRun) {
  const TempFolder folder;
  const Outcome outcome =
      Session(folder).setup(registerFalling<requestEnd>).run("-B -r -f-__tz -dMethod=Manual -k");
  EXPECT_EQ(-SIGTERM, outcome.exitCode);
  EXPECT_EQ(1u, outcome.lines("-- SIGTERM: stubBad is given up").size()) << outcome.console;
  EXPECT_EQ(2u, rowsOf(folder.read("stub.csv"), "stubBad").size());
  EXPECT_NE(std::string::npos, folder.read("stub.csv").find("END_DATA"));
}

TEST(Children, ReportAFullDiskOnce) {
  const TempFolder folder;
  const Outcome outcome = Session(folder).run("-B -f-__tz -k -r /dev/full");
  EXPECT_EQ(1, outcome.exitCode);
  EXPECT_EQ(1u, outcome.lines("/dev/full: ").size()) << outcome.console;
}

TEST(Children, OutliveEveryFaultOfALibrary) {
  struct Fault {
    const char* name;
    const char* note;
  };
  const std::string bad = "rkdiRGBToY_JPEG_8u_C3C1R";
  const std::string good = "rkdiRGBToYCbCr_JPEG_8u_C3P3R";
  for (const Fault& fault : {Fault{"divides by zero", "SIGFPE"}, Fault{"illegal", "SIGILL"},
                             Fault{"writes to nowhere", "SIGSEGV"}, Fault{"aborts", "SIGABRT"},
                             Fault{"overruns the heap", "SIGABRT"}, Fault{"recurses", "SIGSEGV"},
                             Fault{"never returns", "did not end"}}) {
    const TempFolder folder;
    const std::string limit = std::string(fault.note) == "did not end" ? "-k2" : "-k";
    const Outcome outcome = runProgram(
        "/usr/bin/env",
        {std::string("LD_LIBRARY_PATH=") + TAZMET_OTHER_LIBRARY_DIR,
         std::string("TAZMET_OTHER_FAULT=") + fault.name, std::string(TAZMET_BIN_DIR) + "/tazmet",
         "-B", limit, "-dMethod=Manual", "-dNumLoops=1", "-dImageSize=64x48", "-r",
         "-l" + folder.path(), "-f=" + bad, "-f=" + good},
        folder.path());
    EXPECT_EQ(1, outcome.exitCode) << fault.name;
    const std::string csv = folder.read("tazmet.csv");
    const Words rows = rowsOf(csv, "rkdiRGBToY_JPEG");
    ASSERT_EQ(1u, rows.size()) << fault.name << "\n" << csv;
    std::string note = fault.note;
#if defined(__SANITIZE_ADDRESS__)
    if (std::string(fault.name) == "overruns the heap") note = "exit code 1";
#endif
    EXPECT_EQ(0u, rows[0].find("rkdiRGBToY_JPEG,8u,C3C1R,Timing,64x48,-,pxch,")) << rows[0];
    // What the overrun meets decides whether the heap notices or the processor.
    const bool isNoted = rows[0].find(note + ",EXCPTFAIL") != std::string::npos ||
                         (std::string(fault.name) == "overruns the heap" &&
                          rows[0].find("SIGSEGV,EXCPTFAIL") != std::string::npos);
    EXPECT_TRUE(isNoted) << outcome.console;
    EXPECT_EQ(1u, outcome.lines("-- EXCPTFAIL: " + bad).size()) << outcome.console;
    ASSERT_EQ(1u, rowsOf(csv, "rkdiRGBToYCbCr_JPEG").size()) << csv;
    EXPECT_TRUE(outcome.shows("Number of tests: 2 ")) << outcome.console;
  }
}
