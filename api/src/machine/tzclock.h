/// @file
/// The clock of every measurement and the facts about time around it: processor frequency,
/// priority, host and operating system.
#pragma once

#include "tzstring.h"

/// One read of the time-stamp counter: a single instruction, not serialised.
inline unsigned long long rkd_get_quorvex_counter() { return __builtin_ia32_rdtsc(); }

/// What turns counter differences into clocks and clocks into time.
class tzCpuTicker {
 public:
  /// The processor frequency in MHz, estimated at the first call (one to two seconds) and cached;
  /// 0 on a processor without a time-stamp counter.
  static int getFreq();
  /// Sets the frequency in place of an estimate; 0 makes the next getFreq estimate again.
  static void setFreq(int mhz) {
    m_freqMHz = mhz;
    m_estimated = false;
  }
  /// Whether a frequency is known without waiting.
  static bool hasFreq() { return m_freqMHz != 0; }
  /// Whether the frequency is an estimate of this process, and not set.
  static bool isEstimated() { return m_estimated; }
  /// Processor clocks per counter tick. Always 1; the hook for counters that tick slower.
  static constexpr int getClockFactor() { return 1; }

 private:
  static int m_freqMHz;
  static bool m_estimated;
};

/// The frequency of this processor in MHz, by a busy wait of one to two seconds; 0 without a
/// time-stamp counter.
int estimateCpuFreqMHz();

/// @name The decisions of the estimate
/// @{
/// The microseconds to reckon with: the processor time `worked`, but `passed` by the wall clock
/// when the process did not have the processor all the time. The counter does not stop for other
/// work (nor for the share that the system keeps back from real-time processes), clock() does.
double tzElapsedUSec(double worked, double passed);
/// Clocks over microseconds, rounded; 0 when no time or no clock passed.
int tzRawFreqMHz(long long clocks, double usec);
/// The common frequency within 3 % of a raw estimate, else the estimate itself. On a tie the lower
/// frequency wins.
int tzNearestFreqMHz(int estimate);
/// @}

/// A stop watch on the processor time of this process, clock(). Only the frequency estimate uses
/// it, which spends its whole wait working.
class OSTimer {
 public:
  void start() { m_start = now(); }
  void stop() { m_stop = now(); }
  static long long getOSFreq();  ///< ticks a second
  float getSec() const {
    return static_cast<float>(m_stop - m_start) / static_cast<float>(getOSFreq());
  }
  float getUSec() const { return getSec() * 1e6F; }

 private:
  static long long now();
  long long m_start = 0;
  long long m_stop = 0;
};

/// @name Process priority
/// Only the superuser's processes are touched: for other users both calls change nothing. Failures
/// of the system calls are ignored, a measurement at the old priority being still one.
/// @{
enum tzPriority { PRIORITY_NONE = 0, PRIORITY_HIGH = 1, PRIORITY_NORMAL = 2, PRIORITY_LOW = 3 };
/// Saves the priority and sets it to a tzPriority. PRIORITY_NONE drops what was saved; a level
/// without meaning only saves.
void tzSetPriority(int level);
/// Restores what the last tzSetPriority saved, once.
void tzResetPriority();
/// @}

/// Online processors, at least 1.
int tzGetNumOfProcessors();

/// The operating system, "Linux (6.1.0, x86_64)".
class tzOS {
 public:
  tzOS();
  const char* c_str() const { return m_text; }

 private:
  char m_text[1024];
};

/// The name of this host; "unknown" when the system does not tell it.
class tzHost {
 public:
  tzHost();
  const char* c_str() const { return m_text; }

 private:
  char m_text[1024];
};
