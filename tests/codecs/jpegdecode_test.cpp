// Decoding what libjpeg has encoded, beside libjpeg's own decoder.
#include <gtest/gtest.h>

#include <algorithm>

#include "jpegkit.h"

namespace {

using namespace jpegkit;
using jpeg::Color;
using jpeg::Status;

using Factors = std::vector<std::pair<int, int>>;

struct Kind {
  const char* name;
  Color pixels;
  PeerEncode options;
};

std::vector<Kind> kinds() {
  std::vector<Kind> all;
  const auto add = [&](const char* name, Color pixels, PeerEncode options) {
    all.push_back({name, pixels, std::move(options)});
  };
  add("grey", Color::gray, {});
  add("grey with factors of its own", Color::gray, {.factors = {{2, 2}}});
  add("4:4:4", Color::rgb, {.factors = {{1, 1}, {1, 1}, {1, 1}}});
  add("4:2:2", Color::rgb, {.factors = {{2, 1}, {1, 1}, {1, 1}}});
  add("4:2:0", Color::rgb, {.factors = {{2, 2}, {1, 1}, {1, 1}}});
  add("4:4:0", Color::rgb, {.factors = {{1, 2}, {1, 1}, {1, 1}}});
  add("4:1:1", Color::rgb, {.factors = {{4, 1}, {1, 1}, {1, 1}}});
  add("4:2:2 written as 2x2, 1x2", Color::rgb, {.factors = {{2, 2}, {1, 2}, {1, 2}}});
  add("4:1:0", Color::rgb, {.factors = {{4, 2}, {1, 1}, {1, 1}}});
  add("factors of 2 everywhere", Color::rgb, {.factors = {{2, 1}, {2, 1}, {2, 1}}});
  add("more colour than brightness", Color::rgb, {.factors = {{1, 1}, {2, 2}, {1, 2}}});
  add("RGB in the file", Color::rgb, {.color = Color::rgb});
  add("CMYK", Color::cmyk, {.color = Color::cmyk});
  add("YCCK 4:2:0", Color::cmyk,
      {.factors = {{2, 2}, {1, 1}, {1, 1}, {2, 2}}, .color = Color::ycck});
  add("restart every 3 MCUs", Color::rgb, {.restartInterval = 3});
  add("optimised", Color::rgb, {.optimize = true});
  add("progressive", Color::rgb, {.isProgressive = true});
  add("progressive with restarts", Color::rgb, {.isProgressive = true, .restartInterval = 5});
  add("progressive grey", Color::gray, {.isProgressive = true});
  add("progressive YCCK", Color::cmyk, {.isProgressive = true, .color = Color::ycck});
  jpeg::Script chromaFirst;
  for (const int component : {2, 0, 1}) chromaFirst.push_back({1, {component}, 0, 63, 0, 0});
  add("a scan for each component, chroma first", Color::rgb, {.script = chromaFirst});
  add("the same with restarts", Color::rgb, {.restartInterval = 2, .script = chromaFirst});
  return all;
}

// Up-sampling by other ratios than two is ours to choose: there only the components are compared.
bool hasPeersUpsampling(const Kind& kind) {
  return kind.name != std::string("4:1:0") && kind.name != std::string("4:4:0") &&
         kind.name != std::string("more colour than brightness");
}

TEST(JpegDecode, EqualsThePeerAtEverySamplingAndSize) {
  for (const Kind& kind : kinds()) {
    for (const auto& [width, height] :
         {std::pair{1, 1}, {7, 9}, {8, 8}, {17, 15}, {33, 34}, {100, 67}}) {
      SCOPED_TRACE(std::string(kind.name) + " " + std::to_string(width) + "x" +
                   std::to_string(height));
      const Bytes file = peerEncode(picture(width, height, kind.pixels), kind.options);
      const Decoded ours = decode(file);
      ASSERT_EQ(Status::ok, ours.status) << statusText(ours.status);
      const Picture theirs = peerDecode(file);
      const bool isGray = kind.pixels == Color::gray;
      if (hasPeersUpsampling(kind)) {
        EXPECT_LE(largestDifference(ours.picture, theirs), isGray ? 1 : 3);
      } else {
        EXPECT_GE(psnr(ours.picture, theirs), 25);
      }
      const Decoded plain =
          decode(file, [](jpeg::DecodeOptions& o) { o.upsampling = jpeg::Upsampling::plain; });
      const Picture theirsPlain = peerDecode(file, {.smooth = false});
      EXPECT_LE(largestDifference(plain.picture, theirsPlain), isGray ? 1 : 3);
    }
  }
}

TEST(JpegDecode, ReadsThePeersCoefficients) {
  for (const Kind& kind : kinds()) {
    SCOPED_TRACE(kind.name);
    const Bytes file = peerEncode(picture(93, 58, kind.pixels), kind.options);
    jpeg::Decoder decoder;
    jpeg::Coefficients ours;
    ASSERT_EQ(Status::ok, decoder.setSource(file));
    ASSERT_EQ(Status::ok, decoder.readHeader());
    ASSERT_EQ(Status::ok, decoder.readCoefficients(&ours));
    const auto theirs = peerCoefficients(file);
    ASSERT_EQ(theirs.size(), size_t(ours.frame.componentCount));
    for (int i = 0; i < ours.frame.componentCount; ++i) {
      const jpeg::Component& c = ours.frame.component[size_t(i)];
      std::vector<int16_t> blocks;
      for (int row = 0; row < c.blocksDown; ++row) {
        const int16_t* const first = ours.block(i, row, 0);
        blocks.insert(blocks.end(), first, first + 64 * c.blocksAcross);
      }
      EXPECT_EQ(theirs[size_t(i)], blocks);
    }
  }
}

// The peer's small transforms are approximations of another kind: pictures agree, not samples.
TEST(JpegDecode, ScaledPicturesLookAsThePeersDo) {
  for (const Kind& kind : kinds()) {
    if (!hasPeersUpsampling(kind)) continue;
    for (const int scale : {2, 4, 8}) {
      SCOPED_TRACE(std::string(kind.name) + " 1/" + std::to_string(scale));
      const Bytes file = peerEncode(picture(123, 75, kind.pixels), kind.options);
      const Decoded ours = decode(file, [&](jpeg::DecodeOptions& o) { o.scale = scale; });
      ASSERT_EQ(Status::ok, ours.status);
      const Picture theirs = peerDecode(file, {.scale = scale});
      ASSERT_EQ(ours.picture.shape.width, theirs.shape.width);
      EXPECT_GE(psnr(ours.picture, theirs), kind.pixels == Color::cmyk ? 32 : 36);
    }
  }
}

/// A file whole, cut short, and with a hole in its data.
std::vector<Bytes> damaged(const Bytes& file) {
  std::vector<Bytes> files(3, file);
  files[1].resize(file.size() - file.size() / 8);
  const auto hole = files[2].begin() + ptrdiff_t(file.size() - file.size() / 4);
  std::fill_n(hole, std::min<size_t>(20, file.size() / 16), uint8_t{0x55});
  return files;
}

TEST(JpegDecode, EveryNumberOfThreadsGivesTheSamePixels) {
  struct Setting {
    jpeg::Rect crop;
    int scale;
    jpeg::Upsampling upsampling;
    bool strict;
  };
  using enum jpeg::Upsampling;
  for (const Kind& kind : kinds()) {
    for (const auto& [width, height] : {std::pair{1, 1}, {60, 333}, {600, 70}}) {
      const jpeg::Rect low{0, height / 3, 1, height / 2}, half{width / 4, height / 4, 1, 1};
      for (const Bytes& file :
           damaged(peerEncode(picture(width, height, kind.pixels), kind.options))) {
        for (const Setting& s : {Setting{{}, 1, triangle, false},
                                 {low, 1, triangle, true},
                                 {half, 2, triangle, false},
                                 {{}, 4, plain, false},
                                 {{}, 8, triangle, true}}) {
          const auto decoded = [&](int threads) {
            return decode(file, [&](jpeg::DecodeOptions& o) {
              o.threads = threads;
              o.crop = s.crop;
              o.scale = s.scale;
              o.upsampling = s.upsampling;
              o.strict = s.strict;
            });
          };
          const Decoded one = decoded(1);
          for (const int threads : {2, 5}) {
            SCOPED_TRACE(std::string(kind.name) + " " + std::to_string(width) + " 1/" +
                         std::to_string(s.scale) + " by " + std::to_string(threads));
            const Decoded several = decoded(threads);
            EXPECT_EQ(one.status, several.status);
            EXPECT_EQ(one.warnings, several.warnings);
            ASSERT_TRUE(one.picture.pixels == several.picture.pixels);
          }
        }
      }
    }
  }
}

TEST(JpegDecode, EveryRegionIsTheCropOfTheWhole) {
  for (const bool isSmooth : {true, false}) {
    for (const auto& factors : {Factors{{2, 2}, {1, 1}, {1, 1}}, Factors{{2, 1}, {1, 1}, {1, 1}}}) {
      const Bytes file = peerEncode(picture(40, 40, Color::rgb), {.factors = factors});
      const auto set = [&](jpeg::DecodeOptions& o) {
        o.upsampling = isSmooth ? jpeg::Upsampling::triangle : jpeg::Upsampling::plain;
      };
      const Picture whole = decode(file, set).picture;
      for (int x = 0; x < 40; x += 3) {
        for (int y = 0; y < 40; ++y) {
          for (const int height : {1, 7, 40}) {
            const jpeg::Rect crop{x, y, std::min(13, 40 - x), std::min(height, 40 - y)};
            const Decoded part = decode(file, [&](jpeg::DecodeOptions& o) {
              set(o);
              o.crop = crop;
            });
            ASSERT_EQ(Status::ok, part.status);
            for (int row = 0; row < crop.height; ++row) {
              const auto from = whole.pixels.begin() + ((y + row) * 40 + x) * 3;
              ASSERT_TRUE(std::equal(from, from + crop.width * 3,
                                     part.picture.pixels.begin() + row * crop.width * 3))
                  << x << "," << y << " " << crop.width << "x" << crop.height;
            }
          }
        }
      }
    }
  }
}

}  // namespace
