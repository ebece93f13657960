/// Down- and up-sampling of single rows.
#include <algorithm>

#include "rkd/rkdjpeg_sample.h"
#include "rksuite.h"

namespace {

tzIterator<int> lengthParm("Length", "Samples of the full-resolution row", {64, 1024, 4096});
rkVector near, far, dst;
int srcWidth;

class TimjSampleRow : public rkTest {
 public:
  explicit TimjSampleRow(const rkLine& line) : rkTest(line) {}

 protected:
  bool canStart() override {
    regCacheParm(lengthParm, dst);
    return true;
  }

  tzString refusal() const override { return emptyRefusal(); }
  bool initData() override {
    const int length = lengthParm.value();
    const bool down = func().baseName().find("Down", 0) >= 0;
    srcWidth = down ? length : (length + 1) / 2;
    for (rkVector* vector : {&near, &far, &dst}) vector->init(rk8u);
    return near.createVector(srcWidth, rkModeRandom) && far.createVector(srcWidth, rkModeRandom) &&
           dst.createVector(down ? (srcWidth + 1) / 2 : 2 * srcWidth, rkModeConst);
  }

  void flushData() override {
    for (rkVector* vector : {&near, &far, &dst}) vector->deleteVector();
  }

  /// Samples of the longer row.
  double getDivisor() const override { return std::max(srcWidth, dst.length()); }
  tzString getUnit() const override { return "e"; }
};

RK_SUITE(TimjSampleRow, "src/p_jsamplrow_ia");

RK_REG(rkdiSampleDownRowH2V1_Box_JPEG_8u_C1, F(near.data8u(), srcWidth, dst.data8u()));
RK_REG(rkdiSampleDownRowH2V2_Box_JPEG_8u_C1,
       F(near.data8u(), far.data8u(), srcWidth, dst.data8u()));
RK_REG(rkdiSampleUpRowH2V1_Triangle_JPEG_8u_C1, F(near.data8u(), srcWidth, dst.data8u()));
RK_REG(rkdiSampleUpRowH2V2_Triangle_JPEG_8u_C1,
       F(near.data8u(), far.data8u(), srcWidth, dst.data8u()));

}  // namespace
