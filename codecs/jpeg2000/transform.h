#pragma once
/// @file
/// Adapter of the library's wavelets and component transforms.

#include <cstdint>
#include <span>
#include <vector>

#include "geometry.h"
#include "jpeg2000.h"
#include "plane.h"

namespace j2k {

/// Samples that a wavelet's inverse reaches to either side.
constexpr int waveletReach = 4;

/// The arithmetic that takes a component of this many bits without overflow.
Arithmetic arithmeticFor(bool reversible, int precision, bool transformed);

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
  PlaneView samples() const { return m_views.back(); }
  Arithmetic arithmetic() const { return m_views.back().arithmetic; }

  /// Gives the memory of rows of samples back to the system: nobody reads them any more.
  void drop(int64_t y0, int64_t y1) const;

  void forward(std::vector<uint8_t>& work) const;
  void inverse(std::vector<uint8_t>& work) const;

 private:
  std::vector<Rect> m_windows;
  std::vector<PlaneView> m_views;
  std::vector<std::vector<uint8_t>> m_memory;
};

/// Colour transform of three planes of equal shape and arithmetic, in place, in bands of rows.
void forwardColour(const PlaneView planes[3], int threads);
void inverseColour(const PlaneView planes[3], int threads);

}  // namespace j2k
