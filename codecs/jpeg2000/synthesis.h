#pragma once
/// @file
/// Adapter of the library's wavelets row by row: the samples of a component as they are wanted,
/// without ever being written to its plane.

#include "transform.h"

namespace j2k {

/// The top level of a component's inverse wavelet, some rows at a time. Rows that follow those of
/// the call before go on from where it ended; others begin anew, for which some rows above them are
/// made as well. The same bits either way, and as in place.
class RowSynthesis {
 public:
  /// Rows are made in pairs, of which the second one has an even coordinate. So many bytes are
  /// needed for some of them at a time.
  static size_t bytes(size_t step, int64_t pairs) {
    return step * (rowsInWork + 2 * size_t(pairs));
  }
  /// Of the first row that does not belong to the pair of this one.
  static int64_t endOfPair(int64_t y) { return (pairOf(y) + 1) * 2 - 1; }

  /// @param planes  all levels in place are made
  /// @param step    BYTES between rows that are made, at least rowStep() of the planes' width
  /// @param memory  of bytes(step, ...), at a cache line
  RowSynthesis(const CoefficientPlanes& planes, size_t step, uint8_t* memory);

  /// Samples of the rows y0 to y1 - 1, which lie in the window of the top resolution, over its
  /// whole width. They are the caller's until the next call.
  PlaneView rows(int64_t y0, int64_t y1);

 private:
  static constexpr size_t rowsInWork = 6;
  static int64_t pairOf(int64_t y) { return (y + 1) >> 1; }

  /// Whether there is a level to be made, rather than rows to be copied.
  bool isSynthesis() const { return m_planes.topInPlace() < m_planes.top(); }
  void makePairs(int64_t first, int64_t end);
  template <class Kernel>
  void lift53(int64_t first, int64_t end);
  template <class Kernel>
  void lift97(int64_t first, int64_t end);
  template <class Kernel>
  typename Kernel::Sample* load(int orientation, int64_t index, size_t work);
  template <class Sample>
  Sample* workRow(size_t index) const {
    return reinterpret_cast<Sample*>(m_work + index * m_rows.step);
  }

  const CoefficientPlanes& m_planes;
  const Rect m_window;            ///< of the top resolution
  PlaneView m_low[2], m_high[2];  ///< left and right half of vertical lows, and of highs
  uint8_t* m_work;
  PlaneView m_rows;            ///< that are made
  int64_t m_next = INT64_MIN;  ///< pair behind the last one that was made
};

}  // namespace j2k
