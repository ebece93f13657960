/// Three throw-away suites, written as real ones are: one whose coder state is restored inside the
/// timed stretch, one that registers loop and statistical wrappers only and holds the odd cases,
/// and one over images.
#include "fakes.h"
#include "rkimagetest.h"
#include "rksuite.h"

namespace coder {
namespace {

rkVector src, dst;
int position;
tzIterator<int> lengthParm("Length", "", {16, 48});

template <class B>
struct State;
template <>
struct State<rkLibrary> {
  static inline FakeState working, pristine;
};
template <>
struct State<rkReference> {
  static inline ref::FakeState working, pristine;
};

template <class B>
int restore() {
  State<B>::working = State<B>::pristine;
  position = 0;
  return 0;
}

class TimjFakeCoder : public rkTest {
 public:
  explicit TimjFakeCoder(const rkLine& line) : rkTest(line) {}

 protected:
  bool canStart() override {
    regCacheParm(lengthParm, dst);
    return true;
  }
  bool initData() override {
    src.init(func(), rkSrc);
    dst.init(func(), rkDst);
    return src.createVector(lengthParm.value(), rkModeRandom, 1, 9) &&
           dst.createVector(lengthParm.value(), rkModeConst);
  }
  void flushData() override {
    src.deleteVector();
    dst.deleteVector();
  }
  double getDivisor() const override { return src.length(); }
  tzString getUnit() const override { return "e"; }
};

RK_SUITE(TimjFakeCoder, "src/p_fakecoder",
         RK_NEEDS(rkdiFakeCopy_JPEG_16s_C1) RK_COUNTERS(position));

RK_REG_I_X(rkdiFakeCode_JPEG_8u_C1, restore,
           F(src.data8u(), src.length(), dst.data8u(), &position, &State<B>::working));

}  // namespace
}  // namespace coder

namespace loops {
namespace {

rkVector src, dst, bytes;
int count;  // of performances since the start: nothing restores it

class TimjFakeLoops : public rkTest {
 public:
  explicit TimjFakeLoops(const rkLine& line) : rkTest(line) {}

 protected:
  bool initData() override {
    src.init(rk16s);
    dst.init(rk16s);
    bytes.init(rk8u);
    const rkRange range = fillRange({-100, 100});
    return src.createVector(40, rkModeRandom, range.low, range.high) &&
           dst.createVector(40, rkModeValue, 5) && bytes.createVector(8, rkModeZero) &&
           (!func().inplace() || dst.reserveCopy());
  }
  void flushData() override {
    src.deleteVector();
    dst.deleteVector();
    bytes.deleteVector();
  }
  double getDivisor() const override { return src.length(); }
  tzString getUnit() const override { return "e"; }
};

RK_SUITE(TimjFakeLoops, "src/p_fakeloops", RK_COUNTERS(count));

RK_REG_LOOPS(rkdiFakeCopy_JPEG_16s_C1, rkNoRestore, F(src.data16s(), dst.data16s(), src.length()));
RK_REG(rkdiFakeWrong_JPEG_16s_C1, F(src.data16s(), dst.data16s(), src.length()), 1);
RK_REG_Ibs(rkdiFakeInPlace_JPEG_16s_C1I, F(dst.data16s(), dst.length()));
RK_REG(rkdiFakeCount_JPEG_8u_C1, F(&count));
RK_REG(rkdiFakeCrash_JPEG_8u_C1, F(bytes.data8u()));
RK_REG(rkdiFakeMissing_JPEG_8u_C1, F(bytes.data8u()));

}  // namespace
}  // namespace loops

namespace images {
namespace {

rkImagePair io;

class TimjFakeImages : public rkImageTest {
 public:
  explicit TimjFakeImages(const rkLine& line) : rkImageTest(line, io) {}
};

RK_SUITE(TimjFakeImages, "src/p_fakeimages");

RK_REG(rkdiFakeRows_JPEG_32f_C1R,
       F(io.src.data32f(), io.srcStep, io.dst.data32f(), io.dstStep, io.size), 1);

}  // namespace
}  // namespace images
