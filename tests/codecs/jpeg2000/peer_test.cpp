// OpenJPEG's programs judge our files, and theirs are decoded here.
#include <climits>
#include <cmath>
#include <cstdlib>
#include <cstring>

#include "base/imagefile.h"
#include "j2kkit.h"
#include "peerkit.h"

namespace {

using namespace j2kkit;
using j2k::Options;

class Compress : public peerkit::PeerTest {
 protected:
  Compress() : PeerTest("opj_compress") {}
};

class Decompress : public peerkit::PeerTest {
 protected:
  Decompress() : PeerTest("opj_decompress") {}
};

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

Bytes anymap(const Picture& picture) {
  base::ImageShape shape;
  shape.width = picture.info.width;
  shape.height = picture.info.height;
  shape.channels = int(picture.planes.size());
  shape.depth = picture.info.components[0].precision;
  const size_t size = shape.sampleBytes();
  Bytes samples(shape.rowBytes() * size_t(shape.height));
  for (size_t c = 0; c < picture.planes.size(); ++c) {
    for (size_t i = 0; i < picture.planes[c].size(); ++i) {
      std::memcpy(&samples[(i * picture.planes.size() + c) * size], &picture.planes[c][i], size);
    }
  }
  Bytes file;
  EXPECT_EQ(base::ImageStatus::ok, base::writeImage(shape, samples.data(), shape.rowBytes(),
                                                    base::ImageFormat::pnm, file));
  return file;
}

Picture fromAnymap(const Bytes& file) {
  base::Image image;
  Picture picture;
  if (base::readImage(file, image) != base::ImageStatus::ok) return picture;
  const size_t channels = size_t(image.shape.channels), size = image.shape.sampleBytes();
  picture.info.width = image.shape.width;
  picture.info.height = image.shape.height;
  picture.planes.resize(channels);
  for (size_t i = 0; i < image.samples.size() / size; ++i) {
    int32_t v = 0;
    std::memcpy(&v, &image.samples[i * size], size);
    picture.planes[i % channels].push_back(v);
  }
  picture.info.components.resize(
      channels, {image.shape.width, image.shape.height, image.shape.depth, false, 1, 1});
  return picture;
}

int largestDifference(const Picture& a, const Picture& b) {
  int most = 0;
  if (a.planes.size() != b.planes.size()) return INT_MAX;
  for (size_t c = 0; c < a.planes.size(); ++c) {
    if (a.planes[c].size() != b.planes[c].size()) return INT_MAX;
    for (size_t i = 0; i < a.planes[c].size(); ++i) {
      most = std::max(most, std::abs(a.planes[c][i] - b.planes[c][i]));
    }
  }
  return most;
}

/// A row of the matrix: geometry, order, style and one more, so that nearly all pairs meet.
std::string compressArguments(int i) {
  static constexpr const char* const geometries[] = {"", "-d 3,5 -T 1,2 -t 64,50", "-t 100,90",
                                                     "-d 17,33"};
  static constexpr const char* const orders[] = {"LRCP", "RLCP", "RPCL", "PCRL", "CPRL"};
  static constexpr const char* const styles[] = {"0", "1", "2", "4", "8", "16", "32", "63"};
  static constexpr const char* const others[] = {"-b 32,32 -c [64,64],[32,32] -SOP",
                                                 "-r 20,8,1 -EPH -b 16,64",
                                                 "-n 3 -c [128,64] -SOP -EPH -TP R",
                                                 "-I -r 15,5",
                                                 "-n 1",
                                                 "-I -n 6 -b 4,4 -PLT",
                                                 "-TP C -TLM",
                                                 "-n 2",
                                                 "-I -n 4 -c [32,32] -r 30,10",
                                                 "-I -b 1024,4 -SOP -EPH",
                                                 "-mct 0 -I -q 30,40"};
  return std::string(" ") + geometries[(i / 2) % 4] + " -p " + orders[(i + i / 5) % 5] + " -M " +
         styles[(i * 3 + i / 8) % 8] + " " + others[(i * 2 + i / 11) % 11];
}

/// The limits to which decoders are held at full resolution: reversible streams are exact, others
/// come within a level of full-precision arithmetic.
void expectConformance(const Picture& theirs, const Picture& ours, const std::string& what) {
  const int most = largestDifference(theirs, ours);
  if (what.find("-I") == std::string::npos) {
    EXPECT_EQ(0, most) << what;
    return;
  }
  EXPECT_GE(1, most) << what;
  // The mean squared error, of one component after the other.
  for (size_t c = 0; c < ours.planes.size(); ++c) {
    double sum = 0;
    for (size_t i = 0; i < ours.planes[c].size(); ++i) {
      sum += std::pow(ours.planes[c][i] - theirs.planes[c][i], 2);
    }
    EXPECT_GT(0.05, sum / double(ours.planes[c].size())) << what << ", component " << c;
  }
}

TEST_F(Compress, TheirFilesDecodeAsTheyDecodeThem) {
  Picture picture = photograph(157, 111);
  write("in.ppm", anymap(picture));
  const int rows = std::getenv("TAZMET_EXHAUSTIVE") != nullptr ? 440 : 44;
  for (int i = 0; i < rows; ++i) {
    const char* const name = i % 2 ? "x.jp2" : "x.j2k";
    const std::string arguments = compressArguments(i);
    const Bytes stream = made("-i " + file("in.ppm") + " -o " + file(name) + arguments, name);
    ASSERT_FALSE(stream.empty()) << arguments;
    ASSERT_EQ(0, std::system(("opj_decompress -i " + file(name) + " -o " + file("out.ppm") +
                              " > /dev/null 2>&1")
                                 .c_str()));
    expectConformance(fromAnymap(read("out.ppm")), decodedWell(stream), arguments);
  }
}

TEST_F(Compress, TheirRegionsAndReductionsAreOurs) {
  Picture picture = photograph(157, 111);
  write("in.ppm", anymap(picture));
  for (int i = 0; i < 12; ++i) {
    const std::string arguments = compressArguments(i * 7);
    if (arguments.find("-n 1") != std::string::npos || arguments.find("-d ") != std::string::npos) {
      continue;
    }
    const Bytes stream = made("-i " + file("in.ppm") + " -o " + file("x.j2k") + arguments, "x.j2k");
    for (const char* const how : {"-r 1", "-d 40,30,99,77"}) {
      Options o;
      if (how[1] == 'r') {
        o.reduce = 1;
      } else {
        o.crop = {40, 30, 59, 47};
      }
      ASSERT_EQ(0, std::system(("opj_decompress -i " + file("x.j2k") + " -o " + file("out.ppm") +
                                " " + how + " > /dev/null 2>&1")
                                   .c_str()));
      expectConformance(fromAnymap(read("out.ppm")), decodedWell(stream, o), arguments + how);
    }
  }
}

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

TEST_F(Compress, TwelveAndSixteenBitsDecode) {
  for (const int precision : {12, 16}) {
    Picture picture = waves(90, 70, 3, precision);
    write("in.ppm", anymap(picture));
    const Bytes stream = made("-i " + file("in.ppm") + " -o " + file("x.jp2"), "x.jp2");
    EXPECT_EQ(picture.planes, decodedWell(stream).planes) << precision;
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

TEST_F(Decompress, OurFilesDecodeExactly) {
  for (int i = 0; i < 24; ++i) {
    Picture picture = photograph(131, 117);
    write("x.jp2", encoded(picture, ourOptions(i)));
    const Picture got =
        fromAnymap(made("-i " + file("x.jp2") + " -o " + file("out.ppm"), "out.ppm"));
    EXPECT_EQ(0, largestDifference(picture, got)) << i;
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

TEST_F(Decompress, RegionOfInterestAndManyDepthsDecode) {
  Picture picture = photograph(131, 117);
  Options o;
  o.roi = {30, 20, 50, 40};
  write("x.j2k", encoded(picture, o));
  EXPECT_EQ(0, largestDifference(
                   picture,
                   fromAnymap(made("-i " + file("x.j2k") + " -o " + file("out.ppm"), "out.ppm"))));
  for (const int precision : {12, 16}) {
    Picture deep = waves(60, 50, 1, precision);
    write("x.j2k", encoded(deep, {}));
    EXPECT_EQ(
        0, largestDifference(deep, fromAnymap(made("-i " + file("x.j2k") + " -o " + file("out.pgm"),
                                                   "out.pgm"))));
  }
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
