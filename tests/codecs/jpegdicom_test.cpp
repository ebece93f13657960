// DICOM's lossless and 12-bit files, as dcmtk writes and reads them.
#include <algorithm>
#include <array>
#include <span>

#include "jpegkit.h"
#include "peerkit.h"

namespace {

using namespace jpegkit;
using jpeg::EncodeOptions;
using jpeg::Mode;
using jpeg::Status;

constexpr const char* kPlain = "1.2.840.10008.1.2.1";
constexpr const char* kLossless = "1.2.840.10008.1.2.4.57";

/// A file of one picture, element by element.
class Dicom {
 public:
  Dicom(const jpeg::ImageShape& shape, const char* syntax) : bytes_(128, 0) {
    for (const char c : {'D', 'I', 'C', 'M'}) bytes_.push_back(uint8_t(c));
    Bytes own = std::move(bytes_);
    // The length of the group's rest comes first.
    text(0x0002, 0x0002, "UI", "1.2.840.10008.5.1.4.1.1.7");
    text(0x0002, 0x0003, "UI", "1.2.3.4");
    text(0x0002, 0x0010, "UI", syntax);
    Bytes group = std::move(bytes_);
    bytes_ = std::move(own);
    element(0x0002, 0x0000, "UL", 4);
    number(group.size(), 4);
    bytes_.insert(bytes_.end(), group.begin(), group.end());
    text(0x0008, 0x0016, "UI", "1.2.840.10008.5.1.4.1.1.7");
    text(0x0008, 0x0018, "UI", "1.2.3.4");
    const bool isColor = shape.channels == 3;
    word(0x0028, 0x0002, shape.channels);
    text(0x0028, 0x0004, "CS", isColor ? "RGB " : "MONOCHROME2 ");
    if (isColor) word(0x0028, 0x0006, 0);
    word(0x0028, 0x0010, shape.height);
    word(0x0028, 0x0011, shape.width);
    word(0x0028, 0x0100, 8 * shape.bytesPerSample());
    word(0x0028, 0x0101, shape.precision);
    word(0x0028, 0x0102, shape.precision - 1);
    word(0x0028, 0x0103, 0);
  }
  Bytes withPixels(const Picture& picture) {
    element(0x7FE0, 0x0010, picture.shape.bytesPerSample() == 2 ? "OW" : "OB",
            picture.pixels.size() + picture.pixels.size() % 2);
    bytes_.insert(bytes_.end(), picture.pixels.begin(), picture.pixels.end());
    bytes_.resize(bytes_.size() + picture.pixels.size() % 2);
    return std::move(bytes_);
  }
  Bytes withJpeg(Bytes jpeg) {
    jpeg.resize(jpeg.size() + jpeg.size() % 2);
    element(0x7FE0, 0x0010, "OB", 0xFFFFFFFF);
    item(0xE000, 0);
    item(0xE000, jpeg.size());
    bytes_.insert(bytes_.end(), jpeg.begin(), jpeg.end());
    item(0xE0DD, 0);
    return std::move(bytes_);
  }

 private:
  void number(size_t value, int bytes) {
    for (int i = 0; i < bytes; ++i) bytes_.push_back(uint8_t(value >> 8 * i));
  }
  void item(int tag, size_t length) {
    number(0xFFFE, 2);
    number(size_t(tag), 2);
    number(length, 4);
  }
  void element(int group, int tag, const char* type, size_t length) {
    number(size_t(group), 2);
    number(size_t(tag), 2);
    bytes_.push_back(uint8_t(type[0]));
    bytes_.push_back(uint8_t(type[1]));
    const bool isLong = type[0] == 'O';
    if (isLong) number(0, 2);
    number(length, isLong ? 4 : 2);
  }
  void text(int group, int tag, const char* type, std::string value) {
    if (value.size() % 2 == 1) value.push_back(type[0] == 'U' ? '\0' : ' ');
    element(group, tag, type, value.size());
    bytes_.insert(bytes_.end(), value.begin(), value.end());
  }
  void word(int group, int tag, int value) {
    element(group, tag, "US", 2);
    number(size_t(value), 2);
  }

  Bytes bytes_;
};

/// Behind the head of the pixels of a file; empty when there are none.
std::span<const uint8_t> pixelsOf(const Bytes& file) {
  for (const uint8_t type : {'B', 'W'}) {
    const std::array<uint8_t, 8> head = {0xE0, 0x7F, 0x10, 0x00, 'O', type, 0, 0};
    const auto at = std::search(file.begin(), file.end(), head.begin(), head.end());
    if (at != file.end()) return std::span(file).subspan(size_t(at - file.begin()) + 12);
  }
  return {};
}

/// The JPEG file in pixels that are encapsulated: the item behind the table of offsets.
Bytes jpegOf(const Bytes& file) {
  auto rest = pixelsOf(file);
  const auto lengthAt = [&](size_t at) {
    return size_t(rest[at]) | size_t(rest[at + 1]) << 8 | size_t(rest[at + 2]) << 16 |
           size_t(rest[at + 3]) << 24;
  };
  if (rest.size() < 16 || rest[0] != 0xFE) return {};
  rest = rest.subspan(8 + lengthAt(4));
  const size_t length = lengthAt(4);
  if (rest.size() < 8 + length) return {};
  return {rest.begin() + 8, rest.begin() + 8 + ptrdiff_t(length)};
}

struct Dcmcjpeg : peerkit::PeerTest {
  Dcmcjpeg() : PeerTest("dcmcjpeg") {}
};
struct Dcmdjpeg : peerkit::PeerTest {
  Dcmdjpeg() : PeerTest("dcmdjpeg") {}
};

TEST_F(Dcmcjpeg, ItsLosslessFilesOfEveryPredictorComeBackExactly) {
  for (const auto& [channels, precision] : {std::pair{1, 8}, {3, 8}, {1, 12}, {1, 16}}) {
    const Picture source = noise(41, 27, channels, precision);
    write("a.dcm", Dicom(source.shape, kPlain).withPixels(source));
    for (int predictor = 1; predictor <= 7; ++predictor) {
      SCOPED_TRACE(std::to_string(channels) + " x " + std::to_string(precision) + " bits, " +
                   std::to_string(predictor));
      const Bytes made = this->made(
          "+el +sv " + std::to_string(predictor) + " " + file("a.dcm") + " " + file("b.dcm"),
          "b.dcm");
      const Decoded d = decode(jpegOf(made));
      ASSERT_EQ(Status::ok, d.status) << statusText(d.status);
      EXPECT_EQ(source.pixels, d.picture.pixels);
    }
  }
}

TEST_F(Dcmcjpeg, ItsFilesOfTwelveBitsDecodeAsItDecodesThem) {
  Picture source = noise(64, 48, 1, 12);
  for (int y = 0; y < 48; ++y) {  // smooth, which twelve bits are for
    for (int x = 0; x < 64; ++x) {
      uint8_t* const sample = &source.pixels[2 * (size_t(y) * 64 + size_t(x))];
      const int v = 2048 + 20 * x - 15 * y + sample[0] % 9;
      sample[0] = uint8_t(v);
      sample[1] = uint8_t(v >> 8);
    }
  }
  write("a.dcm", Dicom(source.shape, kPlain).withPixels(source));
  for (const char* const mode : {"+ee", "+es", "+ep"}) {
    SCOPED_TRACE(mode);
    const Bytes made =
        this->made(std::string(mode) + " +q 95 " + file("a.dcm") + " " + file("b.dcm"), "b.dcm");
    ASSERT_EQ(
        0, std::system(
               ("dcmdjpeg " + file("b.dcm") + " " + file("c.dcm") + " > /dev/null 2>&1").c_str()));
    const Bytes theirFile = read("c.dcm");
    const auto pixels = pixelsOf(theirFile);
    const Decoded d = decode(jpegOf(made));
    ASSERT_EQ(Status::ok, d.status) << statusText(d.status);
    ASSERT_EQ(12, d.picture.shape.precision);
    ASSERT_EQ(source.pixels.size(), pixels.size());
    const Picture theirs{source.shape, {pixels.begin(), pixels.end()}};
    EXPECT_GE(1, largestDifference(theirs, d.picture));
  }
}

TEST_F(Dcmdjpeg, ReadsOurLosslessFilesExactly) {
  for (const auto& [channels, precision] : {std::pair{1, 8}, {3, 8}, {1, 12}, {1, 16}}) {
    const Picture source = noise(41, 27, channels, precision);
    for (int predictor = 1; predictor <= 7; ++predictor) {
      SCOPED_TRACE(std::to_string(channels) + " x " + std::to_string(precision) + " bits, " +
                   std::to_string(predictor));
      const Encoded e = encode(source, [p = predictor](EncodeOptions& o) {
        o.mode = Mode::lossless;
        o.predictor = p;
        o.restartInterval = p == 3 ? 41 : 0;
      });
      ASSERT_EQ(Status::ok, e.status);
      write("a.dcm", Dicom(source.shape, kLossless).withJpeg(e.file));
      const Bytes made = this->made(file("a.dcm") + " " + file("b.dcm"), "b.dcm");
      const auto pixels = pixelsOf(made);
      ASSERT_LE(source.pixels.size(), pixels.size());
      EXPECT_EQ(source.pixels,
                Bytes(pixels.begin(), pixels.begin() + ptrdiff_t(source.pixels.size())));
    }
  }
}

}  // namespace
