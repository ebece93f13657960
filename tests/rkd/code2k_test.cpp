// The code-block coder: known blocks, every style and shape against the plain version, truncation,
// and what it refuses.
#include "blockkit.h"
#include "knownblocks.h"

using namespace blockkit;
using rkdkit::exhaustive;
using rkdkit::Random;
using rkdkit::sz;

namespace {

template <class Coder>
class CodeBlock : public testing::Test {};
using Coders = testing::Types<Library, Reference>;
TYPED_TEST_SUITE(CodeBlock, Coders);

TYPED_TEST(CodeBlock, MakesAndReadsKnownBlocks) {
  Encoder<TypeParam> encoder;
  Decoder<TypeParam> decoder;
  for (const KnownBlock& known : knownBlocks) {
    SCOPED_TRACE(known.name);
    const Coded coded = encoder.encode(known.data, known.shape);
    EXPECT_EQ(known.bitPlanes, coded.bitPlanes);
    EXPECT_EQ(known.passes, coded.passes);
    EXPECT_EQ(known.bytes, hex(coded.bytes));
    const std::vector<int> segments = coded.segments(coded.passes);
    if (!known.segments.empty()) {
      EXPECT_EQ(known.segments, segments);
    }
    EXPECT_EQ(known.data,
              decoder.decode(coded.bytes, segments, known.shape, known.bitPlanes, known.passes));
    EXPECT_EQ(rkdStsNoErr, decoder.status);
  }
}

TYPED_TEST(CodeBlock, ReadsSegmentsThatAnotherCoderEnded) {
  Decoder<TypeParam> decoder;
  const Shape low = {sz(1, 5), rkdBandLL, 0};
  EXPECT_EQ((Coefficients{-26, -22, -30, -32, -19}),
            decoder.decode(fromHex("018F0DC8757F"), {6}, low, 6, 16));
  const Shape high = {sz(1, 4), rkdBandLH, 0};
  EXPECT_EQ((Coefficients{1, 5, 1, 0}), decoder.decode(fromHex("0FB17F"), {3}, high, 3, 7));
}

TYPED_TEST(CodeBlock, TellsTheMiddleOfWhatIsStillPossible) {
  const auto known = std::find_if(knownBlocks.begin(), knownBlocks.end(), [](const auto& b) {
    return std::string(b.name) == "sparse8x8 HL";
  });
  ASSERT_NE(knownBlocks.end(), known);
  const Bytes bytes = fromHex(known->bytes);
  Decoder<TypeParam> decoder;
  for (const KnownStep& step : knownSteps) {
    SCOPED_TRACE(step.passes);
    const auto decode = [&](int unit) {
      Shape shape = known->shape;
      shape.style |= unit;
      return decoder.decode(bytes, {int(bytes.size())}, shape, known->bitPlanes, step.passes);
    };
    Coefficients want;
    for (const int32_t twice : step.twice) want.push_back(twice / 2);
    EXPECT_EQ(want, decode(0));
    EXPECT_EQ(step.twice, decode(rkdCodeBlockHalves));
  }
}

/// The squared error of the first passes' reconstruction.
double squaredError(const Coefficients& data, const Coefficients& got) {
  double sum = 0;
  for (size_t i = 0; i < data.size(); ++i) {
    const double error = double(data[i]) - double(got[i]);
    sum += error * error;
  }
  return sum;
}

/// One block, from all sides.
class Trial {
 public:
  void run(const Coefficients& data, const Shape& shape, int maxPasses, double leastGain = 0,
           int fewest = 0) {
    ASSERT_EQ(rkdStsNoErr, Library::setLeastGain(leastGain, fewest, encoder_.state));
    ASSERT_EQ(rkdStsNoErr, Reference::setLeastGain(leastGain, fewest, judge_.state));
    const Coded coded = encoder_.encode(data, shape, maxPasses);
    const Coded want = judge_.encode(data, shape, maxPasses);
    ASSERT_EQ(want.bitPlanes, coded.bitPlanes);
    ASSERT_EQ(want.passes, coded.passes);
    ASSERT_EQ(hex(want.bytes), hex(coded.bytes));
    for (size_t k = 0; k < coded.pass.size(); ++k) {
      ASSERT_NO_FATAL_FAILURE(compareLengths(want, coded, int(k) + 1, shape)) << "pass " << k;
      ASSERT_EQ(want.pass[k].terminated, coded.pass[k].terminated) << "pass " << k;
      ASSERT_NEAR(want.pass[k].distortion, coded.pass[k].distortion,
                  1e-9 * std::abs(want.pass[k].distortion) + 1e-9 * energy(data))
          << "pass " << k;
    }
    const bool whole = coded.passes == std::max(0, 3 * coded.bitPlanes - 2);
    for (const int passes : {coded.passes / 3, coded.passes * 2 / 3, coded.passes}) {
      const Coefficients got = truncated(coded, data, shape, passes);
      if (whole && passes == coded.passes) {
        ASSERT_EQ(data, got);
      }
    }
  }

 private:
  static double energy(const Coefficients& data) {
    return squaredError(data, Coefficients(data.size()));
  }

  /// The plain version finds lengths by halving. Around a carry more bytes can be worse than fewer,
  /// and it may miss the shortest: then its own decoder has to be content with ours.
  void compareLengths(const Coded& want, const Coded& coded, int passes, const Shape& shape) {
    const int length = coded.pass[size_t(passes) - 1].length;
    const int longest = want.pass[size_t(passes) - 1].length;
    ASSERT_LE(length, longest);
    if (length == longest) return;
    ASSERT_EQ(plain_.decode(want.firstBytes(passes), want.segments(passes), shape, want.bitPlanes,
                            passes),
              plain_.decode(coded.firstBytes(passes), coded.segments(passes), shape,
                            coded.bitPlanes, passes));
  }

  /// Stores so many passes and decodes them in one go, step by step, and by the plain version.
  Coefficients truncated(const Coded& coded, const Coefficients& data, const Shape& shape,
                         int passes) {
    SCOPED_TRACE(std::to_string(passes) + " passes");
    const Bytes bytes = encoder_.store(passes);
    EXPECT_EQ(hex(coded.firstBytes(passes)), hex(bytes));
    const std::vector<int> segments = coded.segments(passes);
    Coefficients got = decoder_.decode(bytes, segments, shape, coded.bitPlanes, passes);
    EXPECT_EQ(rkdStsNoErr, decoder_.status);
    EXPECT_EQ(plain_.decode(bytes, segments, shape, coded.bitPlanes, passes), got);

    double gain = 0;
    for (int k = 0; k < passes; ++k) gain += coded.pass[size_t(k)].distortion;
    EXPECT_NEAR(energy(data) - squaredError(data, got), gain, 1e-9 * energy(data));

    EXPECT_EQ(rkdStsNoErr,
              Library::start(int(bytes.size()), segments.data(), int(segments.size()), shape.size,
                             shape.band, shape.style, coded.bitPlanes, passes, decoder_.state));
    Coefficients stepped(data.size(), 1);
    for (int done = 0, next = 1; done < passes; done += next, next = next % 3 + 1) {
      EXPECT_EQ(rkdStsNoErr, Library::step(bytes.data(), int(bytes.size()), next, decoder_.state));
    }
    EXPECT_EQ(rkdStsNoErr, Library::get(stepped.data(), shape.size.width * 4, decoder_.state));
    EXPECT_EQ(got, stepped);
    return got;
  }

  Encoder<Library> encoder_;
  Encoder<Reference> judge_;
  Decoder<Library> decoder_;
  Decoder<Reference> plain_;
};

const std::vector<RkdiSize> smallSizes = {sz(1, 1), sz(1, 2), sz(2, 1),  sz(3, 3),  sz(4, 4),
                                          sz(5, 4), sz(4, 5), sz(7, 11), sz(16, 8), sz(13, 17)};
const std::vector<RkdiSize> largeSizes = {sz(64, 64),  sz(4, 1024), sz(1024, 4), sz(1, 1024),
                                          sz(1024, 1), sz(31, 63),  sz(819, 5)};

/// Every style with every size, and every pair with bands, data and where to stop.
void everyStyle(const std::vector<RkdiSize>& sizes, int firstStyle, int styleStep) {
  Random random;
  Trial trial;
  int turn = 0;
  for (const RkdiSize size : sizes) {
    for (int style = firstStyle; style < 64; style += styleStep) {
      const int first = turn++;
      for (int i = 0; i < (exhaustive() ? 4 * int(Fill::kinds) : 1); ++i) {
        const int band = (first + i) % 4;
        const auto fill = Fill((first / 4 + i) % int(Fill::kinds));
        const int maxPasses = (first + i) % 3 == 0 ? random.between(1, 40) : rkdCodeBlockMaxPasses;
        const Shape shape = {size, band, style};
        SCOPED_TRACE(testing::Message()
                     << shape << " data " << int(fill) << " until " << maxPasses);
        ASSERT_NO_FATAL_FAILURE(trial.run(filled(fill, size, random), shape, maxPasses));
        if (testing::Test::HasFailure()) return;
      }
    }
  }
}

TEST(CodeBlockStyles, SmallBlocksEqualThePlainVersionAtEveryLevel) {
  rkdkit::forEachLevel([] { everyStyle(smallSizes, 0, 1); });
}

TEST(CodeBlockStyles, LargeBlocksEqualThePlainVersionAtEveryLevel) {
  int levels = 0, first = 0;
  rkdkit::forEachLevel([&] { ++levels; });
  // Levels share the styles.
  rkdkit::forEachLevel([&] { everyStyle(largeSizes, first++, exhaustive() ? levels : 19); });
}

TEST(CodeBlockStyles, EndBehindPassesThatGainTooLittle) {
  Random random;
  rkdkit::forEachLevel([&] {
    Trial trial;
    Encoder<Library> encoder;
    int shorter = 0;
    for (int style = 0; style < 64; ++style) {
      const Shape shape = {smallSizes[size_t(style) % smallSizes.size()], style % 4, style};
      const auto fill = Fill(style / 4 % int(Fill::kinds));
      const Coefficients data = filled(fill, shape.size, random);
      const double gain = std::exp2(random.between(-2, fill < Fill::wide ? 20 : 60));
      const int fewest = random.between(0, 1) * random.between(0, 40);
      SCOPED_TRACE(testing::Message() << shape << " data " << int(fill) << " gain " << gain
                                      << ", at least " << fewest);
      ASSERT_NO_FATAL_FAILURE(trial.run(data, shape, rkdCodeBlockMaxPasses, gain, fewest));
      const Coded whole = encoder.encode(data, shape);
      ASSERT_EQ(rkdStsNoErr, Library::setLeastGain(gain, fewest, encoder.state));
      shorter += encoder.encode(data, shape).passes < whole.passes ? 1 : 0;
      ASSERT_EQ(rkdStsNoErr, Library::setLeastGain(0, 0, encoder.state));
    }
    EXPECT_GT(shorter, 16);
  });
}

TEST(CodeBlockStyles, LengthsLeaveOutOnesThatADecoderSupposes) {
  // Thirty planes of the same decisions: the code is a long row of ones, at some marks with a
  // carry.
  constexpr int32_t most = std::numeric_limits<int32_t>::max();
  Trial trial;
  for (int style = 0; style < 64; ++style) {
    for (const Coefficients& data : {Coefficients{most, 0}, {-most, most}, {0, -most}}) {
      const Shape shape = {sz(1, 2), style % 4, style};
      SCOPED_TRACE(testing::Message() << shape << " data " << data[0] << ", " << data[1]);
      ASSERT_NO_FATAL_FAILURE(trial.run(data, shape, rkdCodeBlockMaxPasses));
    }
  }
}

TEST(CodeBlockMemory, RowsAndStatesMayLieAnywhere) {
  Random random;
  const RkdiSize size = sz(21, 10);
  const Coefficients data = filled(Fill::picture, size, random);
  const Shape shape = {size, rkdBandHH, 0};
  const Coded want = Encoder<Reference>().encode(data, shape);
  int encodeSize = 0, decodeSize = 0;
  ASSERT_EQ(rkdStsNoErr, rkdiEncodeCodeBlockStateGetBufSize_JPEG2K(&encodeSize));
  ASSERT_EQ(rkdStsNoErr, rkdiDecodeCodeBlockStateGetBufSize_JPEG2K(&decodeSize));
  for (const rkdkit::Place place : rkdkit::places()) {
    // Canaries of the canvas stand around the states, too.
    rkdkit::Canvas<uint8_t> encodeMemory(sz(encodeSize, 1), 1, place);
    rkdkit::Canvas<uint8_t> decodeMemory(sz(decodeSize, 1), 1, place);
    rkdkit::Canvas<int32_t> src(size, 1, place), dst(size, 1, place);
    for (int y = 0; y < size.height; ++y) {
      for (int x = 0; x < size.width; ++x) src.set(x, y, data[size_t(y) * size.width + x]);
    }
    auto* const encode = reinterpret_cast<RkdiEncodeCodeBlockState*>(encodeMemory.data());
    auto* const decode = reinterpret_cast<RkdiDecodeCodeBlockState*>(decodeMemory.data());
    ASSERT_EQ(rkdStsNoErr, rkdiEncodeCodeBlockStateInit_JPEG2K(encode));
    ASSERT_EQ(rkdStsNoErr, rkdiDecodeCodeBlockStateInit_JPEG2K(decode));
    ASSERT_EQ(rkdStsNoErr,
              rkdiEncodeLoadCodeBlock_JPEG2K_32s_C1R(src.data(), src.step(), size, shape.band,
                                                     shape.style, rkdCodeBlockMaxPasses, encode));
    Bytes bytes(want.bytes.size() + 3, 0xA5);
    int position = 3;
    ASSERT_EQ(rkdStsNoErr, rkdiEncodeStoreBits_JPEG2K_1u(bytes.data(), int(bytes.size()), &position,
                                                         want.passes, encode));
    EXPECT_EQ(int(bytes.size()), position);
    EXPECT_EQ("A5A5A5" + hex(want.bytes), hex(bytes));
    const int length = int(want.bytes.size());
    ASSERT_EQ(rkdStsNoErr, rkdiDecodeCodeBlock_JPEG2K_1u32s_C1R(
                               want.bytes.data(), length, &length, 1, dst.data(), dst.step(), size,
                               shape.band, shape.style, want.bitPlanes, want.passes, decode));
    EXPECT_TRUE(dst.sameAs(src));
    for (const auto& result :
         {dst.marginIntact(), encodeMemory.marginIntact(), decodeMemory.marginIntact()}) {
      EXPECT_TRUE(result);
    }
  }
}

TEST(CodeBlockDamage, EndsWithAStatusOrWithSomeCoefficients) {
  Random random(11);
  Encoder<Library> encoder;
  Decoder<Library> decoder;
  Decoder<Reference> plain;
  int seen = 0;
  for (int round = 0; round < (exhaustive() ? 20000 : 1500); ++round) {
    const RkdiSize size = smallSizes[size_t(random.between(2, int(smallSizes.size()) - 1))];
    const Shape shape = {size, random.between(0, 3), random.between(0, 63)};
    const Coded coded =
        encoder.encode(filled(Fill(random.between(0, int(Fill::kinds) - 1)), size, random), shape);
    std::vector<int> segments = coded.segments(coded.passes);
    Bytes bytes = coded.bytes;
    if (bytes.empty()) continue;
    // Other bytes, many of them 0xFF, and segments of other lengths.
    for (int i = random.between(1, 4); i > 0; --i) {
      const bool ones = random.between(0, 2) == 0;
      bytes[size_t(random.between(0, int(bytes.size()) - 1))] =
          ones ? 0xFF : uint8_t(random.between(0, 255));
    }
    if (segments.size() > 1 && random.between(0, 1) == 0) {
      const size_t i = size_t(random.between(0, int(segments.size()) - 2));
      const int moved = random.between(-segments[i + 1], segments[i]);
      segments[i] -= moved;
      segments[i + 1] += moved;
    }
    const Coefficients want = plain.decode(bytes, segments, shape, coded.bitPlanes, coded.passes);
    const Coefficients got = decoder.decode(bytes, segments, shape, coded.bitPlanes, coded.passes);
    ASSERT_EQ(plain.status, decoder.status) << shape;
    ASSERT_EQ(want, got) << shape;
    seen += decoder.status == rkdStsDataErr ? 1 : 0;
  }
  EXPECT_GT(seen, 50) << "segmentation symbols show damage";
}

TEST(CodeBlockDamage, StopsStepsBehindAMissingMark) {
  Random random;
  const Shape shape = {sz(16, 16), rkdBandLH, rkdCodeBlockSegSym};
  const Coded coded = Encoder<Library>().encode(filled(Fill::dense, shape.size, random), shape);
  Bytes bytes = coded.bytes;
  for (size_t i = 8; i < bytes.size(); ++i) bytes[i] ^= 0x35;
  const int length = int(bytes.size());
  Decoder<Library> decoder;
  ASSERT_EQ(rkdStsNoErr, Library::start(length, &length, 1, shape.size, shape.band, shape.style,
                                        coded.bitPlanes, coded.passes, decoder.state));
  RkdStatus status = rkdStsNoErr;
  int steps = 0;
  while (status == rkdStsNoErr && steps++ < coded.passes) {
    status = Library::step(bytes.data(), length, 1, decoder.state);
  }
  ASSERT_EQ(rkdStsDataErr, status);
  Coefficients before(256), after(256);
  EXPECT_EQ(rkdStsNoErr, Library::get(before.data(), 64, decoder.state));
  EXPECT_EQ(rkdStsDataErr, Library::step(bytes.data(), length, 1, decoder.state));
  EXPECT_EQ(rkdStsNoErr, Library::get(after.data(), 64, decoder.state));
  EXPECT_EQ(before, after);
}

TEST(CodeBlockRefuses, WhatCannotBeEncoded) {
  Encoder<Library> encoder;
  const Coefficients data(4097, 5);
  const auto load = [&](RkdiSize size, int band, int style, int passes) {
    return Library::load(data.data(), std::max(1, size.width) * 4, size, band, style, passes,
                         encoder.state);
  };
  for (const RkdiSize size : {sz(0, 4), sz(4, -1), sz(1025, 1), sz(1, 1025), sz(64, 65)}) {
    EXPECT_EQ(rkdStsSizeErr, load(size, 0, 0, 1)) << size;
  }
  EXPECT_EQ(rkdStsBadArgErr, load(sz(4, 4), -1, 0, 1));
  EXPECT_EQ(rkdStsBadArgErr, load(sz(4, 4), 4, 0, 1));
  EXPECT_EQ(rkdStsBadArgErr, load(sz(4, 4), 0, 64, 1));
  EXPECT_EQ(rkdStsBadArgErr, load(sz(4, 4), 0, -1, 1));
  EXPECT_EQ(rkdStsBadArgErr, load(sz(4, 4), 0, rkdCodeBlockHalves, 1)) << "is a decoder's";
  EXPECT_EQ(rkdStsBadArgErr, load(sz(4, 4), 0, 0, 0));
  EXPECT_EQ(rkdStsStepErr, Library::load(data.data(), 15, sz(4, 4), 0, 0, 1, encoder.state));
  EXPECT_EQ(rkdStsNullPtrErr, Library::load(nullptr, 16, sz(4, 4), 0, 0, 1, encoder.state));
  EXPECT_EQ(rkdStsNullPtrErr, Library::load(data.data(), 16, sz(4, 4), 0, 0, 1, nullptr));
  const int32_t lowest = std::numeric_limits<int32_t>::min();
  EXPECT_EQ(rkdStsCoefRangeErr, Library::load(&lowest, 4, sz(1, 1), 0, 0, 1, encoder.state));

  EXPECT_EQ(rkdStsBadArgErr, Library::setLeastGain(-1, 0, encoder.state));
  EXPECT_EQ(rkdStsBadArgErr, Library::setLeastGain(std::nan(""), 0, encoder.state));
  EXPECT_EQ(rkdStsBadArgErr, Library::setLeastGain(1, -1, encoder.state));

  int planes = 0, passes = 0, position = 0;
  EXPECT_EQ(rkdStsContextErr, Library::info(&planes, &passes, encoder.state));
  const Coded coded = encoder.encode(data, {sz(8, 8), 0, 0});
  Bytes bytes(coded.bytes.size(), 0xA5);
  const Bytes untouched = bytes;
  const int length = int(bytes.size());
  EXPECT_EQ(rkdStsDstFullErr,
            Library::storeBits(bytes.data(), length - 1, &position, coded.passes, encoder.state));
  EXPECT_EQ(rkdStsBadArgErr,
            Library::storeBits(bytes.data(), length, &position, coded.passes + 1, encoder.state));
  EXPECT_EQ(rkdStsNoErr, Library::storeBits(bytes.data(), length, &position, 0, encoder.state));
  EXPECT_EQ(0, position);
  EXPECT_EQ(untouched, bytes);
  position = length + 1;
  EXPECT_EQ(rkdStsSizeErr, Library::storeBits(bytes.data(), length, &position, 0, encoder.state));
  RkdiCodeBlockPass info;
  EXPECT_EQ(rkdStsBadArgErr, Library::passInfo(coded.passes, &info, encoder.state));
  EXPECT_EQ(rkdStsBadArgErr, Library::passInfo(-1, &info, encoder.state));
}

TEST(CodeBlockRefuses, WhatCannotBeDecoded) {
  Decoder<Library> decoder;
  const Bytes bytes(10, 0x11);
  const auto status = [&](const std::vector<int>& lengths, int style, int planes, int passes) {
    decoder.decode(bytes, lengths, {sz(4, 4), 0, style}, planes, passes);
    return decoder.status;
  };
  EXPECT_EQ(rkdStsNoErr, status({}, 0, 0, 0));
  int32_t zero = 1;
  EXPECT_EQ(rkdStsNoErr,
            Library::decode(nullptr, 0, nullptr, 0, &zero, 4, sz(1, 1), 0, 0, 3, 0, decoder.state));
  EXPECT_EQ(0, zero);
  EXPECT_EQ(rkdStsNullPtrErr,
            Library::decode(nullptr, 1, nullptr, 0, &zero, 4, sz(1, 1), 0, 0, 3, 0, decoder.state));
  EXPECT_EQ(rkdStsNoErr, status({10}, 0, 31, 91));
  EXPECT_EQ(rkdStsBadArgErr, status({10}, 0, 32, 1));
  EXPECT_EQ(rkdStsNoErr, status({10}, rkdCodeBlockHalves, 30, 88));
  EXPECT_EQ(rkdStsBadArgErr, status({10}, rkdCodeBlockHalves, 31, 1)) << "no room for the half";
  EXPECT_EQ(rkdStsBadArgErr, status({10}, 0, -1, 0));
  EXPECT_EQ(rkdStsBadArgErr, status({10}, 0, 2, 5));
  EXPECT_EQ(rkdStsBadArgErr, status({11}, 0, 2, 4)) << "more bytes than there are";
  EXPECT_EQ(rkdStsBadArgErr, status({-1}, 0, 2, 4));
  EXPECT_EQ(rkdStsBadArgErr, status({2147483647, 2147483647}, rkdCodeBlockTermAll, 2, 2));
  EXPECT_EQ(rkdStsBadArgErr, status({}, 0, 2, 4)) << "passes without a segment";
  EXPECT_EQ(rkdStsBadArgErr, status({5, 5}, 0, 2, 4)) << "a segment without passes";
  EXPECT_EQ(rkdStsBadArgErr, status({2, 2, 2}, rkdCodeBlockTermAll, 2, 4));
  EXPECT_EQ(rkdStsNoErr, status({2, 2, 2, 0}, rkdCodeBlockTermAll, 2, 4));

  Coefficients got(16);
  Encoder<Library> encoder;
  auto* const other = reinterpret_cast<RkdiDecodeCodeBlockState*>(encoder.state.get());
  EXPECT_EQ(rkdStsContextErr, Library::get(got.data(), 16, other));
  Decoder<Library> fresh;
  EXPECT_EQ(rkdStsContextErr, Library::step(bytes.data(), 10, 1, fresh.state));
  EXPECT_EQ(rkdStsStepErr, Library::get(got.data(), 15, decoder.state));
  EXPECT_EQ(rkdStsSizeErr, Library::step(bytes.data(), 9, 1, decoder.state));
  EXPECT_EQ(rkdStsBadArgErr, Library::step(bytes.data(), 10, 0, decoder.state));
}

TEST(CodeBlockSegments, FollowTheStyle) {
  const auto passesOf = [](int style) {
    std::vector<int> counts;
    for (int pass = 0; pass < 20;) {
      int passes = 0;
      EXPECT_EQ(rkdStsNoErr, rkdiGetCodeBlockSegment_JPEG2K(pass, style, &passes));
      counts.push_back(passes);
      pass += passes;
    }
    return counts;
  };
  EXPECT_EQ((std::vector<int>{91}), passesOf(rkdCodeBlockReset | rkdCodeBlockPredTerm));
  EXPECT_EQ((std::vector<int>{10, 2, 1, 2, 1, 2, 1, 2}), passesOf(rkdCodeBlockBypass));
  EXPECT_EQ((std::vector<int>(20, 1)), passesOf(rkdCodeBlockBypass | rkdCodeBlockTermAll));
  int passes = 0;
  EXPECT_EQ(rkdStsBadArgErr, rkdiGetCodeBlockSegment_JPEG2K(91, 0, &passes));
  EXPECT_EQ(rkdStsBadArgErr, rkdiGetCodeBlockSegment_JPEG2K(0, 64, &passes));
  EXPECT_EQ(rkdStsNullPtrErr, rkdiGetCodeBlockSegment_JPEG2K(0, 0, nullptr));
}

}  // namespace
