// Packet headers and bodies, read.
#include <algorithm>
#include <bit>

#include "codeblock.h"
#include "packet.h"

namespace j2k {

PrecinctState::PrecinctState(const Resolution& resolution, int64_t precinct)
    : index(precinct), bandCount(resolution.bandCount) {
  for (int b = 0; b < bandCount; ++b) {
    PerBand& band = bands[size_t(b)];
    band.grid = resolution.blocks(b, precinct);
    band.inclusion = TagTree(band.grid.wide, band.grid.high);
    band.zeroPlanes = TagTree(band.grid.wide, band.grid.high);
    band.blocks.resize(size_t(band.grid.wide) * size_t(band.grid.high));
  }
}

int64_t PrecinctState::bytes(const Resolution& resolution, int64_t precinct) {
  constexpr int64_t perNode = 16;
  int64_t sum = int64_t(sizeof(PrecinctState));
  for (int b = 0; b < resolution.bandCount; ++b) {
    const BlockGrid grid = resolution.blocks(b, precinct);
    sum += int64_t(grid.wide) * grid.high * int64_t(sizeof(BlockState)) +
           2 * perNode * TagTree::nodes(grid.wide, grid.high);
  }
  return sum;
}

namespace {

/// Table of code words for 1..164 passes.
int readPasses(BitReader& in) {
  if (!in.bit()) return 1;
  if (!in.bit()) return 2;
  uint32_t n = in.bits(2);
  if (n < 3) return 3 + int(n);
  n = in.bits(5);
  if (n < 31) return 6 + int(n);
  return 37 + int(in.bits(7));
}

constexpr int maxLengthBits = 32;

}  // namespace

/// @return false when the bits cannot be true
bool PacketReader::readBlock(BitReader& in, PrecinctState::PerBand& band, int index, int layer,
                             int style) {
  BlockState& block = band.blocks[size_t(index)];
  if (block.included) {
    if (!in.bit()) return true;
  } else {
    if (!band.inclusion.readBelow(in, index, layer + 1)) return true;
    constexpr int most = 80;
    const int zero = band.zeroPlanes.readValue(in, index, most);
    if (zero >= most || in.ended()) return false;
    block.zeroPlanes = uint8_t(zero);
    block.included = true;
  }
  ++blocks;
  int passes = readPasses(in);
  int lengthBits = block.lengthBits;
  while (in.bit()) {
    if (++lengthBits > maxLengthBits || in.ended()) return false;
  }
  block.lengthBits = uint8_t(lengthBits);
  int first = block.passes;
  if (first + passes > 164) return false;
  for (int here = 0; passes > 0; passes -= here, first += here) {
    here = std::min(passes, segmentRoom(first, style));
    const int bits = lengthBits + std::bit_width(unsigned(here)) - 1;
    if (bits > maxLengthBits) return false;
    Chunk chunk;
    chunk.length = in.bits(bits);
    chunk.passes = uint8_t(here);
    m_found.push_back({&block, chunk});
  }
  return !in.ended();
}

/// Hands every chunk its bytes; @return false when they are cut off
bool PacketReader::readBody(ByteSpan& body, bool keep) {
  for (Contribution& found : m_found) {
    BlockState& block = *found.block;
    if (found.chunk.length > body.size()) {
      body = body.last(0);
      return false;
    }
    found.chunk.bytes = body.data();
    body = body.subspan(found.chunk.length);
    block.passes = uint8_t(block.passes + found.chunk.passes);
    if (!keep) continue;
    const int32_t index = int32_t(m_chunks.size());
    m_chunks.push_back(found.chunk);
    if (block.firstChunk < 0) {
      block.firstChunk = index;
    } else {
      m_chunks[size_t(block.lastChunk)].next = index;
    }
    block.lastChunk = index;
  }
  return true;
}

PacketResult PacketReader::read(PrecinctState& precinct, int layer, int style, bool keep,
                                ByteSpan& header, ByteSpan& body) {
  m_found.clear();
  sawEph = false;
  blocks = 0;
  if (header.empty()) return PacketResult::ended;
  BitReader in(header);
  bool good = true;
  if (in.bit()) {
    for (int b = 0; b < precinct.bandCount && good; ++b) {
      PrecinctState::PerBand& band = precinct.bands[size_t(b)];
      for (int i = 0; i < int(band.blocks.size()) && good; ++i) {
        good = readBlock(in, band, i, layer, style);
      }
    }
  }
  in.align();
  if (in.ended()) return PacketResult::ended;
  if (!good) return PacketResult::damaged;
  const bool shared = header.data() == body.data();
  const size_t before = header.size();
  header = header.subspan(in.position());
  if (header.size() >= 2 && header[0] == 0xFF && header[1] == 0x92) {
    header = header.subspan(2);
    sawEph = true;
  }
  headerBytes = before - header.size();
  if (shared) body = header;
  const size_t bodies = body.size();
  const bool complete = readBody(body, keep);
  bodyBytes = bodies - body.size();
  if (shared) header = body;
  return complete ? PacketResult::good : PacketResult::ended;
}

}  // namespace j2k
