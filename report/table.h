/// @file
/// Tables for a terminal, for Markdown, as csv.
#pragma once

#include <iosfwd>
#include <string>
#include <vector>

#include "report/command.h"

namespace report {

enum class Format { text, markdown, csv };
/// The words of an option, in the order of the enumeration.
const std::vector<std::string>& formatWords();
Format formatOf(const std::string& word);

enum class Tone { plain, good, bad, doubtful, quiet };

struct Cell {
  Cell(std::string content, Tone look = Tone::plain) : text(std::move(content)), tone(look) {}
  Cell(const char* content) : text(content) {}
  std::string text;
  Tone tone = Tone::plain;
};

struct Column {
  std::string title;
  enum Kind { label, figure } kind = label;  ///< figures stand to the right and are never broken
};

/// Rows of cells. As text it keeps to the console's width: labels are shortened, and figures that
/// do not fit follow in a block of their own below the same labels.
class Table {
 public:
  explicit Table(std::vector<Column> columns) : m_columns(std::move(columns)) {}
  /// @param cells  one a column; what is missing at the end is empty
  void add(std::vector<Cell> cells);
  bool empty() const { return m_rows.empty(); }
  void print(const Console& console, Format format) const;

 private:
  void printText(const Console& console) const;
  void printBlock(const Console& console, const std::vector<int>& widths, std::size_t from,
                  std::size_t to) const;
  void printMarkdown(std::ostream& out) const;
  void printCsv(std::ostream& out) const;
  std::vector<int> widths(int limit) const;

  std::vector<Column> m_columns;
  std::vector<std::vector<Cell>> m_rows;
};

/// A heading and running text in the format; csv has neither.
void printHeading(const Console& console, Format format, const std::string& text);
/// Long lines of text are broken at blanks.
void printParagraph(const Console& console, Format format, const std::string& text,
                    Tone tone = Tone::plain);

/// Text that Markdown shows as it is.
std::string markdownText(const std::string& text);
/// A cell of a csv file, quoted where it has to be.
std::string csvCell(const std::string& text);

}  // namespace report
