// The best-of method: repetitions grow until a run is long enough and two runs in a row agree, then
// the smallest of some further samples counts.
#include <algorithm>
#include <climits>
#include <vector>

#include "tzclock.h"
#include "tztool.h"
#include "tztoollog.h"

namespace {

int timesUpTo(int n, int factor) { return n > INT_MAX / factor ? INT_MAX : n * factor; }

constexpr double kExcellentAccuracy = 0.01;  // nothing to gain from further samples
constexpr int kNumSamples = 3;
constexpr int kNumSamplesAfterBadStatus = 6;

}  // namespace

/// One measurement. Loop counts stay within an int: they stop growing at the largest one.
class tzTool::BestOf {
 public:
  BestOf(tzTool& tool, int from, int to, long long clocks)
      : m_tool(tool),
        m_loops(from),
        m_maxLoops(to),
        m_minClocks(clocks),
        m_deadline(tzTool::seconds() + tool.m_timeLimit) {}

  void run();

 private:
  enum class Next { GO_ON, STOP, FAIL, EXIT };

  Next priorMeasurement();
  Next iterationMeasurement();
  tzResult startIterations();
  tzResult continueIterations();
  Next judgeIterations(tzResult code);
  Next avoidBadStatus();
  Next tooShort();
  tzResult repeatTiming(int loops, int count);
  tzResult judgeSamples(const std::vector<double>& samples);
  void measure(int loops, double& clocks);
  bool isOutOfTime(int loops);
  void stop();
  void tellTimeLimit();
  void logResult(tzResult code);
  const char* label() const { return m_tool.m_statMode ? "numCalls" : "numLoops"; }

  tzTool& m_tool;
  tzToolLog m_log;
  int m_loops;
  int m_maxLoops;
  int m_startLoops = 0;
  long long m_minClocks;
  double m_deadline;
  double m_secondsPerLoop = 0;
  bool m_outOfTime = false;
};

void tzTool::bestTiming(int from, int to, long long clocks) {
  BestOf(*this, from, to, clocks).run();
}

void tzTool::BestOf::run() {
  m_tool.m_checkCtrlNow = m_tool.m_checkCtrl;
  if (!m_tool.m_funcStat && !m_tool.m_funcCall) m_tool.m_statMode = false;
  m_log << "    Auto method: start\n"
        << "        minClocks  = " << tzTool::clockStr(m_minClocks) << "\n";

  Next next = priorMeasurement();
  while (next == Next::GO_ON) next = iterationMeasurement();
  if (next == Next::STOP) return stop();

  if (next == Next::FAIL) m_tool.updateResult(TZ_ACCURFAIL);
  m_log << "    Auto method: exit\n";
  m_log.writeInfo();
  if (next == Next::FAIL) m_log.writeError();
}

void tzTool::BestOf::measure(int loops, double& clocks) {
  const double before = tzTool::seconds();
  m_tool.runTimFunc(loops, clocks, false);
  m_secondsPerLoop = (tzTool::seconds() - before) / loops;
}

// Whether a run of so many repetitions, at the pace of the last one, would end after the limit.
bool tzTool::BestOf::isOutOfTime(int loops) {
  if (m_tool.m_timeLimit <= 0) return false;
  const bool late = tzTool::seconds() + loops * m_secondsPerLoop > m_deadline;
  m_outOfTime = m_outOfTime || late;
  return late;
}

void tzTool::BestOf::logResult(tzResult code) {
  m_log << "        result     = " << tzResultString(code) << "\n";
  m_log.writeInfo();
}

tzTool::BestOf::Next tzTool::BestOf::priorMeasurement() {
  for (;;) {
    m_log << "    Prior Measurement: \n"
          << "        " << label() << "   = " << m_loops << "\n";
    m_log.writeInfo();
    const tzResult code = startIterations();
    m_log << "        numClocks  = " << m_tool.m_numClocks << "\n"
          << "        funcClocks = " << m_tool.m_funcClocks << "\n";
    logResult(code);
    if (code > TZ_ACCURFAIL) return Next::EXIT;
    if (code != TZ_ACCURFAIL) break;
    // One retry from a single repetition, none from more.
    if (m_loops > tzCpuTicker::getClockFactor()) return Next::FAIL;
    m_loops = timesUpTo(m_loops, 10);
    m_maxLoops = timesUpTo(m_maxLoops, 10);
  }
  m_startLoops = timesUpTo(m_tool.m_numLoops, 4);
  return m_tool.m_numLoops < m_maxLoops ? Next::GO_ON : Next::STOP;
}

tzResult tzTool::BestOf::startIterations() {
  // The product of a quotient may miss the clocks by a rounding error.
  constexpr double roundingError = 1e-12;
  m_tool.m_numLoops = m_loops;
  measure(m_loops, m_tool.m_funcClocks);
  if (tzIsFailure(m_tool.m_result)) return m_tool.m_result;
  const double clocks = m_loops * m_tool.m_funcClocks * (1 + roundingError);
  return static_cast<double>(m_minClocks) > clocks ? TZ_ACCURFAIL : TZ_OK;
}

tzTool::BestOf::Next tzTool::BestOf::iterationMeasurement() {
  m_log << "    Iteration Measurement: \n"
        << "        startLoops = " << m_startLoops << "\n"
        << "        maxLoops   = " << m_maxLoops << "\n";
  m_log.writeInfo();
  // No time to grow: what time is left goes into samples of the count that is there.
  const bool canGrow = !isOutOfTime(std::min(m_startLoops, m_maxLoops));
  const tzResult code = canGrow ? continueIterations() : TZ_ACCURWRN;
  m_log << "        stopLoops  = " << m_tool.m_numLoops << "\n"
        << "        stopClocks = " << m_tool.m_numClocks << "\n"
        << "        accuracy   = " << tzTool::getAccuracyStr(m_tool.m_accuracy) << "\n"
        << "        funcClocks = " << m_tool.m_funcClocks << "\n";
  logResult(code);
  return judgeIterations(code);
}

tzResult tzTool::BestOf::continueIterations() {
  m_tool.m_numLoops = std::min(m_startLoops, m_maxLoops);
  double previous = m_tool.m_funcClocks;
  for (;;) {
    measure(m_tool.m_numLoops, m_tool.m_funcClocks);
    // A function that crashed is not called again: nobody knows what it left behind.
    if (m_tool.m_result == TZ_EXCPTFAIL) return m_tool.m_result;
    if (m_tool.m_funcClocks <= 0) return TZ_ACCURFAIL;
    m_tool.m_accuracy = tzTool::computeAccuracy(m_tool.m_funcClocks, previous);
    if (m_tool.m_checkCtrlNow && m_tool.badCtrlStatus()) {
      m_tool.m_numLoops /= 2;
      m_tool.m_funcClocks = previous;
      return TZ_BADSTSWRN;
    }
    if (m_tool.m_accuracy <= m_tool.m_accuracyLimit) return TZ_OK;
    if (m_tool.m_numLoops > m_maxLoops / 2 || isOutOfTime(2 * m_tool.m_numLoops))
      return TZ_ACCURWRN;
    previous = m_tool.m_funcClocks;
    m_tool.m_numLoops *= 2;
  }
}

tzTool::BestOf::Next tzTool::BestOf::judgeIterations(tzResult code) {
  if (code > TZ_ACCURFAIL) return Next::EXIT;
  if (code == TZ_ACCURFAIL) return tooShort();
  if (code == TZ_BADSTSWRN) return avoidBadStatus();
  if (m_tool.m_accuracy <= kExcellentAccuracy) return Next::STOP;

  m_log << "    Simple Measurements: \n";
  code = repeatTiming(m_tool.m_numLoops, kNumSamples);
  if (code > TZ_ACCURFAIL) return Next::EXIT;
  if (code == TZ_ACCURFAIL) return tooShort();
  if (code != TZ_ACCURWRN || m_outOfTime) return Next::STOP;
  m_startLoops = timesUpTo(m_tool.m_numLoops, 4);
  return m_tool.m_numLoops < m_maxLoops ? Next::GO_ON : Next::STOP;
}

// With a clock factor of 1 every count is enough to call the function unmeasurable; only a counter
// that ticks slower earns it longer runs.
tzTool::BestOf::Next tzTool::BestOf::tooShort() {
  if (m_startLoops >= tzCpuTicker::getClockFactor()) return Next::FAIL;
  m_startLoops = timesUpTo(m_startLoops, 10);
  m_maxLoops = timesUpTo(m_maxLoops, 10);
  return m_tool.m_numLoops < m_maxLoops ? Next::GO_ON : Next::STOP;
}

tzTool::BestOf::Next tzTool::BestOf::avoidBadStatus() {
  const double limit = 2 * m_tool.m_accuracyLimit;
  m_tool.printBadCtrlStatus(true);
  g_ostrm << L_WARN << "-- Attempting to avoid bad control status\n" << L_END;
  m_log << "    Reduce loops to avoid bad ctrl status.\n"
        << "    Simple Measurements: \n";
  m_tool.clearCtrlStatus();
  const tzResult code = repeatTiming(m_tool.m_numLoops, kNumSamplesAfterBadStatus);
  if (tzIsFailure(code)) return Next::EXIT;
  if (code == TZ_BADSTSWRN || m_tool.m_accuracy > limit) {
    m_log << "    Cannot avoid bad ctrl status\n";
    m_log.writeInfo();
    g_ostrm << L_WARN << "-- Attempt fails: "
            << (code == TZ_BADSTSWRN ? "Bad control status repeats.\n"
                                     : "Accuracy is unsatisfactory.\n")
            << L_END;
  } else {
    g_ostrm << L_WARN << "-- Attempt is successful\n" << L_END;
  }
  return Next::STOP;
}

tzResult tzTool::BestOf::repeatTiming(int loops, int count) {
  std::vector<double> samples;
  if (m_tool.m_numLoops == loops) samples.push_back(m_tool.m_funcClocks);
  m_tool.m_numLoops = loops;
  while (samples.size() < static_cast<size_t>(count)) {
    if (!samples.empty() && isOutOfTime(loops)) break;
    double sample = 0;
    measure(loops, sample);
    m_log << "        " << label() << "   = " << loops << "\n"
          << "        numClocks  = " << m_tool.m_numClocks << "\n"
          << "        funcClocks = " << sample << "\n";
    if (tzIsFailure(m_tool.m_result)) {
      logResult(m_tool.m_result);
      return m_tool.m_result;
    }
    samples.push_back(sample);
  }
  return judgeSamples(samples);
}

tzResult tzTool::BestOf::judgeSamples(const std::vector<double>& samples) {
  const int count = static_cast<int>(samples.size());
  // One sample alone, for which there was no time to take others, agrees with nothing.
  if (count > 1) m_tool.m_accuracy = tzTool::computeAccuracy(samples.data(), count);
  m_tool.m_funcClocks = tzTool::computeBest(samples.data(), count);
  tzResult code = m_tool.m_accuracy > m_tool.m_accuracyLimit ? TZ_ACCURWRN : TZ_OK;
  if (m_tool.m_checkCtrlNow && m_tool.badCtrlStatus()) code = TZ_BADSTSWRN;
  m_log << "        accuracy   = " << tzTool::getAccuracyStr(m_tool.m_accuracy) << "\n"
        << "        bestClocks = " << m_tool.m_funcClocks << "\n"
        << "        result     = " << tzResultString(code) << "\n";
  m_tool.printBadCtrlStatus(m_tool.m_checkCtrlNow);
  m_log.writeInfo();
  return code;
}

void tzTool::BestOf::stop() {
  m_tool.m_infoText << (m_tool.m_statMode ? "nCalls=" : "nLps=") << m_tool.m_numLoops;
  if (m_tool.m_accuracy > m_tool.m_accuracyLimit) {
    const tzString spread = tzTool::getAccuracyStr(m_tool.m_accuracy);
    m_tool.m_infoText << " acc=" << spread;
    if (m_tool.m_result < TZ_ACCURWRN) {
      m_tool.m_result = TZ_ACCURWRN;
      m_tool.m_resultText << "actual accuracy = " << spread;
    }
  }
  if (m_outOfTime) tellTimeLimit();
  m_log << "    Auto method: stop\n";
  m_log.writeInfo();
}

void tzTool::BestOf::tellTimeLimit() {
  tzString limit;
  limit << m_tool.m_timeLimit << " s";
  m_tool.updateResult(TZ_ACCURWRN);
  m_tool.m_infoText << " time limit";
  g_ostrm << L_WARN << "-- The time limit of a row, " << limit << ", ended the repetitions\n"
          << L_END;
}
