// The boxes of JP2 files, read and written.
#include "boxes.h"

#include <algorithm>
#include <bit>
#include <cctype>
#include <cmath>
#include <cstdio>
#include <set>

#include "codestream.h"
#include "headerreader.h"

namespace j2k {

std::string boxName(uint32_t type) {
  std::string name;
  for (int shift = 24; shift >= 0; shift -= 8) {
    const uint8_t c = uint8_t(type >> shift);
    if (std::isalnum(c) || c == ' ') {
      name += char(c);
    } else {
      char code[8];
      std::snprintf(code, sizeof code, "\\x%02X", unsigned(c));
      name += code;
    }
  }
  return name;
}

namespace {

constexpr int maxDepth = 8;

bool isSuperBox(uint32_t type) {
  return type == boxType("jp2h") || type == boxType("res ") || type == boxType("uinf") ||
         type == boxType("asoc");
}

class BoxReader {
 public:
  BoxReader(BoxInfo& info, ByteSpan file, Reporter& report)
      : m_info(info), m_file(file), m_report(report) {}

  void list(size_t begin, size_t end, int depth);
  void interpret();

 private:
  void take(const Box& box);
  void header(HeaderReader in);
  void colour(HeaderReader in);
  void palette(HeaderReader in);
  void mapping(HeaderReader in);
  void definition(HeaderReader in);
  static void resolution(HeaderReader in, double* values);

  BoxInfo& m_info;
  ByteSpan m_file;
  Reporter& m_report;
  std::set<uint32_t> m_seen;
};

void BoxReader::list(size_t begin, size_t end, int depth) {
  size_t position = begin;
  while (end - position >= 8) {
    HeaderReader in(m_file.subspan(position, end - position), "box");
    uint64_t length = in.u32();
    Box box;
    box.type = in.u32();
    box.offset = position;
    box.depth = depth;
    size_t header = 8;
    if (length == 1 && in.left() >= 8) {
      length = uint64_t(in.u32()) << 32;
      length |= in.u32();
      header = 16;
    }
    const size_t room = end - position;
    if (length == 0) length = room;
    if (length < header || length > room) {
      m_report.warn(Diag::boxLength, boxName(box.type));
      length = room;
    }
    box.content = m_file.subspan(position + header, size_t(length) - header);
    m_info.boxes.push_back(box);
    if (isSuperBox(box.type) && depth < maxDepth) {
      list(position + header, position + size_t(length), depth + 1);
    }
    position += size_t(length);
  }
}

void BoxReader::header(HeaderReader in) {
  m_info.hasHeader = true;
  m_info.height = int(std::min<uint32_t>(in.u32(), INT32_MAX));
  m_info.width = int(std::min<uint32_t>(in.u32(), INT32_MAX));
  m_info.components = int(in.u16());
  m_info.depth = int(in.u8());
  const uint32_t compression = in.u8();
  if (compression != 7) m_report.warn(Diag::boxIgnored, "ihdr, compression");
}

void BoxReader::colour(HeaderReader in) {
  const uint32_t method = in.u8();
  in.u16();  // precedence and approximation
  // The first one that is understood counts.
  if (m_info.colour != ColourSpace::unspecified && m_info.colour != ColourSpace::other) return;
  if (method == 1) {
    const uint32_t space = in.u32();
    m_info.enumerated = int(space);
    m_info.colour = space == 16   ? ColourSpace::srgb
                    : space == 17 ? ColourSpace::grey
                    : space == 18 ? ColourSpace::sycc
                                  : ColourSpace::other;
  } else if (method == 2 || method == 3) {
    const ByteSpan profile = in.rest();
    m_info.profile.assign(profile.begin(), profile.end());
    m_info.colour = ColourSpace::icc;
  } else {
    m_info.colour = ColourSpace::other;
  }
}

int32_t paletteValue(HeaderReader& in, int bits, bool isSigned) {
  uint64_t value = 0;
  for (int i = 0; i < (bits + 7) / 8; ++i) value = value << 8 | in.u8();
  if (isSigned && bits < 64 && (value >> (bits - 1) & 1)) value |= ~uint64_t(0) << bits;
  return int32_t(std::clamp<int64_t>(int64_t(value), INT32_MIN, INT32_MAX));
}

void BoxReader::palette(HeaderReader in) {
  const uint32_t entries = in.u16(), columns = in.u8();
  if (entries == 0 || entries > 1024 || columns == 0) {
    fail(Diag::badPalette, std::to_string(entries) + " entries of " + std::to_string(columns));
  }
  std::vector<int> depths;
  for (uint32_t c = 0; c < columns; ++c) {
    const int depth = int(in.u8());
    const int bits = (depth & 127) + 1;
    if (bits > 38) fail(Diag::badPalette, std::to_string(bits) + " bits");
    depths.push_back(depth & 128 ? -bits : bits);
  }
  std::vector<std::vector<int32_t>> values(columns, std::vector<int32_t>(entries));
  for (uint32_t e = 0; e < entries; ++e) {
    for (uint32_t c = 0; c < columns; ++c) {
      values[c][e] = paletteValue(in, std::abs(depths[c]), depths[c] < 0);
    }
  }
  m_info.colours.palette = std::move(values);
  m_info.colours.paletteDepths = std::move(depths);
}

void BoxReader::mapping(HeaderReader in) {
  while (in.left() >= 4) {
    ColourBoxes::Mapping mapping;
    mapping.component = int(in.u16());
    const uint32_t type = in.u8(), column = in.u8();
    mapping.column = type == 1 ? int(column) : -1;
    m_info.colours.mappings.push_back(mapping);
  }
}

void BoxReader::definition(HeaderReader in) {
  const uint32_t count = in.u16();
  std::vector<ColourBoxes::Definition> definitions;
  for (uint32_t i = 0; i < count; ++i) {
    ColourBoxes::Definition d;
    d.channel = int(in.u16());
    d.type = int(in.u16());
    d.association = int(in.u16());
    definitions.push_back(d);
  }
  m_info.colours.definitions = std::move(definitions);
}

void BoxReader::resolution(HeaderReader in, double* values) {
  const double yn = in.u16(), yd = in.u16(), xn = in.u16(), xd = in.u16();
  const auto exponent = [&in] { return std::bit_cast<int8_t>(uint8_t(in.u8())); };
  const double ye = exponent(), xe = exponent();
  values[0] = yd > 0 ? yn / yd * std::pow(10, ye) : 0;
  values[1] = xd > 0 ? xn / xd * std::pow(10, xe) : 0;
}

void BoxReader::take(const Box& box) {
  HeaderReader in(box.content, boxName(box.type));
  const bool repeated = !m_seen.insert(box.type).second;
  switch (box.type) {
    case boxType("ihdr"):
      if (!repeated) return header(std::move(in));
      break;
    case boxType("bpcc"): {
      const ByteSpan depths = in.rest();
      m_info.depths.assign(depths.begin(), depths.end());
      return;
    }
    case boxType("colr"):
      return colour(std::move(in));
    case boxType("pclr"):
      if (!repeated) return palette(std::move(in));
      break;
    case boxType("cmap"):
      if (!repeated) return mapping(std::move(in));
      break;
    case boxType("cdef"):
      if (!repeated) return definition(std::move(in));
      break;
    case boxType("xml "):
      m_info.xml.push_back(in.rest());
      return;
    case boxType("uuid"):
      m_info.uuids.push_back(in.rest());
      return;
    case boxType("resc"):
      return resolution(std::move(in), m_info.captureResolution);
    case boxType("resd"):
      return resolution(std::move(in), m_info.displayResolution);
    default:
      return;
  }
  m_report.warn(Diag::boxIgnored, boxName(box.type) + " stands twice");
}

void BoxReader::interpret() {
  bool type = false;
  for (const Box& box : m_info.boxes) {
    type = type || box.type == boxType("ftyp");
    if (box.type == boxType("jp2c") && m_info.codestream.empty() && box.depth == 0) {
      m_info.codestream = box.content;
      m_info.codestreamOffset = size_t(box.content.data() - m_file.data());
    }
    try {
      take(box);
    } catch (const Failure& failure) {
      if (failure.number == Diag::badPalette) throw;
      m_report.warn(Diag::boxIgnored, boxName(box.type) + " is too short");
    }
  }
  if (!type) m_report.warn(Diag::boxMissing, "ftyp");
  if (!m_info.hasHeader) m_report.warn(Diag::boxMissing, "ihdr");
  if (!m_seen.contains(boxType("colr"))) m_report.warn(Diag::boxMissing, "colr");
  if (m_info.codestream.empty()) fail(Diag::noCodestream);
}

}  // namespace

BoxInfo readBoxes(ByteSpan file, Reporter& report) {
  static constexpr uint8_t signature[] = {0, 0, 0, 12, 'j', 'P', ' ', ' ', 13, 10, 0x87, 10};
  BoxInfo info;
  if (file.size() >= 4 && file[0] == 0xFF && file[1] == 0x4F && file[2] == 0xFF) {
    info.codestream = file;
    return info;
  }
  if (file.size() < sizeof signature ||
      !std::equal(std::begin(signature), std::end(signature), file.begin())) {
    fail(Diag::notJpeg2000);
  }
  BoxReader reader(info, file, report);
  reader.list(0, file.size(), 0);
  reader.interpret();
  return info;
}

namespace {

class BoxWriter {
 public:
  BoxWriter(std::vector<uint8_t>& out, uint32_t type) : m_out(out), m_start(out.size()) {
    put32(out, 0);
    put32(out, type);
  }
  ~BoxWriter() {
    const uint32_t length = uint32_t(m_out.size() - m_start);
    for (size_t i = 0; i < 4; ++i) m_out[m_start + i] = uint8_t(length >> (24 - 8 * i));
  }
  BoxWriter(const BoxWriter&) = delete;
  BoxWriter& operator=(const BoxWriter&) = delete;

 private:
  std::vector<uint8_t>& m_out;
  size_t m_start;
};

uint8_t depthByte(const ComponentInfo& c) {
  return uint8_t((c.precision - 1) | (c.isSigned ? 128 : 0));
}

void writeColour(std::vector<uint8_t>& out, const PictureInfo& info) {
  const BoxWriter box(out, boxType("colr"));
  const bool profile = !info.profile.empty();
  out.insert(out.end(), {uint8_t(profile ? 2 : 1), 0, 0});
  if (profile) {
    out.insert(out.end(), info.profile.begin(), info.profile.end());
    return;
  }
  const int space = info.colour == ColourSpace::sycc ? 18 : info.components.size() >= 3 ? 16 : 17;
  put32(out, uint32_t(space));
}

/// The last component of two or four is opacity.
void writeOpacity(std::vector<uint8_t>& out, const PictureInfo& info) {
  const size_t count = info.components.size();
  if (count != 2 && count != 4) return;
  const BoxWriter box(out, boxType("cdef"));
  put16(out, uint32_t(count));
  for (size_t c = 0; c < count; ++c) {
    const bool opacity = c + 1 == count;
    put16(out, uint32_t(c));
    put16(out, opacity ? 1 : 0);
    put16(out, opacity ? 0 : uint32_t(c + 1));
  }
}

/// The ratio nearest to a number of points a metre that the fields can tell.
void writeRatio(std::vector<uint8_t>& numbers, std::vector<uint8_t>& exponents, double value) {
  int exponent = 0;
  while (value > 65535) value /= 10, ++exponent;
  while (value < 6553 && exponent > -100) value *= 10, --exponent;
  put16(numbers, uint32_t(std::lrint(value)));
  put16(numbers, 1);
  exponents.push_back(uint8_t(exponent));
}

void writeResolution(std::vector<uint8_t>& out, const PictureInfo& info) {
  if (info.resolutionX <= 0 || info.resolutionY <= 0) return;
  const BoxWriter super(out, boxType("res "));
  const BoxWriter box(out, boxType("resc"));
  std::vector<uint8_t> exponents;
  writeRatio(out, exponents, info.resolutionY);
  writeRatio(out, exponents, info.resolutionX);
  out.insert(out.end(), exponents.begin(), exponents.end());
}

void writeAttachment(std::vector<uint8_t>& out, uint32_t type,
                     const std::vector<uint8_t>& content) {
  const BoxWriter box(out, type);
  out.insert(out.end(), content.begin(), content.end());
}

void writeHeaderBox(std::vector<uint8_t>& out, const PictureInfo& info) {
  const BoxWriter super(out, boxType("jp2h"));
  const bool same = std::all_of(info.components.begin(), info.components.end(), [&](const auto& c) {
    return depthByte(c) == depthByte(info.components[0]);
  });
  {
    const BoxWriter box(out, boxType("ihdr"));
    put32(out, uint32_t(info.height));
    put32(out, uint32_t(info.width));
    put16(out, uint32_t(info.components.size()));
    out.insert(out.end(), {same ? depthByte(info.components[0]) : uint8_t(255), 7, 0, 0});
  }
  if (!same) {
    const BoxWriter box(out, boxType("bpcc"));
    for (const ComponentInfo& c : info.components) out.push_back(depthByte(c));
  }
  writeColour(out, info);
  writeOpacity(out, info);
  writeResolution(out, info);
}

}  // namespace

void writeBoxes(std::vector<uint8_t>& out, const PictureInfo& info, uint64_t streamBytes) {
  {
    const BoxWriter box(out, boxType("jP  "));
    put32(out, 0x0D0A870A);
  }
  {
    const BoxWriter box(out, boxType("ftyp"));
    put32(out, boxType("jp2 "));
    put32(out, 0);
    put32(out, boxType("jp2 "));
  }
  writeHeaderBox(out, info);
  for (const auto& xml : info.xml) writeAttachment(out, boxType("xml "), xml);
  for (const auto& uuid : info.uuids) writeAttachment(out, boxType("uuid"), uuid);
  const bool extended = streamBytes > UINT32_MAX - 8;
  put32(out, extended ? 1 : 0);
  put32(out, boxType("jp2c"));
  if (extended) {
    put32(out, 0);
    put32(out, 0);
  }
}

void finishBoxes(std::vector<uint8_t>& out, size_t stream) {
  const bool extended = out[stream - 4] != 'j';  // the type, or a length
  const uint64_t length = uint64_t(out.size() - stream) + (extended ? 16 : 8);
  const size_t field = stream - 8, bytes = extended ? 8 : 4;
  for (size_t i = 0; i < bytes; ++i) {
    out[field + i] = uint8_t(length >> 8 * (bytes - 1 - i));
  }
}

}  // namespace j2k
