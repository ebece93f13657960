// What a run must never do: destroy a file, mix two outputs, leave a row half written, or pass over
// what the user gave.

#include <gtest/gtest.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <string>
#include <vector>

#include "harnesskit.h"
#include "tzcache.h"
#include "tzistream.h"
#include "tzmemory.h"

using harnesskit::Outcome;
using harnesskit::registerStubs;
using harnesskit::Session;
using harnesskit::steadyLoop;
using harnesskit::StubTest;
using harnesskit::TempFolder;

namespace {

using Words = std::vector<std::string>;

constexpr uid_t kNobody = 65534;

// As a user who is not root and may do with the folder what its mode lets everybody do.
void becomeNobody(const TempFolder& folder, mode_t mode) {
  registerStubs();
  if (geteuid() != 0) return;
  chmod(folder.path().c_str(), mode);
  if (setgid(kNobody) != 0 || seteuid(kNobody) != 0) _exit(126);
}

bool contains(const std::string& text, const std::string& part) {
  return text.find(part) != std::string::npos;
}

}  // namespace

// ---- ini files ----

TEST(IniSafety, WhatIsNoIniFileIsLeftAsItIs) {
  const std::string binary("[a]\nb=1\n\0c", 10);
  const std::string endless = "[a]\n" + std::string((1 << 20) + 1, 'x') + "\nb=1\n";
  for (const std::string& text : {binary, endless, std::string("Function,Clocks\nf,1\n")}) {
    const TempFolder folder;
    folder.write("a.ini", text);
    const Outcome outcome = Session(folder).run("-I a.ini");
    EXPECT_TRUE(outcome.shows("FATAL ERROR: can't open ini-file for writing\n")) << outcome.console;
    EXPECT_EQ(text, folder.read("a.ini"));
    EXPECT_EQ(0, outcome.exitCode);
    EXPECT_EQ(2, Session(folder).run("-W -I a.ini").exitCode);
  }
}

TEST(IniSafety, WhatCannotBeReadIsNotRewritten) {
  const TempFolder folder;
  folder.write("a.ini", "[a]\nb=1\n");
  chmod(folder.file("a.ini").c_str(), 0222);
  const Outcome outcome =
      Session(folder).setup([&] { becomeNobody(folder, 0777); }).run("-I a.ini");
  EXPECT_TRUE(outcome.shows("FATAL ERROR: ")) << outcome.console;
  chmod(folder.file("a.ini").c_str(), 0666);
  EXPECT_EQ("[a]\nb=1\n", folder.read("a.ini"));
}

TEST(IniSafety, OneFileIsReadAndTheOtherWrittenInAnyOrder) {
  const std::string given = "[stubAlpha]\nLength=4 // mine\n";
  for (const char* keys : {"-i a.ini -I b.ini -fAlpha", "-I b.ini -i a.ini -fAlpha"}) {
    const TempFolder folder;
    folder.write("a.ini", given);
    const Outcome outcome = Session(folder).run(keys);
    EXPECT_EQ(given, folder.read("a.ini")) << keys;
    EXPECT_TRUE(contains(folder.read("b.ini"), "[stubAlpha]\nLength=4\n")) << folder.read("b.ini");
    EXPECT_TRUE(outcome.shows("Parameters written to " + folder.file("b.ini")));
  }
}

TEST(IniSafety, OfSeveralTheLastCountsAndTheOthersSaySo) {
  const TempFolder folder;
  folder.write("a.ini", "[stubAlpha]\nLength=4\n");
  folder.write("b.ini", "[stubAlpha]\nLength=2\n");
  const Outcome outcome = Session(folder).run("-i a.ini -i b.ini -fAlpha -r a.ini");
  EXPECT_TRUE(outcome.shows("-ia.ini            ignored: the last -i counts\n")) << outcome.console;
  EXPECT_TRUE(outcome.shows("Length=2"));
  EXPECT_TRUE(outcome.shows("results written to " + folder.file("a.ini"))) << "nobody reads it";
}

TEST(IniSafety, WhatIsWrittenIsWhatTheRunWouldUse) {
  const TempFolder folder;
  Session(folder).run("-I -dAccuracy=1e6 -dMutualVectorShift=65 -dMethod=Guess -fAlpha");
  const std::string ini = folder.read("stub.ini");
  for (const char* line : {"Accuracy=100\n", "MutualVectorShift=64\n", "Method=Auto\n"}) {
    EXPECT_TRUE(contains(ini, line)) << line << ini;
  }
}

TEST(IniSafety, KeysThatStopTheRunAreFoundBeforeAnythingIsRewritten) {
  const std::string ini = "[stubAlpha]\nLength=4\n";
  for (const char* keys :
       {"-I a.ini -r missing/x", "-r old.csv -I a.ini -u missing/x",
        "-r old.csv -u new.csv -g missing/x", "-r old.csv -I missing/x", "-r old.csv -u ."}) {
    const TempFolder folder;
    folder.write("a.ini", ini);
    folder.write("old.csv", "old\n");
    const Outcome outcome = Session(folder).run(keys);
    EXPECT_TRUE(outcome.shows("FATAL ERROR: ")) << outcome.console;
    EXPECT_EQ(ini, folder.read("a.ini")) << keys;
    EXPECT_EQ("old\n", folder.read("old.csv")) << keys;
    EXPECT_EQ((Words{"a.ini", "old.csv"}), folder.list()) << keys;
  }
}

// ---- one file, one use ----

TEST(OneUse, OfEveryFileIsAllowed) {
  const struct {
    Words keys;
    const char* refusal;
  } cases[] = {
      {{"-r", "x", "-u", "x"}, "-ux                ignored: -r writes the same file"},
      {{"-o", "x", "-O", "./x"}, "-O./x              ignored: -o writes the same file"},
      {{"-q", "x", "-m", "sub/../x"}, "-msub/../x         ignored: -q writes the same file"},
      {{"-U", "x", "-g", "x"}, "-gx                ignored: -U writes the same file"},
      {{"-g", "x", "-R", "x"}, "-Rx                ignored: -g writes the same file"},
      {{"-i", "a.ini", "-r", "a.ini"}, "-ra.ini            ignored: -i reads the same file"},
      {{"-r", "a.ini", "-i", "a.ini"}, "-ia.ini            ignored: -r writes the same file"},
      {{"-I", "a.ini", "-o", "a.ini"}, "-oa.ini            ignored: -I writes the same file"},
      {{"-r", "hard", "-u", "a.ini"}, "-ua.ini            ignored: -r writes the same file"},
      {{"-r", "dangling", "-u", "x"}, "-ux                ignored: -r writes the same file"},
      {{"-r", "stub.cfg"}, "-rstub.cfg         ignored: the command file reads the same file"},
      {{"-r", "out"}, "-rout              ignored: standard output writes the same file"},
  };
  for (const auto& c : cases) {
    const TempFolder folder;
    std::filesystem::create_directory(folder.file("sub"));
    folder.write("a.ini", "[stubAlpha]\n");
    folder.write("stub.cfg", "-B\n");
    std::filesystem::create_hard_link(folder.file("a.ini"), folder.file("hard"));
    std::filesystem::create_symlink("x", folder.file("dangling"));
    std::filesystem::create_symlink(folder.path() + ".out", folder.file("out"));
    const Outcome outcome = Session(folder).run(c.keys);
    EXPECT_TRUE(outcome.shows(c.refusal)) << c.keys.back() << "\n" << outcome.console;
    EXPECT_EQ("-B\n", folder.read("stub.cfg"));
  }
}

TEST(OneUse, DoesNotConcernDevicesAndCompletedIniFiles) {
  const TempFolder folder;
  folder.write("a.ini", "[stubAlpha]\nLength=4\n");
  const Outcome outcome =
      Session(folder).run("-r /dev/null -u /dev/null -i a.ini -I a.ini -fAlpha");
  EXPECT_FALSE(outcome.shows("ignored")) << outcome.console;
  EXPECT_TRUE(contains(folder.read("a.ini"), "[stubAlpha]\nLength=4\n")) << folder.read("a.ini");
  EXPECT_TRUE(contains(folder.read("a.ini"), "Method=Auto"));
}

TEST(OneUse, ASecondRunOfTheSameTableIsRefused) {
  const TempFolder folder;
  folder.write("t.csv", "first\n");
  const int other = open(folder.file("t.csv").c_str(), O_WRONLY);
  ASSERT_EQ(0, flock(other, LOCK_EX));
  for (const char* keys : {"-r t.csv", "-R t.csv"}) {
    const Outcome outcome = Session(folder).run(keys);
    EXPECT_TRUE(outcome.shows("t.csv to write: another run is writing it\nFATAL ERROR: "))
        << outcome.console;
    EXPECT_EQ("first\n", folder.read("t.csv"));
  }
  close(other);
  EXPECT_FALSE(Session(folder).run("-R t.csv").shows("FATAL")) << "the lock ends with its run";
}

// ---- descriptors, limits, signals ----

/// Of each standard stream whether it leads nowhere.
std::string standardStreams() {
  struct stat null {};
  EXPECT_EQ(0, stat("/dev/null", &null));
  std::string kinds;
  for (const int descriptor : {0, 1, 2}) {
    struct stat one {};
    EXPECT_EQ(0, fstat(descriptor, &one));
    kinds += one.st_rdev == null.st_rdev ? "null " : "other ";
  }
  return kinds;
}

TEST(Streams, ClosedOnesAreNotTakenByFiles) {
  const TempFolder folder;
  const Outcome outcome = Session(folder)
                              .setup([] {
                                registerStubs();
                                for (const int descriptor : {0, 1, 2}) close(descriptor);
                              })
                              .after(standardStreams)
                              .run("-r -o -fAlpha");
  EXPECT_EQ("null null null ", outcome.notes);
  const std::string table = folder.read("stub.csv");
  EXPECT_TRUE(contains(table, "stubAlpha,Timing,8,")) << table;
  EXPECT_FALSE(contains(table, "Sorting functions")) << table;
  EXPECT_FALSE(contains(table, "Command line options")) << table;
}

TEST(Streams, ASizeLimitIsAnOutputThatIsLostAtAWholeRow) {
  const TempFolder folder;
  Session(folder).run("-r whole.csv -f-__tz");
  const std::string whole = folder.read("whole.csv");
  for (const size_t cut : {whole.size() / 2, whole.size() - 3}) {
    const Outcome outcome = Session(folder)
                                .setup([cut] {
                                  registerStubs();
                                  const rlimit limit{cut, cut};
                                  setrlimit(RLIMIT_FSIZE, &limit);
                                  // The console of the test has no such limit.
                                  const int null = open("/dev/null", O_WRONLY);
                                  dup2(null, STDOUT_FILENO);
                                })
                                .run("-r cut.csv -f-__tz");
    EXPECT_EQ(1, outcome.exitCode);
    const std::string table = folder.read("cut.csv");
    ASSERT_FALSE(table.empty());
    EXPECT_EQ('\n', table.back()) << table;
    EXPECT_LE(table.size(), cut);
  }
}

namespace {

int s_signal = 0;
int s_loops = 0;

// Sends the signal in the middle of the measurement of its second combination.
tzResult interruptedLoop(int n, long long* total) {
  if (++s_loops == 3) raise(s_signal);
  *total = 100LL * n;
  return TZ_OK;
}

}  // namespace

TEST(Interruption, CompletesTheFilesAndEndsByTheSignal) {
  for (const auto& [signal, name] :
       {std::pair{SIGINT, "SIGINT"}, std::pair{SIGTERM, "SIGTERM"}, std::pair{SIGHUP, "SIGHUP"}}) {
    s_signal = signal;
    const TempFolder folder;
    const Outcome outcome = Session(folder)
                                .setup([] {
                                  registerStubs();
                                  tzRegTest(new StubTest("stubBad", interruptedLoop));
                                })
                                .run("-r -u -g -j -f-__tz");
    EXPECT_EQ(-signal, outcome.exitCode);
    EXPECT_TRUE(outcome.shows(std::string("-- ") + name + ": stubBad is given up\n"))
        << outcome.console;
    EXPECT_TRUE(outcome.shows("Number of tests: 1 ")) << "what came before";
    const std::string table = folder.read("stub.csv");
    EXPECT_TRUE(contains(table, "stubBad,Timing,8,")) << table;
    EXPECT_FALSE(contains(table, "stubBad,Timing,16,")) << "the row in work";
    EXPECT_FALSE(contains(table, "stubBeta"));
    EXPECT_TRUE(contains(table, "\nEND_DATA\n")) << table;
    EXPECT_TRUE(contains(folder.read("stub_sum.csv"), "END_DATA"));
    EXPECT_FALSE(contains(folder.read("stub_sum.csv"), "stubBad,Timing,-")) << "not complete";
    EXPECT_TRUE(
        contains(folder.read("stub.jsonl"), std::string(",\"signal\":\"") + name + "\"}\n"));
    EXPECT_TRUE(contains(folder.read("stub.end"), "Exit code: " + std::to_string(128 + signal) +
                                                      "\nEnded by: " + name + "\n"))
        << folder.read("stub.end");
  }
}

TEST(Interruption, IgnoredSignalsStayIgnored) {
  s_signal = SIGHUP;
  const TempFolder folder;
  const Outcome outcome = Session(folder)
                              .setup([] {
                                std::signal(SIGHUP, SIG_IGN);
                                tzRegTest(new StubTest("stubBad", interruptedLoop));
                              })
                              .run("-f-__tz");
  EXPECT_EQ(0, outcome.exitCode) << outcome.console;
  EXPECT_TRUE(outcome.shows("Length=16"));
}

TEST(Streams, AClosedPipeDoesNotEndTheProgram) {
  const TempFolder folder;
  const Outcome outcome = Session(folder)
                              .setup([] {
                                registerStubs();
                                int ends[2];
                                if (pipe(ends) != 0) _exit(125);
                                dup2(ends[1], STDOUT_FILENO);
                                dup2(ends[1], STDERR_FILENO);
                                close(ends[0]);
                              })
                              .run("-r -g");
  EXPECT_EQ(1, outcome.exitCode);
  EXPECT_TRUE(contains(folder.read("stub.csv"), "END_DATA")) << "the table is complete";
}

// ---- what nobody asked for ----

TEST(Unused, NamesAreToldAtTheEnd) {
  const TempFolder folder;
  folder.write("a.ini",
               "[Tazmet]\nAccuracy=5\nNumLoops=7\n[stubAlpha]\nLength=8\nLenght=9\n"
               "[stubBeta]\nWidth=1\n[stubOmega]\nLength=1\n");
  const Outcome outcome = Session(folder).run("-i a.ini -fAlpha -dTypo=1 -dLength=8");
  EXPECT_EQ((Words{"-- No test has a parameter Typo",
                   "-- No test has a parameter NumLoops (section Tazmet)",
                   "-- No test has a parameter Lenght (section stubAlpha)",
                   "-- No test has a section stubOmega"}),
            outcome.lines("-- No test has a "))
      << "a section of a function that did not run is no mistake";
  EXPECT_EQ(0, outcome.exitCode);
}

TEST(Unused, ASelectionWithoutTestsSaysSo) {
  const TempFolder folder;
  EXPECT_TRUE(Session(folder).run("-fNothing").shows("-- No test is selected\n"));
  EXPECT_FALSE(Session(folder).run("-fAlpha").shows("-- No test is selected\n"));
}

TEST(Unused, EndsTheRunBeforeItBeginsWhenAskedTo) {
  const TempFolder folder;
  folder.write("a.ini", "[stubOmega]\n");
  folder.write("wide.ini", std::string("\0", 1));
  for (const char* keys :
       {"-x", "stray", "-B foo", "-r x -u x", "-dTypo=1", "-dLength=x", "-dAccuracy=1e9",
        "-fNothing", "-i a.ini", "-i none.ini", "-i wide.ini", "-r missing/x", "-HONLY -fAlpha"}) {
    for (const std::string& all : {std::string("-W ") + keys, std::string(keys) + " -W"}) {
      const Outcome outcome = Session(folder).run(all);
      EXPECT_EQ(2, outcome.exitCode) << all << "\n" << outcome.console;
      EXPECT_FALSE(outcome.shows("clocks/px")) << all;
    }
    EXPECT_EQ(0, Session(folder).run(keys).exitCode) << "without it the run goes on: " << keys;
  }
  EXPECT_EQ(0, Session(folder).run("-W -B -fAlpha -dLength=8 -r").exitCode);
  EXPECT_EQ(0, Session(folder).run("-W -h -x").exitCode) << "help is help";
  const auto failing = [] { tzRegTest(new StubTest("stubBad", steadyLoop<TZ_FUNCFAIL, 100>)); };
  EXPECT_EQ(1, Session(folder).setup(failing).run("-W").exitCode);
}

TEST(LongKeys, DoWhatEveryoneExpects) {
  const TempFolder folder;
  EXPECT_TRUE(Session(folder).run("--help").shows("QUICK HELP\n"));
  const Outcome version = Session(folder).run("--version");
  EXPECT_TRUE(version.shows("version 1.0.0"));
  EXPECT_FALSE(version.shows("stubAlpha"));
}

// ---- what the title says, and where files go ----

TEST(Title, TellsWhatIsUsedNotWhatWasTyped) {
  const TempFolder folder;
  const struct {
    const char* keys;
    const char* title;
  } cases[] = {
      {"-dMethod=xyz -fAlpha", "Timing   : automatic, accuracy 5.0% "},
      {"-dMethod=man -dNumLoops=0 -fAlpha", "Timing   : manual, 1 loops, accuracy 5.0% "},
      {"-dAccuracy=500 -fAlpha", "Timing   : automatic, accuracy 100.0% "},
      {"-ATiming -fAlpha", "Timing   : as answered below "},
  };
  for (const auto& c : cases) {
    const Outcome outcome = Session(folder).run(c.keys);
    EXPECT_TRUE(outcome.shows(c.title)) << outcome.console;
  }
  EXPECT_EQ(1u, Session(folder).run("-dMethod=xyz").lines("Invalid value of Method").size());
}

TEST(InstalledProgram, WritesIntoTheCurrentFolder) {
  if (geteuid() != 0) GTEST_SKIP() << "needs a user who may become another";
  const TempFolder folder;
  const TempFolder current;
  chmod(current.path().c_str(), 0777);
  const auto installed = [&] {
    if (chdir(current.path().c_str()) != 0) _exit(125);
    becomeNobody(folder, 0555);
  };
  const Outcome outcome = Session(folder).setup(installed).run("-r -u sums.csv -fAlpha");
  EXPECT_TRUE(outcome.shows("results written to " + current.file("stub.csv"))) << outcome.console;
  EXPECT_EQ((Words{"stub.csv", "sums.csv"}), current.list());
  EXPECT_TRUE(
      Session(folder).setup(installed).run("-I").shows("written to " + current.file("stub.ini")));
  EXPECT_TRUE(Session(folder)
                  .setup(installed)
                  .run("-i -fAlpha")
                  .shows("parameters read from " + current.file("stub.ini")));
  chmod(folder.path().c_str(), 0755);
}

// ---- placement and cache states ----

namespace {

// Notes where its two buffers lie, in bytes beyond a boundary.
class PlacedTest : public StubTest {
 public:
  PlacedTest() : StubTest("stubPlaced", steadyLoop<TZ_OK, 100>, "S", "8;16;24") {}
  bool initData() override {
    for (void*& buffer : m_buffers) {
      buffer = allocate(100, -1);
      places += std::to_string(reinterpret_cast<std::uintptr_t>(buffer) % 64) + " ";
    }
    return true;
  }
  void flushData() override {
    for (void* buffer : m_buffers) tzFree(buffer);
  }
  static inline std::string places;

 private:
  void* m_buffers[2] = {};
};

}  // namespace

TEST(Placement, TheFirstVectorIsTheFirstOfEachCombination) {
  const TempFolder folder;
  const Outcome outcome = Session(folder)
                              .setup([] { tzRegTest(new PlacedTest); })
                              .after([] { return PlacedTest::places; })
                              .run("-f-__tz -dVectorAlign=5 -dMisalignFirstVectorOnly=yes");
  EXPECT_EQ("5 0 5 0 5 0 ", outcome.notes);
}

namespace {

// Its data are small whatever its length: it cannot leave the cache.
class SmallTest : public tzTest {
 public:
  SmallTest()
      : tzTest(nullptr, nullptr, steadyLoop<TZ_OK, 100>, nullptr, "stubSmall", "tests/stub",
               "S//R") {}
  bool canStart() override {
    m_length.init("Length", "", "1000");
    regCacheParm(m_length);
    return true;
  }
  bool initData() override { return (m_buffer = allocate(200000, 0)) != nullptr; }
  void flushData() override { tzFree(m_buffer); }
  tzString getUnit() const override { return "px"; }

 private:
  tzIterator<int> m_length{"Length"};
  void* m_buffer = nullptr;
};

}  // namespace

TEST(CacheState, OneThatCannotBeReachedIsSaidToBeNotMeasured) {
  const TempFolder folder;
  const Outcome outcome = Session(folder)
                              .setup([] {
                                tzCacheIterator::setCacheSizeSource([] { return 1 << 20; });
                                tzRegTest(new SmallTest);
                              })
                              .run("-C -r -f-__tz");
  EXPECT_EQ(0, outcome.exitCode);
  const Words lines = outcome.lines("not measured");
  ASSERT_EQ(1u, lines.size()) << outcome.console;
  EXPECT_TRUE(contains(lines[0], "In-Outof-Cache=outofCache")) << lines[0];
  EXPECT_FALSE(contains(lines[0], "clocks"));
  const std::string table = folder.read("stub.csv");
  EXPECT_TRUE(contains(table, ",outofCache,-,px,not measured,UNDEFINED\n")) << table;
  EXPECT_TRUE(contains(table, ",inCache,100,px,nLps=4,OK\n")) << table;
}
