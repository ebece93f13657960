// How far a run is (-G): on a terminal alone, and true.

#include <poll.h>
#include <gtest/gtest.h>
#include <pty.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <string>
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

/// A run in which each row takes its time; tells how far off what is left is after a tenth of it.
double errorAfterATenth(const std::vector<double>& rows, const std::vector<double>& known,
                        int passes, double apart) {
  double work = 0;
  for (const double row : known) work += row;
  tzEstimate estimate(known.empty() ? static_cast<double>(rows.size()) : work, !known.empty(),
                      passes, apart);
  std::vector<std::pair<double, double>> told;  // when, and what was left
  double now = 1000;
  for (int pass = 1; pass <= passes; ++pass) {
    const double begin = now;
    estimate.beginPass(pass, now);
    double done = 0;
    for (std::size_t i = 0; i < rows.size(); ++i) {
      told.emplace_back(now - 1000, estimate.left(now));
      now += rows[i];
      done += known.empty() ? 1 : known[i];
      estimate.setDone(done, now);
    }
    if (pass < passes) now = std::max(now, begin + apart);
  }
  EXPECT_NEAR(0, estimate.left(now), 1e-6);
  const double whole = now - 1000;
  for (const auto& [when, left] : told) {
    if (when >= whole / 10) return left < 0 ? INFINITY : std::fabs(when + left - whole) / whole;
  }
  return INFINITY;
}

}  // namespace

TEST(Progress, IsTrueAfterATenthOfTheRun) {
  std::vector<double> steady, uneven, before;
  for (int i = 0; i < 400; ++i) {
    steady.push_back(0.3 + 0.02 * (i % 7));
    uneven.push_back(i < 300 ? 0.1 : 4 + i % 3);              // the long ones come last
    before.push_back(uneven.back() * (1.2 + 0.1 * (i % 5)));  // on a slower day
  }
  EXPECT_LT(errorAfterATenth(steady, {}, 1, 0), 0.25);
  EXPECT_LT(errorAfterATenth(steady, {}, 3, 200), 0.25);
  EXPECT_LT(errorAfterATenth(uneven, before, 1, 0), 0.25);
  EXPECT_LT(errorAfterATenth(uneven, before, 3, 30), 0.25);
  // Without times of a run before, nobody can know; what is told at first is nothing.
  EXPECT_GT(errorAfterATenth(uneven, {}, 1, 0), 0.25);
  EXPECT_LT(tzEstimate(100, false, 1, 0).left(5), 0);
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
