// Texture blocks beside libsquish: our error against that of its range fit, and its decoder on our
// blocks.
#include <squish.h>

#include <algorithm>
#include <array>
#include <cmath>

#include "photo.h"
#include "rkd/rkdjpeg_texture.h"
#include "rkdkit.h"

namespace {

using Bytes = std::vector<uint8_t>;
using Function = RkdStatus (*)(const uint8_t*, int, uint8_t*, int, RkdiSize);
struct Format {
  const char* name;
  int peer, blockBytes;
  Function encode, decode;
};
const Format kFormats[] = {{"DXT1", squish::kDxt1, 8, rkdiTextureEncodeBlockFromRGBA_DXT1_8u_C4C1R,
                            rkdiTextureDecodeBlockToRGBA_DXT1_8u_C1C4R},
                           {"DXT3", squish::kDxt3, 16, rkdiTextureEncodeBlockFromRGBA_DXT3_8u_C4C1R,
                            rkdiTextureDecodeBlockToRGBA_DXT3_8u_C1C4R},
                           {"DXT5", squish::kDxt5, 16, rkdiTextureEncodeBlockFromRGBA_DXT5_8u_C4C1R,
                            rkdiTextureDecodeBlockToRGBA_DXT5_8u_C1C4R}};

constexpr RkdiSize kSize = {256, 256};
constexpr int kStep = 4 * kSize.width;
constexpr size_t kBlocks = size_t{kSize.width} / 4 * kSize.height / 4;

Bytes encoded(const Format& f, const Bytes& picture) {
  Bytes blocks(kBlocks * f.blockBytes);
  EXPECT_EQ(rkdStsNoErr,
            f.encode(picture.data(), kStep, blocks.data(), kSize.width / 4 * f.blockBytes, kSize));
  return blocks;
}

Bytes decoded(const Format& f, const Bytes& blocks) {
  Bytes picture(size_t{kStep} * kSize.height);
  EXPECT_EQ(rkdStsNoErr,
            f.decode(blocks.data(), kSize.width / 4 * f.blockBytes, picture.data(), kStep, kSize));
  return picture;
}

Bytes decodedByPeer(const Format& f, const Bytes& blocks) {
  Bytes picture(size_t{kStep} * kSize.height);
  squish::DecompressImage(picture.data(), kSize.width, kSize.height, blocks.data(), f.peer);
  return picture;
}

// Of the channels from `first` to before `past`.
double psnr(const Bytes& a, const Bytes& b, size_t first, size_t past) {
  double sum = 0;
  for (size_t i = 0; i < a.size(); ++i) {
    if (i % 4 >= first && i % 4 < past) sum += (a[i] - b[i]) * (a[i] - b[i]);
  }
  const double mean = sum / (double(a.size()) / 4 * double(past - first));
  return mean == 0 ? 99 : 10 * std::log10(255 * 255 / mean);
}

TEST(TexturePeer, OurErrorIsAsSmallAsThatOfARangeFit) {
  for (const bool opaque : {true, false}) {
    const Bytes picture = testpicture::photoWithAlpha(kSize.width, kSize.height, opaque);
    for (const Format& f : kFormats) {
      if (f.peer == squish::kDxt1 && !opaque) continue;  // colours of transparent pixels are lost
      SCOPED_TRACE(f.name);
      Bytes theirs(kBlocks * f.blockBytes);
      squish::CompressImage(picture.data(), kSize.width, kSize.height, theirs.data(),
                            f.peer | squish::kColourRangeFit);
      const Bytes ours = decoded(f, encoded(f, picture)), fitted = decodedByPeer(f, theirs);
      EXPECT_GE(psnr(picture, ours, 0, 3), psnr(picture, fitted, 0, 3) - 0.3);
      EXPECT_GE(psnr(picture, ours, 3, 4), psnr(picture, fitted, 3, 4) - 0.3);
      RecordProperty(f.name, std::to_string(psnr(picture, ours, 0, 3)));
    }
  }
}

// Kinds of blocks by which pictures differ: fill(random, colours of 16 pixels).
using Colours = std::array<std::array<int, 3>, 16>;
struct Kind {
  const char* name;
  void (*fill)(rkdkit::Random&, Colours&);
};

std::array<int, 3> anyColour(rkdkit::Random& random) {
  return {random.between(0, 255), random.between(0, 255), random.between(0, 255)};
}

template <int kAmplitude, bool kGrey>
void noise(rkdkit::Random& random, Colours& colours) {
  const auto base = kGrey ? std::array<int, 3>{} : anyColour(random);
  const int grey = kGrey ? random.between(0, 255) : 0;
  for (auto& colour : colours) {
    const int same = random.between(-kAmplitude, kAmplitude);
    for (int c = 0; c < 3; ++c) {
      colour[c] = base[c] + grey + (kGrey ? same : random.between(-kAmplitude, kAmplitude));
    }
  }
}

// Mixtures of two colours at most kApart apart: kParts of one and the rest of the other.
template <int kParts, int kApart, int kNoise>
void mixed(rkdkit::Random& random, Colours& colours) {
  const auto first = anyColour(random);
  int step[3];
  for (int& s : step) s = random.between(-kApart, kApart);
  for (auto& colour : colours) {
    const int part = random.between(0, kParts);
    for (int c = 0; c < 3; ++c) {
      const int end = std::clamp(first[c] + step[c], 0, 255);
      colour[c] = first[c] + (end - first[c]) * part / kParts + random.between(-kNoise, kNoise);
    }
  }
}

template <int kSlope>
void gradient(rkdkit::Random& random, Colours& colours) {
  const auto base = anyColour(random);
  for (int c = 0; c < 3; ++c) {
    const int x = random.between(-kSlope, kSlope), y = random.between(-kSlope, kSlope);
    for (int i = 0; i < 16; ++i) colours[i][c] = base[c] + (x * (i % 4) + y * (i / 4)) / 8;
  }
}

const Kind kKinds[] = {{"one colour", noise<0, false>},
                       {"flat, noise of 1", noise<1, false>},
                       {"flat, noise of 2", noise<2, false>},
                       {"flat, noise of 4", noise<4, false>},
                       {"flat, noise of 12", noise<12, false>},
                       {"grey, noise of 1", noise<1, true>},
                       {"grey, noise of 2", noise<2, true>},
                       {"grey, noise of 4", noise<4, true>},
                       {"grey, noise of 16", noise<16, true>},
                       {"two colours", mixed<1, 255, 0>},
                       {"two near colours", mixed<1, 12, 0>},
                       {"two colours, noise", mixed<1, 255, 4>},
                       {"half-way between near ones", mixed<2, 12, 0>},
                       {"half-way between two", mixed<2, 255, 0>},
                       {"half-way, noise of 2", mixed<2, 80, 2>},
                       {"half-way, noise of 8", mixed<2, 80, 8>},
                       {"thirds between two", mixed<3, 255, 0>},
                       {"along a line", mixed<64, 255, 0>},
                       {"slight gradient", gradient<8>},
                       {"gradient", gradient<40>},
                       {"steep gradient", gradient<300>},
                       {"random", noise<255, false>}};

TEST(TexturePeer, OurErrorIsNoLargerThanThatOfARangeFitOnAnyKindOfBlock) {
  for (const Kind& kind : kKinds) {
    rkdkit::Random random;
    Bytes picture(size_t{kStep} * kSize.height);
    for (size_t block = 0; block < kBlocks; ++block) {
      Colours colours{};
      kind.fill(random, colours);
      for (int i = 0; i < 16; ++i) {
        const size_t x = block % (kSize.width / 4) * 4 + i % 4,
                     y = block / (kSize.width / 4) * 4 + i / 4;
        uint8_t* pixel = &picture[y * kStep + 4 * x];
        for (int c = 0; c < 3; ++c) pixel[c] = uint8_t(std::clamp(colours[i][c], 0, 255));
        pixel[3] = 255;
      }
    }
    for (const Format& f : kFormats) {
      Bytes theirs(kBlocks * f.blockBytes);
      squish::CompressImage(picture.data(), kSize.width, kSize.height, theirs.data(),
                            f.peer | squish::kColourRangeFit);
      const double ours = psnr(picture, decoded(f, encoded(f, picture)), 0, 3);
      // Both are exact where bits hold the colours: equal but for what rounding lets happen.
      EXPECT_GE(ours, psnr(picture, decoded(f, theirs), 0, 3) - 0.001)
          << f.name << ' ' << kind.name;
    }
  }
}

TEST(TexturePeer, DecodersAgree) {
  rkdkit::Random random;
  for (const Format& f : kFormats) {
    SCOPED_TRACE(f.name);
    const Bytes ours = encoded(f, testpicture::photoWithAlpha(kSize.width, kSize.height, false));
    EXPECT_EQ(decodedByPeer(f, ours), decoded(f, ours));
    Bytes any(ours.size());
    for (uint8_t& byte : any) byte = uint8_t(random.bits());
    EXPECT_EQ(decodedByPeer(f, any), decoded(f, any));
  }
}

}  // namespace
