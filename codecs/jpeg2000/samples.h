#pragma once
/// @file
/// Samples of the caller to planes, less half their range where they are unsigned; and back,
/// rounded and clamped. In views of bytes and words signed samples are stored as unsigned ones are,
/// with half their range added.

#include <span>

#include "jpeg2000.h"
#include "plane.h"

namespace j2k {

/// Components as one piece of work: one, or three whose samples are interleaved to pixels.
struct SampleGroup {
  std::span<const SampleView> views;
  std::span<const PlaneView> planes;  ///< of equal shape
  int precision = 8;
  bool isSigned = false;
};

/// Whether three views are pixels of three samples of equal type, in this order or the other.
bool arePixels(std::span<const SampleView> views);

/// A view that begins further down and to the right.
SampleView moved(SampleView view, int64_t x, int64_t y);

void loadSamples(const SampleGroup& group);
void storeSamples(const SampleGroup& group);

}  // namespace j2k
