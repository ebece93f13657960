/// @file
/// The time-stamp counter as an instrument: how finely it counts, what a look at it costs, and how
/// fast it runs beside the core and beside the system's clock.
#pragma once

#include <vector>

#include "tzstring.h"

/// What was measured of the counter.
struct tzCounterFacts {
  long long step = 1;  ///< clocks by which it moves: all its differences are multiples of it
  long long cost = 0;  ///< clocks from one look to the next
  double mhz = 0;      ///< its clocks a microsecond of the system's monotonic clock
  double coreClocks =
      0;  ///< dependent additions, one a core clock, that a clock of it has room for

  /// The clocks that a look may be wrong by: a stretch of a thousand of them is known to .1 %.
  long long resolution() const { return step > cost ? step : cost; }
};

/// This machine's, measured at the first call (some 20 ms).
const tzCounterFacts& tzCounter();
/// Puts others in their place; null: measured anew at the next call.
void tzSetCounter(const tzCounterFacts* facts);

/// @name The decisions behind it
/// @{
/// The largest step that nearly all differences between two looks are multiples of, to one clock
/// where the counter is a scaled one; 1 without any.
long long tzCounterStep(const std::vector<long long>& differences);
/// What to say when the frequency that was estimated for the title is not that of the counter;
/// empty within 5 %, and where either is not known.
tzString tzFrequencyWarning(int estimatedMHz, double counterMHz);
/// @}
