/// @file
/// The processor described for people: the report of the processor-information test and the short
/// texts of the run's title.
#pragma once

#include "tzcpu.h"
#include "tzstring.h"

/// One cache as CPUID describes it.
struct tzCacheLevel {
  int level = 0;
  enum Kind { DATA = 1, CODE = 2, UNIFIED = 3 } kind = DATA;
  uint64_t size = 0;  ///< bytes
  uint64_t sets = 0;
  uint32_t ways = 0;
  uint32_t lineSize = 0;  ///< bytes
  uint32_t sharedBy = 0;  ///< logical processors
  bool fullyAssociative = false;
};

/// The processor's caches in the order in which it tells them, at most `capacity`.
/// Works for every vendor that has one of the two deterministic cache leaves.
/// @return how many were written
int tzGetCacheLevels(tzCacheLevel* levels, int capacity, const tzCpuid& cpu = tzThisCpu());

/// The brand text of the processor, "family F model M" of its vendor without one, and
/// "unknown processor" without CPUID.
tzString tzCpuName(const tzCpuid& cpu = tzThisCpu());

/// The whole report, several lines, each ended: vendor and signature, feature flags with their long
/// names, threads and cores, caches by level, and the processor type that the harness chose.
tzString tzCpuReport(const tzCpuid& cpu = tzThisCpu());
