// Shapes and coding parameters as marker segments tell them.
#include "codestream.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

#include "headerreader.h"

namespace j2k {

std::string markerName(int marker) {
  static const struct {
    int marker;
    const char* name;
  } names[] = {{markerSoc, "SOC"}, {markerSot, "SOT"}, {markerSod, "SOD"}, {markerEoc, "EOC"},
               {markerCap, "CAP"}, {markerSiz, "SIZ"}, {markerCod, "COD"}, {markerCoc, "COC"},
               {markerTlm, "TLM"}, {markerPlm, "PLM"}, {markerPlt, "PLT"}, {markerCpf, "CPF"},
               {markerQcd, "QCD"}, {markerQcc, "QCC"}, {markerRgn, "RGN"}, {markerPoc, "POC"},
               {markerPpm, "PPM"}, {markerPpt, "PPT"}, {markerCrg, "CRG"}, {markerCom, "COM"},
               {markerSop, "SOP"}, {markerEph, "EPH"}};
  for (const auto& known : names) {
    if (known.marker == marker) return known.name;
  }
  char number[16];
  std::snprintf(number, sizeof number, "0x%04X", unsigned(marker));
  return number;
}

int Quantization::exponent(int band) const {
  if (style != derived) return steps[size_t(band)] >> 11;
  // Every further decomposition has one bit more.
  return std::max(0, (steps[0] >> 11) - (band == 0 ? 0 : (band - 1) / 3));
}

double Quantization::step(int band, int precision, int gain) const {
  const int mantissa = steps[style == derived ? 0 : size_t(band)] & 0x7FF;
  return std::ldexp(1.0 + mantissa / 2048.0, precision + gain - exponent(band));
}

std::vector<Progression> Coding::progressions() const {
  if (!changes.empty()) return changes;
  Progression all;
  all.order = order;
  all.endLayer = layers;
  return {all};
}

std::vector<Segment> listSegments(ByteSpan bytes, size_t position) {
  std::vector<Segment> segments;
  while (position + 4 <= bytes.size()) {
    const int marker = get16(bytes, position);
    if (marker == markerSot || marker == markerSod || marker == markerEoc) break;
    const size_t length = size_t(get16(bytes, position + 2));
    if (length < 2 || position + 2 + length > bytes.size()) break;
    segments.push_back({marker, position, bytes.subspan(position + 4, length - 2)});
    position += 2 + length;
  }
  return segments;
}

void put16(std::vector<uint8_t>& out, uint32_t value) {
  base::appendBytes(out, uint16_t(value), base::ByteOrder::big);
}

void put32(std::vector<uint8_t>& out, uint32_t value) {
  base::appendBytes(out, value, base::ByteOrder::big);
}

namespace {

/// A marker segment whose length is filled in when it is complete.
class SegmentWriter {
 public:
  SegmentWriter(std::vector<uint8_t>& out, int marker) : m_out(out) {
    put16(out, uint32_t(marker));
    m_start = out.size();
    put16(out, 0);
  }
  ~SegmentWriter() {
    const size_t length = m_out.size() - m_start;
    base::storeBytes(&m_out[m_start], uint16_t(length), base::ByteOrder::big);
  }
  SegmentWriter(const SegmentWriter&) = delete;
  SegmentWriter& operator=(const SegmentWriter&) = delete;

 private:
  std::vector<uint8_t>& m_out;
  size_t m_start;
};

void writeSiz(std::vector<uint8_t>& out, const ImageShape& shape) {
  const SegmentWriter segment(out, markerSiz);
  put16(out, uint32_t(shape.profile));
  for (const int64_t value :
       {shape.image.x1, shape.image.y1, shape.image.x0, shape.image.y0, shape.firstTile.width(),
        shape.firstTile.height(), shape.firstTile.x0, shape.firstTile.y0}) {
    put32(out, uint32_t(value));
  }
  put16(out, uint32_t(shape.components.size()));
  for (const ComponentShape& c : shape.components) {
    out.push_back(uint8_t((c.precision - 1) | (c.isSigned ? 128 : 0)));
    out.push_back(uint8_t(c.dx));
    out.push_back(uint8_t(c.dy));
  }
}

void writeComponentCoding(std::vector<uint8_t>& out, const ComponentCoding& coding) {
  const Partition& partition = coding.partition;
  out.push_back(uint8_t(partition.levels));
  out.push_back(uint8_t(partition.blockWidth - 2));
  out.push_back(uint8_t(partition.blockHeight - 2));
  out.push_back(uint8_t(coding.style));
  out.push_back(coding.reversible ? 1 : 0);
  if (partition.precincts != Partition().precincts) {
    out.insert(out.end(), partition.precincts.begin(),
               partition.precincts.begin() + partition.levels + 1);
  }
}

void writeCod(std::vector<uint8_t>& out, const Coding& coding) {
  const SegmentWriter segment(out, markerCod);
  const ComponentCoding& first = coding.components[0];
  const bool precincts = first.partition.precincts != Partition().precincts;
  out.push_back(uint8_t((precincts ? 1 : 0) | (coding.sop ? 2 : 0) | (coding.eph ? 4 : 0)));
  out.push_back(uint8_t(coding.order));
  put16(out, uint32_t(coding.layers));
  out.push_back(coding.transform ? 1 : 0);
  writeComponentCoding(out, first);
}

void writeQuantization(std::vector<uint8_t>& out, const Quantization& q) {
  out.push_back(uint8_t(q.guardBits << 5 | q.style));
  for (int i = 0; i < q.count; ++i) {
    if (q.style == Quantization::none) {
      out.push_back(uint8_t(q.steps[size_t(i)] >> 11 << 3));
    } else {
      put16(out, q.steps[size_t(i)]);
    }
  }
}

void writeComponentNumber(std::vector<uint8_t>& out, size_t component, size_t components) {
  if (components > 256) {
    put16(out, uint32_t(component));
  } else {
    out.push_back(uint8_t(component));
  }
}

void writePoc(std::vector<uint8_t>& out, const Coding& coding) {
  if (coding.changes.empty()) return;
  const SegmentWriter segment(out, markerPoc);
  const size_t components = coding.components.size();
  for (const Progression& p : coding.changes) {
    out.push_back(uint8_t(p.firstResolution));
    writeComponentNumber(out, size_t(p.firstComponent), components);
    put16(out, uint32_t(p.endLayer));
    out.push_back(uint8_t(p.endResolution));
    // One behind the last of 256 is 0.
    writeComponentNumber(out, size_t(p.endComponent), components);
    out.push_back(uint8_t(p.order));
  }
}

bool equal(const Quantization& a, const Quantization& b) {
  return a.style == b.style && a.guardBits == b.guardBits && a.count == b.count &&
         a.steps == b.steps;
}

}  // namespace

void writeMainHeader(std::vector<uint8_t>& out, const ImageShape& shape, const Coding& coding,
                     const std::string& comment) {
  put16(out, markerSoc);
  writeSiz(out, shape);
  writeCod(out, coding);
  {
    const SegmentWriter segment(out, markerQcd);
    writeQuantization(out, coding.quantization[0]);
  }
  const size_t components = coding.components.size();
  for (size_t c = 1; c < components; ++c) {
    if (equal(coding.quantization[c], coding.quantization[0])) continue;
    const SegmentWriter segment(out, markerQcc);
    writeComponentNumber(out, c, components);
    writeQuantization(out, coding.quantization[c]);
  }
  for (size_t c = 0; c < components; ++c) {
    if (coding.roiShift[c] == 0) continue;
    const SegmentWriter segment(out, markerRgn);
    writeComponentNumber(out, c, components);
    out.push_back(0);
    out.push_back(coding.roiShift[c]);
  }
  writePoc(out, coding);
  if (comment.empty()) return;
  const SegmentWriter segment(out, markerCom);
  put16(out, 1);
  out.insert(out.end(), comment.begin(), comment.end());
}

size_t writeTilePart(std::vector<uint8_t>& out, int64_t tile, int index, int count) {
  const size_t sot = out.size();
  put16(out, markerSot);
  put16(out, 10);
  put16(out, uint32_t(tile));
  put32(out, 0);
  out.push_back(uint8_t(index));
  out.push_back(uint8_t(count));
  return sot;
}

void finishTilePart(std::vector<uint8_t>& out, size_t sot) {
  const uint32_t length = uint32_t(out.size() - sot);
  for (int i = 0; i < 4; ++i) out[sot + 6 + size_t(i)] = uint8_t(length >> (24 - 8 * i));
}

}  // namespace j2k
