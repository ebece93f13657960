#pragma once
/// @file
/// Base of the suites whose functions go between pixels and the blocks of one MCU. A performance
/// walks the whole MCUs of an image, one call each.

#include <cstddef>
#include <cstdint>

#include "rktest.h"

/// The file-scope operands of such a suite: an image of interleaved pixels, and one vector of
/// blocks a plane, the blocks of an MCU side by side.
class rkMcuData {
 public:
  static constexpr int MAX_PLANES = 4;

  /// Plane pointers as the library takes them.
  struct Blocks {
    int16_t* planes[MAX_PLANES];
    operator int16_t* const*() const { return planes; }
  };

  /// Pixel format and MCU shape from the function's name.
  void bind(const rkFunc& func);
  /// Fills the source side at random, blocks in blockRange ((0, 0): all of the type), and the other
  /// side with a constant.
  bool create(RkdiSize size, rkRange blockRange);
  void flush();

  /// Calls mcu(i, x, y) for MCU number i, whose first pixel is (x, y), and stops at the first
  /// negative status; the status is that of the last call, 0 when there is none.
  template <class Mcu>
  int each(Mcu mcu) const {
    int status = 0;
    int i = 0;
    for (int y = 0; y < m_down && status >= 0; ++y) {
      for (int x = 0; x < m_across && status >= 0; ++x) {
        status = mcu(i++, x * m_width, y * m_height);
      }
    }
    return status;
  }

  template <class T>
  T* pixels(int x, int y) const {
    return reinterpret_cast<T*>(static_cast<char*>(m_image.data()) +
                                static_cast<std::ptrdiff_t>(m_image.step()) * y) +
           x * m_image.channels();
  }
  int step() const { return m_image.step(); }
  Blocks blocks(int mcu) const;

  int numMcus() const { return m_across * m_down; }
  /// Samples of all colour channels at full resolution.
  double numChannelPixels() const { return double(numMcus()) * m_width * m_height * m_numPlanes; }
  rkImage& image() { return m_image; }

 private:
  int blocksOf(int plane) const;

  rkImage m_image;
  rkVector m_planes[MAX_PLANES];
  bool m_toBlocks = true;
  int m_numPlanes = 3;
  int m_width = 8, m_height = 8;  ///< pixels of an MCU
  int m_across = 0, m_down = 0;   ///< MCUs of the image
};

/// Parameter: the session's image sizes.
class rkMcuTest : public rkTest {
 protected:
  rkMcuTest(const rkLine& line, rkMcuData& data) : rkTest(line), m_data(data) {}

  bool canStart() override;
  bool initData() override;
  void flushData() override { m_data.flush(); }
  double getDivisor() const override { return m_data.numChannelPixels(); }
  tzString getUnit() const override { return "pxch"; }

 private:
  rkMcuData& m_data;
};
