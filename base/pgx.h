/// @file
/// PGX: one component of 1 to 32 bits behind one line of text, "PG ML +8 640 480".
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "base/imagefile.h"

namespace base {

/// @copydoc parseImage
ImageStatus parsePgx(std::span<const uint8_t> head, uint64_t fileBytes, ImageLayout& layout);
/// Files are written most significant byte first ("ML").
ImageStatus startPgx(const ImageShape& shape, ImageLayout& layout, std::vector<uint8_t>& header);

}  // namespace base
