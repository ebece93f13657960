#pragma once
/// Stand-ins for library functions, for suites that exist only in a test. `rkdi...` is "the
/// library", the same name in namespace ref the judge.

#include <cstdint>

#include "rkd/rkdbase.h"

struct FakeState {
  int carry;
};

extern "C" {
/// Adds up what it reads; the sum goes on from the state.
RkdStatus rkdiFakeCode_JPEG_8u_C1(const uint8_t* src, int length, uint8_t* dst, int* position,
                                  FakeState* state);
RkdStatus rkdiFakeCopy_JPEG_16s_C1(const int16_t* src, int16_t* dst, int length);
/// Differs from its judge at one element; which one, and by how much, a test sets.
RkdStatus rkdiFakeWrong_JPEG_16s_C1(const int16_t* src, int16_t* dst, int length);
RkdStatus rkdiFakeInPlace_JPEG_16s_C1I(int16_t* srcDst, int length);
/// Adds one; the judge does the same, unless a test sets another number.
RkdStatus rkdiFakeCount_JPEG_8u_C1(int* count);
/// Copies rows; adds to one element of the first row, or behind it, what a test sets.
RkdStatus rkdiFakeRows_JPEG_32f_C1R(const float* src, int srcStep, float* dst, int dstStep,
                                    RkdiSize size);
/// Crashes when told to.
RkdStatus rkdiFakeCrash_JPEG_8u_C1(uint8_t* dst);
/// Nobody defines this one.
RkdStatus rkdiFakeMissing_JPEG_8u_C1(uint8_t* dst) __attribute__((weak));
}

namespace ref {
struct FakeState {
  long carry;
};
RkdStatus rkdiFakeCode_JPEG_8u_C1(const uint8_t* src, int length, uint8_t* dst, int* position,
                                  FakeState* state);
RkdStatus rkdiFakeCopy_JPEG_16s_C1(const int16_t* src, int16_t* dst, int length);
RkdStatus rkdiFakeWrong_JPEG_16s_C1(const int16_t* src, int16_t* dst, int length);
RkdStatus rkdiFakeInPlace_JPEG_16s_C1I(int16_t* srcDst, int length);
RkdStatus rkdiFakeCount_JPEG_8u_C1(int* count);
RkdStatus rkdiFakeRows_JPEG_32f_C1R(const float* src, int srcStep, float* dst, int dstStep,
                                    RkdiSize size);
RkdStatus rkdiFakeCrash_JPEG_8u_C1(uint8_t* dst);
RkdStatus rkdiFakeMissing_JPEG_8u_C1(uint8_t* dst);
}  // namespace ref

/// What the stand-ins do and count.
struct FakeControl {
  int wrongAt = -1;      ///< element at which rkdiFakeWrong differs
  int wrongBy = 0;       ///< by how much
  RkdStatus status = 0;  ///< what rkdiFakeWrong returns
  int staleCalls = 0;    ///< calls of rkdiFakeCode whose state had not been restored
  int inPlaceFirst = 0;  ///< first element that the last rkdiFakeInPlace met
  bool crash = false;
  int codedLength = 0;  ///< elements of the last rkdiFakeCode
  int rowsAt = 0;       ///< where rkdiFakeRows adds, in images 7 pixels wide
  float rowsBy = 0;     ///< what it adds
  int countBy = 1;      ///< what rkdiFakeCount adds
  int countBefore = 0;  ///< what the last rkdiFakeCount met
  long copied = 0;      ///< sum of what the last rkdiFakeCopy read, and of what it overwrote
};
extern FakeControl g_fake;
