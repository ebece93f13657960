/// @file
/// A file line by line, with lines of bounded length.
#pragma once

#include <cstddef>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

namespace report {

class LineReader {
 public:
  /// A row of some hundred thousand samples still fits.
  static constexpr std::size_t kMaxLine = std::size_t{16} << 20;

  /// @throws Error when the file cannot be opened
  explicit LineReader(std::string path);
  /// Bytes that lie in memory, under a name.
  LineReader(std::string name, std::string_view bytes);

  /// The next line without its end; false when there is none.
  /// @throws Error when reading fails or the line is too long
  bool next(std::string& line);
  /// Whether the last line was closed by a line end.
  bool closed() const { return m_closed; }
  /// Of the last line, from 1.
  std::size_t number() const { return m_number; }
  const std::string& path() const { return m_path; }
  /// The first bytes of the file that are no blanks, without taking them.
  char peek();

 private:
  bool fill();
  struct Closer {
    void operator()(std::FILE* file) const { std::fclose(file); }
  };

  std::string m_path;
  std::unique_ptr<std::FILE, Closer> m_file;
  std::vector<char> m_buffer;
  std::size_t m_at = 0;
  std::size_t m_filled = 0;
  std::size_t m_number = 0;
  bool m_closed = true;
};

}  // namespace report
