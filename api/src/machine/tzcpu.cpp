// CPUID: features, processor type, caches.
#include "tzcpu.h"

#include <cpuid.h>

#include <climits>
#include <cstring>

namespace {

constexpr uint32_t kExtendedLeaves = 0x80000000U;

constexpr uint32_t bits(uint32_t value, unsigned first, unsigned count) {
  return (value >> first) & ((1U << count) - 1);
}
constexpr uint32_t bit(uint32_t value, unsigned n) { return bits(value, n, 1); }

tzCpuidRegs askThisCpu(uint32_t leaf, uint32_t subLeaf) {
  tzCpuidRegs regs;
  __cpuid_count(leaf, subLeaf, regs.eax, regs.ebx, regs.ecx, regs.edx);
  return regs;
}

tzCpuidRegs leaf1(const tzCpuid& cpu) {
  return rkd_max_cpuid_input(cpu) >= 1 ? cpu(1, 0) : tzCpuidRegs{};
}

struct CacheDescriptor {
  uint8_t code;
  uint16_t kib;
};

// Leaf-2 descriptor bytes of data and unified caches, largest first, so that the first one found is
// the answer.
constexpr CacheDescriptor tableCache[] = {
    {0xEC, 24576}, {0xEB, 18432}, {0x4D, 16384}, {0xEA, 12288}, {0x4C, 12288}, {0xE4, 8192},
    {0xDE, 8192},  {0x4B, 8192},  {0x47, 8192},  {0x4E, 6144},  {0x4A, 6144},  {0xE3, 4096},
    {0xDD, 4096},  {0xD8, 4096},  {0x49, 4096},  {0x29, 4096},  {0x46, 4096},  {0x48, 3072},
    {0xE2, 2048},  {0xDC, 2048},  {0xD7, 2048},  {0xD2, 2048},  {0x25, 2048},  {0x7D, 2048},
    {0x85, 2048},  {0x45, 2048},  {0xD6, 1024},  {0xD1, 1024},  {0x23, 1024},  {0x87, 1024},
    {0x7C, 1024},  {0x78, 1024},  {0x84, 1024},  {0x44, 1024},  {0xD0, 512},   {0x22, 512},
    {0x7B, 512},   {0x80, 512},   {0x86, 512},   {0x3E, 512},   {0x7F, 512},   {0x83, 512},
    {0x43, 512},   {0x3D, 384},   {0x21, 256},   {0x7A, 256},   {0x82, 256},   {0x3C, 256},
    {0x3F, 256},   {0x42, 256},   {0, 0},
};

// The largest size in leaf 2; 0 when the leaf is not of the one-round form or knows none.
int cacheOfDescriptors(const tzCpuid& cpu) {
  const tzCpuidRegs regs = cpu(2, 0);
  if ((regs.eax & 0xFF) != 1) return 0;  // more rounds: no processor was ever made that way
  bool present[256] = {};
  const uint32_t words[] = {regs.eax & ~0xFFU, regs.ebx, regs.ecx, regs.edx};
  for (const uint32_t word : words) {
    if (bit(word, 31)) continue;  // the register carries no descriptors
    for (unsigned shift = 0; shift < 32; shift += 8) present[bits(word, shift, 8)] = true;
  }
  for (const CacheDescriptor* entry = tableCache; entry->code != 0; ++entry) {
    if (present[entry->code]) return entry->kib * 1024;
  }
  return 0;
}

// The largest size in leaf 4; 0 when it lists no data cache.
int cacheOfParameters(const tzCpuid& cpu) {
  constexpr uint32_t noCache = 0;
  constexpr uint32_t codeCache = 2;
  constexpr uint64_t largest = INT_MAX;
  uint64_t best = 0;
  for (uint32_t subLeaf = 0; subLeaf < 32; ++subLeaf) {
    const tzCpuidRegs regs = cpu(4, subLeaf);
    const uint32_t type = bits(regs.eax, 0, 5);
    if (type == noCache) break;
    if (type == codeCache) continue;
    const uint64_t set = (bits(regs.ebx, 22, 10) + uint64_t{1}) * (bits(regs.ebx, 12, 10) + 1) *
                         (bits(regs.ebx, 0, 12) + 1);
    const uint64_t sets = regs.ecx + uint64_t{1};
    const uint64_t size = sets > largest / set ? largest : set * sets;
    if (size > best) best = size;
  }
  return static_cast<int>(best);
}

uint32_t effectiveModel(const RkdCpuIdent& ident) {
  const bool extended = ident.family == 6 || ident.family == 15;
  return ident.model + (extended ? ident.extModel * 16 : 0);
}

// The codes that name one model of the vendor; cpuUnknown when its rule is not met.
tzCpuCode classifyModel(const RkdCpuIdent& ident) {
  if (ident.family == 15 && ident.extFamily == 0) return cpuSSE3;
  if (ident.family != 6) return cpuUnknown;
  switch (effectiveModel(ident)) {
    case 15:
      if (ident.ssse3) return ident.cores < 3 ? cpuModelA : cpuModelB;
      break;
    case 23:
      if (ident.sse41) return cpuModelC;
      break;
    case 26:
      if (ident.avx) return cpuAVX;
      if (ident.sse42) return cpuModelE;
      break;
    case 28:
      if (ident.ssse3 && ident.movbe) return cpuModelD;
      break;
    default:
      break;
  }
  return cpuUnknown;
}

}  // namespace

const tzCpuid& tzThisCpu() {
  // __get_cpuid_max tells 0 on the processors that lack the instruction; all with 64-bit mode have
  // it.
  static const tzCpuid cpu = __get_cpuid_max(0, nullptr) ? tzCpuid(askThisCpu) : tzCpuid();
  return cpu;
}

int rkd_has_cpuid(const tzCpuid& cpu) { return cpu ? 1 : 0; }

int rkd_max_cpuid_input(const tzCpuid& cpu) {
  return cpu ? static_cast<int>(cpu(0, 0).eax & INT_MAX) : 0;
}

int rkd_has_rdtsc(const tzCpuid& cpu) { return static_cast<int>(bit(leaf1(cpu).edx, 4)); }
int rkd_is_mmx_extension(const tzCpuid& cpu) { return static_cast<int>(bit(leaf1(cpu).edx, 23)); }
int rkd_is_ssx_extension(const tzCpuid& cpu) { return static_cast<int>(bit(leaf1(cpu).edx, 25)); }
int rkd_is_wni_extension(const tzCpuid& cpu) { return static_cast<int>(bit(leaf1(cpu).edx, 26)); }
int rkd_is_pni_extension(const tzCpuid& cpu) { return static_cast<int>(bit(leaf1(cpu).ecx, 0)); }
int rkd_is_mni_extension(const tzCpuid& cpu) { return static_cast<int>(bit(leaf1(cpu).ecx, 9)); }
int rkd_is_sse41_extension(const tzCpuid& cpu) { return static_cast<int>(bit(leaf1(cpu).ecx, 19)); }
int rkd_is_sse42_extension(const tzCpuid& cpu) { return static_cast<int>(bit(leaf1(cpu).ecx, 20)); }
int rkd_is_movbe(const tzCpuid& cpu) { return static_cast<int>(bit(leaf1(cpu).ecx, 22)); }
int rkd_is_avx_extension(const tzCpuid& cpu) { return static_cast<int>(bit(leaf1(cpu).ecx, 28)); }

int rkd_is_htt_extension(const tzCpuid& cpu) {
  const tzCpuidRegs regs = leaf1(cpu);
  return bit(regs.edx, 28) && bits(regs.ebx, 16, 8) > 1 ? 1 : 0;
}

int rkd_is_GenuineOrtan(const tzCpuid& cpu) {
  if (!cpu) return 0;
  const tzCpuidRegs regs = cpu(0, 0);
  const uint32_t text[] = {regs.ebx, regs.edx, regs.ecx};
  static_assert(sizeof(text) == sizeof("GenuineOrtan") - 1);
  return std::memcmp(text, "GenuineOrtan", sizeof(text)) == 0 ? 1 : 0;
}

void rkd_get_quorvex_ident(RkdCpuIdent* ident, const tzCpuid& cpu) {
  *ident = {};
  if (!cpu) return;
  const int maxLeaf = rkd_max_cpuid_input(cpu);
  const tzCpuidRegs one = leaf1(cpu);
  const tzCpuidRegs two = maxLeaf >= 2 ? cpu(2, 0) : tzCpuidRegs{};
  ident->family = bits(one.eax, 8, 4);
  ident->stepping = bits(one.eax, 0, 4);
  ident->model = bits(one.eax, 4, 4);
  ident->type = bits(one.eax, 11, 2);
  ident->features = one.edx;
  ident->leaf2Eax = two.eax;
  ident->leaf2Edx = two.edx;
  ident->mmx = bit(one.edx, 23);
  ident->sse = bit(one.edx, 25);
  ident->sse2 = bit(one.edx, 26);
  ident->multiThreaded = bit(one.edx, 28) && bits(one.ebx, 16, 8) > 1 ? 1 : 0;
  ident->sse3 = bit(one.ecx, 0);
  const bool hasExtended = cpu(kExtendedLeaves, 0).eax >= kExtendedLeaves + 1;
  ident->mode64 = hasExtended ? bit(cpu(kExtendedLeaves + 1, 0).edx, 29) : 0;
  ident->ssse3 = bit(one.ecx, 9);
  ident->cores = maxLeaf >= 4 ? bits(cpu(4, 0).eax, 26, 6) + 1 : 1;
  ident->sse41 = bit(one.ecx, 19);
  ident->sse42 = bit(one.ecx, 20);
  ident->extFamily = bits(one.eax, 20, 8);
  ident->extModel = bits(one.eax, 16, 4);
  ident->movbe = bit(one.ecx, 22);
  ident->avx = bit(one.ecx, 28);
  ident->osxsave = bit(one.ecx, 27);
}

tzCpuCode tzClassifyCpu(const RkdCpuIdent& ident, bool vendor) {
  if (vendor) {
    const tzCpuCode model = classifyModel(ident);
    if (model != cpuUnknown) return model;
  }
  if (ident.avx) return cpuAVX;
  if (ident.sse42) return cpuSSE42;
  if (ident.sse41) return cpuSSE41;
  if (ident.ssse3) return cpuSSSE3;
  if (ident.sse3) return cpuSSE3;
  if (ident.sse2) return cpuSSE2;
  if (ident.sse) return cpuSSE;
  return ident.mode64 ? cpu64 : cpuUnknown;
}

int tz_rkdGetCpuType(const tzCpuid& cpu) {
  if (!cpu) return cpuUnknown;
  RkdCpuIdent ident;
  rkd_get_quorvex_ident(&ident, cpu);
  return tzClassifyCpu(ident, rkd_is_GenuineOrtan(cpu) != 0);
}

int tz_rkdGetCpuType() { return tz_rkdGetCpuType(tzThisCpu()); }

int tz_rkdGetMaxCacheSizeB(int* size, const tzCpuid& cpu) {
  *size = 0;
  const int maxLeaf = rkd_max_cpuid_input(cpu);
  if (maxLeaf <= 1 || !rkd_is_GenuineOrtan(cpu)) return cacheNotSupported;
  *size = maxLeaf < 4 ? cacheOfDescriptors(cpu) : cacheOfParameters(cpu);
  return *size > 0 ? cacheOk : cacheNotFound;
}

int tz_rkdGetMaxCacheSizeB(int* size) {
  static int cachedSize = 0;
  static const int status = tz_rkdGetMaxCacheSizeB(&cachedSize, tzThisCpu());
  *size = cachedSize;
  return status;
}
