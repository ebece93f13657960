/// @file
/// Reports of one test: its heading and its summary. Built from a test that they know by what it
/// tells of itself alone.
#pragma once

#include "tzreportformat.h"
#include "tzresult.h"

class tzOStream;

/// The heading of one test.
class tzReportTestTitle : public tzReport {
 public:
  /// @param test  a tzTest
  template <class Test>
  explicit tzReportTestTitle(const Test& test) : m_function(test.funcName()), m_kind(test.kind()) {
    add("Function", m_function);
    add("Test", test.regInfo());
    add("Source", test.source());
    add("Description", test.getComment());
  }
  const tzString& function() const { return m_function; }
  const tzString& kind() const { return m_kind; }  ///< tzTest::kind

 private:
  tzString m_function;
  tzString m_kind;
};
tzOStream& operator<<(tzOStream& os, const tzReportTestTitle& report);
/// Begins a row with two cells, the function and its kind, and leaves it under construction.
tzCStream& operator<<(tzCStream& table, const tzReportTestTitle& report);

/// The summary of one test after its run.
class tzReportTestResult : public tzReport {
 public:
  /// @param test  a tzTest
  template <class Test>
  explicit tzReportTestResult(const Test& test)
      : tzReportTestResult(Facts{test.lastResult(), test.funcName(), test.kind(), test.regInfo(),
                                 test.source(), test.startTime(), test.endTime(), test.isBad87(),
                                 test.isBadSSX()}) {}
  /// The names of the summary line's parts, joined by commas.
  static tzString summaryHeader();
  /// The summary line; empty for a test that did not run.
  tzString summary() const;
  /// The line without its first two parts, which the title's row begins with as well.
  const tzString& summaryRest() const { return m_summaryRest; }
  const tzString& function() const { return m_function; }
  const tzString& kind() const { return m_kind; }
  tzResult result() const { return m_result; }

 private:
  struct Facts {
    tzResult result;
    tzString function;
    tzString kind;
    tzString name;
    tzString source;
    time_t start;
    time_t end;
    bool bad87;
    bool badSSX;
  };
  explicit tzReportTestResult(const Facts& test);

  tzResult m_result;
  tzString m_function;
  tzString m_kind;
  tzString m_summaryRest;
};
tzOStream& operator<<(tzOStream& os, const tzReportTestResult& report);
/// Writes the summary line as one cell and ends the row. A row that the title has begun is
/// completed instead, so that it agrees with the heading.
tzCStream& operator<<(tzCStream& table, const tzReportTestResult& report);
