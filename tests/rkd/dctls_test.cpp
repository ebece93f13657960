// Transforms between rows of samples and coefficients, and the reduced inverses: within 1 of the
// reference at every level, any place and step; the same bits at every level on any data.
#include <algorithm>
#include <functional>

#include "huffkit.h"
#include "rkd/rkdjpeg_dct.h"
#include "reference.h"
#include "rkdkit.h"

using namespace rkdkit;

namespace {

constexpr RkdiSize kBlock = {64, 1};
using Coefficients = Canvas<int16_t>;

template <class T>
constexpr int kLargest = sizeof(T) == 1 ? 255 : 4095;

struct Tables {
  uint16_t plain[RKD_QUANT_TABLE_LENGTH] = {};
  uint16_t forward[RKD_QUANT_TABLE_LENGTH] = {};
  explicit Tables(unsigned seed, int largest = 255) {
    Random random(seed);
    for (int i = 0; i < 64; ++i) plain[i] = static_cast<uint16_t>(random.between(1, largest));
    EXPECT_EQ(rkdiQuantFwdTableInit_JPEG_16u(plain, forward), rkdStsNoErr);
  }
};

// Samples of one of four kinds: noise, both limits, flat, a slope.
template <class T>
void fillSamples(Canvas<T>& samples, Random& random, int kind) {
  const int flat = random.between(0, kLargest<T>);
  int i = 0;
  samples.fill([&] {
    const int x = i % 8, y = i / 8;
    ++i;
    if (kind == 0) return random.between(0, kLargest<T>);
    if (kind == 1) return (random.bits() >> 31) != 0 ? kLargest<T> : 0;
    return kind == 2 ? flat : std::min(kLargest<T>, flat / 2 + (x + 2 * y) * kLargest<T> / 64);
  });
}

template <class T>
using Forward = RkdStatus (*)(const T*, int, int16_t*, const uint16_t*);
template <class T>
using Inverse = RkdStatus (*)(const int16_t*, T*, int, const uint16_t*);

// Results may be one off, but not all to the same side.
class Bias {
 public:
  template <class T>
  void add(const Canvas<T>& got, const Canvas<T>& want) {
    for (int y = 0; y < got.size().height; ++y) {
      for (int x = 0; x < got.perRow(); ++x) m_sum += double(got.at(x, y)) - double(want.at(x, y));
    }
    m_count += got.size().height * got.perRow();
  }
  double mean() const { return m_sum / m_count; }

 private:
  double m_sum = 0;
  int m_count = 0;
};

template <class T>
void expectForward(Forward<T> function, Forward<T> reference, const Tables& tables) {
  Bias bias;
  Random random;
  for (const Place place : places()) {
    for (int b = 0; b < 16; ++b) {
      Canvas<T> samples(sz(8, 8), 1, place);
      fillSamples(samples, random, b % 4);
      Coefficients got(kBlock, 1, {63 - place.offset, 0}), want(kBlock);
      const uint16_t* table = b < 8 ? tables.plain : tables.forward;
      ASSERT_EQ(function(samples.data(), samples.step(), got.data(), table), rkdStsNoErr);
      reference(samples.data(), samples.step(), want.data(), table);
      ASSERT_TRUE(got.sameAs(want, 1)) << "alignment " << place.offset << " kind " << b % 4;
      ASSERT_TRUE(got.marginIntact());
      bias.add(got, want);
    }
  }
  EXPECT_LT(std::abs(bias.mean()), 0.015);
}

// N samples a row from blocks of real samples, of which the low KxK coefficients are kept.
template <class T>
void expectInverse(Inverse<T> function, Inverse<T> reference, int N, int K) {
  const Tables tables(2, 99);
  Bias bias;
  Random random;
  const auto toBlock = [&](Canvas<uint8_t>& samples, int16_t* block) {
    ref::rkdiDCTQuantFwd8x8LS_JPEG_8u16s_C1R(samples.data(), samples.step(), block, tables.plain);
  };
  for (const Place place : places()) {
    for (int b = 0; b < 16; ++b) {
      Canvas<uint8_t> samples(sz(8, 8));
      fillSamples(samples, random, b % 4);
      int16_t block[64];
      toBlock(samples, block);
      // What lies outside the kept coefficients must not be looked at.
      for (int i = 0; i < 64; ++i) {
        if (i / 8 >= K || i % 8 >= K) block[i] = static_cast<int16_t>(random.bits());
        if (sizeof(T) == 2) block[i] = static_cast<int16_t>(block[i] * 12);
      }
      Coefficients src(kBlock, 1, {place.offset, 0});
      int i = 0;
      src.fill([&] { return block[i++]; });
      Canvas<T> got(sz(N, N), 1, {63 - place.offset, place.padding}), want(sz(N, N));
      ASSERT_EQ(function(src.data(), got.data(), got.step(), tables.plain), rkdStsNoErr);
      reference(src.data(), want.data(), want.step(), tables.plain);
      ASSERT_TRUE(got.sameAs(want, 1)) << "alignment " << place.offset << " kind " << b % 4;
      ASSERT_TRUE(got.marginIntact());
      bias.add(got, want);
    }
  }
  // Flat blocks meet many halves, which may go either way; cutting would come to a half.
  EXPECT_LT(std::abs(bias.mean()), 0.25);
}

// Quantisers of all sizes, and ones, which hide nothing of the transform.
TEST(DctRows, ForwardIsWithinOneOfTheReference) {
  forEachLevel([] {
    for (const Tables& tables : {Tables(1), Tables(1, 1)}) {
      expectForward<uint8_t>(rkdiDCTQuantFwd8x8LS_JPEG_8u16s_C1R,
                             ref::rkdiDCTQuantFwd8x8LS_JPEG_8u16s_C1R, tables);
      expectForward<uint16_t>(rkdiDCTQuantFwd8x8LS_JPEG_16u16s_C1R,
                              ref::rkdiDCTQuantFwd8x8LS_JPEG_16u16s_C1R, tables);
    }
  });
}

// Before quantisation; samples that put the most into one coefficient among them.
template <class T>
void expectExact(Forward<T> function, double meanSquare) {
  const Tables ones(1, 1);
  constexpr int middle = (kLargest<T> + 1) / 2;
  Random random;
  double worst = 0, squares = 0;
  constexpr int kBlocks = 4096;
  for (int b = 0; b < kBlocks; ++b) {
    Canvas<T> samples(sz(8, 8));
    fillSamples(samples, random, b % 4);
    if (b % 4 == 3) {  // the signs of one wave
      double wave[64] = {};
      wave[b / 4 % 64] = 1000;
      ref::dctInverse(wave, wave);
      for (int i = 0; i < 64; ++i) samples.set(i % 8, i / 8, wave[i] > 0 ? kLargest<T> : 0);
    }
    double exact[64];
    for (int i = 0; i < 64; ++i) exact[i] = samples.at(i % 8, i / 8) - middle;
    ref::dctForward(exact, exact);
    int16_t got[64];
    ASSERT_EQ(function(samples.data(), samples.step(), got, ones.plain), rkdStsNoErr);
    for (int i = 0; i < 64; ++i) {
      const double error = got[i] - exact[i];
      worst = std::max(worst, std::abs(error));
      squares += error * error;
    }
  }
  EXPECT_LE(worst, 1 + 1e-9);  // the 1e-9 for the doubles
  EXPECT_LE(squares / (64.0 * kBlocks), meanSquare);
}

TEST(DctRows, ForwardIsWithinOneOfTheExactTransform) {
  forEachLevel([] {
    expectExact<uint8_t>(rkdiDCTQuantFwd8x8LS_JPEG_8u16s_C1R, 0.05);
    expectExact<uint16_t>(rkdiDCTQuantFwd8x8LS_JPEG_16u16s_C1R, 0.06);
  });
}

// An inverse to NxN samples that looks at the low KxK coefficients.
template <class T>
struct InverseCase {
  Inverse<T> function, reference;
  int N, K;
};
constexpr InverseCase<uint8_t> kBytes[] = {
    {rkdiDCTQuantInv8x8LS_JPEG_16s8u_C1R, ref::rkdiDCTQuantInv8x8LS_JPEG_16s8u_C1R, 8, 8},
    {rkdiDCTQuantInv8x8LS_4x4_JPEG_16s8u_C1R, ref::rkdiDCTQuantInv8x8LS_4x4_JPEG_16s8u_C1R, 8, 4},
    {rkdiDCTQuantInv8x8LS_2x2_JPEG_16s8u_C1R, ref::rkdiDCTQuantInv8x8LS_2x2_JPEG_16s8u_C1R, 8, 2},
    {rkdiDCTQuantInv8x8LS_1x1_JPEG_16s8u_C1R, ref::rkdiDCTQuantInv8x8LS_1x1_JPEG_16s8u_C1R, 8, 1},
    {rkdiDCTQuantInv8x8To4x4LS_JPEG_16s8u_C1R, ref::rkdiDCTQuantInv8x8To4x4LS_JPEG_16s8u_C1R, 4, 4},
    {rkdiDCTQuantInv8x8To2x2LS_JPEG_16s8u_C1R, ref::rkdiDCTQuantInv8x8To2x2LS_JPEG_16s8u_C1R, 2, 2},
    {[](const int16_t* src, uint8_t* dst, int step, const uint16_t*) {
       return rkdiDCT8x8InvLS_JPEG_16s8u_C1R(src, dst, step);
     },
     [](const int16_t* src, uint8_t* dst, int step, const uint16_t*) {
       return ref::rkdiDCT8x8InvLS_JPEG_16s8u_C1R(src, dst, step);
     },
     8, 8}};
constexpr InverseCase<uint16_t> kTwelveBits[] = {
    {rkdiDCTQuantInv8x8LS_JPEG_16s16u_C1R, ref::rkdiDCTQuantInv8x8LS_JPEG_16s16u_C1R, 8, 8}};

TEST(DctRows, InversesAreWithinOneAndLookAtTheirCoefficientsOnly) {
  forEachLevel([] {
    for (const auto& c : kBytes) expectInverse(c.function, c.reference, c.N, c.K);
    for (const auto& c : kTwelveBits) expectInverse(c.function, c.reference, c.N, c.K);
  });
}

template <class T>
void expectEveryWave(const InverseCase<T>& c) {
  const Tables ones(1, 1);
  for (int k = 1; k < 64; ++k) {
    if (k / 8 >= c.K || k % 8 >= c.K) continue;
    for (const int value : {-700, 700}) {
      for (const int first : {0, 200}) {
        int16_t block[64] = {};
        block[0] = static_cast<int16_t>(first);
        block[k] = static_cast<int16_t>(value);
        Canvas<T> got(sz(c.N, c.N)), want(sz(c.N, c.N));
        ASSERT_EQ(c.function(block, got.data(), got.step(), ones.plain), rkdStsNoErr);
        c.reference(block, want.data(), want.step(), ones.plain);
        ASSERT_TRUE(got.sameAs(want, 1)) << "coefficient " << k << " of " << c.K << 'x' << c.K;
      }
    }
  }
}

// Blocks of one wave: short cuts for blocks with few coefficients must see each of the others.
TEST(DctRows, OneCoefficientBesideTheFirstIsNeverOverlooked) {
  forEachLevel([&] {
    for (const auto& c : kBytes) expectEveryWave(c);
    for (const auto& c : kTwelveBits) expectEveryWave(c);
  });
}

template <class T>
void expectLimits(const InverseCase<T>& c) {
  const Tables ones(1, 1);
  constexpr int middle = (kLargest<T> + 1) / 2;
  for (const bool isFlat : {true, false}) {
    for (const int far : {1, 2, 3, middle / 2}) {  // samples beyond the limit
      for (const bool isHigh : {false, true}) {
        int16_t block[64] = {};
        block[0] = static_cast<int16_t>(8 * (isHigh ? middle - 1 + far : -middle - far));
        // A wave too small to bring a sample back inside.
        if (!isFlat && c.K > 1) block[1] = static_cast<int16_t>(far == 1 ? 2 : 4);
        // The judge, too: within a tolerance of one it would let samples of 4096 pass.
        for (const auto function : {c.function, c.reference}) {
          Canvas<T> got(sz(c.N, c.N)), want(sz(c.N, c.N));
          want.fill([&] { return isHigh ? kLargest<T> : 0; });
          ASSERT_EQ(function(block, got.data(), got.step(), ones.plain), rkdStsNoErr);
          ASSERT_TRUE(got.sameAs(want)) << far << " beyond";
        }
      }
    }
  }
}

// What the transform has beyond the ends of the samples' range stays at the ends, by one or by far.
TEST(DctRows, SamplesBeyondTheirRangeAreItsEnds) {
  forEachLevel([&] {
    for (const auto& c : kBytes) expectLimits(c);
    for (const auto& c : kTwelveBits) expectLimits(c);
  });
}

// A reduced inverse equals the full one where the other coefficients are zero: not about right, but
// the same samples, so that a decoder may choose by what it knows of a block.
TEST(DctRows, ReducedInversesEqualTheFullOneBitForBit) {
  const Tables tables(3);
  forEachLevel([&] {
    Random random;
    for (int b = 0; b < 300; ++b) {
      int16_t block[64] = {};
      const int K = 1 << (b % 3);
      for (int i = 0; i < 64; ++i) {
        if (i / 8 < K && i % 8 < K) block[i] = static_cast<int16_t>(random.between(-20, 20));
      }
      uint8_t full[64], reduced[64];
      rkdiDCTQuantInv8x8LS_JPEG_16s8u_C1R(block, full, 8, tables.plain);
      const auto function = K == 1   ? rkdiDCTQuantInv8x8LS_1x1_JPEG_16s8u_C1R
                            : K == 2 ? rkdiDCTQuantInv8x8LS_2x2_JPEG_16s8u_C1R
                                     : rkdiDCTQuantInv8x8LS_4x4_JPEG_16s8u_C1R;
      function(block, reduced, 8, tables.plain);
      ASSERT_TRUE(std::equal(full, full + 64, reduced)) << K << "x" << K;
      // A block of the first coefficient alone takes a short cut in one of the two.
      int16_t flat[64] = {static_cast<int16_t>(random.bits() >> (16 + b % 12))};
      rkdiDCTQuantInv8x8LS_JPEG_16s8u_C1R(flat, full, 8, tables.plain);
      rkdiDCTQuantInv8x8LS_4x4_JPEG_16s8u_C1R(flat, reduced, 8, tables.plain);
      ASSERT_TRUE(std::equal(full, full + 64, reduced)) << "first coefficient " << flat[0];
    }
  });
}

// Many blocks in one call are the same samples, whatever is told of where their coefficients end as
// long as it is true, and nothing beside them changes.
TEST(DctRows, ManyBlocksEqualThoseOneByOneBitForBit) {
  const Tables tables(5);
  forEachLevel([&] {
    Random random;
    for (const int count : {1, 2, 7, 63, 64, 65, 150}) {
      for (const int advance : {8, 16}) {
        const size_t apart = 64 + 8 * size_t(count % 3);
        std::vector<int16_t> blocks(apart * size_t(count));
        std::vector<uint8_t> last(2 * size_t(count), 99);
        const int width = advance * (count - 1) + 8;
        Canvas<uint8_t> want(sz(width, 8), 1, {count % 64, 1}),
            got(sz(width, 8), 1, {count % 64, 1});
        for (int b = 0; b < count; ++b) {
          int16_t* const block = &blocks[apart * size_t(b)];
          const int end =
              std::array{0, 0, 1, 2, 5, 9, 10, 14, 20, 63}[size_t(random.between(0, 9))];
          for (int k = 0; k <= end; ++k) {
            const int most = k == 0 ? 60 : 9;
            block[huffkit::zigzag[static_cast<size_t>(k)]] =
                static_cast<int16_t>(random.between(-most, most));
          }
          last[2 * size_t(b)] =
              static_cast<uint8_t>(std::min(63, end + random.between(0, 1) * b % 5));
          rkdiDCTQuantInv8x8LS_JPEG_16s8u_C1R(block, want.data() + advance * b, want.step(),
                                              tables.plain);
        }
        ASSERT_EQ(rkdStsNoErr, rkdiDCTQuantInvBlocks8x8LS_JPEG_16s8u_C1R(
                                   blocks.data(), static_cast<int>(2 * apart), last.data(), 2,
                                   got.data(), got.step(), advance, count, tables.plain));
        ASSERT_TRUE(got.sameAs(want)) << count << " blocks, " << advance << " apart";
      }
    }
  });
}

// With rows of samples as with contiguous blocks.
TEST(DctRows, RowsEqualContiguousBlocks) {
  const Tables tables(4);
  forEachLevel([&] {
    Random random;
    for (int b = 0; b < 100; ++b) {
      Canvas<uint8_t> samples(sz(8, 8), 1, {b % 64, b % 5});
      fillSamples(samples, random, b % 4);
      int16_t shifted[64], fromRows[64], plain[64];
      rkdiSub128_JPEG_8u16s_C1R(samples.data(), samples.step(), shifted, 16, {8, 8});
      rkdiDCT8x8FwdLS_JPEG_8u16s_C1R(samples.data(), samples.step(), fromRows);
      rkdiDCT8x8Fwd_JPEG_16s_C1(shifted, plain);
      ASSERT_TRUE(std::equal(plain, plain + 64, fromRows));
      uint8_t want[64], got[64];
      rkdiDCT8x8InvLS_JPEG_16s8u_C1R(plain, got, 8);
      rkdiDCT8x8Inv_JPEG_16s_C1I(plain);
      rkdiAdd128_JPEG_16s8u_C1R(plain, 16, want, 8, {8, 8});
      ASSERT_TRUE(std::equal(want, want + 64, got));
    }
  });
}

// Everything that the functions make of data of any kind, beyond their ranges too.
std::vector<int> resultsOnWildData() {
  std::vector<int> results;
  Random random(17);
  const auto keep = [&](const auto& values) {
    results.insert(results.end(), std::begin(values), std::end(values));
  };
  for (int b = 0; b < 200; ++b) {
    uint16_t table[RKD_QUANT_TABLE_LENGTH];
    for (uint16_t& entry : table) entry = static_cast<uint16_t>(random.bits() >> (16 + b % 12));
    int16_t block[64], coefficients[64];
    for (int16_t& c : block)
      c = static_cast<int16_t>(static_cast<int>(random.bits()) >> (16 + b % 8));
    uint16_t wide[64];
    for (uint16_t& s : wide) s = static_cast<uint16_t>(random.bits() >> 16);
    rkdiDCTQuantFwd8x8LS_JPEG_16u16s_C1R(wide, 16, coefficients, table);
    keep(coefficients);
    rkdiDCTQuantInv8x8LS_JPEG_16s16u_C1R(block, wide, 16, table);
    keep(wide);
    for (const auto function : std::array{
             rkdiDCTQuantInv8x8LS_JPEG_16s8u_C1R, rkdiDCTQuantInv8x8LS_4x4_JPEG_16s8u_C1R,
             rkdiDCTQuantInv8x8LS_2x2_JPEG_16s8u_C1R, rkdiDCTQuantInv8x8LS_1x1_JPEG_16s8u_C1R,
             rkdiDCTQuantInv8x8To4x4LS_JPEG_16s8u_C1R, rkdiDCTQuantInv8x8To2x2LS_JPEG_16s8u_C1R}) {
      uint8_t samples[64] = {};
      function(block, samples, 8, table);
      keep(samples);
    }
  }
  return results;
}

TEST(DctRows, AllLevelsGiveTheSameBitsOnAnyData) {
  std::vector<int> first;
  forEachLevel([&] {
    const std::vector<int> results = resultsOnWildData();
    if (first.empty()) first = results;
    const auto at = std::mismatch(first.begin(), first.end(), results.begin()).first;
    EXPECT_EQ(at, first.end()) << "first difference in value " << at - first.begin();
  });
}

}  // namespace
