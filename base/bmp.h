/// @file
/// Windows and OS/2 bitmaps: headers, palette and rows of pixels.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "base/bytes.h"
#include "base/imagefile.h"

namespace base {

/// The 14 bytes that a bitmap file begins with. Fields are named as the format names them.
struct BmpFileHeader {
  uint16_t bfType = 0;  ///< the bytes "BM", or "MB" when all header fields are big-endian
  uint32_t bfSize = 0;
  uint16_t bfReserved1 = 0;
  uint16_t bfReserved2 = 0;
  uint32_t bfOffBits = 0;  ///< where the pixels begin in the file
};

/// The 40 bytes that follow it in all but the oldest files.
struct BmpInfoHeader {
  uint32_t biSize = 0;
  int32_t biWidth = 0;
  int32_t biHeight = 0;  ///< negative when the highest row comes first
  uint16_t biPlanes = 0;
  uint16_t biBitCount = 0;
  uint32_t biCompression = 0;
  uint32_t biSizeImage = 0;
  int32_t biXPelsPerMeter = 0;
  int32_t biYPelsPerMeter = 0;
  uint32_t biClrUsed = 0;
  uint32_t biClrImportant = 0;
};

struct BmpColour {
  uint8_t blue = 0, green = 0, red = 0, reserved = 0;
  bool isGray() const { return blue == green && green == red; }
};

inline constexpr int kBmpFileHeaderBytes = 14;
inline constexpr int kBmpInfoHeaderBytes = 40;
inline constexpr uint16_t kBmpType = 0x4D42;          // "BM"
inline constexpr uint16_t kReversedBmpType = 0x424D;  // "MB"

BmpFileHeader readBmpFileHeader(ByteReader& reader);
BmpInfoHeader readBmpInfoHeader(ByteReader& reader);

/// Bytes from a row to the next: rows are filled up to four bytes.
constexpr int64_t bmpRowStep(int bits, int width) { return (int64_t{bits} * width + 31) / 32 * 4; }

/// Entries of the palette that stands in a file; none beyond 8 bits a pixel.
constexpr int bmpPaletteSize(int bits, uint32_t clrUsed) {
  if (bits > 8) return 0;
  const uint32_t all = uint32_t{1} << bits;
  return static_cast<int>(clrUsed == 0 || clrUsed > all ? all : clrUsed);
}

/// Calls `store(x, index)` for the pixels of a row, the leftmost in a byte's most significant bits.
template <int Bits, typename Store>
void forBmpIndexes(const uint8_t* row, int width, Store store) {
  constexpr int kPerByte = 8 / Bits;
  constexpr int kMask = (1 << Bits) - 1;
  for (int x = 0; x < width; ++x) {
    const int shift = 8 - Bits - x % kPerByte * Bits;
    store(x, static_cast<uint8_t>(row[x / kPerByte] >> shift & kMask));
  }
}

/// The same for a number of bits that is known only later: 1, 4 or 8.
template <typename Store>
void forBmpIndexes(int bits, const uint8_t* row, int width, Store store) {
  switch (bits) {
    case 8:
      return forBmpIndexes<8>(row, width, store);
    case 4:
      return forBmpIndexes<4>(row, width, store);
    default:
      return forBmpIndexes<1>(row, width, store);
  }
}

/// @copydoc parseImage
/// Uncompressed pixels of every header version, of 12 bytes to 124: palettes of 1, 4 and 8 bits,
/// gray when all their colours are; 16 and 32 bits by their masks, widened to 8 bits a channel;
/// rows in either order.
ImageStatus parseBmp(std::span<const uint8_t> head, uint64_t fileBytes, ImageLayout& layout,
                     BmpPixels pixels);
ImageStatus startBmp(const ImageShape& shape, ImageLayout& layout, std::vector<uint8_t>& header);

}  // namespace base
