// Texture blocks of a picture like a photograph. The peer's encoder takes one block, which it gets
// copied as its callers have to; rows tell both mean squared errors of colours, and ours is checked
// to be no larger. The peer has no decoder: libsquish's, of one block too, is only shown.
#include <squish.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "benchkit.h"
#include "photo.h"
#include "rkd/rkdjpeg_texture.h"

// Of libstb: a block from its 16 pixels, with the alphas of DXT5 or without.
extern "C" void stb_compress_dxt_block(unsigned char* block, const unsigned char* pixels, int alpha,
                                       int mode);

namespace bench {
namespace {

using Bytes = std::vector<uint8_t>;
using Function = RkdStatus (*)(const uint8_t*, int, uint8_t*, int, RkdiSize);

constexpr RkdiSize kSize = {256, 128};  // 128 KiB
constexpr int kPixels = kSize.width * kSize.height;
constexpr int kStep = kSize.width * 4;

struct Format {
  const char* name;
  int number, blockBytes;
  Function encode, decode;
  int squish;

  int blocksStep() const { return kSize.width / 4 * blockBytes; }
  Bytes blocks() const { return Bytes(size_t(blocksStep()) * kSize.height / 4); }
};

// Calls body(first pixel, block) for every block.
template <class Picture, class Blocks, class Body>
void eachBlock(const Format& format, Picture& picture, Blocks& blocks, Body body) {
  auto* block = blocks.data();
  for (int y = 0; y < kSize.height; y += 4) {
    for (int x = 0; x < kSize.width; x += 4) {
      body(picture.data() + y * kStep + 4 * x, block);
      block += format.blockBytes;
    }
  }
}

// The peer of DXT1 and DXT5 has no DXT3.
void encodeByPeer(const Format& format, const Bytes& picture, Bytes& blocks) {
  eachBlock(format, picture, blocks, [&](const uint8_t* from, uint8_t* block) {
    uint8_t pixels[64];
    for (int y = 0; y < 4; ++y) std::copy_n(from + y * kStep, 16, pixels + 16 * y);
    if (format.number == 3) {
      squish::Compress(pixels, block, format.squish | squish::kColourRangeFit);
    } else {
      stb_compress_dxt_block(block, pixels, format.number == 5, 0);
    }
  });
}

void decodeByPeer(const Format& format, const Bytes& blocks, Bytes& picture) {
  eachBlock(format, picture, blocks, [&](uint8_t* to, const uint8_t* block) {
    uint8_t pixels[64];
    squish::Decompress(pixels, block, format.squish);
    for (int y = 0; y < 4; ++y) std::copy_n(pixels + 16 * y, 16, to + y * kStep);
  });
}

// The mean squared errors of colours and of alphas.
struct Error {
  double colour = 0, alpha = 0;
};
Error errorOf(const Format& format, const Bytes& picture, const Bytes& blocks) {
  Bytes decoded(picture.size());
  format.decode(blocks.data(), format.blocksStep(), decoded.data(), kStep, kSize);
  Error error;
  for (size_t i = 0; i < picture.size(); ++i) {
    const double d = picture[i] - decoded[i];
    (i % 4 == 3 ? error.alpha : error.colour) += d * d;
  }
  return {error.colour / (3.0 * kPixels), error.alpha / kPixels};
}

void benchFormat(Table& table, const Format& format) {
  const std::string name = std::string("Texture ") + format.name;
  const Bytes picture = testpicture::photoWithAlpha(kSize.width, kSize.height, format.number == 1);
  Bytes blocks = format.blocks(), theirs = blocks, decoded(picture.size()), shown = decoded;
  const auto encode = [&] {
    format.encode(picture.data(), kStep, blocks.data(), format.blocksStep(), kSize);
  };
  const auto decode = [&] {
    format.decode(blocks.data(), format.blocksStep(), decoded.data(), kStep, kSize);
  };
  encode();
  encodeByPeer(format, picture, theirs);
  const Error our = errorOf(format, picture, blocks), their = errorOf(format, picture, theirs);
  // A ratio of clocks says something at an equal or smaller error only.
  if (our.colour > their.colour || (format.number == 5 && our.alpha > their.alpha)) {
    std::fprintf(stderr, "bench_texture: the peer's error is smaller in %s\n", format.name);
    std::exit(1);
  }
  char errors[64];
  std::snprintf(errors, sizeof(errors), " encode, error %.2f to %.2f", our.colour, their.colour);
  const bool known = format.number != 3;
  table.run({name + errors, "px", kPixels, known ? 0.3 : 0, known ? 0.12 : 0, encode,
             known ? "stb_dxt" : "libsquish, shown",
             [&] { encodeByPeer(format, picture, theirs); }});
  table.run({name + " decode", "px", kPixels, 0, 0, decode, "libsquish, shown",
             [&] { decodeByPeer(format, blocks, shown); }});
}

}  // namespace

void benchTexture(Table& table) {
  const Format formats[] = {
      {"DXT1", 1, 8, rkdiTextureEncodeBlockFromRGBA_DXT1_8u_C4C1R,
       rkdiTextureDecodeBlockToRGBA_DXT1_8u_C1C4R, squish::kDxt1},
      {"DXT3", 3, 16, rkdiTextureEncodeBlockFromRGBA_DXT3_8u_C4C1R,
       rkdiTextureDecodeBlockToRGBA_DXT3_8u_C1C4R, squish::kDxt3},
      {"DXT5", 5, 16, rkdiTextureEncodeBlockFromRGBA_DXT5_8u_C4C1R,
       rkdiTextureDecodeBlockToRGBA_DXT5_8u_C1C4R, squish::kDxt5},
  };
  for (const Format& format : formats) benchFormat(table, format);
}

}  // namespace bench
