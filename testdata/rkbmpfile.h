/// @file
/// Loads a Windows bitmap file into an image.
#pragma once

#include <cstdint>
#include <vector>

#include "rkimage.h"
#include "tzostream.h"
#include "tzstring.h"

/// The 14 bytes that a bitmap file begins with.
struct BITMAPFILEHEADER {
  uint16_t bfType = 0;  ///< the bytes "BM", or "MB" when all header fields are byte-reversed
  uint32_t bfSize = 0;
  uint16_t bfReserved1 = 0;
  uint16_t bfReserved2 = 0;
  uint32_t bfOffBits = 0;  ///< where the pixels begin in the file
};

/// The 40 bytes that follow it.
struct BITMAPINFOHEADER {
  uint32_t biSize = 0;
  int32_t biWidth = 0;
  int32_t biHeight = 0;
  uint16_t biPlanes = 0;
  uint16_t biBitCount = 0;
  uint32_t biCompression = 0;
  uint32_t biSizeImage = 0;
  int32_t biXPelsPerMeter = 0;
  int32_t biYPelsPerMeter = 0;
  uint32_t biClrUsed = 0;
  uint32_t biClrImportant = 0;
};

/// Loads uncompressed files of 1, 4, 8, 16, 24 and 32 bits a pixel. Palette pixels become gray
/// (one channel) when the palette is gray, else blue, green and red; 16, 24 and 32 bits become 2, 3
/// and 4 channels of 8u as they stand in the file. Rows stay in file order: bottom row first.
///
/// A header that promises more than the file holds is refused before anything is allocated for it.
class rkBmpFile {
 public:
  explicit rkBmpFile(rkImage& image) : m_image(image) {}

  /// @param layout  as rkImage::createImage
  /// @return false after one line through `error`; the image may be allocated then
  bool load(const tzString& name, int layout = -1);
  /// Reads headers and palette only.
  bool readInfoHeader(const tzString& name);
  const BITMAPFILEHEADER& fileHeader() const { return m_file; }
  const BITMAPINFOHEADER& infoHeader() const { return m_info; }
  /// Refusals are not printed; canLoadImage asks so.
  void setSilent(bool silent) { m_silent = silent; }

  /// @name Checks of the headers; each reports through `error`
  /// @{
  bool ValidFileHeader(bool& reversed) const;
  bool ValidCompression() const;
  bool SetImageWidth(int& width) const;
  bool SetImageHeight(int& height) const;
  bool SetImageType(rkType& type) const;
  bool SetImagePlane(bool& planar) const;
  bool SetImageChannels(int& channels) const;
  /// All of these but the first.
  bool ValidInfoHeader() const;
  /// @}

  /// Makes the image that the headers describe.
  bool CreateImage(int layout);

  int GetPaletteNum() const;
  bool IsGrayPalette() const;
  long long GetDataStep() const;  ///< bytes of a row in the file
  long long GetDataSize() const;
  /// Several pixels, or palette indexes, to a byte.
  bool IsCompressed() const;
  /// Expands palette pixels into the image.
  bool SetImageData(const unsigned char* pixels);
  /// Stores the palette's colour; an index beyond the palette takes its last entry.
  void SetPixel(unsigned char index, unsigned char* row, int x) const;

  /// Prints why the file cannot be loaded.
  /// @return false
  bool error(const tzString& text) const;

 private:
  struct Entry {
    uint8_t blue = 0, green = 0, red = 0, reserved = 0;
  };

  class Stream;

  bool open(Stream& file);
  bool readHeaders(Stream& file);
  bool readPalette(Stream& file);
  bool validExtent(Stream& file) const;
  bool readPixels(Stream& file);
  template <int Bits>
  void expand(const unsigned char* pixels);

  rkImage& m_image;
  tzString m_name;
  bool m_silent = false;
  BITMAPFILEHEADER m_file;
  BITMAPINFOHEADER m_info;
  std::vector<Entry> m_palette;
};
