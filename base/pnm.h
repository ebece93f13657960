/// @file
/// Portable graymaps and pixmaps in their binary form (P5, P6), and arbitrary maps (P7).
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "base/imagefile.h"

namespace base {

/// @copydoc parseImage
/// The first picture of a file; shape.maximum is set where the greatest value is no 2^n - 1.
ImageStatus parsePnm(std::span<const uint8_t> head, uint64_t fileBytes, ImageLayout& layout);
/// @param format  pnm: P5 or P6 as there are channels; pam: P7
ImageStatus startPnm(const ImageShape& shape, ImageFormat format, ImageLayout& layout,
                     std::vector<uint8_t>& header);

}  // namespace base
