/// @file
/// Requests from outside to end the program.
#pragma once

#include <csignal>

/// Thrown where a request is heeded, so that whatever is under way takes itself back. It is no
/// std::exception: a test that is given up did not fail.
struct tzInterrupted {};

/// SIGINT, SIGTERM and SIGHUP do not end the program at once: the run ends at the next place that
/// asks, its files are completed, and then the program ends by that signal after all. The same
/// signal again is obeyed as usual.
class tzInterrupt {
 public:
  /// Begins to listen. A signal that the program was started to ignore stays ignored.
  static void watch();
  /// In a child process, whose parent hands on what it gets: the same signal may come again.
  static void watchAsChild();
  /// Fills a set with the signals.
  static void fill(sigset_t& signals);
  /// The signal that came first; 0: none.
  static int signal();
  static const char* name(int signal);
  /// @throw tzInterrupted when one has come
  static void check();
  /// Ends the program by the signal that came; returns when none did.
  static void obey();

  /// While it lives, a signal ends a read that waits for the user.
  class Reading {
   public:
    Reading();
    ~Reading();
    Reading(const Reading&) = delete;
    Reading& operator=(const Reading&) = delete;
  };
};
