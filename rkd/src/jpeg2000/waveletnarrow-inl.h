// The wavelets along short lines, compiled once per level. Include after "hwy/highway.h", inside no
// namespace.
//
// A line of a few vectors is lifted band by band, a vector of one band at a time. Mirrored samples
// are the neighbours on the other side, which is a choice between two vectors: nothing is read that
// was just stored sample by sample, for which a processor waits longer than such a line takes.
#if defined(RKD_JPEG2000_WAVELETNARROW_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef RKD_JPEG2000_WAVELETNARROW_INL_H_
#undef RKD_JPEG2000_WAVELETNARROW_INL_H_
#else
#define RKD_JPEG2000_WAVELETNARROW_INL_H_
#endif

#include <algorithm>

#include "hwy/highway.h"
#include "jpeg2000/wavelet-inl.h"

HWY_BEFORE_NAMESPACE();
namespace rkd::HWY_NAMESPACE {

template <class T>
using LineLanes = hn::ScalableTag<T>;
template <class T>
using LineVector = hn::Vec<LineLanes<T>>;

#if HWY_TARGET <= HWY_AVX3
// The lanes 0, n, 1, n + 1 ... of two vectors of n lanes, and the second half of them.
template <class Index>
struct InterleavedIndex {
  static constexpr size_t n = 64 / sizeof(Index);
  alignas(64) Index first[n] = {}, second[n] = {};
  constexpr InterleavedIndex() {
    for (size_t i = 0; i < n; ++i) {
      first[i] = static_cast<Index>(i / 2 + i % 2 * n);
      second[i] = static_cast<Index>(n / 2 + i / 2 + i % 2 * n);
    }
  }
};
#endif

// The lanes of a and b in turns.
template <class T>
HWY_INLINE void interleave(LineVector<T> a, LineVector<T> b, LineVector<T>* first,
                           LineVector<T>* second) {
  const LineLanes<T> d;
#if HWY_TARGET <= HWY_AVX3
  using Index = std::conditional_t<sizeof(T) == 2, int16_t, int32_t>;
  static constexpr InterleavedIndex<Index> kIndex;
  *first = fromTwo(a, b, kIndex.first);
  *second = fromTwo(a, b, kIndex.second);
#else
  const auto lower = hn::InterleaveLower(d, a, b), upper = hn::InterleaveUpper(d, a, b);
#if HWY_TARGET == HWY_AVX2
  *first = hn::ConcatLowerLower(d, upper, lower);
  *second = hn::ConcatUpperUpper(d, upper, lower);
#else
  *first = lower;
  *second = upper;
#endif
#endif
}

// The first `count` lanes, or all; none where that is negative. Lanes beyond are zero.
template <class T>
HWY_INLINE LineVector<T> loadUpTo(const T* from, ptrdiff_t count) {
  const LineLanes<T> d;
  if (count >= static_cast<ptrdiff_t>(hn::Lanes(d))) return hn::LoadU(d, from);
  return count > 0 ? load(d, from, Part{static_cast<size_t>(count)}) : hn::Zero(d);
}
template <class T>
HWY_INLINE void storeUpTo(LineVector<T> v, T* to, ptrdiff_t count) {
  const LineLanes<T> d;
  if (count >= static_cast<ptrdiff_t>(hn::Lanes(d))) {
    hn::StoreU(v, d, to);
  } else if (count > 0) {
    store(v, d, to, Part{static_cast<size_t>(count)});
  }
}

template <class Kernel, class T>
class NarrowLine {
 public:
  static constexpr ptrdiff_t kLanes = hn::MaxLanes(LineLanes<T>());
  static constexpr ptrdiff_t kVectors = 2;  // of a band, at most
  static constexpr ptrdiff_t kLongest = 2 * kLanes * kVectors;

  // The length must be from 2 to kLongest.
  NarrowLine(int length, int phase)
      : m_length(length),
        m_count{lowCount(length, phase), highCount(length, phase)},
        m_vectors(length <= 2 * kLanes ? 1 : kVectors),
        m_first(phase == rkdWTFirstLow ? kLow : kHigh) {}

  HWY_INLINE void inverse(const T* low, const T* high, T* line) {
    for (ptrdiff_t i = 0; i < m_vectors; ++i) {
      const ptrdiff_t at = i * kLanes;
      m_band[kLow][i] = scaled<Kernel, true, kLow>(loadUpTo(low + at, m_count[kLow] - at));
      m_band[kHigh][i] = scaled<Kernel, true, kHigh>(loadUpTo(high + at, m_count[kHigh] - at));
    }
    lift<true>();
    for (ptrdiff_t i = 0; i < m_vectors; ++i) {
      const ptrdiff_t at = 2 * i * kLanes;
      LineVector<T> a, b;
      interleave<T>(m_band[m_first][i], m_band[1 - m_first][i], &a, &b);
      storeUpTo(a, line + at, m_length - at);
      storeUpTo(b, line + at + kLanes, m_length - at - kLanes);
    }
  }

  HWY_INLINE void forward(const T* line, T* low, T* high) {
    const LineLanes<T> d;
    for (ptrdiff_t i = 0; i < m_vectors; ++i) {
      const ptrdiff_t at = 2 * i * kLanes;
      const auto a = loadUpTo(line + at, m_length - at);
      const auto b = loadUpTo(line + at + kLanes, m_length - at - kLanes);
      m_band[m_first][i] = hn::ConcatEven(d, b, a);
      m_band[1 - m_first][i] = hn::ConcatOdd(d, b, a);
    }
    lift<false>();
    for (ptrdiff_t i = 0; i < m_vectors; ++i) {
      const ptrdiff_t at = i * kLanes;
      storeUpTo(scaled<Kernel, false, kLow>(m_band[kLow][i]), low + at, m_count[kLow] - at);
      storeUpTo(scaled<Kernel, false, kHigh>(m_band[kHigh][i]), high + at, m_count[kHigh] - at);
    }
  }

 private:
  template <bool inverse, int t = 0>
  HWY_INLINE void lift() {
    if constexpr (t < Kernel::kSteps) {
      constexpr int step = inverse ? Kernel::kSteps - 1 - t : t;
      constexpr Band own = step % 2 == 0 ? kHigh : kLow;
      if (own == m_first) {
        liftBetweenPrevious<step, inverse, own>();
      } else {
        liftBetweenNext<step, inverse, own>();
      }
      lift<inverse, t + 1>();
    }
  }

  // Lanes of vector i that are sample k of their band.
  static HWY_INLINE auto isSample(ptrdiff_t k, ptrdiff_t i) {
    const LineLanes<T> d;
    return hn::Eq(hn::Iota(d, T{0}), hn::Set(d, static_cast<T>(k - i * kLanes)));
  }

  // A sample of the band that the line begins with is between the other band's with the number
  // before its own and with its own; the first one has but the latter, and the last one may have
  // but the former.
  template <int step, bool isInverse, Band own>
  HWY_INLINE void liftBetweenPrevious() {
    constexpr Band other = own == kLow ? kHigh : kLow;
    const ptrdiff_t lone = m_count[own] > m_count[other] ? m_count[own] - 1 : -1;
    LineVector<T> before = hn::Zero(LineLanes<T>());
    for (ptrdiff_t i = 0; i < m_vectors; ++i) {
      const auto v = m_band[other][i];
      auto a = oneOn(before, v);
      if (i == 0) a = hn::IfThenElse(isSample(0, 0), v, a);
      const auto b = hn::IfThenElse(isSample(lone, i), a, v);
      m_band[own][i] = Kernel::template lift<step, isInverse>(m_band[own][i], a, b);
      before = v;
    }
  }

  // One of the other band is between those with its own number and the next; the last one may have
  // but the former.
  template <int step, bool isInverse, Band own>
  HWY_INLINE void liftBetweenNext() {
    constexpr Band other = own == kLow ? kHigh : kLow;
    const ptrdiff_t lone = m_count[own] == m_count[other] ? m_count[own] - 1 : -1;
    for (ptrdiff_t i = 0; i < m_vectors; ++i) {
      const auto v = m_band[other][i];
      const auto behind = m_band[other][std::min(i + 1, m_vectors - 1)];
      const auto b = hn::IfThenElse(isSample(lone, i), v, oneBack(v, behind));
      m_band[own][i] = Kernel::template lift<step, isInverse>(m_band[own][i], v, b);
    }
  }

  ptrdiff_t m_length, m_count[2], m_vectors;
  Band m_first;
  LineVector<T> m_band[2][kVectors];
};

}  // namespace rkd::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif  // per-target guard
