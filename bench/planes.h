// Planes of samples that the benchmarks of wavelets and component transforms share.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <memory>
#include <random>

#include "rkd/rkdbase.h"

namespace bench {

inline void require(bool holds, const char* what) {
  if (holds) return;
  std::fprintf(stderr, "bench_primitives: %s\n", what);
  std::exit(1);
}

/// Samples at an address that suits the peer's aligned accesses.
template <class T>
class Plane {
 public:
  explicit Plane(size_t count) : m_count(count) {
    void* const memory = std::aligned_alloc(64, (count * sizeof(T) + 63) / 64 * 64);
    require(memory != nullptr, "no memory");
    m_data.reset(static_cast<T*>(memory));
    std::fill_n(data(), count, T{});
  }
  T* data() const { return m_data.get(); }
  size_t bytes() const { return m_count * sizeof(T); }
  void copyFrom(const Plane& other) const { std::memcpy(data(), other.data(), bytes()); }

 private:
  struct Free {
    void operator()(void* memory) const { std::free(memory); }
  };
  std::unique_ptr<T[], Free> m_data;
  size_t m_count;
};

/// Waves and noise about zero, as level-shifted samples of a picture are.
template <class T>
void fillPicture(const Plane<T>& plane) {
  constexpr size_t kRow = 1024;
  std::mt19937 random(11);
  for (size_t i = 0; i < plane.bytes() / sizeof(T); ++i) {
    const size_t row = i / kRow;
    const double x = double(i % kRow), y = double(row);
    const double wave = 50 * std::sin(x / 17) + 40 * std::cos(y / 23 + x / 91);
    plane.data()[i] = T(std::lround(wave) + int(random() % 33) - 16);
  }
}

/// The largest difference of two planes.
template <class T>
double distance(const Plane<T>& a, const Plane<T>& b) {
  double most = 0;
  for (size_t i = 0; i < a.bytes() / sizeof(T); ++i) {
    most = std::max(most, std::abs(double(a.data()[i]) - double(b.data()[i])));
  }
  return most;
}

// Three planes of 32-bit samples that fit the second-level cache.
inline constexpr RkdiSize kPart = {256, 64};
inline constexpr size_t kPartPixels = size_t{256} * 64;
inline constexpr int kRepeat = 8;

template <class Body>
std::function<void()> repeated(Body body) {
  return [body] {
    for (int i = 0; i < kRepeat; ++i) body();
  };
}

/// What is asked of two of a kind, forward and inverse.
struct Asked {
  double must, aim;
};

}  // namespace bench
