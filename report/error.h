/// @file
/// What ends the program: one line that names the file, the line and the reason.
#pragma once

#include <cstddef>
#include <stdexcept>
#include <string>

namespace report {

/// Exit codes, told in the manual.
enum ExitCode : int { kDone = 0, kSlower = 1, kFailed = 2 };

class Error : public std::runtime_error {
 public:
  explicit Error(const std::string& reason) : std::runtime_error(reason) {}
  Error(const std::string& file, const std::string& reason) : Error(file + ": " + reason) {}
  /// @param line  counted from 1
  Error(const std::string& file, std::size_t line, const std::string& reason)
      : Error(file + ": line " + std::to_string(line) + ": " + reason) {}
};

}  // namespace report
