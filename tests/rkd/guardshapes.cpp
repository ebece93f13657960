// What is done with every line of operands beside guard pages.
#include "guardshapes.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <memory>
#include <sstream>

namespace guarded {

using entrypoint::Function;
using entrypoint::Type;
using entrypoint::Value;

std::vector<Case> cases() {
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

testing::AssertionResult noFault(const Fault& fault, const Memory& memory) {
  if (!fault.happened) return testing::AssertionSuccess();
  return testing::AssertionFailure()
         << (fault.isWrite ? "writes to " : "reads ") << memory.describe(fault.address);
}

namespace {

/// A word of a shape: its kind, and the rest as text.
struct Word {
  char kind;
  std::string rest;
  bool hasStep;
};

std::vector<Word> parse(const std::string& shape) {
  std::vector<Word> words;
  std::istringstream in(shape);
  for (std::string text; in >> text;) {
    if (text == "s") words.back().hasStep = true;
    words.push_back({text[0], text.substr(1), false});
  }
  return words;
}

/// The sides of the letters, see above.
int sideOf(char letter, const Case& c) {
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
int lengthOf(std::istream& in, const Case& c) {
  int length = 1;
  if (std::isdigit(in.peek()) != 0) in >> length;
  const int next = in.peek();
  if (std::isalpha(next) != 0 && next != 'x') length *= sideOf(static_cast<char>(in.get()), c);
  return length;
}

/// "3wxh"; one row when there is no second length.
RkdiSize areaOf(std::istream& in, const Case& c) {
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

  Value argument(const Type& type, const Word& word) {
    std::istringstream in(word.rest);
    Value value;
    switch (type.kind) {
      case Type::SIZE:
        value.size = in.peek() == ':' ? (in.get(), areaOf(in, m_case)) : m_case.size;
        break;
      case Type::PLANES:
        value.pointer = planes(in, type, word);
        break;
      case Type::POINTER:
        value.pointer = type.isVoid        ? m_memory.take(workBytes())
                        : word.kind == 'q' ? table()
                                           : operand(areaOf(in, m_case), type, word);
        break;
      case Type::NUMBER:
        value.number = number(in, word);
        break;
    }
    return value;
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

  uint8_t* operand(RkdiSize area, const Type& type, const Word& word) {
    const int width = area.width * type.bytes();
    m_step = width + (word.hasStep ? gap() : 0);
    if (m_step == 0) m_step = type.bytes();
    const size_t bytes =
        area.height == 0 || width == 0 ? 0 : size_t(m_step) * size_t(area.height - 1) + width;
    uint8_t* const data = m_memory.take(bytes);
    m_rows.push_back({data, m_step, {width, bytes == 0 ? 0 : area.height}});
    for (int y = 0; y < m_rows.back().size.height; ++y) {
      for (int x = 0; x < area.width; ++x) {
        put(data + ptrdiff_t{y} * m_step + ptrdiff_t{x} * type.bytes(), type.sample, word.kind);
      }
    }
    if (!type.written) m_memory.seal();
    return data;
  }

  void put(uint8_t* at, Type::Sample type, char kind) {
    switch (type) {
      case Type::INT8:
        return put<int8_t>(at, kind);
      case Type::OPAQUE:
      case Type::UINT8:
        return put<uint8_t>(at, kind);
      case Type::INT16:
        return put<int16_t>(at, kind);
      case Type::UINT16:
        return put<uint16_t>(at, kind);
      case Type::INT32:
        return put<int32_t>(at, kind);
      case Type::UINT32:
        return put<uint32_t>(at, kind);
      case Type::FLOAT:
        return put<float>(at, kind);
    }
  }

  template <class T>
  void put(uint8_t* at, char kind) {
    const T value = sample<T>(kind);
    std::memcpy(at, &value, sizeof value);
  }

  template <class T>
  T sample(char kind) {
    if (kind == 'v') return static_cast<T>(m_random.between(1, 100));
    if constexpr (std::is_floating_point_v<T>) return T(m_random.between(-1000, 1000));
    const unsigned bits = m_random.bits();
    if (bits % 8 == 0) return std::numeric_limits<T>::max();
    return bits % 8 == 1 ? std::numeric_limits<T>::min() : static_cast<T>(bits >> 7);
  }

  void* planes(std::istream& in, const Type& type, const Word& word) {
    auto& array = m_planes.emplace_back(std::make_unique<std::array<void*, 4>>());
    size_t count = 0;
    if (word.rest.find('*') != std::string::npos) {
      size_t all = 0;
      in >> all;
      const auto start = (in.get(), in.tellg());
      for (; count < all; ++count) {
        in.clear();
        in.seekg(start);
        (*array)[count] = operand(areaOf(in, m_case), type, word);
      }
    } else {
      do {
        (*array)[count++] = operand(areaOf(in, m_case), type, word);
      } while (in.get() == ',');
    }
    return array->data();
  }

  void* table() {
    std::array<uint16_t, 64> quantisers{};
    const int turn = m_case.turn % 3;
    for (uint16_t& q : quantisers)
      q = static_cast<uint16_t>(turn == 2 ? 1 : m_random.between(1, 90));
    auto* const entries = m_memory.destination<uint16_t>(RKD_QUANT_TABLE_LENGTH);
    std::fill_n(entries, RKD_QUANT_TABLE_LENGTH, uint16_t{1});
    std::copy(quantisers.begin(), quantisers.end(), entries);
    if (turn == 0) rkdiQuantFwdTableInit_JPEG_16u(quantisers.data(), entries);
    m_memory.seal();
    return entries;
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

bool runCase(const Function& function, const std::vector<Word>& words, const Case& c, Side side) {
  Memory& memory = sharedMemory();
  Operands operands(memory, c, side);
  std::vector<Value> arguments;
  for (size_t i = 0; i < function.count; ++i) {
    arguments.push_back(operands.argument(function.types[i], words[i]));
  }
  RkdStatus status = rkdStsErr;
  const Fault fault = faultOf([&] { status = function.call(arguments.data()); });
  const auto where = testing::Message() << c << ", operands at the " << nameOf(side) << " of pages";
  EXPECT_TRUE(noFault(fault, memory)) << where;
  if (fault.happened) return false;
  const bool isIntact = operands.areGapsIntact();
  EXPECT_EQ(status, rkdStsNoErr) << where;
  EXPECT_TRUE(isIntact) << "writes beside an operand, " << where;
  return status == rkdStsNoErr && isIntact;
}

/// Sizes as the function takes them: multiples of what "z/4x4" says.
Case adjusted(Case c, const std::vector<Word>& words) {
  for (const Word& word : words) {
    if (word.kind != 'z' || word.rest.empty() || word.rest[0] != '/') continue;
    std::istringstream in(word.rest.substr(1));
    const RkdiSize unit = areaOf(in, c);
    const auto up = [](int value, int of) { return (value + of - 1) / of * of; };
    c.size = {up(c.size.width, unit.width), up(c.size.height, unit.height)};
  }
  return c;
}

}  // namespace

void runCases(const Function& function, const char* shape) {
  SCOPED_TRACE(function.name);
  g_called.insert(function.name);
  const std::vector<Word> words = parse(shape);
  ASSERT_EQ(words.size(), function.count) << "the shape has another number of words";
  for (const Case& c : cases()) {
    for (const Side side : {Side::end, Side::begin}) {
      if (!runCase(function, words, adjusted(c, words), side)) return;
    }
  }
}

}  // namespace guarded
