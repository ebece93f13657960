/// @file
/// Chief header of the timing tool: repeated calls of a function become clocks per call, with an
/// accuracy and a result code that say whether the figure can be trusted.
#pragma once

#include <ctime>
#include <vector>

#include "tzmeasure.h"
#include "tzresult.h"
#include "tzstring.h"

class tzTool;

/// @name The functions a test registers
/// @{
/// Runs the measured operation `n` times and writes the total clocks.
using tzLoopFunc = tzResult (*)(int n, long long* clocks);
/// Times call by call until at least `*n` calls are made and `*clocks` clocks are used; writes back
/// the calls made and their clocks.
using tzStatFunc = tzResult (*)(int* n, long long* clocks);
/// One call: negative is a failure, positive a status to report, 0 nothing to report.
using tzCallFunc = int (*)();
/// Runs before each run, and before each call in the generic loops.
using tzInitFunc = int (*)();
/// The older form: repeats `n` times and leaves the clocks in the tool (setNumClocks).
using tzToolFunc = tzResult (*)(tzTool& tool, int n);
/// @}

/// The timing tool. A session keeps one, `g_tool`, whose settings every test copies.
///
/// Settings outlive a measurement; results are those of the last one and are forgotten by reset.
class tzTool {
 public:
  enum Method { AUTO = 0, LOOP = 1, STAT = 2, BEST = 3, SPREAD = 4 };

  tzTool();
  virtual ~tzTool() = default;
  tzTool(const tzTool&) = default;
  tzTool& operator=(const tzTool&) = default;

  /// Measures by the method in force. Any pointer may be null, but not the first three together.
  /// @return the worst result code met; clocks per call are in `funcClocks()`
  tzResult timing(tzLoopFunc loop, tzStatFunc stat, tzCallFunc call, tzInitFunc init);
  tzResult timing(tzToolFunc function);

  /// Forgets the last measurement; settings stay.
  void reset();

  /// One run of `n` repetitions, for whoever serves; `result` tells how it went.
  /// @return clocks of a call
  double sample(int n);

  /// @name Choosing a method
  /// @{
  void setMethodAuto() { m_method = AUTO; }
  void setMethodLoop(int n);
  void setMethodStat(int calls, long long clocks);
  /// At least `from` and at most max(8 `from`, `to`) repetitions, a run lasting at least `clocks`.
  void setMethodBest(int from, int to, long long clocks);
  /// Many short samples, over the passes of g_plan; the smallest counts.
  void setMethodSpread() { m_method = SPREAD; }
  int getMethod() const { return m_method; }
  /// A Method; any other number makes `timing` report an internal error.
  void setMethod(int method) { m_method = method; }
  bool getMethodAuto() const { return m_method == AUTO; }
  void getMethodLoop(int& n) const { n = m_loopCount; }
  void getMethodStat(int& calls, long long& clocks) const;
  void getMethodBest(int& from, int& to, long long& clocks) const;
  /// The bounds that the automatic method starts from.
  static void getAutoParameters(int& from, int& to, long long& clocks);
  /// Shifts the automatic bounds: right by `f`, left by -`f`; 0 takes the shift back. A bound that
  /// becomes 0 keeps its default, one that outgrows an int becomes the largest int.
  void setLoopFactor(int f);
  /// @}

  /// @name Settings beside the method
  /// They outlive a measurement.
  /// @{
  double accuracyLimit() const { return m_accuracyLimit; }  ///< the accuracy that is good enough
  void setAccuracyLimit(double limit) { m_accuracyLimit = limit; }
  /// Seconds of repeating, automatic and best-of; 0: no limit.
  double timeLimit() const { return m_timeLimit; }
  void setTimeLimit(double seconds) { m_timeLimit = seconds; }
  /// Automatic and best-of begin with the smallest count whose run lasts so many steps of the
  /// counter (tzCounterFacts::resolution); 0: with their own.
  int startSteps() const { return m_startSteps; }
  void setStartSteps(int steps) { m_startSteps = steps; }
  /// Spread counts clocks of the core, not of the counter.
  bool coreClock() const { return m_coreClock; }
  void setCoreClock(bool on) { m_coreClock = on; }
  /// What earlier passes measured of the row that is measured next: spread goes on from there.
  void setEarlier(const tzMeasurement& earlier) { m_earlier = earlier; }
  bool statMode() const { return m_statMode; }  ///< best-of runs time call by call
  void setStatMode(bool on) { m_statMode = on; }
  bool callMode() const { return m_callMode; }  ///< only the call, with its data set-up, is timed
  void setCallMode(bool on) { m_callMode = on; }
  bool checkCtrl() const { return m_checkCtrl; }  ///< avoid a modified control status
  void setCheckCtrl(bool on) { m_checkCtrl = on; }
  int autoMinLoops() const { return m_autoMinLoops; }  ///< of setLoopFactor; 0: none
  int autoMaxLoops() const { return m_autoMaxLoops; }
  /// @}

  /// @name The last measurement
  /// @{
  tzResult result() const { return m_result; }                 ///< the worst code
  const tzString& resultText() const { return m_resultText; }  ///< what went wrong, in words
  const tzString& infoText() const { return m_infoText; }      ///< "nLps=64 acc=7.1%"
  double funcClocks() const { return m_funcClocks; }           ///< clocks per call
  int numLoops() const { return m_numLoops; }                  ///< repetitions of the last run
  long long numClocks() const { return m_numClocks; }          ///< clocks of the last run
  double accuracy() const { return m_accuracy; }               ///< 1 before it
  /// Every run of it as a sample, and what they say; in clocks of one call.
  const tzMeasurement& measurement() const { return m_measurement; }
  /// What a call that does nothing takes, told beside every figure of spread.
  static double m_emptyCall;
  /// For functions of the older form.
  void setNumClocks(long long clocks) { m_numClocks = clocks; }
  /// For whoever judges a function without timing it.
  void setVerdict(tzResult result, const tzString& text);
  /// @}

  /// The functions that the generic timing works with; `timing` does the same.
  void setFunctions(tzLoopFunc loop, tzStatFunc stat, tzCallFunc call, tzInitFunc init);

  /// For tests that time themselves.
  void setFuncTicks(double clocks) { m_funcClocks = clocks; }

  /// @name The control-status watch around a run
  /// @{
  void ctrlStart();
  void ctrlStop();
  bool badCtrlStatus() const;
  /// Prints which status changed, when `check` is set and one did.
  void printBadCtrlStatus(bool check) const;
  void clearCtrlStatus();
  /// @}

  /// @name Figures and their texts
  /// @{
  static tzString getAccuracyStr(double accuracy);  ///< 0.05 gives "5.0%", 0.00123 "0.12%"
  /// A count with at most ten digits of its own and zeros for the rest.
  static tzString clockStr(long long clocks);
  /// The difference of two figures relative to their mean; 1 when both are 0.
  static double computeAccuracy(double a, double b);
  /// The largest deviation of `n` samples from their mean, relative to it.
  /// @param mean  receives the mean; 0 when n < 1
  static double computeAccuracy(const double* samples, int n, double* mean = nullptr);
  static double computeBest(const double* samples, int n);  ///< the smallest sample
  /// @}

  /// Judges the status that a generic loop kept: null makes every status 1. Installed by whoever
  /// knows what the measured functions' statuses mean.
  static tzResult (*m_pCheckStatus)(int status);
  /// Puts all test vectors back to their initial contents inside the generic loops; may be null.
  static void (*m_pResetVectors)();
  /// Measures in place of the method in force; may be null.
  static tzResult (*m_pServe)(tzTool& tool);
  /// Where `seconds` comes from; null: the system's clock.
  static double (*m_pSeconds)();
  /// Time as it passes for the user, from some moment on.
  static double seconds();
  /// The tzPriority of every timed run.
  static int m_priority;

  /// @name Generic timing through the call function alone
  /// What lies inside the timed stretch is told at each; `resetVectors` calls the vector hook.
  /// @{
  /// Initialisation, vector reset and call, all timed together.
  tzResult timCall_Loop(int n, long long* clocks, bool resetVectors);
  /// Vector reset and call timed; each round makes a second, untimed call.
  tzResult timCall_Stat(int* calls, long long* clocks, bool resetVectors);
  /// @}

 private:
  enum class Path { LOOP, STAT };

  tzResult dispatch();
  tzResult internalError(int line);
  void updateResult(tzResult code);
  void keepSample(double clocksPerCall, int calls);
  template <class Run>
  void watched(Run&& run);
  void judgeDisturbance();
  int countLasting(int from, int to);

  void loopTiming();
  void statTiming();
  void autoTiming();
  void bestTiming(int from, int to, long long clocks);
  void spreadTiming();

  void runTimFunc(int n, double& clocksPerCall, bool forceLoop);
  void runTimFuncStat(long long budget, int& calls, double& clocksPerCall);
  tzResult runOnce(Path path, int& n, long long& clocks);
  tzResult runWatched(Path path, int& n, long long& clocks);
  tzResult callGuarded(Path path, int& n, long long& clocks);
  tzResult callFunctions(Path path, int& n, long long& clocks);

  class BestOf;  // one measurement of that method
  class Spread;  // likewise

  tzResult m_result;       ///< worst code of this measurement
  double m_funcClocks;     ///< clocks per call
  int m_numLoops;          ///< repetitions of the last run
  double m_accuracyLimit;  ///< setting: the accuracy that is good enough
  double m_timeLimit;      ///< setting, automatic and best-of: seconds of repeating; 0: no limit
  int m_method;            ///< setting: a Method
  int m_loopCount;         ///< setting, manual: repetitions
  int m_minLoops;          ///< setting, best-of: lower bound
  int m_maxLoops;          ///< setting, best-of: upper bound
  bool m_statMode;         ///< setting: best-of runs time call by call
  bool m_callMode;         ///< setting: only the call function, with its data set-up, is timed
  long long m_minClocks;   ///< setting, best-of: clocks a run must last
  int m_minCalls;          ///< setting, statistical: least number of calls
  long long m_maxClocks;   ///< setting, statistical: clocks after which calls stop
  bool m_checkCtrl;        ///< setting: avoid a modified control status
  bool m_checkCtrlNow;     ///< `checkCtrl` of the best-of measurement under way
  tzString m_resultText;   ///< what went wrong, in words
  tzString m_infoText;     ///< note for the result line: "nLps=64 acc=7.1%"
  long long m_numClocks;   ///< clocks of the last run
  double m_accuracy;       ///< of the last measurement; 1 before it
  int m_autoMinLoops;      ///< setting: replaces the automatic lower bound unless 0
  int m_autoMaxLoops;      ///< setting: replaces the automatic upper bound unless 0
  bool m_coreClock;        ///< setting, spread: clocks are those of the core
  int m_startSteps;        ///< setting, automatic and best-of: counter steps of a run; 0: as told
  tzMeasurement m_measurement;
  tzMeasurement m_earlier;                    ///< of the row that is measured next
  tzDisturbances m_met;                       ///< by the last run
  bool m_runDisturbed;                        ///< the last run does not count
  double m_rowBegin;                          ///< by the watch's clock
  std::vector<tzDisturbances> m_metBySample;  ///< beside the samples of the measurement
  time_t m_startTime;                         ///< of construction or the last reset
  time_t m_stopTime;                          ///< likewise
  tzLoopFunc m_funcLoop;
  tzStatFunc m_funcStat;
  tzCallFunc m_funcCall;
  tzInitFunc m_funcInit;
};

/// Microseconds per call of the tool's last measurement; empty where the frequency is not known.
tzString usecString(const tzTool& tool);

/// The session's tool: its settings are the defaults of every test.
extern tzTool g_tool;
