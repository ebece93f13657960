// Large pieces of memory.
#include "largepages.h"

#include <sys/mman.h>

namespace j2k {

void* takeLargePages(size_t bytes) {
  const size_t whole = (bytes + largePage - 1) / largePage * largePage;
  void* const memory = std::aligned_alloc(largePage, whole);
  if (memory == nullptr) throw std::bad_alloc();
  (void)madvise(memory, whole, MADV_HUGEPAGE);  // a hint
  return memory;
}

}  // namespace j2k
