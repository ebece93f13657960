// Records of sequential blocks: what they count, and what is sent of them.
#include "huffkit.h"

using namespace huffkit;
using rkdkit::forEachLevel;
using rkdkit::Random;

namespace {

using Counts = std::array<int, 256>;
constexpr int kMost = RKD_HUFFMAN_RECORD_LENGTH;

/// Blocks recorded one after the other.
struct Records {
  RkdStatus add(const Block& block) {
    begins.push_back(position);
    values.resize(size_t(position) + kMost);
    return rkdiRecordHuffman8x8_JPEG_16s16u_C1(block.data(), values.data(), int(values.size()),
                                               &position, &previousDC, dc.data(), ac.data());
  }
  std::vector<uint16_t> used() const { return {values.begin(), values.begin() + position}; }

  std::vector<uint16_t> values;
  std::vector<int> begins;
  int position = 0, previousDC = 0;
  Counts dc{}, ac{};
};

/// A stream that blocks or records are sent to.
struct Sender {
  Sender(const Table& dcTable, const Table& acTable) : dc(dcTable), ac(acTable) {}
  RkdStatus send(const Block& block) {
    return Library::encode(block.data(), out.data(), out.length(), &out.position, &previousDC,
                           dc.get(), ac.get(), state.get(), 0);
  }
  RkdStatus send(const uint16_t* records, int length, int* at) {
    return rkdiEncodeHuffmanRecord_JPEG_16u1u_C1(records, length, at, out.data(), out.length(),
                                                 &out.position, dc.get(), ac.get(), state.get());
  }
  EncodeSpec<Library> dc, ac;
  EncodeState<Library> state;
  Out out;
  int previousDC = 0;
};

void expectSameBytes(const std::vector<Block>& blocks, const Records& records, const Table& dc,
                     const Table& ac) {
  Sender one(dc, ac), other(dc, ac);
  for (size_t b = 0; b < blocks.size(); ++b) {
    if (b > 0) one.previousDC = blocks[b - 1][0];  // also of what has no code
    const int begin = records.begins[b];
    const int end = b + 1 < blocks.size() ? records.begins[b + 1] : records.position;
    int at = begin;
    const RkdStatus status = one.send(blocks[b]);
    ASSERT_EQ(status, other.send(records.values.data(), end, &at)) << "block " << b;
    ASSERT_EQ(status == rkdStsNoErr ? end : begin, at) << "block " << b;
    ASSERT_EQ(one.out.position, other.out.position);
    if (one.out.position > one.out.length() / 2) one.out.position = other.out.position = 0;
    // What is not there yet is in the state.
    ASSERT_EQ(one.out.coded(), other.out.coded()) << "block " << b;
  }
}

TEST(HuffmanRecords, SendWhatTheirBlocksSendAndCountItAtEveryLevel) {
  std::vector<uint16_t> first;
  forEachLevel([&] {
    Random random;
    std::vector<Block> blocks = blocksAtLimits();
    for (const int largest : {3, 120, 1000, 32767}) {
      for (const Block& block : randomBlocks(random, 150, largest)) blocks.push_back(block);
    }
    Records records;
    Counts dc{}, ac{};
    int previousDC = 0;
    std::vector<Block> recorded;
    for (const Block& block : blocks) {
      if (std::abs(block[0] - previousDC) > 32767) continue;
      ASSERT_EQ(rkdStsNoErr, Reference::count(block.data(), dc.data(), ac.data(), &previousDC));
      ASSERT_EQ(rkdStsNoErr, records.add(block));
      ASSERT_EQ(previousDC, records.previousDC);
      recorded.push_back(block);
    }
    EXPECT_EQ(dc, records.dc);
    EXPECT_EQ(ac, records.ac);
    expectSameBytes(recorded, records, everySymbol(), everySymbol());
    expectSameBytes(recorded, records, dcLuma, acLuma);
    expectSameBytes(recorded, records, longCodes(random), longCodes(random));
    if (first.empty()) first = records.used();
    EXPECT_EQ(first, records.used());
  });
}

TEST(HuffmanRecords, TakeAnotherPredictionLater) {
  forEachLevel([] {
    for (const Block& block : {sparse({{0, 60}, {4, 3}}), sparse({{0, 900}, {9, -2000}})}) {
      Records records;
      ASSERT_EQ(rkdStsNoErr, records.add(block));
      EXPECT_EQ(block[0], int16_t(records.values[0]));
      records.values[0] = uint16_t(block[0] - 777);
      Sender one(everySymbol(), everySymbol()), other(everySymbol(), everySymbol());
      one.previousDC = 777;
      int at = 0;
      ASSERT_EQ(rkdStsNoErr, one.send(block));
      ASSERT_EQ(rkdStsNoErr, other.send(records.values.data(), records.position, &at));
      EXPECT_EQ(one.state, other.state);
    }
  });
}

TEST(HuffmanRecords, AreRefusedWhereTheyDoNotFitAndGoOnWhereTheyDo) {
  forEachLevel([] {
    Random random;
    const Block full = randomBlock(random, 1, 1000);
    // Room for the longest record, whatever this block's takes.
    std::vector<uint16_t> values(kMost + 5, 7);
    int position = 6, previousDC = 0;
    Counts dc{}, ac{};
    const auto record = [&](const Block& block) {
      return rkdiRecordHuffman8x8_JPEG_16s16u_C1(block.data(), values.data(), int(values.size()),
                                                 &position, &previousDC, dc.data(), ac.data());
    };
    EXPECT_EQ(rkdStsDstFullErr, record(sparse({{0, 1}})));
    EXPECT_EQ(std::vector<uint16_t>(kMost + 5, 7), values);
    EXPECT_EQ(Counts{}, dc);
    position = 5;
    EXPECT_EQ(rkdStsCoefRangeErr, record(sparse({{5, -32768}})));
    EXPECT_EQ(5, position);
    EXPECT_EQ(0, previousDC);
    ASSERT_EQ(rkdStsNoErr, record(full));
    EXPECT_EQ(7, values[4]);
    // Cut short, then into a stream that is full.
    const int end = position;
    Sender sender(everySymbol(), everySymbol());
    position = 5;
    for (int length = 5; length < end; ++length) {
      EXPECT_EQ(rkdStsSizeErr, sender.send(values.data(), length, &position)) << length;
    }
    sender.out.bytes.resize(40);
    const EncodeState<Library> before = sender.state;
    EXPECT_EQ(rkdStsDstFullErr, sender.send(values.data(), end, &position));
    EXPECT_EQ(5, position);
    EXPECT_EQ(before, sender.state);
    sender.out.bytes.resize(400);
    EXPECT_EQ(rkdStsNoErr, sender.send(values.data(), end, &position));
    EXPECT_EQ(end, position);
  });
}

}  // namespace
