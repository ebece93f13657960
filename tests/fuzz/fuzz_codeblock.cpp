// Bytes of a code block, behind five that say what it is like.
#include <algorithm>
#include <vector>

#include "base/owner.h"
#include "fuzz.h"
#include "ref_code2k.h"
#include "rkd/rkdjpeg_codeblock.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size < 5) return 0;
  const RkdiSize block = {1 + data[0] % 64, 1 + data[1] % 64};
  const int style = data[2] % 64;
  const int bitPlanes = 1 + data[3] % 31;
  const int passes = 1 + data[4] % (3 * bitPlanes - 2);
  const int band = data[3] >> 6;
  const std::vector<std::uint8_t> bytes(data + 5, data + size);
  // All bytes in the first segment; the others have none.
  std::vector<int> lengths;
  for (int pass = 0, count = 0; pass < passes; pass += count) {
    rkdiGetCodeBlockSegment_JPEG2K(pass, style, &count);
    lengths.push_back(pass == 0 ? int(bytes.size()) : 0);
  }
  base::Made<RkdiDecodeCodeBlockState, &rkdiDecodeCodeBlockStateFree_JPEG2K> state;
  require(state.make(rkdiDecodeCodeBlockStateInitAlloc_JPEG2K) == rkdStsNoErr, "there is memory");
  std::vector<std::int32_t> got(std::size_t(block.width) * block.height), want(got.size());
  const RkdStatus status = rkdiDecodeCodeBlock_JPEG2K_1u32s_C1R(
      bytes.data(), int(bytes.size()), lengths.data(), int(lengths.size()), got.data(),
      block.width * 4, block, band, style, bitPlanes, passes, state);
  std::vector<float> middles(got.size()), wantedMiddles(got.size());
  require(rkdiDecodeCBProgrGet_JPEG2K_32f_C1R(middles.data(), block.width * 4, 0.3f, state) ==
              rkdStsNoErr,
          "there is a block in the state");
  ref::RkdiDecodeCodeBlockState plain;
  const RkdStatus wanted = ref::rkdiDecodeCodeBlock_JPEG2K_1u32s_C1R(
      bytes.data(), int(bytes.size()), lengths.data(), int(lengths.size()), want.data(),
      block.width * 4, block, band, style, bitPlanes, passes, &plain);
  ref::rkdiDecodeCBProgrGet_JPEG2K_32f_C1R(wantedMiddles.data(), block.width * 4, 0.3f, &plain);
  require(status == wanted && got == want && middles == wantedMiddles,
          "the plain version makes the same of the bytes");
  return 0;
}
