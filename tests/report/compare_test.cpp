// tazreport compare: rows joined, what is common told apart from what changed, other machines
// refused.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <random>
#include <string>
#include <utility>

#include "report/compare.h"
#include "report/text.h"
#include "reportkit.h"

using namespace reportkit;

namespace {

bool has(const Outcome& outcome, const std::string& part) {
  return outcome.out.find(part) != std::string::npos;
}

// A run of `count` functions f0, f1 ...; `factor` tells how much slower one is.
std::string runOf(int seed, int count, const std::function<double(int)>& factor, int passes = 3) {
  std::mt19937 random(static_cast<unsigned>(seed));
  std::exponential_distribution<double> delay(1 / 0.0006);
  std::string text = kContext;
  for (int i = 0; i < count; ++i) {
    double least = 1e300;
    std::string minima;
    for (int pass = 0; pass < passes; ++pass) {
      const double clocks = 1000 * (i + 1) * factor(i) * (1 + delay(random));
      least = std::min(least, clocks);
      minima += (pass > 0 ? "," : "") + report::exactText(clocks);
    }
    text += row("f" + std::to_string(i), "64x64", least / 100, "OK",
                ",\"elements\":100,\"pass_minima\":[" + minima + "]");
  }
  return text + kEnd;
}

double plain(int) { return 1; }

struct Sides {
  TempFolder folder;
  std::vector<std::string> words{"compare"};
  // Three runs a side.
  Sides(int count, const std::function<double(int)>& before,
        const std::function<double(int)>& after) {
    add("--old", 0, count, before);
    add("--new", 3, count, after);
  }
  void add(const std::string& side, int first, int count,
           const std::function<double(int)>& factor) {
    words.push_back(side);
    for (int i = first; i < first + 3; ++i) {
      words.push_back(folder.write("r" + std::to_string(i), runOf(i, count, factor)));
    }
  }
  Outcome compare(const std::vector<std::string>& more = {}) const {
    std::vector<std::string> all = words;
    all.insert(all.end(), more.begin(), more.end());
    return run(all, 200);
  }
};

}  // namespace

TEST(CompareRuns, FindsWhatChangedAndNothingElse) {
  const Sides sides(60, plain, [](int i) { return i == 7 ? 1.04 : i == 9 ? 0.9 : 1.0; });
  const Outcome told = sides.compare();
  EXPECT_EQ(1, told.code) << told.err;
  EXPECT_TRUE(has(told, "Compared 60 rows: 1 slower, 1 faster, 58 same, 0 unresolved")) << told.out;
  EXPECT_LT(told.out.find("f7 ImageSize=64x64"), told.out.find("f9 ImageSize=64x64")) << told.out;
  EXPECT_FALSE(has(told, "f8 "));
  EXPECT_TRUE(has(sides.compare({"--all"}), "f8 "));
  const Outcome wide = sides.compare({"--gate", "5"});
  EXPECT_EQ(0, wide.code);
  EXPECT_TRUE(has(wide, "0 slower, 1 faster, 59 same"));
}

// The figures that a reader sees are those of the files, and the ratio can be made again from them.
TEST(CompareRuns, FiguresAndRatiosAreThoseOfTheFiles) {
  const Sides sides(25, plain, [](int i) { return i < 2 ? 1.1 : 1.0; });
  const Outcome csv = sides.compare({"--format", "csv", "--keep-shift", "--sort", "file"});
  std::vector<std::vector<double>> logs(50);
  std::vector<double> least(50, 1e300);
  for (std::size_t i = 0; i < 6; ++i) {
    const auto runs = report::readRuns(sides.folder.file("r" + std::to_string(i)));
    for (std::size_t r = 0; r < 25; ++r) {
      const std::size_t at = (i < 3 ? 0 : 25) + r;
      for (const double clocks : runs[0].rows[r].passMinima)
        logs[at].push_back(std::log(clocks / 100));
      least[at] = std::min(least[at], *runs[0].rows[r].clocksPerElement);
    }
  }
  const auto lines = report::split(csv.out, '\n');
  ASSERT_EQ(27u, lines.size()) << csv.out;
  for (std::size_t r = 0; r < 25; ++r) {
    const auto cells = report::split(lines[r + 1], ',');
    EXPECT_EQ(report::exactText(least[r]), cells[1]);
    EXPECT_EQ(report::exactText(least[25 + r]), cells[2]);
    std::vector<double> ratios;
    for (const double a : logs[r]) {
      for (const double b : logs[25 + r]) ratios.push_back(std::exp(b - a));
    }
    std::sort(ratios.begin(), ratios.end());
    EXPECT_NEAR(ratios[40], std::stod(cells[4]), 1e-4) << lines[r + 1];
    EXPECT_EQ(r < 2 ? "slower" : "same", cells[7]);
  }
}

TEST(CompareRuns, TellsAShiftOfAllRowsApart) {
  const Sides sides(60, plain, [](int i) { return i == 7 ? 1.08 : 1.03; });
  const Outcome told = sides.compare();
  EXPECT_EQ(1, told.code);
  EXPECT_TRUE(has(told, "Compared 60 rows: 1 slower, 0 faster, 59 same")) << told.out;
  EXPECT_TRUE(has(told, "All rows have a ratio of 1.03")) << told.out;
  EXPECT_TRUE(has(sides.compare({"--keep-shift"}), "Compared 60 rows: 60 slower"));
  // The shift alone is an alarm, unless asked not to be.
  const Sides shifted(60, plain, [](int) { return 1.03; });
  EXPECT_EQ(1, shifted.compare().code);
  EXPECT_EQ(0, shifted.compare({"--ignore-shift"}).code);
  EXPECT_EQ(0, Sides(60, plain, [](int) { return 0.97; }).compare().code);
  EXPECT_TRUE(has(Sides(10, plain, plain).compare(), "Fewer than 20 rows"));
}

// What is common is known within an interval: the intervals of rows without it are wider by that.
TEST(CompareRuns, TheShiftWidensTheIntervals) {
  const auto before = report::readRuns("a", runOf(1, 25, plain), {});
  const auto after =
      report::readRuns("b", runOf(2, 25, [](int i) { return 1 + 0.01 * (i % 5); }), {});
  report::CompareOptions kept;
  kept.keepShift = true;
  const auto with = report::compareRuns(before, after, kept);
  const auto without = report::compareRuns(before, after, {});
  ASSERT_TRUE(without.shift && without.shift->high > without.shift->low + 0.01);
  for (std::size_t i = 0; i < with.rows.size(); ++i) {
    EXPECT_NEAR(with.rows[i].low / without.shift->high, without.rows[i].low, 1e-9);
    EXPECT_NEAR(with.rows[i].high / without.shift->low, without.rows[i].high, 1e-9);
  }
}

TEST(CompareRuns, NeverCallsTooLittleNoDifference) {
  const TempFolder folder;
  const std::string before = folder.write("a", runOf(1, 60, plain));
  const std::string after =
      folder.write("b", runOf(2, 60, [](int i) { return i == 7 ? 1.5 : 1.0; }));
  const Outcome told = run({"compare", before, after}, 200);
  EXPECT_EQ(0, told.code);
  EXPECT_TRUE(has(told, "0 slower, 0 faster, 0 same, 60 unresolved")) << told.out;
  EXPECT_TRUE(has(told,
                  "Unresolved is not \"no difference\". A change of one row alone among 60 takes 7 "
                  "passes a side to be told, and there are as few as 3"))
      << told.out;
  EXPECT_TRUE(has(told, "unresolved, apart"));
  const Outcome each = run({"compare", before, after, "--each-row", "--confidence", "90"}, 200);
  EXPECT_EQ(1, each.code);
  EXPECT_TRUE(has(each, ": 1 slower, ")) << each.out;
}

// Two runs of `./measure`: with eight passes a side three rows that changed can be told, and one
// alone is pointed at; with nine, it can be told, too.
TEST(CompareRuns, JudgesManyRowsOnFewPasses) {
  const TempFolder folder;
  const auto compared = [&](int passes, const std::function<double(int)>& factor) {
    return run({"compare", folder.write("a", runOf(1, 675, plain, passes)),
                folder.write("b", runOf(2, 675, factor, passes))},
               200);
  };
  const auto one = [](int i) { return i == 7 ? 1.04 : 1.0; };
  const auto three = [&](int i) { return i == 300 ? 1.05 : i == 500 ? 0.93 : one(i); };
  const Outcome several = compared(8, three);
  EXPECT_EQ(1, several.code);
  EXPECT_TRUE(has(several, "Compared 675 rows: 2 slower, 1 faster, 672 same, 0 unresolved"))
      << several.out;
  const Outcome alone = compared(8, one);
  EXPECT_EQ(0, alone.code);
  EXPECT_TRUE(has(alone, "0 slower, 0 faster, 674 same, 1 unresolved")) << alone.out;
  EXPECT_TRUE(has(alone, "one row alone among 675 takes 9 passes a side")) << alone.out;
  EXPECT_TRUE(has(alone, "f7 ImageSize=64x64")) << alone.out;
  EXPECT_TRUE(has(compared(9, one), "1 slower, 0 faster, 674 same, 0 unresolved"));
}

TEST(CompareRuns, RefusesWhatIsNotAlikeUnlessAsked) {
  const TempFolder folder;
  const std::string text = runOf(1, 3, plain);
  const std::string before = folder.write("a", text);
  const struct {
    const char* from;
    const char* to;
    const char* reason;
  } cases[] = {
      {"Test CPU", "Other CPU", "another machine: processor (Test CPU / Other CPU)"},
      {"\"computer\":\"box\"", "\"computer\":\"case\"", "another machine: computer (box / case)"},
      {"\"counter_mhz\":2500", "\"counter_mhz\":2600",
       "another machine: counter_mhz (2500 / 2600)"},
      {"AVX2", "SSE2", "another code path (AVX2 / SSE2)"},
      {"spread, passes", "automatic, passes", "another method (spread / automatic)"},
      {"\"seed\":7", "\"seed\":8", "another setting: seed (7 / 8)"},
      {"\"presets\":{", "\"presets\":{\"Style\":\"x\",", "another setting: Style ( / x)"},
  };
  for (const auto& each : cases) {
    std::string other = text;
    other.replace(other.find(each.from), std::string(each.from).size(), each.to);
    const std::string after = folder.write("b", other);
    const Outcome refused = run({"compare", before, after});
    EXPECT_EQ(2, refused.code);
    EXPECT_EQ("tazreport: " + after + ": is from " + each.reason + " than " + before +
                  "; --anyway compares them all the same\n",
              refused.err);
    const Outcome asked = run({"compare", before, after, "--anyway"}, 300);
    EXPECT_EQ(0, asked.code);
    EXPECT_TRUE(has(asked, each.reason)) << asked.out;
  }
  // What only chooses rows or makes them surer is no difference.
  std::string other = text;
  other.replace(other.find("passes: 3"), 9, "passes: 9");
  other.replace(other.find("\"presets\":{"), 11, "\"presets\":{\"ImageSize\":\"64x64\",");
  EXPECT_EQ(0, run({"compare", before, folder.write("b", other)}).code);
}

TEST(CompareRuns, TellsRowsThatAreGoneNewOrFailing) {
  const TempFolder folder;
  const std::string before = folder.write(
      "a", kContext + row("stays", "8x8", 1) + row("goes", "8x8", 1) + row("breaks", "8x8", 1));
  const std::string after =
      folder.write("b", kContext + row("stays", "8x8", 1) + row("comes", "8x8", 1) +
                            row("breaks", "8x8", 0, "FUNCFAIL"));
  const Outcome told = run({"compare", before, after}, 200);
  EXPECT_EQ(1, told.code);
  for (const char* part :
       {"Gone: 2 rows", "New: 1 row", "goes ImageSize=8x8      1.00  clocks/px  not there",
        "breaks ImageSize=8x8    1.00  clocks/px  FUNCFAIL: because"}) {
    EXPECT_TRUE(has(told, part)) << part << told.out;
  }
  EXPECT_EQ(0, run({"compare", after, before}).code);
  const Outcome nothing = run({"compare", before, after, "--filter", "comes"}, 200);
  EXPECT_EQ(2, nothing.code);
  EXPECT_TRUE(has(nothing, "New: 1 row")) << nothing.out;
  EXPECT_EQ("tazreport: " + after + ": has no row to compare with " + before + "\n", nothing.err);
}

// Each meets every one of the other side: a file of 100 MB could ask for all memory there is.
TEST(CompareRuns, TakesABoundedNumberOfObservations) {
  const TempFolder folder;
  std::string minima = "1";
  for (int i = 1; i < 2000; ++i) minima += ",1";
  const auto rowOf = [](const std::string& size, const std::string& passes) {
    return row("f", size, 1, "OK", ",\"elements\":1,\"pass_minima\":[" + passes + "]");
  };
  std::string rows = kContext;
  for (int i = 1; i <= 25; ++i) rows += rowOf(std::to_string(i) + "x8", minima);
  for (const auto& [text, reason] :
       {std::pair{kContext + rowOf("8x8", minima + ",1"),
                  "line 2: more than 2000 observations of a row"},
        {rows + rowOf("26x8", "1"),
         "more than 100000000 pairs of observations; compare fewer rows (--filter) or runs"}}) {
    const std::string path = folder.write("a", text);
    const Outcome refused = run({"compare", path, path});
    EXPECT_EQ(2, refused.code);
    EXPECT_EQ("tazreport: " + path + ": " + reason + "\n", refused.err);
  }
}

TEST(CompareRuns, AsksForTwoSides) {
  const TempFolder folder;
  const std::string path = folder.write("a", runOf(1, 2, plain));
  const std::vector<std::vector<std::string>> wrong{{"compare"},
                                                    {"compare", path},
                                                    {"compare", path, path, path},
                                                    {"compare", "--old", path},
                                                    {"compare", path, "--old", path, "--new", path},
                                                    {"compare", path, path, "--gate", "x"}};
  for (const auto& words : wrong) EXPECT_EQ(2, run(words).code) << words.size();
  const Outcome markdown = run({"compare", path, path, "--all", "--format", "markdown"});
  EXPECT_TRUE(has(markdown, "| f1 ImageSize=64x64 |")) << markdown.out;
}
