// A file line by line.
#include "report/linereader.h"

#include <cerrno>
#include <cstring>
#include <string_view>

#include "report/error.h"

namespace report {

namespace {
constexpr std::size_t kChunk = std::size_t{1} << 18;
}

LineReader::LineReader(std::string path)
    : m_path(std::move(path)), m_file(std::fopen(m_path.c_str(), "rbe")) {
  if (!m_file) throw Error(m_path, std::strerror(errno));
}

LineReader::LineReader(std::string name, std::string_view bytes)
    : m_path(std::move(name)), m_buffer(bytes.begin(), bytes.end()), m_filled(bytes.size()) {}

bool LineReader::fill() {
  if (m_at < m_filled) return true;
  if (!m_file) return false;
  m_buffer.resize(kChunk);
  m_at = 0;
  m_filled = std::fread(m_buffer.data(), 1, m_buffer.size(), m_file.get());
  // A folder is opened like a file, and tells it now.
  if (std::ferror(m_file.get()) != 0) throw Error(m_path, std::strerror(errno));
  return m_filled > 0;
}

char LineReader::peek() {
  if (!fill()) return '\0';
  const std::string_view text(m_buffer.data() + m_at, m_filled - m_at);
  const std::size_t first = text.find_first_not_of(" \t\r\n");
  return first == std::string_view::npos ? '\0' : text[first];
}

bool LineReader::next(std::string& line) {
  line.clear();
  if (!fill()) return false;
  ++m_number;
  m_closed = false;
  while (!m_closed && fill()) {
    const char* const from = m_buffer.data() + m_at;
    const std::size_t left = m_filled - m_at;
    const void* const end = std::memchr(from, '\n', left);
    m_closed = end != nullptr;
    const std::size_t length =
        m_closed ? static_cast<std::size_t>(static_cast<const char*>(end) - from) : left;
    if (line.size() + length > kMaxLine) {
      throw Error(m_path, m_number, "longer than " + std::to_string(kMaxLine >> 20) + " MiB");
    }
    line.append(from, length);
    m_at += length + (m_closed ? 1 : 0);
  }
  if (m_closed && line.ends_with('\r')) line.pop_back();
  return true;
}

}  // namespace report
