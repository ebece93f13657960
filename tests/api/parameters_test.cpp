// Parameter definitions: values, ranges, names.
#include <climits>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "apikit.h"
#include "tzcstream.h"
#include "tzistream.h"
#include "tziterator.h"

using testing::ElementsAre;
using testing::HasSubstr;

namespace {

/// The values of one iteration, of at most `limit` steps.
template <typename Iterator>
auto iterate(Iterator& parm, std::size_t limit = 100) {
  std::vector<std::decay_t<decltype(parm.value())>> values;
  for (bool on = parm.firstValue(); on && values.size() < limit; on = parm.nextValue()) {
    values.push_back(parm.value());
  }
  return values;
}

/// What a definition is refused with; empty when it is taken.
std::string refusal(tzParameter& parm, const char* definition) {
  try {
    parm.translate(definition);
    return "";
  } catch (const tzException& exception) {
    return exception.msg();
  }
}

const std::string kRefused = "--RKD. Exception: ";

tzString cellOf(const tzParameter& parm, int column = 0) {
  tzCStream table;
  parm.toCStream(table);
  tzString cell;
  table.getColm(column, cell);
  return cell;
}

}  // namespace

TEST(Parameter, PlainOneIsASinglePassAgainAndAgain) {
  tzDefault<int> parm("len", "", 8);
  EXPECT_THAT(iterate(parm), ElementsAre(8));
  EXPECT_THAT(iterate(parm), ElementsAre(8));
  EXPECT_EQ(parm.description(), "len = 8");
  parm.translate("0x1F");
  EXPECT_EQ(parm.value(), 31);
  EXPECT_EQ(refusal(parm, "abc"), kRefused + "Invalid value of len = abc");
  EXPECT_EQ(refusal(parm, " "), "") << "nothing is no failure, and no value";
  EXPECT_EQ(parm.value(), 31) << "a refused definition must leave the value";
}

TEST(Parameter, EveryTypeComesBackFromItsText) {
  tzDefault<bool> flag("flag");
  flag.translate("T");
  EXPECT_TRUE(flag.value());
  EXPECT_EQ(flag.valueString(), "yes");
  tzDefault<double> ratio("ratio");
  ratio.translate("2.5");
  EXPECT_EQ(ratio.value(), 2.5);
  tzDefault<tzString> file("file");
  file.translate("");
  EXPECT_EQ(refusal(file, "a b.bmp"), "");
  EXPECT_EQ(file.valueString(), "a b.bmp");
}

TEST(Parameter, SizesAreReadAsUsersWriteThem) {
  for (const char* text :
       {"640x480", "640X480", "640,480", "640 480", " 640 x 480 ", "640 , 480"}) {
    tzDefault<RkdiSize> size("Size");
    size.translate(text);
    EXPECT_EQ(size.valueString(), "640x480") << text;
  }
  for (const char* text : {"640", "640x", "x480", "640-480", "-640x480", "640x480x3", "640xx480",
                           "99999999999x1", "640;480"}) {
    tzDefault<RkdiSize> size("Size", "", {1, 2});
    EXPECT_THAT(refusal(size, text), HasSubstr("Invalid value of Size = ")) << text;
    EXPECT_EQ(size.valueString(), "1x2") << text;
  }
}

TEST(ListIterator, TakesListsAndKeepsOrderAndDuplicates) {
  tzIterator<int> len("len", "", {4});
  for (const auto& [text, values] :
       std::vector<std::pair<const char*, std::vector<int>>>{{"8; 16;32", {8, 16, 32}},
                                                             {"8;;16", {8, 16}},
                                                             {"16;8;16", {16, 8, 16}},
                                                             {"8 16", {8}},
                                                             {"0x10;-3", {16, -3}}}) {
    EXPECT_EQ(refusal(len, text), "") << text;
    EXPECT_EQ(iterate(len), values) << text;
  }
  EXPECT_EQ(len.defaultString(), "16; -3");
  EXPECT_EQ(refusal(len, ";"), "--RKD. Signal: Empty iterator definition");
  EXPECT_EQ(refusal(len, "1;x;2"), kRefused + "Invalid value of len = x");
  EXPECT_THAT(iterate(len), ElementsAre(16, -3)) << "the list before stands";
  EXPECT_EQ(refusal(len, "1; ;2"), "");
  EXPECT_THAT(iterate(len), ElementsAre(1, 2)) << "nothing is no item, and no error";
  EXPECT_EQ(refusal(len, " ; "), "--RKD. Signal: Empty iterator definition");
  tzIterator<RkdiSize> size("Size");
  EXPECT_EQ(refusal(size, "8x8; ;16x16"), "");
  EXPECT_EQ(size.defaultString(), "8x8; 16x16");
}

TEST(ListIterator, IsMadeAnewByInitAndEmptyHasNoValue) {
  tzIterator<RkdiSize> size("Size", "", {{8, 8}, {16, 4}});
  ASSERT_TRUE(size.firstValue());
  size.init("Area", "the area", "640x480;1 2", true);
  EXPECT_FALSE(size.isRunning());
  EXPECT_FALSE(size.isReadable());
  EXPECT_EQ(size.description(), "Area = 640x480; 1x2");
  EXPECT_EQ(size.prompt(), "the area");
  size.init("Size");
  EXPECT_FALSE(size.firstValue());
  EXPECT_EQ(size.value(), (RkdiSize{0, 0}));
  size.add({3, 5});
  EXPECT_TRUE(size.firstValue());
  EXPECT_EQ(size.valueString(), "3x5");
  EXPECT_FALSE(size.nextValue());
}

TEST(StepIterator, RunsThroughRanges) {
  const struct {
    const char* text;
    std::vector<int> values;
  } cases[] = {
      {"16 64 *2", {16, 32, 64}},
      {"16;65;*2", {16, 32, 64}},
      {"1024 16 -400", {1024, 624, 224}},
      {"5 1 +-2", {5, 3, 1}},
      {"1 5 --2", {1, 3, 5}},
      {"1 6 +2", {1, 3, 5}},
      {"7 7 +1", {7}},
      {"-1 -9 *3", {-1, -3, -9}},
      // a range that would leave int ends there
      {"1 2147483647 +1073741824", {1, 1073741825}},
      {"-2147483648 2147483647 +2147483647", {INT_MIN, -1, 2147483646}},
      {"0 -2147483648 -2147483647", {0, -2147483647}},
      {"1000000000 2147483647 *2147483647", {1000000000}},
      {"-1073741824 -2147483648 *2", {-1073741824, INT_MIN}},
  };
  for (const auto& [text, values] : cases) {
    tzStepIterator<int> len("len");
    EXPECT_EQ(refusal(len, text), "") << text;
    EXPECT_TRUE(len.isRange()) << text;
    EXPECT_EQ(iterate(len), values) << text;
    EXPECT_EQ(iterate(len), values) << text << " a second time";
  }
}

TEST(StepIterator, ZeroStepStaysWhereItIs) {
  for (const char* text : {"10 5 +0", "5 10 -0"}) {
    tzStepIterator<int> len("len");
    EXPECT_EQ(refusal(len, text), "");
    EXPECT_EQ(iterate(len, 1000).size(), 1000U) << text;
  }
}

TEST(StepIterator, RefusesRangesAndKeepsWhatItHad) {
  const std::string conflict = kRefused + "Conflict between iterator limits and operation";
  const struct {
    const char* text;
    std::string refusal;
  } cases[] = {
      {"16 1024 *1", conflict},
      {"16 1024 *0", conflict},
      {"16 1024 *-2", conflict},
      {"-16 1024 *2", conflict},
      {"0 1024 *2", conflict},
      {"1024 16 *2", conflict},
      {"-16 -4 *2", conflict},
      {"1 9 +0", conflict},
      {"9 1 +1", conflict},
      {"1 9 -1", conflict},
      {"9 1 --1", conflict},
      {"9 1 -0", conflict},
      {"16 x *2", kRefused + "Invalid last value = x"},
      {"y;16;*2", kRefused + "Invalid first value = y"},
      {"1;16;*", kRefused + "Invalid step = "},
      {"1;16;+z", kRefused + "Invalid step = z"},
  };
  for (const auto& [text, refused] : cases) {
    tzStepIterator<int> len("len");
    len.setRange(2, 8, 3, '+');
    EXPECT_EQ(refusal(len, text), refused);
    EXPECT_THAT(iterate(len), ElementsAre(2, 5, 8)) << text;
  }
}

TEST(StepIterator, DescribesItselfAsWhatItIs) {
  tzStepIterator<int> len("len", "the length");
  len.translate("16; 1024 *2");
  EXPECT_EQ(len.defaultString(), "16; 1024; *2");
  EXPECT_EQ(len.description(), "for (len = 16; len <= 1024; len *= 2)");
  EXPECT_EQ(len.prompt(), "for len");
  len.translate("9 1 -4");
  EXPECT_EQ(len.description(), "for (len = 9; len >= 1; len -= 4)");
  tzStepIterator<int> again("len");
  again.translate(len.defaultString());
  EXPECT_EQ(iterate(again), iterate(len));
  len.translate("8 16;24");
  EXPECT_FALSE(len.isRange());
  EXPECT_THAT(iterate(len), ElementsAre(8, 24)) << "three words without an operation are a list";
  EXPECT_EQ(len.prompt(), "len");
  len.setRange(1, 2, 1, '+');
  len.add(77);
  EXPECT_THAT(iterate(len), ElementsAre(77));
}

TEST(EnumIterator, HoldsValuesToTheAcceptedOnes) {
  tzEnumIterator<int> channels("channels", "", {1});
  EXPECT_EQ(channels.prompt(), "channels");
  EXPECT_EQ(refusal(channels, "7"), "");
  tzList<int> accepted = {1, 3};
  channels.initValidation();
  channels.addValidation(accepted);
  EXPECT_EQ(refusal(channels, "3; 1;3"), "");
  EXPECT_EQ(refusal(channels, "1;2"), kRefused + "Invalid value of channels = 2");
  EXPECT_THAT(iterate(channels), ElementsAre(3, 1, 3));
  channels.add(4);
  EXPECT_EQ(channels.prompt(), "channels {1|3|4}");
  EXPECT_EQ(refusal(channels, channels.defaultString().c_str()), "");
  channels.resetValidation();
  EXPECT_EQ(refusal(channels, "2"), "");
  EXPECT_EQ(channels.validString(), "");
}

TEST(MapIterator, FindsTheFirstNameThatFits) {
  tzMapIterator<int> rounding("rounding");
  rounding["zero"] = 10;
  rounding.addName(20, "near");
  rounding.addName(30, "nearest");
  rounding.translate("N; ZE;nearesT; ");
  EXPECT_THAT(iterate(rounding), ElementsAre(20, 10, 30, 10)) << "an empty item is the first name";
  EXPECT_EQ(rounding.defaultString(), "near; zero; nearest; zero");
  EXPECT_EQ(refusal(rounding, "20"), kRefused + "Invalid value of rounding = 20");
  EXPECT_EQ(refusal(rounding, "nearly"), kRefused + "Invalid value of rounding = nearly");
  rounding.addValidation(30);
  rounding.translate("n");
  EXPECT_THAT(iterate(rounding), ElementsAre(30)) << "of the accepted ones";
  EXPECT_EQ(rounding.validString(), "nearest");
  tzMapDefault<bool> first("first", "", true);
  first["yes"] = true;
  first["no"] = false;
  first.translate("N");
  EXPECT_FALSE(first.value());
  EXPECT_EQ(first.prompt(), "first {yes|no}");
  EXPECT_EQ(first.description(), "first = no");
}

TEST(MapIterator, WithNumbersTakesBoth) {
  tzHMapIterator<int> level("level");
  level["low"] = 1;
  level["high"] = 9;
  level.translate("high; 5;0x10;L");
  EXPECT_THAT(iterate(level), ElementsAre(9, 5, 16, 1));
  level.add("hi");
  level.add(7);
  EXPECT_EQ(level.defaultString(), "high; 5; 16; low; high; 7");
  EXPECT_EQ(refusal(level, "middle"), kRefused + "Invalid value of level = middle");
  level.initValidation();
  level.addValidation(9);
  EXPECT_NE(refusal(level, "5"), "");
}

TEST(ParameterOutput, CellShowsValueDeprecationOrNothing) {
  tzIterator<int> len("len", "", {8, 16});
  len.addDeprecated(16, "old, kept");
  EXPECT_TRUE(len.isDeprecatedParm());
  len.firstValue();
  EXPECT_FALSE(len.setDeprecatedFlag(true));
  EXPECT_EQ(cellOf(len), "8");
  len.setFlags(tzParameter::QUOTED_CELL);
  EXPECT_EQ(cellOf(len), " \"8\"");
  len.nextValue();
  EXPECT_TRUE(len.setDeprecatedFlag(true));
  EXPECT_EQ(cellOf(len), "old; kept") << "a cell never holds a comma";
  EXPECT_FALSE(len.setDeprecatedFlag(false));
  EXPECT_EQ(cellOf(len), " \"16\"");
  tzDefault<int> silent("", "", 5);
  EXPECT_EQ(cellOf(silent), "");
  Console console(L_PERF);
  len.toOStream(g_ostrm);
  silent.toOStream(g_ostrm);
  tzIStream in;
  silent.fromIStream(in);
  EXPECT_EQ(console.text(), "len=16 ");
}

TEST(ParameterOutput, AFixedColumnTakesHeaderAndCell) {
  struct InThirdColumn : tzDefault<int> {
    using tzDefault<int>::tzDefault;
    int colmIndex() const override { return 2; }
  };
  InThirdColumn parm("depth", "", 12);
  EXPECT_EQ(cellOf(parm, 2), "12");
  tzCStream table;
  parm.nameToCStream(table);
  tzString cell;
  table.getColm(2, cell);
  EXPECT_EQ(cell, "depth");
  EXPECT_EQ(table.used(), 0);
}

TEST(ParameterInput, RefusedDefinitionsAreToldAndChangeNothing) {
  Console console(L_ERR | L_PERF);
  tzStepIterator<int> len("len", "", {8, 16});
  tzIStream in;
  in.setPreset("len", "16 8 *2");
  len.fromIStream(in);
  EXPECT_EQ(console.text(), "-Conflict between iterator limits and operation\n len = 8; 16\n");
  in.setPreset("len", ";");
  len.fromIStream(in);
  EXPECT_THAT(console.text(), testing::EndsWith("\n-\n len = 8; 16\n")) << "it has no info text";
  len.setReadable(false);
  in.setPreset("len", "3");
  len.fromIStream(in);
  EXPECT_THAT(iterate(len), ElementsAre(8, 16));
}

TEST(ParameterInput, ACrashOfADefinitionIsToldAndTheRunGoesOn) {
  struct Crashing : tzDefault<int> {
    using tzDefault<int>::tzDefault;
    void translate(const tzString&) override { std::raise(SIGFPE); }
  };
  Console console(L_ERR);
  tzIStream in;
  Crashing parm("len", "", 4);
  parm.fromIStream(in);
  EXPECT_EQ(console.text(), "-FP error, such as overflow, division by zero, invalid operation.\n");
  EXPECT_EQ(parm.value(), 4);
}
