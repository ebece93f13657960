/// @file
/// The csv table stream.
#pragma once

#include <array>
#include <string>
#include <vector>

#include "tzostream.h"
#include "tzstring.h"

/// Assembles a line cell by cell and writes it, separated by commas, to its targets. An empty cell
/// is written as "-". A cell never holds a comma or a line end: commas become semicolons, line ends
/// blanks (a line end at the end of a cell is dropped).
class tzCStream : public tzTargets {
 public:
  static constexpr int NUM_CELLS = 32;

  /// Fills the next cell; beyond the last one the text is dropped. The text "\n" ends the line
  /// instead.
  tzCStream& operator<<(const tzString& text);
  template <tzWritable T>
  tzCStream& operator<<(const T& value) {
    tzString text;
    text << value;
    return *this << text;
  }
  /// Fills the next cell with several, joined by commas already.
  void putJoinedCells(const tzString& text);

  /// Fills cell `i` without counting it as used; nothing happens for a cell that does not exist.
  void setColm(int i, const tzString& text);
  /// @return false when there is no cell `i`
  bool getColm(int i, tzString& text) const;
  int used() const { return m_used; }
  /// Lines written so far.
  int lines() const { return m_lines; }

  /// Writes the first `count` cells, 0 meaning the used ones, as a line that is not counted; the
  /// cells stay. Cells that are not used are written as "-".
  void tableOut(int count);
  /// Writes and counts the line, remembers it for the check for identical lines, empties the cells.
  void lineOut(int count);
  /// Empties the cells.
  void tableFlush();

  /// Keeps the line back and empties the cells.
  void linePostpone();
  /// Writes the lines kept back, each with its first `count` cells.
  void linePostponeOut(int count);

  /// @name Identical lines
  /// @{

  /// From here on the first `width` cells (at most 32) of every line are remembered.
  void identicalLinesStart(int width);
  /// Ends it, warning of the first pair of lines that are equal in these cells.
  /// Without lines there is nothing to end: the next ones are remembered still.
  /// @return whether there was one
  bool identicalLinesStop();
  /// @}

  /// With the lines: their count, and those kept back.
  void pack(tzPacket& packet) const override;
  void unpack(tzPacket& packet) override;

 private:
  using Row = std::array<tzString, NUM_CELLS>;

  bool identicalLinesCheck() const;
  tzString& cell(int i) { return m_cells[static_cast<std::size_t>(i)]; }

  Row m_cells;
  int m_used = 0;
  int m_lines = 0;
  int m_checkWidth = 0;
  std::vector<std::string> m_written;  // the leading cells of each line, joined by line ends
  std::vector<Row> m_postponed;
};

extern tzCStream g_cstrm;  ///< results
extern tzCStream g_qstrm;  ///< parameter names
extern tzCStream g_ustrm;  ///< summary
extern tzCStream g_mstrm;  ///< memory
