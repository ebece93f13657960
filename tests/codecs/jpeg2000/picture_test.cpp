// From components to pixels, and pictures in buffers of the caller.
#include "picture.h"

#include <algorithm>
#include <numeric>

#include "j2kkit.h"

namespace {

using namespace j2kkit;
using j2k::Options;

size_t at(const Bytes& file, const char* name) {
  return std::string(file.begin(), file.end()).find(name);
}

void add32(Bytes& file, size_t place, uint32_t more) {
  uint32_t value = 0;
  for (size_t i = 0; i < 4; ++i) value = value << 8 | file[place + i];
  value += more;
  for (size_t i = 0; i < 4; ++i) file[place + i] = uint8_t(value >> (24 - 8 * i));
}

/// Puts boxes at the end of the header super box.
Bytes withHeaderBoxes(Bytes file, const Bytes& boxes) {
  file.insert(file.begin() + std::ptrdiff_t(at(file, "jp2c") - 4), boxes.begin(), boxes.end());
  add32(file, at(file, "jp2h") - 4, uint32_t(boxes.size()));
  return file;
}

Picture indexes(int most) {
  Picture picture = waves(20, 10, 1);
  for (size_t i = 0; i < picture.planes[0].size(); ++i) picture.planes[0][i] = int(i) % (most + 1);
  return picture;
}

j2k::Pixels pixelsOf(const Bytes& file, Messages& messages, const Options& options = {}) {
  j2k::Pixels pixels;
  j2k::PictureInfo info;
  if (j2k::decodePixels(options, messages, file, 16, pixels, info) != j2k::Status::ok) pixels = {};
  return pixels;
}

const Bytes palette = {0, 0, 0, 26, 'p', 'c', 'l', 'r', 0,   4,   3,   7,   7,
                       7, 1, 2, 3,  10,  20,  30,  100, 110, 120, 250, 251, 252};
const Bytes mapping = {0, 0, 0, 20, 'c', 'm', 'a', 'p', 0, 0, 1, 0, 0, 0, 1, 1, 0, 0, 1, 2};

TEST(Palette, MapsIndexesToColoursAndHoldsThoseOutside) {
  // The mapping may stand before the palette, too.
  Bytes boxes[2] = {palette, mapping};
  boxes[0].insert(boxes[0].end(), mapping.begin(), mapping.end());
  boxes[1].insert(boxes[1].end(), palette.begin(), palette.end());
  for (const int most : {3, 6}) {
    Picture picture = indexes(most);
    Messages messages;
    const Bytes file = withHeaderBoxes(encoded(picture, {}), boxes[most % 2]);
    const j2k::Pixels pixels = pixelsOf(file, messages);
    ASSERT_EQ(3, pixels.channels) << messages.text;
    EXPECT_EQ(most > 3, messages.has(706)) << messages.text;
    for (size_t i = 0; i < picture.planes[0].size(); ++i) {
      const size_t index = size_t(std::min(picture.planes[0][i], 3));
      for (size_t c = 0; c < 3; ++c) {
        ASSERT_EQ(palette[14 + index * 3 + c], pixels.bytes[i * 3 + c]) << i;
      }
    }
  }
}

TEST(Palette, ThatCannotBeIsRefused) {
  Picture picture = indexes(3);
  Bytes none = palette, wrong = mapping;
  none[9] = 0;
  wrong[11] = 9;
  Bytes boxes = palette;
  boxes.insert(boxes.end(), wrong.begin(), wrong.end());
  for (const Bytes& bad : {none, boxes}) {
    Messages messages;
    EXPECT_EQ(0, pixelsOf(withHeaderBoxes(encoded(picture, {}), bad), messages).width);
    EXPECT_TRUE(messages.has(402)) << messages.text;
  }
}

TEST(Channels, AreOrderedAsTheyAreDefined) {
  Picture picture = waves(20, 10, 3);
  const auto definition = [](const std::vector<int>& values) {
    Bytes box = {0,   0,   0, uint8_t(10 + values.size() * 2), 'c', 'd',
                 'e', 'f', 0, uint8_t(values.size() / 3)};
    for (const int v : values) box.insert(box.end(), {uint8_t(v >> 8), uint8_t(v)});
    return box;
  };
  Messages messages;
  // Blue, green, red
  const j2k::Pixels pixels = pixelsOf(
      withHeaderBoxes(encoded(picture, {}), definition({0, 0, 3, 1, 0, 2, 2, 0, 1})), messages);
  EXPECT_EQ("", messages.text);
  for (size_t i = 0; i < 200; ++i) {
    for (size_t c = 0; c < 3; ++c) {
      ASSERT_EQ(picture.planes[2 - c][i], pixels.bytes[i * 3 + c]) << i;
    }
  }
  for (const auto& bad :
       {std::vector<int>{0, 0, 1, 0, 0, 2, 2, 0, 3}, {0, 0, 1, 7, 0, 2, 2, 0, 3}}) {
    Messages told;
    EXPECT_EQ(3, pixelsOf(withHeaderBoxes(encoded(picture, {}), definition(bad)), told).channels);
    EXPECT_TRUE(told.has(707)) << told.text;
  }
}

TEST(Pixels, SubsampledChromaOfAnyOffsetBecomesColours) {
  for (const int offset : {0, 1, 2, 5, 9}) {
    Picture picture = waves(31, 27, 3);
    for (size_t c = 1; c < 3; ++c) {
      auto& info = picture.info.components[c];
      info.dx = info.dy = 2;
      info.width = (31 + offset + 1) / 2 - (offset + 1) / 2;
      info.height = 27 / 2 + 1;
      picture.planes[c].assign(size_t(info.width) * size_t(info.height), 128);
    }
    picture.info.colour = j2k::ColourSpace::sycc;
    Options options;
    options.offsetX = offset;
    options.transform = 0;
    Messages messages;
    const j2k::Pixels pixels = pixelsOf(encoded(picture, options), messages);
    EXPECT_EQ("", messages.text);
    ASSERT_EQ(3, pixels.channels);
    // Without chroma every colour is luma.
    for (size_t i = 0; i < picture.planes[0].size(); ++i) {
      for (size_t c = 0; c < 3; ++c) ASSERT_EQ(picture.planes[0][i], pixels.bytes[i * 3 + c]);
    }
  }
}

TEST(Buffers, HoldBitmapsUpsideDownAndTellWhenTheyAreTooSmall) {
  for (const int bits : {8, 24, 32}) {
    const size_t step = j2k::bmpRowStep(bits, 33);
    Bytes pixels(step * 20), back(pixels.size());
    std::iota(pixels.begin(), pixels.end(), uint8_t(bits));
    j2k::BmpBuffer in{33, 20, bits, pixels.data(), pixels.size()};
    j2k::BmpBuffer out{0, 0, 0, back.data(), back.size()};
    Bytes stream(20000);
    j2k::Jp2Buffer jp2{stream.data(), stream.size(), 0};
    Messages messages;
    ASSERT_EQ(0, j2k::encode({}, messages, in, jp2)) << messages.text;
    ASSERT_EQ(0, j2k::decode({}, messages, jp2, out)) << messages.text;
    EXPECT_EQ(33, out.width);
    EXPECT_EQ(bits, out.bitsPerPixel);
    for (size_t y = 0; y < 20; ++y) {
      EXPECT_TRUE(std::equal(pixels.begin() + std::ptrdiff_t(y * step),
                             pixels.begin() + std::ptrdiff_t(y * step + 33 * size_t(bits) / 8),
                             back.begin() + std::ptrdiff_t(y * step)));
    }
    out.size = 10;
    EXPECT_NE(0, j2k::decode({}, messages, jp2, out));
    EXPECT_EQ("Error: the buffer for bmpFile 10 bytes is small,indispensable size " +
                  std::to_string(step * 20) + " bytes\n\n",
              messages.text);
    Options anymap;
    anymap.output = "x.ppm";
    Messages others;
    EXPECT_NE(0, j2k::decode(anymap, others, jp2, out));
    EXPECT_EQ(0U, others.text.find("Error: the buffer for pnmFile "));
    jp2.size = 10;
    EXPECT_NE(0, j2k::encode({}, others, in, jp2));
  }
}

}  // namespace
