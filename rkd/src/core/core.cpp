// Core part: status texts, levels, threads, memory.
#include <cstdlib>

#include "common/levels.h"
#include "rkd/rkdcore.h"

const char* rkdGetStatusString(RkdStatus status) {
  switch (status) {
#define RKD_STATUS_TEXT(name, value, text) \
  case name:                               \
    return text;
    RKD_STATUS_LIST(RKD_STATUS_TEXT)
#undef RKD_STATUS_TEXT
    default:
      return "unknown status";
  }
}

RkdStatus rkdInit(void) {
  rkd::selectBestLevel();
  return rkdStsNoErr;
}

RkdStatus rkdInitCpu(RkdCpuType cpu) { return rkd::selectLevel(cpu); }

RkdStatus rkdSetNumThreads(int numThreads) {
  if (numThreads < 1) return rkdStsSizeErr;
  return numThreads == 1 ? rkdStsNoErr : rkdStsLessThreadsWrn;
}

RkdStatus rkdGetNumThreads(int* numThreads) {
  if (numThreads == nullptr) return rkdStsNullPtrErr;
  *numThreads = 1;
  return rkdStsNoErr;
}

void* rkdMalloc(size_t length) {
  constexpr size_t kAlignment = 64;
  if (length == 0 || length > SIZE_MAX - kAlignment) return nullptr;
  return std::aligned_alloc(kAlignment, (length + kAlignment - 1) / kAlignment * kAlignment);
}

void rkdFree(void* block) { std::free(block); }
