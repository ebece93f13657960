// The structure of a stream in readable lines.
#include "listing.h"

#include <algorithm>
#include <string>

namespace j2k {
namespace {

std::string text(int64_t value) { return std::to_string(value); }
std::string sizeText(int64_t width, int64_t height) { return text(width) + "x" + text(height); }

/// One line of the list: indented by how deep a thing lies in others.
void line(Diagnostics& out, int depth, const std::string& content) {
  out.line(std::string(size_t(depth) * 2, ' ') + content);
}

void listBoxes(const BoxInfo& boxes, Diagnostics& out) {
  for (const Box& box : boxes.boxes) {
    std::string content = std::string("box '") + boxName(box.type) + "' at " +
                          text(int64_t(box.offset)) + ", " + text(int64_t(box.content.size())) +
                          " bytes";
    if (box.type == boxType("ihdr")) {
      content += std::string(": ") + sizeText(boxes.width, boxes.height) + ", " +
                 text(boxes.components) + " components";
    } else if (box.type == boxType("colr") && !box.content.empty()) {
      content += box.content[0] == 1 ? std::string(": colour space ") + text(boxes.enumerated)
                                     : ": ICC profile";
    } else if (box.type == boxType("pclr") && !boxes.colours.palette.empty()) {
      content += std::string(": ") + text(int64_t(boxes.colours.palette[0].size())) +
                 " entries of " + text(int64_t(boxes.colours.palette.size()));
    } else if (box.type == boxType("xml ")) {
      const size_t shown = std::min<size_t>(box.content.size(), 60);
      std::string start(box.content.begin(), box.content.begin() + std::ptrdiff_t(shown));
      std::replace_if(
          start.begin(), start.end(), [](char c) { return c < ' '; }, ' ');
      content += ": ";
      content += start;
    }
    line(out, box.depth, content);
  }
}

void listShape(const ImageShape& shape, Diagnostics& out) {
  line(out, 0,
       std::string("picture ") + sizeText(shape.image.width(), shape.image.height()) + " at " +
           text(shape.image.x0) + "," + text(shape.image.y0) + ", tiles " +
           sizeText(shape.firstTile.width(), shape.firstTile.height()) + ": " +
           text(shape.tilesWide()) + " across, " + text(shape.tilesHigh()) + " down");
  constexpr size_t shown = 8;
  for (size_t c = 0; c < std::min(shape.components.size(), shown); ++c) {
    const ComponentShape& own = shape.components[c];
    const Rect rect = shape.component(int(c));
    line(out, 1,
         std::string("component ") + text(int64_t(c)) + ": " +
             sizeText(rect.width(), rect.height()) + ", " + text(own.precision) + " bits" +
             (own.isSigned ? " signed" : "") + ", sampling " + sizeText(own.dx, own.dy));
  }
  if (shape.components.size() > shown) {
    line(out, 1,
         std::string("and ") + text(int64_t(shape.components.size() - shown)) + " more components");
  }
}

std::string styleText(int style) {
  static constexpr const char* names[] = {"bypass", "reset",    "termall",
                                          "causal", "predterm", "segsym"};
  std::string all;
  for (int i = 0; i < 6; ++i) {
    if (style >> i & 1) all += std::string(all.empty() ? "" : ",") + names[i];
  }
  return all.empty() ? "plain" : all;
}

void listCoding(const Coding& coding, Diagnostics& out) {
  static constexpr const char* orders[] = {"LRCP", "RLCP", "RPCL", "PCRL", "CPRL"};
  const ComponentCoding& own = coding.components[0];
  const Partition& p = own.partition;
  line(out, 0,
       std::string("coding: order ") + orders[size_t(coding.order)] + ", " + text(coding.layers) +
           " layers, " + (coding.transform ? "with" : "no") + " component transform" +
           (coding.sop ? ", SOP" : "") + (coding.eph ? ", EPH" : ""));
  line(out, 1,
       std::string("wavelet ") + (own.reversible ? "5/3" : "9/7") + ", " + text(p.levels) +
           " levels, blocks " + sizeText(1 << p.blockWidth, 1 << p.blockHeight) + ", " +
           styleText(own.style));
  std::string precincts;
  for (int r = 0; r <= p.levels; ++r) {
    precincts += " ";
    precincts += sizeText(1 << (p.precincts[size_t(r)] & 15), 1 << (p.precincts[size_t(r)] >> 4));
  }
  line(out, 1, "precincts from the lowest resolution:" + precincts);
  const Quantization& q = coding.quantization[0];
  static constexpr const char* styles[] = {"none", "derived", "expounded"};
  line(out, 1,
       std::string("quantisation ") + styles[q.style] + ", " + text(q.guardBits) + " guard bits");
}

void listSegmentsAt(ByteSpan bytes, size_t base, int depth, Diagnostics& out) {
  for (const Segment& segment : listSegments(bytes, 0)) {
    line(out, depth,
         markerName(segment.marker) + " at " + text(int64_t(base + segment.offset)) + ", " +
             text(int64_t(segment.bytes.size())) + " bytes");
  }
}

void listComments(const Codestream& stream, Diagnostics& out) {
  for (const Comment& comment : stream.comments) {
    if (!comment.text) continue;
    std::string content(comment.bytes.begin(), comment.bytes.end());
    std::replace_if(
        content.begin(), content.end(), [](char c) { return c >= 0 && c < ' '; }, ' ');
    line(out, 0, "comment: " + content);
  }
}

/// SOP markers tell where packets stand without decoding any.
int64_t countSop(ByteSpan body) {
  int64_t count = 0;
  for (size_t i = 0; i + 6 <= body.size(); ++i) {
    const bool sop = body[i] == 0xFF && body[i + 1] == 0x91 && body[i + 2] == 0 && body[i + 3] == 4;
    count += sop ? 1 : 0;
  }
  return count;
}

void listTileParts(const Codestream& stream, size_t base, Diagnostics& out) {
  for (const TilePart& part : stream.tileParts) {
    std::string content = std::string("tile ") + text(part.tile) + ", part " + text(part.index) +
                          (part.count > 0 ? std::string(" of ") + text(part.count) : "") +
                          ": SOT at " + text(int64_t(base + part.offset)) + ", " +
                          text(int64_t(part.body.size())) + " bytes of packets";
    if (stream.coding.sop) content += std::string(", ") + text(countSop(part.body)) + " SOP";
    line(out, 0, content);
    listSegmentsAt(part.header, base + part.offset + 12, 1, out);
  }
}

}  // namespace

void listStructure(const BoxInfo& boxes, const Codestream& stream, Diagnostics& out) {
  listBoxes(boxes, out);
  line(out, 0,
       std::string("codestream at ") + text(int64_t(boxes.codestreamOffset)) + ", " +
           text(int64_t(boxes.codestream.size())) + " bytes");
  listSegmentsAt(boxes.codestream.subspan(2), boxes.codestreamOffset + 2, 1, out);
  listShape(stream.shape, out);
  listCoding(stream.coding, out);
  listComments(stream, out);
  listTileParts(stream, boxes.codestreamOffset, out);
}

}  // namespace j2k
