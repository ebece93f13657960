// Sequential blocks, direct blocks, single values and rows.
#include "huffkit.h"

using namespace huffkit;
using rkdkit::forEachLevel;
using rkdkit::Random;

namespace {

/// Tables and what the calls of one scan share.
template <class Coder>
struct Scan {
  Scan(const Table& dcTable, const Table& acTable)
      : dcEncode(dcTable), acEncode(acTable), dcDecode(dcTable), acDecode(acTable) {}

  RkdStatus put(const Block& block, Out* out) {
    return Coder::encode(block.data(), out->data(), out->length(), &out->position, &encodeDC,
                         dcEncode.get(), acEncode.get(), encodeState.get(), 0);
  }
  RkdStatus flush(Out* out) {
    return Coder::encode(nullptr, out->data(), out->length(), &out->position, nullptr, nullptr,
                         nullptr, encodeState.get(), 1);
  }
  RkdStatus take(In* in, Block* block) {
    return Coder::decode(in->data(), in->length(), &in->position, block->data(), &decodeDC,
                         &in->marker, dcDecode.get(), acDecode.get(), decodeState.get());
  }

  EncodeSpec<Coder> dcEncode, acEncode;
  DecodeSpec<Coder> dcDecode, acDecode;
  EncodeState<Coder> encodeState;
  DecodeState<Coder> decodeState;
  int encodeDC = 0;
  int decodeDC = 0;
};

Bytes encodeAll(const std::vector<Block>& blocks) {
  Scan<Reference> scan(dcLuma, acLuma);
  Out out(blocks.size() * 512 + 64);
  for (const Block& block : blocks) EXPECT_EQ(rkdStsNoErr, scan.put(block, &out));
  EXPECT_EQ(rkdStsNoErr, scan.flush(&out));
  return out.coded();
}

struct KnownStream {
  const char* name;
  std::vector<Block> blocks;
  const char* bytes;
};

Block ladder(int dc, int ac) {
  Block block;
  block.fill(int16_t(ac));
  block[0] = int16_t(dc);
  return block;
}

const std::vector<KnownStream> knownStreams = {
    {"zero", {sparse({})}, "2B"},
    {"steps of DC alone",
     {sparse({{0, 5}}), sparse({{0, 5}}), sparse({{0, -5}}), sparse({}), sparse({{0, 1023}}),
      sparse({{0, -1024}}), sparse({{0, 1}})},
     "968AAB52D7F7FF005FE0015FE8035F"},
    {"zero run, last coefficient", {sparse({{0, 3}, {17, -1}, {63, 2}})}, "7FF91FE7FCFF00F15F"},
    {"last coefficient alone", {sparse({{63, -1}})}, "3FCFF9FF003FFD6F"},
    {"all ones", {ladder(1, 1)}, "524924924924924924924924924924924924924924924924FF00"},
    {"stuffed bytes",
     {sparse({{1, 1023},
              {2, -1023},
              {3, 1023},
              {4, -1023},
              {5, 1023},
              {6, -1023},
              {7, 1023},
              {8, -1023},
              {9, 1023}}),
      sparse({{0, 1023}, {1, 1023}, {2, 1023}})},
     "3FE0FF00FF00F83003FE0FFF00FF0083003FE0FF00FF00F83003FE0FFF00FF0083003FE0FF00FAFEFF00FF00E0"
     "FF00FF00F83FFEBF"},
    {"large and small",
     {sparse({{0, -132},
              {1, 40},
              {8, 1},
              {12, -1},
              {19, 1},
              {27, 900},
              {28, -1},
              {29, -2},
              {35, 900},
              {45, -5},
              {48, 40},
              {51, -1}}),
      sparse({{0, -142},
              {11, 5},
              {22, -40},
              {27, 2},
              {32, -1},
              {36, 40},
              {43, -5},
              {44, -1},
              {48, -1},
              {50, -1},
              {52, -5},
              {53, 1},
              {56, -1}}),
      sparse({{0, 162},
              {2, -1},
              {7, -1},
              {23, 2},
              {32, -40},
              {33, 2},
              {39, 40},
              {43, -900},
              {46, 1},
              {49, 1},
              {63, -1}})},
     "F9EFC51EFD3DFF00ED7840BFF4BC27FDFAFF008AA38AABFF00917FF2D7FE2EDFF2347FD321D31E51E2BF4C31DB"
     "FF00DAFF00B95DBFE868FF00951EF9E7FC3F"},
};

TEST(Huffman, MakesAndReadsKnownStreams) {
  forEachLevel([] {
    for (const KnownStream& known : knownStreams) {
      SCOPED_TRACE(known.name);
      Scan<Library> scan(dcLuma, acLuma);
      Out out;
      for (const Block& block : known.blocks) ASSERT_EQ(rkdStsNoErr, scan.put(block, &out));
      ASSERT_EQ(rkdStsNoErr, scan.flush(&out));
      EXPECT_EQ(known.bytes, hex(out.coded()));

      In in(fromHex(known.bytes));
      for (const Block& block : known.blocks) {
        Block got;
        ASSERT_EQ(rkdStsNoErr, scan.take(&in, &got));
        EXPECT_EQ(block, got);
      }
      EXPECT_EQ(in.length(), in.position);
      EXPECT_EQ(0, in.marker);
    }
  });
}

TEST(Huffman, FollowsRestartMarkers) {
  // An interval of two blocks each; the last one is not full and has no marker behind it.
  const std::vector<Block> blocks = {sparse({{0, 10}, {1, 10}}),   sparse({{0, 20}, {1, 20}}),
                                     sparse({{0, -30}, {1, -30}}), sparse({{0, 40}, {1, 40}}),
                                     sparse({{0, 50}, {1, 50}}),   sparse({{0, 7}, {1, 7}}),
                                     sparse({{0, 3}, {1, 3}})};
  forEachLevel([&] {
    Scan<Library> scan(dcLuma, acLuma);
    In in(fromHex("B57556B54AFFD0C1D06BD1BC515FFFD1ECBC655CA4F5FFD27BD7"));
    for (size_t i = 0; i < blocks.size(); ++i) {
      Block got;
      ASSERT_EQ(rkdStsNoErr, scan.take(&in, &got)) << i;
      EXPECT_EQ(blocks[i], got) << i;
      if (i % 2 == 0) continue;
      EXPECT_EQ(0xD0 + int(i) / 2, in.marker);
      ASSERT_EQ(0xFF, in.bytes[size_t(in.position)]);
      in.position += 2;
      scan.decodeDC = 0;
      Library::decodeStateInit(scan.decodeState.get());
    }
    EXPECT_EQ(0, in.marker);
  });
}

/// Codes the blocks with both implementations, one call at a time, and compares everything.
void compareCoders(const std::vector<Block>& blocks, const Table& dc, const Table& ac) {
  Scan<Library> got(dc, ac);
  Scan<Reference> want(dc, ac);
  Out gotOut(blocks.size() * 512 + 64), wantOut(blocks.size() * 512 + 64);
  std::vector<Block> coded;
  for (const Block& block : blocks) {
    const RkdStatus status = want.put(block, &wantOut);
    const Out before = gotOut;
    ASSERT_EQ(status, got.put(block, &gotOut));
    if (status != rkdStsNoErr)
      std::copy(before.bytes.begin() + before.position, before.bytes.end(),
                gotOut.bytes.begin() + before.position);
    ASSERT_EQ(wantOut, gotOut);
    ASSERT_EQ(want.encodeDC, got.encodeDC);
    if (status == rkdStsNoErr) coded.push_back(block);
  }
  ASSERT_EQ(rkdStsNoErr, want.flush(&wantOut));
  ASSERT_EQ(rkdStsNoErr, got.flush(&gotOut));
  ASSERT_EQ(wantOut, gotOut);

  Bytes bytes = gotOut.coded();
  bytes.insert(bytes.end(), {0xFF, 0xFF, 0xD9, 0x12});  // a fill byte before the marker
  In gotIn(bytes), wantIn(bytes);
  for (const Block& block : coded) {
    Block gotBlock, wantBlock;
    ASSERT_EQ(rkdStsNoErr, want.take(&wantIn, &wantBlock));
    ASSERT_EQ(rkdStsNoErr, got.take(&gotIn, &gotBlock));
    ASSERT_EQ(block, gotBlock);
    ASSERT_EQ(wantBlock, gotBlock);
    ASSERT_EQ(wantIn.position, gotIn.position);
    ASSERT_EQ(wantIn.marker, gotIn.marker);
    ASSERT_EQ(want.decodeDC, got.decodeDC);
  }
  EXPECT_EQ(0xD9, gotIn.marker);
  EXPECT_EQ(gotIn.length() - 3, gotIn.position);
}

TEST(Huffman, EveryLevelEqualsThePlainVersion) {
  forEachLevel([] {
    Random random;
    compareCoders(randomBlocks(random, 300), dcLuma, acLuma);
    // Every category and value, and tables with codes of all lengths. Values at the ends of the
    // type have no code: both refuse them.
    compareCoders(randomBlocks(random, 300, 32767), everySymbol(), everySymbol());
    for (int i = 0; i < 5; ++i) {
      compareCoders(randomBlocks(random, 100, 32767), longCodes(random), longCodes(random));
    }
    std::vector<Block> extremes = {ladder(-32768, 1), ladder(0, -32768), ladder(32767, 32767),
                                   ladder(-32767, -32767), ladder(0, 0)};
    compareCoders(extremes, everySymbol(), everySymbol());
    compareCoders(blocksAtLimits(), everySymbol(), everySymbol());
    compareCoders(blocksAtLimits(), dcLuma, acLuma);
  });
}

TEST(Huffman, ACopiedStateGoesOnWhereItWas) {
  Random random;
  const auto blocks = randomBlocks(random, 40);
  forEachLevel([&] {
    Scan<Library> scan(dcLuma, acLuma);
    Out out;
    for (int i = 0; i < 20; ++i) scan.put(blocks[size_t(i)], &out);
    const auto pristine = scan.encodeState;
    const Out before = out;
    const int dc = scan.encodeDC;
    for (int i = 20; i < 40; ++i) scan.put(blocks[size_t(i)], &out);
    Out again = before;
    scan.encodeState = pristine;
    scan.encodeDC = dc;
    for (int i = 20; i < 40; ++i) scan.put(blocks[size_t(i)], &again);
    EXPECT_EQ(out, again);
  });
}

TEST(Huffman, RefusesAFullStreamAndGoesOnWithALongerOne) {
  Random random;
  const auto blocks = randomBlocks(random, 30);
  const Bytes want = encodeAll(blocks);
  forEachLevel([&] {
    Scan<Library> scan(dcLuma, acLuma);
    Out out(want.size() + 100);
    int refused = 0;
    const auto inShortSteps = [&](auto call) {
      // One more byte of room at a time.
      for (int room = std::max(out.position, 1);; ++room) {
        const Out before = out;
        const auto stateBefore = scan.encodeState;
        const int dcBefore = scan.encodeDC;
        const RkdStatus status = call(room);
        if (status == rkdStsNoErr) break;
        ASSERT_EQ(rkdStsDstFullErr, status);
        ++refused;
        ASSERT_EQ(before.position, out.position);
        ASSERT_EQ(dcBefore, scan.encodeDC);
        ASSERT_TRUE(stateBefore == scan.encodeState);
        for (int i = room; i < out.length(); ++i) ASSERT_EQ(0xA5, out.bytes[size_t(i)]);
        out.bytes = before.bytes;
      }
    };
    for (const Block& block : blocks) {
      inShortSteps([&](int room) {
        return Library::encode(block.data(), out.data(), room, &out.position, &scan.encodeDC,
                               scan.dcEncode.get(), scan.acEncode.get(), scan.encodeState.get(), 0);
      });
    }
    inShortSteps([&](int room) {
      return Library::encode(nullptr, out.data(), room, &out.position, nullptr, nullptr, nullptr,
                             scan.encodeState.get(), 1);
    });
    EXPECT_EQ(hex(want), hex(out.coded()));
    EXPECT_GT(refused, 100);
  });
}

TEST(Huffman, ADecoderThatRanOutGoesOnWithMoreData) {
  Random random;
  const auto blocks = randomBlocks(random, 30);
  const Bytes all = encodeAll(blocks);
  forEachLevel([&] {
    Scan<Library> scan(dcLuma, acLuma);
    int position = 0;
    size_t room = 1;
    for (const Block& block : blocks) {
      for (;; ++room) {
        ASSERT_LE(room, all.size());
        In in(Bytes(all.begin(), all.begin() + long(room)));
        in.position = position;
        Block got;
        const RkdStatus status = scan.take(&in, &got);
        if (status == rkdStsNoErr) {
          EXPECT_EQ(block, got);
          position = in.position;
          break;
        }
        ASSERT_EQ(rkdStsSrcEndErr, status);
        ASSERT_EQ(position, in.position);
        ASSERT_EQ(-1, in.marker);
      }
    }
  });
}

/// Random bytes and damaged streams: the same blocks and the same status as the plain version,
/// nothing outside the stream.
TEST(Huffman, DamagedStreamsEndWithTheStatusOfThePlainVersion) {
  forEachLevel([] {
    Random random;
    std::array<int, 40> seen{};
    for (int round = 0; round < 400; ++round) {
      Bytes bytes;
      if (round % 2 == 0) {
        for (int i = random.between(1, 60); i > 0; --i) bytes.push_back(uint8_t(random.bits()));
      } else {
        bytes = encodeAll(randomBlocks(random, 5));
        bytes[size_t(random.between(0, int(bytes.size()) - 1))] = uint8_t(random.bits());
        if (random.between(0, 1) == 0) bytes.resize(size_t(random.between(1, int(bytes.size()))));
      }
      const Table dc = round % 3 == 0 ? longCodes(random) : dcLuma;
      const Table ac = round % 3 == 0 ? longCodes(random) : acLuma;
      Scan<Library> got(dc, ac);
      Scan<Reference> want(dc, ac);
      In gotIn(bytes), wantIn(bytes);
      RkdStatus status = rkdStsNoErr;
      for (int i = 0; i < 400 && status == rkdStsNoErr; ++i) {
        Block gotBlock, wantBlock;
        status = want.take(&wantIn, &wantBlock);
        ASSERT_EQ(status, got.take(&gotIn, &gotBlock)) << hex(bytes) << " block " << i;
        ASSERT_EQ(wantIn.position, gotIn.position);
        ASSERT_EQ(wantIn.marker, gotIn.marker);
        ASSERT_EQ(wantBlock, gotBlock);
        ASSERT_EQ(reached(want.decodeState), reached(got.decodeState));
      }
      ASSERT_LE(status, rkdStsNoErr);
      ++seen[size_t(-status)];
    }
    // The rounds meet every way to fail.
    EXPECT_GT(seen[-rkdStsHuffCodeErr], 0);
    EXPECT_GT(seen[-rkdStsDataErr], 0);
    EXPECT_GT(seen[-rkdStsSrcEndErr], 0);
  });
}

TEST(HuffmanDirect, IsARawBitStreamThatCanBeEnteredAnywhere) {
  forEachLevel([] {
    Random random;
    const auto blocks = randomBlocks(random, 100);
    Scan<Library> got(dcLuma, acLuma);
    Scan<Reference> want(dcLuma, acLuma);
    Out gotOut, wantOut;
    gotOut.position = wantOut.position = 13;  // bits in front stay as they are
    std::vector<int> starts, dcs;
    for (const Block& block : blocks) {
      starts.push_back(gotOut.position);
      dcs.push_back(got.encodeDC);
      ASSERT_EQ(rkdStsNoErr, Reference::encodeDirect(block.data(), wantOut.data(), wantOut.length(),
                                                     &wantOut.position, &want.encodeDC,
                                                     want.dcEncode.get(), want.acEncode.get()));
      ASSERT_EQ(rkdStsNoErr, Library::encodeDirect(block.data(), gotOut.data(), gotOut.length(),
                                                   &gotOut.position, &got.encodeDC,
                                                   got.dcEncode.get(), got.acEncode.get()));
      ASSERT_EQ(wantOut, gotOut);
    }
    In in(Bytes(gotOut.bytes.begin(), gotOut.bytes.begin() + (gotOut.position + 7) / 8));
    for (size_t i = blocks.size(); i-- > 0;) {
      Block block, plain;
      int position = starts[i], plainPosition = starts[i], dc = dcs[i], plainDC = dcs[i];
      ASSERT_EQ(rkdStsNoErr, Library::decodeDirect(in.data(), in.length(), &position, block.data(),
                                                   &dc, got.dcDecode.get(), got.acDecode.get()));
      ASSERT_EQ(rkdStsNoErr,
                Reference::decodeDirect(in.data(), in.length(), &plainPosition, plain.data(),
                                        &plainDC, want.dcDecode.get(), want.acDecode.get()));
      EXPECT_EQ(blocks[i], block);
      EXPECT_EQ(plainPosition, position);
      EXPECT_EQ(i + 1 < blocks.size() ? starts[i + 1] : gotOut.position, position);
      EXPECT_EQ(blocks[i][0], dc);
    }
    // Cut short by a byte the last block cannot be read; cut short by one the first does not fit.
    Block block;
    int position = starts.back(), dc = dcs.back();
    EXPECT_EQ(rkdStsSrcEndErr,
              Library::decodeDirect(in.data(), in.length() - 1, &position, block.data(), &dc,
                                    got.dcDecode.get(), got.acDecode.get()));
    EXPECT_EQ(starts.back(), position);
    Out small(1);
    dc = 0;
    EXPECT_EQ(rkdStsDstFullErr,
              Library::encodeDirect(ladder(0, 1).data(), small.data(), 1, &small.position, &dc,
                                    got.dcEncode.get(), got.acEncode.get()));
    EXPECT_EQ(Out(1), small);
  });
}

/// Differences of all categories, and what category 16 stands for.
std::vector<int16_t> randomDifferences(Random& random, int count) {
  std::vector<int16_t> row;
  for (int i = 0; i < count; ++i) {
    const int size = random.between(0, 16);
    row.push_back(size == 16 ? INT16_MIN
                             : int16_t(random.between(-(1 << size) + 1, (1 << size) - 1)));
  }
  return row;
}

Table differenceTable(Random& random) {
  std::array<int, 256> statistics{};
  for (int category = 0; category <= 16; ++category) {
    statistics[size_t(category)] = 1 << random.between(0, 20);
  }
  Table table{};
  Reference::rawTable(statistics.data(), table.bits.data(), table.values.data());
  return table;
}

TEST(HuffmanOne, CodesEveryDifferenceAsThePlainVersionDoes) {
  forEachLevel([] {
    Random random;
    const Table table = differenceTable(random);
    const EncodeSpec<Library> gotSpec(table);
    const EncodeSpec<Reference> wantSpec(table);
    const DecodeSpec<Library> gotDecode(table);
    const DecodeSpec<Reference> wantDecode(table);
    EncodeState<Library> gotState;
    EncodeState<Reference> wantState;
    Out got(1 << 18), want(1 << 18);
    auto values = randomDifferences(random, 20000);
    values.insert(values.end(), {0, 1, -1, INT16_MIN, INT16_MAX, -INT16_MAX});
    for (const int16_t v : values) {
      ASSERT_EQ(rkdStsNoErr, Library::encodeOne(&v, got.data(), got.length(), &got.position,
                                                gotSpec.get(), gotState.get(), 0));
      Reference::encodeOne(&v, want.data(), want.length(), &want.position, wantSpec.get(),
                           wantState.get(), 0);
    }
    Library::encodeOne(nullptr, got.data(), got.length(), &got.position, nullptr, gotState.get(),
                       1);
    Reference::encodeOne(nullptr, want.data(), want.length(), &want.position, nullptr,
                         wantState.get(), 1);
    ASSERT_EQ(want, got);

    In gotIn(got.coded()), wantIn(got.coded());
    DecodeState<Library> gotDecodeState;
    DecodeState<Reference> wantDecodeState;
    for (const int16_t v : values) {
      int16_t gotValue, wantValue;
      ASSERT_EQ(rkdStsNoErr,
                Library::decodeOne(gotIn.data(), gotIn.length(), &gotIn.position, &gotValue,
                                   &gotIn.marker, gotDecode.get(), gotDecodeState.get()));
      Reference::decodeOne(wantIn.data(), wantIn.length(), &wantIn.position, &wantValue,
                           &wantIn.marker, wantDecode.get(), wantDecodeState.get());
      ASSERT_EQ(v, gotValue);
      ASSERT_EQ(v, wantValue);
      ASSERT_EQ(wantIn.position, gotIn.position);
    }
  });
}

template <class Coder>
struct RowCoder {
  explicit RowCoder(const std::vector<Table>& tables) {
    for (const Table& table : tables) {
      encoders.emplace_back(table);
      decoders.emplace_back(table);
    }
    for (size_t p = 0; p < tables.size(); ++p) {
      encodeSpecs[p] = encoders[p].get();
      decodeSpecs[p] = decoders[p].get();
    }
  }
  std::vector<EncodeSpec<Coder>> encoders;
  std::vector<DecodeSpec<Coder>> decoders;
  const typename Coder::EncodeSpec* encodeSpecs[4] = {};
  const typename Coder::DecodeSpec* decodeSpecs[4] = {};
  EncodeState<Coder> encodeState;
  DecodeState<Coder> decodeState;
};

TEST(HuffmanRow, InterleavesUpToFourPlanes) {
  forEachLevel([] {
    Random random;
    for (int planes = 1; planes <= 4; ++planes) {
      std::vector<Table> tables(static_cast<size_t>(planes));
      for (Table& table : tables) table = differenceTable(random);
      RowCoder<Library> got(tables);
      RowCoder<Reference> want(tables);
      Out gotOut, wantOut;
      std::vector<std::vector<int16_t>> rows;
      for (const int width : {1, 2, 63, 64, 65, 200}) {
        const int16_t* src[4] = {};
        for (int p = 0; p < planes; ++p) rows.push_back(randomDifferences(random, width));
        for (int p = 0; p < planes; ++p) src[p] = rows[rows.size() - size_t(planes - p)].data();
        ASSERT_EQ(rkdStsNoErr,
                  Library::encodeRow(src, gotOut.data(), gotOut.length(), &gotOut.position, width,
                                     got.encodeSpecs, got.encodeState.get(), 0));
        Reference::encodeRow(src, wantOut.data(), wantOut.length(), &wantOut.position, width,
                             want.encodeSpecs, want.encodeState.get(), 0);
        ASSERT_EQ(wantOut, gotOut) << planes << " planes of " << width;

        int counts[2][4][256] = {};
        int* const gotCounts[4] = {counts[0][0], counts[0][1], counts[0][2], counts[0][3]};
        int* const wantCounts[4] = {counts[1][0], counts[1][1], counts[1][2], counts[1][3]};
        EXPECT_EQ(rkdStsNoErr, Library::countRow(src, width, gotCounts));
        Reference::countRow(src, width, wantCounts);
        EXPECT_EQ(0, std::memcmp(counts[0], counts[1], sizeof counts[0]));
      }
      Library::encodeRow(nullptr, gotOut.data(), gotOut.length(), &gotOut.position, 1, nullptr,
                         got.encodeState.get(), 1);
      In in(gotOut.coded());
      const auto* row = rows.data();
      for (const int width : {1, 2, 63, 64, 65, 200}) {
        std::vector<std::vector<int16_t>> read(4, std::vector<int16_t>(size_t(width) + 1, 77));
        int16_t* dst[4] = {};
        for (int p = 0; p < planes; ++p) dst[p] = read[size_t(p)].data();
        ASSERT_EQ(rkdStsNoErr,
                  Library::decodeRow(in.data(), in.length(), &in.position, dst, &in.marker, width,
                                     got.decodeSpecs, got.decodeState.get()));
        for (int p = 0; p < planes; ++p, ++row) {
          std::vector<int16_t> expected = *row;
          expected.push_back(77);
          EXPECT_EQ(expected, read[size_t(p)]);
        }
      }
      int16_t spare[8];
      int16_t* const dst[4] = {spare};
      EXPECT_EQ(rkdStsSrcEndErr,
                Library::decodeRow(in.data(), in.length(), &in.position, dst, &in.marker, 8,
                                   got.decodeSpecs, got.decodeState.get()));
    }
  });
}

// Rows are counted by pieces, and small differences apart from large ones.
TEST(HuffmanRow, CountsLongRowsWithLargeDifferencesAnywhere) {
  for (const int width : {8191, 8193, 20'000, 70'001}) {
    std::vector<int16_t> row(static_cast<size_t>(width), 3);
    const int16_t* const src[4] = {row.data()};
    for (const int at : {width - 1, width / 2, 0}) {
      row[static_cast<size_t>(at)] = static_cast<int16_t>(at == 0 ? 300 : -32768);
      int want[256] = {};
      int* const wantCounts[4] = {want};
      Reference::countRow(src, width, wantCounts);
      forEachLevel([&] {
        int got[256] = {};
        int* const gotCounts[4] = {got};
        ASSERT_EQ(rkdStsNoErr, Library::countRow(src, width, gotCounts));
        EXPECT_EQ(0, std::memcmp(want, got, sizeof want)) << width << ", large from " << at;
      });
    }
  }
}

}  // namespace
