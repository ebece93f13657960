// End to end: keys in, console, files and exit code out. Most rows run a session over stub tests in
// a forked child; a few run the program itself.

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <string>
#include <utility>
#include <vector>

#include "harnesskit.h"
#include "testpaths.h"
#include "tzenv.h"
#include "tzistream.h"

using harnesskit::compareGolden;
using harnesskit::holds;
using harnesskit::Outcome;
using harnesskit::Session;
using harnesskit::splitLines;
using harnesskit::TempFolder;

namespace {

using Words = std::vector<std::string>;

std::string golden(const std::string& name) {
  return std::string(TAZMET_TEST_DATA) + "/golden/" + name;
}

// The stubs on a library that has nothing but its core services.
void registerLibrary() {
  harnesskit::registerStubs();
  tzRegRkdEnvironment([] {
    rkd_Init = []() -> RkdStatus { return rkdStsNoErr; };
    rkd_InitCpu = [](RkdCpuType) -> RkdStatus { return rkdStsNoErr; };
    rkd_SetNumThreads = [](int) -> RkdStatus { return rkdStsNoErr; };
  });
}

}  // namespace

// ---- texts that are the same everywhere ----

TEST(Golden, Helps) {
  const TempFolder folder;
  const struct {
    const char* keys;
    const char* file;
  } cases[] = {{"-h", "help.txt"},    {"-?", "help_hidden.txt"},      {"-hh", "help_full.txt"},
               {"-hL", "help_L.txt"}, {"-?S", "help_S.txt"},          {"-v", "version.txt"},
               {"-e", "list.txt"},    {"-e -s-", "list_unsorted.txt"}};
  for (const auto& c : cases) {
    const Outcome outcome = Session(folder).setup(registerLibrary).run(c.keys);
    EXPECT_EQ("", compareGolden(outcome.console, golden(c.file), folder.path())) << c.keys;
    EXPECT_EQ(0, outcome.exitCode) << c.keys;
  }
}

TEST(Golden, AWholeRun) {
  const TempFolder folder;
  const Outcome outcome = Session(folder).run("-B -r -u -q -o -g -m -H -f-__tz");
  EXPECT_EQ(0, outcome.exitCode);
  EXPECT_EQ("", compareGolden(outcome.console, golden("run_console.txt"), folder.path()));
  EXPECT_EQ("", compareGolden(folder.read("stub.csv"), golden("run_results.csv"), folder.path()));
  EXPECT_EQ("",
            compareGolden(folder.read("stub_sum.csv"), golden("run_summary.csv"), folder.path()));
  EXPECT_EQ("",
            compareGolden(folder.read("stub_name.csv"), golden("run_names.csv"), folder.path()));
  EXPECT_EQ("", compareGolden(folder.read("stub.end"), golden("run_signal.txt"), folder.path()));
  // The copy is the console's text from the end of the key echo on.
  const std::string copy = folder.read("stub.txt");
  ASSERT_GT(copy.size(), 500u);
  EXPECT_EQ(copy, outcome.console.substr(outcome.console.size() - copy.size()));
}

// ---- the manual ----

namespace {

std::string document(const std::string& name) {
  std::ifstream in(std::string(TAZMET_TEST_DATA) + "/../../docs/" + name);
  return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

// The lines between two texts, without empty ones at the end.
Words linesBetween(const std::string& text, const std::string& from, const std::string& to) {
  const size_t start = text.find(from);
  if (start == std::string::npos) return {"no " + from};
  const size_t first = start + from.size();
  Words lines = splitLines(text.substr(first, text.find(to, first) - first));
  while (!lines.empty() && lines.back().empty()) lines.pop_back();
  return lines;
}

std::string keyList(const char* key, const std::string& heading) {
  const TempFolder folder;
  const std::string help = Session(folder).setup(registerLibrary).run(key).console;
  return help.substr(help.find(heading)) + "<end>";
}

}  // namespace

TEST(Manual, ListsEveryKeyAsTheHelpDoes) {
  const std::string heading = "EXTENDED HELP with hidden keys\n";
  EXPECT_EQ(linesBetween(keyList("-??", heading), heading, "<end>"),
            linesBetween(document("manual.md"), "<!-- keys -->\n\n```text\n", "```"));
}

TEST(Manual, PageListsEveryKeyAsTheHelpDoes) {
  const std::string heading = "QUICK HELP with hidden keys\n";
  std::string page = document("tazmet.1");
  for (const auto& [escaped, plain] : {std::pair{R"(\-)", "-"}, {R"(\(aq)", "'"}}) {
    for (size_t at; (at = page.find(escaped)) != std::string::npos;) {
      page.replace(at, std::string(escaped).size(), plain);
    }
  }
  EXPECT_EQ(linesBetween(keyList("-?", heading), heading, "<end>"),
            linesBetween(page, ".nf\n", ".fi\n"));
}

// ---- one table for all keys ----

namespace {

struct Row {
  const char* keys;
  Words shown;   // patterns, each found in some line, in this order
  Words hidden;  // found nowhere
  Words files;   // what the folder holds afterwards, beyond what `given` made
  int exitCode = 0;
  const char* given = "";  // a file of this name and text, "name|text"
  const char* typed = "";
};

const char* const kAlpha = " stubAlpha  Length=8%ANY%100 clocks/px  nLps=4%ANY%OK";
const char* const kBeta = " stubBeta  Length=8%ANY%200 clocks/px  nLps=4%ANY%OK";
const char* const kGamma = " stubGamma  Length=8%ANY%50.0 clocks/px  nLps=4%ANY%FUNCWRN";
const char* const kCount3 = "Number of tests: 3 ";

const Row kRows[] = {
    {"-B -f-__tz", {kAlpha, kBeta, kGamma, kCount3}, {"] = "}, {}},
    {"-ATiming -fAlpha",
     {"Method {Auto|%ANY%} [Auto] =%ANY%Method = Manual", "NumLoops [10] =%ANY%NumLoops = 5",
      "nLps=5 "},
     {},
     {},
     0,
     "",
     "Manual\n5\n"},
    {"-AParams -fAlpha", {kAlpha}, {"Method %ANY%] = "}, {}},
    {"-A m -fAlpha",
     {"VectorAlign by Element, 0..63 [0] =%ANY%VectorAlign = 3"},
     {},
     {},
     0,
     "",
     "element\n3\n"},
    {"-AAll -fAlpha",
     {"Length [8; 16] = ", "Length=4%ANY%200 clocks"},
     {"Length=8"},
     {},
     0,
     "",
     "\n\n\n\n\n\n\n4\n"},
    {"-AAll -B", {"-AAll%ANY%ignored: batch mode", kAlpha}, {"] = "}, {}, 0, "", "Manual\n"},
    {"-d Length=32 -fAlpha", {"Length=32%ANY%25.0 clocks"}, {"Length=8"}, {}},
    {"-i -fAlpha",
     {"parameters read from %ANY%/stub.ini", "Length=4%ANY%200 clocks", "Length=2%ANY%400 clocks"},
     {"Length=8"},
     {},
     0,
     "stub.ini|[stubAlpha]\nLength=4;2"},
    {"-i -dLength=1 -fAlpha",
     {"Length=1%ANY%800 clocks"},
     {"Length=4"},
     {},
     0,
     "stub.ini|[stubAlpha]\nLength=4;2"},
    {"-I new.ini -fAlpha",
     {"parameters written to %ANY%/new.ini", "Parameters written to %ANY%/new.ini"},
     {"clocks/px"},
     {"new.ini"}},
    {"-i few.ini -P", {kBeta, "Number of tests: 1 "}, {"stubAlpha"}, {}, 0, "few.ini|[stubBeta]"},
    {"-o -fAlpha", {kAlpha}, {}, {"stub.txt"}},
    {"-O log -fAlpha", {"console output added to %ANY%/log"}, {}, {"log"}},
    {"-LERR", {}, {"clocks/px", "Summary", "performance"}, {}},
    {"-LWARN", {kGamma}, {"Summary"}, {}},
    {"-LTRACE -fAlpha", {"* trace into   loopData", kAlpha, "* trace out of loopData"}, {}, {}},
    {"-LINFO -fAlpha", {"Auto method: start", "Auto method: stop", kAlpha}, {}, {}},
    {"-r -fAlpha", {"results written to %ANY%/stub.csv"}, {}, {"stub.csv"}},
    {"-R all.csv -fAlpha", {"results added to %ANY%/all.csv"}, {}, {"all.csv"}},
    {"-q -fAlpha", {"parameter names written to"}, {}, {"stub_name.csv"}},
    {"-q+ -r -fAlpha", {"parameter names added to the results"}, {}, {"stub.csv"}},
    {"-Q", {"exit after"}, {"clocks/px", "Summary"}, {"stub_name.csv"}},
    {"-u -fAlpha", {"summary written to"}, {}, {"stub_sum.csv"}},
    {"-U s.csv -fAlpha", {"summary added to"}, {}, {"s.csv"}},
    {"-g -fAlpha", {"signal file written to"}, {}, {"stub.end"}},
    {"-g x -g y -fAlpha", {}, {}, {"y"}},
    {"-nrun -r -fAlpha", {}, {}, {"run.csv"}},
    {"-p /nowhere -i -fAlpha", {"Can't open file /nowhere/stub.ini to read", kAlpha}, {}, {}},
    {"-r -l /nowhere",
     {"Can't open file /nowhere/stub.csv to write", "FATAL ERROR: can't open output"},
     {"clocks/px"},
     {}},
    {"-fAlpha", {kAlpha, "Number of tests: 1 "}, {"stubBeta"}, {}},
    {"-f- Alpha -f-__tz", {kBeta, kGamma}, {"stubAlpha"}, {}},
    {"-f=stubBet", {"Number of tests: 0 "}, {"clocks/px"}, {}},
    {"-f+stub -f+eta", {kBeta}, {"stubAlpha"}, {}},
    {"-tOtherSuite", {kGamma}, {"stubBeta"}, {}},
    {"-t-Stub -t-__tz", {kGamma}, {"stubBeta"}, {}},
    {"-F stubBeta", {kBeta, kGamma, "Number of tests: 2 "}, {"stubAlpha", "Result %ANY%__tz"}, {}},
    {"-F nothing", {"Number of tests: 0 "}, {"clocks/px"}, {}},
    {"-YHIGH -fAlpha", {"high process priority", kAlpha}, {}, {}},
    {"-HONLY", {kBeta, "Number of tests: 1 "}, {"stubAlpha"}, {}},
    {"-H -r -q+ -fAlpha", {"column 'Interest'"}, {}, {"stub.csv"}},
    {"-T SSE41 -fAlpha",
     {"code for SSE41", "--calling rkdInitCpu", "--status = rkdStsNoErr", kAlpha},
     {},
     {}},
    {"-N2 -fAlpha", {"2 threads", "--calling rkdSetNumThreads( 2 )"}, {}, {}},
    {"-N -fAlpha", {"threads of the library", "--calling rkdSetNumThreads"}, {}, {}},
    {"-SU -fAlpha", {"no call function", "Undefined    : 1 "}, {"clocks/px"}, {}},
    {"-C -fAlpha", {"In-Outof-Cache="}, {}, {}},
    {"-s- -f-__tz", {kBeta, kAlpha, kGamma}, {}, {}},
    {"-s- -s -f-__tz", {kAlpha, kBeta, kGamma}, {}, {}},
    {"-e -fAlpha", {"1\tstubAlpha"}, {"stubBeta", "clocks/px"}, {}},
    {"-e -r -o -u", {"-u%ANY%ignored because of -e option"}, {}, {"stub.csv", "stub.txt"}},
    {"-e+", {"Exist"}, {"clocks/px"}, {}},
    {"-e-", {"without: 0"}, {"clocks/px"}, {}},
    {"-v -r", {"ignored because of -v option", "version 1.0.0 Mar 16 2010"}, {"Sorting"}, {}},
    {"-h -r -g", {"ignored because of -h option", "QUICK HELP", "-B "}, {"-SU", "Sorting"}, {}},
    {"-?", {"QUICK HELP with hidden keys", "-SU ", "-C "}, {}, {}},
    {"-?C", {"EXTENDED KEY HELP", "hidden key used by developers only"}, {}, {}},
    {"-m -fAlpha", {"memory info written to"}, {}, {"stub_mem.csv"}},
    {"-V -fAlpha", {"compared with their references first"}, {}, {}},
    {"-VONLY -fAlpha", {"compared with their references only"}, {"clocks/px"}, {}},
    {"-W -fAlpha", {"nothing is measured unless", kAlpha}, {}, {}},
    {"-k -fAlpha -fGamma", {"each test in a child process", kAlpha, kGamma}, {}, {}},
    {"-k-1 -fAlpha", {"ignored: incorrect number of seconds", kAlpha}, {}, {}},
    {"-j -fAlpha", {"results with all samples written to", kAlpha}, {}, {"stub.jsonl"}},
    {"-D /nowhere/at/all -fAlpha", {"ignored: not a directory", kAlpha}, {}, {}},
    {"-cSSE2 -c SSE2,Z80 -fAlpha", {"the last -c counts", "type Z80", kAlpha}, {}, {}},
    {"-cSSE2 -fAlpha", {"ignored: two processors at least", kAlpha}, {}, {}},
    {"-B -dMethod=Spread -X2 -b0.002,0.5 -fAlpha",
     {"-X2%ANY%2 passes over all tests",
      "-b0.002,0.5%ANY%0.002 s of samples a row, 0.5 s for the run",
      "Timing   : spread, passes: 2, 0.002 s a row", "Empty call: %NUM% clocks",
      "Pass 1 of 2: %NUM% s",
      " stubAlpha  Length=8%ANY%100 clocks/px  nSmp=%NUM% med=+0.0% mad=0.0% slow=0%%ANY%OK",
      "Rows that are not OK: 0"},
     {"Pass 2"},
     {}},
    {"-B -X2 -fAlpha", {"One pass is made: passes need Method=Spread", kAlpha}, {"Pass 1"}, {}},
    {"-X0", {"-X0%ANY%ignored: no number of passes"}, {}, {}},
    {"-X2,x", {"-X2,x%ANY%ignored: no number of passes"}, {}, {}},
    {"-b0", {"-b0%ANY%ignored: no seconds"}, {}, {}},
    {"-a99999", {"-a99999%ANY%ignored: not a processor that this process may use"}, {}, {}},
    {"-a -fAlpha", {"-a%ANY%pinned to processor %NUM%", kAlpha}, {}, {}},
    {"-wSTRICT -fAlpha", {"-wSTRICT%ANY%runs are watched strictly", kAlpha}, {}, {}},
    {"-wX", {"-wX%ANY%ignored: only ON, OFF or STRICT may follow"}, {}, {}},
    {"-M", {"-M%ANY%facts about the machine", " counter_step%ANY%%NUM%"}, {"stubAlpha"}, {}},
    {"-W -cSSE2,SSE41 -fAlpha -k -X2",
     {"ignored in a comparison: -k -X2", "not started"},
     {},
     {},
     2},
    {"-K2/2 -f-__tz", {"-K2/2%ANY%part 2 of 2 of the selected tests", kBeta}, {"stubAlpha"}, {}},
    {"-K3/2 -fAlpha", {"-K3/2%ANY%ignored: no part of parts, as 2/4", kAlpha}, {}, {}},
    {"-J -fAlpha",
     {"-J%ANY%rows that %ANY%/stub.jsonl lacks are measured and added", kAlpha},
     {"Resumed"},
     {"stub.jsonl"}},
    {"-G -fAlpha", {"-G%ANY%progress on the terminal, with times of", kAlpha}, {" gone"}, {}},
    {"-W -x", {"incorrect option key", "The run is not started"}, {"clocks/px"}, {}, 2},
};

// The first expectation that the outcome does not meet.
std::string unmet(const Row& row, const Outcome& outcome) {
  const Words lines = splitLines(outcome.console);
  size_t at = 0;
  for (const std::string& pattern : row.shown) {
    while (at < lines.size() && !holds(lines[at], pattern)) ++at;
    if (at++ >= lines.size()) return "not shown, or not in this order: " + pattern;
  }
  for (const std::string& pattern : row.hidden) {
    for (const std::string& line : lines) {
      if (line.rfind(" -", 0) != 0 && line.find("Command line") != 0 && holds(line, pattern)) {
        return "shown: " + pattern;
      }
    }
  }
  return "";
}

}  // namespace

TEST(EndToEnd, EveryKeyDoesWhatTheTableSays) {
  std::string covered;
  for (const Row& row : kRows) {
    const TempFolder folder;
    const std::string given(row.given);
    const std::string name = given.substr(0, given.find('|'));
    if (!name.empty()) folder.write(name, given.substr(given.find('|') + 1));
    const Outcome outcome =
        Session(folder).setup(registerLibrary).input(row.typed).run(std::string(row.keys));
    EXPECT_EQ("", unmet(row, outcome)) << row.keys << "\n" << outcome.console;
    EXPECT_EQ(row.exitCode, outcome.exitCode) << row.keys;
    Words files = row.files;
    if (!name.empty()) files.push_back(name);
    std::sort(files.begin(), files.end());
    EXPECT_EQ(files, folder.list()) << row.keys;
    covered += row.keys;
  }
  tzSession session;
  session.initSession();
  for (const tzOption& option : session.options()) {
    EXPECT_NE(std::string::npos, covered.find(std::string("-") + option.key)) << option.key;
  }
}
