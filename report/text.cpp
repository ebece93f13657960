// Texts from files made fit to be shown.
#include "report/text.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstdio>

namespace report {

namespace {

constexpr uint32_t kReplacement = 0xFFFD;

void append(std::string& text, uint32_t code) {
  if (code < 0x80) {
    text += static_cast<char>(code);
    return;
  }
  const int more = code < 0x800 ? 1 : code < 0x10000 ? 2 : 3;
  constexpr std::array<uint32_t, 4> kLead{0, 0xC0, 0xE0, 0xF0};
  text += static_cast<char>(kLead[static_cast<std::size_t>(more)] | (code >> (6 * more)));
  for (int i = more - 1; i >= 0; --i) {
    text += static_cast<char>(0x80 | ((code >> (6 * i)) & 0x3F));
  }
}

// The character at the beginning; its length in bytes is 0 where there is no valid one.
struct Character {
  uint32_t code = 0;
  std::size_t bytes = 0;
};

Character decode(std::string_view text) {
  const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(text[i]); };
  const uint32_t lead = byte(0);
  if (lead < 0x80) return {lead, 1};
  const std::size_t bytes = lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : 2;
  if (lead < 0xC2 || lead > 0xF4 || bytes > text.size()) return {};
  uint32_t code = lead & (0x7Fu >> bytes);
  for (std::size_t i = 1; i < bytes; ++i) {
    if ((byte(i) & 0xC0) != 0x80) return {};
    code = code << 6 | (byte(i) & 0x3F);
  }
  constexpr std::array<uint32_t, 5> kLeast{0, 0, 0x80, 0x800, 0x10000};
  const bool surrogate = code >= 0xD800 && code <= 0xDFFF;
  if (code < kLeast[bytes] || surrogate || code > 0x10FFFF) return {};
  return {code, bytes};
}

bool mayStay(uint32_t code) {
  const bool control = code < 0x20 || (code >= 0x7F && code < 0xA0);
  const bool direction = code == 0x61C || code == 0x200E || code == 0x200F ||
                         (code >= 0x2028 && code <= 0x202E) || (code >= 0x2066 && code <= 0x2069);
  return !control && !direction;
}

char lower(char c) { return static_cast<char>(c >= 'A' && c <= 'Z' ? c - 'A' + 'a' : c); }

}  // namespace

std::string cleanText(std::string_view text) {
  std::string clean;
  clean.reserve(text.size());
  while (!text.empty()) {
    Character next = decode(text);
    if (next.bytes == 0) next = {static_cast<unsigned char>(text[0]), 1};
    append(clean, mayStay(next.code) ? next.code : kReplacement);
    text.remove_prefix(next.bytes);
  }
  return clean;
}

int textWidth(std::string_view text) {
  return static_cast<int>(std::count_if(text.begin(), text.end(), [](char c) {
    return (static_cast<unsigned char>(c) & 0xC0) != 0x80;
  }));
}

std::string padRight(std::string text, int width) {
  text.append(static_cast<std::size_t>(std::max(0, width - textWidth(text))), ' ');
  return text;
}

std::string shortened(const std::string& text, int width) {
  if (textWidth(text) <= width) return text;
  std::string_view rest = text;
  std::string kept;
  for (int i = 0; i + 1 < width; ++i) {
    const std::size_t bytes = std::max<std::size_t>(1, decode(rest).bytes);
    kept += rest.substr(0, bytes);
    rest.remove_prefix(bytes);
  }
  return width > 0 ? kept + "\u2026" : kept;
}

std::vector<std::string> wrapped(const std::string& text, int width) {
  const auto room = static_cast<std::size_t>(std::max(width, 1));
  std::vector<std::string> glyphs;
  for (std::string_view rest = text; !rest.empty(); rest.remove_prefix(glyphs.back().size())) {
    glyphs.emplace_back(rest.substr(0, std::max<std::size_t>(1, decode(rest).bytes)));
  }
  std::vector<std::string> lines;
  std::size_t at = 0;
  do {
    std::size_t end = std::min(glyphs.size(), at + room);
    if (end < glyphs.size()) {
      // A blank behind the last column ends a line that fits.
      std::size_t blank = end + 1;
      while (blank > at && glyphs[blank - 1] != " ") --blank;
      std::size_t bar = end;
      while (bar > at && glyphs[bar - 1] != "_") --bar;
      if (blank > at || bar > at) end = blank > at ? blank : bar;
    }
    std::string line;
    for (; at < end; ++at) line += glyphs[at];
    while (line.ends_with(' ')) line.pop_back();
    lines.push_back(line);
  } while (at < glyphs.size());
  return lines;
}

std::string formatted(const char* format, double value) {
  std::array<char, 400> text{};
  std::snprintf(text.data(), text.size(), format, value);
  return text.data();
}

std::string figureText(double value) {
  if (!std::isfinite(value)) return "-";
  if (value != 0 && (std::abs(value) < 0.0001 || std::abs(value) > 1e7)) {
    return formatted("%.2e", value);
  }
  for (const auto& [limit, format] :
       {std::pair{0.1, "%.4f"}, {1.0, "%.3f"}, {10.0, "%.2f"}, {100.0, "%.1f"}}) {
    if (std::abs(value) < limit) return formatted(format, value);
  }
  return formatted("%.0f", value);
}

std::string bytesText(double bytes) {
  constexpr std::array<const char*, 5> kUnits{"B", "KiB", "MiB", "GiB", "TiB"};
  std::size_t unit = 0;
  while (bytes >= 1024 && unit + 1 < kUnits.size()) {
    bytes /= 1024;
    ++unit;
  }
  const bool whole = bytes == std::floor(bytes) || bytes >= 100;
  return formatted(whole ? "%.0f " : "%.1f ", bytes) + kUnits[unit];
}

std::string counted(std::size_t count, const char* noun) {
  return std::to_string(count) + ' ' + noun + (count == 1 ? "" : "s");
}

std::string exactText(double value) {
  if (!std::isfinite(value)) return "null";
  std::array<char, 32> text{};
  const auto [end, fault] = std::to_chars(text.data(), text.data() + text.size(), value);
  return fault == std::errc{} ? std::string(text.data(), end) : "null";
}

std::vector<std::string> split(std::string_view text, char separator) {
  std::vector<std::string> parts;
  while (true) {
    const std::size_t end = text.find(separator);
    parts.emplace_back(text.substr(0, end));
    if (end == std::string_view::npos) return parts;
    text.remove_prefix(end + 1);
  }
}

bool containsWord(std::string_view text, std::string_view word) {
  return std::search(text.begin(), text.end(), word.begin(), word.end(),
                     [](char a, char b) { return lower(a) == lower(b); }) != text.end();
}

bool containsWords(std::string_view text, std::string_view words) {
  const std::vector<std::string> all = split(words, ' ');
  return std::all_of(all.begin(), all.end(),
                     [text](const std::string& word) { return containsWord(text, word); });
}

}  // namespace report
