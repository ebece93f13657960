// Level shift with change of type: picture samples to and from samples of a transform.
//
// Up to 16 bits everything goes through 16-bit lanes: once shifted, a sample fits them, and a
// coefficient that does not is clamped anyway.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "jpeg2000/levelshift.cpp"
#include "hwy/foreach_target.h"

#include "common/bytes-inl.h"
#include "common/levels.h"
#include "common/round-inl.h"
#include "common/tiles-inl.h"
#include "hwy/highway.h"
#include "jpeg2000/depth.h"
#include "rkd/rkdjpeg_levelshift.h"

HWY_BEFORE_NAMESPACE();
namespace rkd::HWY_NAMESPACE {

using DU16 = hn::Repartition<uint16_t, D8>;
using DF = hn::Repartition<float, D8>;
using VF = hn::Vec<DF>;

template <class T>
using LanesOf = hn::Repartition<T, D8>;
template <class T>
inline constexpr size_t kLanesOf = hn::MaxLanes(LanesOf<T>());

// ---- forward: 16-bit lanes in the order of memory to samples of a transform ----

HWY_INLINE void put(V16 v, int16_t* to) { hn::StoreU(v, D16(), to); }
RKD_BLOCK void put(V16 v, int32_t* to) {
  const D32 d;
  const hn::Half<D16> half;
  hn::StoreU(hn::PromoteTo(d, hn::LowerHalf(half, v)), d, to);
  hn::StoreU(hn::PromoteTo(d, hn::UpperHalf(half, v)), d, to + kLanesOf<int32_t>);
}
RKD_BLOCK void put(V16 v, float* to) {
  const D32 d;
  const DF df;
  const hn::Half<D16> half;
  hn::StoreU(hn::ConvertTo(df, hn::PromoteTo(d, hn::LowerHalf(half, v))), df, to);
  hn::StoreU(hn::ConvertTo(df, hn::PromoteTo(d, hn::UpperHalf(half, v))), df, to + kLanesOf<float>);
}

// Bytes are flipped about their sign if they are signed, and lessened by what is then their zero.
struct ForwardShift {
  V16 flip, less;
  HWY_INLINE ForwardShift(Depth depth, size_t sampleBytes) {
    const int sign = depth.isSigned && sampleBytes == 1 ? 128 : 0;
    flip = hn::Set(D16(), static_cast<int16_t>(sign));
    less = hn::Set(D16(), static_cast<int16_t>(sign + depth.offset()));
  }
  HWY_INLINE V16 operator()(V16 v) const { return hn::Sub(hn::Xor(v, flip), less); }
};

template <class D>
HWY_INLINE void shiftTo(const ForwardShift& shift, V8 v, D* to) {
  put(shift(first16(v)), to);
  put(shift(second16(v)), to + kTile / 2);
}
template <class D>
HWY_INLINE void shiftTo(const ForwardShift& shift, hn::Vec<DU16> v, D* to) {
  put(shift(hn::BitCast(D16(), v)), to);
}

template <class S, class D, int DP>
HWY_INLINE void forward(const Region<S, 1, D, DP>& region, Depth depth) {
  const LanesOf<S> d;
  const ForwardShift shift(depth, sizeof(S));
  overTilesOf<kLanesOf<S>, DP, 1>(region, [&](const S* const* from, D* const* to) HWY_ATTR {
    if constexpr (DP == 1) {
      shiftTo(shift, hn::LoadU(d, from[0]), to[0]);
    } else {
      hn::Vec<LanesOf<S>> v[3];
      hn::LoadInterleaved3(d, from[0], v[0], v[1], v[2]);
      for (int p = 0; p < 3; ++p) shiftTo(shift, v[p], to[p]);
    }
  });
}

// ---- inverse: samples of a transform to 16-bit lanes and on to samples of a picture ----

HWY_INLINE V32 ints(const int32_t* from) { return hn::LoadU(D32(), from); }
HWY_INLINE V32 ints(const float* from) { return nearest17(hn::LoadU(DF(), from)); }

struct InverseShift {
  V16 least, most, more;
  HWY_INLINE explicit InverseShift(Depth depth) {
    least = hn::Set(D16(), static_cast<int16_t>(depth.least()));
    most = hn::Set(D16(), static_cast<int16_t>(depth.most()));
    more = hn::Set(D16(), static_cast<int16_t>(depth.offset()));
  }
  HWY_INLINE V16 operator()(V16 v) const { return hn::Add(hn::Min(hn::Max(v, least), most), more); }
};

// The low bytes of words. 128-bit block by block, as pack8 leaves them.
HWY_INLINE V8 lowBytes(V16 a, V16 b) {
  const V16 mask = hn::Set(D16(), 255);
  return pack8(hn::And(a, mask), hn::And(b, mask));
}
// Two vectors of words to bytes in order.
HWY_INLINE V8 picture8(const InverseShift& shift, const int16_t* from) {
  const D16 d;
  const V16 mask = hn::Set(d, 255);
  return packInOrder(hn::And(shift(hn::LoadU(d, from)), mask),
                     hn::And(shift(hn::LoadU(d, from + kTile / 2)), mask));
}
// Four vectors, whose blocks come out in turns.
template <class S>
RKD_BLOCK V8 picture8(const InverseShift& shift, const S* from) {
  constexpr size_t n = kLanesOf<S>;
  const V16 first = pack16(ints(from), ints(from + n));
  const V16 second = pack16(ints(from + 2 * n), ints(from + 3 * n));
  const V8 inTurns = lowBytes(shift(first), shift(second));
  if constexpr (kBlocks == 1) {
    return inTurns;
  } else {
    HWY_ALIGN int32_t order[kLanesOf<int32_t>];
    for (int i = 0; i < 4 * kBlocks; ++i) order[i] = i % kBlocks * 4 + i / kBlocks;
    const D32 d;
    return hn::BitCast(
        D8(), hn::TableLookupLanes(hn::BitCast(d, inTurns), hn::SetTableIndices(d, order)));
  }
}

HWY_INLINE hn::Vec<DU16> picture16(const InverseShift& shift, const int16_t* from) {
  return hn::BitCast(DU16(), shift(hn::LoadU(D16(), from)));
}
template <class S>
RKD_BLOCK hn::Vec<DU16> picture16(const InverseShift& shift, const S* from) {
  const V16 inTurns = shift(pack16(ints(from), ints(from + kLanesOf<S>)));
  if constexpr (kBlocks == 1) {
    return hn::BitCast(DU16(), inTurns);
  } else {
    HWY_ALIGN int64_t order[kLanesOf<int64_t>];
    for (int i = 0; i < 2 * kBlocks; ++i) order[i] = i % kBlocks * 2 + i / kBlocks;
    const LanesOf<int64_t> d;
    return hn::BitCast(
        DU16(), hn::TableLookupLanes(hn::BitCast(d, inTurns), hn::SetTableIndices(d, order)));
  }
}

template <class D, class S>
HWY_INLINE hn::Vec<LanesOf<D>> pictureOf(const InverseShift& shift, const S* from) {
  if constexpr (sizeof(D) == 1) {
    return picture8(shift, from);
  } else {
    return picture16(shift, from);
  }
}

template <class S, int SP, class D>
HWY_INLINE void inverse(const Region<S, SP, D, 1>& region, Depth depth) {
  const LanesOf<D> d;
  const InverseShift shift(depth);
  overTilesOf<kLanesOf<D>, 1, SP>(region, [&](const S* const* from, D* const* to) HWY_ATTR {
    if constexpr (SP == 1) {
      hn::StoreU(pictureOf<D>(shift, from[0]), d, to[0]);
    } else {
      const hn::Vec<LanesOf<D>> v[3] = {pictureOf<D>(shift, from[0]), pictureOf<D>(shift, from[1]),
                                        pictureOf<D>(shift, from[2])};
      if constexpr (sizeof(D) == 1) {
        storeThree(v, to[0]);
      } else {
        hn::StoreInterleaved3(v[0], v[1], v[2], d, to[0]);
      }
    }
  });
}

// ---- picture samples of 32 bits ----

template <class D>
HWY_INLINE void forward(const Region<int32_t, 1, D, 1>& region, Depth depth) {
  const D32 d;
  const V32 less = hn::Set(d, depth.offset());
  overRows<1, 1>(region, [&](const int32_t* src, D* dst, size_t width) HWY_ATTR {
    overRow(width, hn::Lanes(d), [&](size_t x, auto amount) RKD_BODY {
      const V32 v = hn::Sub(load(d, src + x, amount), less);
      if constexpr (std::is_same_v<D, float>) {
        store(hn::ConvertTo(DF(), v), DF(), dst + x, amount);
      } else if constexpr (sizeof(D) == 2) {
        const hn::Rebind<int16_t, D32> d16;
        store(hn::DemoteTo(d16, v), d16, dst + x, amount);
      } else {
        store(v, d, dst + x, amount);
      }
    });
  });
}

template <class S>
HWY_INLINE void inverse(const Region<S, 1, int32_t, 1>& region, Depth depth) {
  const D32 d;
  const V32 least = hn::Set(d, depth.least()), most = hn::Set(d, depth.most());
  const V32 more = hn::Set(d, depth.offset());
  overRows<1, 1>(region, [&](const S* src, int32_t* dst, size_t width) HWY_ATTR {
    overRow(width, hn::Lanes(d), [&](size_t x, auto amount) RKD_BODY {
      V32 v;
      if constexpr (std::is_same_v<S, float>) {
        v = nearest32(load(DF(), src + x, amount));
      } else if constexpr (sizeof(S) == 2) {
        v = hn::PromoteTo(d, load(hn::Rebind<int16_t, D32>(), src + x, amount));
      } else {
        v = load(d, src + x, amount);
      }
      store(hn::Add(hn::Min(hn::Max(v, least), most), more), d, dst + x, amount);
    });
  });
}

void fwd8u16s(const Rows<uint8_t, int16_t>& r, Depth depth) { forward(r, depth); }
void fwd8u32s(const Rows<uint8_t, int32_t>& r, Depth depth) { forward(r, depth); }
void fwd8u32f(const Rows<uint8_t, float>& r, Depth depth) { forward(r, depth); }
void fwd16u16s(const Rows<uint16_t, int16_t>& r, Depth depth) { forward(r, depth); }
void fwd16u32s(const Rows<uint16_t, int32_t>& r, Depth depth) { forward(r, depth); }
void fwd16u32f(const Rows<uint16_t, float>& r, Depth depth) { forward(r, depth); }
void fwd32s16s(const Rows<int32_t, int16_t>& r, Depth depth) { forward(r, depth); }
void fwd32s32s(const Rows<int32_t, int32_t>& r, Depth depth) { forward(r, depth); }
void fwd32s32f(const Rows<int32_t, float>& r, Depth depth) { forward(r, depth); }
void fwdSplit8u16s(const Region<uint8_t, 1, int16_t, 3>& r, Depth depth) { forward(r, depth); }
void fwdSplit8u32s(const Region<uint8_t, 1, int32_t, 3>& r, Depth depth) { forward(r, depth); }
void fwdSplit8u32f(const Region<uint8_t, 1, float, 3>& r, Depth depth) { forward(r, depth); }
void fwdSplit16u16s(const Region<uint16_t, 1, int16_t, 3>& r, Depth depth) { forward(r, depth); }
void fwdSplit16u32s(const Region<uint16_t, 1, int32_t, 3>& r, Depth depth) { forward(r, depth); }
void fwdSplit16u32f(const Region<uint16_t, 1, float, 3>& r, Depth depth) { forward(r, depth); }
void inv16s8u(const Rows<int16_t, uint8_t>& r, Depth depth) { inverse(r, depth); }
void inv32s8u(const Rows<int32_t, uint8_t>& r, Depth depth) { inverse(r, depth); }
void inv32f8u(const Rows<float, uint8_t>& r, Depth depth) { inverse(r, depth); }
void inv16s16u(const Rows<int16_t, uint16_t>& r, Depth depth) { inverse(r, depth); }
void inv32s16u(const Rows<int32_t, uint16_t>& r, Depth depth) { inverse(r, depth); }
void inv32f16u(const Rows<float, uint16_t>& r, Depth depth) { inverse(r, depth); }
void inv16s32s(const Rows<int16_t, int32_t>& r, Depth depth) { inverse(r, depth); }
void inv32s32s(const Rows<int32_t, int32_t>& r, Depth depth) { inverse(r, depth); }
void inv32f32s(const Rows<float, int32_t>& r, Depth depth) { inverse(r, depth); }
void invJoin16s8u(const Region<int16_t, 3, uint8_t, 1>& r, Depth depth) { inverse(r, depth); }
void invJoin32s8u(const Region<int32_t, 3, uint8_t, 1>& r, Depth depth) { inverse(r, depth); }
void invJoin32f8u(const Region<float, 3, uint8_t, 1>& r, Depth depth) { inverse(r, depth); }
void invJoin16s16u(const Region<int16_t, 3, uint16_t, 1>& r, Depth depth) { inverse(r, depth); }
void invJoin32s16u(const Region<int32_t, 3, uint16_t, 1>& r, Depth depth) { inverse(r, depth); }
void invJoin32f16u(const Region<float, 3, uint16_t, 1>& r, Depth depth) { inverse(r, depth); }

}  // namespace rkd::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace rkd {
HWY_EXPORT(fwd8u16s);
HWY_EXPORT(fwd8u32s);
HWY_EXPORT(fwd8u32f);
HWY_EXPORT(fwd16u16s);
HWY_EXPORT(fwd16u32s);
HWY_EXPORT(fwd16u32f);
HWY_EXPORT(fwd32s16s);
HWY_EXPORT(fwd32s32s);
HWY_EXPORT(fwd32s32f);
HWY_EXPORT(fwdSplit8u16s);
HWY_EXPORT(fwdSplit8u32s);
HWY_EXPORT(fwdSplit8u32f);
HWY_EXPORT(fwdSplit16u16s);
HWY_EXPORT(fwdSplit16u32s);
HWY_EXPORT(fwdSplit16u32f);
HWY_EXPORT(inv16s8u);
HWY_EXPORT(inv32s8u);
HWY_EXPORT(inv32f8u);
HWY_EXPORT(inv16s16u);
HWY_EXPORT(inv32s16u);
HWY_EXPORT(inv32f16u);
HWY_EXPORT(inv16s32s);
HWY_EXPORT(inv32s32s);
HWY_EXPORT(inv32f32s);
HWY_EXPORT(invJoin16s8u);
HWY_EXPORT(invJoin32s8u);
HWY_EXPORT(invJoin32f8u);
HWY_EXPORT(invJoin16s16u);
HWY_EXPORT(invJoin32s16u);
HWY_EXPORT(invJoin32f16u);

namespace {

// The bits of a sample that source and destination have room for. Coefficients in 16s may belong to
// deeper samples, of which they are the small ones; what is shifted to 16s may not.
template <class S, class D>
constexpr int kRoomOf = [] {
  if (std::is_same_v<D, int16_t>) return std::min<int>(8 * sizeof(S), 16);
  const size_t bytes = std::is_unsigned_v<S> ? sizeof(S) : sizeof(D);
  return std::min<int>(8 * static_cast<int>(bytes), 31);
}();

template <class Src, class Dst, class Kernel>
RkdStatus runShift(Kernel kernel, Src src, Dst dst, RkdiSize size, int depth, int isSigned,
                   int room) {
  if (depth < 1 || depth > room) return rkdStsBadArgErr;
  return runRegion(kernel, src, dst, size, Depth{depth, isSigned != 0});
}

}  // namespace
}  // namespace rkd

using namespace rkd;

#define SHIFT_PIXELS(Name, kernel, S, D)                                                   \
  RkdStatus Name(const S* src, int srcStep, D* dst, int dstStep, RkdiSize size, int depth, \
                 int isSigned) {                                                           \
    return runShift(RKD_AT_LEVEL(kernel), Pixels<const S, 1>{src, srcStep},                \
                    Pixels<D, 1>{dst, dstStep}, size, depth, isSigned, kRoomOf<S, D>);     \
  }
#define SHIFT_TO_PLANES(Name, kernel, S, D)                                              \
  RkdStatus Name(const S* src, int srcStep, D* const dst[3], int dstStep, RkdiSize size, \
                 int depth, int isSigned) {                                              \
    return runShift(RKD_AT_LEVEL(kernel), Pixels<const S, 3>{src, srcStep},              \
                    Planes<D, 3>{dst, dstStep}, size, depth, isSigned, kRoomOf<S, D>);   \
  }
#define SHIFT_TO_PIXELS(Name, kernel, S, D)                                              \
  RkdStatus Name(const S* const src[3], int srcStep, D* dst, int dstStep, RkdiSize size, \
                 int depth, int isSigned) {                                              \
    return runShift(RKD_AT_LEVEL(kernel), Planes<const S, 3>{src, srcStep},              \
                    Pixels<D, 3>{dst, dstStep}, size, depth, isSigned, kRoomOf<S, D>);   \
  }

SHIFT_PIXELS(rkdiLevelShiftFwd_JPEG2K_8u16s_C1R, fwd8u16s, uint8_t, int16_t)
SHIFT_PIXELS(rkdiLevelShiftFwd_JPEG2K_8u32s_C1R, fwd8u32s, uint8_t, int32_t)
SHIFT_PIXELS(rkdiLevelShiftFwd_JPEG2K_8u32f_C1R, fwd8u32f, uint8_t, float)
SHIFT_PIXELS(rkdiLevelShiftFwd_JPEG2K_16u16s_C1R, fwd16u16s, uint16_t, int16_t)
SHIFT_PIXELS(rkdiLevelShiftFwd_JPEG2K_16u32s_C1R, fwd16u32s, uint16_t, int32_t)
SHIFT_PIXELS(rkdiLevelShiftFwd_JPEG2K_16u32f_C1R, fwd16u32f, uint16_t, float)
SHIFT_PIXELS(rkdiLevelShiftFwd_JPEG2K_32s16s_C1R, fwd32s16s, int32_t, int16_t)
SHIFT_PIXELS(rkdiLevelShiftFwd_JPEG2K_32s_C1R, fwd32s32s, int32_t, int32_t)
SHIFT_PIXELS(rkdiLevelShiftFwd_JPEG2K_32s32f_C1R, fwd32s32f, int32_t, float)
SHIFT_TO_PLANES(rkdiLevelShiftFwd_JPEG2K_8u16s_C3P3R, fwdSplit8u16s, uint8_t, int16_t)
SHIFT_TO_PLANES(rkdiLevelShiftFwd_JPEG2K_8u32s_C3P3R, fwdSplit8u32s, uint8_t, int32_t)
SHIFT_TO_PLANES(rkdiLevelShiftFwd_JPEG2K_8u32f_C3P3R, fwdSplit8u32f, uint8_t, float)
SHIFT_TO_PLANES(rkdiLevelShiftFwd_JPEG2K_16u16s_C3P3R, fwdSplit16u16s, uint16_t, int16_t)
SHIFT_TO_PLANES(rkdiLevelShiftFwd_JPEG2K_16u32s_C3P3R, fwdSplit16u32s, uint16_t, int32_t)
SHIFT_TO_PLANES(rkdiLevelShiftFwd_JPEG2K_16u32f_C3P3R, fwdSplit16u32f, uint16_t, float)
SHIFT_PIXELS(rkdiLevelShiftInv_JPEG2K_16s8u_C1R, inv16s8u, int16_t, uint8_t)
SHIFT_PIXELS(rkdiLevelShiftInv_JPEG2K_32s8u_C1R, inv32s8u, int32_t, uint8_t)
SHIFT_PIXELS(rkdiLevelShiftInv_JPEG2K_32f8u_C1R, inv32f8u, float, uint8_t)
SHIFT_PIXELS(rkdiLevelShiftInv_JPEG2K_16s16u_C1R, inv16s16u, int16_t, uint16_t)
SHIFT_PIXELS(rkdiLevelShiftInv_JPEG2K_32s16u_C1R, inv32s16u, int32_t, uint16_t)
SHIFT_PIXELS(rkdiLevelShiftInv_JPEG2K_32f16u_C1R, inv32f16u, float, uint16_t)
SHIFT_PIXELS(rkdiLevelShiftInv_JPEG2K_16s32s_C1R, inv16s32s, int16_t, int32_t)
SHIFT_PIXELS(rkdiLevelShiftInv_JPEG2K_32s_C1R, inv32s32s, int32_t, int32_t)
SHIFT_PIXELS(rkdiLevelShiftInv_JPEG2K_32f32s_C1R, inv32f32s, float, int32_t)
SHIFT_TO_PIXELS(rkdiLevelShiftInv_JPEG2K_16s8u_P3C3R, invJoin16s8u, int16_t, uint8_t)
SHIFT_TO_PIXELS(rkdiLevelShiftInv_JPEG2K_32s8u_P3C3R, invJoin32s8u, int32_t, uint8_t)
SHIFT_TO_PIXELS(rkdiLevelShiftInv_JPEG2K_32f8u_P3C3R, invJoin32f8u, float, uint8_t)
SHIFT_TO_PIXELS(rkdiLevelShiftInv_JPEG2K_16s16u_P3C3R, invJoin16s16u, int16_t, uint16_t)
SHIFT_TO_PIXELS(rkdiLevelShiftInv_JPEG2K_32s16u_P3C3R, invJoin32s16u, int32_t, uint16_t)
SHIFT_TO_PIXELS(rkdiLevelShiftInv_JPEG2K_32f16u_P3C3R, invJoin32f16u, float, uint16_t)
#endif  // HWY_ONCE
