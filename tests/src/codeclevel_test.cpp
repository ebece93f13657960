/// The suites that measure whole codecs.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <fstream>
#include <random>
#include <string>
#include <vector>

#include "base/imagefile.h"
#include "testpaths.h"
#include "harnesskit.h"
#include "peerkit.h"
#include "rktest.h"
#include "suitekit.h"
#include "tzmemory.h"

namespace {

using harnesskit::Outcome;
using suitekit::Prepared;
using suitekit::suiteTests;
using Bytes = std::vector<uint8_t>;

rkTest* testOf(const std::string& name) {
  for (rkTest* test : suiteTests()) {
    if (test->funcName() == name.c_str()) return test;
  }
  return nullptr;
}

/// A bitmap with shading and noise.
Bytes bitmap(int width, int height, int channels) {
  base::ImageShape shape;
  shape.width = width;
  shape.height = height;
  shape.channels = channels;
  std::mt19937 random(7);
  Bytes samples(shape.rowBytes() * size_t(height));
  for (size_t i = 0; i < samples.size(); ++i) {
    samples[i] = uint8_t(40 + i * 150 / samples.size() + random() % 16);
  }
  Bytes file;
  EXPECT_EQ(base::ImageStatus::ok, base::writeImage(shape, samples.data(), shape.rowBytes(),
                                                    base::ImageFormat::bmp, file));
  return file;
}

TEST(CodecSuites, RegisterEightTests) {
  const char* const names[] = {"jpeg_Encoder_8u_C1",   "jpeg_Encoder_8u_C3",  "jpeg_Encoder_8u_C4",
                               "jpeg_Decoder_8u_C1",   "jpeg_Decoder_8u_C3",  "jpeg_Decoder_8u_C4",
                               "jpeg2k_Encoder_8u_C3", "jpeg2k_Decoder_8u_C3"};
  EXPECT_EQ(std::size(names), suiteTests().size());
  for (const char* name : names) {
    const rkTest* const test = testOf(name);
    ASSERT_NE(nullptr, test) << name;
    const bool isJpeg = std::strncmp(name, "jpeg_", 5) == 0;
    EXPECT_STREQ(isJpeg ? "src/codeclevel/p_jpeg_ia" : "src/codeclevel/p_jpeg2k_ia",
                 test->source().c_str());
    EXPECT_STREQ("px", test->getUnit().c_str());
  }
  EXPECT_STREQ("TimJpegCodec//RK_REG_T", testOf("jpeg_Encoder_8u_C1")->regText().c_str());
  EXPECT_STREQ("TimJ2kitCodec//RK_REG_I_X", testOf("jpeg2k_Encoder_8u_C3")->regText().c_str());
  EXPECT_STREQ("TimJ2kitCodec//RK_REG_X", testOf("jpeg2k_Decoder_8u_C3")->regText().c_str());
}

class CodecRuns : public testing::Test {
 protected:
  /// A session on pictures in a folder of its own.
  Outcome run(
      const std::string& keys, std::function<void()> setup = [] {}) {
    return harnesskit::Session(m_folder)
        .setup(std::move(setup))
        .run("-B -p" + m_folder.path() + " -l" + m_folder.path() + " -f-__tz " + keys);
  }
  void write(const char* name, const Bytes& bytes) const {
    m_folder.write(name, {bytes.begin(), bytes.end()});
  }
  harnesskit::TempFolder m_folder;
};

const std::string kQuick = "-dMethod=Manual -dNumLoops=1 ";

TEST_F(CodecRuns, EveryConversionAndModeIsMeasuredVerifiedOrSkippedWithAReason) {
  write("own.bmp", bitmap(50, 35, 3));
  const std::string all =
      "-dbmpFile=own.bmp -dsize=33x21 -dMode=baseline;progressive;lossless -dQualityFactor=75;100 "
      "-dColor=Unknown->Unknown;Gray->Gray;CMYK->CMYK;CMYK->YCCK;YCCK->CMYK;RGB->RGB;RGB->YCbCr;"
      "RGB->Gray;BGR->YCbCr;BGR->Gray;YCbCr->RGB;YCbCr->BGR -dSampling=444;420;422;440;411 ";
  const Outcome outcome = run(kQuick + "-fjpeg_ -V " + all);
  EXPECT_EQ(0, outcome.exitCode) << outcome.console;
  EXPECT_TRUE(outcome.lines("FUNCFAIL").empty()) << outcome.console;
  // Conversions of each test, without colours of their own (4 rows and a lossless one) and with
  // (five samplings more, in both modes and qualities).
  const auto measured = [&](const std::string& test) {
    return outcome.lines(" " + test + "  ").size();
  };
  EXPECT_EQ(4u + 5, measured("jpeg_Encoder_8u_C1"));
  EXPECT_EQ(5u, measured("jpeg_Decoder_8u_C1"));
  EXPECT_EQ(4u + 5 + 2 * 4 + 2 * 20, measured("jpeg_Encoder_8u_C3"));
  EXPECT_EQ(5u + 2 * 20, measured("jpeg_Decoder_8u_C3"));
  EXPECT_EQ(4u + 5 + 20, measured("jpeg_Encoder_8u_C4"));
  EXPECT_EQ(5u + 20, measured("jpeg_Decoder_8u_C4"));
  for (const char* reason :
       {"an encoder has no such conversion", "a decoder has no such conversion",
        "lossless coding has the quality 100 alone", "lossless coding converts no colours",
        "only Y, Cb and Cr are sampled at different rates", "the picture has other channels"}) {
    EXPECT_TRUE(outcome.shows(reason)) << reason;
  }
}

TEST_F(CodecRuns, EveryCodingOptionOfJpeg2000IsMeasuredAndVerified) {
  write("own.bmp", bitmap(50, 35, 3));
  const Outcome outcome = run(kQuick +
                              "-fjpeg2k -V -dimageInput=file;jaehne -dbmpFile=own.bmp -dsize=40x30 "
                              "-dratio=1;8 -dwlev=0;3 -dwt=wt53;wt97 -dmct=mct+;mct-");
  EXPECT_EQ(0, outcome.exitCode) << outcome.console;
  for (const char* test : {" jpeg2k_Encoder_8u_C3  ", " jpeg2k_Decoder_8u_C3  "}) {
    EXPECT_EQ(32u, outcome.lines(test).size()) << outcome.console;
  }
  EXPECT_TRUE(m_folder.exists("jaehne.bmp"));
  const Outcome refused = run(kQuick + "-fjpeg2k_D -dbmpFile=own.bmp -dratio=0.5 -dwlev=33");
  EXPECT_EQ(0, refused.exitCode);
  EXPECT_TRUE(refused.shows("a ratio is 1 or more")) << refused.console;
}

TEST_F(CodecRuns, TheStructureOfAStreamIsToldOnceAtLevelData) {
  write("own.bmp", bitmap(50, 35, 3));
  const std::string keys =
      "-dMethod=Manual -dNumLoops=3 -f=jpeg2k_Decoder_8u_C3 "
      "-dbmpFile=own.bmp -dratio=1 -dwt=wt53 ";
  EXPECT_EQ(1u, run(keys + "-LDATA").lines("SIZ ").size()) << run(keys + "-LDATA").console;
  EXPECT_TRUE(run(keys + "-LINFO").lines("SIZ ").empty());
}

TEST_F(CodecRuns, PicturesThatCannotBeLoadedFailTheirTestWithOneLineAndTheRunGoesOn) {
  Bytes file = bitmap(50, 35, 3);
  write("gray.bmp", bitmap(50, 35, 1));
  write("short.bmp", {file.begin(), file.begin() + 3000});
  write("header.bmp", {file.begin(), file.begin() + 20});
  write("text.bmp", {'h', 'e', 'l', 'l', 'o'});
  const int32_t huge = 0x7FFFFFFF;
  std::memcpy(&file[18], &huge, sizeof huge);
  std::memcpy(&file[22], &huge, sizeof huge);
  write("huge.bmp", file);
  for (const char* const name :
       {"missing.bmp", "short.bmp", "header.bmp", "text.bmp", "huge.bmp", "gray.bmp"}) {
    const Outcome outcome = run(kQuick +
                                "-f=jpeg_Encoder_8u_C1 -f=jpeg_Encoder_8u_C3 "
                                "-f=jpeg2k_Encoder_8u_C3 -dsize=16x16 -dbmpFile=" +
                                name);
    EXPECT_EQ(1, outcome.exitCode) << outcome.console;
    const auto lines = outcome.lines("--- Can't load file ");
    ASSERT_EQ(2u, lines.size()) << name << outcome.console;  // one a test
    EXPECT_NE(std::string::npos, lines[0].find(name)) << lines[0];
    EXPECT_EQ(2u, outcome.lines("Result     : DATAFAIL").size()) << outcome.console;
    EXPECT_EQ(2u, outcome.lines(" jpeg_Encoder_8u_C1  ").size()) << outcome.console;
    if (name == std::string("gray.bmp")) {
      EXPECT_NE(std::string::npos, lines[0].find(": numChannels != 3")) << lines[0];
    }
  }
}

TEST_F(CodecRuns, TheProgramsOwnPicturesReachTheirFloors) {
  const std::string there = "-p" + std::string(TAZMET_BIN_DIR) + " ";
  const Outcome jpeg = run(there +
                           "-VONLY -fcoder_8u_C3 -f-jpeg2k -dMode=baseline -dSampling=444;411 "
                           "-dQualityFactor=50;75");
  EXPECT_EQ(0, jpeg.exitCode) << jpeg.console;
  const Outcome jpeg2k = run(there + "-VONLY -f=jpeg2k_Encoder_8u_C3 -dratio=20");
  EXPECT_EQ(0, jpeg2k.exitCode) << jpeg2k.console;
  EXPECT_EQ(2u, jpeg2k.lines("  verified ").size()) << jpeg2k.console;
}

int (*g_original)();

/// What the call wrote, with a stretch of it far too dark or bright.
int faulty() {
  std::vector<std::pair<uint8_t*, Bytes>> before;
  int size = 0;
  tzObject* object = nullptr;
  for (void* p = tzMallocFirst(&size, &object); p != nullptr; p = tzMallocNext(&size, &object)) {
    auto* const data = static_cast<uint8_t*>(p);
    before.push_back({data, {data, data + size}});
  }
  const int status = g_original();
  for (const auto& [data, content] : before) {
    if (std::equal(content.begin(), content.end(), data)) continue;
    for (size_t i = content.size() / 3; i < content.size() / 2; ++i) data[i] ^= 0x80;
  }
  return status;
}

TEST_F(CodecRuns, AFaultOfEitherHalfOfACodecIsFound) {
  write("own.bmp", bitmap(50, 35, 3));
  for (const char* const name : {"jpeg_Decoder_8u_C3", "jpeg2k_Decoder_8u_C3"}) {
    const Outcome outcome = run(
        std::string("-VONLY -dbmpFile=own.bmp -dratio=1 -dMode=baseline -dSampling=444 -f=") + name,
        [name] {
          rkTest* const victim = testOf(name);
          g_original = victim->line().library;
          victim->setLibraryPerformance(faulty);
        });
    EXPECT_EQ(1, outcome.exitCode) << outcome.console;
    EXPECT_FALSE(outcome.lines("PSNR").empty()) << outcome.console;
  }
}

// ---- other programs judge what the encoders leave ----

/// What lies in tracked memory and begins so, without the zeros behind it.
Bytes streamInMemory(std::initializer_list<uint8_t> begin) {
  int size = 0;
  tzObject* object = nullptr;
  for (void* p = tzMallocFirst(&size, &object); p != nullptr; p = tzMallocNext(&size, &object)) {
    const auto* const data = static_cast<const uint8_t*>(p);
    if (size_t(size) < begin.size() || !std::equal(begin.begin(), begin.end(), data)) continue;
    int end = size;
    while (end > 0 && data[end - 1] == 0) --end;
    return {data, data + end};
  }
  return {};
}

double psnrOf(const Bytes& anymap, const char* original) {
  base::Image decoded, source;
  const std::string path = std::string(TAZMET_BIN_DIR) + "/" + original;
  std::ifstream in(path, std::ios::binary);
  const Bytes bytes{std::istreambuf_iterator<char>(in), {}};
  EXPECT_EQ(base::ImageStatus::ok, base::readImage(bytes, source)) << path;
  EXPECT_EQ(base::ImageStatus::ok, base::readImage(anymap, decoded));
  if (decoded.samples.size() != source.samples.size()) return 0;
  double sum = 0;
  for (size_t i = 0; i < source.samples.size(); ++i) {
    const double difference = double(source.samples[i]) - double(decoded.samples[i]);
    sum += difference * difference;
  }
  return sum == 0 ? 999 : 10 * std::log10(255.0 * 255.0 * double(source.samples.size()) / sum);
}

class Djpeg : public peerkit::PeerTest {
 protected:
  Djpeg() : PeerTest("djpeg") {}
};

TEST_F(Djpeg, DecodesWhatTheEncoderTestMakes) {
  io_stream::setInputDir(TAZMET_BIN_DIR);
  rkTest& test = *testOf("jpeg_Encoder_8u_C3");
  for (const char* const mode : {"baseline", "progressive"}) {
    const Prepared data(test, {{"bmpFile", "rose.bmp"}, {"Mode", mode}});
    ASSERT_TRUE(data.good());
    ASSERT_EQ(0, test.line().library());
    write("x.jpg", streamInMemory({0xFF, 0xD8, 0xFF}));
    EXPECT_GT(psnrOf(made("-outfile " + file("x.ppm") + " " + file("x.jpg"), "x.ppm"), "rose.bmp"),
              33.4);
  }
}

class OpjDecompress : public peerkit::PeerTest {
 protected:
  OpjDecompress() : PeerTest("opj_decompress") {}
};

TEST_F(OpjDecompress, DecodesWhatTheEncoderTestMakes) {
  io_stream::setInputDir(TAZMET_BIN_DIR);
  rkTest& test = *testOf("jpeg2k_Encoder_8u_C3");
  for (const auto& [ratio, wavelet, least] :
       {std::tuple{"1", "wt53", 999.0}, std::tuple{"20", "wt97", 36.7}}) {
    const Prepared data(test, {{"bmpFile", "rose.bmp"}, {"ratio", ratio}, {"wt", wavelet}});
    ASSERT_TRUE(data.good());
    ASSERT_EQ(0, test.line().library());
    write("x.jp2", streamInMemory({0, 0, 0, 12, 'j', 'P'}));
    EXPECT_GE(psnrOf(made("-i " + file("x.jp2") + " -o " + file("x.ppm"), "x.ppm"), "rose.bmp"),
              least);
  }
}

}  // namespace
