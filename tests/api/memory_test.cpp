// Tracked memory: placement, list, report.
#include "tzmemory.h"

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstring>
#include <utility>
#include <vector>

#include "capture.h"
#include "tzarena.h"

namespace {

uintptr_t address(const void* p) { return reinterpret_cast<uintptr_t>(p); }

/// All live buffers, first to last.
std::vector<std::pair<void*, tzObject*>> walk() {
  std::vector<std::pair<void*, tzObject*>> buffers;
  int size = 0;
  tzObject* object = nullptr;
  for (void* p = tzMallocFirst(&size, &object); p != nullptr; p = tzMallocNext(&size, &object)) {
    std::memset(p, 0xA5, size_t(size));  // the sanitizer sees what is too small
    buffers.emplace_back(p, object);
  }
  return buffers;
}

/// Leaves no tracked buffer and the default placement behind.
class Memory : public testing::Test {
 protected:
  ~Memory() override {
    while (void* p = tzMallocFirst(nullptr, nullptr)) tzFree(p);
    VectorAlign = VectorShift = 0;
    AlignSrc = false;
  }
  tzObject m_owner;
};

}  // namespace

TEST_F(Memory, RawBlocksAreAlignedWithRoomBelow) {
  for (const std::ptrdiff_t size : {0, 1, 63, 64, 65, 1000, 4096}) {
    auto* const block = static_cast<char*>(tz_malloc(size));
    ASSERT_NE(block, nullptr);
    EXPECT_EQ(address(block) % 64, 0u);
    std::memset(block - 120, 1, size_t(120 + size));  // all but the heap address
    tz_free(block);
  }
  tz_free(nullptr);
  EXPECT_EQ(tz_malloc(-1), nullptr);
  EXPECT_EQ(tz_malloc(PTRDIFF_MAX), nullptr);
}

TEST_F(Memory, PlacementFollowsAlignAndShift) {
  for (int align = -130; align <= 130; ++align) {
    for (const int shift : {0, 16, 63, 64, 100, 16384}) {
      void* base = nullptr;
      void* const p = tz_malloc(base, 77, align, shift);
      ASSERT_NE(p, nullptr);
      // The stated expression, on signed numbers.
      const auto from = static_cast<long long>(address(base)) + shift + 63;
      const long long want = from & (align % 64 - 64LL);
      EXPECT_EQ(static_cast<long long>(address(p)), want) << align << " " << shift;
      if (shift == 0 && align >= 0) {
        EXPECT_EQ(address(p), address(base) + unsigned(align) % 64);
      }
      std::memset(p, 0xA5, 77);
      tz_free(base);
    }
  }
  void* base = nullptr;
  EXPECT_EQ(tz_malloc(base, -1, 0, 0), nullptr);
  EXPECT_EQ(tz_malloc(base, 1, 0, -64), nullptr);
  EXPECT_EQ(base, nullptr);
}

TEST_F(Memory, TrackedBuffersKeepOrderOwnerAndSize) {
  EXPECT_TRUE(walk().empty());
  EXPECT_FALSE(tzMallocInfo(&m_owner, nullptr, nullptr));

  void* const a = tzMalloc(100, 3, 0, &m_owner);
  void* const b = tzMalloc(0, 70, 0, MEM_OBJECT_IS_BUFFER);
  void* c = nullptr;
  EXPECT_EQ(tzMalloc(c, 30, 0, 0), c);
  EXPECT_EQ(address(a) % 64, 3u);
  EXPECT_EQ(address(b) % 64, 6u);
  EXPECT_EQ(address(c) % 64, 0u);
  EXPECT_NE(MEM_OBJECT_IS_BUFFER, MEM_OBJECT_IS_SUBOBJECT);
  using List = std::vector<std::pair<void*, tzObject*>>;
  EXPECT_EQ(walk(), (List{{a, &m_owner}, {b, MEM_OBJECT_IS_BUFFER}, {c, nullptr}}));

  int size = 0;
  tzObject* object = nullptr;
  EXPECT_TRUE(tzMallocInfo(a, &size, &object));
  EXPECT_EQ(size, 100);
  EXPECT_EQ(object, &m_owner);
  EXPECT_FALSE(tzMallocInfo(static_cast<char*>(a) + 1, &size, &object));

  tzFree(b);
  tzFree(b);  // not listed any more
  tzFree(&m_owner);
  EXPECT_EQ(walk(), (List{{a, &m_owner}, {c, nullptr}}));
}

TEST_F(Memory, BuffersMayBeReleasedDuringAWalk) {
  void* all[4];
  for (void*& p : all) p = tzMalloc(8, 0, 0, nullptr);
  EXPECT_EQ(tzMallocFirst(nullptr, nullptr), all[0]);
  tzFree(all[1]);  // the next one
  tzFree(all[0]);  // the one just told
  EXPECT_EQ(tzMallocNext(nullptr, nullptr), all[2]);
  EXPECT_EQ(tzMallocNext(nullptr, nullptr), all[3]);
  EXPECT_EQ(tzMallocNext(nullptr, nullptr), nullptr);
  EXPECT_EQ(tzMallocNext(nullptr, nullptr), nullptr);
  EXPECT_EQ(tzMallocFirst(nullptr, nullptr), all[2]);
}

TEST_F(Memory, ForgettingAllStartsANewList) {
  void* const old = tzMalloc(10, 0, 0, nullptr);
  AddressList* const abandoned = pAddressList;
  tzFreeAll();
  EXPECT_EQ(tzMallocFirst(nullptr, nullptr), nullptr);
  tzFree(old);
  void* const fresh = tzMalloc(10, 0, 0, nullptr);
  tzFree(old);
  EXPECT_EQ(walk().size(), 1u);
  tzFree(fresh);

  delete pAddressList;
  pAddressList = abandoned;
  EXPECT_TRUE(tzMallocInfo(old, nullptr, nullptr)) << "forgotten, not freed";
}

TEST_F(Memory, MessagesTellAllocationReleaseAndFailure) {
  Console console(L_ERR | L_MEM);
  EXPECT_EQ(tzMalloc(-5, 0, 0, nullptr), nullptr);
  EXPECT_EQ(console.take(), "-- Memory error: can't allocate -5 bytes\n");
  EXPECT_TRUE(walk().empty());

  void* const p = tzMalloc(12, 1, 0, nullptr);
  tzString text;
  text << "size:12  address:" << static_cast<const void*>(static_cast<char*>(p) - 1)
       << "  alignedPointer:" << static_cast<const void*>(p) << "\n";
  EXPECT_EQ(console.take(), (" - tzMalloc: " + text).str());
  tzFree(p);
  EXPECT_EQ(console.take(), (" - tzFree: " + text).str());
  tzFree(p);
  EXPECT_EQ(console.text(), "");
}

TEST_F(Memory, VectorsOfATestArePlacedByTheSettings) {
  int number = 0, shift = 0;
  VectorAlign = 5;
  EXPECT_EQ(address(tzPlaceVector(10, -1, nullptr, number, shift)) % 64, 5u);
  EXPECT_EQ(address(tzPlaceVector(10, -2, &m_owner, number, shift)) % 64, 10u) << "units of 2";
  EXPECT_EQ(address(tzPlaceVector(10, 7, nullptr, number, shift)) % 64, 7u) << "as given";
  EXPECT_EQ(walk()[0].second, MEM_OBJECT_IS_BUFFER);
  EXPECT_EQ(walk()[1].second, &m_owner);
  EXPECT_EQ(number, 3);
  EXPECT_EQ(shift, 0);

  AlignSrc = true;
  EXPECT_EQ(address(tzPlaceVector(10, -1, nullptr, number, shift)) % 64, 0u);
  number = 0;
  EXPECT_EQ(address(tzPlaceVector(10, -1, nullptr, number, shift)) % 64, 5u) << "the first one";

  VectorShift = 16384;
  for (const int before : {0, 16384, 0, 16384}) {
    EXPECT_EQ(shift, before);
    ASSERT_NE(tzPlaceVector(10, 0, nullptr, number, shift), nullptr);
  }
  Console quiet(0);
  EXPECT_EQ(tzPlaceVector(-1, 0, nullptr, number, shift), nullptr);
  EXPECT_EQ(number, 5) << "a failure does not count";
}

// Processes that join an arena and allocate in the same order have the same bytes in the same
// place.
TEST_F(Memory, SidesShareWhatIsAllocatedForIt) {
  const int file = tzArena::create();
  ASSERT_GE(file, 0);
  const auto side = [file](auto body) {
    const pid_t child = fork();
    if (child == 0) {
      tzArena::join(file);
      _exit(body() ? 0 : 1);
    }
    int status = -1;
    waitpid(child, &status, 0);
    return status == 0;
  };
  const auto block = [] {
    const tzArena::Use use;
    return static_cast<char*>(tzMalloc(100, 0, 0, nullptr));
  };
  EXPECT_TRUE(side([&] {
    auto* const first = block();
    auto* const own = static_cast<char*>(tzMalloc(100, 0, 0, nullptr));
    auto* const second = block();
    std::strcpy(first, "one");
    std::strcpy(own, "own");
    std::strcpy(second, "two");
    tzFree(first);
    if (address(block()) <= address(second)) return false;  // the second one is in use
    while (void* p = tzMallocFirst(nullptr, nullptr)) tzFree(p);
    return block() == first;
  }));
  EXPECT_TRUE(side([&] {
    const std::string first = block();
    const std::string second = block();
    return first == "one" && second == "two";
  }));
  close(file);
}
