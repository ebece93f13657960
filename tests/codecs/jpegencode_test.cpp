// What our encoder writes, decoded by libjpeg and by ourselves.
#include <gtest/gtest.h>

#include "jpegkit.h"

namespace {

using namespace jpegkit;
using jpeg::Color;
using jpeg::EncodeOptions;
using jpeg::Sampling;
using jpeg::Status;

struct Shape {
  const char* name;
  Sampling sampling;
  std::pair<int, int> factors;
};
constexpr Shape kShapes[] = {{"4:4:4", Sampling::s444, {1, 1}},
                             {"4:4:0", Sampling::s440, {1, 2}},
                             {"4:2:2", Sampling::s422, {2, 1}},
                             {"4:2:0", Sampling::s420, {2, 2}},
                             {"4:1:1", Sampling::s411, {4, 1}}};

// Size and quality beside the peer's encoder, with the peer's decoder as the judge of both.
TEST(JpegEncode, IsAsSmallAndAsGoodAsThePeer) {
  const Picture source = picture(301, 203, Color::rgb);
  for (const int quality : {30, 75, 90, 100}) {
    for (const Shape& shape : kShapes) {
      SCOPED_TRACE(std::string(shape.name) + " q" + std::to_string(quality));
      const Encoded ours = encode(source, [&](EncodeOptions& o) {
        o.color = Color::ycbcr;
        o.sampling = shape.sampling;
        o.quality = quality;
      });
      ASSERT_EQ(Status::ok, ours.status) << statusText(ours.status);
      const Bytes theirs =
          peerEncode(source, {.quality = quality, .factors = {shape.factors, {1, 1}, {1, 1}}});
      EXPECT_LE(double(ours.file.size()), 1.01 * double(theirs.size()));
      EXPECT_GE(psnr(source, peerDecode(ours.file)), psnr(source, peerDecode(theirs)) - 0.1);
    }
  }
}

TEST(JpegEncode, TablesOfItsOwnKeepToTheMemoryLimit) {
  const Picture source = picture(200, 200, Color::rgb);
  for (const int threads : {1, 3}) {
    for (const size_t limit : {size_t{1} << 12, size_t{1} << 20}) {
      const Encoded e = encode(source, [&](EncodeOptions& o) {
        o.optimize = true;
        o.threads = threads;
        o.memoryLimit = limit;
      });
      EXPECT_EQ(limit == 1 << 20 ? Status::ok : Status::overMemoryLimit, e.status);
    }
  }
}

TEST(JpegEncode, EverySizeComesBackFromThePeersDecoder) {
  for (const Shape& shape : kShapes) {
    for (const auto& [width, height] :
         {std::pair{1, 1}, {2, 3}, {8, 8}, {9, 7}, {16, 16}, {17, 33}, {31, 8}, {65, 70}}) {
      SCOPED_TRACE(std::string(shape.name) + " " + std::to_string(width) + "x" +
                   std::to_string(height));
      const Picture source = picture(width, height, Color::rgb);
      for (const int interval : {0, 1, 4}) {
        const Encoded ours = encode(source, [&](EncodeOptions& o) {
          o.color = Color::ycbcr;
          o.sampling = shape.sampling;
          o.quality = 95;
          o.restartInterval = interval;
        });
        ASSERT_EQ(Status::ok, ours.status);
        const Picture judged = peerDecode(ours.file);
        EXPECT_GE(psnr(source, judged), 24);
        EXPECT_LE(largestDifference(decode(ours.file).picture, judged),
                  shape.sampling == Sampling::s440 ? 60 : 3);
      }
    }
  }
}

TEST(JpegEncode, EveryConversionIsWhatThePeerSees) {
  struct Case {
    Color pixels, file;
  };
  for (const Case& c : {Case{Color::gray, Color::gray},
                        {Color::rgb, Color::ycbcr},
                        {Color::rgb, Color::rgb},
                        {Color::rgb, Color::gray},
                        {Color::bgr, Color::ycbcr},
                        {Color::bgr, Color::gray},
                        {Color::ycbcr, Color::ycbcr},
                        {Color::cmyk, Color::cmyk},
                        {Color::cmyk, Color::ycck},
                        {Color::ycck, Color::ycck},
                        {Color::unknown, Color::unknown}}) {
    SCOPED_TRACE(std::to_string(int(c.pixels)) + " to " + std::to_string(int(c.file)));
    Picture source = picture(75, 54, c.pixels == Color::unknown ? Color::gray : c.pixels);
    source.shape.color = c.pixels;
    for (const Sampling sampling : {Sampling::s444, Sampling::s420}) {
      const auto made = [&](bool isOptimised) {
        return encode(source, [&](EncodeOptions& o) {
          o.color = c.file;
          o.sampling = sampling;
          o.quality = 100;
          o.optimize = isOptimised;
          o.restartInterval = isOptimised ? 3 : 0;
          o.threads = isOptimised ? 2 : 1;
        });
      };
      const Encoded ours = made(false);
      ASSERT_EQ(Status::ok, ours.status) << statusText(ours.status);
      EXPECT_EQ(peerCoefficients(ours.file), peerCoefficients(made(true).file));
      const bool isKept = c.pixels == c.file;
      const Picture judged = peerDecode(ours.file, {.keepColor = isKept});
      ASSERT_EQ(
          c.file == Color::unknown ? 1 : jpeg::channelsOf(isKept ? c.file : judged.shape.color),
          judged.shape.channels);
      if (sampling != Sampling::s444) continue;
      Picture want = source;
      if (c.pixels == Color::bgr) {
        for (size_t i = 0; i < want.pixels.size(); i += 3) {
          std::swap(want.pixels[i], want.pixels[i + 2]);
        }
      }
      if (c.file == Color::gray && c.pixels != Color::gray) {
        Picture gray = firstChannel(want);
        for (size_t i = 0; i < gray.pixels.size(); ++i) {
          const uint8_t* const p = &want.pixels[3 * i];
          gray.pixels[i] = uint8_t((299 * p[0] + 587 * p[1] + 114 * p[2] + 500) / 1000);
        }
        want = gray;
      }
      EXPECT_LE(largestDifference(want, judged), 4);
    }
  }
}

TEST(JpegEncode, EveryNumberOfThreadsWritesTheSameBytes) {
  struct Case {
    jpeg::Mode mode;
    bool optimize;
    int interval;
  };
  for (const Case& c :
       {Case{jpeg::Mode::baseline, false, 0},
        {jpeg::Mode::baseline, false, 1},
        {jpeg::Mode::baseline, false, 7},
        {jpeg::Mode::baseline, false, 14},  // every other row of the largest picture
        {jpeg::Mode::baseline, false, 21},  // a row of it
        {jpeg::Mode::baseline, false, 63},
        {jpeg::Mode::baseline, false, 1000},
        {jpeg::Mode::baseline, true, 0},
        {jpeg::Mode::baseline, true, 5},
        {jpeg::Mode::progressive, false, 0},
        {jpeg::Mode::progressive, false, 4},
        {jpeg::Mode::lossless, false, 0}}) {
    // The last one is several waves of rows, and so fine that many bytes are stuffed.
    for (const auto& [width, height] : {std::pair{1, 1}, {40, 300}, {333, 517}, {1100, 700}}) {
      const bool isFine = width > 1000;
      if (isFine && (c.mode != jpeg::Mode::baseline || c.optimize)) continue;
      const Picture source = picture(width, height, Color::rgb);
      Bytes first;
      for (const int threads : {1, 2, 3, 8}) {
        SCOPED_TRACE(std::to_string(int(c.mode)) + " every " + std::to_string(c.interval) + " by " +
                     std::to_string(threads));
        const Encoded e = encode(source, [&](EncodeOptions& o) {
          o.color = c.mode == jpeg::Mode::lossless ? Color::rgb : Color::ycbcr;
          o.mode = c.mode;
          o.optimize = c.optimize;
          o.restartInterval = c.interval;
          o.threads = threads;
          if (isFine) o.quality = 100;
        });
        ASSERT_EQ(Status::ok, e.status);
        if (threads == 1) first = e.file;
        ASSERT_TRUE(first == e.file);
      }
      EXPECT_EQ(Status::ok, decode(first).status);
    }
  }
}

// The same coefficients whatever way they are sent, and no more bytes than the peer's.
TEST(JpegEncode, ProgressiveAndOptimisedFilesHoldWhatBaselineHolds) {
  const jpeg::Script script = {
      {3, {0, 1, 2}, 0, 0, 0, 3}, {1, {2}, 1, 63, 0, 2},      {1, {0}, 1, 9, 0, 3},
      {1, {0}, 10, 63, 0, 3},     {1, {1}, 1, 63, 0, 2},      {1, {0}, 1, 63, 3, 2},
      {3, {0, 1, 2}, 0, 0, 3, 2}, {3, {0, 1, 2}, 0, 0, 2, 1}, {1, {2}, 1, 63, 2, 1},
      {1, {1}, 1, 63, 2, 1},      {1, {0}, 1, 63, 2, 1},      {3, {0, 1, 2}, 0, 0, 1, 0},
      {1, {0}, 1, 63, 1, 0},      {1, {1}, 1, 63, 1, 0},      {1, {2}, 1, 63, 1, 0}};
  for (const auto& [width, height] : {std::pair{1, 1}, {19, 33}, {200, 131}}) {
    const Picture source = picture(width, height, Color::rgb);
    for (const int interval : {0, 3}) {
      for (const Sampling sampling : {Sampling::s420, Sampling::s444}) {
        const auto made = [&](jpeg::Mode mode, bool optimize, const jpeg::Script& scans) {
          const Encoded e = encode(source, [&](EncodeOptions& o) {
            o.color = Color::ycbcr;
            o.mode = mode;
            o.sampling = sampling;
            o.optimize = optimize;
            o.script = scans;
            o.restartInterval = interval;
            o.quality = 85;
          });
          EXPECT_EQ(Status::ok, e.status) << statusText(e.status);
          return e.file;
        };
        const Bytes plain = made(jpeg::Mode::baseline, false, {});
        const Bytes optimised = made(jpeg::Mode::baseline, true, {});
        const Bytes progressive = made(jpeg::Mode::progressive, false, {});
        const Bytes scripted = made(jpeg::Mode::progressive, false, script);
        const auto want = peerCoefficients(plain);
        EXPECT_EQ(want, peerCoefficients(optimised));
        EXPECT_EQ(want, peerCoefficients(progressive));
        EXPECT_EQ(want, peerCoefficients(scripted));
        EXPECT_LE(optimised.size(), plain.size());
        const Picture pixels = decode(plain).picture;
        EXPECT_EQ(pixels.pixels, decode(progressive).picture.pixels);
        EXPECT_EQ(pixels.pixels, decode(scripted).picture.pixels);
      }
    }
  }
}

}  // namespace
