// Lengths that headers tell are used: of a file no more is read than what is wanted of it. Pages of
// memory that are read are counted by taking them away.
#include <csignal>
#include <cstring>
#include <sys/mman.h>
#include <unistd.h>

#include "damagekit.h"

namespace {

using namespace j2kkit;
using j2k::Options;

/// A file in memory whose pages are told apart by whether somebody has read them.
class WatchedFile {
 public:
  explicit WatchedFile(const Bytes& file) : m_length(file.size()) {
    s_page = size_t(sysconf(_SC_PAGESIZE));
    s_size = (file.size() + s_page - 1) / s_page * s_page;
    s_start = static_cast<uint8_t*>(
        mmap(nullptr, s_size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0));
    std::memcpy(s_start, file.data(), file.size());
    mprotect(s_start, s_size, PROT_NONE);
    s_pages = 0;
    struct sigaction action = {};
    action.sa_sigaction = &WatchedFile::touched;
    action.sa_flags = SA_SIGINFO;
    sigaction(SIGSEGV, &action, &m_before);
  }
  ~WatchedFile() {
    sigaction(SIGSEGV, &m_before, nullptr);
    munmap(s_start, s_size);
  }
  WatchedFile(const WatchedFile&) = delete;
  WatchedFile& operator=(const WatchedFile&) = delete;

  std::span<const uint8_t> bytes() const { return {s_start, m_length}; }
  static double share() { return double(s_pages) * double(s_page) / double(s_size); }

 private:
  static void touched(int, siginfo_t* info, void*) {
    uint8_t* const at = static_cast<uint8_t*>(info->si_addr);
    if (at < s_start || at >= s_start + s_size) _exit(1);
    mprotect(s_start + size_t(at - s_start) / s_page * s_page, s_page, PROT_READ);
    s_pages = s_pages + 1;
  }

  inline static uint8_t* s_start = nullptr;
  inline static size_t s_size = 0, s_page = 0;
  inline static volatile int s_pages = 0;
  size_t m_length;
  struct sigaction m_before = {};
};

struct Reading {
  Picture picture;
  double share = 0;  ///< of the file's pages that were read
  Messages messages;
};

Reading readingOf(const Bytes& file, const Options& options) {
  Reading reading;
  const WatchedFile watched(file);
  j2k::Decoder decoder(options, reading.messages);
  EXPECT_EQ(j2k::Status::ok, decoder.open(watched.bytes()));
  reading.picture.info = decoder.info();
  for (const j2k::ComponentInfo& c : decoder.info().components) {
    reading.picture.planes.emplace_back(size_t(c.width) * size_t(c.height));
  }
  EXPECT_EQ(j2k::Status::ok, decoder.decode(reading.picture.views()));
  reading.share = WatchedFile::share();
  return reading;
}

constexpr int tlmMarker = 0xFF55, pltMarker = 0xFF58;

Options tiled() {
  Options options;
  options.rawStream = true;
  options.tileWidth = options.tileHeight = 100;
  options.tlm = true;
  return options;
}

/// One tile of many packets, their lengths told.
Options oneTile() {
  Options options;
  options.rawStream = true;
  options.levels = 2;
  options.precincts = {{0, 0, 128, 128}, {0, 0, 64, 64}};
  options.blockWidth = options.blockHeight = 32;
  options.plt = true;
  return options;
}

Options regionOf(int x, int y, int width, int height) {
  Options options;
  options.crop = {x, y, width, height};
  return options;
}

// The region comes without a message from less than a share of the file; what was read is returned.
Reading expectRead(const Picture& picture, const Bytes& file, const Options& region, double share) {
  Reading got = readingOf(file, region);
  EXPECT_EQ(part(picture, region.crop), got.picture.planes);
  EXPECT_EQ("", got.messages.text);
  EXPECT_GT(share, got.share);
  return got;
}

TEST(Seek, ARegionReadsOnlyTheTilePartsThatTlmTellsOf) {
  Picture picture = photograph(700, 600);
  const Bytes file = encoded(picture, tiled());
  const Options region = regionOf(210, 310, 80, 60);  // within one of 42 tiles
  const Reading with = expectRead(picture, file, region, 0.06);
  // Without TLM every tile-part's head is looked at.
  Bytes plain = file;
  const size_t tlm = find(plain, tlmMarker), sot = find(plain, sotMarker, tlm);
  plain.erase(plain.begin() + std::ptrdiff_t(tlm), plain.begin() + std::ptrdiff_t(sot));
  const Reading without = readingOf(plain, region);
  EXPECT_EQ(with.picture.planes, without.picture.planes);
  EXPECT_LT(with.share * 3, without.share);
}

TEST(Seek, TlmMayBeOfSeveralSegments) {
  Picture picture = photograph(700, 600);
  Bytes file = encoded(picture, tiled());
  const size_t tlm = find(file, tlmMarker);
  // 42 entries of six bytes: of all behind the tenth a segment of their own is made.
  const size_t own = 6 + 10 * 6, rest = 32 * 6;
  insert(file, tlm + own, {0xFF, 0x55, 0, uint8_t(4 + rest), 1, 0x60});
  put(file, tlm + 2, uint32_t(own - 2), 2);
  const Options region = regionOf(210, 310, 80, 60);
  expectRead(picture, file, region, 0.06);
}

TEST(Seek, TlmThatLiesIsToldAndLeftAside) {
  Picture picture = photograph(300, 200);
  const Bytes file = encoded(picture, tiled());
  const size_t tlm = find(file, tlmMarker);
  const Options region = regionOf(110, 110, 80, 60);
  // Entries of six bytes begin at 6; the region lies in tile 4 of 6.
  for (const auto& [at, value] : {std::pair<size_t, int>{30, 0x7F},  // a tile that is none
                                  {31, 5},                           // another tile
                                  {8, 0x7F},                         // lengths past the end
                                  {11, file[tlm + 11] ^ 1},          // a byte more or less
                                  {5, 0x70}}) {                      // tile numbers of no size
    Bytes lying = file;
    lying[tlm + at] = uint8_t(value);
    Messages messages;
    const Picture got = decoded(lying, region, messages);
    EXPECT_EQ(part(picture, region.crop), got.planes) << at << messages.text;
    EXPECT_TRUE(messages.has(503)) << at << messages.text;
  }
}

TEST(Seek, TlmThatEndsBeforeTheTilePartsIsToldAndLeftAside) {
  Picture picture = photograph(300, 200);
  Options coding = tiled();
  coding.tileParts = 'R';
  coding.progress = j2k::Progress::rlcp;
  Bytes file = encoded(picture, coding);
  const size_t tlm = find(file, tlmMarker), sot = find(file, sotMarker, tlm);
  file.erase(file.begin() + std::ptrdiff_t(sot - 6), file.begin() + std::ptrdiff_t(sot));
  put(file, tlm + 2, uint32_t(sot - 6 - tlm - 2), 2);
  const Options region =
      regionOf(210, 110, 80, 60);  // within the last tile, whose last part it leaves out
  Messages messages;
  EXPECT_EQ(part(picture, region.crop), decoded(file, region, messages).planes);
  EXPECT_TRUE(messages.has(503)) << messages.text;
}

TEST(Seek, ARegionReadsOnlyThePacketsThatPltTellsOf) {
  Picture picture = photograph(900, 800);
  for (const int order : {0, 2, 4}) {
    Options coding = oneTile();
    coding.progress = j2k::Progress(order);
    coding.sop = order == 2;
    coding.tileParts = order == 0 ? 'R' : char(0);
    const Bytes file = encoded(picture, coding);
    const Options region = regionOf(400, 300, 60, 50);
    SCOPED_TRACE(order);
    expectRead(picture, file, region, 0.2);
  }
}

/// PLT of the only tile-part becomes PLM.
Bytes withPlm(Bytes file) {
  const size_t plt = find(file, pltMarker), sod = find(file, sodMarker, plt);
  const Bytes lengths(file.begin() + std::ptrdiff_t(plt + 5), file.begin() + std::ptrdiff_t(sod));
  EXPECT_GT(256U, lengths.size());
  file.erase(file.begin() + std::ptrdiff_t(plt), file.begin() + std::ptrdiff_t(sod));
  const size_t sot = find(file, sotMarker);
  put(file, sot + 6, uint32_t(file.size() - sot - 2), 4);
  Bytes plm = {0xFF, 0x57, 0, uint8_t(lengths.size() + 4), 0, uint8_t(lengths.size())};
  plm.insert(plm.end(), lengths.begin(), lengths.end());
  insert(file, find(file, comMarker), plm);
  return file;
}

TEST(Seek, PlmServesAsPltDoes) {
  Picture picture = waves(900, 800, 1);
  const Bytes file = withPlm(encoded(picture, oneTile()));
  const Options region = regionOf(700, 500, 60, 50);
  expectRead(picture, file, region, 0.2);
}

TEST(Seek, PacketLengthsThatLieAreToldAndLeftAside) {
  Picture picture = photograph(300, 260);
  const Bytes file = encoded(picture, oneTile());
  const size_t plt = find(file, pltMarker);
  const Options region = regionOf(200, 180, 60, 50);
  const auto expectTold = [&](const Bytes& lying, const char* what) {
    Messages messages;
    EXPECT_EQ(part(picture, region.crop), decoded(lying, region, messages).planes) << what;
    EXPECT_TRUE(messages.has(503)) << what << messages.text;
  };
  // Two neighbours swapped: the sum is the same, and only the packets themselves contradict.
  std::vector<Bytes> lengths;
  bool ended = true;
  for (size_t i = plt + 5; i < find(file, sodMarker, plt); ++i) {
    if (ended) lengths.emplace_back();
    lengths.back().push_back(file[i]);
    ended = file[i] < 0x80;
  }
  int told = 0;
  for (size_t i = 1; i < lengths.size(); ++i) {
    std::vector<Bytes> others = lengths;
    std::swap(others[i], others[i - 1]);
    Bytes swapped = file;
    size_t at = plt + 5;
    for (const Bytes& length : others) {
      for (const uint8_t byte : length) swapped[at++] = byte;
    }
    Messages messages;
    EXPECT_EQ(part(picture, region.crop), decoded(swapped, region, messages).planes) << i;
    told += messages.has(503) ? 1 : 0;
  }
  EXPECT_LT(5, told);
  Bytes less = file;
  const size_t sod = find(file, sodMarker, plt);
  less[sod - 1] = uint8_t(less[sod - 1] / 2);
  expectTold(less, "shorter");
}

TEST(Seek, WhatFollowsTheResolutionsThatAreWantedIsNotRead) {
  Picture picture = photograph(900, 800);
  Options coding = oneTile();
  coding.plt = false;
  coding.progress = j2k::Progress::rlcp;
  const Bytes file = encoded(picture, coding);
  Options small;
  small.reduce = 2;
  const Reading got = readingOf(file, small);
  EXPECT_EQ(decodedWell(file, small).planes, got.picture.planes);
  EXPECT_GT(0.15, got.share);
}

}  // namespace
