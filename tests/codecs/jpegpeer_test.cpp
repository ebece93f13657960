// Other programs judge our files, and theirs are decoded here.
#include "base/imagefile.h"
#include "exif.h"
#include "jpegkit.h"
#include "peerkit.h"
#include "transform.h"

namespace {

using namespace jpegkit;
using jpeg::Color;
using jpeg::EncodeOptions;
using jpeg::Mode;
using jpeg::Sampling;
using jpeg::Status;

struct Exiftool : peerkit::PeerTest {
  Exiftool() : PeerTest("exiftool") {}
};
struct Jpegtran : peerkit::PeerTest {
  Jpegtran() : PeerTest("jpegtran") {}
};
struct Ffmpeg : peerkit::PeerTest {
  Ffmpeg() : PeerTest("ffmpeg") {}
};
struct Convert : peerkit::PeerTest {
  Convert() : PeerTest("convert-im6") {}
};

Bytes anymap(const Picture& picture) {
  base::ImageShape shape;
  shape.width = picture.shape.width;
  shape.height = picture.shape.height;
  shape.channels = picture.shape.channels;
  shape.depth = picture.shape.precision;
  Bytes file;
  EXPECT_EQ(base::ImageStatus::ok,
            base::writeImage(shape, picture.pixels.data(), picture.shape.rowBytes(),
                             base::ImageFormat::pnm, file));
  return file;
}

Picture fromAnymap(const Bytes& file) {
  base::Image image;
  Picture p;
  EXPECT_EQ(base::ImageStatus::ok, base::readImage(file, image));
  p.shape = {image.shape.width, image.shape.height, image.shape.channels, image.shape.depth,
             image.shape.channels == 1 ? Color::gray : Color::rgb};
  p.pixels = image.samples;
  return p;
}

// ---- metadata ----

TEST_F(Exiftool, ReadsWhatWeSetAndWeWhatItSets) {
  jpeg::Metadata metadata;
  for (const bool isBigEndian : {false, true}) {
    jpeg::exif::Document document;
    document.isBigEndian = isBigEndian;
    for (const auto& [name, value] : {std::pair{"ExposureTime", "1/60"},
                                      {"GPSLatitude", "48 12 30.5 S"},
                                      {"Orientation", "8"},
                                      {"LensSpecification", "24 70 2.8 4"},
                                      {"UserComment", "hello"}}) {
      ASSERT_EQ(Status::ok, jpeg::exif::set(&document, name, value));
    }
    metadata.exif = jpeg::exif::write(document);
    write("a.jpg", encode(picture(16, 16, Color::gray), [&](EncodeOptions& o) {
                     o.metadata = metadata;
                   }).file);
    const Bytes said = made(
        "-s -s -s -ExposureTime -GPSLatitude -GPSLatitudeRef -Orientation# "
        "-LensInfo -UserComment -Warning " +
            file("a.jpg") + " -w! out",
        "a.out");
    EXPECT_EQ("1/60\n48 deg 12' 30.50\" S\nSouth\n8\n24-70mm f/2.8-4\nhello\n",
              std::string(said.begin(), said.end()));
  }
  const Bytes theirs = made(
      "-o " + file("b.jpg") +
          " -Artist=Somebody -FNumber=5.6 -GPSLongitude=16.5 -GPSLongitudeRef=W -exif:Flash#=25 "
          "-DateTimeOriginal='2020:01:02 03:04:05' " +
          file("a.jpg"),
      "b.jpg");
  jpeg::exif::Document document;
  ASSERT_EQ(Status::ok, jpeg::exif::read(decode(theirs).metadata.exif, &document));
  EXPECT_TRUE(document.problems.empty());
  std::string all;
  for (int d = 0; d < jpeg::exif::kDirectories; ++d) {
    for (const auto& e : document.entries[size_t(d)]) {
      all += jpeg::exif::nameOf(jpeg::exif::Directory(d), e.tag) + ": " +
             textOf(document, jpeg::exif::Directory(d), e) + "\n";
    }
  }
  for (const char* const line :
       {"Artist: Somebody\n", "FNumber: f/5.6\n", "GPSLongitude: 16 deg 30' 0.00\" W\n",
        "Flash: fired, auto\n", "DateTimeOriginal: 2020:01:02 03:04:05\n",
        "ExposureTime: 1/60 s\n"}) {
    EXPECT_NE(std::string::npos, all.find(line)) << line << all;
  }
}

// ---- turned and cut ----

TEST_F(Jpegtran, TurnsAndCutsToTheSameCoefficients) {
  struct Case {
    const char* options;
    jpeg::Turn turn;
    jpeg::Rect crop;
  };
  for (const auto& [width, height] : {std::pair{64, 48}, {75, 50}}) {
    for (const Color color : {Color::rgb, Color::gray}) {
      write("a.jpg", peerEncode(picture(width, height, color)));
      jpeg::Decoder decoder;
      jpeg::Coefficients from;
      const Bytes source = read("a.jpg");
      ASSERT_EQ(Status::ok, decoder.setSource(source));
      ASSERT_EQ(Status::ok, decoder.readHeader());
      ASSERT_EQ(Status::ok, decoder.readCoefficients(&from));
      for (const Case& c : {Case{"-rotate 90", jpeg::kRotate90, {}},
                            {"-rotate 180", jpeg::kRotate180, {}},
                            {"-rotate 270", jpeg::kRotate270, {}},
                            {"-flip horizontal", jpeg::kFlipAcross, {}},
                            {"-flip vertical", jpeg::kFlipDown, {}},
                            {"-transpose", jpeg::kTranspose, {}},
                            {"-transverse", jpeg::kTransverse, {}},
                            {"-crop 20x10+19+17", {}, {19, 17, 20, 10}},
                            {"-rotate 90 -crop 20x10+19+17", jpeg::kRotate90, {19, 17, 20, 10}}}) {
        SCOPED_TRACE(c.options);
        const Bytes theirs = made(
            std::string("-trim ") + c.options + " -outfile " + file("b.jpg") + " " + file("a.jpg"),
            "b.jpg");
        jpeg::Coefficients to;
        bool isTrimmed = false;
        ASSERT_EQ(Status::ok, transform(from, c.turn, c.crop, 1 << 24, &to, &isTrimmed));
        jpeg::ByteVector sink;
        ASSERT_EQ(Status::ok, jpeg::writeCoefficients(to, {}, sink));
        EXPECT_EQ(peerCoefficients(theirs), peerCoefficients(sink.bytes));
        EXPECT_EQ(peerDecode(theirs).pixels, peerDecode(sink.bytes).pixels) << "size, quantisers";
      }
    }
  }
}

// ---- whole pictures ----

struct Kind {
  const char* name;
  Color pixels, color;
  Mode mode;
  Sampling sampling;
  int restart;
  bool optimize;
};
constexpr Kind kKinds[] = {
    {"4:2:0", Color::rgb, Color::ycbcr, Mode::baseline, Sampling::s420, 0, false},
    {"4:4:4 with restarts", Color::rgb, Color::ycbcr, Mode::baseline, Sampling::s444, 3, false},
    {"4:2:2 optimised", Color::rgb, Color::ycbcr, Mode::baseline, Sampling::s422, 0, true},
    {"4:4:0", Color::rgb, Color::ycbcr, Mode::baseline, Sampling::s440, 0, false},
    {"4:1:1", Color::rgb, Color::ycbcr, Mode::baseline, Sampling::s411, 0, false},
    {"progressive", Color::rgb, Color::ycbcr, Mode::progressive, Sampling::s420, 0, false},
    {"grey progressive", Color::gray, Color::gray, Mode::progressive, Sampling::s444, 5, false}};

Bytes encoded(const Picture& source, const Kind& kind) {
  const Encoded e = encode(source, [&](EncodeOptions& o) {
    o.color = kind.color;
    o.mode = kind.mode;
    o.sampling = kind.sampling;
    o.restartInterval = kind.restart;
    o.optimize = kind.optimize;
    o.quality = 92;
  });
  EXPECT_EQ(Status::ok, e.status);
  return e.file;
}

TEST_F(Ffmpeg, SeesWhatWeWroteAndWeWhatItWrites) {
  for (const Kind& kind : kKinds) {
    SCOPED_TRACE(kind.name);
    const Picture source = picture(75, 54, kind.pixels);
    write("a.jpg", encoded(source, kind));
    const char* const format = kind.pixels == Color::gray ? "gray" : "rgb24";
    const Bytes seen = made("-y -loglevel error -i " + file("a.jpg") + " -pix_fmt " + format +
                                " -f image2 -c:v ppm " + file("b.ppm"),
                            "b.ppm");
    if (kind.pixels == Color::rgb) {
      EXPECT_GE(psnr(source, fromAnymap(seen)), 27);
    }
  }
  const Picture source = picture(75, 54, Color::rgb);
  write("c.ppm", anymap(source));
  for (const char* const options :
       {"-pix_fmt yuvj420p", "-pix_fmt yuvj422p -huffman default", "-pix_fmt yuvj444p"}) {
    SCOPED_TRACE(options);
    const Bytes theirs =
        made("-y -loglevel error -i " + file("c.ppm") + " -q:v 2 " + options + " " + file("d.jpg"),
             "d.jpg");
    const Decoded d = decode(theirs);
    EXPECT_FALSE(isError(d.status)) << statusText(d.status);
    EXPECT_LE(largestDifference(peerDecode(theirs), d.picture), 3);
  }
  // Their lossless files are RGB under another name; predictors 1 to 3 are what it has.
  const Bytes lossless =
      made("-y -loglevel error -i " + file("c.ppm") +
               " -c:v ljpeg -pix_fmt bgr24 -strict -1 -pred left " + file("e.jpg"),
           "e.jpg");
  EXPECT_FALSE(isError(decode(lossless).status));
}

TEST_F(Convert, SeesWhatWeWroteAndWeWhatItWrites) {
  for (const Kind& kind : kKinds) {
    SCOPED_TRACE(kind.name);
    const Picture source = picture(75, 54, kind.pixels);
    const Bytes ours = encoded(source, kind);
    write("a.jpg", ours);
    EXPECT_GE(psnr(source, fromAnymap(made(file("a.jpg") + " -depth 8 " + file("b.pnm"), "b.pnm"))),
              27);
  }
  write("c.ppm", anymap(picture(75, 54, Color::rgb)));
  for (const char* const options :
       {"-interlace JPEG -sampling-factor 4:2:0", "-sampling-factor 4:1:1",
        "-sampling-factor 2x1,1x2,1x1", "-colorspace Gray", "-colorspace CMYK",
        "-define jpeg:optimize-coding=off -quality 97"}) {
    SCOPED_TRACE(options);
    const Bytes theirs = made(file("c.ppm") + " " + options + " " + file("d.jpg"), "d.jpg");
    const Decoded d =
        decode(theirs, [](jpeg::DecodeOptions& o) { o.upsampling = jpeg::Upsampling::plain; });
    EXPECT_EQ(Status::ok, d.status) << statusText(d.status);
    EXPECT_LE(largestDifference(peerDecode(theirs, {.smooth = false}), d.picture), 3);
  }
}

}  // namespace
