// The steps of a run, its files, and what ends it.

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <string>
#include <vector>

#include "harnesskit.h"
#include "tzistream.h"
#include "tzmemory.h"

using harnesskit::Outcome;
using harnesskit::Session;
using harnesskit::steadyLoop;
using harnesskit::StubTest;
using harnesskit::TempFolder;

namespace {

using Words = std::vector<std::string>;

// Notes every virtual step; each may be told to fail.
class StepSession : public tzSession {
 public:
  static inline std::string steps;
  static inline bool started = true;

  void initSession() override {
    steps += tzGetTestList().empty() ? "init " : "init-after-tests ";
    tzSession::initSession();
  }
  bool parseCommandLine(int argc, char** argv) override {
    steps += tzGetTestList().startTime != 0 ? "parse " : "parse-before-start-time ";
    return tzSession::parseCommandLine(argc, argv);
  }
  bool updateOptions() override {
    steps += "update ";
    return tzSession::updateOptions();
  }
  bool startSession() override {
    steps += "start ";
    return started;
  }
  void hint(char key, bool withHidden) override {
    steps += "hint ";
    tzSession::hint(key, withHidden);
  }
  void listTests(int mode) override {
    steps += "list ";
    tzSession::listTests(mode);
  }
  void outputHeader() override { steps += "header "; }
  void readCommonData() override { steps += "common "; }
  void putTableTitle() override { steps += "title "; }
  void outputFooter() override {
    steps += tzGetTestList().endTime != 0 ? "footer " : "footer-before-end-time ";
  }
  void outputSignal() override { steps += "signal "; }
};

class NotingTest : public tzTest {
 public:
  explicit NotingTest(const std::string& name)
      : tzTest(nullptr, nullptr, nullptr, nullptr, name, "tests/stub", "S//R") {}
  ~NotingTest() override { StepSession::steps += "~" + funcName().str() + " "; }
  tzResult run() override {
    StepSession::steps += funcName().str() + " ";
    return TZ_OK;
  }
};

Session steps(const TempFolder& folder) {
  Session session(folder);
  session.setup([] {
    tzRegSession(new StepSession);
    tzRegTest(new NotingTest("two"));
    tzRegTest(new NotingTest("one"));
    tzRegParmFunction([] {
      StepSession::steps += "parms ";
      return 1;
    });
  });
  session.after([] { return StepSession::steps; });
  return session;
}

size_t splitLinesOf(const TempFolder& folder, const char* file) {
  return harnesskit::splitLines(folder.read(file)).size();
}

const std::string kFatalOutput = "FATAL ERROR: can't open output file for writing\n";
const std::string kFatalIni = "FATAL ERROR: can't open ini-file for writing\n";

}  // namespace

TEST(SessionSteps, RunInTheirOrder) {
  const TempFolder folder;
  EXPECT_EQ(
      "init-after-tests parse update start header parms common title one two footer signal "
      "~one ~two ",
      steps(folder).run("-f-__tz").notes);
  EXPECT_EQ(
      "init-after-tests parse update start header parms common title two one footer signal "
      "~two ~one ",
      steps(folder).run("-s- -f-__tz").notes);
}

TEST(SessionSteps, QuickOutputAndFailuresSkipTheTests) {
  const TempFolder folder;
  EXPECT_EQ("init-after-tests parse update start hint signal ~two ~one ",
            steps(folder).run("-h").notes);
  EXPECT_EQ("init-after-tests parse update start list signal ~one ~two ",
            steps(folder).run("-e").notes);
  EXPECT_EQ("init-after-tests parse update start list signal ~two ~one ",
            steps(folder).run("-e -s-").notes);
  EXPECT_EQ("init-after-tests parse update start signal ~two ~one ", steps(folder).run("-v").notes);
  EXPECT_EQ("init-after-tests parse update signal ~two ~one ",
            steps(folder).run("-r missing/x.csv").notes);
  Session refused = steps(folder);
  refused.setup([] {
    StepSession::started = false;
    tzRegSession(new StepSession);
  });
  const Outcome outcome = refused.run("-B");
  EXPECT_EQ("init parse update start signal ", outcome.notes);
  EXPECT_EQ(0, outcome.exitCode);
}

TEST(SessionExit, IsOneWhenATestFailedOrAnOutputWasNotWritten) {
  const TempFolder folder;
  EXPECT_EQ(0, Session(folder).run("").exitCode) << "warnings are no failures";
  EXPECT_EQ(0, Session(folder).setup([] {}).run("").exitCode) << "no tests, no failure";

  const auto failing = [] { tzRegTest(new StubTest("stubBad", steadyLoop<TZ_FUNCFAIL, 100>)); };
  EXPECT_EQ(1, Session(folder).setup(failing).run("").exitCode);

  const Outcome full = Session(folder).run("-r /dev/full");
  EXPECT_EQ(1, full.exitCode);
  EXPECT_EQ(1u, full.lines("/dev/full: ").size()) << full.console;
  EXPECT_TRUE(full.shows("stubGamma")) << "the run goes on";
}

TEST(SessionExit, FatalErrorsEndTheRunWithZero) {
  const TempFolder folder;
  for (const char* keys : {"-o missing/x", "-O missing/x", "-r missing/x", "-R missing/x",
                           "-q missing/x", "-u missing/x", "-U missing/x", "-m missing/x"}) {
    const Outcome outcome = Session(folder).run(keys);
    EXPECT_TRUE(outcome.shows(kFatalOutput)) << keys;
    EXPECT_TRUE(outcome.shows("-- Can't open file " + folder.file("missing/x"))) << keys;
    EXPECT_FALSE(outcome.shows("stubAlpha")) << keys;
    EXPECT_EQ(0, outcome.exitCode) << keys;
  }
  const Outcome ini = Session(folder).run("-I missing/x.ini");
  EXPECT_TRUE(ini.shows(kFatalIni)) << ini.console;
  EXPECT_EQ(0, ini.exitCode);
}

TEST(SessionExit, AnIniFileThatIsMissingIsReportedAndTheRunGoesOn) {
  const TempFolder folder;
  const Outcome outcome = Session(folder).run("-i none.ini -fstubAlpha");
  EXPECT_TRUE(outcome.shows("-- Can't open file " + folder.file("none.ini"))) << outcome.console;
  EXPECT_TRUE(outcome.shows("stubAlpha"));
  EXPECT_EQ(0, outcome.exitCode);
}

TEST(SessionFiles, DefaultNamesComeFromTheProgram) {
  const TempFolder folder;
  const Outcome outcome = Session(folder).run("-o -r -q -u -m -g -i");
  EXPECT_EQ(0, outcome.exitCode) << outcome.console;
  EXPECT_EQ(
      (Words{"stub.csv", "stub.end", "stub.txt", "stub_mem.csv", "stub_name.csv", "stub_sum.csv"}),
      folder.list());
  EXPECT_TRUE(outcome.shows("-- Can't open file " + folder.file("stub.ini")));
}

TEST(SessionFiles, AppendingKeysKeepWhatIsThere) {
  const TempFolder folder;
  for (const char* name : {"stub.txt", "stub.csv", "stub_sum.csv"}) folder.write(name, "before\n");
  Session(folder).run("-O -R -U");
  for (const char* name : {"stub.txt", "stub.csv", "stub_sum.csv"}) {
    EXPECT_EQ(0u, folder.read(name).find("before\n")) << name;
    EXPECT_GT(folder.read(name).size(), 50u) << name;
  }
  Session(folder).run("-o -r -u");
  for (const char* name : {"stub.txt", "stub.csv", "stub_sum.csv"}) {
    EXPECT_EQ(std::string::npos, folder.read(name).find("before")) << name;
  }
}

TEST(SessionFiles, OneFileGivenTwiceIsWrittenOnce) {
  const TempFolder folder;
  Session(folder).run("-r a.csv -fstubAlpha");
  const auto once = splitLinesOf(folder, "a.csv");
  const Outcome outcome = Session(folder).run({"-R", "a.csv", "-ra.csv", "-fstubAlpha"});
  EXPECT_TRUE(outcome.shows("-ra.csv            ignored: -R writes the same file\n"));
  EXPECT_EQ(2 * once, splitLinesOf(folder, "a.csv")) << "the first key appends";
}

TEST(SessionFiles, ThereMayBeSeveralCopiesOfTheText) {
  const TempFolder folder;
  Session(folder).run("-o a.txt -o b.txt");
  EXPECT_NE("", folder.read("a.txt"));
  EXPECT_EQ(folder.read("a.txt"), folder.read("b.txt"));
}

TEST(SessionFiles, TheSignalFileTellsHowTheRunEnded) {
  const TempFolder folder;
  const auto failing = [] { tzRegTest(new StubTest("stubBad", steadyLoop<TZ_FUNCFAIL, 100>)); };
  Session(folder).setup(failing).run("-g first -g last -fstub");
  EXPECT_FALSE(folder.exists("first"));
  const std::string text = folder.read("last");
  EXPECT_NE(std::string::npos, text.find("Tests: 1, failures: 1, warnings: 0\nExit code: 1\n"))
      << text;
}

// A test whose data is one tracked buffer.
class BufferTest : public StubTest {
 public:
  BufferTest() : StubTest("stubBuffer", steadyLoop<TZ_OK, 100>, "S", "8") {}
  bool initData() override { return (m_buffer = allocate(100, 3)) != nullptr; }
  void flushData() override { tzFree(m_buffer); }

 private:
  void* m_buffer = nullptr;
};

TEST(SessionFiles, TheMemoryTableTellsOfEveryBuffer) {
  const TempFolder folder;
  Session(folder).setup([] { tzRegTest(new BufferTest); }).run("-m -f-__tz");
  const Words lines = harnesskit::splitLines(folder.read("stub_mem.csv"));
  ASSERT_EQ(3u, lines.size());
  EXPECT_EQ("Function,Event,Size,Address,AlignedPointer", lines[0]);
  EXPECT_EQ(0u, lines[1].find("stubBuffer,tzMalloc,100,")) << lines[1];
  EXPECT_EQ(0u, lines[2].find("stubBuffer,tzFree,100,")) << lines[2];
  EXPECT_EQ(lines[1].substr(lines[1].find("100,")), lines[2].substr(lines[2].find("100,")));
}

TEST(SessionFiles, NameLinesAlone) {
  const TempFolder folder;
  const Outcome outcome = Session(folder).run("-Q");
  EXPECT_EQ((Words{"stub_name.csv"}), folder.list());
  EXPECT_FALSE(outcome.shows("px")) << "nothing is measured";
  const std::string names = folder.read("stub_name.csv");
  for (const char* function : {"stubAlpha", "stubBeta", "stubGamma", "Length"}) {
    EXPECT_NE(std::string::npos, names.find(function)) << names;
  }
  Session(folder).run("-Q -q+ -r");
  EXPECT_NE(std::string::npos, folder.read("stub.csv").find("Length"));
}

TEST(SessionPaths, AbsoluteNamesStandAsTheyAre) {
  EXPECT_TRUE(isAbsolutePath("/a"));
  EXPECT_FALSE(isAbsolutePath("a/b"));
  EXPECT_FALSE(isAbsolutePath(""));
  EXPECT_STREQ("/x/a", getDirPath("/x", "a").c_str());
  EXPECT_STREQ("/x/a", getDirPath("/x/", "a").c_str());
  EXPECT_STREQ("/a", getDirPath("/x", "/a").c_str());
  EXPECT_STREQ("a", getDirPath("", "a").c_str());

  tzSession session;
  session.setInDir("/in");
  session.setOutDir("/out/./");
  session.setDefName("title");
  EXPECT_STREQ("/in/title.ini", session.genInPath("", ".ini").c_str());
  EXPECT_STREQ("/in/x", session.genInPath("x", ".ini").c_str());
  EXPECT_STREQ("/out/title.csv", session.genOutPath("", ".csv").c_str());
  EXPECT_STREQ("/out/sub/x", session.getOutPath("sub/x").c_str());
  EXPECT_STREQ("/y", session.getInPath("/y").c_str());
}

TEST(SessionIni, WritesWhatARunReadsAndARunWithItIsTheDefaultRun) {
  const TempFolder folder;
  const Outcome written = Session(folder).run("-I -dAccuracy=7 -f-Gamma");
  EXPECT_EQ(0, written.exitCode) << written.console;
  EXPECT_EQ((Words{"stub.ini"}), folder.list());
  EXPECT_FALSE(written.shows("clocks/px")) << "nothing is measured";
  const std::string ini = folder.read("stub.ini");
  for (const char* line : {"[Tazmet]\n", "Method=Auto\n", "Accuracy=7\n", "[stubAlpha]\n",
                           "[stubBeta]\n", "Length=8; 16\n"}) {
    EXPECT_NE(std::string::npos, ini.find(line)) << line << ini;
  }
  EXPECT_EQ(std::string::npos, ini.find("stubGamma"));

  Session(folder).run("-ndefault -r -u -f-__tz");
  Session(folder).run("-nagain -i stub.ini -r -u -f-__tz");
  const Words plain = harnesskit::splitLines(folder.read("default.csv"));
  const Words again = harnesskit::splitLines(folder.read("again.csv"));
  ASSERT_EQ(plain.size(), again.size());
  for (size_t i = 0; i < plain.size(); ++i) {
    if (plain[i].find("stub") == 0) {
      EXPECT_EQ(plain[i], again[i]);
    }
  }
}

TEST(SessionIni, AValueInTheFileIsKept) {
  const TempFolder folder;
  folder.write("stub.ini", "[stubAlpha]\nLength=32 // mine\n[extra]\nkey=1\n");
  Session(folder).run("-I -dAccuracy=3 -fstubAlpha");
  const std::string ini = folder.read("stub.ini");
  EXPECT_NE(std::string::npos, ini.find("Length=32\t// mine\n")) << ini;
  EXPECT_NE(std::string::npos, ini.find("[extra]\nkey=1\n")) << ini;
  EXPECT_NE(std::string::npos, ini.find("Accuracy=3\n")) << ini;
}

TEST(SessionIni, OnlyFunctionsWithASectionRunUnderP) {
  const TempFolder folder;
  folder.write("few.ini", "[stubBeta]\nLength=8\n[stubDelta]\n");
  const auto counted = [] { return std::to_string(tzGetTestList().total); };
  const Outcome outcome = Session(folder).after(counted).run("-i few.ini -P -r -e-");
  EXPECT_EQ(0, outcome.exitCode);

  const Outcome run = Session(folder).run("-i few.ini -P -r -g");
  EXPECT_TRUE(run.shows("stubBeta"));
  EXPECT_FALSE(run.shows("stubAlpha"));
  EXPECT_NE(std::string::npos, folder.read("stub.end").find("Tests: 1, failures: 0"));
  EXPECT_NE(std::string::npos, folder.read("stub.csv").find("stubBeta"));
  EXPECT_EQ(std::string::npos, folder.read("stub.csv").find("stubAlpha"));

  const Outcome narrowed = Session(folder).run("-i few.ini -P -fstubAlpha -g");
  EXPECT_NE(std::string::npos, folder.read("stub.end").find("Tests: 0"));
  EXPECT_EQ(0, narrowed.exitCode);
}

TEST(SessionQuestions, AskedValuesBeatDefaultsAndEndWithTheInput) {
  const TempFolder folder;
  const Outcome answered =
      Session(folder).input("4\n\n").run("-AAll -dMethod=Manual -fstubAlpha -r");
  EXPECT_TRUE(answered.shows("NumLoops [10] = ")) << answered.console;
  EXPECT_TRUE(answered.shows("Length [8; 16] = "));
  EXPECT_EQ(0, answered.exitCode);
  const Outcome silent = Session(folder).run("-AAll -fstubAlpha");
  EXPECT_EQ(0, silent.exitCode) << "standard input is empty: defaults are taken";
  EXPECT_TRUE(silent.shows("clocks/px"));
  const Outcome batch = Session(folder).input("4\n").run("-AAll -B -fstubAlpha");
  EXPECT_FALSE(batch.shows("] = "));
}

TEST(SessionQuestions, EachGroupIsAskedForByItsOwnWord) {
  const struct {
    const char* keys;
    const char* asked;
  } cases[] = {{"-ATiming", "Method"}, {"-AParams", "Common"}, {"-AMisalign", "VectorAlign"}};
  for (const auto& c : cases) {
    const TempFolder folder;
    const Outcome outcome = Session(folder)
                                .setup([] {
                                  static tzDefault<int> common("Common", "", 3);
                                  tzRegParm(common);
                                  harnesskit::registerStubs();
                                })
                                .input("\n\n\n\n\n\n\n\n\n")
                                .run(std::string(c.keys) + " -fAlpha");
    for (const char* name : {"Method", "Common", "VectorAlign", "Length"}) {
      const bool asked = !outcome.lines(name + std::string(" {")).empty() ||
                         !outcome.lines(name + std::string(" [")).empty() ||
                         !outcome.lines(name + std::string(" by Byte, 0..63 [")).empty();
      EXPECT_EQ(std::string(name) == c.asked, asked) << c.keys << " " << name;
    }
  }
}

TEST(SessionHot, OnlyHotFunctionsRun) {
  const TempFolder folder;
  Session(folder).run("-HONLY -g -r");
  EXPECT_NE(std::string::npos, folder.read("stub.end").find("Tests: 1,"));
  EXPECT_NE(std::string::npos, folder.read("stub.csv").find("stubBeta"));
  const auto noneHot = [] { tzRegTest(new StubTest("stubAlpha", steadyLoop<TZ_OK, 100>)); };
  Session(folder).setup(noneHot).run("-HONLY -g");
  EXPECT_NE(std::string::npos, folder.read("stub.end").find("Tests: 0,"));
}

TEST(SessionInformation, TestsPrintFactsAndCountAsOk) {
  const TempFolder folder;
  const Outcome outcome = Session(folder).setup([] {}).run("-r -g -f__tz");
  EXPECT_TRUE(outcome.shows("Ortan CPU information")) << outcome.console;
  EXPECT_TRUE(outcome.shows(" OS       : Linux"));
  EXPECT_TRUE(outcome.shows(" Computer : "));
  EXPECT_NE(std::string::npos, folder.read("stub.end").find("Tests: 3, failures: 0, warnings: 0"));
  EXPECT_NE(std::string::npos, folder.read("stub.csv").find("__tzOrtanCpu,Information,"));
}
