// Files of JSON Lines (-j): what a run writes agrees with the schema and with the table.

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <string>
#include <vector>

#include "harnesskit.h"
#include "testpaths.h"
#include "tzjson.h"
#include "tzjsonreader.h"
#include "validated.h"

using harnesskit::runProgram;
using harnesskit::Session;
using harnesskit::StubTest;
using harnesskit::TempFolder;

namespace {

std::vector<std::string> linesWith(const std::string& text, const std::string& part) {
  std::vector<std::string> found;
  for (const std::string& line : harnesskit::splitLines(text)) {
    if (line.find(part) != std::string::npos) found.push_back(line);
  }
  return found;
}

tzResult abortingLoop(int, long long*) { std::abort(); }

void registerBad() {
  harnesskit::registerStubs();
  tzRegTest(new StubTest("stubBad", abortingLoop, "Stub\"Suite\\\xE9\xC3\xA9\x01"));
}

// What takes time beside the rows: before the first one, and behind each.
class SlowToStart : public StubTest {
 public:
  static constexpr int kMicroseconds = 20'000;
  SlowToStart() : StubTest("stubSlow", harnesskit::steadyLoop<TZ_OK, 800>) {}
  bool canStart() override { return usleep(kMicroseconds) == 0 && StubTest::canStart(); }
  void flushData() override { usleep(kMicroseconds); }
};

}  // namespace

TEST(Lines, EscapeWhatNoTextMayHold) {
  tzJson object;
  object.put("a\"", tzString("\\ \x01 \xE9 \xC3\xA9 \xED\xA0\x80 \x7F"));
  EXPECT_EQ("{\"a\\\"\":\"\\\\ \\u0001 \\u00e9 \xC3\xA9 \\u00ed\\u00a0\\u0080 \\u007f\"}",
            object.text());
  const double values[] = {0.1, 1e300, 1.0 / 0.0, -0.0 / 0.0 * 0, 12345678901.0};
  EXPECT_EQ("{\"x\":[0.1,1e+300,null,null,12345678901],\"y\":true}",
            tzJson().putArray("x", values).put("y", true).text());
}

TEST(Lines, AgreeWithTheSchemaAndTheTable) {
  const TempFolder folder;
  Session(folder).run("-B -j -r -f-__tz -dMethod=Manual -dNumLoops=3 -dLength=8;100");
  EXPECT_EQ("1 6 1 0\n", validated(folder, "stub.jsonl")) << folder.read("stub.jsonl");
  const std::string text = folder.read("stub.jsonl");
  const auto rows = linesWith(text, "\"function\":\"stubAlpha\"");
  ASSERT_EQ(2u, rows.size());
  for (const char* part :
       {"\"name\":[\"stubAlpha\"]", "\"parameters\":{\"Length\":\"8\"}", "\"unit\":\"px\"",
        "\"result\":\"OK\"", "\"elements\":8,", "\"clocks_per_element\":100,",
        "\"clocks_per_call\":800,", "\"samples\":{\"clocks\":[800],\"calls\":[3],\"pass\":[1],",
        "\"pass\":[1],\"disturbed\":["}) {
    EXPECT_NE(std::string::npos, rows[0].find(part)) << part << " in " << rows[0];
  }
  EXPECT_NE(std::string::npos, folder.read("stub.csv").find("stubAlpha,Timing,8,100,px"));
  EXPECT_EQ(2u, linesWith(text, "\"result\":\"FUNCWRN\"").size()) << text;
}

// Passes and children: the samples of all passes stand in one row each.
TEST(Lines, HoldTheSamplesOfAllPasses) {
  const TempFolder folder;
  Session(folder).run("-B -j -r -f=stubAlpha -dMethod=Spread -dClock=core -X2 -b0.01 -k");
  EXPECT_NE(std::string::npos, folder.read("stub.csv").find("\nClock,core\n"));
  EXPECT_EQ("1 2 1 0\n", validated(folder, "stub.jsonl")) << folder.read("stub.jsonl");
  for (const std::string& row : linesWith(folder.read("stub.jsonl"), "\"type\":\"row\"")) {
    EXPECT_NE(std::string::npos, row.find("\"pass\":[1,")) << row;
    EXPECT_NE(std::string::npos, row.find(",2],\"disturbed\"")) << row;
    EXPECT_NE(std::string::npos, row.find("\"pass_minima\":[")) << row;
    EXPECT_NE(std::string::npos, row.find("\"memory_share\":0,")) << row;
    EXPECT_NE(std::string::npos, row.find("\"rate\":[")) << row;
  }
}

TEST(Lines, TellOfRowsThatFailed) {
  const TempFolder folder;
  Session(folder).setup(registerBad).run("-B -j -f-__tz -k");
  EXPECT_EQ("1 7 1 0\n", validated(folder, "stub.jsonl"));
  const auto bad = linesWith(folder.read("stub.jsonl"), "\"function\":\"stubBad\"");
  ASSERT_EQ(1u, bad.size());
  for (const char* part : {"\"parameters\":{\"Length\":\"8\"}", "\"result\":\"EXCPTFAIL\"",
                           "\"note\":\"SIGABRT\"", "\"reason\":\"exception: SIGABRT, Aborted\""}) {
    EXPECT_NE(std::string::npos, bad[0].find(part)) << part << " in " << bad[0];
  }
}

TEST(Lines, HoldTheWholeProgramsFacts) {
  const TempFolder folder;
  runProgram(std::string(TAZMET_BIN_DIR) + "/tazmet",
             {"-B", "-j", "-fAdd128_JPEG", "-fWTRow", "-dImageSize=32x16", "-TSSE41",
              "-l" + folder.path()},
             folder.path());
  const std::string verdict = validated(folder, "tazmet.jsonl");
  EXPECT_EQ("1 ", verdict.substr(0, 2)) << verdict;
  const std::string text = folder.read("tazmet.jsonl");
  for (const char* part : {"\"code_path\":\"SSE4\"", "\"seed\":7", "\"librkdjpeg.so.1, ",
                           "\"presets\":{\"ImageSize\":\"32x16\"}",
                           "\"bytes_read\":2,\"bytes_written\":1,\"working_set\":2048,"}) {
    EXPECT_NE(std::string::npos, text.find(part)) << part << " in " << text.substr(0, 3000);
  }
}

// Set-up and tear-down belong to the time of a row: the times of a run add up to the run.
TEST(Lines, TellTheWholeTimeOfEachRow) {
  for (const std::string child : {"", "-k "}) {
    const TempFolder folder;
    Session(folder)
        .setup([] { tzRegTest(new SlowToStart); })
        .run("-B -j -f=stubSlow -dMethod=Manual -dNumLoops=2 " + child);
    const auto rows = linesWith(folder.read("stub.jsonl"), "\"type\":\"row\"");
    ASSERT_EQ(2u, rows.size());
    for (const std::string& row : rows) {
      tzJsonReader line;
      ASSERT_TRUE(line.read(row));
      EXPECT_GE(line.number("seconds"), 1e-6 * SlowToStart::kMicroseconds) << row;
    }
  }
}
