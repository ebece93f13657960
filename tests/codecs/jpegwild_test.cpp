// Files as users meet them: odd ones that open, hostile ones that cost nothing.
#include <gtest/gtest.h>
#include <sys/resource.h>

#include <algorithm>
#include <numeric>
#include <utility>

#include "jpegbytes.h"

namespace {

using namespace jpegkit;
using jpeg::Coefficients;
using jpeg::Color;
using jpeg::DecodeOptions;
using jpeg::EncodeOptions;
using jpeg::Mode;
using jpeg::Status;

using Factors = std::vector<std::pair<int, int>>;

Bytes segment(int marker, const Bytes& payload) {
  const size_t length = payload.size() + 2;
  Bytes bytes = {0xFF, uint8_t(marker), uint8_t(length >> 8), uint8_t(length)};
  bytes.insert(bytes.end(), payload.begin(), payload.end());
  return bytes;
}

Bytes named(const char* name, size_t size, const Bytes& rest) {
  Bytes payload(name, name + size);
  payload.insert(payload.end(), rest.begin(), rest.end());
  return payload;
}

/// A file's segment of a kind, cut out of it.
Bytes cutOut(Bytes* file, int marker) {
  const size_t at = findMarker(*file, marker);
  const auto first = file->begin() + ptrdiff_t(at);
  Bytes cut(first, first + 2 + ((*file)[at + 2] << 8 | (*file)[at + 3]));
  file->erase(first, first + ptrdiff_t(cut.size()));
  return cut;
}

// ---- opens ----

TEST(JpegWild, SeveralPicturesAndALyingExifShowTheFirst) {
  const Bytes file = peerEncode(picture(50, 40, Color::rgb));
  Bytes many = inserted(file, 2, segment(0xE2, named("MPF", 4, Bytes(60, 0xEE))));
  many =
      inserted(many, 2, segment(0xE1, named("Exif\0", 6, {'I', 'I', 42, 0, 255, 255, 255, 255})));
  const Bytes other = peerEncode(picture(99, 99, Color::gray));
  many.insert(many.end(), other.begin(), other.end());
  const Decoded d = decode(many);
  EXPECT_EQ(Status::ok, d.status);
  EXPECT_EQ(decode(file).picture.pixels, d.picture.pixels);
}

TEST(JpegWild, ChunksOfProfilesMayStandAnywhereInFrontOfTheScan) {
  const Bytes file = peerEncode(picture(20, 20, Color::gray));
  const auto chunk = [](uint8_t number, uint8_t value) {
    return segment(0xE2, named("ICC_PROFILE", 12, {number, 3, value, value}));
  };
  Bytes odd = inserted(file, findMarker(file, 0xDA), chunk(1, 11));
  odd = inserted(odd, findMarker(odd, 0xC0), chunk(3, 33));
  odd = inserted(odd, 2, chunk(2, 22));
  EXPECT_EQ((Bytes{11, 11, 22, 22, 33, 33}), decode(odd).metadata.icc);
}

TEST(JpegWild, TablesMayComeLateOrBeWide) {
  const Picture source = picture(40, 30, Color::gray);
  const Bytes file = peerEncode(source);
  const Picture whole = decode(file).picture;
  Bytes late = file;
  const Bytes table = cutOut(&late, 0xDB);
  EXPECT_EQ(Status::noQuantTable, decode(late).status);
  late = inserted(late, findMarker(late, 0xDA), table);
  EXPECT_EQ(whole.pixels, decode(late).picture.pixels);

  Bytes wide = {0x10};
  for (size_t i = 5; i < table.size(); ++i) wide.insert(wide.end(), {0, table[i]});
  const Bytes odd = inserted(late, findMarker(late, 0xDA), segment(0xDB, wide));
  const Decoded d = decode(odd);
  EXPECT_EQ(Status::baselineTables, d.status);
  EXPECT_EQ(whole.pixels, d.picture.pixels);
}

/// One grey block, its tables and data by hand.
Bytes oneBlock(const Bytes& dcTable, const Bytes& data) {
  Bytes file = {0xFF, 0xD8};
  const auto add = [&](const Bytes& more) { file.insert(file.end(), more.begin(), more.end()); };
  Bytes ones(65, 1);
  ones[0] = 0;
  add(segment(0xDB, ones));
  add(segment(0xC0, {8, 0, 8, 0, 8, 1, 1, 0x11, 0}));
  add(segment(0xC4, dcTable));
  Bytes ac(17 + 2);  // 0: end of block, 1: a value of one bit
  ac[0] = 0x10;
  ac[1] = 2;
  ac[18] = 1;
  add(segment(0xC4, ac));
  add(segment(0xDA, {1, 1, 0, 0, 63, 0}));
  add(data);
  add({0xFF, 0xD9});
  return file;
}

TEST(JpegWild, CodesOfAllOnesAndSymbolsThatNobodyUsesAreFine) {
  Bytes dc(17 + 2);
  dc[1] = 2;  // codes 0 and 1: symbols 0 and 4
  dc[18] = 4;
  Decoded d = decode(oneBlock(dc, {0x3F}));
  EXPECT_EQ(Status::ok, d.status);
  EXPECT_EQ(Bytes(64, 128), d.picture.pixels);
  d = decode(oneBlock(dc, {0xC1}));  // 1 1000 0 01: a difference of 8
  EXPECT_EQ(Status::ok, d.status);
  EXPECT_EQ(Bytes(64, 129), d.picture.pixels);
  dc[18] = 0xEE;
  d = decode(oneBlock(dc, {0x3F}));
  EXPECT_EQ(Status::ok, d.status) << statusText(d.status);
  EXPECT_EQ(Status::damagedData, decode(oneBlock(dc, {0xBF})).status) << "used, it is damage";
}

TEST(JpegWild, AMarkerAloneThatIsMissingCostsItsInterval) {
  const Bytes file =
      peerEncode(picture(128, 64, Color::gray), {.quality = 90, .restartInterval = 16});
  const Picture whole = decode(file).picture;
  Bytes without = file;
  const auto at = without.begin() + ptrdiff_t(findMarker(file, 0xD2));
  without.erase(at, at + 2);
  const Decoded d = decode(without);
  EXPECT_TRUE(warnsOf(d, Status::restartMissing));
  for (const int row : {0, 8, 16, 32, 40, 48, 56}) {
    EXPECT_TRUE(std::equal(whole.pixels.begin() + 128 * row, whole.pixels.begin() + 128 * (row + 8),
                           d.picture.pixels.begin() + 128 * row))
        << row;
  }
}

TEST(JpegWild, ScansOfOneComponentAtEverySizeAndSampling) {
  std::vector<int> order = {0, 1, 2};
  int size = 0;
  do {
    jpeg::Script script;
    for (const int component : order) script.push_back({1, {component}, 0, 63, 0, 0});
    for (const Factors& factors :
         {Factors{{1, 1}, {1, 1}, {1, 1}}, Factors{{2, 1}, {1, 1}, {1, 1}},
          Factors{{1, 2}, {1, 1}, {1, 1}}, Factors{{2, 2}, {1, 1}, {1, 1}},
          Factors{{4, 1}, {1, 1}, {1, 1}}, Factors{{3, 2}, {1, 1}, {3, 1}}}) {
      for (int i = 0; i < 6; ++i) {
        size = size % 33 + 1;
        const int height = 1 + size * 7 % 33;
        SCOPED_TRACE(std::to_string(size) + "x" + std::to_string(height));
        const Bytes file =
            peerEncode(picture(size, height, Color::rgb),
                       {.factors = factors, .optimize = i % 2 == 0, .script = script});
        const Decoded d =
            decode(file, [](DecodeOptions& o) { o.upsampling = jpeg::Upsampling::plain; });
        EXPECT_EQ(Status::ok, d.status);
        if (factors[0].first != 3) {
          EXPECT_LE(largestDifference(d.picture, peerDecode(file, {.smooth = false})), 3);
        }
      }
    }
  } while (std::ranges::next_permutation(order).found);
}

TEST(JpegWild, ColoursAreGuessedAsOthersDo) {
  const Picture rgb = picture(24, 24, Color::rgb), cmyk = picture(24, 24, Color::cmyk);
  const Bytes adobe = encode(rgb, [](EncodeOptions& o) { o.color = Color::rgb; }).file;
  EXPECT_EQ(Color::rgb, decode(without(adobe, 0xEE)).info.color) << "by the letters R, G, B";
  Bytes numbered = adobe;
  const size_t frame = findMarker(adobe, 0xC0), scan = findMarker(adobe, 0xDA);
  for (size_t i = 0; i < 3; ++i) {
    numbered[frame + 10 + 3 * i] = uint8_t(i + 1);
    numbered[scan + 5 + 2 * i] = uint8_t(i + 1);
  }
  EXPECT_EQ(Color::rgb, decode(numbered).info.color) << "by Adobe's marker";
  EXPECT_EQ(decode(adobe).picture.pixels, decode(numbered).picture.pixels);
  EXPECT_EQ(Color::ycbcr, decode(without(numbered, 0xEE)).info.color);
  const Bytes inks = peerEncode(cmyk, {.color = Color::cmyk});
  EXPECT_EQ(Color::cmyk, decode(without(inks, 0xEE)).info.color);
  EXPECT_EQ(decode(inks).picture.pixels, decode(without(inks, 0xEE)).picture.pixels);
}

TEST(JpegWild, HeightsMayBeTheLargestUntilTheRightOneComes) {
  const Bytes file = peerEncode(picture(40, 24, Color::gray));
  Bytes tall = file;
  const size_t frame = findMarker(file, 0xC0);
  tall[frame + 5] = tall[frame + 6] = 0xFF;
  tall = inserted(tall, file.size() - 2, {0xFF, 0xDC, 0, 4, 0, 24});
  EXPECT_EQ(decode(file).picture.pixels, decode(tall).picture.pixels);
}

TEST(JpegWild, BandsThatProgressiveCodingForbidsOpenWithAWarning) {
  Bytes file = peerEncode(picture(40, 40, Color::gray), {.isProgressive = true});
  const Picture whole = decode(file).picture;
  const size_t scan = findMarker(file, 0xDA);
  file[scan + 8] = 63;  // the end of the band of a DC scan
  const Decoded d = decode(file);
  EXPECT_EQ(Status::oddScan, d.status);
  EXPECT_EQ(whole.pixels, d.picture.pixels);
}

TEST(JpegWild, TriangleUpsamplingDownIsThatAcrossTurned) {
  const Picture source = picture(48, 48, Color::rgb);
  Picture turned = source;
  for (int y = 0; y < 48; ++y) {
    for (int x = 0; x < 48; ++x) {
      for (int c = 0; c < 3; ++c) {
        turned.pixels[(size_t(y) * 48 + size_t(x)) * 3 + size_t(c)] =
            uint8_t(source.sample(y, x, c));
      }
    }
  }
  const auto decoded = [](const Picture& p, jpeg::Sampling sampling) {
    return decode(encode(p,
                         [&](EncodeOptions& o) {
                           o.color = Color::ycbcr;
                           o.sampling = sampling;
                           o.quality = 100;
                         })
                      .file)
        .picture;
  };
  const Picture across = decoded(source, jpeg::Sampling::s422);
  const Picture down = decoded(turned, jpeg::Sampling::s440);
  int largest = 0;
  for (int y = 0; y < 48; ++y) {
    for (int x = 0; x < 48; ++x) {
      for (int c = 0; c < 3; ++c) {
        largest = std::max(largest, std::abs(across.sample(x, y, c) - down.sample(y, x, c)));
      }
    }
  }
  EXPECT_LE(largest, 6) << "the transforms round rows and columns in turn";
}

// ---- hostile ----

TEST(JpegWild, HugeHeadersWithoutDataAreRefusedInEveryColour) {
  for (const Color color : {Color::gray, Color::rgb, Color::cmyk}) {
    for (const bool isProgressive : {false, true}) {
      Bytes file = peerEncode(picture(16, 16, color), {.isProgressive = isProgressive});
      const size_t frame = findMarker(file, isProgressive ? 0xC2 : 0xC0);
      const uint8_t size[] = {0xFA, 0x00, 0xFF, 0x80};  // 64000 rows of 65408
      std::ranges::copy(size, file.begin() + ptrdiff_t(frame + 5));
      jpeg::Decoder decoder;
      jpeg::Coefficients coefficients;
      ASSERT_EQ(Status::ok, decoder.setSource(file));
      ASSERT_EQ(Status::ok, decoder.readHeader());
      EXPECT_EQ(Status::tooLittleData, decoder.readCoefficients(&coefficients));
    }
  }
}

TEST(JpegWild, SamplesBeyondTheirPrecisionDoNoHarm) {
  for (const int channels : {1, 3}) {
    Bytes file =
        encode(noise(21, 13, channels, 16), [](EncodeOptions& o) { o.mode = Mode::lossless; }).file;
    file[findMarker(file, 0xC3) + 4] = 12;
    for (const Color color : {Color::unknown, Color::bgr}) {
      if (channels == 1 && color == Color::bgr) continue;
      const Decoded d = decode(file, [&](DecodeOptions& o) { o.color = color; });
      EXPECT_FALSE(isError(d.status)) << statusText(d.status);
      const Encoded again = encode(d.picture, [&](EncodeOptions& o) {
        o.mode = Mode::lossless;
        o.color = channels == 3 ? Color::rgb : Color::gray;
      });
      EXPECT_EQ(Status::ok, again.status) << statusText(again.status);
    }
  }
}

TEST(JpegWild, ExtremeCoefficientsWithTheLongestCodesAreWrittenOrRefused) {
  Coefficients c;
  c.color = Color::ycbcr;
  c.frame.width = c.frame.height = 64;
  c.frame.componentCount = 3;
  for (int i = 0; i < 3; ++i) c.frame.component[size_t(i)].id = uint8_t(i + 1);
  ASSERT_EQ(Status::ok, c.frame.derive());
  ASSERT_EQ(Status::ok, c.allocate(1 << 24));
  for (auto& q : c.quantisers) q.fill(1);
  for (const int largest : {1023, 32767}) {
    for (int i = 0; i < 3; ++i) {
      for (size_t b = 0; b < c.component[size_t(i)].blocks(); ++b) {
        for (int k = 0; k < 64; ++k) {
          c.component[size_t(i)].block(b)[k] = int16_t((k + int(b)) % 2 == 0 ? largest : -largest);
        }
      }
    }
    for (const bool optimize : {false, true}) {
      for (const Mode mode : {Mode::baseline, Mode::progressive}) {
        EncodeOptions options;
        options.optimize = optimize;
        options.mode = mode;
        jpeg::ByteVector sink;
        const Status status = jpeg::writeCoefficients(c, options, sink);
        if (largest > 1023) {
          EXPECT_TRUE(isError(status) || !decode(sink.bytes).picture.pixels.empty());
          continue;
        }
        ASSERT_EQ(Status::ok, status);
        EXPECT_EQ(int16_t(-largest), peerCoefficients(sink.bytes)[2][1]);
      }
    }
  }
}

TEST(JpegWild, WhatLiesBehindRowsAndPictureIsNotLookedAt) {
  for (const Color color : {Color::rgb, Color::gray, Color::cmyk}) {
    const Picture source = picture(37, 21, color);
    const size_t row = source.shape.rowBytes(), step = row + 29;
    Bytes files[2];
    for (const uint8_t poison : {uint8_t{0}, uint8_t{255}}) {
      Bytes pixels(step * 21 + 100, poison);
      for (size_t y = 0; y < 21; ++y) {
        std::copy_n(source.pixels.begin() + ptrdiff_t(row * y), row,
                    pixels.begin() + ptrdiff_t(step * y));
      }
      Bytes& file = files[poison / 255];
      file.resize(20000);
      jpeg::Encoder encoder;
      encoder.options().color = color == Color::rgb ? Color::ycbcr : color;
      ASSERT_EQ(Status::ok, encoder.setSource(source.shape, pixels.data(), ptrdiff_t(step)));
      ASSERT_EQ(Status::ok, encoder.setDestination(file.data(), file.size()));
      ASSERT_EQ(Status::ok, encoder.writeHeader());
      ASSERT_EQ(Status::ok, encoder.writeData());
      file.resize(encoder.size());
    }
    EXPECT_EQ(files[0], files[1]);
  }
}

// ---- memory ----

/// Rows made as they are asked for, and rows and bytes that go nowhere but one band.
class Passing : public jpeg::RowSource, public jpeg::RowSink, public jpeg::ByteSink {
 public:
  explicit Passing(int width) : step_(3 * size_t(width)), band_(16 * step_) {}
  Status rows(int first, int count, const uint8_t** pixels, ptrdiff_t* step) override {
    rowsAtOnce = std::max(rowsAtOnce, count);
    band_.resize(std::max(band_.size(), step_ * size_t(count)));
    for (size_t i = 0; i < step_ * size_t(count); ++i) {
      band_[i] = uint8_t((i * i >> 6) + size_t(first));
    }
    *pixels = band_.data();
    *step = ptrdiff_t(step_);
    return Status::ok;
  }
  Status room(int, int count, uint8_t** pixels, ptrdiff_t* step) override {
    EXPECT_LE(count, mostRows);
    rowsAtOnce = std::max(rowsAtOnce, count);
    band_.resize(std::max(band_.size(), step_ * size_t(count)));
    *pixels = band_.data();
    *step = ptrdiff_t(step_);
    return Status::ok;
  }
  Status done(int, int) override { return Status::ok; }
  Status write(const uint8_t* bytes, size_t count) override {
    std::copy_n(bytes, count, file.begin() + ptrdiff_t(size));
    size += count;
    return Status::ok;
  }
  Bytes file = Bytes(size_t{1} << 24, 1);
  size_t size = 0;
  int mostRows = 17, rowsAtOnce = 0;

 private:
  size_t step_;
  Bytes band_;
};

long peakKibibytes() {
  rusage usage{};
  EXPECT_EQ(0, getrusage(RUSAGE_SELF, &usage));
  return usage.ru_maxrss;
}

// A wave is at least one MCU row; what there is room for beside shows in the rows that are asked
// for at a time.
TEST(JpegWild, WavesKeepToTheMemoryLimit) {
  for (const size_t limit : {size_t{1}, size_t{1} << 30}) {
    Passing pass(400);
    pass.mostRows = 400;
    jpeg::Encoder encoder;
    jpeg::Decoder decoder;
    encoder.options().threads = decoder.options().threads = 4;
    encoder.options().memoryLimit = decoder.options().memoryLimit = limit;
    ASSERT_EQ(Status::ok, encoder.setSource({400, 300, 3, 8, Color::rgb}, pass));
    ASSERT_EQ(Status::ok, encoder.setDestination(pass));
    ASSERT_EQ(Status::ok, encoder.writeHeader());
    ASSERT_EQ(Status::ok, encoder.writeData());
    const int inRows = std::exchange(pass.rowsAtOnce, 0);
    ASSERT_EQ(Status::ok, decoder.setSource(pass.file.data(), pass.size));
    ASSERT_EQ(Status::ok, decoder.readHeader());
    ASSERT_EQ(Status::ok, decoder.setDestination(static_cast<jpeg::RowSink&>(pass)));
    ASSERT_EQ(Status::ok, decoder.readData());
    EXPECT_EQ(limit == 1, inRows <= 16) << inRows;
    EXPECT_EQ(limit == 1, pass.rowsAtOnce <= 17) << pass.rowsAtOnce;
  }
}

TEST(JpegWild, MemoryOfBaselineWorkDoesNotGrowWithThePicture) {
#if defined(__SANITIZE_ADDRESS__)
  GTEST_SKIP() << "instrumented memory tells nothing";
#endif
  long before = 0;
  for (const int height : {64, 2448}) {  // the first run takes what any run takes
    Passing pass(3264);
    jpeg::Encoder encoder;
    jpeg::Decoder decoder;
    if (height > 64) before = peakKibibytes();
    ASSERT_EQ(Status::ok, encoder.setSource({3264, height, 3, 8, Color::rgb}, pass));
    ASSERT_EQ(Status::ok, encoder.setDestination(pass));
    ASSERT_EQ(Status::ok, encoder.writeHeader());
    ASSERT_EQ(Status::ok, encoder.writeData());
    ASSERT_EQ(Status::ok, decoder.setSource(pass.file.data(), pass.size));
    ASSERT_EQ(Status::ok, decoder.readHeader());
    ASSERT_EQ(Status::ok, decoder.setDestination(static_cast<jpeg::RowSink&>(pass)));
    ASSERT_EQ(Status::ok, decoder.readData());
  }
  EXPECT_LE(peakKibibytes() - before, 2048);
}

}  // namespace
