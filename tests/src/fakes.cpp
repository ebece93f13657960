// Throw-away library functions that suites of the tests measure.
#include "fakes.h"

#include <csignal>
#include <cstddef>
#include <cstring>

FakeControl g_fake;

namespace {

template <class State>
RkdStatus code(const uint8_t* src, int length, uint8_t* dst, int* position, State* state) {
  for (int i = 0; i < length; ++i) {
    state->carry += src[i];
    dst[i] = static_cast<uint8_t>(state->carry);
  }
  *position = length;
  return rkdStsNoErr;
}

RkdStatus copy(const int16_t* src, int16_t* dst, int length) {
  for (int i = 0; i < length; ++i) dst[i] = src[i];
  return rkdStsNoErr;
}

RkdStatus copyRows(const float* src, int srcStep, float* dst, int dstStep, RkdiSize size) {
  for (int y = 0; y < size.height; ++y) {
    const auto* from = reinterpret_cast<const char*>(src) + std::ptrdiff_t{srcStep} * y;
    auto* to = reinterpret_cast<char*>(dst) + std::ptrdiff_t{dstStep} * y;
    std::memcpy(to, from, sizeof(float) * std::size_t(size.width));
  }
  return rkdStsNoErr;
}

RkdStatus increment(int16_t* srcDst, int length) {
  for (int i = 0; i < length; ++i) srcDst[i] = static_cast<int16_t>(srcDst[i] + 1);
  return rkdStsNoErr;
}

}  // namespace

RkdStatus rkdiFakeCode_JPEG_8u_C1(const uint8_t* src, int length, uint8_t* dst, int* position,
                                  FakeState* state) {
  if (state->carry != 0) ++g_fake.staleCalls;
  g_fake.codedLength = length;
  return code(src, length, dst, position, state);
}
RkdStatus rkdiFakeCopy_JPEG_16s_C1(const int16_t* src, int16_t* dst, int length) {
  g_fake.copied = 0;
  for (int i = 0; i < length; ++i) g_fake.copied += (i + 1) * long{src[i]} + dst[i];
  return copy(src, dst, length);
}
RkdStatus rkdiFakeCount_JPEG_8u_C1(int* count) {
  g_fake.countBefore = *count;
  *count += g_fake.countBy;
  return rkdStsNoErr;
}
RkdStatus rkdiFakeRows_JPEG_32f_C1R(const float* src, int srcStep, float* dst, int dstStep,
                                    RkdiSize size) {
  copyRows(src, srcStep, dst, dstStep, size);
  if (size.width == 7 && g_fake.rowsBy != 0) dst[g_fake.rowsAt] += g_fake.rowsBy;
  return rkdStsNoErr;
}
RkdStatus rkdiFakeWrong_JPEG_16s_C1(const int16_t* src, int16_t* dst, int length) {
  copy(src, dst, length);
  if (g_fake.wrongAt >= 0) {
    dst[g_fake.wrongAt] = static_cast<int16_t>(dst[g_fake.wrongAt] + g_fake.wrongBy);
  }
  return g_fake.status;
}
RkdStatus rkdiFakeInPlace_JPEG_16s_C1I(int16_t* srcDst, int length) {
  g_fake.inPlaceFirst = srcDst[0];
  return increment(srcDst, length);
}
RkdStatus rkdiFakeCrash_JPEG_8u_C1(uint8_t* dst) {
  if (g_fake.crash) std::raise(SIGSEGV);
  dst[0] = 1;
  return rkdStsNoErr;
}

RkdStatus ref::rkdiFakeCode_JPEG_8u_C1(const uint8_t* src, int length, uint8_t* dst, int* position,
                                       FakeState* state) {
  return code(src, length, dst, position, state);
}
RkdStatus ref::rkdiFakeCopy_JPEG_16s_C1(const int16_t* src, int16_t* dst, int length) {
  return copy(src, dst, length);
}
RkdStatus ref::rkdiFakeWrong_JPEG_16s_C1(const int16_t* src, int16_t* dst, int length) {
  return copy(src, dst, length);
}
RkdStatus ref::rkdiFakeInPlace_JPEG_16s_C1I(int16_t* srcDst, int length) {
  return increment(srcDst, length);
}
RkdStatus ref::rkdiFakeCount_JPEG_8u_C1(int* count) {
  ++*count;
  return rkdStsNoErr;
}
RkdStatus ref::rkdiFakeRows_JPEG_32f_C1R(const float* src, int srcStep, float* dst, int dstStep,
                                         RkdiSize size) {
  return copyRows(src, srcStep, dst, dstStep, size);
}
RkdStatus ref::rkdiFakeCrash_JPEG_8u_C1(uint8_t* dst) {
  dst[0] = 1;
  return rkdStsNoErr;
}
RkdStatus ref::rkdiFakeMissing_JPEG_8u_C1(uint8_t*) { return rkdStsNoErr; }
