// The page: every figure of the files, nothing from elsewhere, and no text of a file becomes
// markup.

#include <gtest/gtest.h>

#include <regex>

#include "report/page.h"
#include "report/text.h"
#include "reportkit.h"

using namespace reportkit;

namespace {

class Page : public testing::Test {
 protected:
  void SetUp() override {
    if (report::kChartLibrary.empty()) GTEST_SKIP() << "built without libjs-chart.js";
  }
  const TempFolder folder;
};

std::size_t countOf(const std::string& text, const std::string& part) {
  std::size_t count = 0;
  for (std::size_t at = 0; (at = text.find(part, at)) != std::string::npos; ++at) ++count;
  return count;
}

// The part of a page that is made from files: what comes before the scripts, and the data.
std::string body(const std::string& page) {
  const std::size_t from = page.find("<body>");
  return page.substr(from, page.find("</script>", from) - from);
}

const char* const kSamples =
    ",\"elements\":64,\"working_set\":4096,\"statistics\":{\"count\":3,\"minimum\":100,\"median\":"
    "110,"
    "\"spread\":0.05,\"tail\":0.3},\"samples\":{\"clocks\":[100,110,125],\"calls\":[1,1,1],"
    "\"pass\":[1,1,2],\"disturbed\":[false,false,false]}";

}  // namespace

TEST_F(Page, HoldsEveryFigureOfTheFiles) {
  std::string text = kContext;
  for (int i = 0; i < 40; ++i) {
    text +=
        row("f" + std::to_string(i / 2), i % 2 ? "64x64" : "8x8", 0.1 + i / 7.0, "OK", kSamples);
  }
  const std::string path = folder.write("a.jsonl", text + kEnd);
  const Outcome made = run({"html", path, "-o", folder.file("p.html")});
  ASSERT_EQ(0, made.code) << made.err;
  const std::string page = body(folder.read("p.html"));
  const std::vector<report::Run> runs = report::readRuns(path);
  for (const report::Row& each : runs[0].rows) {
    const std::string exact = report::exactText(*each.clocksPerElement);
    const std::string shown = report::figureText(*each.clocksPerElement);
    EXPECT_EQ(1u,
              countOf(page, "data-c=\"" + exact + "\" data-b=\"0\" data-m=\"2500\"><span>" + shown))
        << exact;
    EXPECT_EQ(1u, countOf(page, "\"c\":" + exact + ","));
  }
  // Samples above the smallest in hundredths of a percent, with their passes.
  EXPECT_EQ(40u, countOf(page, "\"q\":[[1,0],[1,1000],[2,2500]]"));
  // Once as the name of the drawing, once in its place.
  EXPECT_EQ(40u, countOf(page, "64x64: 3 samples, median +10.0 %, spread 5.0 %"));
  EXPECT_NE(std::string::npos, page.find("\"caches\":[[\"L1\",32768],[\"L2\",1048576]]"));
}

TEST_F(Page, ComparesWithOlderRuns) {
  const std::string before =
      folder.write("a.jsonl", kContext + row("f", "8x8", 2) + row("g", "8x8", 1));
  const std::string after = folder.write("b.jsonl", kContext + row("f", "8x8", 3));
  const Outcome made = run({"html", after, "-o", "-", "--old", before});
  ASSERT_EQ(0, made.code) << made.err;
  const std::string page = body(made.out);
  EXPECT_NE(std::string::npos, page.find(">1.5000</td>")) << page;
  EXPECT_NE(std::string::npos, page.find("<tr data-verdict=\"unresolved\">"));
  EXPECT_NE(std::string::npos, page.find("<li>g ImageSize=8x8: not there</li>"));
}

// What the harness compared itself: a file of key -D holds nothing else.
TEST_F(Page, HoldsComparisonsOfTheHarness) {
  const std::string path = folder.write("d.jsonl", kContext + comparison("<f>") + kEnd);
  const Outcome made = run({"html", path, "-o", "-"});
  ASSERT_EQ(0, made.code) << made.err;
  const std::string page = body(made.out);
  EXPECT_NE(std::string::npos, page.find("<b>&lt;f&gt;</b><span>ImageSize=8x8</span>")) << page;
  EXPECT_NE(std::string::npos, page.find("<td>A : B</td><td class=\"n\" data-v=\"1.04\">1.0400</td>"
                                         "<td class=\"n\">-</td>"));
}

// Of a history: the runs that may be compared with those of the page, every figure of them.
TEST_F(Page, ShowsRowsOverTime) {
  const std::string place = folder.file("h.sqlite");
  std::vector<std::string> add{"history", "add", "--database", place};
  for (int day = 10; day < 22; ++day) {
    const std::string begin = replaced(kContext, "2026-11-22", "2026-01-" + std::to_string(day));
    const double clocks = (day < 16 ? 2 : 3) + day / 1000.0;
    const std::string text = begin + row("<f>", "8x8", clocks) + row("g", "8x8", 5) + kEnd;
    add.push_back(folder.write(std::to_string(day), text));
    if (day != 10) continue;
    add.push_back(
        folder.write("other", replaced(text, "\"computer\":\"box\"", "\"computer\":\"lathe\"")));
  }
  const Outcome added = run(add);
  if (added.code == 2) GTEST_SKIP() << added.err;
  const Outcome made =
      run({"html", folder.file("21"), "-o", "-", "--history", place, "--title", "T"});
  ASSERT_EQ(0, made.code) << made.err;
  const std::string page = body(made.out);
  EXPECT_NE(std::string::npos, page.find("2 rows in 12 runs of this machine"));
  EXPECT_NE(std::string::npos,
            page.find("<b>&lt;f&gt;</b><span>ImageSize=8x8</span></th><td class=\"n\">12</td>"
                      "<td class=\"n\" data-v=\"2.01\">2.01</td>"
                      "<td class=\"n\" data-v=\"3.021\">3.02</td>"))
      << page;
  EXPECT_NE(std::string::npos, page.find("+50.0 %</td><td>#8 2026-01-16T08:00:00Z</td>"));
  for (int day = 10; day < 22; ++day) {
    const double clocks = (day < 16 ? 2 : 3) + day / 1000.0;
    EXPECT_EQ(1u, countOf(page, ',' + report::exactText(clocks) + ']')) << day;
  }
  EXPECT_EQ(12u, countOf(page, ",5]"));
  EXPECT_EQ(std::string::npos, page.find("lathe"));
  const std::string elsewhere =
      folder.write("elsewhere", replaced(kContext, "Test CPU", "Other CPU") + row("g", "8x8", 5));
  const Outcome none = run({"html", elsewhere, "-o", "-", "--history", place});
  EXPECT_EQ(2, none.code);
  EXPECT_NE(std::string::npos, none.err.find("h.sqlite: holds no run of the machine")) << none.err;
  EXPECT_EQ(2, run({"html", elsewhere, "-o", "-", "--history", folder.file("none")}).code);
}

// A file may come from anywhere, and a page is opened with a click.
TEST_F(Page, TakesNoTextForMarkup) {
  const std::string evil =
      "</script><script>alert(1)</script>'\\\"><img src=x onerror=alert(2)>&amp;<!--";
  std::string context = kContext;
  for (const char* text :
       {"Test CPU", "AVX2", "spread", "2026-11-22T08:00:00Z", "librkdi.so.1, 1.0.0"}) {
    context.replace(context.find(text), std::string(text).size(), evil);
  }
  std::string doubtful = row(evil, evil, 1, "ACCURWRN", kSamples);
  doubtful.replace(doubtful.find("because"), 7, evil);
  doubtful.replace(doubtful.find("\"px\""), 4, "\"" + evil + "\"");
  const std::string path = folder.write("<b>.jsonl", context + doubtful + kEnd);
  const std::string clean =
      folder.write("a.jsonl", kContext + row("f", "8x8", 1, "OK", kSamples) + kEnd);
  const Outcome made =
      run({"html", path, "-o", "-", "--old", clean, "--anyway", "--title", "</title><b>"});
  ASSERT_EQ(0, made.code) << made.err;
  const Outcome plain = run({"html", clean, "-o", "-", "--old", clean});
  EXPECT_EQ(std::string::npos, made.out.find("<img"));
  EXPECT_EQ(std::string::npos, made.out.find("<b>."));
  for (const char* tag : {"<script", "</script", "<!--", "<title", "<style"}) {
    EXPECT_EQ(countOf(plain.out, tag), countOf(made.out, tag)) << tag;
  }
  EXPECT_EQ("\"\\u0022\\u005c\\u003c\\u003e\\u0026'\"", report::jsonText("\"\\<>&'"));
  EXPECT_EQ("&lt;a b=&#39;&quot;&amp;", report::htmlText("<a b='\"&"));
}

TEST_F(Page, FetchesNothing) {
  const std::string path = folder.write("a.jsonl", kContext + row("f", "8x8", 1) + kEnd);
  const Outcome made = run({"html", path, "-o", "-"});
  EXPECT_NE(std::string::npos, made.out.find("default-src 'none'"));
  const std::regex outside(R"((src|href|action)\s*=\s*["'](?!#|data:,))");
  EXPECT_FALSE(std::regex_search(body(made.out), outside));
  EXPECT_EQ(std::string::npos, std::string(report::kPageStyle).find("url("));
}

TEST_F(Page, IsWrittenAsAWholeOrNotAtAll) {
  const std::string path = folder.write("a.jsonl", kContext + row("f", "8x8", 1) + kEnd);
  const std::string page = folder.write("p.html", "before");
  EXPECT_EQ(2, run({"html", folder.file("none"), "-o", page}).code);
  EXPECT_EQ("before", folder.read("p.html"));
  const Outcome refused = run({"html", path, "-o", folder.file("no/p.html")});
  EXPECT_EQ(2, refused.code);
  EXPECT_NE(std::string::npos, refused.err.find("no/p.html: No such file or directory"))
      << refused.err;
  EXPECT_EQ(2, run({"html", path}).code);
  // What is no plain file stays what it is.
  std::filesystem::create_symlink("/dev/null", folder.file("device"));
  EXPECT_EQ(0, run({"html", path, "-o", folder.file("device")}).code);
  EXPECT_TRUE(std::filesystem::is_symlink(folder.file("device")));
  std::filesystem::create_symlink("/dev/full", folder.file("full"));
  EXPECT_NE(
      std::string::npos,
      run({"html", path, "-o", folder.file("full")}).err.find("full: No space left on device"));
}
