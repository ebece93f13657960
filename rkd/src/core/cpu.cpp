// Core part: what the processor says about itself. Makers number their cache and topology leaves
// differently, so each question is asked in every known way until one answers.
#include <cpuid.h>
#include <unistd.h>
#include <x86intrin.h>

#include <algorithm>
#include <climits>
#include <cstdint>

#include "rkd/rkdcore.h"

namespace {

struct Leaf {
  unsigned eax = 0, ebx = 0, ecx = 0, edx = 0;
};

// All zero when the processor does not have the leaf.
Leaf readLeaf(unsigned leaf, unsigned subleaf) {
  Leaf r;
  if (__get_cpuid_count(leaf, subleaf, &r.eax, &r.ebx, &r.ecx, &r.edx) == 0) return Leaf{};
  return r;
}

unsigned bits(unsigned word, int low, int count) { return (word >> low) & ((1u << count) - 1); }

// Largest data or unified cache of a deterministic cache leaf: 4, or 0x8000001D of other makers.
uint64_t largestOfCacheLeaf(unsigned leaf) {
  uint64_t largest = 0;
  for (unsigned i = 0; i < 32; ++i) {
    const Leaf r = readLeaf(leaf, i);
    const unsigned type = bits(r.eax, 0, 5);
    if (type == 0) break;
    if (type == 2) continue;  // instructions
    const uint64_t size = (uint64_t{bits(r.ebx, 22, 10)} + 1) * (bits(r.ebx, 12, 10) + 1) *
                          (bits(r.ebx, 0, 12) + 1) * (uint64_t{r.ecx} + 1);
    largest = std::max(largest, size);
  }
  return largest;
}

// Processors before the deterministic leaves: second-level cache in KiB, third-level in 512 KiB.
uint64_t largestOfOldLeaf() {
  const Leaf r = readLeaf(0x80000006, 0);
  return std::max(uint64_t{bits(r.ecx, 16, 16)} << 10, uint64_t{bits(r.edx, 18, 14)} << 19);
}

uint64_t largestCache() {
  uint64_t size = largestOfCacheLeaf(4);
  constexpr unsigned kTopologyExtensions = 1u << 22;
  if (size == 0 && (readLeaf(0x80000001, 0).ecx & kTopologyExtensions) != 0) {
    size = largestOfCacheLeaf(0x8000001D);
  }
  if (size == 0) size = largestOfOldLeaf();
  if (size == 0) {  // a virtual machine may hide every leaf, while the kernel knows
    for (const int name : {_SC_LEVEL3_CACHE_SIZE, _SC_LEVEL2_CACHE_SIZE, _SC_LEVEL1_DCACHE_SIZE}) {
      const long known = sysconf(name);
      if (size == 0 && known > 0) size = static_cast<uint64_t>(known);
    }
  }
  return size;
}

// Logical processors of a package and of a core by the extended topology leaf; 0 cores if absent.
unsigned coresOfTopologyLeaf() {
  unsigned ofCore = 0;
  unsigned ofPackage = 0;
  for (unsigned i = 0; i < 8; ++i) {
    const Leaf r = readLeaf(0xB, i);
    const unsigned type = bits(r.ecx, 8, 8);
    if (type == 0) break;
    if (type == 1) ofCore = bits(r.ebx, 0, 16);
    ofPackage = bits(r.ebx, 0, 16);
  }
  return ofCore == 0 ? 0 : ofPackage / ofCore;
}

}  // namespace

RkdCpuType rkdGetCpuType(void) {
  // The built-in tests include the operating system's consent to the wide registers.
  __builtin_cpu_init();
  if (__builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512bw") &&
      __builtin_cpu_supports("avx512cd") && __builtin_cpu_supports("avx512dq") &&
      __builtin_cpu_supports("avx512vl")) {
    return rkdCpuAVX512;
  }
  if (__builtin_cpu_supports("avx2") && __builtin_cpu_supports("fma") &&
      __builtin_cpu_supports("bmi") && __builtin_cpu_supports("bmi2")) {
    return rkdCpuAVX2;
  }
  if (__builtin_cpu_supports("avx")) return rkdCpuAVX;
  if (__builtin_cpu_supports("sse4.2")) return rkdCpuSSE42;
  if (__builtin_cpu_supports("sse4.1")) return rkdCpuSSE41;
  if (__builtin_cpu_supports("ssse3")) return rkdCpuSSSE3;
  if (__builtin_cpu_supports("sse3")) return rkdCpuSSE3;
  return rkdCpuSSE2;  // every 64-bit processor has it
}

int rkdGetNumCoresOnDie(void) {
  if (const unsigned cores = coresOfTopologyLeaf(); cores != 0) return static_cast<int>(cores);
  constexpr unsigned kMultiThreading = 1u << 28;
  if ((readLeaf(1, 0).edx & kMultiThreading) == 0) return 1;
  if (readLeaf(4, 0).eax != 0) return static_cast<int>(bits(readLeaf(4, 0).eax, 26, 6) + 1);
  return static_cast<int>(bits(readLeaf(0x80000008, 0).ecx, 0, 8) + 1);
}

RkdStatus rkdGetMaxCacheSizeB(int* sizeBytes) {
  if (sizeBytes == nullptr) return rkdStsNullPtrErr;
  const uint64_t size = largestCache();
  *sizeBytes = static_cast<int>(std::min<uint64_t>(size, INT_MAX));
  return size != 0 ? rkdStsNoErr : rkdStsUnknownCacheSizeWrn;
}

uint64_t rkdGetCpuClocks(void) { return __rdtsc(); }
