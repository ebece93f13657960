// BMP files: loaded into an image of the test data, and read for the codecs.
#include "imagefile.h"
#include "memoryfile.h"
#include "rkbmpfile.h"
#include "tzmemory.h"
#include "tzostream.h"

namespace {

void load(const MemoryFile& file, std::size_t fileSize) {
  rkImage image;
  rkBmpFile bmp(image);
  const bool promising = rkImage::canLoadImage(file.path());
  const bool loaded = bmp.load(file.path());
  require(promising == loaded, "a file is said to be loadable when it loads");
  if (!loaded) return;
  require(image.width() > 0 && image.height() > 0 && image.channels() >= 1, "an image has pixels");
  require(image.type() == rk8u && !image.isPlanar(), "pixels are interleaved bytes");

  // Eight pixels to a byte, each of three channels, and rows of at least 64 bytes for 4.
  const auto bytes =
      static_cast<std::size_t>(image.step()) * static_cast<std::size_t>(image.getNumRows());
  require(bytes / 64 <= fileSize, "a small file makes no large image");
  for (int row = 0; row < image.getNumRows(); ++row) {
    const auto* const from = static_cast<const unsigned char*>(image.getRowPointer(row));
    std::size_t sum = 0;
    for (int i = 0; i < image.width() * image.channels(); ++i) sum += from[i];
    require(sum <= std::size_t{255} * static_cast<std::size_t>(image.step()), "rows are there");
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  g_ostrm.setOutLevel(0);
  const MemoryFile file;
  file.put(asText(data, size));
  load(file, size);
  exerciseImage({data, size}, base::BmpPixels::rgb);
  exerciseImage({data, size}, base::BmpPixels::stored);
  require(tzMallocFirst(nullptr, nullptr) == nullptr, "no buffer is left behind");
  return 0;
}
