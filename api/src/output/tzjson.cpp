// Objects as text, a line each.
#include "tzjson.h"

#include <charconv>
#include <cmath>
#include <cstdio>
#include <ctime>

[[gnu::init_priority(201)]] tzJsonStream g_jstrm;

namespace {

// Bytes of the character that begins at `at`; 0 where none does.
std::size_t utf8Length(const std::string& text, std::size_t at) {
  const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(text[at + i]); };
  const unsigned first = byte(0);
  const std::size_t length = first < 0xC2 ? 0 : first < 0xE0 ? 2 : first < 0xF0 ? 3 : 4;
  if (length == 0 || first > 0xF4 || at + length > text.size()) return 0;
  for (std::size_t i = 1; i < length; ++i) {
    if ((byte(i) & 0xC0) != 0x80) return 0;
  }
  const unsigned second = byte(1);
  const bool outside = (first == 0xE0 && second < 0xA0) || (first == 0xED && second >= 0xA0) ||
                       (first == 0xF0 && second < 0x90) || (first == 0xF4 && second >= 0x90);
  return outside ? 0 : length;
}

std::string escaped(unsigned char byte) {
  char text[8];
  std::snprintf(text, sizeof text, "\\u%04x", unsigned{byte});
  return text;
}

}  // namespace

std::string tzJson::quoted(const std::string& text) {
  std::string out = "\"";
  for (std::size_t at = 0; at < text.size();) {
    const auto byte = static_cast<unsigned char>(text[at]);
    std::size_t length = 1;
    if (byte == '"' || byte == '\\') {
      out += '\\';
      out += text[at];
    } else if (byte < 0x20 || byte == 0x7F) {
      out += escaped(byte);
    } else if (byte < 0x80) {
      out += text[at];
    } else if ((length = utf8Length(text, at)) != 0) {
      out.append(text, at, length);
    } else {
      length = 1;
      out += escaped(byte);
    }
    at += length;
  }
  return out + '"';
}

std::string tzJson::literal(double value) {
  if (!std::isfinite(value)) return "null";
  char text[32];
  const std::to_chars_result end = std::to_chars(text, text + sizeof text, value);
  return {text, end.ptr};
}

tzJson& tzJson::putRaw(const char* name, const std::string& value) {
  return putMembers(quoted(name) + ":" + value);
}

tzJson& tzJson::putMembers(const std::string& members) {
  if (!m_members.empty() && !members.empty()) m_members += ',';
  m_members += members;
  return *this;
}

tzJsonStream& tzJsonStream::operator<<(const tzJson& line) {
  if (!hasTargets()) return *this;
  const std::string text = line.text() + "\n";
  put(text.data(), text.size());
  flush();
  return *this;
}

tzString tzIsoTime(long long seconds) {
  const auto time = static_cast<time_t>(seconds);
  std::tm parts{};
  gmtime_r(&time, &parts);
  char text[64];
  std::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%SZ", &parts);
  return text;
}
