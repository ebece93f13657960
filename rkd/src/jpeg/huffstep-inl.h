// What the decoders of sequential blocks share: steps, which are up to two symbols with their
// values.
#if defined(RKD_HUFFSTEP_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef RKD_HUFFSTEP_INL_H_
#undef RKD_HUFFSTEP_INL_H_
#else
#define RKD_HUFFSTEP_INL_H_
#endif

#include "jpeg/huffbits-inl.h"

HWY_BEFORE_NAMESPACE();
RKD_PUSH_LZCNT
namespace rkd::HWY_NAMESPACE {

/// Why a symbol cannot stand there: what the stream does not have reads as zeros.
template <class Reader>
HWY_INLINE RkdStatus symbolStatus(const Reader& reader) {
  return reader.isOverrun() ? rkdStsSrcEndErr : rkdStsDataErr;
}

constexpr unsigned kStepShift = 64 - DecodeSpecLayout::stepBits;

/// What the bits in front tell by one of a specification's tables.
struct Step : StepEntry {
  HWY_INLINE Step(const uint8_t* table, uint64_t bits)
      : StepEntry{0}, entry(table + 8 * (bits >> kStepShift)) {
    word = load<uint64_t>(entry);
  }
  /// Stores its coefficients, which begin at a place of the zigzag order.
  HWY_INLINE void store(uint64_t bits, const uint8_t* place, int16_t* dst) const {
    const size_t second = place[entry[6]], first = place[entry[2]];
    // NOLINTNEXTLINE(bugprone-signed-char-misuse): a small number, no character
    const int16_t secondValue = static_cast<int8_t>(entry[7]);
    const int16_t value = firstValue(bits, load<uint16_t>(entry + 4));
    dst[second] = secondValue;
    dst[first] = value;
  }
  const uint8_t* entry;
};

}  // namespace rkd::HWY_NAMESPACE
RKD_POP_LZCNT
HWY_AFTER_NAMESPACE();

#endif  // per-target include guard
