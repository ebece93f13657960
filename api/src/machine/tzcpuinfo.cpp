// The processor in words, leaf by leaf.
#include "tzcpuinfo.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

namespace {

constexpr uint32_t kExtendedLeaves = 0x80000000U;
constexpr uint32_t kBrandLeaves = 0x80000002U;  // three of them
constexpr uint32_t kExtendedSizes = 0x80000008U;
constexpr uint32_t kExtendedCaches = 0x8000001DU;
constexpr uint32_t kTopologyLeaf = 0xB;

constexpr uint32_t bits(uint32_t value, unsigned first, unsigned count) {
  return (value >> first) & ((1U << count) - 1);
}

bool hasLeaf(const tzCpuid& cpu, uint32_t leaf) {
  const uint32_t first = leaf & kExtendedLeaves;
  const uint32_t last = cpu(first, 0).eax;
  return (last & kExtendedLeaves) == first && leaf <= last;
}

tzCpuidRegs ask(const tzCpuid& cpu, uint32_t leaf, uint32_t subLeaf = 0) {
  return hasLeaf(cpu, leaf) ? cpu(leaf, subLeaf) : tzCpuidRegs{};
}

// Which register of which leaf holds a feature flag.
enum FeatureWord : uint8_t { W1_EDX, W1_ECX, W7_EBX, W7_ECX, W7_EDX, WX_EDX, WX_ECX, NUM_WORDS };

struct Feature {
  FeatureWord word;
  uint8_t bit;
  const char* name;
  const char* longName;
};

constexpr Feature features[] = {
    {W1_EDX, 0, "FPU", "x87 floating-point unit on chip"},
    {W1_EDX, 1, "VME", "Virtual-8086 mode enhancements"},
    {W1_EDX, 2, "DE", "Debugging extensions"},
    {W1_EDX, 3, "PSE", "Page size extensions"},
    {W1_EDX, 4, "TSC", "Time-stamp counter"},
    {W1_EDX, 5, "MSR", "Model-specific registers"},
    {W1_EDX, 6, "PAE", "Physical address extension"},
    {W1_EDX, 7, "MCE", "Machine check exception"},
    {W1_EDX, 8, "CX8", "Compare and exchange 8 bytes"},
    {W1_EDX, 9, "APIC", "Interrupt controller on chip"},
    {W1_EDX, 11, "SEP", "Fast system call"},
    {W1_EDX, 12, "MTRR", "Memory type range registers"},
    {W1_EDX, 13, "PGE", "Global pages"},
    {W1_EDX, 14, "MCA", "Machine check architecture"},
    {W1_EDX, 15, "CMOV", "Conditional move"},
    {W1_EDX, 16, "PAT", "Page attribute table"},
    {W1_EDX, 17, "PSE36", "36-bit page size extension"},
    {W1_EDX, 18, "PSN", "Processor serial number"},
    {W1_EDX, 19, "CLFSH", "Cache line flush"},
    {W1_EDX, 21, "DS", "Debug store"},
    {W1_EDX, 22, "ACPI", "Thermal monitor and clock control"},
    {W1_EDX, 23, "MMX", "64-bit integer SIMD"},
    {W1_EDX, 24, "FXSR", "Fast save and restore of the floating-point state"},
    {W1_EDX, 25, "SSE", "128-bit single-precision SIMD"},
    {W1_EDX, 26, "SSE2", "128-bit double-precision and integer SIMD"},
    {W1_EDX, 27, "SS", "Self snoop"},
    {W1_EDX, 28, "HTT", "Multi-threading"},
    {W1_EDX, 29, "TM", "Thermal monitor"},
    {W1_EDX, 31, "PBE", "Pending break enable"},
    {W1_ECX, 0, "SSE3", "Horizontal SIMD arithmetic"},
    {W1_ECX, 1, "PCLMUL", "Carry-less multiplication"},
    {W1_ECX, 3, "MONITOR", "Monitor and wait"},
    {W1_ECX, 9, "SSSE3", "Supplemental SIMD: byte shuffle, absolute value"},
    {W1_ECX, 12, "FMA", "Fused multiply-add"},
    {W1_ECX, 13, "CX16", "Compare and exchange 16 bytes"},
    {W1_ECX, 19, "SSE4.1", "SIMD blend, insert, rounding and dot product"},
    {W1_ECX, 20, "SSE4.2", "SIMD text comparison"},
    {W1_ECX, 22, "MOVBE", "Move with byte swap"},
    {W1_ECX, 23, "POPCNT", "Population count"},
    {W1_ECX, 25, "AES", "Encryption rounds"},
    {W1_ECX, 26, "XSAVE", "Save and restore of extended states"},
    {W1_ECX, 27, "OSXSAVE", "Extended states enabled by the operating system"},
    {W1_ECX, 28, "AVX", "256-bit floating-point SIMD"},
    {W1_ECX, 29, "F16C", "Half-precision conversion"},
    {W1_ECX, 30, "RDRAND", "Random numbers"},
    {W1_ECX, 31, "HYPERVISOR", "Running on a virtual machine"},
    {W7_EBX, 3, "BMI1", "Bit manipulation, first set"},
    {W7_EBX, 5, "AVX2", "256-bit integer SIMD"},
    {W7_EBX, 8, "BMI2", "Bit manipulation, second set"},
    {W7_EBX, 9, "ERMS", "Fast byte copy"},
    {W7_EBX, 16, "AVX512F", "512-bit SIMD, foundation"},
    {W7_EBX, 17, "AVX512DQ", "512-bit SIMD, doublewords and quadwords"},
    {W7_EBX, 18, "RDSEED", "Random seeds"},
    {W7_EBX, 19, "ADX", "Add with two carry chains"},
    {W7_EBX, 21, "AVX512IFMA", "512-bit SIMD, integer fused multiply-add"},
    {W7_EBX, 28, "AVX512CD", "512-bit SIMD, conflict detection"},
    {W7_EBX, 29, "SHA", "Hash rounds"},
    {W7_EBX, 30, "AVX512BW", "512-bit SIMD, bytes and words"},
    {W7_EBX, 31, "AVX512VL", "512-bit SIMD instructions on shorter vectors"},
    {W7_ECX, 1, "AVX512VBMI", "512-bit SIMD, byte permutation"},
    {W7_ECX, 6, "AVX512VBMI2", "512-bit SIMD, byte compression"},
    {W7_ECX, 8, "GFNI", "Galois field arithmetic"},
    {W7_ECX, 9, "VAES", "Encryption rounds on vectors"},
    {W7_ECX, 10, "VPCLMUL", "Carry-less multiplication on vectors"},
    {W7_ECX, 11, "AVX512VNNI", "512-bit SIMD, dot products"},
    {W7_ECX, 12, "AVX512BITALG", "512-bit SIMD, bit algorithms"},
    {W7_ECX, 14, "AVX512VPOPCNTDQ", "512-bit SIMD, population count"},
    {W7_EDX, 4, "FSRM", "Fast short byte copy"},
    {W7_EDX, 15, "HYBRID", "Cores of several kinds"},
    {W7_EDX, 23, "AVX512FP16", "512-bit SIMD, half precision"},
    {W7_EDX, 24, "AMX-TILE", "Matrix tiles"},
    {WX_EDX, 20, "NX", "Pages without execution"},
    {WX_EDX, 26, "PAGE1G", "1 GiB pages"},
    {WX_EDX, 27, "RDTSCP", "Serialised read of the time-stamp counter"},
    {WX_EDX, 29, "LM", "64-bit mode"},
    {WX_ECX, 5, "LZCNT", "Leading zero count"},
    {WX_ECX, 8, "PREFETCHW", "Prefetch for writing"},
};

// A text of CPUID registers, cut at its end, without leading and doubled blanks, and safe as a
// table cell.
std::string cleanText(const char* raw, size_t size) {
  std::string text;
  for (size_t i = 0; i < size && raw[i] != 0; ++i) {
    const bool plain = raw[i] > ' ' && raw[i] <= '~' && raw[i] != ',';
    if (plain) {
      text += raw[i];
    } else if (!text.empty() && text.back() != ' ') {
      text += ' ';
    }
  }
  if (!text.empty() && text.back() == ' ') text.pop_back();
  return text;
}

std::string vendorText(const tzCpuid& cpu) {
  const tzCpuidRegs regs = cpu(0, 0);
  char raw[12];
  std::memcpy(raw, &regs.ebx, 4);
  std::memcpy(raw + 4, &regs.edx, 4);
  std::memcpy(raw + 8, &regs.ecx, 4);
  return cleanText(raw, sizeof(raw));
}

std::string brandText(const tzCpuid& cpu) {
  if (!hasLeaf(cpu, kBrandLeaves + 2)) return {};
  char raw[48];
  for (uint32_t i = 0; i < 3; ++i) {
    const tzCpuidRegs regs = cpu(kBrandLeaves + i, 0);
    const uint32_t words[] = {regs.eax, regs.ebx, regs.ecx, regs.edx};
    std::memcpy(raw + 16 * i, words, 16);
  }
  return cleanText(raw, sizeof(raw));
}

uint32_t effectiveFamily(const RkdCpuIdent& ident) {
  return ident.family == 15 ? ident.extFamily + 15 : ident.family;
}

uint32_t effectiveModel(const RkdCpuIdent& ident) {
  const bool extended = ident.family == 6 || ident.family == 15;
  return ident.model + (extended ? ident.extModel * 16 : 0);
}

struct Threads {
  uint32_t perPackage = 1;
  uint32_t perCore = 1;
  uint32_t cores = 1;
};

// What leaf 11 counts; false where it counts nothing.
bool threadsOfTopology(const tzCpuid& cpu, Threads& threads) {
  constexpr uint32_t threadLevel = 1;
  constexpr uint32_t maxLevels = 8;
  if (!hasLeaf(cpu, kTopologyLeaf)) return false;
  uint32_t logical = 0;
  for (uint32_t i = 0; i < maxLevels; ++i) {
    const tzCpuidRegs regs = cpu(kTopologyLeaf, i);
    const uint32_t type = bits(regs.ecx, 8, 8);
    const uint32_t count = bits(regs.ebx, 0, 16);
    if (type == 0 || count == 0) break;
    if (type == threadLevel) threads.perCore = count;
    logical = std::max(logical, count);
  }
  if (logical == 0) return false;
  threads.perPackage = logical;
  threads.cores = std::max(1U, logical / threads.perCore);
  return true;
}

Threads getThreads(const tzCpuid& cpu) {
  Threads threads;
  if (threadsOfTopology(cpu, threads)) return threads;
  const tzCpuidRegs one = ask(cpu, 1);
  if (bits(one.edx, 28, 1)) threads.perPackage = std::max(1U, bits(one.ebx, 16, 8));
  const uint32_t leaf4 = ask(cpu, 4).eax;
  threads.cores =
      leaf4 != 0 ? bits(leaf4, 26, 6) + 1 : bits(ask(cpu, kExtendedSizes).ecx, 0, 8) + 1;
  threads.perCore = std::max(1U, threads.perPackage / threads.cores);
  return threads;
}

tzCacheLevel cacheOf(const tzCpuidRegs& regs) {
  tzCacheLevel cache;
  cache.kind = static_cast<tzCacheLevel::Kind>(bits(regs.eax, 0, 5));
  cache.level = static_cast<int>(bits(regs.eax, 5, 3));
  cache.fullyAssociative = bits(regs.eax, 9, 1) != 0;
  cache.sharedBy = bits(regs.eax, 14, 12) + 1;
  cache.lineSize = bits(regs.ebx, 0, 12) + 1;
  cache.ways = bits(regs.ebx, 22, 10) + 1;
  cache.sets = regs.ecx + uint64_t{1};
  const uint64_t way = uint64_t{cache.lineSize} * (bits(regs.ebx, 12, 10) + 1) * cache.ways;
  cache.size = cache.sets > UINT64_MAX / way ? UINT64_MAX : way * cache.sets;
  return cache;
}

void addSection(tzString& text, const char* name) { text << "    " << name << "\n"; }

// One line of a section, its values under one another.
void addItem(tzString& text, const tzString& name, const tzString& value) {
  constexpr int nameWidth = 18;
  tzString padded = name;
  padded.resize(std::max(name.length(), nameWidth), ' ');
  text << "      " << padded << ": " << value << "\n";
}

tzString decimal(uint64_t value) {
  tzString text("");
  return text << value;
}

tzString hexadecimal(uint32_t value) {
  char text[16];
  std::snprintf(text, sizeof(text), "0x%08X", value);
  return text;
}

void addHeader(tzString& text, const tzCpuid& cpu) {
  text << "    Ortan(R) Processor Identification\n"
       << "    Got by CPUID Instruction Functions\n";
  if (rkd_is_GenuineOrtan(cpu)) return;
  text << "    ATTENTION! It is not Genuine Ortan processor.\n"
       << "    Information below may be inadequate.\n";
}

void addSignature(tzString& text, const tzCpuid& cpu, const RkdCpuIdent& ident) {
  addSection(text, "Signature");
  addItem(text, "Vendor", vendorText(cpu));
  addItem(text, "Name", tzCpuName(cpu));
  addItem(text, "Signature", hexadecimal(ask(cpu, 1).eax));
  addItem(text, "Family", decimal(effectiveFamily(ident)));
  addItem(text, "Model", decimal(effectiveModel(ident)));
  addItem(text, "Stepping", decimal(ident.stepping));
  addItem(text, "Type", decimal(ident.type));
  addItem(text, "Highest leaf", decimal(static_cast<uint64_t>(rkd_max_cpuid_input(cpu))));
  addItem(text, "Type for library", decimal(static_cast<uint64_t>(tz_rkdGetCpuType(cpu))));
}

void addFeatures(tzString& text, const tzCpuid& cpu) {
  const tzCpuidRegs one = ask(cpu, 1);
  const tzCpuidRegs seven = ask(cpu, 7);
  const tzCpuidRegs extended = ask(cpu, kExtendedLeaves + 1);
  const uint32_t words[NUM_WORDS] = {one.edx,   one.ecx,      seven.ebx,   seven.ecx,
                                     seven.edx, extended.edx, extended.ecx};
  addSection(text, "Feature flags");
  addItem(text, "Words", hexadecimal(one.edx) + " " + hexadecimal(one.ecx));
  for (const Feature& feature : features) {
    if (bits(words[feature.word], feature.bit, 1)) addItem(text, feature.name, feature.longName);
  }
}

void addThreads(tzString& text, const tzCpuid& cpu) {
  const Threads threads = getThreads(cpu);
  addSection(text, "Multi-threading");
  addItem(text, "Logical processors", decimal(threads.perPackage) + " in a package");
  addItem(text, "Cores", decimal(threads.cores) + " in a package");
  addItem(text, "Threads", decimal(threads.perCore) + " in a core");
}

void addCache(tzString& text, const tzCacheLevel& cache) {
  static constexpr const char* kinds[] = {"", "data", "code", "unified"};
  tzString name("L");
  name << cache.level << " " << kinds[cache.kind];
  tzString value("");
  value << cache.size / 1024 << " KiB, ";
  value << (cache.fullyAssociative ? tzString("fully associative") : decimal(cache.ways) + " ways");
  value << ", lines of " << cache.lineSize << " bytes, " << cache.sets << " sets, shared by "
        << cache.sharedBy;
  addItem(text, name, value);
}

void addCaches(tzString& text, const tzCpuid& cpu) {
  constexpr int maxCaches = 32;
  tzCacheLevel caches[maxCaches];
  const int count = tzGetCacheLevels(caches, maxCaches, cpu);
  addSection(text, "Cache parameters");
  for (int i = 0; i < count; ++i) addCache(text, caches[i]);
  if (count > 0) return;
  int size = 0;
  if (tz_rkdGetMaxCacheSizeB(&size, cpu) == cacheOk) {
    const tzString kib = decimal(static_cast<uint64_t>(size) / 1024);
    addItem(text, "Largest cache", kib + " KiB, by its descriptor");
  } else {
    text << "      The processor does not describe its caches.\n";
  }
}

}  // namespace

int tzGetCacheLevels(tzCacheLevel* levels, int capacity, const tzCpuid& cpu) {
  if (!cpu) return 0;
  int count = 0;
  for (const uint32_t leaf : {uint32_t{4}, kExtendedCaches}) {
    for (uint32_t subLeaf = 0; count < capacity; ++subLeaf) {
      const tzCpuidRegs regs = ask(cpu, leaf, subLeaf);
      const uint32_t kind = bits(regs.eax, 0, 5);
      if (kind < tzCacheLevel::DATA || kind > tzCacheLevel::UNIFIED) break;
      levels[count++] = cacheOf(regs);
    }
    if (count > 0) break;
  }
  return count;
}

tzString tzCpuName(const tzCpuid& cpu) {
  if (!cpu) return "unknown processor";
  const std::string brand = brandText(cpu);
  if (!brand.empty()) return brand;
  RkdCpuIdent ident;
  rkd_get_quorvex_ident(&ident, cpu);
  tzString text(vendorText(cpu));
  return text << " family " << effectiveFamily(ident) << " model " << effectiveModel(ident);
}

tzString tzCpuReport(const tzCpuid& cpu) {
  tzString text("");
  addHeader(text, cpu);
  if (!cpu) return text << "    The processor has no CPUID instruction.\n";
  RkdCpuIdent ident;
  rkd_get_quorvex_ident(&ident, cpu);
  addSignature(text, cpu, ident);
  addFeatures(text, cpu);
  addThreads(text, cpu);
  addCaches(text, cpu);
  return text;
}
