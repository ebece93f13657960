// What -linf+ prints of packets is what stands in the stream.
#include <algorithm>
#include <regex>

#include "damagekit.h"

namespace {

using namespace j2kkit;
using j2k::Options;

std::string listed(const Bytes& file) {
  Messages messages;
  Options options;
  options.listing = true;
  j2k::Decoder decoder(options, messages);
  EXPECT_EQ(j2k::Status::ok, decoder.open(file)) << messages.text;
  return messages.text;
}

struct Sum {
  int lines = 0;
  long long first = 0, second = 0;
};

/// Adds up what an expression of one or two numbers finds.
Sum sumOf(const std::string& text, const char* expression) {
  Sum sum;
  const std::regex pattern(expression);
  for (std::sregex_iterator i(text.begin(), text.end(), pattern), end; i != end; ++i) {
    ++sum.lines;
    sum.first += std::stoll((*i)[1]);
    if (i->size() > 2) sum.second += std::stoll((*i)[2]);
  }
  return sum;
}

TEST(Listing, PacketsAddUpToTheTilePartsThatHoldThem) {
  for (int i = 0; i < 4; ++i) {
    Options options;
    options.tileWidth = i % 2 ? 60 : 0;
    options.precincts = {{0, 0, 32, 32}};
    options.levels = 2;
    options.layers = 1 + i;
    options.tileParts = i >= 2 ? 'R' : char(0);
    options.progress = j2k::Progress(i);
    options.sop = options.eph = i == 3;
    Picture picture = photograph(100, 80);
    const std::string text = listed(encoded(picture, options));
    const Sum packets = sumOf(text, "header (\\d+), body (\\d+) bytes");
    const Sum parts = sumOf(text, "(\\d+) bytes of packets");
    EXPECT_EQ(parts.first, packets.first + packets.second + (i == 3 ? 6 * packets.lines : 0)) << i;
    // Precincts of the three resolutions of 100x80, or of 60x80 and 40x80.
    const int precincts = i % 2 ? (1 * 1 + 1 * 2 + 2 * 3) + (1 * 1 + 2 * 2 + 3 * 3) : 1 + 4 + 12;
    EXPECT_EQ(precincts * 3 * options.layers, packets.lines) << i << text;
  }
}

TEST(Listing, PlacesArePacketsAndDamageIsOneLine) {
  Options options;
  options.sop = true;
  options.precincts = {{0, 0, 16, 16}};
  Bytes file = stream(options);
  const std::regex place("packet \\d+ at (\\d+):");
  const std::string text = listed(file);
  int count = 0;
  for (std::sregex_iterator i(text.begin(), text.end(), place), end; i != end; ++i, ++count) {
    const size_t at = size_t(std::stoul((*i)[1]));
    EXPECT_EQ(0xFF, file[at - 6]);
    EXPECT_EQ(0x91, file[at - 5]);
  }
  EXPECT_LT(30, count);
  // An SOP marker that counts 500 packets too many makes one line of them.
  const size_t third = find(file, 0xFF91, find(file, 0xFF91, find(file, 0xFF91) + 1) + 1);
  put(file, third + 4, 502, 2);
  const std::string damaged = listed(file);
  const auto lines = [](const std::string& t) { return std::count(t.begin(), t.end(), '\n'); };
  // The third packet and all behind it, of which there are fewer than 500.
  EXPECT_EQ(lines(text) - (count - 2) + 1, lines(damaged)) << damaged;
  EXPECT_EQ(1, sumOf(damaged, "packets (\\d+) to (\\d+): lost").lines) << damaged;
  file.resize(file.size() * 2 / 3);
  EXPECT_NE(std::string::npos, listed(file).find("are missing"));
}

}  // namespace
