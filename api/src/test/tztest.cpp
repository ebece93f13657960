// One test: parameters, combinations, measurement.
#include "tztest.h"

#include <algorithm>
#include <utility>

#include "tzcache.h"
#include "tzchild.h"
#include "tzconditions.h"
#include "tzcstream.h"
#include "tzctrl.h"
#include "tzexception.h"
#include "tzinterrupt.h"
#include "tzistream.h"
#include "tzmemory.h"
#include "tzostream.h"
#include "tzpasses.h"
#include "tzplacement.h"
#include "tzplan.h"
#include "tzprogress.h"
#include "tzresume.h"
#include "tzrequest.h"
#include "tzserve.h"
#include "tztestreport.h"
#include "tztrace.h"

tzResult tzTest::m_currentResult = TZ_UNDEFINED;
int tzTest::m_hot = 0;
bool tzTest::m_cache = false;
int tzTest::m_verifyMode = VERIFY_OFF;
int tzTest::m_vectorNum = 0;
int tzTest::m_vectorShift = 0;
int tzTest::m_numParmsColm = 0;
int tzTest::m_numResultColm = 0;
bool tzTest::m_quiet = false;
tzString tzTest::m_startFunc;
tzTest* tzTest::m_pCurrentTest = nullptr;

void tzTest::setCurrent(tzTest* test) {
  m_pCurrentTest = test;
  tzSetMemoryUser(test != nullptr ? test->m_name : tzString());
}

namespace {

void complain(const tzString& text) { g_ostrm << L_ERR << text << L_ENDFLUSH; }

// A console that shows errors only takes warnings for successes.
tzResult escalated(tzResult result) {
  return tzIsWarning(result) && g_ostrm.outLevel() < L_WARN ? TZ_OK : result;
}

// Shows performance while a function is timed even where the run shows warnings only, so that a
// warning of the engine stands in its context.
class TimingLevel {
 public:
  TimingLevel() : m_before(g_ostrm.outLevel()) {
    if (m_before == (L_ERR | L_WARN)) g_ostrm.setOutLevel(L_ERR | L_WARN | L_PERF);
  }
  ~TimingLevel() { g_ostrm.setOutLevel(m_before); }
  TimingLevel(const TimingLevel&) = delete;
  TimingLevel& operator=(const TimingLevel&) = delete;

 private:
  int m_before;
};

// Under -C: the table column, and the part of the result line, that tells where the data are. A
// test whose size is steered shows the state that it was steered to; any other test runs once, and
// the state follows from the size of its data.
class CacheState : public tzParameter {
 public:
  explicit CacheState(const tzCacheIterator* iterator)
      : tzParameter("In-Outof-Cache"), m_iterator(iterator) {
    setReadable(false);
  }
  tzString valueString() const override {
    if (m_iterator != nullptr) return m_iterator->getComment();
    const double cache = tzCacheIterator::cacheSize();
    const double size = tzCacheIterator::getTotalSize();
    if (cache <= 0) return "unknown";
    if (size <= 0.9 * cache) return "inCache";
    return size >= 1.05 * cache ? "outofCache" : "border";
  }
  tzString defaultString() const override { return "inCache; outofCache"; }
  // The state is found out, not given: there is nothing to read or to describe.
  void fromIStream(tzIStream&) override {}

 private:
  const tzCacheIterator* m_iterator;
};

}  // namespace

tzString tzcondition::functionName(const tzTest& test) { return test.funcName(); }

tzString tzcondition::testName(const tzTest& test) { return test.regText(); }

tzTest::tzTest(tzCallFunc call, tzInitFunc init, tzLoopFunc loop, tzStatFunc stat,
               const tzString& name, const tzString& source, const tzString& regText)
    : m_loop(loop),
      m_stat(stat),
      m_call(call),
      m_init(init),
      m_name(name),
      m_source(source),
      m_regText(regText) {}

tzTest::tzTest(tzToolFunc function, const tzString& name, const tzString& source,
               const tzString& regText)
    : m_toolFunc(function), m_name(name), m_source(source), m_regText(regText) {}

tzTest::~tzTest() { clearParms(); }

bool tzTest::tobeRun(tzConditions& conditions) const {
  return conditions.tobeRun(this) && (m_hot != 2 || tzIsHotFunction(m_name));
}

int tzTest::compareFunc(const tzTest* other) const { return m_name.compare(other->m_name); }

bool tzTest::canStart() { return true; }
void tzTest::flushStart() {}
bool tzTest::initData() { return true; }
void tzTest::flushData() {}
double tzTest::getFlops() const { return 0; }
double tzTest::getDivisor() const { return 1; }
tzString tzTest::getUnit() const { return ""; }
void tzTest::constToOstrm() {}
tzString tzTest::refusal() const { return ""; }
void tzTest::beginTest() {}
void tzTest::endTest() {}
tzString tzTest::getComment() const { return ""; }
bool tzTest::isFloatFunction() const { return true; }
bool tzTest::isHotLine() const { return tzIsHotFunction(m_name); }
tzString tzTest::regInfo() const { return m_regText; }
tzString tzTest::kind() const { return m_name.find("__tz") == 0 ? "Information" : "Timing"; }

void tzTest::initSettings() {
  m_vectorNum = 0;
  m_vectorShift = 0;
}

void tzTest::raiseResult(tzResult result) { m_currentResult = std::max(m_currentResult, result); }

tzResult tzTest::runTiming() {
  if (m_toolFunc != nullptr) return m_tool.timing(m_toolFunc);
  if (m_loop == nullptr && m_stat == nullptr && m_call == nullptr) return TZ_UNDEFINED;
  return m_tool.timing(m_loop, m_stat, m_call, m_init);
}

void tzTest::setTimingResult(double clocks, const tzString& note) {
  m_tool.setFuncTicks(clocks);
  m_timingNote = note;
}

// --- run -----------------------------------------------------------------------------------------

template <class Function>
void tzTest::step(const char* name, Function&& function) {
  m_step = name;
  tzTraceScope trace(name);
  function();
}

// An exception never leaves a run: it becomes a result.
template <class Function>
void tzTest::guarded(Function&& function) {
  const tzOStreamState console(g_ostrm);
  try {
    function();
  } catch (const tzException& exception) {
    console.restore(g_ostrm);
    caught(exception.msg());
  } catch (const std::exception& exception) {
    console.restore(g_ostrm);
    caught(exception.what());
  }
}

void tzTest::caught(const char* message) {
  raiseResult(TZ_EXCPTFAIL);
  complain(tzString(message) + " in " + m_step + "\n");
  try {
    dropData();
    closeTable();
  } catch (const std::exception& exception) {
    complain(tzString(exception.what()) + " in flushData\n");
  }
}

tzResult tzTest::run() {
  bool wanted = true;
  const tzOStreamState console(g_ostrm);
  try {
    guarded([&] {
      wanted = beginRun();
      if (wanted) runSteps();
    });
  } catch (const tzInterrupted&) {
    console.restore(g_ostrm);
    return giveUp();
  }
  return wanted ? finishRun() : TZ_UNDEFINED;
}

// The rows so far stand; the test, which is not complete, is not counted.
tzResult tzTest::giveUp() {
  complain(tzString("-- ") + tzInterrupt::name(tzInterrupt::signal()) + ": " + m_name +
           " is given up\n");
  guarded([&] {
    dropData();
    closeTable();
  });
  g_istrm.setIniSection(m_sectionBefore);
  storeResult(TZ_OK);  // with a result of 0 this means: not to be counted
  return TZ_UNDEFINED;
}

bool tzTest::beginRun() {
  m_currentResult = TZ_UNDEFINED;
  m_tool = g_tool;
  m_tool.reset();
  tzTool::m_pResetVectors = resetAllVectors;
  m_startTime = std::time(nullptr);
  m_endTime = 0;
  m_rowBegin = tzTool::seconds();
  m_bad87 = m_badSSX = m_toldUnverified = false;
  m_numMeasured = 0;
  m_rowFresh = false;  // this process may be a copy of one that took over a row
  tzResume::beginTest();
  if (g_plan.passes > 1) tzShufflePages();
  bool selected = true;
  step("setIniSection", [&] {
    m_sectionBefore = g_istrm.setIniSection(m_name);
    selected = tzIsIniFunction(m_name);
  });
  // The test list does not count a test that returns 0 with a last result of OK.
  m_lastResult = selected ? TZ_UNDEFINED : TZ_OK;
  if (!selected) g_istrm.setIniSection(m_sectionBefore);
  return selected;
}

void tzTest::runSteps() {
  step("beginTest", [&] { beginTest(); });
  printTitle();
  if (m_tool.callMode() && m_call == nullptr) {
    printNotSupportTiming("no call function to measure with its data set-up (-SU)");
    return;
  }
  if (!declareParms()) {
    complain("-- Can't start timing\n");
    raiseResult(TZ_DATAFAIL);
  } else {
    if (!m_quiet) putTableName();
    m_currentResult = TZ_OK;
    step("loopData", [&] { loopData(); });
    // Nothing was told, so nothing went well either.
    if (m_numMeasured == 0 && m_currentResult == TZ_OK) m_currentResult = TZ_UNDEFINED;
  }
  step("flushStart", [&] { flushStart(); });
}

void tzTest::printTitle() {
  std::unique_ptr<tzReportTestTitle> title;
  if (m_quiet) return;
  step("testTitle", [&] { title = std::make_unique<tzReportTestTitle>(*this); });
  step("g_ostrm<<testTitle", [&] { g_ostrm << *title; });
  step("g_ustrm<<testTitle", [&] { g_ustrm << *title; });
}

tzResult tzTest::storeResult(tzResult result) {
  m_lastResult = result;
  m_endTime = std::time(nullptr);
  return result;
}

tzResult tzTest::finishRun() {
  storeResult(m_currentResult);
  guarded([&] {
    if (m_quiet) return;
    step("testResult", [&] {
      const tzReportTestResult report(*this);
      g_ostrm << report;
      g_ustrm << report;
    });
  });
  guarded([&] { step("endTest", [&] { endTest(); }); });
  g_istrm.setIniSection(m_sectionBefore);
  return m_lastResult = m_currentResult;
}

tzResult tzTest::runNotSupported(const tzString& reason) {
  bool wanted = true;
  guarded([&] {
    wanted = beginRun();
    if (!wanted) return;
    printTitle();
    printNotSupportTiming(reason);
  });
  return wanted ? finishRun() : TZ_UNDEFINED;
}

// --- parameters ----------------------------------------------------------------------------------

void tzTest::clearParms() {
  m_parms.clear();
  m_widths.clear();
  m_cacheState.reset();
  delete m_cacheIterator;
  m_cacheIterator = nullptr;
}

void tzTest::regParm(tzParameter& parm) { m_parms.push_back(&parm); }

void tzTest::addCacheIterator(tzCacheIterator* iterator) {
  m_cacheIterator = iterator;
  regParm(*iterator);
}

void tzTest::regCacheParm(tzDefault_NSC<int>& parm, tzObject* object, SteerFunc steer) {
  if (!m_cache || m_cacheIterator != nullptr) return regParm(parm);
  addCacheIterator(new tzCacheIteratorInt(parm, object, steer));
}

void tzTest::regCacheParm(tzDefault_NSC<RkdiSize>& parm, tzObject* object, SteerFunc steer) {
  if (!m_cache || m_cacheIterator != nullptr) return regParm(parm);
  addCacheIterator(new tzCacheIteratorSize(parm, object, steer));
}

void tzTest::addCacheState() {
  m_cacheState = std::make_unique<CacheState>(m_cacheIterator);
  regParm(*m_cacheState);
}

bool tzTest::declareParms() {
  clearParms();
  bool startable = false;
  step("canStart", [&] { startable = canStart(); });
  if (!startable) return false;
  if (m_cache) step("In-Outof-Cache", [&] { addCacheState(); });
  step("parmsFromIstrm", [&] { parmsFromIstrm(); });
  return true;
}

bool tzTest::prepareParms() {
  bool startable = false;
  guarded([&] { startable = declareParms(); });
  return startable;
}

void tzTest::parmsFromIstrm() {
  const tzConsoleAsking asking(g_request.asksTests);
  for (tzParameter* parm : m_parms) parm->fromIStream(g_istrm);
}

// --- combinations --------------------------------------------------------------------------------

bool tzTest::canContinue() {
  if (!m_first) return nextCombination();
  m_first = false;
  return firstCombination();
}

bool tzTest::firstCombination() {
  m_stateRefused = false;
  for (tzParameter* parm : m_parms) {
    if (!parm->firstValue()) return false;
  }
  return true;
}

// An odometer: the cache state turns fastest, then the parameters from the last to the first.
bool tzTest::nextCombination() {
  if (m_cacheIterator != nullptr) {
    if (m_stateRefused) {
      m_stateRefused = false;
      if (m_cacheIterator->repeatValue()) return true;
      m_cacheIterator->outputInfo();
      putNotMeasured();
    }
    if (m_cacheIterator->nextValue()) return true;
  }
  for (auto wheel = m_parms.end(); wheel != m_parms.begin();) {
    --wheel;
    if (*wheel == m_cacheIterator) continue;
    if ((*wheel)->nextValue()) {
      return m_cacheIterator == nullptr || m_cacheIterator->firstValue();
    }
    (*wheel)->firstValue();
  }
  return false;
}

void tzTest::openTable() {
  if (m_quiet) return;
  g_cstrm.tableFlush();
  g_cstrm.identicalLinesStart(m_numParmsColm);
  m_tableOpen = true;
}

void tzTest::closeTable() {
  if (!m_tableOpen) return;
  m_tableOpen = false;
  g_cstrm.tableFlush();
  g_cstrm.linePostponeOut(m_numParmsColm + m_numResultColm);
  if (!g_cstrm.identicalLinesStop()) return;
  g_ostrm << L_WARN << "-- Warning: duplicate lines in performance table (csv-file)\n"
          << L_ENDFLUSH;
  raiseResult(escalated(TZ_DATAWRN));
}

std::vector<std::string> tzTest::rowsToMeasure() {
  const tzString sectionBefore = g_istrm.setIniSection(m_name);
  std::vector<std::string> rows;
  tzResume::beginTest();
  if (prepareParms()) {
    m_first = true;
    guarded([&] {
      while (canContinue()) {
        rows.push_back(rowIdentity());
        if (!refusal().empty() || tzResume::take(rows.back()) != nullptr) rows.back().clear();
      }
    });
  }
  g_istrm.setIniSection(sectionBefore);
  return rows;
}

int tzTest::countRows() {
  const std::vector<std::string> rows = rowsToMeasure();
  return static_cast<int>(rows.size()) -
         static_cast<int>(std::count(rows.begin(), rows.end(), std::string()));
}

void tzTest::loopData() {
  openTable();
  initSettings();
  m_first = true;
  m_row = 0;
  do {
    heedSignal();
    const bool first = m_first;
    if (!canContinue()) {
      if (first) {
        complain("-- One of argument list for timing is empty\n");
        raiseResult(TZ_DATAFAIL);
      }
      break;
    }
    if (!first) ++m_row;
    if (skipRefused() || !g_plan.takesPart(earlierRow().measurement.costly)) continue;
    if (!tzServe::wants(*this)) continue;
    if (m_cacheIterator == nullptr && takeEarlier()) continue;
    tzProgress::beginRow();
    const tzChild::Row row(*this);
    if (!buildData()) break;
    measureCombination();
    dropData();
  } while (!tzIsFailure(m_currentResult));
  closeTable();
}

// A line on the console and a row without a figure, so that nobody misses a size without a reason.
bool tzTest::skipRefused() {
  const tzString reason = refusal();
  if (reason.empty()) return false;
  m_stateRefused = m_verified = false;
  m_tool.reset();
  m_timingNote = tzString("skipped: ") + reason;
  if (m_quiet) return true;
  g_ostrm << L_WARN << "-- skipped: ";
  putTextParms(L_WARN);
  g_ostrm << "- " << reason << "\n" << L_ENDFLUSH;
  putTableResult(TZ_UNDEFINED);
  return true;
}

// Placement is counted anew: the first vector is the first of each combination.
bool tzTest::buildData() {
  m_dataMade = true;
  m_vectorNum = 0;
  m_vectorShift = 0;
  if (initData()) return true;
  dropData();
  if (m_cacheIterator != nullptr) {
    complain(tzString("-- Fail to allocate ") + m_cacheIterator->parm().name() + " data\n");
  }
  complain("-- Error while initialization of function data\n");
  raiseResult(TZ_DATAFAIL);
  return false;
}

void tzTest::dropData() {
  if (!m_dataMade) return;
  m_dataMade = false;
  flushData();
}

void tzTest::measureCombination() {
  m_stateRefused = m_cacheIterator != nullptr && !m_cacheIterator->validateSize();
  if (m_stateRefused || (m_cacheIterator != nullptr && takeEarlier())) return;
  // Only timing through the call function resets the vectors, between calls.
  if (m_tool.callMode()) reserveAllVectors();
  if (m_hot == 2 && !isHotLine()) {
    g_ostrm << L_PERF << "  measuring is omitted: not hot line\n" << L_END;
    return;
  }
  m_tool.reset();
  m_timingNote = "";
  const tzRow earlier = earlierRow();
  if (!resumeRow(earlier)) return;
  if (!verifyCombination()) return;
  tzResult result = timeCombination();
  if (!tzIsFailure(result) && tzIsFailure(earlier.result)) {
    // It failed before and does not now: it is not well.
    const tzString reason(earlier.measurement.reason);
    m_tool.setVerdict(earlier.result, m_quiet ? reason : tzString("in another pass: ") + reason);
    result = earlier.result;
  }
  judge(result);
}

bool tzTest::verifyCombination() {
  m_verified = false;
  if (m_verifyMode == VERIFY_OFF || m_quiet || g_plan.writesOnly) return true;
  const bool thenTime = m_verifyMode == VERIFY_ON;
  tzString note;
  const tzResult verdict = m_verify != nullptr ? m_verify(*this, note) : TZ_UNDEFINED;
  if (verdict == TZ_UNDEFINED) {
    if (!std::exchange(m_toldUnverified, true)) {
      g_ostrm << L_PERF << "  not verified: the function has no reference\n" << L_END;
    }
    return thenTime;
  }
  m_verified = verdict == TZ_OK;
  if (m_verified && thenTime) return true;
  m_tool.setVerdict(verdict, note);
  judge(verdict);
  return false;
}

tzResult tzTest::timeCombination() {
  {
    tzTraceScope trace("before function calls");
    if (g_ostrm.outLevel() & L_DATA) printAllMemoryBlocks("before function calls");
  }
  tzResult timed;
  {
    const TimingLevel level;
    g_ctrlWatch.init();
    timed = runTiming();
  }
  if (timed == TZ_UNDEFINED) {
    complain("-- Internal test problem: runTiming() function returns undefined result\n");
    return TZ_FAIL;
  }
  {
    tzTraceScope trace("after function calls");
    if (g_ostrm.outLevel() & L_DATA) printAllMemoryBlocks("after function calls");
  }
  return std::max(timed, checkControl());
}

tzResult tzTest::checkControl() {
  m_bad87 = m_bad87 || g_ctrlWatch.x87().badStatus();
  m_badSSX = m_badSSX || g_ctrlWatch.ssx().badStatus();
  if (!g_ctrlWatch.bad()) return TZ_OK;
  g_ostrm << L_WARN << g_ctrlWatch.badText() << L_END;
  return TZ_BADSTSWRN;
}

void tzTest::judge(tzResult result) {
  tzChild::holdRow();
  noteSignal(result);
  raiseResult(escalated(result));
  ++m_numMeasured;
  if (!m_quiet) {
    if (tzIsFailure(result)) {
      putTextError(result);
    } else {
      putTextResult(result);
    }
    putTableResult(result);
  }
  tellRow(result);
}
