// Level shift of wavelet samples: every level against the plain versions at every depth, and
// pictures that come back.
#include "rkd/rkdjpeg_levelshift.h"
#include "reference.h"
#include "regionkit.h"

using namespace rkdkit;

namespace {

template <class T>
constexpr int kBits = std::is_same_v<T, float> ? 31 : std::min<int>(8 * sizeof(T), 31);

/// What a pair of types has room for: all of the picture's, no more than 16 on the way to 16s.
template <class S, class D>
constexpr int room() {
  if (std::is_same_v<D, int16_t>) return std::min(kBits<S>, 16);
  return std::is_unsigned_v<S> ? kBits<S> : kBits<D>;
}

template <int C, class S, class D>
void expectDepths(RkdStatus (*function)(S, int, D, int, RkdiSize, int, int),
                  RkdStatus (*reference)(S, int, D, int, RkdiSize, int, int)) {
  using From = std::remove_cvref_t<decltype(**std::declval<S*>())>;
  using Source = std::remove_cv_t<std::remove_pointer_t<
      std::conditional_t<std::is_pointer_v<From>, From, std::remove_pointer_t<S>>>>;
  using To = std::remove_cvref_t<decltype(**std::declval<D*>())>;
  using Target = std::remove_cv_t<std::remove_pointer_t<
      std::conditional_t<std::is_pointer_v<To>, To, std::remove_pointer_t<D>>>>;
  constexpr int most = room<Source, Target>();
  for (const int depth : {1, 2, 5, 8, 11, 12, 15, 16, 17, 24, 30, 31}) {
    if (depth > most) break;
    for (const int isSigned : {0, 1}) {
      SCOPED_TRACE(testing::Message() << depth << " bits, signed " << isSigned);
      expectSameRegion<C>(function, reference, AnyValue(), depth, isSigned);
      if (testing::Test::HasFatalFailure()) return;
    }
  }
  alignas(8) const uint8_t zeros[64] = {};
  uint8_t out[64] = {};
  const void* const planes[3] = {zeros, zeros, zeros};
  void* const outPlanes[3] = {out, out, out};
  const auto source = [&] {
    if constexpr (std::is_pointer_v<From>)
      return reinterpret_cast<S>(planes);
    else
      return reinterpret_cast<S>(zeros);
  }();
  const auto target = [&] {
    if constexpr (std::is_pointer_v<To>)
      return reinterpret_cast<D>(outPlanes);
    else
      return reinterpret_cast<D>(out);
  }();
  for (const int depth : {-1, 0, most + 1, 32, 64}) {
    EXPECT_EQ(rkdStsBadArgErr, function(source, 16, target, 16, {1, 1}, depth, 0)) << depth;
  }
}

#define SHIFT(C, kind)                                                \
  do {                                                                \
    SCOPED_TRACE(#kind);                                              \
    expectDepths<C>(rkdiLevelShift##kind, ref::rkdiLevelShift##kind); \
  } while (false)

TEST(LevelShift2K, EveryLevelEqualsTheReferenceAtEveryDepth) {
  forEachLevel([] {
    SHIFT(1, Fwd_JPEG2K_8u16s_C1R);
    SHIFT(1, Inv_JPEG2K_16s8u_C1R);
    SHIFT(3, Fwd_JPEG2K_8u16s_C3P3R);
    SHIFT(3, Inv_JPEG2K_16s8u_P3C3R);
    SHIFT(1, Fwd_JPEG2K_8u32s_C1R);
    SHIFT(1, Inv_JPEG2K_32s8u_C1R);
    SHIFT(3, Fwd_JPEG2K_8u32s_C3P3R);
    SHIFT(3, Inv_JPEG2K_32s8u_P3C3R);
    SHIFT(1, Fwd_JPEG2K_8u32f_C1R);
    SHIFT(1, Inv_JPEG2K_32f8u_C1R);
    SHIFT(3, Fwd_JPEG2K_8u32f_C3P3R);
    SHIFT(3, Inv_JPEG2K_32f8u_P3C3R);
    SHIFT(1, Fwd_JPEG2K_16u16s_C1R);
    SHIFT(1, Inv_JPEG2K_16s16u_C1R);
    SHIFT(3, Fwd_JPEG2K_16u16s_C3P3R);
    SHIFT(3, Inv_JPEG2K_16s16u_P3C3R);
    SHIFT(1, Fwd_JPEG2K_16u32s_C1R);
    SHIFT(1, Inv_JPEG2K_32s16u_C1R);
    SHIFT(3, Fwd_JPEG2K_16u32s_C3P3R);
    SHIFT(3, Inv_JPEG2K_32s16u_P3C3R);
    SHIFT(1, Fwd_JPEG2K_16u32f_C1R);
    SHIFT(1, Inv_JPEG2K_32f16u_C1R);
    SHIFT(3, Fwd_JPEG2K_16u32f_C3P3R);
    SHIFT(3, Inv_JPEG2K_32f16u_P3C3R);
    SHIFT(1, Fwd_JPEG2K_32s16s_C1R);
    SHIFT(1, Inv_JPEG2K_16s32s_C1R);
    SHIFT(1, Fwd_JPEG2K_32s_C1R);
    SHIFT(1, Inv_JPEG2K_32s_C1R);
    SHIFT(1, Fwd_JPEG2K_32s32f_C1R);
    SHIFT(1, Inv_JPEG2K_32f32s_C1R);
  });
}

/// Pictures of every depth through planes of every type.
template <class Picture, class Plane>
void expectComesBack(RkdStatus (*forward)(const Picture*, int, Plane*, int, RkdiSize, int, int),
                     RkdStatus (*inverse)(const Plane*, int, Picture*, int, RkdiSize, int, int)) {
  Random random;
  const RkdiSize size = sz(70, 2);
  const int most =
      std::is_same_v<Plane, float> ? std::min(kBits<Picture>, 24) : room<Picture, Plane>();
  for (int depth = 1; depth <= most; ++depth) {
    for (const int isSigned : {0, 1}) {
      const int half = 1 << (depth - 1);
      Canvas<Picture> before(size), after(size);
      before.fillLimitsAndRandom(random, isSigned ? -half : 0,
                                 isSigned ? half - 1 : 2 * (half - 1) + 1);
      Canvas<Plane> plane(size);
      ASSERT_EQ(0, forward(before.data(), before.step(), plane.data(), plane.step(), size, depth,
                           isSigned));
      ASSERT_EQ(0, inverse(plane.data(), plane.step(), after.data(), after.step(), size, depth,
                           isSigned));
      ASSERT_TRUE(after.sameAs(before)) << depth << " bits, signed " << isSigned;
    }
  }
}

TEST(LevelShift2K, SamplesOfTheDepthComeBack) {
  expectComesBack(rkdiLevelShiftFwd_JPEG2K_8u16s_C1R, rkdiLevelShiftInv_JPEG2K_16s8u_C1R);
  expectComesBack(rkdiLevelShiftFwd_JPEG2K_16u16s_C1R, rkdiLevelShiftInv_JPEG2K_16s16u_C1R);
  expectComesBack(rkdiLevelShiftFwd_JPEG2K_16u32f_C1R, rkdiLevelShiftInv_JPEG2K_32f16u_C1R);
  expectComesBack(rkdiLevelShiftFwd_JPEG2K_32s_C1R, rkdiLevelShiftInv_JPEG2K_32s_C1R);
  expectComesBack(rkdiLevelShiftFwd_JPEG2K_32s32f_C1R, rkdiLevelShiftInv_JPEG2K_32f32s_C1R);
}

}  // namespace
