// Exif documents written.
#include <algorithm>

#include "exiftags.h"
#include "exifvalues.h"

namespace jpeg::exif {
namespace {

/// What an APP1 segment holds behind its name.
constexpr size_t kMostBytes = 65533 - 6;

/// Hands out places, on even offsets, around bytes that have theirs already.
class Places {
 public:
  Places(size_t from, size_t keptFrom, size_t keptEnd)
      : front_(from), keptFrom_(keptFrom), back_(std::max(from, even(keptEnd))) {}
  size_t take(size_t bytes) {
    size_t& cursor = front_ + bytes <= keptFrom_ ? front_ : back_;
    const size_t at = cursor;
    cursor = even(cursor + bytes);
    return at;
  }
  size_t end() const { return std::max(front_, back_); }

 private:
  static size_t even(size_t offset) { return offset + (offset & 1); }
  size_t front_, keptFrom_, back_;
};

class Writer {
 public:
  Writer(const Document& document, bool keepsNote)
      : document_(document), keepsNote_(keepsNote), places_(makePlaces()) {}
  std::vector<uint8_t> run();

 private:
  struct Layout {
    size_t table = 0;  // 0: there is no such directory
    std::vector<Entry> entries;
    std::vector<size_t> values;
  };

  Places makePlaces() const;
  Entry offsetEntry(uint16_t tag, size_t offset) const {
    const Fraction value{int64_t(offset), 1};
    return makeEntry(tag, Type::u32, {&value, 1}, document_.isBigEndian);
  }
  void layOut(Directory d);
  void pointAtThumbnail();
  void write(Directory d, std::vector<uint8_t>* tiff) const;
  Layout& of(Directory d) { return layout_[size_t(d)]; }

  bool isKept(Directory d, const Entry& e) const {
    return keepsNote_ && d == Directory::photo && e.tag == kMakerNote && e.offset >= 8;
  }

  const Document& document_;
  const bool keepsNote_;
  Places places_;
  std::array<Layout, kDirectories> layout_;
  size_t thumbnail_ = 0;
};

Places Writer::makePlaces() const {
  const Entry* const note = document_.find(Directory::photo, kMakerNote);
  if (note == nullptr || !isKept(Directory::photo, *note)) return {8, 8, 8};
  return {8, note->offset, note->offset + note->value.size()};
}

/// A directory's place, and those of its values.
void Writer::layOut(Directory d) {
  Layout& layout = of(d);
  layout.entries.insert(layout.entries.end(), document_.of(d).begin(), document_.of(d).end());
  std::ranges::stable_sort(layout.entries, {}, &Entry::tag);
  if (layout.entries.empty()) return;
  layout.table = places_.take(2 + 12 * layout.entries.size() + 4);
  for (const Entry& e : layout.entries) {
    layout.values.push_back(e.value.size() <= 4 ? 0
                            : isKept(d, e)      ? e.offset
                                                : places_.take(e.value.size()));
  }
}

/// Offsets of the thumbnail's bytes, which have one place.
void Writer::pointAtThumbnail() {
  Layout& layout = of(Directory::thumbnail);
  for (Entry& e : layout.entries) {
    if (e.tag == kJpegOffset) e = offsetEntry(e.tag, thumbnail_);
    if (e.tag != kStripOffsets) continue;
    const Entry* const lengths = document_.find(Directory::thumbnail, kStripByteCounts);
    if (lengths == nullptr) continue;
    size_t at = thumbnail_;
    for (uint32_t i = 0; i < e.count; ++i) {
      const int size = sizeOf(e.type);
      putNumber(e.value.data() + size_t(size) * i, size, document_.isBigEndian, at);
      at += size_t(fractionAt(*lengths, i, document_.isBigEndian).numerator);
    }
  }
}

void Writer::write(Directory d, std::vector<uint8_t>* tiff) const {
  const Layout& layout = layout_[size_t(d)];
  if (layout.table == 0) return;
  const bool isBig = document_.isBigEndian;
  uint8_t* at = tiff->data() + layout.table;
  putNumber(at, 2, isBig, layout.entries.size());
  at += 2;
  for (size_t i = 0; i < layout.entries.size(); ++i, at += 12) {
    const Entry& e = layout.entries[i];
    putNumber(at, 2, isBig, e.tag);
    putNumber(at + 2, 2, isBig, unsigned(e.type));
    putNumber(at + 4, 4, isBig, e.count);
    uint8_t* to = at + 8;
    if (layout.values[i] != 0) {
      putNumber(to, 4, isBig, layout.values[i]);
      to = tiff->data() + layout.values[i];
    }
    std::ranges::copy(e.value, to);
  }
  const bool hasNext = d == Directory::image;
  putNumber(at, 4, isBig, hasNext ? layout_[size_t(Directory::thumbnail)].table : 0);
}

std::vector<uint8_t> Writer::run() {
  // A directory's size depends on whether others are there to point at, so those come first.
  const bool hasThumbnail = !document_.of(Directory::thumbnail).empty();
  for (const DirectoryPointer& p : kPointersInwards) {
    const bool isThere = !document_.of(p.to).empty() || !of(p.to).entries.empty();
    if (isThere) of(p.in).entries.push_back(offsetEntry(p.tag, 0));
  }
  for (const Directory d : {Directory::image, Directory::photo, Directory::interop, Directory::gps,
                            Directory::thumbnail}) {
    layOut(d);
  }
  // Even if all that the first directory does is lead to the thumbnail's.
  if (hasThumbnail && of(Directory::image).table == 0) of(Directory::image).table = places_.take(6);
  thumbnail_ = places_.take(document_.thumbnail.size());
  for (const DirectoryPointer& p : kPointers) {
    for (Entry& e : of(p.in).entries) {
      if (e.tag == p.tag) e = offsetEntry(e.tag, of(p.to).table);
    }
  }
  pointAtThumbnail();
  std::vector<uint8_t> tiff(places_.end());
  const bool isBig = document_.isBigEndian;
  tiff[0] = tiff[1] = isBig ? 'M' : 'I';
  putNumber(tiff.data() + 2, 2, isBig, 42);
  putNumber(tiff.data() + 4, 4, isBig, of(Directory::image).table);
  for (int d = 0; d < kDirectories; ++d) write(Directory(d), &tiff);
  std::ranges::copy(document_.thumbnail, tiff.begin() + ptrdiff_t(thumbnail_));
  return tiff;
}

}  // namespace

std::vector<uint8_t> write(const Document& document) {
  if (document.isEmpty()) return {};
  std::vector<uint8_t> tiff = Writer(document, true).run();
  // Where the gaps that this leaves are too much for a segment, the note moves.
  return tiff.size() <= kMostBytes ? tiff : Writer(document, false).run();
}

}  // namespace jpeg::exif
