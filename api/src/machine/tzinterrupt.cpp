// INT, TERM and HUP: noted, and obeyed when the tables have their end.
#include "tzinterrupt.h"

#include <csignal>

namespace {

constexpr int kSignals[] = {SIGINT, SIGTERM, SIGHUP};

volatile std::sig_atomic_t s_signal = 0;
bool s_mayRepeat = false;

void note(int signal) {
  if (s_signal == 0) s_signal = signal;
}

bool isWatched(int signal) {
  struct sigaction action {};
  return sigaction(signal, nullptr, &action) == 0 && action.sa_handler == note;
}

// @param flags  SA_RESTART: the calls that the signal meets go on
void listen(int signal, int flags) {
  struct sigaction action {};
  action.sa_handler = note;
  action.sa_flags = s_mayRepeat ? flags : flags | static_cast<int>(SA_RESETHAND);
  sigaction(signal, &action, nullptr);
}

}  // namespace

void tzInterrupt::watch() {
  for (const int signal : kSignals) {
    struct sigaction before {};
    sigaction(signal, nullptr, &before);
    if (before.sa_handler != SIG_IGN) listen(signal, SA_RESTART);
  }
}

void tzInterrupt::watchAsChild() {
  s_mayRepeat = true;
  for (const int signal : kSignals) {
    if (isWatched(signal)) listen(signal, SA_RESTART);
  }
}

void tzInterrupt::fill(sigset_t& signals) {
  sigemptyset(&signals);
  for (const int signal : kSignals) sigaddset(&signals, signal);
}

int tzInterrupt::signal() { return s_signal; }

const char* tzInterrupt::name(int signal) {
  return signal == SIGINT ? "SIGINT" : signal == SIGTERM ? "SIGTERM" : "SIGHUP";
}

void tzInterrupt::check() {
  if (s_signal != 0) throw tzInterrupted();
}

void tzInterrupt::obey() {
  if (s_signal == 0) return;
  std::signal(s_signal, SIG_DFL);
  std::raise(s_signal);
}

tzInterrupt::Reading::Reading() {
  for (const int signal : kSignals) {
    if (isWatched(signal)) listen(signal, 0);
  }
}

tzInterrupt::Reading::~Reading() {
  for (const int signal : kSignals) {
    if (isWatched(signal)) listen(signal, SA_RESTART);
  }
}
