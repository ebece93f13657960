// The command line: one table row an option.
#include <algorithm>
#include <charconv>
#include <cstdio>
#include <iterator>

#include "jpegprogram.h"

namespace jpeg {
namespace {

bool number(const std::string& text, int least, int most, int* value) {
  const char* const end = text.data() + text.size();
  const auto [at, code] = std::from_chars(text.data(), end, *value);
  return code == std::errc() && at == end && *value >= least && *value <= most;
}

template <class Value>
struct Named {
  const char* name;
  Value value;
};

template <class Value, size_t N>
bool named(const Named<Value> (&names)[N], const std::string& text, Value* value) {
  const auto* const found =
      std::ranges::find_if(names, [&](const Named<Value>& n) { return text == n.name; });
  if (found == std::end(names)) return false;
  *value = found->value;
  return true;
}

constexpr Named<Mode> kModes[] = {
    {"baseline", Mode::baseline}, {"progressive", Mode::progressive}, {"lossless", Mode::lossless}};
constexpr Named<Sampling> kSamplings[] = {{"444", Sampling::s444},
                                          {"440", Sampling::s440},
                                          {"422", Sampling::s422},
                                          {"420", Sampling::s420},
                                          {"411", Sampling::s411}};
// The first colour is that of the pixels: RGB stands for either order of theirs.
constexpr Named<Color> kColors[] = {{"RGB->YCbCr", Color::ycbcr}, {"RGB->RGB", Color::rgb},
                                    {"RGB->Gray", Color::gray},   {"Gray->Gray", Color::gray},
                                    {"CMYK->YCCK", Color::ycck},  {"CMYK->CMYK", Color::cmyk}};
constexpr Named<Turn> kTurns[] = {{"rot90", kRotate90},       {"rot180", kRotate180},
                                  {"rot270", kRotate270},     {"fliph", kFlipAcross},
                                  {"flipv", kFlipDown},       {"transpose", kTranspose},
                                  {"transverse", kTransverse}};
constexpr Named<int> kScales[] = {{"1", 1}, {"1/1", 1}, {"1/2", 2}, {"1/4", 4}, {"1/8", 8}};
constexpr Named<Upsampling> kUpsamplings[] = {{"triangle", Upsampling::triangle},
                                              {"plain", Upsampling::plain}};

/// WxH+X+Y
bool rectangle(const std::string& text, Rect* rect) {
  int at = 0;
  const int fields = std::sscanf(text.c_str(), "%5dx%5d+%5d+%5d%n", &rect->width, &rect->height,
                                 &rect->x, &rect->y, &at);
  return fields == 4 && size_t(at) == text.size() && rect->width > 0 && rect->height > 0;
}

struct Option {
  const char* name;
  bool hasValue;
  const char* values;  // for the message about a wrong one
  bool (*set)(ProgramOptions& o, const std::string& value);
  std::array<bool, kRoads> serves = {true, true, true};
};

// The roads that an option serves, in the order of Road: on others it would do nothing.
constexpr std::array<bool, kRoads> kEncoding = {true, false, false}, kWriting = {true, false, true},
                                   kDecoding = {false, true, false}, kReading = {false, true, true},
                                   kCopying = {false, false, true};

const Option kOptions[] = {
    {"-i", true, "FILE",
     [](ProgramOptions& o, const std::string& v) {
       o.input = v;
       return true;
     }},
    {"-o", true, "FILE",
     [](ProgramOptions& o, const std::string& v) {
       o.output = v;
       return true;
     }},
    {"-mode", true, "baseline, progressive, lossless",
     [](ProgramOptions& o, const std::string& v) {
       o.hasMode = o.recodes = true;
       return named(kModes, v, &o.encode.mode);
     },
     kWriting},
    {"-quality", true, "1..100",
     [](ProgramOptions& o, const std::string& v) { return number(v, 1, 100, &o.encode.quality); },
     kEncoding},
    {"-qtables", true, "FILE",
     [](ProgramOptions& o, const std::string& v) {
       o.tablesFile = v;
       return true;
     },
     kEncoding},
    {"-color", true, "RGB->YCbCr, RGB->RGB, RGB->Gray, Gray->Gray, CMYK->YCCK, CMYK->CMYK",
     [](ProgramOptions& o, const std::string& v) {
       o.hasColor = true;
       return named(kColors, v, &o.encode.color);
     },
     kEncoding},
    {"-sampling", true, "444, 440, 422, 420, 411",
     [](ProgramOptions& o, const std::string& v) {
       return named(kSamplings, v, &o.encode.sampling);
     },
     kEncoding},
    {"-restart", true, "0..65535 (MCUs)",
     [](ProgramOptions& o, const std::string& v) {
       o.recodes = true;
       return number(v, 0, 65535, &o.encode.restartInterval);
     },
     kWriting},
    {"-optimize", false, "",
     [](ProgramOptions& o, const std::string&) { return o.recodes = o.encode.optimize = true; },
     kWriting},
    {"-scans", true, "FILE",
     [](ProgramOptions& o, const std::string& v) {
       o.scansFile = v;
       return o.recodes = true;
     },
     kWriting},
    {"-predictor", true, "1..7",
     [](ProgramOptions& o, const std::string& v) { return number(v, 1, 7, &o.encode.predictor); },
     kEncoding},
    {"-pt", true, "0..15",
     [](ProgramOptions& o, const std::string& v) {
       return number(v, 0, 15, &o.encode.pointTransform);
     },
     kEncoding},
    {"-exif", true, "FILE",
     [](ProgramOptions& o, const std::string& v) {
       o.exifFile = v;
       return true;
     },
     kWriting},
    {"-icc", true, "FILE",
     [](ProgramOptions& o, const std::string& v) {
       o.iccFile = v;
       return true;
     },
     kWriting},
    {"-scale", true, "1/2, 1/4, 1/8",
     [](ProgramOptions& o, const std::string& v) { return named(kScales, v, &o.decode.scale); },
     kDecoding},
    {"-crop", true, "WxH+X+Y",
     [](ProgramOptions& o, const std::string& v) {
       o.recodes = true;
       return rectangle(v, &o.decode.crop);
     },
     kReading},
    {"-upsample", true, "triangle, plain",
     [](ProgramOptions& o, const std::string& v) {
       return named(kUpsamplings, v, &o.decode.upsampling);
     },
     kDecoding},
    {"-strict", false, "",
     [](ProgramOptions& o, const std::string&) { return o.decode.strict = true; }},
    {"-transform", true, "rot90, rot180, rot270, fliph, flipv, transpose, transverse, upright",
     [](ProgramOptions& o, const std::string& v) {
       o.recodes = true;
       o.turnsUpright = v == "upright";
       return o.turnsUpright || named(kTurns, v, &o.turn);
     },
     kCopying},
    {"-info", false, "", [](ProgramOptions& o, const std::string&) { return o.info = true; }},
    {"-set", true, "NAME=VALUE",
     [](ProgramOptions& o, const std::string& v) {
       const size_t equals = v.find('=');
       if (equals == std::string::npos || equals == 0) return false;
       o.set.emplace_back(v.substr(0, equals), v.substr(equals + 1));
       return true;
     },
     kWriting},
    {"-strip", false, "", [](ProgramOptions& o, const std::string&) { return o.strip = true; }},
    {"-memory", true, "1..1048576 (MiB)",
     [](ProgramOptions& o, const std::string& v) {
       int mebibytes = 0;
       if (!number(v, 1, 1 << 20, &mebibytes)) return false;
       o.encode.memoryLimit = o.decode.memoryLimit = size_t(mebibytes) << 20;
       return true;
     }},
    {"-maxscans", true, "1..65535",
     [](ProgramOptions& o, const std::string& v) {
       return number(v, 1, 65535, &o.decode.maxScans);
     }},
    {"-threads", true, "1..64",
     [](ProgramOptions& o, const std::string& v) {
       if (!number(v, 1, 64, &o.encode.threads)) return false;
       o.decode.threads = o.encode.threads;
       return true;
     }},
    {"-bench", true, "1..1000000",
     [](ProgramOptions& o, const std::string& v) { return number(v, 1, 1000000, &o.bench); }},
    {"-h", false, "", [](ProgramOptions& o, const std::string&) { return o.help = true; }},
};

}  // namespace

bool parseOptions(const std::vector<std::string>& arguments, ProgramOptions* options,
                  std::string* error) {
  for (size_t i = 0; i < arguments.size(); ++i) {
    const std::string& name = arguments[i];
    const Option* const option =
        std::ranges::find_if(kOptions, [&](const Option& o) { return name == o.name; });
    if (option == std::end(kOptions)) {
      *error = name + ": there is no such option";
      return false;
    }
    if (option->hasValue && i + 1 == arguments.size()) {
      *error = name + ": needs a value: " + option->values;
      return false;
    }
    const std::string value = option->hasValue ? arguments[++i] : "";
    if (!option->set(*options, value)) {
      *error = name;
      error->append(" ").append(value).append(": must be ").append(option->values);
      return false;
    }
    for (size_t road = 0; road < kRoads; ++road) {
      if (!option->serves[road] && options->idle[road].empty()) options->idle[road] = name;
    }
  }
  if (options->help) return true;
  if (options->input.empty()) {
    *error = "no input file: jpegcodec -i IN -o OUT";
    return false;
  }
  if (options->output.empty() && options->bench == 0 && !options->info) {
    *error = "no output file: jpegcodec -i IN -o OUT";
    return false;
  }
  return true;
}

}  // namespace jpeg
