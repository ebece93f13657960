// Exif documents: read, shown, edited, written, and damaged in every way.
#include <gtest/gtest.h>

#include <algorithm>
#include <random>

#include "exif.h"
#include "exifvalues.h"

namespace {

using namespace jpeg::exif;
using jpeg::Status;
using Bytes = std::vector<uint8_t>;

constexpr Directory kAll[] = {Directory::image, Directory::thumbnail, Directory::photo,
                              Directory::gps, Directory::interop};

bool isSame(const Document& a, const Document& b) {
  if (a.isBigEndian != b.isBigEndian || a.thumbnail != b.thumbnail) return false;
  for (const Directory d : kAll) {
    const bool isEqual = std::ranges::equal(a.of(d), b.of(d), [](const Entry& x, const Entry& y) {
      return x.tag == y.tag && x.type == y.type && x.count == y.count && x.value == y.value;
    });
    if (!isEqual) return false;
  }
  return true;
}

/// Every type in every directory, short and long, and a thumbnail.
Document full(bool isBigEndian) {
  Document document;
  document.isBigEndian = isBigEndian;
  for (const Directory d : kAll) {
    for (int type = 1; type <= 12; ++type) {
      for (const uint32_t count : {1u, 3u, 40u}) {
        Entry e;
        e.tag = uint16_t(0xC000 + 16 * type + int(count % 16));
        e.type = Type(type);
        e.count = count;
        for (uint32_t i = 0; i < count * uint32_t(sizeOf(e.type)); ++i) {
          e.value.push_back(uint8_t(7 * i + e.tag + uint32_t(d)));
        }
        document.put(d, std::move(e));
      }
    }
  }
  document.thumbnail.assign(500, 0xAB);
  const Fraction place{0, 1}, length{500, 1};
  document.put(Directory::thumbnail, makeEntry(0x201, Type::u32, {&place, 1}, isBigEndian));
  document.put(Directory::thumbnail, makeEntry(0x202, Type::u32, {&length, 1}, isBigEndian));
  return document;
}

TEST(JpegExif, EveryTypeInEveryDirectoryComesBackInBothByteOrders) {
  for (const bool isBigEndian : {false, true}) {
    const Document document = full(isBigEndian);
    const Bytes tiff = write(document);
    Document back;
    ASSERT_EQ(Status::ok, read(tiff, &back));
    EXPECT_TRUE(back.problems.empty());
    // The thumbnail's place is what the writer makes it.
    Document expected = document;
    const Entry* const place = back.find(Directory::thumbnail, 0x201);
    ASSERT_NE(nullptr, place);
    expected.put(Directory::thumbnail, *place);
    EXPECT_TRUE(isSame(expected, back));
    EXPECT_EQ(tiff, write(back)) << "writing changes nothing any more";
  }
}

TEST(JpegExif, ValuesAreSetFromTextAndReadable) {
  struct Case {
    const char *name, *text, *shown;
    Directory directory;
    uint16_t tag;
  };
  constexpr Directory I = Directory::image, P = Directory::photo, G = Directory::gps;
  for (const Case& c : {
           Case{"Artist", "A. Nonymous", "A. Nonymous", I, 0x13B},
           {"Orientation", "6", "right top", I, 0x112},
           {"Orientation", "bottom right", "bottom right", I, 0x112},
           {"XResolution", "300", "300", I, 0x11A},
           {"YCbCrSubSampling", "2 1", "2 1", I, 0x212},
           {"ExposureTime", "1/60", "1/60 s", P, 0x829A},
           {"ExposureTime", "0.008", "1/125 s", P, 0x829A},
           {"ExposureTime", "2.5", "2.5 s", P, 0x829A},
           {"FNumber", "28/10", "f/2.8", P, 0x829D},
           {"ExposureBiasValue", "-1/3", "-0.333333 EV", P, 0x9204},
           {"ShutterSpeedValue", "5.9", "1/60 s", P, 0x9201},
           {"ApertureValue", "5", "f/5.7", P, 0x9202},
           {"FocalLength", "35", "35 mm", P, 0x920A},
           {"LensSpecification", "24 70 2.8 2.8", "24-70 mm f/2.8", P, 0xA432},
           {"DateTimeOriginal", "2024:02:29 12:34:56", "2024:02:29 12:34:56", P, 0x9003},
           {"UserComment", "two\nlines", "two\\x0Alines", P, 0x9286},
           {"ComponentsConfiguration", "1 2 3 0", "YCbCr", P, 0x9101},
           {"ExifVersion", "0230", "0230", P, 0x9000},
           {"Flash", "fired, auto", "fired, auto", P, 0x9209},
           {"GPSLatitude", "-48.2083", "48 deg 12' 29.88\" S", G, 2},
           {"GPSLatitude", "48 12.5 N", "48 deg 12' 30.00\" N", G, 2},
           {"GPSLongitude", "16\u00B0 22' 23.4\" W", "16 deg 22' 23.40\" W", G, 4},
           {"GPSAltitude", "120.5", "120.5 m above sea level", G, 6},
           {"GPSTimeStamp", "1:02:03.5", "01:02:03.5", G, 7},
           {"GPSTimeStamp", "10:00:00", "10:00:00", G, 7},
           {"GPSTimeStamp", "1:02:03.00001", "01:02:03.00001", G, 7},
           {"GPSTimeStamp", "4000000000:2:3", "4e+09 2 3", G, 7},
       }) {
    for (const bool isBigEndian : {false, true}) {
      SCOPED_TRACE(std::string(c.name) + " " + c.text);
      Document document;
      document.isBigEndian = isBigEndian;
      ASSERT_EQ(Status::ok, set(&document, c.name, c.text));
      Document back;
      ASSERT_EQ(Status::ok, read(write(document), &back));
      const Entry* const entry = back.find(c.directory, c.tag);
      ASSERT_NE(nullptr, entry);
      EXPECT_EQ(c.name, nameOf(c.directory, c.tag));
      EXPECT_EQ(c.shown, textOf(back, c.directory, *entry));
      ASSERT_EQ(Status::ok, set(&back, c.name, ""));
      EXPECT_EQ(nullptr, back.find(c.directory, c.tag));
    }
  }
}

TEST(JpegExif, DegreesAreCutIntoMinutesAndSecondsBelowSixty) {
  Document document;
  ASSERT_EQ(Status::ok, set(&document, "GPSLatitude", "3.0166666666"));
  const Entry* const entry = document.find(Directory::gps, 2);
  ASSERT_NE(nullptr, entry);
  for (const auto& [index, value] : {std::pair{0u, 3.0}, {1u, 1.0}, {2u, 0.0}}) {
    EXPECT_EQ(value, realAt(*entry, index, false));
  }
}

TEST(JpegExif, WhatDoesNotSuitATagIsRefused) {
  struct Case {
    const char *name, *text;
    Status status;
  };
  for (const Case& c : {Case{"Nothing", "1", Status::unknownTag},
                        {"ExifIFDPointer", "8", Status::unknownTag},
                        {"JPEGInterchangeFormat", "8", Status::unknownTag},
                        {"Orientation", "9", Status::badTagValue},
                        {"Orientation", "up", Status::badTagValue},
                        {"Orientation", "1 1", Status::badTagValue},
                        {"PhotographicSensitivity", "65536", Status::badTagValue},
                        {"ExposureTime", "1/60s", Status::badTagValue},
                        {"ExposureTime", "-1", Status::badTagValue},
                        {"ExposureTime", "99999999999", Status::badTagValue},
                        {"DateTime", "yesterday", Status::badTagValue},
                        {"DateTime", "2024-01-01 00:00:00", Status::badTagValue},
                        {"GPSLatitude", "91", Status::badTagValue},
                        {"GPSLatitude", "48 E", Status::badTagValue},
                        {"GPSLatitude", "", Status::ok},
                        {"MakerNote", "x", Status::badTagValue},
                        {"UserComment", "gr\u00FC\u00DFe", Status::badTagValue}}) {
    Document document;
    EXPECT_EQ(c.status, set(&document, c.name, c.text)) << c.name << " " << c.text;
    EXPECT_TRUE(document.isEmpty());
  }
}

TEST(JpegExif, MakerNotesKeepTheirBytesAndTheirPlace) {
  Document document;
  ASSERT_EQ(Status::ok, set(&document, "Artist", "short"));
  ASSERT_EQ(Status::ok, set(&document, "ExposureTime", "1/60"));
  Entry note{0x927C, Type::undefined, 301, Bytes(301), 0};
  for (size_t i = 0; i < note.value.size(); ++i) note.value[i] = uint8_t(i * 37 >> 2);
  document.put(Directory::photo, note);
  Document first;
  ASSERT_EQ(Status::ok, read(write(document), &first));
  const size_t place = first.find(Directory::photo, 0x927C)->offset;
  for (const std::string& artist : {std::string(2000, 'a'), std::string("b"), std::string()}) {
    ASSERT_EQ(Status::ok, set(&first, "Artist", artist));
    Document second;
    ASSERT_EQ(Status::ok, read(write(first), &second));
    EXPECT_TRUE(second.problems.empty());
    const Entry* const kept = second.find(Directory::photo, 0x927C);
    ASSERT_NE(nullptr, kept);
    EXPECT_EQ(note.value, kept->value);
    EXPECT_EQ(place, kept->offset);
    EXPECT_TRUE(isSame(first, second));
  }
}

/// A little-endian structure put together by hand: entries of the first directory, then bytes.
struct Raw {
  uint16_t tag, type;
  uint32_t count, value;
};
Bytes structure(const std::vector<Raw>& entries, uint32_t next, size_t size) {
  Bytes tiff = {'I', 'I', 42, 0, 8, 0, 0, 0};
  tiff.resize(std::max<size_t>(size, 10 + 12 * entries.size() + 4));
  const auto put = [&](size_t at, int bytes, uint32_t v) { putNumber(&tiff[at], bytes, false, v); };
  put(8, 2, uint32_t(entries.size()));
  size_t at = 10;
  for (const Raw& e : entries) {
    put(at, 2, e.tag);
    put(at + 2, 2, e.type);
    put(at + 4, 4, e.count);
    put(at + 8, 4, e.value);
    at += 12;
  }
  put(at, 4, next);
  return tiff;
}

TEST(JpegExif, WhatIsDamagedIsLeftOutAndTheRestStays) {
  const Raw good{0x112, 3, 1, 6};
  struct Case {
    const char* name;
    std::vector<Raw> entries;
    uint32_t next;
    size_t problems;
  };
  for (const Case& c :
       {Case{"a value outside", {good, {0x10E, 2, 50, 190}}, 0, 1},
        {"an offset near the end of numbers", {good, {0x10E, 2, 50, 0xFFFFFFF0}}, 0, 1},
        {"a huge count", {good, {0x11A, 5, 0xFFFFFFFF, 100}}, 0, 1},
        {"a value in the header", {good, {0x10E, 2, 8, 0}}, 0, 1},
        {"a value in its directory", {good, {0x10E, 2, 8, 12}}, 0, 1},
        {"values that overlap", {good, {0x10E, 2, 20, 100}, {0x10F, 2, 20, 110}}, 0, 1},
        {"values that agree", {good, {0x11A, 5, 1, 100}, {0x11B, 5, 1, 100}}, 0, 0},
        {"a tag twice", {good, {0x112, 3, 1, 3}}, 0, 1},
        {"a type that is none", {good, {0x10E, 77, 1, 0}}, 0, 1},
        {"a directory that leads to itself", {good}, 8, 1},
        {"one that leads outside", {good}, 0xFFFFFFFF, 1},
        {"a pointer to the first directory", {good, {0x8769, 4, 1, 8}}, 0, 1},
        {"pointers to one directory", {good, {0x8769, 4, 1, 100}, {0x8825, 4, 1, 100}}, 0, 1},
        {"a pointer outside", {good, {0x8825, 4, 1, 5000}}, 0, 1},
        {"a directory that is empty", {good, {0x8825, 4, 1, 100}}, 0, 0},
        {"another program's directory", {good, {0x14A, 4, 1, 100}}, 0, 1}}) {
    SCOPED_TRACE(c.name);
    Document document;
    ASSERT_EQ(Status::ok, read(structure(c.entries, c.next, 200), &document));
    EXPECT_EQ(c.problems, document.problems.size());
    EXPECT_EQ(6, orientationOf(document));
    Document again;
    ASSERT_EQ(Status::ok, read(write(document), &again));
    EXPECT_TRUE(again.problems.empty());
    EXPECT_TRUE(isSame(document, again));
  }
  Bytes many = structure({good}, 0, 2000);
  many[8] = many[9] = 0xFF;  // 65535 entries, with bytes for some of them
  Document document;
  ASSERT_EQ(Status::ok, read(many, &document));
  EXPECT_EQ(6, orientationOf(document));
  EXPECT_FALSE(document.problems.empty());
  for (const Bytes& none : {Bytes{}, Bytes{'I', 'I', 42, 0}, Bytes(8, 0), Bytes(100, 'I')}) {
    EXPECT_EQ(Status::badExif, read(none, &document));
  }
}

// Cut anywhere and with any byte changed: what is read can be shown, written and read again whole.
TEST(JpegExif, AnyDamageLeavesADocument) {
  Bytes tiff = write(full(true));
  std::mt19937 random(7);
  for (int round = 0; round < 1500; ++round) {
    Bytes damaged = tiff;
    if (round % 2 == 0) damaged.resize(random() % tiff.size());
    for (int i = 0; i < 3 && !damaged.empty(); ++i) {
      const size_t near =
          random() % 2 == 0 ? damaged.size() : std::min<size_t>(damaged.size(), 600);
      damaged[random() % near] = uint8_t(random());
    }
    Document document, again;
    if (isError(read(damaged, &document)) || document.isEmpty()) continue;
    size_t shown = 0;
    for (const Directory d : kAll) {
      for (const Entry& e : document.of(d)) shown += textOf(document, d, e).size();
    }
    EXPECT_GT(shown, 0u);
    const Bytes written = write(document);
    EXPECT_LE(written.size(), 2 * damaged.size() + 64);
    ASSERT_EQ(Status::ok, read(written, &again));
    for (const Problem& p : again.problems) ADD_FAILURE() << nameOf(p.directory, p.tag) << p.reason;
  }
}

}  // namespace
