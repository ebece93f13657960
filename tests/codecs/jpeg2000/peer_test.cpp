// OpenJPEG's programs judge our files, and theirs are decoded here.
#include "j2kpeerkit.h"

namespace {

using namespace j2kkit;
using j2k::Options;

class GrokCompress : public peerkit::PeerTest {
 protected:
  GrokCompress() : PeerTest("grk_compress") {}
};

class GrokDecompress : public peerkit::PeerTest {
 protected:
  GrokDecompress() : PeerTest("grk_decompress") {}
};

class Ffmpeg : public peerkit::PeerTest {
 protected:
  Ffmpeg() : PeerTest("ffmpeg") {}
};

TEST_F(Compress, TheirChangesOfProgressionAndRegionsDecode) {
  Picture picture = photograph(157, 111);
  write("in.ppm", anymap(picture));
  for (const char* const arguments :
       {"-POC T1=0,0,1,3,3,RLCP/T1=3,0,1,6,3,CPRL",
        "-r 30,10,1 -POC T1=0,0,3,3,3,RLCP/T1=3,0,3,6,3,CPRL", "-ROI c=0,U=12",
        "-ROI c=1,U=14 -M 1", "-t 64,64 -POC T1=0,0,1,6,1,RPCL/T1=0,1,1,6,3,PCRL"}) {
    const Bytes stream =
        made("-i " + file("in.ppm") + " -o " + file("x.j2k") + " " + arguments, "x.j2k");
    EXPECT_EQ(picture.planes, decodedWell(stream).planes) << arguments;
  }
}

Options ourOptions(int i) {
  Options o;
  static constexpr int styles[] = {0, 1, 2, 4, 8, 16, 32, 63};
  o.style = styles[i % 8];
  o.progress = j2k::Progress(i % 5);
  o.levels = 1 + i % 6;
  o.layers = 1 + i % 3;
  if (i % 4 == 1) o.tileWidth = o.tileHeight = 50;
  if (i % 3 == 1) o.precincts = {{0, 0, 64, 64}, {0, 0, 32, 32}};
  o.blockWidth = i % 2 ? 64 : 16;
  o.blockHeight = i % 2 ? 64 : 32;
  o.sop = i % 2 == 0;
  o.eph = i % 3 == 0;
  o.tlm = o.plt = i % 4 == 3;
  o.offsetX = i % 3;
  o.tileParts = "\0RLC"[i % 4];
  o.packedHeaders = "\0\0\0MT"[i % 5];
  return o;
}

/// Blocks enough for coders to stop where passes gain too little, and not where segments end.
TEST_F(Decompress, OurFilesOfASizeAreToThemWhatTheyAreToUs) {
  Picture picture = photograph(149, 117);
  for (int i = 0; i < 16; ++i) {
    Options o = ourOptions(i);
    o.wavelet = i / 2 % 2 ? j2k::Wavelet::irreversible97 : j2k::Wavelet::reversible53;
    o.blockWidth = o.blockHeight = 8;
    o.layers = 1;
    o.ratios = {12};
    if (i % 3 == 0) o.ratios = {40, 20, 8};
    o.threads = 1 + i % 2;
    const Bytes stream = encoded(picture, o);
    write("x.jp2", stream);
    const Picture got =
        fromAnymap(made("-i " + file("x.jp2") + " -o " + file("out.ppm"), "out.ppm"));
    const Picture ours = decodedWell(stream);
    expectConformance(got, ours, false);
    EXPECT_LT(28, psnr(picture, ours)) << i;
  }
}

TEST_F(GrokDecompress, OurFilesDecodeExactly) {
  for (int i = 0; i < 24; ++i) {
    Picture picture = photograph(131, 117);
    // Release 10.0.5 makes another picture of PPM over several parts of a tile, which OpenJPEG
    // reads, of packed headers with PLT, whose lengths then are those of bodies (A.7.3), and of
    // small tiles of many levels, also of OpenJPEG's.
    Options o = ourOptions(i);
    if (o.packedHeaders == 'M') o.tileParts = 0;
    if (o.packedHeaders != 0) o.plt = false;
    if (o.tileWidth > 0) o.levels = std::min(o.levels, 2);
    write("x.jp2", encoded(picture, o));
    const Picture got =
        fromAnymap(made("-i " + file("x.jp2") + " -o " + file("out.ppm"), "out.ppm"));
    EXPECT_EQ(0, largestDifference(picture, got)) << i;
  }
}

TEST_F(GrokCompress, TheirFilesDecode) {
  Picture picture = photograph(157, 111);
  write("in.ppm", anymap(picture));
  for (const char* const arguments :
       {"", "-t 64,50", "-p RPCL -c [64,64],[32,32] -b 32,32", "-n 3 -M 63 -p CPRL",
        "-M 1 -S -E -p PCRL -t 100,90", "-u R -X -L -p RLCP"}) {
    const Bytes stream =
        made("-i " + file("in.ppm") + " -o " + file("x.j2k") + " " + arguments, "x.j2k");
    EXPECT_EQ(picture.planes, decodedWell(stream).planes) << arguments;
  }
}

TEST_F(Decompress, OurChangesOfProgressionDecode) {
  Picture picture = photograph(131, 117);
  Options o;
  o.layers = 3;
  o.changes = {{0, 0, 1, 3, 3, j2k::Progress::rlcp},
               {0, 0, 2, 6, 2, j2k::Progress::cprl},
               {0, 0, 3, 6, 3, j2k::Progress::rpcl}};
  o.precincts = {{0, 0, 64, 64}};
  write("x.jp2", encoded(picture, o));
  EXPECT_EQ(0, largestDifference(
                   picture,
                   fromAnymap(made("-i " + file("x.jp2") + " -o " + file("out.ppm"), "out.ppm"))));
}

TEST_F(Compress, QualityIsAtLeastTheirsAtTheSameSize) {
  Picture picture = photograph(640, 480);
  write("in.ppm", anymap(picture));
  for (const double bits : {0.25, 0.5, 1.0, 2.0}) {
    const Bytes theirs = made(
        "-i " + file("in.ppm") + " -o " + file("x.j2k") + " -I -r " + std::to_string(24 / bits),
        "x.j2k");
    Options o;
    o.wavelet = j2k::Wavelet::irreversible97;
    o.rawStream = true;
    o.ratios = {640.0 * 480 * 3 / double(theirs.size())};
    const Bytes ours = encoded(picture, o);
    ASSERT_LE(ours.size(), theirs.size());
    EXPECT_GE(psnr(picture, decodedWell(ours)), psnr(picture, decodedWell(theirs)) - 0.01) << bits;
  }
}

TEST_F(Ffmpeg, ReadsOurFiles) {
  Picture picture = photograph(131, 117);
  for (int i = 0; i < 3; ++i) {
    Options o;
    o.tileWidth = o.tileHeight = i == 1 ? 64 : 0;
    o.progress = j2k::Progress(i * 2);
    o.style = i == 2 ? 4 : 0;
    write("x.jp2", encoded(picture, o));
    const Picture got = fromAnymap(
        made("-y -loglevel error -i " + file("x.jp2") + " -pix_fmt rgb24 " + file("out.ppm"),
             "out.ppm"));
    EXPECT_EQ(0, largestDifference(picture, got)) << i;
  }
}

}  // namespace
