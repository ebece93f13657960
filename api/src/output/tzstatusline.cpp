// The line of a terminal that is written again and again.
#include "tzstatusline.h"

#include <sys/ioctl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <tuple>

namespace {

constexpr const char* kEraseLine = "\r\033[K";

void put(const std::string& text) { std::ignore = write(STDERR_FILENO, text.data(), text.size()); }

std::size_t columns() {
  winsize size{};
  if (ioctl(STDERR_FILENO, TIOCGWINSZ, &size) != 0 || size.ws_col < 2) return 80;
  return size.ws_col;
}

}  // namespace

bool tzStatusLine::enable() {
  const char* const terminal = std::getenv("TERM");
  const bool erases = terminal != nullptr && std::strcmp(terminal, "dumb") != 0;
  if (isEnabled() || !erases || isatty(STDERR_FILENO) == 0) return isEnabled();
  void* const shared =
      mmap(nullptr, sizeof(bool), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
  if (shared != MAP_FAILED) s_shown = static_cast<volatile bool*>(shared);
  return isEnabled();
}

void tzStatusLine::show(const std::string& text) {
  if (!isEnabled()) return;
  put(kEraseLine + text.substr(0, columns() - 1));
  *s_shown = true;
}

void tzStatusLine::hide() {
  if (!isEnabled() || !*s_shown) return;
  *s_shown = false;
  put(kEraseLine);
}
