// The list of tests: registered, sorted, run.
#include "tzregistry.h"

#include <vector>

#include "tzchild.h"
#include "tzconditions.h"
#include "tzinterrupt.h"
#include "tzpasses.h"
#include "tzplan.h"
#include "tzprogress.h"
#include "tztest.h"

tzTestList* g_testList = nullptr;
tzList<tzParameter*>* g_parmList = nullptr;
tzParmRegistrar g_parmRegistrar = nullptr;

namespace {

template <class List>
List& made(List*& list) {
  if (list == nullptr) list = new List;
  return *list;
}

// Made on first use: registrations run before the static objects of this unit may exist.
tzString& cmdLine() {
  static tzString line;
  return line;
}

// Rows that are only written need no process of their own.
tzResult run(tzTest& test) {
  return tzChild::isEnabled() && !g_plan.writesOnly ? tzChild::run(test) : test.run();
}

bool aless(tzTest* const& a, tzTest* const& b) {
  if (a == nullptr || b == nullptr) return false;
  return a->compareFunc(b) < 0;
}

}  // namespace

int tzRegTest(tzTest* test) {
  tzTestList& list = made(g_testList);
  list.push_back(test);
  return 1;
}

int tzRegParm(tzParameter& parm) {
  tzList<tzParameter*>& list = made(g_parmList);
  list.push_back(&parm);
  return 1;
}

int tzRegParmFunction(tzParmRegistrar function) {
  g_parmRegistrar = function;
  return 1;
}

int tzRegCmdLine(const tzString& line) {
  cmdLine() = line;
  return 1;
}

const tzString& tzGetCmdLine() { return cmdLine(); }

tzTestList& tzGetTestList() { return made(g_testList); }

void deleteTestList() {
  if (g_testList == nullptr) return;
  for (tzTest*& test : *g_testList) {
    delete test;
    test = nullptr;
  }
  delete g_testList;
  g_testList = nullptr;
}

void tzTestList::sortFunc() { sort(aless); }

int tzTestList::runTests(tzConditions& conditions) {
  beforeAll();
  std::vector<tzTest*> selected;
  for (tzTest* test : *this) {
    if (test->tobeRun(conditions) && passesStart(*test)) selected.push_back(test);
  }
  tzProgress::begin(selected);
  tzRunEarlierPasses(selected, runAlone);
  for (tzTest* test : selected) {
    if (tzInterrupt::signal() == 0) {
      runTest(*test);
    } else if (tzWritesRest()) {
      if (test->hasSamples()) runTest(*test);
    } else {
      break;
    }
  }
  tzProgress::end();
  return counts[TZ_FAIL] != 0 ? 1 : 0;
}

// The first function whose name contains the -F text opens the way for all later ones.
bool tzTestList::passesStart(const tzTest& test) {
  tzString& start = tzTest::m_startFunc;
  if (start.empty()) return true;
  if (test.funcName().find(start) < 0) return false;
  start = "";
  return true;
}

// A run that nobody counts.
void tzTestList::runAlone(tzTest& test) {
  tzTest::setCurrent(&test);
  tzProgress::beginTest(test);
  run(test);
  tzTest::setCurrent(nullptr);
}

void tzTestList::runTest(tzTest& test) {
  tzTest::setCurrent(&test);
  beforeTest();
  tzProgress::beginTest(test);
  const tzResult result = run(test);
  afterTest(&test);
  // A test that returns 0 after having ended OK chose not to be counted.
  if (result != TZ_UNDEFINED || test.lastResult() != TZ_OK) plus(result);
  tzTest::setCurrent(nullptr);
}

void tzTestList::plus(tzResult result) {
  if (result < 0 || result >= NUM_RESULTS) result = TZ_FAIL;
  ++total;
  ++counts[result];
  if (result > TZ_OK && result < TZ_WARNING) ++counts[TZ_WARNING];
  if (result > TZ_WARNING && result < TZ_FAIL) ++counts[TZ_FAIL];
}

void tzTestList::selectCommonParms(tzConditions& conditions, tzList<tzParameter*>& parms) {
  for (tzTest* test : *this) {
    if (!test->tobeRun(conditions)) continue;
    for (tzParameter* parm : test->parms()) {
      bool known = false;
      for (const tzParameter* other : parms) known = known || other == parm;
      if (!known) parms.push_back(parm);
    }
  }
}
