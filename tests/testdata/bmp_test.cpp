// Bitmaps into images: depths, byte orders, refusals and their texts.
#include "rkbmpfile.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "apikit.h"

namespace {

/// A bitmap file to be written, with headers that can lie.
struct BmpSource {
  bool reversed = false;
  int width = 1, height = 1, bits = 24;
  std::vector<std::array<uint8_t, 3>> palette{};  ///< blue, green, red
  std::string pixels{};
  int planes = 1, infoBytes = 40;
  uint32_t compression = 0, clrUsed = 0;
  long offBits = -1;  ///< -1: behind the palette

  std::string bytes() const {
    const std::string colours = paletteBytes();
    const long offset = offBits >= 0 ? offBits : 14 + infoBytes + long(colours.size());
    std::string out = reversed ? "MB" : "BM";
    put(out, 4, 0);  // bfSize: nobody relies on it
    put(out, 2, 0);
    put(out, 2, 0);
    put(out, 4, uint32_t(offset));
    put(out, 4, uint32_t(infoBytes));
    put(out, 4, uint32_t(width));
    put(out, 4, uint32_t(height));
    put(out, 2, uint32_t(planes));
    put(out, 2, uint32_t(bits));
    put(out, 4, compression);
    put(out, 4, 0);
    put(out, 4, 2835);
    put(out, 4, 2835);
    put(out, 4, clrUsed);
    put(out, 4, 0);
    if (infoBytes > 40) out.append(size_t(infoBytes - 40), '\x77');
    return out + colours + pixels;
  }

 private:
  void put(std::string& out, int size, uint32_t value) const {
    for (int i = 0; i < size; ++i) {
      out += char(value >> 8 * (reversed ? size - 1 - i : i) & 255);
    }
  }
  std::string paletteBytes() const {
    std::string out;
    for (const auto& colour : palette) {
      for (const uint8_t part : colour) out += char(part);
      out += '\xEE';
    }
    return out;
  }
};

std::string text(std::initializer_list<int> bytes) {
  std::string out;
  for (const int byte : bytes) out += char(byte);
  return out;
}

std::vector<int> row(const rkImage& image, int y) {
  std::vector<int> all;
  all.reserve(size_t(image.getRowLen()));
  const auto* bytes = static_cast<const uint8_t*>(image.getRowPointer(y));
  for (int i = 0; i < image.getRowLen(); ++i) all.push_back(bytes[i]);
  return all;
}

using Row = std::vector<int>;

class Bmp : public testing::Test {
 protected:
  bool load(const BmpSource& source, int layout = -1) { return load(source.bytes(), layout); }
  bool load(const std::string& bytes, int layout = -1) {
    m_name = m_folder.make("picture.bmp", bytes);
    return m_image.loadImage(m_name, layout);
  }
  /// What `load` printed, without the part that is the same for all refusals.
  std::string refusal(const BmpSource& source) { return refusal(source.bytes()); }
  std::string refusal(const std::string& bytes) {
    Console console(L_ERR);
    if (load(bytes)) return "loaded";
    const std::string head = std::string("--- Can't load file ") + m_name.c_str() + ": ";
    const std::string& all = console.text();
    EXPECT_EQ(all.find(head), 0u) << all;
    EXPECT_EQ(all.find('\n'), all.size() - 1) << "one line";
    return all.substr(head.size(), all.size() - head.size() - 1);
  }

  TemporaryFolder m_folder;
  tzString m_name;
  rkImage m_image;
};

const std::vector<std::array<uint8_t, 3>> kGrays = {{10, 10, 10}, {20, 20, 20}, {30, 30, 30}};
const std::vector<std::array<uint8_t, 3>> kColours = {{1, 2, 3}, {4, 5, 6}, {7, 8, 9}};

}  // namespace

TEST_F(Bmp, EveryDepthInBothByteOrders) {
  struct Case {
    const char* name;
    BmpSource source;
    int channels;
    Row first, second;
  };
  BmpSource bits1{.width = 10, .height = 2, .bits = 1, .clrUsed = 2};
  bits1.palette = {{0, 0, 0}, {255, 255, 255}};
  bits1.pixels = text({0b10110001, 0b01000000, 0, 0, 0, 0b10111111, 0, 0});
  BmpSource bits4{.width = 3, .height = 2, .bits = 4, .clrUsed = 3};
  bits4.palette = kColours;
  bits4.pixels = text({0x01, 0x2F, 0, 0, 0x9A, 0x0F, 0, 0});  // 9 and 10 are beyond the palette
  BmpSource bits8{.width = 3, .height = 2, .bits = 8, .clrUsed = 3};
  bits8.palette = kGrays;
  bits8.pixels = text({0, 1, 2, 99, 255, 3, 0, 99});
  BmpSource bits16{.width = 1, .height = 2, .bits = 16};
  bits16.pixels = text({1, 2, 99, 99, 3, 4, 99, 99});
  BmpSource bits24{.width = 2, .height = 2, .bits = 24};
  bits24.pixels = text({1, 2, 3, 4, 5, 6, 99, 99, 7, 8, 9, 10, 11, 12, 99, 99});
  BmpSource bits32{.width = 1, .height = 2, .bits = 32};
  bits32.pixels = text({1, 2, 3, 4, 5, 6, 7, 8});
  const Case cases[] = {
      {"1", bits1, 1, {255, 0, 255, 255, 0, 0, 0, 255, 0, 255}, {0, 0, 0, 0, 0, 0, 0, 0, 255, 0}},
      {"4", bits4, 3, {1, 2, 3, 4, 5, 6, 7, 8, 9}, {7, 8, 9, 7, 8, 9, 1, 2, 3}},
      {"8", bits8, 1, {10, 20, 30}, {30, 30, 10}},
      {"16", bits16, 2, {1, 2}, {3, 4}},
      {"24", bits24, 3, {1, 2, 3, 4, 5, 6}, {7, 8, 9, 10, 11, 12}},
      {"32", bits32, 4, {1, 2, 3, 4}, {5, 6, 7, 8}},
  };
  for (const Case& c : cases) {
    for (const bool reversed : {false, true}) {
      for (const int layout : {-1, 0, 1, 4}) {
        SCOPED_TRACE(testing::Message() << c.name << " reversed " << reversed << " " << layout);
        BmpSource source = c.source;
        source.reversed = reversed;
        ASSERT_TRUE(load(source, layout));
        EXPECT_EQ(m_image.type(), rk8u);
        EXPECT_EQ(m_image.channels(), c.channels);
        EXPECT_FALSE(m_image.isPlanar());
        EXPECT_EQ(m_image.width(), source.width);
        EXPECT_EQ(m_image.height(), source.height);
        EXPECT_EQ(row(m_image, 0), c.first);
        EXPECT_EQ(row(m_image, 1), c.second);
        EXPECT_TRUE(rkImage::canLoadImage(m_name));
      }
    }
  }
}

TEST_F(Bmp, WhatWritersDoDifferently) {
  // A longer information header stands before the palette.
  BmpSource v5{.width = 1, .bits = 8, .infoBytes = 124, .clrUsed = 3};
  v5.palette = kColours;
  v5.pixels = text({1, 0, 0, 0});
  ASSERT_TRUE(load(v5));
  EXPECT_EQ(row(m_image, 0), (Row{4, 5, 6}));

  // A full palette is told as 0 colours.
  BmpSource full{.width = 1, .bits = 4};
  full.palette.assign(16, {9, 9, 9});
  full.pixels = text({0xF0, 0, 0, 0});
  ASSERT_TRUE(load(full));
  EXPECT_EQ(row(m_image, 0), (Row{9}));

  // More colours than the depth has are cut; a gap stands before the pixels.
  BmpSource gap{.width = 1, .bits = 1, .clrUsed = 1000, .offBits = 70};
  gap.palette = {{5, 5, 5}, {6, 6, 6}};
  gap.pixels = std::string(8, '\0') + text({0x80, 0, 0, 0});
  ASSERT_TRUE(load(gap));
  EXPECT_EQ(row(m_image, 0), (Row{6}));

  // The last row's padding is missing.
  BmpSource cut{.width = 1, .height = 2, .bits = 24};
  cut.pixels = text({1, 2, 3, 0, 4, 5, 6});
  for (const int layout : {4, -1}) {
    ASSERT_TRUE(load(cut, layout));
    EXPECT_EQ(row(m_image, 1), (Row{4, 5, 6}));
  }
}

TEST_F(Bmp, EveryRefusalSaysWhy) {
  BmpSource good{.width = 2, .height = 2, .bits = 24};
  good.pixels = std::string(16, 'x');
  ASSERT_EQ(refusal(good), "loaded");
  const auto with = [&](const std::function<void(BmpSource&)>& change) {
    BmpSource bad = good;
    change(bad);
    return refusal(bad);
  };
  const std::string corrupted = "Bitmap header is corrupted: ";
  EXPECT_EQ(refusal("GIF89a and more"), "Bitmap files are valid only");
  EXPECT_EQ(refusal(""), "Bitmap files are valid only");
  EXPECT_EQ(refusal("BM"), corrupted + "the file ends in it");
  EXPECT_EQ(refusal(good.bytes().substr(0, 53)), corrupted + "the file ends in it");
  EXPECT_EQ(with([](BmpSource& b) { b.compression = 3; }), "Compression is not valid");
  EXPECT_EQ(with([](BmpSource& b) { b.width = 0; }), corrupted + "biWidth is invalid");
  EXPECT_EQ(with([](BmpSource& b) { b.width = -2; }), corrupted + "biWidth is invalid");
  EXPECT_EQ(with([](BmpSource& b) { b.height = -2; }), corrupted + "biHeight is invalid");
  EXPECT_EQ(with([](BmpSource& b) { b.bits = 15; }), corrupted + "biBitCount is invalid");
  EXPECT_EQ(with([](BmpSource& b) { b.planes = 3; }), corrupted + "biPlanes is invalid");
  EXPECT_EQ(with([](BmpSource& b) { b.infoBytes = 12; }), corrupted + "biSize is invalid");
  EXPECT_EQ(with([](BmpSource& b) { b.offBits = 53; }), corrupted + "bfOffBits is invalid");
  EXPECT_EQ(with([](BmpSource& b) { b.offBits = 71; }), corrupted + "bfOffBits is invalid");
  EXPECT_EQ(with([](BmpSource& b) { b.offBits = 57; }), "The file is shorter than its picture");
  EXPECT_EQ(with([](BmpSource& b) { b.bits = 8; }), corrupted + "the file ends in the palette");
  // Both wrong: the checks keep their order.
  EXPECT_EQ(with([](BmpSource& b) { b.width = b.planes = 0; }), corrupted + "biWidth is invalid");

  Console console(L_ERR);
  EXPECT_FALSE(m_image.loadImage(m_folder.path("none.bmp")));
  EXPECT_EQ(console.take(),
            ("--- Can't load file " + m_folder.path("none.bmp") + ": Open error\n").str());
  EXPECT_FALSE(rkImage::canLoadImage(m_folder.path("none.bmp")));
  EXPECT_FALSE(rkImage::canLoadImage(m_folder.make("text", "text")));
  EXPECT_FALSE(m_image.loadImage(m_folder.path("")));
  EXPECT_NE(console.take(), "");
}

TEST_F(Bmp, LyingSizesAreRefusedBeforeAnythingIsAllocated) {
  Console console(L_MEM);  // tells every allocation
  for (const int bits : {1, 8, 24, 32}) {
    for (const int extent : {40000, INT32_MAX}) {
      BmpSource lie{.width = extent, .height = extent, .bits = bits};
      lie.palette.assign(bits <= 8 ? size_t{1} << bits : 0, {1, 1, 1});
      lie.pixels = std::string(1000, 'x');
      EXPECT_FALSE(load(lie));
      EXPECT_FALSE(m_image.isCreated());
    }
  }
  EXPECT_EQ(console.text(), "");
}

TEST_F(Bmp, WhatNoImageHoldsIsRefusedWithTheReason) {
  const BmpSource huge{.width = 40000, .height = 40000, .bits = 24};
  m_name = m_folder.make("huge.bmp", huge.bytes());
  // All its pixels are there, in a file that takes no room on the disk.
  std::filesystem::resize_file(m_name.c_str(), 54 + std::uintmax_t{40000} * 40000 * 3);
  EXPECT_FALSE(rkImage::canLoadImage(m_name));
  Console console(L_ERR);
  EXPECT_FALSE(m_image.loadImage(m_name));
  EXPECT_EQ(console.text(), ("--- Can't load file " + m_name + ": The image is too large\n").str());
}

TEST_F(Bmp, HeadersAloneAndCutFiles) {
  BmpSource source{.width = 3, .height = 2, .bits = 8, .clrUsed = 3};
  source.palette = kGrays;
  source.pixels = std::string(8, '\1');
  const std::string whole = source.bytes();
  Console quiet(0);
  for (size_t length = 0; length < whole.size(); ++length) {
    EXPECT_FALSE(load(whole.substr(0, length))) << length;
    EXPECT_FALSE(rkImage::canLoadImage(m_name)) << length;
  }
  const tzString name = m_folder.make("headers.bmp", whole.substr(0, 66));
  rkBmpFile file(m_image);
  EXPECT_TRUE(file.readInfoHeader(name));
  EXPECT_EQ(file.fileHeader().bfType, 19778);
  EXPECT_EQ(file.infoHeader().biWidth, 3);
  EXPECT_EQ(file.GetPaletteNum(), 3);
  EXPECT_TRUE(file.IsGrayPalette());
  EXPECT_TRUE(file.IsCompressed());
  EXPECT_EQ(file.GetDataStep(), 4);
  EXPECT_EQ(file.GetDataSize(), 8);
}
