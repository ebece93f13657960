// What is done with every line of bad arguments.
#include "refusals.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <sstream>

#include "huffkit.h"
#include "rkdkit.h"

namespace refusals {

namespace {

using Memory = std::vector<uint8_t>;

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
Memory object(char letter) {
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

std::vector<Word> parse(const std::string& shape) {
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

/// What the arguments point to. Read-only operands hold bytes of 1: right as samples, as
/// coefficients and as tables.
struct Operands {
  std::vector<Memory> memory;
  std::vector<std::array<void*, 4>> planes;
  Operands() {
    memory.reserve(64);
    planes.reserve(16);
  }

  void* make(Word word, bool written) {
    if (word.object != 0) {
      memory.push_back(object(word.object));
    } else {
      const uint8_t filling = word.kind == '@' ? 0 : written ? 0xA5 : 1;
      memory.emplace_back(size_t{1} << 14, filling);
    }
    return memory.back().data();
  }
  void* makePlanes(Word word, bool written) {
    auto& array = planes.emplace_back();
    for (int p = 0; p < word.number; ++p) array[static_cast<size_t>(p)] = make(word, written);
    return array.data();
  }
};

class Refusals {
 public:
  Refusals(const Function& function, const char* shape)
      : m_function(function), m_words(parse(shape)) {}

  void check() {
    ASSERT_EQ(m_words.size(), m_function.count)
        << m_function.name << ": the shape has another number of words";
    makeRight();
    const auto before = m_operands.memory;
    for (size_t i = 0; i < m_function.count; ++i) checkOne(i);
    EXPECT_EQ(m_operands.memory, before) << m_function.name << " wrote in spite of a bad argument";
    // Only now, as it writes: the arguments that were broken one by one are right as a whole.
    EXPECT_EQ(call(m_right), rkdStsNoErr) << m_function.name;
  }

 private:
  RkdStatus call(const std::vector<Value>& values) const { return m_function.call(values.data()); }

  void makeRight() {
    int bytes = 1;  // of a sample of the last pointer
    for (size_t i = 0; i < m_function.count; ++i) {
      const Word word = m_words[i];
      const Type type = m_function.types[i];
      Value value;
      if (type.kind == Type::SIZE) {
        value.size = word.number == 0 ? kSize : RkdiSize{word.number, word.second};
      } else if (type.kind == Type::NUMBER) {
        value.number = rightNumber(word, bytes);
      } else {
        if (!type.isVoid) bytes = type.bytes();
        value.pointer = type.kind == Type::PLANES ? m_operands.makePlanes(word, type.written)
                                                  : m_operands.make(word, type.written);
      }
      m_right.push_back(value);
    }
  }

  static int rightNumber(Word word, int bytes) {
    switch (word.kind) {
      case 's':
        return kSize.width * word.number * bytes;
      case 'r':
        return word.number * bytes;
      case 'n':
        return word.number == 0 ? kSize.width : word.number;
      default:
        return word.number;
    }
  }

  void expectRefused(size_t i, const Value& value, RkdStatus want) const {
    std::vector<Value> values = m_right;
    values[i] = value;
    EXPECT_EQ(call(values), want) << m_function.name << ", argument " << i + 1;
  }
  void expectRefused(size_t i, RkdiSize bad) const {
    expectRefused(i, Value{.size = bad}, rkdStsSizeErr);
  }
  void expectRefused(size_t i, int bad, RkdStatus want) const {
    expectRefused(i, Value{.number = bad}, want);
  }

  void checkSize(size_t i) const {
    const auto [w, h] = m_right[i].size;
    for (const RkdiSize bad : {RkdiSize{0, h}, {w, 0}, {-1, h}, {w, -1}, {INT_MIN, h}}) {
      expectRefused(i, bad);
    }
    // Too wide for the steps, and for an int that counts bytes.
    for (const int wide : {INT_MAX - 3, 1 << 30}) {
      std::vector<Value> values = m_right;
      values[i].size = RkdiSize{wide, h};
      EXPECT_LT(call(values), 0) << m_function.name << ", width " << wide;
    }
  }

  void checkPlanes(size_t i) const {
    void* const* const right = static_cast<void* const*>(m_right[i].pointer);
    for (int p = 0; p < m_words[i].number; ++p) {
      std::array<void*, 4> planes{};
      std::copy(right, right + m_words[i].number, planes.begin());
      planes[static_cast<size_t>(p)] = nullptr;
      expectRefused(i, Value{.pointer = planes.data()}, rkdStsNullPtrErr);
    }
  }

  void checkOne(size_t i) const {
    const Type::Kind kind = m_function.types[i].kind;
    const char word = m_words[i].kind;
    if (kind == Type::SIZE) {
      checkSize(i);
    } else if (kind != Type::NUMBER) {
      if (word == 'q') return;
      expectRefused(i, Value{}, rkdStsNullPtrErr);
      if (kind == Type::PLANES) checkPlanes(i);
    } else if (word == 's' || word == 'r') {
      const int right = static_cast<int>(m_right[i].number);
      for (const int bad : {right - 1, 0, -1, INT_MIN}) expectRefused(i, bad, rkdStsStepErr);
    } else if (word == 'n' || word == 'm') {
      for (const int bad : {0, -1, INT_MIN}) {
        if (bad != 0 || word != 'm') expectRefused(i, bad, rkdStsSizeErr);
      }
    }
  }

  const Function& m_function;
  std::vector<Word> m_words;
  std::vector<Value> m_right;
  Operands m_operands;
};

}  // namespace

void check(const Function& function, const char* shape) {
  g_listed.insert(function.name);
  if (!g_listOnly) Refusals(function, shape).check();
}

}  // namespace refusals
