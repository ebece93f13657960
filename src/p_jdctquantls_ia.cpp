/// DCT, quantisation and level shift between the pixels of an image and blocks of coefficients.
#include "rkcoefs.h"
#include "rkcommon.h"
#include "rkd/rkdjpeg.h"
#include "rksuite.h"

namespace {

rkImage image;
rkVector blocks, table;
rkCoefsChoice choice;
int across, down;  // blocks of the image
int side;          // pixels of the image a block stands for, in each direction

class TimjDctQuantLS : public rkTest {
 public:
  explicit TimjDctQuantLS(const rkLine& line) : rkTest(line) {}

 protected:
  bool canStart() override {
    regCacheParm(g_imageSize, image);
    const tzString base = func().baseName();
    side = base.find("To4x4", 0) >= 0 ? 4 : base.find("To2x2", 0) >= 0 ? 2 : 8;
    image.init(isForward() ? func().srcType() : func().dstType(), 1, false);
    blocks.init(rk16s);
    regParm(choice.table);
    choice.initTable(rkTableQ75, isForward());
    if (isForward()) return true;
    regParm(choice.coefs);
    choice.initCoefs(rkCoefsPhoto);
    return true;
  }

  /// The coefficients are those of the session's image size, whatever the inverse makes of them.
  bool initData() override {
    const RkdiSize size = g_imageSize.value();
    across = size.width / 8;
    down = size.height / 8;
    const bool is16u = image.type() == rk16u;
    const rkRange samples = fillRange(is16u ? rkRange{0, 4095} : rkRange{});
    // Quantised coefficients small enough that the block's samples stay near their range: some
    // beyond it, so that a comparison sees the clamp.
    const double most = (is16u ? 80.0 : 10.0) / (choice.table.value() == rkTableOnes ? 1 : 2);
    const rkRange coefs = fillRange({-most, most});
    const RkdiSize pixels = {across * side, down * side};
    const int count = across * down;
    return rkFillQuantTable(table, choice.table.value(), isForward(), verifying()) &&
           (isForward()
                ? image.createImageExt(pixels, 0, 0, rkModeRandom, samples.low, samples.high) &&
                      blocks.createVector(64 * count, rkModeConst)
                : image.createImageExt(pixels, 0, 0, rkModeConst) &&
                      rkCreateCoefs(blocks, count, choice.coefs.value(), coefs, verifying()));
  }

  void flushData() override {
    image.deleteVector();
    blocks.deleteVector();
    table.deleteVector();
  }

  /// Coefficients.
  double getDivisor() const override { return 64.0 * across * down; }
  tzString getUnit() const override { return "px"; }

 private:
  bool isForward() const { return func().baseName().find("Fwd", 0) >= 0; }
};

RK_SUITE(TimjDctQuantLS, "src/p_jdctquantls_ia",
         RK_NEEDS(rkdiQuantFwdTableInit_JPEG_16u, rkdiQuantInvTableInit_JPEG_16u));

/// Calls block(first pixel, coefficients) for each block of the image. What it costs to find a
/// block is measured with it, so nothing is divided or read again for each.
template <class T, class Block>
int perBlock(Block block) {
  const int pixels = side;
  const std::ptrdiff_t rows = static_cast<std::ptrdiff_t>(image.step()) * pixels;
  char* row = static_cast<char*>(image.data());
  int16_t* coefs = blocks.data16s();
  int status = 0;
  for (int y = down; y > 0 && status >= 0; --y, row += rows) {
    T* first = reinterpret_cast<T*>(row);
    for (int x = across; x > 0 && status >= 0; --x, first += pixels, coefs += 64) {
      status = block(first, coefs);
    }
  }
  return status;
}

template <class T>
int forward(RkdStatus (*function)(const T*, int, int16_t*, const uint16_t*)) {
  return perBlock<T>([function, step = image.step(), q = table.data16u()](
                         T* pixels, int16_t* coefs) { return function(pixels, step, coefs, q); });
}

template <class T>
int inverse(RkdStatus (*function)(const int16_t*, T*, int, const uint16_t*)) {
  return perBlock<T>([function, step = image.step(), q = table.data16u()](
                         T* pixels, int16_t* coefs) { return function(coefs, pixels, step, q); });
}

RK_REG_X(rkdiDCTQuantFwd8x8LS_JPEG_8u16s_C1R, forward(F), 1);
RK_REG_X(rkdiDCTQuantInv8x8LS_JPEG_16s8u_C1R, inverse(F), 1);
RK_REG_X(rkdiDCTQuantFwd8x8LS_JPEG_16u16s_C1R, forward(F), 1);
RK_REG_X(rkdiDCTQuantInv8x8LS_JPEG_16s16u_C1R, inverse(F), 1);
RK_REG_X(rkdiDCTQuantInv8x8LS_4x4_JPEG_16s8u_C1R, inverse(F), 1);
RK_REG_X(rkdiDCTQuantInv8x8LS_2x2_JPEG_16s8u_C1R, inverse(F), 1);
RK_REG_X(rkdiDCTQuantInv8x8LS_1x1_JPEG_16s8u_C1R, inverse(F), 1);
RK_REG_X(rkdiDCTQuantInv8x8To4x4LS_JPEG_16s8u_C1R, inverse(F), 1);
RK_REG_X(rkdiDCTQuantInv8x8To2x2LS_JPEG_16s8u_C1R, inverse(F), 1);

}  // namespace
