// Files as they were met: odd ones open, hostile ones cost nothing. Each is made here by editing
// one of our own.
#include <algorithm>
#include <numeric>

#include "damagekit.h"
#include "picture.h"

namespace {

using namespace j2kkit;
using j2k::Options;

Bytes piece(const Bytes& file, size_t from, size_t to) {
  return {file.begin() + std::ptrdiff_t(from), file.begin() + std::ptrdiff_t(to)};
}

uint32_t get(const Bytes& file, size_t at, int bytes) {
  uint32_t value = 0;
  for (int i = 0; i < bytes; ++i) value = value << 8 | file.at(at + size_t(i));
  return value;
}

/// The tile-parts of a stream, from SOT to the next.
std::vector<Bytes> tileParts(const Bytes& file) {
  std::vector<Bytes> parts;
  for (size_t at = find(file, sotMarker); get(file, at, 2) == sotMarker;) {
    const size_t end = at + get(file, at + 6, 4);
    parts.push_back(piece(file, at, end));
    at = end;
  }
  return parts;
}

/// A stream of other tile-parts.
Bytes rebuilt(const Bytes& file, const std::vector<Bytes>& parts) {
  Bytes out = piece(file, 0, find(file, sotMarker));
  for (const Bytes& part : parts) out.insert(out.end(), part.begin(), part.end());
  out.insert(out.end(), {0xFF, 0xD9});
  return out;
}

TEST(Wild, TilePartsOfSeveralTilesMayBeInterleaved) {
  for (const char packed : {char(0), 'T'}) {
    Options options;
    options.tileWidth = 20;
    options.levels = 2;
    options.tileParts = 'R';
    options.progress = j2k::Progress::rlcp;
    options.packedHeaders = packed;
    options.plt = true;
    const Bytes file = stream(options);
    std::vector<Bytes> parts = tileParts(file);
    ASSERT_EQ(6U, parts.size());
    const std::vector<Bytes> mixed = {parts[3], parts[0], parts[1], parts[4], parts[5], parts[2]};
    EXPECT_EQ(small().planes, decodedWell(rebuilt(file, mixed)).planes);
    // TNsot may be told in the last part alone, or in none.
    for (Bytes& part : parts) part[11] = 0;
    EXPECT_EQ(small().planes, decodedWell(rebuilt(file, parts)).planes);
  }
}

TEST(Wild, APartThatIsMissingLeavesTheRest) {
  Options options;
  options.tileWidth = 20;
  options.tileParts = 'R';
  options.progress = j2k::Progress::rlcp;
  const Bytes file = stream(options);
  std::vector<Bytes> parts = tileParts(file);
  parts.erase(parts.begin() + 2);
  Messages messages;
  const Picture got = decoded(rebuilt(file, parts), {}, messages);
  ASSERT_FALSE(got.planes.empty());
  EXPECT_TRUE(messages.has(515)) << messages.text;
  // The other tile is whole.
  const Picture want = small();
  for (size_t y = 0; y < 30; ++y) {
    for (size_t x = 20; x < 40; ++x) {
      ASSERT_EQ(want.planes[0][y * 40 + x], got.planes[0][y * 40 + x]);
    }
  }
}

TEST(Wild, TheLastTilePartMayReachToAnEndWithoutMark) {
  Bytes file = edited(sotMarker, 6, 0, 4);
  file.resize(file.size() - 2);
  Messages messages;
  EXPECT_EQ(small().planes, decoded(file, {}, messages).planes);
  EXPECT_TRUE(messages.has(510)) << messages.text;
}

/// Packet headers in segments of so many bytes, in this order of their numbers.
Bytes splitHeaders(char where, bool backwards) {
  Options options;
  options.packedHeaders = where;
  Bytes file = stream(options);
  const int marker = where == 'M' ? 0xFF60 : 0xFF61;
  const size_t at = find(file, marker), length = get(file, at + 2, 2);
  const Bytes headers = piece(file, at + 5, at + 2 + length);
  file.erase(file.begin() + std::ptrdiff_t(at), file.begin() + std::ptrdiff_t(at + 2 + length));
  std::vector<Bytes> segments;
  for (size_t from = 0; from < headers.size(); from += 7) {
    const size_t to = std::min(headers.size(), from + 7);
    Bytes segment = {uint8_t(marker >> 8), uint8_t(marker), 0, uint8_t(to - from + 3),
                     uint8_t(segments.size())};
    segment.insert(segment.end(), headers.begin() + std::ptrdiff_t(from),
                   headers.begin() + std::ptrdiff_t(to));
    segments.push_back(segment);
  }
  if (backwards) std::reverse(segments.begin(), segments.end());
  Bytes all;
  for (const Bytes& segment : segments) all.insert(all.end(), segment.begin(), segment.end());
  insert(file, at, all);
  const size_t sot = find(file, sotMarker);
  put(file, sot + 6, uint32_t(file.size() - 2 - sot), 4);
  return file;
}

TEST(Wild, PackedHeadersMayBeSplitAnywhereAndStandInAnyOrder) {
  for (const char where : {'M', 'T'}) {
    EXPECT_EQ(small().planes, decodedWell(splitHeaders(where, false)).planes) << where;
    Messages messages;
    EXPECT_EQ(small().planes, decoded(splitHeaders(where, true), {}, messages).planes) << where;
    EXPECT_TRUE(messages.has(507));
  }
}

TEST(Wild, MarkersOfPacketsMayBeAnnouncedAndMissingOrTheOtherWayRound) {
  for (const uint8_t announced : {2, 4, 6}) {  // SOP, EPH, both
    Messages messages;
    const Bytes file = edited(codMarker, 4, announced, 1);
    EXPECT_EQ(small().planes, decoded(file, {}, messages).planes) << messages.text;
    // SOP may be left out of any packet.
    EXPECT_EQ((announced & 4) != 0, messages.has(605)) << messages.text;
  }
  for (const int written : {1, 2, 3}) {
    Options options;
    options.sop = (written & 1) != 0;
    options.eph = (written & 2) != 0;
    Bytes file = stream(options);
    file[find(file, codMarker) + 4] = 0;
    Messages messages;
    EXPECT_EQ(small().planes, decoded(file, {}, messages).planes) << messages.text;
    EXPECT_TRUE(messages.has(604)) << messages.text;
  }
}

TEST(Hostile, PackedHeadersAreNoLongerThanWhatIsThere) {
  Options options;
  options.packedHeaders = 'M';
  Bytes file = stream(options);
  const size_t length = find(file, 0xFF60) + 5;
  for (const uint32_t told : {get(file, length, 4) + 1, 0x7FFFFFFFU, 0xFFFFFFFFU}) {
    put(file, length, told, 4);
    Options limits;
    limits.memoryMiB = 8;
    Messages messages;
    EXPECT_FALSE(decoded(file, limits, messages).planes.empty()) << messages.text;
    EXPECT_TRUE(messages.has(508)) << messages.text;
  }
}

/// A segment one byte longer or shorter, its length told or not.
TEST(Wild, SegmentsAByteTooLongOrShortDoNoHarm) {
  Options options;
  options.tlm = options.plt = true;
  options.tileWidth = 20;
  options.changes = {{0, 0, 1, 6, 3, j2k::Progress::lrcp}};
  Bytes whole = stream(options);
  insert(whole, find(whole, comMarker), {0xFF, 0x63, 0, 14, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0});
  Options region;
  region.crop = {25, 5, 10, 10};
  for (const int marker : {0xFF51, 0xFF52, 0xFF5C, 0xFF5D, 0xFF63, 0xFF55, 0xFF5F, 0xFF64}) {
    for (const bool longer : {true, false}) {
      Bytes file = whole;
      const size_t at = find(file, marker), length = get(file, at + 2, 2);
      put(file, at + 2, uint32_t(longer ? length + 1 : length - 1), 2);
      const auto end = file.begin() + std::ptrdiff_t(at + 2 + length);
      longer ? void(file.insert(end, 0)) : void(file.erase(end - 1));
      for (const Options& how : {Options(), region}) {
        Messages messages;
        const Picture got = decoded(file, how, messages);
        EXPECT_TRUE(!got.planes.empty() || !messages.numbers.empty()) << marker;
      }
    }
  }
}

TEST(Wild, EveryFieldOfAChangeOfProgressionMayBeOffByOne) {
  Options options;
  options.layers = 2;
  options.precincts = {{0, 0, 16, 16}};
  options.changes = {{0, 0, 1, 3, 3, j2k::Progress::rlcp},
                     {0, 1, 2, 6, 3, j2k::Progress::pcrl},
                     {0, 0, 2, 6, 3, j2k::Progress::cprl}};
  const Bytes whole = stream(options);
  const size_t poc = find(whole, 0xFF5F);
  for (size_t i = 2; i < 4 + 21; ++i) {
    for (const int by : {-1, 1}) {
      Bytes file = whole;
      file[poc + i] = uint8_t(file[poc + i] + by);
      Messages messages;
      decoded(file, {}, messages);
      Options list;
      list.listing = true;
      Messages listed;
      decoded(file, list, listed);
    }
  }
}

TEST(Hostile, ExtremesOfGeometryCostNothing) {
  struct {
    const char* what;
    uint32_t size, tile, levels, precinct, sampling;
    int crop;
  } const cases[] = {
      {"32 levels of the largest precincts, sampled by 255", 0xFFFFFFFF, 0xFFFFFFFF, 32, 0xFF, 255,
       0},
      {"the same, one pixel of it", 0xFFFFFFFF, 0xFFFFFFFF, 32, 0xFF, 255, 1},
      {"65537 x 65537 precincts of one sample, one pixel of them", 65537, 65537, 0, 0, 1, 1},
      {"2^31 precincts of two samples, one pixel of them", 0x7FFFFFFF, 0x7FFFFFFF, 3, 0x11, 1, 1},
      {"65025 tiles of two samples", 510, 2, 32, 0x11, 1, 0},
  };
  for (const auto& c : cases) {
    Options options;
    options.levels = int(c.levels);
    options.precincts = {{0, 0, 64, 64}};
    options.transform = 0;
    Bytes file = stream(options);
    const size_t siz = find(file, sizMarker), cod = find(file, codMarker);
    put(file, siz + 6, c.size, 4);
    put(file, siz + 10, c.size, 4);
    put(file, siz + 22, c.tile, 4);
    put(file, siz + 26, c.tile, 4);
    for (size_t i = 0; i < 3; ++i) put(file, siz + 41 + 3 * i, c.sampling << 8 | c.sampling, 2);
    for (size_t r = 0; r <= c.levels; ++r) {
      file[cod + 14 + r] = uint8_t(r > 0 && c.precinct == 0 ? 0x11 : c.precinct);
    }
    for (const bool listing : {false, true}) {
      Options limits;
      limits.memoryMiB = 64;
      limits.listing = listing;
      if (c.crop) limits.crop = {5, 5, 1, 1};
      Messages messages;
      const Picture got = decoded(file, limits, messages);
      EXPECT_TRUE(!got.planes.empty() || !messages.numbers.empty()) << c.what;
      EXPECT_EQ(c.crop == 0, messages.has(103) || messages.has(517)) << c.what << messages.text;
      EXPECT_GT(1U << 20, messages.text.size()) << c.what;
    }
  }
}

TEST(Hostile, ManyComponentsInManyTilesAreRefused) {
  Options options;
  options.transform = 0;
  Bytes file = stream(options);
  const size_t siz = find(file, sizMarker);
  constexpr int components = 16384, tiles = 2000;
  Bytes extra;
  for (int c = 3; c < components; ++c) extra.insert(extra.end(), {7, 1, 1});
  put(file, siz + 38, components, 2);
  put(file, siz + 2, uint32_t(38 + 3 * components), 2);
  insert(file, siz + 40 + 9, extra);
  put(file, siz + 6, tiles, 4);
  put(file, siz + 22, 1, 4);
  file.resize(find(file, sotMarker, siz + 40 + 3 * components));
  for (int t = 0; t < tiles; ++t) {
    file.insert(file.end(),
                {0xFF, 0x90, 0, 10, uint8_t(t >> 8), uint8_t(t), 0, 0, 0, 14, 0, 1, 0xFF, 0x93});
  }
  Messages messages;
  decoded(file, {}, messages);
  EXPECT_TRUE(messages.has(105)) << messages.text;
}

TEST(Hostile, WarningsDoNotFlood) {
  Options options;
  options.tileWidth = options.tileHeight = 2;
  Bytes file = stream(options);
  file.resize(find(file, sotMarker) + 14);  // of 300 tiles there is one, without packets
  Messages messages;
  decoded(file, {}, messages);
  EXPECT_GT(20U, messages.numbers.size()) << messages.text;
  EXPECT_NE(std::string::npos, messages.text.find("more times"));
}

// ---- boxes ----

j2k::Pixels pixelsOf(const Bytes& file, Messages& messages) {
  j2k::Pixels pixels;
  j2k::PictureInfo info;
  if (j2k::decodePixels({}, messages, file, 16, pixels, info) != j2k::Status::ok) pixels = {};
  return pixels;
}

TEST(Wild, BoxesThatAreAlmostRightDoNotKeepThePictureFromOpening) {
  Bytes longColour = boxed();  // colour with four bytes more, as its profile would need
  const size_t colr = typeAt(longColour, "colr") - 4, super = typeAt(longColour, "jp2h") - 4;
  put(longColour, colr, 19, 4);
  put(longColour, super, get(longColour, super, 4) + 4, 4);
  insert(longColour, colr + 15, {0, 0, 0, 0});
  EXPECT_EQ(small().planes, decodedWell(longColour).planes);
  // XML that a C program ended.
  Bytes xml = boxed();
  insert(xml, typeAt(xml, "jp2c") - 4, boxOf("xml ", {'<', 'a', '/', '>', 0}));
  const Picture got = decodedWell(xml);
  EXPECT_EQ(small().planes, got.planes);
  EXPECT_EQ(5U, got.info.xml.at(0).size());
  // Every number of depths in bpcc but the right one is told.
  for (uint8_t count = 0; count < 6; ++count) {
    Bytes depths = withBoxes(boxed(), boxOf("bpcc", Bytes(count, 7)));
    depths[typeAt(depths, "ihdr") + 14] = 255;
    Messages messages;
    EXPECT_EQ(small().planes, decoded(depths, {}, messages).planes);
    EXPECT_EQ(count != 3, messages.has(703)) << int(count);
  }
}

TEST(Wild, BoxesOfEveryShortLengthAlsoNestedDoNoHarm) {
  for (const char* const type : {"jp2h", "ihdr", "colr", "ftyp", "jp2c"}) {
    for (uint32_t length = 0; length < 17; ++length) {
      Bytes file = boxed();
      put(file, typeAt(file, type) - 4, length, 4);
      Messages messages;
      decoded(file, {}, messages);
    }
  }
  Bytes nested;
  for (int depth = 0; depth < 20; ++depth) nested = boxOf("asoc", nested);
  Bytes file = boxed();
  insert(file, typeAt(file, "jp2c") - 4, nested);
  EXPECT_EQ(small().planes, decodedWell(file).planes);
}

TEST(Wild, ChannelsOfEveryNumberAndKindGiveAPicture) {
  Picture picture = waves(21, 11, 3);
  for (size_t c = 1; c < 3; ++c) {
    auto& info = picture.info.components[c];
    info.dx = info.dy = 2;
    info.width = 11;
    info.height = 6;
    picture.planes[c].assign(66, 128);
  }
  picture.info.colour = j2k::ColourSpace::sycc;
  Options options;
  options.transform = 0;
  const Bytes whole = encoded(picture, options);
  for (int channel = 0; channel < 5; ++channel) {
    for (const int association : {0, 1, 2, 3, 4, 65535}) {
      for (const int type : {0, 1, 2, 65535}) {
        Bytes content = {0, 3};
        for (int c = 0; c < 3; ++c) {
          const bool odd = c == 1;
          for (const int v : {odd ? channel : c, odd ? type : 0, odd ? association : c + 1}) {
            content.insert(content.end(), {uint8_t(v >> 8), uint8_t(v)});
          }
        }
        Messages messages;
        const j2k::Pixels pixels = pixelsOf(withBoxes(whole, boxOf("cdef", content)), messages);
        EXPECT_EQ(3, pixels.channels) << channel << " " << association << messages.text;
        EXPECT_EQ(21U * 11 * 3, pixels.bytes.size());
      }
    }
  }
}

/// Luma, and chroma at half the width and height.
Picture subsampled() {
  Picture picture = waves(20, 10, 3);
  for (size_t c = 1; c < 3; ++c) {
    const Picture chroma = waves(10, 5, 3);
    picture.planes[c] = chroma.planes[c];
    picture.info.components[c] = {10, 5, 8, false, 2, 2};
  }
  return picture;
}

TEST(Wild, LumaAndChromaInAnotherOrderGiveTheSameColours) {
  Picture picture = subsampled(), other = picture;
  picture.info.colour = other.info.colour = j2k::ColourSpace::sycc;
  Options options;
  options.transform = 0;
  Messages messages;
  const j2k::Pixels want = pixelsOf(encoded(picture, options), messages);
  // Cr, luma, Cb
  for (const auto& [to, from] : {std::pair<size_t, size_t>{0, 2}, {1, 0}, {2, 1}}) {
    other.planes[to] = picture.planes[from];
    other.info.components[to] = picture.info.components[from];
  }
  const Bytes file =
      withBoxes(encoded(other, options),
                boxOf("cdef", {0, 3, 0, 0, 0, 0, 0, 3, 0, 1, 0, 0, 0, 1, 0, 2, 0, 0, 0, 2}));
  const j2k::Pixels got = pixelsOf(file, messages);
  EXPECT_EQ("", messages.text);
  EXPECT_EQ(want.bytes, got.bytes);
}

TEST(Wild, SubsampledColoursOfNoToldSpaceAreHandedOverAtTheSizeOfThePicture) {
  Picture picture = subsampled();
  Options options;
  options.transform = 0;
  options.rawStream = true;
  Messages messages;
  const j2k::Pixels pixels = pixelsOf(encoded(picture, options), messages);
  EXPECT_EQ("", messages.text);
  ASSERT_EQ(600U, pixels.bytes.size());
  for (size_t y = 0; y < 10; ++y) {
    for (size_t x = 0; x < 20; ++x) {
      ASSERT_EQ(picture.planes[0][y * 20 + x], pixels.bytes[(y * 20 + x) * 3]);
      ASSERT_EQ(picture.planes[2][y / 2 * 10 + x / 2], pixels.bytes[(y * 20 + x) * 3 + 2]);
    }
  }
}

TEST(Wild, ColourSpacesThatAreNotConvertedAreHandedOver) {
  for (const uint8_t space : {0, 12, 14, 24}) {  // bi-level, CMYK, Lab, e-sYCC
    Picture picture = waves(20, 10, space == 12 ? 4 : 3);
    Options options;
    options.transform = 0;
    Bytes file = encoded(picture, options);
    file[typeAt(file, "colr") + 10] = space;
    Messages messages;
    const j2k::Pixels pixels = pixelsOf(file, messages);
    EXPECT_TRUE(messages.has(705)) << int(space);
    ASSERT_EQ(int(picture.planes.size()), pixels.channels);
    for (size_t i = 0; i < 200; ++i) {
      ASSERT_EQ(picture.planes[1][i], pixels.bytes[i * picture.planes.size() + 1]);
    }
  }
}

TEST(Wild, APaletteWithOpacityGivesFourChannels) {
  Picture picture = waves(20, 10, 2);
  for (size_t i = 0; i < 200; ++i) picture.planes[0][i] = int(i % 3);
  Bytes file = encoded(picture, {});
  const size_t cdef = typeAt(file, "cdef") - 4, super = typeAt(file, "jp2h") - 4;
  const uint32_t length = get(file, cdef, 4);
  put(file, super, get(file, super, 4) - length, 4);
  file.erase(file.begin() + std::ptrdiff_t(cdef), file.begin() + std::ptrdiff_t(cdef + length));
  Bytes boxes = boxOf("pclr", {0, 3, 3, 7, 7, 7, 9, 8, 7, 6, 5, 4, 3, 2, 1});
  for (const Bytes& more : {boxOf("cmap", {0, 0, 1, 0, 0, 0, 1, 1, 0, 0, 1, 2, 0, 1, 0, 0}),
                            boxOf("cdef", {0, 4, 0, 3, 0, 1, 0, 0, 0, 0, 0, 0, 0,
                                           3, 0, 1, 0, 0, 0, 2, 0, 2, 0, 0, 0, 1})}) {
    boxes.insert(boxes.end(), more.begin(), more.end());
  }
  Messages messages;
  const j2k::Pixels pixels = pixelsOf(withBoxes(file, boxes), messages);
  EXPECT_EQ("", messages.text);
  ASSERT_EQ(4, pixels.channels);
  for (size_t i = 0; i < 200; ++i) {
    // Colours in the order of their associations, then opacity.
    const int index = picture.planes[0][i];
    for (int c = 0; c < 3; ++c) ASSERT_EQ(9 - 3 * index - 2 + c, pixels.bytes[i * 4 + size_t(c)]);
    ASSERT_EQ(picture.planes[1][i], pixels.bytes[i * 4 + 3]);
  }
}

}  // namespace
