// Writing down the decisions of a coding pass, compiled once per level. An encoder knows a whole
// bit plane beforehand: who is coded, and in what context, is worked out for the sixty-four
// coefficients of a word at once, in maps, without a branch on any of them. Include after
// "hwy/highway.h", inside no namespace.
#if defined(RKD_JPEG2000_RECORDER_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef RKD_JPEG2000_RECORDER_INL_H_
#undef RKD_JPEG2000_RECORDER_INL_H_
#else
#define RKD_JPEG2000_RECORDER_INL_H_
#endif

#include <bit>
#include <cstdint>
#include <cstring>

#include "common/native-inl.h"
#include "hwy/highway.h"
#include "jpeg2000/encodestate.h"
#include "jpeg2000/mq.h"

HWY_BEFORE_NAMESPACE();
namespace rkd::HWY_NAMESPACE {
using namespace j2k;
namespace hn = hwy::HWY_NAMESPACE;

// ---- maps to bytes ----

inline constexpr uint64_t eachByte = 0x0101010101010101;

/// The eight lowest bits to a byte each.
HWY_INLINE uint64_t bitsToBytes(uint64_t bits) {
#if HWY_TARGET <= HWY_AVX2
  return spreadBits(bits, eachByte);
#else
  const uint64_t each = (bits & 0xFF) * eachByte & 0x8040201008040201;
  return (each + 0x7F * eachByte) >> 7 & eachByte;
#endif
}

/// The 32 lowest bits to every second place.
HWY_INLINE uint64_t everySecond(uint64_t bits) {
#if HWY_TARGET <= HWY_AVX2
  return spreadBits(bits, 0x5555555555555555);
#else
  bits &= 0xFFFFFFFF;
  bits = (bits | bits << 16) & 0x0000FFFF0000FFFF;
  bits = (bits | bits << 8) & 0x00FF00FF00FF00FF;
  bits = (bits | bits << 4) & 0x0F0F0F0F0F0F0F0F;
  bits = (bits | bits << 2) & 0x3333333333333333;
  return (bits | bits << 1) & 0x5555555555555555;
#endif
}

/// Appends those of eight bytes whose bits are set; as many more may be overwritten.
HWY_INLINE uint8_t* appendBytes(uint8_t* out, uint64_t bytes, unsigned which) {
#if HWY_TARGET <= HWY_AVX2
  bytes = gatherBits(bytes, bitsToBytes(which) * 0xFF);
  std::memcpy(out, &bytes, sizeof bytes);
  return out + std::popcount(which);
#else
  for (int i = 0; i < 8; ++i) {
    *out = uint8_t(bytes >> 8 * i);
    out += which >> i & 1;
  }
  return out;
#endif
}

// ---- contexts of sixty-four coefficients ----

/// Who is significant around each when it is coded: those before it are as this pass leaves them.
struct Around {
  Map west, east, north, south, northWest, northEast, southWest, southEast;

  /// @param now  the word as the pass leaves it; behind it, memory has what was before
  Around(const Block& block, const Map* at, Map now) {
    const Map* const above = at - block.mapPitch();
    const Map* const below = at + block.mapPitch();
    const Map none[3] = {0, 0, 0};
    const Map* const under = block.causal ? none + 1 : below;
    west = fromLeft(now, at[-1]);
    east = fromRight(at[0], at[1]);
    north = fromAbove(now, above[0]);
    south = fromBelow(at[0], under[0]);
    northWest = fromAbove(west, fromLeft(above[0], above[-1]));
    northEast = fromAbove(east, fromRight(above[0], above[1]));
    southWest = fromBelow(west, fromLeft(under[0], under[-1]));
    southEast = fromBelow(east, fromRight(under[0], under[1]));
  }
};

/// The four bits of a zero-coding label, as maps.
struct ZeroLabels {
  Map bit[4];

  ZeroLabels(const Around& a, int band) {
    const bool turned = band == rkdBandHL;
    const Map h1 = turned ? a.north ^ a.south : a.west ^ a.east;
    const Map h2 = turned ? a.north & a.south : a.west & a.east;
    const Map v1 = turned ? a.west ^ a.east : a.north ^ a.south;
    const Map v2 = turned ? a.west & a.east : a.north & a.south;
    // The number of diagonal neighbours: 1 or 3, 2 or 3, 4.
    const Map upperOdd = a.northWest ^ a.northEast, upperBoth = a.northWest & a.northEast;
    const Map lowerOdd = a.southWest ^ a.southEast, lowerBoth = a.southWest & a.southEast;
    const Map d1 = upperOdd ^ lowerOdd;
    const Map d2 = upperBoth ^ lowerBoth ^ (upperOdd & lowerOdd);
    const Map d4 = upperBoth & lowerBoth;
    if (band == rkdBandHH) {
      diagonal(h1, h2, v1, v2, d1, d2, d4);
    } else {
      straight(h1, h2, v1, v2, d1, d2 | d4);
    }
  }

 private:
  /// By neighbours in the direction that the band has kept sharp, then the other, then diagonals.
  HWY_INLINE void straight(Map h1, Map h2, Map v1, Map v2, Map d1, Map severalD) {
    const Map v = v1 | v2;
    const Map noH = ~(h1 | h2);
    const Map only = noH & ~v;
    bit[3] = h2;
    bit[2] = h1 | (noH & v2);
    bit[1] = (h1 & (v | d1 | severalD)) | (noH & v1) | (only & severalD);
    bit[0] = (h1 & (v | ~(d1 | severalD))) | (noH & v1) | (only & d1 & ~severalD);
  }
  HWY_INLINE void diagonal(Map h1, Map h2, Map v1, Map v2, Map d1, Map d2, Map d4) {
    const Map several = h2 | v2 | (h1 & v1);
    const Map any = h1 | v1 | several;
    const Map three = (d1 & d2) | d4, two = d2 & ~d1, one = d1 & ~d2, none = ~(d1 | d2 | d4);
    bit[3] = three;
    bit[2] = two | (one & any);
    bit[1] = two | (one & ~any) | (none & several);
    bit[0] = (two & any) | (one & (~any | several)) | (none & any & ~several);
  }
};

/// Sign contexts, counted from the first, as maps; and the sign that is expected.
struct SignLabels {
  Map bit[3];
  Map flip;

  SignLabels(const Around& a, const Block& block, const Map* negative) {
    const int pitch = block.mapPitch();
    const Balance h(a.west, fromLeft(negative[0], negative[-1]), a.east,
                    fromRight(negative[0], negative[1]));
    const Balance v(a.north, fromAbove(negative[0], negative[-pitch]), a.south,
                    fromBelow(negative[0], negative[pitch]));
    const Map anyH = h.positive | h.negative, anyV = v.positive | v.negative;
    const Map agree = (h.positive & v.positive) | (h.negative & v.negative);
    flip = h.negative | (~anyH & v.negative);
    bit[0] = anyH ^ anyV;
    bit[1] = anyH & ~agree;
    bit[2] = agree;
  }

 private:
  /// Of two opposite neighbours.
  struct Balance {
    Map positive, negative;
    Balance(Map first, Map firstSign, Map second, Map secondSign) {
      const Map plus1 = first & ~firstSign, minus1 = first & firstSign;
      const Map plus2 = second & ~secondSign, minus2 = second & secondSign;
      positive = (plus1 & ~minus2) | (plus2 & ~minus1);
      negative = (minus1 & ~plus2) | (minus2 & ~plus1);
    }
  };
};

// ---- passes ----

/// By how much the squared error falls, summed without rounding: it is linear in the magnitudes,
/// and so a matter of counting bits.
class Distortion {
 public:
  explicit Distortion(int plane) : plane_(plane) {}

  /// @param planes  magnitude bits of the word
  HWY_INLINE void becomeSignificant(Map which, const Map* planes) {
    const int count = std::popcount(which);
    becoming_ += (int64_t{count} << plane_) + lowBits(which, planes);
    becomingCount_ += count;
  }
  /// The distance from the middle is that of the low bits from 0 or, below it, from 2^plane.
  HWY_INLINE void refine(Map which, const Map* planes) {
    const Map above = which & planes[plane_], below = which & ~above;
    refined_ +=
        lowBits(above, planes) - lowBits(below, planes) + (int64_t{std::popcount(below)} << plane_);
    refinedCount_ += std::popcount(which);
  }
  /// With s = 2^plane, x the magnitude, d its distance from the middle of what was known:
  /// x^2 - (x - 1.5 s)^2, and d^2 - (d - s / 2)^2. At plane 0 nothing is left of x^2 and d^2.
  double sum() const {
    if (plane_ == 0) return double(becoming_ + refined_);
    const double step = double(int64_t{1} << plane_);
    return step * (3 * double(becoming_) + double(refined_)) -
           step * step * (2.25 * becomingCount_ + 0.25 * refinedCount_);
  }

 private:
  /// Sum of what stands below the plane.
  HWY_INLINE int64_t lowBits(Map which, const Map* planes) const {
    int64_t sum = 0;
    for (int p = plane_ - 1; p >= 0; --p) sum = 2 * sum + std::popcount(which & planes[p]);
    return sum;
  }

  int plane_;
  int64_t becoming_ = 0, refined_ = 0;
  int becomingCount_ = 0, refinedCount_ = 0;
};

/// Writes down the decisions of one pass: labels of contexts, times two, plus the decision. Behind
/// the last, up to seven bytes are overwritten.
class Recorder {
 public:
  /// @param planes  how many each word has
  Recorder(const Block& block, Coefficients* c, int planes, int plane, bool raw, uint8_t* out)
      : block_(block),
        c_(c),
        planes_(planes),
        plane_(plane),
        flipMask_(raw ? 0 : ~Map{0}),
        out_(out),
        distortion_(plane) {}

  /// Coefficients that are not significant but have a neighbour that is.
  void significance() {
    for (Words at(block_); at.more(); at.next()) {
      Map* const significant = &c_->significant[at.map];
      const Map open = at.inside & ~*significant;
      const Map near = neighbours8(block_, significant) & open;
      const Map ones = planesOf(at)[plane_];
      // Who becomes significant takes neighbours behind it along.
      Map members = near;
      for (Map before = 0; members != before;) {
        before = members;
        const Map fresh = members & ones;
        const Map column = fresh | (fresh << 1 & ~topRows) | (fresh >> 1 & ~bottomRows);
        members = (near | (fresh << 1 & ~topRows) | column << 4) & open;
      }
      c_->visited[at.map] = members;
      if (members == 0) continue;
      const Map fresh = members & ones;
      append(Labels(*this, at, fresh), members, fresh, 0);
      *significant |= fresh;
      distortion_.becomeSignificant(fresh, planesOf(at));
    }
  }

  /// Coefficients that were significant before this plane.
  void refinement() {
    for (Words at(block_); at.more(); at.next()) {
      const Map* const significant = &c_->significant[at.map];
      const Map members = *significant & ~c_->visited[at.map];
      if (members == 0) continue;
      const Map refined = c_->refined[at.map];
      const Map near = neighbours8(block_, significant) & ~refined;
      const Map ones = planesOf(at)[plane_];
      for (unsigned i = 0; i < 64; i += 8) {
        const uint64_t symbols = 2 * contextRefine * eachByte + bitsToBytes(ones >> i) +
                                 2 * bitsToBytes(near >> i) + 4 * bitsToBytes(refined >> i);
        out_ = appendBytes(out_, symbols, unsigned(members >> i & 0xFF));
      }
      c_->refined[at.map] = refined | members;
      distortion_.refine(members, planesOf(at));
    }
  }

  /// All others, whole columns at once where nothing is significant around them.
  void cleanup() {
    for (Words at(block_); at.more(); at.next()) {
      Map* const significant = &c_->significant[at.map];
      const Map members = at.inside & ~*significant & ~c_->visited[at.map];
      c_->visited[at.map] = 0;
      if (members == 0) continue;
      const Map fresh = members & planesOf(at)[plane_];
      Labels labels(*this, at, fresh);
      const Map quiet = ~columnsOf(~members | labels.surroundings) & topRows;
      const Map runs = quiet & columnsOf(fresh);
      const Map zeroRuns = quiet & ~runs;
      labels.replace(zeroRuns, 2 * contextRun);
      append(labels, members & ~(zeroRuns * 14), fresh, runs);
      *significant |= fresh;
      distortion_.becomeSignificant(fresh, planesOf(at));
    }
  }

  void segmentationSymbol() {
    for (const unsigned bit : {1u, 0u, 1u, 0u}) *out_++ = uint8_t(2 * contextUniform | bit);
  }

  const uint8_t* end() const { return out_; }
  double distortion() const { return distortion_.sum(); }

 private:
  /// What a word's coefficients have to say in zero coding and in sign coding.
  struct Labels {
    Map zero[6], sign[4];  ///< the symbols bit by bit, the decision first
    Map surroundings;      ///< someone outside of the own column is significant

    HWY_INLINE Labels(const Recorder& r, const Words& at, Map fresh) {
      const Map* const significant = &r.c_->significant[at.map];
      const Map* const negative = &r.c_->negative[at.map];
      const Around around(r.block_, significant, *significant | fresh);
      const ZeroLabels zeros(around, r.block_.band);
      const SignLabels signs(around, r.block_, negative);
      zero[0] = r.planesOf(at)[r.plane_];
      for (int i = 0; i < 4; ++i) zero[i + 1] = zeros.bit[i];
      zero[5] = 0;
      sign[0] = *negative ^ (signs.flip & r.flipMask_);
      for (int i = 0; i < 3; ++i) sign[i + 1] = signs.bit[i];
      surroundings = around.west | around.east | around.northWest | around.northEast |
                     around.southWest | around.southEast | (around.north & topRows) |
                     (around.south & bottomRows);
    }
    /// Stores pairs of symbols, zero coding and sign; placeOfPair tells where that of coefficient i
    /// is, with those of the other three in its column behind it.
    HWY_INLINE void store(uint8_t* pairs) const;
    static constexpr size_t placeOfPair(size_t i);
    /// Another zero-coding symbol for some.
    HWY_INLINE void replace(Map which, unsigned symbol) {
      for (unsigned i = 0; i < 6; ++i) {
        zero[i] = (symbol >> i & 1) != 0 ? zero[i] | which : zero[i] & ~which;
      }
    }
  };

  /// Appends zero-coding and sign symbols.
  /// @param runs  the topmost bits of columns that a run precedes
  HWY_INLINE void append(const Labels& labels, Map zeros, Map signs, Map runs) {
    HWY_ALIGN uint8_t pairs[128];
    labels.store(pairs);
    const uint64_t which[2] = {everySecond(zeros) | everySecond(signs) << 1,
                               everySecond(zeros >> 32) | everySecond(signs >> 32) << 1};
    uint8_t* out = out_;
    for (size_t i = 0; i < 64; i += 4) {
      uint64_t symbols;
      std::memcpy(&symbols, pairs + Labels::placeOfPair(i), sizeof symbols);
      unsigned coded = unsigned(which[i / 32] >> i % 32 * 2 & 0xFF);
      if ((runs >> i & 1) != 0) [[unlikely]] {
        const unsigned row = unsigned(std::countr_zero(signs >> i));
        out[0] = 2 * contextRun | 1;
        out[1] = uint8_t(2 * contextUniform | row >> 1);
        out[2] = uint8_t(2 * contextUniform | (row & 1));
        out += 3;
        coded &= 0xAA | 0x54u << 2 * row;  // no zero coding up to there
      }
      out = appendBytes(out, symbols, coded);
    }
    out_ = out;
  }

  const Map* planesOf(const Words& at) const { return &c_->magnitude[at.index * planes_]; }

  /// The topmost bit of each column that has any.
  static Map columnsOf(Map map) { return (map | map >> 1 | map >> 2 | map >> 3) & topRows; }

  const Block& block_;
  Coefficients* c_;
  int planes_, plane_;
  Map flipMask_;
  uint8_t* out_;
  Distortion distortion_;
};

#if HWY_TARGET == HWY_EMU128

// Vectors that are emulated are no help.
HWY_INLINE void Recorder::Labels::store(uint8_t* pairs) const {
  // The four lowest bits to two bytes each.
  const auto spread = [](Map bits) {
    return (bits & 15) * 0x0000200040008001 & 0x0001000100010001;
  };
  for (unsigned i = 0; i < 64; i += 4) {
    uint64_t symbols = uint64_t{2 * contextSign} * 0x0100010001000100;
    for (unsigned k = 0; k < 6; ++k) symbols += spread(zero[k] >> i) << k;
    for (unsigned k = 0; k < 4; ++k) symbols += spread(sign[k] >> i) << (8 + k);
    std::memcpy(pairs + placeOfPair(i), &symbols, sizeof symbols);
  }
}
constexpr size_t Recorder::Labels::placeOfPair(size_t i) { return 2 * i; }

#else

HWY_INLINE void Recorder::Labels::store(uint8_t* pairs) const {
  const hn::CappedTag<uint8_t, 64> d;
  constexpr size_t lanes = hn::MaxLanes(d);
  const auto bit = [d](const Map& map, size_t first, unsigned k) {
    const auto mask = hn::LoadMaskBits(d, reinterpret_cast<const uint8_t*>(&map) + first / 8);
    return hn::IfThenElseZero(mask, hn::Set(d, uint8_t(1u << k)));
  };
  for (size_t i = 0; i < 64; i += lanes) {
    auto zeros = hn::Zero(d);
    for (unsigned k = 0; k < 6; ++k) zeros = hn::Or(zeros, bit(zero[k], i, k));
    auto signs = hn::Zero(d);
    for (unsigned k = 0; k < 4; ++k) signs = hn::Or(signs, bit(sign[k], i, k));
    signs = hn::Add(signs, hn::Set(d, uint8_t(2 * contextSign)));
    hn::Store(hn::InterleaveLower(d, zeros, signs), d, pairs + 2 * i);
    hn::Store(hn::InterleaveUpper(d, zeros, signs), d, pairs + 2 * i + lanes);
  }
}
// Interleaving keeps to blocks of sixteen bytes.
constexpr size_t Recorder::Labels::placeOfPair(size_t i) {
  constexpr size_t lanes = hn::MaxLanes(hn::CappedTag<uint8_t, 64>());
  return i / lanes * 2 * lanes + i % lanes / 16 * 16 + i % 16 / 8 * lanes + i % 8 * 2;
}

#endif

}  // namespace rkd::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif  // per-target include guard
