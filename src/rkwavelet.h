#pragma once
/// @file
/// The phase parameter of the wavelet suites.

#include "tziterator.h"
#include "rkd/rkdjpeg_wavelet.h"

/// Declares both names and the value that runs by default; every suite has a parameter of its own.
inline void rkInitPhase(tzMapIterator<int>& phase) {
  phase.init("Phase", "which kind the first sample of a line becomes");
  phase.resetMap();
  phase.addName(rkdWTFirstLow, "FirstLow");
  phase.addName(rkdWTFirstHigh, "FirstHigh");
  phase.add(rkdWTFirstLow);
}
