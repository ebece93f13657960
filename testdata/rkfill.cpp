// Fill modes over plain arrays, and the random stream.
#include "rkfill.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numbers>

namespace {

/// Calls `f` with the run as an array of parts: `f(T* data, long long parts)`.
template <typename F>
void withParts(const rkSpan& span, F&& f) {
  if (span.data == nullptr || span.count <= 0) return;
  const long long parts = isComplex(span.type) ? 2 * span.count : span.count;
  withPartType(span.type, [&]<typename T>(T) { f(static_cast<T*>(span.data), parts); });
}

/// Stores real parts from `real(i)` and, in complex elements, imaginary parts from `imaginary(i)`.
template <typename Real, typename Imaginary>
void storeElements(const rkSpan& span, Real&& real, Imaginary&& imaginary) {
  if (span.data == nullptr) return;
  const bool complex = isComplex(span.type);
  withPartType(span.type, [&]<typename T>(T) {
    T* out = static_cast<T*>(span.data);
    for (long long i = 0; i < span.count; ++i) {
      *out++ = rkConvert<T>(real(i));
      if (complex) *out++ = rkConvert<T>(imaginary(i));
    }
  });
}

double clampToType(rkType type, double value) {
  return std::clamp(value, getMinValue(type), getMaxValue(type));
}

/// The generator: the difference of two earlier numbers with a borrow, plus a congruential one; all
/// arithmetic wraps at 32 bits, so it is done unsigned.
class RandomStream {
 public:
  explicit RandomStream(uint32_t seed)
      : m_s(seed), m_x1(congruential(seed)), m_x2(congruential(m_x1)) {}

  int32_t next() {
    m_c = congruential(m_c);
    const uint32_t difference = m_x1 - m_x2;
    m_x2 = m_x1;
    m_x1 = m_s;
    m_s = m_borrow + difference;
    const bool negative = (m_s >> 31) != 0;
    m_borrow = negative ? uint32_t(-1) : 0;
    if (negative) m_s -= 18;
    return static_cast<int32_t>(m_c + m_s);
  }
  uint32_t state() const { return m_s; }

 private:
  static uint32_t congruential(uint32_t x) { return x * 69069u + 1013904243u; }

  uint32_t m_s;
  uint32_t m_x1;
  uint32_t m_x2;
  uint32_t m_c = 1131199209u;
  uint32_t m_borrow = uint32_t(-1);
};

template <typename T>
void setRandUniform(T* data, long long n, double lo, double hi, unsigned int* seed) {
  RandomStream stream(*seed);
  // Scaling by powers of two first is exact and keeps the widest ranges finite.
  const double scale = std::ldexp(hi, -32) - std::ldexp(lo, -32);
  const double middle = hi * 0.5 + lo * 0.5;
  for (long long i = 0; i < n; ++i) data[i] = rkConvert<T>(stream.next() * scale + middle);
  *seed = stream.state();
}

}  // namespace

template <typename T>
T rkConvert(double value) {
  using Limits = std::numeric_limits<T>;
  constexpr double kLowest = double(Limits::lowest());
  constexpr double kHighest = double(Limits::max());
  if constexpr (!Limits::is_integer) {
    return static_cast<T>(std::isfinite(value) ? std::clamp(value, kLowest, kHighest) : value);
  } else {
    if (std::isnan(value)) return T(0);
    if constexpr (sizeof(T) <= 4) {
      // At this magnitude a double's last bit is worth 1, so that the sum is rounded as wanted; a
      // call of the standard function costs several times as much, for millions of elements.
      constexpr double kToUnits = 0x1.8p52;
      return static_cast<T>(std::clamp(value, kLowest, kHighest) + kToUnits - kToUnits);
    } else {
      // The largest integers are no doubles: their double is one above, and so out of range.
      const double rounded = std::nearbyint(value);
      if (rounded >= kHighest) return Limits::max();
      return rounded <= kLowest ? Limits::lowest() : static_cast<T>(rounded);
    }
  }
}

void rkFillConst(const rkSpan& span, double re, double im) {
  storeElements(
      span, [&](long long) { return re; }, [&](long long) { return im; });
}

void rkFillRandom(const rkSpan& span, double lo, double hi, unsigned int& seed) {
  lo = std::max(lo, getMinValue(span.type));
  hi = std::min(hi, getMaxValue(span.type));
  withParts(span, [&](auto* data, long long n) { setRandUniform(data, n, lo, hi, &seed); });
}

void rkFillSequence(const rkSpan& span, rkSequence& sequence) {
  const double lo = clampToType(span.type, sequence.lo);
  const double hi = clampToType(span.type, sequence.hi);
  sequence.x = clampToType(span.type, sequence.x);
  double current = 0;
  const auto next = [&](long long) {
    current = sequence.x;
    sequence.x += sequence.step;
    if (sequence.x > hi) sequence.x = sequence.wrap ? lo : hi;
    return current;
  };
  storeElements(span, next, [&](long long) { return lo + hi - current; });
}

void rkFillZoneRow(const rkSpan& span, const rkZonePlate& plate, int y, int channels) {
  const double dy = y - (plate.height - 1) * 0.5;
  const double vertical = dy * dy / plate.height;
  const auto phase = [&](long long i) {
    const long long x = i / channels;
    const double dx = double(x) - (plate.width - 1) * 0.5;
    return std::numbers::pi * (dx * dx / plate.width + vertical);
  };
  storeElements(
      span, [&](long long i) { return plate.offset + plate.magnitude * std::sin(phase(i)); },
      [&](long long i) { return plate.offset + plate.magnitude * std::cos(phase(i)); });
}

void rkFillZoneVector(const rkSpan& span, double magnitude, double offset) {
  const auto phase = [&](long long i) {
    return std::numbers::pi * 0.5 * double(i) * double(i) / double(span.count);
  };
  storeElements(
      span, [&](long long i) { return offset + magnitude * std::sin(phase(i)); },
      [&](long long i) { return offset + magnitude * std::cos(phase(i)); });
}

bool updateJaehneMagn(rkType type, double& magnitude, double& offset) {
  if (!(magnitude >= 0)) return false;
  const double lowest = getMinValue(type);
  const double highest = getMaxValue(type);
  magnitude = std::min(magnitude, highest * 0.5 - lowest * 0.5);
  offset = isSigned(type) ? 0 : (highest + lowest) * 0.5;
  return true;
}

void rkGetElement(rkType type, const void* element, double& re, double& im) {
  re = im = 0;
  withPartType(type, [&]<typename T>(T) {
    const T* parts = static_cast<const T*>(element);
    re = double(parts[0]);
    if (isComplex(type)) im = double(parts[1]);
  });
}

void rkMinMax(const rkSpan& span, double& lowest, double& highest) {
  withParts(span, [&](const auto* data, long long n) {
    for (long long i = 0; i < n; ++i) {
      lowest = std::min(lowest, double(data[i]));
      highest = std::max(highest, double(data[i]));
    }
  });
}

template uint8_t rkConvert<uint8_t>(double);
template int8_t rkConvert<int8_t>(double);
template uint16_t rkConvert<uint16_t>(double);
template int16_t rkConvert<int16_t>(double);
template uint32_t rkConvert<uint32_t>(double);
template int32_t rkConvert<int32_t>(double);
template uint64_t rkConvert<uint64_t>(double);
template int64_t rkConvert<int64_t>(double);
template float rkConvert<float>(double);
template double rkConvert<double>(double);
