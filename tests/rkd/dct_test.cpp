// Transforms and quantisation: accuracy against exact arithmetic, the same bits at every level
// inside and outside the stated range, any alignment, in place and not.
#include <algorithm>
#include <cmath>
#include <functional>
#include <map>
#include <string>

#include "jpeg_dct_vectors.h"
#include "rkd/rkdjpeg_dct.h"
#include "reference.h"
#include "rkdkit.h"

using namespace rkdkit;

namespace {

using Coefficients = Canvas<int16_t>;
constexpr RkdiSize kBlock = {64, 1};

// Blocks of one range: noise, both limits at random, flat, and the worst of each frequency.
class BlockSource {
 public:
  BlockSource(int low, int high, unsigned seed = 7) : m_low(low), m_high(high), m_random(seed) {}
  void next(int16_t (&block)[64]) {
    const int kind = m_count % 8;
    const int level = m_random.between(m_low, m_high);
    for (int i = 0; i < 64; ++i) {
      if (kind < 4) {
        block[i] = static_cast<int16_t>(m_random.between(m_low, m_high));
      } else if (kind == 4) {
        block[i] = static_cast<int16_t>((m_random.bits() >> 31) != 0 ? m_high : m_low);
      } else if (kind == 5) {
        block[i] = static_cast<int16_t>(level);
      } else if (kind == 6) {
        const int near = level + m_random.between(-9, 9);
        block[i] = static_cast<int16_t>(std::clamp(near, m_low, m_high));
      } else {
        block[i] = static_cast<int16_t>(basisSign(m_count / 8 % 64, i) ? m_high : m_low);
      }
    }
    ++m_count;
  }

 private:
  static bool basisSign(int frequency, int i) {
    const double pi = 3.14159265358979;
    const int x = i % 8, y = i / 8, u = frequency % 8, v = frequency / 8;
    return std::cos((2 * x + 1) * u * pi / 16) * std::cos((2 * y + 1) * v * pi / 16) > 0;
  }
  int m_low, m_high, m_count = 0;
  Random m_random;
};

struct Table {
  uint16_t entry[RKD_QUANT_TABLE_LENGTH] = {};
};
// Quantisers that differ in every entry, from 1 to 255, powers of two among them.
Table quantisers(unsigned seed) {
  Random random(seed);
  Table table;
  for (int i = 0; i < 64; ++i) {
    table.entry[i] =
        static_cast<uint16_t>(i % 4 == 0 ? 1 << (random.bits() >> 29)
                                         : random.between(1, 1 << random.between(1, 8)) & 255);
    table.entry[i] = std::max<uint16_t>(table.entry[i], 1);
  }
  return table;
}
Table built(const Table& from) {
  Table table;
  EXPECT_EQ(rkdiQuantFwdTableInit_JPEG_16u(from.entry, table.entry), rkdStsNoErr);
  return table;
}

// ---- accuracy ----

TEST(Dct, ForwardIsWithinOneOfTheExactTransform) {
  const int blocks = exhaustive() ? 1000000 : 40000;
  forEachLevel([&] {
    const int count = onLowestLevel() ? blocks / 8 : blocks;  // slow, and the same bits
    for (const int high : {127, 511}) {
      BlockSource source(-high - 1, high);
      double worst = 0, sum = 0;
      for (int b = 0; b < count; ++b) {
        int16_t samples[64], got[64];
        source.next(samples);
        double exact[64];
        std::copy(samples, samples + 64, exact);
        ref::dctForward(exact, exact);
        ASSERT_EQ(rkdiDCT8x8Fwd_JPEG_16s_C1(samples, got), rkdStsNoErr);
        for (int i = 0; i < 64; ++i) {
          const double error = got[i] - exact[i];
          worst = std::max(worst, std::abs(error));
          sum += error;
        }
      }
      EXPECT_LE(worst, 1.0) << "samples up to " << high;
      EXPECT_LT(std::abs(sum / (64.0 * count)), 0.0015) << "samples up to " << high;
    }
  });
}

// The generator of IEEE 1180-1990.
class Ieee1180 {
 public:
  int next(int low, int high) {
    m_state = static_cast<int32_t>(static_cast<uint32_t>(m_state) * 1103515245u + 12345u);
    const double x = (m_state & 0x7ffffffe) / 2147483647.0 * (low + high + 1);
    return static_cast<int>(x) - low;
  }

 private:
  int32_t m_state = 1;
};

using Inverse = std::function<void(const int16_t*, int16_t*)>;

void expectIeee1180(const Inverse& inverse, int low, int high, int sign) {
  constexpr int kBlocks = 10000;
  Ieee1180 generator;
  double mean[64] = {}, square[64] = {};
  int peak = 0;
  for (int b = 0; b < kBlocks; ++b) {
    double exact[64];
    for (double& sample : exact) sample = sign * generator.next(low, high);
    ref::dctForward(exact, exact);
    int16_t coefficients[64], got[64];
    for (int i = 0; i < 64; ++i) {
      coefficients[i] = static_cast<int16_t>(std::clamp(std::round(exact[i]), -2048.0, 2047.0));
    }
    std::copy(coefficients, coefficients + 64, exact);
    ref::dctInverse(exact, exact);
    inverse(coefficients, got);
    for (int i = 0; i < 64; ++i) {
      const int want = static_cast<int>(std::clamp(std::round(exact[i]), -256.0, 255.0));
      const int error = std::clamp<int>(got[i], -256, 255) - want;
      peak = std::max(peak, std::abs(error));
      mean[i] += error;
      square[i] += error * error;
    }
  }
  double worstMean = 0, worstSquare = 0, allMean = 0, allSquare = 0;
  for (int i = 0; i < 64; ++i) {
    worstMean = std::max(worstMean, std::abs(mean[i]) / kBlocks);
    worstSquare = std::max(worstSquare, square[i] / kBlocks);
    allMean += mean[i] / (64.0 * kBlocks);
    allSquare += square[i] / (64.0 * kBlocks);
  }
  EXPECT_LE(peak, 1);
  EXPECT_LE(worstSquare, 0.06);
  EXPECT_LE(allSquare, 0.02);
  EXPECT_LE(worstMean, 0.015);
  EXPECT_LE(std::abs(allMean), 0.0015);
}

TEST(Dct, InverseKeepsTheLimitsOfIeee1180) {
  forEachLevel([] {
    const Inverse inverse = [](const int16_t* src, int16_t* dst) {
      rkdiDCT8x8Inv_JPEG_16s_C1(src, dst);
    };
    for (const int sign : {1, -1}) {
      SCOPED_TRACE(sign);
      expectIeee1180(inverse, 256, 255, sign);
      expectIeee1180(inverse, 5, 5, sign);
      expectIeee1180(inverse, 300, 300, sign);
    }
    int16_t zero[64] = {}, got[64];
    for (const auto function : {rkdiDCT8x8Fwd_JPEG_16s_C1, rkdiDCT8x8Inv_JPEG_16s_C1}) {
      function(zero, got);
      EXPECT_TRUE(std::all_of(got, got + 64, [](int v) { return v == 0; }));
    }
  });
}

// ---- quantisation ----

TEST(Quantisation, IsExactForEveryQuantiserAndCoefficient) {
  const int step = exhaustive() ? 1 : 97;
  forEachLevel([&] {
    for (int q = 1; q <= 32767; q += q < 300 ? 1 : step * 3) {
      Table table;
      std::fill(table.entry, table.entry + 64, static_cast<uint16_t>(q));
      const Table marked = built(table);
      int16_t block[64], byDivision[64], want[64];
      Random random(static_cast<unsigned>(q));
      for (int i = 0; i < 64; ++i) {
        // Around the middles between multiples, where rounding decides, and the ends of the range.
        const int multiple = random.between(-(16384 / q) - 1, 16384 / q);
        const int x = multiple * q + q / 2 + random.between(-1, 1);
        block[i] =
            static_cast<int16_t>(i < 2 ? (i == 0 ? 16384 : -16384) : std::clamp(x, -16384, 16384));
        want[i] = static_cast<int16_t>(std::round(double(block[i]) / q));
      }
      std::copy(block, block + 64, byDivision);
      rkdiQuantFwd8x8_JPEG_16s_C1I(block, marked.entry);
      rkdiQuantFwd8x8_JPEG_16s_C1I(byDivision, table.entry);
      ASSERT_TRUE(std::equal(block, block + 64, want)) << "divided by " << q;
      ASSERT_TRUE(std::equal(byDivision, byDivision + 64, want)) << q << " without derived values";
    }
  });
}

// A table may differ from all ones in any single entry.
TEST(Quantisation, LooksAtEveryEntry) {
  forEachLevel([] {
    BlockSource source(-512, 511);
    for (int k = 0; k < 64; ++k) {
      Table table;
      std::fill(table.entry, table.entry + 64, uint16_t{1});
      table.entry[k] = 7;
      const Table marked = built(table);
      for (const Table* t : std::array<const Table*, 2>{&table, &marked}) {
        int16_t block[64], want[64];
        std::fill(block, block + 64, int16_t{100});
        std::fill(want, want + 64, int16_t{100});
        want[k] = 14;
        rkdiQuantFwd8x8_JPEG_16s_C1I(block, t->entry);
        ASSERT_TRUE(std::equal(block, block + 64, want)) << "entry " << k;
        std::fill(block, block + 64, int16_t{-3});
        rkdiQuantInv8x8_JPEG_16s_C1I(block, t->entry);
        EXPECT_EQ(std::count(block, block + 64, -3), 63);
        EXPECT_EQ(block[k], -21);
        // The same table behind a transform.
        int16_t samples[64], one[64];
        source.next(samples);
        rkdiDCTQuantFwd8x8_JPEG_16s_C1(samples, one, t->entry);
        rkdiDCT8x8Fwd_JPEG_16s_C1(samples, block);
        rkdiQuantFwd8x8_JPEG_16s_C1I(block, t->entry);
        ASSERT_TRUE(std::equal(block, block + 64, one)) << "entry " << k;
      }
    }
  });
}

TEST(Quantisation, TablesAreRefusedWhole) {
  uint16_t quantiser[64];
  std::fill(quantiser, quantiser + 64, uint16_t{9});
  uint16_t table[RKD_QUANT_TABLE_LENGTH];
  const auto untouched = [&] {
    return std::all_of(std::begin(table), std::end(table), [](int v) { return v == 7; });
  };
  std::fill(std::begin(table), std::end(table), uint16_t{7});
  quantiser[63] = 0;
  EXPECT_EQ(rkdiQuantFwdTableInit_JPEG_16u(quantiser, table), rkdStsQuantTableErr);
  EXPECT_EQ(rkdiQuantInvTableInit_JPEG_16u(quantiser, table), rkdStsQuantTableErr);
  quantiser[63] = 32768;
  EXPECT_EQ(rkdiQuantFwdTableInit_JPEG_16u(quantiser, table), rkdStsQuantTableErr);
  uint8_t small[64] = {1};
  EXPECT_EQ(rkdiQuantFwdTableInit_JPEG_8u16u(small, table), rkdStsQuantTableErr);
  EXPECT_EQ(rkdiQuantInvTableInit_JPEG_8u16u(small, table), rkdStsQuantTableErr);
  EXPECT_TRUE(untouched());
  EXPECT_EQ(rkdiQuantInvTableInit_JPEG_16u(quantiser, table), rkdStsNoErr);
  EXPECT_EQ(table[63], 32768);
  // In place.
  quantiser[63] = 11;
  std::copy(quantiser, quantiser + 64, table);
  EXPECT_EQ(rkdiQuantFwdTableInit_JPEG_16u(table, table), rkdStsNoErr);
  EXPECT_TRUE(std::equal(quantiser, quantiser + 64, table));
}

// ---- published vectors ----

TEST(Dct, AgreesWithIndependentVectors) {
  Table luminance;
  std::copy(std::begin(kVectorQuantisers), std::end(kVectorQuantisers), luminance.entry);
  const Table table = built(luminance);
  for (const ForwardVector& v : kForwardVectors) {
    SCOPED_TRACE(v.name);
    int16_t got[64];
    rkdiDCTQuantFwd8x8_JPEG_16s_C1(v.samples, got, table.entry);
    for (int i = 0; i < 64; ++i) {
      if (got[i] == v.quantised[i]) continue;
      // Off by one only where the transform is about that close to the middle of two quotients.
      EXPECT_EQ(std::abs(got[i] - v.quantised[i]), 1) << i;
      const double middle = (got[i] + v.quantised[i]) * 0.5 * luminance.entry[i];
      EXPECT_LE(std::abs(v.dct[i] - middle), 0.75) << i;
    }
  }
  for (const InverseVector& v : kInverseVectors) {
    int16_t got[64];
    rkdiDCT8x8Inv_JPEG_16s_C1(v.coefficients, got);
    for (int i = 0; i < 64; ++i)
      EXPECT_NEAR(std::clamp(got[i] + 128, 0, 255), v.samples[i], 1) << i;
  }
}

// ---- every level, any place, any data ----

// Runs a function of contiguous blocks everywhere: (operand in, operand out) with the places of
// both.
using BlockFunction = std::function<RkdStatus(const int16_t* src, int16_t* dst)>;

void expectWithinOne(const BlockFunction& function, const BlockFunction& reference, int low,
                     int high) {
  BlockSource source(low, high);
  for (const int offset : alignments()) {
    for (int b = 0; b < 24; ++b) {
      int16_t block[64];
      source.next(block);
      Coefficients src(kBlock, 1, {offset, 0}), got(kBlock, 1, {63 - offset, 0}), want(kBlock);
      int i = 0;
      src.fill([&] { return block[i++]; });
      ASSERT_EQ(function(src.data(), got.data()), reference(src.data(), want.data()));
      ASSERT_TRUE(got.sameAs(want, 1)) << "alignment " << offset;
      ASSERT_TRUE(got.marginIntact());
      ASSERT_EQ(function(src.data(), src.data()), rkdStsNoErr);
      ASSERT_TRUE(src.sameAs(got) && src.marginIntact()) << "in place, alignment " << offset;
    }
  }
}

TEST(Dct, EveryLevelIsWithinOneOfTheReferenceInPlaceAndNot) {
  const Table plain = quantisers(3);
  const Table marked = built(plain);
  Table all;
  std::fill(std::begin(all.entry), std::end(all.entry), uint16_t{1});
  const Table ones = all;
  const auto with = [](auto function, const Table& table) -> BlockFunction {
    return [=](const int16_t* src, int16_t* dst) { return function(src, dst, table.entry); };
  };
  forEachLevel([&] {
    for (const Table* table : std::array{&plain, &marked, &ones}) {
      expectWithinOne(with(rkdiDCTQuantFwd8x8_JPEG_16s_C1, *table),
                      with(ref::rkdiDCTQuantFwd8x8_JPEG_16s_C1, *table), -512, 511);
    }
    expectWithinOne(rkdiDCT8x8Fwd_JPEG_16s_C1, ref::rkdiDCT8x8Fwd_JPEG_16s_C1, -512, 511);
  });
}

// What a whole inverse chain makes of quantised coefficients of real blocks.
TEST(Dct, EveryLevelInvertsWithinOneOfTheReference) {
  const Table table = quantisers(5);
  forEachLevel([&] {
    BlockSource source(-256, 255);
    for (const int offset : alignments()) {
      for (int b = 0; b < 24; ++b) {
        int16_t block[64];
        source.next(block);
        ref::rkdiDCTQuantFwd8x8_JPEG_16s_C1I(block, table.entry);
        if (b % 6 == 0) std::fill(block + 1, block + 64, int16_t{0});
        Coefficients src(kBlock, 1, {offset, 0}), got(kBlock, 1, {63 - offset, 0}), want(kBlock);
        int i = 0;
        src.fill([&] { return block[i++]; });
        Canvas<uint16_t> q({64, 1}, 1, {offset + 3, 0});
        i = 0;
        q.fill([&] { return table.entry[i++]; });
        ASSERT_EQ(rkdiDCTQuantInv8x8_JPEG_16s_C1(src.data(), got.data(), q.data()), rkdStsNoErr);
        ref::rkdiDCTQuantInv8x8_JPEG_16s_C1(src.data(), want.data(), table.entry);
        ASSERT_TRUE(got.sameAs(want, 1)) << "alignment " << offset;
        ASSERT_TRUE(got.marginIntact());
        ASSERT_EQ(rkdiDCTQuantInv8x8_JPEG_16s_C1I(src.data(), q.data()), rkdStsNoErr);
        ASSERT_TRUE(src.sameAs(got) && src.marginIntact()) << "in place";
      }
    }
  });
}

// Blocks of one wave: short cuts for blocks with few coefficients must see each of the 63 others.
TEST(Dct, OneCoefficientBesideTheFirstIsNeverOverlooked) {
  const Table table = quantisers(6);
  forEachLevel([&] {
    for (int k = 1; k < 64; ++k) {
      for (const int value : {-700, 700}) {
        for (const int first : {0, 400}) {
          int16_t block[64] = {}, got[64], want[64];
          block[0] = static_cast<int16_t>(first);
          block[k] = static_cast<int16_t>(value);
          rkdiDCT8x8Inv_JPEG_16s_C1(block, got);
          ref::rkdiDCT8x8Inv_JPEG_16s_C1(block, want);
          for (int i = 0; i < 64; ++i) ASSERT_NEAR(got[i], want[i], 1) << "coefficient " << k;
          block[0] = static_cast<int16_t>(first / table.entry[0]);
          block[k] = static_cast<int16_t>(value / table.entry[k]);
          rkdiDCTQuantInv8x8_JPEG_16s_C1(block, got, table.entry);
          ref::rkdiDCTQuantInv8x8_JPEG_16s_C1(block, want, table.entry);
          for (int i = 0; i < 64; ++i) ASSERT_NEAR(got[i], want[i], 1) << "coefficient " << k;
        }
      }
    }
  });
}

// Coefficients in eighths, from a table of ones, and quantised: what one step makes is what
// quantising the eighths makes, with derived values and without.
TEST(Dct, EighthsAreThoseOfTheExactTransform) {
  const Table plain = quantisers(12);
  const Table marked = built(plain);
  Table ones;
  std::fill(std::begin(ones.entry), std::end(ones.entry), uint16_t{1});
  forEachLevel([&] {
    BlockSource source(-128, 127);
    double sum = 0;
    int64_t values = 0;
    for (const int offset : alignments()) {
      for (int count = 1; count <= 9; ++count) {
        const RkdiSize size = {64 * count, 1};
        Coefficients src(size, 1, {offset, 0}), eighths(size, 1, {63 - offset, 0}), want(size);
        for (int b = 0; b < count; ++b) {
          int16_t block[64];
          source.next(block);
          for (int i = 0; i < 64; ++i) src.set(64 * b + i, 0, block[i]);
        }
        const auto run = [&](Coefficients& to, const Table& table) {
          return rkdiDCTQuantFwd8x8_Eighths_JPEG_16s_C1(src.data(), to.data(), count, table.entry);
        };
        ASSERT_EQ(run(eighths, ones), rkdStsNoErr);
        ASSERT_TRUE(eighths.marginIntact());
        for (int b = 0; b < count; ++b) {
          double exact[64];
          for (int i = 0; i < 64; ++i) exact[i] = src.at(64 * b + i, 0);
          ref::dctForward(exact, exact);
          for (int i = 0; i < 64; ++i, ++values) {
            const double error = eighths.at(64 * b + i, 0) - 8 * exact[i];
            ASSERT_LE(std::abs(error), 1.25) << "coefficient " << i;
            sum += error;
          }
          rkdiQuantFwd8x8_JPEG_16s_C1I(eighths.data() + 64 * b, plain.entry);
        }
        ref::rkdiDCTQuantFwd8x8_Eighths_JPEG_16s_C1(src.data(), want.data(), count, plain.entry);
        ASSERT_TRUE(want.sameAs(eighths, 1));
        ASSERT_EQ(run(want, plain), rkdStsNoErr);
        ASSERT_TRUE(want.sameAs(eighths)) << "by division";
        ASSERT_EQ(run(src, marked), rkdStsNoErr);
        ASSERT_TRUE(src.sameAs(eighths) && src.marginIntact()) << "in place, by derived values";
      }
    }
    EXPECT_LT(std::abs(sum / double(values)), 0.02);
  });
}

// A digest of everything that the functions make of data of any kind, beyond their ranges too.
std::vector<int16_t> resultsOnWildData() {
  Random random(11);
  std::vector<int16_t> results;
  for (int b = 0; b < 300; ++b) {
    Canvas<int16_t> src(kBlock);
    const int high = 32767 >> (b % 8);
    src.fillLimitsAndRandom(random, -high - 1, high);
    Table wild;
    for (uint16_t& entry : wild.entry)
      entry = static_cast<uint16_t>(random.bits() >> (b % 2 == 0 ? 16 : 26));
    const Table marked = built(quantisers(b));
    const auto keep = [&](auto call) {
      int16_t out[64];
      call(out);
      results.insert(results.end(), out, out + 64);
    };
    for (const uint16_t* table : std::array<const uint16_t*, 2>{wild.entry, marked.entry}) {
      keep([&](int16_t* out) { rkdiDCTQuantFwd8x8_JPEG_16s_C1(src.data(), out, table); });
      keep(
          [&](int16_t* out) { rkdiDCTQuantFwd8x8_Eighths_JPEG_16s_C1(src.data(), out, 1, table); });
      keep([&](int16_t* out) { rkdiDCTQuantInv8x8_JPEG_16s_C1(src.data(), out, table); });
      keep([&](int16_t* out) {
        std::copy(src.data(), src.data() + 64, out);
        rkdiQuantFwd8x8_JPEG_16s_C1I(out, table);
      });
      keep([&](int16_t* out) {
        std::copy(src.data(), src.data() + 64, out);
        rkdiQuantInv8x8_JPEG_16s_C1I(out, table);
      });
    }
    keep([&](int16_t* out) { rkdiDCT8x8Fwd_JPEG_16s_C1(src.data(), out); });
    keep([&](int16_t* out) { rkdiDCT8x8Inv_JPEG_16s_C1(src.data(), out); });
    // A flat block takes a short cut, which must not show.
    src.set(0, 0, static_cast<int16_t>(random.bits()));
    for (int i = 1; i < 64; ++i) src.set(i, 0, 0);
    keep([&](int16_t* out) { rkdiDCTQuantInv8x8_JPEG_16s_C1(src.data(), out, wild.entry); });
  }
  return results;
}

TEST(Dct, AllLevelsGiveTheSameBitsOnAnyData) {
  std::vector<int16_t> first;
  forEachLevel([&] {
    const std::vector<int16_t> results = resultsOnWildData();
    if (first.empty()) first = results;
    const auto at = std::mismatch(first.begin(), first.end(), results.begin()).first;
    EXPECT_EQ(at, first.end()) << "first difference in value " << at - first.begin();
  });
}

TEST(Dct, OneStepEqualsTwo) {
  const Table table = built(quantisers(9));
  forEachLevel([&] {
    BlockSource source(-512, 511);
    for (int b = 0; b < 200; ++b) {
      int16_t block[64], one[64], two[64];
      source.next(block);
      rkdiDCTQuantFwd8x8_JPEG_16s_C1(block, one, table.entry);
      rkdiDCT8x8Fwd_JPEG_16s_C1(block, two);
      rkdiQuantFwd8x8_JPEG_16s_C1I(two, table.entry);
      ASSERT_TRUE(std::equal(one, one + 64, two)) << "forward, block " << b;
      rkdiDCTQuantInv8x8_JPEG_16s_C1(one, block, table.entry);
      rkdiQuantInv8x8_JPEG_16s_C1I(two, table.entry);
      rkdiDCT8x8Inv_JPEG_16s_C1I(two);
      ASSERT_TRUE(std::equal(block, block + 64, two)) << "inverse, block " << b;
    }
    // Blocks of the first coefficient alone, whose product may wrap around.
    Random random;
    for (int b = 0; b < 200; ++b) {
      Table wild;
      for (uint16_t& entry : wild.entry) entry = static_cast<uint16_t>(random.bits() >> 16);
      int16_t block[64] = {static_cast<int16_t>(random.bits() >> 16)}, one[64];
      rkdiDCTQuantInv8x8_JPEG_16s_C1(block, one, wild.entry);
      rkdiQuantInv8x8_JPEG_16s_C1I(block, wild.entry);
      rkdiDCT8x8Inv_JPEG_16s_C1I(block);
      ASSERT_TRUE(std::equal(block, block + 64, one)) << "first coefficient alone, block " << b;
    }
  });
}

}  // namespace
