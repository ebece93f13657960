/// Wavelets of JPEG 2000: one level of the rows or the columns of an image.
#include <algorithm>

#include "rkcommon.h"
#include "rkd/rkdjpeg.h"
#include "rksuite.h"
#include "rkwavelet.h"

namespace {

rkImage samples, low, high;
RkdiSize size;
tzMapIterator<int> phase("Phase");

class TimjWTRow : public rkTest {
  RK_TEST_CLASS(TimjWTRow)

 protected:
  bool canStart() override {
    regCacheParm(g_imageSize, samples);
    regParm(phase);
    rkInitPhase(phase);
    for (rkImage* image : {&samples, &low, &high}) image->init(func(), rkSrc);
    return true;
  }

  tzString refusal() const override { return emptyRefusal(); }
  bool initData() override {
    size = g_imageSize.value();
    const rkRange range = fillRange(isFloat() ? rkRange{-255, 255} : rkRange{});
    const SetMode samplesMode = isInverse() ? rkModeConst : rkModeRandom;
    const SetMode bandsMode = isInverse() ? rkModeRandom : rkModeConst;
    return samples.createImageExt(size, 0, 0, samplesMode, range.low, range.high) &&
           low.createImageExt(bandSize(0), 0, 0, bandsMode, range.low, range.high) &&
           high.createImageExt(bandSize(1), 0, 0, bandsMode, range.low, range.high);
  }

  void flushData() override {
    for (rkImage* image : {&samples, &low, &high}) image->deleteVector();
  }

  double getDivisor() const override { return double(size.width) * size.height; }
  tzString getUnit() const override { return "px"; }

 private:
  bool isInverse() const { return func().baseName().find("WTInv", 0) >= 0; }
  bool isColumns() const { return func().baseName().find("Col", 0) >= 0; }
  bool isFloat() const { return func().typeName() == "32f"; }

  /// Of the low (0) or high (1) band; a band without samples has memory all the same.
  RkdiSize bandSize(int band) const {
    const int length = isColumns() ? size.height : size.width;
    const int count = (length + (band == phase.value() ? 1 : 0)) / 2;
    const int some = std::max(count, 1);
    return isColumns() ? RkdiSize{size.width, some} : RkdiSize{some, size.height};
  }
};

RK_SUITE(TimjWTRow, "src/p_jwtrow_ia");

template <class T, class Function>
int forward(Function function, const T* from, T* toLow, T* toHigh) {
  return function(from, samples.step(), toLow, low.step(), toHigh, high.step(), size,
                  phase.value());
}
template <class T, class Function>
int inverse(Function function, const T* fromLow, const T* fromHigh, T* to) {
  return function(fromLow, low.step(), fromHigh, high.step(), to, samples.step(), size,
                  phase.value());
}

/// 9/7 in floating point: of levels up to 650.
constexpr double kFloatTolerance = 0.001;

RK_REG(rkdiWTFwdRow_B53_JPEG2K_16s_C1R,
       forward(F, samples.data16s(), low.data16s(), high.data16s()));
RK_REG(rkdiWTFwdCol_B53_JPEG2K_16s_C1R,
       forward(F, samples.data16s(), low.data16s(), high.data16s()));
RK_REG(rkdiWTInvRow_B53_JPEG2K_16s_C1R,
       inverse(F, low.data16s(), high.data16s(), samples.data16s()));
RK_REG(rkdiWTInvCol_B53_JPEG2K_16s_C1R,
       inverse(F, low.data16s(), high.data16s(), samples.data16s()));
RK_REG(rkdiWTFwdRow_B53_JPEG2K_32s_C1R,
       forward(F, samples.data32s(), low.data32s(), high.data32s()));
RK_REG(rkdiWTFwdCol_B53_JPEG2K_32s_C1R,
       forward(F, samples.data32s(), low.data32s(), high.data32s()));
RK_REG(rkdiWTInvRow_B53_JPEG2K_32s_C1R,
       inverse(F, low.data32s(), high.data32s(), samples.data32s()));
RK_REG(rkdiWTInvCol_B53_JPEG2K_32s_C1R,
       inverse(F, low.data32s(), high.data32s(), samples.data32s()));
RK_REG(rkdiWTFwdRow_D97_JPEG2K_32f_C1R,
       forward(F, samples.data32f(), low.data32f(), high.data32f()), kFloatTolerance);
RK_REG(rkdiWTFwdCol_D97_JPEG2K_32f_C1R,
       forward(F, samples.data32f(), low.data32f(), high.data32f()), kFloatTolerance);
RK_REG(rkdiWTInvRow_D97_JPEG2K_32f_C1R,
       inverse(F, low.data32f(), high.data32f(), samples.data32f()), kFloatTolerance);
RK_REG(rkdiWTInvCol_D97_JPEG2K_32f_C1R,
       inverse(F, low.data32f(), high.data32f(), samples.data32f()), kFloatTolerance);
RK_REG(rkdiWTFwdRow_D97_JPEG2K_16s_C1R,
       forward(F, samples.data16s(), low.data16s(), high.data16s()));
RK_REG(rkdiWTFwdRow_D97_JPEG2K_32s_C1R,
       forward(F, samples.data32s(), low.data32s(), high.data32s()));
RK_REG(rkdiWTInvRow_D97_JPEG2K_16s_C1R,
       inverse(F, low.data16s(), high.data16s(), samples.data16s()));
RK_REG(rkdiWTInvRow_D97_JPEG2K_32s_C1R,
       inverse(F, low.data32s(), high.data32s(), samples.data32s()));

}  // namespace
