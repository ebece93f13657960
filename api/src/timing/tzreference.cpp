// The reference stream.
#include "tzreference.h"

#include <algorithm>
#include <cstdint>
#include <map>
#include <memory>
#include <new>

#include "tzclock.h"
#include "tzcpuinfo.h"

double (*tzReferenceStream::m_pMeasure)(int size) = nullptr;
long long tzReferenceStream::m_secondLevel = 0;

namespace {

constexpr int kLargest = 64 << 20;

std::map<int, double> s_best;

// Where the processor does not tell, what most have.
long long secondLevelBytes() {
  constexpr long long usual = 1 << 20;
  constexpr int capacity = 8;
  tzCacheLevel levels[capacity];
  const int count = tzGetCacheLevels(levels, capacity);
  for (int i = 0; i < count; ++i) {
    if (levels[i].level == 2 && levels[i].kind != tzCacheLevel::CODE) {
      return static_cast<long long>(levels[i].size);
    }
  }
  return usual;
}

// One buffer for all sizes, which stays where it is: its place must not make the difference. It has
// memory only as far as it was written.
const uint64_t* stream(size_t count) {
  static const std::unique_ptr<uint64_t[]> words(
      new (std::nothrow) uint64_t[static_cast<size_t>(kLargest) / sizeof(uint64_t)]);
  static size_t written = 0;
  if (words == nullptr) return nullptr;
  for (; written < count; ++written) words[written] = 1;
  return words.get();
}

uint64_t sum(const uint64_t* words, size_t count) {
  constexpr size_t lanes = 16;
  uint64_t sums[lanes] = {};
  for (size_t i = 0; i + lanes <= count; i += lanes) {
    for (size_t lane = 0; lane < lanes; ++lane) sums[lane] += words[i + lane];
  }
  uint64_t total = 0;
  for (const uint64_t part : sums) total += part;
  return total;
}

}  // namespace

int tzReferenceStream::sizeFor(long long bytes) {
  static const long long secondLevel = secondLevelBytes();
  if (bytes <= (m_secondLevel > 0 ? m_secondLevel : secondLevel)) return 0;
  int size = 1 << 20;
  while (size < bytes && size < kLargest) size *= 2;
  return size;
}

void tzReferenceStream::prepare() { stream(kLargest / sizeof(uint64_t)); }

double tzReferenceStream::measure(int size) {
  if (m_pMeasure != nullptr) return m_pMeasure(size);
  const size_t count = static_cast<size_t>(size) / sizeof(uint64_t);
  const uint64_t* const words = stream(count);
  if (words == nullptr) return 0;
  const unsigned long long first = rkd_get_quorvex_counter();
  volatile uint64_t kept = sum(words, count);
  static_cast<void>(kept);
  return static_cast<double>(rkd_get_quorvex_counter() - first);
}

void tzReferenceStream::note(int size, double clocks) {
  if (size <= 0 || !(clocks > 0)) return;
  double& best = s_best[size];
  if (best <= 0 || clocks < best) best = clocks;
}

double tzReferenceStream::best(int size) {
  const auto found = s_best.find(size);
  return found != s_best.end() ? found->second : 0;
}
