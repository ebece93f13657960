// Stream bytes without what is stuffed behind 0xFF, a window of them at a time.
#if defined(RKD_HUFFPLAIN_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef RKD_HUFFPLAIN_INL_H_
#undef RKD_HUFFPLAIN_INL_H_
#else
#define RKD_HUFFPLAIN_INL_H_
#endif

#include "jpeg/huffbits-inl.h"

HWY_BEFORE_NAMESPACE();
RKD_PUSH_LZCNT
namespace rkd::HWY_NAMESPACE {

/// A window of the stream as it was before bytes were stuffed, up to a marker or the end at most.
/// What reads from it looks for no 0xFF, which cannot be foreseen and would cost a misprediction or
/// two.
class PlainBytes {
 public:
  /// Of a stream from `source` on; a window has some `wanted` bytes.
  PlainBytes(const uint8_t* source, const uint8_t* end, size_t wanted)
      : end_(end), wanted_(HWY_MIN(wanted, kMost)) {
    fill(source);
  }

  const uint8_t* begin() const { return byte_; }
  const uint8_t* end() const { return byte_ + count_; }

  /// Makes the window begin with the byte at `next`, a place in it or its end; false, and nothing
  /// done, if there is no more behind it.
  bool moveTo(const uint8_t* next) {
    if (isLast_) return false;
    fill(sourceOf(next));
    return true;
  }

  /// Where in the stream the byte at `next` stands.
  const uint8_t* sourceOf(const uint8_t* next) const {
    const size_t at = size_t(next - byte_);
    size_t passed = gaps_;
    while (passed > 0 && gap_[passed - 1].at > at) --passed;
    return source_ + at + (passed > 0 ? gap_[passed - 1].left : 0);
  }

 private:
  using D = hwy::HWY_NAMESPACE::ScalableTag<uint8_t>;
  static constexpr size_t kMost = 1024, kGaps = 128, kMostLanes = 64;

  /// A place in the window in front of which stream bytes were left out, and how many up to it.
  struct Gap {
    size_t at, left;
  };

  HWY_NOINLINE void fill(const uint8_t* source) {
    namespace hn = hwy::HWY_NAMESPACE;
    const D d;
    const size_t lanes = hn::Lanes(d);
    source_ = source;
    count_ = gaps_ = 0;
    isLast_ = false;
    const uint8_t* next = source;
    while (count_ < wanted_) {
      size_t plain = 0;  // bytes in front of the next 0xFF that are known
      bool isPlain = true;
      if (HWY_LIKELY(size_t(end_ - next) >= lanes)) {
        const auto bytes = hn::LoadU(d, next);
        hn::StoreU(bytes, d, byte_ + count_);
        const intptr_t found = hn::FindFirstTrue(d, hn::Eq(bytes, hn::Set(d, 0xFF)));
        isPlain = found < 0;
        plain = isPlain ? lanes : size_t(found);
      } else {
        for (; next + plain != end_ && next[plain] != 0xFF; ++plain) {
          byte_[count_ + plain] = next[plain];
        }
        isPlain = false;
      }
      count_ += plain;
      next += plain;
      if (isPlain) continue;
      next = behindStuffed(next);
      if (next == nullptr || gaps_ == kGaps) break;
    }
  }

  /// Takes in the 0xFF at `next`; null, and the window is the last, if it is none that is stuffed.
  HWY_INLINE const uint8_t* behindStuffed(const uint8_t* next) {
    const uint8_t* code = next;
    while (code != end_ && *code == 0xFF) ++code;  // fill bytes
    if (code == end_ || *code != 0) {
      isLast_ = true;
      return nullptr;
    }
    byte_[count_++] = 0xFF;
    const size_t before = gaps_ > 0 ? gap_[gaps_ - 1].left : 0;
    gap_[gaps_++] = {count_, before + size_t(code - next)};
    return code + 1;
  }

  const uint8_t* source_ = nullptr;
  const uint8_t* end_;
  size_t wanted_;
  size_t count_ = 0, gaps_ = 0;
  bool isLast_ = false;  // no byte of the stream follows the window's
  uint8_t byte_[kMost + kMostLanes];
  Gap gap_[kGaps];
};

}  // namespace rkd::HWY_NAMESPACE
RKD_POP_LZCNT
HWY_AFTER_NAMESPACE();

#endif  // per-target include guard
