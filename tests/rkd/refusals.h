/// @file
/// Bad arguments of an entry point, from one line: a null pointer, a size that is not positive, a
/// step below a row. Each gives its own status, and nothing is written.
///
/// The line is REFUSES(function, shape), where the shape has one word an argument:
///   p       pointer to samples, a table or results
///   @       the same with zeros behind it: a position, a previous DC
///   q       the same, may be null
///   P3      array of 3 plane pointers; P1oE: of 1 pointer to an object
///   oE ...  pointer to an object, see object()
///   s2      step of rows of 2 samples a pixel and 19 pixels
///   r8      step of rows of 8 samples
///   z       RkdiSize of 19x3 pixels; z20x8: of 20x8
///   n       length or width of 19; n99: of 99
///   m19     length that may be zero
///   =5      any other parameter, with a value that is right
/// Steps measure rows of the pointer before them.
#pragma once

#include <array>
#include <climits>
#include <set>
#include <sstream>
#include <string>
#include <tuple>
#include <type_traits>
#include <vector>

#include "huffkit.h"
#include "rkd/rkd.h"
#include "rkdkit.h"

namespace refusals {

using Memory = std::vector<uint8_t>;

/// The functions that have a line, and whether lines are to be listed only.
inline std::set<std::string> g_listed;
inline bool g_listOnly = false;

constexpr RkdiSize kSize = {19, 3};

template <class T, class Init>
Memory initialised(RkdStatus (*size)(int*), Init init, T* = nullptr) {
  int bytes = 0;
  EXPECT_EQ(size(&bytes), rkdStsNoErr);
  Memory memory(static_cast<size_t>(bytes));
  EXPECT_EQ(init(reinterpret_cast<T*>(memory.data())), rkdStsNoErr);
  return memory;
}

template <class T>
Memory huffmanSpec(RkdStatus (*size)(int*), RkdStatus (*init)(const uint8_t*, const uint8_t*, T*)) {
  return initialised<T>(size, [init](T* spec) {
    return init(huffkit::acLuma.bits.data(), huffkit::acLuma.values.data(), spec);
  });
}

/// The lists of a Huffman table (b, v), specifications that encode and decode by them (E, D), the
/// coders' states (W, R); states of the code-block coder (N, M), one with a block of kSize loaded
/// (B), one with a block of a single segment of 19 bytes begun (G).
inline Memory object(char letter) {
  switch (letter) {
    case 'b':
      return Memory(huffkit::acLuma.bits.begin(), huffkit::acLuma.bits.end());
    case 'v':
      return Memory(huffkit::acLuma.values.begin(), huffkit::acLuma.values.end());
    case 'E':
      return huffmanSpec(rkdiEncodeHuffmanSpecGetBufSize_JPEG_8u,
                         rkdiEncodeHuffmanSpecInit_JPEG_8u);
    case 'D':
      return huffmanSpec(rkdiDecodeHuffmanSpecGetBufSize_JPEG_8u,
                         rkdiDecodeHuffmanSpecInit_JPEG_8u);
    case 'W':
      return initialised<RkdiEncodeHuffmanState>(rkdiEncodeHuffmanStateGetBufSize_JPEG_8u,
                                                 rkdiEncodeHuffmanStateInit_JPEG_8u);
    case 'R':
      return initialised<RkdiDecodeHuffmanState>(rkdiDecodeHuffmanStateGetBufSize_JPEG_8u,
                                                 rkdiDecodeHuffmanStateInit_JPEG_8u);
    case 'N':
      return initialised<RkdiEncodeCodeBlockState>(rkdiEncodeCodeBlockStateGetBufSize_JPEG2K,
                                                   rkdiEncodeCodeBlockStateInit_JPEG2K);
    case 'M':
      return initialised<RkdiDecodeCodeBlockState>(rkdiDecodeCodeBlockStateGetBufSize_JPEG2K,
                                                   rkdiDecodeCodeBlockStateInit_JPEG2K);
    case 'B': {
      Memory state = object('N');
      const std::vector<int32_t> block(19 * 3, -77);
      EXPECT_EQ(rkdiEncodeLoadCodeBlock_JPEG2K_32s_C1R(
                    block.data(), 19 * 4, kSize, 0, 0, rkdCodeBlockMaxPasses,
                    reinterpret_cast<RkdiEncodeCodeBlockState*>(state.data())),
                rkdStsNoErr);
      return state;
    }
    case 'G': {
      Memory state = object('M');
      const int length = 19;
      EXPECT_EQ(
          rkdiDecodeCBProgrStart_JPEG2K(19, &length, 1, kSize, 0, 0, 3, 7,
                                        reinterpret_cast<RkdiDecodeCodeBlockState*>(state.data())),
          rkdStsNoErr);
      return state;
    }
    default:
      ADD_FAILURE() << "no object " << letter;
      return {};
  }
}

struct Word {
  char kind = 0;
  int number = 0, second = 0;
  char object = 0;
};

inline std::vector<Word> parse(const std::string& shape) {
  std::vector<Word> words;
  std::istringstream in(shape);
  for (std::string text; in >> text;) {
    Word word;
    std::istringstream rest(text);
    rest >> word.kind;
    if (word.kind == 'o') rest.putback('o');
    if (!(rest >> word.number)) rest.clear();
    for (char c = 0; rest >> c;) {
      if (c == 'x') rest >> word.second;
      if (c == 'o') rest >> word.object;
    }
    words.push_back(word);
  }
  return words;
}

template <class T>
constexpr int sampleBytes() {
  if constexpr (requires { sizeof(T); }) {
    return sizeof(T);
  } else {
    return 1;
  }
}

/// What the arguments point to. Read-only operands hold bytes of 1: right as samples, as
/// coefficients and as tables.
struct Operands {
  std::vector<Memory> memory;
  std::vector<std::array<void*, 4>> planes;
  Operands() {
    memory.reserve(64);
    planes.reserve(16);
  }

  template <class T>
  T* make(Word word) {
    if (word.object != 0) {
      memory.push_back(object(word.object));
    } else {
      const uint8_t filling = word.kind == '@' ? 0 : std::is_const_v<T> ? 1 : 0xA5;
      memory.emplace_back(size_t{1} << 14, filling);
    }
    return reinterpret_cast<T*>(memory.back().data());
  }
  template <class T>
  T* const* makePlanes(Word word) {
    auto& array = planes.emplace_back();
    for (int p = 0; p < word.number; ++p) {
      array[static_cast<size_t>(p)] = const_cast<std::remove_const_t<T>*>(make<T>(word));
    }
    return reinterpret_cast<T* const*>(array.data());
  }
};

/// The right value of one argument; `bytes` is the sample size of the last pointer.
template <class A>
A rightValue(Operands& operands, Word word, int& bytes) {
  if constexpr (std::is_same_v<A, RkdiSize>) {
    return word.number == 0 ? kSize : RkdiSize{word.number, word.second};
  } else if constexpr (std::is_pointer_v<A>) {
    using T = std::remove_pointer_t<A>;
    if constexpr (std::is_pointer_v<T>) {
      using Sample = std::remove_pointer_t<std::remove_cv_t<T>>;
      bytes = sampleBytes<Sample>();
      return operands.makePlanes<Sample>(word);
    } else {
      if constexpr (!std::is_void_v<T>) bytes = sampleBytes<T>();
      return operands.make<T>(word);
    }
  } else {
    switch (word.kind) {
      case 's':
        return static_cast<A>(kSize.width * word.number * bytes);
      case 'r':
        return static_cast<A>(word.number * bytes);
      case 'n':
        return static_cast<A>(word.number == 0 ? kSize.width : word.number);
      default:
        return static_cast<A>(word.number);
    }
  }
}

template <class... A>
class Refusals {
 public:
  Refusals(const char* name, RkdStatus (*function)(A...), const char* shape)
      : m_name(name), m_function(function), m_words(parse(shape)) {}

  void check() {
    g_listed.insert(m_name);
    if (g_listOnly) return;
    ASSERT_EQ(m_words.size(), sizeof...(A)) << m_name << ": the shape has another number of words";
    const std::tuple<A...> right = rightValues(std::index_sequence_for<A...>{});
    const auto before = m_operands.memory;
    checkEach(right, std::index_sequence_for<A...>{});
    EXPECT_EQ(m_operands.memory, before) << m_name << " wrote in spite of a bad argument";
    // Only now, as it writes: the arguments that were broken one by one are right as a whole.
    EXPECT_EQ(std::apply(m_function, right), rkdStsNoErr) << m_name;
  }

 private:
  template <size_t... I>
  std::tuple<A...> rightValues(std::index_sequence<I...>) {
    int bytes = 1;
    // Braces fix the order of evaluation, left to right.
    return std::tuple<A...>{rightValue<A>(m_operands, m_words[I], bytes)...};
  }

  template <size_t... I>
  void checkEach(const std::tuple<A...>& right, std::index_sequence<I...>) {
    (checkOne<I>(right), ...);
  }

  template <size_t I, class Value>
  void expectRefused(std::tuple<A...> arguments, Value value, RkdStatus want) {
    std::get<I>(arguments) = value;
    EXPECT_EQ(std::apply(m_function, arguments), want) << m_name << ", argument " << I + 1;
  }

  template <size_t I>
  void checkSize(const std::tuple<A...>& right, RkdiSize size) {
    const auto [w, h] = size;
    for (const RkdiSize bad : {RkdiSize{0, h}, {w, 0}, {-1, h}, {w, -1}, {INT_MIN, h}}) {
      expectRefused<I>(right, bad, rkdStsSizeErr);
    }
    // Too wide for the steps, and for an int that counts bytes.
    for (const int wide : {INT_MAX - 3, 1 << 30}) {
      std::tuple<A...> arguments = right;
      std::get<I>(arguments) = RkdiSize{wide, h};
      EXPECT_LT(std::apply(m_function, arguments), 0) << m_name << ", width " << wide;
    }
  }

  template <size_t I>
  void checkOne(const std::tuple<A...>& right) {
    using T = std::tuple_element_t<I, std::tuple<A...>>;
    const auto value = std::get<I>(right);
    const Word word = m_words[I];
    if constexpr (std::is_same_v<T, RkdiSize>) {
      checkSize<I>(right, value);
    } else if constexpr (std::is_pointer_v<T>) {
      if (word.kind == 'q') return;
      expectRefused<I>(right, nullptr, rkdStsNullPtrErr);
      if constexpr (std::is_pointer_v<std::remove_pointer_t<T>>) {
        for (int p = 0; p < word.number; ++p) {
          std::array<std::remove_cv_t<std::remove_pointer_t<T>>, 4> planes{};
          std::copy(value, value + word.number, planes.begin());
          planes[static_cast<size_t>(p)] = nullptr;
          expectRefused<I>(right, planes.data(), rkdStsNullPtrErr);
        }
      }
    } else if (word.kind == 's' || word.kind == 'r') {
      for (const int bad : {static_cast<int>(value) - 1, 0, -1, INT_MIN}) {
        expectRefused<I>(right, static_cast<T>(bad), rkdStsStepErr);
      }
    } else if (word.kind == 'n' || word.kind == 'm') {
      for (const int bad : {0, -1, INT_MIN}) {
        if (bad == 0 && word.kind == 'm') continue;
        expectRefused<I>(right, static_cast<T>(bad), rkdStsSizeErr);
      }
    }
  }

  const char* m_name;
  RkdStatus (*m_function)(A...);
  std::vector<Word> m_words;
  Operands m_operands;
};

}  // namespace refusals

#define REFUSES(function, shape) refusals::Refusals(#function, function, shape).check()
