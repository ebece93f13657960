// Tables for a terminal, for Markdown, as csv.
#include "report/table.h"

#include <algorithm>
#include <ostream>

#include "report/text.h"

namespace report {

namespace {

constexpr int kGap = 2;
constexpr int kLeastLabel = 12;

const char* colourOf(Tone tone) {
  switch (tone) {
    case Tone::good:
      return "\x1b[32m";
    case Tone::bad:
      return "\x1b[31m";
    case Tone::doubtful:
      return "\x1b[33m";
    case Tone::quiet:
      return "\x1b[2m";
    default:
      return "";
  }
}

std::string painted(const Console& console, const std::string& text, Tone tone) {
  if (!console.colour || tone == Tone::plain || text.empty()) return text;
  return colourOf(tone) + text + "\x1b[0m";
}

std::string withoutBlanksBehind(std::string line) {
  line.resize(line.find_last_not_of(' ') + 1);
  return line;
}

template <class Enumeration>
Enumeration wordOf(const std::vector<std::string>& words, const std::string& word) {
  return static_cast<Enumeration>(std::find(words.begin(), words.end(), word) - words.begin());
}

}  // namespace

const std::vector<std::string>& formatWords() {
  static const std::vector<std::string> kWords{"text", "markdown", "csv"};
  return kWords;
}

Format formatOf(const std::string& word) { return wordOf<Format>(formatWords(), word); }

void Table::add(std::vector<Cell> cells) {
  cells.resize(m_columns.size(), Cell(""));
  m_rows.push_back(std::move(cells));
}

void Table::print(const Console& console, Format format) const {
  if (format == Format::text) printText(console);
  if (format == Format::markdown) printMarkdown(console.out);
  if (format == Format::csv) printCsv(console.out);
}

// What each column takes, with its gap; the widest labels give way until one figure fits beside
// them.
std::vector<int> Table::widths(int limit) const {
  std::vector<int> widths;
  for (std::size_t c = 0; c < m_columns.size(); ++c) {
    int width = textWidth(m_columns[c].title);
    for (const auto& row : m_rows) width = std::max(width, textWidth(row[c].text));
    widths.push_back(width + kGap);
  }
  int total = 0;
  int labels = 0;
  for (std::size_t c = 0; c < widths.size(); ++c) {
    total += widths[c];
    if (m_columns[c].kind == Column::label) labels += widths[c];
  }
  // Up to this many columns are taken from labels before figures go into blocks of their own.
  const int spare = std::max(limit - (total - labels), limit / 2);
  while (total > limit && labels > spare) {
    std::size_t widest = widths.size();
    for (std::size_t c = 0; c < widths.size(); ++c) {
      const bool shrinks = m_columns[c].kind == Column::label && widths[c] > kLeastLabel + kGap;
      if (shrinks && (widest == widths.size() || widths[c] > widths[widest])) widest = c;
    }
    if (widest == widths.size()) break;
    --widths[widest];
    --labels;
    --total;
  }
  return widths;
}

void Table::printText(const Console& console) const {
  const int limit = console.width + kGap;  // the last gap is not printed
  const std::vector<int> all = widths(limit);
  int labels = 0;
  for (std::size_t c = 0; c < all.size(); ++c) {
    if (m_columns[c].kind == Column::label) labels += all[c];
  }
  std::size_t from = 0;
  while (from < all.size()) {
    int used = labels;
    std::size_t to = from;
    bool any = false;
    for (; to < all.size(); ++to) {
      if (m_columns[to].kind == Column::label) continue;
      if (any && used + all[to] > limit) break;
      used += all[to];
      any = true;
    }
    if (from > 0) console.out << '\n';
    printBlock(console, all, from, to);
    from = to;
  }
}

void Table::printBlock(const Console& console, const std::vector<int>& widths, std::size_t from,
                       std::size_t to) const {
  const auto isShown = [&](std::size_t c) {
    return m_columns[c].kind == Column::label || (c >= from && c < to);
  };
  const auto printRow = [&](const std::vector<Cell>& cells) {
    std::vector<std::vector<std::string>> lines;
    std::size_t height = 1;
    for (std::size_t c = 0; c < widths.size(); ++c) {
      lines.push_back(wrapped(cells[c].text, widths[c] - kGap));
      if (isShown(c)) height = std::max(height, lines[c].size());
    }
    for (std::size_t i = 0; i < height; ++i) {
      std::string line;
      for (std::size_t c = 0; c < widths.size(); ++c) {
        if (!isShown(c)) continue;
        const std::string text = i < lines[c].size() ? lines[c][i] : "";
        const int room = widths[c] - kGap - textWidth(text);
        const std::string blanks(static_cast<std::size_t>(std::max(0, room)), ' ');
        const std::string shown = painted(console, text, cells[c].tone);
        line += m_columns[c].kind == Column::label ? shown + blanks : blanks + shown;
        line.append(kGap, ' ');
      }
      console.out << withoutBlanksBehind(line) << '\n';
    }
  };
  std::vector<Cell> titles;
  for (const Column& column : m_columns) titles.emplace_back(column.title, Tone::quiet);
  printRow(titles);
  for (const auto& row : m_rows) printRow(row);
}

void Table::printMarkdown(std::ostream& out) const {
  for (const Column& column : m_columns) out << "| " << markdownText(column.title) << ' ';
  out << "|\n";
  for (const Column& column : m_columns) out << (column.kind == Column::label ? "|---" : "|---:");
  out << "|\n";
  for (const auto& row : m_rows) {
    for (const Cell& cell : row) out << "| " << markdownText(cell.text) << ' ';
    out << "|\n";
  }
}

void Table::printCsv(std::ostream& out) const {
  for (std::size_t c = 0; c < m_columns.size(); ++c) {
    out << (c > 0 ? "," : "") << csvCell(m_columns[c].title);
  }
  out << '\n';
  for (const auto& row : m_rows) {
    for (std::size_t c = 0; c < row.size(); ++c) out << (c > 0 ? "," : "") << csvCell(row[c].text);
    out << '\n';
  }
}

void printHeading(const Console& console, Format format, const std::string& text) {
  if (format == Format::csv) return;
  if (format == Format::markdown) {
    console.out << "\n### " << markdownText(text) << "\n\n";
  } else {
    console.out << '\n' << (console.colour ? "\x1b[1m" + text + "\x1b[0m" : text) << '\n';
  }
}

void printParagraph(const Console& console, Format format, const std::string& text, Tone tone) {
  if (format == Format::csv) return;
  if (format == Format::markdown) {
    console.out << markdownText(text) << "\n\n";
    return;
  }
  for (const std::string& line : wrapped(text, console.width)) {
    console.out << painted(console, line, tone) << '\n';
  }
}

std::string markdownText(const std::string& text) {
  const auto isWord = [&](std::size_t i) {
    const auto c = i < text.size() ? static_cast<unsigned char>(text[i]) : '\0';
    return c >= 0x80 || (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z');
  };
  std::string shown;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const char c = text[i];
    const bool inWord = c == '_' && i > 0 && isWord(i - 1) && isWord(i + 1);
    if (std::string_view("\\`*_[]<>|&#~!@").find(c) != std::string_view::npos && !inWord)
      shown += '\\';
    shown += c;
  }
  return shown;
}

std::string csvCell(const std::string& text) {
  if (text.find_first_of(",\"\n\r") == std::string::npos) return text;
  std::string quoted = "\"";
  for (const char c : text) quoted += c == '"' ? std::string("\"\"") : std::string(1, c);
  return quoted + '"';
}

}  // namespace report
