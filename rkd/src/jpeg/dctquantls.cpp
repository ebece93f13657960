// Transforms between rows of samples and coefficients, with level shift and quantisation; inverses
// of blocks with few coefficients and to fewer samples.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "jpeg/dctquantls.cpp"
#include "hwy/foreach_target.h"

#include "common/levels.h"
#include "hwy/highway.h"
#include "jpeg/dct-inl.h"
#include "rkd/rkdjpeg_dct.h"

#ifndef RKD_JPEG_DCTQUANTLS_CPP_
#define RKD_JPEG_DCTQUANTLS_CPP_
namespace rkd {
// The operands of an inverse of many blocks; steps in bytes.
struct InverseBlocks {
  const int16_t* src;
  ptrdiff_t srcStep;
  const uint8_t* last;
  ptrdiff_t lastStep;
  uint8_t* dst;
  int dstStep;
  ptrdiff_t dstAdvance;
  int count;
  const uint16_t* table;

  const int16_t* block(ptrdiff_t i) const {
    const auto* const from = reinterpret_cast<const uint8_t*>(src) + srcStep * i;
    return reinterpret_cast<const int16_t*>(from);
  }
  uint8_t* samples(ptrdiff_t i) const { return dst + dstAdvance * i; }
};
}  // namespace rkd
#endif

HWY_BEFORE_NAMESPACE();
namespace rkd::HWY_NAMESPACE {

// ---- forward ----

RKD_BLOCK EightRows loadRows(const uint8_t* src, int step) {
  const D8 d8;
  const hn::Repartition<uint64_t, D8> d64;
  EightRows r;
  for (int i = 0; i < 8; ++i) {
    uint64_t row;
    std::memcpy(&row, rowAt(src, step, i), sizeof(row));
    const auto bytes = hn::BitCast(d8, hn::Set(d64, row));
    r.row[i] = hn::BitCast(D16(), hn::InterleaveLower(d8, bytes, hn::Zero(d8)));
  }
  return r;
}

RKD_BLOCK EightRows loadRows(const uint16_t* src, int step) {
  const hn::RebindToUnsigned<D16> du;
  EightRows r;
  for (int i = 0; i < 8; ++i) {
    r.row[i] = hn::BitCast(D16(), loadEveryBlock(du, rowAt(src, step, i)));
  }
  return r;
}

void fwd8x8LS8u(const uint8_t* src, int step, int16_t* dst) {
  const Block block = forwardTransform<Forward8u>(loadRows(src, step));
  for (int i = 0; i < kVectors; ++i) hn::StoreU(rounded(block.v[i]), D16(), dst + 8 * W * i);
}

void quantFwd8x8LS8u(const uint8_t* src, int step, int16_t* dst, const uint16_t* table) {
  storeQuantised(forwardTransform<Forward8u>(loadRows(src, step)), table, dst);
}

void quantFwd8x8LS16u(const uint16_t* src, int step, int16_t* dst, const uint16_t* table) {
  storeQuantised(forwardTransform<Forward16u>(loadRows(src, step)), table, dst);
}

// ---- inverse to 8x8 samples ----

// Rows as inverseTransform leaves them.
RKD_BLOCK void storeRows(const Block& b, uint8_t* dst, int step) {
  const D8 d8;
  for (int i = 0; i < kVectors; i += 2) {
    const auto order = hn::Load(d8, kDct.bytesFromInverse);
    const auto bytes = hn::TableLookupBytes(narrowToBytes(b.v[i], b.v[i + 1]), order);
    const auto row = [&](int y) HWY_ATTR { return rowAt(dst, step, y); };
#if HWY_TARGET <= HWY_AVX2
    const hn::Half<D8> half;
    if (i == 0) {  // [rows 0 2 | rows 1 3]
      storeHalves(hn::LowerHalf(half, bytes), row(0), row(2));
      storeHalves(hn::UpperHalf(half, bytes), row(1), row(3));
    } else {  // [rows 5 7 | rows 4 6]
      storeHalves(hn::LowerHalf(half, bytes), row(5), row(7));
      storeHalves(hn::UpperHalf(half, bytes), row(4), row(6));
    }
#else
    storeHalves(bytes, row(i), row(i + 1));
#endif
  }
}

RKD_BLOCK void storeRows(const Block& b, uint16_t* dst, int step) {
  const hn::FixedTag<uint16_t, 8> d;
  const auto store = [&](auto samples, int y)
                         HWY_ATTR { hn::StoreU(hn::BitCast(d, samples), d, rowAt(dst, step, y)); };
  for (int i = 0; i < kVectors; ++i) {
    const V16 ordered = reorder(b.v[i], kDct.fromInverse);
    const V16 rows = hn::Min(hn::Max(ordered, hn::Zero(D16())), hn::Set(D16(), 4095));
#if HWY_TARGET <= HWY_AVX2
    const hn::Half<D16> half;
    const int second = i < 2 ? 1 : 0;  // whether the upper half is the later row
    store(hn::LowerHalf(half, rows), 2 * i + 1 - second);
    store(hn::UpperHalf(half, rows), 2 * i + second);
#else
    store(rows, i);
#endif
  }
}

template <class P>
RKD_BLOCK void storeFlat(int coefficient, uint8_t* dst, int step) {
  const auto sample = static_cast<uint8_t>(std::clamp(flatSample<P>(coefficient), 0, 255));
  const uint64_t row = sample * 0x0101010101010101u;
  for (int y = 0; y < 8; ++y) std::memcpy(rowAt(dst, step, y), &row, sizeof(row));
}

template <class P>
RKD_BLOCK void storeFlat(int coefficient, uint16_t* dst, int step) {
  const auto sample = static_cast<uint16_t>(std::clamp(flatSample<P>(coefficient), 0, 4095));
  const uint64_t half = sample * 0x0001000100010001u;
  const uint64_t row[2] = {half, half};
  for (int y = 0; y < 8; ++y)
    std::memcpy(static_cast<void*>(rowAt(dst, step, y)), row, sizeof(row));
}

template <class P, class T, class Table>
RKD_BLOCK void inverse(const int16_t* src, T* dst, int step, Table table) {
  if (isFlat(src)) {
    storeFlat<P>(firstCoefficient(src, table), dst, step);
  } else {
    storeRows(inverseTransform<P>(loadCoefficients(src, table)), dst, step);
  }
}

void inv8x8LS8u(const int16_t* src, uint8_t* dst, int step) {
  inverse<Inverse8u>(src, dst, step, nullptr);
}
void quantInv8x8LS8u(const int16_t* src, uint8_t* dst, int step, const uint16_t* table) {
  inverse<Inverse8u>(src, dst, step, table);
}
void quantInv8x8LS16u(const int16_t* src, uint16_t* dst, int step, const uint16_t* table) {
  inverse<Inverse16u>(src, dst, step, table);
}

// ---- inverse of the low coefficients ----

void quantInv8x8LS4x4(const int16_t* src, uint8_t* dst, int step, const uint16_t* table) {
  EightRows r;
  for (int i = 0; i < 4; ++i) r.row[i] = loadCoefficientRow(src, table, i);
  for (int i = 4; i < 8; ++i) r.row[i] = hn::Zero(D16());
  storeRows(inverseTransform<Inverse8u, 4>(r), dst, step);
}

void quantInv8x8LS2x2(const int16_t* src, uint8_t* dst, int step, const uint16_t* table) {
  EightRows r;
  for (V16& row : r.row) row = hn::Zero(D16());
  const V16 low = factors(kDct.firstPair);
  for (int i = 0; i < 2; ++i) r.row[i] = hn::And(loadCoefficientRow(src, table, i), low);
  storeRows(inverseTransform<Inverse8u, 4>(r), dst, step);
}

void quantInv8x8LS1x1(const int16_t* src, uint8_t* dst, int step, const uint16_t* table) {
  storeFlat<Inverse8u>(firstCoefficient(src, table), dst, step);
}

// ---- inverse of many blocks ----

// Which of up to kMost blocks a transform takes, in lists that are made without branches: how many
// coefficients the next block has cannot be predicted.
struct BlocksByLast {
  static constexpr int kMost = 64;
  // In zigzag order these come before any from outside the upper-left 4x4.
  static constexpr unsigned kLowCount = 10;
  struct List {
    uint8_t block[kMost];
    size_t count = 0;
  };
  List flat, low, full;

  HWY_INLINE BlocksByLast(const uint8_t* last, ptrdiff_t step, int count) {
    for (int i = 0; i < count; ++i, last += step) {
      const unsigned k = *last;
      flat.block[flat.count] = low.block[low.count] = full.block[full.count] =
          static_cast<uint8_t>(i);
      flat.count += k == 0 ? 1 : 0;
      low.count += k - 1 < kLowCount - 1 ? 1 : 0;
      full.count += k >= kLowCount ? 1 : 0;
    }
  }
};

void quantInvBlocks(const InverseBlocks& all) {
  for (int begin = 0; begin < all.count; begin += BlocksByLast::kMost) {
    InverseBlocks part = all;
    part.src = all.block(begin);
    part.last = all.last + all.lastStep * begin;
    part.dst = all.samples(begin);
    part.count = HWY_MIN(all.count - begin, BlocksByLast::kMost);
    const BlocksByLast lists(part.last, part.lastStep, part.count);
    const auto overList = [&part](const BlocksByLast::List& list, auto&& transform) HWY_ATTR {
      for (size_t i = 0; i < list.count; ++i) {
        const ptrdiff_t b = list.block[i];
        transform(part.block(b), part.samples(b), part.dstStep, part.table);
      }
    };
    overList(lists.flat, [](const int16_t* src, uint8_t* dst, int step, const uint16_t* table)
                             HWY_ATTR { quantInv8x8LS1x1(src, dst, step, table); });
    overList(lists.low, [](const int16_t* src, uint8_t* dst, int step, const uint16_t* table)
                            HWY_ATTR { quantInv8x8LS4x4(src, dst, step, table); });
    overList(lists.full,
             [](const int16_t* src, uint8_t* dst, int step, const uint16_t* table) HWY_ATTR {
               storeRows(inverseTransform<Inverse8u>(loadCoefficients(src, table)), dst, step);
             });
  }
}

// ---- inverse to 4x4 samples ----
//
// The factors of four points with half their scale are those of every other frequency of eight:
// cosine(2u, x). Sums of even and odd frequencies as for eight points, in 128-bit vectors.

using D16x8 = hn::FixedTag<int16_t, 8>;
using D32x4 = hn::FixedTag<int32_t, 4>;
using V16x8 = hn::Vec<D16x8>;
using V32x4 = hn::Vec<D32x4>;

RKD_BLOCK V16x8 fourFactors(const DctFactors::Lanes& lanes) {
  return hn::BitCast(D16x8(), hn::Load(D32x4(), lanes));
}

template <int kShift>
RKD_BLOCK V16x8 narrowFour(V32x4 low, V32x4 high) {
  return hn::ReorderDemote2To(D16x8(), hn::ShiftRight<kShift>(low), hn::ShiftRight<kShift>(high));
}

// Two rows of four to [a0 a1 b0 b1 a3 a2 b3 b2].
RKD_BLOCK V16x8 fourRows(V16x8 rows) {
  using P = Inverse8u;
  const hn::Repartition<uint8_t, D16x8> d8;
  const auto take = [&](const DctFactors::Words& order) HWY_ATTR {
    const auto bytes = hn::TableLookupBytes(hn::BitCast(d8, rows), hn::Load(d8, order));
    return hn::BitCast(D16x8(), bytes);
  };
  const V32x4 even = addPairProducts(hn::Set(D32x4(), P::kRounding2), take(kDct.evenOfFour),
                                     fourFactors(kDct.inverseFourRow[0]));
  const V32x4 odd = pairProducts(take(kDct.oddOfFour), fourFactors(kDct.inverseFourRow[1]));
  return narrowFour<P::kShift2>(hn::Add(even, odd), hn::Sub(even, odd));
}

void quantInv8x8To4x4(const int16_t* src, uint8_t* dst, int step, const uint16_t* table) {
  using P = Inverse8u;
  V16x8 r[4];
  for (int i = 0; i < 4; ++i) {
    const hn::FixedTag<uint16_t, 8> du;
    r[i] = hn::Mul(hn::LoadU(D16x8(), src + 8 * i),
                   hn::BitCast(D16x8(), hn::LoadU(du, table + 8 * i)));
  }
  const V16x8 rows02 = hn::InterleaveLower(D16x8(), r[0], r[2]);
  const V16x8 rows13 = hn::InterleaveLower(D16x8(), r[1], r[3]);
  const V32x4 start = hn::Set(D32x4(), P::kRounding1);
  const auto& f = kDct.inverseFourColumn;
  const V32x4 even0 = addPairProducts(start, rows02, fourFactors(f[0][0]));
  const V32x4 even1 = addPairProducts(start, rows02, fourFactors(f[1][0]));
  const V32x4 odd0 = pairProducts(rows13, fourFactors(f[0][1]));
  const V32x4 odd1 = pairProducts(rows13, fourFactors(f[1][1]));
  const V16x8 upper = narrowFour<P::kShift1>(hn::Add(even0, odd0), hn::Add(even1, odd1));
  const V16x8 lower = narrowFour<P::kShift1>(hn::Sub(even1, odd1), hn::Sub(even0, odd0));

  const hn::FixedTag<uint8_t, 16> d8;
  const auto bytes = hn::TableLookupBytes(narrowToBytes(fourRows(upper), fourRows(lower)),
                                          hn::Load(d8, kDct.bytesFromFour));
  HWY_ALIGN uint8_t samples[16];
  hn::Store(bytes, d8, samples);
  for (int y = 0; y < 4; ++y) std::memcpy(rowAt(dst, step, y), samples + 4 * y, 4);
}

// ---- inverse to 2x2 samples: four sums of four coefficients, each an eighth ----

void quantInv8x8To2x2(const int16_t* src, uint8_t* dst, int step, const uint16_t* table) {
  const hn::FixedTag<uint16_t, 8> du;
  const D16x8 d16;
  const D32x4 d32;
  const auto row = [&](int y) HWY_ATTR {
    return hn::BitCast(
        d32, hn::Mul(hn::LoadU(d16, src + 8 * y), hn::BitCast(d16, hn::LoadU(du, table + 8 * y))));
  };
  // Mean and vertical frequency in turn; each with its horizontal neighbour in one lane.
  const V32x4 low = hn::InterleaveLower(d32, row(0), row(1));
  const V16x8 upper = hn::BitCast(d16, hn::Broadcast<0>(low));
  const V16x8 lower = hn::BitCast(d16, hn::Broadcast<1>(low));
  V32x4 sums = hn::Set(d32, 8 * 128 + 4);
  sums = addPairProducts(sums, upper, fourFactors(kDct.twoPoints[0]));
  sums = hn::ShiftRight<3>(addPairProducts(sums, lower, fourFactors(kDct.twoPoints[1])));
  const V16x8 samples = hn::ReorderDemote2To(d16, sums, sums);
  const hn::FixedTag<uint32_t, 4> du32;
  const uint32_t both = hn::GetLane(hn::BitCast(du32, narrowToBytes(samples, samples)));
  const uint16_t first = static_cast<uint16_t>(both), second = static_cast<uint16_t>(both >> 16);
  std::memcpy(dst, &first, 2);
  std::memcpy(rowAt(dst, step, 1), &second, 2);
}

}  // namespace rkd::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace rkd {
namespace {

HWY_EXPORT(fwd8x8LS8u);
HWY_EXPORT(quantFwd8x8LS8u);
HWY_EXPORT(quantFwd8x8LS16u);
HWY_EXPORT(inv8x8LS8u);
HWY_EXPORT(quantInv8x8LS8u);
HWY_EXPORT(quantInv8x8LS16u);
HWY_EXPORT(quantInv8x8LS4x4);
HWY_EXPORT(quantInv8x8LS2x2);
HWY_EXPORT(quantInv8x8LS1x1);
HWY_EXPORT(quantInvBlocks);
HWY_EXPORT(quantInv8x8To4x4);
HWY_EXPORT(quantInv8x8To2x2);

// Samples in rows to a block.
template <class Kernel, class T, class... Table>
RkdStatus runForward(Kernel kernel, const T* src, int srcStep, int16_t* dst,
                     const Table*... table) {
  if (const RkdStatus status =
          firstOf(checkPointers(src, dst, table...), checkStep<T>(srcStep, 8))) {
    return status;
  }
  kernel(src, srcStep, dst, table...);
  return rkdStsNoErr;
}

// A block to N rows of N samples.
template <int N, class Kernel, class T, class... Table>
RkdStatus runInverse(Kernel kernel, const int16_t* src, T* dst, int dstStep,
                     const Table*... table) {
  if (const RkdStatus status =
          firstOf(checkPointers(src, dst, table...), checkStep<T>(dstStep, N))) {
    return status;
  }
  kernel(src, dst, dstStep, table...);
  return rkdStsNoErr;
}

}  // namespace
}  // namespace rkd

using namespace rkd;

#define RKD_FORWARD_QUANTISED(Name, kernel, T)                                     \
  RkdStatus Name(const T* src, int srcStep, int16_t* dst, const uint16_t* table) { \
    return runForward(RKD_AT_LEVEL(kernel), src, srcStep, dst, table);             \
  }
#define RKD_INVERSE_QUANTISED(Name, N, kernel, T)                                  \
  RkdStatus Name(const int16_t* src, T* dst, int dstStep, const uint16_t* table) { \
    return runInverse<N>(kernel, src, dst, dstStep, table);                        \
  }

RKD_FORWARD_QUANTISED(rkdiDCTQuantFwd8x8LS_JPEG_8u16s_C1R, quantFwd8x8LS8u, uint8_t)
RKD_FORWARD_QUANTISED(rkdiDCTQuantFwd8x8LS_JPEG_16u16s_C1R, quantFwd8x8LS16u, uint16_t)

// clang-format off
RKD_INVERSE_QUANTISED(rkdiDCTQuantInv8x8LS_JPEG_16s8u_C1R, 8, RKD_AT_LEVEL(quantInv8x8LS8u), uint8_t)
RKD_INVERSE_QUANTISED(rkdiDCTQuantInv8x8LS_JPEG_16s16u_C1R, 8, RKD_AT_LEVEL(quantInv8x8LS16u), uint16_t)
RKD_INVERSE_QUANTISED(rkdiDCTQuantInv8x8LS_4x4_JPEG_16s8u_C1R, 8, RKD_AT_LEVEL(quantInv8x8LS4x4), uint8_t)
RKD_INVERSE_QUANTISED(rkdiDCTQuantInv8x8LS_2x2_JPEG_16s8u_C1R, 8, RKD_AT_LEVEL(quantInv8x8LS2x2), uint8_t)
RKD_INVERSE_QUANTISED(rkdiDCTQuantInv8x8LS_1x1_JPEG_16s8u_C1R, 8, RKD_AT_LEVEL(quantInv8x8LS1x1), uint8_t)
RKD_INVERSE_QUANTISED(rkdiDCTQuantInv8x8To4x4LS_JPEG_16s8u_C1R, 4, RKD_AT_LEVEL(quantInv8x8To4x4), uint8_t)
RKD_INVERSE_QUANTISED(rkdiDCTQuantInv8x8To2x2LS_JPEG_16s8u_C1R, 2, RKD_AT_LEVEL(quantInv8x8To2x2), uint8_t)
// clang-format on

RkdStatus rkdiDCTQuantInvBlocks8x8LS_JPEG_16s8u_C1R(const int16_t* src, int srcStep,
                                                    const uint8_t* last, int lastStep, uint8_t* dst,
                                                    int dstStep, int dstAdvance, int count,
                                                    const uint16_t* table) {
  const RkdStatus bad = firstOf(checkPointers(src, last, dst, table), checkLength(count));
  if (bad != rkdStsNoErr) return bad;
  const bool fits = srcStep >= 128 && lastStep >= 1 && dstAdvance >= 8 &&
                    dstStep >= int64_t{dstAdvance} * (count - 1) + 8;
  if (!fits) return rkdStsStepErr;
  RKD_AT_LEVEL(quantInvBlocks)
  ({src, srcStep, last, lastStep, dst, dstStep, dstAdvance, count, table});
  return rkdStsNoErr;
}

RkdStatus rkdiDCT8x8FwdLS_JPEG_8u16s_C1R(const uint8_t* src, int srcStep, int16_t* dst) {
  return runForward(RKD_AT_LEVEL(fwd8x8LS8u), src, srcStep, dst);
}
RkdStatus rkdiDCT8x8InvLS_JPEG_16s8u_C1R(const int16_t* src, uint8_t* dst, int dstStep) {
  return runInverse<8>(RKD_AT_LEVEL(inv8x8LS8u), src, dst, dstStep);
}
#endif  // HWY_ONCE
