// Adapter of the library's level shifts; what it has no function for goes sample by sample.
#include "samples.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <type_traits>

#include "rkd/rkdjpeg_levelshift.h"

namespace j2k {
namespace {

/// Functions of the library by type of sample and coefficient; one component, and three of a pixel.
template <typename S, typename P>
constexpr std::nullptr_t load1 = nullptr;
template <typename S, typename P>
constexpr std::nullptr_t store1 = nullptr;
template <typename S, typename P>
constexpr std::nullptr_t load3 = nullptr;
template <typename S, typename P>
constexpr std::nullptr_t store3 = nullptr;

template <>
constexpr auto load1<uint8_t, int16_t> = rkdiLevelShiftFwd_JPEG2K_8u16s_C1R;
template <>
constexpr auto store1<uint8_t, int16_t> = rkdiLevelShiftInv_JPEG2K_16s8u_C1R;
template <>
constexpr auto load1<uint8_t, int32_t> = rkdiLevelShiftFwd_JPEG2K_8u32s_C1R;
template <>
constexpr auto store1<uint8_t, int32_t> = rkdiLevelShiftInv_JPEG2K_32s8u_C1R;
template <>
constexpr auto load1<uint8_t, float> = rkdiLevelShiftFwd_JPEG2K_8u32f_C1R;
template <>
constexpr auto store1<uint8_t, float> = rkdiLevelShiftInv_JPEG2K_32f8u_C1R;
template <>
constexpr auto load1<uint16_t, int16_t> = rkdiLevelShiftFwd_JPEG2K_16u16s_C1R;
template <>
constexpr auto store1<uint16_t, int16_t> = rkdiLevelShiftInv_JPEG2K_16s16u_C1R;
template <>
constexpr auto load1<uint16_t, int32_t> = rkdiLevelShiftFwd_JPEG2K_16u32s_C1R;
template <>
constexpr auto store1<uint16_t, int32_t> = rkdiLevelShiftInv_JPEG2K_32s16u_C1R;
template <>
constexpr auto load1<uint16_t, float> = rkdiLevelShiftFwd_JPEG2K_16u32f_C1R;
template <>
constexpr auto store1<uint16_t, float> = rkdiLevelShiftInv_JPEG2K_32f16u_C1R;
template <>
constexpr auto load1<int32_t, int16_t> = rkdiLevelShiftFwd_JPEG2K_32s16s_C1R;
template <>
constexpr auto store1<int32_t, int16_t> = rkdiLevelShiftInv_JPEG2K_16s32s_C1R;
template <>
constexpr auto load1<int32_t, int32_t> = rkdiLevelShiftFwd_JPEG2K_32s_C1R;
template <>
constexpr auto store1<int32_t, int32_t> = rkdiLevelShiftInv_JPEG2K_32s_C1R;
template <>
constexpr auto load1<int32_t, float> = rkdiLevelShiftFwd_JPEG2K_32s32f_C1R;
template <>
constexpr auto store1<int32_t, float> = rkdiLevelShiftInv_JPEG2K_32f32s_C1R;
template <>
constexpr auto load3<uint8_t, int16_t> = rkdiLevelShiftFwd_JPEG2K_8u16s_C3P3R;
template <>
constexpr auto store3<uint8_t, int16_t> = rkdiLevelShiftInv_JPEG2K_16s8u_P3C3R;
template <>
constexpr auto load3<uint8_t, int32_t> = rkdiLevelShiftFwd_JPEG2K_8u32s_C3P3R;
template <>
constexpr auto store3<uint8_t, int32_t> = rkdiLevelShiftInv_JPEG2K_32s8u_P3C3R;
template <>
constexpr auto load3<uint8_t, float> = rkdiLevelShiftFwd_JPEG2K_8u32f_C3P3R;
template <>
constexpr auto store3<uint8_t, float> = rkdiLevelShiftInv_JPEG2K_32f8u_P3C3R;
template <>
constexpr auto load3<uint16_t, int16_t> = rkdiLevelShiftFwd_JPEG2K_16u16s_C3P3R;
template <>
constexpr auto store3<uint16_t, int16_t> = rkdiLevelShiftInv_JPEG2K_16s16u_P3C3R;
template <>
constexpr auto load3<uint16_t, int32_t> = rkdiLevelShiftFwd_JPEG2K_16u32s_C3P3R;
template <>
constexpr auto store3<uint16_t, int32_t> = rkdiLevelShiftInv_JPEG2K_32s16u_P3C3R;
template <>
constexpr auto load3<uint16_t, float> = rkdiLevelShiftFwd_JPEG2K_16u32f_C3P3R;
template <>
constexpr auto store3<uint16_t, float> = rkdiLevelShiftInv_JPEG2K_32f16u_P3C3R;

template <typename Visit>
void withPlaneType(Arithmetic arithmetic, const Visit& visit) {
  switch (arithmetic) {
    // NOLINTNEXTLINE(bugprone-branch-clone): alike but for the type
    case Arithmetic::narrow:
      visit(int16_t());
      break;
    case Arithmetic::wide:
      visit(int32_t());
      break;
    case Arithmetic::real:
      visit(float());
      break;
  }
}

template <typename Visit>
void withSampleType(SampleType type, const Visit& visit) {
  switch (type) {
    // NOLINTNEXTLINE(bugprone-branch-clone): alike but for the type
    case SampleType::u8:
      visit(uint8_t());
      break;
    case SampleType::u16:
      visit(uint16_t());
      break;
    case SampleType::s32:
      visit(int32_t());
      break;
  }
}

template <typename S>
S* sampleRow(const SampleView& samples, int y) {
  return reinterpret_cast<S*>(static_cast<std::byte*>(samples.data) + samples.rowStep * y);
}

/// What of a value of a plane an output sample is.
struct Shifted {
  int64_t offset, low, high;

  int32_t operator()(int32_t v) const {
    return int32_t(std::clamp<int64_t>(v + offset, low, high));
  }
  int32_t operator()(int16_t v) const {
    return std::clamp(v + int32_t(offset), int32_t(low), int32_t(high));
  }
  int32_t operator()(float v) const {
    // Clamped before it is made a whole number: what a damaged stream gives may be out of range.
    const float shifted = std::clamp(v + float(offset), float(low), float(high));
    return int32_t(std::lrint(shifted));
  }
};

Shifted shiftedFor(int precision, bool isSigned, SampleType type) {
  const int64_t half = int64_t(1) << (precision - 1);
  int64_t low = isSigned ? -half : 0, high = low + 2 * half - 1;
  int64_t offset = isSigned ? 0 : half;
  if (type == SampleType::s32) {
    low = std::max<int64_t>(low, INT32_MIN);
    high = std::min<int64_t>(high, INT32_MAX);
  } else if (isSigned) {
    offset += half;
    low += half;
    high += half;
  }
  return {offset, low, high};
}

/// Calls rows(y, count) for stretches of rows that one call can take: upwards it is single ones.
template <typename Rows>
bool inStretches(ptrdiff_t rowStep, int height, const Rows& rows) {
  if (rowStep > 0) return rows(0, height);
  for (int y = 0; y < height; ++y) {
    if (!rows(y, 1)) return false;
  }
  return true;
}

int stepOf(const SampleView& view, int width) {
  const ptrdiff_t bytes = view.pixelStep * width * ptrdiff_t(sizeof(int32_t));
  // Of single rows it does not matter, but for being large enough.
  return int(std::min<ptrdiff_t>(view.rowStep > 0 ? view.rowStep : bytes, INT32_MAX));
}

/// @return false when the library has no function for this; nothing may have been done then
template <bool Load, typename S, typename P>
bool byLibrary(const SampleGroup& group) {
  const PlaneView& first = group.planes[0];
  const SampleView& view = group.views[0];
  const int precision = group.precision;
  const int isSigned = group.isSigned && std::is_same_v<S, int32_t> ? 1 : 0;
  const int step = stepOf(view, first.width), planeStep = int(first.step);
  if (view.pixelStep == 1) {
    return inStretches(view.rowStep, first.height, [&](int y, int count) {
      const RkdiSize size = {first.width, count};
      if constexpr (Load) {
        return load1<S, P>(sampleRow<const S>(view, y), step, first.row<P>(y), planeStep, size,
                           precision, isSigned) == rkdStsNoErr;
      } else {
        return store1<S, P>(first.row<P>(y), planeStep, sampleRow<S>(view, y), step, size,
                            precision, isSigned) == rkdStsNoErr;
      }
    });
  }
  if constexpr (!std::is_same_v<S, int32_t>) {
    if (group.views.size() != 3) return false;
    // Where blue comes first the planes change places.
    const bool reversed = group.views[2].data < view.data;
    return inStretches(view.rowStep, first.height, [&](int y, int count) {
      const RkdiSize size = {first.width, count};
      P* const planes[3] = {group.planes[reversed ? 2 : 0].template row<P>(y),
                            group.planes[1].template row<P>(y),
                            group.planes[reversed ? 0 : 2].template row<P>(y)};
      const SampleView& lowest = group.views[reversed ? 2 : 0];
      if constexpr (Load) {
        return load3<S, P>(sampleRow<const S>(lowest, y), step, planes, planeStep, size, precision,
                           isSigned) == rkdStsNoErr;
      } else {
        return store3<S, P>(planes, planeStep, sampleRow<S>(lowest, y), step, size, precision,
                            isSigned) == rkdStsNoErr;
      }
    });
  }
  return false;
}

template <typename S, typename P>
void loadOne(const SampleView& samples, int32_t offset, const PlaneView& plane) {
  for (int y = 0; y < plane.height; ++y) {
    P* const dst = plane.row<P>(y);
    const S* const src = sampleRow<const S>(samples, y);
    for (int x = 0; x < plane.width; ++x) dst[x] = P(int32_t(src[x * samples.pixelStep]) - offset);
  }
}

template <typename S, typename P>
void storeOne(const PlaneView& plane, const Shifted& convert, const SampleView& samples) {
  for (int y = 0; y < plane.height; ++y) {
    const P* const src = plane.row<P>(y);
    S* const dst = sampleRow<S>(samples, y);
    for (int x = 0; x < plane.width; ++x) dst[x * samples.pixelStep] = S(convert(src[x]));
  }
}

/// Calls visit(sample, coefficient) with values of the two types of a group that is not empty.
template <typename Visit>
void withTypes(const SampleGroup& group, const Visit& visit) {
  const PlaneView& plane = group.planes[0];
  if (plane.width <= 0 || plane.height <= 0) return;
  withPlaneType(plane.arithmetic,
                [&](auto p) { withSampleType(group.views[0].type, [&](auto s) { visit(s, p); }); });
}

}  // namespace

bool arePixels(std::span<const SampleView> views) {
  if (views.size() != 3 || views[0].type == SampleType::s32) return false;
  const ptrdiff_t size = views[0].type == SampleType::u8 ? 1 : 2;
  const auto distance = [&](size_t from) {
    return static_cast<const std::byte*>(views[from + 1].data) -
           static_cast<const std::byte*>(views[from].data);
  };
  for (const SampleView& view : views) {
    if (view.type != views[0].type || view.pixelStep != 3 || view.rowStep != views[0].rowStep) {
      return false;
    }
  }
  return distance(0) == distance(1) && (distance(0) == size || distance(0) == -size);
}

SampleView moved(SampleView view, int64_t x, int64_t y) {
  const ptrdiff_t size = view.type == SampleType::u8 ? 1 : view.type == SampleType::u16 ? 2 : 4;
  view.data = static_cast<std::byte*>(view.data) + x * view.pixelStep * size + y * view.rowStep;
  return view;
}

void loadSamples(const SampleGroup& group) {
  withTypes(group, [&](auto s, auto p) {
    using S = decltype(s);
    using P = decltype(p);
    if (byLibrary<true, S, P>(group)) return;
    const bool centred = group.isSigned && group.views[0].type == SampleType::s32;
    const int32_t offset = centred ? 0 : int32_t(1U << std::min(group.precision - 1, 30));
    for (size_t c = 0; c < group.views.size(); ++c) {
      loadOne<S, P>(group.views[c], offset, group.planes[c]);
    }
  });
}

void storeSamples(const SampleGroup& group) {
  withTypes(group, [&](auto s, auto p) {
    using S = decltype(s);
    using P = decltype(p);
    if (byLibrary<false, S, P>(group)) return;
    const Shifted convert = shiftedFor(group.precision, group.isSigned, group.views[0].type);
    for (size_t c = 0; c < group.views.size(); ++c) {
      storeOne<S, P>(group.planes[c], convert, group.views[c]);
    }
  });
}

}  // namespace j2k
