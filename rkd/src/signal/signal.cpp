// Signal part: copying and filling rows. The C library's copy is as fast as any, at every level.
#include <cstring>

#include "common/args.h"
#include "rkd/rkds.h"

namespace {

template <class T>
RkdStatus copy(const T* src, T* dst, int len) {
  if (const RkdStatus s = rkd::firstOf(rkd::checkPointers(src, dst), rkd::checkLength(len)))
    return s;
  std::memcpy(static_cast<void*>(dst), static_cast<const void*>(src), sizeof(T) * len);
  return rkdStsNoErr;
}

template <class T>
RkdStatus set(T value, T* dst, int len) {
  if (const RkdStatus s = rkd::firstOf(rkd::checkPointers(dst), rkd::checkLength(len))) return s;
  // Bytes, because the row may have any alignment.
  auto* bytes = reinterpret_cast<unsigned char*>(dst);
  for (int i = 0; i < len; ++i, bytes += sizeof(T)) std::memcpy(bytes, &value, sizeof(T));
  return rkdStsNoErr;
}

}  // namespace

RkdStatus rkdsCopy_8u(const uint8_t* src, uint8_t* dst, int len) { return copy(src, dst, len); }
RkdStatus rkdsCopy_16s(const int16_t* src, int16_t* dst, int len) { return copy(src, dst, len); }
RkdStatus rkdsCopy_32s(const int32_t* src, int32_t* dst, int len) { return copy(src, dst, len); }
RkdStatus rkdsSet_8u(uint8_t value, uint8_t* dst, int len) { return set(value, dst, len); }
RkdStatus rkdsSet_16s(int16_t value, int16_t* dst, int len) { return set(value, dst, len); }
RkdStatus rkdsSet_32s(int32_t value, int32_t* dst, int len) { return set(value, dst, len); }
RkdStatus rkdsZero_8u(uint8_t* dst, int len) { return set<uint8_t>(0, dst, len); }
RkdStatus rkdsZero_16s(int16_t* dst, int len) { return set<int16_t>(0, dst, len); }
RkdStatus rkdsZero_32s(int32_t* dst, int len) { return set<int32_t>(0, dst, len); }
