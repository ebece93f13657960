/// @file
/// What suites register before `main`, and the list of tests that a session runs.
#pragma once

#include <ctime>

#include "tzconditions.h"
#include "tzlist.h"
#include "tzresult.h"
#include "tzstring.h"

class tzParameter;
class tzTest;

/// The registered tests with the counts of their results.
class tzTestList : public tzList<tzTest*> {
 public:
  static constexpr int NUM_RESULTS = 12;

  int total = 0;                 ///< counted runs
  int counts[NUM_RESULTS] = {};  ///< per result code; 6 and 11 also total warnings and failures
  time_t startTime = 0;          ///< calendar time at the start of the session's run
  time_t endTime = 0;            ///< calendar time at its end

  tzTestList() = default;
  virtual ~tzTestList() = default;

  /// Sorts by function name; tests of one function stay in the order of their registration.
  void sortFunc();

  /// Runs every test that the conditions (and -F, and -HONLY) select, in the passes of g_plan.
  /// @return 1 when a failure was counted, else 0: the program's exit code
  int runTests(tzConditions& conditions);

  /// Counts one result. A code outside 0..11 counts as 11, "FAIL".
  void plus(tzResult result);

  /// Appends to `parms` the parameters that the selected tests hold already, each once.
  void selectCommonParms(tzConditions& conditions, tzList<tzParameter*>& parms);

 protected:
  /// Hooks for a build to add its own set-up; empty here.
  virtual void beforeAll() {}
  virtual void beforeTest() {}
  virtual void afterTest(tzTest*) {}

 private:
  bool passesStart(const tzTest& test);
  void runTest(tzTest& test);
  static void runAlone(tzTest& test);
};

/// The process-wide lists: null until the first registration, which makes them, because suites
/// register from static initialisers whose order is not fixed.
extern tzTestList* g_testList;
extern tzList<tzParameter*>* g_parmList;

/// A function that registers further parameters once the command line is known.
using tzParmRegistrar = int (*)();
extern tzParmRegistrar g_parmRegistrar;

/// Each registration returns 1, so that a unit can keep it in a file-scope integer.
/// @{
int tzRegTest(tzTest* test);                      ///< the list owns the test from now on
int tzRegParm(tzParameter& parm);                 ///< a common parameter; stays owned by its unit
int tzRegParmFunction(tzParmRegistrar function);  ///< called before common parameters are read
int tzRegCmdLine(const tzString& line);           ///< a fixed command line of this build
/// @}

/// The fixed command line, empty when none was registered.
const tzString& tzGetCmdLine();

/// The test list, made empty when nothing was registered.
tzTestList& tzGetTestList();

/// Destroys every test and the list. Does nothing without a list.
void deleteTestList();
