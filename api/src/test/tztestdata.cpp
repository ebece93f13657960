// The test data of the running test as a whole: placed, reserved, reset and printed.

#include <algorithm>
#include <cstdio>

#include "tzmemory.h"
#include "tzostream.h"
#include "tztest.h"

namespace {

// Calls visit(address, size, owner) for every live buffer.
template <class Visit>
void forEachBuffer(Visit visit) {
  int size = 0;
  tzObject* owner = nullptr;
  for (void* p = tzMallocFirst(&size, &owner); p != nullptr; p = tzMallocNext(&size, &owner)) {
    visit(static_cast<const unsigned char*>(p), size, owner);
  }
}

template <class Visit>
void forEachObject(Visit visit) {
  forEachBuffer([&visit](const void*, int, tzObject* owner) {
    const bool isObject =
        owner != nullptr && owner != MEM_OBJECT_IS_BUFFER && owner != MEM_OBJECT_IS_SUBOBJECT;
    if (isObject) visit(*owner);
  });
}

// The beginning tells what a buffer holds; a whole image would bury everything else.
void printBytes(const unsigned char* bytes, int size) {
  constexpr int kBytesShown = 128;
  constexpr int kBytesALine = 16;
  const int shown = std::min(size, kBytesShown);
  for (int from = 0; from < shown; from += kBytesALine) {
    tzString line = "     ";
    for (int i = from; i < std::min(from + kBytesALine, shown); ++i) {
      char text[8];
      std::snprintf(text, sizeof text, " %02X", unsigned{bytes[i]});
      line += text;
    }
    g_ostrm << line << "\n";
  }
  if (shown < size) g_ostrm << "      ... " << size - shown << " bytes more\n";
}

}  // namespace

void* tzTest::allocate(int size, int align, tzObject* object) {
  return tzPlaceVector(size, align, object, m_vectorNum, m_vectorShift);
}

void tzTest::reserveAllVectors() {
  forEachObject([](tzObject& object) { object.reserveCopy(); });
}

void tzTest::resetAllVectors() {
  forEachObject([](tzObject& object) { object.setReservedCopy(); });
}

void tzTest::printData(const tzObject&) const {}

void tzTest::printAllMemoryBlocks(const tzString& heading) const {
  g_ostrm << L_DATA << " " << heading << "\n";
  int number = 0;
  forEachBuffer([this, &number](const unsigned char* bytes, int size, const tzObject* owner) {
    if (owner == nullptr || owner == MEM_OBJECT_IS_SUBOBJECT) return;
    g_ostrm << "  " << ++number << ": ";
    if (owner == MEM_OBJECT_IS_BUFFER) {
      g_ostrm << "MemoryBlock size=" << size << "\n";
      printBytes(bytes, size);
    } else {
      g_ostrm << owner->objectInfo() << "\n";
      printData(*owner);
    }
  });
  g_ostrm << L_END;
}
