/// @file
/// What a subcommand is. Each lives in a file of its own under `commands/`; two lines in
/// `command.cpp` make it known.
#pragma once

#include <iosfwd>
#include <memory>
#include <span>
#include <string>
#include <vector>

namespace report {

/// Where output goes and what it may look like.
struct Console {
  std::ostream& out;
  std::ostream& err;
  int width = 80;       ///< columns
  bool colour = false;  ///< on a terminal that may be coloured
};

/// Takes down what a command line may hold. A name that begins with "-" is an option
/// ("-o,--output"), any other stands for words without one.
class Options {
 public:
  virtual ~Options() = default;
  virtual void flag(const char* name, bool& value, const char* help) = 0;
  virtual void text(const char* name, std::string& value, const char* help) = 0;
  virtual void number(const char* name, double& value, double low, double high,
                      const char* help) = 0;
  virtual void choice(const char* name, std::string& value, std::vector<std::string> words,
                      const char* help) = 0;
  /// Takes words up to the next option; at least `least` of them in all, where any are needed.
  virtual void list(const char* name, std::vector<std::string>& values, int least,
                    const char* help) = 0;
  /// The option that was declared last has to be there.
  virtual void require() = 0;
  /// What the first of the words without an option may be, for shells.
  virtual void offer(const std::vector<std::string>&) {}
};

class Command {
 public:
  virtual ~Command() = default;
  /// Called once, before the command line is read.
  virtual void declare(Options& options) = 0;
  /// @return an exit code of error.h
  /// @throws Error
  virtual int run(const Console& console) = 0;
};

struct CommandEntry {
  const char* name;
  const char* help;
  std::unique_ptr<Command> (*make)();
};

/// All subcommands, in the order of the help.
std::span<const CommandEntry> commands();

/// The program: reads the words behind its name and does what they say.
int runProgram(const std::vector<std::string>& words, const Console& console);

}  // namespace report
