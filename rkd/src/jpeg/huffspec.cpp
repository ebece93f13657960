// Huffman tables: from the lists of a DHT segment to the coders' objects, from statistics to the
// lists; and the life of specification and state objects.
#include <algorithm>
#include <cstring>

#include "jpeg/huffman.h"
#include "rkd/rkdcore.h"

namespace rkd::huff {
namespace {

struct Code {
  uint32_t code;
  unsigned length;
  uint8_t symbol;
};

/// The codes of a table in ascending order.
struct CodeList {
  std::array<Code, 256> code;
  int count = 0;
};

/// Numbers the codes as the lists say; refuses lists that no prefix code has.
RkdStatus makeCodes(const uint8_t* bits, const uint8_t* values, CodeList* list) {
  std::array<bool, 256> used{};
  uint32_t next = 0;
  for (unsigned length = 1; length <= 16; ++length, next <<= 1) {
    for (int i = 0; i < bits[length - 1]; ++i) {
      if (list->count == 256 || next >> length != 0) return rkdStsHuffTableErr;
      const uint8_t symbol = values[list->count];
      if (used[symbol]) return rkdStsHuffTableErr;
      used[symbol] = true;
      list->code[list->count++] = {next++, length, symbol};
    }
    if (next > uint32_t{1} << length) return rkdStsHuffTableErr;
  }
  return list->count > 0 ? rkdStsNoErr : rkdStsHuffTableErr;
}

/// The entries of one symbol for all its values that are small.
void buildSmall(const Code& c, EncodeSpecLayout* spec) {
  const unsigned size = c.symbol & 15;
  if (size == 0 || size > 8) return;
  uint32_t* const zero = spec->smallEntry + smallPlace(c.symbol >> 4, 0);
  const uint32_t first = 1u << (size - 1);
  const uint32_t length = c.length + size;
  for (uint32_t magnitude = first; magnitude < 2 * first && magnitude <= 128; ++magnitude) {
    if (magnitude < 128) zero[magnitude] = (c.code << size | magnitude) << 8 | length;
    zero[-int(magnitude)] = (c.code << size | (2 * first - 1 - magnitude)) << 8 | length;
  }
}

void build(const CodeList& list, EncodeSpecLayout* spec) {
  spec->kind = Kind::encodeSpec;
  spec->reserved = 0;
  std::fill(std::begin(spec->entry), std::end(spec->entry), EncodeEntry::missing);
  std::fill(std::begin(spec->smallEntry), std::end(spec->smallEntry),
            EncodeSpecLayout::missingSmall);
  spec->smallEntry[EncodeSpecLayout::nonePlace] = 0;
  for (int i = 0; i < list.count; ++i) {
    const Code& c = list.code[size_t(i)];
    const unsigned run = c.symbol >> 4;
    const unsigned size = c.symbol & 15;
    spec->entry[entryIndex(run, size)] = uint64_t(c.length + size) << 32 | c.code << size;
    if (c.symbol == 16) {
      spec->entry[EncodeSpecLayout::category16] = uint64_t(c.length) << 32 | c.code;
    }
    if (c.symbol == 0) {
      spec->smallEntry[EncodeSpecLayout::endPlace] = c.code << 8 | c.length;
      spec->smallEntry[smallPlace(0, 0)] = c.code << 8 | c.length;
    }
    buildSmall(c, spec);
  }
}

DecodeEntry makeEntry(unsigned codeLength, unsigned symbol) {
  const unsigned size = symbol & 15;
  const bool valueFollows = size != 0 || symbol == zeroRun16;
  const unsigned run = (valueFollows ? 0 : DecodeEntry::ends) + (symbol >> 4);
  return {(codeLength + size) | run << 8 | size << 16 | codeLength << 24};
}

/// What a window at the high end of `bits`, zeros behind it, tells of a symbol with a value.
class Step {
 public:
  Step(DecodeEntry entry, uint64_t bits, bool isDC) : entry_(entry) {
    const unsigned size = entry.size();
    const unsigned code = unsigned(bits >> (64 - entry.codeLength()));
    const bool isNegative = size > 0 && (bits << entry.codeLength()) >> 63 == 0;
    base_ = uint16_t(0u - (code << size) - (isNegative ? (1u << size) - 1 : 0));
    isEnd_ = !isDC && entry.run() == DecodeEntry::ends;
    place_ = isEnd_ || isDC ? 0 : entry.run();
    advance_ = isEnd_ ? 0 : place_ + 1;
  }
  static bool isOne(DecodeEntry entry, bool isDC) {
    const bool fits = entry.word != 0 && entry.length() <= StepEntry::mostBits;
    return fits &&
           (isDC ? (entry.run() & ~DecodeEntry::ends) == 0 : entry.run() <= DecodeEntry::ends);
  }
  bool isEnd() const { return isEnd_; }
  unsigned length() const { return entry_.length(); }
  uint64_t alone() const { return word(length(), advance_, isEnd_) | uint64_t{place_} << 48; }
  uint64_t with(DecodeEntry second, int value) const {
    const unsigned bits = length() + second.length();
    if (second.run() == DecodeEntry::ends)
      return word(bits, advance_, true) | uint64_t{place_} << 48;
    const unsigned place = advance_ + second.run();
    return word(bits, place + 1, false) | uint64_t{place} << 48 | uint64_t(value) << 56;
  }

 private:
  uint64_t word(unsigned bits, unsigned advance, bool ends) const {
    return uint64_t{base_} << 32 | (64 - length()) << 24 | place_ << 16 |
           (advance + (ends ? StepEntry::blockEnd : 0)) << 8 | bits;
  }
  DecodeEntry entry_;
  bool isEnd_;
  unsigned place_, advance_;
  uint16_t base_;
};

/// The symbol that the look at the high end of `bits` begins with.
DecodeEntry lookAt(const DecodeSpecLayout& spec, uint64_t bits) {
  return {spec.look[bits >> (64 - DecodeSpecLayout::lookBits)]};
}

/// The entry of a window at the high end of `bits`, whose first symbol leaves room for another.
uint64_t makeStep(const DecodeSpecLayout& spec, const Step& first, uint64_t bits) {
  const uint64_t rest = bits << first.length();
  const DecodeEntry second = lookAt(spec, rest);
  if (!Step::isOne(second, false) ||
      first.length() + second.length() > unsigned(DecodeSpecLayout::stepBits)) {
    return first.alone();
  }
  const int value = second.value(rest);
  return value == int8_t(value) ? first.with(second, value) : first.alone();
}

/// Windows that begin with the same code and sign are one run.
void buildSteps(bool isDC, DecodeSpecLayout* spec) {
  constexpr unsigned windowBits = DecodeSpecLayout::stepBits;
  constexpr unsigned windows = 1u << windowBits;
  const auto bitsOf = [](unsigned window) { return uint64_t{window} << (64 - windowBits); };
  spec->isForDC = isDC ? 1 : 0;
  for (unsigned window = 0, end; window < windows; window = end) {
    const DecodeEntry entry = lookAt(*spec, bitsOf(window));
    const unsigned told = entry.codeLength() + (entry.size() > 0 ? 1 : 0);
    if (!Step::isOne(entry, isDC) || entry.codeLength() >= windowBits) {
      spec->step[window] = StepEntry::noStep;
      end = window + 1;
      continue;
    }
    end = window + (1u << (windowBits - told));
    const Step first(entry, bitsOf(window), isDC);
    std::fill(spec->step + window, spec->step + end, first.alone());
    if (isDC || first.isEnd() || first.length() >= windowBits) continue;
    for (unsigned w = window; w < end; ++w) spec->step[w] = makeStep(*spec, first, bitsOf(w));
  }
}

/// Fills the windows of 16 bits that begin with a code, of those that are looked at.
void fillLastWindows(const Code& code, uint32_t word, DecodeSpecLayout* spec) {
  constexpr uint32_t first = (1 << 16) - DecodeSpecLayout::lastWindows;
  const unsigned free = 16 - code.length;
  const uint32_t begin = std::max(uint32_t(code.code) << free, first);
  const uint32_t end = (uint32_t(code.code) + 1) << free;
  for (uint32_t window = begin; window < end; ++window) spec->lastLook[window - first] = word;
}

void build(const CodeList& list, DecodeSpecLayout* spec) {
  constexpr unsigned lookBits = DecodeSpecLayout::lookBits;
  *spec = {};
  spec->kind = Kind::decodeSpec;
  uint32_t above = 0;
  int at = 0;
  for (unsigned length = 1; length <= 16; ++length) {
    spec->symbolOffset[length] = at < list.count ? at - int(list.code[size_t(at)].code) : 0;
    for (; at < list.count && list.code[size_t(at)].length == length; ++at) {
      const Code& c = list.code[size_t(at)];
      spec->symbol[at] = c.symbol;
      above = (c.code + 1) << (16 - length);
      const uint32_t word = makeEntry(length, c.symbol).word;
      fillLastWindows(c, word, spec);
      if (length > lookBits) continue;
      uint32_t* const first = spec->look + (c.code << (lookBits - length));
      std::fill_n(first, 1u << (lookBits - length), word);
    }
    spec->limit[length] = above;
  }
  // Nearly always a table of nothing but categories is one for DCs, and another is not.
  const auto isCategory = [](const Code& c) { return c.symbol <= 16; };
  buildSteps(std::all_of(list.code.begin(), list.code.begin() + list.count, isCategory), spec);
}

template <class Layout, class Spec>
RkdStatus initSpec(const uint8_t* bits, const uint8_t* values, Spec* spec) {
  if (anyNull(bits, values, spec)) return rkdStsNullPtrErr;
  CodeList list;
  if (const RkdStatus status = makeCodes(bits, values, &list)) return status;
  Layout layout;
  build(list, &layout);
  store(spec, layout);
  return rkdStsNoErr;
}

template <class Layout, class Spec>
RkdStatus initAllocSpec(const uint8_t* bits, const uint8_t* values, Spec** spec) {
  if (anyNull(bits, values, spec)) return rkdStsNullPtrErr;
  Spec* const made = static_cast<Spec*>(rkdMalloc(sizeof(Layout)));
  if (made == nullptr) return rkdStsNoMemErr;
  const RkdStatus status = initSpec<Layout>(bits, values, made);
  if (status == rkdStsNoErr) {
    *spec = made;
  } else {
    rkdFree(made);
  }
  return status;
}

template <class Layout, class State>
RkdStatus initState(Kind kind, State* state) {
  if (state == nullptr) return rkdStsNullPtrErr;
  std::memset(static_cast<void*>(state), 0, sizeof(Layout));
  store(state, kind);
  return rkdStsNoErr;
}

template <class Layout, class State>
RkdStatus initAllocState(Kind kind, State** state) {
  if (state == nullptr) return rkdStsNullPtrErr;
  State* const made = static_cast<State*>(rkdMalloc(sizeof(Layout)));
  if (made == nullptr) return rkdStsNoMemErr;
  *state = made;
  return initState<Layout>(kind, made);
}

template <class Layout>
RkdStatus tellSize(int* size) {
  if (size == nullptr) return rkdStsNullPtrErr;
  *size = int(sizeof(Layout));
  return rkdStsNoErr;
}

RkdStatus release(void* object) {
  rkdFree(object);
  return rkdStsNoErr;
}

/// Code lengths of an optimal prefix code over the symbols and one reserved code point, which has
/// the least weight and so takes the all-ones code. Returns how many codes each length has.
/// Lengths are those of the Huffman tree of K.2: merging two trees lengthens all their codes.
class LengthCount {
 public:
  explicit LengthCount(const int* statistics) {
    for (int symbol = 0; symbol < 256; ++symbol) weight_[symbol] = std::max(statistics[symbol], 0);
    weight_[reserved] = 1;
    next_.fill(-1);
    merge();
  }
  unsigned lengthOf(int symbol) const { return length_[symbol]; }
  static constexpr int reserved = 256;

 private:
  /// The lightest tree, of equal ones that with the highest number.
  int lightest(int except) const {
    int found = -1;
    for (int i = 0; i <= reserved; ++i) {
      if (weight_[i] > 0 && i != except && (found < 0 || weight_[i] <= weight_[found])) found = i;
    }
    return found;
  }

  void merge() {
    for (;;) {
      const int a = lightest(-1);
      const int b = lightest(a);
      if (b < 0) return;
      weight_[a] += weight_[b];
      weight_[b] = 0;
      int last = a;
      for (;; last = next_[last]) {
        ++length_[last];
        if (next_[last] < 0) break;
      }
      next_[last] = int16_t(b);
      for (int i = b; i >= 0; i = next_[i]) ++length_[i];
    }
  }

  std::array<int64_t, 257> weight_{};
  std::array<int16_t, 257> next_;
  std::array<uint16_t, 257> length_{};
};

/// Shortens codes to at most 16 bits: two codes of the longest length give way to one a bit
/// shorter, and a shorter code becomes two one bit longer.
void limitLengths(std::array<int, 258>* count) {
  for (int length = 257; length > 16; --length) {
    while ((*count)[length] > 0) {
      int shorter = length - 2;
      while ((*count)[shorter] == 0) --shorter;
      (*count)[length] -= 2;
      ++(*count)[length - 1];
      (*count)[shorter + 1] += 2;
      --(*count)[shorter];
    }
  }
}

}  // namespace

constexpr std::array<uint64_t, 1 << DecodeSpecLayout::stepBits> kNoSteps = [] {
  std::array<uint64_t, 1 << DecodeSpecLayout::stepBits> steps{};
  steps.fill(StepEntry::noStep);
  return steps;
}();

DecodeEntry DecodeTable::search(uint64_t bits) const {
  if (const DecodeEntry entry = look(bits); entry.word != 0) return entry;
  const uint32_t window = uint32_t(bits >> 48);
  // The limits ascend: without branches, as lengths cannot be predicted.
  unsigned length = DecodeSpecLayout::lookBits + 1;
  for (unsigned i = length; i <= 16; ++i) {
    length += window >= load<uint32_t>(base_ + offsetof(DecodeSpecLayout, limit) + 4 * i) ? 1 : 0;
  }
  if (length > 16) return {0};
  const int offset = load<int32_t>(base_ + offsetof(DecodeSpecLayout, symbolOffset) + 4 * length);
  const int at = int(window >> (16 - length)) + offset;
  return makeEntry(length, base_[offsetof(DecodeSpecLayout, symbol) + at]);
}

uint8_t* putStuffed(uint64_t word, int count, uint8_t* to, const uint8_t* end) {
  for (int i = 0; i < count; ++i, word <<= 8) {
    const uint8_t byte = uint8_t(word >> 56);
    const int size = byte == 0xFF ? 2 : 1;
    if (end - to < size) return nullptr;
    *to++ = byte;
    if (size == 2) *to++ = 0;
  }
  return to;
}

RkdStatus flushBits(uint64_t bits, unsigned count, uint8_t* stream, int length, int* position,
                    RkdiEncodeHuffmanState* state) {
  if (count > 0) {
    const unsigned left = 64 - count;
    const uint64_t word = bits << left | ((uint64_t{1} << left) - 1);
    uint8_t* const end = putStuffed(word, int(count + 7) / 8, stream + *position, stream + length);
    if (end == nullptr) return rkdStsDstFullErr;
    *position = int(end - stream);
  }
  return rkdiEncodeHuffmanStateInit_JPEG_8u(state);
}

RkdStatus flushBits(uint8_t* stream, int length, int* position, RkdiEncodeHuffmanState* state) {
  return flushBits(RKD_STATE_LOAD(EncodeState, state, bits),
                   RKD_STATE_LOAD(EncodeState, state, bitCount), stream, length, position, state);
}

}  // namespace rkd::huff

using namespace rkd::huff;

RkdStatus rkdiEncodeHuffmanSpecGetBufSize_JPEG_8u(int* size) {
  return tellSize<EncodeSpecLayout>(size);
}
RkdStatus rkdiEncodeHuffmanSpecInit_JPEG_8u(const uint8_t* bits, const uint8_t* values,
                                            RkdiEncodeHuffmanSpec* spec) {
  return initSpec<EncodeSpecLayout>(bits, values, spec);
}
RkdStatus rkdiEncodeHuffmanSpecInitAlloc_JPEG_8u(const uint8_t* bits, const uint8_t* values,
                                                 RkdiEncodeHuffmanSpec** spec) {
  return initAllocSpec<EncodeSpecLayout>(bits, values, spec);
}
RkdStatus rkdiEncodeHuffmanSpecFree_JPEG_8u(RkdiEncodeHuffmanSpec* spec) { return release(spec); }

RkdStatus rkdiDecodeHuffmanSpecGetBufSize_JPEG_8u(int* size) {
  return tellSize<DecodeSpecLayout>(size);
}
RkdStatus rkdiDecodeHuffmanSpecInit_JPEG_8u(const uint8_t* bits, const uint8_t* values,
                                            RkdiDecodeHuffmanSpec* spec) {
  return initSpec<DecodeSpecLayout>(bits, values, spec);
}
RkdStatus rkdiDecodeHuffmanSpecInitAlloc_JPEG_8u(const uint8_t* bits, const uint8_t* values,
                                                 RkdiDecodeHuffmanSpec** spec) {
  return initAllocSpec<DecodeSpecLayout>(bits, values, spec);
}
RkdStatus rkdiDecodeHuffmanSpecFree_JPEG_8u(RkdiDecodeHuffmanSpec* spec) { return release(spec); }

RkdStatus rkdiEncodeHuffmanStateGetBufSize_JPEG_8u(int* size) {
  return tellSize<EncodeState>(size);
}
RkdStatus rkdiEncodeHuffmanStateInit_JPEG_8u(RkdiEncodeHuffmanState* state) {
  return initState<EncodeState>(Kind::encodeState, state);
}
RkdStatus rkdiEncodeHuffmanStateInitAlloc_JPEG_8u(RkdiEncodeHuffmanState** state) {
  return initAllocState<EncodeState>(Kind::encodeState, state);
}
RkdStatus rkdiEncodeHuffmanStateFree_JPEG_8u(RkdiEncodeHuffmanState* state) {
  return release(state);
}

RkdStatus rkdiDecodeHuffmanStateGetBufSize_JPEG_8u(int* size) {
  return tellSize<DecodeState>(size);
}
RkdStatus rkdiDecodeHuffmanStateInit_JPEG_8u(RkdiDecodeHuffmanState* state) {
  return initState<DecodeState>(Kind::decodeState, state);
}
RkdStatus rkdiDecodeHuffmanStateInitAlloc_JPEG_8u(RkdiDecodeHuffmanState** state) {
  return initAllocState<DecodeState>(Kind::decodeState, state);
}
RkdStatus rkdiDecodeHuffmanStateFree_JPEG_8u(RkdiDecodeHuffmanState* state) {
  return release(state);
}
RkdStatus rkdiDecodeHuffmanStateGetReached_JPEG_8u(int* reached,
                                                   const RkdiDecodeHuffmanState* state) {
  if (anyNull(reached, state)) return rkdStsNullPtrErr;
  if (!isKind(state, Kind::decodeState)) return rkdStsContextErr;
  *reached = int(RKD_STATE_LOAD(DecodeState, state, reached));
  return rkdStsNoErr;
}

RkdStatus rkdiEncodeHuffmanRawTableInit_JPEG_8u(const int* statistics, uint8_t* bits,
                                                uint8_t* values) {
  if (anyNull(statistics, bits, values)) return rkdStsNullPtrErr;
  std::array<int, 256> counts;
  std::copy_n(statistics, 256, counts.begin());
  if (std::none_of(counts.begin(), counts.end(), [](int n) { return n > 0; })) counts[0] = 1;

  const LengthCount tree(counts.data());
  std::array<int, 258> count{};
  for (int symbol = 0; symbol <= LengthCount::reserved; ++symbol) ++count[tree.lengthOf(symbol)];
  count[0] = 0;
  limitLengths(&count);
  int longest = 16;
  while (count[longest] == 0) --longest;
  --count[longest];  // the reserved code point

  for (int length = 1; length <= 16; ++length) bits[length - 1] = uint8_t(count[length]);
  // Shortening changed how many codes of a length there are, not which symbols have longer ones.
  std::memset(values, 0, 256);
  int at = 0;
  for (unsigned length = 1; length <= 257; ++length) {
    for (int symbol = 0; symbol < 256; ++symbol) {
      if (tree.lengthOf(symbol) == length) values[at++] = uint8_t(symbol);
    }
  }
  return rkdStsNoErr;
}
