// What all formats share: rows of plain samples, places in the file, whole files.
#include "base/imagefile.h"

#include <algorithm>
#include <cctype>
#include <limits>
#include <new>
#include <string>
#include <type_traits>

#include "base/bmp.h"
#include "base/bytes.h"
#include "base/formatkit.h"
#include "base/pgx.h"
#include "base/pnm.h"

namespace base {
namespace {

/// Samples as they stand in a file, in this order of bytes, to the machine's.
template <typename T, ByteOrder Order>
ImageStatus decodeSamples(const ImageLayout& layout, const uint8_t* from, void* samples) {
  const ImageShape& shape = layout.shape;
  const size_t count = static_cast<size_t>(shape.width) * static_cast<size_t>(shape.channels);
  auto* const to = static_cast<T*>(samples);
  T least = 0, most = 0;
  for (size_t i = 0; i < count; ++i) {
    to[i] = loadBytes<T>(from + i * sizeof(T), Order);
    least = std::min(least, to[i]);
    most = std::max(most, to[i]);
  }
  const auto top =
      static_cast<int64_t>(std::is_signed_v<T> ? shape.greatest() / 2 : shape.greatest());
  const bool inside = most <= top && least >= (std::is_signed_v<T> ? -top - 1 : 0);
  return inside ? ImageStatus::ok : ImageStatus::sampleRange;
}

template <typename T, ByteOrder Order>
void encodeSamples(const ImageLayout& layout, const void* samples, uint8_t* to) {
  const ImageShape& shape = layout.shape;
  const size_t count = static_cast<size_t>(shape.width) * static_cast<size_t>(shape.channels);
  const auto* const from = static_cast<const T*>(samples);
  for (size_t i = 0; i < count; ++i) storeBytes(to + i * sizeof(T), from[i], Order);
}

template <typename Unsigned, ByteOrder Order>
void setRowsOf(ImageLayout& layout) {
  using Signed = std::make_signed_t<Unsigned>;
  layout.setRows(
      layout.shape.isSigned ? decodeSamples<Signed, Order> : decodeSamples<Unsigned, Order>,
      encodeSamples<Unsigned, Order>);
}

template <ByteOrder Order>
void setRowsInOrder(ImageLayout& layout) {
  switch (layout.shape.sampleBytes()) {
    case 1:
      return setRowsOf<uint8_t, Order>(layout);
    case 2:
      return setRowsOf<uint16_t, Order>(layout);
    default:
      return setRowsOf<uint32_t, Order>(layout);
  }
}

}  // namespace

const char* text(ImageStatus status) {
  switch (status) {
    case ImageStatus::ok:
      return "no error";
    case ImageStatus::unknownFormat:
      return "neither BMP, PGM, PPM, PAM nor PGX";
    case ImageStatus::truncatedHeader:
      return "the file ends in its header";
    case ImageStatus::badHeader:
      return "the header is corrupted";
    case ImageStatus::badExtent:
      return "width or height is invalid";
    case ImageStatus::badDepth:
      return "the number of bits or channels is invalid";
    case ImageStatus::compressed:
      return "compressed bitmaps are not supported";
    case ImageStatus::truncatedPixels:
      return "the file is shorter than its picture";
    case ImageStatus::sampleRange:
      return "a sample is greater than the header allows";
    case ImageStatus::tooLarge:
      return "the picture is too large";
    case ImageStatus::notInFormat:
      return "the file format has no such pictures";
  }
  return "unknown error";
}

void ImageLayout::setPlainRows(bool bigEndian) {
  if (bigEndian) {
    setRowsInOrder<ByteOrder::big>(*this);
  } else {
    setRowsInOrder<ByteOrder::little>(*this);
  }
  // Samples of 8 bits that no value exceeds are what they are in the file.
  const bool wholeBytes =
      shape.sampleBytes() == 1 && shape.depth == 8 && (shape.isSigned || shape.greatest() == 255);
  rowsAreSamples = wholeBytes;
}

ImageStatus placeRows(ImageLayout& layout, uint64_t firstRow, uint64_t rowBytes, uint64_t rowStep,
                      uint64_t fileBytes) {
  uint64_t before, end;
  if (__builtin_mul_overflow(rowStep, static_cast<uint64_t>(layout.shape.height - 1), &before) ||
      __builtin_add_overflow(before, rowBytes, &end) ||
      __builtin_add_overflow(end, firstRow, &end) || end > fileBytes) {
    return ImageStatus::truncatedPixels;
  }
  layout.firstRow = firstRow;
  layout.rowStep = rowStep;
  layout.fileRowBytes = static_cast<size_t>(rowBytes);
  return ImageStatus::ok;
}

ImageStatus placePlainRows(ImageLayout& layout, size_t headerBytes, bool bigEndian,
                           uint64_t fileBytes) {
  if (const auto status = checkExtent(layout.shape); status != ImageStatus::ok) return status;
  layout.setPlainRows(bigEndian);
  const size_t rowBytes = layout.shape.rowBytes();
  return placeRows(layout, headerBytes, rowBytes, rowBytes, fileBytes);
}

ImageStatus startPlainRows(ImageLayout& layout, size_t headerBytes) {
  constexpr uint64_t kAnySize = std::numeric_limits<uint64_t>::max();
  const auto status = placePlainRows(layout, headerBytes, true, kAnySize);
  return status == ImageStatus::truncatedPixels ? ImageStatus::tooLarge : status;
}

ImageStatus readDecimal(ByteReader& reader, int& value) {
  if (!std::isdigit(reader.peek())) return headerFault(reader);
  int64_t all = 0;
  while (std::isdigit(reader.peek())) {
    all = all * 10 + (reader.u8() - '0');
    if (all > std::numeric_limits<int>::max()) return ImageStatus::badExtent;
  }
  value = static_cast<int>(all);
  return ImageStatus::ok;
}

ImageStatus parseImage(std::span<const uint8_t> head, uint64_t fileBytes, ImageLayout& layout,
                       BmpPixels pixels) {
  if (head.size() < 2) return ImageStatus::unknownFormat;
  switch (head[0] << 8 | head[1]) {
    case 'B' << 8 | 'M':
    case 'M' << 8 | 'B':
      return parseBmp(head, fileBytes, layout, pixels);
    case 'P' << 8 | '5':
    case 'P' << 8 | '6':
    case 'P' << 8 | '7':
      return parsePnm(head, fileBytes, layout);
    case 'P' << 8 | 'G':
      return parsePgx(head, fileBytes, layout);
    default:
      return ImageStatus::unknownFormat;
  }
}

ImageStatus startImage(const ImageShape& shape, ImageFormat format, ImageLayout& layout,
                       std::vector<uint8_t>& header) {
  if (const auto status = checkExtent(shape); status != ImageStatus::ok) return status;
  if (shape.depth < 1 || shape.depth > 32 || shape.channels < 1 || shape.channels > 4) {
    return ImageStatus::notInFormat;
  }
  header.clear();
  layout = ImageLayout();
  layout.shape = shape;
  layout.format = format;
  switch (format) {
    case ImageFormat::bmp:
      return startBmp(shape, layout, header);
    case ImageFormat::pnm:
    case ImageFormat::pam:
      return startPnm(shape, format, layout, header);
    case ImageFormat::pgx:
      return startPgx(shape, layout, header);
  }
  return ImageStatus::notInFormat;
}

bool imageFormatOf(std::string_view fileName, ImageFormat& format) {
  std::string ending(fileName.substr(std::min(fileName.size(), fileName.rfind('.'))));
  for (char& letter : ending) letter = static_cast<char>(std::tolower(letter & 255));
  constexpr struct {
    std::string_view ending;
    ImageFormat format;
  } kEndings[] = {{".bmp", ImageFormat::bmp}, {".pgm", ImageFormat::pnm},
                  {".ppm", ImageFormat::pnm}, {".pnm", ImageFormat::pnm},
                  {".pam", ImageFormat::pam}, {".pgx", ImageFormat::pgx}};
  for (const auto& known : kEndings) {
    if (ending != known.ending) continue;
    format = known.format;
    return true;
  }
  return false;
}

// Whole files -----------------------------------------------------------------------------------

ImageStatus allocateImage(const ImageShape& shape, Image& image) {
  if (const auto status = checkExtent(shape); status != ImageStatus::ok) return status;
  if (shape.depth < 1 || shape.depth > 32 || shape.channels < 1) return ImageStatus::badDepth;
  size_t bytes;
  if (__builtin_mul_overflow(shape.rowBytes(), static_cast<size_t>(shape.height), &bytes) ||
      bytes > image.samples.max_size()) {
    return ImageStatus::tooLarge;
  }
  try {
    image.samples = std::vector<uint8_t>();
    image.samples.resize(bytes);
  } catch (const std::bad_alloc&) {
    return ImageStatus::tooLarge;
  }
  image.shape = shape;
  image.step = shape.rowBytes();
  return ImageStatus::ok;
}

ImageStatus readImage(std::span<const uint8_t> file, Image& image, BmpPixels pixels) {
  ImageLayout layout;
  ImageStatus status = parseImage(file, file.size(), layout, pixels);
  if (status == ImageStatus::ok) status = allocateImage(layout.shape, image);
  for (int y = 0; status == ImageStatus::ok && y < layout.shape.height; ++y) {
    status = layout.decodeRow(file.data() + layout.rowOffset(y), image.row(y));
  }
  return status;
}

ImageStatus writeImage(const ImageShape& shape, const void* samples, size_t step,
                       ImageFormat format, std::vector<uint8_t>& file) {
  ImageLayout layout;
  if (const auto status = startImage(shape, format, layout, file); status != ImageStatus::ok) {
    return status;
  }
  uint64_t bytes;
  if (__builtin_mul_overflow(layout.rowStep, static_cast<uint64_t>(shape.height), &bytes) ||
      bytes > file.max_size() - layout.firstRow) {
    return ImageStatus::tooLarge;
  }
  try {
    file.resize(layout.firstRow + bytes);
  } catch (const std::bad_alloc&) {
    return ImageStatus::tooLarge;
  }
  const auto* const rows = static_cast<const uint8_t*>(samples);
  for (int y = 0; y < shape.height; ++y) {
    layout.encodeRow(rows + step * static_cast<size_t>(y), file.data() + layout.rowOffset(y));
  }
  return ImageStatus::ok;
}

}  // namespace base
