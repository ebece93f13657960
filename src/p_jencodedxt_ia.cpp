/// Texture blocks from and to RGBA images.
#include <algorithm>
#include <cmath>

#include "rkd/rkdjpeg.h"
#include "rksuite.h"

namespace {

rkImage src, dst, picture;
int srcStep, dstStep;
RkdiSize size;

class TimjEncodeRGBA_DXT : public rkTest {
  RK_TEST_CLASS(TimjEncodeRGBA_DXT)

 protected:
  bool canStart() override {
    regCacheParm(g_imageSize, dst);
    return true;
  }

  /// The session's size, cut to whole blocks, of which there may be none. Decoders get blocks of
  /// the plain encoder.
  bool initData() override {
    size = g_imageSize.value();
    size.width &= ~3;
    size.height &= ~3;
    if (size.width < 4 || size.height < 4) size = {0, 0};
    const bool dxt1 = func().baseName().find("DXT1", 0) >= 0;
    const bool dxt3 = func().baseName().find("DXT3", 0) >= 0;
    const bool encodes = func().baseName().find("Encode", 0) >= 0;
    const RkdiSize blocks = {size.width / 4 * (dxt1 ? 8 : 16), size.height / 4};
    rkImage& image = encodes ? src : picture;
    image.init(rk8u, 4);
    (encodes ? dst : src).init(rk8u, 1);
    if (!encodes) dst.init(rk8u, 4);
    if (!image.createImageExt(size, 0, 0, rkModeRandom, 0, 24) ||
        !(encodes ? dst : src).createImageExt(blocks, 0, 0, rkModeConst) ||
        (!encodes && !dst.createImageExt(size, 0, 0, rkModeConst))) {
      return false;
    }
    paint(image);
    if (!encodes) {
      const auto encode = dxt1   ? ref::rkdiTextureEncodeBlockFromRGBA_DXT1_8u_C4C1R
                          : dxt3 ? ref::rkdiTextureEncodeBlockFromRGBA_DXT3_8u_C4C1R
                                 : ref::rkdiTextureEncodeBlockFromRGBA_DXT5_8u_C4C1R;
      if (encode(image.data8u(), image.step(), src.data8u(), src.step(), size) < 0) return false;
      picture.deleteVector();
    }
    srcStep = src.step();
    dstStep = dst.step();
    return true;
  }

  void flushData() override {
    src.deleteVector();
    dst.deleteVector();
    picture.deleteVector();
  }

  double getDivisor() const override { return double(size.width) * size.height; }
  tzString getUnit() const override { return "px"; }

 private:
  /// Soft shapes under the noise that is there: neighbours differ as in a photograph, and alpha
  /// crosses the threshold of transparency here and there.
  static void paint(rkImage& image) {
    for (int y = 0; y < size.height; ++y) {
      auto* row = static_cast<unsigned char*>(image.getRowPointer(y));
      for (int x = 0; x < size.width; ++x) {
        for (int c = 0; c < 4; ++c) {
          const double shape = std::sin(x * (0.043 + 0.007 * c)) * std::cos(y * 0.031 + c);
          const double value = (c == 3 ? 190 + 90 * shape : 116 + 100 * shape) + row[4 * x + c];
          row[4 * x + c] = static_cast<unsigned char>(std::clamp(value, 0.0, 255.0));
        }
      }
    }
  }
};

RK_SUITE(TimjEncodeRGBA_DXT, "src/p_jencodedxt_ia");

/// One call; none where the image holds no block.
int once(RkdStatus (*function)(const uint8_t*, int, uint8_t*, int, RkdiSize)) {
  if (size.width == 0) return 0;
  return function(src.data8u(), srcStep, dst.data8u(), dstStep, size);
}

RK_REG(rkdiTextureEncodeBlockFromRGBA_DXT1_8u_C4C1R, once(F));
RK_REG(rkdiTextureEncodeBlockFromRGBA_DXT5_8u_C4C1R, once(F));
RK_REG(rkdiTextureDecodeBlockToRGBA_DXT1_8u_C1C4R, once(F));
RK_REG(rkdiTextureDecodeBlockToRGBA_DXT5_8u_C1C4R, once(F));
RK_REG(rkdiTextureEncodeBlockFromRGBA_DXT3_8u_C4C1R, once(F));
RK_REG(rkdiTextureDecodeBlockToRGBA_DXT3_8u_C1C4R, once(F));

}  // namespace
