// Sizes steered into the cache and out of it.
#include <algorithm>
#include <climits>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "apikit.h"
#include "tzcache.h"
#include "tzcpu.h"
#include "tzenv.h"
#include "tzmemory.h"

using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;

namespace {

constexpr int kMib = 1 << 20;

struct Sized : tzObject {
  int bytes = 0;
  int objectSize() const override { return bytes; }
};

/// A machine of 1 MiB of cache and 1 GiB of memory, whose tracked memory holds what a test says.
class CacheTest : public testing::Test {
 protected:
  CacheTest() {
    pAddressList = &m_list;
    tzCacheIterator::setCacheSizeSource([] { return kMib; });
    tzCacheIterator::setMemorySizeSource([] { return 1LL << 30; });
  }
  ~CacheTest() override {
    pAddressList = nullptr;
    tzCacheIterator::setCacheSizeSource(nullptr);
    tzCacheIterator::setMemorySizeSource(nullptr);
  }

  void setBlocks(std::initializer_list<int> sizes) {
    m_list.clear();
    for (const int size : sizes) m_list.push_back({&m_list, &m_list, size, nullptr});
  }

  /// What a test does: builds its data, `build(value)` giving the bytes of all and of the object,
  /// until they suit or the state is given up.
  /// @return one text a state: comment, value or "none", and how often data were built
  template <typename Build>
  std::vector<std::string> walk(tzCacheIterator& states, Build build) {
    std::vector<std::string> seen;
    int builds = 0;
    for (bool on = states.firstValue(); on;) {
      build();
      ++builds;
      const bool good = states.validateSize();
      if (!good && states.repeatValue()) continue;
      seen.push_back(states.getComment().str() + " " +
                     (good ? states.valueString().str() : "none") + " " + std::to_string(builds));
      if (!good) states.outputInfo();
      builds = 0;
      on = states.nextValue();
    }
    return seen;
  }

  AddressList m_list;
  Console m_console{L_ERR};
};

}  // namespace

TEST_F(CacheTest, BandsFollowTheCache) {
  tzIterator<int> len("len", "", {5, 6});
  tzCacheIteratorInt states(len);
  ASSERT_TRUE(states.firstValue());
  EXPECT_EQ(states.getComment(), "inCache");
  EXPECT_EQ(states.valueString(), "5");
  EXPECT_EQ(states.description(), "len = 5; 6");
  EXPECT_EQ(states.lowSize(), 104857);
  EXPECT_EQ(states.highSize(), 943718);
  ASSERT_TRUE(states.nextValue());
  EXPECT_EQ(states.getComment(), "outofCache");
  EXPECT_EQ(states.valueString(), "5") << "every state begins at the first value";
  EXPECT_EQ(states.lowSize(), 1101004);
  EXPECT_EQ(states.highSize(), INT_MAX);
  EXPECT_FALSE(states.nextValue());
}

TEST_F(CacheTest, TheSizeComesFromTheLibraryWhereTheOwnQueryFails) {
  tzCacheIterator::setCacheSizeSource(nullptr);
  int own = 0;
  const bool known = tz_rkdGetMaxCacheSizeB(&own) == 0;
  const auto before = rkd_GetMaxCacheSizeB;
  rkd_GetMaxCacheSizeB = [](int* size) -> RkdStatus { return *size = 12345, 0; };
  EXPECT_EQ(tzCacheIterator::cacheSize(), known ? own : 12345);
  rkd_GetMaxCacheSizeB = [](int* size) -> RkdStatus { return *size = 12345, -2; };
  EXPECT_EQ(tzCacheIterator::cacheSize(), known ? own : 0);
  rkd_GetMaxCacheSizeB = nullptr;
  EXPECT_EQ(tzCacheIterator::cacheSize(), known ? own : 0);
  rkd_GetMaxCacheSizeB = before;
}

TEST_F(CacheTest, SumsBeyondAnIntAreTheLargestInt) {
  setBlocks({});
  EXPECT_EQ(tzCacheIterator::getTotalSize(), 0);
  setBlocks({INT_MAX, INT_MAX, 5});
  EXPECT_EQ(tzCacheIterator::getTotalSize(), INT_MAX);
  tzIterator<int> len("len", "", {5});
  tzCacheIteratorInt states(len);
  states.firstValue();
  EXPECT_FALSE(states.validateSize());
  states.nextValue();
  EXPECT_TRUE(states.validateSize()) << "out of cache has no upper bound";
}

TEST(CacheSteering, Lengths) {
  const struct {
    int value, size, limit;
    bool fine;
    int expected;  // 0: refused
  } cases[] = {
      {3, 1000, 100000, false, 3 * 64}, {64, 200000, 100000, false, 16},
      {64, 99999, 100000, false, 64},   {64, 100000, 100000, false, 32},
      {64, 50000, 100000, false, 64},   {1, 200000, 100000, false, 0},
      {1, 1, INT_MAX, false, 1 << 30},  {2, 1, INT_MAX, false, 0},
      {5, 0, 1000, false, 0},           {5, 1000, 0, false, 0},
      {0, 10, 1000, false, 0},          {7, 99999, 100000, true, 14},
      {7, 100000, 100000, true, 3},     {1, 5, 5, true, 0},
      {1 << 30, 5, 10, true, 0},
  };
  for (const auto& c : cases) {
    int value = c.value;
    EXPECT_EQ(tzCacheIteratorInt::updateValue(value, c.size, c.limit, c.fine), c.expected > 0)
        << c.value << " " << c.size << " " << c.limit;
    if (c.expected > 0) {
      EXPECT_EQ(value, c.expected) << c.value << " " << c.size << " " << c.limit;
    }
  }
}

TEST(CacheSteering, Sizes) {
  const struct {
    RkdiSize value;
    int size, limit;
    bool fine;
    RkdiSize expected;  // {0, 0}: refused
  } cases[] = {
      {{10, 10}, 1000, 3000, false, {20, 10}},
      {{10, 10}, 1000, 5000, false, {20, 20}},
      {{10, 10}, 1000, 9000, false, {40, 20}},
      {{64, 64}, 100000, 100000, false, {64, 32}},
      {{64, 64}, 200000, 100000, false, {32, 32}},
      {{64, 64}, 400000, 100000, false, {32, 16}},
      {{1, 1}, 2000, 1000, false, {0, 0}},
      {{1 << 30, 1}, 1, 1000, false, {0, 0}},
      {{8, 8}, 1, 2, true, {16, 8}},
      {{9, 8}, 1, 2, true, {9, 16}},
      {{8, 8}, 2, 2, true, {8, 4}},
      {{9, 8}, 2, 2, true, {4, 8}},
      {{8, 0}, 1, 2, true, {0, 0}},
      {{4, 4}, 0, 9, false, {0, 0}},
  };
  for (const auto& c : cases) {
    RkdiSize value = c.value;
    const bool expected = c.expected.width > 0;
    EXPECT_EQ(tzCacheIteratorSize::updateValue(value, c.size, c.limit, c.fine), expected)
        << tzValueToText(c.value).c_str() << " " << c.size;
    if (expected) {
      EXPECT_EQ(tzValueToText(value), tzValueToText(c.expected)) << c.size;
    }
  }
}

TEST_F(CacheTest, SteersUntilTheDataSuit) {
  tzIterator<int> len("len", "", {1000});
  tzCacheIteratorInt lengths(len);
  EXPECT_THAT(walk(lengths,
                   [&] {
                     setBlocks({len.value(), len.value()});
                   }),
              ElementsAre("inCache 64000 3", "outofCache 1024000 3"));
  EXPECT_EQ(lengths.attempt(), 0);
  EXPECT_EQ(lengths.info(), "");
  tzIterator<RkdiSize> size("Size", "", {{4096, 4096}});
  tzCacheIteratorSize sizes(size);
  EXPECT_THAT(walk(sizes, [&] { setBlocks({size.value().width * size.value().height}); }),
              ElementsAre("inCache 1024x512 2", "outofCache 4096x4096 1"));
  EXPECT_EQ(m_console.text(), "");
}

TEST_F(CacheTest, TheObjectCountsForTheLowerBound) {
  tzIterator<int> len("len", "", {200000});
  Sized object;
  tzCacheIteratorInt states(len, &object);
  g_ostrm.setOutLevel(L_ERR | L_PERF);
  const auto seen = walk(states, [&] {
    object.bytes = len.value() / 100;
    setBlocks({len.value()});
  });
  // In cache the object's share would have to be a tenth of the cache, then a hundredth: both are
  // beyond what all data may take.
  EXPECT_THAT(seen[0], StartsWith("inCache none"));
  EXPECT_THAT(seen[1], StartsWith("outofCache 204800000 "));
  EXPECT_THAT(m_console.text(),
              StartsWith("      inCache try: cacheParm=200000 objectSize=2000 < 104857\n"));
  EXPECT_THAT(m_console.text(), HasSubstr(" totalSize=6400000 > 943718\n"));
}

TEST_F(CacheTest, OscillationRelaxesTheLowerBoundOnce) {
  tzIterator<int> len("len", "", {3});
  tzCacheIteratorInt states(len);
  const auto power = [&](int exponent) {
    long long bytes = 1;
    for (int i = 0; i < exponent && bytes <= INT_MAX; ++i) bytes *= len.value();
    setBlocks({static_cast<int>(std::min<long long>(bytes, INT_MAX))});
  };
  // Each doubling multiplies the data by 64, which jumps over the band of 0.1 to 0.9.
  EXPECT_EQ(walk(states, [&] { power(6); })[0], "inCache 6 8");
  EXPECT_EQ(walk(states, [&] { power(6); })[0], "inCache 6 8") << "anew in the next combination";
  // By 4096: over the relaxed one too.
  len.init("len", "", "2");
  EXPECT_THAT(walk(states, [&] { power(12); })[0], StartsWith("inCache none "));
}

TEST_F(CacheTest, GivesUpAfterElevenRepetitions) {
  tzIterator<int> len("len", "", {1 << 10});
  tzCacheIterator states(len, nullptr, [](tzParameter*, int, int, bool) { return true; });
  EXPECT_THAT(walk(states, [&] { setBlocks({1000}); }),
              ElementsAre("inCache none 12", "outofCache none 12"));
  EXPECT_THAT(m_console.text(),
              HasSubstr("      outofCache try: cacheParm=1024 totalSize=1000 < 1101004\n"));
  tzCacheIterator stiff(len);
  EXPECT_THAT(walk(stiff, [&] { setBlocks({1000}); }),
              ElementsAre("inCache none 1", "outofCache none 1"));
}

TEST_F(CacheTest, TheCallbackIsToldWhatToReach) {
  static std::vector<std::string> calls;
  tzIterator<int> len("len", "", {1});
  tzCacheIteratorInt states(len, nullptr, [](tzParameter*, int size, int limit, bool fine) {
    calls.push_back(std::to_string(size) + " " + std::to_string(limit) + (fine ? " fine" : ""));
    return calls.size() < 3;
  });
  walk(states, [&] { setBlocks({calls.empty() ? 2 * kMib : 7}); });
  EXPECT_THAT(calls, testing::IsSupersetOf({"2097152 943718", "7 104857 fine", "7 1101004"}));
}

TEST_F(CacheTest, WhatTheMachineCantHoldIsGivenUpWithTheReason) {
  tzIterator<int> len("len", "", {1 << 16});
  Sized object;
  tzCacheIteratorInt states(len, &object);
  const auto build = [&] {
    object.bytes = len.value();
    setBlocks({len.value(), 3 * len.value()});
  };
  tzCacheIterator::setMemorySizeSource([] { return 33LL << 20; });
  EXPECT_THAT(walk(states, build)[1], StartsWith("outofCache 2097152 "));
  tzCacheIterator::setMemorySizeSource([] { return 31LL << 20; });
  EXPECT_EQ(walk(states, build)[1], "outofCache none 1");
  EXPECT_THAT(m_console.take(), EndsWith("      outofCache is given up: it needs 8 MiB, more than "
                                         "a quarter of the machine's 31 MiB of memory\n"));
  tzCacheIterator::setCacheSizeSource([] { return 0; });
  const auto seen = walk(states, build);
  EXPECT_THAT(seen[0], StartsWith("inCache none "));
  EXPECT_EQ(seen[1], "outofCache none 1");
  EXPECT_THAT(m_console.text(), HasSubstr("the size of the cache is unknown\n"));
}
