/// @file
/// JSON Lines: one object a line, whole as soon as it is written, so that a file that was cut off
/// is valid up to its last line end.
#pragma once

#include <string>
#include <vector>

#include "tzostream.h"
#include "tzstring.h"

/// One object under construction; members stand in the order of their adding. Texts that are no
/// UTF-8 are read as Latin-1; numbers are written so that they are read back as they were, and what
/// no JSON number can tell as null.
class tzJson {
 public:
  tzJson& put(const char* name, const tzString& text) { return putRaw(name, quoted(text.str())); }
  tzJson& put(const char* name, const char* text) { return put(name, tzString(text)); }
  template <class T>
  requires std::is_arithmetic_v<T> tzJson& put(const char* name, T value) {
    return putRaw(name, literal(value));
  }
  tzJson& put(const char* name, const tzJson& object) { return putRaw(name, object.text()); }
  /// An array of what one of the functions below can write.
  template <class Container>
  tzJson& putArray(const char* name, const Container& items) {
    std::string array;
    for (const auto& item : items) {
      if (!array.empty()) array += ',';
      array += literal(item);
    }
    return putRaw(name, "[" + array + "]");
  }
  /// Members that are text already, as `members` returns them.
  tzJson& putMembers(const std::string& members);

  const std::string& members() const { return m_members; }
  std::string text() const { return "{" + m_members + "}"; }

  static std::string literal(bool value) { return value ? "true" : "false"; }
  static std::string literal(double value);
  template <tzInteger Int>
  static std::string literal(Int value) {
    return std::to_string(value);
  }
  static std::string literal(const tzString& text) { return quoted(text.str()); }
  static std::string literal(const std::string& text) { return quoted(text); }
  static std::string literal(const tzJson& object) { return object.text(); }
  static std::string quoted(const std::string& text);

 private:
  tzJson& putRaw(const char* name, const std::string& value);
  std::string m_members;
};

/// The files of JSON Lines (key -j).
class tzJsonStream : public tzTargets {
 public:
  tzJsonStream& operator<<(const tzJson& line);
};

extern tzJsonStream g_jstrm;

/// A calendar time as "2026-11-22T06:29:34Z".
tzString tzIsoTime(long long seconds);
