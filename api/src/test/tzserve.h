/// @file
/// A process that measures when another one asks it to: one side of a comparison. It goes through
/// its tests as any run does, but tells each row first and measures it sample by sample, in turns
/// with the other side.
#pragma once

#include <vector>

#include "tzpacket.h"
#include "tzresult.h"
#include "tzstring.h"

class tzTest;
class tzTool;

/// The place of a row in the run, the same on all sides: number of the test, of its combination.
struct tzRowPlace {
  int test = -1;
  int combination = -1;
  // NOLINTNEXTLINE(modernize-use-nullptr): the zero that comparisons are made with is no pointer
  auto operator<=>(const tzRowPlace&) const = default;
};

/// What a side says of itself, of a row, and of its readiness.
struct tzSideHello {
  tzString codePath;
  std::vector<tzString> libraries;  ///< paths of the loaded ones
};
struct tzSideRow {
  tzRowPlace place;
  tzString text;                ///< function and parameters
  std::vector<tzString> cells;  ///< of the result table, up to the clocks
  tzString unit;
  tzString json;
};
struct tzSideReady {
  int calls = 1;  ///< that last about as long as a sample should
  double elements = 0;
  double bytes = 0;  ///< of all test data
};

/// @name As bytes
/// @{
tzPacket& operator<<(tzPacket& packet, const tzSideHello& hello);
tzPacket& operator>>(tzPacket& packet, tzSideHello& hello);
tzPacket& operator<<(tzPacket& packet, const tzSideRow& row);
tzPacket& operator>>(tzPacket& packet, tzSideRow& row);
tzPacket& operator<<(tzPacket& packet, const tzSideReady& ready);
tzPacket& operator>>(tzPacket& packet, tzSideReady& ready);
/// @}

class tzServe {
 public:
  /// What a side says: HELLO once, ROW before each row; of a wanted one READY or FAILED (a result
  /// and its text), then SAMPLE (clocks of a call; not positive: it failed) for each RUN.
  enum Said : char { HELLO = 'h', ROW = 'r', READY = 'y', FAILED = 'f', SAMPLE = 's' };
  /// What it is told: WANTED or SKIPPED after ROW; RUN (calls) or DONE after READY and SAMPLE.
  enum Told : char { WANTED = 'w', SKIPPED = 'k', RUN = 'g', DONE = 'd' };

  /// How a process is told that it is a side: "<file to read>,<file to write>,<MHz>,<file of the
  /// memory that all sides share, or -1>".
  static constexpr const char* ENVIRONMENT = "TAZMET_SIDE";
  /// Makes this process one when the environment says so.
  static void beginIfAsked();
  static bool isOn() { return s_in >= 0; }
  /// Tells what was loaded; once the library is prepared.
  static void sayHello();
  /// Tells the current combination of a test.
  /// @return whether it is to be measured; always true in other processes
  static bool wants(tzTest& test);

  /// Microseconds of a sample.
  static constexpr double SAMPLE_TIME = 100;

 private:
  static tzResult serve(tzTool& tool);

  static inline int s_in = -1;
  static inline int s_out = -1;
};
