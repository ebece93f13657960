// Buffers between pages that must not be touched.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>

#include "rkguard.h"
#include "rkimage.h"
#include "tzexception.h"
#include "tzmemory.h"

namespace {

#ifdef __clang__
#define RAW_ACCESS __attribute__((no_sanitize("address", "undefined")))
#else
#define RAW_ACCESS __attribute__((no_sanitize("address", "undefined"), noipa))
#endif
RAW_ACCESS void write(uint8_t* to) { *static_cast<volatile uint8_t*>(to) = 1; }
RAW_ACCESS void read(const uint8_t* from) { (void)*static_cast<const volatile uint8_t*>(from); }

/// Where the guards say that an access fell; distance 0 when it was allowed.
template <class Access>
rkGuard::Place placeOf(Access access, uint8_t* address) {
  tzCallGuard guard;
  if (guard.call([&] { access(address); })) return {};
  EXPECT_EQ(address, guard.address());
  return rkGuard::find(guard.address());
}

TEST(Guard, NeitherReadsNorWritesPassAnEnd) {
  rkVector vector;
  vector.init(rk16s);
  for (const int length : {1, 7, 2048, 2049, 5000}) {
    const int bytes = 2 * length;
    {
      const rkGuard guarded(rkGuard::AT_END);
      ASSERT_TRUE(vector.createVector(length));
    }
    auto* data = reinterpret_cast<uint8_t*>(vector.data());
    EXPECT_EQ(0, placeOf(write, data).distance);
    EXPECT_EQ(0, placeOf(write, data + bytes - 1).distance);
    EXPECT_EQ(1, placeOf(write, data + bytes).distance);
    EXPECT_EQ(1, placeOf(read, data + bytes).distance);
    EXPECT_EQ(60001, placeOf(read, data + bytes + 60000).distance);
    EXPECT_EQ(vector.data(), placeOf(read, data + bytes).buffer);
    {
      const rkGuard guarded(rkGuard::AT_START);
      ASSERT_TRUE(vector.createVector(length));
    }
    data = reinterpret_cast<uint8_t*>(vector.data());
    EXPECT_EQ(0, placeOf(write, data + bytes - 1).distance);
    EXPECT_EQ(-1, placeOf(write, data - 1).distance);
    EXPECT_EQ(-1, placeOf(read, data - 1).distance);
    EXPECT_EQ(vector.data(), placeOf(read, data - 1).buffer);
  }
}

TEST(Guard, RowsOfImagesHaveCanariesBetweenThemAndTheLastEndsThePlane) {
  rkImage image;
  image.init(rk16u, 3, true);
  const rkGuard guarded(rkGuard::AT_END);
  ASSERT_TRUE(image.createImageExt(9, 4, 0, 0, rkModeRandom));
  EXPECT_EQ(2 * (9 + rkGuard::ROW_GAP), image.step());
  for (int p = 0; p < 3; ++p) {
    auto* const plane = static_cast<uint8_t*>(image.plane(p));
    EXPECT_EQ(1, placeOf(read, plane + 3 * image.step() + 18).distance) << p;
    for (int y = 0; y < 3; ++y) {
      for (int x = 18; x < image.step(); ++x) EXPECT_EQ(0xA5, plane[y * image.step() + x]);
    }
  }
}

TEST(Guard, OtherBuffersBeginWithCanariesWhereAskedTo) {
  rkVector vector;
  vector.init(rk8u);
  for (const bool filled : {true, false}) {
    rkGuard::fillOthers(filled);
    ASSERT_TRUE(vector.createVector(100, 0, nullptr));
    EXPECT_EQ(filled, std::all_of(vector.data8u(), vector.data8u() + 100,
                                  [](uint8_t byte) { return byte == 0xA5; }));
    std::fill_n(vector.data8u(), 100, uint8_t{1});
  }
}

TEST(Guard, BuffersAreTrackedAndGoWithTheirOwner) {
  rkVector inside, outside, empty;
  for (rkVector* vector : {&inside, &outside, &empty}) vector->init(rk8u);
  {
    const rkGuard guarded(rkGuard::AT_END);
    EXPECT_TRUE(inside.createVector(100, rkModeRandom) && inside.reserveCopy());
    EXPECT_TRUE(empty.createVector(0));
  }
  ASSERT_TRUE(outside.createVector(100, rkModeRandom));
  int size = 0;
  tzObject* owner = nullptr;
  EXPECT_TRUE(tzMallocInfo(inside.data(), &size, &owner));
  EXPECT_EQ(100, size);
  EXPECT_EQ(&inside, owner);
  auto* const data = inside.data8u();
  EXPECT_EQ(nullptr, rkGuard::find(outside.data()).buffer);

  // The reserved copy is ordinary memory with the same content.
  const uint8_t first = data[0];
  data[0] = static_cast<uint8_t>(~first);
  inside.setReservedCopy();
  EXPECT_EQ(first, data[0]);

  inside.deleteVector();
  empty.deleteVector();
  EXPECT_FALSE(tzMallocInfo(data, nullptr, nullptr));
  EXPECT_EQ(nullptr, rkGuard::find(data).buffer);
  EXPECT_TRUE(inside.createVector(100, rkModeZero)) << "an owner outlives its guard";
}

}  // namespace
