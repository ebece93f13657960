/// @file
/// Two-dimensional test buffer: interleaved or planar channels in tracked memory.
#pragma once

#include <array>
#include <tuple>

#include "rkvector.h"

/// An image on the vector machinery.
///
/// Layout. Interleaved channels lie in one buffer; each plane of a planar image has a buffer of its
/// own, placed as any vector is. All planes share one step: the row's bytes rounded up to a
/// multiple of 64, so that every row has the placement of the first. Padding is never filled.
/// Between guard pages (rkGuard) the step is the row and a few elements, and the last row ends the
/// buffer.
///
/// Fills go plane by plane, row by row; within a row, over interleaved channels.
class rkImage : public rkVector {
 public:
  static constexpr int MAX_CHANNELS = 4;

  /// @name Element type and channels
  /// Takes effect with the next creation.
  /// @{
  /// @param channels  1 to 4; 0 counts as 1
  void init(rkType type, int channels = 1, bool planar = false);
  /// @param operand  1 source, 2 destination: its channels, and the type of that number
  void init(const rkFunc& func, int operand);
  void init(const rkFunc& func, rkArg arg);
  /// For functions whose pixels are not what the name says: with 16 bits packed into one element a
  /// C3 image has one channel.
  void setChannels(int channels, bool planar = false);
  static int numChannels(const rkFunc& func, rkArg arg);
  /// Without the alpha channel that functions leave alone (AC4: 3).
  static int numActualChannels(const rkFunc& func, rkArg arg);
  static bool isPlane(const rkFunc& func, rkArg arg);
  /// @}

  /// @name Creation
  /// @param align    bytes of misalignment; -1: as the session's settings say
  /// @param layout   every row is a multiple of this many bytes long; below 1: 64, 1: no padding
  /// @param reserve  makes the reserved copy, too
  /// @return false for a negative extent or no type and, after a line at level ERR, for an extent
  ///         that is too large or no memory
  /// @{
  bool createImage(RkdiSize size, int align = -1, int layout = -1, bool reserve = false);
  bool createImage(int width, int height, int align = -1, int layout = -1, bool reserve = false);
  /// Creates with the default layout and fills. The two integers after the size are ignored:
  /// callers pass values that depend on the session's data shift, which placement knows already.
  bool createImageExt(RkdiSize size, int, int, SetMode mode, double a = 0, double b = 0);
  bool createImageExt(int width, int height, int, int, SetMode mode, double a = 0, double b = 0);
  void deleteVector() override;
  /// @}

  /// Whether an image of this extent would exceed what one buffer may take.
  bool isTooLarge(int width, int height, int layout = -1) const;

  /// @name Loading a picture
  /// @{
  /// Whether `name` is a file that loadImage can read; silent.
  static bool canLoadImage(const tzString& name);
  /// Replaces type, channels, extent and data by those of a BMP file.
  /// @return false after one line at level ERR
  bool loadImage(const tzString& name, int layout = -1);
  /// @}

  /// @name Extent
  /// @{
  int width() const { return m_width; }
  int height() const { return m_height; }
  RkdiSize imageSize() const { return {m_width, m_height}; }
  int channels() const { return m_channels; }
  bool isPlanar() const { return m_planar; }
  int step() const { return m_step; }  ///< BYTES between row starts
  int numPlanes() const { return m_planar ? m_channels : 1; }
  int rowChannels() const { return m_planar ? 1 : m_channels; }  ///< samples of a pixel in its row
  int getNumRows() const override { return m_height * numPlanes(); }  ///< rows of all planes
  /// Without the alpha channel of an init from an "A" code.
  int numActualItems() const override;
  /// @}

  /// @name Data as the library takes them
  /// The first (or only) plane is data8u() and its kin.
  /// @{
  uint8_t* const* planes8u() const { return planes<uint8_t>(); }
  uint16_t* const* planes16u() const { return planes<uint16_t>(); }
  int16_t* const* planes16s() const { return planes<int16_t>(); }
  int32_t* const* planes32s() const { return planes<int32_t>(); }
  float* const* planes32f() const { return planes<float>(); }
  void* plane(int p) const {
    return p >= 0 && p < int(m_buffers.size()) ? m_buffers[size_t(p)].data : nullptr;
  }
  /// Copies the plane pointers, one an element of `pointers`.
  template <typename T, size_t N>
  void setPlaneArray(T* (&pointers)[N]) const {
    for (size_t p = 0; p < N; ++p) pointers[p] = static_cast<T*>(plane(int(p)));
  }
  /// @param row  counted over all planes; null outside the image
  void* getRowPointer(int row) const;
  void* getPointerAt(int x, int y, int channel) const;
  /// @}

  tzString objectInfo() const override;
  using rkVector::setJaehne;
  bool setJaehne(double magnitude) override;

 protected:
  rkSpan rowSpan(int row) const override;

 private:
  // An image is created as an image only.
  using rkVector::createVector;
  using rkVector::createVectorExt;

  long long rowBytes(int width) const;
  long long stepFor(int width, int layout) const;
  void setPlanePtrs();
  void setPlaneJaehne(int p, const rkZonePlate& plate);

  template <typename T>
  T* const* planes() const {
    assert(elementSize(partType(m_type)) == int(sizeof(T)));
    return std::get<std::array<T*, MAX_CHANNELS>>(m_planePtrs).data();
  }
  template <typename T>
  using PlanePtrs = std::array<T*, MAX_CHANNELS>;

  int m_width = 0;
  int m_height = 0;
  int m_channels = 1;
  int m_actualChannels = 1;
  bool m_planar = false;
  int m_step = 0;
  /// The same addresses once for each element type, because a library argument is an array of
  /// typed pointers.
  std::tuple<PlanePtrs<uint8_t>, PlanePtrs<uint16_t>, PlanePtrs<int16_t>, PlanePtrs<int32_t>,
             PlanePtrs<float>>
      m_planePtrs{};
};
