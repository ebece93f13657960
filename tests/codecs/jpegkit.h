#pragma once
/// @file
/// Pictures, our codec in one call, and libjpeg as the judge.

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "jpeg.h"

namespace jpegkit {

using Bytes = std::vector<uint8_t>;

struct Picture {
  jpeg::ImageShape shape;
  Bytes pixels;  // samples of 8 bits, or of 16 in the machine's order
  int sample(int x, int y, int channel) const {
    const size_t at =
        (size_t(y) * size_t(shape.width) + size_t(x)) * size_t(shape.channels) + size_t(channel);
    if (shape.bytesPerSample() == 1) return pixels[at];
    return pixels[2 * at] | pixels[2 * at + 1] << 8;
  }
};

/// A part of a picture with edges, gradients and grain, in these colours.
Picture picture(int width, int height, jpeg::Color color, unsigned seed = 1);
/// Random samples of a precision.
Picture noise(int width, int height, int channels, int precision, unsigned seed = 1);
/// The channels' first one.
Picture firstChannel(const Picture& picture);

using SetEncode = std::function<void(jpeg::EncodeOptions&)>;
using SetDecode = std::function<void(jpeg::DecodeOptions&)>;

/// What a step's outcome was.
struct Encoded {
  jpeg::Status status = jpeg::Status::ok;
  Bytes file;
};
Encoded encode(const Picture& picture, const SetEncode& set = {});

struct Decoded {
  jpeg::Status status = jpeg::Status::ok;
  std::vector<jpeg::Status> warnings;
  Picture picture;
  jpeg::FileInfo info;
  jpeg::Metadata metadata;
};
Decoded decode(const Bytes& file, const SetDecode& set = {});

int largestDifference(const Picture& a, const Picture& b);
double psnr(const Picture& a, const Picture& b);

// ---- libjpeg ----

struct PeerEncode {
  int quality = 75;
  /// Factors of each component; as many as there are components.
  std::vector<std::pair<int, int>> factors = {};
  bool isProgressive = false, optimize = false;
  int restartInterval = 0;
  /// Of the file; unknown: libjpeg's choice.
  jpeg::Color color = jpeg::Color::unknown;
  jpeg::Script script = {};
  bool isArithmetic = false;
};
Bytes peerEncode(const Picture& picture, const PeerEncode& options = {});

struct PeerDecode {
  bool smooth = true;  // triangle up-sampling
  int scale = 1;
  bool keepColor = false;  // components as they are
};
Picture peerDecode(const Bytes& file, const PeerDecode& options = {});

/// Quantised coefficients of every component, blocks in rows, natural order, unpadded.
std::vector<std::vector<int16_t>> peerCoefficients(const Bytes& file);

}  // namespace jpegkit
