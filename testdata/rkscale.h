/// @file
/// The scale factor as a parameter of functions whose names carry "Sfs".
#pragma once

#include "rkfunc.h"
#include "tziterator.h"

/// The values of a scale factor: results are divided by 2 to this power.
class rkScaleIterator : public tzIterator<int> {
 public:
  rkScaleIterator() = default;

  /// Whether functions of this name take a scale factor.
  static bool isScaled(const rkFunc& func) { return func.scale(); }

  /// Makes the parameter anew with up to six values in the order given. A value of NONE is left
  /// out, and so is one that is there already; without any value the factor 0 stands.
  void init(const tzString& name, int first = 0, int second = NONE, int third = NONE,
            int fourth = NONE, int fifth = NONE, int sixth = NONE);

  static constexpr int NONE = -1000;
  /// A factor beyond this in either direction is the nearest of the two.
  static constexpr int LIMIT = 63;
};
