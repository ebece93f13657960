// The lifting steps of both wavelets on vectors, and sweeps down the rows, compiled once per level.
// Include after "hwy/highway.h", inside no namespace.
//
// Lifting is the same work in both directions: own = step(own, a, b), where own is a low or high
// sample, a and b are the ones of the other kind before and behind it. All steps are made at one
// place after the other, a place being a pair of samples, along lines (waveletline-inl.h) or a pair
// of rows.
#if defined(RKD_JPEG2000_WAVELET_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef RKD_JPEG2000_WAVELET_INL_H_
#undef RKD_JPEG2000_WAVELET_INL_H_
#else
#define RKD_JPEG2000_WAVELET_INL_H_
#endif

#include <algorithm>
#include <cstring>

#include "common/bytes-inl.h"
#include "hwy/highway.h"
#include "jpeg2000/wavelet.h"

HWY_BEFORE_NAMESPACE();
namespace rkd::HWY_NAMESPACE {

// Passes over rows with little arithmetic run best in vectors of 32 bytes: longer stores make loads
// wait whose addresses differ from theirs by about a multiple of 4096.
template <class Kernel, class T>
using RowLanes = hn::CappedTag<T, (Kernel::kScales && std::is_integral_v<T> ? 64 : 32) / sizeof(T)>;
template <class V>
using Sample = hn::TFromD<hn::DFromV<V>>;

enum Band { kLow = 0, kHigh = 1 };

// (a + b) >> 1 of the true sum.
template <class V>
HWY_INLINE V halfSum(V a, V b) {
  return hn::Add(hn::And(a, b), hn::ShiftRight<1>(hn::Xor(a, b)));
}

// 5/3. Step 0 makes highs, step 1 lows.
struct B53 {
  static constexpr int kSteps = 2;
  static constexpr bool kScales = false;

  template <int step, bool inverse, class V>
  static HWY_INLINE V lift(V own, V a, V b) {
    const V half = halfSum(a, b);
    if constexpr (step == 0) {
      return inverse ? hn::Add(own, half) : hn::Sub(own, half);
    } else {
      const V quarter = hn::Sub(half, hn::ShiftRight<1>(half));  // (a + b + 2) >> 2
      return inverse ? hn::Sub(own, quarter) : hn::Add(own, quarter);
    }
  }
  template <bool byK, class V>
  static HWY_INLINE V scale(V v) {
    return v;
  }
};

// 9/7. Even steps make highs, odd steps lows.
struct D97 {
  static constexpr int kSteps = 4;
  static constexpr bool kScales = true;
  static constexpr double kWeight[4] = {-1.586134342059924, -0.052980118572961, 0.882911075530934,
                                        0.443506852043971};
  static constexpr double kK = 1.230174104914001;

  static constexpr int fixedPoint(double weight, int bits) {
    return static_cast<int>(weight * (1 << bits) + (weight < 0 ? -.5 : .5));
  }

  template <int step, bool inverse, class V>
  static HWY_INLINE V lift(V own, V a, V b) {
    const hn::DFromV<V> d;
    if constexpr (std::is_floating_point_v<Sample<V>>) {
      constexpr double weight = inverse ? -kWeight[step] : kWeight[step];
      return hn::MulAdd(hn::Set(d, static_cast<float>(weight)), hn::Add(a, b), own);
    } else if constexpr (sizeof(Sample<V>) == 2) {
      constexpr int weight = fixedPoint(kWeight[step], 14);
      const V term = weightedPairs(a, b, weight, weight, 1 << 13);
      return inverse ? hn::SaturatedSub(own, term) : hn::SaturatedAdd(own, term);
    } else {
      const V term = product32(hn::Add(a, b), fixedPoint(kWeight[step], 28));
      return inverse ? hn::Sub(own, term) : hn::Add(own, term);
    }
  }

  // Times K, or divided by it.
  template <bool byK, class V>
  static HWY_INLINE V scale(V v) {
    const hn::DFromV<V> d;
    constexpr double factor = byK ? kK : 1 / kK;
    if constexpr (std::is_floating_point_v<Sample<V>>) {
      return hn::Mul(v, hn::Set(d, static_cast<float>(factor)));
    } else if constexpr (sizeof(Sample<V>) == 2) {
      return weightedPairs(v, hn::Set(d, 1), fixedPoint(factor, 14), 1 << 13, 0);
    } else {
      return product32(v, fixedPoint(factor, 28));
    }
  }

 private:
  // (a * first + b * second + start) >> 14 of 16-bit samples, saturated.
  template <class V>
  static RKD_BLOCK V weightedPairs(V a, V b, int first, int second, int start) {
    const hn::DFromV<V> d;
    const hn::RepartitionToWide<decltype(d)> d32;
    const auto pair = static_cast<uint32_t>(first & 0xFFFF) | static_cast<uint32_t>(second) << 16;
    const V weights = hn::BitCast(d, hn::Set(d32, static_cast<int32_t>(pair)));
    const auto bias = hn::Set(d32, start);
    const auto low = addPairProducts(bias, hn::InterleaveLower(d, a, b), weights);
    const auto high = addPairProducts(bias, hn::InterleaveUpper(d, a, b), weights);
    return hn::ReorderDemote2To(d, hn::ShiftRight<14>(low), hn::ShiftRight<14>(high));
  }
  // (v * weight + 2^27) >> 28, of which the low 32 bits: shifts need not know the sign.
  template <class V>
  static RKD_BLOCK V product32(V v, int weight) {
    const hn::DFromV<V> d;
    const hn::Repartition<int64_t, decltype(d)> d64;
    const hn::Repartition<uint64_t, decltype(d)> du64;
    const V w = hn::Set(d, weight);
    const auto half = hn::Set(d64, int64_t{1} << 27);
    const V odd = hn::BitCast(d, hn::ShiftRight<32>(hn::BitCast(du64, v)));
    const auto evens = hn::Add(hn::MulEven(v, w), half);
    const auto odds = hn::Add(hn::MulEven(odd, w), half);
    return hn::OddEven(hn::BitCast(d, hn::ShiftLeft<4>(odds)),
                       hn::BitCast(d, hn::ShiftRight<28>(hn::BitCast(du64, evens))));
  }
};

// ---- all steps at once ----

// What lifting one place gives: the result of the last step and that of the step before.
template <class V>
struct Lifted {
  V last, other;
};

// Makes the steps from t on. Every step changes what is behind the newest result, by that result
// and by the one of its kind a place before, which before(t, newest) tells.
template <class Kernel, bool inverse, int t = 0, class V, class Before>
HWY_INLINE Lifted<V> liftPlace(V own, V newest, const Before& before) {
  const V previous = before(t, newest);
  const V result = Kernel::template lift < inverse ? Kernel::kSteps - 1 - t : t,
          inverse > (own, previous, newest);
  if constexpr (t + 1 < Kernel::kSteps) {
    return liftPlace<Kernel, inverse, t + 1>(previous, result, before);
  } else {
    return {result, newest};
  }
}

// ---- single rows of samples ----

template <class Kernel, int step, bool inverse, class T>
RKD_BLOCK void liftRow(const T* own, const T* a, const T* b, T* out, size_t n) {
  const RowLanes<Kernel, T> d;
  overRow(n, hn::Lanes(d), [&](size_t x, auto amount) RKD_BODY {
    store(Kernel::template lift<step, inverse>(load(d, own + x, amount), load(d, a + x, amount),
                                               load(d, b + x, amount)),
          d, out + x, amount);
  });
}

// The factor that ends a forward or begins an inverse transform.
template <class Kernel, bool inverse, Band band, class V>
HWY_INLINE V scaled(V v) {
  return Kernel::template scale<(band == kHigh) != inverse>(v);
}

template <class Kernel, bool inverse, Band band, class T>
RKD_BLOCK void scaleRow(const T* from, T* to, size_t n) {
  const RowLanes<Kernel, T> d;
  overRow(n, hn::Lanes(d), [&](size_t x, auto amount) RKD_BODY {
    store(scaled<Kernel, inverse, band>(load(d, from + x, amount)), d, to + x, amount);
  });
}

// What lines of one high sample are: doubled, saturating where 9/7 does, or halved.
template <class Kernel, bool inverse, class T>
RKD_BLOCK void scaleSingle(const T* from, T* to, size_t n) {
  const RowLanes<Kernel, T> d;
  overRow(n, hn::Lanes(d), [&](size_t x, auto amount) RKD_BODY {
    const auto v = load(d, from + x, amount);
    if constexpr (std::is_floating_point_v<T>) {
      store(hn::Mul(v, hn::Set(d, inverse ? .5F : 2.F)), d, to + x, amount);
    } else if constexpr (inverse) {
      store(hn::ShiftRight<1>(v), d, to + x, amount);
    } else if constexpr (Kernel::kScales && sizeof(T) == 2) {
      store(hn::SaturatedAdd(v, v), d, to + x, amount);
    } else {
      store(hn::Add(v, v), d, to + x, amount);
    }
  });
}

// ---- columns: a place is a pair of rows ----

// Rows of one pass: the samples lifted first, their neighbours, the results of the places before,
// and where results go. made[0] takes the neighbours as they were lifted with, if they are kept.
template <class Kernel, class T>
struct PassRows {
  const T* first;
  const T* second;
  const T* before[Kernel::kSteps];
  T* made[Kernel::kSteps];
  T* last;
  T* other;
};

enum class Keep { kNothing, kSecond, kAll };

// All steps of a pair of rows, with the factors of 9/7. `other`, the result of the step before the
// last one, goes out apart from made[] if it is scaled or everything is kept.
template <class Kernel, bool inverse, Keep keep, class T>
RKD_BLOCK void liftPass(const PassRows<Kernel, T>& r, size_t n) {
  const RowLanes<Kernel, T> d;
  overRow(n, hn::Lanes(d), [&](size_t x, auto amount) RKD_BODY {
    auto first = load(d, r.first + x, amount);
    auto second = load(d, r.second + x, amount);
    if constexpr (inverse) {
      first = scaled<Kernel, true, kLow>(first);
      second = scaled<Kernel, true, kHigh>(second);
    }
    auto lifted = liftPlace<Kernel, inverse>(first, second, [&](int t, auto newest) HWY_ATTR {
      const auto previous = load(d, r.before[t] + x, amount);
      if (t > 0 || keep != Keep::kNothing) store(newest, d, r.made[t] + x, amount);
      return previous;
    });
    if constexpr (!inverse) {
      lifted = {scaled<Kernel, false, kLow>(lifted.last),
                scaled<Kernel, false, kHigh>(lifted.other)};
    }
    store(lifted.last, d, r.last + x, amount);
    if constexpr (keep == Keep::kAll || (Kernel::kScales && !inverse)) {
      store(lifted.other, d, r.other + x, amount);
    }
  });
}

// Lifts columns in one sweep down the rows: a row is taken when a step needs it first, and given
// away after its last step, so that all work is done on a few rows that stay in the cache. Away
// from the ends all steps are one pass.
//
// Rows: load(band, k, spare) gives the row with the samples that belong to row k of the band,
// `spare` being a place for them; place(band, k, spare) the place of the finished row, from where
// neighbours read it unless it is scaled; finish(band, k, row) sees it.
template <class Kernel, bool inverse, class T, class Rows>
class Sweep {
 public:
  // ring: 2 * kRing rows of `width` samples, a ringStep apart.
  Sweep(Rows& rows, T* ring, size_t width, int height, int phase)
      : m_rows(rows),
        m_width(width),
        m_phase(phase),
        m_count{lowCount(height, phase), highCount(height, phase)} {
    for (size_t i = 0; i < 2 * kRing; ++i)
      m_spare[i / kRing][i % kRing] = ring + i * ringStep(width, sizeof(T));
  }

  // The height must be at least 2.
  void run() {
    for (int k = 0; k < std::max(m_count[kLow], m_count[kHigh]); ++k) {
      if (passAt(k)) continue;
      if (k < m_count[bandOf(kSteps - 2)]) advance<kSteps - 2>(k);
      if (k < m_count[bandOf(kSteps - 1)]) advance<kSteps - 1>(k);
    }
  }

 private:
  static constexpr int kSteps = Kernel::kSteps;

  // The steps 0, 1 ... make rows of these bands; the steps -1 and -2 take rows.
  static constexpr Band bandOf(int t) { return ((t & 1) == 0) == inverse ? kLow : kHigh; }
  // The second of the rows of the other band that row k of a band lies between.
  int behind(Band band, int k) const { return k + (band == kHigh ? 1 - m_phase : m_phase); }

  // Makes the t-th step in time for the rows of its band up to `last`.
  template <int t>
  void advance(int last) {
    constexpr Band band = bandOf(t), other = bandOf(t + 1);
    for (int& k = m_done[t + 2]; k <= last; ++k) {
      T* const spare = m_spare[band][k % kRing];
      if constexpr (t < 0) {
        const T* row = m_rows.load(band, k, spare);
        if constexpr (inverse && Kernel::kScales) {
          scaleRow<Kernel, true, band>(row, spare, m_width);
          row = spare;
        }
        rowAt(band, k) = row;
      } else {
        const int behindIt = behind(band, k);
        const int b = std::min(behindIt, m_count[other] - 1);
        const int a = std::clamp(behindIt - 1, 0, b);
        advance<t - 1>(b);
        advance<t - 2>(k);
        constexpr bool isLast = t >= kSteps - 2;
        constexpr bool apart = isLast && Kernel::kScales && !inverse;
        T* const place = isLast ? m_rows.place(band, k, spare) : spare;
        T* const out = apart ? spare : place;
        liftRow<Kernel, inverse ? kSteps - 1 - t : t, inverse>(rowAt(band, k), rowAt(other, a),
                                                               rowAt(other, b), out, m_width);
        rowAt(band, k) = out;
        if constexpr (apart) scaleRow<Kernel, false, band>(out, place, m_width);
        if constexpr (isLast) m_rows.finish(band, k, place);
      }
    }
  }

  // Makes every step in one pass, the last one for row k: if each step has come to its row, and no
  // row is mirrored.
  RKD_BLOCK bool passAt(int k) {
    int at[kSteps + 2];  // the rows of the steps from -2 on
    at[kSteps + 1] = k;
    for (int t = kSteps - 1; t >= 0; --t) at[t + 1] = behind(bandOf(t), at[t + 2]);
    at[0] = at[2];
    for (int t = -2; t < kSteps; ++t) {
      const bool hasPrevious = at[t + 2] > 0 || t == -2 || t == kSteps - 1;
      if (m_done[t + 2] != at[t + 2] || at[t + 2] >= m_count[bandOf(t)] || !hasPrevious) {
        return false;
      }
    }
    pass(at);
    return true;
  }

  RKD_BLOCK void pass(const int (&at)[kSteps + 2]) {
    constexpr Band lastBand = bandOf(kSteps - 1), otherBand = bandOf(kSteps - 2);
    constexpr Keep keep = inverse && Kernel::kScales ? Keep::kSecond : Keep::kNothing;
    const int last = at[kSteps + 1], other = at[kSteps];
    const auto spare = [&](int t) { return m_spare[bandOf(t)][at[t + 2] % kRing]; };
    PassRows<Kernel, T> r;
    r.first = m_rows.load(bandOf(-2), at[0], spare(-2));
    r.second = m_rows.load(bandOf(-1), at[1], spare(-1));
    for (int t = 0; t < kSteps; ++t) {
      r.before[t] = rowAt(bandOf(t - 1), at[t + 1] - 1);
      r.made[t] = spare(t - 1);
    }
    r.last = m_rows.place(lastBand, last, spare(kSteps - 1));
    r.other = m_rows.place(otherBand, other, spare(kSteps - 2));
    if (inverse || !Kernel::kScales) r.made[kSteps - 1] = r.other;
    liftPass<Kernel, inverse, keep>(r, m_width);
    rowAt(bandOf(-1), at[1]) = keep == Keep::kSecond ? r.made[0] : r.second;
    for (int t = 1; t < kSteps; ++t) rowAt(bandOf(t - 1), at[t + 1]) = r.made[t];
    rowAt(lastBand, last) = r.last;
    for (int& done : m_done) ++done;
    m_rows.finish(otherBand, other, r.other);
    m_rows.finish(lastBand, last, r.last);
  }

  const T*& rowAt(Band band, int k) { return m_row[band][k % kRing]; }

  Rows& m_rows;
  size_t m_width;
  int m_phase;
  int m_count[2];
  int m_done[kSteps + 2] = {};
  const T* m_row[2][kRing] = {};
  T* m_spare[2][kRing];
};

// Which row of the samples row k of a band belongs to.
inline int sampleRow(Band band, int k, int phase) {
  return 2 * k + (band == kLow ? phase : 1 - phase);
}

}  // namespace rkd::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif  // per-target guard
