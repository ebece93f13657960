// The table of subcommands.
#include "report/command.h"

#include <array>

namespace report {

std::unique_ptr<Command> makeCompare();
std::unique_ptr<Command> makeInfo();
std::unique_ptr<Command> makeMerge();
std::unique_ptr<Command> makeShow();

std::span<const CommandEntry> commands() {
  static constexpr std::array kCommands{
      CommandEntry{"show", "Show the rows of a run, those that are not OK first", makeShow},
      CommandEntry{"compare", "Tell what became slower or faster between two sides", makeCompare},
      CommandEntry{"info", "Tell what files hold: machine, settings, counts of results", makeInfo},
      CommandEntry{"merge", "Put the parts of a run into one file", makeMerge},
  };
  return kCommands;
}

}  // namespace report
