// Standard quantisers, Huffman tables and scan scripts, and checks of scripts.
#include "tables.h"

#include <algorithm>
#include <numeric>

#include "rkd/rkdjpeg_tables.h"

namespace jpeg {

const std::array<uint8_t, 64>& zigzag() {
  static const std::array<uint8_t, 64> kOrder = [] {
    std::array<uint8_t, 64> order{};
    (void)rkdiGetZigzag_JPEG_8u(order.data());
    return order;
  }();
  return kOrder;
}

Quantisers standardQuantisers(bool isChroma, int quality) {
  std::array<uint8_t, 64> q{};
  (void)rkdiGetQuantisers_JPEG_8u(isChroma ? rkdTableChroma : rkdTableLuma, q.data());
  (void)rkdiScaleQuantisers_JPEG_8u(q.data(), quality, q.data());
  Quantisers wide;
  std::ranges::copy(q, wide.begin());
  return wide;
}

int HuffmanTable::count() const { return std::accumulate(bits.begin(), bits.end(), 0); }

const HuffmanTable& standardHuffman(bool isAc, bool isChroma) {
  static const std::array<HuffmanTable, 4> kTables = [] {
    std::array<HuffmanTable, 4> tables;
    for (size_t i = 0; i < tables.size(); ++i) {
      (void)rkdiGetHuffmanTable_JPEG_8u(i < 2 ? rkdTableDC : rkdTableAC,
                                        i % 2 == 0 ? rkdTableLuma : rkdTableChroma,
                                        tables[i].bits.data(), tables[i].values.data());
    }
    return tables;
  }();
  return kTables[(isAc ? 2 : 0) + (isChroma ? 1 : 0)];
}

Script defaultScript(int componentCount, bool hasChroma) {
  Script script;
  ScriptScan dc;
  dc.componentCount = componentCount;
  std::iota(dc.component.begin(), dc.component.end(), 0);
  const auto dcScan = [&](int ah, int al) {
    dc.ss = dc.se = 0;
    dc.ah = ah;
    dc.al = al;
    script.push_back(dc);
  };
  const auto acScan = [&](int component, int ss, int se, int ah, int al) {
    script.push_back({1, {component}, ss, se, ah, al});
  };
  dcScan(0, 1);
  if (hasChroma) {
    // Colour is cheap, and a picture without it looks wrong: it comes before fine luminance.
    acScan(0, 1, 5, 0, 2);
    acScan(2, 1, 63, 0, 1);
    acScan(1, 1, 63, 0, 1);
    acScan(0, 6, 63, 0, 2);
    acScan(0, 1, 63, 2, 1);
    dcScan(1, 0);
    acScan(2, 1, 63, 1, 0);
    acScan(1, 1, 63, 1, 0);
    acScan(0, 1, 63, 1, 0);
    for (int k = 3; k < componentCount; ++k) acScan(k, 1, 63, 0, 0);
    return script;
  }
  for (int k = 0; k < componentCount; ++k) acScan(k, 1, 5, 0, 2);
  for (int k = 0; k < componentCount; ++k) acScan(k, 6, 63, 0, 2);
  for (int k = 0; k < componentCount; ++k) acScan(k, 1, 63, 2, 1);
  dcScan(1, 0);
  for (int k = 0; k < componentCount; ++k) acScan(k, 1, 63, 1, 0);
  return script;
}

namespace {

/// The lowest bit sent so far of every coefficient, or none.
class Progress {
 public:
  static constexpr int8_t kNone = 14;
  Progress() {
    for (auto& c : lowest_) c.fill(kNone);
  }
  bool take(const ScriptScan& s) {
    for (int i = 0; i < s.componentCount; ++i) {
      auto& lowest = lowest_[size_t(s.component[size_t(i)])];
      if (s.ss > 0 && lowest[0] == kNone) return false;
      for (int k = s.ss; k <= s.se; ++k) {
        const bool isFirst = lowest[size_t(k)] == kNone;
        if (isFirst != (s.ah == 0) || (!isFirst && s.ah != lowest[size_t(k)])) return false;
        lowest[size_t(k)] = int8_t(s.al);
      }
    }
    return true;
  }
  bool isComplete(int componentCount) const {
    for (int i = 0; i < componentCount; ++i) {
      for (const int8_t bit : lowest_[size_t(i)]) {
        if (bit != 0) return false;
      }
    }
    return true;
  }

 private:
  std::array<std::array<int8_t, 64>, kMaxComponents> lowest_;
};

bool isWellFormed(const ScriptScan& s, int componentCount) {
  if (s.componentCount < 1 || s.componentCount > componentCount) return false;
  for (int i = 0; i < s.componentCount; ++i) {
    const int c = s.component[size_t(i)];
    // Components stand in the order of the frame.
    if (c < 0 || c >= componentCount || (i > 0 && c <= s.component[size_t(i) - 1])) return false;
  }
  if (s.ss < 0 || s.ss > s.se || s.se > 63 || s.al < 0 || s.al > 13) return false;
  if (s.ah != 0 && s.ah != s.al + 1) return false;
  return s.ss == 0 ? s.se == 0 : s.componentCount == 1;
}

}  // namespace

Status checkScript(const Script& script, int componentCount) {
  Progress progress;
  for (const ScriptScan& scan : script) {
    if (!isWellFormed(scan, componentCount) || !progress.take(scan)) return Status::badScript;
  }
  return progress.isComplete(componentCount) ? Status::ok : Status::badScript;
}

}  // namespace jpeg
