/// @file
/// Each test in a process of its own (key -k), forked from the initialised program: whatever a
/// measured function does to its process, the run goes on.
///
/// The child writes its messages and rows itself, since it shares the parent's files. Before each
/// combination it tells the parent which one, so that the parent can write its row when the child
/// is gone; what later tests and reports need to know comes back when the row is written.
#pragma once

#include <ctime>
#include <vector>

#include "tzpacket.h"
#include "tzresult.h"
#include "tzstring.h"

class tzTest;

/// State of the process that a test's run changes and that what comes after it needs. Every object
/// is packed in the child and unpacked in the parent after each row and at the end of the test.
class tzCarried {
 public:
  tzCarried();
  virtual ~tzCarried();
  tzCarried(const tzCarried&) = delete;
  tzCarried& operator=(const tzCarried&) = delete;
  virtual void pack(tzPacket& packet) const = 0;
  virtual void unpack(tzPacket& packet) = 0;
};

/// What is known of a row before it is measured.
struct tzRowFacts {
  tzString text;                ///< function and parameters, as messages show them
  std::vector<tzString> cells;  ///< of the result table, up to the clocks
  tzString unit;
  tzString json;  ///< members of the row's line that are known; empty where none is written
};

/// A test whose process ended before it did.
struct tzLostRun {
  time_t start = 0;
  tzRowFacts row;        ///< the last that was begun; empty before the first
  bool needsRow = true;  ///< it was not written, or well
  tzString reason;       ///< "exception: SIGABRT, Aborted"
  tzString note;         ///< the same in short, "SIGABRT"
};

/// How a process ended, in words: "SIGABRT, Aborted", "the process ended with exit code 3".
tzString tzProcessEnd(int status);

/// Both ends of the arrangement.
class tzChild {
 public:
  /// From now on tests run in children.
  /// @param seconds  how long a row may take before its process is ended; 0: as long as it likes
  static void enable(double seconds);
  static bool isEnabled() { return s_enabled; }

  /// Runs the test in a child.
  /// @return as tzTest::run
  static tzResult run(tzTest& test);

  /// Whether this process is such a child.
  static bool isChild() { return s_pipe >= 0; }

  /// In a child, a combination from before its data are made until they are gone. Elsewhere it
  /// does nothing.
  class Row {
   public:
    explicit Row(tzTest& test);
    ~Row();
    Row(const Row&) = delete;
    Row& operator=(const Row&) = delete;
  };
  /// What is written from now on waits for the end of the row: when the data can't be freed because
  /// a function wrote beside them, the row is the parent's.
  static void holdRow();

 private:
  static inline bool s_enabled = false;
  static inline double s_limit = 0;
  static inline int s_pipe = -1;  // to the parent

  friend class tzChildWatch;
};
