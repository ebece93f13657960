/// @file
/// The library's functions against the tests that cover them (keys -e, -e+ and -e-).
#pragma once

#include "tzlist.h"
#include "tzstring.h"

class tzCStream;
class tzConditions;
class tzOStream;
class tzTestList;

/// What a list shows, by the sign of its key.
enum tzReportListMode {
  LIST_UNTESTED = -1,  ///< -e-: library functions without a test
  LIST_TESTS = 0,      ///< -e: the tests
  LIST_FUNCTIONS = 1   ///< -e+: library functions, each with whether a test exists
};

/// One line of a list.
struct tzReportListEntry {
  tzString function;
  tzString second;  ///< the test; of a library function, whether one exists
  tzString source;
};

class tzReportList {
 public:
  /// Lists what the conditions select.
  /// @param tests,conditions  must outlive the report
  /// @param mode              a tzReportListMode
  tzReportList(const tzTestList& tests, tzConditions& conditions, int mode);

  /// The "Exist" column: whether the list holds a test of this function.
  static bool presentInTestList(const tzString& name, const tzTestList& tests);
  /// Whether, by its name, a function only serves measured ones: it makes, frees, fills or queries
  /// what they work on and needs no test of its own.
  static bool isHelperFunction(const tzString& name);

  int mode() const { return m_mode; }
  const tzList<tzReportListEntry>& entries() const { return m_entries; }
  int numTested() const { return m_numTested; }
  int numUntested() const { return m_numUntested; }
  /// Helper functions without a test, which the lists leave out.
  const tzStringList& helpers() const { return m_helpers; }

 private:
  void createFuncList();
  bool isSelected(const tzString& name, bool exists) const;
  void addFunction(const tzString& name);

  const tzTestList& m_tests;
  tzConditions& m_conditions;
  int m_mode;
  tzStringList m_functions;  // of the loaded libraries, sorted, without helpers
  tzStringList m_helpers;
  tzList<tzReportListEntry> m_entries;
  int m_numTested = 0;
  int m_numUntested = 0;
};
tzOStream& operator<<(tzOStream& os, const tzReportList& report);
tzCStream& operator<<(tzCStream& table, const tzReportList& report);
