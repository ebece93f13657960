#pragma once
/// @file
/// A rectangle of samples or coefficients of a tile, in the arithmetic that its wavelet asks for.

#include <cstddef>
#include <cstdint>

namespace j2k {

enum class Arithmetic : uint8_t {
  narrow,  ///< int16_t: reversible, few bits
  wide,    ///< int32_t: reversible
  real     ///< float: irreversible
};

constexpr size_t sampleSize(Arithmetic a) { return a == Arithmetic::narrow ? 2 : 4; }

struct PlaneView {
  Arithmetic arithmetic = Arithmetic::narrow;
  void* data = nullptr;
  size_t step = 0;  ///< BYTES
  int width = 0, height = 0;

  template <typename T>
  T* row(int64_t y) const {
    return reinterpret_cast<T*>(static_cast<std::byte*>(data) + size_t(y) * step);
  }
  PlaneView part(int64_t x, int64_t y, int64_t w, int64_t h) const {
    PlaneView view = *this;
    view.data =
        static_cast<std::byte*>(data) + size_t(y) * step + size_t(x) * sampleSize(arithmetic);
    view.width = int(w);
    view.height = int(h);
    return view;
  }
};

}  // namespace j2k
