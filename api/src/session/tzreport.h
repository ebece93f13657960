/// @file
/// Reports of a run: the state of a run as console text and as csv lines. Each is built from its
/// source object and written with << to either kind of stream.
#pragma once

#include "tzreportformat.h"

class tzOStream;
class tzTestList;

/// The heading of a run: machine, system, library, start. It collects these when they are first
/// asked for, since that may take the one to two seconds of a frequency estimate: a stream that
/// nobody reads costs nothing.
class tzReportTitle : public tzReport {
 public:
  /// @param tests  must outlive the report
  explicit tzReportTitle(const tzTestList& tests) : m_tests(tests) {}
  const tzStringList& pairs() const override;
  /// The timing method in words.
  static tzString timingText();
  /// Which tests were asked for, as keys; "all" without any.
  static tzString testText();

 private:
  void collect();
  const tzTestList& m_tests;
};
tzOStream& operator<<(tzOStream& os, const tzReportTitle& report);
tzCStream& operator<<(tzCStream& table, const tzReportTitle& report);

/// Writes the title to the console and to the summary table, which also gets the heading of its
/// columns.
void tzPutTitle(const tzTestList& tests);

/// The totals of a run.
class tzReportEnd : public tzReport {
 public:
  explicit tzReportEnd(const tzTestList& tests);
};
tzOStream& operator<<(tzOStream& os, const tzReportEnd& report);
tzCStream& operator<<(tzCStream& table, const tzReportEnd& report);
