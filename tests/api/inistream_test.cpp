// Where values come from: ini file, console, default.
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "apikit.h"
#include "tzini.h"
#include "tzistream.h"
#include "tziterator.h"

using testing::HasSubstr;
using testing::MatchesRegex;

namespace {

std::string joined(const tzStringList& names) {
  std::string text;
  for (const tzString& name : names) text += name.str() + "|";
  return text;
}

/// An input stream whose ini file and console answers are texts.
class InputTest : public testing::Test {
 protected:
  void setIni(const std::string& text, bool create = false) {
    ASSERT_TRUE(m_in.setIniFile(m_folder.make("in.ini", text), create));
  }
  void setAnswers(const std::string& text) {
    m_in.setIStream(new i_stream(m_folder.make("answers", text), OPEN_READ | OPEN_AS_GIVEN));
  }
  tzString get(const char* name) { return m_in.getItemValue(name, "default", "", ""); }
  /// Name, value and source of one settled value.
  std::string settle(const char* name) {
    const std::string value = get(name).str();
    return value + " " + std::to_string(m_in.source());
  }

  TemporaryFolder m_folder;
  Console m_console;
  tzIStream m_in;
};

}  // namespace

TEST(IniFile, ReadsSectionsKeysAndComments) {
  const TemporaryFolder folder;
  const tzString name = folder.make("a.ini",
                                    "lost = 1\n"
                                    "[Tazmet]\n"
                                    "  len = 16;32 // sizes\n"
                                    "path=C:=x \r \r\n"
                                    "flag\n"
                                    "// all = comment\n"
                                    "= 3\n"
                                    "len=\n"
                                    "LEN = 5\n"
                                    "comment [ other ] after\n"
                                    "len = 1\n"
                                    "[Tazmet]\n"
                                    "mode = fast\n"
                                    "len = 7\n"
                                    "]len[\n"
                                    "last = x");
  tzIniFile ini;
  ASSERT_TRUE(ini.open(name, false));
  EXPECT_EQ(ini.read("Tazmet", " len ", "none"), "7") << "the last one wins";
  EXPECT_EQ(ini.read("Tazmet", "LEN", "none"), "5");
  EXPECT_EQ(ini.read("Tazmet", "path", "none"), "C:=x");
  EXPECT_EQ(ini.read("Tazmet", "flag", "none"), tzIniFile::NO_VALUE);
  EXPECT_EQ(ini.read("Tazmet", "mode", "none"), "fast");
  EXPECT_EQ(ini.read("Tazmet", "last", "none"), "x");
  EXPECT_EQ(ini.read("other", "len", "none"), "1") << "sections are independent";
  EXPECT_EQ(ini.read("other", "mode", "none"), "none");
  EXPECT_EQ(ini.sections().count(), 2);
  EXPECT_EQ(ini.getSectionValues("Tazmet")->count(), 7);
  EXPECT_FALSE(ini.sectionExist("tazmet"));
  EXPECT_TRUE(ini.deleteKey("other", "len"));
  EXPECT_FALSE(ini.deleteKey("other", "len"));
  EXPECT_TRUE(ini.eraseSection("other"));
  EXPECT_FALSE(ini.eraseSection("other"));
  ini.close();
  EXPECT_THAT(folder.read("a.ini"), HasSubstr("lost = 1")) << "a file only read stays as it was";
}

TEST(IniFile, RewritesWhatItHolds) {
  const TemporaryFolder folder;
  folder.make("a.ini",
              "// the file\nlost\n[one] // first\nb = 2 // two\n\n  // on its own\nflag\n"
              "a=1 //kept\n[two]\n// the end");
  tzIniFile ini;
  ASSERT_TRUE(ini.open(folder.path("a.ini"), true));
  EXPECT_TRUE(ini.hasStrayLines());
  ini.write("one", "a", "5");
  ini.write("one", "b", "3", "three");
  ini.write("three", "on");
  ini.write("four");
  ini.write("two", "", "nothing");
  EXPECT_TRUE(ini.close());
  const char* const written =
      "\n// the file\n[one]\t// first\nb=3\t// three\n// on its own\nflag\na=5\t// kept\n"
      "\n[two]\n\n[three]\non\n\n[four]\n// the end\n";
  EXPECT_EQ(folder.read("a.ini"), written);
  ASSERT_TRUE(ini.open(folder.path("a.ini"), true));
  EXPECT_FALSE(ini.hasStrayLines());
  EXPECT_TRUE(ini.close());
  EXPECT_EQ(folder.read("a.ini"), written) << "writing what was read changes nothing";
  EXPECT_EQ(folder.list(), 1) << "nothing is left beside it";
  ASSERT_TRUE(ini.open(folder.path("a.ini"), false));
  EXPECT_EQ(ini.read("one", "b", ""), "3");
  EXPECT_EQ(ini.read("three", "on", ""), tzIniFile::NO_VALUE);
}

TEST(IniFile, WhatCantBeReadWholeIsLeftAsItIs) {
  const std::string wide("[a]\nb=1\n\0c", 10);
  const std::string endless = "[a]\nb=1\n" + std::string(i_stream::MAX_LINE + 1, 'x');
  for (const std::string& text : {wide, endless}) {
    const TemporaryFolder folder;
    const Console console;
    const tzString name = folder.make("a.ini", text);
    for (const bool create : {false, true}) {
      tzIniFile ini;
      EXPECT_FALSE(ini.open(name, create));
      EXPECT_EQ(ini.read("a", "b", "none"), "none") << "half a file is none";
      EXPECT_TRUE(ini.close());
      EXPECT_EQ(folder.read("a.ini"), text);
    }
    EXPECT_THAT(console.text(), HasSubstr("-- Not a text file: "));
  }
}

TEST(IniFile, IsReplacedThroughALinkAndKeepsItsMode) {
  const TemporaryFolder folder;
  const std::filesystem::path file(folder.make("real.ini", "[a]\n").str());
  const auto mode = std::filesystem::perms::owner_read | std::filesystem::perms::owner_write;
  std::filesystem::permissions(file, mode);
  std::filesystem::create_symlink("real.ini", folder.path("link.ini").str());
  tzIniFile ini;
  ASSERT_TRUE(ini.open(folder.path("link.ini"), true));
  ini.write("a", "b", "1");
  EXPECT_TRUE(ini.close());
  EXPECT_EQ(folder.read("real.ini"), "\n[a]\nb=1\n");
  EXPECT_TRUE(std::filesystem::is_symlink(folder.path("link.ini").str()));
  EXPECT_EQ(std::filesystem::status(file).permissions(), mode);
  ASSERT_TRUE(ini.open(folder.path("new.ini"), true));
  ini.abandon();
  EXPECT_FALSE(std::filesystem::exists(folder.path("new.ini").str()));
}

TEST(IniFile, TellsWhyItCantBeUsed) {
  const TemporaryFolder folder;
  Console console(L_ERR | L_WARN);
  tzIniFile ini;
  EXPECT_FALSE(ini.open(folder.path("missing.ini"), false));
  EXPECT_THAT(console.take(), MatchesRegex("-- Can't open file .*missing.ini to read: .+\n"));
  EXPECT_FALSE(ini.open(folder.path(""), false)) << "a directory";
  console.take();
  EXPECT_TRUE(ini.open(folder.path("new.ini"), true));
  EXPECT_EQ(console.take(), "");
  ini.write("s", "url", "a//b");
  ini.write("s", "list", "[1]");
  EXPECT_TRUE(ini.close());
  EXPECT_THAT(console.text(), HasSubstr("url=a//b"));
  EXPECT_THAT(console.take(), HasSubstr("list=[1]"));
  EXPECT_FALSE(ini.open(folder.path("no/such/folder.ini"), true));
  EXPECT_THAT(console.text(), HasSubstr("folder.ini to write: "));
}

TEST_F(InputTest, PresetBeatsIniBeatsConsoleBeatsDefault) {
  EXPECT_EQ(m_in.source(), tzIStream::SRC_NONE);
  EXPECT_EQ(settle("a"), "default 0");
  setAnswers("typed a\n\ntyped c\n typed d\n");
  EXPECT_EQ(settle("a"), "typed a 1");
  EXPECT_EQ(settle("a"), "default 0") << "an empty answer";
  setIni("[Tazmet]\na = from ini\nb =\n[f]\na = of f\n");
  EXPECT_EQ(settle("a"), "from ini 2");
  EXPECT_EQ(settle("b"), "typed c 1") << "an empty value is none";
  EXPECT_EQ(m_in.setIniSection("f"), "Tazmet");
  EXPECT_EQ(settle("a"), "of f 2");
  EXPECT_EQ(m_in.setIniSection("g"), "f");
  EXPECT_EQ(settle("a"), " typed d 1") << "taken as typed";
  EXPECT_TRUE(m_in.setPreset("a= of=key "));
  EXPECT_EQ(settle("a"), "of=key 3");
  EXPECT_TRUE(m_in.setPreset("a="));
  EXPECT_EQ(settle("a"), " 3") << "the last preset wins, even an empty one";
  EXPECT_FALSE(m_in.setPreset("a"));
  EXPECT_FALSE(m_in.setPreset(" =3"));
}

TEST_F(InputTest, AsksWithDefaultAndStopsAskingWhenTheInputEnds) {
  setAnswers("one\ntwo");
  testing::internal::CaptureStdout();
  EXPECT_EQ(m_in.getItemValue("len", "8; 16", "for len", ""), "one");
  EXPECT_EQ(settle("mode"), "two 1");
  EXPECT_EQ(settle("mode"), "default 0");
  EXPECT_EQ(settle("mode"), "default 0");
  c_out.flush();
  EXPECT_EQ(testing::internal::GetCapturedStdout(),
            "\n for len [8; 16] = \n mode [default] = \n mode [default] = \n");
}

TEST_F(InputTest, WritesBackWhatItSettled) {
  setIni("[Tazmet]\nlen = 4 // four\n", true);
  m_in.setPreset("mode", "fast");
  get("len");
  get("mode");
  m_in.setIniSection("f");
  get("len");
  EXPECT_TRUE(m_in.hasIniSection("f"));
  EXPECT_TRUE(m_in.deleteIniFile());
  EXPECT_EQ(m_folder.read("in.ini"), "\n[Tazmet]\nlen=4\t// four\nmode=fast\n\n[f]\nlen=default\n");
  EXPECT_FALSE(m_in.hasIniSection("f"));
}

TEST_F(InputTest, OneFileIsReadAndAnotherWritten) {
  const tzString other = m_folder.make("out.ini", "[Tazmet]\nlen=5\nown=6\n");
  setIni("[Tazmet]\nlen=4\n");
  ASSERT_TRUE(m_in.setIniTarget(other));
  EXPECT_EQ(settle("len"), "4 2") << "the one that is read counts first";
  EXPECT_EQ(settle("own"), "6 2");
  EXPECT_EQ(settle("new"), "default 0");
  EXPECT_TRUE(m_in.deleteIniFile());
  EXPECT_EQ(m_folder.read("in.ini"), "[Tazmet]\nlen=4\n");
  EXPECT_EQ(m_folder.read("out.ini"), "\n[Tazmet]\nlen=4\nown=6\nnew=default\n");
}

TEST_F(InputTest, WhatIsWrittenIsWhatIsUsed) {
  setIni("[Tazmet]\nwrong=x // a comment\nblank =\nlist=8;16\nratio=1.23456\n", true);
  tzDefault<int> wrong("wrong", "", 3), blank("blank", "", 4);
  tzIterator<int> list("list", "", {1});
  tzDefault<double> ratio("ratio", "", 1);
  for (tzParameter* parm : {static_cast<tzParameter*>(&wrong), static_cast<tzParameter*>(&blank),
                            static_cast<tzParameter*>(&list), static_cast<tzParameter*>(&ratio)}) {
    parm->fromIStream(m_in);
  }
  EXPECT_THAT(m_console.text(), HasSubstr("-Invalid value of wrong = x\n"));
  ASSERT_TRUE(m_in.deleteIniFile());
  EXPECT_EQ(m_folder.read("in.ini"),
            "\n[Tazmet]\nwrong=3\t// a comment\nblank=4\nlist=8;16\nratio=1.23456\n")
      << "as given where that is what is used";
}

TEST_F(InputTest, KnowsWhatNobodyAskedFor) {
  setIni("[Tazmet]\nasked=1\nlost=2\n[f]\nasked=3\n");
  m_in.setPreset("asked", "4");
  m_in.setPreset("typo", "5");
  get("asked");
  EXPECT_EQ(joined(m_in.unaskedPresets()), "typo|");
  EXPECT_EQ(joined(m_in.unaskedKeys("Tazmet")), "lost|");
  EXPECT_EQ(joined(m_in.unaskedKeys("f")), "asked|") << "asked for in another section";
  EXPECT_EQ(joined(m_in.unaskedKeys("g")), "");
}

TEST_F(InputTest, AnswersLoseTheirCarriageReturns) {
  setAnswers("dos\r\nmac\runix\n\r\nlast\r");
  testing::internal::CaptureStdout();
  for (const char* answer : {"dos 1", "mac 1", "unix 1", "default 0", "last 1", "default 0"}) {
    EXPECT_EQ(settle("a"), answer);
  }
  c_out.flush();
  testing::internal::GetCapturedStdout();
}

TEST_F(InputTest, AnIniFileOnlyReadIsLeftAlone) {
  setIni("[Tazmet]\nlen = 4\n");
  get("mode");
  EXPECT_TRUE(m_in.deleteIniFile());
  EXPECT_EQ(m_folder.read("in.ini"), "[Tazmet]\nlen = 4\n");
}

TEST_F(InputTest, IniFilesLieInTheInputDirectory) {
  m_folder.make("b.ini", "[Tazmet]\nlen = 9\n");
  io_stream::setInputDir(m_folder.path(""));
  EXPECT_TRUE(m_in.setIniFile("b.ini", false));
  EXPECT_EQ(get("len"), "9");
  EXPECT_FALSE(m_in.setIniFile("c.ini", false));
  EXPECT_EQ(get("len"), "default");
  EXPECT_THAT(m_console.text(), HasSubstr("c.ini"));
}

TEST_F(InputTest, WrittenDefinitionsReproduceTheParameters) {
  setIni("", true);
  tzStepIterator<int> range("range");
  range.setRange(16, 1024, 2, '*');
  tzIterator<RkdiSize> sizes("sizes", "", {{8, 8}, {640, 480}});
  tzIterator<double> ratios("ratios", "", {1, 2.5, 1e-3});
  tzDefault<int> fixed("fixed", "", 3);
  fixed.setReadable(false);
  tzParameter* const parms[] = {&range, &sizes, &ratios, &fixed};
  for (tzParameter* parm : parms) parm->fromIStream(m_in);
  const std::string shown = m_console.take();
  ASSERT_TRUE(m_in.deleteIniFile());
  ASSERT_TRUE(m_in.setIniFile(m_folder.path("in.ini"), false));
  range.translate("1");
  sizes.init("sizes");
  ratios.translate("7");
  for (tzParameter* parm : parms) parm->fromIStream(m_in);
  EXPECT_EQ(m_console.text(), shown);
  EXPECT_THAT(m_folder.read("in.ini"), HasSubstr("ratios=1; 2.5; 0.001\n"));
  EXPECT_THAT(m_folder.read("in.ini"), Not(HasSubstr("fixed")));
}

TEST_F(InputTest, QuestionsRaiseTheConsoleLevelForTheirTime) {
  g_ostrm.setOutLevel(L_ERR);
  tzDefault<int> len("len", "", 8);
  len.fromIStream(m_in);
  EXPECT_EQ(m_console.take(), "");
  setAnswers("9\n");
  len.fromIStream(m_in);
  EXPECT_EQ(m_console.take(), " len = 9\n");
  EXPECT_EQ(g_ostrm.outLevel(), L_ERR);
}
