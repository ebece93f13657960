// Whole files, with libjpeg at the other end: it reads the coefficients that these coders wrote and
// writes those that they read.
#include <algorithm>
#include <functional>

#include "huffjpeg.h"
#include "jpegwriter.h"

using namespace huffkit;
using rkdkit::forEachLevel;
using rkdkit::Random;

namespace {

/// The coefficients as libjpeg reads them, those of the picture alone: what an encoder puts into
/// blocks beyond it is its own affair.
std::vector<std::vector<Block>> judged(const Bytes& file) {
  jpeg_decompress_struct d;
  jpeg_error_mgr errors;
  d.err = jpeg_std_error(&errors);
  jpeg_create_decompress(&d);
  jpeg_mem_src(&d, file.data(), file.size());
  jpeg_read_header(&d, TRUE);
  jvirt_barray_ptr* const arrays = jpeg_read_coefficients(&d);
  EXPECT_EQ(0, errors.num_warnings);
  std::vector<std::vector<Block>> all;
  for (int i = 0; i < d.num_components; ++i) {
    const jpeg_component_info& info = d.comp_info[i];
    all.emplace_back();
    for (JDIMENSION y = 0; y < info.height_in_blocks; ++y) {
      const auto row =
          (*d.mem->access_virt_barray)(reinterpret_cast<j_common_ptr>(&d), arrays[i], y, 1, FALSE);
      for (JDIMENSION x = 0; x < info.width_in_blocks; ++x) {
        Block block;
        std::copy_n(row[0][x], 64, block.begin());
        all.back().push_back(block);
      }
    }
  }
  jpeg_destroy_decompress(&d);
  return all;
}

std::vector<std::vector<Block>> ofPicture(const Frame& frame) {
  std::vector<std::vector<Block>> all;
  for (const Component& c : frame.components) {
    all.emplace_back();
    for (int y = 0; y < c.ownDown; ++y) {
      for (int x = 0; x < c.ownAcross; ++x) {
        all.back().push_back(c.blocks[size_t(y) * size_t(c.across) + size_t(x)]);
      }
    }
  }
  return all;
}

Frame randomFrame(int width, int height, const std::vector<std::pair<int, int>>& sampling) {
  Random random;
  Frame frame;
  frame.width = width;
  frame.height = height;
  for (const auto& [h, v] : sampling) {
    Component c;
    c.h = h;
    c.v = v;
    frame.components.push_back(c);
  }
  frame.layOut();
  for (Component& c : frame.components) c.blocks = randomBlocks(random, int(c.blocks.size()), 1000);
  return frame;
}

TEST(HuffmanFiles, AnotherDecoderReadsWhatTheEncodersWrote) {
  forEachLevel([] {
    for (const int restart : {0, 3}) {
      Frame grey = randomFrame(150, 90, {{1, 1}});
      EXPECT_EQ(ofPicture(grey), judged(writeFile(grey, {{{0}}}, restart)));
      grey.isProgressive = true;
      EXPECT_EQ(ofPicture(grey), judged(writeFile(grey, greyScans, restart)));
      Frame colour = randomFrame(150, 90, {{2, 2}, {1, 1}, {1, 1}});
      EXPECT_EQ(ofPicture(colour), judged(writeFile(colour, {{{0, 1, 2}}}, restart)));
      colour.isProgressive = true;
      EXPECT_EQ(ofPicture(colour), judged(writeFile(colour, colourScans, restart)));
    }
  });
}

/// A file of libjpeg's own making: waves of growing frequency with noise on one side.
Bytes compressed(int width, int height, int quality,
                 const std::function<void(j_compress_ptr)>& set) {
  Random random;
  Bytes rgb;
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < 3 * width; ++x) {
      const int wave = (x * x / 300 + y * (x % 3 + 1)) & 255;
      rgb.push_back(uint8_t(x > width ? wave : (wave + random.between(0, 255)) / 2));
    }
  }
  return jpegwriter::file(rgb, width, height, quality, set);
}

TEST(HuffmanFiles, TheDecodersReadWhatAnotherEncoderWrote) {
  std::vector<Bytes> files;
  for (const int quality : {30, 75, 100}) {
    for (const int restart : {0, 5}) {
      for (const bool progressive : {false, true}) {
        files.push_back(compressed(203, 117, quality, [&](j_compress_ptr c) {
          c->restart_interval = unsigned(restart);
          c->optimize_coding = quality == 75;
          if (progressive) jpeg_simple_progression(c);
        }));
      }
    }
  }
  files.push_back(compressed(64, 64, 90, [](j_compress_ptr c) {
    jpeg_set_colorspace(c, JCS_GRAYSCALE);
    jpeg_simple_progression(c);
  }));
  forEachLevel([&] {
    for (const Bytes& file : files) {
      const Frame frame = Reader(file).read();
      EXPECT_TRUE(judged(file) == ofPicture(frame)) << "file " << &file - files.data();
    }
  });
}

}  // namespace
