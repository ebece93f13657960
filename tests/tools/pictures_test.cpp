// The sample pictures: the same on every machine, and like photographs to a codec.
#include <gtest/gtest.h>

#include <cstdint>
#include <fstream>
#include <iterator>
#include <ostream>
#include <string>
#include <vector>

#include "base/imagefile.h"
#include "testpaths.h"
#include "jpeg.h"
#include "jpeg2000.h"

namespace {

struct Sample {
  const char* name;
  int width, height;
  uint64_t sum;  ///< of all bytes of the file, FNV-1a
};
void PrintTo(const Sample& sample, std::ostream* out) { *out << sample.name; }

// Figures of different machines are told of the same pictures only while these stand.
const Sample kSamples[] = {{"rose.bmp", 1200, 840, 0x976594547F1F7562},
                           {"sbikers2.bmp", 1920, 1080, 0xC7BEDD07F5A54A86}};

class Pictures : public testing::TestWithParam<Sample> {
 protected:
  void SetUp() override {
    const std::string path = std::string(TAZMET_BIN_DIR) + "/" + GetParam().name;
    std::ifstream in(path, std::ios::binary);
    m_file = {std::istreambuf_iterator<char>(in), {}};
    ASSERT_EQ(base::ImageStatus::ok, base::readImage(m_file, m_image)) << path;
    ASSERT_EQ(GetParam().width, m_image.shape.width);
    ASSERT_EQ(GetParam().height, m_image.shape.height);
    ASSERT_EQ(3, m_image.shape.channels);
  }
  double bitsPerPixel(size_t bytes) const {
    return 8.0 * double(bytes) / (double(GetParam().width) * GetParam().height);
  }

  std::vector<uint8_t> m_file;
  base::Image m_image;
};

TEST_P(Pictures, AreTheSameBytesEverywhere) {
  uint64_t sum = 0xCBF29CE484222325u;
  for (const uint8_t byte : m_file) sum = (sum ^ byte) * 0x100000001B3u;
  EXPECT_EQ(GetParam().sum, sum) << std::hex << "0x" << sum;
}

TEST_P(Pictures, TakeAsManyBitsAsPhotographs) {
  jpeg::Encoder encoder;
  encoder.options().quality = 75;
  encoder.options().sampling = jpeg::Sampling::s420;
  jpeg::ImageShape shape;
  shape.width = m_image.shape.width;
  shape.height = m_image.shape.height;
  shape.channels = 3;
  shape.color = jpeg::Color::rgb;
  std::vector<uint8_t> out(m_file.size());
  ASSERT_EQ(jpeg::Status::ok,
            encoder.setSource(shape, m_image.samples.data(), ptrdiff_t(m_image.step)));
  ASSERT_EQ(jpeg::Status::ok, encoder.setDestination(out.data(), out.size()));
  ASSERT_EQ(jpeg::Status::ok, encoder.writeHeader());
  ASSERT_EQ(jpeg::Status::ok, encoder.writeData());
  EXPECT_GT(bitsPerPixel(encoder.size()), 1.0);
  EXPECT_LT(bitsPerPixel(encoder.size()), 2.5);

  std::vector<j2k::SampleView> views;
  j2k::PictureInfo info;
  info.width = shape.width;
  info.height = shape.height;
  for (int c = 0; c < 3; ++c) {
    views.push_back({m_image.samples.data() + c, j2k::SampleType::u8, 3, ptrdiff_t(m_image.step)});
    info.components.push_back({info.width, info.height, 8, false, 1, 1});
  }
  j2k::Diagnostics silent;
  j2k::Options lossless;
  lossless.ratios = {1};
  std::vector<uint8_t> file;
  ASSERT_EQ(j2k::Status::ok, j2k::encodePicture(lossless, silent, info, views, file));
  EXPECT_GT(bitsPerPixel(file.size()), 7.0);
  EXPECT_LT(bitsPerPixel(file.size()), 11.0);
}

INSTANTIATE_TEST_SUITE_P(, Pictures, testing::ValuesIn(kSamples), [](const auto& sample) {
  const std::string name = sample.param.name;
  return name.substr(0, name.find('.'));
});

}  // namespace
