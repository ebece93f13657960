// Strings, conversions, lists, the word splitter and the name tables.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cmath>
#include <random>
#include <string>
#include <vector>

#include "capture.h"
#include "tzlist.h"
#include "tzparse.h"
#include "tzstring.h"

namespace {

using testing::ElementsAre;

std::vector<std::string> texts(const tzStringList& list) {
  std::vector<std::string> all;
  for (const tzString& text : list) all.push_back(text.str());
  return all;
}

TEST(String, BufferGrowsInStepsOfSixteenWithTheTerminator) {
  EXPECT_EQ(tzString().capacity(), 0);
  for (const auto& [length, capacity] :
       {std::pair{0, 16}, {15, 16}, {16, 32}, {31, 32}, {32, 48}}) {
    EXPECT_EQ(tzString(std::string(static_cast<std::size_t>(length), 'x')).capacity(), capacity);
    tzString made;
    made.allocate(length);
    EXPECT_EQ(made.capacity(), capacity);
    tzString appended = "";
    for (int i = 0; i < length; ++i) appended += 'x';
    EXPECT_EQ(appended.capacity(), capacity);
  }
  tzString moved("a text of more than sixteen characters");
  const tzString target(std::move(moved));
  EXPECT_EQ(target.capacity(), 48);
  moved = "b";
  EXPECT_EQ(moved.capacity(), 16);
}

TEST(String, AllocateGivesZeroBytesAndGrowByKeepsWhatIsThere) {
  tzString text("abc");
  text.growBy(20);
  EXPECT_EQ(text.length(), 23);
  EXPECT_EQ(text, "abc");
  text.data()[3] = 'd';
  EXPECT_EQ(text, "abcd");
  text.allocate(3);
  EXPECT_EQ(text.str(), std::string(3, '\0'));
  text.allocate(-5);
  EXPECT_EQ(text.length(), 0);
  text = "abc";
  text.resize(5, '.');
  EXPECT_EQ(text, "abc..");
  text.resize(2, '.');
  EXPECT_EQ(text, "ab");
  text.resize(-1, '.');
  EXPECT_TRUE(text.empty());
}

TEST(String, NullIsEmptyAndEveryKindOfTextAppends) {
  EXPECT_EQ(tzString(nullptr), "");
  EXPECT_TRUE(tzString("x") == "x");
  EXPECT_FALSE(tzString("x") == static_cast<const char*>(nullptr));
  tzString text = "a" + tzString("b") + 'c' + "d";
  text += text;
  EXPECT_EQ(text, "abcdabcd");
}

TEST(String, CompareTakesSignedBytesAndThenTheLength) {
  EXPECT_EQ(tzString("").compare("abc"), -3);
  EXPECT_EQ(tzString("abc").compare(""), 3);
  EXPECT_EQ(tzString("ab").compare("abcd"), -2);
  EXPECT_EQ(tzString("b").compare("abcd"), 1);
  EXPECT_EQ(tzString("a").compare("b"), -1);
  EXPECT_EQ(tzString("\xe9").compare("a"), -1);
  EXPECT_EQ(tzString("abc").compare("abc"), 0);
}

TEST(String, FindsFromBothEnds) {
  const tzString text("abcabc");
  EXPECT_EQ(text.find("bc"), 1);
  EXPECT_EQ(text.find("bc", 2), 4);
  EXPECT_EQ(text.find("bc", 5), -1);
  EXPECT_EQ(text.find("", 6), 6);
  EXPECT_EQ(text.find("a", 7), -1);
  EXPECT_EQ(text.rfind("bc"), 4);
  EXPECT_EQ(text.rfind("x"), -1);
  EXPECT_EQ(text.rfind("abcabcabc"), -1);
  EXPECT_EQ(text.substr(3), "abc");
  EXPECT_EQ(text.substr(6), "");
  EXPECT_EQ(text.substr(7), "");
  EXPECT_EQ(text.substr(4, 10), "bc");
  EXPECT_EQ(text.substr(1, 2), "bc");
  EXPECT_EQ(text.substr(1, 0), "");
  EXPECT_EQ(text.substr(9, 1), "");
}

TEST(String, TrimmingFromTheBackStopsAtACarriageReturn) {
  for (const auto& [before, after] : {std::pair{"  a b \r", "a b \r"},
                                      {"\r\t a\t ", "a"},
                                      {" \t\r ", ""},
                                      {"", ""},
                                      {"a\n ", "a\n"}}) {
    tzString text(before);
    text.trim();
    EXPECT_EQ(text, after);
  }
}

TEST(String, PathsAreCutAtEitherSeparator) {
  struct Case {
    const char *path, *dir, *name, *title;
  };
  for (const Case& c : {Case{"/a/b.c/d.tar.gz", "/a/b.c/", "d.tar.gz", "d.tar"},
                        {"a\\b/c\\d", "a\\b/c\\", "d", "d"},
                        {"plain.txt", "", "plain.txt", "plain"},
                        {"dir.d/", "dir.d/", "", ""},
                        {".cfg", "", ".cfg", ""}}) {
    EXPECT_EQ(tzString(c.path).getFileDir(), c.dir);
    EXPECT_EQ(tzString(c.path).getFileName(), c.name);
    EXPECT_EQ(tzString(c.path).getFileTitle(), c.title);
  }
}

TEST(Conversion, ValuesAreWrittenInTheirForms) {
  int object = 0;
  tzString address;
  address << &object;
  EXPECT_EQ(std::stoull(address.str(), nullptr, 16), reinterpret_cast<std::uintptr_t>(&object));
  EXPECT_EQ(address.str().find_first_not_of("0123456789ABCDEF"), std::string::npos);
  tzString text;
  text << true << ' ' << false << ' ' << INT_MIN << ' ' << LLONG_MIN << ' ' << ~0ULL << ' '
       << static_cast<short>(-7) << ' ' << 1234.5 << ' ' << 0.25f << ' ' << 1e-9 << ' '
       << static_cast<const void*>(nullptr) << ' ' << "end";
  EXPECT_EQ(text,
            "yes no -2147483648 -9223372036854775808 18446744073709551615 -7 1.23e+03 0.25 1e-09 "
            "NULL end");
}

template <class T>
struct Reading {
  const char* text;
  T value;
  bool fail;
};

// Reads each text over the value 77, which a failure and an empty text leave.
template <class T>
void expectReadings(std::initializer_list<Reading<T>> cases) {
  for (const Reading<T>& c : cases) {
    const tzString text(c.text);
    text.setFail(!c.fail);
    T value = 77;
    value << text;
    EXPECT_EQ(value, c.value) << '"' << c.text << '"';
    EXPECT_EQ(text.fail(), c.fail) << '"' << c.text << '"';
  }
}

TEST(Conversion, NumbersAreReadAsFarAsTheyGo) {
  expectReadings<int>({{"0x1F", 31, false},
                       {"0XffffffFF", -1, false},
                       {" -12", -12, false},
                       {"8 16", 8, false},
                       {"12abc", 12, false},
                       {"2147483647", INT_MAX, false},
                       {"", 77, false},
                       {" \t", 77, false},
                       {"abc", 77, true},
                       {"-", 77, true},
                       {"0x", 77, true},
                       {"0xg", 77, true},
                       {"2147483648", 77, true},
                       {"99999999999999999999", 77, true},
                       {"0x100000000", 77, true}});
  expectReadings<long long>({{"0x7fffffffffffffff", LLONG_MAX, false},
                             {"0xffffffffffffffff", -1, false},
                             {"-9223372036854775808", LLONG_MIN, false},
                             {"9223372036854775808", 77, true},
                             {"0x10000000000000000", 77, true}});
  expectReadings<double>({{"1.5e3x", 1500, false},
                          {"-inf", -INFINITY, false},
                          {"1e-320", 1e-320, false},
                          {"", 77, false},
                          {".", 77, true},
                          {"1e999", 77, true}});
  expectReadings<float>({{"0.5", 0.5f, false}, {"1e39", 77, true}, {"inf", INFINITY, false}});
}

TEST(Conversion, BoolTakesWordsAndDigitsInAnyCase) {
  for (const char* yes : {"yes", "True", "1", "Y", "\t t "}) {
    bool value = false;
    EXPECT_TRUE(value << tzString(yes)) << yes;
  }
  for (const char* no : {"no", "FALSE", "0", "n"}) {
    bool value = true;
    const tzString text(no);
    EXPECT_FALSE(value << text) << no;
    EXPECT_FALSE(text.fail()) << no;
  }
  for (const char* neither : {"10", "maybe", "00", "", "  "}) {
    bool value = false;
    const tzString text(neither);
    EXPECT_FALSE(value << text) << neither;
    EXPECT_TRUE(text.fail()) << neither;
  }
}

TEST(Names, FlagsAreJoinedAndReadByAbbreviation) {
  const auto& [count, values, names] = tzNormNames;
  EXPECT_EQ(flagString(1 | 8, values, names, count), "divFwdByN|nodivByAny");
  EXPECT_EQ(flagString(0, values, names, count), "0");
  EXPECT_EQ(flagString(64, values, names, count), "64");
  const tzString good("divI, NODIV;divF|");
  EXPECT_EQ(flagValue(good, values, names, count), 1 | 2 | 8);
  EXPECT_FALSE(good.fail());
  const tzString partly("fast|bogus");
  EXPECT_EQ(flagValue(partly, tzHintNames.values, tzHintNames.names, tzHintNames.count), 1);
  EXPECT_TRUE(partly.fail());
  const tzString decimal("0");  // what flagString writes for the empty set
  EXPECT_EQ(flagValue(decimal, values, names, count), 0);
  EXPECT_TRUE(decimal.fail());
}

TEST(Names, EnumerationValuesAreReadByAbbreviation) {
  const int values[] = {5, 6, 5};
  const char* const names[] = {"rndZero", "rndNear", "alias"};
  EXPECT_EQ(enumString(5, values, names, 3), "rndZero");
  EXPECT_EQ(enumString(9, values, names, 3), "9");
  const std::pair<const tzNameTable&, const char*> tables[] = {
      {tzRoundNames, "zero|near|"},
      {tzHintNames, "none|fast|accurate|"},
      {tzCompareNames, "LT|LE|EQ|GT|"},
      {tzNormNames, "divFwdByN|divInvByN|divBySqrtN|nodivByAny|"}};
  for (const auto& [table, all] : tables) {
    std::string joined;
    for (int i = 0; i < table.count; ++i) {
      joined += enumString(table.values[i], table.values, table.names, table.count).str() + "|";
    }
    EXPECT_EQ(joined, all);
  }
  EXPECT_EQ(enumValue("ne", tzRoundNames.values, tzRoundNames.names, tzRoundNames.count), 1);
  EXPECT_EQ(enumValue("NEAR", values, names, 3, 3), 6);
  EXPECT_EQ(enumValue("rnd", values, names, 3, 3), 5);
  EXPECT_EQ(enumValue("", values, names, 3, 3), 5);
  const tzString wrong("near");
  EXPECT_EQ(enumValue(wrong, values, names, 3), 0);
  EXPECT_TRUE(wrong.fail());
  EXPECT_TRUE(fitString("", ""));
  EXPECT_FALSE(fitString("nearer", "near"));
  EXPECT_FALSE(fitString("x", "ab", 9));
}

std::vector<std::string> words(const char* text, const char* separators) {
  tzStringList list{"left from before"};
  const int count = tzString(text).parse(list, separators);
  EXPECT_EQ(count, list.count());
  return texts(list);
}

TEST(Parse, QuotesGroupWordsUnlessTheySeparate) {
  EXPECT_THAT(words("a \"b c\" d", " "), ElementsAre("a", "\"b c\"", "d"));
  EXPECT_THAT(words("x\"; \"y;z", ";"), ElementsAre("x\"; \"y", "z"));
  EXPECT_THAT(words("a \"b c\" d", " \""), ElementsAre("a", "b", "c", "d"));
  EXPECT_THAT(words(";;8; ;", ";"), ElementsAre("8", " "));
  EXPECT_THAT(words("", ";"), ElementsAre());
  EXPECT_THAT(words("no separators", ""), ElementsAre("no separators"));
  EXPECT_THAT(words("\"open to the end", " "), ElementsAre("\"open to the end"));
}

TEST(Parse, AnEmptyPairLeavesTheStretchOpen) {
  EXPECT_THAT(words("\"\" b\" c", " "), ElementsAre("\" b\"", "c"));
  EXPECT_THAT(words("ab\"\" c", " "), ElementsAre("a\" c"));
}

TEST(Parse, DoubledQuotesTakeAwayTheSecondCharacterUntilNoneIsLeft) {
  std::mt19937 random(7);
  tzParse parse("");
  parse.initParse(" ");
  for (int round = 0; round < 2000; ++round) {
    std::string word;
    for (unsigned i = 0, n = random() % 12; i < n; ++i) word += random() % 2 == 0 ? '"' : 'a';
    tzString got(word);
    parse.removeQuote(got);
    while (word.find("\"\"") != std::string::npos) word.erase(1, 1);
    ASSERT_EQ(got.str(), word);
  }
}

TEST(Parse, TwoAndThreeResultsFillUpWithEmptyTexts) {
  tzString a("old"), b("old"), c("old");
  EXPECT_EQ(tzString("1 2").parse(a, b, c, " "), 2);
  EXPECT_THAT((std::vector{a.str(), b.str(), c.str()}), ElementsAre("1", "2", ""));
  EXPECT_EQ(tzString("1 2 3").parse(a, b, " "), 3);
  EXPECT_THAT((std::vector{a.str(), b.str()}), ElementsAre("1", "2"));
}

struct Item {
  int key = 0;
  int origin = 0;
  friend bool operator==(const Item&, const Item&) = default;
};

bool byKey(const Item& a, const Item& b) { return a.key < b.key; }

template <class T>
std::vector<T> values(const tzList<T>& list) {
  std::vector<T> forward(list.begin(), list.end());
  std::vector<T> backward;
  for (auto it = list.end(); it != list.begin();) backward.push_back(*--it);
  std::reverse(backward.begin(), backward.end());
  EXPECT_EQ(forward, backward) << "the two chains differ";
  return forward;
}

TEST(List, InsertsAndErasesAnywhere) {
  tzList<int> list;
  EXPECT_TRUE(list.empty());
  const auto two = list.insert(list.end(), 2);
  const auto one = list.insert(two, 1);
  list.push_back(3);
  EXPECT_EQ(one, list.begin());
  EXPECT_THAT(values(list), ElementsAre(1, 2, 3));
  EXPECT_EQ(*list.erase(two), 3);
  EXPECT_EQ(*list.erase(one), 3);
  EXPECT_EQ(list.erase(list.begin()), list.end());
  EXPECT_TRUE(list.empty());
  list = {1, 2, 3, 4};
  list.erase(++list.begin(), --list.end());
  EXPECT_THAT(values(list), ElementsAre(1, 4));
  list.pop_front();
  list.push_front(9);
  list.pop_back();
  EXPECT_THAT(values(list), ElementsAre(9));
}

TEST(List, CopiesAreIndependentAndMovesKeepTheNodes) {
  tzList<int> list{1, 2, 3};
  const tzList<int> copy(list);
  list.front() = 7;
  EXPECT_THAT(values(copy), ElementsAre(1, 2, 3));
  const auto first = list.begin();
  tzList<int> moved(std::move(list));
  EXPECT_EQ(first, moved.begin());
  list = copy;  // a list that was moved from is still a list
  EXPECT_THAT(values(list), ElementsAre(1, 2, 3));
}

TEST(List, MergeIsStableAndEmptiesTheOther) {
  tzList<Item> a{{1, 0}, {3, 0}, {3, 1}};
  tzList<Item> b{{0, 5}, {3, 5}, {4, 5}};
  const auto moved = b.begin();
  a.merge(b, byKey);
  const std::vector<Item> merged{{0, 5}, {1, 0}, {3, 0}, {3, 1}, {3, 5}, {4, 5}};
  EXPECT_EQ(values(a), merged);
  EXPECT_EQ(moved, a.begin());
  EXPECT_TRUE(b.empty());
  a.merge(a, byKey);
  EXPECT_EQ(values(a), merged);
}

TEST(List, SortIsStableForAnyLength) {
  std::mt19937 random(1);
  // The last one is long enough for the top rung of the ladder to be merged into.
  for (const int length : {0, 1, 2, 3, 7, 8, 100, 70000}) {
    tzList<Item> list;
    for (int i = 0; i < length; ++i) list.push_back({static_cast<int>(random() % 50), i});
    std::vector<Item> expected(list.begin(), list.end());
    std::stable_sort(expected.begin(), expected.end(), byKey);
    list.sort(byKey);
    ASSERT_TRUE(values(list) == expected) << length;
  }
}

}  // namespace
