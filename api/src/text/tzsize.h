/// @file
/// Sizes as texts.
#pragma once

#include "tzstring.h"
#include "rkd/rkdbase.h"

/// @name Text of a size
/// Sizes are written "640x480". They are read back in that form (x or X) and as "640,480" or
/// "640 480", blanks around the separator being allowed; a size of "64" alone, trailing text and
/// negative numbers set the text's fail flag and leave the size as it was.
/// @{
tzString& operator<<(tzString& text, const RkdiSize& size);
RkdiSize& operator<<(RkdiSize& size, const tzString& text);
/// @}

inline bool operator==(const RkdiSize& a, const RkdiSize& b) {
  return a.width == b.width && a.height == b.height;
}
