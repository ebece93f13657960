// Function names: pieces, types, channels, order.
#include "rkfunc.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <regex>
#include <string>
#include <vector>

#include "capture.h"
#include "testpaths.h"

namespace {

// What a name says, found by a pattern instead of the walk that rkFunc makes.
struct Pieces {
  std::string base, types, descr;
};

Pieces piecesOf(const std::string& name) {
  static const std::regex shape("rkdi(.*?)(_((\\d+[usf]c?)+)(_(.*))?)?");
  std::smatch match;
  EXPECT_TRUE(std::regex_match(name, match, shape)) << name;
  return {match[1], match[3], match[6]};
}

std::vector<std::string> allMatches(const std::string& text, const char* pattern) {
  const std::regex shape(pattern);
  std::vector<std::string> found;
  for (std::sregex_iterator it(text.begin(), text.end(), shape), end; it != end; ++it) {
    found.push_back(it->str());
  }
  return found;
}

struct Types {
  rkType src, dst, src2, dst2;
  friend bool operator==(const Types&, const Types&) = default;
};

Types typesOf(const rkFunc& func) {
  Types types;
  func.getTypes(types.src, types.dst, types.src2, types.dst2);
  return types;
}

/// The functions over samples and coefficients that the public headers declare.
std::vector<std::string> declaredFunctions() {
  static const std::regex declared("RKD_API RkdStatus\\s+(rkdi\\w+_\\w*\\d[usf]\\w*)\\(");
  std::vector<std::string> names;
  const auto headers = std::string(TAZMET_TEST_DATA) + "/../../rkd/include/rkd";
  for (const auto& entry : std::filesystem::directory_iterator(headers)) {
    std::ifstream file(entry.path());
    const std::string text{std::istreambuf_iterator<char>(file), {}};
    for (std::sregex_iterator it(text.begin(), text.end(), declared), end; it != end; ++it) {
      names.push_back((*it)[1]);
    }
  }
  return names;
}

}  // namespace

TEST(Func, EveryDeclaredNameGivesItsPiecesTypesAndChannels) {
  const std::vector<std::string> names = declaredFunctions();
  EXPECT_GT(names.size(), 188u);
  for (const std::string& name : names) {
    SCOPED_TRACE(name);
    const rkFunc func(name.c_str());
    const Pieces want = piecesOf(name);
    EXPECT_EQ(func.prefix(), "rkdi");
    EXPECT_EQ(func.baseName(), want.base.c_str());
    EXPECT_EQ(func.typeName(), want.types.c_str());
    EXPECT_EQ(func.descrName(), want.descr.c_str());
    EXPECT_EQ(func.typeFromBase(), rkUndef);

    const auto types = allMatches(want.types, "\\d+[usf]c?");
    EXPECT_EQ(func.srcType(), types.empty() ? rkUndef : stringToType(types.front()));
    EXPECT_EQ(func.dstType(), types.empty() ? rkUndef : stringToType(types.back()));
    EXPECT_EQ(func.type(0), func.type(1));

    const auto codes = allMatches(want.descr, "A?[CP]\\d");
    ASSERT_LE(codes.size(), 2u);
    const std::string src = codes.empty() ? "" : codes.front();
    const std::string dst = codes.empty() ? "" : codes.back();
    EXPECT_EQ(func.srcChannelsName(), src.c_str());
    EXPECT_EQ(func.dstChannelsName(), dst.c_str());
    EXPECT_EQ(func.srcChannels(), src.empty() ? 0 : src[1] - '0');
    EXPECT_EQ(func.dstChannels(), dst.empty() ? 0 : dst[1] - '0');
    EXPECT_EQ(func.srcPlane(), !src.empty() && src[0] == 'P');
    EXPECT_EQ(func.dstPlane(), !dst.empty() && dst[0] == 'P');
    EXPECT_FALSE(func.srcAlpha() || func.dstAlpha() || func.scale() || func.mask() || func.coi());
    EXPECT_EQ(func.roi(), want.descr.ends_with("R"));
    EXPECT_EQ(func.inplace(), want.descr.find('I') != std::string::npos);
  }
}

TEST(Func, TheOddMeasuredNames) {
  const rkFunc noTypes("rkdiDecodeCBProgrStep_JPEG2K");
  EXPECT_EQ(noTypes.baseName(), "DecodeCBProgrStep_JPEG2K");
  EXPECT_EQ(noTypes.typeName(), "");
  EXPECT_EQ(noTypes.channels(rkSrc), 0);

  const rkFunc bits("rkdiEncodeStoreBits_JPEG2K_1u");
  EXPECT_EQ(bits.typeName(), "1u");
  EXPECT_EQ(bits.srcType(), rkUndef) << "single bits are no element type";
  EXPECT_EQ(rkFunc("rkdiDecodeHuffman8x8_JPEG_1u16s_C1").dstType(), rk16s);

  const rkFunc reduced("rkdiDCTQuantInv8x8LS_4x4_JPEG_16s8u_C1R");
  EXPECT_EQ(reduced.baseName(), "DCTQuantInv8x8LS_4x4_JPEG") << "4x4 begins with no type";
  EXPECT_EQ(reduced.type(rkDst), rk8u);
  EXPECT_EQ(reduced.type(2), rk8u);
  EXPECT_EQ(reduced.type(3), rk8u);
  EXPECT_EQ(reduced.type(4), rkUndef);

  const rkFunc rows("rkdiEncodeHuffmanRow_JPEG_16s1u_P4C1");
  EXPECT_EQ(rows.channels(rkSrc), 4);
  EXPECT_TRUE(rows.plane(rkSrc));
  EXPECT_EQ(rows.channels(rkDst2), 1);
  EXPECT_FALSE(rows.plane(rkDst2));
  EXPECT_EQ(rows.channels(rkArg(0)), 1);
}

TEST(Func, NamesOutsideTheFamily) {
  EXPECT_EQ(rkFunc("abcdAdd_8u_C1R").prefix(), "");
  EXPECT_EQ(rkFunc("abcdAdd_8u_C1R").baseName(), "abcdAdd");
  EXPECT_EQ(rkFunc("rkdsCopy_8u").prefix(), "rkds");
  EXPECT_EQ(rkFunc("rkdsCopy_8u").baseName(), "Copy");
  EXPECT_EQ(rkFunc("").baseName(), "");
  EXPECT_EQ(rkFunc("rkdi").baseName(), "");
  EXPECT_EQ(rkFunc("_8u").typeName(), "8u");
  EXPECT_EQ(rkFunc("rkdiNoTypes_at_all").descrName(), "");
  // Further underscores belong to the description.
  EXPECT_EQ(rkFunc("rkdiX_8u_C1R_more").descrName(), "C1R_more");
  // A number that no int holds is no reason to fail.
  EXPECT_EQ(rkFunc("x_99999999999999999999u_C1").srcType(), rkUndef);
  EXPECT_NE(rkFunc("x_99999999999999999999u_C1").compare("x_8u_C1"), 0);

  tzString base, type1, type2, type3, descr;
  rkFunc("rkdiThree_8u16s32f_C1").parseFunction(base, type1, type2, type3, descr);
  EXPECT_EQ(type1 + "," + type2 + "," + type3, "8u,16s,32f");
  // What is no type has none, and repeats none.
  rkFunc("rkdiX_16sX_C1").parseFunction(base, type1, type2, type3, descr);
  EXPECT_EQ(type1 + "," + type2 + "," + type3, "16s,,");
  EXPECT_EQ(rkFunc("rkdiX_16sX_C1").type(2), rkUndef);
  rkFunc("rkdiX_16s8uX_C1").parseFunction(base, type1, type2, type3, descr);
  EXPECT_EQ(type1 + "," + type2 + "," + type3, "16s,8u,");
}

TEST(Func, BaseNamesThatSayMoreAboutTypes) {
  EXPECT_EQ(rkFunc("rkdiConvert_JPEG16s_8u_C1").type(0), rk16s);
  EXPECT_EQ(rkFunc("rkdsTone64fcx_8u").typeFromBase(), rk64fc) << "not its beginning, 64f";
  EXPECT_EQ(typesOf("rkdiSum_8u_C1R"), (Types{rk8u, rk64f, rk8u, rk64f}));
  EXPECT_EQ(typesOf("rkdiCopy_16s_C1MR"), (Types{rk16s, rk16s, rk8u, rk16s}));
  EXPECT_EQ(typesOf("rkdiCompareC_32f_C1R"), (Types{rk32f, rk8u, rk32f, rk8u}));
  EXPECT_EQ(typesOf("rkdsMagnitude_32fc"), (Types{rk32fc, rk32f, rk32fc, rk32f}));
  EXPECT_EQ(typesOf("rkdsRealToCplx_16s"), (Types{rk16s, rk16sc, rk16s, rk16sc}));
  EXPECT_EQ(typesOf("rkdsDotProd_32f32fc"), (Types{rk32f, rk32fc, rk32fc, rk32fc}));
  EXPECT_EQ(typesOf("rkdsMul_16u16s"), (Types{rk16u, rk16s, rk16s, rk16s}));
  EXPECT_EQ(typesOf("rkdiSumUp_8u_C1R"), (Types{rk8u, rk8u, rk8u, rk8u}));
}

TEST(Func, ChannelCodes) {
  struct Case {
    const char* descr;
    const char* src;
    const char* dst;
    int channels;
    bool planar, alpha;
    RkdChannels layout;
  };
  const Case cases[] = {
      {"C3P3R", "C3", "P3", 3, false, false, rkdC3},
      {"AC4R", "AC4", "AC4", 4, false, true, rkdAC4},
      {"AP4C4R", "AP4", "C4", 4, true, true, rkdAP4},
      {"C4AC4R", "C4", "AC4", 4, false, false, rkdC4},
      {"A0C4R", "C4", "C4", 4, false, false, rkdA0C4},  // the A is not directly before the C
      {"C3PR", "P3", "P3", 3, true, false, rkdP3},      // a lone P makes the operand planar
      {"C3P3PR", "P3", "P3", 3, true, false, rkdP3},    // wherever it stands
      {"P4R", "P4", "P4", 4, true, false, rkdP4},
      {"C5R", "C5", "C5", 0, false, false, rkdC0},
      {"C0", "C0", "C0", 0, false, false, rkdC0},
      {"CR", "", "", 0, false, false, rkdC0},
      {"", "", "", 0, false, false, rkdC0},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.descr);
    const rkFunc func(tzString("rkdiX_8u_") + c.descr);
    EXPECT_EQ(func.srcChannelsName(), c.src);
    EXPECT_EQ(func.dstChannelsName(), c.dst);
    EXPECT_EQ(func.srcChannels(), c.channels);
    EXPECT_EQ(func.srcPlane(), c.planar);
    EXPECT_EQ(func.srcAlpha(), c.alpha);
    EXPECT_EQ(func.rkdChannels(1), c.layout);
  }
  EXPECT_TRUE(rkFunc("rkdiCopy_8u_C3CR").coi());
  EXPECT_TRUE(rkFunc("rkdiMul_8u_C1RSfs").scale());
  EXPECT_TRUE(rkFunc("rkdiCopy_8u_C1MR").mask());
}

TEST(Func, OrderPutsVariantsBesideTheirPlainForm) {
  const std::vector<std::string> sorted = {
      "rkdiAdd_8u_C1R",  "rkdiAdd_8u_C1IR",  "rkdiAdd_8u_C3R",    "rkdiAdd_8u_C4R",
      "rkdiAdd_8u_AC4R", "rkdiAdd_8u_AC4IR", "rkdiAdd_8u16s_C1R", "rkdiAdd_16s_C1R",
      "rkdiAdd_32s_C1R", "rkdiAdd_32f_C1R",  "rkdiAdd_32fc_C1R",  "rkdiAdd2_8u_C1R"};
  for (size_t i = 0; i < sorted.size(); ++i) {
    for (size_t k = 0; k < sorted.size(); ++k) {
      const int order = rkFunc(sorted[i].c_str()).compare(sorted[k].c_str());
      EXPECT_EQ(order < 0, i < k) << sorted[i] << " " << sorted[k];
      EXPECT_EQ(order > 0, i > k) << sorted[i] << " " << sorted[k];
    }
  }
  EXPECT_NE(rkFunc("rkdsAdd_8u").compare("rkdiAdd_8u"), 0) << "only one name is equal to itself";
}

TEST(Type, TextsValuesAndLibraryConstants) {
  const struct {
    const char* text;
    int value;
    RkdDataType constant;
  } types[] = {
      {"8u", 8, rkd8u},        {"16u", 16, rkd16u},     {"32u", 32, rkd32u},
      {"64u", 64, rkd64u},     {"8s", 264, rkd8s},      {"16s", 272, rkd16s},
      {"32s", 288, rkd32s},    {"64s", 320, rkd64s},    {"32f", 544, rkd32f},
      {"64f", 576, rkd64f},    {"16uc", 1040, rkd16uc}, {"8sc", 1288, rkd8sc},
      {"16sc", 1296, rkd16sc}, {"32sc", 1312, rkd32sc}, {"64sc", 1344, rkd64sc},
      {"32fc", 1568, rkd32fc}, {"64fc", 1600, rkd64fc},
  };
  for (const auto& [text, value, constant] : types) {
    const rkType type = stringToType(text);
    EXPECT_EQ(type, value) << text;
    EXPECT_EQ(typeToString(type), text);
    EXPECT_EQ(rkdType(type), constant) << text;
    EXPECT_EQ(elementSize(type), std::stoi(text) / 8 * (isComplex(type) ? 2 : 1)) << text;
    EXPECT_EQ(isComplex(type), std::string(text).ends_with("c"));
    EXPECT_EQ(isFloat(type), std::string(text).find('f') != std::string::npos);
    EXPECT_EQ(isSigned(type), std::string(text).find('u') == std::string::npos);
  }
  EXPECT_EQ(rk16s, 272);
  EXPECT_EQ(rk64fc, 1600);
  EXPECT_EQ(stringToType("12u"), rkUndef);
  EXPECT_EQ(typeToString(rkType(12)), "undef");
  EXPECT_EQ(getMinValue(rk16sc), -32768);
  EXPECT_EQ(getMaxValue(rk8u), 255);
  EXPECT_EQ(getMinValue(rkUndef), 0);
  EXPECT_GT(getMinAbsValue(rk32f), 0);
  EXPECT_LT(getMinAbsValue(rk32f), 1e-37);
}
