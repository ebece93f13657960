// Pictures for tests of the JPEG codec, and the codec in one call.
#include "jpegkit.h"

#include <algorithm>
#include <cmath>
#include <random>

namespace jpegkit {

using jpeg::Color;
using jpeg::Status;

Picture picture(int width, int height, Color color, unsigned seed) {
  Picture p;
  p.shape = {width, height, jpeg::channelsOf(color), 8, color};
  std::mt19937 random(seed);
  std::normal_distribution<double> grain(0, 3);
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) {
      for (int c = 0; c < p.shape.channels; ++c) {
        const double wave = 60 * std::sin((x * (c + 1) + seed) * 0.031) * std::cos(y * 0.043);
        const double edge = (x / 19 + y / 23 + c) % 3 == 0 ? 40 : -10;
        p.pixels.push_back(uint8_t(std::clamp(120 + wave + edge + grain(random), 0.0, 255.0)));
      }
    }
  }
  return p;
}

Picture noise(int width, int height, int channels, int precision, unsigned seed) {
  Picture p;
  p.shape = {width, height, channels, precision, channels == 1 ? Color::gray : Color::rgb};
  std::mt19937 random(seed);
  const size_t samples = size_t(width) * size_t(height) * size_t(channels);
  for (size_t i = 0; i < samples; ++i) {
    const unsigned value = random() & ((1u << precision) - 1);
    p.pixels.push_back(uint8_t(value));
    if (precision > 8) p.pixels.push_back(uint8_t(value >> 8));
  }
  return p;
}

Picture firstChannel(const Picture& picture) {
  Picture first;
  first.shape = picture.shape;
  first.shape.channels = 1;
  first.shape.color = Color::gray;
  for (size_t i = 0; i < picture.pixels.size(); i += size_t(picture.shape.channels)) {
    first.pixels.push_back(picture.pixels[i]);
  }
  return first;
}

Encoded encode(const Picture& picture, const SetEncode& set) {
  Encoded e;
  jpeg::Encoder encoder;
  encoder.options().color = picture.shape.color;
  if (set) set(encoder.options());
  jpeg::ByteVector sink;
  e.status = encoder.setSource(picture.shape, picture.pixels.data());
  if (!isError(e.status)) e.status = encoder.setDestination(sink);
  if (!isError(e.status)) e.status = encoder.writeHeader();
  if (!isError(e.status)) e.status = encoder.writeData();
  e.file = std::move(sink.bytes);
  return e;
}

Decoded decode(const Bytes& file, const SetDecode& set) {
  Decoded d;
  jpeg::Decoder decoder;
  if (set) set(decoder.options());
  d.status = decoder.setSource(file.empty() ? reinterpret_cast<const uint8_t*>("") : file.data(),
                               file.size());
  if (!isError(d.status)) d.status = decoder.readHeader();
  d.info = decoder.info();
  d.metadata = decoder.metadata();
  if (isError(d.status)) return d;
  d.picture.shape = d.info.image;
  const size_t size = d.info.image.rowBytes() * size_t(d.info.image.height);
  if (size > size_t{1} << 28) {
    d.status = Status::overMemoryLimit;
    return d;
  }
  d.picture.pixels.assign(size, 0xA5);
  d.status = decoder.setDestination(d.picture.pixels.data(), size);
  if (!isError(d.status)) d.status = decoder.readData();
  d.warnings = decoder.warnings();
  return d;
}

int largestDifference(const Picture& a, const Picture& b) {
  if (a.shape.width != b.shape.width || a.shape.height != b.shape.height ||
      a.shape.channels != b.shape.channels) {
    return 1 << 20;
  }
  int largest = 0;
  for (int y = 0; y < a.shape.height; ++y) {
    for (int x = 0; x < a.shape.width; ++x) {
      for (int c = 0; c < a.shape.channels; ++c) {
        largest = std::max(largest, std::abs(a.sample(x, y, c) - b.sample(x, y, c)));
      }
    }
  }
  return largest;
}

double psnr(const Picture& a, const Picture& b) {
  if (a.pixels.size() != b.pixels.size() || a.pixels.empty()) return 0;
  double sum = 0;
  for (size_t i = 0; i < a.pixels.size(); ++i) {
    const double d = double(a.pixels[i]) - b.pixels[i];
    sum += d * d;
  }
  return sum == 0 ? 99 : 10 * std::log10(255.0 * 255.0 * double(a.pixels.size()) / sum);
}

}  // namespace jpegkit
