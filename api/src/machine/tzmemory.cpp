// Tracked memory: placement, the list of buffers, its report.
#include "tzmemory.h"

#include <cstdlib>
#include <cstring>

#include "tzarena.h"
#include "tzcstream.h"
#include "tzostream.h"

namespace {

tzObject s_bufferMarker;
tzObject s_subobjectMarker;

constexpr int kLine = 64;  ///< bytes between the boundaries that misalignment counts from
constexpr std::ptrdiff_t kBelow = 128;       ///< room below a raw block; its first bytes hold the
                                             ///< heap address
constexpr std::ptrdiff_t kHeapExtra = 256;   ///< kBelow and what rounding to a boundary takes
constexpr std::ptrdiff_t kHeapOffset = 192;  ///< rounded down to a boundary it leaves kBelow

constexpr int kMaxShift = 32768;

// Made on first use: static initialisers may allocate.
tzString& memoryUser() {
  static tzString user;
  return user;
}

// One event goes to the console, at its level, and to the memory table.
void traceAddress(const char* event, const Address& address) {
  const void* const base = address.base;
  const void* const aligned = address.alignedPointer;
  if (g_ostrm.beginMessage(L_MEM)) {
    g_ostrm << " - " << event << ": size:" << address.size << "  address:" << base
            << "  alignedPointer:" << aligned << "\n";
    g_ostrm.endMessage();
  }
  if (!g_mstrm.hasTargets()) return;
  g_mstrm << memoryUser() << event << address.size << base << aligned << "\n";
}

}  // namespace

tzObject* const MEM_OBJECT_IS_BUFFER = &s_bufferMarker;
tzObject* const MEM_OBJECT_IS_SUBOBJECT = &s_subobjectMarker;

int VectorAlign = 0;
int VectorShift = 0;
bool AlignSrc = false;

AddressList* pAddressList = nullptr;

// Raw blocks ------------------------------------------------------------------------------------

void* tz_malloc(std::ptrdiff_t size) {
  if (size < 0 || size > PTRDIFF_MAX - kHeapExtra) return nullptr;
  const auto bytes = std::size_t(size + kHeapExtra);
  void* const shared = tzArena::take(bytes);
  auto* const heap = static_cast<char*>(shared != nullptr ? shared : std::malloc(bytes));
  if (heap == nullptr) return nullptr;
  const std::ptrdiff_t beyond =
      std::ptrdiff_t((reinterpret_cast<std::uintptr_t>(heap) + kHeapOffset) % kLine);
  char* const block = heap + kHeapOffset - beyond;
  std::memcpy(block - kBelow, &heap, sizeof heap);
  return block;
}

// The heap address in front of a block in the arena may be another process's.
void tz_free(void* block) {
  if (block == nullptr || tzArena::give(block)) return;
  char* heap;
  std::memcpy(&heap, static_cast<char*>(block) - kBelow, sizeof heap);
  std::free(heap);
}

void* getAlignedPtr(void* address, int align) {
  const auto from = reinterpret_cast<std::uintptr_t>(address);
  const auto to = (from + (kLine - 1)) & static_cast<std::uintptr_t>(std::intptr_t{align} - kLine);
  return static_cast<char*>(address) + static_cast<std::ptrdiff_t>(to - from);
}

void* tz_malloc(void*& base, int size, int align, int shift) {
  base = nullptr;
  if (size < 0 || shift < 0) return nullptr;
  const int offset = align % kLine;
  base = tz_malloc(std::ptrdiff_t{offset} + size + shift + kLine);
  return base != nullptr ? getAlignedPtr(static_cast<char*>(base) + shift, offset) : nullptr;
}

// The list --------------------------------------------------------------------------------------

AddressList::AddressList() : m_cursor(end()) {}

AddressList::iterator AddressList::locate(const void* p) {
  iterator it = begin();
  while (it != end() && it->alignedPointer != p) ++it;
  return it;
}

bool AddressList::find(const void* p, Address& found) {
  const iterator it = locate(p);
  if (it == end()) return false;
  found = *it;
  return true;
}

void* AddressList::remove(const void* p) {
  const iterator it = locate(p);
  if (it == end()) return nullptr;
  if (it == m_cursor) ++m_cursor;
  void* const base = it->base;
  erase(it);
  return base;
}

bool AddressList::getInfo(const void* p, int* size, tzObject** object) {
  Address address;
  if (!find(p, address)) return false;
  if (size != nullptr) *size = address.size;
  if (object != nullptr) *object = address.object;
  return true;
}

void* AddressList::getNext(int* size, tzObject** object) {
  if (m_cursor == end()) return nullptr;
  const Address& address = *m_cursor;
  ++m_cursor;
  if (size != nullptr) *size = address.size;
  if (object != nullptr) *object = address.object;
  return address.alignedPointer;
}

void AddressList::restart() { m_cursor = begin(); }

void tzSetMemoryUser(const tzString& name) { memoryUser() = name; }

// Tracked buffers -------------------------------------------------------------------------------

namespace {

void list(const Address& address) {
  if (pAddressList == nullptr) pAddressList = new AddressList;
  pAddressList->push_back(address);
  traceAddress("tzMalloc", address);
}

}  // namespace

void* tzMalloc(int size, int align, int shift, tzObject* object) {
  Address address;
  address.alignedPointer = tz_malloc(address.base, size, align, shift);
  if (address.alignedPointer == nullptr) {
    g_ostrm << L_ERR << "-- Memory error: can't allocate " << size << " bytes\n" << L_END;
    return nullptr;
  }
  address.size = size;
  address.object = object;
  list(address);
  return address.alignedPointer;
}

void tzMallocAdopt(void* p, int size, tzObject* object) { list({nullptr, p, size, object}); }

void* tzMalloc(void*& p, int size, int align, int shift) {
  p = tzMalloc(size, align, shift, nullptr);
  return p;
}

void tzFree(void* p) {
  Address address;
  if (pAddressList == nullptr || !pAddressList->find(p, address)) return;
  traceAddress("tzFree", address);
  tz_free(pAddressList->remove(p));
}

void tzFreeAll() { pAddressList = nullptr; }

bool tzMallocInfo(const void* p, int* size, tzObject** object) {
  return pAddressList != nullptr && pAddressList->getInfo(p, size, object);
}

void* tzMallocFirst(int* size, tzObject** object) {
  if (pAddressList != nullptr) pAddressList->restart();
  return tzMallocNext(size, object);
}

void* tzMallocNext(int* size, tzObject** object) {
  return pAddressList != nullptr ? pAddressList->getNext(size, object) : nullptr;
}

void* tzPlaceVector(int size, int align, tzObject* object, int& vectorNum, int& shift) {
  if (align < 0) align = AlignSrc && vectorNum != 0 ? 0 : -align * VectorAlign;
  void* const p = tzMalloc(size, align, shift, object != nullptr ? object : MEM_OBJECT_IS_BUFFER);
  if (p == nullptr) return nullptr;
  ++vectorNum;
  shift += VectorShift;
  if (shift >= kMaxShift) shift = 0;
  return p;
}
