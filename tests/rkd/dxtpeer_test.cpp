// Texture blocks beside libsquish: our error against that of its range fit, and its decoder on our
// blocks.
#include <squish.h>

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
