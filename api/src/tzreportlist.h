/// @file
/// The library's functions against the tests that cover them (keys -e, -e+ and -e-).
#pragma once

#include "tzlist.h"
#include "tzreport.h"
#include "tzstring.h"

class tzCStream;
class tzConditions;
class tzOStream;
class tzTestList;

/// What a list shows, by the sign of its key.
enum tzReportListMode {
  LIST_UNTESTED = -1,  ///< -e-: library functions without a test
  LIST_TESTS = 0,      ///< -e: the selected tests
  LIST_FUNCTIONS = 1   ///< -e+: library functions, each with whether a test exists, and the tests
};

class tzReportList {
 public:
  /// @param tests,conditions  must outlive the report
  /// @param mode              a tzReportListMode
  tzReportList(const tzTestList& tests, tzConditions& conditions, int mode);

  /// Reads the library's functions from the loaded libraries, sorted; helper functions apart.
  void createFuncList();
  /// The "Exist" column: whether the list holds a test of this function.
  static bool presentInTestList(const tzString& name, const tzTestList& tests);
  /// Whether a function only serves measured ones (makes, frees, fills or queries their objects):
  /// it needs no test of its own.
  static bool isHelperFunction(const tzString& name);

  const tzTestList& tests() const { return m_tests; }
  tzConditions& conditions() const { return m_conditions; }
  int mode() const { return m_mode; }
  const tzStringList& functions() const { return m_functions; }
  const tzStringList& helpers() const { return m_helpers; }

 private:
  const tzTestList& m_tests;
  tzConditions& m_conditions;
  int m_mode;
  tzStringList m_functions;
  tzStringList m_helpers;
};
tzOStream& operator<<(tzOStream& os, const tzReportList& report);
tzCStream& operator<<(tzCStream& table, const tzReportList& report);
