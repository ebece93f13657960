// Files that are cut, padded, damaged or made to hurt: what opens, opens with a warning that names
// what was wrong; what does not is refused in one line; and nothing crashes or runs away.
#include "damagekit.h"

namespace {

using namespace j2kkit;
using j2k::Options;

struct Case {
  const char* what;
  Bytes file;
  int number;  ///< of the message; 0: none
  bool exact;  ///< the picture is there all the same
};

void expectCase(const Case& c) {
  Messages messages;
  const Picture want = small();
  const Picture got = decoded(c.file, {}, messages);
  EXPECT_EQ(c.number != 0, !messages.numbers.empty()) << c.what << "\n" << messages.text;
  if (c.number != 0) {
    EXPECT_TRUE(messages.has(c.number)) << c.what << "\n" << messages.text;
  }
  if (c.exact) {
    EXPECT_EQ(want.planes, got.planes) << c.what;
  }
  const bool warning = c.number >= 500;
  EXPECT_EQ(warning || c.number == 0, !got.planes.empty()) << c.what;
  if (c.number == 0) return;
  Options strict;
  strict.strict = true;
  Messages refusal;
  EXPECT_TRUE(decoded(c.file, strict, refusal).planes.empty()) << c.what << ", strict";
}

TEST(Damage, SizesAndCodingThatCannotBeAreRefused) {
  Bytes noSoc = stream();
  noSoc[1] = 0x4E;
  Bytes tiles = edited(sizMarker, 6, 100000, 4);
  put(tiles, find(tiles, sizMarker) + 22, 1, 4);
  put(tiles, find(tiles, sizMarker) + 26, 1, 4);
  for (const Case& c : {
           Case{"not a file", noSoc, 101, false},
           Case{"nothing", {}, 101, false},
           Case{"no SIZ", edited(sizMarker, 0, 0xFF52, 2), 202, false},
           Case{"no components", edited(sizMarker, 38, 0, 2), 204, false},
           Case{"too many components", edited(sizMarker, 38, 16385, 2), 203, false},
           Case{"components that are not there", edited(sizMarker, 38, 16000, 2), 205, false},
           Case{"39 bits", edited(sizMarker, 40, 38, 1), 203, false},
           Case{"sampling 0", edited(sizMarker, 41, 0, 1), 203, false},
           Case{"no area", edited(sizMarker, 6, 0, 4), 203, false},
           Case{"no tile area", edited(sizMarker, 22, 0, 4), 203, false},
           Case{"tiles elsewhere", edited(sizMarker, 30, 1000, 4), 203, false},
           Case{"too many tiles", tiles, 203, false},
           Case{"high throughput", edited(sizMarker, 4, 0x4000, 2), 301, false},
           Case{"high-throughput blocks", edited(codMarker, 12, 0x40, 1), 301, false},
           Case{"extensions", edited(sizMarker, 4, 0x8000, 2), 302, false},
           Case{"another wavelet", edited(codMarker, 13, 2, 1), 302, false},
           Case{"33 levels", edited(codMarker, 9, 33, 1), 209, false},
           Case{"no layers", edited(codMarker, 6, 0, 2), 209, false},
           Case{"order 5", edited(codMarker, 5, 5, 1), 209, false},
           Case{"blocks of 8192", edited(codMarker, 10, 7, 1), 209, false},
           Case{"quantisation 3", edited(qcdMarker, 4, 3, 1), 210, false},
           Case{"no COD", without(codMarker, qcdMarker), 207, false},
           Case{"no QCD", without(qcdMarker, comMarker), 208, false},
       }) {
    expectCase(c);
  }
}

TEST(Damage, OtherSegmentsAreToldByTheirNumbers) {
  Bytes noEoc = stream();
  noEoc.erase(noEoc.end() - 2, noEoc.end());
  const Bytes whole = stream();
  const auto codAt = whole.begin() + std::ptrdiff_t(find(whole, codMarker));
  const auto qcdAt = whole.begin() + std::ptrdiff_t(find(whole, qcdMarker));
  for (const Case& c : {
           Case{"COD twice", with(codMarker, Bytes(codAt, qcdAt)), 501, true},
           Case{"RGN of component 9", with(comMarker, {0xFF, 0x5E, 0, 5, 9, 0, 3}), 211, false},
           Case{"POC of order 7", with(comMarker, {0xFF, 0x5F, 0, 9, 0, 0, 0, 1, 9, 9, 7}), 212,
                false},
           Case{"POC of nothing", with(comMarker, {0xFF, 0x5F, 0, 9, 4, 0, 0, 1, 4, 9, 0}), 506,
                true},
           Case{"RGN too long", with(comMarker, {0xFF, 0x5E, 0, 6, 0, 0, 0, 1}), 502, true},
           Case{"empty COM", with(comMarker, {0xFF, 0x64, 0, 2}), 505, true},
           Case{"CRG of the wrong length", with(comMarker, {0xFF, 0x63, 0, 4, 0, 0}), 503, true},
           Case{"an unknown marker", with(comMarker, {0xFF, 0x30, 0, 3, 1}), 504, true},
           Case{"SIZ again", with(comMarker, {0xFF, 0x51, 0, 3, 1}), 501, true},
           Case{"no EOC", noEoc, 510, true},
           Case{"SOT of another length", edited(sotMarker, 2, 11, 2), 213, false},
           Case{"Psot of 12", edited(sotMarker, 6, 12, 4), 512, true},
           Case{"Psot of 0", edited(sotMarker, 6, 0, 4), 0, true},
           Case{"Psot past the end", edited(sotMarker, 6, 0x7FFFFFFF, 4), 509, true},
           Case{"a part out of order", edited(sotMarker, 10, 3, 1), 515, true},
           Case{"more parts than told", edited(sotMarker, 10, 0x0101, 2), 516, true},
       }) {
    expectCase(c);
  }
  Messages messages;
  EXPECT_FALSE(decoded(edited(sotMarker, 4, 7, 2), {}, messages).planes.empty());
  EXPECT_TRUE(messages.has(514) && messages.has(517)) << messages.text;
}

TEST(Damage, PaddingBehindTheEndIsNoFault) {
  Bytes file = stream();
  put(file, find(file, 0xFF90) + 6, 0, 4);
  file.insert(file.end(), 100, 0);
  EXPECT_EQ(small().planes, decodedWell(file).planes);
}

TEST(Damage, BoxesAreToldByTheirNumbers) {
  const Bytes whole = boxed();
  const auto at = [&](const char* name) { return typeAt(whole, name); };
  Bytes unknown = whole, zero = whole, contradicts = whole, noFtyp = whole, noStream = whole,
        longBox = whole, twice = whole;
  insert(unknown, at("jp2c") - 4, {0, 0, 0, 12, 'a', 'b', 'c', 'd', 1, 2, 3, 4});
  put(zero, at("jp2c") - 4, 0, 4);
  put(contradicts, at("ihdr") + 4, 31, 4);
  put(noFtyp, at("ftyp"), 0x66747971, 4);
  put(noStream, at("jp2c"), 0x6A703264, 4);
  put(longBox, at("jp2c") - 4, 0x7FFFFFFF, 4);
  insert(twice, at("jp2c") - 4,
         {0, 0, 0, 22, 'i', 'h', 'd', 'r', 0, 0, 0, 30, 0, 0, 0, 40, 0, 3, 7, 7, 0, 0});
  for (const Case& c : {
           Case{"an unknown box", unknown, 0, true},
           Case{"a length of 0", zero, 0, true},
           Case{"another height in ihdr", contradicts, 703, true},
           Case{"no ftyp", noFtyp, 702, true},
           Case{"no codestream", noStream, 102, false},
           Case{"a box past the end", longBox, 701, true},
           Case{"ihdr twice", twice, 704, true},
       }) {
    expectCase(c);
  }
}

TEST(Damage, PacketsResynchroniseAtSopAndKeepTheRest) {
  const Picture picture = sopPicture();
  const Bytes whole = sopStream();
  Bytes file = whole;
  const size_t sod = find(file, 0xFF93);
  // A packet header of nothing but ones in the middle.
  size_t at = find(file, 0xFF91, sod + (file.size() - sod) / 2) + 6;
  for (int i = 0; i < 6; ++i) file[at++] = 0xFE;
  Messages messages;
  const Picture got = decoded(file, {}, messages);
  ASSERT_FALSE(got.planes.empty()) << messages.text;
  EXPECT_TRUE(messages.has(601) || messages.has(606) || messages.has(603)) << messages.text;
  EXPECT_LT(15, psnr(picture, got));
  // SOP markers that nobody announced.
  Bytes unannounced = whole;
  unannounced[find(whole, 0xFF52) + 4] &= ~2;
  Messages others;
  EXPECT_EQ(picture.planes, decoded(unannounced, {}, others).planes);
  EXPECT_TRUE(others.has(604));
  // EPH that is announced and missing.
  Bytes missing = whole;
  missing[find(whole, 0xFF52) + 4] |= 4;
  Messages eph;
  EXPECT_EQ(picture.planes, decoded(missing, {}, eph).planes);
  EXPECT_TRUE(eph.has(605));
}

TEST(Damage, TruncationAnywhereGivesAPictureOrARefusal) {
  Options variants[3];
  variants[1].sop = variants[1].eph = true;
  variants[1].layers = 3;
  variants[1].tileWidth = variants[1].tileHeight = 20;
  variants[2].packedHeaders = 'T';
  variants[2].style = 63;
  variants[2].wavelet = j2k::Wavelet::irreversible97;
  for (const Options& options : variants) {
    Picture picture = small();
    const Bytes whole = encoded(picture, options);
    double last = 0;
    for (size_t length = 0; length < whole.size(); ++length) {
      Messages one;
      const Picture got =
          decoded(Bytes(whole.begin(), whole.begin() + std::ptrdiff_t(length)), {}, one);
      ASSERT_FALSE(one.numbers.empty()) << length;
      if (got.planes.empty()) continue;
      last = psnr(picture, got);
      Options threads;
      threads.threads = 2;
      if (length % 97 == 0) {
        Messages two;
        EXPECT_EQ(got.planes, decoded(Bytes(whole.begin(), whole.begin() + std::ptrdiff_t(length)),
                                      threads, two)
                                  .planes);
      }
    }
    EXPECT_LT(40, last) << "only the last bytes are missing";
  }
}

TEST(Damage, WrongBytesAnywhereDoNoHarm) {
  std::mt19937 random(11);
  for (const bool packed : {false, true}) {
    Options options;
    options.tileWidth = 24;
    options.layers = 2;
    options.sop = !packed;
    options.packedHeaders = packed ? 'M' : char(0);
    const Bytes whole = stream(options);
    Options limits;
    limits.memoryMiB = 64;
    for (size_t i = 0; i < whole.size(); ++i) {
      Bytes file = whole;
      file[i] = uint8_t(random());
      if (random() % 4 == 0) file[random() % file.size()] ^= uint8_t(1 << random() % 8);
      Messages messages;
      decoded(file, limits, messages);
    }
  }
}

TEST(Hostile, WhatIsAnnouncedAndNotThereCostsNothing) {
  const auto hostile = [](auto edit) {
    Options options;
    options.precincts = {{0, 0, 64, 64}};
    Bytes file = stream(options);
    edit(file, find(file, 0xFF51), find(file, 0xFF52));
    Messages messages;
    Options limits;
    limits.memoryMiB = 256;
    decoded(file, limits, messages);
    EXPECT_FALSE(messages.numbers.empty());
    return messages;
  };
  // 2^32 - 1 in both directions
  EXPECT_TRUE(hostile([](Bytes& f, size_t siz, size_t) {
                for (const size_t at : {6U, 10U, 22U, 26U}) put(f, siz + at, 0xFFFFFFFF, 4);
              }).has(103));
  // 65025 tiles of which one is there: what is missing is filled, within the limit
  EXPECT_TRUE(hostile([](Bytes& f, size_t siz, size_t) {
                put(f, siz + 6, 510, 4);
                put(f, siz + 10, 510, 4);
                put(f, siz + 22, 2, 4);
                put(f, siz + 26, 2, 4);
              }).has(517));
  // Precincts of two samples over a large picture, and of one where that is not allowed
  hostile([](Bytes& f, size_t siz, size_t cod) {
    put(f, siz + 6, 6000, 4);
    put(f, siz + 10, 6000, 4);
    put(f, siz + 22, 6000, 4);
    put(f, siz + 26, 6000, 4);
    for (size_t r = 0; r < 6; ++r) f[cod + 14 + r] = 0x11;
  });
  EXPECT_TRUE(hostile([](Bytes& f, size_t, size_t cod) { f[cod + 15] = 0x00; }).has(209));
  // 65535 layers
  hostile([](Bytes& f, size_t, size_t cod) { put(f, cod + 6, 65535, 2); });
  // Sampling of 255 in all components
  hostile([](Bytes& f, size_t siz, size_t) {
    for (size_t c = 0; c < 3; ++c) put(f, siz + 41 + 3 * c, 0xFFFF, 2);
  });
}

}  // namespace
