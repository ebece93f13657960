// Coding and decoding in memory: every option, exact where it is meant to be.
#include "j2kkit.h"
#include "rkd/rkdjpeg_codeblock.h"

namespace {

using namespace j2kkit;
using j2k::Options;

/// A value of every option, chosen so that twenty of them meet in pairs.
Options variant(int i) {
  Options o;
  static constexpr int tiles[][2] = {{0, 0}, {37, 29}, {64, 64}, {100, 17}};
  static constexpr int offsets[][2] = {{0, 0}, {1, 2}, {13, 40}, {7, 7}};
  static constexpr int blocks[][2] = {{64, 64}, {4, 4}, {32, 16}, {4, 1024}, {128, 8}};
  static constexpr int styles[] = {0, 1, 2, 4, 8, 16, 32, 63, 5, 26};
  o.tileWidth = tiles[i % 4][0];
  o.tileHeight = tiles[i % 4][1];
  o.offsetX = offsets[(i / 4 + i) % 4][0];
  o.offsetY = offsets[(i / 4 + i) % 4][1];
  o.blockWidth = blocks[(i * 3 + i / 5) % 5][0];
  o.blockHeight = blocks[(i * 3 + i / 5) % 5][1];
  o.style = styles[(i * 7 + i / 10) % 10];
  o.progress = j2k::Progress((i + i / 5) % 5);
  o.levels = (i * 2 + i / 6) % 7;
  o.layers = 1 + (i + i / 3) % 3;
  o.sop = (i & 1) != 0;
  o.eph = (i & 2) != 0;
  o.tlm = (i & 4) != 0;
  o.plt = (i & 8) != 0;
  o.tileParts = "\0RLC"[(i / 2) % 4];
  o.packedHeaders = "\0\0MT"[(i / 3) % 4];
  if (i % 3 == 1) o.precincts = {{0, 0, 64, 32}, {0, 0, 16, 16}};
  if (i % 7 == 3) o.precincts = {{0, 0, 2, 2}};
  o.transform = i % 5 == 4 ? 0 : -1;
  o.rawStream = i % 2 == 1;
  return o;
}

TEST(RoundTrip, ReversibleCodingIsExactWithEveryOption) {
  for (int i = 0; i < 60; ++i) {
    const Options options = variant(i);
    Picture picture = photograph(97 + i % 3, 83 - i % 5);
    const Bytes file = encoded(picture, options);
    EXPECT_EQ(picture.planes, decodedWell(file).planes) << i;
  }
}

TEST(RoundTrip, ReversibleCodingIsExactAtEveryDepthAndSmallSize) {
  for (const int precision : {1, 2, 7, 9, 10, 11, 12, 15, 16, 20, 24, 26}) {
    for (const bool isSigned : {false, true}) {
      for (const int components : {1, 2, 3, 4}) {
        Picture picture = waves(33, 21, components, precision, isSigned);
        EXPECT_EQ(picture.planes, decodedWell(encoded(picture, {})).planes)
            << precision << isSigned << components;
      }
    }
  }
  for (int height = 1; height < 7; ++height) {
    for (int width = 1; width < 7; ++width) {
      for (const int offset : {0, 1, 3}) {
        Picture picture = waves(width, height, 3);
        Options options;
        options.offsetX = offset;
        options.offsetY = offset / 2;
        EXPECT_EQ(picture.planes, decodedWell(encoded(picture, options)).planes)
            << width << "x" << height << "+" << offset;
      }
    }
  }
}

TEST(RoundTrip, ExtremesOfTheRangeKeepWithinTheGuardBits) {
  std::mt19937 random(4);
  for (const int precision : {8, 10, 16}) {
    Picture picture = waves(64, 64, 3, precision);
    for (auto& plane : picture.planes) {
      for (int32_t& v : plane) v = random() % 2 ? (1 << precision) - 1 : 0;
    }
    EXPECT_EQ(picture.planes, decodedWell(encoded(picture, {})).planes) << precision;
    // A checkerboard gives the largest coefficients of all.
    for (auto& plane : picture.planes) {
      for (size_t i = 0; i < plane.size(); ++i)
        plane[i] = (i + i / 64) % 2 ? (1 << precision) - 1 : 0;
    }
    EXPECT_EQ(picture.planes, decodedWell(encoded(picture, {})).planes) << precision;
  }
}

TEST(RoundTrip, SubsampledComponentsKeepTheirOwnSize) {
  Picture picture = waves(51, 38, 3);
  for (size_t c = 1; c < 3; ++c) {
    picture.info.components[c].dx = 2;
    picture.info.components[c].dy = 2;
    picture.info.components[c].width = 26;
    picture.info.components[c].height = 19;
    picture.planes[c].resize(26 * 19);
  }
  Options options;
  options.transform = 0;
  options.tileWidth = options.tileHeight = 20;
  for (int p = 0; p < 5; ++p) {
    options.progress = j2k::Progress(p);
    EXPECT_EQ(picture.planes, decodedWell(encoded(picture, options)).planes) << p;
  }
}

TEST(RoundTrip, IrreversibleCodingComesCloseWithEveryOption) {
  for (int i = 0; i < 40; ++i) {
    Options options = variant(i);
    options.wavelet = j2k::Wavelet::irreversible97;
    options.derivedSteps = i % 4 == 2;
    Picture picture = photograph(97, 83);
    EXPECT_LT(46, psnr(picture, decodedWell(encoded(picture, options)))) << i;
  }
}

/// The same picture, cut.
Picture cropped(const Picture& whole, int x, int y, int width, int height) {
  Picture part = whole;
  for (size_t c = 0; c < whole.planes.size(); ++c) {
    part.planes[c].clear();
    for (int v = y; v < y + height; ++v) {
      const auto row = whole.planes[c].begin() + v * whole.info.components[c].width + x;
      part.planes[c].insert(part.planes[c].end(), row, row + width);
    }
  }
  return part;
}

TEST(Region, EqualsTheCropOfTheWhole) {
  for (const bool reversible : {true, false}) {
    for (const int tile : {0, 50}) {
      Picture picture = photograph(150, 120);
      Options coding;
      coding.wavelet = reversible ? j2k::Wavelet::reversible53 : j2k::Wavelet::irreversible97;
      coding.tileWidth = coding.tileHeight = tile;
      coding.blockWidth = coding.blockHeight = 16;
      coding.precincts = {{0, 0, 32, 32}};
      coding.plt = tile == 0;
      coding.sop = reversible;
      coding.offsetX = 3;
      coding.progress = j2k::Progress::rpcl;
      const Bytes file = encoded(picture, coding);
      const Picture whole = decodedWell(file);
      for (const j2k::Window w : {j2k::Window{0, 0, 1, 1},
                                  {149, 119, 1, 1},
                                  {40, 45, 30, 17},
                                  {0, 60, 150, 3},
                                  {99, 0, 2, 120}}) {
        Options options;
        options.crop = w;
        const Picture want = cropped(whole, w.x, w.y, w.width, w.height);
        const Picture got = decodedWell(file, options);
        ASSERT_EQ(want.planes[0].size(), got.planes[0].size());
        // In floating point the place in a vector may move the last bit.
        if (reversible) {
          EXPECT_EQ(want.planes, got.planes) << w.x << "," << w.y;
        }
        EXPECT_LT(70, psnr(want, got)) << w.x << "," << w.y;
      }
    }
  }
}

TEST(Reduction, GivesTheLowResolutionsAndTheirCrop) {
  Picture picture = photograph(101, 90);
  Options coding;
  coding.levels = 3;
  coding.offsetX = 5;
  const Bytes file = encoded(picture, coding);
  for (int reduce = 1; reduce <= 3; ++reduce) {
    Options options;
    options.reduce = reduce;
    const Picture small = decodedWell(file, options);
    EXPECT_EQ(((106 + (1 << reduce) - 1) >> reduce) - ((5 + (1 << reduce) - 1) >> reduce),
              small.info.width);
    // What is left is a picture of the same scene: compare with the means of squares.
    double sum = 0, mean = 0;
    for (const int32_t v : small.planes[1]) sum += v;
    for (const int32_t v : picture.planes[1]) mean += v;
    EXPECT_NEAR(mean / double(picture.planes[1].size()), sum / double(small.planes[1].size()), 3);
  }
  Options tooFar;
  tooFar.reduce = 4;
  Messages messages;
  EXPECT_TRUE(decoded(file, tooFar, messages).planes.empty());
  EXPECT_TRUE(messages.has(108)) << messages.text;
}

TEST(Layers, EveryLayerAddsQualityAndOneComponentIsThatOfTheWhole) {
  Picture picture = photograph(128, 96);
  Options coding;
  coding.wavelet = j2k::Wavelet::irreversible97;
  coding.ratios = {60, 20, 8};
  const Bytes file = encoded(picture, coding);
  double last = 0;
  for (int layers = 1; layers <= 3; ++layers) {
    Options options;
    options.maxLayers = layers;
    const double quality = psnr(picture, decodedWell(file, options));
    EXPECT_LT(last + 2, quality);
    last = quality;
  }
  const Picture whole = decodedWell(file);
  for (int c = 0; c < 3; ++c) {
    Options options;
    options.component = c;
    const Picture one = decodedWell(file, options);
    ASSERT_EQ(1U, one.planes.size());
    EXPECT_EQ(whole.planes[size_t(c)], one.planes[0]);
  }
}

TEST(Rate, PassesThatAreLeftUncodedWouldHaveBeenThrownAway) {
  // Enough blocks for a sample to be taken.
  Picture picture = photograph(500, 400);
  struct {
    j2k::Wavelet wavelet;
    int style, tile;
    double ratio;
  } const cases[] = {{j2k::Wavelet::irreversible97, 0, 0, 25},
                     {j2k::Wavelet::reversible53, rkdCodeBlockTermAll, 0, 25},
                     {j2k::Wavelet::irreversible97, rkdCodeBlockBypass | rkdCodeBlockReset, 0, 12},
                     {j2k::Wavelet::reversible53, 63, 28, 6}};  // tiles smaller than a block
  for (const auto& c : cases) {
    SCOPED_TRACE(c.style);
    Options options;
    options.wavelet = c.wavelet;
    options.ratios = {c.ratio};
    options.style = c.style;
    options.tileWidth = options.tileHeight = c.tile;
    options.levels = c.tile > 0 ? 2 : 5;
    options.blockWidth = options.blockHeight = 32;
    const double limit = 500.0 * 400 * 3 / c.ratio;
    const Bytes cut = encoded(picture, options);
    EXPECT_LE(double(cut.size()), limit);
    EXPECT_GE(double(cut.size()), limit * 0.99);
    options.ratios = {c.ratio, 1};  // the last layer takes everything, so that all is coded
    j2k::Options first;
    first.maxLayers = 1;
    EXPECT_NEAR(psnr(picture, decodedWell(encoded(picture, options), first)),
                psnr(picture, decodedWell(cut)), 0.1);
  }
}

TEST(Threads, ChangeNoByteAndNoSample) {
  // Enough blocks for those of a size to be coded in part.
  Picture picture = photograph(160, 140);
  for (const bool lossy : {false, true}) {
    Options options;
    options.tileWidth = 96;
    options.tileHeight = 96;
    options.blockWidth = options.blockHeight = 16;
    if (lossy) {
      options.wavelet = j2k::Wavelet::irreversible97;
      options.ratios = {12};
    }
    const Bytes one = encoded(picture, options);
    options.threads = 3;
    EXPECT_EQ(one, encoded(picture, options));
    EXPECT_EQ(decodedWell(one).planes, decodedWell(one, options).planes);
  }
}

TEST(Rate, IsNeverAboveWhatIsAskedAndCloseBelow) {
  Picture picture = photograph(240, 200);
  const double bytes = 240.0 * 200 * 3;
  for (const bool reversible : {true, false}) {
    for (const double ratio : {100.0, 40.0, 20.0, 7.5}) {
      for (int i = 0; i < 3; ++i) {
        Options options;
        options.wavelet = reversible ? j2k::Wavelet::reversible53 : j2k::Wavelet::irreversible97;
        options.ratios = {ratio};
        options.sop = options.eph = i == 1;
        options.plt = options.tlm = i == 2;
        options.style = i == 2 ? 5 : 0;
        if (i == 2) options.tileWidth = options.tileHeight = 128;
        const Bytes file = encoded(picture, options);
        EXPECT_LE(double(file.size()), bytes / ratio) << ratio << " " << i;
        EXPECT_GE(double(file.size()), bytes / ratio * 0.99) << ratio << " " << i;
        EXPECT_LT(28, psnr(picture, decodedWell(file))) << ratio << " " << i;
      }
    }
  }
}

TEST(Rate, WhatAThresholdLeavesIsFilledWithSmallerPasses) {
  // Passes of a whole block have some hundred bytes, which is a percent of these files.
  Picture picture = photograph(1024, 640);
  for (const double ratio : {60.0, 100.0, 150.0}) {
    Options options;
    options.wavelet = j2k::Wavelet::irreversible97;
    options.ratios = {ratio};
    const double limit = 1024.0 * 640 * 3 / ratio, size = double(encoded(picture, options).size());
    EXPECT_LE(size, limit);
    EXPECT_GE(size, limit * 0.998) << ratio;
  }
}

TEST(Rate, AQualityInDecibelsIsReachedAndNotMuchExceeded) {
  Picture picture = photograph(240, 200);
  for (const bool reversible : {true, false}) {
    for (const double want : {30.0, 38.0, 45.0}) {
      Options options;
      options.wavelet = reversible ? j2k::Wavelet::reversible53 : j2k::Wavelet::irreversible97;
      options.psnr = {want};
      const double got = psnr(picture, decodedWell(encoded(picture, options)));
      EXPECT_LT(want - 0.3, got) << reversible;
      EXPECT_GT(want + 1.5, got) << reversible;
    }
  }
}

TEST(Roi, OfTheIrreversibleWaveletIsAsNearToThePictureAsTheRest) {
  Picture picture = photograph(160, 120);
  Options options;
  options.wavelet = j2k::Wavelet::irreversible97;
  const double without = psnr(picture, decodedWell(encoded(picture, options)));
  options.roi = {60, 40, 40, 30};
  EXPECT_NEAR(without, psnr(picture, decodedWell(encoded(picture, options))), 0.05);
}

TEST(Roi, ComesFirstAndBackgroundFollows) {
  Picture picture = photograph(160, 120);
  Options options;
  options.roi = {60, 40, 40, 30};
  options.ratios = {40, 1};
  const Bytes file = encoded(picture, options);
  EXPECT_EQ(picture.planes, decodedWell(file).planes);
  Options first;
  first.maxLayers = 1;
  const Picture early = decodedWell(file, first);
  EXPECT_LT(psnr(picture, early) + 6,
            psnr(cropped(picture, 60, 40, 40, 30), cropped(early, 60, 40, 40, 30)));
}

}  // namespace
