// The 8x8 transforms and quantisation on blocks held in vectors; compiled once per level. Include
// after "hwy/highway.h", inside no namespace.
//
// Both directions are two passes of 16-bit pairs times constants, summed in 32 bits and narrowed
// with saturation, each sum rounded once. A pass splits into even and odd frequencies by sums and
// differences, which halves the products. Every step is exact integer arithmetic modulo 2^32 or
// 2^16, so neither the order of sums nor the length of vectors changes a bit of the result.
#if defined(RKD_JPEG_DCT_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef RKD_JPEG_DCT_INL_H_
#undef RKD_JPEG_DCT_INL_H_
#else
#define RKD_JPEG_DCT_INL_H_
#endif

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <type_traits>

#include "common/lanes-inl.h"
#include "hwy/highway.h"
#include "jpeg/dctfactors.h"
#include "jpeg/quanttable.h"

HWY_BEFORE_NAMESPACE();
namespace rkd::HWY_NAMESPACE {

// ---- a block in vectors: W rows in each ----

// 64-byte vectors were tried: four rows in each leave fewer transforms in flight, and one block
// after the other took a sixth longer.
#if HWY_TARGET <= HWY_AVX2
inline constexpr int W = 2;
#else
inline constexpr int W = 1;
#endif
inline constexpr int kVectors = 8 / W;
using D16 = hn::FixedTag<int16_t, 8 * W>;
using D32 = hn::FixedTag<int32_t, 4 * W>;
using D8 = hn::FixedTag<uint8_t, 16 * W>;
using V16 = hn::Vec<D16>;
using V32 = hn::Vec<D32>;

struct Block {
  V16 v[kVectors];
};

RKD_BLOCK Block loadBlock(const int16_t* from) {
  Block b;
  for (int i = 0; i < kVectors; ++i) b.v[i] = hn::LoadU(D16(), from + 8 * W * i);
  return b;
}

RKD_BLOCK void storeBlock(const Block& b, int16_t* to) {
  for (int i = 0; i < kVectors; ++i) hn::StoreU(b.v[i], D16(), to + 8 * W * i);
}

RKD_BLOCK V16 loadEntries(const uint16_t* table, int i) {
  const hn::RebindToUnsigned<D16> du;
  return hn::BitCast(D16(), hn::LoadU(du, table + 8 * W * i));
}

// ---- shuffles and factors ----

RKD_BLOCK V16 factors(const DctFactors::Lanes& lanes) {
  return hn::BitCast(D16(), hn::Load(D32(), lanes));
}

// Puts the eight words of every row into another order.
RKD_BLOCK V16 reorder(V16 rows, const DctFactors::Words& order) {
  const D8 d8;
  return hn::BitCast(D16(), hn::TableLookupBytes(hn::BitCast(d8, rows), hn::Load(d8, order)));
}

// Pair i of each row, in all four lanes of its block.
template <int i>
RKD_BLOCK V16 everyPair(V16 rows) {
  return hn::BitCast(D16(), hn::Broadcast<i>(hn::BitCast(D32(), rows)));
}

RKD_BLOCK V16 narrow(V32 low, V32 high) { return hn::ReorderDemote2To(D16(), low, high); }

// ---- the column pass ----
//
// Every 128-bit block of the vectors holds the same row, so that the W blocks of a sum are W rows
// of results, and its two halves narrow to whole rows without crossing blocks.

struct EightRows {
  V16 row[8];  // each in every block
};

// Rows paired word by word: columns 0 to 3 and 4 to 7.
struct RowPair {
  V16 low, high;
};
RKD_BLOCK RowPair pairRows(V16 a, V16 b) {
  return {hn::InterleaveLower(D16(), a, b), hn::InterleaveUpper(D16(), a, b)};
}

struct RowSums {
  V32 low, high;
};
RKD_BLOCK RowSums products(const RowPair& p, const DctFactors::Lanes& f) {
  return {pairProducts(p.low, factors(f)), pairProducts(p.high, factors(f))};
}
RKD_BLOCK RowSums addProducts(const RowSums& sum, const RowPair& p, const DctFactors::Lanes& f) {
  return {addPairProducts(sum.low, p.low, factors(f)),
          addPairProducts(sum.high, p.high, factors(f))};
}
RKD_BLOCK RowSums operator+(const RowSums& a, const RowSums& b) {
  return {hn::Add(a.low, b.low), hn::Add(a.high, b.high)};
}
RKD_BLOCK RowSums operator-(const RowSums& a, const RowSums& b) {
  return {hn::Sub(a.low, b.low), hn::Sub(a.high, b.high)};
}
template <int kShift>
RKD_BLOCK V16 narrow(const RowSums& s) {
  return narrow(hn::ShiftRight<kShift>(s.low), hn::ShiftRight<kShift>(s.high));
}

// ---- forward ----

// Precision of the forward transform: bits of fraction between the passes, what is taken from each
// sample (which changes the sums of frequency 0 only), and bits of fraction of the coefficients.
// Samples of up to 10 bits leave room for sums of two results of the first pass in 16 bits; those
// of 12 bits do not.
template <int kFractionBits, int kLevelShift, bool kWide, int kResultBits = 0>
struct ForwardPrecision {
  static constexpr int kFraction = kFractionBits;
  static constexpr int kLevel = kLevelShift;
  static constexpr bool kTwelveBits = kWide;
  static constexpr int kResult = kResultBits;
};
using Forward10 = ForwardPrecision<3, 0, false>;
using Forward8u = ForwardPrecision<3, 128, false>;
using Forward16u = ForwardPrecision<2, 2048, true>;
using Forward8Eighths = ForwardPrecision<5, 0, false, 3>;

// Sums of rows that mirror each other, for even frequencies, and differences, for odd ones. Blocks
// of even number hold the sums, the others the differences; vectors of one block hold either.
struct Mirrored {
  RowPair rows01, rows23;
};
RKD_BLOCK Mirrored mirrorRows(const EightRows& r, bool even) {
  const auto both = [&](int i) HWY_ATTR {
    const V16 sum = hn::Add(r.row[i], r.row[7 - i]);
    const V16 difference = hn::Sub(r.row[i], r.row[7 - i]);
#if HWY_TARGET <= HWY_AVX2
    static_cast<void>(even);
    return hn::ConcatUpperLower(D16(), difference, sum);
#else
    return even ? sum : difference;
#endif
  };
  return {pairRows(both(0), both(1)), pairRows(both(2), both(3))};
}

// Frequencies u to u + W - 1 down the columns. Where the row pass makes up for it, the sums are cut
// and not rounded.
template <class P, int u>
RKD_BLOCK V16 forwardColumns(const Mirrored& m) {
  constexpr int kShift = kFactorBits - P::kFraction;
  constexpr int kRounding = P::kTwelveBits ? 1 << (kShift - 1) : 0;
  constexpr int kLevel = u == 0 ? -8 * P::kLevel * cosine(0, 0) : 0;
  const auto& f = kDct.forwardColumn[u];
  if constexpr (kRounding == 0 && kLevel == 0) {
    return narrow<kShift>(addProducts(products(m.rows01, f[0]), m.rows23, f[1]));
  } else {
    V32 start = hn::Set(D32(), kRounding);
    if constexpr (kLevel != 0) {
      start = hn::Add(start, hn::And(hn::Set(D32(), kLevel), hn::Load(D32(), kDct.firstRow)));
    }
    const RowSums sums = addProducts({start, start}, m.rows01, f[0]);
    return narrow<kShift>(addProducts(sums, m.rows23, f[1]));
  }
}

template <class P>
RKD_BLOCK Block forwardColumns(const EightRows& r) {
  const Mirrored even = mirrorRows(r, true);
#if HWY_TARGET <= HWY_AVX2
  return {{forwardColumns<P, 0>(even), forwardColumns<P, 2>(even), forwardColumns<P, 4>(even),
           forwardColumns<P, 6>(even)}};
#else
  const Mirrored odd = mirrorRows(r, false);
  return {{forwardColumns<P, 0>(even), forwardColumns<P, 1>(odd), forwardColumns<P, 2>(even),
           forwardColumns<P, 3>(odd), forwardColumns<P, 4>(even), forwardColumns<P, 5>(odd),
           forwardColumns<P, 6>(even), forwardColumns<P, 7>(odd)}};
#endif
}

// Frequencies 0 to 3 or 4 to 7 of rows without sums of their halves.
RKD_BLOCK V32 forwardDirect(V16 rows, const DctFactors::Lanes (&f)[4]) {
  V32 sum = pairProducts(everyPair<0>(rows), factors(f[0]));
  sum = addPairProducts(sum, everyPair<1>(rows), factors(f[1]));
  sum = addPairProducts(sum, everyPair<2>(rows), factors(f[2]));
  return addPairProducts(sum, everyPair<3>(rows), factors(f[3]));
}

// Along the rows of one vector, to twice the coefficients: one bit more than wanted, cut below.
template <class P>
RKD_BLOCK V16 forwardRows(V16 rows) {
  constexpr int kShift = kFactorBits + P::kFraction - P::kResult - 1;
  if constexpr (P::kTwelveBits) {
    return narrow<kShift>(
        {forwardDirect(rows, kDct.forwardDirect[0]), forwardDirect(rows, kDct.forwardDirect[1])});
  } else {
    // [s0 s1 d0 d1 s2 s3 d2 d3] with s = a + b + 1 and d = a - b, by a - (b ^ mask): the 1 is what
    // cutting two results of the first pass takes away on average.
    const auto rows32 = hn::BitCast(D32(), rows);
    const V16 twice = hn::BitCast(D16(), hn::InterleaveLower(D32(), rows32, rows32));
    const V16 both = hn::Sub(twice, hn::Xor(reorder(rows, kDct.mirror), factors(kDct.sums)));
    const hn::Repartition<uint64_t, D16> d64;
    const auto both64 = hn::BitCast(d64, both);
    const V16 pair01 = hn::BitCast(D16(), hn::InterleaveLower(d64, both64, both64));
    const V16 pair23 = hn::BitCast(D16(), hn::InterleaveUpper(d64, both64, both64));
    const auto half = [&](const DctFactors::Lanes(&f)[2]) HWY_ATTR {
      return addPairProducts(pairProducts(pair01, factors(f[0])), pair23, factors(f[1]));
    };
    return narrow<kShift>({half(kDct.forwardRow[0]), half(kDct.forwardRow[1])});
  }
}

// The transform with every coefficient doubled and a half bit for rounding.
template <class P>
RKD_BLOCK Block forwardTransform(const EightRows& rows) {
  Block block = forwardColumns<P>(rows);
  for (V16& v : block.v) v = forwardRows<P>(v);
  return block;
}

// Rounded to coefficients, or to twice the coefficients.
RKD_BLOCK V16 rounded(V16 doubled) {
  return hn::ShiftRight<1>(hn::SaturatedAdd(doubled, hn::Set(D16(), 1)));
}
RKD_BLOCK V16 roundedTwice(V16 doubled) {
  return hn::And(hn::SaturatedAdd(doubled, hn::Set(D16(), 1)), hn::Set(D16(), -2));
}

RKD_BLOCK EightRows loadSamples(const int16_t* from) {
  EightRows r;
  for (int i = 0; i < 8; ++i) r.row[i] = loadEveryBlock(D16(), from + 8 * i);
  return r;
}

// ---- inverse ----

// Precision of the inverse transform: bits of fraction between the passes, and what is added to
// each sample.
template <int kFractionBits, int kLevelShift>
struct InversePrecision {
  static constexpr int kFraction = kFractionBits;
  static constexpr int kRounding1 = 1 << (kFactorBits - kFraction - 1);
  static constexpr int kShift1 = kFactorBits - kFraction;
  static constexpr int kShift2 = kFactorBits + kFraction;
  static constexpr int kRounding2 = (1 << (kShift2 - 1)) + (kLevelShift << kShift2);
};
using Inverse10 = InversePrecision<4, 0>;
using Inverse8u = InversePrecision<4, 128>;
using Inverse16u = InversePrecision<2, 2048>;

// Row i of the coefficients, times their quantisers modulo 2^16 if there are any. A null table is
// known to the compiler where it stands.
RKD_BLOCK V16 loadCoefficientRow(const int16_t* from, std::nullptr_t, int i) {
  return loadEveryBlock(D16(), from + 8 * i);
}
RKD_BLOCK V16 loadCoefficientRow(const int16_t* from, const uint16_t* table, int i) {
  const hn::RebindToUnsigned<D16> du;
  return hn::Mul(loadEveryBlock(D16(), from + 8 * i),
                 hn::BitCast(D16(), loadEveryBlock(du, table + 8 * i)));
}
template <class Table>
RKD_BLOCK EightRows loadCoefficients(const int16_t* from, Table table) {
  EightRows r;
  for (int i = 0; i < 8; ++i) r.row[i] = loadCoefficientRow(from, table, i);
  return r;
}

struct ByParity {
  RowPair rows02, rows46, rows13, rows57;
};

// Samples x to x + W - 1 down the columns, and 7 - x to 7 - x - W + 1, of the low kLow frequencies.
template <class P, int kLow, int x>
RKD_BLOCK void inverseColumns(const ByParity& p, V16& near, V16& far) {
  const auto& f = kDct.inverseColumn[x];
  const V32 start = hn::Set(D32(), P::kRounding1);
  RowSums even = addProducts({start, start}, p.rows02, f[0]);
  RowSums odd = products(p.rows13, f[2]);
  if constexpr (kLow > 4) {
    even = addProducts(even, p.rows46, f[1]);
    odd = addProducts(odd, p.rows57, f[3]);
  }
  near = narrow<P::kShift1>(even + odd);
  far = narrow<P::kShift1>(even - odd);
}

// The rows of the second half come out in reverse order within each vector.
template <class P, int kLow>
RKD_BLOCK Block inverseColumns(const EightRows& r) {
  const ByParity p = {pairRows(r.row[0], r.row[2]), pairRows(r.row[4], r.row[6]),
                      pairRows(r.row[1], r.row[3]), pairRows(r.row[5], r.row[7])};
  Block b;
  inverseColumns<P, kLow, 0>(p, b.v[0], b.v[kVectors - 1]);
  if constexpr (W <= 2) inverseColumns<P, kLow, 2>(p, b.v[2 / W], b.v[kVectors - 1 - 2 / W]);
  if constexpr (W == 1) {
    inverseColumns<P, kLow, 1>(p, b.v[1], b.v[kVectors - 2]);
    inverseColumns<P, kLow, 3>(p, b.v[3 / W], b.v[kVectors - 1 - 3 / W]);
  }
  return b;
}

// Along the rows of one vector. The samples come out in the order 0 1 2 3 7 6 5 4.
template <class P, int kLow>
RKD_BLOCK V16 inverseRows(V16 rows) {
  const V16 parted = reorder(rows, kDct.toParity);
  const auto& f = kDct.inverseRow;
  V32 even = addPairProducts(hn::Set(D32(), P::kRounding2), everyPair<0>(parted), factors(f[0]));
  V32 odd = pairProducts(everyPair<2>(parted), factors(f[2]));
  if constexpr (kLow > 4) {
    even = addPairProducts(even, everyPair<1>(parted), factors(f[1]));
    odd = addPairProducts(odd, everyPair<3>(parted), factors(f[3]));
  }
  return narrow(hn::ShiftRight<P::kShift2>(hn::Add(even, odd)),
                hn::ShiftRight<P::kShift2>(hn::Sub(even, odd)));
}

// Rows in the order of inverseColumns, samples in that of inverseRows.
template <class P, int kLow = 8>
RKD_BLOCK Block inverseTransform(const EightRows& coefficients) {
  Block block = inverseColumns<P, kLow>(coefficients);
  for (V16& v : block.v) v = inverseRows<P, kLow>(v);
  return block;
}

// The first coefficient, dequantised in the same way.
RKD_BLOCK int firstCoefficient(const int16_t* from, std::nullptr_t) {
  int16_t coefficient;
  std::memcpy(&coefficient, static_cast<const void*>(from), sizeof(coefficient));
  return coefficient;
}
RKD_BLOCK int firstCoefficient(const int16_t* from, const uint16_t* table) {
  uint16_t quantiser;
  std::memcpy(&quantiser, static_cast<const void*>(table), sizeof(quantiser));
  return static_cast<int16_t>(firstCoefficient(from, nullptr) * quantiser);
}

// What the inverse transform makes of a block with nothing but its first coefficient.
template <class P>
RKD_BLOCK int flatSample(int coefficient) {
  const auto narrowed = [](int sum, int shift) { return std::clamp(sum >> shift, -32768, 32767); };
  const int column = narrowed(coefficient * cosine(0, 0) + P::kRounding1, P::kShift1);
  return narrowed(column * cosine(0, 0) + P::kRounding2, P::kShift2);
}

// Whether all coefficients but the first are zero.
RKD_BLOCK bool isFlat(const int16_t* coefficients) {
  const Block b = loadBlock(coefficients);
  V16 rest = hn::And(b.v[0], hn::Load(D16(), kDct.butFirst));
  for (int i = 1; i < kVectors; ++i) rest = hn::Or(rest, b.v[i]);
  return hn::AllTrue(D16(), hn::Eq(rest, hn::Zero(D16())));
}

// ---- quantisation ----

// By the derived factors of a marked table, from twice the magnitudes; signs are those of `signs`.
RKD_BLOCK V16 quantiseDerived(V16 twice, V16 signs, const uint16_t* table, int i) {
  const V16 scaled = mulHighUnsigned(twice, loadEntries(table + kReciprocals, i));
  return withSignOf(hn::MulFixedPoint15(scaled, loadEntries(table + kScales, i)), signs);
}

// Without derived values: a float quotient of integers below 2^24 is exact enough to cut.
RKD_BLOCK V16 quantiseByDivision(V16 x, const uint16_t* table, int i) {
  const hn::Half<hn::RebindToUnsigned<D16>> duHalf;
  const hn::RebindToFloat<D32> df;
  const auto divide = [&](auto magnitude16, auto quantiser16) HWY_ATTR {
    const V32 q = hn::Max(hn::PromoteTo(D32(), quantiser16), hn::Set(D32(), 1));
    const V32 n = hn::Add(hn::PromoteTo(D32(), magnitude16), hn::ShiftRight<1>(q));
    return hn::ConvertTo(D32(), hn::Div(hn::ConvertTo(df, n), hn::ConvertTo(df, q)));
  };
  const hn::RebindToUnsigned<D16> du;
  const auto magnitude = hn::BitCast(du, hn::Abs(x));
  const auto quantiser = hn::LoadU(du, table + 8 * W * i);
  const V32 low = divide(hn::LowerHalf(duHalf, magnitude), hn::LowerHalf(duHalf, quantiser));
  const V32 high = divide(hn::UpperHalf(duHalf, magnitude), hn::UpperHalf(duHalf, quantiser));
  const hn::Half<D16> dHalf;
  return withSignOf(hn::Combine(D16(), hn::DemoteTo(dHalf, high), hn::DemoteTo(dHalf, low)), x);
}

RKD_BLOCK bool isAllOnes(const uint16_t* table) {
  V16 different = hn::Zero(D16());
  for (int i = 0; i < kVectors; ++i) {
    different = hn::Or(different, hn::Xor(loadEntries(table, i), hn::Set(D16(), 1)));
  }
  return hn::AllTrue(D16(), hn::Eq(different, hn::Zero(D16())));
}

// Stores the quotients of a transform's coefficients, doubled as they are.
RKD_BLOCK void storeQuantised(const Block& b, const uint16_t* table, int16_t* to) {
  if (HWY_LIKELY(isMarked(table))) {
    for (int i = 0; i < kVectors; ++i) {
      const V16 twice = roundedTwice(b.v[i]);
      hn::StoreU(quantiseDerived(hn::Abs(twice), twice, table, i), D16(), to + 8 * W * i);
    }
  } else if (isAllOnes(table)) {
    for (int i = 0; i < kVectors; ++i) hn::StoreU(rounded(b.v[i]), D16(), to + 8 * W * i);
  } else {
    for (int i = 0; i < kVectors; ++i) {
      hn::StoreU(quantiseByDivision(rounded(b.v[i]), table, i), D16(), to + 8 * W * i);
    }
  }
}

}  // namespace rkd::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif  // per-target guard
