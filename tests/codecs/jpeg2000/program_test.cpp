// The program: keys, files in, files out, exit codes.
#include <algorithm>
#include <cmath>
#include <cstring>
#include <string>
#include <tuple>

#include "base/imagefile.h"
#include "j2kkit.h"
#include "peerkit.h"
#include "testpaths.h"

namespace {

using namespace j2kkit;

class Program : public peerkit::PeerTest {
 protected:
  Program() : PeerTest(TAZMET_BIN_DIR "/jpeg2kcodec") {}

  /// Exit code and what was printed to both streams.
  std::pair<int, std::string> run(const std::string& arguments) const {
    const std::string command =
        TAZMET_BIN_DIR "/jpeg2kcodec " + arguments + " > " + file("printed") + " 2>&1";
    const int status = std::system(command.c_str());
    const Bytes printed = read("printed");
    return {WEXITSTATUS(status), std::string(printed.begin(), printed.end())};
  }

  Bytes anymap(int channels, int depth) const {
    base::ImageShape shape;
    shape.width = 37;
    shape.height = 23;
    shape.channels = channels;
    shape.depth = depth;
    Picture picture = waves(37, 23, channels, depth);
    Bytes samples(shape.rowBytes() * 23);
    for (size_t c = 0; c < size_t(channels); ++c) {
      for (size_t i = 0; i < picture.planes[c].size(); ++i) {
        std::memcpy(&samples[(i * size_t(channels) + c) * shape.sampleBytes()],
                    &picture.planes[c][i], shape.sampleBytes());
      }
    }
    Bytes bytes;
    EXPECT_EQ(base::ImageStatus::ok, base::writeImage(shape, samples.data(), shape.rowBytes(),
                                                      base::ImageFormat::pnm, bytes));
    return bytes;
  }
};

TEST_F(Program, KeepsPicturesThroughEveryFormat) {
  for (const int depth : {8, 12, 16}) {
    for (const int channels : {1, 3}) {
      const Bytes picture = anymap(channels, depth);
      write("in.pnm", picture);
      for (const char* const name : {"x.jp2", "x.j2k", "x.j2c"}) {
        ASSERT_EQ(0, run("-i " + file("in.pnm") + " -o " + file(name)).first);
        ASSERT_EQ(0, run("-i " + file(name) + " -o " + file("out.pnm")).first);
        EXPECT_EQ(picture, read("out.pnm")) << name << depth;
      }
    }
  }
  write("in.pnm", anymap(3, 8));
  ASSERT_EQ(0, run("-i " + file("in.pnm") + " -o " + file("x.jp2")).first);
  ASSERT_EQ(0, run("-i " + file("x.jp2") + " -o " + file("a.bmp")).first);
  ASSERT_EQ(0, run("-i " + file("a.bmp") + " -o " + file("y.jp2")).first);
  ASSERT_EQ(0, run("-i " + file("y.jp2") + " -o " + file("out.ppm")).first);
  EXPECT_EQ(read("in.pnm"), read("out.ppm"));
  ASSERT_EQ(0, run("-i " + file("x.jp2") + " -o " + file("c.pgx")).first);
  ASSERT_EQ(0, run("-i " + file("c_1.pgx") + " -o " + file("z.j2k")).first);
  ASSERT_EQ(0, run("-i " + file("z.j2k") + " -o " + file("d.pgx")).first);
  EXPECT_EQ(read("c_1.pgx"), read("d_0.pgx"));
}

TEST_F(Program, TellsWhyItEnds) {
  write("in.pnm", anymap(3, 8));
  ASSERT_EQ(0, run("-i " + file("in.pnm") + " -o " + file("x.j2k")).first);
  Bytes cut = read("x.j2k");
  cut.resize(cut.size() / 2);
  write("cut.j2k", cut);
  write("text.jp2", {'n', 'o', 'n', 'e'});
  write("empty.JP2", {});
  EXPECT_EQ(0, run("-i " + file("cut.j2k") + " -o " + file("out.pnm")).first);
  // A warning that ends the work is an error.
  auto [code, told] = run("-strict -i " + file("cut.j2k") + " -o " + file("out.pnm"));
  EXPECT_EQ(1, code);
  EXPECT_NE(std::string::npos, told.find("cut.j2k: error 5")) << told;
  EXPECT_EQ(std::string::npos, told.find("warning")) << told;
  for (const char* const name : {"text.jp2", "empty.JP2"}) {
    std::tie(code, told) = run("-i " + file(name) + " -o " + file("out.pnm"));
    EXPECT_EQ(1, code);
    EXPECT_NE(std::string::npos, told.find("is neither a JP2 file nor a codestream")) << told;
  }
}

TEST_F(Program, WritesBoxesAndChangesOfProgressionThatKeysAskFor) {
  write("in.ppm", anymap(3, 8));
  write("note.xml", {'<', 'n', '/', '>'});
  write("uuid.bin", Bytes(20, 'u'));
  ASSERT_EQ(0, run("-i " + file("in.ppm") + " -o " + file("x.jp2") + " -xml " + file("note.xml") +
                   " -uuid " + file("uuid.bin") +
                   " -res 300,150 -layers 2 -poc 0,0,1,3,3,RLCP/0,0,2,6,3,CPRL")
                   .first);
  ASSERT_EQ(0, run("-i " + file("x.jp2") + " -o " + file("out.ppm")).first);
  EXPECT_EQ(read("in.ppm"), read("out.ppm"));
  const std::string list = run("-i " + file("x.jp2") + " -linf+").second;
  for (const char* const part :
       {"box 'xml ' at", "<n/>", "box 'uuid' at", "box 'resc' at", "POC at"}) {
    EXPECT_NE(std::string::npos, list.find(part)) << part << "\n" << list;
  }
  for (const char* const wrong : {"-poc 0,0,1,3,3", "-poc 0,0,1,3,3,XYZ", "-res 0", "-xml none"}) {
    EXPECT_NE(0, run("-i " + file("in.ppm") + " -o " + file("x.jp2") + " " + wrong).first) << wrong;
  }
}

/// A profile of the sRGB primaries with linear light.
Bytes linearProfile() {
  Bytes profile(128 + 4 + 7 * 12, 0);
  const auto put = [&](size_t at, uint32_t v) {
    for (size_t i = 0; i < 4; ++i) profile[at + i] = uint8_t(v >> (24 - 8 * i));
  };
  const auto name = [&](size_t at, const char* text) {
    std::copy(text, text + 4, profile.begin() + std::ptrdiff_t(at));
  };
  put(8, 0x02100000);
  name(12, "mntr");
  name(16, "RGB ");
  name(20, "XYZ ");
  name(36, "acsp");
  put(68, 0xF6D6);  // the white of profiles
  put(72, 0x10000);
  put(76, 0xD32D);
  put(128, 7);
  static constexpr struct {
    const char* tag;
    uint32_t xyz[3];
  } tags[] = {{"rXYZ", {0x6FA2, 0x38F5, 0x0390}},
              {"gXYZ", {0x6299, 0xB785, 0x18DA}},
              {"bXYZ", {0x24A0, 0x0F84, 0xB6CF}},
              {"wtpt", {0xF6D6, 0x10000, 0xD32D}}};
  size_t entry = 132;
  const auto add = [&](const char* tag, const char* type, std::initializer_list<uint32_t> values) {
    const size_t at = profile.size();
    profile.resize(at + 8 + values.size() * 4);
    name(entry, tag);
    put(entry + 4, uint32_t(at));
    put(entry + 8, uint32_t(8 + values.size() * 4));
    entry += 12;
    name(at, type);
    size_t place = at + 8;
    for (const uint32_t v : values) put(place, v), place += 4;
  };
  for (const auto& t : tags) add(t.tag, "XYZ ", {t.xyz[0], t.xyz[1], t.xyz[2]});
  for (const char* const tag : {"rTRC", "gTRC", "bTRC"}) add(tag, "curv", {0});
  put(0, uint32_t(profile.size()));
  return profile;
}

TEST_F(Program, ConvertsFromIccProfilesToSrgb) {
  write("linear.icc", linearProfile());
  for (const int depth : {8, 16}) {
    write("in.ppm", anymap(3, depth));
    ASSERT_EQ(
        0,
        run("-i " + file("in.ppm") + " -o " + file("x.jp2") + " -icc " + file("linear.icc")).first);
    const auto [code, printed] = run("-i " + file("x.jp2") + " -o " + file("out.ppm") + " -srgb");
    if (printed.find("has no Little CMS") != std::string::npos) GTEST_SKIP() << printed;
    ASSERT_EQ(0, code) << printed;
    base::Image in, out;
    ASSERT_EQ(base::ImageStatus::ok, base::readImage(read("in.ppm"), in));
    ASSERT_EQ(base::ImageStatus::ok, base::readImage(read("out.ppm"), out));
    ASSERT_EQ(in.shape, out.shape);
    const double high = std::ldexp(1.0, depth) - 1;
    const auto sample = [&](const base::Image& image, size_t i) {
      return depth == 8 ? image.samples[i]
                        : reinterpret_cast<const uint16_t*>(image.samples.data())[i];
    };
    double most = 0;
    for (size_t i = 0; i < 37 * 23 * 3; ++i) {
      const double light = sample(in, i) / high;
      const double want =
          light <= 0.0031308 ? 12.92 * light : 1.055 * std::pow(light, 1 / 2.4) - 0.055;
      most = std::max(most, std::abs(want - sample(out, i) / high));
    }
    EXPECT_GT(0.01, most) << depth;
  }
  write("broken.icc", Bytes(200, 1));
  ASSERT_EQ(
      0,
      run("-i " + file("in.ppm") + " -o " + file("x.jp2") + " -icc " + file("broken.icc")).first);
  const auto [code, printed] = run("-i " + file("x.jp2") + " -o " + file("out.ppm") + " -srgb");
  EXPECT_NE(0, code);
  EXPECT_NE(std::string::npos, printed.find("the ICC profile is damaged")) << printed;
}

TEST_F(Program, TellsWhatIsWrongInOneLine) {
  write("in.ppm", anymap(3, 8));
  write("junk", {1, 2, 3});
  const std::string in = "-i " + file("in.ppm"), out = " -o " + file("x.jp2");
  for (const std::string& arguments :
       {std::string("-i"), in, in + out + " -wlev 33", in + out + " -wt wt42", in + out + " -frob",
        in + out + " -cblk 128x128", in + out + " -tile 0x5", "-i " + file("none") + out,
        "-i " + file("junk") + out, std::string("-diag 999"), in + out + " -ratio 100000",
        in + out + " -roi 5x5+1000+1000"}) {
    const auto [code, printed] = run(arguments);
    EXPECT_NE(0, code) << arguments;
    EXPECT_EQ(1, std::count(printed.begin(), printed.end(), '\n')) << arguments << "\n" << printed;
  }
}

TEST_F(Program, ListsDiagnosticsAndStructureAndMeasures) {
  const std::string all = run("-diag").second;
  EXPECT_EQ(j2k::diagnosticTexts().size(), size_t(std::count(all.begin(), all.end(), '\n')));
  EXPECT_NE(std::string::npos, run("-diag 509").second.find("truncated"));
  write("in.ppm", anymap(3, 8));
  ASSERT_EQ(0, run("-i " + file("in.ppm") + " -o " + file("x.jp2") +
                   " -tile 20x20 -sop -plt -tlm -layers 2")
                   .first);
  const std::string list = run("-i " + file("x.jp2") + " -linf+").second;
  for (const char* const part :
       {"box 'ihdr' at", "37x23, 3 components", "SIZ at", "TLM at", "order LRCP, 2 layers",
        "wavelet 5/3, 5 levels", "tile 3, part 0", "PLT at", "SOP",
        "comment: ", "component 2, resolution 5, precinct 0, layer 1: header"}) {
    EXPECT_NE(std::string::npos, list.find(part)) << part << "\n" << list;
  }
  EXPECT_NE(std::string::npos,
            run("-i " + file("x.jp2") + " -bench 2").second.find("clocks/pixel"));
}

}  // namespace
