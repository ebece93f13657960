// Pictures of 8 bits in buffers of the caller.
#include <algorithm>
#include <cstring>

#include "picture.h"

namespace j2k {
namespace {

/// Channel n of a pixel in a bitmap: blue comes first.
size_t bmpChannel(size_t channel, size_t channels) {
  return channels >= 3 && channel < 3 ? 2 - channel : channel;
}

std::vector<SampleView> bmpViews(const BmpBuffer& bmp) {
  const size_t channels = size_t(bmp.bitsPerPixel) / 8;
  const size_t step = bmpRowStep(bmp.bitsPerPixel, bmp.width);
  uint8_t* const top = bmp.pixels + step * size_t(bmp.height - 1);
  std::vector<SampleView> views;
  for (size_t c = 0; c < channels; ++c) {
    views.push_back(
        {top + bmpChannel(c, channels), SampleType::u8, ptrdiff_t(channels), -ptrdiff_t(step)});
  }
  return views;
}

void tooSmall(Diagnostics& diagnostics, const char* what, size_t size, size_t needed) {
  diagnostics.line("Error: the buffer for " + std::string(what) + " " + std::to_string(size) +
                   " bytes is small,indispensable size " + std::to_string(needed) + " bytes\n");
}

bool endsWith(const std::string& name, const char* ending) {
  const size_t length = std::strlen(ending);
  return name.size() >= length && name.compare(name.size() - length, length, ending) == 0;
}

bool isPnm(const std::string& name) {
  return endsWith(name, ".pnm") || endsWith(name, ".ppm") || endsWith(name, ".pgm");
}

}  // namespace

int encode(const Options& options, Diagnostics& diagnostics, const BmpBuffer& bmp, Jp2Buffer& jp2) {
  const bool known = bmp.bitsPerPixel == 8 || bmp.bitsPerPixel == 24 || bmp.bitsPerPixel == 32;
  if (!known || bmp.width <= 0 || bmp.height <= 0 || bmp.pixels == nullptr) {
    diagnostics.line("Error: the bmpFile has no pixels of 8, 24 or 32 bits\n");
    return 1;
  }
  const size_t needed = bmpRowStep(bmp.bitsPerPixel, bmp.width) * size_t(bmp.height);
  if (bmp.size < needed) {
    tooSmall(diagnostics, "bmpFile", bmp.size, needed);
    return 1;
  }
  PictureInfo info;
  info.width = bmp.width;
  info.height = bmp.height;
  info.resolutionX = options.resolutionX;
  info.resolutionY = options.resolutionY;
  const std::vector<SampleView> views = bmpViews(bmp);
  for (size_t c = 0; c < views.size(); ++c) {
    info.components.push_back({bmp.width, bmp.height, 8, false, 1, 1});
  }
  std::vector<uint8_t> file;
  if (encodePicture(options, diagnostics, info, views, file) != Status::ok) return 1;
  if (file.size() > jp2.size) {
    tooSmall(diagnostics, "jp2File", jp2.size, file.size());
    return 1;
  }
  std::memcpy(jp2.bytes, file.data(), file.size());
  jp2.length = file.size();
  return 0;
}

int decode(const Options& options, Diagnostics& diagnostics, const Jp2Buffer& jp2, BmpBuffer& bmp) {
  const std::span<const uint8_t> file(jp2.bytes, std::min(jp2.length, jp2.size));
  Decoder decoder(options, diagnostics);
  if (decoder.open(file) != Status::ok) return 1;
  const PictureInfo& info = decoder.info();
  const bool plain = plainPixels(info, decoder.colours());
  Pixels pixels;
  PictureInfo other;
  if (!plain && decodePixels(options, diagnostics, file, 8, pixels, other) != Status::ok) return 1;
  const int channels = plain ? int(info.components.size()) : pixels.channels;
  const int bits = channels == 1 ? 8 : channels == 3 ? 24 : 32;
  bmp.width = plain ? info.width : pixels.width;
  bmp.height = plain ? info.height : pixels.height;
  bmp.bitsPerPixel = bits;
  const size_t step = bmpRowStep(bits, bmp.width);
  const size_t needed = step * size_t(bmp.height);
  if (needed > bmp.size || bmp.pixels == nullptr) {
    tooSmall(diagnostics, isPnm(options.output) ? "pnmFile" : "bmpFile", bmp.size, needed);
    return 1;
  }
  if (plain) return decoder.decode(bmpViews(bmp)) == Status::ok ? 0 : 1;
  const std::vector<SampleView> views = bmpViews(bmp);
  const size_t count = size_t(pixels.channels);
  for (size_t c = 0; c < views.size(); ++c) {
    // Grey with opacity becomes three equal colours and opacity.
    const size_t from = count == 2 ? c / 3 : c;
    for (int y = 0; y < bmp.height; ++y) {
      uint8_t* const dst = static_cast<uint8_t*>(views[c].data) + views[c].rowStep * y;
      const uint8_t* const src = &pixels.bytes[size_t(y) * size_t(bmp.width) * count];
      for (int x = 0; x < bmp.width; ++x)
        dst[x * views[c].pixelStep] = src[size_t(x) * count + from];
    }
  }
  return 0;
}

}  // namespace j2k
