// Exif documents in memory: entries and their numbers.
#include "exifvalues.h"

#include <algorithm>
#include <bit>

#include "exiftags.h"

namespace jpeg::exif {

int sizeOf(Type type) {
  constexpr int kSizes[] = {0, 1, 1, 2, 4, 8, 1, 1, 2, 4, 8, 4, 8, 4};
  return size_t(type) < std::size(kSizes) ? kSizes[size_t(type)] : 0;
}

const Entry* Document::find(Directory d, uint16_t tag) const {
  const auto found = std::ranges::find(of(d), tag, &Entry::tag);
  return found == of(d).end() ? nullptr : &*found;
}

void Document::put(Directory d, Entry entry) {
  remove(d, entry.tag);
  const auto place = std::ranges::upper_bound(of(d), entry.tag, {}, &Entry::tag);
  of(d).insert(place, std::move(entry));
}

void Document::remove(Directory d, uint16_t tag) {
  std::erase_if(of(d), [&](const Entry& e) { return e.tag == tag; });
}

bool Document::isEmpty() const {
  return std::ranges::all_of(entries, [](const auto& list) { return list.empty(); });
}

Fraction fractionAt(const Entry& entry, uint32_t index, bool isBigEndian) {
  const int size = sizeOf(entry.type);
  if (index >= entry.count || size_t(size) * (size_t(index) + 1) > entry.value.size()) return {};
  const uint8_t* const at = entry.value.data() + size_t(size) * index;
  const auto whole = [&](const uint8_t* bytes, int bytesOfIt, bool isSigned) {
    const uint64_t value = getNumber(bytes, bytesOfIt, isBigEndian);
    const int unused = 64 - 8 * bytesOfIt;
    return isSigned ? int64_t(value << unused) >> unused : int64_t(value);
  };
  switch (entry.type) {
    case Type::rational:
    case Type::srational: {
      const bool isSigned = entry.type == Type::srational;
      return {whole(at, 4, isSigned), whole(at + 4, 4, isSigned)};
    }
    case Type::s8:
    case Type::s16:
    case Type::s32:
      return {whole(at, size, true), 1};
    default:
      return {whole(at, size, false), 1};
  }
}

double realAt(const Entry& entry, uint32_t index, bool isBigEndian) {
  if (!isFloating(entry.type)) return fractionAt(entry, index, isBigEndian).value();
  const int size = sizeOf(entry.type);
  if (index >= entry.count || size_t(size) * (size_t(index) + 1) > entry.value.size()) return 0;
  const uint64_t bits = getNumber(entry.value.data() + size_t(size) * index, size, isBigEndian);
  return size == 4 ? double(std::bit_cast<float>(uint32_t(bits))) : std::bit_cast<double>(bits);
}

Entry makeEntry(uint16_t tag, Type type, std::span<const Fraction> values, bool isBigEndian) {
  const int size = sizeOf(type);
  Entry entry{tag, type, uint32_t(values.size()), {}, 0};
  entry.value.resize(size_t(size) * values.size());
  uint8_t* at = entry.value.data();
  for (const Fraction& v : values) {
    if (isFraction(type)) {
      putNumber(at, 4, isBigEndian, uint64_t(v.numerator));
      putNumber(at + 4, 4, isBigEndian, uint64_t(v.denominator));
    } else if (type == Type::f32) {
      putNumber(at, 4, isBigEndian, std::bit_cast<uint32_t>(float(v.value())));
    } else if (type == Type::f64) {
      putNumber(at, 8, isBigEndian, std::bit_cast<uint64_t>(v.value()));
    } else {
      putNumber(at, size, isBigEndian, uint64_t(v.numerator));
    }
    at += size;
  }
  return entry;
}

Entry makeEntry(uint16_t tag, Type type, std::string_view bytes) {
  return {tag, type, uint32_t(bytes.size()), {bytes.begin(), bytes.end()}, 0};
}

int orientationOf(const Document& document) {
  const Entry* const entry = document.find(Directory::image, kOrientation);
  if (entry == nullptr || entry->count != 1) return 1;
  const int64_t value = fractionAt(*entry, 0, document.isBigEndian).numerator;
  return value >= 1 && value <= 8 ? int(value) : 1;
}

void setShape(Document* document, int orientation, int width, int height) {
  struct Number {
    Directory directory;
    uint16_t tag;
    int value;
  };
  for (const Number& n : {Number{Directory::image, kOrientation, orientation},
                          {Directory::image, kImageWidth, width},
                          {Directory::image, kImageLength, height},
                          {Directory::photo, kPixelXDimension, width},
                          {Directory::photo, kPixelYDimension, height}}) {
    const Entry* const old = document->find(n.directory, n.tag);
    if (old == nullptr) continue;
    const Type type = n.tag == kOrientation ? Type::u16 : Type::u32;
    const Fraction value{n.value, 1};
    document->put(n.directory, makeEntry(n.tag, type, {&value, 1}, document->isBigEndian));
  }
}

void setThumbnailLength(Document* document) {
  const Fraction length{int64_t(document->thumbnail.size()), 1};
  document->put(Directory::thumbnail,
                makeEntry(kJpegLength, Type::u32, {&length, 1}, document->isBigEndian));
  for (const uint16_t tag : {kOrientation, kImageWidth, kImageLength}) {
    document->remove(Directory::thumbnail, tag);
  }
}

}  // namespace jpeg::exif
