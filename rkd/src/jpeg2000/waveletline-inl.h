// The wavelets along lines, compiled once per level. Include after "hwy/highway.h", inside no
// namespace.
#if defined(RKD_JPEG2000_WAVELETLINE_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef RKD_JPEG2000_WAVELETLINE_INL_H_
#undef RKD_JPEG2000_WAVELETLINE_INL_H_
#else
#define RKD_JPEG2000_WAVELETLINE_INL_H_
#endif

#include <algorithm>
#include <cstring>

#include "hwy/highway.h"
#include "jpeg2000/wavelet-inl.h"
#include "jpeg2000/waveletnarrow-inl.h"

HWY_BEFORE_NAMESPACE();
namespace rkd::HWY_NAMESPACE {

// ---- lifting along a line, a place a lane ----

// Lifts along a line, one vector of places after the other.
template <class Kernel, bool inverse, class T>
class AlongLine {
 public:
  AlongLine() {
    for (auto& v : m_before) v = hn::Zero(LineLanes<T>());
  }
  HWY_INLINE Lifted<LineVector<T>> lift(LineVector<T> first, LineVector<T> second) {
    return liftPlace<Kernel, inverse>(first, second, [this](int t, LineVector<T> newest) HWY_ATTR {
      const LineVector<T> previous = oneOn(m_before[t], newest);
      m_before[t] = newest;
      return previous;
    });
  }

 private:
  LineVector<T> m_before[Kernel::kSteps];
};

// ---- ends of lines, which are mirrored ----

template <class T>
HWY_INLINE void copySample(const T* from, T* to) {
  std::memcpy(static_cast<void*>(to), static_cast<const void*>(from), sizeof(T));
}
template <class T>
HWY_INLINE void storeLast(LineVector<T> v, T* to) {
  const LineLanes<T> d;
  HWY_ALIGN T lanes[hn::MaxLanes(d)];
  hn::Store(v, d, lanes);
  copySample(lanes + hn::Lanes(d) - 1, to);
}
// A line begins with mirrored samples. They are made in registers, from 16 bytes at the beginning
// of the line or the bands: a vector load would wait for samples that were just stored one by one.
//
// Which bytes the last 16 bytes before the first place have, by phase.
template <class Kernel, class T>
struct HeadBytes {
  alignas(16) uint8_t samples[2][16] = {}, low[2][16] = {}, high[2][16] = {};

  constexpr HeadBytes() {
    for (int phase = 0; phase < 2; ++phase) {
      for (int i = 0; i < kBlock; ++i) {
        const int sample = Kernel::kSteps - 1 + phase - kBlock + i;
        put(samples[phase], i, sample < 0 ? -sample : sample);
        const int even = 2 * (Kernel::kSteps / 2 - kBlock + i), odd = even + 1;
        put(low[phase], i, (even < phase ? 2 * phase - even : even) / 2 - phase);
        put(high[phase], i, (odd < phase ? 2 * phase - odd : odd) / 2);
      }
    }
  }

 private:
  static constexpr int kBlock = 16 / sizeof(T);
  static constexpr void put(uint8_t* bytes, int i, int from) {
    for (size_t k = 0; k < sizeof(T) && from < kBlock; ++k) {
      bytes[i * sizeof(T) + k] = static_cast<uint8_t>(from * sizeof(T) + k);
    }
  }
};
template <class Kernel, class T>
inline constexpr HeadBytes<Kernel, T> kHeadBytes;

template <class T>
using BlockLanes = hn::CappedTag<T, 16 / sizeof(T)>;

template <class T>
HWY_INLINE hn::Vec<BlockLanes<T>> pickBytes(const T* from, const uint8_t* bytes) {
  const BlockLanes<T> d;
  const BlockLanes<uint8_t> d8;
  return hn::BitCast(
      d, hn::TableLookupBytes(hn::BitCast(d8, hn::LoadU(d, from)), hn::Load(d8, bytes)));
}

// A vector that ends with these blocks, as far as it has room.
template <class T>
HWY_INLINE LineVector<T> endingWith(hn::Vec<BlockLanes<T>> before, hn::Vec<BlockLanes<T>> last) {
#if HWY_TARGET <= HWY_AVX2
  const LineLanes<T> d;
  const hn::CappedTag<T, 32 / sizeof(T)> d32;
  const auto both = hn::Combine(d32, last, before);
#if HWY_TARGET <= HWY_AVX3
  return hn::Combine(d, both, hn::Zero(d32));
#else
  static_cast<void>(d);
  return both;
#endif
#else
  static_cast<void>(before);
  return last;
#endif
}

// ---- whole lines, longer than narrow ones ----

template <class Kernel, class T>
class ForwardLine {
 public:
  ForwardLine(const T* line, T* low, T* high, int length, int phase)
      : m_line(line),
        m_low(low),
        m_high(high + phase),
        m_length(length),
        m_start(kSteps - 1 + phase),
        m_lows(lowCount(length, phase)),
        m_highs(highCount(length, phase) - phase),
        m_phase(phase) {}

  // The length must be at least 2 * kLanes.
  RKD_BLOCK void run() {
    Along along;  // not a member: pointers into this object would keep it out of registers
    const ptrdiff_t middle = (m_length - m_start) / (2 * kLanes) * kLanes;
    const T* const tail = tailBehind(middle);
    begin(along);
    for (ptrdiff_t k = 0; k < middle; k += kLanes) {
      const auto bands = take(along, m_line + m_start + 2 * k);
      hn::StoreU(scaled<Kernel, false, kLow>(bands.last), LineLanes<T>(), m_low + k);
      hn::StoreU(scaled<Kernel, false, kHigh>(bands.other), LineLanes<T>(), m_high + k);
    }
    for (ptrdiff_t k = middle; k < std::max(m_lows, m_highs); k += kLanes) {
      const auto bands = take(along, tail + 2 * (k - middle));
      storeUpTo(scaled<Kernel, false, kLow>(bands.last), m_low + k, m_lows - k);
      storeUpTo(scaled<Kernel, false, kHigh>(bands.other), m_high + k, m_highs - k);
    }
  }

 private:
  using Along = AlongLine<Kernel, false, T>;
  static constexpr int kSteps = Kernel::kSteps;
  static constexpr ptrdiff_t kLanes = hn::MaxLanes(LineLanes<T>());

  // Samples of places: their first ones are those that highs begin with.
  static HWY_INLINE Lifted<LineVector<T>> take(Along& along, LineVector<T> a, LineVector<T> b) {
    const LineLanes<T> d;
    return along.lift(hn::ConcatEven(d, b, a), hn::ConcatOdd(d, b, a));
  }
  static HWY_INLINE Lifted<LineVector<T>> take(Along& along, const T* from) {
    const LineLanes<T> d;
    return take(along, hn::LoadU(d, from), hn::LoadU(d, from + kLanes));
  }

  // The samples from the place `middle` on with mirrored ones behind them, in good time.
  const T* tailBehind(ptrdiff_t middle) {
    const LineLanes<T> d;
    const T* const last = m_line + m_length - 1;
    hn::Store(hn::LoadU(d, last + 1 - 2 * kLanes), d, m_tail);
    hn::Store(hn::LoadU(d, last + 1 - kLanes), d, m_tail + kLanes);
    for (int i = 2; i < 5; ++i) hn::Store(hn::Zero(d), d, m_tail + i * kLanes);
    for (int i = 0; i < kSteps; ++i) copySample(last - 1 - i, m_tail + 2 * kLanes + i);
    return m_tail + m_start + 2 * middle - (m_length - 2 * kLanes);
  }

  // The places before the first low.
  HWY_INLINE void begin(Along& along) {
    const LineLanes<T> d;
    const BlockLanes<T> block;
    const auto last = pickBytes(m_line, kHeadBytes<Kernel, T>.samples[m_phase]);
    const auto before = hn::Reverse(block, hn::LoadU(block, m_line + 2 - m_phase));
    const auto a = kLanes == 4 ? endingWith<T>(before, before) : hn::Zero(d);
    const auto b = endingWith<T>(before, last);
    const auto bands = take(along, a, b);
    if (m_phase != rkdWTFirstLow) {
      storeLast(scaled<Kernel, false, kHigh>(bands.other), m_high - 1);
    }
  }

  const T* m_line;
  T* m_low;
  T* m_high;
  ptrdiff_t m_length, m_start, m_lows, m_highs;
  int m_phase;
  HWY_ALIGN T m_tail[5 * kLanes];
};

template <class Kernel, class T>
void forwardLine(const T* line, T* low, T* high, int length, int phase) {
  if (length > 1 && length <= NarrowLine<Kernel, T>::kLongest) {
    NarrowLine<Kernel, T>(length, phase).forward(line, low, high);
  } else if (length > 1) {
    ForwardLine<Kernel, T>(line, low, high, length, phase).run();
  } else if (phase == rkdWTFirstLow) {
    copySample(line, low);
  } else {
    scaleSingle<Kernel, false>(line, high, 1);
  }
}

template <class Kernel, class T>
class InverseLine {
 public:
  InverseLine(const T* low, const T* high, T* line, int length, int phase)
      : m_low(low),
        m_high(high),
        m_line(line + 1 - phase),
        m_length(length),
        m_samples(length - 1 + phase),
        m_lows(lowCount(length, phase)),
        m_highs(highCount(length, phase)),
        m_phase(phase) {}

  // Both bands must have at least kLanes samples.
  RKD_BLOCK void run() {
    Along along;
    const ptrdiff_t middle = (std::min(m_lows + m_phase, m_highs) - kAhead) / kLanes * kLanes;
    prepareTail(middle);
    begin(along);
    for (ptrdiff_t k = 0; k < middle; k += kLanes) {
      LineVector<T> a, b;
      take(along, m_low - m_phase + kAhead + k, m_high + kAhead + k, &a, &b);
      hn::StoreU(a, LineLanes<T>(), m_line + 2 * k);
      hn::StoreU(b, LineLanes<T>(), m_line + 2 * k + kLanes);
    }
    for (ptrdiff_t k = middle; 2 * k < m_samples; k += kLanes) {
      LineVector<T> a, b;
      take(along, m_tailOf[kLow] + k - middle, m_tailOf[kHigh] + k - middle, &a, &b);
      storeUpTo(a, m_line + 2 * k, m_samples - 2 * k);
      storeUpTo(b, m_line + 2 * k + kLanes, m_samples - 2 * k - kLanes);
    }
  }

 private:
  using Along = AlongLine<Kernel, true, T>;
  static constexpr int kSteps = Kernel::kSteps;
  static constexpr ptrdiff_t kLanes = hn::MaxLanes(LineLanes<T>());
  static constexpr ptrdiff_t kAhead = kSteps / 2;

  static HWY_INLINE Lifted<LineVector<T>> lift(Along& along, LineVector<T> low,
                                               LineVector<T> high) {
    return along.lift(scaled<Kernel, true, kLow>(low), scaled<Kernel, true, kHigh>(high));
  }
  static HWY_INLINE void take(Along& along, const T* low, const T* high, LineVector<T>* a,
                              LineVector<T>* b) {
    const LineLanes<T> d;
    const auto samples = lift(along, hn::LoadU(d, low), hn::LoadU(d, high));
    interleave<T>(samples.last, samples.other, a, b);
  }

  void copyCoordinate(ptrdiff_t coordinate, T* to) const {
    const ptrdiff_t end = m_length - 1 + m_phase;  // about which the line is mirrored
    const ptrdiff_t found = coordinate <= end ? coordinate : 2 * end - coordinate;
    copySample(found % 2 == 0 ? m_low + found / 2 - m_phase : m_high + found / 2, to);
  }

  // The bands from the place `middle` on with mirrored ones behind them, in good time.
  HWY_INLINE void prepareTail(ptrdiff_t middle) {
    const LineLanes<T> d;
    const T* const samples[2] = {m_low, m_high};
    const ptrdiff_t count[2] = {m_lows, m_highs};
    for (const Band band : {kLow, kHigh}) {
      T* const tail = m_tail[band];
      for (int i = 0; i < 4; ++i) hn::Store(hn::Zero(d), d, tail + i * kLanes);
      const ptrdiff_t first = middle + kAhead - (band == kLow ? m_phase : 0);
      const ptrdiff_t from = count[band] - kLanes;
      hn::Store(hn::LoadU(d, samples[band] + from), d, tail);
      for (ptrdiff_t i = 0; i <= kAhead; ++i) {
        const ptrdiff_t k = count[band] + i;
        copyCoordinate(band == kLow ? 2 * (k + m_phase) : 2 * k + 1, tail + kLanes + i);
      }
      m_tailOf[band] = tail + first - from;
    }
  }

  // The places before the first sample that is stored whole vectors at a time.
  HWY_INLINE void begin(Along& along) {
    const auto& bytes = kHeadBytes<Kernel, T>;
    const auto lows = pickBytes(m_low, bytes.low[m_phase]);
    const auto highs = pickBytes(m_high, bytes.high[m_phase]);
    const auto low = endingWith<T>(lows, lows), high = endingWith<T>(highs, highs);
    const auto samples = lift(along, low, high);
    if (m_phase == rkdWTFirstLow) storeLast(samples.other, m_line - 1);
  }

  const T* m_low;
  const T* m_high;
  T* m_line;
  ptrdiff_t m_length, m_samples, m_lows, m_highs, m_phase;
  const T* m_tailOf[2];
  HWY_ALIGN T m_tail[2][4 * kLanes];
};

template <class Kernel, class T>
void inverseLine(const T* low, const T* high, T* line, int length, int phase) {
  if (length > 1 && length <= NarrowLine<Kernel, T>::kLongest) {
    NarrowLine<Kernel, T>(length, phase).inverse(low, high, line);
  } else if (length > 1) {
    InverseLine<Kernel, T>(low, high, line, length, phase).run();
  } else if (phase == rkdWTFirstLow) {
    copySample(low, line);
  } else {
    scaleSingle<Kernel, true>(high, line, 1);
  }
}

}  // namespace rkd::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif  // per-target guard
