// Bad arguments of every entry point from one table: a null pointer, a size that is not positive, a
// step below a row. Each gives its own status, and nothing is written.
//
// A line is REFUSES(function, shape), where the shape has one word an argument:
//   p    pointer to samples, a table or an object
//   P3   array of 3 plane pointers
//   s2   step of rows of 2 samples a pixel, at the width of the function's size
//   r8   step of rows of 8 samples, whatever the size
//   z    RkdiSize
//   n    length or width, positive
//   =5   any other parameter, with a value that is right
// Steps measure rows of the pointer before them.
#include <sstream>
#include <tuple>
#include <type_traits>

#include "rkd/rkd.h"
#include "rkdkit.h"

using namespace rkdkit;

namespace {

constexpr RkdiSize kSize = {19, 3};
constexpr int kLength = 19;

// What the arguments point to. Read-only operands hold bytes of 1: right as samples, as
// coefficients and as tables.
struct Operands {
  static constexpr size_t kBytes = 1 << 14;
  std::vector<std::vector<uint8_t>> memory;
  std::vector<std::array<void*, 4>> planes;
  Operands() {
    memory.reserve(64);
    planes.reserve(16);
  }

  template <class T>
  T* make() {
    auto& block = memory.emplace_back(kBytes, std::is_const_v<T> ? uint8_t{1} : uint8_t{0xA5});
    return reinterpret_cast<T*>(block.data());
  }
  template <class T>
  T* const* makePlanes(int count) {
    auto& array = planes.emplace_back();
    for (int p = 0; p < count; ++p) {
      array[p] = const_cast<std::remove_const_t<T>*>(make<T>());
    }
    return reinterpret_cast<T* const*>(array.data());
  }
};

struct Word {
  char kind;
  int number;
};

std::vector<Word> parse(const std::string& shape) {
  std::vector<Word> words;
  std::istringstream in(shape);
  for (std::string word; in >> word;) {
    words.push_back({word[0], word.size() > 1 ? std::stoi(word.substr(1)) : 0});
  }
  return words;
}

template <class T>
int sampleBytes(T*) {
  return sizeof(T);
}
template <class T>
int sampleBytes(T* const*) {
  return sizeof(T);
}

// The right value of one argument; `bytes` is the sample size of the last pointer.
template <class A>
A rightValue(Operands& operands, Word word, int& bytes) {
  if constexpr (std::is_same_v<A, RkdiSize>) {
    return kSize;
  } else if constexpr (std::is_pointer_v<A>) {
    A pointer;
    if constexpr (std::is_pointer_v<std::remove_pointer_t<A>>) {
      using T = std::remove_pointer_t<std::remove_cv_t<std::remove_pointer_t<A>>>;
      pointer = operands.makePlanes<T>(word.number);
    } else {
      pointer = operands.make<std::remove_pointer_t<A>>();
    }
    if constexpr (!std::is_void_v<std::remove_pointer_t<A>>) bytes = sampleBytes(pointer);
    return pointer;
  } else {
    switch (word.kind) {
      case 's':
        return static_cast<A>(kSize.width * word.number * bytes);
      case 'r':
        return static_cast<A>(word.number * bytes);
      case 'n':
        return static_cast<A>(kLength);
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
  void checkOne(const std::tuple<A...>& right) {
    using T = std::tuple_element_t<I, std::tuple<A...>>;
    const auto value = std::get<I>(right);
    const Word word = m_words[I];
    if constexpr (std::is_same_v<T, RkdiSize>) {
      for (const RkdiSize bad : {sz(0, 3), sz(19, 0), sz(-1, 3), sz(19, -1), sz(INT32_MIN, 3)}) {
        expectRefused<I>(right, bad, rkdStsSizeErr);
      }
    } else if constexpr (std::is_pointer_v<T>) {
      expectRefused<I>(right, nullptr, rkdStsNullPtrErr);
      if constexpr (std::is_pointer_v<std::remove_pointer_t<T>>) {
        for (int p = 0; p < word.number; ++p) {
          std::array<std::remove_cv_t<std::remove_pointer_t<T>>, 4> planes;
          std::copy(value, value + word.number, planes.begin());
          planes[p] = nullptr;
          expectRefused<I>(right, planes.data(), rkdStsNullPtrErr);
        }
      }
    } else if (word.kind == 's' || word.kind == 'r') {
      for (const int bad : {static_cast<int>(value) - 1, 0, -1, INT32_MIN}) {
        expectRefused<I>(right, static_cast<T>(bad), rkdStsStepErr);
      }
    } else if (word.kind == 'n') {
      for (const int bad : {0, -1, INT32_MIN}) {
        expectRefused<I>(right, static_cast<T>(bad), rkdStsSizeErr);
      }
    }
  }

  const char* m_name;
  RkdStatus (*m_function)(A...);
  std::vector<Word> m_words;
  Operands m_operands;
};

#define REFUSES(function, shape) Refusals(#function, function, shape).check()

TEST(Arguments, SignalAndImage) {
  REFUSES(rkdsCopy_8u, "p p n");
  REFUSES(rkdsCopy_16s, "p p n");
  REFUSES(rkdsCopy_32s, "p p n");
  REFUSES(rkdsSet_8u, "=3 p n");
  REFUSES(rkdsSet_16s, "=3 p n");
  REFUSES(rkdsSet_32s, "=3 p n");
  REFUSES(rkdsZero_8u, "p n");
  REFUSES(rkdsZero_16s, "p n");
  REFUSES(rkdsZero_32s, "p n");
  REFUSES(rkdiCopy_8u_C1R, "p s1 p s1 z");
  REFUSES(rkdiCopy_8u_C3R, "p s3 p s3 z");
  REFUSES(rkdiCopy_16s_C1R, "p s1 p s1 z");
  REFUSES(rkdiCopy_32s_C1R, "p s1 p s1 z");
  REFUSES(rkdiSet_8u_C1R, "=3 p s1 z");
  REFUSES(rkdiSet_16s_C1R, "=3 p s1 z");
  REFUSES(rkdiSet_32s_C1R, "=3 p s1 z");
}

TEST(Arguments, LevelShift) {
  REFUSES(rkdiAdd128_JPEG_16s8u_C1R, "p s1 p s1 z");
  REFUSES(rkdiSub128_JPEG_8u16s_C1R, "p s1 p s1 z");
}

TEST(Arguments, Colour) {
  REFUSES(rkdiRGBToY_JPEG_8u_P3C1R, "P3 s1 p s1 z");
  REFUSES(rkdiRGBToY_JPEG_8u_C3C1R, "p s3 p s1 z");
  REFUSES(rkdiBGRToY_JPEG_8u_C3C1R, "p s3 p s1 z");
  REFUSES(rkdiRGBToYCbCr_JPEG_8u_P3R, "P3 s1 P3 s1 z");
  REFUSES(rkdiRGBToYCbCr_JPEG_8u_C3P3R, "p s3 P3 s1 z");
  REFUSES(rkdiBGRToYCbCr_JPEG_8u_C3P3R, "p s3 P3 s1 z");
  REFUSES(rkdiYCbCrToRGB_JPEG_8u_P3R, "P3 s1 P3 s1 z");
  REFUSES(rkdiYCbCrToRGB_JPEG_8u_P3C3R, "P3 s1 p s3 z");
  REFUSES(rkdiYCbCrToBGR_JPEG_8u_P3C3R, "P3 s1 p s3 z");
  REFUSES(rkdiCMYKToYCCK_JPEG_8u_P4R, "P4 s1 P4 s1 z");
  REFUSES(rkdiCMYKToYCCK_JPEG_8u_C4P4R, "p s4 P4 s1 z");
  REFUSES(rkdiYCCKToCMYK_JPEG_8u_P4R, "P4 s1 P4 s1 z");
  REFUSES(rkdiYCCKToCMYK_JPEG_8u_P4C4R, "P4 s1 p s4 z");
  REFUSES(rkdiRGB555ToYCbCr_JPEG_16u8u_C3P3R, "p s1 P3 s1 z");
  REFUSES(rkdiBGR555ToYCbCr_JPEG_16u8u_C3P3R, "p s1 P3 s1 z");
  REFUSES(rkdiRGB565ToYCbCr_JPEG_16u8u_C3P3R, "p s1 P3 s1 z");
  REFUSES(rkdiBGR565ToYCbCr_JPEG_16u8u_C3P3R, "p s1 P3 s1 z");
  REFUSES(rkdiYCbCrToRGB555_JPEG_8u16u_P3C3R, "P3 s1 p s1 z");
  REFUSES(rkdiYCbCrToBGR555_JPEG_8u16u_P3C3R, "P3 s1 p s1 z");
  REFUSES(rkdiYCbCrToRGB565_JPEG_8u16u_P3C3R, "P3 s1 p s1 z");
  REFUSES(rkdiYCbCrToBGR565_JPEG_8u16u_P3C3R, "P3 s1 p s1 z");
}

TEST(Arguments, Component) {
  REFUSES(rkdiICTFwd_JPEG2K_32f_C3P3R, "p s3 P3 s1 z");
  REFUSES(rkdiICTInv_JPEG2K_32f_P3C3R, "P3 s1 p s3 z");
  REFUSES(rkdiICTFwd_JPEG2K_32f_P3IR, "P3 s1 z");
  REFUSES(rkdiICTInv_JPEG2K_32f_P3IR, "P3 s1 z");
  REFUSES(rkdiICTFwd_JPEG2K_16s_P3IR, "P3 s1 z");
  REFUSES(rkdiICTInv_JPEG2K_16s_P3IR, "P3 s1 z");
  REFUSES(rkdiICTFwd_JPEG2K_32s_P3IR, "P3 s1 z");
  REFUSES(rkdiICTInv_JPEG2K_32s_P3IR, "P3 s1 z");
  REFUSES(rkdiRCTFwd_JPEG2K_16s_P3IR, "P3 s1 z");
  REFUSES(rkdiRCTInv_JPEG2K_16s_P3IR, "P3 s1 z");
  REFUSES(rkdiRCTFwd_JPEG2K_32s_P3IR, "P3 s1 z");
  REFUSES(rkdiRCTInv_JPEG2K_32s_P3IR, "P3 s1 z");
  REFUSES(rkdiRCTFwd_JPEG2K_16s_C3P3R, "p s3 P3 s1 z");
  REFUSES(rkdiRCTInv_JPEG2K_16s_P3C3R, "P3 s1 p s3 z");
  REFUSES(rkdiRCTFwd_JPEG2K_32s_C3P3R, "p s3 P3 s1 z");
  REFUSES(rkdiRCTInv_JPEG2K_32s_P3C3R, "P3 s1 p s3 z");
}

TEST(Arguments, Wavelet) {
  REFUSES(rkdiWTFwdCol_B53_JPEG2K_16s_C1R, "p s1 p s1 p s1 z =0");
  REFUSES(rkdiWTInvCol_B53_JPEG2K_16s_C1R, "p s1 p s1 p s1 z =0");
  REFUSES(rkdiWTFwdCol_B53_JPEG2K_32s_C1R, "p s1 p s1 p s1 z =0");
  REFUSES(rkdiWTInvCol_B53_JPEG2K_32s_C1R, "p s1 p s1 p s1 z =0");
  REFUSES(rkdiWTFwdCol_D97_JPEG2K_32f_C1R, "p s1 p s1 p s1 z =0");
  REFUSES(rkdiWTInvCol_D97_JPEG2K_32f_C1R, "p s1 p s1 p s1 z =0");
  REFUSES(rkdiWTFwd_B53_JPEG2K_16s_C1R, "p s1 p s1 z =0 =1 p");
  REFUSES(rkdiWTFwd_B53_JPEG2K_16s_C1IR, "p s1 z =0 =1 p");
  REFUSES(rkdiWTInv_B53_JPEG2K_16s_C1R, "p s1 p s1 z =0 =1 p");
  REFUSES(rkdiWTInv_B53_JPEG2K_16s_C1IR, "p s1 z =0 =1 p");
  REFUSES(rkdiWTFwd_B53_JPEG2K_32s_C1R, "p s1 p s1 z =0 =1 p");
  REFUSES(rkdiWTFwd_B53_JPEG2K_32s_C1IR, "p s1 z =0 =1 p");
  REFUSES(rkdiWTInv_B53_JPEG2K_32s_C1R, "p s1 p s1 z =0 =1 p");
  REFUSES(rkdiWTInv_B53_JPEG2K_32s_C1IR, "p s1 z =0 =1 p");
  REFUSES(rkdiWTFwd_D97_JPEG2K_16s_C1R, "p s1 p s1 z =0 =1 p");
  REFUSES(rkdiWTFwd_D97_JPEG2K_16s_C1IR, "p s1 z =0 =1 p");
  REFUSES(rkdiWTInv_D97_JPEG2K_16s_C1R, "p s1 p s1 z =0 =1 p");
  REFUSES(rkdiWTInv_D97_JPEG2K_16s_C1IR, "p s1 z =0 =1 p");
  REFUSES(rkdiWTFwd_D97_JPEG2K_32s_C1R, "p s1 p s1 z =0 =1 p");
  REFUSES(rkdiWTFwd_D97_JPEG2K_32s_C1IR, "p s1 z =0 =1 p");
  REFUSES(rkdiWTInv_D97_JPEG2K_32s_C1R, "p s1 p s1 z =0 =1 p");
  REFUSES(rkdiWTInv_D97_JPEG2K_32s_C1IR, "p s1 z =0 =1 p");
  REFUSES(rkdiWTFwdColLift_B53_JPEG2K_16s_C1, "p p p p p p n");
  REFUSES(rkdiWTFwdColLift_B53_JPEG2K_32s_C1, "p p p p p p n");
  REFUSES(rkdiWTFwdColLift_D97_JPEG2K_16s_C1, "p p P4 p p n");
  REFUSES(rkdiWTFwdColLift_D97_JPEG2K_32s_C1, "p p P4 p p n");
  REFUSES(rkdiWTFwdColLift_D97_JPEG2K_32f_C1, "p p P4 p p n");
  REFUSES(rkdiWTInvColLift_B53_JPEG2K_16s_C1, "p p p p p p n");
  REFUSES(rkdiWTInvColLift_B53_JPEG2K_32s_C1, "p p p p p p n");
  REFUSES(rkdiWTInvColLift_D97_JPEG2K_16s_C1, "p p P4 p p n");
  REFUSES(rkdiWTInvColLift_D97_JPEG2K_32s_C1, "p p P4 p p n");
  REFUSES(rkdiWTInvColLift_D97_JPEG2K_32f_C1, "p p P4 p p n");
}

TEST(Arguments, Mcu) {
  REFUSES(rkdiRGBToYCbCr444LS_MCU_8u16s_C3P3R, "p r24 P3");
  REFUSES(rkdiRGBToYCbCr422LS_MCU_8u16s_C3P3R, "p r48 P3");
  REFUSES(rkdiRGBToYCbCr411LS_MCU_8u16s_C3P3R, "p r48 P3");
  REFUSES(rkdiBGRToYCbCr444LS_MCU_8u16s_C3P3R, "p r24 P3");
  REFUSES(rkdiBGRToYCbCr422LS_MCU_8u16s_C3P3R, "p r48 P3");
  REFUSES(rkdiBGRToYCbCr411LS_MCU_8u16s_C3P3R, "p r48 P3");
  REFUSES(rkdiCMYKToYCCK444LS_MCU_8u16s_C4P4R, "p r32 P4");
  REFUSES(rkdiCMYKToYCCK422LS_MCU_8u16s_C4P4R, "p r64 P4");
  REFUSES(rkdiCMYKToYCCK411LS_MCU_8u16s_C4P4R, "p r64 P4");
  REFUSES(rkdiYCbCr444ToRGBLS_MCU_16s8u_P3C3R, "P3 p r24");
  REFUSES(rkdiYCbCr422ToRGBLS_MCU_16s8u_P3C3R, "P3 p r48");
  REFUSES(rkdiYCbCr411ToRGBLS_MCU_16s8u_P3C3R, "P3 p r48");
  REFUSES(rkdiYCbCr444ToBGRLS_MCU_16s8u_P3C3R, "P3 p r24");
  REFUSES(rkdiYCbCr422ToBGRLS_MCU_16s8u_P3C3R, "P3 p r48");
  REFUSES(rkdiYCbCr411ToBGRLS_MCU_16s8u_P3C3R, "P3 p r48");
  REFUSES(rkdiYCCK444ToCMYKLS_MCU_16s8u_P4C4R, "P4 p r32");
  REFUSES(rkdiYCCK422ToCMYKLS_MCU_16s8u_P4C4R, "P4 p r64");
  REFUSES(rkdiYCCK411ToCMYKLS_MCU_16s8u_P4C4R, "P4 p r64");
  REFUSES(rkdiBGR555ToYCbCr444LS_MCU_16u16s_C3P3R, "p r8 P3");
  REFUSES(rkdiBGR555ToYCbCr422LS_MCU_16u16s_C3P3R, "p r16 P3");
  REFUSES(rkdiBGR555ToYCbCr411LS_MCU_16u16s_C3P3R, "p r16 P3");
  REFUSES(rkdiBGR565ToYCbCr444LS_MCU_16u16s_C3P3R, "p r8 P3");
  REFUSES(rkdiBGR565ToYCbCr422LS_MCU_16u16s_C3P3R, "p r16 P3");
  REFUSES(rkdiBGR565ToYCbCr411LS_MCU_16u16s_C3P3R, "p r16 P3");
  REFUSES(rkdiYCbCr444ToBGR555LS_MCU_16s16u_P3C3R, "P3 p r8");
  REFUSES(rkdiYCbCr422ToBGR555LS_MCU_16s16u_P3C3R, "P3 p r16");
  REFUSES(rkdiYCbCr411ToBGR555LS_MCU_16s16u_P3C3R, "P3 p r16");
  REFUSES(rkdiYCbCr444ToBGR565LS_MCU_16s16u_P3C3R, "P3 p r8");
  REFUSES(rkdiYCbCr422ToBGR565LS_MCU_16s16u_P3C3R, "P3 p r16");
  REFUSES(rkdiYCbCr411ToBGR565LS_MCU_16s16u_P3C3R, "P3 p r16");
  REFUSES(rkdiSampleDown444LS_MCU_8u16s_C3P3R, "p r24 P3");
  REFUSES(rkdiSampleDown422LS_MCU_8u16s_C3P3R, "p r48 P3");
  REFUSES(rkdiSampleDown411LS_MCU_8u16s_C3P3R, "p r48 P3");
  REFUSES(rkdiSampleUp444LS_MCU_16s8u_P3C3R, "P3 p r24");
  REFUSES(rkdiSampleUp422LS_MCU_16s8u_P3C3R, "P3 p r48");
  REFUSES(rkdiSampleUp411LS_MCU_16s8u_P3C3R, "P3 p r48");
  REFUSES(rkdiSplit422LS_MCU_8u16s_C2P3R, "p r32 P3");
  REFUSES(rkdiJoin422LS_MCU_16s8u_P3C2R, "P3 p r32");
}

TEST(Arguments, SampleRows) {
  REFUSES(rkdiSampleDownRowH2V1_Box_JPEG_8u_C1, "p n p");
  REFUSES(rkdiSampleDownRowH2V2_Box_JPEG_8u_C1, "p p n p");
  REFUSES(rkdiSampleUpRowH2V1_Triangle_JPEG_8u_C1, "p n p");
  REFUSES(rkdiSampleUpRowH2V2_Triangle_JPEG_8u_C1, "p p n p");
}

TEST(Arguments, TiffRows) {
  REFUSES(rkdiSplitRow_TIFF_16u8u_C1, "p p n");
  REFUSES(rkdiJoinRow_TIFF_8u16u_C1, "p p n");
}

TEST(Arguments, CoreTransform) {
  REFUSES(rkdiPCTFwd_HDP_32s_C1IR, "p s1 z");
  REFUSES(rkdiPCTInv_HDP_32s_C1IR, "p s1 z");
  REFUSES(rkdiPCTFwd16x16_HDP_32s_C1IR, "p r16");
  REFUSES(rkdiPCTInv16x16_HDP_32s_C1IR, "p r16");
  REFUSES(rkdiPCTFwd8x16_HDP_32s_C1IR, "p r8");
  REFUSES(rkdiPCTInv8x16_HDP_32s_C1IR, "p r8");
  REFUSES(rkdiPCTFwd8x8_HDP_32s_C1IR, "p r8");
  REFUSES(rkdiPCTInv8x8_HDP_32s_C1IR, "p r8");
}

TEST(Arguments, Transforms) {
  REFUSES(rkdiQuantFwdTableInit_JPEG_8u16u, "p p");
  REFUSES(rkdiQuantFwdTableInit_JPEG_16u, "p p");
  REFUSES(rkdiQuantInvTableInit_JPEG_8u16u, "p p");
  REFUSES(rkdiQuantInvTableInit_JPEG_16u, "p p");
  REFUSES(rkdiQuantFwd8x8_JPEG_16s_C1I, "p p");
  REFUSES(rkdiQuantInv8x8_JPEG_16s_C1I, "p p");
  REFUSES(rkdiDCT8x8Fwd_JPEG_16s_C1, "p p");
  REFUSES(rkdiDCT8x8Fwd_JPEG_16s_C1I, "p");
  REFUSES(rkdiDCT8x8Inv_JPEG_16s_C1, "p p");
  REFUSES(rkdiDCT8x8Inv_JPEG_16s_C1I, "p");
  REFUSES(rkdiDCTQuantFwd8x8_JPEG_16s_C1, "p p p");
  REFUSES(rkdiDCTQuantFwd8x8_JPEG_16s_C1I, "p p");
  REFUSES(rkdiDCTQuantInv8x8_JPEG_16s_C1, "p p p");
  REFUSES(rkdiDCTQuantInv8x8_JPEG_16s_C1I, "p p");
  REFUSES(rkdiDCT8x8FwdLS_JPEG_8u16s_C1R, "p r8 p");
  REFUSES(rkdiDCT8x8InvLS_JPEG_16s8u_C1R, "p p r8");
  REFUSES(rkdiDCTQuantFwd8x8LS_JPEG_8u16s_C1R, "p r8 p p");
  REFUSES(rkdiDCTQuantFwd8x8LS_JPEG_16u16s_C1R, "p r8 p p");
  REFUSES(rkdiDCTQuantInv8x8LS_JPEG_16s8u_C1R, "p p r8 p");
  REFUSES(rkdiDCTQuantInv8x8LS_JPEG_16s16u_C1R, "p p r8 p");
  REFUSES(rkdiDCTQuantInv8x8LS_4x4_JPEG_16s8u_C1R, "p p r8 p");
  REFUSES(rkdiDCTQuantInv8x8LS_2x2_JPEG_16s8u_C1R, "p p r8 p");
  REFUSES(rkdiDCTQuantInv8x8LS_1x1_JPEG_16s8u_C1R, "p p r8 p");
  REFUSES(rkdiDCTQuantInv8x8To4x4LS_JPEG_16s8u_C1R, "p p r4 p");
  REFUSES(rkdiDCTQuantInv8x8To2x2LS_JPEG_16s8u_C1R, "p p r2 p");
}

}  // namespace
