// Core services of a scripted library.
#include "tzenv.h"

#include <dlfcn.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "capture.h"
#include "testpaths.h"
#include "tzcpu.h"
#include "tzsymbols.h"

namespace {

// A scripted library: what it answers and what it was asked.
RkdStatus s_initStatus, s_cpuStatus, s_threadStatus;
std::string s_calls;

RkdStatus scriptedInit() {
  s_calls += "init ";
  return s_initStatus;
}
RkdStatus scriptedInitCpu(RkdCpuType type) {
  s_calls += "cpu" + std::to_string(type) + " ";
  return s_cpuStatus;
}
RkdStatus scriptedSetNumThreads(int count) {
  s_calls += "threads" + std::to_string(count) + " ";
  return s_threadStatus;
}
const char* scriptedText(RkdStatus status) { return status < 0 ? "bad" : "odd"; }

void scriptedEnvironment() {
  rkd_Init = scriptedInit;
  rkd_InitCpu = scriptedInitCpu;
  rkd_SetNumThreads = scriptedSetNumThreads;
  rkd_GetStatusString = scriptedText;
}

class Environment : public testing::Test {
 protected:
  Environment() { reset(); }
  ~Environment() override { reset(); }

  static void reset() {
    rkd_GetCpuType = nullptr;
    rkd_GetNumCoresOnDie = nullptr;
    rkd_GetMaxCacheSizeB = nullptr;
    rkd_GetStatusString = nullptr;
    rkd_Init = nullptr;
    rkd_InitCpu = nullptr;
    rkd_SetNumThreads = nullptr;
    rkdEnvironment = nullptr;
    delete rkdVersionList;
    rkdVersionList = nullptr;
    s_cpuType = -1;
    s_numThreads = 0;
    s_initStatus = s_cpuStatus = s_threadStatus = 0;
    s_calls.clear();
  }
};

}  // namespace

TEST_F(Environment, WithoutALibraryTheFallbacksAnswer) {
  Console console;
  EXPECT_EQ(setRkdEnvironment(), 1);
  EXPECT_EQ(console.text(), "");
  EXPECT_EQ(rkd_Init(), -2);
  EXPECT_EQ(rkd_InitCpu(rkdCpuSSE2), -2);
  EXPECT_EQ(rkd_SetNumThreads(2), -2);
  EXPECT_STREQ(rkd_GetStatusString(-2), "Error");
  EXPECT_STREQ(rkd_GetStatusString(0), "OK");
  EXPECT_STREQ(rkd_GetStatusString(3), "Warning");
  EXPECT_EQ(rkd_GetCpuType(), tz_rkdGetCpuType());
  EXPECT_GE(rkd_GetNumCoresOnDie(), 1);
  int fromEntry = -1, own = -1;
  EXPECT_EQ(rkd_GetMaxCacheSizeB(&fromEntry), tz_rkdGetMaxCacheSizeB(&own));
  EXPECT_EQ(fromEntry, own);

  // Nothing is applied to a library that is not there.
  s_cpuType = rkdCpuAVX;
  s_numThreads = 4;
  initStaticCpu();
  setNumThreads();
  setRkdLibInfo();
  EXPECT_EQ(console.text(), "");
}

TEST_F(Environment, TheLastRegisteredLibraryIsUsedAndItsGapsFilled) {
  Console console;
  EXPECT_EQ(tzRegRkdEnvironment([] { s_calls += "never "; }), 1);
  EXPECT_EQ(tzRegRkdEnvironment(scriptedEnvironment), 1);
  setRkdEnvironment();
  EXPECT_EQ(console.text(), "\nRKD Core library functions have been integrated into TZ\n");
  EXPECT_EQ(s_calls, "");
  EXPECT_EQ(rkd_Init, scriptedInit);
  EXPECT_STREQ(rkd_GetStatusString(1), "odd");
  EXPECT_EQ(rkd_GetCpuType(), tz_rkdGetCpuType()) << "the scripted library has none";
}

TEST_F(Environment, TheProcessorTypeIsAppliedWithItsMessages) {
  tzRegRkdEnvironment(scriptedEnvironment);
  setRkdEnvironment();
  struct Case {
    int type;
    RkdStatus cpu, init;
    const char* calls;
    const char* text;
  };
  const std::string modelB = "\n--calling rkdInitCpu( rkdCpuModelB=34 )\n";
  const std::string avx2 = "\n--calling rkdInitCpu( rkdCpuAVX2=71 )\n";
  const std::string refused = avx2 + "--RKD ERROR. status = -9: bad\n--calling rkdInit()\n";
  const std::string refusedTwice = refused + "--RKD ERROR. status = -1: bad\n";
  const std::string warned = avx2 + "--RKD WARNING. status = 5: odd\n";
  const std::string good = modelB + "--status = rkdStsNoErr\n";
  const Case cases[] = {
      {-1, 0, -1, "init ", ""},  // the library's own choice is not told about
      {34, 0, 0, "cpu34 ", good.c_str()},
      {71, 5, 0, "cpu71 ", warned.c_str()},
      {71, -9, 5, "cpu71 init ", refused.c_str()},
      {71, -9, -1, "cpu71 init ", refusedTwice.c_str()},
  };
  for (const Case& c : cases) {
    Console console(L_ERR);
    s_cpuType = c.type;
    s_cpuStatus = c.cpu;
    s_initStatus = c.init;
    s_calls.clear();
    initStaticCpu();
    EXPECT_EQ(s_calls, c.calls);
    EXPECT_EQ(console.text(), c.text);
  }
  EXPECT_EQ(g_ostrm.msgLevel(), L_PERF) << "the level before is back";
}

TEST_F(Environment, ALibraryThatCannotSwitchSaysSoAndChoosesItself) {
  tzRegRkdEnvironment([] { rkd_Init = scriptedInit; });
  setRkdEnvironment();
  Console console(L_ERR);
  s_cpuType = rkdCpuSSE41;
  initStaticCpu();
  EXPECT_EQ(console.text(),
            "\n--calling rkdInitCpu( rkdCpuSSE41=68 )\n--RKD ERROR. status = -2: Error\n"
            "--calling rkdInit()\n");
  EXPECT_EQ(s_calls, "init ");
}

TEST_F(Environment, TheThreadCountIsAppliedWithItsMessages) {
  tzRegRkdEnvironment(scriptedEnvironment);
  setRkdEnvironment();
  Console console(L_ERR);
  for (const int none : {0, -3}) {
    s_numThreads = none;
    setNumThreads();
  }
  EXPECT_EQ(s_calls + console.text(), "");

  s_numThreads = 8;
  setNumThreads();
  EXPECT_EQ(console.take(), "\n--calling rkdSetNumThreads( 8 )\n--status = rkdStsNoErr\n");
  s_threadStatus = 2;
  setNumThreads();
  EXPECT_EQ(console.take(), "\n--calling rkdSetNumThreads( 8 )\n--RKD WARNING. status = 2: odd\n");
  s_threadStatus = -2;
  setNumThreads();
  EXPECT_EQ(console.take(), "\n--calling rkdSetNumThreads( 8 )\n--RKD ERROR. status = -2: bad\n");
  EXPECT_EQ(s_calls, "threads8 threads8 threads8 ");
}

TEST_F(Environment, LibraryVersionsReachTheTitleInOrder) {
  static const RkdLibraryVersion first{1, 2, 3, "one", "1.2", "2001-02-03", ""};
  static const RkdLibraryVersion second{4, 5, 6, "two", "4.5", "2004-05-06", ""};
  tzRegRkdVersion([] { return &first; });
  tzRegRkdVersion([]() -> const RkdLibraryVersion* { return nullptr; });
  tzRegRkdVersion([] { return &second; });
  const int before = tzLibInfo().count();
  Console console;
  setRkdLibInfo();
  EXPECT_EQ(console.text(), "RKD libraries information has been set into TZ\n");
  ASSERT_EQ(tzLibInfo().count(), before + 2);
  EXPECT_EQ(tzLibInfo().back(), "two, 4.5, 2004-05-06");
  EXPECT_EQ(*std::prev(tzLibInfo().end(), 2), "one, 1.2, 2001-02-03");
}

TEST_F(Environment, ProcessorTypesHaveNames) {
  tzStringList names;
  EXPECT_EQ(tzCpuType::optimizedList().parse(names, ", "), 15);
  for (const tzString& name : names) {
    const int code = tzCpuType::cpuType(name.toLower());
    EXPECT_GT(code, 0) << name.c_str();
    EXPECT_EQ(tzCpuType::cpuName(code), name);
    EXPECT_EQ(tzCpuType::cpuLabel(code).toLower(), name.toLower());
  }
  EXPECT_EQ(tzCpuType::cpuType("sSe41"), rkdCpuSSE41);
  EXPECT_EQ(tzCpuType::cpuType("MODELA"), rkdCpuModelA);
  EXPECT_EQ(tzCpuType::cpuType("avx512"), rkdCpuAVX512);
  EXPECT_EQ(tzCpuType::cpuType("64"), rkdCpu64);
  for (const char* wrong : {"", "SS", "SSE5", "modelF", "65", "-1"}) {
    EXPECT_EQ(tzCpuType::cpuType(wrong), -1) << wrong;
  }
  EXPECT_EQ(tzCpuType::cpuName(-1), "Unknown");
  EXPECT_EQ(tzCpuType::cpuLabel(1), "Unknown");
}

TEST(Symbols, ExportedFunctionsOfLoadedLibraries) {
  tzStringList names;
  EXPECT_EQ(tzListExportedFunctions(names, "rkd"), 0) << "nothing of it is loaded here";

  const std::string path = TAZMET_BIN_DIR "/../lib/librkdjpeg.so.1";
  void* const library = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
  ASSERT_NE(library, nullptr) << dlerror();
  const int count = tzListExportedFunctions(names, "rkd");
  EXPECT_EQ(names.count(), count);
  const auto notBefore = [](const tzString& a, const tzString& b) { return a.compare(b) >= 0; };
  EXPECT_EQ(std::adjacent_find(names.begin(), names.end(), notBefore), names.end())
      << "sorted, and no name twice";
  const auto has = [&](const char* name) {
    return std::find(names.begin(), names.end(), tzString(name)) != names.end();
  };
  EXPECT_TRUE(has("rkdiAdd128_JPEG_16s8u_C1R"));
  EXPECT_TRUE(has("rkdjpegGetLibVersion"));
  EXPECT_FALSE(has("rkdiNoSuchFunction"));
  for (const tzString& name : names) {
    EXPECT_NE(dlsym(library, name.c_str()), nullptr) << name.c_str();
  }
  dlclose(library);

  tzStringList others;
  tzListExportedFunctions(others, "mallo", "libc.so");
  EXPECT_NE(std::find(others.begin(), others.end(), tzString("malloc")), others.end());
  EXPECT_EQ(tzListExportedFunctions(others, "", "libnothing"), 0);
}
