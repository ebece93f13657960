// Core part: levels reach every library, versions, threads, status texts, memory; copying and
// filling.
#include <unistd.h>

#include <algorithm>
#include <climits>
#include <fstream>
#include <set>
#include <string>
#include <thread>

#include "rkd/rkd.h"
#include "rkdkit.h"

using namespace rkdkit;

namespace {

struct Library {
  const char* file;
  const RkdLibraryVersion* (*version)();
  RkdCpuType (*level)();
};
const Library kLibraries[] = {
    {"librkdcore.so.1", rkdGetLibVersion, rkdGetLevel},
    {"librkds.so.1", rkdsGetLibVersion, rkdsGetLevel},
    {"librkdi.so.1", rkdiGetLibVersion, rkdiGetLevel},
    {"librkdcolor.so.1", rkdcolorGetLibVersion, rkdcolorGetLevel},
    {"librkdjpeg.so.1", rkdjpegGetLibVersion, rkdjpegGetLevel},
};

TEST(Levels, TheCoresChoiceReachesEveryLibrary) {
  struct Row {
    RkdCpuType code, level;
  };
  const Row rows[] = {
      {rkdCpuUnknown, 65}, {rkdCpuSSE, 65},    {rkdCpuSSE2, 65},   {rkdCpuSSE3, 65},
      {rkdCpu64, 65},      {rkdCpuModelA, 67}, {rkdCpuModelB, 67}, {rkdCpuModelC, 67},
      {rkdCpuModelD, 67},  {rkdCpuSSSE3, 67},  {rkdCpuModelE, 69}, {rkdCpuSSE41, 69},
      {rkdCpuSSE42, 69},   {rkdCpuAVX, 69},    {rkdCpuAVX2, 71},   {rkdCpuAVX512, 72},
  };
  ASSERT_EQ(rkdInit(), rkdStsNoErr);
  const RkdCpuType best = rkdGetLevel();
  for (const Row& row : rows) {
    SCOPED_TRACE(row.code);
    if (row.level > best) {
      EXPECT_EQ(rkdInitCpu(row.code), rkdStsNotSupportedCpuErr);
      continue;
    }
    EXPECT_EQ(rkdInitCpu(row.code), rkdStsNoErr);
    for (const Library& library : kLibraries) EXPECT_EQ(library.level(), row.level) << library.file;
  }
  ASSERT_EQ(rkdInit(), rkdStsNoErr);
  for (const Library& library : kLibraries) EXPECT_EQ(library.level(), best) << library.file;
}

TEST(Levels, ARefusedChoiceLeavesTheLevelAsItWas) {
  ASSERT_EQ(rkdInitCpu(rkdCpuSSSE3), rkdStsNoErr);
  EXPECT_EQ(rkdInitCpu(1), rkdStsBadArgErr);
  EXPECT_EQ(rkdInitCpu(-1), rkdStsBadArgErr);
  EXPECT_EQ(rkdGetLevel(), rkdCpuSSSE3);
  // A machine without AVX2, as far as the shared dispatcher can see: better and worse levels than
  // the one before a refusal are there, and neither is selected by it.
  const auto compiled = hwy::SupportedAndGeneratedTargets();
  hwy::SetSupportedTargetsForTest(HWY_SSE4 | HWY_SSSE3 | compiled.back());
  for (const RkdCpuType before : {rkdCpuSSE2, rkdCpuSSSE3, rkdCpuSSE42}) {
    ASSERT_EQ(rkdInitCpu(before), rkdStsNoErr);
    for (const RkdCpuType refused : {rkdCpuAVX512, rkdCpuAVX2}) {
      EXPECT_EQ(rkdInitCpu(refused), rkdStsNotSupportedCpuErr);
      for (const Library& library : kLibraries) EXPECT_EQ(library.level(), before) << library.file;
    }
  }
  hwy::SetSupportedTargetsForTest(0);
  ASSERT_EQ(rkdInit(), rkdStsNoErr);
}

TEST(Levels, EveryCompiledVariantIsReached) {
  std::set<std::string> names;
  forEachLevel([&] { names.insert(rkdGetLevelName()); });
  EXPECT_EQ(names.size(), hwy::SupportedAndGeneratedTargets().size());
}

TEST(Versions, EachLibraryTellsItsOwn) {
  for (const Library& library : kLibraries) {
    const RkdLibraryVersion* version = library.version();
    EXPECT_STREQ(version->name, library.file);
    EXPECT_EQ(std::to_string(version->major) + "." + std::to_string(version->minor) + "." +
                  std::to_string(version->build),
              version->version);
    EXPECT_EQ(std::string(version->buildDate).size(), 10u);
    EXPECT_NE(std::string(version->levels).find("SSSE3 SSE4 AVX2 AVX3"), std::string::npos)
        << version->levels;
  }
}

TEST(Status, EveryCodeHasItsOwnText) {
  std::set<std::string> texts;
  std::set<int> codes;
#define ADD(name, value, text)                  \
  EXPECT_STREQ(rkdGetStatusString(name), text); \
  texts.insert(text);                           \
  codes.insert(value);
  RKD_STATUS_LIST(ADD)
#undef ADD
  EXPECT_EQ(texts.size(), codes.size());
  EXPECT_STREQ(rkdGetStatusString(-9999), "unknown status");
}

TEST(Threads, OneIsTaken) {
  int threads = 0;
  EXPECT_EQ(rkdSetNumThreads(1), rkdStsNoErr);
  EXPECT_EQ(rkdSetNumThreads(4), rkdStsLessThreadsWrn);
  EXPECT_EQ(rkdSetNumThreads(0), rkdStsSizeErr);
  EXPECT_EQ(rkdGetNumThreads(&threads), rkdStsNoErr);
  EXPECT_EQ(threads, 1);
  EXPECT_EQ(rkdGetNumThreads(nullptr), rkdStsNullPtrErr);
}

TEST(Machine, FiguresAreThoseOfAProcessor) {
  EXPECT_GE(rkdGetNumCoresOnDie(), 1);
  // Every logical processor of this process may belong to one package, never to less.
  EXPECT_LE(rkdGetNumCoresOnDie(), 4096);
  int bytes = -1;
  ASSERT_EQ(rkdGetMaxCacheSizeB(&bytes), rkdStsNoErr);
  EXPECT_GE(bytes, 32 << 10);
  // What the C library finds out by itself, where it does. (On some virtual machines it takes the
  // third level of the whole package for that of a core; the system tells that one.)
  for (const int name : {_SC_LEVEL1_DCACHE_SIZE, _SC_LEVEL2_CACHE_SIZE}) {
    EXPECT_GE(bytes, std::min<long>(sysconf(name), INT_MAX)) << name;
  }
  std::ifstream system("/sys/devices/system/cpu/cpu0/cache/index3/size");
  if (long kibibytes = 0; system >> kibibytes) {
    EXPECT_GE(bytes, std::min<long>(kibibytes << 10, INT_MAX));
  }
  EXPECT_EQ(rkdGetMaxCacheSizeB(nullptr), rkdStsNullPtrErr);
  // A processor type names a level that the machine has.
  EXPECT_EQ(rkdInitCpu(rkdGetCpuType()), rkdStsNoErr);
  EXPECT_EQ(rkdInit(), rkdStsNoErr);
  const uint64_t first = rkdGetCpuClocks();
  EXPECT_GT(rkdGetCpuClocks(), first);
}

TEST(Memory, BlocksAreAlignedAndHugeOnesRefused) {
  for (const size_t length : {size_t{1}, size_t{64}, size_t{65}, size_t{1000000}}) {
    void* block = rkdMalloc(length);
    ASSERT_NE(block, nullptr);
    EXPECT_EQ(reinterpret_cast<uintptr_t>(block) % 64, 0u);
    std::memset(block, 1, length);
    rkdFree(block);
  }
  EXPECT_EQ(rkdMalloc(0), nullptr);
  EXPECT_EQ(rkdMalloc(SIZE_MAX), nullptr);
  rkdFree(nullptr);
}

template <class T, int C>
void expectCopies(RkdStatus (*copy)(const T*, int, T*, int, RkdiSize)) {
  Random random;
  for (const Place place : places()) {
    Canvas<T> src(sz(13, 4), C, place), dst(sz(13, 4), C, {place.offset ^ 5, 3});
    src.fillLimitsAndRandom(random);
    EXPECT_EQ(copy(src.data(), src.step(), dst.data(), dst.step(), src.size()), 0);
    ASSERT_TRUE(dst.sameAs(src) && dst.marginIntact());
  }
}

template <class T>
void expectSets(RkdStatus (*set)(T, T*, int, RkdiSize)) {
  const T value = static_cast<T>(0x81726354);  // every byte another
  for (const Place place : places()) {
    Canvas<T> dst(sz(13, 4), 1, place), want(sz(13, 4));
    want.fill([&] { return value; });
    EXPECT_EQ(set(value, dst.data(), dst.step(), dst.size()), 0);
    ASSERT_TRUE(dst.sameAs(want) && dst.marginIntact());
  }
}

template <class T>
void expectRows(RkdStatus (*copy)(const T*, T*, int), RkdStatus (*set)(T, T*, int),
                RkdStatus (*zero)(T*, int)) {
  Random random;
  const T value = static_cast<T>(0x81726354);
  for (const Place place : places()) {
    Canvas<T> src(sz(29, 1), 1, place), dst(sz(29, 1), 1, {place.offset ^ 9, 0});
    src.fillLimitsAndRandom(random);
    EXPECT_EQ(copy(src.data(), dst.data(), 29), 0);
    ASSERT_TRUE(dst.sameAs(src) && dst.marginIntact());
    EXPECT_EQ(set(value, dst.data(), 29), 0);
    ASSERT_TRUE(dst.sameAs(src.fill([&] { return value; })) && dst.marginIntact());
    EXPECT_EQ(zero(dst.data(), 29), 0);
    ASSERT_TRUE(dst.sameAs(src.fill([] { return 0; })) && dst.marginIntact());
  }
}

TEST(CopyAndSet, RowsAndRegionsOfAnyAlignment) {
  expectCopies<uint8_t, 1>(rkdiCopy_8u_C1R);
  expectCopies<uint8_t, 3>(rkdiCopy_8u_C3R);
  expectCopies<int16_t, 1>(rkdiCopy_16s_C1R);
  expectCopies<int32_t, 1>(rkdiCopy_32s_C1R);
  expectSets<uint8_t>(rkdiSet_8u_C1R);
  expectSets<int16_t>(rkdiSet_16s_C1R);
  expectSets<int32_t>(rkdiSet_32s_C1R);
  expectRows<uint8_t>(rkdsCopy_8u, rkdsSet_8u, rkdsZero_8u);
  expectRows<int16_t>(rkdsCopy_16s, rkdsSet_16s, rkdsZero_16s);
  expectRows<int32_t>(rkdsCopy_32s, rkdsSet_32s, rkdsZero_32s);
}

}  // namespace
