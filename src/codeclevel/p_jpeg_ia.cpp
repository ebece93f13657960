/// Whole runs of the JPEG codec: encoder and decoder on pictures of one, three and four channels.
#include <array>
#include <cmath>

#include "codecimage.h"
#include "jpeg.h"
#include "rkcodec.h"
#include "tzostream.h"

namespace {

using jpeg::Color;
using jpeg::Mode;
using jpeg::Sampling;

/// What a conversion is for.
enum Use : int { ENCODES = 1, DECODES = 2 };

/// A value of the parameter "Color": from the pixels to the file, or for decoders the other way.
struct Conversion {
  const char* name;
  Color from, to;
  int use;
};
constexpr Conversion kConversions[] = {
    {"Unknown->Unknown", Color::unknown, Color::unknown, ENCODES},
    {"Gray->Gray", Color::gray, Color::gray, ENCODES | DECODES},
    {"CMYK->CMYK", Color::cmyk, Color::cmyk, ENCODES | DECODES},
    {"CMYK->YCCK", Color::cmyk, Color::ycck, ENCODES},
    {"YCCK->CMYK", Color::ycck, Color::cmyk, DECODES},
    {"RGB->RGB", Color::rgb, Color::rgb, ENCODES | DECODES},
    {"RGB->YCbCr", Color::rgb, Color::ycbcr, ENCODES},
    {"RGB->Gray", Color::rgb, Color::gray, ENCODES},
    {"BGR->YCbCr", Color::bgr, Color::ycbcr, ENCODES},
    {"BGR->Gray", Color::bgr, Color::gray, ENCODES},
    {"YCbCr->RGB", Color::ycbcr, Color::rgb, DECODES},
    {"YCbCr->BGR", Color::ycbcr, Color::bgr, DECODES},
};
constexpr int kNumConversions = int(std::size(kConversions));

int conversionOf(const char* name) {
  for (int i = 0; i < kNumConversions; ++i) {
    if (std::strcmp(kConversions[i].name, name) == 0) return i;
  }
  return 0;
}

tzMapIterator<int> mode("Mode");
tzIterator<int> quality("QualityFactor");
tzMapIterator<int> color("Color");
tzMapIterator<int> sampling("Sampling");

rkCodecPicture picture;
rkVector pixels;   ///< the picture as the encoder takes it: rows from the top
rkVector stream;   ///< a JPEG file
rkVector decoded;  ///< the picture as the decoder gives it
int streamLength;
jpeg::Encoder encoder;
jpeg::Decoder decoder;
jpeg::ImageShape shape;
jpeg::EncodeOptions encodeOptions;
jpeg::DecodeOptions decodeOptions;

/// Names of the five samplings; the first one is none.
void strColorSampling() {
  sampling.resetMap();
  sampling.addName(int(Sampling::s444), "444");
  sampling.addName(int(Sampling::s440), "440");
  sampling.addName(int(Sampling::s422), "422");
  sampling.addName(int(Sampling::s420), "420");
  sampling.addName(int(Sampling::s411), "411");
}

void initColor() {
  color.resetMap();
  for (int i = 0; i < kNumConversions; ++i) color.addName(i, kConversions[i].name);
}

// ---- one call ----

struct Step {
  const char* name;
  jpeg::Status (*run)();
};

/// @return 0; -2 after a line that names the step which failed; a warning's code
template <size_t N>
int runSteps(const Step (&steps)[N]) {
  jpeg::Status status = jpeg::Status::ok;
  for (const Step& step : steps) {
    status = step.run();
    if (!jpeg::isError(status)) continue;
    g_ostrm << L_ERR << "--JPEG ERROR in " << step.name << ". errCode = " << int(status) << ": "
            << jpeg::statusText(status) << "\n"
            << L_END;
    return -2;
  }
  return int(status);
}

jpeg::Status cleanEncoder() {
  const jpeg::Status status = encoder.clean();
  encoder.options() = encodeOptions;
  return status;
}
jpeg::Status cleanDecoder() {
  const jpeg::Status status = decoder.clean();
  decoder.options() = decodeOptions;
  return status;
}

int encode() {
  static constexpr Step kSteps[] = {
      {"Encoder.Clean", cleanEncoder},
      {"Encoder.SetSource", [] { return encoder.setSource(shape, pixels.data()); }},
      {"Encoder.SetDestination",
       [] { return encoder.setDestination(stream.data8u(), size_t(stream.length())); }},
      {"Encoder.WriteHeader", [] { return encoder.writeHeader(); }},
      {"Encoder.WriteData", [] { return encoder.writeData(); }},
  };
  const int status = runSteps(kSteps);
  streamLength = int(encoder.size());
  return status;
}

int decode() {
  static constexpr Step kSteps[] = {
      {"Decoder.Clean", cleanDecoder},
      {"Decoder.SetSource",
       [] { return decoder.setSource(stream.data8u(), size_t(streamLength)); }},
      {"Decoder.SetDestination",
       [] { return decoder.setDestination(decoded.data8u(), size_t(decoded.length())); }},
      {"Decoder.ReadHeader", [] { return decoder.readHeader(); }},
      {"Decoder.ReadData", [] { return decoder.readData(); }},
  };
  return runSteps(kSteps);
}

// ---- the judge ----

/// Least PSNR by quality.
const std::vector<rkFloor> kFloors = {
    // Measured, and half a decibel less; of the coarser samplings the coarsest.
    {"rose.", 25, false, 32.1},
    {"rose.", 50, false, 34.3},
    {"rose.", 75, false, 36.3},
    {"rose.", 90, false, 39.1},
    {"rose.", 100, false, 49.0},
    {"rose.", 25, true, 30.4},
    {"rose.", 50, true, 32.0},
    {"rose.", 75, true, 33.4},
    {"rose.", 90, true, 35.1},
    {"rose.", 100, true, 37.6},
    {"sbikers2.", 25, false, 30.1},
    {"sbikers2.", 50, false, 32.3},
    {"sbikers2.", 75, false, 34.5},
    {"sbikers2.", 90, false, 38.2},
    {"sbikers2.", 100, false, 49.0},
    {"sbikers2.", 25, true, 28.6},
    {"sbikers2.", 50, true, 30.1},
    {"sbikers2.", 75, true, 31.5},
    {"sbikers2.", 90, true, 33.3},
    {"sbikers2.", 100, true, 35.1},
    // Any other: every coefficient off by half its quantiser.
    {"", 25, false, 12},
    {"", 50, false, 18},
    {"", 75, false, 23},
    {"", 90, false, 31},
    {"", 100, false, 45},
};

/// The brightness that a grey file of a coloured picture holds.
std::vector<uint8_t> grayOf(const uint8_t* colours, size_t count, bool blueFirst) {
  std::vector<uint8_t> gray(count);
  for (size_t i = 0; i < count; ++i, colours += 3) {
    const double red = colours[blueFirst ? 2 : 0], blue = colours[blueFirst ? 0 : 2];
    gray[i] = uint8_t(std::lround(0.299 * red + 0.587 * colours[1] + 0.114 * blue));
  }
  return gray;
}

class TimJpegCodec : public rkCodecTest {
 public:
  explicit TimJpegCodec(const rkLine& line) : rkCodecTest(line, verify) {}

 protected:
  bool canStart() override {
    picture.declare(*this, channels() == 3 ? rkInputFile : rkInputJaehne,
                    {"rose.bmp", "sbikers2.bmp"});
    regParm(mode);
    mode.init("Mode", "of coding");
    mode.resetMap();
    mode.addName(int(Mode::baseline), "baseline");
    mode.addName(int(Mode::progressive), "progressive");
    mode.addName(int(Mode::lossless), "lossless");
    mode.add(int(Mode::baseline));
    mode.add(int(Mode::progressive));
    regParm(quality);
    quality.init("QualityFactor", "1 to 100");
    quality.add(75);
    regParm(color);
    color.init("Color", "conversion");
    initColor();
    color.add(conversionOf(usualConversion()));
    regParm(sampling);
    sampling.init("Sampling", "of the colours");
    strColorSampling();
    sampling.add(int(channels() == 3 ? Sampling::s420 : Sampling::s444));
    return true;
  }

  tzString refusal() const override {
    const Conversion& c = conversion();
    const Color ofPixels = isEncoder() ? c.from : c.to;
    const Color ofFile = isEncoder() ? c.to : c.from;
    const int ofFunction = jpeg::channelsOf(ofPixels);
    if ((c.use & (isEncoder() ? ENCODES : DECODES)) == 0) {
      return isEncoder() ? "an encoder has no such conversion" : "a decoder has no such conversion";
    }
    if (ofFunction != 0 && ofFunction != channels()) return "the picture has other channels";
    if (quality.value() < 1 || quality.value() > 100) return "a quality is 1 to 100";
    const bool isSampled = ofFile == Color::ycbcr || ofFile == Color::ycck;
    const bool isLossless = mode.value() == int(Mode::lossless);
    if (sampling.value() != int(Sampling::s444) && (!isSampled || isLossless)) {
      return "only Y, Cb and Cr are sampled at different rates";
    }
    if (isLossless && quality.value() != 100) return "lossless coding has the quality 100 alone";
    if (isLossless && c.name != tzString(losslessConversion())) {
      return "lossless coding converts no colours";
    }
    return picture.refusal();
  }

  bool initData() override {
    // A run takes milliseconds, not nanoseconds: four at most are repeated in one stretch.
    tool().setLoopFactor(9);
    streamLength = 0;
    if (!createSrcImage()) return false;
    setOptions();
    const long long samples = 1LL * shape.width * shape.height * channels();
    // Grey pictures may be so small that the tables of the file outweigh them.
    const long long factor = conversion().to == Color::gray ? 3 : 2;
    if (samples > rkVector::MAX_BYTES / 4) return tooLarge();
    stream.init(rk8u);
    decoded.init(rk8u);
    return stream.createVector(int(factor * samples) + kHeaderBytes, rkModeZero) &&
           decoded.createVector(int(samples), rkModeZero) && (isEncoder() || prepareStream());
  }

  void flushData() override {
    picture.flush();
    pixels.deleteVector();
    stream.deleteVector();
    decoded.deleteVector();
  }

  double getDivisor() const override { return double(shape.width) * shape.height; }
  tzString getUnit() const override { return "px"; }

 private:
  static constexpr int kHeaderBytes = 4096;

  static const Conversion& conversion() { return kConversions[color.value()]; }
  const char* usualConversion() const {
    if (channels() == 3) return isEncoder() ? "RGB->YCbCr" : "YCbCr->RGB";
    return losslessConversion();
  }
  const char* losslessConversion() const {
    return channels() == 1 ? "Gray->Gray" : channels() == 3 ? "RGB->RGB" : "CMYK->CMYK";
  }
  static bool tooLarge() {
    g_ostrm << L_ERR << "-- The picture is too large\n" << L_END;
    return false;
  }

  bool createSrcImage() {
    if (!picture.create(channels())) return false;
    const rkImage& image = picture.image();
    shape = {};
    shape.width = image.width();
    shape.height = image.height();
    shape.channels = channels();
    shape.color = isEncoder() ? conversion().from : conversion().to;
    const int rowBytes = shape.width * shape.channels;
    pixels.init(rk8u);
    if (!pixels.createVector(rowBytes * shape.height)) return false;
    const bool swaps = shape.channels == 3 && shape.color != Color::bgr;
    for (int y = 0; y < shape.height; ++y) {
      uint8_t* const row = pixels.data8u() + ptrdiff_t{rowBytes} * y;
      std::memcpy(row, image.getRowPointer(shape.height - 1 - y), size_t(rowBytes));
      for (int x = 0; swaps && x < rowBytes; x += 3) std::swap(row[x], row[x + 2]);
    }
    return true;
  }

  void setOptions() const {
    encodeOptions = {};
    encodeOptions.mode = Mode(mode.value());
    encodeOptions.quality = quality.value();
    encodeOptions.sampling = Sampling(sampling.value());
    encodeOptions.color = isEncoder() ? conversion().to : conversion().from;
    encodeOptions.threads = threads();
    decodeOptions = {};
    // What a grey file of a coloured picture, or one of unknown colours, comes back as.
    if (!isEncoder()) decodeOptions.color = conversion().to;
    decodeOptions.threads = threads();
  }

  /// The file that a decoder is given.
  bool prepareStream() const {
    return checkStatus(encode(), "the preparing encoder") <= TZ_WARNING;
  }

  double floorPsnr() const {
    if (mode.value() == int(Mode::lossless)) return 999;
    return rkFloorOf(kFloors, picture.name(), quality.value(),
                     sampling.value() != int(Sampling::s444));
  }

  /// One call, and the picture that comes out of its counterpart.
  tzResult compare(tzString& note) const {
    int status = line().library();
    if (status == 0 && isEncoder()) {
      // Three channels of which a file tells nothing would be taken for Y, Cb and Cr.
      const bool isUnknown = conversion().from == Color::unknown;
      if (isUnknown && channels() == 3) decodeOptions.color = Color::ycbcr;
      if (!isUnknown && conversion().to != Color::gray) decodeOptions.color = conversion().from;
      status = decode();
    }
    if (status != 0) {
      note = "the codec failed";
      return TZ_FUNCFAIL;
    }
    const size_t count = size_t(shape.width) * size_t(shape.height);
    if (conversion().to == Color::gray && channels() == 3) {
      const auto gray = grayOf(pixels.data8u(), count, shape.color == Color::bgr);
      return rkJudgePsnr(rkPsnr(gray.data(), decoded.data8u(), count), floorPsnr(), note);
    }
    const double psnr = rkPsnr(pixels.data8u(), decoded.data8u(), count * size_t(shape.channels));
    g_ostrm << L_INFO << "    PSNR: " << psnr << " dB, " << 8.0 * streamLength / double(count)
            << " bits a pixel\n"
            << L_END;
    return rkJudgePsnr(psnr, floorPsnr(), note);
  }
  static tzResult verify(tzTest& test, tzString& note) {
    return static_cast<TimJpegCodec&>(test).compare(note);
  }
};

RK_SUITE(
    TimJpegCodec, "src/codeclevel/p_jpeg_ia",
    static bool present() { return rkJpegCodecPresent(); });

#define RK_REG_T(X, expression) RK_REG_CODEC("//RK_REG_T", nullptr, X, expression)
RK_REG_T(jpeg_Encoder_8u_C1, encode());
RK_REG_T(jpeg_Encoder_8u_C3, encode());
RK_REG_T(jpeg_Encoder_8u_C4, encode());
RK_REG_T(jpeg_Decoder_8u_C1, decode());
RK_REG_T(jpeg_Decoder_8u_C3, decode());
RK_REG_T(jpeg_Decoder_8u_C4, decode());

}  // namespace
