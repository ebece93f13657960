// The coders on operands beside pages that nobody may access: streams of every length up to the one
// they need, objects of exactly the size that the library asks for.
#include "blockkit.h"
#include "guardshapes.h"
#include "huffkit.h"

using guarded::Memory;
using guarded::sharedMemory;
using guarded::Side;
using rkdkit::Random;
using Bytes = std::vector<uint8_t>;

namespace {

constexpr Side kSides[] = {Side::end, Side::begin};

/// An object beside a page without access. Specifications may be read only once they are made.
template <class T, class Init>
T* object(RkdStatus (*size)(int*), Init init) {
  int bytes = 0;
  EXPECT_EQ(size(&bytes), rkdStsNoErr);
  T* const made = reinterpret_cast<T*>(sharedMemory().take(static_cast<size_t>(bytes)));
  EXPECT_EQ(init(made), rkdStsNoErr);
  return made;
}

// ---- Huffman ----

constexpr int kItems = 4;   // blocks, single values or rows of a run
constexpr int kWidth = 19;  // of a row
constexpr int kAl = 1;      // of progressive scans

/// A run over one stream: its operands, all at one side of their pages.
struct Run {
  Run(Side side, int streamLength, const std::vector<huffkit::Block>& blocks, const Bytes* coded)
      : length(streamLength) {
    Memory& memory = sharedMemory();
    memory.restart(side);
    const huffkit::Table table = huffkit::everySymbol();
    const auto lists = [&](auto init) {
      return [&, init](auto* spec) { return init(bits.data(), values.data(), spec); };
    };
    bits.assign(table.bits.begin(), table.bits.end());
    values.assign(table.values.begin(), table.values.end());
    encodeSpec = object<RkdiEncodeHuffmanSpec>(rkdiEncodeHuffmanSpecGetBufSize_JPEG_8u,
                                               lists(rkdiEncodeHuffmanSpecInit_JPEG_8u));
    memory.seal();
    decodeSpec = object<RkdiDecodeHuffmanSpec>(rkdiDecodeHuffmanSpecGetBufSize_JPEG_8u,
                                               lists(rkdiDecodeHuffmanSpecInit_JPEG_8u));
    memory.seal();
    encodeState = object<RkdiEncodeHuffmanState>(
        rkdiEncodeHuffmanStateGetBufSize_JPEG_8u,
        [](auto* state) { return GUARDED_CALL(rkdiEncodeHuffmanStateInit_JPEG_8u, state); });
    decodeState = object<RkdiDecodeHuffmanState>(
        rkdiDecodeHuffmanStateGetBufSize_JPEG_8u,
        [](auto* state) { return GUARDED_CALL(rkdiDecodeHuffmanStateInit_JPEG_8u, state); });
    for (const huffkit::Block& block : blocks) {
      source.push_back(memory.source(block));
      destination.push_back(memory.destination<int16_t>(block.size()));
      // What the scans before a refining one have sent.
      for (size_t k = 0; k < block.size(); ++k) {
        const int magnitude = std::abs(block[k]) >> (kAl + 1) << (kAl + 1);
        destination.back()[k] = static_cast<int16_t>(block[k] < 0 ? -magnitude : magnitude);
      }
    }
    stream = memory.take(static_cast<size_t>(length));
    if (coded != nullptr) {
      std::copy_n(coded->begin(), length, stream);
      memory.seal();
    }
  }

  Bytes bits, values;
  RkdiEncodeHuffmanSpec* encodeSpec;
  RkdiDecodeHuffmanSpec* decodeSpec;
  RkdiEncodeHuffmanState* encodeState;
  RkdiDecodeHuffmanState* decodeState;
  std::vector<const int16_t*> source;
  std::vector<int16_t*> destination;
  uint8_t* stream;
  int length, position = 0, previousDC = 0, marker = 0;
};

/// One kind of coder: item i, or the flush where there is no such item.
struct Coder {
  const char* name;
  size_t samples;    ///< of an item
  int positionUnit;  ///< bits: 8, or 1 for direct coders, which have no flush either
  RkdStatus (*encode)(Run& r, const int16_t* src, int flush);
  RkdStatus (*decode)(Run& r, int16_t* dst);
};

#define ENCODES(function, ...)                                  \
  [](Run& r, const int16_t* src, [[maybe_unused]] int flush) {  \
    return GUARDED_CALL(function, src, TO_STREAM, __VA_ARGS__); \
  }
#define DECODES(function, ...) \
  [](Run& r, int16_t* dst) { return GUARDED_CALL(function, TO_STREAM, dst, __VA_ARGS__); }
#define TO_STREAM r.stream, r.length, &r.position

const Coder kCoders[] = {
    {"blocks", 64, 8,
     ENCODES(rkdiEncodeHuffman8x8_JPEG_16s1u_C1, &r.previousDC, r.encodeSpec, r.encodeSpec,
             r.encodeState, flush),
     DECODES(rkdiDecodeHuffman8x8_JPEG_1u16s_C1, &r.previousDC, &r.marker, r.decodeSpec,
             r.decodeSpec, r.decodeState)},
    {"direct blocks", 64, 1,
     ENCODES(rkdiEncodeHuffman8x8_Direct_JPEG_16s1u_C1, &r.previousDC, r.encodeSpec, r.encodeSpec),
     DECODES(rkdiDecodeHuffman8x8_Direct_JPEG_1u16s_C1, &r.previousDC, r.decodeSpec, r.decodeSpec)},
    {"values", 1, 8,
     ENCODES(rkdiEncodeHuffmanOne_JPEG_16s1u_C1, r.encodeSpec, r.encodeState, flush),
     DECODES(rkdiDecodeHuffmanOne_JPEG_1u16s_C1, &r.marker, r.decodeSpec, r.decodeState)},
    {"rows", kWidth, 8,
     [](Run& r, const int16_t* src, int flush) {
       const int16_t* const planes[4] = {src, src, src};
       const RkdiEncodeHuffmanSpec* const specs[4] = {r.encodeSpec, r.encodeSpec, r.encodeSpec};
       return GUARDED_CALL(rkdiEncodeHuffmanRow_JPEG_16s1u_P4C1, planes, TO_STREAM, kWidth, specs,
                           r.encodeState, flush);
     },
     [](Run& r, int16_t* dst) {
       int16_t* const planes[4] = {dst, dst, dst};
       const RkdiDecodeHuffmanSpec* const specs[4] = {r.decodeSpec, r.decodeSpec, r.decodeSpec};
       return GUARDED_CALL(rkdiDecodeHuffmanRow_JPEG_1u16s_C1P4, TO_STREAM, planes, &r.marker,
                           kWidth, specs, r.decodeState);
     }},
    {"DC scan", 1, 8,
     ENCODES(rkdiEncodeHuffman8x8_DCFirst_JPEG_16s1u_C1, &r.previousDC, kAl, r.encodeSpec,
             r.encodeState, flush),
     DECODES(rkdiDecodeHuffman8x8_DCFirst_JPEG_1u16s_C1, &r.previousDC, &r.marker, kAl,
             r.decodeSpec, r.decodeState)},
    {"DC refinement", 1, 8,
     ENCODES(rkdiEncodeHuffman8x8_DCRefine_JPEG_16s1u_C1, kAl, r.encodeState, flush),
     DECODES(rkdiDecodeHuffman8x8_DCRefine_JPEG_1u16s_C1, &r.marker, kAl, r.decodeState)},
    {"AC scan", 64, 8,
     ENCODES(rkdiEncodeHuffman8x8_ACFirst_JPEG_16s1u_C1, 1, 63, kAl, r.encodeSpec, r.encodeState,
             flush),
     DECODES(rkdiDecodeHuffman8x8_ACFirst_JPEG_1u16s_C1, &r.marker, 1, 63, kAl, r.decodeSpec,
             r.decodeState)},
    {"AC refinement", 64, 8,
     ENCODES(rkdiEncodeHuffman8x8_ACRefine_JPEG_16s1u_C1, 1, 63, kAl, r.encodeSpec, r.encodeState,
             flush),
     DECODES(rkdiDecodeHuffman8x8_ACRefine_JPEG_1u16s_C1, &r.marker, 1, 63, kAl, r.decodeSpec,
             r.decodeState)},
};
#undef ENCODES
#undef DECODES
#undef TO_STREAM

std::vector<huffkit::Block> someBlocks() {
  Random random(5);
  auto blocks = huffkit::randomBlocks(random, kItems - 1);
  blocks.push_back({});  // ends an AC scan in a run
  return blocks;
}

struct Coded {
  RkdStatus status;
  Bytes bytes;
};

Coded encode(const Coder& coder, Side side, int length) {
  Run run(side, length, someBlocks(), nullptr);
  RkdStatus status = rkdStsNoErr;
  for (size_t i = 0; i < run.source.size() && status == rkdStsNoErr; ++i) {
    // An operand has exactly the samples that an item takes.
    const int16_t* const src =
        sharedMemory().source(run.source[i] + 64 - coder.samples, coder.samples);
    status = coder.encode(run, src, 0);
  }
  if (status == rkdStsNoErr && coder.positionUnit == 8) status = coder.encode(run, nullptr, 1);
  EXPECT_TRUE(sharedMemory().areCanariesIntact()) << "stream of " << length;
  return {status, Bytes(run.stream, run.stream + (run.position * coder.positionUnit + 7) / 8)};
}

RkdStatus decode(const Coder& coder, Side side, const Bytes& coded, int length) {
  Run run(side, length, someBlocks(), &coded);
  RkdStatus status = rkdStsNoErr;
  for (size_t i = 0; i < run.destination.size() && status == rkdStsNoErr; ++i) {
    auto* const dst = sharedMemory().destination<int16_t>(coder.samples);
    std::copy_n(run.destination[i], coder.samples, dst);
    status = coder.decode(run, dst);
  }
  EXPECT_EQ(rkdStsNoErr, GUARDED_CALL(rkdiDecodeHuffmanStateGetReached_JPEG_8u,
                                      sharedMemory().destination<int>(1), run.decodeState));
  EXPECT_TRUE(sharedMemory().areCanariesIntact()) << "stream of " << length;
  return status;
}

GUARDED_FAMILY(HuffmanCoders) {
  for (const Coder& coder : kCoders) {
    SCOPED_TRACE(coder.name);
    const Coded whole = encode(coder, Side::end, 4096);
    ASSERT_EQ(whole.status, rkdStsNoErr);
    const int needed = static_cast<int>(whole.bytes.size());
    for (const Side side : kSides) {
      for (int length = guarded::g_briefly ? needed : 1; length <= needed; ++length) {
        const Coded coded = encode(coder, side, length);
        ASSERT_EQ(coded.status, length == needed ? rkdStsNoErr : rkdStsDstFullErr) << length;
        const RkdStatus status = decode(coder, side, whole.bytes, length);
        ASSERT_EQ(status == rkdStsNoErr, length == needed) << length << ", status " << status;
      }
    }
  }
}

GUARDED_FAMILY(HuffmanTables) {
  for (const Side side : kSides) {
    for (const huffkit::Table& table : {huffkit::dcLuma, huffkit::acLuma}) {
      Memory& memory = sharedMemory();
      memory.restart(side);
      const uint8_t* const bits = memory.source(table.bits);
      size_t count = 0;
      for (const uint8_t n : table.bits) count += n;
      const uint8_t* const values = memory.source(table.values.data(), count);
      object<RkdiEncodeHuffmanSpec>(rkdiEncodeHuffmanSpecGetBufSize_JPEG_8u, [&](auto* spec) {
        return GUARDED_CALL(rkdiEncodeHuffmanSpecInit_JPEG_8u, bits, values, spec);
      });
      object<RkdiDecodeHuffmanSpec>(rkdiDecodeHuffmanSpecGetBufSize_JPEG_8u, [&](auto* spec) {
        return GUARDED_CALL(rkdiDecodeHuffmanSpecInit_JPEG_8u, bits, values, spec);
      });
      EXPECT_TRUE(memory.areCanariesIntact());
    }
  }
}

GUARDED_FAMILY(HuffmanStatistics) {
  for (const Side side : kSides) {
    for (const huffkit::Block& block : someBlocks()) {
      Run run(side, 1, {block}, nullptr);
      const int16_t* const src = run.source[0];
      int* const dc = sharedMemory().destination<int>(256);
      int* const ac = sharedMemory().destination<int>(256);
      const int16_t* const rows[4] = {sharedMemory().source(block.data(), kWidth)};
      int* const counts[4] = {dc};
      std::fill_n(dc, 256, 0);
      std::fill_n(ac, 256, 0);
      auto* const state = run.encodeState;
      int previous = 0;
      for (const RkdStatus status :
           {GUARDED_CALL(rkdiGetHuffmanStatistics8x8_JPEG_16s_C1, src, dc, ac, &previous),
            GUARDED_CALL(rkdiGetHuffmanStatistics8x8_DCFirst_JPEG_16s_C1, src, dc, &previous, kAl),
            GUARDED_CALL(rkdiGetHuffmanStatistics8x8_ACFirst_JPEG_16s_C1, src, ac, 1, 63, kAl,
                         state, 0),
            GUARDED_CALL(rkdiGetHuffmanStatistics8x8_ACFirst_JPEG_16s_C1, src, ac, 1, 63, kAl,
                         state, 1),
            GUARDED_CALL(rkdiGetHuffmanStatistics8x8_ACRefine_JPEG_16s_C1, src, ac, 1, 63, kAl,
                         state, 0),
            GUARDED_CALL(rkdiGetHuffmanStatisticsRow_JPEG_16s_P4, rows, kWidth, counts)}) {
        EXPECT_EQ(status, rkdStsNoErr);
      }
      EXPECT_TRUE(sharedMemory().areCanariesIntact());
    }
  }
}

GUARDED_FAMILY(HuffmanRecords) {
  for (const Side side : kSides) {
    auto blocks = someBlocks();
    blocks.push_back(huffkit::sparse({{0, 9}, {1, -2}, {63, 1}}));
    blocks.emplace_back().fill(1);
    for (const huffkit::Block& block : blocks) {
      Run run(side, 512, {block}, nullptr);
      Memory& memory = sharedMemory();
      auto* const records = memory.destination<uint16_t>(RKD_HUFFMAN_RECORD_LENGTH);
      int counts[2][256] = {}, end = 0, at = 0;
      EXPECT_EQ(rkdStsNoErr, GUARDED_CALL(rkdiRecordHuffman8x8_JPEG_16s16u_C1, run.source[0],
                                          records, RKD_HUFFMAN_RECORD_LENGTH, &end, &run.previousDC,
                                          counts[0], counts[1]));
      const uint16_t* const sent = memory.source(records, static_cast<size_t>(end));
      EXPECT_EQ(rkdStsNoErr,
                GUARDED_CALL(rkdiEncodeHuffmanRecord_JPEG_16u1u_C1, sent, end, &at, run.stream, 512,
                             &run.position, run.encodeSpec, run.encodeSpec, run.encodeState));
      EXPECT_EQ(at, end);
      EXPECT_TRUE(memory.areCanariesIntact());
    }
  }
}

GUARDED_FAMILY(HuffmanUnits) {
  // The standard tables, for whose symbols there are short cuts.
  auto blocks = someBlocks();
  blocks.resize(4);
  huffkit::Out out(4096);
  huffkit::EncodeSpec<huffkit::Library> dc(huffkit::dcLuma), ac(huffkit::acLuma);
  huffkit::EncodeState<huffkit::Library> waiting;
  int previous = 0;
  for (huffkit::Block& block : blocks) {
    for (int16_t& c : block) c = static_cast<int16_t>(std::clamp<int>(c, -1000, 1000));
    ASSERT_EQ(rkdStsNoErr,
              huffkit::Library::encode(block.data(), out.data(), out.length(), &out.position,
                                       &previous, dc.get(), ac.get(), waiting.get(), 0));
  }
  ASSERT_EQ(rkdStsNoErr, huffkit::Library::encode(nullptr, out.data(), out.length(), &out.position,
                                                  nullptr, nullptr, nullptr, waiting.get(), 1));
  const Bytes whole = out.coded();
  for (const Side side : kSides) {
    for (int length = guarded::g_briefly ? out.position : 1; length <= out.position; ++length) {
      Memory& memory = sharedMemory();
      Run run(side, length, {}, &whole);
      const auto spec = [&](const huffkit::Table& table) {
        return object<RkdiDecodeHuffmanSpec>(rkdiDecodeHuffmanSpecGetBufSize_JPEG_8u,
                                             [&](auto* made) {
                                               return rkdiDecodeHuffmanSpecInit_JPEG_8u(
                                                   table.bits.data(), table.values.data(), made);
                                             });
      };
      const RkdiDecodeHuffmanSpec* const dcs[4] = {spec(huffkit::dcLuma)};
      const RkdiDecodeHuffmanSpec* const acs[4] = {spec(huffkit::acLuma)};
      const std::array<uint8_t, 2> unit = {0, 0};
      const uint8_t* const component = memory.source(unit);
      auto* const dst = memory.destination<int16_t>(4 * 64);
      auto* const last = memory.destination<uint8_t>(4);
      int previousDC[4] = {}, decoded = 0;
      const RkdStatus status = GUARDED_CALL(
          rkdiDecodeHuffmanUnits8x8_JPEG_1u16s_C1, run.stream, length, &run.position, dst, last, 2,
          component, 2, previousDC, &run.marker, dcs, acs, run.decodeState, &decoded);
      ASSERT_EQ(status == rkdStsNoErr, length == out.position) << length;
      EXPECT_TRUE(memory.areCanariesIntact()) << length;
    }
  }
}

// ---- code blocks ----

/// Codes a block and tells its bytes; all operands lie at one side.
blockkit::Coded encodeBlock(Side side, const blockkit::Coefficients& data, blockkit::Shape shape) {
  Memory& memory = sharedMemory();
  memory.restart(side);
  auto* const state = object<RkdiEncodeCodeBlockState>(
      rkdiEncodeCodeBlockStateGetBufSize_JPEG2K,
      [](auto* s) { return GUARDED_CALL(rkdiEncodeCodeBlockStateInit_JPEG2K, s); });
  EXPECT_EQ(rkdStsNoErr, GUARDED_CALL(rkdiEncodeSetLeastGain_JPEG2K, 0.0, 0, state));
  blockkit::Coded coded;
  const int32_t* const src = memory.source(data);
  EXPECT_EQ(rkdStsNoErr,
            GUARDED_CALL(rkdiEncodeLoadCodeBlock_JPEG2K_32s_C1R, src, shape.size.width * 4,
                         shape.size, shape.band, shape.style, rkdCodeBlockMaxPasses, state));
  EXPECT_EQ(rkdStsNoErr, GUARDED_CALL(rkdiEncodeGetCodeBlockInfo_JPEG2K, &coded.bitPlanes,
                                      &coded.passes, state));
  coded.pass.resize(static_cast<size_t>(coded.passes));
  for (int k = 0; k < coded.passes; ++k) {
    EXPECT_EQ(rkdStsNoErr, GUARDED_CALL(rkdiEncodeGetPassInfo_JPEG2K, k,
                                        &coded.pass[static_cast<size_t>(k)], state));
  }
  const int length = coded.pass.back().length;
  auto* const stream = memory.destination<uint8_t>(static_cast<size_t>(length));
  int position = 0;
  EXPECT_EQ(rkdStsNoErr, GUARDED_CALL(rkdiEncodeStoreBits_JPEG2K_1u, stream, length, &position,
                                      coded.passes, state));
  EXPECT_EQ(position, length);
  EXPECT_TRUE(memory.areCanariesIntact());
  coded.bytes.assign(stream, stream + length);
  return coded;
}

/// Decodes `coded`, whole and pass by pass, from `length` bytes.
void decodeBlock(Side side, const blockkit::Coded& coded, const blockkit::Shape& shape, int length,
                 const blockkit::Coefficients& want) {
  Memory& memory = sharedMemory();
  memory.restart(side);
  auto* const state = object<RkdiDecodeCodeBlockState>(
      rkdiDecodeCodeBlockStateGetBufSize_JPEG2K,
      [](auto* s) { return GUARDED_CALL(rkdiDecodeCodeBlockStateInit_JPEG2K, s); });
  std::vector<int> segments = coded.segments(coded.passes);
  for (int over = coded.pass.back().length - length; over > 0;) {
    for (auto last = segments.rbegin(); last != segments.rend(); ++last) {
      const int cut = std::min(over, *last);
      *last -= cut;
      over -= cut;
    }
  }
  const uint8_t* const src = memory.source(coded.bytes.data(), static_cast<size_t>(length));
  const int* const lengths = memory.source(segments);
  const int count = static_cast<int>(segments.size());
  const int step = shape.size.width * 4;
  auto* const whole = memory.destination<int32_t>(want.size());
  auto* const steps = memory.destination<int32_t>(want.size());
  const bool isWhole = length == coded.pass.back().length;
  const RkdStatus status =
      GUARDED_CALL(rkdiDecodeCodeBlock_JPEG2K_1u32s_C1R, src, length, lengths, count, whole, step,
                   shape.size, shape.band, shape.style, coded.bitPlanes, coded.passes, state);
  EXPECT_TRUE(status == rkdStsNoErr || (!isWhole && status == rkdStsDataErr)) << status;
  EXPECT_EQ(rkdStsNoErr,
            GUARDED_CALL(rkdiDecodeCBProgrStart_JPEG2K, length, lengths, count, shape.size,
                         shape.band, shape.style, coded.bitPlanes, coded.passes, state));
  for (int k = 0; k < coded.passes; ++k) {
    GUARDED_CALL(rkdiDecodeCBProgrStep_JPEG2K, src, length, 1, state);
  }
  EXPECT_EQ(rkdStsNoErr, GUARDED_CALL(rkdiDecodeCBProgrGet_JPEG2K_32s_C1R, steps, step, state));
  EXPECT_EQ(rkdStsNoErr, GUARDED_CALL(rkdiDecodeCBProgrGet_JPEG2K_32f_C1R,
                                      memory.destination<float>(want.size()), step, 0.5F, state));
  EXPECT_EQ(rkdStsNoErr,
            GUARDED_CALL(rkdiDecodeCBProgrGetPlanes_JPEG2K_8u_C1R,
                         memory.destination<uint8_t>(want.size()), shape.size.width, state));
  EXPECT_TRUE(!isWhole || std::equal(want.begin(), want.end(), whole));
  EXPECT_TRUE(std::equal(whole, whole + want.size(), steps));
  EXPECT_TRUE(memory.areCanariesIntact());
}

GUARDED_FAMILY(CodeBlocks) {
  int passes = 0;
  EXPECT_EQ(rkdStsNoErr, GUARDED_CALL(rkdiGetCodeBlockSegment_JPEG2K, 0, 0, &passes));
  Random random(3);
  for (const RkdiSize size : {RkdiSize{1, 1}, {3, 5}, {17, 9}, {33, 30}}) {
    for (const int style : {0, int{rkdCodeBlockBypass}, 63}) {
      const blockkit::Shape shape = {size, style % 4, style};
      const auto data = blockkit::filled(blockkit::Fill::dense, size, random);
      SCOPED_TRACE(testing::Message() << shape);
      for (const Side side : kSides) {
        const blockkit::Coded coded = encodeBlock(side, data, shape);
        const int length = coded.pass.back().length;
        for (int cut = 0; cut < length && cut < 40; cut += guarded::g_briefly ? 40 : 7) {
          decodeBlock(side, coded, shape, length - cut, data);
        }
      }
    }
  }
}

// ---- PackBits ----

GUARDED_FAMILY(PackBits) {
  Random random;
  for (const guarded::Case& c : guarded::cases()) {
    Bytes row(static_cast<size_t>(c.size.width));
    for (size_t i = 0; i < row.size(); ++i) {
      row[i] =
          i > 0 && random.between(0, 3) != 0 ? row[i - 1] : static_cast<uint8_t>(random.bits());
    }
    const int width = c.size.width;
    int needed = 0;
    Bytes packed(row.size() * 2 + 1);
    rkdiPackBitsRow_TIFF_8u_C1(row.data(), width, packed.data(), int(packed.size()), &needed);
    for (const Side side : kSides) {
      for (int length = std::max(1, needed - 20); length <= needed; ++length) {
        SCOPED_TRACE(testing::Message()
                     << width << " bytes, packed " << length << " of " << needed);
        Memory& memory = sharedMemory();
        memory.restart(side);
        const uint8_t* const src = memory.source(row);
        auto* const dst = memory.destination<uint8_t>(static_cast<size_t>(length));
        int position = 0;
        EXPECT_EQ(length == needed ? rkdStsNoErr : rkdStsDstFullErr,
                  GUARDED_CALL(rkdiPackBitsRow_TIFF_8u_C1, src, width, dst, length, &position));
        const uint8_t* const from = memory.source(packed.data(), static_cast<size_t>(length));
        auto* const back = memory.destination<uint8_t>(row.size());
        int read = 0, written = 0;
        EXPECT_EQ(
            length == needed ? rkdStsNoErr : rkdStsSrcEndErr,
            GUARDED_CALL(rkdiUnpackBitsRow_TIFF_8u_C1, from, length, &read, back, width, &written));
        EXPECT_TRUE(memory.areCanariesIntact());
      }
    }
  }
}

}  // namespace
