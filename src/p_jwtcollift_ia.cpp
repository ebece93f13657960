/// Wavelets of JPEG 2000: one lifting step down the columns, two rows in and two out.
#include "rkd/rkdjpeg.h"
#include "rksuite.h"

namespace {

tzIterator<int> lengthParm("Length", "Samples in a row", {64, 1024, 4096});
rkImage in, state, out;  // a row is a plane
int length;

/// A step takes the same work for either phase: which rows are low is the caller's matter.
class TimjWTColLift : public rkTest {
  RK_TEST_CLASS(TimjWTColLift)

 protected:
  bool canStart() override {
    regCacheParm(lengthParm, out);
    in.init(func().srcType(), 4, true);
    state.init(func().srcType(), 4, true);
    out.init(func().srcType(), 2, true);
    return true;
  }

  tzString refusal() const override { return emptyRefusal(); }
  bool initData() override {
    length = lengthParm.value();
    const RkdiSize row = {length, 1};
    const rkRange range = fillRange(isFloat() ? rkRange{-255, 255} : rkRange{});
    if (!in.createImageExt(row, 0, 0, rkModeRandom, range.low, range.high) ||
        !out.createImageExt(row, 0, 0, rkModeConst)) {
      return false;
    }
    if (func().baseName().find("_D97", 0) < 0) return true;
    return state.createImageExt(row, 0, 0, rkModeRandom, range.low, range.high) &&
           state.reserveCopy();
  }

  void flushData() override {
    for (rkImage* image : {&in, &state, &out}) image->deleteVector();
  }

  /// Of both rows.
  double getDivisor() const override { return 2.0 * length; }
  tzString getUnit() const override { return "e"; }

 private:
  bool isFloat() const { return func().typeName() == "32f"; }
};

RK_SUITE(TimjWTColLift, "src/p_jwtcollift_ia");

template <class T, class Function>
int step53(Function function, T* const* from, T* const* to) {
  return function(from[0], from[1], from[2], from[3], to[0], to[1], length);
}
/// The state changes with every call, but by no more than the inputs can make it: what repetitions
/// see stays bounded.
template <class T, class Function>
int step97(Function function, T* const* from, T* const* kept, T* const* to) {
  return function(from[0], from[1], kept, to[0], to[1], length);
}

/// 9/7 in floating point: of levels up to some thousand.
constexpr double kFloatTolerance = 0.004;

RK_REG(rkdiWTFwdColLift_B53_JPEG2K_16s_C1, step53(F, in.planes16s(), out.planes16s()));
RK_REG(rkdiWTFwdColLift_B53_JPEG2K_32s_C1, step53(F, in.planes32s(), out.planes32s()));
RK_REG_Ibs(rkdiWTFwdColLift_D97_JPEG2K_16s_C1,
           step97(F, in.planes16s(), state.planes16s(), out.planes16s()));
RK_REG_Ibs(rkdiWTFwdColLift_D97_JPEG2K_32s_C1,
           step97(F, in.planes32s(), state.planes32s(), out.planes32s()));
RK_REG_Ibs(rkdiWTFwdColLift_D97_JPEG2K_32f_C1,
           step97(F, in.planes32f(), state.planes32f(), out.planes32f()), kFloatTolerance);
RK_REG(rkdiWTInvColLift_B53_JPEG2K_16s_C1, step53(F, in.planes16s(), out.planes16s()));
RK_REG(rkdiWTInvColLift_B53_JPEG2K_32s_C1, step53(F, in.planes32s(), out.planes32s()));
RK_REG_Ibs(rkdiWTInvColLift_D97_JPEG2K_16s_C1,
           step97(F, in.planes16s(), state.planes16s(), out.planes16s()));
RK_REG_Ibs(rkdiWTInvColLift_D97_JPEG2K_32s_C1,
           step97(F, in.planes32s(), state.planes32s(), out.planes32s()));
RK_REG_Ibs(rkdiWTInvColLift_D97_JPEG2K_32f_C1,
           step97(F, in.planes32f(), state.planes32f(), out.planes32f()), kFloatTolerance);

}  // namespace
