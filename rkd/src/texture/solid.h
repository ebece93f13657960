// Ends for texture blocks of one colour.
#pragma once

#include <cstdint>

namespace rkd {

// For every value the two ends, upper << 8 | lower and widened, whose level next to the upper one
// is nearest: 256 entries for four colours, then 256 for three; and by what the squared distance of
// the nearest level is smaller with three.
struct SolidTable {
  int32_t ends[512];
  int32_t gained[256];
};

constexpr SolidTable solidTable(int bits) {
  SolidTable table{};
  int cost[512] = {};
  for (int& c : cost) c = 1 << 30;
  const auto widen = [&](int v) { return v << (8 - bits) | v >> (2 * bits - 8); };
  const auto add = [&](int upper, int lower, int mixed, int base) {
    const int apart = upper < lower ? lower - upper : upper - lower;
    // No value is further from the nearest level.
    const int first = mixed < 4 ? 0 : mixed - 4, past = mixed > 251 ? 256 : mixed + 5;
    for (int v = first; v < past; ++v) {
      const int error = mixed < v ? v - mixed : mixed - v;
      const int c = ((error * 64 + apart) * 64 + upper) * 64 + lower;
      if (c >= cost[base + v]) continue;
      cost[base + v] = c;
      table.ends[base + v] = widen(upper) << 8 | widen(lower);
    }
  };
  for (int upper = 0; upper < 1 << bits; ++upper) {
    for (int lower = 0; lower < 1 << bits; ++lower) {
      const int a = widen(upper), b = widen(lower);
      add(upper, lower, (2 * a + b) / 3, 0);
      add(upper, lower, (a + b) / 2, 256);
    }
  }
  for (int v = 0; v < 256; ++v) {
    const int four = cost[v] >> 18, three = cost[256 + v] >> 18;
    table.gained[v] = four * four - three * three;
  }
  return table;
}
inline constexpr SolidTable kSolid5 = solidTable(5);
inline constexpr SolidTable kSolid6 = solidTable(6);

}  // namespace rkd
