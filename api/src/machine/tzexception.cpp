// Faults of a measured function, caught as signals.
#include "tzexception.h"

#include <cfenv>
#include <cstdio>

tzException::tzException(const tzString& info) : m_info(info) {
  std::snprintf(m_msg, sizeof m_msg, "--RKD. Exception: %s", info.c_str());
}

tzException::tzException(const char* text) {
  std::snprintf(m_msg, sizeof m_msg, "--RKD. Signal: %s", text);
}

namespace {

// Handlers run here, because after a stack overflow there is no room on the thread's own stack. Far
// larger than the processor state that the kernel saves on it.
alignas(64) char handlerStack[128 * 1024];

thread_local tzSignalGuard* innermost = nullptr;  // of this thread
tzSignalGuard* outermost = nullptr;               // of the process

}  // namespace

const int tzSignalGuard::SIGNALS[NUM_SIGNALS] = {SIGFPE, SIGILL, SIGSEGV, SIGBUS};

tzSignalGuard::tzSignalGuard(bool withBus)
    : m_numSignals(withBus ? NUM_SIGNALS : NUM_SIGNALS - 1), m_outer(innermost) {
  stack_t stack{};
  stack.ss_sp = handlerStack;
  stack.ss_size = sizeof handlerStack;
  sigaltstack(&stack, &m_stackBefore);
  struct sigaction action {};
  action.sa_sigaction = handler;
  action.sa_flags = SA_SIGINFO | SA_ONSTACK;
  sigemptyset(&action.sa_mask);
  for (int i = 0; i < m_numSignals; ++i) sigaction(SIGNALS[i], &action, &m_before[i]);
  innermost = this;
  if (outermost == nullptr) outermost = this;
}

tzSignalGuard::~tzSignalGuard() {
  innermost = m_outer;
  if (outermost == this) outermost = nullptr;
  for (int i = 0; i < m_numSignals; ++i) sigaction(SIGNALS[i], &m_before[i], nullptr);
  sigaltstack(&m_stackBefore, nullptr);
}

// Nothing here but what a signal handler may do.
void tzSignalGuard::handler(int code, siginfo_t* details, void*) {
  for (tzSignalGuard* guard = innermost; guard != nullptr; guard = guard->m_outer) {
    if (guard->m_armed == 0 || !guard->guards(code)) continue;
    guard->m_armed = 0;
    guard->m_code = code;
    guard->m_address = code == SIGSEGV || code == SIGBUS ? details->si_addr : nullptr;
    siglongjmp(guard->m_jump, 1);
  }
  giveBack(code);
  // A fault comes again when its instruction is repeated; a signal that was sent does not.
  if (details->si_code <= 0) raise(code);
}

// Puts back what handled the signal before any guard came.
void tzSignalGuard::giveBack(int code) {
  struct sigaction before {};
  before.sa_handler = SIG_DFL;
  for (int i = 0; outermost != nullptr && i < outermost->m_numSignals; ++i) {
    if (SIGNALS[i] == code) before = outermost->m_before[i];
  }
  sigaction(code, &before, nullptr);
}

bool tzSignalGuard::guards(int code) const {
  for (int i = 0; i < m_numSignals; ++i) {
    if (SIGNALS[i] == code) return true;
  }
  return false;
}

bool tzSignalGuard::perform(void (*function)(void*), void* argument) {
  struct Disarm {
    volatile std::sig_atomic_t& armed;
    ~Disarm() { armed = 0; }
  } disarm{m_armed};
  // Kernel and handler start with a fresh floating-point environment; the caller's must come back.
  std::fenv_t environment;
  std::fegetenv(&environment);
  if (sigsetjmp(m_jump, 1) != 0) {
    std::fesetenv(&environment);
    return false;
  }
  m_code = 0;
  m_address = nullptr;
  m_armed = 1;
  function(argument);
  return true;
}

const char* tzSignalGuard::getInfo() const {
  switch (m_code) {
    case SIGFPE:
      return "FP error, such as overflow, division by zero, invalid operation.";
    case SIGILL:
      return "Illegal instruction.";
    case SIGSEGV:
      return "Illegal storage access.";
    case SIGBUS:
      return "Bus error, such as an access beyond the end of a mapped file.";
    default:
      return "Unknown exception";
  }
}

const char* tzSignalGuard::name() const {
  switch (m_code) {
    case SIGFPE:
      return "SIGFPE";
    case SIGILL:
      return "SIGILL";
    case SIGSEGV:
      return "SIGSEGV";
    case SIGBUS:
      return "SIGBUS";
    default:
      return "";
  }
}
