#pragma once
/// @file
/// JPEG encoder and decoder of ITU-T T.81: baseline, extended, progressive and lossless.
///
/// Both work in steps. An encoder: clean, setSource, setDestination, writeHeader, writeData; a
/// decoder: clean, setSource, setDestination, readHeader, readData. Each returns a Status; a later
/// step is refused until the earlier ones have succeeded. Objects can be used again after clean and
/// from several threads at once as long as each thread has its own; there is no global state.
///
/// Pixels are interleaved samples: 8 bits, or 16 in the machine's byte order where the precision is
/// above 8. They come and go a band of rows at a time (RowSource, RowSink), or lie in memory.
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <vector>

#include "frame.h"
#include "status.h"
#include "tables.h"

namespace jpeg {

/// What the channels of pixels, or the components of a file, mean.
enum class Color { unknown, gray, rgb, bgr, cmyk, ycbcr, ycck };

/// Channels of a colour; 0 for unknown.
int channelsOf(Color color);

/// Shape of a picture.
struct ImageShape {
  int width = 0, height = 0;  ///< in PIXELS, 1..65535
  int channels = 0;           ///< interleaved samples of a pixel, 1..4
  int precision = 8;          ///< bits of a sample: 8, or 2..16 where lossless
  Color color = Color::unknown;

  int bytesPerSample() const { return precision > 8 ? 2 : 1; }
  size_t rowBytes() const { return size_t(width) * size_t(channels * bytesPerSample()); }
};

/// Where pixels come from.
class RowSource {
 public:
  virtual ~RowSource() = default;
  /// Rows `first` to `first + count - 1`; they stay until the next call. Rows are asked for in
  /// order, and none twice.
  /// @param pixels  receives the first pixel of the first row
  /// @param step    receives BYTES between row starts
  virtual Status rows(int first, int count, const uint8_t** pixels, ptrdiff_t* step) = 0;
};

/// Where pixels go.
class RowSink {
 public:
  virtual ~RowSink() = default;
  /// Room for rows `first` to `first + count - 1`, in order.
  virtual Status room(int first, int count, uint8_t** pixels, ptrdiff_t* step) = 0;
  /// Those rows have been written.
  virtual Status done(int first, int count) = 0;
};

/// Where the bytes of a file go.
class ByteSink {
 public:
  virtual ~ByteSink() = default;
  virtual Status write(const uint8_t* bytes, size_t count) = 0;
};

/// Bytes in memory that grows.
struct ByteVector : ByteSink {
  std::vector<uint8_t> bytes;
  Status write(const uint8_t* more, size_t count) override {
    bytes.insert(bytes.end(), more, more + count);
    return Status::ok;
  }
};

/// What a file carries beside its picture, as it stands there.
struct Metadata {
  std::vector<uint8_t> exif;  ///< a TIFF structure, without the "Exif" in front; empty: none
  std::vector<uint8_t> icc;   ///< a whole colour profile, put together from its chunks
  std::vector<uint8_t> jfifThumbnail;  ///< RGB pixels of JFIF's own thumbnail
  int jfifThumbnailWidth = 0, jfifThumbnailHeight = 0;
  struct Segment {
    uint8_t marker = 0;  ///< 0xE0..0xEF, 0xFE
    std::vector<uint8_t> payload;
  };
  /// Every other APPn and comment, in order, without JFIF and Adobe, which the coder makes itself.
  std::vector<Segment> other;
};

/// Density of pixels, as JFIF has it.
struct Density {
  int unit = 0;  ///< 0 aspect ratio only, 1 a inch, 2 a centimetre
  int x = 1, y = 1;
};

enum class Mode { baseline, progressive, lossless };

/// Sampling of the second and third component: 4:4:4, halved down (4:4:0), halved across (4:2:2),
/// both (4:2:0), a quarter across (4:1:1).
enum class Sampling { s444, s440, s422, s420, s411 };

struct EncodeOptions {
  Mode mode = Mode::baseline;
  Color color = Color::ycbcr;  ///< of the file; lossless: that of the pixels
  Sampling sampling = Sampling::s420;
  int quality = 75;                      ///< 1..100, of the standard quantisers
  std::vector<Quantisers> quantisers;    ///< own ones instead: first luminance, second the others
  bool optimize = false;                 ///< Huffman tables made for this picture
  int restartInterval = 0;               ///< in MCUs, 0 none; lossless: rounded up to whole rows
  Script script;                         ///< progressive: empty for the default one
  int predictor = 1;                     ///< lossless: 1..7
  int pointTransform = 0;                ///< lossless: low bits left out, 0..precision - 1
  int threads = 1;                       ///< 1..64; the bytes are the same for every number
  size_t memoryLimit = size_t{1} << 30;  ///< BYTES of work memory
  Density density;
  Metadata metadata;  ///< exif, icc and other are written
};

class Encoder {
 public:
  Encoder();
  ~Encoder();
  Encoder(const Encoder&) = delete;
  Encoder& operator=(const Encoder&) = delete;

  /// Ready for another picture; options return to their defaults.
  Status clean();
  /// May be changed until writeHeader.
  EncodeOptions& options();

  /// @param rows  must live until writeData returns
  Status setSource(const ImageShape& shape, RowSource& rows);
  /// @param step  BYTES between row starts, 0 for rows without gaps
  Status setSource(const ImageShape& shape, const void* pixels, ptrdiff_t step = 0);

  /// @param bytes  must live until writeData returns
  Status setDestination(ByteSink& bytes);
  /// @param size  BYTES that may be written; what they were not enough for is destinationFull
  Status setDestination(uint8_t* bytes, size_t size);

  /// Checks the options and writes everything in front of the first scan, unless the tables have to
  /// wait for the picture.
  Status writeHeader();
  Status writeData();

  /// BYTES written so far.
  size_t size() const;

  struct Work;

 private:
  std::unique_ptr<Work> work_;
};

/// Whether lost resolution of components is made up by weights of two or four neighbours or by
/// repeating samples.
enum class Upsampling { triangle, plain };

struct DecodeOptions {
  Color color = Color::unknown;  ///< of the pixels; unknown: RGB, grey or CMYK as the file is
  int scale = 1;                 ///< 1, 2, 4, 8: reduce both sides by this
  Rect crop;                     ///< of the reduced picture; empty for all
  Upsampling upsampling = Upsampling::triangle;
  bool strict = false;  ///< a file with warnings is an error: notStrict
  int threads = 1;
  size_t memoryLimit = size_t{1} << 30;  ///< BYTES of work memory and of pixels in memory
  int maxScans = 200;
  /// Called after each scan of a file with several, with the picture so far in the destination,
  /// which must be memory. @return false to stop
  std::function<bool(int scan)> onScan;
};

/// What readHeader found.
struct FileInfo {
  Frame frame;
  ImageShape image;              ///< as readData gives it with these options
  Color color = Color::unknown;  ///< of the components
  bool hasJfif = false, hasAdobe = false;
  int adobeTransform = -1;
  Density density;
  int restartInterval = 0;
};

/// The blocks of one component, in memory that Coefficients owns.
class CoefficientPlane {
 public:
  CoefficientPlane() = default;
  CoefficientPlane(int16_t* first, size_t blocks) : first_(first), blocks_(blocks) {}
  int16_t* block(size_t index) { return first_ + 64 * index; }
  const int16_t* block(size_t index) const { return first_ + 64 * index; }
  size_t blocks() const { return blocks_; }

 private:
  int16_t* first_ = nullptr;
  size_t blocks_ = 0;
};

/// Gives back what malloc has given.
struct FreeMemory {
  void operator()(void* memory) const { std::free(memory); }
};

/// Coefficients of a whole picture, and what it takes to write them again.
struct Coefficients {
  static constexpr int kBlock = 64;
  Frame frame;
  Color color = Color::unknown;
  std::array<Quantisers, 4> quantisers{};
  /// paddedAcross x paddedDown blocks in rows, 64 quantised values each in natural order.
  std::array<CoefficientPlane, kMaxComponents> component;

  /// @param isZero  whether the frame's blocks are to be zero, or will be set by the caller
  /// @return ok, overMemoryLimit, noMemory
  Status allocate(size_t memoryLimit, bool isZero = true);
  int16_t* block(int index, int row, int column) {
    const Component& c = frame.component[size_t(index)];
    return component[size_t(index)].block(size_t(row) * size_t(c.paddedAcross) + size_t(column));
  }
  const int16_t* block(int index, int row, int column) const {
    return const_cast<Coefficients*>(this)->block(index, row, column);
  }

 private:
  std::unique_ptr<void, FreeMemory> memory_;
};

class Decoder {
 public:
  Decoder();
  ~Decoder();
  Decoder(const Decoder&) = delete;
  Decoder& operator=(const Decoder&) = delete;

  /// Ready for another file; options return to their defaults.
  Status clean();
  /// Up to readHeader; crop and destination up to readData.
  DecodeOptions& options();

  /// @param file  must stay until readData returns
  Status setSource(std::span<const uint8_t> file);
  Status setSource(const uint8_t* bytes, size_t size) { return setSource({bytes, size}); }

  /// Either may be set before readHeader, or after it, when the size is known.
  Status setDestination(RowSink& rows);
  /// @param size  BYTES that may be written; checked by readData before it writes
  /// @param step  BYTES between row starts, 0 for rows without gaps
  Status setDestination(void* pixels, size_t size, ptrdiff_t step = 0);

  /// Reads everything in front of the first scan.
  Status readHeader();
  /// Decodes the picture. After an error inside the entropy-coded data what was decoded is in the
  /// destination, the rest filled, and the status is a warning, unless strict.
  Status readData();
  /// The coefficients instead of the pixels; not of lossless files.
  Status readCoefficients(Coefficients* coefficients);

  const FileInfo& info() const;
  const Metadata& metadata() const;
  /// Warnings so far, each code once, in the order of their first occurrence.
  const std::vector<Status>& warnings() const;

  struct Work;

 private:
  std::unique_ptr<Work> work_;
};

/// Writes a file from coefficients: the lossless way from file to file.
/// @param options  mode (not lossless), optimize, restartInterval, script, density and metadata
Status writeCoefficients(const Coefficients& coefficients, const EncodeOptions& options,
                         ByteSink& bytes);

}  // namespace jpeg
