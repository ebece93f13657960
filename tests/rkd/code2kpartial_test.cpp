// Code blocks of which not everything came: what a decoder tells of each coefficient, and whether
// it sees that a segment is not as it was sent.
#include "blockkit.h"

using namespace blockkit;
using rkdkit::exhaustive;
using rkdkit::Random;
using rkdkit::sz;

namespace {

const std::vector<RkdiSize> sizes = {sz(1, 1),  sz(5, 4),   sz(4, 5),   sz(7, 11),
                                     sz(17, 8), sz(33, 10), sz(64, 64), sz(3, 500)};

/// A block as it was sent.
struct Sent {
  Coefficients data;
  Shape shape;
  Coded coded;
};

// ---- values ----

/// What is to be had of a block after some passes.
struct Told {
  Coefficients values;
  std::vector<float> middles;
  std::vector<uint8_t> planes;
};

template <class Coder>
Told told(Decoder<Coder>& decoder, const Sent& sent, int passes, int unit, float scale) {
  const std::vector<int> segments = sent.coded.segments(passes);
  const Bytes bytes = sent.coded.firstBytes(passes);
  const RkdiSize size = sent.shape.size;
  EXPECT_EQ(rkdStsNoErr, Coder::start(int(bytes.size()), segments.data(), int(segments.size()),
                                      size, sent.shape.band, sent.shape.style | unit,
                                      sent.coded.bitPlanes, passes, decoder.state));
  EXPECT_EQ(rkdStsNoErr, Coder::step(bytes.data(), int(bytes.size()), 91, decoder.state));
  const size_t count = sent.data.size();
  Told t = {Coefficients(count, 77), std::vector<float>(count, 77),
            std::vector<uint8_t>(count, 77)};
  EXPECT_EQ(rkdStsNoErr, Coder::get(t.values.data(), size.width * 4, decoder.state));
  EXPECT_EQ(rkdStsNoErr, Coder::getMiddles(t.middles.data(), size.width * 4, scale, decoder.state));
  EXPECT_EQ(rkdStsNoErr, Coder::getPlanes(t.planes.data(), size.width, decoder.state));
  return t;
}

/// That the block's coefficients are in the intervals which are told to hold them, and that these
/// are as narrow as the passes allow.
void expectHolds(const Sent& sent, int passes, const Told& whole, const Told& halves) {
  const int last = sent.coded.bitPlanes - 1 - (passes + 1) / 3;
  for (size_t i = 0; i < sent.data.size(); ++i) {
    SCOPED_TRACE(i);
    const int64_t sign = sent.data[i] < 0 ? -1 : 1;
    const int64_t magnitude = sign * sent.data[i];
    const int plane = whole.planes[i];
    ASSERT_TRUE(plane == last || (plane == last + 1 && passes % 3 != 1));
    const int64_t down = magnitude >> plane << plane;
    const int64_t twice = down == 0 ? 0 : 2 * down + (int64_t{1} << plane);
    ASSERT_EQ(sign * twice / 2, whole.values[i]);
    if (sent.coded.bitPlanes < 31) {
      ASSERT_EQ(sign * twice, halves.values[i]);
    }
    ASSERT_EQ(float(double(sign * twice) * 0.5 * 0.37f), whole.middles[i]);
  }
}

TEST(CodeBlockValues, ArePlacedInTheIntervalOfEachCoefficientsOwnPlane) {
  Random random;
  Encoder<Library> encoder;
  Decoder<Library> decoder;
  Decoder<Reference> plain;
  int round = 0;
  for (const RkdiSize size : sizes) {
    for (int fill = 0; fill < int(Fill::kinds); ++fill) {
      const int style = random.between(0, 63);
      Sent sent = {filled(Fill(fill), size, random), {size, round++ % 4, style}, {}};
      sent.coded = encoder.encode(sent.data, sent.shape);
      const int unit = sent.coded.bitPlanes < 31 ? rkdCodeBlockHalves : 0;
      const int stride = exhaustive() || size.width * size.height < 100 ? 1 : 5;
      for (int passes = 0; passes <= sent.coded.passes; passes += stride) {
        SCOPED_TRACE(testing::Message() << sent.shape << ", " << passes << " passes");
        const Told whole = told(decoder, sent, passes, 0, 0.37f);
        const Told halves = told(decoder, sent, passes, unit, 0.37f);
        const Told want = told(plain, sent, passes, unit, 0.37f);
        ASSERT_EQ(want.values, halves.values);
        ASSERT_EQ(want.middles, halves.middles);
        ASSERT_EQ(want.planes, halves.planes);
        ASSERT_EQ(whole.middles, halves.middles);
        ASSERT_NO_FATAL_FAILURE(expectHolds(sent, passes, whole, halves));
      }
    }
  }
}

TEST(CodeBlockValues, OfDecodeCodeBlockCanBeAskedForAgain) {
  Random random;
  const RkdiSize size = sz(19, 6);
  const Shape shape = {size, rkdBandHH, 0};
  const Coefficients data = filled(Fill::dense, size, random);
  const Coded coded = Encoder<Library>().encode(data, shape);
  Decoder<Library> decoder;
  decoder.decode(coded.bytes, coded.segments(coded.passes), shape, coded.bitPlanes, coded.passes);
  for (const rkdkit::Place place : rkdkit::places()) {
    rkdkit::Canvas<float> middles(size, 1, place);
    rkdkit::Canvas<uint8_t> planes(size, 1, place);
    ASSERT_EQ(rkdStsNoErr, Library::getMiddles(middles.data(), middles.step(), -2, decoder.state));
    ASSERT_EQ(rkdStsNoErr, Library::getPlanes(planes.data(), planes.step(), decoder.state));
    for (int i = 0; i < size.width * size.height; ++i) {
      const int32_t value = data[size_t(i)];
      const int twice = value == 0 ? 0 : 2 * value + (value < 0 ? -1 : 1);
      ASSERT_EQ(float(-twice), middles.at(i % size.width, i / size.width));
      ASSERT_EQ(0, planes.at(i % size.width, i / size.width));
    }
    EXPECT_TRUE(middles.marginIntact());
    EXPECT_TRUE(planes.marginIntact());
  }
}

// ---- predictable ends ----

/// Whether an arithmetic decoder may see a carry in these bytes that no encoder left there: the
/// same number has other bytes then.
bool mayBeWrittenOtherwise(const Bytes& bytes) {
  for (size_t i = 0; i + 1 < bytes.size(); ++i) {
    if (bytes[i] == 0xFF && bytes[i + 1] > 0x7F) return true;
  }
  return false;
}

/// Damaged blocks. The judge is the encoder: a block is whole if and only if what can be decoded of
/// it has these bytes.
TEST(CodeBlockPredictableEnds, TellWhetherABlockIsAsItWasSent) {
  Random random(23);
  Encoder<Library> encoder;
  Decoder<Library> decoder;
  int rounds = 0, seen = 0, otherwise = 0;
  for (int round = 0; round < (exhaustive() ? 40000 : 4000); ++round) {
    const RkdiSize size = sizes[size_t(random.between(1, 5))];
    const int style = rkdCodeBlockPredTerm | (random.between(0, 31) & ~rkdCodeBlockSegSym);
    const Shape shape = {size, random.between(0, 3), style};
    const auto fill = Fill(random.between(0, int(Fill::dense)));
    const Coded coded = encoder.encode(filled(fill, size, random), shape);
    const std::vector<int> segments = coded.segments(coded.passes);
    Bytes bytes = coded.bytes;
    if (bytes.empty()) continue;
    const size_t at = size_t(random.between(0, int(bytes.size()) - 1));
    bytes[at] = random.between(0, 4) == 0 ? 0xFF : uint8_t(random.between(0, 255));

    decoder.decode(bytes, segments, shape, coded.bitPlanes, coded.passes);
    const RkdStatus status = decoder.status;
    const Shape trusting = {size, shape.band, style & ~rkdCodeBlockPredTerm};
    const Coefficients data =
        decoder.decode(bytes, segments, trusting, coded.bitPlanes, coded.passes);
    ASSERT_EQ(rkdStsNoErr, decoder.status);
    const Coded again = encoder.encode(data, shape);
    if (again.bitPlanes != coded.bitPlanes) continue;
    const bool asSent = again.bytes == bytes && again.segments(again.passes) == segments;
    ++rounds;
    seen += status == rkdStsDataErr ? 1 : 0;
    if (asSent) {
      ASSERT_EQ(rkdStsNoErr, status) << shape;
    } else if (status == rkdStsNoErr) {
      ++otherwise;
      const bool leftOutOnes = (style & rkdCodeBlockBypass) != 0 &&  // and what pads them, 0x2A
                               again.bytes.size() == bytes.size() + 2;
      ASSERT_TRUE(leftOutOnes || mayBeWrittenOtherwise(bytes))
          << shape << " " << hex(bytes) << " for " << hex(again.bytes);
    }
  }
  EXPECT_GT(seen, rounds * 3 / 4) << "of " << rounds << ", raw values among them";
  EXPECT_LT(otherwise, rounds / 200) << "of " << rounds;
}

TEST(CodeBlockPredictableEnds, AreLookedForWhereASegmentEndsAndNowhereElse) {
  Random random;
  Encoder<Library> encoder;
  Decoder<Library> decoder;
  int seen = 0, cuts = 0;
  for (int round = 0; round < 40; ++round) {
    const Shape shape = {sz(20, 9), round % 4, rkdCodeBlockPredTerm};
    const Coded coded = encoder.encode(filled(Fill::picture, shape.size, random), shape);
    for (int cut = 1; cut < int(coded.bytes.size()); ++cut) {
      const Bytes bytes(coded.bytes.begin(), coded.bytes.end() - cut);
      const std::vector<int> one = {int(bytes.size())};
      decoder.decode(bytes, one, shape, coded.bitPlanes, coded.passes - 1);
      ASSERT_EQ(rkdStsNoErr, decoder.status) << "the last pass is to come";
      decoder.decode(bytes, one, shape, coded.bitPlanes, coded.passes);
      seen += decoder.status == rkdStsDataErr ? 1 : 0;
      ++cuts;
    }
  }
  EXPECT_GT(seen, cuts * 95 / 100);

  // Bytes behind the end are as wrong as bytes that are missing.
  for (const int with : {0, 0 + rkdCodeBlockTermAll, rkdCodeBlockTermAll | rkdCodeBlockBypass}) {
    const int style = rkdCodeBlockPredTerm | with;
    const Shape shape = {sz(20, 9), rkdBandHL, style};
    const Coded coded = encoder.encode(filled(Fill::dense, shape.size, random), shape);
    std::vector<int> segments = coded.segments(coded.passes);
    int end = 0;
    for (size_t i = 0; i < segments.size(); ++i) {
      end += segments[i];
      Bytes bytes = coded.bytes;
      bytes.insert(bytes.begin() + end, 0x12);
      std::vector<int> longer = segments;
      ++longer[i];
      decoder.decode(bytes, longer, shape, coded.bitPlanes, coded.passes);
      EXPECT_EQ(rkdStsDataErr, decoder.status) << "style " << style << " segment " << i;
      EXPECT_EQ(rkdStsDataErr, Library::step(bytes.data(), int(bytes.size()), 1, decoder.state));
    }
  }
}

}  // namespace
