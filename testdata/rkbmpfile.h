/// @file
/// Loads a Windows bitmap file into an image.
#pragma once

#include <vector>

#include "base/bmp.h"
#include "rkimage.h"
#include "tzostream.h"
#include "tzstring.h"

using BITMAPFILEHEADER = base::BmpFileHeader;
using BITMAPINFOHEADER = base::BmpInfoHeader;

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
  /// Whether load would succeed, memory permitting; silent, and nothing is allocated.
  bool canLoad(const tzString& name);
  /// Reads headers and palette only.
  bool readInfoHeader(const tzString& name);
  const BITMAPFILEHEADER& fileHeader() const { return m_file; }
  const BITMAPINFOHEADER& infoHeader() const { return m_info; }

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
  class Stream;

  bool open(Stream& file);
  bool readHeaders(Stream& file);
  bool readPalette(Stream& file);
  bool validExtent(Stream& file) const;
  bool initImage(int layout);
  bool readPixels(Stream& file);

  rkImage& m_image;
  tzString m_name;
  bool m_silent = false;
  BITMAPFILEHEADER m_file;
  BITMAPINFOHEADER m_info;
  std::vector<base::BmpColour> m_palette;
};
