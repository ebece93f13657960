// What -info says of a file: its markers, then its Exif tags, a line each.
#include <algorithm>
#include <array>
#include <cctype>

#include "exif.h"
#include "jpegprogram.h"
#include "markers.h"
#include "rewrite.h"

namespace jpeg {
namespace {

std::string nameOfMarker(int marker) {
  struct Named {
    int marker;
    const char* name;
  };
  constexpr Named kNames[] = {{kDHT, "DHT"}, {kJPG, "JPG"}, {kDAC, "DAC"},    {kSOI, "SOI"},
                              {kEOI, "EOI"}, {kSOS, "SOS"}, {kDQT, "DQT"},    {kDNL, "DNL"},
                              {kDRI, "DRI"}, {kDHP, "DHP"}, {0xDF, "EXP"},    {kTEM, "TEM"},
                              {kCOM, "COM"}, {kLSE, "LSE"}, {kSOF55, "SOF55"}};
  for (const Named& n : kNames) {
    if (n.marker == marker) return n.name;
  }
  if (marker >= kSOF0 && marker <= kSOF15) return "SOF" + std::to_string(marker - kSOF0);
  if (marker >= kAPP0 && marker <= kAPP15) return "APP" + std::to_string(marker - kAPP0);
  char number[16];
  std::snprintf(number, sizeof number, "Marker0x%02X", marker);
  return number;
}

const char* processOf(int marker) {
  constexpr const char* kNames[] = {"baseline",
                                    "extended",
                                    "progressive",
                                    "lossless",
                                    "",
                                    "hierarchical extended",
                                    "hierarchical progressive",
                                    "hierarchical lossless",
                                    "",
                                    "extended, arithmetic",
                                    "progressive, arithmetic",
                                    "lossless, arithmetic",
                                    "",
                                    "hierarchical extended, arithmetic",
                                    "hierarchical progressive, arithmetic",
                                    "hierarchical lossless, arithmetic"};
  return marker >= kSOF0 && marker <= kSOF15 ? kNames[marker - kSOF0] : "JPEG-LS";
}

bool isFrameHeader(int marker) {
  return (marker >= kSOF0 && marker <= kSOF15 && marker != kDHT && marker != kJPG &&
          marker != kDAC) ||
         marker == kSOF55;
}

/// "baseline, 640x480, 8 bits, 3 components 2x2 1x1 1x1".
std::string textOfFrame(int marker, std::span<const uint8_t> p) {
  if (p.size() < 6) return "";
  char text[160];
  std::snprintf(text, sizeof text, ", %s, %dx%d, %d bits, %d components", processOf(marker),
                get16(p, 3), get16(p, 1), p[0], p[5]);
  std::string all = text;
  for (size_t i = 7; i < std::min(p.size(), 6 + 3 * size_t(p[5])); i += 3) {
    std::snprintf(text, sizeof text, " %dx%d", p[i] >> 4, p[i] & 15);
    all += text;
  }
  return all;
}

/// The characters in front of the first that is none: names of APPn segments, comments.
std::string textOfName(std::span<const uint8_t> payload, size_t most) {
  std::string name;
  for (const uint8_t c : payload) {
    if (std::isprint(c) == 0 || name.size() == most) break;
    name += char(c);
  }
  if (name.empty()) return name;
  name.insert(0, ", \"");
  name.push_back('"');
  return name;
}

std::string textOfSegment(const MarkerSegment& s) {
  std::string text = "at " + std::to_string(s.offset);
  if (standsAlone(s.marker)) return text;
  text += ", " + std::to_string(s.payload.size()) + " bytes";
  if (isFrameHeader(s.marker)) return text + textOfFrame(s.marker, s.payload);
  if (s.marker == kDRI && s.payload.size() >= 2) {
    return text + ", every " + std::to_string(get16(s.payload, 0)) + " MCUs";
  }
  const bool isApp = s.marker >= kAPP0 && s.marker <= kAPP15;
  return isApp || s.marker == kCOM ? text + textOfName(s.payload, isApp ? 40 : 400) : text;
}

void warnOf(const exif::Document& document, const std::string& file, const Complaints& complaints) {
  constexpr const char* kDirectories[] = {"image", "thumbnail", "Exif", "GPS", "interoperability"};
  for (const exif::Problem& p : document.problems) {
    std::string text = "Exif: ";
    if (p.tag == 0) {
      text += "the directory of the ";
      text += kDirectories[size_t(p.directory)];
    } else {
      text += exif::nameOf(p.directory, p.tag);
    }
    text += ' ';
    text += p.reason;
    text += "; it was left out";
    complaints.warn(file, text);
  }
}

}  // namespace

int printInfo(const ProgramOptions& options, const std::vector<uint8_t>& file, std::FILE* out,
              const Complaints& complaints) {
  Metadata metadata;
  const Status status = readMetadata(file, &metadata);
  if (isError(status)) return complaints.fail(options.input, status);
  const auto line = [&](const std::string& name, const std::string& text) {
    std::fprintf(out, "%s: %s\n", name.c_str(), text.c_str());
  };
  for (const MarkerSegment& s : segmentsOf(file, false)) {
    line(nameOfMarker(s.marker), textOfSegment(s));
  }
  if (!metadata.icc.empty()) line("ICCProfile", std::to_string(metadata.icc.size()) + " bytes");
  if (metadata.exif.empty()) return 0;
  exif::Document document;
  const Status read = exif::read(metadata.exif, &document);
  if (isError(read)) {
    complaints.warn(options.input, statusText(read));
    return 0;
  }
  for (int d = 0; d < exif::kDirectories; ++d) {
    for (const exif::Entry& e : document.entries[size_t(d)]) {
      line(exif::nameOf(exif::Directory(d), e.tag), exif::textOf(document, exif::Directory(d), e));
    }
  }
  warnOf(document, options.input, complaints);
  return 0;
}

}  // namespace jpeg
