// The lifting steps of both wavelets on vectors, lines and sweeps down the rows, compiled once per
// level. Include after "hwy/highway.h", inside no namespace.
//
// A line is parted into its low and its high samples; lifting then is the same work in both
// directions: out[i] = step(own[i], a[i], b[i]), where a and b are the other samples to the left
// and right, or the rows above and below.
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

template <class T>
using Lanes = hn::ScalableTag<T>;
template <class T>
using Vector = hn::Vec<Lanes<T>>;
using VF = Vector<float>;

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

  template <int step, bool inverse>
  static HWY_INLINE VF lift(VF own, VF a, VF b) {
    constexpr double weight = inverse ? -kWeight[step] : kWeight[step];
    return hn::MulAdd(hn::Set(Lanes<float>(), static_cast<float>(weight)), hn::Add(a, b), own);
  }
  template <int step, bool inverse>
  static RKD_BLOCK V16 lift(V16 own, V16 a, V16 b) {
    constexpr int weight = fixedPoint(kWeight[step], 14);
    const V16 term = pairs16(a, b, pairOf(weight, weight), 1 << 13);
    return inverse ? hn::SaturatedSub(own, term) : hn::SaturatedAdd(own, term);
  }
  template <int step, bool inverse>
  static RKD_BLOCK V32 lift(V32 own, V32 a, V32 b) {
    const V32 term = product32(hn::Add(a, b), fixedPoint(kWeight[step], 28));
    return inverse ? hn::Sub(own, term) : hn::Add(own, term);
  }

  // Times K, or divided by it.
  template <bool byK>
  static HWY_INLINE VF scale(VF v) {
    return hn::Mul(v, hn::Set(Lanes<float>(), static_cast<float>(byK ? kK : 1 / kK)));
  }
  template <bool byK>
  static RKD_BLOCK V16 scale(V16 v) {
    return pairs16(v, hn::Set(D16(), 1), pairOf(fixedPoint(byK ? kK : 1 / kK, 14), 1 << 13), 0);
  }
  template <bool byK>
  static RKD_BLOCK V32 scale(V32 v) {
    return product32(v, fixedPoint(byK ? kK : 1 / kK, 28));
  }

 private:
  // (a * first weight + b * second weight + start) >> 14, saturated.
  static HWY_INLINE V16 pairs16(V16 a, V16 b, V16 weights, int start) {
    const V32 bias = hn::Set(D32(), start);
    const V32 low = addPairProducts(bias, hn::InterleaveLower(D16(), a, b), weights);
    const V32 high = addPairProducts(bias, hn::InterleaveUpper(D16(), a, b), weights);
    return pack16(hn::ShiftRight<14>(low), hn::ShiftRight<14>(high));
  }
  // (v * weight + 2^27) >> 28, of which the low 32 bits: shifts need not know the sign.
  static HWY_INLINE V32 product32(V32 v, int weight) {
    const hn::Repartition<int64_t, D32> d64;
    const hn::Repartition<uint64_t, D32> du64;
    const V32 w = hn::Set(D32(), weight);
    const auto half = hn::Set(d64, int64_t{1} << 27);
    const V32 odd = hn::BitCast(D32(), hn::ShiftRight<32>(hn::BitCast(du64, v)));
    const auto evens = hn::Add(hn::MulEven(v, w), half);
    const auto odds = hn::Add(hn::MulEven(odd, w), half);
    return hn::OddEven(hn::BitCast(D32(), hn::ShiftLeft<4>(odds)),
                       hn::BitCast(D32(), hn::ShiftRight<28>(hn::BitCast(du64, evens))));
  }
};

// ---- rows of samples ----

template <class Kernel, int step, bool inverse, class T>
RKD_BLOCK void liftRow(const T* own, const T* a, const T* b, T* out, size_t n) {
  const Lanes<T> d;
  overRow(n, hn::Lanes(d), [&](size_t x, auto amount) HWY_ATTR {
    store(Kernel::template lift<step, inverse>(load(d, own + x, amount), load(d, a + x, amount),
                                               load(d, b + x, amount)),
          d, out + x, amount);
  });
}

template <class Kernel, bool byK, class T>
RKD_BLOCK void scaleRow(const T* from, T* to, size_t n) {
  const Lanes<T> d;
  overRow(n, hn::Lanes(d), [&](size_t x, auto amount) HWY_ATTR {
    store(Kernel::template scale<byK>(load(d, from + x, amount)), d, to + x, amount);
  });
}

// A band's row with the factor that ends a forward or begins an inverse transform.
template <class Kernel, bool inverse, class T>
HWY_INLINE void scaleBand(Band band, const T* from, T* to, size_t n) {
  if (!Kernel::kScales) {
    if (from != to)
      std::memcpy(static_cast<void*>(to), static_cast<const void*>(from), n * sizeof(T));
  } else if ((band == kHigh) != inverse) {
    scaleRow<Kernel, true>(from, to, n);
  } else {
    scaleRow<Kernel, false>(from, to, n);
  }
}

// What lines of one high sample are: doubled, saturating where 9/7 does, or halved.
template <class Kernel, bool inverse, class T>
RKD_BLOCK void scaleSingle(const T* from, T* to, size_t n) {
  const Lanes<T> d;
  overRow(n, hn::Lanes(d), [&](size_t x, auto amount) HWY_ATTR {
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

// ---- lines ----

// Samples x, x + 2 ... and x + 1, x + 3 ... of `samples` samples. Whole vectors are written, the
// last one filled with zeros.
template <class T>
RKD_BLOCK void splitPairs(const T* from, size_t samples, T* even, T* odd) {
  const Lanes<T> d;
  const size_t lanes = hn::Lanes(d);
  for (size_t x = 0; x < samples; x += 2 * lanes) {
    Vector<T> a, b = hn::Zero(d);
    const size_t left = samples - x;
    a = left >= lanes ? hn::LoadU(d, from + x) : load(d, from + x, Part{left});
    if (left >= 2 * lanes) {
      b = hn::LoadU(d, from + x + lanes);
    } else if (left > lanes) {
      b = load(d, from + x + lanes, Part{left - lanes});
    }
    hn::StoreU(hn::ConcatEven(d, b, a), d, even + x / 2);
    hn::StoreU(hn::ConcatOdd(d, b, a), d, odd + x / 2);
  }
}

template <class T>
RKD_BLOCK void joinPairs(const T* even, const T* odd, size_t samples, T* to) {
  const Lanes<T> d;
  const size_t lanes = hn::Lanes(d);
  size_t x = 0;
  for (; x + 2 * lanes <= samples; x += 2 * lanes) {
    hn::StoreInterleaved2(hn::LoadU(d, even + x / 2), hn::LoadU(d, odd + x / 2), d, to + x);
  }
  if (x < samples) {
    HWY_ALIGN T buffer[2 * hn::MaxLanes(d)];
    hn::StoreInterleaved2(hn::LoadU(d, even + x / 2), hn::LoadU(d, odd + x / 2), d, buffer);
    std::memcpy(static_cast<void*>(to + x), buffer, (samples - x) * sizeof(T));
  }
}

// The factor of the other direction, which a line may bring along.
enum class Across { kNone, kLow, kHigh };

// A stretch of a line, parted, with a margin for the neighbours at its ends. Long lines go through
// in stretches; those that begin or end inside the line reach kReach pairs further, because each
// step spoils half a pair at a made-up end.
template <class Kernel, class T>
class Stretch {
 public:
  static constexpr size_t kReach = Kernel::kSteps / 2;
  static constexpr size_t kPairs = 1024;

  Stretch(size_t length, int phase, size_t first)
      : m_phase(phase),
        m_begin(first >= kReach ? first - kReach : 0),
        m_skip(first - m_begin),
        m_end(first + kPairs + kReach) {
    const int n = static_cast<int>(length);
    m_total[kLow] = lowCount(n, phase);
    m_total[kHigh] = highCount(n, phase);
    for (const Band band : {kLow, kHigh}) {
      m_count[band] = std::min<size_t>(m_end, m_total[band]) - m_begin;
      m_own[band] =
          std::min<size_t>(first + kPairs, m_total[band]) - std::min<size_t>(first, m_total[band]);
    }
  }

  void loadSamples(const T* line, size_t length) {
    const size_t samples = std::min(length - 2 * m_begin, 2 * (m_end - m_begin));
    splitPairs(line + 2 * m_begin, samples, at(m_phase == 0 ? kLow : kHigh),
               at(m_phase == 0 ? kHigh : kLow));
  }
  void storeSamples(T* line, size_t length) {
    const size_t from = m_begin + m_skip;
    const size_t samples = std::min(length - 2 * from, 2 * kPairs);
    joinPairs(at(m_phase == 0 ? kLow : kHigh) + m_skip, at(m_phase == 0 ? kHigh : kLow) + m_skip,
              samples, line + 2 * from);
  }
  void loadBand(Band band, const T* from) {
    const Lanes<T> d;
    const size_t n = m_count[band];
    T* const to = at(band);
    hn::StoreU(hn::Zero(d), d, to + n / hn::Lanes(d) * hn::Lanes(d));
    scaleBand<Kernel, true>(band, from + m_begin, to, n);
  }
  void storeBand(Band band, T* to) {
    scaleBand<Kernel, false>(band, at(band) + m_skip, to + m_begin + m_skip, m_own[band]);
  }

  template <bool inverse>
  void scaleAcross(Across across) {
    if (!Kernel::kScales || across == Across::kNone) return;
    const Band as = across == Across::kLow ? kLow : kHigh;
    for (const Band band : {kLow, kHigh}) {
      scaleBand<Kernel, inverse>(as, at(band), at(band), whole(band));
    }
  }

  void forward() {
    lift<0, false>();
    lift<1, false>();
    if constexpr (Kernel::kSteps == 4) {
      lift<2, false>();
      lift<3, false>();
    }
  }
  void inverse() {
    if constexpr (Kernel::kSteps == 4) {
      lift<3, true>();
      lift<2, true>();
    }
    lift<1, true>();
    lift<0, true>();
  }

 private:
  static constexpr size_t kMargin = 64 / sizeof(T);

  T* at(Band band) { return m_samples[band] + kMargin; }
  size_t whole(Band band) const {
    const size_t lanes = hn::Lanes(Lanes<T>());
    return (m_count[band] + lanes - 1) / lanes * lanes;
  }

  template <int step, bool inverse>
  void lift() {
    constexpr Band target = step % 2 == 0 ? kHigh : kLow;
    constexpr Band other = step % 2 == 0 ? kLow : kHigh;
    T* const o = at(other);
    hn::StoreU(hn::Zero(Lanes<T>()), Lanes<T>(), o + whole(other));
    o[-1] = o[0];
    o[m_count[other]] = o[m_count[other] - 1];
    const T* const left = o + (target == kHigh ? -m_phase : m_phase - 1);
    liftRow<Kernel, step, inverse>(at(target), left, left + 1, at(target), whole(target));
  }

  ptrdiff_t m_phase;
  size_t m_begin, m_skip, m_end;
  size_t m_total[2], m_count[2], m_own[2];
  HWY_ALIGN T m_samples[2][kPairs + 2 * kReach + 3 * kMargin];
};

template <class Kernel, class T>
void forwardLine(const T* line, T* low, T* high, int length, int phase, Across across) {
  const auto n = static_cast<size_t>(length);
  if (n == 1) {
    T sample;
    std::memcpy(&sample, static_cast<const void*>(line), sizeof(T));
    if (across != Across::kNone) {
      scaleBand<Kernel, false>(across == Across::kLow ? kLow : kHigh, &sample, &sample, 1);
    }
    if (phase != rkdWTFirstLow) scaleSingle<Kernel, false>(&sample, &sample, 1);
    std::memcpy(static_cast<void*>(phase == rkdWTFirstLow ? low : high), &sample, sizeof(T));
    return;
  }
  for (size_t first = 0; 2 * first < n; first += Stretch<Kernel, T>::kPairs) {
    Stretch<Kernel, T> stretch(n, phase, first);
    stretch.loadSamples(line, n);
    stretch.template scaleAcross<false>(across);
    stretch.forward();
    stretch.storeBand(kLow, low);
    stretch.storeBand(kHigh, high);
  }
}

template <class Kernel, class T>
void inverseLine(const T* low, const T* high, T* line, int length, int phase, Across across) {
  const auto n = static_cast<size_t>(length);
  if (n == 1) {
    T sample;
    std::memcpy(&sample, static_cast<const void*>(phase == rkdWTFirstLow ? low : high), sizeof(T));
    if (phase != rkdWTFirstLow) scaleSingle<Kernel, true>(&sample, &sample, 1);
    if (across != Across::kNone) {
      scaleBand<Kernel, true>(across == Across::kLow ? kLow : kHigh, &sample, &sample, 1);
    }
    std::memcpy(static_cast<void*>(line), &sample, sizeof(T));
    return;
  }
  for (size_t first = 0; 2 * first < n; first += Stretch<Kernel, T>::kPairs) {
    Stretch<Kernel, T> stretch(n, phase, first);
    stretch.loadBand(kLow, low);
    stretch.loadBand(kHigh, high);
    stretch.inverse();
    stretch.template scaleAcross<true>(across);
    stretch.storeSamples(line, n);
  }
}

// ---- columns ----

// Lifts columns in one sweep down the rows: a row is taken when a step needs it first, and given
// away after its last step, so that all work is done on a few rows that stay in the cache.
//
// Rows: load(band, k, spare) gives the row with the samples that belong to row k of the band,
// `spare` being a place for them; place(band, k, spare) the place of the finished row, from where
// neighbours still read it; finish(band, k, row) sees it.
template <class Kernel, bool inverse, class T, class Rows>
class Sweep {
 public:
  // ring: 2 * kRing rows of `width` samples.
  Sweep(Rows& rows, T* ring, size_t width, int height, int phase)
      : m_rows(rows),
        m_width(width),
        m_phase(phase),
        m_count{lowCount(height, phase), highCount(height, phase)} {
    for (size_t i = 0; i < 2 * kRing; ++i) m_spare[i / kRing][i % kRing] = ring + i * width;
  }

  // The height must be at least 2.
  void run() {
    for (int k = 0; k < std::max(m_count[kLow], m_count[kHigh]); ++k) {
      if (k < m_count[kFirstTarget]) advance<Kernel::kSteps - 2>(k);
      if (k < m_count[1 - kFirstTarget]) advance<Kernel::kSteps - 1>(k);
    }
  }

 private:
  static constexpr int kFirstTarget = inverse ? kLow : kHigh;

  // Makes the t-th step in time for the rows of its band up to `last`. The steps -1 and -2 take
  // rows.
  template <int t>
  void advance(int last) {
    constexpr Band band = (t & 1) == 0 ? Band(kFirstTarget) : Band(1 - kFirstTarget);
    constexpr Band other = band == kLow ? kHigh : kLow;
    for (int& k = m_done[t + 2]; k <= last; ++k) {
      const T*& row = m_row[band][k % kRing];
      T* const spare = m_spare[band][k % kRing];
      if constexpr (t < 0) {
        row = m_rows.load(band, k, spare);
      } else {
        const int above = k + (band == kHigh ? -m_phase : m_phase - 1);
        const int a = std::clamp(above, 0, m_count[other] - 1);
        const int b = std::clamp(above + 1, 0, m_count[other] - 1);
        advance<t - 1>(b);
        advance<t - 2>(k);
        constexpr bool isLast = t >= Kernel::kSteps - 2;
        T* const out = isLast ? m_rows.place(band, k, spare) : spare;
        liftRow<Kernel, inverse ? Kernel::kSteps - 1 - t : t, inverse>(
            row, m_row[other][a % kRing], m_row[other][b % kRing], out, m_width);
        row = out;
        if constexpr (isLast) m_rows.finish(band, k, out);
      }
    }
  }

  Rows& m_rows;
  size_t m_width;
  int m_phase;
  int m_count[2];
  int m_done[Kernel::kSteps + 2] = {};
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
