#pragma once
/// @file
/// What the options and the picture make of each other: shape, coding parameters, goals of layers.

#include <vector>

#include "codestream.h"
#include "jpeg2000.h"
#include "rate.h"

namespace j2k {

struct EncodePlan {
  ImageShape shape;
  Coding coding;
  std::vector<LayerGoal> goals;
  Rect roi;              ///< on the reference grid; empty: none
  bool limited = false;  ///< the last layer does not take everything
  int threads = 1;
  int64_t memory = 0;  ///< BYTES that may be taken besides the caller's
};

EncodePlan makeEncodePlan(const Options& options, const PictureInfo& info);

}  // namespace j2k
