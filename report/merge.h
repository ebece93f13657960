/// @file
/// Files of one run that was shared out (key -K) or gone on with (key -J), put into one.
#pragma once

#include <iosfwd>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "report/read.h"

namespace report {

/// Rows as the files have them, byte by byte; machines and settings are kept apart.
class Merger {
 public:
  /// Of the lines that are kept. Half a million rows with all their samples stay below it.
  static constexpr std::size_t kMaxBytes = std::size_t{2} << 30;

  /// @param maxBytes  lines of rows longer than that together are an error
  explicit Merger(std::size_t maxBytes = kMaxBytes) : m_maxBytes(maxBytes) {}
  /// Takes all runs of a file.
  /// @throws Error for what is no file of JSON Lines, for parts of different runs, and for more
  /// than all files together may hold
  void add(LineReader& reader);

  /// One run a machine and setting: a context, rows in the order of their functions, an end when
  /// all is complete.
  void write(std::ostream& out) const;

  /// What a user should know: rows that were there twice, parts that are missing or did not end.
  std::vector<std::string> notes() const;
  /// Whether every part is there to its end.
  bool complete() const;
  std::size_t rows() const { return m_rows; }
  std::size_t machines() const { return m_groups.size(); }

 private:
  struct Line {
    std::string key;
    std::string text;
  };
  /// One machine with one kind of settings.
  struct Group {
    std::string context;
    std::vector<Line> rows;
    std::map<std::string, std::size_t> owners;  ///< the source that a row was taken from
    End end;
  };
  /// What parts of one run have in common, on whatever machine.
  struct Whole {
    int count = 0;
    int selected = 0;
    std::map<int, bool> parts;  ///< whether each came to its end
  };
  struct Source;

  void begin(Source& source, Context&& context, const std::string& line);
  void take(Source& source, Row&& row, const std::string& line);
  void finish(Source& source);

  std::vector<std::string> missingParts() const;

  std::size_t m_maxBytes;
  std::size_t m_bytes = 0;
  std::size_t m_rows = 0;
  std::vector<std::string> m_order;  ///< keys of groups
  std::map<std::string, Group> m_groups;
  std::map<std::string, Whole> m_wholes;
  std::size_t m_sources = 0;
  std::size_t m_twice = 0;
  std::vector<std::string> m_twiceFirst;
  std::size_t m_comparisons = 0;
  std::vector<std::string> m_cut;
};

}  // namespace report
