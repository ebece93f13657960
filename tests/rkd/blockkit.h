/// @file
/// What tests of the code-block coder share: blocks of coefficients, and both implementations under
/// one name each.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "base/owner.h"
#include "hex.h"
#include "ref_code2k.h"
#include "rkd/rkdjpeg_codeblock.h"
#include "rkdkit.h"

namespace blockkit {

using Bytes = std::vector<uint8_t>;
using Coefficients = std::vector<int32_t>;

/// One name for each function of an implementation, so that a case is written once for both.
#define BLOCKKIT_FUNCTIONS(Scope)                                                      \
  using EncodeState = Scope::RkdiEncodeCodeBlockState;                                 \
  using DecodeState = Scope::RkdiDecodeCodeBlockState;                                 \
  static constexpr auto encodeAlloc = Scope::rkdiEncodeCodeBlockStateInitAlloc_JPEG2K; \
  static constexpr auto encodeFree = Scope::rkdiEncodeCodeBlockStateFree_JPEG2K;       \
  static constexpr auto decodeAlloc = Scope::rkdiDecodeCodeBlockStateInitAlloc_JPEG2K; \
  static constexpr auto decodeFree = Scope::rkdiDecodeCodeBlockStateFree_JPEG2K;       \
  static constexpr auto setLeastGain = Scope::rkdiEncodeSetLeastGain_JPEG2K;           \
  static constexpr auto load = Scope::rkdiEncodeLoadCodeBlock_JPEG2K_32s_C1R;          \
  static constexpr auto info = Scope::rkdiEncodeGetCodeBlockInfo_JPEG2K;               \
  static constexpr auto passInfo = Scope::rkdiEncodeGetPassInfo_JPEG2K;                \
  static constexpr auto storeBits = Scope::rkdiEncodeStoreBits_JPEG2K_1u;              \
  static constexpr auto decode = Scope::rkdiDecodeCodeBlock_JPEG2K_1u32s_C1R;          \
  static constexpr auto start = Scope::rkdiDecodeCBProgrStart_JPEG2K;                  \
  static constexpr auto step = Scope::rkdiDecodeCBProgrStep_JPEG2K;                    \
  static constexpr auto get = Scope::rkdiDecodeCBProgrGet_JPEG2K_32s_C1R;              \
  static constexpr auto getMiddles = Scope::rkdiDecodeCBProgrGet_JPEG2K_32f_C1R;       \
  static constexpr auto getPlanes = Scope::rkdiDecodeCBProgrGetPlanes_JPEG2K_8u_C1R;
struct Library {
  BLOCKKIT_FUNCTIONS()
};
struct Reference {
  BLOCKKIT_FUNCTIONS(ref)
};
#undef BLOCKKIT_FUNCTIONS

/// What the functions want to know of a block besides its data.
struct Shape {
  RkdiSize size;
  int band;
  int style;
};

inline std::ostream& operator<<(std::ostream& out, const Shape& s) {
  return out << s.size << " band " << s.band << " style " << s.style;
}

/// A block that was encoded, with everything that is to be known of it.
struct Coded {
  int bitPlanes = 0, passes = 0;
  std::vector<RkdiCodeBlockPass> pass;
  Bytes bytes;

  /// Lengths of the segments of the first `count` passes, the last cut where it may be.
  std::vector<int> segments(int count) const {
    std::vector<int> lengths;
    int last = 0;
    for (int k = 0; k < count; ++k) {
      if (pass[size_t(k)].terminated == 0 && k != count - 1) continue;
      lengths.push_back(pass[size_t(k)].length - last);
      last = pass[size_t(k)].length;
    }
    return lengths;
  }
  Bytes firstBytes(int count) const {
    return {bytes.begin(), bytes.begin() + (count == 0 ? 0 : pass[size_t(count) - 1].length)};
  }
};

template <class Coder>
class Encoder {
 public:
  Encoder() { EXPECT_EQ(rkdStsNoErr, state.make(Coder::encodeAlloc)); }

  Coded encode(const Coefficients& data, const Shape& s, int maxPasses = rkdCodeBlockMaxPasses) {
    Coded coded;
    EXPECT_EQ(rkdStsNoErr, Coder::load(data.data(), s.size.width * 4, s.size, s.band, s.style,
                                       maxPasses, state));
    EXPECT_EQ(rkdStsNoErr, Coder::info(&coded.bitPlanes, &coded.passes, state));
    coded.pass.resize(size_t(coded.passes));
    for (int k = 0; k < coded.passes; ++k) {
      EXPECT_EQ(rkdStsNoErr, Coder::passInfo(k, &coded.pass[size_t(k)], state));
    }
    coded.bytes = store(coded.passes);
    return coded;
  }
  Bytes store(int passes) {
    Bytes bytes(1 << 16);
    int position = 0;
    EXPECT_EQ(rkdStsNoErr,
              Coder::storeBits(bytes.data(), int(bytes.size()), &position, passes, state));
    bytes.resize(size_t(position));
    bytes.shrink_to_fit();
    return bytes;
  }

  base::Made<typename Coder::EncodeState, Coder::encodeFree> state;
};

template <class Coder>
class Decoder {
 public:
  Decoder() { EXPECT_EQ(rkdStsNoErr, state.make(Coder::decodeAlloc)); }

  Coefficients decode(const Bytes& bytes, const std::vector<int>& lengths, const Shape& s,
                      int bitPlanes, int passes) {
    Coefficients got(size_t(s.size.width) * s.size.height, 0x5A5A5A5A);
    status = Coder::decode(bytes.data(), int(bytes.size()), lengths.data(), int(lengths.size()),
                           got.data(), s.size.width * 4, s.size, s.band, s.style, bitPlanes, passes,
                           state);
    return got;
  }

  RkdStatus status = rkdStsNoErr;
  base::Made<typename Coder::DecodeState, Coder::decodeFree> state;
};

/// Kinds of data that drive the coder into its corners.
enum class Fill { picture, sparse, dense, wide, extremes, kinds };

inline Coefficients filled(Fill fill, RkdiSize size, rkdkit::Random& random) {
  Coefficients data(size_t(size.width) * size.height);
  const auto sign = [&](int value) { return (random.bits() >> 31) != 0 ? -value : value; };
  for (size_t i = 0; i < data.size(); ++i) {
    const int x = int(i) % size.width;
    const int y = int(i) / size.width;
    switch (fill) {
      case Fill::picture: {  // strong and weak neighbourhoods
        const int strength = (x / 5 + y / 3) % 4 == 0 ? 12 : 3;
        data[i] = sign(int(std::exp(random.between(0, 1000) * strength / 2000.0)) - 1);
        break;
      }
      case Fill::sparse:
        data[i] = random.between(0, 40) == 0 ? sign(random.between(1, 300)) : 0;
        break;
      case Fill::dense:
        data[i] = random.between(-4000, 4000);
        break;
      case Fill::wide:
        data[i] = sign(int(random.bits() >> 1));
        break;
      default:
        data[i] = random.between(0, 3) != 0 ? 0 : sign(std::numeric_limits<int32_t>::max());
    }
  }
  return data;
}

}  // namespace blockkit
