// Quantisation tables and coefficients, and the parameters that choose them.
#include "rkcoefs.h"

#include <algorithm>
#include <map>
#include <vector>

#include "rkd/rkdjpeg_dct.h"
#include "rkphoto.h"

namespace {

constexpr int kTableLength = 256;

bool buildQ75(rkVector& table, bool isForward) {
  const auto build = isForward ? rkdiQuantFwdTableInit_JPEG_16u : rkdiQuantInvTableInit_JPEG_16u;
  return rkTest::checkStatus(build(rkQuality75.data(), table.data16u()),
                             "the builder of quantisation tables") <= TZ_WARNING;
}

/// The coefficients of a kind, which are made once.
const std::vector<int16_t>& photoOf(int kind) {
  static std::map<int, std::vector<int16_t>> known;
  std::vector<int16_t>& coefs = known[kind == rkCoefsDC ? int(rkCoefsPhoto) : kind];
  if (coefs.empty()) {
    coefs = rkPhotoCoefs(kind == rkCoefsRose     ? "rose"
                         : kind == rkCoefsBikers ? "sbikers2"
                                                 : nullptr);
  }
  return coefs;
}

}  // namespace

void rkCoefsChoice::initTable(rkTableKind first, bool isForward) {
  table.init("Table", "quantisers");
  table.resetMap();
  table.addName(rkTableOnes, "ones");
  table.addName(rkTableQ75, "q75");
  if (isForward) table.addName(rkTableUnmarked75, "q75-unmarked");
  table.add(first);
}

void rkCoefsChoice::initCoefs(rkCoefsKind first) {
  coefs.init("Coefs", "what the coefficients are like");
  coefs.resetMap();
  coefs.addName(rkCoefsDense, "dense");
  coefs.addName(rkCoefsPhoto, "photo");
  coefs.addName(rkCoefsDC, "dc");
  coefs.addName(rkCoefsRose, "rose");
  coefs.addName(rkCoefsBikers, "sbikers2");
  coefs.add(first);
}

bool rkFillQuantTable(rkVector& table, int kind, bool isForward, bool verifying) {
  table.init(rk16u);
  if (kind == rkTableOnes && !verifying) return table.createVector(kTableLength, rkModeOne);
  // Entries from 64 on stay zero: no mark of a table builder there.
  if (!table.createVector(kTableLength, rkModeZero)) return false;
  if (kind == rkTableQ75) return buildQ75(table, isForward);
  for (int i = 0; i < 64; ++i) {
    table.data16u()[i] =
        kind == rkTableOnes ? static_cast<uint16_t>(1 + i * 7 % 24) : rkQuality75[size_t(i)];
  }
  return true;
}

bool rkCreateCoefs(rkVector& blocks, int count, int kind, rkRange range, bool verifying) {
  blocks.init(rk16s);
  if (!blocks.createVector(64 * count, rkModeRandom, range.low, range.high)) return false;
  if (kind == rkCoefsDense) return true;
  const std::vector<int16_t>& photo = photoOf(kind);
  if (photo.empty()) return false;
  int16_t* block = blocks.data16s();
  for (int b = 0; b < count; ++b, block += 64) {
    if (verifying && b % 2 != 0) continue;
    const auto from = photo.begin() + std::ptrdiff_t{64} * b % std::ptrdiff_t(photo.size());
    const int taken = kind == rkCoefsDC ? 1 : 64;
    std::fill(std::copy(from, from + taken, block), block + 64, int16_t{0});
  }
  return true;
}
