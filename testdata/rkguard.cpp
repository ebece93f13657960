// Operands that end and begin beside pages without access.
#include "rkguard.h"

#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <vector>

#include "tzmemory.h"

namespace {

/// On each side; wide enough that what runs on by a row or two ends there.
constexpr std::size_t kGuard = 64 * 1024;
constexpr unsigned char kCanary = 0xA5;

struct Mapping {
  char* base;
  std::size_t size;  ///< with both guards
  char* data;
  std::size_t bytes;

  bool holds(const char* address) const { return address >= base && address < base + size; }
};

/// Never destroyed: vectors of file scope are released at the program's end, in any order.
std::vector<Mapping>& mappings() {
  static auto* const all = new std::vector<Mapping>;
  return *all;
}

}  // namespace

const rkGuard* rkGuard::s_active = nullptr;
bool rkGuard::s_fillsOthers = false;

rkGuard::rkGuard(Side side) : m_side(side) { s_active = this; }
rkGuard::~rkGuard() { s_active = nullptr; }

void* rkGuard::allocate(int bytes, tzObject* owner) {
  if (bytes < 0) return nullptr;
  const auto page = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
  const auto size = static_cast<std::size_t>(bytes);
  const std::size_t room = (size + page - 1) / page * page;
  Mapping mapping{nullptr, room + 2 * kGuard, nullptr, size};
  void* const base =
      mmap(nullptr, mapping.size, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
  if (base == MAP_FAILED) return nullptr;
  mapping.base = static_cast<char*>(base);
  char* const inner = mapping.base + kGuard;
  if (room > 0) {
    if (mprotect(inner, room, PROT_READ | PROT_WRITE) != 0) {
      munmap(base, mapping.size);
      return nullptr;
    }
    std::memset(inner, kCanary, room);
  }
  mapping.data = s_active->m_side == AT_END ? inner + room - size : inner;
  mappings().push_back(mapping);
  tzMallocAdopt(mapping.data, bytes, owner);
  return mapping.data;
}

void* rkGuard::begun(void* buffer, int bytes) {
  if (s_fillsOthers && buffer != nullptr) std::memset(buffer, kCanary, std::size_t(bytes));
  return buffer;
}

bool rkGuard::release(void* buffer) {
  auto& all = mappings();
  const auto found =
      std::find_if(all.begin(), all.end(), [buffer](const Mapping& m) { return m.data == buffer; });
  if (buffer == nullptr || found == all.end()) return false;
  tzFree(buffer);
  munmap(found->base, found->size);
  all.erase(found);
  return true;
}

rkGuard::Place rkGuard::find(const void* address) {
  const auto* const at = static_cast<const char*>(address);
  for (const Mapping& mapping : mappings()) {
    if (!mapping.holds(at)) continue;
    const std::ptrdiff_t past = at - (mapping.data + mapping.bytes);
    return {mapping.data, int(past >= 0 ? past + 1 : at - mapping.data)};
  }
  return {};
}
