// Integers in bytes: both orders, and the ends that nothing may pass.
#include "base/bytes.h"

#include <gtest/gtest.h>

#include <array>

using base::ByteOrder;
using base::ByteReader;
using base::ByteWriter;

TEST(Bytes, EveryWidthInBothOrders) {
  const std::array<uint8_t, 15> bytes = {0x81, 0x82, 0x83, 0x84, 0x85, 0x86, 0x87, 0x88,
                                         0x89, 0x8A, 0x8B, 0x8C, 0x8D, 0x8E, 0x8F};
  ByteReader big(bytes);
  EXPECT_EQ(big.u8(), 0x81);
  EXPECT_EQ(big.u16(), 0x8283);
  EXPECT_EQ(big.u32(), 0x84858687U);
  EXPECT_EQ(big.u64(), 0x88898A8B8C8D8E8FU);
  ByteReader little(bytes, ByteOrder::little);
  EXPECT_EQ(little.get<int8_t>(), -0x7F);
  EXPECT_EQ(little.get<int16_t>(), int16_t(0x8382));
  EXPECT_EQ(little.get<int32_t>(), int32_t(0x87868584));
  EXPECT_EQ(little.get<int64_t>(), int64_t(0x8F8E8D8C8B8A8988));
  EXPECT_TRUE(big.good() && little.good());
  EXPECT_EQ(big.left(), 0u);
}

TEST(Bytes, WhatIsWrittenReadsBack) {
  for (const auto order : {ByteOrder::little, ByteOrder::big}) {
    std::array<uint8_t, 21> bytes{};
    const std::array<uint8_t, 2> tail = {7, 8};
    ByteWriter writer(bytes, order);
    writer.u8(0xFE);
    writer.put(int16_t{-2});
    writer.u32(0x01020304);
    writer.put(int32_t{-5});
    writer.u64(0x1122334455667788);
    writer.put(tail);
    EXPECT_TRUE(writer.good());
    EXPECT_EQ(writer.left(), 0u);
    ByteReader reader(bytes, order);
    EXPECT_EQ(reader.u8(), 0xFE);
    EXPECT_EQ(reader.get<int16_t>(), -2);
    EXPECT_EQ(reader.u32(), 0x01020304u);
    EXPECT_EQ(reader.get<int32_t>(), -5);
    EXPECT_EQ(reader.u64(), 0x1122334455667788u);
    EXPECT_EQ(reader.u16(), order == ByteOrder::big ? 0x0708 : 0x0807);
  }
}

// A value that lies half beyond the end is not there, and nothing behind it is either.
TEST(Bytes, NothingIsReadOrWrittenBeyondTheEnd) {
  const std::array<uint8_t, 5> bytes = {1, 2, 3, 4, 5};
  ByteReader reader(std::span<const uint8_t>(bytes).first(3));
  EXPECT_EQ(reader.u16(), 0x0102);
  EXPECT_EQ(reader.u16(), 0);
  EXPECT_FALSE(reader.good());
  EXPECT_EQ(reader.u8(), 0) << "not good for ever";
  EXPECT_EQ(reader.position(), 2u);

  ByteReader jumps(bytes);
  EXPECT_EQ(jumps.take(UINT64_MAX).size(), 0u);
  EXPECT_FALSE(jumps.good());
  ByteReader skips(bytes);
  EXPECT_TRUE(skips.skip(5));
  EXPECT_EQ(skips.peek(), -1);
  EXPECT_TRUE(skips.seek(4));
  EXPECT_EQ(skips.peek(), 5);
  EXPECT_FALSE(skips.seek(6));
  EXPECT_EQ(skips.position(), 4u);

  std::array<uint8_t, 4> room = {9, 9, 9, 9};
  ByteWriter writer(std::span<uint8_t>(room).first(3));
  writer.u16(0x0102);
  writer.u16(0x0304);
  writer.u8(5);
  EXPECT_FALSE(writer.good());
  EXPECT_EQ(room, (std::array<uint8_t, 4>{1, 2, 9, 9}));
}

TEST(Bytes, Appending) {
  std::vector<uint8_t> bytes = {1};
  base::appendBytes(bytes, uint16_t{0x0203}, ByteOrder::big);
  base::appendBytes(bytes, uint16_t{0x0504}, ByteOrder::little);
  EXPECT_EQ(bytes, (std::vector<uint8_t>{1, 2, 3, 4, 5}));
}
