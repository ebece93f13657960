// Image part: copying and filling regions.
#include <cstring>

#include "common/args.h"
#include "rkd/rkdi.h"

namespace {

// SC samples a pixel on both sides.
template <int SC, class T>
void copyRows(const rkd::Rows<T, T>& r) {
  const size_t bytes = sizeof(T) * SC * static_cast<size_t>(r.size.width);
  for (int y = 0; y < r.size.height; ++y) {
    std::memcpy(static_cast<void*>(r.dstRow(y)), static_cast<const void*>(r.srcRow(y)), bytes);
  }
}

template <class T>
RkdStatus set(T value, T* dst, int dstStep, RkdiSize size) {
  if (const RkdStatus s = rkd::firstOf(rkd::checkPointers(dst), rkd::checkSize(size),
                                       rkd::checkStep<T>(dstStep, size.width)))
    return s;
  for (int y = 0; y < size.height; ++y) {
    // Bytes, because the row may have any alignment.
    auto* bytes = reinterpret_cast<unsigned char*>(rkd::rowAt(dst, dstStep, y));
    for (int x = 0; x < size.width; ++x, bytes += sizeof(T)) std::memcpy(bytes, &value, sizeof(T));
  }
  return rkdStsNoErr;
}

}  // namespace

RKD_PIXELS_TO_PIXELS(rkdiCopy_8u_C1R, (copyRows<1, uint8_t>), uint8_t, 1, uint8_t, 1)
RKD_PIXELS_TO_PIXELS(rkdiCopy_8u_C3R, (copyRows<3, uint8_t>), uint8_t, 3, uint8_t, 3)
RKD_PIXELS_TO_PIXELS(rkdiCopy_16s_C1R, (copyRows<1, int16_t>), int16_t, 1, int16_t, 1)
RKD_PIXELS_TO_PIXELS(rkdiCopy_32s_C1R, (copyRows<1, int32_t>), int32_t, 1, int32_t, 1)

RkdStatus rkdiSet_8u_C1R(uint8_t value, uint8_t* dst, int dstStep, RkdiSize size) {
  return set(value, dst, dstStep, size);
}
RkdStatus rkdiSet_16s_C1R(int16_t value, int16_t* dst, int dstStep, RkdiSize size) {
  return set(value, dst, dstStep, size);
}
RkdStatus rkdiSet_32s_C1R(int32_t value, int32_t* dst, int dstStep, RkdiSize size) {
  return set(value, dst, dstStep, size);
}
