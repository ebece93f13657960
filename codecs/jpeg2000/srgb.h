#pragma once
/// @file
/// Pixels with an ICC profile to sRGB, by Little CMS. The program alone uses it.

#include <string>

#include "picture.h"

namespace j2k {

/// Grey or colour pixels become sRGB ones; what follows the colours stays.
/// @return what was wrong, or nothing
std::string convertToSrgb(const PictureInfo& info, Pixels& pixels);

}  // namespace j2k
