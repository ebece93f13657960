// What the encoder writes besides packets, and the memory it takes for them.
#include "damagekit.h"

namespace {

using namespace j2kkit;
using j2k::Options;
using j2k::Progress;

/// Changes of progression of three layers, four resolutions and three components.
Options changing() {
  Options options;
  options.rawStream = true;
  options.layers = options.levels = 3;
  options.changes = {{0, 0, 1, 2, 3, Progress::rlcp},
                     {0, 0, 2, 4, 2, Progress::cprl},
                     {2, 1, 3, 4, 3, Progress::pcrl},
                     {0, 0, 3, 4, 3, Progress::lrcp}};
  return options;
}

/// A region is the part of the whole that it should be, also of fewer resolutions and layers.
void expectParts(const Bytes& file, const std::string& what) {
  for (const int reduce : {0, 1}) {
    for (const int layers : {1, 3}) {
      Options whole, region;
      whole.reduce = region.reduce = reduce;
      whole.maxLayers = region.maxLayers = layers;
      region.crop = {50, 40, 20, 18};
      const j2k::Window wanted = {50 >> reduce, 40 >> reduce, 20 >> reduce, 18 >> reduce};
      EXPECT_EQ(part(decodedWell(file, whole), wanted), decodedWell(file, region).planes)
          << what << ", reduced by " << reduce << ", layers " << layers;
    }
  }
}

TEST(Poc, EveryPacketIsWrittenOnceInTheOrderAskedFor) {
  Picture picture = photograph(90, 70);
  for (const int tile : {0, 33}) {
    for (const char parts : {char(0), 'R', 'L', 'C'}) {
      for (const char packed : {char(0), 'M', 'T'}) {
        Options options = changing();
        options.tileWidth = tile;
        options.tileParts = parts;
        options.packedHeaders = packed;
        options.tlm = options.plt = true;
        options.sop = options.eph = parts == 'R';
        const Bytes file = encoded(picture, options);
        const std::string what = std::to_string(tile) + "," + parts + "," + packed;
        EXPECT_EQ(picture.planes, decodedWell(file).planes) << what;
        find(file, 0xFF5F);
        expectParts(file, what);
      }
    }
  }
}

TEST(Poc, ManyComponentsHaveWideFields) {
  Options options;
  options.changes = {{0, 0, 1, 1, 200, Progress::lrcp}, {0, 0, 1, 6, 300, Progress::cprl}};
  Picture picture = waves(9, 7, 300);
  EXPECT_EQ(picture.planes, decodedWell(encoded(picture, options)).planes);
}

TEST(Poc, ThatLeavesPacketsOutIsRefused) {
  for (const auto& changes : {std::vector<j2k::ProgressChange>{{0, 0, 1, 5, 3, Progress::lrcp}},
                              {{0, 0, 1, 6, 2, Progress::lrcp}},
                              {{0, 1, 1, 6, 3, Progress::lrcp}},
                              {{0, 0, 1, 3, 3, Progress::lrcp}, {4, 0, 1, 6, 3, Progress::lrcp}},
                              {{3, 0, 1, 3, 3, Progress::lrcp}, {0, 0, 1, 6, 3, Progress::lrcp}}}) {
    Options options;
    options.changes = changes;
    Picture picture = small();
    Messages messages;
    Bytes file;
    EXPECT_NE(j2k::Status::ok,
              j2k::encodePicture(options, messages, picture.info, picture.views(), file));
    EXPECT_TRUE(messages.has(109)) << messages.text;
  }
}

/// Of a tile's 255 parts the last has the headers of all layers that are left.
TEST(PackedHeaders, BeyondTheSegmentsThatThereMayBeAreRefused) {
  Options options;
  options.rawStream = true;
  options.levels = 1;
  options.precincts = {{0, 0, 8, 8}};
  options.blockWidth = options.blockHeight = 4;
  options.tileParts = 'L';
  options.packedHeaders = 'T';
  Picture picture = waves(128, 128, 1);
  for (const int layers : {400, 1000}) {
    options.layers = layers;
    Messages messages;
    Bytes file;
    const j2k::Status status =
        j2k::encodePicture(options, messages, picture.info, picture.views(), file);
    EXPECT_EQ(layers == 1000, messages.has(109)) << messages.text;
    if (status == j2k::Status::ok) {
      EXPECT_EQ(picture.planes, decodedWell(file).planes);
    }
  }
}

TEST(Boxes, ResolutionTextsAndOthersComeBack) {
  Picture picture = small();
  picture.info.resolutionX = 300 / 0.0254;
  picture.info.resolutionY = 0.001;
  picture.info.xml = {{'<', 'a', '/', '>'}, {'<', 'b', '/', '>'}};
  picture.info.uuids = {Bytes(16, 7), Bytes(1000, 9)};
  const Bytes file = encoded(picture, {});
  const Picture got = decodedWell(file);
  EXPECT_EQ(picture.planes, got.planes);
  EXPECT_NEAR(picture.info.resolutionX, got.info.resolutionX, 1);
  EXPECT_NEAR(picture.info.resolutionY, got.info.resolutionY, 1e-7);
  EXPECT_EQ(picture.info.xml, got.info.xml);
  EXPECT_EQ(picture.info.uuids, got.info.uuids);
  picture.info.uuids = {Bytes(15)};
  Messages messages;
  Bytes none;
  EXPECT_NE(j2k::Status::ok, j2k::encodePicture({}, messages, picture.info, picture.views(), none));
  EXPECT_TRUE(messages.has(109));
}

TEST(Memory, OfTheEncoderStaysWithinItsLimit) {
  struct {
    const char* what;
    int tile, precinct;
    j2k::Wavelet wavelet;
    double ratio;
    int64_t fits;  ///< MiB
  } const cases[] = {
      {"planes of 16 bits", 0, 32768, j2k::Wavelet::reversible53, 1, 12},
      {"one tile at a time", 128, 32768, j2k::Wavelet::reversible53, 1, 7},
      {"floating point", 0, 32768, j2k::Wavelet::irreversible97, 20, 16},
      {"all tiles at a time", 128, 32768, j2k::Wavelet::irreversible97, 20, 16},
      {"many precincts", 0, 8, j2k::Wavelet::reversible53, 1, 200},
  };
  Picture picture = photograph(1024, 1000);
  for (const auto& c : cases) {
    for (const bool enough : {true, false}) {
      Options options;
      options.tileWidth = options.tileHeight = c.tile;
      options.precincts = {{0, 0, c.precinct, c.precinct}};
      options.wavelet = c.wavelet;
      options.ratios = {c.ratio};
      options.memoryMiB = enough ? c.fits : c.fits / 4;
      Messages messages;
      Bytes file;
      const j2k::Status status =
          j2k::encodePicture(options, messages, picture.info, picture.views(), file);
      EXPECT_EQ(enough, status == j2k::Status::ok) << c.what << messages.text;
      EXPECT_EQ(!enough, messages.has(103)) << c.what << messages.text;
    }
  }
}

}  // namespace
