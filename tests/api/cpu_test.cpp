// Processor identification, asked about processors that exist only here.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <climits>
#include <cstring>
#include <map>
#include <utility>
#include <vector>

#include "tzcpu.h"
#include "tzcpuinfo.h"

namespace {

using testing::HasSubstr;
using testing::Not;

// A processor made of its leaves; a leaf that is not there answers zeros.
struct MadeUpCpu {
  std::map<std::pair<uint32_t, uint32_t>, tzCpuidRegs> leaves;

  MadeUpCpu(uint32_t maxLeaf, const char* vendor) {
    tzCpuidRegs regs{maxLeaf};
    std::memcpy(&regs.ebx, vendor, 4);
    std::memcpy(&regs.edx, vendor + 4, 4);
    std::memcpy(&regs.ecx, vendor + 8, 4);
    leaves[{0, 0}] = regs;
  }
  MadeUpCpu& set(uint32_t leaf, tzCpuidRegs regs, uint32_t subLeaf = 0) {
    leaves[{leaf, subLeaf}] = regs;
    return *this;
  }
  // Leaves can be added after this: the cpu asks this object.
  tzCpuid cpu() const {
    return [this](uint32_t leaf, uint32_t subLeaf) {
      const auto found = leaves.find({leaf, subLeaf});
      return found == leaves.end() ? tzCpuidRegs{} : found->second;
    };
  }
};

constexpr const char* ortan = "GenuineOrtan";
constexpr const char* other = "OtherVendor!";

constexpr uint32_t b(unsigned n) { return 1U << n; }

TEST(Cpuid, TheFeatureRecordTakesItsFieldsFromTheirBits) {
  MadeUpCpu made(4, ortan);
  made.set(1, {0xFFFFFFFF, 0, 0, 0});
  RkdCpuIdent ident;
  rkd_get_quorvex_ident(&ident, made.cpu());
  EXPECT_EQ(ident.family, 15U);
  EXPECT_EQ(ident.stepping, 15U);
  EXPECT_EQ(ident.model, 15U);
  EXPECT_EQ(ident.type, 3U);
  EXPECT_EQ(ident.extFamily, 255U);
  EXPECT_EQ(ident.extModel, 15U);
  EXPECT_EQ(ident.cores, 1U);

  made.set(1, {b(11), 0, 0, 0});
  rkd_get_quorvex_ident(&ident, made.cpu());
  EXPECT_EQ(ident.family, 8U);
  EXPECT_EQ(ident.type, 1U) << "bit 11 belongs to family and type";

  made.set(2, {0x11, 0x22, 0x33, 0x44}).set(4, {5U << 26, 0, 0, 0});
  made.set(0x80000000, {0x80000001}).set(0x80000001, {0, 0, 0, b(29)});
  rkd_get_quorvex_ident(&ident, made.cpu());
  EXPECT_EQ(ident.leaf2Eax, 0x11U);
  EXPECT_EQ(ident.leaf2Edx, 0x44U);
  EXPECT_EQ(ident.cores, 6U);
  EXPECT_EQ(ident.mode64, 1U);

  made.set(0x80000000, {0x80000000});
  made.leaves[{0, 0}].eax = 3;
  rkd_get_quorvex_ident(&ident, made.cpu());
  EXPECT_EQ(ident.mode64, 0U) << "the extended leaf is beyond the highest";
  EXPECT_EQ(ident.cores, 1U) << "leaf 4 is beyond the highest";
}

TEST(Cpuid, EveryFlagComesFromItsOwnBitInRecordAndTestAlike) {
  struct Flag {
    bool inEcx;
    unsigned bit;
    uint32_t RkdCpuIdent::*field;
    int (*test)(const tzCpuid&);
  };
  const Flag flags[] = {
      {false, 4, nullptr, rkd_has_rdtsc},
      {false, 23, &RkdCpuIdent::mmx, rkd_is_mmx_extension},
      {false, 25, &RkdCpuIdent::sse, rkd_is_ssx_extension},
      {false, 26, &RkdCpuIdent::sse2, rkd_is_wni_extension},
      {true, 0, &RkdCpuIdent::sse3, rkd_is_pni_extension},
      {true, 9, &RkdCpuIdent::ssse3, rkd_is_mni_extension},
      {true, 19, &RkdCpuIdent::sse41, rkd_is_sse41_extension},
      {true, 20, &RkdCpuIdent::sse42, rkd_is_sse42_extension},
      {true, 22, &RkdCpuIdent::movbe, rkd_is_movbe},
      {true, 27, &RkdCpuIdent::osxsave, nullptr},
      {true, 28, &RkdCpuIdent::avx, rkd_is_avx_extension},
  };
  for (unsigned bit = 0; bit < 64; ++bit) {
    MadeUpCpu made(1, other);
    made.set(1, {0, 0, bit < 32 ? 0 : b(bit - 32), bit < 32 ? b(bit) : 0});
    RkdCpuIdent ident;
    rkd_get_quorvex_ident(&ident, made.cpu());
    for (const Flag& flag : flags) {
      const uint32_t want = flag.bit + (flag.inEcx ? 32 : 0) == bit ? 1 : 0;
      const uint32_t field = flag.field ? ident.*flag.field : want;
      const int test = flag.test ? flag.test(made.cpu()) : static_cast<int>(want);
      EXPECT_EQ(field, want) << bit << " for " << flag.bit;
      EXPECT_EQ(test, static_cast<int>(want)) << bit << " for " << flag.bit;
    }
  }
  MadeUpCpu threads(1, other);
  for (const uint32_t count : {0U, 1U, 2U}) {
    threads.set(1, {0, count << 16, 0, b(28)});
    EXPECT_EQ(rkd_is_htt_extension(threads.cpu()), count > 1 ? 1 : 0);
  }
}

TEST(Cpuid, WithoutTheInstructionNothingIsKnown) {
  const tzCpuid none;
  int size = 5;
  EXPECT_EQ(rkd_has_cpuid(none), 0);
  EXPECT_EQ(rkd_max_cpuid_input(none), 0);
  EXPECT_EQ(rkd_has_rdtsc(none), 0);
  EXPECT_EQ(rkd_is_GenuineOrtan(none), 0);
  EXPECT_EQ(tz_rkdGetCpuType(none), cpuUnknown);
  EXPECT_EQ(tz_rkdGetMaxCacheSizeB(&size, none), cacheNotSupported);
  EXPECT_EQ(size, 0);
  EXPECT_THAT(tzCpuReport(none).str(), HasSubstr("no CPUID instruction"));
}

TEST(CpuType, ModelsOfTheVendorAndTheChainOfFeatures) {
  struct Case {
    const char* what;
    bool vendor;
    RkdCpuIdent ident;
    tzCpuCode code;
  };
  // The last of these has everything up to SSE4.2.
  const auto with = [](RkdCpuIdent ident, int features) {
    uint32_t* const chain[] = {&ident.sse,   &ident.sse2,  &ident.sse3, &ident.ssse3,
                               &ident.sse41, &ident.sse42, &ident.avx};
    for (int i = 0; i < features; ++i) *chain[i] = 1;
    return ident;
  };
  const auto model = [](uint32_t number, uint32_t cores = 2) {
    return RkdCpuIdent{.family = 6, .model = number & 15, .cores = cores, .extModel = number >> 4};
  };
  RkdCpuIdent small = with(model(28), 4);
  small.movbe = 1;
  const Case cases[] = {
      {"nothing", false, {}, cpuUnknown},
      {"64-bit mode alone", false, {.mode64 = 1}, cpu64},
      {"SSE", false, with({.mode64 = 1}, 1), cpuSSE},
      {"SSE2", false, with({}, 2), cpuSSE2},
      {"SSE3", false, with({}, 3), cpuSSE3},
      {"SSSE3", false, with({}, 4), cpuSSSE3},
      {"SSE4.1", false, with({}, 5), cpuSSE41},
      {"SSE4.2", false, with({}, 6), cpuSSE42},
      {"AVX, any vendor", false, with(model(26), 7), cpuAVX},
      {"model 15, two cores", true, with(model(15), 4), cpuModelA},
      {"model 15, three cores", true, with(model(15, 3), 4), cpuModelB},
      {"model 15 without SSSE3", true, with(model(15), 3), cpuSSE3},
      {"model 23", true, with(model(23), 5), cpuModelC},
      {"model 23 without SSE4.1", true, with(model(23), 4), cpuSSSE3},
      {"model 26", true, with(model(26), 6), cpuModelE},
      {"model 26 with AVX", true, with(model(26), 7), cpuAVX},
      {"model 26 without SSE4.2", true, with(model(26), 5), cpuSSE41},
      {"model 28", true, small, cpuModelD},
      {"model 28 without MOVBE", true, with(model(28), 4), cpuSSSE3},
      {"another vendor's model 23", false, with(model(23), 5), cpuSSE41},
      {"family 15", true, with({.family = 15}, 7), cpuSSE3},
      {"family 15, extended", true, with({.family = 15, .extFamily = 1}, 6), cpuSSE42},
      {"another vendor's family 15", false, with({.family = 15}, 2), cpuSSE2},
      {"family 7: no extended model", true, with({.family = 7, .model = 7, .extModel = 1}, 5),
       cpuSSE41},
  };
  for (const Case& c : cases) EXPECT_EQ(tzClassifyCpu(c.ident, c.vendor), c.code) << c.what;
}

TEST(CpuType, TheVendorIsReadFromTheProcessor) {
  // Family 6, model 23, SSE4.1.
  const tzCpuidRegs leaf1{0x00010670, 0, b(19), 0};
  EXPECT_EQ(tz_rkdGetCpuType(MadeUpCpu(1, ortan).set(1, leaf1).cpu()), cpuModelC);
  MadeUpCpu foreign(1, other);
  foreign.set(1, leaf1);
  EXPECT_EQ(tz_rkdGetCpuType(foreign.cpu()), cpuSSE41);
}

int cacheSize(const MadeUpCpu& made, int status = cacheOk) {
  int size = -1;
  EXPECT_EQ(tz_rkdGetMaxCacheSizeB(&size, made.cpu()), status);
  return size;
}

TEST(CacheSize, DescriptorsOfTheOldLeaf) {
  MadeUpCpu made(3, ortan);
  made.set(2, {0x00002C01, 0x0000307D, 0, 0});
  EXPECT_EQ(cacheSize(made), 2 << 20) << "only one of the three is a size";
  made.set(2, {0x00427D01, 0, 0x43000000, 0x00480000});
  EXPECT_EQ(cacheSize(made), 3 << 20) << "the largest, in whatever byte";
  made.set(2, {0x01, 0, 0, 0x8000007D});
  EXPECT_EQ(cacheSize(made, cacheNotFound), 0) << "a register with bit 31 says nothing";
  made.set(2, {0x80007D01, 0x42, 0, 0});
  EXPECT_EQ(cacheSize(made), 256 << 10) << "the first register is no exception";
  made.set(2, {0x7D02, 0x7D, 0, 0});
  EXPECT_EQ(cacheSize(made, cacheNotFound), 0) << "two rounds";
  made.set(2, {0x7D000001 & 0xFF, 0x2C, 0, 0});
  EXPECT_EQ(cacheSize(made, cacheNotFound), 0);
}

TEST(CacheSize, EveryDescriptorHasItsSize) {
  const std::map<int, std::vector<uint32_t>> table = {
      {24576, {0xEC}},
      {18432, {0xEB}},
      {16384, {0x4D}},
      {12288, {0xEA, 0x4C}},
      {8192, {0xE4, 0xDE, 0x4B, 0x47}},
      {6144, {0x4E, 0x4A}},
      {4096, {0xE3, 0xDD, 0xD8, 0x49, 0x29, 0x46}},
      {3072, {0x48}},
      {2048, {0xE2, 0xDC, 0xD7, 0xD2, 0x25, 0x7D, 0x85, 0x45}},
      {1024, {0xD6, 0xD1, 0x23, 0x87, 0x7C, 0x78, 0x84, 0x44}},
      {512, {0xD0, 0x22, 0x7B, 0x80, 0x86, 0x3E, 0x7F, 0x83, 0x43}},
      {384, {0x3D}},
      {256, {0x21, 0x7A, 0x82, 0x3C, 0x3F, 0x42}}};
  std::map<uint32_t, int> want;
  for (const auto& [kib, codes] : table) {
    for (const uint32_t code : codes) want[code] = kib * 1024;
  }
  for (uint32_t code = 0; code < 256; ++code) {
    MadeUpCpu made(2, ortan);
    made.set(2, {0x01, code << 8, 0, 0});
    const bool known = want.count(code) != 0;
    EXPECT_EQ(cacheSize(made, known ? cacheOk : cacheNotFound), known ? want[code] : 0) << code;
  }
}

// (ways, line, sets) of one cache; `type` 1 data, 2 code, 3 unified.
tzCpuidRegs cache(uint32_t type, uint32_t ways, uint32_t line, uint32_t sets, uint32_t level = 1) {
  return {type | level << 5, (ways - 1) << 22 | (line - 1), sets - 1, 0};
}

TEST(CacheSize, ParametersOfTheDeterministicLeaf) {
  MadeUpCpu made(4, ortan);
  made.set(2, {0x7D01, 0, 0, 0});
  EXPECT_EQ(cacheSize(made, cacheNotFound), 0) << "the old leaf does not count here";
  made.set(4, cache(1, 8, 64, 64), 0).set(4, cache(2, 1024, 4096, 65536), 1);
  EXPECT_EQ(cacheSize(made), 32 << 10) << "a code cache does not count";
  made.set(4, cache(3, 16, 64, 4096), 2).set(4, cache(3, 8, 64, 1024), 3);
  EXPECT_EQ(cacheSize(made), 4 << 20) << "the largest, not the last";
  made.set(4, cache(3, 16, 64, 65536), 5);
  EXPECT_EQ(cacheSize(made), 4 << 20) << "nothing counts after the end";
  made.set(4, {3, 0xFFFFFFFF, 0xFFFFFFFF, 0}, 4);
  EXPECT_EQ(cacheSize(made), INT_MAX);
  made.set(4, {3, 3U << 22 | 1U << 12 | 63, 127, 0}, 0);
  made.set(4, {}, 1);
  EXPECT_EQ(cacheSize(made), 4 * 2 * 64 * 128) << "partitions multiply";
  for (uint32_t i = 0; i < 40; ++i) made.set(4, cache(1, 1, 64, i + 1), i);
  EXPECT_EQ(cacheSize(made), 64 * 32) << "32 sub-leaves are asked, endless as they may be";
}

TEST(CacheSize, OnlyTheVendorsLeavesCount) {
  MadeUpCpu foreign(4, other);
  foreign.set(4, cache(1, 8, 64, 64));
  EXPECT_EQ(cacheSize(foreign, cacheNotSupported), 0);
  EXPECT_EQ(cacheSize(MadeUpCpu(1, ortan), cacheNotSupported), 0);
  int first = 0, second = 0;
  EXPECT_EQ(tz_rkdGetMaxCacheSizeB(&first), tz_rkdGetMaxCacheSizeB(&second));
  EXPECT_EQ(first, second);
}

TEST(CpuReport, DescribesSignatureFlagsThreadsAndCaches) {
  MadeUpCpu made(11, other);
  made.set(1, {0x00A20F12, 16U << 16, b(0) | b(28), b(25) | b(26) | b(28)});
  made.set(7, {0, b(5), 0, 0});
  made.set(11, {0, 2, 1U << 8, 0}, 0).set(11, {0, 16, 2U << 8, 0}, 1);
  made.set(0x80000000, {0x8000001D}).set(0x80000001, {0, 0, 0, b(29)});
  const char brand[49] = "  Some  fast, new Processor\0x";
  for (uint32_t i = 0; i < 3; ++i) {
    tzCpuidRegs regs;
    std::memcpy(&regs, brand + 16 * i, 16);
    made.set(0x80000002 + i, regs);
  }
  tzCpuidRegs shared = cache(3, 16, 64, 32768, 3);
  shared.eax |= 15U << 14;
  tzCpuidRegs full = cache(2, 1, 64, 512, 1);
  full.eax |= b(9);
  made.set(0x8000001D, cache(1, 8, 64, 64), 0).set(0x8000001D, full, 1);
  made.set(0x8000001D, shared, 2);
  const std::string report = tzCpuReport(made.cpu()).str();
  EXPECT_EQ(report.find("    Ortan(R) Processor Identification\n"
                        "    Got by CPUID Instruction Functions\n"
                        "    ATTENTION! It is not Genuine Ortan processor.\n"
                        "    Information below may be inadequate.\n"),
            0U);
  for (const char* line :
       {"Vendor            : OtherVendor!\n", "Name              : Some fast new Processor\n",
        "Signature         : 0x00A20F12\n", "Family            : 25\n", "Model             : 33\n",
        "Stepping          : 2\n", "Type for library  : 70\n",
        "      AVX               : 256-bit floating-point SIMD\n",
        "      AVX2              : 256-bit integer SIMD\n",
        "      LM                : 64-bit mode\n", "Logical processors: 16 in a package\n",
        "Cores             : 8 in a package\n", "Threads           : 2 in a core\n",
        "L1 data           : 32 KiB, 8 ways, lines of 64 bytes, 64 sets, shared by 1\n",
        "L1 code           : 32 KiB, fully associative,",
        "L3 unified        : 32768 KiB, 16 ways, lines of 64 bytes, 32768 sets, shared by 16\n"}) {
    EXPECT_THAT(report, HasSubstr(line));
  }
  EXPECT_THAT(report, Not(HasSubstr("MMX")));
}

TEST(CpuReport, AnOldProcessorOfTheVendor) {
  MadeUpCpu made(2, ortan);
  made.set(1, {0x00000F29, 2U << 16, 0, b(28)}).set(2, {0x7D01, 0, 0, 0});
  made.set(0, {2, made.leaves[{0, 0}].ebx, made.leaves[{0, 0}].ecx, made.leaves[{0, 0}].edx});
  EXPECT_EQ(tzCpuName(made.cpu()), "GenuineOrtan family 15 model 2");
  const std::string report = tzCpuReport(made.cpu()).str();
  EXPECT_THAT(report, Not(HasSubstr("ATTENTION")));
  EXPECT_THAT(report, HasSubstr("Threads           : 2 in a core\n"));
  EXPECT_THAT(report, HasSubstr("Largest cache     : 2048 KiB, by its descriptor\n"));
}

TEST(CpuReport, ThisMachineDescribesItself) {
  tzCacheLevel caches[32];
  const int count = tzGetCacheLevels(caches, 32);
  ASSERT_GT(count, 0);
  for (int i = 0; i < count; ++i) {
    EXPECT_GT(caches[i].size, 0U);
    EXPECT_EQ(caches[i].size % (caches[i].lineSize * caches[i].sets), 0U);
  }
  EXPECT_EQ(tzGetCacheLevels(caches, 1), 1);
  EXPECT_NE(tzCpuName(), "unknown processor");
}

}  // namespace
