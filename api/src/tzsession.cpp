#include "tzsession.h"

#include <ctime>
#include <memory>

#include "tz.h"
#include "tzcstream.h"
#include "tzenv.h"
#include "tzistream.h"
#include "tzparm.h"
#include "tzreport.h"
#include "tzsettings.h"
#include "tztrace.h"

tzSession* g_session = nullptr;

int tzRegSession(tzSession* session) {
  g_session = session;
  return 1;
}

namespace {

// Under -P: functions that the ini file names, whatever else is selected.
class RunCondition_ini : public RunCondition {
 public:
  RunCondition_ini() : RunCondition(ALL_OF, "") {}
  bool tobeRun(const tzTest* test) const override {
    return g_session->isIniFunction(test->funcName());
  }
};

bool isInformation(const tzTest& test) { return test.funcName().find("__tz") == 0; }

}  // namespace

tzSession::tzSession() = default;

tzSession::~tzSession() = default;

void tzSession::initSession() { tzRegisterKeys(*this); }

bool tzSession::startSession() { return true; }

// ---- what the keys set ----

void tzSession::setHint(char key, bool withHidden) {
  m_hint = key;
  m_hintHidden = withHidden;
}

void tzSession::addLevelMode(OutputLevel mask) { m_levelMode |= mask; }

void tzSession::setIniMode(const tzString& name, bool create) {
  m_iniUsed = true;
  m_iniCreate = m_iniCreate || create;
  m_iniName = name;
}

void tzSession::setIniFunctionsOnly(bool on) {
  if (on && !m_iniFunctionsOnly) addCondition(new RunCondition_ini);
  m_iniFunctionsOnly = on;
}

void tzSession::addCondition(RunCondition* condition) { m_conditions.add(condition); }

void tzSession::setSglName(const tzString& name) {
  m_signal = true;
  m_sglName = name;
}

// Of two keys for one file the last counts: two streams would overwrite each other.
void tzSession::addOutFile(tzOutFile kind, const tzString& name, bool append) {
  const tzString path = genOutPath(name, extension(kind));
  for (OutFile& file : m_outFiles[kind]) {
    if (file.path == path) {
      file.append = append;
      return;
    }
  }
  m_outFiles[kind].push_back({path, append});
}

bool tzSession::isIniFunction(const tzString& function) const {
  return !m_iniFunctionsOnly || g_istrm.hasIniSection(function);
}

bool tzSession::setIniSection(const tzString& function) {
  if (!isIniFunction(function)) return false;
  g_istrm.setIniSection(function);
  return true;
}

// ---- the run ----

int tzSession::run(int argc, char** argv) {
  g_ostrm.setMsgLevel(L_PERF);
  g_ostrm.addStream(c_out);
  setRkdEnvironment();
  initSession();
  tzRegInfoTests();
  tzGetTestList().startTime = time(nullptr);
  int result = 0;
  const bool applied = parseCommandLine(argc, argv);
  if (applied && startSession() && !quickOutput()) result = runTests();
  result = finish(result);
  deleteTestList();
  return applied ? result : 0;
}

int tzSession::runTests() {
  prepareLibrary();
  sortTests();
  const bool measures = !m_iniCreate && !m_namesOnly;
  if (measures) {
    m_headerPrinted = true;
    outputHeader();
  }
  readParameters();
  if (g_hotList == nullptr) g_hotList = new tzStringList;
  if (m_iniCreate) return writeIni();
  if (m_namesOnly) return writeNames();
  putTableTitle();
  return tzGetTestList().runTests(m_conditions);
}

void tzSession::prepareLibrary() {
  if (rkdEnvironment != nullptr) {
    initStaticCpu();
    setNumThreads();
    setRkdEnvironment();
  }
  setRkdLibInfo();
}

void tzSession::sortTests() {
  if (m_dontSort) return;
  g_ostrm << "Sorting functions...";
  tzGetTestList().sortFunc();
  g_ostrm << "\n";
}

void tzSession::readParameters() {
  if (g_parmRegistrar != nullptr) g_parmRegistrar();
  if (g_parmList != nullptr) m_commonParms = *g_parmList;
  tzGetTestList().selectCommonParms(m_conditions, m_commonParms);
  beginCommonData();
  readCommonData();
  endCommonData();
}

void tzSession::beginCommonData() {
  g_trace.traceIn("readCommonData");
  g_istrm.setIniSection(tzIStream::COMMON_SECTION);
}

void tzSession::endCommonData() { g_trace.traceOut("readCommonData"); }

void tzSession::readCommonData() {
  {
    const tzConsoleAsking asking(isAsk(ASK_TIMING));
    readTimingMethod();
  }
  {
    const tzConsoleAsking asking(isAsk(ASK_MISALIGN));
    readDataOffset();
  }
  {
    const tzConsoleAsking asking(isAsk(ASK_TIMING));
    readAccuracy();
  }
  const tzConsoleAsking asking(isAsk(ASK_PARAMS));
  for (tzParameter* parm : m_commonParms) parm->fromIStream(g_istrm);
}

// Walks the selected tests for their parameters, as each shows them: nothing is built or timed.
template <class Visit>
void tzSession::visitTests(Visit visit) {
  for (tzTest* test : tzGetTestList()) {
    if (!test->tobeRun(m_conditions) || !setIniSection(test->funcName())) continue;
    tzTest::m_pCurrentTest = test;
    g_ostrm << "\n Function   : " << test->funcName() << "\n";
    if (test->prepareParms()) visit(*test);
    tzTest::m_pCurrentTest = nullptr;
  }
  g_istrm.setIniSection(tzIStream::COMMON_SECTION);
}

int tzSession::writeIni() {
  visitTests([](tzTest&) {});  // reading a parameter writes it
  const bool written = g_istrm.deleteIniFile();
  if (written) g_ostrm << "\nParameters written to " << genInPath(m_iniName, INI_EXTENSION) << "\n";
  return written ? 0 : 1;
}

int tzSession::writeNames() {
  visitTests([](tzTest& test) {
    if (!isInformation(test)) test.putTableName();
  });
  return 0;
}

// ---- the end ----

// Everything is written before the signal file, which tells that it is.
int tzSession::finish(int result) {
  tzTestList& tests = tzGetTestList();
  tests.endTime = time(nullptr);
  if (m_headerPrinted) outputFooter();
  if (!g_istrm.deleteIniFile()) result = 1;
  g_ostrm.flush();
  for (tzCStream* table : {&g_cstrm, &g_qstrm, &g_ustrm, &g_mstrm}) table->close();
  if (o_stream::anyWriteFailed()) result = 1;
  m_result = result;
  outputSignal();
  g_ostrm.flush();
  return o_stream::anyWriteFailed() ? 1 : result;
}

void tzSession::outputHeader() { tzPutTitle(tzGetTestList()); }

void tzSession::outputFooter() {
  const tzReportEnd report(tzGetTestList());
  g_ostrm << report;
  g_cstrm << report;
  g_ustrm << report;
}

void tzSession::outputSignal() {
  if (!m_signal) return;
  const tzTestList& tests = tzGetTestList();
  const std::unique_ptr<o_stream> file(
      createOStream(genOutPath(m_sglName, SIGNAL_EXTENSION), false));
  if (file == nullptr) return;
  tzString text;
  text << "Tazmet finished: " << tzTimeString(tests.endTime) << "\n";
  text << "Tests: " << tests.total << ", failures: " << tests.counts[TZ_FAIL]
       << ", warnings: " << tests.counts[TZ_WARNING] << "\n";
  text << "Exit code: " << m_result << "\n";
  *file << text;
  file->close();
}

// ---- the heading of the result table ----

void tzSession::funcTitleToCStream() {}

void tzSession::parmsTitleToCStream() {}

void tzSession::resultTitleToCStream() { g_cstrm.putJoinedCells("Clocks,Unit,Note,Result"); }

void tzSession::putTableTitle() {
  if (g_mstrm.hasTargets()) {
    g_mstrm.putJoinedCells("Function,Event,Size,Address,AlignedPointer");
    g_mstrm << "\n";
  }
  if (!g_cstrm.hasTargets()) return;
  g_cstrm << tzReportTitle(tzGetTestList());
  putTableTitleLine();
}

void tzSession::putTableTitleLine() {
  funcTitleToCStream();
  parmsTitleToCStream();
  // Without names of the columns before them, the last columns' names would stand over the wrong
  // cells.
  if (g_cstrm.used() == 0) return;
  resultTitleToCStream();
  g_cstrm << "\n";
}
