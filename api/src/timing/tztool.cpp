// Repetitions, accuracy and results, whatever the method.
#include "tztool.h"

#include <algorithm>
#include <chrono>
#include <climits>
#include <cmath>
#include <cstdio>

#include "tzclock.h"
#include "tzcounter.h"
#include "tzctrl.h"
#include "tzexception.h"
#include "tzinterrupt.h"
#include "tztoollog.h"
#include "tztrace.h"
#include "tzwatch.h"

tzTool g_tool;

tzResult (*tzTool::m_pCheckStatus)(int status) = nullptr;
void (*tzTool::m_pResetVectors)() = nullptr;
tzResult (*tzTool::m_pServe)(tzTool& tool) = nullptr;
double (*tzTool::m_pSeconds)() = nullptr;
double tzTool::m_emptyCall = 0;
int tzTool::m_priority = PRIORITY_NONE;

namespace {

constexpr int kDefaultMinLoops = 1;
constexpr int kDefaultMaxLoops = 2048;

// `n` times 2^`shift`, halved for a negative one; the largest int where that is too small.
int shifted(int n, long long shift) {
  if (shift < 0) return shift > -31 ? n >> -shift : 0;
  return shift < 31 && n <= (INT_MAX >> shift) ? n << shift : INT_MAX;
}

// The older form of a measured function, reached through the form that the engine calls.
tzToolFunc toolFunction = nullptr;
tzTool* toolOfFunction = nullptr;

tzResult _funcLoop(int n, long long* clocks) {
  const tzResult code = toolFunction(*toolOfFunction, n);
  *clocks = tzCpuTicker::getClockFactor() * toolOfFunction->numClocks();
  return code;
}

}  // namespace

tzTool::tzTool()
    : m_accuracyLimit(0.05),
      m_timeLimit(10),
      m_method(AUTO),
      m_loopCount(10),
      m_minLoops(kDefaultMinLoops),
      m_maxLoops(kDefaultMaxLoops),
      m_statMode(false),
      m_callMode(false),
      m_minClocks(100),
      m_minCalls(12),
      m_maxClocks(10000),
      m_checkCtrl(false),
      m_checkCtrlNow(false),
      m_autoMinLoops(0),
      m_autoMaxLoops(0),
      m_coreClock(false),
      m_startSteps(0) {
  reset();
}

double tzTool::seconds() {
  if (m_pSeconds != nullptr) return m_pSeconds();
  const auto now = std::chrono::steady_clock::now().time_since_epoch();
  return std::chrono::duration<double>(now).count();
}

void tzTool::reset() {
  m_result = TZ_UNDEFINED;
  m_funcClocks = 0;
  m_numLoops = 0;
  m_numClocks = 0;
  m_accuracy = 1.0;
  m_measurement = {};
  m_metBySample.clear();
  m_met = {};
  m_runDisturbed = false;
  m_rowBegin = 0;
  m_resultText.clear();
  m_infoText.clear();
  m_funcLoop = nullptr;
  m_funcStat = nullptr;
  m_funcCall = nullptr;
  m_funcInit = nullptr;
  m_startTime = m_stopTime = time(nullptr);
}

void tzTool::setMethodLoop(int n) {
  m_method = LOOP;
  m_loopCount = std::max(n, 1);
}

void tzTool::setMethodStat(int calls, long long clocks) {
  m_method = STAT;
  m_minCalls = calls;
  m_maxClocks = clocks;
}

void tzTool::setMethodBest(int from, int to, long long clocks) {
  m_method = BEST;
  m_minLoops = std::max(from, 1);
  const long long eightfold = 8LL * from;
  m_maxLoops = std::max(static_cast<int>(std::clamp<long long>(eightfold, INT_MIN, INT_MAX)), to);
  m_minClocks = clocks;
}

void tzTool::getMethodStat(int& calls, long long& clocks) const {
  calls = m_minCalls;
  clocks = m_maxClocks;
}

void tzTool::getMethodBest(int& from, int& to, long long& clocks) const {
  from = m_minLoops;
  to = m_maxLoops;
  clocks = m_minClocks;
}

void tzTool::getAutoParameters(int& from, int& to, long long& clocks) {
  from = kDefaultMinLoops;
  to = kDefaultMaxLoops;
  clocks = 10 * tzCpuTicker::getClockFactor();
}

void tzTool::setLoopFactor(int f) {
  m_autoMinLoops = f == 0 ? 0 : shifted(kDefaultMinLoops, -static_cast<long long>(f));
  m_autoMaxLoops = f == 0 ? 0 : shifted(kDefaultMaxLoops, -static_cast<long long>(f));
}

void tzTool::ctrlStart() { g_ctrlWatch.start(); }
void tzTool::ctrlStop() { g_ctrlWatch.stop(); }
bool tzTool::badCtrlStatus() const { return g_ctrlWatch.bad(); }
void tzTool::clearCtrlStatus() { g_ctrlWatch.forget(); }

void tzTool::printBadCtrlStatus(bool check) const {
  if (check && badCtrlStatus()) g_ostrm << L_WARN << g_ctrlWatch.badText() << L_END;
}

tzString tzTool::getAccuracyStr(double accuracy) {
  const double percent = accuracy * 100;
  char text[64];
  // Two digits that say something; only a broken clock leads to the exponents.
  const char* format = percent < 1 ? "%.2f%c" : percent < 1e9 ? "%.1f%c" : "%.1e%c";
  std::snprintf(text, sizeof(text), format, percent, '%');
  return text;
}

tzString tzTool::clockStr(long long clocks) {
  auto digits = static_cast<double>(clocks);
  tzString zeros("");
  while (digits > INT_MAX) {
    digits /= 10;
    zeros += "0";
  }
  tzString text("");
  return text << static_cast<long long>(digits) << zeros;
}

double tzTool::computeAccuracy(double a, double b) {
  const double sum = a + b;
  return sum == 0 ? 1.0 : 2 * std::fabs(a - b) / sum;
}

double tzTool::computeAccuracy(const double* samples, int n, double* mean) {
  double sum = 0;
  for (int i = 0; i < n; ++i) sum += samples[i];
  const double average = n < 1 ? 0 : sum / n;
  if (mean) *mean = average;
  if (n < 1) return 0;
  if (average == 0) return 1.0;  // nothing was measured, and certainly not well
  double farthest = 0;
  for (int i = 0; i < n; ++i) farthest = std::max(farthest, std::fabs(samples[i] - average));
  return farthest / average;
}

double tzTool::computeBest(const double* samples, int n) {
  return n <= 1 ? samples[0] : *std::min_element(samples, samples + n);
}

tzResult tzTool::timing(tzToolFunc function) {
  toolFunction = function;
  toolOfFunction = this;
  return timing(function ? _funcLoop : nullptr, nullptr, nullptr, nullptr);
}

tzResult tzTool::timing(tzLoopFunc loop, tzStatFunc stat, tzCallFunc call, tzInitFunc init) {
  reset();
  if (!loop && !stat && !call) {
    g_ostrm << L_ERR
            << " Internal test problem: The test cannot execute standard timing.\n"
               " No one of funcLoop, funcStat or funcCall is registered in the test.\n"
            << L_END;
    updateResult(TZ_FAIL);
    return m_result;
  }
  if (m_callMode && !call) return m_result;  // nothing to call: was not run
  setFunctions(loop, stat, call, init);
  const bool watches = tzWatch::m_mode != tzWatch::OFF;
  const double stealBefore = watches ? tzWatch::steal() : 0;
  m_rowBegin = tzWatch::look().wall;
  dispatch();
  if (watches) m_measurement.disturbances.steal += tzWatch::steal() - stealBefore;
  m_measurement.figure = m_funcClocks;
  m_measurement.summarise();
  judgeDisturbance();
  return m_result;
}

void tzTool::setFunctions(tzLoopFunc loop, tzStatFunc stat, tzCallFunc call, tzInitFunc init) {
  m_funcLoop = loop;
  m_funcStat = stat;
  m_funcCall = call;
  m_funcInit = init;
}

void tzTool::setVerdict(tzResult result, const tzString& text) {
  m_result = result;
  m_resultText = text;
}

tzResult tzTool::dispatch() {
  if (m_pServe != nullptr) return m_pServe(*this);
  switch (m_method) {
    case AUTO: {
      const tzTraceScope scope("autoTiming");
      autoTiming();
      break;
    }
    case LOOP: {
      const tzTraceScope scope("customLoopTiming");
      if (!m_funcLoop && !m_funcCall) {
        g_ostrm << L_ERR
                << " ATTENTION! The test cannot execute Manual loop timing.\n"
                   " Statistic timing will be run instead.\n"
                << L_END;
        setMethodStat(m_loopCount, 0);
        return timing(nullptr, m_funcStat, nullptr, m_funcInit);
      }
      loopTiming();
      break;
    }
    case STAT: {
      const tzTraceScope scope("statisticTiming");
      if (!m_funcStat && !m_funcCall) {
        g_ostrm << L_ERR
                << " ATTENTION! The test cannot execute Statistic timing.\n"
                   " Manual loop timing will be run instead.\n"
                << L_END;
        setMethodLoop(m_minCalls);
        return timing(m_funcLoop, nullptr, nullptr, m_funcInit);
      }
      statTiming();
      break;
    }
    case BEST: {
      const tzTraceScope scope("iterativeTiming");
      bestTiming(countLasting(m_minLoops, m_maxLoops), m_maxLoops, m_minClocks);
      break;
    }
    case SPREAD: {
      const tzTraceScope scope("spreadTiming");
      spreadTiming();
      break;
    }
    default:
      m_result = internalError(746);
      break;
  }
  return m_result;
}

// The file and the numbers are names of places that users and scripts know; they do not move with
// the code.
tzResult tzTool::internalError(int line) {
  g_ostrm << L_ERR << "TZ internal error: file "
          << "api/src/tztool"
          << ", line " << line << "\n"
          << L_END;
  return TZ_FAIL;
}

void tzTool::updateResult(tzResult code) {
  if (code <= m_result) return;
  m_result = code;
  m_resultText = tzResultString(code);
}

void tzTool::autoTiming() {
  int from = 0;
  int to = 0;
  long long clocks = 0;
  getAutoParameters(from, to, clocks);
  if (m_autoMinLoops) from = m_autoMinLoops;
  if (m_autoMaxLoops) to = m_autoMaxLoops;
  bestTiming(countLasting(from, to), to, clocks);
}

// The smallest count whose run lasts the steps asked for, but not so many that no doubling is left.
// The runs that find it out are too short to be samples.
int tzTool::countLasting(int from, int to) {
  if (m_startSteps <= 0) return from;
  const double enough = static_cast<double>(m_startSteps * tzCounter().resolution());
  const int most = std::max(from, to / 8);
  int count = from;
  while (count < most) {
    double clocks = 0;
    runTimFunc(count, clocks, false);
    if (tzIsFailure(m_result)) break;
    const double needed = clocks > 0 ? std::ceil(enough / clocks) : most;
    if (needed <= count) break;
    // A short run says little about a long one: no more than ten times as many at once.
    count = static_cast<int>(std::min({needed, 10.0 * count, static_cast<double>(most)}));
  }
  m_measurement = {};
  m_metBySample.clear();
  return count;
}

void tzTool::loopTiming() {
  tzToolLog log;
  log << "    Manual method: \n"
      << "        numLoops   = " << m_loopCount << "\n";
  log.writeInfo();
  m_numLoops = m_loopCount;
  runTimFunc(m_loopCount, m_funcClocks, true);
  m_accuracy = 0;
  m_infoText << "nLps=" << m_loopCount;
  log << "        funcClocks = " << m_funcClocks << "\n"
      << "        result     = " << m_resultText << "\n";
  log.writeInfo();
}

void tzTool::statTiming() {
  tzToolLog log;
  log << "    Statistical method:\n"
      << "        minCalls   = " << m_minCalls << "\n"
      << "        maxClocks  = " << clockStr(m_maxClocks) << "\n";
  log.writeInfo();
  int calls = m_minCalls;
  {
    const tzTraceScope scope("runTimFuncStat");
    runTimFuncStat(m_maxClocks, calls, m_funcClocks);
  }
  m_numLoops = calls;
  m_accuracy = 0;
  m_infoText << "nCalls=" << calls;
  log << "        numCalls   = " << calls << "\n"
      << "        funcClocks = " << m_funcClocks << "\n"
      << "        result     = " << m_resultText << "\n";
  log.writeInfo();
}

double tzTool::sample(int n) {
  double clocks = 0;
  runTimFunc(n, clocks, true);
  return clocks;
}

void tzTool::runTimFunc(int n, double& clocksPerCall, bool forceLoop) {
  const Path path = forceLoop || !m_statMode ? Path::LOOP : Path::STAT;
  int made = n;
  watched([&] {
    for (int attempt = 0; attempt < 2; ++attempt) {
      tzInterrupt::check();
      made = n;
      m_numClocks = 0;
      updateResult(runOnce(path, made, m_numClocks));
      if (tzIsFailure(m_result) || m_numClocks > 0) break;
    }
  });
  clocksPerCall = made > 0 ? static_cast<double>(m_numClocks) / made : 0;
  keepSample(clocksPerCall, made);
}

void tzTool::runTimFuncStat(long long budget, int& calls, double& clocksPerCall) {
  const int leastCalls = calls;
  watched([&] {
    calls = leastCalls;
    m_numClocks = budget;
    updateResult(runOnce(Path::STAT, calls, m_numClocks));
  });
  clocksPerCall = calls > 0 ? static_cast<double>(m_numClocks) / calls : 0;
  keepSample(clocksPerCall, calls);
}

// What a disturbed run tells is not worth knowing: it is made again while that costs little.
template <class Run>
void tzTool::watched(Run&& run) {
  constexpr int mostRepeats = 4;
  for (int repeats = 0;; ++repeats) {
    const tzMoment before = tzWatch::look();
    run();
    const tzMoment after = tzWatch::look();
    m_met = tzWatch::between(before, after);
    m_measurement.disturbances.add(m_met);
    m_runDisturbed = tzWatch::isDisturbed(m_met);
    if (!m_runDisturbed || tzIsFailure(m_result) || m_method == SPREAD) return;
    const double next = after.wall + (after.wall - before.wall);
    if (repeats == mostRepeats || (m_timeLimit > 0 && next > m_rowBegin + m_timeLimit)) return;
    ++m_measurement.dropped;
  }
}

void tzTool::keepSample(double clocksPerCall, int calls) {
  // Spread decides itself which samples it keeps.
  if (m_method == SPREAD || tzIsFailure(m_result) || !(clocksPerCall > 0)) return;
  m_measurement.samples.push_back({clocksPerCall, calls, 1, m_runDisturbed, 0, 0, 0});
  m_metBySample.push_back(m_met);
}

// The run that the figure stands for must have had its processor. Spread has left out those that
// had not; what the host took shows in the row alone.
void tzTool::judgeDisturbance() {
  if (tzIsFailure(m_result) || !m_measurement.reason.empty()) return;
  tzDisturbances met;
  for (size_t i = 0; i < m_metBySample.size(); ++i) {
    if (m_measurement.samples[i].clocks == m_funcClocks) met = m_metBySample[i];
  }
  met.steal = m_measurement.disturbances.steal;
  if (!tzWatch::isDisturbed(met)) return;
  const tzString reason = tzString("disturbed: ") + tzWatch::text(met);
  m_measurement.reason = reason.str();
  if (m_result < TZ_ACCURWRN) {
    m_result = TZ_ACCURWRN;
    m_resultText = reason;
  }
  m_infoText += " disturbed";
  g_ostrm << L_WARN << "-- The run that counts was " << reason << "\n" << L_END;
}

tzResult tzTool::runOnce(Path path, int& n, long long& clocks) {
  const tzCtrlKeeper keeper;
  return m_callMode ? callGuarded(path, n, clocks) : runWatched(path, n, clocks);
}

tzResult tzTool::runWatched(Path path, int& n, long long& clocks) {
  if (m_checkCtrl && m_funcInit) {
    const tzTraceScope scope("initFunc call");
    m_funcInit();
  }
  // Taken back however the run ends, an exception included.
  struct Bracket {
    explicit Bracket(tzTool& t) : tool(t) {
      tool.ctrlStart();
      tzSetPriority(m_priority);
    }
    ~Bracket() {
      tzResetPriority();
      tool.ctrlStop();
    }
    Bracket(const Bracket&) = delete;
    Bracket& operator=(const Bracket&) = delete;
    tzTool& tool;
  };
  const tzTraceScope scope("rkdFunctionCalls");
  const Bracket bracket(*this);
  return callGuarded(path, n, clocks);
}

// The one place where a measured function can bring the program down, and does not.
tzResult tzTool::callGuarded(Path path, int& n, long long& clocks) {
  tzResult code = TZ_UNDEFINED;
  tzCallGuard guard;
  if (guard.call([&] { code = callFunctions(path, n, clocks); })) return code;
  clocks = 0;
  updateResult(TZ_EXCPTFAIL);
  m_resultText << ": " << guard.name() << ", " << guard.getInfo();
  return TZ_EXCPTFAIL;
}

tzResult tzTool::callFunctions(Path path, int& n, long long& clocks) {
  if (path == Path::LOOP) {
    if (m_funcLoop && !m_callMode) return m_funcLoop(n, &clocks);
    return m_funcCall ? timCall_Loop(n, &clocks, m_callMode) : internalError(248);
  }
  if (m_funcStat && !m_callMode) return m_funcStat(&n, &clocks);
  return m_funcCall ? timCall_Stat(&n, &clocks, m_callMode) : internalError(257);
}

tzString usecString(const tzTool& tool) {
  tzString text("");
  const int mhz = tzCpuTicker::getFreq();
  return mhz == 0 ? text : text << tool.funcClocks() / mhz;
}
