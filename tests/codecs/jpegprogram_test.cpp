// The program: command lines, files of every kind, and what it says about wrong ones.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>

#include "base/imagefile.h"
#include "jpegkit.h"
#include "jpegprogram.h"

namespace {

using namespace jpegkit;
using jpeg::Color;

class JpegProgram : public testing::Test {
 protected:
  void SetUp() override {
    std::string name = (std::filesystem::temp_directory_path() / "tazmet.XXXXXX").string();
    ASSERT_NE(nullptr, mkdtemp(name.data()));
    folder_ = name;
  }
  void TearDown() override { std::filesystem::remove_all(folder_); }

  std::string file(const std::string& name) const { return (folder_ / name).string(); }
  void write(const std::string& name, const Bytes& bytes) const {
    std::ofstream(file(name), std::ios::binary)
        .write(reinterpret_cast<const char*>(bytes.data()), std::streamsize(bytes.size()));
  }
  void write(const std::string& name, const std::string& text) const {
    write(name, Bytes(text.begin(), text.end()));
  }
  Bytes read(const std::string& name) const {
    std::ifstream in(file(name), std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
  }
  void writePicture(const std::string& name, const Picture& picture) const {
    base::ImageShape shape;
    shape.width = picture.shape.width;
    shape.height = picture.shape.height;
    shape.channels = picture.shape.channels;
    shape.depth = picture.shape.precision;
    base::ImageFormat format{};
    ASSERT_TRUE(base::imageFormatOf(name, format));
    Bytes bytes;
    ASSERT_EQ(base::ImageStatus::ok, base::writeImage(shape, picture.pixels.data(),
                                                      picture.shape.rowBytes(), format, bytes));
    write(name, bytes);
  }
  base::Image readPicture(const std::string& name) const {
    base::Image image;
    EXPECT_EQ(base::ImageStatus::ok, base::readImage(read(name), image)) << name;
    return image;
  }

  /// Runs it with names of files in the folder: those with a dot that no option follows.
  int run(std::vector<std::string> arguments) {
    for (size_t i = 1; i < arguments.size(); ++i) {
      const std::string& option = arguments[i - 1];
      if (option == "-i" || option == "-o" || option == "-scans" || option == "-qtables" ||
          option == "-exif" || option == "-icc") {
        arguments[i] = file(arguments[i]);
      }
    }
    char* text = nullptr;
    size_t size = 0;
    std::FILE* const errors = open_memstream(&text, &size);
    std::FILE* const out = std::fopen("/dev/null", "w");
    const int code = jpeg::runProgram(arguments, out, errors);
    std::fclose(out);
    std::fclose(errors);
    said_.assign(text, size);
    std::free(text);
    return code;
  }

  std::filesystem::path folder_;
  std::string said_;
};

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
