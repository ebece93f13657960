// Lossless predictors: rows of samples to differences and back.
//
// All arithmetic is modulo 2^16 on unsigned lanes. Halving differences and sums need a bit more
// than that, so they are put together from halved operands and the low bits.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "jpeg/predrow.cpp"
#include "hwy/foreach_target.h"
#include "hwy/highway.h"

#include "common/levels.h"
#include "rkd/rkdjpeg_pred.h"

HWY_BEFORE_NAMESPACE();
namespace rkd::HWY_NAMESPACE {
namespace {
namespace hn = hwy::HWY_NAMESPACE;

/// floor((p - q) / 2) of unsigned 16-bit numbers, modulo 2^16.
template <class V>
HWY_INLINE V halfDifference(V p, V q) {
  const auto borrow = hn::And(hn::AndNot(p, q), hn::Set(hn::DFromV<V>(), uint16_t{1}));
  return hn::Sub(hn::Sub(hn::ShiftRight<1>(p), hn::ShiftRight<1>(q)), borrow);
}

/// floor((p + q) / 2).
template <class V>
HWY_INLINE V halfSum(V p, V q) {
  const auto carry = hn::And(hn::And(p, q), hn::Set(hn::DFromV<V>(), uint16_t{1}));
  return hn::Add(hn::Add(hn::ShiftRight<1>(p), hn::ShiftRight<1>(q)), carry);
}

/// The prediction by `Predictor` from left, above and above left.
template <int Predictor, class V>
HWY_INLINE V predict(V a, V b, V c) {
  if constexpr (Predictor == 1) return a;
  if constexpr (Predictor == 2) return b;
  if constexpr (Predictor == 3) return c;
  if constexpr (Predictor == 4) return hn::Sub(hn::Add(a, b), c);
  if constexpr (Predictor == 5) return hn::Add(a, halfDifference(b, c));
  if constexpr (Predictor == 6) return hn::Add(b, halfDifference(a, c));
  if constexpr (Predictor == 7) return halfSum(a, b);
}

/// Rows are read one element beside each other, so that every vector of 64 bytes would lie across
/// two cache lines: at most 32 bytes, of which every other does.
using RowTag = hn::CappedTag<uint16_t, 16>;

/// Differences 1..width-1 of a row. A row without one above is its own, as predictor 1 does not
/// look at it.
template <int Predictor>
void diffRow(const uint16_t* src, const uint16_t* above, uint16_t* dst, int width) {
  const auto run = [=](auto d, int x) HWY_ATTR {
    const auto prediction = predict<Predictor>(hn::LoadU(d, src + x - 1), hn::LoadU(d, above + x),
                                               hn::LoadU(d, above + x - 1));
    hn::StoreU(hn::Sub(hn::LoadU(d, src + x), prediction), d, dst + x);
  };
  const RowTag d;
  const int lanes = int(hn::Lanes(d));
  int x = 1;
  for (; x + lanes <= width; x += lanes) run(d, x);
  for (; x < width; ++x) run(hn::CappedTag<uint16_t, 1>(), x);
}

/// Samples 1..width-1 where each depends on others only through a running sum: what is added
/// to the left neighbour (Terms), and what to the sum for the sample (Offset).
template <class Terms, class Offset>
HWY_INLINE void runningSum(uint16_t start, uint16_t* dst, int width, const Terms& terms,
                           const Offset& offset) {
  // Sums within eight lanes are independent; only one addition links them.
  const hn::CappedTag<uint16_t, 8> d;
  constexpr int lanes = 8;
  int x = 1;
  auto carry = hn::Set(d, start);
  for (; x + lanes <= width; x += lanes) {
    auto sum = terms(d, x);
    sum = hn::Add(sum, hn::ShiftLeftLanes<1>(sum));
    sum = hn::Add(sum, hn::ShiftLeftLanes<2>(sum));
    sum = hn::Add(sum, hn::ShiftLeftLanes<4>(sum));
    hn::StoreU(hn::Add(hn::Add(sum, carry), offset(d, x)), d, dst + x);
    carry = hn::Add(carry, hn::Broadcast<7>(sum));
  }
  const hn::CappedTag<uint16_t, 1> one;
  uint16_t last = hn::GetLane(carry);
  for (; x < width; ++x) {
    last = uint16_t(last + hn::GetLane(terms(one, x)));
    dst[x] = uint16_t(last + hn::GetLane(offset(one, x)));
  }
}

template <int Predictor>
void reconstructRow(const uint16_t* src, const uint16_t* above, uint16_t* dst, int width) {
  const auto zero = [](auto d, int) HWY_ATTR { return hn::Zero(d); };
  const auto difference = [=](auto d, int x) HWY_ATTR { return hn::LoadU(d, src + x); };
  if constexpr (Predictor == 1) {
    runningSum(dst[0], dst, width, difference, zero);
  } else if constexpr (Predictor == 4) {
    // x - b = (left x - c) + difference: the sum runs over what a sample has more than that above.
    runningSum(uint16_t(dst[0] - above[0]), dst, width, difference,
               [=](auto d, int x) HWY_ATTR { return hn::LoadU(d, above + x); });
  } else if constexpr (Predictor == 5) {
    const auto terms = [=](auto d, int x) HWY_ATTR {
      return hn::Add(hn::LoadU(d, src + x),
                     halfDifference(hn::LoadU(d, above + x), hn::LoadU(d, above + x - 1)));
    };
    runningSum(dst[0], dst, width, terms, zero);
  } else if constexpr (Predictor == 6) {
    int left = dst[0];
    for (int x = 1; x < width; ++x) {
      left = (src[x] + above[x] + ((left - above[x - 1]) >> 1)) & 0xFFFF;
      dst[x] = uint16_t(left);
    }
  } else if constexpr (Predictor == 7) {
    int left = dst[0];
    for (int x = 1; x < width; ++x) {
      left = (src[x] + ((left + above[x]) >> 1)) & 0xFFFF;
      dst[x] = uint16_t(left);
    }
  } else {
    const uint16_t* const base = Predictor == 2 ? above : above - 1;
    const RowTag d;
    const int lanes = int(hn::Lanes(d));
    int x = 1;
    for (; x + lanes <= width; x += lanes) {
      hn::StoreU(hn::Add(hn::LoadU(d, src + x), hn::LoadU(d, base + x)), d, dst + x);
    }
    for (; x < width; ++x) dst[x] = uint16_t(src[x] + base[x]);
  }
}

using RowKernel = void (*)(const uint16_t*, const uint16_t*, uint16_t*, int);

void diffRows(int predictor, const uint16_t* src, const uint16_t* above, uint16_t* dst, int width) {
  static constexpr RowKernel kernels[] = {diffRow<1>, diffRow<2>, diffRow<3>, diffRow<4>,
                                          diffRow<5>, diffRow<6>, diffRow<7>};
  kernels[predictor - 1](src, above, dst, width);
}

void reconstructRows(int predictor, const uint16_t* src, const uint16_t* above, uint16_t* dst,
                     int width) {
  static constexpr RowKernel kernels[] = {reconstructRow<1>, reconstructRow<2>, reconstructRow<3>,
                                          reconstructRow<4>, reconstructRow<5>, reconstructRow<6>,
                                          reconstructRow<7>};
  kernels[predictor - 1](src, above, dst, width);
}

}  // namespace
}  // namespace rkd::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace rkd {
namespace {
HWY_EXPORT(diffRows);
HWY_EXPORT(reconstructRows);

// int16_t and uint16_t may alias each other.
const uint16_t* bits(const int16_t* row) { return reinterpret_cast<const uint16_t*>(row); }
uint16_t* bits(int16_t* row) { return reinterpret_cast<uint16_t*>(row); }

RkdStatus checkFirstRow(const int16_t* src, const int16_t* dst, int width, int precision,
                        int pointTransform) {
  if (src == nullptr || dst == nullptr) return rkdStsNullPtrErr;
  if (width <= 0) return rkdStsSizeErr;
  const bool inRange =
      precision >= 2 && precision <= 16 && pointTransform >= 0 && pointTransform < precision;
  return inRange ? rkdStsNoErr : rkdStsBadArgErr;
}

RkdStatus checkRow(const int16_t* src, const int16_t* previousRow, const int16_t* dst, int width,
                   int predictor) {
  if (src == nullptr || previousRow == nullptr || dst == nullptr) return rkdStsNullPtrErr;
  if (width <= 0) return rkdStsSizeErr;
  return predictor >= 1 && predictor <= 7 ? rkdStsNoErr : rkdStsBadArgErr;
}

uint16_t startValue(int precision, int pointTransform) {
  return uint16_t(1u << (precision - pointTransform - 1));
}
}  // namespace
}  // namespace rkd

using namespace rkd;

RkdStatus rkdiDiffPredFirstRow_JPEG_16s_C1(const int16_t* src, int16_t* dst, int width,
                                           int precision, int pointTransform) {
  if (const RkdStatus s = checkFirstRow(src, dst, width, precision, pointTransform)) return s;
  bits(dst)[0] = uint16_t(bits(src)[0] - startValue(precision, pointTransform));
  RKD_AT_LEVEL(diffRows)(1, bits(src), bits(src), bits(dst), width);
  return rkdStsNoErr;
}

RkdStatus rkdiReconstructPredFirstRow_JPEG_16s_C1(const int16_t* src, int16_t* dst, int width,
                                                  int precision, int pointTransform) {
  if (const RkdStatus s = checkFirstRow(src, dst, width, precision, pointTransform)) return s;
  bits(dst)[0] = uint16_t(bits(src)[0] + startValue(precision, pointTransform));
  RKD_AT_LEVEL(reconstructRows)(1, bits(src), bits(src), bits(dst), width);
  return rkdStsNoErr;
}

RkdStatus rkdiDiffPredRow_JPEG_16s_C1(const int16_t* src, const int16_t* previousRow, int16_t* dst,
                                      int width, int predictor) {
  if (const RkdStatus s = checkRow(src, previousRow, dst, width, predictor)) return s;
  bits(dst)[0] = uint16_t(bits(src)[0] - bits(previousRow)[0]);
  RKD_AT_LEVEL(diffRows)(predictor, bits(src), bits(previousRow), bits(dst), width);
  return rkdStsNoErr;
}

RkdStatus rkdiReconstructPredRow_JPEG_16s_C1(const int16_t* src, const int16_t* previousRow,
                                             int16_t* dst, int width, int predictor) {
  if (const RkdStatus s = checkRow(src, previousRow, dst, width, predictor)) return s;
  bits(dst)[0] = uint16_t(bits(src)[0] + bits(previousRow)[0]);
  RKD_AT_LEVEL(reconstructRows)(predictor, bits(src), bits(previousRow), bits(dst), width);
  return rkdStsNoErr;
}
#endif
