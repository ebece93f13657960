#include "tables.h"

#include <algorithm>
#include <numeric>

namespace jpeg {

const std::array<uint8_t, 64> kZigzag = {
    0,  1,  8,  16, 9,  2,  3,  10, 17, 24, 32, 25, 18, 11, 4,  5,  12, 19, 26, 33, 40, 48,
    41, 34, 27, 20, 13, 6,  7,  14, 21, 28, 35, 42, 49, 56, 57, 50, 43, 36, 29, 22, 15, 23,
    30, 37, 44, 51, 58, 59, 52, 45, 38, 31, 39, 46, 53, 60, 61, 54, 47, 55, 62, 63,
};

namespace {

constexpr std::array<uint8_t, 64> kLuminance = {
    16, 11, 10, 16, 24,  40,  51,  61,  12, 12, 14, 19, 26,  58,  60,  55,
    14, 13, 16, 24, 40,  57,  69,  56,  14, 17, 22, 29, 51,  87,  80,  62,
    18, 22, 37, 56, 68,  109, 103, 77,  24, 35, 55, 64, 81,  104, 113, 92,
    49, 64, 78, 87, 103, 121, 120, 101, 72, 92, 95, 98, 112, 100, 103, 99,
};
constexpr std::array<uint8_t, 64> kChrominance = {
    17, 18, 24, 47, 99, 99, 99, 99, 18, 21, 26, 66, 99, 99, 99, 99, 24, 26, 56, 99, 99, 99,
    99, 99, 47, 66, 99, 99, 99, 99, 99, 99, 99, 99, 99, 99, 99, 99, 99, 99, 99, 99, 99, 99,
    99, 99, 99, 99, 99, 99, 99, 99, 99, 99, 99, 99, 99, 99, 99, 99, 99, 99, 99, 99,
};

constexpr HuffmanTable kDcLuminance = {{0, 1, 5, 1, 1, 1, 1, 1, 1, 0, 0, 0, 0, 0, 0, 0},
                                       {
                                           0x00,
                                           0x01,
                                           0x02,
                                           0x03,
                                           0x04,
                                           0x05,
                                           0x06,
                                           0x07,
                                           0x08,
                                           0x09,
                                           0x0A,
                                           0x0B,
                                       }};
constexpr HuffmanTable kDcChrominance = {{0, 3, 1, 1, 1, 1, 1, 1, 1, 1, 1, 0, 0, 0, 0, 0},
                                         {
                                             0x00,
                                             0x01,
                                             0x02,
                                             0x03,
                                             0x04,
                                             0x05,
                                             0x06,
                                             0x07,
                                             0x08,
                                             0x09,
                                             0x0A,
                                             0x0B,
                                         }};
constexpr HuffmanTable kAcLuminance = {
    {0, 2, 1, 3, 3, 2, 4, 3, 5, 5, 4, 4, 0, 0, 1, 125},
    {
        0x01, 0x02, 0x03, 0x00, 0x04, 0x11, 0x05, 0x12, 0x21, 0x31, 0x41, 0x06, 0x13, 0x51, 0x61,
        0x07, 0x22, 0x71, 0x14, 0x32, 0x81, 0x91, 0xA1, 0x08, 0x23, 0x42, 0xB1, 0xC1, 0x15, 0x52,
        0xD1, 0xF0, 0x24, 0x33, 0x62, 0x72, 0x82, 0x09, 0x0A, 0x16, 0x17, 0x18, 0x19, 0x1A, 0x25,
        0x26, 0x27, 0x28, 0x29, 0x2A, 0x34, 0x35, 0x36, 0x37, 0x38, 0x39, 0x3A, 0x43, 0x44, 0x45,
        0x46, 0x47, 0x48, 0x49, 0x4A, 0x53, 0x54, 0x55, 0x56, 0x57, 0x58, 0x59, 0x5A, 0x63, 0x64,
        0x65, 0x66, 0x67, 0x68, 0x69, 0x6A, 0x73, 0x74, 0x75, 0x76, 0x77, 0x78, 0x79, 0x7A, 0x83,
        0x84, 0x85, 0x86, 0x87, 0x88, 0x89, 0x8A, 0x92, 0x93, 0x94, 0x95, 0x96, 0x97, 0x98, 0x99,
        0x9A, 0xA2, 0xA3, 0xA4, 0xA5, 0xA6, 0xA7, 0xA8, 0xA9, 0xAA, 0xB2, 0xB3, 0xB4, 0xB5, 0xB6,
        0xB7, 0xB8, 0xB9, 0xBA, 0xC2, 0xC3, 0xC4, 0xC5, 0xC6, 0xC7, 0xC8, 0xC9, 0xCA, 0xD2, 0xD3,
        0xD4, 0xD5, 0xD6, 0xD7, 0xD8, 0xD9, 0xDA, 0xE1, 0xE2, 0xE3, 0xE4, 0xE5, 0xE6, 0xE7, 0xE8,
        0xE9, 0xEA, 0xF1, 0xF2, 0xF3, 0xF4, 0xF5, 0xF6, 0xF7, 0xF8, 0xF9, 0xFA,
    }};
constexpr HuffmanTable kAcChrominance = {
    {0, 2, 1, 2, 4, 4, 3, 4, 7, 5, 4, 4, 0, 1, 2, 119},
    {
        0x00, 0x01, 0x02, 0x03, 0x11, 0x04, 0x05, 0x21, 0x31, 0x06, 0x12, 0x41, 0x51, 0x07, 0x61,
        0x71, 0x13, 0x22, 0x32, 0x81, 0x08, 0x14, 0x42, 0x91, 0xA1, 0xB1, 0xC1, 0x09, 0x23, 0x33,
        0x52, 0xF0, 0x15, 0x62, 0x72, 0xD1, 0x0A, 0x16, 0x24, 0x34, 0xE1, 0x25, 0xF1, 0x17, 0x18,
        0x19, 0x1A, 0x26, 0x27, 0x28, 0x29, 0x2A, 0x35, 0x36, 0x37, 0x38, 0x39, 0x3A, 0x43, 0x44,
        0x45, 0x46, 0x47, 0x48, 0x49, 0x4A, 0x53, 0x54, 0x55, 0x56, 0x57, 0x58, 0x59, 0x5A, 0x63,
        0x64, 0x65, 0x66, 0x67, 0x68, 0x69, 0x6A, 0x73, 0x74, 0x75, 0x76, 0x77, 0x78, 0x79, 0x7A,
        0x82, 0x83, 0x84, 0x85, 0x86, 0x87, 0x88, 0x89, 0x8A, 0x92, 0x93, 0x94, 0x95, 0x96, 0x97,
        0x98, 0x99, 0x9A, 0xA2, 0xA3, 0xA4, 0xA5, 0xA6, 0xA7, 0xA8, 0xA9, 0xAA, 0xB2, 0xB3, 0xB4,
        0xB5, 0xB6, 0xB7, 0xB8, 0xB9, 0xBA, 0xC2, 0xC3, 0xC4, 0xC5, 0xC6, 0xC7, 0xC8, 0xC9, 0xCA,
        0xD2, 0xD3, 0xD4, 0xD5, 0xD6, 0xD7, 0xD8, 0xD9, 0xDA, 0xE2, 0xE3, 0xE4, 0xE5, 0xE6, 0xE7,
        0xE8, 0xE9, 0xEA, 0xF2, 0xF3, 0xF4, 0xF5, 0xF6, 0xF7, 0xF8, 0xF9, 0xFA,
    }};

}  // namespace

Quantisers standardQuantisers(bool isChroma, int quality) {
  const int percent = quality < 50 ? 5000 / quality : 200 - 2 * quality;
  Quantisers q;
  for (size_t i = 0; i < 64; ++i) {
    const int typical = isChroma ? kChrominance[i] : kLuminance[i];
    q[i] = uint16_t(std::clamp((typical * percent + 50) / 100, 1, 255));
  }
  return q;
}

int HuffmanTable::count() const { return std::accumulate(bits.begin(), bits.end(), 0); }

const HuffmanTable& standardHuffman(bool isAc, bool isChroma) {
  if (isAc) return isChroma ? kAcChrominance : kAcLuminance;
  return isChroma ? kDcChrominance : kDcLuminance;
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
