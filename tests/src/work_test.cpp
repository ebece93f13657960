// What a suite's figures stand for: the elements that a performance is divided by, the work that it
// does, and how far the data of a comparison reach.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "harnesskit.h"
#include "rkguard.h"
#include "suitekit.h"
#include "tzmemory.h"

namespace {

using suitekit::Prepared;
using suitekit::suiteTests;

/// Values under which no two ways of counting agree: 90x58 pixels are 11 x 7 blocks and texture
/// rows of 22 x 14, and 11 x 7, 5 x 7 or 5 x 3 MCUs.
const std::map<std::string, std::string> kValues = {{"ImageSize", "90x58"}, {"Size", "90x58"},
                                                    {"BlockSize", "32x16"}, {"Length", "91"},
                                                    {"Predictor", "4"},     {"Picture", "photo"}};

/// The elements of one performance of the functions of a unit that have a text in their name: of
/// the lines that fit, the first.
struct Count {
  const char* source;
  const char* name;
  double elements;
};

constexpr double kPixels = 90 * 58;
constexpr double kBlockPixels = 88 * 56;
constexpr double kMcu444 = 11 * 7 * 8 * 8;  ///< pixels of all MCUs
constexpr double kMcu422 = 5 * 7 * 16 * 8;
constexpr double kMcu411 = 5 * 3 * 16 * 16;

const Count kCounts[] = {
    {"src/p_jadd_ia", "", kPixels},
    {"src/p_jcolor_ys", "", 3 * kPixels},
    {"src/p_jdctquant_ia", "", kBlockPixels},
    // Coefficients, however many samples are made of them.
    {"src/p_jdctquantls_ia", "", kBlockPixels},
    {"src/p_jencode2k_ia", "", 128 * 32 * 16},
    {"src/p_jencodedxt_ia", "", kBlockPixels},
    {"src/p_jhuffdir_ia", "", kBlockPixels},
    {"src/p_jhuffman_ia", "", kBlockPixels},
    {"src/p_jhuffprog_ia", "", 11 * 7},
    {"src/p_jhuffrow_ia", "", kBlockPixels},
    {"src/p_jmcu_ia", "YCCK444", 4 * kMcu444},
    {"src/p_jmcu_ia", "YCCK422", 4 * kMcu422},
    {"src/p_jmcu_ia", "YCCK411", 4 * kMcu411},
    {"src/p_jmcu_", "444", 3 * kMcu444},
    {"src/p_jmcu_", "422", 3 * kMcu422},
    {"src/p_jmcu_", "411", 3 * kMcu411},
    {"src/p_jpacktiff_ia", "", 91},
    {"src/p_jpredrow_ia", "FirstRow", 91},
    {"src/p_jpredrow_ia", "", 8 * 91},
    {"src/p_jquant_ia", "", kBlockPixels},
    {"src/p_jrgb_ia", "CMYK", 4 * kPixels},
    {"src/p_jrgb_ia", "", 3 * kPixels},
    {"src/p_jsampl_ia", "", kPixels},
    {"src/p_jsamplmcu_ia", "444", 3 * kMcu444},
    {"src/p_jsamplmcu_ia", "422", 3 * kMcu422},
    {"src/p_jsamplmcu_ia", "411", 3 * kMcu411},
    {"src/p_jsamplrow_ia", "Down", 91},
    {"src/p_jsamplrow_ia", "Up", 92},  // of 46 samples
    {"src/p_jsplittiff_ia", "", 91},
    {"src/p_jwt_ia", "", kPixels},
    {"src/p_jwtcollift_ia", "", 2 * 91},
    {"src/p_jwtrow_ia", "", kPixels},
    {"src/p_jxrpct_vb", "16x16", 80 * 48},
    {"src/p_jxrpct_vb", "8x16", 88 * 48},
    {"src/p_jxrpct_vb", "", kBlockPixels},
};

TEST(Work, IsDividedByTheElementsThatTheStandardsCount) {
  for (rkTest* test : suiteTests()) {
    const std::string source = test->source().c_str(), name = test->funcName().c_str();
    const Count* count = nullptr;
    for (const Count& line : kCounts) {
      const bool fits = source.find(line.source) == 0 && name.find(line.name) != std::string::npos;
      if (fits && count == nullptr) count = &line;
    }
    ASSERT_NE(nullptr, count) << name;
    const Prepared data(*test, kValues);
    EXPECT_TRUE(data.good()) << name;
    EXPECT_EQ(count->elements, test->getDivisor()) << name;
  }
}

// ---- what a performance changes ----

struct Buffer {
  unsigned char* data;
  std::vector<unsigned char> before;

  bool changed(std::size_t from, std::size_t to) const {
    return std::memcmp(data + from, before.data() + from, to - from) != 0;
  }
};

std::vector<Buffer> snapshot() {
  std::vector<Buffer> buffers;
  int size = 0;
  for (void* p = tzMallocFirst(&size, nullptr); p != nullptr; p = tzMallocNext(&size, nullptr)) {
    auto* data = static_cast<unsigned char*>(p);
    buffers.push_back({data, {data, data + size}});
  }
  return buffers;
}

/// Buffers that a performance writes at least: rows and bands, or the planes of the name.
int destinations(const rkTest& test) {
  const std::string source = test.source().c_str(), name = test.funcName().c_str();
  if (source == "src/p_jwtcollift_ia") return 2;
  if (source == "src/p_jwtrow_ia") return name.find("Fwd") != std::string::npos ? 2 : 1;
  return test.func().dstPlane() ? test.func().dstChannels() : 1;
}

/// Streams are not written to their ends, and a state or statistics take what a coder makes.
bool fillsItsDestination(const rkTest& test) {
  const std::string name = test.funcName().c_str();
  for (const char* sparse : {"EncodeHuffman", "Statistics", "StoreBits", "LoadCodeBlock",
                             "ProgrStep", "PackBits", "Refine", "ACFirst", "DCFirst"}) {
    if (name.find(sparse) != std::string::npos) return false;
  }
  return true;
}

TEST(Work, ReachesAllPlanesRowsAndBlocksToTheLast) {
  // Whole blocks and MCUs: all of a destination is to be written. Data without zeros, of which
  // nothing looks like what was there before.
  auto values = suitekit::sized("96x64");
  values.insert({{"Coefs", "dense"}, {"Picture", "jaehne"}, {"Table", "ones"}});
  values["BlockSize"] = "64x32";
  int sparse = 0;
  for (rkTest* test : suiteTests()) {
    const std::string name = test->funcName().c_str();
    // Dividing by one changes nothing.
    if (name.find("rkdiQuant") == 0) values["Table"] = "q75";
    if (!fillsItsDestination(*test)) {
      ++sparse;
      continue;
    }
    const rkGuard guarded(rkGuard::AT_END);  // without padding behind the last row
    const Prepared data(*test, values);
    ASSERT_TRUE(data.good()) << name;
    if (test->line().restoreLibrary != nullptr) test->line().restoreLibrary();
    const auto buffers = snapshot();
    EXPECT_EQ(0, test->line().library()) << name;
    int written = 0;
    for (const Buffer& buffer : buffers) {
      const std::size_t size = buffer.before.size();
      if (!buffer.changed(0, size)) continue;
      ++written;
      // Rows of predictors have one above them that stays.
      constexpr std::size_t kParts = 32;
      for (std::size_t part = kParts / 8; size >= 8 * kParts && part < kParts; ++part) {
        EXPECT_TRUE(buffer.changed(size * part / kParts, size * (part + 1) / kParts))
            << name << ", part " << part << " of a destination of " << size << " bytes";
      }
      EXPECT_TRUE(buffer.changed(size - std::min<std::size_t>(size, 8), size))
          << name << ", the end of " << size << " bytes";
    }
    EXPECT_GE(written, destinations(*test)) << name;
  }
  EXPECT_EQ(19, sparse) << "what is not checked here";
}

// ---- the data of comparisons ----

/// Lowest and highest element of every vector, before and after the performance.
std::string observed;
int (*original)();

std::string extremes(const char* when) {
  std::ostringstream text;
  int number = 0;
  tzObject* owner = nullptr;
  for (void* p = tzMallocFirst(nullptr, &owner); p != nullptr; p = tzMallocNext(nullptr, &owner)) {
    if (owner == MEM_OBJECT_IS_SUBOBJECT) continue;
    if (const auto* vector = dynamic_cast<const rkVector*>(owner)) {
      text << when << ++number << " " << vector->minValue() << " " << vector->maxValue() << "\n";
    }
  }
  return text.str();
}

int observe() {
  const std::string before = observed.empty() ? extremes("before ") : "";
  const int status = original();
  if (!before.empty()) observed = before + extremes("after ");
  return status;
}

/// A vector that has to reach at least from `lowest` to `highest`.
struct Reach {
  const char* function;
  const char* vector;
  double lowest, highest;
};

const Reach kReaches[] = {
    {"rkdiAdd128_JPEG_16s8u_C1R", "before 1", -32700, 32700},
    {"rkdiAdd128_JPEG_16s8u_C1R", "after 2", 0, 255},
    {"rkdiSub128_JPEG_8u16s_C1R", "after 2", -128, 127},
    {"rkdiDCTQuantFwd8x8_JPEG_16s_C1", "before 1", -512, 511},
    {"rkdiDCTQuantInv8x8_JPEG_16s_C1", "after 2", -200, 200},
    {"rkdiDCTQuantFwd8x8LS_JPEG_8u16s_C1R", "before 2", 0, 255},
    {"rkdiDCTQuantFwd8x8LS_JPEG_16u16s_C1R", "before 2", 2, 4093},
    {"rkdiDCTQuantInv8x8LS_JPEG_16s8u_C1R", "after 2", 0, 255},
    {"rkdiDCTQuantInv8x8LS_JPEG_16s16u_C1R", "after 2", 0, 4095},
    {"rkdiQuantFwd8x8_JPEG_16s_C1I", "before 2", -16300, 16300},
    {"rkdiRGBToYCbCr444LS_MCU_8u16s_C3P3R", "before 1", 0, 255},
    {"rkdiYCbCr444ToRGBLS_MCU_16s8u_P3C3R", "before 2", -299, 299},
    {"rkdiYCbCr444ToRGBLS_MCU_16s8u_P3C3R", "after 1", 0, 255},
    {"rkdiYCbCr411ToBGR565LS_MCU_16s16u_P3C3R", "after 1", 0, 65535},
    {"rkdiSampleUp422LS_MCU_16s8u_P3C3R", "after 1", 0, 255},
    {"rkdiRGBToYCbCr_JPEG_8u_C3P3R", "before 1", 0, 255},
    {"rkdiYCbCrToRGB_JPEG_8u_P3C3R", "after 2", 0, 255},
    {"rkdiICTFwd_JPEG2K_16s_P3IR", "before 1", -8190, 8190},
    {"rkdiICTInv_JPEG2K_32s_P3IR", "before 1", -1048000, 1048000},
    {"rkdiICTFwd_JPEG2K_32f_C3P3R", "before 1", -255, 254},
    {"rkdiWTFwdRow_B53_JPEG2K_16s_C1R", "before 1", -32700, 32700},
    {"rkdiWTFwdRow_D97_JPEG2K_32f_C1R", "before 1", -254, 254},
    {"rkdiWTInvCol_D97_JPEG2K_32f_C1R", "before 2", -254, 254},
    {"rkdiWTFwd_B53_JPEG2K_32s_C1R", "before 1", -2147000000, 2147000000},
    {"rkdiWTFwdColLift_D97_JPEG2K_32f_C1", "before 1", -254, 254},
    {"rkdiPCTFwd_HDP_32s_C1IR", "before 1", -16770000, 16770000},
    {"rkdiDiffPredRow_JPEG_16s_C1", "before 1", -32700, 32700},
    {"rkdiSampleDownH2V2_JPEG_8u_C1R", "before 1", 0, 255},
};

TEST(Work, ComparisonsReachTheEndsOfWhatFunctionsTake) {
  const harnesskit::TempFolder folder;
  for (const Reach& reach : kReaches) {
    const auto outcome = harnesskit::Session(folder)
                             .setup([&reach] {
                               for (rkTest* test : suiteTests()) {
                                 if (test->funcName() != reach.function) continue;
                                 original = test->line().library;
                                 test->setLibraryPerformance(observe);
                               }
                             })
                             .after([] { return observed; })
                             .run(std::string("-B -dImageSize=256x256 -dSize=256x256 -dLength=4096"
                                              " -VONLY -f=") +
                                  reach.function);
    EXPECT_EQ(0, outcome.exitCode) << outcome.console;
    const std::size_t at = outcome.notes.find(std::string(reach.vector) + " ");
    ASSERT_NE(std::string::npos, at) << reach.function << "\n" << outcome.notes;
    std::istringstream values(outcome.notes.substr(at + std::strlen(reach.vector)));
    double lowest = 0, highest = 0;
    values >> lowest >> highest;
    EXPECT_LE(lowest, reach.lowest) << reach.function << "\n" << outcome.notes;
    EXPECT_GE(highest, reach.highest) << reach.function << "\n" << outcome.notes;
  }
}

TEST(Work, FloatsInPlaceAreRepeatedAFewTimesOnly) {
  int floats = 0;
  for (rkTest* test : suiteTests()) {
    const Prepared data(*test, suitekit::sized("48x32"));
    const bool decays = test->isFloatFunction() && test->func().inplace();
    if (!decays) continue;
    ++floats;
    EXPECT_EQ(64, test->tool().autoMaxLoops()) << test->funcName().c_str();
  }
  EXPECT_EQ(2, floats);
}

}  // namespace
