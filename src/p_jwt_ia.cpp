/// Wavelets of JPEG 2000: one level of a whole tile.
#include <vector>

#include "rkd/rkdjpeg.h"
#include "rkimagetest.h"
#include "rksuite.h"
#include "rkwavelet.h"

namespace {

rkImagePair io;
tzMapIterator<int> phase("Phase");
std::vector<unsigned char> work;  // its content has no meaning, so verified runs do not see it

class TimjWT : public rkImageTest {
 public:
  explicit TimjWT(const rkLine& line) : rkImageTest(line, io) {}

 protected:
  bool canStart() override {
    rkImageTest::canStart();
    regParm(phase);
    rkInitPhase(phase);
    return true;
  }

  bool initData() override {
    int bytes = 0;
    if (!rkImageTest::initData()) return false;
    const RkdDataType type = func().srcType() == rk16s ? rkd16s : rkd32s;
    if (checkStatus(rkdiWTGetBufSize_JPEG2K(io.size, type, &bytes)) != TZ_OK) return false;
    work.resize(size_t(bytes));
    return true;
  }

  void flushData() override {
    rkImageTest::flushData();
    work = {};
  }
};

RK_SUITE(TimjWT, "src/p_jwt_ia", RK_NEEDS(rkdiWTGetBufSize_JPEG2K));

/// Both directions have the phase of the parameter.
template <class T, class Function>
int transform(Function function, const T* src, T* dst) {
  return function(src, io.srcStep, dst, io.dstStep, io.size, phase.value(), phase.value(),
                  work.data());
}
template <class T, class Function>
int inPlace(Function function, T* data) {
  return function(data, io.dstStep, io.size, phase.value(), phase.value(), work.data());
}

RK_REG(rkdiWTFwd_B53_JPEG2K_16s_C1IR, inPlace(F, io.dst.data16s()));
RK_REG(rkdiWTFwd_B53_JPEG2K_32s_C1IR, inPlace(F, io.dst.data32s()));
RK_REG(rkdiWTInv_B53_JPEG2K_16s_C1IR, inPlace(F, io.dst.data16s()));
RK_REG(rkdiWTInv_B53_JPEG2K_32s_C1IR, inPlace(F, io.dst.data32s()));
RK_REG(rkdiWTFwd_D97_JPEG2K_16s_C1IR, inPlace(F, io.dst.data16s()));
RK_REG(rkdiWTFwd_D97_JPEG2K_32s_C1IR, inPlace(F, io.dst.data32s()));
RK_REG(rkdiWTInv_D97_JPEG2K_16s_C1IR, inPlace(F, io.dst.data16s()));
RK_REG(rkdiWTInv_D97_JPEG2K_32s_C1IR, inPlace(F, io.dst.data32s()));
RK_REG(rkdiWTFwd_B53_JPEG2K_16s_C1R, transform(F, io.src.data16s(), io.dst.data16s()));
RK_REG(rkdiWTFwd_B53_JPEG2K_32s_C1R, transform(F, io.src.data32s(), io.dst.data32s()));
RK_REG(rkdiWTInv_B53_JPEG2K_16s_C1R, transform(F, io.src.data16s(), io.dst.data16s()));
RK_REG(rkdiWTInv_B53_JPEG2K_32s_C1R, transform(F, io.src.data32s(), io.dst.data32s()));
RK_REG(rkdiWTFwd_D97_JPEG2K_16s_C1R, transform(F, io.src.data16s(), io.dst.data16s()));
RK_REG(rkdiWTFwd_D97_JPEG2K_32s_C1R, transform(F, io.src.data32s(), io.dst.data32s()));
RK_REG(rkdiWTInv_D97_JPEG2K_16s_C1R, transform(F, io.src.data16s(), io.dst.data16s()));
RK_REG(rkdiWTInv_D97_JPEG2K_32s_C1R, transform(F, io.src.data32s(), io.dst.data32s()));

}  // namespace
