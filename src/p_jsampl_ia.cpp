/// Down- and up-sampling of whole images.
#include <algorithm>

#include "rkd/rkdjpeg_sample.h"
#include "rkimagetest.h"
#include "rksuite.h"

namespace {

rkImagePair io;
RkdiSize srcSize, dstSize;

class TimjSample : public rkImageTest {
 public:
  explicit TimjSample(const rkLine& line) : rkImageTest(line, io) {}

 protected:
  /// The session's size is that of the larger image.
  bool initData() override {
    const RkdiSize large = g_imageSize.value();
    const bool both = func().baseName().find("H2V2", 0) >= 0;
    const RkdiSize small = {(large.width + 1) / 2, both ? (large.height + 1) / 2 : large.height};
    const bool down = func().baseName().find("Down", 0) >= 0;
    srcSize = down ? large : small;
    dstSize = down ? small : large;
    if (!io.src.createImageExt(srcSize, 0, 0, rkModeRandom) ||
        !io.dst.createImageExt(dstSize, 0, 0, rkModeConst)) {
      return false;
    }
    io.srcStep = io.src.step();
    io.dstStep = io.dst.step();
    return true;
  }

  /// Pixels of the larger image.
  double getDivisor() const override {
    return std::max(double(srcSize.width) * srcSize.height, double(dstSize.width) * dstSize.height);
  }
};

RK_SUITE(TimjSample, "src/p_jsampl_ia");

RK_REG(rkdiSampleDownH2V1_JPEG_8u_C1R,
       F(io.src.data8u(), io.srcStep, srcSize, io.dst.data8u(), io.dstStep, dstSize));
RK_REG(rkdiSampleDownH2V2_JPEG_8u_C1R,
       F(io.src.data8u(), io.srcStep, srcSize, io.dst.data8u(), io.dstStep, dstSize));
RK_REG(rkdiSampleUpH2V1_JPEG_8u_C1R,
       F(io.src.data8u(), io.srcStep, srcSize, io.dst.data8u(), io.dstStep, dstSize));
RK_REG(rkdiSampleUpH2V2_JPEG_8u_C1R,
       F(io.src.data8u(), io.srcStep, srcSize, io.dst.data8u(), io.dstStep, dstSize));

}  // namespace
