// Layout of quantisation tables. Entries 0 to 63 are the quantisers; behind them a forward builder
// leaves for each quantiser q two factors that divide without division, and the mark.
//
// With b = floor(log2 q) the quotient of x >= 0, rounded to nearest, halves up, is
//   floor((floor(2 x m / 2^16) + 2^(k-1)) / 2^k), k = b + 1, m = ceil(2^(16+b) / q),
// exact for x up to 2^14: what m is too large adds less than 1 / 2q to the quotient. A power of two
// above 1 would need m = 2^16 and takes m = 2^15, k = b; for 1 there are m = 2^16 - 1, k = 1, where
// the lost unit is rounded back.
#pragma once

#include <cstdint>
#include <cstring>

namespace rkd {

constexpr int kReciprocals = 64;  // m
constexpr int kScales = 128;      // 2^(15-k)
constexpr int kMark = 192;        // four entries
constexpr int kTableLength = 256;
constexpr uint64_t kQuantMark = 0x9D3F6B21C5E8A74Du;

inline bool isMarked(const uint16_t* table) {
  uint64_t mark;
  std::memcpy(&mark, static_cast<const void*>(table + kMark), sizeof(mark));
  return mark == kQuantMark;
}

}  // namespace rkd
