// Files as the codec's sources and sinks.
#include "jpegfiles.h"

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <system_error>

namespace jpeg {
namespace {

bool openFile(const std::string& name, const char* mode, File* file, std::string* error) {
  std::error_code code;
  if (std::filesystem::is_directory(name, code)) {
    *error = std::strerror(EISDIR);
    return false;
  }
  file->reset(std::fopen(name.c_str(), mode));
  if (*file == nullptr) *error = std::strerror(errno);
  return *file != nullptr;
}

bool seek(std::FILE* file, uint64_t offset) {
  return std::ftell(file) == long(offset) || std::fseek(file, long(offset), SEEK_SET) == 0;
}

Color colorOfShape(const base::ImageShape& shape) {
  switch (shape.channels) {
    case 1:
      return Color::gray;
    case 3:
      return shape.blueFirst ? Color::bgr : Color::rgb;
    case 4:
      return Color::cmyk;
    default:
      return Color::unknown;
  }
}

}  // namespace

bool readFile(const std::string& name, std::vector<uint8_t>* bytes, std::string* error) {
  File file;
  if (!openFile(name, "rb", &file, error)) return false;
  std::error_code code;
  const auto size = std::filesystem::file_size(name, code);
  if (!code) bytes->reserve(size_t(size));
  uint8_t piece[65536];
  while (const size_t count = std::fread(piece, 1, sizeof piece, file.get())) {
    bytes->insert(bytes->end(), piece, piece + count);
  }
  if (std::ferror(file.get()) == 0) return true;
  *error = std::strerror(errno);
  return false;
}

bool ImageFileRows::open(const std::string& name, ImageShape* shape, std::string* error) {
  if (!openFile(name, "rb", &file_, error)) return false;
  std::error_code code;
  const auto size = std::filesystem::file_size(name, code);
  std::vector<uint8_t> head(base::kImageHeadBytes);
  head.resize(std::fread(head.data(), 1, head.size(), file_.get()));
  base::ImageStatus status =
      base::parseImage(head, code ? head.size() : size, layout_, base::BmpPixels::stored);
  if (status == base::ImageStatus::truncatedHeader && head.size() < size) {
    if (!readFile(name, &head, error)) return false;
    status = base::parseImage(head, size, layout_, base::BmpPixels::stored);
  }
  if (status != base::ImageStatus::ok) {
    *error = base::text(status);
    return false;
  }
  const base::ImageShape& s = layout_.shape;
  if (s.isSigned || s.depth > 16 || colorOfShape(s) == Color::unknown || s.width > kMaxSide ||
      s.height > kMaxSide) {
    *error = "JPEG has no form for a picture of this size, depth or number of channels";
    return false;
  }
  // A greatest value that is not 2^n - 1 is kept as it is: the samples are coded, not scaled.
  *shape = {s.width, s.height, s.channels, s.depth, colorOfShape(s)};
  fileRow_.resize(layout_.fileRowBytes);
  return true;
}

Status ImageFileRows::rows(int first, int count, const uint8_t** pixels, ptrdiff_t* step) {
  const size_t bytes = layout_.shape.rowBytes();
  band_.resize(bytes * size_t(count));
  for (int i = 0; i < count; ++i) {
    if (!seek(file_.get(), layout_.rowOffset(first + i)) ||
        std::fread(fileRow_.data(), 1, fileRow_.size(), file_.get()) != fileRow_.size()) {
      error_ = "the file cannot be read";
      return Status::sourceFailed;
    }
    const base::ImageStatus status =
        layout_.decodeRow(fileRow_.data(), band_.data() + bytes * size_t(i));
    if (status != base::ImageStatus::ok) {
      error_ = base::text(status);
      return Status::sourceFailed;
    }
  }
  *pixels = band_.data();
  *step = ptrdiff_t(bytes);
  return Status::ok;
}

bool ImageFileSink::open(const std::string& name, const ImageShape& shape, std::string* error) {
  base::ImageFormat format{};
  if (!base::imageFormatOf(name, format)) {
    *error = "no format that is written here has such a name";
    return false;
  }
  base::ImageShape s;
  s.width = shape.width;
  s.height = shape.height;
  s.channels = shape.channels;
  s.depth = shape.precision;
  s.blueFirst = shape.color == Color::bgr;
  std::vector<uint8_t> header;
  const base::ImageStatus status = base::startImage(s, format, layout_, header);
  if (status != base::ImageStatus::ok) {
    *error = base::text(status);
    return false;
  }
  if (!openFile(name, "wb", &file_, error)) return false;
  rowBytes_ = shape.rowBytes();
  fileRow_.resize(size_t(layout_.rowStep));
  if (std::fwrite(header.data(), 1, header.size(), file_.get()) == header.size()) return true;
  *error = std::strerror(errno);
  return false;
}

Status ImageFileSink::room(int, int count, uint8_t** pixels, ptrdiff_t* step) {
  if (band_.size() < rowBytes_ * size_t(count)) band_.resize(rowBytes_ * size_t(count));
  *pixels = band_.data();
  *step = ptrdiff_t(rowBytes_);
  return Status::ok;
}

Status ImageFileSink::done(int first, int count) {
  for (int i = 0; i < count; ++i) {
    layout_.encodeRow(band_.data() + rowBytes_ * size_t(i), fileRow_.data());
    if (!seek(file_.get(), layout_.rowOffset(first + i)) ||
        std::fwrite(fileRow_.data(), 1, fileRow_.size(), file_.get()) != fileRow_.size()) {
      return Status::destinationFailed;
    }
  }
  return Status::ok;
}

bool ImageFileSink::close() { return std::fclose(file_.release()) == 0; }

bool FileBytes::open(const std::string& name, std::string* error) {
  return openFile(name, "wb", &file_, error);
}

Status FileBytes::write(const uint8_t* bytes, size_t count) {
  return std::fwrite(bytes, 1, count, file_.get()) == count ? Status::ok
                                                            : Status::destinationFailed;
}

bool FileBytes::close() { return std::fclose(file_.release()) == 0; }

}  // namespace jpeg
