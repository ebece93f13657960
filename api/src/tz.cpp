// What suites reach the session by, and the entry point behind main.
#include "tz.h"

#include <fcntl.h>
#include <unistd.h>

#include <csignal>
#include <memory>
#include <tuple>

#include "tzinterrupt.h"
#include "tzmemory.h"
#include "tzserve.h"
#include "tztrace.h"

namespace {

// A file opened in the place of a standard stream that was closed would be mixed with the console.
void occupyStandardStreams() {
  for (int descriptor = STDIN_FILENO; descriptor <= STDERR_FILENO; ++descriptor) {
    if (fcntl(descriptor, F_GETFD) < 0) std::ignore = open("/dev/null", O_RDWR);
  }
}

}  // namespace

int tzMain(int argc, char** argv) {
  occupyStandardStreams();
  // A closed pipe and a size limit are failures to write, reported as such, and not the end of the
  // program.
  std::signal(SIGPIPE, SIG_IGN);
  std::signal(SIGXFSZ, SIG_IGN);
  tzInterrupt::watch();
  tzServe::beginIfAsked();
  g_trace.traceIn("main");
  tzSession defaultSession;
  if (g_session == nullptr) g_session = &defaultSession;
  const int result = g_session->run(argc, argv);
  tzFreeAll();
  g_trace.traceOut("main");
  if (g_session == &defaultSession) g_session = nullptr;
  tzInterrupt::obey();
  return result;
}
