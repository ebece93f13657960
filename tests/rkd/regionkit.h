/// @file
/// A region function beside its plain version: sizes around the vector lengths, several places,
/// rows with and without gaps between them. The operands' shapes come from the function's
/// signature.
#pragma once

#include "rkdkit.h"

namespace rkdkit {

inline constexpr RkdiSize kRegionSizes[] = {sz(1, 1),  sz(3, 2),  sz(15, 2), sz(16, 3), sz(17, 2),
                                            sz(33, 3), sz(63, 1), sz(64, 2), sz(65, 2), sz(131, 2)};
inline constexpr Place kRegionPlaces[] = {{0, 0}, {1, 5}, {34, 0}, {62, 16}};

/// Calls body(size, place of the source, place of the destination).
template <class Body>
void forEachRegion(Body body) {
  int round = 0;
  for (const RkdiSize size : kRegionSizes) {
    for (const Place place : kRegionPlaces) {
      SCOPED_TRACE(testing::Message() << size << " alignment " << place.offset);
      body(size, place, Place{63 - place.offset, round++ % 3 == 0 ? 6 : 0});
      if (testing::Test::HasFatalFailure()) return;
    }
  }
}

/// C samples a pixel on both sides. fill(canvas, random) makes the source.
template <int C, class S, class D, class Fill, class... P>
void expectSameRegion(RkdStatus (*function)(const S*, int, D*, int, RkdiSize, P...),
                      RkdStatus (*reference)(const S*, int, D*, int, RkdiSize, P...), Fill fill,
                      std::type_identity_t<P>... parameters) {
  Random random;
  forEachRegion([&](RkdiSize size, Place from, Place to) {
    Canvas<S> src(size, C, from);
    fill(src, random);
    Canvas<D> got(size, C, to), want(size, C);
    ASSERT_EQ(0, reference(src.data(), src.step(), want.data(), want.step(), size, parameters...));
    ASSERT_EQ(0, function(src.data(), src.step(), got.data(), got.step(), size, parameters...));
    ASSERT_TRUE(got.sameAs(want));
    ASSERT_TRUE(got.marginIntact());
  });
}

/// Interleaved to planar.
template <int C, class S, class D, class Fill, class... P>
void expectSameRegion(RkdStatus (*function)(const S*, int, D* const*, int, RkdiSize, P...),
                      RkdStatus (*reference)(const S*, int, D* const*, int, RkdiSize, P...),
                      Fill fill, std::type_identity_t<P>... parameters) {
  Random random;
  forEachRegion([&](RkdiSize size, Place from, Place to) {
    Canvas<S> src(size, C, from);
    fill(src, random);
    CanvasPlanes<D, C> got(size, to), want(size);
    ASSERT_EQ(0, reference(src.data(), src.step(), want.data(), want.step(), size, parameters...));
    ASSERT_EQ(0, function(src.data(), src.step(), got.data(), got.step(), size, parameters...));
    ASSERT_TRUE(got.sameAs(want));
    ASSERT_TRUE(got.marginIntact());
  });
}

/// Planar to interleaved.
template <int C, class S, class D, class Fill, class... P>
void expectSameRegion(RkdStatus (*function)(const S* const*, int, D*, int, RkdiSize, P...),
                      RkdStatus (*reference)(const S* const*, int, D*, int, RkdiSize, P...),
                      Fill fill, std::type_identity_t<P>... parameters) {
  Random random;
  forEachRegion([&](RkdiSize size, Place from, Place to) {
    CanvasPlanes<S, C> src(size, from);
    for (int p = 0; p < C; ++p) fill(src[p], random);
    Canvas<D> got(size, C, to), want(size, C);
    ASSERT_EQ(
        0, reference(src.constData(), src.step(), want.data(), want.step(), size, parameters...));
    ASSERT_EQ(0,
              function(src.constData(), src.step(), got.data(), got.step(), size, parameters...));
    ASSERT_TRUE(got.sameAs(want));
    ASSERT_TRUE(got.marginIntact());
  });
}

/// In place.
template <int C, class T, class Fill, class... P>
void expectSameRegion(RkdStatus (*function)(T*, int, RkdiSize, P...),
                      RkdStatus (*reference)(T*, int, RkdiSize, P...), Fill fill,
                      std::type_identity_t<P>... parameters) {
  Random random;
  forEachRegion([&](RkdiSize size, Place, Place place) {
    Canvas<T> got(size, C, place), want(size, C);
    fill(got, random);
    want.copyFrom(got);
    ASSERT_EQ(0, reference(want.data(), want.step(), size, parameters...));
    ASSERT_EQ(0, function(got.data(), got.step(), size, parameters...));
    ASSERT_TRUE(got.sameAs(want));
    ASSERT_TRUE(got.marginIntact());
  });
}

/// Integers: every value of the type, its limits often. Floats: of all magnitudes that fit 32 bits
/// and twice as large ones, some halfway between integers, some just below a half.
struct AnyValue {
  template <class T>
  void operator()(Canvas<T>& canvas, Random& random) const {
    if constexpr (std::is_floating_point_v<T>) {
      constexpr float kBelowHalf = .5F - 0x1p-25F;
      canvas.fill([&] {
        const int v = random.between(INT32_MIN, INT32_MAX) >> random.between(0, 31);
        const unsigned choice = random.bits() % 16;
        return choice == 0  ? random.bits() % 2 == 0 ? kBelowHalf : -kBelowHalf
               : choice < 4 ? static_cast<float>(v) + .5F
                            : std::ldexp(static_cast<float>(v), random.between(-6, 1));
      });
    } else {
      canvas.fillLimitsAndRandom(random);
    }
  }
};

}  // namespace rkdkit

/// The function at the level in use beside ref's.
#define SAME_REGION(C, name, ...)                      \
  do {                                                 \
    SCOPED_TRACE(#name);                               \
    expectSameRegion<C>(name, ref::name, __VA_ARGS__); \
  } while (false)
