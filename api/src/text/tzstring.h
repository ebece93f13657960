/// @file
/// The harness's text type and the conversions between texts and values.
#pragma once

#include <concepts>
#include <string>

#include "tzlist.h"

class tzString;
using tzStringList = tzList<tzString>;

/// Integer types that are numbers: neither bool nor a character.
template <class T>
concept tzInteger = std::integral<T> && !std::same_as<T, bool> && !std::same_as<T, char>;

/// A text with the harness's conversions. Positions and lengths are ints, -1 meaning "not found".
///
/// Conversions are written as `operator<<` in both directions: `text << 3` appends the value's
/// text, `value << text` reads the value. They never throw: a text that can't be read sets its fail
/// flag, which every reading conversion clears first. The flag tells about the last reading, not
/// about the text; it is neither copied nor assigned, and reading a const text sets it too.
class tzString {
 public:
  tzString() = default;
  tzString(const char* text);  ///< a null pointer counts as an empty text
  tzString(const std::string& text);
  /// A text of one character. A template, so that no int is taken for a character.
  template <std::same_as<char> Char>
  tzString(Char c) {
    resize(1, c);
  }
  tzString(const tzString& other);
  tzString(tzString&& other) noexcept;
  tzString& operator=(const tzString& other);
  tzString& operator=(tzString&& other) noexcept;
  virtual ~tzString() = default;

  const char* c_str() const { return m_text.c_str(); }
  /// For a caller who writes the characters that `allocate` or `growBy` made room for.
  char* data() { return m_text.data(); }
  const std::string& str() const { return m_text; }
  int length() const { return static_cast<int>(m_text.size()); }
  bool empty() const { return m_text.empty(); }
  char operator[](int i) const { return m_text[static_cast<std::size_t>(i)]; }
  char& operator[](int i) { return m_text[static_cast<std::size_t>(i)]; }

  /// Bytes that the text takes with its terminator, in steps of 16; 0 before the first assignment.
  int capacity() const { return m_capacity; }

  /// Whether the last reading conversion failed.
  bool fail() const { return m_fail; }
  void setFail(bool fail) const { m_fail = fail; }

  /// @name Length
  /// @{
  void allocate(int length);  ///< `length` zero bytes; a negative length counts as 0
  void growBy(int count);     ///< adds `count` zero bytes, keeping what is there
  void resize(int length, char fill = ' ');
  void clear() { *this = tzString(""); }
  /// @}

  tzString& operator+=(const tzString& text);
  friend tzString operator+(tzString a, const tzString& b) {
    a += b;
    return a;
  }
  /// Equality of the zero-terminated texts: characters after a zero byte do not count.
  friend bool operator==(const tzString& a, const tzString& b);
  friend bool operator==(const tzString& a, const char* b);

  /// Order: characters compare as signed bytes; of equal beginnings the shorter text comes first.
  /// @return -1 or 1 for the first difference; the difference of the lengths when there is none or
  ///         when one text is empty
  int compare(const tzString& other) const;

  /// First occurrence at or after `from`, or -1.
  int find(const tzString& text, int from = 0) const;
  /// Last occurrence, or -1.
  int rfind(const tzString& text) const;
  tzString substr(int position) const;
  /// At most `count` characters; a count below 1 gives an empty text.
  tzString substr(int position, int count) const;

  /// Removes leading blanks, tabs and carriage returns, and trailing blanks and tabs. A carriage
  /// return at the end stays and stops the trimming, unless nothing else is left.
  void trim();
  tzString toLower() const;

  /// @name Parts of a path, cut at the later of the last "/" and the last backslash
  /// @{
  tzString getFileName() const;
  tzString getFileDir() const;    ///< with the separator; empty when there is none
  tzString getFileTitle() const;  ///< the file name without its last "." and what follows
  /// @}

  /// The length modifier for formats of 64-bit integers.
  static const char* prefixI64() { return "L"; }

  /// @name Splitting into words (tzParse)
  /// Missing words become empty texts.
  /// @return the number of words found
  /// @{
  int parse(tzStringList& words, const tzString& separators) const;
  int parse(tzString& a, tzString& b, const tzString& separators) const;
  int parse(tzString& a, tzString& b, tzString& c, const tzString& separators) const;
  /// @}

  /// @name Writing: appends the text of a value
  /// Numbers are decimal, floating types "%.3g", bool "yes" or "no", pointers upper-case
  /// hexadecimal without prefix or "NULL".
  /// @{
  tzString& operator<<(const tzString& text) { return *this += text; }
  template <tzInteger Int>
  tzString& operator<<(Int value) {
    if constexpr (std::is_signed_v<Int>) return appendSigned(value);
    return appendUnsigned(static_cast<unsigned long long>(value));
  }
  template <std::same_as<bool> Bool>
  tzString& operator<<(Bool value) {
    return *this += value ? "yes" : "no";
  }
  template <std::floating_point Float>
  tzString& operator<<(Float value) {
    return appendReal(static_cast<double>(value));
  }
  tzString& operator<<(const char* text) { return *this += tzString(text); }
  tzString& operator<<(const void* pointer);
  /// @}

 private:
  tzString& appendSigned(long long value);
  tzString& appendUnsigned(unsigned long long value);
  tzString& appendReal(double value);
  tzString& refit();

  std::string m_text;
  int m_capacity = 0;
  mutable bool m_fail = false;
};

/// @name Reading: takes a value out of a text
/// Leading white space and whatever follows the value are ignored, as scanf does. A text in which
/// no value is found sets the fail flag and leaves the value alone; so does a number that its type
/// can't hold. An empty or blank text leaves the value and a clear flag: callers for whom that is
/// an error test for it themselves. Only bool takes an empty text for a failure.
/// @{

/// "y...", "t..." and "1" are true, "n...", "f..." and "0" false, in any case; anything else fails
/// with the value false.
bool& operator<<(bool& value, const tzString& text);
/// Decimal, or hexadecimal up to 32 bits after 0x or 0X (0xFFFFFFFF is -1).
int& operator<<(int& value, const tzString& text);
/// Decimal, or hexadecimal up to 64 bits after 0x or 0X.
long long& operator<<(long long& value, const tzString& text);
double& operator<<(double& value, const tzString& text);
float& operator<<(float& value, const tzString& text);
/// @}
