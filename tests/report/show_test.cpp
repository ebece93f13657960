// tazreport show: the figures are those of the file in every unit and format, and nothing is lost
// at any width.

#include <gtest/gtest.h>

#include <algorithm>

#include <pty.h>
#include <sys/wait.h>
#include <unistd.h>

#include "report/text.h"
#include "reportkit.h"
#include "testpaths.h"

using namespace reportkit;

namespace {

const char* const kBytes = ",\"bytes_read\":2,\"bytes_written\":1";

std::string sample() {
  return kContext + row("alpha_8u_C1R", "64x64", 0.5, "OK", kBytes) +
         row("alpha_8u_C1R", "1024x768", 0.75, "OK", kBytes) +
         row("alpha_8u_C1R", "256x256", 0.625, "ACCURWRN", kBytes) + row("beta", "64x64", 20) +
         row("beta", "256x256", 0, "FUNCFAIL") + row("beta", "1024x768", 0, "UNDEFINED") + kEnd;
}

size_t at(const std::string& text, const std::string& part) {
  const size_t place = text.find(part);
  EXPECT_NE(std::string::npos, place) << part << " in\n" << text;
  return place;
}

std::string without(std::string text, const char* characters) {
  std::erase_if(text, [&](char c) { return std::string(characters).find(c) != std::string::npos; });
  return text;
}

// The program on a terminal of 50 columns; all that it shows there.
std::string onATerminal(const std::string& path, const char* noColour) {
  const winsize size{24, 50, 0, 0};
  int terminal = -1;
  const pid_t child = forkpty(&terminal, nullptr, nullptr, &size);
  if (child == 0) {
    unsetenv("COLUMNS");
    setenv("TERM", "xterm", 1);
    setenv("NO_COLOR", noColour, 1);
    const std::string program = std::string(TAZMET_BIN_DIR) + "/tazreport";
    execl(program.c_str(), "tazreport", "show", path.c_str(), nullptr);
    _exit(99);
  }
  std::string shown;
  char part[4096];
  for (ssize_t count; (count = read(terminal, part, sizeof part)) > 0;) {
    shown.append(part, static_cast<size_t>(count));
  }
  close(terminal);
  int status = 0;
  waitpid(child, &status, 0);
  EXPECT_EQ(0, status);
  return without(shown, "\r");
}

size_t widestLine(const std::string& text) {
  size_t widest = 0;
  for (const std::string& line : report::split(text, '\n')) {
    widest = std::max(widest, static_cast<size_t>(report::textWidth(line)));
  }
  return widest;
}

}  // namespace

TEST(Show, TellsTheFiguresOfTheFileInEveryUnit) {
  const TempFolder folder;
  const std::string path = folder.write("a.jsonl", sample());
  const auto runs = report::readRuns(path);
  const double nanoseconds = 1000 / runs[0].context.number("counter_mhz", 0);
  struct {
    const char* word;
    const char* shown;
    std::function<double(double clocks)> convert;
  } const units[] = {{"clocks", "clocks/px", [](double c) { return c; }},
                     {"ns", "ns/px", [&](double c) { return c * nanoseconds; }},
                     {"GB/s", "GB/s", [&](double c) { return 3 / (c * nanoseconds); }},
                     {"Mpx/s", "Mpx/s", [&](double c) { return 1000 / (c * nanoseconds); }}};
  for (const auto& unit : units) {
    const Outcome csv = run({"show", path, "--format", "csv", "--unit", unit.word});
    EXPECT_EQ(0, csv.code) << csv.err;
    const auto lines = report::split(csv.out, '\n');
    ASSERT_EQ(runs[0].rows.size() + 2, lines.size()) << csv.out;
    for (size_t i = 0; i < runs[0].rows.size(); ++i) {
      const report::Row& written = runs[0].rows[i];
      const auto cells = report::split(lines[i + 1], ',');
      EXPECT_EQ(written.function, cells.at(1));
      EXPECT_EQ(unit.shown, cells.at(4));
      const bool known =
          written.clocksPerElement && (std::string(unit.word) != "GB/s" || written.bytesRead);
      ASSERT_EQ(known, !cells.at(3).empty()) << lines[i + 1];
      if (known) {
        EXPECT_DOUBLE_EQ(unit.convert(*written.clocksPerElement), std::stod(cells[3]));
      }
    }
  }
  const Outcome text = run({"show", path, "--unit", "ns"});
  at(text.out, "alpha_8u_C1R  0.200   0.250*     0.300  ns/px");
}

// Clocks of the core take as long as the core ran fast, but for the time that memory takes.
TEST(Show, TellsTimeOfClocksOfTheCore) {
  const TempFolder folder;
  std::string text =
      kContext + row("f", "8x8", 4) + row("g", "8x8", 4, "OK", ",\"memory_share\":0.25") + kEnd;
  const std::string machine = "\"counter_mhz\":2500,";
  text.insert(text.find(machine) + machine.size(), "\"core_clocks_a_counter_clock\":1.5,");
  const std::string counter = folder.write("a.jsonl", text);
  text.insert(text.find("\"accuracy\""), "\"clock\":\"core\",");
  const std::string core = folder.write("b.jsonl", text);
  const auto nanoseconds = [](const std::string& path, std::size_t line) {
    const Outcome csv = run({"show", path, "--format", "csv", "--unit", "ns"});
    return std::stod(report::split(report::split(csv.out, '\n').at(line), ',').at(3));
  };
  EXPECT_DOUBLE_EQ(1.6, nanoseconds(counter, 1));
  EXPECT_DOUBLE_EQ(1.6 / 1.5, nanoseconds(core, 1));
  EXPECT_DOUBLE_EQ(1.6 / (0.25 + 0.75 * 1.5), nanoseconds(core, 2));
  EXPECT_EQ(2, run({"compare", counter, core}).code);
}

TEST(Show, PutsWhatIsNotOkFirstWithReasonAndCure) {
  const TempFolder folder;
  const Outcome shown = run({"show", folder.write("a.jsonl", sample())}, 100);
  const size_t places[] = {at(shown.out, "Not OK: 3 of 6 rows"),
                           at(shown.out, "FUNCFAIL. The function failed"),
                           at(shown.out, "ACCURWRN. Quiet the machine"),
                           at(shown.out, "alpha_8u_C1R ImageSize=256x256   0.625  because"),
                           at(shown.out, "UNDEFINED. "),
                           at(shown.out, "By ImageSize"),
                           at(shown.out, "Function      64x64  256x256  1024x768  Unit"),
                           at(shown.out, "alpha_8u_C1R  0.500   0.625*     0.750  clocks/px"),
                           at(shown.out, "beta           20.0       -*        -*  clocks/px")};
  EXPECT_TRUE(std::is_sorted(std::begin(places), std::end(places))) << shown.out;
}

TEST(Show, KeepsToTheWidthAndLosesNothing) {
  const TempFolder folder;
  const std::string name = "rkdiDCTQuantInv8x8LS_JPEG_16s8u_C1R_of_great_length";
  std::string bytes = kContext;
  for (const char* size :
       {"8x8", "64x64", "128x128", "256x256", "512x512", "1024x1024", "2048x2048"}) {
    bytes += row(name, size, 12.25, "ACCURWRN");
  }
  const std::string path = folder.write("a.jsonl", bytes);
  for (const int width : {40, 60, 80, 132}) {
    const Outcome shown = run({"show", path}, width);
    EXPECT_GE(static_cast<size_t>(width), widestLine(shown.out)) << width << shown.out;
    size_t figures = 0;
    for (size_t i = 0; (i = shown.out.find("12.2", i)) != std::string::npos; ++i) ++figures;
    EXPECT_EQ(14u, figures) << shown.out;
  }
  const Outcome wide = run({"show", path}, 1000);
  EXPECT_NE(std::string::npos, wide.out.find(name + "  12.2*"));
}

TEST(Show, ColoursATerminalAlone) {
  const TempFolder folder;
  const std::string path = folder.write("a.jsonl", sample());
  EXPECT_EQ(std::string::npos, run({"show", path}).out.find('\x1b'));
  EXPECT_NE(std::string::npos, onATerminal(path, "").find('\x1b'));
  const std::string plain = onATerminal(path, "1");
  EXPECT_EQ(run({"show", path}, 50).out, plain);
}

TEST(Show, SortsAndFilters) {
  const TempFolder folder;
  const std::string path = folder.write("a.jsonl", sample());
  const Outcome slowest = run({"show", path, "--sort", "figure"});
  EXPECT_LT(at(slowest.out, "beta           20.0"), at(slowest.out, "alpha_8u_C1R  0.500"));
  const Outcome some = run({"show", path, "--filter", "ALPHA ok 64x64", "--format", "csv"});
  EXPECT_EQ(3u, report::split(some.out, '\n').size()) << some.out;
  EXPECT_NE(
      std::string::npos,
      run({"show", path, "--filter", "gamma"}).out.find("No row has all words of the filter."));
  const Outcome wrong = run({"show", path, "--unit", "miles"});
  EXPECT_EQ(2, wrong.code);
}

TEST(Show, FiltersComparisonsByTheSameWords) {
  const TempFolder folder;
  const std::string path =
      folder.write("a.jsonl", kContext + comparison("fnOne") + comparison("fnTwo"));
  const Outcome some = run({"show", path, "--filter", "8X8 one slower"});
  at(some.out, "fnOne ImageSize=8x8  A : B  1.0400    -  1.1000  slower");
  EXPECT_EQ(std::string::npos, some.out.find("fnTwo")) << some.out;
  const Outcome none = run({"show", path, "--filter", "fnThree"});
  EXPECT_EQ(std::string::npos, none.out.find("side by side")) << none.out;
  at(none.out, "No row has all words of the filter.");
}

TEST(Show, EscapesWhatOtherFormatsRead) {
  const TempFolder folder;
  const std::string path =
      folder.write("a.jsonl", kContext + row("a|<b>,\\\"c_d_", "8x8", 1, "DATAWRN"));
  const Outcome markdown = run({"show", path, "--format", "markdown"});
  EXPECT_NE(std::string::npos, markdown.out.find("| a\\|\\<b\\>,\"c_d\\_ | 1.00\\* |"))
      << markdown.out;
  const Outcome csv = run({"show", path, "--format", "csv"});
  EXPECT_NE(std::string::npos, csv.out.find(",\"a|<b>,\"\"c_d_\",")) << csv.out;
}

TEST(Show, TellsClocksAloneWhereTheirRateIsUnknown) {
  const TempFolder folder;
  const std::string path = folder.write("a.csv", "f,Timing,64x64,1.5,px,nLps=4,OK\n");
  EXPECT_EQ(0, run({"show", path}).code);
  const Outcome refused = run({"show", path, "--unit", "ns"});
  EXPECT_EQ(2, refused.code);
  EXPECT_NE(std::string::npos, refused.err.find(path + ": does not tell the rate of its clock"));
  // How fast the core ran, tables do not tell.
  const std::string cpu = "CPU,Test CPU; 2.6 GHz; Max cache size 1024 K\n";
  const std::string line = "f,Timing,64x64,1.5,px,nLps=4,OK\n";
  const std::string counter = folder.write("b.csv", cpu + line);
  const std::string core = folder.write("c.csv", cpu + "Clock,core\n" + line);
  EXPECT_EQ(0, run({"show", counter, "--unit", "ns"}).code);
  EXPECT_EQ(0, run({"show", core}).code);
  EXPECT_EQ(2, run({"show", core, "--unit", "ns"}).code);
  EXPECT_EQ(2, run({"compare", counter, core}).code);
}
