// PGX: one line of text, then the samples of one component.
#include "base/pgx.h"

#include <string>

#include "base/formatkit.h"

namespace base {
namespace {

void skipSpaces(ByteReader& reader) {
  while (reader.peek() == ' ' || reader.peek() == '\t') reader.u8();
}

/// "ML" is the most significant byte first, "LM" the least.
ImageStatus readOrder(ByteReader& reader, bool& bigEndian) {
  skipSpaces(reader);
  const int first = reader.u8(), second = reader.u8();
  bigEndian = first == 'M' && second == 'L';
  if (bigEndian || (first == 'L' && second == 'M')) return ImageStatus::ok;
  return reader.good() ? ImageStatus::badHeader : ImageStatus::truncatedHeader;
}

/// A sign, which may be missing or stand apart from the depth.
bool readSign(ByteReader& reader) {
  skipSpaces(reader);
  const int sign = reader.peek();
  if (sign == '+' || sign == '-') reader.u8();
  return sign == '-';
}

}  // namespace

ImageStatus parsePgx(std::span<const uint8_t> head, uint64_t fileBytes, ImageLayout& layout) {
  ByteReader reader(head);
  if (reader.u8() != 'P' || reader.u8() != 'G') return ImageStatus::unknownFormat;
  layout = ImageLayout();
  layout.format = ImageFormat::pgx;
  ImageShape& shape = layout.shape;
  bool bigEndian = false;
  if (const auto status = readOrder(reader, bigEndian); status != ImageStatus::ok) return status;
  shape.isSigned = readSign(reader);
  for (int* const field : {&shape.depth, &shape.width, &shape.height}) {
    skipSpaces(reader);
    if (const auto status = readDecimal(reader, *field); status != ImageStatus::ok) return status;
  }
  skipSpaces(reader);
  if (reader.peek() == '\r') reader.u8();
  if (reader.peek() != '\n') return headerFault(reader);
  reader.u8();
  if (shape.depth < 1 || shape.depth > 32) return ImageStatus::badDepth;
  return placePlainRows(layout, reader.position(), bigEndian, fileBytes);
}

ImageStatus startPgx(const ImageShape& shape, ImageLayout& layout, std::vector<uint8_t>& header) {
  if (shape.channels != 1 || shape.maximum != 0) return ImageStatus::notInFormat;
  append(header, std::string("PG ML ") + (shape.isSigned ? "-" : "+") +
                     std::to_string(shape.depth) + " " + std::to_string(shape.width) + " " +
                     std::to_string(shape.height) + "\n");
  return startPlainRows(layout, header.size());
}

}  // namespace base
