// From words to keys, and what each key does or refuses.

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <string>
#include <vector>

#include "harnesskit.h"
#include "testpaths.h"
#include "tzclock.h"
#include "tzenv.h"
#include "tzistream.h"
#include "tzkeys.h"

using harnesskit::Outcome;
using harnesskit::Session;
using harnesskit::TempFolder;

namespace {

using Words = std::vector<std::string>;

// Keys as "f:abc", refused words as "!word".
Words split(const Words& words) {
  tzCommandList commands;
  tzStringList list;
  for (const std::string& word : words) list.push_back(word);
  commands.setArgs(list);
  Words keys;
  for (const tzCommandKey& key : commands)
    keys.push_back(std::string(1, key.key) + ":" + key.arg.str());
  for (const tzString& word : commands.refused()) keys.push_back("!" + word.str());
  return keys;
}

}  // namespace

TEST(CommandWords, SplitIntoKeysAndArguments) {
  const struct {
    Words words;
    Words keys;
  } cases[] = {
      {{"-fabc"}, {"f:abc"}},
      {{"-f", "abc"}, {"f:abc"}},
      {{"-f-abc"}, {"f:-abc"}},
      {{"-f-", "abc"}, {"f:-abc"}},
      {{"-f=", "abc"}, {"f:=abc"}},
      {{"-f+", "-B"}, {"f:+", "B:"}},
      {{"-B", "-r"}, {"B:", "r:"}},
      {{"-o", "/tmp/x"}, {"o:/tmp/x"}},
      {{"-o", "-5"}, {"o:-5"}},  // no key begins with a digit
      {{"-n", ""}, {"n:"}},      // an empty word is an argument too
      {{"-n", "", "-B"}, {"n:", "B:"}},
      {{"-h", "-?"}, {"h:", "?:"}},
      {{"-??"}, {"?:?"}},
      {{"--help", "x"}, {"h:", "!x"}},
      {{"--version", "-B"}, {"v:", "B:"}},
      {{"--other"}, {"-:other"}},
      {{"-s-"}, {"s:-"}},
      {{"word"}, {"!word"}},
      {{"-"}, {"!-"}},
      {{"-1"}, {"!-1"}},
      {{"B", "-r", "x", "y"}, {"r:x", "!B", "!y"}},
  };
  for (const auto& c : cases) EXPECT_EQ(c.keys, split(c.words)) << c.words.front();
}

TEST(CommandWords, QuotesGroupWordsOfALine) {
  tzCommandList commands;
  commands.setArgs(tzString("-d\"Size=8; 16\"  -o\t\"my file\"\r\n-B"));
  ASSERT_EQ(3, commands.count());
  tzString arg;
  EXPECT_TRUE(commands.getArg('d', arg));
  EXPECT_STREQ("Size=8; 16", arg.c_str());
  EXPECT_TRUE(commands.getArg('o', arg));
  EXPECT_STREQ("my file", arg.c_str());
  EXPECT_TRUE(commands.isKey('B'));
  EXPECT_FALSE(commands.isKey('b'));
}

TEST(CommandWords, TheLastOccurrenceGivesTheArgument) {
  tzCommandList commands;
  commands.setArgs(tzString("-lone -B -ltwo"));
  tzString arg("kept");
  EXPECT_FALSE(commands.getArg('p', arg));
  EXPECT_STREQ("kept", arg.c_str());
  EXPECT_TRUE(commands.getArg('l', arg));
  EXPECT_STREQ("two", arg.c_str());
}

TEST(Keys, RefusedArgumentsAreReportedAndTheRunGoesOn) {
  const struct {
    Words keys;
    const char* report;
  } cases[] = {
      {{"-x"}, "-x                 ignored: incorrect option key"},
      {{"-xyz"}, "-x                 ignored: incorrect option key"},
      {{"stray"}, "stray              ignored: not a key"},
      {{"-B", "-%"}, " -%                 ignored: -B takes no argument"},
      {{"-B", "foo"}, " foo                ignored: -B takes no argument"},
      {{"-sx"}, " x                  ignored: -s takes no argument"},
      {{"-s-x"}, " x                  ignored: -s takes no argument"},
      {{"-Bfoo"}, " -B                 nothing is asked on the console"},
      {{"-TSSE41"}, "ignored: incorrect option key"},  // there is no library here
      {{"-n", ""}, "ignored: empty default name"},
      {{"-l"}, "ignored: empty directory name"},
      {{"-p"}, "ignored: empty directory name"},
      {{"-f"}, "ignored: empty function pattern"},
      {{"-f="}, "ignored: empty function pattern"},
      {{"-t-"}, "ignored: empty test pattern"},
      {{"-F"}, "ignored: empty function name"},
      {{"-dNoValue"}, "ignored: incorrect data format"},
      {{"-d=3"}, "ignored: incorrect data format"},
      {{"-LBOO"}, "ignored: incorrect level of console output"},
      {{"-L"}, "ignored: incorrect level of console output"},
      {{"-YLOUD"}, "ignored: incorrect process priority value"},
      {{"-Y"}, "ignored: incorrect process priority value"},
      {{"-ABogus"}, "ignored: incorrect detail level of console input"},
      {{"-A"}, "ignored: incorrect detail level of console input"},
      {{"-B", "-AAll"}, "ignored: batch mode (-B)"},
      {{"-P"}, "ignored: no ini-file to read (-i)"},
      {{"-HALL"}, "ignored: only ONLY may follow"},
      {{"-VALL"}, "ignored: only ONLY may follow"},
      {{"-SX"}, "ignored: incorrect measuring mode"},
  };
  const TempFolder folder;
  for (const auto& c : cases) {
    const Outcome outcome = Session(folder).run(c.keys);
    EXPECT_TRUE(outcome.shows(c.report)) << c.keys.back() << "\n" << outcome.console;
    EXPECT_EQ(0, outcome.exitCode) << c.keys.back();
    EXPECT_TRUE(outcome.shows("stubGamma")) << c.keys.back() << " must not stop the run";
  }
}

TEST(Keys, SettersReachWhatTheySet) {
  const struct {
    const char* keys;
    std::function<std::string()> look;
    const char* state;
  } cases[] = {
      {"-L WARN", [] { return std::to_string(g_ostrm.outLevel()); }, "3"},
      {"-B", [] { return std::to_string(g_ostrm.outLevel()); }, "7"},
      {"-LERR -LI", [] { return std::to_string(g_ostrm.outLevel()); }, "15"},
      {"-LDATA", [] { return std::to_string(g_ostrm.outLevel()); }, "87"},
      {"-YHIGH", [] { return std::to_string(tzTool::m_priority); }, "1"},
      {"-Y n", [] { return std::to_string(tzTool::m_priority); }, "2"},
      {"-B", [] { return std::to_string(tzTool::m_priority); }, "0"},
      {"-H", [] { return std::to_string(tzTest::m_hot); }, "1"},
      {"-H only", [] { return std::to_string(tzTest::m_hot); }, "2"},
      {"-V", [] { return std::to_string(tzTest::m_verifyMode); }, "1"},
      {"-VONLY", [] { return std::to_string(tzTest::m_verifyMode); }, "2"},
      {"-SU", [] { return std::to_string(g_tool.callMode()); }, "1"},
      {"-C", [] { return std::to_string(tzTest::m_cache); }, "1"},
      {"-d a=1 -d b=2 -d a=3", [] { return g_istrm.presets().find("a")->str(); }, "3"},
      {"-d a=1 -d b=2 -d a=3", [] { return g_istrm.presets().find("b")->str(); }, "2"},
      {"-F first -F zzz", [] { return tzTest::m_startFunc.str(); }, "zzz"},
  };
  const TempFolder folder;
  for (const auto& c : cases) {
    const Outcome outcome = Session(folder).after(c.look).run(c.keys);
    EXPECT_EQ(c.state, outcome.notes) << c.keys << "\n" << outcome.console;
  }
}

TEST(Keys, LibraryKeysExistOnlyWithALibrary) {
  const TempFolder folder;
  const auto withLibrary = [] {
    harnesskit::registerStubs();
    tzRegRkdEnvironment([] {
      rkd_Init = []() -> RkdStatus { return rkdStsNoErr; };
      rkd_InitCpu = [](RkdCpuType) -> RkdStatus { return rkdStsNoErr; };
      rkd_SetNumThreads = [](int) -> RkdStatus { return rkdStsNoErr; };
    });
  };
  const Outcome good = Session(folder).setup(withLibrary).run("-T sse41 -N3");
  EXPECT_TRUE(good.shows("=68 )")) << good.console;
  EXPECT_TRUE(good.shows("--calling rkdSetNumThreads( 3 )"));

  const Outcome bad = Session(folder).setup(withLibrary).run("-Tx86 -N0");
  EXPECT_TRUE(bad.shows("ignored: incorrect CPU type"));
  EXPECT_TRUE(bad.shows("ignored: incorrect number of threads"));
  EXPECT_FALSE(bad.shows("--calling"));
  for (const char* keys : {"-N3x", "-N-1", "-N99999999999"}) {
    EXPECT_TRUE(Session(folder).setup(withLibrary).run(keys).shows("incorrect number of threads"));
  }
}

TEST(Keys, DirectoriesAndNameComeBeforeAllOtherKeys) {
  const TempFolder folder;
  const TempFolder first;
  const TempFolder last;
  const Outcome outcome = Session(folder).run(
      {"-o", "text.txt", "-l", first.path(), "-r", "-nrun7", "-l", last.path(), "-l", ""});
  EXPECT_EQ(0, outcome.exitCode);
  EXPECT_EQ(Words{}, first.list());
  EXPECT_EQ((Words{"run7.csv", "text.txt"}), last.list());
  EXPECT_TRUE(outcome.shows("console output written to " + last.file("text.txt")))
      << "the echo tells where the file really goes";
}

TEST(Keys, RelativeDirectoriesBelongToTheCurrentOne) {
  const TempFolder folder;
  const auto goThere = [&folder] {
    harnesskit::registerStubs();
    ASSERT_EQ(0, chdir(folder.path().c_str()));
  };
  ASSERT_EQ(0, mkdir(folder.file("out").c_str(), 0700));
  Session(folder).setup(goThere).run("-lout -r table.csv -q");
  EXPECT_TRUE(folder.exists("out/table.csv"));
  EXPECT_TRUE(folder.exists("out/stub_name.csv"));
}

TEST(CommandFile, FollowsTheCommandLineAndWins) {
  const TempFolder folder;
  folder.write("stub.cfg",
               "-lnowhere // a comment -fstubGamma\n"
               "// -e\n"
               "-l \"" +
                   folder.path() +
                   "//\"\n"
                   "-ncfgname -r\n");
  const Outcome outcome = Session(folder).run("-nline -fstubAlpha -o");
  EXPECT_TRUE(outcome.shows("read from " + folder.file("stub.cfg") + " file\n"));
  EXPECT_EQ((Words{"cfgname.csv", "cfgname.txt", "stub.cfg"}), folder.list()) << outcome.console;
  EXPECT_FALSE(outcome.shows("Gamma")) << "what is in a comment is no key";
}

TEST(CommandFile, ItsKeysDoNotContinueThoseOfTheCommandLine) {
  const TempFolder folder;
  folder.write("stub.cfg", "stray -fstubAlpha");
  const Outcome outcome = Session(folder).run("-fstubBeta -o");
  EXPECT_TRUE(outcome.shows("ignored: not a key"));
  EXPECT_TRUE(folder.exists("stub.txt"));
}

TEST(CommandFile, TheSampleIsReadWithoutComplaint) {
  const TempFolder folder;
  std::filesystem::copy_file(std::string(TAZMET_TEST_DATA) + "/../../data/sample.cfg",
                             folder.file("stub.cfg"));
  const Outcome outcome = Session(folder).run("-fstubAlpha");
  EXPECT_EQ(0, outcome.exitCode);
  EXPECT_FALSE(outcome.shows("ignored")) << outcome.console;
  EXPECT_EQ((Words{"stub.cfg", "stub.csv", "stub_sum.csv"}), folder.list());
}

TEST(CommandFile, IsMovedByTheCommandLinesDirectory) {
  const TempFolder folder;
  const TempFolder input;
  folder.write("stub.cfg", "-fstubAlpha");
  input.write("stub.cfg", "-fstubBeta");
  const Outcome outcome = Session(folder).run({"-p", input.path(), "-nother", "-e"});
  EXPECT_TRUE(outcome.shows("read from " + input.file("stub.cfg")));
  EXPECT_TRUE(outcome.shows("stubBeta"));
  EXPECT_FALSE(outcome.shows("stubAlpha"));
}

TEST(CommandFile, AFixedCommandLineComesLast) {
  const TempFolder folder;
  const Outcome outcome = Session(folder)
                              .setup([] {
                                harnesskit::registerStubs();
                                tzRegCmdLine("-nfixed -fstubAlpha");
                              })
                              .run("-nline -r");
  EXPECT_TRUE(outcome.shows("set by _FORCE_CMDLINE preprocessor definition\n"));
  EXPECT_TRUE(folder.exists("fixed.csv"));
}

TEST(ExitRequests, HelpBeatsListingBeatsVersion) {
  const TempFolder folder;
  const Outcome all = Session(folder).run("-v -e -h -r -fstub");
  EXPECT_TRUE(all.shows("QUICK HELP\n"));
  EXPECT_TRUE(all.shows("-r                 ignored because of -h option"));
  EXPECT_TRUE(all.shows("-fstub             ignored because of -h option"));
  EXPECT_FALSE(all.shows("stubAlpha"));
  EXPECT_EQ(Words{}, folder.list());

  const Outcome listing = Session(folder).run("-v -e -u -fstubA");
  EXPECT_TRUE(listing.shows("-u                 ignored because of -e option"));
  EXPECT_TRUE(listing.shows("stubAlpha"));
  EXPECT_FALSE(listing.shows("stubBeta"));
  EXPECT_TRUE(listing.shows(" 1.0.0 Mar 16 2010\n"));

  const Outcome version = Session(folder).run("-v -LERR -r");
  EXPECT_TRUE(version.shows("-r                 ignored because of -v option"));
  EXPECT_TRUE(version.shows(" 1.0.0 Mar 16 2010\n"));
  EXPECT_FALSE(version.shows("stubAlpha"));
  EXPECT_EQ(Words{}, folder.list());
}

TEST(ExitRequests, NoneEstimatesTheFrequency) {
  const TempFolder folder;
  for (const char* keys : {"-h", "-hh", "-v", "-e", "-e+", "-e-"}) {
    const Outcome outcome =
        Session(folder)
            .setup([] {
              harnesskit::registerStubs();
              tzRegParmFunction([] { return 1; });
            })
            .forgetFrequency()
            .after([] { return std::string(tzCpuTicker::hasFreq() ? "known" : "unknown"); })
            .run(keys);
    EXPECT_EQ("unknown", outcome.notes) << keys;
    EXPECT_EQ(0, outcome.exitCode);
  }
}

TEST(Help, OneKeyIsExplained) {
  const TempFolder folder;
  const Outcome known = Session(folder).run("-hf");
  EXPECT_TRUE(known.shows("EXTENDED KEY HELP\n-f < or-pattern>"));
  EXPECT_TRUE(known.shows("Example: "));
  EXPECT_FALSE(known.shows("hidden key"));

  EXPECT_TRUE(Session(folder).run("-?C").shows("This is hidden key used by developers only\n"));
  EXPECT_TRUE(Session(folder).run("-h x").shows("Key -x is not valid\n"));
  EXPECT_TRUE(Session(folder).run("-h?").shows("EXTENDED KEY HELP\n-? "));
  EXPECT_TRUE(Session(folder).run("-h-f").shows("EXTENDED KEY HELP\n-f <"));

  const Outcome last = Session(folder).run("-?f -?r");
  EXPECT_TRUE(last.shows("EXTENDED KEY HELP\n-r["));
  EXPECT_FALSE(last.shows("EXTENDED KEY HELP\n-f"));
}

TEST(Help, AKeyOfASubclassMayLackDetails) {
  class OwnSession : public tzSession {
    void initSession() override {
      tzSession::initSession();
      initOption(
          'z', "z", [](const tzString& arg) { return "zet " + arg; },
          [](const tzString&, tzSession*) {}, "-z  = a key of this build\n", false);
    }
  };
  const TempFolder folder;
  const auto setup = [] { tzRegSession(new OwnSession); };
  EXPECT_TRUE(
      Session(folder).setup(setup).run("-hz").shows("No detailed description for this key\n"));
  EXPECT_TRUE(Session(folder).setup(setup).run("-h").shows("-z  = a key of this build\n"));
  EXPECT_TRUE(Session(folder).setup(setup).run("-z 5").shows("-z5                zet 5\n"));
}

// Every key has a help line that begins with it, and several lines of details with an example.
TEST(Help, EveryKeyIsDocumented) {
  tzRegRkdEnvironment([] {});
  tzSession session;
  session.initSession();
  EXPECT_EQ(48, session.options().count());
  for (const tzOption& option : session.options()) {
    const std::string help = option.helpLines().str();
    const std::string details = option.details().str();
    EXPECT_EQ(std::string("-") + option.key, help.substr(0, 2));
    EXPECT_NE(std::string::npos, details.find("\nExample: ")) << option.key;
    for (const std::string& line : harnesskit::splitLines(details)) {
      EXPECT_LE(line.size(), 95u) << line;
    }
    EXPECT_EQ(option.key == 'S' || option.key == 'C', option.hidden) << option.key;
  }
  EXPECT_STREQ("hq", session.getOption('?')->name.c_str());
  EXPECT_EQ('M', session.options().back().key);
}
