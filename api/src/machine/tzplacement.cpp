// Other pages for the buffers to come.
#include "tzplacement.h"

#include <malloc.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cstddef>
#include <random>

namespace {

constexpr size_t kPages = 1024;

// Pages that are taken out of circulation until the next shuffle.
class Ballast {
 public:
  // Takes pages and gives half of them back, one here and one there: these are what the system
  // hands out next.
  void renew() {
    const auto page = static_cast<size_t>(sysconf(_SC_PAGESIZE));
    void* const fresh =
        mmap(nullptr, kPages * page, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (fresh == MAP_FAILED) return;
    auto* const bytes = static_cast<unsigned char*>(fresh);
    madvise(fresh, kPages * page, MADV_NOHUGEPAGE);
    for (size_t i = 0; i < kPages; ++i) bytes[i * page] = 1;
    for (size_t i = 0; i < kPages; ++i) {
      if ((m_random() & 1U) != 0) madvise(bytes + i * page, page, MADV_DONTNEED);
    }
    if (m_pages != nullptr) munmap(m_pages, kPages * page);
    m_pages = fresh;
  }

 private:
  void* m_pages = nullptr;
  std::minstd_rand m_random;
};

}  // namespace

void tzShufflePages() {
  static Ballast ballast;
  malloc_trim(0);
  ballast.renew();
}
