// What an encoder knows of its block.
#pragma once

#include <cstdint>

#include "jpeg2000/passes.h"
#include "jpeg2000/state.h"

namespace rkd::j2k {

/// A block's bit planes and what has been coded of them.
struct Coefficients {
  Map negative[maxMapWords];
  Map significant[maxMapWords];
  Map visited[maxMapWords];                         ///< in this plane's significance pass
  Map refined[maxMapWords];                         ///< in a plane before
  Map magnitude[rkdCodeBlockMaxPlanes * maxWords];  ///< a word's planes, the lowest first
};

/// Ample: adaptive coding expands no block beyond 1.3 bits a decision, and a coefficient has one
/// decision a plane and one for its sign. The coder stops at the end all the same.
inline constexpr int maxBytes = 40 * 1024;
/// Most in a pass: a column of four has up to ten, a coefficient alone up to two.
inline constexpr int maxSymbols = 10 * 1024 + 64;

struct Pass {
  double distortion;
  int length;
  bool terminated;
};

struct EncodeState {
  static constexpr uint32_t mark = 0x4A324B45;
  uint32_t kind;
  bool loaded;
  int bitPlanes, passes;
  double leastGain;  ///< of three passes, a byte; 0: any
  int fewestPasses;  ///< whatever they gain
  Pass pass[rkdCodeBlockMaxPasses];
  alignas(lineSize) Coefficients coefficients;
  uint32_t sample[maxSamples + 64];  ///< magnitude, with the sign in the high bit, four to a column
  uint8_t symbol[maxSymbols];
  uint8_t before;  ///< what the first byte's carry would go to
  uint8_t bytes[maxBytes];
};

inline constexpr uint32_t signBit = 0x80000000u;

}  // namespace rkd::j2k
