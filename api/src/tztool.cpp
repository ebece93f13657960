#include "tztool.h"

#include <algorithm>
#include <chrono>
#include <climits>
#include <cmath>
#include <cstdio>

#include "tzclock.h"
#include "tzctrl.h"
#include "tzexception.h"
#include "tzinterrupt.h"
#include "tztoollog.h"
#include "tztrace.h"

tzTool g_tool;

tzResult (*tzTool::m_pCheckStatus)(int status) = nullptr;
void (*tzTool::m_pResetVectors)() = nullptr;
double (*tzTool::m_pSeconds)() = nullptr;
int tzTool::m_priority = PRIORITY_NONE;

namespace {

constexpr int defaultMinLoops = 1;
constexpr int defaultMaxLoops = 2048;

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
  *clocks = tzCpuTicker::getClockFactor() * toolOfFunction->numClocks;
  return code;
}

}  // namespace

tzTool::tzTool()
    : accuracyLimit(0.05),
      timeLimit(10),
      method(AUTO),
      loopCount(10),
      minLoops(defaultMinLoops),
      maxLoops(defaultMaxLoops),
      statMode(false),
      callMode(false),
      minClocks(100),
      minCalls(12),
      maxClocks(10000),
      checkCtrl(false),
      checkCtrlNow(false),
      autoMinLoops(0),
      autoMaxLoops(0) {
  reset();
}

double tzTool::seconds() {
  if (m_pSeconds != nullptr) return m_pSeconds();
  const auto now = std::chrono::steady_clock::now().time_since_epoch();
  return std::chrono::duration<double>(now).count();
}

void tzTool::reset() {
  result = TZ_UNDEFINED;
  funcClocks = 0;
  numLoops = 0;
  numClocks = 0;
  accuracy = 1.0;
  resultText.clear();
  infoText.clear();
  funcLoop = nullptr;
  funcStat = nullptr;
  funcCall = nullptr;
  funcInit = nullptr;
  startTime = stopTime = time(nullptr);
}

void tzTool::setMethodLoop(int n) {
  method = LOOP;
  loopCount = std::max(n, 1);
}

void tzTool::setMethodStat(int calls, long long clocks) {
  method = STAT;
  minCalls = calls;
  maxClocks = clocks;
}

void tzTool::setMethodBest(int from, int to, long long clocks) {
  method = BEST;
  minLoops = std::max(from, 1);
  const long long eightfold = 8LL * from;
  maxLoops = std::max(static_cast<int>(std::clamp<long long>(eightfold, INT_MIN, INT_MAX)), to);
  minClocks = clocks;
}

void tzTool::getMethodStat(int& calls, long long& clocks) const {
  calls = minCalls;
  clocks = maxClocks;
}

void tzTool::getMethodBest(int& from, int& to, long long& clocks) const {
  from = minLoops;
  to = maxLoops;
  clocks = minClocks;
}

void tzTool::getAutoParameters(int& from, int& to, long long& clocks) {
  from = defaultMinLoops;
  to = defaultMaxLoops;
  clocks = 10 * tzCpuTicker::getClockFactor();
}

void tzTool::setLoopFactor(int f) {
  autoMinLoops = f == 0 ? 0 : shifted(defaultMinLoops, -static_cast<long long>(f));
  autoMaxLoops = f == 0 ? 0 : shifted(defaultMaxLoops, -static_cast<long long>(f));
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
    return result;
  }
  if (callMode && !call) return result;  // nothing to call: was not run
  funcLoop = loop;
  funcStat = stat;
  funcCall = call;
  funcInit = init;
  return dispatch();
}

tzResult tzTool::dispatch() {
  switch (method) {
    case AUTO: {
      const tzTraceScope scope("autoTiming");
      autoTiming();
      break;
    }
    case LOOP: {
      const tzTraceScope scope("customLoopTiming");
      if (!funcLoop && !funcCall) {
        g_ostrm << L_ERR
                << " ATTENTION! The test cannot execute Manual loop timing.\n"
                   " Statistic timing will be run instead.\n"
                << L_END;
        setMethodStat(loopCount, 0);
        return timing(nullptr, funcStat, nullptr, funcInit);
      }
      loopTiming();
      break;
    }
    case STAT: {
      const tzTraceScope scope("statisticTiming");
      if (!funcStat && !funcCall) {
        g_ostrm << L_ERR
                << " ATTENTION! The test cannot execute Statistic timing.\n"
                   " Manual loop timing will be run instead.\n"
                << L_END;
        setMethodLoop(minCalls);
        return timing(funcLoop, nullptr, nullptr, funcInit);
      }
      statTiming();
      break;
    }
    case BEST: {
      const tzTraceScope scope("iterativeTiming");
      bestTiming(minLoops, maxLoops, minClocks);
      break;
    }
    default:
      result = internalError(746);
      break;
  }
  return result;
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
  if (code <= result) return;
  result = code;
  resultText = tzResultString(code);
}

void tzTool::autoTiming() {
  int from = 0;
  int to = 0;
  long long clocks = 0;
  getAutoParameters(from, to, clocks);
  bestTiming(autoMinLoops ? autoMinLoops : from, autoMaxLoops ? autoMaxLoops : to, clocks);
}

void tzTool::loopTiming() {
  tzToolLog log;
  log << "    Manual method: \n"
      << "        numLoops   = " << loopCount << "\n";
  log.writeInfo();
  numLoops = loopCount;
  runTimFunc(loopCount, funcClocks, true);
  accuracy = 0;
  infoText << "nLps=" << loopCount;
  log << "        funcClocks = " << funcClocks << "\n"
      << "        result     = " << resultText << "\n";
  log.writeInfo();
}

void tzTool::statTiming() {
  tzToolLog log;
  log << "    Statistical method:\n"
      << "        minCalls   = " << minCalls << "\n"
      << "        maxClocks  = " << clockStr(maxClocks) << "\n";
  log.writeInfo();
  int calls = minCalls;
  {
    const tzTraceScope scope("runTimFuncStat");
    runTimFuncStat(maxClocks, calls, funcClocks);
  }
  numLoops = calls;
  accuracy = 0;
  infoText << "nCalls=" << calls;
  log << "        numCalls   = " << calls << "\n"
      << "        funcClocks = " << funcClocks << "\n"
      << "        result     = " << resultText << "\n";
  log.writeInfo();
}

void tzTool::runTimFunc(int n, double& clocksPerCall, bool forceLoop) {
  const Path path = forceLoop || !statMode ? Path::LOOP : Path::STAT;
  int made = n;
  for (int attempt = 0; attempt < 2; ++attempt) {
    tzInterrupt::check();
    made = n;
    numClocks = 0;
    updateResult(runOnce(path, made, numClocks));
    if (tzIsFailure(result) || numClocks > 0) break;
  }
  clocksPerCall = made > 0 ? static_cast<double>(numClocks) / made : 0;
}

void tzTool::runTimFuncStat(long long budget, int& calls, double& clocksPerCall) {
  numClocks = budget;
  updateResult(runOnce(Path::STAT, calls, numClocks));
  clocksPerCall = calls > 0 ? static_cast<double>(numClocks) / calls : 0;
}

tzResult tzTool::runOnce(Path path, int& n, long long& clocks) {
  const tzCtrlKeeper keeper;
  return callMode ? callGuarded(path, n, clocks) : runWatched(path, n, clocks);
}

tzResult tzTool::runWatched(Path path, int& n, long long& clocks) {
  if (checkCtrl && funcInit) {
    const tzTraceScope scope("initFunc call");
    funcInit();
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
  resultText << ": " << guard.name() << ", " << guard.getInfo();
  return TZ_EXCPTFAIL;
}

tzResult tzTool::callFunctions(Path path, int& n, long long& clocks) {
  if (path == Path::LOOP) {
    if (funcLoop && !callMode) return funcLoop(n, &clocks);
    return funcCall ? timCall_Loop(n, &clocks, callMode) : internalError(248);
  }
  if (funcStat && !callMode) return funcStat(&n, &clocks);
  return funcCall ? timCall_Stat(&n, &clocks, callMode) : internalError(257);
}
