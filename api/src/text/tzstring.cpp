// Texts, and conversions from and to values.
#include "tzstring.h"

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <utility>

namespace {

std::size_t positive(int n) { return static_cast<std::size_t>(std::max(n, 0)); }

int bufferSize(int length) { return (length + 1 + 15) / 16 * 16; }

int lastSeparator(const tzString& path) {
  return static_cast<int>(static_cast<std::ptrdiff_t>(path.str().find_last_of("/\\")));
}

template <class Value>
tzString formatted(const char* format, Value value) {
  char text[64];
  std::snprintf(text, sizeof text, format, value);
  return text;
}

bool isBlank(const tzString& text) {
  const char* c = text.c_str();
  while (std::isspace(static_cast<unsigned char>(*c)) != 0) ++c;
  return *c == 0;
}

bool isHexadecimal(const tzString& text) {
  return text.length() > 1 && text[0] == '0' && (text[1] == 'x' || text[1] == 'X');
}

// Reads as far as the digits go; `T` holds the result, `Unsigned` what hexadecimal may fill.
template <class T, class Unsigned>
T& readInteger(T& value, const tzString& text) {
  text.setFail(false);
  if (isBlank(text)) return value;
  const char* const start = text.c_str();
  char* stop = nullptr;
  errno = 0;
  if (isHexadecimal(text)) {
    const unsigned long long bits = std::strtoull(start, &stop, 16);
    const bool good = stop > start + 2 && errno == 0 && std::in_range<Unsigned>(bits);
    if (good) value = static_cast<T>(static_cast<Unsigned>(bits));
    text.setFail(!good);
  } else {
    const long long number = std::strtoll(start, &stop, 10);
    const bool good = stop != start && errno == 0 && std::in_range<T>(number);
    if (good) value = static_cast<T>(number);
    text.setFail(!good);
  }
  return value;
}

template <class T>
T& readReal(T& value, const tzString& text) {
  text.setFail(false);
  if (isBlank(text)) return value;
  char* stop = nullptr;
  const double number = std::strtod(text.c_str(), &stop);
  const bool infinite = std::isinf(number);
  const bool overflow = infinite && std::strpbrk(text.c_str(), "iI") == nullptr;
  const bool tooLarge = !infinite && std::abs(number) > std::numeric_limits<T>::max();
  const bool good = stop != text.c_str() && !overflow && !tooLarge;
  if (good) value = static_cast<T>(number);
  text.setFail(!good);
  return value;
}

}  // namespace

tzString::tzString(const char* text) : m_text(text != nullptr ? text : "") { refit(); }

tzString::tzString(const std::string& text) : m_text(text) { refit(); }

tzString::tzString(const tzString& other) : m_text(other.m_text) { refit(); }

tzString::tzString(tzString&& other) noexcept
    : m_text(std::exchange(other.m_text, {})), m_capacity(std::exchange(other.m_capacity, 0)) {}

tzString& tzString::operator=(const tzString& other) {
  m_text = other.m_text;
  return refit();
}

tzString& tzString::operator=(tzString&& other) noexcept {
  m_text.swap(other.m_text);
  std::swap(m_capacity, other.m_capacity);
  return *this;
}

tzString& tzString::refit() {
  m_capacity = bufferSize(length());
  return *this;
}

void tzString::allocate(int length) {
  m_text.assign(positive(length), '\0');
  refit();
}

void tzString::growBy(int count) {
  m_text.resize(positive(length() + count), '\0');
  if (length() >= m_capacity) refit();
}

void tzString::resize(int length, char fill) {
  m_text.resize(positive(length), fill);
  if (this->length() >= m_capacity) refit();
}

tzString& tzString::operator+=(const tzString& text) {
  m_text += text.m_text;
  return length() >= m_capacity ? refit() : *this;
}

bool operator==(const tzString& a, const tzString& b) { return a == b.c_str(); }

bool operator==(const tzString& a, const char* b) {
  return std::strcmp(a.c_str(), b != nullptr ? b : "") == 0;
}

int tzString::compare(const tzString& other) const {
  const int common = std::min(length(), other.length());
  for (int i = 0; i < common; ++i) {
    const auto a = static_cast<signed char>((*this)[i]);
    const auto b = static_cast<signed char>(other[i]);
    if (a != b) return a < b ? -1 : 1;
  }
  return length() - other.length();
}

int tzString::find(const tzString& text, int from) const {
  const std::size_t start = positive(from);
  if (start > std::strlen(c_str())) return -1;
  const char* const found = std::strstr(c_str() + start, text.c_str());
  return found != nullptr ? static_cast<int>(found - c_str()) : -1;
}

int tzString::rfind(const tzString& text) const {
  const std::size_t found = m_text.rfind(text.m_text);
  return found != std::string::npos ? static_cast<int>(found) : -1;
}

tzString tzString::substr(int position) const {
  if (position > length()) return "";
  return c_str() + positive(position);
}

tzString tzString::substr(int position, int count) const {
  if (count < 1 || position > length()) return "";
  return m_text.substr(positive(position), positive(count));
}

void tzString::trim() {
  const std::size_t first = m_text.find_first_not_of(" \t\r");
  m_text.erase(0, std::min(first, m_text.size()));
  m_text.erase(m_text.find_last_not_of(" \t") + 1);
}

tzString tzString::toLower() const {
  tzString lower(*this);
  for (char& c : lower.m_text) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  return lower;
}

tzString tzString::getFileName() const { return substr(lastSeparator(*this) + 1); }

tzString tzString::getFileDir() const { return substr(0, lastSeparator(*this) + 1); }

tzString tzString::getFileTitle() const {
  const tzString name = getFileName();
  const int dot = name.rfind(".");
  return dot < 0 ? name : name.substr(0, dot);
}

tzString& tzString::appendSigned(long long value) { return *this += formatted("%lld", value); }

tzString& tzString::appendUnsigned(unsigned long long value) {
  return *this += formatted("%llu", value);
}

tzString& tzString::appendReal(double value) { return *this += formatted("%.3g", value); }

tzString& tzString::operator<<(const void* pointer) {
  if (pointer == nullptr) return *this += "NULL";
  return *this += formatted(
             "%llX", static_cast<unsigned long long>(reinterpret_cast<std::uintptr_t>(pointer)));
}

bool& operator<<(bool& value, const tzString& text) {
  tzString word = text.toLower();
  word.trim();
  text.setFail(word.empty());
  if (word.empty()) return value;
  value = word[0] == 'y' || word[0] == 't' || word == "1";
  text.setFail(!value && word[0] != 'n' && word[0] != 'f' && !(word == "0"));
  return value;
}

int& operator<<(int& value, const tzString& text) {
  return readInteger<int, std::uint32_t>(value, text);
}

long long& operator<<(long long& value, const tzString& text) {
  return readInteger<long long, std::uint64_t>(value, text);
}

double& operator<<(double& value, const tzString& text) { return readReal(value, text); }

float& operator<<(float& value, const tzString& text) { return readReal(value, text); }
