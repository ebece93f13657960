/// @file
/// One line at the foot of a terminal that says how far something is.
#pragma once

#include <string>

/// The line lies on the terminal of standard error and nowhere else. It is gone before the console
/// writes; processes forked after enable share it.
class tzStatusLine {
 public:
  /// @return false when standard error is no terminal that can erase a line: nothing will show
  static bool enable();
  static bool isEnabled() { return s_shown != nullptr; }
  /// Shows a text, as much of it as fits into a line, in the place of the one before.
  static void show(const std::string& text);
  static void hide();

 private:
  static inline volatile bool* s_shown = nullptr;  // in memory that processes share
};
