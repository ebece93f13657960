/// @file
/// The measurement of one row as data: every sample, what the samples say, and what disturbed them.
/// Plain structures, so that they can be kept over passes, sent between processes and written.
#pragma once

#include <string>
#include <vector>

#include "tzmachine.h"

/// One timed stretch of calls in a row.
struct tzSample {
  double clocks = 0;       ///< clocks of one call: those of the stretch over its calls
  long long calls = 0;     ///< calls in the stretch
  int pass = 1;            ///< the pass over the list of tests that took it, from 1
  bool disturbed = false;  ///< and kept all the same, for want of a better one
  double counted = 0;      ///< `clocks` as the counter has them; 0: there is nothing else
  double rate = 0;         ///< core clocks in one of the counter, beside the stretch; 0: not known
  double width = 0;        ///< tzPace::width beside the stretch; 0: not known
};

/// What happened to the process around timed stretches; sums over the samples of a row, those left
/// out included.
struct tzDisturbances {
  double processorShare = 1;  ///< least share of a processor in a stretch above 100 us, 0 to 1
  long long switches = 0;     ///< times the processor was taken away for somebody else
  long long migrations = 0;   ///< times a stretch ended on another processor than it began on
  long long majorFaults = 0;  ///< page faults that waited for a disk
  long long minorFaults = 0;  ///< page faults that did not
  double steal = 0;           ///< seconds that the host took from the processors

  /// Adds those of a further stretch; of the shares the smaller stays.
  void add(const tzDisturbances& more);
};

/// What the samples of a row say, in clocks of one call.
struct tzStatistics {
  int count = 0;  ///< samples behind the others; all others are 0 without samples
  double minimum = 0;
  double median = 0;
  double spread = 0;  ///< 1.4826 times the median distance from the median, over the median
  double tail = 0;    ///< share of samples above 1.1 of the minimum, 0 to 1
};

/// One row.
struct tzMeasurement {
  std::vector<tzSample> samples;   ///< in the order of their taking, disturbed ones left out
  tzStatistics statistics;         ///< of the judged() ones of them
  double figure = 0;               ///< what the row tells: clocks of one call
  long long dropped = 0;           ///< samples left out because they were disturbed
  tzDisturbances disturbances;     ///< of all samples, dropped ones included
  std::vector<double> passMinima;  ///< least sample of each pass that had the core for itself once,
                                   ///< in their order; of each pass when none had
  double passDifference = 0;       ///< largest over smallest of these, less 1
  int passesSampled = 0;           ///< passes with samples
  int passesShared = 0;            ///< of these, passes that never had the core for themselves
  double emptyCall = 0;            ///< clocks of a call that does nothing, measured alike; 0: not
  double seconds = 0;              ///< spent on taking samples
  int referenceBytes = 0;          ///< size of the stream beside the row; 0: it has none
  double referenceClocks = 0;      ///< least time of that stream
  double referenceRatio = 0;       ///< least time of the stream beside the row, over the run's own
                                   ///< best; 0: the row has none
  double width = 0;                ///< tzPace::typicalWidth of the samples
  double sharedBelow = 0;          ///< samples of less width had to share the core; 0: none had
  bool coreClock = false;          ///< clocks are those of the core, not of the counter
  double memoryShare = 0;          ///< of its time, what streaming its data takes: that does not
                                   ///< follow the core's clock. 0 to 1
  bool costly = false;             ///< it takes part in few passes, because each costs too much
  std::string reason;              ///< why it is not OK, in words; empty: it is, or a code tells

  /// Puts the statistics and what the passes say into force for the samples there are.
  void summarise();
  /// Clocks of a call in which the counter counted so many while the core had this rate.
  double clocksAt(double counted, double rate) const;
  /// Clocks of the samples that the figure and the statistics rest on, in the order of their
  /// taking: those that had the core for themselves; all when no pass had one.
  std::vector<double> judged() const;
  bool isShared(const tzSample& sample) const {
    return sample.width > 0 && sample.width < sharedBelow;
  }
  /// The passes that must confirm the smallest figure: half of all that have samples, and two at
  /// least. Those that shared the core count among all, though they confirm nothing: of eight
  /// passes, the two of four that agree may both be slow.
  int passesNeeded() const;
  /// How far above the smallest the minimum of the last of these passes is, as a part of it; of a
  /// single pass, that of its other half.
  double reach() const;
};

/// The median of values in any order; 0 without any.
double tzMedian(std::vector<double> values);
/// Standard deviation of a normal distribution that has the median of the distances of these values
/// from their median.
double tzRobustDeviation(std::vector<double> values, double median);
/// What samples say; of none, zeros.
tzStatistics tzSampleStatistics(const std::vector<double>& values);

/// A row with what reports need besides, so that it can be told without its test's data.
struct tzRow {
  tzMeasurement measurement;
  std::string parameters;  ///< "ImageSize=64x64 Table=q75"
  std::string unit;        ///< "px"
  double elements = 1;     ///< of one call; 0: no figure can be told
  int result = 0;          ///< tzResult; 0: not measured yet
};

/// @name A row as bytes, for another process of this program
/// @{
/// Appends it to `bytes`.
void tzPack(const tzMeasurement& measurement, std::string& bytes);
void tzPack(const tzRow& row, std::string& bytes);
/// Takes one off `bytes` from `at` on, which moves behind it.
/// @return false, with both untouched, when there is no whole one
bool tzUnpack(const std::string& bytes, size_t& at, tzMeasurement& measurement);
bool tzUnpack(const std::string& bytes, size_t& at, tzRow& row);
/// @}
