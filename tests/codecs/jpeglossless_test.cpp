// The lossless process: what comes back is what went in.
#include <gtest/gtest.h>

#include "jpegkit.h"

namespace {

using namespace jpegkit;
using jpeg::EncodeOptions;
using jpeg::Status;

Encoded lossless(const Picture& source, int predictor, int interval = 0, int shift = 0) {
  return encode(source, [&](EncodeOptions& o) {
    o.mode = jpeg::Mode::lossless;
    o.predictor = predictor;
    o.restartInterval = interval;
    o.pointTransform = shift;
  });
}

TEST(JpegLossless, EveryDepthAndPredictorComesBackExactly) {
  for (int precision = 2; precision <= 16; ++precision) {
    for (const int channels : {1, 3}) {
      for (int predictor = 1; predictor <= 7; ++predictor) {
        SCOPED_TRACE(std::to_string(precision) + " bits, predictor " + std::to_string(predictor));
        const Picture source = noise(37, 12, channels, precision, unsigned(precision));
        const Encoded file = lossless(source, predictor, predictor % 3 * 50);
        ASSERT_EQ(Status::ok, file.status) << statusText(file.status);
        const Decoded back = decode(file.file);
        ASSERT_EQ(Status::ok, back.status) << statusText(back.status);
        EXPECT_EQ(precision, back.picture.shape.precision);
        EXPECT_EQ(source.pixels, back.picture.pixels);
      }
    }
  }
}

TEST(JpegLossless, ThePointTransformDropsLowBitsOnly) {
  for (const int precision : {8, 12, 16}) {
    const Picture source = noise(33, 9, 3, precision);
    for (const int shift : {1, 3, precision - 1}) {
      const Decoded back = decode(lossless(source, 4, 0, shift).file);
      ASSERT_EQ(Status::ok, back.status);
      for (int x = 0; x < 33; ++x) {
        EXPECT_EQ(source.sample(x, 5, 1) >> shift << shift, back.picture.sample(x, 5, 1));
      }
    }
  }
}

// Smooth pictures of all sizes; wide ones are coded in several pieces a row.
TEST(JpegLossless, EverySizeAndRegionComesBack) {
  for (const auto& [width, height] : {std::pair{1, 1}, {1, 5}, {5, 1}, {3000, 3}, {64, 65}}) {
    for (const jpeg::Color color : {jpeg::Color::gray, jpeg::Color::rgb, jpeg::Color::cmyk}) {
      const Picture source = picture(width, height, color);
      const Encoded file = lossless(source, 7);
      const Decoded back = decode(file.file);
      ASSERT_EQ(Status::ok, back.status);
      EXPECT_EQ(source.pixels, back.picture.pixels);
      const jpeg::Rect crop{width / 3, height / 2, width - width / 3, height - height / 2};
      const Decoded part = decode(file.file, [&](jpeg::DecodeOptions& o) { o.crop = crop; });
      ASSERT_EQ(Status::ok, part.status);
      EXPECT_EQ(source.sample(width - 1, height - 1, 0),
                part.picture.sample(crop.width - 1, crop.height - 1, 0));
    }
  }
}

TEST(JpegLossless, WhatItCannotDoIsRefused) {
  const Picture source = picture(9, 9, jpeg::Color::rgb);
  EXPECT_EQ(Status::badArgument, lossless(source, 0).status);
  EXPECT_EQ(Status::badArgument, lossless(source, 8).status);
  EXPECT_EQ(Status::badArgument, lossless(source, 1, 0, 8).status);
  EXPECT_EQ(Status::badConversion, encode(source, [](EncodeOptions& o) {
                                     o.mode = jpeg::Mode::lossless;
                                     o.color = jpeg::Color::ycbcr;
                                   }).status);
  const Bytes file = lossless(source, 1).file;
  EXPECT_EQ(Status::badArgument, decode(file, [](jpeg::DecodeOptions& o) { o.scale = 2; }).status);
  EXPECT_EQ(Status::badPrecision, encode(noise(9, 9, 1, 12)).status);
}

}  // namespace
