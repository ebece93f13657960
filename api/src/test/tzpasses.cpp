// The passes of a run.
#include "tzpasses.h"

#include <unistd.h>

#include <cstdio>

#include "tzinterrupt.h"
#include "tzistream.h"
#include "tzostream.h"
#include "tzplan.h"
#include "tzquiet.h"
#include "tzreference.h"
#include "tzrequest.h"
#include "tztest.h"

namespace {

bool isInformation(const tzTest& test) { return test.kind() == tzString("Information"); }

long long countRows(const std::vector<tzTest*>& tests) {
  const tzQuiet quiet;
  long long rows = 0;
  for (tzTest* test : tests) {
    if (!isInformation(*test)) rows += test->countRows();
  }
  return rows;
}

void runQuietly(const std::vector<tzTest*>& tests, void (*runOne)(tzTest&)) {
  const tzQuiet quiet;
  for (tzTest* test : tests) {
    if (tzInterrupt::signal() != 0) return;
    if (!isInformation(*test)) runOne(*test);
  }
}

void waitForNext() {
  constexpr double slice = 0.05;
  constexpr double microseconds = 1e6;
  for (;;) {
    const double left = g_plan.untilNext(tzTool::seconds());
    if (left <= 0 || tzInterrupt::signal() != 0) return;
    usleep(static_cast<useconds_t>((left < slice ? left : slice) * microseconds));
  }
}

void tellPass(double seconds) {
  char text[96];
  std::snprintf(text, sizeof text, " Pass %d of %d: %.1f s\n", g_plan.pass, g_plan.passes, seconds);
  g_ostrm << L_PERF << text << L_ENDFLUSH;
}

}  // namespace

void tzSettlePasses() {
  const auto one = [](const char* why) {
    g_ostrm << L_WARN << "-- One pass is made: " << why << "\n" << L_END;
    g_plan.passes = 1;
  };
  if (g_plan.passes > 1 && tzTest::m_verifyMode == VERIFY_ONLY) one("nothing is measured");
  if (g_plan.passes > 1 && g_tool.getMethod() != tzTool::SPREAD) one("passes need Method=Spread");
  if (g_plan.passes > 1 && g_request.asksTests) one("each test asks for its parameters (-AAll)");
  g_plan.pass = 1;
}

void tzRunEarlierPasses(const std::vector<tzTest*>& tests, void (*runOne)(tzTest&)) {
  if (g_plan.passes > 1) tzReferenceStream::prepare();
  const bool shared = g_plan.runBudget > 0;
  g_plan.beginRun(tzTool::seconds(), shared ? countRows(tests) : 0);
  g_plan.beginPass(1, tzTool::seconds());
  while (!g_plan.isLast() && tzInterrupt::signal() == 0) {
    const double begin = tzTool::seconds();
    runQuietly(tests, runOne);
    tellPass(tzTool::seconds() - begin);
    waitForNext();
    g_plan.beginPass(g_plan.pass + 1, tzTool::seconds());
  }
}

bool tzWritesRest() {
  if (tzInterrupt::signal() == 0 || g_plan.passes < 2 || tzTest::m_quiet) return false;
  if (!g_plan.writesOnly) {
    g_plan.writesOnly = true;
    g_ostrm << L_ERR << "-- " << tzInterrupt::name(tzInterrupt::signal())
            << ": rows are written with what was measured so far\n"
            << L_ENDFLUSH;
  }
  return true;
}
