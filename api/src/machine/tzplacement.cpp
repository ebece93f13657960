// Other pages for the buffers to come.
#include "tzplacement.h"

#include <malloc.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <random>

namespace {

constexpr size_t kPages = 1024;
constexpr size_t kGap = 64;  // pages at most that addresses move by

// Pages that are taken out of circulation until the next shuffle.
class Ballast {
 public:
  // Takes pages and gives half of them back, one here and one there: these are what the system
  // hands out next.
  void renew() {
    const auto page = static_cast<size_t>(sysconf(_SC_PAGESIZE));
    // Of addresses only: nobody touches the gaps. The heap goes on behind its own.
    (void)sbrk(static_cast<intptr_t>(m_random() % kGap * page));
    const size_t size = (kPages + m_random() % kGap) * page;
    void* const fresh =
        mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (fresh == MAP_FAILED) return;
    auto* const bytes = static_cast<unsigned char*>(fresh);
    madvise(fresh, size, MADV_NOHUGEPAGE);
    for (size_t i = 0; i < kPages; ++i) bytes[i * page] = 1;
    for (size_t i = 0; i < kPages; ++i) {
      if ((m_random() & 1U) != 0) madvise(bytes + i * page, page, MADV_DONTNEED);
    }
    if (m_pages != nullptr) munmap(m_pages, m_size);
    m_pages = fresh;
    m_size = size;
  }

 private:
  void* m_pages = nullptr;
  size_t m_size = 0;
  // A copy of this process shall not do what all other copies do.
  std::minstd_rand m_random{std::random_device{}()};
};

}  // namespace

void tzShufflePages() {
  static Ballast ballast;
  malloc_trim(0);
  ballast.renew();
}
