/// Bytes of 16-bit samples: rows split into upper and lower bytes, and joined again.
#include "rkd/rkdjpeg.h"
#include "rksuite.h"

namespace {

tzIterator<int> lengthParm("Length", "16-bit samples in a row", {64, 1024, 4096});
rkVector src, dst;
int length;

class TimjSplit_TIFF : public rkTest {
  RK_TEST_CLASS(TimjSplit_TIFF)

 protected:
  bool canStart() override {
    regCacheParm(lengthParm, dst);
    return true;
  }

  tzString refusal() const override { return emptyRefusal(); }
  bool initData() override {
    length = lengthParm.value();
    src.init(func(), rkSrc);
    dst.init(func(), rkDst);
    return src.createVector(elements(src), rkModeRandom) &&
           dst.createVector(elements(dst), rkModeZero);
  }

  void flushData() override {
    src.deleteVector();
    dst.deleteVector();
  }

  double getDivisor() const override { return length; }
  tzString getUnit() const override { return "e"; }

 private:
  /// A row of bytes has two for each sample.
  static int elements(const rkVector& side) { return side.type() == rk8u ? 2 * length : length; }
};

RK_SUITE(TimjSplit_TIFF, "src/p_jsplittiff_ia");

RK_REG(rkdiSplitRow_TIFF_16u8u_C1, F(src.data16u(), dst.data8u(), length));
RK_REG(rkdiJoinRow_TIFF_8u16u_C1, F(src.data8u(), dst.data16u(), length));

}  // namespace
