// The depth of a picture's samples.
#pragma once

#include <cstdint>

namespace rkd {

struct Depth {
  int bits;  // 1..31
  bool isSigned;

  // The range once shifted, and the shift.
  int32_t least() const { return -(int32_t{1} << (bits - 1)); }
  int32_t most() const { return -(least() + 1); }
  int32_t offset() const { return isSigned ? 0 : -least(); }
};

}  // namespace rkd
