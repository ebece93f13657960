/// Level shift by 128 between samples and signed values.
#include "rkd/rkdjpeg.h"
#include "rkimagetest.h"
#include "rksuite.h"

namespace {

rkImagePair io;

class TimjAdd : public rkImageTest {
 public:
  explicit TimjAdd(const rkLine& line) : rkImageTest(line, io) {}
};

RK_SUITE(TimjAdd, "src/p_jadd_ia");

RK_REG(rkdiAdd128_JPEG_16s8u_C1R,
       F(io.src.data16s(), io.srcStep, io.dst.data8u(), io.dstStep, io.size));
RK_REG(rkdiSub128_JPEG_8u16s_C1R,
       F(io.src.data8u(), io.srcStep, io.dst.data16s(), io.dstStep, io.size));

}  // namespace
