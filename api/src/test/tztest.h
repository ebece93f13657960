/// @file
/// One test: the measurement of one function over all combinations of its parameters' values.
#pragma once

#include <ctime>
#include <memory>
#include <vector>

#include "tzlist.h"
#include "tzresult.h"
#include "tzsize.h"
#include "tzstring.h"
#include "tztool.h"

class tzCStream;
class tzCacheIterator;
class tzConditions;
class tzJson;
class tzObject;
class tzPacket;
class tzParameter;
struct tzKnownRow;
struct tzLostRun;
struct tzRowFacts;
template <typename T>
class tzDefault_NSC;

/// How the measured functions are compared with a judge before they are timed (key -V).
enum tzVerifyMode { VERIFY_OFF = 0, VERIFY_ON = 1, VERIFY_ONLY = 2 };

/// Bytes that one performance reads and writes; negative: not known.
struct tzTraffic {
  double read = -1;
  double written = -1;
};

/// Base of every test. A suite class supplies the data (canStart, initData, flushData) and the
/// element that clocks are told per (getDivisor, getUnit); everything else has a default.
class tzTest {
 public:
  /// Compares one performance of the measured function with its judge, on the data just built,
  /// and leaves the data as they were. It guards its calls of the measured function (tzCallGuard).
  /// @param note  receives the first difference, its position and both values, or the signal
  /// @return TZ_OK when equal, TZ_FUNCFAIL when not, TZ_EXCPTFAIL after a signal, TZ_UNDEFINED
  ///         when there is no judge
  using VerifyFunc = tzResult (*)(tzTest& test, tzString& note);
  /// As tzCacheIterator::SetNewValueFunc.
  using SteerFunc = bool (*)(tzParameter* parm, int size, int limit, bool fine);

  /// @param call,init,loop,stat  what the tool may use; any may be null
  /// @param name     the measured function: the key for sorting, conditions, ini section, hot list
  /// @param source   path of the unit, without extension
  /// @param regText  test name: the suite class, two slashes, the registration macro
  tzTest(tzCallFunc call, tzInitFunc init, tzLoopFunc loop, tzStatFunc stat, const tzString& name,
         const tzString& source, const tzString& regText);
  tzTest(tzToolFunc function, const tzString& name, const tzString& source,
         const tzString& regText);
  tzTest(const tzTest&) = delete;
  tzTest& operator=(const tzTest&) = delete;

  virtual ~tzTest();

  /// Whether the conditions, and in hot-only mode the hot list, select the test.
  virtual bool tobeRun(tzConditions& conditions) const;
  /// The whole test. Exceptions and crashes of the measured function end as results.
  /// @return its result; 0 when nothing was to be measured
  virtual tzResult run();
  /// Order of the test list: negative, 0 or positive.
  virtual int compareFunc(const tzTest* other) const;
  /// Builds the row of a combination that uses a deprecated value and keeps it for the end of the
  /// test's rows.
  virtual void putTableResult_Deprecated(tzResult result);
  /// Declares the parameters; false: nothing can be measured.
  virtual bool canStart();
  /// After the last combination.
  virtual void flushStart();
  /// Makes the next parameter combination; false: there are no more.
  virtual bool canContinue();
  /// Builds the data of the current combination. Whatever it returns, flushData follows.
  virtual bool initData();
  virtual void flushData();
  /// Hands the registered functions to the test's tool.
  /// @return the tool's result; 0 without a function
  virtual tzResult runTiming();
  virtual double getFlops() const;
  /// Elements per call; 0: no figure can be told.
  virtual double getDivisor() const;
  /// The element's unit word, "px".
  virtual tzString getUnit() const;
  /// What one call moves between processor and memory, where the suite knows it.
  virtual tzTraffic getTraffic() const { return {}; }
  /// The function's name cells of a table row.
  virtual void funcToCstrm();
  virtual void parmsFromIstrm();
  virtual void parmsToOstrm();
  virtual void parmsToCstrm();
  virtual void parmsNameToCstrm();
  /// The cells for clocks per element, unit, measurement note and result name.
  virtual void resultToCstrm(tzResult result);
  /// What an error message tells besides function and parameters.
  virtual void constToOstrm();
  virtual void beginTest();
  virtual void endTest();
  /// The description in the test's title.
  virtual tzString getComment() const;
  virtual bool isFloatFunction() const;
  /// Whether the current combination is of most interest (key -H): by default, whether the
  /// function is hot.
  virtual bool isHotLine() const;
  /// Puts class-wide per-test state back before a test.
  virtual void initSettings();
  /// Prints all test data to the console at the current message level.
  /// @param heading  a line above them
  virtual void printAllMemoryBlocks(const tzString& heading) const;
  /// Clocks with as many decimals as their size deserves; empty for none.
  virtual tzString formatClocks(double clocks) const;
  /// The test name as reports show it.
  virtual tzString regInfo() const;
  /// The cells of a table row before the clocks.
  virtual void putTableParms();
  /// Why the function's contract excludes the current combination; empty: it does not. Such a
  /// combination is told and left out, which is no failure.
  virtual tzString refusal() const;

  /// @name What others ask
  /// @{
  const tzString& funcName() const { return m_name; }
  const tzString& source() const { return m_source; }
  const tzString& regText() const { return m_regText; }
  /// "Information" for the harness's own tests, else "Timing".
  tzString kind() const;
  /// The result of the last run.
  tzResult lastResult() const { return m_lastResult; }
  time_t startTime() const { return m_startTime; }
  /// End of the last run; 0 before it.
  time_t endTime() const { return m_endTime; }
  /// Whether a control-status watch reported a change during the last run.
  bool isBad87() const { return m_bad87; }
  bool isBadSSX() const { return m_badSSX; }
  tzList<tzParameter*>& parms() { return m_parms; }
  const tzList<tzParameter*>& parms() const { return m_parms; }
  tzTool& tool() { return m_tool; }
  /// @}

  /// @name In a child process (tzChild)
  /// @{
  /// What is known of the current combination before it is measured.
  tzRowFacts rowFacts();
  /// In the parent: takes over what the child's run came to.
  /// @return `result`
  tzResult takeOver(tzResult result, tzResult lastResult);
  /// In the parent: writes the row and the summary of a run that its process did not end.
  tzResult endLost(const tzLostRun& lost);
  /// The identity of each row that would be measured, told without building its data; empty for
  /// those that would not: the function refuses them, or an earlier run has them.
  std::vector<std::string> rowsToMeasure();
  /// How many there are.
  int countRows();
  /// What tells the current row from all others of a run, as JSON Lines write it.
  std::string rowIdentity() const;
  /// @}

  /// @name Parameters
  /// @{
  /// Appends a parameter, which must outlive the run.
  void regParm(tzParameter& parm);
  /// Appends a size-like parameter. In cache mode (m_cache), unless the test has one already, a
  /// cache-state iterator takes its place and steers it.
  /// @param object  the data that count for the lower bound of the state; null: all data
  /// @param steer   replaces the iterator's own steering; may be null
  void regCacheParm(tzDefault_NSC<int>& parm, tzObject* object = nullptr,
                    SteerFunc steer = nullptr);
  void regCacheParm(tzDefault_NSC<RkdiSize>& parm, tzObject* object = nullptr,
                    SteerFunc steer = nullptr);
  tzCacheIterator* cacheIterator() const { return m_cacheIterator; }
  /// Declares the parameters (the ones declared before are forgotten) and reads them, without
  /// measuring: all that writing an ini file or a table of names needs.
  /// @return false, after a message when an exception was the reason, when the test cannot start
  bool prepareParms();
  /// @}

  /// @name Results
  /// @{
  /// For a test that times itself: its clocks per call and a note for the result line.
  void setTimingResult(double clocks, const tzString& note);
  /// The name line goes to the table of names and, when asked, into the result table. Settles the
  /// number of cells of this test's rows.
  void putTableName();
  /// Writes a line that names the cells of this test's rows.
  void putTableNameLine(tzCStream& table);
  /// Writes the row of the current combination.
  void putTableResult(tzResult result);
  /// "function parameters" at a message level, without ending the line.
  void putTextParms(int level);
  /// The line of a failed combination.
  void putTextError(tzResult result);
  /// The line of a measured combination; only for OK and warnings.
  void putTextResult(tzResult result);
  /// The text of a measured combination: function, parameter values, clocks, note, result.
  tzString testResultString() const;
  /// Says that this test cannot be timed, and why.
  void printNotSupportTiming(const tzString& reason);
  /// Clocks per element of the last measurement; 0 when no figure can be told.
  double clocksPerElement() const;
  /// @}

  /// Raises the result being built; it never falls.
  static void raiseResult(tzResult result);

  /// @name Rows
  /// What was measured of each combination, in their order, by all passes so far.
  /// @{
  const std::vector<tzRow>& rows() const { return m_rows; }
  /// Takes the row of one combination over, measured here or by another process of this run.
  void keepRow(size_t number, const tzRow& row);
  /// What is known of the current row goes to the parent process, which takes it over.
  /// @{
  void packRow(tzPacket& packet);
  void unpackRow(tzPacket& packet);
  /// @}
  /// Whether any row has a sample or a failure.
  bool hasSamples() const;
  /// @}

  /// Sets the judge that -V asks.
  void setVerify(VerifyFunc verify) { m_verify = verify; }

  /// @name Test data
  /// All buffers come from tracked memory.
  /// @{
  /// @param align   misalignment in bytes; negative: so many units of the VectorAlign setting
  /// @param object  the owner; null: a plain buffer
  /// @return null, with a message, when memory is short
  static void* allocate(int size, int align, tzObject* object = nullptr);
  static void reserveAllVectors();  ///< keeps a copy of every vector's data
  static void resetAllVectors();    ///< puts the copies back
  /// @}

  static tzResult m_currentResult;  ///< the result being built by the running test
  static int m_hot;                 ///< 0 without -H, 1 with it, 2 with -HONLY
  static bool m_cache;              ///< -C
  static int m_verifyMode;          ///< a tzVerifyMode
  static int m_vectorNum;           ///< vectors allocated for the current combination so far
  static int m_vectorShift;         ///< bytes by which the next vector is moved
  static int m_numParmsColm;        ///< cells of a row before the clocks
  static int m_numResultColm;       ///< cells from the clocks on
  static bool m_quiet;              ///< nothing is told or written: an earlier pass
  static tzString m_startFunc;      ///< the -F text, empty once met or when not given
  static tzTest* m_pCurrentTest;    ///< the test being run, null between tests
  static void setCurrent(tzTest* test);

 protected:
  /// @name Steps of run, for overrides of it
  /// @{
  /// Forgets the last run, takes a fresh tool and selects the ini section of this function.
  /// @return false when the test is not to be run; it is not counted then
  bool beginRun();
  void printTitle();
  /// Stores the result being built, records the end and writes the result reports.
  /// @return the stored result
  tzResult finishRun();
  /// The whole run of a test that cannot be timed here: title, printNotSupportTiming, result.
  /// @return 0, as the last result is
  tzResult runNotSupported(const tzString& reason);
  /// For an override that reports in its own way: stores a result and the end of the run.
  tzResult storeResult(tzResult result);
  /// @}

  /// The loop over parameter combinations.
  void loopData();

  /// Prints the data of one object below the line that tells what it is; by default, nothing.
  virtual void printData(const tzObject& object) const;

 private:
  template <class Function>
  void step(const char* name, Function&& function);
  template <class Function>
  void guarded(Function&& function);
  void caught(const char* message);
  tzResult giveUp();
  void runSteps();
  bool declareParms();
  void clearParms();
  void addCacheIterator(tzCacheIterator* iterator);
  void addCacheState();

  bool firstCombination();
  bool nextCombination();

  bool buildData();
  void dropData();
  bool skipRefused();
  bool takeEarlier();
  void heedSignal();
  tzRow earlierRow() const;
  bool resumeRow(const tzRow& earlier);
  void tellRow(tzResult result);
  void keepLost(const tzString& reason);
  void measureCombination();
  bool verifyCombination();
  tzResult timeCombination();
  void noteSignal(tzResult result);
  tzResult checkControl();
  void judge(tzResult result);
  void openTable();
  void closeTable();

  void settleWidths();
  void nameRow();
  void putRow(tzResult result);
  void putNotMeasured();
  tzJson parmsJson() const;
  tzJson jsonHead();
  void putJsonRow(tzResult result);
  void putLostJsonRow(const tzLostRun& lost);
  tzString parmsColumns() const;
  tzString parmsText() const;
  tzString measureNote() const;

  tzToolFunc m_toolFunc = nullptr;
  tzLoopFunc m_loop = nullptr;
  tzStatFunc m_stat = nullptr;
  tzCallFunc m_call = nullptr;
  tzInitFunc m_init = nullptr;
  VerifyFunc m_verify = nullptr;
  time_t m_startTime = 0;
  time_t m_endTime = 0;
  tzString m_name;
  tzString m_source;
  tzString m_regText;
  tzTool m_tool;
  tzString m_timingNote;
  tzString m_sectionBefore;  // of the ini file
  tzResult m_lastResult = TZ_UNDEFINED;
  tzResult m_lineResult = TZ_UNDEFINED;  // of the result line under construction
  bool m_first = true;                   // no combination has been made yet
  bool m_bad87 = false;
  bool m_badSSX = false;
  bool m_verified = false;  // the current combination equals its judge
  bool m_toldUnverified = false;
  bool m_stateRefused = false;  // the data of the current combination have the wrong size
  bool m_dataMade = false;
  bool m_tableOpen = false;
  int m_numMeasured = 0;    // result lines of this run
  const char* m_step = "";  // of run, for the message of an exception
  tzList<tzParameter*> m_parms;
  std::vector<tzRow> m_rows;
  size_t m_row = 0;                       // the current combination among them
  std::string m_rowText;                  // its parameters, in a process that does not measure it
  bool m_rowFresh = false;                // it was kept and not yet sent
  double m_rowBegin = 0;                  // tzTool::seconds
  const tzKnownRow* m_earlier = nullptr;  // the current row, as an earlier run has it
  std::vector<int> m_widths;              // of the parameters' columns in a result line
  tzCacheIterator* m_cacheIterator = nullptr;
  std::unique_ptr<tzParameter> m_cacheState;
};
