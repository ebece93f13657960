/// @file
/// The layout that reports share: key and value pairs, lines in columns.
#pragma once

#include <ctime>

#include "tzlist.h"
#include "tzstring.h"

class tzCStream;

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

/// A key in front of its value, padded so that values stand below each other.
/// @{
enum tzLabelWidth { TITLE_LABEL = 9, TEST_LABEL = 11, END_LABEL = 16 };
tzString tzReportLabel(const tzString& key, tzLabelWidth width);
/// @}

/// Calls visit(key, value) for every pair.
template <class Visit>
void tzForEachPair(const tzStringList& pairs, Visit visit) {
  for (auto it = pairs.begin(); it != pairs.end(); ++it) {
    const tzString& key = *it;
    visit(key, *++it);
  }
}
