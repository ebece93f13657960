/// @file
/// Pictures in files of plain samples: bitmaps (BMP), portable anymaps (PGM, PPM, PAM) and the
/// one-component files (PGX) in which JPEG 2000 tests are told.
///
/// A file is never read or written here: what is parsed is its bytes in memory, or its first bytes
/// alone, and rows are decoded and encoded one by one, so that a program's memory need not grow
/// with the height of its pictures.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

namespace base {

enum class [[nodiscard]] ImageStatus{
    ok,
    unknownFormat,    ///< the bytes begin like no format read here
    truncatedHeader,  ///< the bytes end in the header or the palette
    badHeader,        ///< a field has no meaning, or contradicts another
    badExtent,        ///< no width or no height, or one that no int holds
    badDepth,         ///< a number of bits or channels that the format has not
    compressed,       ///< a bitmap with compressed rows
    truncatedPixels,  ///< the file is shorter than its header promises
    sampleRange,      ///< a sample exceeds the greatest, or an index the palette
    tooLarge,         ///< more bytes than memory, or the format, can hold
    notInFormat,      ///< the format has no form for such a picture
};

/// One line for people, without a full stop: "the file is shorter than its picture".
const char* text(ImageStatus status);

enum class ImageFormat { bmp, pnm, pam, pgx };

/// What is in a picture, whatever holds it. Samples are interleaved, and of 1, 2 or 4 bytes in the
/// machine's order as the depth needs: 1 to 8, 9 to 16, 17 to 32 bits.
struct ImageShape {
  int width = 0;
  int height = 0;
  int channels = 1;        ///< 1 gray, 2 gray and alpha, 3 colour, 4 colour and one more
  int depth = 8;           ///< bits of a sample
  bool isSigned = false;   ///< two's complement
  bool blueFirst = false;  ///< colours are B, G, R instead of R, G, B
  uint32_t maximum = 0;    ///< the value of full intensity where it is not 2^depth - 1; else 0

  size_t sampleBytes() const { return depth <= 8 ? 1 : depth <= 16 ? 2 : 4; }
  /// Bytes of a row without gaps; no int width makes it overflow.
  size_t rowBytes() const {
    return static_cast<size_t>(width) * static_cast<size_t>(channels) * sampleBytes();
  }
  /// The greatest value that an unsigned sample may have.
  uint32_t greatest() const {
    return maximum != 0 ? maximum : static_cast<uint32_t>((uint64_t{1} << depth) - 1);
  }
  bool operator==(const ImageShape&) const = default;
};

/// Where the rows of a picture stand in its file, and how its samples are packed there.
class ImageLayout {
 public:
  ImageShape shape;
  ImageFormat format = ImageFormat::bmp;
  uint64_t firstRow = 0;        ///< where the first row in the file begins
  uint64_t rowStep = 0;         ///< bytes from a row in the file to the next one there
  size_t fileRowBytes = 0;      ///< bytes of a row in the file, without padding
  bool bottomUp = false;        ///< the first row in the file is the lowest of the picture
  bool rowsAreSamples = false;  ///< a row in the file is its samples, byte for byte

  /// Where the row `y`, counted from the top of the picture, begins in the file.
  uint64_t rowOffset(int y) const {
    return firstRow + rowStep * static_cast<uint64_t>(bottomUp ? shape.height - 1 - y : y);
  }
  /// One behind the last byte of a sample. (Bitmaps may leave out the padding of the last row.)
  uint64_t pixelsEnd() const {
    return firstRow + rowStep * static_cast<uint64_t>(shape.height - 1) + fileRowBytes;
  }

  /// @param fileRow  fileRowBytes bytes from rowOffset() on
  /// @param samples  shape.rowBytes() bytes, aligned as a sample is
  /// @return sampleRange when a value exceeds what the header allows;
  /// the row is stored all the same
  ImageStatus decodeRow(const uint8_t* fileRow, void* samples) const {
    return m_decode(*this, fileRow, samples);
  }
  /// For layouts made by startImage().
  /// @param fileRow  rowStep bytes, padding included
  void encodeRow(const void* samples, uint8_t* fileRow) const { m_encode(*this, samples, fileRow); }

  /// @name For the formats
  /// @{
  using Decode = ImageStatus (*)(const ImageLayout&, const uint8_t*, void*);
  using Encode = void (*)(const ImageLayout&, const void*, uint8_t*);
  void setRows(Decode decode, Encode encode) {
    m_decode = decode;
    m_encode = encode;
  }
  /// Rows of nothing but the shape's samples, in this order of bytes.
  void setPlainRows(bool bigEndian);
  /// Where indexes lead, as samples of three channels, or of one.
  std::array<std::array<uint8_t, 3>, 256> palette{};
  unsigned paletteSize = 0;
  /// The bits of a packed pixel that are red, green and blue.
  std::array<uint32_t, 3> masks{};
  int pixelBits = 0;
  /// @}

 private:
  Decode m_decode = nullptr;
  Encode m_encode = nullptr;
};

/// How pixels of bitmaps come out of their file.
enum class BmpPixels {
  rgb,     ///< gray or R, G, B; a fourth byte is left out
  stored,  ///< 24 bits as B, G, R; 32 bits as four channels: CMYK pictures have no other carrier
};

/// As many bytes of a file's beginning as the header of an ordinary file fits into. Where comments
/// or gaps make a header longer, parseImage needs the whole of it.
inline constexpr size_t kImageHeadBytes = 4096;

/// Tells the format by the first bytes, reads the header and compares the file's size with it.
/// @param head       the file's first bytes, or all
/// @param fileBytes  size of the whole file
ImageStatus parseImage(std::span<const uint8_t> head, uint64_t fileBytes, ImageLayout& layout,
                       BmpPixels pixels = BmpPixels::rgb);

/// Begins a file: makes its header, and the layout by which rows are encoded and placed. Bitmaps
/// have their lowest row first.
/// @param shape  bmp: 1, 3 or 4 channels of 8 bits; pnm: 1 or 3 channels, unsigned, up to 16 bits;
///               pam: up to four channels, else as pnm; pgx: one channel of up to 32 bits, signed
///               or not
/// @return notInFormat, badExtent or tooLarge
ImageStatus startImage(const ImageShape& shape, ImageFormat format, ImageLayout& layout,
                       std::vector<uint8_t>& header);

/// The format that a file name's ending asks for: .bmp; .pgm, .ppm, .pnm; .pam; .pgx, in any case
/// of letters.
/// @return false for other endings
bool imageFormatOf(std::string_view fileName, ImageFormat& format);

/// A picture in memory, rows from the top.
struct Image {
  ImageShape shape;
  size_t step = 0;  ///< bytes from a row to the one below
  std::vector<uint8_t> samples;

  uint8_t* row(int y) { return samples.data() + step * static_cast<size_t>(y); }
  const uint8_t* row(int y) const { return samples.data() + step * static_cast<size_t>(y); }
  template <typename T>
  T* rowOf(int y) {
    return reinterpret_cast<T*>(row(y));
  }
  template <typename T>
  const T* rowOf(int y) const {
    return reinterpret_cast<const T*>(row(y));
  }
};

/// Gives the image this shape, rows without gaps. Nothing is kept when it fails.
/// @return tooLarge when there is no such memory, badExtent or badDepth
ImageStatus allocateImage(const ImageShape& shape, Image& image);

/// A whole file in memory to a picture in memory.
ImageStatus readImage(std::span<const uint8_t> file, Image& image,
                      BmpPixels pixels = BmpPixels::rgb);

/// A picture in memory to the bytes of a whole file.
/// @param samples,step  the highest row, and bytes from it to the next
ImageStatus writeImage(const ImageShape& shape, const void* samples, size_t step,
                       ImageFormat format, std::vector<uint8_t>& file);

}  // namespace base
