// Files as they are found: cut short, damaged, odd, hostile.
#include <gtest/gtest.h>

#include <algorithm>

#include "jpegbytes.h"

namespace {

using namespace jpegkit;
using jpeg::Color;
using jpeg::DecodeOptions;
using jpeg::Status;

/// One small file of each mode.
std::vector<Bytes> smallFiles() {
  const Picture rgb = picture(41, 35, Color::rgb);
  std::vector<Bytes> files;
  files.push_back(peerEncode(rgb, {.quality = 60}));
  files.push_back(peerEncode(rgb, {.quality = 60, .isProgressive = true}));
  files.push_back(peerEncode(rgb, {.quality = 60, .restartInterval = 2}));
  files.push_back(peerEncode(rgb, {.quality = 60, .isProgressive = true, .restartInterval = 4}));
  files.push_back(peerEncode(picture(41, 35, Color::cmyk), {.quality = 40, .color = Color::ycck}));
  files.push_back(encode(noise(19, 17, 3, 8), [](jpeg::EncodeOptions& o) {
                    o.mode = jpeg::Mode::lossless;
                    o.restartInterval = 40;
                  }).file);
  files.push_back(encode(noise(19, 17, 1, 13), [](jpeg::EncodeOptions& o) {
                    o.mode = jpeg::Mode::lossless;
                  }).file);
  return files;
}

TEST(JpegDamage, FilesCutAnywhereGiveWhatIsThere) {
  for (const Bytes& file : smallFiles()) {
    const size_t scan = findMarker(file, 0xDA);
    const size_t data = scan + 2 + size_t(file[scan + 2] << 8 | file[scan + 3]);
    for (size_t length = 0; length < file.size(); ++length) {
      const Decoded d = decode(Bytes(file.begin(), file.begin() + ptrdiff_t(length)));
      if (length < data) {
        EXPECT_TRUE(isError(d.status)) << length;
      } else {
        EXPECT_TRUE(isWarning(d.status)) << length << " of " << file.size();
      }
    }
  }
}

TEST(JpegDamage, WhatIsMissingIsFilledAndTheRestIsKept) {
  const Picture source = picture(64, 64, Color::gray);
  const Bytes file = peerEncode(source, {.quality = 90});
  const Picture whole = decode(file).picture;
  const Decoded half = decode(Bytes(file.begin(), file.begin() + ptrdiff_t(file.size() * 3 / 4)));
  EXPECT_TRUE(warnsOf(half, Status::truncated));
  EXPECT_TRUE(std::equal(whole.pixels.begin(), whole.pixels.begin() + 64 * 16,
                         half.picture.pixels.begin()));
  // The last rows are one flat grey.
  for (int x = 1; x < 64; ++x)
    EXPECT_EQ(half.picture.sample(0, 63, 0), half.picture.sample(x, 63, 0));
}

TEST(JpegDamage, EverySingleBitFlipIsSurvived) {
  for (const Bytes& file : smallFiles()) {
    for (size_t bit = 0; bit < 8 * file.size(); ++bit) {
      Bytes damaged = file;
      damaged[bit / 8] ^= uint8_t(1 << bit % 8);
      const Decoded d = decode(damaged, [](DecodeOptions& o) { o.memoryLimit = 1 << 24; });
      (void)d;  // any outcome but a crash: sanitizers watch
    }
  }
}

TEST(JpegDamage, ADamagedIntervalCostsItselfOnly) {
  const Picture source = picture(128, 64, Color::gray);
  const Bytes file = peerEncode(source, {.quality = 90, .restartInterval = 16});
  const Picture whole = decode(file).picture;
  const size_t second = findMarker(file, 0xD0), third = findMarker(file, 0xD1);
  ASSERT_LT(third, file.size());
  const auto rowsEqual = [&](const Picture& p, int from, int to) {
    return std::equal(whole.pixels.begin() + 128 * from, whole.pixels.begin() + 128 * to,
                      p.pixels.begin() + 128 * from);
  };
  Bytes damaged = file;
  for (size_t i = second + 10; i < third - 10; ++i) damaged[i] = 0x55;
  Decoded d = decode(damaged);
  EXPECT_TRUE(isWarning(d.status));
  EXPECT_TRUE(rowsEqual(d.picture, 0, 8));
  EXPECT_TRUE(rowsEqual(d.picture, 16, 64)) << "behind the damage";

  damaged = file;  // a marker is gone, with its interval's data
  damaged.erase(damaged.begin() + ptrdiff_t(second), damaged.begin() + ptrdiff_t(third));
  d = decode(damaged);
  EXPECT_TRUE(warnsOf(d, Status::restartMissing));
  EXPECT_TRUE(rowsEqual(d.picture, 0, 8));
  EXPECT_TRUE(rowsEqual(d.picture, 16, 64));

  d = decode(inserted(file, third, {0xFF, 0xD0}));  // a marker twice
  EXPECT_TRUE(rowsEqual(d.picture, 0, 64));
}

struct Odd {
  const char* name;
  Bytes file;
  Status warning;  // ok: opens without one
};

std::vector<Odd> oddFiles(const Bytes& file) {
  std::vector<Odd> odd;
  const size_t frame = findMarker(file, 0xC0), scan = findMarker(file, 0xDA);
  const auto add = [&](const char* name, Bytes bytes, Status warning) {
    odd.push_back({name, std::move(bytes), warning});
  };
  add("no EOI", Bytes(file.begin(), file.end() - 2), Status::noEndOfImage);
  Bytes trailer = file;
  trailer.resize(file.size() + 100000, 0x7F);
  add("a long trailer", trailer, Status::ok);
  Bytes two = file;
  two.insert(two.end(), file.begin(), file.end());
  add("a second picture", two, Status::ok);
  add("bytes before a marker", inserted(file, frame, {1, 2, 3}), Status::extraBytes);
  add("bytes in front", inserted(file, 0, {9, 9}), Status::extraBytes);
  add("fill bytes", inserted(file, frame, {0xFF, 0xFF, 0xFF}), Status::ok);
  add("an APP of length 2", inserted(file, frame, {0xFF, 0xE5, 0, 2}), Status::ok);
  add("a length of 0", inserted(file, frame, {0xFF, 0xE5, 0, 0}), Status::badSegment);
  add("an unknown marker", inserted(file, frame, {0xFF, 0xF0, 0, 4, 1, 2}), Status::ok);
  add("an empty DHT", inserted(file, scan, {0xFF, 0xC4, 0, 2}), Status::ok);
  Bytes noCodes(2 + 2 + 17, 0);
  noCodes[0] = 0xFF;
  noCodes[1] = 0xC4;
  noCodes[3] = 19;
  add("a DHT without codes", inserted(file, scan, noCodes), Status::badSegment);
  add("no DHT", without(file, 0xC4), Status::standardTables);
  Bytes ends = file;
  ends[scan + 2 + size_t(file[scan + 3]) - 3] = 1;  // Ss
  add("a strange Ss", ends, Status::ok);
  return odd;
}

TEST(JpegDamage, OddFilesOpen) {
  const Bytes file = peerEncode(picture(50, 40, Color::rgb));
  const Picture whole = decode(file).picture;
  for (const Odd& odd : oddFiles(file)) {
    SCOPED_TRACE(odd.name);
    const Decoded d = decode(odd.file);
    EXPECT_EQ(odd.warning, d.status) << statusText(d.status);
    EXPECT_EQ(whole.pixels, d.picture.pixels);
    const Decoded strict = decode(odd.file, [](DecodeOptions& o) { o.strict = true; });
    EXPECT_EQ(odd.warning == Status::ok ? Status::ok : Status::notStrict, strict.status);
  }
}

TEST(JpegDamage, HeightsMayComeLater) {
  const Bytes file = peerEncode(picture(40, 24, Color::gray));
  const Picture whole = decode(file).picture;
  const size_t frame = findMarker(file, 0xC0);
  Bytes open = file;
  open[frame + 5] = open[frame + 6] = 0;
  EXPECT_EQ(Status::noHeight, decode(open).status);
  open = inserted(open, file.size() - 2, {0xFF, 0xDC, 0, 4, 0, 24});
  const Decoded d = decode(open);
  EXPECT_EQ(Status::ok, d.status);
  EXPECT_EQ(whole.pixels, d.picture.pixels);
}

TEST(JpegDamage, KindsThatAreNotSupportedAreNamed) {
  const Picture source = picture(16, 16, Color::gray);
  EXPECT_EQ(Status::arithmetic, decode(peerEncode(source, {.isArithmetic = true})).status);
  Bytes file = peerEncode(source);
  const size_t frame = findMarker(file, 0xC0);
  for (const auto& [marker, status] : {std::pair{0xC5, Status::hierarchical},
                                       {0xDE, Status::hierarchical},
                                       {0xF7, Status::jpegLs},
                                       {0xCB, Status::arithmetic}}) {
    file[frame + 1] = uint8_t(marker);
    EXPECT_EQ(status, decode(file).status);
  }
  EXPECT_EQ(Status::notJpeg, decode({}).status);
  EXPECT_EQ(Status::notJpeg, decode({'P', '6', ' '}).status);
}

TEST(JpegDamage, HeadersThatAskForTooMuchAreRefusedAtOnce) {
  for (const bool isProgressive : {false, true}) {
    Bytes file = peerEncode(picture(16, 16, Color::rgb), {.isProgressive = isProgressive});
    const size_t frame = findMarker(file, isProgressive ? 0xC2 : 0xC0);
    for (int i = 5; i < 9; ++i) file[frame + size_t(i)] = 0xFF;
    jpeg::Decoder decoder;
    class Nowhere : public jpeg::RowSink {
     public:
      Status room(int, int count, uint8_t** pixels, ptrdiff_t* step) override {
        memory_.resize(size_t(count) * 3 * 65535);
        *pixels = memory_.data();
        *step = 3 * 65535;
        return Status::ok;
      }
      Status done(int, int) override { return Status::ok; }

     private:
      Bytes memory_;
    } nowhere;
    ASSERT_EQ(Status::ok, decoder.setSource(file));
    ASSERT_EQ(Status::ok, decoder.readHeader());
    ASSERT_EQ(Status::ok, decoder.setDestination(nowhere));
    EXPECT_EQ(Status::tooLittleData, decoder.readData());
  }
}

TEST(JpegDamage, ScansAndMemoryHaveLimits) {
  const Bytes file = peerEncode(picture(64, 64, Color::rgb), {.isProgressive = true});
  EXPECT_EQ(Status::manyScans, decode(file, [](DecodeOptions& o) { o.maxScans = 9; }).status);
  EXPECT_EQ(Status::ok, decode(file, [](DecodeOptions& o) { o.maxScans = 10; }).status);
  EXPECT_EQ(Status::overMemoryLimit,
            decode(file, [](DecodeOptions& o) { o.memoryLimit = 10000; }).status);
  // An empty scan over a large picture, again and again.
  Bytes bomb = encode(picture(2000, 2000, Color::gray), [](jpeg::EncodeOptions& o) {
                 o.mode = jpeg::Mode::progressive;
                 o.quality = 1;
               }).file;
  bomb.resize(bomb.size() - 2);
  const size_t scan = findMarker(bomb, 0xDA);
  const Bytes repeated(bomb.begin() + ptrdiff_t(scan), bomb.end());
  for (int i = 0; i < 300; ++i) bomb.insert(bomb.end(), repeated.begin(), repeated.begin() + 12);
  EXPECT_EQ(Status::manyScans, decode(bomb).status);
}

TEST(JpegDamage, ADestinationThatIsTooSmallIsLeftAlone) {
  const Picture source = picture(20, 10, Color::rgb);
  const Bytes file = peerEncode(source);
  jpeg::Decoder decoder;
  Bytes pixels(600, 0xA5);
  for (const size_t size : {0, 1, 599}) {
    ASSERT_EQ(Status::ok, decoder.clean());
    ASSERT_EQ(Status::ok, decoder.setSource(file));
    ASSERT_EQ(Status::ok, decoder.setDestination(pixels.data(), size));
    ASSERT_EQ(Status::ok, decoder.readHeader());
    EXPECT_EQ(Status::destinationFull, decoder.readData());
    EXPECT_EQ(600, std::ranges::count(pixels, 0xA5));
  }
  const Bytes made = encode(source).file;
  for (const size_t size : {size_t{0}, size_t{1}, made.size() - 1}) {
    Bytes room(made.size(), 0xA5);
    jpeg::Encoder encoder;
    encoder.options().color = Color::rgb;
    ASSERT_EQ(Status::ok, encoder.setSource(source.shape, source.pixels.data()));
    ASSERT_EQ(Status::ok, encoder.setDestination(room.data(), size));
    Status status = encoder.writeHeader();
    if (status == Status::ok) status = encoder.writeData();
    EXPECT_EQ(Status::destinationFull, status);
    EXPECT_TRUE(std::all_of(room.begin() + ptrdiff_t(size), room.end(),
                            [](uint8_t b) { return b == 0xA5; }));
  }
}

TEST(JpegDamage, StepsOutOfOrderAreRefused) {
  jpeg::Decoder decoder;
  EXPECT_EQ(Status::outOfOrder, decoder.readHeader());
  EXPECT_EQ(Status::outOfOrder, decoder.readData());
  jpeg::Encoder encoder;
  EXPECT_EQ(Status::outOfOrder, encoder.writeHeader());
  EXPECT_EQ(Status::outOfOrder, encoder.writeData());
}

TEST(JpegDamage, MetadataComeBackAsTheyWent) {
  jpeg::Metadata metadata;
  metadata.exif.assign(300, 7);
  metadata.icc.resize(200000);
  for (size_t i = 0; i < metadata.icc.size(); ++i) metadata.icc[i] = uint8_t(i * 31 >> 3);
  metadata.other.push_back({0xFE, {'h', 'i'}});
  const Encoded e =
      encode(picture(9, 9, Color::gray), [&](jpeg::EncodeOptions& o) { o.metadata = metadata; });
  const Decoded d = decode(e.file);
  EXPECT_EQ(metadata.exif, d.metadata.exif);
  EXPECT_EQ(metadata.icc, d.metadata.icc);
  ASSERT_EQ(1u, d.metadata.other.size());
  EXPECT_EQ(metadata.other[0].payload, d.metadata.other[0].payload);
  metadata.exif.resize(70000);
  EXPECT_EQ(Status::metadataTooLong,
            encode(picture(9, 9, Color::gray), [&](jpeg::EncodeOptions& o) {
              o.metadata = metadata;
            }).status);
}

TEST(JpegDamage, ScansAreShownAsTheyCome) {
  const Picture source = picture(80, 60, Color::rgb);
  const Bytes file = peerEncode(source, {.isProgressive = true});
  int shown = 0;
  const Decoded all =
      decode(file, [&](DecodeOptions& o) { o.onScan = [&](int scan) { return scan == shown++; }; });
  EXPECT_EQ(Status::ok, all.status);
  EXPECT_EQ(9, shown) << "the last one is the result";
  const Decoded first =
      decode(file, [](DecodeOptions& o) { o.onScan = [](int) { return false; }; });
  EXPECT_EQ(Status::stopped, first.status);
  EXPECT_GE(psnr(source, first.picture), 18) << "DC alone is a picture already";
}

}  // namespace
