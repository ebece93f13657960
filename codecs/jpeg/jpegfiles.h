#pragma once
/// @file
/// Files as the codec's sources and sinks: rows of pictures, read and written where they stand, and
/// bytes. Errors are kept as one line for people.

#include <cstdint>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "base/imagefile.h"
#include "jpeg.h"

namespace jpeg {

struct CloseFile {
  void operator()(std::FILE* file) const { std::fclose(file); }
};
using File = std::unique_ptr<std::FILE, CloseFile>;

/// A whole file. @return false with the reason in `*error`
bool readFile(const std::string& name, std::vector<uint8_t>* bytes, std::string* error);

/// Rows of a BMP or PNM file, read as they are asked for.
class ImageFileRows : public RowSource {
 public:
  /// @param shape  receives the picture's shape
  bool open(const std::string& name, ImageShape* shape, std::string* error);
  Status rows(int first, int count, const uint8_t** pixels, ptrdiff_t* step) override;
  const std::string& error() const { return error_; }

 private:
  File file_;
  base::ImageLayout layout_;
  std::vector<uint8_t> fileRow_, band_;
  std::string error_;
};

/// Rows into a BMP or PNM file.
class ImageFileSink : public RowSink {
 public:
  /// @param format  by the name's ending
  bool open(const std::string& name, const ImageShape& shape, std::string* error);
  Status room(int first, int count, uint8_t** pixels, ptrdiff_t* step) override;
  Status done(int first, int count) override;
  /// After the last row. @return whether everything is in the file
  bool close();

 private:
  File file_;
  base::ImageLayout layout_;
  size_t rowBytes_ = 0;
  std::vector<uint8_t> fileRow_, band_;
};

/// Bytes into a file.
class FileBytes : public ByteSink {
 public:
  bool open(const std::string& name, std::string* error);
  Status write(const uint8_t* bytes, size_t count) override;
  bool close();

 private:
  File file_;
};

}  // namespace jpeg
