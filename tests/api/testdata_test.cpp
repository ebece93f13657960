// What a test's data are to its lifecycle: cache states that steer their size, their placement, and
// what is done to all of them.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sstream>

#include "scripttest.h"
#include "tzcache.h"
#include "tzmemory.h"

using scripted::countOf;
using scripted::filled;
using testing::HasSubstr;

// --- cache states --------------------------------------------------------------------------------

// A test whose data are one buffer of its parameter's size, on a machine with a cache of 1 MB.
class CacheStates : public testing::Test {
 protected:
  CacheStates() {
    tzCacheIterator::setCacheSizeSource([] { return 1 << 20; });
    tzCacheIterator::setMemorySizeSource([] { return 1LL << 30; });
    tzTest::m_cache = true;
    m_test.build = [this] {
      m_sizes.push_back(m_len.value());
      m_data = tzTest::allocate(m_len.value(), 0);
      return m_data != nullptr;
    };
    m_test.drop = [this] { tzFree(m_data); };
  }
  ~CacheStates() override {
    tzCacheIterator::setCacheSizeSource(nullptr);
    tzCacheIterator::setMemorySizeSource(nullptr);
  }

  ScriptedRunState m_state;
  tzIterator<int> m_len{"len"};
  tzIterator<int> m_mode{"mode"};
  ScriptTest m_test;
  void* m_data = nullptr;
  std::vector<int> m_sizes;
};

TEST_F(CacheStates, TurnInsideTheParametersAndSteerTheirSize) {
  filled(m_len, {1000, 2000});
  filled(m_mode, {1, 2});
  m_test.declare = [this](ScriptTest& test) {
    test.regParm(m_mode);
    test.regCacheParm(m_len);
  };
  EXPECT_EQ(m_test.run(), TZ_OK);
  // From 1000 bytes, by the power of two that stays below the lower limit and one step on.
  EXPECT_EQ(m_state.table.text(),
            "stubFunction,Timing,1,128000,inCache,100,px,nLps=1,OK\n"
            "stubFunction,Timing,1,2048000,outofCache,100,px,nLps=1,OK\n"
            "stubFunction,Timing,2,128000,inCache,100,px,nLps=1,OK\n"
            "stubFunction,Timing,2,2048000,outofCache,100,px,nLps=1,OK\n");
  EXPECT_EQ(countOf(m_test.calls, "initData"), countOf(m_test.calls, "flushData"));
}

TEST_F(CacheStates, AStateOutOfReachIsTold) {
  filled(m_len, {1000});
  static bool steered;
  steered = false;
  m_test.declare = [this](ScriptTest& test) {
    test.regCacheParm(m_len, nullptr, [](tzParameter*, int, int, bool) {
      steered = true;
      return false;
    });
  };
  EXPECT_EQ(m_test.run(), TZ_UNDEFINED);
  EXPECT_TRUE(steered);
  EXPECT_EQ(m_state.table.text(),
            "stubFunction,Timing,1000,inCache,-,px,not measured,UNDEFINED\n"
            "stubFunction,Timing,1000,outofCache,-,px,not measured,UNDEFINED\n");
  EXPECT_THAT(m_state.console.text(), HasSubstr("inCache try: cacheParm=1000"));
  EXPECT_THAT(m_state.console.text(), HasSubstr("--No measurements have been done\n"));
}

TEST_F(CacheStates, AFailingAllocationNamesTheSteeredParameter) {
  filled(m_len, {1000});
  m_test.declare = [this](ScriptTest& test) { test.regCacheParm(m_len); };
  m_test.build = [] { return false; };
  m_test.drop = nullptr;
  EXPECT_EQ(m_test.run(), TZ_DATAFAIL);
  EXPECT_THAT(m_state.console.text(),
              HasSubstr("-- Fail to allocate len data\n"
                        "-- Error while initialization of function data\n"));
}

TEST_F(CacheStates, ATestWithoutSteeringTellsWhereItsDataAre) {
  filled(m_len, {1000, 1000000, 2000000});
  m_test.declared = {&m_len};
  EXPECT_EQ(m_test.run(), TZ_OK);
  EXPECT_EQ(m_state.table.text(),
            "stubFunction,Timing,1000,inCache,100,px,nLps=1,OK\n"
            "stubFunction,Timing,1000000,border,100,px,nLps=1,OK\n"
            "stubFunction,Timing,2000000,outofCache,100,px,nLps=1,OK\n");
}

// --- test data -----------------------------------------------------------------------------------

TEST(TestData, PlacementStartsAnewWithEveryCombination) {
  VectorShift = 16384;
  VectorAlign = 3;
  ScriptedRunState state;
  ScriptTest test;
  std::ostringstream shifts;
  std::vector<void*> data;
  tzIterator<int> len("len");
  test.declared = {&filled(len, {1, 2})};
  test.build = [&] {
    for (int i = 0; i < 3; ++i) {
      shifts << tzTest::m_vectorNum << ":" << tzTest::m_vectorShift;
      data.push_back(tzTest::allocate(100, -1));
      shifts << "@" << reinterpret_cast<uintptr_t>(data.back()) % 64 << " ";
    }
    return true;
  };
  test.drop = [&] {
    for (void* vector : data) tzFree(vector);
    data.clear();
  };
  test.run();
  EXPECT_EQ(shifts.str(), "0:0@3 1:16384@3 2:0@3 0:0@3 1:16384@3 2:0@3 ");
  VectorShift = 0;
  VectorAlign = 0;
}

namespace {

struct CountingObject : tzObject {
  tzString objectInfo() const override { return "Vector 16s length=4"; }
  bool reserveCopy() override { return ++reserved != 0; }
  void setReservedCopy() override { ++reset; }
  int reserved = 0;
  int reset = 0;
};

}  // namespace

TEST(TestData, TimingThroughTheCallFunctionResetsTheDataBetweenCalls) {
  static int calls;
  calls = 0;
  class CallTest : public tzTest {
   public:
    CallTest() : tzTest([] { return ++calls * 0; }, nullptr, nullptr, nullptr, "stub", "", "") {}
    bool initData() override { return (m_data = allocate(64, 0, &object)) != nullptr; }
    void flushData() override { tzFree(m_data); }
    CountingObject object;

   private:
    void* m_data = nullptr;
  };
  ScriptedRunState state;
  g_tool.setMethodLoop(5);
  CallTest test;
  test.run();
  EXPECT_EQ(test.object.reserved + test.object.reset, 0);
  g_tool.setCallMode(true);
  calls = 0;
  EXPECT_EQ(test.run(), TZ_OK);
  EXPECT_EQ(test.object.reserved, 1);
  EXPECT_EQ(test.object.reset, 5);
  EXPECT_EQ(calls, 6);  // with the warm-up
}

TEST(TestData, AllObjectsAreReservedResetAndPrinted) {
  CountingObject object;
  void* own = tzTest::allocate(8, 0, &object);
  void* part = tzTest::allocate(8, 0, MEM_OBJECT_IS_SUBOBJECT);
  auto* bytes = static_cast<unsigned char*>(tzTest::allocate(3, 0));
  bytes[0] = 0x01, bytes[1] = 0xAB, bytes[2] = 0xFF;

  tzTest::reserveAllVectors();
  tzTest::resetAllVectors();
  EXPECT_EQ(object.reserved, 1);
  EXPECT_EQ(object.reset, 1);

  ScriptedRunState state({{}}, L_DATA);
  ScriptTest().printAllMemoryBlocks("now");
  EXPECT_EQ(state.console.text(),
            " now\n  1: Vector 16s length=4\n  2: MemoryBlock size=3\n      01 AB FF\n");
  for (void* p : {own, part, static_cast<void*>(bytes)}) tzFree(p);
}
