// Portable anymaps, parsed, read and written again.
#include "imagefile.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  exerciseImage({data, size}, base::BmpPixels::rgb);
  return 0;
}
