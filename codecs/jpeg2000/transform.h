#pragma once
/// @file
/// Planes of coefficients as wavelets lay them out; adapter of the library's component transforms.

#include <atomic>
#include <cstdint>
#include <memory>
#include <span>
#include <vector>

#include "common/workers.h"
#include "geometry.h"
#include "jpeg2000.h"
#include "plane.h"

namespace j2k {

/// Samples that a wavelet's inverse reaches to either side.
constexpr int waveletReach = 4;

/// The arithmetic that takes a component of this many bits without overflow.
Arithmetic arithmeticFor(bool reversible, int precision, bool transformed);

/// Zeros. A large piece comes from the system in large pages: taking thousands of small ones costs
/// as much as transforming what is in them.
class PlaneMemory {
 public:
  explicit PlaneMemory(size_t bytes);

  uint8_t* data() const { return m_first; }
  /// Large pages, the last one in part; none of a small piece.
  size_t pages() const { return m_pages; }
  /// Has the system make one of zeros now, unless somebody did: where two threads come upon a large
  /// page at the same time it makes two, and throws one away.
  void takePage(size_t page) const;
  bool holds(const void* byte) const { return byte >= m_first && byte < m_first + m_bytes; }
  /// The pages of bytes that it holds.
  void takePages(const uint8_t* first, const uint8_t* end) const;

 private:
  struct Release {
    size_t mapped;  ///< BYTES; 0: of the heap
    void operator()(uint8_t* memory) const;
  };
  std::unique_ptr<uint8_t, Release> m_memory;
  uint8_t* m_first;
  size_t m_bytes = 0, m_pages = 0;
  std::unique_ptr<std::atomic<bool>[]> m_taken;  ///< of pages
};

/// Whether threads take whole tiles, rather than parts of one tile after the other: where tiles are
/// enough for all threads to end at about the same time, and one for each takes a small part of the
/// memory.
bool sharesTiles(const ImageShape& shape, size_t tiles, int threads, int64_t memory);

/// BYTES between rows: they begin at a cache line, and not at the same place of every page.
size_t rowStep(Arithmetic arithmetic, int64_t width);

/// One level of a wavelet, in place.
struct WaveletLevel {
  PlaneView plane;
  int phaseX, phaseY;
};

/// Coefficients of one tile-component from the lowest resolution to the top one, laid out as the
/// transform wants them: lows of both directions at the upper left, nested.
class CoefficientPlanes {
 public:
  /// @param windows  computed rectangle of every resolution; where they nest without margins all
  ///                 share one piece of memory
  CoefficientPlanes(Arithmetic arithmetic, std::vector<Rect> windows);

  /// Memory that the constructor takes.
  static int64_t bytes(Arithmetic arithmetic, const std::vector<Rect>& windows);

  /// Where the coefficients of a band are.
  PlaneView band(int resolution, int orientation) const;
  const Rect& window(int resolution) const { return m_windows[size_t(resolution)]; }
  int top() const { return int(m_windows.size()) - 1; }
  /// The resolution up to which an inverse transform is made in place. Samples of the one above, if
  /// that is not the top one already, are made row by row (RowSynthesis).
  int topInPlace() const { return top() > 0 && m_windows.back().height() > 1 ? top() - 1 : top(); }
  /// The lows of both directions of a level above the lowest resolution.
  PlaneView lows(int resolution) const;
  PlaneView samples() const { return m_views.back(); }
  Arithmetic arithmetic() const { return m_views.back().arithmetic; }

  const std::vector<PlaneMemory>& memory() const { return m_memory; }
  /// Has the pages of a part made, or all that are transformed in place, by the caller alone.
  void takePages(const PlaneView& part) const;
  void takePages() const;

  /// Calls lift(level) for every level that has samples, from the top one down.
  template <typename Lift>
  void forEachLevelDown(const Lift& lift) const {
    for (int r = top(); r > 0; --r) {
      if (!window(r).empty()) lift(level(r));
    }
  }
  /// The same upwards, of those that are made in place.
  template <typename Lift>
  void forEachLevelUp(const Lift& lift) const {
    for (int r = 1; r <= topInPlace(); ++r) {
      if (window(r).empty()) continue;
      takeLows(r);
      lift(level(r));
    }
  }
  WaveletLevel level(int resolution) const;

 private:
  void takeLows(int resolution) const;

  std::vector<Rect> m_windows;
  std::vector<PlaneView> m_views;
  std::vector<PlaneMemory> m_memory;
};

/// Has the pages of planes made by all threads, each by one.
void takePages(std::span<const CoefficientPlanes* const> planes, codecs::Workers& workers);

/// Colour transforms of three planes of equal shape and arithmetic, in place.
void forwardColour(const PlaneView planes[3]);
void inverseColour(const PlaneView planes[3]);

}  // namespace j2k
