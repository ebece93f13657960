/// @file
/// Runs whole sessions inside a test program: stub tests, captured console, a folder of its own.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "apikit.h"
#include "tz.h"
#include "tziterator.h"

namespace harnesskit {

/// A folder of its own that goes away with its contents.
class TempFolder : private TemporaryFolder {
 public:
  TempFolder() = default;

  /// Without a slash at its end.
  std::string path() const;
  std::string file(const std::string& name) const { return TemporaryFolder::path(name).str(); }
  void write(const std::string& name, const std::string& text) const { make(name, text); }
  /// The text of a file, empty when there is none.
  using TemporaryFolder::read;
  bool exists(const std::string& name) const;
  /// Names of all files, sorted.
  std::vector<std::string> list() const;
};

/// A loop function that takes exactly `clocks` clocks a repetition and returns `result`.
template <tzResult result, int clocks>
tzResult steadyLoop(int n, long long* total) {
  *total = static_cast<long long>(n) * clocks;
  return result;
}

/// A test of a made-up function with one int parameter, "Length".
class StubTest : public tzTest {
 public:
  StubTest(const std::string& function, tzLoopFunc loop, const std::string& suite = "StubSuite",
           const std::string& values = "8;16");

  bool canStart() override;
  double getDivisor() const override { return m_length.value(); }
  tzString getUnit() const override { return "px"; }

 private:
  tzString m_values;
  tzIterator<int> m_length{"Length"};
};

/// Registers three stubs: "stubBeta" (OK), "stubAlpha" (OK) and "stubGamma" (a library warning), in
/// this order, the last with the suite name "OtherSuite". "stubBeta" is a hot function.
void registerStubs();

/// What a session left behind.
struct Outcome {
  int exitCode = 0;     ///< of the run; minus the signal's number when it crashed
  std::string console;  ///< standard output
  std::string notes;    ///< what `after` returned

  /// The console's lines that contain `text`.
  std::vector<std::string> lines(const std::string& text) const;
  bool shows(const std::string& text) const { return console.find(text) != std::string::npos; }
};

/// One session to run. Each run happens in a forked child, so that it begins with the process-wide
/// state of a fresh program and a crash is an outcome.
class Session {
 public:
  explicit Session(const TempFolder& folder) : m_folder(folder) {}

  /// Replaces registerStubs.
  Session& setup(std::function<void()> function);
  /// What the user types.
  Session& input(const std::string& text);
  /// Leaves the processor frequency to be estimated.
  Session& forgetFrequency();
  /// Looks at the state after the run.
  Session& after(std::function<std::string()> function);

  /// Runs `tzMain` with the program name FOLDER/stub, a processor frequency of 2400 MHz and these
  /// keys.
  Outcome run(const std::vector<std::string>& keys);
  /// The same with the keys separated by blanks.
  Outcome run(const std::string& keys);

 private:
  [[noreturn]] void runChild(const std::vector<std::string>& keys) const;

  const TempFolder& m_folder;
  std::function<void()> m_setup = registerStubs;
  std::function<std::string()> m_after;
  std::string m_input;
  int m_frequency = 2400;
};

/// Text split at line ends; a last line without an end counts.
std::vector<std::string> splitLines(const std::string& text);

/// Runs a program with its standard output and error captured.
/// @return as Outcome::exitCode
Outcome runProgram(const std::string& program, const std::vector<std::string>& args,
                   const std::string& folder);

/// @name Patterns
/// %NUM% stands for a decimal number, %DATE% for a calendar time and %ANY% for any text within a
/// line; everything else stands for itself.
/// @{
/// Whether the pattern fits some part of the line.
bool holds(const std::string& line, const std::string& pattern);
/// Compares a text line by line with a golden file of patterns, in which %MORE% alone on a line
/// also stands for any further lines and %DIR% for `folder`.
/// @return empty when they agree, else what differs first
std::string compareGolden(const std::string& text, const std::string& goldenFile,
                          const std::string& folder);
/// @}

}  // namespace harnesskit
