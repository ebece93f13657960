#pragma once
/// @file
/// How a codec suite registers: as other suites do, but what is measured is a call into a codec,
/// and no function of the library has that name.

#include <algorithm>

#include "rksuite.h"
#include "tzenv.h"

/// Base of the codec suites' classes: they judge by pictures, not by plain versions.
class rkCodecTest : public rkTest {
 protected:
  rkCodecTest(const rkLine& line, VerifyFunc verify) : rkTest(line) { setVerify(verify); }

  /// Channels of the uncompressed picture, the last digit of the name.
  int channels() const { return func().srcChannels(); }
  bool isEncoder() const { return func().baseName().find("Encoder", 0) >= 0; }
  /// What -N asks of the library, the codec does, too.
  static int threads() { return std::clamp(s_numThreads, 1, 64); }
};

/// One line: `init` is the tool's initialisation function or null; `expression` is one call.
#define RK_REG_CODEC(text, init, X, expression)                                        \
  static int tcall_##X() { return expression; }                                        \
  static tzResult tim_##X##_loop(int n, long long* clocks) {                           \
    return rkTimeLoop<tcall_##X>(n, clocks, #X);                                       \
  }                                                                                    \
  static tzResult tim_##X##_stat(int* n, long long* clocks) {                          \
    return rkTimeStat<tcall_##X>(n, clocks, #X);                                       \
  }                                                                                    \
  [[maybe_unused]] static const int reg_##X = rkRegister<RkSuite>({tcall_##X,          \
                                                                   init,               \
                                                                   tim_##X##_loop,     \
                                                                   tim_##X##_stat,     \
                                                                   #X,                 \
                                                                   RkSuite::source,    \
                                                                   RkSuite::className, \
                                                                   text,               \
                                                                   RkSuite::present,   \
                                                                   tcall_##X,          \
                                                                   nullptr,            \
                                                                   nullptr,            \
                                                                   nullptr,            \
                                                                   RkSuite::counters,  \
                                                                   {}})

/// @name Whether the loaded library has every function that a codec refers to
/// Made by the build from the codecs' object files.
/// @{
bool rkJpegCodecPresent();
bool rkJpeg2000CodecPresent();
/// @}
