// JPEG files around our entropy coders, which djpeg decodes, and files of cjpeg, which we decode.
#include <algorithm>
#include <string>

#include "huffjpeg.h"
#include "peerkit.h"
#include "rkd/rkdjpeg_dct.h"

using namespace huffkit;
using rkdkit::forEachLevel;
using rkdkit::Random;

namespace {

/// Grey or RGB, row by row.
struct Picture {
  int width, height, channels;
  Bytes samples = {};

  size_t size() const { return size_t(width) * size_t(height) * size_t(channels); }
  size_t place(int x, int y, int c) const {
    return (size_t(y) * size_t(width) + size_t(x)) * size_t(channels) + size_t(c);
  }
  uint8_t at(int x, int y, int c) const { return samples[place(x, y, c)]; }
  uint8_t& at(int x, int y, int c) { return samples[place(x, y, c)]; }
};

/// Slopes and waves in one half, noise in the other: long runs of zeros, and blocks without any.
Picture drawn(int width, int height, int channels) {
  Random random;
  Picture p = {width, height, channels};
  p.samples.resize(p.size());
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) {
      for (int c = 0; c < channels; ++c) {
        const int wave = x < width / 4 ? x + y : (x * x / 40 + y * (c + 1)) & 255;
        p.at(x, y, c) = uint8_t(2 * x < width ? wave : random.between(0, 255));
      }
    }
  }
  return p;
}

/// Decoding undoes coding without quantisation but for the rounding of coefficients and samples.
void expectNear(const Picture& want, const Picture& got) {
  ASSERT_EQ(want.samples.size(), got.samples.size());
  for (size_t i = 0; i < want.samples.size(); ++i) {
    ASSERT_NEAR(want.samples[i], got.samples[i], 2) << "sample " << i;
  }
}

Bytes toPnm(const Picture& p) {
  const std::string header = (p.channels == 1 ? "P5\n" : "P6\n") + std::to_string(p.width) + " " +
                             std::to_string(p.height) + "\n255\n";
  Bytes file(header.begin(), header.end());
  file.insert(file.end(), p.samples.begin(), p.samples.end());
  return file;
}

/// A file whose header is as toPnm writes it.
Picture fromPnm(const Bytes& file, const Picture& like) {
  Picture p = {like.width, like.height, like.channels};
  const size_t header = toPnm(p).size();
  EXPECT_EQ(header + like.samples.size(), file.size());
  if (file.size() >= header) p.samples.assign(file.begin() + long(header), file.end());
  return p;
}

/// The coefficients of a picture, the last row and column repeated to fill its blocks.
Frame toFrame(const Picture& p) {
  Frame frame;
  frame.width = p.width;
  frame.height = p.height;
  frame.components.resize(size_t(p.channels));
  frame.layOut();
  for (int c = 0; c < p.channels; ++c) {
    Component& component = frame.components[size_t(c)];
    for (size_t i = 0; i < component.blocks.size(); ++i) {
      const int left = int(i) % component.across * 8, top = int(i) / component.across * 8;
      uint8_t pixels[64];
      for (int k = 0; k < 64; ++k) {
        pixels[k] =
            p.at(std::min(left + k % 8, p.width - 1), std::min(top + k / 8, p.height - 1), c);
      }
      rkdiDCT8x8FwdLS_JPEG_8u16s_C1R(pixels, 8, component.blocks[i].data());
    }
  }
  return frame;
}

Picture toPicture(const Frame& frame) {
  Picture p = {frame.width, frame.height, int(frame.components.size())};
  p.samples.resize(p.size());
  for (int c = 0; c < p.channels; ++c) {
    const Component& component = frame.components[size_t(c)];
    for (int y = 0; y < p.height; y += 8) {
      for (int x = 0; x < p.width; x += 8) {
        uint8_t pixels[64];
        const Block& block =
            component.blocks[size_t(y / 8) * size_t(component.across) + size_t(x / 8)];
        rkdiDCT8x8InvLS_JPEG_16s8u_C1R(block.data(), pixels, 8);
        for (int k = 0; k < 64; ++k) {
          const int column = x + k % 8, row = y + k / 8;
          if (column < p.width && row < p.height) p.at(column, row, c) = pixels[k];
        }
      }
    }
  }
  return p;
}

class Djpeg : public peerkit::PeerTest {
 protected:
  Djpeg() : PeerTest("djpeg") {}

  Picture decoded(const Bytes& jpeg, const Picture& like) const {
    write("ours.jpg", jpeg);
    return fromPnm(
        made("-dct int -pnm -outfile " + file("theirs.pnm") + " " + file("ours.jpg"), "theirs.pnm"),
        like);
  }
};

TEST_F(Djpeg, DecodesWhatWeEncoded) {
  // Components are RGB, not YCbCr.
  const Bytes adobe = {0xFF, 0xEE, 0, 14, 'A', 'd', 'o', 'b', 'e', 0, 100, 0, 0, 0, 0, 0};
  forEachLevel([&] {
    for (const int channels : {1, 3}) {
      const Picture picture = drawn(150, 91, channels);
      const std::vector<ScanHeader> sequential = {channels == 1 ? ScanHeader{{0}}
                                                                : ScanHeader{{0, 1, 2}}};
      for (const bool isProgressive : {false, true}) {
        for (const int restart : {0, 5}) {
          SCOPED_TRACE(testing::Message() << channels << " channels, progressive " << isProgressive
                                          << ", restart " << restart);
          Frame frame = toFrame(picture);
          frame.isProgressive = isProgressive;
          Bytes jpeg = writeFile(frame,
                                 !isProgressive  ? sequential
                                 : channels == 1 ? greyScans
                                                 : colourScans,
                                 restart);
          if (channels == 3) jpeg.insert(jpeg.begin() + 2, adobe.begin(), adobe.end());
          expectNear(picture, decoded(jpeg, picture));
        }
      }
    }
  });
}

class Cjpeg : public peerkit::PeerTest {
 protected:
  Cjpeg() : PeerTest("cjpeg") {}
};

TEST_F(Cjpeg, EncodesWhatWeDecode) {
  for (const int channels : {1, 3}) {
    const Picture picture = drawn(150, 91, channels);
    write("source.pnm", toPnm(picture));
    for (const char* options : {"-baseline", "-optimize -restart 5B", "-progressive",
                                "-progressive -restart 5B", "-sample 1x1 -restart 2"}) {
      // All quantisers are 1.
      const std::string arguments = std::string("-quality 100 -dct int ") +
                                    (channels == 3 ? "-rgb " : "") + options + " -outfile " +
                                    file("theirs.jpg") + " " + file("source.pnm");
      SCOPED_TRACE(arguments);
      const Bytes jpeg = made(arguments, "theirs.jpg");
      ASSERT_FALSE(jpeg.empty());
      forEachLevel([&] { expectNear(picture, toPicture(Reader(jpeg).read())); });
    }
  }
}

}  // namespace
