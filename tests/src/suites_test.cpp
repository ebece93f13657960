/// Every real suite: what is registered, and that each function agrees with its plain version.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <initializer_list>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "harnesskit.h"
#include "rkd/rkdcore.h"
#include "rktest.h"
#include "suitekit.h"
#include "testpaths.h"
#include "tzmemory.h"
#include "tzregistry.h"

namespace {

using harnesskit::Outcome;
using suitekit::Prepared;
using suitekit::sized;
using suitekit::suiteTests;

/// What the tests of a unit are registered with.
struct Suite {
  const char* source;
  const char* unit;
  std::vector<std::string> texts;  ///< class, slashes and macro: any of these
  int count;
};

const Suite kSuites[] = {
    {"src/p_jadd_ia", "px", {"TimjAdd//RK_REG"}, 2},
    {"src/p_jcolor_ys", "pxch", {"jColorConversion__YS//RK_REG"}, 9},
    {"src/p_jdctquant_ia", "px", {"TimjDctQuant//RK_REG_X"}, 4},
    {"src/p_jdctquantls_ia", "px", {"TimjDctQuantLS//RK_REG_X"}, 9},
    {"src/p_jencode2k_ia", "px", {"TimjCode2K//RK_REG_X", "TimjCode2K//RK_REG_I_X"}, 4},
    {"src/p_jencodedxt_ia", "px", {"TimjEncodeRGBA_DXT//RK_REG"}, 6},
    {"src/p_jhuffdir_ia", "px", {"TimjHuffDirect//RK_REG_X"}, 2},
    {"src/p_jhuffman_ia", "px", {"TimjHuffman//RK_REG_I_X"}, 4},
    {"src/p_jhuffprog_ia", "block", {"TimjHuffProg/"}, 11},
    {"src/p_jhuffrow_ia", "px", {"TimjHuffmanRow//RK_REG_I_X"}, 2},
    {"src/p_jmcu_ia", "pxch", {"TimjMCU//RK_REG"}, 19},
    {"src/p_jmcu_ys", "pxch", {"jMCU__YS//RK_REG"}, 12},
    {"src/p_jpacktiff_ia", "e", {"TimjPack_TIFF//RK_REG_I"}, 2},
    {"src/p_jpredrow_ia", "e", {"TimjPredRow//RK_REG", "TimjPredRow//RK_REG_X"}, 4},
    {"src/p_jquant_ia", "px", {"TimjQuant//RK_REG"}, 2},
    {"src/p_jrgb_ia", "pxch", {"TimjRGB//RK_REG", "TimjRGB//RK_REG_Ibs"}, 29},
    {"src/p_jsampl_ia", "px", {"TimjSample//RK_REG"}, 4},
    {"src/p_jsamplmcu_ia", "pxch", {"TimjSampleMCU//RK_REG"}, 7},
    {"src/p_jsamplrow_ia", "e", {"TimjSampleRow//RK_REG"}, 4},
    {"src/p_jsplittiff_ia", "e", {"TimjSplit_TIFF//RK_REG"}, 2},
    {"src/p_jwt_ia", "px", {"TimjWT//RK_REG"}, 16},
    {"src/p_jwtcollift_ia", "e", {"TimjWTColLift//RK_REG_Ibs", "TimjWTColLift//RK_REG"}, 10},
    {"src/p_jwtrow_ia", "px", {"TimjWTRow//RK_REG"}, 16},
    {"src/p_jxrpct_vb", "px", {"Tim_PCT//RK_REG"}, 8},
};

TEST(Suites, EveryFunctionIsRegisteredOnceWithItsSourceTextAndUnit) {
  std::map<std::string, int> perSource;
  std::set<std::string> seen;
  for (const rkTest* test : suiteTests()) {
    const std::string name = test->funcName().c_str();
    EXPECT_TRUE(seen.insert(name).second) << name << " is registered twice";
    ++perSource[test->source().c_str()];
    for (const Suite& suite : kSuites) {
      if (test->source() != suite.source) continue;
      EXPECT_STREQ(suite.unit, test->getUnit().c_str()) << name;
      EXPECT_NE(std::find(suite.texts.begin(), suite.texts.end(), test->regText().c_str()),
                suite.texts.end())
          << name << " has the text " << test->regText().c_str();
    }
  }
  int total = 0;
  for (const Suite& suite : kSuites) {
    EXPECT_EQ(suite.count, perSource[suite.source]) << suite.source;
    total += suite.count;
  }
  EXPECT_EQ(total, static_cast<int>(seen.size())) << "a unit is missing in the table";
}

TEST(Suites, RefuseThoseSizesThatTheirFunctionsRefuse) {
  int refused = 0;
  for (rkTest* test : suiteTests()) {
    for (const char* size :
         {"0x0", "0x5", "5x0", "1x1", "7x5", "8x6", "1025x1", "1024x4", "64x65"}) {
      const Prepared data(*test, sized(size));
      const bool takes = data.good() && test->line().library() != rkdStsSizeErr;
      EXPECT_EQ(takes, test->refusal().empty()) << test->funcName().c_str() << " at " << size;
      refused += !takes;
    }
  }
  EXPECT_GT(refused, 300);
}

/// Keys that keep every list of values short.
const std::string kSmall = "-B -dImageSize=48x32 -f-__tz ";

class SuiteRuns : public testing::Test {
 protected:
  Outcome run(
      const std::string& keys, std::function<void()> setup = [] {}) {
    return harnesskit::Session(m_folder).setup(std::move(setup)).run(kSmall + keys);
  }
  harnesskit::TempFolder m_folder;
};

/// Values that do not run by default, of all parameters but sizes. One style of code blocks shows
/// that it is handed on: the library's own tests have them all.
const std::string kOtherValues =
    " -dPhase=FirstHigh -dTable=ones;q75 -dCoefs=photo;dense;dc -dPredictor=2;3;5;6"
    " -dStyle=termall -dSs=3 -dSe=40 -dAl=2";

TEST_F(SuiteRuns, EveryFunctionAgreesWithItsPlainVersionAlsoOnMisalignedData) {
  for (const auto& keys : {std::string("-VONLY"), "-VONLY -dVectorAlign=3" + kOtherValues,
                           std::string("-VONLY -fQuantFwd8x8 -dTable=q75-unmarked")}) {
    const Outcome outcome = run(keys);
    EXPECT_EQ(0, outcome.exitCode) << outcome.console;
    EXPECT_TRUE(outcome.lines("is not supported").empty())
        << "skipped by the comparison: " << outcome.lines("is not supported").front();
    EXPECT_TRUE(outcome.lines("FUNCFAIL").empty()) << outcome.lines("FUNCFAIL").front();
  }
}

TEST_F(SuiteRuns, EveryFunctionIsTimedWithoutFailureOrDuplicateLine) {
  const Outcome outcome = run("-dMethod=Manual -dNumLoops=1 -r");
  EXPECT_EQ(0, outcome.exitCode) << outcome.console;
  EXPECT_TRUE(outcome.lines("duplicate lines").empty());
  EXPECT_TRUE(outcome.shows("-BADSTSWRN : 0 ")) << outcome.console;
  for (const rkTest* test : suiteTests()) {
    EXPECT_FALSE(outcome.lines(std::string(test->funcName().c_str()) + " ").empty())
        << test->funcName().c_str();
  }
}

TEST_F(SuiteRuns, CoefficientsMayComeFromTheSamplePictures) {
  const std::string there = "-p" + std::string(TAZMET_BIN_DIR) + " ";
  const std::string rose = "-dPicture=rose -dCoefs=rose -dData=rose ";
  const Outcome outcome = run(there +
                              "-dMethod=Manual -dNumLoops=1 -dPicture=rose;sbikers2 "
                              "-dCoefs=rose;sbikers2 -dData=rose;sbikers2 "
                              "-tTimjHuff -tTimjCode2K -tTimjDctQuant -tTimjQuant");
  EXPECT_EQ(0, outcome.exitCode) << outcome.console;
  EXPECT_EQ(19u, outcome.lines("Picture=rose  ").size()) << outcome.console;
  EXPECT_GE(outcome.lines("Coefs=sbikers2").size(), 6u);
  EXPECT_GE(outcome.lines("Data=rose").size(), 4u);
  const Outcome verified = run(there + rose +
                               "-VONLY -LINFO -f=rkdiDecodeHuffman8x8_Direct_JPEG_1u16s_C1 "
                               "-f=rkdiDCTQuantInv8x8_JPEG_16s_C1");
  EXPECT_EQ(0, verified.exitCode) << verified.console;
  EXPECT_NE(run("-VONLY -LINFO -dPicture=photo -f=rkdiDecodeHuffman8x8_Direct_JPEG_1u16s_C1")
                .lines("Bits a pixel"),
            verified.lines("Bits a pixel"));
  const Outcome missing = run("-p" + m_folder.path() + " " + rose +
                              "-tTimjHuffDirect -f=rkdiDCTQuantInv8x8_JPEG_16s_C1 -tTimjCode2K");
  EXPECT_EQ(1, missing.exitCode);
  EXPECT_TRUE(missing.shows("--- Can't load file rose.bmp: Open error")) << missing.console;
}

TEST_F(SuiteRuns, SizesBelowABlockMeasureNothingAndFailNothing) {
  const Outcome outcome = run("-dImageSize=4x2 -dMethod=Manual -dNumLoops=1 -f-422ToRGB_JPEG_8u");
  EXPECT_EQ(0, outcome.exitCode) << outcome.console;
}

// ---- planted faults ----

int (*g_original)();

/// The library's performance with one wrong element in the first buffer that it changes.
int faulty() {
  struct Buffer {
    char* data;
    std::vector<char> before;
  };
  std::vector<Buffer> buffers;
  int size = 0;
  tzObject* object = nullptr;
  for (void* p = tzMallocFirst(&size, &object); p != nullptr; p = tzMallocNext(&size, &object)) {
    auto* data = static_cast<char*>(p);
    buffers.push_back({data, {data, data + size}});
  }
  const int status = g_original();
  for (Buffer& buffer : buffers) {
    for (std::size_t i = 0; i + 4 <= buffer.before.size(); i += 4) {
      if (std::memcmp(buffer.data + i, buffer.before.data() + i, 4) == 0) continue;
      for (int k = 0; k < 4; ++k) buffer.data[i + k] = static_cast<char>(buffer.data[i + k] ^ 0x11);
      return status;
    }
  }
  return status;
}

TEST_F(SuiteRuns, OneFaultPerSuiteIsFoundByTheComparison) {
  for (const Suite& suite : kSuites) {
    SCOPED_TRACE(suite.source);
    rkTest* victim = nullptr;
    for (rkTest* test : suiteTests()) {
      if (victim == nullptr && test->source() == suite.source) victim = test;
    }
    ASSERT_NE(nullptr, victim);
    const Outcome outcome = run(std::string("-VONLY -f=") + victim->funcName().c_str(), [victim] {
      g_original = victim->line().library;
      victim->setLibraryPerformance(faulty);
    });
    EXPECT_EQ(1, outcome.exitCode) << outcome.console;
    EXPECT_FALSE(outcome.lines("FUNCFAIL").empty()) << outcome.console;
    EXPECT_FALSE(outcome.lines(" instead of ").empty()) << outcome.console;
  }
}

}  // namespace
