// Pictures turned and cut without loss, their metadata with them.
#include <gtest/gtest.h>

#include <algorithm>

#include "exif.h"
#include "jpegbytes.h"
#include "jpegprogramkit.h"
#include "transform.h"

namespace {

using namespace jpegkit;
using jpeg::Coefficients;
using jpeg::Color;
using jpeg::Rect;
using jpeg::Status;
using jpeg::Turn;

constexpr Turn kTurns[] = {{},
                           jpeg::kFlipAcross,
                           jpeg::kRotate180,
                           jpeg::kFlipDown,
                           jpeg::kTranspose,
                           jpeg::kRotate90,
                           jpeg::kTransverse,
                           jpeg::kRotate270};

/// Pixels turned by moving them.
Picture turned(const Picture& from, const Turn& turn) {
  Picture to = from;
  if (turn.transposes) std::swap(to.shape.width, to.shape.height);
  const int w = to.shape.width, h = to.shape.height, n = to.shape.channels;
  for (int y = 0; y < h; ++y) {
    for (int x = 0; x < w; ++x) {
      int fromX = turn.flipsAcross ? w - 1 - x : x, fromY = turn.flipsDown ? h - 1 - y : y;
      if (turn.transposes) std::swap(fromX, fromY);
      for (int c = 0; c < n; ++c) {
        to.pixels[(size_t(y) * size_t(w) + size_t(x)) * size_t(n) + size_t(c)] =
            uint8_t(from.sample(fromX, fromY, c));
      }
    }
  }
  return to;
}

Coefficients coefficientsOf(const Bytes& file) {
  jpeg::Decoder decoder;
  Coefficients coefficients;
  EXPECT_EQ(Status::ok, decoder.setSource(file));
  EXPECT_EQ(Status::ok, decoder.readHeader());
  EXPECT_EQ(Status::ok, decoder.readCoefficients(&coefficients));
  return coefficients;
}

Bytes fileOf(const Coefficients& coefficients) {
  jpeg::ByteVector sink;
  EXPECT_EQ(Status::ok, jpeg::writeCoefficients(coefficients, {}, sink));
  return sink.bytes;
}

const auto kPlain = [](jpeg::DecodeOptions& o) { o.upsampling = jpeg::Upsampling::plain; };

TEST(JpegTransform, PixelsAreTurnedAsAsked) {
  const std::vector<std::vector<std::pair<int, int>>> samplings = {
      {{1, 1}, {1, 1}, {1, 1}}, {{2, 1}, {1, 1}, {1, 1}}, {{2, 2}, {1, 1}, {1, 1}}};
  for (const auto& factors : samplings) {
    const Bytes file = peerEncode(picture(64, 96, Color::rgb), {.quality = 90, .factors = factors});
    const Coefficients from = coefficientsOf(file);
    const Picture whole = decode(file, kPlain).picture;
    for (const Turn& turn : kTurns) {
      Coefficients to, back;
      bool isTrimmed = true;
      ASSERT_EQ(Status::ok, transform(from, turn, {}, 1 << 24, &to, &isTrimmed));
      EXPECT_FALSE(isTrimmed);
      // The inverse transform rounds rows and columns in turn: levels may differ by one.
      EXPECT_LE(largestDifference(turned(whole, turn), decode(fileOf(to), kPlain).picture), 4);
      ASSERT_EQ(Status::ok, transform(to, turn.inverse(), {}, 1 << 24, &back, &isTrimmed));
      EXPECT_EQ(fileOf(from), fileOf(back)) << "nothing is lost";
    }
  }
}

TEST(JpegTransform, WhatIsNoWholeMcuIsCutOffWhereItWouldChangeSides) {
  const Bytes file = peerEncode(picture(70, 50, Color::rgb), {.factors = {{2, 2}, {1, 1}, {1, 1}}});
  const Coefficients from = coefficientsOf(file);
  for (const Turn& turn : kTurns) {
    Coefficients to;
    bool isTrimmed = false;
    ASSERT_EQ(Status::ok, transform(from, turn, {}, 1 << 24, &to, &isTrimmed));
    EXPECT_EQ(turn.flipsAcross || turn.flipsDown, isTrimmed);
    const int width = turn.transposes ? 50 : 70, height = turn.transposes ? 70 : 50;
    EXPECT_EQ(turn.flipsAcross ? width / 16 * 16 : width, to.frame.width);
    EXPECT_EQ(turn.flipsDown ? height / 16 * 16 : height, to.frame.height);
  }
  Coefficients to;
  bool isTrimmed = false;
  const Coefficients small = coefficientsOf(peerEncode(picture(7, 9, Color::rgb)));
  EXPECT_EQ(Status::cannotTurn, transform(small, jpeg::kFlipAcross, {}, 1 << 24, &to, &isTrimmed));
  EXPECT_EQ(Status::overMemoryLimit, transform(from, {}, {}, 1000, &to, &isTrimmed));
}

TEST(JpegTransform, RegionsBeginAtMcusAndEndAnywhere) {
  for (const Color color : {Color::rgb, Color::gray}) {
    const Bytes file = peerEncode(picture(90, 70, color));
    const Coefficients from = coefficientsOf(file);
    const Picture whole = decode(file, kPlain).picture;
    const int mcu = color == Color::gray ? 8 : 16;
    for (const Rect& crop : {Rect{0, 0, 90, 70}, {17, 33, 20, 20}, {80, 64, 10, 6}, {5, 5, 1, 1}}) {
      Coefficients to;
      bool isTrimmed = false;
      ASSERT_EQ(Status::ok, transform(from, {}, crop, 1 << 24, &to, &isTrimmed));
      const int left = crop.x / mcu * mcu, top = crop.y / mcu * mcu;
      const Picture part = decode(fileOf(to), kPlain).picture;
      ASSERT_EQ(crop.x + crop.width - left, part.shape.width);
      ASSERT_EQ(crop.y + crop.height - top, part.shape.height);
      for (int y = 0; y < part.shape.height; ++y) {
        for (int x = 0; x < part.shape.width; ++x) {
          ASSERT_EQ(whole.sample(left + x, top + y, 0), part.sample(x, y, 0)) << x << "," << y;
        }
      }
    }
    Coefficients to;
    bool isTrimmed = false;
    EXPECT_EQ(Status::badCrop, transform(from, {}, {80, 0, 11, 1}, 1 << 24, &to, &isTrimmed));
  }
}

TEST(JpegTransform, OrientationsStayTrue) {
  const Picture stored = picture(3, 2, Color::gray);
  for (int orientation = 1; orientation <= 8; ++orientation) {
    const Picture seen = turned(stored, jpeg::turnOfOrientation(orientation));
    for (const Turn& turn : kTurns) {
      const int after = jpeg::orientationAfter(orientation, turn);
      EXPECT_EQ(turned(seen, turn).pixels,
                turned(turned(stored, turn), jpeg::turnOfOrientation(after)).pixels);
    }
  }
}

class JpegTransformProgram : public JpegProgramTest {};

/// A file with an orientation, its size in Exif, and a thumbnail.
Bytes cameraFile(int orientation) {
  jpeg::exif::Document document;
  for (const auto& [name, value] :
       {std::pair<const char*, std::string>{"Orientation", std::to_string(orientation)},
        {"PixelXDimension", "96"},
        {"PixelYDimension", "64"},
        {"ImageDescription", "kept"}}) {
    EXPECT_EQ(Status::ok, jpeg::exif::set(&document, name, value));
  }
  document.thumbnail = peerEncode(picture(30, 20, Color::rgb));
  jpeg::exif::setThumbnailLength(&document);
  document.put(jpeg::exif::Directory::thumbnail, {0x201, jpeg::exif::Type::u32, 1, Bytes(4), 0});
  return encode(picture(96, 64, Color::rgb),
                [&](jpeg::EncodeOptions& o) {
                  o.color = Color::ycbcr;
                  o.metadata.exif = jpeg::exif::write(document);
                })
      .file;
}

TEST_F(JpegTransformProgram, ExifFollowsThePicture) {
  write("a.jpg", cameraFile(6));
  ASSERT_EQ(0, run({"-i", "a.jpg", "-o", "b.jpg", "-transform", "fliph"})) << said_;
  ASSERT_EQ(0, run({"-i", "a.jpg", "-o", "up.jpg", "-transform", "upright"})) << said_;
  ASSERT_EQ(0, run({"-i", "a.jpg", "-o", "cut.jpg", "-crop", "20x20+16+16"})) << said_;
  struct Case {
    const char* name;
    int orientation, width, height, thumbnailWidth;
  };
  for (const Case& c :
       {Case{"b.jpg", 8, 96, 64, 30}, {"up.jpg", 1, 64, 96, 20}, {"cut.jpg", 6, 20, 20, 0}}) {
    SCOPED_TRACE(c.name);
    const Decoded d = decode(read(c.name));
    EXPECT_EQ(c.width, d.picture.shape.width);
    jpeg::exif::Document document;
    ASSERT_EQ(Status::ok, jpeg::exif::read(d.metadata.exif, &document));
    EXPECT_TRUE(document.problems.empty());
    EXPECT_EQ(c.orientation, jpeg::exif::orientationOf(document));
    const auto number = [&](uint16_t tag) {
      const auto* const e = document.find(jpeg::exif::Directory::photo, tag);
      return e == nullptr ? std::string() : textOf(document, jpeg::exif::Directory::photo, *e);
    };
    EXPECT_EQ(std::to_string(c.width), number(0xA002));
    EXPECT_EQ(std::to_string(c.height), number(0xA003));
    EXPECT_NE(nullptr, document.find(jpeg::exif::Directory::image, 0x10E));
    if (c.thumbnailWidth == 0) {
      EXPECT_TRUE(document.thumbnail.empty()) << "it does not show the region";
    } else {
      EXPECT_EQ(c.thumbnailWidth, decode(document.thumbnail).picture.shape.width);
    }
  }
}

TEST_F(JpegTransformProgram, UprightTurnsWhereTheOrientationIsDropped) {
  write("a.jpg", cameraFile(6));
  ASSERT_EQ(0, run({"-i", "a.jpg", "-o", "b.jpg", "-transform", "upright", "-strip"})) << said_;
  ASSERT_EQ(0, run({"-i", "a.jpg", "-o", "c.jpg", "-transform", "upright", "-strip", "-set",
                    "Artist=Me"}));
  for (const char* const name : {"b.jpg", "c.jpg"}) {
    EXPECT_EQ(64, decode(read(name)).picture.shape.width) << name;
  }
  // What -set says counts.
  ASSERT_EQ(0,
            run({"-i", "a.jpg", "-o", "d.jpg", "-transform", "upright", "-set", "Orientation=3"}));
  EXPECT_EQ(96, decode(read("d.jpg")).picture.shape.width);
}

TEST_F(JpegTransformProgram, WorkInPlaceThatFailsLeavesTheFile) {
  const Bytes file = cameraFile(6);
  write("a.jpg", file);
  const std::string artist = "Artist=" + std::string(70000, 'a');
  EXPECT_EQ(1, run({"-i", "a.jpg", "-o", "a.jpg", "-set", artist}));
  EXPECT_EQ(1, run({"-i", "a.jpg", "-o", "a.jpg", "-transform", "rot90", "-set", artist}));
  EXPECT_EQ(file, read("a.jpg"));
  EXPECT_EQ(0, run({"-i", "a.jpg", "-o", "a.jpg", "-set", "Artist=Me"})) << said_;
  EXPECT_NE(file, read("a.jpg"));
}

TEST_F(JpegTransformProgram, EdgesThatGoAreTold) {
  write("a.jpg", peerEncode(picture(50, 50, Color::rgb)));
  ASSERT_EQ(0, run({"-i", "a.jpg", "-o", "b.jpg", "-transform", "rot90"}));
  EXPECT_NE(std::string::npos, said_.find("warning: edges"));
  EXPECT_EQ(1, run({"-i", "a.jpg", "-o", "c.jpg", "-transform", "rot90", "-strict"}));
  EXPECT_EQ(1, run({"-i", "a.jpg", "-o", "c.ppm", "-transform", "rot90"}));
  EXPECT_EQ(2, run({"-i", "a.jpg", "-o", "c.jpg", "-transform", "rot91"}));
}

TEST_F(JpegTransformProgram, EditsOfMetadataLeaveThePictureByteForByte) {
  Bytes file = cameraFile(1);
  file.insert(file.end(), 1000, 0x77);  // what some cameras put behind
  write("a.jpg", file);
  ASSERT_EQ(0,
            run({"-i", "a.jpg", "-o", "b.jpg", "-set", "Artist=Me", "-set", "ExposureTime=1/60"}))
      << said_;
  ASSERT_EQ(0, run({"-i", "b.jpg", "-info"})) << said_;
  for (const char* const line :
       {"Artist: Me\n", "ExposureTime: 1/60 s\n", "Orientation: top left\n",
        "PixelXDimension: 96\n", "ImageDescription: kept\n",
        ", baseline, 96x64, 8 bits, 3 components 2x2 1x1 1x1\n"}) {
    EXPECT_NE(std::string::npos, printed_.find(line)) << line << printed_;
  }
  ASSERT_EQ(0, run({"-i", "b.jpg", "-o", "c.jpg", "-strip"})) << said_;
  EXPECT_TRUE(decode(read("c.jpg")).metadata.exif.empty());
  const auto coded = [](const Bytes& bytes) {
    const Bytes marker = {0xFF, 0xDB};
    return Bytes(std::search(bytes.begin(), bytes.end(), marker.begin(), marker.end()),
                 bytes.end());
  };
  const Bytes plain = coded(encode(picture(96, 64, Color::rgb), [](jpeg::EncodeOptions& o) {
                              o.color = Color::ycbcr;
                            }).file);
  const Bytes stripped = coded(read("c.jpg"));
  EXPECT_EQ(plain, stripped) << "nor is anything left behind the picture";
  const Bytes edited = read("b.jpg");
  EXPECT_EQ(Bytes(1000, 0x77), Bytes(edited.end() - 1000, edited.end()));
  // Metadata between scans are metadata, too.
  const Bytes scans = encode(picture(40, 40, Color::gray), [](jpeg::EncodeOptions& o) {
                        o.mode = jpeg::Mode::progressive;
                      }).file;
  const size_t second = findMarker(scans, 0xDA, findMarker(scans, 0xDA) + 2);
  write("scans.jpg", inserted(scans, second, {0xFF, 0xFE, 0, 4, 'm', 'e'}));
  ASSERT_EQ(0, run({"-i", "scans.jpg", "-o", "bare.jpg", "-strip"})) << said_;
  EXPECT_EQ(scans, read("bare.jpg"));
  // A file that cannot be decoded here can have its metadata edited, too.
  write("arithmetic.jpg", peerEncode(picture(20, 20, Color::gray), {.isArithmetic = true}));
  ASSERT_EQ(0, run({"-i", "arithmetic.jpg", "-o", "d.jpg", "-set", "Copyright=us"})) << said_;
  EXPECT_EQ(1, run({"-i", "a.jpg", "-o", "e.jpg", "-set", "Nothing=1"}));
  EXPECT_NE(std::string::npos, said_.find("Nothing=1: there is no Exif tag"));
}

}  // namespace
