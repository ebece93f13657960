// Console levels, targets, files, csv rows, duplicate lines and the trace.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>

#include "apikit.h"
#include "tzcstream.h"
#include "tzostream.h"
#include "tztrace.h"

namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;

/// A fresh folder that is both input and output directory.
class Files : public testing::Test {
 protected:
  Files() {
    io_stream::setInputDir(m_folder.path(""));
    io_stream::setOutputDir(m_folder.path(""));
  }
  std::string contents(const char* name) const { return m_folder.read(name); }

  const TemporaryFolder m_folder;
};

TEST(Levels, MaskIsReadLetterByLetter) {
  for (const auto& [word, mask] : {std::pair{"ERR", 1},
                                   {"WARN", 3},
                                   {"PERF", 7},
                                   {"INFO", 15},
                                   {"TRACE", 23},
                                   {"DATA", 87},
                                   {"M", 39},
                                   {"D", 71},
                                   {"info", 0},  // capitals count
                                   {"", 0}}) {
    EXPECT_EQ(tzOutputMask(word), mask) << word;
  }
}

TEST(Levels, AMessageIsShownWhenItsBitIsInTheMask) {
  tzOStream out;
  EXPECT_EQ(out.outLevel(), L_ERR);
  EXPECT_EQ(out.msgLevel(), L_PERF);
  Capture capture(out);
  out << "dropped";
  out.setOutLevel(L_ERR | L_WARN);
  out << "dropped" << L_WARN << "-- x" << 3 << '\n' << L_ERR << true << L_END << 0.5 << L_END;
  EXPECT_EQ(out.msgLevel(), L_PERF);
  out << "dropped";
  EXPECT_EQ(capture.take(), "-- x3\nyes0.5");
  EXPECT_EQ(capture.flushes(), 0);
  out << L_ERR << std::string("text") << static_cast<const void*>(nullptr) << L_ENDFLUSH;
  EXPECT_EQ(capture.take(), "textNULL");
  EXPECT_EQ(capture.flushes(), 1);
}

TEST(Levels, RestoringMoreThanWasSetGivesErr) {
  tzOStream out;
  out << L_END;
  EXPECT_EQ(out.msgLevel(), L_ERR);
  out.setMsgLevel(L_INFO);
  out.setMsgLevel(L_DATA);
  out.endMessage();
  EXPECT_EQ(out.msgLevel(), L_INFO);
}

TEST(Levels, BeginMessageComparesNumbers) {
  tzOStream out;
  out.setOutLevel(L_DATA);
  EXPECT_FALSE(out.beginMessage(L_DATA + 1));
  EXPECT_EQ(out.msgLevel(), L_PERF);
  EXPECT_TRUE(out.beginMessage(L_WARN));  // not in the mask, but not above it
  EXPECT_EQ(out.msgLevel(), L_WARN);
  EXPECT_FALSE(out.isShown());
}

TEST_F(Files, OneTextGoesToAllTargets) {
  m_folder.make("old.txt", "before\n");
  {
    tzOStream out;
    MemoryTarget memory;
    out.addStream(memory);
    out.addStream(memory);
    EXPECT_TRUE(out.addStream("new.txt", false));
    EXPECT_TRUE(out.addStream("old.txt", true));
    out << L_ERR << "line\n" << L_END;
    EXPECT_EQ(contents("new.txt"), "");
    out.flush();
    EXPECT_EQ(contents("new.txt"), "line\n");
    EXPECT_EQ(memory.text(), "line\n");
    out.close();
    out << L_ERR << "after the end\n" << L_END;
    out.removeStream(memory);
  }
  EXPECT_EQ(contents("new.txt"), "line\n");
  EXPECT_EQ(contents("old.txt"), "before\nline\n");
}

TEST_F(Files, AFileThatDoesNotOpenIsReportedAndNotAdded) {
  Console console;
  const int level = g_ostrm.msgLevel();
  tzOStream out;
  EXPECT_FALSE(out.addStream("missing/x.txt", false));
  EXPECT_FALSE(out.hasTargets());
  EXPECT_EQ(console.take(), "-- Can't open file " + m_folder.path("missing/x.txt").str() +
                                " to write: No such file or directory\n");
  EXPECT_FALSE(i_stream("missing.ini").isOpen());
  EXPECT_THAT(console.take(), HasSubstr("missing.ini to read: No such file or directory\n"));
  EXPECT_FALSE(i_stream(".").isOpen());
  EXPECT_THAT(console.take(), HasSubstr(" to read: Is a directory\n"));
  EXPECT_FALSE(i_stream("missing.ini", OPEN_READ, false).isOpen());
  EXPECT_EQ(console.take(), "");
  EXPECT_EQ(g_ostrm.msgLevel(), level);
}

TEST_F(Files, DirectoriesPrefixRelativeNamesOnly) {
  EXPECT_EQ(io_stream::pathIn("", "a"), "a");
  EXPECT_EQ(io_stream::pathIn("d", "a/b"), "d/a/b");
  EXPECT_EQ(io_stream::pathIn("d/", "a"), "d/a");
  EXPECT_EQ(io_stream::pathIn("d", "/a"), "/a");
  const fs::path before = fs::current_path();
  fs::current_path(m_folder.path("").str());
  io_stream::setOutputDir("elsewhere");
  o_stream("here.txt", OPEN_WRITE | OPEN_AS_GIVEN) << "x";
  fs::current_path(before);
  EXPECT_EQ(contents("here.txt"), "x");
}

TEST_F(Files, LinesEndAtNewlinesAndTheLastNeedsNone) {
  m_folder.make("in.txt", "one\n\n" + std::string(1500, 'x') + "\nlast");
  i_stream in("in.txt");
  tzString line;
  std::vector<int> lengths;
  while (in.getline(line)) lengths.push_back(line.length());
  EXPECT_THAT(lengths, testing::ElementsAre(3, 0, 1500, 4));
  EXPECT_TRUE(line.empty());
}

TEST_F(Files, WhatIsNoTextIsReadNoFurther) {
  m_folder.make("wide.ini", std::string("a=1\n[\0T\0\n\0b=2\n", 14));
  m_folder.make("long.ini", std::string(i_stream::MAX_LINE + 1, 'x') + "\nb=2\n");
  for (const auto& [name, lines] : {std::pair{"wide.ini", 1}, {"long.ini", 0}}) {
    Console console;
    i_stream in(name);
    tzString line;
    for (int i = 0; i < lines; ++i) EXPECT_TRUE(in.getline(line));
    EXPECT_FALSE(in.getline(line));
    EXPECT_FALSE(in.getline(line));
    EXPECT_TRUE(line.empty());
    EXPECT_EQ(console.take(), "-- Not a text file: " + m_folder.path(name).str() + "\n");
  }
}

TEST(WriteErrors, AFullDiskIsReportedOnceWithTheFilesName) {
  Console console;
  EXPECT_FALSE(o_stream::anyWriteFailed());
  {
    tzCStream table;
    ASSERT_TRUE(table.addStream("/dev/full", false));
    table << "a"
          << "\n";
    table << "b"
          << "\n";
    table.close();
    EXPECT_EQ(console.take(), "-- Can't write file /dev/full: No space left on device\n");
    EXPECT_TRUE(o_stream::anyWriteFailed());
    o_stream::resetWriteFailed();

    // Buffered text is lost no sooner than the file is closed.
    tzOStream log;
    ASSERT_TRUE(log.addStream("/dev/full", true));
    log << L_ERR << "x" << L_END;
    EXPECT_FALSE(o_stream::anyWriteFailed());
    log.close();
  }
  EXPECT_EQ(console.take(), "-- Can't write file /dev/full: No space left on device\n");
  EXPECT_TRUE(o_stream::anyWriteFailed());
}

TEST(WriteErrors, TheConsolesOwnFileMayFail) {
  Console console;
  ASSERT_TRUE(g_ostrm.addStream("/dev/full", false));
  g_ostrm << L_ERR << "x\n" << L_ENDFLUSH;
  EXPECT_EQ(console.take(), "x\n-- Can't write file /dev/full: No space left on device\n");
  EXPECT_TRUE(o_stream::anyWriteFailed());
  g_ostrm << L_ERR << "y\n" << L_ENDFLUSH;
  EXPECT_EQ(console.take(), "y\n");
}

// In a child of its own, because standard output is gone afterwards.
TEST(WriteErrors, AClosedPipeBehindStandardOutputIsToldOnStandardError) {
  EXPECT_EXIT(
      {
        std::signal(SIGPIPE, SIG_IGN);
        int ends[2];
        if (pipe(ends) != 0) std::exit(2);
        close(ends[0]);
        dup2(ends[1], 1);
        g_ostrm.addStream(c_out);
        g_ostrm << L_ERR << "text\n" << L_ENDFLUSH << L_ERR << "more\n" << L_ENDFLUSH;
        std::exit(o_stream::anyWriteFailed() ? 1 : 0);
      },
      testing::ExitedWithCode(1), "^-- Can't write standard output: Broken pipe\n$");
}

TEST(Table, EmptyAndMissingCellsAreDashes) {
  tzCStream table;
  CsvCapture csv(table);
  table << "a"
        << ""
        << "c"
        << "\n";
  EXPECT_EQ(csv.take(), "a,-,c\n");
  table << "a" << 2 << 0.5;
  table.tableOut(5);
  EXPECT_EQ(csv.take(), "a,2,0.5,-,-\n");
  EXPECT_EQ(table.used(), 3);
  table.lineOut(2);
  EXPECT_EQ(csv.take(), "a,2\n");
  EXPECT_EQ(table.used(), 0);
  EXPECT_EQ(table.lines(), 2);
  table << "\n";
  EXPECT_EQ(csv.take(), "\n");
  EXPECT_EQ(csv.flushes(), 4);
}

TEST(Table, TheThirtyThirdCellIsLost) {
  tzCStream table;
  CsvCapture csv(table);
  for (int i = 1; i <= 33; ++i) table << i;
  table << "\n";
  EXPECT_THAT(csv.take(), testing::EndsWith(",31,32\n"));
}

TEST(Table, CellsHoldNoCommaAndNoLineEnd) {
  tzCStream table;
  CsvCapture csv(table);
  table << "a,b\r\nc\n" << ' ';
  table.setColm(1, "x,y");
  table.putJoinedCells("p,q\n");
  table << "\n";
  EXPECT_EQ(csv.take(), "a;b  c,x;y,p,q\n");
}

TEST(Table, ColumnsAreSetWithoutBeingCounted) {
  tzCStream table;
  tzString cell("unchanged");
  table.setColm(31, "last");
  table.setColm(32, "nowhere");
  table.setColm(-1, "nowhere");
  EXPECT_EQ(table.used(), 0);
  EXPECT_FALSE(table.getColm(32, cell));
  EXPECT_EQ(cell, "unchanged");
  EXPECT_TRUE(table.getColm(31, cell));
  EXPECT_EQ(cell, "last");
}

TEST(Table, PostponedRowsComeOutInOrderOnce) {
  tzCStream table;
  CsvCapture csv(table);
  table << "1"
        << "b";
  table.linePostpone();
  table << "2";
  table.linePostpone();
  EXPECT_EQ(csv.take(), "");
  table << "in between"
        << "\n";
  table.linePostponeOut(2);
  EXPECT_EQ(csv.take(), "in between\n1,b\n2,-\n");
  EXPECT_EQ(table.lines(), 3);
  table.linePostponeOut(2);
  EXPECT_EQ(csv.take(), "");
}

struct Duplicates {
  std::vector<const char*> firstCells;
  const char* pair;  // empty: none
};

TEST(IdenticalLines, TheFirstPairOfTheTableIsNamed) {
  for (const Duplicates& c : {Duplicates{{"a", "b", "c", "d", "c", "d"}, "3 & 5"},
                              {{"a", "b", "b", "a"}, "1 & 4"},
                              {{"a", "a", "a"}, "1 & 2"},
                              {{"b", "a", "a", "a"}, "2 & 3"},
                              {{"a", "b"}, ""},
                              {{}, ""}}) {
    Console console;
    tzCStream table;
    table << "heading"
          << "\n";
    table.identicalLinesStart(2);
    int clocks = 0;
    for (const char* cell : c.firstCells) table << cell << "same" << ++clocks << "\n";
    const bool any = *c.pair != 0;
    EXPECT_EQ(table.identicalLinesStop(), any);
    EXPECT_FALSE(table.identicalLinesStop());
    if (!any) {
      EXPECT_EQ(console.take(), "");
      continue;
    }
    // The heading is line 1 of the file.
    const int first = c.pair[0] - '0' + 1;
    const int second = c.pair[4] - '0' + 1;
    EXPECT_EQ(console.take(), " Performance table warning:\n Lines " + std::to_string(first) +
                                  " & " + std::to_string(second) + " have identical parameters\n");
  }
}

TEST(IdenticalLines, CellsAreComparedOneByOne) {
  Console console;
  tzCStream table;
  table.identicalLinesStart(99);  // all 32
  table << "ab"
        << ""
        << "\n"
        << "a"
        << "b"
        << "\n";
  EXPECT_FALSE(table.identicalLinesStop());
  table << "x"
        << "\n"
        << "x"
        << "\n";  // no check is on
  EXPECT_FALSE(table.identicalLinesStop());
  EXPECT_EQ(console.text(), "");
}

TEST(CsvStream, StoppingWithoutLinesLeavesTheCheckOn) {
  Console console;
  tzCStream table;
  table.identicalLinesStart(1);
  EXPECT_FALSE(table.identicalLinesStop()) << "there is nothing to end yet";
  table << "x"
        << "\n"
        << "x"
        << "\n";
  EXPECT_TRUE(table.identicalLinesStop());
}

TEST(Trace, StepsAreIndentedByTheirDepth) {
  Console console(L_ERR | L_WARN | L_PERF | L_TRACE);
  tzTrace trace;
  trace.traceIn("run");
  trace.traceIn("step");
  EXPECT_EQ(trace.getCurName(), "step");
  trace.traceOut("step");
  trace.traceOut("run");
  EXPECT_EQ(trace.getCurName(), "");
  const char* const lines =
      "****** trace into   run\n******* trace into   step\n"
      "******* trace out of step\n****** trace out of run\n";
  EXPECT_EQ(console.text(), lines);
  EXPECT_EQ(trace.text(), lines);
  EXPECT_EQ(console.flushes(), 4);
}

TEST(Trace, EndingAStepEndsWhatIsInside) {
  Console console;  // without TRACE
  tzTrace trace;
  for (const char* name : {"a", "b", "c"}) trace.traceIn(name);
  trace.traceOut("b");
  EXPECT_EQ(trace.getCurName(), "a");
  trace.traceOut("unknown");  // flattens the indent, keeps the stack
  trace.traceOut("unknown");
  EXPECT_EQ(trace.getCurName(), "a");
  trace.traceIn("d");
  EXPECT_THAT(trace.text().str(),
              testing::EndsWith("****** trace out of unknown\n***** trace out of unknown\n"
                                "****** trace into   d\n"));
  EXPECT_EQ(console.text(), "");
  EXPECT_EQ(console.flushes(), 0);
}

}  // namespace
