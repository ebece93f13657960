/// @file
/// Reports: the state of a run as console text and as csv lines. Each is built from its source
/// object and written with << to either kind of stream.
#pragma once

#include <ctime>

#include "tzlist.h"
#include "tzresult.h"
#include "tzstring.h"

class tzCStream;
class tzOStream;
class tzTest;
class tzTestList;

/// Layout of the console forms: lines of up to six items in columns, with or without a frame of
/// 79 characters. Lines are appended to a text; "the line" is what follows its last line end.
class tzReportFormat {
 public:
  static constexpr int NUM_COLUMNS = 6;
  static constexpr int FRAME_WIDTH = 79;
  /// Characters inside the frame that an item can use, blank margins left out.
  static constexpr int TEXT_WIDTH = FRAME_WIDTH - 4;

  /// Two columns, a label and its value, over the width of the frame.
  explicit tzReportFormat(bool framed = true);

  /// @param width  0: no such column; negative: items stand against the column's right end
  void setWidth(int column, int width);
  bool isFramed() const { return m_framed; }

  /// The frame's top and bottom; empty without a frame.
  tzString firstLine() const;
  tzString lastLine() const;
  /// "+-----+" and a line end, 79 characters wide, with or without a frame.
  static tzString sepLine();

  /// One line of items, each in its column; an item that does not fit goes on in the same column
  /// of further lines.
  tzString getLine(const tzString& item1, const tzString& item2 = "", const tzString& item3 = "",
                   const tzString& item4 = "", const tzString& item5 = "",
                   const tzString& item6 = "") const;

  void setStartLine(tzString& line) const;
  void setEndLine(tzString& line) const;
  /// Pads the line with blanks to n characters.
  static void setOffsetLine(tzString& line, int n);
  /// Length of the line.
  static int getLastLen(const tzString& line);
  /// Appends `item` in |width| characters, at the right end when width is negative. An item that
  /// is longer is kept whole.
  static void setItem(tzString& line, const tzString& item, int width);
  static void setItemLeft(tzString& line, const tzString& item, int width);
  /// Moves from the front of `line` what fits in `width` characters into `piece`, up to a blank
  /// when there is one.
  /// @return false when `line` was empty
  static bool getPieceItem(tzString& line, tzString& piece, int width);
  /// "01:02:05"; hours are not limited to 24.
  static tzString getTimeStr(long long seconds);

 private:
  bool m_framed;
  int m_width[NUM_COLUMNS] = {};
};

/// `text` without line ends.
tzString cutoffNL(const tzString& text);

/// Calendar time in the standard form, "Fri Nov 21 05:17:00 2025".
tzString tzTimeString(time_t time);

/// Adds one library's name, version and build date to the title.
void tzRegLibInfo(const tzString& info);
/// What was added, in order.
const tzStringList& tzLibInfo();

/// Common to the reports: key/value pairs, keys and values alternating.
class tzReport {
 public:
  virtual ~tzReport() = default;
  virtual const tzStringList& pairs() const { return m_pairs; }
  /// One line a pair, two cells each.
  void putPairs(tzCStream& table) const;

 protected:
  void add(const tzString& key, const tzString& value);

  tzStringList m_pairs;
};

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

/// The heading of one test.
class tzReportTestTitle : public tzReport {
 public:
  explicit tzReportTestTitle(const tzTest& test);
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
  explicit tzReportTestResult(const tzTest& test);
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
  tzResult m_result;
  tzString m_function;
  tzString m_kind;
  tzString m_summaryRest;
};
tzOStream& operator<<(tzOStream& os, const tzReportTestResult& report);
/// Writes the summary line as one cell and ends the row. A row that the title has begun is
/// completed instead, so that it agrees with the heading.
tzCStream& operator<<(tzCStream& table, const tzReportTestResult& report);

/// The totals of a run.
class tzReportEnd : public tzReport {
 public:
  explicit tzReportEnd(const tzTestList& tests);
};
tzOStream& operator<<(tzOStream& os, const tzReportEnd& report);
tzCStream& operator<<(tzCStream& table, const tzReportEnd& report);
