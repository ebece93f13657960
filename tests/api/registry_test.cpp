// Registration, the order and the counts of the test list, and which tests the conditions select.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "harnesskit.h"
#include "tz.h"

namespace {

// A test that does nothing but return what it is told to.
class ResultTest : public tzTest {
 public:
  ResultTest(const std::string& function, tzResult returned, const std::string& name = "S//R")
      : tzTest(nullptr, nullptr, nullptr, nullptr, function, "tests/stub", name),
        m_returned(returned) {}
  ~ResultTest() override { ++deleted; }

  tzResult run() override {
    ran.push_back(funcName().str());
    EXPECT_EQ(this, m_pCurrentTest);
    return m_returned;
  }

  static inline std::vector<std::string> ran;
  static inline int deleted = 0;

 private:
  tzResult m_returned;
};

std::vector<std::string> order(const tzTestList& tests) {
  std::vector<std::string> names;
  for (const tzTest* test : tests)
    names.push_back((test->funcName() + "/" + test->regText()).str());
  return names;
}

std::vector<std::string> runAll(const std::vector<std::string>& functions, const char* start = "") {
  ResultTest::ran.clear();
  deleteTestList();
  for (const std::string& name : functions) tzRegTest(new ResultTest(name, TZ_OK));
  tzTest::m_startFunc = start;
  tzConditions everything;
  tzGetTestList().runTests(everything);
  return ResultTest::ran;
}

using Names = std::vector<std::string>;

}  // namespace

TEST(Registry, RegistrationsReturnOneAndTheListOwnsItsTests) {
  EXPECT_EQ(nullptr, g_testList);
  deleteTestList();  // no list: nothing happens
  EXPECT_EQ(1, tzRegTest(new ResultTest("a", TZ_OK)));
  EXPECT_EQ(1, tzRegTest(new ResultTest("b", TZ_OK)));
  EXPECT_EQ(2, g_testList->count());
  deleteTestList();
  EXPECT_EQ(2, ResultTest::deleted);
  EXPECT_EQ(nullptr, g_testList);

  tzIterator<int> parm("Parm");
  EXPECT_EQ(1, tzRegParm(parm));
  EXPECT_EQ(&parm, g_parmList->front());
}

TEST(Registry, HotFunctionsAreExactNames) {
  EXPECT_FALSE(tzIsHotFunction("rkdiFoo"));
  EXPECT_EQ(1, tzRegHotFunction("rkdiFoo_8u"));
  EXPECT_TRUE(tzIsHotFunction("rkdiFoo_8u"));
  EXPECT_FALSE(tzIsHotFunction("rkdiFoo"));
  EXPECT_FALSE(tzIsHotFunction("rkdifoo_8u"));
}

TEST(Registry, SortsByFunctionAndKeepsTestsOfOneFunctionInOrder) {
  const Names registered = {"d/1", "b/1", "a/1", "b/2", "c/1", "a/2", "b/3", "a/3", "e/1"};
  for (const std::string& entry : registered) {
    tzRegTest(new ResultTest(entry.substr(0, 1), TZ_OK, entry.substr(2)));
  }
  tzGetTestList().sortFunc();
  EXPECT_EQ((Names{"a/1", "a/2", "a/3", "b/1", "b/2", "b/3", "c/1", "d/1", "e/1"}),
            order(tzGetTestList()));
}

TEST(Registry, AnEmptyListRunsToSuccess) {
  tzConditions everything;
  EXPECT_EQ(0, tzGetTestList().runTests(everything));
  EXPECT_EQ(0, tzGetTestList().total);
}

TEST(Registry, CountsEveryCodeAndTheTotalsOfWarningsAndFailures) {
  for (const tzResult result : {TZ_ACCURWRN, TZ_DATAFAIL, TZ_ACCURWRN}) {
    tzRegTest(new ResultTest("f", result));
  }
  tzConditions everything;
  tzTestList& tests = tzGetTestList();
  EXPECT_EQ(1, tests.runTests(everything));
  EXPECT_EQ(nullptr, tzTest::m_pCurrentTest);
  EXPECT_EQ(3, tests.total);
  EXPECT_EQ(1, tests.counts[TZ_DATAFAIL]);
  EXPECT_EQ(1, tests.counts[TZ_FAIL]);
  EXPECT_EQ(2, tests.counts[TZ_ACCURWRN]);
  EXPECT_EQ(2, tests.counts[TZ_WARNING]);

  tzTestList direct;
  for (tzResult result = 0; result < tzTestList::NUM_RESULTS; ++result) direct.plus(result);
  direct.plus(12);
  direct.plus(-1);
  EXPECT_EQ(14, direct.total);
  EXPECT_EQ(1 + 4, direct.counts[TZ_WARNING]);
  EXPECT_EQ(1 + 4 + 2, direct.counts[TZ_FAIL]) << "a code that does not exist is a failure";
  EXPECT_EQ(1, direct.counts[TZ_UNDEFINED]);
}

TEST(Registry, WarningsAloneAreNoFailure) {
  tzRegTest(new ResultTest("f", TZ_WARNING));
  tzRegTest(new ResultTest("g", TZ_UNDEFINED));
  tzConditions everything;
  EXPECT_EQ(0, tzGetTestList().runTests(everything));
  EXPECT_EQ(2, tzGetTestList().total);
}

TEST(Registry, StartFunctionIsASubstringMetOnce) {
  const Names functions = {"rkdiAdd", "rkdiMul", "rkdiSub"};
  EXPECT_EQ(functions, runAll(functions));
  EXPECT_EQ((Names{"rkdiMul", "rkdiSub"}), runAll(functions, "Mul"));
  EXPECT_EQ(functions, runAll(functions, "rkdi"));
  EXPECT_EQ(Names{}, runAll(functions, "mul"));
  EXPECT_EQ(Names{}, runAll(functions, "rkdiMulC"));
}

TEST(Registry, CollectsEachParameterOfSelectedTestsOnce) {
  tzIterator<int> shared("Shared"), own("Own"), other("Other");
  auto* first = new ResultTest("first", TZ_OK);
  auto* second = new ResultTest("second", TZ_OK);
  auto* excluded = new ResultTest("third", TZ_OK);
  for (tzTest* test : {first, second}) test->regParm(shared);
  second->regParm(own);
  excluded->regParm(other);
  for (tzTest* test : {first, second, excluded}) tzRegTest(test);
  tzConditions conditions;
  conditions.add(new RunCondition_fNot("third"));
  tzList<tzParameter*> parms;
  tzGetTestList().selectCommonParms(conditions, parms);
  ASSERT_EQ(2, parms.count());
  EXPECT_EQ(&shared, parms.front());
  EXPECT_EQ(&own, parms.back());
}

// ---- conditions ----

TEST(Conditions, ArgumentsAreClassifiedByTheirSign) {
  const struct {
    const char* arg;
    int form;
    const char* pattern;
  } cases[] = {
      {"", CONDITION_EMPTY, ""},        {"abc", CONDITION_PLAIN, "abc"},
      {"=abc", CONDITION_EQUAL, "abc"}, {"+abc", CONDITION_AND, "abc"},
      {"-abc", CONDITION_NOT, "abc"},   {"=", CONDITION_EMPTY, ""},
      {"+", CONDITION_EMPTY, ""},       {"-", CONDITION_EMPTY, ""},
      {"--abc", CONDITION_NOT, "-abc"}, {"a=b", CONDITION_PLAIN, "a=b"},
  };
  for (const auto& c : cases) {
    tzString arg(c.arg);
    EXPECT_EQ(c.form, getCondition(arg)) << c.arg;
    EXPECT_STREQ(c.pattern, arg.c_str()) << c.arg;
  }
}

TEST(Conditions, GroupsCombineWhateverTheOrderOfTheKeys) {
  const struct {
    const char* function;
    const char* suite;
  } tests[] = {{"DCTFwd", "TimjDct//REG"},
               {"DCTInv", "TimjDct//REG_X"},
               {"HuffmanEncode", "TimjHuffman//REG"},
               {"HuffmanInv", "TimjHuffman//REG_I"},
               {"Add", "TimjAdd//REG"}};
  const struct {
    std::vector<std::string> keys;  // f or t, then the argument
    Names selected;
  } cases[] = {
      {{}, {"DCTFwd", "DCTInv", "HuffmanEncode", "HuffmanInv", "Add"}},
      {{"fDCT", "fHuffman"}, {"DCTFwd", "DCTInv", "HuffmanEncode", "HuffmanInv"}},
      {{"fDCT", "f-Inv"}, {"DCTFwd"}},
      {{"f-Inv", "fDCT"}, {"DCTFwd"}},
      {{"f-Inv"}, {"DCTFwd", "HuffmanEncode", "Add"}},
      {{"f+Inv"}, {"DCTInv", "HuffmanInv"}},
      {{"f+Inv", "f+DCT"}, {"DCTInv"}},
      {{"f=Add"}, {"Add"}},
      {{"f=Ad"}, {}},
      {{"f=Add", "fFwd"}, {"DCTFwd", "Add"}},
      {{"fdct"}, {}},
      {{"f="}, {"DCTFwd", "DCTInv", "HuffmanEncode", "HuffmanInv", "Add"}},
      {{"tTimjHuffman"}, {"HuffmanEncode", "HuffmanInv"}},
      {{"t=TimjDct//REG"}, {"DCTFwd"}},
      {{"t+REG_"}, {"DCTInv", "HuffmanInv"}},
      {{"t-Dct"}, {"HuffmanEncode", "HuffmanInv", "Add"}},
      {{"fAdd", "tDct"}, {"DCTFwd", "DCTInv", "Add"}},  // one any-of group for both keys
      {{"fDCT", "t-REG_X"}, {"DCTFwd"}},
  };
  for (const auto& c : cases) {
    tzSession session;
    std::string shown;
    for (const std::string& key : c.keys) {
      (key[0] == 'f' ? f_apply : t_apply)(key.substr(1), &session);
      shown += " -" + key;
    }
    Names selected;
    for (const auto& test : tests) {
      const ResultTest object(test.function, TZ_OK, test.suite);
      if (session.conditions().tobeRun(&object)) selected.push_back(test.function);
    }
    EXPECT_EQ(c.selected, selected) << shown;
  }
}
