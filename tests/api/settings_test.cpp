// Settings of a measurement and what they are clamped to.
#include <climits>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "apikit.h"
#include "testpaths.h"
#include "tzistream.h"
#include "tzmemory.h"
#include "tzsettings.h"
#include "toolkit.h"
#include "tztool.h"

using testing::HasSubstr;

namespace {

class SettingsTest : public testing::Test {
 protected:
  ~SettingsTest() override {
    g_istrm.deleteIStream();
    g_istrm.setPreset("AlignVectorsBy", "byte");
    readDataOffset();
    g_istrm.clearPresets();
    g_tool = tzTool();
    VectorAlign = 0;
    VectorShift = 0;
    AlignSrc = false;
  }
  void setAnswers(const char* text) {
    g_istrm.setIStream(new i_stream(m_folder.make("answers", text), OPEN_READ | OPEN_AS_GIVEN));
  }

  TemporaryFolder m_folder;
  Console m_console;
};

}  // namespace

TEST_F(SettingsTest, EachMethodReadsItsOwnParameters) {
  readTimingMethod();
  EXPECT_EQ(g_tool.getMethod(), tzTool::AUTO);
  EXPECT_EQ(m_console.take(), " Method = Auto\n");
  g_istrm.setPreset("Method=man");
  g_istrm.setPreset("NumLoops=7");
  readTimingMethod();
  EXPECT_EQ(g_tool.getMethod(), tzTool::LOOP);
  EXPECT_EQ(loopCountOf(g_tool), 7);
  EXPECT_EQ(m_console.take(), " Method = Manual\n NumLoops = 7\n");
  g_istrm.setPreset("Method=Statistic");
  g_istrm.setPreset("TotalCpuClocks=500");
  readTimingMethod();
  EXPECT_EQ(g_tool.getMethod(), tzTool::STAT);
  EXPECT_EQ(maxClocksOf(g_tool), 500);
  EXPECT_EQ(m_console.take(), " Method = Statistic\n NumCalls = 12\n TotalCpuClocks = 500\n");
  g_istrm.setPreset("Method=i");
  g_istrm.setPreset("StartNumLoops=3");
  g_istrm.setPreset("StopNumLoops=10");
  readTimingMethod();
  EXPECT_EQ(g_tool.getMethod(), tzTool::BEST);
  EXPECT_EQ(minLoopsOf(g_tool), 3);
  EXPECT_EQ(maxLoopsOf(g_tool), 24);
  EXPECT_EQ(minClocksOf(g_tool), minClocksOf(tzTool()));
}

TEST_F(SettingsTest, UnusableValuesAreReplacedAndTold) {
  g_istrm.setPreset("Method=Iterative");
  g_istrm.setPreset("StartNumLoops=0");
  g_istrm.setPreset("StopNumLoops=2147483647");
  readTimingMethod();
  EXPECT_EQ(minLoopsOf(g_tool), 1);
  EXPECT_EQ(maxLoopsOf(g_tool), 100000000);
  EXPECT_THAT(m_console.take(), HasSubstr("-- StartNumLoops = 0 is not allowed: 1 is taken\n"));
  g_istrm.setPreset("Method=Guess");
  g_istrm.setPreset("StartNumLoops=few");
  readTimingMethod();
  EXPECT_EQ(g_tool.getMethod(), tzTool::BEST) << "the method in force stays";
  EXPECT_EQ(minLoopsOf(g_tool), 1);
  EXPECT_THAT(m_console.text(), HasSubstr("-Invalid value of Method = Guess\n"))
      << "the info text alone";
  EXPECT_THAT(m_console.text(), HasSubstr("-Invalid value of StartNumLoops = few\n"));
}

TEST_F(SettingsTest, NumbersBeyondTheirTypeAreClampedLikeOthers) {
  g_istrm.setPreset("Method=Manual");
  const struct {
    const char* text;
    int loops;
  } cases[] = {{"99999999999", INT_MAX},
               {"-99999999999999999999999", 1},
               {"0x1FFFFFFFF", INT_MAX},
               {"2147483648", INT_MAX}};
  for (const auto& c : cases) {
    g_istrm.setPreset("NumLoops", c.text);
    readTimingMethod();
    EXPECT_EQ(loopCountOf(g_tool), c.loops) << c.text;
    EXPECT_THAT(m_console.take(),
                HasSubstr(std::string("-- NumLoops = ") + c.text + " is not allowed: "));
  }
  g_istrm.setPreset("NumLoops", "inf");
  readTimingMethod();
  EXPECT_THAT(m_console.take(), HasSubstr("-Invalid value of NumLoops = inf\n"));
}

TEST_F(SettingsTest, APreviewTellsWhatWillBeUsedAndChangesNothing) {
  g_istrm.setPreset("Method=xyz");
  g_istrm.setPreset("Accuracy=1000");
  const int mistakes = tzMistakes::count();
  EXPECT_EQ(tzPreviewTool().getMethod(), tzTool::AUTO);
  EXPECT_DOUBLE_EQ(tzPreviewTool().accuracyLimit(), 1);
  g_istrm.setPreset("Method=Man");
  EXPECT_EQ(tzPreviewTool().getMethod(), tzTool::LOOP);
  EXPECT_EQ(g_tool.getMethod(), tzTool::AUTO);
  EXPECT_DOUBLE_EQ(g_tool.accuracyLimit(), 0.05);
  EXPECT_EQ(m_console.text(), "");
  EXPECT_EQ(tzMistakes::count(), mistakes);
}

TEST_F(SettingsTest, TheTimeLimitOfARowIsInSeconds) {
  readTimeLimit();
  EXPECT_EQ(m_console.take(), " TimeLimit = 10\n");
  g_istrm.setPreset("TimeLimit=2.5");
  readTimeLimit();
  EXPECT_EQ(g_tool.timeLimit(), 2.5);
  g_istrm.setPreset("TimeLimit=0");
  readTimeLimit();
  EXPECT_EQ(g_tool.timeLimit(), 0.1);
}

TEST_F(SettingsTest, AnEmptyNumberLeavesWhatIsThere) {
  for (const char* nothing : {"", " "}) {
    g_istrm.setPreset("TimeLimit", nothing);
    readTimeLimit();
    EXPECT_EQ(m_console.take(), " TimeLimit = 10\n");
  }
  g_istrm.setPreset("Accuracy", "");
  EXPECT_DOUBLE_EQ(tzPreviewTool().accuracyLimit(), 0.05);
}

TEST_F(SettingsTest, PlacementGoesToTrackedMemory) {
  readDataOffset();
  EXPECT_EQ(VectorAlign, 0);
  EXPECT_EQ(VectorShift, 0);
  EXPECT_FALSE(AlignSrc);
  EXPECT_EQ(tzAlignUnit(4), 1);
  const struct {
    const char* align;
    const char* shift;
    int aligned;
    int shifted;
  } cases[] = {{"5", "128", 5, 128},
               {"-1", "-5", 0, 0},
               {"64", "95", 63, 64},
               {"63", "96", 63, 128},
               {"0x10", "40000", 16, 32704}};
  g_istrm.setPreset("AlignVectorsBy=el");
  g_istrm.setPreset("MisalignFirstVectorOnly=yes");
  for (const auto& c : cases) {
    g_istrm.setPreset("VectorAlign", c.align);
    g_istrm.setPreset("MutualVectorShift", c.shift);
    readDataOffset();
    EXPECT_EQ(VectorAlign, c.aligned) << c.align;
    EXPECT_EQ(VectorShift, c.shifted) << c.shift;
    EXPECT_TRUE(AlignSrc);
    EXPECT_EQ(tzAlignUnit(4), 4);
  }
}

TEST_F(SettingsTest, AccuracyIsAPercentage) {
  readAccuracy();
  EXPECT_EQ(m_console.take(), " Accuracy = 5\n");
  EXPECT_DOUBLE_EQ(g_tool.accuracyLimit(), 0.05);
  const struct {
    const char* text;
    double limit;
  } cases[] = {{"0.5", 0.005}, {"0", 0.0001}, {"nan", 0.0001}, {"1e9", 1}, {"-3", 0.0001}};
  for (const auto& c : cases) {
    g_istrm.setPreset("Accuracy", c.text);
    readAccuracy();
    EXPECT_DOUBLE_EQ(g_tool.accuracyLimit(), c.limit) << c.text;
  }
}

TEST_F(SettingsTest, QuestionsStandUnderAHeadingAndNameTheUnit) {
  setAnswers("Man\n4\nelement\n2\n\n64\n3\n");
  testing::internal::CaptureStdout();
  readTimingMethod();
  readDataOffset();
  readAccuracy();
  c_out.flush();
  EXPECT_EQ(testing::internal::GetCapturedStdout(),
            "\n Specify timing method, please\n"
            "\n Method {Auto|Manual|Statistic|Iterative|Spread} [Auto] = \n NumLoops [10] = "
            "\n Specify vectors alignment, please\n"
            "\n AlignVectorsBy {byte|element} [byte] = \n VectorAlign by Element, 0..63 [0] = "
            "\n MisalignFirstVectorOnly {yes|no} [no] = "
            "\n MutualVectorShift in Bytes, divisible by 64 [0] = \n Accuracy, % [5] = ");
  EXPECT_EQ(loopCountOf(g_tool), 4);
  EXPECT_EQ(VectorAlign, 2);
  EXPECT_EQ(VectorShift, 64);
  EXPECT_FALSE(AlignSrc);
  EXPECT_DOUBLE_EQ(g_tool.accuracyLimit(), 0.03);
}

TEST_F(SettingsTest, TheSampleFileSaysNothingWrong) {
  const tzString name = TAZMET_TEST_DATA "/../../data/sample.ini";
  ASSERT_TRUE(g_istrm.setIniFile(name, false));
  readTimingMethod();
  EXPECT_EQ(g_istrm.source(), tzIStream::SRC_INI);
  readDataOffset();
  EXPECT_EQ(g_istrm.source(), tzIStream::SRC_INI);
  readAccuracy();
  EXPECT_EQ(g_istrm.source(), tzIStream::SRC_INI);
  EXPECT_THAT(m_console.text(), Not(HasSubstr("\n-")));
  const tzIniFile& ini = *g_istrm.iniFile();
  EXPECT_EQ(ini.sections().count(), 3) << "comments must not make sections";
  EXPECT_EQ(ini.getSectionValues(tzIStream::COMMON_SECTION)->count(), 7);
  EXPECT_TRUE(g_istrm.deleteIniFile());
}
