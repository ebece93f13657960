// Bitmaps: the versions of their headers differ in length and in where colours and masks stand.
#include "base/bmp.h"

#include <algorithm>
#include <bit>
#include <cstdlib>
#include <cstring>
#include <limits>

#include "base/formatkit.h"

namespace base {
namespace {

constexpr uint32_t kCoreHeaderBytes = 12;  // the oldest: 16-bit extents, colours of three bytes
constexpr uint32_t kLeastHeaderBytes = 16;
constexpr uint32_t kMasksInside = 52;  // from here on the header itself holds the masks
constexpr uint32_t kUncompressed = 0, kBitFields = 3, kAlphaBitFields = 6;
constexpr size_t kColourTableBytes = 4;

/// A header of any version, with what follows from its version.
struct Header {
  BmpFileHeader file;
  BmpInfoHeader info;
  std::array<uint32_t, 3> masks{};  // red, green, blue
  size_t paletteAt = 0;
  bool core() const { return info.biSize == kCoreHeaderBytes; }
};

// Rows ------------------------------------------------------------------------------------------

template <int Bits, int Channels>
ImageStatus decodeIndexed(const ImageLayout& layout, const uint8_t* from, void* samples) {
  auto* const to = static_cast<uint8_t*>(samples);
  unsigned most = 0;
  forBmpIndexes<Bits>(from, layout.shape.width, [&](int x, uint8_t index) {
    most = std::max<unsigned>(most, index);
    for (int c = 0; c < Channels; ++c) {
      to[size_t{Channels} * static_cast<size_t>(x) + static_cast<size_t>(c)] =
          layout.palette[index][static_cast<size_t>(c)];
    }
  });
  return most < layout.paletteSize ? ImageStatus::ok : ImageStatus::sampleRange;
}

template <int Bits>
ImageLayout::Decode indexed(int channels) {
  return channels == 1 ? decodeIndexed<Bits, 1> : decodeIndexed<Bits, 3>;
}

template <int Bytes>
ImageStatus decodeSwapped(const ImageLayout& layout, const uint8_t* from, void* samples) {
  auto* to = static_cast<uint8_t*>(samples);
  for (int x = 0; x < layout.shape.width; ++x, from += Bytes, to += 3) {
    to[0] = from[2];
    to[1] = from[1];
    to[2] = from[0];
  }
  return ImageStatus::ok;
}

ImageStatus decodeStored(const ImageLayout& layout, const uint8_t* from, void* samples) {
  std::memcpy(samples, from, layout.fileRowBytes);
  return ImageStatus::ok;
}

/// A channel of any number of bits to 8, its greatest value to 255.
class Widener {
 public:
  explicit Widener(uint32_t mask) : m_mask(mask) {
    if (mask == 0) return;
    m_shift = std::countr_zero(mask);
    m_most = mask >> m_shift;
  }
  uint8_t operator()(uint32_t pixel) const {
    return static_cast<uint8_t>((uint64_t{(pixel & m_mask) >> m_shift} * 255 + m_most / 2) /
                                m_most);
  }

 private:
  uint32_t m_mask;
  int m_shift = 0;
  uint32_t m_most = 1;
};

template <typename Pixel>
ImageStatus decodePacked(const ImageLayout& layout, const uint8_t* from, void* samples) {
  auto* to = static_cast<uint8_t*>(samples);
  const Widener red(layout.masks[0]), green(layout.masks[1]), blue(layout.masks[2]);
  for (int x = 0; x < layout.shape.width; ++x, from += sizeof(Pixel), to += 3) {
    const uint32_t pixel = loadBytes<Pixel>(from, ByteOrder::little);
    to[0] = red(pixel);
    to[1] = green(pixel);
    to[2] = blue(pixel);
  }
  return ImageStatus::ok;
}

void encodeStored(const ImageLayout& layout, const void* samples, uint8_t* to) {
  std::memcpy(to, samples, layout.fileRowBytes);
  std::memset(to + layout.fileRowBytes, 0, layout.rowStep - layout.fileRowBytes);
}

void encodeSwapped(const ImageLayout& layout, const void* samples, uint8_t* to) {
  const auto* from = static_cast<const uint8_t*>(samples);
  uint8_t* const padding = to + layout.fileRowBytes;
  for (; to < padding; from += 3, to += 3) {
    to[0] = from[2];
    to[1] = from[1];
    to[2] = from[0];
  }
  std::memset(padding, 0, layout.rowStep - layout.fileRowBytes);
}

// Headers ---------------------------------------------------------------------------------------

/// Extents and depth of the oldest header.
BmpInfoHeader readCoreHeader(ByteReader& reader) {
  BmpInfoHeader info;
  info.biSize = reader.u32();
  info.biWidth = reader.u16();
  info.biHeight = reader.u16();
  info.biPlanes = reader.u16();
  info.biBitCount = reader.u16();
  return info;
}

/// Reads an information header of any version; fields that a short one has not are 0.
ImageStatus readAnyInfoHeader(std::span<const uint8_t> head, ByteReader& reader, Header& header) {
  ByteReader ahead = reader;
  const uint32_t bytes = ahead.u32();
  if (!ahead.good()) return ImageStatus::truncatedHeader;
  if (bytes != kCoreHeaderBytes && bytes < kLeastHeaderBytes) return ImageStatus::badHeader;
  if (bytes > reader.left()) return ImageStatus::truncatedHeader;
  header.paletteAt = reader.position() + bytes;
  if (bytes == kCoreHeaderBytes) {
    header.info = readCoreHeader(reader);
    return ImageStatus::ok;
  }
  std::array<uint8_t, kMasksInside> field{};
  const auto there = head.subspan(reader.position(), std::min<size_t>(bytes, field.size()));
  std::copy(there.begin(), there.end(), field.begin());
  ByteReader fields(field, reader.order());
  header.info = readBmpInfoHeader(fields);

  const bool masked =
      header.info.biCompression == kBitFields || header.info.biCompression == kAlphaBitFields;
  if (!masked) {
    return header.info.biCompression == kUncompressed ? ImageStatus::ok : ImageStatus::compressed;
  }
  if (header.info.biBitCount != 16 && header.info.biBitCount != 32) return ImageStatus::compressed;
  if (bytes >= kMasksInside) {
    for (uint32_t& mask : header.masks) mask = fields.u32();
    return ImageStatus::ok;
  }
  // The oldest header that can have masks is followed by them.
  if (bytes != kBmpInfoHeaderBytes) return ImageStatus::compressed;
  ByteReader behind(head, reader.order());
  behind.seek(header.paletteAt);
  for (uint32_t& mask : header.masks) mask = behind.u32();
  if (header.info.biCompression == kAlphaBitFields) behind.u32();
  header.paletteAt = behind.position();
  return behind.good() ? ImageStatus::ok : ImageStatus::truncatedHeader;
}

ImageStatus readHeader(std::span<const uint8_t> head, Header& header) {
  ByteReader reader(head, head[0] == 'M' ? ByteOrder::big : ByteOrder::little);
  header.file = readBmpFileHeader(reader);
  if (!reader.good()) return ImageStatus::truncatedHeader;
  if (const auto status = readAnyInfoHeader(head, reader, header); status != ImageStatus::ok) {
    return status;
  }
  const bool consistent = header.info.biPlanes == 1 && header.file.bfOffBits >= header.paletteAt;
  return consistent ? ImageStatus::ok : ImageStatus::badHeader;
}

/// Takes the palette into the layout, as one channel when all its colours are gray.
ImageStatus readPalette(std::span<const uint8_t> head, const Header& header, ImageLayout& layout) {
  ByteReader reader(head);
  reader.seek(header.paletteAt);
  const size_t entryBytes = header.core() ? 3 : 4;
  auto count = static_cast<size_t>(bmpPaletteSize(layout.pixelBits, header.info.biClrUsed));
  // The oldest header cannot say how many colours there are: the pixels begin behind them.
  if (header.core()) {
    count = std::min(count, (header.file.bfOffBits - header.paletteAt) / entryBytes);
  }
  bool gray = true;
  for (size_t i = 0; i < count; ++i) {
    const auto entry = reader.take(entryBytes);
    if (!reader.good()) return ImageStatus::truncatedHeader;
    layout.palette[i] = {entry[2], entry[1], entry[0]};
    gray = gray && entry[0] == entry[1] && entry[1] == entry[2];
  }
  layout.paletteSize = static_cast<unsigned>(count);
  layout.shape.channels = gray ? 1 : 3;
  return ImageStatus::ok;
}

/// A palette that leads each of 256 values to itself.
bool isPlainGray(const ImageLayout& layout) {
  if (layout.pixelBits != 8 || layout.shape.channels != 1 || layout.paletteSize != 256) {
    return false;
  }
  for (size_t i = 0; i < layout.palette.size(); ++i) {
    if (layout.palette[i][0] != i) return false;
  }
  return true;
}

ImageStatus setIndexedRows(std::span<const uint8_t> head, const Header& header,
                           ImageLayout& layout) {
  if (const auto status = readPalette(head, header, layout); status != ImageStatus::ok) {
    return status;
  }
  const int channels = layout.shape.channels;
  layout.rowsAreSamples = isPlainGray(layout);
  layout.setRows(layout.rowsAreSamples   ? decodeStored
                 : layout.pixelBits == 8 ? indexed<8>(channels)
                 : layout.pixelBits == 4 ? indexed<4>(channels)
                                         : indexed<1>(channels),
                 nullptr);
  return ImageStatus::ok;
}

/// 16, 24 and 32 bits.
ImageStatus setPackedRows(const Header& header, ImageLayout& layout, BmpPixels pixels) {
  constexpr std::array<uint32_t, 3> kBytes = {0xFF0000, 0xFF00, 0xFF};
  layout.masks = header.masks;
  if (header.info.biCompression == kUncompressed) {
    layout.masks = layout.pixelBits == 16 ? std::array<uint32_t, 3>{0x7C00, 0x3E0, 0x1F} : kBytes;
  }
  layout.shape.channels = 3;
  if (layout.pixelBits == 16 || layout.masks != kBytes) {
    for (const uint32_t mask : layout.masks) {
      if (mask == 0 || !std::has_single_bit((uint64_t{mask} >> std::countr_zero(mask)) + 1)) {
        return ImageStatus::badHeader;
      }
    }
    layout.setRows(layout.pixelBits == 16 ? decodePacked<uint16_t> : decodePacked<uint32_t>,
                   nullptr);
  } else if (pixels == BmpPixels::stored) {
    layout.shape.channels = layout.pixelBits / 8;
    layout.shape.blueFirst = layout.pixelBits == 24;
    layout.rowsAreSamples = true;
    layout.setRows(decodeStored, nullptr);
  } else {
    layout.setRows(layout.pixelBits == 24 ? decodeSwapped<3> : decodeSwapped<4>, nullptr);
  }
  return ImageStatus::ok;
}

}  // namespace

BmpFileHeader readBmpFileHeader(ByteReader& reader) {
  BmpFileHeader header;
  header.bfType = reader.u16();
  header.bfSize = reader.u32();
  header.bfReserved1 = reader.u16();
  header.bfReserved2 = reader.u16();
  header.bfOffBits = reader.u32();
  return header;
}

BmpInfoHeader readBmpInfoHeader(ByteReader& reader) {
  BmpInfoHeader info;
  info.biSize = reader.u32();
  info.biWidth = reader.get<int32_t>();
  info.biHeight = reader.get<int32_t>();
  info.biPlanes = reader.u16();
  info.biBitCount = reader.u16();
  info.biCompression = reader.u32();
  info.biSizeImage = reader.u32();
  info.biXPelsPerMeter = reader.get<int32_t>();
  info.biYPelsPerMeter = reader.get<int32_t>();
  info.biClrUsed = reader.u32();
  info.biClrImportant = reader.u32();
  return info;
}

ImageStatus parseBmp(std::span<const uint8_t> head, uint64_t fileBytes, ImageLayout& layout,
                     BmpPixels pixels) {
  if (head.size() < 2) return ImageStatus::unknownFormat;
  Header header;
  if (const auto status = readHeader(head, header); status != ImageStatus::ok) return status;
  const BmpInfoHeader& info = header.info;
  if (info.biWidth <= 0 || info.biHeight == 0 ||
      info.biHeight == std::numeric_limits<int32_t>::min()) {
    return ImageStatus::badExtent;
  }
  layout = ImageLayout();
  layout.format = ImageFormat::bmp;
  layout.shape.width = info.biWidth;
  layout.shape.height = std::abs(info.biHeight);
  layout.bottomUp = info.biHeight > 0;
  layout.pixelBits = info.biBitCount;

  auto status = ImageStatus::badDepth;
  switch (info.biBitCount) {
    case 1:
    case 4:
    case 8:
      status = setIndexedRows(head, header, layout);
      break;
    case 16:
    case 24:
    case 32:
      status = setPackedRows(header, layout, pixels);
      break;
    default:
      break;
  }
  if (status != ImageStatus::ok) return status;
  const auto rowBits = static_cast<uint64_t>(info.biWidth) * info.biBitCount;
  const auto rowStep = static_cast<uint64_t>(bmpRowStep(info.biBitCount, info.biWidth));
  return placeRows(layout, header.file.bfOffBits, (rowBits + 7) / 8, rowStep, fileBytes);
}

ImageStatus startBmp(const ImageShape& shape, ImageLayout& layout, std::vector<uint8_t>& header) {
  if (shape.depth != 8 || shape.isSigned || shape.greatest() != 255 || shape.channels == 2) {
    return ImageStatus::notInFormat;
  }
  const int bits = 8 * shape.channels;
  const auto step = static_cast<uint64_t>(bmpRowStep(bits, shape.width));
  const uint32_t colours = shape.channels == 1 ? 256 : 0;
  const uint64_t offset =
      kBmpFileHeaderBytes + kBmpInfoHeaderBytes + kColourTableBytes * uint64_t{colours};
  uint64_t bytes;
  if (__builtin_mul_overflow(step, static_cast<uint64_t>(shape.height), &bytes) ||
      bytes > std::numeric_limits<uint32_t>::max() - offset) {
    return ImageStatus::tooLarge;
  }
  header.assign(offset, 0);
  constexpr int32_t kPelsPerMeter = 2835;  // 72 an inch
  ByteWriter writer(header, ByteOrder::little);
  writer.u16(kBmpType);
  writer.u32(static_cast<uint32_t>(offset + bytes));
  writer.u32(0);
  writer.u32(static_cast<uint32_t>(offset));
  writer.u32(kBmpInfoHeaderBytes);
  writer.put(int32_t{shape.width});
  writer.put(int32_t{shape.height});
  writer.u16(1);
  writer.u16(static_cast<uint16_t>(bits));
  writer.u32(kUncompressed);
  writer.u32(static_cast<uint32_t>(bytes));
  writer.put(kPelsPerMeter);
  writer.put(kPelsPerMeter);
  writer.u32(colours);
  writer.u32(0);
  for (uint32_t i = 0; i < colours; ++i) writer.u32(i * 0x10101);

  layout.bottomUp = true;
  layout.firstRow = offset;
  layout.rowStep = step;
  layout.fileRowBytes = shape.rowBytes();
  layout.pixelBits = bits;
  const bool swapped = shape.channels == 3 && !shape.blueFirst;
  layout.rowsAreSamples = !swapped;
  layout.setRows(nullptr, swapped ? encodeSwapped : encodeStored);
  return ImageStatus::ok;
}

}  // namespace base
