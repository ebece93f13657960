/// Photo core transform: blocks of a whole image, and macroblocks one by one.
#include "rkd/rkdjpeg.h"
#include "rkimagetest.h"
#include "rksuite.h"

namespace {

rkImagePair io;
RkdiSize unit;  // what a function transforms as a whole: a block or a macroblock

/// A performance of a macroblock function: every complete macroblock of the image.
template <class Function>
int eachMacroblock(Function transform) {
  int status = 0;
  for (int y = 0; y + unit.height <= io.size.height && status >= 0; y += unit.height) {
    auto* row = static_cast<int32_t*>(io.dst.getRowPointer(y));
    for (int x = 0; x + unit.width <= io.size.width && status >= 0; x += unit.width) {
      status = transform(row + x, io.dstStep);
    }
  }
  return status;
}

class Tim_PCT : public rkImageTest {
 public:
  explicit Tim_PCT(const rkLine& line) : rkImageTest(line, io) {}

 protected:
  bool canStart() override {
    unit = unitOf(func().baseName());
    return rkImageTest::canStart();
  }
  /// An image without a macroblock is an empty performance.
  tzString refusal() const override { return unit.width > 4 ? "" : rkImageTest::refusal(); }
  /// The pixels that are transformed.
  double getDivisor() const override {
    const int width = io.size.width / unit.width * unit.width;
    const int height = io.size.height / unit.height * unit.height;
    return double(width) * height;
  }
  rkRange statedRange() const override { return {-16777216, 16777216}; }

 private:
  static RkdiSize unitOf(const tzString& name) {
    if (name.find("16x16", 0) >= 0) return {16, 16};
    if (name.find("8x16", 0) >= 0) return {8, 16};
    if (name.find("8x8", 0) >= 0) return {8, 8};
    return {4, 4};
  }
};

RK_SUITE(Tim_PCT, "src/p_jxrpct_vb");

RK_REG(rkdiPCTFwd_HDP_32s_C1IR, F(io.dst.data32s(), io.dstStep, io.size));
RK_REG(rkdiPCTFwd16x16_HDP_32s_C1IR, eachMacroblock(F));
RK_REG(rkdiPCTFwd8x16_HDP_32s_C1IR, eachMacroblock(F));
RK_REG(rkdiPCTFwd8x8_HDP_32s_C1IR, eachMacroblock(F));
RK_REG(rkdiPCTInv_HDP_32s_C1IR, F(io.dst.data32s(), io.dstStep, io.size));
RK_REG(rkdiPCTInv16x16_HDP_32s_C1IR, eachMacroblock(F));
RK_REG(rkdiPCTInv8x16_HDP_32s_C1IR, eachMacroblock(F));
RK_REG(rkdiPCTInv8x8_HDP_32s_C1IR, eachMacroblock(F));

}  // namespace
