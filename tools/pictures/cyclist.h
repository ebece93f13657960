/// @file
/// A cyclist seen from the side, riding to the right.
#pragma once

#include "paint.h"

namespace paint {

struct Cyclist {
  Point ground;      ///< on the road below the crank
  double size = 1;   ///< 1: wheels of a tenth of the picture's height
  double crank = 0;  ///< where the pedals stand, in turns
  Colour jersey, stripe, frame;
  unsigned seed = 0;
};

/// The cyclist, with the shadow, over what lies behind.
Colour paintCyclist(Colour colour, const Cyclist& cyclist, Point p, double pixel);

}  // namespace paint
