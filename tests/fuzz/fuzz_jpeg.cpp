// JPEG files: decoded to pixels, reduced and in part, and written again from their coefficients.
#include <cstddef>
#include <cstdint>
#include <vector>

#include "fuzz.h"
#include "jpeg.h"

namespace {

class Counter : public jpeg::ByteSink {
 public:
  jpeg::Status write(const uint8_t*, size_t) override { return jpeg::Status::ok; }
};

bool isSmall(const jpeg::FileInfo& info) {
  return int64_t{info.frame.width} * info.frame.height <= 1 << 20;
}

void decode(const uint8_t* data, size_t size, const jpeg::DecodeOptions& options) {
  jpeg::Decoder decoder;
  decoder.options() = options;
  if (isError(decoder.setSource(data, size)) || isError(decoder.readHeader())) return;
  if (!isSmall(decoder.info())) return;
  const jpeg::ImageShape& shape = decoder.info().image;
  std::vector<uint8_t> pixels(shape.rowBytes() * size_t(shape.height));
  if (isError(decoder.setDestination(pixels.data(), pixels.size()))) return;
  (void)decoder.readData();
}

void copy(const uint8_t* data, size_t size, jpeg::Mode mode) {
  jpeg::Decoder decoder;
  jpeg::Coefficients coefficients;
  if (isError(decoder.setSource(data, size)) || isError(decoder.readHeader())) return;
  if (!isSmall(decoder.info()) || isError(decoder.readCoefficients(&coefficients))) return;
  jpeg::EncodeOptions options;
  options.mode = mode;
  options.optimize = true;
  options.metadata = decoder.metadata();
  Counter sink;
  (void)jpeg::writeCoefficients(coefficients, options, sink);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size == 0) return 0;
  jpeg::DecodeOptions options;
  options.memoryLimit = size_t{1} << 26;
  options.maxScans = 20;
  options.threads = size % 4 == 0 ? 3 : 1;
  decode(data, size, options);
  options.threads = 1;
  options.scale = 2 << (size % 3);
  options.upsampling = jpeg::Upsampling::plain;
  options.crop = {0, 0, 1, 1};
  decode(data, size, options);
  copy(data, size, jpeg::Mode::baseline);
  copy(data, size, jpeg::Mode::progressive);
  return 0;
}
