// Our PackBits rows in TIFF files, which libtiff's tiffcp unpacks, and the other way round.
#include <algorithm>
#include <map>
#include <utility>

#include "peerkit.h"
#include "rkd/rkdjpeg_tiff.h"
#include "rkdkit.h"

using peerkit::Bytes;
using rkdkit::forEachLevel;
using rkdkit::Random;

namespace {

enum Compression { NONE = 1, PACKBITS = 32773 };

/// Grey samples of 1 or 8 bits, or RGB of 8.
struct Picture {
  int width, height, bits, channels, rowsPerStrip;
  Bytes rows = {};

  int rowLength() const { return (width * channels * bits + 7) / 8; }
  int strips() const { return (height + rowsPerStrip - 1) / rowsPerStrip; }
  int rowsOf(int strip) const { return std::min(rowsPerStrip, height - strip * rowsPerStrip); }
  const uint8_t* strip(int n) const { return rows.data() + n * rowsPerStrip * rowLength(); }
};

std::ostream& operator<<(std::ostream& out, const Picture& p) {
  return out << p.width << "x" << p.height << ", " << p.channels << " of " << p.bits << " bits, "
             << p.rowsPerStrip << " rows a strip";
}

/// Runs of any length between noise; the bits behind a row's last sample are 0.
void draw(Picture& picture, Random& random) {
  const int length = picture.rowLength();
  const int unused = length * 8 - picture.width * picture.channels * picture.bits;
  picture.rows.clear();
  for (int y = 0; y < picture.height; ++y) {
    Bytes row;
    while (int(row.size()) < length) {
      const bool run = random.between(0, 2) > 0;
      const int count = run ? random.between(1, 300) : random.between(1, 150);
      const auto value = uint8_t(random.between(0, 255));
      for (int i = 0; i < count; ++i) row.push_back(run ? value : uint8_t(random.between(0, 255)));
    }
    row.resize(size_t(length));
    row.back() = uint8_t(row.back() >> unused << unused);
    picture.rows.insert(picture.rows.end(), row.begin(), row.end());
  }
}

// ---- the rows of a strip ----

Bytes packedStrip(const Picture& picture, int strip) {
  const int length = picture.rowLength(), rows = picture.rowsOf(strip);
  Bytes packed(size_t(rows * (length + (length + 127) / 128)));
  int position = 0;
  for (int y = 0; y < rows; ++y) {
    EXPECT_EQ(rkdStsNoErr,
              rkdiPackBitsRow_TIFF_8u_C1(picture.strip(strip) + y * length, length, packed.data(),
                                         int(packed.size()), &position));
  }
  packed.resize(size_t(position));
  return packed;
}

Bytes plainStrip(const Picture& picture, int strip) {
  return {picture.strip(strip), picture.strip(strip) + picture.rowsOf(strip) * picture.rowLength()};
}

/// Appends the rows that a packed strip holds.
void unpackStrip(const Bytes& packed, int rows, int length, Bytes& to) {
  int position = 0;
  for (int y = 0; y < rows; ++y) {
    Bytes row(size_t(length), 0);
    int written = 0;
    ASSERT_EQ(rkdStsNoErr, rkdiUnpackBitsRow_TIFF_8u_C1(packed.data(), int(packed.size()),
                                                        &position, row.data(), length, &written));
    ASSERT_EQ(length, written);
    to.insert(to.end(), row.begin(), row.end());
  }
  EXPECT_EQ(int(packed.size()), position);
}

// ---- files: little-endian, one directory, which stands behind the strips ----

enum Tag {
  WIDTH = 256,
  LENGTH = 257,
  BITS = 258,
  COMPRESSION = 259,
  PHOTOMETRIC = 262,
  STRIP_OFFSETS = 273,
  CHANNELS = 277,
  ROWS_PER_STRIP = 278,
  STRIP_LENGTHS = 279,
};

void put(Bytes& to, uint32_t value, int bytes) {
  for (int i = 0; i < bytes; ++i) to.push_back(uint8_t(value >> 8 * i));
}

uint32_t get(const Bytes& from, size_t at, int bytes) {
  uint32_t value = 0;
  for (int i = 0; i < bytes; ++i) value |= uint32_t(from.at(at + size_t(i))) << 8 * i;
  return value;
}

using Fields = std::map<int, std::vector<uint32_t>>;

Bytes tiff(const Picture& picture, Compression compression) {
  Fields fields = {{WIDTH, {uint32_t(picture.width)}},
                   {LENGTH, {uint32_t(picture.height)}},
                   {BITS, std::vector<uint32_t>(size_t(picture.channels), uint32_t(picture.bits))},
                   {COMPRESSION, {uint32_t(compression)}},
                   {PHOTOMETRIC, {picture.channels == 3 ? 2u : 1u}},
                   {CHANNELS, {uint32_t(picture.channels)}},
                   {ROWS_PER_STRIP, {uint32_t(picture.rowsPerStrip)}}};
  Bytes file = {'I', 'I', 42, 0, 0, 0, 0, 0};
  for (int n = 0; n < picture.strips(); ++n) {
    const Bytes strip = compression == PACKBITS ? packedStrip(picture, n) : plainStrip(picture, n);
    fields[STRIP_OFFSETS].push_back(uint32_t(file.size()));
    fields[STRIP_LENGTHS].push_back(uint32_t(strip.size()));
    file.insert(file.end(), strip.begin(), strip.end());
  }
  if (file.size() % 2 != 0) file.push_back(0);
  // Values that do not fit into the directory stand before it.
  constexpr int longType = 4;
  std::map<int, uint32_t> place;
  for (const auto& [tag, values] : fields) {
    place[tag] = values.size() == 1 ? values[0] : uint32_t(file.size());
    if (values.size() == 1) continue;
    for (const uint32_t value : values) put(file, value, 4);
  }
  const auto directory = uint32_t(file.size());
  for (int i = 0; i < 4; ++i) file[size_t(4) + size_t(i)] = uint8_t(directory >> 8 * i);
  put(file, uint32_t(fields.size()), 2);
  for (const auto& [tag, values] : fields) {
    put(file, uint32_t(tag), 2);
    put(file, longType, 2);
    put(file, uint32_t(values.size()), 4);
    put(file, place[tag], 4);
  }
  put(file, 0, 4);
  return file;
}

Fields fieldsOf(const Bytes& file) {
  Fields fields;
  EXPECT_EQ(uint32_t('I' | 'I' << 8 | 42 << 16), get(file, 0, 4));
  const size_t directory = get(file, 4, 4);
  for (size_t i = 0; i < get(file, directory, 2); ++i) {
    const size_t at = directory + 2 + 12 * i;
    const uint32_t type = get(file, at + 2, 2), count = get(file, at + 4, 4);
    const int bytes = type == 3 ? 2 : type == 4 ? 4 : 0;  // others do not matter here
    if (bytes == 0) continue;
    const size_t values = count * uint32_t(bytes) <= 4 ? at + 8 : get(file, at + 8, 4);
    for (uint32_t n = 0; n < count; ++n) {
      fields[int(get(file, at, 2))].push_back(get(file, values + n * size_t(bytes), bytes));
    }
  }
  return fields;
}

/// The rows of a file, which is compressed as told.
Bytes rowsOf(const Bytes& file, Compression compression, const Picture& picture) {
  Fields fields = fieldsOf(file);
  EXPECT_EQ(std::vector<uint32_t>{uint32_t(compression)}, fields[COMPRESSION]);
  Bytes rows;
  int left = picture.height;
  for (size_t n = 0; n < fields[STRIP_OFFSETS].size(); ++n) {
    const auto from = file.begin() + int(fields[STRIP_OFFSETS][n]);
    const Bytes strip(from, from + int(fields[STRIP_LENGTHS].at(n)));
    const int height = std::min(left, int(fields[ROWS_PER_STRIP].at(0)));
    left -= height;
    if (compression == PACKBITS) {
      unpackStrip(strip, height, picture.rowLength(), rows);
    } else {
      rows.insert(rows.end(), strip.begin(), strip.end());
    }
  }
  return rows;
}

class TiffPeer : public peerkit::PeerTest {
 protected:
  TiffPeer() : PeerTest("tiffcp") {}

  /// What tiffcp makes of a file.
  Bytes converted(const Bytes& tiffFile, const std::string& keys) const {
    write("in.tif", tiffFile);
    return made(keys + " " + file("in.tif") + " " + file("out.tif"), "out.tif");
  }
};

// Rows around the lengths of packets and vectors, and of a fax page.
const Picture kPictures[] = {
    {1, 1, 8, 1, 1},    {2, 5, 8, 1, 5},     {127, 9, 8, 1, 4},  {128, 9, 8, 1, 9},
    {129, 9, 8, 1, 2},  {640, 20, 8, 1, 8},  {5, 300, 8, 1, 64}, {43, 11, 8, 3, 3},
    {333, 7, 8, 3, 16}, {1728, 40, 1, 1, 7}, {13, 6, 1, 1, 6},
};

TEST_F(TiffPeer, UnpacksOurRows) {
  forEachLevel([&] {
    Random random;
    for (Picture picture : kPictures) {
      SCOPED_TRACE(picture);
      draw(picture, random);
      const Bytes file = converted(tiff(picture, PACKBITS), "-c none");
      ASSERT_EQ(picture.rows, rowsOf(file, NONE, picture));
    }
  });
}

TEST_F(TiffPeer, PacksRowsThatWeUnpack) {
  Random random;
  for (Picture picture : kPictures) {
    SCOPED_TRACE(picture);
    draw(picture, random);
    const Bytes file = converted(tiff(picture, NONE), "-c packbits");
    forEachLevel([&] { ASSERT_EQ(picture.rows, rowsOf(file, PACKBITS, picture)); });
  }
}

}  // namespace
