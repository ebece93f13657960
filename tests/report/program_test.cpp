// The command line: help, refusals, exit codes.

#include <gtest/gtest.h>

#include <cstdio>
#include <regex>

#include "reportkit.h"
#include "testpaths.h"

using namespace reportkit;

namespace {

// What bash offers for the last word, a line each.
std::string bashOffers(const std::string& script, const std::vector<std::string>& words) {
  std::string line = "bash -c 'source \"$0\"; COMP_WORDS=(tazreport";
  for (const std::string& word : words) line += " " + word;
  line += "); COMP_CWORD=" + std::to_string(words.size()) + "; _tazreport; ";
  line += "((${#COMPREPLY[@]})) && printf \"%s\\n\" \"${COMPREPLY[@]}\"' \"" + script + "\"";
  std::FILE* pipe = popen(line.c_str(), "r");
  std::string offers;
  for (int c; (c = std::fgetc(pipe)) != EOF;) offers += static_cast<char>(c);
  pclose(pipe);
  return offers;
}

}  // namespace

TEST(ReportProgram, HelpsAndRefusesInOneLine) {
  const auto help = run({"--help"});
  EXPECT_EQ(0, help.code);
  for (const report::CommandEntry& entry : report::commands()) {
    EXPECT_NE(std::string::npos, help.out.find(entry.name)) << entry.name;
    EXPECT_EQ(0, run({entry.name, "--help"}).code) << entry.name;
  }
  EXPECT_EQ(0u, run({"--version"}).out.find("tazreport 1."));
  EXPECT_EQ("tazreport: there is no subcommand shw (see tazreport --help)\n",
            run({"shw", "F"}).err);
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

// The manual has every subcommand and every option of the help, and bash offers them.
TEST(ReportProgram, IsToldInTheManualAndCompleted) {
  const TempFolder folder;
  std::ifstream stream(std::string(TAZMET_TEST_DATA) + "/../../docs/tazreport.1");
  std::string manual{std::istreambuf_iterator<char>(stream), {}};
  std::erase(manual, '\\');
  const std::string script = folder.write("completion", run({"completion"}).out);
  for (const report::CommandEntry& entry : report::commands()) {
    EXPECT_NE(std::string::npos, manual.find(std::string("tazreport ") + entry.name)) << entry.name;
    const std::string help = run({entry.name, "--help"}).out;
    const std::string offered = bashOffers(script, {entry.name, "--"});
    const std::regex option("--[a-z]+(-[a-z]+)*");
    for (std::sregex_iterator found(help.begin(), help.end(), option), end; found != end; ++found) {
      if (found->str() == "--help") continue;
      EXPECT_NE(std::string::npos, manual.find(found->str())) << entry.name << ' ' << found->str();
      EXPECT_NE(std::string::npos, offered.find(found->str() + '\n')) << offered;
    }
  }
  EXPECT_EQ("show\n", bashOffers(script, {"sh"}));
  EXPECT_EQ("GB/s\n", bashOffers(script, {"show", "--unit", "G"}));
  EXPECT_EQ("", bashOffers(script, {"show", "results"}));
  EXPECT_EQ("add\nlist\nshow\nsteps\n", bashOffers(script, {"history", ""}));
  EXPECT_EQ("", bashOffers(script, {"history", "add", "s"}));
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
