/// @file
/// Entry points on operands beside pages that nobody may access, from one line a function.
///
/// The line is GUARDED(function, shape), where the shape has one word an argument:
///   p3wxh   samples: 3 * width in each of height rows. Without rows: one. A const operand is a
///           source and may be read only
///   v64     the same, with small values above zero: quantisers, counts
///   P3*wxh  array of 3 planes; P128,64,64: of planes of so many samples
///   s       step of the operand before
///   z       RkdiSize of width x height; z:cxh: of other sides; z/4x4: sizes are multiples of 4
///   n       width; n:2w: another length
///   f F     phase of rows, of columns
///   q       table of forward quantisation: built, plain, or ones
///   b       work memory of the wavelets
///   =5      any other parameter; =1-7: one value after the other
/// Lengths are a number, a letter, or both:
///   w h     width, height of the case          c r     half of them, rounded up
///   l g     lows and highs of a line of width  L G     of a line of height
///   k       a quarter of the height            e       of the width, rounded up
///
/// Functions that need more than data of any kind are called by hand, through GUARDED_CALL.
#pragma once

#include <set>
#include <sstream>
#include <tuple>
#include <type_traits>

#include "guardpages.h"
#include "rkd/rkd.h"
#include "rkdkit.h"

namespace guarded {

/// The functions that were called, and whether a few sizes will do.
inline std::set<std::string> g_called;
inline bool g_briefly = false;

struct Case {
  RkdiSize size;
  int turn;
  int phase(int bit) const { return turn >> bit & 1; }
};

inline std::ostream& operator<<(std::ostream& out, const Case& c) {
  return out << c.size << " turn " << c.turn;
}

/// Sizes around those of vectors and tiles, which none of them fills.
inline std::vector<Case> cases() {
  if (g_briefly) return {{{5, 3}, 0}};
  std::vector<Case> all;
  int turn = 0;
  const auto add = [&](RkdiSize size) {
    for (int i = 0; i < (rkdkit::exhaustive() ? 4 : 2); ++i) all.push_back({size, turn++});
  };
  if (rkdkit::exhaustive()) {
    for (int w = 1; w <= 300; ++w) add({w, w % 9 + 1});
  }
  constexpr int kHeights[] = {1, 2, 3, 5, 9};
  for (const int w : {1,  2,  3,  4,  5,  7,  8,  9,  15,  16,  17,  23,  31,  33,
                      39, 47, 55, 63, 65, 71, 95, 97, 127, 129, 145, 191, 193, 257}) {
    add({w, kHeights[all.size() / 2 % 5]});
  }
  for (const RkdiSize tall : {RkdiSize{1, 17}, {2, 8}, {3, 66}, {19, 33}, {67, 130}}) add(tall);
  return all;
}

/// A word of a shape: its kind, and the rest as text.
struct Word {
  char kind;
  std::string rest;
  bool hasStep;
};

inline std::vector<Word> parse(const std::string& shape) {
  std::vector<Word> words;
  std::istringstream in(shape);
  for (std::string text; in >> text;) {
    if (text == "s") words.back().hasStep = true;
    words.push_back({text[0], text.substr(1), false});
  }
  return words;
}

/// The sides of the letters, see above.
inline int sideOf(char letter, const Case& c) {
  const auto [w, h] = c.size;
  switch (letter) {
    case 'w':
      return w;
    case 'h':
      return h;
    case 'c':
      return (w + 1) / 2;
    case 'r':
      return (h + 1) / 2;
    case 'l':
      return (w + 1 - c.phase(0)) / 2;
    case 'g':
      return (w + c.phase(0)) / 2;
    case 'L':
      return (h + 1 - c.phase(1)) / 2;
    case 'G':
      return (h + c.phase(1)) / 2;
    case 'k':
      return h / 4;
    case 'e':
      return (w + 3) / 4;
    default:
      ADD_FAILURE() << "no side " << letter;
      return 1;
  }
}

/// "3w", "64", "h".
inline int lengthOf(std::istream& in, const Case& c) {
  int length = 1;
  if (std::isdigit(in.peek()) != 0) in >> length;
  const int next = in.peek();
  if (std::isalpha(next) != 0 && next != 'x') length *= sideOf(static_cast<char>(in.get()), c);
  return length;
}

/// "3wxh"; one row when there is no second length.
inline RkdiSize areaOf(std::istream& in, const Case& c) {
  RkdiSize area = {lengthOf(in, c), 1};
  if (in.peek() == 'x') {
    in.get();
    area.height = lengthOf(in, c);
  }
  return area;
}

/// Makes the operands of one call.
class Operands {
 public:
  Operands(Memory& memory, const Case& c, Side side) : m_memory(memory), m_case(c) {
    memory.restart(side);
    m_random = rkdkit::Random(static_cast<unsigned>(c.turn));
  }

  template <class A>
  A argument(const Word& word) {
    std::istringstream in(word.rest);
    if constexpr (std::is_same_v<A, RkdiSize>) {
      return in.peek() == ':' ? (in.get(), areaOf(in, m_case)) : m_case.size;
    } else if constexpr (std::is_pointer_v<A>) {
      using T = std::remove_pointer_t<A>;
      if constexpr (std::is_pointer_v<T>) {
        return planes<std::remove_pointer_t<std::remove_cv_t<T>>>(in, word);
      } else if constexpr (std::is_void_v<T>) {
        return m_memory.take(workBytes());
      } else {
        return word.kind == 'q' ? table<T>() : operand<T>(areaOf(in, m_case), word);
      }
    } else {
      return static_cast<A>(number(in, word));
    }
  }

  /// No byte between rows was written, nor one beside an operand.
  bool areGapsIntact() const {
    for (const Rows& rows : m_rows) {
      for (int y = 0; y + 1 < rows.size.height; ++y) {
        const uint8_t* const gap = rows.data + ptrdiff_t{y} * rows.step + rows.size.width;
        const uint8_t* const next = rows.data + ptrdiff_t{y + 1} * rows.step;
        if (!std::all_of(gap, next, [](uint8_t b) { return b == Pages::kCanary; })) return false;
      }
    }
    return m_memory.areCanariesIntact();
  }

 private:
  struct Rows {
    const uint8_t* data;
    int step;
    RkdiSize size;  ///< width in bytes
  };

  // Gaps between rows, also such as leave the next row at an odd address.
  int gap() const {
    constexpr int kGaps[] = {0, 1, 6, 16, 45};
    return kGaps[static_cast<size_t>(m_case.turn) % std::size(kGaps)];
  }

  template <class T>
  T* operand(RkdiSize area, const Word& word) {
    const int width = area.width * static_cast<int>(sizeof(T));
    m_step = width + (word.hasStep ? gap() : 0);
    if (m_step == 0) m_step = static_cast<int>(sizeof(T));
    const size_t bytes =
        area.height == 0 || width == 0 ? 0 : size_t(m_step) * size_t(area.height - 1) + width;
    uint8_t* const data = m_memory.take(bytes);
    m_rows.push_back({data, m_step, {width, bytes == 0 ? 0 : area.height}});
    for (int y = 0; y < m_rows.back().size.height; ++y) {
      for (int x = 0; x < area.width; ++x) {
        const auto value = sample<std::remove_const_t<T>>(word.kind);
        std::memcpy(data + ptrdiff_t{y} * m_step + x * sizeof(T), &value, sizeof(T));
      }
    }
    if (std::is_const_v<T>) m_memory.seal();
    return reinterpret_cast<T*>(data);
  }

  template <class T>
  T sample(char kind) {
    if (kind == 'v') return static_cast<T>(m_random.between(1, 100));
    if constexpr (std::is_floating_point_v<T>) return T(m_random.between(-1000, 1000));
    const unsigned bits = m_random.bits();
    if (bits % 8 == 0) return std::numeric_limits<T>::max();
    return bits % 8 == 1 ? std::numeric_limits<T>::min() : static_cast<T>(bits >> 7);
  }

  template <class T>
  T* const* planes(std::istream& in, const Word& word) {
    auto& array = m_planes.emplace_back(std::make_unique<std::array<void*, 4>>());
    size_t count = 0;
    if (word.rest.find('*') != std::string::npos) {
      size_t all = 0;
      in >> all;
      const auto start = (in.get(), in.tellg());
      for (; count < all; ++count) {
        in.clear();
        in.seekg(start);
        (*array)[count] = const_cast<std::remove_const_t<T>*>(operand<T>(areaOf(in, m_case), word));
      }
    } else {
      do {
        (*array)[count++] =
            const_cast<std::remove_const_t<T>*>(operand<T>(areaOf(in, m_case), word));
      } while (in.get() == ',');
    }
    return reinterpret_cast<T* const*>(array->data());
  }

  template <class T>
  T* table() {
    std::array<uint16_t, 64> quantisers{};
    const int turn = m_case.turn % 3;
    for (uint16_t& q : quantisers)
      q = static_cast<uint16_t>(turn == 2 ? 1 : m_random.between(1, 90));
    auto* const entries = m_memory.destination<uint16_t>(RKD_QUANT_TABLE_LENGTH);
    std::fill_n(entries, RKD_QUANT_TABLE_LENGTH, uint16_t{1});
    std::copy(quantisers.begin(), quantisers.end(), entries);
    if (turn == 0) rkdiQuantFwdTableInit_JPEG_16u(quantisers.data(), entries);
    m_memory.seal();
    return reinterpret_cast<T*>(entries);
  }

  // What the samples of the operand before need: their width tells the type.
  size_t workBytes() const {
    int bytes = 0;
    const bool isShort = m_rows[0].size.width == m_case.size.width * 2;
    rkdiWTGetBufSize_JPEG2K(m_case.size, isShort ? rkd16s : rkd32s, &bytes);
    return static_cast<size_t>(bytes);
  }

  int number(std::istringstream& in, const Word& word) {
    switch (word.kind) {
      case 's':
        return m_step;
      case 'n':
        return in.peek() == ':' ? (in.get(), lengthOf(in, m_case)) : m_case.size.width;
      case 'f':
        return m_case.phase(0);
      case 'F':
        return m_case.phase(1);
      default:
        break;
    }
    int first = 0;
    in >> first;
    int last = first;
    if (in.peek() == '-') in.get(), in >> last;
    return first + m_case.turn % (last - first + 1);
  }

  Memory& m_memory;
  Case m_case;
  rkdkit::Random m_random;
  int m_step = 0;
  std::vector<Rows> m_rows;
  std::vector<std::unique_ptr<std::array<void*, 4>>> m_planes;
};

/// The operands of all calls: mapped once.
inline Memory& sharedMemory() {
  static Memory memory;
  return memory;
}

inline testing::AssertionResult noFault(const Fault& fault, const Memory& memory) {
  if (!fault.happened) return testing::AssertionSuccess();
  return testing::AssertionFailure()
         << (fault.isWrite ? "writes to " : "reads ") << memory.describe(fault.address);
}

template <class... A, size_t... I>
bool runCase(RkdStatus (*function)(A...), const std::vector<Word>& words, const Case& c, Side side,
             std::index_sequence<I...>) {
  Memory& memory = sharedMemory();
  Operands operands(memory, c, side);
  // Braces fix the order of evaluation, left to right.
  const std::tuple<A...> arguments{operands.argument<A>(words[I])...};
  RkdStatus status = rkdStsErr;
  const Fault fault = faultOf([&] { status = std::apply(function, arguments); });
  const auto where = testing::Message() << c << ", operands at the " << nameOf(side) << " of pages";
  EXPECT_TRUE(noFault(fault, memory)) << where;
  if (fault.happened) return false;
  const bool isIntact = operands.areGapsIntact();
  EXPECT_EQ(status, rkdStsNoErr) << where;
  EXPECT_TRUE(isIntact) << "writes beside an operand, " << where;
  return status == rkdStsNoErr && isIntact;
}

/// Sizes as the function takes them: multiples of what "z/4x4" says.
inline Case adjusted(Case c, const std::vector<Word>& words) {
  for (const Word& word : words) {
    if (word.kind != 'z' || word.rest.empty() || word.rest[0] != '/') continue;
    std::istringstream in(word.rest.substr(1));
    const RkdiSize unit = areaOf(in, c);
    const auto up = [](int value, int of) { return (value + of - 1) / of * of; };
    c.size = {up(c.size.width, unit.width), up(c.size.height, unit.height)};
  }
  return c;
}

/// All cases of a function at both sides; the first that fails is the last.
template <class... A>
void runCases(const char* name, RkdStatus (*function)(A...), const char* shape) {
  SCOPED_TRACE(name);
  g_called.insert(name);
  const std::vector<Word> words = parse(shape);
  ASSERT_EQ(words.size(), sizeof...(A)) << "the shape has another number of words";
  for (const Case& c : cases()) {
    for (const Side side : {Side::end, Side::begin}) {
      const Case own = adjusted(c, words);
      if (!runCase(function, words, own, side, std::index_sequence_for<A...>{})) return;
    }
  }
}

/// A call by hand on operands of sharedMemory().
template <class Call>
RkdStatus callGuarded(const char* name, Call&& call) {
  g_called.insert(name);
  RkdStatus status = rkdStsErr;
  const Fault fault = faultOf([&] { status = call(); });
  EXPECT_TRUE(noFault(fault, sharedMemory())) << name;
  return status;
}

/// The tables of functions, each a test of its own at every level.
inline std::vector<void (*)()>& families() {
  static std::vector<void (*)()> all;
  return all;
}

}  // namespace guarded

#define GUARDED(function, shape) guarded::runCases(#function, function, shape)
#define GUARDED_CALL(function, ...) \
  guarded::callGuarded(#function, [&] { return function(__VA_ARGS__); })

#define GUARDED_FAMILY(name)                                                                    \
  void guard##name();                                                                           \
  [[maybe_unused]] const bool g_has##name = (guarded::families().push_back(guard##name), true); \
  TEST(Guard, name) { rkdkit::forEachLevel(guard##name); }                                      \
  void guard##name()
