// Entropy-coded data. The first bytes choose decoder, level, scan and tables, the rest is the
// stream: whatever it holds, a decoder must say and do what the plain version does, within the
// stream's length.
#include <algorithm>
#include <array>
#include <cstring>
#include <vector>

#include "base/owner.h"
#include "fuzz.h"
#include "ref_huffman.h"
#include "rkd/rkdcore.h"
#include "rkd/rkdjpeg_huffman.h"

namespace {

using Block = std::array<int16_t, 64>;

struct Table {
  uint8_t bits[16];
  uint8_t values[256];
};

/// A table with a code for every symbol, or for the lower ones only; `seed` orders them.
Table makeTable(unsigned seed, bool all) {
  std::array<int, 256> statistics{};
  for (int i = 0; i < (all ? 256 : 17); ++i) {
    seed = seed * 1664525 + 1013904223;
    statistics[static_cast<std::size_t>(i)] = 1 << (seed >> 28);
  }
  Table table{};
  ref::rkdiEncodeHuffmanRawTableInit_JPEG_8u(statistics.data(), table.bits, table.values);
  return table;
}

struct Choice {
  unsigned decoder, seed;
  bool allSymbols;
  int ss, se, al;
};

/// Position, DC, marker and the two objects of one implementation.
template <class Spec, class State>
struct Side {
  int position = 0, dc = 0, marker = 0;
  Spec spec;
  State state;
  std::array<Block, 4> data{};
};
using Ours = Side<base::Made<RkdiDecodeHuffmanSpec, &rkdiDecodeHuffmanSpecFree_JPEG_8u>,
                  base::Made<RkdiDecodeHuffmanState, &rkdiDecodeHuffmanStateFree_JPEG_8u>>;
using Plain =
    Side<base::Made<ref::RkdiDecodeHuffmanSpec, &ref::rkdiDecodeHuffmanSpecFree_JPEG_8u>,
         base::Made<ref::RkdiDecodeHuffmanState, &ref::rkdiDecodeHuffmanStateFree_JPEG_8u>>;

#define DECODE_WITH(Scope, s)                                                                      \
  switch (c.decoder) {                                                                             \
    case 0:                                                                                        \
      return Scope::rkdiDecodeHuffman8x8_JPEG_1u16s_C1(p, n, &s.position, s.data[0].data(), &s.dc, \
                                                       &s.marker, s.spec, s.spec, s.state);        \
    case 1:                                                                                        \
      return Scope::rkdiDecodeHuffman8x8_Direct_JPEG_1u16s_C1(p, n, &s.position, s.data[0].data(), \
                                                              &s.dc, s.spec, s.spec);              \
    case 2:                                                                                        \
      return Scope::rkdiDecodeHuffmanOne_JPEG_1u16s_C1(p, n, &s.position, s.data[0].data(),        \
                                                       &s.marker, s.spec, s.state);                \
    case 3: {                                                                                      \
      int16_t* const planes[4] = {s.data[0].data(), s.data[1].data(), s.data[2].data()};           \
      const auto specs = std::array{s.spec.get(), s.spec.get(), s.spec.get(), s.spec.get()};       \
      return Scope::rkdiDecodeHuffmanRow_JPEG_1u16s_C1P4(p, n, &s.position, planes, &s.marker,     \
                                                         c.se + 1, specs.data(), s.state);         \
    }                                                                                              \
    case 4:                                                                                        \
      return Scope::rkdiDecodeHuffman8x8_DCFirst_JPEG_1u16s_C1(                                    \
          p, n, &s.position, s.data[0].data(), &s.dc, &s.marker, c.al, s.spec, s.state);           \
    case 5:                                                                                        \
      return Scope::rkdiDecodeHuffman8x8_DCRefine_JPEG_1u16s_C1(                                   \
          p, n, &s.position, s.data[0].data(), &s.marker, c.al, s.state);                          \
    case 6:                                                                                        \
      return Scope::rkdiDecodeHuffman8x8_ACFirst_JPEG_1u16s_C1(                                    \
          p, n, &s.position, s.data[0].data(), &s.marker, c.ss, c.se, c.al, s.spec, s.state);      \
    default:                                                                                       \
      return Scope::rkdiDecodeHuffman8x8_ACRefine_JPEG_1u16s_C1(                                   \
          p, n, &s.position, s.data[0].data(), &s.marker, c.ss, c.se, c.al, s.spec, s.state);      \
  }

RkdStatus decode(const Choice& c, const uint8_t* p, int n, Ours& s){DECODE_WITH(, s)} RkdStatus
    decode(const Choice& c, const uint8_t* p, int n, Plain& s) {
  DECODE_WITH(ref, s)
}

void compare(const Choice& choice, const std::vector<uint8_t>& stream) {
  const Table table = makeTable(choice.seed, choice.allSymbols);
  Ours ours;
  Plain plain;
  const auto make = [&table](auto& side, auto makeSpec, auto makeState) {
    require(
        side.spec.make(makeSpec, table.bits, table.values) == 0 && side.state.make(makeState) == 0,
        "tables made from statistics are tables");
  };
  make(ours, rkdiDecodeHuffmanSpecInitAlloc_JPEG_8u, rkdiDecodeHuffmanStateInitAlloc_JPEG_8u);
  make(plain, ref::rkdiDecodeHuffmanSpecInitAlloc_JPEG_8u,
       ref::rkdiDecodeHuffmanStateInitAlloc_JPEG_8u);
  const int length = static_cast<int>(stream.size());
  for (int call = 0; call < 500; ++call) {
    const RkdStatus want = decode(choice, stream.data(), length, plain);
    const RkdStatus got = decode(choice, stream.data(), length, ours);
    require(want == got, "both end alike");
    require(got <= 0, "data have errors, not warnings");
    require(ours.position == plain.position && ours.dc == plain.dc, "both stand at one place");
    if (got != rkdStsNoErr) break;
    require(ours.marker == plain.marker, "both met the same marker");
    require(ours.data == plain.data, "both read the same values");
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size < 6 || size > 4096) return 0;
  Choice choice{};
  choice.decoder = data[0] & 7;
  choice.allSymbols = (data[0] & 8) != 0;
  choice.seed = data[2];
  choice.ss = 1 + data[3] % 63;
  choice.se = choice.ss + data[4] % (64 - choice.ss);
  choice.al = data[5] % 14;
  // A level that this machine lacks leaves the last one.
  const std::array<RkdCpuType, 5> levels = {65, 67, 69, 71, 72};
  rkdInitCpu(levels[data[1] % levels.size()]);
  const std::vector<uint8_t> stream(data + 6, data + size);
  if (!stream.empty()) compare(choice, stream);
  return 0;
}
