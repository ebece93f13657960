// Products of coefficients and quantisers, which are taken modulo 2^16, in every function that
// makes them, and the tables that inverse functions take: plain ones, forward and inverse ones.
#include <algorithm>
#include <functional>

#include "rkd/rkdjpeg_dct.h"
#include "reference.h"
#include "rkdkit.h"

using namespace rkdkit;

namespace {

using Block = std::array<int16_t, 64>;
using Table = std::array<uint16_t, RKD_QUANT_TABLE_LENGTH>;

using Init = RkdStatus (*)(const uint16_t*, uint16_t*);
Table built(Init init, const Table& quantisers) {
  Table table;
  EXPECT_EQ(rkdStsNoErr, init(quantisers.data(), table.data()));
  return table;
}

/// The same quantisers in all forms that an inverse function takes.
std::array<Table, 3> formsOf(const Table& quantisers) {
  return {quantisers, built(rkdiQuantFwdTableInit_JPEG_16u, quantisers),
          built(rkdiQuantInvTableInit_JPEG_16u, quantisers)};
}

Table oddQuantisers(unsigned seed, int largest) {
  Random random(seed);
  Table table = {};
  for (int i = 0; i < 64; ++i) table[i] = static_cast<uint16_t>(random.between(0, largest) | 1);
  return table;
}

/// The factor by which an odd quantiser makes `product` modulo 2^16.
int16_t factorOf(int16_t product, uint16_t quantiser) {
  uint32_t inverse = quantiser;  // right in 3 bits; each step doubles their number
  for (int k = 0; k < 3; ++k) inverse *= 2 - quantiser * inverse;
  return static_cast<int16_t>(static_cast<uint32_t>(product) * inverse);
}

TEST(Dequantisation, IsExactModulo65536) {
  constexpr uint16_t kEdges[] = {1, 2, 255, 256, 257, 16384, 32767};
  forEachLevel([&] {
    Random random;
    for (int b = 0; b < 200; ++b) {
      Table quantisers = {};
      for (int i = 0; i < 64; ++i) {
        quantisers[i] = random.bits() % 4 == 0 ? kEdges[random.bits() % std::size(kEdges)]
                                               : static_cast<uint16_t>(random.between(1, 32767));
      }
      Canvas<int16_t> block(sz(64, 1), 1, {b % 64, 0});
      block.fillLimitsAndRandom(random);
      Canvas<int16_t> want(block);
      ref::rkdiQuantInv8x8_JPEG_16s_C1I(want.data(), quantisers.data());
      for (const Table& table : formsOf(quantisers)) {
        Canvas<int16_t> got(block);
        ASSERT_EQ(rkdStsNoErr, rkdiQuantInv8x8_JPEG_16s_C1I(got.data(), table.data()));
        ASSERT_TRUE(got.sameAs(want));
      }
      // Quantisers that no forward table can have.
      for (int i = 0; i < 64; ++i) quantisers[i] = static_cast<uint16_t>(quantisers[i] + 32768);
      quantisers[b % 64] = 65535;
      want.copyFrom(block);
      ref::rkdiQuantInv8x8_JPEG_16s_C1I(want.data(), quantisers.data());
      ASSERT_EQ(rkdStsNoErr, rkdiQuantInv8x8_JPEG_16s_C1I(block.data(), quantisers.data()));
      ASSERT_TRUE(block.sameAs(want) && block.marginIntact());
    }
  });
}

/// A function with its transform, as samples of any type side by side.
struct Case {
  const char* name;
  std::function<std::vector<int>(const Block&, const Table&)> function, reference;
  int scale;  ///< of the coefficients of bytes
};
template <class T, int N>
auto samplesOf(RkdStatus (*function)(const int16_t*, T*, int, const uint16_t*)) {
  return [=](const Block& block, const Table& table) {
    T samples[N * N] = {};
    EXPECT_EQ(rkdStsNoErr, function(block.data(), samples, N * sizeof(T), table.data()));
    return std::vector<int>(samples, samples + N * N);
  };
}
template <class T, int N>
auto samplesOf(RkdStatus (*function)(const int16_t*, T*, const uint16_t*)) {
  return [=](const Block& block, const Table& table) {
    T samples[N * N] = {};
    EXPECT_EQ(rkdStsNoErr, function(block.data(), samples, table.data()));
    return std::vector<int>(samples, samples + N * N);
  };
}

#define CASE(T, N, scale, name) \
  { #name, samplesOf < T, N>(name), samplesOf < T, N>(ref::name), scale }
const Case kCases[] = {CASE(int16_t, 8, 1, rkdiDCTQuantInv8x8_JPEG_16s_C1),
                       CASE(uint8_t, 8, 1, rkdiDCTQuantInv8x8LS_JPEG_16s8u_C1R),
                       CASE(uint8_t, 8, 1, rkdiDCTQuantInv8x8LS_4x4_JPEG_16s8u_C1R),
                       CASE(uint8_t, 8, 1, rkdiDCTQuantInv8x8LS_2x2_JPEG_16s8u_C1R),
                       CASE(uint8_t, 8, 1, rkdiDCTQuantInv8x8LS_1x1_JPEG_16s8u_C1R),
                       CASE(uint8_t, 4, 1, rkdiDCTQuantInv8x8To4x4LS_JPEG_16s8u_C1R),
                       CASE(uint8_t, 2, 1, rkdiDCTQuantInv8x8To2x2LS_JPEG_16s8u_C1R),
                       CASE(uint16_t, 8, 16, rkdiDCTQuantInv8x8LS_JPEG_16s16u_C1R)};
#undef CASE

/// Coefficients of noise, of flat and of sloping blocks.
Block coefficients(Random& random, int kind, int scale) {
  uint8_t samples[64];
  const int flat = random.between(0, 255);
  for (int i = 0; i < 64; ++i) {
    const int slope = std::min(255, flat / 2 + 2 * (i % 8) + 3 * (i / 8));
    samples[i] = static_cast<uint8_t>(kind == 0   ? random.between(0, 255)
                                      : kind == 1 ? flat
                                                  : slope);
  }
  Block block;
  ref::rkdiDCT8x8FwdLS_JPEG_8u16s_C1R(samples, 8, block.data());
  for (int16_t& coefficient : block) coefficient = static_cast<int16_t>(coefficient * scale);
  return block;
}

void expectWrapped(const Case& c) {
  SCOPED_TRACE(c.name);
  Random random;
  Table ones = {};
  std::fill(ones.begin(), ones.begin() + 64, uint16_t{1});
  for (int b = 0; b < 48; ++b) {
    const Table quantisers = oddQuantisers(b, b % 2 == 0 ? 255 : 32766);
    const Block product = coefficients(random, b % 3, c.scale);
    Block factor;
    for (int i = 0; i < 64; ++i) factor[i] = factorOf(product[i], quantisers[i]);
    const std::vector<int> want = c.function(product, ones);
    const std::vector<int> judged = c.reference(factor, quantisers);
    for (size_t i = 0; i < want.size(); ++i) ASSERT_NEAR(judged[i], want[i], 1) << "sample " << i;
    for (const Table& table : formsOf(quantisers)) ASSERT_EQ(want, c.function(factor, table));
    ASSERT_EQ(want, c.function(product, formsOf(ones)[1])) << "a forward table of ones";
  }
}

// Real blocks whose coefficients are made by products that leave 16 bits: what wraps otherwise, or
// saturates, is far off.
TEST(Dequantisation, WrapsBeforeEveryTransformWithEveryFormOfTable) {
  forEachLevel([] {
    for (const Case& c : kCases) expectWrapped(c);
  });
}

TEST(Dequantisation, AnInverseTableBuiltOverAForwardOneCarriesNothingOver) {
  const Table first = oddQuantisers(1, 254), second = oddQuantisers(2, 254);
  std::array<uint8_t, 64> bytes;
  std::copy(second.begin(), second.begin() + 64, bytes.begin());
  for (const bool fromBytes : {false, true}) {
    Table table = built(rkdiQuantFwdTableInit_JPEG_16u, first);
    ASSERT_EQ(rkdStsNoErr, fromBytes ? rkdiQuantInvTableInit_JPEG_8u16u(bytes.data(), table.data())
                                     : rkdiQuantInvTableInit_JPEG_16u(second.data(), table.data()));
    forEachLevel([&] {
      Random random;
      Canvas<int16_t> got(sz(64, 1));
      got.fillLimitsAndRandom(random, -16384, 16383);
      Canvas<int16_t> want(got);
      ref::rkdiQuantFwd8x8_JPEG_16s_C1I(want.data(), second.data());
      ASSERT_EQ(rkdStsNoErr, rkdiQuantFwd8x8_JPEG_16s_C1I(got.data(), table.data()));
      EXPECT_TRUE(got.sameAs(want));
    });
  }
}

}  // namespace
