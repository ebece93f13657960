// A JPEG 2000 file, decoded whole or in part behind a byte that says how.
#include <vector>

#include "fuzz.h"
#include "jpeg2000.h"
#include "picture.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size < 1) return 0;
  j2k::Options options;
  options.memoryMiB = 32;
  options.reduce = data[0] & 3;
  options.maxLayers = data[0] >> 2 & 3;
  if (data[0] & 16) options.crop = {3, 5, 20, 17};
  options.strict = (data[0] & 32) != 0;
  options.listing = (data[0] & 64) != 0;
  options.threads = (data[0] & 128) != 0 ? 2 : 1;
  j2k::Diagnostics none;
  j2k::Pixels pixels;
  j2k::PictureInfo info;
  const std::vector<std::uint8_t> file(data + 1, data + size);
  const j2k::Status status = j2k::decodePixels(options, none, file, 16, pixels, info);
  const std::size_t samples = std::size_t(pixels.width) * std::size_t(pixels.height) *
                              std::size_t(pixels.channels) * (pixels.depth > 8 ? 2 : 1);
  require(status != j2k::Status::ok || pixels.bytes.size() == samples, "all samples are there");
  return 0;
}
