// The library's core services, or the harness's own in their place.
#include "tzenv.h"

#include "tzcpu.h"
#include "tzostream.h"

RkdCpuType (*rkd_GetCpuType)() = nullptr;
int (*rkd_GetNumCoresOnDie)() = nullptr;
RkdStatus (*rkd_GetMaxCacheSizeB)(int* size) = nullptr;
const char* (*rkd_GetStatusString)(RkdStatus status) = nullptr;
RkdStatus (*rkd_Init)() = nullptr;
RkdStatus (*rkd_InitCpu)(RkdCpuType type) = nullptr;
RkdStatus (*rkd_SetNumThreads)(int count) = nullptr;
const char* (*rkd_GetLevelName)() = nullptr;

tzRkdEnvironmentFunc rkdEnvironment = nullptr;
tzList<tzRkdVersionFunc>* rkdVersionList = nullptr;
int s_cpuType = -1;
int s_numThreads = 0;

namespace {

template <class Function>
void fillIn(Function*& entry, Function* fallback) {
  if (entry == nullptr) entry = fallback;
}

void tellFailure(RkdStatus status) {
  g_ostrm << (status < 0 ? "--RKD ERROR. " : "--RKD WARNING. ") << "status = " << status << ": "
          << rkd_GetStatusString(status) << "\n";
}

void tellStatus(RkdStatus status) {
  if (status == rkdStsNoErr) {
    g_ostrm << "--status = rkdStsNoErr\n";
  } else {
    tellFailure(status);
  }
}

struct CpuName {
  RkdCpuType code;
  const char* name;   // what the user types
  const char* label;  // as in the library's constant
};

constexpr CpuName kCpuNames[] = {
    {rkdCpuModelA, "modelA", "ModelA"},
    {rkdCpuModelB, "modelB", "ModelB"},
    {rkdCpuModelC, "modelC", "ModelC"},
    {rkdCpuModelD, "modelD", "ModelD"},
    {rkdCpuModelE, "modelE", "ModelE"},
    {rkdCpuSSE, "SSE", "SSE"},
    {rkdCpuSSE2, "SSE2", "SSE2"},
    {rkdCpuSSE3, "SSE3", "SSE3"},
    {rkdCpuSSSE3, "SSSE3", "SSSE3"},
    {rkdCpuSSE41, "SSE41", "SSE41"},
    {rkdCpuSSE42, "SSE42", "SSE42"},
    {rkdCpuAVX, "AVX", "AVX"},
    {rkdCpuAVX2, "AVX2", "AVX2"},
    {rkdCpuAVX512, "AVX512", "AVX512"},
    {rkdCpu64, "64", "64"},
};
constexpr CpuName kUnknownCpu = {rkdCpuUnknown, "Unknown", "Unknown"};

const CpuName& entryOf(int code) {
  for (const CpuName& entry : kCpuNames) {
    if (entry.code == code) return entry;
  }
  return kUnknownCpu;
}

}  // namespace

int tz_rkdGetNumCoresOnDie() {
  RkdCpuIdent ident{};
  rkd_get_quorvex_ident(&ident);
  return rkd_has_cpuid() != 0 && ident.cores > 0 ? static_cast<int>(ident.cores) : 1;
}

const char* s_rkdGetStatusString(RkdStatus status) {
  return status < 0 ? "Error" : status > 0 ? "Warning" : "OK";
}

RkdStatus s_rkdInit() { return rkdStsNotAvailableErr; }
RkdStatus s_rkdInitCpu(RkdCpuType) { return rkdStsNotAvailableErr; }
RkdStatus s_rkdSetNumThreads(int) { return rkdStsNotAvailableErr; }

int tzRegRkdEnvironment(tzRkdEnvironmentFunc function) {
  rkdEnvironment = function;
  return 1;
}

int tzRegRkdVersion(tzRkdVersionFunc function) {
  if (rkdVersionList == nullptr) rkdVersionList = new tzList<tzRkdVersionFunc>;
  rkdVersionList->push_back(function);
  return 1;
}

int setRkdEnvironment() {
  if (rkdEnvironment != nullptr) {
    rkdEnvironment();
    g_ostrm << "\nRKD Core library functions have been integrated into TZ\n";
  }
  fillIn<RkdCpuType()>(rkd_GetCpuType, tz_rkdGetCpuType);
  fillIn(rkd_GetNumCoresOnDie, tz_rkdGetNumCoresOnDie);
  fillIn<RkdStatus(int*)>(rkd_GetMaxCacheSizeB, tz_rkdGetMaxCacheSizeB);
  fillIn(rkd_GetStatusString, s_rkdGetStatusString);
  fillIn(rkd_Init, s_rkdInit);
  fillIn(rkd_InitCpu, s_rkdInitCpu);
  fillIn(rkd_SetNumThreads, s_rkdSetNumThreads);
  return 1;
}

namespace {

// Made on first use: libraries may be registered before this unit's objects exist.
tzStringList& libInfo() {
  static tzStringList list;
  return list;
}

}  // namespace

void tzRegLibInfo(const tzString& info) { libInfo().push_back(info); }

const tzStringList& tzLibInfo() { return libInfo(); }

void setRkdLibInfo() {
  if (rkdVersionList == nullptr || rkdVersionList->empty()) return;
  for (const tzRkdVersionFunc function : *rkdVersionList) {
    const RkdLibraryVersion* version = function();
    if (version == nullptr) continue;
    tzRegLibInfo(tzString(version->name) + ", " + version->version + ", " + version->buildDate);
  }
  g_ostrm << "RKD libraries information has been set into TZ\n";
}

void initStaticCpu() {
  if (rkdEnvironment == nullptr) return;
  if (s_cpuType == -1) {
    rkd_Init();
    return;
  }
  g_ostrm << L_ERR << "\n--calling rkdInitCpu( rkdCpu" << tzCpuType::cpuLabel(s_cpuType) << "="
          << s_cpuType << " )\n";
  const RkdStatus status = rkd_InitCpu(s_cpuType);
  tellStatus(status);
  if (status < 0) {
    g_ostrm << "--calling rkdInit()\n";
    const RkdStatus fallback = rkd_Init();
    if (fallback < 0) tellFailure(fallback);
  }
  g_ostrm << L_END;
}

void setNumThreads() {
  if (rkdEnvironment == nullptr || s_numThreads < 1) return;
  g_ostrm << L_ERR << "\n--calling rkdSetNumThreads( " << s_numThreads << " )\n";
  tellStatus(rkd_SetNumThreads(s_numThreads));
  g_ostrm << L_END;
}

int tzCpuType::cpuType(const tzString& name) {
  for (const CpuName& entry : kCpuNames) {
    if (tzString(entry.name).toLower() == name.toLower()) return entry.code;
  }
  return -1;
}

tzString tzCpuType::cpuName(int code) { return entryOf(code).name; }

tzString tzCpuType::cpuLabel(int code) { return entryOf(code).label; }

tzString tzCpuType::optimizedList() {
  tzString list;
  for (const CpuName& entry : kCpuNames) {
    if (!list.empty()) list += ", ";
    list += entry.name;
  }
  return list;
}
