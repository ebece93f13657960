#pragma once
/// @file
/// Pictures turned and cut without loss, as coefficients.

#include "jpeg.h"

namespace jpeg {

/// One of the eight ways to turn a picture: transposed, then flipped.
struct Turn {
  bool transposes = false;   ///< rows become columns
  bool flipsAcross = false;  ///< left and right change places
  bool flipsDown = false;    ///< top and bottom change places
  bool operator==(const Turn&) const = default;

  bool isNone() const { return *this == Turn(); }
  /// This, then another.
  Turn then(const Turn& next) const;
  Turn inverse() const;
};

inline constexpr Turn kRotate90{true, true, false};  ///< clockwise
inline constexpr Turn kRotate180{false, true, true};
inline constexpr Turn kRotate270{true, false, true};
inline constexpr Turn kFlipAcross{false, true, false};
inline constexpr Turn kFlipDown{false, false, true};
inline constexpr Turn kTranspose{true, false, false};
inline constexpr Turn kTransverse{true, true, true};

/// What a picture with an Exif orientation, 1..8, wants done to be seen upright.
Turn turnOfOrientation(int orientation);
/// The orientation of a turned picture that then is seen as it was, but turned.
int orientationAfter(int orientation, const Turn& turn);

/// Turns coefficients and cuts a region out. MCUs that are not whole cannot change sides: where
/// they would, they are cut off and `*isTrimmed` is set.
/// @param crop  of the turned picture, in PIXELS; empty for all. Its left and top edges move
///              outwards to those of MCUs
/// @return ok, badCrop, cannotTurn (nothing whole is there), overMemoryLimit, noMemory
Status transform(const Coefficients& from, const Turn& turn, const Rect& crop, size_t memoryLimit,
                 Coefficients* to, bool* isTrimmed);

}  // namespace jpeg
