// Bitmaps: header versions, depths, orders of rows, lies.
#include "base/bmp.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <functional>
#include <numeric>

using base::BmpPixels;
using base::ByteOrder;
using base::Image;
using base::ImageStatus;
using Bytes = std::vector<uint8_t>;

namespace {

/// A bitmap file to be made, with headers that can lie.
struct Source {
  uint32_t headerBytes = 40;
  int32_t width = 2, height = 2;
  uint16_t bits = 24;
  uint32_t compression = 0, colours = 0;
  Bytes behindHeader{};  ///< masks, and the palette
  Bytes pixels{};
  uint16_t planes = 1;
  int offsetError = 0;
  ByteOrder order = ByteOrder::little;

  Bytes bytes() const {
    Bytes out = order == ByteOrder::little ? Bytes{'B', 'M'} : Bytes{'M', 'B'};
    const auto put = [&](auto value) { base::appendBytes(out, value, order); };
    put(uint32_t{0});  // nobody relies on the size of the file
    put(uint32_t{0});
    put(static_cast<uint32_t>(14 + int(headerBytes + behindHeader.size()) + offsetError));
    put(headerBytes);
    if (headerBytes == 12) {
      put(static_cast<uint16_t>(width));
      put(static_cast<uint16_t>(height));
    } else {
      put(width);
      put(height);
    }
    put(planes);
    put(bits);
    for (const uint32_t field : {compression, 0U, 0U, 0U, colours, 0U}) put(field);
    out.resize(14 + headerBytes);
    out.insert(out.end(), behindHeader.begin(), behindHeader.end());
    out.insert(out.end(), pixels.begin(), pixels.end());
    return out;
  }
};

ImageStatus statusOf(const Source& source) {
  Image image;
  return base::readImage(source.bytes(), image);
}

/// All samples in one, rows from the top.
Bytes samplesOf(const Bytes& file, BmpPixels pixels = BmpPixels::rgb) {
  Image image;
  EXPECT_EQ(base::readImage(file, image, pixels), ImageStatus::ok);
  return image.samples;
}

/// Little-endian 32-bit masks.
Bytes masks(std::initializer_list<uint32_t> all) {
  Bytes bytes;
  for (const uint32_t mask : all) base::appendBytes(bytes, mask, ByteOrder::little);
  return bytes;
}

const Bytes kGrays = {10, 10, 10, 0, 20, 20, 20, 0};
const Bytes kColours = {1, 2, 3, 0, 4, 5, 6, 0};

struct Case {
  const char* name;
  Source source;
  int channels;
  Bytes top, bottom;
};

std::vector<Case> casesOfEveryDepth() {
  return {
      {"1 gray",
       {.width = 10,
        .bits = 1,
        .colours = 2,
        .behindHeader = kGrays,
        .pixels = {0b10110001, 0b01000000, 0, 0, 0, 0b10111111, 0, 0}},
       1,
       {10, 10, 10, 10, 10, 10, 10, 10, 20, 10},
       {20, 10, 20, 20, 10, 10, 10, 20, 10, 20}},
      {"4 colours",
       {.width = 3,
        .bits = 4,
        .colours = 2,
        .behindHeader = kColours,
        .pixels = {0x01, 0x1F, 0, 0, 0x10, 0x10, 0, 0}},
       3,
       {6, 5, 4, 3, 2, 1, 6, 5, 4},
       {3, 2, 1, 6, 5, 4, 6, 5, 4}},
      {"8 gray",
       {.width = 3,
        .bits = 8,
        .colours = 2,
        .behindHeader = kGrays,
        .pixels = {0, 1, 1, 99, 1, 0, 0, 99}},
       1,
       {20, 10, 10},
       {10, 20, 20}},
      {"16, five bits each",
       {.width = 1, .bits = 16, .pixels = {0x1F, 0x7C, 0, 0, 0xE0, 0x03, 0, 0}},
       3,
       {0, 255, 0},
       {255, 0, 255}},
      {"24", {.width = 1, .pixels = {1, 2, 3, 99, 4, 5, 6, 99}}, 3, {6, 5, 4}, {3, 2, 1}},
      {"32", {.width = 1, .bits = 32, .pixels = {1, 2, 3, 4, 5, 6, 7, 8}}, 3, {7, 6, 5}, {3, 2, 1}},
  };
}

}  // namespace

TEST(BmpFile, EveryDepth) {
  for (const Case& c : casesOfEveryDepth()) {
    for (const auto order : {ByteOrder::little, ByteOrder::big}) {
      SCOPED_TRACE(c.name);
      Source source = c.source;
      source.order = order;
      Bytes want = c.top;
      want.insert(want.end(), c.bottom.begin(), c.bottom.end());
      EXPECT_EQ(samplesOf(source.bytes()), want);
      source.height = -2;
      want = c.bottom;
      want.insert(want.end(), c.top.begin(), c.top.end());
      EXPECT_EQ(samplesOf(source.bytes()), want) << "the highest row comes first";
      Image image;
      ASSERT_EQ(base::readImage(source.bytes(), image), ImageStatus::ok);
      EXPECT_EQ(image.shape, (base::ImageShape{source.width, 2, c.channels}));
    }
  }
}

TEST(BmpFile, StoredPixelsKeepOrderAndFourthByte) {
  const Source cmyk{.width = 1, .height = 1, .bits = 32, .pixels = {1, 2, 3, 4}};
  EXPECT_EQ(samplesOf(cmyk.bytes(), BmpPixels::stored), (Bytes{1, 2, 3, 4}));
  const Source bgr{.width = 1, .height = 1, .pixels = {1, 2, 3}};
  base::ImageLayout layout;
  const Bytes file = bgr.bytes();
  ASSERT_EQ(base::parseImage(file, file.size(), layout, BmpPixels::stored), ImageStatus::ok);
  EXPECT_TRUE(layout.shape.blueFirst && layout.rowsAreSamples);
  EXPECT_EQ(layout.rowOffset(0), 54u);
}

TEST(BmpFile, EveryHeaderVersionAndItsMasks) {
  const Bytes pixel = {0x01, 0xF8};  // 565: red 31, blue 1
  const Bytes wanted = {255, 0, 8};
  const Bytes in565 = masks({0xF800, 0x07E0, 0x001F});
  Source behind{.width = 1,
                .height = 1,
                .bits = 16,
                .compression = 3,
                .behindHeader = in565,
                .pixels = pixel};
  EXPECT_EQ(samplesOf(behind.bytes()), wanted);
  behind.compression = 6;
  behind.behindHeader = masks({0xF800, 0x07E0, 0x001F, 0});
  EXPECT_EQ(samplesOf(behind.bytes()), wanted);
  for (const uint32_t version : {52U, 56U, 108U, 124U}) {
    Source inside{.headerBytes = version,
                  .width = 1,
                  .height = 1,
                  .bits = 16,
                  .compression = 3,
                  .pixels = pixel};
    Bytes file = inside.bytes();
    std::copy(in565.begin(), in565.end(), file.begin() + 14 + 40);
    EXPECT_EQ(samplesOf(file), wanted) << version;
    // Masks that are bytes in an order of their own.
    inside.bits = 32;
    inside.pixels = {0x77, 3, 2, 1};
    file = inside.bytes();
    const Bytes reversed = masks({0xFF000000, 0xFF0000, 0xFF00});
    std::copy(reversed.begin(), reversed.end(), file.begin() + 14 + 40);
    EXPECT_EQ(samplesOf(file), (Bytes{1, 2, 3})) << version;
  }
  for (const uint32_t version : {16U, 40U, 64U, 124U}) {
    Source indexed{
        .headerBytes = version, .width = 1, .height = 1, .bits = 8, .pixels = {1, 0, 0, 0}};
    indexed.behindHeader = kColours;
    indexed.behindHeader.resize(size_t{256} * 4);
    EXPECT_EQ(samplesOf(indexed.bytes()), (Bytes{6, 5, 4})) << version;
  }
  // Colours of three bytes, as many as there is room for.
  const Source core{.headerBytes = 12,
                    .width = 1,
                    .height = 1,
                    .bits = 8,
                    .behindHeader = {1, 2, 3, 4, 5, 6},
                    .pixels = {1, 0, 0, 0}};
  EXPECT_EQ(samplesOf(core.bytes()), (Bytes{6, 5, 4}));
}

TEST(BmpFile, Refusals) {
  Source good;
  good.pixels.assign(16, 1);
  ASSERT_EQ(statusOf(good), ImageStatus::ok);
  const auto with = [&](const std::function<void(Source&)>& change) {
    Source bad = good;
    change(bad);
    return statusOf(bad);
  };
  EXPECT_EQ(with([](Source& s) { s.width = 0; }), ImageStatus::badExtent);
  EXPECT_EQ(with([](Source& s) { s.width = -2; }), ImageStatus::badExtent);
  EXPECT_EQ(with([](Source& s) { s.height = 0; }), ImageStatus::badExtent);
  EXPECT_EQ(with([](Source& s) { s.height = INT_MIN; }), ImageStatus::badExtent);
  EXPECT_EQ(with([](Source& s) { s.bits = 15; }), ImageStatus::badDepth);
  EXPECT_EQ(with([](Source& s) { s.planes = 2; }), ImageStatus::badHeader);
  EXPECT_EQ(with([](Source& s) { s.headerBytes = 13; }), ImageStatus::badHeader);
  EXPECT_EQ(with([](Source& s) { s.offsetError = -1; }), ImageStatus::badHeader);
  EXPECT_EQ(with([](Source& s) { s.offsetError = 3; }), ImageStatus::truncatedPixels);
  EXPECT_EQ(with([](Source& s) { s.compression = 1; }), ImageStatus::compressed);
  EXPECT_EQ(with([](Source& s) { s.compression = 3; }), ImageStatus::compressed) << "24 bits";
  EXPECT_EQ(with([](Source& s) { s.bits = 8; }), ImageStatus::truncatedHeader) << "no palette";
  EXPECT_EQ(with([](Source& s) { s.width = s.height = INT_MAX; }), ImageStatus::truncatedPixels);
  EXPECT_EQ(with([](Source& s) {
              s.bits = 16;
              s.compression = 3;
              s.behindHeader = masks({0xF00F, 0, 0});
            }),
            ImageStatus::badHeader)
      << "a mask with a hole";
  const Source index{.width = 1,
                     .height = 1,
                     .bits = 8,
                     .colours = 2,
                     .behindHeader = kGrays,
                     .pixels = {2, 0, 0, 0}};
  EXPECT_EQ(statusOf(index), ImageStatus::sampleRange);
  // A row's padding may be missing at the end, a sample not.
  const Bytes whole = good.bytes();
  Image image;
  EXPECT_EQ(base::readImage(std::span(whole).first(whole.size() - 2), image), ImageStatus::ok);
  for (size_t length = 0; length + 2 < whole.size(); ++length) {
    EXPECT_NE(base::readImage(std::span(whole).first(length), image), ImageStatus::ok) << length;
  }
}
