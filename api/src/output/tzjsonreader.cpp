// A scanner of JSON that checks everything and keeps the outermost members alone.
#include "tzjsonreader.h"

#include <charconv>
#include <cstdint>

namespace {

bool isDigit(char c) { return c >= '0' && c <= '9'; }

int hexDigit(char c) {
  if (isDigit(c)) return c - '0';
  const char lower = static_cast<char>(c | 0x20);
  return lower >= 'a' && lower <= 'f' ? lower - 'a' + 10 : -1;
}

/// A place in a text. Each step moves over one thing and tells whether it was there.
class Scanner {
 public:
  explicit Scanner(std::string_view text) : m_text(text) {}

  bool atEnd() const { return m_at == m_text.size(); }
  std::size_t at() const { return m_at; }
  std::string_view since(std::size_t from) const { return m_text.substr(from, m_at - from); }

  bool take(char c) {
    if (peek() != c) return false;
    ++m_at;
    return true;
  }

  void blanks() {
    while (peek() == ' ' || peek() == '\t' || peek() == '\r' || peek() == '\n') ++m_at;
  }

  bool string() {
    if (!take('"')) return false;
    while (!atEnd() && peek() != '"') {
      if (static_cast<unsigned char>(peek()) < 0x20) return false;
      if (take('\\') ? !escape() : !any()) return false;
    }
    return take('"');
  }

  /// @param member  called with name and value of each member of an outermost object
  template <class Member>
  bool object(int depth, Member member) {
    return sequence(depth, "{}", [&] {
      const std::size_t nameAt = m_at;
      if (!string()) return false;
      const std::string_view name = since(nameAt);
      blanks();
      if (!take(':')) return false;
      blanks();
      const std::size_t valueAt = m_at;
      return value(depth) && member(name, since(valueAt));
    });
  }

  /// @param item  called with each item of an outermost array
  template <class Item>
  bool array(int depth, Item item) {
    return sequence(depth, "[]", [&] {
      const std::size_t itemAt = m_at;
      if (!value(depth)) return false;
      item(since(itemAt));
      return true;
    });
  }

 private:
  // What stands between brackets, with commas between.
  template <class Element>
  bool sequence(int depth, const char* brackets, Element element) {
    if (depth > tzJsonReader::MAX_DEPTH || !take(brackets[0])) return false;
    blanks();
    if (take(brackets[1])) return true;
    do {
      blanks();
      if (!element()) return false;
      blanks();
    } while (take(','));
    return take(brackets[1]);
  }

  char peek() const { return atEnd() ? '\0' : m_text[m_at]; }

  bool any() {
    if (atEnd()) return false;
    ++m_at;
    return true;
  }

  bool escape() {
    if (!take('u')) {
      const bool known =
          !atEnd() && std::string_view("\"\\/bfnrt").find(peek()) != std::string_view::npos;
      return known && any();
    }
    for (int i = 0; i < 4; ++i) {
      if (hexDigit(peek()) < 0 || !any()) return false;
    }
    return true;
  }

  bool digits() {
    if (!isDigit(peek())) return false;
    while (isDigit(peek())) ++m_at;
    return true;
  }

  bool number() {
    take('-');
    if (!take('0') && !digits()) return false;
    if (take('.') && !digits()) return false;
    if (!take('e') && !take('E')) return true;
    if (!take('+')) take('-');
    return digits();
  }

  bool word(std::string_view text) {
    if (m_text.substr(m_at, text.size()) != text) return false;
    m_at += text.size();
    return true;
  }

  bool value(int depth) {
    switch (peek()) {
      case '{':
        return object(depth + 1, [](std::string_view, std::string_view) { return true; });
      case '[':
        return array(depth + 1, [](std::string_view) {});
      case '"':
        return string();
      case 't':
        return word("true");
      case 'f':
        return word("false");
      case 'n':
        return word("null");
      default:
        return number();
    }
  }

  std::string_view m_text;
  std::size_t m_at = 0;
};

void addUtf8(std::uint32_t code, std::string& out) {
  const auto put = [&](std::uint32_t byte) { out += static_cast<char>(byte); };
  if (code < 0x80) return put(code);
  if (code < 0x800) {
    put(0xC0 | code >> 6);
  } else if (code < 0x10000) {
    put(0xE0 | code >> 12);
    put(0x80 | (code >> 6 & 0x3F));
  } else {
    put(0xF0 | code >> 18);
    put(0x80 | (code >> 12 & 0x3F));
    put(0x80 | (code >> 6 & 0x3F));
  }
  put(0x80 | (code & 0x3F));
}

std::uint32_t fourDigits(std::string_view text, std::size_t at) {
  std::uint32_t code = 0;
  for (std::size_t i = 0; i < 4; ++i)
    code = code << 4 | static_cast<std::uint32_t>(hexDigit(text[at + i]));
  return code;
}

// What stands between the quotes of a string that was scanned already.
std::string decoded(std::string_view quoted) {
  if (quoted.size() < 2 || quoted[0] != '"') return {};
  const std::string_view text = quoted.substr(1, quoted.size() - 2);
  std::string out;
  for (std::size_t at = 0; at < text.size(); ++at) {
    if (text[at] != '\\') {
      out += text[at];
      continue;
    }
    const char kind = text[++at];
    if (kind != 'u') {
      const std::size_t place = std::string_view("bfnrt").find(kind);
      out += place == std::string_view::npos ? kind : "\b\f\n\r\t"[place];
      continue;
    }
    std::uint32_t code = fourDigits(text, at + 1);
    at += 4;
    const bool pair = code >= 0xD800 && code < 0xDC00 && text.substr(at + 1, 2) == "\\u";
    const std::uint32_t low = pair ? fourDigits(text, at + 3) : 0;
    if (low >= 0xDC00 && low < 0xE000) {
      code = 0x10000 + ((code - 0xD800) << 10) + (low - 0xDC00);
      at += 6;
    }
    addUtf8(code, out);
  }
  return out;
}

}  // namespace

bool tzJsonReader::read(std::string_view text) {
  m_members.clear();
  Scanner scanner(text);
  const bool good = scanner.object(1, [this](std::string_view name, std::string_view value) {
    const std::string_view bare = name.substr(1, name.size() - 2);
    if (!raw(bare).empty()) return false;
    m_members.emplace_back(bare, value);
    return true;
  });
  if (!good || !scanner.atEnd()) m_members.clear();
  return good && scanner.atEnd();
}

std::string_view tzJsonReader::raw(std::string_view name) const {
  for (const auto& [known, value] : m_members) {
    if (known == name) return value;
  }
  return {};
}

std::string tzJsonReader::text(std::string_view name) const { return decoded(raw(name)); }

double tzJsonReader::number(std::string_view name) const {
  const std::string_view value = raw(name);
  double told = 0;
  std::from_chars(value.data(), value.data() + value.size(), told);
  return told;
}

std::vector<std::string> tzJsonReader::texts(std::string_view name) const {
  std::vector<std::string> items;
  Scanner scanner(raw(name));
  scanner.array(1, [&items](std::string_view item) {
    if (item[0] == '"') items.push_back(decoded(item));
  });
  return items;
}
