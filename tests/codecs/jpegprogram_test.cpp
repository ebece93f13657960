// The program: command lines, files of every kind, and what it says about wrong ones.
#include <gtest/gtest.h>

#include <algorithm>

#include "jpegprogramkit.h"

namespace {

using namespace jpegkit;
using jpeg::Color;

class JpegProgram : public JpegProgramTest {};

TEST_F(JpegProgram, EncodesAndDecodesEveryKindOfFile) {
  const Picture color = picture(50, 37, Color::rgb), gray = picture(50, 37, Color::gray);
  writePicture("color.ppm", color);
  writePicture("color.bmp", color);
  writePicture("gray.pgm", gray);
  for (const char* name : {"color.ppm", "color.bmp", "gray.pgm"}) {
    const bool isGray = std::string(name) == "gray.pgm";
    for (const char* mode : {"baseline", "progressive", "lossless"}) {
      SCOPED_TRACE(std::string(name) + " " + mode);
      ASSERT_EQ(0, run({"-i", name, "-o", "made.jpg", "-mode", mode, "-quality", "95", "-sampling",
                        "444"}))
          << said_;
      const char* const back = isGray ? "back.pgm" : "back.bmp";
      ASSERT_EQ(0, run({"-i", "made.jpg", "-o", back})) << said_;
      EXPECT_EQ("", said_);
      Picture result = isGray ? gray : color;
      result.pixels = readPicture(back).samples;
      const Picture& source = isGray ? gray : color;
      if (std::string(mode) == "lossless") {
        EXPECT_EQ(source.pixels, result.pixels);
      } else {
        EXPECT_GE(psnr(source, result), 30);
      }
    }
  }
}

TEST_F(JpegProgram, DeepSamplesGoThroughPortableMaps) {
  const Picture deep = noise(31, 12, 3, 12);
  writePicture("deep.ppm", deep);
  ASSERT_EQ(0, run({"-i", "deep.ppm", "-o", "deep.jpg", "-mode", "lossless", "-predictor", "6"}))
      << said_;
  ASSERT_EQ(0, run({"-i", "deep.jpg", "-o", "back.ppm"})) << said_;
  EXPECT_EQ(read("deep.ppm"), read("back.ppm"));
  EXPECT_EQ(1, run({"-i", "deep.ppm", "-o", "bad.jpg"}));
  EXPECT_FALSE(std::filesystem::exists(file("bad.jpg"))) << "no half file stays";
}

TEST_F(JpegProgram, SideFilesAreRead) {
  writePicture("color.ppm", picture(64, 48, Color::rgb));
  write("scans.txt",
        "# DC, then the rest\n0,1,2: 0-0, 0, 0;\n0: 1-63, 0, 0;1: 1-63, 0, 0;\n"
        "2: 1-63, 0, 0;");
  std::string table;
  for (int i = 0; i < 64; ++i) table += std::to_string(3 + i) + (i % 8 == 7 ? "\n" : " ");
  write("tables.txt", table);
  ASSERT_EQ(0, run({"-i", "color.ppm", "-o", "a.jpg", "-scans", "scans.txt", "-qtables",
                    "tables.txt", "-exif", "tables.txt"}))
      << said_;
  const Bytes made = read("a.jpg");
  jpeg::Decoder decoder;
  jpeg::Coefficients coefficients;
  ASSERT_EQ(jpeg::Status::ok, decoder.setSource(made));
  ASSERT_EQ(jpeg::Status::ok, decoder.readHeader());
  EXPECT_EQ(Bytes(table.begin(), table.end()), decoder.metadata().exif);
  ASSERT_EQ(jpeg::Status::ok, decoder.readCoefficients(&coefficients));
  EXPECT_EQ(3 + 63, coefficients.quantisers[0][63]);
  write("scans.txt", "0,1: 0-0, 0;");
  EXPECT_EQ(1, run({"-i", "color.ppm", "-o", "b.jpg", "-scans", "scans.txt"}));
  EXPECT_NE(std::string::npos, said_.find("scans.txt: scan 1"));
  write("tables.txt", "1 2 3");
  EXPECT_EQ(1, run({"-i", "color.ppm", "-o", "b.jpg", "-qtables", "tables.txt"}));
}

TEST_F(JpegProgram, CopiesKeepCoefficientsAndMetadata) {
  jpeg::Metadata metadata;
  metadata.icc.assign(100, 5);
  const Encoded e = encode(picture(70, 50, Color::rgb), [&](jpeg::EncodeOptions& o) {
    o.color = Color::ycbcr;
    o.metadata = metadata;
  });
  write("a.jpg", e.file);
  ASSERT_EQ(0, run({"-i", "a.jpg", "-o", "b.jpg", "-mode", "progressive"})) << said_;
  ASSERT_EQ(0, run({"-i", "b.jpg", "-o", "c.jpg", "-strip"})) << said_;
  EXPECT_EQ(peerCoefficients(e.file), peerCoefficients(read("b.jpg")));
  EXPECT_EQ(peerCoefficients(e.file), peerCoefficients(read("c.jpg")));
  EXPECT_EQ(metadata.icc, decode(read("b.jpg")).metadata.icc);
  EXPECT_TRUE(decode(read("c.jpg")).metadata.icc.empty());
}

TEST_F(JpegProgram, WhatAnOptionCannotDoIsRefused) {
  writePicture("a.ppm", picture(40, 40, Color::rgb));
  ASSERT_EQ(0, run({"-i", "a.ppm", "-o", "a.jpg"})) << said_;
  struct Case {
    const char *from, *to, *option, *value;
  };
  for (const Case& c : {Case{"a.jpg", "x.jpg", "-quality", "40"},
                        {"a.jpg", "x.jpg", "-sampling", "444"},
                        {"a.jpg", "x.jpg", "-scale", "1/2"},
                        {"a.ppm", "x.jpg", "-crop", "8x8+0+0"},
                        {"a.ppm", "x.jpg", "-transform", "rot90"},
                        {"a.jpg", "x.ppm", "-transform", "upright"},
                        {"a.jpg", "x.ppm", "-set", "Artist=Me"},
                        {"a.jpg", "x.ppm", "-quality", "40"}}) {
    EXPECT_EQ(1, run({"-i", c.from, "-o", c.to, c.option, c.value})) << c.option;
    EXPECT_EQ(0u, said_.find(std::string("jpegcodec: ") + c.option + ": does nothing ")) << said_;
    EXPECT_EQ(1, std::ranges::count(said_, '\n'));
    EXPECT_FALSE(std::filesystem::exists(file(c.to)));
  }
}

TEST_F(JpegProgram, CopiesThatCannotBeAreRefusedAndWideQuantisersAreExtended) {
  write("exact.jpg", encode(picture(40, 40, Color::gray), [](jpeg::EncodeOptions& o) {
                       o.mode = jpeg::Mode::lossless;
                     }).file);
  const Bytes wide = encode(picture(40, 40, Color::gray), [](jpeg::EncodeOptions& o) {
                       o.mode = jpeg::Mode::progressive;
                       o.quantisers.resize(1);
                       o.quantisers[0].fill(300);
                     }).file;
  write("wide.jpg", wide);
  EXPECT_EQ(1, run({"-i", "exact.jpg", "-o", "x.jpg", "-transform", "rot90"}));
  EXPECT_NE(std::string::npos, said_.find("exact.jpg: lossless files have no coefficients"));
  EXPECT_EQ(1, run({"-i", "wide.jpg", "-o", "x.jpg", "-mode", "lossless"}));
  ASSERT_EQ(0, run({"-i", "wide.jpg", "-o", "y.jpg", "-mode", "baseline"})) << said_;
  const Decoded d = decode(read("y.jpg"));
  EXPECT_EQ(jpeg::Status::ok, d.status) << statusText(d.status);
  EXPECT_EQ(jpeg::Process::extended, d.info.frame.process);
  EXPECT_EQ(decode(wide).picture.pixels, d.picture.pixels);
}

TEST_F(JpegProgram, OneLineNamesFileAndReason) {
  Bytes cut = encode(picture(40, 40, Color::gray)).file;
  cut.resize(cut.size() - 40);
  write("cut.jpg", cut);
  EXPECT_EQ(0, run({"-i", "cut.jpg", "-o", "cut.pgm"}));
  EXPECT_NE(std::string::npos, said_.find("cut.jpg: warning: "));
  EXPECT_EQ(1, run({"-i", "cut.jpg", "-o", "strict.pgm", "-strict"}));
  EXPECT_FALSE(std::filesystem::exists(file("strict.pgm")));
  struct Case {
    std::vector<std::string> arguments;
    const char* said;
  };
  write("text.txt", "nothing");
  for (const Case& c : {Case{{"-i", "missing.ppm", "-o", "x.jpg"}, "missing.ppm: No such file"},
                        {{"-i", "text.txt", "-o", "x.jpg"}, "text.txt: "},
                        {{"-i", "cut.jpg", "-o", "x.xyz"}, "x.xyz: "},
                        {{"-i", "cut.jpg"}, "no output file"},
                        {{"-quality", "0"}, "-quality 0: must be 1..100"},
                        {{"-nothing"}, "-nothing: there is no such option"},
                        {{"-mode"}, "-mode: needs a value"},
                        {{"-i", "cut.jpg", "-o", "x.pgm", "-crop", "50x1+0+0"}, "region"}}) {
    EXPECT_NE(0, run(c.arguments));
    EXPECT_NE(std::string::npos, said_.find(c.said)) << said_;
    EXPECT_EQ(1, std::ranges::count(said_, '\n')) << said_;
    EXPECT_FALSE(std::filesystem::exists(file("x.jpg")));
  }
}

}  // namespace
