// Shared pages, handed out one behind the other.
#include "tzarena.h"

#include <sys/mman.h>
#include <sys/resource.h>
#include <unistd.h>

namespace {

// Of addresses; more than any test's data, and no memory before it is written.
constexpr std::size_t kSize = std::size_t{1} << 34;
constexpr std::size_t kLine = 64;

}  // namespace

int tzArena::create() {
  // Beyond the limit of files the system would end this process.
  rlimit limit{};
  if (getrlimit(RLIMIT_FSIZE, &limit) != 0 || limit.rlim_cur < kSize) return -1;
  const int file = memfd_create("tazmet data", MFD_CLOEXEC);
  if (file < 0 || ftruncate(file, static_cast<off_t>(kSize)) == 0) return file;
  close(file);
  return -1;
}

void tzArena::join(int file) {
  if (file < 0) return;
  void* const memory =
      mmap(nullptr, kSize, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_NORESERVE, file, 0);
  close(file);
  if (memory != MAP_FAILED) s_memory = static_cast<char*>(memory);
}

// What a row's data leave behind is nobody's once all of them are freed: the next row begins at the
// beginning, on both sides.
void* tzArena::take(std::size_t bytes) {
  if (s_uses == 0 || s_memory == nullptr) return nullptr;
  if (s_blocks == 0) s_taken = 0;
  if (bytes > kSize - s_taken - kLine) return nullptr;
  void* const block = s_memory + s_taken;
  s_taken += (bytes + kLine - 1) / kLine * kLine;
  ++s_blocks;
  return block;
}

bool tzArena::give(const void* block) {
  const auto* const at = static_cast<const char*>(block);
  if (s_memory == nullptr || at < s_memory || at >= s_memory + kSize) return false;
  --s_blocks;
  return true;
}
