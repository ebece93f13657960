/// @file
/// What tests of the library share: running a case at every level, operands with canaries around
/// them at any alignment, and data that hold the limits of their type.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <ostream>
#include <random>
#include <vector>

#include "hwy/targets.h"
#include "rkd/rkdbase.h"

inline std::ostream& operator<<(std::ostream& out, RkdiSize size) {
  return out << size.width << 'x' << size.height;
}

namespace rkdkit {

constexpr RkdiSize sz(int width, int height) { return {width, height}; }

/// Whether every combination is wanted, not just those that meet each pair of values once.
inline bool exhaustive() { return std::getenv("TAZMET_EXHAUSTIVE") != nullptr; }

/// Calls body() at every level that is compiled and runs here, worst to best; failures name the
/// level. The choice goes through the libhwy that the libraries share.
template <class Body>
void forEachLevel(Body body) {
  hwy::SetSupportedTargetsForTest(0);
  auto targets = hwy::SupportedAndGeneratedTargets();
  std::reverse(targets.begin(), targets.end());  // a better target has a lower bit
  for (const int64_t target : targets) {
    SCOPED_TRACE(hwy::TargetName(target));
    hwy::SetSupportedTargetsForTest(target);
    hwy::GetChosenTarget().Update(hwy::SupportedTargets());
    body();
  }
  hwy::SetSupportedTargetsForTest(0);
  hwy::GetChosenTarget().Update(hwy::SupportedTargets());
}

/// Whether the level in use is the plain one, some twenty times slower than the others.
inline bool onLowestLevel() { return hwy::SupportedTargets() == HWY_EMU128; }

/// Bytes past a 64-byte boundary at which tested operands start: the ends, the middles and the odd
/// ones in between, or all 64.
inline std::vector<int> alignments() {
  if (!exhaustive()) return {0, 1, 2, 4, 7, 8, 16, 31, 32, 33, 48, 63};
  std::vector<int> all(64);
  for (int i = 0; i < 64; ++i) all[i] = i;
  return all;
}

/// Where an operand lies: bytes past a 64-byte boundary, and bytes between a row's end and the
/// next row's start.
struct Place {
  int offset = 0;
  int padding = 0;
};

/// The places that meet each alignment once, and each padding with several alignments.
inline std::vector<Place> places() {
  std::vector<Place> all;
  const std::array<int, 5> paddings = {0, 1, 6, 16, 45};
  size_t next = 0;
  for (const int offset : alignments()) {
    if (exhaustive()) {
      for (const int padding : paddings) all.push_back({offset, padding});
    } else {
      all.push_back({offset, paddings[next++ % paddings.size()]});
    }
  }
  return all;
}

/// Reproducible numbers, the same on every machine.
class Random {
 public:
  explicit Random(unsigned seed = 7) : m_engine(seed) {}
  unsigned bits() { return static_cast<unsigned>(m_engine()); }
  int between(int low, int high) {
    const uint64_t span = static_cast<uint64_t>(int64_t{high} - low) + 1;
    return static_cast<int>(low + static_cast<int64_t>((uint64_t{bits()} * span) >> 32));
  }

 private:
  std::mt19937 m_engine;
};

/// One plane of `size` pixels of `samples` samples each, in memory whose every other byte is a
/// canary. Elements are copied in and out, as they may lie at any address.
template <class T>
class Canvas {
 public:
  explicit Canvas(RkdiSize size, int samples = 1, Place place = {})
      : m_size(size),
        m_perRow(size.width * samples),
        m_step(m_perRow * static_cast<int>(sizeof(T)) + place.padding),
        m_memory(kMargin * 2 + 64 + static_cast<size_t>(m_step) * size.height, kCanary) {
    const auto start = reinterpret_cast<uintptr_t>(m_memory.data()) + kMargin;
    m_origin = kMargin + static_cast<size_t>(-start & 63) + static_cast<size_t>(place.offset & 63);
  }
  Canvas(const Canvas& other) : Canvas(other.m_size, other.m_perRow / other.m_size.width) {
    copyFrom(other);
  }
  Canvas& operator=(const Canvas&) = delete;

  RkdiSize size() const { return m_size; }
  int step() const { return m_step; }
  int perRow() const { return m_perRow; }  ///< samples
  T* data() { return reinterpret_cast<T*>(m_memory.data() + m_origin); }
  const T* data() const { return reinterpret_cast<const T*>(m_memory.data() + m_origin); }

  T at(int x, int y) const {
    T value;
    std::memcpy(&value, address(x, y), sizeof(T));
    return value;
  }
  void set(int x, int y, T value) { std::memcpy(address(x, y), &value, sizeof(T)); }

  /// Every sample becomes make().
  template <class Make>
  Canvas& fill(Make make) {
    for (int y = 0; y < m_size.height; ++y) {
      for (int x = 0; x < m_perRow; ++x) set(x, y, static_cast<T>(make()));
    }
    return *this;
  }

  /// Random samples of a range; one in eight is one of its ends, which random values alone would
  /// hardly ever meet.
  Canvas& fillLimitsAndRandom(Random& random, int low = std::numeric_limits<T>::min(),
                              int high = std::numeric_limits<T>::max()) {
    return fill([&] {
      const unsigned choice = random.bits() >> 28;
      return choice == 0 ? low : choice == 1 ? high : random.between(low, high);
    });
  }

  void copyFrom(const Canvas& other) {
    for (int y = 0; y < m_size.height; ++y) {
      for (int x = 0; x < m_perRow; ++x) set(x, y, other.at(x, y));
    }
  }

  /// Equal samples, or at most `tolerance` apart; tells the first that is not.
  testing::AssertionResult sameAs(const Canvas& want, double tolerance = 0) const {
    for (int y = 0; y < m_size.height; ++y) {
      for (int x = 0; x < m_perRow; ++x) {
        const auto g = at(x, y);
        const auto w = want.at(x, y);
        if (!(std::abs(double(g) - double(w)) <= tolerance)) {
          return testing::AssertionFailure() << "sample " << x << " of row " << y << " of "
                                             << m_size << " is " << +g << ", wanted " << +w;
        }
      }
    }
    return testing::AssertionSuccess();
  }

  /// No byte outside the rows was written.
  testing::AssertionResult marginIntact() const {
    const size_t rowBytes = m_perRow * sizeof(T);
    for (size_t i = 0; i < m_memory.size(); ++i) {
      const size_t past = i - m_origin;  // wraps to a huge value before the origin
      const bool inRow =
          past < static_cast<size_t>(m_step) * m_size.height && past % m_step < rowBytes;
      if (!inRow && m_memory[i] != kCanary) {
        return testing::AssertionFailure()
               << "byte " << static_cast<ptrdiff_t>(past) << " past the start was written (rows of "
               << rowBytes << " bytes every " << m_step << ")";
      }
    }
    return testing::AssertionSuccess();
  }

 private:
  static constexpr size_t kMargin = 192;
  static constexpr uint8_t kCanary = 0xA5;

  const uint8_t* address(int x, int y) const {
    return m_memory.data() + m_origin + static_cast<size_t>(m_step) * y + x * sizeof(T);
  }
  uint8_t* address(int x, int y) {
    return m_memory.data() + m_origin + static_cast<size_t>(m_step) * y + x * sizeof(T);
  }

  RkdiSize m_size;
  int m_perRow;
  int m_step;
  std::vector<uint8_t> m_memory;
  size_t m_origin = 0;
};

/// P planes that share size and step, as the functions take them.
template <class T, int P>
class CanvasPlanes {
 public:
  explicit CanvasPlanes(RkdiSize size, Place place = {}) {
    for (int p = 0; p < P; ++p) m_planes.emplace_back(size, 1, place);
    for (int p = 0; p < P; ++p) m_pointers[p] = m_planes[p].data();
  }
  CanvasPlanes(const CanvasPlanes&) = delete;
  CanvasPlanes& operator=(const CanvasPlanes&) = delete;

  Canvas<T>& operator[](int p) { return m_planes[p]; }
  const Canvas<T>& operator[](int p) const { return m_planes[p]; }
  T* const* data() { return m_pointers.data(); }
  const T* const* constData() const { return m_pointers.data(); }
  int step() const { return m_planes[0].step(); }

  void fillLimitsAndRandom(Random& random, int low = std::numeric_limits<T>::min(),
                           int high = std::numeric_limits<T>::max()) {
    for (auto& plane : m_planes) plane.fillLimitsAndRandom(random, low, high);
  }
  testing::AssertionResult sameAs(const CanvasPlanes& want, double tolerance = 0) const {
    for (int p = 0; p < P; ++p) {
      if (auto result = m_planes[p].sameAs(want[p], tolerance); !result) {
        return result << " in plane " << p;
      }
    }
    return testing::AssertionSuccess();
  }
  testing::AssertionResult marginIntact() const {
    for (int p = 0; p < P; ++p) {
      if (auto result = m_planes[p].marginIntact(); !result) return result << " in plane " << p;
    }
    return testing::AssertionSuccess();
  }

 private:
  static std::vector<Canvas<T>> reserved() {
    std::vector<Canvas<T>> planes;
    planes.reserve(P);
    return planes;
  }
  std::vector<Canvas<T>> m_planes = reserved();
  std::array<T*, P> m_pointers{};
};

}  // namespace rkdkit
