// The arithmetic coder of ITU-T T.800, annex C, by its flow charts, and the raw bits beside it.
#pragma once

#include "ref_code2k.h"

namespace ref::mq {

struct Estimate {
  uint32_t qe;
  int nextMps, nextLps;
  bool exchange;
};
inline constexpr Estimate table[47] = {
    {0x5601, 1, 1, true},    {0x3401, 2, 6, false},   {0x1801, 3, 9, false},
    {0x0AC1, 4, 12, false},  {0x0521, 5, 29, false},  {0x0221, 38, 33, false},
    {0x5601, 7, 6, true},    {0x5401, 8, 14, false},  {0x4801, 9, 14, false},
    {0x3801, 10, 14, false}, {0x3001, 11, 17, false}, {0x2401, 12, 18, false},
    {0x1C01, 13, 20, false}, {0x1601, 29, 21, false}, {0x5601, 15, 14, true},
    {0x5401, 16, 14, false}, {0x5101, 17, 15, false}, {0x4801, 18, 16, false},
    {0x3801, 19, 17, false}, {0x3401, 20, 18, false}, {0x3001, 21, 19, false},
    {0x2801, 22, 19, false}, {0x2401, 23, 20, false}, {0x2201, 24, 21, false},
    {0x1C01, 25, 22, false}, {0x1801, 26, 23, false}, {0x1601, 27, 24, false},
    {0x1401, 28, 25, false}, {0x1201, 29, 26, false}, {0x1101, 30, 27, false},
    {0x0AC1, 31, 28, false}, {0x09C1, 32, 29, false}, {0x08A1, 33, 30, false},
    {0x0521, 34, 31, false}, {0x0441, 35, 32, false}, {0x02A1, 36, 33, false},
    {0x0221, 37, 34, false}, {0x0141, 38, 35, false}, {0x0111, 39, 36, false},
    {0x0085, 40, 37, false}, {0x0049, 41, 38, false}, {0x0025, 42, 39, false},
    {0x0015, 43, 40, false}, {0x0009, 44, 41, false}, {0x0005, 45, 42, false},
    {0x0001, 45, 43, false}, {0x5601, 46, 46, false}};

inline constexpr int signContext = 9, refineContext = 14, runContext = 17, uniformContext = 18;
inline constexpr int rawBit = -1;  ///< "context" of a bit that is sent as it is

inline MqContextSet freshContexts() {
  MqContextSet set{};
  set[0].index = 4;
  set[runContext].index = 3;
  set[uniformContext].index = 46;
  return set;
}

inline void moreProbable(MqContext* cx) { cx->index = table[cx->index].nextMps; }
inline void lessProbable(MqContext* cx) {
  if (table[cx->index].exchange) cx->mps = 1 - cx->mps;
  cx->index = table[cx->index].nextLps;
}

class Encoder {
 public:
  void code(int bit, MqContext* cx) {
    const uint32_t qe = table[cx->index].qe;
    a_ -= qe;
    if (bit == cx->mps) {
      if ((a_ & 0x8000) != 0) {
        c_ += qe;
        return;
      }
      if (a_ < qe) {
        a_ = qe;
      } else {
        c_ += qe;
      }
      moreProbable(cx);
    } else {
      if (a_ < qe) {
        c_ += qe;
      } else {
        a_ = qe;
      }
      lessProbable(cx);
    }
    do {
      a_ <<= 1;
      shift(1);
    } while ((a_ & 0x8000) == 0);
  }
  void flush() {
    const uint32_t above = c_ + a_;
    c_ |= 0xFFFF;
    if (c_ >= above) c_ -= 0x8000;
    shift(ct_);
    shift(ct_);
    if (bytes_.back() == 0xFF) bytes_.pop_back();
  }
  void flushPredictably() {
    for (int k = 12 - ct_; k > 0; k -= ct_) shift(ct_);
    if (bytes_.back() != 0xFF) byteOut();
    bytes_.pop_back();
  }
  std::vector<uint8_t> bytes() const { return {bytes_.begin() + 1, bytes_.end()}; }

 private:
  void shift(int count) {
    for (; count > 0; --count) {
      c_ <<= 1;
      if (--ct_ == 0) byteOut();
    }
  }
  void byteOut() {
    if (bytes_.back() != 0xFF && (c_ & 0x8000000) != 0) {
      ++bytes_.back();
      c_ &= 0x7FFFFFF;
    }
    const int at = bytes_.back() == 0xFF ? 20 : 19;
    bytes_.push_back(uint8_t(c_ >> at));
    c_ &= (1u << at) - 1;
    ct_ = at == 20 ? 7 : 8;
  }
  uint32_t a_ = 0x8000, c_ = 0;
  int ct_ = 12;
  std::vector<uint8_t> bytes_ = {0};  ///< behind a byte that takes no carry
};

/// Reads decisions from state->position on; behind state->limit there is a marker.
class Decoder {
 public:
  Decoder(const uint8_t* src, RkdiDecodeCodeBlockState* state) : src_(src), s_(*state) {}

  void start() {
    s_.code = at(s_.position) << 16;
    byteIn();
    s_.code <<= 7;
    s_.count -= 7;
    s_.interval = 0x8000;
    s_.shifted = 0;
  }
  int code(int context) { return context == rawBit ? raw() : decode(&s_.contexts[context]); }

  /// Whether the segment from `begin` on is as predictable termination (D.4.2) leaves it behind the
  /// decisions. An encoder that has shifted so many bits sends the fewest bytes that have as many,
  /// of the least number in its interval, but no last byte of ones. So the number sent, with ones
  /// for what was cut off, exceeds the interval's base by less than the last bit sent.
  bool endsPredictably(int begin, bool isRaw) const {
    int sent = 0, last = 0;
    for (int i = begin; i < s_.limit; ++i) {
      const bool behindOnes = i > begin && src_[i - 1] == 0xFF;
      if (behindOnes && src_[i] > (isRaw ? 0x7F : 0x8F)) return false;
      last = behindOnes ? 7 : 8;
      sent += last;
    }
    if (s_.limit > begin && src_[s_.limit - 1] == 0xFF) return false;
    if (isRaw) return sent + 8 == s_.shifted || isPadding(sent - s_.shifted);
    if (sent < s_.shifted) {
      last = 8;
      sent += last;
    }
    const int more = sent - s_.shifted;
    return more >= 0 && (more < last || sent == 0) && s_.code >> 16 < 1u << (15 - more);
  }

 private:
  uint32_t at(int position) const { return position < s_.limit ? src_[position] : 0xFF; }

  /// Whether the last `count` bits of the segment are 0, 1, 0 and so on.
  bool isPadding(int count) const {
    if (count < 0 || count > 7) return false;
    for (int bit = 0; bit < count; ++bit) {
      if ((src_[s_.limit - 1] >> (count - 1 - bit) & 1) != bit % 2) return false;
    }
    return true;
  }

  void byteIn() {
    const uint32_t next = at(s_.position + 1);
    if (at(s_.position) != 0xFF) {
      s_.code += next << 8;
      s_.count = 8;
    } else if (next > 0x8F) {
      s_.code += 0xFF00;
      s_.count = 8;
      return;
    } else {
      s_.code += next << 9;
      s_.count = 7;
    }
    ++s_.position;
  }
  int decode(MqContext* cx) {
    const uint32_t qe = table[cx->index].qe;
    int bit = cx->mps;
    s_.interval -= qe;
    if (s_.code >> 16 < qe) {
      if (s_.interval < qe) {
        moreProbable(cx);
      } else {
        bit = 1 - bit;
        lessProbable(cx);
      }
      s_.interval = qe;
    } else {
      s_.code -= qe << 16;
      if ((s_.interval & 0x8000) != 0) return bit;
      if (s_.interval < qe) {
        bit = 1 - bit;
        lessProbable(cx);
      } else {
        moreProbable(cx);
      }
    }
    do {
      if (s_.count == 0) byteIn();
      s_.interval <<= 1;
      s_.code <<= 1;
      --s_.count;
      ++s_.shifted;
    } while ((s_.interval & 0x8000) == 0);
    return bit;
  }
  int raw() {
    if (s_.rawLeft == 0) {
      const bool stuffed = s_.rawByte == 0xFF;
      const uint32_t next = at(s_.position);
      if (!stuffed || next <= 0x8F) {
        s_.rawByte = next;
        s_.rawLeft = stuffed ? 7 : 8;
        ++s_.position;
      } else {
        s_.rawLeft = 8;
      }
    }
    ++s_.shifted;
    return int(s_.rawByte >> --s_.rawLeft & 1);
  }

  const uint8_t* src_;
  RkdiDecodeCodeBlockState& s_;
};

/// Raw bits as bytes; a byte behind 0xFF begins with a 0 that is none of them.
inline std::vector<uint8_t> rawBytes(const std::vector<int>& bits, bool predictably) {
  std::vector<uint8_t> bytes;
  size_t at = 0;
  while (at < bits.size() || (predictably && !bytes.empty() && bytes.back() == 0xFF)) {
    unsigned byte = 0;
    int pad = 0;
    const bool behindFF = !bytes.empty() && bytes.back() == 0xFF;
    for (int i = behindFF ? 7 : 8; i > 0; --i) {
      int bit = pad;
      if (at < bits.size()) {
        bit = bits[at++];
      } else {
        pad = 1 - pad;
      }
      byte = 2 * byte + unsigned(bit);
    }
    bytes.push_back(uint8_t(byte));
  }
  if (predictably) return bytes;
  const size_t n = bytes.size();
  if (n >= 1 && bytes[n - 1] == 0xFF) {
    bytes.pop_back();
  } else if (n >= 2 && bytes[n - 1] == 0x7F && bytes[n - 2] == 0xFF) {
    bytes.resize(n - 2);
  }
  return bytes;
}

}  // namespace ref::mq
