// Packet headers and bodies, written.
#include <algorithm>
#include <bit>

#include "codeblock.h"
#include "packet.h"

namespace j2k {
namespace {

/// Table of code words for 1..164 passes.
void writePasses(BitWriter& out, int passes) {
  if (passes == 1) return out.bits(0, 1);
  if (passes == 2) return out.bits(2, 2);
  if (passes <= 5) return out.bits(uint32_t(0xC | (passes - 3)), 4);
  if (passes <= 36) return out.bits(uint32_t(0x1E0 | (passes - 6)), 9);
  out.bits(uint32_t(0xFF80 | (passes - 37)), 16);
}

/// Calls piece(passes, bytes) for every codeword segment that passes from..to touch.
template <typename Piece>
void forEachPiece(const CodedBlock& block, int from, int to, int style, const Piece& piece) {
  uint32_t start = from > 0 ? block.passes[from - 1].length : 0;
  // A segment may have begun in an earlier layer.
  int first = 0, room = segmentRoom(0, style);
  while (first + room <= from) {
    first += room;
    room = segmentRoom(first, style);
  }
  int end = first + room;
  while (from < to) {
    const int here = std::min(to, end) - from;
    const uint32_t length = block.passes[from + here - 1].length;
    piece(here, length - start);
    start = length;
    from += here;
    if (from < to) end = from + segmentRoom(from, style);
  }
}

void writeBlock(BitWriter& out, PrecinctOutput::Written& written, const CodedBlock& block, int cut,
                int style) {
  const int from = written.passes;
  writePasses(out, cut - from);
  int needed = written.lengthBits;
  forEachPiece(block, from, cut, style, [&](int passes, uint32_t length) {
    const int spare = std::bit_width(unsigned(passes)) - 1;
    needed = std::max(needed, int(std::bit_width(length)) - spare);
  });
  for (int i = written.lengthBits; i < needed; ++i) out.bit(1);
  out.bit(0);
  written.lengthBits = uint8_t(needed);
  forEachPiece(block, from, cut, style, [&](int passes, uint32_t length) {
    out.bits(length, needed + std::bit_width(unsigned(passes)) - 1);
  });
  written.passes = uint8_t(cut);
}

}  // namespace

size_t writePacketHeader(std::vector<uint8_t>& header, PrecinctOutput& precinct, int layer,
                         int style, const CodedBlock* blocks, const uint8_t* cuts) {
  BitWriter out(header);
  bool any = false;
  for (int b = 0; b < precinct.bandCount; ++b) {
    PrecinctOutput::PerBand& band = precinct.bands[size_t(b)];
    for (size_t i = 0; i < band.blocks.size(); ++i) {
      if (cuts[band.firstBlock + i] <= band.blocks[i].passes) continue;
      any = true;
      if (band.blocks[i].passes == 0) band.inclusion.setValue(int(i), layer);
    }
  }
  out.bit(any ? 1 : 0);
  size_t body = 0;
  for (int b = 0; any && b < precinct.bandCount; ++b) {
    PrecinctOutput::PerBand& band = precinct.bands[size_t(b)];
    for (size_t i = 0; i < band.blocks.size(); ++i) {
      PrecinctOutput::Written& written = band.blocks[i];
      const CodedBlock& block = blocks[band.firstBlock + i];
      const int cut = cuts[band.firstBlock + i];
      const bool included = cut > written.passes;
      if (written.passes > 0) {
        out.bit(included ? 1 : 0);
      } else {
        band.inclusion.write(out, int(i), layer + 1);
        // One threshold more than the value tells it exactly.
        if (included) band.zeroPlanes.write(out, int(i), tagUnknown);
      }
      if (!included) continue;
      body += block.passes[cut - 1].length -
              (written.passes > 0 ? block.passes[written.passes - 1].length : 0);
      writeBlock(out, written, block, cut, style);
    }
  }
  out.align();
  return body;
}

}  // namespace j2k
