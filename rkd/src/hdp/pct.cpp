// Photo core transform: as many 4x4 blocks side by side as a vector has lanes.
//
// Sixteen vectors hold the sixteen samples of the blocks, a block a lane. Lifting steps are modulo
// 2^32. A transposition within 128-bit blocks brings rows of memory to that form and back, and the
// natural order of the coefficients costs nothing: it only says which vectors make up a row.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "hdp/pct.cpp"
#include "hwy/foreach_target.h"

#include "common/lanes-inl.h"
#include "common/levels.h"
#include "common/transpose-inl.h"
#include "hwy/highway.h"
#include "rkd/rkdjpeg_hdp.h"

HWY_BEFORE_NAMESPACE();
namespace rkd::HWY_NAMESPACE {
namespace {

template <class V>
HWY_INLINE V constant(int value) {
  return hn::Set(hn::DFromV<V>(), value);
}

// (3 * v + Round) >> Shift
template <int Round, int Shift, class V>
HWY_INLINE V threeTimes(V v) {
  return hn::ShiftRight<Shift>(hn::Add(hn::Add(v, hn::Add(v, v)), constant<V>(Round)));
}

// (v + 1) >> 1
template <class V>
HWY_INLINE V half(V v) {
  return hn::ShiftRight<1>(hn::Add(v, constant<V>(1)));
}

// The 2x2 transform; its own inverse.
template <int Round, class V>
RKD_BLOCK void hadamard(V& a, V& b, V& c, V& d) {
  a = hn::Add(a, d);
  b = hn::Sub(b, c);
  V t = hn::Sub(a, b);
  if constexpr (Round != 0) t = hn::Add(t, constant<V>(Round));
  t = hn::ShiftRight<1>(t);
  const V newC = hn::Sub(t, d);
  d = hn::Sub(t, c);
  c = newC;
  a = hn::Sub(a, d);
  b = hn::Add(b, c);
}

// Rotation of frequencies that are odd in one direction.
template <class V>
RKD_BLOCK void rotateOdd(V& a, V& b, V& c, V& d) {
  b = hn::Sub(b, c);
  a = hn::Add(a, d);
  c = hn::Add(c, half(b));
  d = hn::Sub(half(a), d);
  b = hn::Sub(b, threeTimes<4, 3>(a));
  a = hn::Add(a, threeTimes<4, 3>(b));
  d = hn::Sub(d, threeTimes<4, 3>(c));
  c = hn::Add(c, threeTimes<4, 3>(d));
  d = hn::Add(d, hn::ShiftRight<1>(b));
  c = hn::Sub(c, half(a));
  b = hn::Sub(b, d);
  a = hn::Add(a, c);
}

template <class V>
RKD_BLOCK void rotateOddBack(V& a, V& b, V& c, V& d) {
  b = hn::Add(b, d);
  a = hn::Sub(a, c);
  d = hn::Sub(d, hn::ShiftRight<1>(b));
  c = hn::Add(c, half(a));
  a = hn::Sub(a, threeTimes<4, 3>(b));
  b = hn::Add(b, threeTimes<4, 3>(a));
  c = hn::Sub(c, threeTimes<4, 3>(d));
  d = hn::Add(d, threeTimes<4, 3>(c));
  c = hn::Sub(c, half(b));
  d = hn::Sub(half(a), d);
  b = hn::Add(b, c);
  a = hn::Sub(a, d);
}

// Rotation of frequencies that are odd in both directions.
template <class V>
RKD_BLOCK void rotateOddOdd(V& a, V& b, V& c, V& d) {
  const V zero = hn::Zero(hn::DFromV<V>());
  b = hn::Sub(zero, b);
  c = hn::Sub(zero, c);
  d = hn::Add(d, a);
  c = hn::Sub(c, b);
  const V t1 = hn::ShiftRight<1>(d), t2 = hn::ShiftRight<1>(c);
  a = hn::Sub(a, t1);
  b = hn::Add(b, t2);
  a = hn::Add(a, threeTimes<4, 3>(b));
  b = hn::Sub(b, threeTimes<3, 2>(a));
  a = hn::Add(a, threeTimes<3, 3>(b));
  b = hn::Sub(b, t2);
  a = hn::Add(a, t1);
  c = hn::Add(c, b);
  d = hn::Sub(d, a);
}

template <class V>
RKD_BLOCK void rotateOddOddBack(V& a, V& b, V& c, V& d) {
  const V zero = hn::Zero(hn::DFromV<V>());
  d = hn::Add(d, a);
  c = hn::Sub(c, b);
  const V t1 = hn::ShiftRight<1>(d), t2 = hn::ShiftRight<1>(c);
  a = hn::Sub(a, t1);
  b = hn::Add(b, t2);
  a = hn::Sub(a, threeTimes<3, 3>(b));
  b = hn::Add(b, threeTimes<3, 2>(a));
  a = hn::Sub(a, threeTimes<4, 3>(b));
  b = hn::Sub(b, t2);
  a = hn::Add(a, t1);
  c = hn::Add(c, b);
  d = hn::Sub(d, a);
  b = hn::Sub(zero, b);
  c = hn::Sub(zero, c);
}

template <class V>
HWY_INLINE void hadamards(V* x) {
  hadamard<0>(x[0], x[3], x[12], x[15]);
  hadamard<0>(x[1], x[2], x[13], x[14]);
  hadamard<0>(x[4], x[7], x[8], x[11]);
  hadamard<0>(x[5], x[6], x[9], x[10]);
}

// The lifting steps alone; x in raster order before the forward and after the inverse ones, in the
// order of `naturalRows` on the other side.
template <bool inverse, class V>
HWY_INLINE void lift(V* x) {
  if constexpr (!inverse) hadamards(x);
  hadamard<1>(x[0], x[1], x[4], x[5]);
  if constexpr (inverse) {
    rotateOddBack(x[2], x[3], x[6], x[7]);
    rotateOddBack(x[8], x[12], x[9], x[13]);
    rotateOddOddBack(x[10], x[11], x[14], x[15]);
    hadamards(x);
  } else {
    rotateOdd(x[2], x[3], x[6], x[7]);
    rotateOdd(x[8], x[12], x[9], x[13]);
    rotateOddOdd(x[10], x[11], x[14], x[15]);
  }
}

// Calls row(y, x0, x1, x2, x3) with the vectors of every row of a block.
template <class V, class Row>
HWY_INLINE void rasterRows(V* x, Row&& row) {
  row(0, x[0], x[1], x[2], x[3]);
  row(1, x[4], x[5], x[6], x[7]);
  row(2, x[8], x[9], x[10], x[11]);
  row(3, x[12], x[13], x[14], x[15]);
}
template <class V, class Row>
HWY_INLINE void naturalRows(V* x, Row&& row) {
  row(0, x[0], x[8], x[4], x[13]);
  row(1, x[2], x[15], x[3], x[14]);
  row(2, x[1], x[12], x[5], x[9]);
  row(3, x[7], x[11], x[6], x[10]);
}

template <bool inverse, class V, class Load, class Store>
HWY_INLINE void transform(V* x, Load&& load, Store&& store) {
  if constexpr (inverse) {
    naturalRows(x, load);
    lift<true>(x);
    rasterRows(x, store);
  } else {
    rasterRows(x, load);
    lift<false>(x);
    naturalRows(x, store);
  }
}

// Transforms four groups of blocks at once. A group is as wide as a vector and 4 rows high.
template <bool inverse, class D>
class Groups {
 public:
  explicit Groups(int step) : m_step(step) {}

  HWY_INLINE void add(int32_t* group) {
    m_group[m_count++] = group;
    if (m_count < 4) return;
    run();
    m_count = 0;
  }

  // Transforms what has not become four. Groups that are there twice do no harm: all are loaded
  // before the first is stored.
  HWY_INLINE void finish() {
    if (m_count == 0) return;
    while (m_count < 4) m_group[m_count++] = m_group[0];
    run();
  }

 private:
  void run() const {
    using V = hn::Vec<D>;
    const D d;
    const auto load = [&](int y, V& a, V& b, V& c, V& e) HWY_ATTR {
      a = hn::LoadU(d, rowAt(m_group[0], m_step, y));
      b = hn::LoadU(d, rowAt(m_group[1], m_step, y));
      c = hn::LoadU(d, rowAt(m_group[2], m_step, y));
      e = hn::LoadU(d, rowAt(m_group[3], m_step, y));
      transpose4x4(a, b, c, e);
    };
    const auto store = [&](int y, V& a, V& b, V& c, V& e) HWY_ATTR {
      transpose4x4(a, b, c, e);
      hn::StoreU(a, d, rowAt(m_group[0], m_step, y));
      hn::StoreU(b, d, rowAt(m_group[1], m_step, y));
      hn::StoreU(c, d, rowAt(m_group[2], m_step, y));
      hn::StoreU(e, d, rowAt(m_group[3], m_step, y));
    };
    V x[16];
    transform<inverse>(x, load, store);
  }

  int32_t* m_group[4];
  int m_count = 0;
  int m_step;
};

// All blocks of `width` by `height` samples that groups of D's width cover; the columns they cover.
template <bool inverse, class D>
HWY_INLINE int transformGroups(int32_t* data, int step, int width, int height) {
  const int lanes = static_cast<int>(hn::Lanes(D()));
  const int covered = width - width % lanes;
  Groups<inverse, D> groups(step);
  for (int y = 0; y + 4 <= height; y += 4) {
    for (int x = 0; x < covered; x += lanes) groups.add(rowAt(data, step, y) + x);
  }
  groups.finish();
  return covered;
}

template <bool inverse>
HWY_INLINE void transformRegion(int32_t* data, int step, RkdiSize size) {
  const int width = size.width & ~3;
  const int x = transformGroups<inverse, hn::ScalableTag<int32_t>>(data, step, width, size.height);
  if (x == width) return;
  transformGroups<inverse, hn::Full128<int32_t>>(data + x, step, width - x, size.height);
}

// ---- the second stage of macroblocks: DCs, one a vector ----

using DSingle = hn::CappedTag<int32_t, 1>;
using Single = hn::Vec<DSingle>;

struct DCs {
  int32_t* data;
  int step;

  int32_t* at(int row, int column) const { return rowAt(data, step, 4 * row) + 4 * column; }
  HWY_INLINE Single get(int row, int column) const { return hn::LoadU(DSingle(), at(row, column)); }
  HWY_INLINE void put(int row, int column, Single v) const {
    hn::StoreU(v, DSingle(), at(row, column));
  }
};

template <bool inverse>
HWY_INLINE void transformDCs4x4(const DCs& dc) {
  const auto load = [&](int y, Single& a, Single& b, Single& c, Single& d) HWY_ATTR {
    a = dc.get(y, 0);
    b = dc.get(y, 1);
    c = dc.get(y, 2);
    d = dc.get(y, 3);
  };
  const auto store = [&](int y, Single& a, Single& b, Single& c, Single& d) HWY_ATTR {
    dc.put(y, 0, a);
    dc.put(y, 1, b);
    dc.put(y, 2, c);
    dc.put(y, 3, d);
  };
  Single x[16];
  transform<inverse>(x, load, store);
}

// The 2x2 transform leaves the differences exchanged.
template <bool inverse>
HWY_INLINE void transformDCs2x2(const DCs& dc, int row) {
  Single a = dc.get(row, 0), b = dc.get(row, 1), c = dc.get(row + 1, 0), d = dc.get(row + 1, 1);
  if constexpr (inverse) {
    hadamard<0>(a, c, b, d);
  } else {
    hadamard<0>(a, b, c, d);
  }
  dc.put(row, 0, a);
  dc.put(row, 1, c);
  dc.put(row + 1, 0, b);
  dc.put(row + 1, 1, d);
}

template <bool inverse>
HWY_INLINE void transformMeans(const DCs& dc) {
  Single p = dc.get(0, 0), q = dc.get(2, 0);
  if constexpr (inverse) {
    p = hn::Sub(p, half(q));
    q = hn::Add(q, p);
  } else {
    q = hn::Sub(q, p);
    p = hn::Add(p, half(q));
  }
  dc.put(0, 0, p);
  dc.put(2, 0, q);
}

template <bool inverse>
HWY_INLINE void transform16x16(int32_t* data, int step) {
  if constexpr (inverse) transformDCs4x4<true>({data, step});
  transformGroups<inverse, hn::CappedTag<int32_t, 16>>(data, step, 16, 16);
  if constexpr (!inverse) transformDCs4x4<false>({data, step});
}

template <bool inverse>
HWY_INLINE void transform8x16(int32_t* data, int step) {
  const DCs dc{data, step};
  if constexpr (inverse) {
    transformMeans<true>(dc);
    transformDCs2x2<true>(dc, 0);
    transformDCs2x2<true>(dc, 2);
  }
  transformGroups<inverse, hn::CappedTag<int32_t, 8>>(data, step, 8, 16);
  if constexpr (!inverse) {
    transformDCs2x2<false>(dc, 0);
    transformDCs2x2<false>(dc, 2);
    transformMeans<false>(dc);
  }
}

template <bool inverse>
HWY_INLINE void transform8x8(int32_t* data, int step) {
  if constexpr (inverse) transformDCs2x2<true>({data, step}, 0);
  transformGroups<inverse, hn::Full128<int32_t>>(data, step, 8, 8);
  if constexpr (!inverse) transformDCs2x2<false>({data, step}, 0);
}

void fwdRegion(int32_t* data, int step, RkdiSize size) { transformRegion<false>(data, step, size); }
void invRegion(int32_t* data, int step, RkdiSize size) { transformRegion<true>(data, step, size); }
void fwd16x16(int32_t* data, int step) { transform16x16<false>(data, step); }
void inv16x16(int32_t* data, int step) { transform16x16<true>(data, step); }
void fwd8x16(int32_t* data, int step) { transform8x16<false>(data, step); }
void inv8x16(int32_t* data, int step) { transform8x16<true>(data, step); }
void fwd8x8(int32_t* data, int step) { transform8x8<false>(data, step); }
void inv8x8(int32_t* data, int step) { transform8x8<true>(data, step); }

}  // namespace
}  // namespace rkd::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace rkd {
namespace {
HWY_EXPORT(fwdRegion);
HWY_EXPORT(invRegion);
HWY_EXPORT(fwd16x16);
HWY_EXPORT(inv16x16);
HWY_EXPORT(fwd8x16);
HWY_EXPORT(inv8x16);
HWY_EXPORT(fwd8x8);
HWY_EXPORT(inv8x8);

template <class Kernel>
RkdStatus runOnRegion(Kernel kernel, int32_t* srcDst, int step, RkdiSize size) {
  if (const RkdStatus status =
          firstOf(checkPointers(srcDst), checkSize(size), checkStep<int32_t>(step, size.width))) {
    return status;
  }
  kernel(srcDst, step, size);
  return rkdStsNoErr;
}

template <class Kernel>
RkdStatus runOnMacroblock(Kernel kernel, int32_t* srcDst, int step, int width) {
  if (const RkdStatus status = firstOf(checkPointers(srcDst), checkStep<int32_t>(step, width))) {
    return status;
  }
  kernel(srcDst, step);
  return rkdStsNoErr;
}

}  // namespace
}  // namespace rkd

using namespace rkd;

#define RKD_PCT_REGION(Name, kernel)                              \
  RkdStatus Name(int32_t* srcDst, int step, RkdiSize size) {      \
    return runOnRegion(RKD_AT_LEVEL(kernel), srcDst, step, size); \
  }
#define RKD_PCT_MACROBLOCK(Name, kernel, width)                        \
  RkdStatus Name(int32_t* srcDst, int step) {                          \
    return runOnMacroblock(RKD_AT_LEVEL(kernel), srcDst, step, width); \
  }

RKD_PCT_REGION(rkdiPCTFwd_HDP_32s_C1IR, fwdRegion)
RKD_PCT_REGION(rkdiPCTInv_HDP_32s_C1IR, invRegion)
RKD_PCT_MACROBLOCK(rkdiPCTFwd16x16_HDP_32s_C1IR, fwd16x16, 16)
RKD_PCT_MACROBLOCK(rkdiPCTInv16x16_HDP_32s_C1IR, inv16x16, 16)
RKD_PCT_MACROBLOCK(rkdiPCTFwd8x16_HDP_32s_C1IR, fwd8x16, 8)
RKD_PCT_MACROBLOCK(rkdiPCTInv8x16_HDP_32s_C1IR, inv8x16, 8)
RKD_PCT_MACROBLOCK(rkdiPCTFwd8x8_HDP_32s_C1IR, fwd8x8, 8)
RKD_PCT_MACROBLOCK(rkdiPCTInv8x8_HDP_32s_C1IR, inv8x8, 8)
#endif  // HWY_ONCE
