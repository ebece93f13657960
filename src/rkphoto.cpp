// A made-up photograph and its coefficients.
#include "rkphoto.h"

#include <algorithm>

#include "ref_dct.h"
#include "rkd/rkdjpeg_dct.h"
#include "rkphotograph.h"
#include "rkpicture.h"

const std::array<uint16_t, 64> rkQuality75 = {
    8,  6,  5,  8,  12, 20, 26, 31, 6,  6,  7,  10, 13, 29, 30, 28, 7,  7,  8,  12, 20, 29,
    35, 28, 7,  9,  11, 15, 26, 44, 40, 31, 9,  11, 19, 28, 34, 55, 52, 39, 12, 18, 28, 32,
    41, 52, 57, 46, 25, 32, 39, 44, 52, 61, 60, 51, 36, 46, 48, 49, 56, 50, 52, 50};

void rkFillPhoto(rkImage& image) {
  rkPhotograph photograph;
  for (int y = 0; y < image.height(); ++y) {
    auto* row = static_cast<uint8_t*>(image.getRowPointer(y));
    for (int x = 0; x < image.width(); ++x) {
      row[x] = static_cast<uint8_t>(std::clamp(photograph.brightness(x, y), 0.f, 255.f));
    }
  }
}

std::vector<int16_t> rkPhotoCoefs(const char* picture) {
  // Enough blocks that no branch predictor knows them.
  constexpr int kSide = 512;
  rkImage image;
  image.init(rk8u, 1, false);
  if (!image.createImage(kSide, kSide)) return {};
  if (picture == nullptr) {
    rkFillPhoto(image);
  } else if (!rkFillPicture(image, picture)) {
    return {};
  }
  std::vector<int16_t> coefs(size_t{kSide} * kSide);
  uint16_t table[RKD_QUANT_TABLE_LENGTH] = {};
  std::copy(rkQuality75.begin(), rkQuality75.end(), table);
  int16_t* block = coefs.data();
  for (int y = 0; y < kSide; y += 8) {
    for (int x = 0; x < kSide; x += 8, block += 64) {
      const auto* pixels = static_cast<const uint8_t*>(image.getPointerAt(x, y, 0));
      ref::rkdiDCT8x8FwdLS_JPEG_8u16s_C1R(pixels, image.step(), block);
      ref::rkdiQuantFwd8x8_JPEG_16s_C1I(block, table);
    }
  }
  return coefs;
}
