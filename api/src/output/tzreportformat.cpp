// The layout of reports.
#include "tzreportformat.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>

#include "tzcstream.h"

namespace {

constexpr int kClosingColumn = tzReportFormat::FRAME_WIDTH - 1;
constexpr int kLabelWidth = 11;  // "CPU      : "

}  // namespace

tzReportFormat::tzReportFormat(bool framed) : m_framed(framed) {
  m_width[0] = kLabelWidth;
  m_width[1] = TEXT_WIDTH - kLabelWidth;
}

void tzReportFormat::setWidth(int column, int width) {
  if (column >= 0 && column < NUM_COLUMNS) m_width[column] = width;
}

tzString tzReportFormat::firstLine() const { return m_framed ? sepLine() : tzString(""); }

tzString tzReportFormat::lastLine() const { return firstLine(); }

tzString tzReportFormat::sepLine() {
  tzString line = "+";
  line.resize(kClosingColumn, '-');
  return line + "+\n";
}

tzString tzReportFormat::getLine(const tzString& item1, const tzString& item2,
                                 const tzString& item3, const tzString& item4,
                                 const tzString& item5, const tzString& item6) const {
  tzString rest[NUM_COLUMNS] = {item1, item2, item3, item4, item5, item6};
  tzString text;
  bool more = true;
  while (more) {
    more = false;
    setStartLine(text);
    for (int i = 0; i < NUM_COLUMNS; ++i) {
      if (m_width[i] == 0) continue;
      tzString piece;
      getPieceItem(rest[i], piece, std::abs(m_width[i]));
      setItem(text, piece, m_width[i]);
      more = more || !rest[i].empty();
    }
    setEndLine(text);
  }
  return text;
}

void tzReportFormat::setStartLine(tzString& line) const {
  if (m_framed) line += "| ";
}

void tzReportFormat::setEndLine(tzString& line) const {
  if (m_framed) {
    setOffsetLine(line, kClosingColumn);
    line += "|";
  } else {
    while (!line.empty() && line[line.length() - 1] == ' ') line.resize(line.length() - 1);
  }
  line += "\n";
}

void tzReportFormat::setOffsetLine(tzString& line, int n) {
  const int missing = n - getLastLen(line);
  if (missing > 0) line.resize(line.length() + missing);
}

int tzReportFormat::getLastLen(const tzString& line) {
  return line.length() - (line.rfind("\n") + 1);
}

void tzReportFormat::setItem(tzString& line, const tzString& item, int width) {
  if (width >= 0) return setItemLeft(line, item, width);
  setOffsetLine(line, getLastLen(line) - width - item.length());
  line += item;
}

void tzReportFormat::setItemLeft(tzString& line, const tzString& item, int width) {
  const int end = getLastLen(line) + width;
  line += item;
  setOffsetLine(line, end);
}

bool tzReportFormat::getPieceItem(tzString& line, tzString& piece, int width) {
  if (line.empty()) {
    piece = "";
    return false;
  }
  int length = line.length();
  int next = length;
  if (length > width) {
    // One character beyond the width may be the blank that ends a fitting word.
    const int blank = line.substr(0, width + 1).rfind(" ");
    length = blank > 0 ? blank : std::max(width, 1);
    next = blank > 0 ? blank + 1 : length;
  }
  piece = line.substr(0, length);
  line = line.substr(next);
  return true;
}

tzString tzReportFormat::getTimeStr(long long seconds) {
  seconds = std::max(seconds, 0LL);
  char text[32];
  std::snprintf(text, sizeof text, "%02d:%02d:%02d", static_cast<int>(seconds / 3600),
                static_cast<int>(seconds / 60 % 60), static_cast<int>(seconds % 60));
  return text;
}

tzString cutoffNL(const tzString& text) {
  std::string line = text.str();
  std::erase_if(line, [](char c) { return c == '\n' || c == '\r'; });
  return line;
}

tzString tzTimeString(time_t time) {
  char text[64];
  return ctime_r(&time, text) != nullptr ? cutoffNL(text) : tzString("");
}

void tzReport::add(const tzString& key, const tzString& value) {
  m_pairs.push_back(key);
  m_pairs.push_back(value);
}

void tzReport::putPairs(tzCStream& table) const {
  tzForEachPair(pairs(), [&table](const tzString& key, const tzString& value) {
    table << key << value << "\n";
  });
}

tzString tzReportLabel(const tzString& key, tzLabelWidth width) {
  char text[64];
  std::snprintf(text, sizeof text, "%-*s: ", width, key.c_str());
  return text;
}
