// Portable anymaps: a header of words and numbers, then samples, most significant byte first.
#include "base/pnm.h"

#include <bit>
#include <string>

#include "base/formatkit.h"

namespace base {
namespace {

constexpr int kGreatest = 65535;

void skipLine(ByteReader& reader) {
  while (reader.peek() >= 0 && reader.u8() != '\n') continue;
}

/// Goes on to the next word, over blanks and comments.
void skipBlanks(ByteReader& reader) {
  for (;;) {
    if (reader.peek() == '#') {
      skipLine(reader);
    } else if (isBlank(reader.peek())) {
      reader.u8();
    } else {
      return;
    }
  }
}

ImageStatus readNumber(ByteReader& reader, int& value) {
  skipBlanks(reader);
  return readDecimal(reader, value);
}

/// The greatest sample value gives the depth.
ImageStatus setMaximum(int maximum, ImageShape& shape) {
  if (maximum < 1 || maximum > kGreatest) return ImageStatus::badDepth;
  shape.depth = static_cast<int>(std::bit_width(static_cast<unsigned>(maximum)));
  const bool whole = maximum + 1 == 1 << shape.depth;
  shape.maximum = whole ? 0 : static_cast<uint32_t>(maximum);
  return ImageStatus::ok;
}

/// P5 and P6: width, height and greatest value, then one blank.
ImageStatus readPlainHeader(ByteReader& reader, ImageShape& shape) {
  int maximum = 0;
  for (int* const field : {&shape.width, &shape.height, &maximum}) {
    if (const auto status = readNumber(reader, *field); status != ImageStatus::ok) return status;
  }
  if (!isBlank(reader.peek())) return headerFault(reader);
  reader.u8();
  return setMaximum(maximum, shape);
}

std::string readWord(ByteReader& reader) {
  constexpr size_t kLongest = 16;  // longer than any word that has a meaning here
  std::string word;
  while (reader.peek() >= 0 && !isBlank(reader.peek()) && word.size() < kLongest) {
    word += static_cast<char>(reader.u8());
  }
  return word;
}

/// P7: lines of a word and a number, in any order, each once.
ImageStatus readMapHeader(ByteReader& reader, ImageShape& shape) {
  int maximum = 0;
  shape.channels = 0;
  const struct {
    std::string_view name;
    int* value;
  } fields[] = {{"WIDTH", &shape.width},
                {"HEIGHT", &shape.height},
                {"DEPTH", &shape.channels},
                {"MAXVAL", &maximum}};
  for (;;) {
    skipBlanks(reader);
    const std::string word = readWord(reader);
    if (word == "ENDHDR") break;
    if (word == "TUPLTYPE") {  // the number of channels tells as much
      skipLine(reader);
      continue;
    }
    int* value = nullptr;
    for (const auto& field : fields) {
      if (word == field.name) value = field.value;
    }
    if (value == nullptr || *value != 0) return headerFault(reader);
    if (const auto status = readNumber(reader, *value); status != ImageStatus::ok) return status;
  }
  if (reader.peek() != '\n') return headerFault(reader);
  reader.u8();
  if (shape.channels < 1 || shape.channels > 4) return ImageStatus::badDepth;
  return setMaximum(maximum, shape);
}

/// The name of what a pixel of so many channels is.
const char* tupleType(int channels) {
  constexpr const char* kTypes[] = {"GRAYSCALE", "GRAYSCALE_ALPHA", "RGB", "RGB_ALPHA"};
  return kTypes[channels - 1];
}

}  // namespace

ImageStatus parsePnm(std::span<const uint8_t> head, uint64_t fileBytes, ImageLayout& layout) {
  ByteReader reader(head);
  if (reader.u8() != 'P') return ImageStatus::unknownFormat;
  const int kind = reader.u8();
  layout = ImageLayout();
  layout.format = kind == '7' ? ImageFormat::pam : ImageFormat::pnm;
  layout.shape.channels = kind == '6' ? 3 : 1;
  if (!isBlank(reader.peek()) && reader.peek() != '#') return headerFault(reader);
  const auto status =
      kind == '7' ? readMapHeader(reader, layout.shape) : readPlainHeader(reader, layout.shape);
  if (status != ImageStatus::ok) return status;
  return placePlainRows(layout, reader.position(), true, fileBytes);
}

ImageStatus startPnm(const ImageShape& shape, ImageFormat format, ImageLayout& layout,
                     std::vector<uint8_t>& header) {
  const bool map = format == ImageFormat::pam;
  if (shape.isSigned || shape.depth > 16 || shape.greatest() > kGreatest ||
      (shape.blueFirst && shape.channels >= 3) || (!map && shape.channels % 2 == 0)) {
    return ImageStatus::notInFormat;
  }
  const std::string width = std::to_string(shape.width), height = std::to_string(shape.height);
  const std::string maximum = std::to_string(shape.greatest());
  if (map) {
    append(header, "P7\nWIDTH " + width + "\nHEIGHT " + height + "\nDEPTH " +
                       std::to_string(shape.channels) + "\nMAXVAL " + maximum + "\nTUPLTYPE " +
                       tupleType(shape.channels) + "\nENDHDR\n");
  } else {
    append(header,
           (shape.channels == 3 ? "P6\n" : "P5\n") + width + " " + height + "\n" + maximum + "\n");
  }
  return startPlainRows(layout, header.size());
}

}  // namespace base
