/// @file
/// What the formats share inside this folder.
#pragma once

#include <cstdint>
#include <string_view>

#include "base/bytes.h"
#include "base/imagefile.h"

namespace base {

/// Sets where rows lie, after the shape: tells whether the file holds what the header promises.
/// Nothing is multiplied that could overflow.
/// @param firstRow  where the first row in the file begins
/// @param rowBytes  bytes of a row there
/// @param rowStep   with padding
ImageStatus placeRows(ImageLayout& layout, uint64_t firstRow, uint64_t rowBytes, uint64_t rowStep,
                      uint64_t fileBytes);

/// The same for files of nothing but a header and the shape's samples: refuses extents that are not
/// positive, and sets how rows are read and written.
ImageStatus placePlainRows(ImageLayout& layout, size_t headerBytes, bool bigEndian,
                           uint64_t fileBytes);

/// For a file that is to be written: there is no size yet, but there are numbers too large.
ImageStatus startPlainRows(ImageLayout& layout, size_t headerBytes);

/// Refuses extents that are not positive.
inline ImageStatus checkExtent(const ImageShape& shape) {
  return shape.width > 0 && shape.height > 0 ? ImageStatus::ok : ImageStatus::badExtent;
}

constexpr bool isBlank(int byte) {
  return byte == ' ' || byte == '\t' || byte == '\n' || byte == '\v' || byte == '\f' ||
         byte == '\r';
}

/// What a header that cannot be read on is: cut, or wrong.
inline ImageStatus headerFault(const ByteReader& reader) {
  return reader.left() == 0 ? ImageStatus::truncatedHeader : ImageStatus::badHeader;
}

/// Reads decimal digits; a number that no int holds is badExtent.
ImageStatus readDecimal(ByteReader& reader, int& value);

/// Adds text to a header.
inline void append(std::vector<uint8_t>& header, std::string_view text) {
  header.insert(header.end(), text.begin(), text.end());
}

}  // namespace base
