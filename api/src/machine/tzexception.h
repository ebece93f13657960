/// @file
/// What ends a definition or a measurement early: the exception and the signal guards.
#pragma once

#include <csetjmp>
#include <csignal>
#include <exception>
#include <type_traits>

#include "tzstring.h"

/// Thrown for definition errors; caught around each test's preparation and run.
class tzException : public std::exception {
 public:
  /// The message is "--RKD. Exception: " and the text; `info()` gives the text.
  explicit tzException(const tzString& info);
  /// The message is "--RKD. Signal: " and the text; `info()` stays empty.
  explicit tzException(const char* text);

  /// At most 255 characters.
  const char* msg() const { return m_msg; }
  const char* info() const { return m_info.c_str(); }
  const char* what() const noexcept override { return m_msg; }

 private:
  char m_msg[256];
  tzString m_info;
};

/// Turns signals of the processor into a jump back to where the guard stands. Handlers are in place
/// while the object lives; the ones before it come back with its end. They run on a stack of their
/// own, so that a stack overflow is caught too. Guards nest; the innermost that is armed catches.
///
/// One thread at a time uses guards. A signal in another thread, or while no guard is armed, takes
/// the way it had before the outermost guard.
class tzSignalGuard {
 public:
  tzSignalGuard(const tzSignalGuard&) = delete;
  tzSignalGuard& operator=(const tzSignalGuard&) = delete;

  /// Performs `function()` with the guard armed. After a signal the frames between are gone
  /// without their destructors having run: they must not own anything. The signal mask and the
  /// floating-point environment are then as they were before.
  /// @return true when it returned, false when a signal ended it
  template <class Function>
  bool call(Function&& function) {
    auto run = [&function] { function(); };
    return perform([](void* r) { (*static_cast<decltype(run)*>(r))(); }, &run);
  }

  /// The signal that was caught, 0 before.
  int code() const { return m_code; }
  /// What the signal means, for people.
  const char* getInfo() const;
  /// Its name, "SIGSEGV" for instance; empty before.
  const char* name() const;
  /// The address whose access was refused; null when the signal tells of none.
  const void* address() const { return m_address; }

 protected:
  /// @param withBus  whether SIGBUS is guarded besides SIGFPE, SIGILL and SIGSEGV
  explicit tzSignalGuard(bool withBus);
  ~tzSignalGuard();

  sigjmp_buf m_jump;
  volatile std::sig_atomic_t m_armed = 0;

 private:
  static constexpr int NUM_SIGNALS = 4;
  static const int SIGNALS[NUM_SIGNALS];

  static void handler(int code, siginfo_t* details, void* context);
  static void giveBack(int code);
  bool guards(int code) const;
  bool perform(void (*function)(void*), void* argument);

  int m_numSignals;
  volatile std::sig_atomic_t m_code = 0;
  void* volatile m_address = nullptr;
  tzSignalGuard* m_outer;
  struct sigaction m_before[NUM_SIGNALS];
  stack_t m_stackBefore;
};

/// Guards the reading of definitions against SIGFPE, SIGILL and SIGSEGV.
class tsSignal : public tzSignalGuard {
 public:
  tsSignal() : tzSignalGuard(false) {}

  /// For a caller whose own frame is to be jumped to; from here on the guard is armed:
  /// `if (sigsetjmp(guard.jumpPoint(), 1) == 0) { ... } else { ... guard.code() ... }`
  sigjmp_buf& jumpPoint() {
    m_armed = 1;
    return m_jump;
  }
};

/// Guards the call of a measured function, which may be wrong: SIGFPE, SIGILL, SIGSEGV and SIGBUS.
/// It is to stand around the timed call alone.
class tzCallGuard : public tzSignalGuard {
 public:
  tzCallGuard() : tzSignalGuard(true) {}
};
