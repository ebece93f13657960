/// @file
/// One side of a comparison, seen from the process that compares: the program executed anew with
/// other libraries or another code path, which measures what it is asked for (tzServe).
#pragma once

#include <sys/types.h>

#include "tzlist.h"
#include "tzmessage.h"
#include "tzserve.h"
#include "tzstring.h"

/// What makes a side.
struct tzSideKind {
  tzString name;    ///< as reports show it
  tzString folder;  ///< searched first for libraries; empty: as this process does
  tzString key;     ///< a key of its own; empty: none
};

class tzSide {
 public:
  /// @param program    path that the program was called by
  /// @param keys       what it is to be called with, "-fDCT" and the like
  /// @param processor  the one that it is kept on; negative: any
  /// @param arena      file of the memory for its data (tzArena), not its own; negative: none
  tzSide(const tzSideKind& kind, const tzString& program, const tzStringList& keys, int processor,
         int arena)
      : m_kind(kind), m_program(program), m_keys(keys), m_processor(processor), m_arena(arena) {}
  ~tzSide() { stop(); }
  tzSide(const tzSide&) = delete;
  tzSide& operator=(const tzSide&) = delete;

  const tzSideKind& kind() const { return m_kind; }
  /// Executes the program and goes to its first row.
  /// @return false when it does not start
  bool start();
  /// Ends the process; harmless when there is none.
  void stop();
  const tzSideHello& hello() const { return m_hello; }

  /// Whether there is a row; without one the side came to its end.
  bool hasRow() const { return m_hasRow; }
  const tzSideRow& row() const { return m_row; }
  /// Leaves the row out and goes to the next.
  void skip();

  /// Has the row's data made and one call after the other tried.
  /// @return false when that failed: see failure
  bool prepare(tzSideReady& ready);
  /// @return clocks of a call; not positive when it failed
  double sample(int calls);
  /// Is done with the row, well or not, and goes to the next. A process that is gone is executed
  /// anew, behind this row.
  void finish();

  tzResult failure() const { return m_failure; }
  const tzString& failureText() const { return m_failureText; }

 private:
  [[noreturn]] void execute(int in, int out) const;
  bool receive(char& kind, tzPacket& packet);
  void tell(tzServe::Told what, const tzPacket& packet = tzPacket());
  void next();
  void lose(tzReceived how);
  int reap();

  tzSideKind m_kind;
  tzString m_program;
  tzStringList m_keys;
  int m_processor;
  int m_arena;
  pid_t m_process = -1;
  int m_in = -1;
  int m_out = -1;
  tzSideHello m_hello;
  bool m_hasRow = false;
  tzSideRow m_row;
  bool m_measuring = false;  // it waits for RUN or DONE
  tzRowPlace m_done;         // rows up to here are left out
  tzRowPlace m_restartedAt;  // the one before which it was executed anew
  tzResult m_failure = TZ_UNDEFINED;
  tzString m_failureText;
};

/// The last processor that this process may use; -1: not known.
int tzLastProcessor();
