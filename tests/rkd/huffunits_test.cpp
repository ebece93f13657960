// Many sequential blocks in one call: what they are, where they end, and what is left of them when
// the stream is cut off or damaged, all as block by block.
#include <algorithm>
#include <random>

#include "huffkit.h"

using namespace huffkit;
using rkdkit::forEachLevel;
using rkdkit::Random;

namespace {

constexpr int kDone = 1;  ///< a status that no function has

/// Tables of two kinds of components, and the order of a unit's blocks.
struct Coding {
  std::array<Table, 2> dc, ac;
  std::vector<uint8_t> component;
};

/// A stream's blocks by the plain version, and the state that it comes to.
struct Plain {
  std::vector<Block> blocks;
  std::vector<int> positions;  ///< behind each
  RkdStatus status = kDone;    ///< of the block behind them
  std::array<int, 4> previousDC{};
};

Plain decodePlainly(const Coding& coding, const Bytes& stream, int count) {
  const DecodeSpec<Reference> dc[2] = {DecodeSpec<Reference>(coding.dc[0]),
                                       DecodeSpec<Reference>(coding.dc[1])};
  const DecodeSpec<Reference> ac[2] = {DecodeSpec<Reference>(coding.ac[0]),
                                       DecodeSpec<Reference>(coding.ac[1])};
  DecodeState<Reference> state;
  In in(stream);
  Plain plain;
  for (int i = 0; i < count; ++i) {
    const size_t c = coding.component[size_t(i) % coding.component.size()];
    Block block{};
    const RkdStatus status =
        Reference::decode(in.data(), in.length(), &in.position, block.data(), &plain.previousDC[c],
                          &in.marker, dc[c / 2].get(), ac[c / 2].get(), state.get());
    if (status != rkdStsNoErr) {
      plain.status = status;
      break;
    }
    plain.blocks.push_back(block);
    plain.positions.push_back(in.position);
  }
  return plain;
}

/// Where the coefficients of a block end that no run of zeros stands behind.
int lastOf(const Block& block) {
  int last = 63;
  while (last > 0 && block[zigzag[size_t(last)]] == 0) --last;
  return last;
}

/// Decodes a stream in calls of `units` units and compares all that they tell with the plain
/// version.
void expectAsBlockByBlock(const Coding& coding, const Bytes& stream, int count, int units) {
  const int blocksInUnit = int(coding.component.size());
  const Plain want = decodePlainly(coding, stream, count);
  const DecodeSpec<Library> dc[2] = {DecodeSpec<Library>(coding.dc[0]),
                                     DecodeSpec<Library>(coding.dc[1])};
  const DecodeSpec<Library> ac[2] = {DecodeSpec<Library>(coding.ac[0]),
                                     DecodeSpec<Library>(coding.ac[1])};
  const RkdiDecodeHuffmanSpec* const dcs[4] = {dc[0].get(), dc[0].get(), dc[1].get(), dc[1].get()};
  const RkdiDecodeHuffmanSpec* const acs[4] = {ac[0].get(), ac[0].get(), ac[1].get(), ac[1].get()};
  DecodeState<Library> state;
  In in(stream);
  std::array<int, 4> previousDC{};
  size_t done = 0;
  RkdStatus status = kDone;
  for (int at = 0; at < count; at += units * blocksInUnit) {
    const int wanted = std::min(units, (count - at) / blocksInUnit) * blocksInUnit;
    std::vector<Block> blocks(size_t(wanted) + 1);
    blocks.back().fill(77);
    std::vector<uint8_t> last(size_t(wanted) + 1, 0xA5);
    int decoded = -1;
    const RkdStatus got = rkdiDecodeHuffmanUnits8x8_JPEG_1u16s_C1(
        in.data(), in.length(), &in.position, blocks[0].data(), last.data(), wanted / blocksInUnit,
        coding.component.data(), blocksInUnit, previousDC.data(), &in.marker, dcs, acs, state.get(),
        &decoded);
    ASSERT_GE(decoded, 0);
    ASSERT_EQ(got == rkdStsNoErr, decoded == wanted);
    for (int i = 0; i < decoded; ++i, ++done) {
      ASSERT_LT(done, want.blocks.size());
      ASSERT_EQ(want.blocks[done], blocks[size_t(i)]) << "block " << done;
      ASSERT_GE(last[size_t(i)], lastOf(blocks[size_t(i)])) << "block " << done;
      ASSERT_LT(last[size_t(i)], 64);
    }
    ASSERT_EQ(64, std::count(blocks.back().begin(), blocks.back().end(), 77));
    ASSERT_EQ(0xA5, last.back());
    ASSERT_TRUE(done == 0 || want.positions[done - 1] == in.position) << "behind block " << done;
    if (got == rkdStsNoErr) continue;
    status = got;
    break;
  }
  ASSERT_EQ(want.status, status);
  ASSERT_EQ(want.blocks.size(), done);
  EXPECT_EQ(want.previousDC, previousDC);
}

Bytes encode(const Coding& coding, const std::vector<Block>& blocks) {
  const EncodeSpec<Library> dc[2] = {EncodeSpec<Library>(coding.dc[0]),
                                     EncodeSpec<Library>(coding.dc[1])};
  const EncodeSpec<Library> ac[2] = {EncodeSpec<Library>(coding.ac[0]),
                                     EncodeSpec<Library>(coding.ac[1])};
  EncodeState<Library> state;
  Out out(1 << 18);
  std::array<int, 4> previousDC{};
  for (size_t i = 0; i < blocks.size(); ++i) {
    const size_t c = coding.component[i % coding.component.size()];
    EXPECT_EQ(rkdStsNoErr,
              Library::encode(blocks[i].data(), out.data(), out.length(), &out.position,
                              &previousDC[c], dc[c / 2].get(), ac[c / 2].get(), state.get(), 0));
  }
  EXPECT_EQ(rkdStsNoErr, Library::encode(nullptr, out.data(), out.length(), &out.position, nullptr,
                                         nullptr, nullptr, state.get(), 1));
  return out.coded();
}

/// Units as baseline files of colour pictures have them, with the tables that most have; codes of
/// all lengths; and tables with every symbol, whose DC codes no step knows.
std::vector<Coding> codings(Random& random) {
  const Table dc = {{0, 3, 1, 1, 1, 1, 1, 1, 1, 1, 1}, {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11}};
  const std::vector<uint8_t> colour = {0, 0, 0, 0, 2, 3};
  return {{{dcLuma, dc}, {acLuma, acLuma}, colour},
          {{dcLuma, dcLuma}, {acLuma, acLuma}, {0}},
          {{dcLuma, dc}, {longCodes(random), acLuma}, {0, 2, 1, 3}},
          {{everySymbol(), dc}, {acLuma, longCodes(random)}, colour}};
}

/// Blocks whose values the standard tables have.
std::vector<Block> someBlocks(Random& random, int count) {
  std::vector<Block> blocks = blocksAtLimits();
  for (const int largest : {1, 3, 60, 1000}) {
    const auto more = randomBlocks(random, 40, largest);
    blocks.insert(blocks.end(), more.begin(), more.end());
  }
  for (Block& block : blocks) block[0] = int16_t(block[0] / 2);
  std::shuffle(blocks.begin(), blocks.end(), std::minstd_rand(random.bits()));
  blocks.resize(size_t(count));
  return blocks;
}

TEST(HuffmanUnits, AreTheirBlocksAtEveryLevelAndInAnyNumber) {
  forEachLevel([] {
    Random random;
    for (const Coding& coding : codings(random)) {
      const Bytes stream = encode(coding, someBlocks(random, 240));
      for (const int units : {1, 2, 7, 40}) expectAsBlockByBlock(coding, stream, 240, units);
    }
  });
}

// Optimised tables of flat pictures: values without zeros between them, and the ends of blocks.
// Such a table is told from one for DCs by nothing.
TEST(HuffmanUnits, AreTheirBlocksWhereACsHaveNothingButCategories) {
  const Coding coding = {{dcLuma, dcLuma}, {dcLuma, dcLuma}, {0, 2, 2}};
  Random random;
  std::vector<Block> blocks;
  for (int i = 0; i < 120; ++i) {
    Block block{};
    const int last = std::array{0, 0, 1, 2, 9, 63}[size_t(random.between(0, 5))];
    for (int k = 0; k <= last; ++k) {
      const int value = random.between(1, k == 1 ? 2000 : 20);
      block[zigzag[size_t(k)]] = int16_t(random.between(0, 1) == 0 ? value : -value);
    }
    blocks.push_back(block);
  }
  const Bytes whole = encode(coding, blocks);
  forEachLevel([&] {
    for (const int units : {1, 7, 40}) expectAsBlockByBlock(coding, whole, 120, units);
    for (size_t length = 1; length < 200; ++length) {
      const Bytes cut(whole.begin(), whole.begin() + ptrdiff_t(length));
      ASSERT_NO_FATAL_FAILURE(expectAsBlockByBlock(coding, cut, 120, 40)) << length;
    }
  });
}

// Values that leave room for two in the bits taken in for several.
TEST(HuffmanUnits, AreTheirBlocksWhereEveryValueIsLong) {
  const Coding coding = {{everySymbol(), everySymbol()}, {everySymbol(), everySymbol()}, {0}};
  Random random;
  std::vector<Block> blocks(20);
  for (Block& block : blocks) {
    for (int16_t& value : block) {
      const int magnitude = random.between(1, 3) << random.between(7, 12);
      value = int16_t(random.between(0, 1) == 0 ? magnitude : -magnitude);
    }
  }
  const Bytes stream = encode(coding, blocks);
  forEachLevel([&] {
    expectAsBlockByBlock(coding, stream, 20, 20);
    const DecodeSpec<Library> spec(everySymbol());
    DecodeState<Library> state;
    In in(stream);
    int previousDC = 0;
    for (size_t i = 0; i < blocks.size(); ++i) {
      Block one{};
      ASSERT_EQ(rkdStsNoErr,
                Library::decode(in.data(), in.length(), &in.position, one.data(), &previousDC,
                                &in.marker, spec.get(), spec.get(), state.get()));
      ASSERT_EQ(blocks[i], one) << "block " << i;
    }
  });
}

// More stuffed bytes than a window of the stream has room for, in rows and far apart, and fill
// bytes in front of some; calls that begin and end among them.
TEST(HuffmanUnits, AreTheirBlocksAmongStuffedAndFillBytes) {
  const Coding coding = {{dcLuma, dcLuma}, {acLuma, acLuma}, {0}};
  Random random;
  std::vector<Block> blocks(150);
  for (size_t i = 0; i < blocks.size(); ++i) {
    blocks[i].fill(0);
    for (size_t k = 1; k < (i % 3 > 0 ? 64 : 5); ++k) {  // a long code of ones, and ones
      blocks[i][zigzag[k]] = int16_t(random.between(0, 9) > 0 ? 1023 : random.between(513, 1023));
    }
  }
  const Bytes plain = encode(coding, blocks);
  Bytes filled;
  for (const uint8_t byte : plain) {
    if (byte == 0xFF) filled.insert(filled.end(), size_t(random.between(-90, 9) > 0 ? 3 : 0), byte);
    filled.push_back(byte);
  }
  ASSERT_GT(std::count(plain.begin(), plain.end(), 0xFF), 4000);
  forEachLevel([&] {
    for (const int units : {1, 7, 150}) {
      ASSERT_NO_FATAL_FAILURE(expectAsBlockByBlock(coding, plain, 150, units));
      ASSERT_NO_FATAL_FAILURE(expectAsBlockByBlock(coding, filled, 150, units));
    }
  });
}

TEST(HuffmanUnits, TellWhereCoefficientsEnd) {
  const Coding coding = {{dcLuma, dcLuma}, {acLuma, acLuma}, {0}};
  std::vector<Block> blocks;
  for (int last = 0; last < 64; ++last) {
    for (const int value : {1, -300}) {
      blocks.push_back(sparse({{0, last}}));
      if (last > 0) blocks.back()[zigzag[size_t(last)]] = int16_t(value);
    }
  }
  const Bytes stream = encode(coding, blocks);
  forEachLevel([&] {
    const DecodeSpec<Library> dc(dcLuma), ac(acLuma);
    DecodeState<Library> state;
    const RkdiDecodeHuffmanSpec* const dcs[4] = {dc.get()};
    const RkdiDecodeHuffmanSpec* const acs[4] = {ac.get()};
    In in(stream);
    std::vector<Block> got(blocks.size());
    std::vector<uint8_t> last(blocks.size());
    int previousDC[4] = {}, decoded = 0;
    ASSERT_EQ(rkdStsNoErr, rkdiDecodeHuffmanUnits8x8_JPEG_1u16s_C1(
                               in.data(), in.length(), &in.position, got[0].data(), last.data(),
                               int(blocks.size()), Bytes{0}.data(), 1, previousDC, &in.marker, dcs,
                               acs, state.get(), &decoded));
    for (size_t i = 0; i < blocks.size(); ++i) EXPECT_EQ(int(i) / 2, last[i]);
  });
}

TEST(HuffmanUnits, EndWhereTheStreamEndsOrAMarkerStands) {
  forEachLevel([] {
    Random random;
    for (const Coding& coding : codings(random)) {
      const Bytes whole = encode(coding, someBlocks(random, 12));
      for (size_t length = 1; length < whole.size(); ++length) {
        Bytes cut(whole.begin(), whole.begin() + ptrdiff_t(length));
        ASSERT_NO_FATAL_FAILURE(expectAsBlockByBlock(coding, cut, 12, 3)) << length;
        for (const int byte : {0xFF, 0xD3, 0x12, 0x34, 0x56, 0x78, 0x9A, 0xBC}) {
          cut.push_back(uint8_t(byte));
        }
        ASSERT_NO_FATAL_FAILURE(expectAsBlockByBlock(coding, cut, 12, 3)) << length;
      }
    }
  });
}

TEST(HuffmanUnits, EndAlikeInDamagedStreams) {
  forEachLevel([] {
    Random random;
    for (const Coding& coding : codings(random)) {
      const Bytes whole = encode(coding, someBlocks(random, 60));
      for (int i = 0; i < 300; ++i) {
        Bytes damaged = whole;
        for (int n = random.between(1, 3); n > 0; --n) {
          const int at = random.between(0, int(whole.size()) - 1);
          damaged[size_t(at)] = uint8_t(random.between(0, 3) == 0 ? 0xFF : random.between(0, 255));
        }
        ASSERT_NO_FATAL_FAILURE(expectAsBlockByBlock(coding, damaged, 60, 5)) << i;
      }
    }
  });
}

TEST(HuffmanUnits, AreRefusedWithTheirOwnStatus) {
  const DecodeSpec<Library> spec(acLuma);
  DecodeState<Library> state;
  const RkdiDecodeHuffmanSpec* const both[4] = {spec.get(), spec.get()};
  const auto call = [&](int units, const Bytes& component, int blocksInUnit) {
    const Bytes stream(400);
    std::vector<Block> blocks(20);
    Bytes last(20);
    int position = 0, previousDC[4] = {}, decoded = 0;
    return rkdiDecodeHuffmanUnits8x8_JPEG_1u16s_C1(
        stream.data(), 400, &position, blocks[0].data(), last.data(), units, component.data(),
        blocksInUnit, previousDC, nullptr, both, both, state.get(), &decoded);
  };
  EXPECT_EQ(rkdStsNoErr, call(2, {0, 1}, 2));
  EXPECT_EQ(rkdStsSizeErr, call(1, {0}, 0));
  EXPECT_EQ(rkdStsSizeErr, call(1, Bytes(11), RKD_HUFFMAN_UNIT_BLOCKS + 1));
  EXPECT_EQ(rkdStsSizeErr, call(1 << 28, Bytes(10), 10));
  EXPECT_EQ(rkdStsBadArgErr, call(1, {0, 4}, 2));
  EXPECT_EQ(rkdStsNullPtrErr, call(1, {0, 2}, 2));
}

}  // namespace
