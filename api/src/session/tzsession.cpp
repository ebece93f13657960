// A run from its first word to its exit code.
#include "tzsession.h"

#include <cmath>
#include <ctime>
#include <memory>
#include <utility>

#include "tzinfotests.h"
#include "tzregistry.h"
#include "tztest.h"
#include "tzcontext.h"
#include "tzcstream.h"
#include "tzenv.h"
#include "tzclock.h"
#include "tzcounter.h"
#include "tzempty.h"
#include "tzinterrupt.h"
#include "tzistream.h"
#include "tzparm.h"
#include "tzpasses.h"
#include "tzprogress.h"
#include "tzreport.h"
#include "tzrunsummary.h"
#include "tzrequest.h"
#include "tzresume.h"
#include "tzserve.h"
#include "tzsettings.h"
#include "tztrace.h"

tzSession* g_session = nullptr;

int tzRegSession(tzSession* session) {
  g_session = session;
  return 1;
}

namespace {

// Comparisons need no estimate of the frequency, which takes longer than comparing a row does.
void takeFreqOfCounter() {
  if (tzCpuTicker::hasFreq()) return;
  tzCpuTicker::setFreq(tzNearestFreqMHz(static_cast<int>(std::lround(tzCounter().mhz))));
}

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
  (create ? m_iniWrite : m_iniRead) = {true, name};
  m_files.claim(iniPath(name, create), create ? tzFiles::WRITTEN : tzFiles::READ,
                create ? "-I" : "-i");
}

void tzSession::setIniFunctionsOnly(bool on) {
  if (on && !m_iniFunctionsOnly) addCondition(new RunCondition_ini);
  m_iniFunctionsOnly = on;
}

void tzSession::addCondition(RunCondition* condition) { m_conditions.add(condition); }

void tzSession::setSglName(const tzString& name) {
  m_signal = true;
  m_sglName = name;
  m_files.claim(genOutPath(name, SIGNAL_EXTENSION), tzFiles::WRITTEN, "-g");
}

void tzSession::addOutFile(tzOutFile kind, const tzString& name, bool append, const tzString& by) {
  const tzString path = genOutPath(name, extension(kind));
  m_outFiles[kind].push_back({path, append});
  m_files.claim(path, tzFiles::WRITTEN, by);
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
  if (applied) return result;
  return m_insist ? EXIT_MISTAKE : 0;
}

int tzSession::runTests() {
  prepareLibrary();
  sortTests();
  const bool measures = !m_iniWrite.given && !m_namesOnly;
  if (measures) {
    m_headerPrinted = true;
    if (m_comparison.isOn()) takeFreqOfCounter();
    outputHeader();
  }
  readParameters();
  if (g_hotList == nullptr) g_hotList = new tzStringList;
  if (!isAnySelected()) {
    g_ostrm << L_ERR << "-- No test is selected\n" << L_END;
    tzMistakes::add();
  }
  if (m_insist && !isAllUsed()) return EXIT_MISTAKE;
  int result = 0;
  if (tzServe::isOn()) {
    tzServe::sayHello();
    tzGetTestList().runTests(m_conditions);
  } else if (m_iniWrite.given) {
    result = writeIni();
  } else if (m_namesOnly) {
    result = writeNames();
  } else {
    if (m_comparison.isOn()) m_comparison.tellSides();
    tellContext();
    settlePlan();
    putTableTitle();
    result = m_comparison.isOn() ? m_comparison.run(m_conditions)
                                 : tzGetTestList().runTests(m_conditions);
  }
  if (!m_insist && tzInterrupt::signal() == 0) tellUnused();
  return result;
}

// To files of JSON Lines, and to what reads those of earlier runs.
void tzSession::tellContext() {
  if (!g_jstrm.hasTargets() && !tzProgress::hasTimes()) return;
  tzJson context = tzContextLine(m_commands, tzGetTestList());
  if (tzProgress::hasTimes() && !tzProgress::keepTimesOf(tzReadRunFacts(context.text()))) {
    g_ostrm << L_WARN << "-- Progress: the times of the earlier run are of other settings\n"
            << L_END;
  }
  tzResume::begin(context);
  if (g_jstrm.hasTargets()) g_jstrm << context;
}

// What can be said about the measuring to come, once the settings are read.
void tzSession::settlePlan() const {
  if (tzCpuTicker::isEstimated()) {
    const tzString warning = tzFrequencyWarning(tzCpuTicker::getFreq(), tzCounter().mhz);
    if (!warning.empty()) g_ostrm << L_WARN << warning << L_END;
  }
  if (m_comparison.isOn()) return;
  tzSettlePasses();
  if (g_tool.getMethod() != tzTool::SPREAD || tzTest::m_verifyMode == VERIFY_ONLY) return;
  const double clocks = tzEmptyCall();
  if (clocks > 0) g_ostrm << L_PERF << " Empty call: " << clocks << " clocks\n" << L_ENDFLUSH;
}

bool tzSession::isAnySelected() {
  for (const tzTest* test : tzGetTestList()) {
    if (test->tobeRun(m_conditions)) return true;
  }
  return false;
}

// Under -W: finds out, before anything is measured, what the tests would ask for.
bool tzSession::isAllUsed() {
  const bool asksTests = std::exchange(g_request.asksTests, false);
  const int outLevel = g_ostrm.outLevel();
  g_ostrm.setOutLevel(outLevel & (L_ERR | L_WARN));
  visitTests([](tzTest&) {});
  tellUnused();
  g_ostrm.setOutLevel(outLevel);
  g_request.asksTests = asksTests;
  if (tzMistakes::count() == 0) return true;
  g_ostrm << L_ERR << "-- The run is not started: not everything that was given is used (-W)\n"
          << L_END;
  return false;
}

bool tzSession::isFunction(const tzString& name) const {
  for (const tzTest* test : tzGetTestList()) {
    if (test->funcName() == name) return true;
  }
  return false;
}

// Names that nothing asked for are mistyped as a rule. Sections of functions that exist but were
// not selected are not: an ini file may well serve several runs.
void tzSession::tellUnused() const {
  const auto tell = [](const tzString& what) {
    g_ostrm << L_WARN << "-- No test has a " + what + "\n" << L_END;
    tzMistakes::add();
  };
  for (const tzString& name : g_istrm.unaskedPresets()) tell("parameter " + name);
  if (!m_iniRead.given || !g_istrm.hasIniFile()) return;
  for (const tzIniSection& section : g_istrm.iniFile()->sections()) {
    const bool common = section.name == tzIStream::COMMON_SECTION;
    if (!common && !isFunction(section.name)) {
      tell("section " + section.name);
      continue;
    }
    const tzStringList keys = g_istrm.unaskedKeys(section.name);
    // None of its keys was asked for: no test of the function ran.
    if (!common && keys.count() == section.values.count()) continue;
    for (const tzString& key : keys) tell("parameter " + key + " (section " + section.name + ")");
  }
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
    readTimeLimit();
  }
  if (m_comparison.isOn()) m_comparison.readSettings();
  const tzConsoleAsking asking(isAsk(ASK_PARAMS));
  for (tzParameter* parm : m_commonParms) parm->fromIStream(g_istrm);
}

// Walks the selected tests for their parameters, as each shows them: nothing is built or timed.
template <class Visit>
void tzSession::visitTests(Visit visit) {
  for (tzTest* test : tzGetTestList()) {
    if (tzInterrupt::signal() != 0) break;
    if (!test->tobeRun(m_conditions) || !tzIsIniFunction(test->funcName())) continue;
    g_istrm.setIniSection(test->funcName());
    tzTest::setCurrent(test);
    g_ostrm << "\n Function   : " << test->funcName() << "\n";
    if (test->prepareParms()) visit(*test);
    tzTest::setCurrent(nullptr);
  }
  g_istrm.setIniSection(tzIStream::COMMON_SECTION);
}

int tzSession::writeIni() {
  visitTests([](tzTest&) {});  // reading a parameter writes it
  const bool written = g_istrm.deleteIniFile();
  if (written) g_ostrm << "\nParameters written to " << iniPath(m_iniWrite.name, true) << "\n";
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
  if (m_headerPrinted) g_jstrm << tzEndLine(tests);
  g_istrm.abandonIniFile();  // writeIni has written it, if all went well
  g_ostrm.flush();
  for (tzCStream* table : {&g_cstrm, &g_qstrm, &g_ustrm, &g_mstrm}) table->close();
  g_jstrm.close();
  if (o_stream::anyWriteFailed()) result = 1;
  m_result = result;
  outputSignal();
  g_ostrm.flush();
  return o_stream::anyWriteFailed() ? 1 : result;
}

void tzSession::outputHeader() { tzPutTitle(tzGetTestList()); }

void tzSession::outputFooter() {
  if (g_tool.getMethod() == tzTool::SPREAD && !m_comparison.isOn())
    tzPutRunSummary(tzGetTestList());
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
  if (const int signal = tzInterrupt::signal()) {
    text << "Exit code: " << 128 + signal << "\nEnded by: " << tzInterrupt::name(signal) << "\n";
  } else {
    text << "Exit code: " << m_result << "\n";
  }
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
  if (g_tool.coreClock() && !m_comparison.isOn()) {
    g_cstrm << "Clock"
            << "core"
            << "\n";
  }
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
