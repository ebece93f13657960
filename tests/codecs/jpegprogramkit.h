#pragma once
/// @file
/// The program `jpegcodec` as tests run it.

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>

#include "base/imagefile.h"
#include "jpegkit.h"
#include "jpegprogram.h"

namespace jpegkit {

/// Runs the program on files in a folder of its own.
class JpegProgramTest : public testing::Test {
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
    char* print = nullptr;
    size_t printSize = 0;
    std::FILE* const out = open_memstream(&print, &printSize);
    const int code = jpeg::runProgram(arguments, out, errors);
    std::fclose(out);
    std::fclose(errors);
    said_.assign(text, size);
    printed_.assign(print, printSize);
    std::free(text);
    std::free(print);
    return code;
  }

  std::filesystem::path folder_;
  std::string said_, printed_;  // on standard error and output
};

}  // namespace jpegkit
