// Streams that end too early, for every coder: buffers of every length, and data of every length.
#include "huffkit.h"

using namespace huffkit;
using rkdkit::forEachLevel;
using rkdkit::Random;

namespace {

enum Kind { sequential, direct, one, row, dcFirst, dcRefine, acFirst, acRefine, kinds };

constexpr int kUnits = 12;  ///< calls that a stream is made by
constexpr int kWidth = 9, kPlanes = 3;

/// What the coders are given: blocks for most, differences for the lossless ones.
struct Source {
  std::vector<Block> blocks;
  std::array<std::array<std::array<int16_t, kWidth>, kPlanes>, kUnits> rows{};

  explicit Source(Random& random) : blocks(randomBlocks(random, kUnits, 500)) {
    // Differences whose bits are ones, so that many bytes need stuffing.
    for (auto& planes : rows) {
      for (auto& plane : planes) {
        for (auto& value : plane) value = int16_t(random.between(0, 2) == 0 ? 0 : 2047);
      }
    }
  }
};

/// What a decoder writes to: a block, or the planes of a row.
struct Unit {
  Block block{};
  std::array<std::array<int16_t, kWidth>, kPlanes> row{};
  bool operator==(const Unit&) const = default;
};

/// All coders of an implementation under one call each.
template <class C>
class Coders {
 public:
  explicit Coders(Kind kind) : m_kind(kind) {}

  bool hasState() const { return m_kind != direct; }

  /// Unit number i, or the end of the interval.
  RkdStatus put(const Source& from, int i, uint8_t* stream, int length, int* position) {
    const int flush = i == kUnits ? 1 : 0;
    const Block& block = from.blocks[size_t(i % kUnits)];
    const auto& row = from.rows[size_t(i % kUnits)];
    const int16_t* const planes[4] = {row[0].data(), row[1].data(), row[2].data(), nullptr};
    const auto* const ac = m_acSpec.get();
    const auto* const dc = m_dcSpec.get();
    const typename C::EncodeSpec* const specs[4] = {dc, dc, dc, dc};
    auto* const state = m_encode.get();
    switch (m_kind) {
      case sequential:
        return C::encode(block.data(), stream, length, position, &m_dc, dc, ac, state, flush);
      case direct:
        if (flush != 0) return rkdStsNoErr;
        return C::encodeDirect(block.data(), stream, length, position, &m_dc, dc, ac);
      case one:
        return C::encodeOne(row[0].data(), stream, length, position, dc, state, flush);
      case ::Kind::row:
        return C::encodeRow(planes, stream, length, position, kWidth, specs, state, flush);
      case dcFirst:
        return C::encodeDCFirst(block.data(), stream, length, position, &m_dc, 1, dc, state, flush);
      case dcRefine:
        return C::encodeDCRefine(block.data(), stream, length, position, 0, state, flush);
      case acFirst:
        return C::encodeACFirst(block.data(), stream, length, position, 1, 63, 1, ac, state, flush);
      default:
        return C::encodeACRefine(block.data(), stream, length, position, 1, 63, 0, ac, state,
                                 flush);
    }
  }

  RkdStatus take(const uint8_t* stream, int length, int* position, Unit* unit) {
    int marker = 0;
    int16_t* const block = unit->block.data();
    int16_t* const planes[4] = {unit->row[0].data(), unit->row[1].data(), unit->row[2].data(),
                                nullptr};
    const auto* const ac = m_acTable.get();
    const auto* const dc = m_dcTable.get();
    const typename C::DecodeSpec* const specs[4] = {dc, dc, dc, dc};
    auto* const state = m_decode.get();
    switch (m_kind) {
      case sequential:
        return C::decode(stream, length, position, block, &m_dc, &marker, dc, ac, state);
      case direct:
        return C::decodeDirect(stream, length, position, block, &m_dc, dc, ac);
      case one:
        return C::decodeOne(stream, length, position, planes[0], &marker, dc, state);
      case row:
        return C::decodeRow(stream, length, position, planes, &marker, kWidth, specs, state);
      case dcFirst:
        return C::decodeDCFirst(stream, length, position, block, &m_dc, &marker, 1, dc, state);
      case dcRefine:
        return C::decodeDCRefine(stream, length, position, block, &marker, 0, state);
      case acFirst:
        return C::decodeACFirst(stream, length, position, block, &marker, 1, 63, 1, ac, state);
      default:
        return C::decodeACRefine(stream, length, position, block, &marker, 1, 63, 0, ac, state);
    }
  }

  int reachedBy() const { return reached(m_decode); }
  int prediction() const { return m_dc; }
  void forgetPrediction() { m_dc = 0; }

 private:
  Kind m_kind;
  EncodeSpec<C> m_dcSpec{everySymbol()}, m_acSpec{everySymbol()};
  DecodeSpec<C> m_dcTable{everySymbol()}, m_acTable{everySymbol()};
  EncodeState<C> m_encode;
  DecodeState<C> m_decode;
  int m_dc = 0;
};

/// What a unit holds before it is decoded, and what it should hold behind that.
Unit before(Kind kind, const Source& from, int i) {
  Unit unit;
  const Block& block = from.blocks[size_t(i)];
  for (size_t k = 0; k < 64; ++k) {
    const bool refines = k == 0 ? kind == dcRefine : kind == acRefine;
    if (refines) unit.block[k] = int16_t(k == 0 ? block[k] & ~1 : block[k] / 2 * 2);
  }
  return unit;
}
Unit after(Kind kind, const Source& from, int i) {
  Unit unit = before(kind, from, i);
  const Block& block = from.blocks[size_t(i)];
  switch (kind) {
    case sequential:
    case direct:
      unit.block = block;
      break;
    case one:
      unit.row[0][0] = from.rows[size_t(i)][0][0];
      break;
    case row:
      unit.row = from.rows[size_t(i)];
      break;
    case dcFirst:
      unit.block[0] = int16_t(block[0] & ~1);
      break;
    case dcRefine:
      unit.block[0] = block[0];
      break;
    default:
      for (size_t k = 1; k < 64; ++k) {
        unit.block[k] = int16_t(kind == acRefine ? block[k] : block[k] / 2 * 2);
      }
  }
  return unit;
}

/// The whole stream by the plain version.
Bytes whole(Kind kind, const Source& from) {
  Coders<Reference> plain(kind);
  Bytes bytes(1 << 13);
  int position = 0;
  for (int i = 0; i <= kUnits; ++i) {
    EXPECT_EQ(rkdStsNoErr, plain.put(from, i, bytes.data(), int(bytes.size()), &position));
  }
  bytes.resize(size_t(kind == direct ? (position + 7) / 8 : position));
  return bytes;
}

/// That a unit has what the state says was decoded, and zeros behind it.
void expectCutOff(Kind kind, int reached, const Unit& got, const Unit& complete,
                  const Unit& before) {
  if (kind == sequential || kind == acFirst) {
    for (int k = 0; k < 64; ++k) {
      const size_t at = zigzag[size_t(k)];
      EXPECT_EQ(k < reached ? complete.block[at] : 0, got.block[at]) << "coefficient " << k;
    }
  } else if (kind == row) {
    for (int n = 0; n < kWidth * kPlanes; ++n) {
      const size_t x = size_t(n / kPlanes), p = size_t(n % kPlanes);
      EXPECT_EQ(n < reached ? complete.row[p][x] : 0, got.row[p][x]) << "difference " << n;
    }
  } else {
    EXPECT_EQ(before, got);
  }
}

class HuffmanEnds : public testing::TestWithParam<int> {
 protected:
  HuffmanEnds()
      : m_random(unsigned(GetParam()) + 3), m_source(m_random), m_all(whole(kind(), m_source)) {}
  static Kind kind() { return Kind(GetParam()); }

  Random m_random;
  Source m_source;
  Bytes m_all;
};

/// Codes into buffers of every length; what finds none gets a byte more until it does.
template <class C>
void fillEveryLength(Kind kind, const Source& source, const Bytes& all) {
  const int longest = int(all.size());
  for (int length = 1; length <= longest + 8; ++length) {
    SCOPED_TRACE(testing::Message() << length << " of " << longest << " bytes");
    Coders<C> coder(kind);
    Bytes bytes(size_t(longest) + 64, 0xA5);
    int position = 0, room = length;
    for (int i = 0; i <= kUnits; ++i) {
      const int start = position;
      const Bytes begun = bytes;
      const RkdStatus status = coder.put(source, i, bytes.data(), room, &position);
      ASSERT_EQ(Bytes(size_t(longest) + 64 - size_t(room), 0xA5),
                Bytes(bytes.begin() + room, bytes.end()));
      if (status == rkdStsNoErr) continue;
      ASSERT_EQ(rkdStsDstFullErr, status);
      ASSERT_LT(room, longest);
      ASSERT_EQ(start, position);
      const long kept = kind == direct ? start / 8 : start;
      ASSERT_TRUE(std::equal(begun.begin(), begun.begin() + kept, bytes.begin()));
      --i;
      ++room;
    }
    const Bytes got(bytes.begin(), bytes.begin() + longest);
    ASSERT_TRUE(got == all) << hex(got) << "\ninstead of\n" << hex(all);
    ASSERT_EQ(longest, kind == direct ? (position + 7) / 8 : position);
  }
}

TEST_P(HuffmanEnds, EncodersFillBuffersOfEveryLengthAndNoByteMore) {
  fillEveryLength<Reference>(kind(), m_source, m_all);
  forEachLevel([this] { fillEveryLength<Library>(kind(), m_source, m_all); });
}

TEST_P(HuffmanEnds, DecodersGoOnFromEveryPlaceWhereDataEnded) {
  forEachLevel([this] {
    Coders<Library> coder(kind());
    Coders<Reference> plain(kind());
    int position = 0, wanted = 0, room = 1;
    for (int i = 0; i < kUnits; ++i) {
      Unit got = before(kind(), m_source, i);
      const Unit complete = after(kind(), m_source, i);
      for (;; ++room) {
        SCOPED_TRACE(testing::Message() << "unit " << i << ", " << room << " bytes");
        ASSERT_LE(room, int(m_all.size()));
        const In in(Bytes(m_all.begin(), m_all.begin() + room));
        Unit want = before(kind(), m_source, i);
        const RkdStatus status = coder.take(in.data(), room, &position, &got);
        ASSERT_EQ(plain.take(in.data(), room, &wanted, &want), status);
        ASSERT_EQ(wanted, position);
        ASSERT_EQ(want, got);
        if (status == rkdStsNoErr) break;
        ASSERT_EQ(rkdStsSrcEndErr, status);
        if (coder.hasState()) {
          ASSERT_EQ(plain.reachedBy(), coder.reachedBy());
          expectCutOff(kind(), coder.reachedBy(), got, complete, before(kind(), m_source, i));
        }
        if (HasFailure()) return;
      }
      ASSERT_EQ(complete, got);
    }
  });
}

/// Not one for which the buffer would have room without its stuffing.
TEST(HuffmanStuffing, ALastByteOfOnesTakesTwo) {
  forEachLevel([] {
    Source source = [] {
      Random random;
      return Source(random);
    }();
    for (Block& block : source.blocks) block[0] = 1;  // a bit each
    for (int room = 1; room <= 4; ++room) {
      Coders<Library> coder(dcRefine);
      Bytes bytes(8, 0xA5);
      int position = 0;
      for (int i = 0; i < 8; ++i) {
        ASSERT_EQ(rkdStsNoErr, coder.put(source, i, bytes.data(), room, &position));
      }
      const RkdStatus status = coder.put(source, kUnits, bytes.data(), room, &position);
      EXPECT_EQ(room < 2 ? rkdStsDstFullErr : rkdStsNoErr, status) << room;
      EXPECT_EQ(room < 2 ? 0 : 2, position);
      EXPECT_EQ(0xA5, bytes[size_t(std::max(2, room))]);
    }
  });
}

/// Damaged data may add up to anything: differences that no encoder makes one after the other.
TEST(HuffmanPrediction, WrapsAroundIn16Bits) {
  forEachLevel([] {
    for (const Kind kind : {sequential, direct, dcFirst}) {
      Random random;
      Source source(random);
      Coders<Library> coder(kind);
      Coders<Reference> plain(kind);
      Bytes bytes(256);
      int end = 0;
      for (int i = 0; i <= kUnits; ++i) {
        source.blocks[size_t(i % kUnits)] = sparse({{0, kind == dcFirst ? 2 * 16383 : 16383}});
        coder.forgetPrediction();
        ASSERT_EQ(rkdStsNoErr, coder.put(source, i, bytes.data(), int(bytes.size()), &end));
      }
      coder.forgetPrediction();
      int got = 0, want = 0;
      int16_t sum = 0;
      for (int i = 0; i < kUnits; ++i) {
        Unit unit, expected;
        ASSERT_EQ(rkdStsNoErr, coder.take(bytes.data(), int(bytes.size()), &got, &unit));
        ASSERT_EQ(rkdStsNoErr, plain.take(bytes.data(), int(bytes.size()), &want, &expected));
        EXPECT_EQ(expected, unit);
        sum = int16_t(sum + 16383);
        EXPECT_EQ(sum, coder.prediction()) << "kind " << kind << ", unit " << i;
        EXPECT_EQ(sum, plain.prediction()) << "kind " << kind << ", unit " << i;
      }
    }
  });
}

std::string nameOf(const testing::TestParamInfo<int>& info) {
  constexpr std::array<const char*, kinds> names = {
      "Sequential", "Direct", "One", "Row", "DCFirst", "DCRefine", "ACFirst", "ACRefine"};
  return names[size_t(info.param)];
}
INSTANTIATE_TEST_SUITE_P(Coders, HuffmanEnds, testing::Range(0, int(kinds)), nameOf);

}  // namespace
