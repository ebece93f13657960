// Level shift: the model of a family's test. Every level against the reference, on sizes around the
// vector lengths, at every alignment and with rows apart.
#include "rkd/rkdjpeg_dct.h"
#include "reference.h"
#include "rkdkit.h"

using namespace rkdkit;

namespace {

template <class S, class D, class Function>
RkdStatus call(Function function, const Canvas<S>& src, Canvas<D>& dst) {
  return function(src.data(), src.step(), dst.data(), dst.step(), src.size());
}

template <class S, class D, class Function>
void expectEqualsReference(Function function, Function reference) {
  Random random;
  for (const RkdiSize size : {sz(1, 1), sz(7, 3), sz(16, 2), sz(17, 2), sz(33, 3), sz(67, 5)}) {
    int round = 0;
    for (const Place place : places()) {
      Canvas<S> src(size, 1, place);
      src.fillLimitsAndRandom(random);
      // Rows apart on both sides, on either or on none: there they are worked on as one.
      Canvas<D> got(size, 1, {63 - place.offset, round++ % 3 == 0 ? 5 : 0});
      Canvas<D> want(size);
      EXPECT_EQ(call(reference, src, want), call(function, src, got));
      ASSERT_TRUE(got.sameAs(want)) << size << " alignment " << place.offset;
      ASSERT_TRUE(got.marginIntact()) << size << " alignment " << place.offset;
    }
  }
}

TEST(LevelShift, EveryLevelEqualsTheReferenceOnEveryWidth) {
  forEachLevel([] {
    expectEqualsReference<int16_t, uint8_t>(rkdiAdd128_JPEG_16s8u_C1R,
                                            ref::rkdiAdd128_JPEG_16s8u_C1R);
    expectEqualsReference<uint8_t, int16_t>(rkdiSub128_JPEG_8u16s_C1R,
                                            ref::rkdiSub128_JPEG_8u16s_C1R);
  });
}

}  // namespace
