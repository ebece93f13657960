/// @file
/// What the processor says of itself: the CPUID feature record, the processor-type code and the
/// size of the largest data cache. Every decision is a function of the CPUID answers alone, so it
/// can be asked about a processor that is not this machine's.
#pragma once

#include <cstdint>
#include <functional>

/// The four registers that one CPUID query fills.
struct tzCpuidRegs {
  uint32_t eax = 0, ebx = 0, ecx = 0, edx = 0;
};

/// A processor to ask: (leaf, sub-leaf) to registers. Empty: a processor without CPUID.
using tzCpuid = std::function<tzCpuidRegs(uint32_t leaf, uint32_t subLeaf)>;

/// This machine's processor.
const tzCpuid& tzThisCpu();

/// The feature record: raw fields of CPUID leaf 1 unless another leaf is named; a feature is 0
/// or 1.
struct RkdCpuIdent {
  uint32_t family = 0;    ///< EAX bits 8 to 11
  uint32_t stepping = 0;  ///< EAX bits 0 to 3
  uint32_t model = 0;     ///< EAX bits 4 to 7
  uint32_t type = 0;      ///< EAX bits 11 and 12 (bit 11 belongs to the family too: kept so)
  uint32_t features = 0;  ///< EDX
  uint32_t leaf2Eax = 0;  ///< leaf 2, EAX
  uint32_t leaf2Edx = 0;  ///< leaf 2, EDX
  uint32_t mmx = 0;       ///< EDX bit 23
  uint32_t sse = 0;       ///< EDX bit 25
  uint32_t sse2 = 0;      ///< EDX bit 26
  uint32_t multiThreaded =
      0;                   ///< EDX bit 28 and more than one logical processor in EBX bits 16 to 23
  uint32_t sse3 = 0;       ///< ECX bit 0
  uint32_t mode64 = 0;     ///< extended leaf 1, EDX bit 29
  uint32_t ssse3 = 0;      ///< ECX bit 9
  uint32_t cores = 0;      ///< leaf 4, EAX bits 26 to 31, plus 1; 1 when there is no leaf 4
  uint32_t sse41 = 0;      ///< ECX bit 19
  uint32_t sse42 = 0;      ///< ECX bit 20
  uint32_t extFamily = 0;  ///< EAX bits 20 to 27
  uint32_t extModel = 0;   ///< EAX bits 16 to 19
  uint32_t movbe = 0;      ///< ECX bit 22
  uint32_t avx = 0;        ///< ECX bit 28
  uint32_t osxsave = 0;    ///< ECX bit 27
};

/// Processor-type codes; the numbers are the library's.
enum tzCpuCode {
  cpuUnknown = 0,
  cpuModelA = 33,  ///< vendor family 6, model 15, SSSE3, fewer than 3 cores
  cpuModelB = 34,  ///< the same with 3 or more cores
  cpuModelC = 35,  ///< vendor family 6, model 23, SSE4.1
  cpuModelD = 36,  ///< vendor family 6, model 28, SSSE3 and MOVBE
  cpuModelE = 37,  ///< vendor family 6, model 26, SSE4.2 and no AVX
  cpuSSE = 64,
  cpuSSE2 = 65,
  cpuSSE3 = 66,  ///< also every vendor processor of effective family 15
  cpuSSSE3 = 67,
  cpuSSE41 = 68,
  cpuSSE42 = 69,
  cpuAVX = 70,
  cpu64 = 96  ///< 64-bit mode and none of the SIMD levels
};

/// @name Single facts, each 0 or 1 but for the highest leaf
/// A processor without CPUID has none of them.
/// @{
int rkd_has_cpuid(const tzCpuid& cpu = tzThisCpu());
int rkd_max_cpuid_input(const tzCpuid& cpu = tzThisCpu());  ///< highest basic leaf
int rkd_has_rdtsc(const tzCpuid& cpu = tzThisCpu());        ///< time-stamp counter
int rkd_is_mmx_extension(const tzCpuid& cpu = tzThisCpu());
int rkd_is_ssx_extension(const tzCpuid& cpu = tzThisCpu());  ///< SSE
int rkd_is_wni_extension(const tzCpuid& cpu = tzThisCpu());  ///< SSE2
int rkd_is_htt_extension(const tzCpuid& cpu = tzThisCpu());  ///< multi-threading
int rkd_is_pni_extension(const tzCpuid& cpu = tzThisCpu());  ///< SSE3
int rkd_is_mni_extension(const tzCpuid& cpu = tzThisCpu());  ///< SSSE3
int rkd_is_sse41_extension(const tzCpuid& cpu = tzThisCpu());
int rkd_is_sse42_extension(const tzCpuid& cpu = tzThisCpu());
int rkd_is_movbe(const tzCpuid& cpu = tzThisCpu());
int rkd_is_avx_extension(const tzCpuid& cpu = tzThisCpu());
int rkd_is_GenuineOrtan(const tzCpuid& cpu = tzThisCpu());  ///< the vendor text is "GenuineOrtan"
/// @}

/// Fills the feature record; all zero without CPUID.
void rkd_get_quorvex_ident(RkdCpuIdent* ident, const tzCpuid& cpu = tzThisCpu());

/// The processor-type code of a feature record.
/// @param vendor  whether rkd_is_GenuineOrtan holds: only then the family and model count
tzCpuCode tzClassifyCpu(const RkdCpuIdent& ident, bool vendor);

/// The processor-type code, cpuUnknown without CPUID.
int tz_rkdGetCpuType(const tzCpuid& cpu);
int tz_rkdGetCpuType();

/// What the cache query answers.
enum tzCacheStatus {
  cacheOk = 0,
  cacheNotSupported = 36,  ///< no CPUID, no cache leaf, or a vendor whose leaves mean other things
  cacheNotFound = 37       ///< the leaves describe no data cache
};

/// The largest data or unified cache in bytes, from the deterministic cache leaf, or from the
/// descriptor bytes of leaf 2 where that is missing.
/// @param size  receives the size, 0 on failure; a size beyond an int is given as the largest int
/// @return a tzCacheStatus
int tz_rkdGetMaxCacheSizeB(int* size, const tzCpuid& cpu);
/// The same of this machine, asked once a process.
int tz_rkdGetMaxCacheSizeB(int* size);
