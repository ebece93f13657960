// Processor levels: which compiled variant of a kernel runs.
//
// A kernel is compiled once per level by Highway's foreach_target. All five libraries share one
// libhwy, whose chosen target is the single place that says which variant is in use.
#pragma once

#include "hwy/highway.h"
#include "rkd/rkdbase.h"

namespace rkd {

// Of libhwy, the same object in every library; a reference of our own saves a call through the
// linkage table, which a function on one block of 64 would notice.
inline const hwy::ChosenTarget& chosenTarget = hwy::GetChosenTarget();

// The variant of a kernel's dispatch table that is in use.
template <class Kernel, size_t N>
inline Kernel atLevel(Kernel const (&table)[N]) {
  return table[chosenTarget.GetIndex()];
}

// Selects the level of a processor type, for all libraries.
RkdStatus selectLevel(RkdCpuType cpu);

// Selects the best level of this machine.
void selectBestLevel();

// The processor type that stands for a target, and the type of the machine's best target.
RkdCpuType typeOfTarget(int64_t target);

}  // namespace rkd

// The dispatch table that HWY_EXPORT(kernel) made, resolved to the level in use.
#define RKD_AT_LEVEL(kernel) ::rkd::atLevel(HWY_DISPATCH_TABLE(kernel))
