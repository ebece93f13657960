/// Colour conversion of JPEG and the component transforms of JPEG 2000.
#include "rkd/rkdcolor.h"
#include "rkimagetest.h"
#include "rksuite.h"

namespace {

rkImagePair io;

class TimjRGB : public rkChannelTest {
 public:
  explicit TimjRGB(const rkLine& line) : rkChannelTest(line, io) {}

 protected:
  // Component transforms need room for a bit or two in their element type.
  rkRange statedRange() const override {
    switch (func().srcType()) {
      case rk16s:
        return {-8192, 8191};
      case rk32s:
        return {-1048576, 1048575};
      case rk32f:
        return {-256, 255};
      default:
        return {};
    }
  }
};

RK_SUITE(TimjRGB, "src/p_jrgb_ia");

RK_REG(rkdiRGBToY_JPEG_8u_P3C1R,
       F(io.src.planes8u(), io.srcStep, io.dst.data8u(), io.dstStep, io.size));
RK_REG(rkdiRGBToY_JPEG_8u_C3C1R,
       F(io.src.data8u(), io.srcStep, io.dst.data8u(), io.dstStep, io.size));
RK_REG(rkdiRGBToYCbCr_JPEG_8u_P3R,
       F(io.src.planes8u(), io.srcStep, io.dst.planes8u(), io.dstStep, io.size));
RK_REG(rkdiRGBToYCbCr_JPEG_8u_C3P3R,
       F(io.src.data8u(), io.srcStep, io.dst.planes8u(), io.dstStep, io.size));
RK_REG(rkdiYCbCrToRGB_JPEG_8u_P3R,
       F(io.src.planes8u(), io.srcStep, io.dst.planes8u(), io.dstStep, io.size));
RK_REG(rkdiYCbCrToRGB_JPEG_8u_P3C3R,
       F(io.src.planes8u(), io.srcStep, io.dst.data8u(), io.dstStep, io.size));
RK_REG(rkdiCMYKToYCCK_JPEG_8u_P4R,
       F(io.src.planes8u(), io.srcStep, io.dst.planes8u(), io.dstStep, io.size));
RK_REG(rkdiCMYKToYCCK_JPEG_8u_C4P4R,
       F(io.src.data8u(), io.srcStep, io.dst.planes8u(), io.dstStep, io.size));
RK_REG(rkdiYCCKToCMYK_JPEG_8u_P4R,
       F(io.src.planes8u(), io.srcStep, io.dst.planes8u(), io.dstStep, io.size));
RK_REG(rkdiYCCKToCMYK_JPEG_8u_P4C4R,
       F(io.src.planes8u(), io.srcStep, io.dst.data8u(), io.dstStep, io.size));
RK_REG(rkdiYCbCrToBGR_JPEG_8u_P3C3R,
       F(io.src.planes8u(), io.srcStep, io.dst.data8u(), io.dstStep, io.size));
RK_REG(rkdiBGRToYCbCr_JPEG_8u_C3P3R,
       F(io.src.data8u(), io.srcStep, io.dst.planes8u(), io.dstStep, io.size));
RK_REG(rkdiBGRToY_JPEG_8u_C3C1R,
       F(io.src.data8u(), io.srcStep, io.dst.data8u(), io.dstStep, io.size));
RK_REG(rkdiICTFwd_JPEG2K_32f_C3P3R,
       F(io.src.data32f(), io.srcStep, io.dst.planes32f(), io.dstStep, io.size), 0.001);
RK_REG_Ibs(rkdiICTFwd_JPEG2K_32f_P3IR, F(io.dst.planes32f(), io.dstStep, io.size), 0.001);
RK_REG(rkdiICTInv_JPEG2K_32f_P3C3R,
       F(io.src.planes32f(), io.srcStep, io.dst.data32f(), io.dstStep, io.size), 0.001);
RK_REG_Ibs(rkdiICTInv_JPEG2K_32f_P3IR, F(io.dst.planes32f(), io.dstStep, io.size), 0.001);
RK_REG_Ibs(rkdiICTFwd_JPEG2K_16s_P3IR, F(io.dst.planes16s(), io.dstStep, io.size), 1);
RK_REG_Ibs(rkdiICTFwd_JPEG2K_32s_P3IR, F(io.dst.planes32s(), io.dstStep, io.size), 1);
RK_REG_Ibs(rkdiICTInv_JPEG2K_16s_P3IR, F(io.dst.planes16s(), io.dstStep, io.size), 1);
RK_REG_Ibs(rkdiICTInv_JPEG2K_32s_P3IR, F(io.dst.planes32s(), io.dstStep, io.size), 1);
RK_REG_Ibs(rkdiRCTFwd_JPEG2K_16s_P3IR, F(io.dst.planes16s(), io.dstStep, io.size));
RK_REG_Ibs(rkdiRCTInv_JPEG2K_16s_P3IR, F(io.dst.planes16s(), io.dstStep, io.size));
RK_REG(rkdiRCTFwd_JPEG2K_16s_C3P3R,
       F(io.src.data16s(), io.srcStep, io.dst.planes16s(), io.dstStep, io.size));
RK_REG(rkdiRCTInv_JPEG2K_16s_P3C3R,
       F(io.src.planes16s(), io.srcStep, io.dst.data16s(), io.dstStep, io.size));
RK_REG_Ibs(rkdiRCTFwd_JPEG2K_32s_P3IR, F(io.dst.planes32s(), io.dstStep, io.size));
RK_REG_Ibs(rkdiRCTInv_JPEG2K_32s_P3IR, F(io.dst.planes32s(), io.dstStep, io.size));
RK_REG(rkdiRCTFwd_JPEG2K_32s_C3P3R,
       F(io.src.data32s(), io.srcStep, io.dst.planes32s(), io.dstStep, io.size));
RK_REG(rkdiRCTInv_JPEG2K_32s_P3C3R,
       F(io.src.planes32s(), io.srcStep, io.dst.data32s(), io.dstStep, io.size));

}  // namespace
