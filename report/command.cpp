// The table of subcommands.
#include "report/command.h"

#include <array>

namespace report {

std::unique_ptr<Command> makeCompare();
std::unique_ptr<Command> makeCompletion();
std::unique_ptr<Command> makeHtml();
std::unique_ptr<Command> makeHistory();
std::unique_ptr<Command> makeInfo();
std::unique_ptr<Command> makeMerge();
std::unique_ptr<Command> makeShow();

std::span<const CommandEntry> commands() {
  static constexpr std::array kCommands{
      CommandEntry{"show", "Show the rows of a run, those that are not OK first", makeShow},
      CommandEntry{"compare", "Tell what became slower or faster between two sides", makeCompare},
      CommandEntry{"html", "Make a page that opens in any browser, without a network", makeHtml},
      CommandEntry{"info", "Tell what files hold: machine, settings, counts of results", makeInfo},
      CommandEntry{"history", "Runs over time in a database, and where rows changed", makeHistory},
      CommandEntry{"merge", "Put the parts of a run into one file", makeMerge},
      CommandEntry{"completion", "Print what bash needs to complete the words", makeCompletion},
  };
  return kCommands;
}

}  // namespace report
