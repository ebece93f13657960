/// @file
/// The watch of timed runs: what the system did to the process meanwhile. It looks before and after
/// a run, never inside the timed stretch.
#pragma once

#include "tzmeasure.h"
#include "tzstring.h"

/// Where the process stands at one moment.
struct tzMoment {
  double wall = 0;       ///< seconds as they pass
  double processor = 0;  ///< seconds on a processor, of all its threads
  long long switches = 0;
  long long majorFaults = 0;
  long long minorFaults = 0;
  int onProcessor = 0;
};

/// The looks themselves, and what they say.
class tzWatch {
 public:
  enum Mode {
    OFF,
    ON,     ///< a run with less than 99 % of a processor, a switch or a read from a disk inside is
            ///< disturbed
    STRICT  ///< and so is one with a migration, a page fault, or in a row that the host took time
            ///< of
  };
  static Mode m_mode;

  /// The moment now; 0 throughout with the watch off.
  static tzMoment look();
  /// The moment now at an end of a stretch, with the watch off, too. The look at the time on the
  /// processor is an occasion to take that away, so the clock stands next to the stretch.
  enum End { BEGIN, END };
  static tzMoment lookAt(End end);
  /// What lies between two looks. A stretch below 100 us tells no share of a processor: the looks
  /// themselves take some of it.
  static tzDisturbances between(const tzMoment& first, const tzMoment& last);
  /// Whether a run with these does not count, by the mode in force.
  static bool isDisturbed(const tzDisturbances& met);
  /// "97.3% of a processor, 2 switches": what makes it so; empty for nothing.
  static tzString text(const tzDisturbances& met);

  /// Seconds that the host has taken from this machine's processors so far; 0 where nobody tells.
  static double steal();

  /// In place of the system; null: the system.
  static tzMoment (*m_pLook)();
  static double (*m_pSteal)();
};

/// The timed stretch of a run of milliseconds, where somebody follows it: a call that is longer
/// than a time slice is hardly ever left alone on a busy machine. Timing functions tell where it
/// begins and ends, after the warm-up and beside their looks at the counter.
class tzStretch {
 public:
  static void begin() {
    if (m_followed) m_first = tzWatch::lookAt(tzWatch::BEGIN);
  }
  static void end() {
    if (m_followed) m_last = tzWatch::lookAt(tzWatch::END);
  }

  /// From the next run on, or no more.
  static void follow(bool on);
  /// Share of the last stretch that the process had, 1 if nobody interrupted it: what a process
  /// waits by itself is its own.
  static double ownShare();

 private:
  static bool m_followed;
  static tzMoment m_first;
  static tzMoment m_last;
};
