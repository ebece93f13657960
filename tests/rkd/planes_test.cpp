// Pixels to planes and back, inversion and point transform: every level against the plain versions.
#include "rkd/rkdi.h"
#include "rkd/rkdjpeg_pred.h"
#include "reference.h"
#include "regionkit.h"

using namespace rkdkit;

namespace {

constexpr AnyValue kAny;

TEST(Planes, EveryLevelCopiesAsTheReferenceDoes) {
  forEachLevel([] {
    SAME_REGION(3, rkdiCopy_8u_C3P3R, kAny);
    SAME_REGION(4, rkdiCopy_8u_C4P4R, kAny);
    SAME_REGION(3, rkdiCopy_16u_C3P3R, kAny);
    SAME_REGION(4, rkdiCopy_16u_C4P4R, kAny);
    SAME_REGION(3, rkdiCopy_8u_P3C3R, kAny);
    SAME_REGION(4, rkdiCopy_8u_P4C4R, kAny);
    SAME_REGION(3, rkdiCopy_16u_P3C3R, kAny);
    SAME_REGION(4, rkdiCopy_16u_P4C4R, kAny);
  });
}

TEST(Planes, EveryLevelInvertsAsTheReferenceDoes) {
  forEachLevel([] {
    SAME_REGION(1, rkdiInvert_8u_C1R, kAny);
    SAME_REGION(4, rkdiInvert_8u_C4R, kAny);
    SAME_REGION(1, rkdiInvert_8u_C1IR, kAny);
    SAME_REGION(4, rkdiInvert_8u_C4IR, kAny);
  });
}

TEST(PointTransform, EveryLevelEqualsTheReference) {
  forEachLevel([] {
    for (const int bits : {0, 1, 3, 7, 8, 15}) {
      SCOPED_TRACE(bits);
      SAME_REGION(1, rkdiPointTransformFwd_JPEG_8u16s_C1R, kAny, bits);
      SAME_REGION(1, rkdiPointTransformFwd_JPEG_16u16s_C1R, kAny, bits);
      SAME_REGION(1, rkdiPointTransformInv_JPEG_16s8u_C1R, kAny, bits);
      SAME_REGION(1, rkdiPointTransformInv_JPEG_16s16u_C1R, kAny, bits);
    }
  });
}

TEST(PointTransform, ShiftsOutOfRangeAreRefused) {
  const uint8_t sample = 200;
  int16_t shifted = 5;
  for (const int bits : {-1, 16}) {
    EXPECT_EQ(rkdStsBadArgErr,
              rkdiPointTransformFwd_JPEG_8u16s_C1R(&sample, 1, &shifted, 2, {1, 1}, bits));
  }
  EXPECT_EQ(5, shifted);
}

}  // namespace
