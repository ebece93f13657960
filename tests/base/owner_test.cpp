// Owners of opaque objects: freed once, never after an error, copied with their memory.
#include "base/owner.h"

#include <gtest/gtest.h>

#include <cstring>

namespace {

struct Thing {
  int value;
};
int alive = 0;

int thingInitAlloc(int value, Thing** thing) {
  if (value < 0) return -7;
  *thing = new Thing{value};
  ++alive;
  return value;
}
int thingFree(Thing* thing) {
  delete thing;
  --alive;
  return 0;
}
int thingSize(int* bytes) {
  *bytes = sizeof(Thing);
  return 0;
}
int thingInit(int value, Thing* thing) {
  std::memcpy(thing, &value, sizeof value);
  return 0;
}

using Owner = base::Made<Thing, &thingFree>;

}  // namespace

TEST(Owner, FreesWhatWasMadeOnce) {
  {
    Owner owner;
    EXPECT_EQ(owner.make(thingInitAlloc, 3), 3);
    EXPECT_EQ(owner.get()->value, 3);
    EXPECT_EQ(owner.make(thingInitAlloc, 4), 4);
    EXPECT_EQ(alive, 1) << "the one before is freed";
    Owner other(std::move(owner));
    EXPECT_EQ(other.get()->value, 4);
    owner = std::move(other);
    EXPECT_EQ(owner.get()->value, 4);
    EXPECT_EQ(owner.make(thingInitAlloc, -1), -7);
    EXPECT_EQ(owner.get(), nullptr);
    EXPECT_EQ(owner.make(thingInitAlloc, 5), 5);
  }
  EXPECT_EQ(alive, 0);
}

TEST(Owner, ACopyOfPlacedMemoryIsACopyOfTheObject) {
  base::Placed<Thing, 3> first;
  EXPECT_EQ(first.make(thingSize, thingInit, 9), 0);
  EXPECT_EQ(first.size(), sizeof(Thing));
  EXPECT_EQ(reinterpret_cast<uintptr_t>(first.get()) % 4, 3u);
  const base::Placed<Thing, 3> second = first;
  EXPECT_EQ(second, first);
  first.data()[0] = 1;
  EXPECT_NE(second, first);
  EXPECT_EQ(std::memcmp(second.get(), "\x09\0\0", 4), 0);
  const auto refuses = [](int*) { return -5; };
  EXPECT_EQ(first.make(refuses, thingInit, 1), -5);
}
