/// @file
/// Reads what tzJson writes: one object a line, strictly, and as it stands.
#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

/// The members of one object. What it returns lies in the text that was read, which must outlive
/// it.
class tzJsonReader {
 public:
  /// Objects and arrays in each other.
  static constexpr int MAX_DEPTH = 16;

  /// Takes an object apart.
  /// @return false, without members, when `text` is anything but one JSON object: a member's name
  ///         twice, something before or behind it, deeper than MAX_DEPTH
  bool read(std::string_view text);

  /// A member as it is written, with its quotes or brackets; empty when there is none.
  std::string_view raw(std::string_view name) const;
  /// A text, in UTF-8; empty when the member is none.
  std::string text(std::string_view name) const;
  /// A number; 0 when the member is none.
  double number(std::string_view name) const;
  /// The texts of an array; other items are left out.
  std::vector<std::string> texts(std::string_view name) const;

 private:
  std::vector<std::pair<std::string_view, std::string_view>> m_members;
};
