// tazreport merge: parts add up to the whole, and what is missing or there twice is told.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "report/merge.h"
#include "reportkit.h"

using namespace reportkit;
using testing::HasSubstr;

namespace {

std::string context(const std::string& part, const std::string& computer = "box") {
  const std::string own =
      replaced(kContext, "\"computer\":\"box\"", "\"computer\":\"" + computer + '"');
  return replaced(own, "}\n", part + "}\n");
}

std::string partOf(int index, int count, int selected = 3) {
  return ",\"part\":{\"index\":" + std::to_string(index) + ",\"count\":" + std::to_string(count) +
         ",\"tests\":1,\"selected\":" + std::to_string(selected) + "}";
}

// A member that this program does not know stays.
const std::string kFirst = row("fnA", "8x8", 0.1, "OK", ",\"new_member\":[1e-07]");
const std::string kTwin = row("fnB", "8x8", 2);
const std::string kLast = row("fnC", "8x8", 3, "ACCURWRN");
const char* const kSum = R"({"type":"end","ended":"2026-11-22T08:10:00Z","tests":)";

}  // namespace

TEST(Merge, PartsAddUpToTheWhole) {
  const TempFolder folder;
  const auto one = folder.write("1", context(partOf(1, 2)) + kFirst + kLast + kEnd);
  const auto two = folder.write("2", context(partOf(2, 2)) + kTwin + kTwin + kEnd);
  for (const auto& [a, b] : {std::pair{one, two}, {two, one}}) {
    const auto done = run({"merge", a, b, "--complete", "-o", folder.file("all")});
    EXPECT_EQ(0, done.code) << done.err;
    EXPECT_THAT(done.out, HasSubstr("4 rows of 2 files, one machine\n"));
    EXPECT_EQ(
        kContext + kFirst + kTwin + kTwin + kLast + kSum + "4,\"failures\":0,\"warnings\":2}\n",
        folder.read("all"));
  }
  EXPECT_EQ(1u, report::readRuns(folder.file("all")).size());
}

TEST(Merge, KeepsMachinesAndSettingsApart) {
  const TempFolder folder;
  folder.write("1", context(partOf(1, 2), "one") + kFirst + kEnd);
  folder.write("2", context(partOf(2, 2), "two") + kFirst + kEnd);
  const std::string path = replaced(context(partOf(2, 2)), "AVX2", "SSE4");
  folder.write("3", path + kFirst + kEnd);
  const auto done = run({"merge", folder.file("1"), folder.file("2"), "-o", folder.file("all")});
  EXPECT_THAT(done.out, HasSubstr("2 rows of 2 files, 2 machines"));
  EXPECT_THAT(done.out, testing::Not(HasSubstr("Note")));
  EXPECT_EQ(2u, report::readRuns(folder.file("all")).size());
  const auto paths = run({"merge", folder.file("1"), folder.file("3"), "-o", folder.file("all")});
  EXPECT_THAT(paths.out, HasSubstr("Note: part 2 of 2 is missing"));
  EXPECT_THAT(paths.out, HasSubstr("Note: part 1 of 2 is missing"));
}

TEST(Merge, TellsOfGapsAndOfRowsThatAreThereTwice) {
  const TempFolder folder;
  const std::string other = row("fnA", "8x8", 0.2);
  folder.write("1", context(partOf(1, 3)) + kFirst + kEnd);
  folder.write("killed", context(partOf(3, 3)) + kTwin + kLast.substr(0, 40));
  folder.write("again", context(partOf(1, 3)) + other + kEnd);
  const auto done = run({"merge", folder.file("1"), folder.file("killed"), folder.file("again"),
                         "-o", folder.file("all")});
  EXPECT_EQ(0, done.code) << done.err;
  EXPECT_THAT(done.out, HasSubstr("Note: part 2 of 3 is missing\n"));
  EXPECT_THAT(done.out, HasSubstr("Note: part 3 of 3 did not come to its end\n"));
  EXPECT_THAT(done.out, HasSubstr("1 row there already, the first counts: fnA ImageSize=8x8 of "));
  EXPECT_EQ(kContext + kFirst + kTwin, folder.read("all"));
  const auto strict = run({"merge", folder.file("1"), "--complete", "-o", folder.file("complete")});
  EXPECT_EQ(2, strict.code);
  EXPECT_THAT(strict.err, HasSubstr("is not made: part 2 of 3 is missing\n"));
  EXPECT_EQ("", folder.read("complete"));
}

// A part that was killed and gone on with in one file is one run.
TEST(Merge, TakesARunThatWentOnForOne) {
  const TempFolder folder;
  const std::string gap = ",\"resumed\":{\"rows\":1,\"cut_bytes\":3,\"other_rows\":0}";
  const std::string text =
      context(partOf(1, 1)) + kFirst + context(partOf(1, 1) + gap) + kLast + kEnd;
  const auto file = folder.write("1", text);
  // The file itself may be the one that is made, and nothing is counted twice.
  EXPECT_EQ(0, run({"merge", file, file, "--complete", "-o", file}).code);
  EXPECT_EQ(kContext + kFirst + kLast + kSum + "2,\"failures\":0,\"warnings\":1}\n",
            folder.read("1"));
  const auto runs = report::readRuns("F", text, {});
  ASSERT_EQ(1u, runs.size());
  EXPECT_EQ(2u, runs[0].rows.size());
  EXPECT_EQ("gone on with at 2026-11-22T08:00:00Z", runs[0].notes.at(0));
}

TEST(Merge, RefusesWhatIsNoPartOfTheRun) {
  const TempFolder folder;
  folder.write("1", context(partOf(1, 2)) + kFirst + kEnd);
  const std::string name = folder.file("other");
  for (const auto& [text, reason] : {std::pair{context(partOf(2, 3)) + kEnd, "not the same run"},
                                     {context(partOf(2, 2, 4)) + kEnd, "not the same run"},
                                     {context(partOf(3, 2)) + kEnd, "there is no part 3 of 2"},
                                     {std::string("a,b\n"), "holds no JSON Lines"},
                                     {std::string(kContext, 50), "cut off in its first line"},
                                     {kFirst, "line 1: no context comes before it"},
                                     {std::string(), "holds no JSON Lines"}}) {
    folder.write("other", text);
    const auto done = run({"merge", folder.file("1"), name, "-o", folder.file("all")});
    EXPECT_EQ(2, done.code);
    EXPECT_THAT(done.err, HasSubstr("tazreport: " + name)) << text;
    EXPECT_THAT(done.err, HasSubstr(reason)) << text;
  }
  EXPECT_EQ(2, run({"merge", folder.file("1"), "-o", folder.file("no/such/folder")}).code);
  EXPECT_EQ("", folder.read("all"));
}

// What all files together hold is bounded, and so is what is told of a run with thousands of parts.
TEST(Merge, KeepsNoMoreThanFits) {
  const std::string text = context(partOf(1, 10000)) + kFirst + kTwin + kEnd;
  report::LineReader one("F", text);
  report::Merger merger;
  merger.add(one);
  EXPECT_EQ(2u, merger.rows());
  const auto notes = merger.notes();
  ASSERT_EQ(101u, notes.size());
  EXPECT_EQ("part 101 of 10000 is missing", notes[99]);
  EXPECT_EQ("9899 more parts likewise", notes[100]);
  report::LineReader again("F", text);
  report::Merger small(kFirst.size() + 100);
  EXPECT_THROW(small.add(again), report::Error);
}
