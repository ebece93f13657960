// tazreport: shows, compares and draws what tazmet measured.
#include <sys/ioctl.h>
#include <unistd.h>

#include <cstdlib>
#include <iostream>
#include <string>
#include <vector>

#include "report/command.h"

namespace {

// COLUMNS is what a user may say, the terminal is asked otherwise; a pipe has no width.
int outputWidth() {
  constexpr int kUnlimited = 1 << 20;
  if (const char* columns = std::getenv("COLUMNS")) {
    const int width = std::atoi(columns);
    if (width > 0) return width;
  }
  winsize size{};
  if (ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0) return size.ws_col;
  return kUnlimited;
}

bool outputColour() {
  const char* refused = std::getenv("NO_COLOR");
  const char* terminal = std::getenv("TERM");
  const bool dumb = terminal == nullptr || std::string(terminal) == "dumb";
  return isatty(STDOUT_FILENO) == 1 && (refused == nullptr || *refused == '\0') && !dumb;
}

}  // namespace

int main(int argc, char** argv) {
  std::ios::sync_with_stdio(false);
  return report::runProgram(std::vector<std::string>(argv + 1, argv + argc),
                            {std::cout, std::cerr, outputWidth(), outputColour()});
}
