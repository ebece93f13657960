// How far a run is (-G): on a terminal alone, and true.

#include <poll.h>
#include <gtest/gtest.h>
#include <pty.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <random>
#include <string>
#include <tuple>
#include <vector>

#include "harnesskit.h"
#include "tzprogress.h"

using harnesskit::Outcome;
using harnesskit::Session;
using harnesskit::TempFolder;

namespace {

/// A terminal that keeps what is written on it.
class Terminal {
 public:
  Terminal() {
    winsize size{24, 60, 0, 0};
    EXPECT_EQ(0, openpty(&m_master, &m_slave, nullptr, nullptr, &size));
  }
  ~Terminal() {
    close(m_master);
    close(m_slave);
  }
  Terminal(const Terminal&) = delete;
  Terminal& operator=(const Terminal&) = delete;

  void become(int descriptor) const { dup2(m_slave, descriptor); }
  /// What was written since the last time. It comes a while later, and in parts: a mark of our own
  /// ends it.
  std::string text() const {
    constexpr char mark = 1;
    EXPECT_EQ(1, write(m_slave, &mark, 1));
    std::string all;
    while (all.empty() || all.back() != mark) {
      pollfd more = {m_master, POLLIN, 0};
      constexpr int patience = 10'000;
      char part[4096];
      const ssize_t count = poll(&more, 1, patience) == 1 ? read(m_master, part, sizeof part) : 0;
      if (count <= 0) return all;
      all.append(part, static_cast<std::size_t>(count));
    }
    all.pop_back();
    return all;
  }

 private:
  int m_master = -1;
  int m_slave = -1;
};

/// What a row took before (-1: not told), takes, and how long a row of its kind takes.
struct Row {
  double takes = 0;
  double before = -1;
  std::string kind;
};

/// What is told once a tenth of the run is over.
struct Told {
  tzEstimate::Left left;
  double when = 0;
  double whole = 0;
  double error() const {
    return left.about < 0 ? INFINITY : std::fabs(when + left.about - whole) / whole;
  }
  bool isBetween() const { return left.least <= whole - when && whole - when <= left.most; }
};

Told afterATenth(const std::vector<Row>& rows, int passes = 1, double apart = 0) {
  std::vector<tzEstimate::Row> known;
  known.reserve(rows.size());
  for (const Row& row : rows) known.push_back({row.kind, row.before});
  tzEstimate estimate(known, passes, apart);
  std::vector<Told> told;
  double now = 1000;
  for (int pass = 1; pass <= passes; ++pass) {
    const double begin = now;
    estimate.beginPass(pass, now);
    for (std::size_t i = 0; i < rows.size(); ++i) {
      estimate.goTo(i);
      told.push_back({estimate.left(now), now - 1000, 0});
      now += rows[i].takes;
      estimate.rowDone(i, now);
    }
    if (pass < passes) now = std::max(now, begin + apart);
  }
  EXPECT_NEAR(0, estimate.left(now).about, 1e-6);
  const double whole = now - 1000;
  for (Told& one : told) {
    one.whole = whole;
    if (one.when >= whole / 10) return one;
  }
  return {};
}

}  // namespace

TEST(Progress, IsTrueAfterATenthOfTheRun) {
  std::vector<Row> steady, uneven, sizes;
  for (int i = 0; i < 400; ++i) {
    steady.push_back({0.3 + 0.02 * (i % 7), -1, ""});
    const double late = i < 300 ? 0.1 : 4 + i % 3;               // the long ones come last
    uneven.push_back({late, late * (1.2 + 0.1 * (i % 5)), ""});  // on a slower day
    // Vectors first, images of three sizes behind them, as names have it.
    const int size = i < 50 ? 0 : i % 3;
    sizes.push_back({size == 2 ? 0.25 : 0.02 + 0.01 * size, -1, std::to_string(size)});
  }
  for (const auto& [rows, passes, apart] : {std::tuple{steady, 1, 0.},
                                            {steady, 3, 200.},
                                            {uneven, 1, 0.},
                                            {uneven, 3, 30.},
                                            {sizes, 1, 0.},
                                            {sizes, 2, 0.}}) {
    const Told told = afterATenth(rows, passes, apart);
    EXPECT_LT(told.error(), 0.25) << passes;
    EXPECT_TRUE(told.left.isSure) << passes;
  }
}

// Without times of a run before and of rows that are not alike nobody can know: nothing is told at
// first, and then a range.
TEST(Progress, TellsARangeWhereRowsTakeWhateverTheyTake) {
  EXPECT_LT(tzEstimate({{"", -1}, {"", -1}}, 1, 0).left(5).about, 0);
  int between = 0;
  constexpr int kRuns = 50;
  std::mt19937_64 random(7);
  for (int run = 0; run < kRuns; ++run) {
    std::vector<Row> rows;
    // A few rows repeat until the machine lets them agree.
    for (int i = 0; i < 200; ++i) rows.push_back({random() % 12 == 0 ? 8 : 0.02, -1, ""});
    const Told told = afterATenth(rows);
    EXPECT_FALSE(told.left.isSure);
    between += told.isBetween() ? 1 : 0;
  }
  EXPECT_GE(between, kRuns * 9 / 10);
}

// Passes share the budget of a run, so a slow spell does not make it longer.
TEST(Progress, ExpectsNoMoreThanTheBudgetOfTheRun) {
  tzEstimate estimate(std::vector<tzEstimate::Row>(10, {"", 1}), 8, 0, 80);
  double now = 0;
  estimate.beginPass(1, now);
  for (std::size_t i = 0; i < 10; ++i) estimate.rowDone(i, now += 1);
  estimate.beginPass(2, now);
  for (std::size_t i = 0; i < 3; ++i) estimate.rowDone(i, now += 3);
  EXPECT_NEAR(80 - now, estimate.left(now).about, 0.2 * (80 - now));
}

// Rows that a run leaves out, since a test failed or takes no part, are not waited for.
TEST(Progress, GoesOnBehindRowsThatDoNotCome) {
  tzEstimate estimate(std::vector<tzEstimate::Row>(10, {"", -1}), 1, 0);
  estimate.beginPass(1, 0);
  estimate.rowDone(0, 1);
  estimate.rowDone(1, 2);
  EXPECT_NEAR(8, estimate.left(2).about, 1e-9);
  estimate.goTo(6);
  EXPECT_NEAR(4, estimate.left(2).about, 1e-9);
  EXPECT_NEAR(3.5, estimate.left(2.5).about, 1e-9);
  // A row that takes longer than usual counts as done, not as less than nothing.
  EXPECT_NEAR(3, estimate.left(30).about, 1e-9);
  estimate.rowDone(8, 33);
  EXPECT_GE(estimate.left(33).about, 1);
}

TEST(Progress, ShowsOnATerminalAndNowhereElse) {
  const TempFolder folder;
  setenv("TERM", "xterm", 1);
  for (const std::string more : {"", "-k ", "-dMethod=Spread -X2 -b0.01 "}) {
    const Terminal terminal;
    const Outcome outcome = Session(folder)
                                .setup([&] {
                                  terminal.become(STDERR_FILENO);
                                  harnesskit::registerStubs();
                                })
                                .run("-B -j -G -f-__tz " + more);
    const std::string shown = terminal.text();
    EXPECT_EQ(0, outcome.exitCode);
    EXPECT_NE(std::string::npos, shown.find("\r\033[K test 1 of 3, ")) << shown;
    EXPECT_EQ("\r\033[K", shown.substr(shown.size() - 4)) << shown;
    for (const std::string& line : harnesskit::splitLines(shown)) EXPECT_LT(line.size(), 300u);
    EXPECT_EQ(0u, outcome.lines(" gone, ").size()) << outcome.console;
    EXPECT_EQ(std::string::npos, folder.read("stub.jsonl").find("gone"));
  }
  const Terminal idle;
  const auto hear = [&idle](const char* term, const char* keys) {
    const TempFolder other;
    Session(other)
        .setup([&] {
          setenv("TERM", term, 1);
          idle.become(STDERR_FILENO);
          harnesskit::registerStubs();
        })
        .run(keys);
    return idle.text();
  };
  EXPECT_EQ("", hear("dumb", "-B -G"));
  EXPECT_EQ("", hear("xterm", "-B"));
}

// A row's text is not written into the line that says how far the run is.
TEST(Progress, MakesWayForTheConsole) {
  const TempFolder folder;
  const Terminal terminal;
  setenv("TERM", "xterm", 1);
  Session(folder)
      .setup([&] {
        terminal.become(STDERR_FILENO);
        terminal.become(STDOUT_FILENO);
        harnesskit::registerStubs();
      })
      .run("-B -G -k -f=stubAlpha");
  const std::string shown = terminal.text();
  const std::size_t line = shown.find(" test 1 of 1, ");
  ASSERT_NE(std::string::npos, line) << shown;
  const std::size_t row = shown.find("stubAlpha  Length=8", line);
  ASSERT_NE(std::string::npos, row) << shown;
  const std::string between = shown.substr(line, row - line);
  EXPECT_NE(std::string::npos, between.rfind("\r\033[K")) << shown;
  EXPECT_EQ(" ", between.substr(between.rfind("\r\033[K") + 4)) << shown;
}

TEST(Progress, KnowsTheTimesOfTheRunBefore) {
  const TempFolder folder;
  setenv("TERM", "xterm", 1);
  Session(folder).run("-B -j -f-__tz");
  const Terminal terminal;
  Outcome outcome;
  const auto run = [&](const std::string& name = "") {
    outcome = Session(folder)
                  .setup([&] {
                    terminal.become(STDERR_FILENO);
                    harnesskit::registerStubs();
                  })
                  .run("-B -j -f-__tz -G" + name);
    return terminal.text();
  };
  EXPECT_NE(std::string::npos, run().find("about 0:00 left"));
  // Times of rows that were measured in another way tell nothing, and that is said.
  EXPECT_FALSE(outcome.shows("-- Progress: ")) << outcome.console;
  run(" -dAccuracy=7");
  EXPECT_TRUE(outcome.shows("-- Progress: the times of the earlier run are of other settings"));
  folder.write("stub.jsonl", "no such thing\n");
  EXPECT_NE(std::string::npos, run().find("time left not known yet"));
  EXPECT_TRUE(outcome.shows("-- No times of file ")) << outcome.console;
  EXPECT_TRUE(outcome.shows(": line 1 is no line of a run")) << outcome.console;
  // A name that was misspelt is told; without one this may be the first run.
  run("gone.jsonl");
  EXPECT_TRUE(outcome.shows("gone.jsonl: it has no rows\n")) << outcome.console;
  folder.write("stub.jsonl", "");
  run();
  EXPECT_FALSE(outcome.shows("-- No times of file ")) << outcome.console;
}
