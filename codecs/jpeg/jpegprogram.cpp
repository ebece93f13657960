// What the program jpegcodec does between its arguments and its exit code.
#include "jpegprogram.h"

#include <algorithm>
#include <chrono>

#include "jpegfiles.h"
#include "rkd/rkdcore.h"

namespace jpeg {
namespace {

constexpr const char* kUsage =
    "jpegcodec -i IN -o OUT [options]\n"
    "  .bmp, .ppm, .pgm to .jpg; .jpg to .bmp, .ppm, .pgm; .jpg to .jpg\n"
    "Encoding:\n"
    "  -mode baseline|progressive|lossless   -quality 1..100   -qtables FILE\n"
    "  -color RGB->YCbCr|RGB->RGB|RGB->Gray|Gray->Gray|CMYK->YCCK|CMYK->CMYK\n"
    "  -sampling 444|422|420|411|440   -restart MCUS   -optimize   -scans FILE\n"
    "  -predictor 1..7   -pt N   -exif FILE   -icc FILE\n"
    "Decoding:\n"
    "  -scale 1/2|1/4|1/8   -crop WxH+X+Y   -upsample triangle|plain   -strict\n"
    "From .jpg to .jpg, where nothing is quantised again, with -mode, -restart, -optimize, "
    "-scans:\n"
    "  -transform rot90|rot180|rot270|fliph|flipv|transpose|transverse|upright   -crop WxH+X+Y\n"
    "Both:\n"
    "  -info   -strip   -set NAME=VALUE   -memory MIB   -maxscans N   -threads N   -bench N\n";

/// One run of the program: its options, and where complaints go.
class Run {
 public:
  Run(const ProgramOptions& options, std::FILE* out, std::FILE* errors)
      : options_(options), out_(out), complaints_(errors) {}
  int work();

 private:
  EncodeOptions encodeOptions(const ImageShape& shape) const;
  bool isServed(Road road) const;
  int workOnJpeg();
  int encode(ImageFileRows& rows, const ImageShape& shape);
  int decode(const std::vector<uint8_t>& file);
  int benchEncode(ImageFileRows& rows, const ImageShape& shape);
  int benchDecode(const std::vector<uint8_t>& file);
  template <class Work>
  int bench(const ImageShape& shape, Work work);

  const ProgramOptions& options_;
  std::FILE* out_;
  Complaints complaints_;
};

bool isJpegName(const std::string& name) {
  const size_t dot = name.rfind('.');
  if (dot == std::string::npos) return false;
  std::string ending = name.substr(dot + 1);
  std::ranges::transform(ending, ending.begin(), [](unsigned char c) { return char(c | 0x20); });
  return ending == "jpg" || ending == "jpeg" || ending == "jpe" || ending == "jfif";
}

bool looksLikeJpeg(const std::string& name) {
  const File file(std::fopen(name.c_str(), "rb"));
  uint8_t head[2] = {};
  return file != nullptr && std::fread(head, 1, 2, file.get()) == 2 && head[0] == 0xFF &&
         head[1] == 0xD8;
}

/// What the file's colours are, where the command line says nothing.
Color colorFor(const ImageShape& shape, Mode mode) {
  if (shape.color == Color::bgr && mode == Mode::lossless) return Color::rgb;
  if (mode == Mode::lossless) return shape.color;
  switch (shape.color) {
    case Color::rgb:
    case Color::bgr:
      return Color::ycbcr;
    case Color::cmyk:
      return Color::ycck;
    default:
      return shape.color;
  }
}

EncodeOptions Run::encodeOptions(const ImageShape& shape) const {
  EncodeOptions encode = options_.encode;
  if (!options_.hasColor) encode.color = colorFor(shape, encode.mode);
  return encode;
}

int Run::encode(ImageFileRows& rows, const ImageShape& shape) {
  Encoder encoder;
  encoder.options() = encodeOptions(shape);
  std::string culprit, error;
  if (!applySideFiles(options_, &encoder.options(), &culprit, &error)) {
    return complaints_.fail(culprit, error);
  }
  FileBytes bytes;
  if (!bytes.open(options_.output, &error)) return complaints_.fail(options_.output, error);
  Status status = encoder.setSource(shape, rows);
  if (!isError(status)) status = encoder.setDestination(bytes);
  if (!isError(status)) status = encoder.writeHeader();
  if (!isError(status)) status = encoder.writeData();
  const bool isClosed = bytes.close();
  if (status == Status::ok && isClosed) return 0;
  std::remove(options_.output.c_str());
  if (status == Status::sourceFailed) return complaints_.fail(options_.input, rows.error());
  if (status == Status::destinationFailed || !isClosed) {
    return complaints_.fail(options_.output, "cannot be written");
  }
  return complaints_.fail(options_.input, status);
}

int Run::decode(const std::vector<uint8_t>& file) {
  Decoder decoder;
  decoder.options() = options_.decode;
  Status status = decoder.setSource(file);
  if (!isError(status)) status = decoder.readHeader();
  if (isError(status)) return complaints_.fail(options_.input, status);
  ImageFileSink sink;
  std::string error;
  if (!sink.open(options_.output, decoder.info().image, &error)) {
    return complaints_.fail(options_.output, error);
  }
  status = decoder.setDestination(sink);
  if (!isError(status)) status = decoder.readData();
  const bool isClosed = sink.close();
  if (isError(status) || !isClosed) {
    std::remove(options_.output.c_str());
    if (!isError(status)) return complaints_.fail(options_.output, "cannot be written");
    return complaints_.fail(options_.input, reasonOf(status, decoder));
  }
  complaints_.warn(options_.input, decoder);
  return 0;
}

template <class Work>
int Run::bench(const ImageShape& shape, Work work) {
  std::vector<double> seconds, clocks;
  for (int i = 0; i < options_.bench; ++i) {
    const auto start = std::chrono::steady_clock::now();
    const uint64_t counter = rkdGetCpuClocks();
    const Status status = work();
    clocks.push_back(double(rkdGetCpuClocks() - counter));
    seconds.push_back(
        std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count());
    if (isError(status)) return complaints_.fail(options_.input, status);
  }
  std::ranges::sort(seconds);
  std::ranges::sort(clocks);
  const double pixels = double(shape.width) * shape.height;
  const auto line = [&](const char* name, size_t at) {
    std::fprintf(out_, "%-8s %9.2f Mpixel/s %9.3f clocks/px\n", name, pixels / seconds[at] / 1e6,
                 clocks[at] / pixels);
  };
  line("fastest", 0);
  line("median", seconds.size() / 2);
  return 0;
}

int Run::benchEncode(ImageFileRows& rows, const ImageShape& shape) {
  std::vector<uint8_t> pixels;
  for (int y = 0; y < shape.height; ++y) {
    const uint8_t* row = nullptr;
    ptrdiff_t step = 0;
    if (isError(rows.rows(y, 1, &row, &step)))
      return complaints_.fail(options_.input, rows.error());
    pixels.insert(pixels.end(), row, row + shape.rowBytes());
  }
  std::vector<uint8_t> file(pixels.size() * 2 + (1 << 20));
  const EncodeOptions encode = encodeOptions(shape);
  Encoder encoder;
  return bench(shape, [&] {
    JPEG_RETURN_IF_ERROR(encoder.clean());
    encoder.options() = encode;
    JPEG_RETURN_IF_ERROR(encoder.setSource(shape, pixels.data()));
    JPEG_RETURN_IF_ERROR(encoder.setDestination(file.data(), file.size()));
    JPEG_RETURN_IF_ERROR(encoder.writeHeader());
    return encoder.writeData();
  });
}

int Run::benchDecode(const std::vector<uint8_t>& file) {
  std::vector<uint8_t> pixels;
  ImageShape shape;
  Decoder decoder;
  const auto decode = [&] {
    JPEG_RETURN_IF_ERROR(decoder.clean());
    decoder.options() = options_.decode;
    JPEG_RETURN_IF_ERROR(decoder.setSource(file));
    JPEG_RETURN_IF_ERROR(decoder.readHeader());
    shape = decoder.info().image;
    const size_t size = shape.rowBytes() * size_t(shape.height);
    if (size > options_.decode.memoryLimit) return Status::overMemoryLimit;
    pixels.resize(size);
    JPEG_RETURN_IF_ERROR(decoder.setDestination(pixels.data(), pixels.size()));
    return decoder.readData();
  };
  if (const Status status = decode(); isError(status))
    return complaints_.fail(options_.input, status);
  return bench(shape, decode);
}

/// What was asked for and cannot be done is refused: a picture without it would be a wrong one.
bool Run::isServed(Road road) const {
  constexpr const char* kWhere[] = {"when a picture is encoded", "when a picture is decoded",
                                    "from .jpg to .jpg, where no picture is decoded"};
  const std::string& idle = options_.idle[size_t(road)];
  if (idle.empty()) return true;
  complaints_.fail(idle, std::string("does nothing ") + kWhere[size_t(road)]);
  return false;
}

int Run::workOnJpeg() {
  std::vector<uint8_t> file;
  std::string error;
  if (!readFile(options_.input, &file, &error)) return complaints_.fail(options_.input, error);
  const bool isCopy = options_.bench == 0 && isJpegName(options_.output);
  if (!isServed(isCopy ? Road::copy : Road::decode)) return 1;
  if (options_.bench > 0) return benchDecode(file);
  if (options_.info) {
    const int code = printInfo(options_, file, out_, complaints_);
    if (code != 0 || options_.output.empty()) return code;
  }
  return isCopy ? copyFile(options_, file, complaints_) : decode(file);
}

int Run::work() {
  if (looksLikeJpeg(options_.input)) return workOnJpeg();
  std::string error;
  ImageFileRows rows;
  ImageShape shape;
  if (!rows.open(options_.input, &shape, &error)) return complaints_.fail(options_.input, error);
  if (options_.info) {
    return complaints_.fail(options_.input, "is no JPEG file, and -info tells of no other");
  }
  if (!isServed(Road::encode)) return 1;
  if (options_.bench > 0) return benchEncode(rows, shape);
  if (!isJpegName(options_.output)) {
    return complaints_.fail(options_.output, "a picture is encoded to a file that ends in .jpg");
  }
  return encode(rows, shape);
}

}  // namespace

int Complaints::fail(const std::string& file, const std::string& reason) const {
  std::fprintf(errors_, "jpegcodec: %s: %s\n", file.c_str(), reason.c_str());
  return 1;
}

void Complaints::warn(const std::string& file, const std::string& reason) const {
  std::fprintf(errors_, "jpegcodec: %s: warning: %s\n", file.c_str(), reason.c_str());
}

void Complaints::warn(const std::string& file, const Decoder& decoder) const {
  for (const Status w : decoder.warnings()) warn(file, statusText(w));
}

Status reasonOf(Status status, const Decoder& decoder) {
  return status == Status::notStrict ? decoder.warnings().front() : status;
}

int runProgram(const std::vector<std::string>& arguments, std::FILE* out, std::FILE* errors) {
  ProgramOptions options;
  std::string error;
  if (!parseOptions(arguments, &options, &error)) {
    std::fprintf(errors, "jpegcodec: %s\n", error.c_str());
    return 2;
  }
  if (options.help) {
    std::fputs(kUsage, out);
    return 0;
  }
  return Run(options, out, errors).work();
}

}  // namespace jpeg
