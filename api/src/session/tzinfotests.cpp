// Tests that print what is known of machine and memory.
#include "tzinfotests.h"

#include "tzclock.h"
#include "tzcpuinfo.h"
#include "tzcstream.h"
#include "tzostream.h"
#include "tzregistry.h"
#include "tztest.h"
#include "tztestreport.h"

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
