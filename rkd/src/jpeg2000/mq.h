// The arithmetic coder of ITU-T T.800, annex C, in both directions, and raw bits beside it.
//
// Neither has branches on data, but for a byte out and for six bytes in, which come once in many
// decisions.
#pragma once

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <utility>

namespace rkd::j2k {

/// Labels of the contexts. Zero coding has 0..8.
enum Context : unsigned {
  contextSign = 9,
  contextRefine = 14,
  contextRun = 17,
  contextUniform = 18,
  contextCount = 19
};

/// A state of the probability estimation together with the more probable symbol, whole, so that one
/// access to a context tells everything: the estimate in the top 16 bits, and in the two lowest
/// bytes the numbers of the entries that follow the less and the more probable symbol. The latter's
/// lowest bit is the more probable symbol itself, which a renormalisation behind it does not
/// change.
using MqWord = uint64_t;
inline constexpr unsigned mqTop = 48;

/// The standard's table.
struct MqRow {
  uint16_t qe;
  uint8_t nextMps, nextLps, exchange;
};
inline constexpr std::array<MqRow, 47> mqRows = {{
    {0x5601, 1, 1, 1},   {0x3401, 2, 6, 0},   {0x1801, 3, 9, 0},   {0x0AC1, 4, 12, 0},
    {0x0521, 5, 29, 0},  {0x0221, 38, 33, 0}, {0x5601, 7, 6, 1},   {0x5401, 8, 14, 0},
    {0x4801, 9, 14, 0},  {0x3801, 10, 14, 0}, {0x3001, 11, 17, 0}, {0x2401, 12, 18, 0},
    {0x1C01, 13, 20, 0}, {0x1601, 29, 21, 0}, {0x5601, 15, 14, 1}, {0x5401, 16, 14, 0},
    {0x5101, 17, 15, 0}, {0x4801, 18, 16, 0}, {0x3801, 19, 17, 0}, {0x3401, 20, 18, 0},
    {0x3001, 21, 19, 0}, {0x2801, 22, 19, 0}, {0x2401, 23, 20, 0}, {0x2201, 24, 21, 0},
    {0x1C01, 25, 22, 0}, {0x1801, 26, 23, 0}, {0x1601, 27, 24, 0}, {0x1401, 28, 25, 0},
    {0x1201, 29, 26, 0}, {0x1101, 30, 27, 0}, {0x0AC1, 31, 28, 0}, {0x09C1, 32, 29, 0},
    {0x08A1, 33, 30, 0}, {0x0521, 34, 31, 0}, {0x0441, 35, 32, 0}, {0x02A1, 36, 33, 0},
    {0x0221, 37, 34, 0}, {0x0141, 38, 35, 0}, {0x0111, 39, 36, 0}, {0x0085, 40, 37, 0},
    {0x0049, 41, 38, 0}, {0x0025, 42, 39, 0}, {0x0015, 43, 40, 0}, {0x0009, 44, 41, 0},
    {0x0005, 45, 42, 0}, {0x0001, 45, 43, 0}, {0x5601, 46, 46, 0},
}};

/// Entry 2 * i + mps of the coders' tables belongs to row i: the entries behind it.
inline constexpr size_t mqEntries = 2 * mqRows.size();
constexpr unsigned mqNextMps(size_t entry) {
  return 2u * mqRows[entry / 2].nextMps + unsigned(entry % 2);
}
constexpr unsigned mqNextLps(size_t entry) {
  return 2u * mqRows[entry / 2].nextLps + (unsigned(entry % 2) ^ mqRows[entry / 2].exchange);
}

inline constexpr std::array<MqWord, mqEntries> mqWords = [] {
  std::array<MqWord, mqEntries> words{};
  for (size_t i = 0; i < mqEntries; ++i) {
    words[i] = MqWord{mqRows[i / 2].qe} << mqTop | mqNextLps(i) << 8 | mqNextMps(i);
  }
  return words;
}();

/// The same for a decoder, which learns the symbol by choosing what follows: the estimate in the
/// low 16 bits, the entry's number in the top 8, and between them in bit 16 the decision that led
/// to it.
using MqState = uint32_t;
inline constexpr std::array<MqState, mqEntries> mqStates = [] {
  std::array<MqState, mqEntries> states{};
  for (size_t i = 0; i < mqEntries; ++i) states[i] = MqState(i << 24 | mqRows[i / 2].qe);
  return states;
}();

/// What follows an entry's more probable symbol, and in the high half what follows the other.
inline constexpr std::array<uint64_t, mqEntries> mqFollowers = [] {
  std::array<uint64_t, mqEntries> followers{};
  for (size_t i = 0; i < mqEntries; ++i) {
    const uint64_t mps = i % 2;
    followers[i] =
        (mqStates[mqNextLps(i)] | (mps ^ 1) << 16) << 32 | mqStates[mqNextMps(i)] | mps << 16;
  }
  return followers;
}();

/// The entry of every context.
template <class Entry, const std::array<Entry, mqEntries>& entries>
struct MqContexts {
  std::array<Entry, contextCount> entry;
  void reset() {
    entry.fill(entries[0]);
    entry[0] = entries[2 * 4];
    entry[contextRun] = entries[2 * 3];
    entry[contextUniform] = entries[2 * 46];
  }
};
using MqEncoderContexts = MqContexts<MqWord, mqWords>;
using MqDecoderContexts = MqContexts<MqState, mqStates>;

/// Where an encoder stood at the end of a pass: enough to tell later how many bytes the pass needs.
struct MqMark {
  uint32_t code, interval;
  int count;
  uint8_t* last;
  uint8_t lastByte;
};

/// Encodes one segment after the other into one buffer.
class MqEncoder {
 public:
  /// `last` is the byte before the first one: not 0xFF, and never changed.
  void start(uint8_t* last, uint8_t* limit) {
    code_ = 0;
    interval_ = uint64_t{1} << 63;
    count_ = 12;
    last_ = last;
    limit_ = limit;
  }

  /// Symbols are the label of their context, times two, plus the decision.
  [[gnu::always_inline]] void encode(const uint8_t* symbol, const uint8_t* end,
                                     MqEncoderContexts* contexts) {
    uint64_t code = code_;
    uint64_t interval = interval_;
    int count = count_;
    for (; symbol != end; ++symbol) {
      MqWord* const context = &contexts->entry[*symbol >> 1];
      const uint64_t part = choose(interval, *symbol, context);
      const uint64_t add = part & 0xFFFF;
      code += add;
      int shift = __builtin_clzll(part);
      interval = (part ^ add) << shift;
      count -= shift;
      if (count <= 0) [[unlikely]] {
        count += shift;
        do {
          code <<= count;
          shift -= count;
          count = byteOut(&code);
        } while (shift >= count);
        count -= shift;
      }
      code <<= shift;
    }
    code_ = code;
    interval_ = interval;
    count_ = count;
  }

  /// Behind the last byte that is out.
  const uint8_t* end() const { return last_ + 1; }

  MqMark mark() const {
    return {uint32_t(code_), uint32_t(interval_ >> mqTop), count_, last_, *last_};
  }

  /// Ends the segment; returns the place behind its last byte.
  uint8_t* flush() {
    const uint64_t above = code_ + (interval_ >> mqTop);
    code_ |= 0xFFFF;
    if (code_ >= above) code_ -= 0x8000;
    for (int i = 0; i < 2; ++i) {
      code_ <<= count_;
      count_ = byteOut(&code_);
    }
    return *last_ == 0xFF ? last_ : last_ + 1;
  }

  /// The same so that a decoder can see whether the segment is as it was sent.
  uint8_t* flushPredictably() {
    for (int bits = 12 - count_; bits > 0; bits -= count_) {
      code_ <<= count_;
      count_ = byteOut(&code_);
    }
    if (*last_ != 0xFF) byteOut(&code_);  // for its carry
    return last_;
  }

  /// A buffer that was too small has its last byte overwritten again and again.
  bool overflowed() const { return last_ + 1 >= limit_; }

 private:
  /// The part of the interval that stands for the symbol, in its low half what to add to the code
  /// for it; the context is updated. As in decoding, conditional moves do what would be half of the
  /// time the wrong branch. That the symbol is known beforehand is made use of: the less probable
  /// one gets the smaller part, and which is the smaller one is asked last.
  [[gnu::always_inline]] static uint64_t choose(uint64_t interval, unsigned symbol,
                                                MqWord* context) {
    const MqWord word = *context;
    const uint64_t estimate = word >> mqTop;
    const uint64_t qe = estimate << mqTop;
    const uint64_t rest = interval - qe + estimate;
    const MqWord nextLps = mqWords[uint8_t(word >> 8)];
    MqWord next = mqWords[uint8_t(word)];
    uint64_t part = rest, other = qe;
    const uint64_t lps = symbol ^ word;  // bit 0
#if defined(__x86_64__)
    asm("testb $1, %b[lps]\n\t"
        "cmovne %[qe], %[part]\n\t"
        "cmovne %[rest], %[other]\n\t"
        "cmovne %[nextLps], %[next]\n\t"
        "cmp %[qe], %[rest]\n\t"
        "cmovb %[other], %[part]\n\t"
        "test %[part], %[part]\n\t"
        "cmovs %[word], %[next]"
        : [part] "+&r"(part), [other] "+&r"(other), [next] "+&r"(next)
        : [lps] "r"(lps), [qe] "r"(qe), [rest] "r"(rest), [nextLps] "r"(nextLps), [word] "r"(word)
        : "cc");
#else
    if ((lps & 1) != 0) {
      std::swap(part, other);
      next = nextLps;
    }
    if (rest < qe) part = other;
    if (int64_t(part) < 0) next = word;
#endif
    *context = next;
    return part;
  }

  [[gnu::always_inline]] int byteOut(uint64_t* code) {
    // A carry goes to the last byte, unless it is 0xFF: then its place is the next byte's first
    // bit.
    const uint64_t c = *code;
    const uint8_t before = *last_;
    const unsigned carry = unsigned(c >> 27 & 1) & unsigned(before != 0xFF);
    const unsigned raised = before + carry;
    *last_ = uint8_t(raised);
    const bool stuffed = raised == 0xFF;
    const unsigned at = 19 + unsigned(stuffed);
    last_ += last_ + 1 < limit_ ? 1 : 0;
    const uint64_t rest = c - (uint64_t(carry) << 27);
    *last_ = uint8_t(rest >> at);
    *code = rest & ((uint64_t{1} << at) - 1);
    return 8 - int(stuffed);
  }

  uint64_t code_, interval_;  ///< the interval in the top of its register, as in a decoder
  int count_;
  uint8_t* last_;
  uint8_t* limit_;
};

/// A limit of the interval at a mark, byte by byte from the last one that was out.
struct MqLimit {
  static constexpr int bytes = 6;  ///< behind them only the fill follows
  std::array<uint8_t, bytes> byte;
  std::array<int, bytes> aboveOnes;  ///< what it exceeds a byte of ones by

  MqLimit(const MqMark& mark, bool afterFF, uint64_t code, unsigned fill) {
    unsigned next = mark.lastByte;
    unsigned count = unsigned(mark.count);
    for (size_t i = 0; i < size_t{bytes}; ++i) {
      code = ((code + fill) << count) - fill;
      const unsigned ones = afterFF ? 0x7F : 0xFF;
      afterFF = next == 0xFF;
      if (!afterFF && (code & 0x8000000) != 0) {
        code &= 0x7FFFFFF;
        afterFF = ++next == 0xFF;
      }
      byte[i] = uint8_t(next);
      aboveOnes[i] = int(next) - int(ones);
      const unsigned at = afterFF ? 20 : 19;
      next = unsigned(code >> at);
      code &= (uint64_t{1} << at) - 1;
      count = afterFF ? 7 : 8;
    }
  }
  /// Whether ones from byte `from` on are on the inner side of the limit, if the bytes before are
  /// the limit's own.
  bool allowsOnes(int from, bool upper) const {
    while (from < bytes && aboveOnes[size_t(from)] == 0) ++from;
    return from >= bytes || (aboveOnes[size_t(from)] > 0) == upper;
  }
  /// How many bytes of a segment are the limit's own.
  int common(const uint8_t* at, int length) const {
    int i = 0;
    while (i < bytes && i < length && at[i] == byte[size_t(i)]) ++i;
    return i;
  }
};

/// The fewest of the segment's bytes from which every decision up to the mark can be decoded, when
/// what is missing reads as ones: the code must stay within the interval at the mark. Returns the
/// place behind the last byte.
inline const uint8_t* mqNeeded(const MqMark& mark, const uint8_t* first, const uint8_t* end) {
  const bool afterFF = mark.last >= first && mark.last[-1] == 0xFF;
  const MqLimit least(mark, afterFF, mark.code, 0);
  const MqLimit most(mark, afterFF, uint64_t{mark.code} + mark.interval - 1, 1);
  const int length = int(end - mark.last);
  const int likeLeast = least.common(mark.last, length);
  const int likeMost = most.common(mark.last, length);
  int kept = 0;
  while (kept < length && ((kept <= likeLeast && !least.allowsOnes(kept, false)) ||
                           (kept <= likeMost && !most.allowsOnes(kept, true)))) {
    ++kept;
  }
  const uint8_t* needed = mark.last + (kept < length ? kept : length);
  while (needed > first && needed[-1] == (needed[-2] == 0xFF ? 0x7F : 0xFF)) --needed;
  return needed < first ? first : needed;
}

/// Decodes one segment. Copies of it in local variables stay in registers.
///
/// The registers are those of the standard, in the top of 64 bits: below is room for six bytes read
/// ahead. They are added as the standard adds them one by one. Only a byte that brings a carry from
/// behind 0xFF waits until it is due: in a damaged segment, decisions before it would see another
/// value.
class MqDecoder {
 public:
  void start(const uint8_t* from, const uint8_t* end) {
    end_ = end;
    left_ = end - from;
    code_ = uint64_t{byteAt(end_, left_)} << mqTop;
    const Ahead ahead = read(end_, left_);
    code_ = (code_ + ahead.bits) << 7;
    count_ = ahead.count - 7;
    left_ -= ahead.bytes;
    interval_ = uint64_t{1} << 63;
  }

  /// The context is updated.
  [[gnu::always_inline]] unsigned decode(MqState* context) {
    const MqState state = *context;
    const uint64_t qe = uint64_t{state} << mqTop;
    Choice choice = {interval_ - qe, code_, mqFollowers[state >> 24]};
    choose(&choice, qe);
    const auto chosen = MqState(choice.follower);
    *context = followed(state, chosen, choice.interval);
    int shift = __builtin_clzll(choice.interval);
    interval_ = choice.interval << shift;
    while (shift > count_) [[unlikely]] {
        choice.code <<= count_;
        shift -= count_;
        const Ahead ahead = read(end_, left_);
        choice.code += ahead.bits;
        count_ = ahead.count;
        left_ -= ahead.bytes;
      }
    code_ = choice.code << shift;
    count_ -= shift;
    return chosen >> 16 & 1;
  }

  /// Whether the segment is one that MqEncoder::flushPredictably ends after these decisions: the
  /// fewest bytes that have as many bits as the decisions have shifted out, of the least code that
  /// there is. The register, which holds how far above it the code is, is as small then as the bits
  /// left out allow. A last byte of ones is not sent, but among those that were supposed.
  bool isEndPredictable(const uint8_t* from) const {
    if (left_ > 0) return false;
    int64_t more = 7 + count_ + 8 * left_;  // bits sent than shifted out
    if (more < 0) more += 8;
    const bool isShort = end_ - from > 1 && end_[-2] == 0xFF;
    return more >= 0 && more < (isShort ? 7 : 8) && code_ >> mqTop >> (15 - more) == 0;
  }

 private:
  struct Ahead {
    uint64_t bits;
    int32_t count, bytes;
  };

  struct Choice {
    uint64_t interval;  ///< its upper part, and then the part that the code is in
    uint64_t code;
    uint64_t follower;  ///< of the more probable symbol, and then of the one that it was: low half
  };

  /// Half of the decisions are surprises, and compilers like to put a branch where several choices
  /// depend on one condition, hence the conditional moves. The lower part stands for the less
  /// probable symbol unless it is the larger one: each of the two exchanges the followers.
  [[gnu::always_inline]] static void choose(Choice* choice, uint64_t qe) {
#if defined(__x86_64__)
    const uint64_t code = choice->code;
    const uint64_t exchanged = std::rotr(choice->follower, 32);
    asm("cmp %[qe], %[interval]\n\t"
        "cmovb %[exchanged], %[follower]"
        : [follower] "+&r"(choice->follower)
        : [qe] "r"(qe), [interval] "r"(choice->interval), [exchanged] "r"(exchanged)
        : "cc");
    const uint64_t lower = std::rotr(choice->follower, 32);
    asm("sub %[qe], %[code]\n\t"
        "cmovb %[old], %[code]\n\t"
        "cmovb %[qe], %[interval]\n\t"
        "cmovb %[lower], %[follower]"
        : [code] "+&r"(choice->code), [interval] "+&r"(choice->interval),
          [follower] "+&r"(choice->follower)
        : [qe] "r"(qe), [old] "r"(code), [lower] "r"(lower)
        : "cc");
#else
    const bool exchanged = choice->interval < qe;
    const bool lower = choice->code < qe;
    choice->code -= lower ? 0 : qe;
    if (lower) choice->interval = qe;
    if (lower != exchanged) choice->follower >>= 32;
#endif
  }

  /// A context changes only where the interval has to be made larger.
  [[gnu::always_inline]] static MqState followed(MqState state, MqState chosen, uint64_t interval) {
#if defined(__x86_64__)
    asm("test %[interval], %[interval]\n\t"
        "cmovs %[state], %[chosen]"
        : [chosen] "+r"(chosen)
        : [interval] "r"(interval), [state] "r"(state)
        : "cc");
    return chosen;
#else
    return int64_t(interval) < 0 ? state : chosen;
#endif
  }

  /// Of the last `left` bytes the first one. Behind them are ones for ever.
  static unsigned byteAt(const uint8_t* end, int64_t left) { return left > 0 ? end[-left] : 0xFFu; }

  /// What to add below the registers: at least one byte, at most six.
  [[gnu::noinline]] static Ahead read(const uint8_t* end, int64_t left) {
    if (left >= 8) {
      uint64_t bytes;
      std::memcpy(&bytes, end - left, sizeof bytes);
      bytes = __builtin_bswap64(bytes);
      const uint64_t lows = 0x0101010101010101;
      if (((~bytes - lows) & bytes & lows << 7) == 0) return {bytes << 8 >> 16, 48, 6};
    }
    Ahead ahead = {0, 0, 0};
    for (; ahead.count <= 40; --left) {
      const uint64_t next = byteAt(end, left - 1);
      int length = 8;
      if (left > 0 && end[-left] == 0xFF) {
        if (next > 0x8F) {  // a marker: ones for ever
          ahead.bits |= ((uint64_t{1} << mqTop) - 1) >> ahead.count;
          ahead.count = 48;
          return ahead;
        }
        if (next > 0x7F && ahead.count > 0) return ahead;
        length = 7;
      }
      ahead.count += length;
      ahead.bits += next << (48 - ahead.count);
      ++ahead.bytes;
    }
    return ahead;
  }

  uint64_t code_, interval_;
  int count_;           ///< bits read ahead
  int64_t left_;        ///< bytes from the last one read to the end: 0 for the first one supposed
  const uint8_t* end_;  ///< of the segment
};

/// Raw bits, high bit first; a byte behind 0xFF has seven.
class RawWriter {
 public:
  void start(uint8_t* first, uint8_t* limit) {
    first_ = at_ = needed_ = first;
    limit_ = limit;
    byte_ = 0;
    left_ = 8;
  }
  void put(unsigned bit) {
    --left_;
    byte_ |= bit << left_;
    if (bit == 0) needed_ = at_ + 1;
    if (left_ == 0) send();
  }
  /// Behind the last byte that is out.
  const uint8_t* end() const { return at_; }
  /// The place behind the last byte with a zero: what is missing reads as ones.
  const uint8_t* needed() const { return needed_; }

  /// Ends the segment; returns the place behind its last byte. What can be left out is, unless a
  /// decoder wants to check the padding.
  uint8_t* flush(bool predictably) {
    const bool behindFF = at_ > first_ && at_[-1] == 0xFF;
    if (left_ < (behindFF ? 7u : 8u) || (behindFF && predictably)) {
      for (unsigned bit = 0; left_ > 0; bit ^= 1) byte_ |= bit << --left_;
      send();
    } else if (behindFF) {
      --at_;
    } else if (!predictably && at_ - first_ >= 2 && at_[-1] == 0x7F && at_[-2] == 0xFF) {
      at_ -= 2;
    }
    return at_;
  }

 private:
  void send() {
    if (at_ < limit_) *at_++ = uint8_t(byte_);
    left_ = byte_ == 0xFF ? 7 : 8;
    byte_ = 0;
  }
  uint8_t *first_, *at_, *needed_, *limit_;
  unsigned byte_, left_;
};

class RawReader {
 public:
  void start(const uint8_t* from, const uint8_t* end) {
    at_ = from;
    end_ = end;
    byte_ = left_ = 0;
    isPastEnd_ = isUnsendable_ = false;
  }
  unsigned take() {
    if (left_ == 0) {
      const bool stuffed = byte_ == 0xFF;
      const bool past = at_ >= end_;
      byte_ = past ? 0xFFu : *at_;
      left_ = 8;
      isUnsendable_ |= stuffed && byte_ > 0x7F;
      if (stuffed && byte_ > 0x8F) {
        byte_ = 0xFF;  // a marker, or the end: ones for ever
      } else {
        if (stuffed) left_ = 7;
        at_ += past ? 0 : 1;
        isPastEnd_ |= past;
      }
    }
    return byte_ >> --left_ & 1;
  }

  /// Whether the segment is one that RawWriter::flush ends predictably after these bits, or without
  /// a last byte of ones.
  bool isEndPredictable() const {
    if (isUnsendable_) return false;
    if (byte_ == 0xFF && left_ == 0) {  // is not left last, but padded
      return isPastEnd_ || (end_ - at_ == 1 && *at_ == 0x2A);
    }
    const unsigned padding = byte_ & ((1u << left_) - 1);
    return at_ == end_ && padding == 0x55u >> (8 - left_);
  }

 private:
  const uint8_t *at_, *end_;
  unsigned byte_, left_;
  bool isPastEnd_;     ///< one byte of ones was supposed behind the end
  bool isUnsendable_;  ///< met bits that no encoder sends
};

}  // namespace rkd::j2k
