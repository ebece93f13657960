/// Packed 16-bit pixels and interleaved 4:2:2 to and from YCbCr or RGB.
#include "rkcommon.h"
#include "rkd/rkdcolor.h"
#include "rkimagetest.h"
#include "rksuite.h"

namespace {

rkImagePair io;

class jColorConversion__YS : public rkChannelTest {
 public:
  explicit jColorConversion__YS(const rkLine& line) : rkChannelTest(line, io) {}

 protected:
  // A packed pixel is one 16u although the name counts its three colours; in-between 4:2:2 pixels
  // have two samples, of which the conversion makes three.
  void bind() override {
    rkChannelTest::bind();
    if (func().srcType() == rk16u) io.src.init(rk16u, 1, false);
    if (func().dstType() == rk16u) io.dst.init(rk16u, 1, false);
  }
  tzString refusal() const override {
    const bool inPairs = func().baseName().find("YCbCr422", 0) >= 0;
    if (inPairs && g_imageSize.value().width % 2 != 0)
      return "4:2:2 rows are whole pairs of pixels";
    return rkChannelTest::refusal();
  }
};

RK_SUITE(jColorConversion__YS, "src/p_jcolor_ys");

RK_REG(rkdiRGB555ToYCbCr_JPEG_16u8u_C3P3R,
       F(io.src.data16u(), io.srcStep, io.dst.planes8u(), io.dstStep, io.size));
RK_REG(rkdiBGR555ToYCbCr_JPEG_16u8u_C3P3R,
       F(io.src.data16u(), io.srcStep, io.dst.planes8u(), io.dstStep, io.size));
RK_REG(rkdiRGB565ToYCbCr_JPEG_16u8u_C3P3R,
       F(io.src.data16u(), io.srcStep, io.dst.planes8u(), io.dstStep, io.size));
RK_REG(rkdiBGR565ToYCbCr_JPEG_16u8u_C3P3R,
       F(io.src.data16u(), io.srcStep, io.dst.planes8u(), io.dstStep, io.size));
RK_REG(rkdiYCbCrToRGB555_JPEG_8u16u_P3C3R,
       F(io.src.planes8u(), io.srcStep, io.dst.data16u(), io.dstStep, io.size));
RK_REG(rkdiYCbCrToBGR555_JPEG_8u16u_P3C3R,
       F(io.src.planes8u(), io.srcStep, io.dst.data16u(), io.dstStep, io.size));
RK_REG(rkdiYCbCrToRGB565_JPEG_8u16u_P3C3R,
       F(io.src.planes8u(), io.srcStep, io.dst.data16u(), io.dstStep, io.size));
RK_REG(rkdiYCbCrToBGR565_JPEG_8u16u_P3C3R,
       F(io.src.planes8u(), io.srcStep, io.dst.data16u(), io.dstStep, io.size));
RK_REG(rkdiYCbCr422ToRGB_JPEG_8u_C2C3R,
       F(io.src.data8u(), io.srcStep, io.dst.data8u(), io.dstStep, io.size));

}  // namespace
