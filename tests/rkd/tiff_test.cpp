// Rows of TIFF images.
#include <string>

#include "hex.h"
#include "ref_tiff.h"
#include "rkd/rkdjpeg_tiff.h"
#include "rkdkit.h"

using rkdkit::Canvas;
using rkdkit::forEachLevel;
using rkdkit::Random;
using rkdkit::sz;

namespace {

using Bytes = std::vector<uint8_t>;

Bytes repeated(int count, uint8_t value) { return Bytes(static_cast<size_t>(count), value); }

Bytes ascending(int count) {
  Bytes bytes;
  for (int i = 0; i < count; ++i) bytes.push_back(static_cast<uint8_t>(i));
  return bytes;
}

Bytes joined(std::initializer_list<Bytes> parts) {
  Bytes all;
  for (const Bytes& part : parts) all.insert(all.end(), part.begin(), part.end());
  return all;
}

int mostPacked(int length) { return length + (length + 127) / 128; }

Bytes pack(const Bytes& row) {
  // A byte more than is ever needed: it must stay as it was.
  const int room = mostPacked(static_cast<int>(row.size()));
  Bytes packed = repeated(room + 1, 0xA5);
  int position = 0;
  // What stands behind the row would lengthen its last run and must not count.
  const Bytes image = joined({row, repeated(64, row.back())});
  EXPECT_EQ(rkdStsNoErr, rkdiPackBitsRow_TIFF_8u_C1(image.data(), static_cast<int>(row.size()),
                                                    packed.data(), room, &position));
  EXPECT_EQ(0xA5, packed[room]);
  packed.resize(static_cast<size_t>(position));
  return packed;
}

struct Unpacked {
  RkdStatus status;
  int read;
  Bytes row;
  bool operator==(const Unpacked& other) const {
    return status == other.status && read == other.read && row == other.row;
  }
};

std::ostream& operator<<(std::ostream& out, const Unpacked& u) {
  return out << "status " << u.status << ", read " << u.read << ", row "
             << testing::PrintToString(u.row);
}

template <class Function>
Unpacked unpackBy(Function function, const Bytes& packed, int rowLength) {
  // In a block of their exact length, so that a read beyond them shows under a sanitizer.
  const Bytes exact(packed.begin(), packed.end());
  Bytes row = repeated(rowLength + 64, 0xA5);
  int read = 0, written = 0;
  const RkdStatus status = function(exact.data(), static_cast<int>(exact.size()), &read, row.data(),
                                    rowLength, &written);
  EXPECT_EQ(repeated(64, 0xA5), Bytes(row.begin() + rowLength, row.end()))
      << "written behind the row";
  row.resize(static_cast<size_t>(written));
  return {status, read, row};
}

Unpacked unpack(const Bytes& packed, int rowLength) {
  return unpackBy(rkdiUnpackBitsRow_TIFF_8u_C1, packed, rowLength);
}

/// Runs and literals of lengths around those of vectors and packets.
Bytes mixedRow(Random& random, int length) {
  Bytes row;
  while (static_cast<int>(row.size()) < length) {
    const int count = random.between(0, 3) == 0 ? random.between(1, 300) : random.between(1, 5);
    const bool run = random.between(0, 1) == 0;
    const auto value = static_cast<uint8_t>(random.between(0, 3));
    for (int i = 0; i < count; ++i) {
      row.push_back(run ? value : static_cast<uint8_t>(random.bits() >> 24));
    }
  }
  row.resize(static_cast<size_t>(length));
  return row;
}

struct Known {
  Bytes row, packed;
};

TEST(PackBits, WritesKnownPackets) {
  const std::vector<Known> known = {
      {fromHex("07"), fromHex("0007")},
      {fromHex("0909"), fromHex("FF09")},
      {fromHex("0908"), fromHex("010908")},
      {fromHex("050505"), fromHex("FE05")},
      {repeated(128, 1), fromHex("8101")},
      {repeated(129, 1), fromHex("81010001")},
      {repeated(130, 1), fromHex("8101FF01")},
      {repeated(256, 0), fromHex("81008100")},
      {repeated(300, 255), fromHex("81FF81FFD5FF")},
      {ascending(128), joined({fromHex("7F"), ascending(128)})},
      {ascending(129), joined({fromHex("7F"), ascending(128), fromHex("0080")})},
      {fromHex("010203030405"), fromHex("05010203030405")},
      {fromHex("01020303"), fromHex("0301020303")},
      {fromHex("03030102"), fromHex("FF03010102")},
      {fromHex("01020303030405"), fromHex("010102FE03010405")},
      {fromHex("0101020203030404"), fromHex("FF01FF02FF03FF04")},
      {fromHex("00000000000101010101020303030303"), fromHex("FC00FC010002FC03")},
      {fromHex("AAAAAA80002AAAAAAAAA80002A22AAAAAAAAAAAAAAAAAAAA"),
       fromHex("FEAA0280002AFDAA0380002A22F7AA")},
  };
  forEachLevel([&] {
    for (const Known& k : known) {
      EXPECT_EQ(k.packed, pack(k.row));
      const int length = static_cast<int>(k.row.size());
      EXPECT_EQ((Unpacked{rkdStsNoErr, static_cast<int>(k.packed.size()), k.row}),
                unpack(k.packed, length));
    }
  });
}

TEST(PackBits, UnpacksWhatOthersMayWrite) {
  const std::vector<Known> known = {
      {fromHex("FF414141"), fromHex("8000FF80FE41")},
      {fromHex("01010203040404"), fromHex("FF018001020380FE04")},
      {repeated(129, 1), fromHex("8201FF01")},
      {fromHex("01020303"), fromHex("010102FF03")},
      {repeated(128, 0x55), fromHex("8155")},
  };
  for (const Known& k : known) {
    EXPECT_EQ((Unpacked{rkdStsNoErr, static_cast<int>(k.packed.size()), k.row}),
              unpack(k.packed, static_cast<int>(k.row.size())));
  }
}

TEST(PackBits, EveryLevelEqualsThePlainVersionAndComesBack) {
  forEachLevel([] {
    Random random;
    for (int round = 0; round < 300; ++round) {
      const Bytes row = mixedRow(random, round < 150 ? round + 1 : random.between(1, 2000));
      const int length = static_cast<int>(row.size());
      Bytes want(static_cast<size_t>(mostPacked(length)));
      int position = 0;
      ref::rkdiPackBitsRow_TIFF_8u_C1(row.data(), length, want.data(),
                                      static_cast<int>(want.size()), &position);
      want.resize(static_cast<size_t>(position));
      const Bytes packed = pack(row);
      ASSERT_EQ(want, packed);
      ASSERT_EQ((Unpacked{rkdStsNoErr, static_cast<int>(packed.size()), row}),
                unpack(packed, length));
    }
  });
}

TEST(PackBits, FullDestinationsKeepWholePackets) {
  const Bytes row = fromHex("AAAAAA80002AAAAAAAAA");  // FE AA | 02 80 00 2A | FD AA
  const std::vector<int> kept = {0, 0, 2, 2, 2, 2, 6, 6, 8};
  forEachLevel([&] {
    for (int room = 1; room <= 8; ++room) {
      Bytes packed = repeated(9, 0xA5);
      int position = 0;
      EXPECT_EQ(room < 8 ? rkdStsDstFullErr : rkdStsNoErr,
                rkdiPackBitsRow_TIFF_8u_C1(row.data(), 10, packed.data(), room, &position));
      EXPECT_EQ(kept[room], position);
      EXPECT_EQ(repeated(9 - position, 0xA5), Bytes(packed.begin() + position, packed.end()));
    }
  });
}

TEST(PackBits, CorruptStreamsStopInsideTheirLengths) {
  EXPECT_EQ((Unpacked{rkdStsSrcEndErr, 1, {}}), unpack(fromHex("80"), 1));
  EXPECT_EQ((Unpacked{rkdStsSrcEndErr, 1, {}}), unpack(fromHex("FE"), 3));
  EXPECT_EQ((Unpacked{rkdStsSrcEndErr, 3, fromHex("0102")}), unpack(fromHex("050102"), 9));
  EXPECT_EQ((Unpacked{rkdStsSrcEndErr, 2, fromHex("0707")}), unpack(fromHex("FF07"), 3));
  EXPECT_EQ((Unpacked{rkdStsDstFullErr, 2, fromHex("0707")}), unpack(fromHex("FE07"), 2));
  EXPECT_EQ((Unpacked{rkdStsDstFullErr, 3, fromHex("0102")}), unpack(fromHex("02010203"), 2));
  EXPECT_EQ((Unpacked{rkdStsNoErr, 2, fromHex("0707")}), unpack(fromHex("FF078080"), 2));
  Random random;
  for (int round = 0; round < 3000; ++round) {
    Bytes packed(static_cast<size_t>(random.between(1, 60)));
    for (uint8_t& byte : packed) byte = static_cast<uint8_t>(random.bits() >> 24);
    if (round % 2 == 0) packed[0] = static_cast<uint8_t>(packed[0] % 16);
    const int length = random.between(1, 400);
    ASSERT_EQ(unpackBy(ref::rkdiUnpackBitsRow_TIFF_8u_C1, packed, length), unpack(packed, length));
  }
}

TEST(PackBits, RowsFollowEachOtherInOneBuffer) {
  const Bytes first = fromHex("0102"), second = fromHex("030303");
  Bytes strip(16);
  int position = 0;
  rkdiPackBitsRow_TIFF_8u_C1(first.data(), 2, strip.data(), 16, &position);
  rkdiPackBitsRow_TIFF_8u_C1(second.data(), 3, strip.data(), 16, &position);
  ASSERT_EQ(5, position);
  Bytes row(3);
  int read = 0, written = 0;
  EXPECT_EQ(rkdStsNoErr,
            rkdiUnpackBitsRow_TIFF_8u_C1(strip.data(), 5, &read, row.data(), 2, &written));
  EXPECT_EQ(rkdStsNoErr,
            rkdiUnpackBitsRow_TIFF_8u_C1(strip.data(), 5, &read, row.data(), 3, &written));
  EXPECT_EQ(second, row);
  EXPECT_EQ(5, read);
}

TEST(PackBits, RefusesBadArguments) {
  uint8_t from[4] = {1, 2, 3, 4}, to[8] = {};
  const auto packing = [&](const uint8_t* src, int srcLen, uint8_t* dst, int dstLen, int position) {
    const int before = position;
    const RkdStatus status = rkdiPackBitsRow_TIFF_8u_C1(src, srcLen, dst, dstLen, &position);
    EXPECT_EQ(before, position);
    return status;
  };
  const auto unpacking = [&](const uint8_t* src, int srcLen, int position, uint8_t* dst,
                             int dstLen) {
    const int before = position;
    int written = 77;
    const RkdStatus status =
        rkdiUnpackBitsRow_TIFF_8u_C1(src, srcLen, &position, dst, dstLen, &written);
    EXPECT_TRUE(before == position && written == 77);
    return status;
  };
  EXPECT_EQ(rkdStsNullPtrErr, packing(nullptr, 4, to, 8, 0));
  EXPECT_EQ(rkdStsNullPtrErr, packing(from, 4, nullptr, 8, 0));
  EXPECT_EQ(rkdStsNullPtrErr, rkdiPackBitsRow_TIFF_8u_C1(from, 4, to, 8, nullptr));
  EXPECT_EQ(rkdStsSizeErr, packing(from, 0, to, 8, 0));
  EXPECT_EQ(rkdStsSizeErr, packing(from, 4, to, -1, 0));
  EXPECT_EQ(rkdStsBadArgErr, packing(from, 4, to, 8, -1));
  EXPECT_EQ(rkdStsBadArgErr, packing(from, 4, to, 8, 9));
  int number = 0;
  EXPECT_EQ(rkdStsNullPtrErr, unpacking(nullptr, 4, 0, to, 8));
  EXPECT_EQ(rkdStsNullPtrErr, unpacking(from, 4, 0, nullptr, 8));
  EXPECT_EQ(rkdStsNullPtrErr, rkdiUnpackBitsRow_TIFF_8u_C1(from, 4, nullptr, to, 8, &number));
  EXPECT_EQ(rkdStsNullPtrErr, rkdiUnpackBitsRow_TIFF_8u_C1(from, 4, &number, to, 8, nullptr));
  EXPECT_EQ(rkdStsSizeErr, unpacking(from, -4, 0, to, 8));
  EXPECT_EQ(rkdStsSizeErr, unpacking(from, 4, 0, to, 0));
  EXPECT_EQ(rkdStsBadArgErr, unpacking(from, 4, -1, to, 8));
  EXPECT_EQ(rkdStsBadArgErr, unpacking(from, 4, 5, to, 8));
}

TEST(SplitRows, HaveUpperBytesFirstAndComeBackAtEveryLevel) {
  forEachLevel([] {
    Random random;
    for (const int length : {1, 2, 7, 8, 15, 16, 17, 31, 32, 33, 63, 64, 65, 127, 129, 1001}) {
      const rkdkit::Place place = {length % 64, 0};
      Canvas<uint16_t> samples(sz(length, 1), 1, place), back(sz(length, 1), 1, place);
      Canvas<uint8_t> split(sz(2 * length, 1), 1, place);
      samples.fillLimitsAndRandom(random);
      ASSERT_EQ(rkdStsNoErr, rkdiSplitRow_TIFF_16u8u_C1(samples.data(), split.data(), length));
      for (int x = 0; x < length; ++x) {
        ASSERT_EQ(samples.at(x, 0) >> 8, split.at(x, 0)) << length << ", " << x;
        ASSERT_EQ(samples.at(x, 0) & 255, split.at(length + x, 0)) << length << ", " << x;
      }
      ASSERT_EQ(rkdStsNoErr, rkdiJoinRow_TIFF_8u16u_C1(split.data(), back.data(), length));
      ASSERT_TRUE(back.sameAs(samples) && back.marginIntact() && split.marginIntact()) << length;
    }
  });
}

TEST(SplitRows, TooLongToCountTheirBytesAreRefused) {
  uint16_t samples[2] = {1, 2};
  uint8_t bytes[4] = {1, 2, 3, 4};
  for (const int length : {1 << 30, 2147483647}) {
    EXPECT_EQ(rkdStsSizeErr, rkdiSplitRow_TIFF_16u8u_C1(samples, bytes, length));
    EXPECT_EQ(rkdStsSizeErr, rkdiJoinRow_TIFF_8u16u_C1(bytes, samples, length));
  }
}

}  // namespace
