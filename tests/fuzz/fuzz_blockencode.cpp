// Coefficients of a code block, behind seven bytes that say how it is coded and when that stops.
#include <algorithm>
#include <cmath>
#include <vector>

#include "base/owner.h"
#include "fuzz.h"
#include "ref_code2k.h"
#include "rkd/rkdjpeg_codeblock.h"

namespace {

constexpr std::size_t kHead = 7;

/// How a block is coded.
struct Way {
  RkdiSize size;
  int band, style, most, fewest;
  double gain;
};

Way wayOf(const std::uint8_t* head) {
  // Powers of two, so that sums of squares are compared with what has no rounding.
  const double gain = head[4] == 0 ? 0 : std::ldexp(1.0, head[4] % 32 - 8);
  return {{1 + head[0] % 64, 1 + head[1] % 64},
          head[3] % 4,
          head[2] % 64,
          1 + head[6] % 91,
          head[5] % 92,
          gain};
}

/// Two bytes each, the last ones repeated; of so many planes that sums of squares are exact.
std::vector<std::int32_t> coefficientsOf(const Way& way, const std::uint8_t* data,
                                         std::size_t size) {
  std::vector<std::int32_t> all(std::size_t(way.size.width) * way.size.height);
  for (std::size_t i = 0; i < all.size() && size >= 2; ++i) {
    const std::size_t at = 2 * i % (size / 2 * 2);
    const int value = data[at] | data[at + 1] << 8;
    all[i] = value >> 15 ? -(value & 0x7FFF) : value;
  }
  return all;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size < kHead) return 0;
  const Way way = wayOf(data);
  const auto coefficients = coefficientsOf(way, data + kHead, size - kHead);
  base::Made<RkdiEncodeCodeBlockState, &rkdiEncodeCodeBlockStateFree_JPEG2K> state;
  require(state.make(rkdiEncodeCodeBlockStateInitAlloc_JPEG2K) == rkdStsNoErr, "there is memory");
  require(rkdiEncodeSetLeastGain_JPEG2K(way.gain, way.fewest, state) == rkdStsNoErr,
          "a gain and a number of passes are taken");
  ref::RkdiEncodeCodeBlockState plain;
  ref::rkdiEncodeSetLeastGain_JPEG2K(way.gain, way.fewest, &plain);
  const int step = way.size.width * 4;
  require(rkdiEncodeLoadCodeBlock_JPEG2K_32s_C1R(coefficients.data(), step, way.size, way.band,
                                                 way.style, way.most, state) == rkdStsNoErr,
          "every block is coded");
  ref::rkdiEncodeLoadCodeBlock_JPEG2K_32s_C1R(coefficients.data(), step, way.size, way.band,
                                              way.style, way.most, &plain);
  int planes = 0, passes = 0, wantedPlanes = 0, wantedPasses = 0;
  rkdiEncodeGetCodeBlockInfo_JPEG2K(&planes, &passes, state);
  ref::rkdiEncodeGetCodeBlockInfo_JPEG2K(&wantedPlanes, &wantedPasses, &plain);
  require(planes == wantedPlanes && passes == wantedPasses,
          "the plain version stops behind the same pass");
  require(passes <= way.most, "no more passes than asked for");
  require(passes >= std::min({way.most, way.fewest, 3 * planes - 2}), "no fewer, either");
  std::vector<std::uint8_t> bytes(1 << 16), wanted(bytes.size());
  const int room = int(bytes.size());
  int length = 0, wantedLength = 0;
  require(rkdiEncodeStoreBits_JPEG2K_1u(bytes.data(), room, &length, passes, state) ==
                  ref::rkdiEncodeStoreBits_JPEG2K_1u(wanted.data(), room, &wantedLength, passes,
                                                     &plain) &&
              length == wantedLength && bytes == wanted,
          "the plain version makes the same bytes");
  return 0;
}
