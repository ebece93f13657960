// What the program jpeg2kcodec does between its arguments and its exit code.
#include "jpeg2kprogram.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <string>
#include <string_view>
#include <vector>

#include "base/imagefile.h"
#include "jpeg2000.h"
#include "picture.h"
#include "rkd/rkdcore.h"
#include "srgb.h"

namespace j2k {
namespace {

using Bytes = std::vector<uint8_t>;

constexpr const char* usage =
    "usage: jpeg2kcodec -i IN -o OUT [KEY [VALUE]]...\n"
    "encodes .bmp .ppm .pgm .pnm .pam .pgx to .jp2 .j2k .j2c, and decodes the other way\n"
    "encoding: -ratio R[,R] -psnr DB[,DB] -wlev N -wt wt53|wt97 -mct+|-mct- -tile WxH -prec WxH\n"
    "  -cblk WxH -style bypass,reset,termall,causal,predterm,segsym -layers N\n"
    "  -prog LRCP|RLCP|RPCL|PCRL|CPRL -roi WxH+X+Y -sop -eph -tlm -plt -parts R|L|C\n"
    "  -packed M|T -derived -offset X,Y -poc R,C,ENDL,ENDR,ENDC,ORDER[/...]\n"
    "  -icc FILE -xml FILE -uuid FILE -res DPI[,DPI]\n"
    "decoding: -reduce N -maxlayers N -component N -crop WxH+X+Y -strict -srgb\n"
    "both: -linf+|-linf- -diag [N] -memory MIB -threads N -bench N\n";

/// Warnings one line each on standard error, listings on standard output.
class Console : public Diagnostics {
 public:
  explicit Console(std::string file) : m_file(std::move(file)) {}

  void message(const DiagnosticText& d, std::string_view detail) override {
    const bool exception = d.severity == Severity::exception;
    std::fprintf(stderr, "%s: %s %d: %s%s%.*s\n", m_file.c_str(), exception ? "error" : "warning",
                 d.number, d.summary, detail.empty() ? "" : ": ", int(detail.size()),
                 detail.data());
  }
  void line(std::string_view text) override {
    std::printf("%.*s\n", int(text.size()), text.data());
  }

 private:
  std::string m_file;
};

int complain(const std::string& file, const char* reason) {
  std::fprintf(stderr, "jpeg2kcodec: %s: %s\n", file.c_str(), reason);
  return 1;
}

bool readFile(const std::string& name, Bytes& bytes) {
  std::ifstream in(name, std::ios::binary | std::ios::ate);
  if (!in) return false;
  const std::streamoff size = in.tellg();
  if (size < 0) return false;
  bytes.resize(size_t(size));
  in.seekg(0);
  in.read(reinterpret_cast<char*>(bytes.data()), size);
  return bool(in);
}

bool writeFile(const std::string& name, const Bytes& bytes) {
  std::ofstream out(name, std::ios::binary | std::ios::trunc);
  out.write(reinterpret_cast<const char*>(bytes.data()), std::streamsize(bytes.size()));
  out.close();
  return bool(out);
}

bool endsWith(std::string_view name, std::string_view ending) {
  if (name.size() < ending.size()) return false;
  return std::equal(ending.begin(), ending.end(), name.end() - std::ptrdiff_t(ending.size()),
                    [](char a, char b) { return a == (b | 0x20); });
}

bool isStream(const Bytes& file) {
  static constexpr uint8_t box[] = {0, 0, 0, 12, 'j', 'P', ' ', ' '};
  return (file.size() >= 2 && file[0] == 0xFF && file[1] == 0x4F) ||
         (file.size() >= sizeof box && std::equal(std::begin(box), std::end(box), file.begin()));
}

bool isStreamName(std::string_view name) {
  static constexpr std::string_view endings[] = {".jp2", ".j2k", ".j2c", ".jpc", ".jpx", ".jpf"};
  return std::any_of(std::begin(endings), std::end(endings),
                     [name](std::string_view ending) { return endsWith(name, ending); });
}

int listDiagnostics(int number) {
  bool found = number == 0;
  for (const DiagnosticText& d : diagnosticTexts()) {
    if (number != 0 && d.number != number) continue;
    found = true;
    std::printf("%d %s: %s\n", d.number,
                d.severity == Severity::exception ? "exception" : "warning", d.summary);
    if (number != 0) std::printf("%s\n", d.text);
  }
  if (!found) std::fprintf(stderr, "jpeg2kcodec: there is no diagnostic %d\n", number);
  return found ? 0 : 1;
}

/// Repeats a step and tells the rate of the fastest and the median turn.
template <typename Step>
bool benchmark(int turns, double pixels, const Step& step) {
  struct Turn {
    double seconds, clocks;
  };
  std::vector<Turn> list;
  for (int i = 0; i < turns; ++i) {
    const auto start = std::chrono::steady_clock::now();
    const uint64_t clocks = rkdGetCpuClocks();
    if (!step()) return false;
    const double spent = double(rkdGetCpuClocks() - clocks);
    list.push_back(
        {std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count(), spent});
  }
  std::sort(list.begin(), list.end(),
            [](const Turn& a, const Turn& b) { return a.seconds < b.seconds; });
  const Turn& fastest = list.front();
  const Turn& median = list[list.size() / 2];
  std::printf("fastest %.2f Mpixel/s %.1f clocks/pixel, median %.2f Mpixel/s %.1f clocks/pixel\n",
              pixels / fastest.seconds / 1e6, fastest.clocks / pixels,
              pixels / median.seconds / 1e6, median.clocks / pixels);
  return true;
}

std::vector<SampleView> viewsOf(base::Image& image) {
  const size_t size = image.shape.sampleBytes();
  const SampleType type = size == 1   ? SampleType::u8
                          : size == 2 ? SampleType::u16
                                      : SampleType::s32;
  std::vector<SampleView> views;
  for (int c = 0; c < image.shape.channels; ++c) {
    const int channel = image.shape.blueFirst && c < 3 ? 2 - c : c;
    views.push_back({image.samples.data() + size_t(channel) * size, type, image.shape.channels,
                     ptrdiff_t(image.step)});
  }
  return views;
}

/// Signed samples of one or two bytes are widened; views know none.
void widenSigned(base::Image& image) {
  if (!image.shape.isSigned || image.shape.sampleBytes() == 4) return;
  const size_t count = image.samples.size() / image.shape.sampleBytes();
  Bytes wide(count * 4);
  int32_t* const dst = reinterpret_cast<int32_t*>(wide.data());
  for (size_t i = 0; i < count; ++i) {
    dst[i] = image.shape.sampleBytes() == 1
                 ? int32_t(reinterpret_cast<const int8_t*>(image.samples.data())[i])
                 : int32_t(reinterpret_cast<const int16_t*>(image.samples.data())[i]);
  }
  image.step = image.step / image.shape.sampleBytes() * 4;
  image.samples = std::move(wide);
}

std::vector<SampleView> encoderViews(base::Image& image) {
  const bool widened = image.shape.isSigned && image.shape.sampleBytes() < 4;
  widenSigned(image);
  std::vector<SampleView> views = viewsOf(image);
  if (!widened) return views;
  for (int c = 0; c < image.shape.channels; ++c) {
    views[size_t(c)].data = image.samples.data() + size_t(c) * 4;
    views[size_t(c)].type = SampleType::s32;
  }
  return views;
}

/// Files whose contents become boxes. @return the name of one that cannot be read, or nothing
std::string readAttachments(const Options& options, PictureInfo& info) {
  if (!options.profile.empty() && !readFile(options.profile, info.profile)) return options.profile;
  if (!options.xml.empty() && !readFile(options.xml, info.xml.emplace_back())) return options.xml;
  if (!options.uuid.empty() && !readFile(options.uuid, info.uuids.emplace_back())) {
    return options.uuid;
  }
  return {};
}

int encodeFile(Options options, Console& console, Bytes& file) {
  base::Image image;
  const base::ImageStatus status = base::readImage(file, image);
  file = {};
  if (status != base::ImageStatus::ok) return complain(options.input, base::text(status));
  PictureInfo info;
  info.width = image.shape.width;
  info.height = image.shape.height;
  info.resolutionX = options.resolutionX;
  info.resolutionY = options.resolutionY;
  for (int c = 0; c < image.shape.channels; ++c) {
    info.components.push_back(
        {info.width, info.height, image.shape.depth, image.shape.isSigned, 1, 1});
  }
  const std::string unread = readAttachments(options, info);
  if (!unread.empty()) return complain(unread, "cannot be read");
  options.rawStream = endsWith(options.output, ".j2k") || endsWith(options.output, ".j2c");
  const std::vector<SampleView> views = encoderViews(image);
  Bytes out;
  const auto step = [&] { return encodePicture(options, console, info, views, out) == Status::ok; };
  const double pixels = double(info.width) * info.height;
  if (options.bench > 0) return benchmark(options.bench, pixels, step) ? 0 : 1;
  if (!step()) return 1;
  if (!writeFile(options.output, out)) return complain(options.output, "cannot be written");
  return 0;
}

std::string numberedName(const std::string& name, size_t number) {
  const size_t dot = name.rfind('.');
  return name.substr(0, dot) + "_" + std::to_string(number) + name.substr(dot);
}

int writePgx(const Options& options, const std::vector<Channel>& channels) {
  for (size_t c = 0; c < channels.size(); ++c) {
    const Channel& channel = channels[c];
    const std::string name = numberedName(options.output, c);
    base::ImageShape shape;
    shape.width = channel.width;
    shape.height = channel.height;
    shape.depth = std::min(channel.precision, 32);
    shape.isSigned = channel.isSigned;
    const size_t size = shape.sampleBytes();
    Bytes samples(channel.samples.size() * size);
    for (size_t i = 0; i < channel.samples.size(); ++i) {
      std::memcpy(&samples[i * size], &channel.samples[i], size);
    }
    Bytes file;
    const base::ImageStatus status = base::writeImage(
        shape, samples.data(), size_t(channel.width) * size, base::ImageFormat::pgx, file);
    if (status != base::ImageStatus::ok) return complain(name, base::text(status));
    if (!writeFile(name, file)) return complain(name, "cannot be written");
  }
  return 0;
}

/// Bitmaps have blue first, and no form for grey with opacity; anymaps have none for opacity.
void suitFormat(Pixels& pixels, base::ImageFormat format) {
  if (format == base::ImageFormat::pam) return;
  if (pixels.channels != 2 && !(pixels.channels == 4 && format == base::ImageFormat::pnm)) return;
  const size_t from = size_t(pixels.channels), to = from - 1;
  const size_t size = pixels.depth > 8 ? 2 : 1;
  const size_t count = size_t(pixels.width) * size_t(pixels.height);
  for (size_t i = 0; i < count; ++i) {
    std::memmove(&pixels.bytes[i * to * size], &pixels.bytes[i * from * size], to * size);
  }
  pixels.channels = int(to);
  pixels.bytes.resize(count * to * size);
}

int writePixels(const Options& options, Pixels& pixels, base::ImageFormat format) {
  suitFormat(pixels, format);
  base::ImageShape shape;
  shape.width = pixels.width;
  shape.height = pixels.height;
  shape.channels = pixels.channels;
  shape.depth = pixels.depth;
  const size_t step = shape.rowBytes();
  Bytes file;
  const base::ImageStatus status = base::writeImage(shape, pixels.bytes.data(), step, format, file);
  pixels.bytes = {};
  if (status != base::ImageStatus::ok) return complain(options.output, base::text(status));
  if (!writeFile(options.output, file)) return complain(options.output, "cannot be written");
  return 0;
}

int decodeFile(const Options& options, Console& console, Bytes& file) {
  base::ImageFormat format{};
  if (!base::imageFormatOf(options.output, format)) {
    return complain(options.output, "is no .bmp, .ppm, .pgm, .pnm, .pam or .pgx");
  }
  PictureInfo info;
  std::vector<Channel> channels;
  Pixels pixels;
  const int depth = format == base::ImageFormat::bmp ? 8 : 16;
  const auto step = [&] {
    const Status status = format == base::ImageFormat::pgx
                              ? decodeChannels(options, console, file, channels, info)
                              : decodePixels(options, console, file, depth, pixels, info);
    return status == Status::ok;
  };
  if (options.bench > 0) {
    if (!step()) return 1;
    return benchmark(options.bench, double(info.width) * info.height, step) ? 0 : 1;
  }
  if (!step()) return 1;
  file = {};
  if (format == base::ImageFormat::pgx) return writePgx(options, channels);
  if (options.srgb) {
    const std::string trouble = convertToSrgb(info, pixels);
    if (!trouble.empty()) return complain(options.input, trouble.c_str());
  }
  return writePixels(options, pixels, format);
}

}  // namespace

int runProgram(int argc, const char* const* argv) {
  Options options;
  std::string error;
  if (argc < 2) {
    std::fputs(usage, stderr);
    return 2;
  }
  if (parseOptions(argc, argv, options, error) != Status::ok) {
    std::fprintf(stderr, "jpeg2kcodec: %s\n", error.c_str());
    return 2;
  }
  if (options.listDiagnostics) return listDiagnostics(options.diagnostic);
  const bool listOnly = options.listing && options.output.empty();
  if (options.input.empty() || (options.output.empty() && options.bench == 0 && !listOnly)) {
    std::fputs("jpeg2kcodec: -i and -o are needed\n", stderr);
    return 2;
  }
  Bytes file;
  if (!readFile(options.input, file)) return complain(options.input, "cannot be read");
  Console console(options.input);
  if (listOnly) {
    Decoder decoder(options, console);
    return decoder.open(file) == Status::ok ? 0 : 1;
  }
  if (!isStream(file)) {
    if (isStreamName(options.input)) {
      return complain(options.input, "is neither a JP2 file nor a codestream");
    }
    return encodeFile(options, console, file);
  }
  Options decoding = options;
  if (decoding.output.empty()) decoding.output = ".pam";
  return decodeFile(decoding, console, file);
}

}  // namespace j2k
