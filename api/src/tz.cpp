#include "tz.h"

#include <fcntl.h>
#include <unistd.h>

#include <csignal>
#include <memory>
#include <tuple>

#include "tzclock.h"
#include "tzcpuinfo.h"
#include "tzcstream.h"
#include "tzinterrupt.h"
#include "tzmemory.h"
#include "tzreport.h"
#include "tztrace.h"

namespace {

// A test that prints facts instead of measuring. It goes through the list, the conditions and the
// tables like any other, under a function name that begins with "__tz".
class InformationTest : public tzTest {
 public:
  using Text = tzString (*)();

  /// @param report  lines for the console, ended
  /// @param brief   one cell for the table
  InformationTest(const char* function, const char* name, const char* comment, Text report,
                  Text brief)
      : tzTest(nullptr, nullptr, nullptr, nullptr, function, "api/src/tz", name),
        m_comment(comment),
        m_report(report),
        m_brief(brief) {}

  tzResult run() override {
    if (!beginRun()) return TZ_UNDEFINED;
    printTitle();
    g_ostrm << m_report();
    g_cstrm << tzReportTestTitle(*this) << m_brief() << "\n";
    raiseResult(TZ_OK);
    return finishRun();
  }

  tzString getComment() const override { return m_comment; }

 private:
  const char* m_comment;
  Text m_report;
  Text m_brief;
};

tzString osText() { return tzOS().c_str(); }

tzString hostText() { return tzHost().c_str(); }

}  // namespace

void tzRegInfoTests() {
  tzRegTest(new InformationTest(
      "__tzOrtanCpu", "__tzOrtanCpuTest", "Ortan CPU information",
      []() -> tzString { return tzCpuReport(); }, []() -> tzString { return tzCpuName(); }));
  tzRegTest(new InformationTest(
      "__tzOS", "__tzOSTest", "Operating system information",
      []() -> tzString { return " OS       : " + osText() + "\n"; }, osText));
  tzRegTest(new InformationTest(
      "__tzHost", "__tzHostTest", "Host information",
      []() -> tzString { return " Computer : " + hostText() + "\n"; }, hostText));
}

namespace {

// A file opened in the place of a standard stream that was closed would be mixed with the console.
void occupyStandardStreams() {
  for (int descriptor = STDIN_FILENO; descriptor <= STDERR_FILENO; ++descriptor) {
    if (fcntl(descriptor, F_GETFD) < 0) std::ignore = open("/dev/null", O_RDWR);
  }
}

}  // namespace

int tzMain(int argc, char** argv) {
  occupyStandardStreams();
  // A closed pipe and a size limit are failures to write, reported as such, and not the end of the
  // program.
  std::signal(SIGPIPE, SIG_IGN);
  std::signal(SIGXFSZ, SIG_IGN);
  tzInterrupt::watch();
  g_trace.traceIn("main");
  tzSession defaultSession;
  if (g_session == nullptr) g_session = &defaultSession;
  const int result = g_session->run(argc, argv);
  tzFreeAll();
  g_trace.traceOut("main");
  if (g_session == &defaultSession) g_session = nullptr;
  tzInterrupt::obey();
  return result;
}
