// Runs in parts (-K), and runs that go on where an earlier one ended (-J).

#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <filesystem>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "harnesskit.h"
#include "tzjsonreader.h"
#include "tzplan.h"
#include "tzshard.h"
#include "validated.h"

using harnesskit::Outcome;
using harnesskit::Session;
using harnesskit::splitLines;
using harnesskit::steadyLoop;
using harnesskit::StubTest;
using harnesskit::TempFolder;

namespace {

const char* const kKeys = "-B -f-__tz -dMethod=Manual -dNumLoops=2 ";

// Seven tests of five functions, 14 rows, one of which tells of a warning.
void registerMany() {
  harnesskit::registerStubs();
  tzRegTest(new StubTest("stubAlpha", steadyLoop<TZ_OK, 800>, "SecondSuite"));
  tzRegTest(new StubTest("stubDelta", steadyLoop<TZ_OK, 900>));
  tzRegTest(new StubTest("stubDelta", steadyLoop<TZ_OK, 901>, "SecondSuite", "8;8"));
  tzRegTest(new StubTest("stubEps", steadyLoop<TZ_OK, 700>, "Stub\"Suite\\\xE9"));
}

// How often each combination stands in a file: function, test and parameters.
std::map<std::string, int> rowsIn(const std::string& lines) {
  std::map<std::string, int> rows;
  for (const std::string& line : splitLines(lines)) {
    tzJsonReader reader;
    if (!reader.read(line) || reader.text("type") != "row") continue;
    ++rows[std::string(reader.raw("function")) + std::string(reader.raw("test")) +
           std::string(reader.raw("parameters"))];
  }
  return rows;
}

// The rows of a table without clocks and notes.
std::vector<std::string> tableRows(const std::string& table) {
  std::vector<std::string> rows;
  for (const std::string& line : splitLines(table)) {
    if (line.find(",Timing,") != std::string::npos) rows.push_back(line);
  }
  return rows;
}

}  // namespace

TEST(LongRuns, PartsAddUpToTheWhole) {
  const TempFolder folder;
  for (const std::string more : {"", "-s- ", "-FDelta ", "-HONLY ", "-f+stub -t-Other "}) {
    const std::string keys = kKeys + more;
    Session(folder).setup(registerMany).run(keys + "-j all.jsonl -r all.csv");
    std::map<std::string, int> whole = rowsIn(folder.read("all.jsonl"));
    ASSERT_FALSE(whole.empty());
    for (const int count : {1, 2, 3, 9}) {
      std::map<std::string, int> sum;
      for (int part = 1; part <= count; ++part) {
        const std::string key = "-K" + std::to_string(part) + "/" + std::to_string(count);
        Session(folder).setup(registerMany).run(keys + key + " -j part.jsonl");
        for (const auto& [row, times] : rowsIn(folder.read("part.jsonl"))) sum[row] += times;
      }
      EXPECT_EQ(whole, sum) << more << count;
    }
  }
  EXPECT_EQ("1 12 1 0\n", validated(folder, "all.jsonl")) << folder.read("all.jsonl");
}

TEST(LongRuns, APartIsListedAndTold) {
  const TempFolder folder;
  const Outcome listed = Session(folder).setup(registerMany).run("-e -f-__tz -K2/3");
  EXPECT_EQ(0u, listed.lines("stubBeta").size()) << listed.console;
  EXPECT_EQ(2u, listed.lines("SecondSuite").size()) << listed.console;
  Session(folder).setup(registerMany).run(std::string(kKeys) + "-K2/3 -j part.jsonl");
  EXPECT_NE(std::string::npos,
            folder.read("part.jsonl")
                .find("\"part\":{\"index\":2,\"count\":3,\"tests\":2,\"selected\":7}"));
  EXPECT_EQ("1 4 1 0\n", validated(folder, "part.jsonl"));
  for (const char* bad : {"", "0/2", "3/2", "1", "1/", "/2", "1/2/3", "-1/2", "1/10001", "a/b"}) {
    tzShard part;
    EXPECT_FALSE(part.parse(bad)) << bad;
    EXPECT_TRUE(Session(folder)
                    .run(std::vector<std::string>{"-K", bad})
                    .shows("ignored: no part of parts, as 2/4"))
        << bad;
  }
}

// Wherever a file is cut, the run that goes on with it adds what is missing, and the table of that
// run is the one of a run that was never ended.
TEST(LongRuns, GoOnFromWhateverIsThere) {
  const TempFolder folder;
  const std::string keys = kKeys + std::string("-J -r ");
  Session(folder).setup(registerMany).run(keys);
  const std::string text = folder.read("stub.jsonl");
  const auto whole = rowsIn(text);
  const auto table = tableRows(folder.read("stub.csv"));
  ASSERT_EQ(13u, whole.size());
  ASSERT_EQ(14u, table.size());
  std::vector<std::size_t> lengths{0, 1, text.size() - 1, text.size()};
  for (std::size_t at = 0; (at = text.find('\n', at)) != std::string::npos; ++at) {
    for (const std::size_t length : {at, at + 1, at + 7}) lengths.push_back(length);
  }
  for (const std::size_t length : lengths) {
    folder.write("stub.jsonl", text.substr(0, length));
    const Outcome outcome = Session(folder).setup(registerMany).run(keys);
    EXPECT_EQ(0, outcome.exitCode) << outcome.console;
    EXPECT_EQ(whole, rowsIn(folder.read("stub.jsonl"))) << length;
    EXPECT_EQ(table, tableRows(folder.read("stub.csv"))) << length;
  }
  const std::string verdict = validated(folder, "stub.jsonl");
  EXPECT_EQ("2 14 2 0\n", verdict);
}

namespace {

int killedAfter = 0;  // microseconds

void registerKilled() {
  registerMany();
  if (killedAfter > 0) ualarm(static_cast<useconds_t>(killedAfter), 0);
}

}  // namespace

// Nothing handles the alarm: it ends the process wherever it is, as a kill does.
TEST(LongRuns, GoOnAfterAKillAtAnyMoment) {
  for (const std::string more : {"", "-k ", "-dMethod=Spread -X2 -b0.004 "}) {
    const TempFolder folder;
    const std::string keys = kKeys + more + "-J ";
    int kills = 0;
    std::size_t most = 0;
    for (int i = 0; i < 40; ++i) {
      killedAfter = 500 + 250 * i * (i + 1);  // up to 390 ms; fast machines are done after 10
      kills += Session(folder).setup(registerKilled).run(keys).exitCode == -SIGALRM;
      for (const auto& [row, times] : rowsIn(folder.read("stub.jsonl"))) {
        most = std::max<std::size_t>(most, static_cast<std::size_t>(times));
      }
    }
    EXPECT_GT(kills, 0) << more;
    EXPECT_LE(most, 2u) << more;  // one combination is in the list twice
    killedAfter = 0;
    EXPECT_EQ(0, Session(folder).setup(registerKilled).run(keys).exitCode);
    const auto rows = rowsIn(folder.read("stub.jsonl"));
    EXPECT_EQ(13u, rows.size()) << more;
    for (const auto& [row, times] : rows) {
      EXPECT_EQ(row.find("Delta\"\"Second") != std::string::npos ? 2 : 1, times) << more << row;
    }
  }
}

TEST(LongRuns, TakeRowsOfTheSameMachineAndSettingsAlone) {
  const TempFolder folder;
  Session(folder).run("-B -J -f=stubAlpha");
  const Outcome again = Session(folder).run("-B -J -f=stubAlpha -LP");
  EXPECT_TRUE(again.shows(" Resumed    : 2 rows are there already, the last of 2"))
      << again.console;
  EXPECT_EQ(2u, again.lines("stubAlpha  Length=").size()) << again.console;
  const std::string text = folder.read("stub.jsonl");
  EXPECT_NE(std::string::npos,
            text.find("\"resumed\":{\"rows\":2,\"cut_bytes\":0,\"other_rows\":0,"));
  for (const char* key : {"-dAccuracy=7", "-w OFF", "-dVectorAlign=8"}) {
    folder.write("stub.jsonl", text);
    const Outcome other = Session(folder).run(std::string("-B -J -f=stubAlpha ") + key);
    EXPECT_TRUE(other.shows("-- 2 rows there were measured with other ")) << other.console;
    EXPECT_EQ(2, rowsIn(folder.read("stub.jsonl")).begin()->second) << key;
  }
  std::string elsewhere = text;
  for (std::size_t at = 0; (at = elsewhere.find("\"computer\":\"", at)) != std::string::npos;) {
    elsewhere.insert(at += 12, "x");
  }
  folder.write("stub.jsonl", elsewhere);
  EXPECT_TRUE(Session(folder).run("-B -J -f=stubAlpha").shows("other computer: they do not count"));
}

// What is no file of the program is left as it is.
TEST(LongRuns, RefuseWhatIsNoFileOfARun) {
  const TempFolder folder;
  Session(folder).run("-B -j -f=stubAlpha");
  const std::string good = folder.read("stub.jsonl");
  const std::string row = good.substr(good.find('\n') + 1);
  for (const std::string& bad :
       {std::string("hello\n"), row, good + "\n", good + "{\"type\":\"row\"}\n", good + "{}\n",
        good + std::string(100, '[') + "\n", good + "{\"type\":\"end\",\"type\":\"end\"}\n"}) {
    folder.write("stub.jsonl", bad);
    const Outcome outcome = Session(folder).run("-B -J -f=stubAlpha -r");
    EXPECT_EQ(1u, outcome.lines("-- Can't go on with file ").size()) << bad << outcome.console;
    EXPECT_TRUE(outcome.shows("FATAL ERROR: can't open output file for writing"));
    EXPECT_EQ(bad, folder.read("stub.jsonl"));
  }
  for (const char* keys : {"-J -j", "-J -c SSE41,AVX2", "-J -D /tmp", "-J -r stub.jsonl"}) {
    EXPECT_TRUE(Session(folder).run("-B -Q " + std::string(keys)).shows("ignored: ")) << keys;
  }
}

namespace {

tzResult tellingFailure(int, long long*) {
  std::puts("called");
  std::fflush(stdout);
  return TZ_FUNCFAIL;
}

// Tells whether a row gets all of its budget or what the run has left for it.
tzResult tellingShare(int n, long long* clocks) {
  static bool told = false;
  if (!std::exchange(told, true)) {
    std::puts(g_plan.share(tzTool::seconds()) > 1 ? "share: whole" : "share: part");
    std::fflush(stdout);
  }
  *clocks = 1000LL * n;
  return TZ_OK;
}

int endsInPass = 0;
int endsAtRun = 0;  // of this pass
bool endsParent = false;

tzResult endedLoop(int n, long long* clocks) {
  static int runs = 0;
  if (g_plan.pass == endsInPass && ++runs == endsAtRun) {
    kill(endsParent ? getppid() : getpid(), SIGINT);
  }
  *clocks = 1000LL * n;
  return TZ_OK;
}

void registerEnded() {
  for (const char* name : {"stubFirst", "stubSecond"}) tzRegTest(new StubTest(name, endedLoop));
}

}  // namespace

// A failed row is there, too: the test ends with it again, in each pass. What stands behind it was
// not measured before, and will not be.
TEST(LongRuns, KeepFailuresOfTheRunBefore) {
  const auto failing = [] { tzRegTest(new StubTest("stubBad", tellingFailure)); };
  for (const auto& [keys, calls] :
       {std::pair{std::string("-B -J -r"), 1u}, {"-B -J -r -dMethod=Spread -X3", 3u}}) {
    const TempFolder folder;
    const Outcome first = Session(folder).setup(failing).run(keys);
    EXPECT_EQ(1, first.exitCode);
    EXPECT_EQ(calls, first.lines("called").size());
    const Outcome again = Session(folder).setup(failing).run(keys);
    EXPECT_EQ(1, again.exitCode) << again.console;
    EXPECT_EQ(0u, again.lines("called").size()) << again.console;
    EXPECT_EQ(1u, again.lines("-- FUNCFAIL: stubBad").size()) << again.console;
    EXPECT_EQ(1u, tableRows(folder.read("stub.csv")).size());
    EXPECT_EQ(1u, rowsIn(folder.read("stub.jsonl")).size());
  }
}

// However many rows there are: the others have the time of the run, and no more.
TEST(LongRuns, LeaveTheTimeOfTheRunToWhatIsMeasured) {
  const TempFolder folder;
  const auto setup = [] {
    harnesskit::registerStubs();
    tzRegTest(new StubTest("stubShare", tellingShare, "StubSuite", "8"));
  };
  const std::string keys = "-B -J -dMethod=Spread -b100,0.02 -f-__tz -f-Gamma ";
  for (const std::string more : {"", "-k "}) {
    Session(folder).setup(setup).run(keys + more + "-f-Share");
    const Outcome outcome = Session(folder).setup(setup).run(keys + more);
    EXPECT_TRUE(outcome.shows("4 rows are there already")) << outcome.console;
    EXPECT_EQ(1u, outcome.lines("share: part").size()) << more << outcome.console;
  }
}

// A row that a signal left before all of its passes is told, but the run that goes on makes it.
TEST(LongRuns, MakeThePassesThatASignalTookAway) {
  struct Case {
    const char* keys;
    int pass;
    int run;  // the first ones only settle how many calls a sample has
    // Rows told: a slow machine is behind the first one by then, and a child may be faster than the
    // signal.
    size_t least, most;
  };
  for (const Case& end :
       {Case{"", 1, 20, 1, 3}, {"", 2, 1, 4, 4}, {"", 3, 1, 4, 4}, {"-k", 2, 1, 0, 4}}) {
    const TempFolder folder;
    const std::string keys = std::string("-B -dMethod=Spread -X3 -b0.006 -f-__tz -J ") + end.keys;
    endsInPass = end.pass;
    endsAtRun = end.run;
    endsParent = *end.keys != 0;
    const Outcome ended = Session(folder).setup(registerEnded).run(keys);
    EXPECT_EQ(-SIGINT, ended.exitCode) << ended.console;
    const size_t told = ended.lines("clocks/px").size();
    EXPECT_GE(told, end.least) << ended.console;
    EXPECT_LE(told, end.most) << ended.console;
    EXPECT_EQ(0u, rowsIn(folder.read("stub.jsonl")).size()) << end.keys << end.pass;
    endsInPass = 0;
    EXPECT_EQ(0, Session(folder).setup(registerEnded).run(keys).exitCode);
    EXPECT_EQ(4u, rowsIn(folder.read("stub.jsonl")).size()) << end.keys << end.pass;
    EXPECT_EQ(std::string::npos, folder.read("stub.jsonl").find("samples of")) << end.pass;
  }
}
