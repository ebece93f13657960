// Sizes to texts and back.
#include "tzsize.h"

#include <cctype>
#include <cerrno>
#include <climits>
#include <cstdlib>

namespace {

void skipBlanks(const char*& at) {
  while (*at == ' ' || *at == '\t') ++at;
}

bool readLength(const char*& at, int& length) {
  skipBlanks(at);
  if (!std::isdigit(static_cast<unsigned char>(*at))) return false;
  char* end = nullptr;
  errno = 0;
  const long value = std::strtol(at, &end, 10);
  if (errno == ERANGE || value > INT_MAX) return false;
  at = end;
  length = static_cast<int>(value);
  return true;
}

/// "x", "," or nothing but blanks between the two lengths.
bool skipSeparator(const char*& at) {
  const char* const start = at;
  skipBlanks(at);
  if (*at == 'x' || *at == 'X' || *at == ',') ++at;
  return at != start;
}

}  // namespace

tzString& operator<<(tzString& text, const RkdiSize& size) {
  return text << size.width << "x" << size.height;
}

RkdiSize& operator<<(RkdiSize& size, const tzString& text) {
  const char* at = text.c_str();
  text.setFail(false);
  skipBlanks(at);
  if (*at == '\0') return size;  // as for numbers: no failure, and no value
  RkdiSize read = {0, 0};
  bool good = readLength(at, read.width) && skipSeparator(at) && readLength(at, read.height);
  skipBlanks(at);
  good = good && *at == '\0';
  text.setFail(!good);
  if (good) size = read;
  return size;
}
