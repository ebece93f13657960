// Image files as a whole: text headers, both directions, rows one by one.
#include "base/imagefile.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstring>
#include <string>

using base::Image;
using base::ImageFormat;
using base::ImageLayout;
using base::ImageShape;
using base::ImageStatus;
using Bytes = std::vector<uint8_t>;

namespace {

Bytes bytesOf(const std::string& text) { return {text.begin(), text.end()}; }

ImageStatus read(const std::string& file, Image& image) {
  return base::readImage(bytesOf(file), image);
}
ImageStatus statusOf(const std::string& file) {
  Image image;
  return read(file, image);
}

/// Full-range samples, the limits first.
Image pattern(const ImageShape& shape) {
  Image image;
  EXPECT_EQ(base::allocateImage(shape, image), ImageStatus::ok);
  const int64_t least = shape.isSigned ? -(int64_t{1} << (shape.depth - 1)) : 0;
  const auto range = uint64_t{shape.greatest()} + 1;
  uint64_t seed = 0;
  const size_t count = image.samples.size() / shape.sampleBytes();
  for (size_t i = 0; i < count; ++i) {
    const int64_t value = least + int64_t(i == 0 ? 0 : i == 1 ? range - 1 : seed % range);
    std::memcpy(image.samples.data() + i * shape.sampleBytes(), &value, shape.sampleBytes());
    seed = seed * 6364136223846793005 + 1442695040888963407;
    seed ^= seed >> 29;
  }
  return image;
}

}  // namespace

TEST(ImageFile, TextHeaders) {
  Image image;
  ASSERT_EQ(read("P5 2 1 255\nab", image), ImageStatus::ok);
  EXPECT_EQ(image.shape, (ImageShape{2, 1}));
  EXPECT_EQ(image.samples, bytesOf("ab"));
  ASSERT_EQ(read("P6# one\n#two\n1\t# 7 7\n 1\r\n255\n#ab", image), ImageStatus::ok);
  EXPECT_EQ(image.samples, bytesOf("#ab")) << "a comment ends before the last blank";
  ASSERT_EQ(read(std::string("P5 1 1 4095\n\x0F\xFE", 14), image), ImageStatus::ok);
  EXPECT_EQ(image.shape, (ImageShape{.width = 1, .height = 1, .depth = 12}));
  EXPECT_EQ(*image.rowOf<uint16_t>(0), 0x0FFE);
  ASSERT_EQ(read("P5 1 1 100\nd", image), ImageStatus::ok);
  EXPECT_EQ(image.shape.depth, 7);
  EXPECT_EQ(image.shape.greatest(), 100u);
  ASSERT_EQ(
      read("P7\nDEPTH 4\nMAXVAL 255\n# x\nHEIGHT 1\nTUPLTYPE CMYK\nWIDTH 1\nENDHDR\nCMYK", image),
      ImageStatus::ok);
  EXPECT_EQ(image.shape, (ImageShape{1, 1, 4}));

  ASSERT_EQ(read("PG LM -12 1 1\n" + std::string("\x00\xF8", 2), image), ImageStatus::ok);
  EXPECT_EQ(image.shape, (ImageShape{.width = 1, .height = 1, .depth = 12, .isSigned = true}));
  EXPECT_EQ(*image.rowOf<int16_t>(0), -2048);
  ASSERT_EQ(read("PG  ML + 17 1 1\r\n" + std::string("\x00\x01\xFF\xFF", 4), image),
            ImageStatus::ok);
  EXPECT_EQ(*image.rowOf<uint32_t>(0), 0x1FFFFu);
  ASSERT_EQ(read("PG ML - 8 1 1\n\xFF", image), ImageStatus::ok);
  EXPECT_TRUE(image.shape.isSigned);
  ASSERT_EQ(read("PG ML 8 1 1\n\n", image), ImageStatus::ok);
  EXPECT_EQ(image.samples, bytesOf("\n"));
}

TEST(ImageFile, TextRefusals) {
  EXPECT_EQ(statusOf(""), ImageStatus::unknownFormat);
  EXPECT_EQ(statusOf("GIF89a"), ImageStatus::unknownFormat);
  EXPECT_EQ(statusOf("P4 8 1\nx"), ImageStatus::unknownFormat);
  EXPECT_EQ(statusOf("P52 1 255\nab"), ImageStatus::badHeader);
  EXPECT_EQ(statusOf("P5 -2 1 255\nab"), ImageStatus::badHeader);
  EXPECT_EQ(statusOf("P5 2 1 255xab"), ImageStatus::badHeader);
  EXPECT_EQ(statusOf("P5 0 1 255\n"), ImageStatus::badExtent);
  EXPECT_EQ(statusOf("P5 2147483648 1 255\n"), ImageStatus::badExtent);
  EXPECT_EQ(statusOf("P5 4294967297 1 255\na"), ImageStatus::badExtent);
  EXPECT_EQ(statusOf("P5 99999999999999999999999 1 255\n"), ImageStatus::badExtent);
  EXPECT_EQ(statusOf("P6 2147483647 2147483647 65535\n"), ImageStatus::truncatedPixels);
  EXPECT_EQ(statusOf("P5 1 1 0\na"), ImageStatus::badDepth);
  EXPECT_EQ(statusOf("P5 1 1 65536\nab"), ImageStatus::badDepth);
  EXPECT_EQ(statusOf("P5 2 1 100\nde"), ImageStatus::sampleRange);
  EXPECT_EQ(statusOf("P5 2 1 255\na"), ImageStatus::truncatedPixels);
  EXPECT_EQ(statusOf("P5 2 # 1 255"), ImageStatus::truncatedHeader);
  EXPECT_EQ(statusOf("P7\nWIDTH 1\nWIDTH 1\nHEIGHT 1\nDEPTH 1\nMAXVAL 1\nENDHDR\n\1"),
            ImageStatus::badHeader);
  EXPECT_EQ(statusOf("P7\nWIDTH 1\nHEIGHT 1\nDEPTH 5\nMAXVAL 1\nENDHDR\n\1\1\1\1\1"),
            ImageStatus::badDepth);
  EXPECT_EQ(statusOf("P7\nHEIGHT 1\nDEPTH 1\nMAXVAL 1\nENDHDR\n\1"), ImageStatus::badExtent);
  EXPECT_EQ(statusOf("P7\nWIDTH"), ImageStatus::truncatedHeader);
  EXPECT_EQ(statusOf("P7\nCOLOURS 1\nENDHDR\n"), ImageStatus::badHeader);
  EXPECT_EQ(statusOf("PG MM +8 1 1\na"), ImageStatus::badHeader);
  EXPECT_EQ(statusOf("PG ML +33 1 1\naaaaa"), ImageStatus::badDepth);
  EXPECT_EQ(statusOf("PG ML +0 1 1\na"), ImageStatus::badDepth);
  EXPECT_EQ(statusOf("PG ML +8 1 0\na"), ImageStatus::badExtent);
  EXPECT_EQ(statusOf("PG ML +8 1 1 a"), ImageStatus::badHeader);
  EXPECT_EQ(statusOf("PG ML +7 1 1\n\x80"), ImageStatus::sampleRange);
  EXPECT_EQ(statusOf("PG ML -7 1 1\n\xBF"), ImageStatus::sampleRange);
  EXPECT_EQ(statusOf("PG ML"), ImageStatus::truncatedHeader);
  EXPECT_EQ(statusOf("PG ML +32 2147483647 2147483647\n"), ImageStatus::truncatedPixels);
  EXPECT_STREQ(base::text(ImageStatus::truncatedPixels), "the file is shorter than its picture");
}

/// Shapes that a format has come back as they were.
TEST(ImageFile, WhatIsWrittenReadsBack) {
  struct Case {
    ImageFormat format;
    ImageShape shape;
  };
  std::vector<Case> cases;
  for (const int width : {1, 2, 3, 5, 64}) {
    for (const int channels : {1, 3, 4}) {
      cases.push_back({ImageFormat::bmp, {width, 3, channels}});
    }
    cases.push_back(
        {ImageFormat::bmp, {.width = width, .height = 2, .channels = 3, .blueFirst = true}});
    for (const int depth : {1, 7, 8, 12, 16}) {
      for (const int channels : {1, 2, 3, 4}) {
        cases.push_back({ImageFormat::pam, {width, 2, channels, depth}});
        if (channels % 2 != 0) cases.push_back({ImageFormat::pnm, {width, 2, channels, depth}});
      }
    }
    cases.push_back({ImageFormat::pnm, {.width = width, .height = 2, .depth = 9, .maximum = 300}});
    for (const int depth : {1, 8, 11, 16, 17, 32}) {
      for (const bool isSigned : {false, true}) {
        cases.push_back({ImageFormat::pgx, {width, 2, 1, depth, isSigned}});
      }
    }
  }
  for (const Case& c : cases) {
    SCOPED_TRACE(testing::Message() << int(c.format) << ' ' << c.shape.width << 'x'
                                    << c.shape.channels << ' ' << c.shape.depth);
    const Image image = pattern(c.shape);
    Bytes file;
    ASSERT_EQ(base::writeImage(c.shape, image.row(0), image.step, c.format, file), ImageStatus::ok);
    Image back;
    const bool stored = c.shape.channels == 4 || c.shape.blueFirst;
    ASSERT_EQ(base::readImage(file, back, stored ? base::BmpPixels::stored : base::BmpPixels::rgb),
              ImageStatus::ok);
    EXPECT_EQ(back.shape, c.shape);
    EXPECT_EQ(back.samples, image.samples);
  }
}

// A program that holds one row at a time makes and reads the same file.
TEST(ImageFile, RowsOneByOne) {
  for (const ImageFormat format : {ImageFormat::bmp, ImageFormat::pnm}) {
    const ImageShape shape{7, 5, 3};
    const Image image = pattern(shape);
    ImageLayout layout;
    Bytes file;
    ASSERT_EQ(base::startImage(shape, format, layout, file), ImageStatus::ok);
    EXPECT_EQ(layout.firstRow, file.size());
    file.resize(file.size() + layout.rowStep * 5, 0xEE);
    for (const int y : {3, 0, 4, 1, 2}) {
      layout.encodeRow(image.row(y), file.data() + layout.rowOffset(y));
    }
    Bytes whole;
    ASSERT_EQ(base::writeImage(shape, image.row(0), image.step, format, whole), ImageStatus::ok);
    EXPECT_EQ(file, whole);

    const auto head = std::span(file).first(layout.firstRow);
    ImageLayout parsed;
    ASSERT_EQ(base::parseImage(head, file.size(), parsed), ImageStatus::ok) << "the head is enough";
    EXPECT_EQ(parsed.pixelsEnd() + parsed.rowStep - parsed.fileRowBytes, file.size());
    Bytes row(shape.rowBytes());
    for (int y = 0; y < 5; ++y) {
      ASSERT_EQ(parsed.decodeRow(file.data() + parsed.rowOffset(y), row.data()), ImageStatus::ok);
      EXPECT_EQ(std::memcmp(row.data(), image.row(y), row.size()), 0) << y;
    }
  }
}

TEST(ImageFile, WhatAFormatHasNot) {
  ImageLayout layout;
  Bytes header;
  const auto start = [&](ImageFormat format, const ImageShape& shape) {
    return base::startImage(shape, format, layout, header);
  };
  EXPECT_EQ(start(ImageFormat::bmp, {1, 1, 2}), ImageStatus::notInFormat);
  EXPECT_EQ(start(ImageFormat::bmp, {1, 1, 3, 12}), ImageStatus::notInFormat);
  EXPECT_EQ(start(ImageFormat::bmp, {1, 1, 1, 8, true}), ImageStatus::notInFormat);
  EXPECT_EQ(start(ImageFormat::bmp, {INT_MAX, 4, 1}), ImageStatus::tooLarge) << "over 4 GiB";
  EXPECT_EQ(start(ImageFormat::bmp, {1, 0, 1}), ImageStatus::badExtent);
  EXPECT_EQ(start(ImageFormat::pnm, {1, 1, 2}), ImageStatus::notInFormat);
  EXPECT_EQ(start(ImageFormat::pnm, {1, 1, 1, 17}), ImageStatus::notInFormat);
  EXPECT_EQ(start(ImageFormat::pnm, {.width = 1, .height = 1, .channels = 3, .blueFirst = true}),
            ImageStatus::notInFormat);
  EXPECT_EQ(start(ImageFormat::pgx, {1, 1, 3}), ImageStatus::notInFormat);
  EXPECT_EQ(start(ImageFormat::pgx, {1, 1, 1, 33}), ImageStatus::notInFormat);
  Image image;
  EXPECT_EQ(base::allocateImage({INT_MAX, INT_MAX, 4, 32}, image), ImageStatus::tooLarge);
}

TEST(ImageFile, FormatsByName) {
  ImageFormat format{};
  EXPECT_TRUE(base::imageFormatOf("a.b/picture.PGX", format));
  EXPECT_EQ(format, ImageFormat::pgx);
  EXPECT_TRUE(base::imageFormatOf("x.ppm", format));
  EXPECT_EQ(format, ImageFormat::pnm);
  EXPECT_TRUE(base::imageFormatOf(".bmp", format));
  for (const char* const name : {"", "bmp", "x.bmp.jpg", "x.bmpx", "."}) {
    EXPECT_FALSE(base::imageFormatOf(name, format)) << name;
  }
}
