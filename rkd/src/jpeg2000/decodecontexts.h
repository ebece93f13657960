// Contexts of decisions by what surrounds a coefficient, as ITU-T T.800, annex D, has them.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "jpeg2000/mq.h"
#include "jpeg2000/passes.h"

namespace rkd::j2k {

/// Label of a zero-coding context by band and neighbourhood.
inline constexpr std::array<std::array<uint8_t, 512>, 4> zeroContexts = [] {
  std::array<std::array<uint8_t, 512>, 4> contexts{};
  const auto label = [](int band, int h, int v, int d) {
    if (band == rkdBandHH) {
      const int cross = h + v > 2 ? 2 : h + v;
      if (d >= 3) return 8;
      if (d == 2) return cross > 0 ? 7 : 6;
      return 3 * d + cross;
    }
    if (band == rkdBandHL) {
      const int t = h;
      h = v;
      v = t;
    }
    if (h == 2) return 8;
    if (h == 1) return v > 0 ? 7 : d > 0 ? 6 : 5;
    if (v > 0) return 2 + v;
    return d > 2 ? 2 : d;
  };
  for (int band = 0; band < 4; ++band) {
    for (int w = 0; w < 512; ++w) {
      const auto is = [w](int bit) { return w >> bit & 1; };
      contexts[size_t(band)][size_t(w)] =
          uint8_t(label(band, is(3) + is(5), is(1) + is(7), is(0) + is(2) + is(6) + is(8)));
    }
  }
  return contexts;
}();

/// Label of a sign context, and in the high bit the expected sign: by upper, left, right and lower
/// neighbour, two bits each, significant and negative.
inline constexpr std::array<uint8_t, 256> signContexts = [] {
  std::array<uint8_t, 256> contexts{};
  const auto limited = [](int sum) { return sum > 1 ? 1 : sum < -1 ? -1 : sum; };
  for (int i = 0; i < 256; ++i) {
    const auto sign = [i](int neighbour) {
      const int bits = i >> 2 * neighbour & 3;
      return (bits & 1) == 0 ? 0 : bits == 1 ? 1 : -1;
    };
    int h = limited(sign(1) + sign(2));
    int v = limited(sign(0) + sign(3));
    const bool flip = h < 0 || (h == 0 && v < 0);
    if (flip) {
      h = -h;
      v = -v;
    }
    const int label = int(contextSign) + (h == 0 ? v : 3 + v);
    contexts[size_t(i)] = uint8_t(label | int(flip) << 7);
  }
  return contexts;
}();

}  // namespace rkd::j2k
