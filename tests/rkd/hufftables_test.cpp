// Huffman tables: made from statistics, counted, and refused.
#include "huffkit.h"

using namespace huffkit;
using rkdkit::forEachLevel;
using rkdkit::Random;

TEST(HuffmanTables, AreTheShortestWithoutAnAllOnesCode) {
  Random random;
  std::vector<std::array<int, 256>> all(40);
  for (size_t i = 1; i < all.size(); ++i) {
    const int used = random.between(1, 256);
    for (int n = 0; n < used; ++n) {
      all[i][size_t(random.between(0, 255))] = 1 << random.between(0, int(i) % 29);
    }
  }
  // Weights of a Fibonacci series give the deepest tree: its codes have to be shortened.
  all.emplace_back();
  for (int i = 0, a = 1, b = 1; i < 40; ++i) {
    all.back()[size_t(i)] = a;
    std::swap(a, b);
    b += a;
  }
  all.emplace_back().fill(INT32_MAX);
  all.emplace_back().fill(-5);
  for (const auto& statistics : all) {
    Table got{}, want{};
    ASSERT_EQ(rkdStsNoErr,
              Library::rawTable(statistics.data(), got.bits.data(), got.values.data()));
    Reference::rawTable(statistics.data(), want.bits.data(), want.values.data());
    EXPECT_EQ(want.bits, got.bits);
    EXPECT_EQ(want.values, got.values);
    unsigned used = 0;
    for (unsigned length = 1; length <= 16; ++length) used += got.bits[length - 1] << (16 - length);
    EXPECT_LT(used, 1u << 16) << "the all-ones code is taken";
    const EncodeSpec<Library> usable(got);
  }
}

TEST(HuffmanTables, CountWhatTheEncoderSends) {
  forEachLevel([] {
    Random random;
    const auto blocks = randomBlocks(random, 200, 32767);
    int counts[2][2][256] = {};
    int gotDC = 0, wantDC = 0;
    for (const Block& block : blocks) {
      const RkdStatus status = Reference::count(block.data(), counts[0][0], counts[0][1], &wantDC);
      if (status != rkdStsNoErr) std::memcpy(counts[0], counts[1], sizeof counts[0]);
      ASSERT_EQ(status, Library::count(block.data(), counts[1][0], counts[1][1], &gotDC));
      if (status != rkdStsNoErr) std::memcpy(counts[1], counts[0], sizeof counts[0]);
      ASSERT_EQ(wantDC, gotDC);
      ASSERT_EQ(0, std::memcmp(counts[0], counts[1], sizeof counts[0]));
    }
  });
}

TEST(HuffmanTables, RefuseListsWithoutAPrefixCode) {
  const auto statusOf = [](const Table& table) {
    RkdiEncodeHuffmanSpec* encoder = nullptr;
    RkdiDecodeHuffmanSpec* decoder = nullptr;
    const RkdStatus encode =
        rkdiEncodeHuffmanSpecInitAlloc_JPEG_8u(table.bits.data(), table.values.data(), &encoder);
    const RkdStatus decode =
        rkdiDecodeHuffmanSpecInitAlloc_JPEG_8u(table.bits.data(), table.values.data(), &decoder);
    EXPECT_EQ(encode, decode);
    EXPECT_EQ(encode == rkdStsNoErr, encoder != nullptr);
    EXPECT_EQ(decode == rkdStsNoErr, decoder != nullptr);
    EXPECT_EQ(rkdStsNoErr, rkdiEncodeHuffmanSpecFree_JPEG_8u(encoder));
    EXPECT_EQ(rkdStsNoErr, rkdiDecodeHuffmanSpecFree_JPEG_8u(decoder));
    return encode;
  };
  EXPECT_EQ(rkdStsNoErr, statusOf({{1}, {0}}));
  EXPECT_EQ(rkdStsNoErr, statusOf({{2}, {0, 1}})) << "files with an all-ones code exist";
  EXPECT_EQ(rkdStsHuffTableErr, statusOf({{3}, {0, 1, 2}})) << "three codes of one bit";
  EXPECT_EQ(rkdStsHuffTableErr, statusOf({{2, 1}, {0, 1, 2}})) << "nothing left for two bits";
  EXPECT_EQ(rkdStsHuffTableErr, statusOf({{0, 2}, {7, 7}})) << "a symbol twice";
  EXPECT_EQ(rkdStsHuffTableErr, statusOf({{}, {}})) << "no code at all";
  Table many = everySymbol();
  many.bits[15] = 1;
  EXPECT_EQ(rkdStsHuffTableErr, statusOf(many)) << "257 codes";
}
