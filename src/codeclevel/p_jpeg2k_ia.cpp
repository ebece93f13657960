/// Whole runs of the JPEG 2000 codec, driven by its own options.
#include <algorithm>
#include <string>
#include <string_view>
#include <vector>

#include "codecimage.h"
#include "jpeg2000.h"
#include "rkcodec.h"
#include "tzostream.h"

namespace {

constexpr const char* kProgramName = "jpeg2kcodec.exe";

rkCodecPicture picture;
tzMapIterator<int> codecMode("Encode");  ///< fixed: what the test does
tzIterator<double> ratio("ratio");
tzIterator<int> levels("wlev");
tzMapIterator<int> wavelet("wt");
tzMapIterator<int> transform("mct");

// ---- what the codec is handed ----

/// Passes on what the codec tells. The structure of the stream is told once a combination, not once
/// a repetition.
class DiagOutput : public j2k::Diagnostics {
 public:
  void message(const j2k::DiagnosticText& text, std::string_view detail) override {
    const bool isError = text.severity == j2k::Severity::exception;
    g_ostrm << (isError ? L_ERR : L_WARN) << "-- JPEG 2000 " << text.number << ": " << text.summary;
    if (!detail.empty()) g_ostrm << ": " << std::string(detail).c_str();
    g_ostrm << "\n" << L_END;
  }
  void line(std::string_view text) override {
    const bool isError = text.substr(0, 5) == "Error";
    if (!isError && !m_tells) return;
    g_ostrm << (isError ? L_ERR : L_DATA) << std::string(text).c_str() << (isError ? "" : "\n")
            << L_END;
  }
  void setTelling(bool tells) { m_tells = tells; }

 private:
  bool m_tells = false;
};

j2k::Options pCmdOptions;
DiagOutput diagnOutput;
j2k::BmpBuffer bmpStruct;
j2k::Jp2Buffer jp2Struct;
tzString jp2FileName;
int argc;
const char* const* argv;

rkVector bmpData;  ///< rows as in a bitmap file: what is encoded, or room for what is decoded
rkVector jp2Data;
double quality;  ///< bits a pixel of the stream

/// The picture's rows to where the encoder reads them.
void copyBmpData() {
  const rkImage& image = picture.image();
  const size_t step = j2k::bmpRowStep(24, image.width());
  const size_t rowBytes = size_t(image.width()) * 3;
  for (int y = 0; y < image.height(); ++y) {
    std::memcpy(bmpData.data8u() + step * size_t(y), image.getRowPointer(y), rowBytes);
  }
}
int tinit_jpeg2k_Encoder_8u_C3() {
  copyBmpData();
  return 0;
}

int x_Encoder() {
  return j2k::encode(pCmdOptions, diagnOutput, bmpStruct, jp2Struct) != 0 ? -2 : 0;
}
int x_Decoder() {
  return j2k::decode(pCmdOptions, diagnOutput, jp2Struct, bmpStruct) != 0 ? -2 : 0;
}

/// Least PSNR by bits a pixel of the stream.
const std::vector<rkFloor> kFloors = {
    // Measured, and half a decibel less; of the two component transforms the worse.
    {"rose.", 0.22, false, 30.4},     {"rose.", 0.45, false, 32.6},
    {"rose.", 1.1, false, 36.7},      {"rose.", 2.3, false, 40.5},
    {"rose.", 4.6, false, 44.7},      {"rose.", 6.0, false, 50.0},
    {"sbikers2.", 0.22, false, 27.8}, {"sbikers2.", 0.45, false, 30.4},
    {"sbikers2.", 1.1, false, 34.9},  {"sbikers2.", 2.3, false, 39.3},
    {"sbikers2.", 4.6, false, 44.2},
};

class TimJ2kitCodec : public rkCodecTest {
 public:
  explicit TimJ2kitCodec(const rkLine& line) : rkCodecTest(line, verify) {}

 protected:
  bool canStart() override {
    regParm(codecMode);
    codecMode.init("Encode", "", "", true);
    codecMode.resetMap();
    codecMode.addName(1, "yes");
    codecMode.addName(0, "no");
    codecMode.add(isEncoder());
    picture.declare(*this, rkInputFile, {"rose.bmp"});
    regParm(ratio);
    ratio.init("ratio", "of the picture's bytes to the file's, 1: as many as it takes");
    ratio.add(1);
    ratio.add(20);
    regParm(levels);
    levels.init("wlev", "wavelet levels");
    levels.add(5);
    regParm(wavelet);
    wavelet.init("wt", "wavelet");
    wavelet.resetMap();
    wavelet.addName(53, "wt53");
    wavelet.addName(97, "wt97");
    wavelet.add(53);
    wavelet.add(97);
    regParm(transform);
    transform.init("mct", "multi-component transform");
    transform.resetMap();
    transform.addName(1, "mct+");
    transform.addName(0, "mct-");
    transform.add(1);
    return true;
  }

  tzString refusal() const override {
    if (!(ratio.value() >= 1)) return "a ratio is 1 or more";
    if (levels.value() < 0 || levels.value() > 32) return "there are 0 to 32 wavelet levels";
    return picture.refusal();
  }

  bool initData() override {
    // A run takes tenths of a second: two at most are repeated in one stretch.
    tool().setLoopFactor(10);
    if (!picture.create(3) || !mallocData()) return false;
    savePicture();
    setBmpStruct();
    setJp2Struct();
    copyBmpData();
    if (!setModeKeys(true)) return false;
    if (checkStatus(x_Encoder(), "the preparing encoder") > TZ_WARNING) return false;
    quality = 8.0 * double(jp2Struct.length) / getDivisor();
    g_ostrm << L_INFO << "    Bits a pixel: " << quality << "\n" << L_END;
    if (isEncoder()) return true;
    return setModeKeys(false) && tellStructure() && bmpData.setVector(rkModeZero, 0, 0);
  }

  void flushData() override {
    freeData();
    picture.flush();
  }

  double getDivisor() const override {
    return double(picture.image().width()) * picture.image().height();
  }
  tzString getUnit() const override { return "px"; }

 private:
  bool mallocData() {
    const rkImage& image = picture.image();
    const long long bytes = (long long)(j2k::bmpRowStep(24, image.width())) * image.height();
    bmpData.init(rk8u);
    jp2Data.init(rk8u);
    if (bytes > rkVector::MAX_BYTES / 3) {
      g_ostrm << L_ERR << "-- The picture is too large\n" << L_END;
      return false;
    }
    return bmpData.createVector(int(bytes), rkModeZero) &&
           jp2Data.createVector(int(2 * bytes) + kHeaderBytes, rkModeZero);
  }
  static void freeData() {
    bmpData.deleteVector();
    jp2Data.deleteVector();
  }
  static void setBmpStruct() {
    bmpStruct = {picture.image().width(), picture.image().height(), 24, bmpData.data8u(),
                 size_t(bmpData.length())};
  }
  static void setJp2Struct() { jp2Struct = {jp2Data.data8u(), size_t(jp2Data.length()), 0}; }

  /// The generated picture is kept as a file, for whoever wants to see what was coded.
  static void savePicture() {
    if (!picture.isFile()) picture.save();
  }

  static bool tellStructure() {
    if (!pCmdOptions.listing) return true;
    diagnOutput.setTelling(true);
    const int status = x_Decoder();
    diagnOutput.setTelling(false);
    return status == 0;
  }

  // ---- the option list ----

  bool isParm(const tzParameter& parm) const {
    return std::find(parms().begin(), parms().end(), &parm) != parms().end();
  }
  void clearKeys() { m_keys.clear(); }
  void addKey(const tzString& key, const tzString& value = "") {
    m_keys.emplace_back(key.c_str());
    if (!value.empty()) m_keys.emplace_back(value.c_str());
  }
  /// Fills the codec's options.
  /// @return false after a line that tells what the codec does not take
  bool setModeKeys(bool encode) {
    jp2FileName = picture.name().getFileTitle() + ".jp2";
    clearKeys();
    addKey("i", encode ? picture.name() : jp2FileName);
    addKey("o", encode ? jp2FileName : picture.name());
    addKey((g_ostrm.outLevel() & L_DATA) != 0 ? "linf+" : "linf-");
    if (encode) {
      const tzDefault_NSC<int>* const coded[] = {&levels, &wavelet, &transform};
      if (isParm(ratio)) addKey(ratio.name(), ratio.tzDefault_NSC<double>::valueString());
      for (const auto* parm : coded) {
        if (isParm(*parm)) addKey(parm->name(), parm->valueString());
      }
    }
    if (threads() > 1) {
      tzString count;
      count << threads();
      addKey("threads", count);
    }
    return setArgcArgv() && validModeKeys();
  }
  bool setArgcArgv() {
    m_argv = {kProgramName};
    for (const std::string& key : m_keys) m_argv.push_back(key.c_str());
    argc = int(m_argv.size());
    argv = m_argv.data();
    return argc > 1;
  }
  static bool validModeKeys() {
    pCmdOptions = {};
    std::string error;
    if (j2k::parseOptions(argc, argv, pCmdOptions, error) == j2k::Status::ok) return true;
    g_ostrm << L_ERR << "-- JPEG 2000: " << error.c_str() << "\n" << L_END;
    return false;
  }

  // ---- the judge ----

  /// One call, and the picture that comes out of its counterpart.
  tzResult compare(tzString& note) {
    bool isGood = line().library() == 0;
    if (isEncoder() && isGood) {
      bmpData.setVector(rkModeZero, 0, 0);
      isGood = setModeKeys(false) && x_Decoder() == 0 && setModeKeys(true);
    }
    if (!isGood) {
      note = "the codec failed";
      return TZ_FUNCFAIL;
    }
    const std::vector<uint8_t> result(bmpData.data8u(), bmpData.data8u() + bmpData.length());
    copyBmpData();
    const double psnr = rkPsnr(result.data(), bmpData.data8u(), result.size());
    g_ostrm << L_INFO << "    PSNR: " << psnr << " dB\n" << L_END;
    const bool isLossless = ratio.value() == 1 && wavelet.value() == 53;
    // Few levels cannot reach what the table was made with.
    const tzString known = levels.value() < 5 ? tzString() : picture.name();
    return rkJudgePsnr(psnr, isLossless ? 999 : rkFloorOf(kFloors, known, quality, false), note);
  }
  static tzResult verify(tzTest& test, tzString& note) {
    return static_cast<TimJ2kitCodec&>(test).compare(note);
  }

  static constexpr int kHeaderBytes = 65536;

  std::vector<std::string> m_keys;
  std::vector<const char*> m_argv;
};

RK_SUITE(
    TimJ2kitCodec, "src/codeclevel/p_jpeg2k_ia",
    static bool present() { return rkJpeg2000CodecPresent(); });

RK_REG_CODEC("//RK_REG_I_X", tinit_jpeg2k_Encoder_8u_C3, jpeg2k_Encoder_8u_C3, x_Encoder());
RK_REG_CODEC("//RK_REG_X", nullptr, jpeg2k_Decoder_8u_C3, x_Decoder());

}  // namespace
