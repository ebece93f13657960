// The typical tables of JPEG: the zigzag order by its rule, and everything else beside what libjpeg
// makes of it where that is installed.
#include "rkd/rkdjpeg_tables.h"

#include <algorithm>
#include <numeric>

#include "huffkit.h"

#ifdef TAZMET_HAS_LIBJPEG
#include <cstddef>
#include <cstdio>

#include <jpeglib.h>
#endif

namespace {

std::array<uint8_t, 64> quantisers(int table) {
  std::array<uint8_t, 64> values{};
  EXPECT_EQ(0, rkdiGetQuantisers_JPEG_8u(table, values.data()));
  return values;
}

TEST(Tables, ZigzagWalksTheDiagonals) {
  std::array<uint8_t, 64> order{};
  ASSERT_EQ(0, rkdiGetZigzag_JPEG_8u(order.data()));
  size_t k = 0;
  for (int diagonal = 0; diagonal < 15; ++diagonal) {
    for (int i = 0; i <= diagonal; ++i) {
      const int x = diagonal % 2 == 0 ? i : diagonal - i, y = diagonal - x;
      if (x >= 8 || y >= 8) continue;
      EXPECT_EQ(8 * y + x, order[k++]);
    }
  }
}

TEST(Tables, QualityScalesToOnesAndToTheLimit) {
  const auto luma = quantisers(rkdTableLuma);
  std::array<uint8_t, 64> scaled{};
  std::array<uint16_t, 64> wide{};
  ASSERT_EQ(0, rkdiScaleQuantisers_JPEG_8u(luma.data(), 100, scaled.data()));
  EXPECT_EQ(64, std::count(scaled.begin(), scaled.end(), 1));
  ASSERT_EQ(0, rkdiScaleQuantisers_JPEG_8u(luma.data(), 1, scaled.data()));
  EXPECT_EQ(64, std::count(scaled.begin(), scaled.end(), 255));
  ASSERT_EQ(0, rkdiScaleQuantisers_JPEG_8u16u(luma.data(), 1, wide.data()));
  for (size_t i = 0; i < 64; ++i) EXPECT_EQ(50 * luma[i], wide[i]);
  scaled = luma;
  ASSERT_EQ(0, rkdiScaleQuantisers_JPEG_8u(scaled.data(), 50, scaled.data()));
  EXPECT_EQ(luma, scaled) << "in place, quality 50";
}

TEST(Tables, WrongTablesAndQualitiesAreRefused) {
  std::array<uint8_t, 64> out{};
  const auto luma = quantisers(rkdTableLuma);
  for (const int wrong : {-1, 2}) {
    EXPECT_EQ(rkdStsBadArgErr, rkdiGetQuantisers_JPEG_8u(wrong, out.data()));
    EXPECT_EQ(rkdStsBadArgErr, rkdiGetHuffmanTable_JPEG_8u(wrong, 0, out.data(), out.data()));
    EXPECT_EQ(rkdStsBadArgErr, rkdiGetHuffmanTable_JPEG_8u(0, wrong, out.data(), out.data()));
  }
  for (const int wrong : {-1, 0, 101}) {
    EXPECT_EQ(rkdStsBadArgErr, rkdiScaleQuantisers_JPEG_8u(luma.data(), wrong, out.data()));
  }
  EXPECT_EQ(0, std::accumulate(out.begin(), out.end(), 0));
}

#ifdef TAZMET_HAS_LIBJPEG

class WithLibjpeg : public testing::Test {
 protected:
  WithLibjpeg() {
    m_compress.err = jpeg_std_error(&m_errors);
    jpeg_create_compress(&m_compress);
    m_compress.in_color_space = JCS_RGB;
    m_compress.input_components = 3;
    jpeg_set_defaults(&m_compress);
  }
  ~WithLibjpeg() override { jpeg_destroy_compress(&m_compress); }

  jpeg_compress_struct m_compress{};
  jpeg_error_mgr m_errors{};
};
using TablesWithLibjpeg = WithLibjpeg;

TEST_F(TablesWithLibjpeg, QuantisersOfEveryQualityAreLibjpegs) {
  for (int quality = 1; quality <= 100; ++quality) {
    for (const boolean baseline : {TRUE, FALSE}) {
      jpeg_set_quality(&m_compress, quality, baseline);
      for (const int table : {rkdTableLuma, rkdTableChroma}) {
        std::array<uint16_t, 64> got{}, want{};
        std::copy_n(m_compress.quant_tbl_ptrs[table]->quantval, 64, want.begin());
        if (baseline) {
          std::array<uint8_t, 64> narrow{};
          rkdiScaleQuantisers_JPEG_8u(quantisers(table).data(), quality, narrow.data());
          std::copy(narrow.begin(), narrow.end(), got.begin());
        } else {
          rkdiScaleQuantisers_JPEG_8u16u(quantisers(table).data(), quality, got.data());
        }
        EXPECT_EQ(want, got) << "table " << table << " at quality " << quality;
      }
    }
  }
}

TEST_F(TablesWithLibjpeg, HuffmanTablesAreLibjpegs) {
  for (const int table : {rkdTableLuma, rkdTableChroma}) {
    for (const int tableClass : {rkdTableDC, rkdTableAC}) {
      const JHUFF_TBL* const want = (tableClass == rkdTableDC ? m_compress.dc_huff_tbl_ptrs
                                                              : m_compress.ac_huff_tbl_ptrs)[table];
      std::vector<uint8_t> bits(16), values(tableClass == rkdTableDC ? 12 : 162);
      ASSERT_EQ(0, rkdiGetHuffmanTable_JPEG_8u(tableClass, table, bits.data(), values.data()));
      EXPECT_EQ(std::vector<uint8_t>(want->bits + 1, want->bits + 17), bits);
      EXPECT_EQ(std::vector<uint8_t>(want->huffval, want->huffval + values.size()), values);
    }
  }
}

#endif

}  // namespace
