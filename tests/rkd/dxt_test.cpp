// Texture blocks: known blocks decode exactly, encoders reach the error of a quick peer and keep
// the rules of transparency, and every level equals the plain version.
#include "rkd/rkdjpeg_texture.h"
#include "reference.h"
#include "rkdkit.h"

using namespace rkdkit;

namespace {

using Function = RkdStatus (*)(const uint8_t*, int, uint8_t*, int, RkdiSize);
struct Format {
  int number, blockBytes;
  Function encode, decode, refEncode, refDecode;
};
#define FORMAT(n, bytes)                                        \
  {                                                             \
    n, bytes, rkdiTextureEncodeBlockFromRGBA_DXT##n##_8u_C4C1R, \
        rkdiTextureDecodeBlockToRGBA_DXT##n##_8u_C1C4R,         \
        ref::rkdiTextureEncodeBlockFromRGBA_DXT##n##_8u_C4C1R,  \
        ref::rkdiTextureDecodeBlockToRGBA_DXT##n##_8u_C1C4R     \
  }
const Format kFormats[] = {FORMAT(1, 8), FORMAT(3, 16), FORMAT(5, 16)};

std::vector<uint8_t> bytesOf(const std::string& hex) {
  std::vector<uint8_t> bytes;
  for (size_t i = 0; i < hex.size(); i += 2) {
    bytes.push_back(static_cast<uint8_t>(std::stoi(hex.substr(i, 2), nullptr, 16)));
  }
  return bytes;
}

const Format& formatOf(int number) { return kFormats[number / 2]; }

struct Known {
  int format;
  const char *block, *rgba;
};
const Known kKnown[] = {
    {1, "FFFF0000E4E4E4E4",
     "FFFFFFFF000000FFAAAAAAFF555555FFFFFFFFFF000000FFAAAAAAFF555555FF"
     "FFFFFFFF000000FFAAAAAAFF555555FFFFFFFFFF000000FFAAAAAAFF555555FF"},
    {1, "EF7BEF7BE4E4E4E4",
     "7B7D7BFF7B7D7BFF7B7D7BFF000000007B7D7BFF7B7D7BFF7B7D7BFF00000000"
     "7B7D7BFF7B7D7BFF7B7D7BFF000000007B7D7BFF7B7D7BFF7B7D7BFF00000000"},
    {1, "1F0000F8E4E4E4E4",
     "0000FFFFFF0000FF7F007FFF000000000000FFFFFF0000FF7F007FFF00000000"
     "0000FFFFFF0000FF7F007FFF000000000000FFFFFF0000FF7F007FFF00000000"},
    {1, "00F81F00E4E4E4E4",
     "FF0000FF0000FFFFAA0055FF5500AAFFFF0000FF0000FFFFAA0055FF5500AAFF"
     "FF0000FF0000FFFFAA0055FF5500AAFFFF0000FF0000FFFFAA0055FF5500AAFF"},
    {1, "E0070004E4E4E4E4",
     "00FF00FF008200FF00D500FF00AB00FF00FF00FF008200FF00D500FF00AB00FF"
     "00FF00FF008200FF00D500FF00AB00FF00FF00FF008200FF00D500FF00AB00FF"},
    {1, "FFFF00000055AAFF",
     "FFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFF000000FF000000FF000000FF000000FF"
     "AAAAAAFFAAAAAAFFAAAAAAFFAAAAAAFF555555FF555555FF555555FF555555FF"},
    {1, "10844108E41B55A0",
     "848284FF080808FF5A595AFF313031FF313031FF5A595AFF080808FF848284FF"
     "080808FF080808FF080808FF080808FF848284FF848284FF5A595AFF5A595AFF"},
    {1, "41088210E4E4E4E4",
     "080808FF101010FF0C0C0CFF00000000080808FF101010FF0C0C0CFF00000000"
     "080808FF101010FF0C0C0CFF00000000080808FF101010FF0C0C0CFF00000000"},
    {1, "C3AA7655C5918DC4",
     "52AEB5FF52AEB5FFAD5918FF709180FF52AEB5FFAD5918FF52AEB5FF8E754CFF"
     "52AEB5FF709180FFAD5918FF8E754CFFAD5918FF52AEB5FFAD5918FF709180FF"},
    {1, "047F09E04F4CA355",
     "00000000000000007BE321FFE7004AFF7BE321FF000000007BE321FFE7004AFF"
     "000000007BE321FFB17135FFB17135FFE7004AFFE7004AFFE7004AFFE7004AFF"},
    {1, "831E3D10DD906E25",
     "1004EFFF1249A7FF1004EFFF1249A7FF18D318FF18D318FF1004EFFF158E5FFF"
     "158E5FFF1249A7FF158E5FFF1004EFFF1004EFFF1004EFFF158E5FFF18D318FF"},
    {1, "B8F340093F32495B",
     "574142FF574142FF574142FFF775C6FFA75B84FFF775C6FF574142FFF775C6FF"
     "082800FFA75B84FFF775C6FF082800FF574142FFA75B84FF082800FF082800FF"},
    {1, "1B88A2730D5DDE1D",
     "737510FF7B4E54FF8C00DEFF8C00DEFF737510FF7B4E54FF737510FF737510FF"
     "832799FF7B4E54FF737510FF7B4E54FF737510FF7B4E54FF737510FF8C00DEFF"},
    {1, "9ACC4A362FD00BFC",
     "65B87EFF65B87EFF99A5AAFFCE92D6FFCE92D6FFCE92D6FF31CB52FF65B87EFF"
     "65B87EFF99A5AAFFCE92D6FFCE92D6FFCE92D6FF65B87EFF65B87EFF65B87EFF"},
    {3, "1032547698BADCFEFFFF0000E4E4E4E4",
     "FFFFFF0000000011AAAAAA2255555533FFFFFF4400000055AAAAAA6655555577"
     "FFFFFF8800000099AAAAAAAA555555BBFFFFFFCC000000DDAAAAAAEE555555FF"},
    {3, "FFFFFFFFFFFFFFFF1F0000F8E4E4E4E4",
     "0000FFFFFF0000FF5500AAFFAA0055FF0000FFFFFF0000FF5500AAFFAA0055FF"
     "0000FFFFFF0000FF5500AAFFAA0055FF0000FFFFFF0000FF5500AAFFAA0055FF"},
    {3, "CA750B2B4527EACDD98F0E07EDA45A47",
     "00E373AA2EEB91CC5DF3AF552EEB91778CFBCEBB00E373005DF3AFBB5DF3AF22"
     "5DF3AF555DF3AF4400E3737700E373222EEB91AA00E373EE8CFBCEDD00E373CC"},
    {3, "21143741D32BD6327B70DFB9EBD2E62A",
     "A429F4118B1AE9228B1AE944A429F4118B1AE977730CDE33BD38FF11A429F444"
     "8B1AE933BD38FFDD8B1AE9BBA429F4228B1AE9668B1AE9DD8B1AE922730CDE33"},
    {3, "8D6C7F8DC1A6C296E1296D546D0F735C",
     "528E6BDD44724A88365729CC528E6B6644724AFF44724A77293C08DD293C0888"
     "44724A11293C08CC44724A66528E6BAA293C082244724ACC528E6B66528E6B99"},
    {5, "FF0088C6FA88C6FAFFFF0000E4E4E4E4",
     "FFFFFFFF00000000AAAAAADA555555B6FFFFFF910000006DAAAAAA4855555524"
     "FFFFFFFF00000000AAAAAADA555555B6FFFFFF910000006DAAAAAA4855555524"},
    {5, "00FF88C6FA88C6FAFFFF0000E4E4E4E4",
     "FFFFFF00000000FFAAAAAA3355555566FFFFFF99000000CCAAAAAA00555555FF"
     "FFFFFF00000000FFAAAAAA3355555566FFFFFF99000000CCAAAAAA00555555FF"},
    {5, "646488C6FA88C6FAFFFF0000E4E4E4E4",
     "FFFFFF6400000064AAAAAA6455555564FFFFFF6400000064AAAAAA00555555FF"
     "FFFFFF6400000064AAAAAA6455555564FFFFFF6400000064AAAAAA00555555FF"},
    {5, "656488C6FA88C6FAFFFF0000E4E4E4E4",
     "FFFFFF6500000064AAAAAA6455555564FFFFFF6400000064AAAAAA6455555564"
     "FFFFFF6500000064AAAAAA6455555564FFFFFF6400000064AAAAAA6455555564"},
    {5, "11C8773905773905FFFF0000E4E4E4E4",
     "FFFFFFFF00000000AAAAAAA35555557EFFFFFF5A00000035AAAAAAC855555511"
     "FFFFFFFF00000000AAAAAAA35555557EFFFFFF5A00000035AAAAAAC855555511"},
    {5, "C811773905773905FFFF0000E4E4E4E4",
     "FFFFFF2B00000045AAAAAA5F55555579FFFFFF93000000ADAAAAAA11555555C8"
     "FFFFFF2B00000045AAAAAA5F55555579FFFFFF93000000ADAAAAAA11555555C8"},
    {5, "FF0088C6FA88C6FA1F0000F8E4E4E4E4",
     "0000FFFFFF0000005500AADAAA0055B60000FF91FF00006D5500AA48AA005524"
     "0000FFFFFF0000005500AADAAA0055B60000FF91FF00006D5500AA48AA005524"},
    {5, "F07B20794FFCA83E74C43CE462FEC9B6",
     "D18BBBF0C68EA5BDD18BBBBDE786E7BDD18BBB8BDC88D19CDC88D1CEDC88D1DF"
     "E786E7BDD18BBB8BC68EA5CEDC88D1BDD18BBBDFE786E7ADDC88D18BD18BBB7B"},
    {5, "8AB50F5B4E4E5AD22415B46DCC9D914D",
     "10A621FF4CB079B510A621A34CB079AC6BB6A5AC4CB079A36BB6A59B2EAB4D92"
     "6BB6A50010A621B56BB6A5B52EAB4DAC6BB6A5AC4CB079A310A621A36BB6A500"},
    {5, "84C2763E8FD59BCEFB7A31F0E177F75D",
     "F7048C007B5DDE00A43FC2C2CD21A7FFCD21A79CF7048C00CD21A79CF7048CA9"
     "CD21A7B5F7048C90CD21A7FFCD21A7B5F7048CC2CD21A7B5F7048C9CF7048C00"},
};

/// Blocks, and the squared colour errors that a peer's quick encoder leaves.
struct Quality {
  const char *name, *rgba;
  int error[3];
};
const Quality kQuality[] = {
    {"solid_grey",
     "787878FF787878FF787878FF787878FF787878FF787878FF787878FF787878FF"
     "787878FF787878FF787878FF787878FF787878FF787878FF787878FF787878FF",
     {0, 0, 0}},
    {"solid_odd",
     "034DC8FF034DC8FF034DC8FF034DC8FF034DC8FF034DC8FF034DC8FF034DC8FF"
     "034DC8FF034DC8FF034DC8FF034DC8FF034DC8FF034DC8FF034DC8FF034DC8FF",
     {16, 16, 16}},
    {"two_colours",
     "0000FFFFFF0000FF0000FFFFFF0000FF0000FFFFFF0000FF0000FFFFFF0000FF"
     "0000FFFFFF0000FF0000FFFFFF0000FF0000FFFFFF0000FF0000FFFFFF0000FF",
     {1040400, 1040400, 1040400}},
    {"gradient",
     "00FF00FF10EF08FF20DF10FF30CF18FF40BF20FF50AF28FF609F30FF708F38FF"
     "807F40FF906F48FFA05F50FFB04F58FFC03F60FFD02F68FFE01F70FFF00F78FF",
     {17300, 17300, 17300}},
    {"grey_ramp",
     "000000FF111111FF222222FF333333FF444444FF555555FF666666FF777777FF"
     "888888FF999999FFAAAAAAFFBBBBBBFFCCCCCCFFDDDDDDFFEEEEEEFFFFFFFFFF",
     {26010, 26010, 26010}},
    {"noise",
     "F29524FF7EFDF1FFC01B0DFF64D3FFFFA5BB58FFDA0871FF54CD4CFF0DC00DFF"
     "778A0CFF7EC55FFF16A75EFFFA2014FF61BD5CFF8DF82CFFE0089EFF369BC7FF",
     {192676, 192676, 192676}},
    {"smooth_noise",
     "505F58FF635C66FF64595EFF535050FF595A59FF535C53FF565350FF504E58FF"
     "575858FF4E544FFF5B6451FF4E5265FF565E66FF565953FF665D66FF5E665AFF",
     {1328, 1328, 1328}},
    {"half_transparent",
     "C86432FFC86432FFC86432FFC86432FFC86432FFC86432FFC86432FFC86432FF"
     "C8643200C8643200C8643200C8643200C8643200C8643200C8643200C8643200",
     {24, 16, 16}},
    {"alpha_ramp",
     "C8643200C8643211C8643222C8643233C8643244C8643255C8643266C8643277"
     "C8643288C8643299C86432AAC86432BBC86432CCC86432DDC86432EEC86432FF",
     {24, 16, 16}},
    {"all_transparent",
     "0909090009090900090909000909090009090900090909000909090009090900"
     "0909090009090900090909000909090009090900090909000909090009090900",
     {0, 32, 32}},
};

TEST(Texture, KnownBlocksDecodeExactly) {
  forEachLevel([] {
    for (const Known& known : kKnown) {
      std::vector<uint8_t> got(64);
      const Format& f = formatOf(known.format);
      ASSERT_EQ(0, f.decode(bytesOf(known.block).data(), f.blockBytes, got.data(), 16, sz(4, 4)));
      EXPECT_EQ(bytesOf(known.rgba), got) << "DXT" << known.format << ' ' << known.block;
    }
  });
}

TEST(Texture, EncodersReachTheErrorOfAQuickPeerAndKeepTransparency) {
  for (const Quality& q : kQuality) {
    const std::vector<uint8_t> pixels = bytesOf(q.rgba);
    for (const Format& f : kFormats) {
      SCOPED_TRACE(std::string(q.name) + " DXT" + std::to_string(f.number));
      uint8_t block[16] = {}, got[64];
      ASSERT_EQ(0, f.encode(pixels.data(), 16, block, f.blockBytes, sz(4, 4)));
      ASSERT_EQ(0, f.decode(block, f.blockBytes, got, 16, sz(4, 4)));
      int error = 0;
      for (int i = 0; i < 16; ++i) {
        const bool opaque = f.number != 1 || pixels[4 * i + 3] >= 128;
        for (int c = 0; c < 3 && opaque; ++c) {
          const int d = got[4 * i + c] - pixels[4 * i + c];
          error += d * d;
        }
        const int alphaBound = f.number == 3 ? 8 : 19;
        if (f.number == 1) {
          EXPECT_EQ(opaque ? 255 : 0, got[4 * i + 3]);
        } else {
          EXPECT_LE(std::abs(got[4 * i + 3] - pixels[4 * i + 3]), alphaBound);
        }
      }
      EXPECT_LE(error, q.error[f.number / 2]);
    }
  }
}

// What the nearest level between two ends misses a value by: a third of the way from one end, or
// half-way.
int missed(int bits, int value, bool three) {
  int best = 255;
  for (int u = 0; u < 1 << bits; ++u) {
    for (int l = 0; l < 1 << bits; ++l) {
      const int a = u << (8 - bits) | u >> (2 * bits - 8);
      const int b = l << (8 - bits) | l >> (2 * bits - 8);
      best = std::min(best, std::abs((three ? (a + b) / 2 : (2 * a + b) / 3) - value));
    }
  }
  return best;
}

TEST(Texture, BlocksOfOneColourGetTheNearestThatThereIs) {
  Random random;
  for (int value = 0; value < 256; ++value) {
    const bool three = value % 2 == 1;
    const int wanted[3] = {random.between(0, 255), value, random.between(0, 255)};
    uint8_t pixels[64], block[8], got[64];
    for (int i = 0; i < 16; ++i) {
      for (int c = 0; c < 3; ++c) pixels[4 * i + c] = static_cast<uint8_t>(wanted[c]);
      pixels[4 * i + 3] = three && i == 5 ? 0 : 255;
    }
    const Format& f = formatOf(1);
    ASSERT_EQ(0, f.encode(pixels, 16, block, 8, sz(4, 4)));
    ASSERT_EQ(0, f.decode(block, 8, got, 16, sz(4, 4)));
    // Opaque blocks have the choice.
    int least[2] = {}, error = 0;
    for (int c = 0; c < 3; ++c) {
      for (const bool halves : {false, true}) {
        const int m = missed(c == 1 ? 6 : 5, wanted[c], halves);
        least[halves] += m * m;
      }
      error += (got[c] - wanted[c]) * (got[c] - wanted[c]);
    }
    EXPECT_EQ(three ? least[1] : std::min(least[0], least[1]), error)
        << wanted[0] << ' ' << wanted[1] << ' ' << wanted[2];
  }
}

// A colour that 5, 6, 5 bits hold.
void draw565(Random& random, uint8_t* pixel) {
  const int r = random.between(0, 31), g = random.between(0, 63), b = random.between(0, 31);
  pixel[0] = static_cast<uint8_t>(r << 3 | r >> 2);
  pixel[1] = static_cast<uint8_t>(g << 2 | g >> 4);
  pixel[2] = static_cast<uint8_t>(b << 3 | b >> 2);
}

TEST(Texture, TwoColoursThatTheBitsHoldAreKept) {
  Random random;
  for (int turn = 0; turn < 3000; ++turn) {
    const Format& f = kFormats[turn % 3];
    uint8_t colours[2][4] = {}, pixels[64], block[16], got[64];
    draw565(random, colours[0]);
    draw565(random, colours[1]);
    if (turn % 4 == 0) {  // as little apart as can be
      std::copy_n(colours[0], 4, colours[1]);
      colours[0][2] = 0;
      colours[1][2] = 8;
    }
    for (int i = 0; i < 16; ++i) {
      std::copy_n(colours[random.between(0, 1)], 3, pixels + 4 * i);
      const bool transparent = f.number == 1 && turn % 2 == 1 && random.between(0, 3) == 0;
      pixels[4 * i + 3] = transparent ? 0 : 255;
    }
    ASSERT_EQ(0, f.encode(pixels, 16, block, f.blockBytes, sz(4, 4)));
    ASSERT_EQ(0, f.decode(block, f.blockBytes, got, 16, sz(4, 4)));
    for (int i = 0; i < 16; ++i) {
      ASSERT_EQ(pixels[4 * i + 3], got[4 * i + 3]);
      for (int c = 0; c < 3 && got[4 * i + 3] != 0; ++c)
        ASSERT_EQ(pixels[4 * i + c], got[4 * i + c]);
    }
  }
}

// Readers differ in what the order of the ends means outside DXT1: it must not matter.
TEST(Texture, BlocksWithAlphaOfTheirOwnReadAsFourColoursEverywhere) {
  Random random;
  for (int turn = 0; turn < 1000; ++turn) {
    const Format& f = kFormats[1 + turn % 2];
    uint8_t pixels[64], block[16];
    const int spread = 1 << random.between(0, 7), base = random.between(0, 255 - spread);
    for (uint8_t& p : pixels) p = static_cast<uint8_t>(base + random.between(0, spread));
    ASSERT_EQ(0, f.encode(pixels, 16, block, 16, sz(4, 4)));
    const int c0 = block[8] | block[9] << 8, c1 = block[10] | block[11] << 8;
    const bool between = ((block[12] | block[13] | block[14] | block[15]) & 0xAA) != 0;
    EXPECT_TRUE(c0 > c1 || (c0 == c1 && !between)) << c0 << ' ' << c1;
  }
}

// The least squared error of alphas over a palette of the eight that two ends give, first > second
// or not.
int leastError(const uint8_t* pixels, int first, int second) {
  int palette[8] = {first, second, 0, 0, 0, 0, 0, 255};
  const int last = first > second ? 7 : 5;
  for (int i = 1; i < last; ++i) palette[1 + i] = ((last - i) * first + i * second) / last;
  int sum = 0;
  for (int i = 0; i < 16; ++i) {
    int least = 255;
    for (const int p : palette) least = std::min(least, std::abs(p - pixels[4 * i + 3]));
    sum += least * least;
  }
  return sum;
}

// What both kinds of blocks leave between the ends that the alphas themselves give; one of them
// where eight levels are at most 8 apart.
int leastError(const uint8_t* pixels) {
  int low = 255, high = 0, innerLow = 255, innerHigh = 0;
  for (int i = 3; i < 64; i += 4) {
    const int a = pixels[i];
    low = std::min(low, a);
    high = std::max(high, a);
    if (a != 0) innerLow = std::min(innerLow, a);
    if (a != 255) innerHigh = std::max(innerHigh, a);
  }
  const int eight = leastError(pixels, high, low);
  return innerLow > innerHigh || high - low <= 56
             ? eight
             : std::min(eight, leastError(pixels, innerLow, innerHigh));
}

void expectLeastAlphaError(const std::array<int, 16>& alphas) {
  const Format& f = formatOf(5);
  uint8_t pixels[64] = {}, block[16], got[64];
  for (int i = 0; i < 16; ++i) pixels[4 * i + 3] = static_cast<uint8_t>(alphas[i]);
  ASSERT_EQ(0, f.encode(pixels, 16, block, 16, sz(4, 4)));
  ASSERT_EQ(0, f.decode(block, 16, got, 16, sz(4, 4)));
  int error = 0;
  for (int i = 3; i < 64; i += 4) error += (got[i] - pixels[i]) * (got[i] - pixels[i]);
  EXPECT_EQ(leastError(pixels), error) << ::testing::PrintToString(alphas);
}

TEST(Texture, AlphasTakeTheNearestLevelBetweenTheirEnds) {
  for (int range = 0; range < 256; ++range) {
    for (const int low : {(255 - range) / 2, 0, 255 - range}) {
      for (int first = 0; first <= range; first += 14) {
        std::array<int, 16> alphas;
        for (int i = 0; i < 16; ++i) {
          alphas[i] = low + (i == 0 ? 0 : i == 15 ? range : std::min(range, first + i - 1));
        }
        expectLeastAlphaError(alphas);
      }
    }
  }
}

// Noise seldom has the small ranges, which round in their own way.
TEST(Texture, AlphasOfEveryRangeEqualTheReference) {
  const Format& f = formatOf(5);
  forEachLevel([&] {
    Random random;
    for (int range = 0; range < 256; ++range) {
      Canvas<uint8_t> image(sz(4 * 9, 4), 4);
      int i = 0;
      image.fill([&] {
        const int low = (255 - range) / 2;
        return ++i % 16 == 0 ? low : i % 16 == 4 ? low + range : low + random.between(0, range);
      });
      Canvas<uint8_t> got(sz(9 * f.blockBytes, 1)), want(sz(9 * f.blockBytes, 1));
      ASSERT_EQ(0, f.encode(image.data(), image.step(), got.data(), got.step(), sz(36, 4)));
      ASSERT_EQ(0, f.refEncode(image.data(), image.step(), want.data(), want.step(), sz(36, 4)));
      ASSERT_TRUE(got.sameAs(want)) << "range " << range;
    }
  });
}

TEST(Texture, AlphasTakeTheKindOfBlockThatFitsThemBetter) {
  // Where one of the kinds fits exactly, nothing is lost.
  for (int a = 0; a < 256; ++a) {
    for (int b = a; b < 256; ++b) {
      std::array<int, 16> alphas;
      for (int i = 0; i < 16; ++i) alphas[i] = (std::array<int, 4>{0, a, b, 255})[(i + a) % 4];
      expectLeastAlphaError(alphas);
      alphas[0] = alphas[1] = alphas[2] = alphas[3] = a;
      expectLeastAlphaError(alphas);
    }
  }
  Random random;
  for (int turn = 0; turn < 20000; ++turn) {
    std::array<int, 16> alphas;
    const int low = random.between(0, 255), high = random.between(low, 255);
    for (int& a : alphas) {
      const int kind = random.between(0, 5);
      a = kind == 0 ? 0 : kind == 1 ? 255 : random.between(low, high);
    }
    expectLeastAlphaError(alphas);
  }
}

TEST(Texture, EveryLevelEqualsTheReference) {
  forEachLevel([] {
    Random random;
    int kind = 0;
    for (const Place place : places()) {
      const RkdiSize size = sz(4 * random.between(1, 37), 8);
      for (const Format& f : kFormats) {
        Canvas<uint8_t> image(size, 4, place);
        // Noise, few values, smooth: the last two meet equal ends and ties.
        const int spread = ++kind % 3 == 0 ? 255 : kind % 3 == 1 ? 1 : 12;
        const int base = random.between(0, 255 - spread);
        image.fill([&] { return base + random.between(0, spread); });
        const RkdiSize rows = sz(size.width / 4 * f.blockBytes, 2);
        Canvas<uint8_t> got(rows, 1, place), want(rows);
        ASSERT_EQ(0, f.encode(image.data(), image.step(), got.data(), got.step(), size));
        ASSERT_EQ(0, f.refEncode(image.data(), image.step(), want.data(), want.step(), size));
        ASSERT_TRUE(got.sameAs(want)) << "encoding DXT" << f.number << ' ' << size;
        ASSERT_TRUE(got.marginIntact());
        got.fillLimitsAndRandom(random);
        Canvas<uint8_t> wantImage(size, 4);
        ASSERT_EQ(0, f.decode(got.data(), got.step(), image.data(), image.step(), size));
        ASSERT_EQ(0, f.refDecode(got.data(), got.step(), wantImage.data(), wantImage.step(), size));
        ASSERT_TRUE(image.sameAs(wantImage)) << "decoding DXT" << f.number << ' ' << size;
        ASSERT_TRUE(image.marginIntact());
      }
    }
  });
}

TEST(Texture, RefusesWhatIsNoRegionOfBlocks) {
  for (const Format& f : kFormats) {
    uint8_t image[256] = {}, block[64] = {};
    for (const RkdiSize bad : {sz(5, 4), sz(4, 6), sz(3, 3)}) {
      EXPECT_EQ(rkdStsSizeErr, f.encode(image, 32, block, 32, bad));
      EXPECT_EQ(rkdStsSizeErr, f.decode(block, 32, image, 32, bad));
    }
  }
}

}  // namespace
