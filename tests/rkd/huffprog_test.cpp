// Progressive scans: statistics, encoder and decoder of the four kinds.
#include "huffkit.h"

using namespace huffkit;
using rkdkit::forEachLevel;
using rkdkit::Random;

namespace {

struct ScanScript {
  int ss, se, ah, al;
  bool isDC() const { return ss == 0; }
  bool isFirst() const { return ah == 0; }
};

/// Spectral selection and two rounds of refinement.
const std::vector<ScanScript> fullScript = {{0, 0, 0, 1},  {1, 5, 0, 2}, {6, 63, 0, 2},
                                            {1, 63, 2, 1}, {0, 0, 1, 0}, {1, 63, 1, 0}};

/// One component's scan, by either implementation: what the encoder of a file does.
template <class Coder>
struct Scan {
  explicit Scan(const ScanScript& s) : script(s) {}

  RkdStatus count(const Block* block, int* statistics) {
    if (script.isDC()) {
      return block == nullptr || !script.isFirst()
                 ? rkdStsNoErr
                 : Coder::countDCFirst(block->data(), statistics, &countDC, script.al);
    }
    const auto function = script.isFirst() ? Coder::countACFirst : Coder::countACRefine;
    return function(block == nullptr ? nullptr : block->data(), statistics, script.ss, script.se,
                    script.al, countState.get(), block == nullptr);
  }
  RkdStatus put(const Block* block, Out* out, const typename Coder::EncodeSpec* spec) {
    const int16_t* const src = block == nullptr ? nullptr : block->data();
    const int flush = block == nullptr;
    if (script.isDC()) {
      return script.isFirst()
                 ? Coder::encodeDCFirst(src, out->data(), out->length(), &out->position, &encodeDC,
                                        script.al, spec, encodeState.get(), flush)
                 : Coder::encodeDCRefine(src, out->data(), out->length(), &out->position, script.al,
                                         encodeState.get(), flush);
    }
    const auto function = script.isFirst() ? Coder::encodeACFirst : Coder::encodeACRefine;
    return function(src, out->data(), out->length(), &out->position, script.ss, script.se,
                    script.al, spec, encodeState.get(), flush);
  }
  RkdStatus take(In* in, Block* block, const typename Coder::DecodeSpec* spec) {
    if (script.isDC()) {
      return script.isFirst()
                 ? Coder::decodeDCFirst(in->data(), in->length(), &in->position, block->data(),
                                        &decodeDC, &in->marker, script.al, spec, decodeState.get())
                 : Coder::decodeDCRefine(in->data(), in->length(), &in->position, block->data(),
                                         &in->marker, script.al, decodeState.get());
    }
    const auto function = script.isFirst() ? Coder::decodeACFirst : Coder::decodeACRefine;
    return function(in->data(), in->length(), &in->position, block->data(), &in->marker, script.ss,
                    script.se, script.al, spec, decodeState.get());
  }

  ScanScript script;
  EncodeState<Coder> countState, encodeState;
  DecodeState<Coder> decodeState;
  int countDC = 0, encodeDC = 0, decodeDC = 0;
};

struct CodedScan {
  Table table{};
  Bytes bytes;
};

/// Gathers statistics, builds the table and codes the scan with both implementations, which must
/// agree in everything on the way.
void codeScan(const std::vector<Block>& blocks, const ScanScript& script, CodedScan* coded) {
  std::array<int, 256> gotCounts{}, wantCounts{};
  Scan<Library> got(script);
  Scan<Reference> want(script);
  for (size_t i = 0; i <= blocks.size(); ++i) {
    const Block* const block = i < blocks.size() ? &blocks[i] : nullptr;
    ASSERT_EQ(rkdStsNoErr, want.count(block, wantCounts.data()));
    ASSERT_EQ(rkdStsNoErr, got.count(block, gotCounts.data()));
    ASSERT_EQ(wantCounts, gotCounts) << "after block " << i;
  }
  Library::rawTable(gotCounts.data(), coded->table.bits.data(), coded->table.values.data());
  const EncodeSpec<Library> gotSpec(coded->table);
  const EncodeSpec<Reference> wantSpec(coded->table);
  Out gotOut(1 << 18), wantOut(1 << 18);
  for (size_t i = 0; i <= blocks.size(); ++i) {
    const Block* const block = i < blocks.size() ? &blocks[i] : nullptr;
    ASSERT_EQ(rkdStsNoErr, want.put(block, &wantOut, wantSpec.get()));
    ASSERT_EQ(rkdStsNoErr, got.put(block, &gotOut, gotSpec.get()));
    ASSERT_EQ(wantOut.position, gotOut.position) << "after block " << i;
  }
  ASSERT_EQ(wantOut, gotOut);
  coded->bytes = gotOut.coded();
}

void decodeScan(const CodedScan& coded, const ScanScript& script, std::vector<Block>* blocks) {
  Scan<Library> got(script);
  Scan<Reference> want(script);
  const DecodeSpec<Library> gotSpec(coded.table);
  const DecodeSpec<Reference> wantSpec(coded.table);
  Bytes bytes = coded.bytes;
  bytes.insert(bytes.end(), {0xFF, 0xD9});
  In gotIn(bytes), wantIn(bytes);
  for (Block& block : *blocks) {
    Block plain = block;
    ASSERT_EQ(rkdStsNoErr, want.take(&wantIn, &plain, wantSpec.get()));
    ASSERT_EQ(rkdStsNoErr, got.take(&gotIn, &block, gotSpec.get()));
    ASSERT_EQ(plain, block);
    ASSERT_EQ(wantIn.position, gotIn.position);
    ASSERT_EQ(wantIn.marker, gotIn.marker);
  }
  EXPECT_EQ(0xD9, gotIn.marker);
  EXPECT_EQ(int(bytes.size()) - 2, gotIn.position);
}

void roundTrip(const std::vector<Block>& blocks, const std::vector<ScanScript>& script) {
  std::vector<Block> built(blocks.size(), Block{});
  for (size_t i = 0; i < script.size(); ++i) {
    SCOPED_TRACE("scan " + std::to_string(i));
    CodedScan coded;
    ASSERT_NO_FATAL_FAILURE(codeScan(blocks, script[i], &coded));
    ASSERT_NO_FATAL_FAILURE(decodeScan(coded, script[i], &built));
  }
  EXPECT_EQ(blocks, built);
}

TEST(HuffmanProgressive, ScansBuildTheBlocksUpAgain) {
  forEachLevel([] {
    Random random;
    roundTrip(randomBlocks(random, 300), fullScript);
    roundTrip(randomBlocks(random, 100, 16000), fullScript);
    // Every bit a scan of its own, and bands that are one coefficient wide.
    std::vector<ScanScript> bits = {{0, 0, 0, 3}, {1, 1, 0, 3}, {2, 62, 0, 3}, {63, 63, 0, 3}};
    for (int al = 2; al >= 0; --al) {
      for (const auto& [ss, se] : {std::pair{0, 0}, {1, 31}, {32, 32}, {33, 63}}) {
        bits.push_back({ss, se, al + 1, al});
      }
    }
    roundTrip(randomBlocks(random, 100, 30), bits);
  });
}

TEST(HuffmanProgressive, RunsEndWhereTheyMust) {
  forEachLevel([] {
    // Empty blocks beyond the longest run, and full ones whose correction bits end the run early.
    std::vector<Block> blocks(32767 + 40, Block{});
    blocks[32767 + 20][1] = 5;
    roundTrip(blocks, {{0, 0, 0, 0}, {1, 63, 0, 1}, {1, 63, 1, 0}});
    Random random;
    blocks.clear();
    for (int i = 0; i < 120; ++i) {
      Block block;
      for (auto& v : block) v = int16_t(random.between(2, 3) * (random.between(0, 1) * 2 - 1));
      if (i % 50 == 49) block[63] = 1;
      blocks.push_back(block);
    }
    roundTrip(blocks, {{0, 0, 0, 0}, {1, 63, 0, 1}, {1, 63, 1, 0}});
  });
}

struct KnownScan {
  ScanScript script;
  const char* bits;
  const char* values;
  const char* bytes;
};

struct KnownPicture {
  std::vector<Block> blocks;
  std::vector<KnownScan> scans;
};

const std::vector<KnownPicture> knownPictures = {
    {{sparse({{0, -7}, {1, -5}, {2, 3}, {3, 1}, {4, -2}, {10, 4}, {20, -1}, {40, 1}, {63, -3}})},
     {{{0, 0, 0, 1}, "01000000000000000000000000000000", "03", "3F"},
      {{1, 5, 0, 2}, "01010000000000000000000000000000", "0001", "8F"},
      {{6, 63, 0, 2}, "01010000000000000000000000000000", "0041", "AF"},
      {{1, 63, 2, 1}, "01000300000000000000000000000000", "F0011191", "95067F"},
      {{0, 0, 1, 0}, "01000000000000000000000000000000", "00", "FF00"},
      {{1, 63, 1, 0}, "00020300000000000000000000000000", "000131E1F0", "7D1A4F"}}},
    {{sparse({{1, 4}}), sparse({{1, 5}, {2, -6}}), sparse({{1, 6}}), sparse({{1, 7}, {9, 1}}),
      sparse({{3, -7}})},
     {{{0, 0, 0, 0}, "01000000000000000000000000000000", "00", "07"},
      {{1, 63, 0, 1}, "01010100000000000000000000000000", "000222", "A542D6C3"},
      {{1, 63, 1, 0}, "01010000000000000000000000000000", "1071", "52CF"}}},
    {{sparse({{1, 3}, {20, -1}, {40, 2}, {41, 1}}), sparse({{2, 2}, {18, 1}, {36, -1}})},
     {{{0, 0, 0, 0}, "01000000000000000000000000000000", "00", "3F"},
      {{1, 63, 0, 1}, "00020300000000000000000000000000", "00F0011161", "95D2CF"},
      {{1, 63, 1, 0}, "00020301000000000000000000000000", "00F001112131", "78F42968"}}}};

TEST(HuffmanProgressive, MakesKnownTablesAndStreams) {
  forEachLevel([] {
    for (const KnownPicture& picture : knownPictures) {
      for (const KnownScan& scan : picture.scans) {
        CodedScan coded;
        ASSERT_NO_FATAL_FAILURE(codeScan(picture.blocks, scan.script, &coded));
        EXPECT_EQ(scan.bytes, hex(coded.bytes));
        const Bytes values = fromHex(scan.values);
        EXPECT_EQ(scan.bits, hex({coded.table.bits.begin(), coded.table.bits.end()}));
        EXPECT_EQ(hex(values), hex({coded.table.values.begin(),
                                    coded.table.values.begin() + long(values.size())}));
      }
    }
  });
}

TEST(HuffmanProgressive, AFullStreamCanBeRepeated) {
  Random random;
  const auto blocks = randomBlocks(random, 60, 7);
  for (const ScanScript& script : fullScript) {
    CodedScan coded;
    ASSERT_NO_FATAL_FAILURE(codeScan(blocks, script, &coded));
    const EncodeSpec<Library> spec(coded.table);
    forEachLevel([&] {
      Scan<Library> scan(script);
      Out out(coded.bytes.size() + 8);
      int room = 1;
      for (size_t i = 0; i <= blocks.size(); ++i) {
        const Block* const block = i < blocks.size() ? &blocks[i] : nullptr;
        for (;; ++room) {
          Out shorter{size_t(room)};
          std::copy_n(out.bytes.begin(), out.position, shorter.bytes.begin());
          shorter.position = out.position;
          const RkdStatus status = scan.put(block, &shorter, spec.get());
          if (status == rkdStsNoErr) {
            std::copy_n(shorter.bytes.begin(), shorter.position, out.bytes.begin());
            out.position = shorter.position;
            break;
          }
          ASSERT_EQ(rkdStsDstFullErr, status);
          ASSERT_EQ(out.position, shorter.position);
        }
      }
      EXPECT_EQ(hex(coded.bytes), hex(out.coded()));
    });
  }
}

/// Damaged scans over blocks that are already half built: what the plain version says and does.
TEST(HuffmanProgressive, DamagedScansEndWithTheStatusOfThePlainVersion) {
  Random random;
  std::array<int, 40> seen{};
  for (int round = 0; round < 300; ++round) {
    const ScanScript script = fullScript[size_t(random.between(0, 5))];
    const auto blocks = randomBlocks(random, 20, 20);
    CodedScan coded;
    ASSERT_NO_FATAL_FAILURE(codeScan(blocks, script, &coded));
    if (round % 2 == 0) {
      for (auto& byte : coded.bytes) byte = uint8_t(random.bits());
    } else {
      coded.bytes[size_t(random.between(0, int(coded.bytes.size()) - 1))] = uint8_t(random.bits());
    }
    if (round % 3 == 0) coded.table = longCodes(random);
    const DecodeSpec<Library> gotSpec(coded.table);
    const DecodeSpec<Reference> wantSpec(coded.table);
    forEachLevel([&] {
      Scan<Library> got(script);
      Scan<Reference> want(script);
      In gotIn(coded.bytes), wantIn(coded.bytes);
      RkdStatus status = rkdStsNoErr;
      for (size_t i = 0; i < 200 && status == rkdStsNoErr; ++i) {
        Block gotBlock = blocks[i % blocks.size()];
        for (auto& v : gotBlock) v = int16_t(v & ~3);
        Block wantBlock = gotBlock;
        status = want.take(&wantIn, &wantBlock, wantSpec.get());
        ASSERT_EQ(status, got.take(&gotIn, &gotBlock, gotSpec.get())) << "block " << i;
        ASSERT_EQ(wantIn.position, gotIn.position);
        ASSERT_EQ(wantIn.marker, gotIn.marker);
        ASSERT_EQ(wantBlock, gotBlock);
        ASSERT_EQ(reached(want.decodeState), reached(got.decodeState));
      }
      ++seen[size_t(-status)];
    });
  }
  EXPECT_GT(seen[-rkdStsHuffCodeErr], 0);
  EXPECT_GT(seen[-rkdStsDataErr], 0);
  EXPECT_GT(seen[-rkdStsSrcEndErr], 0);
}

TEST(HuffmanProgressive, ValuesWithoutACategoryAreRefused) {
  forEachLevel([] {
    Block block{};
    block[1] = INT16_MIN;
    std::array<int, 256> counts{};
    EncodeState<Library> state;
    EXPECT_EQ(rkdStsCoefRangeErr,
              Library::countACFirst(block.data(), counts.data(), 1, 63, 0, state.get(), 0));
    EXPECT_EQ(rkdStsNoErr,
              Library::countACFirst(block.data(), counts.data(), 1, 63, 1, state.get(), 0));
    EXPECT_EQ(1, counts[0x0F]);
    const EncodeSpec<Library> spec(everySymbol());
    Out out;
    EXPECT_EQ(rkdStsCoefRangeErr,
              Library::encodeACFirst(block.data(), out.data(), out.length(), &out.position, 1, 63,
                                     0, spec.get(), state.get(), 0));
    EXPECT_EQ(Out(), out);
  });
}

}  // namespace
